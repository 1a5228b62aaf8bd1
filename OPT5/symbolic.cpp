#include "OPT5/symbolic.h"

#include <algorithm>
#include <initializer_list>
#include <utility>

#include "OPT5/bbutils.h"
#include "OPT5/bifbounds.h"
#include "OPT5/congruent.h"
#include "OPT5/ddloop.h"
#include "OPT5/fold.h"
#include "OPT5/rules.h"
#include "OPT5/simp1.h"
#include "OPT5/simp_div.h"
#include "OPT5/simp_known.h"
#include "OPT5/symfactor.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "OPT5/typefacts.h"
#include "typepkg/type_pkg.h"

unsigned bound_depth_hits = 0;

namespace {

using RANGE = VALUE_RANGE;

constexpr RANGE WHOLE = {INT65::min(), INT65::max()};
constexpr RANGE TRUTH = {INT65(0), INT65(1)};

bool is_integer(const TYPE *type) { return type && (type->is_integral() || type->is_enum()); }
int bits_of(const TYPE *type) { return int(type->size); }

// --- ranges ---

bool contains(RANGE outer, RANGE r) { return outer.low <= r.low && r.high <= outer.high; }
bool has(RANGE r, INT65 v) { return r.low <= v && v <= r.high; }
RANGE join(RANGE a, RANGE b) { return {std::min(a.low, b.low), std::max(a.high, b.high)}; }
// Both hold. Facts that contradict each other stand in code that is not reached: the first answers.
RANGE meet(RANGE a, RANGE b) {
    RANGE r = {std::max(a.low, b.low), std::min(a.high, b.high)};
    return r.low <= r.high ? r : a;
}

// All values of an integer type as arithmetic knows it: a bool counts as a byte.
RANGE range_of_bits(TYPE *type) { return {int_type_min(type), int_type_max(type)}; }
// The values of an object or a call.
RANGE range_of_type(TYPE *type) {
    if (!is_integer(type)) return WHOLE;
    return type->is_bool() ? TRUTH : range_of_bits(type);
}

// What exact arithmetic gives in a type that wraps.
RANGE wrapped(RANGE r, TYPE *type) {
    RANGE all = range_of_bits(type);
    if (contains(all, r)) return r;
    int overflow = 0;
    INT65 width = long_add(r.high, -r.low, &overflow);
    if (overflow || r.low == INT65::min() || width > type_mask(type)) return all;
    RANGE moved = {truncate_to_type(r.low, type), truncate_to_type(r.high, type)};
    return moved.low <= moved.high ? moved : all;
}

// Exact sums and products; WHOLE where they need more than 65 bits.
RANGE sum(RANGE a, RANGE b) {
    int overflow = 0;
    RANGE r = {long_add(a.low, b.low, &overflow), long_add(a.high, b.high, &overflow)};
    return overflow ? WHOLE : r;
}
RANGE negation(RANGE a) { return a.low == INT65::min() ? WHOLE : RANGE{-a.high, -a.low}; }

template <class F> RANGE corners(RANGE a, RANGE b, F f) {
    INT65 first = f(a.low, b.low);
    RANGE r = {first, first};
    for (INT65 v : {f(a.low, b.high), f(a.high, b.low), f(a.high, b.high)}) r = join(r, {v, v});
    return r;
}
RANGE product(RANGE a, RANGE b) {
    int overflow = 0;
    RANGE r = corners(a, b, [&](INT65 x, INT65 y) { return long_multiply(x, y, &overflow); });
    return overflow ? WHOLE : r;
}
RANGE complement(RANGE a) { return {~a.high, ~a.low}; }

// Quotients by the divisors of one sign. The one of INT65::min() by -1 has no place.
RANGE quotient_by(RANGE a, RANGE b) {
    if (a.low == INT65::min()) return WHOLE;
    return corners(a, b, [](INT65 x, INT65 y) { return x / y; });
}
RANGE quotient(RANGE a, RANGE b) {
    RANGE negative = {b.low, std::min(b.high, INT65(-1))}, positive = {std::max(b.low, INT65(1)), b.high};
    bool below = negative.low <= negative.high, above = positive.low <= positive.high;
    if (below && above) return join(quotient_by(a, negative), quotient_by(a, positive));
    return below ? quotient_by(a, negative) : above ? quotient_by(a, positive) : WHOLE;
}

INT65 magnitude(INT65 v) { return v.is_negative() ? -v : v; }

// `multiple`: dividend and divisor, a constant, are multiples of it.
RANGE remainder(RANGE a, RANGE b, INT65 multiple) {
    INT65 greatest = std::max(magnitude(b.low), magnitude(b.high));
    if (greatest.is_zero() || a.low == INT65::min() || b.low == INT65::min()) return WHOLE;
    bool crosses_zero = !b.low.is_positive() && !b.high.is_negative();
    INT65 least = crosses_zero ? INT65(1) : std::min(magnitude(b.low), magnitude(b.high));
    if (a.low > -least && a.high < least) return a;
    INT65 limit = greatest - multiple;
    return {a.low.is_negative() ? std::max(a.low, -limit) : INT65(0),
            a.high.is_positive() ? std::min(a.high, limit) : INT65(0)};
}

// 2^k - 1, the least that is not below v; 0 for a negative v.
INT65 fill(INT65 v) { return v.is_positive() ? (INT65(1) << (v.log2() + 1)) - INT65(1) : INT65(0); }
// 2^k - 1 so that every value of the range is in [-2^k, 2^k - 1].
INT65 fill_both(RANGE a) { return std::max(fill(a.high), fill(a.low.is_negative() ? ~a.low : INT65(0))); }

RANGE conjunction(RANGE a, RANGE b) {
    bool a_is_natural = !a.low.is_negative(), b_is_natural = !b.low.is_negative();
    INT65 low = a_is_natural || b_is_natural ? INT65(0) : ~std::max(fill_both(a), fill_both(b));
    INT65 high = a_is_natural && b_is_natural ? std::min(a.high, b.high)
                 : a_is_natural               ? a.high
                 : b_is_natural               ? b.high
                                              : std::max(a.high, b.high);
    return {low, high};
}
RANGE disjunction(RANGE a, RANGE b) {
    bool natural = !a.low.is_negative() && !b.low.is_negative();
    INT65 low = natural ? std::max(a.low, b.low) : std::min(a.low, b.low);
    bool negative = a.high.is_negative() || b.high.is_negative();
    return {low, negative ? INT65(-1) : fill(a.high | b.high)};
}
RANGE exclusive(RANGE a, RANGE b) {
    INT65 all = std::max(fill_both(a), fill_both(b));
    bool natural = !a.low.is_negative() && !b.low.is_negative();
    return {natural ? INT65(0) : ~all, all};
}

// Shifts by a count that is in the type's width; others may give any value.
RANGE shift_up(RANGE a, RANGE count, int bits) {
    if (count.low.is_negative() || count.high >= INT65(bits)) return WHOLE;
    return product(a, {INT65(1) << count.low.low_i32(), INT65(1) << count.high.low_i32()});
}
RANGE shift_down(RANGE a, RANGE count, int bits) {
    if (count.low.is_negative() || count.high >= INT65(bits)) return WHOLE;
    return corners(a, count, [](INT65 v, INT65 n) { return v >> n.low_i32(); });
}

// 1 always, 0 never, -1 not known, for a < b and a <= b.
int always_less(RANGE a, RANGE b, bool or_equal) {
    if (or_equal ? a.high <= b.low : a.high < b.low) return 1;
    return (or_equal ? a.low > b.high : a.low >= b.high) ? 0 : -1;
}
int always_equal(RANGE a, RANGE b) {
    if (a.high < b.low || b.high < a.low) return 0;
    return a.low == a.high && b.low == b.high ? 1 : -1;
}

// --- the walk ---

// The depth and the work of the query that is under way; the outermost one starts anew.
int depth = 0;
unsigned work = 0;

struct LEVEL {
    int &counter;
    explicit LEVEL(int &c) : counter(c) { ++counter; }
    ~LEVEL() { --counter; }
    LEVEL(const LEVEL &) = delete;
    LEVEL &operator=(const LEVEL &) = delete;
};

struct WALKER {
    struct LOOP *loop;

