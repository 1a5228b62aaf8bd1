// Walking trees without recursion.
//
// User code decides how deep a tree is: a sum of a thousand terms leans to the left, a chain of conditions to
// the right, an initialiser may do both. The walkers here keep what is still to visit in a small array that
// moves to the heap when a tree is deep, so that no shape of tree can exhaust the program's stack, and each
// node costs a few instructions. All of them accept null.
//
//   for_each_node(tree, f)              a node before its operands, left before right
//   for_each_node_postorder(tree, f)    the operands first; f may erase or free the node it is given
//   find_node(tree, test)               the first node, in the first order, that passes
//   rewrite_tree(tree, f)               operands first; each node is replaced by what f(node) gives
//   walk_tree_slots(root, f)            a node before its operands; f gets a reference to the pointer that
//                                       holds the node, and may put another tree there
//
// f of the first and the last may return a WALK to leave the operands out or to stop. The walkers follow left and
// right only, not the tree of a dval record. The operands of a CSE_DUPE belong to another tree: those that only
// look follow them, the last two, which put trees in, do not.
#pragma once

#include <type_traits>
#include <utility>

#include "OPT5/tree.h"
#include "support/walkstack.h"

// Go on in both operands, in one of them, in neither, or nowhere at all.
enum WALK { WALK_INTO, WALK_LEFT, WALK_RIGHT, WALK_OVER, WALK_STOP };

// N is NODE or const NODE. True when f stopped the walk.
template <class N, class F> bool for_each_node(N *tree, F &&f) {
    if (!tree) return false;
    walk_stack<N *> todo;
    for (N *n = tree;;) {
        WALK way = WALK_INTO;
        if constexpr (std::is_same_v<std::invoke_result_t<F, N *>, WALK>) way = f(n);
        else f(n);
        if (way == WALK_STOP) return true;
        N *left = way == WALK_INTO || way == WALK_LEFT ? n->left : nullptr;
        N *right = way == WALK_INTO || way == WALK_RIGHT ? n->right : nullptr;
        if (left) {
            if (right) todo.push(right);
            n = left;
        } else if (right) {
            n = right;
        } else if (todo.empty()) {
            return false;
        } else {
            n = todo.pop();
        }
    }
}

template <class N, class F> N *find_node(N *tree, F &&test) {
    N *found = nullptr;
    for_each_node(tree, [&](N *n) {
        if (!test(n)) return WALK_INTO;
        found = n;
        return WALK_STOP;
    });
    return found;
}

template <class N, class F> void for_each_node_postorder(N *tree, F &&f) {
    struct ITEM {
        N *node;
        bool operands_done;
    };
    if (!tree) return;
    walk_stack<ITEM> todo;
    todo.push({tree, false});
    while (!todo.empty()) {
        ITEM &item = todo.top();
        if (item.operands_done || (!item.node->left && !item.node->right)) {
            N *n = item.node;
            todo.pop();
            f(n);
            continue;
        }
        item.operands_done = true;
        N *left = item.node->left, *right = item.node->right;
        if (right) todo.push({right, false});
        if (left) todo.push({left, false});
    }
}

template <class F> bool walk_tree_slots(NODE *&root, F &&f) {
    if (!root) return false;
    walk_stack<NODE **> todo;
    for (NODE **slot = &root;;) {
        WALK way = f(*slot);
        if (way == WALK_STOP) return true;
        NODE *n = *slot;
        if (n && n->op == CSE_DUPE && way == WALK_INTO) way = WALK_OVER;
        NODE **left = (way == WALK_INTO || way == WALK_LEFT) && n && n->left ? &n->left : nullptr;
        NODE **right = (way == WALK_INTO || way == WALK_RIGHT) && n && n->right ? &n->right : nullptr;
        if (left) {
            if (right) todo.push(right);
            slot = left;
        } else if (right) {
            slot = right;
        } else if (todo.empty()) {
            return false;
        } else {
            slot = todo.pop();
        }
    }
}

// f may return null to drop an operand; what it replaces is its own to erase.
template <class F> NODE *rewrite_tree(NODE *tree, F &&f) {
    if (!tree) return nullptr;
    NODE *root = tree;
    walk_stack<NODE **> todo; // nodes whose operands are in work, innermost last
    NODE **slot = &root;
    for (;;) {
        NODE *n = *slot;
        if (n->op != CSE_DUPE && (n->left || n->right)) {
            todo.push(slot);
            slot = n->left ? &n->left : &n->right;
            continue;
        }
        for (;;) { // what `slot` holds has its operands done
            *slot = f(*slot);
            if (todo.empty()) return root;
            NODE **outer = todo.top();
            NODE *parent = *outer;
            if (slot == &parent->left && parent->right) {
                slot = &parent->right;
                break;
            }
            todo.pop();
            slot = outer;
        }
    }
}
