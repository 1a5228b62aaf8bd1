// Factors: which constants divide every value of an integer tree.
//
// Known so far: constants.
#pragma once

#include "OPT5/fwd.h"
#include "support/xint.h"

// Whether c divides every value of the tree, computed in the type. False is also "not known". `loop` may be null.
bool constant_divides_expr(INT65 c, TYPE *type, NODE *tree, struct LOOP *loop);
