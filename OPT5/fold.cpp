#include "OPT5/fold.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "OPT5/coerce.h"
#include "OPT5/flags.h"
#include "OPT5/optab.h"
#include "OPT5/rules.h"
#include "OPT5/simp1.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "support/fatal.h"
#include "support/fps_text.h"

// --- values in types ---

INT65 truncate_to_type(INT65 v, TYPE *type) {
    QL_ASSERT(TYPE_IS_INT(type));
    int bits = static_cast<int>(type->size);
    return type->is_unsigned() ? v.truncate_unsigned(bits) : v.truncate_signed(bits);
}

INT65 sign_extend_by_type_size(INT65 v, TYPE *type) {
    QL_ASSERT(TYPE_IS_INT(type));
    int bits = static_cast<int>(type->size);
    return v.bit(bits - 1) ? v | INT65(-1) << bits : v;
}

INT65 sign_extend_by_type(INT65 v, TYPE *type) {
    QL_ASSERT(TYPE_IS_INT(type));
    return type->is_unsigned() ? v : sign_extend_by_type_size(v, type);
}

namespace {

int target_kind(const TYPE *type) { return type->size <= 32 ? 0 : 1; }

// fp_error is the caller's across a computation here.
struct PENDING_ERRORS {
    unsigned saved = fp_error;
    PENDING_ERRORS() { fp_error = 0; }
    ~PENDING_ERRORS() { fp_error = saved; }
    PENDING_ERRORS(const PENDING_ERRORS &) = delete;
    PENDING_ERRORS &operator=(const PENDING_ERRORS &) = delete;
};

bool is_int(const TYPE *type) { return type->is_integral() || type->is_enum(); }

} // namespace

void truncate_fval_to_target(simul_fval *v, TYPE *type) {
    int kind = target_kind(type);
    trg_fval target;
    f_cvt_stot(v, &target, kind);
    f_cvt_ttos(&target, v, kind);
}

// --- floating values ---

