// Type records of the intermediate file, written from the type package.
//
// The type area is written last of all, when each typeref in the file has marked its type. if_write_all_types
// closes the marks over what the marked types refer to, writes the heads of all records (so that members may refer
// to any record), then their lists, then the rest of the tree of types in its order; each type goes behind what it
// is built on, and is written once. Chains of any length are written with a stack of our own.
//
// Only the representative of a merged type is written; its uid is the id in the file. The format holds 32 bits
// of a size and of a record's word.
//
// The class members declared in if_file.h (if_write_all_types, if_mark_global_types, if_write_type,
// if_reference_type) are implemented here.
#pragma once

#include "ifile/if_rtype.h"

// The form of a type without parts, or ITF_UNMAPPED for a number that ekind() does not give.
IF_TYPE_FORM form_of_ekind(unsigned ekind);
