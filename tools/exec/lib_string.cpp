// string.h and ctype.h.
#include <cctype>

#include "tools/exec/library.h"

namespace {

#define FN [](CALL_CONTEXT & c) -> uint64_t

uint64_t sx(int v) { return uint64_t(int64_t(v)); }
int sign(int v) { return v < 0 ? -1 : v > 0; }

int compare(uint32_t a, uint32_t b, uint64_t limit, bool fold) {
    for (uint64_t i = 0; i < limit; i++) {
        int x = static_cast<unsigned char>(*guest_bytes(a + uint32_t(i), 1, false));
        int y = static_cast<unsigned char>(*guest_bytes(b + uint32_t(i), 1, false));
        if (fold) x = tolower(x), y = tolower(y);
        if (x != y) return x - y;
        if (!x) return 0;
    }
    return 0;
}

uint64_t copy_string(uint32_t to, uint32_t from) {
    uint32_t n = guest_strlen(from) + 1;
    memmove(guest_bytes(to, n, true), guest_bytes(from, n, false), n);
    return n - 1;
}

uint64_t do_strncpy(CALL_CONTEXT &c) {
    uint32_t to = c.u32(0), from = c.u32(1), n = c.u32(2), i = 0;
    for (; i < n; i++) {
        char ch = *guest_bytes(from + i, 1, false);
        *guest_bytes(to + i, 1, true) = ch;
        if (!ch) break;
    }
    for (; i < n; i++) *guest_bytes(to + i, 1, true) = 0;
    return to;
}
uint64_t do_strncat(CALL_CONTEXT &c) {
    uint32_t to = c.u32(0), at = to + guest_strlen(to), n = c.u32(2), i = 0;
    for (; i < n; i++) {
        char ch = *guest_bytes(c.u32(1) + i, 1, false);
        if (!ch) break;
        *guest_bytes(at + i, 1, true) = ch;
    }
    *guest_bytes(at + i, 1, true) = 0;
    return to;
}
uint64_t find_char(uint32_t a, int ch, bool last) {
    uint64_t found = 0;
    for (;; a++) {
        char x = *guest_bytes(a, 1, false);
        if (x == char(ch)) {
            found = a;
            if (!last) return found;
        }
        if (!x) return found;
    }
}
uint64_t do_memchr(CALL_CONTEXT &c) {
    for (uint32_t i = 0; i < c.u32(2); i++)
        if (*guest_bytes(c.u32(0) + i, 1, false) == char(c.u32(1))) return c.u32(0) + i;
    return 0;
}
uint64_t span(uint32_t a, uint32_t set, bool in) {
    std::string s = guest_string(set), t = guest_string(a);
    size_t n = in ? t.find_first_not_of(s) : t.find_first_of(s);
    return n == std::string::npos ? t.size() : n;
}
uint64_t find_text(uint32_t a, uint32_t b) {
    std::string s = guest_string(a), t = guest_string(b);
    size_t n = s.find(t);
    return n == std::string::npos ? 0 : a + n;
}
uint64_t do_strdup(uint32_t a, uint32_t limit) {
    uint32_t n = 0;
    while (n < limit && *guest_bytes(a + n, 1, false)) n++;
    uint32_t to = mem.heap_alloc(n + 1);
    if (!to) return 0;
    memcpy(guest_bytes(to, n + 1, true), mem.base + a, n);
    mem.base[to + n] = 0;
    return to;
}
uint32_t strtok_state;
uint64_t tokenise(uint32_t a, uint32_t set, uint32_t *state) {
    if (!a) a = *state;
    if (!a) return 0;
    std::string s = guest_string(set);
    while (*guest_bytes(a, 1, false) && s.find(char(mem.base[a])) != std::string::npos) a++;
    if (!mem.base[a]) {
        *state = 0;
        return 0;
    }
    uint32_t from = a;
    while (*guest_bytes(a, 1, false) && s.find(char(mem.base[a])) == std::string::npos) a++;
    if (mem.base[a]) *guest_bytes(a, 1, true) = 0, *state = a + 1;
    else *state = 0;
    return from;
}
uint64_t do_strtok_r(CALL_CONTEXT &c) {
    uint32_t state = get_u32(c.u32(2));
    uint64_t r = tokenise(c.u32(0), c.u32(1), &state);
    put_u32(c.u32(2), state);
    return r;
}
uint64_t do_strerror(CALL_CONTEXT &c) {
    static std::unordered_map<int, uint32_t> texts;
    uint32_t &a = texts[c.i32(0)];
    if (!a) {
        const char *t = strerror(c.i32(0));
        a = mem.add_global(uint32_t(strlen(t)) + 1, 1);
        memcpy(mem.base + a, t, strlen(t) + 1);
    }
    return a;
}
uint64_t move_bytes(uint32_t to, uint32_t from, uint32_t n, FRAME *f) {
    if (n) memmove(guest_bytes(to, n, true), guest_bytes(from, n, false), n);
    if (f) f->func->dynamic_bytes += 2ull * n;
    return to;
}

// The tables behind isalpha and its kin: 384 entries from -128 on, with the bits of the target's headers.
uint32_t ctype_table(int which) {
    static uint32_t pointers[3];
    if (pointers[which]) return pointers[which];
    unsigned width = which == 0 ? 2 : 4;
    uint32_t table = mem.add_global(384 * width, 4);
    for (int i = -128; i < 256; i++) {
        uint32_t at = table + uint32_t(i + 128) * width;
        int ch = i;
        if (which == 1) store_scalar_checked(SK_u32, at, uint32_t(i < 0 ? i : tolower(ch)));
        else if (which == 2) store_scalar_checked(SK_u32, at, uint32_t(i < 0 ? i : toupper(ch)));
        else {
            unsigned bits = 0;
            if (i >= 0) {
                auto bit = [&](bool is, int n) {
                    if (!is) return;
                    bits |= run_options.big_endian ? 1u << n : n < 8 ? (1u << n) << 8 : (1u << n) >> 8;
                };
                bit(isupper(ch), 0), bit(islower(ch), 1), bit(isalpha(ch), 2), bit(isdigit(ch), 3);
                bit(isxdigit(ch), 4), bit(isspace(ch), 5), bit(isprint(ch), 6), bit(isgraph(ch), 7);
                bit(isblank(ch), 8), bit(iscntrl(ch), 9), bit(ispunct(ch), 10), bit(isalnum(ch), 11);
            }
            store_scalar_checked(SK_u16, at, bits);
        }
    }
    uint32_t p = mem.add_global(4, 4);
    store_scalar_checked(SK_u32, p, table + 128 * width);
    return pointers[which] = p;
}

} // namespace

