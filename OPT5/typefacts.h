// Facts about types and lvalues that the passes share: promotions and ranges, what can't change, what must be kept.
//
// Integral means an integral type or an enum here. Sizes are in bits.
#pragma once

#include "OPT5/fwd.h"
#include "support/xint.h"

// --- the usual conversions ---
TYPE *promoted_type(TYPE *);                     // integral promotion; other types as they are
TYPE *combined_type_for_types(TYPE *, TYPE *);   // usual arithmetic conversions
TYPE *combined_type(const NODE *, const NODE *); // of two operands
TYPE *next_wider_type(TYPE *);            // the next wider integral type of the same sign, itself if none
TYPE *wide_enough_int_type(INT65);        // the narrowest of int, unsigned, long, ... that holds the value
TYPE *essential_type(TYPE *);             // qualifiers and names stripped, an enum as its integer type
TYPE *normalized_underlying_type(TYPE *); // of an enum, else the normalized type itself

// --- ranges; integral types and pointers only ---
INT65 type_mask(TYPE *);    // the value bits
INT65 int_type_max(TYPE *); // greatest and least value
INT65 int_type_min(TYPE *);
unsigned type_stride(TYPE *pointer); // bytes from one element to the next of what the pointer points to

// Whether every value of the tree is one of the type. Both must be integral or enums; false is also "not known".
bool value_fits_in_type(NODE *tree, TYPE *type, struct LOOP *loop);

// --- lvalues ---
// Whether the object keeps one value for as long as it lives: const and not volatile, and no function.
bool symbol_is_immutable(const SYMTAB *symbol);
// Whether what the lvalue (NAME, UMULT, STDOT, STREF) designates is part of an immutable object. Reading through
// a pointer to const is no proof of that; the address must lead to the object itself.
bool lvalue_is_immutable(const NODE *lvalue);
// Whether `width` bits at `offset` of an object of the type are const storage. `deep` looks into the members.
bool bits_of_var_are_immutable(TYPE *type, int offset, int width, bool deep);
// A structure access that must stay one, because the alias analysis tells fields apart by it.
bool must_preserve_STDOT(const NODE *access);

// --- repair ---
// Brings the type of a NAME, an indirection or a field in line with its symbol, its pointer, its field.
void fix_type_info(NODE *node);
// The type of a field with the qualifiers of the record that it stands in.
TYPE *merge_qualifiers_for_STDOT(TYPE *field, const NODE *record);
