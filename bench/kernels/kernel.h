// What the kernels share: numbers that are the same everywhere, and a checksum that keeps results alive.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static unsigned random_state = 12345;
static unsigned checksum = 1;

static inline unsigned next_random(void) {
    random_state = random_state * 1664525u + 1013904223u;
    return random_state >> 8;
}

static void mix(unsigned v) { checksum = (checksum << 5 | checksum >> 27) ^ v; }

static int finish(void) {
    printf("%08x\n", checksum);
    return 0;
}
