// What C fixes of the order: commas, logical operators, conditions, full expressions, arguments before calls, assignments' values.
#include <stdio.h>

static char trace[400];
static int n;
static int t(char c, int v) {
    trace[n++] = c;
    return v;
}
static int *at(char c, int *p) {
    trace[n++] = c;
    return p;
}
static void show(const char *what, int v) {
    trace[n] = 0;
    printf("%s: %s = %d\n", what, trace, v);
    n = 0;
}
static int g;
static int set(int v) { return g = v; }
static int f(int v) { return v * 10 + g; }
int main(void) {
    int a[4] = {1, 2, 3, 4}, i = 0, r;
    r = t('a', 0) && t('b', 1);
    show("and", r);
    r = t('a', 1) || t('b', 1);
    show("or", r);
    r = (t('a', 1) && t('b', 0)) || (t('c', 5) && !t('d', 0));
    show("mixed", r);
    r = t('a', 2) ? t('b', 3) : t('c', 4);
    show("choice", r);
    r = t('a', 0) ? t('b', 3) : t('c', 0) ? t('d', 5) : t('e', 6);
    show("chain", r);
    r = (t('a', 1), t('b', 2), t('c', 3));
    show("comma", r);
    r = t('x', 1) ? (t('a', 1), t('b', 7)) : 9;
    show("inside", r);
    r = f(set(3));
    show("argument", r);
    r = (i = 5, i++ + 1) + (i = 0);
    show("sequence", r == 6 || r == 7 ? 6 : r);
    r = i++ ? 100 : i++ ? 200 : 300;
    show("steps", r + i);
    int b = 7, c = (b += 3, b *= 2) - 1;
    show("ops", b * 100 + c);
    r = a[i = 1] = a[2] = 40;
    show("assigned", r + a[1] + a[2] + i);
    unsigned char narrow;
    r = (narrow = 300) + 1;
    show("cut", r);
    struct { unsigned f : 3; int s : 4; } bits = {0, 0};
    r = (bits.f = 13) * 100 + (bits.s = 9);
    show("field", r);
    r = bits.f++ + (bits.s -= 5, 0);
    show("field steps", r * 100 + bits.f * 10 + bits.s);
    *at('p', a) += t('v', 5) * 0 + 2;
    n = 0, r = a[0];
    show("target", r);
    r = 0;
    for (i = t('i', 0); t('c', i < 2); t('s', i++)) r += t('b', i);
    show("for", r);
    i = 3;
    while (t('w', i--) && t('x', i != 1)) r++;
    do r += 10;
    while (t('d', r < 30));
    show("loops", r);
    switch (t('s', 2)) {
    case 1: t('1', 0);
    case 2: t('2', 0);
    case 3: t('3', 0); break;
    default: t('4', 0);
    }
    show("switch", 0);
    r = -t('a', 1) * 2 - -3;
    r = r > 0 == 1 != 0;
    show("relations", r);
    r = sizeof(t('z', 1)) + !n;
    show("unevaluated", r);
    int *p = a, *q = p++ + 1;
    r = (int)(q - p) * 100 + *p++ * 10 + (int)(p - a);
    show("pointers", r);
    return 0;
}
