// Counts the words of a text with a hash table and prints the most frequent ones.
#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

struct word {
    struct word *next;
    unsigned count;
    char text[];
};
static struct word *table[64];
static unsigned words;

static struct word *enter(const char *text, size_t n) {
    unsigned hash = 5381;
    for (size_t i = 0; i < n; i++) hash = hash * 33 ^ (unsigned char)text[i];
    struct word **slot = &table[hash % 64];
    for (; *slot; slot = &(*slot)->next)
        if (!strncmp((*slot)->text, text, n) && !(*slot)->text[n]) return *slot;
    struct word *w = malloc(sizeof *w + n + 1);
    memcpy(w->text, text, n);
    w->text[n] = 0;
    w->count = 0;
    w->next = NULL;
    words++;
    return *slot = w;
}

static int by_count(const void *x, const void *y) {
    const struct word *a = *(struct word *const *)x, *b = *(struct word *const *)y;
    return a->count != b->count ? (a->count < b->count ? 1 : -1) : strcmp(a->text, b->text);
}

int main(void) {
    static const char text[] = "it was the best of times it was the worst of times it was the age of wisdom it was the "
                               "age of foolishness it was the epoch of belief it was the epoch of incredulity";
    for (const char *p = text; *p;) {
        while (*p && !isalpha((unsigned char)*p)) p++;
        const char *from = p;
        while (isalpha((unsigned char)*p)) p++;
        if (p > from) enter(from, (size_t)(p - from))->count++;
    }
    struct word **all = malloc(words * sizeof *all);
    unsigned n = 0;
    for (int i = 0; i < 64; i++)
        for (struct word *w = table[i]; w; w = w->next) all[n++] = w;
    qsort(all, n, sizeof *all, by_count);
    for (unsigned i = 0; i < n && i < 5; i++) printf("%3u %s\n", all[i]->count, all[i]->text);
    return 0;
}
