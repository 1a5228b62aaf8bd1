#include "options/optobj.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

using testing::ExitedWithCode;

namespace {

// What stands behind the option on the command line.
const char *pending_argument;
const char *take_pending() {
    const char *argument = pending_argument;
    pending_argument = nullptr;
    return argument;
}

class options : public testing::Test {
  protected:
    void SetUp() override { option_obj::set_next_arg(take_pending); }
    void TearDown() override {
        memset(option_obj::conflicts, 0, sizeof option_obj::conflicts);
        memset(option_obj::merge_conflicts, 0, sizeof option_obj::merge_conflicts);
        pending_argument = nullptr;
        DIAGNOSTIC::fp_m = nullptr;
        DIAGNOSTIC::error_count_m = 0;
    }
};

// What ACTION prints on the diagnostics stream.
template <class ACTION> std::string reported(ACTION action) {
    char *text = nullptr;
    size_t size = 0;
    FILE *stream = open_memstream(&text, &size);
    DIAGNOSTIC::fp_m = stream;
    action();
    DIAGNOSTIC::fp_m = nullptr;
    fclose(stream);
    std::string result(text, size);
    free(text);
    return result;
}

std::string exported(const option_obj &object) {
    std::string all;
    for (const std::string &text : object.export_option_list(2)) all += (all.empty() ? "" : " ") + text;
    return all;
}

} // namespace

TEST_F(options, texts_set_what_they_say) {
    const struct {
        const char *text, *next, *expected; // expected: export of the whole object
    } cases[] = {
        {"-opt_level=3", nullptr, "-opt_level=3"},
        {"-opt_level3", nullptr, "-opt_level=3"},
        {"-opt_level", "3", "-opt_level=3"},
        {"-opt_level=OFF", nullptr, "-opt_level=off"},
        {"o2", nullptr, "-opt_level=2"},
        {"O2", nullptr, "-opt_level=2"},
        {"o", "2", "-opt_level=2"},
        {"ra", nullptr, "-non_reentrant -aliased_variables"},
        {"rh1r", nullptr, "-std_lib_func_defined -non_reentrant"},
        {"ri20", nullptr, "-non_reentrant -auto_inline=20"},
        {"-auto_inline=10h", nullptr, "-auto_inline=16"},
        {"-call_assumptions=3", nullptr, "-call_assumptions=3"},
        {"-program_mode=3", nullptr, "-call_assumptions=3"},
        {"-print_debug", "4", "-print_debug=1"}, // optional: does not reach for the next argument
        {"-print_debug=4", nullptr, "-print_debug=4"},
        {"-print_debug4", nullptr, "-print_debug=4"},
        {"-vectorize", nullptr, "-vectorize=on"},
        {"-vectorize=off", nullptr, "-vectorize=off"},
        {"-debug:unroll=4,SIMD", nullptr, "-debug:unroll=4,SIMD"},
        {"-debug:=x", nullptr, "-debug:x"},
        {"-debug:", "x", "-debug:x"},
        {"dx", nullptr, "-debug:x"},
        {"-aux_cmd_flag==1", nullptr, "-aux_cmd_flag==1"},
        {"-opt_info_filename=a=b", nullptr, "-opt_info_filename=a=b"},
        {"-opt_passes=", nullptr, nullptr}, // see missing_and_bad_arguments_end_the_run
        {"##", nullptr, "-print_debug=2 -keep_opt_ifile"},
        {"#v", nullptr, "-volit_vars -print_debug=1"},
        {"", nullptr, ""},
        {nullptr, nullptr, ""},
    };
    for (const auto &c : cases) {
        if (!c.expected) continue;
        pending_argument = c.next;
        option_obj object;
        EXPECT_TRUE(object.process_option(c.text)) << c.text;
        EXPECT_EQ(exported(object), c.expected) << (c.text ? c.text : "(null)");
    }
}

TEST_F(options, unknown_texts_are_refused_at_the_place_where_they_part) {
    const struct {
        const char *text, *rest;
    } cases[] = {
        {"-opt_lavel=3", "avel=3"},
        {"-opt_lev", ""},
        {"-neonx", "x"},
        {"-neon=1", "=1"},
        {"-vectorizeon", "on"},
        {"-", ""},
        {"h3", "3"},
        {"rw", "w"},
        {"=x", "=x"},
        {"-nothing", "thing"},
    };
    for (const auto &c : cases) {
        option_obj object;
        const char *rest = nullptr;
        EXPECT_FALSE(object.process_option(c.text, &rest)) << c.text;
        EXPECT_STREQ(rest, c.rest) << c.text;
    }
}

