// setjmp and longjmp: values, nesting, rethrow, loops, locals that live through; atexit and exit from the depth.
#include <setjmp.h>
#include <stdio.h>
#include <stdlib.h>

static jmp_buf outer, inner;
static jmp_buf *top;
static int trace;

static void fail(int code) { longjmp(*top, code); }
static int parse(const char *p, int depth) {
    int n = 0;
    for (; *p; p++) {
        if (*p == '(') n += parse(p + 1, depth + 1);
        if (*p == '!') fail(depth + 1);
        if (*p == ')') return n;
        n++;
    }
    return n;
}
static int attempt(const char *text) {
    jmp_buf here, *volatile saved = top;
    volatile int tries = 0;
    int code = setjmp(here);
    top = &here;
    tries++;
    int r = code == 0 ? parse(text, 0) : code == 1 ? -1 : -code * 10;
    top = saved;
    return r * 100 + tries;
}
static int rethrow(int n) {
    jmp_buf mine, *volatile saved = top;
    volatile int depth = n;
    if (setjmp(mine)) {
        trace = trace * 10 + depth;
        top = saved;
        if (top) fail(7);
        return -depth;
    }
    top = &mine;
    if (n == 3) fail(5);
    return rethrow(n + 1);
}
static void bounce(int n) {
    if (n % 2) longjmp(inner, n);
    longjmp(outer, n);
}
static void last(void) { printf("last %d\n", trace); }
static void second(void) { printf("second\n"); }

int main(void) {
    printf("%d %d %d\n", attempt("ab(c)d"), attempt("a(b(c!"), attempt("!"));
    volatile int count = 0, sum = 0;
    switch (setjmp(outer)) {
    case 0: break;
    case 2: sum += 20; break;
    default: sum += 1000;
    }
    int v = setjmp(inner);
    sum += v;
    if (count < 5) {
        ++count;
        bounce(count);
    }
    printf("%d %d\n", count, sum);
    if (!setjmp(outer)) longjmp(outer, 0);
    else printf("one\n");
    if (setjmp(inner) == 0) {
        for (volatile int i = 0;; i = i + 1)
            if (i == 10) longjmp(inner, i + 1);
    }
    top = 0;
    int r = rethrow(0);
    printf("%d %d\n", r, trace);
    atexit(last);
    atexit(second);
    if (r) exit((sum + trace) & 0x7f);
    return 1;
}
