// restrict used as the standard allows, const objects, characters over records, unions as views, memmove on overlaps, escape by return.
#include <stdio.h>
#include <string.h>

static void axpy(int n, int k, const int *restrict x, int *restrict y) {
    for (int i = 0; i < n; i++) y[i] += k * x[i];
}
static void rotate3(int *restrict a, int *restrict b, int *restrict c, int n) {
    while (n--) {
        int t = *a;
        *a++ = *b, *b++ = *c, *c++ = t;
    }
}
struct buffer { int n; int *restrict data; };
static int total(struct buffer f, struct buffer g) {
    int s = 0;
    for (int i = 0; i < f.n; i++) g.data[i] += 1, s += f.data[i];
    return s;
}
static void inner(int *restrict p, int n) {
    {
        int *restrict q = p + n;
        for (int i = 0; i < n; i++) q[i] = 3;
    }
    for (int i = 0; i < n; i++) p[i] += p[i + n];
}
static const int table[4] = {10, 20, 30, 40};
static int read_const(int *w, int i) {
    int a = table[i];
    *w = 99;
    return a + table[i];
}
static int *pick(int *a, int *b, int which) { return which ? a : b; }
static int through(int *p) {
    int local = 5, *q = pick(&local, p, *p & 1);
    *q += 10;
    return local * 100 + *p;
}
static int kept, *hold;
static void keep(int *p) { hold = p, kept = *p; }
static void change(void) { *hold = 77; }
static int escapes(void) {
    int v = 1;
    keep(&v);
    v = 2;
    change();
    return v * 10 + kept;
}
struct pair { int a, b; };
static int fields(struct pair *p, int *q) {
    p->a = 1, p->b = 2;
    *q = 5;
    return p->a * 10 + p->b;
}
static int whole(struct pair *p, struct pair *q) {
    p->b = 4;
    *q = (struct pair){8, 9};
    return p->a * 10 + p->b;
}
static unsigned bytes(float f) {
    union { float f; unsigned u; unsigned char c[4]; } v = {f};
    v.c[0] ^= 1;
    return v.u;
}
int main(void) {
    int x[20], y[20], z[20];
    for (int i = 0; i < 20; i++) x[i] = i, y[i] = 100 - i, z[i] = i * i;
    axpy(10, 3, x, y), axpy(5, -1, y, y + 10), rotate3(x, y, z, 6);
    inner(z, 8);
    struct buffer f = {5, x}, g = {5, y};
    int s = total(f, g), w = 0;
    for (int i = 0; i < 20; i++) s = s % 100003 * 3 + x[i] + 2 * y[i] + 5 * z[i];
    int before = read_const(&w, 2);
    printf("%d %d %d\n", s, before, w);
    int odd = 3, even = 4;
    printf("%d %d %d\n", through(&odd), through(&even), escapes());
    struct pair p = {0, 0}, q = {6, 7};
    printf("%d %d ", fields(&p, &odd), fields(&p, &p.b));
    printf("%d %d %d\n", whole(&p, &q), whole(&q, &q), fields(&q, &q.a));
    char text[] = "0123456789";
    memmove(text + 2, text, 6), memmove(text, text + 1, 5);
    for (char *c = text; *c; c++) *c ^= (char)(c - text);
    printf("%s %08x\n", text, bytes(1.0f));
    short sh[4] = {1, 2, 3, 4};
    unsigned char *raw = (unsigned char *)sh;
    raw[2] = 9, sh[1]++;
    memcpy(raw + 4, raw, 4);
    printf("%d %d %d\n", sh[1], sh[2], sh[3]);
    return 0;
}
