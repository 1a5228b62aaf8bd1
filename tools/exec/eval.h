// Evaluators: which function evaluates a node of an opcode and kind. All take their operands from n->a and n->b and
// never check types again; compile.cpp picks them. Integers wrap, shifts by the width or more give 0 or the sign,
// float to integer saturates and NaN gives 0 as the target's instructions do.
#pragma once

#include "tools/exec/interp.h"

enum ADDRESSING : uint8_t { AM_FRAME, AM_ABS, AM_DYN }; // host + imm; guest imm; value of n->a + imm, checked

EVAL eval_load(SK k, ADDRESSING am, bool is_volatile);
EVAL eval_store(SK k, ADDRESSING am, bool is_volatile); // value from n->b
EVAL eval_op_store(int op, SK k, ADDRESSING am);        // n->b op-assigned; op the plain operator
EVAL eval_post_step(SK k, ADDRESSING am, bool minus);   // old value; amount from n->b
EVAL eval_bits_load(ADDRESSING am);                     // bit-field: shift, imm2 width, kind
EVAL eval_bits_store(ADDRESSING am);                    // yields the stored value
EVAL eval_bits_op_store(ADDRESSING am);                 // extra: the operator's XN over two pseudo operands
EVAL eval_address(ADDRESSING am);
EVAL eval_binary(int op, SK k);  // null: no such operation
EVAL eval_compare(int op, SK k); // k the kind of the operands
EVAL eval_unary(int op, SK k);
EVAL eval_convert(SK to, SK from, bool to_bool);
EVAL eval_const();

// The operators on plain values, for op-assignments of bit-fields and the like.
uint64_t apply_binary(int op, SK k, uint64_t a, uint64_t b);
uint64_t convert_value(SK to, SK from, uint64_t v);
uint64_t load_scalar(SK k, uint32_t address);              // no check
void store_scalar(SK k, uint32_t address, uint64_t value); // no check
// Lanes of a wide value in memory order, host representation.
void load_wide(uint32_t address, unsigned bytes, unsigned lane, WIDE *out);
void store_wide(uint32_t address, unsigned bytes, unsigned lane, const WIDE *in);
