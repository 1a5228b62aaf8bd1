#include "OPT5/simp_relop_arith.h"

#include <cstring>
#include <utility>

#include "OPT5/bbutils.h"
#include "OPT5/congruent.h"
#include "OPT5/fold.h"
#include "OPT5/optab.h"
#include "OPT5/rules.h"
#include "OPT5/simp1.h"
#include "OPT5/simp3.h"
#include "OPT5/simp_known.h"
#include "OPT5/simp_testutil.h"
#include "OPT5/symbolic.h"
#include "OPT5/symfactor.h"
#include "OPT5/typefacts.h"
#include "typepkg/type_merge.h"

namespace {

// A comparison with a constant, seen from the type of the left operand.
struct WITH_CONSTANT {
    TEST_DOMAIN domain;
    TYPE *type = nullptr; // of the left operand, unqualified
    INT65 k;              // the constant as a value of that type
    bool ordered = false; // the relation is that of the numbers of the type
};

// False when the right operand is no constant, or none that the left one can be equal to.
bool compares_with_constant(const NODE *test, WITH_CONSTANT *with) {
    if (!is_ICON(test->right) || !is_integer_type(test->left->type)) return false;
    with->domain = domain_of_test(test);
    with->type = tp->remove_known_qual(test->left->type, 255);
    INT65 seen = seen_value(test->right->u.lval, with->domain);
    with->k = truncate_to_type(seen, with->type);
    with->ordered = test_is_natural(with->type, with->domain, test->op);
    return seen_value(with->k, with->domain) == seen;
}

bool is_value_of(INT65 v, TYPE *type) { return truncate_to_type(v, type) == v; }

// The value of a constant operand in the type of its operator.
INT65 constant_in(TYPE *type, const NODE *icon) { return truncate_to_type(icon->u.lval, type); }

void replace_left(NODE *test, NODE *left) {
    erase_tree(test->left);
    test->left = left;
}

int unsigned_relation(int op) { return op >= LE && op <= GT ? op - LE + ULE : op; }

// The opcode is that of the result already.
void set_constant(NODE *test, INT65 v, const WITH_CONSTANT &with) {
    erase_tree(test->right);
    test->right = mk_seen_ICON(seen_value(v, with.domain), with.type, with.domain);
    // without a wide constant an unsigned word needs the unsigned relation
    if (!test_is_natural(with.type, domain_of_test(test), test->op))
        test->op = int16_t(unsigned_relation(test->op));
}

// x op' k in place of (x with something) op k: `x` is detached from the left operand.
NODE *compare_operand(NODE *test, NODE *x, int op, INT65 k, const WITH_CONSTANT &with, struct LOOP *loop) {
    replace_left(test, nullptr);
    test->left = as_type(with.type, x, loop);
    test->op = int16_t(op);
    set_constant(test, k, with);
    return test;
}

bool is_signed(const TYPE *type) { return is_integer_type(type) && !type->is_unsigned(); }

struct QUOTIENT {
    INT65 floor;
    bool exact;
    INT65 ceiling() const { return exact ? floor : floor + INT65(1); }
};

// a / b for b > 0, rounded down.
QUOTIENT divide(INT65 a, INT65 b) {
    INT65 q = a / b;
    bool exact = q * b == a;
    if (a.is_negative() && !exact) q = q - INT65(1);
    return {q, exact};
}

} // namespace

// ---------------------------------------------------------------------------------------------------------
// products and quotients
// ---------------------------------------------------------------------------------------------------------

// (a / c) op k  ->  a op (k * c), (a >> s) op k  ->  a op (k << s)     signed, nothing left over, k * c in the type
NODE *relop_exact_quotient(NODE *test, struct LOOP *loop) {
    WITH_CONSTANT with;
    NODE *q = test->left;
    if ((q->op != DIV && q->op != SRL) || !is_ICON(q->right) || !is_signed(q->type)) return nullptr;
    if (!compares_with_constant(test, &with) || !with.ordered) return nullptr;
    const NODE *a = q->left;
    if (!is_integer_type(a->type) || !type_holds_type(with.type, a->type)) return nullptr;
    if (a->op == SLL || (a->op == MULT && expr_product_may_overflow(a, loop))) return nullptr;
    INT65 c = constant_in(with.type, q->right);
    if (!c.is_positive()) return nullptr;
    if (q->op == SRL) {
        if (c >= INT65(int(with.type->size) - 1)) return nullptr;
        c = INT65(1) << c.low_i32();
        if (!constant_divides_expr(c, with.type, a, loop)) return nullptr;
    } else if (!integer_DIV_is_exact(q, loop)) {
        return nullptr;
    }
    int overflow = 0;
    INT65 product = long_multiply(with.k, c, &overflow);
    if (overflow || !is_value_of(product, with.type)) return nullptr;
    if (!RULE("relop: (a / c) op k -> a op k * c, exact")) return nullptr;
    return compare_operand(test, detach(q->left), test->op, product, with, loop);
}

