#include "OPT5/typefacts.h"

#include <algorithm>

#include "OPT5/alias.h"
#include "OPT5/flags.h"
#include "OPT5/fold.h"
#include "OPT5/symbolic.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "support/fatal.h"
#include "typepkg/type_merge.h"

bool symbol_is_immutable(const SYMTAB *symbol) {
    TYPE *type = symbol->type;
    return type && type->is_const() && !type->is_volatile() && !type->is_func();
}

bool lvalue_is_immutable(const NODE *lvalue) {
    const NODE *n = lvalue;
    for (;;) {
        if (n->type && n->type->is_volatile()) return false;
        switch (n->op) {
        case NAME: return n->u.sym && symbol_is_immutable(n->u.sym);
        case STDOT: n = n->left; break;
        case UMULT:
        case STREF: {
            // the object behind an address made of &object and offsets
            const NODE *p = n->left;
            while (p && (p->op == PCONV || p->op == ISP2CHAR || p->op == PLUS || p->op == MINUS)) {
                bool on_the_right = p->op == PLUS && !p->left->type->is_ptr() && p->right->type->is_ptr();
                p = on_the_right ? p->right : p->left;
            }
            if (!p || (p->op != UAND && p->op != ARGREF)) return false;
            n = p->left;
            break;
        }
        default: return false;
        }
        if (!n) return false;
    }
}

namespace {

bool is_integer(const TYPE *type) { return type->is_integral() || type->is_enum(); }

// A member of a record that holds bits of [offset, offset + width), for each; false as soon as `test` is.
template <class F> bool all_members_in(TYPE *record, int64_t offset, int64_t width, F test) {
    for (const fkMDATA *m = record->mdata(); m; m = m->next) {
        int64_t first = std::max(offset, m->offset),
                last = std::min(offset + width, m->offset + int64_t(m->width()));
        if (first < last && !test(m, first - m->offset, last - first)) return false;
    }
    return true;
}

// Bits of the range that the members hold: one after the other, or one of a union.
int64_t bits_in_members(TYPE *record, int64_t offset, int64_t width) {
    int64_t sum = 0, most = 0;
    all_members_in(record, offset, width, [&](const fkMDATA *, int64_t, int64_t bits) {
        sum += bits;
        most = std::max(most, bits);
        return true;
    });
    return record->is_union() ? most : sum;
}

} // namespace

bool bits_of_var_are_immutable(TYPE *type, int offset, int width, bool deep) {
    if (type->is_volatile() || width <= 0) return false;
    if (type->is_const()) return true;
    if (!deep) return false;
    if (type->is_array()) {
        TYPE *element = type->elem_type();
        int size = int(element->size);
        if (size <= 0) return false;
        int within = offset % size;
        bool in_one = within >= 0 && within + width <= size;
        return bits_of_var_are_immutable(element, in_one ? within : 0, in_one ? width : size, true);
    }
    // what lies between the members may be written with them
    if (!type->is_csu() || bits_in_members(type, offset, width) < width) return false;
    return all_members_in(type, offset, width, [](const fkMDATA *m, int64_t first, int64_t bits) {
        return bits_of_var_are_immutable(m->type, int(first), int(bits), true);
    });
}

bool value_fits_in_type(NODE *tree, TYPE *type, struct LOOP *loop) {
    if (!is_integer(tree->type) || !is_integer(type)) return false;
    VALUE_RANGE r = calculate_range_for_tree(tree, loop);
    return r.low >= int_type_min(type) && r.high <= (type->is_bool() ? INT65(1) : int_type_max(type));
}

// --- conversions of the language ---

TYPE *promoted_type(TYPE *type) {
    if (type->is_enum()) type = type->underlying_type();
    if (!type->is_integral()) return type->is_scalar() ? type->dtype : type;
    switch (type->ikind()) {
    case IK_bool:
    case IK_schar:
    case IK_short:
    case IK_int: return tp->int_type();
    case IK_uchar:
    case IK_wchar:
    case IK_ushort:
        return kr_flag || type->size >= tp->int_type()->size ? tp->basic_int(IK_uint) : tp->int_type();
    default: return type->dtype;
    }
}

