// What a command-line program asks for besides files: getopt.h, err.h, libgen.h, dirent.h, and its environment, which
// starts empty: a run is the same everywhere.
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <getopt.h>
#include <map>
#include <unistd.h>

#include "tools/exec/library.h"

namespace {

// --- options ---

uint32_t option_object(const char *name) {
    auto it = program.objects.find(name);
    return it != program.objects.end() ? it->second : library_object(name, 4);
}

// The host's function on the guest's strings where they lie, so that what it remembers between calls stays true.
uint64_t parse_options(CALL_CONTEXT &c, bool long_ones, bool one_dash) {
    static const uint32_t arg = option_object("optarg"), ind = option_object("optind"),
                          err = option_object("opterr"), opt = option_object("optopt");
    auto host = [](uint32_t a) { return guest_strlen(a), reinterpret_cast<char *>(mem.base + a); };
    auto guest = [](const char *p) { return uint32_t(reinterpret_cast<const uint8_t *>(p) - mem.base); };
    uint32_t count = c.u32(0), vector = c.u32(1), table = c.u32(3);
    std::vector<char *> words;
    for (uint32_t i = 0; i < count; i++) words.push_back(host(get_u32(vector + 4 * i)));
    words.push_back(nullptr);
    // Rows of 16 bytes: name, whether there is an argument, where a flag goes, value.
    std::vector<struct option> rows;
    for (uint32_t a = table; long_ones && table && get_u32(a); a += 16)
        rows.push_back({host(get_u32(a)), int(get_u32(a + 4)), nullptr, int(get_u32(a + 12))});
    rows.push_back({});
    int index = -1;
    std::string shorts = guest_string(c.u32(2));
    optind = int(get_u32(ind)), opterr = int(get_u32(err)), optarg = nullptr;
    fflush(stdout);
    int answer = !long_ones ? getopt(int(count), words.data(), shorts.c_str())
                 : one_dash ? getopt_long_only(int(count), words.data(), shorts.c_str(), rows.data(), &index)
                            : getopt_long(int(count), words.data(), shorts.c_str(), rows.data(), &index);
    for (uint32_t i = 0; i < count; i++) put_u32(vector + 4 * i, guest(words[i]));
    put_u32(ind, uint32_t(optind)), put_u32(opt, uint32_t(optopt));
    put_u32(arg, optarg ? guest(optarg) : 0);
    if (index < 0 || answer == '?' || answer == ':') return sx(answer);
    if (c.u32(4)) put_u32(c.u32(4), uint32_t(index));
    uint32_t flag = get_u32(table + 16 * uint32_t(index) + 8);
    if (!flag) return sx(answer);
    put_u32(flag, uint32_t(rows[uint32_t(index)].val));
    return 0;
}

// --- messages ---

// The program's name, a formatted text and what errno says; -1: no exit.
uint64_t message(int status, uint32_t format, VARARGS args, bool with_errno) {
    int e = int(get_u32(guest_errno_address()));
    std::string text = format ? format_guest(format, args) : "";
    fflush(stdout);
    fprintf(stderr, "%s: %s", program.name.c_str(), text.c_str());
    if (with_errno) fprintf(stderr, "%s%s", format ? ": " : "", strerror(e));
    fputc('\n', stderr);
    if (status >= 0) throw EXIT_PROGRAM{status};
    return 0;
}

// --- the environment ---

std::map<std::string, uint32_t> environment; // name: guest address of the value

uint64_t do_getenv(CALL_CONTEXT &c) {
    auto it = environment.find(guest_string(c.u32(0)));
    return it == environment.end() ? 0 : it->second;
}
uint64_t do_setenv(CALL_CONTEXT &c) {
    std::string name = guest_string(c.u32(0)), value = guest_string(c.u32(1));
    if (name.empty() || name.find('=') != std::string::npos) return set_errno(EINVAL), sx(-1);
    if (environment.count(name) && !c.u32(2)) return 0;
    uint32_t a = mem.heap_alloc(uint32_t(value.size()) + 1);
    put_string(a, value.c_str(), value.size() + 1);
    environment[name] = a;
    return 0;
}
uint64_t do_putenv(CALL_CONTEXT &c) {
    std::string s = guest_string(c.u32(0));
    size_t eq = s.find('=');
    if (eq == std::string::npos) environment.erase(s);
    else environment[s.substr(0, eq)] = c.u32(0) + uint32_t(eq) + 1;
    return 0;
}

// --- names of files ---

// The last part of a path, or what is before it; the string is cut in place.
uint64_t last_part(uint32_t a) {
    static const uint32_t dot = mem.add_global(2, 1);
    mem.base[dot] = '.';
    if (!a || !*guest_bytes(a, 1, false)) return dot;
    uint32_t n = guest_strlen(a);
    while (n > 1 && mem.base[a + n - 1] == '/') mem.base[a + --n] = 0;
    uint32_t from = n;
    while (from && mem.base[a + from - 1] != '/') from--;
    return from == n ? a : a + from;
}
uint64_t part_before(uint32_t a) {
    static const uint32_t dot = mem.add_global(2, 1);
    mem.base[dot] = '.';
    if (!a) return dot;
    uint32_t n = guest_strlen(a);
    while (n > 1 && mem.base[a + n - 1] == '/') n--;
    while (n && mem.base[a + n - 1] != '/') n--;
    if (!n) return dot;
    while (n > 1 && mem.base[a + n - 1] == '/') n--;
    mem.base[a + n] = 0;
    return a;
}
uint64_t do_realpath(CALL_CONTEXT &c) {
    char *path = realpath(guest_string(c.u32(0)).c_str(), nullptr);
    if (!path) return set_errno(errno), 0;
    size_t n = strlen(path) + 1;
    uint32_t to = c.u32(1) ? c.u32(1) : mem.heap_alloc(uint32_t(n));
    put_string(to, path, n);
    free(path);
    return to;
}
uint64_t do_readlink(CALL_CONTEXT &c) {
    ssize_t n = readlink(guest_string(c.u32(0)).c_str(), guest_bytes(c.u32(1), c.u32(2), true), c.u32(2));
    if (n < 0) set_errno(errno);
    return uint64_t(n);
}

// --- directories ---

std::map<uint32_t, DIR *>
    directories; // by handle: the guest's struct dirent, which one call after the other fills

uint64_t do_opendir(CALL_CONTEXT &c) {
    DIR *d = opendir(guest_string(c.u32(0)).c_str());
    if (!d) return set_errno(errno), 0;
    uint32_t handle = mem.heap_alloc(280);
    directories[handle] = d;
    return handle;
}
DIR *directory(CALL_CONTEXT &c) {
    auto it = directories.find(c.u32(0));
    if (it == directories.end()) fault("0x%08x is no open directory", c.u32(0));
    return it->second;
}
// Serial number, offset, length of the record, kind, name; with 32 or 64 bits of the first two.
template <bool large> uint64_t do_readdir(CALL_CONTEXT &c) {
    struct dirent *e = readdir(directory(c));
    if (!e) return 0;
    uint32_t a = c.u32(0), at = large ? 16 : 8, n = uint32_t(strlen(e->d_name)) + 1;
    guest_bytes(a, at + 3 + n, true);
    if (large) put_u64(a, e->d_ino), put_u64(a + 8, 0);
    else put_u32(a, uint32_t(e->d_ino)), put_u32(a + 4, 0);
    store_scalar_checked(SK_u16, a + at, at + 3 + n);
    mem.base[a + at + 2] = e->d_type;
    put_string(a + at + 3, e->d_name, n);
    return a;
}
uint64_t do_closedir(CALL_CONTEXT &c) {
    int status = closedir(directory(c));
    directories.erase(c.u32(0));
    mem.heap_free(c.u32(0));
    return sx(status);
}

} // namespace

