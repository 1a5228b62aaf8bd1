// The implicit conversions of a tree.
//
// In the optimizer an operand converts to the type of its operator where it stands, so the simplifier takes away what a
// conversion says twice. insert_mandatory_casts is the place where such conversions become nodes again, so that what
// reads the tree next finds one type at each operator: operands of arithmetic and the left side of a shift take the
// type of the node, arms of a conditional that of the conditional, an argument that of its ACONV, a returned value that
// of the function, the right side of an op-assignment the common type of both sides. Constants are converted in
// place. No value changes.
//
// Left alone: the right side of ASG, which the store cuts; comparisons, which compare words whatever their operands'
// width; pointer differences; records, vectors and complex numbers. Pointer arithmetic in trees counts bytes: it is
// never scaled again here.
#pragma once

#include "OPT5/fwd.h"

// The tree with its conversions explicit; the root may change.
NODE *insert_mandatory_casts(NODE *tree);
