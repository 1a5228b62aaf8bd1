#include "OPT5/simp_shape.h"

#include <vector>

#include "OPT5/bbutils.h"
#include "OPT5/coerce.h"
#include "OPT5/fold.h"
#include "OPT5/simp1.h"
#include "OPT5/treewalk.h"

unsigned effect_walk_cap_hits;

bool same_numbers(const TYPE *a, const TYPE *b) {
    if (!same_ring(a, b)) return false;
    return (a->is_ptr() || a->is_unsigned()) == (b->is_ptr() || b->is_unsigned());
}

bool is_address_of_name(const NODE *n) { return n->op == UAND && n->left && n->left->op == NAME; }

bool is_bitfield(const NODE *n) {
    return (n->op == STDOT || n->op == STREF) && n->right && n->right->op == FIELD && n->right->member &&
           n->right->member->is_bitfld();
}

int scale_of(const NODE *n) {
    if ((n->op != MULT && n->op != SLL) || n->right->op != ICON || !is_ring_type(n->type)) return -1;
    INT65 c = n->right->u.lval;
    int k = n->op == MULT ? power_of_2(c) : c.is_negative() || c > INT65(64) ? -1 : c.low_i32();
    return k < int(n->type->size) ? k : -1;
}

TYPE *offset_type(TYPE *type) { return type->is_ptr() ? tp->int_type() : type; }

NODE *new_ICON(INT65 value, TYPE *type, LS *scope) {
    NODE *n = mk_ICON(value, offset_type(type));
    n->scope = scope;
    return n;
}

namespace {

bool is_larger_than(const NODE *tree, int limit) {
    return for_each_node(tree, [&](const NODE *) { return limit-- > 0 ? WALK_INTO : WALK_STOP; });
}

} // namespace

bool is_free_of_effects(const NODE *tree) {
    if (!tree || is_constant_leaf(tree)) return true;
    if (is_larger_than(tree, EFFECT_WALK_CAP)) {
        ++effect_walk_cap_hits;
        return false;
    }
    return !tree_has_side_effects(tree);
}

bool may_exchange(const NODE *a, const NODE *b) {
    auto never_changes = [](const NODE *n) { return is_constant_leaf(n) || is_address_of_name(n); };
    return never_changes(a) || never_changes(b) || (is_free_of_effects(a) && is_free_of_effects(b));
}

namespace {

bool is_conditional(const NODE *n) { return n->op == QUEST && n->right->op == COLON; }

// The conversions that stand in the arms of a conditional now, and what they are arms of.
NODE *simp_converted_arms(NODE *root, struct LOOP *loop) {
    std::vector<NODE **> conditionals{&root};
    for (size_t k = 0; k < conditionals.size(); k++) {
        NODE *colon = (*conditionals[k])->right;
        for (NODE **arm : {&colon->left, &colon->right})
            if (is_conditional(*arm)) conditionals.push_back(arm);
            else if ((*arm)->op == SCONV || (*arm)->op == PCONV) *arm = simp_node(*arm, loop);
    }
    while (conditionals.size() > 1) {
        *conditionals.back() = simp_node(*conditionals.back(), loop);
        conditionals.pop_back();
    }
    return simp_node(root, loop);
}

} // namespace

NODE *in_type(TYPE *type, NODE *tree, struct LOOP *loop) {
    if (tree->type == type) return tree;
    TYPE *before = tree->type;
    NODE *converted = coerce_to_type(type, tree);
    // conversions go into the arms of a conditional, and one that was there already may have got the new type
    if (is_conditional(converted) && converted->type != before) return simp_converted_arms(converted, loop);
    bool is_new = converted != tree || tree->op == SCONV || tree->op == PCONV;
    return is_new ? simp_node(converted, loop) : tree;
}

NODE *keep_left(NODE *n) {
    NODE *kept = n->left;
    n->left = nullptr;
    erase_tree(n);
    return kept;
}

NODE *keep_right(NODE *n) {
    NODE *kept = n->right;
    n->right = nullptr;
    erase_tree(n);
    return kept;
}

NODE *value_after_effects(NODE *dropped, NODE *value, struct LOOP *loop) {
    NODE *effects = peel_for_effect(dropped);
    if (!effects) return value;
    NODE *comma = mk_COMMAOP(effects, value);
    if (!comma->scope) comma->scope = effects->scope;
    return simp_COMMAOP(comma, loop);
}

NODE *constant_after_operands(NODE *n, INT65 value, struct LOOP *loop) {
    NODE *constant = new_ICON(value, n->type, n->scope);
    constant = in_type(n->type, constant, loop);
    return value_after_effects(n, constant, loop);
}

NODE *simp_new(int op, NODE *left, NODE *right, TYPE *type, LS *scope, struct LOOP *loop) {
    return simp_node(maketree(op, left, right, type, scope), loop);
}
