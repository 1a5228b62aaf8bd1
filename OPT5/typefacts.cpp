#include "OPT5/typefacts.h"

#include "OPT5/fold.h"
#include "OPT5/symbolic.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "typepkg/type_pkg.h"
#include "typepkg/type_query.h"

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

bool value_fits_in_type(NODE *tree, TYPE *type, struct LOOP *loop) {
    if (!tree->type->is_integral() && !tree->type->is_enum()) return false;
    INT65 low = calculate_minval_for_tree(tree, loop), high = calculate_maxval_for_tree(tree, loop);
    return truncate_to_type(low, type) == low && truncate_to_type(high, type) == high;
}

TYPE *promoted_type(TYPE *type) {
    return type->is_integral() || type->is_enum() ? c_integral_promotions(type) : type;
}
TYPE *combined_type_for_types(TYPE *a, TYPE *b) { return c_usual_arith_conv(a, b); }
TYPE *combined_type(const NODE *a, const NODE *b) { return combined_type_for_types(a->type, b->type); }

INT65 type_mask(TYPE *type) { return INT65(-1).truncate_unsigned(int(type->size)); }
INT65 int_type_max(TYPE *type) {
    return type->is_unsigned() || type->is_ptr() ? type_mask(type)
                                                 : (INT65(1) << (int(type->size) - 1)) - INT65(1);
}
INT65 int_type_min(TYPE *type) {
    return type->is_unsigned() || type->is_ptr() ? INT65(0) : -(INT65(1) << (int(type->size) - 1));
}
bool must_preserve_STDOT(const NODE *) { return true; }
void fix_type_info(NODE *) {}
