#include "options/opttable.h"

#include <cstring>

namespace {

// clang-format off
const option_enumerator abi_values[]          = {{" legacy", ENUM_ABI_LEGACY}, {" eabi", ENUM_ABI_EABI}, {}};
const option_enumerator code_state_values[]   = {{" 16", ENUM_CODE_16}, {" 32", ENUM_CODE_32}, {}};
const option_enumerator diag_wrap_values[]    = {{" off", ENUM_DIAG_WRAP_OFF}, {" on", ENUM_DIAG_WRAP_ON}, {}};
const option_enumerator endian_values[]       = {{" big", ENUM_ENDIAN_BIG}, {" little", ENUM_ENDIAN_LITTLE}, {}};
const option_enumerator float_values[]        = {{" none", ENUM_FLOAT_NONE}, {" vfpv2", ENUM_FLOAT_VFPV2},
                                                 {" vfpv3d16", ENUM_FLOAT_VFPV3D16}, {" vfpv3", ENUM_FLOAT_VFPV3},
                                                 {" vfpv4", ENUM_FLOAT_VFPV4}, {" fpv4spd16", ENUM_FLOAT_FPV4SPD16},
                                                 {"*vfp", ENUM_FLOAT_VFPV2}, {}};
const option_enumerator fp_mode_values[]      = {{" relaxed", ENUM_FP_RELAXED}, {" strict", ENUM_FP_STRICT}, {}};
const option_enumerator fp_reassoc_values[]   = {{" off", ENUM_FP_REASSOC_OFF}, {" on", ENUM_FP_REASSOC_ON}, {}};
const option_enumerator data_sub_values[]     = {{" off", ENUM_DATA_SUBSECTIONS_OFF}, {" on", ENUM_DATA_SUBSECTIONS_ON}, {}};
const option_enumerator func_sub_values[]     = {{" off", ENUM_FUNC_SUBSECTIONS_OFF}, {" on", ENUM_FUNC_SUBSECTIONS_ON}, {}};
const option_enumerator mem_code_values[]     = {{" near", ENUM_MEM_CODE_NEAR}, {" far", ENUM_MEM_CODE_FAR}, {}};
const option_enumerator mem_data_values[]     = {{" near", ENUM_MEM_DATA_NEAR}, {" far", ENUM_MEM_DATA_FAR}, {}};
const option_enumerator opt_level_values[]    = {{" off", ENUM_OPT_LEVEL_OFF}, {" 0", ENUM_OPT_LEVEL_0},
                                                 {" 1", ENUM_OPT_LEVEL_1}, {" 2", ENUM_OPT_LEVEL_2},
                                                 {" 3", ENUM_OPT_LEVEL_3}, {" 4", ENUM_OPT_LEVEL_4}, {}};
const option_enumerator sat_reassoc_values[]  = {{" off", ENUM_SAT_REASSOC_OFF}, {" on", ENUM_SAT_REASSOC_ON}, {}};
const option_enumerator sect_sizes_values[]   = {{" off", ENUM_SECTION_SIZES_OFF}, {" on", ENUM_SECTION_SIZES_ON}, {}};
const option_enumerator silicon_values[]      = {{" 4", ENUM_SILICON_4}, {" 5e", ENUM_SILICON_5E}, {" 6", ENUM_SILICON_6},
                                                 {" 6M0", ENUM_SILICON_6M0}, {" 7A8", ENUM_SILICON_7A8},
                                                 {" 7M3", ENUM_SILICON_7M3}, {" 7M4", ENUM_SILICON_7M4},
                                                 {" 7R4", ENUM_SILICON_7R4}, {" 7R5", ENUM_SILICON_7R5}, {}};
const option_enumerator speed_goal_values[]   = {{" 0", ENUM_SPEED_GOAL_0}, {" 1", ENUM_SPEED_GOAL_1}, {" 2", ENUM_SPEED_GOAL_2},
                                                 {" 3", ENUM_SPEED_GOAL_3}, {" 4", ENUM_SPEED_GOAL_4}, {" 5", ENUM_SPEED_GOAL_5}, {}};
const option_enumerator vectorize_values[]    = {{" off", ENUM_VECTORIZE_OFF}, {" on", ENUM_VECTORIZE_ON}, {}};

constexpr class_id BASIC = class_id::basic, OPTIM = class_id::optimization, ASSUME = class_id::assumptions,
                   TARGET = class_id::target, LISTING = class_id::listing, DEBUGGING = class_id::debugging;

// Shapes of the columns "kind" to "fallback".
#define SWITCH                       PARM_NONE, PARSE_NOTHING, nullptr, 0, 0, 0
#define TEXT(what)                   PARM_STRING, PARSE_TEXT, what, 0, 0, 0
#define TEXTS(what)                  PARM_STRING_LIST, PARSE_TEXT_LIST, what, 0, 0, 0
#define NUMBER(what, low, high)      PARM_NUMBER, PARSE_NUMBER, what, low, high, 0
#define OPT_NUMBER(what, low, high, fallback) PARM_NUMBER, PARSE_OPTIONAL_NUMBER, what, low, high, fallback
#define ONEOF(what)                  PARM_ONEOF, PARSE_ONEOF, what, 0, 0, 0
#define OPT_ONEOF(what, fallback)    PARM_ONEOF, PARSE_OPTIONAL_ONEOF, what, 0, 0, fallback
#define RESERVED                     {nullptr, {}, nullptr, SWITCH, false, class_id::all, nullptr, nullptr, nullptr}
#define PASSED_ON                    "Accepted for the other stages of the toolchain; no effect here."

} // namespace

