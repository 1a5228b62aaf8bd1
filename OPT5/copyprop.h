// Global propagation of copies and constants along the flow graph.
//
// Not active yet: leaves the function as it is.
#pragma once

// Propagates in the current function; WHICH is 1 in the late part of the pipeline.
void copyprop(int which);
