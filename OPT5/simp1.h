// The simplifier: brings trees to the canonical shape that all passes expect.
//
// Constants stand on the right of commutative operators and gather at the top of a sum; no COMMAOP stands under an
// arithmetic operator; conversions that change nothing are gone; a NOTB is an XORB with the mask. Workers of one
// operator each live in simp_arith (sums, products, unary operators), simp_div (DIV, MOD, shifts), simp_asg, simp_addr,
// simp_call, simp2 (masks), simp3 (conditions), simp_relop, simp_assert and coerce (conversions).
//
// Discipline. A tree that is handed over is gone unless it comes back: callers store the result in its place. Every
// node has one parent; a rule that needs a subtree twice copies it, and only one without side effects. Nothing runs
// to a fixed point: the walk is one post-order, and a rule that makes a new shape calls simp_node on a node whose
// operands are final, simp_tree on a subtree whose inside changed. It ends because each rule lowers a measure. A
// worker gets a node whose operands are simplified, and gives a node that is simplified. Each rule is counted (rules.h).
//
// Number and order of volatile accesses never change. A trap is never made. A division by zero has no meaning in C, so
// one that is no constant may go with a value that nobody uses: x & 0, 0 / x and x / x are constants, behind the effects
// of x. A division by the constant zero is not folded.
//
// Depth. simp_tree does not recurse over the depth of the tree that it is given: the post-order is kept on a stack.
#pragma once

#include "OPT5/fwd.h"

// The whole tree, bottom up. `loop`, here and below, may be null; its facts serve the rules.
NODE *simp_tree(NODE *tree, struct LOOP *loop);
// A tree whose value nobody uses: a statement.
NODE *simp_statement(NODE *tree, struct LOOP *loop);
// For the workers of calls and assertions, which ask once: this is what the statement in work consists of.
bool is_statement_in_work(const NODE *node);
// One node whose operands are simplified already.
NODE *simp_node(NODE *node, struct LOOP *loop);
// Every statement of the current function.
void simp_all_trees();

// A COMMAOP over a simplified operand on either side.
NODE *simp_COMMAOP(NODE *node, struct LOOP *loop);

// The part of a tree that must still run when its value is not used, or null; COMMAOPs join what is left, in order.
NODE *peel_for_effect(NODE *tree);
