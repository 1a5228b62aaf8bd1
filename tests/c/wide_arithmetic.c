// 64-bit arithmetic: products by halves, long division, shifts over the word border, comparisons, conversions, mixed signs.
#include <stdint.h>
#include <stdio.h>

typedef struct { uint64_t hi, lo; } U128;
static U128 mul(uint64_t a, uint64_t b) {
    uint64_t al = (uint32_t)a, ah = a >> 32, bl = (uint32_t)b, bh = b >> 32;
    uint64_t ll = al * bl, lh = al * bh, hl = ah * bl, hh = ah * bh, mid = (ll >> 32) + (uint32_t)lh + (uint32_t)hl;
    return (U128){hh + (lh >> 32) + (hl >> 32) + (mid >> 32), mid << 32 | (uint32_t)ll};
}
static uint64_t div128(U128 n, uint64_t d, uint64_t *rest) {
    uint64_t q = 0, r = 0;
    for (int i = 127; i >= 0; i--) {
        uint64_t top = r >> 63;
        r = r << 1 | (i >= 64 ? n.hi >> (i - 64) & 1 : n.lo >> i & 1);
        if (top || r >= d) r -= d, q |= i < 64 ? 1ull << i : 0;
    }
    *rest = r;
    return q;
}
static uint64_t power_mod(uint64_t b, uint64_t e, uint64_t m) {
    uint64_t r = 1, rest;
    for (; e; e >>= 1) {
        if (e & 1) div128(mul(r, b), m, &rest), r = rest;
        div128(mul(b, b), m, &rest), b = rest;
    }
    return r;
}
static uint64_t shifts(uint64_t v, int n) { return (v << n) ^ (v >> n) ^ (uint64_t)((int64_t)v >> n) ^ (v << (63 - n)); }
static int order(int64_t a, int64_t b) { return (a < b) | (a <= b) << 1 | ((uint64_t)a < (uint64_t)b) << 2 | ((uint32_t)a > (uint32_t)b) << 3 | (a == b) << 4; }
static int64_t steps(int64_t v) {
    int64_t n = 0;
    while (v != 1) v = v & 1 ? 3 * v + 1 : v / 2, n++;
    return n;
}
static uint64_t gcd(uint64_t a, uint64_t b) {
    while (b) {
        uint64_t t = a % b;
        a = b, b = t;
    }
    return a;
}
static uint64_t root(uint64_t v) {
    uint64_t r = 0;
    for (uint64_t bit = 1ull << 62; bit; bit >>= 2)
        if (v >= r + bit) v -= r + bit, r = r >> 1 | bit;
        else r >>= 1;
    return r;
}
static double to_double(uint64_t v) { return (double)v - (double)(int64_t)(v >> 1) * 2; }
int main(void) {
    uint64_t x = 88172645463325252ull, h = 0, rest;
    for (int i = 0; i < 60; i++) {
        x ^= x << 13, x ^= x >> 7, x ^= x << 17;
        U128 p = mul(x, ~x >> (i & 31));
        uint64_t d = (x >> (i & 15)) | 1, q = div128((U128){p.hi % d, p.lo}, d, &rest);
        U128 back = mul(q, d);
        if (back.lo + rest != p.lo) return printf("wrong %d\n", i), 1;
        h = h * 31 + q + shifts(x, i & 31) + shifts(x, 32 + (i & 31)) + gcd(x, d + 1) + root(x);
        h += (uint64_t)order((int64_t)x, (int64_t)(x << (i & 7))) + (uint64_t)((int64_t)x / ((int)(i * 7) - 200 ? i * 7 - 200 : 1)) + x % 1000003;
        h ^= (uint64_t)((int64_t)x % -12345) + (uint64_t)(int32_t)x + (uint64_t)(uint8_t)x * 3;
    }
    printf("%016llx\n", (unsigned long long)h);
    printf("%llu %llu %lld %lld\n", (unsigned long long)power_mod(3, 1000000006, 1000000007), (unsigned long long)power_mod(2, 1ull << 40, 0xfffffffffffffff1ull), (long long)steps(27), (long long)steps(837799));
    printf("%.1f %.1f %lld %llu %lld\n", to_double(~0ull), to_double(1ull << 63), (long long)-1.5e18, (unsigned long long)1.8e19, (long long)(float)(1ll << 40));
    printf("%d %d %d\n", (int)(5000000000ll % 4294967296ll), (int)(-7ll / 2), (int)(-7ll >> 1));
    return 0;
}
