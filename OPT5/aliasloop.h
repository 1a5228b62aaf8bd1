// Trees in the form that the loop passes compare: index expressions with their factors multiplied out and their
// conversions at the leaves, field accesses rebuilt from flat addresses, and what is asserted of pointers in loops.
//
// No tree is rewritten yet: each keeps the form that it has.
#pragma once

#include "OPT5/fwd.h"

// Products of sums multiplied out and conversions moved to the leaves, in place; takes the tree. Tells whether each was
// done. The value stays, overflow included.
NODE *expand_and_raise_expr(NODE *tree, bool &expanded, bool &raised);
