// Compound assignment and ++/-- on every type, where the value wraps, is used, or the target has effects of its own.
#include <stdio.h>

#define OPS(type, name)                                                                                                \
    static void name(type v, int by) {                                                                                 \
        type a = v, b = v, c = v, d = v, e = v, f = v, g = v, h = v, k = v;                                            \
        a += by, b -= by, c *= by, d /= by, e %= by, f &= by, g |= by, h ^= by, k >>= by & 7;                         \
        printf(#name " %lld %lld %lld %lld %lld %lld %lld %lld %lld", (long long)a, (long long)b, (long long)c,      \
               (long long)d, (long long)e, (long long)f, (long long)g, (long long)h, (long long)k);                   \
        type p = v, q = v;                                                                                             \
        long long r1 = p++, r2 = ++p, r3 = q--, r4 = --q, r5 = (p += by);                                              \
        printf(" %lld %lld %lld %lld %lld\n", r1, r2, r3, r4, r5);                                                     \
    }
OPS(signed char, sc)
OPS(unsigned char, uc)
OPS(short, ss)
OPS(unsigned short, us)
OPS(int, si)
OPS(unsigned, ui)
OPS(long long, sl)
OPS(unsigned long long, ul)
OPS(_Bool, bo)
enum e { E0, E1, E2, E9 = 9 };

static int calls;
static int *at(int *p) { calls++; return p; }
static int idx(void) { return calls++ & 3; }
struct rec { unsigned char u; short s; float f; double d; long long l; char *p; struct rec *next; };
static struct rec *walk(struct rec *r) { calls++; return r; }

int main(void) {
    sc(100, 77), sc(-128, 3), uc(250, 7), uc(0, -3), ss(32767, 300), ss(-30000, -7), us(65535, 9), us(1, -1);
    si(123456, -789), ui(4000000000u, 5), ui(3, -2), sl(-1LL << 40, 12345), ul(-1ull, 3), ul(5, -6), bo(1, 1), bo(0, 3);
    int a[4] = {1, 2, 3, 4};
    *at(a) += 5, (*at(a + 1))++, --*at(a + 2), a[idx()] <<= 2, a[idx()]--;
    printf("%d %d %d %d %d\n", a[0], a[1], a[2], a[3], calls);
    int i = 1;
    a[i] = i + 1, a[i++] *= 3, ++i, a[i] -= i;
    printf("%d %d %d %d\n", i, a[1], a[2], a[3]);
    float f = 1.5f;
    double d = 10;
    f++, f *= d, d -= f, f /= 3, --d;
    printf("%g %g ", f, d);
    i = 10, i *= 1.35, i -= 0.5, i += 1e3f;
    unsigned char u = 200;
    u *= 1.2, u += 3.9f;
    short s = -7;
    s /= 2.0;
    long long l = 1LL << 50;
    l *= 0.5;
    printf("%d %d %d %lld\n", i, u, s, l);
    double back = i++ + ++f + d--;
    printf("%g %d %g %g\n", back, i, f, d);
    struct rec r = {255, -1, 0.5f, 0.25, 1, 0, 0}, *p = &r;
    char text[] = "abcdef";
    r.p = text, r.next = &r;
    walk(p)->u++, walk(p)->s--, walk(p)->f += walk(p)->next->d, walk(p)->l <<= 35, *walk(p)->p++ ^= 0x20, *++walk(p)->p = '-';
    p->next->l |= p->next->u++ + (int)(p->d *= 8);
    printf("%d %d %g %g %lld %s %d %d\n", r.u, r.s, r.f, r.d, r.l, text, (int)(r.p - text), calls);
    char *c = text;
    char x = *c++, y = *++c, z = (*c)++, w = ++*c, v = *c--;
    printf("%c%c%c%c%c %s\n", x, y, z, w, v, text);
    c += 3, c -= 1, c = c + 2 - 1;
    printf("%c %c\n", *c, c[-1]);
    short m[3][2] = {{1, 2}, {3, 4}, {5, 6}}, (*row)[2] = m, *el = *m;
    (*row++)[1] += 10, (*row)[0] *= -1, *++el += 5, el += 3, *el-- = 9;
    printf("%d %d %d %d %d %d\n", m[0][0], m[0][1], m[1][0], m[1][1], m[2][0], *el);
    enum e en = E1;
    en++, en |= 8, en -= E1;
    int q = 3, t = (q *= 2) + 1, un = -(-q) - -q + +q;
    printf("%d %d %d\n", en, un, t);
    _Bool b = 0;
    b += 5, b--, b = !b, b ^= 1, b |= 4;
    int k = 0x7f, j;
    j = k <<= 3;
    unsigned wrap = 0;
    int before = wrap-- == 0;
    printf("%d %d %u %d\n", b, j, wrap, before);
    return (calls * 8 + un + a[1]) & 0x7f;
}
