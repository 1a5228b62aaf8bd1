// Bounds, known bits, factors and predicates contain every value that a tree has.
#include "tests/oracle/lib/rows.h"

#include <gtest/gtest.h>

#include "OPT5/optab.h"
#include "OPT5/simp1.h"
#include "OPT5/tree.h"

namespace {

void bounds_of(int trees, const std::function<NODE *(RANDOM &)> &generator, const CHECK &check) {
    run_random_trees("bounds", trees, generator, check_bounds, check);
}

std::function<NODE *(RANDOM &)> of_size(int bits, int depth) {
    return [=](RANDOM &r) {
        GENERATOR g{r};
        g.effects = g.memory = g.floats = false;
        g.bits = bits;
        return g.tree(g.some_type(), depth);
    };
}
std::function<NODE *(RANDOM &)> of_any(int depth, bool simplify) {
    return [=](RANDOM &r) {
        GENERATOR g{r};
        g.effects = chance(r, 20);
        NODE *t = g.tree(g.some_type(), depth);
        return simplify ? simp_tree(t, nullptr) : t;
    };
}

CHECK wrapping() {
    CHECK check;
    check.wraps = true; // arithmetic of the program wraps, and so the answers hold
    check.enumerate_bits = 16;
    return check;
}

// Trees that have something to be known about them.
const char *const shapes[] = {
    "x & c",
    "x | c",
    "x ^ c",
    "(x & c) + d",
    "(x & c) * d",
    "(x & c) - (y & d)",
    "x << k",
    "(x & c) << k",
    "x >> k",
    "(x & c) >> k",
    "x / c",
    "x % c",
    "(x & c) % d",
    "(x & c) / d",
    "-(x & c)",
    "~(x & c)",
    "(T)(x@u8)",
    "(T)(x@i8)",
    "(T)(x@u16) * c",
    "(T)(x@i8) * (T)(y@i8)",
    "(T)(x@u8) * (T)(y@u8)",
    "x ? c : d",
    "x < y ? x : y",
    "(x & c) < d",
    "(x & c) == d",
    "x * c",
    "x * c + y * d",
    "(x << k) + (y << l)",
    "(x * c) % c",
    "(x << k) % c",
    "(x * c) / c",
    "(x == y) + (x < y)",
    "(x < y) * c",
    "(x & 1) ^ 1",
    "1 - (x & 1)",
    "(x & t) >> k",
    "abs(x)",
    "abs(x & c)",
    "x % c % d",
    "(x % c) * d",
    "(x & c) * (y & d)",
    "(U)x % c",
    "(S)(x & c)",
    "(H)(x & c)",
    "(W)x * c",
    "(W)x << k",
    "(x, y & c)",
    "w = x & c",
    "(x | 1) * (y | 1)",
    "(x & ~c) | d",
    "(x * c) & d",
    "f(x) & 7",
    "(x & 15) - 16",
    "16 - (x & 15)",
    "x >> k << k",
    "(bool)x",
    "(T)(bool)x * c",
    "(x & 7) * 3 + 5",
    "((x & 7) * 3) % 3",
    "(x & m) + (y & m)",
    "x - x % c",
    "x % (y & c)",
    "x / (y | c)",
    "x << n",
    "(x & c) >> n",
    "sqr(x & c)",
    "sqr(x)",
    "qc(x, c, d)",
    "qc(x < y, x & c, d)",
    "(T)MIN(x@i32, y@i32 & 15)",
    "(T)MAX(x@u8, y@i16)",
    "(T)MINU(x@u32, 9@u32)",
    "(T)ETSI_NORM_L(x@i32)",
    "(T)ETSI_ADD(x@i16, 5)",
    "(T)_smulbb(x@i32, y@u8)",
    "(T)(H)(W)x",
    "(T)(i64)(i8)(u16)x",
    "(T)(u8)(x - c)",
    "(T)(S)(U)x * c",
    "s.bit",
    "s.ubit * c",
    "(T)s.bit << k",
    "s.wide >> k",
    "(T)s.one + c",
    "r->ubit & c",
    "*p & c",
    "w++",
    "w--",
    "w += x & c",
    "w &= c",
    "w |= x & c",
    "w -= c",
    "s.bit = x",
    "s.ubit += c",
    "s.uc ^= c",
    "g(x)",
    "(x@u32 & 7@u32) >= 4@u32",
    "x && y",
    "x || c",
    "!x",
};

} // namespace

TEST(value_queries, hold_for_all_bytes) { bounds_of(600, of_size(8, 3), wrapping()); }
TEST(value_queries, hold_for_words) { bounds_of(600, of_size(32, 4), wrapping()); }
TEST(value_queries, hold_for_double_words) { bounds_of(400, of_size(64, 4), wrapping()); }
TEST(value_queries, hold_for_mixed_types) { bounds_of(1500, of_any(4, false), wrapping()); }
TEST(value_queries, hold_for_what_the_simplifier_makes) { bounds_of(700, of_any(4, true), wrapping()); }

TEST(value_queries, hold_for_shapes) {
    for (const char *shape : shapes)
        for (const SCALAR &each : world().integers) {
            std::string title = std::string(shape) + " of " + each.name;
            SCOPED_TRACE(title);
            auto make = [&](RANDOM &r) {
                NODE *t = tree_from_notation(shape, each.type, r, chance(r, 20) ? 50 : 0);
                return t ? t : t_icon(0, each.type);
            };
            CHECK check = wrapping();
            check.enumerate_bits = 8;
            bounds_of(10, make, check);
        }
}

// Runs last: the others have asked by then.
TEST(value_queries, ask_about_every_operator) {
    if (bounds_asked.size() < 10) GTEST_SKIP() << "not after the others";
    for (int op :
         {PLUS,    MINUS, MULT, DIV,     MOD,      UMINUS,  NOTB,   ABS,    SQR,     ANDB,     ORB,
          XORB,    SLL,   SRL,  QUEST,   SCONV,    ICON,    NAME,   UMULT,  STDOT,   STREF,    ASG,
          EQ,      NEQ,   LT,   ULT,     GE,       UGE,     ANDAND, OROR,   EXCLAIM, PLUSPLUS, MINMIN,
          COMMAOP, ICALL, CALL, PLUSASG, MINUSASG, ANDBASG, ORBASG, XORBASG})
        EXPECT_GT(bounds_asked[op], 5u) << opname(op);
}
