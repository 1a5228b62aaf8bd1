#include "tests/oracle/lib/rows.h"

#include <cstring>
#include <map>
#include <set>

#include <gtest/gtest.h>

#include "OPT5/rules.h"
#include "OPT5/simp1.h"
#include "typepkg/type_pkg.h"

ORACLE_OPTIONS oracle_options;

std::string repeat_command(uint64_t seed) {
    const testing::TestInfo *test = testing::UnitTest::GetInstance()->current_test_info();
    std::string s = "--seed=" + std::to_string(seed) + " --effort=0";
    if (test) s += std::string(" --gtest_filter=") + test->test_suite_name() + "." + test->name();
    return s;
}

namespace {

// A failure for each cause is enough: the rules that fired and what is wrong name it.
struct FAILURES {
    int shown = 0, more = 0;
    std::set<std::string> causes;
    void add(const std::string &title, const std::string &text) {
        size_t rules = text.find("  rules\n");
        std::string cause = rules == std::string::npos ? text.substr(0, text.find('\n'))
                                                       : text.substr(rules, text.find(" repeat") - rules);
        if (!causes.insert(cause).second || shown >= oracle_options.max_failures) {
            more++;
            return;
        }
        shown++;
        ADD_FAILURE() << title << "\n" << text;
    }
    ~FAILURES() {
        if (more) printf("%d more failures like these\n", more);
    }
};

uint64_t mix(uint64_t a, uint64_t b) {
    a = (a ^ b) * 0x9E3779B97F4A7C15ull;
    return a ^ a >> 29;
}

unsigned long firings_of(const char *rule) {
    unsigned long n = 0;
    for (const REWRITE_RULE &r : all_rules())
        if (strstr(r.text, rule)) n += r.fired;
    return n;
}

int scaled(int n) {
    int m = int(n * oracle_options.effort);
    return m < 1 ? 1 : m;
}

} // namespace

void run_rows(const std::vector<oracle_row> &rows, const REWRITER &rewriter, int trees_for_each) {
    ORACLE_WORLD &w = world();
    std::vector<TYPE *> types;
    for (const SCALAR &each : w.integers) types.push_back(each.type);
    types.push_back(w.f32), types.push_back(w.f64);
    FAILURES failures;
    for (const oracle_row &row : rows) {
        if (!oracle_options.only.empty() && !strstr(row.text, oracle_options.only.c_str())) continue;
        unsigned long before = row.rule ? firings_of(row.rule) : 0;
        for (size_t t = 0; t < types.size(); t++) {
            if (!(row.types >> t & 1)) continue;
            for (int k = 0; k < scaled(trees_for_each); k++) {
                uint64_t seed = mix(mix(oracle_options.seed, uint64_t(k)), t);
                RANDOM random(seed);
                NODE *tree = tree_from_notation(row.text, types[t], random, k % 4 == 3 ? 50 : 0);
                if (!tree) break;
                CHECK check;
                check.compare = row.compare;
                check.seed = oracle_options.seed;
                check.samples = 100;
                // the whole square of 8-bit operands once for each type, then less
                check.enumerate_bits = k < 2 ? 16 : 8;
                std::string error = check_rewrite(tree, rewriter, check);
                if (!error.empty()) failures.add(std::string("row ") + row.text, error);
            }
        }
        if (row.rule && firings_of(row.rule) == before && oracle_options.effort >= 1) {
            if (oracle_options.stale)
                failures.add(std::string("row ") + row.text,
                             std::string("the rule \"") + row.rule + "\" never fired\n");
            else printf("row %s: the rule \"%s\" never fired\n", row.text, row.rule);
        }
    }
}

void run_rows(const std::vector<oracle_row> &rows, int trees_for_each) {
    run_rows(
        rows, [](NODE *t) { return simp_tree(t, nullptr); }, trees_for_each);
}

void run_random_trees(const char *what, int trees, const std::function<NODE *(RANDOM &)> &generator,
                      const std::function<std::string(NODE *, const CHECK &)> &judge, const CHECK &base) {
    FAILURES failures;
    for (int k = 0; k < scaled(trees); k++) {
        CHECK check = base;
        check.seed = oracle_options.seed + uint64_t(k);
        if (k % 8) check.enumerate_bits = std::min(check.enumerate_bits, 8);
        RANDOM random(check.seed);
        std::string error = judge(generator(random), check);
        if (!error.empty()) failures.add(what, error);
    }
}

void run_random(const char *what, int trees, const std::function<NODE *(RANDOM &)> &generator,
                const REWRITER &rewriter, const CHECK &base) {
    run_random_trees(
        what, trees, generator,
        [&](NODE *t, const CHECK &check) { return check_rewrite(t, rewriter, check); }, base);
}

// --- the program ---

// In the form that the optimizer itself prints.
static bool write_rule_stats() {
    if (oracle_options.rule_stats.empty()) return true;
    FILE *f = fopen(oracle_options.rule_stats.c_str(), "w");
    if (!f) return perror(oracle_options.rule_stats.c_str()), false;
    fprintf(f, "== RULES (%zu, %lu firings) ==\n", size_t(all_rules().end() - all_rules().begin()),
            rules_fired);
    for (const REWRITE_RULE &r : all_rules()) fprintf(f, "%9lu  %s\n", r.fired, r.text);
    return fclose(f) == 0;
}

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    for (int k = 1; k < argc; k++) {
        std::string a = argv[k];
        auto value = [&](const char *name) -> const char * {
            size_t n = strlen(name);
            return a.compare(0, n, name) == 0 ? a.c_str() + n : nullptr;
        };
        if (const char *v = value("--seed=")) oracle_options.seed = strtoull(v, nullptr, 0);
        else if (const char *v = value("--effort=")) oracle_options.effort = atof(v);
        else if (const char *v = value("--only=")) oracle_options.only = v;
        else if (const char *v = value("--failures=")) oracle_options.max_failures = atoi(v);
        else if (const char *v = value("--rule-stats=")) oracle_options.rule_stats = v;
        else if (a == "--stale") oracle_options.stale = true;
        else if (a == "--wraps") oracle_options.wraps = true;
        else {
            fprintf(stderr,
                    "%s is no option; there are\n"
                    "  --seed=N       of the random trees and values (20)\n"
                    "  --effort=X     X times as many trees; 0: the first of each\n"
                    "  --only=TEXT    rows with that text\n"
                    "  --failures=N   failures that are shown for each test (5)\n"
                    "  --wraps        no rewriting may rely on signed arithmetic not overflowing\n"
                    "  --stale        a row whose rule never fires is a failure\n"
                    "  --rule-stats=FILE  write a line for each rule with the number of its firings\n",
                    a.c_str());
            return 2;
        }
    }
    world();
    int status = RUN_ALL_TESTS();
    const ORACLE_COUNTS &c = oracle_counts;
    printf("seed %llu: %lu trees, %lu changed, %lu environments, %lu of them undefined, %lu skipped, %lu "
           "rewritten to "
           "something else the second time\n",
           static_cast<unsigned long long>(oracle_options.seed), c.trees, c.changed, c.environments,
           c.undefined, c.skipped, c.not_idempotent);
    return status || !write_rule_stats() ? 1 : 0;
}
