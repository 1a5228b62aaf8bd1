// wchar.h: strings of 32-bit characters.
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

} // namespace

const LIBRARY_ROW library_wchar[] = {
    {"wcslen", do_wcslen},   {"wcscpy", do_wcscpy},   {"wcscat", do_wcscat},    {"wcsncpy", do_wcsncpy},
    {"wcscmp", do_wcscmp},   {"wcsncmp", do_wcsncmp}, {"wmemcmp", do_wmemcmp},  {"wcschr", do_wcschr},
    {"wcsrchr", do_wcsrchr}, {"wmemcpy", do_wmemcpy}, {"wmemmove", do_wmemcpy}, {"wmemset", do_wmemset},
    {nullptr, nullptr},
};
