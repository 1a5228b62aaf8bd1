#include "OPT5/fileopt.h"

#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/inliner.h"

bool no_outside_callers;
bool no_outside_writers;
bool whole_program;
FUNINFO *fileinfo;

void init_fileopts() {
    // The size limit that automatic inlining has from level 3 on.
    constexpr int O3_AUTO_INLINE = 2000;

    // mode                  -1 (not given)  0   1   2   3
    // no outside callers          1         0   1   1   0
    // no outside writers          1         0   0   1   1
    if (opt_level() <= 2) program_mode = 0;
    no_outside_callers = program_mode != 0 && program_mode != 3;
    no_outside_writers = program_mode != 0 && program_mode != 1;
    whole_program = no_outside_callers && no_outside_writers;

    fileinfo = make_FUNINFO(" ? ");
    inliner_policy = program_mode == 1 || program_mode == 2 ? INLINER_5 : NEW_INLINER;
    default_o3_auto_inline = O3_AUTO_INLINE;
}
