// Functions that return records while their result is also what they read.
#include <stdio.h>
struct P { int x, y, z; };
static struct P g = {1, 2, 3};
static struct P *gp = &g;
__attribute__((noinline)) static struct P rot(void) { struct P r; r.x = g.z; r.y = g.x; r.z = g.y; return r; }
__attribute__((noinline)) static struct P swap2(struct P *q) { struct P r; r.x = q->y; r.y = q->x; r.z = q->z + 10; return r; }
static struct P cond(int c) { struct P r; if (c) { r.x = gp->y; r.y = gp->x; r.z = 0; return r; } r.x = gp->z; r.y = r.x + gp->x; r.z = gp->x; return r; }
struct Q { struct P a, b; };
static struct Q mkq(struct Q *o) { struct Q r; r.a = o->b; r.b = o->a; r.a.x++; return r; }
int main(void) {
    g = rot();
    printf("%d %d %d\n", g.x, g.y, g.z);
    struct P l = {7, 8, 9};
    l = swap2(&l);
    printf("%d %d %d\n", l.x, l.y, l.z);
    g = cond(1); printf("%d %d %d\n", g.x, g.y, g.z);
    g = cond(0); printf("%d %d %d\n", g.x, g.y, g.z);
    struct Q q = {{1, 2, 3}, {4, 5, 6}};
    q = mkq(&q);
    printf("%d %d %d %d %d %d\n", q.a.x, q.a.y, q.a.z, q.b.x, q.b.y, q.b.z);
    struct P arr[2] = {{1, 2, 3}, {4, 5, 6}};
    arr[0] = swap2(&arr[0]);
    arr[1] = swap2(&arr[0]);
    printf("%d %d %d %d\n", arr[0].x, arr[0].y, arr[1].x, arr[1].z);
    return 0;
}
