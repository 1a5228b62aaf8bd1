// The loop hierarchy: a LOOP record for each natural loop of the flow graph, below a pseudo loop for the function.
//
// A hierarchy is absent, minimal or full; it is a cache that a pass builds and removes. Not active yet: it is
// always absent.
#pragma once

// Writes the pragmas of loops back into the statements, drops the hierarchy, and cleans the flow graph.
void unbuild_loop_hierarchy();