// clang-format off
const LIBRARY_ROW library_program[] = {
    {"getopt",           FN(parse_options(c, false, false))},
    {"getopt_long",      FN(parse_options(c, true, false))},
    {"getopt_long_only", FN(parse_options(c, true, true))},
    {"err",              FN(message(c.i32(0), c.u32(1), varargs_of(c, 2), true))},
    {"errx",             FN(message(c.i32(0), c.u32(1), varargs_of(c, 2), false))},
    {"verr",             FN(message(c.i32(0), c.u32(1), varargs_in(c, 2), true))},
    {"verrx",            FN(message(c.i32(0), c.u32(1), varargs_in(c, 2), false))},
    {"warn",             FN(message(-1, c.u32(0), varargs_of(c, 1), true))},
    {"warnx",            FN(message(-1, c.u32(0), varargs_of(c, 1), false))},
    {"vwarn",            FN(message(-1, c.u32(0), varargs_in(c, 1), true))},
    {"vwarnx",           FN(message(-1, c.u32(0), varargs_in(c, 1), false))},
    {"getenv",           do_getenv},
    {"secure_getenv",    do_getenv},
    {"setenv",           do_setenv},
    {"putenv",           do_putenv},
    {"unsetenv",         FN(environment.erase(guest_string(c.u32(0))), 0)},
    {"clearenv",         FN(environment.clear(), 0)},
    {"basename",         FN(last_part(c.u32(0)))},
    {"__xpg_basename",   FN(last_part(c.u32(0)))},
    {"dirname",          FN(part_before(c.u32(0)))},
    {"realpath",         do_realpath},
    {"readlink",         do_readlink},
    {"opendir",          do_opendir},
    {"readdir",          do_readdir<false>},
    {"readdir64",        do_readdir<true>},
    {"rewinddir",        DO(rewinddir(directory(c)); return 0;)},
    {"closedir",         do_closedir},
    {nullptr, nullptr},
};
// clang-format on
