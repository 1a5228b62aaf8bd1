#include "OPT5/simp_arith.h"

#include "OPT5/bbutils.h"
#include "OPT5/coerce.h"
#include "OPT5/congruent.h"
#include "OPT5/fold.h"
#include "OPT5/rules.h"
#include "OPT5/simp1.h"
#include "OPT5/simp3.h"
#include "OPT5/simp_known.h"
#include "OPT5/simp_shape.h"
#include "OPT5/symbolic.h"
#include "OPT5/symfactor.h"
#include "OPT5/typefacts.h"

unsigned assoc_span_cap_hits, term_merge_span_cap_hits, term_sort_span_cap_hits;

namespace {

using RULE_FN = STEP (*)(NODE *&, struct LOOP *);

bool in_ring(const NODE *x, const NODE *n) { return same_ring(x->type, n->type); }
bool is_op_in_ring(const NODE *x, int op, const NODE *n) { return x->op == op && in_ring(x, n); }
// x * c
bool is_product_by_ICON(const NODE *x, const NODE *n) {
    return is_op_in_ring(x, MULT, n) && is_icon(x->right);
}
bool is_sum(const NODE *x, const NODE *n) { return (x->op == PLUS || x->op == MINUS) && in_ring(x, n); }
bool is_pure_address(const NODE *x) { return x->op == PCONV || x->op == ISP2CHAR; }

// The integer type of the node's ring.
TYPE *ring_int(const NODE *n) { return offset_type(n->type); }

void exchange(NODE *n) { std::swap(n->left, n->right); }

// One of the rules applied: NO_STEP when none does.
template <size_t N> STEP try_rules(RULE_FN const (&rules)[N], NODE *&n, struct LOOP *loop) {
    for (RULE_FN rule : rules)
        if (STEP step = rule(n, loop)) return step;
    return NO_STEP;
}

// --- what PLUS, ANDB, ORB and XORB have in common ---

// c op x  ->  x op c        leaf op tree  ->  tree op leaf         a pointer stays on the left of a sum
STEP order_operands(NODE *&n, struct LOOP *) {
    NODE *a = n->left, *b = n->right;
    if (is_constant_leaf(b)) return NO_STEP;
    bool exchanges = is_constant_leaf(a);
    if (n->op == PLUS && n->type->is_ptr()) exchanges |= b->type->is_ptr() && !a->type->is_ptr();
    if (n->op == PLUS && n->type->is_ptr() && a->type->is_ptr()) exchanges = false;
    else exchanges |= (is_leaf(a) || is_address_of_name(a)) && !is_leaf(b) && !is_address_of_name(b);
    if (!exchanges || !may_exchange(a, b) || !RULE("assoc: leaf op x -> x op leaf")) return NO_STEP;
    exchange(n);
    return AGAIN;
}

// (T)x op y  ->  x op y        the conversion keeps all bits; that of a narrower index of a pointer went by itself
bool strip_ring_conversion(NODE *&operand, const NODE *n) {
    if (operand->op != SCONV || !in_ring(operand, n) || !in_ring(operand->left, n)) return false;
    if (operand->left->type->is_ptr() || is_bitfield(operand->left) ||
        !RULE("assoc: SCONV(x) op y -> x op y"))
        return false;
    NODE *inner = operand->left;
    erase_node(operand);
    operand = inner;
    return true;
}

STEP strip_conversions(NODE *&n, struct LOOP *) {
    return strip_ring_conversion(n->left, n) || strip_ring_conversion(n->right, n) ? AGAIN : NO_STEP;
}

// x op 0 -> x     x & 0 -> (x, 0)     b & 1 -> b     b | 1 -> (b, 1)         b is 0 or 1
STEP constant_right(NODE *&n, struct LOOP *loop) {
    if (!is_icon(n->right)) return NO_STEP;
    INT65 c = n->right->u.lval;
    TYPE *type = n->type;
    if (c.is_zero()) {
        if (n->op == ANDB) {
            if (!RULE("assoc: x & 0 -> (x, 0)")) return NO_STEP;
            n = constant_after_operands(n, INT65(0), loop);
        } else {
            if (!RULE("assoc: x op 0 -> x")) return NO_STEP;
            n = in_type(type, keep_left(n), loop);
        }
        return DONE;
    }
    if (c != INT65(1) || (n->op != ANDB && n->op != ORB) || !returns_1_or_0(n->left)) return NO_STEP;
    if (n->op == ANDB) {
        if (!RULE("assoc: b & 1 -> b")) return NO_STEP;
        n = in_type(type, keep_left(n), loop);
    } else {
        if (!RULE("assoc: b | 1 -> (b, 1)")) return NO_STEP;
        n = constant_after_operands(n, INT65(1), loop);
    }
    return DONE;
}

INT65 fold_bits(int op, INT65 a, INT65 b) {
    switch (op) {
    case PLUS: return a + b;
    case MINUS: return a - b;
    case ANDB: return a & b;
    case ORB: return a | b;
    default: return a ^ b;
    }
}

// (a op c1) op c2  ->  a op (c1 op c2)
// (a op c) op y    ->  (a op y) op c
STEP gather_constants(NODE *&n, struct LOOP *loop) {
    NODE *inner = n->left;
    if (!is_op_in_ring(inner, n->op, n) || !is_icon(inner->right)) return NO_STEP;
    NODE *c = inner->right;
    TYPE *ints = ring_int(n);
    if (is_icon(n->right)) {
        if (!RULE("assoc: (a op c1) op c2 -> a op (c1 op c2)")) return NO_STEP;
        INT65 value =
            fold_bits(n->op, truncate_to_type(c->u.lval, ints), truncate_to_type(n->right->u.lval, ints));
        NODE *y = n->right;
        n->left = keep_left(inner);
        erase_node(y);
        n->right = new_ICON(value, ints, n->scope);
        n = simp_node(n, loop);
        return DONE;
    }
    if (!n->type->is_ptr() && n->right->type->is_ptr()) return NO_STEP;
    if (!RULE("assoc: (a op c) op y -> (a op y) op c")) return NO_STEP;
    inner->right = n->right;
    if (n->type->is_ptr()) inner->type = n->type;
    n->left = simp_node(inner, loop);
    n->right = c;
    if (c->type->size != n->type->size) {
        n->right = new_ICON(c->u.lval, ints, c->scope);
        erase_node(c);
    }
    n = simp_node(n, loop);
    return DONE;
}

// Whether the left spine of same-ring operators below is no longer than a rule may walk down.
bool spine_is_short(const NODE *chain, const NODE *n) {
    int length = 0;
    for (const NODE *x = chain;
         x && x->op != ICON && in_ring(x, n) && (x->op == n->op || x->op == PLUS || x->op == MINUS);
         x = x->left)
        if (++length > ASSOC_SPAN_CAP) {
            ++assoc_span_cap_hits;
            return false;
        }
    return true;
}

} // namespace

// x op (a op b)  ->  (x op a) op b                        PLUS, ANDB, ORB, XORB, MULT
// x + (a - b) -> (x + a) - b     x - (a + b) -> (x - a) - b     x - (a - b) -> (x - a) + b
bool lean_left(NODE *&n) {
    NODE *x = n->left, *right = n->right;
    if (!x || !right) return false;
    bool sums = (n->op == PLUS || n->op == MINUS) && (right->op == PLUS || right->op == MINUS);
    bool same = n->op == right->op && (n->op == MULT || n->op == ANDB || n->op == ORB || n->op == XORB);
    if (!sums && !same) return false;
    if (!same_ring(n->type, right->type) || !right->left || !right->right) return false;
    NODE *a = right->left, *b = right->right;
    if (!is_ring_type(x->type) || !is_ring_type(a->type) || !is_ring_type(b->type) || b->type->is_ptr())
        return false;
    // a pointer on the right must be taken off a pointer on the left
    if (n->type->is_ptr() ? !x->type->is_ptr() || a->type->is_ptr()
                          : x->type->is_ptr() != a->type->is_ptr() || (x->type->is_ptr() && n->op != MINUS))
        return false;
    if (!RULE("assoc: x op (a op b) -> (x op a) op b")) return false;
    int outer_op = right->op;
    if (n->op == MINUS) outer_op = right->op == PLUS ? MINUS : PLUS;
    n->right = a;
    right->op = int16_t(outer_op);
    right->type = n->type;
    right->left = n;
    if (!right->scope) right->scope = n->scope;
    n = right;
    return true;
}

