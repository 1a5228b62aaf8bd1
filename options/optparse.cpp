// Option texts: which option a text names, and what its argument is.
//
// Long names are found in a tree with a branch for each character at which two names part, made from the option
// table on first use. Matching ignores case, but a name written in another case is reported. Names are never
// abbreviated. An argument may follow its name without a sign, so the longest name that the text begins with
// wins, and what stands behind it is the argument.

#include "options/optmsg.h"
#include "options/optobj.h"

#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace {

const char *(*the_next_arg)();

char lower(char c) { return static_cast<char>(tolower(static_cast<unsigned char>(c))); }

struct name_node {
    char character = 0; // lower case
    int first_child = -1;
    int next_sibling = -1;
    int id = -1; // of the name that ends here
    unsigned char form = 0;
};

class name_tree {
  public:
    name_tree() : nodes_(1) {
        for (int id = 0; id < OPTION_COUNT; ++id) {
            const option_definition &row = option_definitions[id];
            if (!row.name) continue;
            add(row.name, id, 0);
            for (unsigned char form = 1; form <= 4 && row.further_names[form - 1]; ++form)
                add(row.further_names[form - 1], id, form);
        }
    }

    // The longest name that TEXT begins with; null when there is none. REACHED is set behind the last character
    // that led anywhere.
    const name_node *longest_match(const char *text, size_t *length, const char **reached) const {
        const name_node *found = nullptr;
        int at = 0;
        size_t used = 0;
        while ((at = child(at, lower(text[used]))) >= 0) {
            ++used;
            if (nodes_[at].id >= 0) {
                found = &nodes_[at];
                *length = used;
            }
        }
        *reached = text + used;
        return found;
    }

  private:
    int child(int at, char character) const {
        if (!character) return -1;
        for (int i = nodes_[at].first_child; i >= 0; i = nodes_[i].next_sibling)
            if (nodes_[i].character == character) return i;
        return -1;
    }

    void add(const char *name, int id, unsigned char form) {
        int at = 0;
        for (; *name; ++name) {
            int next = child(at, lower(*name));
            if (next < 0) {
                next = static_cast<int>(nodes_.size());
                name_node node;
                node.character = lower(*name);
                node.next_sibling = nodes_[at].first_child;
                nodes_.push_back(node);
                nodes_[at].first_child = next;
            }
            at = next;
        }
        nodes_[at].id = id;
        nodes_[at].form = form;
    }

    std::vector<name_node> nodes_;
};

const char *name_of_form(int id, unsigned char form) {
    const option_definition &row = option_definitions[id];
    return form == 0 ? row.name : row.further_names[form - 1];
}

// A name written in another case works, for now.
void deprecated_case(const char *text, const char *name, const option_obj &object) {
    if (strncmp(text, name, strlen(name)) == 0) return;
    std::string written = "--" + std::string(text, strlen(name)), right = std::string("--") + name;
    object.report_diagnostic(
        DIAG::optgen_case_insensitivity_deprecated(__FILE__, __LINE__, written.c_str(), right.c_str()));
}

bool argument_is_optional(int parse_type) {
    return parse_type >= PARSE_OPTIONAL_NUMBER && parse_type <= PARSE_OPTIONAL_LIMIT;
}

bool argument_is_enumerated(int parse_type) {
    return parse_type == PARSE_ONEOF || parse_type == PARSE_ONEOF_LIST ||
           parse_type == PARSE_OPTIONAL_ONEOF || parse_type == PARSE_OPTIONAL_ONEOF_LIST;
}

bool is_octal(char c) { return c >= '0' && c <= '7'; }

// Past a sign, which strtol accepts and a prefix may follow.
size_t skip_sign(const std::string &text) {
    return !text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0;
}

} // namespace

void option_obj::set_next_arg(const char *(*next)()) { the_next_arg = next; }

// ---- numbers

