// Constants and copies on SSA form, and assertions of SSA names.
//
// Not active yet: leaves the function as it is.
#pragma once

// Propagates in PASSES rounds at most.
void propagate_SSA_constants(int passes);

// Repeats assertions where their facts hold.
void clone_SSA_NASSERTs();
