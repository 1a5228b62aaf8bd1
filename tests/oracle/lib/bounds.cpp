// What value queries say of a tree, against all the values that it has.
#include "tests/oracle/lib/check.h"

#include "OPT5/infix.h"
#include "OPT5/optab.h"
#include "OPT5/simp3.h"
#include "OPT5/simp_known.h"
#include "OPT5/symbolic.h"
#include "OPT5/symfactor.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "OPT5/typefacts.h"
#include "tests/oracle/lib/environments.h"
#include "typepkg/type_pkg.h"

std::map<int, unsigned long> bounds_asked;

namespace {

INT65 as_int65(uint64_t v, VK k) {
    return vk_is_signed(k) ? INT65((long long)(v)) : INT65((unsigned long long)(v));
}

const int moduli[] = {2, 3, 4, 8, 10};

// What is known of the bits of a tree as a value of some type.
struct KNOWN_BITS {
    VK kind;
    uint64_t ones, possible;
};

// The answers, asked once.
struct ANSWERS {
    INT65 least, greatest, ones, possible, factor;
    bool non_negative, positive, negative, zero, non_zero, power_of_2, one_or_0;
    bool result_fits, exact, not_equal = false, not_divisible = false; // about the operands
    bool not_value[3], divides[5];
    INT65 remainder[5];
    int sign, strict_sign;
    std::vector<TYPE *> fits;
    std::vector<KNOWN_BITS> converted;

    bool are_about_operands() const { return result_fits || exact || not_equal || not_divisible; }

    explicit ANSWERS(NODE *n) {
        least = calculate_minval_for_tree(n, nullptr);
        greatest = calculate_maxval_for_tree(n, nullptr);
        ones = find_known_ones(n, n->type);
        possible = find_known_zeros(n, n->type);
        if (n->op == ANDB) possible &= find_known_zeros_in_ANDB(n, nullptr);
        factor = max_ICON_factor(n, nullptr, 0);
        non_negative = tree_is_non_negative(n, nullptr);
        positive = tree_is_positive(n, nullptr);
        negative = tree_is_negative(n, nullptr);
        zero = tree_is_zero(n, nullptr);
        non_zero = tree_is_non_zero(n, nullptr);
        power_of_2 = positive_tree_is_power_of_2(n, nullptr);
        one_or_0 = returns_1_or_0(n);
        result_fits =
            n->op == MULT ? !expr_product_may_overflow(n, nullptr) : !expr_sum_may_overflow(n, nullptr);
        exact = n->op == DIV && integer_DIV_is_exact(n, nullptr);
        for (int k = 0; k < 3; k++) not_value[k] = tree_is_not_ivalue(n, INT65(k - 1), nullptr);
        for (int k = 0; k < 5; k++) {
            divides[k] = constant_divides_expr(INT65(moduli[k]), n->type, n, nullptr);
            remainder[k] = expr_modulo_constant(n, n->type, INT65(moduli[k]), nullptr);
        }
        sign = sign_of_integer_expression(n, nullptr, 0);
        strict_sign = sign_of_integer_expression(n, nullptr, 1);
        for (const SCALAR &s : world().integers) {
            if (value_fits_in_type(n, s.type, nullptr)) fits.push_back(s.type);
            converted.push_back({value_kind(s.type), find_known_ones(n, s.type).to_uint64(),
                                 find_known_zeros(n, s.type).to_uint64()});
        }
        if (number_of_operands[n->op] == 2 && n->op != QUEST && value_kind(n->left->type) != VK::none &&
            value_kind(n->right->type) != VK::none) {
            not_equal = tree_values_are_not_equal(n->left, n->right, nullptr);
            not_divisible = expr_cannot_divide_expr(n->right, n->left, nullptr);
        }
    }

