// What the rules for comparisons and conditions make of trees, and what they leave alone: next to each rewriting stand
// the trees that miss one of its conditions. Whether the results mean the same is for rows_cond.
#include <gtest/gtest.h>

#include "OPT5/bif.h"
#include "OPT5/cfg.h"
#include "OPT5/ddloop.h"
#include "OPT5/infix.h"
#include "OPT5/optab.h"
#include "OPT5/pragma.h"
#include "OPT5/simp1.h"
#include "OPT5/simp3.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "tests/oracle/lib/notation.h"
#include "tests/oracle/lib/rows.h"

namespace {

NODE *tree_of(const std::string &text, const char *type) {
    RANDOM random(1);
    return tree_from_notation(text, world().named(type), random);
}

std::string text_of(NODE *tree) {
    std::string text = tree2infix(tree);
    erase_tree(tree);
    return text;
}

struct SHAPE {
    const char *text, *type;
    const char *simplified;
};

// clang-format off
const SHAPE shapes[] = {
    // sums and products wrap: no constant moves across an order without a proof
    {"(x + 4) < 20",                         "u32", "x_u32 + 4u <u 20u"},
    {"((x & 15) + 4) < 12",                  "u32", "(x_u32 & 8u) <u 8u"},
    {"(x + 4) == 20",                        "u32", "x_u32 == 16u"},
    {"(x + 4) < 20",                         "i32", "x_i32 + 4 < 20"},
    {"(x * 3) < 20",                         "u32", "x_u32 * 3u <u 20u"},
    {"(x * 3) == 21",                        "i32", "x_i32 * 3 == 21"},
    {"((x & 15) * 3) < 20",                  "i32", "(x_i32 & 15) < 7"},
    {"((x & 15) * 3) == 20",                 "i32", "0"},
    {"((x + 7) & -8) >= x",                  "u32", "(x_u32 + 7u & 4294967288u) >=u x_u32"},
    {"(((x & 63) + 7) & -8) >= (x & 63)",    "u32", "1"},
    {"((x + 6) / 7) * 7 >= x",               "u32", "(x_u32 + 6u) / 7u * 7u >=u x_u32"},
    {"(((x & 63) + 6) / 7) * 7 >= (x & 63)", "u32", "1"},
    {"(((x & 63) + 5) / 7) * 7 >= (x & 63)", "u32", "((x_u32 & 63u) + 5u) / 7u * 7u >=u (x_u32 & 63u)"},
    // steps and negations of what may be at the end of its type
    {"w-- > 3",                              "u32", "w_u32-- >=u 4u"},
    {"w-- > 3",                              "i32", "w_i32-- >= 4"},
    {"w-- == 3",                             "u32", "(w_u32 -= 1u) == 2u"},
    {"w++ != 0",                             "u32", "(w_u32 += 1u) != 1u"},
    {"-x < 5",                               "i32", "-x_i32 < 5"},
    {"-x == 5",                              "i32", "x_i32 == -5"},
    // quotients
    {"x / 3 >= 5",                           "u32", "x_u32 >=u 15u"},
    {"x / 3 >= 0",                           "i32", "x_i32 >= -2"},
    {"x / 3 >= 2000000000",                  "i32", "0"},
    {"x / 3 == 5",                           "i32", "x_i32 / 3 == 5"},
    {"(x >> 3) < 5",                         "u32", "x_u32 <u 40u"},
    // conversions
    {"(i32)x < 5",                           "u8",  "x_u8 < 5"},
    {"(i64)x < (i64)y",                      "u32", "x_u32 <u y_u32"},
    {"(u32)x < 5",                           "i32", "(unsigned)x_i32 <u 5u"},
    {"(i32)x == 300@i32",                    "u8",  "0"},
    // truth
    {"(x & 12) == 8",                        "u32", "(x_u32 & 12u) == 8u"},
    {"(x & 8) == 8",                         "u32", "(x_u32 & 8u) != 0u"},
    {"((x < y) & (y < z)) == 0",             "i32", "x_i32 >= y_i32 | y_i32 >= z_i32"},
    {"((x < y) & z) == 0",                   "i32", "(x_i32 < y_i32 & z_i32) == 0"},
    {"x == x",                               "i32", "1"},
    {"u == u",                               "i32", "u_i32 == u_i32"},
    {"x == x",                               "f64", "x_f64 ==f x_f64"},
    {"x < y && x == y",                      "f64", "0"},
    {"x < y || x == y",                      "f64", "x_f64 <=f y_f64"},
    {"!(x < y)",                             "i32", "x_i32 >= y_i32"},
    // pointers
    {"p + n == p + 8",                       "i32", "n == 8"},
    {"p + n < p + 8",                        "i32", "p_i32 + n <u p_i32 + 8"},
    {"p < p + 4",                            "i32", "p_i32 <u p_i32 + 4"},
    {"ar + 8 < ar + 12",                     "i32", "1"},
    {"ar + 8 < ar + 400000",                 "i32", "&array + 8 <u &array + 400000"},
    // short circuits
    {"x || y",                               "i32", "(x_i32 | y_i32) != 0"},
    {"x || u",                               "i32", "x_i32 || u_i32"},
    {"x && y",                               "i32", "x_i32 && y_i32"},
    {"(x & 4) && (y & 4)",                   "i32", "(y_i32 & x_i32 & 4) != 0"},
    {"(x & 4) && (y & 12)",                  "i32", "x_i32 & 4 && y_i32 & 12"},
    {"p && *p",                              "i32", "p_i32 && *p_i32"},
    {"x || *p",                              "i32", "x_i32 || *p_i32"},
    {"*p || *p + 3",                         "i32", "(*p_i32 | *p_i32 + 3) != 0"},
    {"*p || *(p + 4)",                       "i32", "*p_i32 || *(p_i32 + 4)"},
    {"x || 7 / y",                           "i32", "x_i32 || 7 / y_i32"},
    {"x || f(y)",                            "i32", "x_i32 || pure(y_i32)"},
    {"r->a || r->b",                         "i32", "(to_object->a | to_object->b) != 0u"},
    {"(r && r->a) || r->b",                  "i32", "to_object && to_object->a || to_object->b"},
    // conditionals
    {"x < 0 ? -x : x",                       "i32", "abs(x_i32)"},
    {"x < 0 ? -x : y",                       "i32", "x_i32 < 0 ? -x_i32 : y_i32"},
    {"x < 0 ? -x : x",                       "f64", "x_f64 <f 0.0 ? -x_f64 : x_f64"},
    {"x < y ? x : y",                        "i32", "x_i32 < y_i32 ? x_i32 : y_i32"},
    {"u < 0 ? 0 : u",                        "i32", "u_i32 < 0 ? 0 : u_i32"},
    {"x < 0 ? 0 : x",                        "i32", "(x_i32 >= 0) * x_i32"},
    {"x ? (w = y) : (w = z)",                "i32", "w_i32 = x_i32 ? y_i32 : z_i32"},
    {"g(x) ? (w = y) : (w = z)",             "i32", "ext(x_i32) ? (w_i32 = y_i32) : (w_i32 = z_i32)"},
    {"x ? (u = y) : (u = z)",                "i32", "x_i32 ? (u_i32 = y_i32) : (u_i32 = z_i32)"},
    {"x ? (w += 1) : (w += 2)",              "i32", "x_i32 ? (w_i32 += 1) : (w_i32 += 2)"},
};
// clang-format on

std::string simplified(const std::string &text, const char *type) {
    return text_of(simp_tree(tree_of(text, type), nullptr));
}

} // namespace

