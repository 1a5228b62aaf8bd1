// Increments and small rewrites for the target's addressing.
//
// propagate_increments moves the increment of a pointer next to a use, so that the access can carry it;
// expand_bitfields turns bit-field accesses into shifts and masks; fold_ANDBASGs joins masks of one place.
//
// Not active yet: leaves the function as it is.
#pragma once

// Moves the increments of the current function.
void propagate_increments();

// Expands the bit-field accesses of the current function.
void expand_bitfields();

// Joins the masks of the current function.
void fold_ANDBASGs();
