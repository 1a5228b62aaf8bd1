// May two lvalues touch the same storage?
//
// Every memory-aware pass asks lvalues_may_be_aliased. The answer false is a proof that they are disjoint; without
// a proof it is true.
#pragma once

#include "OPT5/fwd.h"

// Both are lvalues (NAME, UMULT, STDOT, STREF). `loop` may be null; it is the loop whose facts count.
bool lvalues_may_be_aliased(const NODE *a, const NODE *b, struct LOOP *loop);

// Whether the analysis tells this structure access apart from others by its field, so that it must stay one. Fields are
// not told apart yet.
bool lvalue_is_known_by_field(const NODE *access);

// The type that an expression really has, behind conversions; `deep` nonzero: also behind those of pointers.
TYPE *true_type(const NODE *n, int deep = 0);
