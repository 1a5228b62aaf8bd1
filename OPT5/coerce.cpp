#include "OPT5/coerce.h"

#include "OPT5/tree.h"
#include "support/fatal.h"
#include "typepkg/type_merge.h"

NODE *coerce_to_type(TYPE *type, NODE *tree) {
    if (type->is_enum()) type = type->underlying_type()->normalized();
    TYPE *from = tree->type;
    if (type->is_vector() || from->is_vector()) {
        if (compatible_types(type, from, true)) return tree;
        if (type->size == from->size) return maketree(VRCONV, tree, nullptr, type, tree->scope);
        QL_ASSERT(type->is_vector() && from->is_vector() && type->num_elem() == from->num_elem());
        return maketree(VSCONV, tree, nullptr, type, tree->scope);
    }
    bool is_bitfield = (tree->op == STDOT || tree->op == STREF) && tree->right && tree->right->op == FIELD &&
                       tree->right->member && tree->right->member->is_bitfld();
    if (compatible_types(type, from, true) && !is_bitfield) return tree;
    if (!type->is_scalar() || !from->is_scalar()) return tree;
    return maketree(type->is_ptr() ? PCONV : SCONV, tree, nullptr, type, tree->scope);
}

NODE *push_down_pointer_cast(TYPE *type, NODE *pointer) { return coerce_to_type(type, pointer); }
NODE *remove_pushed_down_casts(NODE *tree) { return tree; }
NODE *simp_SCONV(NODE *node, struct LOOP *) { return node; }
NODE *simp_PCONV(NODE *node, struct LOOP *) { return node; }
NODE *simp_ACONV(NODE *node, struct LOOP *) { return node; }