// (a * c) op k  ->  a op k / c, rounded the way that the relation needs; mirrored for c < 0     no overflow
NODE *relop_product(NODE *test, struct LOOP *loop) {
    WITH_CONSTANT with;
    NODE *product = test->left;
    if (product->op != MULT || !is_ICON(product->right) || !is_integer_type(product->type)) return nullptr;
    if (!compares_with_constant(test, &with) || !with.ordered) return nullptr;
    INT65 c = constant_in(with.type, product->right), k = with.k;
    if (c.is_zero() || c == INT65(1) || c == INT65(-1)) return nullptr;
    const NODE *a = product->left;
    if (!is_integer_type(a->type) || !type_holds_type(with.type, a->type)) return nullptr;
    if (expr_product_may_overflow(product, loop)) return nullptr;
    int op = test->op;
    if (c.is_negative()) {
        c = -c, k = -k;
        op = commute_inv[op];
    }
    QUOTIENT q = divide(k, c);
    if (is_equality_test(op) && !q.exact)
        return RULE("relop: (a * c) == k -> 0, c does not divide k") ? decided(test, op == NEQ, loop)
                                                                     : nullptr;
    bool up = op == GE || op == UGE || op == LT || op == ULT;
    if (!RULE("relop: (a * c) op k -> a op k / c, no overflow")) return nullptr;
    return compare_operand(test, detach(product->left), op, up ? q.ceiling() : q.floor, with, loop);
}

namespace {

// `y` is `a`, or a + d with a constant d >= 0 that can't wrap; all of one type.
bool is_sum_with(const NODE *y, const NODE *a, TYPE *type, struct LOOP *loop, INT65 *d) {
    if (!compatible_types(y->type, type, true) || !compatible_types(a->type, type, true)) return false;
    *d = INT65(0);
    if (trees_are_congruent(y, a)) return true;
    if (y->op != PLUS || !is_ICON(y->right) || !trees_are_congruent(y->left, a)) return false;
    *d = constant_in(type, y->right);
    return !d->is_negative() && *d <= int_type_max(type) - calculate_maxval_for_tree(a, loop);
}

} // namespace

// ((a + d) / c) * c >= a, > a  ->  true     where d covers what the division cuts off, or a < 0 is cut upwards
NODE *relop_rounded_quotient(NODE *test, struct LOOP *loop) {
    NODE *product = test->left, *a = test->right;
    bool or_equal = test->op == GE || test->op == UGE;
    if (!or_equal && test->op != GT && test->op != UGT) return nullptr;
    if (product->op != MULT || product->left->op != DIV || !is_ICON(product->right) ||
        !is_integer_type(product->type))
        return nullptr;
    NODE *quotient = product->left;
    if (!is_ICON(quotient->right)) return nullptr;
    TYPE *type = tp->remove_known_qual(product->type, 255);
    if (!compatible_types(quotient->type, type, true) ||
        !test_is_natural(type, domain_of_test(test), test->op))
        return nullptr;
    INT65 c = constant_in(type, quotient->right), d;
    if (c < INT65(2) || constant_in(type, product->right) != c) return nullptr;
    if (!is_sum_with(quotient->left, a, type, loop, &d)) return nullptr;
    bool holds;
    if (or_equal) {
        holds = d >= c - INT65(1) || tree_is_negative(a, loop);
    } else {
        holds = (d >= c && tree_is_non_negative(a, loop)) || (d.is_positive() && tree_is_negative(a, loop));
        if (!holds && d.is_zero() && tree_is_negative(a, loop)) {
            NODE *rest = maketree(MOD, copy_tree(a), mk_ICON(c, type), type, a->scope);
            holds = tree_is_non_zero(rest, loop);
            erase_tree(rest);
        }
    }
    if (!holds || !RULE("relop: ((a + d) / c) * c >= a -> 1, no wrap")) return nullptr;
    return decided(test, true, loop);
}

