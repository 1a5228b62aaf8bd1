// The least and the greatest value of a call of a built-in.
//
// A call whose result is the least, the greatest or the magnitude of its operands takes its bounds from theirs; one
// whose descriptor has bounds takes those; of the saturating arithmetic and the 16-bit and 32-bit multiplies each has
// a function that computes its range from the operands' ranges. Everything else has the range of its type.
//
// An operand counts in the type of the parameter: where a conversion to it could change the value, the operand may be
// any value of that type. A result that the call's own type can't hold in full may be any value of that type too.
//
// Each bound of a call needs both bounds of its operands, so nested calls would cost exponential time: below
// BIF_BOUND_DEPTH calls the types answer.
#pragma once

#include "OPT5/fwd.h"
#include "support/xint.h"

constexpr int BIF_BOUND_DEPTH = 4;
extern unsigned bif_bound_depth_hits; // calls that were too deep

// Of a node of the ICALL family; INT65::max() and INT65::min() for a call that gives no integer.
INT65 calculate_maxval_for_BIF_call(NODE *call, struct LOOP *loop);
INT65 calculate_minval_for_BIF_call(NODE *call, struct LOOP *loop);
