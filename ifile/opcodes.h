// The opcodes of expression trees, shared by the intermediate file (ids below 164), the tree form of the
// passes, and the data-flow form of regions (the DFG_ ids). The rows live in opcodes.def.
//
// if_node_info is the view of the intermediate file library: one row for each file opcode with its name and
// the number of child records. if_node_table_init derives it from opcodes.def; the optimizer derives its own
// tables (OPT5/optab) and cross-checks the two at start.
#pragma once

enum OPCODE : int {
#define OPCODE_ROW(id, name, operands, precedence, effects, sp) name = id,
#include "ifile/opcodes.def"
    N_OPCODES = 223,         // one above the largest id
    FIRST_NON_FILE_OP = 164, // opcodes from here on never stand in a file
};

struct IF_NODE_INFO {
    int id;
    const char *name; // null: no row for this id
    int arity;        // child records in the file: 0, 1 or 2
};

constexpr int IF_NODE_TABLE_SIZE = 201;
// Rows by opcode id; filled once by if_node_table_init.
extern IF_NODE_INFO if_node_info[IF_NODE_TABLE_SIZE];

// Fills if_node_info; calling it again is harmless.
void if_node_table_init();
// Whether a node of this file opcode must have a type: it has a value, or its operands are stored by the type.
bool if_op_needs_type(int op);
// Enters one row. An id above 200 prints "\nINTERNAL ERROR: Invalid opcode, aborting\n" and exits with 1.
void if_enter_node(int id, const char *name, int arity);
