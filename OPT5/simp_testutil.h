// What the condition rules share: taking trees apart, putting constants and effects together, and the meaning of an
// integer comparison.
//
// A comparison looks at its operands as words of 32 bits, or of 64 when an operand has that many: each value is extended
// by the sign of its own type, cut to the word, and the opcode says whether the words are read as signed or unsigned
// numbers. TEST_DOMAIN is that word; what an operand is worth in it is its seen value. Rules that move constants
// calculate with seen values, so that an unsigned operand under a signed opcode needs no case of its own.
#pragma once

#include "OPT5/fwd.h"
#include "OPT5/tree.h"
#include "support/xint.h"

// --- kinds of types ---
inline bool is_integer_type(const TYPE *type) { return type->is_integral() || type->is_enum(); }
inline bool is_word_type(const TYPE *type) { return is_integer_type(type) || type->is_ptr(); }
inline bool is_integer_test(int op) { return op >= EQ && op <= UGT; }
inline bool is_order_test(int op) { return op >= LE && op <= UGT; }
inline bool is_equality_test(int op) { return op == EQ || op == NEQ; }
inline bool is_unsigned_test(int op) { return op >= ULE && op <= UGT; }

// --- constants ---
inline bool is_ICON(const NODE *n) { return n->op == ICON; }
inline bool is_ICON(const NODE *n, long long value) { return n->op == ICON && n->u.lval == INT65(value); }
// 0, or the null pointer made from it.
bool is_zero_constant(const NODE *n);

// --- taking apart; the rest of the node is erased ---
NODE *take_left(NODE *n);
NODE *take_right(NODE *n);
// An operand in exchange for nothing: the node keeps a null.
inline NODE *detach(NODE *&place) {
    NODE *n = place;
    place = nullptr;
    return n;
}

// --- putting together ---
// The tree as a value of the type; a conversion that is needed is simplified.
NODE *as_type(TYPE *type, NODE *tree, struct LOOP *loop);
// What must still run of `gone`, then the value. Takes both.
NODE *effects_then(NODE *gone, NODE *value, struct LOOP *loop);
// The constant 0 or 1 of type int, behind what must still run of the tree.
NODE *decided(NODE *tree, bool truth, struct LOOP *loop);
// A comparison with integer 0, of type int; takes the tree.
NODE *mk_test(int op, NODE *left, NODE *right);
// x == 0 or x != 0 for any scalar x: FEQ or FNEQN for a float.
NODE *mk_zero_test(bool equal, NODE *x);
// Through conversions that keep every value of what they convert, integers only.
const NODE *strip_value_keeping(const NODE *n);
// Whether each value of `from` is one of `to`; integers only.
bool type_holds_type(const TYPE *to, const TYPE *from);

// --- bit-fields ---
bool is_bit_field(const NODE *lvalue);
// What an assignment of the value to the integer lvalue leaves there.
INT65 stored_value(INT65 v, const NODE *lvalue);

// --- comparisons ---
struct TEST_DOMAIN {
    int bits;         // 32 or 64
    bool is_unsigned; // EQ and NEQ: false
};
TEST_DOMAIN domain_of_test(const NODE *test);
// A value of an integer as the comparison reads it.
INT65 seen_value(INT65 v, TEST_DOMAIN d);
// The constant that is seen as the value: of the type `like` where that can be, else of one of the domain's width.
NODE *mk_seen_ICON(INT65 seen, TYPE *like, TEST_DOMAIN d);
// All seen values of an operand: bounds, both inclusive.
struct SEEN_RANGE {
    INT65 low, high;
};
SEEN_RANGE seen_range(const NODE *operand, TEST_DOMAIN d, struct LOOP *loop);
// Whether the seen values of the type are its values: the comparison orders them as numbers.
bool test_is_natural(const TYPE *type, TEST_DOMAIN d, int op);
// Whether a relation holds between two numbers; the sign of the opcode does not matter.
bool relation_holds(int op, INT65 a, INT65 b);
