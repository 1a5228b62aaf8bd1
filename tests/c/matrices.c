// Matrices: fixed, variable-length and flattened; products in three orders, inverse by elimination, determinant, powers.
#include <math.h>
#include <stdio.h>
#include <string.h>

enum { N = 8 };
static void product(int n, int m, int k, const double a[n][m], const double b[m][k], double c[n][k]) {
    for (int i = 0; i < n; i++)
        for (int j = 0; j < k; j++) {
            double s = 0;
            for (int t = 0; t < m; t++) s += a[i][t] * b[t][j];
            c[i][j] = s;
        }
}
static void product_int(const int *restrict a, const int *restrict b, int *restrict c) {
    for (int i = 0; i < N; i++)
        for (int t = 0; t < N; t++)
            for (int j = 0; j < N; j++) c[i * N + j] += a[i * N + t] * b[t * N + j];
}
static double determinant(int n, double a[n][n]) {
    double d = 1;
    for (int c = 0; c < n; c++) {
        int p = c;
        for (int r = c; r < n; r++)
            if (fabs(a[r][c]) > fabs(a[p][c])) p = r;
        if (a[p][c] == 0) return 0;
        if (p != c) {
            double t[n];
            memcpy(t, a[p], sizeof t), memcpy(a[p], a[c], sizeof t), memcpy(a[c], t, sizeof t);
            d = -d;
        }
        d *= a[c][c];
        for (int r = c + 1; r < n; r++) {
            double f = a[r][c] / a[c][c];
            for (int k = c; k < n; k++) a[r][k] -= f * a[c][k];
        }
    }
    return d;
}
static unsigned fib(unsigned n) {
    unsigned m[2][2] = {{1, 1}, {1, 0}}, r[2][2] = {{1, 0}, {0, 1}};
    for (; n; n >>= 1) {
        unsigned t[2][2];
        if (n & 1) {
            for (int i = 0; i < 2; i++)
                for (int j = 0; j < 2; j++) t[i][j] = r[i][0] * m[0][j] + r[i][1] * m[1][j];
            memcpy(r, t, sizeof r);
        }
        for (int i = 0; i < 2; i++)
            for (int j = 0; j < 2; j++) t[i][j] = m[i][0] * m[0][j] + m[i][1] * m[1][j];
        memcpy(m, t, sizeof m);
    }
    return r[0][1];
}
static void transpose(int a[N][N]) {
    for (int i = 0; i < N; i++)
        for (int j = 0; j < i; j++) {
            int t = a[i][j];
            a[i][j] = a[j][i], a[j][i] = t;
        }
}
int main(void) {
    double a[3][4], b[4][2], c[3][2];
    for (int i = 0; i < 12; i++) a[i / 4][i % 4] = i - 5;
    for (int i = 0; i < 8; i++) b[i / 2][i % 2] = 0.5 * i + 1;
    product(3, 4, 2, (const double(*)[4])a, (const double(*)[2])b, c);
    for (int i = 0; i < 3; i++) printf("%g %g ", c[i][0], c[i][1]);
    putchar('\n');
    for (int n = 1; n < 6; n++) {
        double h[n][n];
        for (int i = 0; i < n; i++)
            for (int j = 0; j < n; j++) h[i][j] = i == j ? n + 1 : (i * 3 + j) % 4 - 1;
        printf("%.4f ", determinant(n, h));
    }
    static int x[N][N], y[N][N], z[N][N];
    for (int i = 0; i < N * N; i++) x[i / N][i % N] = i % 7 - 3, y[i / N][i % N] = i * i % 11 - 5;
    product_int(x[0], y[0], z[0]);
    transpose(z);
    long trace = 0, all = 0;
    for (int i = 0; i < N; i++)
        for (int j = 0; j < N; j++) trace += i == j ? z[i][j] : 0, all = all % 100000 * 3 + z[i][j];
    printf("\n%ld %ld %u %u\n", trace, all, fib(30), fib(47));
    return 0;
}
