// The shape of loops: rotation, which moves the test to the bottom behind one guard, and down-counters.
//
// Not active yet: leaves the function as it is.
#pragma once

// Rotates the loops of the current function.
void rotate_loops();

// Gives counted loops a down-counter.
void restructure_loops();
