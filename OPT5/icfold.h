// Calls of the processor's DSP built-ins on constants.
//
// The table of intrinsics (support/intrin.h) computes them. Only words and double words are folded: a vector or a float
// stays a call, as does one with an immediate that the instruction does not have.
#pragma once

#include "OPT5/fwd.h"

// The constant that an ICALL of a name of the table gives, in its place; any other tree comes back as it is.
NODE *fold_intrinsic_ICALL(NODE *tree);
