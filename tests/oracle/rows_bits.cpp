// Rules for masks and known bits, row by row.
#include "tests/oracle/lib/rows.h"

#include <gtest/gtest.h>

namespace {

// clang-format off
const std::vector<oracle_row> rows = {
    {"(x & c) | (x & d)"},
    {"(x ^ c) & d"},
};
// clang-format on

} // namespace

TEST(rows_bits, hold) { run_rows(rows); }
