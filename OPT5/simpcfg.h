// Cleaning the flow graph.
//
// Runs after every pass that may have disturbed the graph; leaves a complete one, numbered anew. Up to
// MAX_ROUNDS rounds, each of them linear in the graph and made of four steps over all blocks:
//
//   thread   a label that leads to a block which only branches on leads to the end of that chain instead
//   prune    blocks that the entry does not reach go
//   fold     the transfer of a block: a constant test, equal targets, cases that fall on the default, a SWITCH of
//            nothing but a default become a BRANCH; effects in front of the value of a test become statements
//   merge    a block and its only successor, where it is the only predecessor of that, become one
//
// Labels and succs change in place; preds are computed afresh after a step that changed any. A round in which
// nothing changes is the last one. What a cap cuts off is left to the next call.
//
// Volatile accesses stay, in number and order. An exception SWITCH is never folded. The entry keeps its place and
// has no predecessor. While a loop hierarchy exists (`with_loops`), blocks of loops are neither removed nor joined.
// Not done here: turning branches into values (OPT5/ifconv), repeated tests, empty loops.
#pragma once

#include "OPT5/fwd.h"

// `with_loops` false: no loop hierarchy may exist. `early` is kept for the rules that ask.
void simpcfg(bool with_loops, bool early);
// The same, unless nothing has changed since the last call. Edits of edges and blocks count as changes by themselves
// and so does every pass; a step between passes that changes tests sets graph_is_settled of the function to false.
void simpcfg_if_changed(bool with_loops, bool early);

// In every SWITCH of the function but those of exceptions, drops the cases that fall on the default.
void optimize_SWITCH_cases();

struct SIMPCFG_COUNTS {
    unsigned threaded, pruned, folded, merged, cases_dropped;
    unsigned round_cap_hits, test_cap_hits;
};
extern SIMPCFG_COUNTS simpcfg_counts; // of the whole run