// name, further names, letter, kind..fallback, persistent, group, enumerators, help, more help
const option_definition option_definitions[OPTION_COUNT] = {
    /*  0 */ RESERVED,
    /*  1 */ {"abi", {}, nullptr, ONEOF("abi"), false, TARGET, abi_values,
              "Application binary interface of the input.", "It decides how linkage names are formed."},
    /*  2 */ {"advice:performance", {}, nullptr, TEXT("kind"), false, LISTING, nullptr,
              "Ask for performance advice of one kind.", PASSED_ON},
    /*  3 */ {"aliased_variables", {}, "a", SWITCH, false, ASSUME, nullptr,
              "Assume that pointers may point at any variable.", nullptr},
    /*  4 */ {"auto_inline", {}, "i", NUMBER("limit", 0, NUMBER_MAX), false, OPTIM, nullptr,
              "Inline functions up to this size that are not declared inline.", "0 turns automatic inlining off."},
    /*  5 */ {"aux_cmd_flag", {}, nullptr, TEXTS("string"), false, DEBUGGING, nullptr,
              "Set an auxiliary flag, named by a digit.", "Only together with print_debug."},
    /*  6 */ {"big_endian", {}, "e", SWITCH, false, TARGET, nullptr, "Memory is big-endian.", nullptr},
    /*  7 */ {"byte_mode", {}, nullptr, SWITCH, false, TARGET, nullptr, "Address memory by bytes.", PASSED_ON},
    /*  8 */ {"call_assumptions", {"program_mode"}, "c", NUMBER("0-3", 0, 3), false, ASSUME, nullptr,
              "What code outside of this file may do.",
              "0: call functions of this file and write its variables. 1: only write. 2: neither. 3: only call. "
              "From level 3 on."},
    /*  9 */ {"ignore_file_options", {}, nullptr, SWITCH, true, DEBUGGING, nullptr,
              "Ignore the options recorded in the input file.", nullptr},
    /* 10 */ {"code_state", {}, nullptr, ONEOF("16,32"), false, TARGET, code_state_values,
              "Instruction set state of functions that do not say their own.", "16 is Thumb, 32 is ARM."},
    /* 11 */ {"debug:", {}, "d", TEXTS("name"), false, DEBUGGING, nullptr,
              "Set debug switches: name[=value],...", nullptr},
    /* 12 */ RESERVED,
    /* 13 */ {"diag_wrap", {}, nullptr, ONEOF("on,off"), false, LISTING, diag_wrap_values,
              "Wrap the lines of diagnostics.", PASSED_ON},
    /* 14 */ {"disable:", {}, nullptr, TEXTS("name"), false, DEBUGGING, nullptr,
              "Turn single transformations off: name[=value],...", nullptr},
    /* 15 */ {"disable_inlining", {}, "x", SWITCH, false, OPTIM, nullptr,
              "Inline nothing but what must always be inlined.", nullptr},
    /* 16 */ {"dump_call_graph", {}, "y", SWITCH, false, DEBUGGING, nullptr,
              "Print the call graph to the debug file.", nullptr},
    /* 17 */ {"dump_options", {}, nullptr, SWITCH, true, DEBUGGING, nullptr,
              "Print the options that hold for the file and stop.", nullptr},
    /* 18 */ {"dwim_loops", {}, nullptr, SWITCH, false, ASSUME, nullptr,
              "Assume that loop counters move and do not wrap.", nullptr},
    /* 19 */ {"enable:", {}, nullptr, TEXTS("name"), false, DEBUGGING, nullptr,
              "Turn single transformations on: name[=value],...", nullptr},
    /* 20 */ {"endian", {}, nullptr, ONEOF("endianness"), false, TARGET, endian_values, "Byte order of memory.", nullptr},
    /* 21 */ {"far_externs", {}, "f", SWITCH, false, TARGET, nullptr, "External symbols may be far away.", nullptr},
    /* 22 */ {"float_support", {}, nullptr, ONEOF("unit"), false, TARGET, float_values,
              "Floating-point unit of the target.", "none: software floating point."},
    /* 23 */ {"fp_mode", {}, nullptr, ONEOF("mode"), false, OPTIM, fp_mode_values,
              "How closely floating-point results follow the source.", nullptr},
    /* 24 */ {"fp_reassoc", {}, nullptr, OPT_ONEOF("on,off", ENUM_FP_REASSOC_ON), false, OPTIM, fp_reassoc_values,
              "Allow reassociation of floating-point arithmetic.", nullptr},
    /* 25 */ {"gen_data_subsections", {}, nullptr, OPT_ONEOF("on,off", ENUM_DATA_SUBSECTIONS_ON), false, TARGET,
              data_sub_values, "Place each variable in a section of its own.", PASSED_ON},
    /* 26 */ {"gen_func_subsections", {}, nullptr, OPT_ONEOF("on,off", ENUM_FUNC_SUBSECTIONS_ON), false, TARGET,
              func_sub_values, "Place each function in a section of its own.", PASSED_ON},
    /* 27 */ {"gen_opt_info", {"opt_info"}, "n", OPT_NUMBER("level", 0, NUMBER_MAX, 1), false, LISTING, nullptr,
              "Write an information file about the optimizations.", "From level 3 on, or with print_debug."},
    /* 28 */ {"global_register", {}, nullptr, TEXT("reg"), false, TARGET, nullptr,
              "Reserve a register for a global variable.", PASSED_ON},
    /* 29 */ {"help", {}, nullptr, SWITCH, false, BASIC, nullptr, "Print this list and stop.", nullptr},
    /* 30 */ {"inline_recursion_limit", {}, nullptr, NUMBER("limit", 0, NUMBER_MAX), false, OPTIM, nullptr,
              "How often a recursive function is inlined into itself.", PASSED_ON},
    /* 31 */ {"interrupt_threshold", {}, nullptr, OPT_NUMBER("threshold", 0, NUMBER_MAX, 1), false, OPTIM, nullptr,
              "Longest time, in cycles, that interrupts may stay off.", nullptr},
    /* 32 */ {"keep_opt_ifile", {}, "z", SWITCH, false, DEBUGGING, nullptr, "Keep the output file.", PASSED_ON},
    /* 33 */ {"kr_compatible", {}, "k", SWITCH, false, ASSUME, nullptr, "The source is C before the standard.", nullptr},
    /* 34 */ {"list_passes", {}, nullptr, SWITCH, false, LISTING, nullptr, "Print the passes in order and stop.", nullptr},
    /* 35 */ {"max_unrolled_loop_size", {}, "u", NUMBER("size", 0, NUMBER_MAX), false, OPTIM, nullptr,
              "Largest body that unrolling may make.", nullptr},
    /* 36 */ {"mem_model:code", {}, nullptr, ONEOF("model"), false, TARGET, mem_code_values, "Reach of calls.", PASSED_ON},
    /* 37 */ {"mem_model:data", {}, nullptr, ONEOF("model"), false, TARGET, mem_data_values,
              "Reach of data references.", PASSED_ON},
    /* 38 */ {"neon", {}, nullptr, SWITCH, false, TARGET, nullptr, "The target has the NEON extension.", nullptr},
    /* 39 */ {"no_bad_aliases", {}, nullptr, SWITCH, false, ASSUME, nullptr,
              "Assume that pointers are used in the best of ways.",
              "Pointer parameters are disjoint, characters alias nothing else, loop counters move."},
    /* 40 */ {"non_reentrant", {}, "r", SWITCH, false, ASSUME, nullptr, "No function is entered twice at a time.", nullptr},
    /* 41 */ {"opt_for_cache", {}, nullptr, SWITCH, false, OPTIM, nullptr, "Keep code small enough for the cache.", nullptr},
    /* 42 */ {"opt_for_space", {}, nullptr, OPT_NUMBER("level", 0, NUMBER_MAX, 2), false, OPTIM, nullptr,
              "Prefer small code.", PASSED_ON},
    /* 43 */ {"opt_for_speed", {}, nullptr, OPT_NUMBER("0-5", 0, 5, 4), false, OPTIM, nullptr,
              "Prefer fast code.", PASSED_ON},
    /* 44 */ {"opt_info_filename", {"info_file"}, nullptr, TEXT("filename"), false, LISTING, nullptr,
              "Name of the information file.", "Default: the input name with extension .nfo."},
    /* 45 */ {"opt_level", {}, "o", ONEOF("level"), false, BASIC, opt_level_values,
              "Optimization level.", "off and 0: registers only, 1: local, 2: global, 3: whole file, 4: whole program."},
    /* 46 */ {"opt_passes", {"forced_passes"}, nullptr, TEXT("options"), false, DEBUGGING, nullptr,
              "Run these passes, by number, in this order; \"random\" draws an order.", nullptr},
    /* 47 */ {"optimizer_interlist", {}, "s", SWITCH, false, LISTING, nullptr,
              "Leave source comments for the code generator.", nullptr},
    /* 48 */ {"pass_args_in_regs", {}, "p", SWITCH, false, TARGET, nullptr, "Arguments are passed in registers.", nullptr},
    /* 49 */ {"print_debug", {}, nullptr, OPT_NUMBER("level", 0, NUMBER_MAX, 1), false, DEBUGGING, nullptr,
              "Write a debug file.", "Each # in an argument of its own raises the level by one."},
    /* 50 */ {"remove_hooks_when_inlining", {}, nullptr, SWITCH, false, OPTIM, nullptr,
              "Inlined functions lose their entry and exit hooks.", nullptr},
    /* 51 */ {"sat_reassoc", {}, nullptr, OPT_ONEOF("on,off", ENUM_SAT_REASSOC_ON), false, OPTIM, sat_reassoc_values,
              "Allow reassociation of saturating arithmetic.", nullptr},
    /* 52 */ {"section_sizes", {}, nullptr, OPT_ONEOF("on,off", ENUM_SECTION_SIZES_ON), false, LISTING,
              sect_sizes_values, "Report section sizes.", PASSED_ON},
    /* 53 */ {"silicon_version", {}, nullptr, ONEOF("version"), false, TARGET, silicon_values,
              "Architecture version of the processor.", nullptr},
    /* 54 */ {"single_inline", {}, "j", SWITCH, false, OPTIM, nullptr, "Inline functions that have one caller.", nullptr},
    /* 55 */ {"size_speed_goal", {}, nullptr, ONEOF("0-5"), false, BASIC, speed_goal_values,
              "Balance of code size (0) against speed (5).", nullptr},
    /* 56 */ {"std_lib_func_defined", {}, "h1", SWITCH, false, ASSUME, nullptr,
              "The file defines standard library functions.", nullptr},
    /* 57 */ {"std_lib_func_not_defined", {}, "h2", SWITCH, false, ASSUME, nullptr,
              "The file defines no standard library function.", nullptr},
    /* 58 */ {"std_lib_func_redefined", {}, "h0", SWITCH, false, ASSUME, nullptr,
              "The file changes standard library functions.", nullptr},
    /* 59 */ {"thumb_state", {}, "t", SWITCH, false, TARGET, nullptr, "Functions are in Thumb state.", PASSED_ON},
    /* 60 */ {"toolversion", {"version"}, nullptr, SWITCH, false, BASIC, nullptr, "Print the version and stop.", nullptr},
    /* 61 */ {"unsigned_ok_for_rptb", {}, nullptr, SWITCH, false, OPTIM, nullptr,
              "Unsigned counters may become repeat counts.", nullptr},
    /* 62 */ RESERVED,
    /* 63 */ {"use_const_for_alias_analysis", {}, nullptr, SWITCH, false, ASSUME, nullptr,
              "What a pointer to const points at does not change.", nullptr},
    /* 64 */ {"use_g2", {}, "g2", SWITCH, false, DEBUGGING, nullptr, "Debug information of the second kind.", PASSED_ON},
    /* 65 */ {"use_g3", {}, "g3", SWITCH, false, DEBUGGING, nullptr, "Debug information of the third kind.", PASSED_ON},
    /* 66 */ {"use_llvm", {}, nullptr, SWITCH, false, OPTIM, nullptr, "Run the early low-level stage in SSA form.", nullptr},
    /* 67 */ {"vectorize", {}, nullptr, OPT_ONEOF("on,off", ENUM_VECTORIZE_ON), false, OPTIM, vectorize_values,
              "Use vector instructions.", nullptr},
    /* 68 */ {"volit_vars", {}, nullptr, SWITCH, false, ASSUME, nullptr,
              "Treat everything in memory but automatic variables as volatile.", nullptr},
};
// clang-format on