    RANGE range(const NODE *n);
    RANGE plain(const NODE *n);
    RANGE arithmetic(int op, const NODE *n, RANGE a, RANGE b);
    RANGE in_type(const NODE *n, TYPE *type);
    RANGE mod(const NODE *n);
    RANGE assignment(const NODE *n);
    RANGE conditional(const NODE *n);
    RANGE call(const NODE *n);
    RANGE leaf(const NODE *n);
    RANGE comparison(const NODE *n);
    RANGE narrowed_by_givens(const NODE *n, RANGE r);
    RANGE narrowed_by_known_bits(const NODE *n, RANGE r);
};

const fkMDATA *bitfield_of(const NODE *n) {
    if ((n->op != STDOT && n->op != STREF) || !n->right || n->right->op != FIELD) return nullptr;
    const fkMDATA *m = n->right->member;
    return m && m->is_bitfld() ? m : nullptr;
}

// What an object that is read can hold.
RANGE range_of_object(const NODE *n) {
    const fkMDATA *field = bitfield_of(n);
    int width = field ? int(field->width()) : 0;
    if (!field || width <= 0 || width >= bits_of(n->type) || n->type->is_bool())
        return range_of_type(n->type);
    INT65 one(1);
    if (n->type->is_unsigned()) return {INT65(0), (one << width) - one};
    return {-(one << (width - 1)), (one << (width - 1)) - one};
}

RANGE WALKER::leaf(const NODE *n) {
    RANGE r = range_of_object(n);
    if (n->op != NAME || !loop) return r;
    const LOOPIV *iv = find_LOOPIV_for_IV(n, loop, true);
    return iv ? meet(r, {iv->lowval, iv->highval}) : r;
}

// An operand as what it is in the operator's type.
RANGE WALKER::in_type(const NODE *n, TYPE *type) {
    return is_integer(n->type) ? range_in_type(range(n), type) : range_of_bits(type);
}

RANGE WALKER::mod(const NODE *n) {
    RANGE a = in_type(n->left, n->type), b = in_type(n->right, n->type);
    INT65 multiple(1);
    // what is a multiple of f leaves a multiple of f, when the divisor is one too
    if (n->right->op == ICON && b.low > INT65(1) && is_integer(n->left->type) &&
        n->left->type->is_unsigned() == n->type->is_unsigned() && n->left->type->size <= n->type->size) {
        INT65 factor = max_ICON_factor(n->left, loop, 1);
        if (factor.is_positive() && (b.low % factor).is_zero()) multiple = factor;
    }
    return remainder(a, b, multiple);
}

// The exact result of operands that have the node's type already.
RANGE WALKER::arithmetic(int op, const NODE *n, RANGE a, RANGE b) {
    switch (op) {
    case PLUS: return sum(a, b);
    case MINUS: return sum(a, negation(b));
    case MULT: return product(a, b);
    case DIV: return quotient(a, b);
    case ANDB: return conjunction(a, b);
    case ORB: return disjunction(a, b);
    case XORB: return exclusive(a, b);
    case SLL: return shift_up(a, b, bits_of(n->type));
    case SRL: return shift_down(a, b, bits_of(n->type));
    default: return WHOLE;
    }
}

// The value of an assignment is what the target holds afterwards; of a step behind the access, what it held before.
RANGE WALKER::assignment(const NODE *n) {
    const NODE *target = n->left;
    if (!is_integer(target->type)) return WHOLE;
    RANGE held = range_of_object(target), result = held;
    int op = op_of_opASG[n->op];
    if (n->op == ASG) {
        result = in_type(n->right, target->type);
    } else if (op != ILLOP && n->op != PLUSPLUS && n->op != MINMIN && op != DIV && op != MOD &&
               target->type->size >= 32 && is_integer(n->right->type) &&
               n->right->type->size <= target->type->size) {
        bool is_shift = op == SLL || op == SRL;
        RANGE b = is_shift ? range(n->right) : in_type(n->right, target->type);
        result = wrapped(arithmetic(op, target, held, b), target->type);
    }
    return contains(held, result) ? result : held;
}

RANGE WALKER::conditional(const NODE *n) {
    const NODE *colon = n->op == COLON ? n : n->right;
    if (colon->op != COLON) return range_of_bits(n->type);
    return join(in_type(colon->left, n->type), in_type(colon->right, n->type));
}

RANGE WALKER::call(const NODE *n) {
    if (!op_is_icall(n->op)) return range_of_type(n->type);
    NODE *call = const_cast<NODE *>(n);
    RANGE r = {calculate_minval_for_BIF_call(call, loop), calculate_maxval_for_BIF_call(call, loop)};
    return contains(range_of_bits(n->type), r) ? r : range_of_bits(n->type);
}

// 0 or 1; narrower when the operands can't meet, or must.
RANGE WALKER::comparison(const NODE *n) {
    if (n->op < EQ || n->op > UGT || !is_integer(n->left->type) || !is_integer(n->right->type)) return TRUTH;
    int bits = n->left->type->size > 32 || n->right->type->size > 32 ? 64 : 32;
    bool is_unsigned = n->op >= ULE;
    INT65 one(1);
    RANGE word = is_unsigned ? RANGE{INT65(0), (one << bits) - one}
                             : RANGE{-(one << (bits - 1)), (one << (bits - 1)) - one};
    RANGE a = range(n->left), b = range(n->right);
    if (!contains(word, a) || !contains(word, b)) return TRUTH; // compared as another value
    int answer;
    switch (n->op) {
    case EQ: answer = always_equal(a, b); break;
    case NEQ: answer = always_equal(a, b) ^ 1; break; // -1 stays out of 0 and 1
    case LT:
    case ULT: answer = always_less(a, b, false); break;
    case LE:
    case ULE: answer = always_less(a, b, true); break;
    case GT:
    case UGT: answer = always_less(b, a, false); break;
    default: answer = always_less(b, a, true); break;
    }
    return answer == 0 || answer == 1 ? RANGE{INT65(answer), INT65(answer)} : TRUTH;
}

// By the structure of the tree alone.
RANGE WALKER::plain(const NODE *n) {
    TYPE *type = n->type;
    if (boolean_result[n->op]) return comparison(n);
    switch (n->op) {
    case ICON: return {n->u.lval, n->u.lval};
    case NAME:
    case UMULT:
    case STDOT:
    case STREF: return leaf(n);
    case PLUS:
    case MINUS:
    case MULT:
    case DIV:
    case ANDB:
    case ORB:
    case XORB:
        if (!is_integer(n->left->type) || !is_integer(n->right->type)) return range_of_bits(type);
        return wrapped(arithmetic(n->op, n, in_type(n->left, type), in_type(n->right, type)), type);
    case MOD: return wrapped(mod(n), type);
    case SLL:
    case SRL: return wrapped(arithmetic(n->op, n, in_type(n->left, type), range(n->right)), type);
    case UMINUS: return wrapped(negation(in_type(n->left, type)), type);
    case NOTB: return wrapped(complement(in_type(n->left, type)), type);
    case ABS: {
        RANGE a = in_type(n->left, type);
        bool mixed = a.low.is_negative() && a.high.is_positive();
        INT65 x = magnitude(a.low), y = magnitude(a.high);
        return wrapped({mixed ? INT65(0) : std::min(x, y), std::max(x, y)}, type);
    }
    case SQR: {
        RANGE a = in_type(n->left, type), r = product(a, a);
        return wrapped({std::max(r.low, a.low == a.high ? r.low : INT65(0)), r.high}, type);
    }
    case QUEST:
    case COLON: return conditional(n);
    case COMMAOP: return in_type(n->right, type);
    case SCONV:
    case IDENTITY:
    case SSA_USE:
    case SSA_DEF:
    case SSA_MU:
    case SSA_CHI: return in_type(n->left, type);
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: return call(n);
    case CALL:
    case UCALL: return range_of_type(type);
    default: return opcode_is_ASG(n->op) ? range_in_type(assignment(n), type) : range_of_bits(type);
    }
}

// --- facts ---

// What a comparison with a constant, known to hold, says about its left operand of that type. A comparison that takes
// the operand for another number than it is says little: x < c without sign, c no more than a signed type holds,
// means 0 <= x < c.
RANGE range_of_fact(int op, TYPE *type, INT65 c, int bits) {
    bool is_unsigned = op >= ULE && op <= UGT;
    c = is_unsigned ? c.truncate_unsigned(bits) : c.truncate_signed(bits);
    bool as_it_is = type->is_unsigned() ? is_unsigned || bits_of(type) < bits : !is_unsigned;
    if (op == EQ || op == NEQ) as_it_is = true, c = truncate_to_type(c, type);
    INT65 one(1);
    if (!as_it_is) {
        bool bounded =
            type->is_signed() && (op == ULE || (op == ULT && c.is_positive())) && c <= int_type_max(type);
        return bounded ? RANGE{INT65(0), op == ULE ? c : c - one} : WHOLE;
    }
    switch (op) {
    case EQ: return {c, c};
    case LE:
    case ULE: return {INT65::min(), c};
    case LT:
    case ULT: return {INT65::min(), c - one};
    case GE:
    case UGE: return {c, INT65::max()};
    case GT:
    case UGT: return {c + one, INT65::max()};
    default: return WHOLE;
    }
}

RANGE narrowed_by(const LIST *givens, const NODE *n, RANGE r, bool inequalities) {
    for (const LIST *l = givens; l; l = l->next) {
        const NODE *given = l->tree;
        while (given && (given->op == ASSERT || given->op == NASSERT)) given = given->left;
        if (!given || given->op < EQ || given->op > UGT || given->right->op != ICON ||
            (given->op == NEQ) != inequalities)
            continue;
        if (given->left->op != n->op || given->left->type->size != n->type->size ||
            given->left->type->is_unsigned() != n->type->is_unsigned() ||
            !trees_are_congruent(given->left, n))
            continue;
        int bits = n->type->size > 32 || given->right->type->size > 32 ? 64 : 32;
        INT65 c = given->right->u.lval;
        if (given->op != NEQ) {
            r = meet(r, range_of_fact(given->op, n->type, c, bits));
        } else if (r.low < r.high) {
            c = truncate_to_type(c, n->type);
            if (r.low == c) r.low += INT65(1);
            else if (r.high == c) r.high -= INT65(1);
        }
    }
    return r;
}

RANGE WALKER::narrowed_by_givens(const NODE *n, RANGE r) {
    if (n->op == ICON || r.low == r.high) return r;
    // what a value is not narrows only a bound that the other facts have found
    for (bool inequalities : {false, true}) {
        if (!loop) r = narrowed_by(givens_of_loop(nullptr), n, r, inequalities);
        for (struct LOOP *each = loop; each; each = each->parent)
            r = narrowed_by(givens_of_loop(each), n, r, inequalities);
    }
    return r;
}

// Known bits of a signed type: its sign bit is the greatest in a value that can have it, and the least in one that
// must.
RANGE WALKER::narrowed_by_known_bits(const NODE *n, RANGE r) {
    switch (n->op) {
    case PLUS:
    case MINUS:
    case MULT:
    case ANDB:
    case ORB:
    case XORB:
    case SLL:
    case SRL:
    case SCONV: break;
    default: return r;
    }
    LEVEL level(depth); // the bounds that known bits ask for belong to this query
    KNOWN_BITS known = find_known_bits(n, n->type);
    INT65 can = known.zeros & type_mask(n->type), must = known.ones & can;
    INT65 least = must, greatest = can;
    if (n->type->is_signed()) {
        INT65 sign = INT65(1) << (bits_of(n->type) - 1);
        if (!(must & sign) && (can & sign)) least = must | sign, greatest = can & ~sign;
        least = least.truncate_signed(bits_of(n->type));
        greatest = greatest.truncate_signed(bits_of(n->type));
    }
    return meet(r, {least, greatest});
}

RANGE WALKER::range(const NODE *n) {
    if (!is_integer(n->type)) return WHOLE;
    if (n->op == ICON) return plain(n);
    if (depth > BOUND_DEPTH || work == 0) {
        ++bound_depth_hits;
        return range_of_bits(n->type);
    }
    LEVEL level(depth);
    --work;
    return narrowed_by_givens(n, plain(n));
}

} // namespace