TEST_F(options, missing_and_bad_arguments_end_the_run) {
    const struct {
        const char *text, *message;
    } cases[] = {
        {"-opt_level=", "^error: option --opt_level is missing its parameter 'level'\n$"},
        {"-opt_level", "^error: option --opt_level is missing its parameter 'level'\n$"},
        {"-print_debug=", "^error: option --print_debug is missing its parameter 'level'\n$"},
        {"-debug:", "^error: option --debug: is missing its parameter 'name'\n$"},
        {"o9", "^error: bad argument to option -o: should be one of \\{off,0,1,2,3,4\\}\n$"},
        {"-auto_inline=-1", "^error: argument to option --auto_inline \\(-1\\) is out of range \\(must be a\n"
                            "   non-negative_number\\)\n$"},
        {"-auto_inline=2147483648",
         "^error: argument to option --auto_inline \\(2147483648\\) is out of range\n$"},
        {"-auto_inline=99999999999999999999", "is out of range\n"},
        {"-auto_inline=12x", "^error: argument to option --auto_inline \\(12x\\) is out of range\n$"},
        {"-auto_inline=h", "is out of range\n"},
        {"-program_mode=4",
         "^error: argument to option --program_mode \\(4\\) is out of range \\(must be a number\n"
         "   from 0 to 3\n$"},
    };
    for (const auto &c : cases) {
        option_obj object;
        EXPECT_EXIT(object.process_option(c.text), ExitedWithCode(1), c.message) << c.text;
    }
}

TEST_F(options, numbers_are_read_by_prefix_or_suffix) {
    const struct {
        const char *text;
        long value;
        const char *end;
    } cases[] = {
        {"16", 16, ""},     {"0x10", 16, ""},   {"0X10", 16, ""},  {"10h", 16, ""},  {"10H", 16, ""},
        {"20q", 16, ""},    {"20Q", 16, ""},    {"020", 16, ""},   {"ffh", 255, ""}, {"08", 8, ""},
        {"0", 0, ""},       {"-0x10", -16, ""}, {"-10h", -16, ""}, {"28q", 28, "q"}, {"10b", 10, "b"},
        {"0x10h", 16, "h"}, {"", 0, ""},        {"h", 0, "h"},     {"12 ", 12, " "},
    };
    for (const auto &c : cases) {
        const char *end;
        EXPECT_EQ(strtol_by_radix(c.text, &end), c.value) << c.text;
        EXPECT_STREQ(end, c.end) << c.text;
    }
}

TEST_F(options, names_in_other_case_work_with_a_warning) {
    option_obj object;
    std::string text = reported([&] { object.process_option("-Opt_Level=2"); });
    EXPECT_EQ(text, "warning: Case insensitivity of options has been deprecated; --Opt_Level must be\n"
                    "   written as --opt_level in future releases\n");
    EXPECT_EQ(object.getnumarg(OO_OPT_LEVEL), ENUM_OPT_LEVEL_2);
    EXPECT_EQ(reported([&] { object.process_option("-opt_level=2"); }), "");
}

TEST_F(options, deprecated_values_warn_and_export_under_their_new_name) {
    option_obj object;
    testing::internal::CaptureStderr();
    object.process_option("-float_support=vfp");
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "WARNING: argument 'vfp' to option '--float_support' is deprecated and will be removed in a future "
        "release\n");
    EXPECT_EQ(exported(object), "-float_support=vfpv2");
}

TEST_F(options, single_values_are_replaced_and_lists_grow) {
    option_obj object;
    for (const char *text : {"-auto_inline=1", "-debug:a", "-opt_level=1", "-debug:b", "-auto_inline=2"})
        object.process_option(text);
    EXPECT_EQ(object.getnumarg(OO_AUTO_INLINE), 2);
    EXPECT_EQ(object.getargcount(OO_AUTO_INLINE), 1);
    EXPECT_EQ(object.getargcount(OO_DEBUG), 2);
    EXPECT_STREQ(object.getstrarg(OO_DEBUG, 1), "b");
    EXPECT_EQ(exported(object), "-debug:a -opt_level=1 -debug:b -auto_inline=2");

    object.clearopt(OO_DEBUG);
    EXPECT_FALSE(object.testopt(OO_DEBUG));
    EXPECT_EQ(object.getstrarg(OO_DEBUG), nullptr);
    EXPECT_EQ(exported(object), "-opt_level=1 -auto_inline=2");
}

