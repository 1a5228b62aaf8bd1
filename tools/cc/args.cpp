#include "tools/cc/args.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

void die(const std::string &message) {
    fprintf(stderr, "qlcc: error: %s\n", message.c_str());
    exit(1);
}

namespace {

void usage(FILE *to) {
    fputs(
        "Usage: qlcc [options] FILE...\n"
        "Compiles C for 32-bit ARM: qlparse, qlopt, qlgen, then the cross compiler for instructions and "
        "linking.\n"
        "  -c, -S, -E           stop at objects, assembly, preprocessed text; else a program is linked\n"
        "  -emit-if, -emit-c    stop at optimized intermediate files, at generated C\n"
        "  -o FILE              the output\n"
        "  -O0 -O1 -O2 -O3 -O4 -Os   0: not optimized; 1: local; 2: global; 3: whole file; 4: whole program\n"
        "  -I -D -U -include -isystem -std= -M -MM -MD -MMD -MF -MT -MQ -MP   as for any compiler\n"
        "  -mthumb -marm -mcpu= -march= -mfpu= -mfloat-abi=   the target\n"
        "  -ffast-math          floating-point arithmetic may be rearranged\n"
        "  -fno-aliased-variables   a called function keeps no address of a local past the call\n"
        "  -fwhole-program      the sources are the whole program and are compiled as one\n"
        "  -Wq,OPTION           an option for qlopt\n"
        "  --backend=MODE       what the cross compiler may do: select, O2, O0 (default: select, O0 with "
        "-O0)\n"
        "  --save-temps         keep what the stages write, in the current folder\n"
        "  -v, -###             show the commands; -### does not run them\n"
        "  -l -L -Wl, -static -shared, objects and archives: for the linker, in order\n"
        "Exit status: 0 all outputs were written; 1 an error, which the failing stage has told.\n",
        to);
}

enum STAGE : unsigned {
    PARSE = 1,
    PREPROCESS = 2,
    BACKEND = 4,
    LINK = 8,
    DROP = 16,    // tells other compilers how to optimize
    REFUSE = 32,  // would mean something that is not done here
    FORWARD = 64, // the cross compiler answers
    VALUE = 128,  // the value may be the next argument
};

struct RULE {
    const char *name; // with a '*' at the end: whatever begins so
    unsigned stages;
};

// The first rule that fits decides.
const RULE rules[] = {
    // preprocessor
    {"-I*", PARSE | PREPROCESS | VALUE},
    {"-D*", PARSE | PREPROCESS | VALUE},
    {"-U*", PARSE | PREPROCESS | VALUE},
    {"-include", PARSE | PREPROCESS | VALUE},
    {"-imacros", PARSE | PREPROCESS | VALUE},
    {"-isystem*", PARSE | PREPROCESS | VALUE},
    {"-iquote*", PARSE | PREPROCESS | VALUE},
    {"-idirafter*", PARSE | PREPROCESS | VALUE},
    {"-nostdinc", PARSE | PREPROCESS},
    {"-undef", PARSE | PREPROCESS},
    {"-P", PREPROCESS},
    {"-C", PREPROCESS},
    {"-CC", PREPROCESS},
    {"-dM", PREPROCESS},
    {"-dD", PREPROCESS},
    // language
    {"-std=*", PARSE | PREPROCESS},
    {"-ansi", PARSE | PREPROCESS},
    {"-trigraphs", PARSE | PREPROCESS},
    {"-fsigned-char", PARSE | PREPROCESS},
    {"-funsigned-char", PARSE | PREPROCESS},
    {"-fno-signed-char", PARSE | PREPROCESS},
    {"-fno-unsigned-char", PARSE | PREPROCESS},
    {"-fshort-enums", PARSE},
    {"-fno-short-enums", PARSE},
    {"-fshort-wchar", PARSE | PREPROCESS},
    {"-fpack-struct=*", PARSE},
    {"-fms-extensions", PARSE},
    {"-fgnu89-inline", PARSE | PREPROCESS},
    {"-fblocks", REFUSE},
    {"-fopenmp*", REFUSE},
    {"-ffreestanding", PARSE | PREPROCESS | BACKEND},
    {"-fhosted", PARSE | PREPROCESS | BACKEND},
    {"-fno-builtin*", PARSE | BACKEND},
    {"-fbuiltin", 0},
    {"-fdiagnostics*", 0},
    {"-fno-diagnostics*", 0},
    {"-fmessage-length=*", 0},
    {"-fmacro-prefix-map=*", 0},
    {"-ffile-prefix-map=*", 0},
    // meaning that is always kept here
    {"-fwrapv*", DROP},
    {"-fno-strict-overflow", DROP},
    {"-fstrict-overflow", DROP},
    {"-fno-strict-aliasing", DROP},
    {"-fstrict-aliasing", DROP},
    {"-fno-delete-null-pointer-checks", DROP},
    {"-fdelete-null-pointer-checks", DROP},
    {"-fno-math-errno", BACKEND},
    // what can't be had
    {"-ftrapv", REFUSE},
    {"-fsanitize=*", REFUSE},
    {"-finstrument-functions", REFUSE},
    {"-fprofile*", REFUSE},
    {"-ftest-coverage", REFUSE},
    {"--coverage", REFUSE},
    {"-fexceptions", BACKEND},
    {"-flto*", DROP},
    {"-ffat-lto-objects", DROP},
    // how to optimize
    {"-ftree-*", DROP},
    {"-fno-tree-*", DROP},
    {"-funroll*", DROP},
    {"-fno-unroll*", DROP},
    {"-fpeel*", DROP},
    {"-finline*", DROP},
    {"-fno-inline-*", DROP},
    {"-fipa*", DROP},
    {"-fno-ipa*", DROP},
    {"-fgcse*", DROP},
    {"-fno-gcse*", DROP},
    {"-fmodulo*", DROP},
    {"-fsplit*", DROP},
    {"-fprefetch*", DROP},
    {"-fkeep-*", DROP},
    {"-floop-*", DROP},
    {"-fno-loop-*", DROP},
    {"-fgraphite*", DROP},
    {"-fmerge*", BACKEND},
    {"-fassociative-math", DROP},
    {"-freciprocal-math", DROP},
    {"-ffinite-math-only", DROP},
    {"-fsigned-zeros", DROP},
    {"-fno-signed-zeros", DROP},
    {"-fno-trapping-math", BACKEND},
    {"-ffp-contract=*", BACKEND},
    // target
    {"-mcpu=*", PARSE | PREPROCESS | BACKEND | LINK},
    {"-march=*", PARSE | PREPROCESS | BACKEND | LINK},
    {"-mfpu=*", PARSE | PREPROCESS | BACKEND | LINK},
    {"-mfloat-abi=*", PARSE | PREPROCESS | BACKEND | LINK},
    {"-mthumb", PARSE | PREPROCESS | BACKEND | LINK},
    {"-marm", PARSE | PREPROCESS | BACKEND | LINK},
    {"-m*", BACKEND | LINK | PREPROCESS},
    // linking
    {"-L*", LINK | VALUE},
    {"-Xlinker", LINK | VALUE},
    {"-T", LINK | VALUE},
    {"-u", LINK | VALUE},
    {"-z", LINK | VALUE},
    {"-e", LINK | VALUE},
    {"-static*", LINK},
    {"-shared*", LINK},
    {"-nostdlib", LINK},
    {"-nostartfiles", LINK},
    {"-nodefaultlibs", LINK},
    {"-rdynamic", LINK},
    {"-r", LINK},
    {"-s", LINK},
    {"-pie", LINK},
    {"-no-pie", LINK},
    {"-fuse-ld=*", LINK},
    {"-pthread", PARSE | PREPROCESS | BACKEND | LINK},
    {"-Wl,*", LINK},
    {"-Wa,*", BACKEND},
    {"--sysroot=*", BACKEND | LINK | PREPROCESS},
    {"-B*", BACKEND | LINK | VALUE},
    // of no consequence here
    {"-pipe", 0},
    {"-pedantic*", 0},
    {"-w", PARSE},
    {"-W*", 0},
    {"-Q", 0},
    {"-p", REFUSE},
    {"-pg", REFUSE},
    // questions
    {"--version", FORWARD},
    {"-dumpmachine", FORWARD},
    {"-dumpversion", FORWARD},
    {"-dumpfullversion", FORWARD},
    {"-dumpspecs", FORWARD},
    {"-print-*", FORWARD},
    {"--print-*", FORWARD},
    {"-f*", BACKEND | LINK},
    {"-g*", BACKEND | LINK},
};

const RULE *find_rule(const std::string &a) {
    for (const RULE &r : rules) {
        size_t n = strlen(r.name);
        bool prefix = r.name[n - 1] == '*';
        if (prefix ? a.compare(0, n - 1, r.name, n - 1) == 0 : a == r.name) return &r;
    }
    return nullptr;
}

// Arguments of a response file: words, with quotes and backslashes as a shell has them.
std::vector<std::string> file_words(const std::string &name) {
    std::ifstream in(name);
    if (!in) die("cannot open the response file " + name);
    std::stringstream all;
    all << in.rdbuf();
    std::string text = all.str(), word;
    std::vector<std::string> words;
    bool open = false;
    char quote = 0;
    for (size_t i = 0; i < text.size(); i++) {
        char c = text[i];
        if (c == '\\' && i + 1 < text.size() && quote != '\'') word += text[++i], open = true;
        else if (quote && c == quote) quote = 0;
        else if (!quote && (c == '"' || c == '\'')) quote = c, open = true;
        else if (!quote && isspace(static_cast<unsigned char>(c))) {
            if (open) words.push_back(word);
            word.clear(), open = false;
        } else word += c, open = true;
    }
    if (open) words.push_back(word);
    return words;
}

std::vector<std::string> split(const std::string &s, char at) {
    std::vector<std::string> parts{""};
    for (char c : s)
        if (c == at) parts.emplace_back();
        else parts.back() += c;
    return parts;
}

class PARSER {
    ARGS a;
    std::vector<std::string> words;
    size_t i = 0;
    std::string language; // -x

