// Integration: the body of a function takes the place of a call.
//
// Positions of integrated statements keep the name of the function that they came from. Not active yet: no call is
// integrated.
#pragma once

// At the start of the run.
void init_proc_integration();

// Integrates the calls of the current function that were chosen for it.
void integrate_calls_in_function();

// In debug: the functions that positions refer to.
void dump_psnrefs();
