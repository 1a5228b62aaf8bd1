// stdlib.h, setjmp.h, assert.h, errno.h, stack and variadic support, exit.
#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "tools/exec/library.h"

namespace {

std::vector<uint32_t> exit_handlers, quick_exit_handlers;

uint64_t do_calloc(CALL_CONTEXT &c) {
    uint64_t n = uint64_t(c.u32(0)) * c.u32(1);
    if (n > 0xC0000000ull) return set_errno(ENOMEM), 0;
    uint32_t a = mem.heap_alloc(uint32_t(n));
    if (a) memset(guest_bytes(a, n, true), 0, n);
    return a;
}
uint64_t do_malloc(uint32_t n, uint32_t align = 8) {
    uint32_t a = mem.heap_alloc(n, align);
    if (!a) set_errno(ENOMEM);
    return a;
}
uint64_t do_free(CALL_CONTEXT &c) {
    if (c.u32(0) && !mem.heap_free(c.u32(0)))
        fault("free() of 0x%08x, which is no live heap block", c.u32(0));
    return 0;
}
uint64_t resize(uint32_t old, uint32_t n) {
    if (!old) return do_malloc(n);
    uint32_t size = mem.heap_size(old);
    if (size == ~0u) fault("realloc() of 0x%08x, which is no live heap block", old);
    uint32_t a = mem.heap_alloc(n);
    if (!a) return set_errno(ENOMEM), 0;
    uint32_t kept = std::min(size, n);
    memcpy(mem.base + a, mem.base + old, kept);
    if (run_options.check_init) mem.mark_written(a, kept);
    mem.heap_free(old);
    return a;
}
uint64_t do_realloc(CALL_CONTEXT &c) { return resize(c.u32(0), c.u32(1)); }
uint64_t do_reallocarray(CALL_CONTEXT &c) {
    uint64_t n = uint64_t(c.u32(1)) * c.u32(2);
    return n >> 32 ? (set_errno(ENOMEM), 0) : resize(c.u32(0), uint32_t(n));
}
uint64_t do_memalign(CALL_CONTEXT &c) {
    uint32_t a = mem.heap_alloc(c.u32(2), c.u32(1));
    if (!a) return ENOMEM;
    put_u32(c.u32(0), a);
    return 0;
}

// Stable merge of guest elements with a guest comparison.
uint64_t do_qsort(CALL_CONTEXT &c) { // qsort_r has a fifth argument, for the comparison
    uint32_t base = c.u32(0), n = c.u32(1), size = c.u32(2), cmp = c.u32(3);
    if (n < 2 || !size) return 0;
    guest_bytes(base, uint64_t(n) * size, true);
    uint32_t work = mem.heap_alloc(n * size);
    if (!work) fault("qsort() has no memory to work in");
    guest_bytes(work, uint64_t(n) * size, true); // the comparison reads it
    uint32_t from = base, to = work;
    for (uint64_t width = 1; width < n; width *= 2) {
        for (uint64_t lo = 0; lo < n; lo += 2 * width) {
            uint64_t mid = std::min<uint64_t>(lo + width, n), hi = std::min<uint64_t>(lo + 2 * width, n),
                     i = lo, j = mid;
            for (uint64_t k = lo; k < hi; k++) {
                bool left =
                    i < mid &&
                    (j >= hi || int32_t(call_guest(cmp, {from + i * size, from + j * size, c.u32(4)})) <= 0);
                uint64_t pick = left ? i++ : j++;
                memcpy(mem.base + to + k * size, mem.base + from + pick * size, size);
            }
        }
        std::swap(from, to);
    }
    if (from != base) memcpy(mem.base + base, mem.base + from, uint64_t(n) * size);
    mem.heap_free(work);
    return 0;
}
uint64_t do_bsearch(CALL_CONTEXT &c) {
    uint32_t lo = 0, hi = c.u32(2), size = c.u32(3);
    while (lo < hi) {
        uint32_t mid = lo + (hi - lo) / 2, at = c.u32(1) + mid * size;
        int32_t r = int32_t(call_guest(c.u32(4), {c.u32(0), at}));
        if (r == 0) return at;
        if (r < 0) hi = mid;
        else lo = mid + 1;
    }
    return 0;
}

template <class V, class F> uint64_t parse_integer(CALL_CONTEXT &c, V low, V high, F convert) {
    std::string s = guest_string(c.u32(0));
    char *end;
    errno = 0;
    auto v = convert(s.c_str(), &end, c.i32(2));
    if (errno == ERANGE) set_errno(ERANGE);
    if (c.u32(1)) put_u32(c.u32(1), c.u32(0) + uint32_t(end - s.c_str()));
    if (v > high) set_errno(ERANGE), v = high;
    if (v < low) set_errno(ERANGE), v = low;
    return uint64_t(v);
}
uint64_t do_strtol(CALL_CONTEXT &c) { return parse_integer<long long>(c, INT32_MIN, INT32_MAX, strtoll); }
uint64_t do_strtoll(CALL_CONTEXT &c) { return parse_integer<long long>(c, INT64_MIN, INT64_MAX, strtoll); }
uint64_t do_strtoul(CALL_CONTEXT &c) {
    std::string s = guest_string(c.u32(0));
    size_t i = s.find_first_not_of(" \t\n\v\f\r");
    bool minus = i != std::string::npos && s[i] == '-';
    if (minus) s[i] = '+';
    char *end;
    errno = 0;
    unsigned long long v = strtoull(s.c_str(), &end, c.i32(2));
    if (v > 0xFFFFFFFFull || errno == ERANGE) set_errno(ERANGE), v = 0xFFFFFFFF, minus = false;
    if (c.u32(1)) put_u32(c.u32(1), c.u32(0) + uint32_t(end - s.c_str()));
    return uint32_t(minus ? -v : v);
}
uint64_t do_strtoull(CALL_CONTEXT &c) { return parse_integer<unsigned long long>(c, 0, ~0ull, strtoull); }
double parse_float(CALL_CONTEXT &c, bool single) {
    std::string s = guest_string(c.u32(0));
    char *end;
    errno = 0;
    double v = single ? double(strtof(s.c_str(), &end)) : strtod(s.c_str(), &end);
    if (errno) set_errno(errno);
    if (c.u32(1)) put_u32(c.u32(1), c.u32(0) + uint32_t(end - s.c_str()));
    return v;
}

// The 48-bit generator of drand48 and its kin; the e, n and j forms keep it in three halves of the caller's.
uint64_t state48 = 0x330E;
uint64_t next48(uint32_t at) {
    uint64_t x = state48;
    for (uint32_t i = 0; at && i < 3; i++) {
        guest_bytes(at + 2 * i, 2, true);
        x = (i ? x : 0) | load_scalar_checked(SK_u16, at + 2 * i) << 16 * i;
    }
    x = (x * 0x5DEECE66Dull + 0xB) & 0xFFFFFFFFFFFFull;
    if (!at) state48 = x;
    for (uint32_t i = 0; at && i < 3; i++) store_scalar_checked(SK_u16, at + 2 * i, x >> 16 * i & 0xFFFF);
    return x;
}
double real48(uint32_t at) { return double(next48(at)) / double(uint64_t(1) << 48); }
uint64_t do_rand_r(CALL_CONTEXT &c) {
    uint32_t next = get_u32(c.u32(0)), result = 0;
    for (uint32_t keep : {2048u, 1024u, 1024u}) {
        next = next * 1103515245u + 12345u;
        result = (result << (keep == 2048 ? 11 : 10)) ^ (next / 65536u % keep);
    }
    put_u32(c.u32(0), next);
    return result;
}

// The additive feedback generator of the target's C library (random_r type 3), so that seeds give its numbers.
struct RANDOM {
    int32_t r[34];
    std::vector<uint32_t> state;
    size_t at = 0;
    void seed(uint32_t s) {
        r[0] = int32_t(s ? s : 1);
        for (int i = 1; i < 31; i++) {
            int64_t hi = r[i - 1] / 127773, lo = r[i - 1] % 127773;
            int64_t v = 16807 * lo - 2836 * hi;
            r[i] = int32_t(v < 0 ? v + 2147483647 : v);
        }
        state.assign(r, r + 31);
        for (int i = 31; i < 34; i++) state.push_back(state[size_t(i) - 31]);
        for (int i = 34; i < 344; i++) state.push_back(state[size_t(i) - 31] + state[size_t(i) - 3]);
        state.erase(state.begin(), state.end() - 31);
        at = 0;
    }
    uint32_t next() {
        if (state.empty()) seed(1);
        uint32_t v = state[at] + state[(at + 28) % 31];
        state[at] = v;
        at = (at + 1) % 31;
        return v >> 1;
    }
} random_numbers;

// setjmp keeps the frame's identity in the buffer; longjmp unwinds to it and runs its step again with the value.
uint64_t do_setjmp(CALL_CONTEXT &c) {
    FRAME *f = c.frame;
    uint32_t step = uint32_t(f->step - f->func->steps.data());
    put_u32(c.u32(0), uint32_t(f->id));
    put_u32(c.u32(0) + 4, uint32_t(f->id >> 32));
    put_u32(c.u32(0) + 8, step);
    return 0;
}
uint64_t do_longjmp(CALL_CONTEXT &c) {
    uint32_t b = c.u32(0);
    uint64_t id = get_u32(b) | uint64_t(get_u32(b + 4)) << 32;
    uint64_t v = c.i32(1) ? uint64_t(int64_t(c.i32(1))) : 1;
    throw LONG_JUMP{id, get_u32(b + 8), v};
}

uint64_t do_abort(CALL_CONTEXT &) {
    fflush(nullptr);
    throw EXIT_PROGRAM{134};
}
uint64_t do_exit(CALL_CONTEXT &c) {
    int status = c.i32(0);
    run_exit_handlers();
    throw EXIT_PROGRAM{status};
}
uint64_t do_quick_exit(CALL_CONTEXT &c) {
    while (!quick_exit_handlers.empty()) {
        uint32_t h = quick_exit_handlers.back();
        quick_exit_handlers.pop_back();
        call_guest(h, {});
    }
    throw EXIT_PROGRAM{c.i32(0)};
}
uint64_t do_assert_fail(CALL_CONTEXT &c) {
    fflush(stdout);
    std::string func = c.u32(3) ? guest_string(c.u32(3)) : "?";
    fprintf(stderr, "%s:%u: %s: Assertion `%s' failed.\n", guest_string(c.u32(1)).c_str(), c.u32(2),
            func.c_str(), guest_string(c.u32(0)).c_str());
    throw EXIT_PROGRAM{134};
}

uint64_t do_alloca(CALL_CONTEXT &c) {
    uint32_t n = (c.u32(0) + 7) & ~7u;
    uint32_t a = uint32_t(push_stack(n + 16, 8));
    mem.unpoison(a, n);
    c.frame->alloca_top = program.stack_pointer;
    return a;
}

uint64_t divide(CALL_CONTEXT &c, bool wide) {
    // div returns a record through the hidden first argument.
    uint32_t to = c.u32(0);
    if (wide) {
        int64_t a = int64_t(c.u64(1)), b = int64_t(c.u64(2));
        if (!b) fault("integer division by zero");
        put_u64(to, uint64_t(a / b));
        put_u64(to + 8, uint64_t(a % b));
        return 0;
    }
    if (!c.i32(2)) fault("integer division by zero");
    put_u32(to, uint32_t(c.i32(1) / c.i32(2)));
    put_u32(to + 4, uint32_t(c.i32(1) % c.i32(2)));
    return 0;
}

} // namespace

