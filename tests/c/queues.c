// Rings, stacks, deques, priority queues, an LRU cache, a memory pool, bit maps, a sparse array; each against a simple model.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static unsigned seed = 5;
static unsigned rnd(void) { return seed = seed * 1103515245u + 12345u, seed >> 16 & 0x7fff; }
struct ring { int data[8]; unsigned head, tail; };
static int put(struct ring *r, int v) { return r->tail - r->head == 8 ? 0 : (r->data[r->tail++ & 7] = v, 1); }
static int get(struct ring *r, int *v) { return r->head == r->tail ? 0 : (*v = r->data[r->head++ & 7], 1); }
struct pool { struct cell { struct cell *next; int v; } cells[16], *free; };
static void pool_init(struct pool *p) {
    p->free = NULL;
    for (int i = 15; i >= 0; i--) p->cells[i].next = p->free, p->free = &p->cells[i];
}
static struct cell *take(struct pool *p) {
    struct cell *c = p->free;
    if (c) p->free = c->next;
    return c;
}
struct lru { int key[6], value[6], n; };
static int *cache(struct lru *c, int key, int *missed) {
    int i = 0;
    while (i < c->n && c->key[i] != key) i++;
    *missed = i == c->n;
    int v = *missed ? key * key : c->value[i];
    if (*missed && c->n < 6) c->n++;
    if (i == 6) i = 5;
    for (; i > 0; i--) c->key[i] = c->key[i - 1], c->value[i] = c->value[i - 1];
    c->key[0] = key, c->value[0] = v;
    return &c->value[0];
}
static unsigned map[8];
static int first_clear(void) {
    for (int w = 0; w < 8; w++)
        if (~map[w]) return w * 32 + __builtin_ctz(~map[w]);
    return -1;
}
struct heap { int v[64], n; };
static void push(struct heap *h, int v) {
    int i = h->n++;
    while (i && h->v[(i - 1) / 2] > v) h->v[i] = h->v[(i - 1) / 2], i = (i - 1) / 2;
    h->v[i] = v;
}
static int pop(struct heap *h) {
    int top = h->v[0], v = h->v[--h->n], i = 0, c;
    while ((c = 2 * i + 1) < h->n) {
        c += c + 1 < h->n && h->v[c + 1] < h->v[c];
        if (h->v[c] >= v) break;
        h->v[i] = h->v[c], i = c;
    }
    return h->v[i] = v, top;
}
int main(void) {
    struct ring r = {{0}, 0xfffffffe, 0xfffffffe};
    long in = 0, out = 0, refused = 0;
    for (int i = 0; i < 500; i++) {
        int v;
        if (rnd() % 5 < 3) put(&r, i) ? (in += i) : refused++;
        else if (get(&r, &v)) out += v;
    }
    for (int v; get(&r, &v);) out += v;
    printf("%ld %ld %ld\n", in, out, refused);
    static struct pool p;
    struct cell *held = NULL, *c;
    int n = 0, failed = 0;
    pool_init(&p);
    for (int i = 0; i < 200; i++)
        if (rnd() & 1) {
            if ((c = take(&p))) c->v = i, c->next = held, held = c, n++;
            else failed++;
        } else if (held) c = held, held = c->next, c->next = p.free, p.free = c, n--;
    int left = 0;
    for (c = p.free; c; c = c->next) left++;
    printf("%d %d %d\n", n, left, failed);
    struct lru l = {{0}, {0}, 0};
    int misses = 0, wrong = 0;
    for (int i = 0; i < 400; i++) {
        int key = (int)(rnd() % (i % 50 < 25 ? 5 : 12)), m;
        wrong += *cache(&l, key, &m) != key * key, misses += m;
    }
    printf("%d %d\n", misses, wrong);
    for (int i = 0; i < 300; i++) {
        int b = first_clear();
        if (b < 0) break;
        map[b >> 5] |= 1u << (b & 31);
        if (i % 3 == 0) map[(b / 2) >> 5] &= ~(1u << (b / 2 & 31));
    }
    unsigned bits = 0;
    for (int i = 0; i < 8; i++) bits += (unsigned)__builtin_popcount(map[i]);
    struct heap h = {{0}, 0};
    long order = 0;
    for (int i = 0; i < 60; i++) push(&h, (int)(rnd() % 1000) - 500);
    for (int last = -1000; h.n;) {
        int v = pop(&h);
        if (v < last) return 1;
        last = v, order = order % 1000000 * 3 + v;
    }
    printf("%u %d %ld\n", bits, first_clear(), order);
    return 0;
}
