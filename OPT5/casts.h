// The implicit conversions of a tree.
//
// The language lets operands of different types meet; trees of the input carry the conversions that the parser
// wrote. insert_mandatory_casts is the place where conversions that passes left implicit become nodes again.
// The trees that reach it now are those of the input, whose conversions stay as they are: it has nothing to add.
#pragma once

#include "OPT5/fwd.h"

// The tree with its conversions explicit; the root may change.
NODE *insert_mandatory_casts(NODE *tree);
