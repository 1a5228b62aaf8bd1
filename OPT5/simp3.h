// Conditions: logical operators, conditional expressions, branches; trees of which only the truth matters.
#pragma once

#include <map>

#include "OPT5/fwd.h"
#include "support/xint.h"

// A tree with the same truth (zero or not) as the given one, not the same value.
NODE *simp_for_control(NODE *tree, struct LOOP *loop);
// A tree equal to `tree` != 0, with value 0 or 1.
NODE *make_boolean(NODE *tree, struct LOOP *loop);
// The logical negation; nothing is simplified. Takes the tree.
NODE *invert_boolean_tree(NODE *tree);
// A comparison that a change of its opcode negates.
bool tree_is_trivially_invertible(const NODE *tree);

// Whether the value is always 0 or 1.
bool returns_1_or_0(const NODE *tree);
bool type_returns_1_or_0(const TYPE *type);

NODE *simp_ANDAND(NODE *node, struct LOOP *loop);
NODE *simp_OROR(NODE *node, struct LOOP *loop);
// Without the short circuit, where the right side may be evaluated whatever the left one gives.
NODE *simp_ANDOR_ANDOR(NODE *node, struct LOOP *loop);
NODE *simp_EXCLAIM(NODE *node, struct LOOP *loop);
NODE *simp_QUEST(NODE *node, struct LOOP *loop);
NODE *simp_CBRANCH(NODE *node, struct LOOP *loop);
NODE *simp_IF(NODE *node, struct LOOP *loop);
NODE *simp_SWITCH(NODE *node, struct LOOP *loop);

// Two tests of the same operands under one operator: (min(op1, op2) << 8 | max(op1, op2)) gives the opcode of the one
// test that equals both, or COMBO_FALSE, COMBO_TRUE. The maps are filled when they are first used.
constexpr int COMBO_FALSE = 0x10000, COMBO_TRUE = 0x10001;
extern std::map<int, int> andb_combo_map, ORB_combo_map;
void init_andb_combo_map(std::map<int, int> &);
void init_ORB_combo_map(std::map<int, int> &);
NODE *simp_redundant_test(NODE *node, std::map<int, int> &combos, void (*init)(std::map<int, int> &));
