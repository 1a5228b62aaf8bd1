#include "OPT5/passes.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/infix.h"
#include "OPT5/passlimit.h"
#include "OPT5/pipeline.h"
#include "OPT5/validate.h"
#include "support/dbgout.h"
#include "support/register_option.h"

pass_manager global_pass_manager;
std::vector<pass *> normal_order_passes;
std::vector<pass *> active_passes;

namespace {

const register_option list_switch("debug:list_passes");
const register_option skip_switch("debug:skip_pass");
const register_option validate_switch("debug:validate");

const register_option times_switch("debug:pass_times");
const register_option limit_switch("debug:limit_passes");
const register_option trace_switch("debug:trace_passes");

// Runs that "debug:limit_passes" counts.
int counted_runs;

// What passes that ran inside the running one have taken so far.
double nested_seconds;

// Asking for the time costs more than a small function's pass, so it is done for those who want to know.
bool passes_are_timed() { return print_debug || times_switch; }

double now() { return static_cast<double>(clock()) / CLOCKS_PER_SEC; }

void dump_flow_graph() {
    if (print_debug && currfuninfo && currfuninfo->bb_list) prbbinfix();
}

constexpr int VALIDATE_AT_ONCE = 2; // --debug:validate=2

// Wall clock, which is cheap to ask; still, passes on small functions take no longer. So it is asked once for each
// pass: a pass begins where the one before, or its check, has ended.
std::chrono::steady_clock::time_point last_end;

void validate_after(const pass *done) {
    auto now = std::chrono::steady_clock::now();
    double seconds = validate_switch >= VALIDATE_AT_ONCE
                         ? HUGE_VAL
                         : std::chrono::duration<double>(now - last_end).count();
    last_end = now;
    if (done->is_barrier()) validate_after_barrier(done->name.c_str(), seconds);
    else if (!currfuninfo || !validate_after_pass(done->name.c_str(), seconds)) return;
    last_end = std::chrono::steady_clock::now();
}

} // namespace

bool pass_gate_holds(unsigned gate) {
    if ((gate & LEVEL_1) && opt_level() < 1) return false;
    if ((gate & LEVEL_2) && opt_level() < 2) return false;
    if ((gate & BLOCKS_2) && (!currfuninfo || currfuninfo->bb_count < 2)) return false;
    if ((gate & VECTORIZE) && !do_MDF_vectorization) return false;
    if ((gate & GOAL_2) && size_speed_goal() < 2) return false;
    if ((gate & GOAL_5) && size_speed_goal() <= 4) return false;
    if ((gate & NEON) && !arm_neon()) return false;
    return true;
}

pass_manager::~pass_manager() { delete_passes(); }

void pass_manager::delete_passes() {
    for (size_t i = 0; i < size(); ++i) delete (*this)[i]; // each takes itself out of its slot
    clear();
}

pass::pass(std::string name, void (*action)(), unsigned gate)
    : serial_object(&global_pass_manager), name(std::move(name)), action_(action), gate_(gate) {}

bool pass::within_limit() const {
    if ((gate_ & NEEDED) || is_barrier()) return true;
    int limit = limit_switch;
    if (limit && counted_runs >= limit) return false;
    ++counted_runs;
    if (trace_switch)
        fprintf(stderr, "pass run %d: %u '%s' %s\n", counted_runs, serial_number, name.c_str(),
                currfuninfo ? currfuninfo->name.c_str() : "");
    return true;
}

void pass::run() {
    int skipped = skip_switch;
    if (skipped > 0 && static_cast<unsigned>(skipped) == serial_number) {
        dprintf("\n\n\t\t\t---------- SKIPPING step %u '%s' ----------\n", serial_number, name.c_str());
        return;
    }
    dprintf("\n\n\t\t\t---------- ENTERING step %u '%s' ----------\n", serial_number, name.c_str());
    dump_flow_graph();

    bool timed = passes_are_timed();
    double outer_nested = nested_seconds, start = timed ? now() : 0;
    nested_seconds = 0;
    bool acts = action_ && pass_gate_holds(gate_) && within_limit(), validated = acts && validate_switch;
    if (acts) action_();
    double elapsed = timed ? now() - start : 0;
    seconds += elapsed - nested_seconds;
    nested_seconds = outer_nested + elapsed;
    ++runs;

    if (validated) validate_after(this);
    dprintf("(%.1f sec for pass.)\n", elapsed);
    dprintf("\n\n\n\t\t\t---------- EXITING step %u '%s' ----------\n", serial_number, name.c_str());
    dump_flow_graph();
}