TEST(shapes_cond, rules_keep_to_their_conditions) {
    for (const SHAPE &shape : shapes) {
        size_t nodes = nodes_in_use();
        EXPECT_EQ(simplified(shape.text, shape.type), shape.simplified) << shape.text << " of " << shape.type;
        EXPECT_EQ(nodes_in_use(), nodes) << shape.text;
    }
}

// --- long chains ---

namespace {

// A chain of n conditions that leans to one side.
NODE *chain(int op, int n, bool left, NODE *(*leaf)(int)) {
    NODE *t = leaf(0);
    for (int k = 1; k < n; k++) {
        NODE *a = left ? t : leaf(k), *b = left ? leaf(k) : t;
        t = op == QUEST ? t_quest(leaf(k), a, b) : t_binary(op, a, b, world().i32);
    }
    return t;
}

NODE *x_i32() { return mk_NAME(world().variable("x", world().i32)); }
NODE *value_leaf(int) { return x_i32(); }
NODE *test_leaf(int k) { return t_binary(LT, x_i32(), t_icon(k, world().i32), world().i32); }
NODE *zero_leaf(int) { return t_binary(EQ, mk_NAME(world().count), t_icon(0, world().i32), world().i32); }
NODE *pointer_leaf(int) { return mk_NAME(world().to_object); }

} // namespace

