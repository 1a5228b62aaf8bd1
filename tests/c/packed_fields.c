// The same numbers packed by bit-fields, by shifts and masks, and by bytes in either order.
#include <stdint.h>
#include <stdio.h>
#include <string.h>

struct date {
    unsigned day : 5, month : 4, year : 12;
    signed zone : 5;
    unsigned dst : 1;
};
#define FIELD(w, at, n) ((w) >> (at) & ((1u << (n)) - 1))
#define PUT(w, at, n, v) ((w) = ((w) & ~(((1u << (n)) - 1) << (at))) | ((uint32_t)(v) & ((1u << (n)) - 1)) << (at))

static uint32_t pack(struct date d) {
    return d.day | d.month << 5 | d.year << 9 | (uint32_t)(d.zone & 31) << 21 | (uint32_t)d.dst << 26;
}
static struct date unpack(uint32_t w) {
    struct date d;
    d.day = w, d.month = w >> 5, d.year = w >> 9, d.zone = (int)(w >> 21), d.dst = w >> 26 & 1;
    return d;
}
static int same(struct date a, struct date b) {
    return (a.day ^ b.day | a.month ^ b.month | a.year ^ b.year | (unsigned)(a.zone ^ b.zone) | a.dst ^ b.dst) == 0;
}

static uint16_t swap16(uint16_t v) { return (uint16_t)(v << 8 | v >> 8); }
static uint32_t swap32(uint32_t v) {
    return (v & 0xFF) << 24 | (v & 0xFF00) << 8 | (v & 0xFF0000) >> 8 | (v & 0xFF000000) >> 24;
}
static uint64_t swap64(uint64_t v) { return (uint64_t)swap32((uint32_t)v) << 32 | swap32((uint32_t)(v >> 32)); }
static uint32_t load_be(const uint8_t *p) {
    return (uint32_t)p[0] << 24 | (uint32_t)p[1] << 16 | (uint32_t)p[2] << 8 | p[3];
}
static uint32_t load_le(const uint8_t *p) {
    return p[0] | (uint32_t)p[1] << 8 | (uint32_t)p[2] << 16 | (uint32_t)p[3] << 24;
}
static void store_be(uint8_t *p, uint32_t v) {
    p[0] = (uint8_t)(v >> 24), p[1] = v >> 16 & 0xFF, p[2] = (v & 0xFF00) >> 8, p[3] = (uint8_t)(v & 0xFF);
}

static int write_varint(uint8_t *p, uint64_t v) {
    int n = 0;
    for (; v > 0x7F; v >>= 7) p[n++] = (uint8_t)((v & 0x7F) | 0x80);
    p[n++] = (uint8_t)v;
    return n;
}
static int read_varint(const uint8_t *p, uint64_t *v) {
    int n = 0;
    *v = 0;
    do *v |= (uint64_t)(p[n] & 0x7F) << 7 * n;
    while (p[n++] & 0x80);
    return n;
}
static uint32_t zigzag(int32_t v) { return (uint32_t)v << 1 ^ (uint32_t)(v >> 31); }
static int32_t unzigzag(uint32_t v) { return (int32_t)(v >> 1 ^ -(v & 1)); }
static unsigned to_bcd(unsigned v) {
    unsigned r = 0;
    for (int at = 0; v; v /= 10, at += 4) r |= v % 10 << at;
    return r;
}
static unsigned from_bcd(unsigned v) { return v ? (v & 15) + 10 * from_bcd(v >> 4) : 0; }

int main(void) {
    uint32_t w = 12345, sum = 0;
    int wrong = 0;
    for (int k = 0; k < 500; k++) {
        struct date d = unpack(w);
        uint32_t p = pack(d), q = 0;
        wrong += p != (w & 0x7FFFFFF) || !same(unpack(p), d);
        PUT(q, 0, 5, d.day), PUT(q, 5, 4, d.month), PUT(q, 9, 12, d.year), PUT(q, 21, 5, d.zone), PUT(q, 26, 1, d.dst);
        wrong += q != p || FIELD(p, 9, 12) != d.year || (int)(FIELD(p, 21, 5) ^ 16) - 16 != d.zone;
        uint8_t b[16];
        store_be(b, w);
        wrong += load_be(b) != w || load_le(b) != swap32(w) || swap32(swap32(w)) != w;
        wrong += swap16((uint16_t)w) != (uint16_t)(swap32(w) >> 16);
        uint64_t v = (uint64_t)w << (k & 31) ^ w, back;
        int n = write_varint(b, v);
        wrong += read_varint(b, &back) != n || back != v || swap64(swap64(v)) != v;
        wrong += unzigzag(zigzag((int32_t)w)) != (int32_t)w || from_bcd(to_bcd(w & 0xFFFFFF)) != (w & 0xFFFFFF);
        d.zone += 1, d.day -= 3, d.year <<= 1, d.month ^= 9, d.dst ^= 1;
        sum = sum * 31 + pack(d) + (uint32_t)n + to_bcd(w % 10000) + (uint32_t)d.zone;
        w = w * 1103515245 + 12345;
    }
    struct date d = {31, 12, 2026, -12, 1};
    printf("%d wrong, %08x, %d %d %d %d %d, %08x\n", wrong, sum, d.day, d.month, d.year, d.zone, d.dst, pack(d));
    return wrong != 0;
}
