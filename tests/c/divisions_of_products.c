// Divisions of products by factors of theirs: a factor may go only where the product, and the shift in it, can't have wrapped.
#include <stdio.h>

#define NEVER __attribute__((noinline)) static
NEVER int wraps_in_shift(int y, int z) { return (0 < y) * (int)((unsigned)z << 1) / 8; }
NEVER int wraps_in_product(int y, int z) { return (int)((unsigned)y * 6 * ((unsigned)z * 2)) / 4; }
NEVER unsigned unsigned_product(unsigned y, unsigned z) { return y * 12 * z / 6; }
NEVER unsigned unsigned_shift(unsigned y) { return (y << 4) / 8 + (y * 16) / (y * 8 | 1); }
NEVER int small(short y, short z) { return (y * 4) * (z * 6) / 12; }
NEVER int smaller(unsigned char y) { return (y << 3) / 4 + (y * 40) / 8 + (y * 6 + 12) / 6 + (12 * y) / (4 * y | 1); }
NEVER int by_each_other(signed char y, signed char z) { return z ? (y * z) / z + (y * 8) / (z * 2) : -1; }
int main(void) {
    static const int v[] = {0, 1, -1, 3, 100, -700, 0x50000000, 0x30000000, -0x60000000, 2147483647};
    unsigned h = 1;
    for (int i = 0; i < 10; i++)
        for (int j = 0; j < 10; j++) {
            h = h * 31 + (unsigned)wraps_in_shift(v[i], v[j]) + (unsigned)wraps_in_product(v[i], v[j]);
            h = h * 31 + unsigned_product((unsigned)v[i], (unsigned)v[j]) + unsigned_shift((unsigned)v[i]);
            h = h * 31 + (unsigned)small((short)(v[i] % 300), (short)(v[j] % 300)) + (unsigned)smaller((unsigned char)v[i]);
            h = h * 31 + (unsigned)by_each_other((signed char)v[i], (signed char)v[j]);
        }
    printf("%u %d %d %u\n", h, wraps_in_shift(1, 0x50000000), small(3, -700), unsigned_product(0x20000000, 3));
    return 0;
}
