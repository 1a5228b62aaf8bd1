// Assertions: facts that the program states, brought into the form in which they are used.
#pragma once

#include "OPT5/fwd.h"

NODE *simp_ASSERT(NODE *node, struct LOOP *loop); // also NASSERT
// The test under the facts of the loop and the loops around it. Takes the tree.
NODE *simp_constraint_given_loop_givens(NODE *test, struct LOOP *loop);
