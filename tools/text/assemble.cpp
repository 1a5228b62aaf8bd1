// Tokens, the constructs of the top level, and the order of the work.
#include "tools/text/assemble.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

// --- tokens ---

bool ASSEMBLER::take_punct(char c) {
    if (!at_punct(c)) return false;
    pos++;
    return true;
}

bool ASSEMBLER::take_word(std::string_view w) {
    if (!at_word(w)) return false;
    pos++;
    return true;
}

std::string ASSEMBLER::describe(const TOKEN &t) const {
    constexpr size_t LONGEST = 40; // bytes of a token in a message
    switch (t.kind) {
    case T_END: return "the end of the file";
    case T_NEWLINE: return "the end of the line";
    case T_POSITION: return "a position";
    case T_STRING: return "a string";
    default: {
        std::string s(f.spelling(t));
        if (s.size() > LONGEST) s = s.substr(0, LONGEST) + "...";
        return "'" + s + "'";
    }
    }
}

void ASSEMBLER::fail_expected(const char *what) {
    f.fail_at(token().at, "%s should stand here, not %s", what, describe(token()).c_str());
}

void ASSEMBLER::expect_punct(char c, const char *where) {
    if (take_punct(c)) return;
    f.fail_at(token().at, "'%c' should stand %s, not %s", c, where, describe(token()).c_str());
}

int64_t ASSEMBLER::signed_number(const char *what, int64_t least, int64_t largest) {
    const TOKEN &t = token();
    std::string text(f.spelling(t));
    if (t.kind != T_NUMBER || text.back() == 'L') fail_expected(what);
    errno = 0;
    char *end = nullptr;
    bool negative = text[0] == '-', hex = text.size() > 2 && text[negative + 1] == 'x';
    // Not octal, whatever zeros are in front.
    unsigned long long v = strtoull(text.c_str() + negative, &end, hex ? 16 : 10);
    bool wide = errno || *end || v > uint64_t(INT64_MAX);
    int64_t value = negative ? -int64_t(v) : int64_t(v);
    if (wide || value < least || value > largest)
        f.fail_at(t.at, "%s is %s, which lies outside %lld to %lld", what, text.c_str(),
                  static_cast<long long>(least), static_cast<long long>(largest));
    pos++;
    return value;
}

uint64_t ASSEMBLER::number(const char *what, uint64_t largest) {
    return uint64_t(signed_number(what, 0, int64_t(largest)));
}

std::string ASSEMBLER::string(const char *what) {
    const TOKEN &t = token();
    if (t.kind != T_STRING) fail_expected(what);
    std::string s = f.value(t);
    if (s.find('\0') != s.npos) f.fail_at(t.at, "a NUL byte in %s", what);
    pos++;
    return s;
}

std::string ASSEMBLER::name(const char *what) {
    if (token().kind == T_STRING) return string(what);
    if (token().kind != T_ID) fail_expected(what);
    return f.value(f.tokens[pos++]);
}

const PSN *ASSEMBLER::position() {
    if (token().kind != T_POSITION) return nullptr;
    return f.positions[f.tokens[pos++].length];
}

void ASSEMBLER::end_line() {
    if (token().kind != T_NEWLINE) fail_expected("the end of the line");
    pos++;
}

void ASSEMBLER::skip_newlines() {
    while (token().kind == T_NEWLINE) pos++;
}

bool ASSEMBLER::is_line_start(size_t index) const {
    return index == 0 || f.tokens[index - 1].kind == T_NEWLINE;
}

void ASSEMBLER::skip_line() {
    int depth = 0;
    for (; token().kind != T_END; pos++) {
        if (token().kind == T_PUNCT) {
            depth += at_punct('(') || at_punct('[');
            depth -= at_punct(')') || at_punct(']');
        }
        if (token().kind != T_NEWLINE) continue;
        // A parenthesis that was forgotten does not swallow the rest of the text: no tree goes on with a word in
        // the first column.
        bool new_construct = token(1).kind == T_ID && column(token(1)) == 1;
        if (depth > 0 && !new_construct) continue;
        pos++;
        return;
    }
}

void ASSEMBLER::skip_bad(uint32_t start) {
    unsigned limit = f.place(start).column;
    for (; token().kind != T_END; pos++) {
        bool new_line = is_line_start(pos) && token().kind != T_NEWLINE && token().at > start;
        if (new_line && column(token()) <= limit) return;
    }
}

// --- the top level ---

