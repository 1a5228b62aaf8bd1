#include "OPT5/simp_testutil.h"

#include "OPT5/bbutils.h"
#include "OPT5/coerce.h"
#include "OPT5/fold.h"
#include "OPT5/simp1.h"
#include "OPT5/symbolic.h"
#include "OPT5/typefacts.h"
#include "support/fatal.h"
#include "typepkg/type_query.h"

bool is_zero_constant(const NODE *n) {
    while ((n->op == PCONV || n->op == ISP2CHAR) && n->left && n->left->op != FCON) n = n->left;
    return n->op == ICON && n->u.lval.is_zero();
}

NODE *take_left(NODE *n) {
    NODE *left = detach(n->left);
    erase_tree(n);
    return left;
}

NODE *take_right(NODE *n) {
    NODE *right = detach(n->right);
    erase_tree(n);
    return right;
}

NODE *as_type(TYPE *type, NODE *tree, struct LOOP *loop) {
    NODE *converted = coerce_to_type(type, tree);
    return converted == tree ? tree : simp_node(converted, loop);
}

NODE *effects_then(NODE *gone, NODE *value, struct LOOP *loop) {
    NODE *effects = peel_for_effect(gone);
    return effects ? simp_COMMAOP(mk_COMMAOP(effects, value), loop) : value;
}

NODE *decided(NODE *tree, bool truth, struct LOOP *loop) {
    return effects_then(tree, mk_ICON(INT65(truth ? 1 : 0), tp->int_type()), loop);
}

NODE *mk_test(int op, NODE *left, NODE *right) {
    return maketree(op, left, right, tp->int_type(), left->scope);
}

NODE *mk_zero_test(bool equal, NODE *x) {
    TYPE *type = x->type;
    if (type->is_fltpt()) {
        NODE *zero = mk_FCON(pos_zero, tp->remove_known_qual(type, 255));
        return mk_test(equal ? FEQ : FNEQN, x, zero);
    }
    TYPE *zero_type =
        is_integer_type(type) ? promoted_type(tp->remove_known_qual(type, 255)) : tp->int_type();
    return mk_test(equal ? EQ : NEQ, x, mk_ICON(INT65(0), zero_type));
}

bool type_holds_type(const TYPE *to, const TYPE *from) {
    if (to->is_bool()) return from->is_bool();
    if (from->is_unsigned()) return to->is_unsigned() ? to->size >= from->size : to->size > from->size;
    return !to->is_unsigned() && to->size >= from->size;
}

const NODE *strip_value_keeping(const NODE *n) {
    while (n->op == SCONV && is_integer_type(n->type) && is_integer_type(n->left->type) &&
           type_holds_type(n->type, n->left->type))
        n = n->left;
    return n;
}

bool is_bit_field(const NODE *n) {
    return (n->op == STDOT || n->op == STREF) && n->right && n->right->op == FIELD && n->right->member &&
           n->right->member->is_bitfld();
}

INT65 stored_value(INT65 v, const NODE *lvalue) {
    if (!is_bit_field(lvalue)) return truncate_to_type(v, lvalue->type);
    int width = int(lvalue->right->member->width());
    return lvalue->type->is_unsigned() ? v.truncate_unsigned(width) : v.truncate_signed(width);
}

// --- comparisons ---

TEST_DOMAIN domain_of_test(const NODE *test) {
    bool wide = test->left->type->size > 32 || test->right->type->size > 32;
    return {wide ? 64 : 32, is_unsigned_test(test->op)};
}

INT65 seen_value(INT65 v, TEST_DOMAIN d) {
    return d.is_unsigned ? v.truncate_unsigned(d.bits) : v.truncate_signed(d.bits);
}

NODE *mk_seen_ICON(INT65 seen, TYPE *like, TEST_DOMAIN d) {
    if (is_integer_type(like) && !like->is_bool() && seen_value(truncate_to_type(seen, like), d) == seen)
        return mk_ICON(seen, like);
    IKIND kind = d.bits == 64 ? (d.is_unsigned ? IK_ullong : IK_llong) : (d.is_unsigned ? IK_uint : IK_int);
    return mk_ICON(seen, tp->basic_int(kind));
}

SEEN_RANGE seen_range(const NODE *operand, TEST_DOMAIN d, struct LOOP *loop) {
    if (is_integer_type(operand->type)) {
        VALUE_RANGE range = calculate_range_for_tree(operand, loop);
        INT65 low = range.low, high = range.high;
        INT65 seen_low = seen_value(low, d);
        if (low == high) return {seen_low, seen_low};
        INT65 seen_high = seen_value(high, d);
        // cutting keeps the order of a range that does not cross the end of the numbers
        if (low < high && seen_low <= seen_high && seen_high - seen_low == high - low)
            return {seen_low, seen_high};
    }
    return {d.is_unsigned ? INT65(0) : -(INT65(1) << (d.bits - 1)),
            (INT65(1) << (d.is_unsigned ? d.bits : d.bits - 1)) - INT65(1)};
}

bool test_is_natural(const TYPE *type, TEST_DOMAIN d, int op) {
    if (is_equality_test(op)) return true;
    bool is_unsigned = type->is_unsigned() || type->is_ptr();
    if (is_unsigned) return int(type->size) < d.bits || d.is_unsigned;
    return !d.is_unsigned;
}

bool relation_holds(int op, INT65 a, INT65 b) {
    switch (op) {
    case EQ: return a == b;
    case NEQ: return a != b;
    case LE:
    case ULE: return a <= b;
    case LT:
    case ULT: return a < b;
    case GE:
    case UGE: return a >= b;
    default: QL_ASSERT(op == GT || op == UGT); return a > b;
    }
}
