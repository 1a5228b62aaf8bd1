// The judge of rewritings: a tree before and after must mean the same.
//
// Any function of the program that takes a tree and gives the one to use instead is put under it in a few lines:
//
//     std::string error = check_rewrite(tree, [](NODE *t) { return simp_tree(t, nullptr); });
//
// Before the rewriter gets a copy of the tree, the tree is run in many environments: all values of its variables when
// they have at most 16 bits together, else boundary values combined and random ones. What comes back is run in the same
// environments and must give the same value (or as much of it as the mode says), the same events in the same order and
// the same memory. A trap may be lost where the program was wrong anyway, and may never be made.
// The tree that comes back must be well formed, with no node shared, lost or freed twice; the firings of rules are
// bounded; a rewriter that does not return ends the program with the tree on standard error.
//
// A failure is cut down before it is reported: subtrees give way to operands, variables and constants for as long as
// something is still wrong. The report has both trees, the environment, what differs, the rules that fired, and the
// command that repeats it.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/oracle/lib/generate.h"
#include "tests/oracle/lib/world.h"

typedef std::function<NODE *(NODE *)> REWRITER; // takes the tree; may give null in mode EFFECT

enum class COMPARE {
    VALUE,  // the value, as a 64-bit number
    TRUTH,  // whether it is zero
    NEGATE, // the result is 0 or 1 and tells that the tree was zero
    BOOL,   // the result is 0 or 1 and tells that the tree was not zero
    MASK,   // the bits of `mask`
    EFFECT, // no value: only events and memory
};

struct CHECK {
    COMPARE compare = COMPARE::VALUE;
    uint64_t mask = ~0ull;
    uint64_t seed = 1;
    int samples = 120;       // random environments where values can't be enumerated
    int enumerate_bits = 16; // enumerate when the variables have no more bits than that
    bool wraps = false;      // signed overflow counts: the rewriting must keep what wrapping gives
    bool traps = false;      // a trap of the tree must stay one
    bool keep_type = true;   // the value must be the same as a 64-bit number, not only in the type's bits
    bool twice = true;       // the result is rewritten once more and judged again
    bool shrink = true;
    unsigned long firings = 0; // allowed; 0: 50 for each node and 1000
};

// "" or what is wrong. Takes the tree.
std::string check_rewrite(NODE *tree, const REWRITER &rewriter, const CHECK &check = {});

// The same for any property of trees: gives what is wrong, and the environment in which it is. Takes the tree.
typedef std::function<std::string(const NODE *tree, std::string *environment)> PROPERTY;
std::string check_property(NODE *tree, const PROPERTY &property, const CHECK &check = {});

// Everything that value queries say of the tree against its values. "" or what is wrong. Takes the tree.
std::string check_bounds(NODE *tree, const CHECK &check = {});
extern std::map<int, unsigned long> bounds_asked; // nodes of all trees, by opcode

// What the run did, for a last line of output.
struct ORACLE_COUNTS {
    unsigned long trees, environments, undefined, changed, not_idempotent, skipped;
};
extern ORACLE_COUNTS oracle_counts;

// --- command line of the test programs ---
struct ORACLE_OPTIONS {
    uint64_t seed = 20;
    double effort = 1;      // multiplies the number of trees
    std::string only;       // rows whose text has this
    std::string rule_stats; // file that gets the rules' counts; none when empty
    bool wraps = false;     // --wraps: as CHECK::wraps, everywhere
    bool stale = false;     // --stale: a row whose rule never fires is a failure
    int max_failures = 5;
};
extern ORACLE_OPTIONS oracle_options;
// "--seed=N --gtest_filter=..." of the test that runs.
std::string repeat_command(uint64_t seed);
