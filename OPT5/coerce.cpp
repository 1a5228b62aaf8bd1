#include "OPT5/coerce.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "OPT5/bbutils.h"
#include "OPT5/congruent.h"
#include "OPT5/flags.h"
#include "OPT5/fold.h"
#include "OPT5/icternary.h"
#include "OPT5/rules.h"
#include "OPT5/simp1.h"
#include "OPT5/simp2.h"
#include "OPT5/simp3.h"
#include "OPT5/symbolic.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "OPT5/typefacts.h"
#include "support/fatal.h"
#include "typepkg/type_merge.h"

unsigned quest_push_cap_hits = 0;

namespace {

bool is_int(const TYPE *type) { return type->is_integral() || type->is_enum(); }

bool is_bitfield_access(const NODE *n) {
    return (n->op == STDOT || n->op == STREF) && n->right && n->right->op == FIELD && n->right->member &&
           n->right->member->is_bitfld();
}

bool is_lvalue_op(int op) {
    return op == NAME || op == UMULT || op == STDOT || op == STREF || op == VFIELD || op == REAL ||
           op == IMAG || op == DDNODE;
}

// Whether every value of `from` is one of `to`. A bool that is computed counts as a byte.
bool holds_all_values(const TYPE *to, const TYPE *from) {
    if (to->is_bool()) return from->is_bool();
    if (to->is_unsigned() == from->is_unsigned()) return to->size >= from->size;
    return from->is_unsigned() && to->size > from->size;
}

// outer(inner(x)) is outer(x), all of them integers:  the inner conversion keeps the value, or cuts no bit that
// the outer one keeps
bool inner_conversion_is_idle(const TYPE *outer, const TYPE *inner, const TYPE *x) {
    if (holds_all_values(inner, x)) return true;
    return !inner->is_bool() && !outer->is_bool() && outer->size <= inner->size;
}

// The operand in the place of its operator.
NODE *take_operand(NODE *n) {
    NODE *operand = n->left;
    n->left = nullptr;
    erase_node(n);
    return operand;
}

// The node loses the conversion that is its operand.
void drop_inner_conversion(NODE *n) { n->left = take_operand(n->left); }

NODE *convert_under(int op, NODE *operand, TYPE *type) {
    return maketree(op, operand, nullptr, type, operand->scope);
}

} // namespace

// --- coercion ---

namespace {

NODE *coerce_vector(TYPE *type, NODE *n) {
    TYPE *from = n->type;
    if (compatible_types(type, from, true)) return n;
    if (type->size == from->size) return convert_under(VRCONV, n, type);
    if (!type->is_vector() || !from->is_vector() || type->num_elem() != from->num_elem()) abort_optimizer();
    return convert_under(VSCONV, n, type);
}

// s  ->  *(T *)&s          a record read as a scalar
NODE *coerce_record_NAME(TYPE *type, NODE *name) {
    NODE *address = convert_under(PCONV, mk_UAND(name), tp->mk_ptr(type));
    address->left->scope = address->scope = name->scope;
    return convert_under(UMULT, address, type);
}

NODE *coerce_to_pointer(TYPE *type, NODE *n) {
    if (compatible_types(type, n->type, true)) return n;
    if (n->op == OUIALIGN || n->op == NONALIGN) {
        n->left = coerce_to_type(type, n->left);
        n->type = type;
        return n;
    }
    TYPE *target = type->type_pointed_to();
    if (n->op == PCONV && n->type->is_ptr() && n->type->size == type->size &&
        (target->is_scalar() || target->is_vector())) {
        n->type = type;
        return n;
    }
    return convert_under(PCONV, n, type);
}

// A scalar that is no conditional. Gives `slot`'s new tree.
NODE *coerce_scalar(TYPE *type, NODE *n) {
    for (;;) {
        if (n->op == NAME && n->type->is_csu() && type->is_scalar()) return coerce_record_NAME(type, n);
        if (type->is_ptr()) return n->type->is_scalar() ? coerce_to_pointer(type, n) : n;
        if (!type->is_scalar() || !n->type->is_scalar()) return n;
        if (n->type->is_complex() && !type->is_complex()) abort_optimizer();
        if (compatible_types(type, n->type, true) && !is_bitfield_access(n)) return n;
        bool chain = n->op == SCONV && is_int(type) && is_int(n->type) && is_int(n->left->type);
        if (!chain || !inner_conversion_is_idle(type, n->type, n->left->type)) break;
        n = take_operand(n);
    }
    return convert_under(SCONV, n, type);
}

// A conditional one of whose arms is a constant: the conversion is better made there, where it folds.
bool coerces_arms(const NODE *n) {
    return n->op == QUEST && n->right->op == COLON &&
           (expr_is_constant(n->right->left) || expr_is_constant(n->right->right));
}

} // namespace

