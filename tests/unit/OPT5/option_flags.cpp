#include "OPT5/fileopt.h"
#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/inliner.h"
#include "support/register_option.h"
#include "typepkg/type_pkg.h"

#include <gtest/gtest.h>

using testing::ExitedWithCode;

namespace {

class option_flags : public testing::Test {
  protected:
    // The file as a whole, and one other set.
    void SetUp() override {
        all_option_sets = {new option_obj, new option_obj};
        file_options = all_option_sets[0];
        default_o3_auto_inline = 2000;
        inhibit_clustering = false;
        cpu_version = float_support = 0;
    }
    void TearDown() override {
        for (option_obj *set : all_option_sets) delete set;
        all_option_sets.clear();
        file_options = nullptr;
        currfunc = nullptr;
    }
};

void give(int set, std::initializer_list<const char *> texts) {
    for (const char *text : texts) EXPECT_TRUE(all_option_sets[set]->process_option(text)) << text;
}

} // namespace

TEST_F(option_flags, levels_and_goals) {
    const struct {
        const char *option;
        int (*accessor)();
        int unset, set;
    } cases[] = {
        {"o0", opt_level, 1, 0},
        {"-opt_level=off", opt_level, 1, 0},
        {"o1", opt_level, 1, 1},
        {"o2", opt_level, 1, 2},
        {"o3", opt_level, 1, 3},
        {"o4", opt_level, 1, 4},
        {"-size_speed_goal=0", size_speed_goal, 4, 0},
        {"-size_speed_goal=1", size_speed_goal, 4, 1},
        {"-size_speed_goal=2", size_speed_goal, 4, 2},
        {"-size_speed_goal=3", size_speed_goal, 4, 3},
        {"-size_speed_goal=4", size_speed_goal, 4, 4},
        {"-size_speed_goal=5", size_speed_goal, 4, 5},
        {"i7", auto_inline, 0, 7},
        {"o1", auto_inline, 0, 0},
        {"o2", auto_inline, 0, 20},
        {"o3", auto_inline, 0, 2000},
        {"-code_state=16", code_state, 0, 1},
        {"-code_state=32", code_state, 0, 0},
        {"-interrupt_threshold=9", interrupt_threshold, 0, 9},
        {"-fp_reassoc=off", [] { return int(fp_add_is_associative()); }, 1, 0},
        {"-fp_reassoc", [] { return int(fp_add_is_associative()); }, 1, 1},
        {"-sat_reassoc=on", [] { return int(saturating_add_is_associative()); }, 0, 1},
        {"-sat_reassoc=off", [] { return int(saturating_add_is_associative()); }, 0, 0},
        {"-use_llvm", [] { return int(use_llvm()); }, 0, 1},
        {"-neon", [] { return int(arm_neon()); }, 0, 1},
    };
    for (const auto &c : cases) {
        TearDown();
        SetUp();
        EXPECT_EQ(c.accessor(), c.unset) << c.option;
        give(0, {c.option});
        EXPECT_EQ(c.accessor(), c.set) << c.option;
    }
}

TEST_F(option_flags, a_function_goes_by_its_own_set) {
    give(0, {"o1", "-code_state=32"});
    give(1, {"o3", "-code_state=32"});
    SYMTAB function;
    currfunc = &function;
    function.option_set = 1;
    EXPECT_EQ(opt_level(), 3);
    function.option_set = 7; // not in the file
    EXPECT_EQ(opt_level(), 1);

    cpu_version = 73;
    PRAGMA state;
    state.number = PRAG_CODE_STATE;
    function.pragmas = &state;
    for (const char *text : {"16", "32", "64"}) {
        state.args = {text};
        EXPECT_EQ(thumb_2_mode(), text[0] == '1') << text;
    }
    state.args = {"16"};
    cpu_version = 6; // Thumb, but not Thumb-2
    EXPECT_EQ(code_state(), 1);
    EXPECT_EQ(thumb_2_mode(), 0);
    function.pragmas = nullptr;
}

