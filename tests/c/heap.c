// Flexible arrays, trees, lists and priority queues on the heap; realloc, calloc and free.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

struct vec { unsigned n, room; int at[]; };
struct text { short length; char body[0]; };
struct list { struct list *next; int key; };
struct tree { struct tree *left, *right; int key, height; };

static struct vec *push(struct vec *v, int x) {
    if (!v || v->n == v->room) {
        unsigned room = v ? v->room * 2 : 2, n = v ? v->n : 0;
        v = realloc(v, sizeof *v + room * sizeof v->at[0]);
        v->n = n, v->room = room;
    }
    v->at[v->n++] = x;
    return v;
}
static struct text *text(const char *s) {
    struct text *t = malloc(sizeof *t + strlen(s) + 1);
    t->length = strlen(s);
    strcpy(t->body, s);
    return t;
}
static void insert(struct list **at, int key) {
    while (*at && (*at)->key < key) at = &(*at)->next;
    struct list *l = malloc(sizeof *l);
    *l = (struct list){*at, key};
    *at = l;
}
static struct list *reverse(struct list *l) {
    struct list *r = 0;
    while (l) {
        struct list *next = l->next;
        l->next = r, r = l, l = next;
    }
    return r;
}
static int drop_even(struct list **at) {
    int n = 0;
    while (*at)
        if ((*at)->key % 2 == 0) {
            struct list *dead = *at;
            *at = dead->next;
            free(dead);
            n++;
        } else
            at = &(*at)->next;
    return n;
}
static int height(struct tree *t) { return t ? t->height : 0; }
static void measure(struct tree *t) {
    int l = height(t->left), r = height(t->right);
    t->height = 1 + (l > r ? l : r);
}
static struct tree *turn_right(struct tree *t) {
    struct tree *l = t->left;
    t->left = l->right, l->right = t;
    measure(t), measure(l);
    return l;
}
static struct tree *turn_left(struct tree *t) {
    struct tree *r = t->right;
    t->right = r->left, r->left = t;
    measure(t), measure(r);
    return r;
}
static struct tree *grow(struct tree *t, int key) {
    if (!t) {
        t = calloc(1, sizeof *t);
        t->key = key, t->height = 1;
        return t;
    }
    if (key == t->key) return t;
    if (key < t->key) t->left = grow(t->left, key);
    else t->right = grow(t->right, key);
    measure(t);
    int lean = height(t->left) - height(t->right);
    if (lean > 1) {
        if (key > t->left->key) t->left = turn_left(t->left);
        return turn_right(t);
    }
    if (lean < -1) {
        if (key < t->right->key) t->right = turn_right(t->right);
        return turn_left(t);
    }
    return t;
}
static unsigned fold(const struct tree *t, unsigned h) {
    return t ? fold(t->right, fold(t->left, h) * 31 + t->key * 3 + t->height) : h;
}
static void cut(struct tree *t) {
    if (!t) return;
    cut(t->left), cut(t->right);
    free(t);
}
static void sift(int *h, int n, int i) {
    for (int c; (c = 2 * i + 1) < n; i = c) {
        if (c + 1 < n && h[c + 1] < h[c]) c++;
        if (h[i] <= h[c]) return;
        int t = h[i];
        h[i] = h[c], h[c] = t;
    }
}

// Functions that are first entered when the heap has begun, with more text than the heap's first page.
#define T4(t) t t t t
static const char *late(int n) { return T4(T4(T4("0123456789abcdefghijklmnopqrst"))) "." + n; }
static const char *later(int n) { return T4(T4(T4("ABCDEFGHIJKLMNOPQRSTUVWXYZ!#+-"))) "," T4(T4(T4("(much more than before)"))) + n; }
int main(void) {
    unsigned seed = 1, sum = 0;
#define NEXT() (seed = seed * 1103515245u + 12345u, (int)(seed >> 16 & 0x3ff))
    struct vec *v = 0;
    for (int i = 0; i < 100; i++) v = push(v, NEXT());
    printf("%u %u %d %d\n", v->n, v->room, v->at[0], v->at[99]);
    for (int i = v->n / 2 - 1; i >= 0; i--) sift(v->at, v->n, i);
    for (int n = v->n; n > 0; n--) {
        sum = sum * 7 + v->at[0];
        v->at[0] = v->at[n - 1];
        sift(v->at, n - 1, 0);
    }
    struct text *a = text("first"), *b = text("the second");
    printf("%u %s %d %s %d\n", sum, a->body, a->length, b->body, b->length);
    struct list *l = 0;
    for (int i = 0; i < 30; i++) insert(&l, NEXT() % 50);
    printf("%d:", drop_even(&l));
    l = reverse(l);
    for (struct list *p = l; p; p = p->next) printf(" %d", p->key), sum += p->key;
    struct tree *t = 0;
    for (int i = 0; i < 200; i++) t = grow(t, i % 2 ? NEXT() : i * 3);
    printf("\n%d %u\n", t->height, fold(t, 1));
    sum += fold(t, 5);
    cut(t);
    while (l) {
        struct list *next = l->next;
        free(l);
        l = next;
    }
    int *zero = calloc(10, sizeof *zero), clear = 1;
    for (int i = 0; i < 10; i++) clear &= zero[i] == 0;
    int **rows = malloc(5 * sizeof *rows);
    for (int i = 0; i < 5; i++) {
        rows[i] = malloc((i + 1) * sizeof **rows);
        for (int j = 0; j <= i; j++) rows[i][j] = j && j < i ? rows[i - 1][j - 1] + rows[i - 1][j] : 1;
    }
    printf("%d %d %d\n", clear, rows[4][2], rows[3][1]);
    for (int i = 0; i < 5; i++) free(rows[i]);
    int *first = calloc(2000, sizeof *first), dirty = 0;
    unsigned long texts = strlen(late(1)) + strlen(later(2)) + strlen(late(3));
    for (int i = 0; i < 2000; i++) dirty |= first[i];
    printf("%lu %d %s\n", texts, dirty | sum - sum, late(1915));
    free(first), free(rows), free(zero), free(v), free(a), free(b), free(0);
    return sum & 0x7f;
}
