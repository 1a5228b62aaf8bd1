#include "tools/text/lex.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>

namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_hex(char c) { return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }
bool is_octal(char c) { return c >= '0' && c <= '7'; }
bool is_name_start(char c) {
    return c == '_' || c == '$' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool is_name_char(char c) { return is_name_start(c) || is_digit(c) || c == '.'; }
bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

// Letters behind a backslash, and what they stand for.
constexpr char escape_letters[] = "ntrabfve\"'\\";
constexpr char escaped_bytes[] = "\n\t\r\a\b\f\v\x1b\"'\\";

int hex_value(char c) { return is_digit(c) ? c - '0' : (c | 32) - 'a' + 10; }

constexpr uint32_t LARGEST_TEXT = UINT32_MAX - 1; // offsets have 32 bits

struct LEXER {
    TEXT_FILE &f;
    MODEL &m;
    const char *p, *end;
    const char *last_file = nullptr;

    uint32_t offset(const char *q) const { return uint32_t(q - f.text.data()); }
    void put(TOKEN_KIND kind, const char *from, char punct = 0) {
        f.tokens.push_back({offset(from), uint32_t(p - from), kind, punct});
    }
    char peek(int n = 0) const { return end - p > n ? p[n] : 0; }

    void string() {
        const char *from = p++;
        while (p < end && *p != '"' && *p != '\n') p += *p == '\\' && p + 1 < end && p[1] != '\n' ? 2 : 1;
        if (p >= end || *p != '"') return f.error_at(offset(from), "a string without end");
        p++;
        put(T_STRING, from);
        check_escapes(from + 1, p - 1);
    }
    void check_escapes(const char *q, const char *to) {
        for (; q < to; q++) {
            if (*q != '\\') continue;
            const char *at = q++;
            bool is_known = (*q == 'x' && q + 1 < to && is_hex(q[1])) || is_octal(*q) ||
                            memchr(escape_letters, *q, sizeof escape_letters - 1);
            if (!is_known) f.error_at(offset(at), "unknown escape '\\%c'", *q);
        }
    }

    void number() {
        const char *from = p;
        p += *p == '-';
        bool is_float = false, is_hex_text = p[0] == '0' && (peek(1) == 'x' || peek(1) == 'X');
        if (is_hex_text) p += 2;
        while (is_hex_text ? is_hex(peek()) : is_digit(peek())) p++;
        if (peek() == '.') {
            is_float = true;
            for (p++; is_hex_text ? is_hex(peek()) : is_digit(peek());) p++;
        }
        char exponent = is_hex_text ? 'p' : 'e';
        if ((peek() | 32) == exponent) {
            is_float = true;
            p++;
            p += peek() == '+' || peek() == '-';
            while (is_digit(peek())) p++;
        }
        if (!is_float && peek() == 'L') p++;
        if (is_name_char(peek())) {
            while (is_name_char(peek())) p++;
            f.error_at(offset(from), "'%.*s' is no number", int(std::min<long>(p - from, 60)), from);
        }
        put(is_float ? T_FLOAT : T_NUMBER, from);
    }

    // @name, %name and their quoted forms
    void symbol(TOKEN_KIND kind) {
        const char *from = p++;
        if (peek() == '"') {
            string();
            TOKEN &t = f.tokens.back();
            if (t.kind == T_STRING && t.at == offset(from) + 1) t = {offset(from), t.length + 1, kind, 0};
            return;
        }
        if (!is_name_char(peek())) return f.error_at(offset(from), "a name is missing behind '%c'", *from);
        while (is_name_char(peek())) p++;
        put(kind, from);
    }

    bool take_number(std::string_view &text, unsigned &to) {
        size_t colon = text.rfind(':');
        std::string_view digits = colon == text.npos ? text : text.substr(colon + 1);
        uint64_t v = 0;
        for (char c : digits) {
            if (!is_digit(c) || v > UINT32_MAX) return false;
            v = v * 10 + unsigned(c - '0');
        }
        if (digits.empty() || v > UINT32_MAX) return false;
        to = unsigned(v);
        text = colon == text.npos ? std::string_view() : text.substr(0, colon);
        return colon != text.npos || text.empty();
    }

    void position() {
        const char *from = p++;
        while (is_blank(peek())) p++;
        std::string file;
        bool quoted = peek() == '"';
        if (quoted) {
            size_t before = f.tokens.size();
            string();
            if (f.tokens.size() == before) return;
            file = f.value(f.tokens.back());
            f.tokens.pop_back();
        }
        const char *rest = p;
        while (p < end && !is_blank(*p) && *p != '\n') p++;
        std::string_view text(rest, size_t(p - rest));
        unsigned line = 0, column = 0;
        bool good = take_number(text, column) && !text.empty() && take_number(text, line);
        if (quoted) good = good && text.empty() && *rest == ':';
        else file = text;
        if (!good) return f.error_at(offset(from), "a position is '; file:line:column'");
        if (file.find('\0') != file.npos) return f.error_at(offset(from), "a NUL in a file name");
        if (quoted || !file.empty()) last_file = m.file(file.c_str());
        if (!last_file) return f.error_at(offset(from), "the first position must name its file");
        f.tokens.push_back({offset(from), uint32_t(f.positions.size()), T_POSITION, 0});
        f.positions.push_back(m.psn(last_file, line, column));
    }

    void token() {
        const char *from = p;
        char c = *p;
        if (c == '\n') {
            p++;
            put(T_NEWLINE, from);
            f.line_starts.push_back(offset(p));
        } else if (is_blank(c)) p++;
        else if (c == '#') {
            while (p < end && *p != '\n') p++;
        } else if (is_digit(c) || (c == '-' && is_digit(peek(1)))) number();
        else if (c == '-' && (!strncmp(p + 1, "inf", 3) || !strncmp(p + 1, "nan", 3)) &&
                 !is_name_char(peek(4))) {
            p += 4;
            put(T_FLOAT, from);
        } else if (is_name_start(c)) {
            while (is_name_char(peek())) p++;
            put(T_ID, from);
        } else if (c == '@') symbol(T_GLOBAL);
        else if (c == '%') symbol(T_LOCAL);
        else if (c == '"') string();
        else if (c == ';') position();
        else if (!strncmp(p, "...", 3)) {
            p += 3;
            put(T_ELLIPSIS, from);
        } else if (c && strchr("()[]{}:,=", c)) {
            p++;
            put(T_PUNCT, from, c);
        } else {
            p++;
            if (c > ' ' && c < 0x7f) f.error_at(offset(from), "a stray '%c'", c);
            else f.error_at(offset(from), "a stray byte 0x%02x", unsigned(uint8_t(c)));
        }
    }
};

} // namespace

