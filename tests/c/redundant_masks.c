// Masks, ORs and exclusive ORs that do nothing, or meet other constants, in every integer type. Signed values are small
// enough that no sum or product overflows.
#include <stdio.h>

#define EACH_TYPE(X) X(signed char, c) X(unsigned char, uc) X(short, s) X(unsigned short, us) X(int, i) X(unsigned, u) X(long long, ll) X(unsigned long long, ull)

#define DEFINE(T, n)                                                                                                   \
    static unsigned long long n##_masks(T x, T y, int k) {                                                                              \
        unsigned long long r = 0;                                                                                                       \
        r ^= (x << 4) & 15, r += 1;                                                                                    \
        r ^= ((x & 0x5A) | (y & 0x25)) & 0x3C, r = r * 3;                                                              \
        r ^= (T)((x + 256) & 0x7F), r = r * 3;                                                                         \
        r ^= ((x & -8) + 12) & -8, r = r * 3;                                                                          \
        r ^= (x + y) & 1, r = r * 3 + ((x - y) & 1);                                                                   \
        r ^= (-x) & 1, r = r * 3 + ((x * (y & 15)) & 1);                                                                      \
        r ^= (x | 0x33) & 0x0F, r = r * 3;                                                                             \
        r ^= (x ^ 0x66) & 0x3C, r = r * 3;                                                                             \
        r ^= ((x & 0x1E) ^ 0x1E), r = r * 3;                                                                           \
        r ^= ((x & 0x1E) ^ 0x60), r = r * 3;                                                                           \
        r ^= ((x | 0x1E) ^ 0x06), r = r * 3;                                                                           \
        r ^= ~(x & 0x71), r = r * 3;                                                                                   \
        r ^= ((x & 0x71) | 0x71), r = r * 3;                                                                           \
        r ^= (x & 3) | (x & 0x48), r = r * 3;                                                                          \
        r ^= (y | (x & 3)) | (x & 0x48), r = r * 3;                                                                    \
        r ^= ((x | 0x11) & 0x3F) | 0x0C, r = r * 3;                                                                    \
        r ^= ((x & 7) ^ 5) | 8, r = r * 3;                                                                             \
        r ^= (x * 0x104) & 0xFF, r = r * 3;                                                                            \
        r ^= ((x << 8) >> 4) & 0x70, r = r * 3;                                                                        \
        r ^= (x >> 2) & 0x0F, r = r * 3;                                                                               \
        r ^= (k ? x | 0x80 : 0x17F) & 0x7F, r = r * 3;                                                                 \
        r ^= (x & x) ^ (y ^ y) ^ (x | x), r = r * 3;                                                                   \
        r ^= ((unsigned char)x & 0xFF) + ((short)x & 0xFF), r = r * 3;                                                 \
        r ^= (x == y) & 3, r = r * 3;                                                                                  \
        return r;                                                                                                      \
    }                                                                                                                  \
    static int n##_ranges(T x) {                                                                                       \
        return (x >= 10) & (x <= 20) | ((x > -3) & (x < 3)) << 1 | ((x >= 3) & (x <= 3)) << 2 |                        \
               ((x <= 100) & (x >= 30)) << 3 | ((x >= 5) & (x < 5)) << 4 | ((x >= 7) & (x >= 9)) << 5;                 \
    }
EACH_TYPE(DEFINE)

// A masked read is still a read, and what is masked away still runs.
static volatile int port = 0x1234;
static int calls;
static int counted(int x) { return calls++, x; }

static void effects(void) {
    int a = port & 0, b = (port << 4) & 15, c = ((counted(7) & 0xF0) | 3) & 15, d = (counted(1) << 8) & 255;
    int e = (port & 3) | (port & 12), f = counted(port) ^ counted(port);
    printf("%d %d %d %d %d %d, %d calls\n", a, b, c, d, e, f, calls);
}

// What a conversion adds above the type is part of the value.
static void extensions(void) {
    static const int values[] = {0, 1, 127, 128, 200, 255, 256, -1, -128, 32767, 32768, -32769};
    for (unsigned k = 0; k < sizeof values / sizeof *values; k++) {
        int v = values[k];
        signed char c = (signed char)v;
        unsigned char u = (unsigned char)v;
        short s = (short)v;
        printf("%d %d %d %u %d %lld %lld|", c & 0x7F, c & 0x180, u & 0x180, s & 0xFFF0u, (c | 0x100) & 0x1C0,
               (long long)c & 0xFFFFFFFF0LL, (long long)(unsigned)c & 0xFFFFFFFF0LL);
    }
    printf("\n");
}

int main(void) {
    static const long long values[] = {0,    1,     2,      3,       9,        10,        20,        21,       0x5A,
                                       0x7F, 0x80,  0xFF,   0x100,   0x7FFF,   0x8000,    0xFFFF,    0x12345,  0x7FFFFFFF,
                                       -1,   -2,    -3,     -128,    -129,     -0x8000,   0x80000000LL, 0x123456789ABLL};
    enum { N = sizeof values / sizeof *values };
#define VALUE(T, at) (T)(sizeof(T) >= 4 && (T)-1 < 0 ? values[at] % (1 << 20) : values[at])
#define RUN(T, n)                                                                                                      \
    {                                                                                                                  \
        unsigned long long h = 0;                                                                                      \
        for (int j = 0; j < N; j++)                                                                                    \
            for (int k = 0; k < N; k++)                                                                                \
                h = h * 31 + n##_masks(VALUE(T, j), VALUE(T, k), k & 1) + n##_ranges(VALUE(T, k)); \
        printf("%-20s %llx\n", #T, h);                                                                                 \
    }
    EACH_TYPE(RUN)
    effects();
    extensions();
    return 0;
}
