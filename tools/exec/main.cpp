// qlrun: runs intermediate files.
//
//   qlrun [options] FILE.if... [-- ARGUMENT...]
//
// The exit status is that of the program; 120 a fault that the interpreter found, 124 a file that cannot be linked, 125
// a failure of the interpreter itself, 2 wrong usage.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <pthread.h>

#include "tools/exec/compile.h"
#include "tools/exec/library.h"

namespace {

void usage(FILE *to) {
    fputs("Usage: qlrun [options] FILE.if... [-- ARGUMENT...]\n"
          "Runs a program from its intermediate files, linked by name.\n"
          "  --counts=text|json   write what was executed: nodes, statements, loads, stores, calls, branches "
          "...\n"
          "  --counts-file=FILE   where to (default: standard error)\n"
          "  --check-records      the assertions of the file must hold\n"
          "  --check-init         a read of memory that nothing has written is a fault\n"
          "  --trace-volatile     list the volatile accesses in order on standard error\n"
          "  --endian=little|big  the byte order (default: as the first file's options say)\n"
          "  --help               this text\n"
          "Exit status: the program's; 120 a fault (told with function and position); 124 a symbol is "
          "missing or defined\n"
          "twice; 125 no resources; 2 wrong usage; 1 a file that is no valid intermediate file.\n",
          to);
}

struct SETTINGS {
    std::vector<const char *> files;
    std::vector<char *> arguments;
    const char *counts = nullptr, *counts_file = nullptr;
    int endian = -1;
};
SETTINGS settings;
int status;

bool starts(const char *a, const char *with, const char **rest) {
    size_t n = strlen(with);
    if (strncmp(a, with, n)) return false;
    *rest = a + n;
    return true;
}

void parse(int argc, char **argv) {
    int i = 1;
    const char *rest;
    for (; i < argc && strcmp(argv[i], "--"); i++) {
        const char *a = argv[i];
        if (!strcmp(a, "--help")) {
            usage(stdout);
            exit(0);
        } else if (starts(a, "--counts=", &rest)) settings.counts = rest;
        else if (starts(a, "--counts-file=", &rest)) settings.counts_file = rest;
        else if (!strcmp(a, "--check-records")) run_options.check_records = true;
        else if (!strcmp(a, "--check-init")) run_options.check_init = true;
        else if (!strcmp(a, "--trace-volatile")) run_options.trace_volatile = true;
        else if (!strcmp(a, "--endian=big")) settings.endian = 1;
        else if (!strcmp(a, "--endian=little")) settings.endian = 0;
        else if (a[0] == '-') {
            fprintf(stderr, "qlrun: unknown option %s\n", a);
            usage(stderr);
            exit(2);
        } else settings.files.push_back(a);
    }
    if (settings.files.empty() ||
        (settings.counts && strcmp(settings.counts, "text") && strcmp(settings.counts, "json"))) {
        usage(stderr);
        exit(2);
    }
    settings.arguments.push_back(const_cast<char *>(settings.files[0]));
    for (i++; i < argc; i++) settings.arguments.push_back(argv[i]);
}

void *run_files(void *) {
    for (const char *f : settings.files) program.models.push_back(read_model(f));
    run_options.big_endian = settings.endian >= 0 ? settings.endian : is_big_endian(*program.models[0]);
    mem.track_init = run_options.check_init;
    mem.reserve();
    link_program();
    status = run_program(int(settings.arguments.size()), settings.arguments.data(), nullptr);
    fflush(nullptr);
    if (settings.counts) {
        FILE *to = settings.counts_file ? fopen(settings.counts_file, "w") : stderr;
        if (!to) {
            fprintf(stderr, "qlrun: cannot write %s\n", settings.counts_file);
            status = 125;
        } else {
            write_counts(to, !strcmp(settings.counts, "json"));
            if (to != stderr) fclose(to);
        }
    }
    fflush(nullptr);
    _Exit(status);
}

void *run(void *) {
    try {
        return run_files(nullptr);
    } catch (const std::bad_alloc &) {
        fputs("qlrun: out of memory\n", stderr);
        _Exit(125);
    }
}

} // namespace

int main(int argc, char **argv) {
    parse(argc, argv);
    // Guest calls and deep trees recurse on the host: they get a stack that is reserved, not touched.
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstacksize(&attr, size_t(8) << 30);
    pthread_t thread;
    if (pthread_create(&thread, &attr, run, nullptr)) {
        fputs("qlrun: cannot start\n", stderr);
        return 125;
    }
    pthread_join(thread, nullptr);
    return status;
}