namespace {

STEP lean_left_here(NODE *&n, struct LOOP *loop) {
    NODE *right = n->right;
    if (right->op != n->op && !is_sum(right, n)) return NO_STEP;
    if (!spine_is_short(right, n) || !lean_left(n)) return NO_STEP;
    n->left = simp_node(n->left, loop);
    n = simp_node(n, loop);
    return DONE;
}

// SCONV(x) op c  ->  SCONV(x op c)         64 bits outside, x of at most int's size; op ANDB, ORB, XORB
//     c must be what its low half is when it is extended as x is; an ANDB with a mask without high bits may extend by
//     zeros whatever x's sign is.
STEP narrow_mask(NODE *&n, struct LOOP *loop) {
    if (n->op == PLUS || !is_icon(n->right) || !is_int_type(n->type) || n->type->size <= tp->int_type()->size)
        return NO_STEP;
    NODE *x = n->left;
    bool converted = x->op == SCONV && in_ring(x, n);
    TYPE *from = converted ? x->left->type : x->type;
    if (!is_int_type(from) || from->is_bool() || from->size > tp->int_type()->size) return NO_STEP;
    TYPE *narrow = promoted_type(from);
    INT65 c = truncate_to_type(n->right->u.lval, n->type), low = truncate_to_type(c, narrow);
    if (n->op == ANDB && narrow->is_unsigned()) {
        // zeros above: the mask has nothing to do there
    } else if (truncate_to_type(low, n->type) != c) {
        narrow = tp->mk_unsigned(narrow);
        low = truncate_to_type(c, narrow);
        if (n->op != ANDB || truncate_to_type(low, n->type) != c) return NO_STEP;
    }
    if (!RULE("assoc: SCONV(x) & c -> SCONV(x & c)")) return NO_STEP;
    if (converted) x = keep_left(x);
    NODE *mask =
        simp_new(n->op, in_type(narrow, x, loop), new_ICON(low, narrow, n->scope), narrow, n->scope, loop);
    n->left = nullptr;
    TYPE *wide = n->type;
    erase_tree(n);
    n = in_type(wide, mask, loop);
    return DONE;
}

bool is_right_shift(const NODE *x) {
    return x->op == SRL && is_int_type(x->type) && !x->type->is_bool() && is_icon(x->right) &&
           !x->right->u.lval.is_negative() && x->right->u.lval < INT65((long long)x->type->size);
}

// (a >> k1) op (b >> k2)  ->  ((a >> (k1-k2)) op b) >> k2       k1 >= k2, and the mirror; ANDB, ORB, XORB; one type
STEP join_right_shifts(NODE *&n, struct LOOP *loop) {
    NODE *a = n->left, *b = n->right;
    if (n->op == PLUS || !is_right_shift(a) || !is_right_shift(b) || !in_ring(a, n)) return NO_STEP;
    if (!same_numbers(a->type, b->type)) return NO_STEP;
    if (!RULE("assoc: (a >> k1) op (b >> k2) -> ((a >> (k1-k2)) op b) >> k2")) return NO_STEP;
    TYPE *type = a->type, *result = n->type;
    NODE *&longer = a->right->u.lval >= b->right->u.lval ? n->left : n->right;
    NODE *&shorter = &longer == &n->left ? n->right : n->left;
    int rest = longer->right->u.lval.low_i32() - shorter->right->u.lval.low_i32();
    NODE *shift = shorter;
    shorter = in_type(type, shift->left, loop);
    if (rest == 0) {
        longer = in_type(type, keep_left(longer), loop);
    } else {
        longer->right->u.lval = INT65(rest);
        longer = simp_node(longer, loop);
    }
    n->type = type;
    shift->left = simp_node(n, loop);
    n = in_type(result, simp_node(shift, loop), loop);
    return DONE;
}

// x * 2^k or x << k  ->  x * 2^(k-by)
NODE *scaled_down(NODE *x, int by, struct LOOP *loop) {
    int k = scale_of(x);
    TYPE *type = x->type;
    if (k == by) return in_type(type, keep_left(x), loop);
    INT65 value = x->op == MULT ? INT65(1) << (k - by) : INT65(k - by);
    x->right->u.lval = truncate_to_type(value, x->right->type);
    return simp_node(x, loop);
}

} // namespace

// a*2^p1 op b*2^p2  ->  (a*2^(p1-p) op b*2^(p2-p)) * 2^p        p the smaller of both; PLUS, MINUS, ANDB, ORB, XORB
STEP take_out_scale(NODE *&n, struct LOOP *loop) {
    NODE *a = n->left, *b = n->right;
    if (!is_int_type(n->type) || !in_ring(a, n) || !in_ring(b, n)) return NO_STEP;
    int p1 = scale_of(a), p2 = scale_of(b), p = std::min(p1, p2);
    if (p <= 0 || !RULE("assoc: a*2^p1 op b*2^p2 -> (a*2^(p1-p) op b*2^(p2-p)) * 2^p")) return NO_STEP;
    int op = a->op == MULT && b->op == MULT ? MULT : SLL;
    TYPE *type = n->type;
    LS *scope = n->scope;
    n->left = scaled_down(a, p, loop);
    n->right = scaled_down(b, p, loop);
    INT65 scale = op == MULT ? INT65(1) << p : INT65(p);
    NODE *by = new_ICON(scale, op == MULT ? type : tp->int_type(), scope);
    n = simp_new(op, simp_node(n, loop), by, type, scope, loop);
    return DONE;
}

namespace {

// (a & m) op (b & m)  ->  (a op b) & m         ORB, XORB
STEP take_out_mask(NODE *&n, struct LOOP *loop) {
    NODE *a = n->left, *b = n->right;
    if ((n->op != ORB && n->op != XORB) || !is_op_in_ring(a, ANDB, n) || !is_op_in_ring(b, ANDB, n))
        return NO_STEP;
    if (!in_ring(a->right, n) || !trees_are_congruent(a->right, b->right)) return NO_STEP;
    if (!is_free_of_effects(b->left) || !RULE("assoc: (a & m) op (b & m) -> (a op b) & m")) return NO_STEP;
    n->left = a->left;
    n->right = keep_left(b);
    TYPE *type = n->type;
    a->type = type;
    a->left = simp_node(n, loop);
    n = simp_node(a, loop);
    return DONE;
}

// conversions go first: what they leave decides the order of the operands
constexpr RULE_FN assoc_rules[] = {strip_conversions, order_operands, constant_right,
                                   gather_constants,  lean_left_here, narrow_mask,
                                   join_right_shifts, take_out_scale, take_out_mask};

} // namespace

NODE *simp_assoc(NODE *n, struct LOOP *loop) {
    int op = n->op;
    if (!is_ring_type(n->type)) return n;
    for (;;) {
        switch (try_rules(assoc_rules, n, loop)) {
        case NO_STEP:
        case DONE: return n;
        case AGAIN: break;
        }
        if (n->op != op) return n;
    }
}