TEST_F(options, persistent_options_stay) {
    option_obj object;
    object.process_option("-ignore_file_options");
    object.clearopt(OO_IGNORE_FILE_OPTIONS);
    object.clearopt(class_id::all);
    EXPECT_TRUE(object.testopt(OO_IGNORE_FILE_OPTIONS));
}

TEST_F(options, arguments_read_as_number_and_as_text) {
    option_obj object;
    object.setopt(OO_AUTO_INLINE, "20h");
    object.setopt(OO_OPT_LEVEL, "3");
    object.setopt(OO_INFO_FILE, 12);
    object.setopt(OO_FORCED_PASSES, "0x11");
    EXPECT_EQ(object.getnumarg(OO_AUTO_INLINE), 32);
    EXPECT_STREQ(object.getstrarg(OO_AUTO_INLINE), "32");
    EXPECT_EQ(object.getnumarg(OO_OPT_LEVEL), ENUM_OPT_LEVEL_3);
    EXPECT_STREQ(object.getstrarg(OO_OPT_LEVEL), "3");
    EXPECT_STREQ(object.getstrarg(OO_INFO_FILE), "12");
    EXPECT_EQ(object.getnumarg(OO_FORCED_PASSES), 17);
    const char *const list[] = {"2", "3", nullptr};
    EXPECT_TRUE(object.args_match_list(OO_OPT_LEVEL, list));
    EXPECT_FALSE(object.args_match_list(OO_AUTO_INLINE, list));
    // nothing there
    EXPECT_EQ(object.getnumarg(OO_ABI), 0);
    EXPECT_EQ(object.getstrarg(OO_ABI), nullptr);
    EXPECT_EQ(object.getnumarg(OO_AUTO_INLINE, 1), 0);
    EXPECT_EQ(object.getnumarg(OPTION_COUNT), 0);
    EXPECT_EQ(object.getnumarg(-1), 0);
}

// What one object exports, another must read back to the same: this is how the command line reaches every option
// set of the input file.
TEST_F(options, every_option_survives_export_and_parsing) {
    option_obj all;
    for (int id = 0; id < OPTION_COUNT; ++id) {
        const option_definition &row = option_definitions[id];
        if (!row.name || id == OO_HELP) continue;
        if (row.kind == PARM_NONE) all.setopt(id);
        else if (option_is_enumerated(id))
            for (const option_enumerator *e = row.enumerators; e->text; ++e) all.setopt(id, e->value);
        else if (option_is_text(id)) all.setopt(id, "=odd text,");
        else all.setopt(id, row.high);
    }
    option_obj copy;
    for (const auto &[id, text] : all.export_option_pairs(2)) {
        EXPECT_TRUE(copy.process_option(text.c_str())) << text;
        EXPECT_EQ(copy.getnumarg(id), all.getnumarg(id)) << text;
    }
    EXPECT_EQ(exported(copy), exported(all));
    EXPECT_EQ(all.export_option_pairs(2).size(), 65u);
}

TEST_F(options, table_is_consistent) {
    option_obj object;
    for (int id = 0; id < OPTION_COUNT; ++id) {
        const option_definition &row = option_definitions[id];
        EXPECT_EQ(row.name == nullptr, row.help == nullptr) << id;
        EXPECT_EQ(option_is_enumerated(id), row.enumerators != nullptr) << id;
        EXPECT_EQ(row.kind == PARM_NONE, row.parse_type >= PARSE_NOTHING) << id;
        EXPECT_EQ(row.kind == PARM_NONE, row.parameter == nullptr) << id;
        for (int other = 0; row.letter && other < id; ++other) {
            const char *letter = option_definitions[other].letter;
            EXPECT_TRUE(!letter || strcmp(row.letter, letter)) << row.letter;
        }
        // Every enumerator, deprecated or not, has a text to export under.
        for (const option_enumerator *e = row.enumerators; e && e->text; ++e)
            EXPECT_NE(enumerator_text(id, e->value), nullptr) << e->text;
    }
}

