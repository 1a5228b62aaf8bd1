// What the rules of the simplifier ask about the shape of a tree, and how they take it apart.
//
// A ring is the integers modulo a power of two: in a sum, a product or a mask of n bits only the low n bits of the
// operands count, so operators of one size may be exchanged, grouped and distributed whatever their signs are. Most
// rules of sums and products ask that all nodes which they move are of one ring. Booleans are of none, since a
// conversion to them is no truncation. Quotients, right shifts and comparisons need equal signs too: same_numbers.
//
// Order of evaluation is left before right. A rule that exchanges two trees asks may_exchange, one that evaluates a
// tree once instead of twice asks that what runs in between is free of effects. Both walk at most EFFECT_WALK_CAP
// nodes, so that the rules stay linear on long chains; beyond it the answer is the safe one.
#pragma once

#include "OPT5/fwd.h"
#include "OPT5/tree.h"
#include "support/xint.h"
#include "typepkg/type_pkg.h"

// What a rule did: nothing; changed the node, whose worker looks at it again; made the tree that is the result, which is
// simplified.
enum STEP { NO_STEP, AGAIN, DONE };

constexpr int EFFECT_WALK_CAP = 256;
extern unsigned effect_walk_cap_hits;

inline bool is_int_type(const TYPE *t) { return t && (t->is_integral() || t->is_enum()); }
inline bool is_ring_type(const TYPE *t) { return t && ((is_int_type(t) && !t->is_bool()) || t->is_ptr()); }
inline bool same_ring(const TYPE *a, const TYPE *b) {
    return is_ring_type(a) && is_ring_type(b) && a->size == b->size;
}
// Of one ring, and of one sign; a pointer is unsigned.
bool same_numbers(const TYPE *a, const TYPE *b);

inline bool is_icon(const NODE *n) { return n->op == ICON; }
inline bool is_icon_of(const NODE *n, INT65 value) { return n->op == ICON && n->u.lval == value; }
inline bool is_constant_leaf(const NODE *n) { return n->op == ICON || n->op == FCON || n->op == LCON; }
inline bool is_leaf(const NODE *n) { return !n->left && !n->right; }
// &name
bool is_address_of_name(const NODE *n);
// A field that is less than a whole object.
bool is_bitfield(const NODE *lvalue);

// The operator over an ICON of 2^k in a product, or of k in a left shift: k, else -1. The type of the node must be of a
// ring, and k less than its size.
int scale_of(const NODE *n);

// The integer type in which an offset of a sum of this type counts: int for a pointer.
TYPE *offset_type(TYPE *);
// An ICON of the value, truncated to the type (int for a pointer).
NODE *new_ICON(INT65 value, TYPE *, LS *scope);

bool is_free_of_effects(const NODE *);
bool may_exchange(const NODE *a, const NODE *b);

// The tree as a value of the type: under a new, simplified conversion where the types differ.
NODE *in_type(TYPE *, NODE *, struct LOOP *);
// Takes out one operand and erases the rest of the node.
NODE *keep_left(NODE *);
NODE *keep_right(NODE *);
// `dropped` for its effects, then `value`.
NODE *value_after_effects(NODE *dropped, NODE *value, struct LOOP *);
// Evaluates both operands of `node` for their effects and gives a constant of the node's type.
NODE *constant_after_operands(NODE *node, INT65 value, struct LOOP *);
// A node of that operator, simplified.
NODE *simp_new(int op, NODE *left, NODE *right, TYPE *, LS *, struct LOOP *);
