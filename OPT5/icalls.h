// Calls of built-ins in trees: recognising them, and the simplifiers that most of the descriptors name.
//
// A simplifier is the `simp` of a descriptor and gets calls whose operands are simplified already. It gives the tree
// to store in the call's place; what it leaves out is erased, but operands with side effects are never left out.
// Files may hold a call of a known name with other operands than the descriptor has, so each simplifier looks at
// what it was given and leaves alone what does not fit.
//
// Two ICALLs are assertions about the loop optimizer's world: SYM_IS_AFFINE_IV says that a symbol is an induction
// variable that does not wrap, ANTIALIASED that two pointers lead to different memory.
#pragma once

#include <vector>

#include "OPT5/fwd.h"

// --- recognising ---

// An ICALL of that name with that many operands.
bool is_ICALL_callee(const NODE *, const char *name, int nargs);
// Undoes a call of the ICALL family: erases it and the COMMAs of its list, and gives the operands, which are the
// caller's now.
std::vector<NODE *> dissolve_call(NODE *call);

// --- simplifying ---

// By the descriptor of an ICALL; any other tree comes back as it is.
NODE *simp_ICALL(NODE *tree, struct LOOP *loop);
NODE *simp_DONOTCSE_ICALL(NODE *tree, struct LOOP *loop);
NODE *simp_NONALIGN_ICALL(NODE *tree, struct LOOP *loop);
NODE *simp_ALIGNED_ICALL(NODE *tree, struct LOOP *loop);
NODE *simp_ITOD_ICALL(NODE *tree, struct LOOP *loop);
NODE *simp_ITOLL_ICALL(NODE *tree, struct LOOP *loop);
NODE *simp_HI_LO_ICALL(NODE *tree, struct LOOP *loop);
NODE *simp_builtin_expect_ICALL(NODE *tree, struct LOOP *loop);

// Nothing is substituted on this target.
NODE *subst_ICALLs_in_tree(NODE *tree, int, int);

// --- assertions ---

NODE *make_AFFINE_IV_sym_ICALL(SYMTAB *symbol);
// `symbol` null: of any symbol.
bool is_AFFINE_IV_sym_ICALL(const NODE *, const SYMTAB *symbol);
NODE *make_ANTIALIASED_ICALL(NODE *p, NODE *q);
bool is_ANTIALIASED_ICALL(const NODE *);

// --- types, for calls as files hold them; each gives the tree to store in the node's place ---

// Brings the type of a call, or those of its operands, to what the descriptor or the declaration says.
NODE *fix_BIF_types(NODE *);
// The operands of __pack take the type of their share of the vector.
NODE *fix_pack_types(NODE *);
