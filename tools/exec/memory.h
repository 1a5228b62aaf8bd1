// The memory of the program that runs: a 32-bit address space inside the interpreter.
//
// 4 GiB of address space are reserved and touched lazily; guest address a lies at base + a. A shadow byte for each 8
// guest bytes says how many of them may be used (8: all; 1 to 7: the first ones; else none, and why), after the
// shadow memory of Serebryany et al., "AddressSanitizer" (2012), inverted so that untouched pages are unusable. Objects are separated by at least one unusable 8-byte
// granule. Freed heap blocks stay unusable until QUARANTINE bytes were freed after them.
//
// Regions: code 0x8000 (one address per function, no bytes), globals from 0x00100000, heap above, stack down from
// 0xF0000000.
#pragma once

#include <cstdint>
#include <cstring>
#include <deque>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

enum SHADOW : uint8_t {
    SHADOW_UNMAPPED = 0,
    SHADOW_OK = 8,
    SHADOW_RED_GLOBAL = 0xF9,
    SHADOW_RED_HEAP = 0xFA,
    SHADOW_FREED = 0xFD,
    SHADOW_RED_STACK = 0xF1,
    SHADOW_STACK_FREE = 0xF5,
};

constexpr uint32_t CODE_BASE = 0x8000, CODE_STEP = 16;
constexpr uint32_t GLOBAL_BASE = 0x00100000;
constexpr uint32_t STACK_TOP = 0xF0000000, STACK_SIZE = 256u << 20;
constexpr uint32_t QUARANTINE = 16u << 20;

struct MEMORY {
    uint8_t *base = nullptr;   // host address of guest address 0
    uint8_t *shadow = nullptr; // by guest address >> 3

    void reserve();

    // Whether [a, a + n) may be used, for n of 1, 2, 4 or 8 that does not cross more than two granules.
    bool ok(uint32_t a, uint32_t n) const {
        uint8_t s = shadow[a >> 3];
        uint32_t last = (a & 7) + n;
        if (__builtin_expect(s == SHADOW_OK && last <= 8, 1)) return true;
        return ok_slow(a, n);
    }
    bool ok_range(uint32_t a, uint64_t n) const { return n == 0 || ok_slow(a, n); }
    // Why an access is wrong, for the message.
    std::string explain(uint32_t a, uint64_t n) const;

    void unpoison(uint32_t a, uint32_t n);
    void poison(uint32_t a, uint32_t n, uint8_t why); // whole granules

    uint32_t add_global(uint32_t bytes, uint32_t align);     // bytes; zeroed
    uint32_t heap_alloc(uint32_t bytes, uint32_t align = 8); // 0 when exhausted
    bool heap_free(uint32_t a);                              // false: not the start of a live block
    bool map_at(uint32_t a,
                uint32_t bytes); // whole pages at a place above the heap, which ends there from now on
    uint32_t heap_size(uint32_t a) const; // of a live block; ~0 when it is none
    uint64_t heap_live() const { return live_bytes; }

    // Uninitialised reads: a bit for each byte that was written, only with track_init.
    bool track_init = false;
    uint8_t *written = nullptr; // by guest address >> 3
    void mark_written(uint32_t a, uint64_t n);
    void mark_unwritten(uint32_t a, uint64_t n);
    bool is_written(uint32_t a, uint32_t n) const;

    template <class T> T load(uint32_t a) const {
        T v;
        memcpy(&v, base + a, sizeof v);
        return v;
    }
    template <class T> void store(uint32_t a, T v) { memcpy(base + a, &v, sizeof v); }

  private:
    bool ok_slow(uint32_t a, uint64_t n) const;
    uint32_t global_next = GLOBAL_BASE;
    uint32_t heap_base = 0; // of the first block; 0 until there is one
    uint32_t heap_next = 0, heap_end = STACK_TOP - STACK_SIZE - 4096;
    struct BLOCK {
        uint32_t size, room; // bytes asked for; bytes taken, red zone included
        bool live;
    };
    std::unordered_map<uint32_t, BLOCK> blocks;
    std::map<uint32_t, std::vector<uint32_t>> free_blocks; // by room
    std::deque<uint32_t> quarantine;
    uint64_t quarantine_bytes = 0, live_bytes = 0;
};

extern MEMORY mem;
