#include "typepkg/type_merge.h"

#include "typepkg/type_query.h"

#include <algorithm>
#include <unordered_set>

#include "support/walkstack.h"

namespace {

// A walk over pairs of types that must all be related. A pair that was met before is taken for granted, so
// that records which refer to themselves end, and shared parts are looked at once.
struct PAIR_WALK {
    struct PAIR {
        TYPE *a, *b;
        bool operator==(const PAIR &) const = default;
    };
    struct PAIR_HASH {
        size_t operator()(const PAIR &p) const {
            return (reinterpret_cast<uintptr_t>(p.a) * 31 ^ reinterpret_cast<uintptr_t>(p.b)) *
                   0x9E3779B97F4A7C15u;
        }
    };
    walk_stack<PAIR> todo;
    std::vector<PAIR> met; // in the order of the walk, when `record` asks for it
    std::unordered_set<PAIR, PAIR_HASH> seen;
    bool strip = false;
    bool record = false;
    bool failed = false;

    // Only pairs with parts may come again and again.
    static bool has_parts(const PAIR &p) {
        constexpr unsigned SIMPLE = 1u << K_void | 1u << K_int | 1u << K_float;
        return !(SIMPLE >> p.a->kind & SIMPLE >> p.b->kind & 1);
    }

    void need(TYPE *a, TYPE *b) {
        if (a == b) return;
        if (a && b) todo.push({a, b});
        else failed = true;
    }

