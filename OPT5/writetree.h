// Trees on their way out: internal forms become file forms.
//
// A walk over the whole tree before it is written. First the four operators that only the optimizer has among
// address forms go (IDENTITY, ISP2CHAR, NONALIGN, OUIALIGN); then each node takes its file form: wide constants
// become LCON, labels take their numbers, built-in calls their names, vector conversions their opcodes. Marks for
// the end of the run are left on the way: globals referred to, functions still called. An opcode that no file has
// is fatal. Explicit stack: depth is no limit.
#pragma once

#include "OPT5/fwd.h"

// The finished tree; the root may change. The nodes are reused.
NODE *finish_tree_for_output(NODE *tree);
