#include "OPT5/simp_asg.h"

#include <vector>

#include "OPT5/bbutils.h"
#include "OPT5/coerce.h"
#include "OPT5/congruent.h"
#include "OPT5/fold.h"
#include "OPT5/rules.h"
#include "OPT5/simp1.h"
#include "OPT5/simp_shape.h"
#include "OPT5/typefacts.h"
#include "typepkg/type_merge.h"
#include "typepkg/type_query.h"

namespace {

const NODE *without_SSA(const NODE *target) {
    while (target->left && (target->op == SSA_USE || target->op == SSA_DEF)) target = target->left;
    return target;
}

// How many low bits of an integer the place keeps; 0 for what is no integer, and for a boolean, which is not cut.
int bits_stored(const NODE *target) {
    if (!is_int_type(target->type) || target->type->is_bool()) return 0;
    return is_bitfield(target) ? int(target->right->member->width()) : int(target->type->size);
}

// The value of a constant in a place of that type and width.
INT65 stored_value(INT65 v, TYPE *type, int width) {
    v = truncate_to_type(v, type);
    return type->is_unsigned() ? v.truncate_unsigned(width) : v.truncate_signed(width);
}

// Whether the low `bits` of y are those of (T)y: the conversion cuts no deeper, or keeps every value.
bool conversion_keeps_low_bits(const NODE *conversion, int bits) {
    const TYPE *to = conversion->type, *from = conversion->left->type;
    if (!is_int_type(to) || !is_int_type(from) || to->is_bool()) return false;
    if (int(to->size) >= bits) return true;
    return from->size < to->size ? from->is_unsigned() || to->is_signed()
                                 : from->size == to->size && from->is_unsigned() == to->is_unsigned();
}

// x = (T)y  ->  x = y             x = y & m  ->  x = y           nothing that is stored changes
NODE *strip_stored_value(NODE *value, int bits) {
    if (bits == 0) return value;
    for (;;) {
        if (value->op == SCONV && conversion_keeps_low_bits(value, bits)) {
            if (!RULE("ASG: x = SCONV(y) -> x = y")) return value;
            value = keep_left(value);
        } else if (value->op == ANDB && is_int_type(value->type) && is_icon(value->right) &&
                   int(value->type->size) >= bits && is_int_type(value->left->type) &&
                   !value->left->type->is_bool() &&
                   value->right->u.lval.truncate_unsigned(bits) == INT65(-1).truncate_unsigned(bits)) {
            if (!RULE("ASG: x = y & m -> x = y, m covers x")) return value;
            value = keep_left(value);
        } else {
            return value;
        }
    }
}

// The right side in the target's type; what a conversion shows is used, the conversion itself is not kept.
NODE *fit_right_side(const NODE *target, NODE *value, struct LOOP *loop) {
    int bits = bits_stored(target);
    if (is_icon(value) && (bits || target->type->is_ptr() || target->type->is_bool())) {
        bool fits = bits == 0 || stored_value(value->u.lval, target->type, bits) == value->u.lval;
        if (fits && (value->type == target->type || target->type->is_ptr())) return value;
        return truncate_RHS_for_assignment(target, value, 0);
    }
    if (bits && is_int_type(value->type) && !equiv_mtypes(value->type, target->type) &&
        value->type->size > target->type->size)
        value = simp_node(maketree(SCONV, value, nullptr, target->type, value->scope), loop);
    return strip_stored_value(value, bits);
}

// What runs in the value before the place is read again must not touch it.
bool may_read_place_later(const NODE *place, const NODE *value) {
    if (is_constant_leaf(value) || is_free_of_effects(value)) return true;
    return place->op == NAME && !place->type->is_volatile() && !tree_modifies_lvalue_in_tree(value, place);
}

// x op= (T)y  ->  x op= y         where op computes each bit from bits no higher, and nothing that is stored changes
void fit_operand_of_opASG(NODE *n, struct LOOP *loop) {
    int op = op_of_opASG[n->op];
    bool low_bits_only = op == PLUS || op == MINUS || op == MULT || op == ANDB || op == ORB || op == XORB;
    if (!low_bits_only || !is_int_type(n->right->type)) return;
    TYPE *type = n->left->type;
    int bits = bits_stored(n->left);
    if (bits && n->right->type->size > type->size && !is_icon(n->right))
        n->right = simp_node(maketree(SCONV, n->right, nullptr, type, n->right->scope), loop);
    n->right = strip_stored_value(n->right, bits);
}

constexpr int BUBBLE_SPAN_CAP = 4096; // operands of a chain that are looked at for the target
unsigned bubble_span_cap_hits;

} // namespace

