// Points-to facts at the blocks of a function.
//
// The facts hang in vectors indexed by block numbers; whoever adds, removes or renumbers blocks calls
// clear_PT_vectors, so that no stale row is ever read.
#pragma once

// Drops the vectors of the current function, if there are any.
void clear_PT_vectors();

// Propagates points-to facts through the current function. Not active yet: leaves the function as it is.
void propagate_PT_info();
