#include "support/dbgout.h"
#include "support/fatal.h"
#include "support/register_option.h"
#include "support/safealloc.h"
#include "support/signalsupport.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>

using testing::ExitedWithCode;
using testing::KilledBySignal;

namespace {

void failing_closer() {
    fputs("closing\n", stderr);
    abort_optimizer("closing failed");
}

fatal_place somewhere() { return {"f", "f.c"}; }

void report_signal(int signal) {
    common_signal_handler(signal, "prog", "while processing function %s file %s", "f", "in.if");
}

void say_goodbye(int) { fputs("callback\n", stderr); }

volatile int depth;

// Each frame holds on to the one above, so that no optimizer makes a loop of this.
__attribute__((noinline)) int overflow_the_stack(volatile char *above) {
    volatile char frame[4096];
    frame[0] = above[0];
    depth = depth + 1;
    return depth < 0 ? 0 : overflow_the_stack(frame) + frame[0] + above[0];
}

} // namespace

TEST(ways_out, internal_failure_reports_place_and_asks_for_a_test_case) {
    EXPECT_EXIT(
        {
            register_fatal_describer(somewhere);
            abort_optimizer("ERROR - OUT OF MEMORY");
        },
        ExitedWithCode(1),
        "\n>>>> Optimizer terminated abnormally\n>>>>    in function f\\(\\)\n>>>>    in file \"f.c\"\n"
        "\n>>>> ERROR - OUT OF MEMORY.\n\n(.+\n)+\n$");
}

TEST(ways_out, the_place_is_asked_before_its_file_is_closed) {
    static char name[] = "f.c";
    EXPECT_EXIT(
        {
            register_fatal_describer([] { return fatal_place{"f", name}; });
            register_fatal_closer([] { name[0] = '?'; });
            abort_optimizer();
        },
        ExitedWithCode(1), "in file \"f.c\"");
}

TEST(ways_out, a_failing_closer_runs_once) {
    EXPECT_EXIT(
        {
            register_fatal_closer(failing_closer);
            QL_ASSERT(1 + 1 == 3);
        },
        ExitedWithCode(1), "^closing\n\n>>>> Optimizer terminated abnormally\n\n>>>> closing failed.\n");
}

TEST(ways_out, assertion_is_named_only_for_developers) {
    EXPECT_EXIT(QL_ASSERT(depth == 99), ExitedWithCode(1), "^\n>>>> Optimizer terminated abnormally\n\n");
    EXPECT_EXIT(
        {
            process_debug_option("debug", "abort");
            QL_ASSERT(depth == 99);
        },
        KilledBySignal(SIGABRT), "depth == 99");
}

TEST(ways_out, lost_debug_output_is_fatal) {
    EXPECT_EXIT(
        {
            fdebug = fopen("/dev/full", "w");
            print_debug = 1;
            dprintf("%d\n", 1);
        },
        ExitedWithCode(1), "terminated abnormally");
}

TEST(ways_out, debug_text_costs_nothing_when_off) {
    int evaluated = 0;
    dprintf("%d", ++evaluated);
    info_printf("%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
}

TEST(ways_out, each_signal_leaves_with_status_2) {
    const struct {
        int signal;
        const char *text;
    } cases[] = {
        {SIGINT, "^\\[prog forced exit\\]\n$"},
        {SIGHUP, "^\\[prog forced exit\\]\n$"},
        {SIGTERM, "^\\[prog received a terminate signal\\]\n$"},
        {SIGFPE, "^\nINTERNAL ERROR: prog received a floating point exception\n"
                 "                  while processing function f file in.if\n\n\n.*callback\n$"},
        {SIGABRT, "prog had an internal inconsistency and aborted\n"},
        {SIGXFSZ, "prog exceeded the file size limit\n"},
    };
    for (const auto &c : cases)
        EXPECT_EXIT(
            {
                install_common_handlers(report_signal, say_goodbye);
                raise(c.signal);
            },
            ExitedWithCode(2), c.text);
}

TEST(ways_out, exhausted_stack_is_reported) {
    EXPECT_EXIT(
        {
            install_common_handlers(report_signal, nullptr);
            volatile char top[1] = {1};
            overflow_the_stack(top);
        },
        ExitedWithCode(2), "experienced a segmentation fault");
}

TEST(ways_out, refused_memory_ends_the_run) {
    volatile size_t too_much = SIZE_MAX / 2;
#if defined(__SANITIZE_ADDRESS__) // the sanitizer says something of its own before
    const char *message = "ERROR: out of memory\n$";
#else
    const char *message = "^ERROR: out of memory\n$";
#endif
    EXPECT_EXIT(safemalloc(too_much), ExitedWithCode(1), message);
    EXPECT_EXIT(safecalloc(too_much, 8), ExitedWithCode(1), message);
    free(saferealloc(nullptr, 0));
}

TEST(ways_out, appended_text_is_cut_at_the_end_of_the_buffer) {
    char buffer[6] = "ab";
    EXPECT_STREQ(sigstrnappend(buffer, "cdefg", sizeof buffer), "abcde");
    EXPECT_STREQ(sigstrnappend(buffer, "x", sizeof buffer), "abcde");
}
