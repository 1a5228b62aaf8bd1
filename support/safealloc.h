// Allocation that does not come back empty-handed.
//
// A compiler has no use for a null pointer from the allocator: when the system refuses, these print
// "ERROR: out of memory" and exit with status 1. What they give is released with free().
#ifndef SUPPORT_SAFEALLOC_H
#define SUPPORT_SAFEALLOC_H

#include <cstddef>

// SIZE in bytes; 0 is served as 1, so the result is never null.
void *safemalloc(size_t size);

// Like realloc; a null POINTER is a plain allocation.
void *saferealloc(void *pointer, size_t size);

// COUNT elements of SIZE bytes, all zero.
void *safecalloc(size_t count, size_t size);

#endif