TEST(shapes_cond, long_chains_take_no_square_time_and_no_stack) {
    constexpr int LENGTH = 8000;
    for (int op : {ANDAND, OROR, QUEST, EQ, ANDB, ORB})
        for (bool left : {true, false})
            for (auto leaf : {value_leaf, test_leaf, zero_leaf, pointer_leaf}) {
                if (leaf == pointer_leaf && op != ANDAND && op != OROR) continue;
                size_t nodes = nodes_in_use();
                NODE *t = simp_tree(chain(op, LENGTH, left, leaf), nullptr);
                t = make_boolean(simp_for_control(t, nullptr), nullptr);
                erase_tree(t);
                ASSERT_EQ(nodes_in_use(), nodes);
            }
}

// --- statements and facts ---

namespace {

LBL *const labels[3] = {new LBL, new LBL, new LBL};

NODE *label(int k) {
    labels[k]->number = k;
    NODE *n = mk_LABELREF(k, 0);
    n->label = labels[k];
    return n;
}

NODE *branch(int op, NODE *condition, NODE *where) {
    return maketree(op, condition, where, world().i32, nullptr);
}

NODE *two_labels() { return maketree(COMMA, label(1), label(2), world().i32, nullptr); }

NODE *switch_of(NODE *x, NODE *value) {
    NODE *one = maketree(CASE, value, label(1), world().i32, nullptr);
    NODE *other = maketree(DEFAULT, label(2), nullptr, world().i32, nullptr);
    return branch(SWITCH, x, maketree(COMMA, one, other, world().i32, nullptr));
}

} // namespace

TEST(shapes_cond, branches) {
    TYPE *i32 = world().i32;
    size_t nodes = nodes_in_use();
    // a CBRANCH jumps when its condition is false
    NODE *t = simp_tree(branch(CBRANCH, t_icon(0, i32), label(1)), nullptr);
    ASSERT_EQ(t->op, BRANCH);
    EXPECT_EQ(t->left->label, labels[1]);
    erase_tree(t);
    t = simp_tree(branch(CBRANCH, t_icon(3, i32), label(1)), nullptr);
    EXPECT_EQ(t->op, ICON);
    erase_tree(t);
    for (int truth : {0, 7}) {
        t = simp_tree(branch(IF, t_icon(truth, i32), two_labels()), nullptr);
        ASSERT_EQ(t->op, BRANCH);
        EXPECT_EQ(t->left->label, labels[truth ? 1 : 2]);
        erase_tree(t);
    }
    // one case: unequal goes to the default
    t = simp_tree(switch_of(x_i32(), t_icon(5, i32)), nullptr);
    ASSERT_EQ(t->op, IF);
    EXPECT_EQ(t->left->op, NEQ);
    EXPECT_EQ(t->right->left->label, labels[2]);
    EXPECT_EQ(t->right->right->label, labels[1]);
    erase_tree(t);
    // a case that the selector's type does not have
    t = simp_tree(switch_of(mk_NAME(world().variable("x", world().u32)), t_icon(-5, i32)), nullptr);
    EXPECT_EQ(t->op, SWITCH);
    erase_tree(t);
    EXPECT_EQ(nodes_in_use(), nodes);
}

TEST(shapes_cond, an_IF_of_a_flow_graph_keeps_its_edges) {
    BBLK *block = reinterpret_cast<BBLK *>(labels[0]); // only asked whether it is there
    NODE *t = branch(IF, t_icon(1, world().i32), two_labels());
    labels[1]->block = block;
    t = simp_tree(t, nullptr);
    EXPECT_EQ(t->op, IF);
    labels[1]->block = nullptr;
    erase_tree(t);
}

TEST(shapes_cond, assertions_are_taken_apart) {
    struct ROW {
        const char *condition, *result;
    };
    const ROW rows[] = {
        {"x < y && y < z && z < 9", "nassert(x_i32 < y_i32), nassert(y_i32 < z_i32), nassert(z_i32 < 9)"},
        {"x == 0 && y == 0", "nassert(x_i32 == 0), nassert(y_i32 == 0)"},
        {"x < y || y < z", "nassert(x_i32 < y_i32 | y_i32 < z_i32)"},
        {"x < y || 7 / z > 2", "nassert(x_i32 < y_i32 || 7 / z_i32 > 2)"},
        {"x < y && g(z) > 2", "nassert(x_i32 < y_i32 && ext(z_i32) > 2)"},
        {"x < y ? y < z : z < 9", "nassert(quest$colon(x_i32 < y_i32, y_i32 < z_i32, z_i32 < 9))"},
    };
    for (const ROW &row : rows) {
        NODE *t = maketree(NASSERT, tree_of(row.condition, "i32"), nullptr, world().i32, nullptr);
        EXPECT_EQ(text_of(simp_tree(t, nullptr)), row.result) << row.condition;
    }
}

