// Global common subexpressions, by partial redundancy: an expression that is available on some paths is computed
// on the others too, and used from a temporary.
//
// Not active yet: leaves the function as it is.
#pragma once

// Works on the sets that annotate_cfg made.
void gcse();

// Drops the sets of the blocks.
void clean_up_gdflow_bitvecs();