// ---------------------------------------------------------------------------------------------------------
// sums
// ---------------------------------------------------------------------------------------------------------

namespace {

// x op y with x, y the results of rules, in place of `n`, whose operands were taken already.
NODE *rebuilt(NODE *n, int op, NODE *x, NODE *y, struct LOOP *loop) {
    n->op = int16_t(op);
    n->left = x;
    n->right = y;
    return simp_node(n, loop);
}

// -(x * c)  ->  x * -c
bool negate_product(NODE *&term, const NODE *n, struct LOOP *loop) {
    if (!is_op_in_ring(term, UMINUS, n) || !is_product_by_ICON(term->left, n)) return false;
    if (!RULE("PLUS: -(x * c) + y -> x * -c + y")) return false;
    NODE *product = keep_left(term);
    product->right->u.lval = truncate_to_type(-product->right->u.lval, product->right->type);
    term = simp_node(product, loop);
    return true;
}

STEP negated_product(NODE *&n, struct LOOP *loop) {
    return negate_product(n->left, n, loop) || negate_product(n->right, n, loop) ? AGAIN : NO_STEP;
}

// -x + y  ->  y - x         y + -x  ->  y - x
STEP add_negation(NODE *&n, struct LOOP *loop) {
    if (is_op_in_ring(n->right, UMINUS, n)) {
        if (n->type->is_ptr() != n->left->type->is_ptr()) return NO_STEP;
        if (!RULE("PLUS: y + -x -> y - x")) return NO_STEP;
    } else if (is_op_in_ring(n->left, UMINUS, n) && n->type->is_ptr() == n->right->type->is_ptr() &&
               may_exchange(n->left, n->right)) {
        if (!RULE("PLUS: -x + y -> y - x")) return NO_STEP;
        exchange(n);
    } else {
        return NO_STEP;
    }
    NODE *x = keep_left(n->right);
    n = rebuilt(n, MINUS, n->left, x, loop);
    return DONE;
}

// Whether the factors are the same value wherever they stand: constants, or one variable.
bool same_factor(const NODE *a, const NODE *b) {
    if (is_icon(a) && is_icon(b)) return a->u.lval == b->u.lval;
    return a->op == NAME && b->op == NAME && a->u.sym && trees_are_congruent(a, b);
}

// x*c1 + y*c2         ->  y*c2 + x*c1                 c1 < c2
STEP order_products(NODE *&n, struct LOOP *) {
    NODE *a = n->left, *b = n->right;
    if (!is_product_by_ICON(a, n) || !is_product_by_ICON(b, n) || a->right->u.lval >= b->right->u.lval)
        return NO_STEP;
    if (!may_exchange(a, b) || !RULE("PLUS: x*c1 + y*c2 -> y*c2 + x*c1, c1 < c2")) return NO_STEP;
    exchange(n);
    return AGAIN;
}

// (a + x*c1) + y*c2  ->  (a + y*c2) + x*c1            c1 < c2
// (a + x*m) + y*m    ->  a + (x + y)*m                m an ICON or a variable
// The new term goes past at most TERM_SORT_SPAN_CAP others.
STEP place_product(NODE *&n, struct LOOP *loop) {
    NODE *term = n->right;
    if (!is_op_in_ring(term, MULT, n) || n->op != PLUS) return NO_STEP;
    bool ordered = is_icon(term->right);
    NODE *last_passed = nullptr; // the lowest level whose term moves outwards
    int levels = 0;
    for (NODE *level = n->left; level->op == PLUS && in_ring(level, n); level = level->left) {
        NODE *other = level->right;
        if (level->type->is_ptr() != n->type->is_ptr()) break;
        if (!is_op_in_ring(other, MULT, n)) break;
        if (same_factor(other->right, term->right)) {
            if (!is_free_of_effects(term->left)) break;
            if (!RULE("PLUS: (a + x*m) + y*m -> a + (x + y)*m")) return NO_STEP;
            n->right = nullptr;
            NODE *rest = keep_left(n), *y = keep_left(term);
            other->left = simp_new(PLUS, other->left, y, other->type, other->scope, loop);
            level->right = simp_node(other, loop);
            // only this level has a new operand; what is above it stays as it was
            if (level == rest) return n = simp_node(level, loop), DONE;
            NODE *above = rest;
            while (above->left != level) above = above->left;
            above->left = simp_node(level, loop);
            n = simp_node(rest, loop);
            return DONE;
        }
        if (!ordered || !is_icon(other->right) || other->right->u.lval >= term->right->u.lval) break;
        if (!may_exchange(other, term)) break;
        if (++levels > TERM_SORT_SPAN_CAP) {
            ++term_sort_span_cap_hits;
            return NO_STEP;
        }
        last_passed = level;
    }
    if (!last_passed || !RULE("PLUS: (a + x*c1) + y*c2 -> (a + y*c2) + x*c1, c1 < c2")) return NO_STEP;
    NODE *top = n->left;
    n->left = last_passed->left;
    last_passed->left = simp_node(n, loop);
    n = top;
    return DONE;
}

// x*m + y*m  ->  (x + y)*m       m an ICON or a variable
// u*c + u*d  ->  u*(c + d)       c*u + d*u  ->  (c + d)*u       c*u + u*d  ->  (c + d)*u     the same for MINUS
// u*c + u    ->  u*(c + 1)       u + u*c    ->  u*(1 + c)
STEP take_out_factor(NODE *&n, struct LOOP *loop) {
    NODE *a = n->left, *b = n->right;
    if (!is_int_type(n->type)) return NO_STEP;
    bool left_is = is_op_in_ring(a, MULT, n), right_is = is_op_in_ring(b, MULT, n);
    if (!left_is && !right_is) return NO_STEP;
    TYPE *type = n->type;
    LS *scope = n->scope;
    auto equal = [](const NODE *x, const NODE *y) { return same_factor(x, y) || trees_are_congruent(x, y); };
    NODE *sum, *factor;
    if (left_is && right_is) {
        NODE **mine = nullptr, **other = nullptr;
        for (NODE **u : {&a->right, &a->left})
            for (NODE **v : {&b->right, &b->left})
                if (!mine && in_ring(*u, n) && equal(*u, *v)) mine = u, other = v;
        if (!mine) return NO_STEP;
        NODE **rest = mine == &a->left ? &a->right : &a->left,
             **rest2 = other == &b->left ? &b->right : &b->left;
        // what stays behind of both is evaluated on either side of the one factor
        if (!is_ring_type((*rest)->type) || !is_ring_type((*rest2)->type)) return NO_STEP;
        if (!is_free_of_effects(*rest2) || !(mine == &a->right || is_free_of_effects(*rest))) return NO_STEP;
        if (!RULE("PLUS, MINUS: u*c op u*d -> u*(c op d)")) return NO_STEP;
        factor = *mine;
        sum = maketree(n->op, *rest, *rest2, type, scope);
        *mine = *rest = *rest2 = nullptr;
    } else {
        if (n->op != PLUS) return NO_STEP;
        NODE *product = left_is ? a : b, *single = left_is ? b : a;
        if (is_constant_leaf(single) || !in_ring(single, n)) return NO_STEP;
        NODE **mine = trees_are_congruent(product->left, single)    ? &product->left
                      : trees_are_congruent(product->right, single) ? &product->right
                                                                    : nullptr;
        if (!mine) return NO_STEP;
        NODE **rest = mine == &product->left ? &product->right : &product->left;
        if (!is_ring_type((*rest)->type) || !is_free_of_effects(*rest)) return NO_STEP;
        if (!RULE("PLUS: u*c + u -> u*(c + 1)")) return NO_STEP;
        factor = *mine;
        sum = maketree(PLUS, *rest, new_ICON(INT65(1), type, scope), type, scope);
        *mine = *rest = nullptr;
    }
    erase_tree(n);
    n = simp_new(MULT, factor, simp_node(sum, loop), type, scope, loop);
    return DONE;
}

// (a - b) + b  ->  a
STEP add_what_was_taken(NODE *&n, struct LOOP *loop) {
    NODE *difference = n->left;
    if (!is_op_in_ring(difference, MINUS, n) || !in_ring(difference->left, n) ||
        !trees_are_congruent(difference->right, n->right) || !RULE("PLUS: (a - b) + b -> a"))
        return NO_STEP;
    NODE *a = difference->left;
    difference->left = nullptr;
    TYPE *type = n->type;
    erase_tree(n);
    n = in_type(type, a, loop);
    return DONE;
}

// The constant factor of a term of an integer sum; 1 where it has none.
bool split_term(NODE *term, const NODE *n, NODE **base, INT65 *factor) {
    bool scaled = is_product_by_ICON(term, n);
    *base = scaled ? term->left : term;
    *factor = scaled ? term->right->u.lval : INT65(1);
    return is_ring_type((*base)->type) && !(*base)->type->is_ptr();
}

// ((z + w)*c1) + w*c2  ->  z*c1 + w*(c1 + c2)         also with w on the left of the inner sum
// ((z - w)*c1) + w*c2  ->  z*c1 + w*(c2 - c1)         and with w for w*1; the mirror too
STEP merge_into_product(NODE *&n, struct LOOP *loop) {
    if (!is_int_type(n->type)) return NO_STEP;
    for (bool mirror : {false, true}) {
        NODE *product = mirror ? n->right : n->left, *term = mirror ? n->left : n->right, *w;
        INT65 c2;
        if (!is_product_by_ICON(product, n) || is_constant_leaf(term) || !split_term(term, n, &w, &c2))
            continue;
        NODE *sum = product->left;
        if (!is_sum(sum, n) || sum->type->is_ptr()) continue;
        bool at_right = trees_are_congruent(sum->right, w);
        if (!at_right && (sum->op != PLUS || !trees_are_congruent(sum->left, w))) continue;
        NODE *z = at_right ? sum->left : sum->right;
        if (!is_ring_type(z->type) || z->type->is_ptr() || !is_free_of_effects(z)) continue;
        if (!RULE("PLUS: (z + w)*c1 + w*c2 -> z*c1 + w*(c1 + c2)")) return NO_STEP;
        INT65 c1 = product->right->u.lval, c = sum->op == PLUS ? c1 + c2 : c2 - c1;
        TYPE *type = n->type;
        LS *scope = n->scope;
        (at_right ? sum->left : sum->right) = nullptr;
        NODE *&w_place = at_right ? sum->right : sum->left;
        NODE *kept_w = w_place;
        w_place = nullptr;
        erase_tree(n);
        NODE *left = simp_new(MULT, z, new_ICON(c1, type, scope), type, scope, loop);
        NODE *right = simp_new(MULT, kept_w, new_ICON(c, type, scope), type, scope, loop);
        n = simp_new(PLUS, left, right, type, scope, loop);
        return DONE;
    }
    return NO_STEP;
}

// u*(q*d) + w*d  ->  (u*q + w)*d           d >= 2, and the mirror
STEP take_out_common_constant(NODE *&n, struct LOOP *loop) {
    NODE *a = n->left, *b = n->right;
    if (!is_int_type(n->type) || !is_product_by_ICON(a, n) || !is_product_by_ICON(b, n)) return NO_STEP;
    INT65 c1 = a->right->u.lval, c2 = b->right->u.lval;
    bool left_is_multiple = c2 >= INT65(2) && c1 / c2 * c2 == c1;
    bool right_is_multiple = c1 >= INT65(2) && c2 / c1 * c1 == c2;
    if (!left_is_multiple && !right_is_multiple) return NO_STEP;
    if (!RULE("PLUS: u*(q*d) + w*d -> (u*q + w)*d")) return NO_STEP;
    INT65 d = left_is_multiple ? c2 : c1, q = left_is_multiple ? c1 / c2 : c2 / c1;
    TYPE *type = n->type;
    LS *scope = n->scope;
    NODE *scaled = left_is_multiple ? a : b;
    scaled->right->u.lval = truncate_to_type(q, scaled->right->type);
    NODE *&plain = left_is_multiple ? n->right : n->left;
    plain = in_type(type, keep_left(plain), loop);
    scaled = simp_node(scaled, loop);
    (left_is_multiple ? n->left : n->right) = scaled;
    n = simp_new(MULT, simp_node(n, loop), new_ICON(d, type, scope), type, scope, loop);
    return DONE;
}

// (c - a) + y  ->  (y + c) - a           y + (c - a)  ->  (y - a) + c comes by leaning left
STEP add_to_constant_difference(NODE *&n, struct LOOP *loop) {
    NODE *difference = n->left;
    if (!is_op_in_ring(difference, MINUS, n) || !is_icon(difference->left) || is_icon(n->right))
        return NO_STEP;
    if (difference->right->type->is_ptr() || n->type->is_ptr() != n->right->type->is_ptr()) return NO_STEP;
    if (!may_exchange(difference->right, n->right) || !RULE("PLUS: (c - a) + y -> (y + c) - a"))
        return NO_STEP;
    NODE *c = difference->left, *a = difference->right, *y = n->right;
    erase_node((difference->left = difference->right = nullptr, difference));
    NODE *sum = simp_new(PLUS, y, c, n->type, n->scope, loop);
    n = rebuilt(n, MINUS, sum, a, loop);
    return DONE;
}

// (a +- c1) +- c2  ->  a + (+-c1 +- c2)         signs chosen so that the constant is small
// (a - c) +- y     ->  (a +- y) - c             so does (a + c) - y
STEP gather_sum_constants(NODE *&n, struct LOOP *loop) {
    NODE *inner = n->left;
    if (!is_sum(inner, n) || !is_icon(inner->right)) return NO_STEP;
    if (n->op == PLUS && inner->op == PLUS) return NO_STEP;
    TYPE *ints = ring_int(n);
    INT65 c = truncate_to_type(inner->right->u.lval, ints);
    if (is_icon(n->right)) {
        if (inner->left->type->is_ptr() != n->type->is_ptr()) return NO_STEP;
        if (!RULE("PLUS, MINUS: (a +- c1) +- c2 -> a + (+-c1 +- c2)")) return NO_STEP;
        INT65 c2 = truncate_to_type(n->right->u.lval, ints);
        INT65 sum = (inner->op == PLUS ? c : -c) + (n->op == PLUS ? c2 : -c2);
        sum = sign_extend_by_type_size(truncate_to_type(sum, ints), ints);
        bool minus = sum.is_negative() && sum != int_type_min(tp->int_type());
        NODE *y = n->right;
        NODE *a = keep_left(inner);
        erase_node(y);
        n = rebuilt(n, minus ? MINUS : PLUS, a, new_ICON(minus ? -sum : sum, ints, n->scope), loop);
        return DONE;
    }
    bool addresses =
        n->op == MINUS && n->right->type->is_ptr() && inner->left->type->is_ptr() && !n->type->is_ptr();
    if (!addresses && (n->type->is_ptr() != inner->type->is_ptr() || n->right->type->is_ptr()))
        return NO_STEP;
    if (!is_ring_type(n->right->type) || !RULE("PLUS, MINUS: (a +- c) +- y -> (a +- y) +- c")) return NO_STEP;
    int inner_op = inner->op, op = n->op;
    NODE *y = n->right, *a = inner->left;
    erase_node(inner->right);
    inner->type = n->type;
    NODE *sum = rebuilt(inner, op, a, y, loop);
    n = rebuilt(n, inner_op, sum, new_ICON(c, ints, n->scope), loop);
    return DONE;
}

// (T*)c1 +- c2  ->  (T*)(c1 +- c2)
STEP fold_constant_address(NODE *&n, struct LOOP *) {
    NODE *p = n->left;
    if (!n->type->is_ptr() || !is_pure_address(p) || !in_ring(p, n) || !is_icon(p->left) ||
        !is_icon(n->right))
        return NO_STEP;
    if (!in_ring(p->left, n) || !RULE("PLUS, MINUS: (T*)c1 +- c2 -> (T*)(c1 +- c2)")) return NO_STEP;
    INT65 sum = fold_bits(n->op, p->left->u.lval, n->right->u.lval);
    p->left->u.lval = truncate_to_type(sum, p->left->type);
    TYPE *type = n->type;
    n = keep_left(n);
    if (n->op == PCONV) n->type = type;
    return DONE;
}

// --- the merge of equal terms ---

// Gives the level below `top` and its operand that is a multiple of u, if what stands between is free of effects.
struct TERM_PLACE {
    NODE *level = nullptr;
    bool at_right = false;
};

TERM_PLACE find_equal_term(NODE *top, const NODE *u) {
    TERM_PLACE place;
    int levels = 0;
    auto matches = [&](NODE *candidate) {
        NODE *base;
        INT65 factor;
        return candidate->type && is_ring_type(candidate->type) && !is_constant_leaf(candidate) &&
               split_term(candidate, top, &base, &factor) && base->op == u->op &&
               trees_are_congruent(base, u);
    };
    for (NODE *level = top; is_sum(level, top) && !place.level; level = level->left) {
        if (level != top && matches(level->right)) place = {level, true};
        else if (!is_sum(level->left, top) && matches(level->left)) place = {level, false};
        else if (++levels > TERM_MERGE_SPAN_CAP) {
            ++term_merge_span_cap_hits;
            break;
        }
    }
    if (!place.level) return place;
    const NODE *end = place.at_right ? place.level : place.level->left;
    for (const NODE *level = top->left; level != end; level = level->left)
        if (!is_free_of_effects(level->right)) return {};
    return place;
}

// a +- u*f1 +- ... +- u*f2  ->  a +- u*(f1 +- f2) +- ...       integer terms, no other term's effects in between
STEP merge_terms(NODE *&n, struct LOOP *loop) {
    NODE *u;
    INT65 f;
    NODE *term = n->right;
    if (is_constant_leaf(term) || !is_ring_type(term->type) || !split_term(term, n, &u, &f) ||
        is_constant_leaf(u))
        return NO_STEP;
    TERM_PLACE place = find_equal_term(n, u);
    if (!place.level || !RULE("PLUS, MINUS: a + u*f1 + ... + u*f2 -> a + u*(f1 + f2) + ...")) return NO_STEP;
    NODE *&slot = place.at_right ? place.level->right : place.level->left;
    NODE *base;
    INT65 factor;
    split_term(slot, n, &base, &factor);
    bool subtracted = n->op == MINUS;
    bool same_sign = !place.at_right || place.level->op == PLUS ? !subtracted : subtracted;
    INT65 sum = same_sign ? factor + f : factor - f;
    TYPE *ints = slot->op == MULT ? slot->type : ring_int(n);
    if (slot != base) slot = keep_left(slot);
    slot = simp_new(MULT, slot, new_ICON(sum, ints, n->scope), ints, n->scope, loop);
    if (place.level == n) { // u*f1 +- u*f2
        TYPE *type = n->type;
        n = in_type(type, keep_left(n), loop);
        return DONE;
    }
    // the levels above have a new operand below them
    std::vector<NODE *> path;
    NODE *rest = keep_left(n);
    for (NODE *level = rest; level != place.level; level = level->left) path.push_back(level);
    NODE *below = simp_node(place.level, loop);
    while (!path.empty()) {
        path.back()->left = below;
        below = simp_node(path.back(), loop);
        path.pop_back();
    }
    n = below;
    return DONE;
}

constexpr RULE_FN plus_rules[] = {
    negated_product,
    add_negation,
    fold_constant_address,
    gather_sum_constants,
    order_products,
    add_what_was_taken,
    place_product,
    merge_into_product,
    take_out_factor,
    take_out_common_constant,
    add_to_constant_difference,
    merge_terms,
};

} // namespace