VALUE_RANGE range_in_type(VALUE_RANGE r, TYPE *type) {
    if (!type->is_bool()) return wrapped(r, type);
    if (!has(r, INT65(0))) return {INT65(1), INT65(1)};
    return r.low == r.high ? RANGE{INT65(0), INT65(0)} : TRUTH;
}

VALUE_RANGE calculate_range_for_tree(const NODE *tree, struct LOOP *loop) {
    if (!is_integer(tree->type)) return WHOLE;
    if (depth == 0) work = BOUND_WORK;
    WALKER walker = {loop};
    RANGE r = walker.range(tree);
    return depth > 0 || r.low == r.high ? r : walker.narrowed_by_known_bits(tree, r);
}

INT65 calculate_minval_for_tree(const NODE *tree, struct LOOP *loop) {
    return calculate_range_for_tree(tree, loop).low;
}
INT65 calculate_maxval_for_tree(const NODE *tree, struct LOOP *loop) {
    return calculate_range_for_tree(tree, loop).high;
}

// --- overflow ---

namespace {

bool leaves_type(INT65 v, int overflow, TYPE *type) {
    return overflow || v < int_type_min(type) || v > int_type_max(type);
}

RANGE operand_range(const NODE *operand, TYPE *type, struct LOOP *loop) {
    if (!is_integer(operand->type)) return range_of_bits(type);
    return range_in_type(calculate_range_for_tree(operand, loop), type);
}

int product_depth = 0;

} // namespace

