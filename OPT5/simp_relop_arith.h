// Comparisons of arithmetic with constants: products, quotients, shifts, negations, sums, steps, conversions.
//
// Each row is one rule of simp_relop: it gets an integer comparison whose operands are simplified, and gives what the
// comparison becomes, or null where the rule does not apply. The result is again a comparison with simplified operands,
// which simp_relop works on from the start, or a finished tree of another kind. A row that applies makes the tree smaller,
// or takes an operator off the left side in exchange for another constant; none puts an operator there.
//
// Constants are moved in exact arithmetic on the numbers that the comparison sees. Arithmetic of the program wraps, so
// nothing moves across an order relation unless bounds prove that no operation leaves its type; across == and != sums
// and differences always move.
#pragma once

#include "OPT5/fwd.h"

using RELOP_ROW = NODE *(*)(NODE *test, struct LOOP *loop);

NODE *relop_exact_quotient(NODE *test, struct LOOP *loop);
NODE *relop_product(NODE *test, struct LOOP *loop);
NODE *relop_rounded_quotient(NODE *test, struct LOOP *loop);
NODE *relop_quotient(NODE *test, struct LOOP *loop);
NODE *relop_shifted(NODE *test, struct LOOP *loop);
NODE *relop_rounded_mask(NODE *test, struct LOOP *loop);
NODE *relop_negation(NODE *test, struct LOOP *loop);
NODE *relop_complement(NODE *test, struct LOOP *loop);
NODE *relop_sum_with_constant(NODE *test, struct LOOP *loop);
NODE *relop_difference(NODE *test, struct LOOP *loop);
NODE *relop_two_sums(NODE *test, struct LOOP *loop);
NODE *relop_step(NODE *test, struct LOOP *loop);
NODE *relop_widened(NODE *test, struct LOOP *loop);
NODE *relop_saturated_difference(NODE *test, struct LOOP *loop);
