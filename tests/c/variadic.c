// Variable arguments: every promoted type, records, va_copy, lists handed on, alignment of wide arguments.
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

struct small { short a, b; };
struct large { double d; int v[5]; char c; };
struct odd { char t[5]; };

static double tally(const char *kinds, ...) {
    va_list ap;
    double s = 0;
    va_start(ap, kinds);
    for (; *kinds; kinds++) switch (*kinds) {
        case 'c': s += (char)va_arg(ap, int); break;
        case 'i': s += va_arg(ap, int); break;
        case 'u': s += va_arg(ap, unsigned); break;
        case 'l': s += va_arg(ap, long long); break;
        case 'd': s += va_arg(ap, double); break;
        case 's': s += strlen(va_arg(ap, const char *)); break;
        case 'p': s += *va_arg(ap, int *); break;
        case 'S': { struct small v = va_arg(ap, struct small); s += v.a * v.b; break; }
        case 'L': { struct large v = va_arg(ap, struct large); s += v.d + v.v[4] + v.c; break; }
        case 'O': s += va_arg(ap, struct odd).t[4]; break;
        case 'f': s += va_arg(ap, int (*)(int))(3); break;
        }
    va_end(ap);
    return s;
}
static int triple(int n) { return n * 3; }

static int max_of(int n, ...) {
    va_list ap;
    va_start(ap, n);
    int best = va_arg(ap, int);
    while (--n > 0) {
        int v = va_arg(ap, int);
        if (v > best) best = v;
    }
    va_end(ap);
    return best;
}
static int twice(const char *names, ...) {
    va_list ap, again;
    va_start(ap, names);
    int first = va_arg(ap, int);
    va_copy(again, ap);
    int s = 0;
    for (int i = 0; i < 3; i++) s += va_arg(ap, int);
    for (int i = 0; i < 3; i++) s = s * 2 + va_arg(again, int);
    va_end(again);
    s += va_arg(ap, int);
    va_end(ap);
    return s * first;
}
static int take(va_list *ap) { return va_arg(*ap, int); }
static int rest(va_list ap) {
    int a = va_arg(ap, int);
    return a - va_arg(ap, int);
}
static int handed(int n, ...) {
    va_list ap;
    va_start(ap, n);
    int s = take(&ap) * 100;
    s += take(&ap) * 10;
    s += rest(ap);
    va_end(ap);
    return s;
}
static int format(char *to, unsigned size, const char *fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    int n = vsnprintf(to, size, fmt, ap);
    va_end(ap);
    return n;
}
static int nested(int depth, ...) {
    va_list ap;
    va_start(ap, depth);
    int a = va_arg(ap, int);
    long long b = va_arg(ap, long long);
    va_end(ap);
    return depth ? nested(depth - 1, a + (int)b, b * 2) : a;
}

int main(void) {
    int n = 40;
    struct small s = {6, 7};
    struct large l = {1.5, {1, 2, 3, 4, 5}, 'A'};
    struct odd o = {"abcd\x07"};
    float f = 2.5f;
    short h = -9;
    char c = 'c';
    unsigned char uc = 250;
    printf("%g\n", tally("cicui", c, h, uc, 4000000000u, -1));
    printf("%g\n", tally("iliidl", 1, 1LL << 35, 2, 3, 0.125, -7LL));
    printf("%g\n", tally("dddddddddddi", 1., 2., 3., 4., 5., 6., 7., 8., 9., 10., (double)f, 5));
    printf("%g\n", tally("sSpLOfd", "hello", s, &n, l, o, triple, f));
    printf("%g\n", tally("iLiOiSl", 1, l, 2, o, 3, s, 1LL));
    printf("%d %d\n", max_of(5, 3, -8, 77, 12, 76), max_of(1, -4));
    printf("%d %d\n", twice("", 2, 3, 4, 5, 6), handed(4, 1, 2, 9, 5));
    char text[24];
    int need = format(text, sizeof text, "%s-%d-%lld-%.2f-%c", "abc", 12, 1LL << 33, f, c);
    printf("%s %d\n", text, need);
    printf("%d\n", nested(5, 1, 1LL));
    return (int)tally("iiLS", 1, 2, l, s);
}