// ((a + d) & -2^j) >= a  ->  true     d >= 2^j - 1, and a + d does not wrap: the same text is a check for just that
NODE *relop_rounded_mask(NODE *test, struct LOOP *loop) {
    NODE *masked = test->left, *a = test->right;
    if ((test->op != GE && test->op != UGE) || masked->op != ANDB || !is_ICON(masked->right) ||
        !is_integer_type(masked->type))
        return nullptr;
    TYPE *type = tp->remove_known_qual(masked->type, 255);
    if (!test_is_natural(type, domain_of_test(test), test->op)) return nullptr;
    // bits that the sum can't have may be missing in the mask
    INT65 mask = constant_in(type, masked->right) | ~find_known_zeros(masked->left, type);
    INT65 step = -sign_extend_by_type_size(mask & type_mask(type), type), d;
    if (!step.is_power_of_2() || step < INT65(2)) return nullptr;
    if (!is_sum_with(masked->left, a, type, loop, &d) || d < step - INT65(1)) return nullptr;
    return RULE("relop: ((a + d) & -2^j) >= a -> 1, no wrap") ? decided(test, true, loop) : nullptr;
}

namespace {

// test: x GE `least`, or its inverse, in the sign of the relation that it had.
NODE *compare_with_least(NODE *test, NODE *x, INT65 least, const WITH_CONSTANT &with, struct LOOP *loop) {
    bool inverse = test->op == LE || test->op == LT || test->op == ULE || test->op == ULT;
    int op = with.domain.is_unsigned ? (inverse ? ULT : UGE) : (inverse ? LT : GE);
    return compare_operand(test, x, op, least, with, loop);
}

// The relation as: at least so much, or not at least so much.
INT65 least_of_relation(const NODE *test, INT65 k) {
    bool above = test->op == GT || test->op == UGT || test->op == LE || test->op == ULE;
    return above ? k + INT65(1) : k;
}

} // namespace

// (a / c) >= k  ->  a >= k * c;  a / c >= 0  ->  a >= 1 - c for signed a     c >= 1, k >= 0, k * c in the type
NODE *relop_quotient(NODE *test, struct LOOP *loop) {
    WITH_CONSTANT with;
    NODE *q = test->left;
    if (!is_order_test(test->op) || q->op != DIV || !is_ICON(q->right) || !is_integer_type(q->type))
        return nullptr;
    if (!compares_with_constant(test, &with) || !with.ordered) return nullptr;
    INT65 c = constant_in(with.type, q->right);
    if (!c.is_positive() || with.k.is_negative() || !is_integer_type(q->left->type)) return nullptr;
    INT65 k = least_of_relation(test, with.k), least;
    int overflow = 0;
    if (!k.is_zero()) least = long_multiply(k, c, &overflow);
    else if (!with.type->is_unsigned()) least = INT65(1) - c;
    if (overflow || !is_value_of(least, with.type)) return nullptr;
    if (!RULE("relop: (a / c) >= k -> a >= k * c, and its kin")) return nullptr;
    return compare_with_least(test, detach(q->left), least, with, loop);
}

// (a >> s) >= k  ->  a >= k << s     the shift rounds down; k << s in the type
NODE *relop_shifted(NODE *test, struct LOOP *loop) {
    WITH_CONSTANT with;
    NODE *shift = test->left;
    if (!is_order_test(test->op) || shift->op != SRL || !is_ICON(shift->right) ||
        !is_integer_type(shift->type))
        return nullptr;
    if (!compares_with_constant(test, &with) || !with.ordered || !is_integer_type(shift->left->type))
        return nullptr;
    INT65 s = shift->right->u.lval;
    if (!s.is_positive() || s >= INT65(int(with.type->size)) || with.k.is_negative()) return nullptr;
    int overflow = 0;
    INT65 least = long_multiply(least_of_relation(test, with.k), INT65(1) << s.low_i32(), &overflow);
    if (overflow || !is_value_of(least, with.type)) return nullptr;
    if (!RULE("relop: (a >> s) >= k -> a >= k << s, and its kin")) return nullptr;
    return compare_with_least(test, detach(shift->left), least, with, loop);
}

