// Conditions in every dress: min, max, abs, clamps, select by mask, ranges, three-way comparisons, chains, booleans as numbers.
#include <limits.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>

static int min(int a, int b) { return a < b ? a : b; }
static int max(int a, int b) { return a >= b ? a : b; }
static unsigned umin(unsigned a, unsigned b) { return b <= a ? b : a; }
static long long lmax(long long a, long long b) { return a > b ? a : b; }
static int absolute(int v) { return v < 0 ? -v : v; }
static int negabs(int v) { return v > 0 ? -v : v; }
static int clamp(int v, int lo, int hi) { return v < lo ? lo : v > hi ? hi : v; }
static int positive(int v) { return v <= 0 ? 0 : v; }
static int if_positive(int v, int w) { return v > 0 ? w : 0; }
static int three(int a, int b) { return a < b ? -1 : a == b ? 0 : 1; }
static int letter(int c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
static int outside(int c) { return c < 10 || c > 20; }
static int same_sign(int a, int b) { return (a < 0) == (b < 0); }
static int xor_bool(bool a, bool b) { return a != b; }
static int nots(int v) { return !v + !!v * 2 + !!!v * 4 + (!v == 0) * 8 + (!(v > 3)) * 16; }
static int mask(int v, int c) { return v & -(c != 0); }
static int demorgan(int a, int b) { return !(a && b) == (!a || !b) && !(a || b) == (!a && !b); }
static int pick(int c) { return c ? 5 : 4; }
static int steps(unsigned v) { return v < 10 ? 0 : v < 100 ? 1 : v < 1000 ? 2 : 3; }
static int relations(int a, int b) { return (a < b) | (a <= b) << 1 | (a == b) << 2 | !(a > b) << 3 | ((a < b) & (a != b)) << 4 | ((a < b) | (a == b)) << 5; }
static int urelations(unsigned a, unsigned b) { return (a < b) | (a <= b) << 1 | (a >= 1) << 2 | (a < 1) << 3 | (a > 0) << 4 | (a - 1 < b) << 5; }
static int floats(double a, double b) { return (a < b) | !(a < b) << 1 | (a < b || a == b) << 2 | (a != b) << 3 | (a > b ? 16 : 0) | !(a == b) << 5; }
static int power_tests(unsigned v) { return ((v & 8) == 8) | ((v & 8) != 0) << 1 | !(v & 8) << 2 | ((v >> 3 & 1) == 1) << 3 | ((v & 12) == 8) << 4 | (v % 4 == 0) << 5; }
static int scaled(int a) { return (a * 4 == 100) | (a * 3 > 10) << 1 | (a * -3 < 6) << 2 | (a / 4 >= 2) << 3 | (a / 4 < 3) << 4 | (a >> 2 > 1) << 5 | (a + 5 < 12) << 6 | (7 - a == 3) << 7; }
static int guarded(const int *p) { return p && *p > 3; }
static int deep(int a, int b, int c, int d) { return (a && b) || (c && d) ? (a || c) && !(b && d) ? 3 : 2 : a ^ b ^ c ^ d ? 1 : 0; }
static bool truth(int v) { return v; }
static int narrow(signed char v) { return (v >= -128) + (v <= 127) * 2 + (v > 127) * 4 + ((unsigned char)v < 256) * 8 + (v == 200) * 16 + ((v & 0xff) == 200) * 32; }
int main(void) {
    static const int v[] = {0, 1, -1, 2, 3, 4, 7, 8, 9, 10, 12, 15, 20, 21, 25, 26, 100, -5, -128, 127, INT_MAX, INT_MIN + 1};
    static const double d[] = {0, -0.0, 1, -1, 1e300, 0.0 / 0.0 > 0 ? 0 : -7};
    enum { N = sizeof v / sizeof *v };
    uint32_t h = 1;
    for (int i = 0; i < N; i++)
        for (int j = 0; j < N; j++) {
            h = h * 31 + (uint32_t)(min(v[i], v[j]) ^ max(v[i], v[j]) ^ (int)umin((unsigned)v[i], (unsigned)v[j]));
            h = h * 31 + (uint32_t)lmax(v[i] * 3ll, v[j]) + (uint32_t)(three(v[i], v[j]) + same_sign(v[i], v[j]) * 5);
            h = h * 31 + (uint32_t)(relations(v[i], v[j]) + urelations((unsigned)v[i], (unsigned)v[j]) * 64);
            h = h * 31 + (uint32_t)(xor_bool(v[i] > 3, v[j]) + demorgan(v[i], v[j]) * 2) + (uint32_t)mask(v[i], v[j]) + (uint32_t)if_positive(v[i], v[j]);
            h = h * 31 + (uint32_t)clamp(v[i], -5, v[j] > 0 ? v[j] : 5) + (uint32_t)(deep(v[i] & 1, v[j] & 1, v[i] & 2, v[j] & 2));
        }
    printf("%08x\n", h);
    for (int i = 0; i < N; i++) {
        int w = v[i] % 1000;
        printf("%d %d %d %d %d %d %d %d %d|", absolute(v[i]), negabs(v[i]), positive(v[i]), letter(w), outside(w), nots(v[i]), pick(w & 1), steps((unsigned)v[i]), power_tests((unsigned)v[i]));
        h = h * 31 + (uint32_t)(scaled(w) + guarded(i & 1 ? &v[i] : NULL) + truth(v[i]) + narrow((signed char)v[i]));
    }
    for (int i = 0; i < 6; i++)
        for (int j = 0; j < 6; j++) h = h * 31 + (uint32_t)floats(d[i], d[j]);
    printf("\n%08x\n", h);
    return 0;
}
