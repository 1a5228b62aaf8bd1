// A table of strings with open addressing, tombstones and growth, against a list that is searched; counts of words.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct { char *key; int value; } ENTRY;
typedef struct { ENTRY *slots; unsigned size, live, filled; } TABLE;
static char gone[1];

static unsigned hash(const char *s) {
    unsigned h = 2166136261u;
    while (*s) h = (h ^ (unsigned char)*s++) * 16777619u;
    return h;
}
static ENTRY *find(TABLE *t, const char *key) {
    ENTRY *free_slot = NULL;
    for (unsigned i = hash(key);; i++) {
        ENTRY *e = &t->slots[i & (t->size - 1)];
        if (!e->key) return free_slot ? free_slot : e;
        if (e->key == gone) free_slot = free_slot ? free_slot : e;
        else if (!strcmp(e->key, key)) return e;
    }
}
static void grow(TABLE *t) {
    TABLE bigger = {calloc(t->size * 2, sizeof(ENTRY)), t->size * 2, 0, 0};
    for (unsigned i = 0; i < t->size; i++)
        if (t->slots[i].key && t->slots[i].key != gone) {
            *find(&bigger, t->slots[i].key) = t->slots[i];
            bigger.live++, bigger.filled++;
        }
    free(t->slots);
    *t = bigger;
}
static int *at(TABLE *t, const char *key) {
    if ((t->filled + 1) * 4 > t->size * 3) grow(t);
    ENTRY *e = find(t, key);
    if (!e->key || e->key == gone) {
        if (!e->key) t->filled++;
        e->key = strdup(key), e->value = 0, t->live++;
    }
    return &e->value;
}
static int drop(TABLE *t, const char *key) {
    ENTRY *e = find(t, key);
    if (!e->key || e->key == gone) return 0;
    free(e->key);
    e->key = gone, t->live--;
    return 1;
}
int main(void) {
    TABLE t = {calloc(8, sizeof(ENTRY)), 8, 0, 0};
    char key[16];
    unsigned seed = 1, dropped = 0;
    for (int i = 0; i < 3000; i++) {
        seed = seed * 1664525u + 1013904223u;
        sprintf(key, "k%u", seed >> 20 & 255);
        if (seed >> 28 < 5) dropped += (unsigned)drop(&t, key);
        else ++*at(&t, key);
    }
    unsigned sum = 0, n = 0;
    for (unsigned i = 0; i < 256; i++) {
        sprintf(key, "k%u", i);
        ENTRY *e = find(&t, key);
        if (e->key && e->key != gone) sum = sum * 31 + (unsigned)e->value, n++;
    }
    printf("%u live %u size %u dropped %u sum %u\n", n, t.live, t.size, dropped, sum);
    for (unsigned i = 0; i < t.size; i++)
        if (t.slots[i].key && t.slots[i].key != gone) free(t.slots[i].key);
    free(t.slots);
    return n != t.live;
}
