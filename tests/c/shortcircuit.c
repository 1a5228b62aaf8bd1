// Short circuits, conditionals and commas whose operands have effects, with values used, dropped and compared.
#include <stdio.h>

static int log_[64], n_log;
static int t(int v) { log_[n_log++ & 63] = v; return v; }
static int f(int v) { log_[n_log++ & 63] = -v; return 0; }
static unsigned flush(void) {
    unsigned h = 7;
    for (int i = 0; i < n_log && i < 64; i++) h = h * 33 + log_[i];
    printf("[%d %u]", n_log, h);
    n_log = 0;
    return h;
}
static double d(double v) { n_log++; return v; }
static const char *text(const char *s) { n_log++; return s; }
static int a[4] = {1, 0, 3, 0};

static int classify(int x, int y) {
    if ((x > 0 && y > 0) || (x < 0 && !(y >= 0))) return 1;
    if (!(x || y) && t(1)) return 0;
    return x == 0 ? 2 : y == 0 ? 3 : x > y ? 4 : 5;
}
static int bounded(const int *p, int n, int key) {
    int i = 0;
    while (i < n && p[i] != key && (p[i] >= 0 || t(i))) i++;
    return i < n ? p[i] == key ? i : -2 : -1;
}
static int chain(int v) { return v > 10 && v < 20 || v > 30 && (v < 40 || v == 45) || v == -1; }
static int as_number(int x, int y) { return (x && y) + 2 * (x || y) + 4 * !x + 8 * (x == y) + 16 * (x < y) - !!y; }

int main(void) {
    unsigned h = 0;
    printf("%d ", t(1) && t(2) && f(3) && t(4)); h += flush();
    printf("%d ", f(1) || f(2) || t(3) || t(4)); h += flush();
    printf("%d ", (t(1) && f(2)) || (t(3) && t(4))); h += flush();
    printf("%d ", !(f(1) || t(2)) && t(3)); h += flush();
    t(1) && t(5); f(1) || t(6); f(0) && t(9); t(7) || t(8); h += flush();
    t(3) ? t(4) : t(5); f(3) ? t(6) : (t(7), t(8)); h += flush();
    int v = (t(1), t(2), f(3), t(9));
    printf("%d ", v); h += flush();
    v = t(2) ? f(1) ? t(10) : t(20) : t(30);
    printf("%d ", v); h += flush();
    if (d(0.5) && d(-0.0)) v = 100; else v = 200;
    printf("%d %d %d ", v, d(0.0) || d(1e-300), !d(2.0)); h += flush();
    if (text("x") && *text("") || !text(0)) printf("yes "); h += flush();
    long long wide = 1LL << 40;
    if (wide && (int)wide) v++; else v--;
    printf("%d %d %d ", v, wide || f(1), !wide); h += flush();
    int i = 0;
    a[i++] && a[i++] && a[i++];
    printf("%d ", i);
    (i = 2) && a[i] && (a[i] = 0, i++);
    printf("%d %d ", i, a[2]);
    v = i > 2 ? i++ : i--, v += i;
    printf("%d %d ", i, v);
    for (i = 0, v = 10; t(i) < 5 && --v && t(v); i++, v--);
    printf("%d %d ", i, v); h += flush();
    do v += 2; while (f(v) || (t(v) < 9 && v != 7));
    printf("%d ", v); h += flush();
    for (int x = -2; x <= 2; x++)
        for (int y = -2; y <= 2; y++) printf("%d%+d ", classify(x, y), as_number(x, y));
    h += flush();
    int list[] = {3, 1, -4, 1, 5};
    printf("%d %d %d ", bounded(list, 5, 1), bounded(list, 5, 5), bounded(list, 5, 8)); h += flush();
    for (int k = -2; k < 50; k++) putchar('0' + chain(k));
    int p = 5, *q = &p, *null = 0;
    printf("\n%d %d %d\n", null && *null, q && *q == 5, !null || *null);
    int r = (p > 3) & (p < 9) | (t(0) == 1) << 3, s = p ?: t(99), u = f(0) ?: 42;
    printf("%d %d %d ", r, s, u); h += flush();
    *(p > 2 ? &p : &r) = 77;
    (p == 77 ? list : a)[1] += 8;
    printf("%d %d %d\n", p, list[1], a[1]);
    return (h ^ h >> 16) & 0xff;
}
