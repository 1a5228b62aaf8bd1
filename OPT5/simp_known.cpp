#include "OPT5/simp_known.h"

#include <algorithm>
#include <bit>

#include "OPT5/bif.h"
#include "OPT5/fold.h"
#include "OPT5/icternary.h"
#include "OPT5/symbolic.h"
#include "OPT5/symfactor.h"
#include "OPT5/symtab.h"
#include "OPT5/symwiden.h"
#include "OPT5/tree.h"
#include "typepkg/type_pkg.h"

unsigned known_bits_depth_hits, known_bits_visit_hits;

namespace {

// The bits of a value, in the width of the type that goes with it.
struct BITS {
    uint64_t ones = 0, maybe = ~0ull;

    uint64_t known() const { return ~(ones ^ maybe); }
};

bool has_bits(const TYPE *t) { return TYPE_IS_INT(t) && t->size > 0 && t->size <= 64; }
uint64_t mask_of(const TYPE *t) { return t->size >= 64 ? ~0ull : (1ull << t->size) - 1; }
uint64_t sign_of(const TYPE *t) { return 1ull << (t->size - 1); }
bool is_boolean(const TYPE *t) { return t->is_ik(IK_bool); }
INT65 as_set(uint64_t bits) { return INT65(static_cast<unsigned long long>(bits)); }

BITS within(const TYPE *t, BITS b) { return {b.ones & mask_of(t), b.maybe & mask_of(t)}; }
BITS unknown(const TYPE *t) { return {0, mask_of(t)}; }

uint64_t fill_up(uint64_t v) { return 0 - (v & (0 - v)); } // from the lowest bit upward
uint64_t fill_down(uint64_t v) {
    return v == 0 ? 0 : ~0ull >> std::countl_zero(v);
} // from the highest downward

// Of a value of `from` as 64 bits, sign or zeros above.
BITS extended(BITS b, const TYPE *from) {
    if (from->size >= 64 || !from->is_signed()) return b;
    if (b.ones & sign_of(from)) b.ones |= ~mask_of(from);
    if (b.maybe & sign_of(from)) b.maybe |= ~mask_of(from);
    return b;
}

BITS converted(BITS b, const TYPE *from, const TYPE *to) { return within(to, extended(b, from)); }

// --- the state of a question ---

struct QUESTION {
    int depth = 0, visits = 0, bounds = 0;
    bool inside_bounds = false;
    struct LOOP *loop = nullptr;
} question;

// One level of the walk. The outermost starts a new question.
struct LEVEL {
    LEVEL() {
        if (question.depth++ == 0) question.visits = question.bounds = 0;
        question.visits++;
    }
    ~LEVEL() { question.depth--; }
    LEVEL(const LEVEL &) = delete;
    LEVEL &operator=(const LEVEL &) = delete;

