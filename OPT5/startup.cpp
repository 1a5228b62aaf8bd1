#include "OPT5/startup.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "OPT5/files.h"
#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/passes.h"
#include "OPT5/procint.h"
#include "OPT5/read.h"
#include "OPT5/write.h"
#include "ifile/if_file.h"
#include "options/optmsg.h"
#include "support/dbgout.h"
#include "support/fatal.h"
#include "support/filename.h"
#include "support/register_option.h"
#include "support/signalsupport.h"
#include "typepkg/type_pkg.h"

namespace {

constexpr char BUILD[] = "1.0";

std::vector<std::unique_ptr<option_obj>> option_objects; // all of the run

option_obj *new_option_obj() {
    option_objects.push_back(std::make_unique<option_obj>());
    return option_objects.back().get();
}

const char *program_name;
int saved_argc;
char **saved_argv;
int arg_position;          // of the scan and of next_arg
int cmd_line_text_pending; // arguments that emit_cmd_line_text has not recorded yet

// As given. o_file_name is set later, when it is known not to be the input: what has that name may be removed.
char wanted_o_file_name[FILE_NAME_SIZE];

fatal_place place_of_failure() {
    fatal_place place;
    if (currfunc) place.function = currfunc->name;
    if (currfuninfo && currfuninfo->begin_psn) place.file = currfuninfo->begin_psn->file;
    return place;
}

void report_signal(int signal) {
    common_signal_handler(signal, program_name, "while processing function %s file %s",
                          currfunc && currfunc->name ? currfunc->name : "<unknown>", i_file_name);
}

const char *signal_name(int signal) {
    static const struct {
        int signal;
        const char *name;
    } names[] = {{SIGHUP, "SIGHUP"},   {SIGINT, "SIGINT"},   {SIGILL, "SIGILL"},   {SIGTRAP, "SIGTRAP"},
                 {SIGABRT, "SIGABRT"}, {SIGBUS, "SIGBUS"},   {SIGFPE, "SIGFPE"},   {SIGUSR1, "SIGUSR1"},
                 {SIGSEGV, "SIGSEGV"}, {SIGUSR2, "SIGUSR2"}, {SIGTERM, "SIGTERM"}, {SIGURG, "SIGURG"},
                 {SIGXCPU, "SIGXCPU"}, {SIGXFSZ, "SIGXFSZ"}, {SIGSYS, "SIGSYS"}};
    for (const auto &row : names)
        if (row.signal == signal) return row.name;
    return "<unknown>";
}

void close_streams_on_signal(int signal) {
    fflush(nullptr);
    const char *format = "\n>>>> Optimizer terminated by signal: %s.\n";
    if (print_debug && fdebug) {
        fprintf(fdebug, format, signal_name(signal));
        fclose(fdebug);
    }
    if (write_opt_info && finfo) {
        fprintf(finfo, format, signal_name(signal));
        fclose(finfo);
    }
}

// ---- the command line

void report_unknown_option(const char *argument) {
    DIAG::optgen_not_valid(__FILE__, __LINE__, argument, "on", "the command line").report();
}

// Options that only ask for a listing need no input.
void handle_listing_options() {
    if (cmdline_options->testopt(OO_TOOLVERSION)) {
        option_obj::print_banner(stdout);
        buildid(stdout, "Build Number ");
        exit(0);
    }
    if (cmdline_options->testopt(OO_LIST_PASSES)) {
        setup_passes(false);
        list_passes(stderr);
        exit(0);
    }
}

// The number of positional arguments.
int parse_command_line(int argc, char **argv) {
    cmdline_options = new_option_obj();
    program_name = argc > 0 ? argv[0] : nullptr;
    option_obj::set_executable_name(program_name);
    option_obj::set_next_arg(next_arg);
    saved_argc = cmd_line_text_pending = argc;
    saved_argv = argv;
    arg_position = 1;
    install_common_handlers(report_signal, close_streams_on_signal);

    int positional = 0;
    while (const char *argument = next_arg()) {
        if (argument[0] == '-') {
            if (!cmdline_options->process_option(argument + 1)) report_unknown_option(argument);
            continue;
        }
        switch (++positional) {
        case 1: store_file_name(i_file_name, argument); break;
        case 2: store_file_name(wanted_o_file_name, argument); break;
        case 3: break;
        default:
            fprintf(stderr, "\n>>>> OPTIMIZER ERROR: Unexpected options: %s %s %s\n", i_file_name,
                    wanted_o_file_name, argument);
        }
    }
    cmdline_options->post_process_option_depends();
    handle_listing_options();
    return positional;
}

// ---- input and its option sets

void open_input() {
    FILE *file = fopen(i_file_name, "rb");
    if (!file) {
        fprintf(stderr, "\n>> Cannot Open Input icode File, %s : %s, Aborting\n", strerror(errno),
                i_file_name);
        exit(1);
    }
    i_file = I_FILE::if_open(file, opt_client(), i_file_name);
    if (!i_file) {
        fprintf(stderr, "\n>> Error when opening input icode file : %s, Aborting\n", i_file_name);
        exit(1);
    }
}

void lay_command_line_over(option_obj *options) {
    for (const auto &pair : cmdline_options->export_option_pairs(2))
        options->process_option(pair.second.c_str());
}

void add_file_options(option_obj *options, const OPTION_SET &set) {
    options->addfileopt(option_obj::executable_name(), i_file_name);
    for (const std::string &text : set.strings) {
        if (text.empty() || options->process_option(text.c_str() + 1)) continue;
        DIAG::optgen_not_valid_ignored(__FILE__, __LINE__, text.c_str(), "in", i_file_name).report();
    }
}

void build_option_sets() {
    if (icode_optionlist.empty()) {
        all_option_sets.push_back(new_option_obj());
        lay_command_line_over(all_option_sets[0]);
    }
    all_option_sets.resize(std::max<size_t>(icode_optionlist.size(), 1));
    for (const OPTION_SET &set : icode_optionlist) {
        if (!option_set_exists(set.id) || all_option_sets[set.id])
            refuse_input("option set %u is %s", set.id,
                         option_set_exists(set.id) ? "there twice" : "out of range");
        option_obj *options = all_option_sets[set.id] = new_option_obj();
        if (!cmdline_options->testopt(OO_IGNORE_FILE_OPTIONS)) add_file_options(options, set);
        lay_command_line_over(options);
    }
    file_options = all_option_sets[0];
    // Errors that the texts of the file caused count as well.
    file_options->post_process_option_depends();
}

void settle_debug_level() {
    if (!file_options->testopt(OO_PRINT_DEBUG)) return;
    if (file_options->getnumarg(OO_GEN_OPT_INFO) == 0) file_options->setopt(OO_GEN_OPT_INFO, 1);
    if (file_options->testopt(OO_SIZE_SPEED_GOAL) && size_speed_goal() < 4)
        fprintf(stderr, "\n\t*** Optimizing code size, not speed ***\n\n");
}

// ---- outputs

void name_output(int positional) {
    if (positional > 2) {
        fprintf(stderr, "\n>>>> OPTIMIZER ERROR: Garbage on command line\n\n");
        exit(1);
    }
    if (positional < 2) store_file_name(wanted_o_file_name, fn_with_extension(i_file_name, ".opt"));
    if (fn_same_file(i_file_name, wanted_o_file_name)) {
        fprintf(stderr, "\n>>>> OPTIMIZER ERROR: Output file is the input file: %s\n\n", wanted_o_file_name);
        exit(1);
    }
    strcpy(o_file_name, wanted_o_file_name);
}

void open_info_file() {
    long level = file_options->getnumarg(OO_OPT_LEVEL);
    bool wanted =
        file_options->testopt(OO_PRINT_DEBUG) ||
        (file_options->testopt(OO_OPT_LEVEL) && (level == ENUM_OPT_LEVEL_3 || level == ENUM_OPT_LEVEL_4));
    if (!wanted) file_options->clearopt(OO_GEN_OPT_INFO);
    int info_level = static_cast<int>(file_options->getnumarg(OO_GEN_OPT_INFO));
    if (!info_level) return;

    const char *given = file_options->getstrarg(OO_INFO_FILE);
    std::string name = given ? given : fn_with_extension(i_file_name, ".nfo");
    finfo = open_text_output(name, "w");
    if (!finfo) {
        fprintf(stderr, "\n>> Cannot Open Info File, %s : %s, Aborting\n", strerror(errno), name.c_str());
        exit(1);
    }
    write_opt_info = info_level;
    option_obj::print_banner(finfo);
    buildid(finfo, "Build Number ");
}

void open_output() {
    FILE *file = fopen(o_file_name, "wb+");
    if (!file) {
        fprintf(stderr, "\n>> Cannot Open Output icode File, %s : %s, Aborting\n", strerror(errno),
                o_file_name);
        o_file_name[0] = 0; // nothing of ours is there to remove
        exit(1);
    }
    o_file = I_FILE::if_create(file, tp, i_file->producer());
    for (const OPTION_SET &set : icode_optionlist) o_file->if_enter_option_set(set);
}

} // namespace

