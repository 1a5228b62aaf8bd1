// Vectors of the language of 32 and 64 bytes: operators, copies, members, parameters and results, conversions.
// host: no
#include <stdio.h>

typedef int I8 __attribute__((vector_size(32)));
typedef unsigned U8 __attribute__((vector_size(32)));
typedef short S32 __attribute__((vector_size(64)));
typedef float F8 __attribute__((vector_size(32)));
typedef double D4 __attribute__((vector_size(32)));
typedef long long L4 __attribute__((vector_size(32)));
typedef int I4 __attribute__((vector_size(16)));
typedef short S8 __attribute__((vector_size(16)));

#define SHOW(n, x) ({ __typeof__(x) t_ = (x); for (int i_ = 0; i_ < n; i_++) printf("%g ", (double)t_[i_]); putchar('|'); })
static I8 table[3] = {{1, 2, 3, 4, 5, 6, 7, 8}, {-1, 9}}, plain;
struct holder { int id; I8 v; short tail; } held = {7, {3, 1, 4, 1, 5, 9, 2, 6}, 8};

static I8 scaled(I8 v, int k) { return v * k + 1; }
static int sum(const I8 *p) { int s = 0; for (int i = 0; i < 8; i++) s += (*p)[i]; return s; }
static I8 picked(int which, I8 a, I8 b) { return which ? a : b; }
int main(void) {
    volatile int one = 1;
    I8 a = {one, 2, -3, 4, -5, 6, -7, 8}, b = table[0];
    SHOW(8, a + b), SHOW(8, a - b * 2), SHOW(8, b / 3), SHOW(8, a % 3), SHOW(8, -a), SHOW(8, ~a), SHOW(8, a & b), SHOW(8, a ^ 5);
    putchar('\n');
    SHOW(8, a << 3), SHOW(8, a >> 1), SHOW(8, (U8)a >> 28), SHOW(8, b << (b & 3)), SHOW(8, a == b), SHOW(8, a > b), SHOW(8, a <= b);
    putchar('\n');
    plain = a, plain += b, plain *= plain, plain[3] = 1000, plain[one + 4]++;
    SHOW(8, plain), printf("%d %d\n", sum(&plain), sum(&table[1]));
    I8 c = scaled(a, 3);
    SHOW(8, c), SHOW(8, picked(one, a, b)), SHOW(8, picked(0, a, b)), SHOW(8, scaled(scaled(b, 2), 2));
    struct holder copy = held;
    copy.v -= 1, held.v = copy.v + held.v;
    SHOW(8, copy.v), SHOW(8, held.v), printf("%d %d %d\n", copy.id, copy.tail, (int)sizeof copy);
    F8 f = __builtin_convertvector(a, F8) * 0.5f;
    I8 back = __builtin_convertvector(f * f, I8);
    D4 d = {1.5, -2, 1e10, 0}, e = d * d - 1.0;
    L4 l = {1ll << 40, -1, 5, 0}, m = l > 2;
    SHOW(8, f), SHOW(8, back), SHOW(4, e), SHOW(4, d > e), SHOW(4, l), SHOW(4, m), putchar('\n');
    S32 s = {0};
    for (int i = 0; i < 32; i++) s[i] = (short)(i * i * 37);
    s = s * 3 - (s >> 2), s ^= (S32){1, 2, 3};
    SHOW(32, s), SHOW(32, (s > 0) & 7), putchar('\n');
    I4 low = {1, 2, 3, 4};
    SHOW(4, low), SHOW(8, ({ I8 t = a; t += 1; t; })), putchar('\n');
    return 0;
}
