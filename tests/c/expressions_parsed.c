// A calculator: recursive descent over a text, variables, right-associative power, unary signs, errors by position.
#include <ctype.h>
#include <stdio.h>
#include <string.h>

static const char *at, *start;
static long vars[26];
static int failed;

static long sum(void);
static void fail(const char *what) {
    if (!failed) printf("%s at %d; ", what, (int)(at - start));
    failed = 1;
}
static void space(void) {
    while (isspace((unsigned char)*at)) at++;
}
static int take(char c) {
    space();
    return *at == c ? at++, 1 : 0;
}
static long primary(void) {
    space();
    if (take('(')) {
        long v = sum();
        if (!take(')')) fail("no )");
        return v;
    }
    if (isdigit((unsigned char)*at)) {
        long v = 0;
        while (isdigit((unsigned char)*at)) v = v * 10 + (*at++ - '0');
        return v;
    }
    if (islower((unsigned char)*at)) {
        int i = *at++ - 'a';
        if (take('=')) return vars[i] = sum();
        return vars[i];
    }
    fail("no operand");
    return 0;
}
static long power(void);
static long unary(void) { return take('-') ? -unary() : take('+') ? unary() : take('~') ? ~unary() : power(); }
static long power(void) {
    long base = primary(), r = 1;
    if (!take('^')) return base;
    for (long e = unary(); e > 0; e--) r *= base;
    return r;
}
static long product(void) {
    long v = unary();
    for (;;) {
        if (take('*')) v *= unary();
        else if (take('/')) {
            long d = unary();
            if (d) v /= d;
            else fail("division by 0");
        } else if (take('%')) {
            long d = unary();
            if (d) v %= d;
            else fail("remainder by 0");
        } else return v;
    }
}
static long sum(void) {
    long v = product();
    for (;;)
        if (take('+')) v += product();
        else if (take('-')) v -= product();
        else return v;
}
int main(void) {
    static const char *const lines[] = {
        "1 + 2 * 3", "(1+2)*3 - -4", "2^3^2 % 1000", "a = 7 * (b = 6)", "a - b * b", "-2^2", "~0 + 1", "10 / (5 - 5)",
        "(1 + 2", "3 + * 4", "x = y = 12 % 5", "x * 1000 + y * 10 + a / b", "100 - 99 - 98", "7 / 2 * 2 + 7 % 2", ""};
    for (unsigned i = 0; i < sizeof lines / sizeof *lines; i++) {
        at = start = lines[i], failed = 0;
        long v = sum();
        space();
        if (*at) fail("rest");
        if (failed) puts("wrong");
        else printf("%s -> %ld\n", lines[i], v);
    }
    return 0;
}
