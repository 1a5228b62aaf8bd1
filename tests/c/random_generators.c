// Random number generators with known first outputs, in 32 and 64 bits: shifts, multiplies, carries, a twister, shuffles.
#include <stdint.h>
#include <stdio.h>

static uint32_t mt[624];
static int at = 624;
static void mt_seed(uint32_t s) {
    mt[0] = s;
    for (uint32_t i = 1; i < 624; i++) mt[i] = 1812433253u * (mt[i - 1] ^ mt[i - 1] >> 30) + i;
    at = 624;
}
static uint32_t twister(void) {
    if (at == 624) {
        for (int i = 0; i < 624; i++) {
            uint32_t y = (mt[i] & 0x80000000) | (mt[(i + 1) % 624] & 0x7fffffff);
            mt[i] = mt[(i + 397) % 624] ^ y >> 1 ^ (y & 1 ? 0x9908b0df : 0);
        }
        at = 0;
    }
    uint32_t y = mt[at++];
    y ^= y >> 11, y ^= y << 7 & 0x9d2c5680, y ^= y << 15 & 0xefc60000;
    return y ^ y >> 18;
}
static uint64_t split;
static uint64_t splitmix(void) {
    uint64_t z = split += 0x9e3779b97f4a7c15;
    z = (z ^ z >> 30) * 0xbf58476d1ce4e5b9, z = (z ^ z >> 27) * 0x94d049bb133111eb;
    return z ^ z >> 31;
}
static uint64_t rotl(uint64_t v, int k) { return v << k | v >> (64 - k); }
static uint64_t x[4];
static uint64_t xoshiro(void) {
    uint64_t r = rotl(x[1] * 5, 7) * 9, t = x[1] << 17;
    x[2] ^= x[0], x[3] ^= x[1], x[1] ^= x[2], x[0] ^= x[3], x[2] ^= t, x[3] = rotl(x[3], 45);
    return r;
}
static uint64_t pcg_state = 42;
static uint32_t pcg(void) {
    uint64_t old = pcg_state;
    pcg_state = old * 6364136223846793005ull + 1442695040888963407ull;
    uint32_t s = (uint32_t)((old >> 18 ^ old) >> 27), r = (uint32_t)(old >> 59);
    return s >> r | s << (-r & 31);
}
static uint32_t carry_x = 123456789, carry_c = 362436;
static uint32_t with_carry(void) {
    uint64_t t = 698769069ull * carry_x + carry_c;
    carry_c = (uint32_t)(t >> 32);
    return carry_x = (uint32_t)t;
}
static uint16_t lfsr = 0xACE1;
static unsigned next_bit(void) {
    unsigned bit = (lfsr ^ lfsr >> 2 ^ lfsr >> 3 ^ lfsr >> 5) & 1;
    return lfsr = (uint16_t)(lfsr >> 1 | bit << 15);
}
static unsigned park(unsigned s) { return (unsigned)(s * 48271ull % 2147483647u); }
static unsigned schrage(unsigned s) {
    int hi = (int)(s / 44488), lo = (int)(s % 44488), t = 48271 * lo - 3399 * hi;
    return (unsigned)(t < 0 ? t + 2147483647 : t);
}
int main(void) {
    mt_seed(5489);
    uint32_t sum = 0;
    for (int i = 0; i < 1500; i++) {
        uint32_t v = twister();
        sum = sum * 31 + v;
        if (i < 3 || i == 999) printf("%u ", v);
    }
    printf("%u\n", sum);
    for (int i = 0; i < 4; i++) x[i] = splitmix();
    uint64_t mix = 0;
    for (int i = 0; i < 500; i++) mix = mix * 1099511628211u ^ xoshiro() ^ splitmix() >> 3;
    unsigned first = pcg(), second = pcg();
    printf("%016llx %u %u %u\n", (unsigned long long)mix, first, second, pcg());
    for (int i = 0; i < 100; i++) sum ^= with_carry() << (i & 7);
    int period = 0;
    do period++;
    while (next_bit() != 0xACE1);
    unsigned s = 1, bad = 0;
    for (int i = 0; i < 2000; i++) {
        unsigned a = park(s), b = schrage(s);
        bad += a != b, s = a;
    }
    printf("%u %d %u %u\n", sum, period, s, bad);
    unsigned char cards[52];
    for (int i = 0; i < 52; i++) cards[i] = (unsigned char)i;
    for (unsigned i = 51; i > 0; i--) {
        unsigned j = (unsigned)((uint64_t)pcg() * (i + 1) >> 32);
        unsigned char t = cards[i];
        cards[i] = cards[j], cards[j] = t;
    }
    for (int i = 0; i < 52; i += 5) printf("%c%c ", "A23456789TJQK"[cards[i] % 13], "CDHS"[cards[i] / 13]);
    putchar('\n');
    return 0;
}
