#include "support/mzone.h"

#include "support/safealloc.h"

#include <cstdlib>

namespace {

// Room for some dozens of dataflow sets of a usual function, small enough to waste on a small one.
constexpr size_t ZONE_BLOCK = 16 * 1024;
constexpr size_t ALIGNMENT = alignof(max_align_t);
static_assert(sizeof(MZONE::BLOCK) % ALIGNMENT == 0,
              "what follows a block's header is aligned like the block");

MZONE::BLOCK *new_block(size_t size) {
    auto *block = static_cast<MZONE::BLOCK *>(safemalloc(sizeof(MZONE::BLOCK) + size));
    block->size = size;
    return block;
}

void *pieces(MZONE::BLOCK *block, size_t offset) { return reinterpret_cast<char *>(block + 1) + offset; }

} // namespace

void *MZONE::alloc(size_t bytes) {
    bytes = (bytes + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
    if (blocks && bytes <= blocks->size - used) {
        used += bytes;
        return pieces(blocks, used - bytes);
    }
    BLOCK *block = new_block(bytes > ZONE_BLOCK ? bytes : ZONE_BLOCK);
    if (blocks && bytes > ZONE_BLOCK / 2) {
        // A large piece goes behind the block in use, which keeps its free rest.
        block->next = blocks->next;
        blocks->next = block;
        return pieces(block, 0);
    }
    block->next = blocks;
    blocks = block;
    used = bytes;
    return pieces(block, 0);
}

void MZONE::release() {
    while (blocks) {
        BLOCK *next = blocks->next;
        free(blocks);
        blocks = next;
    }
    used = 0;
}
