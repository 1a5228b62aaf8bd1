// Multiplies two matrices of doubles and prints a checksum.
#include <stdio.h>

enum { N = 40 };
static double a[N][N], b[N][N], c[N][N];

static void multiply(double (*restrict to)[N], double (*restrict x)[N], double (*restrict y)[N], int n) {
    for (int i = 0; i < n; i++)
        for (int j = 0; j < n; j++) {
            double sum = 0;
            for (int k = 0; k < n; k++) sum += x[i][k] * y[k][j];
            to[i][j] = sum;
        }
}

int main(void) {
    for (int i = 0; i < N; i++)
        for (int j = 0; j < N; j++) a[i][j] = (i * 7 + j) % 11, b[i][j] = (i + j * 5) % 13 - 6;
    multiply(c, a, b, N);
    double trace = 0, total = 0;
    for (int i = 0; i < N; i++) {
        trace += c[i][i];
        for (int j = 0; j < N; j++) total += c[i][j];
    }
    printf("trace %.1f total %.1f\n", trace, total);
    return 0;
}
