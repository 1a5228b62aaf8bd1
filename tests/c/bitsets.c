// Sets as bit vectors: operations on whole words, walks over members, subsets, a sieve, boards of bits.
#include <stdint.h>
#include <stdio.h>
#include <string.h>

enum { BITS = 200, WORDS = (BITS + 31) / 32 };
typedef struct { uint32_t w[WORDS]; } SET;

static void add(SET *s, unsigned k) { s->w[k >> 5] |= 1u << (k & 31); }
static void drop(SET *s, unsigned k) { s->w[k / 32] &= ~(1u << k % 32); }
static void flip(SET *s, unsigned k) { s->w[k >> 5] ^= 1u << (k & 0x1F); }
static int has(const SET *s, unsigned k) { return s->w[k >> 5] >> (k & 31) & 1; }
static void add_range(SET *s, unsigned from, unsigned to) {
    for (unsigned w = from >> 5; w <= to >> 5; w++) {
        uint32_t low = w == from >> 5 ? ~0u << (from & 31) : ~0u, high = w == to >> 5 ? ~0u >> (31 - (to & 31)) : ~0u;
        s->w[w] |= low & high;
    }
}
static int size(const SET *s) {
    int n = 0;
    for (int w = 0; w < WORDS; w++)
        for (uint32_t v = s->w[w]; v; v &= v - 1) n++;
    return n;
}
static int next(const SET *s, int from) {
    for (int k = from; k < BITS; k = (k | 31) + 1) {
        uint32_t v = s->w[k >> 5] & ~0u << (k & 31);
        if (!v) continue;
        int at = 0;
        while (!(v >> at & 1)) at++;
        return (k & ~31) | at;
    }
    return -1;
}
static SET combine(const SET *a, const SET *b, char op) {
    SET r;
    for (int w = 0; w < WORDS; w++) {
        uint32_t x = a->w[w], y = b->w[w];
        r.w[w] = op == '&' ? x & y : op == '|' ? x | y : op == '^' ? x ^ y : x & ~y;
    }
    return r;
}

static int primes_below(int n) {
    static uint32_t odd_composite[2048 / 32 / 2 + 1];
    int count = n > 2;
    memset(odd_composite, 0, sizeof odd_composite);
    for (int k = 3; k < n; k += 2) {
        if (odd_composite[k >> 6] & 1u << (k >> 1 & 31)) continue;
        count++;
        for (int m = k * k; m < n; m += 2 * k) odd_composite[m >> 6] |= 1u << (m >> 1 & 31);
    }
    return count;
}

static int queens(unsigned all, unsigned columns, unsigned left, unsigned right) {
    if (columns == all) return 1;
    int n = 0;
    for (unsigned free = all & ~(columns | left | right); free; free &= free - 1) {
        unsigned bit = free & -free;
        n += queens(all, columns | bit, (left | bit) << 1, (right | bit) >> 1);
    }
    return n;
}

static uint64_t knight_moves(uint64_t board) {
    uint64_t l1 = board >> 1 & 0x7F7F7F7F7F7F7F7FULL, l2 = board >> 2 & 0x3F3F3F3F3F3F3F3FULL;
    uint64_t r1 = board << 1 & 0xFEFEFEFEFEFEFEFEULL, r2 = board << 2 & 0xFCFCFCFCFCFCFCFCULL;
    uint64_t h1 = l1 | r1, h2 = l2 | r2;
    return h1 << 16 | h1 >> 16 | h2 << 8 | h2 >> 8;
}

int main(void) {
    SET a = {{0}}, b = {{0}};
    for (unsigned k = 0; k < BITS; k += 3) add(&a, k);
    add_range(&b, 17, 140), drop(&b, 64), drop(&b, 96), flip(&b, 5), flip(&b, 100);
    SET c = combine(&a, &b, '&'), d = combine(&a, &b, '|'), e = combine(&a, &b, '^'), f = combine(&a, &b, '-');
    printf("%d %d %d %d %d %d\n", size(&a), size(&b), size(&c), size(&d), size(&e), size(&f));
    for (int k = next(&c, 0); k >= 0; k = next(&c, k + 1)) printf("%d%s", k, has(&e, (unsigned)k) ? "! " : " ");
    int subsets = 0, weight = 0;
    for (unsigned mask = 0xB6D, sub = mask;; sub = (sub - 1) & mask) {
        subsets++, weight += (int)(sub & 0xFF);
        if (!sub) break;
    }
    unsigned v = 0x1F, steps = 0;
    for (; v < 0x2000; steps++) {
        unsigned low = v & -v, ripple = v + low;
        v = ((ripple ^ v) >> 2) / low | ripple;
    }
    printf("\n%d %d %u %x\n%d %d\n", subsets, weight, steps, v, primes_below(2000), queens(0x7F, 0, 0, 0));
    uint64_t reach = 1;
    for (int k = 0; k < 6; k++) reach |= knight_moves(reach), printf("%016llx ", (unsigned long long)reach);
    printf("\n");
    return 0;
}
