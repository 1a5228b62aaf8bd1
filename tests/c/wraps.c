// Unsigned arithmetic that wraps, overflow checks that programs write, conversions that cut and extend, loops at the ends.
// host: no
#include <limits.h>
#include <stdint.h>
#include <stdio.h>

static int add_fits(unsigned a, unsigned b) { return a + b >= a; }
static int round_up_fits(unsigned n, unsigned to) { return ((n + to - 1) & -to) >= n; }
static int add_signed_fits(int a, int b) { return b > 0 ? a <= INT_MAX - b : a >= INT_MIN - b; }
static int mul_fits(unsigned a, unsigned b) { return !a || a * b / a == b; }
static int in_range(int c, int lo, int hi) { return (unsigned)c - (unsigned)lo <= (unsigned)hi - (unsigned)lo; }
static int between(int c) { return c >= 10 && c <= 20; }
static unsigned distance(unsigned a, unsigned b) { return a - b < b - a ? a - b : b - a; }
static int is_power(unsigned n) { return n && !(n & (n - 1)); }
static int sign(int v) { return (v > 0) - (v < 0); }
static unsigned average(unsigned a, unsigned b) { return (a & b) + ((a ^ b) >> 1); }
static int down_signed(int n) {
    int k = 0;
    while (n-- > 3) k += n;
    return k * 100 + n;
}
static unsigned down_unsigned(unsigned n) {
    unsigned k = 0;
    while (n-- > 3) k += n;
    return k * 100 + n;
}
static unsigned down_bytes(unsigned char n) {
    unsigned k = 0;
    while (n--) k++;
    return k * 1000 + n;
}
int main(void) {
    static const unsigned u[] = {0, 1, 7, 8, 100, 0x7fffffff, 0x80000000, 0xfffffff8, 0xfffffff9, 0xffffffff};
    static const int s[] = {0, 1, -1, 9, 10, 20, 21, INT_MAX, INT_MIN, INT_MIN + 1};
    unsigned h = 0;
    for (int i = 0; i < 10; i++)
        for (int j = 0; j < 10; j++) {
            h = h * 5 + (unsigned)(add_fits(u[i], u[j]) | mul_fits(u[i], u[j]) << 1 | add_signed_fits(s[i], s[j]) << 2);
            h = h * 3 + distance(u[i], u[j]) + average(u[i], u[j]);
            h ^= (unsigned)in_range(s[i], s[j], s[j] / 2 + 5);
        }
    printf("%08x\n", h);
    for (int i = 0; i < 10; i++)
        printf("%d%d%d%d%d ", round_up_fits(u[i], 8), between(s[i]), is_power(u[i]), sign(s[i]) + 1, in_range(s[i], 10, 20));
    printf("\n%d %d %u %u %u\n", down_signed(6), down_signed(-5), down_unsigned(6), down_unsigned(2), down_bytes(5));
    for (int i = 0; i < 10; i++) {
        int8_t a = (int8_t)s[i];
        uint8_t b = (uint8_t)s[i];
        int16_t c = (int16_t)u[i];
        uint16_t d = (uint16_t)u[i];
        int64_t e = u[i], f = s[i];
        printf("%d %d %d %d %lld %lld %d %u|", a, b, c, d, (long long)e, (long long)f, a * b, (unsigned)c * d);
    }
    putchar('\n');
    int n = 0;
    for (unsigned char i = 250; i >= 250; i++) n++;
    for (signed char i = 120; i > 0; i = (signed char)(i + 1)) n += 10;
    for (unsigned i = 5; i < 6; i--) n += 100;
    for (unsigned short i = 1; i; i <<= 1) n += 1000;
    printf("%d %u %d\n", n, UINT_MAX + 2u, (signed char)(unsigned char)200 < (unsigned char)200);
    printf("%d %d %d\n", -1 < 1u, (short)-1 < (unsigned short)1, -1L < 1u);
    return 0;
}
