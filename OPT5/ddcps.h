// Straightening of conditional paths in loops: blocks of a loop body become one, with guarded statements, where
// that pays.
//
// Not active yet: leaves the function as it is.
#pragma once

// Works on the loops of the current function.
void straighten_cond_paths();
