// Records in bytes: packed layouts, byte orders, checksums over objects, unions as views, copies by words, CRC four ways.
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

struct __attribute__((packed)) header { uint8_t kind; uint16_t length; uint32_t id; uint8_t tail[3]; uint64_t stamp; };
union view { uint32_t w; uint16_t h[2]; uint8_t b[4]; struct { uint32_t low : 5, mid : 11, high : 16; } f; float x; };

static uint32_t be32(const uint8_t *p) { return (uint32_t)p[0] << 24 | (uint32_t)p[1] << 16 | (uint32_t)p[2] << 8 | p[3]; }
static void put_be32(uint8_t *p, uint32_t v) { p[0] = (uint8_t)(v >> 24), p[1] = (uint8_t)(v >> 16), p[2] = (uint8_t)(v >> 8), p[3] = (uint8_t)v; }
static uint64_t le64(const uint8_t *p) {
    uint64_t v = 0;
    for (int i = 7; i >= 0; i--) v = v << 8 | p[i];
    return v;
}
static uint32_t swap32(uint32_t v) { return v << 24 | (v & 0xff00) << 8 | (v >> 8 & 0xff00) | v >> 24; }
static uint16_t swap16(uint16_t v) { return (uint16_t)(v << 8 | v >> 8); }
static uint32_t crc_bits(const uint8_t *p, size_t n) {
    uint32_t c = ~0u;
    while (n--)
        for (int k = (c ^= *p++, 8); k--;) c = c & 1 ? c >> 1 ^ 0xEDB88320 : c >> 1;
    return ~c;
}
static uint32_t crc_masked(const uint8_t *p, size_t n) {
    uint32_t c = 0xffffffff;
    for (size_t i = 0; i < n; i++) {
        c ^= p[i];
        for (int k = 0; k < 8; k++) c = (c >> 1) ^ (0xEDB88320 & -(c & 1));
    }
    return c ^ 0xffffffff;
}
static uint32_t table[256];
static uint32_t crc_table(const uint8_t *p, size_t n) {
    uint32_t c = ~0u;
    if (!table[1])
        for (unsigned i = 0; i < 256; i++) {
            uint32_t t = i;
            for (int k = 0; k < 8; k++) t = t & 1 ? 0xEDB88320 ^ t >> 1 : t >> 1;
            table[i] = t;
        }
    for (; n; n--) c = table[(c ^ *p++) & 0xff] ^ c >> 8;
    return ~c;
}
static uint32_t crc_nibbles(const uint8_t *p, size_t n) {
    static const uint32_t t[16] = {0, 0x1db71064, 0x3b6e20c8, 0x26d930ac, 0x76dc4190, 0x6b6b51f4, 0x4db26158, 0x5005713c,
                                   0xedb88320, 0xf00f9344, 0xd6d6a3e8, 0xcb61b38c, 0x9b64c2b0, 0x86d3d2d4, 0xa00ae278, 0xbdbdf21c};
    uint32_t c = ~0u;
    for (const uint8_t *end = p + n; p != end; p++) c = t[(c ^ *p) & 15] ^ c >> 4, c = t[(c ^ *p >> 4) & 15] ^ c >> 4;
    return ~c;
}
static unsigned adler(const uint8_t *p, size_t n) {
    unsigned a = 1, b = 0;
    while (n--) a = (a + *p++) % 65521, b = (b + a) % 65521;
    return b << 16 | a;
}
static unsigned fletcher(const uint8_t *p, size_t n) {
    unsigned a = 0, b = 0;
    for (size_t i = 0; i < n; i++) a += p[i], a = (a & 255) + (a >> 8), b += a, b = (b & 255) + (b >> 8);
    return b << 8 | a;
}
int main(void) {
    struct header h = {7, 0x1234, 0xdeadbeef, {1, 2, 3}, 0x0102030405060708ull};
    uint8_t raw[sizeof h + 3], *p = raw + 1;
    memcpy(p, &h, sizeof h);
    printf("%d %d %d %d\n", (int)sizeof h, (int)offsetof(struct header, length), (int)offsetof(struct header, id), (int)offsetof(struct header, stamp));
    printf("%x %x %llx\n", be32(p + 3), swap32(be32(p + 3)), (unsigned long long)le64(p + 10));
    struct header *q = (struct header *)p;
    q->length = (uint16_t)(q->length * 3), q->id += 0x11, q->stamp <<= 4, q->tail[1] ^= 0xff;
    put_be32(raw + 4, be32(raw + 4) + 1);
    for (unsigned i = 1; i <= sizeof h; i++) printf("%02x", raw[i]);
    union view v = {.x = -1.5f};
    printf("\n%x %x %x %x %x\n", v.w, v.h[1], v.b[3], v.f.mid, v.f.high);
    v.f.mid = 0x5a5, v.b[0] |= 0x1f;
    printf("%x %x\n", v.w, swap16(v.h[0]));
    static uint8_t data[257];
    for (int i = 0; i < 257; i++) data[i] = (uint8_t)(i * i + 3);
    for (size_t n = 0; n <= 257; n += 64)
        if (crc_bits(data, n) != crc_table(data, n) || crc_masked(data, n) != crc_nibbles(data, n) || crc_bits(data, n) != crc_masked(data, n)) return 1;
    printf("%08x %08x %04x %08x\n", crc_table(data, 257), adler(data, 257), fletcher(data, 257), crc_bits((const uint8_t *)"123456789", 9));
    return 0;
}
