#include "OPT5/icternary.h"

#include <cstring>
#include <vector>

#include "OPT5/bbutils.h"
#include "OPT5/coerce.h"
#include "OPT5/congruent.h"
#include "OPT5/icalls.h"
#include "OPT5/simp1.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "typepkg/type_merge.h"
#include "typepkg/type_pkg.h"

namespace {

constexpr char STRICT_TERNARY_NAME[] = "quest$colon";

bool is_integer(const TYPE *type) { return type->is_integral() || type->is_enum(); }

struct TERNARY {
    NODE *&condition, *&a, *&b;
};
TERNARY operands(NODE *call) { return {call->left->left->left, call->left->left->right, call->left->right}; }

} // namespace

bool is_strict_ternary_ICALL(const NODE *n) {
    return n->op == ICALL && n->u.icall && strcmp(n->u.icall, STRICT_TERNARY_NAME) == 0 &&
           n->left->op == COMMA && n->left->left->op == COMMA && n->left->right->op != COMMA &&
           n->left->left->left->op != COMMA && n->left->left->right->op != COMMA;
}

NODE *make_strict_ternary_ICALL(NODE *tree) {
    if (tree->op != QUEST || tree->right->op != COLON || tree->type->is_void()) return tree;
    NODE *condition = tree->left, *colon = tree->right;
    const TYPE *type = condition->type;
    if (!(is_integer(type) || type->is_ptr()) || type->size > 32) return tree;
    NODE *test_and_a = maketree(COMMA, condition, colon->left, colon->left->type, tree->scope);
    colon->op = COMMA;
    colon->left = test_and_a;
    colon->type = colon->right->type;
    colon->scope = tree->scope;
    tree->op = ICALL;
    tree->left = colon;
    tree->right = nullptr;
    tree->u.icall = intern_name(STRICT_TERNARY_NAME);
    return tree;
}

namespace {

// Puts the operand into a temporary, whose name takes its place. Gives the earlier effects with the assignment.
NODE *evaluate_first(NODE *effects, NODE *&operand) {
    LS *scope = operand->scope;
    SYMTAB *temporary = sym_temp('A', -1, operand->type, scope);
    NODE *assignment = mk_ASG(mk_NAME(temporary, scope), operand);
    operand = mk_NAME(temporary, scope);
    return mk_COMMAOP(effects, assignment);
}

// (A1 = a, p ? A1 : b). The operands keep their order: what an arm's effects would change, and a condition with
// effects of its own, is evaluated before them.
NODE *evaluate_arms_with_effects(NODE *&condition, NODE *&a, NODE *&b) {
    bool from_a = tree_has_side_effects(a), from_b = tree_has_side_effects(b);
    if (!from_a && !from_b) return nullptr;
    bool move_condition = tree_has_side_effects(condition) ||
                          (from_a && tree_modifies_lvalue_in_tree(a, condition)) ||
                          (from_b && tree_modifies_lvalue_in_tree(b, condition));
    bool move_a = from_a || tree_modifies_lvalue_in_tree(b, a);
    NODE *effects = nullptr;
    if (move_condition) effects = evaluate_first(effects, condition);
    if (move_a) effects = evaluate_first(effects, a);
    if (from_b) effects = evaluate_first(effects, b);
    return effects;
}

} // namespace

NODE *undo_strict_ternary_ICALL(NODE *tree, bool keep_side_effects) {
    if (!is_strict_ternary_ICALL(tree)) return tree;
    auto [condition, a, b] = operands(tree);
    NODE *effects = keep_side_effects ? evaluate_arms_with_effects(condition, a, b) : nullptr;
    for (NODE **arm : {&a, &b})
        if (tree->type->is_ptr() && (*arm)->op == ICON) *arm = coerce_to_type(tree->type, *arm);
    NODE *colon = tree->left, *inner = colon->left;
    tree->op = QUEST;
    tree->left = inner->left;
    tree->right = colon;
    tree->u.icall = nullptr;
    colon->op = COLON;
    colon->left = inner->right;
    colon->type = tree->type;
    erase_node(inner);
    return mk_COMMAOP(effects, tree);
}

// --- simplifying ---

