#include "OPT5/rules.h"

#include <algorithm>
#include <climits>
#include <vector>

#include "support/dbgout.h"
#include "support/register_option.h"

// The section's bounds, made by the linker.
extern REWRITE_RULE __start_ql_rules[] __attribute__((weak)), __stop_ql_rules[] __attribute__((weak));

unsigned long rules_fired;

namespace {

unsigned long firing_limit = ULONG_MAX;
bool tracing = false;

} // namespace

RULE_LIST all_rules() { return {__start_ql_rules, __stop_ql_rules}; }

void init_rules() {
    int limit = pass_debug("limit_rules");
    firing_limit = limit ? (unsigned long)(limit < 0 ? 0 : limit) : ULONG_MAX;
    tracing = pass_debug("trace_rules") != 0;
    rules_fired = 0;
}

bool rule_may_fire(REWRITE_RULE *rule) {
    if (rules_fired >= firing_limit) return false;
    ++rules_fired;
    ++rule->fired;
    if (tracing) dprintf("rule %lu: %s\n", rules_fired, rule->text);
    return true;
}

void report_rule_stats() {
    if (!pass_enable("rule_stats")) return;
    std::vector<const REWRITE_RULE *> rules;
    for (const REWRITE_RULE &each : all_rules()) rules.push_back(&each);
    std::stable_sort(rules.begin(), rules.end(),
                     [](const REWRITE_RULE *a, const REWRITE_RULE *b) { return a->fired > b->fired; });
    FILE *stream = finfo ? finfo : stderr;
    fprintf(stream, "== RULES (%zu, %lu firings) ==\n", rules.size(), rules_fired);
    for (const REWRITE_RULE *each : rules) fprintf(stream, "%9lu  %s\n", each->fired, each->text);
}
