#include "OPT5/globalsyms.h"

#include <cstring>

#include "OPT5/fileopt.h"
#include "OPT5/flags.h"
#include "OPT5/symtab.h"
#include "support/dbgout.h"

// Without call assumptions from the user, the whole program is in the file only if the analysis shows it. As long as
// nothing is analysed it does not.
void analyze_global_symbols() {
    if (program_mode >= 0) return;
    dprintf("\n>>>> WARNING: Reverting to -op0!\n\n");
    whole_program = no_outside_writers = no_outside_callers = false;
}

bool fun_is_cpp_static_initializer(const SYMTAB *function) {
    const char *name = function ? skip_name_prefix(function->name) : nullptr;
    return name && strncmp(name, "__sti__", 7) == 0;
}
