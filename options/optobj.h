// option_obj: the values of all options of one set.
//
// There are several sets at once: the command line, and one for each option set recorded in the input file, with
// the command line laid over it. All are filled by the same parser (process_option), from the same table
// (options/opttable.h). For each id an object holds how often the option was set, in which spelling, and its
// arguments: at most one for a single-valued option, where a later use replaces the earlier, and one for each
// use of a list option.
//
// The history keeps the order in which options were given, which the state per id can't tell: export and dump
// follow it.
//
// A set is handed to another object as text: export_option_pairs of one is process_option of the other, so that
// what the user may write is the only way in.
//
// Faults of the user are reported by the numbered messages of options/optmsg.h; a missing or bad argument ends
// the run with status 1. An option that is not known is no fault here: process_option says so and its caller
// decides.
#ifndef OPTIONS_OPTOBJ_H
#define OPTIONS_OPTOBJ_H

#include "DIAG/diag.h"
#include "options/opttable.h"

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

struct option_arg {
    long number = 0;  // every kind but text
    std::string text; // text kinds
    bool operator==(const option_arg &) const = default;
};

struct option_state {
    int set = 0;            // how often since it was last cleared; 0: not set
    unsigned char form = 0; // which spelling: 0 the name, 1 to 4 a further name, LETTER_FORM
    int seen = 0;           // how often it was touched at all, clearing included
    int parsed = 0;         // how often it came from text
    std::vector<option_arg> args;
};
constexpr unsigned char LETTER_FORM = 5;

struct option_history_entry {
    int id; // -1: TEXT names the file whose options follow
    long number;
    std::string text;
};

class option_obj {
  public:
    // DEBUG: report also what is normally quiet, such as options that clear each other.
    explicit option_obj(bool debug = false) : debug_(debug) {}

    // ---- text in (options/optparse.cpp)

    // Parses TEXT, one raw argument without its leading dash. True when all of it was understood; otherwise REST,
    // if given, is set to the offending place inside TEXT. Null and empty texts are understood. Help prints and
    // exits with status 0; a missing or bad argument exits with status 1.
    bool process_option(const char *text, const char **rest = nullptr);

    // ---- setting

    void setopt(int id);
    void setopt(int id, long value);
    void setopt(int id, int value) { setopt(id, static_cast<long>(value)); }
    void setopt(int id, const char *value); // for numbers and enumerators, the text is converted
    void setopt(class_id group);            // every option of the group
    void clearopt(int id);                  // nothing happens to a persistent option
    void clearopt(class_id group);

    // The two halves of setopt: the count with its conflicts, and the value.
    void setopt_internal(int id);
    void setarg(int id, long value);
    void setarg(int id, const char *value);
    void add_to_history(int id);

    // ---- reading. Ids outside the table read as not set.

    bool testopt(int id) const { return known(id) && state_[id].set > 0; }
    bool seenopt(int id) const { return known(id) && state_[id].seen > 0; }
    int getargcount(int id) const;
    // The Nth argument as a number; 0 when there is none. Texts are read as numbers.
    long getnumarg(int id, int n = 0) const;
    // The Nth argument as text, null when there is none. Numbers stand in a ring of 16 static buffers.
    const char *getstrarg(int id, int n = 0) const;
    // True when some argument equals some text of LIST, which ends at null.
    bool args_match_list(int id, const char *const *list) const;
    // The option as the user wrote it: "--opt_level", "-o".
    std::string format_of_option(int id) const;

    void setclassmembers(class_id group) { setopt(group); }
    void clearclassmembers(class_id group) { clearopt(group); }
    bool testclass(class_id group) const; // some member is set
    bool seenclass(class_id group) const;
    static bool isclass(int id, class_id group);

    // ---- text out. KIND: 0 "name=value", 1 with two leading dashes, as on a command line, 2 with one, as
    // process_option takes it. GROUP all means every group. Options come in the order of the history.

    std::string export_option(int id, int n, int kind = 1) const;
    std::vector<std::pair<int, std::string>> export_option_pairs(int kind,
                                                                 class_id group = class_id::all) const;
    std::vector<std::string> export_option_list(int kind) const;
    std::vector<std::string> export_option_class(int kind, class_id group) const;

    void print(FILE *stream = stdout) const; // one line, as on a command line
    void dump(int level,
              FILE *stream = stdout) const; // a line for each option set; level above 0: counters too
    void dump_history(FILE *stream = stdout) const;
    void debug_level(int level) { debug_ = level > 0; }

