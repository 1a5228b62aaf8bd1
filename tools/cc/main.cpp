// qlcc: a C compiler's command line over qlparse, qlopt, qlgen and the cross compiler.
//
// Each source goes through the stages by temporary files, which are removed at the end, also when a signal ends the
// run. A stage that fails has told why; its output and those that would follow are not written, the remaining sources
// are still looked at, and nothing is linked.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/cc/args.h"
#include "tools/gen/backend.h"
#include "tools/gen/process.h"

namespace {

ARGS args;

// --- programs ---

// The other programs stand beside this one: in one folder when installed, by the folders of the build otherwise.
std::string sibling(const std::string &name, const std::string &build_folder) {
    std::string here = program_folder();
    for (const std::string &path : {here + "/" + name, here + "/../" + build_folder + name,
                                    here + "/../../" + build_folder + name, here + "/../libexec/ql/" + name})
        if (access(path.c_str(), X_OK) == 0) {
            struct stat s;
            if (stat(path.c_str(), &s) == 0 && S_ISREG(s.st_mode)) return path;
        }
    die("cannot find " + name + " beside " + here);
}

void show(const std::vector<std::string> &command) {
    for (const std::string &w : command) {
        bool plain = !w.empty() && w.find_first_of(" \t\n\"'\\$*?&|<>();`#") == std::string::npos;
        std::string quoted;
        for (char c : w) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
        fprintf(stderr, " %s", plain ? w.c_str() : ("'" + quoted + "'").c_str());
    }
    fputc('\n', stderr);
}

bool run(const std::vector<std::string> &command, bool backend = false) {
    if (args.verbose) show(command);
    if (args.dry_run) return true;
    int status = backend ? run_backend(command) : run_process(command);
    if (status >= 128)
        fprintf(stderr, "qlcc: error: %s was ended by signal %d\n", command[0].c_str(), status - 128);
    return status == 0;
}

void append(std::vector<std::string> &to, const std::vector<std::string> &more) {
    to.insert(to.end(), more.begin(), more.end());
}

// --- names ---

std::string stem(const std::string &path) {
    std::string s = path.substr(path.rfind('/') + 1);
    size_t dot = s.rfind('.');
    return dot == std::string::npos || dot == 0 ? s : s.substr(0, dot);
}

// The name of an output with the extension of dependency files.
std::string dependency_name(const std::string &output) {
    size_t slash = output.rfind('/'), dot = output.rfind('.');
    bool has = dot != std::string::npos && (slash == std::string::npos || dot > slash);
    return (has ? output.substr(0, dot) : output) + ".d";
}

// Where a stage writes: the output itself for the last one, else a temporary file, or one that stays.
std::string stage_file(const std::string &source, const std::string &suffix, bool last) {
    if (last) return args.output.empty() ? stem(source) + suffix : args.output;
    if (args.save_temps) return stem(source) + suffix;
    return args.dry_run ? "ql-temporary" + suffix : temporary_file(suffix);
}

// Soft floats have a cross compiler and a library of their own, where they are installed.
void choose_cross_compiler() {
    const char *soft = "arm-linux-gnueabi-gcc", *path = getenv("PATH");
    if (!args.soft_calls || !path) return;
    std::stringstream folders(path);
    for (std::string folder; std::getline(folders, folder, ':');)
        if (!access((folder + "/" + soft).c_str(), X_OK)) setenv("QL_CROSS_CC", soft, 0);
}

// --- stages ---

// The macros of the front end, so that headers show the cross compiler the same text.
std::vector<std::string> preprocess_options() {
    std::vector<std::string> o{"-D__QL__=1",         "-D_FORTIFY_SOURCE=0",   "-U__OPTIMIZE__",
                               "-U__GNUC__",         "-D__GNUC__=4",          "-U__GNUC_MINOR__",
                               "-D__GNUC_MINOR__=2", "-U__GNUC_PATCHLEVEL__", "-D__GNUC_PATCHLEVEL__=1"};
    append(o, args.preprocess);
    return o;
}

bool write_dependencies(const std::string &source, const std::string &object) {
    std::vector<std::string> c{cross_compiler(), args.user_headers_only ? "-MM" : "-M"};
    append(c, preprocess_options());
    if (args.phony_targets) c.push_back("-MP");
    if (args.action == ACT_DEPENDENCIES) {
        append(c, args.dependency_targets);
        std::string to = !args.dependency_file.empty() ? args.dependency_file : args.output;
        if (!to.empty()) append(c, {"-MF", to});
    } else {
        if (args.dependency_targets.empty()) append(c, {"-MQ", object});
        append(c, args.dependency_targets);
        std::string to = args.dependency_file;
        if (to.empty()) to = args.output.empty() ? stem(source) + ".d" : dependency_name(args.output);
        append(c, {"-MF", to});
    }
    c.push_back(source);
    return run(c);
}

bool preprocess(const std::string &source) {
    std::vector<std::string> c{cross_compiler(), "-E"};
    append(c, preprocess_options());
    if (source == "-") append(c, {"-x", "c"});
    c.push_back(source);
    if (!args.output.empty()) append(c, {"-o", args.output});
    return run(c);
}

bool parse(const std::vector<std::string> &sources, const std::string &to) {
    std::vector<std::string> c{sibling("qlparse", "tools/parse/")};
    append(c, args.parse);
    bool preprocessed = false;
    for (const std::string &s : sources)
        preprocessed |= s.size() > 2 && s.compare(s.size() - 2, 2, ".i") == 0;
    if (preprocessed) append(c, {"-x", "c"}); // which reads such a text as well
    append(c, sources);
    append(c, {"-o", to});
    return run(c);
}

// What the optimizer calls the processor. The first row whose text the name begins with decides; -mcpu= counts before
// -march=.
const char *silicon_version() {
    // clang-format off
    static const struct { const char *name, *version; } rows[] = {
        {"cortex-m0", "6M0"}, {"cortex-m1", "6M0"}, {"cortex-m3", "7M3"},  {"cortex-m", "7M4"},
        {"cortex-r4", "7R4"}, {"cortex-r", "7R5"},  {"cortex-", "7A8"},
        {"arm7", "4"},        {"arm9tdmi", "4"},    {"arm920", "4"},       {"arm92", "5e"},
        {"arm94", "5e"},      {"arm96", "5e"},      {"arm10", "5e"},       {"xscale", "5e"},
        {"arm11", "6"},       {"mpcore", "6"},
        {"armv4", "4"},       {"armv5", "5e"},      {"armv6-m", "6M0"},    {"armv6s-m", "6M0"},
        {"armv6", "6"},       {"armv7-m", "7M3"},   {"armv7e-m", "7M4"},   {"armv7-r", "7R4"},
    };
    // clang-format on
    for (const std::string &given : {args.cpu, args.arch})
        for (auto &row : rows)
            if (given.compare(0, strlen(row.name), row.name) == 0) return row.version;
    return "7A8";
}

const char *float_support() {
    if (args.soft_float) return "none";
    const std::string &f = args.fpu;
    if (f.empty()) return "vfpv3d16";
    if (f == "fpv4-sp-d16") return "fpv4spd16";
    if (f.find("vfpv4") != std::string::npos) return "vfpv4";
    if (f == "vfp" || f == "vfpv2") return "vfpv2";
    return f.find("d16") != std::string::npos ? "vfpv3d16" : "vfpv3";
}

bool optimize(const std::string &from, const std::string &to) {
    std::vector<std::string> c{sibling("qlopt", "")};
    c.push_back("--opt_level=" + std::to_string(args.level));
    if (args.for_size) c.push_back("--size_speed_goal=0");
    if (args.aliased_variables) c.push_back("--aliased_variables");
    append(c, {std::string("--silicon_version=") + silicon_version(),
               std::string("--float_support=") + float_support(),
               std::string("--code_state=") + (args.thumb ? "16" : "32")});
    if (args.neon) c.push_back("--neon");
    if (args.vectorize || (args.neon && args.level >= 3)) c.push_back("--vectorize=on");
    if (args.fast_math) append(c, {"--fp_mode=relaxed", "--fp_reassoc=on"});
    else append(c, {"--fp_mode=strict", "--fp_reassoc=off"});
    if (args.whole_program && args.level >= 3) c.push_back("--call_assumptions=2");
    append(c, args.optimizer);
    append(c, {from, to});
    return run(c);
}

bool generate(const std::string &from, const std::string &to) {
    std::vector<std::string> c{sibling("qlgen", "tools/gen/"), from, "-o", to};
    // The front end's programs have no such counts but where the source leaves the result open.
    c.push_back(args.level == 0 ? "--shifts=exact" : "--shifts=machine");
    if (args.line_marks) c.push_back("--line");
    append(c, args.generate);
    return run(c);
}

bool compile_c(const std::string &from, const std::string &to, bool assembly) {
    BACKEND_MODE mode = args.level == 0 ? MODE_O0 : MODE_SELECT;
    if (!args.backend.empty() && !backend_mode(args.backend, mode))
        die("no backend mode '" + args.backend + "'");
    std::vector<std::string> c{cross_compiler()};
    append(c, backend_options(mode));
    if (args.fast_math) c.push_back("-ffast-math");
    append(c, args.backend_options);
    append(c, {assembly ? "-S" : "-c", from, "-o", to});
    return run(c, true);
}

bool assemble(const std::string &source, const std::string &to) {
    std::vector<std::string> c{cross_compiler()};
    append(c, args.preprocess);
    append(c, args.backend_options);
    append(c, {"-c", source, "-o", to});
    return run(c, true);
}

// One source, or several as one program, up to where the action stops; `object` gets the name of what was written.
bool compile(const INPUT &in, const std::vector<std::string> &sources, std::string &object) {
    ACTION stop = args.action;
    bool object_is_last = stop == ACT_OBJECT;
    std::string file = in.text;
    if (in.kind == IN_ASM) {
        object = stage_file(in.text, ".o", object_is_last);
        return stop == ACT_ASSEMBLY || stop == ACT_IF || stop == ACT_C ? true : assemble(in.text, object);
    }
    if (args.make_dependencies && in.kind == IN_C) {
        for (const std::string &source : sources) {
            std::string target = object_is_last && !args.output.empty() ? args.output : stem(source) + ".o";
            if (!write_dependencies(source, target)) return false;
        }
    }
    if (in.kind == IN_C) {
        file = stage_file(in.text, ".parsed.if", false);
        if (!parse(sources, file)) return false;
    }
    std::string optimized = stage_file(in.text, ".if", stop == ACT_IF);
    if (!optimize(file, optimized)) return false;
    if (stop == ACT_IF) return true;
    std::string text = stage_file(in.text, ".ql.c", stop == ACT_C);
    if (!generate(optimized, text)) return false;
    if (stop == ACT_C) return true;
    if (args.save_temps && stop != ACT_ASSEMBLY && !compile_c(text, stem(in.text) + ".s", true)) return false;
    object = stage_file(in.text, stop == ACT_ASSEMBLY ? ".s" : ".o", stop == ACT_ASSEMBLY || object_is_last);
    return compile_c(text, object, stop == ACT_ASSEMBLY);
}

bool link(const std::vector<std::string> &files) {
    std::vector<std::string> c{cross_compiler()};
    append(c, args.link);
    append(c, files);
    append(c, {"-o", args.output.empty() ? "a.out" : args.output});
    return run(c);
}

void check() {
    size_t sources = 0, others = 0, in_c = 0;
    for (const INPUT &in : args.inputs) {
        if (in.kind == IN_LINKER) {
            others += in.text[0] != '-';
            continue;
        }
        sources++, in_c += in.kind == IN_C;
        if (in.text != "-" && access(in.text.c_str(), R_OK)) die(in.text + ": No such file or directory");
    }
    if (args.inputs.empty() || (sources == 0 && others == 0)) die("no input files");
    if (args.whole_program && (in_c < sources || others > 0)) {
        fprintf(stderr,
                "qlcc: warning: -fwhole-program has no effect: the program has other parts than C sources\n");
        args.whole_program = false;
    }
    bool one = args.whole_program && args.action != ACT_PREPROCESS && args.action != ACT_DEPENDENCIES;
    if (sources > 1 && !one && !args.output.empty() && args.action != ACT_LINK)
        die("cannot specify '-o' with '-c', '-S', '-E' or '-emit-...' with several files");
    for (const INPUT &in : args.inputs)
        if (!args.output.empty() && in.text == args.output)
            die("the output '" + args.output + "' is one of the inputs");
}

} // namespace

