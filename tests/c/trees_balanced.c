// An AVL tree and a treap over the same keys: insertion, deletion, order statistics, height; both print the same order.
#include <stdio.h>
#include <stdlib.h>

typedef struct T { int key, height, size; unsigned rank; struct T *l, *r; } T;

static int height(const T *t) { return t ? t->height : 0; }
static int size(const T *t) { return t ? t->size : 0; }
static T *fix(T *t) {
    int a = height(t->l), b = height(t->r);
    t->height = (a > b ? a : b) + 1, t->size = size(t->l) + size(t->r) + 1;
    return t;
}
static T *right(T *t) {
    T *l = t->l;
    t->l = l->r, l->r = fix(t);
    return fix(l);
}
static T *left(T *t) {
    T *r = t->r;
    t->r = r->l, r->l = fix(t);
    return fix(r);
}
static T *balance(T *t) {
    fix(t);
    int d = height(t->l) - height(t->r);
    if (d > 1) {
        if (height(t->l->l) < height(t->l->r)) t->l = left(t->l);
        return right(t);
    }
    if (d < -1) {
        if (height(t->r->r) < height(t->r->l)) t->r = right(t->r);
        return left(t);
    }
    return t;
}
static T *leaf(int key, unsigned rank) {
    T *t = malloc(sizeof *t);
    *t = (T){key, 1, 1, rank, NULL, NULL};
    return t;
}
static T *insert(T *t, int key) {
    if (!t) return leaf(key, 0);
    if (key < t->key) t->l = insert(t->l, key);
    else if (key > t->key) t->r = insert(t->r, key);
    return balance(t);
}
static T *take_least(T *t, T **least) {
    if (!t->l) {
        *least = t;
        return t->r;
    }
    t->l = take_least(t->l, least);
    return balance(t);
}
static T *erase(T *t, int key) {
    if (!t) return t;
    if (key < t->key) t->l = erase(t->l, key);
    else if (key > t->key) t->r = erase(t->r, key);
    else {
        T *rest = t->l;
        if (t->r) {
            T *least, *r = take_least(t->r, &least);
            least->l = t->l, least->r = r;
            rest = least;
        }
        free(t);
        return rest ? balance(rest) : rest;
    }
    return balance(t);
}
static T *treap(T *t, int key, unsigned rank) {
    if (!t) return leaf(key, rank);
    if (key < t->key) {
        t->l = treap(t->l, key, rank);
        if (t->l->rank > t->rank) return right(t);
    } else if (key > t->key) {
        t->r = treap(t->r, key, rank);
        if (t->r->rank > t->rank) return left(t);
    }
    return fix(t);
}
static int nth(const T *t, int i) {
    for (;;) {
        int n = size(t->l);
        if (i == n) return t->key;
        if (i < n) t = t->l;
        else i -= n + 1, t = t->r;
    }
}
static void drop(T *t) {
    if (t) drop(t->l), drop(t->r), free(t);
}
int main(void) {
    T *a = NULL, *b = NULL;
    unsigned seed = 99;
    for (int i = 0; i < 500; i++) {
        seed = seed * 22695477u + 1;
        int key = (int)(seed >> 16) % 1000;
        a = insert(a, key), b = treap(b, key, seed ^ seed << 7);
    }
    int same = size(a) == size(b);
    for (int i = 0; same && i < size(a); i++) same = nth(a, i) == nth(b, i);
    printf("%d keys, same %d, height %d\n", size(a), same, height(a));
    for (int k = 0; k < 1000; k += 3) a = erase(a, k);
    printf("%d left, height %d, %d %d %d\n", size(a), height(a), nth(a, 0), nth(a, size(a) / 2), nth(a, size(a) - 1));
    drop(a), drop(b);
    return !same;
}
