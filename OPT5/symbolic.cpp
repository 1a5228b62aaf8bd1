#include "OPT5/symbolic.h"

#include "OPT5/bifbounds.h"
#include "OPT5/tree.h"
#include "typepkg/type_pkg.h"

namespace {

bool is_integer(const TYPE *type) { return type->is_integral() || type->is_enum(); }

INT65 least_of_type(const TYPE *type) {
    if (!is_integer(type)) return INT65::min();
    return type->is_unsigned() || type->is_bool() ? INT65(0) : -(INT65(1) << (int(type->size) - 1));
}

INT65 greatest_of_type(const TYPE *type) {
    if (!is_integer(type)) return INT65::max();
    if (type->is_bool()) return INT65(1);
    return (INT65(1) << (int(type->size) - (type->is_unsigned() ? 0 : 1))) - INT65(1);
}

// Through conversions to types that hold every value of what they convert.
const NODE *strip_widening(const NODE *n) {
    while (n->op == SCONV && is_integer(n->type) && is_integer(n->left->type) &&
           least_of_type(n->type) <= least_of_type(n->left->type) &&
           greatest_of_type(n->type) >= greatest_of_type(n->left->type))
        n = n->left;
    return n;
}

} // namespace

INT65 calculate_minval_for_tree(const NODE *tree, struct LOOP *loop) {
    const NODE *n = strip_widening(tree);
    if (n->op == ICON) return n->u.lval;
    return op_is_icall(n->op) ? calculate_minval_for_BIF_call(const_cast<NODE *>(n), loop)
                              : least_of_type(n->type);
}

INT65 calculate_maxval_for_tree(const NODE *tree, struct LOOP *loop) {
    const NODE *n = strip_widening(tree);
    if (n->op == ICON) return n->u.lval;
    return op_is_icall(n->op) ? calculate_maxval_for_BIF_call(const_cast<NODE *>(n), loop)
                              : greatest_of_type(n->type);
}

bool tree_is_non_negative(const NODE *tree, struct LOOP *loop) {
    return is_integer(tree->type) && !calculate_minval_for_tree(tree, loop).is_negative();
}
