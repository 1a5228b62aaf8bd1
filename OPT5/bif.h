// Built-in function descriptors: what the names of ICALL, UICALL, MCALL and UMCALL nodes mean to the optimizer.
//
// A BIF says of a name what it gives and takes, whether calls may be shared or their operands exchanged, what its
// value can be, whether it orders memory accesses, and which functions simplify and evaluate a call of it. Passes
// ask the descriptor and don't compare names.
//
// The table is ordered by name and lives for the whole run; beside it stands a hash of the interned names, which
// nodes carry, so that the look-up for a node costs no comparison of texts. init_BIF_descriptors fills it at
// start-up from rows: first what every target has, then, in biftarget, what this one has; the machine description
// adds its intrinsics later. A name without a descriptor and without a declaration in the rule base is nothing that
// the optimizer knows: the reader makes a true call of it.
//
// Some built-ins are generic: the concept, under a name that no program uses, with the types of C. A target that has
// it makes a local instance under the name that its programs use; the two know each other by generic_link.
//
// The parameters of a descriptor are trees, so that semantics can be substituted: a NAME for one, a left-deep chain of
// COMMA for several, each of a private symbol whose name is a letter. These symbols are in no function.
//
// A contradiction in the building of the table is an internal error: its text goes to standard error and the run ends.
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
    BIF_YIELDS_ADDRESS = 0x40, // of memory that the operand names
};

// The three bytes in one word, flags1 lowest: how rows give them, and the declarations of the machine description.
constexpr uint32_t BIF_flag_word(unsigned flags1, unsigned flags2 = 0, unsigned flags3 = 0) {
    return flags1 | flags2 << 8 | flags3 << 16;
}

struct vpset;
struct VPENV;

// Simplifies a call whose operands are simplified. Takes the tree; the caller stores the result in its place.
using BIF_SIMP = NODE *(*)(NODE *call, struct LOOP *loop);
// Narrows *result, which comes in as all values of the call's type, under what the environment says.
using BIF_EVAL = void (*)(vpset *result, NODE *call, struct LOOP *loop, VPENV *env);

struct BIF {
    BIF *generic_link = nullptr;     // generic <-> its local instance (of several the last one made)
    BIF *associative_link = nullptr; // the associative or non-associative twin
    TYPE *result_type = nullptr;     // never null
    NODE *parameters = nullptr;      // NAMEs, chained by COMMA
    NODE *semantics = nullptr;       // tree over the parameters that a call is equivalent to
    INT65 minval, maxval;            // of the result, where MINVAL_IS_KNOWN, MAXVAL_IS_KNOWN
    uint32_t funinfo_flags = 0;      // of a FUNINFO made for the call
    BIF_SIMP simp = nullptr;
    BIF_EVAL eval = nullptr;
    uint8_t flags1 = 0, flags2 = 0, flags3 = 0;
    uint8_t op = 0; // ICALL, UICALL, MCALL or UMCALL
    uint8_t nparms = 0;
    const char *name = nullptr; // interned
};

// Fills the table, forgetting what it held. Types, opcode tables and options must be there.
void init_BIF_descriptors();

// --- making; descriptors belong to the table ---

// Enters a new descriptor without parameters. Another opcode than the four, a missing name or type, a count that is no
// count or a known name is an internal error.
BIF *make_BIF_descriptor(int op, const char *name, int nparms, TYPE *result);
// The same with nparms types behind the result; the parameters are a, b, c, ...
BIF *make_simple_BIF(int op, const char *name, int nparms, TYPE *result, ...);
// Appends a parameter. `index` is the number of those before it.
void def_BIF_parameter(BIF *, int index, TYPE *, char letter);
NODE *get_BIF_parameter(char letter, BIF *); // its NAME in the descriptor; copy it before use in a tree
// Once for each descriptor, which takes the tree.
void add_BIF_semantics(BIF *, NODE *tree, bool must_expand);
// A new descriptor that takes everything over but IS_GENERIC; only of a generic.
BIF *instantiate_generic_BIF(const char *name, BIF *generic);
// The associative twin, for a descriptor that is not generic and has none.
BIF *instantiate_associative_BIF(const char *name, BIF *);

// A descriptor as a row. Types and parameters are words: "int", "short a, void* b"; see type_of_words in bif.cpp.
struct BIF_ROW {
    const char *name;
    int op = 0;
    const char *result = nullptr;
    const char *parameters = "";
    uint32_t flags = 0; // BIF_flag_word
    BIF_SIMP simp = nullptr;
    BIF_EVAL eval = nullptr;
};
BIF *make_BIF_from_row(const BIF_ROW &);

// --- asking ---

// Null if absent, and for a null name.
BIF *find_BIF_descriptor(const char *name);
// For a generic its local instance, null where this target has none; else the descriptor, null if absent.
BIF *find_target_BIF_descriptor(const char *name);
// An MCALL or UMCALL that belongs to the exception handling.
bool is_EFI_MCALL(const NODE *);
// Whether common subexpressions may share the call, and its operands. Calls of unknown names may be shared.
bool ok_to_CSE_ICALL(const NODE *);
bool ok_to_CSE_ICALL_opds(const NODE *);

// To the debug stream from level 2 on, ordered by name.
void dump_BIF_descriptors(bool generics, bool nongenerics);