    std::string value(const char *what) {
        if (++i == words.size()) die(std::string("argument to '") + what + "' is missing");
        return words[i];
    }

    void input(const std::string &w) {
        size_t dot = w.rfind('.'), slash = w.rfind('/');
        std::string ext =
            dot == std::string::npos || (slash != std::string::npos && dot < slash) ? "" : w.substr(dot);
        INPUT_KIND kind = IN_LINKER;
        if (language == "c" || language == "cpp-output") kind = IN_C;
        else if (language.compare(0, 9, "assembler") == 0) kind = IN_ASM;
        else if (ext == ".c" || ext == ".i") kind = IN_C;
        else if (ext == ".if") kind = IN_IF;
        else if (ext == ".s" || ext == ".S" || ext == ".sx") kind = IN_ASM;
        else if (ext == ".cc" || ext == ".cpp" || ext == ".cxx" || ext == ".C" || ext == ".m" || ext == ".f")
            die("'" + w + "': only C is compiled here");
        if (w == "-") {
            if (a.action != ACT_PREPROCESS) die("standard input is read with -E only");
            kind = IN_C;
        }
        a.inputs.push_back({kind, w});
    }

    void level(const std::string &w) {
        std::string n = w.substr(2);
        a.for_size = false;
        if (n.empty() || n == "g") a.level = 1;
        else if (n == "s" || n == "z") a.level = 2, a.for_size = true;
        else if (n == "fast") a.level = 3, a.fast_math = true;
        else if (n.size() == 1 && n[0] >= '0' && n[0] <= '9') a.level = std::min(n[0] - '0', 4);
        else die("no optimization level '" + w + "'");
    }

