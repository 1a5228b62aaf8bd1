// The strict ternary: a conditional that evaluates all three operands.
//
//     quest$colon(p, a, b)      p ? a : b, with a and b evaluated whatever p is, in the order p, a, b
//
// An ordinary conditional, QUEST over COLON, evaluates one arm. Where both arms may be evaluated the optimizer turns
// it into this call, which costs no branch and which common subexpressions, the vectorizer and the data-flow form
// treat like any operator. The operand list is COMMA(COMMA(p, a), b), made of the two nodes of the conditional.
//
// Whoever makes a strict ternary answers for that both arms may be evaluated. Going back is free as long as the arms
// have no side effects; an arm that has some (a common subexpression was put there) is needed whatever p is, so it
// is evaluated into a temporary first.
#pragma once

#include "OPT5/fwd.h"

bool is_strict_ternary_ICALL(const NODE *);

// A QUEST over a COLON, in place; any other tree comes back as it is, and so does a conditional without a value or
// with a condition that is no integer of 32 bits or less or a pointer, since the call takes it as an int.
NODE *make_strict_ternary_ICALL(NODE *tree);

// The conditional again; any other tree comes back as it is. With `keep_side_effects` an arm that has some goes into a
// temporary, and what would be evaluated in front of it with another result than before does too. Needs a current
// function then.
NODE *undo_strict_ternary_ICALL(NODE *tree, bool keep_side_effects);

// The simplifier of the call, see icalls.h.
NODE *simp_strict_ternary_ICALL(NODE *tree, struct LOOP *loop);
