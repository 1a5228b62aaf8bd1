// Transformations of passes: counted, listed with the rules, and stopped one by one.
//
// A pass asks before it changes something, once all conditions hold:
//
//     if (!TRANSFORM("simpcfg", "a jump to a jump goes where that goes")) return;
//
// "debug:limit_simpcfg=N" lets the first N transformations of that pass happen in the whole run and refuses the rest
// (-1: all of them), so that halving finds the one that breaks a program. Each transformation is a rule too
// (OPT5/rules): it is counted, stands in the list of those that never fired, and obeys "debug:limit_rules".
//
// What is refused must leave the program as it was, so the question comes before the first change and before anything
// is computed for it alone. A step that later code counts on, such as removing blocks that nothing leads to, is no
// transformation in this sense and does not ask.
#pragma once

#include "OPT5/rules.h"

// Counts one transformation of the pass; false when its limit is reached. PASS, a word, is not copied.
bool pass_may_transform(const char *pass);

// Starts counting afresh; for a new run in the same process.
void init_pass_limits();

#define TRANSFORM(pass, text) (pass_may_transform(pass) && RULE(pass ": " text))
