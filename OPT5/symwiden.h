// Variables that live in another width than they were declared in.
//
// A narrow local that is kept in a register is sign- or zero-extended again and again; widen_user_variables gives it
// the type of a register where all of its uses allow that, and remembers the values that the old type could hold, so
// that the known-bits rules still see a char behind the int. The reverse, a shortened symbol, is a temporary of which
// a pass knows that it holds only the values of a narrower type.
//
// The entries are the knowledge: type, bounds, and the bits that are 1, or that may be 1, in every value between the
// bounds. They belong to the function and go with its body. A symbol has at most one entry of each sort.
#pragma once

#include "OPT5/fwd.h"
#include "support/xint.h"

struct WIDENED {
    SYMTAB *symbol = nullptr;
    TYPE *type = nullptr; // the narrower type, whose values the symbol holds
    INT65 min, max;       // bounds of its values, both included
    INT65 known_ones;     // bits that are 1 in each of them
    INT65 known_zeros;    // bits that can be 1 in any of them; the others are 0
    WIDENED *next = nullptr;
};

// Whether every value of a widened symbol that is read lies in the range of its entry: while a pass that knows it
// has the flag set. Known bits ignore the entries otherwise.
extern bool wst_trustable;

// Acts on the current function, from level 2 on and where int has 32 bits.
void widen_user_variables();

// Records that the current function's symbol holds values of `type` (integer or enum) only, between the bounds.
// Narrows an entry that exists. Null for another type.
WIDENED *make_widened_symbol_entry(SYMTAB *, TYPE *type, INT65 min, INT65 max);
WIDENED *make_widened_symbol_entry(SYMTAB *, TYPE *type); // all values of the type
WIDENED *find_widened_symbol_entry(const SYMTAB *);       // null when there is none, or no current function
WIDENED *make_shortened_symbol_entry(SYMTAB *, TYPE *type);
WIDENED *find_shortened_symbol_entry(const SYMTAB *);
void dump_widened_symbol_entry(const WIDENED *);
void erase_widened_entries(FUNINFO *);
