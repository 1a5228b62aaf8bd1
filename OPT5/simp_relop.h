// Comparisons.
//
// A comparison of integers goes through a list of rows, each a rule; after one has applied, the list is gone through again,
// until none applies or the result is no comparison any more. Conversions that change nothing go first, then facts,
// arithmetic on the left side (simp_relop_arith), constants in canonical form, what is known of bits and ranges, and tests
// of tests.
//
// Canonical form: constants on the right; a > 0 for a >= 1; above that, a >= k and a < k with an even constant rather
// than a > k - 1 and a <= k - 1, so that bits of a below the lowest one of k need not be computed. Values that are 0 or 1
// are not compared with 1.
//
// It ends because each row takes nodes away, or moves a constant or relation towards the canonical form, which no row
// leaves; RELOP_ROUNDS is a second line of defence. Comparisons of floats stay as they are: x == x is false for a NaN.
#pragma once

#include "OPT5/fwd.h"

constexpr int RELOP_ROUNDS = 60;
extern unsigned relop_round_hits;

NODE *simp_relop(NODE *node, struct LOOP *loop); // EQ to UGT, FEQ to FUNO
