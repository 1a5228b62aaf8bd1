#include "DIAG/diag.h"
#include "DIAG/user_msg_api.h"

#include <gtest/gtest.h>

#include <csignal>
#include <functional>

using testing::ExitedWithCode;
using testing::KilledBySignal;

namespace {

// What the action prints, with all messages on one stream.
std::string printed(const std::function<void()> &action) {
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

USER_MSG *user() { return USER_MSG::get_umsg_obj(); }

// Class-wide settings go back to their defaults.
class messages : public testing::Test {
  protected:
    void TearDown() override {
        DIAGNOSTIC::diag_cols_m = 79;
        DIAGNOSTIC::wrap_enabled_m = DIAGNOSTIC::warnings_m = true;
        DIAGNOSTIC::advice_m = DIAGNOSTIC::debug_m = DIAGNOSTIC::remarks_m = false;
        DIAGNOSTIC::display_code_m = DIAGNOSTIC::display_ipos_m = DIAGNOSTIC::verbose_m = false;
        DIAGNOSTIC::error_count_m = 0;
        DIAGNOSTIC::max_errors_m = 100;
        user()->emit_warnings_as_errors(false);
    }
};

} // namespace

TEST_F(messages, switched_off_severities_print_nothing) {
    auto all = [] {
        user()->debug("d");
        user()->advice("a");
        user()->remark("r");
        user()->warning("w");
    };
    EXPECT_EQ(printed(all), "warning: w\n");
    DIAGNOSTIC::warnings_m = false;
    EXPECT_EQ(printed(all), "");
    DIAGNOSTIC::advice_m = DIAGNOSTIC::remarks_m = DIAGNOSTIC::debug_m = true;
    std::string text = printed(all);
    EXPECT_NE(text.find("internal debug #99920: (d)\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\nadvice: a\nremark: r\n"), std::string::npos) << text;
    EXPECT_EQ(DIAGNOSTIC::error_count_m, 0u);
}

TEST_F(messages, header_names_the_position_and_the_number) {
    EXPECT_EQ(printed([] { user()->error(new DIAG_SRCINFO_DATA("a.c", 7), "%d", 5); }),
              "\"a.c\", line 7: error: 5\n");
    EXPECT_EQ(printed([] { user()->error(new DIAG_SRCINFO_DATA("a.c", 7, 0, true), "x"); }),
              "\"a.c\", line 7 (approximate): error: x\n");
    DIAGNOSTIC::display_code_m = true;
    EXPECT_EQ(printed([] { user()->error("x"); }), "error #99923: x\n");
    EXPECT_EQ(printed([] { DIAG::numbered<24016, const char *, const char *>("", 0, "-A", "-a").report(); }),
              "warning #24016-D: Case insensitivity of options has been deprecated; -A must be\n"
              "   written as -a in future releases\n");
    DIAGNOSTIC::display_code_m = false;
    std::string text = printed([] { user()->apperror("x"); });
    EXPECT_TRUE(text.ends_with("internal error #99924: (x)\n")) << text;
    EXPECT_TRUE(text.starts_with("user_msg_api.cpp:")) << text;
}

TEST_F(messages, text_wraps_at_word_ends) {
    const struct {
        const char *text, *expected;
    } cases[] = {
        // header "error: " leaves 13 of 20 columns; continuation lines have 17
        {"0123456789 12", "error: 0123456789 12\n"},
        {"0123456789 123", "error: 0123456789\n   123\n"},
        {"0123456789abc def", "error: 0123456789abc\n   def\n"},
        {"0123456789abcd ef", "error: \n   0123456789abcd ef\n"},
        {"0123456789abcdefghijk", "error: \n   0123456789abcdefg\n   hijk\n"},
        {"one    two     three     ", "error: one    two\n   three     \n"},
        {"one\ntwo", "error: one\n   two\n"},
        {"", "error: \n"},
    };
    DIAGNOSTIC::diag_cols_m = 20;
    for (const auto &c : cases)
        EXPECT_EQ(printed([&] { user()->error("%s", c.text); }), c.expected) << c.text;
    DIAGNOSTIC::wrap_enabled_m = false;
    EXPECT_EQ(printed([] { user()->error("0123456789 123"); }), "error: 0123456789 123\n");
}

TEST_F(messages, severity_can_be_overridden_only_where_the_user_may_decide) {
    const dc_SEVERITY warning = dc_SEVERITY::warning, error = dc_SEVERITY::error,
                      off = dc_SEVERITY::suppressed;
    EXPECT_EQ(DIAGNOSTIC::override_severity(24016, error), 1);
    EXPECT_EQ(DIAGNOSTIC::override_severity(24016, dc_SEVERITY::debug), 0);
    EXPECT_EQ(DIAGNOSTIC::override_severity(24016, dc_SEVERITY::no_error), 0);
    EXPECT_EQ(DIAGNOSTIC::override_severity(24007, warning), 0); // fatal
    EXPECT_EQ(DIAGNOSTIC::override_severity(99923, warning), 0); // not discretionary
    EXPECT_EQ(DIAGNOSTIC::override_severity(99927, warning), 0); // advice
    EXPECT_EQ(DIAGNOSTIC::override_severity(1, warning), 0);     // no such row
    EXPECT_EQ(DIAGNOSTIC::override_severity("24003,x,24016,,24017z", off), 3);
    EXPECT_EQ(printed([] { DIAG::numbered<24003, const char *, const char *>("", 0, "a", "b").report(); }),
              "");
    EXPECT_EQ(DIAGNOSTIC::override_severity(off, warning), 3);
}

TEST_F(messages, warnings_as_errors_count_as_errors) {
    user()->emit_warnings_as_errors();
    DIAGNOSTIC::display_code_m = true;
    EXPECT_EQ(printed([] { user()->warning("w"); }), "error #99923: w\n");
    EXPECT_EQ(user()->get_error_count(), 1u);
}

TEST_F(messages, one_error_above_the_limit_ends_the_run) {
    auto report = [](int count) {
        for (int i = 0; i < count; ++i) user()->error("e");
    };
    printed([&] { report(100); });
    EXPECT_EQ(user()->get_error_count(), 100u);
    EXPECT_EXIT(report(1), ExitedWithCode(1),
                "^error: e\nfatal error: error limit reached; 101 errors detected\n$");
    EXPECT_EXIT(
        {
            DIAGNOSTIC::push_debug_mode(true);
            report(1);
            user()->fatal("f");
            DIAGNOSTIC::pop_debug_mode();
            fprintf(stderr, "%u\n", user()->get_error_count());
            exit(0);
        },
        ExitedWithCode(0), "^error: e\nfatal error: f\n100\n$");
}

TEST_F(messages, fatal_messages_end_the_run) {
    EXPECT_EXIT(user()->fatal("%s", "gone"), ExitedWithCode(1), "^fatal error: gone\n$");
    EXPECT_EXIT(user()->die("here", "%d", 3), KilledBySignal(SIGABRT),
                "internal fatal error #99926: \\(here: 3\\)\n$");
}

TEST_F(messages, copies_are_equal_and_keep_their_text) {
    DIAG::gadvice a("", 0, "text");
    a.set_src(new DIAG_SRCINFO_DATA("a.c", 1));
    std::unique_ptr<DIAGNOSTIC> copy(a.alloc());
    EXPECT_TRUE(a.is_equal(copy.get()));
    EXPECT_STREQ(copy->get_sp_buffer(), "text");
    EXPECT_FALSE(a.is_equal(std::make_unique<DIAG::gadvice>("", 0, "text").get()));
    copy->free_mem();
    EXPECT_FALSE(a.is_equal(copy.get()));
}

TEST_F(messages, verbose_shows_the_line_and_a_caret) {
    std::string name = testing::TempDir() + "annotated.c";
    FILE *source = fopen(name.c_str(), "w");
    fputs("int a;\nint bad;\n", source);
    fclose(source);
    DIAGNOSTIC::verbose_m = true;
    std::string text = printed([&] { user()->error(new DIAG_SRCINFO_DATA(name.c_str(), 2, 5), "x"); });
    EXPECT_TRUE(text.ends_with("error: x\nint bad;\n    ^\n")) << text;
    text = printed([&] { user()->error(new DIAG_SRCINFO_DATA(name.c_str(), 9, 5), "x"); });
    EXPECT_TRUE(text.ends_with("error: x\n")) << text;
    remove(name.c_str());
}
