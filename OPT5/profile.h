// Profiles: execution counts that come with the input, as frequencies of blocks and probabilities of edges.
//
// Not active yet: leaves the function as it is.
#pragma once

// Gives loops their trip counts from the profile of the current function.
void add_loop_annotation_from_profile();
