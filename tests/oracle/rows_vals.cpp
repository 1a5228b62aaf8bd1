// Rules for folding and conversions, row by row.
#include "tests/oracle/lib/rows.h"

#include <gtest/gtest.h>

namespace {

// clang-format off
const std::vector<oracle_row> rows = {
    {"(T)(H)x"},
    {"(c + d) * x"},
};
// clang-format on

} // namespace

TEST(rows_vals, hold) { run_rows(rows); }
