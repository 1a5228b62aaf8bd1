// Pointers to functions: tables, arguments, results, members, comparisons, recursion through them, many prototypes.
#include <stdio.h>

typedef int (*binary)(int, int);
typedef double (*real)(double);
static int add(int a, int b) { return a + b; }
static int sub(int a, int b) { return a - b; }
static int mul(int a, int b) { return a * b; }
static int quo(int a, int b) { return b ? a / b : -1; }
static double half(double d) { return d / 2; }
static double square(double d) { return d * d; }
static struct { char sign; binary f; } const table[] = {{'+', add}, {'-', sub}, {'*', mul}, {'/', &quo}, {0, 0}};

static binary find(char sign) {
    for (int i = 0; table[i].f; i++)
        if (table[i].sign == sign) return table[i].f;
    return 0;
}
static binary (*finder)(char) = find;
static int (*choose(int which))(int, int) { return which ? which > 0 ? add : sub : mul; }
static real compose[] = {half, square, half};

struct shape {
    const struct methods *ops;
    int w, h;
};
struct methods {
    const char *name;
    int (*area)(const struct shape *);
    void (*grow)(struct shape *, int);
};
static int rect_area(const struct shape *s) { return s->w * s->h; }
static int tri_area(const struct shape *s) { return s->w * s->h / 2; }
static void grow_both(struct shape *s, int n) { s->w += n, s->h += n; }
static void grow_wide(struct shape *s, int n) { s->w += n; }
static const struct methods rect = {"rect", rect_area, grow_both}, tri = {"tri", tri_area, grow_wide};

typedef struct state state;
typedef void *(*step)(state *);
struct state { const char *in; int words, chars; };
static void *in_space(state *s);
static void *in_word(state *s) {
    if (!*s->in) return 0;
    if (*s->in++ == ' ') return in_space;
    s->chars++;
    return in_word;
}
static void *in_space(state *s) {
    if (!*s->in) return 0;
    if (*s->in == ' ') return s->in++, in_space;
    s->words++;
    return in_word;
}

static void each(const int *a, int n, void (*f)(int, void *), void *context) {
    while (n--) f(*a++, context);
}
static void summing(int v, void *c) { *(long *)c += v; }
static void largest(int v, void *c) {
    int *best = c;
    if (v > *best) *best = v;
}
static int apply_n(binary f, int n, int seed) { return n ? f(apply_n(f, n - 1, seed), n) : seed; }
static long long mixed(char c, long long l, float f, short s, double d) { return c + l * 2 + (int)f + s + (int)d; }
static void nothing(void) { printf("nothing\n"); }

int main(void) {
    int total = 0;
    for (const char *p = "+-*/?"; *p; p++) {
        binary f = finder(*p);
        printf("%c %d\n", *p, f ? f(17, 5) : -999);
        if (f) total += (*f)(100, 7) + (**f)(3, 2);
    }
    for (int i = -1; i <= 1; i++) printf("%d ", choose(i)(8, 3));
    double d = 3;
    for (unsigned i = 0; i < sizeof compose / sizeof *compose; i++) d = compose[i](d);
    printf("%g %d %d\n", d, compose[0] == compose[2], compose[0] == compose[1]);
    struct shape shapes[] = {{&rect, 3, 4}, {&tri, 6, 5}, {&rect, 1, 1}};
    for (struct shape *s = shapes; s < shapes + 3; s++) {
        s->ops->grow(s, 2);
        printf("%s %d\n", s->ops->name, s->ops->area(s));
        total += s->ops->area(s);
    }
    state st = {"  the quick  brown fox ", 0, 0};
    for (step f = in_space; f; f = (step)f(&st));
    printf("%d %d\n", st.words, st.chars);
    int values[] = {5, -3, 99, 12};
    long sum = 0;
    int best = 0;
    each(values, 4, summing, &sum);
    each(values, 4, largest, &best);
    printf("%ld %d\n", sum, best);
    printf("%d %d\n", apply_n(add, 10, 0), apply_n(mul, 6, 1));
    long long (*mp)(char, long long, float, short, double) = mixed;
    printf("%lld\n", mp('a', 1LL << 40, 2.75f, -5, 1e6));
    void (*np)(void) = total > 0 ? nothing : 0;
    if (np) np();
    (total & 1 ? add : sub)(1, 2);
    return (total + (total & 1 ? mul : sub)(3, 2)) & 0xff;
}
