// The command line of qlcc: that of a compiler, sorted by the stage that each argument concerns.
//
// A table says for each option which stages take it: the front end (qlparse), the preprocessor of the cross compiler
// (-E and dependencies), the code generator (the cross compiler on generated C), the linker. Options that tell another
// compiler how to optimize are dropped, because the optimizer here has its own; what would change the program's meaning
// and is not supported is an error. Anything that no rule knows goes to the cross compiler, which tells when it does
// not know it either.
//
// The order of inputs is kept: sources, objects, archives and -l stand in one list, as the linker must see them.
#pragma once

#include <string>
#include <vector>

enum ACTION { ACT_LINK, ACT_OBJECT, ACT_ASSEMBLY, ACT_PREPROCESS, ACT_IF, ACT_C, ACT_DEPENDENCIES };

enum INPUT_KIND {
    IN_C,      // .c, .i
    IN_IF,     // an intermediate file
    IN_ASM,    // .s, .S, .sx: assembled by the cross compiler
    IN_LINKER, // objects, archives, -l, -Wl: as they stand
};

struct INPUT {
    INPUT_KIND kind;
    std::string text;
};

struct ARGS {
    ACTION action = ACT_LINK;
    std::string output;
    std::vector<INPUT> inputs;
    int level = 0; // of the optimizer; -1: the file goes to the code generator unoptimized
    bool for_size = false, aliased_variables = true, whole_program = false, fast_math = false;
    bool thumb = true, neon = false, vectorize = false;
    bool save_temps = false, verbose = false, dry_run = false, line_marks = false;
    bool make_dependencies = false, user_headers_only = false, phony_targets = false; // -MD, -MMD, -MP
    std::string dependency_file, backend;
    std::string cpu, arch, fpu; // values of -mcpu=, -march=, -mfpu=; empty: the cross compiler's default
    bool soft_float = false;    // -mfloat-abi=soft
    bool soft_calls = false;    // and softfp: floats travel in core registers
    std::vector<std::string> dependency_targets; // -MT, -MQ with their values
    std::vector<std::string> parse, preprocess, optimizer, generate, backend_options, link;
    std::vector<std::string> forward; // questions that the cross compiler answers
};

// Reads the command line, with @FILE replaced by what the file says. Errors and --help end the program.
ARGS parse_args(int argc, char **argv);
[[noreturn]] void die(const std::string &message);