int get_radix(std::string &text) {
    size_t start = skip_sign(text);
    int radix = 10;
    if (text.size() > start + 1 && text[start] == '0') {
        if (lower(text[start + 1]) == 'x') radix = 16;
        else if (is_octal(text[start + 1])) radix = 8;
    }
    size_t end = start;
    bool octal = true;
    while (end < text.size() && isxdigit(static_cast<unsigned char>(text[end])))
        octal &= is_octal(text[end++]);
    if (end > start && end + 1 == text.size()) {
        char suffix = lower(text[end]);
        if (suffix == 'h') radix = 16;
        else if (suffix == 'q' && octal) radix = 8;
        else return radix;
        text.pop_back();
    }
    return radix;
}

template <class NUMBER>
static NUMBER number_by_radix(const char *text, const char **end,
                              NUMBER (*convert)(const char *, char **, int)) {
    std::string copy(text);
    int radix = get_radix(copy);
    bool suffix = copy.size() < strlen(text);
    char *stop;
    NUMBER value = convert(copy.c_str(), &stop, radix);
    size_t used = static_cast<size_t>(stop - copy.c_str());
    if (suffix && used == copy.size()) ++used;
    if (end) *end = text + used;
    return value;
}

long strtol_by_radix(const char *text, const char **end) { return number_by_radix<long>(text, end, strtol); }
unsigned long strtoul_by_radix(const char *text, const char **end) {
    return number_by_radix<unsigned long>(text, end, strtoul);
}

// ---- arguments

// The text of a required argument. All of REST is used.
const char *option_obj::required_text(int id, const char **rest, const char *parameter) {
    const char *text = *rest;
    if (*text == '=') ++text;
    else if (!*text) text = the_next_arg ? the_next_arg() : nullptr;
    if (!text || !*text)
        fail(DIAG::optgen_missing_parameter(__FILE__, __LINE__, format_of_option(id).c_str(),
                                            parameter ? parameter : ""));
    *rest = "";
    return text;
}

long option_obj::check_numerical_arg(int id, const char *text, bool is_unsigned, long low, long high) const {
    const char *end;
    bool negative = strchr(text, '-') != nullptr;
    bool in_range;
    long value;
    if (is_unsigned) {
        unsigned long number = strtoul_by_radix(text, &end);
        in_range = !negative && number >= static_cast<unsigned long>(low) &&
                   number <= static_cast<unsigned long>(high);
        value = static_cast<long>(number);
    } else {
        value = strtol_by_radix(text, &end);
        in_range = value >= low && value <= high;
    }
    if (in_range && !*end && end != text) return value;

    std::string option = format_of_option(id);
    if (low != 0 || high != (is_unsigned ? UNSIGNED_MAX : NUMBER_MAX))
        fail(DIAG::optgen_arg_out_of_range2(__FILE__, __LINE__, option.c_str(), text,
                                            static_cast<unsigned>(low), static_cast<unsigned>(high)));
    if (negative) fail(DIAG::optgen_arg_out_of_range_non_neg(__FILE__, __LINE__, option.c_str(), text));
    fail(DIAG::optgen_arg_out_of_range(__FILE__, __LINE__, option.c_str(), text));
}

bool option_obj::parse_arg(int id, const char **rest, const char *parameter, int parse_type,
                           option_arg *out) {
    if (parse_type >= PARSE_NOTHING) return false;
    if (argument_is_enumerated(parse_type)) fail(DIAG::optgen_option_handler_corruption(__FILE__, __LINE__));
    if (argument_is_optional(parse_type) && !**rest) return false;

    const char *text = required_text(id, rest, parameter);
    const option_definition &row = option_definitions[id];
    switch (parse_type) {
    case PARSE_TEXT:
    case PARSE_TEXT_LIST:
    case PARSE_OPTIONAL_TEXT:
    case PARSE_OPTIONAL_TEXT_LIST: out->text = text; break;
    case PARSE_UNSIGNED:
    case PARSE_OPTIONAL_UNSIGNED: out->number = check_numerical_arg(id, text, true, row.low, row.high); break;
    default: out->number = check_numerical_arg(id, text, false, row.low, row.high); break;
    }
    return true;
}

