// The simplifier and its workers on random trees of every kind.
#include "tests/oracle/lib/rows.h"

#include <gtest/gtest.h>

#include "OPT5/coerce.h"
#include "OPT5/fold.h"
#include "OPT5/simp1.h"
#include "OPT5/simp2.h"
#include "OPT5/simp3.h"
#include "OPT5/tree.h"
#include "typepkg/type_pkg.h"

namespace {

NODE *simplified(NODE *t) { return simp_tree(t, nullptr); }

// Integers of one size, operators only: no effects, no memory.
std::function<NODE *(RANDOM &)> arithmetic(int bits, int depth) {
    return [=](RANDOM &r) {
        GENERATOR g{r};
        g.effects = g.memory = g.floats = false;
        g.bits = bits;
        return g.tree(g.some_type(), depth);
    };
}
std::function<NODE *(RANDOM &)> anything(int depth) {
    return [=](RANDOM &r) {
        GENERATOR g{r};
        return g.tree(g.some_type(), depth);
    };
}
std::function<NODE *(RANDOM &)> without_effects(int depth) {
    return [=](RANDOM &r) {
        GENERATOR g{r};
        g.effects = false;
        return g.tree(g.some_type(), depth);
    };
}
std::function<NODE *(RANDOM &)> of_conditions(int depth) {
    return [=](RANDOM &r) {
        GENERATOR g{r};
        return g.condition(depth);
    };
}

} // namespace

TEST(simp_tree, bytes) { run_random("simp_tree", 250, arithmetic(8, 3), simplified); }
TEST(simp_tree, halves) { run_random("simp_tree", 250, arithmetic(16, 3), simplified); }
TEST(simp_tree, words) { run_random("simp_tree", 700, arithmetic(32, 4), simplified); }
TEST(simp_tree, double_words) { run_random("simp_tree", 500, arithmetic(64, 4), simplified); }
TEST(simp_tree, mixed_types) { run_random("simp_tree", 1500, without_effects(4), simplified); }
TEST(simp_tree, effects) { run_random("simp_tree", 1500, anything(4), simplified); }
TEST(simp_tree, deep_trees) { run_random("simp_tree", 100, anything(8), simplified); }
TEST(simp_tree, conditions) { run_random("simp_tree", 1000, of_conditions(4), simplified); }
TEST(simp_tree, statements) {
    auto statement = [](RANDOM &r) {
        GENERATOR g{r};
        return g.statement(3);
    };
    run_random("simp_tree", 1500, statement, simplified);
}

// An assertion that is taken apart or put together promises the same.
TEST(simp_tree, assertions) {
    auto assertion = [](RANDOM &r) {
        GENERATOR g{r};
        g.effects = g.memory = false;
        return maketree(chance(r, 50) ? ASSERT : NASSERT, g.condition(3), nullptr, tp->void_type(), nullptr);
    };
    run_random("simp_tree", 700, assertion, simplified);
}

TEST(workers, fold_constants) {
    auto of_constants = [](RANDOM &r) {
        GENERATOR g{r};
        g.effects = g.memory = false;
        NODE *t = g.tree(g.some_type(), 3);
        return t;
    };
    run_random("fold_constants", 1000, of_constants, fold_constants);
}

TEST(workers, coerce_to_type) {
    for (const SCALAR &to : world().scalars) {
        TYPE *type = to.type;
        auto converted = [=](RANDOM &r) {
            GENERATOR g{r};
            return t_convert(type, g.tree(g.some_type(), 3));
        };
        // the conversion that stands on top is made anew
        auto rewriter = [=](NODE *t) {
            if (t->op != SCONV) return t;
            NODE *of = t->left;
            t->left = nullptr;
            erase_node(t);
            return coerce_to_type(type, of);
        };
        run_random(to.name, 60, converted, rewriter);
        run_random(to.name, 60, converted, simplified);
    }
}

TEST(workers, peel_for_effect) {
    CHECK check;
    check.compare = COMPARE::EFFECT;
    run_random(
        "peel_for_effect", 1500, anything(4), [](NODE *t) { return peel_for_effect(t); }, check);
}

TEST(workers, simp_for_control) {
    CHECK check;
    check.compare = COMPARE::TRUTH;
    auto control = [](NODE *t) { return simp_for_control(simp_tree(t, nullptr), nullptr); };
    run_random("simp_for_control", 700, anything(4), control, check);
    run_random("simp_for_control", 700, of_conditions(4), control, check);
}

TEST(workers, make_boolean) {
    CHECK check;
    check.compare = COMPARE::BOOL;
    run_random(
        "make_boolean", 700, anything(4),
        [](NODE *t) { return make_boolean(simp_tree(t, nullptr), nullptr); }, check);
}

TEST(workers, invert_boolean_tree) {
    CHECK check;
    check.compare = COMPARE::NEGATE;
    check.twice = false;
    run_random("invert_boolean_tree", 500, anything(3), invert_boolean_tree, check);
    run_random("invert_boolean_tree", 500, of_conditions(3), invert_boolean_tree, check);
}

TEST(workers, prop_mask_into_subtree) {
    for (const SCALAR &each : world().integers) {
        for (int k = 0; k < 12; k++) {
            RANDOM random(oracle_options.seed + uint64_t(k) * 31 + each.type->size);
            INT65 mask = truncate_to_type(interesting_constant(each.type, random), each.type);
            mask = mask.truncate_unsigned(int(each.type->size));
            CHECK check;
            check.compare = COMPARE::MASK;
            check.mask = mask.to_uint64();
            auto tree = [&](RANDOM &r) {
                GENERATOR g{r};
                g.floats = false;
                return g.tree(each.type, 3);
            };
            run_random(
                "prop_mask_into_subtree", 12, tree,
                [=](NODE *t) { return prop_mask_into_subtree(simp_tree(t, nullptr), mask); }, check);
        }
    }
}
