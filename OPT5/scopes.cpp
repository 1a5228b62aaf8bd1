#include "OPT5/scopes.h"

#include <unordered_map>
#include <vector>

#include "OPT5/funinfo.h"
#include "OPT5/restrict.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "support/dbgout.h"
#include "support/fatal.h"

LS *curr_scope = nullptr;

LS::~LS() {
    walk_stack<LS *> todo;
    auto take_children = [&todo](LS *scope) {
        for (LS *c = scope->child; c; c = c->sibling) todo.push(c);
        scope->child = nullptr;
    };
    take_children(this);
    while (!todo.empty()) {
        LS *scope = todo.pop();
        take_children(scope);
        delete scope;
    }
}

// --- building ---

unsigned LS_new_inline_id() {
    static unsigned last = 0;
    return ++last;
}

static LS *root_of(LS *scope) {
    while (scope->parent) scope = scope->parent;
    return scope;
}

LS *LS::add_subscope(const PSN *begin_psn) {
    LS *scope = new LS;
    scope->parent = this;
    if (last_child) last_child->sibling = scope;
    else child = scope;
    last_child = scope;
    scope->begin = begin_psn;
    scope->inline_id = inline_id;
    scope->level = level + 1;
    return scope;
}

void LS_open(const PSN *psn, SYMTAB *function, unsigned call_site) {
    QL_ASSERT(currfuninfo != nullptr);
    LS *&root = currfuninfo->scopes;
    LS *scope;
    if (!root) {
        curr_scope = nullptr;
        root = scope = new LS;
        scope->begin = psn;
        scope->inline_id = LS_new_inline_id();
    } else {
        QL_ASSERT(curr_scope != nullptr);
        scope = curr_scope->add_subscope(psn);
        if (function && function != curr_scope->inlined_function) scope->inline_id = LS_new_inline_id();
    }
    scope->number = ++root->last_number;
    scope->inlined_function = function;
    scope->call_site = call_site;
    curr_scope = scope;
}

void LS_close(const PSN *psn, SYMTAB *, unsigned) {
    QL_ASSERT(curr_scope != nullptr);
    curr_scope->end = psn;
    curr_scope = curr_scope->parent;
}

void LS::add_symbol(SYMTAB *s) { s->scope = this; }

void LS::assign_scope_to_tree(NODE *tree) { LS_assign_scope_to_tree(this, tree); }

void LS_add_symbol(LS *scope, SYMTAB *s) { scope->add_symbol(s); }
void LS_assign_scope_to_tree(LS *scope, NODE *tree) {
    for_each_node(tree, [scope](NODE *n) { n->scope = scope; });
}

void LS_initialize_scopes_and_ptrs_from_tree(NODE *tree) {
    for_each_node(tree, [](NODE *n) {
        if (curr_scope) n->scope = curr_scope;
        if (n->op == NAME || n->op == STDOT) find_or_make_PTR_entry(n); // no other node has one
    });
}

// --- places in the tree ---

LS *LS_level_1_scope(LS *root) { return root ? root->child : nullptr; }

LS *LS_level_2_scope(LS *root) {
    LS *parameters = LS_level_1_scope(root);
    return parameters ? parameters->child : nullptr;
}

LS *LS::level_0_scope() {
    if (!currfuninfo || currfuninfo->scopes != this) abort_optimizer("not the root of the function's scopes");
    return this;
}

LS *LS::level_1_scope() { return LS_level_1_scope(level_0_scope()); }
LS *LS::level_2_scope() { return LS_level_2_scope(level_0_scope()); }

// --- relations ---

static LS *climb(LS *scope, int level) {
    while (scope && scope->level > level) scope = scope->parent;
    return scope;
}

bool LS::encloses(LS *other) {
    if (!other || !inline_id || !other->inline_id) abort_optimizer("comparison with no scope");
    if (this == other) return true;
    if (inline_id != other->inline_id) return false;
    return climb(other, level) == this;
}

bool LS::is_strictly_contained_by(LS *other) {
    if (!other) abort_optimizer("comparison with no scope");
    return this != other && other->encloses(this);
}

bool LS::object_may_be_live_in_scope(SYMTAB *object) {
    if (!object || !object->scope) return true;
    // The address of a caller's object may be known in the body that was integrated there.
    if (object->scope->inline_id != inline_id) return true;
    return object->scope->encloses(this);
}

LS *LS::innermost_common_scope(LS *a, LS *b) {
    if (!a && !b) return nullptr;
    if (!a || !b) return root_of(a ? a : b);
    if (!a->inline_id || !b->inline_id) abort_optimizer("comparison with no scope");
    if (a->inline_id != b->inline_id) return root_of(a);
    a = climb(a, b->level);
    b = climb(b, a->level);
    while (a != b) {
        a = a->parent;
        b = b->parent;
        QL_ASSERT(a && b);
    }
    return a;
}

// The scope of the object behind a NAME or UMULT, null when the symbol tells none.
static LS *scope_of_object(const SYMTAB *object) {
    LS *root = currfuninfo ? currfuninfo->scopes : nullptr;
    if (object->level == 0) return root;
    if (object->scope) return object->scope;
    return is_internal_symbol(object) ? LS_level_2_scope(root) : nullptr;
}

