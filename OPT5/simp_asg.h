// Assignments and op-assignments.
#pragma once

#include "OPT5/fwd.h"

NODE *simp_ASG(NODE *node, struct LOOP *loop);
NODE *simp_opASG(NODE *node, struct LOOP *loop);

// `rhs` as a value of the target's type, cut to the field's width when the target is a bit-field, and simplified.
// `mode` 0 converts by a new SCONV, any other by coerce_to_type. Takes `rhs`; the target is only looked at.
NODE *truncate_RHS_for_assignment(const NODE *target, NODE *rhs, int mode);

// Moves an occurrence of `target` in a chain of one associative operator to the outermost left place, so that the
// assignment has the form x = x op y. Gives the tree to store in the old one's place.
NODE *bubble_term_to_top(const NODE *target, NODE *rhs, struct LOOP *loop);
