// Attributes and linkage: weak, alias, section, constructors in order, always_inline, noinline, pure, const.
#include <stdio.h>
#include <stdlib.h>

static int order[8], n_order;
__attribute__((constructor(102))) static void second(void) { order[n_order++] = 2; }
__attribute__((constructor(101))) static void first(void) { order[n_order++] = 1; }
__attribute__((constructor)) static void third(void) { order[n_order++] = 3; }
__attribute__((destructor)) static void last(void) { printf("bye %d\n", n_order); }
extern int missing(void) __attribute__((weak));
__attribute__((weak)) int present(void) { return 7; }
int real(int v) { return v * 3; }
extern int other_name(int v) __attribute__((alias("real")));
__attribute__((section(".mydata"))) static int placed = 11;
__attribute__((always_inline)) static inline int must(int v) { return v + 1; }
__attribute__((noinline)) static int never(int v) { return v + 2; }
__attribute__((pure)) static int sum(const int *p, int n) {
    int s = 0;
    while (n--) s += *p++;
    return s;
}
__attribute__((const)) static int square(int v) { return v * v; }
static inline int shared(void) {
    static int count;
    return ++count;
}
__attribute__((noreturn, noinline)) static void stop(int v) {
    printf("stop %d\n", v);
    exit(v);
}
typedef int vector_free __attribute__((aligned(16)));
static struct { char c; vector_free v; } aligned;
int main(void) {
    int a[] = {1, 2, 3, 4};
    printf("%d%d%d %d %d\n", order[0], order[1], order[2], missing ? 1 : 0, present());
    printf("%d %d %d %d\n", other_name(5), placed++, 12, must(never(1)));
    printf("%d %d %d %d\n", placed, sum(a, 4) + sum(a, 4), square(3) * square(3), (int)sizeof aligned);
    for (int i = 0; i < 3; i++) shared();
    printf("%d\n", shared());
    atexit(last);
    if (a[0]) stop(4);
    return 0;
}