    // RELATE answers for the pair itself and states the pairs of parts with need(). The first pair, which
    // settles most questions, goes without the tables.
    template <class R> bool holds(TYPE *first, TYPE *second, R relate) {
        PAIR pair = {first->rep(), second->rep()};
        if (pair.a == pair.b) return true;
        for (;;) {
            if (record) met.push_back(pair);
            if (!relate(*this, pair.a, pair.b) || failed) return false;
            do {
                if (todo.empty()) return true;
                PAIR next = todo.pop();
                pair = {next.a->rep(), next.b->rep()};
            } while (pair.a == pair.b || (has_parts(pair) && !seen.insert(pair).second));
        }
    }
};

bool is_record(const TYPE *t) { return t->kind >= K_class; }

// Class and struct are one kind here.
bool like_kinds(const TYPE *a, const TYPE *b) {
    if (a->kind == b->kind) return true;
    return is_record(a) && is_record(b) && a->kind != K_union && b->kind != K_union;
}

bool same_layout(const TYPE *a, const TYPE *b) { return a->size == b->size && a->align == b->align; }

bool same_tags(const TYPE *a, const TYPE *b) {
    bool tagless = type_is_tagless(a);
    if (tagless || type_is_tagless(b)) return tagless && type_is_tagless(b);
    return TYPE_PKG::compare_type_names(a->name(), b->name());
}

// ---- exact

bool exact_pair(PAIR_WALK &walk, TYPE *a, TYPE *b) {
    if (!a->frozen || !b->frozen || a->kind != b->kind || !same_layout(a, b) || a->cpp != b->cpp)
        return false;
    switch (a->kind) {
    case K_void: return true;
    case K_int:
        return a->sub.i.ikind == b->sub.i.ikind && a->sub.i.expl_sign == b->sub.i.expl_sign &&
               a->sub.i.is_boolean == b->sub.i.is_boolean && a->sub.i.is_ptm == b->sub.i.is_ptm;
    case K_float: return a->sub.fkind == b->sub.fkind;
    case K_fixpt: walk.need(a->sub.part, b->sub.part); return a->sub2.fx.binpt == b->sub2.fx.binpt;
    case K_complex:
    case K_ptr:
    case K_ref: walk.need(a->sub.part, b->sub.part); return true;
    case K_qual: walk.need(a->sub.part, b->sub.part); return a->sub2.own_qual == b->sub2.own_qual;
    case K_typedef:
        walk.need(a->sub.td->type_named, b->sub.td->type_named);
        return !strcmp(a->sub.td->name, b->sub.td->name);
    case K_array: {
        const tpARRAY *x = a->sub.arr, *y = b->sub.arr;
        walk.need(x->elem_type, y->elem_type);
        return x->count == y->count && x->complete == y->complete && x->vector == y->vector;
    }
    case K_ptm:
        walk.need(a->sub.part, b->sub.part);
        walk.need(a->sub2.of_class, b->sub2.of_class);
        return true;
    case K_func: {
        const tpFUNC *x = a->sub.fn, *y = b->sub.fn;
        if (x->cc != y->cc || x->vararg != y->vararg || x->proto != y->proto) return false;
        walk.need(x->return_type, y->return_type);
        const fkPARAM *p = x->params.first, *q = y->params.first;
        for (; p && q; p = p->next, q = q->next) {
            if (p->kind != q->kind) return false;
            walk.need(p->type, q->type);
        }
        return p == q;
    }
    default: return false; // each enum or record is a type of its own
    }
}

// ---- members

// The members of a union in an order that does not depend on the declaration's.
std::vector<const fkMDATA *> members_by_name(const tpCSU *csu) {
    std::vector<const fkMDATA *> members;
    for (const fkMDATA *m = csu->mdata.first; m; m = m->next) members.push_back(m);
    std::stable_sort(members.begin(), members.end(), [](const fkMDATA *a, const fkMDATA *b) {
        int names = strcmp(a->name, b->name);
        return names ? names < 0 : a->width() < b->width();
    });
    return members;
}

// Visits the members of two records in pairs; false when their numbers differ or the visitor says so.
template <class F> bool pair_members(const TYPE *a, const TYPE *b, bool in_order, F visit) {
    const tpCSU *x = a->sub.csu, *y = b->sub.csu;
    if (x->mdata.count != y->mdata.count) return false;
    if (in_order) {
        for (const fkMDATA *m = x->mdata.first, *n = y->mdata.first; m; m = m->next, n = n->next)
            if (!visit(m, n)) return false;
        return true;
    }
    auto left = members_by_name(x), right = members_by_name(y);
    for (size_t i = 0; i < left.size(); i++)
        if (!visit(left[i], right[i])) return false;
    return true;
}

// Names that the parser makes up for pointers to virtual tables differ from unit to unit.
bool member_names_equal(const char *a, const char *b) {
    if (!strcmp(a, b)) return true;
    if (TYPE_PKG::abi != 1) {
        if (!*a || !*b) return false;
        a++;
        b++;
    }
    return !strncmp(a, "$P$T", 4) && !strncmp(b, "$P$T", 4);
}

// All of mdata_equal but the types.
bool members_alike(const fkMDATA *a, const fkMDATA *b) {
    return member_names_equal(a->name, b->name) && a->offset == b->offset && a->bitfld == b->bitfld &&
           a->flag2 == b->flag2 && a->flag3 == b->flag3 && (!a->bitfld || a->bitsize == b->bitsize) &&
           a->width() == b->width();
}

// ---- compatible

TYPE *look_through(TYPE *t, bool strip) {
    for (;;) {
        t = t->stds()->rep();
        if (!strip || t->kind != K_qual || !same_layout(t, t->sub.part)) return t;
        t = t->sub.part;
    }
}

bool params_fit(PAIR_WALK &walk, const tpFUNC *x, const tpFUNC *y) {
    if (x->cc != y->cc) return false;
    if (!x->proto || !y->proto) return true; // an old-style declaration fits any
    const fkPARAM *p = x->params.first, *q = y->params.first;
    for (; p && q; p = p->next, q = q->next) walk.need(p->type, q->type);
    return p == q && x->vararg == y->vararg;
}

bool compatible_pair(PAIR_WALK &walk, TYPE *a, TYPE *b) {
    a = look_through(a, walk.strip);
    b = look_through(b, walk.strip);
    if (a == b) return true;
    if (!a->frozen || !b->frozen || !like_kinds(a, b)) return false;
    // Void alone is never complete; two voids are one type.
    bool one_open = a->kind != K_void && (!a->is_complete() || !b->is_complete());
    if (!one_open && !same_layout(a, b)) return false;
    switch (a->kind) {
    case K_int: {
        IKIND kind = a->sub.i.ikind;
        if (kind != b->sub.i.ikind) return false;
        return (kind != IK_schar && kind != IK_uchar) || a->sub.i.expl_sign == b->sub.i.expl_sign;
    }
    case K_array: {
        const tpARRAY *x = a->sub.arr, *y = b->sub.arr;
        if (x->vector != y->vector) return false;
        bool cpp = a->cpp || b->cpp;
        if (cpp && a->size != b->size) return false;
        walk.need(x->elem_type, y->elem_type);
        return true;
    }
    case K_func:
        walk.need(a->sub.fn->return_type, b->sub.fn->return_type);
        return params_fit(walk, a->sub.fn, b->sub.fn);
    case K_enum:
        if (!same_tags(a, b)) return false;
        walk.need(a->sub.en->underlying_type, b->sub.en->underlying_type);
        return !type_is_tagless(a);
    case K_class:
    case K_struct:
    case K_union:
        if (!same_tags(a, b)) return false;
        if (one_open) return !type_is_tagless(a);
        return pair_members(a, b, a->kind != K_union, [&](const fkMDATA *m, const fkMDATA *n) {
            walk.need(m->type, n->type);
            return members_alike(m, n);
        });
    case K_void: return true;
    case K_float: return a->sub.fkind == b->sub.fkind;
    case K_fixpt: walk.need(a->sub.part, b->sub.part); return a->sub2.fx.binpt == b->sub2.fx.binpt;
    case K_qual: walk.need(a->sub.part, b->sub.part); return a->sub2.own_qual == b->sub2.own_qual;
    case K_ptm: walk.need(a->sub2.of_class, b->sub2.of_class); [[fallthrough]];
    default: walk.need(a->sub.part, b->sub.part); return true; // complex, pointer, reference
    }
}

// ---- machine types

TYPE *machine_type(TYPE *t) {
    t = t->dtype->rep();
    return t->kind == K_enum ? t->sub.en->underlying_type->dtype : t;
}

bool equiv_pair(PAIR_WALK &walk, TYPE *a, TYPE *b) {
    if (!same_layout(a, b)) return false;
    a = machine_type(a);
    b = machine_type(b);
    if (a == b) return true;
    if (!like_kinds(a, b)) return false;
    switch (a->kind) {
    // A truth value is no byte: conversion to it compares with zero.
    case K_int: return a->is_unsigned() == b->is_unsigned() && a->is_bool() == b->is_bool();
    case K_ptr: return a->sub.part->is_func() == b->sub.part->is_func();
    case K_void:
    case K_float:
    case K_ref:
    case K_ptm: return true;
    case K_fixpt:
        return a->sub2.fx.binpt == b->sub2.fx.binpt && a->sub.part->is_signed() == b->sub.part->is_signed();
    case K_complex: walk.need(a->sub.part, b->sub.part); return true;
    case K_array:
        walk.need(a->sub.arr->elem_type, b->sub.arr->elem_type);
        return a->sub.arr->vector == b->sub.arr->vector;
    case K_func:
        walk.need(a->sub.fn->return_type, b->sub.fn->return_type);
        return params_fit(walk, a->sub.fn, b->sub.fn);
    default: return compatible_types(a, b);
    }
}

} // namespace

