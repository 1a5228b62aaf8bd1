// Bit rules of the simplifier: AND, OR, exclusive OR, and masks that are pushed into the trees they are applied to.
#pragma once

#include "OPT5/fwd.h"
#include "support/xint.h"

NODE *simp_ANDB(NODE *node, struct LOOP *loop);
NODE *simp_ORB(NODE *node, struct LOOP *loop);
NODE *simp_XORB(NODE *node, struct LOOP *loop);

// A tree that is equal to `tree` in the bits of the mask; the other bits may differ. Takes the tree.
NODE *prop_mask_into_subtree(NODE *tree, INT65 mask);
