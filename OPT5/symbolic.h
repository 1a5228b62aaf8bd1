// Value reasoning: bounds, signs, overflow.
//
// Answers are safe, not exact: no evaluation of the tree gives a value outside the bounds, and a predicate that is true
// holds for every value; false is also "not known". `loop` may be null; its facts and those of the loops around it, or
// the function's, narrow the answers. Bounds are in the tree's own type: of an unsigned one never negative. A tree
// that is no integer (integral or enum; a pointer counts as unsigned int where a rule says so) has no bounds;
// its answers are INT65::min() and INT65::max().
//
// Arithmetic of the program wraps, signed arithmetic too, since the optimizer makes sums of its own. The range of an
// operator is that of the exact result of its operands, which stand for what they are in the operator's type; when
// that range leaves the type but does not cross its end it is moved back by a multiple of 2^n, else the type answers.
//
// Cost: both bounds come from one walk, which looks at each node once and is cut at BOUND_DEPTH levels and BOUND_WORK
// nodes; below, types answer. Known bits narrow the root of a query only. They ask for bounds themselves, which count
// as part of the same walk, so one question from outside costs a bounded time however the two call each other.
#pragma once

#include "OPT5/fwd.h"
#include "support/xint.h"

constexpr int BOUND_DEPTH = 24;
constexpr unsigned BOUND_WORK = 256;
constexpr int PRODUCT_OVERFLOW_DEPTH = 9;
extern unsigned bound_depth_hits; // walks cut by either of the first two

struct VALUE_RANGE {
    INT65 low, high; // both inclusive
};
// Both bounds for the price of one.
VALUE_RANGE calculate_range_for_tree(const NODE *tree, struct LOOP *loop);
INT65 calculate_minval_for_tree(const NODE *tree, struct LOOP *loop);
INT65 calculate_maxval_for_tree(const NODE *tree, struct LOOP *loop);
// The values that an integer of the first range becomes when it is converted to an integer type.
VALUE_RANGE range_in_type(VALUE_RANGE, TYPE *);

// Whether the sum or product is outside the type's range.
bool sum_may_overflow(INT65, INT65, TYPE *);
bool prod_may_overflow(INT65, INT65, TYPE *);
// Whether a MULT can leave the range of its type; true for any other tree.
bool expr_product_may_overflow(const NODE *mult, struct LOOP *loop);
// The same for PLUS, MINUS and UMINUS; true for any other tree.
bool expr_sum_may_overflow(const NODE *sum, struct LOOP *loop);

bool tree_is_non_negative(const NODE *, struct LOOP *);
bool tree_is_positive(const NODE *, struct LOOP *);
bool tree_is_negative(const NODE *, struct LOOP *);
bool tree_is_zero(const NODE *, struct LOOP *);
bool tree_is_non_zero(const NODE *, struct LOOP *);
bool tree_is_ivalue(const NODE *, INT65, struct LOOP *);
bool tree_is_not_ivalue(const NODE *, INT65, struct LOOP *);
// The difference is that of the type in which a - b is computed, modulo its size.
bool tree_difference_is_ivalue(const NODE *a, const NODE *b, INT65 a_minus_b, struct LOOP *);
// a == b is false.
bool tree_values_are_not_equal(const NODE *, const NODE *, struct LOOP *);

// -1, 0 or 1, or SIGN_UNKNOWN. `strict` nonzero: 1 and -1 exclude zero; else they mean "not negative", "not positive".
constexpr int SIGN_UNKNOWN = 2;
int sign_of_integer_expression(const NODE *, struct LOOP *, int strict);
// Of a tree that is positive where it matters: its value is then a power of two.
bool positive_tree_is_power_of_2(const NODE *, struct LOOP *);

// A new tree for the greatest or least value that the tree takes in the loop, induction variables replaced by their
// bounds; null when that can't be done without a change of meaning. `flag` nonzero: a variable without constant bounds
// is a reason to give up; else it stays as it is.
NODE *partially_eval_for_maximum(const NODE *, struct LOOP *, int flag);
NODE *partially_eval_for_minimum(const NODE *, struct LOOP *, int flag);
// A copy of a comparison, DIV or MOD, simplified for a left operand that is limited to low, low+step, ... up to high.
NODE *simp_tree_in_range(const NODE *, INT65 low, INT65 high, INT65 step);

// Less, equal, greater: -1, 0, 1, in the signedness of the type.
int compare_SLLONG_values(INT65, INT65, TYPE *);
