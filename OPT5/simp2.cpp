#include "OPT5/simp2.h"

NODE *simp_ANDB(NODE *node, struct LOOP *) { return node; }
NODE *simp_ORB(NODE *node, struct LOOP *) { return node; }
NODE *simp_XORB(NODE *node, struct LOOP *) { return node; }
NODE *prop_mask_into_subtree(NODE *tree, INT65) { return tree; }
