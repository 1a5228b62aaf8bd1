#include "OPT5/symfactor.h"

#include <algorithm>
#include <optional>

#include "OPT5/bbutils.h"
#include "OPT5/ddloop.h"
#include "OPT5/fold.h"
#include "OPT5/symbolic.h"
#include "OPT5/tree.h"
#include "OPT5/typefacts.h"
#include "typepkg/type_pkg.h"

unsigned factor_depth_hits = 0;

namespace {

bool is_integer(const TYPE *type) { return type && (type->is_integral() || type->is_enum()); }

INT65 magnitude(INT65 v) { return v.is_negative() ? -v : v; }

// The power of two in a factor: what wrapping leaves of it. Zero stays zero.
INT65 power_part(INT65 factor) {
    return factor.is_zero() ? factor : INT65(1) << extract_power_of_2_factor(factor);
}

// Nothing above the type's sign bit is worth knowing.
INT65 limited(INT65 factor, const TYPE *type) {
    INT65 top = INT65(1) << (int(type->size) - 1);
    return (factor % top).is_zero() ? (factor.is_zero() ? factor : top) : factor;
}

INT65 product(INT65 a, INT65 b) {
    int overflow = 0;
    INT65 p = long_multiply(a, b, &overflow);
    if (!overflow) return p;
    int exponent = extract_power_of_2_factor(a) + extract_power_of_2_factor(b);
    return INT65(1) << std::min(exponent, 63);
}

bool contains(TYPE *type, VALUE_RANGE r) {
    return r.low >= int_type_min(type) && r.high <= int_type_max(type) && !type->is_bool();
}

// The work left of the query that is under way; the outermost one starts anew.
constexpr unsigned FACTOR_WORK = 64;
int depth = 0;
unsigned work = 0;

struct FACTORS {
    struct LOOP *loop;
    int flag;

    INT65 factor(const NODE *n);
    INT65 plain(const NODE *n);
    INT65 in_type(const NODE *n, TYPE *type);
    INT65 common(const NODE *a, const NODE *b, TYPE *type) {
        return long_gcd(in_type(a, type), in_type(b, type));
    }
    INT65 of_shift(const NODE *n);
    // The factor of a result that wraps unless the question is answered with no.
    template <class F> INT65 unless_wrapping(INT65 f, F may_wrap) {
        return power_part(f) == f || !may_wrap() ? f : power_part(f);
    }
};

// Of an operand as what it is in the operator's type.
INT65 FACTORS::in_type(const NODE *n, TYPE *type) {
    if (!is_integer(n->type) || type->is_bool()) return INT65(1);
    INT65 f = factor(n);
    if (n->type->size < type->size && n->type->is_unsigned()) return f;
    if (n->type->is_unsigned() == type->is_unsigned() && n->type->size <= type->size) return f;
    return unless_wrapping(f, [&] { return !contains(type, calculate_range_for_tree(n, loop)); });
}

// x << c has c zeros more at its end, x >> c those less that it had
INT65 FACTORS::of_shift(const NODE *n) {
    INT65 c = n->right->op == ICON ? n->right->u.lval : INT65(-1);
    if (c.is_negative() || c >= INT65(int(n->type->size))) return INT65(1);
    INT65 f = in_type(n->left, n->type), power = INT65(1) << c.low_i32();
    if (n->op == SRL) return (f % power).is_zero() ? f / power : INT65(1);
    return unless_wrapping(product(f, power), [&] {
        VALUE_RANGE r = calculate_range_for_tree(n->left, loop);
        int overflow = 0;
        VALUE_RANGE shifted = {long_multiply(r.low, power, &overflow),
                               long_multiply(r.high, power, &overflow)};
        return overflow || !contains(n->type, r) || !contains(n->type, shifted);
    });
}

INT65 FACTORS::plain(const NODE *n) {
    TYPE *type = n->type;
    switch (n->op) {
    case ICON: return magnitude(n->u.lval);
    case NAME: return flag ? max_asserted_ICON_factor(n, loop) : INT65(1);
    case MULT:
        return unless_wrapping(product(in_type(n->left, type), in_type(n->right, type)),
                               [&] { return expr_product_may_overflow(n, loop); });
    case PLUS:
    case MINUS:
        return unless_wrapping(common(n->left, n->right, type),
                               [&] { return expr_sum_may_overflow(n, loop); });
    case UMINUS: return type->is_unsigned() ? power_part(in_type(n->left, type)) : in_type(n->left, type);
    case ABS:
    case COMMAOP:
    case IDENTITY:
    case SCONV:
    case SSA_USE:
    case SSA_DEF:
    case SSA_MU:
    case SSA_CHI: return in_type(n->op == COMMAOP ? n->right : n->left, type);
    case SLL:
    case SRL: return of_shift(n);
    case QUEST: return n->right->op == COLON ? common(n->right->left, n->right->right, type) : INT65(1);
    case ANDB: return std::max(power_part(in_type(n->left, type)), power_part(in_type(n->right, type)));
    case ORB:
    case XORB: return power_part(common(n->left, n->right, type));
    case MOD:
        // a multiple of f leaves a multiple of f by a divisor that is one too
        return n->right->op == ICON && n->right->u.lval.is_positive() ? common(n->left, n->right, type)
                                                                      : INT65(1);
    case DIV: {
        INT65 f = in_type(n->left, type), c = n->right->op == ICON ? n->right->u.lval : INT65(0);
        bool exact = c.is_positive() && truncate_to_type(c, type) == c && (f % c).is_zero();
        return exact ? f / c : INT65(1);
    }
    default: return INT65(1);
    }
}

INT65 FACTORS::factor(const NODE *n) {
    if (!is_integer(n->type) || n->type->is_bool()) return INT65(1);
    if (depth == 0) work = FACTOR_WORK;
    if (work == 0 || depth > FACTOR_DEPTH) {
        ++factor_depth_hits;
        return n->op == ICON ? magnitude(n->u.lval) : INT65(1);
    }
    struct LEVEL {
        LEVEL() { ++depth, --work; }
        ~LEVEL() { --depth; }
    } level;
    return limited(plain(n), n->type);
}

} // namespace

