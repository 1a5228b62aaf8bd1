// The pass manager: what a pass is, the complete list of passes, and the order in which they run.
//
// The pipeline is one table of rows (name, kind, gate, action) in passes.cpp; setup_passes makes the passes from
// it, so that the position of a row is the serial number of its pass. The loop optimizer contributes its own rows
// (OPT5/dddriver). Each function gets a copy of the active list (OPT5/main). A barrier pass runs once for the whole
// program, without current function, when every function has come to it; the others run once for each function.
//
//   0 to 2     a first, cheap cleaning of each function
//   3 to 10    barriers: whole-program analyses and inlining decisions, back to back
//   11 to 77   each function to its end, in call-graph order; no barrier follows
//
// The order can be forced, to hunt for a faulty pass: with --opt_passes or the environment variable
// FORCED_OPT_PASSES, a list of positions or "random". Positions may repeat or be left out; one outside the list is
// refused. "debug:skip_pass=N" leaves out pass N, which must be positive; "debug:validate" checks the structure of
// the program after every pass and names the pass that broke it. "debug:limit_passes=N" lets the first N runs of passes
// on functions happen and skips the later ones (-1: all), but for those that others count on; "debug:trace_passes" tells
// each counted run with its number.
//
// In debug, and with "debug:pass_times", every pass is timed. The times are exclusive: a pass that runs another inside
// itself is not charged for it.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "support/serial_object.h"

struct pass;

// Owns its passes.
struct pass_manager : std::vector<pass *> {
    ~pass_manager();
    void delete_passes();
};

// What must hold for a pass to do something; the bits of a row must all hold. The levels and goals are those of
// the current function.
enum PASS_GATE : unsigned {
    ALWAYS = 0,
    LEVEL_1 = 0x001,   // opt_level() at least 1
    LEVEL_2 = 0x002,   // opt_level() at least 2
    BLOCKS_2 = 0x004,  // at least 2 basic blocks
    VECTORIZE = 0x008, // do_MDF_vectorization
    GOAL_2 = 0x010,    // size_speed_goal() at least 2
    GOAL_5 = 0x020,    // size_speed_goal() above 4
    NEON = 0x040,      // arm_neon()
    NEEDED = 0x080, // no condition: what follows counts on the pass, so "debug:limit_passes" leaves it alone
};
bool pass_gate_holds(unsigned gate);

// One row of the pipeline. An action of null does nothing on this target.
struct pass_row {
    const char *name;
    bool barrier;
    unsigned gate;
    void (*action)();
};

struct pass : serial_object<pass, pass_manager> {
    pass(std::string name, void (*action)(), unsigned gate = ALWAYS);
    virtual ~pass() = default;
    virtual bool is_barrier() const { return false; }

    // Runs the action when the gate holds, with what the debug file wants around it.
    void run();

    const std::string name;

    // all runs: processor time, without that of passes run inside, and number
    double seconds = 0;
    unsigned runs = 0;

  private:
    bool within_limit() const;
    void (*action_)();
    unsigned gate_;
};

struct barrier_pass : pass {
    using pass::pass;
    bool is_barrier() const override { return true; }
};

// Every pass ever constructed, by serial number.
extern pass_manager global_pass_manager;
// The built-in order.
extern std::vector<pass *> normal_order_passes;
// The order that functions are given.
extern std::vector<pass *> active_passes;

// Makes a pass of a row, owned by global_pass_manager.
pass *mk_pass(const pass_row &row);

// Makes all passes anew. ALLOW_FORCED: the order may be forced; a bad position ends the run with status 1.
void setup_passes(bool allow_forced);

// One line for each pass of the active list.
void list_passes(FILE *stream);

// The table of times, the slowest pass first: in debug to the debug file, with "debug:pass_times" to standard error.
void report_pass_times();

// The positions of a forced order, TEXT being "random" or numbers between commas or blanks; what follows the first
// word that is no number is ignored. ORIGIN names the source of the text for the message about a position that is
// not below COUNT, which ends the run with status 1.
std::vector<unsigned> forced_positions(const char *text, unsigned count, const char *origin);
