// Vectors of the language: arithmetic by lanes, scalars spread, shifts by scalars and by lanes, copies, members, arguments.
#include <stdio.h>

typedef short S8 __attribute__((vector_size(16)));
typedef unsigned char B8 __attribute__((vector_size(8)));
typedef int I4 __attribute__((vector_size(16)));
typedef unsigned U2 __attribute__((vector_size(8)));
typedef float F4 __attribute__((vector_size(16)));
typedef double D2 __attribute__((vector_size(16)));
typedef long long L2 __attribute__((vector_size(16)));

#define SHOW(T, n, x) ({ T t_ = (x); for (int i_ = 0; i_ < n; i_++) printf("%g ", (double)t_[i_]); putchar('|'); })
static volatile int one = 1;
static I4 scale(I4 v, int k) { return v * k + (I4){1, 2, 3, 4}; }
static int sum(I4 v) { return v[0] + v[1] + v[2] + v[3]; }
struct particle { F4 at, speed; int id; };
int main(void) {
    S8 s = {one, 1, 2, 3, 4, 5, 6, -7};
    SHOW(S8, 8, 2 + s), SHOW(S8, 8, 2 - s), SHOW(S8, 8, s * s), SHOW(S8, 8, 20 / s), SHOW(S8, 8, s % 3), SHOW(S8, 8, 2 << (s & 3));
    SHOW(S8, 8, s << 2), SHOW(S8, 8, s >> 1), SHOW(S8, 8, ~s ^ 5), SHOW(S8, 8, -s | 1);
    putchar('\n');
    B8 b = {250, 251, 252, 253, 254, 255, 0, 1};
    b += 4, b *= 3, b >>= (B8){0, 1, 2, 3, 4, 5, 6, 7};
    SHOW(B8, 8, b);
    U2 u = {0x80000000u, 7};
    u >>= 3, u -= (U2){1, 8};
    SHOW(U2, 2, u);
    I4 a = scale((I4){10, 20, 30, 40}, 3), c = a;
    c[2] = 100, c += a / 7;
    printf("%d %d ", sum(a), sum(c));
    L2 l = {1ll << 40, -5};
    l = l * 3 - (l >> 2);
    SHOW(L2, 2, l);
    F4 f = {1, 2, 3, 4};
    f = 2.0f / f + f * 0.5f;
    SHOW(F4, 4, f);
    D2 d = {0.5, -3};
    d *= d, d -= 1;
    SHOW(D2, 2, d);
    putchar('\n');
    struct particle p = {{0, 0, 0, 1}, {1, 2, 3, 0}, 9}, *q = &p, copy;
    for (int i = 0; i < 4; i++) q->at += q->speed * 0.25f;
    copy = *q;
    copy.at[3] += (float)copy.id;
    SHOW(F4, 4, p.at), SHOW(F4, 4, copy.at);
    I4 table[3] = {{1, 2, 3, 4}, [2] = {5, 6}}, total = {0};
    for (int i = 0; i < 3; i++) total += table[i] * (i + 1);
    SHOW(I4, 4, total);
    I4 bits = (I4)(F4){1, -1, 2, 0.5f};
    printf("%08x %08x %d\n", bits[0], bits[1], (int)sizeof bits);
    return 0;
}
