// Members of packed records where their types would not stand: words, double words, floats, arrays, records in records,
// in arrays that are initialised, stepped through, copied and passed on.
#include <stdint.h>
#include <stdio.h>
#include <string.h>

struct __attribute__((packed)) entry {
    uint8_t tag;
    int64_t big;
    uint64_t more;
    int16_t half;
    float f;
    double d;
    int32_t list[3];
    uint64_t wide[2];
};
struct __attribute__((packed)) outer { char c; struct entry e; struct { int x; short y; } inner; };
union __attribute__((packed)) mixed { long long w; char bytes[8]; };
struct __attribute__((packed)) holder { char c; union mixed m; int *p; };
#pragma pack(push, 2)
struct two { char c; long long l; double d; };
#pragma pack(pop)
typedef long long lanes __attribute__((vector_size(16), may_alias));
typedef lanes loose __attribute__((aligned(4)));
typedef int many __attribute__((vector_size(32)));
typedef struct pair { lanes a, b[2]; many m; } anywhere __attribute__((aligned(1)));
struct __attribute__((packed)) behind { char c; anywhere s; lanes v[2]; };

static int64_t sum(const struct entry *e) { return e->big + (int64_t)e->more + e->half; }
static double floats(const struct entry *e, int n) {
    double s = 0;
    while (n--) s += (double)e->f * 2 + e->d, e++;
    return s;
}
static unsigned long long lists(struct entry *e, unsigned from) {
    unsigned long long s = 0;
    for (unsigned i = from; i < 3; i++) s = s * 3 + (unsigned)(e->list[i] += (int)i), s += e->wide[i & 1]++;
    return s;
}
static long long vectors(struct behind *x, anywhere *p, int i, const lanes *from, loose *l) {
    lanes old = x->v[i];
    x->v[i] = *from + p->b[i], p->b[i ^ 1] = old * 3, p->a += x->s.b[i], x->s.a[1]++;
    l[i] = p->a - *l, *l ^= l[1];
    p->m[i] *= 2, x->s.m[i] -= 7;
    struct pair whole = *p;
    whole.b[1] += whole.a, *p = whole;
    return old[1] + p->b[1][0] + (*l)[1] + p->m[i];
}
static struct outer make(int n) {
    struct outer o = {'o', {1, n, 2, 3, 4, 5, {6, n, 8}, {9, 10}}, {n * 2, 12}};
    o.inner.x--, o.e.big <<= 3;
    return o;
}

int main(void) {
    struct entry table[3][2] = {{{1, 2, 3, 4, 5, 6, {7, 8, 9}, {10, 11}}, {12, -13, 14, -15, 16.5f, -17.25, {18}, {19}}},
                                {{.big = 1ll << 40, .d = 0.5, .wide = {~0ull}}, {.half = -1, .list = {1, 2, 3}}},
                                {{0}, {.more = 1ull << 63, .f = -2}}};
    struct entry *p = &table[1][1];
    p->big++, p->more -= 2, p->d += 1.5, p->list[1] *= 50, p->wide[1] ^= 0xff00ff00ff00ull;
    printf("%lld %lld %lld\n", (long long)sum(p), (long long)sum(table[1]), (long long)sum(&table[2][1]));
    printf("%g %llu %llu\n", floats(&table[0][0], 6), lists(&table[0][1], 0), lists(p, 1));
    for (int i = 0; i < 6; i++) {
        struct entry *e = &table[0][0] + i;
        e->big = e->big * 5 + i, e->wide[i & 1] += (uint64_t)e->big, table[i / 2][i % 2].d *= 2;
    }
    struct outer o[2] = {make(7), make(-9)}, *q = o + 1;
    o[0].e.wide[1] = q->e.wide[0] + 1, q->e = table[0][1], q->e.list[2] = o[0].inner.y;
    printf("%lld %llu %d %d %g\n", (long long)o[0].e.big, (unsigned long long)o[0].e.wide[1], q->e.list[2], q->inner.x, q->e.d);
    int n = 5;
    struct holder h[2] = {{'h', {3}, &n}, {'i', {.bytes = "abc"}, 0}};
    h[0].m.w += *h[0].p, h[1].m.w |= 1ll << 40, h[1].p = h[0].p, ++*h[1].p;
    struct two t[3] = {{'a', 1, 2}, {'b', -3, 4.5}, {'c', 5, 6}};
    for (int i = 1; i < 3; i++) t[i].l += t[i - 1].l * 1000000000000ll, t[i].d -= t[i - 1].d;
    printf("%lld %lld %d %lld %g\n", (long long)h[0].m.w, (long long)h[1].m.w, n, t[2].l, t[2].d);
    struct behind x[2] = {{.s.a = {1, 2}, .s.b = {{3, 4}, {5, 6}}, .v = {{7, 8}}}, {.s.m = {9, 1, 2}}};
    int words[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    long long total = 0;
    for (int i = 0; i < 6; i++)
        total = total * 3 + vectors(&x[i & 1], &x[i & 1].s, i / 2 & 1, &(lanes){i, -i}, (loose *)(words + 1));
    printf("%lld %d %d\n", total, words[4], x[1].s.m[1]);
    unsigned hash = 0;
    for (unsigned i = 0; i < sizeof table; i++) hash = hash * 31 + ((unsigned char *)table)[i];
    printf("%u %d %d\n", hash, (int)sizeof(struct outer), (int)sizeof(struct two));
    return 0;
}
