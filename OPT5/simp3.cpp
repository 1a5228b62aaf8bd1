#include "OPT5/simp3.h"

#include "OPT5/congruent.h"
#include "OPT5/optab.h"
#include "OPT5/tree.h"
#include "OPT5/typefacts.h"

std::map<int, int> andb_combo_map, ORB_combo_map;
NODE *simp_for_control(NODE *tree, struct LOOP *) { return tree; }
NODE *make_boolean(NODE *tree, struct LOOP *) {
    if (returns_1_or_0(tree)) return tree;
    TYPE *type = tree->type;
    return maketree(type->is_fltpt() ? FNEQN : NEQ, tree, mk_ICON(INT65(0), tp->int_type()), tp->int_type(),
                    tree->scope);
}
NODE *invert_boolean_tree(NODE *tree) { return mk_EXCLAIM(tree); }
bool tree_is_trivially_invertible(const NODE *tree) { return boolean_inv[tree->op] != ILLOP; }
bool returns_1_or_0(const NODE *) { return false; }
bool type_returns_1_or_0(const TYPE *type) { return type->is_bool(); }
NODE *simp_ANDAND(NODE *node, struct LOOP *) { return node; }
NODE *simp_OROR(NODE *node, struct LOOP *) { return node; }
NODE *simp_ANDOR_ANDOR(NODE *node, struct LOOP *) { return node; }
NODE *simp_EXCLAIM(NODE *node, struct LOOP *) { return node; }
NODE *simp_QUEST(NODE *node, struct LOOP *) { return node; }
NODE *simp_CBRANCH(NODE *node, struct LOOP *) { return node; }
NODE *simp_IF(NODE *node, struct LOOP *) { return node; }
NODE *simp_SWITCH(NODE *node, struct LOOP *) { return node; }
void init_andb_combo_map(std::map<int, int> &) {}
void init_ORB_combo_map(std::map<int, int> &) {}
NODE *simp_redundant_test(NODE *node, std::map<int, int> &, void (*)(std::map<int, int> &)) { return node; }
