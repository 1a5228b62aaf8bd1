#include "OPT5/simp_assert.h"

#include <algorithm>
#include <vector>

#include "OPT5/bbutils.h"
#include "OPT5/congruent.h"
#include "OPT5/ddloop.h"
#include "OPT5/funinfo.h"
#include "OPT5/icternary.h"
#include "OPT5/optab.h"
#include "OPT5/rules.h"
#include "OPT5/simp1.h"
#include "OPT5/simp3.h"
#include "OPT5/simp_strict.h"
#include "OPT5/simp_testutil.h"

// ---------------------------------------------------------------------------------------------------------
// assertions
// ---------------------------------------------------------------------------------------------------------

namespace {

bool is_conjunction(const NODE *t) {
    return t->op == ANDAND || (t->op == ANDB && returns_1_or_0(t->left) && returns_1_or_0(t->right));
}

// (a || b) == 0, (a | b) == 0  ->  !a && !b
NODE *split_negated_disjunction(NODE *t, struct LOOP *loop) {
    if (t->op != EQ || !is_zero_constant(t->right)) return t;
    if (t->left->op != OROR && !(t->left->op == ORB && is_integer_type(t->left->type))) return t;
    if (!RULE("ASSERT: (a || b) == 0 -> !a && !b")) return t;
    NODE *either = take_left(t);
    either->op = ANDAND;
    either->type = tp->int_type();
    either->left = simp_node(mk_EXCLAIM(either->left), loop);
    either->right = simp_node(mk_EXCLAIM(either->right), loop);
    return either;
}

// a || b  ->  a | b, a ? b : c  ->  the strict ternary     where all parts may be evaluated
NODE *without_short_circuit(NODE *t, struct LOOP *loop) {
    if (t->op == OROR && !tree_has_side_effects(t->right) &&
        strict_expr_allows_strict_expr(t->left, t->right, loop)) {
        if (!RULE("ASSERT: a || b -> a | b")) return t;
        NODE *a = make_boolean(detach(t->left), loop), *b = make_boolean(detach(t->right), loop);
        erase_tree(t);
        return simp_node(maketree(ORB, a, b, tp->int_type(), a->scope), loop);
    }
    if (t->op == QUEST && t->right->op == COLON && is_integer_type(t->type) &&
        quest_colon_is_strict(t->right->left, t->right->right))
        return RULE("ASSERT: a ? b : c -> strict") ? make_strict_ternary_ICALL(t) : t;
    return t;
}

NODE *assertions_of(NODE *node, bool takes_arms, struct LOOP *loop);

constexpr int ARMS_DEPTH_CAP = 16; // conditionals within conditionals whose arms get the assertion
int arms_depth;

// ASSERT(a ? b : c)  ->  a ? ASSERT(b) : ASSERT(c)
NODE *move_into_arms(NODE *assertion, struct LOOP *loop) {
    NODE *t = assertion->left;
    bool whole = t->op != QUEST || t->right->op != COLON || !is_word_type(t->type);
    if (whole || arms_depth >= ARMS_DEPTH_CAP || !RULE("ASSERT: (a ? b : c) -> a ? ASSERT(b) : ASSERT(c)"))
        return assertion;
    NODE *colon = t->right, *other = copy_node(assertion);
    other->left = colon->right;
    assertion->left = colon->left;
    arms_depth++;
    colon->left = assertions_of(assertion, true, loop);
    colon->right = assertions_of(other, true, loop);
    arms_depth--;
    t->type = colon->type = assertion->type;
    return t;
}

// ASSERT(a && b)  ->  ASSERT(a), ASSERT(b)
NODE *assertions_of(NODE *node, bool takes_arms, struct LOOP *loop) {
    std::vector<NODE *> todo{detach(node->left)}; // conditions, the last one behind the others
    std::vector<NODE *> assertions;               // made so far
    while (!todo.empty()) {
        NODE *t = split_negated_disjunction(simp_for_control(todo.back(), loop), loop);
        todo.pop_back();
        bool splits = is_conjunction(t) && !tree_has_side_effects(t->right);
        if (splits && RULE("ASSERT: a && b -> ASSERT(a), ASSERT(b)")) {
            todo.push_back(detach(t->left));
            todo.push_back(detach(t->right));
            erase_node(t);
            continue;
        }
        NODE *assertion = todo.empty() ? node : copy_node(node);
        assertion->left = without_short_circuit(t, loop);
        assertions.push_back(takes_arms ? move_into_arms(assertion, loop) : assertion);
    }
    NODE *result = nullptr;
    for (; !assertions.empty(); assertions.pop_back()) result = mk_COMMAOP(result, assertions.back());
    return result;
}

} // namespace

NODE *simp_ASSERT(NODE *node, struct LOOP *loop) {
    // a conditional becomes branches only where statements are still put in sequence
    bool takes_arms = is_statement_in_work(node) && currfuninfo && !currfuninfo->bb_list;
    return assertions_of(node, takes_arms, loop);
}

// ---------------------------------------------------------------------------------------------------------
// facts
// ---------------------------------------------------------------------------------------------------------

namespace {

// The relation as a set: 1 equal, 2 less, 4 greater.
int outcomes_of(int op) {
    switch (op) {
    case EQ: return 1;
    case NEQ: return 6;
    case LE:
    case ULE: return 3;
    case LT:
    case ULT: return 2;
    case GE:
    case UGE: return 5;
    default: return 4;
    }
}

// What a fact about the operands of the test says of it: 0, 1, an opcode that tests the same, or -1.
int test_under_fact(const NODE *test, const NODE *fact) {
    bool same = trees_are_congruent(fact->left, test->left) && trees_are_congruent(fact->right, test->right);
    bool exchanged =
        !same && trees_are_congruent(fact->left, test->right) && trees_are_congruent(fact->right, test->left);
    if (!same && !exchanged) return -1;
    int op = same ? fact->op : commute_inv[fact->op];
    if (is_order_test(op) && is_order_test(test->op) && is_unsigned_test(op) != is_unsigned_test(test->op))
        return -1;
    int given = outcomes_of(op), asked = outcomes_of(test->op);
    if (!(given & asked)) return 0;
    if (!(given & ~asked)) return 1;
    if (is_equality_test(test->op)) return -1;
    // an order that the fact leaves as a question of equality
    if ((given & asked) == 1) return EQ;
    return (asked | (7 & ~given)) == 6 ? NEQ : -1;
}

const NODE *fact_in(const NODE *given) {
    if (given->op == ASSERT || given->op == NASSERT) given = given->left;
    return given && is_integer_test(given->op) && given->left && given->right ? given : nullptr;
}

} // namespace

NODE *simp_constraint_given_loop_givens(NODE *test, struct LOOP *loop) {
    if (!is_integer_test(test->op)) return test;
    for (struct LOOP *each = loop; each; each = each->parent)
        for (const LIST *given = givens_of_loop(each); given; given = given->next) {
            const NODE *fact = fact_in(given->tree);
            int answer = fact ? test_under_fact(test, fact) : -1;
            if (answer < 0 || !RULE("relop: a test that a fact of the loop decides or weakens")) continue;
            if (answer > 1) {
                test->op = int16_t(answer);
                continue;
            }
            TYPE *type = test->type;
            erase_tree(test); // the same operands are in the fact, so they have no effects
            return mk_ICON(INT65(answer), type);
        }
    return test;
}