bool sum_may_overflow(INT65 a, INT65 b, TYPE *type) {
    int overflow = 0;
    INT65 v = long_add(a, b, &overflow);
    return leaves_type(v, overflow, type);
}

bool prod_may_overflow(INT65 a, INT65 b, TYPE *type) {
    int overflow = 0;
    INT65 v = long_multiply(a, b, &overflow);
    return leaves_type(v, overflow, type);
}

bool expr_product_may_overflow(const NODE *mult, struct LOOP *loop) {
    if (mult->op != MULT || !is_integer(mult->type) || product_depth > PRODUCT_OVERFLOW_DEPTH) return true;
    LEVEL level(product_depth);
    RANGE a = operand_range(mult->left, mult->type, loop), b = operand_range(mult->right, mult->type, loop);
    for (INT65 x : {a.low, a.high})
        for (INT65 y : {b.low, b.high})
            if (prod_may_overflow(x, y, mult->type)) {
                // only the least value has no negative
                bool negates = y == INT65(-1) && b.low == b.high && mult->type->is_signed();
                return !negates || !tree_is_not_ivalue(mult->left, int_type_min(mult->type), loop);
            }
    return false;
}

bool expr_sum_may_overflow(const NODE *n, struct LOOP *loop) {
    if ((n->op != PLUS && n->op != MINUS && n->op != UMINUS) || !is_integer(n->type)) return true;
    RANGE a = operand_range(n->left, n->type, loop), r = negation(a);
    if (n->op != UMINUS) {
        RANGE b = operand_range(n->right, n->type, loop);
        r = sum(a, n->op == PLUS ? b : negation(b));
    }
    return !contains(range_of_bits(n->type), r);
}

