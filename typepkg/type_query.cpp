#include "typepkg/type_query.h"

#include <algorithm>
#include <bit>
#include <unordered_set>

namespace {

// The integer behind an integral type or enum; null for other types.
const TYPE *integer_of(const TYPE *t) {
    t = t->dtype;
    if (t->kind == K_enum) t = t->sub.en->underlying_type->dtype;
    return t->kind == K_int ? t : nullptr;
}

bool ikind_is_unsigned(IKIND kind) {
    switch (kind) {
    case IK_bool:
    case IK_uchar:
    case IK_wchar:
    case IK_ushort:
    case IK_uint:
    case IK_ulong:
    case IK_ullong: return true;
    default: return false;
    }
}

} // namespace

// ---- kinds

void TYPE::bad_getr() { tp_die("Bad kind:  TYPE::getr()"); }

TYPE *TYPE::stds() {
    TYPE *t = this;
    while (t->kind == K_typedef) t = t->sub.td->type_named;
    return t;
}

TYPE *TYPE::stqs() {
    TYPE *t = this;
    while (t->kind == K_qual) t = t->sub.part;
    return t;
}

TYPE *TYPE::getd(KIND k) {
    TYPE *t = stds();
    if (t->kind != k) tp_die("Bad kind:  TYPE::getd()");
    return t;
}

TYPE *TYPE::get_csu() {
    TYPE *t = stds();
    if (t->kind < K_class) tp_die("Bad kind:  TYPE::getd()");
    return t;
}

TYPE *TYPE::getr_csu() const {
    if (!is_csu()) bad_getr();
    return dtype;
}

unsigned TYPE::ekind() const {
    // clang-format off
    static constexpr uint8_t by_kind[K_count] = {
        EK_void, 0, 0, EK_fixpt, EK_complex, EK_ptr, EK_ref, 0, 0,
        EK_array, EK_ptm, EK_func, EK_enum, EK_class, EK_struct, EK_union,
    };
    // clang-format on
    if (dtype->kind == K_int) return dtype->sub.i.ikind;
    if (dtype->kind == K_float) return unsigned(EK_float) + dtype->sub.fkind;
    return by_kind[dtype->kind];
}

bool TYPE::is_unsigned() const {
    const TYPE *t = integer_of(this);
    return t && ikind_is_unsigned(t->sub.i.ikind);
}

bool TYPE::is_signed() const {
    const TYPE *t = integer_of(this);
    return t && !ikind_is_unsigned(t->sub.i.ikind);
}

unsigned TYPE::rank() const {
    static constexpr uint8_t ranks[IK_count] = {0, 1, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5};
    const TYPE *t = integer_of(this);
    if (!t) tp_die("Bad type: TYPE::rank()");
    return ranks[t->sub.i.ikind];
}

bool is_same_sign(const TYPE *a, const TYPE *b) {
    return integer_of(a) && integer_of(b) && a->is_unsigned() == b->is_unsigned();
}

// ---- parts

TYPE *TYPE::type_pointed_to() const {
    if (dtype->kind != K_ptr && dtype->kind != K_ptm) bad_getr();
    return dtype->sub.part;
}

TYPE *TYPE::underlying_type() const {
    if (dtype->kind == K_enum) return dtype->sub.en->underlying_type;
    return getr(K_fixpt)->sub.part;
}

TYPE *TYPE::elem_type() const {
    TYPE *elem = getr(K_array)->sub.arr->elem_type;
    if (!quals) return elem;
    if (!pkg) tp_die("orphan type:  TYPE::elem_type()");
    return pkg->mk_qual(elem, quals);
}

TYPE *TYPE::type_named() const {
    if (kind != K_typedef) bad_getr();
    return sub.td->type_named;
}

TYPE *TYPE::type_qualified() const {
    if (kind != K_qual) bad_getr();
    return sub.part;
}

