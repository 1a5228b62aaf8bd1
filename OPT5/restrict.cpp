#include "OPT5/restrict.h"

#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/scopes.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "support/fatal.h"
#include "typepkg/type_merge.h"

namespace {

// Whether the symbol is a parameter, or the local that the argument prolog copies one of its name to.
bool is_or_holds_parameter(FUNINFO *f, const SYMTAB *s) {
    if (s->level == 1) return true;
    if (s->level == 0) return false;
    return f->parameters.any_named(
        s->name, [s](const SYMTAB *parameter) { return compatible_types(parameter->type, s->type); });
}

void link_entry(FUNINFO *f, PTR *entry) {
    PTR *after = entry->is(PTR_is_file_level) ? make_bottom_PTR_entry() : f->ptr_tail;
    if (!after) after = make_bottom_PTR_entry();
    entry->next = after->next;
    after->next = entry;
    if (f->ptr_tail == after) f->ptr_tail = entry;
    if (entry->symbol->level != 0 && !entry->member) entry->symbol->restrict_entry = entry;
    else f->ptr_map[{entry->symbol, entry->member}] = entry;
    if (entry->is(PTR_is_a_root)) f->has_restrict = true;
}

} // namespace

PTR *make_bottom_PTR_entry() {
    QL_ASSERT(currfuninfo != nullptr);
    FUNINFO *f = currfuninfo;
    if (f->bottom_ptr) return f->bottom_ptr;
    PTR *bottom = new PTR;
    bottom->flags = PTR_is_bottom;
    bottom->scope = f->scopes;
    bottom->next = f->ptr_chain;
    f->bottom_ptr = f->ptr_chain = bottom;
    if (!f->ptr_tail) f->ptr_tail = bottom;
    return bottom;
}

PTR *find_PTR_entry(NODE *, SYMTAB *s, fkMDATA *member) {
    QL_ASSERT(currfuninfo != nullptr);
    if (s->level != 0 && !member) return s->restrict_entry; // a local is named in its function only
    auto entry = currfuninfo->ptr_map.find({s, member});
    return entry == currfuninfo->ptr_map.end() ? nullptr : entry->second;
}

PTR *make_PTR_entry(NODE *tree, SYMTAB *s, fkMDATA *member) {
    QL_ASSERT(currfuninfo != nullptr);
    const TYPE *pointer = member ? member->type : s->type;
    if (!pointer->is_ptr()) abort_optimizer("restrict record for something that is no pointer");
    FUNINFO *f = currfuninfo;
    PTR *entry = new PTR;
    entry->symbol = s;
    entry->member = member;
    entry->scope = s->level == 0 ? f->scopes : s->scope;
    if (!entry->scope && tree) entry->scope = tree->scope;
    entry->psn = s->psn;
    if (s->level == 0 || (entry->scope && entry->scope->level == 0)) entry->flags |= PTR_is_file_level;
    if (is_or_holds_parameter(f, s)) entry->flags |= PTR_is_a_parameter;
    if (pointer->is_restrict()) entry->flags |= PTR_is_restricted;
    if (entry->is(PTR_is_a_parameter) && !member && pointer_args_are_disjoint)
        entry->flags |= PTR_is_disjointed;
    if (entry->flags & (PTR_is_restricted | PTR_is_disjointed)) entry->flags |= PTR_is_a_root;
    link_entry(f, entry);
    return entry;
}

PTR *find_or_make_PTR_entry(NODE *tree) {
    if (!tree || !tree->type || !tree->type->is_ptr()) return nullptr;
    fkMDATA *member = nullptr;
    NODE *base = tree;
    if (tree->op == STDOT && tree->right && tree->right->op == FIELD) {
        member = tree->right->member;
        if (!member || !member->type->is_ptr()) return nullptr;
        while (base && base->op == STDOT) base = base->left;
    }
    if (!base || base->op != NAME || !base->u.sym) return nullptr;
    if (!member && !base->u.sym->type->is_ptr()) return nullptr;
    PTR *known = find_PTR_entry(tree, base->u.sym, member);
    return known ? known : make_PTR_entry(tree, base->u.sym, member);
}

PTR *find_or_make_PTR_entry(SYMTAB *s) {
    if (!s || !s->type->is_ptr()) return nullptr;
    PTR *known = find_PTR_entry(nullptr, s, nullptr);
    return known ? known : make_PTR_entry(nullptr, s, nullptr);
}

PTR *copy_PTR_entry(SYMTAB *from, SYMTAB *to) {
    const PTR *known = find_PTR_entry(nullptr, from, nullptr);
    if (!known) return nullptr;
    PTR *entry = find_or_make_PTR_entry(to);
    if (!entry) return nullptr;
    entry->flags = known->flags;
    entry->psn = known->psn;
    if (!entry->scope) entry->scope = known->scope;
    if (entry->is(PTR_is_a_root)) currfuninfo->has_restrict = true;
    return entry;
}

void initialize_PTRs_from_tree(NODE *tree) {
    for_each_node(tree, [](NODE *n) { find_or_make_PTR_entry(n); });
}

void erase_PTR_entries(FUNINFO *f) {
    for (SYMTAB *s : f->owned_symbols) s->restrict_entry = nullptr;
    while (PTR *entry = f->ptr_chain) {
        f->ptr_chain = entry->next;
        delete entry;
    }
    f->ptr_map.clear();
    f->bottom_ptr = f->ptr_tail = nullptr;
    f->has_restrict = false;
}

void LS_build_PTR_equivalence_groups() {
    QL_ASSERT(currfuninfo != nullptr);
    for (PTR *p = currfuninfo->ptr_chain; p; p = p->next) {
        p->flags &= uint8_t(~PTR_is_reassigned);
        p->parent = p;
    }
}

bool unaliased_by_scope(NODE *, NODE *) { return false; }

void PTR::print(FILE *to) const {
    struct {
        PTR_FLAG flag;
        const char *format;
    } const rows[] = {
        {PTR_is_bottom, "%s is_bottom    "},       {PTR_is_reassigned, "%s is_reassigned"},
        {PTR_is_a_parameter, "%s is_a_parameter"}, {PTR_is_file_level, "%s is_file_level"},
        {PTR_is_disjointed, "%s is_disjointed"},   {PTR_is_restricted, "%s is_restricted"},
        {PTR_is_a_root, "%s is_a_root"},
    };
    auto id = [](const PTR *p) { return p->scope ? p->scope->number : 0; };
    if (parent == this) {
        fprintf(to, "#-|-:\t(self)");
    } else {
        fprintf(to, "#%u|%u:\t", unsigned(id(this)), unsigned(id(parent)));
    }
    fprintf(to, " %s", is(PTR_is_bottom) ? "<LATTICE BOTTOM>" : symbol->name);
    if (member) fprintf(to, ".%s", member->name);
    for (const auto &row : rows)
        if (is(row.flag)) fprintf(to, row.format, "");
    fprintf(to, "\n");
}
