// Fixed point: products with rounding and saturation, square roots by bits, CORDIC, filters, a mixer, dithering, mandelbrot.
#include <limits.h>
#include <stdint.h>
#include <stdio.h>

typedef int32_t q16;
static q16 mul(q16 a, q16 b) { return (q16)(((int64_t)a * b + 0x8000) >> 16); }
static q16 divide(q16 a, q16 b) { return (q16)(((int64_t)a << 16) / b); }
static int16_t sat16(int v) { return (int16_t)(v > 32767 ? 32767 : v < -32768 ? -32768 : v); }
static int sat_add(int a, int b) {
    unsigned s = (unsigned)a + (unsigned)b;
    if (~((unsigned)a ^ (unsigned)b) & ((unsigned)a ^ s) & 0x80000000) return a < 0 ? INT_MIN : INT_MAX;
    return (int)s;
}
static unsigned isqrt(unsigned v) {
    unsigned r = 0;
    for (unsigned bit = 1u << 30; bit; bit >>= 2)
        if (v >= r + bit) v -= r + bit, r = (r >> 1) + bit;
        else r >>= 1;
    return r;
}
static void cordic(q16 angle, q16 *c, q16 *s) {
    static const q16 atans[] = {51472, 30386, 16055, 8150, 4091, 2047, 1024, 512, 256, 128, 64, 32, 16, 8, 4, 2};
    q16 x = 39797, y = 0;
    for (int i = 0; i < 16; i++) {
        q16 dx = y >> i, dy = x >> i;
        if (angle >= 0) x -= dx, y += dy, angle -= atans[i];
        else x += dx, y -= dy, angle += atans[i];
    }
    *c = x, *s = y;
}
static void fir(const int16_t *in, int16_t *out, int n) {
    static const int16_t taps[8] = {-512, 1024, 4096, 12288, 12288, 4096, 1024, -512};
    for (int i = 0; i + 8 <= n; i++) {
        int acc = 1 << 14;
        for (int k = 0; k < 8; k++) acc += in[i + k] * taps[k];
        out[i] = sat16(acc >> 15);
    }
}
static void iir(int16_t *v, int n) {
    int32_t y1 = 0, y2 = 0, x1 = 0, x2 = 0;
    for (int i = 0; i < n; i++) {
        int64_t acc = (int64_t)v[i] * 1102 + (int64_t)x1 * 2204 + (int64_t)x2 * 1102 + (int64_t)y1 * 22000 - (int64_t)y2 * 10000;
        x2 = x1, x1 = v[i], y2 = y1, y1 = (int32_t)(acc >> 14);
        v[i] = sat16(y1);
    }
}
int main(void) {
    q16 c, s;
    for (q16 a = -90000; a <= 90000; a += 45000) cordic(a, &c, &s), printf("%d %d ", c, s);
    printf("\n%d %d %d %d\n", mul(98304, -131072), divide(65536, 196608), sat_add(INT_MAX, 5), sat_add(INT_MIN, -1) + 1);
    unsigned bad = 0;
    for (unsigned v = 0; v < 70000; v += 7) {
        unsigned r = isqrt(v);
        bad += r * r > v || (r + 1) * (r + 1) <= v;
    }
    printf("%u %u\n", bad, isqrt(4294967295u));
    int16_t in[64], out[64] = {0};
    for (int i = 0; i < 64; i++) in[i] = (int16_t)((i * i * 97 % 65536) - 32768);
    fir(in, out, 64), iir(in, 64);
    int sum = 0, mix = 0;
    for (int i = 0; i < 56; i++) sum = (sum * 5 + out[i]) % 1000003, mix = (mix + sat16(out[i] + in[i])) ^ i;
    printf("%d %d\n", sum, mix);
    for (int y = -6; y <= 6; y++, putchar('\n'))
        for (int x = -20; x < 10; x++) {
            q16 zr = 0, zi = 0, cr = x * 6554, ci = y * 13107;
            int k = 0;
            for (; k < 26 && mul(zr, zr) + mul(zi, zi) < 4 << 16; k++) {
                q16 t = mul(zr, zr) - mul(zi, zi) + cr;
                zi = 2 * mul(zr, zi) + ci, zr = t;
            }
            putchar(" .:-=+*#%@"[k * 9 / 26]);
        }
    int error = 0, ones = 0;
    for (int i = 0; i < 300; i++) {
        int want = i * 255 / 300 + error, got = want > 127 ? 255 : 0;
        error = want - got, ones += got != 0;
    }
    printf("%d\n", ones);
    return 0;
}
