#include "support/pool.h"

#include <cstdlib>

#include "support/safealloc.h"

namespace {

constexpr size_t CACHE_LINE = 64;
constexpr size_t FIRST_REGION = 64 * 1024;      // small programs stay small
constexpr size_t LAST_REGION = 2 * 1024 * 1024; // they double until they have this size

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
    if (next_size < LAST_REGION) next_size *= 2;
    while (size < least + CACHE_LINE) size *= 2;
    region = static_cast<char *>(aligned_alloc(CACHE_LINE, size));
    if (!region) safemalloc(~size_t{0} / 2); // says that memory is out, and exits
    region_end = region + size;
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
