#include "OPT5/pipeline.h"

#include <cstdio>

#include "OPT5/aliasinit.h"
#include "OPT5/assertions.h"
#include "OPT5/autoinit.h"
#include "OPT5/beta.h"
#include "OPT5/buildcfg.h"
#include "OPT5/callgraph.h"
#include "OPT5/cdilp.h"
#include "OPT5/cdvector.h"
#include "OPT5/cfg.h"
#include "OPT5/cluster.h"
#include "OPT5/combasg.h"
#include "OPT5/copyprop.h"
#include "OPT5/ddcps.h"
#include "OPT5/dddriver.h"
#include "OPT5/ddloop.h"
#include "OPT5/ddpromote.h"
#include "OPT5/ddrestruct.h"
#include "OPT5/ddssa.h"
#include "OPT5/ddssacp.h"
#include "OPT5/ddssadata.h"
#include "OPT5/ddssaout.h"
#include "OPT5/ddvprop.h"
#include "OPT5/deadasg.h"
#include "OPT5/fastcp.h"
#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/gcse.h"
#include "OPT5/globalsyms.h"
#include "OPT5/ifconv.h"
#include "OPT5/increments.h"
#include "OPT5/inliner.h"
#include "OPT5/ipcp.h"
#include "OPT5/killsets.h"
#include "OPT5/lcse.h"
#include "OPT5/lirpass.h"
#include "OPT5/looprot.h"
#include "OPT5/mvpbeta.h"
#include "OPT5/mvpint.h"
#include "OPT5/mvpip.h"
#include "OPT5/mvppoints.h"
#include "OPT5/passes.h"
#include "OPT5/pointsto.h"
#include "OPT5/procint.h"
#include "OPT5/profile.h"
#include "OPT5/report.h"
#include "OPT5/sblk.h"
#include "OPT5/scopes.h"
#include "OPT5/simpcfg.h"
#include "OPT5/stackshare.h"
#include "OPT5/subrange.h"
#include "OPT5/symexplode.h"
#include "OPT5/symrename.h"
#include "OPT5/symtab.h"
#include "OPT5/triples.h"
#include "OPT5/veclower.h"
#include "OPT5/vectors.h"
#include "support/dbgout.h"
#include "support/register_option.h"

