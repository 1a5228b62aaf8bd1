// Value propagation: the sets of values that variables may have, carried through the flow graph.
//
// Runs on SSA form. Not active yet: leaves the function as it is.
#pragma once

// Folds what the value sets of the current function prove.
void do_value_propagation();
