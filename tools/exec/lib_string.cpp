// string.h and ctype.h.
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <csignal>

#include "tools/exec/library.h"

namespace {

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
    return a ? a : a = library_text(strerror(c.i32(0)));
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

uint64_t do_strnlen(CALL_CONTEXT &c) {
    uint32_t n = 0;
    while (n < c.u32(1) && *guest_bytes(c.u32(0) + n, 1, false)) n++;
    return n;
}
uint64_t do_strpbrk(CALL_CONTEXT &c) {
    uint32_t at = c.u32(0) + uint32_t(span(c.u32(0), c.u32(1), false));
    return mem.base[at] ? at : 0;
}
uint64_t do_strsep(CALL_CONTEXT &c) {
    uint32_t from = get_u32(c.u32(0));
    if (!from) return 0;
    uint32_t end = from + uint32_t(span(from, c.u32(1), false));
    bool more = mem.base[end];
    if (more) *guest_bytes(end, 1, true) = 0;
    put_u32(c.u32(0), more ? end + 1 : 0);
    return from;
}
uint64_t do_memset(CALL_CONTEXT &c) {
    if (c.u32(2)) memset(guest_bytes(c.u32(0), c.u32(2), true), c.i32(1), c.u32(2));
    if (c.frame) c.frame->func->dynamic_bytes += c.u32(2);
    return c.u32(0);
}
uint64_t do_memcmp(CALL_CONTEXT &c) {
    uint32_t n = c.u32(2);
    return n ? sx(sign(memcmp(guest_bytes(c.u32(0), n, false), guest_bytes(c.u32(1), n, false), n))) : 0;
}
uint64_t do_memrchr(CALL_CONTEXT &c) {
    const void *base = guest_bytes(c.u32(0), c.u32(2), false), *at = memrchr(base, c.i32(1), c.u32(2));
    return at ? c.u32(0) + uint64_t(static_cast<const char *>(at) - static_cast<const char *>(base)) : 0;
}
uint64_t do_strcasestr(CALL_CONTEXT &c) {
    uint64_t n = guest_strlen(c.u32(1));
    for (uint32_t a = c.u32(0);; a++) {
        if (!compare(a, c.u32(1), n, true)) return a;
        if (!*guest_bytes(a, 1, false)) return 0;
    }
}

uint64_t do_stpncpy(CALL_CONTEXT &c) {
    uint32_t n = 0;
    while (n < c.u32(2) && *guest_bytes(c.u32(1) + n, 1, false)) n++;
    return do_strncpy(c) + n;
}
uint64_t do_strxfrm(CALL_CONTEXT &c) {
    uint32_t n = guest_strlen(c.u32(1));
    if (n < c.u32(2)) copy_string(c.u32(0), c.u32(1));
    return n;
}
uint64_t do_xpg_strerror_r(CALL_CONTEXT &c) {
    std::string s = guest_string(uint32_t(do_strerror(c)));
    if (s.size() >= c.u32(2)) return ERANGE;
    put_string(c.u32(1), s.c_str(), s.size() + 1);
    return 0;
}
uint64_t do_memccpy(CALL_CONTEXT &c) {
    for (uint32_t i = 0; i < c.u32(3); i++) {
        char ch = *guest_bytes(c.u32(1) + i, 1, false);
        *guest_bytes(c.u32(0) + i, 1, true) = ch;
        if (ch == char(c.u32(2))) return c.u32(0) + i + 1;
    }
    return 0;
}
uint64_t do_memmem(CALL_CONTEXT &c) {
    if (!c.u32(3)) return c.u32(0);
    if (!c.u32(1)) return 0;
    const char *base = guest_bytes(c.u32(0), c.u32(1), false);
    auto *at =
        static_cast<const char *>(memmem(base, c.u32(1), guest_bytes(c.u32(2), c.u32(3), false), c.u32(3)));
    return at ? c.u32(0) + uint64_t(at - base) : 0;
}

} // namespace

