// Does a simplified tree stay as it is?
//
// The simplifier runs to no fixed point, so a tree may still change when it is simplified a second time. That costs
// little. What must not be is a tree that changes each time: two rules oppose each other then, and passes that wait
// for an end would wait for ever. With --debug:simp_again each simplified statement is simplified twice more.
// What changed is written to the debug stream, and one line for each statement that changed both times, and a line of
// counts at the end, to the information stream or standard error.
//
// Trees are compared node by node: opcode, type, payload and the order of operands all count.
#pragma once

#include <string>

#include "OPT5/fwd.h"

// The statement, simplified as often as the switch asks: not at all when it is off. Takes the tree.
NODE *simp_again(NODE *statement);
void report_simp_again();

// Simplifies a statement once more; true when that changed it. `story` then gets both texts and the rules that fired.
bool simp_changes(NODE *&statement, std::string &story);
