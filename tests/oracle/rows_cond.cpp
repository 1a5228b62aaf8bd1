// Rules for comparisons and conditions, row by row; and the entries for trees of which only the truth matters.
#include "tests/oracle/lib/rows.h"

#include <gtest/gtest.h>

#include "OPT5/bif.h"
#include "OPT5/optab.h"
#include "OPT5/simp1.h"
#include "OPT5/simp3.h"
#include "OPT5/tree.h"

namespace {

// clang-format off
constexpr unsigned T_NARROW = T_I8 | T_U8 | T_I16 | T_U16, T_WIDE = T_I64 | T_U64;

const std::vector<oracle_row> comparisons = {
    // constants
    {"c < x",                       "c op x"},
    {"c < d",                       nullptr},
    {"x >= 1",                      "x >= 1"},
    {"x < 1",                       "x >= 1"},
    {"x <= c",                      "k odd"},
    {"x > c",                       "k odd"},
    {"x <= {c | 1}"},
    {"x < {c & ~1}"},
    {"x >= {t * 6}"},
    {"(x | 5) >= {t * 6}"},
    {"(x + y) < {t * 6}"},
    {"x < 0"},
    {"x >= 0"},
    {"x <= 0"},
    {"x > 0"},
    {"(x & c) >= 0"},
    {"(x & 15) <= 0",               "x <= 0 -> x == 0"},
    {"(x & 15) > 0",                "x > 0 -> x != 0"},
    {"(x & 15) < 0",                "x < 0 -> 0"},
    {"(x & 15) < c",                "by ranges"},
    {"(x & 15) == c"},
    {"(x | c) == d",                "a known bit differs"},
    {"(x & c) == d"},
    {"x == x",                      "a op a"},
    {"x < x",                       "a op a"},
    {"u == u"},
    {"x == x",                      nullptr, T_FLOATS},
    {"x < x",                       nullptr, T_FLOATS},
    {"(x, 3) < y"},
    {"g(x) >= 0@u32"},

    // conversions
    {"(W)x < (W)y",                 "T wider than both"},
    {"(W)x == (W)y",                "T wider than both"},
    {"(u64)(u32)x < (u64)(u32)y"},
    {"(i64)x@u32 < (i64)y@u32"},
    {"(i64)x@u32 < c@i64"},
    {"(i64)x@i32 < (i64)y@i32"},
    {"(W)x < (W)c",                 "T wider than a"},
    {"(W)x == c"},
    {"(i32)x < c@i32"},
    {"(u32)x < 200@u32",            nullptr, T_ALL},
    {"(u32)x > 4294967290@u32"},
    {"(i32)x@bool == 1"},
    {"(i32)x@bool < 1"},
    {"(U)x < (U)c"},
    {"(S)x < (S)c"},
    {"(i64)x < 5"},
    {"(u64)x >= 5@u64"},

    // quotients and products
    {"(x * 12) / 4 == c",           nullptr, T_ALL},
    {"((x & 15) * 12) / 4 < c",     nullptr, T_ALL},
    {"((x & 7) * 8) / 4 == c"},
    {"((x & 7) * 8) >> 2 < c"},
    {"((x & 15) << 4) >> 2 < c"},
    {"(x & -4) / 4 < c",            nullptr, T_SIGNED},
    {"(x & -8) >> 3 == c",          nullptr, T_SIGNED},
    {"((x & 15) * 6 + (y & 15) * 9) / 3 < c", nullptr, T_SIGNED},
    {"((x & 15) * 6 - 30) / 3 == c", nullptr, T_SIGNED},
    {"((x & 7) * 12 | 0) / -4 >= c", nullptr, T_SIGNED},
    {"(y ? (x & 7) * 12 : 24) / 4 < c", nullptr, T_SIGNED},
    {"(x - x % 6) / 3 < c",         nullptr, T_SIGNED},
    {"(x * c) == 0"},
    {"(x * c) < 0"},
    {"((x & 7) * 3) == c",          "(a * c)"},
    {"((x & 7) * 3) < c",           "(a * c)"},
    {"((x & 7) * 3) >= c",          "(a * c)"},
    {"((x & 7) * -3) < c",          nullptr, T_SIGNED},
    {"((x & 7) * -3) >= c",         nullptr, T_SIGNED},
    {"((x & 7) * c) <= d"},
    {"((x & 7) * c) == d"},
    {"((x & 7) * c) > d"},
    {"(x * -3) < 6"},
    {"(x * 3) == 6"},
    {"(i64)x@i32 * 3 < c",          nullptr, T_I64},
    {"(i64)x@i32 * c < d",          nullptr, T_I64},
    {"((x + 7) & -8) >= x"},
    {"((x + 7) & ~7) >= x"},
    {"(((x & 63) + 7) & -8) >= (x & 63)", "((a + d) & -2^j)"},
    {"(((x & 63) + 6) & -8) >= (x & 63)"},
    {"((x + 7) / 8) * 8 >= x"},
    {"((x + 6) / 7) * 7 >= x"},
    {"((x + 7) / 7) * 7 > x"},
    {"(((x & 63) + 6) / 7) * 7 >= (x & 63)", "((a + d) / c)"},
    {"(((x & 63) + 7) / 7) * 7 > (x & 63)",  "((a + d) / c)"},
    {"(((x & 63) + 5) / 7) * 7 >= (x & 63)"},
    {"(x / 7) * 7 >= x"},
    {"((x | -64) / 7) * 7 >= (x | -64)", nullptr, T_SIGNED},
    {"((x | -64) / 7) * 7 > (x | -64)", nullptr, T_SIGNED},
    {"(x / 3) < c",                 "(a / c) >= k"},
    {"(x / 3) <= c",                "(a / c) >= k"},
    {"(x / 3) > c",                 "(a / c) >= k"},
    {"(x / 3) >= c",                "(a / c) >= k"},
    {"(x / c) >= d"},
    {"(x / c) < d"},
    {"(x / c) > d"},
    {"(x / c) <= d"},
    {"(x / 3) >= 0"},
    {"(x / 3) > 0"},
    {"(x / 3) < 0"},
    {"(x >> k) < c",                "(a >> s) >= k"},
    {"(x >> k) >= c"},
    {"(x >> 3) > 2"},
    {"(x >> 3) <= 2"},
    {"(x >> k) > c"},

    // negations and sums
    {"-x == c",                     "-a op k"},
    {"-x < c"},
    {"-(x & 15) < c",               nullptr},
    {"-x >= 0"},
    {"~x == c",                     "~a op k"},
    {"~x < c",                      "~a op k"},
    {"(x ^ -1) >= c",               "~a op k"},
    {"(x + c) == d",                "(a + c) == k"},
    {"(x - c) != d",                "(a + c) == k"},
    {"(x + c) < d"},
    {"(x - c) >= d"},
    {"((x & 15) + 3) < c",          "(a + c) < k"},
    {"((x & 15) - 3) < c"},
    {"((x & 15) - c) >= d"},
    {"(x + 1) > x"},
    {"(x - y) == 0",                nullptr},
    {"(x - y) < 0"},
    {"(x - y) >= 0"},
    {"((x & 15) - (y & 15)) < 0",   nullptr},
    {"((x & 15) - (y & 15)) >= 0"},
    {"((i32)x@u8 - (i32)y@u8) < 0", "(a - b) op 0", T_I32},
    {"(x ^ y) == 0"},
    {"(x ^ c) == d"},
    {"(x + c) == (y + d)",          "(x + c1)"},
    {"(x + c) < (y + d)"},
    {"((x & 15) + 3) < ((y & 15) + 9)"},
    {"((x & 15) + c) >= ((y & 15) + d)"},

    {"(x * 2) == (y < z)",          "b == t"},
    {"(x * 2) != (y < z)",          "b == t"},
    {"(y < z) == (x | 1)",          "b == t"},
    {"(y < z) != (x | 1)",          "b == t"},
    {"(g(x) * 2) == (y < z)"},
    {"(x | 2) == (y < z)"},
    {"_ssub(x, y) < 0",             "_ssub(a, b)", T_I32},
    {"_ssub(x, y) == 0",            "_ssub(a, b)", T_I32},
    {"_ssub(x, g(y)) >= 0",         "_ssub(a, b)", T_I32},
    {"_ssub(x, y) <= 0",            "_ssub(a, b)", T_I32},
    {"_ssub(x, y) < 1",             nullptr, T_I32},
    {"(_ssub2(x, y) << 16) > 0",    "_ssub(a, b)", T_I32},
    {"(_ssub2(x, y) * 65536) != 0", nullptr, T_I32},
    {"_ssub2(x, y) < 0",            nullptr, T_I32},
    {"(P)0 == &s.a"},
    {"&s.a != (P)0"},

    // tests of truth
    {"(x < y) == 0",                "(a < b) == 0"},
    {"(x < y) != 0",                "x != 0 -> x"},
    {"(x < y) == 1",                "x == 1"},
    {"(x < y) != 1",                "x == 1"},
    {"(x < y) > 0"},
    {"(x < y) < 2"},
    {"x@bool != 0"},
    {"x@bool == 1"},
    {"1 - (i32)x@bool == 0"},
    {"1 - (x < y) != 0"},
    {"(x & {t}) == {t}",            "(a & 2^k) == 2^k"},
    {"(x & {t}) != {t}",            "(a & 2^k) == 2^k"},
    {"((x < y) & (y < z)) == 0",    "(a & b) == 0"},
    {"((x < y) | (y < z)) == 0",    "(a & b) == 0"},
    {"((x < y) & (i32)z@bool) == 0"},
    {"((x < y) & z@i32) == 0"},
    {"(x < y ? 0 : 1) == 0"},
    {"(x < y ? c : d) == e",        "(c ? a : b) == k"},
    {"(x < y ? c : z) == 0",        "(c ? a : b) == k"},
    {"(x < y ? c : z) != 0"},
    {"(x ? y < z : z < y) == 0",    "(c ? a : b) == k"},
    {"(x < y) == (x >= y)",         "t == !t"},
    {"(x == 0) == x",               nullptr},
    {"x != (x == 0)"},
    {"(x < y) == (y < z)"},
    {"(x < y) == (x >= y)",         nullptr, T_FLOATS},

    // steps
    {"w++ == c",                    "x++ op k"},
    {"w-- != c",                    "x++ op k"},
    {"w++ < c"},
    {"w-- > c"},
    {"w-- > 0"},
    {"w-- > 3"},
    {"u-- > 0"},
    {"u++ != 0"},
    {"s.bit++ == c@i32"},
    {"s.bit-- > 1@i32"},

    // pointers
    {"p == 0@i32"},
    {"&s == 0@i32"},
    {"ar != ar + 4"},
    {"ar + n == ar",                "(p + c) == (p + d)"},
    {"ar + 8 < ar + 12",            "inside x"},
    {"ar + 8 < ar + 400000"},
    {"p + n == p + 8",              "(p + c) == (p + d)"},
    {"p + n < p + 8"},
    {"p < p + 4"},
};

const std::vector<oracle_row> conditions = {
    {"0 && g(x)",                   "0 && y"},
    {"c && g(x)"},
    {"1 && x",                      "c && y"},
    {"g(x) && 0",                   "x && 0"},
    {"x && 1",                      "x && c"},
    {"x && x",                      "x && x"},
    {"u && u"},
    {"x == 0 && y == 0",            "x == 0 && y == 0"},
    {"x == 0 && g(y) == 0"},
    {"x < y && x == y",             "same operands"},
    {"x <= y && y <= x",            "same operands"},
    {"x < y && x < y@u32"},
    {"0 || x",                      "0 || y"},
    {"1 || g(x)",                   "c || y"},
    {"g(x) || 1",                   "x || c"},
    {"x || 0",                      "x || 0"},
    {"x || x",                      "x || x"},
    {"x == 0 || x == t",            "x == 2^k"},
    {"x == 0 || x == c"},
    {"x == 0 || x > c",             "x == 0 || x > c", T_U32},
    {"x == 0 || x > c"},
    {"x == 0 || y == 0",            "x == 0 || y == 0"},
    {"x == 0 || g(y) == 0"},
    {"x < y || x == y",             "same operands"},
    {"x || y",                      "x || y -> (x | y)"},
    {"x || s.a"},
    {"x@i32 || y@i32 || z@i32 || n"},
    {"p && *p"},
    {"r && r->a"},
    {"*p || *q"},
    {"r->a || r->b"},
    {"(x & 4) && (y & 16)",         "x && y -> (x >> i)"},
    {"(x & t) && (y & 1)"},
    {"x@bool && y@bool"},
    {"(x & 1) && (y & 1)"},
    {"(x & t) && (y & 1) && z"},
    {"x && 7 / y"},
    {"x && g(y)"},
    {"x || u"},
    {"!x",                          "!x"},
    {"!!x"},
    {"!(x < y)"},
    {"!(x && y)"},
    {"!g(x)"},
    {"(g(x), 1) && y",              nullptr},
    {"(w = 3) && y"},
    {"(w = 0) || y"},

    {"x < y & x == y",              "same operands"},
    {"x < y & x <= y",              "same operands"},
    {"x < y | x == y",              "same operands"},
    {"x > y | x != y",              "same operands"},
    {"(x > 0) & (x < 0)"},
    {"(x > 0) & (y < 0)"},

    {"1 ? x : g(y)",                "c ? a : b"},
    {"x < y ? 1 : 0",               "t ? 1 : 0"},
    {"x ? 0 : 1",                   "t ? 1 : 0"},
    {"x ? 1@i64 : 0@i64"},
    {"g(x) ? y : y",                "t ? a : a"},
    {"x ? g(y) : g(y)",             "t ? a : a"},
    {"x >= 0 ? y : z",              nullptr},
    {"x < 0 ? -x : x",              "|x|", T_SIGNED},
    {"x <= 0 ? -x : x",             "|x|", T_SIGNED},
    {"x > 0 ? x : -x",              "|x|", T_SIGNED},
    {"x >= 0 ? x : -x",             "|x|", T_SIGNED},
    {"x > 0 ? -x : x"},
    {"x < 0 ? -x : x"},
    {"x < 0 ? -x : y"},
    {"(i32)x < 0 ? -(i32)x : (i32)x", nullptr},
    {"x < 0 ? -x : x",              nullptr, T_FLOATS},
    {"x > 0 ? x : -x",              nullptr, T_FLOATS},
    {"x < y ? x : y"},
    {"x < y ? x : y",               nullptr, T_FLOATS},
    {"x >= c ? {c - 1} : x"},
    {"x <= 0 ? 0 : x",              "(x >= 0) * x", T_SIGNED},
    {"x < 0 ? 0 : x",               "(x >= 0) * x", T_SIGNED},
    {"x > 0 ? x : 0",               "(x >= 0) * x", T_SIGNED},
    {"x >= 0 ? x : 0",              "(x >= 0) * x", T_SIGNED},
    {"x > 0 ? 0 : x"},
    {"x <= 0 ? 0 : y"},
    {"x < 0 ? 0 : x",               nullptr, T_FLOATS},
    {"(i32)x <= 0 ? 0 : (i32)x"},
    {"x ? (w = y) : (w = z)",       "(t ? a : b)"},
    {"x ? (w += y) : (w += z)",     "(t ? a : b)"},
    {"x ? (w -= 1) : (w -= z)"},
    {"x ? (w = 7 / y) : (w = z)"},
    {"g(x) ? (w = y) : (w = z)"},
    {"x ? (u = y) : (u = z)"},
    {"w ? (w = y) : (w = z)"},
    {"x < y && y < z ? c : d"},
    {"(x ? y : 0) ? z : 3"},
};

const std::vector<oracle_row> tested = { // only the truth matters
    {"x != 0",                      "x != 0 -> x"},
    {"(W)x",                        "(T)x -> x"},
    {"(H)x"},
    {"(bool)x"},
    {"(U)x"},
    {"x | 4",                       "a known one bit"},
    {"g(x) | 4"},
    {"x & 0"},
    {"x % 8",                       "x % 2^k"},
    {"x % t"},
    {"x % c"},
    {"(x >> k) & 1",                "(x >> k) & 1"},
    {"x >> 7@i32",                  nullptr, T_I8 | T_U8},
    {"x >> 31@i32",                 "top bit", T_WORD},
    {"x >> 63@i32",                 nullptr, T_WIDE},
    {"(x ^ 12) & 4",                nullptr},
    {"(x ^ c) & t"},
    {"x ^ t"},
    {"(x & 4) ^ 4"},
    {"-x",                          "-x, |x|"},
    {"abs(x)"},
    {"x - y",                       "x - y, x ^ y"},
    {"x ^ y",                       "x - y, x ^ y"},
    {"w++",                         "x++"},
    {"w--",                         "x++"},
    {"u--"},
    {"s.bit++"},
    {"s.bit--"},
    {"x@bool--"},
    {"w@bool++"},
    {"x ? (W)y : z != 0"},
    {"x ? y - z : (y >> k) & 1"},
    {"g(x), y != 0"},
    {"&s",                          "&object"},
    {"ar + n"},
    {"p != 0@i32"},
    {"(R)p",                        "(T*)x -> x"},
    {"(R)(P)x@u32",                 nullptr},
    {"!x"},
    {"x && y"},
};
// clang-format on

REWRITER through(NODE *(*last)(NODE *, struct LOOP *)) {
    return [last](NODE *t) { return last(simp_tree(t, nullptr), nullptr); };
}

std::vector<oracle_row> compared(std::vector<oracle_row> rows, COMPARE how) {
    for (oracle_row &row : rows) {
        row.compare = how;
        row.rule = how == COMPARE::TRUTH ? row.rule : nullptr;
    }
    return rows;
}

std::vector<oracle_row> all_rows() {
    std::vector<oracle_row> all = comparisons;
    all.insert(all.end(), conditions.begin(), conditions.end());
    all.insert(all.end(), tested.begin(), tested.end());
    return all;
}

} // namespace

