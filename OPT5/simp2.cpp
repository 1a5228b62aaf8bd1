#include "OPT5/simp2.h"

#include <algorithm>
#include <bit>

#include "OPT5/bbutils.h"
#include "OPT5/coerce.h"
#include "OPT5/congruent.h"
#include "OPT5/fold.h"
#include "OPT5/rules.h"
#include "OPT5/simp1.h"
#include "OPT5/simp3.h"
#include "OPT5/simp_arith.h"
#include "OPT5/simp_known.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "OPT5/typefacts.h"
#include "typepkg/type_pkg.h"

unsigned prop_mask_cap_hits, drop_walk_cap_hits;

namespace {

// --- bits ---

// Types whose operators work modulo a power of two. A conversion to a boolean is no truncation.
bool is_ring(const TYPE *t) {
    return (t->is_integral() || t->is_enum()) && !t->is_bool() && t->size > 0 && t->size <= 64;
}
bool same_ring(const NODE *a, const NODE *b) {
    return is_ring(a->type) && is_ring(b->type) && a->type->size == b->type->size;
}
uint64_t mask_of(const TYPE *t) { return t->size >= 64 ? ~0ull : (1ull << t->size) - 1; }
uint64_t sign_of(const TYPE *t) { return 1ull << (t->size - 1); }
uint64_t fill_down(uint64_t v) {
    return v == 0 ? 0 : ~0ull >> std::countl_zero(v);
} // from the highest bit downward
INT65 as_INT65(uint64_t v) { return INT65(static_cast<unsigned long long>(v)); }

// The bits of a constant operand of an operator of that type.
uint64_t bits_of(const NODE *icon, const TYPE *t) { return icon->u.lval.to_uint64() & mask_of(t); }
bool is_ICON_in(const NODE *n) { return n->op == ICON && is_ring(n->type); }
uint64_t ones_of(const NODE *x, TYPE *t) { return find_known_ones(x, t).to_uint64() & mask_of(t); }
uint64_t maybe_of(const NODE *x, TYPE *t) { return find_known_zeros(x, t).to_uint64() & mask_of(t); }

// --- trees ---

NODE *new_ICON(uint64_t bits, TYPE *t, LS *scope) {
    NODE *n = mk_ICON(as_INT65(bits), t);
    n->scope = scope;
    return n;
}

void set_ICON(NODE *icon, uint64_t bits, TYPE *t) {
    icon->type = icon->otype = t;
    icon->u.lval = truncate_to_type(as_INT65(bits), t);
}

NODE *take_left(NODE *n) {
    NODE *kept = n->left;
    n->left = nullptr;
    erase_tree(n);
    return kept;
}

NODE *as_type(TYPE *t, NODE *x, struct LOOP *loop) {
    NODE *converted = coerce_to_type(t, x);
    return converted == x ? x : simp_node(converted, loop);
}

// The left operand of a node that does nothing to it, as a value of the node's type.
NODE *only_left(NODE *n, struct LOOP *loop) {
    TYPE *t = n->type;
    return as_type(t, take_left(n), loop);
}

// The constant, after what must still run of the node's operands.
NODE *only_constant(NODE *n, uint64_t bits, struct LOOP *loop) {
    NODE *value = new_ICON(bits, n->type, n->scope), *effects = peel_for_effect(n);
    return effects ? simp_COMMAOP(mk_COMMAOP(effects, value), loop) : value;
}

// Evaluating the tree may be left out: no effect, and no division that could trap. Large trees are kept.
bool may_drop(const NODE *tree) {
    int nodes = 0;
    const NODE *obstacle = find_node(tree, [&](const NODE *n) {
        if (++nodes > DROP_WALK_CAP) return ++drop_walk_cap_hits, true;
        return (n->op == DIV || n->op == MOD) && (n->right->op != ICON || n->right->u.lval.is_zero());
    });
    return !obstacle && !tree_has_side_effects(tree);
}

// What a rule did: nothing; changed the node; made the tree that is the result, which is simplified.
enum STEP { NO_STEP, AGAIN, DONE };

// ---------------------------------------------------------------------------------------------------------
// constants under a mask
// ---------------------------------------------------------------------------------------------------------

// How many instructions it takes to bring the constant into an operation: immediates are eight bits at an even place,
// used as they are, inverted or negated.
int cost_of_word(uint32_t v) {
    auto pieces = [](uint32_t w) {
        int n = 0;
        for (; w; n++) w &= ~(0xFFu << (std::countr_zero(w) & ~1));
        return std::max(n, 1);
    };
    return std::min({pieces(v), pieces(~v), pieces(0 - v)});
}
int cost_of_constant(uint64_t bits, TYPE *t) {
    uint64_t v = truncate_to_type(as_INT65(bits), t).to_uint64();
    return cost_of_word(uint32_t(v)) + (t->size > 32 ? cost_of_word(uint32_t(v >> 32)) : 0);
}

// Don't-care bits take the value of the next care bit above them, at the top that of the highest one.
uint64_t with_neighbours(uint64_t kept, uint64_t mask, const TYPE *t) {
    uint64_t result = 0;
    bool value = (kept >> (63 - std::countl_zero(mask))) & 1;
    for (int i = int(t->size); i-- > 0;) {
        if (mask >> i & 1) value = kept >> i & 1;
        result |= uint64_t(value) << i;
    }
    return result;
}

// The cheapest constant with these bits in the mask, which is not empty. In a sum the bits outside are not filled: the
// conversions' rules cut its constants too, and one shape must win.
uint64_t shaped(uint64_t bits, uint64_t mask, TYPE *t, bool may_fill) {
    uint64_t best = bits & mask;
    if (uint64_t filled = with_neighbours(best, mask, t);
        may_fill && cost_of_constant(filled, t) < cost_of_constant(best, t))
        best = filled;
    return cost_of_constant(best, t) <= cost_of_constant(bits, t) ? best : bits;
}

// ---------------------------------------------------------------------------------------------------------
// pushing a mask down
// ---------------------------------------------------------------------------------------------------------

struct PROPAGATION {
    int depth = 0, visits = 0;
    unsigned changes = 0;
} prop;

struct PROP_LEVEL {
    PROP_LEVEL() {
        if (prop.depth++ == 0) prop.visits = 0;
        prop.visits++;
    }
    ~PROP_LEVEL() { prop.depth--; }
    PROP_LEVEL(const PROP_LEVEL &) = delete;
    PROP_LEVEL &operator=(const PROP_LEVEL &) = delete;
    bool is_too_far() const {
        return (prop.depth > PROP_MASK_DEPTH || prop.visits > PROP_MASK_VISITS) && ++prop_mask_cap_hits;
    }
};

NODE *push(NODE *x, uint64_t m, bool may_strip);

// A tree of which the bits m are read by something that may be wider: bits that the tree's type does not have are
// copies of its sign, or zeros, and its type must stay for them.
NODE *push_from_above(NODE *x, uint64_t m, bool may_strip = true) {
    if (!is_ring(x->type)) return x;
    uint64_t own = m & mask_of(x->type);
    bool reads_extension = own != m;
    if (reads_extension && x->type->is_signed()) own |= sign_of(x->type);
    return push(x, own, may_strip && !reads_extension);
}

// The operand of an operator of type `t`.
NODE *push_operand(NODE *x, uint64_t m, const TYPE *t, bool may_strip = true) {
    return push_from_above(x, m & mask_of(t), may_strip);
}

void push_into(NODE *&place, uint64_t m, const TYPE *t) { place = push_operand(place, m, t); }

// The left operand of a node that does nothing to the bits of the mask.
NODE *push_and_keep_left(NODE *x, uint64_t m) {
    prop.changes++;
    push_into(x->left, m, x->type);
    return only_left(x, nullptr);
}

void shape_operand(NODE *icon, uint64_t m, TYPE *t, bool may_fill) {
    uint64_t old = bits_of(icon, t);
    if (!may_fill && (old & ~m) == 0) return;
    uint64_t better = shaped(old, m, t, may_fill);
    if (better == old || !RULE("mask: constant of a sum or XORB, bits outside of the mask")) return;
    set_ICON(icon, better, t);
    prop.changes++;
}

// SCONV(x)  ->  x          both sides have the bits of the mask
NODE *push_into_SCONV(NODE *x, uint64_t m, bool may_strip) {
    NODE *y = x->left;
    if (!is_ring(y->type)) return x;
    bool same_registers = (x->type->size > 32) == (y->type->size > 32);
    if (may_strip && same_registers && (m & ~mask_of(y->type)) == 0 && RULE("mask: SCONV(x) -> x")) {
        prop.changes++;
        return push(take_left(x), m, true);
    }
    x->left = push_operand(y, m, x->type);
    return x;
}

// Bit 0 alone:  x + y, x - y  ->  x ^ y        x * y  ->  x & y         -x  ->  x
NODE *push_bit_0(NODE *x) {
    bool are_numbers = is_ring(x->left->type) && (!x->right || is_ring(x->right->type));
    if (!are_numbers) return x;
    if ((x->op == PLUS || x->op == MINUS) && RULE("mask 1: x + y, x - y -> x ^ y"))
        x->op = XORB, prop.changes++;
    else if (x->op == MULT && RULE("mask 1: x * y -> x & y")) x->op = ANDB, prop.changes++;
    else if (x->op == UMINUS && RULE("mask 1: -x -> x")) return push_and_keep_left(x, 1);
    return x;
}

// A bit of a sum depends on the bits below it.
// x + c, x - c  ->  x       c has none of these
NODE *push_into_sum(NODE *x, uint64_t m) {
    uint64_t low = fill_down(m);
    TYPE *t = x->type;
    if (!is_ring(x->left->type) || !is_ring(x->right->type)) return x;
    if (x->right->op == ICON && (bits_of(x->right, t) & low) == 0 && RULE("mask: x + c, x - c -> x"))
        return push_and_keep_left(x, m);
    for (auto place : {&x->left, &x->right}) {
        NODE *&operand = *place;
        if (operand->op == ICON) shape_operand(operand, low, t, false);
        else push_into(operand, low, t);
    }
    return x;
}

// A bit of a product too; by a factor with k zeros at the end, k places lower.
// x * c  ->  x * 2^k         c has one bit there
NODE *push_into_product(NODE *x, uint64_t m) {
    uint64_t low = fill_down(m);
    TYPE *t = x->type;
    if (!is_ring(x->left->type) || !is_ring(x->right->type)) return x;
    if (x->right->op != ICON) {
        push_into(x->left, low, t);
        push_into(x->right, low, t);
        return x;
    }
    uint64_t c = bits_of(x->right, t), kept = c & low;
    if (kept == 0) return x; // known bits see it
    if (kept != c && std::has_single_bit(kept) && RULE("mask: x * c -> x * 2^k")) {
        set_ICON(x->right, kept, t);
        prop.changes++;
        c = kept;
    }
    push_into(x->left, (std::has_single_bit(c) ? m : low) >> std::countr_zero(c), t);
    return x;
}

// x & c  ->  x      c has all bits of the mask
// x & c  ->  0      c has none of them
// x & c  ->  x & (c & mask)
NODE *push_into_ANDB(NODE *x, uint64_t m) {
    TYPE *t = x->type;
    if (!is_ICON_in(x->right)) {
        push_into(x->left, m, t);
        push_into(x->right, m, t);
        return x;
    }
    uint64_t c = bits_of(x->right, t), kept = c & m;
    if (kept == m && RULE("mask: x & c -> x")) return push_and_keep_left(x, m);
    if (kept == 0 && may_drop(x->left) && RULE("mask: x & c -> 0")) {
        prop.changes++;
        return only_constant(x, 0, nullptr);
    }
    if (kept != 0 && kept != c && RULE("mask: x & c -> x & (c & mask)")) {
        set_ICON(x->right, kept, t);
        prop.changes++;
        c = kept;
    }
    push_into(x->left, c & m, t);
    return x;
}

// x | c, x ^ c  ->  x       c has no bit of the mask
// x | c         ->  c       c has all of them
// x | c         ->  x | (c & mask)
NODE *push_into_ORB(NODE *x, uint64_t m) {
    TYPE *t = x->type;
    if (!is_ICON_in(x->right)) {
        push_into(x->left, m, t);
        push_into(x->right, m, t);
        return x;
    }
    uint64_t c = bits_of(x->right, t), kept = c & m;
    if (kept == 0 && RULE("mask: x | c, x ^ c -> x")) return push_and_keep_left(x, m);
    if (x->op == XORB) {
        if (kept != 0) shape_operand(x->right, m, t, true);
        push_into(x->left, m, t);
        return x;
    }
    if (kept == m && may_drop(x->left) && RULE("mask: x | c -> c")) {
        prop.changes++;
        return only_constant(x, kept, nullptr);
    }
    if (kept != 0 && kept != c && RULE("mask: x | c -> x | (c & mask)")) {
        set_ICON(x->right, kept, t);
        prop.changes++;
    }
    push_into(x->left, m & ~c, t);
    return x;
}

// The count of a shift by a constant that is less than the width, else -1.
int constant_count(const NODE *shift) {
    const NODE *count = shift->right;
    if (count->op != ICON || count->u.lval.is_negative()) return -1;
    return count->u.lval < INT65(int(shift->type->size)) ? count->u.lval.low_i32() : -1;
}

// x << k, x * 2^k: k, else -1.
int left_shift_of(const NODE *x) {
    if (!is_ring(x->type)) return -1;
    if (x->op == SLL) return constant_count(x);
    if (x->op != MULT || !is_ICON_in(x->right)) return -1;
    uint64_t c = bits_of(x->right, x->type);
    return std::has_single_bit(c) ? std::countr_zero(c) : -1;
}

// (x << a) >> b  ->  x << (a-b), x >> (b-a)         no bit of the mask is shifted in
NODE *push_into_shift_pair(NODE *x, uint64_t m, int b) {
    NODE *inner = x->left;
    int a = left_shift_of(inner);
    if (a < 0 || inner->type->size != x->type->size || !is_ring(inner->left->type)) return nullptr;
    if (!RULE("mask: (x << a) >> b -> x << (a-b), x >> (b-a)")) return nullptr;
    prop.changes++;
    if (a <= b) {
        x->left = take_left(inner);
        if (a == b) return push_and_keep_left(x, m);
        x->right->u.lval = INT65(b - a);
        return x;
    }
    if (inner->op == SLL) inner->right->u.lval = INT65(a - b);
    else set_ICON(inner->right, 1ull << (a - b), inner->type);
    x->left = simp_node(inner, nullptr);
    return push_and_keep_left(x, m);
}

NODE *push_into_SRL(NODE *x, uint64_t m) {
    int k = constant_count(x), width = int(x->type->size);
    if (k <= 0 || !is_ring(x->left->type)) return x;
    bool reads_shifted_in = (m >> (width - k)) != 0;
    if (!reads_shifted_in)
        if (NODE *shorter = push_into_shift_pair(x, m, k)) return shorter;
    uint64_t read = m << k;
    if (reads_shifted_in && x->type->is_signed()) read |= sign_of(x->type);
    push_into(x->left, read, x->type);
    return x;
}

NODE *push_into_SLL(NODE *x, uint64_t m) {
    if (int k = constant_count(x); k > 0) push_into(x->left, m >> k, x->type);
    return x;
}

NODE *push_into_arms(NODE *x, uint64_t m) {
    NODE *colon = x->right;
    if (colon->op != COLON) return x;
    colon->left = push_operand(colon->left, m, x->type, false);
    colon->right = push_operand(colon->right, m, x->type, false);
    return x;
}

NODE *push_into_ICON(NODE *x, uint64_t m) {
    uint64_t old = bits_of(x, x->type);
    if ((old & m) == old || !RULE("mask: c -> c & mask")) return x;
    set_ICON(x, old & m, x->type);
    prop.changes++;
    return x;
}

NODE *push_into_operator(NODE *x, uint64_t m) {
    switch (x->op) {
    case ICON: return push_into_ICON(x, m);
    case PLUS:
    case MINUS: return push_into_sum(x, m);
    case UMINUS: push_into(x->left, fill_down(m), x->type); return x;
    case NOTB: push_into(x->left, m, x->type); return x;
    case MULT: return push_into_product(x, m);
    case ANDB: return push_into_ANDB(x, m);
    case ORB:
    case XORB: return push_into_ORB(x, m);
    case QUEST: return push_into_arms(x, m);
    case SRL: return push_into_SRL(x, m);
    case SLL: return push_into_SLL(x, m);
    default: return x;
    }
}

// m has bits of x's type only. With `may_strip` the result may have another type that has the bits.
NODE *push(NODE *x, uint64_t m, bool may_strip) {
    PROP_LEVEL level;
    if (m == 0 || level.is_too_far()) return x;
    unsigned before = prop.changes;
    TYPE *t = x->type;
    if (x->op == SCONV) x = push_into_SCONV(x, m, may_strip);
    else if (m == mask_of(t)) return x;
    else {
        bool may_be_sum = x->op == PLUS || x->op == MINUS || x->op == MULT || x->op == UMINUS;
        if (m == 1 && may_be_sum) x = push_bit_0(x);
        if (x->type == t) x = push_into_operator(x, m);
    }
    return prop.changes == before ? x : simp_node(x, nullptr);
}

} // namespace

