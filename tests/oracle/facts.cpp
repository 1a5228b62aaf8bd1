// What holds in a loop, or in a range, decides and narrows: facts are right where the program's own assertions hold.
#include "tests/oracle/lib/rows.h"

#include <gtest/gtest.h>

#include "OPT5/ddloop.h"
#include "OPT5/fold.h"
#include "OPT5/infix.h"
#include "OPT5/simp1.h"
#include "OPT5/symbolic.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "tests/oracle/lib/environments.h"

namespace {

// Trees are (ASSERT(fact), tree): an environment in which the fact is wrong traps before and after.
NODE *under(NODE *fact, NODE *tree) {
    NODE *assertion = maketree(ASSERT, fact, nullptr, world().i32, nullptr);
    return maketree(COMMAOP, assertion, tree, tree->type->dtype, nullptr);
}

NODE *variable(const char *name, TYPE *type) { return mk_NAME(world().variable(name, type)); }

struct FACTS : GENERATOR {
    TYPE *type;
    explicit FACTS(RANDOM &r) : GENERATOR{r}, type(some_type()) {
        effects = floats = false;
        while (type->is_fltpt() || type->is_bool() || type->is_enum()) type = some_type();
    }
    NODE *of(const char *name) { return variable(name, type); }
    NODE *test(NODE *a, NODE *b) {
        int op = t_relation(int(pick(random, 6)), type);
        if (chance(random, 15) && op > NEQ)
            op = op <= GT ? op - LE + ULE : op - ULE + LE; // of the other sign
        return t_binary(op, a, b, world().i32);
    }
    NODE *fact() { return test(of("x"), chance(random, 75) ? constant(type) : of("y")); }
    NODE *some_tree() {
        switch (pick(random, 4)) {
        case 0: return test(of("x"), chance(random, 60) ? of("y") : constant(type));
        case 1: return test(of("y"), of("x"));
        default: return tree(type, 3);
        }
    }
};

// Runs `work` in a loop with the facts of the comma's assertion, on the comma's value.
template <class F> NODE *in_loop(NODE *comma, F work) {
    struct LOOP outer, inner;
    inner.parent = &outer;
    if (comma->op != COMMAOP || comma->left->op != ASSERT) return comma; // cut down too far
    NODE *fact = comma->left->left;
    NODE *copy = copy_tree(fact);
    (fact->op == EQ ? inner : outer).givens =
        mklist(fact->op == NEQ ? maketree(ASSERT, copy, nullptr, world().i32, nullptr) : copy, nullptr, 0, 0);
    comma->right = work(comma->right, &inner);
    comma->type = comma->right->type;
    erase_tree_list(inner.givens);
    erase_tree_list(outer.givens);
    return comma;
}

NODE *simp_in_loop(NODE *comma) {
    return in_loop(comma, [](NODE *t, struct LOOP *loop) { return simp_tree(t, loop); });
}

// low <= x <= high, and x - low a multiple of the step.
struct GRID {
    INT65 low, high, step;
    NODE *fact(TYPE *type) const {
        auto x = [&] { return variable("x", type); };
        auto number = [&](INT65 v) { return mk_ICON(v, type); };
        NODE *range = t_binary(ANDAND, t_binary(t_relation(5, type), number(high), x(), world().i32),
                               t_binary(t_relation(4, type), x(), number(low), world().i32));
        range->left->op = t_relation(4, type);
        if (step == INT65(1)) return range;
        // both may be negative: the distance is counted without sign
        TYPE *wide = world().integer(64, true);
        NODE *distance = t_binary(MINUS, t_convert(wide, x()), mk_ICON(low, wide));
        NODE *rest = t_binary(MOD, distance, mk_ICON(step, wide));
        return t_binary(ANDAND, range, t_binary(EQ, rest, mk_ICON(INT65(0), wide), world().i32));
    }
};

GRID some_grid(TYPE *type, RANDOM &r) {
    GRID g{interesting_constant(type, r), interesting_constant(type, r), INT65(1)};
    if (chance(r, 60)) g.high = g.low + INT65(int(pick(r, 40)));
    if (truncate_to_type(g.high, type) != g.high) g.high = g.low;
    if (g.low > g.high) std::swap(g.low, g.high);
    if (chance(r, 40) && type->size < 64) g.step = INT65(int(1 + pick(r, 8)));
    return g;
}

} // namespace

TEST(facts, of_loops_decide_no_more_than_they_say) {
    run_random(
        "simp_tree in a loop", 3000,
        [](RANDOM &r) {
            FACTS f(r);
            NODE *fact = f.fact();
            return under(fact, f.some_tree());
        },
        simp_in_loop);
}