void ASSEMBLER::skip_block() {
    int depth = 0;
    size_t open = 0;
    for (; token().kind != T_END; pos++) {
        if (token().kind == T_NEWLINE && !depth) break;
        if (at_punct('{') && !depth++) open = pos;
        if (at_punct('}') && depth && !--depth) {
            pos++;
            return end_line();
        }
        // A brace that was forgotten does not swallow what follows.
        bool new_construct = depth && token().kind == T_ID && is_line_start(pos) && column(token()) == 1;
        if (new_construct || token(1).kind == T_END) {
            if (depth) f.fail_at(f.tokens[open].at, "this '{' is never closed");
        }
    }
    if (token().kind == T_NEWLINE) pos++;
}

void ASSEMBLER::option_set() {
    OPTION_SET set;
    uint32_t at = token().at;
    set.id = u32("the number of an option set");
    if (!option_ids.insert(set.id).second) f.error_at(at, "option set %u twice", set.id);
    expect_punct('(', "behind the number of an option set");
    skip_newlines();
    while (!at_punct(')')) {
        set.strings.push_back(string("an option"));
        skip_newlines();
        if (!take_punct(',')) break;
        skip_newlines();
    }
    expect_punct(')', "behind the options");
    end_line();
    m.options.push_back(set);
}

// A set's number is its place in the array of those who use it.
void ASSEMBLER::check_option_sets() {
    for (const OPTION_SET &set : m.options)
        if (set.id >= m.options.size())
            f.error_at(0, "option set %u where there are %zu", set.id, m.options.size());
}

void ASSEMBLER::find_function_end() {
    const TOKEN &start = token();
    std::string what = describe(token(1));
    for (pos++; token().kind != T_END; pos++) {
        if (token().kind != T_ID || !is_line_start(pos)) continue;
        if (at_word("end")) return skip_line();
        if (at_word("function")) break;
    }
    f.fail_at(start.at, "function %s has no end", what.c_str());
}

void ASSEMBLER::find_construct() {
    const TOKEN &t = token();
    if (t.kind != T_ID) fail_expected("a declaration or function");
    std::string_view word = f.spelling(t);
    size_t at = pos;
    static const char *const type_starts[] = {"type", "typedef", "struct", "union", "class", "enum"};
    if (std::find(std::begin(type_starts), std::end(type_starts), word) != std::end(type_starts))
        find_type_def();
    else if (word == "symbol" || row_of_word(storage_words, word)) {
        symbols.push_back({CONSTRUCT::SYMBOL, at});
        skip_line();
    } else if (word == "init") {
        skip_block();
        initialisers.push_back({CONSTRUCT::INIT, at});
    } else if (word == "function") {
        find_function_end();
        items.push_back({CONSTRUCT::FUNCTION, at});
    } else if (word == "producer") {
        pos++;
        if (has_producer) f.error_at(t.at, "a second producer");
        has_producer = true;
        m.producer = string("the producer's text");
        end_line();
    } else if (word == "options") {
        pos++;
        option_set();
    } else if (word == "file") {
        pos++;
        m.files.push_back(string("a file name"));
        end_line();
    } else if (const LINE_ROW *row = find_line(word); row && row->where & P_OUTSIDE) {
        items.push_back({CONSTRUCT::RECORD, at});
        skip_line();
    } else if (row) f.fail_at(t.at, "'%s' outside a function", row->word);
    else fail_expected("a declaration or function");
}

void ASSEMBLER::find_constructs() {
    for (skip_newlines(); token().kind != T_END; skip_newlines()) {
        uint32_t start = token().at;
        try {
            find_construct();
        } catch (const BAD_TEXT &) { skip_bad(start); }
    }
    check_option_sets();
}

void ASSEMBLER::assemble() {
    try {
        if_node_table_init();
        if (f.error_count()) return; // of the cutting: what follows would be guesses
        find_constructs();
        make_types();
        auto each = [this](const std::vector<CONSTRUCT> &list) {
            for (const CONSTRUCT &c : list) {
                pos = c.at;
                func = nullptr;
                place = P_OUTSIDE;
                try {
                    switch (c.kind) {
                    case CONSTRUCT::SYMBOL: global_symbol(); break;
                    case CONSTRUCT::INIT: initialiser(); break;
                    case CONSTRUCT::FUNCTION: function(); break;
                    case CONSTRUCT::RECORD: line(); break;
                    }
                } catch (const BAD_TEXT &) {}
            }
        };
        each(symbols);
        each(initialisers);
        each(items);
    } catch (const TOO_MANY_ERRORS &) {}
}
