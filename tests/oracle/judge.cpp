// The oracle can fail: rewriters with a fault planted in them are reported, and right ones are not.
#include "tests/oracle/lib/rows.h"

#include <gtest/gtest.h>

#include "OPT5/bbutils.h"
#include "OPT5/simp1.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"

namespace {

// Replaces the first node that passes by what `make` gives for it.
NODE *at_first(NODE *tree, bool (*test)(const NODE *), NODE *(*make)(NODE *)) {
    bool done = false;
    return rewrite_tree(tree, [&](NODE *n) -> NODE * {
        if (done || !test(n)) return n;
        done = true;
        return make(n);
    });
}

std::string judged(const char *text, TYPE *type, const REWRITER &rewriter, CHECK check = {}) {
    RANDOM random(1);
    check.twice = false;
    return check_rewrite(tree_from_notation(text, type, random), rewriter, check);
}

bool is_halving(const NODE *n) {
    return n->op == DIV && n->right->op == ICON && n->right->u.lval == INT65(2);
}
NODE *as_shift(NODE *n) {
    n->op = SRL;
    n->right->u.lval = INT65(1);
    return n;
}
bool is_doubled_and_halved(const NODE *n) { return is_halving(n) && n->left->op == MULT; }
NODE *without_either(NODE *n) {
    NODE *x = n->left->left;
    n->left->left = nullptr;
    erase_tree(n);
    return x;
}
bool is_volatile_name(const NODE *n) { return n->op == NAME && n->type->is_volatile(); }
NODE *as_zero(NODE *n) {
    TYPE *type = n->type->dtype;
    erase_tree(n);
    return mk_ICON(0, type);
}
bool is_difference(const NODE *n) { return n->op == MINUS; }
NODE *exchanged(NODE *n) {
    std::swap(n->left, n->right);
    return n;
}
bool is_any(const NODE *) { return true; }
bool is_test(const NODE *n) { return n->op == LT; }
NODE *as_unsigned_test(NODE *n) {
    n->op = ULT;
    return n;
}
bool is_sum(const NODE *n) { return n->op == PLUS; }

REWRITER planted(bool (*test)(const NODE *), NODE *(*make)(NODE *)) {
    return [=](NODE *t) { return at_first(t, test, make); };
}

} // namespace

TEST(judge, wrong_values_are_reported_for_every_size) {
    ORACLE_WORLD &w = world();
    for (int bits : {8, 16, 32, 64}) {
        EXPECT_NE(judged("x / 2 + 1", w.integer(bits, true), planted(is_halving, as_shift)), "") << bits;
        EXPECT_EQ(judged("x / 2 + 1", w.integer(bits, false), planted(is_halving, as_shift)), "") << bits;
        EXPECT_NE(
            judged("(x * 2) / 2", w.integer(bits, false), planted(is_doubled_and_halved, without_either)),
            "");
        EXPECT_NE(judged("x - y", w.integer(bits, true), planted(is_difference, exchanged)), "") << bits;
    }
    EXPECT_NE(judged("x < y", w.i32, planted(is_test, as_unsigned_test)), "");
}

// C leaves signed overflow undefined: rules of the language may rely on that, rules for wrapping code may not.
TEST(judge, signed_overflow_is_judged_only_when_asked) {
    CHECK wraps;
    wraps.wraps = true;
    REWRITER r = planted(is_doubled_and_halved, without_either);
    EXPECT_EQ(judged("(x * 2) / 2", world().i32, r), "");
    EXPECT_NE(judged("(x * 2) / 2", world().i32, r, wraps), "");
}