NODE *coerce_to_type(TYPE *type, NODE *tree) {
    if (type->is_enum()) type = normalized_underlying_type(type);
    if (type->is_vector() || tree->type->is_vector()) return coerce_vector(type, tree);
    if (tree->op != COLON && !coerces_arms(tree)) return coerce_scalar(type, tree);
    NODE *root = tree;
    std::vector<NODE **> todo = {&root}; // a chain of conditionals may be long
    while (!todo.empty()) {
        NODE **slot = todo.back(), *n = *slot;
        todo.pop_back();
        bool conditional = coerces_arms(n) && type->is_scalar() && n->type->is_scalar() &&
                           !compatible_types(type, n->type, true);
        if (n->op != COLON && !conditional) {
            *slot = coerce_scalar(type, n);
            continue;
        }
        NODE *colon = conditional ? n->right : n;
        for (NODE **arm : {&colon->left, &colon->right}) {
            // what an arm is converted to by the conditional comes first
            if (conditional) *arm = coerce_scalar(n->type, *arm);
            todo.push_back(arm);
        }
        colon->type = type;
        n->type = type;
    }
    return root;
}

// --- conversions of scalars ---

namespace {

bool same_value_type(TYPE *a, TYPE *b) {
    if (compatible_types(a, b, true)) return true;
    return (is_int(a) || a->is_fltpt()) && (is_int(b) || b->is_fltpt()) && equiv_mtypes(a, b);
}

// Takes the conversion away. The operand gets its type where it has a type of its own, not that of an object.
NODE *drop_conversion(NODE *n, bool retype) {
    TYPE *type = n->type;
    NODE *x = take_operand(n);
    if (retype && !is_lvalue_op(x->op) && !opcode_is_ASG(x->op) && !x->type->is_volatile()) x->type = type;
    return x;
}

// (T)(p ? a : b)  ->  p ? (T)a : (T)b
NODE *push_into_QUEST(NODE *n, struct LOOP *loop) {
    TYPE *type = n->type;
    int op = n->op;
    if (n->left->right->op != COLON || !RULE("CONV: (T)(p ? a : b) -> p ? (T)a : (T)b")) return n;
    NODE *root = take_operand(n);
    std::vector<NODE **> conditionals = {&root}, arms;
    for (size_t k = 0; k < conditionals.size(); k++) {
        NODE *quest = *conditionals[k], *colon = quest->right;
        for (NODE **arm : {&colon->left, &colon->right}) {
            bool same = same_value_type((*arm)->type, quest->type);
            if (!same && !quest->type->is_ptr())
                *arm = simp_SCONV(convert_under(SCONV, *arm, quest->type), loop);
            else *arm = coerce_to_type(quest->type, *arm);
            bool nested = (*arm)->op == QUEST && (*arm)->right->op == COLON;
            if (nested && conditionals.size() >= QUEST_PUSH_CAP) ++quest_push_cap_hits;
            if (nested && conditionals.size() < QUEST_PUSH_CAP) conditionals.push_back(arm);
            else arms.push_back(arm);
        }
        quest->type = colon->type = type;
    }
    for (NODE **arm : arms) {
        NODE *conversion = maketree(op, *arm, nullptr, type, (*arm)->scope);
        bool capped = (*arm)->op == QUEST;
        *arm = capped        ? conversion
               : op == SCONV ? simp_SCONV(conversion, loop)
                             : simp_PCONV(conversion, loop);
    }
    // from the inside out
    for (size_t k = conditionals.size(); k-- > 1;) *conditionals[k] = simp_node(*conditionals[k], loop);
    return simp_node(root, loop);
}

// What an arm looks like converted, if that takes no conversion; null otherwise. Only leaves and conversions are tried:
// others would be copied in vain.
NODE *converted_for_free(TYPE *type, const NODE *arm, struct LOOP *loop) {
    bool cheap =
        arm->op == ICON || arm->op == FCON || (arm->op == SCONV && !arm->left->left && !arm->left->right);
    if (!cheap) return nullptr;
    NODE *trial = simp_SCONV(convert_under(SCONV, copy_tree(arm), type), loop);
    if (trial->op != SCONV) return trial;
    erase_tree(trial);
    return nullptr;
}

// (T)quest$colon(p, a, b)  ->  quest$colon(p, a', b')       a' and b' being (T)a and (T)b without a conversion
NODE *push_into_strict_ternary(NODE *n, struct LOOP *loop) {
    NODE *call = n->left, *list = call->left;
    if (list->op != COMMA || list->left->op != COMMA) return nullptr;
    NODE *&a = list->left->right, *&b = list->right;
    if (!same_value_type(a->type, call->type) || !same_value_type(b->type, call->type)) return nullptr;
    NODE *new_a = converted_for_free(n->type, a, loop);
    NODE *new_b = new_a ? converted_for_free(n->type, b, loop) : nullptr;
    if (!new_b || !RULE("SCONV: (T)q$c(p, a, b) -> q$c(p, (T)a, (T)b)")) {
        erase_tree(new_a);
        erase_tree(new_b);
        return nullptr;
    }
    erase_tree(a);
    erase_tree(b);
    a = new_a;
    b = new_b;
    list->type = b->type;
    list->left->type = a->type;
    TYPE *type = n->type;
    call = take_operand(n);
    call->type = type;
    return call;
}

// --- rows for integers; each gives the new tree, or null when it does not apply. n is (t)x, s the type of x ---

bool is_word(const TYPE *type) { return type->size == 32; }

// (t)(T *)y  ->  (t)y             y and t integers no wider than the pointer
bool drop_pointer_between(NODE *n) {
    NODE *x = n->left;
    if (x->op != PCONV || !x->type->is_ptr() || !is_int(n->type) || !is_int(x->left->type)) return false;
    unsigned width = unsigned(x->type->size);
    if (n->type->size > width || x->left->type->size > width) return false;
    if (!RULE("SCONV: (t)(T *)y -> (t)y")) return false;
    drop_inner_conversion(n);
    return true;
}

// (t)(s)y  ->  (t)y               when (s) changes nothing that (t) keeps
bool drop_conversion_between(NODE *n) {
    NODE *x = n->left;
    if (x->op != SCONV || !is_int(x->type)) return false;
    TYPE *y = x->left->type;
    bool idle = false;
    if (is_int(y)) {
        idle = is_int(n->type) ? inner_conversion_is_idle(n->type, x->type, y)
                               : n->type->is_fltpt() && holds_all_values(x->type, y);
    } else if (y->is_ptr() && is_int(n->type)) {
        idle = !n->type->is_bool() && !x->type->is_bool() && n->type->size <= x->type->size;
    }
    if (!idle || !RULE("SCONV: (t)(s)y -> (t)y")) return false;
    drop_inner_conversion(n);
    return true;
}

// (t)(a + c)  ->  (t)(a + c')     t unsigned and narrower; c' is c cut to t
bool cut_constant_term(NODE *n) {
    NODE *x = n->left;
    TYPE *t = n->type, *s = x->type;
    if (x->op != PLUS || x->right->op != ICON || !t->is_unsigned() || t->is_bool() || t->size >= s->size)
        return false;
    INT65 cut = x->right->u.lval.truncate_unsigned(int(t->size));
    if (cut == x->right->u.lval || !RULE("SCONV: (t)(a + c) -> (t)(a + cut c)")) return false;
    become_ICON(x->right, cut, s->is_enum() ? normalized_underlying_type(s) : s);
    return true;
}

// Whether a conversion between int and unsigned may go to the operands of the node. To signed only where no operand
// is a number: a sum that wraps may not become a signed one.
bool sign_change_goes_down(const NODE *x, const TYPE *to) {
    switch (x->op) {
    case PLUS:
    case MINUS:
    case UMINUS:
        if (!to->is_unsigned()) return false;
        break;
    case ANDB:
    case ORB:
    case XORB:
    case NOTB: break;
    default: return false;
    }
    return is_int(x->left->type) && (!x->right || is_int(x->right->type));
}

bool changes_sign_of_word(const NODE *n) {
    const TYPE *t = n->type, *s = n->left->type;
    return is_int(t) && is_int(s) && is_word(t) && is_word(s) && t->is_unsigned() != s->is_unsigned() &&
           !t->is_bool() && !s->is_bool();
}

// (unsigned)(a + b)  ->  (unsigned)a + (unsigned)b      a long sum is done in one go
NODE *push_sign_change(NODE *n, struct LOOP *loop) {
    TYPE *t = n->type;
    if (!changes_sign_of_word(n) || !sign_change_goes_down(n->left, t)) return nullptr;
    if (!RULE("SCONV: (unsigned)(a + b) -> (unsigned)a + (unsigned)b")) return nullptr;
    NODE *root = take_operand(n);
    std::vector<NODE **> sums = {&root}, operands;
    for (size_t k = 0; k < sums.size(); k++) {
        NODE *x = *sums[k];
        x->type = t;
        for (NODE **slot : {&x->left, &x->right}) {
            NODE *operand = *slot;
            if (!operand) continue;
            bool goes_on = is_int(operand->type) && is_word(operand->type) && !operand->type->is_bool() &&
                           operand->type->is_unsigned() != t->is_unsigned() &&
                           sign_change_goes_down(operand, t);
            (goes_on ? sums : operands).push_back(slot);
        }
    }
    for (NODE **slot : operands)
        if (!same_value_type((*slot)->type, t)) *slot = simp_SCONV(convert_under(SCONV, *slot, t), loop);
    for (size_t k = sums.size(); k-- > 1;) *sums[k] = simp_node(*sums[k], loop);
    return simp_node(root, loop);
}

// (t)x  ->  x                     t is int or narrower and holds every value of x
bool widens_idly(const NODE *n) {
    const TYPE *t = n->type, *s = n->left->type;
    if (!t->is_integral() || !s->is_integral() || t->is_bool() || s->size >= t->size) return false;
    return !t->is_unsigned() && t->size <= tp->int_type()->size;
}

// (int)e  ->  e                   e a variable of an enum that int holds; it is then read as the enum's integer type
bool read_enum_as_integer(NODE *n) {
    NODE *x = n->left;
    if (x->op != NAME || !x->type->is_enum() || x->type->is_volatile() || !n->type->is_int()) return false;
    TYPE *underlying = normalized_underlying_type(x->type);
    if (!holds_all_values(n->type, underlying) || !RULE("SCONV: (int)e -> e, e an enum")) return false;
    x->type = underlying;
    return true;
}

// (t)x  ->  x                     x is 0 or 1, t of the sign of s and not wider than its promotion
bool is_truth_value(const NODE *n) {
    const TYPE *t = n->type, *s = n->left->type;
    if (!is_int(t) || !is_int(s) || t->is_unsigned() != s->is_unsigned() || t->size < 2) return false;
    return s->size <= 32 && t->size <= promoted_type(n->left->type)->size && returns_1_or_0(n->left);
}

bool same_promotion(TYPE *a, TYPE *b) { return compatible_types(promoted_type(a), promoted_type(b), true); }

// (t)(a % c)  ->  a % c           a >= 0, c > 1 a value of the unsigned type t
bool remainder_fits(const NODE *n, struct LOOP *loop) {
    const NODE *x = n->left;
    if (x->op != MOD || x->right->op != ICON || !n->type->is_unsigned() || n->type->is_bool()) return false;
    INT65 c = x->right->u.lval;
    return c > INT65(1) && truncate_to_type(c, n->type) == c && truncate_to_type(c, x->type) == c &&
           same_promotion(n->type, x->type) && is_int(x->left->type) &&
           holds_all_values(x->type, x->left->type) && tree_is_non_negative(x->left, loop);
}

// (t)((t)a + b)  ->  (t)((s)a + b)         t narrower than the sum; also MINUS, and on the right
// (t)((s)(t)a + b)  ->  (t)((s)a + b)
bool widen_operand_of_sum(NODE *n, struct LOOP *loop) {
    NODE *x = n->left;
    TYPE *t = n->type, *s = x->type;
    if ((x->op != PLUS && x->op != MINUS) || t->size >= s->size || t->is_bool()) return false;
    for (NODE **slot : {&x->left, &x->right}) {
        NODE *operand = *slot, *cut = operand;
        if (operand->op == SCONV && operand->left->op == SCONV && same_value_type(operand->type, s))
            cut = operand->left;
        if (cut->op != SCONV || !is_int(cut->left->type) || !is_int(cut->type) ||
            cut->type->size != t->size || cut->type->is_bool())
            continue;
        if (!RULE("SCONV: (t)((t)a + b) -> (t)((s)a + b)")) continue;
        if (cut != operand) drop_inner_conversion(operand);
        operand->type = s;
        *slot = simp_SCONV(operand, loop);
        return true;
    }
    return false;
}

// (t)(a >> c)  ->  a >> c                  as many bits are left as t has, with t's sign
bool shift_fits(const NODE *n) {
    const NODE *x = n->left;
    const TYPE *t = n->type, *s = x->type;
    if (x->op != SRL || x->right->op != ICON || t->size >= s->size || t->is_bool()) return false;
    INT65 lost(int(s->size) - int(t->size)), c = x->right->u.lval;
    return t->is_unsigned() == s->is_unsigned() && c >= lost && c < INT65(int(s->size)) &&
           same_promotion(n->type, x->type);
}

// (t)((b * 2^k) >> k)  ->  (t)b            t has no more bits than the shifts leave
bool drop_shift_pair(NODE *n) {
    NODE *x = n->left;
    if (x->op != SRL || x->right->op != ICON || n->type->is_bool() || !is_int(x->type)) return false;
    NODE *up = x->left;
    if ((up->op != MULT && up->op != SLL) || up->right->op != ICON || !is_int(up->left->type)) return false;
    if (!is_int(up->type) || up->type->size != x->type->size || up->type->is_bool() || x->type->is_bool())
        return false;
    INT65 k = up->op == MULT ? INT65(power_of_2(up->right->u.lval)) : up->right->u.lval;
    if (k.is_negative() || k != x->right->u.lval || INT65(int(n->type->size)) > INT65(int(x->type->size)) - k)
        return false;
    if (!RULE("SCONV: (t)((b * 2^k) >> k) -> (t)b")) return false;
    n->left = up->left;
    up->left = nullptr;
    erase_tree(x);
    return true;
}

bool narrows_to_fitting(const NODE *n, struct LOOP *loop) {
    TYPE *t = n->type, *s = n->left->type;
    return t->is_integral() && s->is_integral() && t->size < s->size && same_promotion(t, s) &&
           value_fits_in_type(n->left, t, loop);
}

// The bits above the narrower type need not be computed.
bool narrow_operand(NODE *n) {
    TYPE *t = n->type, *s = n->left->type;
    if (!is_int(s) || t->size >= s->size || t->is_bool()) return false;
    NODE *before = n->left;
    n->left = prop_mask_into_subtree(n->left, type_mask(t));
    return n->left != before;
}

// One step on an integer conversion in place: whether it changed.
bool simplify_in_place(NODE *n, struct LOOP *loop) {
    return drop_conversion_between(n) || cut_constant_term(n) || widen_operand_of_sum(n, loop);
}

// Whether the whole conversion can go, the type of the operand being good enough for any place.
bool conversion_is_idle(const NODE *n, struct LOOP *loop) {
    if (widens_idly(n)) return RULE("SCONV: (int)x -> x, x narrower");
    if (is_truth_value(n)) return RULE("SCONV: (t)x -> x, x 0 or 1");
    if (remainder_fits(n, loop)) return RULE("SCONV: (t)(a % c) -> a % c");
    if (shift_fits(n)) return RULE("SCONV: (t)(a >> c) -> a >> c");
    if (narrows_to_fitting(n, loop)) return RULE("SCONV: (t)x -> x, all values of x in t");
    return false;
}

bool constant_converts(NODE *n) {
    NODE *x = n->left;
    if ((x->op != ICON && x->op != FCON) || same_value_type(n->type, x->type)) return false;
    NODE *trial = copy_node(x);
    bool converts = convert_constant(trial, n->type);
    if (!converts || !RULE("SCONV: (t)c -> c")) {
        erase_node(trial);
        return false;
    }
    erase_tree(n->left);
    n->left = trial;
    return true;
}

} // namespace