// clang-format off
const LIBRARY_ROW library_string[] = {
    {"strlen", FN(guest_strlen(c.u32(0)))},
    {"strnlen", do_strnlen},
    {"strcpy", DO(copy_string(c.u32(0), c.u32(1)); return c.u32(0);)},
    {"stpcpy", FN(c.u32(0) + copy_string(c.u32(0), c.u32(1)))},
    {"strcat", DO(copy_string(c.u32(0) + guest_strlen(c.u32(0)), c.u32(1)); return c.u32(0);)},
    {"strncpy", do_strncpy},
    {"strncat", do_strncat},
    {"strcmp", FN(sx(sign(compare(c.u32(0), c.u32(1), ~0ull, false))))},
    {"strcoll", FN(sx(sign(compare(c.u32(0), c.u32(1), ~0ull, false))))},
    {"strncmp", FN(sx(sign(compare(c.u32(0), c.u32(1), c.u32(2), false))))},
    {"strcasecmp", FN(sx(sign(compare(c.u32(0), c.u32(1), ~0ull, true))))},
    {"strncasecmp", FN(sx(sign(compare(c.u32(0), c.u32(1), c.u32(2), true))))},
    {"strchr", FN(find_char(c.u32(0), c.i32(1), false))},
    {"index", FN(find_char(c.u32(0), c.i32(1), false))},
    {"strrchr", FN(find_char(c.u32(0), c.i32(1), true))},
    {"rindex", FN(find_char(c.u32(0), c.i32(1), true))},
    {"strspn", FN(span(c.u32(0), c.u32(1), true))},
    {"strcspn", FN(span(c.u32(0), c.u32(1), false))},
    {"strpbrk", do_strpbrk},
    {"strstr", FN(find_text(c.u32(0), c.u32(1)))},
    {"strdup", FN(do_strdup(c.u32(0), ~0u))},
    {"__strdup", FN(do_strdup(c.u32(0), ~0u))},
    {"strndup", FN(do_strdup(c.u32(0), c.u32(1)))},
    {"strtok", FN(tokenise(c.u32(0), c.u32(1), &strtok_state))},
    {"strtok_r", do_strtok_r},
    {"__strtok_r", do_strtok_r},
    {"strerror", do_strerror},
    {"memcpy", FN(move_bytes(c.u32(0), c.u32(1), c.u32(2), c.frame))},
    {"mempcpy", FN(move_bytes(c.u32(0), c.u32(1), c.u32(2), c.frame) + c.u32(2))},
    {"memmove", FN(move_bytes(c.u32(0), c.u32(1), c.u32(2), c.frame))},
    {"bcopy", FN(move_bytes(c.u32(1), c.u32(0), c.u32(2), c.frame))},
    {"memset", do_memset},
    {"bzero", DO(if (c.u32(1)) memset(guest_bytes(c.u32(0), c.u32(1), true), 0, c.u32(1)); return 0;)},
    {"memcmp", do_memcmp},
    {"bcmp", do_memcmp},
    {"memchr", do_memchr},
    {"memrchr", do_memrchr},
    {"strsep", do_strsep},
    {"strcasestr", do_strcasestr},
    {"rawmemchr", FN(find_char(c.u32(0), c.i32(1), false))},
    {"strxfrm", do_strxfrm},
    {"stpncpy", do_stpncpy},
    {"strerror_r", do_strerror},
    {"__xpg_strerror_r", do_xpg_strerror_r},
    {"strsignal", FN(library_text(strsignal(c.i32(0))))},
    {"memccpy", do_memccpy},
    {"memmem", do_memmem},
    {"explicit_bzero", DO(if (c.u32(1)) memset(guest_bytes(c.u32(0), c.u32(1), true), 0, c.u32(1)); return 0;)},
    {"ffsl", FN(uint64_t(__builtin_ffs(c.i32(0))))},
    {"ffsll", FN(uint64_t(__builtin_ffsll(int64_t(c.u64(0)))))},
    {"strverscmp", FN(sx(strverscmp(guest_string(c.u32(0)).c_str(), guest_string(c.u32(1)).c_str())))},
    {"_tolower", FN(sx(c.i32(0) | 32))},
    {"_toupper", FN(sx(c.i32(0) & ~32))},
    {"__ctype_get_mb_cur_max", FN(1)},
    // Checked forms: the size of the object stands last, and accesses are checked anyway.
    {"__memcpy_chk", FN(move_bytes(c.u32(0), c.u32(1), c.u32(2), c.frame))},
    {"__memmove_chk", FN(move_bytes(c.u32(0), c.u32(1), c.u32(2), c.frame))},
    {"__mempcpy_chk", FN(move_bytes(c.u32(0), c.u32(1), c.u32(2), c.frame) + c.u32(2))},
    {"__memset_chk", do_memset},
    {"__strcpy_chk", DO(copy_string(c.u32(0), c.u32(1)); return c.u32(0);)},
    {"__stpcpy_chk", FN(c.u32(0) + copy_string(c.u32(0), c.u32(1)))},
    {"__strcat_chk", DO(copy_string(c.u32(0) + guest_strlen(c.u32(0)), c.u32(1)); return c.u32(0);)},
    {"__strncpy_chk", do_strncpy},
    {"__strncat_chk", do_strncat},
    {"strchrnul", DO(return c.u32(0) + std::min(guest_string(c.u32(0)).find(char(c.u32(1))), size_t(guest_strlen(c.u32(0))));)},
    {"isascii", FN(c.u32(0) < 128)},
    {"toascii", FN(c.u32(0) & 127)},
    {"isalpha", FN(sx(isalpha(c.i32(0)) != 0))},
    {"isdigit", FN(sx(isdigit(c.i32(0)) != 0))},
    {"isalnum", FN(sx(isalnum(c.i32(0)) != 0))},
    {"isspace", FN(sx(isspace(c.i32(0)) != 0))},
    {"isupper", FN(sx(isupper(c.i32(0)) != 0))},
    {"islower", FN(sx(islower(c.i32(0)) != 0))},
    {"ispunct", FN(sx(ispunct(c.i32(0)) != 0))},
    {"isprint", FN(sx(isprint(c.i32(0)) != 0))},
    {"isgraph", FN(sx(isgraph(c.i32(0)) != 0))},
    {"iscntrl", FN(sx(iscntrl(c.i32(0)) != 0))},
    {"isxdigit", FN(sx(isxdigit(c.i32(0)) != 0))},
    {"isblank", FN(sx(isblank(c.i32(0)) != 0))},
    {"tolower", FN(sx(tolower(c.i32(0))))},
    {"toupper", FN(sx(toupper(c.i32(0))))},
    {"__ctype_b_loc", FN(ctype_table(0))},
    {"__ctype_tolower_loc", FN(ctype_table(1))},
    {"__ctype_toupper_loc", FN(ctype_table(2))},
    {nullptr, nullptr},
};
// clang-format on
