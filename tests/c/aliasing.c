// Stores and loads that may meet: through pointers, characters, globals changed by calls, addresses that escape, copies of
// overlapping arrays, restrict where nothing overlaps, stores that only look dead.
#include <stdio.h>
#include <string.h>

struct node { int v; struct node *next; int w; };
static int g, h_, *gp = &g;
static int arr[8];
static struct node pool[4];

static void touch(void) { g += 10, (*gp)++; }
__attribute__((noinline)) static int both(int *p, int *q) {
    *p = 1;
    *q = 2;
    int r = *p * 10;
    *p += 5;
    return r + *q;
}
__attribute__((noinline)) static int across(int *p) {
    int before = g;
    *p += 3;
    int after = g;
    touch();
    return before * 10000 + after * 100 + g;
}
static unsigned through_bytes(unsigned v) {
    unsigned char *p = (unsigned char *)&v;
    unsigned old = v;
    p[1] = p[2];
    p[3] ^= 0xff;
    return v + old;
}
static int escaped(int n) {
    int local = n, *keep = &local;
    gp = keep;
    touch();
    int r = local;
    gp = &g;
    *keep += 100;
    return r * 1000 + local;
}
static int loop_stores(int *p, const int *limit) {
    int n = 0;
    for (int i = 0; i < *limit && n < 50; i++) *p = i / 2 + 2, n++;
    return n;
}
static int sum_to(int *restrict to, const int *restrict from, int n) {
    for (int i = 0; i < n; i++) to[i] = from[i] + from[0];
    return to[n - 1];
}
static int chase(struct node *n) {
    int r = 0;
    for (; n; n = n->next) {
        n->v += r;
        if (n->next) n->next->w = n->v * 2;
        r += n->w + n->v;
    }
    return r;
}
static int swap_same(int *p, int *q) {
    *p ^= *q, *q ^= *p, *p ^= *q;
    return *p - *q;
}
static void half_dead(int *p, int flag) {
    *p = 1;
    if (flag) return;
    *p = 2;
    if (*p == 2) *p = flag + 3;
}
static struct node by_pointer(const struct node *a, struct node *out) {
    out->v = 99;
    struct node r = *a;
    r.w = a->v + out->w;
    return r;
}
static int index_alias(int i, int j) {
    arr[i] = 5;
    arr[j] = 7;
    return arr[i] * 10 + arr[j];
}
static const int fixed[4] = {1, 2, 3, 4};
static int table_and_store(int *p, int i) {
    int x = fixed[i];
    *p = 50;
    return x * 100 + fixed[i] + *p;
}
static int recursive_global(int n) {
    int before = h_;
    h_ += n;
    if (n > 0) recursive_global(n - 1);
    return h_ - before;
}

int main(void) {
    int x = 0, y = 0;
    printf("%d %d\n", both(&x, &y), both(&x, &x));
    y = across(&x), x = across(&g);
    printf("%d %d %d\n", y, x, g);
    printf("%08x %08x\n", through_bytes(0x11223344), through_bytes(0));
    int e = escaped(5);
    printf("%d %d\n", e, g);
    int limit = 9;
    x = loop_stores(&y, &limit);
    printf("%d ", x);
    x = loop_stores(&limit, &limit);
    printf("%d %d %d\n", x, limit, y);
    for (int i = 0; i < 8; i++) arr[i] = i + 1;
    int to[4];
    printf("%d\n", sum_to(to, arr, 4));
    for (int i = 0; i < 3; i++) pool[i] = (struct node){i + 1, &pool[i + 1], 5};
    pool[3] = (struct node){7, 0, 1};
    x = chase(pool);
    printf("%d %d %d\n", x, pool[3].v, pool[2].w);
    x = 4, y = 9;
    int d = swap_same(&x, &y);
    printf("%d %d %d ", d, x, y);
    d = swap_same(&x, &x);
    printf("%d %d\n", d, x);
    half_dead(&x, 0), half_dead(&y, 1);
    struct node r = by_pointer(&pool[0], &pool[0]), q = by_pointer(&pool[1], &pool[2]);
    printf("%d %d %d %d %d %d\n", x, y, r.v, r.w, q.v, q.w);
    printf("%d %d\n", index_alias(1, 2), index_alias(3, 3));
    printf("%d %d\n", table_and_store(arr, 2), recursive_global(6));
    char text[16] = "abcdefgh";
    memmove(text + 1, text, 5), text[0] = text[2];
    unsigned word;
    memcpy(&word, text + 1, 4);
    text[2] = 'Z';
    printf("%s %08x\n", text, word);
    int *p = &arr[4], *end = arr + 8, total = 0;
    while (p < end) total += *p, *p++ = total, arr[7] += 1;
    printf("%d %d\n", total, arr[7]);
    return (total + e + h_) & 0x7f;
}
