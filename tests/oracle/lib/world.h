// The world in which trees of the rewrite oracle stand: a type package, an empty current function, and variables of
// every scalar type. There is one for the whole process; it is made when first asked for.
//
// Of each integer and floating type there are the variables x y z w, the volatile u v, and the pointers p q to it;
// small counts n (int); an int array, a record with fields of several widths and bit-fields, pointers to both; three
// functions: `pure` (no effect, known as such), `ext` and `ext2` (anything).
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "OPT5/fwd.h"
#include "tests/oracle/lib/machine.h"

struct TYPE_PKG;

struct SCALAR {
    const char *name; // "i8", "u8", ... "f64", "bool", "enum"
    TYPE *type;
};

struct ORACLE_WORLD {
    std::vector<SCALAR> integers; // the eight of 8 to 64 bits
    std::vector<SCALAR> scalars;  // those, then bool, enum, f32, f64
    TYPE *i32, *u32, *f32, *f64, *ptr_i32;
    TYPE *record;
    std::vector<fkMDATA *> fields;
    SYMTAB *array, *object, *to_object, *to_array, *count;
    SYMTAB *pure, *ext, *ext2;
    LAYOUT layout;

    // "x", "y", "z", "w", "u", "v" (volatile), "p", "q" (pointers to the type).
    SYMTAB *variable(const char *name, TYPE *type);
    TYPE *named(const std::string &name); // null: no such scalar
    // A signed or unsigned integer of that many bits.
    TYPE *integer(int bits, bool is_signed);
    TYPE *other_sign(TYPE *type);
    fkMDATA *field(const std::string &name);
    SYMTAB *make_symbol(const std::string &name, TYPE *type, int level);

    std::deque<std::unique_ptr<SYMTAB>> symbols;
    std::map<std::pair<std::string, TYPE *>, SYMTAB *> variables;

    ORACLE_WORLD();
};

ORACLE_WORLD &world();
