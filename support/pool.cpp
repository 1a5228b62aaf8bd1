#include "support/pool.h"

#include <sys/mman.h>

#include <cstdlib>

#include "support/safealloc.h"

namespace {

constexpr size_t CACHE_LINE = 64;
constexpr size_t FIRST_REGION = 64 * 1024;    // small programs stay small
constexpr size_t HUGE_PAGE = 2 * 1024 * 1024; // regions double until they have this size

// A region begins with the one before it, so that leak checkers can reach all of them.
struct REGION_HEAD {
    REGION_HEAD *before;
};
static_assert(sizeof(REGION_HEAD) <= CACHE_LINE);

REGION_HEAD *last_region;
char *region, *region_end;
size_t next_size = FIRST_REGION;

void add_region(size_t least) {
    size_t size = next_size;
    if (next_size < HUGE_PAGE) next_size *= 2;
    while (size < least + CACHE_LINE) size *= 2;
    size_t alignment = size >= HUGE_PAGE ? HUGE_PAGE : CACHE_LINE;
    region = static_cast<char *>(aligned_alloc(alignment, size));
    if (!region) safemalloc(~size_t{0} / 2); // says that memory is out, and exits
    region_end = region + size;
    if (size >= HUGE_PAGE) madvise(region, size, MADV_HUGEPAGE); // a wish; it may be refused
    REGION_HEAD *head = reinterpret_cast<REGION_HEAD *>(region);
    head->before = last_region;
    last_region = head;
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
