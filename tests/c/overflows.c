// __builtin_*_overflow: all combinations of types at the edges of their ranges; a checksum for each.
// host: no
#include <stdio.h>

static const long long edges[] = {0, 1, -1, 2, -2, 3, 7, 127, 128, -128, -129, 255, 256, 32767, 65535, 65536, -32768, 2147483647,
    -2147483648LL, 2147483648LL, 4294967295LL, 4294967296LL, -4294967296LL, 9223372036854775807LL, -9223372036854775807LL - 1,
    4611686018427387904LL, -4611686018427387904LL, 3037000500LL, -3037000500LL, 6442450941LL, 0x100000001LL};
#define N ((int)(sizeof edges / sizeof *edges))

#define TEST(A, B, R)                                                                              \
    do {                                                                                           \
        unsigned h = 0, n = 0;                                                                     \
        for (int i = 0; i < N; i++)                                                                \
            for (int k = 0; k < N; k++) {                                                          \
                A a = (A)edges[i];                                                                 \
                B b = (B)edges[k];                                                                 \
                R r;                                                                               \
                n += __builtin_add_overflow(a, b, &r), h = h * 31 + (unsigned)r + (unsigned)((unsigned long long)r >> 32); \
                n += 2 * __builtin_sub_overflow(a, b, &r), h = h * 31 + (unsigned)r + (unsigned)((unsigned long long)r >> 32); \
                n += 5 * __builtin_mul_overflow(a, b, &r), h = h * 31 + (unsigned)r + (unsigned)((unsigned long long)r >> 32); \
                h ^= n << 7;                                                                       \
            }                                                                                      \
        printf(#A " " #B " " #R ": %u %08x\n", n, h);                                              \
    } while (0)
#define RESULTS(A, B) TEST(A, B, int); TEST(A, B, unsigned); TEST(A, B, long long); TEST(A, B, unsigned long long); TEST(A, B, short); TEST(A, B, unsigned char)
#define SECOND(A) RESULTS(A, int); RESULTS(A, unsigned); RESULTS(A, long long); RESULTS(A, unsigned long long); RESULTS(A, signed char)

int main(void) {
    SECOND(int);
    SECOND(unsigned);
    SECOND(long long);
    SECOND(unsigned long long);
    SECOND(unsigned short);
    int x = 5, r;
    if (__builtin_sadd_overflow(x++, 2147483647, &r)) printf("%d %d\n", x, r);
    unsigned long long u;
    printf("%d %llu\n", __builtin_umulll_overflow(1ull << 40, 1ull << 30, &u), u);
    for (int big = 100; big < 1 << 26; big *= 22)
        printf("%d%d%d ", __builtin_mul_overflow_p(big, big, 0), __builtin_add_overflow_p(big, 28, (signed char)0),
               __builtin_sub_overflow_p(5, big, 0u));
    putchar('\n');
    return 0;
}