NODE *truncate_RHS_for_assignment(const NODE *target, NODE *rhs, int mode) {
    target = without_SSA(target);
    TYPE *type = target->type;
    if (is_icon(rhs) && (bits_stored(target) || type->is_ptr())) {
        TYPE *ints = offset_type(type);
        int width = bits_stored(target);
        INT65 value = width ? stored_value(rhs->u.lval, ints, width) : truncate_to_type(rhs->u.lval, ints);
        NODE *constant = mk_ICON(value, ints);
        constant->scope = rhs->scope;
        erase_tree(rhs);
        if (type->is_ptr()) return simp_node(coerce_to_type(type, constant), nullptr);
        return constant;
    }
    if (mode == 0) {
        if (type->is_scalar() && rhs->type->is_scalar() && !compatible_types(type, rhs->type, true))
            rhs =
                simp_node(maketree(type->is_ptr() ? PCONV : SCONV, rhs, nullptr, type, rhs->scope), nullptr);
    } else {
        rhs = coerce_to_type(type, rhs);
    }
    if (!is_bitfield(target) || !is_int_type(type) || type->is_enum() || type->is_bool()) return rhs;
    // (rhs << s) >> s, in the sign of the field
    TYPE *promoted = promoted_type(type);
    promoted = type->is_signed() ? tp->mk_signed(promoted) : tp->mk_unsigned(promoted);
    int s = int(promoted->size) - int(target->right->member->width());
    if (s <= 0) return rhs;
    LS *scope = rhs->scope;
    NODE *up = simp_new(SLL, in_type(promoted, rhs, nullptr), new_ICON(INT65(s), tp->int_type(), scope),
                        promoted, scope, nullptr);
    NODE *down = simp_new(SRL, up, new_ICON(INT65(s), tp->int_type(), scope), promoted, scope, nullptr);
    return mode == 0 ? in_type(type, down, nullptr) : coerce_to_type(type, down);
}

// (t + a) + b  ->  t + (a + b)          t the target, wherever it stands in the chain; +, &, |, ^ of integers
NODE *bubble_term_to_top(const NODE *target, NODE *rhs, struct LOOP *loop) {
    int op = rhs->op;
    if ((op != PLUS && op != ANDB && op != ORB && op != XORB) || !is_ring_type(rhs->type)) return rhs;
    TYPE *rest_type = offset_type(rhs->type);
    auto is_target = [&](const NODE *x) {
        return x->op == target->op && trees_are_congruent(x, target) && same_ring(x->type, rhs->type);
    };
    if (is_target(rhs->left)) return rhs;
    NODE *level = rhs, *below = nullptr;
    bool at_left = false;
    for (int i = 0;; i++) {
        if (i == BUBBLE_SPAN_CAP) {
            ++bubble_span_cap_hits;
            return rhs;
        }
        if (level != rhs && is_target(level->right)) break;
        NODE *next = level->left;
        if (is_target(next)) {
            at_left = true;
            break;
        }
        if (next->op != op || !same_ring(next->type, rhs->type)) {
            if (level == rhs && is_target(rhs->right)) return rhs;
            return rhs;
        }
        below = level; // the level above `next`
        level = next;
    }
    if (level == rhs || !below) return rhs;
    NODE *found = at_left ? level->left : level->right;
    // what was evaluated before the target is evaluated after it now
    if (!at_left && !is_free_of_effects(level->left)) return rhs;
    if (rhs->type->is_ptr() != found->type->is_ptr()) return rhs;
    if (!RULE("ASG: x = (x op a) op b -> x = x op (a op b)")) return rhs;
    NODE *other = at_left ? level->right : level->left;
    level->left = level->right = nullptr;
    LS *scope = rhs->scope;
    TYPE *type = rhs->type;
    erase_node(level);
    // what is left of the chain has another operand at its end
    std::vector<NODE *> rest;
    for (NODE *each = rhs;; each = each->left) {
        each->type = rest_type;
        rest.push_back(each);
        if (each == below) break;
    }
    for (; !rest.empty(); rest.pop_back()) {
        rest.back()->left = other;
        other = simp_node(rest.back(), loop);
    }
    return maketree(op, found, other, type, scope);
}

