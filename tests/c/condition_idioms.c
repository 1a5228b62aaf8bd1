// Conditions that a careless rewriting breaks: overflow checks, countdowns, guards, NaNs, truth values of every type.
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>

static volatile int hide;
#define HIDE(T, v) ((T)((v) + (T)hide))

static unsigned round_up(unsigned n) { return ((n + 7) & ~7u) >= n ? (n + 7) & ~7u : 0; }
static unsigned round_up_7(unsigned n) { return (n + 6) / 7 * 7 >= n ? (n + 6) / 7 * 7 : 0; }
static int sum_wraps(unsigned a, unsigned b) { return a + b < a; }
static int in_range(int c) { return c >= 'a' && c <= 'z'; }
static int in_unsigned_range(unsigned c) { return c - 10u < 20u; }

static void countdowns(void) {
    unsigned u = HIDE(unsigned, 3), steps = 0;
    while (u-- > 0) steps++;
    printf("u %u after %u\n", u, steps);
    int n = HIDE(int, 3);
    for (steps = 0; n-- > 0;) steps++;
    printf("n %d after %u\n", n, steps);
    unsigned char c = HIDE(unsigned char, 5);
    for (steps = 0; c-- != 0;) steps++;
    printf("c %d after %u\n", c, steps);
    unsigned w = HIDE(unsigned, 0);
    printf("%d", w-- > 3);
    printf(" %d", w-- > 3);
    w = UINT_MAX;
    printf(" %d", w++ == UINT_MAX);
    printf(" %d", w++ != 0);
    printf(" %u\n", w);
}

struct bits {
    unsigned two : 2;
    int four : 4;
    unsigned one : 1;
    signed tiny : 1;
};

static void bit_fields(void) {
    struct bits b = {HIDE(unsigned, 0), 0, 1, 0};
    printf("%d", b.two-- > 1);
    printf(" %d", b.two);
    printf(" %d", b.two++ == 3);
    printf(" %d", b.two);
    b.four = 7;
    printf(" %d", b.four++ > 0);
    printf(" %d", b.four);
    printf(" %d", b.one-- != 0);
    printf(" %d", b.one);
    if (b.tiny++) printf(" set");
    else printf(" clear");
    printf(" %d\n", b.tiny);
}

struct node {
    int value;
    struct node *next;
};

static int first_value(struct node *p) { return p && p->value; }
static int either(struct node *p, int n) { return n > 4 || (p && p->next && p->next->value > n); }
static int divides(int a, int b) { return b != 0 && a / b > 2; }
static int both_bits(unsigned a, unsigned b) { return a & 4 && b & 16; }
static int any_of(int a, int b, int c) { return a || b || c; }
static int none_of(int a, int b) { return !a && !b; }
static int zero_or_four(int a) { return a == 0 || a == 4; }
static int zero_or_above(unsigned a) { return a == 0 || a > 100; }

static void floats(double x, double y) {
    printf("%d%d%d%d%d%d ", x < y, x <= y, x > y, x >= y, x == y, x != y);
    printf("%d%d%d%d ", !(x < y), !(x <= y), !(x > y), !(x >= y));
    printf("%d%d%d ", x < y || x == y, x == x, x < y && x > y);
    double a = x < 0 ? -x : x, least = x < y ? x : y;
    printf("%d %d\n", 1 / a > 0, 1 / least > 0);
}

static int clamp(int x) { return x <= 0 ? 0 : x; }
static int magnitude(int x) { return x < 0 ? -x : x; }
static int least(int a, int b) { return a < b ? a : b; }
static unsigned greatest(unsigned a, unsigned b) { return a <= b ? b : a; }
static int one_case(int x) {
    switch (x) {
    case -3: return 5;
    default: return x;
    }
}
static int quotient(int x) { return (x / 3 >= 0) + 2 * (x / 3 > 4) + 4 * (x / 3 <= 2) + 8 * (x >> 2 < 1) + 16 * (x > INT_MIN && -x < 5); }
static int wide(unsigned a, unsigned b) { return ((long long)a < (long long)b) + 2 * ((unsigned char)a == 300) + 4 * (~a < b); }

int main(void) {
    static const unsigned numbers[] = {0, 1, 2, 4, 7, 8, 9, 12, 20, 100, 101, 0x7fffffff, 0x80000000, 0xfffffff8, 0xfffffffb, 0xffffffff};
    enum { N = sizeof numbers / sizeof *numbers };
    for (int k = 0; k < N; k++) {
        unsigned n = HIDE(unsigned, numbers[k]);
        int i = (int)n;
        printf("%x: %x %x %d%d", n, round_up(n), round_up_7(n), in_range(i), in_unsigned_range(n));
        printf(" %d%d %d %d %d", zero_or_four(i), zero_or_above(n), clamp(i), one_case(i / 2 - 1), quotient(i));
        if (i != INT_MIN) printf(" %d", magnitude(i));
        for (int m = 0; m < N; m++) {
            unsigned o = numbers[m];
            int p = (int)o;
            printf(" %d%d%d%d%d", sum_wraps(n, o), both_bits(n, o), any_of(i, p, 0), none_of(i, p), least(i, p) == i);
            printf("%d%d%d", greatest(n, o) == n, wide(n, o), p == -1 ? 0 : divides(i, p));
        }
        printf("\n");
    }
    countdowns();
    bit_fields();
    struct node last = {HIDE(int, 3), NULL}, first = {0, &last};
    printf("%d%d%d %d%d%d\n", first_value(NULL), first_value(&first), first_value(&last), either(NULL, 2), either(&first, 2),
           either(&last, 5));
    double nan = strtod("nan", NULL), minus_zero = -HIDE(double, 0.0);
    const double values[] = {0.0, minus_zero, 1.5, -2.5, nan};
    for (int k = 0; k < 25; k++) floats(values[k / 5], values[k % 5]);
    return 0;
}
