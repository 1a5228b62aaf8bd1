// Interprocedural metavalues: what is known of formal parameters over all calls.
//
// Each call site gives a jump function for each argument; a worklist of formals runs to a fixed point over the
// call graph. Not active yet: do_IP_MVP stays off.
#pragma once

// Whether metavalues are propagated between functions.
extern bool do_IP_MVP;

// Notes formals and jump functions of the function that was just read.
void init_IP_MVP_for_current_function();

// Turns the values of the current function's formals into assertions.
void add_MVP_IP_global_assertions();
