// Shifts at every width and by every amount that is defined, in constant, variable, compound and combined forms.
#include <stdint.h>
#include <stdio.h>

static uint32_t rotl(uint32_t v, unsigned n) { return v << (n & 31) | v >> (-n & 31); }
static uint32_t rotr(uint32_t v, unsigned n) { return v >> (n & 31) | v << (-n & 31); }
static uint64_t rotl64(uint64_t v, unsigned n) { return v << (n & 63) | v >> (-n & 63); }
static int sext(unsigned v, int bits) { return (int)(v << (32 - bits)) >> (32 - bits); }
static uint16_t swap16(uint16_t v) { return v << 8 | v >> 8; }
static uint32_t swap32(uint32_t v) { return v << 24 | (v & 0xff00) << 8 | (v >> 8 & 0xff00) | v >> 24; }

int main(void) {
    uint32_t sum = 0;
    for (int n = 0; n < 32; n++) {
        uint32_t u = 0x80c0a05fu;
        int32_t s = (int32_t)u;
        printf("%2d %08x %08x %08x %08x %08x\n", n, u << n, u >> n, (unsigned)(s >> n), rotl(u, n), rotr(u, n));
        sum = sum * 31 + (u << n) + (s >> n) + rotl(sum, n);
    }
    for (int n = 0; n < 64; n += 3) {
        uint64_t u = 0x8123456789abcdefull;
        int64_t s = (int64_t)u;
        printf("%2d %016llx %016llx %016llx %016llx\n", n, (unsigned long long)(u << n), (unsigned long long)(u >> n),
               (unsigned long long)(s >> n), (unsigned long long)rotl64(u, n));
        sum = sum * 31 + (uint32_t)(u << n) + (uint32_t)(s >> n >> 32);
    }
    for (int bits = 1; bits <= 32; bits++) printf("%d ", sext(0xdeadbeef, bits));
    printf("\n");
    int8_t c = -100;
    uint8_t uc = 200;
    int16_t h = -30000;
    uint16_t uh = 60000;
    printf("%d %d %d %d\n", c >> 2, uc >> 2, h >> 3, uh >> 3);
    printf("%d %d %d %d\n", uc << 3, uh << 3, (int8_t)(uc << 3), (uint16_t)(uh << 3));
    c >>= 1, uc <<= 1, h >>= 4, uh <<= 2;
    printf("%d %d %d %d\n", c, uc, h, uh);
    int64_t w = -5;
    w >>= 1;
    printf("%lld ", (long long)w);
    w = (int64_t)((uint64_t)w << 33);
    printf("%lld ", (long long)w);
    w >>= 40;
    printf("%lld\n", (long long)w);
    printf("%x %x\n", swap16(0x1234), swap32(0x12345678));
    unsigned char amount = 7;
    long long wide_amount = 9;
    printf("%d %d %u\n", 1 << amount, 1 << wide_amount, 0xffffffffu >> wide_amount);
    printf("%d %d\n", -17 >> 2, -17 / 4);
    for (int i = -9; i <= 9; i++) printf("%d/%d ", i >> 1, i / 2);
    printf("\n%x\n", (1u << 31 >> 31) + (1u << 16 << 15) + ((0xf0u >> 4) << 4 ^ 0xf0u));
    return (sum ^ sum >> 16) & 127;
}