    bool dependencies(const std::string &w) {
        if (w == "-M" || w == "-MM") a.action = ACT_DEPENDENCIES, a.user_headers_only = w == "-MM";
        else if (w == "-MD" || w == "-MMD") a.make_dependencies = true, a.user_headers_only = w == "-MMD";
        else if (w == "-MP") a.phony_targets = true;
        else if (w == "-MG") a.preprocess.push_back(w);
        else if (w == "-MF") a.dependency_file = value("-MF");
        else if (w == "-MT" || w == "-MQ")
            a.dependency_targets.insert(a.dependency_targets.end(), {w, value(w.c_str())});
        else if (w.rfind("-MF", 0) == 0) a.dependency_file = w.substr(3);
        else if (w.rfind("-MT", 0) == 0 || w.rfind("-MQ", 0) == 0)
            a.dependency_targets.insert(a.dependency_targets.end(), {w.substr(0, 3), w.substr(3)});
        else return false;
        return true;
    }

    // What belongs to this driver itself.
    bool own(const std::string &w) {
        if (w == "--help") {
            usage(stdout);
            exit(0);
        }
        if (w == "-o") a.output = value("-o");
        else if (w.rfind("-o", 0) == 0) a.output = w.substr(2);
        else if (w == "-c") a.action = ACT_OBJECT;
        else if (w == "-S") a.action = ACT_ASSEMBLY;
        else if (w == "-E") a.action = ACT_PREPROCESS;
        else if (w == "-emit-if") a.action = ACT_IF;
        else if (w == "-emit-c") a.action = ACT_C;
        else if (w.rfind("-O", 0) == 0) level(w);
        else if (w == "-x") language = value("-x"), language = language == "none" ? "" : language;
        else if (w == "-faliased-variables") a.aliased_variables = true;
        else if (w == "-fno-aliased-variables") a.aliased_variables = false;
        else if (w == "-fwhole-program") a.whole_program = true;
        else if (w == "-fno-inline") a.optimizer.push_back("--disable_inlining");
        else if (w == "-ffast-math" || w == "-funsafe-math-optimizations") a.fast_math = true;
        else if (w == "-fno-fast-math" || w == "-fno-unsafe-math-optimizations") a.fast_math = false;
        else if (w == "-ftree-vectorize" || w == "-fvectorize") a.vectorize = true;
        else if (w == "-fno-tree-vectorize" || w == "-fno-vectorize") a.vectorize = false;
        else if (w.rfind("-Wq,", 0) == 0) a.optimizer.push_back(w.substr(4));
        else if (w.rfind("--backend=", 0) == 0) a.backend = w.substr(10);
        else if (w == "--save-temps" || w == "-save-temps" || w == "-save-temps=cwd") a.save_temps = true;
        else if (w == "-v") a.verbose = true;
        else if (w == "-###") a.verbose = a.dry_run = true;
        else if (w.rfind("-Wp,", 0) == 0) preprocessor_words(split(w.substr(4), ','));
        else if (w == "-Xpreprocessor") preprocessor_words({value("-Xpreprocessor")});
        else if (w[1] == 'l' && w.size() > 2) a.inputs.push_back({IN_LINKER, w});
        else if (w == "-l") a.inputs.push_back({IN_LINKER, "-l" + value("-l")});
        else if (w[1] == 'M') return dependencies(w);
        else return false;
        return true;
    }

