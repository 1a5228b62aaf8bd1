// Bit rules of the simplifier: masks that are pushed into the trees they are applied to.
#pragma once

#include "OPT5/fwd.h"
#include "support/xint.h"

// A tree that is equal to `tree` in the bits of the mask; the other bits may differ. Takes the tree. Not active yet:
// gives the tree itself.
NODE *prop_mask_into_subtree(NODE *tree, INT65 mask);
