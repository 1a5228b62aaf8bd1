// The flow graph as a picture: text for the graph drawing tools that read the "dot" language.
//
// A box for each block with its number, labels and statements (long ones cut), solid arrows to successors, dotted
// ones where the walk goes back; a block without successors has a double border. prbbinfix (OPT5/infix) gives the
// complete text of a graph; this is for seeing its shape.
#pragma once

#include <cstdio>

#include "OPT5/fwd.h"

// Writes the current function's graph to the stream.
void view_CFG_graph(FILE *to);
