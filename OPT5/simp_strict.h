// Short circuits against strict forms: may an expression be evaluated where the program might not have done it?
//
// Once `first` has been evaluated without a trap, `second` may be evaluated too when it can't trap itself: it has no
// division, call or volatile access that `first` does not have, and every access to memory in it is known to stay in an
// object that `first`, in a part that is always evaluated, has accessed, or in one that exists for sure.
#pragma once

#include "OPT5/fwd.h"

constexpr int STRICT_WALK_CAP = 200; // nodes of `second`; larger trees are not worth evaluating in vain
constexpr int NEVER_SPECULATED = 666;
extern unsigned strict_walk_hits;

bool strict_expr_allows_strict_expr(const NODE *first, const NODE *second, struct LOOP *loop);
// The access to this lvalue can't fail by itself.
bool lvalue_is_inherently_strict(const NODE *lvalue, struct LOOP *loop);
// The access `rhs` may reach past the object that it names, so that a test in `lhs` may guard it.
bool rhs_may_need_guard_in_lhs(const NODE *rhs, const NODE *lhs);
// Cost of evaluating the tree always: 666 for what must not be.
int andor_andor_height(const NODE *tree, int height, const NODE *guard);
// Brings an operand of && into the form that an ANDB may take: one possible bit in the lowest place. With `change`
// false it only tells whether that can be done.
bool find_or_make_safe_for_ANDB(NODE *&operand, bool change);
// Whether both arms of a conditional may be evaluated whatever the condition is.
bool quest_colon_is_strict(const NODE *a, const NODE *b);
