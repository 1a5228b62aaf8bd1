// Shapes that hardly any program has, each for a rewrite that no other program here reaches: operands of which the bits,
// the factors or the bounds are known, tests of tests, pointers that are numbers.
#include <stdio.h>
#include <string.h>

struct record {
    int a, b, c;
} records[8], *const first = records;
static int seen;
enum { SHAPES_BEFORE = __COUNTER__ };
#define SHAPE(e) case __COUNTER__ - SHAPES_BEFORE - 1: return (unsigned)(e);

static unsigned shape(int n, int a, int b, unsigned u, unsigned v, short h, short k, int *p) {
    switch (n) {
        // quotients and remainders: exact, of negated, of sums
        SHAPE(((a & 1023) * 6 + 12) / 6)
        SHAPE(((a & 1023) * 6 + (b & 255) * 12 + 7) / 6)
        SHAPE(-(a & 1023) / -((b & 15) + 1))
        SHAPE(-h / -(k | 1))
        SHAPE((a & 1023) % -((b & 15) + 1))
        SHAPE(((a % 7) + 14) % 7)
        SHAPE(((u % 7) + 14) % 7)
        SHAPE(u ? u / u + u % u : 2)
        // bits of one value, cut out twice
        SHAPE((a & 0xff) - (a & 0xf))
        SHAPE((a | 0xff) - (a | 0xf))
        SHAPE((a & 0xff0) ^ (b & 0xff0))
        SHAPE((u >> 5) ^ (v >> 5))
        SHAPE((u >> 5) & (v >> 3))
        SHAPE((a < b) | 1)
        SHAPE((unsigned char)((u << 8) >> 8))
        SHAPE((unsigned short)((a * 16) >> 4))
        // what a shift leaves, as a narrower type of the same sign or the other
        SHAPE((signed char)(u >> 24) * 3)
        SHAPE((unsigned char)(a >> 24) * 3)
        SHAPE((short)(u >> 16) * 3)
        SHAPE((unsigned short)(a >> 16) * 3)
        SHAPE((int)(u * 0x123456789ull >> 32) / 3)
        SHAPE((unsigned)(a * 0x12345678ll >> 32) / 3)
        SHAPE((signed char)((unsigned short)h >> 8) * 3)
        // products
        SHAPE(-(h * 5) + k)
        SHAPE((long long)(h * 3) * 5 >> 3)
        // tests that are decided, or say less than they seem to
        SHAPE((a & 1023) * 6 == 13)
        SHAPE((((a & 1023) + 7) & ~7) >= (a & 1023))
        SHAPE((((unsigned short)h + 7) & ~7) >= (unsigned short)h)
        SHAPE(((a & 1023) + 6) / 7 * 7 >= (a & 1023))
        SHAPE(((unsigned short)h + 6) / 7 * 7 >= (unsigned short)h)
        SHAPE(((a < b) & (h < k)) == 0)
        SHAPE(((a < b) | (h < k)) == 0)
        SHAPE((a == 0) == a)
        SHAPE((a == b) == !(a == b))
        SHAPE(h + 5 < k + 9)
        // pointers
        SHAPE(p + 2 == p + 3)
        SHAPE(&records[1].a < &records[2].a)
        SHAPE((int *)0 == (int *)8)
        SHAPE((unsigned)((unsigned *)0x1000 + 4))
        SHAPE((int *)(unsigned long)p == p)
        SHAPE((unsigned)(char *)u + 1)
        SHAPE(*(p += 1, p - 1))
    }
    return n;
}

// Which variable is changed, and what a condition does besides.
static int choose(int t, int a, int b) {
    int w = a;
    t ? (w += a) : (w += b);
    return w + ((seen = a, b) ? (seen++, b) : 4) + (((seen = b) | 1) ? w : 3);
}

static int promised(int a, int b) {
#ifdef __clang__
    __builtin_assume(a || b);
    __builtin_assume(!(a < 0 || b < 0));
    __builtin_assume(a ? b + 1 : b);
#endif
    return a / (a + b);
}

int main(void) {
    static const int values[] = {0, 1, -1, 7, 13, -64, 255, 1023, 0x7ff8, 0xffff, 0x7fffff, -0x12345};
    enum { N = sizeof values / sizeof *values };
    unsigned sum = 0;
    for (int n = 0; n < __COUNTER__ - SHAPES_BEFORE - 1; n++) {
        unsigned hash = 0;
        for (int i = 0; i < N * N; i++) {
            int a = values[i / N], b = values[i % N], cell[4] = {a, b, n, i};
            unsigned r = shape(n, a, b, a, b, (short)a, (short)b, cell);
            hash = hash * 31 + r;
        }
        printf("%d %08x\n", n, hash);
        sum += hash;
    }
    for (int i = 0; i < N; i++) sum = sum * 3 + choose(values[i] & 1, i, values[i]) + seen;
    printf("%d %d %u\n", promised(5, 3), promised(1, 0), sum);
    return (int)(sum & 0x7f);
}