NODE *prop_mask_into_subtree(NODE *tree, INT65 mask) { return push_from_above(tree, mask.to_uint64()); }

// ---------------------------------------------------------------------------------------------------------
// range checks
// ---------------------------------------------------------------------------------------------------------

namespace {

// A test of an integer against a constant, as a bound that the values which pass have, both ends inclusive. The
// numbers are those that the test compares: of 32 bits, or of 64.
struct LIMIT {
    NODE *subject;
    INT65 value;
    bool is_low, is_unsigned;
    int width;
};

// `inverted`: the values that do not pass.
bool read_limit(NODE *test, bool inverted, LIMIT *l) {
    int op = inverted ? boolean_inv[test->op] : test->op;
    switch (op) {
    case GE:
    case GT:
    case UGE:
    case UGT: l->is_low = true; break;
    case LE:
    case LT:
    case ULE:
    case ULT: l->is_low = false; break;
    default: return false;
    }
    if (!is_ring(test->left->type) || !is_ICON_in(test->right)) return false;
    l->subject = test->left;
    l->is_unsigned = op >= ULE && op <= UGT;
    l->width = test->left->type->size > 32 || test->right->type->size > 32 ? 64 : 32;
    INT65 c = test->right->u.lval;
    c = l->is_unsigned ? c.truncate_unsigned(l->width) : c.truncate_signed(l->width);
    if (op == GT || op == UGT) c += INT65(1);
    if (op == LT || op == ULT) c -= INT65(1);
    l->value = c;
    return c >= int_type_min(l->subject->type) && c <= int_type_max(l->subject->type) &&
           (l->is_unsigned ? c.fits_unsigned(l->width) : c.fits_signed(l->width));
}

} // namespace

