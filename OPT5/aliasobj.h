// The objects behind lvalues and pointers.
#pragma once

#include "OPT5/fwd.h"

// The symbol of the object that the lvalue is, or lies in with `strip_fields`; null when it is not known.
// `precise`: only when the lvalue is known to start where the object starts.
SYMTAB *object_name_if_known(const NODE *lvalue, bool strip_fields, bool precise);
