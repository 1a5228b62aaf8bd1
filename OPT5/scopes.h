// Lexical scopes: the tree of LS records that mirrors the block structure of each function.
//
// Every node and every local symbol has a scope. Level 0 is the file-level root of a function, 1 holds the
// parameters, 2 the outermost block, deeper ones inner blocks. inline_id is the same for all scopes that came from
// one function body; two scopes compare only within one inline_id. A body that was integrated hangs as a subtree
// under the scope of the call, its levels raised accordingly.
//
// The tree is built while a function is read, the root belongs to FUNINFO and goes with the body. Symbols are listed
// in their scope for printing; a symbol that left its function's chains may still stand there. Trees may be as deep as
// blocks nest, so nothing here recurses over them.
#pragma once

#include <cstdio>
#include <vector>

#include "OPT5/fwd.h"
#include "support/pool.h"
#include "support/psn.h"

struct LS : pooled<LS> {
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
    int last_number = 0; // of a root: the last number given in its tree

    LS() = default;
    LS(const LS &) = delete;
    LS &operator=(const LS &) = delete;
    ~LS(); // with its subtree

    // The symbol's scope becomes this one.
    void add_symbol(SYMTAB *);
    // A new last subscope with this scope's inline_id, one level down, numbered by the root.
    LS *add_subscope(const PSN *begin);
    // Every node of the tree gets this scope.
    void assign_scope_to_tree(NODE *);
    // This scope, and with `nested` those below; each line behind `indent` blanks. `symbols`: with what they declare.
    void print(bool nested, FILE *to, int indent, bool symbols);
    void validate(); // a broken tree is an internal error

    // On the root of the current function only; null where the tree is not built that far.
    LS *level_0_scope();
    LS *level_1_scope();
    LS *level_2_scope();
    // Within one inline_id, scopes of different bodies enclose nothing of each other. Null or an inline_id of 0 is an
    // internal error.
    bool encloses(LS *);
    bool is_strictly_contained_by(LS *);
    // False when the object was declared in a block that does not enclose this scope. Unknown things may be live.
    bool object_may_be_live_in_scope(SYMTAB *);
    // The root for scopes of different bodies, or when one is unknown; null when both are.
    static LS *innermost_common_scope(LS *, LS *);
};

// Building, for the function being read (currfuninfo->scopes is the root). open makes a subscope of the current
// one, the root when there is none; close returns to the parent. A function and call site name the body that is
// integrated there, null and 0 for the function's own blocks.
void LS_open(const PSN *, SYMTAB *function, unsigned call_site);
void LS_close(const PSN *, SYMTAB *function, unsigned call_site);
extern LS *curr_scope; // the open scope while reading; null otherwise
unsigned LS_new_inline_id();

void LS_add_symbol(LS *, SYMTAB *);
LS *LS_level_1_scope(LS *root); // null where the tree is not built that far
LS *LS_level_2_scope(LS *root);
void LS_assign_scope_to_tree(LS *, NODE *);
// Gives each node of a tree just read the open scope, and enters PTR records for its pointers.
void LS_initialize_scopes_and_ptrs_from_tree(NODE *);
void LS_print(LS *root); // to the debug stream, if any
void LS_validate(LS *root);
// The scope that an lvalue's object belongs to, as far as it is known; else that of the node. May be null.
LS *true_scope(NODE *);
