// Rules for sums, products, divisions, shifts, assignments, addresses and calls, row by row.
#include "tests/oracle/lib/rows.h"

#include <gtest/gtest.h>

namespace {

// clang-format off
const std::vector<oracle_row> rows = {
    {"(x + c) + d"},
    {"x - (y - c)"},
};
// clang-format on

} // namespace

TEST(rows_arith, hold) { run_rows(rows); }
