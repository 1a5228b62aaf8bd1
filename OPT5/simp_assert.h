// Assertions: facts that the program states, brought into the form in which they are used.
//
// A conjunction becomes one assertion for each of its parts, and a condition with a short circuit one without, where its
// right side may be evaluated in any case: what uses assertions looks for single comparisons. An assertion of a
// conditional whose arms may not both be evaluated goes into the arms, where it stands as a statement before the flow
// graph is built: a branch costs more than an assertion, but its blocks have facts that the condition does not give.
//
// A fact that holds in a loop decides comparisons of the same operands in it. Facts are comparisons, bare or as
// assertions; others are passed over.
#pragma once

#include "OPT5/fwd.h"

NODE *simp_ASSERT(NODE *node, struct LOOP *loop); // also NASSERT
// The test under the facts of the loop and the loops around it. Takes the tree.
NODE *simp_constraint_given_loop_givens(NODE *test, struct LOOP *loop);
