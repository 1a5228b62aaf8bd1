#include "OPT5/simp_div.h"

#include <algorithm>

#include "OPT5/bbutils.h"
#include "OPT5/coerce.h"
#include "OPT5/congruent.h"
#include "OPT5/flags.h"
#include "OPT5/fold.h"
#include "OPT5/rules.h"
#include "OPT5/simp1.h"
#include "OPT5/simp_shape.h"
#include "OPT5/symbolic.h"
#include "OPT5/symfactor.h"
#include "OPT5/typefacts.h"

namespace {

bool is_signed_int(const TYPE *t) { return is_int_type(t) && !t->is_bool() && t->is_signed(); }
bool in_ring(const NODE *x, const NODE *n) { return same_ring(x->type, n->type); }
// Of the node's very type, so that the value is the same in both.
bool has_numbers_of(const NODE *x, const NODE *n) {
    return same_numbers(x->type, n->type) && !x->type->is_ptr();
}
// Every value of the type is one of the other type.
bool values_fit(const TYPE *from, const TYPE *to) {
    if (!is_int_type(from) || !is_int_type(to)) return false;
    if (from->size == to->size) return from->is_unsigned() == to->is_unsigned();
    return from->size < to->size && (from->is_unsigned() || to->is_signed());
}

INT65 magnitude(INT65 v) { return v.is_negative() ? -v : v; }

// The value that a constant operand has in the type of the node.
INT65 operand_value(const NODE *icon, const NODE *n) { return truncate_to_type(icon->u.lval, n->type); }

// Whether -x is the negation as numbers have it: x is never the least value, whose negation is itself.
bool negation_is_exact(const NODE *x, TYPE *type, struct LOOP *loop) {
    if (!values_fit(x->type, type)) return false;
    return x->type->size < type->size || calculate_minval_for_tree(x, loop) > int_type_min(type);
}

bool is_negation(const NODE *x, const NODE *n) {
    return x->op == UMINUS && has_numbers_of(x, n) && is_int_type(x->left->type);
}
bool is_exact_negation(const NODE *x, const NODE *n, struct LOOP *loop) {
    return is_negation(x, n) && negation_is_exact(x->left, n->type, loop);
}
bool is_exact_difference(const NODE *x, const NODE *n, struct LOOP *loop) {
    return x->op == MINUS && has_numbers_of(x, n) && negation_is_exact(x, n->type, loop);
}

// -(tree), simplified.
NODE *negated(NODE *tree, TYPE *type, struct LOOP *loop) {
    return simp_new(UMINUS, tree, nullptr, type, tree->scope, loop);
}

constexpr int NEVER_WRAPS_DEPTH = 8;

// Whether sums and products of the tree are what numbers give, without a carry lost.
bool never_wraps(const NODE *x, struct LOOP *loop, int depth = NEVER_WRAPS_DEPTH) {
    if (!is_int_type(x->type)) return false;
    switch (x->op) {
    case PLUS:
    case MINUS: {
        if (depth == 0 || !values_fit(x->left->type, x->type) || !values_fit(x->right->type, x->type))
            return false;
        INT65 low = calculate_minval_for_tree(x->left, loop), high = calculate_maxval_for_tree(x->left, loop);
        INT65 low2 = calculate_minval_for_tree(x->right, loop),
              high2 = calculate_maxval_for_tree(x->right, loop);
        bool plus = x->op == PLUS;
        if (sum_may_overflow(low, plus ? low2 : -high2, x->type) ||
            sum_may_overflow(high, plus ? high2 : -low2, x->type))
            return false;
        break;
    }
    case MULT:
        if (depth == 0 || expr_product_may_overflow(x, loop)) return false;
        break;
    case SLL: {
        if (depth == 0 || x->right->op != ICON || !values_fit(x->left->type, x->type)) return false;
        INT65 k = x->right->u.lval;
        if (k.is_negative() || k >= INT65(int(x->type->size) - 1)) return false;
        INT65 scale = INT65(1) << k.low_i32();
        if (prod_may_overflow(calculate_minval_for_tree(x->left, loop), scale, x->type) ||
            prod_may_overflow(calculate_maxval_for_tree(x->left, loop), scale, x->type))
            return false;
        return never_wraps(x->left, loop, depth - 1);
    }
    case UMINUS:
        if (depth == 0 || !negation_is_exact(x->left, x->type, loop)) return false;
        break;
    case SCONV:
        if (depth == 0 || !values_fit(x->left->type, x->type)) return false;
        break;
    default: return true;
    }
    return never_wraps(x->left, loop, depth - 1) && (!x->right || never_wraps(x->right, loop, depth - 1));
}

bool is_power_of_two(const simul_fval *f) {
    simul_fval v = *f;
    if (f_is_special(f)) return false;
    f_left_justify(&v);
    return v.mantissa[0] == 0x8000 && !v.mantissa[1] && !v.mantissa[2] && !v.mantissa[3] && !v.mantissa[4] &&
           !v.mantissa[5];
}

// x / f  ->  x * (1/f)         1/f exact, or where the program does not ask for strict arithmetic
STEP div_by_FCON(NODE *&n, struct LOOP *loop) {
    if (!n->type->is_fltpt() || n->right->op != FCON || n->left->op == FCON) return NO_STEP;
    const simul_fval *f = n->right->u.fval;
    // of what has two digits no reciprocal is exact, though rounding may hide it
    if (f_is_special(f) || (strict_fp && !is_power_of_two(f))) return NO_STEP;
    simul_fval reciprocal;
    unsigned kept = fp_error;
    fp_error = 0;
    f_div(&one, f, &reciprocal);
    truncate_fval_to_target(&reciprocal, n->type);
    bool usable = fp_error == 0 && !f_is_special(&reciprocal);
    fp_error = kept;
    if (!usable || !RULE("DIV: x / f -> x * (1/f)")) return NO_STEP;
    NODE *factor = mk_FCON(reciprocal, n->type);
    factor->scope = n->scope;
    erase_tree(n->right);
    n->right = factor;
    n->op = MULT;
    n = simp_node(n, loop);
    return DONE;
}

// x / x -> (x, 1)        0 / x -> (x, 0)              what x = 0 gives nobody may ask
STEP div_trivial(NODE *&n, struct LOOP *loop) {
    if (!is_int_type(n->type) || !is_int_type(n->left->type) || !values_fit(n->right->type, n->type))
        return NO_STEP;
    if (is_icon_of(n->left, INT65(0))) {
        if (!RULE("DIV, MOD: 0 / x -> (x, 0)")) return NO_STEP;
        n = constant_after_operands(n, INT65(0), loop);
        return DONE;
    }
    if (is_icon(n->left) || !trees_are_congruent(n->left, n->right)) return NO_STEP;
    if (!RULE("DIV, MOD: x / x -> 1, x % x -> 0")) return NO_STEP;
    n = constant_after_operands(n, INT65(n->op == DIV ? 1 : 0), loop);
    return DONE;
}

// c / y -> -(-c / y)     x / c -> -(x / -c)           c negative, not the least value; the same for the dividend of MOD
STEP div_negative_ICON(NODE *&n, struct LOOP *loop) {
    for (NODE *c : {n->left, n->right}) {
        if (!is_icon(c)) continue;
        INT65 value = operand_value(c, n);
        if (!value.is_negative() || value == int_type_min(n->type) ||
            (c == n->right && value == INT65(-1) && n->op == DIV))
            continue;
        bool keeps_sign = n->op == MOD && c == n->right;
        if (keeps_sign ? !RULE("MOD: x % -c -> x % c") : !RULE("DIV, MOD: x / -c -> -(x / c)"))
            return NO_STEP;
        NODE *positive = new_ICON(-value, n->type, n->scope);
        (c == n->left ? n->left : n->right) = positive;
        erase_node(c);
        if (keeps_sign) return AGAIN;
        TYPE *type = n->type;
        n = negated(simp_node(n, loop), type, loop);
        return DONE;
    }
    return NO_STEP;
}

// -x / -y -> x / y       (a - b) / -y -> (b - a) / y      -x / (a - b) -> x / (b - a)
// -x / y -> -(x / y)     x / -y -> -(x / y)               each negated value is never the least one
STEP div_negations(NODE *&n, struct LOOP *loop) {
    bool left = is_exact_negation(n->left, n, loop), right = is_exact_negation(n->right, n, loop);
    if (!left && !right) return NO_STEP;
    TYPE *type = n->type;
    bool left_flips = right && !left && is_exact_difference(n->left, n, loop);
    bool right_flips = left && !right && is_exact_difference(n->right, n, loop);
    if ((left && right) || left_flips || right_flips) {
        if (!RULE("DIV: -x / -y -> x / y")) return NO_STEP;
        n->left = left ? in_type(type, keep_left(n->left), loop) : negated(n->left, type, loop);
        n->right = right ? in_type(type, keep_left(n->right), loop) : negated(n->right, type, loop);
        return AGAIN;
    }
    if (!RULE("DIV: -x / y -> -(x / y)")) return NO_STEP;
    NODE *&side = left ? n->left : n->right;
    side = in_type(type, keep_left(side), loop);
    n = negated(simp_node(n, loop), type, loop);
    return DONE;
}

// (u * c) / (w * c)  ->  u / w           no product or sum of either side wraps
STEP div_common_factors(NODE *&n, struct LOOP *loop) {
    if (is_icon(n->left) || !values_fit(n->left->type, n->type) || !values_fit(n->right->type, n->type))
        return NO_STEP;
    auto has_factors = [](const NODE *x) {
        return x->op == MULT || x->op == PLUS || x->op == MINUS || x->op == UMINUS;
    };
    if (!has_factors(n->left) || (!has_factors(n->right) && !is_icon(n->right) && n->left->op != MULT))
        return NO_STEP;
    if (!never_wraps(n->left, loop) || !never_wraps(n->right, loop)) return NO_STEP;
    if (tree_has_side_effects(n->left) || tree_has_side_effects(n->right)) return NO_STEP;
    if (!cancel_common_simple_factors(&n->left, &n->right)) return NO_STEP;
    n->left = simp_tree(n->left, loop);
    n->right = simp_tree(n->right, loop);
    return AGAIN;
}

} // namespace

