// Forms of GNU C that real programs use: computed goto, compound literals under conditions, statement expressions in
// conditions of loops, flexible arrays with values, inline definitions, empty assembly, bounds of parameters.
#include <stdio.h>
#include <string.h>

static int run(const unsigned char *p, int x) {
    static const void *const table[] = {&&add, &&dbl, &&neg, &&end};
    static const int offs[] = {&&add - &&add, &&dbl - &&add, &&neg - &&add, &&end - &&add};
    void *loc[4] = {&&add, &&dbl, &&neg, &&end};
    goto *table[*p++];
add: x += 3; goto *table[*p++];
dbl: x *= 2; goto *(&&add + offs[*p++]);
neg: x = -x; goto *loc[*p++];
end: return x;
}
int two(int c) { void *l = c ? &&yes : &&no; goto *l; { int y; yes: y = 5; return y; } no: return 6; }
struct S { int a, b; };
int g(struct S *s) { return s->a + s->b; }
int h(int *p) { return p && g(&(struct S){*p, 1}) == 8; }
int k(int *p) { return p ? g(&(struct S){*p, 1}) : -1; }

static int loops(void) {
    int i = 0, n = 0;
    while (({ static int s; int r = i; if (r > 3) goto out; s++; r < 10; })) { i++; n += i; }
out:
    for (; ({ __label__ a; int k = i; if (k > 7) goto a; k++; a: k; }) != 9 && i < 20; i++) n += 2;
    return n * 100 + i;
}

struct flex { char n; short list[]; };
static struct flex five = {5, {1, 2, 3, 4, 5}};
struct name { int id; char text[]; };
const struct name named = {9, "flexible"}, empty = {3};
static short *inside = &five.list[3];
static int flexible(void) {
    static struct flex local = {2, {[1] = 40}};
    int s = local.n + local.list[1];
    for (int i = 0; i < five.n; i++) s += five.list[i];
    five.list[4] = 100;
    const struct flex *p = &five;
    return s + *inside + p->list[4] + (int)sizeof five + named.text[7] + empty.id + (int)strlen(named.text);
}

inline __attribute__((always_inline)) int forced(int x) { return x * 3; } // no one defines it elsewhere

static int barriers(int x) {
    int y, z = 4, *p = &z;
    __asm__ volatile("" : "=r"(y) : "0"(x + 1));
    __asm__ volatile("" : "+r"(x) : "r"(y), "r"(p) : "memory");
    __asm__("" : "+m"(z));
    __asm__ volatile("" ::: "memory");
    return x * 100 + y * 10 + z;
}

static int bounds(int n, int m, int a[n++][m + 1], int b[m++]) {
    m = 100; // the length of a row is what it was
    return n + (int)sizeof(*a) + a[1][2] + b[0];
}

static _Complex double steps(void) {
    _Complex double c = 1 + 2i;
    _Complex double d = c++ + --c;
    return ++c * d;
}

// What is expected, in both senses, of tests of every kind, on straight ways and around loops.
static int expected(int a, unsigned char c, long long w, float x, int *p) {
    int r = 0;
    if (__builtin_expect(a > 3, 0)) r += 1;
    if (__builtin_expect(!!(a & 4), 1)) r += 2;
    if (!__builtin_expect(c, 1)) r += 4;
    if (__builtin_expect(w != 5, 1) && __builtin_expect(x > 1, 0)) r += 8;
    if (__builtin_expect(a, 7) == 7) r += 16;
    if (__builtin_expect(w, 0) || __builtin_expect(x, 1)) r += 32;
    __builtin_expect(a == 4, 1) ? (r += 64) : (r += p != 0);
    while (__builtin_expect(r > 100, 0)) r -= 30;
    do r += 3;
    while (__builtin_expect(r < 60, 1));
    if (__builtin_expect(p != 0, 1)) r += *p;
    else r -= 1;
    return r;
}

// Inline definitions of GNU C89: one that is always inlined needs no other, one may be replaced.
extern inline __attribute__((always_inline, gnu_inline)) int inlined(int x) { return x + 1; }
extern inline __attribute__((gnu_inline)) int replaced(int x) { return x + 1; }
int replaced(int x) { return x + 1; }

static int inline_definitions(void *p, int n) {
    *(void *)p, n ? *(void *)p : *(void *)p;
    return inlined(n) * replaced(n);
}

struct places {
    char c;
    int a[4];
    struct {
        char c;
        short x[3];
    } in[2];
    double m[2][3];
};

static void variable_places(int k) {
    char *p = __builtin_alloca_with_align(40, 512);
    printf("%d %d ", (int)__builtin_offsetof(struct places, a[k]), (int)((__SIZE_TYPE__)p % 64));
    printf("%d %d ", (int)__builtin_offsetof(struct places, in[k - 1].x[k]), (int)__builtin_offsetof(struct places, m[k / 2][k]));
    printf("%g %g\n", __builtin_powi(2.0, k), (double)__builtin_powif(3.0f, -k));
}

typedef struct {
} nothing;
typedef struct {
    unsigned n;
    nothing lock;
} locked;

static int empty_records(locked *p) {
    nothing a = {}, b;
    b = a;
    *p = (locked){7, (nothing){}};
    p->lock = b;
    return p->n + sizeof(nothing);
}

int main(void) {
    printf("%d %d %d\n", expected(4, 1, 5, 2, &(int){3}), expected(7, 0, 6, 0, 0), expected(0, 9, 0, 0.5f, 0));
    printf("%d %d %d %d %d %d\n", run((unsigned char[]){0, 1, 2, 0, 0, 1, 3}, 4), two(1), two(0), h(0), k(0), h((int[]){7}));
    printf("%d %d\n", loops(), flexible());
    printf("%d\n", forced(5));
    int a[3][4] = {{1, 2, 3, 4}, {5, 6, 7, 8}}, b[] = {1000};
    printf("%d %d\n", barriers(3), bounds(2, 3, a, b));
    int z = 0;
    __builtin_prefetch(&a[z++][0]);
    if (__builtin_expect(z == 1, 1)) z += 10;
    _Complex double s = steps();
    printf("%d %g %g\n", z, __real__ s, __imag__ s);
    printf("%d\n", inline_definitions(&z, 4));
    variable_places(z - 9);
    printf("%d\n", empty_records(&(locked){1}));
    return 0;
}
