// Primes by trial, by a sieve of bytes, by a sieve of bits in segments, and by a wheel; sums must agree.
#include <stdio.h>
#include <string.h>

enum { N = 20000, SEGMENT = 1024 };
static unsigned char byte_sieve[N];
static unsigned bit_sieve[N / 32 + 1];

static int by_trial(unsigned n) {
    if (n < 2) return 0;
    for (unsigned d = 2; d * d <= n; d++)
        if (n % d == 0) return 0;
    return 1;
}
static int by_wheel(unsigned n) {
    static const unsigned char steps[] = {4, 2, 4, 2, 4, 6, 2, 6};
    if (n < 2) return 0;
    if (n % 2 == 0 || n % 3 == 0 || n % 5 == 0) return n == 2 || n == 3 || n == 5;
    for (unsigned d = 7, i = 0; d * d <= n; d += steps[i++ & 7])
        if (n % d == 0) return 0;
    return 1;
}
static unsigned segmented(unsigned limit) {
    unsigned small[64], n = 0, sum = 0, first[64];
    for (unsigned p = 2; p * p < limit; p++)
        if (by_trial(p)) first[n] = p * p, small[n++] = p;
    for (unsigned low = 0; low < limit; low += SEGMENT) {
        unsigned char seg[SEGMENT];
        memset(seg, 1, sizeof seg);
        for (unsigned i = 0; i < n; i++) {
            unsigned k = first[i];
            for (; k < low + SEGMENT; k += small[i]) seg[k - low] = 0;
            first[i] = k;
        }
        for (unsigned i = 0; i < SEGMENT && low + i < limit; i++)
            if (seg[i] && low + i > 1) sum += low + i;
    }
    return sum;
}
int main(void) {
    unsigned trial = 0, wheel = 0, bytes = 0, bitsum = 0;
    for (unsigned i = 0; i < N; i++) trial += by_trial(i) ? i : 0, wheel += by_wheel(i) ? i : 0;
    for (unsigned i = 2; i < N; i++) {
        if (byte_sieve[i]) continue;
        bytes += i;
        for (unsigned k = i + i; k < N; k += i) byte_sieve[k] = 1;
    }
    for (unsigned i = 2; i < N; i++) {
        if (bit_sieve[i >> 5] >> (i & 31) & 1) continue;
        bitsum += i;
        for (unsigned k = i * i; i < 200 && k < N; k += i) bit_sieve[k >> 5] |= 1u << (k & 31);
    }
    printf("%u %u %u %u %u\n", trial, wheel, bytes, bitsum, segmented(N));
    return 0;
}