bool exact_types(TYPE *a, TYPE *b) {
    if (a == b) return true;
    // Of registered types only a merge makes two that are exact.
    if (a->uid && b->uid && a->pkg == b->pkg && !a->pkg->merges) return false;
    return PAIR_WALK{}.holds(a, b, exact_pair);
}

bool compatible_types(TYPE *a, TYPE *b, bool strip) {
    if (a == b) return true;
    PAIR_WALK walk;
    walk.strip = strip;
    return walk.holds(a, b, compatible_pair);
}

bool equiv_mtypes(TYPE *a, TYPE *b) { return a == b || PAIR_WALK{}.holds(a, b, equiv_pair); }

bool mdata_equal(const fkMDATA *a, const fkMDATA *b) {
    return members_alike(a, b) && merge_types(a->type, b->type);
}

TYPE *find_type(const char *name, KIND kind) {
    const char *word = kind == K_enum ? "enum " : kind == K_union ? "union " : "struct ";
    std::string plain;
    TYPE_PKG::demangle_type_name(name, plain);
    if (!tp->root->based.named || name_is_tagless(name)) return nullptr;
    auto entry = tp->root->based.named->find((word + plain).c_str());
    if (entry == tp->root->based.named->end()) return nullptr;
    for (TYPE *t = entry->second.first; t; t = t->next_based)
        if (t->kind == kind) return t->rep();
    return nullptr;
}

