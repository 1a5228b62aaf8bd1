// What is assumed about the file as a whole: who may call its functions and write its variables from outside.
//
// The call assumptions of the command line (program_mode) hold from optimization level 3 on; below it everything may
// happen. fileinfo is the record of the pseudo function that stands for all code outside.
#pragma once

#include "OPT5/fwd.h"

extern bool no_outside_callers; // no function of the file is called from outside, unless it is an entry
extern bool no_outside_writers; // no variable of the file is written from outside
extern bool whole_program;      // both, by the mode for whole programs
extern FUNINFO *fileinfo;

// Settles the assumptions, makes fileinfo and chooses the inlining policy. Once, after the options are settled.
void init_fileopts();
