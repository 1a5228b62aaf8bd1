// Arithmetic that saturates, averages and compares without overflow, by masks and by tests.
#include <limits.h>
#include <stdint.h>
#include <stdio.h>

static uint8_t add_u8(uint8_t a, uint8_t b) {
    unsigned s = a + b;
    return (uint8_t)(s | -(s >> 8));
}
static uint8_t sub_u8(uint8_t a, uint8_t b) {
    unsigned d = (unsigned)a - b;
    return (uint8_t)(d & -!(d >> 8 & 1));
}
static int16_t add_s16(int16_t a, int16_t b) {
    int s = a + b;
    return (int16_t)(s > 32767 ? 32767 : s < -32768 ? -32768 : s);
}
static int32_t add_s32(int32_t a, int32_t b) {
    uint32_t ua = (uint32_t)a, ub = (uint32_t)b, s = ua + ub;
    if ((int32_t)((ua ^ s) & (ub ^ s)) < 0) s = (ua >> 31) + INT_MAX;
    return (int32_t)s;
}
static int32_t sub_s32(int32_t a, int32_t b) {
    long long d = (long long)a - b;
    return d > INT_MAX ? INT_MAX : d < INT_MIN ? INT_MIN : (int32_t)d;
}
static uint32_t add_u32(uint32_t a, uint32_t b) { return a + b < a ? UINT_MAX : a + b; }
static uint32_t sub_u32(uint32_t a, uint32_t b) { return a > b ? a - b : 0; }
static int32_t mul_s32(int32_t a, int32_t b) {
    long long p = (long long)a * b;
    return p == (int32_t)p ? (int32_t)p : (int32_t)(INT_MAX + ((uint32_t)(a ^ b) >> 31));
}

// four bytes at once: the top bits apart
static uint32_t add_bytes(uint32_t a, uint32_t b) { return ((a & 0x7F7F7F7F) + (b & 0x7F7F7F7F)) ^ ((a ^ b) & 0x80808080); }
static uint32_t average_bytes(uint32_t a, uint32_t b) { return (a & b) + (((a ^ b) & 0xFEFEFEFE) >> 1); }
static uint32_t has_zero_byte(uint32_t v) { return (v - 0x01010101) & ~v & 0x80808080; }

static int floor_average(int a, int b) { return (a & b) + ((a ^ b) >> 1); }
static int magnitude(int v) {
    int m = v >> 31;
    return (int)(((uint32_t)v ^ (uint32_t)m) - (uint32_t)m);
}
static int smaller(int a, int b) { return b ^ ((a ^ b) & -(a < b)); }
static int sign(int v) { return (v > 0) - (v < 0); }
static int clamp_bits(int v, int bits) {
    int top = (1 << (bits - 1)) - 1, low = -top - 1;
    return v > top ? top : v < low ? low : v;
}
static int overflow_seen(uint32_t n) { return ((n + 7) & ~7u) < n; }

int main(void) {
    static const int values[] = {0,      1,       2,         127,       128,        255,       256,     32767,       32768,
                                 65535,  0x10000, 0x7FFFFFFE, 0x7FFFFFFF, -1,        -2,        -128,    -129,        -32768,
                                 -32769, INT_MIN, INT_MIN + 1, 0x01020304, 0x7F80FF00, 1000000007, -123456789};
    enum { N = sizeof values / sizeof *values };
    uint32_t h = 0;
    for (int j = 0; j < N; j++) {
        int a = values[j];
        for (int k = 0; k < N; k++) {
            int b = values[k];
            h = h * 31 + add_u8((uint8_t)a, (uint8_t)b) + sub_u8((uint8_t)a, (uint8_t)b) * 256u;
            h = h * 31 + (uint32_t)add_s16((int16_t)a, (int16_t)b) + (uint32_t)add_s32(a, b);
            h = h * 31 + (uint32_t)sub_s32(a, b) + add_u32((uint32_t)a, (uint32_t)b) + sub_u32((uint32_t)a, (uint32_t)b);
            h = h * 31 + (uint32_t)mul_s32(a, b) + add_bytes((uint32_t)a, (uint32_t)b) + average_bytes((uint32_t)a, (uint32_t)b);
            h = h * 31 + (uint32_t)floor_average(a, b) + (uint32_t)smaller(a, b);
        }
        printf("%d: %d %d %d %x %d %08x\n", a, magnitude(a), sign(a), clamp_bits(a, 12), has_zero_byte((uint32_t)a),
               overflow_seen((uint32_t)a), h);
    }
    printf("%d %d %u %d\n", add_s32(INT_MAX, 1), add_s32(INT_MIN, -1), add_u32(~0u, 1), sub_s32(INT_MIN, 1));
    return 0;
}
