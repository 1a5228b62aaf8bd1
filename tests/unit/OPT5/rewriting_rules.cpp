// Rules are counted, listed before any of them fires, and stopped at a limit.
#include "OPT5/rules.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "support/dbgout.h"
#include "support/register_option.h"

#include <gtest/gtest.h>

namespace {

const char *const TEXTS[] = {"TEST: first -> second", "TEST: never tried", "TEST: second -> third"};
bool first() { return RULE("TEST: first -> second"); }
[[maybe_unused]] bool untried() { return RULE("TEST: never tried"); }
bool second() { return RULE("TEST: second -> third"); }
bool (*volatile never)() = untried;

REWRITE_RULE *rule_named(const char *text) {
    for (REWRITE_RULE &r : all_rules())
        if (!strcmp(r.text, text)) return &r;
    return nullptr;
}

struct rewriting_rules : testing::Test {
    void SetUp() override { limit("0"); }
    void limit(const char *n) {
        process_debug_option("debug", (std::string("limit_rules=") + n).c_str());
        init_rules();
        for (REWRITE_RULE &r : all_rules()) r.fired = 0;
    }
    // What f writes to the information stream.
    template <class F> std::string written(FILE *&stream, F f) {
        FILE *saved = stream, *file = tmpfile();
        stream = file;
        f();
        stream = saved;
        std::string text(size_t(ftell(file)), ' ');
        rewind(file);
        text.resize(fread(text.data(), 1, text.size(), file));
        fclose(file);
        return text;
    }
};

} // namespace

TEST_F(rewriting_rules, are_listed_whether_they_fire_or_not) {
    for (const char *text : TEXTS) {
        ASSERT_NE(rule_named(text), nullptr) << text;
        EXPECT_EQ(rule_named(text)->fired, 0u);
        EXPECT_NE(strstr(rule_named(text)->file, "rewriting_rules.cpp"), nullptr);
    }
    EXPECT_TRUE(first() && first() && second());
    EXPECT_EQ(rule_named(TEXTS[0])->fired, 2u);
    EXPECT_EQ(rule_named(TEXTS[1])->fired, 0u);
    EXPECT_EQ(rules_fired, 3u);
}

TEST_F(rewriting_rules, stop_after_the_limit) {
    limit("3");
    int done = 0;
    for (int k = 0; k < 5; k++) done += first() + second();
    EXPECT_EQ(done, 3);
    EXPECT_EQ(rule_named(TEXTS[0])->fired, 2u);
    limit("-1");
    EXPECT_FALSE(first());
    EXPECT_EQ(rules_fired, 0u);
}

TEST_F(rewriting_rules, statistics_have_the_frequent_ones_first) {
    process_debug_option("enable", "rule_stats");
    second(), first(), second();
    std::string text = written(finfo, [] { report_rule_stats(); });
    size_t a = text.find("        2  TEST: second"), b = text.find("        1  TEST: first"),
           c = text.find("        0  TEST: never");
    ASSERT_TRUE(a != std::string::npos && b != std::string::npos && c != std::string::npos) << text;
    EXPECT_TRUE(a < b && b < c);
    EXPECT_NE(text.find("3 firings"), std::string::npos);
    process_debug_option("enable", "rule_stats=0");
    EXPECT_EQ(written(finfo, [] { report_rule_stats(); }), "");
}

TEST_F(rewriting_rules, are_traced_with_their_number) {
    process_debug_option("debug", "trace_rules");
    limit("0");
    print_debug = 1;
    std::string text = written(fdebug, [] { first(), second(); });
    EXPECT_EQ(text, "rule 1: TEST: first -> second\nrule 2: TEST: second -> third\n");
    process_debug_option("debug", "trace_rules=0");
    limit("0");
    EXPECT_EQ(written(fdebug, [] { first(); }), "");
    print_debug = 0;
}
