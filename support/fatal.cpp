#include "support/fatal.h"

#include "support/dbgout.h"
#include "support/register_option.h"

#include <cstdio>
#include <cstdlib>

namespace {

register_option abort_switch("debug:abort");

void (*fatal_closer)();
fatal_place (*fatal_describer)();

} // namespace

void register_fatal_closer(void (*closer)()) { fatal_closer = closer; }
void register_fatal_describer(fatal_place (*describer)()) { fatal_describer = describer; }

void run_closing_hooks() {
    // Taken off before it runs: closing may itself fail and end up here again.
    if (auto closer = fatal_closer) {
        fatal_closer = nullptr;
        closer();
    }
}

void abort_optimizer() { abort_optimizer(nullptr); }

void abort_optimizer(const char *message) {
    // Asked first, and copied: what is closed next may own the texts. No allocation, memory may be what is missing.
    static char function[1024], file[1024];
    if (auto describer = fatal_describer) {
        fatal_describer = nullptr;
        fatal_place place = describer();
        if (place.function) snprintf(function, sizeof function, "%s", place.function);
        if (place.function && place.file) snprintf(file, sizeof file, "%s", place.file);
    }
    run_closing_hooks();

    if (print_debug && fdebug) {
        FILE *stream = fdebug;
        fdebug = nullptr;
        fprintf(stream, "\n>>>> Optimizer terminated abnormally.\n");
        if (message) fprintf(stream, "\n>>>> %s.\n", message);
        if (stream != stderr) fclose(stream);
    }

    fprintf(stderr, "\n>>>> Optimizer terminated abnormally\n");
    if (function[0]) fprintf(stderr, ">>>>    in function %s()\n", function);
    if (file[0]) fprintf(stderr, ">>>>    in file \"%s\"\n", file);
    if (message) fprintf(stderr, "\n>>>> %s.\n", message);
    fputs(support_message_text(), stderr);

    if (abort_switch) abort();
    exit(1);
}

void optassert(const char *expression, const char *file, int line) {
    if (abort_switch) fprintf(stderr, "%s:%d: %s\n", file, line, expression);
    abort_optimizer();
}

const char *support_message_text() {
    return "\n"
           "This stop was caused by a defect in the optimizer, not by your program.\n"
           "Please report it together with a complete, reproducible test case:\n"
           "the preprocessed source or the intermediate file, and all command-line\n"
           "options that were in effect.\n"
           "\n";
}