namespace {

TYPE *unqualified(TYPE *type) { return type->is_qualified() ? type->dtype : type; }

// Takes a conversion that both arms share off them and gives its node, over the first arm; null when they share none.
// q$c(p, (T)x, (T)y)  ->  (T)q$c(p, x, y)        x and y of one type; for pointers, no constants
NODE *take_shared_conversion(NODE *call) {
    auto [condition, a, b] = operands(call);
    if (a->op != b->op || (a->op != SCONV && a->op != PCONV)) return nullptr;
    if (a->op == PCONV && (expr_is_constant(a->left) || expr_is_constant(b->left))) return nullptr;
    TYPE *source = a->left->type;
    if (!source->is_scalar() || !compatible_types(source, b->left->type, true) ||
        !compatible_types(a->type, b->type, true) || !compatible_types(a->type, call->type, true))
        return nullptr;
    NODE *conversion = a, *other = b;
    a = a->left;
    b = b->left;
    conversion->left = nullptr;
    conversion->type = call->type;
    erase_node(other);
    call->type = unqualified(source);
    call->left->type = b->type;
    call->left->left->type = a->type;
    return conversion;
}

bool is_signed_integer(const TYPE *type) { return is_integer(type) && type->is_signed(); }

// Whether the tree is `x - y` of signed operands, in a type in which no operand loses bits.
bool is_difference(const NODE *n, const NODE *x, const NODE *y) {
    return n->op == MINUS && is_signed_integer(n->type) && x->type->size <= n->type->size &&
           y->type->size <= n->type->size && trees_are_congruent(n->left, x) &&
           trees_are_congruent(n->right, y);
}

// q$c(x > y, x - y, y - x)  ->  abs(x - y)        x, y signed, > or >=; < and <= with the arms exchanged
// An unsigned comparison of signed operands has another order, and the unequal pair may have unlike signs.
bool is_absolute_difference(NODE *call) {
    auto [condition, a, b] = operands(call);
    int op = condition->op;
    if (op != LE && op != LT && op != GE && op != GT) return false;
    bool is_greater = op == GE || op == GT;
    const NODE *great = is_greater ? condition->left : condition->right;
    const NODE *small = is_greater ? condition->right : condition->left;
    if (!is_signed_integer(great->type) || !is_signed_integer(small->type)) return false;
    return is_signed_integer(call->type) && compatible_types(a->type, call->type, true) &&
           is_difference(a, great, small) && is_difference(b, small, great);
}

NODE *absolute_difference(NODE *call, struct LOOP *loop) {
    TYPE *type = call->type;
    LS *scope = call->scope;
    std::vector<NODE *> args = dissolve_call(call);
    erase_tree(args[0]);
    erase_tree(args[2]);
    return simp_node(maketree(ABS, args[1], nullptr, type, scope), loop);
}

// A known condition chooses an arm.
NODE *chosen_arm(NODE *call, struct LOOP *loop) {
    TYPE *type = call->type;
    std::vector<NODE *> args = dissolve_call(call);
    bool first = !args[0]->u.lval.is_zero();
    erase_tree(args[0]);
    erase_tree(args[first ? 2 : 1]);
    NODE *arm = args[first ? 1 : 2], *result = coerce_to_type(type, arm);
    return result == arm ? arm : simp_node(result, loop);
}

// The call without conversions. The rules of the ordinary conditional do the rest, but they let an arm go, and its
// effects with it, so they are not for arms that have some.
NODE *simp_unconverted(NODE *call, struct LOOP *loop) {
    if (is_absolute_difference(call)) return absolute_difference(call, loop);
    auto [condition, a, b] = operands(call);
    if (tree_has_side_effects(a) || tree_has_side_effects(b)) return call;
    if (condition->op == ICON) return chosen_arm(call, loop);
    return make_strict_ternary_ICALL(simp_node(undo_strict_ternary_ICALL(call, false), loop));
}

} // namespace

NODE *simp_strict_ternary_ICALL(NODE *tree, struct LOOP *loop) {
    if (!is_strict_ternary_ICALL(tree)) return tree;
    std::vector<NODE *> conversions;
    while (NODE *conversion = take_shared_conversion(tree)) conversions.push_back(conversion);
    tree = simp_unconverted(tree, loop);
    for (; !conversions.empty(); conversions.pop_back()) {
        NODE *conversion = conversions.back();
        conversion->left = tree;
        tree = simp_node(conversion, loop);
    }
    return tree;
}
