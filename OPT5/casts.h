// The implicit conversions of a tree.
//
// The language lets operands of different types meet; insert_mandatory_casts is the place where conversions that
// passes left implicit become nodes again, so that what reads the tree next finds one type at each operator. Pointer
// arithmetic in trees counts bytes: it is never scaled again here.
#pragma once

#include "OPT5/fwd.h"

// The tree with its conversions explicit; the root may change.
NODE *insert_mandatory_casts(NODE *tree);