bool cancel_common_simple_factors(NODE **left, NODE **right) {
    auto skip_sign = [](NODE **x) {
        while ((*x)->op == UMINUS && is_signed_int((*x)->type)) x = &(*x)->left;
        return x;
    };
    auto is_simple = [](const NODE *x) { return is_icon(x) || x->op == PLUS || x->op == MINUS; };
    left = skip_sign(left);
    right = skip_sign(right);
    NODE *a = *left, *b = *right;
    if (!is_int_type(a->type) || !is_int_type(b->type)) return false;
    if (!is_icon(a) && trees_are_congruent(a, b)) {
        if (!RULE("DIV: (u * x) / (w * x) -> u / w")) return false;
        *left = new_ICON(INT65(1), a->type, a->scope);
        *right = new_ICON(INT65(1), b->type, b->scope);
        erase_tree(a);
        erase_tree(b);
        return true;
    }
    if (is_simple(a) || is_simple(b)) {
        INT65 gcd = long_gcd(max_ICON_coef(a), max_ICON_coef(b));
        if (gcd <= INT65(1) || !RULE("DIV: (u * c) / (w * c) -> u / w")) return false;
        *left = div_ICON_coef(a, gcd);
        *right = div_ICON_coef(b, gcd);
        cancel_common_simple_factors(left, right);
        return true;
    }
    bool changed = false;
    if (a->op == MULT && is_signed_int(a->type)) {
        changed |= cancel_common_simple_factors(&a->left, right);
        changed |= cancel_common_simple_factors(&a->right, right);
    } else if (b->op == MULT && is_signed_int(b->type)) {
        changed |= cancel_common_simple_factors(left, &b->left);
        changed |= cancel_common_simple_factors(left, &b->right);
    }
    return changed;
}

