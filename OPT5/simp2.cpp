#include "OPT5/simp2.h"

NODE *prop_mask_into_subtree(NODE *tree, INT65) { return tree; }