    // -Wp,-MD,FILE and its kin: as if they stood by themselves.
    void preprocessor_words(const std::vector<std::string> &list) {
        for (size_t k = 0; k < list.size(); k++) {
            const std::string &w = list[k];
            if ((w == "-MD" || w == "-MMD") && k + 1 < list.size()) {
                dependencies(w);
                a.dependency_file = list[++k];
            } else if (w[0] == '-' && w.size() > 1 && w[1] == 'M' && dependencies(w)) {
            } else
                for (auto *to : {&a.parse, &a.preprocess}) to->push_back(w);
        }
    }

    void option(const std::string &w) {
        if (own(w)) return;
        const RULE *r = find_rule(w);
        if (!r) die("unrecognized command-line option '" + w + "'");
        if (r->stages & REFUSE) die("'" + w + "' is not supported");
        if (r->stages & DROP) return;
        std::vector<std::string> all{w};
        size_t stem = strlen(r->name) - (r->name[strlen(r->name) - 1] == '*');
        if (r->stages & VALUE && w.size() == stem) all.push_back(value(w.c_str()));
        auto add = [&](unsigned stage, std::vector<std::string> &to) {
            if (r->stages & stage) to.insert(to.end(), all.begin(), all.end());
        };
        add(PARSE, a.parse);
        add(PREPROCESS, a.preprocess);
        add(BACKEND, a.backend_options);
        add(LINK, a.link);
        add(FORWARD, a.forward);
        if (w == "-mthumb") a.thumb = true;
        if (w == "-marm") a.thumb = false;
        if (w.rfind("-mfpu=", 0) == 0) a.fpu = w.substr(6), a.neon = w.find("neon") != std::string::npos;
        if (w.rfind("-mcpu=", 0) == 0) a.cpu = w.substr(6);
        if (w.rfind("-march=", 0) == 0) a.arch = w.substr(7);
        if (w.rfind("-mfloat-abi=", 0) == 0) a.soft_float = w == "-mfloat-abi=soft";
        if (w == "-mbig-endian" || w == "-mlittle-endian")
            a.parse.push_back(w == "-mbig-endian" ? "--endian=big" : "--endian=little");
        if (w.rfind("-mfloat-abi=", 0) == 0) a.soft_calls = w != "-mfloat-abi=hard";
        if (w.rfind("-g", 0) == 0) a.line_marks = w != "-g0";
    }

  public:
    ARGS run(int argc, char **argv) {
        for (int k = 1; k < argc; k++) {
            if (argv[k][0] == '@' && argv[k][1]) {
                auto more = file_words(argv[k] + 1);
                words.insert(words.end(), more.begin(), more.end());
            } else words.emplace_back(argv[k]);
        }
        for (; i < words.size(); i++)
            if (words[i].size() > 1 && words[i][0] == '-') option(words[i]);
            else if (!words[i].empty()) input(words[i]);
        if (a.soft_calls) a.parse.push_back("--float=soft");
        return a;
    }
};

} // namespace

ARGS parse_args(int argc, char **argv) {
    if (argc < 2) {
        usage(stderr);
        die("no input files");
    }
    return PARSER().run(argc, argv);
}
