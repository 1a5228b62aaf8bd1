#include "OPT5/simp_arith.h"

NODE *simp_assoc(NODE *node, struct LOOP *) { return node; }
NODE *simp_PLUS(NODE *node, struct LOOP *) { return node; }
NODE *simp_MINUS(NODE *node, struct LOOP *) { return node; }
NODE *simp_MULT(NODE *node, struct LOOP *) { return node; }
NODE *simp_unary(NODE *node, struct LOOP *) { return node; }
NODE *simp_EXPT(NODE *node, struct LOOP *) { return node; }
NODE *simp_complexop(NODE *node, struct LOOP *) { return node; }
