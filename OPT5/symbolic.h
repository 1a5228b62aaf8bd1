// Bounds: the least and the greatest value that an integer tree can have.
//
// An answer is safe, not exact: no evaluation of the tree gives a value outside. `loop` may be null. A tree that is
// no integer has no bounds; its answers are INT65::min() and INT65::max().
//
// Known so far: constants, conversions that keep the value, calls of built-ins, and the ranges of types.
#pragma once

#include "OPT5/fwd.h"
#include "support/xint.h"

INT65 calculate_minval_for_tree(NODE *tree, struct LOOP *loop);
INT65 calculate_maxval_for_tree(NODE *tree, struct LOOP *loop);