// ---------------------------------------------------------------------------------------------------------
// negations and sums
// ---------------------------------------------------------------------------------------------------------

// -a op k  ->  -k op a     order relations: neither side is the least number, whose negation is itself
NODE *relop_negation(NODE *test, struct LOOP *loop) {
    WITH_CONSTANT with;
    NODE *minus = test->left;
    if (minus->op != UMINUS || !is_integer_type(minus->left->type)) return nullptr;
    if (!compares_with_constant(test, &with)) return nullptr;
    if (is_order_test(test->op)) {
        INT65 least = int_type_min(with.type);
        if (!with.ordered || !is_signed(with.type) || with.k == least) return nullptr;
        if (!type_holds_type(with.type, minus->left->type)) return nullptr;
        if (calculate_minval_for_tree(minus->left, loop) <= least) return nullptr;
    }
    if (!RULE("relop: -a op k -> a op' -k")) return nullptr;
    INT65 k = truncate_to_type(-with.k, with.type);
    return compare_operand(test, detach(minus->left), commute_inv[test->op], k, with, loop);
}

// ~a op k  ->  ~k op a     the complement turns the order round
NODE *relop_complement(NODE *test, struct LOOP *loop) {
    WITH_CONSTANT with;
    NODE *n = test->left;
    if (!compares_with_constant(test, &with) || !with.ordered) return nullptr;
    bool is_complement =
        n->op == NOTB || (n->op == XORB && is_ICON(n->right) &&
                          constant_in(with.type, n->right) == truncate_to_type(INT65(-1), with.type));
    if (!is_complement || with.type->is_bool() || !is_integer_type(n->left->type)) return nullptr;
    if (!RULE("relop: ~a op k -> a op' ~k")) return nullptr;
    INT65 k = truncate_to_type(~with.k, with.type);
    return compare_operand(test, detach(n->left), commute_inv[test->op], k, with, loop);
}

namespace {

// No value of a + c leaves the type of the sum.
bool sum_stays_inside(const NODE *a, INT65 c, TYPE *type, struct LOOP *loop) {
    if (!is_integer_type(a->type) || !type_holds_type(type, a->type)) return false;
    return is_value_of(calculate_minval_for_tree(a, loop) + c, type) &&
           is_value_of(calculate_maxval_for_tree(a, loop) + c, type);
}

// a + c or a - c with a constant c: its signed amount in the type; false for any other tree.
bool constant_term(const NODE *sum, TYPE *type, INT65 *c) {
    if ((sum->op != PLUS && sum->op != MINUS) || !is_ICON(sum->right)) return false;
    // an unsigned constant of the upper half is a negative amount
    INT65 term = sign_extend_by_type_size(constant_in(type, sum->right), type);
    *c = sum->op == PLUS ? term : -term;
    return true;
}

} // namespace

// (a + c) op k  ->  a op k - c     always for == and !=; across an order only when nothing wraps
NODE *relop_sum_with_constant(NODE *test, struct LOOP *loop) {
    WITH_CONSTANT with;
    NODE *sum = test->left;
    INT65 c;
    if (!compares_with_constant(test, &with) || !constant_term(sum, with.type, &c)) return nullptr;
    if (!is_integer_type(sum->left->type) || with.type->is_bool()) return nullptr;
    INT65 k = with.k - c;
    if (is_equality_test(test->op)) {
        k = truncate_to_type(k, with.type);
        if (!RULE("relop: (a + c) == k -> a == k - c")) return nullptr;
    } else {
        if (!with.ordered || !is_value_of(k, with.type) || !sum_stays_inside(sum->left, c, with.type, loop))
            return nullptr;
        if (!RULE("relop: (a + c) < k -> a < k - c, no wrap")) return nullptr;
    }
    return compare_operand(test, detach(sum->left), test->op, k, with, loop);
}