// Ends because each turn removes a conversion, moves one down, or makes a constant smaller.
NODE *simp_SCONV(NODE *n, struct LOOP *loop) {
    if (!n->left || !n->left->type || n->type->is_vector() || n->left->type->is_vector()) return n;
    if (is_unresolved_mix(n->left) && RULE("CONV: (T)mix -> mix")) return drop_conversion(n, true);
    for (bool masked = false;;) {
        drop_pointer_between(n);
        if (n->type->is_enum()) n->type = normalized_underlying_type(n->type);
        TYPE *t = n->type, *s = n->left->type;
        if (s->is_ptr() || !s->is_scalar() || !t->is_scalar() || t->is_ptr()) return n;
        if (same_value_type(t, s))
            return RULE("SCONV: (t)x -> x, x of type t") ? drop_conversion(n, true) : n;
        if (constant_converts(n)) return take_operand(n);
        if (n->left->op == QUEST) return push_into_QUEST(n, loop);
        if (is_strict_ternary_ICALL(n->left))
            if (NODE *pushed = push_into_strict_ternary(n, loop)) return pushed;
        if (!is_int(t) || !is_int(s)) {
            if (drop_conversion_between(n)) continue;
            return n;
        }
        if (drop_shift_pair(n)) continue;
        if (!masked) {
            masked = true;
            if (narrow_operand(n)) continue;
        }
        if (simplify_in_place(n, loop)) continue;
        if (NODE *pushed = push_sign_change(n, loop)) return pushed;
        if (read_enum_as_integer(n)) return drop_conversion(n, false);
        return conversion_is_idle(n, loop) ? drop_conversion(n, false) : n;
    }
}