namespace {

// The bits that a finite nonzero number occupies: exponents of its highest and lowest set bit.
struct SPAN {
    int top, low;
    int bits() const { return top - low + 1; }
};

SPAN span_of(const simul_fval &v) {
    SPAN s = {0, 0};
    bool found = false;
    for (int i = 0; i < 96; i++) {
        if (!(v.mantissa[i / 16] >> (15 - i % 16) & 1)) continue;
        int exponent = v.exponent - 1 - i;
        if (!found) s.top = exponent, found = true;
        s.low = exponent;
    }
    return s;
}

// Bits that every result of the software's operations has at least.
constexpr int KEPT_BITS = 80;

bool operation_is_exact(int op, const simul_fval &a, const simul_fval &b) {
    if (f_is_special(&a) || f_is_special(&b)) return true;
    SPAN x = span_of(a), y = span_of(b);
    if (op == PLUS || op == MINUS)
        return std::max(x.top, y.top) + 1 - std::min(x.low, y.low) + 1 <= KEPT_BITS;
    return op == MULT && x.bits() + y.bits() <= KEPT_BITS;
}

// Rounds a result of the software's arithmetic. False when it leaves the target's range, and when it is the middle of
// two neighbours without being exact: what was cut off says where to round then.
bool round_result(simul_fval *v, TYPE *type, bool exact) {
    if (f_is_special(v)) return !f_is_nan(v);
    simul_fval nearest = *v;
    fp_error = 0;
    truncate_fval_to_target(&nearest, type);
    if (fp_error) return false;
    simul_fval away, mirrored;
    f_sub(v, &nearest, &away);
    if (!exact && !f_is_zero(&away)) {
        f_add(v, &away, &mirrored); // the other neighbour if v is the middle, else no number of the target
        simul_fval other = mirrored;
        truncate_fval_to_target(&other, type);
        if (fp_error || f_bit_eq(&other, &mirrored)) return false;
    }
    *v = nearest;
    return true;
}

// The root has more than ROOT_BITS right bits: it is known if that much to either side rounds the same way. No number
// of the target has a root in the middle of two.
constexpr int ROOT_BITS = 66;

bool round_root(simul_fval *v, TYPE *type) {
    if (f_is_special(v)) return !f_is_nan(v);
    simul_fval margin, low, high;
    f_ldexp(v, -ROOT_BITS, &margin);
    f_sub(v, &margin, &low);
    f_add(v, &margin, &high);
    fp_error = 0;
    truncate_fval_to_target(&low, type);
    truncate_fval_to_target(&high, type);
    if (fp_error || !f_bit_eq(&low, &high)) return false;
    *v = low;
    return true;
}

// a op b in the type, both of it. `b` is not looked at by unary operators.
bool compute_floating(int op, const simul_fval &a, const simul_fval &b, TYPE *type, simul_fval *r) {
    if (f_is_nan(&a) || f_is_nan(&b)) return false;
    fp_error = 0;
    switch (op) {
    case PLUS: f_add(&a, &b, r); break;
    case MINUS: f_sub(&a, &b, r); break;
    case MULT: f_mul(&a, &b, r); break;
    case DIV: f_div(&a, &b, r); break;
    case SQR: f_mul(&a, &a, r); break;
    case SQRT: f_sqrt(&a, r); return !fp_error && round_root(r, type);
    case UMINUS: f_neg(&a, r); return true;
    case ABS: f_abs(&a, r); return true;
    case RECIP: {
        // Only what has an exact inverse: the others keep their form, which says more to the passes.
        simul_fval back;
        f_div(&one, &a, r);
        f_mul(&a, r, &back);
        if (fp_error || span_of(a).bits() != 1 || !f_bit_eq(&back, &one)) return false;
        return round_result(r, type, true);
    }
    default: return false;
    }
    if (fp_error) return false;
    return round_result(r, type, op == SQR ? operation_is_exact(MULT, a, a) : operation_is_exact(op, a, b));
}

// One bit of FLOAT_MICRO_OP.
int relation(const simul_fval &a, const simul_fval &b) {
    if (f_is_nan(&a) || f_is_nan(&b)) return MICRO_U;
    return f_lt(&a, &b) ? MICRO_L : f_gt(&a, &b) ? MICRO_G : MICRO_E;
}

// The relations that make a comparison of floating operands true; 0 for any other operator.
int true_relations(int op) {
    switch (op) {
    case EQ: return MICRO_E;
    case NEQ: return MICRO_L | MICRO_G | MICRO_U;
    case LT: return MICRO_L;
    case LE: return MICRO_L | MICRO_E;
    case GT: return MICRO_G;
    case GE: return MICRO_G | MICRO_E;
    default: return float_op_to_micro_ops[op];
    }
}

void set_FCON(NODE *n, const simul_fval &value, TYPE *type) {
    clear_payload(n);
    n->op = FCON;
    n->type = type;
    n->u.fval = new simul_fval(value);
}

// The value of an FCON as a number of its type.
simul_fval value_of_FCON(const NODE *n) {
    simul_fval v = n->u.fval ? *n->u.fval : pos_zero;
    if (!f_is_nan(&v)) truncate_fval_to_target(&v, n->type);
    return v;
}

void set_integer(simul_fval *v, INT65 i) {
    bool negative = i.is_negative();
    uint64_t magnitude = (negative ? -i : i).to_uint64(); // of an integer type, so not 2^64
    simul_fval high, low;
    f_itof(static_cast<long long>(magnitude >> 32), &high);
    f_itof(static_cast<long long>(magnitude & 0xFFFFFFFF), &low);
    f_ldexp(&high, 32, &high);
    f_add(&high, &low, v);
    if (negative) f_neg(v, v);
}

// Cut toward zero; false when it takes more than 64 bits.
bool integer_part(const simul_fval &v, INT65 *i) {
    if (f_is_zero(&v)) return *i = INT65(0), true;
    if (f_is_special(&v)) return false;
    simul_fval justified;
    int exponent;
    f_frexp(&v, &exponent, &justified);
    uint64_t bits = 0;
    for (int k = 0; k < 4; k++) bits = bits << 16 | justified.mantissa[k];
    if (exponent > 64) return false;
    INT65 magnitude(exponent < 1 ? 0 : bits >> (64 - exponent));
    *i = v.sign ? -magnitude : magnitude;
    return true;
}

bool integer_to_constant(NODE *n, TYPE *type) {
    if (type->is_fltpt()) {
        simul_fval v;
        set_integer(&v, n->u.lval);
        truncate_fval_to_target(&v, type);
        set_FCON(n, v, type);
        return true;
    }
    if (!is_int(type)) return false;
    INT65 v = type->is_bool() ? INT65(!n->u.lval.is_zero()) : n->u.lval;
    become_ICON(n, v, type);
    return true;
}

bool floating_to_constant(NODE *n, TYPE *type) {
    simul_fval v = value_of_FCON(n);
    if (is_int(type)) {
        INT65 i;
        if (type->is_bool()) i = INT65(!f_is_zero(&v)); // a NaN is no zero
        else if (!integer_part(v, &i) || truncate_to_type(i, type) != i) return false;
        become_ICON(n, i, type);
        return true;
    }
    if (!type->is_fltpt() || f_is_nan(&v)) return false;
    fp_error = 0;
    truncate_fval_to_target(&v, type);
    if (fp_error) return false;
    set_FCON(n, v, type);
    return true;
}

} // namespace