// (a - b) == 0  ->  a == b;  (a - b) < 0  ->  a < b when the difference can't wrap
NODE *relop_difference(NODE *test, struct LOOP *loop) {
    NODE *difference = test->left;
    if (difference->op != MINUS || !is_zero_constant(test->right) || !is_integer_type(difference->type))
        return nullptr;
    NODE *a = difference->left, *b = difference->right;
    TYPE *type = tp->remove_known_qual(difference->type, 255);
    TEST_DOMAIN d = domain_of_test(test);
    if (type->is_bool() || type->size < 32) return nullptr;
    bool pointers = a->type->is_ptr() && b->type->is_ptr() && type->size == 32;
    if (!pointers && (!is_integer_type(a->type) || !is_integer_type(b->type))) return nullptr;
    if (is_order_test(test->op)) {
        if (pointers || !test_is_natural(type, d, test->op)) return nullptr;
        if (!type_holds_type(type, a->type) || !type_holds_type(type, b->type)) return nullptr;
        INT65 low = calculate_minval_for_tree(a, loop) - calculate_maxval_for_tree(b, loop);
        INT65 high = calculate_maxval_for_tree(a, loop) - calculate_minval_for_tree(b, loop);
        if (!is_value_of(low, type) || !is_value_of(high, type)) return nullptr;
    }
    if (!RULE("relop: (a - b) op 0 -> a op b")) return nullptr;
    a = detach(difference->left), b = detach(difference->right);
    erase_tree(difference);
    erase_tree(test->right);
    test->left = pointers ? a : as_type(type, a, loop);
    test->right = pointers ? b : as_type(type, b, loop);
    return test;
}

// (x + c1) op (y + c2)  ->  (x + (c1 - c2)) op y     always for == and !=; across an order when no sum wraps
NODE *relop_two_sums(NODE *test, struct LOOP *loop) {
    NODE *left = test->left, *right = test->right;
    TYPE *type = tp->remove_known_qual(left->type, 255);
    if (left->op != PLUS || right->op != PLUS || !is_ICON(left->right) || !is_ICON(right->right))
        return nullptr;
    if (left->type->size != right->type->size || left->type->size < 32) return nullptr;
    TYPE *number = is_integer_type(type) ? type : tp->int_type();
    INT65 c1 = constant_in(number, left->right), c2 = constant_in(number, right->right);
    if (is_order_test(test->op)) {
        if (!is_integer_type(type) || !is_integer_type(right->type) ||
            left->type->is_unsigned() != right->type->is_unsigned())
            return nullptr;
        if (!test_is_natural(type, domain_of_test(test), test->op)) return nullptr;
        if (!sum_stays_inside(left->left, c1, type, loop) || !sum_stays_inside(right->left, c2, type, loop) ||
            !sum_stays_inside(left->left, c1 - c2, type, loop))
            return nullptr;
    }
    if (!RULE("relop: (x + c1) op (y + c2) -> (x + (c1 - c2)) op y")) return nullptr;
    TYPE *right_type = tp->remove_known_qual(right->type, 255);
    left->right->type = number;
    left->right->u.lval = truncate_to_type(c1 - c2, number);
    test->left = simp_node(left, loop);
    NODE *y = detach(right->left);
    erase_tree(right);
    test->right = as_type(right_type, y, loop);
    return test;
}

// ---------------------------------------------------------------------------------------------------------
// steps and conversions
// ---------------------------------------------------------------------------------------------------------

// x++ op k  ->  (x += 1) op k + 1, and x-- the same way     across an order only when the step can't wrap
NODE *relop_step(NODE *test, struct LOOP *loop) {
    WITH_CONSTANT with;
    NODE *step = test->left;
    if ((step->op != PLUSPLUS && step->op != MINMIN) || !is_ICON(step->right)) return nullptr;
    NODE *x = step->left;
    if (x->op == DDNODE || !is_integer_type(x->type) || x->type->is_bool() ||
        step->type->size != x->type->size)
        return nullptr;
    if (!compares_with_constant(test, &with) || stored_value(with.k, x) != with.k) return nullptr;
    INT65 by = constant_in(with.type, step->right), k = step->op == PLUSPLUS ? with.k + by : with.k - by;
    if (is_order_test(test->op)) {
        INT65 low = calculate_minval_for_tree(x, loop), high = calculate_maxval_for_tree(x, loop);
        INT65 moved = step->op == PLUSPLUS ? high + by : low - by;
        if (!with.ordered || by.is_negative() || low > high) return nullptr;
        if (stored_value(moved, x) != moved || stored_value(k, x) != k) return nullptr;
    }
    if (!RULE("relop: x++ op k -> (x += 1) op k + 1, x-- -> (x -= 1) op k - 1")) return nullptr;
    step->op = step->op == PLUSPLUS ? PLUSASG : MINUSASG;
    set_constant(test, stored_value(k, x), with);
    return test;
}

