// Types whose size is known when the program runs: parameters, typedefs, pointers to them, sizeof with effects, loops that
// make and leave them, jumps out, alloca beside them.
#include <alloca.h>
#include <stdio.h>
#include <string.h>

static int calls;
static int size(int n) { return calls++, n; }

static void multiply(int n, int m, int k, int a[n][m], int b[m][k], int (*c)[k]) {
    for (int i = 0; i < n; i++)
        for (int j = 0; j < k; j++) {
            c[i][j] = 0;
            for (int l = 0; l < m; l++) c[i][j] += a[i][l] * b[l][j];
        }
}
static int trace(int n, int a[static n][n]) {
    int s = 0;
    for (int i = 0; i < n; i++) s += a[i][i];
    return s;
}
static int pascal(int n) {
    typedef int line[n + 1];
    line now, then;
    memset(now, 0, sizeof now);
    now[0] = 1;
    for (int i = 0; i < n; i++) {
        memcpy(then, now, sizeof(line));
        for (int j = 1; j <= n; j++) now[j] += then[j - 1];
    }
    int best = 0;
    for (int j = 0; j <= n; j++) best = now[j] > best ? now[j] : best;
    return best + (int)(sizeof(line) / sizeof(int));
}
static int growing(int limit) {
    int total = 0;
    for (int n = 1;; n++) {
        char text[n];
        for (int i = 0; i < n; i++) text[i] = (char)(i * n);
        if (n == 3) continue;
        total += text[n - 1] + (int)sizeof text;
        if (n >= limit) goto done;
    }
done:
    return total;
}
static unsigned fold(int n) {
    unsigned h = 1;
    for (int i = 1; i < n; i++) {
        unsigned char *p = alloca((unsigned)i), v[i * 2];
        memset(p, i, (unsigned)i), memset(v, ~i, sizeof v);
        h = h * 31 + p[i - 1] + v[i];
    }
    return h;
}
static int effects(int n) {
    int a[size(n)][size(n + 1)];
    int before = calls;
    int bytes = (int)(sizeof a / sizeof(int)) + (int)(sizeof(int[size(2)]) / sizeof(int)) + (int)sizeof(char[size(3)]);
    int (*p)[n + 1] = a;
    n = 100;
    a[1][2] = 5, p++;
    return bytes * 1000 + (calls - before) * 100 + (*p)[2] * 10 + (int)((char *)(p + 1) - (char *)p) / (int)sizeof(int);
}
static int peel(int n, int (*f)(int n, int a[n])) {
    int v[n];
    for (int i = 0; i < n; i++) v[i] = i * i;
    return n ? f(n, v) + peel(n - 1, f) : 0;
}
static int last(int n, int a[n]) { return a[n - 1]; }

int main(void) {
    int a[2][3] = {{1, 2, 3}, {4, 5, 6}}, b[3][2] = {{1, 0}, {2, 1}, {0, 3}}, c[2][2], d[3][3];
    multiply(2, 3, 2, a, b, c);
    multiply(3, 2, 3, b, a, d);
    printf("%d %d %d %d %d %d\n", c[0][0], c[0][1], c[1][0], c[1][1], trace(2, c), trace(3, d));
    printf("%d %d %u\n", pascal(10), growing(9), fold(20));
    printf("%d\n", effects(4));
    printf("%d\n", peel(6, last));
    return calls;
}