// ---------------------------------------------------------------------------------------------------------
// by a constant
// ---------------------------------------------------------------------------------------------------------

namespace {

int sign_question_depth; // of divisions whose dividend is being looked at, one in the other

bool dividend_is_non_negative(const NODE *x, struct LOOP *loop) {
    if (sign_question_depth >= 2) return false;
    ++sign_question_depth;
    bool answer = tree_is_non_negative(x, sign_question_depth == 1 ? loop : nullptr);
    --sign_question_depth;
    return answer;
}

// SCONV(y) / d  ->  (y, 0)          64 bits; d lies beyond what y's type reaches
STEP div_beyond_range(NODE *&n, INT65 d, struct LOOP *loop) {
    const NODE *x = n->left;
    if (n->type->size <= tp->int_type()->size || x->op != SCONV || !same_numbers(x->type, n->type))
        return NO_STEP;
    TYPE *from = x->left->type;
    if (!is_int_type(from) || from->is_bool() || from->size > tp->int_type()->size ||
        !values_fit(from, n->type))
        return NO_STEP;
    INT65 reach = from->is_unsigned() ? type_mask(from) : -int_type_min(from);
    if (magnitude(d) <= reach || !RULE("DIV: SCONV(y) / d -> (y, 0), d out of reach")) return NO_STEP;
    n = constant_after_operands(n, INT65(0), loop);
    return DONE;
}

// (a + c) / d  ->  a/d + c/d         signed, d > 0 divides every value of a, c >= 0, the dividend is not negative
STEP div_split_sum(NODE *&n, INT65 d, int non_negative, struct LOOP *loop) {
    NODE *sum = n->left;
    if (!is_signed_int(n->type) || sum->op != PLUS || !has_numbers_of(sum, n) || !is_icon(sum->right))
        return NO_STEP;
    NODE *a = sum->left;
    INT65 c = operand_value(sum->right, n);
    if (!d.is_positive() || c.is_negative() || !values_fit(a->type, n->type)) return NO_STEP;
    INT65 factor = max_ICON_factor(a, loop, 0);
    if (factor / d * d != factor) return NO_STEP;
    // the sum of a multiple and c did not pass the greatest value when it is not negative
    if (!non_negative && !dividend_is_non_negative(sum, loop)) return NO_STEP;
    if (!RULE("DIV: (a + c) / d -> a/d + c/d, d divides a")) return NO_STEP;
    TYPE *type = n->type;
    LS *scope = n->scope;
    sum->left = nullptr;
    erase_tree(sum);
    n->left = a;
    n = simp_new(PLUS, simp_node(n, loop), new_ICON(c / d, type, scope), type, scope, loop);
    return DONE;
}

// (x * c) / d  ->  x * (c/d)         signed, the product does not overflow, d divides c; also under a negation
STEP div_product(NODE *&n, INT65 d, struct LOOP *loop) {
    bool negative = is_exact_negation(n->left, n, loop);
    NODE *product = negative ? n->left->left : n->left;
    if (!is_signed_int(n->type) || product->op != MULT || !has_numbers_of(product, n) ||
        !is_icon(product->right))
        return NO_STEP;
    INT65 c = operand_value(product->right, n), q = c / d;
    if (q * d != c || !values_fit(product->left->type, n->type) || expr_product_may_overflow(product, loop))
        return NO_STEP;
    if (negative) q = -q;
    if (truncate_to_type(q, n->type) != q || !RULE("DIV: (x * c) / d -> x * (c/d)")) return NO_STEP;
    NODE *x = product->left;
    TYPE *type = n->type;
    LS *scope = n->scope;
    product->left = nullptr;
    erase_tree(n);
    n = simp_new(MULT, x, new_ICON(q, type, scope), type, scope, loop);
    return DONE;
}

// x / 2^t  ->  x >> t         x / -2^t  ->  -(x >> t)         x not negative, or no remainder
STEP div_by_power_of_two(NODE *&n, INT65 d, int non_negative, struct LOOP *loop) {
    INT65 rest = magnitude(d);
    if (!rest.is_power_of_2()) return NO_STEP;
    int t = rest.log2();
    NODE *x = n->left;
    TYPE *type = n->type;
    bool known = type->is_unsigned() || non_negative ||
                 (values_fit(x->type, type) && dividend_is_non_negative(x, loop)) ||
                 integer_DIV_is_exact(n, loop);
    if (!known || !RULE("DIV: x / 2^t -> x >> t")) return NO_STEP;
    LS *scope = n->scope;
    x = in_type(type, keep_left(n), loop);
    n = simp_new(SRL, x, new_ICON(INT65(t), tp->int_type(), scope), type, scope, loop);
    if (d.is_negative()) n = negated(n, type, loop);
    return DONE;
}

} // namespace

