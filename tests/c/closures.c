// Functions as values: tables, callbacks with contexts, sorting by several keys, a tiny event loop, memoised recursion, nested types.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct fn { int (*call)(struct fn *, int); int a; struct fn *f, *g; } FN;
static int f_const(FN *f, int x) { return (void)x, f->a; }
static int f_add(FN *f, int x) { return x + f->a; }
static int f_mul(FN *f, int x) { return x * f->a; }
static int f_then(FN *f, int x) { return f->g->call(f->g, f->f->call(f->f, x)); }
static int f_twice(FN *f, int x) { return f->f->call(f->f, f->f->call(f->f, x)); }
static int f_count(FN *f, int x) { return x + f->a++; }
static int f_if(FN *f, int x) { return x > f->a ? f->f->call(f->f, x) : f->g->call(f->g, x); }

typedef void handler(void *self, int event);
struct source { handler *on; void *self; int every; };
struct sum { long total; int calls; };
static void add_up(void *self, int e) { ((struct sum *)self)->total += e, ((struct sum *)self)->calls++; }
static void toggle(void *self, int e) { *(char *)self ^= (char)(e & 1); }
static void loop(struct source *s, int n, int until) {
    for (int t = 1; t <= until; t++)
        for (int i = 0; i < n; i++)
            if (t % s[i].every == 0) s[i].on(s[i].self, t);
}
struct person { char name[8]; int age; float size; };
typedef int (*order)(const void *, const void *);
static int by_name(const void *a, const void *b) { return strcmp(((const struct person *)a)->name, ((const struct person *)b)->name); }
static int by_age(const void *a, const void *b) { return ((const struct person *)a)->age - ((const struct person *)b)->age; }
static int by_size(const void *a, const void *b) {
    float x = ((const struct person *)a)->size, y = ((const struct person *)b)->size;
    return (x > y) - (x < y);
}
static order keys[3];
static int by_keys(const void *a, const void *b) {
    for (order *k = keys; *k; k++) {
        int r = (*k)(a, b);
        if (r) return r;
    }
    return 0;
}
static int memo[50][50];
static int paths(int x, int y, int (*blocked)(int, int)) {
    if (x < 0 || y < 0 || blocked(x, y)) return 0;
    if (!x && !y) return 1;
    int *m = &memo[x][y];
    return *m ? *m - 1 : (*m = 1 + (paths(x - 1, y, blocked) + paths(x, y - 1, blocked)) % 100003, *m - 1);
}
static int diagonal(int x, int y) { return x == y && x % 3 == 2; }
static int nothing(int x, int y) { return (x + y) < 0; }
static int (*const operations[])(int, int) = {nothing, diagonal, nothing};
static int (*select_op(int i))(int, int) { return operations[i % 3]; }
int main(void) {
    FN five = {f_const, 5, 0, 0}, inc = {f_add, 1, 0, 0}, dbl = {f_mul, 2, 0, 0}, count = {f_count, 0, 0, 0};
    FN a = {f_then, 0, &inc, &dbl}, b = {f_twice, 0, &a, 0}, c = {f_twice, 0, &b, 0}, d = {f_if, 10, &five, &c}, e = {f_then, 0, &count, &d};
    for (int x = -2; x < 4; x++) printf("%d %d %d ", b.call(&b, x), c.call(&c, x), e.call(&e, x * 4));
    struct sum s = {0, 0};
    char flag = 0;
    struct source sources[] = {{add_up, &s, 3}, {toggle, &flag, 5}, {add_up, &s, 7}};
    loop(sources, 3, 100);
    printf("\n%ld %d %d\n", s.total, s.calls, flag);
    struct person people[] = {{"bob", 30, 1.8f}, {"al", 25, 1.7f}, {"cy", 30, 1.6f}, {"di", 25, 1.7f}, {"ed", 41, 1.8f}, {"al", 12, 1.2f}};
    static const order sets[][3] = {{by_name, by_age, NULL}, {by_age, by_size, NULL}, {by_size, by_name, NULL}};
    for (int i = 0; i < 3; i++) {
        memcpy(keys, sets[i], sizeof keys);
        qsort(people, 6, sizeof *people, by_keys);
        for (int j = 0; j < 6; j++) printf("%s%d ", people[j].name, people[j].age);
    }
    struct person key = {"cy", 0, 0}, *found = bsearch(&key, people, 6, sizeof key, by_name);
    printf("%d\n", found ? found->age : -1);
    for (int i = 0; i < 3; i++) {
        memset(memo, 0, sizeof memo);
        printf("%d ", paths(20, 17, select_op(i)));
    }
    putchar('\n');
    return 0;
}
