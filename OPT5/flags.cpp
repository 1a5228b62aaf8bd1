#include "OPT5/flags.h"

#include <cctype>
#include <cstring>

#include "OPT5/funinfo.h"
#include "OPT5/symtab.h"
#include "support/dbgout.h"
#include "support/demangle.h"
#include "support/fatal.h"
#include "support/register_option.h"
#include "typepkg/type_pkg.h"

option_obj *cmdline_options;
option_obj *file_options;
std::vector<option_obj *> all_option_sets;

bool alias_vars;
bool inline_single;
int cache_sys_funinfo = 2;
bool code_is_reentrant = true;
bool dump_ocg_in_GDL;
bool dwim_aliases;
bool dwim_loops;
bool far_externs;
int float_support;
bool kr_flag;
bool memory_is_big_endian;
int memory_model;
bool mini_mult;
bool apply_symbolic_methods;
bool pass_args_in_regs;
int program_mode = -1;
bool source_interlist;
bool unsigned_index_wraps = true;
bool unsigned_ok_for_RPTB;
bool volit_vars;
int max_unrolled_loop_size = 195;
bool old_const_pointer_behavior;
bool chars_alias_other_types = true;
bool pointer_args_are_disjoint;
bool loop_increments_are_not_zero;
bool strict_fp = true;
bool use_g2;
bool remove_hooks_when_inlining;
bool aux_cmd_flag[10];
bool inhibit_clustering;
int cpu_version;
bool do_MDF_vectorization;
int default_o3_auto_inline;
int user_error_count;

// ---- accessors

option_obj *current_options() {
    if (currfunc && option_set_exists(currfunc->option_set)) return all_option_sets[currfunc->option_set];
    return file_options;
}

bool option_set_exists(unsigned id) { return id < all_option_sets.size(); }

// The accessors work before and without options too: everything is then unset.
static bool option_is_set(int id) {
    const option_obj *options = current_options();
    return options && options->testopt(id);
}

static long option_number(int id) { return current_options()->getnumarg(id); }

int opt_level() {
    if (!option_is_set(OO_OPT_LEVEL)) return 1;
    switch (option_number(OO_OPT_LEVEL)) {
    case ENUM_OPT_LEVEL_OFF:
    case ENUM_OPT_LEVEL_0: return 0;
    case ENUM_OPT_LEVEL_2: return 2;
    case ENUM_OPT_LEVEL_3: return 3;
    case ENUM_OPT_LEVEL_4: return 4;
    default: return 1;
    }
}

int size_speed_goal() {
    if (!option_is_set(OO_SIZE_SPEED_GOAL)) return 4;
    switch (option_number(OO_SIZE_SPEED_GOAL)) {
    case ENUM_SPEED_GOAL_0: return 0;
    case ENUM_SPEED_GOAL_1: return 1;
    case ENUM_SPEED_GOAL_2: return 2;
    case ENUM_SPEED_GOAL_3: return 3;
    case ENUM_SPEED_GOAL_5: return 5;
    default: return 4;
    }
}

int auto_inline() {
    if (option_is_set(OO_AUTO_INLINE)) return static_cast<int>(option_number(OO_AUTO_INLINE));
    switch (opt_level()) {
    case 2: return 20;
    case 3:
    case 4: return default_o3_auto_inline;
    default: return 0;
    }
}

int code_state() {
    for (const PRAGMA *pragma = currfunc ? currfunc->pragmas : nullptr; pragma; pragma = pragma->next) {
        if (pragma->number != PRAG_CODE_STATE || pragma->args.size() != 1) continue;
        if (pragma->args[0] == "16") return 1;
        if (pragma->args[0] == "32") return 0;
        break;
    }
    return option_is_set(OO_CODE_STATE) && option_number(OO_CODE_STATE) == ENUM_CODE_16;
}

int thumb_2_mode() {
    switch (cpu_version) {
    case 78:
    case 734:
    case 73:
    case 74: return code_state();
    default: return 0;
    }
}