    // ---- several files (options/optmerge.cpp). This tool has one input file, so all policies are unset.

    using merge_policy = void (option_obj::*)(int id, option_obj &other);
    using merge_override = bool (option_obj::*)(int id, option_obj &other); // true: the id is settled
    using merge_compare = bool (*)(const option_obj &a, const option_obj &b, int id);

    void merge_init(option_obj &other);
    void merge_options(option_obj &other);
    void merge_policy_none(int id, option_obj &other);
    void merge_policy_or(int id, option_obj &other);
    void merge_policy_and(int id, option_obj &other);
    void merge_policy_main(int id, option_obj &other);
    void merge_policy_exact(int id, option_obj &other);
    void merge_policy_exact_notset(int id, option_obj &other);
    void merge_policy_custom(int id, option_obj &other); // compares with merge_comparisons[id]
    void merge_policy_max(int id, option_obj &other);
    void merge_policy_min(int id, option_obj &other);

    // ---- the rest

    // NAME of the file that the options belong to; "<internal>" unless set.
    void set_name(std::string name) { name_ = std::move(name); }
    const std::string &name() const { return name_; }

    // Notes in the history that the options of FILE follow. A TOOL other than this one is reported, and false.
    bool addfileopt(const char *tool, const char *file);

    // Exits with status 1 when an error was counted.
    void post_process_option_depends() const;
    void report_diagnostic(DIAGNOSTIC &message) const { message.report(); }
    void report_diagnostic(DIAGNOSTIC &&message) const { message.report(); }

    static void display_option_help(FILE *stream);
    static void dump_class(class_id group, FILE *stream);
    static void dump_basic_class(FILE *stream) { dump_class(class_id::basic, stream); }
    static void print_banner(FILE *stream);

    // Set once by main: the name for messages, and where an option finds an argument that stands apart.
    static void set_executable_name(const char *name);
    static const char *executable_name();
    static void set_next_arg(const char *(*next)());

    // [a][b]: what happens when a is set while b is set. 0 nothing, 1 b is cleared quietly, 2 with a warning, 3 an
    // error that ends the run. All 0 in this tool; likewise for merging, where 3 is an error that is counted.
    static unsigned char conflicts[OPTION_COUNT][OPTION_COUNT];
    static unsigned char merge_conflicts[OPTION_COUNT][OPTION_COUNT];
    static merge_policy merge_policies[OPTION_COUNT];
    static merge_override mutex_merge_override_functions[OPTION_COUNT];
    static merge_compare merge_comparisons[OPTION_COUNT];
    static const option_obj *main_object; // noted by merge_policy_main

    // ---- used by the parser and by its tests

    // Finds the argument of an option in REST, the text behind the name. True with the value in OUT; false when an
    // optional argument is absent. REST advances behind what was used. PARAMETER is its name for messages.
    bool parse_arg(int id, const char **rest, const char *parameter, int parse_type, option_arg *out);
    bool parse_oneof(int id, const char **rest, const char *parameter, int parse_type, option_arg *out);

  private:
    static bool known(int id) { return id >= 0 && id < OPTION_COUNT; }
    void do_conflicts(int id);
    void do_merge_conflicts(int id, option_obj &other);
    void erase_history(int id);
    std::string history_text(int id, const option_arg &arg, int kind) const;

    const char *process_letter(const char *text);
    const char *process_dash(const char *text);
    const char *process_hash_mark(const char *text);
    const char *take_option(int id, unsigned char form, const char *rest);
    const char *required_text(int id, const char **rest, const char *parameter);
    long check_numerical_arg(int id, const char *text, bool is_unsigned, long low, long high) const;
    [[noreturn]] void fail(DIAGNOSTIC &&message) const;

    option_state state_[OPTION_COUNT];
    std::vector<option_history_entry> history_;
    const char *parsing_ = nullptr; // the text in work; where it stopped, on failure
    std::string name_ = "<internal>";
    bool debug_;
    bool merging_ = false;
};

// Numbers as options write them: "0x10", "10h" and "10H" are hexadecimal, "020", "20q" and "20Q" octal, everything
// else decimal. END, if given, is set to what was not read; a suffix that was understood counts as read. Values
// beyond the range of long saturate.
long strtol_by_radix(const char *text, const char **end);
unsigned long strtoul_by_radix(const char *text, const char **end);

// The radix of TEXT by its prefix or suffix. A suffix is removed from TEXT.
int get_radix(std::string &text);

#endif