bool option_obj::parse_oneof(int id, const char **rest, const char *parameter, int parse_type,
                             option_arg *out) {
    if (!argument_is_enumerated(parse_type) || !option_definitions[id].enumerators)
        fail(DIAG::optgen_option_handler_corruption(__FILE__, __LINE__));
    if (argument_is_optional(parse_type) && **rest != '=') return false;

    const char *text = required_text(id, rest, parameter);
    for (const option_enumerator *row = option_definitions[id].enumerators; row->text; ++row) {
        if (strcasecmp(row->text + 1, text) != 0) continue;
        if (*row->text == '*')
            fprintf(stderr,
                    "WARNING: argument '%s' to option '%s' is deprecated and will be removed in a future "
                    "release\n",
                    row->text + 1, format_of_option(id).c_str());
        out->number = row->value;
        return true;
    }
    fail(DIAG::optgen_bad_argument(__FILE__, __LINE__, format_of_option(id).c_str(),
                                   enumerator_list(id).c_str()));
}

// ---- names. A handler gives the text that is left, or null when it met something that it does not know; then
// parsing_ stands at that place.

const char *option_obj::take_option(int id, unsigned char form, const char *rest) {
    const option_definition &row = option_definitions[id];
    state_[id].form = form;
    ++state_[id].parsed;

    if (id == OO_HELP) {
        display_option_help(stdout);
        exit(0);
    }
    option_arg arg;
    bool found = option_is_enumerated(id) ? parse_oneof(id, &rest, row.parameter, row.parse_type, &arg)
                                          : parse_arg(id, &rest, row.parameter, row.parse_type, &arg);
    if (!found && argument_is_optional(row.parse_type)) {
        arg.number = row.fallback;
        found = true;
    }
    if (!found) setopt(id);
    else if (option_is_text(id)) setopt(id, arg.text.c_str());
    else setopt(id, arg.number);
    return rest;
}

const char *option_obj::process_dash(const char *text) {
    static const name_tree names;
    size_t length = 0;
    const name_node *match = names.longest_match(text, &length, &parsing_);
    if (!match) return nullptr;
    const char *rest = text + length;
    // Only an argument may follow a name; a switch ends the text, and an optional enumerator needs its sign.
    int parse_type = option_definitions[match->id].parse_type;
    bool needs_sign = parse_type == PARSE_OPTIONAL_ONEOF || parse_type == PARSE_OPTIONAL_ONEOF_LIST;
    if (*rest && (parse_type >= PARSE_NOTHING || (needs_sign && *rest != '='))) return nullptr;
    deprecated_case(text, name_of_form(match->id, match->form), *this);
    return take_option(match->id, match->form, rest);
}

const char *option_obj::process_letter(const char *text) {
    parsing_ = text;
    int found = -1;
    for (int id = 0; id < OPTION_COUNT; ++id) {
        const char *letter = option_definitions[id].letter;
        if (!letter || letter[0] != lower(text[0])) continue;
        parsing_ = text + 1;
        if (!letter[1] || letter[1] == text[1]) found = id;
    }
    if (found < 0) return nullptr;
    return take_option(found, LETTER_FORM, text + strlen(option_definitions[found].letter));
}

// "#v" makes everything volatile and turns debug output on; each other "#" raises the debug level by one.
const char *option_obj::process_hash_mark(const char *text) {
    if (lower(text[1]) == 'v') {
        setopt(OO_VOLIT_VARS);
        if (getnumarg(OO_PRINT_DEBUG) < 1) setopt(OO_PRINT_DEBUG, 1);
        return text + 2;
    }
    setopt(OO_PRINT_DEBUG,
           getnumarg(OO_PRINT_DEBUG) < NUMBER_MAX ? getnumarg(OO_PRINT_DEBUG) + 1 : NUMBER_MAX);
    setopt(OO_KEEP_OPT_IFILE);
    return text + 1;
}

bool option_obj::process_option(const char *text, const char **rest) {
    while (text && *text) {
        parsing_ = text;
        const char *left = nullptr;
        if (*text == '#') {
            left = process_hash_mark(text);
        } else if (*text == '-') {
            left = process_dash(text + 1);
        } else if (*text == '?') {
            display_option_help(stdout);
            exit(0);
        } else {
            left = process_letter(text);
        }
        if (!left) {
            if (rest) *rest = parsing_;
            return false;
        }
        text = left;
    }
    return true;
}