// --- predicates ---

bool tree_is_non_negative(const NODE *n, struct LOOP *loop) {
    if (!n->type) return false;
    if (n->type->is_ptr() || (is_integer(n->type) && n->type->is_unsigned())) return true;
    return is_integer(n->type) && !calculate_minval_for_tree(n, loop).is_negative();
}

bool tree_is_positive(const NODE *n, struct LOOP *loop) {
    if (!n->type) return false;
    if (n->type->is_ptr() || (is_integer(n->type) && n->type->is_unsigned()))
        return tree_is_non_zero(n, loop);
    return is_integer(n->type) && calculate_minval_for_tree(n, loop).is_positive();
}

bool tree_is_negative(const NODE *n, struct LOOP *loop) {
    return is_integer(n->type) && n->type->is_signed() && calculate_maxval_for_tree(n, loop).is_negative();
}

bool tree_is_ivalue(const NODE *n, INT65 value, struct LOOP *loop) {
    if (!is_integer(n->type)) return false;
    RANGE r = calculate_range_for_tree(n, loop);
    return r.low == value && r.high == value;
}

bool tree_is_zero(const NODE *n, struct LOOP *loop) {
    if (n->type && n->type->is_ptr()) {
        n = strip_pointer_wrappers(n);
        if (!is_integer(n->type) || bits_of(n->type) > 32) return false;
    }
    if (!is_integer(n->type)) return false;
    if (tree_is_ivalue(n, INT65(0), loop)) return true;
    return n->op == MINUS && trees_are_congruent(n->left, n->right);
}

namespace {

constexpr int NON_ZERO_DEPTH = 8;
int non_zero_depth = 0;

// An odd factor can be undone: the product is zero only if the other factor is.
bool is_odd(const NODE *n) { return n->op == ICON && n->u.lval.is_odd(); }

bool keeps_bits(const NODE *n, const NODE *operand) {
    return is_integer(n->type) && is_integer(operand->type) && n->type->size >= operand->type->size;
}

// Whether unlike operands are unlike in the operator's type too: -1 of a short and 65535 of an unsigned short are not.
bool differ_in_type(const NODE *n, struct LOOP *loop) {
    const NODE *a = n->left, *b = n->right;
    return is_integer(n->type) && is_integer(a->type) && is_integer(b->type) &&
           a->type->size == n->type->size && b->type->size == n->type->size &&
           (n->type->size >= 32 || a->type->is_unsigned() == b->type->is_unsigned()) &&
           tree_values_are_not_equal(a, b, loop);
}

bool structure_is_non_zero(const NODE *n, struct LOOP *loop) {
    auto part = [loop](const NODE *p) { return tree_is_non_zero(p, loop); };
    switch (n->op) {
    case MULT:
        return (is_odd(n->right) && keeps_bits(n, n->left) && part(n->left)) ||
               (is_odd(n->left) && keeps_bits(n, n->right) && part(n->right));
    case UMINUS:
    case ABS:
    case IDENTITY: return keeps_bits(n, n->left) && part(n->left);
    case SCONV: return (n->type->is_bool() || keeps_bits(n, n->left)) && part(n->left);
    case ORB: return (keeps_bits(n, n->left) && part(n->left)) || (keeps_bits(n, n->right) && part(n->right));
    case MINUS:
    case XORB: return differ_in_type(n, loop);
    case QUEST:
        return n->right->op == COLON && keeps_bits(n, n->right->left) && keeps_bits(n, n->right->right) &&
               part(n->right->left) && part(n->right->right);
    case COMMAOP: return keeps_bits(n, n->right) && part(n->right);
    default: return false;
    }
}

} // namespace

