// Transformations are counted by pass and refused from the limit on.
#include <gtest/gtest.h>

#include "OPT5/passlimit.h"
#include "support/register_option.h"

namespace {

int allowed_of(const char *pass, int asked) {
    int allowed = 0;
    for (int i = 0; i < asked; i++) allowed += pass_may_transform(pass);
    return allowed;
}

} // namespace

TEST(pass_limits, each_pass_has_its_own) {
    process_debug_option("debug", "limit_alpha=2,limit_beta=-1,limit_gamma=0");
    init_pass_limits();
    struct {
        const char *pass;
        int asked, allowed;
    } rows[] = {{"alpha", 1, 1}, {"beta", 3, 0}, {"alpha", 3, 1}, {"gamma", 4, 4}, {"delta", 4, 4}};
    for (const auto &row : rows) EXPECT_EQ(allowed_of(row.pass, row.asked), row.allowed) << row.pass;
    init_pass_limits();
    EXPECT_EQ(allowed_of("alpha", 5), 2) << "a new run counts afresh";
}

TEST(pass_limits, what_a_rule_limit_refuses_does_not_happen) {
    process_debug_option("debug", "limit_rules=1");
    init_rules();
    init_pass_limits();
    int done = 0;
    for (int i = 0; i < 3; i++)
        if (TRANSFORM("epsilon", "counted as a rule")) ++done;
    EXPECT_EQ(done, 1);
    process_debug_option("debug", "limit_rules=0");
    init_rules();
    bool listed = false;
    for (const REWRITE_RULE &rule : all_rules())
        listed |= std::string(rule.text) == "epsilon: counted as a rule" && rule.fired == 1;
    EXPECT_TRUE(listed);
}