namespace {

// The result of a sum's rules: an inner level of the other sign may be the top now, which a wider reader would extend
// by its own sign.
NODE *sum_in_type(TYPE *type, NODE *n, struct LOOP *loop) {
    bool unlike = is_int_type(type) && is_int_type(n->type) && n->type->size == type->size &&
                  n->type->is_unsigned() != type->is_unsigned();
    return unlike ? in_type(type, n, loop) : n;
}

} // namespace

NODE *simp_PLUS(NODE *n, struct LOOP *loop) {
    if (!is_ring_type(n->type)) return n;
    TYPE *type = n->type;
    for (;;) {
        switch (try_rules(assoc_rules, n, loop)) {
        case AGAIN: continue;
        case DONE: return sum_in_type(type, n, loop);
        case NO_STEP: break;
        }
        switch (try_rules(plus_rules, n, loop)) {
        case AGAIN: continue;
        default: return sum_in_type(type, n, loop);
        }
    }
}

namespace {

// x - x  ->  0
STEP minus_itself(NODE *&n, struct LOOP *loop) {
    if (!in_ring(n->left, n) || !trees_are_congruent(n->left, n->right) || !RULE("MINUS: x - x -> 0"))
        return NO_STEP;
    n = constant_after_operands(n, INT65(0), loop);
    return DONE;
}

// (x + a) - x  ->  a       (a + x) - x  ->  a       integers also by the merge of terms
STEP minus_base(NODE *&n, struct LOOP *loop) {
    NODE *sum = n->left;
    if (!is_op_in_ring(sum, PLUS, n) || n->type->is_ptr() || !in_ring(n->right, n)) return NO_STEP;
    bool left = trees_are_congruent(sum->left, n->right);
    if (!left && !trees_are_congruent(sum->right, n->right)) return NO_STEP;
    NODE *&kept = left ? sum->right : sum->left;
    if (kept->type->is_ptr() || !is_ring_type(kept->type)) return NO_STEP;
    if (!is_free_of_effects(kept) || !RULE("MINUS: (x + a) - x -> a")) return NO_STEP;
    NODE *a = kept;
    kept = nullptr;
    TYPE *type = n->type;
    erase_tree(n);
    n = in_type(type, a, loop);
    return DONE;
}

// x - -c  ->  x + c        0 - x  ->  -x         x - 0  ->  x
STEP minus_constants(NODE *&n, struct LOOP *loop) {
    if (is_icon(n->right)) {
        NODE *c = n->right;
        INT65 negated = -c->u.lval;
        if (c->u.lval.is_zero()) {
            if (n->left->type->is_ptr() && !n->type->is_ptr()) return NO_STEP;
            if (!RULE("MINUS: x - 0 -> x")) return NO_STEP;
            TYPE *type = n->type;
            n = in_type(type, keep_left(n), loop);
            return DONE;
        }
        if (!c->u.lval.is_negative() || truncate_to_type(negated, c->type) != negated ||
            truncate_to_type(negated, ring_int(n)) != negated || !RULE("MINUS: x - -c -> x + c"))
            return NO_STEP;
        c->u.lval = negated;
        n = rebuilt(n, PLUS, n->left, c, loop);
        return DONE;
    }
    if (!is_icon_of(n->left, INT65(0)) || !is_int_type(n->type) || n->right->type->is_ptr()) return NO_STEP;
    if (!is_ring_type(n->right->type) || !RULE("MINUS: 0 - x -> -x")) return NO_STEP;
    NODE *x = n->right;
    erase_node(n->left);
    n = rebuilt(n, UMINUS, x, nullptr, loop);
    return DONE;
}

// x - (-y)  ->  x + y        x - y*-c  ->  x + y*c
STEP minus_negation(NODE *&n, struct LOOP *loop) {
    NODE *y = n->right;
    if (is_op_in_ring(y, UMINUS, n) && !y->left->type->is_ptr()) {
        if (!RULE("MINUS: x - (-y) -> x + y")) return NO_STEP;
        NODE *negated = keep_left(y);
        n = rebuilt(n, PLUS, n->left, negated, loop);
        return DONE;
    }
    if (!is_product_by_ICON(y, n) || !y->right->u.lval.is_negative() ||
        n->left->type->is_ptr() != n->type->is_ptr())
        return NO_STEP;
    INT65 c = -y->right->u.lval;
    if (truncate_to_type(c, y->right->type) != c || !RULE("MINUS: x - y*-c -> x + y*c")) return NO_STEP;
    y->right->u.lval = c;
    NODE *product = simp_node(y, loop);
    n = rebuilt(n, PLUS, n->left, product, loop);
    return DONE;
}

// (T*)c1 - (T*)c2  ->  c1 - c2
STEP difference_of_addresses(NODE *&n, struct LOOP *loop) {
    NODE *a = n->left, *b = n->right;
    if (n->type->is_ptr() || !is_pure_address(a) || !is_pure_address(b) || !is_icon(a->left) ||
        !is_icon(b->left))
        return NO_STEP;
    if (!in_ring(a, n) || !in_ring(b, n) || !RULE("MINUS: (T*)c1 - (T*)c2 -> c1 - c2")) return NO_STEP;
    NODE *difference = new_ICON(a->left->u.lval - b->left->u.lval, n->type, n->scope);
    TYPE *type = n->type;
    erase_tree(n);
    n = in_type(type, difference, loop);
    return DONE;
}

// The masks of two terms that differ in their masks only; both of the form 2^k - 1, the first no smaller.
bool nested_low_masks(const NODE *n, int op) {
    const NODE *a = n->left, *b = n->right;
    if (!is_int_type(n->type) || !is_op_in_ring(a, op, n) || !is_op_in_ring(b, op, n)) return false;
    if (!is_icon(a->right) || !is_icon(b->right)) return false;
    INT65 m1 = truncate_to_type(a->right->u.lval, n->type), m2 = truncate_to_type(b->right->u.lval, n->type);
    auto is_low_mask = [](INT65 m) { return !m.is_negative() && (m & (m + INT65(1))).is_zero(); };
    return is_low_mask(m1) && is_low_mask(m2) && m1 >= m2 && trees_are_congruent(a->left, b->left);
}

// (a & m1) - (a & m2)  ->  a & (m1 - m2)          m2's bits are among m1's
// (a | m1) - (a | m2)  ->  ~a & (m1 - m2)
STEP difference_of_masks(NODE *&n, struct LOOP *loop) {
    bool ands = nested_low_masks(n, ANDB);
    if (!ands && !nested_low_masks(n, ORB)) return NO_STEP;
    if (ands ? !RULE("MINUS: (a & m1) - (a & m2) -> a & (m1 - m2)")
             : !RULE("MINUS: (a | m1) - (a | m2) -> ~a & (m1 - m2)"))
        return NO_STEP;
    TYPE *type = n->type;
    LS *scope = n->scope;
    INT65 m =
        truncate_to_type(n->left->right->u.lval, type) - truncate_to_type(n->right->right->u.lval, type);
    NODE *a = n->left->left;
    n->left->left = nullptr;
    erase_tree(n);
    if (!ands) a = simp_new(NOTB, a, nullptr, type, scope, loop);
    n = simp_new(ANDB, a, new_ICON(m, type, scope), type, scope, loop);
    return DONE;
}

// a - (a & m)  ->  a & ~m
STEP minus_masked_self(NODE *&n, struct LOOP *loop) {
    NODE *a = n->left, *masked = n->right;
    if (!is_int_type(n->type) || !is_op_in_ring(masked, ANDB, n) || !is_icon(masked->right) ||
        !in_ring(a, n) || !trees_are_congruent(a, masked->left) || !RULE("MINUS: a - (a & m) -> a & ~m"))
        return NO_STEP;
    NODE *mask = new_ICON(~masked->right->u.lval, n->type, n->scope);
    erase_tree(masked);
    n = rebuilt(n, ANDB, n->left, mask, loop);
    return DONE;
}

// -(x * c) and the like on the left of a difference
STEP minus_from_negated_product(NODE *&n, struct LOOP *loop) {
    return negate_product(n->left, n, loop) ? AGAIN : NO_STEP;
}

constexpr RULE_FN minus_rules[] = {
    strip_conversions,       minus_itself,         minus_base,
    minus_constants,         minus_negation,       minus_from_negated_product,
    lean_left_here,          gather_sum_constants, fold_constant_address,
    difference_of_addresses, take_out_scale,       take_out_factor,
    difference_of_masks,     minus_masked_self,    merge_terms,
};

} // namespace

