// Static locals, tentative definitions, constructors, aliases, weak functions, const tables, volatile, register,
// functions without prototypes, inline functions, names that hide others.
#include <stdio.h>

int tentative;
int tentative;
extern int tentative;
static int forward[3];
int later(void);
static int forward[3] = {7, 8, 9};
const unsigned char table[256] = {[0 ... 9] = 1, [10 ... 99] = 2, ['a'] = 50, ['z'] = 51, [255] = 200};
extern int shown;
int real_count = 5;
static int steps[6], n_steps;

__attribute__((constructor)) static void first(void) { steps[n_steps++] = 11, tentative += 3; }
__attribute__((constructor)) static void second(void) { steps[n_steps++] = 11, shown *= 2; }
int shown = 21;

int real(int x) { return x * 3 + 1; }
int other(int) __attribute__((alias("real")));
__attribute__((weak)) int maybe(int x) { return x - 1; }
extern int missing(int) __attribute__((weak));
__attribute__((noinline)) static int apart(int x) { return x ^ 0x55; }
static inline __attribute__((always_inline)) int close_by(int x) { return x << 2 | 1; }
inline int both(int x) { return x * x; }
extern inline int both(int x);

static int counter(void) {
    static int n = 100;
    static const int by[] = {1, 10, 100};
    static int turn;
    return n += by[turn++ % 3];
}
static int other_counter(int reset) {
    static int n;
    if (reset) {
        static int n = 50;
        return n--;
    }
    return ++n;
}
static const char *name(int i) {
    static char buffers[2][8];
    static int which;
    char *b = buffers[which ^= 1];
    sprintf(b, "n%d", i);
    return b;
}
static int *remember(int v) {
    static int kept[4], *at = kept;
    *at = v;
    int *r = at++;
    if (at == kept + 4) at = kept;
    return r;
}

int old_style(a, b, c, p)
    char a;
    short b;
    float c;
    char *p;
{
    return a + b * 2 + (int)(c * 4) + p[1];
}
int no_list();
static int caller(void) { return no_list(3, 4LL, 2.5); }
int no_list(a, l, d)
    int a;
    long long l;
    double d;
{
    return a + (int)l + (int)(d * 2);
}

volatile int port = 4;
static volatile unsigned short ticks;
static int poll(void) {
    int n = 0;
    while (port) port--, n++;
    port = n;
    return port + port * 2;
}
static int x = 1;
static int hiding(int y) {
    int r = x;
    {
        int x = y;
        r += x * 10;
        for (int x = 0; x < 3; x++) r += x * 100;
        {
            extern int real_count;
            r += real_count * 1000;
        }

        r += x;
    }
    return r + x;
}

int main(void) {
    printf("%d %d %d %d\n", tentative, shown, n_steps, steps[0] + steps[1]);
    printf("%d %d %d\n", forward[0], forward[2], later());
    unsigned sum = 0;
    for (int i = 0; i < 256; i++) sum = sum * 5 + table[i];
    printf("%u %d\n", sum, table['z']);
    printf("%d %d %d %d\n", other(4), maybe(9), missing ? missing(2) : 0, real == other);
    printf("%d %d %d\n", apart(9), close_by(3), both(12));
    for (int i = 0; i < 5; i++) printf("%d ", counter());
    for (int i = 0; i < 5; i++) printf("%d ", other_counter(i % 2));
    const char *a = name(1), *b = name(2);
    printf("%s %s %d\n", a, b, name(3) == a);
    int *p = remember(5), *q = remember(6);
    *p += *q;
    printf("%d %d\n", *p, (int)(q - p));
    printf("%d %d\n", old_style('A', -5, 1.75f, "pq"), caller());
    printf("%d\n", poll());
    for (register int i = 0; i < 70000; i++) ticks++;
    volatile int local = 3;
    local = local + local;
    int volatile *vp = &local;
    *vp += 2, ++*vp;
    printf("%d %d %d\n", ticks, local, hiding(2) - hiding(1));
    const volatile int cv = 7;
    return (sum + local + cv + counter()) & 0x7f;
}
int later(void) { return tentative + forward[1]; }
