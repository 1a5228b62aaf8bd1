// Conversions: making a tree have a given type.
#pragma once

#include "OPT5/fwd.h"

// The tree converted to `type`, under a new SCONV or PCONV where the types differ. New conversions are not
// simplified. `type` must be one that a value of the tree can be converted to.
NODE *coerce_to_type(TYPE *type, NODE *tree);

// A pointer tree as a pointer of another type; where the tree is a sum, the conversion may go to its pointer operand.
// Not pushed down yet.
NODE *push_down_pointer_cast(TYPE *type, NODE *pointer);
