// Built-in function descriptors: what the names of ICALL, UICALL, MCALL and UMCALL nodes mean to the optimizer.
//
// A BIF says of a name what it gives and takes, whether calls may be shared or reordered, and what its value can be.
// The table is a map by name that lives for the whole run. A name without a descriptor and without a declaration in
// the rule base is nothing that the optimizer knows: the reader makes a true call of it.
//
// The descriptors of this program's own built-ins are not entered yet; the table starts empty.
#pragma once

#include <cstdint>

#include "OPT5/fwd.h"
#include "support/xint.h"

enum BIF_FLAG1 : uint8_t {
    BIF_IS_SELF_ASSOCIATIVE = 0x01,
    BIF_TOWERS_LIKE_MINUS = 0x02,
    BIF_TOWERS_LIKE_PLUS = 0x04,
    BIF_OPDS_0_1_COMMUTE = 0x08,
    BIF_OPDS_1_2_COMMUTE = 0x10,
    BIF_LIKES_UMULT_OPDS = 0x20,
    BIF_MAXVAL_IS_KNOWN = 0x40,
    BIF_MINVAL_IS_KNOWN = 0x80,
};
enum BIF_FLAG2 : uint8_t {
    BIF_RETURNS_1_OR_0 = 0x01,
    BIF_OPDS_MUST_NOT_CSE = 0x02,
    BIF_MUST_NOT_CSE = 0x04,
    BIF_MUST_EXPAND = 0x08,
    BIF_IS_GENERIC = 0x10,
    BIF_IS_PROPER_ABSVAL = 0x20,
    BIF_IS_PROPER_EXTRACT = 0x40,
    BIF_IS_PROPER_MINVAL = 0x80,
};
enum BIF_FLAG3 : uint8_t {
    BIF_IS_PROPER_MAXVAL = 0x01,
    BIF_IS_EFI = 0x02,
    BIF_IS_INTRINSIC =
        0x08, // of the machine description: ICALL in files, ordered in functions with control registers
    BIF_IS_BARRIER = 0x10, // orders memory accesses; a true call inside the optimizer
    BIF_IS_SIMPLE_VECTOR_OP = 0x20,
    BIF_YIELDS_ADDRESS = 0x40,
};

struct BIF {
    BIF *generic_link = nullptr;     // generic <-> its local instance
    BIF *associative_link = nullptr; // the associative or non-associative twin
    TYPE *result_type = nullptr;
    NODE *parameters = nullptr; // NAMEs, chained by COMMA
    NODE *semantics = nullptr;  // tree over the parameters that a call is equivalent to
    INT65 minval, maxval;
    uint32_t funinfo_flags = 0; // of a FUNINFO made for the call
    NODE *(*simp)(NODE *, struct LOOP *) = nullptr;
    void *eval = nullptr; // evaluator over value sets
    uint8_t flags1 = 0, flags2 = 0, flags3 = 0;
    uint8_t op = 0; // ICALL, UICALL, MCALL or UMCALL
    uint8_t nparms = 0;
    const char *name = nullptr;
};

// Enters a new descriptor. Another opcode than the four, a missing name or type or a known name ends the run.
BIF *make_BIF_descriptor(int op, const char *name, int nparms, TYPE *result);
// Null if absent.
BIF *find_BIF_descriptor(const char *name);