NODE *simp_DIV_by_ICON(NODE *n, int non_negative, struct LOOP *loop) {
    if (n->op != DIV || !is_int_type(n->type) || n->type->is_bool() || !is_icon(n->right) || is_icon(n->left))
        return n;
    if (!is_int_type(n->left->type)) return n;
    INT65 d = operand_value(n->right, n);
    bool is_signed = is_signed_int(n->type);
    if (d == INT65(1) || (is_signed && d == INT65(-1))) {
        if (!RULE("DIV: x / 1 -> x, x / -1 -> -x")) return n;
        n->op = MULT;
        return simp_node(n, loop);
    }
    if (d.is_zero() || d == type_mask(n->type)) return n;
    if (div_beyond_range(n, d, loop) || div_split_sum(n, d, non_negative, loop) || div_product(n, d, loop))
        return n;
    div_by_power_of_two(n, d, non_negative, loop);
    return n;
}

NODE *simp_DIV(NODE *n, int non_negative, struct LOOP *loop) {
    if (div_by_FCON(n, loop) == DONE) return n;
    if (!is_int_type(n->type) || n->type->is_bool() || is_icon_of(n->right, INT65(0))) return n;
    if (!is_int_type(n->left->type) || !is_int_type(n->right->type)) return n;
    if (div_trivial(n, loop) == DONE) return n;
    if (!is_signed_int(n->type)) return simp_DIV_by_ICON(n, non_negative, loop);
    using RULE_FN = STEP (*)(NODE *&, struct LOOP *);
    for (RULE_FN rule : {div_negations, div_negative_ICON, div_common_factors}) switch (rule(n, loop)) {
        case DONE: return n;
        case AGAIN: return simp_node(n, loop);
        case NO_STEP: break;
        }
    return simp_DIV_by_ICON(n, non_negative, loop);
}

