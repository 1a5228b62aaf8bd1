#include "options/optobj.h"

#include "options/optmsg.h"
#include "support/filename.h"

#include <cstdlib>
#include <cstring>

unsigned char option_obj::conflicts[OPTION_COUNT][OPTION_COUNT];

static std::string the_executable_name = "qlopt";

void option_obj::set_executable_name(const char *name) {
    the_executable_name = name && *name ? name : "qlopt";
}
const char *option_obj::executable_name() { return the_executable_name.c_str(); }

// ---- setting

void option_obj::do_conflicts(int id) {
    for (int other = 0; other < OPTION_COUNT; ++other) {
        if (other == id || !state_[other].set) continue;
        std::string a = format_of_option(id), b = format_of_option(other);
        switch (conflicts[id][other]) {
        case 1:
            if (debug_)
                report_diagnostic(
                    DIAG::optgen_conflict_quiet_option(__FILE__, __LINE__, a.c_str(), b.c_str()));
            clearopt(other);
            break;
        case 2:
            report_diagnostic(
                DIAG::optgen_conflict_override_option(__FILE__, __LINE__, a.c_str(), b.c_str()));
            clearopt(other);
            break;
        case 3: fail(DIAG::optgen_conflict_option(__FILE__, __LINE__, a.c_str(), b.c_str()));
        default: break;
        }
    }
}

void option_obj::setopt_internal(int id) {
    ++state_[id].set;
    ++state_[id].seen;
    if (!merging_) do_conflicts(id);
}

void option_obj::setopt(int id) {
    if (!known(id)) return;
    setopt_internal(id);
    add_to_history(id);
}

void option_obj::setopt(int id, long value) {
    if (!known(id)) return;
    setopt_internal(id);
    setarg(id, value);
    add_to_history(id);
}

void option_obj::setopt(int id, const char *value) {
    if (!known(id)) return;
    setopt_internal(id);
    setarg(id, value);
    add_to_history(id);
}

void option_obj::setarg(int id, long value) {
    if (!known(id)) return;
    bool was_set = state_[id].set > 0;
    option_arg arg;
    switch (option_definitions[id].kind) {
    case PARM_NONE: break;
    case PARM_STRING:
    case PARM_STRING_LIST: arg.text = std::to_string(value); break;
    case PARM_NUMBER:
    case PARM_HEXNUM:
    case PARM_ONEOF:
    case PARM_NUMBER_LIST:
    case PARM_ONEOF_LIST: arg.number = value; break;
    default: fail(DIAG::optgen_unhandled_clause_in_setarg(__FILE__, __LINE__, option_definitions[id].kind));
    }
    if (!was_set) setopt_internal(id);
    if (!option_takes_list(id)) state_[id].args.clear();
    if (option_definitions[id].kind != PARM_NONE) state_[id].args.push_back(std::move(arg));
    if (!was_set) add_to_history(id);
}

void option_obj::setarg(int id, const char *value) {
    if (!known(id) || !value) return;
    if (!option_is_text(id)) {
        long number = strtol_by_radix(value, nullptr);
        if (option_is_enumerated(id)) {
            const option_enumerator *row = option_definitions[id].enumerators;
            while (row->text && strcasecmp(row->text + 1, value) != 0) ++row;
            if (!row->text)
                fail(DIAG::optgen_bad_argument(__FILE__, __LINE__, format_of_option(id).c_str(),
                                               enumerator_list(id).c_str()));
            number = row->value;
        }
        setarg(id, number);
        return;
    }
    bool was_set = state_[id].set > 0;
    if (!was_set) setopt_internal(id);
    if (!option_takes_list(id)) state_[id].args.clear();
    state_[id].args.push_back({0, value});
    if (!was_set) add_to_history(id);
}

void option_obj::clearopt(int id) {
    if (!known(id)) return;
    if (option_definitions[id].persistent) {
        if (debug_)
            report_diagnostic(
                DIAG::optgen_clear_persistent_option(__FILE__, __LINE__, format_of_option(id).c_str()));
        return;
    }
    state_[id].set = 0;
    ++state_[id].seen;
    state_[id].args.clear();
    erase_history(id);
}

void option_obj::setopt(class_id group) {
    for (int id = 0; id < OPTION_COUNT; ++id)
        if (isclass(id, group)) setopt(id);
}

void option_obj::clearopt(class_id group) {
    for (int id = 0; id < OPTION_COUNT; ++id)
        if (isclass(id, group)) clearopt(id);
}

