// Merging the option sets of several files: what a policy does with one id when another set joins this one.

#include "options/optmsg.h"
#include "options/optobj.h"

unsigned char option_obj::merge_conflicts[OPTION_COUNT][OPTION_COUNT];
option_obj::merge_policy option_obj::merge_policies[OPTION_COUNT];
option_obj::merge_override option_obj::mutex_merge_override_functions[OPTION_COUNT];
option_obj::merge_compare option_obj::merge_comparisons[OPTION_COUNT];
const option_obj *option_obj::main_object;

namespace {

// Restores a flag on every path.
struct flag_scope {
    bool &flag;
    bool saved;
    explicit flag_scope(bool &flag) : flag(flag), saved(flag) { flag = true; }
    ~flag_scope() { flag = saved; }
};

} // namespace

void option_obj::merge_init(option_obj &other) {
    flag_scope merging(merging_);
    for (int id = 0; id < OPTION_COUNT; ++id)
        if (merge_policies[id] && other.testopt(id)) merge_policy_or(id, other);
}

void option_obj::merge_options(option_obj &other) {
    flag_scope merging(merging_);
    for (int id = 0; id < OPTION_COUNT; ++id) {
        do_merge_conflicts(id, other);
        if (merge_override settle = mutex_merge_override_functions[id]; settle && (this->*settle)(id, other))
            continue;
        if (merge_policy policy = merge_policies[id]) (this->*policy)(id, other);
    }
}

void option_obj::do_merge_conflicts(int id, option_obj &other) {
    if (!other.testopt(id)) return;
    for (int here = 0; here < OPTION_COUNT; ++here) {
        if (here == id || !state_[here].set || !merge_conflicts[id][here]) continue;
        std::string a = other.format_of_option(id), b = format_of_option(here);
        if (merge_conflicts[id][here] == 3) {
            report_diagnostic(DIAG::optgen_merge_conflict_option(__FILE__, __LINE__, a.c_str(),
                                                                 other.name_.c_str(), b.c_str()));
            continue;
        }
        if (merge_conflicts[id][here] == 2)
            report_diagnostic(
                DIAG::optgen_conflict_override_option(__FILE__, __LINE__, a.c_str(), b.c_str()));
        else if (debug_)
            report_diagnostic(DIAG::optgen_conflict_quiet_option(__FILE__, __LINE__, a.c_str(), b.c_str()));
        clearopt(here);
    }
}

void option_obj::merge_policy_none(int, option_obj &) {}

void option_obj::merge_policy_or(int id, option_obj &other) {
    if (!other.testopt(id)) return;
    int count = other.getargcount(id);
    for (int n = 0; n < (count ? count : 1); ++n) process_option(other.export_option(id, n, 2).c_str());
}

void option_obj::merge_policy_and(int id, option_obj &other) {
    if (testopt(id) && !other.testopt(id)) clearopt(id);
}

void option_obj::merge_policy_main(int, option_obj &) { main_object = this; }

void option_obj::merge_policy_exact(int id, option_obj &other) {
    bool here = testopt(id), there = other.testopt(id);
    if (here && !there)
        report_diagnostic(DIAG::optgen_exact_set_in_previous_files(
            __FILE__, __LINE__, format_of_option(id).c_str(), other.name_.c_str()));
    else if (there && !here)
        report_diagnostic(DIAG::optgen_exact_not_set_in_previous_files(
            __FILE__, __LINE__, other.format_of_option(id).c_str(), other.name_.c_str()));
    else merge_policy_exact_notset(id, other);
}

void option_obj::merge_policy_exact_notset(int id, option_obj &other) {
    if (!testopt(id) || !other.testopt(id) || state_[id].args == other.state_[id].args) return;
    report_diagnostic(
        DIAG::optgen_exact_args_incompatible(__FILE__, __LINE__, other.export_option(id, 0).c_str(),
                                             other.name_.c_str(), export_option(id, 0).c_str()));
}

void option_obj::merge_policy_custom(int id, option_obj &other) {
    if (!testopt(id) || !other.testopt(id)) return;
    merge_compare compare = merge_comparisons[id];
    if (!compare || compare(*this, other, id)) return;
    report_diagnostic(
        DIAG::optgen_exact_args_incompatible(__FILE__, __LINE__, other.export_option(id, 0).c_str(),
                                             other.name_.c_str(), export_option(id, 0).c_str()));
}

// Enumerators are as large as their place in their table is far.
static long merge_size(const option_obj &object, int id) {
    long value = object.getnumarg(id);
    return option_is_enumerated(id) ? enumerator_rank(id, value) : value;
}

void option_obj::merge_policy_max(int id, option_obj &other) {
    if (other.testopt(id) && (!testopt(id) || merge_size(other, id) > merge_size(*this, id)))
        merge_policy_or(id, other);
}

void option_obj::merge_policy_min(int id, option_obj &other) {
    if (other.testopt(id) && (!testopt(id) || merge_size(other, id) < merge_size(*this, id)))
        merge_policy_or(id, other);
}
