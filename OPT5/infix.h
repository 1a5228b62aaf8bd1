// Trees, statements and flow graphs as text that reads like C, for debug files, messages and the comments of an
// output with source lines.
//
// The text follows the opcode table's precedence, so it has the parentheses that it needs and no others. Where C
// has no notation the opcode's name is used like a function's. Comparisons say which they are: "<" signed, "<u"
// unsigned, "<f" floating, "<fn" floating or unordered. Labels print as the block that they lead to.
//
// These printers are what one looks at when something is broken, so they trust nothing: an illegal or unknown
// opcode, a missing operand, symbol or value prints as a word in angle brackets. They don't recurse. A text stops
// with "..." after INFIX_NODE_LIMIT nodes, which also ends the print of a tree that is its own subtree.
//
// Switches, all "debug:": dump_infix_types (each value with its type in braces), dump_scope (names with the
// level and number of their scope), dump_serial (nodes with their number), dump_sym_addr (names with the address
// of the symbol), dump_tree_hint (labels with the branch hint), dump_infix_regs (register symbols with a "%"),
// dump_psn (statements with file and column), dump_minimal (flow graphs without positions and edges).
#pragma once

#include <cstdio>
#include <string>

#include "OPT5/fwd.h"

constexpr int INFIX_NODE_LIMIT = 50000;
extern unsigned infix_limit_hits; // texts that were cut

std::string tree2infix(const NODE *tree);
// As a statement: with its semicolon, label or braces.
std::string stmt2infix(const NODE *tree);
std::string stmt2infix(const LIST *stmt);
std::string type2text(const TYPE *type);

// One block, and the flow graph of the current function. `to` null: the debug stream; nothing when that is closed.
void bblock2infix(const BBLK *bb, FILE *to = nullptr);
void prbbinfix(FILE *to = nullptr);
