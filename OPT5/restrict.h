// Restricted pointers: what a pointer variable may point at, as far as its declaration tells.
//
// A PTR stands for a pointer variable, or for a pointer member of a record variable, of the current function. Entries
// are made while the function is read and on demand later. Assignments join entries to groups (union-find over
// PTR::parent): pointers of one group may reach the same object, a restricted pointer heads a group of its own, and
// the bottom entry holds every pointer of unknown source. unaliased_by_scope answers from the groups whether two
// lvalues can't overlap.
//
// All entries of a function form the chain FUNINFO::ptr_chain: the bottom entry, those of file-level variables, then
// the others in order of creation. They belong to the function and go with its body.
//
// Limits: groups are not built yet, so that every pair of lvalues may be aliased for this test.
#pragma once

#include "OPT5/fwd.h"
#include "support/pool.h"
#include "support/psn.h"

#include <cstdint>
#include <cstdio>

enum PTR_FLAG : uint8_t {
    PTR_is_file_level = 0x01,
    PTR_is_a_parameter = 0x02,
    PTR_is_reassigned = 0x04, // a parameter that is assigned other than from itself plus an offset
    PTR_is_restricted = 0x08,
    PTR_is_disjointed = 0x10, // parameter under pointer_args_are_disjoint
    PTR_is_a_root = 0x20,     // restricted or disjointed: heads its own group
    PTR_is_bottom = 0x80,
};

struct PTR : pooled<PTR> {
    PTR *next = nullptr;
    PTR *parent = this; // of the group; itself at the group's root
    SYMTAB *symbol = nullptr;
    fkMDATA *member = nullptr; // null for a plain variable
    LS *scope = nullptr;       // that declares the symbol; may be null
    const PSN *psn = nullptr;
    uint8_t flags = 0;

    bool is(PTR_FLAG flag) const { return (flags & flag) != 0; }
    void print(FILE *to) const;
};

// The entry of (symbol, member), null when there is none. The tree is the lvalue through which the pointer is met, and
// may be null; its scope serves a symbol that has none.
PTR *find_PTR_entry(NODE *, SYMTAB *, fkMDATA *);
// A new entry. The symbol must be a pointer, or a record while `member` is a pointer.
PTR *make_PTR_entry(NODE *, SYMTAB *, fkMDATA *);
// Of a NAME of pointer type, or a STDOT of pointer type in a named object; null for other trees.
PTR *find_or_make_PTR_entry(NODE *);
PTR *find_or_make_PTR_entry(SYMTAB *); // null when it is no pointer
// The second symbol takes what is known of the first; null when nothing is.
PTR *copy_PTR_entry(SYMTAB *from, SYMTAB *to);
PTR *make_bottom_PTR_entry();           // finds or makes the current function's
void initialize_PTRs_from_tree(NODE *); // entries for all pointers that the tree names
void erase_PTR_entries(FUNINFO *);

// Starts the groups anew: every entry is alone.
void LS_build_PTR_equivalence_groups();
// True when scopes and restricted pointers show that the lvalues can't overlap.
bool unaliased_by_scope(NODE *, NODE *);
