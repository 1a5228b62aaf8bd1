// Multiplies of 16-bit halves and of words into double words.
//
// _smulbb and its siblings multiply signed 16-bit halves of two words, b and t in the name saying for each operand
// whether it is the bottom or the top half. _smull and _umull multiply words to 64 bits. The instructions exist from
// version 5 on, in ARM and Thumb-2 code but on one microcontroller; where they do not, calls that a program wrote
// are still folded, but none is made and no name is exchanged.
//
// map_16x16_MULT_to_ICALL goes the other way: a product of ints whose factors are known to be shorts becomes a
// _smulbb, which is faster on processors whose multiplier ends early.
#pragma once

#include "OPT5/fwd.h"

// Whether the target has the multiplies of halves, in the code state of the current function.
bool target_has_16x16_MULT();
// The name of the multiply, null where the instruction set has none (the unsigned ones). Only on a target that has
// them.
const char *name_16x16_MULT(bool top1, bool unsigned1, bool top2, bool unsigned2);
// Whether the name is one of them, on a target that has them; gives the selectors.
bool name_is_16x16_MULT(const char *name, bool *top1, bool *unsigned1, bool *top2, bool *unsigned2);

// How an operand of a product goes into a 16-bit multiply: as a signed short, as an unsigned one, or not at all.
enum OPERAND_16x16 { OPERAND_16_SIGNED = 0, OPERAND_16_UNSIGNED = 1, OPERAND_NOT_16 = 2 };
// `bits`: the caller knows that the operand's values are `bits`-bit numbers of its type's sign; 32 knows nothing.
// *shift: how far an ICON has to be shifted right first, else 0.
OPERAND_16x16 classify_16x16_operand(NODE *operand, struct LOOP *loop, int *shift, int bits);
// A MULT as a _smulbb, where both operands are OPERAND_16_SIGNED; else the tree as it is.
NODE *map_16x16_MULT_to_ICALL(NODE *tree, struct LOOP *loop, int bits);

// Simplifiers of the calls, see icalls.h.
NODE *simp_MPY_ICALL(NODE *tree, struct LOOP *loop);
NODE *simp_MPY_32_32_64_ICALL(NODE *tree, struct LOOP *loop);
