// Blocks beside, in and around each other, loops and jumps into them: their variables may share stack space.
#include <stdio.h>
#include <string.h>
struct P { int x; short lo, hi; unsigned char n; };
struct Big { int a[10]; char name[12]; };
struct In { struct P p; struct P *self; };
static unsigned use(int *p, int n) { unsigned s = 0; for (int i = 0; i < n; i++) s = s * 3 + p[i]; return s; }
static void fill(char *b, int n, char c) { memset(b, c, n); b[n - 1] = 0; }
static struct P mk(int x) { struct P p; p.x = x; p.lo = x * 3; p.hi = -x; p.n = x + 250; return p; }
static int sum(struct P p) { p.x += 1; return p.x + p.lo + p.hi + p.n; }
static int twice(struct P p, int k) { struct P q = p; q.x = p.hi * k; return q.x + p.lo; }
static void set(int *p, int v) { *p = v; }
static int blocks(int n) {
    unsigned total = 0;
    for (int k = 0; k < n; k++) {
        {
            int a[20];
            for (int i = 0; i < 20; i++) a[i] = i * k;
            total += use(a, 20);
        }
        {
            int b[30];
            for (int i = 0; i < 30; i++) b[i] = i + k;
            total ^= use(b, 30);
            if (k & 1) {
                char buf[16];
                fill(buf, 16, 'a' + k);
                total += strlen(buf) + buf[0];
            } else {
                char buf2[32], other[8];
                fill(buf2, 32, 'q');
                fill(other, 8, 'z');
                total += buf2[3] * other[2] + use(b, 5);
            }
        }
        {
            struct Big big;
            memset(&big, k, sizeof big);
            big.a[3] = total;
            strcpy(big.name, "hello");
            total += big.a[3] + big.name[1] + use(big.a, 10);
        }
        {
            struct Big big2, big3;
            memset(&big2, k + 1, sizeof big2);
            big3 = big2;
            big3.a[5]++;
            total += use(big2.a, 10) - use(big3.a, 9);
        }
        {
            int s;
            set(&s, k);
            total += s;
        }
        {
            int t, u;
            set(&t, k + 1);
            set(&u, k + 7);
            total += t * u;
        }
    }
    return total;
}
static int jumps(int n) {
    int r = 0, k = 0;
again:
    if (k < n) {
        int a[4] = {k, k + 1, k + 2, k + 3};
        r += use(a, 4);
        if (k == 2) { k++; goto again; }
        if (r > 100000) goto out;
    }
    {
        int b[8] = {r};
        r = use(b, 8) & 0xFFFF;
    }
    switch (k & 3) {
    case 0: { int c[3] = {1, 2, 3}; r += use(c, 3); break; }
    case 1: { int c[5] = {5}; r += use(c, 5); }
    default: { int c[2] = {r, k}; r += use(c, 2); }
    }
    if (++k < n) goto again;
out:
    return r;
}
static int expl(int n) {
    struct P p;
    p.x = n;
    p.lo = n * 70000;
    p.hi = p.lo >> 3;
    p.n = p.x + p.hi;
    for (int i = 0; i < n; i++) {
        struct P q;
        q.x = p.x + i;
        q.n = q.x;
        q.lo = (short)q.n;
        p.x += q.lo;
        p.n++;
        struct P w = mk(i);
        p.hi += sum(w) + twice(w, 3);
    }
    struct In in;
    in.p.x = p.x;
    in.p.lo = p.hi;
    in.self = 0;
    return p.x + p.lo * 3 + p.hi * 5 + p.n * 7 + in.p.x + in.p.lo + (in.self == 0);
}
static int depth(int n, int *outer) {
    int mine[6];
    for (int i = 0; i < 6; i++) mine[i] = n * i + (outer ? outer[i] : 0);
    if (n == 0) return use(mine, 6);
    if (n & 1) {
        int x[6];
        memcpy(x, mine, sizeof x);
        return depth(n - 1, x) + use(mine, 6);
    } else {
        int y[7];
        memcpy(y, mine, sizeof mine);
        y[6] = 1;
        return depth(n - 1, y) - use(mine, 6);
    }
}
int main(void) {
    printf("%d %d %d %d\n", blocks(9), jumps(7), expl(11), depth(9, 0));
    return 0;
}
