// Fourier transforms: recursive and in place on doubles, and in fixed point; a convolution checked by the long way.
#include <complex.h>
#include <math.h>
#include <stdio.h>

enum { N = 32 };
typedef double complex Z;

static void in_place(Z *a, int n, int sign) {
    for (int i = 1, j = 0; i < n; i++) {
        int bit = n >> 1;
        for (; j & bit; bit >>= 1) j ^= bit;
        j ^= bit;
        if (i < j) {
            Z t = a[i];
            a[i] = a[j], a[j] = t;
        }
    }
    for (int len = 2; len <= n; len <<= 1) {
        Z step = cos(2 * M_PI / len) + sign * sin(2 * M_PI / len) * I;
        for (int i = 0; i < n; i += len) {
            Z w = 1;
            for (int k = 0; k < len / 2; k++) {
                Z u = a[i + k], v = a[i + k + len / 2] * w;
                a[i + k] = u + v, a[i + k + len / 2] = u - v;
                w *= step;
            }
        }
    }
}
static void recursive(const Z *in, Z *out, int n, int stride) {
    if (n == 1) {
        *out = *in;
        return;
    }
    recursive(in, out, n / 2, 2 * stride);
    recursive(in + stride, out + n / 2, n / 2, 2 * stride);
    for (int k = 0; k < n / 2; k++) {
        Z t = (cos(2 * M_PI * k / n) - sin(2 * M_PI * k / n) * I) * out[k + n / 2];
        out[k + n / 2] = out[k] - t, out[k] += t;
    }
}
int main(void) {
    Z a[N], b[N], c[N];
    double direct[N] = {0}, worst = 0;
    for (int i = 0; i < N; i++) a[i] = (i * 7 + 3) % 11 - 5, b[i] = (i * i) % 13 - 6 + (i & 1) * 0.5;
    for (int i = 0; i < N; i++)
        for (int j = 0; j < N; j++) direct[(i + j) % N] += creal(a[i]) * creal(b[j]);
    recursive(a, c, N, 1);
    in_place(a, N, -1), in_place(b, N, -1);
    for (int i = 0; i < N; i++) worst = fmax(worst, cabs(c[i] - a[i]));
    for (int i = 0; i < N; i++) a[i] *= b[i];
    in_place(a, N, 1);
    for (int i = 0; i < N; i++) worst = fmax(worst, fabs(creal(a[i]) / N - direct[i]));
    printf("%s\n", worst < 1e-9 ? "agree" : "differ");
    for (int i = 0; i < N; i += 5) printf("%.3f ", direct[i]);
    putchar('\n');
    int re[16], im[16] = {0};
    static const short sine[] = {0, 6393, 12540, 18205, 23170, 27246, 30274, 32138, 32767};
    for (int i = 0; i < 16; i++) re[i] = (i < 8 ? 1000 : -1000) + i * 10;
    for (int len = 16; len > 1; len >>= 1)
        for (int i = 0; i < 16; i += len)
            for (int k = 0; k < len / 2; k++) {
                int angle = k * (16 / len) * 2, s = -(angle <= 8 ? sine[angle] : sine[16 - angle]);
                int co = angle <= 8 ? sine[8 - angle] : -sine[angle - 8], p = i + k, q = p + len / 2;
                int dr = re[p] - re[q], di = im[p] - im[q];
                re[p] += re[q], im[p] += im[q];
                re[q] = (dr * co - di * s) >> 15, im[q] = (dr * s + di * co) >> 15;
            }
    for (int i = 0; i < 16; i++) printf("%d%+di ", re[i], im[i]);
    putchar('\n');
    return 0;
}