pass *mk_pass(const pass_row &row) {
    if (row.barrier) return new barrier_pass(row.name, row.action, row.gate);
    return new pass(row.name, row.action, row.gate);
}

// ---- the order

namespace {

// Every permutation of 0 to COUNT - 1 is possible; each position goes to a place among those before it.
std::vector<unsigned> random_positions(unsigned count) {
    srand(static_cast<unsigned>(time(nullptr) + clock()));
    std::vector<unsigned> positions(count);
    for (unsigned i = 1; i < count; ++i) {
        unsigned j = static_cast<unsigned>(rand() / (RAND_MAX + 1.0) * (i + 1));
        positions[i] = positions[j];
        positions[j] = i;
    }
    return positions;
}

[[noreturn]] void refuse_position(long position, unsigned count, const char *origin) {
    fprintf(stderr, "\n>>>> OPTIMIZER ERROR: Pass %ld, from %s, is not in the range 0 to %u\n\n", position,
            origin, count - 1);
    exit(1);
}

} // namespace

std::vector<unsigned> forced_positions(const char *text, unsigned count, const char *origin) {
    if (strcmp(text, "random") == 0) return random_positions(count);
    std::vector<unsigned> positions;
    std::string copy(text);
    std::replace(copy.begin(), copy.end(), ',', ' ');
    for (const char *at = copy.c_str();;) {
        char *end;
        long position = strtol(at, &end, 10);
        if (end == at) return positions;
        if (position < 0 || position >= static_cast<long>(count)) refuse_position(position, count, origin);
        positions.push_back(static_cast<unsigned>(position));
        at = end;
    }
}

static void force_order(const char *text, const char *origin) {
    std::vector<unsigned> positions =
        forced_positions(text, static_cast<unsigned>(normal_order_passes.size()), origin);
    active_passes.clear();
    dprintf("Pass list, from %s, is%s: ", origin, strcmp(text, "random") == 0 ? " (random)" : "");
    for (unsigned position : positions) {
        dprintf(" %u", position);
        active_passes.push_back(normal_order_passes[position]);
    }
    dprintf("%s\n", positions.empty() ? "<empty>" : "");
}

void setup_passes(bool allow_forced) {
    counted_runs = 0;
    init_pass_limits();
    global_pass_manager.delete_passes();
    normal_order_passes.clear();
    add_pipeline_passes(normal_order_passes);

    active_passes = normal_order_passes;
    if (allow_forced) {
        if (file_options && file_options->testopt(OO_FORCED_PASSES))
            force_order(file_options->getstrarg(OO_FORCED_PASSES), "command-line option");
        else if (const char *text = getenv("FORCED_OPT_PASSES")) force_order(text, "environment variable");
        else dprintf("Pass list is normal order.\n");
    }
    if (list_switch && fdebug) list_passes(fdebug);
}

void list_passes(FILE *stream) {
    for (const pass *each : active_passes)
        fprintf(stream, "%2u:  %s\n", each->serial_number, each->name.c_str());
}

void report_pass_times() {
    if (!passes_are_timed()) return;
    std::vector<const pass *> ran;
    double total = 0;
    for (const pass *each : global_pass_manager) {
        if (!each || !each->runs) continue;
        ran.push_back(each);
        total += each->seconds;
    }
    std::stable_sort(ran.begin(), ran.end(),
                     [](const pass *a, const pass *b) { return a->seconds > b->seconds; });
    FILE *stream = times_switch || !fdebug ? stderr : fdebug;
    fprintf(stream, "\n\n== PASS TIMES (%.3f sec, exclusive) ==\n", total);
    for (const pass *each : ran)
        fprintf(stream, "%9.3f sec %5.1f%% %6u runs  %2u: %s\n", each->seconds,
                total > 0 ? 100 * each->seconds / total : 0.0, each->runs, each->serial_number,
                each->name.c_str());
}