// (a >= lo) & (a <= hi)  ->  a - lo ULE hi - lo        lo < hi; in an unsigned type, where a - lo may wrap
// (a < lo) | (a > hi)    ->  a - lo UGT hi - lo
NODE *simp_range_check(NODE *n, struct LOOP *loop) {
    bool outside = n->op == ORB || n->op == OROR;
    LIMIT low, high;
    if (!read_limit(n->left, outside, &low) || !read_limit(n->right, outside, &high)) return nullptr;
    if (low.is_low == high.is_low) return nullptr;
    if (!low.is_low) std::swap(low, high);
    if (low.is_unsigned != high.is_unsigned || low.width != high.width) return nullptr;
    if (low.value >= high.value || !trees_are_congruent(low.subject, high.subject)) return nullptr;
    if (outside ? !RULE("ORB, OROR: (a < lo) | (a > hi) -> a - lo UGT hi - lo")
                : !RULE("ANDB, ANDAND: (a >= lo) & (a <= hi) -> a - lo ULE hi - lo"))
        return nullptr;
    TYPE *t = tp->basic_int(low.width == 64 ? IK_ullong : IK_uint), *result = n->type;
    LS *scope = n->scope;
    NODE *a = as_type(t, take_left(take_left(n)), loop);
    if (!low.value.is_zero())
        a = simp_node(maketree(MINUS, a, new_ICON(low.value.to_uint64(), t, scope), t, scope), loop);
    NODE *size = new_ICON((high.value - low.value).to_uint64(), t, scope);
    return as_type(result, simp_node(maketree(outside ? UGT : ULE, a, size, tp->int_type(), scope), loop),
                   loop);
}

