// Arrays whose size is known at run time: one and more dimensions, sizeof, as parameters, in loops, typedefs; alloca.
#include <alloca.h>
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

int main(void) {
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
