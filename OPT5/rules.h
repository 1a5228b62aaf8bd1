// Rewriting rules: counted, listed, and stopped one by one.
//
// A rule asks before it rewrites, after all its conditions hold:
//
//     if (is_ICON(right, 0) && RULE("PLUS: x + 0 -> x")) ...
//
// RULE counts the firing and answers true. Each use has a record of its own in a section of the program, so the list
// of rules is complete without any being run: --enable:rule_stats prints how often each fired, those that never did
// included. --debug:limit_rules=N lets the first N firings happen and answers false from then on, which finds the one
// rewrite that breaks a program by halving; --debug:trace_rules writes each firing's number and name to the debug
// stream (a limit of -1 lets none happen).
//
// A text begins with the opcode or the worker and has the pattern and the result. RULE may not stand in a template or
// an inline function.
#pragma once

struct REWRITE_RULE {
    const char *text; // unique in the program for the user's sake
    const char *file;
    int line;
    unsigned long fired;
};

// Counts one firing of the rule; false when the limit is reached: the caller must leave the tree as it is.
bool rule_may_fire(REWRITE_RULE *rule);

#define RULE(text)                                                                                           \
    ([]() -> bool {                                                                                          \
        __attribute__((section("ql_rules"), used)) static REWRITE_RULE rule = {text, __FILE__, __LINE__, 0}; \
        return rule_may_fire(&rule);                                                                         \
    }())

extern unsigned long rules_fired; // firings in this run so far

// All rules of the program: [begin, end).
struct RULE_LIST {
    REWRITE_RULE *first, *last;
    REWRITE_RULE *begin() const { return first; }
    REWRITE_RULE *end() const { return last; }
};
RULE_LIST all_rules();

// Reads the switches; once, after the command line.
void init_rules();
// With --enable:rule_stats: a line for each rule to the information stream, those that fired most first.
void report_rule_stats();