INT65 max_ICON_factor(const NODE *n, struct LOOP *loop, int flag) {
    FACTORS factors = {loop, flag};
    return factors.factor(n);
}

// What is asserted of variables is not kept yet.
INT65 max_asserted_ICON_factor(const NODE *n, struct LOOP *) {
    return n->op == ICON && is_integer(n->type) ? magnitude(n->u.lval) : INT65(1);
}

// --- coefficients ---

namespace {

constexpr int COEF_DEPTH = 32;

int shift_of(const NODE *n) {
    bool plain = n->op == SLL && n->right->op == ICON && !n->right->u.lval.is_negative() &&
                 n->right->u.lval < INT65(int(n->type->size) - 1);
    return plain ? n->right->u.lval.low_i32() : 0;
}

bool is_sum(const NODE *n) { return n->op == PLUS || n->op == MINUS; }

// Whether a conversion keeps every value, so that a coefficient of the operand is one of the result.
bool converts_idly(const NODE *n) {
    if (n->op != SCONV) return false;
    const TYPE *t = n->type, *s = n->left->type;
    if (!is_integer(t) || !is_integer(s) || t->is_bool()) return false;
    return s->is_unsigned() ? t->size > s->size : t->is_signed() && t->size >= s->size;
}

INT65 coef(const NODE *n, int level) {
    if (level > COEF_DEPTH || !n->type) return INT65(1);
    INT65 result(0); // gcd of the terms so far
    for (; is_sum(n); n = n->left) {
        result = long_gcd(result, coef(n->right, level + 1));
        if (result == INT65(1)) return result;
    }
    INT65 term(1);
    if (n->op == ICON) term = magnitude(n->u.lval);
    else if (n->op == UMINUS || converts_idly(n)) term = coef(n->left, level + 1);
    else if (n->op == MULT) term = product(coef(n->left, level + 1), coef(n->right, level + 1));
    else if (int k = shift_of(n)) term = product(coef(n->left, level + 1), INT65(1) << k);
    return long_gcd(result, term);
}

// Divides a term by a factor of its coefficient.
NODE *divided_term(NODE *n, INT65 d) {
    if (d == INT65(1)) return n;
    if (n->op == ICON) {
        n->u.lval = truncate_to_type(n->u.lval / d, n->type);
    } else if (n->op == UMINUS || n->op == SCONV) {
        n->left = div_ICON_coef(n->left, d);
    } else if (n->op == MULT) {
        INT65 share = long_gcd(max_ICON_coef(n->left), d);
        n->left = div_ICON_coef(n->left, share);
        n->right = div_ICON_coef(n->right, d / share);
    } else if (shift_of(n)) {
        INT65 share = long_gcd(max_ICON_coef(n->left), d);
        n->left = div_ICON_coef(n->left, share);
        n->right->u.lval -= INT65(power_of_2(d / share));
    }
    return n;
}

} // namespace

INT65 max_ICON_coef(const NODE *n) { return coef(n, 0); }

NODE *div_ICON_coef(NODE *tree, INT65 d) {
    if (d == INT65(1) || d.is_zero()) return tree;
    NODE **slot = &tree;
    for (; is_sum(*slot); slot = &(*slot)->left) (*slot)->right = div_ICON_coef((*slot)->right, d);
    *slot = divided_term(*slot, d);
    return tree;
}

