// _Generic, static assertions, alignment, compound literals whose addresses are kept, designated initialisers, _Noreturn.
#include <stdalign.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>

#define KIND(x) _Generic((x), char: 1, signed char: 2, unsigned char: 3, short: 4, int: 5, unsigned: 6, long: 7, \
    long long: 8, float: 9, double: 10, char *: 11, const char *: 12, int *: 13, default: 0)
#define ABS(x) _Generic((x), int: abs, long: labs, long long: llabs)(x)
_Static_assert(sizeof(int) == 4 && sizeof(long long) == 8, "the target");
_Static_assert(offsetof(struct { char c; double d; }, d) == 8, "doubles are aligned");

struct point { int x, y; };
struct table { int head; struct point p[4]; char name[8]; union { int i; float f; } u; };
static const struct table t = {.p[2] = {.y = 7}, .p[0].x = 3, .name = "tab", .u.f = 1.5f, .head = 9, .p[3] = {1, 2}};
static int matrix[][3] = {[2] = {[1] = 5}, [0] = {1, 2, 3}};
static struct point *kept = &(struct point){11, 12};
static int sum(const int *p, int n) {
    int s = 0;
    while (n--) s = s * 10 + *p++;
    return s;
}
static struct point *longest(struct point *a, struct point *b) { return a->x * a->x + a->y * a->y >= b->x * b->x + b->y * b->y ? a : b; }
_Noreturn static void leave(int v) { exit(v); }
int main(void) {
    char c = 0;
    short s = 0;
    printf("%d %d %d %d %d %d %d\n", KIND(c), KIND(s), KIND(s + c), KIND(1u), KIND(1ll), KIND(1.0f), KIND(1.0f * 1.0));
    printf("%d %d %d %d\n", KIND("x"), KIND((const char *)"x"), KIND(&(int){1}), KIND(kept));
    printf("%d %ld %lld\n", ABS(-3), ABS(-4L), ABS(-5LL));
    printf("%d %d %d %d %s %d %.1f\n", t.head, t.p[0].x, t.p[2].y, t.p[1].x, t.name, t.p[3].y, (double)t.u.f);
    printf("%d %d %d\n", (int)(sizeof matrix / sizeof *matrix), matrix[2][1], matrix[1][0] + matrix[0][2]);
    printf("%d\n", sum((int[]){1, 2, 3, 4}, 4));
    int total = 0;
    for (int i = 0; i < 3; i++) {
        struct point *p = &(struct point){i, i * i};
        total += longest(p, kept)->x + p->y;
    }
    printf("%d\n", total);
    alignas(16) char buffer[5];
    alignas(double) char other;
    printf("%d %d %d\n", (int)((size_t)buffer % 16), (int)((size_t)&other % 8), (int)alignof(double));
    kept->x += 5;
    leave(kept->x);
}
