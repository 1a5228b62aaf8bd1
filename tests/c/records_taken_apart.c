// Local records of which members are used, in every way that keeps or does not keep them whole.
#include <stdio.h>
#include <setjmp.h>
#include <string.h>
static jmp_buf jb;
static int f(int n) {
    volatile int kept = n;
    if (setjmp(jb)) return kept + 1;
    { int a[4] = {1, 2, 3, n}; if (a[3] > 3) longjmp(jb, 1); kept += a[0]; }
    { int b[9]; memset(b, 0, sizeof b); b[2] = n; kept += b[2]; }
    return kept;
}
typedef struct { double re, im; } C;
static C mul(C a, C b) { C r; r.re = a.re * b.re - a.im * b.im; r.im = a.re * b.im + a.im * b.re; return r; }
static C pw(C a, int n) { C r = {1, 0}; while (n--) r = mul(r, a); return r; }
struct bits { unsigned a : 3, b : 5; int c; };
static int bf(int n) { struct bits s; s.a = n; s.b = n * 3; s.c = s.a + s.b; return s.a * 100 + s.b * 10 + s.c; }
union u { int i; float f; };
static int un(float x) { union u v; v.f = x; return v.i; }
struct inner { short lo, hi; };
struct outer { struct inner a, b; int n; };
static int nest(int k) {
    struct outer o;
    o.a.lo = k; o.a.hi = k * 2; o.b.lo = o.a.hi - o.a.lo; o.b.hi = 9; o.n = o.b.lo * o.b.hi;
    struct inner copy = o.b;
    return o.a.lo + o.a.hi + o.b.lo + o.n + copy.hi;
}
static int ptrs(int n) {
    struct { int *p, *q; int v; } s;
    int x = n, y = 2 * n;
    s.p = &x; s.q = &y; s.v = *s.p + *s.q;
    *s.p = 5; s.q = s.p;
    return x + y + s.v + *s.q;
}
static int loop(int n) {
    int best = 0;
    for (int i = 0; i < n; i++) {
        struct { const int k; int acc; } s = {i * i, 0};
        int prev = s.k;
        for (int j = 0; j < 3; j++) { s.acc += s.k + j; }
        { long long w[3] = {s.acc, prev, i}; best += (int)(w[0] + w[1] * w[2]); }
        { long long z[2] = {best, i}; if (z[0] > 100) best -= (int)z[1]; }
        { double dd[2] = {best, 1.5}; best += (int)(dd[0] * dd[1]) & 7; }
    }
    return best;
}
struct P { int x, y; };
static struct P gp = {5, 6};
static int swaps(struct P a, struct P b, int n) {
    struct P t;
    while (n--) { t = a; a = b; b = t; a.x += n; }
    return a.x * 1000 + a.y * 100 + b.x * 10 + b.y;
}
static int copies(int n) {
    struct { struct P a, b; } l;
    union { struct P p; int i[2]; } w;
    volatile struct P v = {1, 2};
    struct P a = gp, b = v, *q = &b, some, other;
    if (n > 9) some.x = 1;
    some.y = n;
    other = some; // what is not set yet goes along
    l.a = a; l.b = l.a; w.p = l.b; w.p = w.p; q->x = 7;
    a = *q; l.a.y++; gp = l.a; b = gp; a = a;
    return a.x + b.y * 10 + l.b.x * 100 + w.i[1] * 1000 + other.y + q->y;
}
int main(void) {
    printf("%d %d\n", swaps((struct P){1, 2}, (struct P){3, 4}, 5), copies(4));
    C c = {0.5, 1.25};
    C r = pw(c, 5);
    printf("%d %d %.6f %.6f %d %d %d %d %d %d\n", f(2), f(9), r.re, r.im, bf(7), un(1.5f), nest(5), ptrs(4), loop(10), loop(3));
    return 0;
}