// ---- reading

int option_obj::getargcount(int id) const { return known(id) ? static_cast<int>(state_[id].args.size()) : 0; }

long option_obj::getnumarg(int id, int n) const {
    if (!known(id) || !state_[id].seen || n < 0 || n >= getargcount(id)) return 0;
    const option_arg &arg = state_[id].args[n];
    return option_is_text(id) ? strtol_by_radix(arg.text.c_str(), nullptr) : arg.number;
}

const char *option_obj::getstrarg(int id, int n) const {
    static char ring[16][32];
    static unsigned next;
    if (!known(id) || !state_[id].seen || n < 0 || n >= getargcount(id)) return nullptr;
    const option_arg &arg = state_[id].args[n];
    if (option_is_text(id)) return arg.text.c_str();
    if (option_is_enumerated(id))
        if (const char *text = enumerator_text(id, arg.number)) return text;
    char *buffer = ring[next++ % 16];
    snprintf(buffer, sizeof ring[0], option_definitions[id].kind == PARM_HEXNUM ? "0x%lx" : "%ld",
             arg.number);
    return buffer;
}

bool option_obj::args_match_list(int id, const char *const *list) const {
    for (int n = 0; n < getargcount(id); ++n) {
        const char *text = getstrarg(id, n);
        for (const char *const *wanted = list; text && *wanted; ++wanted)
            if (strcmp(text, *wanted) == 0) return true;
    }
    return false;
}

std::string option_obj::format_of_option(int id) const {
    const option_definition &row = option_definitions[id];
    unsigned char form = state_[id].form;
    if (form == LETTER_FORM && row.letter) return std::string("-") + row.letter;
    if (form >= 1 && form <= 4 && row.further_names[form - 1])
        return std::string("--") + row.further_names[form - 1];
    return row.name ? std::string("--") + row.name : "#" + std::to_string(id);
}

bool option_obj::isclass(int id, class_id group) {
    return known(id) && option_definitions[id].name &&
           (group == class_id::all || option_definitions[id].group == group);
}

bool option_obj::testclass(class_id group) const {
    for (int id = 0; id < OPTION_COUNT; ++id)
        if (isclass(id, group) && testopt(id)) return true;
    return false;
}

bool option_obj::seenclass(class_id group) const {
    for (int id = 0; id < OPTION_COUNT; ++id)
        if (isclass(id, group) && seenopt(id)) return true;
    return false;
}

// ---- history

// A single-valued option stands once, at the place of its last use; every use of a list option stands for itself.
void option_obj::add_to_history(int id) {
    if (!option_takes_list(id)) erase_history(id);
    option_history_entry entry{id, 0, ""};
    if (const std::vector<option_arg> &args = state_[id].args; !args.empty()) {
        entry.number = args.back().number;
        entry.text = args.back().text;
    }
    history_.push_back(std::move(entry));
}

void option_obj::erase_history(int id) {
    std::erase_if(history_, [id](const option_history_entry &entry) { return entry.id == id; });
}

bool option_obj::addfileopt(const char *tool, const char *file) {
    if (fn_base_name(tool ? tool : "") != fn_base_name(the_executable_name)) {
        report_diagnostic(DIAG::optgen_missing_fileopt(__FILE__, __LINE__, tool ? tool : ""));
        return false;
    }
    history_.push_back({-1, 0, file ? file : ""});
    return true;
}

// ---- text out

static const char *const leading_dashes[] = {"", "--", "-"};

std::string option_obj::history_text(int id, const option_arg &arg, int kind) const {
    const option_definition &row = option_definitions[id];
    std::string text = std::string(leading_dashes[kind >= 0 && kind <= 2 ? kind : 1]) + row.name;
    std::string value;
    if (option_is_text(id)) {
        value = arg.text;
    } else if (const char *enumerator =
                   option_is_enumerated(id) ? enumerator_text(id, arg.number) : nullptr) {
        value = enumerator;
    } else {
        char buffer[32];
        snprintf(buffer, sizeof buffer, row.kind == PARM_HEXNUM ? "0x%lx" : "%ld", arg.number);
        value = buffer;
    }
    // "debug:" and its kin read best, and parse, without the sign, unless the value begins with one.
    bool joined = text.back() == ':' && value[0] != '=';
    return text + (joined ? "" : "=") + value;
}