// ---- merging

namespace {

// The one of a pair that stays: of the earlier unit, or the second; but what is complete beats what is not.
struct MERGE_ROLES {
    TYPE *lose, *keep;
    bool by_completeness;
};

MERGE_ROLES roles_of(TYPE *a, TYPE *b) {
    MERGE_ROLES roles = {a, b, false};
    if (a->tu < b->tu) std::swap(roles.lose, roles.keep);
    bool may_be_open = a->kind == K_enum || is_record(a);
    if (may_be_open && a->is_complete() != b->is_complete()) {
        roles.by_completeness = true;
        if (!roles.keep->is_complete()) std::swap(roles.lose, roles.keep);
    }
    return roles;
}

bool merge_lists(PAIR_WALK &walk, const tpCSU *x, const tpCSU *y) {
    const fkBCLASS *b = x->bclass.first, *c = y->bclass.first;
    for (; b && c; b = b->next, c = c->next) {
        if (b->offset != c->offset || b->is_virtual != c->is_virtual) return false;
        walk.need(b->type, c->type);
    }
    if (b != c) return false;
    const fkFFRIEND *f = x->ffriend.first, *g = y->ffriend.first;
    for (; f && g; f = f->next, g = g->next) {
        if (!TYPE_PKG::compare_type_names(f->name, g->name)) return false;
        walk.need(f->type, g->type);
    }
    if (f != g) return false;
    const fkCFRIEND *h = x->cfriend.first, *i = y->cfriend.first;
    for (; h && i; h = h->next, i = i->next) walk.need(h->type, i->type);
    if (h != i) return false;
    const fkNTYPE *n = x->ntype.first, *o = y->ntype.first;
    for (; n && o; n = n->next, o = o->next) walk.need(n->type, o->type);
    if (n != o) return false;
    const fkSDATA *s = x->sdata.first, *t = y->sdata.first;
    for (; s && t; s = s->next, t = t->next) {
        if (strcmp(s->name, t->name)) return false;
        walk.need(s->type, t->type);
    }
    return s == t;
}

bool merge_records(PAIR_WALK &walk, TYPE *a, TYPE *b) {
    if (!same_tags(a, b)) return false;
    if (!a->is_complete() || !b->is_complete()) return !type_is_tagless(a);
    const tpCSU *x = a->sub.csu, *y = b->sub.csu;
    bool in_order = a->kind != K_union || x->ordered_union || y->ordered_union;
    return merge_lists(walk, x, y) && pair_members(a, b, in_order, [&](const fkMDATA *m, const fkMDATA *n) {
               walk.need(m->type, n->type);
               return members_alike(m, n);
           });
}

// Without a qualifier that is const and nothing else: on a parameter it is the callee's own affair.
TYPE *without_own_const(TYPE *t) {
    return t->kind == K_qual && t->sub2.own_qual == QUAL_const ? t->sub.part : t;
}

bool merge_functions(PAIR_WALK &walk, TYPE *a, TYPE *b) {
    const tpFUNC *x = a->sub.fn, *y = b->sub.fn;
    if (x->cc != y->cc) return false;
    walk.need(x->return_type, y->return_type);
    if (x->proto != y->proto) return !(x->proto ? x : y)->vararg;
    if (x->vararg != y->vararg) return false;
    const fkPARAM *p = x->params.first, *q = y->params.first;
    for (; p && q; p = p->next, q = q->next)
        walk.need(without_own_const(p->type), without_own_const(q->type));
    return p == q;
}

bool merge_pair(PAIR_WALK &walk, TYPE *a, TYPE *b) {
    if (a->kind == K_typedef || b->kind == K_typedef) {
        bool same_name = a->kind == b->kind && TYPE_PKG::compare_type_names(a->name(), b->name());
        // A lowered C++ typedef stands for its name alone.
        if (same_name && ((a->cpp && a->is_lowered()) || (b->cpp && b->is_lowered()))) return true;
        walk.need(a->stds(), b->stds());
        return true;
    }
    if (!like_kinds(a, b)) return false;
    bool may_be_open = a->kind == K_array || a->kind >= K_enum;
    bool both_complete = !may_be_open || (a->is_complete() && b->is_complete());
    if (both_complete && !same_layout(a, b)) return false;
    switch (a->kind) {
    case K_void: return true;
    case K_int:
        return a->sub.i.ikind == b->sub.i.ikind && a->sub.i.expl_sign == b->sub.i.expl_sign &&
               (a->sub.i.ikind == IK_bool || a->sub.i.is_boolean == b->sub.i.is_boolean);
    case K_float: return a->sub.fkind == b->sub.fkind;
    case K_fixpt: walk.need(a->sub.part, b->sub.part); return a->sub2.fx.binpt == b->sub2.fx.binpt;
    case K_complex:
    case K_ptr:
    case K_ref: walk.need(a->sub.part, b->sub.part); return true;
    case K_qual: walk.need(a->sub.part, b->sub.part); return a->sub2.own_qual == b->sub2.own_qual;
    case K_array:
        walk.need(a->sub.arr->elem_type, b->sub.arr->elem_type);
        return a->sub.arr->vector == b->sub.arr->vector && (!both_complete || a->num_elem() == b->num_elem());
    case K_ptm:
        walk.need(a->sub.part, b->sub.part);
        walk.need(a->sub2.of_class, b->sub2.of_class);
        return true;
    case K_func: return merge_functions(walk, a, b);
    case K_enum: return same_tags(a, b);
    default: return merge_records(walk, a, b);
    }
}

// Whether two types that agree become one, rather than just fit each other.
bool becomes_one(const TYPE *a, const TYPE *b) {
    if (a->kind == K_void) return false;
    if (a->kind == K_typedef || b->kind == K_typedef)
        return a->kind == b->kind && TYPE_PKG::compare_type_names(a->name(), b->name());
    return a->kind != K_array || a->sub.arr->count == b->sub.arr->count;
}

bool join(TYPE *a, TYPE *b, bool ignore_unit) {
    TYPE_PKG &p = *a->pkg;
    a = a->rep();
    if (a == b || b->rep() != b || (a->tu < b->tu && !ignore_unit) || a->refd) return false;
    if (p.based_root(a)->rep() != p.based_root(b)->rep()) return false;
    p.unlink_based(a);
    a->equiv = b;
    a->uid = b->uid;
    p.merges++;
    p.link_based(a, p.intern("__merged"));
    return true;
}

} // namespace