// ---------------------------------------------------------------------------------------------------------
// ANDB
// ---------------------------------------------------------------------------------------------------------

namespace {

using RULE_FN = STEP (*)(NODE *&n, struct LOOP *loop);

template <size_t N> STEP first_that_fits(const RULE_FN (&rules)[N], NODE *&n, struct LOOP *loop) {
    for (RULE_FN rule : rules)
        if (STEP s = rule(n, loop); s != NO_STEP) return s;
    return NO_STEP;
}

STEP done(NODE *&n, NODE *result) {
    n = result;
    return DONE;
}

// c1 op c2
STEP fold_bits(NODE *&n, struct LOOP *loop) {
    if (!is_ICON_in(n->left) || !is_ICON_in(n->right)) return NO_STEP;
    uint64_t a = bits_of(n->left, n->type), b = bits_of(n->right, n->type);
    uint64_t v = n->op == ANDB ? a & b : n->op == ORB ? a | b : a ^ b;
    if (!RULE("bits: c1 op c2 -> c")) return NO_STEP;
    return done(n, only_constant(n, v, loop));
}

// x & x, x | x  ->  x        x ^ x  ->  0
STEP same_operands(NODE *&n, struct LOOP *loop) {
    if (!trees_are_congruent(n->left, n->right)) return NO_STEP;
    if (n->op == XORB) return RULE("XORB: x ^ x -> 0") ? done(n, only_constant(n, 0, loop)) : NO_STEP;
    return RULE("bits: x & x, x | x -> x") ? done(n, only_left(n, loop)) : NO_STEP;
}

// (u & v) & v, (v & u) & v  ->  u & v        the same for ORB; nothing happens in u in the second form
// (u ^ v) ^ v, (v ^ u) ^ v  ->  u
STEP operand_seen_before(NODE *&n, struct LOOP *loop) {
    NODE *x = n->left, *v = n->right;
    if (x->op != n->op || !same_ring(x, n) || !is_ring(v->type) || v->op == ICON) return NO_STEP;
    bool is_last = trees_are_congruent(x->right, v);
    if (!is_last && (!trees_are_congruent(x->left, v) || !may_drop(x->right))) return NO_STEP;
    if (n->op != XORB) return RULE("bits: (u & v) & v -> u & v") ? done(n, only_left(n, loop)) : NO_STEP;
    if (!RULE("XORB: (u ^ v) ^ v -> u")) return NO_STEP;
    if (!is_last) std::swap(x->left, x->right);
    TYPE *t = n->type;
    x = take_left(n);
    return done(n, as_type(t, only_left(x, loop), loop));
}

// x & c  ->  x & (c & 1)      x is 0 or 1
STEP mask_of_boolean(NODE *&n, struct LOOP *) {
    if (!is_ICON_in(n->right) || !returns_1_or_0(n->left)) return NO_STEP;
    uint64_t c = bits_of(n->right, n->type);
    if ((c & ~1ull) == 0 || !RULE("ANDB: x & c -> x & (c & 1), x is 0 or 1")) return NO_STEP;
    set_ICON(n->right, c & 1, n->type);
    return AGAIN;
}

// ((u & d) + e) & d  ->  (u & d) + (e & d)        d = -(2^k)
STEP mask_of_rounded_sum(NODE *&n, struct LOOP *loop) {
    NODE *sum = n->left, *d = n->right;
    if (!is_ICON_in(d) || sum->op != PLUS || !same_ring(sum, n) || !is_ICON_in(sum->right)) return NO_STEP;
    NODE *inner = sum->left;
    if (inner->op != ANDB || !same_ring(inner, n) || !is_ICON_in(inner->right)) return NO_STEP;
    TYPE *t = n->type;
    uint64_t c = bits_of(d, t), e = bits_of(sum->right, t);
    if (!std::has_single_bit((0 - c) & mask_of(t)) || bits_of(inner->right, t) != c) return NO_STEP;
    if (!RULE("ANDB: ((u & d) + e) & d -> (u & d) + (e & d)")) return NO_STEP;
    set_ICON(sum->right, e & c, sum->type);
    NODE *rest = take_left(n);
    return done(n, as_type(t, simp_node(rest, loop), loop));
}

// The mask loop. The operand is freed of the bits that nobody reads, and the constant of those that can't be set:
// x & c  ->  0        no bit of c can be set in x
// x & c  ->  x        no other bit can be
// x & c  ->  c        every bit of c is set
// x & c  ->  x & (c & what can be set)
STEP mask_of_known_bits(NODE *&n, struct LOOP *loop) {
    if (!is_ICON_in(n->right)) return NO_STEP;
    TYPE *t = n->type;
    bool was_comma = n->left->op == COMMAOP; // one that the rule limit keeps in its place
    for (uint64_t c = bits_of(n->right, t);;) {
        push_into(n->left, c, t);
        NODE *x = n->left;
        if (is_ICON_in(x)) return fold_bits(n, loop);
        if (x->op == COMMAOP) return was_comma ? NO_STEP : done(n, simp_node(n, loop));
        if (!TYPE_IS_INT(x->type)) return NO_STEP;
        uint64_t maybe = maybe_of(x, t), useful = c & maybe;
        if (useful == 0 && RULE("ANDB: x & c -> 0, x has no bit of c"))
            return done(n, only_constant(n, 0, loop));
        if (useful == maybe && RULE("ANDB: x & c -> x, x has no other bits"))
            return done(n, only_left(n, loop));
        if ((useful & ~ones_of(x, t)) == 0 && RULE("ANDB: x & c -> c, x has all bits of c"))
            return done(n, only_constant(n, useful, loop));
        if (useful == c || useful == 0 || !RULE("ANDB: x & c -> x & (c & known bits of x)")) return NO_STEP;
        set_ICON(n->right, c = useful, t);
    }
}

// (u | d) & c  ->  (u & c) | (d & c)        u is not v & e, which the mask has gone into
STEP mask_of_ORB(NODE *&n, struct LOOP *loop) {
    NODE *orb = n->left;
    if (!is_ICON_in(n->right) || orb->op != ORB || !same_ring(orb, n) || !is_ICON_in(orb->right))
        return NO_STEP;
    TYPE *t = n->type;
    uint64_t c = bits_of(n->right, t), both = c & bits_of(orb->right, t);
    bool is_masked = orb->left->op == ANDB && is_ICON_in(orb->left->right);
    if (both == 0 || is_masked || !RULE("ANDB: (u | d) & c -> (u & c) | (d & c)")) return NO_STEP;
    n->left = orb->left;
    orb->left = simp_node(n, loop);
    orb->type = orb->otype = t;
    set_ICON(orb->right, both, t);
    return done(n, simp_node(orb, loop));
}

STEP range_check(NODE *&n, struct LOOP *loop) {
    NODE *test = simp_range_check(n, loop);
    return test ? done(n, test) : NO_STEP;
}

constexpr RULE_FN andb_rules[] = {fold_bits,       same_operands,       operand_seen_before,
                                  mask_of_boolean, mask_of_rounded_sum, mask_of_known_bits,
                                  mask_of_ORB,     range_check};

// The common frame of the three workers.
template <size_t N> NODE *simp_bits(NODE *n, struct LOOP *loop, const RULE_FN (&rules)[N]) {
    int op = n->op;
    n = simp_assoc(n, loop);
    if (n->op != op || !is_ring(n->type)) return n;
    if (n->left->op == ICON && n->right->op != ICON) std::swap(n->left, n->right);
    for (;;) {
        switch (first_that_fits(rules, n, loop)) {
        case AGAIN: continue;
        case DONE: return n;
        case NO_STEP: break;
        }
        if (op == ANDB) return simp_redundant_test(n, andb_combo_map, init_andb_combo_map);
        if (op == ORB) return simp_redundant_test(n, ORB_combo_map, init_ORB_combo_map);
        return n;
    }
}

} // namespace