namespace {

// What a conversion widens, when it keeps every value; null for any other tree.
const NODE *widened(const NODE *n) {
    if (n->op != SCONV || !is_integer_type(n->type) || !is_integer_type(n->left->type)) return nullptr;
    bool widens = n->type->size > n->left->type->size && type_holds_type(n->type, n->left->type);
    return widens ? n->left : nullptr;
}

} // namespace

// (T)a op (T)b  ->  a op b, (T)a op k  ->  a op k     T wider than both; what was unsigned compares as unsigned
NODE *relop_widened(NODE *test, struct LOOP *) {
    const NODE *a = widened(test->left);
    if (!a) return nullptr;
    TYPE *type = tp->remove_known_qual(a->type, 255);
    bool is_unsigned = type->is_unsigned();
    TEST_DOMAIN d = domain_of_test(test);
    if (is_ICON(test->right)) {
        INT65 seen = seen_value(test->right->u.lval, d);
        INT65 k = is_unsigned || !d.is_unsigned ? seen : seen.truncate_signed(d.bits);
        // the narrow type of a truth value has no place for other numbers
        TYPE *constant_type = type->is_bool() ? tp->int_type() : type;
        if (k < int_type_min(type) || k > int_type_max(type)) return nullptr;
        if (!RULE("relop: (T)a op k -> a op k, T wider than a")) return nullptr;
        erase_tree(test->right);
        test->right = mk_ICON(k, constant_type);
    } else {
        const NODE *b = widened(test->right);
        if (!b || b->type->size != a->type->size || b->type->is_unsigned() != is_unsigned) return nullptr;
        if (!RULE("relop: (T)a op (T)b -> a op b, T wider than both")) return nullptr;
        test->right = take_left(test->right);
    }
    test->left = take_left(test->left);
    if (is_unsigned) test->op = int16_t(unsigned_relation(test->op));
    return test;
}

namespace {

// The two arguments of a call of the built-in, if it is one of these; else null.
NODE *arguments_of(const NODE *n, const char *name) {
    if (n->op != ICALL || strcmp(n->u.icall, name) != 0 || n->left->op != COMMA) return nullptr;
    bool two = n->left->left->op != COMMA && n->left->right->op != COMMA;
    return two ? n->left : nullptr;
}

bool is_int(const NODE *n) { return is_integer_type(n->type) && n->type->size == 32 && is_signed(n->type); }

// x * 0x10000, x << 16: x; else null.
const NODE *shifted_half(const NODE *n) {
    bool is_shift = n->op == SLL && is_ICON(n->right, 16),
         is_product = n->op == MULT && is_ICON(n->right, 0x10000);
    return is_shift || is_product ? n->left : nullptr;
}

// (short)x
NODE *low_half(NODE *x, struct LOOP *loop) {
    TYPE *type = tp->basic_int(IK_short);
    return simp_node(maketree(SCONV, x, nullptr, type, x->scope), loop);
}

} // namespace

// _ssub(a, b) op 0  ->  a op b                        the result that saturates has the sign of the difference
// _ssub2(a, b) << 16 op 0  ->  (short)a op (short)b    two differences of halves in one word
NODE *relop_saturated_difference(NODE *test, struct LOOP *loop) {
    if (!is_zero_constant(test->right) || is_unsigned_test(test->op) || domain_of_test(test).bits != 32)
        return nullptr;
    const NODE *call = test->left->op == SCONV && is_int(test->left) ? test->left->left : test->left;
    const NODE *half = is_int(call) ? shifted_half(call) : nullptr;
    NODE *list = arguments_of(half ? half : call, half ? "_ssub2" : "_ssub");
    if (!list || !is_int(half ? half : call) || !is_int(list->left) || !is_int(list->right)) return nullptr;
    if (!RULE("relop: _ssub(a, b) op 0 -> a op b")) return nullptr;
    NODE *a = detach(list->left), *b = detach(list->right);
    erase_tree(test->left);
    erase_tree(test->right);
    test->left = half ? low_half(a, loop) : a;
    test->right = half ? low_half(b, loop) : b;
    return test;
}
