// Hash tables: chained by words, open addressing by numbers, with growth.
#include "kernel.h"

#define BUCKETS 256
struct entry {
    struct entry *next;
    char word[8];
    int count;
};
static struct entry *buckets[BUCKETS], entries[800];
static int used;

static unsigned hash_word(const char *s)
{
    unsigned h = 2166136261u;
    while (*s) h = (h ^ (unsigned char)*s++) * 16777619u;
    return h;
}

static struct entry *look_up(const char *word)
{
    unsigned h = hash_word(word) % BUCKETS;
    struct entry *e;
    for (e = buckets[h]; e; e = e->next)
        if (!strcmp(e->word, word)) return e;
    e = &entries[used++];
    strcpy(e->word, word);
    e->next = buckets[h];
    buckets[h] = e;
    return e;
}

struct map {
    unsigned *keys, *values;
    unsigned size, filled;
};

static unsigned *slot(struct map *m, unsigned key);

static void grow(struct map *m)
{
    struct map old = *m;
    m->size = old.size ? old.size * 2 : 16;
    m->filled = 0;
    m->keys = calloc(m->size, sizeof(unsigned));
    m->values = calloc(m->size, sizeof(unsigned));
    for (unsigned i = 0; i < old.size; i++)
        if (old.keys[i]) *slot(m, old.keys[i]) = old.values[i];
    free(old.keys);
    free(old.values);
}

static unsigned *slot(struct map *m, unsigned key)
{
    if (m->filled * 4 >= m->size * 3) grow(m);
    unsigned i = key * 2654435761u & (m->size - 1);
    while (m->keys[i] && m->keys[i] != key) i = (i + 1) & (m->size - 1);
    if (!m->keys[i]) {
        m->keys[i] = key;
        m->filled++;
    }
    return &m->values[i];
}

int main(void)
{
    struct map m = {0, 0, 0, 0};
    char word[8];
    for (int i = 0; i < 4000; i++) {
        unsigned r = next_random() % 700;
        int n = 0;
        do word[n++] = (char)('a' + r % 9);
        while (r /= 9);
        word[n] = 0;
        mix((unsigned)++look_up(word)->count);
    }
    for (int i = 0; i < 6000; i++) *slot(&m, next_random() % 2000 + 1) += (unsigned)i;
    for (unsigned i = 0; i < m.size; i++) mix(m.values[i]);
    return finish();
}
