// Profiles: execution counts that come with the input, as frequencies of blocks and probabilities of edges.
//
// A function has a profile when the input gave it one (FUNINFO::profile_mode is not 0); nothing here touches another.
// Not active yet for those that have one.
#pragma once

#include "OPT5/fwd.h"

// Gives loops their trip counts from the profile of the current function.
void add_loop_annotation_from_profile();

// Brings the frequencies of blocks and edges in line with the graph, after it was built or changed. `exact` asks for
// probabilities at every branch; `for_output`, for the values that the writer hands on.
void initialize_CFG_profiling_annotation(bool exact, bool for_output);
// Notes what a statement of the function being read says about its profile; null at its beginning.
void initialize_the_profiling_state(NODE *statement);
// Sets the probabilities of the labels of a transfer.
void initialize_labelref_probabilities(NODE *transfer);
