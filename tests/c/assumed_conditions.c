/* Promises that are conditionals: as statements and inside of expressions. */
#include <stdio.h>
#ifdef __clang__
#define assume(x) __builtin_assume(x)
#else
#define assume(x) ((void)0)
#endif
static int f(int *p, int n) { assume(p ? *p > 0 : n == 2); if (p && *p > 0) return 1; return n == 2 ? 5 : 6; }
static int g(int *p, int n) { return (assume(p ? *p > 0 && n : n == 2), n) + 3; }
static int h(int *p, int *q, int n) { assume(p ? (q ? *p > *q : *p == 7) : (n == 2 && q)); return p ? q ? *p - *q : 7 : *q; }
int main(void) {
    int x = 4, y = 3, seven = 7;
    printf("%d %d %d %d\n", f(&x, 1), f(0, 2), g(&x, 3), g(0, 2));
    printf("%d %d %d\n", h(&x, &y, 3), h(&seven, 0, 1), h(0, &y, 2));
    return 0;
}
