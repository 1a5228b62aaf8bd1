// Questions about types: promotions, the usual conversions, normal form, containers of bit-fields.
//
// The promotions and conversions follow the C rules on the sizes that the package's basic types have, not
// on the host's. The normal form answers "same value, whatever it was called": typedefs go, qualifiers
// stay, and integers of one size and sign fall together (long and int where they are equally wide).
#pragma once

#include "typepkg/type_pkg.h"

// The type of `t` in an expression. Dies on an unregistered type.
TYPE *c_integral_promotions(TYPE *t);
// The common type of two operands of an arithmetic operator, or the pointer when one is. Dies on records
// and the like.
TYPE *c_usual_arith_conv(TYPE *a, TYPE *b);
// Both integral or enum, and of one signedness.
bool is_same_sign(const TYPE *a, const TYPE *b);
// The normal form, computed afresh at the top, from caches below.
TYPE *normalized_type_uncached(TYPE *t);
// A name that the package made up for an unnamed enum or record.
bool type_is_tagless(const TYPE *t);
bool name_is_tagless(const char *name);
// Where in a record the container of a bit-field starts: the container has a size and alignment, the field
// a bit offset and size. False when the field would start before its container.
bool get_container_offset_for_field(uint64_t size, uint64_t align, uint64_t bit_offset, uint64_t bit_size,
                                    uint64_t *offset);
// Whether the field may be read through `container`. With `may_overrun` the container may reach past the
// end of the record.
bool is_legal_container_for_field(const TYPE *container, const TYPE *record, uint64_t bit_offset,
                                  uint64_t bit_size, bool may_overrun, uint64_t *offset);
