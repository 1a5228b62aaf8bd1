// The structure check: is the current function, as it stands between two passes, what every pass relies on?
//
// Checked
//   blocks      dflink, rdflink, uolink and uoprev agree and hold the same blocks, each owned by the function and
//               in its slot; dfn and bb_count, from a renumbering until blocks come or go
//   edges       succs of a block are the blocks that its transfer names, each once; preds is their exact reverse;
//               nothing leads to the entry
//   statements  a block ends in its one transfer; no form of before the graph (CBRANCH, LABELDEF) is left; cases are
//               a chain that ends in its one DEFAULT; PCOMMA stands in a prolog of the entry only; URETURN names
//               the function
//   labels      a LABEL leads to a label of a block of the function; label chains lead back to their block; numbers
//               are unique; no label counts fewer references than it has
//   trees       opcode, operands, type and payload of each node (OPT5/treecheck); one parent each
//   symbols     a NAME's symbol is global or one of the function's; chains hold a symbol once; level, class, type
//               and size of each agree
//   scopes      parents, children and siblings agree; nodes and symbols refer to scopes of the function's tree
//   exceptions  calls name entries of the table
//   dominators  a set that is not stale is numbered as the blocks are
//
// Not checked: whether types of operands fit (conversions may be implicit) or are normalised, whether a global
// symbol is in the chain of globals, distinct case values, loops, SSA form, frequencies, records of DDNODEs, the
// order of blocks, and whether a block can be reached. While a pass works, the graph may well be between two states.
//
// Linear in the size of the function; each node is looked at once and marked in a map of bits. Most passes leave most
// functions alone, so a look is taken first: a fingerprint of all that a check looks at, an order of magnitude cheaper.
// Only when it differs from that of the last check, the function is checked. What a pass says that it changed is not
// asked for. The fingerprint has 64 bits; the declarations of types, and symbols that stand in no chain of the
// function, are no part of it. A pass that did in no time at all what it did waits for the next look, which names
// it among those that may be at fault; --debug:validate=2 looks after every one.
#pragma once

#include <string>

// What is broken first in the current function: function, block, statement and fault, in one line; "" if nothing.
std::string find_structure_fault();

// The same of a function that may have been checked before: unless it has changed since, there is none.
std::string find_new_fault();

// A new fault goes to standard error and the debug stream with the name of the pass `after` which it was found and of
// those that were not looked after since the last check, and ends the run. So the result is true.
bool validate_function(const char *after);

// The same after a pass on the current function, or after a barrier for all of them, that took `seconds`: put off when a
// look would take a considerable part of that. The name of the pass must stay as long as the function's body.
bool validate_after_pass(const char *pass, double seconds); // whether it was done
void validate_after_barrier(const char *pass, double seconds);
// What was put off for the current function, before it goes.
void validate_deferred();

// For the middle of a pass: the blocks and edges alone, the statements alone. A fault ends the run.
void validate_cfg();
void validate_stmts();
