// Small questions about trees in SSA form.
//
// Two ICALLs are decorations of that form and no calls. x = def$entry(x) at the function's entry gives an object
// that lives on from outside a first definition; x = def$assert(x, fact) gives x a new version of which the
// fact holds.
#pragma once

#include "OPT5/fwd.h"

bool is_def_assert_ICALL_name(const char *name);
bool is_def_assert_ICALL_tree(const NODE *tree);
bool is_def_entry_ICALL_name(const char *name);
bool is_def_entry_ICALL_tree(const NODE *tree);
