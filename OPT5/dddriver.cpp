#include "OPT5/dddriver.h"

#include "OPT5/passes.h"
#include "OPT5/simpcfg.h"

namespace {

// clang-format off
const pass_row loop_passes[] = {
    {"forward_substitution",          false, LEVEL_2, nullptr},
    {"SSA_hoist",                     false, LEVEL_2, nullptr},
    {"SSA_NASSERTs",                  false, LEVEL_2, nullptr},
    {"SSA_propagate",                 false, LEVEL_2, nullptr},
    {"SSA_deadasg",                   false, LEVEL_2, nullptr},
    {"SSA_reg_promote",               false, LEVEL_2, nullptr},
    {"loop_assertions",               false, LEVEL_2, nullptr},
    {"undeltafy",                     false, LEVEL_2, nullptr},
    {"add_downcounters",              false, LEVEL_2, nullptr},
    {"collapse_loops",                false, LEVEL_2, nullptr},
    {"circular_addressing",           false, LEVEL_2, nullptr},
    {"loop_if_interchange",           false, LEVEL_2, nullptr},
    {"cd_unroll_by_request",          false, LEVEL_2, nullptr},
    {"DMAC_conversion",               false, LEVEL_2, nullptr}, // nothing to do on this target
    {"cd_unroll_completely_for_speed", false, LEVEL_2, nullptr},
    {"unroll_completely_for_SP",      false, LEVEL_2, nullptr}, // nothing to do on this target
    {"unroll_and_jam",                false, LEVEL_2, nullptr},
    {"loop fusion",                   false, LEVEL_2, nullptr},
    {"runtime_alias_predication",     false, LEVEL_2, nullptr}, // nothing to do on this target
    {"peel_and_unroll",               false, LEVEL_2, nullptr}, // nothing to do on this target
    {"cd_unroll_for_speed",           false, LEVEL_2, nullptr},
    {"PT_info",                       false, LEVEL_2, nullptr},
    {"explode_arrays",                false, LEVEL_2, nullptr},
    {"unroll_for_SP",                 false, LEVEL_2, nullptr},
    {"simplify_useless_loop_clones",  false, LEVEL_2, nullptr}, // nothing to do on this target
    {"alias_advice",                  false, LEVEL_2, nullptr},
    {"reduction_interleaving",        false, LEVEL_2, nullptr},
    {"value_propagation",             false, LEVEL_2, nullptr},
    {"DIVs_by_ICONs",                 false, LEVEL_2, nullptr},
    {"SSA_propagate_vector",          false, LEVEL_2, nullptr},
    {"SSA_deadasg",                   false, LEVEL_2, nullptr}, // again, after what the former left
    {"SSA_reg_promote_with_simpcfg",  false, LEVEL_2, nullptr},
};
// clang-format on

} // namespace

void add_dd_normal_order_passes(std::vector<pass *> &list) {
    for (const pass_row &row : loop_passes) list.push_back(mk_pass(row));
}

void do_dd_analysis_for_be() { simpcfg_if_changed(false, false); }
