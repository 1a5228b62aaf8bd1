// Known bits: which bits of a tree are one in every value that it can have, which can be one at all.
//
// A set answers for the value as it is after conversion to the type that is asked for: one bit for each value bit of
// that type, 0 to size - 1, and nothing above. So a set is never negative, whatever the type's sign; that an ICON of a
// signed type holds -1 where the set of its bits is 0xFFFFFFFF is what truncate_to_type of a set gives.
//
//   find_known_ones(x, t)   are all in every value of x
//   find_known_zeros(x, t)  hold every bit that some value of x has; what is CLEAR in it is known to be zero, and 0
//                           means that x is always zero
//
// so that at all times (value & ones) == ones and (value & ~zeros) == 0, for the value modulo 2^size(t). When both are
// equal the value is known. The first is as unsigned number the least, the second the greatest that x can be; of a
// signed type this holds when the sign bit is known.
//
// Method: one walk computes both sets, in the type of each node: operands are converted to the type of their
// operator as evaluation does, the sign bit filling what a widening adds. Sums know their carries. Bounds (symbolic.h)
// narrow the operands of an ANDB. Integers, enums and pointers are looked at; of everything else nothing is known: no
// ones, and all bits of the type that is asked for (-1 when that one is no integer either).
//
// Cost: the walk is cut at KNOWN_BITS_DEPTH levels and after KNOWN_BITS_VISITS nodes, and asks for bounds
// KNOWN_BITS_BOUNDS times, never while it is itself asked by such a question.
#pragma once

#include "OPT5/fwd.h"
#include "support/xint.h"

constexpr int KNOWN_BITS_DEPTH = 8;
constexpr int KNOWN_BITS_VISITS = 128; // nodes that one question may look at
constexpr int KNOWN_BITS_BOUNDS = 2;   // operands whose bounds one question may ask for
extern unsigned known_bits_depth_hits, known_bits_visit_hits;

INT65 find_known_ones(const NODE *tree, TYPE *type);
INT65 find_known_zeros(const NODE *tree, TYPE *type);
// Both, for the price of one.
struct KNOWN_BITS {
    INT65 ones, zeros;
};
KNOWN_BITS find_known_bits(const NODE *tree, TYPE *type);
// Of an ANDB chain, in its own type; bounds of the operands count too.
INT65 find_known_zeros_in_ANDB(const NODE *tree, struct LOOP *loop);
// Of any value between two bounds, both inclusive: the bits that can be one, and those that are. Bits of numbers, not of
// a type: negative where all numbers between negative bounds share the sign.
INT65 find_known_zeros_in_range(INT65 low, INT65 high);
INT65 find_known_ones_in_range(INT65 low, INT65 high);