NODE *simp_MINUS(NODE *n, struct LOOP *loop) {
    if (!is_ring_type(n->type) || n->left->type->is_fltpt() || n->right->type->is_fltpt()) return n;
    TYPE *type = n->type;
    while (try_rules(minus_rules, n, loop) == AGAIN)
        ;
    return sum_in_type(type, n, loop);
}

// ---------------------------------------------------------------------------------------------------------
// products
// ---------------------------------------------------------------------------------------------------------

namespace {

bool is_FCON_of(const NODE *n, int value) {
    if (n->op != FCON) return false;
    simul_fval wanted;
    f_itof(value, &wanted);
    return f_eq(n->u.fval, &wanted);
}

// c * x -> x * c      EXPT goes right, an interior node left
STEP order_factors(NODE *&n, struct LOOP *) {
    NODE *a = n->left, *b = n->right;
    if (is_constant_leaf(b)) return NO_STEP;
    bool exchanges = is_constant_leaf(a) || (a->op == EXPT && b->op != EXPT) ||
                     (is_leaf(a) && !is_leaf(b) && b->op != EXPT);
    if (!exchanges || !may_exchange(a, b) || !RULE("MULT: leaf * x -> x * leaf")) return NO_STEP;
    exchange(n);
    return AGAIN;
}

bool is_small_power(const NODE *x, const NODE *n) {
    return is_op_in_ring(x, EXPT, n) && is_icon(x->right) && !x->right->u.lval.is_negative() &&
           x->right->u.lval < INT65(1 << 20);
}

// x^a * x^b -> x^(a+b)      x * x^b -> x^(b+1)          integers, constant exponents that are not negative
STEP multiply_powers(NODE *&n, struct LOOP *loop) {
    NODE *a = n->left, *b = n->right;
    if (!is_int_type(n->type) || !is_small_power(b, n)) return NO_STEP;
    bool both = is_small_power(a, n);
    if (!trees_are_congruent(both ? a->left : a, b->left) || !RULE("MULT: x^a * x^b -> x^(a+b)"))
        return NO_STEP;
    b->right->u.lval = b->right->u.lval + (both ? a->right->u.lval : INT65(1));
    n = simp_node(keep_right(n), loop);
    return DONE;
}

// x * nan -> (x, nan)     x * 1.0 -> x     x * -1.0 -> -x     x * 2.0 -> x + x, x a variable
STEP float_factors(NODE *&n, struct LOOP *loop) {
    if (!n->type->is_fltpt() || n->right->op != FCON) return NO_STEP;
    TYPE *type = n->type;
    if (f_is_nan(n->right->u.fval)) {
        if (!RULE("MULT: x * nan -> (x, nan)")) return NO_STEP;
        NODE *x = n->left;
        n->left = nullptr;
        n = value_after_effects(x, in_type(type, keep_right(n), loop), loop);
        return DONE;
    }
    if (is_FCON_of(n->right, 1)) {
        if (!RULE("MULT: x * 1.0 -> x")) return NO_STEP;
        n = in_type(type, keep_left(n), loop);
        return DONE;
    }
    if (is_FCON_of(n->right, -1)) {
        if (!RULE("MULT: x * -1.0 -> -x")) return NO_STEP;
        NODE *x = keep_left(n);
        n = simp_new(UMINUS, in_type(type, x, loop), nullptr, type, x->scope, loop);
        return DONE;
    }
    if (is_FCON_of(n->right, 2) && n->left->op == NAME && !tree_has_side_effects(n->left) &&
        RULE("MULT: x * 2.0 -> x + x")) {
        erase_tree(n->right);
        n = rebuilt(n, PLUS, n->left, copy_tree(n->left), loop);
        return DONE;
    }
    return NO_STEP;
}

// x * 1 -> x      x * 0 -> (x, 0)      x * -1 -> -x
STEP trivial_factor(NODE *&n, struct LOOP *loop) {
    if (!is_int_type(n->type) || !is_icon(n->right) || !is_ring_type(n->left->type)) return NO_STEP;
    INT65 c = sign_extend_by_type_size(truncate_to_type(n->right->u.lval, n->type), n->type);
    TYPE *type = n->type;
    if (c.is_zero()) {
        if (!RULE("MULT: x * 0 -> (x, 0)")) return NO_STEP;
        n = constant_after_operands(n, INT65(0), loop);
        return DONE;
    }
    if (c == INT65(1)) {
        if (!RULE("MULT: x * 1 -> x")) return NO_STEP;
        n = in_type(type, keep_left(n), loop);
        return DONE;
    }
    if (c != INT65(-1) || !RULE("MULT: x * -1 -> -x")) return NO_STEP;
    erase_tree(n->right);
    n = rebuilt(n, UMINUS, n->left, nullptr, loop);
    return DONE;
}

// SCONV(a * c) * d  ->  SCONV(a) * (c * d)         a signed, a * c narrower and known not to overflow
STEP widen_product(NODE *&n, struct LOOP *loop) {
    NODE *wide = n->left;
    if (!is_int_type(n->type) || !is_icon(n->right) || wide->op != SCONV || !in_ring(wide, n)) return NO_STEP;
    NODE *product = wide->left;
    if (product->op != MULT || !is_int_type(product->type) || product->type->is_unsigned() ||
        product->type->is_bool() || product->type->size >= n->type->size || !is_icon(product->right) ||
        !is_int_type(product->left->type) || product->left->type->is_unsigned() ||
        product->left->type->size > product->type->size)
        return NO_STEP;
    if (expr_product_may_overflow(product, loop) || !RULE("MULT: SCONV(a * c) * d -> SCONV(a) * (c * d)"))
        return NO_STEP;
    INT65 c = truncate_to_type(product->right->u.lval, n->type),
          d = truncate_to_type(n->right->u.lval, n->type);
    int size = int(n->type->size);
    // the low bits of the product; both factors may have 64
    uint64_t low = c.to_uint64() * d.to_uint64();
    INT65 factor = INT65((long long)low).truncate_signed(size);
    wide->left = keep_left(product);
    erase_tree(n->right);
    n = rebuilt(n, MULT, simp_node(wide, loop), new_ICON(factor, n->type, n->scope), loop);
    return DONE;
}

// The product of two constants in the type.
INT65 wrapped_product(INT65 a, INT65 b, TYPE *type) {
    return truncate_to_type(INT65((long long)(a.to_uint64() * b.to_uint64())), type);
}

// -x * c  ->  x * -c       -x * y  ->  -(x * y)
STEP negated_factor(NODE *&n, struct LOOP *loop) {
    if (!is_int_type(n->type)) return NO_STEP;
    for (NODE **place : {&n->left, &n->right}) {
        NODE *x = *place;
        if (!is_op_in_ring(x, UMINUS, n) || !is_ring_type(x->left->type)) continue;
        if (is_icon(n->right)) {
            if (!RULE("MULT: -x * c -> x * -c")) return NO_STEP;
            *place = keep_left(x);
            INT65 c = n->right->u.lval;
            NODE *negated = new_ICON(-c, n->type, n->scope);
            erase_node(n->right);
            n->right = negated;
            return AGAIN;
        }
        if (!RULE("MULT: -x * y -> -(x * y)")) return NO_STEP;
        *place = keep_left(x);
        TYPE *type = n->type;
        LS *scope = n->scope;
        n = simp_new(UMINUS, simp_node(n, loop), nullptr, type, scope, loop);
        return DONE;
    }
    return NO_STEP;
}

// (x * c) * d  ->  x * (c * d)           (x * c) * y  ->  (x * y) * c
STEP gather_factors(NODE *&n, struct LOOP *loop) {
    NODE *inner = n->left;
    if (!is_int_type(n->type) || !is_product_by_ICON(inner, n) || !is_ring_type(n->right->type))
        return NO_STEP;
    NODE *c = inner->right;
    TYPE *type = n->type;
    INT65 value = truncate_to_type(c->u.lval, type);
    if (is_icon(n->right)) {
        if (!RULE("MULT: (x * c) * d -> x * (c * d)")) return NO_STEP;
        value = wrapped_product(value, truncate_to_type(n->right->u.lval, type), type);
        erase_node(n->right);
        n->left = keep_left(inner);
        n->right = new_ICON(value, type, n->scope);
        return AGAIN;
    }
    if (!RULE("MULT: (x * c) * y -> (x * y) * c")) return NO_STEP;
    inner->right = n->right;
    erase_node(c);
    n->left = simp_node(inner, loop);
    n->right = new_ICON(value, type, n->scope);
    n = simp_node(n, loop);
    return DONE;
}

// y * (a * b)  ->  (y * a) * b
STEP lean_factors_left(NODE *&n, struct LOOP *loop) {
    if (!is_int_type(n->type) || n->right->op != MULT || !spine_is_short(n->right, n) || !lean_left(n))
        return NO_STEP;
    n->left = simp_node(n->left, loop);
    n = simp_node(n, loop);
    return DONE;
}

// (x / c) * c  ->  x          c > 0 divides every value of x
STEP undo_exact_division(NODE *&n, struct LOOP *loop) {
    NODE *quotient = n->left;
    if (!is_icon(n->right) || !is_op_in_ring(quotient, DIV, n) || !is_icon(quotient->right)) return NO_STEP;
    NODE *x = quotient->left;
    INT65 c = n->right->u.lval;
    if (!c.is_positive() || quotient->right->u.lval != c || !same_numbers(x->type, quotient->type))
        return NO_STEP;
    INT65 factor = max_ICON_factor(x, loop, 0);
    if (factor / c * c != factor || !RULE("MULT: (x / c) * c -> x")) return NO_STEP;
    quotient->left = nullptr;
    TYPE *type = n->type;
    erase_tree(n);
    n = in_type(type, x, loop);
    return DONE;
}

// a * b  ->  a & b           both 0 or 1
STEP multiply_booleans(NODE *&n, struct LOOP *loop) {
    if (!is_int_type(n->type) || is_icon(n->right) || !returns_1_or_0(n->left) || !returns_1_or_0(n->right) ||
        !RULE("MULT: a * b -> a & b"))
        return NO_STEP;
    n = rebuilt(n, ANDB, n->left, n->right, loop);
    return DONE;
}

STEP strip_factor_conversions(NODE *&n, struct LOOP *) {
    if (!is_int_type(n->type)) return NO_STEP;
    return strip_ring_conversion(n->left, n) || strip_ring_conversion(n->right, n) ? AGAIN : NO_STEP;
}

constexpr RULE_FN mult_rules[] = {
    strip_factor_conversions, order_factors,       multiply_powers,   float_factors,
    trivial_factor,           widen_product,       negated_factor,    gather_factors,
    lean_factors_left,        undo_exact_division, multiply_booleans,
};

} // namespace

