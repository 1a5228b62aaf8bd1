// SHA-256 and SHA-1 of texts that straddle block borders, byte by byte and in one go.
#include <stdint.h>
#include <stdio.h>
#include <string.h>

typedef struct { uint32_t h[8]; uint8_t block[64]; unsigned used; uint64_t bits; } SHA;
static uint32_t k[64];

static uint32_t ror(uint32_t v, int n) { return v >> n | v << (32 - n); }
static uint32_t rol(uint32_t v, int n) { return v << n | v >> (32 - n); }
static void constants(void) { // fractional parts of the cube roots of the first primes, by integer search
    int n = 0;
    for (unsigned p = 2; n < 64; p++) {
        int prime = 1;
        for (unsigned d = 2; d * d <= p; d++) prime &= p % d != 0;
        if (!prime) continue;
        uint64_t lo = 0, hi = 8ull << 32; // x * 2^32 with x^3 <= p
        while (lo + 1 < hi) {
            uint64_t mid = (lo + hi) / 2;
            uint64_t sq = (mid >> 16) * (mid >> 16); // 2^32 scaled
            uint64_t cube = (sq >> 16) * (mid >> 16); // 2^32 scaled
            if (cube >> 32 < p) lo = mid;
            else hi = mid;
        }
        k[n++] = (uint32_t)lo;
    }
}
static void block256(SHA *s) {
    uint32_t w[64], v[8];
    for (int i = 0; i < 16; i++)
        w[i] = (uint32_t)s->block[4 * i] << 24 | s->block[4 * i + 1] << 16 | s->block[4 * i + 2] << 8 | s->block[4 * i + 3];
    for (int i = 16; i < 64; i++)
        w[i] = w[i - 16] + w[i - 7] + (ror(w[i - 15], 7) ^ ror(w[i - 15], 18) ^ w[i - 15] >> 3) +
               (ror(w[i - 2], 17) ^ ror(w[i - 2], 19) ^ w[i - 2] >> 10);
    memcpy(v, s->h, sizeof v);
    for (int i = 0; i < 64; i++) {
        uint32_t t1 = v[7] + (ror(v[4], 6) ^ ror(v[4], 11) ^ ror(v[4], 25)) + ((v[4] & v[5]) ^ (~v[4] & v[6])) + k[i] + w[i];
        uint32_t t2 = (ror(v[0], 2) ^ ror(v[0], 13) ^ ror(v[0], 22)) + ((v[0] & v[1]) ^ (v[0] & v[2]) ^ (v[1] & v[2]));
        for (int j = 7; j > 0; j--) v[j] = v[j - 1];
        v[4] += t1, v[0] = t1 + t2;
    }
    for (int i = 0; i < 8; i++) s->h[i] += v[i];
}
static void block1(SHA *s) {
    uint32_t w[80], a = s->h[0], b = s->h[1], c = s->h[2], d = s->h[3], e = s->h[4];
    for (int i = 0; i < 80; i++) {
        if (i < 16)
            w[i] = (uint32_t)s->block[4 * i] << 24 | s->block[4 * i + 1] << 16 | s->block[4 * i + 2] << 8 | s->block[4 * i + 3];
        else w[i] = rol(w[i - 3] ^ w[i - 8] ^ w[i - 14] ^ w[i - 16], 1);
        uint32_t f = i < 20 ? (b & c) | (~b & d) : i < 40 ? b ^ c ^ d : i < 60 ? (b & c) | (b & d) | (c & d) : b ^ c ^ d;
        uint32_t q = i < 20 ? 0x5A827999 : i < 40 ? 0x6ED9EBA1 : i < 60 ? 0x8F1BBCDC : 0xCA62C1D6;
        uint32_t t = rol(a, 5) + f + e + q + w[i];
        e = d, d = c, c = rol(b, 30), b = a, a = t;
    }
    s->h[0] += a, s->h[1] += b, s->h[2] += c, s->h[3] += d, s->h[4] += e;
}
static void feed(SHA *s, const void *data, size_t n, void (*block)(SHA *)) {
    const uint8_t *p = data;
    s->bits += 8 * n;
    while (n--) {
        s->block[s->used++] = *p++;
        if (s->used == 64) block(s), s->used = 0;
    }
}
static void finish(SHA *s, void (*block)(SHA *), int words) {
    uint64_t bits = s->bits;
    feed(s, "\x80", 1, block);
    while (s->used != 56) feed(s, "", 1, block);
    uint8_t len[8];
    for (int i = 0; i < 8; i++) len[i] = (uint8_t)(bits >> (56 - 8 * i));
    feed(s, len, 8, block);
    for (int i = 0; i < words; i++) printf("%08x", s->h[i]);
    putchar('\n');
}
static const SHA start256 = {{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a, 0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19}, {0}, 0, 0};
static const SHA start1 = {{0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0}, {0}, 0, 0};
int main(void) {
    char text[200];
    constants();
    printf("%08x %08x\n", k[0] & 0xffff0000, k[63] & 0xffff0000);
    for (int n = 0; n < 200; n += 61) {
        for (int i = 0; i < n; i++) text[i] = (char)('a' + i % 26);
        SHA a = start256, b = start1, c = start256;
        feed(&a, text, (size_t)n, block256);
        for (int i = 0; i < n; i++) feed(&c, text + i, 1, block256);
        feed(&b, text, (size_t)n, block1);
        finish(&a, block256, 8), finish(&c, block256, 8), finish(&b, block1, 5);
    }
    return 0;
}
