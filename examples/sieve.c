// Counts primes with a bit sieve and prints the last ones.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static unsigned sieve(unsigned char *bits, unsigned limit) {
    unsigned count = 0;
    memset(bits, 0xFF, limit / 8 + 1);
    for (unsigned n = 2; n <= limit; n++) {
        if (!(bits[n >> 3] & (1u << (n & 7)))) continue;
        count++;
        if (n > limit / n) continue;
        for (unsigned m = n * n; m <= limit; m += n) bits[m >> 3] &= (unsigned char)~(1u << (m & 7));
    }
    return count;
}

int main(int argc, char **argv) {
    unsigned limit = argc > 1 ? (unsigned)atoi(argv[1]) : 200000;
    unsigned char *bits = malloc(limit / 8 + 1);
    unsigned count = sieve(bits, limit);
    printf("%u primes up to %u\n", count, limit);
    unsigned shown = 0;
    for (unsigned n = limit; n >= 2 && shown < 5; n--)
        if (bits[n >> 3] & (1u << (n & 7))) printf("%u ", n), shown++;
    printf("\n");
    free(bits);
    return 0;
}