void TEXT_FILE::cut(MODEL &m) {
    line_starts.assign(1, 0);
    tokens.reserve(text.size() / 4);
    LEXER lexer{*this, m, text.data(), text.data() + text.size()};
    while (lexer.p < lexer.end) lexer.token();
    tokens.push_back({uint32_t(text.size()), 0, T_NEWLINE, 0});
    tokens.push_back({uint32_t(text.size()), 0, T_END, 0});
}

bool TEXT_FILE::load(const char *path, MODEL &m) {
    name = path;
    FILE *file = fopen(path, "rb");
    if (!file) {
        fprintf(stderr, "%s: cannot open: %s\n", path, strerror(errno));
        return false;
    }
    char chunk[65536];
    while (size_t n = fread(chunk, 1, sizeof chunk, file)) {
        text.append(chunk, n);
        if (text.size() > LARGEST_TEXT) {
            fprintf(stderr, "%s: larger than 4 GB\n", path);
            fclose(file);
            return false;
        }
    }
    bool failed = ferror(file);
    if (failed) fprintf(stderr, "%s: cannot read: %s\n", path, strerror(errno));
    fclose(file);
    if (!failed) cut(m);
    return !failed;
}

std::string TEXT_FILE::value(const TOKEN &t) const {
    std::string_view s = spelling(t);
    if (t.kind == T_GLOBAL || t.kind == T_LOCAL) s.remove_prefix(1);
    if (s.empty() || s[0] != '"') return std::string(s);
    std::string out;
    for (size_t i = 1; i + 1 < s.size(); i++) {
        if (s[i] != '\\') {
            out += s[i];
            continue;
        }
        char c = s[++i];
        if (is_octal(c)) {
            unsigned v = unsigned(c - '0');
            for (int n = 0; n < 2 && is_octal(s[i + 1]); n++) v = v * 8 + unsigned(s[++i] - '0');
            out += char(v);
        } else if (c == 'x') {
            unsigned v = 0;
            for (int n = 0; n < 2 && is_hex(s[i + 1]); n++) v = v * 16 + unsigned(hex_value(s[++i]));
            out += char(v);
        } else if (const char *known = strchr(escape_letters, c))
            out += escaped_bytes[known - escape_letters];
    }
    return out;
}

// --- messages ---

TEXT_FILE::PLACE TEXT_FILE::place(uint32_t at) const {
    auto after = std::upper_bound(line_starts.begin(), line_starts.end(), at);
    return {unsigned(after - line_starts.begin()), at - *(after - 1) + 1};
}

void TEXT_FILE::tell(uint32_t at, bool error, const char *format, va_list args) {
    unsigned &count = error ? error_count_ : warning_count;
    count++;
    if (!error && count > MAX_ERRORS) return;
    char what[512];
    vsnprintf(what, sizeof what, format, args);
    messages.push_back({at, error, what});
    if (error_count_ >= MAX_ERRORS) throw TOO_MANY_ERRORS();
}

void TEXT_FILE::error_at(uint32_t at, const char *format, ...) {
    va_list args;
    va_start(args, format);
    tell(at, true, format, args);
    va_end(args);
}

void TEXT_FILE::warn_at(uint32_t at, const char *format, ...) {
    va_list args;
    va_start(args, format);
    tell(at, false, format, args);
    va_end(args);
}

void TEXT_FILE::fail_at(uint32_t at, const char *format, ...) {
    va_list args;
    va_start(args, format);
    tell(at, true, format, args);
    va_end(args);
    throw BAD_TEXT();
}

void TEXT_FILE::print_messages(FILE *to) {
    std::stable_sort(messages.begin(), messages.end(),
                     [](const MESSAGE &a, const MESSAGE &b) { return a.at < b.at; });
    for (const MESSAGE &e : messages) {
        PLACE where = place(e.at);
        fprintf(to, "%s:%u:%u: %s: %s\n", name.c_str(), where.line, where.column,
                e.error ? "error" : "warning", e.what.c_str());
    }
    if (error_count_ >= MAX_ERRORS) fprintf(to, "%s: too many errors\n", name.c_str());
    if (warning_count > MAX_ERRORS)
        fprintf(to, "%s: %u more warnings\n", name.c_str(), warning_count - MAX_ERRORS);
}

void append_quoted(std::string &to, std::string_view bytes) {
    to += '"';
    for (char c : bytes) {
        if (c == '"' || c == '\\') {
            to += '\\';
            to += c;
        } else if (c == '\n') to += "\\n";
        else if (c == '\t') to += "\\t";
        else if (c >= ' ' && c < 0x7f) to += c;
        else {
            char escape[8];
            snprintf(escape, sizeof escape, "\\%03o", unsigned(uint8_t(c)));
            to += escape;
        }
    }
    to += '"';
}
