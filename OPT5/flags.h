// The option sets of the run and the flags that follow from them.
//
// all_option_sets holds one option object for each option set of the input file, with the command line laid over
// each; slot 0 is the file as a whole and always exists. Two kinds of answers are taken from them:
//
// - Accessors such as opt_level(). They consult the set of the current function, so two functions of one file may
//   be optimized differently. During a barrier, without current function, the file's own set answers.
// - Global flags. set_global_flags works them out once, from slot 0, and nothing changes them between functions.
//
// A function whose set the file does not have uses slot 0; the reader refuses such a file (option_set_exists), so
// this is a second line of defence, not a feature.
//
// The values that enumerated options compare with are those of options/opttable.h.
#pragma once

#include <vector>

#include "OPT5/fwd.h"
#include "options/optobj.h"

// ---- option objects; they live for the whole run and belong to OPT5/startup

extern option_obj *cmdline_options;               // the command line alone
extern option_obj *file_options;                  // all_option_sets[0]
extern std::vector<option_obj *> all_option_sets; // by option set id

// The set of the current function, or file_options.
option_obj *current_options();

// Whether a symbol of the input may name this option set.
bool option_set_exists(unsigned id);

// ---- accessors: what holds for the current function

int opt_level();       // 0 to 4
int size_speed_goal(); // 0 small to 5 fast
int auto_inline();     // size limit of automatic inlining; 0: none
int code_state();      // 1 Thumb, 0 ARM
int thumb_2_mode();    // code_state() on processors that have Thumb-2, else 0
bool fp_add_is_associative();
bool saturating_add_is_associative();
int interrupt_threshold(); // cycles; 0: no limit
bool use_llvm();
bool arm_neon();

// ---- global flags

extern bool alias_vars; // pointers may point at any variable
extern bool inline_single;
extern int cache_sys_funinfo; // 1, 2, 0 by the options that say what the file does to the standard library
extern bool code_is_reentrant;
extern bool dump_ocg_in_GDL;
extern bool dwim_aliases;
extern bool dwim_loops;
extern bool far_externs;
extern int float_support; // 0 none, else the enumerator of the unit
extern bool kr_flag;
extern bool memory_is_big_endian;
extern int memory_model;
extern bool mini_mult; // left shifts stay shifts
extern bool apply_symbolic_methods;
extern bool pass_args_in_regs;
extern int program_mode; // call assumptions, 0 to 3; -1: not given
extern bool source_interlist;
extern bool unsigned_index_wraps;
extern bool unsigned_ok_for_RPTB;
extern bool volit_vars; // everything in memory is volatile
extern int max_unrolled_loop_size;
extern bool old_const_pointer_behavior; // what a pointer to const points at does not change
extern bool chars_alias_other_types;
extern bool pointer_args_are_disjoint;
extern bool loop_increments_are_not_zero;
extern bool strict_fp;
extern bool use_g2;
extern bool remove_hooks_when_inlining;
extern bool aux_cmd_flag[10];
extern bool inhibit_clustering;

extern int cpu_version; // 0 (V4), 5, 6, 7, or a profile: 78 (A8), 73 (M3), 734 (M4), 74 (R4, R5)

extern bool do_MDF_vectorization;  // the vectorizer runs
extern int default_o3_auto_inline; // auto_inline() of levels 3 and 4, set by init_fileopts
extern int user_error_count;

// Gives every global flag its default, then restore_global_flags().
void reset_global_flags();

// Applies the options that are set in OPTIONS. A bad optimization level or size-speed goal ends the run.
void set_global_flags(const option_obj *options);

// After a function: reports, in debug, the levels that hold from here on. (There is nothing to undo.)
void restore_global_flags();
