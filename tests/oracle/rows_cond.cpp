// Rules for comparisons and conditions, row by row.
#include "tests/oracle/lib/rows.h"

#include <gtest/gtest.h>

namespace {

// clang-format off
const std::vector<oracle_row> rows = {
    {"x < c && x < d"},
    {"x ? x != 0 : 0"},
};
// clang-format on

} // namespace

TEST(rows_cond, hold) { run_rows(rows); }
