// Facts about types and lvalues that the passes share: what can't change, what must be kept.
#pragma once

#include "OPT5/fwd.h"

// Whether the object keeps one value for as long as it lives: const and not volatile, and no function.
bool symbol_is_immutable(const SYMTAB *symbol);

// Whether what the lvalue (NAME, UMULT, STDOT, STREF) designates is part of an immutable object. Reading through
// a pointer to const is no proof of that; the address must lead to the object itself.
bool lvalue_is_immutable(const NODE *lvalue);

// Whether every value of the tree is one of the type. Both must be integral or enums; false is also "not known".
bool value_fits_in_type(NODE *tree, TYPE *type, struct LOOP *loop);