bool convert_constant(NODE *constant, TYPE *type) {
    PENDING_ERRORS errors;
    if (constant->op == ICON && is_int(constant->type)) return integer_to_constant(constant, type);
    if (constant->op == FCON && constant->type->is_fltpt()) return floating_to_constant(constant, type);
    return false;
}

// --- folding ---

namespace {

// The node becomes its left operand, a constant that holds the result.
NODE *take_left(NODE *n) {
    NODE *constant = n->left;
    constant->scope = n->scope ? n->scope : constant->scope;
    n->left = nullptr;
    erase_tree(n);
    return constant;
}

// c op x  ->  x op' c
bool swap_constant_to_right(NODE *n) {
    if (commute_inv[n->op] == ILLOP || !RULE("FOLD: c op x -> x op' c")) return false;
    std::swap(n->left, n->right);
    n->op = commute_inv[n->op];
    return true;
}

bool is_floating_arithmetic(int op) { return op == PLUS || op == MINUS || op == MULT || op == DIV; }
bool is_floating_unary(int op) { return op == UMINUS || op == ABS || op == SQRT || op == SQR || op == RECIP; }

// The type in which a comparison with a floating operand is made, null for one of integers.
TYPE *comparison_type(const NODE *n) {
    TYPE *a = n->left->type, *b = n->right->type;
    if (a->is_fltpt() && b->is_fltpt()) return a->size >= b->size ? a : b;
    if (a->is_fltpt()) return is_int(b) ? a : nullptr;
    return b->is_fltpt() && is_int(a) ? b : nullptr;
}

bool is_number(const NODE *n) { return n->op == ICON || n->op == FCON; }

// Makes a constant operand one of the type. Failure leaves it as it was.
bool bring_to_type(NODE *operand, TYPE *type) {
    if (operand->type == type) return true;
    return RULE("FOLD: a constant takes the type of its operator") && convert_constant(operand, type);
}

NODE *fold_floating_comparison(NODE *n) {
    TYPE *type = comparison_type(n);
    if (!type || !is_int(n->type)) return n;
    if (!is_number(n->left)) return n;
    if (!is_number(n->right)) {
        if (n->left->op == FCON) swap_constant_to_right(n);
        return n;
    }
    auto value = [type](const NODE *c, simul_fval *v) {
        if (c->op == FCON) {
            *v = value_of_FCON(c);
            return;
        }
        set_integer(v, c->u.lval);
        truncate_fval_to_target(v, type);
    };
    simul_fval a, b;
    value(n->left, &a);
    value(n->right, &b);
    bool holds = true_relations(n->op) & relation(a, b);
    if (!RULE("FOLD: f1 < f2 -> 0 or 1")) return n;
    become_ICON(n->left, INT65(holds), n->type);
    return take_left(n);
}

// (1/y) * x  ->  x / y           x or y constant; unless rounding must stay as written
NODE *fold_product_with_RECIP(NODE *n) {
    NODE *recip = n->left;
    if (strict_fp || (recip->left->op != FCON && n->right->op != FCON) || recip->type != n->type ||
        recip->left->type != n->type || n->right->type != n->type)
        return n;
    if (!RULE("FOLD: RECIP(y) * x -> x / y")) return n;
    n->left = n->right;
    n->right = recip->left;
    n->op = DIV;
    recip->left = nullptr;
    erase_node(recip);
    return n;
}

NODE *fold_floating(NODE *n) {
    PENDING_ERRORS errors;
    if (n->right && true_relations(n->op)) return fold_floating_comparison(n);
    bool binary = is_floating_arithmetic(n->op) && n->right;
    if (!n->type->is_fltpt() || (!binary && !is_floating_unary(n->op))) return n;
    if (n->op == MULT && n->left->op == RECIP) return fold_product_with_RECIP(n);
    // a constant operand is converted before the operation
    for (NODE *operand : {n->left, binary ? n->right : n->left})
        if (is_number(operand) && !bring_to_type(operand, n->type)) return n;
    if (n->left->op != FCON) return n;
    if (binary && n->right->op != FCON) {
        swap_constant_to_right(n);
        return n;
    }
    simul_fval a = value_of_FCON(n->left), b = binary ? value_of_FCON(n->right) : pos_zero, r;
    if (!compute_floating(n->op, a, b, n->type, &r)) return n;
    if (!RULE("FOLD: f1 op f2 -> f")) return n;
    set_FCON(n->left, r, n->type);
    return take_left(n);
}

// --- integers ---

// x to the power e, modulo the type. False for a negative exponent, but of base 1.
bool integer_power(INT65 x, INT65 e, INT65 *r) {
    if (e.is_negative() && x != INT65(1)) return false;
    int overflow = 0; // the low bits are right all the same
    *r = x == INT65(1) ? x : long_expt(x, e, &overflow);
    return true;
}

bool divide(int op, INT65 a, INT65 b, TYPE *type, INT65 *r) {
    if (b.is_zero()) return false;
    if (!type->is_unsigned() && b == INT65(-1) && a == INT65(-1) << (int(type->size) - 1)) return false;
    *r = op == DIV ? a / b : a % b;
    return true;
}

bool shift(int op, INT65 a, INT65 count, TYPE *type, INT65 *r) {
    if (count.is_negative() || count >= INT65(int(type->size))) return false;
    *r = op == SLL ? a << count.low_i32() : a >> count.low_i32();
    return true;
}

// Integers are compared as words or, if an operand has 64 bits, as double words.
bool compare(int op, const NODE *left, const NODE *right) {
    int bits = left->type->size > 32 || right->type->size > 32 ? 64 : 32;
    bool is_unsigned = op >= ULE && op <= UGT;
    auto cut = [&](INT65 v) { return is_unsigned ? v.truncate_unsigned(bits) : v.truncate_signed(bits); };
    INT65 a = cut(left->u.lval), b = cut(right->u.lval);
    switch (op) {
    case EQ: return a == b;
    case NEQ: return a != b;
    case LT:
    case ULT: return a < b;
    case LE:
    case ULE: return a <= b;
    case GT:
    case UGT: return a > b;
    default: return a >= b;
    }
}

// The value of a node over one or two ICONs; false when there is none.
bool compute_integer(const NODE *n, INT65 *r) {
    TYPE *type = n->type;
    INT65 a = truncate_to_type(n->left->u.lval, type);
    if (!n->right) {
        bool is_least = !type->is_unsigned() && a == INT65(-1) << (int(type->size) - 1);
        switch (n->op) {
        case NOTB: *r = ~a; return true;
        case UMINUS: *r = -a; return !is_least;
        case ABS: *r = a.is_negative() ? -a : a; return !is_least;
        case SQR: *r = a * a; return true;
        case EXCLAIM: *r = INT65(n->left->u.lval.is_zero()); return true;
        default: return false;
        }
    }
    INT65 b = truncate_to_type(n->right->u.lval, type);
    switch (n->op) {
    case PLUS: *r = a + b; return true;
    case MINUS: *r = a - b; return true;
    case MULT: *r = a * b; return true;
    case ANDB: *r = a & b; return true;
    case ORB: *r = a | b; return true;
    case XORB: *r = a ^ b; return true;
    case DIV:
    case MOD: return divide(n->op, a, b, type, r);
    case SLL:
    case SRL: return shift(n->op, a, n->right->u.lval, type, r);
    case ANDAND: *r = INT65(!n->left->u.lval.is_zero() && !n->right->u.lval.is_zero()); return true;
    case OROR: *r = INT65(!n->left->u.lval.is_zero() || !n->right->u.lval.is_zero()); return true;
    case EXPT: return integer_power(a, n->right->u.lval, r);
    default: break;
    }
    if (n->op < EQ || n->op > UGT) return false;
    *r = INT65(compare(n->op, n->left, n->right));
    return true;
}

NODE *fold_integer(NODE *n) {
    if (!is_int(n->type) || !TYPE_IS_INT(n->left->type)) return n;
    if (n->right && n->right->op != ICON) {
        if (TYPE_IS_INT(n->right->type)) swap_constant_to_right(n);
        return n;
    }
    INT65 value;
    if (!compute_integer(n, &value) || !RULE("FOLD: c1 op c2 -> c")) return n;
    become_ICON(n->left, value, n->type);
    return take_left(n);
}

// --- a constant on the right ---

bool is_identity(int op, INT65 c) {
    switch (op) {
    case PLUS:
    case MINUS:
    case ORB:
    case XORB:
    case SRL: return c.is_zero();
    case MULT:
    case DIV: return c == INT65(1);
    default: return false;
    }
}

NODE *fold_identity(NODE *n) {
    if (!n->right || n->right->op != ICON || !TYPE_IS_INT(n->type) || !TYPE_IS_INT(n->left->type)) return n;
    INT65 c = truncate_to_type(n->right->u.lval, n->op == SRL ? n->right->type : n->type);
    if (is_identity(n->op, c)) {
        if (!RULE("FOLD: x op 0 -> x, x * 1 -> x")) return n;
        erase_tree(n->right);
        n->right = nullptr;
        n->op = n->type->is_ptr() ? PCONV : SCONV;
        return simp_node(n, nullptr);
    }
    // (x op c1) op c2: the simplifier joins the constants
    bool joins = n->left->op == n->op && n->left->right && n->left->right->op == ICON;
    bool is_kept = op_is_commutative(n->op) || n->op == MINUS || n->op == SRL;
    return joins && is_kept ? simp_node(n, nullptr) : n;
}

} // namespace

