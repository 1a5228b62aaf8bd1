// Masks and shifts as programs write them: packed colours, fields by hand, rotations, sign extension, parity, Gray codes.
#include <stdint.h>
#include <stdio.h>

static uint32_t blend(uint32_t a, uint32_t b, unsigned k) {
    uint32_t rb = ((a & 0xff00ff) * k + (b & 0xff00ff) * (256 - k)) >> 8 & 0xff00ff;
    uint32_t ag = ((a >> 8 & 0xff00ff) * k + (b >> 8 & 0xff00ff) * (256 - k)) & 0xff00ff00;
    return rb | ag;
}
static uint16_t to565(uint32_t c) { return (uint16_t)((c >> 19 & 31) << 11 | (c >> 10 & 63) << 5 | (c >> 3 & 31)); }
static uint32_t from565(uint16_t c) {
    uint32_t r = c >> 11, g = c >> 5 & 63, b = c & 31;
    return (r << 3 | r >> 2) << 16 | (g << 2 | g >> 4) << 8 | (b << 3 | b >> 2);
}
static uint32_t field(uint32_t w, int at, int n) { return w >> at & ((1u << n) - 1); }
static uint32_t with(uint32_t w, int at, int n, uint32_t v) {
    uint32_t m = ((1u << n) - 1) << at;
    return (w & ~m) | (v << at & m);
}
static int32_t extend(uint32_t v, int n) { return (int32_t)(v << (32 - n)) >> (32 - n); }
static int32_t extend_xor(uint32_t v, int n) {
    uint32_t top = 1u << (n - 1);
    return (int32_t)((v ^ top) - top);
}
static uint32_t reverse(uint32_t v) {
    v = (v >> 1 & 0x55555555) | (v & 0x55555555) << 1;
    v = (v >> 2 & 0x33333333) | (v & 0x33333333) << 2;
    v = (v >> 4 & 0x0f0f0f0f) | (v & 0x0f0f0f0f) << 4;
    return v >> 24 | (v >> 8 & 0xff00) | (v & 0xff00) << 8 | v << 24;
}
static int ones(uint32_t v) {
    v -= v >> 1 & 0x55555555;
    v = (v & 0x33333333) + (v >> 2 & 0x33333333);
    return (int)(((v + (v >> 4)) & 0x0f0f0f0f) * 0x01010101 >> 24);
}
static int parity(uint32_t v) {
    v ^= v >> 16, v ^= v >> 8, v ^= v >> 4;
    return 0x6996 >> (v & 15) & 1;
}
static uint32_t gray(uint32_t v) { return v ^ v >> 1; }
static uint32_t ungray(uint32_t v) {
    for (int s = 1; s < 32; s <<= 1) v ^= v >> s;
    return v;
}
static int has_zero_byte(uint32_t v) { return ((v - 0x01010101) & ~v & 0x80808080) != 0; }
static uint64_t spread(uint32_t v) {
    uint64_t x = v;
    x = (x | x << 16) & 0x0000ffff0000ffff;
    x = (x | x << 8) & 0x00ff00ff00ff00ff;
    x = (x | x << 4) & 0x0f0f0f0f0f0f0f0f;
    x = (x | x << 2) & 0x3333333333333333;
    return (x | x << 1) & 0x5555555555555555;
}
int main(void) {
    uint32_t x = 0x12345678, sum = 0;
    for (int i = 0; i < 200; i++) {
        x ^= x << 13, x ^= x >> 17, x ^= x << 5;
        int n = i % 15 + 1, at = i % (32 - n);
        uint32_t f = field(x, at, n);
        if (with(x, at, n, f) != x || extend(f, n) != extend_xor(f, n) || ungray(gray(x)) != x || reverse(reverse(x)) != x ||
            parity(x) != (ones(x) & 1))
            return printf("wrong %d\n", i), 1;
        sum = sum * 31 + blend(x, ~x, (unsigned)i) + to565(x) + (from565((uint16_t)x) >> 3);
        sum += (uint32_t)(spread(x) >> 7) ^ (uint32_t)has_zero_byte(x & (x << 3)) ^ reverse(x);
        sum = with(sum, n, 7, x) + (x & 0xff00) / 256 + (x >> 3 << 3) + (x << 24 >> 24);
    }
    printf("%08x %d %d %06x\n", sum, extend(0xF0, 8), ones(sum), from565(to565(0xabcdef)));
    return 0;
}
