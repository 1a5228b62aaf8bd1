// 64-bit arithmetic: carries between the halves, products, comparisons, mixed widths, bit operations.
#include <stdint.h>
#include <stdio.h>

typedef unsigned long long ull;
static ull seed = 88172645463325252ull;
static ull next(void) {
    seed ^= seed << 13;
    seed ^= seed >> 7;
    seed ^= seed << 17;
    return seed;
}

// The high half of the product of two 64-bit numbers.
static ull mul_high(ull a, ull b) {
    ull al = (uint32_t)a, ah = a >> 32, bl = (uint32_t)b, bh = b >> 32;
    ull low = al * bl, m1 = ah * bl + (low >> 32), m2 = al * bh + (uint32_t)m1;
    return ah * bh + (m1 >> 32) + (m2 >> 32);
}

static ull power_mod(ull base, ull e, ull mod) {
    ull r = 1;
    for (base %= mod; e; e >>= 1, base = base * base % mod)
        if (e & 1) r = r * base % mod;
    return r;
}

static int order(long long a, long long b) { return (a > b) - (a < b); }
static int uorder(ull a, ull b) { return (a >= b) - (a <= b); }

static ull isqrt(ull v) {
    ull lo = 0, hi = 0xffffffffull;
    while (lo < hi) {
        ull mid = lo + (hi - lo + 1) / 2;
        if (mid * mid <= v) lo = mid;
        else hi = mid - 1;
    }
    return lo;
}

int main(void) {
    ull a = 0xffffffffull, b = 1;
    printf("%llx %llx %llx\n", a + b, b - a, (ull)-b);
    printf("%llx %llx\n", a * a, a * a * a);
    printf("%llx\n", mul_high(0xfedcba9876543210ull, 0x0123456789abcdefull));
    printf("%llu\n", power_mod(3, 1000000006, 1000000007));
    printf("%llu\n", power_mod(7, 0x123456789abull, 4294967291u));
    ull sum = 0;
    for (int i = 0; i < 200; i++) {
        ull x = next(), y = next() >> (i % 64);
        sum += x * y ^ mul_high(x, y);
        sum ^= (x & y) | (~x & (y | 1));
        sum += x / (y | 1) + x % (y | 1);
        sum += order(x, y) * 3 + uorder(x, y);
        sum -= (long long)x >> (i % 63);
        sum += isqrt(x);
    }
    printf("%016llx\n", sum);
    static const long long edge[] = {0, 1, -1, 0x7fffffff, 0x80000000, -0x80000000LL, 0xffffffff, 0x100000000, INT64_MAX,
                                     INT64_MIN};
    for (int i = 0; i < 10; i++) {
        for (int j = 0; j < 10; j++) printf("%2d%2d", order(edge[i], edge[j]), uorder(edge[i], edge[j]));
        printf("  %d%d%d\n", !edge[i], edge[i] ? 1 : 2, edge[i] && 1);
    }
    int32_t i = -5;
    uint32_t u = 4000000000u;
    int64_t w = i;
    w += u;
    printf("%lld ", (long long)w);
    w *= i;
    printf("%lld ", (long long)w);
    w -= u * u;
    printf("%lld ", (long long)w);
    w = (int64_t)u * i;
    printf("%lld ", (long long)w);
    w = (int64_t)i * i * 1000000000;
    printf("%lld\n", (long long)w);
    u += 0x100000005ull;
    i = (int)(w >> 3);
    printf("%u %d\n", u, i);
    uint8_t bytes[8];
    for (int k = 0; k < 8; k++) bytes[k] = sum >> (8 * k);
    ull back = 0;
    for (int k = 7; k >= 0; k--) back = back << 8 | bytes[k];
    printf("%d\n", back == sum);
    int loops = 0;
    for (ull k = 0xfffffffeull; k < 0x100000003ull; k++) loops++;
    for (long long k = 3; k >= -3; k--) loops += k < 0 ? 10 : 1;
    printf("%d\n", loops);
    return (sum ^ sum >> 32) & 0x7f;
}
