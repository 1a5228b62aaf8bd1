// time.h, signal.h, locale.h, unistd.h and what else the headers call.
#include <csignal>
#include <ctime>

#include "tools/exec/library.h"

uint32_t library_file_object(const std::string &name);

uint32_t library_object(const std::string &name, uint32_t bytes) {
    if (uint32_t a = library_file_object(name)) return a;
    static const struct {
        const char *name;
        uint32_t value;
    } rows[] = {{"environ", 0},  {"__environ", 0}, {"optarg", 0},   {"optind", 1}, {"opterr", 1},
                {"optopt", '?'}, {"daylight", 0},  {"timezone", 0}, {"signgam", 0}};
    for (auto &row : rows)
        if (name == row.name) {
            uint32_t a = mem.add_global(bytes ? bytes : 4, 4);
            return put_u32(a, row.value), a;
        }
    return 0;
}

namespace {

// The guest's struct tm: nine ints, then offset and zone.
uint64_t put_tm(uint32_t a, const struct tm &t) {
    int v[11] = {t.tm_sec,  t.tm_min,  t.tm_hour,  t.tm_mday, t.tm_mon, t.tm_year,
                 t.tm_wday, t.tm_yday, t.tm_isdst, 0,         0};
    for (uint32_t i = 0; i < 11; i++) put_u32(a + i * 4, uint32_t(v[i]));
    return a;
}
struct tm get_tm(uint32_t a) {
    struct tm t = {};
    int *to[] = {&t.tm_sec,  &t.tm_min,  &t.tm_hour, &t.tm_mday, &t.tm_mon,
                 &t.tm_year, &t.tm_wday, &t.tm_yday, &t.tm_isdst};
    for (uint32_t i = 0; i < 9; i++) *to[i] = int(get_u32(a + i * 4));
    return t;
}
uint32_t static_tm() {
    static uint32_t a = mem.add_global(44, 4);
    return a;
}
// Times are UTC: a run is the same everywhere.
uint64_t split_time(CALL_CONTEXT &c, uint32_t to) {
    time_t t = int32_t(get_u32(c.u32(0)));
    struct tm out;
    gmtime_r(&t, &out);
    return put_tm(to, out);
}
uint64_t do_time(CALL_CONTEXT &c) {
    time_t t = time(nullptr);
    if (c.u32(0)) put_u32(c.u32(0), uint32_t(t));
    return sx(int(t));
}
uint64_t do_mktime(CALL_CONTEXT &c) {
    struct tm t = get_tm(c.u32(0));
    time_t v = timegm(&t);
    put_tm(c.u32(0), t);
    return sx(int(v));
}
uint64_t do_strftime(CALL_CONTEXT &c) {
    struct tm t = get_tm(c.u32(3));
    char buf[1024];
    size_t n = strftime(buf, sizeof buf, guest_string(c.u32(2)).c_str(), &t);
    if (n >= c.u32(1)) return 0;
    put_string(c.u32(0), buf, n + 1);
    return n;
}
uint64_t do_gettimeofday(CALL_CONTEXT &c) {
    put_u32(c.u32(0), uint32_t(time(nullptr)));
    put_u32(c.u32(0) + 4, 0);
    return 0;
}
uint64_t do_clock_gettime(CALL_CONTEXT &c) {
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    put_u32(c.u32(1), uint32_t(ts.tv_sec));
    put_u32(c.u32(1) + 4, uint32_t(ts.tv_nsec));
    return 0;
}
// The time of the user; all else of the 72 bytes is 0. A clock tick is a millionth of a second.
uint64_t do_getrusage(CALL_CONTEXT &c) {
    clock_t ticks = clock();
    memset(guest_bytes(c.u32(1), 72, true), 0, 72);
    put_u32(c.u32(1), uint32_t(ticks / 1000000));
    put_u32(c.u32(1) + 4, uint32_t(ticks % 1000000));
    return 0;
}
uint64_t do_asctime(uint32_t time, uint32_t to) {
    struct tm t = get_tm(time);
    char text[64];
    if (!asctime_r(&t, text)) return 0;
    static uint32_t own = mem.add_global(64, 1);
    put_string(to ? to : own, text, strlen(text) + 1);
    return to ? to : own;
}
uint64_t do_ctime(CALL_CONTEXT &c, uint32_t to) {
    return do_asctime(uint32_t(split_time(c, static_tm())), to);
}
uint64_t do_timespec_get(CALL_CONTEXT &c) {
    put_u32(c.u32(0), uint32_t(time(nullptr)));
    put_u32(c.u32(0) + 4, 0);
    return c.u32(1);
}
uint64_t do_times(CALL_CONTEXT &c) {
    uint32_t ticks = uint32_t(clock() / (CLOCKS_PER_SEC / 100));
    if (c.u32(0))
        for (uint32_t i = 0; i < 4; i++) put_u32(c.u32(0) + 4 * i, i ? 0 : ticks);
    return ticks;
}
uint64_t do_rusage(CALL_CONTEXT &c) {
    memset(guest_bytes(c.u32(1), 72, true), 0, 72);
    put_u32(c.u32(1), uint32_t(clock() / CLOCKS_PER_SEC));
    put_u32(c.u32(1) + 4, uint32_t(clock() % CLOCKS_PER_SEC));
    return 0;
}
// A set of signals is 128 bytes; signal n is bit n - 1.
uint64_t in_set(uint32_t set, int n, int put) {
    if (n < 1 || n > 64) return set_errno(22), sx(-1);
    uint32_t a = set + 4 * uint32_t((n - 1) / 32), bit = 1u << (n - 1) % 32, word = get_u32(a);
    if (put < 0) return word & bit ? 1 : 0;
    put_u32(a, put ? word | bit : word & ~bit);
    return 0;
}
std::unordered_map<int, uint32_t> handlers;
uint64_t do_signal(CALL_CONTEXT &c) {
    uint32_t old = handlers[c.i32(0)];
    handlers[c.i32(0)] = c.u32(1);
    return old;
}
uint64_t raise_signal(int n) {
    uint32_t h = handlers[n];
    if (h == 1) return 0;
    if (h) {
        call_guest(h, {uint64_t(uint32_t(n))});
        return 0;
    }
    if (n == 17 || n == 18 || n == 23 || n == 28)
        return 0; // children, continued, urgent data, window: ignored
    fflush(nullptr);
    throw EXIT_PROGRAM{128 + n};
}
uint64_t do_kill(CALL_CONTEXT &c) {
    if (c.i32(0) > 1) return set_errno(3), sx(-1); // there is no other process
    return c.i32(1) ? raise_signal(c.i32(1)) : 0;
}
uint64_t do_sigaction(CALL_CONTEXT &c) {
    uint32_t &handler = handlers[c.i32(0)];
    if (c.u32(2)) put_u32(c.u32(2), handler);
    if (c.u32(1)) handler = get_u32(c.u32(1));
    return 0;
}
// struct lconv: ten strings, of which the decimal point has a character, then fourteen unknown small numbers.
uint64_t do_localeconv(CALL_CONTEXT &) {
    static uint32_t a = 0;
    if (a) return a;
    a = mem.add_global(56, 4);
    uint32_t text = mem.add_global(4, 1);
    mem.base[text] = '.';
    for (uint32_t i = 0; i < 10; i++) put_u32(a + 4 * i, i ? text + 1 : text);
    memset(mem.base + a + 40, 127, 14);
    return a;
}
uint64_t nothing(CALL_CONTEXT &) { return 0; }
uint64_t empty_text(CALL_CONTEXT &) {
    static uint32_t a = mem.add_global(2, 1);
    mem.base[a] = 'C';
    return a;
}

} // namespace

