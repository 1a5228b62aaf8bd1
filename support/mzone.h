// Memory zones: storage that is given out piece by piece and freed as a whole.
//
// A zone is a chain of blocks from which pieces are cut in order. Pieces are never freed one by one, which
// suits the bit vectors of one analysis: made together, dropped together. A piece larger than a block gets a
// block of its own. Whoever owns the MZONE owns all its pieces; nothing that lies in a zone has its destructor
// run.

#ifndef SUPPORT_MZONE_H
#define SUPPORT_MZONE_H

#include <cstddef>

struct MZONE {
    MZONE() = default;
    MZONE(const MZONE &) = delete;
    MZONE &operator=(const MZONE &) = delete;
    ~MZONE() { release(); }

    // Uninitialised storage of that many bytes, aligned for any plain type. Never null, 0 bytes included.
    void *alloc(size_t bytes);
    // Frees every piece; the zone is then empty and can be used again.
    void release();

    struct BLOCK {
        BLOCK *next;
        size_t size; // bytes behind this header
    };
    BLOCK *blocks = nullptr; // the block in use first
    size_t used = 0;         // bytes given out of the first block
};

#endif
