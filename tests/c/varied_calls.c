// Calls of every shape: many arguments of mixed widths, records of every small size by value, pointers to functions that return
// pointers to functions, recursion through pointers, prototypes that come late, unused results.
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#define RECORD(n) struct r##n { unsigned char b[n]; }; \
    static struct r##n make##n(int seed) { struct r##n r; for (int i = 0; i < n; i++) r.b[i] = (unsigned char)(seed + i * i); return r; } \
    static int sum##n(char before, struct r##n r, short after) { int s = before * 2 + after; for (int i = 0; i < n; i++) s = s % 10007 * 3 + r.b[i]; r.b[0] = 0; return s; }
RECORD(1) RECORD(2) RECORD(3) RECORD(4) RECORD(5) RECORD(7) RECORD(8) RECORD(9) RECORD(12) RECORD(16) RECORD(33)
struct mixed { double d; char c; float f; };
struct floats { float a, b; };

static long long many(char a, short b, int c, long long d, unsigned char e, double f, float g, unsigned h, long i, unsigned short j, long long k) {
    return a + b * 2 + c * 3 + d * 4 + e * 5 + (long long)(f * 6) + (long long)(g * 7) + h * 8 + i * 9 + j * 10 + k * 11;
}
static struct mixed turn(struct mixed m, struct floats f) { return (struct mixed){m.d + f.a, (char)(m.c + 1), m.f * f.b}; }
typedef int (*unary)(int);
typedef unary (*chooser)(int);
static int twice(int v) { return v * 2; }
static int negative(int v) { return -v; }
static unary choose(int k) { return k ? twice : negative; }
static chooser outer(void) { return choose; }
static int late();
static int apply(int n, int (*f)(int, int (*)(int)), int (*g)(int)) { return n ? f(n, g) + apply(n - 1, f, g) : 0; }
static int both(int n, int (*g)(int)) { return g(n) * g(g(n)); }
static double mean(int n, ...) {
    va_list a, b;
    double s = 0;
    va_start(a, n);
    va_copy(b, a);
    for (int i = 0; i < n; i++) s += i & 1 ? va_arg(a, double) : va_arg(a, int);
    s += va_arg(b, int);
    va_end(a), va_end(b);
    return s / (n + 1);
}
static int total(const char *kinds, ...) {
    va_list v;
    int s = 0;
    va_start(v, kinds);
    for (; *kinds; kinds++)
        switch (*kinds) {
        case 'c': s = s * 3 + va_arg(v, int); break;
        case 'l': s = s * 3 + (int)(va_arg(v, long long) >> 33); break;
        case 'd': s = s * 3 + (int)va_arg(v, double); break;
        case 's': s = s * 3 + (int)strlen(va_arg(v, const char *)); break;
        case 'r': {
            struct r12 r = va_arg(v, struct r12);
            s = s * 3 + r.b[11];
            break;
        }
        case 'm': s = s * 3 + (int)va_arg(v, struct mixed).d; break;
        }
    va_end(v);
    return s;
}
int main(void) {
    int s = 0;
#define USE(n) s = s % 100003 * 7 + sum##n((char)n, make##n(n), -3);
    USE(1) USE(2) USE(3) USE(4) USE(5) USE(7) USE(8) USE(9) USE(12) USE(16) USE(33)
    printf("%d %lld\n", s, many(-1, 300, -70000, 1ll << 33, 200, 1.5, 2.25f, 4000000000u, -9, 65535, -(1ll << 34)));
    struct mixed m = turn((struct mixed){1.5, 'a', 2}, (struct floats){0.25f, 3});
    m = turn(turn(m, (struct floats){1, 1}), (struct floats){m.f, -1});
    printf("%g %c %g\n", m.d, m.c, (double)m.f);
    printf("%d %d %d %d\n", outer()(1)(21), (*(**outer)()(0))(7), late(3, 4), apply(4, both, choose(1)));
    printf("%g %d\n", mean(4, 1, 2.5, 3, 4.5), total("clrdsmc", 'x', 5ll << 34, make12(9), 2.9, "four", m, -2));
    struct r33 big = make33(1), *p = &big;
    s = sum33(1, *p, 2) - sum33(1, big, 2) + p->b[0] + make5(3).b[2];
    printf("%d\n", s);
    return 0;
}
static int late(int a, int b) { return a * 10 + b; }
