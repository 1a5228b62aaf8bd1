// unistd.h, fcntl.h, sys/stat.h, sys/mman.h: descriptors and names of files are the host's.
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/exec/library.h"

namespace {

// The answer of a host call; a failure sets the program's errno.
uint64_t answer(int64_t v) {
    if (v < 0) set_errno(errno);
    return uint64_t(v);
}
std::string name(CALL_CONTEXT &c, unsigned i) { return guest_string(c.u32(i)); }

// The flags whose numbers the ARM kernel chose differently.
const struct {
    int arm, host;
} open_flags[] = {{040000, O_DIRECTORY}, {0100000, O_NOFOLLOW}, {0200000, O_DIRECT}, {0400000, 0}};

uint64_t do_open(CALL_CONTEXT &c) {
    int flags = c.i32(1), host = flags & 037777;
    for (auto &row : open_flags)
        if (flags & row.arm) host |= row.host;
    if (flags & 02000000) host |= O_CLOEXEC;
    return answer(open(name(c, 0).c_str(), host, c.u32(2)));
}
uint64_t do_write(CALL_CONTEXT &c) {
    fflush(nullptr); // what the program printed before comes first
    return answer(write(c.i32(0), guest_bytes(c.u32(1), c.u32(2), false), c.u32(2)));
}
uint64_t do_read(CALL_CONTEXT &c) {
    return answer(read(c.i32(0), guest_bytes(c.u32(1), c.u32(2), true), c.u32(2)));
}
template <bool wide_offset> uint64_t do_pread(CALL_CONTEXT &c) {
    off_t at = wide_offset ? off_t(c.u64(3)) : c.i32(3);
    return answer(pread(c.i32(0), guest_bytes(c.u32(1), c.u32(2), true), c.u32(2), at));
}
template <bool wide_offset> uint64_t do_pwrite(CALL_CONTEXT &c) {
    off_t at = wide_offset ? off_t(c.u64(3)) : c.i32(3);
    return answer(pwrite(c.i32(0), guest_bytes(c.u32(1), c.u32(2), false), c.u32(2), at));
}

// Maps are copies: private, and a file's bytes are read once. Protection is not kept.
uint64_t do_mmap(CALL_CONTEXT &c, int64_t offset) {
    constexpr uint32_t fixed = 0x10, anonymous = 0x20;
    uint32_t bytes = (c.u32(1) + 4095) & ~4095u, flags = c.u32(3), a = 0;
    if (!bytes || bytes < c.u32(1)) return set_errno(EINVAL), 0xFFFFFFFF;
    if (!(flags & fixed)) a = mem.heap_alloc(bytes, 4096);
    else if (mem.map_at(c.u32(0), bytes)) a = c.u32(0);
    if (!a) return set_errno(ENOMEM), 0xFFFFFFFF;
    memset(mem.base + a, 0, bytes);
    if (run_options.check_init) mem.mark_written(a, bytes);
    if (!(flags & anonymous) && pread(c.i32(4), mem.base + a, c.u32(1), offset) < 0) {
        set_errno(errno);
        if (!(flags & fixed)) mem.heap_free(a);
        return 0xFFFFFFFF;
    }
    return a;
}
uint64_t do_munmap(CALL_CONTEXT &c) {
    uint32_t a = c.u32(0), bytes = (c.u32(1) + 4095) & ~4095u;
    if ((a & 4095) || !bytes) return set_errno(EINVAL), answer(-1);
    if (mem.heap_size(a) == bytes) mem.heap_free(a);
    else mem.poison(a, bytes, SHADOW_FREED);
    return 0;
}

uint64_t do_gethostname(CALL_CONTEXT &c) {
    if (c.u32(1) < 6) return set_errno(ENAMETOOLONG), sx(-1);
    put_string(c.u32(0), "qlrun", 6);
    return 0;
}
uint64_t do_mkdtemp(CALL_CONTEXT &c) {
    std::string s = name(c, 0);
    if (!mkdtemp(s.data())) return set_errno(errno), 0;
    put_string(c.u32(0), s.c_str(), s.size());
    return c.u32(0);
}

uint64_t do_getcwd(CALL_CONTEXT &c) {
    char buf[4096];
    if (!getcwd(buf, sizeof buf)) return set_errno(errno), 0;
    size_t n = strlen(buf) + 1;
    if (n > c.u32(1)) return set_errno(ERANGE), 0;
    put_string(c.u32(0), buf, n);
    return c.u32(0);
}
uint64_t do_mkstemp(CALL_CONTEXT &c) {
    std::string s = name(c, 0);
    int fd = mkstemp(s.data());
    if (fd >= 0) put_string(c.u32(0), s.c_str(), s.size());
    return answer(fd);
}

// The two forms of struct stat, with 32 and 64 bits of size and serial number.
uint64_t put_stat(uint32_t a, const struct stat &s, int status, bool large) {
    if (status) return answer(status);
    memset(guest_bytes(a, large ? 104 : 88, true), 0, large ? 104 : 88);
    put_u64(a, s.st_dev);
    put_u32(a + 12, uint32_t(s.st_ino));
    const uint32_t words[] = {s.st_mode, uint32_t(s.st_nlink), s.st_uid, s.st_gid};
    for (uint32_t i = 0; i < 4; i++) put_u32(a + 16 + 4 * i, words[i]);
    put_u64(a + 32, s.st_rdev);
    if (large) {
        put_u64(a + 48, uint64_t(s.st_size));
        put_u32(a + 56, uint32_t(s.st_blksize));
        put_u64(a + 64, uint64_t(s.st_blocks));
        put_u64(a + 96, s.st_ino);
    } else {
        put_u32(a + 44, uint32_t(s.st_size));
        put_u32(a + 48, uint32_t(s.st_blksize));
        put_u32(a + 52, uint32_t(s.st_blocks));
    }
    const struct timespec *times[] = {&s.st_atim, &s.st_mtim, &s.st_ctim};
    for (uint32_t i = 0; i < 3; i++) {
        put_u32(a + (large ? 72 : 56) + 8 * i, uint32_t(times[i]->tv_sec));
        put_u32(a + (large ? 76 : 60) + 8 * i, uint32_t(times[i]->tv_nsec));
    }
    return 0;
}
template <bool large> uint64_t do_stat(CALL_CONTEXT &c) {
    struct stat s;
    int status = stat(name(c, 0).c_str(), &s);
    return put_stat(c.u32(1), s, status, large);
}
template <bool large> uint64_t do_lstat(CALL_CONTEXT &c) {
    struct stat s;
    int status = lstat(name(c, 0).c_str(), &s);
    return put_stat(c.u32(1), s, status, large);
}
template <bool large> uint64_t do_fstat(CALL_CONTEXT &c) {
    struct stat s;
    int status = fstat(c.i32(0), &s);
    return put_stat(c.u32(1), s, status, large);
}

} // namespace

