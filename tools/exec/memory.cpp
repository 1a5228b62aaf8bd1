#include "tools/exec/memory.h"

#include <cstdio>
#include <cstdlib>
#include <sys/mman.h>

MEMORY mem;

namespace {

uint8_t *map_lazily(uint64_t bytes) {
    void *p =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (p == MAP_FAILED) {
        fputs("qlrun: cannot reserve address space\n", stderr);
        exit(125);
    }
    return static_cast<uint8_t *>(p);
}

constexpr uint32_t round_up(uint32_t n, uint32_t to) { return (n + to - 1) & ~(to - 1); }

} // namespace

void MEMORY::reserve() {
    base = map_lazily(uint64_t(1) << 32);
    shadow = map_lazily((uint64_t(1) << 32) / 8);
    if (track_init) written = map_lazily((uint64_t(1) << 32) / 8);
}

bool MEMORY::ok_slow(uint32_t a, uint64_t n) const {
    uint64_t end = uint64_t(a) + n;
    if (end > 0x100000000ull) return false;
    for (uint64_t g = a >> 3; g <= (end - 1) >> 3; g++) {
        uint8_t s = shadow[g];
        if (s == SHADOW_OK) continue;
        uint64_t need = end < (g + 1) << 3 ? end : (g + 1) << 3;
        if (s > 8 || need > (g << 3) + s) return false;
    }
    return true;
}

std::string MEMORY::explain(uint32_t a, uint64_t n) const {
    char text[160];
    uint8_t s = shadow[a >> 3];
    for (uint64_t at = a; at < uint64_t(a) + n && at < 0x100000000ull; at++) {
        s = shadow[at >> 3];
        if (s > 8 || (at & 7) >= s) break;
    }
    const char *why = "outside every object";
    if (a < 4096) why = "through a null pointer";
    else if (a < GLOBAL_BASE) why = "inside the code";
    else if (s == SHADOW_RED_GLOBAL) why = "outside a global object";
    else if (s == SHADOW_RED_HEAP) why = "outside a heap block";
    else if (s == SHADOW_FREED) why = "in a freed heap block";
    else if (s == SHADOW_RED_STACK) why = "outside a local variable";
    else if (a >= STACK_TOP - STACK_SIZE && a < STACK_TOP) why = "in the unused stack";
    else if (s && s < 8) why = "past the end of an object";
    snprintf(text, sizeof text, "%llu bytes at 0x%08x, %s", static_cast<unsigned long long>(n), a, why);
    return text;
}

void MEMORY::unpoison(uint32_t a, uint32_t n) {
    memset(shadow + (a >> 3), SHADOW_OK, n >> 3);
    if (n & 7) shadow[(a + n) >> 3] = uint8_t(n & 7);
}

void MEMORY::poison(uint32_t a, uint32_t n, uint8_t why) { memset(shadow + (a >> 3), why, n >> 3); }

// The strings of a function come when it is first entered, which may be after the heap has begun: what does not fit below
// the heap's first block is carved from the heap's end.
uint32_t MEMORY::add_global(uint32_t bytes, uint32_t align) {
    if (align < 8) align = 8;
    uint64_t room = round_up(bytes ? bytes : 1, 8) + 16;
    uint32_t *next = heap_next && round_up(global_next, align) + room > heap_base ? &heap_next : &global_next;
    uint32_t a = round_up(*next, align);
    uint64_t end = a + room;
    if (end > (next == &heap_next ? heap_end : STACK_TOP - STACK_SIZE)) {
        fputs("qlrun: the program's objects do not fit the address space\n", stderr);
        exit(125);
    }
    poison(*next & ~7u, uint32_t(end) - (*next & ~7u), SHADOW_RED_GLOBAL);
    unpoison(a, bytes);
    *next = uint32_t(end);
    if (track_init) mark_written(a, bytes);
    return a;
}

uint32_t MEMORY::heap_alloc(uint32_t bytes, uint32_t align) {
    if (!heap_next) heap_next = heap_base = round_up(global_next + 4096, 4096);
    if (bytes > 0xC0000000u) return 0;
    uint32_t room = round_up(bytes ? bytes : 1, 8) + 16;
    uint32_t a = 0;
    if (align <= 8) {
        auto it = free_blocks.lower_bound(room);
        if (it != free_blocks.end() && it->first <= room + room / 8 + 64) {
            a = it->second.back();
            room = it->first;
            it->second.pop_back();
            if (it->second.empty()) free_blocks.erase(it);
        }
    }
    if (!a) {
        a = round_up(heap_next, align < 8 ? 8 : align);
        if (uint64_t(a) + room > heap_end) return 0;
        poison(heap_next, a - heap_next, SHADOW_RED_HEAP);
        heap_next = a + room;
    }
    poison(a, room, SHADOW_RED_HEAP);
    unpoison(a, bytes);
    blocks[a] = {bytes, room, true};
    live_bytes += bytes;
    if (track_init) mark_unwritten(a, bytes);
    return a;
}

bool MEMORY::map_at(uint32_t a, uint32_t bytes) {
    if (!heap_next) heap_next = heap_base = round_up(global_next + 4096, 4096);
    if (a % 4096 || a < heap_next || uint64_t(a) + bytes > STACK_TOP - STACK_SIZE - 4096) return false;
    unpoison(a, bytes);
    if (a < heap_end) heap_end = a;
    return true;
}

bool MEMORY::heap_free(uint32_t a) {
    auto it = blocks.find(a);
    if (it == blocks.end() || !it->second.live) return false;
    it->second.live = false;
    live_bytes -= it->second.size;
    poison(a, it->second.room, SHADOW_FREED);
    quarantine.push_back(a);
    quarantine_bytes += it->second.room;
    while (quarantine_bytes > QUARANTINE) {
        uint32_t old = quarantine.front();
        quarantine.pop_front();
        BLOCK &b = blocks[old];
        quarantine_bytes -= b.room;
        free_blocks[b.room].push_back(old);
    }
    return true;
}

uint32_t MEMORY::heap_size(uint32_t a) const {
    auto it = blocks.find(a);
    return it == blocks.end() || !it->second.live ? ~0u : it->second.size;
}

void MEMORY::mark_written(uint32_t a, uint64_t n) {
    for (uint64_t i = a; i < uint64_t(a) + n; i++) {
        if (!(i & 7) && i + 8 <= uint64_t(a) + n) written[i >> 3] = 0xFF, i += 7;
        else written[i >> 3] = uint8_t(written[i >> 3] | 1u << (i & 7));
    }
}

void MEMORY::mark_unwritten(uint32_t a, uint64_t n) {
    for (uint64_t i = a; i < uint64_t(a) + n; i++) {
        if (!(i & 7) && i + 8 <= uint64_t(a) + n) written[i >> 3] = 0, i += 7;
        else written[i >> 3] = uint8_t(written[i >> 3] & ~(1u << (i & 7)));
    }
}

bool MEMORY::is_written(uint32_t a, uint32_t n) const {
    for (uint32_t i = a; i < a + n; i++)
        if (!(written[i >> 3] >> (i & 7) & 1)) return false;
    return true;
}
