#include "support/pool.h"

#include <sys/mman.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/fatal.h"
#include "support/near.h"
#include "support/safealloc.h"

namespace {

constexpr size_t CACHE_LINE = 64;
constexpr size_t FIRST_REGION = 64 * 1024;      // small programs stay small
constexpr size_t LAST_REGION = 2 * 1024 * 1024; // they double until they have this size

char *region, *region_end;
size_t next_size = FIRST_REGION;

[[noreturn]] void out_of_memory() {
    safemalloc(~size_t{0} / 2); // says so, and exits
    abort();
}

#if POOL_IS_HEAP
// A region begins with the one before it, so that leak checkers can reach all of them.
struct REGION_HEAD {
    REGION_HEAD *before;
};
static_assert(sizeof(REGION_HEAD) <= CACHE_LINE);
REGION_HEAD *last_region;

char *new_region(size_t size) {
    char *memory = static_cast<char *>(aligned_alloc(CACHE_LINE, size));
    if (!memory) out_of_memory();
    REGION_HEAD *head = reinterpret_cast<REGION_HEAD *>(memory);
    head->before = last_region;
    last_region = head;
    return memory;
}
#else
// Where regions go: above what 32-bit code and data of a program without relocation may take, below what 36 bits name.
constexpr uintptr_t NEAR_BEGIN = uintptr_t{4} << 30, NEAR_END = uintptr_t{64} << 30;
constexpr uintptr_t STEP = uintptr_t{16} << 20; // over what is mapped there already
uintptr_t next_address = NEAR_BEGIN;

// The pages are asked for at once, since they are all used: a fault for each costs more than clearing it.
char *new_region(size_t size) {
    for (; next_address + size <= NEAR_END; next_address += STEP) {
        void *place = reinterpret_cast<void *>(next_address);
        void *memory = mmap(place, size, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE | MAP_FIXED_NOREPLACE, -1, 0);
        if (memory == place) {
            next_address += size;
            return static_cast<char *>(memory);
        }
        if (memory != MAP_FAILED) munmap(memory, size); // a system that takes the place as a hint
        else if (errno != EEXIST) break;
    }
    out_of_memory();
}
#endif

void add_region(size_t least) {
    size_t size = next_size;
    if (next_size < LAST_REGION) next_size *= 2;
    while (size < least + CACHE_LINE) size *= 2;
    region = new_region(size);
    region_end = region + size;
    region += CACHE_LINE;
}

} // namespace

void *slab_memory(size_t bytes) {
    bytes = (bytes + CACHE_LINE - 1) / CACHE_LINE * CACHE_LINE;
    if (size_t(region_end - region) < bytes) add_region(bytes);
    void *memory = region;
    region += bytes;
    return memory;
}

const char *keep_text(const char *text) {
    constexpr size_t CHUNK = 16 * 1024;
    static char *chunk, *chunk_end;
    size_t bytes = strlen(text) + 1;
    char *copy;
    if (bytes > CHUNK / 8) {
        copy = static_cast<char *>(slab_memory(bytes));
    } else {
        if (size_t(chunk_end - chunk) < bytes) {
            chunk = static_cast<char *>(slab_memory(CHUNK));
            chunk_end = chunk + CHUNK;
        }
        copy = chunk;
        chunk += bytes;
    }
    memcpy(copy, text, bytes);
    return copy;
}

void near_fault(const void *p) {
    char text[60];
    snprintf(text, sizeof text, "%p is no record of a pool", p);
    abort_optimizer(text);
}
