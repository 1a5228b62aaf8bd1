// Objects under two names, thread-local objects: aliases with the same type and with others, hidden behind a static.
#include <stdio.h>
struct pair { int a, b; };
struct pair original = {3, 4};
extern struct pair other __attribute__((alias("original")));
extern const struct pair view __attribute__((alias("original"), weak));
static int hidden[4] = {1, 2, 3, 4};
extern int shown[4] __attribute__((alias("hidden")));
extern unsigned raw __attribute__((alias("hidden")));
static float f = 1.0f;
static unsigned bits __attribute__((alias("f")));
static __thread int calls;
_Thread_local long long wide = 5, none;
__thread struct { int x[3]; int *p; } block = {{1, 2, 3}, 0};
extern __thread int later;
static int count(void) { static _Thread_local int n = 7; calls++; return n++; }
__thread int later = 9;
int *where(void) { return &later; }
int main(void) {
    original.a = 10, other.b = 20;
    printf("%d %d %d %d %d\n", original.a, original.b, other.a, view.b, &other == &original);
    hidden[1] = 5, shown[2] = 6, raw = 7;
    printf("%d %d %d %u\n", hidden[0], shown[1], hidden[2], raw);
    f = 2.0f; printf("%x\n", bits); bits = 0x3f000000; printf("%g\n", f);
    count(), count();
    block.p = &block.x[1], *block.p += 40, wide += count(), none--;
    *where() += 1;
    int n = count();
    printf("%d %lld %lld %d %d %d\n", calls, wide, none, block.x[1], n, later);
    return 0;
}