bool set_equiv(TYPE *a, TYPE *b) { return join(a, b, false); }

bool merge_types(TYPE *a, TYPE *b) {
    a = a->rep();
    b = b->rep();
    if (a == b) return true;
    PAIR_WALK walk;
    walk.record = true;
    if (!walk.holds(a, b, merge_pair)) return false;
    // Nothing was changed before all agreed. Parts were met after what holds them, and must be one before it.
    bool top_joined = true;
    for (size_t i = walk.met.size(); i-- > 0;) {
        TYPE *x = walk.met[i].a->rep(), *y = walk.met[i].b->rep();
        if (x == y || !becomes_one(x, y)) continue;
        MERGE_ROLES roles = roles_of(x, y);
        bool joined = join(roles.lose, roles.keep, roles.by_completeness);
        if (i == 0) top_joined = joined;
    }
    return top_joined;
}

bool find_equivalent_type(TYPE *t) {
    if (!t->uid) return false;
    if (t->merg || t->kind == K_void) return true;
    if (t->rep()->refd) return false;
    TYPE *base = t->pkg->based_root(t)->rep();
    if (base->merg || base->kind == K_void) t->merg = true;
    BASED_LIST *list = &base->based.unnamed;
    if (base->based.named) {
        auto entry = base->based.named->find(t->map_name());
        if (entry != base->based.named->end()) list = &entry->second;
    }
    // Merging files types anew, so the candidates are noted first.
    std::vector<TYPE *> candidates;
    for (TYPE *c = list->first; c; c = c->next_based)
        if (c != t) candidates.push_back(c);
    for (TYPE *c : candidates)
        if (merge_types(t, c) && t->equiv) return true;
    return false;
}

