// Factors: which constants divide every value of an integer tree.
//
// Arithmetic of the program wraps, so a factor that is no power of two survives an operation only when the operation
// can't overflow. `loop` may be null. A walk is cut at FACTOR_DEPTH levels and at a number of nodes; below it only 1
// is known to divide.
#pragma once

#include "OPT5/fwd.h"
#include "support/xint.h"

constexpr int FACTOR_DEPTH = 24;
extern unsigned factor_depth_hits; // walks that were cut

// A constant that divides every value of the tree, the greatest one known; 0 for a tree that is always zero, else at
// least 1. `flag` nonzero: facts about variables count too.
INT65 max_ICON_factor(const NODE *, struct LOOP *, int flag);
INT65 max_asserted_ICON_factor(const NODE *, struct LOOP *);
// The greatest constant that is a factor of every term of a sum as it is written; and the tree divided by such
// a constant (takes the tree). The quotient is exact when no operation of the tree overflows.
INT65 max_ICON_coef(const NODE *);
NODE *div_ICON_coef(NODE *, INT65);
// The largest distance that the value moves between two iterations of the loop that follow each other.
INT65 max_ICON_delta(const NODE *, struct LOOP *);

// Whether c divides every value of the tree, computed in the type. False is also "not known".
bool constant_divides_expr(INT65 c, TYPE *type, const NODE *tree, struct LOOP *loop);
// The remainder of every value by c (of the sign of the value), or -1 when it is not one for all.
INT65 expr_modulo_constant(const NODE *, TYPE *, INT65 c, struct LOOP *);
bool expr_cannot_divide_expr(const NODE *divisor, const NODE *dividend, struct LOOP *);
// Whether a DIV by an ICON leaves no remainder.
bool integer_DIV_is_exact(const NODE *div, struct LOOP *);
