// Metavalue propagation of pointers: what each SSA name may point at.
//
// The bindings serve the integer propagation that runs behind it, and are dropped after that. Not active yet:
// leaves the function as it is.
#pragma once

// Builds SSA form and the points-to bindings of the current function.
void initialize_ssa_pointsto_mvp();

// Drops the bindings.
void clear_ssa_pointsto_bindings();
