// Arrays whose size is known at run time: one and more dimensions, sizeof, as parameters, in loops, typedefs; alloca.
// When and how often the sizes in type names are evaluated.
#include <alloca.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

static int side(int *n) { return (*n)++; }
static int sum(int n, int m, const int a[n][m]) {
    int s = 0;
    for (int i = 0; i < n; i++)
        for (int j = 0; j < m; j++) s = s * 2 + a[i][j];
    return s;
}
static void multiply(int n, double r[restrict n][n], double a[n][n], double b[n][n]) {
    for (int i = 0; i < n; i++)
        for (int j = 0; j < n; j++) {
            r[i][j] = 0;
            for (int k = 0; k < n; k++) r[i][j] += a[i][k] * b[k][j];
        }
}
static int primes(int n) {
    char composite[n + 1];
    int count = 0;
    memset(composite, 0, sizeof composite);
    for (int i = 2; i <= n; i++) {
        if (composite[i]) continue;
        count++;
        for (int j = i * 2; j <= n; j += i) composite[j] = 1;
    }
    return count;
}
static int recursive(int n) {
    int a[n + 1];
    for (int i = 0; i <= n; i++) a[i] = n * i;
    int r = n ? recursive(n - 1) : 0;
    for (int i = 0; i <= n; i++) r += a[i];
    return r;
}
static int leaving(int n) {
    int r = 0;
    for (int i = 1; i < 200; i++) {
        short a[i * n];
        a[0] = i, a[i * n - 1] = 2;
        if (i % 3 == 0) continue;
        r += a[0] + a[i * n - 1] + sizeof a;
        if (r > 5000) break;
    }
again: {
    char b[r % 50 + 1];
    b[r % 50] = 1;
    if ((r -= 700 + b[r % 50 ? r % 50 : 0]) > 0) goto again;
}
    return r;
}
static char *joined(char *to, const char *const *p, int n) {
    *to = 0;
    for (int i = 0; i < n; i++) {
        char *copy = alloca(strlen(p[i]) + 2);
        strcpy(copy, p[i]);
        strcat(copy, "/");
        strcat(to, copy);
    }
    return to;
}
static int edit(const char *a, const char *b) {
    int n = strlen(a), m = strlen(b), d[n + 1][m + 1];
    for (int i = 0; i <= n; i++)
        for (int j = 0; j <= m; j++) {
            if (!i || !j) d[i][j] = i + j;
            else {
                int best = d[i - 1][j - 1] + (a[i - 1] != b[j - 1]);
                if (d[i - 1][j] + 1 < best) best = d[i - 1][j] + 1;
                if (d[i][j - 1] + 1 < best) best = d[i][j - 1] + 1;
                d[i][j] = best;
            }
        }
    return d[n][m];
}

static int sizes_told[32], told_count;
static int told(int n) { return sizes_told[told_count++ & 31] = n; }
static void show(const char *what, int n) {
    printf("%s %d:", what, n);
    for (int i = 0; i < told_count; i++) printf(" %d", sizes_told[i]);
    putchar('\n'), told_count = 0;
}
static int nested(int n, int a[][told(n + 1)], int (*c)[sizeof *a]) { return (int)(sizeof *a + sizeof *c); }
static int (*taken(int n, ...))[3] {
    va_list list;
    va_start(list, n);
    typeof(int(*)[told(n)]) p = va_arg(list, typeof(int(*)[told(n + 1)]));
    va_end(list);
    return (int(*)[3])p;
}
static void type_names(void) {
    int a[4][3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {10, 11, 12}}, n = 3, i = 0;
    void *p = a;
    show("cast", ((int(*)[told(n)])p)[2][1] + (*((int(*)[2][told(3)])p + 1))[1][2]);
    show("not reached", (n > 5 && (int(*)[told(n)])p) + (n < 5 || sizeof(int[told(n)])) +
                            (n ? 3 : (int)sizeof(*(int(*)[told(n)])p)));
    show("reached", (n < 5 && (int(*)[told(n)])p) + (n > 5 || sizeof(int[told(n)])) +
                        (n ? (int)sizeof(*(int(*)[told(n)])p) : 3));
    int b = (told(1), (int)sizeof(char[told(2)]));
    show("comma", b);
    show("element", (int)sizeof((*(int(*)[2][told(5)])p)[i++]) + i);
    for (i = 1; i < 4; i++) {
        typeof((int(*)[told(i)])p) q = p, r = q + 1; // the operand once for both
        typedef int row[told(i + 10)];
        row *s = p;
        static char (*kept)[2];
        b += (int)(sizeof *q + (size_t)((char *)r - (char *)q) + sizeof *s + sizeof(row) + (kept == 0));
    }
    show("declared", b);
    i = 0;
    while ((int)sizeof(char[told(++i)]) < 4 && ((char(*)[told(i + 5)])p)[0]) b++;
    show("loop", b);
    typeof(i++, n) plain = 5; // no size in it: not evaluated
    show("plain", plain + i + (int)(sizeof(typeof((int(*)[told(i)])p)) / sizeof p));
    int(**at)[3] = &(typeof(told(9), (int(*)[n])p)){a + 1};
    show("literal", (**at)[1]);
    show("stepped", (*((typeof(told(8), (int(*)[n])p)){a} += 2))[0]);
    show("incremented", (*++(int(*)[told(3)]){p})[1]);
    show("difference", (int)((int(*)[told(3)])(a + 3) - (int(*)[3])p));
    show("parameters", nested(5, 0, 0));
    show("arguments", (*taken(7, a + 2))[1]);
}

int main(void) {
    type_names();
    int n = 3, m = 4;
    int a[n][m], once[side(&n)];
    n = 3;
    for (int i = 0; i < n; i++)
        for (int j = 0; j < m; j++) a[i][j] = i * j + 1;
    printf("%d %d %d %d\n", sum(n, m, a), (int)sizeof a, (int)sizeof a[0], (int)(sizeof once / sizeof *once));
    typedef double square[n][n];
    square x, y, z;
    n = 9;
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 3; j++) x[i][j] = i + j, y[i][j] = i == j ? 2 : 0.5;
    multiply(3, z, x, y);
    multiply(3, y, z, x);
    printf("%g %g %g %d\n", z[0][2], y[2][1], y[0][0], (int)sizeof(square));
    printf("%d %d %d\n", primes(100), primes(2000), recursive(20));
    printf("%d %d\n", leaving(1), leaving(7));
    static const char *const parts[] = {"usr", "share", "", "x"};
    char path[40];
    printf("%s\n", joined(path, parts, 4));
    printf("%d %d\n", edit("kitten", "sitting"), edit("", "abc"));
    int (*p)[m] = a + 1, q = sizeof *p;
    m = 1;
    p++;
    printf("%d %d %d\n", (*p)[3], q, (int)(p - a));
    return (sum(3, 4, a) + edit("intention", "execution")) & 0x7f;
}