NODE *simp_MULT(NODE *n, struct LOOP *loop) {
    if (!n->type->is_fltpt() && (!is_int_type(n->type) || n->type->is_bool())) return n;
    while (try_rules(mult_rules, n, loop) == AGAIN)
        ;
    return n;
}

// ---------------------------------------------------------------------------------------------------------
// operators of one operand
// ---------------------------------------------------------------------------------------------------------

namespace {

bool same_arithmetic_type(const TYPE *a, const TYPE *b) {
    if (a->is_fltpt()) return b->is_fltpt() && a->size == b->size;
    return !a->is_ptr() && !b->is_ptr() && same_numbers(a, b);
}

// ~x  ->  x ^ mask
NODE *simp_NOTB(NODE *n, struct LOOP *loop) {
    if (!is_int_type(n->type) || n->type->is_bool() || !RULE("NOTB: ~x -> x ^ mask")) return n;
    return rebuilt(n, XORB, n->left, new_ICON(INT65(-1), n->type, n->scope), loop);
}

// ABS and SQR of -x, and of abs(x)  ->  of x
bool drop_inner_sign(NODE *n) {
    NODE *x = n->left;
    if ((x->op != UMINUS && x->op != ABS) || !same_arithmetic_type(x->type, n->type) ||
        !same_arithmetic_type(x->left->type, n->type) || !RULE("ABS, SQR: op(-x) -> op(x)"))
        return false;
    n->left = keep_left(x);
    return true;
}

// abs(x) -> x         x not negative; the square of a float is not
NODE *simp_ABS(NODE *n, struct LOOP *loop) {
    while (drop_inner_sign(n))
        ;
    NODE *x = n->left;
    bool known = false;
    if (n->type->is_fltpt()) {
        known = x->type->is_fltpt() &&
                (x->op == SQR || (x->op == MULT && trees_are_congruent(x->left, x->right)));
    } else if (is_int_type(n->type) && n->type->is_signed() && is_int_type(x->type)) {
        known = !find_known_zeros(x, n->type).bit(int(n->type->size) - 1);
    }
    if (!known || !RULE("ABS: abs(x) -> x, x not negative")) return n;
    TYPE *type = n->type;
    return in_type(type, keep_left(n), loop);
}

// sqr(b) -> b     sqr(1 - b) -> 1 - b     sqr(b - 1) -> 1 - b         b 0 or 1
NODE *simp_SQR(NODE *n, struct LOOP *loop) {
    while (drop_inner_sign(n))
        ;
    NODE *x = n->left;
    if (!is_int_type(n->type) || n->type->is_bool() || !is_int_type(x->type)) return n;
    TYPE *type = n->type;
    bool one_minus = x->op == MINUS && is_icon_of(x->left, INT65(1)) && returns_1_or_0(x->right);
    if (one_minus || returns_1_or_0(x)) {
        if (!RULE("SQR: sqr(b) -> b")) return n;
        return in_type(type, keep_left(n), loop);
    }
    bool minus_one = (x->op == PLUS && is_icon_of(x->right, INT65(-1))) ||
                     (x->op == MINUS && is_icon_of(x->right, INT65(1)));
    if (!minus_one || !returns_1_or_0(x->left) || !RULE("SQR: sqr(b - 1) -> 1 - b")) return n;
    NODE *b = keep_left(keep_left(n));
    return simp_new(MINUS, new_ICON(INT65(1), type, b->scope), b, type, b->scope, loop);
}

// -(-x) -> x           -(a - b) -> b - a, integers
NODE *simp_UMINUS(NODE *n, struct LOOP *loop) {
    NODE *x = n->left;
    TYPE *type = n->type;
    bool ints = is_int_type(type) && !type->is_bool();
    if (x->op == UMINUS && (ints ? in_ring(x, n) : same_arithmetic_type(x->type, type)) &&
        type->is_arithmetic() && (!ints || is_ring_type(x->left->type)) &&
        (ints || x->left->type->is_fltpt())) {
        if (!RULE("UMINUS: -(-x) -> x")) return n;
        return in_type(type, keep_left(keep_left(n)), loop);
    }
    if (!ints || !is_op_in_ring(x, MINUS, n) || x->type->is_ptr() || !may_exchange(x->left, x->right))
        return n;
    if (!RULE("UMINUS: -(a - b) -> b - a")) return n;
    NODE *difference = keep_left(n);
    difference->type = type;
    exchange(difference);
    return simp_node(difference, loop);
}

} // namespace

