// Bounds, known bits, factors and predicates contain every value that a tree has.
#include "tests/oracle/lib/rows.h"

#include <gtest/gtest.h>

#include "OPT5/simp1.h"

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
