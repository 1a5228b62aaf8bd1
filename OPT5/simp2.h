// Bit rules of the simplifier: AND, OR, exclusive OR, and masks that are pushed into the trees they are applied to.
//
// Canonical shapes. A mask has no bit that can't be set in its operand, and none that makes no difference; so does the
// constant of an ORB lack what is set anyway. Between constants ORB stands outside of ANDB, with disjoint bits:
// (x & m) | k; XORB stands inside of ANDB: (x ^ c) & m. No rule goes the other way.
//
// prop_mask_into_subtree works in the type of each operator: the bits of the mask that an operand does not have are
// copies of its sign, or zeros. It changes operators and constants only, in the subtree that computes the bits: what
// reads memory, calls, assigns or may trap is the same before and after. A node that has a changed operand is
// simplified. Its end is safe: each rewrite takes away a node, turns a sum into an XORB or a product into an ANDB, or
// sets a constant to what depends on its kept bits alone, so that a second run changes nothing.
//
// A shaped constant has its don't-care bits clear; in an XORB they are copies of their neighbours instead where that
// is cheaper for the target's immediate operands, and in a sum it stays as it was where the cut one would cost more.
//
// Cost: masks go PROP_MASK_DEPTH levels and PROP_MASK_VISITS nodes deep.
#pragma once

#include "OPT5/fwd.h"
#include "support/xint.h"

NODE *simp_ANDB(NODE *node, struct LOOP *loop);
NODE *simp_ORB(NODE *node, struct LOOP *loop);
NODE *simp_XORB(NODE *node, struct LOOP *loop);

// Two tests of one integer against constants under &, && or |, ||, operands simplified, as one unsigned test of whether
// it lies between them, or outside; null, and the node as it was, when they are nothing like that.
NODE *simp_range_check(NODE *node, struct LOOP *loop);

constexpr int PROP_MASK_DEPTH = 16;
constexpr int PROP_MASK_VISITS = 100;
constexpr int DROP_WALK_CAP = 128; // nodes of a masked-out operand, looked through for effects
extern unsigned prop_mask_cap_hits, drop_walk_cap_hits;

// A tree that is equal to `tree` in the bits of the mask; the other bits may differ. Takes the tree. Only an integer
// or enum is looked into. Bits of the mask that its type does not have are read from what extends it, sign or zeros,
// and then its type stays; else a conversion at the top may go, and the result have another integer type with all bits
// of the mask.
NODE *prop_mask_into_subtree(NODE *tree, INT65 mask);
