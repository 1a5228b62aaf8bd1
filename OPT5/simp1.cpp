#include "OPT5/simp1.h"

#include "OPT5/bbutils.h"
#include "OPT5/congruent.h"
#include "OPT5/funinfo.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"

NODE *simp_tree(NODE *tree, struct LOOP *) { return tree; }
NODE *simp_node(NODE *node, struct LOOP *) { return node; }
void simp_all_trees() {}
NODE *simp_COMMAOP(NODE *node, struct LOOP *) { return node; }

// --- peeling ---

namespace {

bool is_volatile_read(const NODE *n) {
    return (n->op == NAME || n->op == UMULT || n->op == STDOT || n->op == STREF) && n->type->is_volatile();
}

bool call_has_no_effect(NODE *call) {
    FUNINFO *callee = find_FUNINFO_for_call(call);
    return callee && callee->has_flag(FUN_is_pure_fun) && !callee->has_flag(FUN_never_returns);
}

// A node that goes, leaving its operands to be looked at: nothing that it does by itself matters.
bool is_pure_shell(NODE *n) {
    switch (n->op) {
    case COMMAOP:
    case COMMA: return true;
    case CALL:
    case UCALL: return call_has_no_effect(n);
    case ASG:
        return n->left->op == NAME && !n->left->type->is_volatile() && !tree_is_arg_prolog(n) &&
               trees_are_congruent(n->left, n->right, false);
    case UAND:
    case ARGREF: return true; // of its operand, only what computes the address runs
    default: return side_effects[n->op] == SE_NONE && !is_volatile_read(n);
    }
}

} // namespace

NODE *peel_for_effect(NODE *tree) {
    NODE *effects = nullptr;
    auto keep = [&](NODE *n) { effects = effects ? mk_COMMAOP(effects, n) : n; };
    walk_stack<NODE *> todo;
    if (tree) todo.push(tree);
    while (!todo.empty()) {
        NODE *n = todo.pop();
        bool conditional = n->op == ANDAND || n->op == OROR || n->op == QUEST;
        if (conditional && tree_has_side_effects(n->right)) {
            keep(n);
            continue;
        }
        if (!is_pure_shell(n)) {
            if (n->op == PLUSPLUS) n->op = PLUSASG;
            if (n->op == MINMIN) n->op = MINUSASG;
            keep(n);
            continue;
        }
        if (n->op == UAND || n->op == ARGREF) {
            // &x and &p->f read neither x nor *p, volatile or not; only what computes p runs
            NODE *base = const_cast<NODE *>(strip_STDOTs(n->left));
            if (base->op == UMULT || base->op == STREF) {
                todo.push(base->left);
                base->left = nullptr;
            } else if (base->op != NAME) {
                todo.push(n->left);
                n->left = nullptr;
            }
            erase_tree(n);
            continue;
        }
        if (n->right) todo.push(n->right);
        if (n->left) todo.push(n->left);
        n->left = n->right = nullptr;
        erase_node(n);
    }
    return effects;
}
