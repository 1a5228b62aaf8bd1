// Sums, products and unary operators.
//
// simp_assoc brings a commutative, associative operator (PLUS, ANDB, ORB, XORB) into its canonical order: constants to
// the top right, chains leaning left. Floating sums and products are never reassociated.
#pragma once

#include "OPT5/fwd.h"

NODE *simp_assoc(NODE *node, struct LOOP *loop);
NODE *simp_PLUS(NODE *node, struct LOOP *loop);
NODE *simp_MINUS(NODE *node, struct LOOP *loop);
NODE *simp_MULT(NODE *node, struct LOOP *loop);
NODE *simp_unary(NODE *node, struct LOOP *loop); // UMINUS, ABS, NOTB, SQRT, SQR
NODE *simp_EXPT(NODE *node, struct LOOP *loop);
NODE *simp_complexop(NODE *node, struct LOOP *loop); // COMPLEX, REAL, IMAG