NODE *simp_ANDB(NODE *node, struct LOOP *loop) { return simp_bits(node, loop, andb_rules); }

// ---------------------------------------------------------------------------------------------------------
// ORB
// ---------------------------------------------------------------------------------------------------------

namespace {

// x | c  ->  -1                 every bit is in c or known one
// x | c  ->  x                  c has no bit that x lacks
// x | c  ->  x | (c & ~ones)
// x | c  ->  c                  x has no other bit
// and the bits of c are not computed in x
STEP set_known_bits(NODE *&n, struct LOOP *loop) {
    if (!is_ICON_in(n->right)) return NO_STEP;
    TYPE *t = n->type;
    uint64_t all = mask_of(t), c = bits_of(n->right, t);
    bool was_comma = n->left->op == COMMAOP; // one that the rule limit keeps in its place
    push_into(n->left, ~c & all, t);
    NODE *x = n->left;
    if (is_ICON_in(x)) return fold_bits(n, loop);
    if (x->op == COMMAOP) return was_comma ? NO_STEP : done(n, simp_node(n, loop));
    if (!TYPE_IS_INT(x->type)) return NO_STEP;
    uint64_t ones = ones_of(x, t), maybe = maybe_of(x, t), useful = c & ~ones;
    if ((c | ones) == all && RULE("ORB: x | c -> -1, all bits are set"))
        return done(n, only_constant(n, all, loop));
    if (useful == 0 && RULE("ORB: x | c -> x, x has all bits of c")) return done(n, only_left(n, loop));
    if ((maybe & ~c) == 0 && RULE("ORB: x | c -> c, x has no other bits"))
        return done(n, only_constant(n, c, loop));
    if (useful == c || useful == 0 || !RULE("ORB: x | c -> x | (c & ~known ones of x)")) return NO_STEP;
    set_ICON(n->right, useful, t);
    return AGAIN;
}

// (u ^ d) | c  ->  u ^ (d | c)        u has no bit of c
STEP set_in_XORB(NODE *&n, struct LOOP *loop) {
    NODE *x = n->left;
    if (!is_ICON_in(n->right) || x->op != XORB || !same_ring(x, n) || !is_ICON_in(x->right)) return NO_STEP;
    TYPE *t = n->type;
    uint64_t c = bits_of(n->right, t), d = bits_of(x->right, t);
    if ((maybe_of(x->left, t) & c) != 0 || !RULE("ORB: (u ^ d) | c -> u ^ (d | c), u has no bit of c"))
        return NO_STEP;
    set_ICON(x->right, d | c, x->type);
    x = take_left(n);
    return done(n, as_type(t, simp_node(x, loop), loop));
}

// ((u | e) & d) | c  ->  (u & (d & ~k)) | k        k = (e & d) | c; u | e not wider than the mask
STEP set_in_masked_ORB(NODE *&n, struct LOOP *loop) {
    NODE *mask = n->left;
    if (!is_ICON_in(n->right) || mask->op != ANDB || !same_ring(mask, n) || !is_ICON_in(mask->right))
        return NO_STEP;
    NODE *orb = mask->left;
    if (orb->op != ORB || !is_ring(orb->type) || orb->type->size > n->type->size || !is_ICON_in(orb->right) ||
        !is_ring(orb->left->type))
        return NO_STEP;
    TYPE *t = n->type, *narrow = orb->type;
    // u | e is extended by its sign: so are both
    uint64_t e = truncate_to_type(orb->right->u.lval, narrow).to_uint64() & mask_of(t);
    uint64_t d = bits_of(mask->right, t), k = (e & d) | bits_of(n->right, t);
    if ((d & ~k) == 0 || !RULE("ORB: ((u | e) & d) | c -> (u & (d & ~k)) | k, k = (e & d) | c"))
        return NO_STEP;
    mask->left = as_type(narrow, take_left(orb), loop);
    set_ICON(mask->right, d & ~k, mask->type);
    set_ICON(n->right, k, t);
    n->left = simp_node(mask, loop);
    return done(n, simp_node(n, loop));
}

bool is_masked(const NODE *x, const NODE *n) {
    return x->op == ANDB && same_ring(x, n) && is_ICON_in(x->right);
}

// (a & d) | (a & c)        ->  a & (d | c)
// (v | (a & d)) | (a & c)  ->  v | (a & (d | c))
// ((a & d) | v) | (a & c)  ->  (a & (d | c)) | v         nothing happens in v
STEP join_masks(NODE *&n, struct LOOP *loop) {
    NODE *last = n->right;
    if (!is_masked(last, n)) return NO_STEP;
    auto fits = [&](const NODE *first) {
        return is_masked(first, n) && trees_are_congruent(first->left, last->left);
    };
    NODE **place = nullptr, *orb = n->left;
    if (orb->op != ORB || !same_ring(orb, n)) place = fits(orb) ? &n->left : nullptr;
    else if (fits(orb->right)) place = &orb->right;
    else if (fits(orb->left) && may_drop(orb->right)) place = &orb->left;
    if (!place || !RULE("ORB: (a & d) | (a & c) -> a & (d | c)")) return NO_STEP;
    TYPE *t = n->type;
    NODE *&first = *place;
    set_ICON(first->right, bits_of(first->right, t) | bits_of(last->right, t), first->type);
    first = simp_node(first, loop);
    if (place == &n->left) return done(n, only_left(n, loop));
    NODE *rest = take_left(n);
    return done(n, as_type(t, simp_node(rest, loop), loop));
}

constexpr RULE_FN orb_rules[] = {fold_bits,   same_operands,     operand_seen_before, set_known_bits,
                                 set_in_XORB, set_in_masked_ORB, join_masks,          range_check};

} // namespace