// clang-format off
const LIBRARY_ROW library_misc[] = {
    {"time", do_time},
    {"clock", FN(uint64_t(clock()))},
    {"difftime", FN(from_f64(double(c.i32(0)) - c.i32(1)))},
    {"gmtime", FN(split_time(c, static_tm()))},
    {"localtime", FN(split_time(c, static_tm()))},
    {"gmtime_r", FN(split_time(c, c.u32(1)))},
    {"localtime_r", FN(split_time(c, c.u32(1)))},
    {"mktime", do_mktime},
    {"strftime", do_strftime},
    {"gettimeofday", do_gettimeofday},
    {"clock_gettime", do_clock_gettime},
    {"getrusage", do_getrusage},
    {"signal", do_signal},
    {"raise", FN(raise_signal(c.i32(0)))},
    {"kill", do_kill},
    {"sigemptyset", DO(memset(guest_bytes(c.u32(0), 128, true), 0, 128); return 0;)},
    {"sigfillset", DO(memset(guest_bytes(c.u32(0), 128, true), 255, 128); return 0;)},
    {"sigaddset", FN(in_set(c.u32(0), c.i32(1), 1))},
    {"sigdelset", FN(in_set(c.u32(0), c.i32(1), 0))},
    {"sigismember", FN(in_set(c.u32(0), c.i32(1), -1))},
    {"asctime", FN(do_asctime(c.u32(0), 0))},
    {"asctime_r", FN(do_asctime(c.u32(0), c.u32(1)))},
    {"ctime", FN(do_ctime(c, 0))},
    {"ctime_r", FN(do_ctime(c, c.u32(1)))},
    {"timegm", do_mktime},
    {"timespec_get", do_timespec_get},
    {"times", do_times},
    {"getrusage", do_rusage},
    {"clock_getres", DO(if (c.u32(1)) put_u64(c.u32(1), uint64_t(run_options.big_endian ? 1 : 1ull << 32)); return 0;)},
    {"nanosleep", nothing},
    {"clock_nanosleep", nothing},
    {"setlocale", empty_text},
    {"localeconv", do_localeconv},
    {"sigaction", do_sigaction},
    {"getpid", FN(1)},
    {"sleep", FN(0)},
    {"usleep", FN(0)},
    // Nothing to do for the one thread that runs.
    {"sigprocmask", nothing},
    {"alarm", nothing},
    {"pthread_mutex_init", nothing},
    {"pthread_mutex_lock", nothing},
    {"pthread_mutex_trylock", nothing},
    {"pthread_mutex_unlock", nothing},
    {"pthread_mutex_destroy", nothing},
    {"pthread_mutexattr_init", nothing},
    {"pthread_mutexattr_settype", nothing},
    {"pthread_mutexattr_destroy", nothing},
    {"sched_yield", nothing},
    {"flockfile", nothing},
    {"funlockfile", nothing},
    {"tzset", nothing},
    {nullptr, nullptr},
};
// clang-format on
