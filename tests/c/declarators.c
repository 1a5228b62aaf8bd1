// Declarators of every shape: pointers to arrays and functions in each other, qualifiers inside brackets, definitions of
// the old style, types without names in casts and sizeof, storage classes.
#include <stdio.h>

typedef int row[3];
typedef int binary(int, int);
typedef binary *chooser(char);

static int add(int a, int b) { return a + b; }
static binary sub, *const fixed = add;
static int sub(int a, int b) { return a - b; }
static binary *choose(char c) { return c == '+' ? add : sub; }
static chooser *choosers[] = {choose, choose};
static int (*(*nested(int n))(char))(int, int) { return choosers[n]; }

static row grid[2] = {{1, 2, 3}, {4, 5, 6}};
static row *rows(void) { return grid; }
static int (*second(int (*p)[3]))[3] { return p + 1; }
static int (*(*table[2])[3])(int, int);
static int (*ops[3])(int, int) = {add, sub, add};

static int sum(int n, const int a[static 2], int *restrict const last) {
    int s = 0;
    for (const int *p = a; p < a + n; p++) s += *p;
    return *last = s;
}
static int area(int n, int m, int a[n][m]);
static int area(int n, int m, int (*a)[m]) {
    int s = 0;
    for (int i = 0; i < n; i++)
        for (int j = 0; j < m; j++) s += a[i][j] * (i + 1);
    return s;
}
static int stars(int, int, int[*][*]);
static int stars(int n, int m, int a[n][m]) { return a[n - 1][m - 1]; }

static int old(a, b, p, f) short a;
char b;
int *p;
float f;
{
    return a + b + *p + (int)(f * 2);
}
static void quiet() {}
static const int *const *deep(const int *const *volatile p) { return p; }
static char *(*strings)(const char *);
static char *skip(const char *s) { return (char *)s + 1; }
extern int defined_below[];
struct node { struct node *(*next)(struct node *); int (*value)[2]; int v[2]; };
static struct node *advance(struct node *n) { return n + 1; }

int main(void) {
    int k = 5;
    auto int plain = 1;
    register int counter = 0;
    table[0] = &ops;
    strings = &skip;
    printf("%d %d %d\n", nested(1)('+')(7, 2), (*nested(0))('-')(7, 2), (***fixed)(1, 2));
    printf("%d %d %d\n", rows()[1][2], (*second(rows()))[0], (*(*table[0])[1])(9, 4));
    int total = sum(3, *grid, &k);
    printf("%d %d\n", total, k);
    printf("%d %d\n", area(2, 3, grid), stars(2, 3, grid));
    printf("%d %d %d %d\n", (int)sizeof(int(*)[3]) == (int)sizeof(void *), (int)(sizeof(row[2]) / sizeof(int)), (int)sizeof(char[sizeof(short[3])]),
           (int)(sizeof(struct { int (*a[4])(void); char b; }) / sizeof(int (*)(void))));
    printf("%d %d\n", old(1, 'a', &k, 2.5f), ((int (*)(int, int))choose('+'))(3, 4));
    const int *const inner = &grid[0][1], *const *outer = &inner;
    printf("%d %s %d\n", **deep(outer), strings("xyz"), defined_below[1]);
    struct node list[3] = {{advance, &list[2].v, {1, 2}}, {advance, &list[0].v, {3, 4}}, {0, 0, {5, 6}}};
    for (struct node *n = list; n->next; n = n->next(n)) counter += (*n->value)[1] * plain++;
    int (*matrix)[2][3] = (int(*)[2][3])grid;
    quiet();
    return printf("%d %d\n", counter, (*matrix)[1][1] + *(*(*matrix + 1) + 2));
}
int defined_below[3] = {7, 8, 9};
