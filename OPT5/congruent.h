// Are two trees the same computation?
//
// Congruent trees give the same value when they are evaluated in the same state. The comparison is structural, on
// opcode, type (as the machine sees it), payload and operands, with these liberties: operands of a commutative
// operator may stand in either order, a < b is b > a, wrappers that compute nothing are looked through, and the
// local of a parameter equals the conversion of that parameter which the argument prolog assigned to it. Without
// `se_ok` a tree with effects, a volatile access included, is congruent to none but itself.
//
// Method: a list of pairs that must match, worked off from the front, with a choice point where operands may change
// places; no recursion, so depth does not matter. The exchanged order is tried first, and given up at once when the
// roots differ. Trees made to match badly in both orders at every level could cost the product of their sizes:
// CONGRUENCE_WASTE_CAP bounds the work spent on pairings that failed, and the answer then is "not congruent".
#pragma once

#include "OPT5/fwd.h"

// A value of which nothing is known, not even whether it is that of another such leaf.
bool is_unresolved_mix(const NODE *n);
bool trees_are_congruent(const NODE *a, const NODE *b, bool se_ok = false);
inline bool trees_are_congruent_se_ok(const NODE *a, const NODE *b) {
    return trees_are_congruent(a, b, true);
}

// Statement by statement, effects allowed; positions don't count.
bool tree_lists_are_congruent(const LIST *a, const LIST *b);

// Whether two conditions always have the same truth, or with `inverse` always opposite truth. Looks through
// IDENTITY, t != 0 and t == 0, and compares a comparison with the negated one.
bool bools_are_congruent(const NODE *a, const NODE *b, bool inverse = false);

// Pairs of nodes that one comparison may look at in vain, and how often the cap was hit.
constexpr unsigned CONGRUENCE_WASTE_CAP = 200000;
extern unsigned congruence_cap_hits;