TYPE *combined_type_for_types(TYPE *a, TYPE *b) {
    a = promoted_type(a);
    b = promoted_type(b);
    for (TYPE *t : {a, b})
        if (!t->is_arithmetic()) return t;
    for (FKIND kind : {FK_ldouble, FK_double, FK_float}) {
        if (a->is_fk(kind)) return a;
        if (b->is_fk(kind)) return b;
    }
    if (!a->is_integral() || !b->is_integral()) return a->is_integral() ? b : a;
    for (IKIND kind : {IK_ullong, IK_llong, IK_ulong}) {
        if (a->is_ik(kind)) return a;
        if (b->is_ik(kind)) return b;
    }
    TYPE *as_long = tp->basic_int(IK_long), *as_unsigned = tp->basic_int(IK_uint);
    bool has_long = a->is_long() || b->is_long(), has_unsigned = a->is_uint() || b->is_uint();
    if (has_long && has_unsigned && (as_long->size == as_unsigned->size || kr_flag))
        return tp->basic_int(IK_ulong);
    return has_long ? as_long : has_unsigned ? as_unsigned : tp->int_type();
}

TYPE *combined_type(const NODE *a, const NODE *b) { return combined_type_for_types(a->type, b->type); }

TYPE *next_wider_type(TYPE *type) {
    if (!is_integer(type)) return type;
    static constexpr IKIND signed_kinds[] = {IK_schar, IK_short, IK_int, IK_long, IK_llong};
    static constexpr IKIND unsigned_kinds[] = {IK_uchar, IK_ushort, IK_uint, IK_ulong, IK_ullong};
    for (IKIND kind : type->is_unsigned() ? unsigned_kinds : signed_kinds)
        if (tp->basic_int(kind)->size > type->size) return tp->basic_int(kind);
    return type;
}

TYPE *wide_enough_int_type(INT65 value) {
    for (IKIND kind : {IK_int, IK_uint, IK_long, IK_ulong, IK_llong, IK_ullong}) {
        TYPE *type = tp->basic_int(kind);
        if (value >= int_type_min(type) && value <= int_type_max(type)) return type;
    }
    return tp->basic_int(value.is_negative() ? IK_llong : IK_ullong);
}

TYPE *essential_type(TYPE *type) { return normalized_underlying_type(type->dtype)->dtype; }

TYPE *normalized_underlying_type(TYPE *type) {
    return (type->is_enum() ? type->underlying_type() : type)->normalized();
}

// --- ranges ---

INT65 type_mask(TYPE *type) { return INT65(-1).truncate_unsigned(int(type->size)); }
INT65 int_type_max(TYPE *type) { return type->is_signed() ? type_mask(type) >> 1 : type_mask(type); }
INT65 int_type_min(TYPE *type) { return type->is_signed() ? ~(type_mask(type) >> 1) : INT65(0); }

unsigned type_stride(TYPE *pointer) {
    TYPE *target = pointer->is_ref() ? pointer->type_refd() : pointer->type_pointed_to();
    return target->is_void() || target->is_func() ? 1 : unsigned(target->size_in_bytes());
}

// --- structure accesses ---

// Bits of a word can't be reached but by their name. Other fields may become plain accesses, which still have their
// own type, and so say that its alignment holds: in a packed record it may not. What the alias analysis tells apart by
// its field keeps the name.
bool must_preserve_STDOT(const NODE *access) {
    const NODE *field = access->right;
    if (!field || field->op != FIELD || !field->member || field->member->is_bitfld()) return true;
    unsigned needed = field->member->type->align;
    if (!field->u.csu || needed > field->u.csu->align || (needed && field->member->offset % needed))
        return true;
    return lvalue_is_known_by_field(access);
}

TYPE *merge_qualifiers_for_STDOT(TYPE *field, const NODE *record) {
    constexpr unsigned OF_THE_OBJECT =
        QUAL_const | QUAL_volatile | QUAL_near | QUAL_far | QUAL_ioport | QUAL_onchip;
    unsigned bits = record->type->qual_kind() & OF_THE_OBJECT & ~field->qual_kind();
    return bits ? tp->mk_qual(field, bits) : field;
}

// Volatile is never lost here: a conversion that the program has and the tree no longer shows may have made it.
void fix_type_info(NODE *n) {
    TYPE *wanted = nullptr;
    if (n->op == NAME && n->u.sym) wanted = n->u.sym->type;
    else if (n->op == STDOT && n->right && n->right->op == FIELD && n->right->member)
        wanted = merge_qualifiers_for_STDOT(n->right->member->type, n->left);
    if (!wanted || wanted == n->type) return;
    wanted = wanted->normalized();
    if (wanted == n->type || !equiv_mtypes(wanted, n->type)) return;
    bool loses_volatile = n->type->is_volatile() && !wanted->is_volatile();
    n->type = loses_volatile ? tp->mk_qual(wanted, QUAL_volatile) : wanted;
}