bool fp_add_is_associative() {
    return !option_is_set(OO_FP_REASSOC) || option_number(OO_FP_REASSOC) != ENUM_FP_REASSOC_OFF;
}

bool saturating_add_is_associative() {
    return option_is_set(OO_SAT_REASSOC) && option_number(OO_SAT_REASSOC) == ENUM_SAT_REASSOC_ON;
}

int interrupt_threshold() {
    return option_is_set(OO_INTERRUPT_THRESHOLD) ? static_cast<int>(option_number(OO_INTERRUPT_THRESHOLD))
                                                 : 0;
}

bool use_llvm() { return option_is_set(OO_USE_LLVM); }
bool arm_neon() { return option_is_set(OO_NEON); }

// ---- global flags

void reset_global_flags() {
    alias_vars = false;
    inline_single = false;
    cache_sys_funinfo = 2;
    code_is_reentrant = true;
    dump_ocg_in_GDL = false;
    dwim_aliases = false;
    dwim_loops = false;
    far_externs = false;
    kr_flag = false;
    memory_is_big_endian = false;
    memory_model = 0;
    mini_mult = false;
    apply_symbolic_methods = false;
    pass_args_in_regs = false;
    program_mode = -1;
    source_interlist = false;
    unsigned_index_wraps = true;
    unsigned_ok_for_RPTB = false;
    volit_vars = false;
    max_unrolled_loop_size = 195;
    old_const_pointer_behavior = false;
    chars_alias_other_types = true;
    pointer_args_are_disjoint = false;
    loop_increments_are_not_zero = false;
    strict_fp = true;
    use_g2 = false;
    memset(aux_cmd_flag, 0, sizeof aux_cmd_flag);
    restore_global_flags();
}

static int cpu_version_of(long silicon) {
    switch (silicon) {
    case ENUM_SILICON_4: return 0;
    case ENUM_SILICON_5E: return 5;
    case ENUM_SILICON_6:
    case ENUM_SILICON_6M0: return 6;
    case ENUM_SILICON_7A8: return 78;
    case ENUM_SILICON_7M3: return 73;
    case ENUM_SILICON_7M4: return 734;
    case ENUM_SILICON_7R4:
    case ENUM_SILICON_7R5: return 74;
    default: return 7;
    }
}

static void process_debug_options(const char *kind, const option_obj *options, int id) {
    for (int n = 0; n < options->getargcount(id); ++n) process_debug_option(kind, options->getstrarg(id, n));
}

static void set_aux_cmd_flags(const option_obj *options) {
    if (!options->testopt(OO_PRINT_DEBUG)) return;
    for (int n = 0; n < options->getargcount(OO_AUX_FLAGS); ++n) {
        unsigned char digit = static_cast<unsigned char>(*options->getstrarg(OO_AUX_FLAGS, n));
        if (isdigit(digit)) aux_cmd_flag[digit - '0'] = true;
    }
}

[[noreturn]] static void bad_enumerator(const char *format, long value) {
    fprintf(stderr, format, value);
    abort_optimizer();
}