TEST(rows_cond, comparisons) { run_rows(comparisons); }
TEST(rows_cond, conditions) { run_rows(conditions); }
namespace {

// A target that has the least and the greatest of two integers as operations of its own.
struct TARGET_WITH_MIN_MAX {
    static constexpr const char *NAMES[] = {"MIN",   "MAX",   "MINU",   "MAXU",
                                            "LLMIN", "LLMAX", "LLMINU", "LLMAXU"};
    TARGET_WITH_MIN_MAX() {
        for (const char *name : NAMES) find_BIF_descriptor(name)->generic_link = find_BIF_descriptor(name);
    }
    ~TARGET_WITH_MIN_MAX() {
        for (const char *name : NAMES) find_BIF_descriptor(name)->generic_link = nullptr;
    }
};

} // namespace

TEST(rows_cond, least_and_greatest) {
    ASSERT_EQ(find_target_BIF_descriptor("MIN"), nullptr) << "this target has it: the rows need no other";
    TARGET_WITH_MIN_MAX target;
    // clang-format off
    run_rows({
        {"x < y ? x : y",        "MIN(a, b)", T_WORD | T_WIDE},
        {"x <= y ? y : x",       "MIN(a, b)", T_WORD | T_WIDE},
        {"x > c ? x : c",        "MIN(a, b)", T_WORD | T_WIDE},
        {"x >= c ? {c - 1} : x"},
        {"x <= c ? {c + 1} : x"},
        {"x > c ? {c + 1} : x"},
        {"x < c ? x : {c + 1}"},
        {"x < y@u32 ? x : (T)y@u32"},
        {"(i64)x < (i64)y ? (i64)x : (i64)y"},
        {"x@u8 < y@u8 ? x@u8 : y@u8"},
        {"x == y ? x : y"},
        {"g(x) < y ? g(x) : y"},
    });
    // clang-format on
}