bool tree_is_non_zero(const NODE *n, struct LOOP *loop) {
    if (!n->type) return false;
    if (n->type->is_ptr()) {
        const NODE *p = strip_pointer_wrappers(n);
        bool constant = p->op == ICON && !p->u.lval.truncate_unsigned(bits_of(n->type)).is_zero();
        return constant || pointer_contains_adcon_term(n);
    }
    if (!is_integer(n->type)) return false;
    if (!has(calculate_range_for_tree(n, loop), INT65(0))) return true;
    if (n->op == ICON || non_zero_depth > NON_ZERO_DEPTH) return false;
    LEVEL level(non_zero_depth);
    return !(find_known_ones(n, n->type) & type_mask(n->type)).is_zero() || structure_is_non_zero(n, loop);
}

bool tree_is_not_ivalue(const NODE *n, INT65 value, struct LOOP *loop) {
    if (!is_integer(n->type)) return value.is_zero() && tree_is_non_zero(n, loop);
    if (!has(calculate_range_for_tree(n, loop), value)) return true;
    if (value.is_zero()) return tree_is_non_zero(n, loop);
    INT65 mask = type_mask(n->type), must = find_known_ones(n, n->type) & mask,
          can = find_known_zeros(n, n->type);
    if ((value & must) != must || !(value & mask & ~can).is_zero()) return true;
    INT65 factor = max_ICON_factor(n, loop, 1);
    return factor.is_zero() || !(value % factor).is_zero();
}

namespace {

// A tree as base + constant, through one sum.
const NODE *split_constant(const NODE *n, INT65 *constant) {
    *constant = INT65(0);
    if ((n->op != PLUS && n->op != MINUS) || n->right->op != ICON) return n;
    *constant = n->op == PLUS ? n->right->u.lval : -n->right->u.lval;
    return n->left;
}

// Whether the trees are one base plus constants, computed in types of one width; then their difference modulo it.
bool constant_difference(const NODE *a, const NODE *b, INT65 *difference) {
    if (a->type->size != b->type->size || !TYPE_IS_INT(a->type) || !TYPE_IS_INT(b->type)) return false;
    INT65 ca, cb;
    const NODE *base_a = split_constant(a, &ca), *base_b = split_constant(b, &cb);
    if ((base_a == a && base_b == b && a->op != b->op) || base_a->type->size != a->type->size ||
        base_b->type->size != b->type->size || !trees_are_congruent(base_a, base_b))
        return false;
    *difference = ca - cb;
    return true;
}

bool is_unlike_word(const NODE *a, const NODE *b) {
    return a->type->is_unsigned() != b->type->is_unsigned() && std::max(a->type->size, b->type->size) >= 32;
}

} // namespace

bool tree_difference_is_ivalue(const NODE *a, const NODE *b, INT65 a_minus_b, struct LOOP *loop) {
    if (!a->type || !b->type) return false;
    INT65 difference;
    if (constant_difference(a, b, &difference)) {
        int bits = bits_of(a->type);
        return difference.truncate_signed(bits) == a_minus_b.truncate_signed(bits);
    }
    if (!is_integer(a->type) || !is_integer(b->type)) return false;
    RANGE x = calculate_range_for_tree(a, loop), y = calculate_range_for_tree(b, loop);
    return x.low == x.high && y.low == y.high && x.low - y.low == a_minus_b;
}

bool tree_values_are_not_equal(const NODE *a, const NODE *b, struct LOOP *loop) {
    if (!a->type || !b->type) return false;
    INT65 difference;
    if (constant_difference(a, b, &difference) && !difference.truncate_unsigned(bits_of(a->type)).is_zero())
        return true;
    if (!is_integer(a->type) || !is_integer(b->type)) return false;
    RANGE x = calculate_range_for_tree(a, loop), y = calculate_range_for_tree(b, loop);
    // a word that is negative on one side is a large number on the other
    if (is_unlike_word(a, b) && (x.low.is_negative() || y.low.is_negative())) return false;
    if (always_equal(x, y) == 0) return true;
    INT65 mask = type_mask(a->type->size < b->type->size ? a->type : b->type);
    return !(find_known_ones(a, a->type) & ~find_known_zeros(b, b->type) & mask).is_zero() ||
           !(find_known_ones(b, b->type) & ~find_known_zeros(a, a->type) & mask).is_zero();
}

