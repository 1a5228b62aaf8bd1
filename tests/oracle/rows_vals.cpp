// Rules for folding and conversions, row by row, and value queries over random trees.
#include "OPT5/casts.h"
#include "OPT5/coerce.h"
#include "OPT5/fold.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "tests/oracle/lib/rows.h"

#include <gtest/gtest.h>

namespace {

// The conversions of a tree alone, so that no other rule is in the way.
NODE *simplify_conversions(NODE *tree) {
    return rewrite_tree(tree, [](NODE *n) -> NODE * {
        switch (n->op) {
        case SCONV: return simp_SCONV(n, nullptr);
        case PCONV: return simp_PCONV(n, nullptr);
        case ACONV: return simp_ACONV(n, nullptr);
        default: return n;
        }
    });
}

const unsigned T_WORDS_UP = T_WORD | T_I64 | T_U64;

// clang-format off
const std::vector<oracle_row> conversions = {
    {"(W)x + (W)y",                     "(int)x -> x",       T_I8 | T_U8},
    {"(T)(W)x",                         "(t)(s)y"},
    {"(H)(W)x",                         "(t)(s)y"},
    {"(W)(H)x"}, {"(U)(H)x"}, {"(T)(U)x"}, {"(bool)(H)x"}, {"(H)(bool)x"}, {"(f64)(H)x"}, {"(f32)(f64)x"},
    {"(f64)(W)x",                       "(t)(s)y",           T_WORD},
    {"(T)(f32)x"},
    {"(u8)(x + c)", nullptr,             T_I32 | T_I64},
    {"(bool)(x + c)"}, {"(i8)(x + c)"},
    {"(u32)(x + y)",                    "(unsigned)(a + b)", T_I32},
    {"(u32)(x - y + (z ^ c))",          "(unsigned)(a + b)", T_I32},
    {"(i32)(x & (y | z))",              "(unsigned)(a + b)", T_U32},
    {"(u32)-x",                         "(unsigned)(a + b)", T_I32},
    {"(i32)(x + y)", nullptr, T_U32}, {"(u32)(x >> k)", nullptr, T_I32}, {"(u32)(x / y)", nullptr, T_I32},
    {"(i8)(x & 127)",                   "all values of x",   T_I32},
    {"(u8)(x & 255)", nullptr,   T_I32},
    {"(i16)(x % 100)",                  "all values of x",   T_I32},
    {"(bool)(x & 1)",                   "all values of x",   T_I32},
    {"(i8)(x & 128)"}, {"(bool)(x & 2)"}, {"(u8)(x % 100)"},
    {"(i8)(x < y)"},
    {"(u8)((x & 1023) % 100)",          "(t)(a % c)",        T_I32},
    {"(u8)(x % 300)"},
    {"(i16)(x >> 16)",                  "(t)(a >> c)",       T_I32},
    {"(i16)(x >> 15)", nullptr, T_I32}, {"(u16)(x >> 20)", nullptr, T_WORDS_UP}, 
    {"(i8)(x >> k)"}, {"(u8)(x >> k)"}, {"(i16)(x >> k)"}, {"(u16)(x >> k)"}, {"(i32)(x >> k)"}, {"(u32)(x >> k)"},
    {"(i16)((x << 16) >> 16)", nullptr,    T_I32},
    {"(u8)((x * 16) >> 4)", nullptr,    T_WORDS_UP},
    {"(i16)((x << 20) >> 20)", nullptr, T_WORD}, {"(u16)((x * 1048576) >> 20)", nullptr, T_WORD},
    {"(bool)((x << 4) >> 4)"},
    {"(u32)((u64)(u32)x + y@u64)",      "(t)((t)a + b)",     T_I64 | T_U64}, {"(i32)(y - (i64)(i32)x)", "(t)((t)a + b)", T_I64},
    {"(u32)(x + (u64)(u32)y@i8)", nullptr, T_I64 | T_U64}, {"(bool)((u64)(u32)x + y)", nullptr, T_U64},
    {"(H)qc(x, c, d)",                  "q$c(p, (T)a",       T_ALL & ~(T_I8 | T_U8)},
    {"(i8)((i8)x + y)", nullptr, T_I32 | T_I64}, {"(u8)(y - (u8)x)", nullptr, T_WORD}, {"(bool)((bool)x + y)"},
    {"(H)(x ? y : z)",                  "p ? (T)a"},
    {"(u8)(x ? y : z ? c : x)",         "p ? (T)a"},
    {"(f64)(x ? c : d)",                "p ? (T)a"},
    {"(f32)(x ? y : z)",                "p ? (T)a",          T_FLOATS},
    {"(T)c", nullptr}, {"(H)c", "(t)c -> c"}, {"(f32)c", "(t)c -> c", T_ALL | T_F64}, {"(bool)c", "(t)c -> c"},
    {"(i8)c", nullptr, T_FLOATS}, {"(u64)c", nullptr, T_FLOATS}, {"(bool)x", nullptr, T_FLOATS},
};
const std::vector<oracle_row> folding = {
    {"c + d",  "c1 op c2"}, {"c - d",  "c1 op c2"}, {"c * d",  "c1 op c2"}, {"c / d"},  {"c % d"},
    {"c & d",  "c1 op c2"}, {"c | d",  "c1 op c2"}, {"c ^ d",  "c1 op c2"}, {"c << k", "c1 op c2"}, {"c >> k", "c1 op c2"},
    {"c << d"}, {"c >> d"}, {"-c"}, {"~c"}, {"abs(c)"}, {"!c"}, {"c && d"}, {"c || d"},
    {"c < d",  "c1 op c2"}, {"c <= d", "c1 op c2"}, {"c == d", "c1 op c2"}, {"c != d", "c1 op c2"}, {"c > d"}, {"c >= d"},
    {"c + x",  "c op x"},   {"c < x",  "c op x"},   {"c - x"}, {"c / x"}, {"c << n"},
    {"x + 0",  "x op 0"},   {"x * 1",  "x op 0"},   {"x / 1",  "x op 0"}, {"x - 0", "x op 0"}, {"x >> 0"},
    {"c + d",  nullptr, T_FLOATS}, {"c - d", nullptr, T_FLOATS}, {"c * d", nullptr, T_FLOATS}, {"c / d", nullptr, T_FLOATS},
    {"-c",     nullptr, T_FLOATS}, {"c < d", "f1 < f2", T_FLOATS}, {"c == d", "f1 < f2", T_FLOATS}, {"c != d", "f1 < f2", T_FLOATS},
    {"c + x",  "c op x", T_FLOATS}, {"c > x", "c op x", T_FLOATS}, {"x + 0", nullptr, T_FLOATS},
};
// clang-format on

CHECK wrapping() {
    CHECK check;
    check.wraps = true;
    return check;
}

NODE *any_tree(RANDOM &random) {
    GENERATOR g{random};
    return chance(random, 80) ? g.tree(g.some_type(), 2 + int(pick(random, 4)))
                              : g.statement(2 + int(pick(random, 3)));
}

// Of integers of that size, 0 for all.
NODE *integer_tree(RANDOM &random, int bits) {
    GENERATOR g{random};
    g.effects = false;
    g.memory = chance(random, 30);
    g.floats = chance(random, 20);
    g.bits = bits;
    TYPE *type = bits ? world().integer(bits, chance(random, 50)) : world().integers[pick(random, 8)].type;
    return g.tree(type, 2 + int(pick(random, 4)));
}

void query(int trees, int bits) {
    run_random_trees(
        "value queries", trees, [bits](RANDOM &random) { return integer_tree(random, bits); },
        [](NODE *tree, const CHECK &check) { return check_bounds(tree, check); }, wrapping());
}

} // namespace

TEST(rows_vals, conversions_keep_values) { run_rows(conversions, simplify_conversions); }
TEST(rows_vals, folding_computes_values) { run_rows(folding, fold_constants); }
TEST(rows_vals, hold_under_all_rules) {
    for (auto rows : {conversions, folding}) {
        for (oracle_row &row : rows) row.rule = nullptr;
        run_rows(rows, 4);
    }
}

TEST(rows_vals, random_trees_fold) { run_random("folding", 1500, any_tree, fold_constants, wrapping()); }
TEST(rows_vals, random_trees_convert) {
    run_random("conversions", 2000, any_tree, simplify_conversions, wrapping());
}
TEST(rows_vals, casts_change_no_value) {
    run_random(
        "casts", 1500, any_tree, [](NODE *n) { return insert_mandatory_casts(simplify_conversions(n)); },
        wrapping());
}
TEST(rows_vals, answers_hold_for_all_values_of_8_bits) { query(1000, 8); }
TEST(rows_vals, answers_hold_for_sampled_values) { query(1000, 0); }
