// Statements in sequence form, before the flow graph is built.
//
// What a statement hides of control comes out of it: ANDAND, OROR and QUEST whose value nobody wants become IFs, a
// COMMAOP at the top becomes two statements. Where the value is used these stay trees; the simplifier knows more
// about them there. The copy of a small record between variables becomes assignments of its members, so that either
// variable may be taken apart later; other struct assignments stay whole.
//
// Exceptions. A call that may end in a catch of this function has several successors, which the flow graph must
// show: the statement becomes
//
//     SWITCH(__imaginary_exception_predicate(call), COMMA(CASE(label word, handler) ..., DEFAULT(next)))
//
// or, when the value is assigned, SWITCH(ASG(x, __imaginary_exception_predicate(call)), ...). The case values are
// the label words of the exception table. The writer turns this back into the plain statement. So such a call must
// stand alone: inside a larger expression it moves in front, into a temporary, and the conditions and commas around
// it are opened. Operands of one operator have no order among themselves, so this keeps the meaning.
//
// Behind a call that never returns stand a comment and the built-in "_never_executed".
//
// On the way the function learns whether it holds vector or complex values.
#pragma once

#include "OPT5/fwd.h"

// Works on FUNINFO::statements of the current function (last statement first); does nothing when that is empty.
void seq_trees();

// a = b, both variables or records inside of variables, one of them local, of up to `max_members` members, all of them
// scalars and side by side: the assignments of the members, in a chain of COMMAOP. Gives `tree` itself for all others.
NODE *convert_STASG_to_asgs(NODE *tree, int max_members);

// Pushes the exception switch of a call, or of an assignment of a call, onto a list with the last statement first,
// and the label behind it. `never_returns` adds the marks of such a call. Takes the tree; gives the new head.
LIST *make_magic_EH_SWITCH(NODE *tree, LIST *list, bool never_returns);

bool is_magic_EH_MCALL(const NODE *);     // the predicate around a call; null is accepted
bool is_magic_EH_MCALL_ASG(const NODE *); // an assignment of one
bool tree_is_EH_SWITCH(const NODE *);
