// A first-fit allocator in a static arena: headers before the blocks, container_of, free lists, joining, alignment.
// host: no
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#define container_of(p, type, member) ((type *)((char *)(p) - offsetof(type, member)))
#define ALIGN(n, a) (((n) + (a) - 1) & ~((unsigned)(a) - 1))

struct link { struct link *prev, *next; };
struct block {
    unsigned size : 24, used : 1, mark : 7;
    unsigned before; // size of the block before this one
    union { struct link free; _Alignas(8) unsigned char bytes[1]; };
};
enum { HEADER = offsetof(struct block, bytes), ARENA = 4096, LEAST = ALIGN(sizeof(struct link), 8) };

static _Alignas(8) unsigned char arena[ARENA + 64];
static struct link free_list;

static struct block *after(struct block *b) { return (struct block *)(b->bytes + b->size); }
static struct block *before(struct block *b) { return (struct block *)((unsigned char *)b - b->before - HEADER); }
static void unlink_block(struct block *b) { b->free.prev->next = b->free.next, b->free.next->prev = b->free.prev; }
static void link_block(struct block *b) {
    b->used = 0;
    b->free.next = free_list.next, b->free.prev = &free_list;
    free_list.next->prev = &b->free, free_list.next = &b->free;
}
static void start(void) {
    free_list.prev = free_list.next = &free_list;
    struct block *b = (struct block *)arena;
    b->size = ARENA, b->before = 0, b->mark = 99;
    struct block *end = after(b);
    end->used = 1, end->size = 0, end->before = ARENA;
    link_block(b);
}
static void *get(unsigned n) {
    n = ALIGN(n < LEAST ? LEAST : n, 8);
    for (struct link *l = free_list.next; l != &free_list; l = l->next) {
        struct block *b = container_of(l, struct block, free);
        if (b->size < n) continue;
        unlink_block(b);
        if (b->size >= n + HEADER + LEAST) {
            unsigned rest = b->size - n - HEADER;
            b->size = n;
            struct block *r = after(b);
            r->size = rest, r->before = n, r->mark = 0;
            after(r)->before = rest;
            link_block(r);
        }
        b->used = 1;
        return b->bytes;
    }
    return NULL;
}
static void give(void *p) {
    struct block *b = container_of(p, struct block, bytes), *n = after(b), *l;
    if (!n->used) unlink_block(n), b->size += HEADER + n->size;
    if (b->before && !(l = before(b))->used) unlink_block(l), l->size += HEADER + b->size, b = l;
    after(b)->before = b->size;
    link_block(b);
}
static int walk(unsigned *largest) {
    int n = 0;
    *largest = 0;
    for (struct block *b = (struct block *)arena; b->size; b = after(b), n++)
        if (!b->used && b->size > *largest) *largest = b->size;
    return n;
}

int main(void) {
    void *kept[40] = {0};
    unsigned seed = 7, failures = 0, largest, sum = 0;
    start();
    for (int i = 0; i < 2000; i++) {
        seed = seed * 1103515245u + 12345u;
        unsigned slot = seed >> 16 & 31, n = 1 + (seed >> 22 & 255);
        if (kept[slot]) {
            sum = sum * 31 + *(unsigned char *)kept[slot];
            give(kept[slot]), kept[slot] = NULL;
        } else if ((kept[slot] = get(n))) memset(kept[slot], (int)slot, n), failures += ((uintptr_t)kept[slot] & 7) != 0;
        else failures += 1000;
        if (i % 400 == 0) printf("%d blocks, ", walk(&largest)), printf("largest %s\n", largest > 500 ? "fair" : "small");
    }
    for (int i = 0; i < 40; i++)
        if (kept[i]) give(kept[i]);
    int blocks = walk(&largest);
    printf("%d %u %u %08x\n", blocks, largest, failures % 1000, sum);
    return free_list.next == free_list.prev;
}