LS *true_scope(NODE *tree) {
    NODE *n = tree;
    std::vector<NODE *> fields; // the STDOTs passed, outermost first
    for (bool strip = true; n && strip;) {
        switch (n->op) {
        case CSE_DUPE:
        case CSE_ORIG: n = n->right; break;
        case SSA_USE:
        case SSA_DEF:
        case SSA_MU:
        case SSA_CHI: n = n->left; break;
        case STDOT:
            fields.push_back(n);
            n = n->left;
            break;
        default: strip = false;
        }
    }
    LS *found = nullptr;
    if (n) {
        const SYMTAB *object = nullptr;
        if (n->op == NAME) object = n->u.sym;
        if (n->op == UMULT && n->left && n->left->op == UAND && n->left->left->op == NAME)
            object = n->left->left->u.sym;
        if (object) found = scope_of_object(object);
        if (!found) found = n->scope;
    }
    for (size_t i = fields.size(); !found && i--;) {
        const NODE *field = fields[i]->right;
        found = field && field->scope ? field->scope : fields[i]->scope;
    }
    return found;
}

// --- printing and checking ---

// The next scope of a walk over the subtree of `top`, each before what it holds; null at the end.
static LS *next_in_subtree(LS *scope, const LS *top, int *depth) {
    if (scope->child) {
        ++*depth;
        return scope->child;
    }
    while (scope != top && !scope->sibling) {
        scope = scope->parent;
        --*depth;
    }
    return scope == top ? nullptr : scope->sibling;
}

namespace {

// What each scope of the current function declares, by kind and in order of creation.
struct DECLARED {
    std::vector<const SYMTAB *> pointers, records, arrays, others;
};
using DECLARATIONS = std::unordered_map<const LS *, DECLARED>;

DECLARATIONS gather_declarations() {
    DECLARATIONS all;
    if (!currfuninfo) return all;
    for (const SYMTAB *s : currfuninfo->owned_symbols) {
        if (!s->scope) continue;
        DECLARED &here = all[s->scope];
        (s->type->is_ptr()     ? here.pointers
         : s->type->is_csu()   ? here.records
         : s->type->is_array() ? here.arrays
                               : here.others)
            .push_back(s);
    }
    return all;
}

} // namespace

static void print_group(FILE *to, int indent, const char *title, const std::vector<const SYMTAB *> &group) {
    if (group.empty()) return;
    fprintf(to, "%*s    %s\n", indent, "", title);
    for (const SYMTAB *s : group) fprintf(to, "%*s        %s\n", indent, "", s->name);
}

static void print_one(const LS *scope, FILE *to, int indent, const DECLARATIONS &symbols) {
    auto line = [](const PSN *p) { return static_cast<unsigned long>(p ? p->line : 0); };
    auto column = [](const PSN *p) { return static_cast<unsigned long>(p ? p->column : 0); };
    fprintf(to, "%*sSCOPE #%d, level %d, at line %lu, column %lu", indent, "", scope->number, scope->level,
            line(scope->begin), column(scope->begin));
    fprintf(to, ", to line %lu, column %lu.\n", line(scope->end), column(scope->end));
    if (scope->inlined_function)
        fprintf(to, "%*s    in inlined function %s() called at site #%d\n", indent, "",
                skip_name_prefix(scope->inlined_function->name), int(scope->call_site));
    auto declared = symbols.find(scope);
    if (declared == symbols.end()) return;
    print_group(to, indent, "Pointer variables declared in this scope:", declared->second.pointers);
    print_group(to, indent, "CSU variables declared in this scope:", declared->second.records);
    print_group(to, indent, "Array variables declared in this scope:", declared->second.arrays);
    print_group(to, indent, "Other variables declared in this scope:", declared->second.others);
}

void LS::print(bool nested, FILE *to, int indent, bool symbols) {
    constexpr int STEP = 4, WIDEST = 80; // very deep blocks are not moved further right
    const DECLARATIONS declarations = symbols ? gather_declarations() : DECLARATIONS();
    int depth = 0;
    for (LS *scope = this; scope; scope = nested ? next_in_subtree(scope, this, &depth) : nullptr)
        print_one(scope, to, indent + (depth < WIDEST / STEP ? depth * STEP : WIDEST), declarations);
}

void LS_print(LS *root) {
    if (print_debug && fdebug && root) root->print(true, fdebug, 0, true);
}

void LS::validate() {
    int depth = 0;
    for (LS *scope = this; scope; scope = next_in_subtree(scope, this, &depth)) {
        if (!scope->inline_id) abort_optimizer("scope of no body");
        if (!scope->child != !scope->last_child) abort_optimizer("scope with a half list of subscopes");
        for (const LS *c = scope->child; c; c = c->sibling) {
            if (c->parent != scope) abort_optimizer("subscope with another parent");
            if (c->level != scope->level + 1) abort_optimizer("subscope of a wrong level");
            if (!c->sibling && c != scope->last_child) abort_optimizer("subscope behind the last one");
        }
    }
}

void LS_validate(LS *root) {
    if (root) root->validate();
}
