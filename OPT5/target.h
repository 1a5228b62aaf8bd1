// What the machine independent passes ask about the ARM family: how far an address offset reaches, what an immediate
// can hold, whether a scale folds into an address, which version a text names.
//
// Three states of code differ: ARM (32-bit instructions), 16-bit Thumb, and Thumb-2; the state is a property of the
// current function (flags.h). Version codes are 0 (V4), 5, 6, 7, and the profiles of V7: 73, 734 (M), 74 (R), 78 (A).
//
// The answers are facts for cost and legality decisions, so where a rule is looser than one instruction of the state
// (an immediate that needs its complement), the code generator still has a form for it. Hooks that other targets of
// the passes need, and this one does not, are the empty functions at the end.
#pragma once

#include "OPT5/fwd.h"
#include "support/bitvec.h"
#include "support/xint.h"

extern int target_pointer_plus_offset_limit;  // bytes: largest constant offset of an address
extern int target_pointer_minus_offset_limit; // smallest, at most 0

// Replaces an unknown cpu_version by 0, with a warning, and sets the limits. At start-up.
void init_target();

// Whether an access of so many bits can scale an index by the factor in its address.
bool valid_scale_factor(INT65 factor, int bits);
// Whether an access can add the value (bytes) to its pointer. `size` is 2 or 4, the range of the offset field, or 1
// for "by the type". `flag`: the increment comes behind the access.
bool modifying_increment_is_valid(INT65 value, int size, TYPE *, long flag);
// Whether an access of that type reaches a constant offset (bytes). `flag`: the value's sign does not matter.
bool offset_is_in_range(INT65 offset, TYPE *, int flag);
// Whether the node is an ICON that an instruction can hold, or hold the complement of.
bool leaf_is_immediate(NODE *);
// Whether a jump to a block that holds only this statement is better replaced by a copy. `n`: nodes that the copy
// costs beside the statement.
bool ok_to_dupe_stmt(NODE *statement, int n);
// How often to unroll a loop of that body (its last statement is the loop's test) and that many trips: 1 for not.
int loop_unrolling_factor(LIST *statements, INT65 trips);
// Cost of an expression that stands for a division: bytes when size counts, else cycles.
unsigned cost_for_DIV_to_MULT_expr(NODE *);
// For a test of a field of bits the tree that is tested, for others the tree itself.
NODE *cpu_bit_test_subtree(NODE *);
// Numbers the register candidates of a chain of locals (class SC_REG_LOCAL2); gives the chain.
SYMTAB *sort_stack_variables(SYMTAB *);
// Other files tell which symbols are vector temporaries of the region in work.
void register_new_vector_temp_test(bool (*)(const SYMTAB *));

// Whether the current target is the one that a text like "v7a8_T2" names; abort for a text of no such form.
bool target_is_this_version(const char *text);
// Whether what holds on target b ("V7A...", "V6T2") may be used on target a; fatal for a text of no such form.
bool target_is_superset_of_target(const char *a, const char *b);

void add_reg_to_set(const SYMTAB *, BITVEC *);
void remove_reg_from_set(const SYMTAB *, BITVEC *);
void init_reg_defs(); // register definitions: this target has none

// No part in this target.
void reserve_global_register();
void find_target_conflicts(NODE *);
void mark_live_across_call(NODE *);
bool op_affects_RPTB_regs(NODE *); // false
void target_lra_uses(NODE *);
void target_lra_defs(NODE *);
void mark_incoming_arg_vars();
void mark_reg_preferences(NODE *);
void mark_outgoing_arg_vars(NODE *);
void copy_reg_preferences(SYMTAB *from, SYMTAB *to);
void wrapup_allocation();
