// The ways out when the optimizer itself is at fault.
//
// abort_optimizer is the only exit for an internal contradiction. It closes what is open, removes the output
// file so that no later stage picks up half a program, tells the user which function was in work, asks for a
// test case and exits with status 1. optassert is the same behind a condition; QL_ASSERT states the sentence
// that must hold.
//
// This file sits at the bottom of the program and knows neither intermediate files nor functions. Those who do
// register two hooks: one closes and removes files, the other names the function in work. A hook that fails
// and comes back here does not run a second time.
//
// "debug:abort" makes the last step abort() instead of exit(1), to keep the stack for a debugger; the failed
// assertion is then named on standard error as well.
#ifndef SUPPORT_FATAL_H
#define SUPPORT_FATAL_H

[[noreturn]] void abort_optimizer();

// MESSAGE goes to the debug stream and to standard error; null is the same as the form without one.
[[noreturn]] void abort_optimizer(const char *message);

// EXPRESSION is what should have held; FILE and LINE say where.
[[noreturn]] void optassert(const char *expression, const char *file, int line);

#define QL_ASSERT(e) (static_cast<bool>(e) ? static_cast<void>(0) : optassert(#e, __FILE__, __LINE__))

// The unit of work at the time of the failure. Null members are unknown.
struct fatal_place {
    const char *function = nullptr;
    const char *file = nullptr;
};

// CLOSER closes all intermediate files and removes the output file. Null unregisters.
void register_fatal_closer(void (*closer)());

// Runs the closer, once. For the other ways out with status 1: a type package that is at fault, a refused input.
void run_closing_hooks();

// DESCRIBER names the function in work. It is asked before anything is closed. Null unregisters.
void register_fatal_describer(fatal_place (*describer)());

// Asks the user for a reproducible test case: several lines, ending in a blank one. Never null.
const char *support_message_text();

#endif