    bool is_too_far() const {
        if (question.depth > KNOWN_BITS_DEPTH) return known_bits_depth_hits++, true;
        return question.visits > KNOWN_BITS_VISITS && ++known_bits_visit_hits;
    }
};

template <class T> struct SAVED {
    T &place, old;
    SAVED(T &p, T value) : place(p), old(p) { p = value; }
    ~SAVED() { place = old; }
    SAVED(const SAVED &) = delete;
    SAVED &operator=(const SAVED &) = delete;
};

BITS bits_of(const NODE *x); // in the width of its type, which must have bits

// Of a boolean operator's other operands it is not known whether they are cut or compared with 0.
BITS operand(const NODE *x, const TYPE *as) {
    bool to_boolean = is_boolean(as) && !is_boolean(x->type);
    return has_bits(x->type) && !to_boolean ? converted(bits_of(x), x->type, as) : unknown(as);
}

// What a conversion or an assignment makes of x: to a boolean x != 0, from a float nothing that is known.
BITS conversion(const NODE *x, const TYPE *to) {
    if (!is_boolean(to) || is_boolean(x->type)) return operand(x, to);
    BITS b = has_bits(x->type) ? bits_of(x) : BITS();
    return {b.ones ? 1u : 0u, b.maybe ? 1u : 0u};
}

// --- arithmetic ---

// a + b + carry. A carry out of the possible bits is the greatest at each place, one out of the known ones the least;
// where both agree the carry is known.
BITS sum(BITS a, BITS b, bool carry) {
    uint64_t greatest = a.maybe + b.maybe + carry, least = a.ones + b.ones + carry;
    uint64_t may_carry = greatest ^ a.maybe ^ b.maybe, must_carry = least ^ a.ones ^ b.ones;
    uint64_t known = a.known() & b.known() & ~(may_carry ^ must_carry);
    return {least & known, least | ~known};
}

BITS complement(BITS b) { return {~b.maybe, ~b.ones}; }

BITS product(BITS a, BITS b) {
    if (std::has_single_bit(a.maybe) && a.ones == a.maybe) std::swap(a, b);
    if (std::has_single_bit(b.maybe) && b.ones == b.maybe) // x * 2^k: a shift
        return {a.ones << std::countr_zero(b.ones), a.maybe << std::countr_zero(b.ones)};
    if (a.maybe == 0 || b.maybe == 0) return {0, 0};
    int zeros = std::countr_zero(a.maybe) + std::countr_zero(b.maybe);
    BITS r = {0, zeros < 64 ? ~0ull << zeros : 0};
    if (uint64_t most; !__builtin_mul_overflow(a.maybe, b.maybe, &most)) r.maybe &= fill_down(most);
    int low = std::min(std::countr_one(a.known()),
                       std::countr_one(b.known())); // known in both: known in the product
    uint64_t low_mask = low < 64 ? (1ull << low) - 1 : ~0ull, value = a.ones * b.ones;
    return {(value & low_mask), (r.maybe & ~low_mask) | (value & low_mask)};
}

bool is_not_negative(BITS b, const TYPE *t) { return !t->is_signed() || !(b.maybe & sign_of(t)); }

BITS quotient(BITS a, BITS b, const TYPE *t) {
    if (!is_not_negative(a, t) || !is_not_negative(b, t)) return unknown(t);
    return {0, fill_down(a.maybe / std::max<uint64_t>(b.ones, 1))};
}

// The remainder is no greater than the dividend, which gives it its sign, and less than the divisor.
BITS remainder(BITS a, BITS b, const TYPE *t) {
    if (b.maybe == 0 || !is_not_negative(a, t)) return unknown(t);
    uint64_t most = a.maybe;
    if (is_not_negative(b, t)) {
        if (b.ones == b.maybe && std::has_single_bit(b.ones))
            return {a.ones & (b.ones - 1), a.maybe & (b.ones - 1)};
        most = std::min(most, b.maybe - 1);
    }
    return {0, fill_down(most)};
}

BITS shifted(int op, BITS a, const NODE *count, const TYPE *t) {
    bool is_constant = count->op == ICON;
    if (is_constant && (count->u.lval.is_negative() || count->u.lval >= INT65(int(t->size))))
        return unknown(t);
    int k = is_constant ? count->u.lval.low_i32() : 0;
    if (op == SLL) return is_constant ? BITS{a.ones << k, a.maybe << k} : BITS{0, fill_up(a.maybe)};
    if (is_constant && t->is_signed()) {
        a = extended(a, t);
        return {uint64_t(int64_t(a.ones) >> k), uint64_t(int64_t(a.maybe) >> k)};
    }
    if (is_constant) return {a.ones >> k, a.maybe >> k};
    return is_not_negative(a, t) ? BITS{0, fill_down(a.maybe)} : unknown(t);
}

// An operator on operands that have its type. `right` is the second operand's tree, null for one operand.
BITS computed(int op, BITS a, BITS b, const NODE *right, const TYPE *t) {
    switch (op) {
    case PLUS: return sum(a, b, false);
    case MINUS: return sum(a, complement(b), true);
    case UMINUS: return sum({0, 0}, complement(a), true);
    case NOTB: return complement(a);
    case MULT: return product(a, b);
    case SQR: return product(a, a);
    case DIV: return quotient(a, b, t);
    case MOD: return remainder(a, b, t);
    case ANDB: return {a.ones & b.ones, a.maybe & b.maybe};
    case ORB: return {a.ones | b.ones, a.maybe | b.maybe};
    case XORB: return {(a.ones & ~b.maybe) | (b.ones & ~a.maybe), (a.maybe | b.maybe) & ~(a.ones & b.ones)};
    case SLL:
    case SRL: return shifted(op, a, right, t);
    case ABS: return is_not_negative(a, t) ? a : BITS{0, fill_up(a.maybe)};
    default: return unknown(t);
    }
}

// --- what stands in memory ---

bool is_bitfield(const NODE *n) {
    return (n->op == STDOT || n->op == STREF) && n->right && n->right->op == FIELD && n->right->member &&
           n->right->member->is_bitfld();
}

// x in a variable that was widened: a value of the narrower type, where the entries may be trusted.
BITS variable(const NODE *name) {
    BITS r = unknown(name->type);
    if (is_boolean(name->type)) r.maybe = 1;
    if (wst_trustable && name->u.sym && name->type->size >= 32 && !name->type->is_ptr()) {
        if (const WIDENED *w = find_widened_symbol_entry(name->u.sym)) {
            r.ones |= w->known_ones.to_uint64() & r.maybe;
            r.maybe &= w->known_zeros.to_uint64();
        }
    }
    if (!name->type->is_integral()) return r;
    INT65 factor = max_asserted_ICON_factor(name, question.loop);
    if (factor.is_positive()) r.maybe &= ~0ull << factor.count_trailing_zeros();
    return r;
}

// An lvalue when it is read. A field that is narrower than its type is extended by the type's sign.
BITS stored(const NODE *lvalue) {
    const TYPE *t = lvalue->type;
    if (lvalue->op == NAME) return variable(lvalue);
    if (is_bitfield(lvalue) && !t->is_signed() && !lvalue->right->member->type->is_signed()) {
        uint64_t width = lvalue->right->member->width();
        return {0, width < t->size ? (1ull << width) - 1 : mask_of(t)};
    }
    return {0, is_boolean(t) ? 1 : mask_of(t)};
}

// x = y: the value of the left side afterwards.
BITS assigned(const NODE *n) {
    const TYPE *t = n->left->type;
    if (!has_bits(t)) return unknown(n->type);
    BITS place = stored(n->left);
    if (is_bitfield(n->left) && place.maybe == mask_of(t))
        return converted(place, t, n->type); // may be a signed field
    BITS b = conversion(n->right, t);
    if (is_bitfield(n->left)) b = {b.ones & place.maybe, b.maybe & place.maybe};
    return converted(b, t, n->type);
}

// x op= y, computed in the type of the left side.
BITS op_assigned(const NODE *n) {
    const TYPE *t = n->left->type;
    int op = op_of_opASG[n->op];
    if (!has_bits(t)) return unknown(n->type);
    if (is_bitfield(n->left) || is_boolean(t) || op == DIV || op == MOD)
        return converted(is_bitfield(n->left) ? stored(n->left) : unknown(t), t, n->type);
    BITS r = within(t, computed(op, stored(n->left), operand(n->right, t), n->right, t));
    return converted(r, t, n->type);
}

// What the descriptor says of every call.
BITS called(const NODE *call) {
    const BIF *bif = find_BIF_descriptor(call->u.icall);
    BITS r = unknown(call->type);
    if (!bif) return r;
    if (bif->flags2 & BIF_RETURNS_1_OR_0) return {0, 1};
    if (!(bif->flags1 & BIF_MINVAL_IS_KNOWN) || !(bif->flags1 & BIF_MAXVAL_IS_KNOWN)) return r;
    r.ones = find_known_ones_in_range(bif->minval, bif->maxval).to_uint64();
    r.maybe = find_known_zeros_in_range(bif->minval, bif->maxval).to_uint64();
    return within(call->type, r);
}

// --- chains of ANDB ---

// Of other operators the walk itself knows what the bounds know.
bool bounds_may_say_more(const NODE *x) {
    switch (x->op) {
    case NAME:
    case PLUS:
    case MINUS:
    case UMINUS:
    case DIV:
    case MOD:
    case QUEST:
    case SCONV:
    case ICALL: return x->type->is_integral() || x->type->is_enum();
    default: return false;
    }
}

BITS in_bounds_of(const NODE *x, const TYPE *as) {
    if (question.inside_bounds || question.bounds >= KNOWN_BITS_BOUNDS || !bounds_may_say_more(x))
        return unknown(as);
    question.bounds++;
    SAVED<bool> inside(question.inside_bounds, true);
    VALUE_RANGE r = calculate_range_for_tree(x, question.loop);
    if (r.low == INT65::min() || r.high == INT65::max()) return unknown(as);
    return within(as, {find_known_ones_in_range(r.low, r.high).to_uint64(),
                       find_known_zeros_in_range(r.low, r.high).to_uint64()});
}

BITS masked(const NODE *x) {
    const TYPE *t = x->type;
    BITS r = {mask_of(t), mask_of(t)};
    auto meet = [&](const NODE *y) {
        BITS b = operand(y, t), bounds = in_bounds_of(y, t);
        r.ones &= b.ones | bounds.ones;
        r.maybe &= b.maybe & bounds.maybe;
    };
    const NODE *n = x;
    while (n->op == ANDB && n->type->size == t->size && question.visits <= KNOWN_BITS_VISITS) {
        meet(n->right);
        n = n->left;
    }
    if (n->op == ANDB) return {0, r.maybe}; // what is below the cap may clear any bit
    meet(n);
    return r;
}

// --- the walk ---

BITS both_arms(const NODE *a, const NODE *b, const TYPE *t) {
    BITS x = operand(a, t), y = operand(b, t);
    return {x.ones & y.ones, x.maybe | y.maybe};
}

BITS looked_at(const NODE *x) {
    const TYPE *t = x->type;
    if (boolean_result[x->op]) return {0, 1};
    switch (x->op) {
    case ICON: return {x->u.lval.to_uint64(), x->u.lval.to_uint64()};
    case NAME:
    case UMULT:
    case STDOT:
    case STREF: return stored(x);
    case PLUSPLUS:
    case MINMIN: return has_bits(x->left->type) ? converted(stored(x->left), x->left->type, t) : unknown(t);
    case ASG: return assigned(x);
    case ANDB: return masked(x);
    case QUEST: return x->right->op == COLON ? both_arms(x->right->left, x->right->right, t) : unknown(t);
    case COMMAOP: return operand(x->right, t);
    case SCONV:
    case ACONV: return conversion(x->left, t);
    case PCONV:
    case ISP2CHAR:
    case IDENTITY:
    case DDNODE:
    case SSA_USE:
    case SSA_DEF:
    case SSA_MU:
    case SSA_CHI: return x->left ? operand(x->left, t) : unknown(t);
    case ICALL:
        if (is_strict_ternary_ICALL(x)) return both_arms(x->left->left->right, x->left->right, t);
        [[fallthrough]];
    case UICALL:
    case MCALL:
    case UMCALL: return called(x);
    default: break;
    }
    if (op_is_opASG(x->op)) return op_assigned(x);
    bool one = number_of_operands[x->op] == 1, two = number_of_operands[x->op] == 2;
    if ((!one && !two) || !x->left || (two && !x->right)) return unknown(t);
    bool is_shift = x->op == SLL || x->op == SRL;
    switch (x->op) {
    case PLUS:
    case MINUS:
    case UMINUS:
    case NOTB:
    case MULT:
    case SQR:
    case DIV:
    case MOD:
    case ORB:
    case XORB:
    case SLL:
    case SRL:
    case ABS:
        return computed(x->op, operand(x->left, t), one || is_shift ? BITS{0, 0} : operand(x->right, t),
                        x->right, t);
    default: return unknown(t);
    }
}

BITS bits_of(const NODE *x) {
    LEVEL level;
    if (level.is_too_far()) return unknown(x->type);
    return within(x->type, looked_at(x));
}

} // namespace