NODE *simp_ASG(NODE *n, struct LOOP *loop) {
    if (tree_is_arg_prolog(n)) return n;
    NODE *target = n->left;
    auto is_simple = [](const TYPE *t) { return t->is_ptr() || t->is_fltpt() || is_int_type(t); };
    if (!is_simple(target->type) || !is_simple(n->right->type)) return n;
    n->right = fit_right_side(target, n->right, loop);

    // x = (y = 0)  ->  (y = 0), (x = 0)
    NODE *inner = n->right;
    if (inner->op == ASG && is_icon_of(inner->right, INT65(0)) &&
        (is_int_type(target->type) || target->type->is_ptr()) && target->op == NAME &&
        RULE("ASG: x = (y = 0) -> (y = 0), (x = 0)")) {
        NODE *zero = in_type(target->type, new_ICON(INT65(0), target->type, n->scope), loop);
        n->right = is_icon(zero) ? zero : truncate_RHS_for_assignment(target, zero, 0);
        return simp_COMMAOP(maketree(COMMAOP, inner, n, n->type, n->scope), loop);
    }

    if (target->type->is_volatile() && target->op != NAME) return n;
    if (!n->right->type->is_fltpt() || target->type->is_fltpt()) {
        n->right = bubble_term_to_top(target, n->right, loop);
        NODE *sum = n->right;
        if (opASG_of_op[sum->op] != ILLOP && sum->left && sum->right && !is_bitfield(target) &&
            equiv_mtypes(sum->type, target->type)) {
            bool target_left = trees_are_congruent_se_ok(sum->left, target);
            const NODE *value = target_left ? sum->right : sum->left;
            bool found =
                target_left || (op_is_commutative(sum->op) && trees_are_congruent_se_ok(sum->right, target));
            if (found && may_read_place_later(target, value) &&
                (!target->type->is_volatile() || is_constant_leaf(value)) &&
                RULE("ASG: x = x op y -> x op= y"))
                n = ASG_to_opASG(n);
            if (n->op != ASG) fit_operand_of_opASG(n, loop);
        }
    }
    return n;
}

NODE *simp_opASG(NODE *n, struct LOOP *loop) {
    NODE *target = n->left;
    TYPE *type = target->type;
    if (!type->is_scalar() || type->is_complex() || n->right->type->is_complex()) return n;
    int op = op_of_opASG[n->op];
    fit_operand_of_opASG(n, loop);
    // the long form tells more, and comes back to the short one where both compute in one type
    if (tree_has_side_effects(target) || is_bitfield(target) || !type->is_arithmetic() || type->is_bool())
        return n;
    if (!n->right->type->is_arithmetic() || tree_has_side_effects(n->right)) return n;
    bool shift = op == SLL || op == SRL;
    if (!equiv_mtypes(promoted_type(type), type)) return n;
    if (!shift && !equiv_mtypes(combined_type(target, n->right), type)) return n;
    NODE *asg = opASG_to_ASG(n);
    if (asg->op != ASG) return asg;
    NODE *sum = asg->right;
    if (sum->op == SCONV && sum->left->op == op) sum = sum->left;
    if (sum->left->op == SCONV) sum->left = simp_node(sum->left, loop);
    if (sum->right->op == SCONV) sum->right = simp_node(sum->right, loop);
    if (sum != asg->right) asg->right->left = simp_node(sum, loop);
    asg->right = simp_node(asg->right, loop);
    if (asg->right->op == COMMAOP) return simp_node(asg, loop);
    return simp_ASG(asg, loop);
}
