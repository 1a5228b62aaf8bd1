// Comparing types, merging types of several translation units, and marking for output.
//
// Three strengths of comparison. exact_types: identical structure; since types are shared this is mostly
// identity. compatible_types: what C allows to stand for each other. equiv_mtypes: the machine can't tell
// them apart. All are symmetric and take shared substructure once, so that the cost is linear in the
// number of distinct pairs, and a record that refers to itself is unfolded once.
//
// Merging first walks the pairs that must agree, and joins them only when all do, parts before wholes: a
// mismatch deep inside leaves nothing half merged, and a record that leads back to itself ends the walk.
// Merging joins equal types of different units: one becomes the representative of the other (`equiv`).
// The optimizer reads one unit, where nothing is merged.
#pragma once

#include "typepkg/type_pkg.h"

bool exact_types(TYPE *a, TYPE *b);
// `strip`: look through qualified types of the size and alignment of what they qualify.
bool compatible_types(TYPE *a, TYPE *b, bool strip = false);
bool equiv_mtypes(TYPE *a, TYPE *b);
bool mdata_equal(const fkMDATA *a, const fkMDATA *b);

// Makes one type stand for both when they agree; true when they are one afterwards (or fit).
bool merge_types(TYPE *a, TYPE *b);
// Looks for a type that `t` can merge with; true when it did.
bool find_equivalent_type(TYPE *t);
// Makes b the representative of a; false when it is refused.
bool set_equiv(TYPE *a, TYPE *b);
// The first enum or record of that name and kind in the package, null when there is none.
TYPE *find_type(const char *name, KIND kind);

// With the flag: typedefs, enums and records that are not lowered are to be written.
void mark_named_types(TYPE *root, bool flag);
// Everything that a marked type is built on is to be written.
void mark_refed_types(TYPE *root);
void mark_func_args(TYPE *func);
// Forgets what was marked and written, for another file from the same package.
void clear_output_marks(TYPE *root);
