// Counting, finding, reversing and interleaving bits, each in several ways that must agree.
#include <stdint.h>
#include <stdio.h>

static int count_loop(uint32_t v) {
    int n = 0;
    for (; v; v &= v - 1) n++;
    return n;
}
static int count_tree(uint32_t v) {
    v = (v & 0x55555555) + (v >> 1 & 0x55555555);
    v = (v & 0x33333333) + (v >> 2 & 0x33333333);
    v = (v & 0x0F0F0F0F) + (v >> 4 & 0x0F0F0F0F);
    v = (v & 0x00FF00FF) + (v >> 8 & 0x00FF00FF);
    return (v & 0xFFFF) + (v >> 16);
}
static int count_product(uint32_t v) {
    v = v - ((v >> 1) & 0x55555555);
    v = (v & 0x33333333) + ((v >> 2) & 0x33333333);
    return ((v + (v >> 4) & 0x0F0F0F0F) * 0x01010101) >> 24;
}
static int count_wide(uint64_t v) { return count_tree((uint32_t)v) + count_product((uint32_t)(v >> 32)); }

static int parity(uint32_t v) {
    v ^= v >> 16;
    v ^= v >> 8;
    v ^= v >> 4;
    return 0x6996 >> (v & 15) & 1;
}

static int leading_zeros(uint32_t v) {
    int n = 32;
    for (int half = 16; half; half >>= 1)
        if (v >> half) n -= half, v >>= half;
    return n - (int)v;
}
static int trailing_zeros(uint32_t v) {
    static const int table[32] = {0,  1,  28, 2,  29, 14, 24, 3, 30, 22, 20, 15, 25, 17, 4,  8,
                                  31, 27, 13, 23, 21, 19, 16, 7, 26, 12, 18, 6,  11, 5,  10, 9};
    return v ? table[((v & -v) * 0x077CB531u) >> 27] : 32;
}
static uint32_t smear(uint32_t v) {
    v |= v >> 1, v |= v >> 2, v |= v >> 4, v |= v >> 8;
    return v | v >> 16;
}

static uint32_t reverse_loop(uint32_t v) {
    uint32_t r = 0;
    for (int i = 0; i < 32; i++) r = r << 1 | (v >> i & 1);
    return r;
}
static uint32_t reverse_swaps(uint32_t v) {
    v = ((v & 0xAAAAAAAA) >> 1) | ((v & 0x55555555) << 1);
    v = ((v & 0xCCCCCCCC) >> 2) | ((v & 0x33333333) << 2);
    v = ((v & 0xF0F0F0F0) >> 4) | ((v & 0x0F0F0F0F) << 4);
    v = ((v & 0xFF00FF00) >> 8) | ((v & 0x00FF00FF) << 8);
    return v >> 16 | v << 16;
}
static unsigned char reverse_byte(unsigned char b) {
    return (unsigned char)(((b * 0x0802u & 0x22110u) | (b * 0x8020u & 0x88440u)) * 0x10101u >> 16);
}

static uint32_t spread(uint32_t v) {
    v &= 0xFFFF;
    v = (v | v << 8) & 0x00FF00FF;
    v = (v | v << 4) & 0x0F0F0F0F;
    v = (v | v << 2) & 0x33333333;
    return (v | v << 1) & 0x55555555;
}
static uint32_t gather(uint32_t v) {
    v &= 0x55555555;
    v = (v | v >> 1) & 0x33333333;
    v = (v | v >> 2) & 0x0F0F0F0F;
    v = (v | v >> 4) & 0x00FF00FF;
    return (v | v >> 8) & 0xFFFF;
}
static uint32_t gray(uint32_t v) { return v ^ v >> 1; }
static uint32_t ungray(uint32_t v) {
    for (int k = 16; k; k >>= 1) v ^= v >> k;
    return v;
}

int main(void) {
    uint32_t v = 1, sum = 0;
    int wrong = 0;
    for (int k = 0; k < 1500; k++) {
        int n = count_loop(v);
        wrong += n != count_tree(v) || n != count_product(v) || parity(v) != (n & 1);
        wrong += count_wide((uint64_t)v << 32 | ~v) != 32;
        wrong += reverse_loop(v) != reverse_swaps(v) || reverse_byte((unsigned char)v) != reverse_loop(v) >> 24;
        wrong += leading_zeros(v) != 32 - count_loop(smear(v)) || trailing_zeros(v) != count_loop((v & -v) - 1);
        wrong += gather(spread(v)) != (v & 0xFFFF) || (spread(v) & spread(v >> 16) << 1) != 0;
        wrong += ungray(gray(v)) != v || count_loop(gray(v) ^ gray(v + 1)) != 1;
        sum = sum * 33 + (uint32_t)(n + leading_zeros(v)) + (spread(v) | spread(v >> 16) << 1);
        v = v * 1664525 + 1013904223;
        if (k % 7 == 0) v &= v << 11;
    }
    printf("%d wrong, %08x\n", wrong, sum);
    printf("%d %d %d %d\n", leading_zeros(0), trailing_zeros(0), count_tree(~0u), parity(0x80000001u));
    return wrong != 0;
}