TEST(rows_cond, for_control) { run_rows(compared(tested, COMPARE::TRUTH), through(simp_for_control)); }
TEST(rows_cond, any_tree_for_control) {
    std::vector<oracle_row> rows = compared(all_rows(), COMPARE::BOOL);
    run_rows(compared(rows, COMPARE::TRUTH), through(simp_for_control), 1);
}
TEST(rows_cond, as_booleans) { run_rows(compared(all_rows(), COMPARE::BOOL), through(make_boolean), 1); }
TEST(rows_cond, inverted) {
    // twice, or what is inverted once more would be judged by its first meaning
    run_rows(
        compared(all_rows(), COMPARE::BOOL),
        [](NODE *t) { return mk_EXCLAIM(invert_boolean_tree(simp_tree(t, nullptr))); }, 1);
}

TEST(random_cond, conditions) {
    run_random(
        "conditions", 2000,
        [](RANDOM &r) {
            GENERATOR g{r};
            return g.condition(int(2 + pick(r, 4)));
        },
        [](NODE *t) { return simp_tree(t, nullptr); });
}
TEST(random_cond, for_control) {
    CHECK check;
    check.compare = COMPARE::TRUTH;
    run_random(
        "for control", 2000,
        [](RANDOM &r) {
            GENERATOR g{r};
            return chance(r, 50) ? g.condition(int(2 + pick(r, 3)))
                                 : g.tree(world().integers[pick(r, 8)].type, 3);
        },
        through(simp_for_control), check);
}
