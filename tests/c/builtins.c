// Built-in functions: bit counts, byte swaps, overflow checks, constants, expectations, object sizes, types compared.
// host: no
#include <limits.h>
#include <stdio.h>
#include <string.h>

static const unsigned words[] = {1, 2, 0x80000000u, 0xffffffffu, 0x00f0f000u, 0x12345678u};
static const unsigned long long longs[] = {1, 1ull << 63, ~0ull, 0xf000000000ull, 0x123456789abcdefull};
static const int ints[] = {0, 1, -1, 7, -100, 46341, INT_MAX, INT_MIN, 65536};

#define OVER(kind, type, a, b)                                                                                         \
    do {                                                                                                               \
        type r_;                                                                                                       \
        int o_ = __builtin_##kind##_overflow(a, b, &r_);                                                               \
        sum = sum * 31 + o_ * 7 + (unsigned)r_;                                                                       \
        over += o_;                                                                                                    \
    } while (0)

static int guarded(int *out, int a, int b) {
    if (__builtin_expect(__builtin_sadd_overflow(a, b, out), 0)) return -1;
    if (__builtin_expect(*out > 1000, 1)) return 1;
    return 0;
}
static int kind(int n) {
    switch (n & 3) {
    case 0: return 10;
    case 1: return 20;
    case 2: return 30;
    case 3: return 40;
    }
    __builtin_unreachable();
}
static int constant(int n) { return __builtin_constant_p(3 + 4) * 2 + __builtin_constant_p("x"[0]) * 0 + n; }

int main(void) {
    unsigned sum = 0;
    int over = 0;
    for (int i = 0; i < 6; i++) {
        unsigned w = words[i];
        printf("%d %d %d %d %d %08x %04x\n", __builtin_clz(w), __builtin_ctz(w), __builtin_popcount(w), __builtin_parity(w),
               __builtin_ffs((int)w), __builtin_bswap32(w), __builtin_bswap16(w));
    }
    for (int i = 0; i < 5; i++) {
        unsigned long long w = longs[i];
        printf("%d %d %d %d %d %016llx\n", __builtin_clzll(w), __builtin_ctzll(w), __builtin_popcountll(w),
               __builtin_parityll(w), __builtin_ffsll((long long)w), (unsigned long long)__builtin_bswap64(w));
    }
    printf("%d %d %d %d\n", __builtin_clrsb(-1), __builtin_clrsb(1), __builtin_ffs(0), __builtin_clrsbll(-4));
    for (int i = 0; i < 9; i++)
        for (int j = 0; j < 9; j++) {
            int a = ints[i], b = ints[j];
            OVER(add, int, a, b);
            OVER(sub, int, a, b);
            OVER(mul, int, a, b);
            OVER(add, unsigned, (unsigned)a, (unsigned)b);
            OVER(sub, unsigned, (unsigned)a, (unsigned)b);
            OVER(mul, unsigned, (unsigned)a, (unsigned)b);
            OVER(add, signed char, a, b);
            OVER(mul, short, a, b);
            OVER(sub, unsigned char, a, b);
            OVER(add, int, (unsigned)a, b);
            OVER(mul, int, (unsigned)a, (unsigned)b);
        }
    printf("%u %d\n", sum, over);
    int out;
    printf("%d %d %d\n", guarded(&out, INT_MAX, 1), guarded(&out, 5, 6), guarded(&out, 900, 200));
    for (int i = 0; i < 5; i++) sum += kind(i);
    char buffer[10];
    printf("%d %d\n", (int)__builtin_object_size(buffer, 0), constant(1));
    printf("%d %d\n", __builtin_types_compatible_p(int, signed int), __builtin_types_compatible_p(int, long));
    int chosen = __builtin_choose_expr(sizeof(int) == 4, 5, "no");
    char *al = __builtin_assume_aligned(buffer, 1);
    __builtin_prefetch(buffer);
    __builtin_strcpy(al, "abc");
    __builtin_memset(al + 3, 'x', 2);
    al[5] = 0;
    printf("%d %s %d %d\n", chosen, buffer, (int)__builtin_strlen(buffer), __builtin_abs(-5) + __builtin_memcmp("a", "a", 1));
    printf("%d %d %d\n", __builtin_isnan(__builtin_nan("")), __builtin_isinf_sign(-__builtin_inf()), __builtin_signbit(-0.0));
    printf("%g %g %g\n", __builtin_fabs(-2.5), __builtin_huge_val(), __builtin_sqrt(16.0));
    printf("%d %d\n", (int)__builtin_offsetof(struct { char c; struct { int a[3]; } s; }, s.a[2]), __builtin_strcmp("b", "a") > 0);
#define KIND(x) _Generic((x), char: 1, int: 2, unsigned: 3, long long: 4, float: 5, double: 6, char *: 7, default: 8)
    printf("%d%d%d%d%d%d%d%d\n", KIND((char)1), KIND('a'), KIND(1u), KIND(1LL), KIND(1.f), KIND(1.), KIND(buffer), KIND(1ul));
    _Static_assert(sizeof(long) == 4, "the target's long");
    return sum & 0x7f;
}