void run_exit_handlers() {
    while (!exit_handlers.empty()) {
        uint32_t h = exit_handlers.back();
        exit_handlers.pop_back();
        call_guest(h, {});
    }
    std::vector<uint32_t> d;
    d.swap(program.destructors);
    for (uint32_t f : d) call_guest(f, {});
}

// clang-format off
const LIBRARY_ROW library_stdlib[] = {
    {"malloc", FN(do_malloc(c.u32(0)))},
    {"calloc", do_calloc},
    {"realloc", do_realloc},
    {"free", do_free},
    {"cfree", do_free},
    {"memalign", FN(do_malloc(c.u32(1), c.u32(0)))},
    {"aligned_alloc", FN(do_malloc(c.u32(1), c.u32(0)))},
    {"posix_memalign", do_memalign},
    {"qsort", do_qsort},
    {"bsearch", do_bsearch},
    {"strtol", do_strtol},
    {"strtoll", do_strtoll},
    {"strtoul", do_strtoul},
    {"strtoull", do_strtoull},
    {"strtoimax", do_strtoll},
    {"strtoumax", do_strtoull},
    {"strtod", FN(from_f64(parse_float(c, false)))},
    {"strtold", FN(from_f64(parse_float(c, false)))},
    {"strtof", FN(from_f32(float(parse_float(c, true))))},
    {"atoi", FN(sx(atoi(guest_string(c.u32(0)).c_str())))},
    {"atol", FN(sx(atoi(guest_string(c.u32(0)).c_str())))},
    {"atoll", FN(uint64_t(atoll(guest_string(c.u32(0)).c_str())))},
    {"atof", FN(from_f64(atof(guest_string(c.u32(0)).c_str())))},
    {"abs", FN(sx(c.i32(0) < 0 ? int32_t(0u - c.u32(0)) : c.i32(0)))},
    {"labs", FN(sx(c.i32(0) < 0 ? int32_t(0u - c.u32(0)) : c.i32(0)))},
    {"llabs", FN(int64_t(c.u64(0)) < 0 ? 0 - c.u64(0) : c.u64(0))},
    {"imaxabs", FN(int64_t(c.u64(0)) < 0 ? 0 - c.u64(0) : c.u64(0))},
    {"div", FN(divide(c, false))},
    {"ldiv", FN(divide(c, false))},
    {"lldiv", FN(divide(c, true))},
    {"imaxdiv", FN(divide(c, true))},
    {"rand", FN(random_numbers.next())},
    {"random", FN(random_numbers.next())},
    {"srand", DO(random_numbers.seed(c.u32(0)); return 0;)},
    {"srandom", DO(random_numbers.seed(c.u32(0)); return 0;)},
    {"qsort_r", do_qsort},
    {"reallocarray", do_reallocarray},
    {"valloc", FN(do_malloc(c.u32(0), 4096))},
    {"malloc_usable_size", FN(c.u32(0) ? mem.heap_size(c.u32(0)) : 0)},
    {"strtoq", do_strtoll},
    {"strtouq", do_strtoull},
    {"rand_r", do_rand_r},
    {"srand48", DO(state48 = uint64_t(c.u32(0)) << 16 | 0x330E; return 0;)},
    {"drand48", FN(from_f64(real48(0)))},
    {"erand48", FN(from_f64(real48(c.u32(0))))},
    {"lrand48", FN(next48(0) >> 17)},
    {"nrand48", FN(next48(c.u32(0)) >> 17)},
    {"mrand48", FN(sx(int32_t(next48(0) >> 16)))},
    {"jrand48", FN(sx(int32_t(next48(c.u32(0)) >> 16)))},
    {"system", DO(if (c.u32(0)) set_errno(ENOSYS); return c.u32(0) ? sx(-1) : 0;)}, // there is no shell
    {"at_quick_exit", DO(quick_exit_handlers.push_back(c.u32(0)); return 0;)},
    {"__clear_cache", FN(0)},
    {"exit", do_exit},
    {"_exit", DO(throw EXIT_PROGRAM{c.i32(0)};)},
    {"_Exit", DO(throw EXIT_PROGRAM{c.i32(0)};)},
    {"quick_exit", do_quick_exit},
    {"abort", do_abort},
    {"atexit", DO(exit_handlers.push_back(c.u32(0)); return 0;)},
    {"__assert_fail", do_assert_fail},
    {"__assert", do_assert_fail},
    {"__errno_location", FN(guest_errno_address())},
    {"setjmp", do_setjmp},
    {"_setjmp", do_setjmp},
    {"__sigsetjmp", do_setjmp},
    {"sigsetjmp", do_setjmp},
    {"__builtin_setjmp", do_setjmp},
    {"__builtin_longjmp", do_longjmp},
    {"longjmp", do_longjmp},
    {"_longjmp", do_longjmp},
    {"siglongjmp", do_longjmp},
    {"__builtin_va_start", DO(put_u32(c.u32(0), c.frame->varargs); return 0;)},
    {"__builtin_alloca", do_alloca},
    {"alloca", do_alloca},
    {"__builtin_stack_save", FN(program.stack_pointer)},
    {"__builtin_stack_restore", DO(c.frame->alloca_top = program.stack_pointer = c.u32(0); return 0;)},
    {"__builtin_frame_address", FN(c.frame->base)},
    {"__builtin_return_address", FN(CODE_BASE)},
    {"__builtin_clz", FN(c.u32(0) ? uint64_t(__builtin_clz(c.u32(0))) : 32)},
    {"__builtin_clzl", FN(c.u32(0) ? uint64_t(__builtin_clz(c.u32(0))) : 32)},
    {"__builtin_clzll", FN(c.u64(0) ? uint64_t(__builtin_clzll(c.u64(0))) : 64)},
    {"__builtin_ctz", FN(c.u32(0) ? uint64_t(__builtin_ctz(c.u32(0))) : 32)},
    {"__builtin_ctzl", FN(c.u32(0) ? uint64_t(__builtin_ctz(c.u32(0))) : 32)},
    {"__builtin_ctzll", FN(c.u64(0) ? uint64_t(__builtin_ctzll(c.u64(0))) : 64)},
    {"__builtin_popcount", FN(uint64_t(__builtin_popcount(c.u32(0))))},
    {"__builtin_popcountl", FN(uint64_t(__builtin_popcount(c.u32(0))))},
    {"__builtin_popcountll", FN(uint64_t(__builtin_popcountll(c.u64(0))))},
    {"__builtin_parity", FN(uint64_t(__builtin_parity(c.u32(0))))},
    {"__builtin_parityl", FN(uint64_t(__builtin_parity(c.u32(0))))},
    {"__builtin_parityll", FN(uint64_t(__builtin_parityll(c.u64(0))))},
    {"__builtin_ffs", FN(uint64_t(__builtin_ffs(c.i32(0))))},
    {"__builtin_ffsl", FN(uint64_t(__builtin_ffs(c.i32(0))))},
    {"__builtin_ffsll", FN(uint64_t(__builtin_ffsll(int64_t(c.u64(0)))))},
    {"ffs", FN(uint64_t(__builtin_ffs(c.i32(0))))},
    {"__builtin_clrsb", FN(uint64_t(__builtin_clrsb(c.i32(0))))},
    {"__builtin_clrsbl", FN(uint64_t(__builtin_clrsb(c.i32(0))))},
    {"__builtin_clrsbll", FN(uint64_t(__builtin_clrsbll(int64_t(c.u64(0)))))},
    {"__builtin_bswap16", FN(__builtin_bswap16(uint16_t(c.u32(0))))},
    {"__builtin_bswap32", FN(__builtin_bswap32(c.u32(0)))},
    {"__builtin_bswap64", FN(__builtin_bswap64(c.u64(0)))},
    {nullptr, nullptr},
};
// clang-format on