namespace {

// ---- before and at the barriers

void first_cleaning() {
    fast_CP(4, 0);
    elim_dead_assigns(0, 0);
}

void fast_CP_4_0() { fast_CP(4, 0); }

void first_value_propagation() {
    init_dd_aliasing();
    do_value_propagation();
}

void pass_2_header() {
    if (finfo) fflush(finfo);
    if (fdebug) fflush(fdebug);
    if (print_debug) {
        printf("%s Pass 2\n", "QL ARM C/C++ Optimizer");
        fflush(stdout);
    }
}

// Functions end in the reverse of the graph's order, so that a callee is complete before its caller. Functions that
// were processed already, or whose body is not wanted any more, are gone from here on.
void set_call_graph_order() {
    if (call_graph.empty()) set_up_and_build_call_graph();
    functions.clear();
    for (size_t i = call_graph.size(); i-- > 1;) {
        const FUNINFO *info = call_graph[i];
        if (info->has_flag(FUN_is_processed)) continue;
        if ((info->flags & (FUN_is_suppressed | FUN_cannot_suppress)) == FUN_is_suppressed) continue;
        functions.push_back(info->symbol);
    }
}

// ---- the head of a function's own passes

void pass_2_inits() {
    LS_print(currfuninfo->scopes);
    if (instrumentation_is_on && currfuninfo->has_flag(FUN_is_main) && currfuninfo->bb_list)
        add_instrumentation_exit_routine_to_atexit();
    LS_validate(currfuninfo->scopes);
    integrate_calls_in_function();
    promote_all_embedded_assignments();
    disguise_vector_operations();
    disclose_vector_operations();
    coalesce_local_vector_symbols();
    lower_vector_statements();
    disguise_vector_operations();
    sym_split(currfuninfo);
    if (do_beta_MVP) {
        beta_parms_using_mvp_ip();
        beta_convert_using_mvp_ip();
    } else {
        beta_parms();
        beta_convert();
    }
    simpcfg(false, false);
}

void straighten_unless_disabled() {
    if (!pass_disable("cps")) straighten_cond_paths();
}

void early_LIR() {
    if (use_llvm() || pass_enable("lir_early") || pass_enable("lir")) run_early_LIR();
}

void late_LIR() {
    if (pass_enable("lir_late") || pass_enable("lir")) run_late_LIR();
}

void fast_CP_4_1() { fast_CP(4, 1); }
void fast_CP_0_1() { fast_CP(0, 1); }

void MVP_global_assertions() {
    if (do_IP_MVP) add_MVP_IP_global_assertions();
}

// Each step may find that the function is not fit and switch the rest off.
void intraprocedural_MVP() {
    if (do_int_MVP) initialize_ssa_pointsto_mvp();
    if (do_int_MVP) do_integer_value_propagation();
    if (do_int_MVP) clear_ssa_pointsto_bindings();
    if (function_is_in_SSA_form && !keep_SSA_form) {
        deconstruct_SSA_form();
        remove_SSA_decoration_trees();
    }
}

void value_propagation_for_SIMD() {
    init_dd_aliasing();
    do_value_propagation();
    simpcfg(false, false);
    rebuildcfg();
    simpcfg(false, false);
}

// ---- SSA form outside of the loop passes

void non_DD_clone_SSA_NASSERTs() {
    construct_SSA_form(0, 0, 1);
    clone_SSA_NASSERTs();
    deconstruct_SSA_form();
}

void non_DD_SSA_CP() {
    construct_SSA_form(0, 0, 1);
    propagate_SSA_constants(1);
    deconstruct_SSA_form();
}

void non_DD_SSA_EDA() {
    construct_SSA_form(0, 0, 1);
    eliminate_dead_SSA_assignments();
    deconstruct_SSA_form();
}

void SSA_RP_with_benign_loads() { promote_vars_to_registers(true); }

void expand_bitfields_if_any() {
    if (currfuninfo->has_bitfield_refs && !fun_is_cpp_static_initializer(currfunc)) expand_bitfields();
}

void annotate_loops_if_profiled() {
    if (currfuninfo->profile_mode) add_loop_annotation_from_profile();
}

// ---- global and local passes

void global_CP() {
    unbuild_loop_hierarchy();
    revert_strict_ternary_ICALLs_to_CFG();
    copyprop(1);
    restructure_strict_ternary_ICALLs_from_CFG();
}

void global_CSE() {
    unbuild_loop_hierarchy();
    revert_strict_ternary_ICALLs_to_CFG();
    annotate_cfg();
    gcse();
    restructure_loops();
    clean_up_gdflow_bitvecs();
    clean_up_alias_analysis_bitvecs_etc();
    clean_up_assert_RELOPs();
    restructure_strict_ternary_ICALLs_from_CFG();
}

void DD_restructuring() {
    simpcfg(false, false);
    do_dd_restructuring();
}

void expand_clusters_if_any() {
    if (clusters_exist) expand_cluster_refs();
}

void subrange() {
    reset_alias_info();
    lcse_subrange_assignments();
    elim_dead_subrange_assigns();
}

void late_copyprop() { copyprop(1); }

// ---- the table

constexpr bool BARRIER = true, FUNCTION = false;

// clang-format off
const pass_row head_rows[] = {
    /*  0 */ {"pass 1 fcp/eda",                     FUNCTION, LEVEL_2,             first_cleaning},
    /*  1 */ {"pass 1 fast_CP(4,0)",                FUNCTION, ALWAYS,              fast_CP_4_0},
    /*  2 */ {"value propagation for pass 1",       FUNCTION, LEVEL_2,             first_value_propagation},
    /*  3 */ {"analyze globals",                    BARRIER,  ALWAYS,              analyze_global_symbols},
    /*  4 */ {"detect_recursion",                   BARRIER,  ALWAYS,              detect_recursion},
    /*  5 */ {"do_interprocedural_propagation",     BARRIER,  ALWAYS,              do_interprocedural_propagation},
    /*  6 */ {"auto_inline_call_sites",             BARRIER,  ALWAYS,              auto_inline_call_sites},
    /*  7 */ {"dump_call_graph_debug",              BARRIER,  ALWAYS,              dump_call_graph_debug},
    /*  8 */ {"collect_clustered_symbols",          BARRIER,  ALWAYS,              collect_clustered_symbols},
    /*  9 */ {"pass 2 header",                      BARRIER,  ALWAYS,              pass_2_header},
    /* 10 */ {"set call-graph order",               BARRIER,  ALWAYS,              set_call_graph_order},
    /* 11 */ {"pass 2 inits",                       FUNCTION, NEEDED,              pass_2_inits},
    /* 12 */ {"stack sharing",                      FUNCTION, ALWAYS,              share_stack_space},
    /* 13 */ {"CPS",                                FUNCTION, LEVEL_2 | GOAL_5,    straighten_unless_disabled},
    /* 14 */ {"early LIR",                          FUNCTION, ALWAYS,              early_LIR},
    /* 15 */ {"early fast_CP(4,1)",                 FUNCTION, ALWAYS,              fast_CP_4_1},
    /* 16 */ {"MVP global assertions",              FUNCTION, ALWAYS,              MVP_global_assertions},
    /* 17 */ {"intraprocedural MVP",                FUNCTION, LEVEL_2,             intraprocedural_MVP},
    /* 18 */ {"value propagation for SIMD",         FUNCTION, LEVEL_2 | VECTORIZE, value_propagation_for_SIMD},
    /* 19 */ {"explode auto structs",               FUNCTION, LEVEL_2,             explode_auto_struct_vars},
    /* 20 */ {"non-DD clone SSA NASSERTs",          FUNCTION, LEVEL_2,             non_DD_clone_SSA_NASSERTs},
    /* 21 */ {"non-DD SSA CP",                      FUNCTION, LEVEL_2,             non_DD_SSA_CP},
    /* 22 */ {"non-DD SSA EDA",                     FUNCTION, LEVEL_2,             non_DD_SSA_EDA},
    /* 23 */ {"SSA RP with benign loads",           FUNCTION, LEVEL_2,             SSA_RP_with_benign_loads},
    /* 24 */ {"expand bitfields",                   FUNCTION, LEVEL_1,             expand_bitfields_if_any},
    /* 25 */ {"fast_CP(0,1)",                       FUNCTION, ALWAYS,              fast_CP_0_1},
    /* 26 */ {"add profile loop annotations",       FUNCTION, ALWAYS,              annotate_loops_if_profiled},
    /* 27 */ {"CD vectorizations",                  FUNCTION, LEVEL_2 | VECTORIZE | GOAL_2, do_cd_vectorization},
};
// 28 to 59 are the loop optimizer's.
const pass_row tail_rows[] = {
    /* 60 */ {"CD ILP",                             FUNCTION, LEVEL_2 | VECTORIZE, do_cd_ilp},
    /* 61 */ {"late fast_CP(4,1)",                  FUNCTION, ALWAYS,              fast_CP_4_1},
    /* 62 */ {"global CP",                          FUNCTION, LEVEL_2 | BLOCKS_2,  global_CP},
    /* 63 */ {"late points-to",                     FUNCTION, LEVEL_2 | BLOCKS_2,  propagate_PT_info},
    /* 64 */ {"global CSE",                         FUNCTION, LEVEL_2 | BLOCKS_2,  global_CSE},
    /* 65 */ {"Heron rotate loops",                 FUNCTION, ALWAYS,              nullptr},
    /* 66 */ {"late rename symbols",                FUNCTION, LEVEL_2 | BLOCKS_2,  rename_symbols},
    /* 67 */ {"merge symbols",                      FUNCTION, LEVEL_2 | BLOCKS_2,  merge_symbols},
    /* 68 */ {"DD restructuring",                   FUNCTION, LEVEL_2 | BLOCKS_2 | NEON, DD_restructuring},
    /* 69 */ {"expand cluster refs",                FUNCTION, NEEDED,              expand_clusters_if_any},
    /* 70 */ {"CSU returning temp",                 FUNCTION, ALWAYS,              subst_csu_returning_temp_for_local_var},
    /* 71 */ {"superblocks",                        FUNCTION, LEVEL_1,             optimize_superblocks_in_cfg},
    /* 72 */ {"subrange",                           FUNCTION, LEVEL_1,             subrange},
    /* 73 */ {"lcp",                                FUNCTION, LEVEL_1,             late_copyprop},
    /* 74 */ {"sti-to-cinit",                       FUNCTION, LEVEL_2,             convert_sti_to_cinit},
    /* 75 */ {"lcse",                               FUNCTION, LEVEL_1,             lcse},
    /* 76 */ {"propagate increments",               FUNCTION, LEVEL_1,             propagate_increments},
    /* 77 */ {"late LIR",                           FUNCTION, ALWAYS,              late_LIR},
};
// clang-format on

} // namespace

void add_pipeline_passes(std::vector<pass *> &list) {
    for (const pass_row &row : head_rows) list.push_back(mk_pass(row));
    add_dd_normal_order_passes(list);
    for (const pass_row &row : tail_rows) list.push_back(mk_pass(row));
}
