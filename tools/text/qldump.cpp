// qldump: an intermediate file as text, from which qlasm makes the same file again.
#include <cerrno>
#include <cstring>
#include <new>

#include "tools/text/command.h"
#include "tools/text/dump.h"

namespace {

const char *const usage =
    "Usage: qldump [options] FILE.if\n"
    "Writes an intermediate file as text. qlasm makes the file again from the text, byte for byte when the\n"
    "file is in the form that these tools write.\n"
    "  -o FILE.ift        write there (default: standard output)\n"
    "  --summary          instead: counts of functions, statements, nodes, types, symbols, bytes by area,\n"
    "                     and a table of the functions\n"
    "  --function NAME    only the functions of that name (this text alone makes no file)\n"
    "  --help             this text\n"
    "Exit status: 0; 1 the file can't be read, is malformed, has no such function, or the output can't be\n"
    "written; 2 wrong usage.\n";

std::string output; // empty: standard output

int dump(int argc, char **argv) {
    std::string function;
    bool summary = false;
    COMMAND command{
        "qldump",
        usage,
        {{"-o", &output, nullptr}, {"--function", &function, nullptr}, {"--summary", nullptr, &summary}}};
    std::string input = command.parse(argc, argv);
    TYPE_PKG::abi = 1; // what the names of the basic types mean in the text
    std::unique_ptr<MODEL> m = read_model(input.c_str());
    FILE *to = output.empty() ? stdout : fopen(output.c_str(), "w");
    if (!to) {
        fprintf(stderr, "%s: cannot open for writing: %s\n", output.c_str(), strerror(errno));
        return 1;
    }
    bool found = true;
    if (summary) print_summary(*m, to);
    else if (!function.empty()) found = DUMPER(*m, to).dump_functions_named(function.c_str());
    else DUMPER(*m, to).dump_file();
    bool failed = ferror(to);
    failed |= fflush(to) != 0;
    if (to != stdout) failed |= fclose(to) != 0;
    if (failed)
        fprintf(stderr, "%s: error while writing: %s\n", output.empty() ? "standard output" : output.c_str(),
                strerror(errno));
    else if (!found) fprintf(stderr, "%s: no function %s\n", input.c_str(), function.c_str());
    if ((failed || !found) && !output.empty()) remove_output(output.c_str());
    return failed || !found;
}

} // namespace

int main(int argc, char **argv) {
    try {
        return dump(argc, argv);
    } catch (const std::bad_alloc &) {
        fputs("qldump: out of memory\n", stderr);
        if (!output.empty()) remove_output(output.c_str());
        return 1;
    }
}
