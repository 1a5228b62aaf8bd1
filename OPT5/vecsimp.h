// The simplifier's rules for vector operators: packing, fields of vectors, conversions, and any node of vector type.
//
// No rule yet: every node stays as it is.
#pragma once

#include "OPT5/fwd.h"

// One node whose operands are simplified already; the node to use instead.
NODE *simp_vector_node(NODE *node);
