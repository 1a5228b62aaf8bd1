// Conditions: logical operators, conditional expressions, branches; trees of which only the truth matters.
//
// Where a tree is only tested, it may change its value as long as it stays zero or not zero: simp_for_control takes
// away conversions, tests for not zero, negations, and turns shifts and remainders into masks. What it gives may be
// narrower or a pointer; it is never put where the value counts. A short circuit goes where its right side may run
// anyway (simp_strict): || of values is |, && of values of one possible bit each is &.
//
// Canonical forms: tests for zero of both operands are one test of both ((a || b) == 0); a negated test is the
// inverse test, of floats the one that holds for unordered operands; x >= 0 ? a : b is x < 0 ? b : a. A condition
// that is decided is an ICON, behind the effects of what it was (COMMAOP).
//
// Limits. Walks into conditionals and for "always 0 or 1" are cut (the caps below), where the answer is the safe one.
#pragma once

#include <map>

#include "OPT5/fwd.h"
#include "support/xint.h"

constexpr unsigned BOOLEAN_WALK_CAP = 64; // nodes looked at for "0 or 1"; asked at each level of a tree
constexpr int CONTROL_DEPTH_CAP = 32;     // conditionals within conditionals that are looked into
constexpr int CONTROL_ROUNDS = 40; // rewrites of one tree; each makes it smaller or is the last of its kind
constexpr int SHORT_CIRCUIT_SPAN_CAP = 100; // nodes of an operand that may be joined; longer chains stay
extern unsigned boolean_walk_hits, control_depth_hits, short_circuit_hits;

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
