// Conversions: making a tree have a given type, and taking away what changes nothing.
#pragma once

#include "OPT5/fwd.h"

// The tree converted to `type`, under a new SCONV or PCONV where the types differ. New conversions are not
// simplified. `type` must be one that a value of the tree can be converted to.
NODE *coerce_to_type(TYPE *type, NODE *tree);

NODE *simp_SCONV(NODE *node, struct LOOP *loop);
NODE *simp_PCONV(NODE *node, struct LOOP *loop); // also ISP2CHAR where it is asked for
NODE *simp_ACONV(NODE *node, struct LOOP *loop);

// A pointer tree as a pointer of another type; where the tree is a sum, the conversion goes to its pointer operand.
NODE *push_down_pointer_cast(TYPE *type, NODE *pointer);
// Undoes push_down_pointer_cast in a whole tree.
NODE *remove_pushed_down_casts(NODE *tree);
