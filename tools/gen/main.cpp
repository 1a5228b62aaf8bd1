// qlgen: intermediate file to C, assembly, object or program.
//
//   qlgen FILE.if [-o FILE.c] [options] [-- OPTION...]
//
// Exit status: 0 done; 1 something in the file has no form in C, the file can't be read or written, or the cross
// compiler failed; 2 wrong usage. On failure nothing is left under the output's name.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <pthread.h>

#include "tools/gen/backend.h"
#include "tools/gen/gen.h"
#include "tools/gen/process.h"

namespace {

void usage(FILE *to) {
    fputs(
        "Usage: qlgen FILE.if [-o FILE] [options] [-- OPTION...]\n"
        "Writes an intermediate file as C, or takes the C on through the cross compiler.\n"
        "  -o FILE             the output; \"-\" is standard output. A name that ends in .c, or no -o: C\n"
        "  -S, -c              assembly, an object; any other -o FILE: a linked program\n"
        "  --line              #line directives from the file's positions\n"
        "  --comments          the comments of the file\n"
        "  --assume            assertions of the file become __builtin_unreachable hints\n"
        "  --shifts=exact      a shift by a variable count outside the width gives 0 or the sign (default)\n"
        "  --shifts=machine    such counts are left to the target's shift instructions\n"
        "  --backend=MODE      what the cross compiler may do: select (default), O2, O0\n"
        "  --print-backend-options[=MODE]   its options, one a line\n"
        "  --help              this text\n"
        "  -- OPTION...        further options and files for the cross compiler\n"
        "Exit status: 0 done; 1 something has no form in C (told with its position) or a step failed; 2 "
        "wrong "
        "usage.\n",
        to);
}

struct SETTINGS {
    std::string input, output;
    char mode = 0; // 0: C, S, c, p: a program
    BACKEND_MODE backend = MODE_SELECT;
    GEN_OPTIONS gen;
    std::vector<std::string> extra;
};
SETTINGS settings;
int status = 1;

[[noreturn]] void wrong(const std::string &what) {
    fprintf(stderr, "qlgen: %s\n", what.c_str());
    usage(stderr);
    exit(2);
}

void print_options(const std::string &mode_name) {
    BACKEND_MODE mode;
    if (!backend_mode(mode_name, mode)) wrong("no backend mode '" + mode_name + "'");
    for (const std::string &o : backend_options(mode)) puts(o.c_str());
    exit(0);
}

void parse(int argc, char **argv) {
    int i = 1;
    for (; i < argc && strcmp(argv[i], "--"); i++) {
        std::string a = argv[i];
        auto value = [&](const char *name) {
            std::string n = name;
            return a.rfind(n, 0) == 0 ? argv[i] + n.size() : nullptr;
        };
        if (a == "--help") {
            usage(stdout);
            exit(0);
        } else if (a == "-o") {
            if (++i == argc) wrong("-o needs a name");
            settings.output = argv[i];
        } else if (a == "-S" || a == "-c") settings.mode = a[1];
        else if (a == "--line") settings.gen.line_marks = true;
        else if (a == "--comments") settings.gen.comments = true;
        else if (a == "--assume") settings.gen.assume = true;
        else if (a == "--shifts=exact") settings.gen.exact_shifts = true;
        else if (a == "--shifts=machine") settings.gen.exact_shifts = false;
        else if (a == "--print-backend-options") print_options("select");
        else if (const char *v = value("--print-backend-options=")) print_options(v);
        else if (const char *b = value("--backend=")) {
            if (!backend_mode(b, settings.backend)) wrong(std::string("no backend mode '") + b + "'");
        } else if (a[0] == '-' && a.size() > 1) wrong("unknown option " + a);
        else if (settings.input.empty()) settings.input = a;
        else wrong("more than one file");
    }
    for (i++; i < argc; i++) settings.extra.push_back(argv[i]);
    if (settings.input.empty()) wrong("no file");
    std::string base = settings.input.substr(settings.input.rfind('/') + 1);
    base = base.substr(0, base.rfind('.'));
    std::string &out = settings.output;
    bool named_c = out.size() > 2 && out.compare(out.size() - 2, 2, ".c") == 0;
    if (!settings.mode && !out.empty() && out != "-" && !named_c) settings.mode = 'p';
    if (out.empty()) out = base + (settings.mode == 'S' ? ".s" : settings.mode == 'c' ? ".o" : ".c");
}

bool write_text(const std::string &name, const std::string &text) {
    FILE *f = name == "-" ? stdout : fopen(name.c_str(), "w");
    bool ok = f && fwrite(text.data(), 1, text.size(), f) == text.size();
    if (f) ok &= (f == stdout ? fflush(f) : fclose(f)) == 0;
    if (ok) return true;
    fprintf(stderr, "qlgen: cannot write %s: %s\n", name.c_str(), strerror(errno));
    if (f && f != stdout) remove(name.c_str());
    return false;
}

void *generate(void *) {
    auto model = read_model(settings.input.c_str());
    std::string text;
    try {
        text = FILE_GEN(*model, settings.gen).generate();
    } catch (GEN_FAILED &) { return nullptr; }
    if (!settings.mode) {
        status = !write_text(settings.output, text);
        return nullptr;
    }
    std::string source = temporary_file(".c");
    if (!write_text(source, text)) return nullptr;
    std::vector<std::string> command{cross_compiler()};
    for (const std::string &o : backend_options(settings.backend)) command.push_back(o);
    if (settings.mode != 'p') command.push_back(std::string("-") + settings.mode);
    command.insert(command.end(), {"-o", settings.output, source});
    command.insert(command.end(), settings.extra.begin(), settings.extra.end());
    status = run_backend(command) != 0;
    return nullptr;
}

// Nothing is written before the whole text is there.
void *run(void *) {
    try {
        return generate(nullptr);
    } catch (const std::bad_alloc &) {
        fputs("qlgen: out of memory\n", stderr);
        return nullptr;
    }
}

} // namespace

int main(int argc, char **argv) {
    parse(argc, argv);
    // The generator recurses along the trees: it gets a stack that is reserved, not touched.
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstacksize(&attr, size_t(4) << 30);
    pthread_t thread;
    if (pthread_create(&thread, &attr, run, nullptr)) {
        fputs("qlgen: cannot start\n", stderr);
        return 1;
    }
    pthread_join(thread, nullptr);
    return status;
}