TEST_F(option_flags, options_set_the_flags_of_the_run) {
    reset_global_flags();
    give(0,
         {"o0", "-silicon_version=7M4", "-float_support=vfpv3", "-fp_mode=relaxed", "-std_lib_func_redefined",
          "u50", "-debug:flag_test=3,other", "-disable:flag_test", "-endian=big", "-aux_cmd_flag=3"});
    set_global_flags(file_options);
    EXPECT_TRUE(alias_vars); // follows from the level
    EXPECT_TRUE(inhibit_clustering);
    EXPECT_EQ(cpu_version, 734);
    EXPECT_EQ(TYPE_PKG::cpu_version, 734);
    EXPECT_EQ(float_support, ENUM_FLOAT_VFPV3);
    EXPECT_FALSE(strict_fp);
    EXPECT_EQ(cache_sys_funinfo, 0);
    EXPECT_EQ(max_unrolled_loop_size, 50);
    EXPECT_EQ(pass_debug("flag_test"), 3);
    EXPECT_TRUE(pass_disable("flag_test"));
    EXPECT_TRUE(memory_is_big_endian);
    EXPECT_FALSE(aux_cmd_flag[3]); // only in debug

    reset_global_flags();
    EXPECT_FALSE(alias_vars);
    EXPECT_TRUE(strict_fp);
    EXPECT_EQ(max_unrolled_loop_size, 195);
    give(0, {"-print_debug", "a", "-no_bad_aliases", "-endian=little"});
    set_global_flags(file_options);
    EXPECT_TRUE(aux_cmd_flag[3]);
    EXPECT_FALSE(memory_is_big_endian);
    // The best of aliases wins over "pointers may point at anything", the level over both.
    EXPECT_TRUE(alias_vars);
    EXPECT_TRUE(pointer_args_are_disjoint);
    EXPECT_FALSE(chars_alias_other_types);
    EXPECT_TRUE(loop_increments_are_not_zero);
    reset_global_flags();
}

TEST_F(option_flags, clustering_stops_when_any_function_is_not_optimized) {
    give(1, {"-opt_level=off"});
    reset_global_flags();
    set_global_flags(file_options);
    EXPECT_TRUE(inhibit_clustering);
    EXPECT_FALSE(alias_vars); // the file as a whole is
}

TEST_F(option_flags, enumerators_that_no_text_gives_are_internal_faults) {
    file_options->setopt(OO_OPT_LEVEL, 43);
    EXPECT_EXIT(set_global_flags(file_options), ExitedWithCode(1),
                "^--opt_level given invalid value: 43\n\n>>>> Opt");
    file_options->setopt(OO_OPT_LEVEL, ENUM_OPT_LEVEL_2);
    file_options->setopt(OO_SIZE_SPEED_GOAL, 62);
    EXPECT_EXIT(set_global_flags(file_options), ExitedWithCode(1),
                "^--size_speed_goal given invalid value:  62\n\n>>>> Opt");
}

TEST_F(option_flags, call_assumptions_hold_from_level_3) {
    TYPE_PKG package;
    tp = &package;
    init_type_pkg(tp); // fileinfo stands for a symbol, which has a type
    const struct {
        const char *level, *mode;
        bool callers, writers, whole;
        INLINER_POLICY policy;
    } cases[] = {
        {"o3", nullptr, true, true, true, NEW_INLINER}, {"o3", "c0", false, false, false, NEW_INLINER},
        {"o3", "c1", true, false, false, INLINER_5},    {"o3", "c2", true, true, true, INLINER_5},
        {"o3", "c3", false, true, false, NEW_INLINER},  {"o2", "c2", false, false, false, NEW_INLINER},
    };
    for (const auto &c : cases) {
        TearDown();
        SetUp();
        give(0, {c.level});
        if (c.mode) give(0, {c.mode});
        reset_global_flags();
        set_global_flags(file_options);
        init_fileopts();
        std::string shown = std::string(c.level) + (c.mode ? c.mode : "");
        EXPECT_EQ(no_outside_callers, c.callers) << shown;
        EXPECT_EQ(no_outside_writers, c.writers) << shown;
        EXPECT_EQ(whole_program, c.whole) << shown;
        EXPECT_EQ(inliner_policy, c.policy) << shown;
    }
    reset_global_flags();
}