INT65 max_ICON_delta(const NODE *n, struct LOOP *loop) {
    if (!is_integer(n->type)) return INT65::max();
    if (n->op == ICON || expr_is_constant(n)) return INT65(0);
    VALUE_RANGE r = calculate_range_for_tree(n, loop);
    INT65 width = r.high - r.low;
    bool narrow = n->left && is_integer(n->left->type) && n->left->type->size <= n->type->size;
    int overflow = 0;
    INT65 moved = INT65::max();
    if (narrow && (n->op == PLUS || n->op == MINUS) && n->right->op == ICON &&
        !expr_sum_may_overflow(n, loop))
        moved = max_ICON_delta(n->left, loop);
    else if (narrow && n->op == MULT && n->right->op == ICON && !expr_product_may_overflow(n, loop))
        moved = long_multiply(max_ICON_delta(n->left, loop), magnitude(n->right->u.lval), &overflow);
    return overflow ? width : std::min(width, moved);
}

// --- divisibility ---

namespace {

constexpr int RESIDUE_DEPTH = 16;

// v modulo c, from 0 up
INT65 residue(INT65 v, INT65 c) {
    INT65 r = v % c;
    return r.is_negative() ? r + c : r;
}

// The one residue of all values modulo c > 0, when it is known. Wrapping keeps it if c is a power of two that divides
// the type's modulus.
std::optional<INT65> residue_of(const NODE *n, INT65 c, struct LOOP *loop, int level) {
    if (!is_integer(n->type) || n->type->is_bool() || level > RESIDUE_DEPTH) return {};
    if (n->op == ICON) return residue(n->u.lval, c);
    INT65 factor = max_ICON_factor(n, loop, 1);
    if (factor.is_zero() || (factor % c).is_zero()) return INT65(0);
    bool survives = c.is_power_of_2() && c <= INT65(1) << (int(n->type->size) - 1);
    auto part = [&](const NODE *p) -> std::optional<INT65> {
        bool keeps = is_integer(p->type) && (contains(n->type, calculate_range_for_tree(p, loop)) ||
                                             (survives && c <= INT65(1) << (int(p->type->size) - 1)));
        return keeps ? residue_of(p, c, loop, level + 1) : std::nullopt;
    };
    switch (n->op) {
    case PLUS:
    case MINUS: {
        if (!survives && expr_sum_may_overflow(n, loop)) return {};
        auto a = part(n->left), b = a ? part(n->right) : a;
        if (!b) return {};
        return residue(n->op == PLUS ? *a + *b : *a - *b, c);
    }
    case MULT: {
        if (!survives && expr_product_may_overflow(n, loop)) return {};
        auto a = part(n->left), b = a ? part(n->right) : a;
        int overflow = 0;
        INT65 p = b ? long_multiply(*a, *b, &overflow) : INT65(0);
        return b && !overflow ? std::optional(residue(p, c)) : std::nullopt;
    }
    case SCONV: return part(n->left);
    default: return {};
    }
}

} // namespace

bool constant_divides_expr(INT65 c, TYPE *type, const NODE *n, struct LOOP *loop) {
    if (c.is_zero() || !is_integer(type) || !is_integer(n->type)) return false;
    FACTORS factors = {loop, 1};
    INT65 f = factors.in_type(n, type);
    return (f % magnitude(c)).is_zero();
}

INT65 expr_modulo_constant(const NODE *n, TYPE *type, INT65 c, struct LOOP *loop) {
    INT65 unknown(-1);
    if (c.is_zero() || !is_integer(type) || !is_integer(n->type)) return unknown;
    VALUE_RANGE r = calculate_range_for_tree(n, loop);
    if (!contains(type, r)) return unknown;
    if (r.low == r.high) return r.low % c;
    auto known = residue_of(n, magnitude(c), loop, 0);
    if (!known) return unknown;
    if (known->is_zero() || !r.low.is_negative()) return *known;
    return r.high.is_negative() ? *known - magnitude(c) : unknown;
}

bool expr_cannot_divide_expr(const NODE *divisor, const NODE *dividend, struct LOOP *loop) {
    if (!is_integer(divisor->type) || !is_integer(dividend->type)) return false;
    VALUE_RANGE a = calculate_range_for_tree(dividend, loop), b = calculate_range_for_tree(divisor, loop);
    bool non_zero = a.low.is_positive() || a.high.is_negative();
    if (b.low == b.high && b.low.is_zero()) return true;
    INT65 greatest = std::max(magnitude(a.low), magnitude(a.high));
    if (non_zero && (b.low > greatest || b.high < -greatest)) return true;
    // what divides the divisor must divide the dividend
    INT65 f = max_ICON_factor(divisor, loop, 1);
    if (f <= INT65(1)) return false;
    auto left = residue_of(dividend, f, loop, 0);
    return left && !left->is_zero();
}

bool integer_DIV_is_exact(const NODE *div, struct LOOP *loop) {
    if (div->op != DIV || div->right->op != ICON || !is_integer(div->type) || !is_integer(div->left->type))
        return false;
    INT65 c = truncate_to_type(div->right->u.lval, div->type);
    if (c.is_zero()) return false;
    if (c == INT65(1) || (c == INT65(-1) && div->type->is_signed())) return true;
    if (div->type->is_signed() && c == int_type_min(div->type)) return false;
    return constant_divides_expr(c, div->type, div->left, loop);
}