TEST(judge, volatile_reads_calls_and_stores_are_counted) {
    ORACLE_WORLD &w = world();
    EXPECT_NE(judged("(u & 0) + x", w.i32, planted(is_volatile_name, as_zero)), "");
    EXPECT_NE(judged("u + v", w.i32, planted(is_sum, exchanged)), "");
    EXPECT_NE(judged("g(x) + g(y)", w.i32, planted(is_sum, exchanged)), "");
    EXPECT_EQ(judged("f(x) + f(y)", w.i32, planted(is_sum, exchanged)), "");
    CHECK effect;
    effect.compare = COMPARE::EFFECT;
    EXPECT_NE(judged("w = x", w.i32, planted(is_any, as_zero), effect), "");
    EXPECT_NE(judged(
                  "s.bit = x", w.i32,
                  [](NODE *t) {
                      erase_tree(t);
                      return (NODE *)nullptr;
                  },
                  effect),
              "");
}

TEST(judge, traps_that_the_program_did_not_have_are_reported) {
    ORACLE_WORLD &w = world();
    // p && *p  ->  p != 0 & *p
    auto unguarded = [](NODE *t) {
        t->op = ANDB;
        t->left = t_binary(NEQ, t->left, mk_ICON(0, world().u32), world().i32);
        return t;
    };
    CHECK as_it_is;
    as_it_is.shrink = false;
    EXPECT_NE(judged("p && *p == 3", w.i32, unguarded, as_it_is), "");
    auto dividing = [](NODE *t) { return t_binary(DIV, t, copy_tree(t)); };
    EXPECT_NE(judged("x", w.u32, dividing), "");
}

TEST(judge, broken_trees_are_reported) {
    ORACLE_WORLD &w = world();
    auto lose = [](NODE *t) { return as_zero(t->left), t_icon(3, world().i32); };
    auto share = [](NODE *t) {
        erase_tree(t->right);
        t->right = t->left;
        return t;
    };
    auto no_operand = [](NODE *t) {
        erase_tree(t->right);
        t->right = nullptr;
        return t;
    };
    CHECK as_it_is; // these rewriters know no other tree
    as_it_is.shrink = false;
    EXPECT_NE(judged("x + y", w.i32, lose, as_it_is).find("lost"), std::string::npos);
    EXPECT_NE(judged("x + y", w.i32, share, as_it_is).find("two parents"), std::string::npos);
    EXPECT_NE(judged("x + y", w.i32, no_operand, as_it_is).find("well formed"), std::string::npos);
}

TEST(judge, a_failure_is_cut_down_to_its_cause) {
    std::string report = judged("((x * 3 + y) ^ (z << 2)) + ((y & 5) - (x / 2)) * z", world().i32,
                                planted(is_halving, as_shift));
    std::string tree = report.substr(report.find("tree ") + 5);
    tree = tree.substr(0, tree.find('\n'));
    EXPECT_EQ(tree, "x_i32 / 2   [int]") << report;
    EXPECT_NE(report.find("--seed="), std::string::npos);
    EXPECT_NE(report.find("x_i32 = "), std::string::npos);
}

TEST(judge, modes_ask_for_as_much_as_they_say) {
    ORACLE_WORLD &w = world();
    auto twice_as_much = [](NODE *t) { return t_binary(SLL, t, mk_ICON(1, world().i32)); };
    CHECK truth, mask;
    truth.compare = COMPARE::TRUTH;
    EXPECT_EQ(judged("x & 3", w.i32, twice_as_much, truth), "");
    EXPECT_NE(judged("x", w.i32, twice_as_much, truth), "");
    auto add_256 = [](NODE *t) { return t_binary(PLUS, t, mk_ICON(256, world().i32)); };
    mask.compare = COMPARE::MASK;
    mask.mask = 255;
    EXPECT_EQ(judged("x", w.u32, add_256, mask), "");
    mask.mask = 511;
    EXPECT_NE(judged("x", w.u32, add_256, mask), "");
    auto negation = [](NODE *t) { return t_unary(EXCLAIM, t, world().i32); };
    CHECK negate;
    negate.compare = COMPARE::NEGATE;
    EXPECT_EQ(judged("x", w.named("i64"), negation, negate), "");
}
