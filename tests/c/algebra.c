// Integer expressions that algebra can shorten: sums of products, distributions, divisions by constants, shifts, negations.
#include <stdint.h>
#include <stdio.h>

static int a1(int a, int b) { return a * 4 + b * 4; }
static int a2(int a) { return a * 3 + a; }
static int a3(int a, int b) { return (a + b) * 5 - b * 5; }
static int a4(int a) { return (a + 3) * 8 + (a + 3) * 16; }
static int a5(int a, int b) { return a - (a - b); }
static int a6(int a) { return -(-a) + -(a - 7) + (5 - a) + 10; }
static int a7(int a) { return (a >> 3) << 3; }
static unsigned a8(unsigned a) { return (a << 5) >> 5; }
static int a9(int a) { return (a << 24) >> 24; }
static int a10(int a) { return a / 8 + a % 8 * 3; }
static unsigned a11(unsigned a) { return a / 8 * 8 + a % 8; }
static int a12(int a) { return a / 2 / 3 / 7; }
static int a13(int a) { return (a % 10) % 10 + (a % 12) % 4; }
static int a14(int a) { return a / -4 - -a / 4; }
static unsigned a15(unsigned a) { return a / 1000000007u + a % 1000000007u; }
static int a16(int a, int b) { return (a & 0xff) + (b & ~0xff) - ((a | 15) & 240); }
static int a17(int a) { return ~a + 1 + ~(~a) + (a ^ -1); }
static unsigned a18(unsigned a) { return (a * 12 + 8) / 4; }
static int a19(int a) { return (a & 3) * 4 / 4 + (a & 7) * 16 / 8; }
static int a20(int i, int j) { return (i * 10 + j) * 4 - (i * 10 + 3) * 4; }
static long long a21(long long a) { return a * 1000 / 8 + (a << 3) - (a >> 60); }
static unsigned char a22(unsigned char a) { return (unsigned char)(a + 200 + 100 - a / 3); }
static short a23(short a, short b) { return (short)(a * b + (a ^ b)); }
static int a24(int a) { return (a + 1) * (a - 1) - a * a + 1; }
static unsigned a25(unsigned a) { return (a ^ 0x55) & 0xf0f | (a & 0xf0) ^ 0xff; }
static int a26(int a, int b) { return (a | 5) - (a | 4) + ((b & 12) - (b & 4)); }
static unsigned a27(unsigned a) { return 0 - a + (a >> 31) + (a == 0) + a % 1 + a / 1; }
static int a28(int a) { return a % 16 == a - a / 16 * 16; }
static int64_t a29(int a, unsigned b) { return (int64_t)a * b + (int64_t)(a * (int)(b & 3)) + (uint32_t)(a + 1); }
static int a30(int a, int b) { return (a == b) * 6 + (a != b) * 6 + (a < b) - (b > a); }
static double a31(double x) { return x * 2.0 + x / 4.0 - x * 1.0 + -(-x) * -1.0 + (x - x) + 0.0; }
static float a32(float x, int k) { return x / 3.0f + (float)k * x + (float)(k + 1) / 8.0f; }
int main(void) {
    static const int64_t v[] = {0, 1, -1, 5, -7, 8, 15, -16, 100, 255, -256, 1000, 32767, -32768, 123456789, -987654321, 2000000000, -2000000000};
    uint64_t h = 14695981039346656037ull;
#define MIX(x) h = (h ^ (uint64_t)(x)) * 1099511628211ull
    for (int i = 0; i < 18; i++) {
        int a = (int)(v[i] % 40000), big = (int)v[i];
        unsigned u = (unsigned)v[i];
        MIX(a2(a)), MIX(a4(a)), MIX(a6(a)), MIX(a7(big)), MIX(a8(u)), MIX(a9(a & 127)), MIX(a10(big)), MIX(a11(u)), MIX(a12(big)), MIX(a13(big));
        MIX(a14(a)), MIX(a15(u)), MIX(a17(a)), MIX(a18(u)), MIX(a19(big)), MIX(a21(v[i])), MIX(a22((unsigned char)u)), MIX(a24(a)), MIX(a25(u));
        MIX(a27(u)), MIX(a28(big)), MIX((int64_t)(a31((double)v[i]) * 16));
        for (int j = 0; j < 18; j += 3) {
            int b = (int)(v[j] % 3000);
            MIX(a1(a, b)), MIX(a3(a, b)), MIX(a5(a, b)), MIX(a16(a, b)), MIX(a20(a, b)), MIX(a23((short)(a % 180), (short)(b % 180)));
            MIX(a26(a, b)), MIX(a29(a, (unsigned)v[j])), MIX(a30(a, b)), MIX((int64_t)(a32((float)a, b) * 4));
        }
        if (i % 4 == 3) printf("%016llx\n", (unsigned long long)h);
    }
    printf("%d\n", (int)((char *)64 - (char *)16));
    return 0;
}
