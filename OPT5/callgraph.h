// The call graph of the file, with a root for everything outside.
//
// Not active yet: the list is that of the functions in the order in which they were read, without edges.
#pragma once

#include <vector>
#include "OPT5/fwd.h"

// The functions of the graph in its order; the head is the root, which is no function (null for now). Empty until
// the graph is built.
extern std::vector<FUNINFO *> call_graph;

// Builds the list. Needs all functions read.
void set_up_and_build_call_graph();

// Finds the functions that may call themselves. Without current function.
void detect_recursion();

// In debug: the graph as text. Without current function.
void dump_call_graph_debug();
