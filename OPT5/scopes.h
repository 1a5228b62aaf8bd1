// Lexical scopes: the tree of LS records that mirrors the block structure of each function.
//
// Every node and every local symbol has a scope. Level 0 is the file-level root of a function, 1 holds the
// parameters, 2 the outermost block, deeper ones inner blocks. inline_id is the same for all scopes that came from
// one function body; two scopes compare only within one inline_id. A body that was integrated hangs as a subtree
// under the scope of the call, its levels raised accordingly.
//
// The tree is built while a function is read, the root belongs to FUNINFO and goes with the body. A symbol knows its
// scope; what a scope declares is gathered from the current function's symbols when it is printed. Trees may be as deep
// as blocks nest, so nothing here recurses over them.
#pragma once

#include <cstdio>

#include "OPT5/fwd.h"
#include "support/near.h"
#include "support/psn.h"

struct LS : pooled<LS> {
    near_ptr<LS> parent;
    near_ptr<LS> child; // first subscope
    near_ptr<LS> last_child;
    near_ptr<LS> sibling; // next subscope of the parent
    int number = 0;
    unsigned inline_id = 0;
    int level = 0;
    unsigned call_site = 0;
    int last_number = 0; // of a root: the last number given in its tree
    const PSN *begin = nullptr, *end = nullptr;
    SYMTAB *inlined_function = nullptr; // of the root of an integrated body
    struct LOOP *loop = nullptr;

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
