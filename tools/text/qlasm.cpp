// qlasm: the text of an intermediate file, as qldump writes it or as written by hand, into the file.
#include <filesystem>
#include <new>

#include "tools/text/assemble.h"
#include "tools/text/command.h"

namespace {

const char *const usage =
    "Usage: qlasm [options] FILE.ift\n"
    "Makes an intermediate file from its text.\n"
    "  -o FILE.if    write there (default: the name of the text with .if for .ift)\n"
    "  --help        this text\n"
    "Mistakes are told as FILE:LINE:COLUMN: error: ..., up to 20 of them, and no file is left.\n"
    "Exit status: 0; 1 the text has mistakes, or a file can't be read or written; 2 wrong usage.\n";

struct SETTINGS {
    std::string input, output;
};

SETTINGS parse(int argc, char **argv) {
    SETTINGS s;
    COMMAND command{"qlasm", usage, {{"-o", &s.output, nullptr}}};
    s.input = command.parse(argc, argv);
    if (s.output.empty()) {
        s.output = s.input;
        if (s.output.ends_with(".ift")) s.output.pop_back();
        else s.output += ".if";
    }
    std::error_code error;
    if (std::filesystem::equivalent(s.input, s.output, error))
        command.misused("the output would replace the text " + s.input);
    return s;
}

std::string refused;
struct REFUSED {};

// Reads what was written: a file that the readers do not take is not given out.
bool reads_back(const std::string &path) {
    if_bad_file_handler = [](const char *text) {
        refused = text;
        throw REFUSED();
    };
    try {
        read_model(path.c_str());
        return true;
    } catch (const REFUSED &) {
        fprintf(stderr, "qlasm: the file that the text describes is not valid: %s\n", refused.c_str());
        return false;
    }
}

// Under another name first, so that no one finds half a file. A device has no other name; what a link leads to does.
bool write_output(MODEL &m, const std::string &name) {
    std::error_code error;
    if (std::filesystem::exists(name, error) && !std::filesystem::is_regular_file(name, error))
        return write_model(m, name.c_str());
    std::string output = std::filesystem::weakly_canonical(name, error), draft = output + ".new";
    if (error) output = name, draft = name + ".new";
    if (!write_model(m, draft.c_str())) return false;
    if (reads_back(draft)) {
        std::filesystem::rename(draft, output, error);
        if (!error) return true;
        fprintf(stderr, "%s: cannot rename to %s: %s\n", draft.c_str(), output.c_str(),
                error.message().c_str());
    }
    remove(draft.c_str());
    return false;
}

int assemble(const SETTINGS &s) {
    TYPE_PKG::abi = 1; // what the names of the basic types mean in the text
    MODEL m;
    TEXT_FILE text;
    bool done = false;
    try {
        if (!text.load(s.input.c_str(), m)) return 1;
    } catch (const TOO_MANY_ERRORS &) {}
    if (!text.error_count()) {
        ASSEMBLER(text, m).assemble();
        if (!text.error_count()) done = write_output(m, s.output);
    }
    text.print_messages(stderr);
    // What is left of an earlier run is not the file of this text.
    if (!done) remove_output(s.output.c_str());
    return !done;
}

} // namespace

int main(int argc, char **argv) {
    SETTINGS s = parse(argc, argv);
    try {
        return assemble(s);
    } catch (const std::bad_alloc &) {
        fputs("qlasm: out of memory\n", stderr);
        remove_output(s.output.c_str());
        remove_output((s.output + ".new").c_str());
        return 1;
    }
}
