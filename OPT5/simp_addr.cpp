#include "OPT5/simp_addr.h"

#include "OPT5/bbutils.h"
#include "OPT5/coerce.h"
#include "OPT5/flags.h"
#include "OPT5/fold.h"
#include "OPT5/rules.h"
#include "OPT5/simp1.h"
#include "OPT5/simp_shape.h"
#include "OPT5/typefacts.h"
#include "support/fatal.h"
#include "typepkg/type_merge.h"

namespace {

bool is_constant_sum(const NODE *p) {
    return p->op == PLUS && p->type->is_ptr() && p->left->type->is_ptr() && is_icon(p->right);
}

// The field's place in its record, in bytes.
INT65 field_offset(const NODE *access) { return INT65((long long)(access->right->member->offset / 8)); }

bool is_whole_field(const NODE *access) {
    const NODE *f = access->right;
    return f && f->op == FIELD && f->member && !f->member->is_bitfld() && f->member->offset >= 0 &&
           f->member->offset % 8 == 0;
}

// The field knows the record that it stands in.
void note_record(NODE *access) {
    NODE *field = access->right;
    if (!field || field->op != FIELD || field->u.csu) return;
    TYPE *csu_type = access->left->type;
    if (access->op == STREF && csu_type->is_ptr()) csu_type = csu_type->type_pointed_to();
    while (!csu_type->is_csu()) {
        QL_ASSERT(csu_type->is_array());
        csu_type = csu_type->elem_type();
    }
    QL_ASSERT(csu_type->is_csu());
    field->u.csu = csu_type;
}

// *(T*)(p + by), an access of the type of `access`, which gives way to it.
NODE *indirection_at(NODE *access, NODE *pointer, INT65 by, struct LOOP *loop) {
    TYPE *type = access->type, *to = tp->mk_ptr(type);
    LS *scope = access->scope;
    NODE *base = in_type(to, pointer, loop);
    erase_tree(access);
    NODE *address = simp_new(PLUS, base, new_ICON(by, tp->int_type(), scope), to, scope, loop);
    return simp_new(UMULT, address, nullptr, type, scope, loop);
}

} // namespace

// *&x  ->  x          the access has the type of the object
NODE *simp_UMULT(NODE *n, struct LOOP *) {
    NODE *p = n->left;
    if (n->right || p->op != UAND || !p->left || is_bitfield(p->left)) return n;
    NODE *x = p->left;
    bool same =
        x->type == n->type || (x->type->is_volatile() == n->type->is_volatile() &&
                               equiv_mtypes(x->type, n->type) && compatible_types(x->type, n->type, true));
    if (!same || !RULE("UMULT: *&x -> x")) return n;
    return keep_left(keep_left(n));
}

// (*(p + c)).f  ->  *(p + (c + offset))       f no bit-field; where the alias analysis does not need the field
NODE *simp_STDOT(NODE *n, struct LOOP *loop) {
    note_record(n);
    NODE *object = n->left;
    if (object->op != UMULT || object->right || !is_constant_sum(object->left) || !is_whole_field(n))
        return n;
    if (must_preserve_STDOT(n) || !RULE("STDOT: (*(p + c)).f -> *(p + (c + offset))")) return n;
    NODE *sum = object->left;
    INT65 by = sum->right->u.lval + field_offset(n);
    NODE *p = sum->left;
    sum->left = nullptr;
    return indirection_at(n, p, by, loop);
}

// (&s)->f  ->  s.f           (p + c)->f  ->  *(p + (c + offset))
NODE *simp_STREF(NODE *n, struct LOOP *loop) {
    NODE *p = n->left;
    QL_ASSERT(n->right && n->right->op == FIELD);
    note_record(n);
    if (p->op == UAND && p->left && p->left->type->is_csu() && n->right->u.csu &&
        compatible_types(p->left->type, n->right->u.csu, true) && RULE("STREF: (&s)->f -> s.f")) {
        n->left = keep_left(p);
        n->op = STDOT;
        return simp_node(n, loop);
    }
    if (!is_constant_sum(p) || !is_whole_field(n) || field_offset(n).is_zero() || must_preserve_STDOT(n) ||
        !RULE("STREF: (p + c)->f -> *(p + (c + offset))"))
        return n;
    INT65 by = p->right->u.lval + field_offset(n);
    NODE *base = p->left;
    p->left = nullptr;
    return indirection_at(n, base, by, loop);
}

// &*p -> p        &(c->f) -> c + offset      &(p->f) -> p + offset       &(s.f) -> &s + offset
NODE *simp_UAND(NODE *n, struct LOOP *loop) {
    if (n->op != UAND || !n->left || !n->type->is_ptr() || opt_level() < 2) return n;
    NODE *x = n->left;
    TYPE *type = n->type;
    LS *scope = n->scope;
    if (x->op == UMULT) {
        if (x->right || !x->left->type->is_ptr() || !RULE("UAND: &*p -> p")) return n;
        return in_type(type, keep_left(keep_left(n)), loop);
    }
    if ((x->op != STREF && x->op != STDOT) || !is_whole_field(x) || must_preserve_STDOT(x)) return n;
    INT65 offset = field_offset(x);
    if (!offset.fits_signed(32)) return n;
    NODE *base = x->left;
    if (x->op == STREF && base->op == PCONV && is_icon(base->left) &&
        same_ring(base->left->type, base->type)) {
        if (!RULE("UAND: &((T*)c)->f -> c + offset")) return n;
        base->left->u.lval = truncate_to_type(base->left->u.lval + offset, base->left->type);
        x->left = nullptr;
        erase_tree(n);
        base->type = type;
        return simp_node(base, loop);
    }
    if (x->op == STREF ? !RULE("UAND: &p->f -> p + offset") : !RULE("UAND: &s.f -> &s + offset")) return n;
    bool through_pointer = x->op == STREF;
    x->left = nullptr;
    erase_tree(n);
    if (!through_pointer) {
        base = maketree(UAND, base, nullptr, tp->mk_ptr(base->type), scope);
        base = simp_node(base, loop);
    }
    return simp_new(PLUS, in_type(type, base, loop), new_ICON(offset, tp->int_type(), scope), type, scope,
                    loop);
}