KNOWN_BITS find_known_bits(const NODE *tree, TYPE *type) {
    if (!has_bits(type)) return {INT65(0), INT65(-1)};
    BITS bits = operand(tree, type);
    return {as_set(bits.ones), as_set(bits.maybe)};
}
INT65 find_known_ones(const NODE *tree, TYPE *type) {
    return has_bits(type) ? as_set(operand(tree, type).ones) : INT65(0);
}

INT65 find_known_zeros(const NODE *tree, TYPE *type) {
    return has_bits(type) ? as_set(operand(tree, type).maybe) : INT65(-1);
}

INT65 find_known_zeros_in_ANDB(const NODE *tree, struct LOOP *loop) {
    if (!has_bits(tree->type)) return INT65(-1);
    SAVED<struct LOOP *> facts(question.loop, loop);
    return as_set(bits_of(tree).maybe);
}

INT65 find_known_zeros_in_range(INT65 low, INT65 high) {
    INT65 differing = low ^ high;
    if (differing.is_negative() || low > high) return INT65(-1);
    return high | ((INT65(1) << (differing.log2() + 1)) - INT65(1));
}

INT65 find_known_ones_in_range(INT65 low, INT65 high) {
    INT65 differing = low ^ high;
    if (differing.is_negative() || low > high) return INT65(0);
    return high & ~((INT65(1) << (differing.log2() + 1)) - INT65(1));
}