fkMDATA *TYPE::find_mdata(unsigned index) const {
    constexpr unsigned SHORT_LIST = 16; // walked; a longer one gets a sorted index
    tpCSU *csu = getr_csu()->sub.csu;
    if (csu->mdata.count <= SHORT_LIST) {
        for (fkMDATA *m = csu->mdata.first; m; m = m->next)
            if (m->index == index) return m;
        return nullptr;
    }
    auto before = [](const fkMDATA *a, const fkMDATA *b) { return a->index < b->index; };
    if (!csu->by_index) {
        csu->by_index = new std::vector<fkMDATA *>;
        for (fkMDATA *m = csu->mdata.first; m; m = m->next) csu->by_index->push_back(m);
        std::stable_sort(csu->by_index->begin(), csu->by_index->end(), before);
    }
    fkMDATA wanted = {};
    wanted.index = index;
    auto found = std::lower_bound(csu->by_index->begin(), csu->by_index->end(), &wanted, before);
    return found != csu->by_index->end() && (*found)->index == index ? *found : nullptr;
}

// ---- shape

bool TYPE::is_complete() const {
    switch (dtype->kind) {
    case K_void: return false;
    case K_array: return dtype->sub.arr->complete;
    case K_enum: return dtype->sub.en->complete;
    case K_class:
    case K_struct:
    case K_union: return dtype->sub.csu->complete;
    default: return true;
    }
}

bool TYPE::is_lowered() const {
    if (kind == K_typedef) return sub.td->lowered;
    return kind >= K_class && sub.csu->low;
}

bool TYPE::is_vpred() const { return is_vector() && dtype->sub.arr->elem_type->is_boolean_int(); }

uint64_t TYPE::storage_size() const {
    if (!is_scalar()) return size;
    constexpr uint64_t greatest = uint64_t{1} << 63;
    return size > greatest ? size : std::bit_ceil(std::max<uint64_t>(size, 1));
}

bool TYPE::has_flex_array_member(bool recursive) const {
    auto flexible_end = [](const TYPE *record) {
        const fkMDATA *last = record->sub.csu->mdata.last;
        return last && last->type->is_array() && last->type->size == 0;
    };
    if (!is_csu() || dtype->cpp) return false;
    if (flexible_end(dtype)) return true;
    if (!recursive) return false;
    std::vector<const TYPE *> todo = {dtype};
    std::unordered_set<const TYPE *> seen = {dtype};
    while (!todo.empty()) {
        const TYPE *record = todo.back();
        todo.pop_back();
        for (const fkMDATA *m = record->sub.csu->mdata.first; m; m = m->next) {
            const TYPE *t = m->type->dtype;
            if (t->kind < K_class || t->cpp || !seen.insert(t).second) continue;
            if (flexible_end(t)) return true;
            todo.push_back(t);
        }
    }
    return false;
}

bool name_is_tagless(const char *name) { return name && !strncmp(name, "$$fake", 6); }

bool type_is_tagless(const TYPE *t) { return t->kind >= K_enum && name_is_tagless(t->name()); }

bool get_container_offset_for_field(uint64_t size, uint64_t align, uint64_t bit_offset, uint64_t bit_size,
                                    uint64_t *offset) {
    if (!align) align = 1;
    uint64_t last = bit_offset + bit_size - (bit_size ? 1 : 0);
    uint64_t rounded = last + align - last % align;
    *offset = std::max(rounded, size) - size;
    return bit_offset >= *offset;
}

bool is_legal_container_for_field(const TYPE *container, const TYPE *record, uint64_t bit_offset,
                                  uint64_t bit_size, bool may_overrun, uint64_t *offset) {
    if (container->size != container->storage_size()) return false;
    if (!get_container_offset_for_field(container->size, container->align, bit_offset, bit_size, offset))
        return false;
    if (container->align > record->align) return false;
    return may_overrun || *offset + container->size <= record->storage_size();
}

// ---- conversions

TYPE *c_integral_promotions(TYPE *t) {
    if (!t->uid) tp_die("Unregistered type:  c_integral_promotions()");
    const TYPE *integer = integer_of(t);
    // A value has no qualifiers, and its type's other names don't matter.
    if (!integer) return t->is_scalar() ? t->dtype : t;
    TYPE_PKG &p = *t->pkg;
    bool as_wide = integer->size == p.int_type()->size;
    switch (integer->sub.i.ikind) {
    case IK_uchar:
    case IK_ushort:
    case IK_uint: return as_wide ? p.basic[IK_uint] : p.int_type();
    // int holds no wchar_t that is as wide and unsigned.
    case IK_wchar: return as_wide ? p.basic[IK_uint] : p.int_type();
    case IK_schar:
    case IK_short:
    case IK_int: return p.int_type();
    default: return const_cast<TYPE *>(integer);
    }
}