std::string option_obj::export_option(int id, int n, int kind) const {
    if (!known(id) || !option_definitions[id].name) return "";
    if (n < 0 || n >= getargcount(id))
        return std::string(leading_dashes[kind >= 0 && kind <= 2 ? kind : 1]) + option_definitions[id].name;
    return history_text(id, state_[id].args[n], kind);
}

std::vector<std::pair<int, std::string>> option_obj::export_option_pairs(int kind, class_id group) const {
    std::vector<std::pair<int, std::string>> pairs;
    for (const option_history_entry &entry : history_) {
        if (entry.id < 0 || !isclass(entry.id, group)) continue;
        std::string text = state_[entry.id].args.empty()
                               ? export_option(entry.id, -1, kind)
                               : history_text(entry.id, {entry.number, entry.text}, kind);
        pairs.emplace_back(entry.id, std::move(text));
    }
    return pairs;
}

std::vector<std::string> option_obj::export_option_class(int kind, class_id group) const {
    std::vector<std::string> list;
    for (auto &[id, text] : export_option_pairs(kind, group)) list.push_back(std::move(text));
    return list;
}

std::vector<std::string> option_obj::export_option_list(int kind) const {
    return export_option_class(kind, class_id::all);
}

void option_obj::print(FILE *stream) const {
    const char *separator = "";
    for (const std::string &text : export_option_list(1)) {
        fprintf(stream, "%s%s", separator, text.c_str());
        separator = " ";
    }
    fputc('\n', stream);
}

void option_obj::dump(int level, FILE *stream) const {
    static const char *const kinds[] = {
        "NO ARGS",         "STRING ARG:",      "NUMBER ARG:",      "HEXNUM ARG:",
        "ENUMERATED ARG:", "STRING LIST ARG:", "NUMBER LIST ARG:", "ONEOF LIST ARG:"};
    for (int id = 0; id < OPTION_COUNT; ++id) {
        if (!state_[id].set) continue;
        const option_definition &row = option_definitions[id];
        fprintf(stream, "%2d  %-28s %s", id, row.name ? row.name : "", kinds[row.kind]);
        for (int n = 0; n < getargcount(id); ++n) fprintf(stream, " \"%s\"", getstrarg(id, n));
        if (level > 0)
            fprintf(stream, "  [set %d, seen %d, parsed %d, form %d]", state_[id].set, state_[id].seen,
                    state_[id].parsed, state_[id].form);
        fputc('\n', stream);
    }
}

void option_obj::dump_history(FILE *stream) const {
    for (const option_history_entry &entry : history_) {
        if (entry.id < 0) fprintf(stream, "file \"%s\"\n", entry.text.c_str());
        else if (state_[entry.id].args.empty()) fprintf(stream, "%s\n", export_option(entry.id, -1).c_str());
        else fprintf(stream, "%s\n", history_text(entry.id, {entry.number, entry.text}, 1).c_str());
    }
}

// ---- help

void option_obj::print_banner(FILE *stream) { fprintf(stream, "QL ARM C/C++ Optimizer\n"); }

void option_obj::dump_class(class_id group, FILE *stream) {
    constexpr int HELP_COLUMN = 34;
    fprintf(stream, "\n%s Options:\n", class_title(group));
    for (int id = 0; id < OPTION_COUNT; ++id) {
        if (!isclass(id, group)) continue;
        const option_definition &row = option_definitions[id];
        std::string left = "  " + get_opt_txt(id);
        if (row.letter) left += std::string(", -") + row.letter;
        if (left.size() >= HELP_COLUMN) {
            fprintf(stream, "%s\n", left.c_str());
            left.clear();
        }
        fprintf(stream, "%-*s %s\n", HELP_COLUMN, left.c_str(), row.help);
        if (row.more_help) fprintf(stream, "%-*s %s\n", HELP_COLUMN, "", row.more_help);
    }
}

void option_obj::display_option_help(FILE *stream) {
    fprintf(stream, "Usage: %s [-options] filename\n", executable_name());
    fprintf(stream, "This tool is designed to be invoked by the compiler.\n");
    dump_basic_class(stream);
    for (int group = static_cast<int>(class_id::basic) + 1; group < OPTION_CLASS_COUNT; ++group)
        dump_class(static_cast<class_id>(group), stream);
}

void option_obj::post_process_option_depends() const {
    if (DIAGNOSTIC::error_count_m > 0) exit(1);
}

void option_obj::fail(DIAGNOSTIC &&message) const {
    message.report();
    exit(1);
}
