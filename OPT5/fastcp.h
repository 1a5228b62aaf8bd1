// Fast copy propagation: one pass over the blocks that carries known values and copies of variables forward, cheap
// enough to run many times.
//
// The map SNMAP from symbols to values is the state of the pass.
//
// Not active yet: leaves the function as it is.
#pragma once

// Propagates in the current function. MODE: 0 within blocks, 4 along extended blocks.
void fast_CP(int mode, int with_simplification);