// --- pointers ---

namespace {

bool is_sum(const NODE *n) { return n->op == PLUS || n->op == MINUS; }

// The operand of a pointer sum that is the pointer; null when it is not one pointer and one number.
NODE **pointer_operand(NODE *n) {
    if (!is_sum(n) || !n->type->is_ptr()) return nullptr;
    bool left = n->left->type->is_ptr(), right = n->right->type->is_ptr();
    if (left == right || (right && n->op == MINUS)) return nullptr;
    return left ? &n->left : &n->right;
}

bool same_size_pointers(const TYPE *a, const TYPE *b) {
    return a->is_ptr() && b->is_ptr() && a->size == b->size;
}

// Whether the conversion between two unlike pointers says nothing that is needed. What a pointer to a function or to
// an open class points at is known by its type only; an object says by its own type what it holds.
bool pointer_conversion_is_idle(const NODE *n, struct LOOP *loop) {
    const NODE *x = n->left;
    TYPE *to = n->type->type_pointed_to();
    if (compatible_types(n->type, x->type, true)) return true;
    if (to->is_csu() || !same_size_pointers(n->type, x->type)) return false;
    for (TYPE *target : {to, x->type->type_pointed_to()})
        if (target->is_func() || (target->is_csu() && !target->is_complete())) return false;
    if (x->op == SCON || x->op == UMULT || x->op == STDOT || opcode_is_ASG(x->op)) return false;
    return loop || opt_level() >= 2;
}

// (T *)(p + c)  ->  (T *)p + c
NODE *push_into_pointer_sum(NODE *n, struct LOOP *loop) {
    TYPE *type = n->type;
    std::vector<NODE *> sums;
    for (NODE *x = n->left; x->op == PLUS && x->right->op == ICON && same_size_pointers(x->type, type) &&
                            same_size_pointers(x->left->type, type);
         x = x->left)
        sums.push_back(x);
    if (sums.empty() || !RULE("PCONV: (T *)(p + c) -> (T *)p + c")) return nullptr;
    NODE *top = sums[0], *last = sums.back();
    n->left = last->left;
    last->left = simp_PCONV(n, loop);
    for (NODE *sum : sums) sum->type = type;
    return top;
}

// One conversion less under the node: whether there was one that does nothing.
bool drop_inner_pointer_conversion(NODE *n) {
    NODE *x = n->left;
    if (x->op != PCONV && x->op != SCONV) return false;
    if (!same_size_pointers(n->type, x->left->type) || x->type->size != n->type->size) return false;
    if (x->op == PCONV) {
        TYPE *to = n->type->type_pointed_to(), *between = x->type->type_pointed_to();
        bool idle = (to->is_csu() && between->is_csu()) || (to->is_scalar() && between->is_array());
        if (!idle || !RULE("PCONV: (T *)(S *)p -> (T *)p")) return false;
    } else if (!is_int(x->type) || x->type->is_bool() || !RULE("PCONV: (T *)(int)p -> (T *)p")) {
        return false;
    }
    drop_inner_conversion(n);
    return true;
}

} // namespace

