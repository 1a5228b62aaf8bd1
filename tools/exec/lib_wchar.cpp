// wchar.h, wctype.h, and what stdlib.h has of them: strings of 32-bit characters in the locale "C", where the characters
// that have bytes are those of ASCII.
#include <cctype>
#include <cerrno>
#include <cstdlib>

#include "tools/exec/library.h"

namespace {

uint32_t wide_length(uint32_t a) {
    uint32_t n = 0;
    while (get_u32(a + 4 * n)) n++;
    return n;
}
// The ranges may overlap.
uint64_t move(uint32_t to, uint32_t from, uint64_t n) {
    if (n) memmove(guest_bytes(to, n * 4, true), guest_bytes(from, n * 4, false), n * 4);
    return to;
}
uint64_t compare(uint32_t a, uint32_t b, uint64_t limit, bool stop_at_null) {
    for (; limit; limit--, a += 4, b += 4) {
        uint32_t x = get_u32(a), y = get_u32(b);
        if (x != y) return x < y ? uint64_t(-1) : 1;
        if (!x && stop_at_null) break;
    }
    return 0;
}
uint64_t find(uint32_t a, uint32_t ch, bool last) {
    uint64_t found = 0;
    for (;; a += 4) {
        uint32_t x = get_u32(a);
        if (x == ch) {
            found = a;
            if (!last) return found;
        }
        if (!x) return found;
    }
}

uint64_t do_wcslen(CALL_CONTEXT &c) { return wide_length(c.u32(0)); }
uint64_t do_wcscpy(CALL_CONTEXT &c) { return move(c.u32(0), c.u32(1), wide_length(c.u32(1)) + 1); }
uint64_t do_wcscat(CALL_CONTEXT &c) {
    move(c.u32(0) + 4 * wide_length(c.u32(0)), c.u32(1), wide_length(c.u32(1)) + 1);
    return c.u32(0);
}
uint64_t do_wcsncpy(CALL_CONTEXT &c) {
    uint32_t to = c.u32(0), from = c.u32(1), n = c.u32(2), i = 0;
    for (uint32_t ch; i < n && (ch = get_u32(from + 4 * i)); i++) put_u32(to + 4 * i, ch);
    for (; i < n; i++) put_u32(to + 4 * i, 0);
    return to;
}
uint64_t do_wcscmp(CALL_CONTEXT &c) { return compare(c.u32(0), c.u32(1), UINT64_MAX, true); }
uint64_t do_wcsncmp(CALL_CONTEXT &c) { return compare(c.u32(0), c.u32(1), c.u32(2), true); }
uint64_t do_wmemcmp(CALL_CONTEXT &c) { return compare(c.u32(0), c.u32(1), c.u32(2), false); }
uint64_t do_wcschr(CALL_CONTEXT &c) { return find(c.u32(0), c.u32(1), false); }
uint64_t do_wcsrchr(CALL_CONTEXT &c) { return find(c.u32(0), c.u32(1), true); }
uint64_t do_wmemcpy(CALL_CONTEXT &c) { return move(c.u32(0), c.u32(1), c.u32(2)); }
uint64_t do_wmemset(CALL_CONTEXT &c) {
    for (uint32_t i = 0; i < c.u32(2); i++) put_u32(c.u32(0) + 4 * i, c.u32(1));
    return c.u32(0);
}

std::string narrow(uint32_t a) { // what has no byte becomes one that no text has
    std::string s;
    for (uint32_t ch; (ch = get_u32(a)); a += 4) s += ch < 128 ? char(ch) : '\x80';
    return s;
}
uint64_t widen(uint32_t to, const std::string &s, uint32_t room) { // -1: it does not fit
    if (s.size() >= room) return sx(-1);
    for (uint32_t i = 0; i <= s.size(); i++)
        put_u32(to + 4 * i, i < s.size() ? static_cast<unsigned char>(s[i]) : 0);
    return s.size();
}
// A format of wide characters, as one of bytes for printf.
std::string format_wide(uint32_t format, VARARGS v) {
    std::string s = narrow(format);
    uint32_t a = mem.heap_alloc(uint32_t(s.size()) + 1);
    put_string(a, s.c_str(), s.size() + 1);
    s = format_guest(a, v);
    mem.heap_free(a);
    return s;
}
uint64_t print_wide(FILE *f, const std::string &s) {
    return fwrite(s.data(), 1, s.size(), f) == s.size() ? s.size() : sx(-1);
}
uint64_t put_wide(uint32_t ch, FILE *f) { return ch < 128 ? uint64_t(fputc(int(ch), f)) : sx(-1); }

uint64_t do_wcsncat(CALL_CONTEXT &c) {
    uint32_t to = c.u32(0) + 4 * wide_length(c.u32(0)), i = 0;
    for (uint32_t ch; i < c.u32(2) && (ch = get_u32(c.u32(1) + 4 * i)); i++) put_u32(to + 4 * i, ch);
    put_u32(to + 4 * i, 0);
    return c.u32(0);
}
uint32_t wide_span(uint32_t a, uint32_t set, bool in) {
    uint32_t n = 0;
    for (uint32_t ch; (ch = get_u32(a + 4 * n)); n++)
        if ((find(set, ch, false) != 0) != in) break;
    return n;
}
uint64_t do_wcspbrk(CALL_CONTEXT &c) {
    uint32_t at = c.u32(0) + 4 * wide_span(c.u32(0), c.u32(1), false);
    return get_u32(at) ? at : 0;
}
uint64_t do_wcsstr(CALL_CONTEXT &c) {
    uint32_t n = wide_length(c.u32(1));
    for (uint32_t a = c.u32(0);; a += 4) {
        uint32_t i = 0;
        while (i < n && get_u32(a + 4 * i) == get_u32(c.u32(1) + 4 * i)) i++;
        if (i == n) return a;
        if (!get_u32(a + 4 * i)) return 0;
    }
}
uint64_t do_wcstok(CALL_CONTEXT &c) {
    uint32_t a = c.u32(0) ? c.u32(0) : get_u32(c.u32(2));
    if (!a) return 0;
    a += 4 * wide_span(a, c.u32(1), true);
    uint32_t end = a + 4 * wide_span(a, c.u32(1), false);
    bool more = get_u32(end) != 0;
    if (more) put_u32(end, 0);
    put_u32(c.u32(2), more ? end + 4 : 0);
    return end == a ? 0 : a;
}
uint64_t do_wmemchr(CALL_CONTEXT &c) {
    for (uint32_t i = 0; i < c.u32(2); i++)
        if (get_u32(c.u32(0) + 4 * i) == c.u32(1)) return c.u32(0) + 4 * i;
    return 0;
}
uint64_t do_wcsdup(CALL_CONTEXT &c) {
    uint32_t n = wide_length(c.u32(0)) + 1, to = mem.heap_alloc(4 * n);
    return to ? move(to, c.u32(0), n) : 0;
}
uint64_t do_wcsnlen(CALL_CONTEXT &c) {
    uint32_t n = 0;
    while (n < c.u32(1) && get_u32(c.u32(0) + 4 * n)) n++;
    return n;
}

// The number texts: the end is told in wide characters.
template <class F> auto parse_wide(CALL_CONTEXT &c, F convert) {
    std::string s = narrow(c.u32(0));
    char *end;
    errno = 0;
    auto v = convert(s.c_str(), &end);
    if (errno) set_errno(errno);
    if (c.u32(1)) put_u32(c.u32(1), c.u32(0) + 4 * uint32_t(end - s.c_str()));
    return v;
}
uint64_t do_wcstol(CALL_CONTEXT &c) {
    long v = parse_wide(c, [&](const char *s, char **e) { return strtol(s, e, c.i32(2)); });
    if (v != int32_t(v)) set_errno(ERANGE), v = v < 0 ? INT32_MIN : INT32_MAX;
    return uint64_t(v);
}
uint64_t do_wcstoll(CALL_CONTEXT &c) {
    return uint64_t(parse_wide(c, [&](const char *s, char **e) { return strtoll(s, e, c.i32(2)); }));
}
uint64_t do_wcstoul(CALL_CONTEXT &c) {
    long v = parse_wide(c, [&](const char *s, char **e) { return strtol(s, e, c.i32(2)); });
    if (v > 0xFFFFFFFFL || v < -0xFFFFFFFFL) set_errno(ERANGE), v = 0xFFFFFFFFL;
    return uint32_t(v);
}
uint64_t do_wcstoull(CALL_CONTEXT &c) {
    return parse_wide(c, [&](const char *s, char **e) { return strtoull(s, e, c.i32(2)); });
}

// One byte is one character. What mbtowc and its kin say of it: 0 the end, 1 a character, -1 none.
uint64_t get_character(uint32_t to, uint32_t from, uint32_t n, bool restarts) {
    if (!from) return 0;
    if (!n) return restarts ? sx(-2) : sx(-1);
    auto ch = static_cast<unsigned char>(*guest_bytes(from, 1, false));
    if (ch > 127) return set_errno(EILSEQ), sx(-1);
    if (to) put_u32(to, ch);
    return ch != 0;
}
uint64_t put_character(uint32_t to, uint32_t ch, bool restarts) {
    if (!to) return restarts;
    if (ch > 127) return set_errno(EILSEQ), sx(-1);
    return *guest_bytes(to, 1, true) = char(ch), 1;
}
// `place`: where the pointer to the source lies, which goes to the end (null: there is none).
uint64_t to_wide(uint32_t to, uint32_t from, uint32_t n, uint32_t place) {
    uint32_t i = 0;
    for (; !to || i < n; i++) {
        auto ch = static_cast<unsigned char>(*guest_bytes(from + i, 1, false));
        if (ch > 127) return set_errno(EILSEQ), sx(-1);
        if (to) put_u32(to + 4 * i, ch);
        if (!ch) break;
    }
    if (place && to) put_u32(place, i < n ? 0 : from + i);
    return i;
}
uint64_t to_bytes(uint32_t to, uint32_t from, uint32_t n, uint32_t place) {
    uint32_t i = 0;
    for (; !to || i < n; i++) {
        uint32_t ch = get_u32(from + 4 * i);
        if (ch > 127) return set_errno(EILSEQ), sx(-1);
        if (to) *guest_bytes(to + i, 1, true) = char(ch);
        if (!ch) break;
    }
    if (place && to) put_u32(place, i < n ? 0 : from + 4 * i);
    return i;
}

const char *const class_names[] = {"alnum", "alpha", "blank", "cntrl", "digit", "graph",
                                   "lower", "print", "punct", "space", "upper", "xdigit"};
int (*const classes[])(int) = {isalnum, isalpha, isblank, iscntrl, isdigit, isgraph,
                               islower, isprint, ispunct, isspace, isupper, isxdigit};
uint64_t in_class(uint32_t ch, uint32_t kind) { // counted from 1
    return kind >= 1 && kind <= 12 && ch < 128 && classes[kind - 1](int(ch)) != 0;
}
uint64_t do_wctype(CALL_CONTEXT &c) {
    std::string s = guest_string(c.u32(0));
    for (unsigned i = 0; i < 12; i++)
        if (s == class_names[i]) return i + 1;
    return 0;
}
uint64_t changed_case(uint32_t ch, uint32_t kind) {
    return ch > 127 ? ch : uint64_t(kind == 1 ? tolower(int(ch)) : kind == 2 ? toupper(int(ch)) : int(ch));
}
uint64_t do_wctrans(CALL_CONTEXT &c) {
    std::string s = guest_string(c.u32(0));
    return s == "tolower" ? 1 : s == "toupper" ? 2 : 0;
}

} // namespace

