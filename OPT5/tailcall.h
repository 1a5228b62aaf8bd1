// Self-recursive tail calls become loops, while the graph is built.
//
// A call of the function by itself in front of a return needs no new frame when the old one is dead: the parameters
// take the arguments' values, and control goes back behind the parameter prolog. The prolog is the first statement
// of the entry, a PCOMMA tree of assignments of the incoming parameters (level 1) to the variables that stand for
// them (level 2); arguments are matched with it leaf by leaf.
//
// The assignments happen one after the other, yet must read the old values: each goes where no later one reads its
// target; a ring (two parameters that swap) is cut open by a temporary. The frame must really be dead, and the
// parameters be no more than their variables; what prevents the change is listed at the predicates in the source.
// Calls whose arguments do not match the prolog stay calls.
#pragma once

#include <vector>

#include "OPT5/fwd.h"

// The tail calls of one function. try_block is called for each block of the creation order once its succs are set
// and before preds exist; it may insert a block behind the entry. finish is called at the end.
struct TAIL_CALLS {
    TAIL_CALLS();
    // Changes the block if it ends in a tail call that can go.
    void try_block(BBLK *);
    void finish();

    FUNINFO *function;
    bool refused;                  // found out that no call of this function can go
    bool checked;                  // the checks that need a walk of the function are done
    BBLK *loop_entry;              // where tail calls jump to, null until the first
    std::vector<SYMTAB *> written; // parameters that lost their const qualifier
};
