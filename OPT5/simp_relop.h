// Comparisons.
#pragma once

#include "OPT5/fwd.h"

NODE *simp_relop(NODE *node, struct LOOP *loop); // EQ to UGT, FEQ to FUNO
