// Sums, products and unary operators.
//
// simp_assoc brings a commutative, associative operator (PLUS, ANDB, ORB, XORB) into its canonical order: constants to
// the top right, chains leaning left. Floating sums and products are never reassociated.
#pragma once

#include "OPT5/fwd.h"

// How far rules look down a chain of operators, and how often a chain was longer: without a bound, long sums would cost
// the square of their length.
constexpr int ASSOC_SPAN_CAP = 64;      // a chain on the right that is brought to the left
constexpr int TERM_MERGE_SPAN_CAP = 64; // for a term that is equal to a new one
constexpr int TERM_SORT_SPAN_CAP = 16;  // past terms with smaller factors
extern unsigned assoc_span_cap_hits, term_merge_span_cap_hits, term_sort_span_cap_hits;

NODE *simp_assoc(NODE *node, struct LOOP *loop);
// x op (a op b)  ->  (x op a) op b, sums and differences mixed; nothing is simplified. False: the tree is as it was.
bool lean_left(NODE *&node);
NODE *simp_PLUS(NODE *node, struct LOOP *loop);
NODE *simp_MINUS(NODE *node, struct LOOP *loop);
NODE *simp_MULT(NODE *node, struct LOOP *loop);
NODE *simp_unary(NODE *node, struct LOOP *loop); // UMINUS, ABS, NOTB, SQRT, SQR
NODE *simp_EXPT(NODE *node, struct LOOP *loop);
NODE *simp_complexop(NODE *node, struct LOOP *loop); // COMPLEX, REAL, IMAG
