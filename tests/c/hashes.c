// Hash functions and generators of 32 and 64 bits: rotations, products, shifts and exclusive ORs that wrap.
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#define ROTL32(x, r) ((x) << (r) | (x) >> (32 - (r)))
#define ROTL64(x, r) ((x) << (r) | (x) >> (64 - (r)))

static uint32_t djb(const char *s) {
    uint32_t h = 5381;
    for (; *s; s++) h = (h << 5) + h + (unsigned char)*s;
    return h;
}
static uint32_t fnv32(const char *s) {
    uint32_t h = 2166136261u;
    for (; *s; s++) h = (h ^ (*s & 0xFF)) * 16777619u;
    return h;
}
static uint64_t fnv64(const char *s) {
    uint64_t h = 14695981039346656037ULL;
    for (; *s; s++) h = (h ^ (unsigned char)*s) * 1099511628211ULL;
    return h;
}
static uint32_t one_at_a_time(const char *s) {
    uint32_t h = 0;
    for (; *s; s++) h += (unsigned char)*s, h += h << 10, h ^= h >> 6;
    h += h << 3, h ^= h >> 11;
    return h + (h << 15);
}
static uint32_t elf(const char *s) {
    uint32_t h = 0, g;
    for (; *s; s++) {
        h = (h << 4) + (unsigned char)*s;
        if ((g = h & 0xF0000000) != 0) h ^= g >> 24;
        h &= ~g;
    }
    return h;
}
static uint32_t murmur(const char *s, uint32_t seed) {
    uint32_t n = (uint32_t)strlen(s), h = seed, k;
    for (uint32_t i = 0; i + 4 <= n; i += 4) {
        memcpy(&k, s + i, 4);
        k *= 0xCC9E2D51, k = ROTL32(k, 15), k *= 0x1B873593;
        h ^= k, h = ROTL32(h, 13), h = h * 5 + 0xE6546B64;
    }
    const unsigned char *tail = (const unsigned char *)s + (n & ~3u);
    k = 0;
    switch (n & 3) {
    case 3: k ^= (uint32_t)tail[2] << 16; // fall through
    case 2: k ^= (uint32_t)tail[1] << 8;  // fall through
    case 1: k ^= tail[0], k *= 0xCC9E2D51, k = ROTL32(k, 15), h ^= k * 0x1B873593;
    }
    h ^= n, h ^= h >> 16, h *= 0x85EBCA6B, h ^= h >> 13, h *= 0xC2B2AE35;
    return h ^ h >> 16;
}
static uint64_t sip_round(uint64_t v[4]) {
    v[0] += v[1], v[1] = ROTL64(v[1], 13), v[1] ^= v[0], v[0] = ROTL64(v[0], 32);
    v[2] += v[3], v[3] = ROTL64(v[3], 16), v[3] ^= v[2];
    v[0] += v[3], v[3] = ROTL64(v[3], 21), v[3] ^= v[0];
    v[2] += v[1], v[1] = ROTL64(v[1], 17), v[1] ^= v[2], v[2] = ROTL64(v[2], 32);
    return v[0] ^ v[1] ^ v[2] ^ v[3];
}
static uint32_t pearson(const char *s) {
    static unsigned char t[256];
    if (!t[0])
        for (int i = 0; i < 256; i++) t[i] = (unsigned char)(i * 167 + 13 & 255);
    unsigned char h = 0;
    for (; *s; s++) h = t[(h ^ *s) & 255];
    return h;
}

static uint32_t xorshift32(uint32_t *s) { return *s ^= *s << 13, *s ^= *s >> 17, *s ^= *s << 5; }
static uint64_t xorshift64(uint64_t *s) {
    *s ^= *s >> 12, *s ^= *s << 25, *s ^= *s >> 27;
    return *s * 2685821657736338717ULL;
}
static uint32_t pcg(uint64_t *s) {
    uint64_t old = *s;
    *s = old * 6364136223846793005ULL + 1442695040888963407ULL;
    uint32_t x = (uint32_t)(((old >> 18) ^ old) >> 27), r = (uint32_t)(old >> 59);
    return x >> r | x << (-r & 31);
}
static unsigned lfsr16(unsigned *s) { return *s = (*s >> 1) ^ (-(*s & 1u) & 0xB400u); }

int main(void) {
    static const char *const texts[] = {"", "a", "ab", "abc", "hello, world", "The quick brown fox jumps over the lazy dog",
                                        "\xff\x80\x7f", "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"};
    for (unsigned k = 0; k < sizeof texts / sizeof *texts; k++) {
        const char *s = texts[k];
        printf("%08x %08x %016llx %08x %08x %08x %02x\n", djb(s), fnv32(s), (unsigned long long)fnv64(s), one_at_a_time(s),
               elf(s), murmur(s, 0x9747B28C), pearson(s));
    }
    uint32_t a = 2463534242u;
    uint64_t b = 88172645463325252ULL, c = 42, v[4] = {1, 2, 3, 4}, mixed = 0;
    unsigned l = 0xACE1, period = 0;
    for (int k = 0; k < 1000; k++) mixed = ROTL64(mixed, 7) ^ xorshift32(&a) ^ xorshift64(&b) ^ (uint64_t)pcg(&c) << 32 ^ sip_round(v);
    do period++;
    while (lfsr16(&l) != 0xACE1);
    printf("%08x %016llx %016llx %016llx %u\n", a, (unsigned long long)b, (unsigned long long)c, (unsigned long long)mixed, period);
    return 0;
}
