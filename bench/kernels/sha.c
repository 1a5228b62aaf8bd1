// SHA-256 over some kilobytes.
#include "kernel.h"

static const unsigned k[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5, 0xd807aa98, 0x12835b01,
    0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174, 0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc,
    0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da, 0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147,
    0x06ca6351, 0x14292967, 0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070, 0x19a4c116, 0x1e376c08,
    0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3, 0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208,
    0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

struct state {
    unsigned h[8];
    unsigned long long bytes;
    unsigned char block[64];
    int filled;
};

static unsigned rotate(unsigned x, int n) { return x >> n | x << (32 - n); }

static void compress(struct state *s)
{
    unsigned w[64], v[8];
    for (int i = 0; i < 16; i++)
        w[i] = (unsigned)s->block[4 * i] << 24 | (unsigned)s->block[4 * i + 1] << 16 | (unsigned)s->block[4 * i + 2] << 8 |
               s->block[4 * i + 3];
    for (int i = 16; i < 64; i++) {
        unsigned a = rotate(w[i - 15], 7) ^ rotate(w[i - 15], 18) ^ w[i - 15] >> 3;
        unsigned b = rotate(w[i - 2], 17) ^ rotate(w[i - 2], 19) ^ w[i - 2] >> 10;
        w[i] = w[i - 16] + a + w[i - 7] + b;
    }
    for (int i = 0; i < 8; i++) v[i] = s->h[i];
    for (int i = 0; i < 64; i++) {
        unsigned big1 = rotate(v[4], 6) ^ rotate(v[4], 11) ^ rotate(v[4], 25);
        unsigned choose = (v[4] & v[5]) ^ (~v[4] & v[6]);
        unsigned t1 = v[7] + big1 + choose + k[i] + w[i];
        unsigned big0 = rotate(v[0], 2) ^ rotate(v[0], 13) ^ rotate(v[0], 22);
        unsigned t2 = big0 + ((v[0] & v[1]) ^ (v[0] & v[2]) ^ (v[1] & v[2]));
        for (int j = 7; j > 0; j--) v[j] = v[j - 1];
        v[4] += t1;
        v[0] = t1 + t2;
    }
    for (int i = 0; i < 8; i++) s->h[i] += v[i];
}

static void add(struct state *s, const unsigned char *p, int n)
{
    s->bytes += (unsigned)n;
    while (n--) {
        s->block[s->filled++] = *p++;
        if (s->filled == 64) {
            compress(s);
            s->filled = 0;
        }
    }
}

static void end(struct state *s)
{
    unsigned long long bits = s->bytes * 8;
    unsigned char c = 0x80;
    do {
        add(s, &c, 1);
        c = 0;
    } while (s->filled != 56);
    for (int i = 7; i >= 0; i--) {
        c = (unsigned char)(bits >> 8 * i);
        add(s, &c, 1);
    }
}

int main(void)
{
    static unsigned char bytes[2500];
    struct state s = {{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a, 0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19}, 0, {0}, 0};
    for (int i = 0; i < 2500; i++) bytes[i] = (unsigned char)next_random();
    add(&s, bytes, 2500);
    end(&s);
    for (int i = 0; i < 8; i++) mix(s.h[i]);
    return finish();
}
