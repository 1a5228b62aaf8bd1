// qldump: an intermediate file as text, from which qlasm makes the same file again.
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "tools/text/dump.h"

namespace {

void usage(FILE *to) {
    fputs("Usage: qldump [options] FILE.if\n"
          "Writes an intermediate file as text. qlasm makes the file again from the text, byte for byte when "
          "the\n"
          "file is in the form that these tools write.\n"
          "  -o FILE.ift        write there (default: standard output)\n"
          "  --summary          instead: counts of functions, statements, nodes, types, symbols, bytes by "
          "area,\n"
          "                     and a table of the functions\n"
          "  --function NAME    only the functions of that name (this text alone makes no file)\n"
          "  --help             this text\n"
          "Exit status: 0; 1 the file can't be read, is malformed, has no such function, or the output can't "
          "be\n"
          "written; 2 wrong usage.\n",
          to);
}

struct SETTINGS {
    const char *input = nullptr, *output = nullptr, *function = nullptr;
    bool summary = false;
};

[[noreturn]] void misused(const char *what, const char *argument) {
    fprintf(stderr, "qldump: %s%s\n", what, argument);
    usage(stderr);
    exit(2);
}

SETTINGS parse(int argc, char **argv) {
    SETTINGS s;
    bool options_ended = false;
    for (int i = 1; i < argc; i++) {
        const char *a = argv[i];
        auto argument = [&]() -> const char * {
            if (i + 1 == argc) misused("an argument is missing behind ", a);
            return argv[++i];
        };
        if (options_ended || a[0] != '-') {
            if (s.input) misused("more than one file: ", a);
            s.input = a;
        } else if (!strcmp(a, "--")) options_ended = true;
        else if (!strcmp(a, "--help")) {
            usage(stdout);
            exit(0);
        } else if (!strcmp(a, "-o")) s.output = argument();
        else if (!strcmp(a, "--function")) s.function = argument();
        else if (!strncmp(a, "--function=", 11)) s.function = a + 11;
        else if (!strcmp(a, "--summary")) s.summary = true;
        else misused("unknown option ", a);
    }
    if (!s.input) misused("no file", "");
    return s;
}

} // namespace

int main(int argc, char **argv) {
    SETTINGS s = parse(argc, argv);
    TYPE_PKG::abi = 1; // what the names of the basic types mean in the text
    std::unique_ptr<MODEL> m = read_model(s.input);
    FILE *to = s.output ? fopen(s.output, "w") : stdout;
    if (!to) {
        fprintf(stderr, "%s: cannot open for writing: %s\n", s.output, strerror(errno));
        return 1;
    }
    bool found = true;
    if (s.summary) print_summary(*m, to);
    else if (s.function) found = DUMPER(*m, to).dump_functions_named(s.function);
    else DUMPER(*m, to).dump_file();
    bool failed = ferror(to);
    failed |= fflush(to) != 0;
    if (to != stdout) failed |= fclose(to) != 0;
    if (failed)
        fprintf(stderr, "%s: error while writing: %s\n", s.output ? s.output : "standard output",
                strerror(errno));
    else if (!found) fprintf(stderr, "%s: no function %s\n", s.input, s.function);
    if ((failed || !found) && s.output) remove_output(s.output);
    return failed || !found;
}
