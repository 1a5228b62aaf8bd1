// The simplifier: brings trees to the canonical shape that all passes expect.
//
// A tree that is handed over is gone unless it comes back: callers store the result in its place.
#pragma once

#include "OPT5/fwd.h"

// The whole tree, bottom up. `loop`, here and below, may be null; its facts serve the rules.
NODE *simp_tree(NODE *tree, struct LOOP *loop);
// One node whose operands are simplified already.
NODE *simp_node(NODE *node, struct LOOP *loop);

// The part of a tree that must still run when its value is not used, or null; COMMAOPs join what is left, in order.
NODE *peel_for_effect(NODE *tree);
