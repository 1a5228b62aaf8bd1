// Is a tree well formed?
//
// Every node of a tree must have a defined opcode, as many operands as its row in the opcode table says, a type
// when it has a value, and the payload of its opcode: a NAME its symbol, an ICON a value that its type can hold, a
// STDOT a FIELD on its right, a jump its labels. No node may have two parents. The verifier asks this of each
// statement between passes.
//
// Not checked: whether the types of operands fit their operator (passes leave conversions implicit), and whether
// labels lead to blocks of the function (the flow graph's verifier does). The operands of a CSE_DUPE are another
// tree's and checked there.
#pragma once

#include <unordered_set>

#include "OPT5/fwd.h"

// What is wrong, as a sentence, or null. `where` gets the node; `normalized`: a UMULT may have a subscript.
const char *tree_shape_error(const NODE *tree, bool normalized = false, const NODE **where = nullptr);

// The same of one node, whose operands may be looked at but are not checked.
const char *node_shape_error(const NODE *, bool normalized);

// Finds nodes that stand in two places, over all trees that were added. Erased nodes must not be added.
class node_census {
  public:
    // The first node of the tree that was seen before, or null.
    const NODE *add(const NODE *tree);

  private:
    std::unordered_set<const NODE *> seen_;
};
