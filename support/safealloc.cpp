#include "support/safealloc.h"

#include <cstdio>
#include <cstdlib>

namespace {

void *checked(void *pointer) {
    if (!pointer) {
        fputs("ERROR: out of memory\n", stderr);
        exit(1);
    }
    return pointer;
}

} // namespace

void *safemalloc(size_t size) { return checked(malloc(size ? size : 1)); }

void *saferealloc(void *pointer, size_t size) {
    return checked(pointer ? realloc(pointer, size ? size : 1) : malloc(size ? size : 1));
}

void *safecalloc(size_t count, size_t size) {
    return checked(count && size ? calloc(count, size) : calloc(1, 1));
}
