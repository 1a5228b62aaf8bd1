// The run: open, read, schedule, finish, close.
//
// Every function gets its own copy of the active pass list with the pass "output function" at its end. A sweep walks
// all functions and runs each up to its next barrier pass; then the barrier runs once for the whole program, without
// current function; and so on until no function has a pass left. A barrier may leave `functions` in another order or
// shorter; a function that it drops is not visited again, and its body is not written.
//
// The output step writes a function and releases its memory, so that only the functions ahead of it are held.
// What is left at the end is what belongs to no function: policies and initialisers of the global symbols.
//
// A function's copy of the list is its position in the common list: nothing but the schedule itself changes it.
#pragma once

// The whole run; gives the exit status of a completed one. Failures end the process.
int optimizer_main(int argc, char **argv);

// The pass "output function", for the current function, which is not current any more afterwards.
void output_function();

// Storage class, policy and initialiser of every global symbol, once no function is left.
void finalize_symbols();
