#include "support/dbgout.h"

#include "support/fatal.h"

#include <cstdarg>

FILE *fdebug;
FILE *finfo;
int print_debug;
int write_opt_info;

void write_debug_text(const char *format, ...) {
    if (!fdebug) return;
    va_list args;
    va_start(args, format);
    int written = vfprintf(fdebug, format, args);
    va_end(args);
    if (written < 0 || fflush(fdebug) != 0) {
        // The way out reports to fdebug as well, so the stream must be gone before it.
        fdebug = nullptr;
        print_debug = 0;
        optassert("debug output is written", __FILE__, __LINE__);
    }
}

void write_info_text(const char *format, ...) {
    if (!finfo) return;
    va_list args;
    va_start(args, format);
    vfprintf(finfo, format, args);
    va_end(args);
}
