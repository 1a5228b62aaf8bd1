// Type records of the intermediate file, read into the type package.
//
// A type record is: id, form, and a rest that depends on the form. The id is private to the file; I_FILE keeps
// the map from ids to the package's types. Whatever a record refers to stands before it, so that each is made
// at once by the matching mk_* of the package. Functions, enums and records come as a head, followed by attribute
// lists (header, elements, trailer), each element naming its owner. A head announces how many lists will come;
// when the last of them ends the type is closed. A function becomes known only then, and nothing may refer to
// it before; the members of a record may refer to the record.
//
// Nothing that is read is believed. Each form has its limits on sizes, alignments, kinds of parts and counts;
// lists must be announced, stand alone and end; members lie inside their record; a record does not hold itself,
// and what it holds by value nests at most MAX_TYPE_NESTING deep, so that later passes may recurse over it.
// A violation is refused with the place and the reason, in one line, through if_bad_file_handler.
//
// The class members declared in if_file.h (if_read_type, find_typeref, enter_type, find_mdataref,
// if_end_type_area) are implemented here; this header holds what reader and writer share.
#pragma once

#include "ifile/if_file.h"

// Forms of a type record. The integrals 0 to 9 are their IKIND; elements of lists have forms of their own.
enum IF_TYPE_FORM : uint8_t {
    ITF_INT = 0,
    ITF_LAST_INT = 9,
    ITF_FLOAT = 10,
    ITF_DOUBLE = 11,
    ITF_LDOUBLE = 12,
    ITF_FIXPT = 13,
    ITF_TYPEDEF = 14,
    ITF_PTR = 15,
    ITF_REF = 16,
    ITF_QUAL = 17,
    ITF_ARRAY = 18,
    ITF_PTM = 19,
    ITF_FUNC = 20,
    ITF_PARAM = 21,
    ITF_ENUM = 22,
    ITF_ETOR = 23,
    ITF_CSU_SHORT = 24,
    ITF_CSU_LONG = 25,
    ITF_MDATA = 28,
    ITF_BCLASS = 29,
    ITF_ADECL = 30,
    ITF_FFRIEND = 31,
    ITF_CFRIEND = 32,
    ITF_NTYPE = 33,
    ITF_SDATA = 34,
    ITF_MFUNC = 35,
    ITF_COMPLEX = 36,
    ITF_UNMAPPED = 48, // a type without a form; no reader does anything with it
    ITF_VOID = 49,
    ITF_LLONG = 50,
    ITF_ULLONG = 51,
    ITF_LIST = 254,
    ITF_LIST_END = 255
};

// Kind byte of a record.
enum IF_CSU_KIND : uint8_t { ICK_STRUCT = 0, ICK_UNION = 1, ICK_CLASS = 2 };

// Lists of a long record head and of its attributes, in the order of the file.
inline constexpr TP_LIST IF_CSU_LISTS[] = {TPL_bclass, TPL_adecl, TPL_ffriend, TPL_cfriend, TPL_ntype,
                                           TPL_mdata,  TPL_sdata, TPL_mfunc,   TPL_params};

// Greatest alignment of a type, in bits (32 MB: more than any object file holds).
inline constexpr uint32_t MAX_TYPE_ALIGN = 1u << 28;
// Levels of arrays of arrays, and of records by value in records.
inline constexpr unsigned MAX_TYPE_NESTING = 1000;