// ---------------------------------------------------------------------------------------------------------
// remainders
// ---------------------------------------------------------------------------------------------------------

namespace {

// x % -y -> x % y        -x % y -> -(x % y), x never the least value
STEP mod_negations(NODE *&n, struct LOOP *loop) {
    TYPE *type = n->type;
    if (is_negation(n->right, n) && values_fit(n->right->left->type, type) && RULE("MOD: x % -y -> x % y")) {
        n->right = in_type(type, keep_left(n->right), loop);
        return AGAIN;
    }
    if (!is_exact_negation(n->left, n, loop) || !RULE("MOD: -x % y -> -(x % y)")) return NO_STEP;
    n->left = in_type(type, keep_left(n->left), loop);
    n = negated(simp_node(n, loop), type, loop);
    return DONE;
}

// x % 1 -> (x, 0)
STEP mod_by_one(NODE *&n, struct LOOP *loop) {
    if (!is_icon_of(n->right, INT65(1)) || !RULE("MOD: x % 1 -> (x, 0)")) return NO_STEP;
    n = constant_after_operands(n, INT65(0), loop);
    return DONE;
}

// x % c  ->  x          every value of x lies between -|c| and |c|; a remainder by c itself too
STEP mod_of_small(NODE *&n, struct LOOP *loop) {
    NODE *x = n->left;
    INT65 c = magnitude(operand_value(n->right, n));
    if (!values_fit(x->type, n->type)) return NO_STEP;
    bool repeated = x->op == MOD && has_numbers_of(x, n) && is_icon(x->right) &&
                    magnitude(operand_value(x->right, x)) == c && !c.is_zero();
    if (!repeated) {
        if (tree_contains_op(x, MOD)) return NO_STEP;
        if (calculate_minval_for_tree(x, loop) <= -c || calculate_maxval_for_tree(x, loop) >= c)
            return NO_STEP;
    }
    if (repeated ? !RULE("MOD: (x % c) % c -> x % c") : !RULE("MOD: x % c -> x, |x| < |c|")) return NO_STEP;
    TYPE *type = n->type;
    n = in_type(type, keep_left(n), loop);
    return DONE;
}

// ((x % c) + d) % c  ->  (x + d % c) % c         x, d not negative, no sum wraps, c > 1
STEP mod_of_sum(NODE *&n, struct LOOP *loop) {
    NODE *sum = n->left;
    INT65 c = operand_value(n->right, n);
    if (sum->op != PLUS || !has_numbers_of(sum, n) || !is_icon(sum->right) || c <= INT65(1)) return NO_STEP;
    NODE *inner = sum->left;
    if (inner->op != MOD || !has_numbers_of(inner, n) || !is_icon(inner->right) ||
        operand_value(inner->right, n) != c)
        return NO_STEP;
    NODE *x = inner->left;
    INT65 d = operand_value(sum->right, n), rest = d % c;
    if (d.is_negative() || !values_fit(x->type, n->type) || !tree_is_non_negative(x, loop)) return NO_STEP;
    if (sum_may_overflow(c - INT65(1), d, n->type) ||
        sum_may_overflow(calculate_maxval_for_tree(x, loop), rest, n->type))
        return NO_STEP;
    if (!RULE("MOD: ((x % c) + d) % c -> (x + d) % c")) return NO_STEP;
    sum->left = in_type(n->type, keep_left(inner), loop);
    sum->right->u.lval = truncate_to_type(rest, sum->right->type);
    n->left = simp_node(sum, loop);
    return AGAIN;
}

} // namespace