int main(int argc, char **argv) {
    args = parse_args(argc, argv);
    choose_cross_compiler();
    if (!args.forward.empty()) {
        std::vector<std::string> c{cross_compiler()};
        append(c, args.forward);
        return run(c) ? 0 : 1;
    }
    if (args.inputs.empty() && args.verbose) return run({cross_compiler(), "-v"}) ? 0 : 1;
    check();
    std::vector<std::string> to_link, whole;
    if (args.whole_program)
        for (const INPUT &in : args.inputs)
            if (in.kind == IN_C) whole.push_back(in.text);
    bool ok = true, compiled = false;
    for (const INPUT &in : args.inputs) {
        if (in.kind == IN_LINKER) {
            to_link.push_back(in.text);
            continue;
        }
        if (args.action == ACT_PREPROCESS || args.action == ACT_DEPENDENCIES) {
            if (in.kind != IN_IF)
                ok &= args.action == ACT_PREPROCESS ? preprocess(in.text) : write_dependencies(in.text, "");
            continue;
        }
        if (!whole.empty() && compiled) continue;
        std::string object;
        ok &= compile(in, whole.empty() ? std::vector<std::string>{in.text} : whole, object);
        compiled = true;
        if (!object.empty()) to_link.push_back(object);
    }
    if (ok && args.action == ACT_LINK) ok = link(to_link);
    return ok ? 0 : 1;
}
