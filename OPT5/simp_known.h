// Known bits: which bits of a tree are one in every value that it can have, which can be one at all.
//
// A set has one bit for each value bit of the type. find_known_zeros gives the bits that CAN be one: what is clear in
// it is known to be zero, and an answer of 0 means that the tree is always zero. The walk is cut at
// KNOWN_BITS_DEPTH levels, where nothing is known; the answer for a type that is not integral is the same.
#pragma once

#include "OPT5/fwd.h"
#include "support/xint.h"

constexpr int KNOWN_BITS_DEPTH = 8;
extern unsigned known_bits_depth_hits;

INT65 find_known_ones(const NODE *tree, TYPE *type);
INT65 find_known_zeros(const NODE *tree, TYPE *type);
// Of an ANDB chain; bounds of the operands count too.
INT65 find_known_zeros_in_ANDB(const NODE *tree, struct LOOP *loop);
// Of any value between two bounds, both inclusive.
INT65 find_known_zeros_in_range(INT65 low, INT65 high);
INT65 find_known_ones_in_range(INT65 low, INT65 high);
