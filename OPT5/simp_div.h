// Division, remainder and shifts.
//
// Division truncates toward zero. A division by a constant zero is left to run time, INT_MIN / -1 too; other divisors are
// taken not to be zero where that decides the value (simp1). Shifts by a negative count or by a variable are left alone.
#pragma once

#include "OPT5/fwd.h"

// `non_negative` nonzero: the caller knows that the dividend is not negative.
NODE *simp_DIV(NODE *node, int non_negative, struct LOOP *loop);
NODE *simp_DIV_by_ICON(NODE *node, int non_negative, struct LOOP *loop);
NODE *simp_MOD(NODE *node, struct LOOP *loop);
NODE *simp_shift(NODE *node, struct LOOP *loop); // SLL, SRL

// Takes factors that both sides have out of both; true when something changed.
bool cancel_common_simple_factors(NODE **left, NODE **right);