TEST(facts, of_loops_reach_the_rules) {
    // clang-format off
    static const std::vector<oracle_row> rows = {
        {"assert(x < y), x <= y",      "a fact of the loop"},
        {"assert(x < y), x == y",      "a fact of the loop"},
        {"assert(x <= y), x >= y",     "a fact of the loop"},
        {"assert(x <= y), y > x",      "a fact of the loop"},
        {"assert(x != y), x < y"},
        {"assert(x <= 10), x < 20",    "by ranges", T_SIGNED},
        {"assert(x > 0), x / 4",       nullptr},
        {"assert(x > 5), x % 8 < 0"},
        {"assert(x >= 0), x < 0 ? -x : x"},
        {"assert(x == 0), &s.a == (P)x", "p never null", T_WORD},
        {"assert(x == 0), &s.a != (P)x", "p never null", T_WORD},
    };
    // clang-format on
    run_rows(rows, simp_in_loop);
}

TEST(facts, of_a_range_decide_no_more_than_they_say) {
    static GRID grid; // of the tree that is made, until it is rewritten
    run_random(
        "simp_tree_in_range", 3000,
        [](RANDOM &r) {
            FACTS f(r);
            grid = some_grid(f.type, r);
            NODE *tree = chance(r, 50) ? f.test(f.of("x"), f.constant(f.type))
                                       : t_binary(chance(r, 50) ? DIV : MOD, f.of("x"), f.constant(f.type));
            if (chance(r, 30)) tree->right->u.lval = grid.low + grid.step * INT65(int(pick(r, 5)));
            tree->right->u.lval = truncate_to_type(tree->right->u.lval, f.type);
            return under(grid.fact(f.type), tree);
        },
        [](NODE *comma) {
            NODE *tree = comma->right;
            comma->right = simp_tree_in_range(tree, grid.low, grid.high, grid.step);
            comma->type = comma->right->type;
            erase_tree(tree);
            return comma;
        },
        CHECK{.twice = false, .shrink = false});
}

// What partially_eval_for_maximum gives is no less than the tree for any value of the induction variable; and the same
// for the minimum.
TEST(facts, extremes_bound_their_trees) {
    auto error_of = [](const NODE *tree, std::string *environment) -> std::string {
        RANDOM r(oracle_options.seed + nodes_in_use());
        TYPE *type = tree->type->dtype;
        GRID g = some_grid(type, r);
        struct LOOP loop;
        LOOPIV iv;
        iv.loop = &loop, iv.sym = world().variable("x", type), iv.lowval = g.low, iv.highval = g.high;
        loop.IVs = &iv;
        std::string error;
        for (bool greatest : {false, true}) {
            NODE *bound = greatest ? partially_eval_for_maximum(tree, &loop, 0)
                                   : partially_eval_for_minimum(tree, &loop, 0);
            if (!bound) continue;
            CODE code = translate(tree, world().layout), limit = translate(bound, world().layout);
            ENVIRONMENTS e(code, oracle_options.seed, 200, 16);
            RESULT a, b;
            while (error.empty() && e.next()) {
                INT65 x = INT65(
                    (unsigned long long)load_bytes(e.memory, world().layout.place(iv.sym), value_kind(type)));
                x = truncate_to_type(x, type);
                if (x < g.low || x > g.high) continue;
                run(code, e.memory, 1, a);
                run(limit, e.memory, 1, b);
                if (a.trap != TRAP::none || a.undefined) continue;
                bool less = vk_is_signed(code.kind) ? int64_t(a.value) < int64_t(b.value) : a.value < b.value;
                if (a.value != b.value && less != greatest) {
                    *environment = e.text();
                    error = "the extreme " + tree2infix(bound) + " of x from " + int65_to_decimal(g.low) +
                            " to " + int65_to_decimal(g.high) + " is passed";
                }
            }
            erase_tree(bound);
        }
        return error;
    };
    static const char *const shapes[] = {
        "x * c + y",     "x * c + d", "c - x",     "x * (y & m) - d", "-x * 3",           "(x & c) + x",
        "(T)(y@u8) * x", "x * x",     "x + y * c", "(x * 2 + 1) * 3", "x * (0 - (y & m))"};
    unsigned k = 0;
    run_random_trees(
        "extremes", 3000,
        [&](RANDOM &r) {
            TYPE *type = world().integers[pick(r, unsigned(world().integers.size()))].type;
            NODE *t = tree_from_notation(shapes[k++ % std::size(shapes)], type, r);
            return t ? t : variable("x", type);
        },
        [&](NODE *tree, const CHECK &check) { return check_property(tree, error_of, check); },
        CHECK{.shrink = false});
}