const LIBRARY_ROW library_string[] = {{"strlen", FN{return guest_strlen(c.u32(0));
}
}
, {"strnlen", FN{uint32_t n = 0;
while (n < c.u32(1) && *guest_bytes(c.u32(0) + n, 1, false)) n++;
return n;
}
}
, {"strcpy", FN{copy_string(c.u32(0), c.u32(1));
return c.u32(0);
}
}
, {"stpcpy", FN{return c.u32(0) + copy_string(c.u32(0), c.u32(1));
}
}
, {"strcat", FN{copy_string(c.u32(0) + guest_strlen(c.u32(0)), c.u32(1));
return c.u32(0);
}
}
, {"strncpy", do_strncpy}, {"strncat", do_strncat},
    {"strcmp", FN{return sx(sign(compare(c.u32(0), c.u32(1), ~0ull, false)));
}
}
, {"strcoll", FN{return sx(sign(compare(c.u32(0), c.u32(1), ~0ull, false)));
}
}
, {"strncmp", FN{return sx(sign(compare(c.u32(0), c.u32(1), c.u32(2), false)));
}
}
, {"strcasecmp", FN{return sx(sign(compare(c.u32(0), c.u32(1), ~0ull, true)));
}
}
, {"strncasecmp", FN{return sx(sign(compare(c.u32(0), c.u32(1), c.u32(2), true)));
}
}
, {"strchr", FN{return find_char(c.u32(0), c.i32(1), false);
}
}
, {"index", FN{return find_char(c.u32(0), c.i32(1), false);
}
}
, {"strrchr", FN{return find_char(c.u32(0), c.i32(1), true);
}
}
, {"rindex", FN{return find_char(c.u32(0), c.i32(1), true);
}
}
, {"strspn", FN{return span(c.u32(0), c.u32(1), true);
}
}
, {"strcspn", FN{return span(c.u32(0), c.u32(1), false);
}
}
, {"strpbrk", FN{uint64_t n = span(c.u32(0), c.u32(1), false);
return mem.base[c.u32(0) + n] ? c.u32(0) + n : 0;
}
}
, {"strstr", FN{return find_text(c.u32(0), c.u32(1));
}
}
, {"strdup", FN{return do_strdup(c.u32(0), ~0u);
}
}
, {"__strdup", FN{return do_strdup(c.u32(0), ~0u);
}
}
, {"strndup", FN{return do_strdup(c.u32(0), c.u32(1));
}
}
, {"strtok", FN{return tokenise(c.u32(0), c.u32(1), &strtok_state);
}
}
, {"strtok_r", do_strtok_r}, {"__strtok_r", do_strtok_r}, {"strerror", do_strerror},
    {"memcpy", FN{return move_bytes(c.u32(0), c.u32(1), c.u32(2), c.frame);
}
}
, {"mempcpy", FN{return move_bytes(c.u32(0), c.u32(1), c.u32(2), c.frame) + c.u32(2);
}
}
, {"memmove", FN{return move_bytes(c.u32(0), c.u32(1), c.u32(2), c.frame);
}
}
, {"bcopy", FN{return move_bytes(c.u32(1), c.u32(0), c.u32(2), c.frame);
}
}
, {"memset", FN{if (c.u32(2)) memset(guest_bytes(c.u32(0), c.u32(2), true), c.i32(1), c.u32(2));
if (c.frame) c.frame->func->dynamic_bytes += c.u32(2);
return c.u32(0);
}
}
, {"bzero", FN{if (c.u32(1)) memset(guest_bytes(c.u32(0), c.u32(1), true), 0, c.u32(1));
return 0;
}
}
, {"memcmp", FN{return c.u32(2) ? sx(sign(memcmp(guest_bytes(c.u32(0), c.u32(2), false),
                                                 guest_bytes(c.u32(1), c.u32(2), false), c.u32(2))))
                                : 0;
}
}
, {"bcmp", FN{return c.u32(2) ? sx(sign(memcmp(guest_bytes(c.u32(0), c.u32(2), false),
                                               guest_bytes(c.u32(1), c.u32(2), false), c.u32(2))))
                              : 0;
}
}
, {"memchr", do_memchr}, {"isalpha", FN{return sx(isalpha(c.i32(0)) != 0);
}
}
, {"isdigit", FN{return sx(isdigit(c.i32(0)) != 0);
}
}
, {"isalnum", FN{return sx(isalnum(c.i32(0)) != 0);
}
}
, {"isspace", FN{return sx(isspace(c.i32(0)) != 0);
}
}
, {"isupper", FN{return sx(isupper(c.i32(0)) != 0);
}
}
, {"islower", FN{return sx(islower(c.i32(0)) != 0);
}
}
, {"ispunct", FN{return sx(ispunct(c.i32(0)) != 0);
}
}
, {"isprint", FN{return sx(isprint(c.i32(0)) != 0);
}
}
, {"isgraph", FN{return sx(isgraph(c.i32(0)) != 0);
}
}
, {"iscntrl", FN{return sx(iscntrl(c.i32(0)) != 0);
}
}
, {"isxdigit", FN{return sx(isxdigit(c.i32(0)) != 0);
}
}
, {"isblank", FN{return sx(isblank(c.i32(0)) != 0);
}
}
, {"tolower", FN{return sx(tolower(c.i32(0)));
}
}
, {"toupper", FN{return sx(toupper(c.i32(0)));
}
}
, {"__ctype_b_loc", FN{(void)c;
return ctype_table(0);
}
}
, {"__ctype_tolower_loc", FN{(void)c;
return ctype_table(1);
}
}
, {"__ctype_toupper_loc", FN{(void)c;
return ctype_table(2);
}
}
, {nullptr, nullptr},
}
;
