// Frames: variable arrays, alloca, longjmp, deep recursion, variadic functions of every register and stack place.
#include <setjmp.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <alloca.h>

static jmp_buf env; static int depth;
static void thrower(int n) { if (n == 0) longjmp(env, 42); depth++; thrower(n - 1); }
static int catcher(int n) {
    volatile int seen = 1; int kept = n * 3, later = 0; double d = n / 2.0;
    int code = setjmp(env);
    if (code == 0) { seen = 2; thrower(n); later = 99; }
    return code + seen * 100 + kept + (int)d + later;
}
static int loops_over_setjmp(void) {
    static jmp_buf b; int count = 0; static int times; times = 0;
    for (int i = 0; i < 3; i++) { if (setjmp(b) == 0) count += 10; else count += 1; if (times++ == 1) longjmp(b, 1); }
    return times;
}
static int vla(int n, int m) {
    int sum = 0;
    for (int k = 1; k < n; k++) {
        int a[k][m]; char name[k * 2 + 1];
        for (int i = 0; i < k; i++) for (int j = 0; j < m; j++) a[i][j] = i * 10 + j;
        memset(name, 'x', sizeof name - 1); name[sizeof name - 1] = 0;
        sum += a[k - 1][m - 1] + (int)strlen(name) + (int)sizeof a;
        if (k == 3) continue;
    }
    return sum;
}
static char *chain(int n) { char *p = 0, *all = malloc(100); all[0] = 0;
    for (int i = 0; i < n; i++) { p = alloca(8); sprintf(p, "<%d>", i); strcat(all, p); } return all; }
static int ack(int m, int n) { return m == 0 ? n + 1 : n == 0 ? ack(m - 1, 1) : ack(m - 1, ack(m, n - 1)); }
static double average(int n, ...) { va_list ap; double s = 0; va_start(ap, n); for (int i = 0; i < n; i++) s += va_arg(ap, double); va_end(ap); return s / n; }
static long long mix(const char *f, ...) {
    va_list ap; long long s = 0; va_start(ap, f);
    while (*f) switch (*f++) { case 'i': s += va_arg(ap, int); break; case 'L': s += va_arg(ap, long long) * 2; break; case 'c': s += (char)va_arg(ap, int); break; case 's': s += (int)strlen(va_arg(ap, char *)); break; }
    va_end(ap); return s;
}
static void say(const char *f, ...) { va_list ap; va_start(ap, f); vprintf(f, ap); va_end(ap); }
static int fold(int (*f)(int, int), const int *v, int n, int s) { while (n--) s = f(s, *v++); return s; }
static int add(int a, int b) { return a + b; } static int mul(int a, int b) { return a * b; }
static int (*const ops[])(int, int) = {add, mul};
struct pair { int a, b; }; static struct pair swap(struct pair p) { return (struct pair){p.b, p.a}; }

int main(void) {
    printf("%d %d\n", catcher(5), depth);
    printf("%d\n", loops_over_setjmp());
    printf("%d\n", vla(6, 3));
    char *s = chain(4); printf("%s\n", s); free(s);
    printf("%d\n", ack(2, 3));
    printf("%g %lld %lld\n", average(3, 1.5, 2.5, 6.0), mix("iLiLcs", 1, 2LL, 3, 4LL << 33, 'c', "four"), mix("LL", 1LL, -1LL));
    say("%d %s %g %lld\n", 1, "two", 3.0, 4LL);
    int v[] = {2, 3, 4}; printf("%d %d\n", fold(ops[0], v, 3, 1), fold(ops[1], v, 3, 1));
    struct pair p = swap(swap(swap((struct pair){1, 2}))); printf("%d %d %d\n", p.a, p.b, swap(p).b);
    return 0;
}
