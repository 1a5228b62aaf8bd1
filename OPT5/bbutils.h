// Questions about trees, statements and blocks that every pass asks, and the small rewritings they share.
//
// Nothing here keeps state. Walks go by treewalk, so the depth of a tree does not matter; every function is linear
// in the size of what it is given, unless it says otherwise. Null trees are accepted and have no properties.
// Answers are one-sided where a question can't be decided: "side effects", "may modify" and "not constant" are
// the safe ones.
//
// What a pass may delete, move or repeat is decided by two questions: tree_has_side_effects (its evaluation may be
// dropped or repeated) and whether its operands keep their values (tree_modifies_lvalue_in_tree for what lies
// between). expr_is_constant says that a tree has one value throughout the function.
//
// An argument prolog is the statement at a function's entry that moves parameters (level 1) into the locals of
// the same names (level 2) that the body uses: ASG(NAME, NAME), several of them in a chain of PCOMMA.
#pragma once

#include <vector>

#include "OPT5/fwd.h"
#include "OPT5/tree.h"

// --- evaluation ---
bool tree_has_side_effects(const NODE *tree);
bool expr_is_constant(const NODE *tree);
// Means the same in every function of the program: made of constants, addresses of globals and immutable globals.
bool expr_is_globally_evaluable(const NODE *tree);
bool tree_is_ASM_comment(const NODE *tree);

// --- argument prologs ---
bool tree_is_arg_prolog(const NODE *tree);
// Also a PCOMMA chain in which some locals start from other values than a parameter.
bool tree_is_extended_arg_prolog(const NODE *tree);
bool stmt_is_arg_prolog(const LIST *stmt);
// Through the prolog of the current function: the parameter that a local takes its value from, the local that a
// parameter's value goes to. Null when there is none; a parameter maps to itself.
SYMTAB *map_sym_to_parm(const SYMTAB *local);
SYMTAB *map_parm_to_sym(const SYMTAB *parm);
// Some UAND or ARGREF in the tree is of a parameter or of the local that stands for one.
bool tree_addresses_an_argument(const NODE *tree);
// A dereference of a parameter of reference type.
bool lvalue_is_a_ref_parm(const NODE *lvalue);

// --- what occurs where ---
bool opcode_is_ASG(int op); // ASG, STASG, ARASG, the op-assignments, PLUSPLUS, MINMIN
bool tree_references_NAME(const NODE *tree, const NODE *name);
bool sym_appears_in_tree(const SYMTAB *symbol, const NODE *tree);
bool sym_appears_in_list(const SYMTAB *symbol, const LIST *list);
bool sym_appears_in_bb(const SYMTAB *symbol, const BBLK *bb);
bool tree_contains_op(const NODE *tree, int op);
bool tree_has_DDNODE_subtrees(const NODE *tree);
// Congruent to `tree` or a part of it; costs the product of the sizes at worst.
bool tree_is_subtree_of_tree(const NODE *sub, const NODE *tree);
// The same, in a place that is evaluated whenever `tree` is: not behind &&, || or in an arm of ?:.
bool tree_is_strict_subtree_of_tree(const NODE *sub, const NODE *tree);

// `skip_trivial` leaves out leaves and the argument that stands for the implicit state of an MCALL;
// `skip_duplicates` what a CSE_DUPE stands for.
int count_nodes_in_tree(const NODE *tree, bool skip_trivial = false, bool skip_duplicates = false);
int count_lvalues_in_tree(const NODE *lvalue, const NODE *tree); // occurrences congruent to `lvalue`
int count_calls_in_tree(const NODE *tree);                       // CALL and UCALL

// --- what changes what ---
// Evaluating `modifier`, or a statement of the block, may change an lvalue that `tree` reads.
bool tree_modifies_lvalue_in_tree(const NODE *modifier, const NODE *tree);
bool bb_modifies_lvalue_in_tree(const BBLK *bb, const NODE *tree);

// --- addresses ---
const NODE *strip_STDOTs(const NODE *lvalue); // the base of a STDOT chain
// Through PCONV, ISP2CHAR, OUIALIGN, NONALIGN and IDENTITY.
const NODE *strip_pointer_wrappers(const NODE *pointer);
// Sum of the constant terms of a pointer expression, in bytes, offsets of fields under UAND included.
INT65 total_pointer_offset_value(const NODE *pointer);
// The same for an lvalue: bytes from the pointer or object that it is based on.
INT65 byte_offset_on_indirection(const NODE *lvalue);
// The address of one object or string, plus a constant.
bool pointer_is_an_adcon(const NODE *pointer);
// A weak symbol that nothing defines has the null address.
bool symbol_is_weak(const SYMTAB *);
// A sum with the address of an object in it, which makes it non-null; a weak symbol may have no object.
bool pointer_contains_adcon_term(const NODE *pointer);
// Whether an access to the lvalue may assume that many bits of alignment.
bool is_lvalue_sufficiently_aligned(const NODE *lvalue, unsigned bits);

// --- calls ---
SYMTAB *get_callee_for_call(const NODE *call); // of a direct CALL or UCALL, else null
NODE *get_arguments_to_call(const NODE *call); // the argument list of any call, null without arguments

// --- rewriting in place; each gives the tree to store in the old one's place ---
NODE *expunge_IDENTITY_ops_from_tree(NODE *tree);
void subst_sym_for_sym_in_tree(SYMTAB *from, SYMTAB *to, NODE *tree);
void subst_sym_pairs_in_tree(const SYMPAIRLIST *pairs, NODE *tree); // a becomes b
// A copy of `replacement` for each read of `lvalue`; assigned and addressed places stay.
NODE *subst_tree_for_lvalue_in_tree(const NODE *replacement, const NODE *lvalue, NODE *tree);
// The constant for each occurrence of `for_tree` (this node, or congruent), then simplified.
NODE *simp_subst_icon(INT65 value, TYPE *type, NODE *within, const NODE *for_tree);
// x = x op y  ->  x op= y. Unchanged where the two differ, or when the right side has no such form.
NODE *ASG_to_opASG(NODE *tree);
// x op= y  ->  x = x op y. Unchanged for a DDNODE, or when evaluating x twice would repeat an effect other than
// the volatile access itself.
NODE *opASG_to_ASG(NODE *tree);

// --- statements ---
// `before` null: at the end. A statement that is not in the block is an internal error.
void insert_stmt_before_stmt_in_bb(LIST *stmt, LIST *before, BBLK *bb);
// Splits (a, b) at the root, and under the controlling operand of IF, SWITCH and RETURN and on the right of a
// root assignment, which is evaluated first. Gives the new head.
LIST *promote_toplevel_COMMAOPs_in_list(LIST *list);