NODE *simp_ORB(NODE *node, struct LOOP *loop) { return simp_bits(node, loop, orb_rules); }

// ---------------------------------------------------------------------------------------------------------
// XORB
// ---------------------------------------------------------------------------------------------------------

namespace {

// x ^ c  ->  x | c          x has no bit of c
// x ^ c  ->  x & ~c         x has all bits of c
STEP flip_known_bits(NODE *&n, struct LOOP *loop) {
    if (!is_ICON_in(n->right) || !TYPE_IS_INT(n->left->type)) return NO_STEP;
    TYPE *t = n->type;
    uint64_t c = bits_of(n->right, t);
    if (c == 0) return NO_STEP;
    if ((maybe_of(n->left, t) & c) == 0 && RULE("XORB: x ^ c -> x | c, x has no bit of c")) {
        n->op = ORB;
        set_ICON(n->right, c, t);
        return done(n, simp_node(n, loop));
    }
    if ((c & ~ones_of(n->left, t)) == 0 && RULE("XORB: x ^ c -> x & ~c, x has all bits of c")) {
        n->op = ANDB;
        set_ICON(n->right, ~c & mask_of(t), t);
        return done(n, simp_node(n, loop));
    }
    return NO_STEP;
}

// (u & c) ^ c   ->  (u ^ c) & c
// (u & d) ^ -1  ->  (u ^ -1) | ~d
STEP flip_masked(NODE *&n, struct LOOP *loop) {
    NODE *mask = n->left;
    if (!is_ICON_in(n->right) || !is_masked(mask, n)) return NO_STEP;
    TYPE *t = n->type;
    uint64_t c = bits_of(n->right, t), d = bits_of(mask->right, t);
    int outer = 0;
    if (c == d && RULE("XORB: (u & c) ^ c -> (u ^ c) & c")) outer = ANDB;
    else if (c == mask_of(t) && RULE("XORB: (u & d) ^ -1 -> (u ^ -1) | ~d")) outer = ORB;
    else return NO_STEP;
    n->left = mask->left;
    mask->left = simp_node(n, loop);
    mask->op = int16_t(outer);
    mask->type = mask->otype = t;
    set_ICON(mask->right, outer == ANDB ? c : c & ~d, t);
    return done(n, simp_node(mask, loop));
}

constexpr RULE_FN xorb_rules[] = {fold_bits, same_operands, operand_seen_before, flip_known_bits,
                                  flip_masked};

} // namespace

NODE *simp_XORB(NODE *node, struct LOOP *loop) { return simp_bits(node, loop, xorb_rules); }