NODE *fold_constant_node(NODE *n) {
    if (!n->left || !n->type || !n->left->type || (n->right && !n->right->type)) return n;
    if ((n->op == SCONV || n->op == PCONV) && is_number(n->left))
        return n->op == SCONV ? simp_SCONV(n, nullptr) : n;
    if (n->type->is_fltpt() || n->left->op == FCON || (n->right && n->right->op == FCON))
        return fold_floating(n);
    if (n->left->op == ICON) return fold_integer(n);
    return fold_identity(n);
}

NODE *fold_constants(NODE *tree) { return rewrite_tree(tree, fold_constant_node); }

// --- texts ---

std::string fval2text(const simul_fval *v, const TYPE *type) {
    std::string text = f_ftoa_text("%g", v);
    if (text.find_first_not_of("+-0123456789") == std::string::npos) text += ".0";
    if (text[0] == '+') text.erase(0, 1);
    if (type->is_float()) text += 'F';
    else if (type->is_ldouble()) text += 'L';
    return text;
}

std::string normalize_fcon(const char *text, int length) {
    const char *p = text, *end = text + length;
    bool negative = p < end && *p == '-';
    if (p < end && (*p == '-' || *p == '+')) ++p;
    std::string digits;
    long point = 0, exponent = 0;
    bool seen_point = false, seen_digit = false;
    for (; p < end && (isdigit((unsigned char)*p) || (*p == '.' && !seen_point)); ++p) {
        if (*p == '.') {
            seen_point = true;
            continue;
        }
        seen_digit = true;
        if (!digits.empty() || *p != '0') digits += *p;
        else if (seen_point) --point; // a zero in front of the first digit
        if (!seen_point && !digits.empty()) ++point;
    }
    if (!seen_digit) return std::string(text, length);
    if (p < end && (*p == 'e' || *p == 'E')) {
        constexpr long FAR = 1000000; // beyond any format
        std::string number(p + 1, end);
        exponent = std::clamp(strtol(number.c_str(), nullptr, 10), -FAR, FAR);
    } else if (p < end && (*p == 'x' || *p == 'X')) {
        return std::string(text, length);
    }
    while (!digits.empty() && digits.back() == '0') digits.pop_back();
    std::string sign = negative ? "-" : "";
    if (digits.empty()) return sign + "0.0";
    std::string fraction = digits.size() > 1 ? digits.substr(1) : "0";
    return sign + digits[0] + "." + fraction + "e" + std::to_string(point - 1 + exponent);
}