NODE *simp_MOD(NODE *n, struct LOOP *loop) {
    if (!is_int_type(n->type) || n->type->is_bool() || is_icon_of(n->right, INT65(0))) return n;
    if (!is_int_type(n->left->type) || !is_int_type(n->right->type)) return n;
    for (;;) {
        if (div_trivial(n, loop)) return n;
        STEP step = NO_STEP;
        if (is_signed_int(n->type)) {
            step = mod_negations(n, loop);
            if (!step) step = div_negative_ICON(n, loop);
        }
        if (!step && is_icon(n->right)) {
            step = mod_by_one(n, loop);
            if (!step) step = mod_of_small(n, loop);
            if (!step) step = mod_of_sum(n, loop);
        }
        if (step != AGAIN) return n;
    }
}

// ---------------------------------------------------------------------------------------------------------
// shifts
// ---------------------------------------------------------------------------------------------------------

namespace {

int size_of(const NODE *n) { return int(n->type->size); }

// A shift by a constant that is at least 0: the count, at most 128; else -1.
int constant_count(const NODE *n) {
    if (!is_icon(n->right) || n->right->u.lval.is_negative()) return -1;
    return std::min(n->right->u.lval, INT65(128)).low_i32();
}

void set_count(NODE *shift, int count) {
    NODE *fresh = new_ICON(INT65(count), tp->int_type(), shift->scope);
    erase_node(shift->right);
    shift->right = fresh;
}

// (T)x << k  ->  x << k          the conversion keeps all bits
STEP shift_conversion(NODE *&n, int, struct LOOP *) {
    NODE *x = n->left;
    if (n->op != SLL || x->op != SCONV || !in_ring(x, n) || !in_ring(x->left, n) || x->left->type->is_ptr())
        return NO_STEP;
    if (is_bitfield(x->left) || !RULE("SLL: SCONV(x) << k -> x << k")) return NO_STEP;
    n->left = keep_left(x);
    return AGAIN;
}

// x << 0, x >> 0 -> x      x << k, unsigned x >> k -> (x, 0), k >= size      signed x >> k -> x >> (size-1)
STEP shift_extreme(NODE *&n, int k, struct LOOP *loop) {
    TYPE *type = n->type;
    if (k == 0) {
        if (!RULE("SLL, SRL: x << 0 -> x")) return NO_STEP;
        n = in_type(type, keep_left(n), loop);
        return DONE;
    }
    const TYPE *from = n->left->type;
    bool narrow = n->op == SRL && from->is_unsigned() && from->size < type->size && k >= int(from->size);
    if (k < size_of(n) && !narrow) return NO_STEP;
    if (n->op == SRL && !type->is_unsigned() && !narrow) {
        if (!RULE("SRL: signed x >> k -> x >> (size-1), k >= size")) return NO_STEP;
        set_count(n, size_of(n) - 1);
        n = simp_node(n, loop);
        return DONE;
    }
    if (!RULE("SLL, SRL: x << k -> (x, 0), k >= size")) return NO_STEP;
    n = constant_after_operands(n, INT65(0), loop);
    return DONE;
}

// (x >> k1) >> k2 -> x >> (k1+k2)         (x << k1) << k2 -> x << (k1+k2)
STEP shift_twice(NODE *&n, int k, struct LOOP *) {
    NODE *inner = n->left;
    if (inner->op != n->op || !in_ring(inner, n) || (n->op == SRL && !has_numbers_of(inner, n)))
        return NO_STEP;
    int k1 = constant_count(inner);
    if (k1 < 0 || !RULE("SLL, SRL: (x << k1) << k2 -> x << (k1+k2)")) return NO_STEP;
    n->left = keep_left(inner);
    set_count(n, k + k1);
    return AGAIN;
}

// (x >> k1) << k2  ->  (x & (-1 << k1)) << (k2-k1)       k1 < k2
//                  ->  (x >> (k1-k2)) & (-1 << k2)       k1 >= k2
STEP shift_pair(NODE *&n, int k2, struct LOOP *loop) {
    NODE *inner = n->left;
    if (n->op != SLL || inner->op != SRL || !in_ring(inner, n)) return NO_STEP;
    int k1 = constant_count(inner);
    if (k1 < 0 || k1 >= size_of(n) || k2 >= size_of(n)) return NO_STEP;
    if (!RULE("SLL: (x >> k1) << k2 -> mask and one shift")) return NO_STEP;
    TYPE *type = n->type, *inner_type = inner->type;
    LS *scope = n->scope;
    if (k1 < k2) {
        NODE *x = in_type(inner_type, keep_left(inner), loop);
        n->left = simp_new(ANDB, x, new_ICON(INT65(-1) << k1, inner_type, scope), inner_type, scope, nullptr);
        set_count(n, k2 - k1);
        return AGAIN;
    }
    set_count(inner, k1 - k2);
    n->left = nullptr;
    erase_tree(n);
    n = simp_new(ANDB, simp_node(inner, nullptr), new_ICON(INT65(-1) << k2, type, scope), type, scope,
                 nullptr);
    return DONE;
}

// unsigned (x * 2^p) >> k, (x << p) >> k  ->  x shifted by |k-p|, & (-1 << p) >> k
STEP shift_back(NODE *&n, int k, struct LOOP *loop) {
    NODE *inner = n->left;
    TYPE *type = n->type;
    if (n->op != SRL || !type->is_unsigned() || !has_numbers_of(inner, n) || k >= size_of(n)) return NO_STEP;
    int p = scale_of(inner);
    if (p <= 0 || !is_int_type(inner->left->type)) return NO_STEP;
    if (!RULE("SRL: unsigned (x << p) >> k -> one shift and a mask")) return NO_STEP;
    LS *scope = n->scope;
    INT65 mask = truncate_to_type(INT65(-1) << p, type) >> k;
    n->left = nullptr;
    erase_tree(n);
    NODE *x = in_type(type, keep_left(inner), loop);
    if (k != p)
        x = simp_new(k > p ? SRL : SLL, x, new_ICON(INT65(std::abs(k - p)), tp->int_type(), scope), type,
                     scope, loop);
    n = simp_new(ANDB, x, new_ICON(mask, type, scope), type, scope, loop);
    return DONE;
}

// (x * c) >> k  ->  (x * (c >> t)) >> (k-t)      t zeros end c, t < k; signed, the product does not overflow
//               ->  x * (c >> k)                 t >= k
STEP shift_product(NODE *&n, int k, struct LOOP *loop) {
    NODE *product = n->left;
    if (n->op != SRL || !is_signed_int(n->type) || product->op != MULT || !has_numbers_of(product, n) ||
        !is_icon(product->right) || k >= size_of(n))
        return NO_STEP;
    INT65 c = operand_value(product->right, n);
    int t = c.is_positive() ? c.count_trailing_zeros() : 0;
    if (t == 0 || !values_fit(product->left->type, n->type) || expr_product_may_overflow(product, loop))
        return NO_STEP;
    if (!RULE("SRL: (x * c) >> k -> (x * (c >> t)) >> (k-t)")) return NO_STEP;
    int by = std::min(t, k);
    product->right->u.lval = truncate_to_type(c >> by, product->right->type);
    product = simp_node(product, loop);
    n->left = product;
    set_count(n, k - by);
    return AGAIN;
}

// (x & c) >> k -> (x >> k) & (c >> k), also | and ^
// (x + c) << k -> (x << k) + (c << k), also -, &, | and ^; a sum when c << k is exact
STEP shift_through(NODE *&n, int k, struct LOOP *loop) {
    NODE *inner = n->left;
    bool bitwise = inner->op == ANDB || inner->op == ORB || inner->op == XORB;
    bool sum = n->op == SLL && (inner->op == PLUS || inner->op == MINUS);
    if ((!bitwise && !sum) || !in_ring(inner, n) || !is_icon(inner->right) || k >= size_of(n)) return NO_STEP;
    if (inner->type->is_ptr() || inner->left->type->is_ptr() || !is_int_type(inner->left->type))
        return NO_STEP;
    if (n->op == SRL && !has_numbers_of(inner, n)) return NO_STEP;
    TYPE *type = n->type;
    INT65 c = operand_value(inner->right, n);
    INT65 moved = n->op == SLL ? c << k : c >> k;
    if (sum && truncate_to_type(moved, type) != moved) return NO_STEP;
    if (n->op == SLL ? !RULE("SLL: (x op c) << k -> (x << k) op (c << k)")
                     : !RULE("SRL: (x & c) >> k -> (x >> k) & (c >> k)"))
        return NO_STEP;
    LS *scope = n->scope;
    int op = inner->op;
    n->left = in_type(type, keep_left(inner), loop);
    n = simp_new(op, simp_node(n, loop), new_ICON(moved, type, scope), type, scope, loop);
    return DONE;
}

// x << k  ->  x * 2^k           the product does not overflow
STEP shift_to_product(NODE *&n, int k, struct LOOP *loop) {
    if (n->op != SLL || mini_mult || k >= size_of(n) - (n->type->is_unsigned() ? 0 : 1)) return NO_STEP;
    NODE *x = n->left;
    if (!values_fit(x->type, n->type)) return NO_STEP;
    NODE *factor = new_ICON(INT65(1) << k, n->type, n->scope);
    NODE *product = maketree(MULT, x, factor, n->type, n->scope);
    if (expr_product_may_overflow(product, loop) || !RULE("SLL: x << k -> x * 2^k, no overflow")) {
        product->left = nullptr;
        erase_tree(product);
        return NO_STEP;
    }
    n->left = nullptr;
    erase_tree(n);
    n = simp_node(product, loop);
    return DONE;
}

} // namespace

NODE *simp_shift(NODE *n, struct LOOP *loop) {
    using RULE_FN = STEP (*)(NODE *&, int, struct LOOP *);
    constexpr RULE_FN rules[] = {shift_extreme, shift_conversion, shift_twice,   shift_pair,
                                 shift_back,    shift_product,    shift_through, shift_to_product};
    if (!is_int_type(n->type) || n->type->is_bool() || !is_int_type(n->left->type)) return n;
    for (;;) {
        int k = constant_count(n);
        if (k < 0) return n;
        STEP step = NO_STEP;
        for (RULE_FN rule : rules)
            if ((step = rule(n, k, loop))) break;
        if (step != AGAIN) return n;
    }
}
