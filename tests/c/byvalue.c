// Records by value: as arguments and results of all sizes, nested, through pointers to functions, in conditionals and
// assignments that overlap in time.
#include <stdio.h>

struct one { char c; };
struct two { short a, b; };
struct three { char t[3]; };
struct pair { int x, y; };
struct mid { double d; int i; };
struct floats { float x, y, z; };
struct big { int n; int v[20]; struct pair p; };
struct deep { struct big b; struct { struct mid m; struct one o[2]; } in; };

static struct one inc(struct one o) { o.c++; return o; }
static struct two cross(struct two a, struct two b) { return (struct two){a.a * b.b, a.b * b.a}; }
static struct three turn(struct three t) { return (struct three){{t.t[1], t.t[2], t.t[0]}}; }
static struct pair add(struct pair a, struct pair b) { return (struct pair){a.x + b.x, a.y + b.y}; }
static struct mid scale(int k, struct mid m, float f) { m.d *= k; m.i += (int)f; return m; }
static struct floats vec(struct floats a, struct floats b) {
    return (struct floats){a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
static struct big fill(int n) {
    struct big b = {n};
    for (int i = 0; i < 20; i++) b.v[i] = n * i;
    b.p = (struct pair){n, -n};
    return b;
}
static long sum(struct big b) {
    long s = b.n + b.p.x + 2 * b.p.y;
    for (int i = 0; i < 20; i++) s += b.v[i], b.v[i] = 0;
    b.n = 0;
    return s;
}
static struct deep nest(struct deep d, char c) {
    d.b.v[3] += c;
    d.in.o[1] = inc(d.in.o[0]);
    d.in.m = scale(2, d.in.m, c);
    return d;
}
static struct big twist(struct big b, int depth) {
    if (!depth) return b;
    int t = b.v[0];
    for (int i = 0; i < 19; i++) b.v[i] = b.v[i + 1];
    b.v[19] = t + depth;
    return twist(b, depth - 1);
}
static struct pair fib(int n) {
    if (!n) return (struct pair){0, 1};
    struct pair p = fib(n - 1);
    return (struct pair){p.y, p.x + p.y};
}
static struct pair many(int a, struct pair p, long long l, struct one o, double d, struct two t, struct three h) {
    return (struct pair){a + p.x + (int)l + o.c, p.y + (int)d + t.a + h.t[2]};
}
typedef struct pair (*combine)(struct pair, struct pair);
static struct pair fold(combine f, const struct pair *p, int n) {
    struct pair r = {0, 0};
    while (n--) r = f(r, *p++);
    return r;
}
static struct pair swapped(struct pair a, struct pair b) { return add((struct pair){b.y, b.x}, a); }

int main(void) {
    struct one o = inc(inc((struct one){'a'}));
    struct two t = cross((struct two){2, 3}, (struct two){-5, 7});
    struct three h = turn(turn((struct three){"xyz"}));
    printf("%c %d %d %.3s\n", o.c, t.a, t.b, h.t);
    struct pair p = {1, 2}, q = {10, 20};
    p = add(p, add(q, p));
    struct pair *pp = &p;
    *pp = *pp;
    printf("%d %d %d\n", p.x, p.y, add(p, q).x);
    struct mid m = scale(3, (struct mid){1.5, 4}, 2.9f);
    printf("%g %d\n", m.d, m.i);
    struct floats f = vec((struct floats){1, 2, 3}, (struct floats){-2, 0.5f, 4});
    printf("%g %g %g\n", f.x, f.y, f.z);
    struct big b = fill(3), b2 = fill(4);
    printf("%ld %ld %ld\n", sum(b), sum(b2), sum(b));
    b = twist(b, 25);
    printf("%d %d %ld\n", b.v[0], b.v[19], sum(b));
    struct deep d = {fill(2), {{2.25, 7}, {{'m'}, {'n'}}}};
    struct deep e = nest(nest(d, 5), 6);
    printf("%d %d %g %d %c%c\n", d.b.v[3], e.b.v[3], e.in.m.d, e.in.m.i, e.in.o[0].c, e.in.o[1].c);
    printf("%d %d\n", fib(30).x, many(1, p, 1LL << 33 | 5, o, 9.9, t, h).y);
    struct pair list[4] = {{1, 2}, {3, 4}, {5, 6}, {7, 8}};
    struct pair r1 = fold(add, list, 4), r2 = fold(swapped, list, 4);
    printf("%d %d %d %d\n", r1.x, r1.y, r2.x, r2.y);
    struct pair c = r1.x > r2.x ? list[0] : r1.x == 16 ? fib(10) : q;
    printf("%d %d %d\n", c.x, c.y, (r1.x ? list : &q)[1].y);
    list[0] = list[1], list[1] = list[2], list[2] = list[0];
    printf("%d %d %d\n", list[0].x, list[1].x, list[2].x);
    printf("%d\n", (p = q, q = c, add(p, q)).y);
    return (int)(sum(b) + fib(20).x) & 0xff;
}