NODE *simp_unary(NODE *n, struct LOOP *loop) {
    switch (n->op) {
    case NOTB: return simp_NOTB(n, loop);
    case ABS: return simp_ABS(n, loop);
    case SQR: return simp_SQR(n, loop);
    case UMINUS: return simp_UMINUS(n, loop);
    default: return n;
    }
}

// x^0 -> (x, 1)     x^1 -> x     1^y -> (y, 1)     0.0^n -> 0.0, n > 0; of constant integers by folding
NODE *simp_EXPT(NODE *n, struct LOOP *loop) {
    NODE *x = n->left, *y = n->right;
    TYPE *type = n->type;
    if (!is_int_type(y->type) || !(type->is_fltpt() || is_int_type(type)) || type->is_bool()) return n;
    bool is_zero = x->op == FCON && f_bit_eq(x->u.fval, &pos_zero);
    if (is_zero && is_icon(y) && y->u.lval.is_positive() && RULE("EXPT: 0.0^n -> 0.0, n > 0"))
        return in_type(type, keep_left(n), loop);
    if (is_constant_leaf(x) && is_constant_leaf(y)) return fold_constants(n);
    if (is_icon_of(y, INT65(0)) && RULE("EXPT: x^0 -> (x, 1)")) {
        NODE *one = in_type(type, new_ICON(INT65(1), tp->int_type(), n->scope), loop);
        return value_after_effects(n, one, loop);
    }
    if (is_icon_of(y, INT65(1)) && RULE("EXPT: x^1 -> x")) return in_type(type, keep_left(n), loop);
    if ((is_icon_of(x, INT65(1)) || is_FCON_of(x, 1)) && RULE("EXPT: 1^y -> (y, 1)")) {
        n->left = n->right = nullptr;
        erase_node(n);
        return value_after_effects(y, in_type(type, x, loop), loop);
    }
    return n;
}

// REAL(COMPLEX(a, b)) -> a        IMAG(COMPLEX(a, b)) -> b        the other half runs for its effects
NODE *simp_complexop(NODE *n, struct LOOP *loop) {
    if ((n->op != REAL && n->op != IMAG) || n->left->op != COMPLEX) return n;
    NODE *pair = n->left;
    if (n->op == REAL && !may_exchange(pair->left, pair->right)) return n;
    if (!RULE("REAL, IMAG: of COMPLEX(a, b) -> a or b")) return n;
    TYPE *type = n->type;
    NODE *&kept = n->op == REAL ? pair->left : pair->right;
    NODE *value = kept;
    kept = nullptr;
    NODE *&other = n->op == REAL ? pair->right : pair->left;
    NODE *dropped = other;
    other = nullptr;
    erase_tree(n);
    return value_after_effects(dropped, in_type(type, value, loop), loop);
}
