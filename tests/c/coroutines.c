// Functions that go on where they stopped: Duff's device, generators by switch, statics, state records, labels in loops.
#include <stdio.h>

#define BEGIN(s) switch ((s)->line) { case 0:
#define YIELD(s, v) do { (s)->line = __LINE__; return (v); case __LINE__:; } while (0)
#define END(s) } (s)->line = -1; return -1

struct gen { int line, i, j, n; };
static int primes_up_to(struct gen *g) {
    BEGIN(g);
    for (g->i = 2; g->i < g->n; g->i++) {
        for (g->j = 2; g->j * g->j <= g->i; g->j++)
            if (g->i % g->j == 0) goto next;
        YIELD(g, g->i);
    next:;
    }
    END(g);
}
static int walk(struct gen *g) {
    BEGIN(g);
    while (g->n > 0) {
        YIELD(g, g->n);
        if (g->n & 1) {
            g->n = 3 * g->n - 1;
            YIELD(g, g->n);
        }
        g->n >>= 2;
        if (g->n == 3) YIELD(g, 3000);
    }
    END(g);
}
static void copy(short *to, const short *from, int count) {
    int n = (count + 7) / 8;
    if (count <= 0) return;
    switch (count % 8) {
    case 0: do { *to++ = *from++;
    case 7:      *to++ = *from++;
    case 6:      *to++ = *from++;
    case 5:      *to++ = *from++;
    case 4:      *to++ = *from++;
    case 3:      *to++ = *from++;
    case 2:      *to++ = *from++;
    case 1:      *to++ = *from++;
            } while (--n > 0);
    }
}
static int counter(int restart) {
    static int n = 3, step;
    if (restart) n = 3, step = 0;
    step = step * 2 + 1;
    return n += step;
}
int main(void) {
    struct gen g = {.n = 60}, h = {.n = 1000};
    for (int p; (p = primes_up_to(&g)) >= 0;) printf("%d ", p);
    printf("| %d\n", g.line);
    for (int v; (v = walk(&h)) >= 0;) printf("%d ", v);
    putchar('\n');
    short a[30], b[30];
    for (int n = 0; n <= 26; n += 13) {
        for (int i = 0; i < 30; i++) a[i] = (short)(i * i), b[i] = -1;
        copy(b, a, n);
        int s = 0;
        for (int i = 0; i < 30; i++) s = s % 9999 * 3 + b[i];
        printf("%d ", s);
    }
    for (int i = 0; i < 6; i++) printf("%d ", counter(i == 4));
    int i = 0, s = 0;
again:
    switch (i++ % 4) {
        for (; s < 50; s += 3) {
        case 2: s += 7;
        case 1:
            if (s > 30) break;
        }
    default: s++;
    }
    if (i < 9) goto again;
    printf("%d\n", s);
    return 0;
}