    std::string wrong(INT65 v, VK kind) const {
        int bits = vk_bits(kind);
        if (v < least) return "less than calculate_minval_for_tree " + int65_to_decimal(least);
        if (v > greatest) return "greater than calculate_maxval_for_tree " + int65_to_decimal(greatest);
        INT65 word = v.truncate_unsigned(bits);
        INT65 known = ones.truncate_unsigned(bits);
        if ((word & known) != known) return "find_known_ones " + int65_to_hex(ones);
        if (!(word & ~possible.truncate_unsigned(bits)).is_zero())
            return "find_known_zeros " + int65_to_hex(possible);
        for (const KNOWN_BITS &as : converted) {
            unsigned ignored = 0;
            uint64_t mask = vk_bits(as.kind) == 64 ? ~0ull : (1ull << vk_bits(as.kind)) - 1;
            uint64_t bits = vk_convert(v.to_uint64(), kind, as.kind, &ignored) & mask;
            if ((as.ones & ~bits) || (bits & ~as.possible))
                return "known bits as a value of " + std::to_string(vk_bits(as.kind)) + " bits";
        }
        if (factor.is_zero() ? !v.is_zero() : !(v % factor).is_zero())
            return "max_ICON_factor " + int65_to_decimal(factor);
        if (non_negative && v.is_negative()) return "tree_is_non_negative";
        if (positive && !v.is_positive()) return "tree_is_positive";
        if (negative && !v.is_negative()) return "tree_is_negative";
        if (zero && !v.is_zero()) return "tree_is_zero";
        if (non_zero && v.is_zero()) return "tree_is_non_zero";
        if (power_of_2 && v.is_positive() && !v.is_power_of_2()) return "positive_tree_is_power_of_2";
        if (one_or_0 && v != INT65(0) && v != INT65(1)) return "returns_1_or_0";
        for (int k = 0; k < 3; k++)
            if (not_value[k] && v == INT65(k - 1)) return "tree_is_not_ivalue " + std::to_string(k - 1);
        for (int k = 0; k < 5; k++) {
            INT65 rest = v % INT65(moduli[k]);
            if (divides[k] && !rest.is_zero()) return "constant_divides_expr " + std::to_string(moduli[k]);
            if (remainder[k] != INT65(-1) && rest != remainder[k])
                return "expr_modulo_constant " + std::to_string(moduli[k]) + " says " +
                       int65_to_decimal(remainder[k]);
        }
        if (wrong_sign(strict_sign, v, true)) return "sign_of_integer_expression, strict";
        if (wrong_sign(sign, v, false)) return "sign_of_integer_expression";
        for (TYPE *type : fits)
            if (type->is_unsigned() ? !v.fits_unsigned(int(type->size)) : !v.fits_signed(int(type->size)))
                return "value_fits_in_type " + type2text(type);
        return "";
    }
    static bool wrong_sign(int sign, INT65 v, bool strict) {
        switch (sign) {
        case 1: return strict ? !v.is_positive() : v.is_negative();
        case -1: return strict ? !v.is_negative() : v.is_positive();
        case 0: return !v.is_zero();
        default: return false;
        }
    }
};

bool result_fits(int op, INT65 a, INT65 b, VK kind) {
    auto exact = [](INT65 v) { return __int128(v.to_uint64()) - (v.is_negative() ? __int128(1) << 64 : 0); };
    __int128 x = exact(a), y = exact(b);
    bool is_signed = vk_is_signed(kind);
    if (op == MULT && !is_signed) {
        unsigned __int128 q = static_cast<unsigned __int128>(x) * static_cast<unsigned __int128>(y);
        return q == vk_cut(uint64_t(q), kind);
    }
    __int128 r = op == MULT ? x * y : op == PLUS ? x + y : op == MINUS ? x - y : -x;
    uint64_t cut = vk_cut(uint64_t(r), kind);
    return r == (is_signed ? __int128(int64_t(cut)) : __int128(cut));
}

// What the answers say of operands with these values.
std::string wrong_of_operands(const ANSWERS &answers, const NODE *n, const RESULT &a, const RESULT &b,
                              VK kind) {
    unsigned ignored = 0;
    INT65 x = as_int65(vk_convert(a.value, a.kind, kind, &ignored), kind),
          y = as_int65(vk_convert(b.value, b.kind, kind, &ignored), kind);
    if (answers.result_fits && !result_fits(n->op, x, y, kind)) return "an overflow is denied";
    if (answers.exact && !(x % y).is_zero()) return "integer_DIV_is_exact";
    if (vk_is_float(a.kind) || vk_is_float(b.kind) || !n->right) return "";
    bool wide = vk_bits(a.kind) > 32 || vk_bits(b.kind) > 32;
    bool equal = wide ? a.value == b.value : uint32_t(a.value) == uint32_t(b.value);
    if (answers.not_equal && equal) return "tree_values_are_not_equal";
    INT65 dividend = as_int65(a.value, a.kind), divisor = as_int65(b.value, b.kind);
    if (answers.not_divisible && !divisor.is_zero() && (dividend % divisor).is_zero())
        return "expr_cannot_divide_expr";
    return "";
}

std::string bounds_error(NODE *tree, const CHECK &check, std::string *environment) {
    LAYOUT &layout = world().layout;
    CODE code = translate(tree, layout);
    VK kind = code.kind;
    if (!code.refused.empty() || kind == VK::none || vk_is_float(kind)) {
        oracle_counts.skipped++;
        return "";
    }
    size_t nodes = nodes_in_use();
    std::string text = tree2infix(tree);
    ANSWERS answers(tree);
    if (nodes_in_use() != nodes) return "a query made or lost nodes";
    if (tree2infix(tree) != text) return "a query changed the tree";
    for_each_node(tree, [](const NODE *n) { bounds_asked[n->op]++; });
    bool operands = answers.are_about_operands() && !code.has_effects && !code.writes;
    CODE left = operands ? translate(tree->left, layout) : CODE(),
         right = operands ? translate(tree->right, layout) : CODE();
    bool wraps = check.wraps || oracle_options.wraps;
    ENVIRONMENTS e(code, check.seed, check.samples, check.enumerate_bits);
    RESULT r, a, b;
    for (uint64_t n = 0; e.next(); n++) {
        run(code, e.memory, check.seed + n, r);
        oracle_counts.environments++;
        if (r.trap != TRAP::none || (r.undefined & (wraps ? unsigned(UNDEF_CONVERT) : ~0u))) {
            oracle_counts.undefined++;
            continue;
        }
        INT65 v = as_int65(r.value, kind);
        std::string error = answers.wrong(v, kind);
        if (error.empty() && operands) {
            run(left, e.memory, check.seed + n, a);
            run(right, e.memory, check.seed + n, b);
            error = wrong_of_operands(answers, tree, a, b, kind);
        }
        if (!error.empty()) {
            *environment = e.text();
            return "value " + vk_text(r.value, kind) + ": " + error;
        }
    }
    return "";
}

} // namespace

std::string check_bounds(NODE *tree, const CHECK &check) {
    return check_property(
        tree,
        [&](const NODE *t, std::string *environment) {
            return bounds_error(const_cast<NODE *>(t), check, environment);
        },
        check);
}
