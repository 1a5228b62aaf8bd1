// Division and remainder, signed and unsigned, by constants and variables, at 32 and 64 bits.
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>

static unsigned long long hash;
static void mix(long long v) { hash = hash * 1099511628211ull + (unsigned long long)v; }

#define CONST_CASE(n)                                                                                                  \
    do {                                                                                                               \
        int q = v / (n), r = v % (n);                                                                                  \
        unsigned uq = (unsigned)v / (n##u), ur = (unsigned)v % (n##u);                                                 \
        if (q * (n) + r != v || uq * (n) + ur != (unsigned)v) printf("wrong %d by %d\n", v, n);                         \
        mix(q), mix(r), mix(uq), mix(ur);                                                                              \
    } while (0)

static void by_constants(int v) {
    CONST_CASE(1);
    CONST_CASE(2);
    CONST_CASE(3);
    CONST_CASE(5);
    CONST_CASE(7);
    CONST_CASE(8);
    CONST_CASE(10);
    CONST_CASE(25);
    CONST_CASE(64);
    CONST_CASE(100);
    CONST_CASE(641);
    CONST_CASE(4096);
    CONST_CASE(1000000007);
    CONST_CASE(2147483647);
    mix(v / -3), mix(v % -3), mix(v / -8), mix(v % -8), mix((unsigned)v / 0x80000000u), mix((unsigned)v / 0xfffffffdu);
}

static long long floor_div(long long a, long long b) { return a / b - (a % b != 0 && (a < 0) != (b < 0)); }
static long long floor_mod(long long a, long long b) { return a - (unsigned long long)floor_div(a, b) * b; }

int main(void) {
    static const int v32[] = {0, 1, -1, 2, 7, -7, 8, -8, 9, 99, 100, -100, 12345, -54321, 65536, INT_MAX, INT_MIN,
                              INT_MIN + 1};
    for (unsigned i = 0; i < sizeof v32 / sizeof *v32; i++) {
        by_constants(v32[i]);
        printf("%d: %016llx\n", v32[i], hash);
        for (unsigned j = 0; j < sizeof v32 / sizeof *v32; j++) {
            int a = v32[i], b = v32[j];
            if (b == 0 || (b == -1 && a == INT_MIN)) continue;
            mix(a / b), mix(a % b), mix((unsigned)a / (unsigned)b), mix((unsigned)a % (unsigned)b);
        }
    }
    printf("%016llx\n", hash);
    static const long long v64[] = {1,  -1, 3,  -3, 10, 1000000007LL, 1LL << 32, -(1LL << 33), 0x123456789abcdefLL,
                                    LLONG_MAX, LLONG_MIN + 1};
    for (unsigned i = 0; i < sizeof v64 / sizeof *v64; i++)
        for (unsigned j = 0; j < sizeof v64 / sizeof *v64; j++) {
            long long a = v64[i], b = v64[j];
            unsigned long long ua = a, ub = b;
            if (a / b * b + a % b != a || ua / ub * ub + ua % ub != ua) printf("wrong %lld by %lld\n", a, b);
            mix(a / b), mix(a % b), mix(ua / ub), mix(ua % ub), mix(floor_div(a, b)), mix(floor_mod(a, b));
        }
    printf("%016llx\n", hash);
    div_t d = div(-17, 5);
    ldiv_t l = ldiv(17, -5);
    lldiv_t ll = lldiv(-(1LL << 40), 1000);
    printf("%d %d %ld %ld %lld %lld\n", d.quot, d.rem, l.quot, l.rem, ll.quot, ll.rem);
    short s = -32768;
    signed char c = -128;
    printf("%d %d %d %d\n", s / -1, c / -1, s % 7, c % -7);
    s /= -3, c %= 9;
    printf("%d %d\n", s, c);
    unsigned short us = 65535;
    us /= -1;
    printf("%d %d\n", us, 7 / -2 * 2 + 7 % -2);
    return (hash >> 7) % 256;
}