TYPE *c_usual_arith_conv(TYPE *a, TYPE *b) {
    a = c_integral_promotions(a);
    b = c_integral_promotions(b);
    if (a->is_ptr()) return a;
    if (b->is_ptr()) return b;
    for (FKIND kind : {FK_ldouble, FK_double, FK_float}) {
        if (a->is_fk(kind)) return a;
        if (b->is_fk(kind)) return b;
    }
    if (!a->is_integral() || !b->is_integral()) tp_die("Bad type:  c_usual_arith_conv()");
    TYPE *higher = a->rank() >= b->rank() ? a : b;
    if (a->size == b->size && (a->is_unsigned() || b->is_unsigned())) return higher->pkg->mk_unsigned(higher);
    return higher;
}

// ---- normal form

namespace {

// The parts of a type that its normal form is built from.
template <class F> void each_normal_part(TYPE *t, F visit) {
    switch (t->kind) {
    case K_complex:
    case K_ptr:
    case K_ref:
    case K_qual: visit(t->sub.part); break;
    case K_typedef: visit(t->sub.td->type_named); break;
    case K_array: visit(t->sub.arr->elem_type); break;
    case K_func:
        visit(t->sub.fn->return_type);
        for (fkPARAM *p = t->sub.fn->params.first; p; p = p->next) visit(p->type);
        break;
    default: break;
    }
}

TYPE *normalized_function(TYPE *t) {
    const tpFUNC *fn = t->sub.fn;
    TYPE_PKG &p = *t->pkg;
    TYPE *built = p.mk_func(fn->return_type->norm, t->cpp, fn->vararg, fn->proto, fn->cc, t->size, t->align);
    for (const fkPARAM *param = fn->params.first; param; param = param->next)
        built->add_param(param->type->norm, param->name, param->kind);
    p.type_frozen(built);
    return built;
}

// The normal form of a type whose parts have theirs.
TYPE *from_normal_parts(TYPE *t) {
    TYPE_PKG &p = *t->pkg;
    bool parts_are_normal = t->kind != K_typedef && t->kind != K_int && t->kind < K_count;
    each_normal_part(t, [&](const TYPE *part) { parts_are_normal &= part->norm == part; });
    if (parts_are_normal) return t;
    switch (t->kind) {
    case K_int: {
        // An integer of odd size, a truth value or a pointer to member in integer's clothes is its own.
        TYPE *slot = p.basic[t->sub.i.ikind];
        bool plain =
            t->size == slot->size && t->align == slot->align && !t->sub.i.is_boolean && !t->sub.i.is_ptm;
        return plain && slot->norm ? slot->norm : t;
    }
    case K_complex: return p.mk_complex(t->sub.part->norm, t->size, t->align);
    case K_ptr: return p.mk_ptr(t->sub.part->norm, t->size, t->align);
    case K_ref: return p.mk_ref(t->sub.part->norm, t->size, t->align);
    case K_qual: return p.mk_qual(t->sub.part->norm, t->sub2.own_qual, t->size, t->align);
    case K_typedef: return t->sub.td->type_named->norm;
    case K_array: {
        const tpARRAY *arr = t->sub.arr;
        return p.mk_array_full(arr->elem_type->norm, t->cpp, arr->count, arr->complete, arr->vector, t->size,
                               t->align);
    }
    case K_func: return normalized_function(t);
    default: tp_die("Tried to normalize unknown type kind");
    }
}

} // namespace

TYPE *normalized_type_uncached(TYPE *top) {
    // Parts first, on a stack of our own: a chain of pointers may be as long as its maker liked.
    std::vector<TYPE *> todo = {top};
    TYPE *result = top;
    while (!todo.empty()) {
        TYPE *t = todo.back();
        size_t before = todo.size();
        each_normal_part(t, [&](TYPE *part) {
            if (!part->norm) todo.push_back(part);
        });
        if (todo.size() != before) continue;
        todo.pop_back();
        result = from_normal_parts(t);
        if (t != top) t->norm = result;
        result->norm = result;
    }
    return result;
}

TYPE *TYPE::normalized() {
    if (!norm) norm = normalized_type_uncached(this);
    return norm;
}
