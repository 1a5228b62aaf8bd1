// Pragmas: what they do to symbols and functions when they are read, and how passes look at them.
//
// A pragma with a symbol hangs in that symbol's chain (newest first) and goes through the file unchanged; reading it
// also sets the flags by which the analyses know it (opt_process_pragma). A pragma without a symbol is a statement: in
// a function a PPRAGMA node, outside it goes straight to the output file. The arguments of a PPRAGMA are texts, also
// those that are numbers.
//
// Visibility. "default" and "extern" let another module replace a definition at load time (preemptible), so nothing
// that is known from this definition may be used by its callers; these two and "protected" let other modules refer to
// it (outside accessible), so that it must stay and its uses are unknown.
//
// Invariant: a nonconforming function, one whose name is that of a library function but whose meaning is not, keeps
// none of the flags that the name would give it.
#pragma once

#include <string>
#include <vector>

#include "OPT5/fwd.h"
#include "OPT5/symtab.h"
#include "ifile/if_faces.h"
#include "support/xint.h"

// What passes may do with a symbol that bears a pragma, by number.
enum PRAGMA_FLAG : uint8_t {
    PF_GROUPABLE = 1, // the object may become a member of a group
    PF_HARMLESS = 2,  // the function may become, or have, a synonym
};
int pragma_flags(int number); // 0 for one that is not known

// Applies a pragma that was just read. With a symbol it must be linked to it already, and stays its property. Without
// one it belongs to this function: it becomes a statement of the function being read, or is written and freed.
void opt_process_pragma(SYMTAB *, PRAGMA *);

// The first pragma of that number in the symbol's chain, or null. A null symbol has none.
PRAGMA *symbol_has_pragma(const SYMTAB *, int number);
// Puts a new pragma at the head of the symbol's chain.
PRAGMA *add_pragma(SYMTAB *, int number, std::vector<std::string> args);
// The chain without that pragma, which the caller then owns.
PRAGMA *remove_pragma(PRAGMA *which, PRAGMA *chain);
PRAGMA *copy_pragmas(const PRAGMA *chain);
// The argument, or null when there is none of that index.
const char *pragma_arg(const PRAGMA *, unsigned index);

bool pragma_says_preemptible(const PRAGMA *);
bool pragma_says_outside_accessible(const PRAGMA *);
bool symbol_is_preemptible(const SYMTAB *);
bool symbol_is_outside_accessible(const SYMTAB *);
bool symbol_is_protected(const SYMTAB *); // others may refer to it, none may replace it
bool func_is_nonconforming(const SYMTAB *);
bool sym_is_FAR(const SYMTAB *); // its address does not reach as far as a plain one must

// Whether a function that is called, and not defined here, is a built-in that orders memory accesses: it was made a
// call so that passes keep it in its place, and becomes a built-in again in the output.
bool is_barrier_MCALL(const SYMTAB *function);

// --- arguments of a PPRAGMA ---

const char *get_PPRAGMA_tree_arg(const NODE *, int index); // null when missing
// Missing arguments below `index` become empty texts.
void set_PPRAGMA_tree_arg(NODE *, int index, const char *text);
// -1 (all ones) when missing or no number.
INT65 get_PPRAGMA_tree_int_arg(const NODE *, int index);
void set_PPRAGMA_tree_int_arg(NODE *, int index, INT65 value);
// Gives the node a pragma of that number with `count` empty arguments, in place of the one that it has.
void set_PPRAGMA_tree_info(NODE *, int number, int count);
NODE *copy_ppragma_tree(const NODE *);
