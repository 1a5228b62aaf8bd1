// Lexical scopes: the tree of LS records that mirrors the block structure of each function.
//
// Every node and every local symbol has a scope. Level 0 is the file-level root of a function, 1 holds the
// parameters, 2 the outermost block, deeper ones inner blocks. inline_id is the same for all scopes that came from
// one function body; two scopes compare only within one inline_id.
#pragma once

#include <cstdio>
#include <vector>

#include "OPT5/fwd.h"
#include "support/psn.h"

struct LS {
    LS *parent = nullptr;
    LS *child = nullptr; // first subscope
    LS *last_child = nullptr;
    LS *sibling = nullptr; // next subscope of the parent
    int number = 0;
    const PSN *begin = nullptr, *end = nullptr;
    unsigned inline_id = 0;
    int level = 0;
    SYMTAB *inlined_function = nullptr; // of the root of an integrated body
    unsigned call_site = 0;
    std::vector<SYMTAB *> pointer_symbols, csu_symbols, array_symbols, other_symbols;
    struct LOOP *loop = nullptr;

    void add_symbol(SYMTAB *);
    void assign_scope_to_tree(NODE *);
    void print(bool nested, FILE *to, int indent, bool symbols);
    void validate(); // a broken tree is an internal error
    LS *level_0_scope();
    LS *level_1_scope();
    LS *level_2_scope();
    bool encloses(LS *);
    bool is_strictly_contained_by(LS *);
    bool object_may_be_live_in_scope(SYMTAB *);
    static LS *innermost_common_scope(LS *, LS *);
    ~LS(); // with its subtree
};

// Building, for the function being read (currfuninfo->scopes is the root). open makes a subscope of the current
// one, the root when there is none; close returns to the parent.
void LS_open(const PSN *, SYMTAB *function, unsigned call_site);
void LS_close(const PSN *, SYMTAB *function, unsigned call_site);
extern LS *curr_scope; // the open scope while reading; null otherwise
void LS_add_symbol(LS *, SYMTAB *);
LS *LS_level_1_scope(LS *root);
LS *LS_level_2_scope(LS *root);
void LS_assign_scope_to_tree(LS *, NODE *);
// Gives each node of a tree just read the open scope, and enters PTR records for its pointers.
void LS_initialize_scopes_and_ptrs_from_tree(NODE *);
void LS_print(LS *root);
void LS_validate(LS *root);
LS *true_scope(NODE *);
