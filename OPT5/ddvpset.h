// Sets of integers as sorted slices with a stride, which value propagation carries through a function, and what the
// built-ins give for sets of operands.
//
// The evaluators narrow a set that comes in as all values of the call's type. Not active yet: they narrow nothing.
#pragma once

#include "OPT5/bif.h"

void eval_qc_ICALL(vpset *result, NODE *call, struct LOOP *loop, VPENV *env);
void eval_MPY_ICALL(vpset *result, NODE *call, struct LOOP *loop, VPENV *env);
void eval_MPY_32_32_64_ICALL(vpset *result, NODE *call, struct LOOP *loop, VPENV *env);