const LIBRARY_ROW library_wchar[] = {
    {"wcsncat", do_wcsncat},
    {"wcspbrk", do_wcspbrk},
    {"wcsstr", do_wcsstr},
    {"wcstok", do_wcstok},
    {"wcscspn", FN(wide_span(c.u32(0), c.u32(1), false))},
    {"wcsspn", FN(wide_span(c.u32(0), c.u32(1), true))},
    {"wmemchr", do_wmemchr},
    {"wcsdup", do_wcsdup},
    {"wcsnlen", do_wcsnlen},
    {"wcscoll", do_wcscmp},
    {"wcpcpy", FN(do_wcscpy(c) + 4 * wide_length(c.u32(1)))},
    {"wcstol", do_wcstol},
    {"wcstoll", do_wcstoll},
    {"wcstoimax", do_wcstoll},
    {"wcstoul", do_wcstoul},
    {"wcstoull", do_wcstoull},
    {"wcstoumax", do_wcstoull},
    {"wcstod", FN(from_f64(parse_wide(c, strtod)))},
    {"wcstold", FN(from_f64(parse_wide(c, strtod)))},
    {"wcstof", FN(from_f32(parse_wide(c, strtof)))},
    {"btowc", FN(c.u32(0) < 128 ? c.u32(0) : 0xFFFFFFFF)},
    {"wctob", FN(c.u32(0) < 128 ? c.u32(0) : sx(-1))},
    {"mbsinit", FN(1)},
    {"mblen", FN(get_character(0, c.u32(0), c.u32(1), false))},
    {"mbtowc", FN(get_character(c.u32(0), c.u32(1), c.u32(2), false))},
    {"mbrtowc", FN(get_character(c.u32(0), c.u32(1), c.u32(2), true))},
    {"mbrlen", FN(get_character(0, c.u32(0), c.u32(1), true))},
    {"wctomb", FN(put_character(c.u32(0), c.u32(1), false))},
    {"wcrtomb", FN(put_character(c.u32(0), c.u32(1), true))},
    {"mbstowcs", FN(to_wide(c.u32(0), c.u32(1), c.u32(2), 0))},
    {"wcstombs", FN(to_bytes(c.u32(0), c.u32(1), c.u32(2), 0))},
    {"mbsrtowcs", FN(to_wide(c.u32(0), get_u32(c.u32(1)), c.u32(2), c.u32(1)))},
    {"wcsrtombs", FN(to_bytes(c.u32(0), get_u32(c.u32(1)), c.u32(2), c.u32(1)))},
    {"swprintf", FN(widen(c.u32(0), format_wide(c.u32(2), varargs_of(c, 3)), c.u32(1)))},
    {"vswprintf", FN(widen(c.u32(0), format_wide(c.u32(2), varargs_in(c, 3)), c.u32(1)))},
    {"wprintf", FN(print_wide(stdout, format_wide(c.u32(0), varargs_of(c, 1))))},
    {"vwprintf", FN(print_wide(stdout, format_wide(c.u32(0), varargs_in(c, 1))))},
    {"fwprintf", FN(print_wide(guest_file(c.u32(0)), format_wide(c.u32(1), varargs_of(c, 2))))},
    {"vfwprintf", FN(print_wide(guest_file(c.u32(0)), format_wide(c.u32(1), varargs_in(c, 2))))},
    {"fputws", FN(print_wide(guest_file(c.u32(1)), narrow(c.u32(0))))},
    {"fputwc", FN(put_wide(c.u32(0), guest_file(c.u32(1))))},
    {"putwc", FN(put_wide(c.u32(0), guest_file(c.u32(1))))},
    {"putwchar", FN(put_wide(c.u32(0), stdout))},
    {"fgetwc", FN(sx(fgetc(guest_file(c.u32(0)))))},
    {"getwc", FN(sx(fgetc(guest_file(c.u32(0)))))},
    {"getwchar", FN(sx(getchar()))},
    {"ungetwc", FN(sx(ungetc(c.i32(0), guest_file(c.u32(1)))))},
    {"fwide", FN(0)},
    {"iswalnum", FN(in_class(c.u32(0), 1))},
    {"iswalpha", FN(in_class(c.u32(0), 2))},
    {"iswblank", FN(in_class(c.u32(0), 3))},
    {"iswcntrl", FN(in_class(c.u32(0), 4))},
    {"iswdigit", FN(in_class(c.u32(0), 5))},
    {"iswgraph", FN(in_class(c.u32(0), 6))},
    {"iswlower", FN(in_class(c.u32(0), 7))},
    {"iswprint", FN(in_class(c.u32(0), 8))},
    {"iswpunct", FN(in_class(c.u32(0), 9))},
    {"iswspace", FN(in_class(c.u32(0), 10))},
    {"iswupper", FN(in_class(c.u32(0), 11))},
    {"iswxdigit", FN(in_class(c.u32(0), 12))},
    {"wctype", do_wctype},
    {"iswctype", FN(in_class(c.u32(0), c.u32(1)))},
    {"towlower", FN(changed_case(c.u32(0), 1))},
    {"towupper", FN(changed_case(c.u32(0), 2))},
    {"wctrans", do_wctrans},
    {"towctrans", FN(changed_case(c.u32(0), c.u32(1)))},
    {"wcslen", do_wcslen},
    {"wcscpy", do_wcscpy},
    {"wcscat", do_wcscat},
    {"wcsncpy", do_wcsncpy},
    {"wcscmp", do_wcscmp},
    {"wcsncmp", do_wcsncmp},
    {"wmemcmp", do_wmemcmp},
    {"wcschr", do_wcschr},
    {"wcsrchr", do_wcsrchr},
    {"wmemcpy", do_wmemcpy},
    {"wmemmove", do_wmemcpy},
    {"wmemset", do_wmemset},
    {nullptr, nullptr},
};