NODE *simp_PCONV(NODE *n, struct LOOP *loop) {
    if (!n->left || !n->left->type || !n->type->is_ptr() || !n->left->type->is_scalar()) return n;
    bool is_plain = n->op == PCONV;
    if (is_unresolved_mix(n->left) && RULE("PCONV: (T *)mix -> mix")) return drop_conversion(n, true);
    do {
        if (compatible_types(n->type, n->left->type, true) ||
            (is_plain && n->left->type->is_ptr() && pointer_conversion_is_idle(n, loop)))
            return RULE("PCONV: (T *)p -> p") ? drop_conversion(n, false) : n;
        if (is_plain && n->left->op == QUEST && n->left->type->is_ptr()) return push_into_QUEST(n, loop);
        if (is_plain)
            if (NODE *pushed = push_into_pointer_sum(n, loop)) return pushed;
    } while (is_plain && drop_inner_pointer_conversion(n));
    return n;
}

NODE *simp_ACONV(NODE *n, struct LOOP *loop) {
    NODE *x = n->left;
    TYPE *t = n->type;
    if (!x || !x->type || !t->is_scalar() || !x->type->is_scalar()) return n;
    if (!is_int(t) || !is_int(x->type)) return n;
    // who reads arguments may look through the ACONV: what changes the value stays under it
    if (!same_value_type(x->type, t)) n->left = simp_SCONV(convert_under(SCONV, x, t), loop);
    return n;
}

NODE *push_down_pointer_cast(TYPE *type, NODE *pointer) {
    NODE *root = pointer, **slot = &root;
    while (!compatible_types(type, (*slot)->type, true)) {
        NODE **inner =
            type->is_ptr() && same_size_pointers(type, (*slot)->type) ? pointer_operand(*slot) : nullptr;
        if (!inner) {
            *slot = coerce_to_type(type, *slot);
            break;
        }
        (*slot)->type = type;
        slot = inner;
    }
    return root;
}

// (T *)p + i  ->  (T *)(p + i)
NODE *remove_pushed_down_casts(NODE *tree) {
    return rewrite_tree(tree, [](NODE *n) {
        NODE **slot = n->left && n->right && n->type ? pointer_operand(n) : nullptr;
        if (!slot || (*slot)->op != PCONV || !same_size_pointers((*slot)->left->type, n->type)) return n;
        NODE *conversion = *slot;
        *slot = conversion->left;
        conversion->left = n;
        conversion->type = n->type;
        n->type = (*slot)->type;
        return conversion;
    });
}