TEST(shapes_cond, facts_of_loops) {
    struct ROW {
        const char *fact, *test, *result;
    };
    const ROW rows[] = {
        {"x < y", "x < y", "1"},
        {"x < y", "x <= y", "1"},
        {"x < y", "y < x", "0"},
        {"x <= y", "x >= y", "x_i32 == y_i32"},
        {"x <= y", "x < y", "x_i32 != y_i32"},
        {"x != y", "x <= y", "x_i32 <= y_i32"},
        {"x == y", "x != y", "0"},
        {"x < y", "x < z", "x_i32 < z_i32"},
    };
    for (const ROW &row : rows) {
        struct LOOP outer, inner;
        inner.parent = &outer;
        outer.givens = mkelist(tree_of(row.fact, "i32"), nullptr, nullptr);
        EXPECT_EQ(text_of(simp_tree(tree_of(row.test, "i32"), &inner)), row.result)
            << row.fact << ": " << row.test;
        erase_tree_list(outer.givens);
    }
    // unsigned facts say nothing of signed order
    struct LOOP loop;
    loop.givens = mkelist(tree_of("(u32)x < (u32)y", "i32"), nullptr, nullptr);
    EXPECT_EQ(text_of(simp_tree(tree_of("x < y", "i32"), &loop)), "x_i32 < y_i32");
    erase_tree_list(loop.givens);
}

TEST(shapes_cond, weak_symbols_may_be_null) {
    SYMTAB *weak = world().make_symbol("perhaps", world().i32, 0);
    PRAGMA pragma = {};
    pragma.number = PRAG_QL_WEAK;
    auto test = [&] {
        return text_of(
            simp_tree(t_binary(NEQ, mk_UAND(mk_NAME(weak)), t_icon(0, world().i32), world().i32), nullptr));
    };
    EXPECT_EQ(test(), "1");
    weak->pragmas = &pragma;
    EXPECT_EQ(test(), "&perhaps != 0");
    weak->pragmas = nullptr;
}

// Last: from here on the process has a target with these built-ins.
TEST(shapes_cond, least_and_greatest) {
    struct ROW {
        const char *text, *type, *result;
    };
    // clang-format off
    const ROW rows[] = {
        {"x < y ? x : y",        "i32", "local$MIN(x_i32, y_i32)"},
        {"x <= y ? x : y",       "i32", "local$MIN(x_i32, y_i32)"},
        {"x > y ? x : y",        "i32", "local$MAX(x_i32, y_i32)"},
        {"x >= y ? x : y",       "i32", "local$MAX(x_i32, y_i32)"},
        {"x < y ? y : x",        "i32", "local$MAX(y_i32, x_i32)"},
        {"x > y ? y : x",        "i32", "local$MIN(y_i32, x_i32)"},
        {"x < y ? x : y",        "u32", "local$MINU(x_u32, y_u32)"},
        {"x > y ? x : y",        "u32", "local$MAXU(x_u32, y_u32)"},
        {"x < 9 ? x : 9",        "i32", "local$MIN(x_i32, 9)"},
        {"x >= 10 ? 9 : x",      "i32", "local$MIN(9, x_i32)"},
        {"x >= 10 ? 8 : x",      "i32", "x_i32 >= 10 ? 8 : x_i32"},
        {"x < y ? x : y",        "i64", "x_i64 < y_i64 ? x_i64 : y_i64"},
        {"(S)x < (S)y ? x : y",  "u32", "(int)x_u32 < (int)y_u32 ? x_u32 : y_u32"},
        {"x < y ? x : y",        "f64", "x_f64 <f y_f64 ? x_f64 : y_f64"},
    };
    // clang-format on
    for (const char *generic : {"MIN", "MAX", "MINU", "MAXU"}) {
        BIF *bif = find_BIF_descriptor(generic);
        ASSERT_NE(bif, nullptr) << generic;
        instantiate_generic_BIF(intern_name((std::string("local$") + generic).c_str()), bif);
    }
    for (const ROW &row : rows) EXPECT_EQ(simplified(row.text, row.type), row.result) << row.text;
}
