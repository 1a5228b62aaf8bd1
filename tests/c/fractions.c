// Fractions as records by value: sums of unit fractions, continued fractions, Stern-Brocot search, comparison by crossing.
#include <stdio.h>

typedef struct { long long n, d; } FRACTION;

static long long gcd(long long a, long long b) {
    while (b) {
        long long t = a % b;
        a = b, b = t;
    }
    return a < 0 ? -a : a;
}
static FRACTION make(long long n, long long d) {
    long long g = gcd(n, d);
    if (d < 0) g = -g;
    return (FRACTION){n / g, d / g};
}
static FRACTION add(FRACTION a, FRACTION b) { return make(a.n * b.d + b.n * a.d, a.d * b.d); }
static FRACTION mul(FRACTION a, FRACTION b) { return make(a.n * b.n, a.d * b.d); }
static FRACTION neg(FRACTION a) { return (FRACTION){-a.n, a.d}; }
static FRACTION inv(FRACTION a) { return make(a.d, a.n); }
static int cmp(FRACTION a, FRACTION b) {
    long long l = a.n * b.d, r = b.n * a.d;
    return (l > r) - (l < r);
}
static void show(const char *what, FRACTION f) { printf("%s %lld/%lld\n", what, f.n, f.d); }
int main(void) {
    FRACTION h = {0, 1}, p = {1, 1};
    for (int i = 1; i <= 20; i++) h = add(h, make(i & 1 ? 1 : -1, i));
    show("harmonic", h);
    for (int i = 1; i < 12; i++) p = mul(p, make(2 * i, 2 * i + 1));
    show("product", p);
    static const int terms[] = {3, 7, 15, 1, 292, 1, 1};
    FRACTION c = {1, 1};
    for (int i = 6; i >= 0; i--) c = add((FRACTION){terms[i], 1}, i == 6 ? (FRACTION){0, 1} : inv(c));
    show("continued", c);
    FRACTION target = make(5, 17), lo = {0, 1}, hi = {1, 0};
    char path[40];
    int n = 0;
    for (;;) {
        FRACTION mid = {lo.n + hi.n, lo.d + hi.d};
        int k = cmp(target, mid);
        if (!k) break;
        path[n++] = k < 0 ? 'L' : 'R';
        if (k < 0) hi = mid;
        else lo = mid;
    }
    path[n] = 0;
    printf("path %s\n", path);
    show("difference", add(make(7, -12), neg(make(-5, 18))));
    printf("%d %d %d\n", cmp(make(1, 3), make(2, 6)), cmp(make(-1, 3), make(1, 4)), cmp(make(22, 7), c));
    return 0;
}
