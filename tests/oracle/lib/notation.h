// Trees from text, with holes, for tables of rewriting rules.
//
// The text is a C expression over one type T, which a table runs over all integer types:
//
//   x y z       a variable of T, or sometimes a random tree of it without effects
//   w           a variable of T that may be assigned, u v volatile ones; n a small int
//   p q         pointers to T; *p; s.a s.bit r->a members of a record and through a pointer to it; ar an int array
//   c d e       constants of T where arithmetic turns over; m of the form 2^k - 1; t a power of two
//   k l         constant counts, int, from 0 to the width - 1
//   f(x) g(x)   calls: pure, and with effects
//   abs(x)      the operator, also sqr(x); qc(a, x, y) the conditional that evaluates all three
//   assert(x)   an assertion that x is not zero
//   _ssub(x, y) any built-in of ints that has a model
//   pm(x)       the bytes of x elements of 4 bytes, pv(p - q) the elements between two pointers
//   {c - 1}     what is in braces must be constant and is computed
//   (U)x        casts: T itself, U and S of other signedness (unsigned, signed), W and H twice and half as wide, and
//               i8 u8 ... u64 bool f32 f64; P and R make a pointer to T and to the record
//   1.5         a floating constant, where T is a floating type
//   x@u8        a variable of another type, and 3@u8 a constant
//   < <= ...    by the type of the operands: signed, unsigned (32 bits and more) or floating
//
// A letter for a constant has one value in the whole text. Operands of different types are brought together as C does;
// a literal takes the type of its neighbour. Operators are nodes of T itself: nothing is promoted.
#pragma once

#include <string>

#include "tests/oracle/lib/generate.h"

// A tree with the holes filled. A text that can't be read ends the program with a message; null when the text has
// no meaning for T (W of a 64-bit type, H of an 8-bit one).
// `holes`: percent of x, y, z that become trees, of `depth` levels.
NODE *tree_from_notation(const std::string &text, TYPE *type, RANDOM &random, unsigned holes = 0,
                         int depth = 2);
