// qsort, bsearch and sorting algorithms of every structure on integers, records and strings.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define N 64
struct item { char name[6]; short key; double weight; };
static unsigned seed = 42;
static int next(void) { return seed = seed * 1664525u + 1013904223u, (int)(seed >> 20) - 2048; }

static void bubble(int *a, int n) {
    for (int swapped = 1; swapped; n--) {
        swapped = 0;
        for (int i = 1; i < n; i++)
            if (a[i - 1] > a[i]) {
                int t = a[i];
                a[i] = a[i - 1], a[i - 1] = t, swapped = 1;
            }
    }
}
static void insertion(int *a, int n) {
    for (int i = 1; i < n; i++) {
        int v = a[i], j = i;
        for (; j > 0 && a[j - 1] > v; j--) a[j] = a[j - 1];
        a[j] = v;
    }
}
static void shell(int *a, int n) {
    for (int gap = n / 2; gap; gap /= 2)
        for (int i = gap; i < n; i++)
            for (int j = i - gap; j >= 0 && a[j] > a[j + gap]; j -= gap) {
                int t = a[j];
                a[j] = a[j + gap], a[j + gap] = t;
            }
}
static void quick(int *a, int n) {
    while (n > 1) {
        int pivot = a[n / 2], *l = a, *r = a + n - 1;
        while (l <= r) {
            while (*l < pivot) l++;
            while (*r > pivot) r--;
            if (l <= r) {
                int t = *l;
                *l++ = *r, *r-- = t;
            }
        }
        quick(a, r - a + 1);
        n -= l - a, a = l;
    }
}
static void merge(int *a, int n) {
    if (n < 2) return;
    int t[N], h = n / 2, i = 0, j = h, k = 0;
    merge(a, h), merge(a + h, n - h);
    while (i < h || j < n) t[k++] = j == n || (i < h && a[i] <= a[j]) ? a[i++] : a[j++];
    memcpy(a, t, n * sizeof *a);
}
static void radix(int *a, int n) {
    int t[N];
    for (int shift = 0; shift < 32; shift += 8) {
        int count[257] = {0};
        for (int i = 0; i < n; i++) count[(((unsigned)a[i] ^ 0x80000000u) >> shift & 255) + 1]++;
        for (int i = 0; i < 256; i++) count[i + 1] += count[i];
        for (int i = 0; i < n; i++) t[count[((unsigned)a[i] ^ 0x80000000u) >> shift & 255]++] = a[i];
        memcpy(a, t, n * sizeof *a);
    }
}
static int by_value(const void *a, const void *b) { return *(const int *)a - *(const int *)b; }
static void library(int *a, int n) { qsort(a, n, sizeof *a, by_value); }
static int by_key(const void *a, const void *b) {
    const struct item *x = a, *y = b;
    return x->key != y->key ? x->key - y->key : strcmp(x->name, y->name);
}
static int by_weight(const void *a, const void *b) {
    double x = ((const struct item *)a)->weight, y = ((const struct item *)b)->weight;
    return (x > y) - (x < y);
}
static int by_text(const void *a, const void *b) { return strcmp(*(char *const *)a, *(char *const *)b); }

int main(void) {
    static void (*const sorts[])(int *, int) = {bubble, insertion, shell, quick, merge, radix, library};
    unsigned hash = 0;
    int a[N], reference[N];
    for (int n = 0; n <= N; n += 13) {
        unsigned start = seed;
        for (unsigned s = 0; s < sizeof sorts / sizeof *sorts; s++) {
            seed = start;
            for (int i = 0; i < n; i++) a[i] = next();
            sorts[s](a, n);
            if (s == 0) memcpy(reference, a, sizeof a);
            printf("%d", memcmp(reference, a, n * sizeof *a) == 0);
            for (int i = 0; i < n; i++) hash = hash * 31 + a[i];
        }
        printf(" %u\n", hash);
    }
    struct item items[20];
    for (int i = 0; i < 20; i++) {
        items[i] = (struct item){.key = next() % 5, .weight = next() / 8.0 + i / 1024.0};
        sprintf(items[i].name, "i%d", i * 7 % 20);
    }
    qsort(items, 20, sizeof *items, by_key);
    for (int i = 0; i < 20; i++) printf("%s/%d ", items[i].name, items[i].key);
    qsort(items, 20, sizeof *items, by_weight);
    printf("\n%g %g %s\n", items[0].weight, items[19].weight, items[10].name);
    const char *words[] = {"sort", "these", "few", "words", "by", "text"};
    qsort(words, 6, sizeof *words, by_text);
    for (int i = 0; i < 6; i++) printf("%s ", words[i]);
    int found = 0;
    for (int k = -2048; k < 2048; k += 5) {
        int *p = bsearch(&k, reference, 52, sizeof *reference, by_value);
        found += p ? (int)(p - reference) + 1 : 0;
    }
    printf("%d\n", found);
    return hash & 0x7f;
}