const char *enumerator_text(int id, long value) {
    const option_enumerator *row = option_definitions[id].enumerators;
    for (; row && row->text; ++row)
        if (row->value == value && *row->text != '*') return row->text + 1;
    return nullptr;
}

int enumerator_rank(int id, long value) {
    const option_enumerator *table = option_definitions[id].enumerators;
    for (int rank = 0; table && table[rank].text; ++rank)
        if (table[rank].value == value) return rank;
    return -1;
}

std::string enumerator_list(int id) {
    std::string list;
    const option_enumerator *row = option_definitions[id].enumerators;
    for (; row && row->text; ++row) {
        if (*row->text == '*') continue;
        if (!list.empty()) list += ',';
        list += row->text + 1;
    }
    return list;
}

const char *class_title(class_id group) {
    static const char *const titles[OPTION_CLASS_COUNT] = {"All",    "Basic",   "Optimization", "Assumption",
                                                           "Target", "Listing", "Debugging"};
    return titles[static_cast<int>(group)];
}

std::string get_opt_txt(int id) {
    const option_definition &row = option_definitions[id];
    if (!row.name) return "";
    std::string text = std::string("--") + row.name;
    if (row.kind == PARM_NONE) return text;
    bool optional = row.parse_type >= PARSE_OPTIONAL_NUMBER;
    bool joined = text.back() == ':';
    std::string value = option_is_enumerated(id) ? enumerator_list(id) : row.parameter;
    if (optional) text += "[=" + value + "]";
    else text += (joined ? "" : "=") + value;
    return text;
}