TEST_F(options, conflicts_follow_the_matrix) {
    const auto set_both = [](int action, bool debug) {
        option_obj::conflicts[OO_BIG_ENDIAN][OO_ENDIAN] = static_cast<unsigned char>(action);
        option_obj object(debug);
        object.process_option("-endian=little");
        object.process_option("e");
        return exported(object);
    };
    EXPECT_EQ(set_both(0, false), "-endian=little -big_endian");
    EXPECT_EQ(reported([&] { EXPECT_EQ(set_both(1, false), "-big_endian"); }), "");
    DIAGNOSTIC::remarks_m = true;
    EXPECT_EQ(reported([&] { set_both(1, true); }), "remark: option -e clears preceding option --endian\n");
    DIAGNOSTIC::remarks_m = false;
    EXPECT_EQ(reported([&] { EXPECT_EQ(set_both(2, false), "-big_endian"); }),
              "warning: option -e overrides preceding option --endian\n");
    EXPECT_EXIT(set_both(3, false), ExitedWithCode(1),
                "^error: option -e conflicts with previous option --endian\n$");
}

TEST_F(options, merge_policies) {
    using policy = option_obj::merge_policy;
    const struct {
        const char *name;
        policy merge;
        const char *here, *there, *expected, *message;
    } cases[] = {
        {"none", &option_obj::merge_policy_none, "", "o3", "", ""},
        {"or", &option_obj::merge_policy_or, "o2", "o3", "-opt_level=3", ""},
        {"or", &option_obj::merge_policy_or, "o2", "", "-opt_level=2", ""},
        {"and", &option_obj::merge_policy_and, "o2", "", "", ""},
        {"and", &option_obj::merge_policy_and, "o2", "o3", "-opt_level=2", ""},
        {"exact", &option_obj::merge_policy_exact, "o2", "o2", "-opt_level=2", ""},
        {"exact", &option_obj::merge_policy_exact, "o2", "", "-opt_level=2",
         "error: option -o was set in previous files, but not in \"b\"\n"},
        {"exact", &option_obj::merge_policy_exact, "", "o2", "",
         "error: option -o is set in \"b\", but not in previous files\n"},
        {"exact", &option_obj::merge_policy_exact, "o1", "o2", "-opt_level=1",
         "error: option --opt_level=2 is set in \"b\", and is incompatible with the\n"
         "   previously seen option --opt_level=1\n"},
        {"exact_notset", &option_obj::merge_policy_exact_notset, "", "o2", "", ""},
        {"max", &option_obj::merge_policy_max, "o1", "o2", "-opt_level=2", ""},
        {"max", &option_obj::merge_policy_max, "o2", "o1", "-opt_level=2", ""},
        {"max", &option_obj::merge_policy_max, "o1", "o0", "-opt_level=1",
         ""}, // by the table, not by the value
        {"min", &option_obj::merge_policy_min, "o2", "o1", "-opt_level=1", ""},
        {"min", &option_obj::merge_policy_min, "", "o1", "-opt_level=1", ""},
    };
    for (const auto &c : cases) {
        option_obj here, there;
        there.set_name("b");
        here.process_option(c.here);
        there.process_option(c.there);
        option_obj::merge_policies[OO_OPT_LEVEL] = c.merge;
        std::string message = reported([&] { here.merge_options(there); });
        option_obj::merge_policies[OO_OPT_LEVEL] = nullptr;
        EXPECT_EQ(exported(here), c.expected) << c.name << " " << c.here << " " << c.there;
        EXPECT_EQ(message, c.message) << c.name;
    }
}

TEST_F(options, merge_conflicts_are_counted_errors) {
    option_obj::merge_conflicts[OO_BIG_ENDIAN][OO_ENDIAN] = 3;
    option_obj here, there;
    there.set_name("b");
    here.process_option("-endian=little");
    there.process_option("e");
    EXPECT_EQ(reported([&] { here.merge_options(there); }),
              "error: option -e in file \"b\" conflicts with previous option --endian\n");
    EXPECT_EXIT(here.post_process_option_depends(), ExitedWithCode(1), "");
}

TEST_F(options, history_names_the_file_that_options_came_from) {
    option_obj object;
    option_obj::set_executable_name("/bin/qlopt");
    EXPECT_TRUE(object.addfileopt("qlopt", "a.if"));
    EXPECT_EQ(reported([&] { EXPECT_FALSE(object.addfileopt("other", "b.if")); }),
              "warning: No known tool \"other\" when adding file to option list.\n");
    object.process_option("o3");
    char *text = nullptr;
    size_t size = 0;
    FILE *stream = open_memstream(&text, &size);
    object.dump_history(stream);
    fclose(stream);
    EXPECT_STREQ(text, "file \"a.if\"\n--opt_level=3\n");
    free(text);
}
