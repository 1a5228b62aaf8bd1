// Vectors of the language: comparisons of every kind of lane, shuffles, conversions, selections by masks.
#include <stdio.h>

typedef signed char C8 __attribute__((vector_size(8)));
typedef unsigned char B16 __attribute__((vector_size(16)));
typedef short S8 __attribute__((vector_size(16)));
typedef int I4 __attribute__((vector_size(16)));
typedef unsigned U4 __attribute__((vector_size(16)));
typedef long long L2 __attribute__((vector_size(16)));
typedef unsigned long long M2 __attribute__((vector_size(16)));
typedef float F4 __attribute__((vector_size(16)));
typedef double D2 __attribute__((vector_size(16)));
typedef short P2 __attribute__((vector_size(4)));
typedef float F2 __attribute__((vector_size(8)));
typedef int I2 __attribute__((vector_size(8)));

#define SHOW(n, x) ({ __typeof__(x) t_ = (x); for (int i_ = 0; i_ < n; i_++) printf("%lld ", (long long)t_[i_]); putchar('|'); })
#define MASKS(T, n, a, b) \
    SHOW(n, (T)(a == b)), SHOW(n, (T)(a != b)), SHOW(n, (T)(a < b)), SHOW(n, (T)(a <= b)), SHOW(n, (T)(a > b)), SHOW(n, (T)(a >= b)), putchar('\n')
#define RELATIONS(n, a, b) MASKS(__typeof__(a == b), n, a, b)

static I4 largest(I4 a, I4 b) { I4 m = a > b; return (a & m) | (b & ~m); }
int main(void) {
    volatile int one = 1;
    C8 c = {(signed char)one, -1, 127, -128, 5, 0, 7, 8}, d = {1, 1, -128, 127, 5, -3, 8, 7};
    MASKS(C8, 8, c, d);
    B16 b = {200, 100, 255, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, e = b ^ 3;
    MASKS(B16, 16, b, e);
    S8 s = {1, -1, 32767, -32768, 0, 3, 4, 5}, t = -s;
    RELATIONS(8, s, t);
    I4 i = {one, -2, 2147483647, -2147483647 - 1}, k = {1, 2, -1, 1};
    RELATIONS(4, i, k);
    U4 u = (U4)i, v = (U4)k;
    RELATIONS(4, u, v);
    L2 l = {1ll << 40, -1}, m = {1, 1};
    RELATIONS(2, l, m);
    M2 ul = (M2)l, um = (M2)m;
    RELATIONS(2, ul, um);
    F4 f = {1, -2.5f, 0, __builtin_nanf("")}, g = {1, 2, -0.0f, 1};
    RELATIONS(4, f, g);
    D2 x = {1e300, __builtin_nan("")}, y = {-1e300, 0};
    RELATIONS(2, x, y);
    P2 p = {3, -4}, q = {3, 4};
    RELATIONS(2, p, q);
    I4 best = largest(i, k);
    SHOW(4, best), SHOW(4, largest(k, i) == best);
    F4 ff = __builtin_convertvector(k, F4) * 1.5f;
    I4 back = __builtin_convertvector(ff, I4);
    SHOW(4, back), SHOW(2, __builtin_convertvector((F2){2.75f, -9}, I2));
    SHOW(4, (i < 5) + (k != 2)), SHOW(8, (s > 0) & t), putchar('\n');
    I4 n = {0};
    for (int r = 0; r < 20; r++) n -= ((I4){r, r * 2, r * 3, r * 5} % 7) > 3;
    SHOW(4, n), putchar('\n');
    return 0;
}