int sign_of_integer_expression(const NODE *n, struct LOOP *loop, int strict) {
    if (!is_integer(n->type)) return SIGN_UNKNOWN;
    RANGE r = calculate_range_for_tree(n, loop);
    if (r.low.is_zero() && r.high.is_zero()) return 0;
    if (strict ? r.low.is_positive() : !r.low.is_negative()) return 1;
    if (strict ? r.high.is_negative() : !r.high.is_positive()) return -1;
    bool non_zero = strict && tree_is_non_zero(n, loop);
    if (non_zero && !r.low.is_negative()) return 1;
    return non_zero && !r.high.is_positive() ? -1 : SIGN_UNKNOWN;
}

namespace {

constexpr int ONE_BIT_DEPTH = 8;

// At most one bit of the value is set, seen as the bits of its type.
bool has_one_bit_at_most(const NODE *n, struct LOOP *loop, int level) {
    if (!is_integer(n->type) || level > ONE_BIT_DEPTH) return false;
    auto part = [&](const NODE *p) {
        // what is extended by its sign must have none
        bool extends = is_integer(p->type) && p->type->size < n->type->size && p->type->is_signed();
        return has_one_bit_at_most(p, loop, level + 1) && (!extends || tree_is_non_negative(p, loop));
    };
    switch (n->op) {
    case ICON: return n->u.lval.truncate_unsigned(bits_of(n->type)).popcount() <= 1;
    case SLL:
    case SCONV:
    case IDENTITY: return part(n->left);
    case SRL:
        return part(n->left) &&
               (n->type->is_unsigned() || !operand_range(n->left, n->type, loop).low.is_negative());
    case MULT: return part(n->left) && part(n->right);
    case ANDB:
        for (auto [x, y] : {std::pair(n->left, n->right), std::pair(n->right, n->left)})
            if (part(x) ||
                (y->op == UMINUS && y->type->size >= n->type->size && x->type->size >= n->type->size &&
                 trees_are_congruent(x, y->left))) // x & -x is its lowest bit
                return true;
        return false;
    case QUEST: return n->right->op == COLON && part(n->right->left) && part(n->right->right);
    case COMMAOP: return part(n->right);
    default: return false;
    }
}

} // namespace

bool positive_tree_is_power_of_2(const NODE *n, struct LOOP *loop) { return has_one_bit_at_most(n, loop, 0); }

int compare_SLLONG_values(INT65 a, INT65 b, TYPE *type) {
    a = truncate_to_type(a, type);
    b = truncate_to_type(b, type);
    return a < b ? -1 : a > b ? 1 : 0;
}

// --- trees for bounds ---

namespace {

constexpr int PARTIAL_EVAL_DEPTH = 64;

struct PARTIAL_EVAL {
    struct LOOP *loop;
    int flag;
    int level = 0;

