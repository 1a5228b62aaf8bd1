// The loops of a function, as far as the simplifier and the value analyses ask for them.
//
// A LOOP is a natural loop or the pseudo loop that stands for the whole function; loops form a tree by `parent`.
// `givens` are assertions that hold on every entry of the loop, those of the pseudo loop in the whole function. An
// induction variable's record bounds its values. No loops are built yet: passes hand over null, and
// find_LOOPIV_for_IV finds nothing.
#pragma once

#include "OPT5/fwd.h"
#include "support/xint.h"

struct LOOPIV {
    LOOPIV *next = nullptr;
    struct LOOP *loop = nullptr;
    SYMTAB *sym = nullptr;
    INT65 highval, lowval; // inclusive
    unsigned flags = 0;
};

struct LOOP {
    struct LOOP *parent = nullptr;
    LOOPIV *IVs = nullptr;
    LIST *givens = nullptr; // owned
    unsigned flags = 0;
    unsigned number = 0, level = 42;
};

// The record of the variable in the loop; with `outwards` also in the loops around it. Null when it is none.
LOOPIV *find_LOOPIV_for_IV(const NODE *name, struct LOOP *loop, bool outwards);

// The facts that hold in the loop itself (the function's when it is null), first of a chain of statements.
LIST *givens_of_loop(struct LOOP *loop);

// Writes the pragmas of loops back into the statements, drops the hierarchy, and cleans the flow graph. There is
// never a hierarchy to drop yet.
void unbuild_loop_hierarchy();
