#include "OPT5/simp_relop.h"

#include <algorithm>
#include <utility>

#include "OPT5/bbutils.h"
#include "OPT5/congruent.h"
#include "OPT5/fold.h"
#include "OPT5/optab.h"
#include "OPT5/rules.h"
#include "OPT5/simp1.h"
#include "OPT5/simp2.h"
#include "OPT5/simp3.h"
#include "OPT5/simp_assert.h"
#include "OPT5/simp_known.h"
#include "OPT5/simp_relop_arith.h"
#include "OPT5/simp_testutil.h"
#include "OPT5/symbolic.h"
#include "OPT5/symtab.h"
#include "OPT5/typefacts.h"

unsigned relop_round_hits;

namespace {

void set_zero(NODE *test) {
    erase_tree(test->right);
    NODE *zero_test = mk_zero_test(true, detach(test->left));
    test->left = detach(zero_test->left);
    test->right = detach(zero_test->right);
    erase_node(zero_test);
}

// The test, now for zero or for not zero.
NODE *as_zero_test(NODE *test, bool equal) {
    test->op = equal ? EQ : NEQ;
    set_zero(test);
    return test;
}

// A finished result in place of the test, with its type.
NODE *in_place_of(NODE *test, NODE *result, struct LOOP *loop) {
    TYPE *type = test->type;
    erase_tree(test);
    return as_type(type, result, loop);
}

bool is_test_of_truth(const NODE *test) {
    return is_equality_test(test->op) && is_zero_constant(test->right);
}

// --- constants ---

// c op x  ->  x op' c; c1 op c2  ->  0 or 1
NODE *relop_constants(NODE *test, struct LOOP *loop) {
    if (!is_ICON(test->left)) return nullptr;
    if (!is_ICON(test->right)) {
        if (!RULE("relop: c op x -> x op' c")) return nullptr;
        std::swap(test->left, test->right);
        test->op = commute_inv[test->op];
        return test;
    }
    if (!RULE("relop: c1 op c2 -> 0 or 1")) return nullptr;
    TEST_DOMAIN d = domain_of_test(test);
    bool truth =
        relation_holds(test->op, seen_value(test->left->u.lval, d), seen_value(test->right->u.lval, d));
    return in_place_of(test, mk_ICON(INT65(truth ? 1 : 0), tp->int_type()), loop);
}

bool is_pointer_constant(const NODE *n) {
    return (n->op == PCONV || n->op == ISP2CHAR) && n->left->op == ICON && n->left->type->size <= 32;
}

// (T *)c1 op (T *)c2  ->  c1 op c2; p op (T *)0  ->  p op 0
NODE *relop_pointer_constants(NODE *test, struct LOOP *) {
    bool both = is_pointer_constant(test->left) && (is_pointer_constant(test->right) || is_ICON(test->right));
    bool zero = is_pointer_constant(test->right) && is_zero_constant(test->right);
    if (!both && !zero) return nullptr;
    if (!RULE("relop: (T*)c1 op (T*)c2 -> c1 op c2, (T*)0 -> 0")) return nullptr;
    if (both) test->left = take_left(test->left);
    if (is_pointer_constant(test->right)) test->right = take_left(test->right);
    return test;
}

// x >= 1  ->  x > 0, x < 1  ->  x <= 0; of unsigned x, x != 0 and x == 0
NODE *relop_one(NODE *test, struct LOOP *) {
    if (!is_ICON(test->right, 1)) return nullptr;
    int op;
    switch (test->op) {
    case GE: op = GT; break;
    case LT: op = LE; break;
    case UGE: op = NEQ; break;
    case ULT: op = EQ; break;
    default: return nullptr;
    }
    if (!RULE("relop: x >= 1 -> x > 0, x < 1 -> x <= 0")) return nullptr;
    set_zero(test);
    test->op = int16_t(op);
    return test;
}

// x <= 0  ->  x == 0, x > 0  ->  x != 0, x < 0  ->  0, x >= 0  ->  1     x never negative, or compared unsigned
NODE *relop_order_with_zero(NODE *test, struct LOOP *loop) {
    if (!is_order_test(test->op) || !is_zero_constant(test->right)) return nullptr;
    TEST_DOMAIN d = domain_of_test(test);
    if (!d.is_unsigned && seen_range(test->left, d, loop).low.is_negative()) return nullptr;
    switch (test->op) {
    case LE:
    case ULE: return RULE("relop: x <= 0 -> x == 0, x >= 0 known") ? as_zero_test(test, true) : nullptr;
    case GT:
    case UGT: return RULE("relop: x > 0 -> x != 0, x >= 0 known") ? as_zero_test(test, false) : nullptr;
    default: break;
    }
    bool truth = test->op == GE || test->op == UGE;
    return RULE("relop: x < 0 -> 0, x >= 0 -> 1, x >= 0 known") ? decided(test, truth, loop) : nullptr;
}

// x <= k  ->  x < k + 1, x > k  ->  x >= k + 1     k odd and above 0: an even constant has bits that don't matter
NODE *relop_odd_constant(NODE *test, struct LOOP *) {
    bool goes = test->op == LE || test->op == ULE || test->op == GT || test->op == UGT;
    if (!goes || !is_ICON(test->right) || !is_integer_type(test->left->type)) return nullptr;
    TEST_DOMAIN d = domain_of_test(test);
    INT65 k = seen_value(test->right->u.lval, d), next = k + INT65(1);
    TYPE *type = tp->remove_known_qual(test->right->type, 255);
    if (!k.is_positive() || !k.is_odd() || seen_value(next, d) != next) return nullptr;
    if (seen_value(truncate_to_type(next, type), d) != next) return nullptr;
    if (!RULE("relop: x <= k -> x < k + 1, x > k -> x >= k + 1, k odd")) return nullptr;
    test->op = int16_t(test->op == LE ? LT : test->op == ULE ? ULT : test->op == GT ? GE : UGE);
    erase_tree(test->right);
    test->right = mk_ICON(next, type);
    return test;
}

// --- what is known ---

// The values that the left operand can have by its known bits, as the comparison sees them.
bool range_of_known_bits(const NODE *x, TEST_DOMAIN d, SEEN_RANGE *range) {
    if (!is_integer_type(x->type)) return false;
    INT65 mask = type_mask(x->type);
    KNOWN_BITS known = find_known_bits(x, x->type);
    INT65 low = known.ones & mask, high = known.zeros & mask;
    bool may_be_negative = !x->type->is_unsigned() && high.bit(int(x->type->size) - 1);
    if (may_be_negative || low > high || seen_value(high, d) != high) return false;
    *range = {low, high};
    return true;
}

// x op y  ->  0 or 1     where the ranges of both sides decide
NODE *relop_ranges(NODE *test, struct LOOP *loop) {
    TEST_DOMAIN d = domain_of_test(test);
    SEEN_RANGE x = seen_range(test->left, d, loop), y = seen_range(test->right, d, loop), bits;
    if (is_ICON(test->right) && range_of_known_bits(test->left, d, &bits)) {
        x.low = std::max(x.low, bits.low);
        x.high = std::min(x.high, bits.high);
    }
    bool less = x.high < y.low, not_greater = x.high <= y.low;
    bool greater = y.high < x.low, not_less = y.high <= x.low;
    int truth = -1;
    switch (test->op) {
    case EQ:
    case NEQ:
        if (less || greater) truth = test->op == NEQ;
        else if (not_less && not_greater) truth = test->op == EQ;
        break;
    case LE:
    case ULE: truth = not_greater ? 1 : greater ? 0 : -1; break;
    case LT:
    case ULT: truth = less ? 1 : not_less ? 0 : -1; break;
    case GE:
    case UGE: truth = not_less ? 1 : less ? 0 : -1; break;
    default: truth = greater ? 1 : not_greater ? 0 : -1; break;
    }
    if (truth < 0 || !RULE("relop: x op y -> 0 or 1, by ranges")) return nullptr;
    return decided(test, truth != 0, loop);
}

// x == k  ->  0, x != k  ->  1     a bit of k differs from what is known of x
NODE *relop_known_bits(NODE *test, struct LOOP *loop) {
    if (!is_equality_test(test->op) || !is_ICON(test->right) || !is_integer_type(test->left->type))
        return nullptr;
    TYPE *type = test->left->type;
    INT65 mask = type_mask(type), k = truncate_to_type(test->right->u.lval, type) & mask;
    INT65 ones = find_known_ones(test->left, type) & mask,
          possible = find_known_zeros(test->left, type) & mask;
    if ((ones & ~k).is_zero() && (k & ~possible).is_zero()) return nullptr;
    return RULE("relop: x == k -> 0, a known bit differs") ? decided(test, test->op == NEQ, loop) : nullptr;
}

// p == q  ->  0     one side is null and the other never
NODE *relop_null(NODE *test, struct LOOP *loop) {
    if (!is_equality_test(test->op)) return nullptr;
    NODE *a = test->left, *b = test->right;
    if (!(is_zero_constant(a) || a->type->is_ptr()) || !(is_zero_constant(b) || b->type->is_ptr()))
        return nullptr;
    bool zero_a = is_zero_constant(a) || tree_is_zero(a, loop),
         zero_b = is_zero_constant(b) || tree_is_zero(b, loop);
    if (zero_a == zero_b || !tree_is_non_zero(zero_a ? b : a, loop)) return nullptr;
    return RULE("relop: p == 0 -> 0, p never null") ? decided(test, test->op == NEQ, loop) : nullptr;
}

// a op a  ->  0 or 1
NODE *relop_same_operands(NODE *test, struct LOOP *loop) {
    if (!trees_are_congruent(test->left, test->right)) return nullptr;
    if (!RULE("relop: a op a -> 0 or 1")) return nullptr;
    return decided(test, relation_holds(test->op, INT65(0), INT65(0)), loop);
}

// (a == 0) == a  ->  0: no number is its own negation
NODE *relop_own_test(NODE *test, struct LOOP *loop) {
    if (!is_equality_test(test->op)) return nullptr;
    auto tests = [](const NODE *t, const NODE *a) {
        return t->op == EQ && is_zero_constant(t->right) && trees_are_congruent(t->left, a);
    };
    if (!tests(test->left, test->right) && !tests(test->right, test->left)) return nullptr;
    return RULE("relop: (a == 0) == a -> 0") ? decided(test, test->op == NEQ, loop) : nullptr;
}

// t == !t  ->  0
NODE *relop_inverse_tests(NODE *test, struct LOOP *loop) {
    if (!is_equality_test(test->op) || !tree_is_trivially_invertible(test->left)) return nullptr;
    if (!tree_is_trivially_invertible(test->right) || !bools_are_congruent(test->left, test->right, true))
        return nullptr;
    return RULE("relop: t == !t -> 0") ? decided(test, test->op == NEQ, loop) : nullptr;
}

// --- tests of truth values ---

// x != 0  ->  x, (a < b) == 0  ->  a >= b     x is 0 or 1. What is tested has been through simp_for_control.
NODE *relop_truth(NODE *test, struct LOOP *loop) {
    if (!is_test_of_truth(test)) return nullptr;
    NODE *x = test->left;
    if (test->op == NEQ && returns_1_or_0(x)) {
        if (!RULE("relop: x != 0 -> x, x is 0 or 1")) return nullptr;
        return in_place_of(test, detach(test->left), loop);
    }
    if (test->op != EQ || !tree_is_trivially_invertible(x)) return nullptr;
    if (!RULE("relop: (a < b) == 0 -> a >= b")) return nullptr;
    x = detach(test->left);
    x->op = boolean_inv[x->op];
    // the inverse may have a simpler form of its own
    return in_place_of(test, simp_relop(x, loop), loop);
}

// x == 1  ->  x != 0, x != 1  ->  x == 0     x is 0 or 1
NODE *relop_boolean_with_one(NODE *test, struct LOOP *) {
    if (!is_equality_test(test->op) || !is_ICON(test->right, 1) || !returns_1_or_0(test->left))
        return nullptr;
    return RULE("relop: x == 1 -> x != 0, x is 0 or 1") ? as_zero_test(test, test->op == NEQ) : nullptr;
}

// (1 - b) == 0  ->  b != 0     b is 0 or 1
NODE *relop_one_minus(NODE *test, struct LOOP *) {
    NODE *m = test->left;
    if (!is_test_of_truth(test) || m->op != MINUS || !is_ICON(m->left, 1) || !returns_1_or_0(m->right))
        return nullptr;
    if (!RULE("relop: (1 - b) == 0 -> b != 0, b is 0 or 1")) return nullptr;
    test->left = take_right(m);
    return as_zero_test(test, test->op == NEQ);
}

// (a & 2^k) == 2^k  ->  (a & 2^k) != 0
NODE *relop_one_bit(NODE *test, struct LOOP *) {
    NODE *masked = test->left;
    if (!is_equality_test(test->op) || masked->op != ANDB || !is_ICON(masked->right) || !is_ICON(test->right))
        return nullptr;
    if (!is_integer_type(masked->type)) return nullptr;
    INT65 bit = truncate_to_type(masked->right->u.lval, masked->type);
    TEST_DOMAIN d = domain_of_test(test);
    if (!(bit & type_mask(masked->type)).is_power_of_2()) return nullptr;
    if (seen_value(bit, d) != seen_value(test->right->u.lval, d)) return nullptr;
    return RULE("relop: (a & 2^k) == 2^k -> (a & 2^k) != 0") ? as_zero_test(test, test->op == NEQ) : nullptr;
}

bool is_value_without_effects(const NODE *n) {
    return is_integer_type(n->type) && !boolean_result[n->op] && !is_ICON(n) && !tree_has_side_effects(n);
}

// b == t  ->  (b == 1) & t, (b == 0) & !t     t a test, b a value that is never 0, never 1; b != t the inverse of that
NODE *relop_value_with_test(NODE *test, struct LOOP *loop) {
    if (!is_equality_test(test->op)) return nullptr;
    bool on_the_right = tree_is_trivially_invertible(test->right);
    NODE *&b = on_the_right ? test->left : test->right, *&t = on_the_right ? test->right : test->left;
    if (!tree_is_trivially_invertible(t) || !is_value_without_effects(b) || tree_has_side_effects(t))
        return nullptr;
    bool never_0 = tree_is_not_ivalue(b, INT65(0), loop), never_1 = tree_is_not_ivalue(b, INT65(1), loop);
    if (never_0 == never_1) return nullptr; // what is neither, the ranges or the known bits decide
    if (!RULE("relop: b == t -> (b == 1) & t or (b == 0) & !t, t a test")) return nullptr;
    bool equal = test->op == EQ;
    NODE *truth = detach(t), *value = detach(b);
    if (equal == never_1) truth->op = boolean_inv[truth->op];
    NODE *constant = mk_ICON(INT65(never_1 ? 0 : 1), promoted_type(tp->remove_known_qual(value->type, 255)));
    truth = as_type(tp->int_type(), simp_node(truth, loop), loop);
    value = simp_relop(mk_test(test->op, value, constant), loop);
    LS *scope = test->scope;
    return in_place_of(
        test, simp_node(maketree(equal ? ANDB : ORB, value, truth, tp->int_type(), scope), loop), loop);
}

NODE *negated(NODE *b, struct LOOP *loop) { return simp_node(invert_boolean_tree(b), loop); }

// (a & b) == 0  ->  !a | !b, (a | b) == 0  ->  !a & !b     a and b 0 or 1, tests among them whose inverse costs nothing
NODE *relop_joined_tests(NODE *test, struct LOOP *loop) {
    NODE *both = test->left;
    if (test->op != EQ || !is_zero_constant(test->right) || (both->op != ANDB && both->op != ORB))
        return nullptr;
    bool test_a = tree_is_trivially_invertible(both->left),
         test_b = tree_is_trivially_invertible(both->right);
    if (both->op == ANDB ? !test_a && !test_b : !test_a || !test_b) return nullptr;
    if (!returns_1_or_0(both->left) || !returns_1_or_0(both->right)) return nullptr;
    if (!RULE("relop: (a & b) == 0 -> !a | !b, (a | b) == 0 -> !a & !b, tests")) return nullptr;
    NODE *a = negated(detach(both->left), loop), *b = negated(detach(both->right), loop);
    int op = both->op == ANDB ? ORB : ANDB;
    return in_place_of(test, simp_node(maketree(op, a, b, tp->int_type(), a->scope), loop), loop);
}

// (c ? a : b) == k  ->  c ? a == k : b == k     where that folds an arm or inverts tests
NODE *relop_conditional(NODE *test, struct LOOP *loop) {
    NODE *q = test->left;
    if (q->op != QUEST || q->right->op != COLON || !is_ICON(test->right) || !is_integer_type(q->type))
        return nullptr;
    NODE *arms = q->right;
    bool constant_a = is_ICON(arms->left), constant_b = is_ICON(arms->right);
    bool tests = tree_is_trivially_invertible(arms->left) && tree_is_trivially_invertible(arms->right);
    bool is_truth = is_test_of_truth(test);
    if (!(constant_a && constant_b) && !(is_truth && (constant_a || constant_b || (tests && test->op == EQ))))
        return nullptr;
    if (!RULE("relop: (c ? a : b) == k -> c ? a == k : b == k")) return nullptr;
    for (NODE **arm : {&arms->left, &arms->right}) {
        NODE *value = as_type(q->type, detach(*arm), loop);
        *arm = simp_relop(mk_test(test->op, value, copy_tree(test->right)), loop);
    }
    q = detach(test->left);
    q->type = arms->type = tp->int_type();
    return in_place_of(test, simp_node(q, loop), loop);
}

// --- pointers ---

// A pointer as base and offset; the offset is null for the base alone.
struct BASED {
    NODE *base, *offset;
};

BASED split_sum(NODE *p) {
    if (p->op == PLUS && p->type->is_ptr() && p->left->type->is_ptr() && is_integer_type(p->right->type))
        return {p->left, p->right};
    return {p, nullptr};
}

// Bytes of the object that a pointer is the address of, or -1.
INT65 size_of_object(const NODE *p) {
    p = strip_pointer_wrappers(p);
    if (p->op != UAND || p->left->op != NAME) return INT65(-1);
    const SYMTAB *s = p->left->u.sym;
    return s && !s->is_function() ? INT65(static_cast<long long>(s->size)) / INT65(8) : INT65(-1);
}

bool is_offset_within(const NODE *offset, INT65 size) {
    return !offset || (is_ICON(offset) && !offset->u.lval.is_negative() && offset->u.lval <= size);
}

// (p + c) == (p + d)  ->  c == d; under an order only for constants inside one object, which does not wrap around
NODE *relop_same_base(NODE *test, struct LOOP *loop) {
    if (!test->left->type->is_ptr() || !test->right->type->is_ptr()) return nullptr;
    BASED a = split_sum(test->left), b = split_sum(test->right);
    if ((!a.offset && !b.offset) || !trees_are_congruent(a.base, b.base)) return nullptr;
    if (is_order_test(test->op)) {
        INT65 size = size_of_object(a.base);
        if (size.is_negative() || !is_offset_within(a.offset, size) || !is_offset_within(b.offset, size))
            return nullptr;
        if (!RULE("relop: (&x + c) < (&x + d) -> c < d, inside x")) return nullptr;
        INT65 c = a.offset ? a.offset->u.lval : INT65(0), d = b.offset ? b.offset->u.lval : INT65(0);
        return decided(test, relation_holds(test->op, c, d), loop);
    }
    if (!RULE("relop: (p + c) == (p + d) -> c == d")) return nullptr;
    TYPE *type = tp->int_type();
    NODE *c = a.offset ? as_type(type, take_right(detach(test->left)), loop) : nullptr;
    NODE *d = b.offset ? as_type(type, take_right(detach(test->right)), loop) : nullptr;
    erase_tree(test->left);
    erase_tree(test->right);
    test->left = c ? c : d;
    test->right = c && d ? d : mk_ICON(INT65(0), type);
    return test;
}

// clang-format off
const RELOP_ROW rows[] = {
    relop_constants,
    relop_pointer_constants,
    relop_truth,
    relop_widened,
    relop_exact_quotient,
    relop_product,
    relop_rounded_quotient,
    relop_quotient,
    relop_shifted,
    relop_rounded_mask,
    relop_negation,
    relop_complement,
    relop_one,
    relop_order_with_zero,
    relop_boolean_with_one,
    relop_odd_constant,
    relop_known_bits,
    relop_ranges,
    relop_value_with_test,
    relop_joined_tests,
    relop_conditional,
    relop_null,
    relop_difference,
    relop_sum_with_constant,
    relop_two_sums,
    relop_one_bit,
    relop_one_minus,
    relop_same_operands,
    relop_own_test,
    relop_inverse_tests,
    relop_step,
    relop_saturated_difference,
    relop_same_base,
};
// clang-format on

// Bits of x below the lowest one of an even k don't matter to x < k and x >= k.
void drop_bits_below_constant(NODE *test, struct LOOP *loop) {
    bool goes = test->op == LT || test->op == ULT || test->op == GE || test->op == UGE;
    if (!goes || !is_ICON(test->right) || !is_integer_type(test->left->type)) return;
    INT65 k = seen_value(test->right->u.lval, domain_of_test(test));
    if (!k.is_positive() || k.is_odd()) return;
    TYPE *type = tp->remove_known_qual(test->left->type, 255);
    INT65 mask = (k | -k) & type_mask(type);
    // a narrower or wider tree that agrees in these bits is brought back to the type, whose sign they have
    test->left = as_type(type, prop_mask_into_subtree(test->left, mask), loop);
}

// (e, x) op y  ->  e, x op y     for the effects that were left in front of a truth value
NODE *hoist_effects(NODE *test, struct LOOP *loop) {
    NODE *comma = test->left;
    test->left = comma->right;
    comma->right = simp_relop(test, loop);
    comma->type = comma->right->type;
    return simp_COMMAOP(comma, loop);
}

bool is_comparison_of_words(const NODE *n) {
    return is_integer_test(n->op) && is_word_type(n->left->type) && is_word_type(n->right->type);
}

// The first row that applies; null when none does.
NODE *apply_row(NODE *node, struct LOOP *loop) {
    for (RELOP_ROW row : rows)
        if (NODE *next = row(node, loop)) return next;
    return nullptr;
}

} // namespace

NODE *simp_relop(NODE *node, struct LOOP *loop) {
    bool bits_dropped = false;
    for (int round = 0; round < RELOP_ROUNDS; round++) {
        if (!is_comparison_of_words(node)) return node;
        if (is_test_of_truth(node)) {
            node->left = simp_for_control(node->left, loop);
            if (!is_word_type(node->left->type)) return node;
            set_zero(node);
        }
        if (node->left->op == COMMAOP && RULE("relop: (e, x) op y -> e, x op y"))
            return hoist_effects(node, loop);
        if (round == 0 && loop) node = simp_constraint_given_loop_givens(node, loop);
        if (!is_comparison_of_words(node)) return node;
        NODE *next = apply_row(node, loop);
        if (!next && bits_dropped) return node;
        if (!next) {
            drop_bits_below_constant(node, loop);
            bits_dropped = true;
        } else {
            node = next;
        }
    }
    relop_round_hits++;
    return node;
}
