// Pools of records of one size.
//
// The small records that make up functions (statements, edges, labels, nodes) come and go by the million. A pool cuts
// them from slabs and keeps those that were freed on a list, so that making and freeing one costs a few instructions
// and no header, and records that are made together lie together. A slab is never given back: what one function
// frees, the next one uses.
//
//     struct EDGE : pooled<EDGE> { ... };      new EDGE and delete then use the pool of EDGE
//
// Slabs of all pools are cut from regions that grow with the program. Regions lie in the first 64 GB of the address
// space and records on 16-byte boundaries, for the short pointers of support/near. The system is not asked for huge
// pages: clearing one at a time was measured to take two to four times as long. Where the address sanitizer watches, a
// record_pool poisons what is free, and pooled records come from the heap, so that leaks are found too.
// Single-threaded, as the whole program.
#ifndef SUPPORT_POOL_H
#define SUPPORT_POOL_H

#include <cstddef>

#include <new>

#if defined(__SANITIZE_ADDRESS__)
#define POOL_IS_HEAP 1
#include <sanitizer/asan_interface.h>
#define POOL_POISON(address, size) ASAN_POISON_MEMORY_REGION(address, size)
#define POOL_UNPOISON(address, size) ASAN_UNPOISON_MEMORY_REGION(address, size)
#else
#define POOL_IS_HEAP 0
#define POOL_POISON(address, size) ((void)(address), (void)(size))
#define POOL_UNPOISON(address, size) ((void)(address), (void)(size))
#endif

// Uninitialised memory that lives as long as the process, aligned to a cache line. Never null.
void *slab_memory(size_t bytes);

// A copy of a text that lives as long as the process, for the names of symbols.
const char *keep_text(const char *text);

// Storage for records of SIZE bytes; a freed one keeps its first KEEP bytes from the pointer behind on unpoisoned.
template <size_t SIZE, size_t KEEP = 0> class record_pool {
    struct FREE_SLOT {
        FREE_SLOT *next;
    };
    static_assert(SIZE >= sizeof(FREE_SLOT) + KEEP && SIZE % alignof(FREE_SLOT) == 0);
    static constexpr size_t SLAB_BYTES = 48 * 1024, SLAB_RECORDS = SLAB_BYTES / SIZE;

  public:
    void *take() {
        live_++;
        void *slot;
        if (free_) {
            slot = free_;
            free_ = free_->next;
        } else {
            if (fresh_ == end_) add_slab();
            slot = fresh_;
            fresh_ += SIZE;
        }
        POOL_UNPOISON(slot, SIZE);
        return slot;
    }
    void give(void *memory) {
        live_--;
        FREE_SLOT *slot = static_cast<FREE_SLOT *>(memory);
        slot->next = free_;
        free_ = slot;
        POOL_POISON(reinterpret_cast<char *>(slot + 1) + KEEP, SIZE - sizeof(FREE_SLOT) - KEEP);
    }
    size_t live() const { return live_; }

  private:
    void add_slab() {
        fresh_ = static_cast<char *>(slab_memory(SLAB_RECORDS * SIZE));
        end_ = fresh_ + SLAB_RECORDS * SIZE;
        POOL_POISON(fresh_, SLAB_RECORDS * SIZE);
    }

    FREE_SLOT *free_ = nullptr;
    char *fresh_ = nullptr, *end_ = nullptr; // the part of the last slab that was never used
    size_t live_ = 0;
};

// Base of a record that lives in a pool of its own. Nothing may derive from the record.
template <class T> struct pooled {
    static void *operator new(size_t size) {
        if constexpr (POOL_IS_HEAP) return ::operator new(size);
        else return pool().take();
    }
    static void operator delete(void *memory) {
        if constexpr (POOL_IS_HEAP) ::operator delete(memory);
        else if (memory) pool().give(memory);
    }

  private:
    static auto &pool() {
        static record_pool<(sizeof(T) + 15) / 16 * 16> records;
        return records;
    }
};

#endif