// What one option that is set does to the flags.
static void apply_option(const option_obj *options, int id) {
    long value = options->getnumarg(id);
    switch (id) {
    case OO_ABI:
        if (value == ENUM_ABI_EABI) TYPE_PKG::abi = decode_mangle_scheme = 1;
        break;
    case OO_ALIASED_VARIABLES: alias_vars = true; break;
    case OO_AUX_FLAGS: set_aux_cmd_flags(options); break;
    case OO_BIG_ENDIAN: memory_is_big_endian = true; break;
    case OO_PROGRAM_MODE: program_mode = static_cast<int>(value); break;
    case OO_DEBUG: process_debug_options("debug", options, id); break;
    case OO_DISABLE: process_debug_options("disable", options, id); break;
    case OO_DUMP_CALL_GRAPH: dump_ocg_in_GDL = true; break;
    case OO_DWIM_LOOPS: dwim_loops = true; break;
    case OO_ENABLE: process_debug_options("enable", options, id); break;
    case OO_ENDIAN: memory_is_big_endian = value == ENUM_ENDIAN_BIG; break;
    case OO_FAR_EXTERNS: far_externs = true; break;
    case OO_FLOAT_SUPPORT:
        if (value != ENUM_FLOAT_NONE) float_support = static_cast<int>(value);
        break;
    case OO_FP_MODE:
        if (value == ENUM_FP_STRICT) strict_fp = true;
        if (value == ENUM_FP_RELAXED) strict_fp = false;
        break;
    case OO_KR_COMPATIBLE: kr_flag = true; break;
    case OO_MAX_UNROLLED_LOOP_SIZE: max_unrolled_loop_size = static_cast<int>(value); break;
    case OO_NO_BAD_ALIASES: dwim_aliases = dwim_loops = true; break;
    case OO_NON_REENTRANT: code_is_reentrant = false; break;
    case OO_OPT_LEVEL:
        if (value < ENUM_OPT_LEVEL_OFF || value > ENUM_OPT_LEVEL_0)
            bad_enumerator("--opt_level given invalid value: %ld\n", value);
        break;
    case OO_OPTIMIZER_INTERLIST: source_interlist = true; break;
    case OO_PASS_ARGS_IN_REGS: pass_args_in_regs = true; break;
    case OO_REMOVE_HOOKS_WHEN_INLINING: remove_hooks_when_inlining = true; break;
    case OO_SILICON_VERSION: cpu_version = TYPE_PKG::cpu_version = cpu_version_of(value); break;
    case OO_SINGLE_INLINE: inline_single = true; break;
    case OO_SIZE_SPEED_GOAL:
        if (value < ENUM_SPEED_GOAL_5 || value > ENUM_SPEED_GOAL_1)
            bad_enumerator("--size_speed_goal given invalid value:  %ld\n", value);
        break;
    case OO_STD_LIB_FUNC_DEFINED: cache_sys_funinfo = 1; break;
    case OO_STD_LIB_FUNC_NOT_DEFINED: cache_sys_funinfo = 2; break;
    case OO_STD_LIB_FUNC_REDEFINED: cache_sys_funinfo = 0; break;
    case OO_UNSIGNED_OK_FOR_RPTB: unsigned_ok_for_RPTB = true; break;
    case OO_USE_CONST_FOR_ALIAS_ANALYSIS: old_const_pointer_behavior = true; break;
    case OO_VOLIT_VARS: volit_vars = true; break;
    default: break;
    }
}

static bool level_is_zero(const option_obj *options) {
    long level = options->getnumarg(OO_OPT_LEVEL);
    return options->testopt(OO_OPT_LEVEL) && (level == ENUM_OPT_LEVEL_OFF || level == ENUM_OPT_LEVEL_0);
}

void set_global_flags(const option_obj *options) {
    // In the order of the user's options, each once: list options handle all their arguments at a time.
    bool applied[OPTION_COUNT] = {};
    for (const auto &pair : options->export_option_pairs(2)) {
        if (applied[pair.first]) continue;
        applied[pair.first] = true;
        apply_option(options, pair.first);
    }

    if (!file_options || !file_options->testopt(OO_PRINT_DEBUG)) memset(aux_cmd_flag, 0, sizeof aux_cmd_flag);
    if (dwim_aliases) {
        alias_vars = false;
        chars_alias_other_types = false;
        pointer_args_are_disjoint = true;
    }
    if (dwim_loops) loop_increments_are_not_zero = true;
    if (level_is_zero(options)) alias_vars = true;
    for (const option_obj *set : all_option_sets)
        if (level_is_zero(set)) inhibit_clustering = true;
}

void restore_global_flags() {
    dprintf("[Restoring options --> -o%d -i%d --opt_for_speed=%d]\n", opt_level(), auto_inline(),
            size_speed_goal());
}
