// Conversions: making a tree have a given type, and taking away what changes nothing.
//
// Operands convert to the type of their operator when it computes: an operand may be narrower or wider than the node
// above it, or of the other sign. So a widening conversion up to int says nothing that its place does not say, and
// goes; what must stay is a conversion that can change a value. Whether a type is bool matters: a conversion to it
// asks whether the value is zero, and does not cut.
//
// Conversions go down: into the arms of a conditional, and into sums when only the sign of a word changes. A sum is
// made unsigned that way, never signed: arithmetic of the optimizer wraps, and a signed sum that wraps would break
// those who reason about signed sums.
#pragma once

#include "OPT5/fwd.h"

// The tree converted to `type`, under a new SCONV or PCONV where the types differ. New conversions are not
// simplified. `type` must be one that a value of the tree can be converted to.
NODE *coerce_to_type(TYPE *type, NODE *tree);

NODE *simp_SCONV(NODE *node, struct LOOP *loop);
NODE *simp_PCONV(NODE *node, struct LOOP *loop); // also ISP2CHAR where it is asked for
// The node stays: it says what type an argument is passed in.
NODE *simp_ACONV(NODE *node, struct LOOP *loop);

// A pointer tree as a pointer of another type; where the tree is a sum, the conversion goes to its pointer operand.
NODE *push_down_pointer_cast(TYPE *type, NODE *pointer);
// Undoes push_down_pointer_cast in a whole tree.
NODE *remove_pushed_down_casts(NODE *tree);

// Levels of nested conditionals that one conversion is pushed through; the rest of a longer chain keeps it on top.
constexpr int QUEST_PUSH_CAP = 64;
extern unsigned quest_push_cap_hits;
