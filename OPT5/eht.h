// Exception tables: reading, pruning, writing.
//
// The table of a function is an array whose entry 0 is all zero and whose entry 1 is the root; an entry's id is its
// position, and `next` names the entry that follows on unwinding, so that every chain ends at the root. Calls name
// their innermost entry in i_eht_id. A catch entry names labels: those of the input until the blocks are written,
// then, for a moment, the negated numbers of the output, so that no number is taken for the other kind.
#pragma once

#include <string>
#include <vector>

#include "OPT5/fwd.h"
#include "ifile/if_faces.h"

// Takes over a table read for the current function: copies, sorts and renumbers the entries, and renumbers the
// entries that the calls of `statements` (a function's list, any order) and of cleanup trees name. Gives what is
// wrong with it, "" when nothing is.
std::string enter_eht(const EHT_ENTRY *entries, unsigned n, LIST *statements);
// Whether a cleanup tree of the current function names the symbol.
bool sym_appears_in_EHT(SYMTAB *symbol);
// Drops the entries of the current function that no call needs, and renumbers the rest from 1 without gaps.
void prune_eht();
// Each label of a catch entry that equals the value of a case takes the number of the case's label, with `negate`
// its negative. `cases` is a COMMA chain of CASE and DEFAULT.
void update_eht_labels(NODE *cases, bool negate);
void update_eht_labels(const std::vector<NODE *> &chains, bool negate); // of several switches at once
// Writes the table, if there is one. Labels still in the input's numbers are an internal fault.
void write_eht();
// To the debug stream.
void dump_EHT(FUNINFO *function);