    const LOOPIV *iv_of(const NODE *n) {
        return n->op == NAME ? find_LOOPIV_for_IV(n, loop, false) : nullptr;
    }
    bool varies(const NODE *n) {
        return find_node(n, [this](const NODE *part) { return iv_of(part) != nullptr; }) != nullptr;
    }
    NODE *extreme(const NODE *n, bool greatest);
    NODE *of_name(const NODE *n, bool greatest);
    NODE *of_product(const NODE *n, bool greatest);
    NODE *rebuilt(const NODE *n, NODE *left, NODE *right);
};

// The node over new operands; null when one is.
NODE *PARTIAL_EVAL::rebuilt(const NODE *n, NODE *left, NODE *right) {
    if (!left || (n->right && !right)) {
        erase_tree(left);
        erase_tree(right);
        return nullptr;
    }
    return simp_node(maketree(n->op, left, right, n->type, n->scope), loop);
}

NODE *PARTIAL_EVAL::of_name(const NODE *n, bool greatest) {
    const LOOPIV *iv = iv_of(n);
    RANGE all = range_of_type(n->type);
    if (iv && contains(all, {iv->lowval, iv->highval}))
        return mk_ICON(greatest ? iv->highval : iv->lowval, n->type);
    return iv && flag ? nullptr : copy_tree(n);
}

// x * y over the extremes of its factors, of which one has a known sign
NODE *PARTIAL_EVAL::of_product(const NODE *n, bool greatest) {
    if (expr_product_may_overflow(n, loop)) return nullptr;
    bool left_varies = varies(n->left), right_varies = varies(n->right);
    if (left_varies && right_varies) {
        if (!tree_is_non_negative(n->left, loop) || !tree_is_non_negative(n->right, loop)) return nullptr;
        return rebuilt(n, extreme(n->left, greatest), extreme(n->right, greatest));
    }
    const NODE *fixed = left_varies ? n->right : n->left;
    bool keeps_order = tree_is_non_negative(fixed, loop);
    if (!keeps_order && !tree_is_negative(fixed, loop)) return nullptr;
    bool direction = greatest == keeps_order;
    return left_varies ? rebuilt(n, extreme(n->left, direction), copy_tree(fixed))
                       : rebuilt(n, copy_tree(fixed), extreme(n->right, direction));
}

NODE *PARTIAL_EVAL::extreme(const NODE *n, bool greatest) {
    if (!is_integer(n->type) || level > PARTIAL_EVAL_DEPTH) return nullptr;
    if (n->op == NAME) return of_name(n, greatest);
    if (!varies(n)) return tree_has_side_effects(n) ? nullptr : copy_tree(n);
    LEVEL deeper(level);
    switch (n->op) {
    case PLUS:
    case MINUS:
        if (expr_sum_may_overflow(n, loop)) return nullptr;
        return rebuilt(n, extreme(n->left, greatest), extreme(n->right, greatest == (n->op == PLUS)));
    case UMINUS:
        if (expr_sum_may_overflow(n, loop)) return nullptr;
        return rebuilt(n, extreme(n->left, !greatest), nullptr);
    case MULT: return of_product(n, greatest);
    case SCONV:
        if (!is_integer(n->left->type) ||
            !contains(range_of_bits(n->type), calculate_range_for_tree(n->left, loop)))
            return nullptr;
        return rebuilt(n, extreme(n->left, greatest), nullptr);
    default: return nullptr;
    }
}

NODE *partially_eval(const NODE *tree, struct LOOP *loop, int flag, bool greatest) {
    PARTIAL_EVAL eval = {loop, flag};
    return eval.extreme(tree, greatest);
}

// The value of a test of every number in the range; -1 when they differ.
int always_true(int op, RANGE r, INT65 c, INT65 step) {
    bool on_the_grid = has(r, c) && ((c - r.low) % step).is_zero();
    RANGE k = {c, c};
    switch (op) {
    case EQ:
    case NEQ: {
        int equal = on_the_grid ? always_equal(r, k) : 0;
        return equal < 0 ? equal : equal ^ (op == NEQ);
    }
    case LT:
    case ULT: return always_less(r, k, false);
    case LE:
    case ULE: return always_less(r, k, true);
    case GT:
    case UGT: return always_less(k, r, false);
    default: return always_less(k, r, true);
    }
}

// What the tree is in the whole range, when that is one number.
bool value_in_range(const NODE *n, RANGE r, INT65 step, INT65 *value) {
    INT65 c = n->right->u.lval;
    bool natural = !r.low.is_negative();
    if (op_is_comparison(n->op)) {
        TYPE *type = n->left->type;
        int bits = type->size > 32 || n->right->type->size > 32 ? 64 : 32;
        bool is_equality = n->op == EQ || n->op == NEQ;
        bool is_unsigned = is_equality ? type->is_unsigned() : n->op >= ULE;
        // numbers of the left type that the comparison takes for what they are
        RANGE half = {INT65(0), INT65(-1).truncate_unsigned(bits - 1)};
        if (is_unsigned ? !natural : type->is_unsigned() && bits_of(type) == bits && !contains(half, r))
            return false;
        c = is_unsigned ? c.truncate_unsigned(bits) : c.truncate_signed(bits);
        int answer = always_true(n->op, r, c, step);
        *value = INT65(answer);
        return answer >= 0;
    }
    bool same_type =
        n->left->type->size == n->type->size && n->left->type->is_unsigned() == n->type->is_unsigned();
    if (!same_type || !c.is_positive()) return false;
    if (n->op == DIV) {
        *value = r.low / c;
        return *value == r.high / c;
    }
    *value = r.low % c;
    return r.low == r.high || (natural && (step % c).is_zero());
}

// x % c  ->  x - q * c            q the quotient that all values share
NODE *remainder_in_range(NODE *n, RANGE r) {
    INT65 c = n->right->u.lval, q = r.low / c;
    bool shared =
        c.is_positive() && !r.low.is_negative() && q == r.high / c && n->left->type->size == n->type->size;
    if (n->op != MOD || !shared || !RULE("RANGE: x % c -> x - q * c")) return n;
    n->op = MINUS;
    become_ICON(n->right, q * c, n->type);
    return n;
}

} // namespace

NODE *partially_eval_for_maximum(const NODE *tree, struct LOOP *loop, int flag) {
    return partially_eval(tree, loop, flag, true);
}
NODE *partially_eval_for_minimum(const NODE *tree, struct LOOP *loop, int flag) {
    return partially_eval(tree, loop, flag, false);
}

NODE *simp_tree_in_range(const NODE *tree, INT65 low, INT65 high, INT65 step) {
    NODE *n = copy_tree(tree);
    if (!n->right || n->right->op != ICON || !is_integer(n->left->type) || low > high)
        return simp_tree(n, nullptr);
    if ((n->op < EQ || n->op > UGT) && n->op != DIV && n->op != MOD) return simp_tree(n, nullptr);
    if (step > INT65(1)) high = low + (high - low) / step * step;
    else step = INT65(1);
    RANGE r = {low, high};
    INT65 value;
    if (contains(range_of_bits(n->left->type), r) && value_in_range(n, r, step, &value)) {
        if (!RULE("RANGE: x op c -> the value for all x of the range")) return n;
        NODE *constant = mk_ICON(value, n->type), *effects = peel_for_effect(n->left);
        n->left = nullptr;
        erase_tree(n);
        return mk_COMMAOP(effects, constant);
    }
    n = remainder_in_range(n, r);
    bool is_natural_division = n->op == DIV && !low.is_negative() && n->left->type->size <= n->type->size;
    if (!is_natural_division) return simp_tree(n, nullptr);
    n->left = simp_tree(n->left, nullptr);
    return simp_DIV(n, 1, nullptr);
}
