// Interprocedural constant propagation: parameters that every call site gives the same value.
//
// The propagation works on the call graph with value sets for actual and formal parameters; beta_parms and
// beta_convert (OPT5/beta) then change functions and calls.
//
// Not active yet: leaves the program as it is.
#pragma once

// Notes the jump functions of the calls in the current function, when it has been read.
void init_ipcp_for_fun();

// Propagates values into parameters. Without current function.
void do_interprocedural_propagation();
