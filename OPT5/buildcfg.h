// From a list of statements to a flow graph.
//
// The reader leaves a function as one list of statements, the last one first. buildcfg cuts it into blocks at
// labels and behind transfers, gives each label its block, turns every URETURN but the exit block's into a BRANCH
// to it, gives a SWITCH without default one that leads to the statements behind it, makes self-recursive tail
// calls loops, and puts the blocks in reverse postorder. What can't be reached from the entry is erased.
//
// Before that, the list must be free of CBRANCH (convert_CBRANCHes) and its labels must be sound: each LABEL names
// a number that exactly one LABELDEF of the list has (find_label_fault). The entry block of the result has no
// predecessor, which loop analyses rely on; a label or a tail call at the very beginning gets a block in front.
//
// A tail call becomes a jump only where nothing can tell the difference: see tail_call_is_safe in the source for
// the list of what prevents it.
#pragma once

#include "OPT5/fwd.h"

extern BBLK *final_bb; // exit block of the function whose graph was built last; null when it is gone

// Builds the graph of the current function from FUNINFO::statements, which is empty afterwards.
void buildcfg();
// Computes all preds from succs, orders and numbers the blocks anew, and erases what can't be reached.
void rebuildcfg();

// CBRANCH(c, L), which goes to L when c is false, becomes IF(c, COMMA(next, L)); the statement behind gets a
// LABELDEF when it is none. `statements` is a list with the last statement first. The entries are reused: the
// head stays the head.
void convert_CBRANCHes(LIST *statements);

// What is wrong with the labels of a statement list.
struct LABEL_FAULT {
    const LIST *statement = nullptr; // where the LABEL or the second LABELDEF stands; null: nothing is wrong
    int number = 0;
    bool duplicate = false; // defined a second time; else never defined
};
// The first fault in program order. `statements` has the last statement first.
LABEL_FAULT find_label_fault(const LIST *statements);
