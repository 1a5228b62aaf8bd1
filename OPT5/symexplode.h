// Two transformations of local record variables.
//
// explode_auto_struct_vars takes a record apart: a local record of which only single scalar members are used becomes
// one variable for each member that is used, and those can live in registers. A use of the whole object or of an
// address in it, a bit-field, a volatile member, or members that lie over each other, keep the record whole. A record
// parameter takes part when the argument prolog is the only statement that sets it whole: the prolog's assignment
// becomes one assignment for each member, behind the prolog. Members of members count by the whole path.
//
// subst_csu_returning_temp_for_local_var lets a function that constructs its result in a local variable construct it
// in place: where the caller passes the address of a fresh object (FUNINFO::const_pointer_parm) and each return copies
// one and the same local there, the local becomes that object. Any other use of the result pointer keeps the copy,
// since the object could be looked at before it is complete.
//
// Both leave functions alone that call setjmp, and variables that the exception table names: what these variables
// hold after the second return, or on the way out, is not told by the statements. Both work on plain trees, not on SSA
// form. Symbols that went are announced (announce_replaced_symbol) and live on, out of all chains, until erase_all.
#pragma once

#include "OPT5/fwd.h"

// The passes, for the current function.
void explode_auto_struct_vars();
void subst_csu_returning_temp_for_local_var();

// Some statement of the current function calls a function by which control can return twice.
bool function_calls_setjmp();
