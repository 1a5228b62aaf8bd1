// Values that static initialisers give: reading a constant object at compile time.
//
// An initialiser is a list of value trees in the order of the object's scalars, with SKIP for bytes that nothing is
// said about and ENDINIT at the end. lookup_autoinit finds the value of one scalar by its byte offset. The offsets of
// the trees are worked out once for each initialiser and kept beside them (EXPR_LIST::offsets), so that each look-up
// is a bisection however long the list is.
//
// A tree is believed only where it agrees with the declared type of the object: at its offset there must be a scalar
// of its size (or, for a string, an array). From the first disagreement on, and behind a bit-field, whose place the
// list does not tell, nothing is known.
//
// Whether the object still has that value when it is read is the caller's question; a weak object, which another
// definition may replace, has no known value at all.
#pragma once

#include "OPT5/fwd.h"

#include <cstdint>

// A copy of the value of `type` at the byte offset, owned by the caller; null when it is not known or has another type.
NODE *lookup_autoinit(SYMTAB *, uint64_t offset, TYPE *type);
// The same for an lvalue in a named object: NAME, STDOT (no bit-field), UMULT of an address with a constant offset.
NODE *lookup_autoinit(NODE *lvalue);
// The value of an array's element; null for an index at or past the element count.
NODE *lookup_array_autoinit(SYMTAB *, uint64_t index);

// Makes static data of what a C++ file's initialising function assigns. Not active yet: leaves the function as it is.
void convert_sti_to_cinit();