// clang-format off
const LIBRARY_ROW library_unix[] = {
    {"open",        do_open},
    {"open64",      do_open},
    {"creat",       FN(answer(creat(name(c, 0).c_str(), c.u32(1))))},
    {"close",       FN(answer(close(c.i32(0))))},
    {"read",        do_read},
    {"write",       do_write},
    {"lseek",       FN(answer(lseek(c.i32(0), c.i32(1), c.i32(2))))},
    {"lseek64",     FN(answer(lseek(c.i32(0), int64_t(c.u64(1)), c.i32(2))))},
    {"dup",         FN(answer(dup(c.i32(0))))},
    {"dup2",        DO(fflush(nullptr); return answer(dup2(c.i32(0), c.i32(1)));)},
    {"fsync",       FN(answer(fsync(c.i32(0))))},
    {"ftruncate",   FN(answer(ftruncate(c.i32(0), c.i32(1))))},
    {"ftruncate64", FN(answer(ftruncate(c.i32(0), int64_t(c.u64(1)))))},
    {"isatty",      FN(0)},
    {"access",      FN(answer(access(name(c, 0).c_str(), c.i32(1))))},
    {"unlink",      FN(answer(unlink(name(c, 0).c_str())))},
    {"mkdir",       FN(answer(mkdir(name(c, 0).c_str(), c.u32(1))))},
    {"rmdir",       FN(answer(rmdir(name(c, 0).c_str())))},
    {"chdir",       FN(answer(chdir(name(c, 0).c_str())))},
    {"chmod",       FN(answer(chmod(name(c, 0).c_str(), c.u32(1))))},
    {"getcwd",      do_getcwd},
    {"mkstemp",     do_mkstemp},
    {"mkstemp64",   do_mkstemp},
    {"stat",        do_stat<false>},
    {"stat64",      do_stat<true>},
    {"lstat",       do_lstat<false>},
    {"lstat64",     do_lstat<true>},
    {"fstat",       do_fstat<false>},
    {"fstat64",     do_fstat<true>},
    {"getuid",      FN(getuid())},
    {"geteuid",     FN(geteuid())},
    {"getgid",      FN(getgid())},
    {"getegid",     FN(getegid())},
    {"umask",       FN(umask(c.u32(0)))},
    {"sysconf",     FN(c.i32(0) == 30 ? 4096 : uint64_t(-1))}, // the size of a page
    {"getpagesize", FN(4096)},
    {"mmap",        FN(do_mmap(c, int64_t(c.u32(5))))},
    {"mmap64",      FN(do_mmap(c, int64_t(c.u64(5))))},
    {"munmap",      do_munmap},
    {"mprotect",    FN(0)},
    {"msync",       FN(0)},
    {"madvise",     FN(0)},
    {"pread",       do_pread<false>},
    {"pread64",     do_pread<true>},
    {"pwrite",      do_pwrite<false>},
    {"pwrite64",    do_pwrite<true>},
    {"fdatasync",   FN(answer(fdatasync(c.i32(0))))},
    {"truncate",    FN(answer(truncate(name(c, 0).c_str(), c.i32(1))))},
    {"link",        FN(answer(link(name(c, 0).c_str(), name(c, 1).c_str())))},
    {"symlink",     FN(answer(symlink(name(c, 0).c_str(), name(c, 1).c_str())))},
    {"fchmod",      FN(answer(fchmod(c.i32(0), c.u32(1))))},
    {"gethostname", do_gethostname},
    {"getppid",     FN(0)},
    {"mkdtemp",     do_mkdtemp},
    {nullptr, nullptr},
};
// clang-format on
