// The opcode tables: arity, print precedence, side-effect class and the relations between operators. All code
// consults these arrays instead of testing opcodes one by one. init_opcode_tables fills them from the same rows
// that the file's table is derived from (ifile/opcodes.def), and cross-checks the two views.
//
// Relations hold ILLOP where there is none. Float comparisons are sets of four relation bits (E equal, L less,
// G greater, U unordered): folding two of them is an operation on sets.
#pragma once

#include <cstdint>

#include "ifile/opcodes.h"

constexpr int NO_OPERAND_COUNT = 255;

enum SIDE_EFFECT_CLASS : uint8_t { SE_NONE = 0, SE_WRITES_LEFT = 1, SE_CONTROL = 2, SE_ANYTHING = 255 };
enum FLOAT_MICRO_OP : uint8_t { MICRO_E = 1, MICRO_L = 2, MICRO_G = 4, MICRO_U = 8 };

extern const char *node_operator_name[N_OPCODES]; // "PLUS"; null for an unused id
extern uint8_t number_of_operands[N_OPCODES];     // 255: unused id or no fixed count
extern uint8_t op_OK_for_SP[N_OPCODES];
extern uint8_t precedence[N_OPCODES];
extern uint8_t side_effects[N_OPCODES]; // SIDE_EFFECT_CLASS

extern uint8_t op_of_opASG[N_OPCODES];           // PLUSASG -> PLUS ...
extern uint8_t opASG_of_op[N_OPCODES];           // the reverse
extern uint8_t boolean_result[N_OPCODES];        // 1: yields 0 or 1
extern uint8_t boolean_inv[N_OPCODES];           // logical negation
extern uint8_t commute_inv[N_OPCODES];           // operator with operands exchanged
extern uint8_t float_op_to_micro_ops[N_OPCODES]; // FEQ..FUNO to their bits, else 0
extern uint8_t float_micro_ops_to_op[16];        // ILLOP for 0 and 15

// Fills and cross-checks all tables; a mismatch prints its message and ends the run. Idempotent.
void init_opcode_tables();

// The short display form, padded to 8 characters ("LABELREF", "+       "), for debug printing only.
const char *opname(int op);

inline bool op_is_defined(int op) { return op >= 0 && op < N_OPCODES && node_operator_name[op]; }
inline bool op_is_commutative(int op) { return op != ILLOP && commute_inv[op] == op; }
inline bool op_is_comparison(int op) { return (op >= EQ && op <= UGT) || (op >= FEQ && op <= FUNO); }
inline bool op_is_float_comparison(int op) { return op >= FEQ && op <= FUNO; }
// PLUSASG, MINUSASG, ... SRLASG
inline bool op_is_opASG(int op) { return op_of_opASG[op] != ILLOP; }
// Any of the ICALL family.
inline bool op_is_icall(int op) { return op == ICALL || op == UICALL || op == MCALL || op == UMCALL; }