// ---- marking for output

void mark_named_types(TYPE *root, bool flag) {
    if (!flag) return;
    walk_type_tree(root, [](TYPE *t) {
        bool named = t->kind == K_typedef || t->kind >= K_enum;
        if (named && !t->is_lowered()) t->rep()->refd = true;
    });
}

namespace {

// What a record says of the type: all that the writer would refer to.
template <class F> void each_referred_type(const TYPE *t, F visit) {
    auto each = [&](auto &list) {
        for (auto *element = list.first; element; element = element->next) visit(element->type);
    };
    switch (t->kind) {
    case K_void:
    case K_int:
    case K_float: break;
    case K_typedef: visit(t->sub.td->type_named); break;
    case K_array: visit(t->sub.arr->elem_type); break;
    case K_ptm: visit(t->sub2.of_class); [[fallthrough]];
    case K_fixpt:
    case K_complex:
    case K_ptr:
    case K_ref:
    case K_qual: visit(t->sub.part); break;
    case K_func:
        visit(t->sub.fn->return_type);
        each(t->sub.fn->params);
        break;
    case K_enum: visit(t->sub.en->underlying_type); break;
    default: {
        const tpCSU &csu = *t->sub.csu;
        each(csu.mdata);
        each(csu.bclass);
        each(csu.ffriend);
        each(csu.cfriend);
        each(csu.ntype);
        each(csu.sdata);
        each(csu.mfunc);
        each(csu.params);
    }
    }
}

constexpr int32_t MARK_REFED = -1;

void mark_refed_recur(TYPE *first, std::vector<TYPE *> &todo) {
    auto add = [&](TYPE *t) {
        if (!t) return;
        t = t->rep();
        t->refd = true;
        if (t->merge_mark == MARK_REFED) return;
        t->merge_mark = MARK_REFED;
        todo.push_back(t);
    };
    add(first);
    while (!todo.empty()) {
        TYPE *t = todo.back();
        todo.pop_back();
        each_referred_type(t, add);
    }
}

} // namespace

void mark_refed_types(TYPE *root) {
    std::vector<TYPE *> todo;
    walk_type_tree(root, [&](TYPE *t) {
        TYPE *rep = t->rep();
        if (rep->refd && !rep->merge_mark) mark_refed_recur(rep, todo);
    });
}

void mark_func_args(TYPE *func) {
    std::vector<TYPE *> todo;
    for (const fkPARAM *p = func->params(); p; p = p->next) mark_refed_recur(p->type, todo);
}

void clear_output_marks(TYPE *root) {
    walk_type_tree(root, [](TYPE *t) {
        t->refd = t->writ = false;
        t->merge_mark = 0;
    });
}
