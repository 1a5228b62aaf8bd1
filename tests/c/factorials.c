// Numbers of many digits: factorials and powers in base 10000, a division by small numbers, comparison.
#include <stdio.h>

enum { DIGITS = 60, BASE = 10000 };
typedef struct { int n; unsigned short d[DIGITS]; } BIG;

static void set(BIG *b, unsigned v) {
    b->n = 0;
    do b->d[b->n++] = (unsigned short)(v % BASE);
    while (v /= BASE);
}
static void multiply(BIG *b, unsigned m) {
    unsigned carry = 0;
    for (int i = 0; i < b->n; i++) {
        unsigned long long t = (unsigned long long)b->d[i] * m + carry;
        b->d[i] = (unsigned short)(t % BASE), carry = (unsigned)(t / BASE);
    }
    for (; carry; carry /= BASE) b->d[b->n++] = (unsigned short)(carry % BASE);
}
static unsigned divide(BIG *b, unsigned by) {
    unsigned rest = 0;
    for (int i = b->n - 1; i >= 0; i--) {
        unsigned v = rest * BASE + b->d[i];
        b->d[i] = (unsigned short)(v / by), rest = v % by;
    }
    while (b->n > 1 && !b->d[b->n - 1]) b->n--;
    return rest;
}
static BIG add(BIG a, BIG b) {
    BIG r = {0};
    unsigned carry = 0;
    for (int i = 0; i < a.n || i < b.n || carry; i++) {
        unsigned s = carry + (i < a.n ? a.d[i] : 0) + (i < b.n ? b.d[i] : 0);
        r.d[r.n++] = (unsigned short)(s % BASE), carry = s / BASE;
    }
    if (!r.n) r.n = 1;
    return r;
}
static int compare(const BIG *a, const BIG *b) {
    if (a->n != b->n) return a->n < b->n ? -1 : 1;
    for (int i = a->n; i-- > 0;)
        if (a->d[i] != b->d[i]) return a->d[i] < b->d[i] ? -1 : 1;
    return 0;
}
static void print(const BIG *b) {
    printf("%u", b->d[b->n - 1]);
    for (int i = b->n - 2; i >= 0; i--) printf("%04u", b->d[i]);
    putchar('\n');
}
int main(void) {
    BIG f, p, fib = {1, {0}}, next = {1, {1}};
    set(&f, 1), set(&p, 1);
    for (unsigned i = 1; i <= 100; i++) {
        multiply(&f, i), multiply(&p, 7);
        if (i % 25 == 0) print(&f), printf("%d\n", compare(&f, &p));
    }
    for (int i = 0; i < 300; i++) {
        BIG sum = add(fib, next);
        fib = next, next = sum;
    }
    print(&fib);
    print(&p);
    unsigned sum = 0;
    for (unsigned i = 2; i < 40; i++) sum = sum * 41 + divide(&f, i);
    printf("%u\n", sum);
    print(&f);
    return 0;
}
