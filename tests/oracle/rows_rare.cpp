// Rules that random trees hardly ever reach: each needs a shape, a type and constants that fit together.
#include "tests/oracle/lib/rows.h"

#include <gtest/gtest.h>

namespace {

// clang-format off
const std::vector<oracle_row> rows = {
    // a factor on both sides of a division
    {"(x * z) / (y * z)",                         nullptr, T_WORD | T_I64 | T_U64},
    {"((x & 7) * (z & 15)) / ((y & 7) * (z & 15))", "(u * x) / (w * x)", T_I32 | T_I64},
    {"((x & 15) * 6) / 3 * 3",                    "(x / c) * c", T_U16 | T_U32 | T_U64},
    {"x / x",                                     "x / x -> 1"},
    {"0 / x",                                     "0 / x"},
    {"u / u + 0 / v",                             nullptr},
    {"((x & 252) / 4) * 4",                       nullptr, T_WORD | T_I64 | T_U64},
    {"((x & 255) / 4) * 4",                       nullptr, T_ALL},
    {"((x & 63) * 6) / 3",                        nullptr, T_WORD | T_I64},
    // a product that is widened, and one that is shifted back
    {"(W)((x & 15) * 3) * 5",                     nullptr, T_SIGNED | T_UNSIGNED},
    {"(i64)((x & 15) * 3) * 5@i64",               "SCONV(a * c) * d", T_I32},
    {"(H)((x * 256) >> 8)",                       nullptr, T_I16 | T_U16 | T_I32 | T_U32},
    {"(i16)((x@i32 * 65536@i32) >> 16)",          nullptr, T_I32},
    {"(i8)((x@i32 << 24) >> 24)",                 nullptr, T_I32},
    {"(H)((H)x + y)",                             nullptr},
    {"(H)(y - (H)x)",                             nullptr},
    // bits
    {"(x & 4) && (y & 4)",                        "one bit each", T_WORD},
    {"(x & 8) && (y & 2)",                        "one bit each", T_WORD},
    // roundings up and down, which wrap
    {"(((x & 127) + 7) & -8) >= (x & 127)",       "-2^j", T_WORD},
    {"((x + 9) / 10) * 10 >= x",                  nullptr},
    {"(((x & 31) + 9) / 10) * 10 >= (x & 31)",    "((a + d) / c) * c", T_WORD},
    {"(x / 10) * 10 > x",                         nullptr},
    // conditions behind effects
    {"(g(x), y) ? x : z",                         nullptr},
    {"(w = x, y < x) ? x : y",                    nullptr},
    {"(u, x) && y",                               nullptr},
    // pointers
    {"(r + 24)->b",                               "(p + c)->f", T_I32},
    {"(P)(int)p == p",                            "(T *)(int)p"},
    {"(P)(x@u32) == (P)0",                        nullptr, T_I32},
    {"(T)(u32)((P)64 - 16)",                      nullptr, T_WORD},
    {"g((u, y)) + 1",                             nullptr, T_I32},
    {"g2((u, x), (v, y))",                        "f(a, (e, x))", T_I32},
    {"g2(x, (w = y, z))",                         nullptr, T_I32},
};
// clang-format on

} // namespace

TEST(rows_rare, hold) { run_rows(rows); }
