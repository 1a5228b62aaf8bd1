// Trees on their way in: the check of their shape, and the change from file form to internal form.
//
// check_statement_tree is the one gate for trees. Every operand position expects something (a value, an lvalue, a
// label, a chain of cases ...), every opcode has a row that says where it may stand, what its operands are and
// which types they must have; a walk from the root hands the expectation down. So the passes may rely on: each
// node has exactly its operands; control stands at the root only; labels, cases, fields, argument lists and
// initialiser marks stand only where they mean something; NAMEs have symbols; what is written to is an lvalue;
// what is dereferenced is a pointer; arithmetic has arithmetic operands. It does not check that types of operands
// agree with each other: mixed arithmetic is legal, the simplifier makes the casts explicit.
//
// expr_cleanup rewrites bottom up: enum types give way to their integers, file-only opcodes go, arguments get their
// ACONVs, built-ins without a descriptor become true calls and the others get the implicit state as an argument. What it
// makes has the scope of what it stands for; pointers that are named get their restrict entries.
//
// Both walk with a stack of their own: a tree may be as deep as memory allows.
#pragma once

#include <string>

#include "OPT5/fwd.h"

// What a tree is read for.
enum TREE_USE {
    TREE_STATEMENT,   // a statement of a function body
    TREE_CLEANUP,     // the tree of a cleanup entry of an exception table: an expression for its effect
    TREE_INITIALISER, // an element of a static initialiser
};

// What is wrong with a tree in file form, as text without newline; empty when nothing is. `calls_name_eht`, if
// given, is set when some call names an entry of the exception table.
std::string check_statement_tree(const NODE *tree, TREE_USE use, bool *calls_name_eht = nullptr);

// The internal form of a checked statement of the current function; the root may change. The nodes are reused.
NODE *expr_cleanup(NODE *tree);

// The integer type that stands for an enum type, as qualified as that.
TYPE *integer_for_enum(TYPE *type);

// A copy of an initialiser element in internal form, as far as initialisers need it: PMCONV becomes MULT.
NODE *copy_initialiser_value(const NODE *tree);

// Takes the implicit state off the argument lists of a tree again (MCALL of it alone becomes UMCALL).
NODE *remove_implicit_state(NODE *tree);