const char *next_arg() { return arg_position < saved_argc ? saved_argv[arg_position++] : nullptr; }

void buildid(FILE *stream, const char *prefix) { fprintf(stream, "%s%s\n", prefix, BUILD); }

void open_files(int argc, char **argv) {
    discard_output_on_exit();
    register_fatal_describer(place_of_failure);

    int positional = parse_command_line(argc, argv);
    open_input();
    build_option_sets();
    if (file_options->testopt(OO_DUMP_OPTIONS)) {
        file_options->dump(0);
        exit(0);
    }
    reset_global_flags();
    set_global_flags(file_options);

    tp = new TYPE_PKG;
    init_type_pkg(tp);
    i_file->if_type_init(tp);

    settle_debug_level();
    name_output(positional);
    open_info_file();
    if (file_options->testopt(OO_PRINT_DEBUG)) {
        open_debug_file(true, nullptr);
        print_debug = static_cast<int>(file_options->getnumarg(OO_PRINT_DEBUG));
    }
    do_MDF_vectorization = pass_debug("SIMD") || (file_options->testopt(OO_VECTORIZE) &&
                                                  file_options->getnumarg(OO_VECTORIZE) == ENUM_VECTORIZE_ON);
    init_proc_integration();
    open_output();
    if (volit_vars) {
        const char *warning = "\n>>>> Warning: All non-auto lvalues are considered VOLATILE.\n\n";
        if (fdebug) fputs(warning, fdebug);
        fputs(warning, stderr);
    }
    emit_cmd_line_text();
}

void emit_cmd_line_text() {
    if (cmd_line_text_pending) {
        std::string text = ";\t";
        for (int i = 0; i < cmd_line_text_pending; ++i) text += std::string(saved_argv[i]) + " ";
        cmd_line_text_pending = 0;
        // The buffer is that of the debug file's name, which nobody needs any more; a longer line is cut.
        snprintf(bug_file_name, sizeof bug_file_name, "%s", text.c_str());
        wrasmr(47, bug_file_name, nullptr);
    }
    if (!print_debug) return;
    bool ignored = cmdline_options->testopt(OO_IGNORE_FILE_OPTIONS);
    for (const OPTION_SET &set : icode_optionlist) {
        dprintf("Option set %u%s:\n", set.id, set.id == 0 ? " (file-level options)" : "");
        for (const std::string &text : set.strings)
            if (!ignored) dprintf("\t%s\n", text.c_str());
    }
}
