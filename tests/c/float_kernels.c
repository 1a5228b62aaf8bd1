// Numerical methods in float and double: roots, integrals, differential equations, least squares, series, random sums.
#include <math.h>
#include <stdio.h>

static double cubic(double x) { return x * x * x - 2 * x - 5; }
static double newton(double (*f)(double), double x) {
    for (int i = 0; i < 50; i++) {
        double h = 1e-6, d = (f(x + h) - f(x - h)) / (2 * h), step = f(x) / d;
        x -= step;
        if (fabs(step) < 1e-12) break;
    }
    return x;
}
static double bisect(double (*f)(double), double lo, double hi) {
    while (hi - lo > 1e-10) {
        double mid = (lo + hi) / 2;
        if ((f(mid) < 0) == (f(lo) < 0)) lo = mid;
        else hi = mid;
    }
    return lo;
}
static double simpson(double (*f)(double), double a, double b, int n) {
    double h = (b - a) / n, s = f(a) + f(b);
    for (int i = 1; i < n; i++) s += f(a + i * h) * (i % 2 ? 4 : 2);
    return s * h / 3;
}
static void runge(double *x, double *v, double h) {
    double k1x = *v, k1v = -*x, k2x = *v + h / 2 * k1v, k2v = -(*x + h / 2 * k1x);
    double k3x = *v + h / 2 * k2v, k3v = -(*x + h / 2 * k2x), k4x = *v + h * k3v, k4v = -(*x + h * k3x);
    *x += h / 6 * (k1x + 2 * k2x + 2 * k3x + k4x);
    *v += h / 6 * (k1v + 2 * k2v + 2 * k3v + k4v);
}
static float root(float v) {
    float x = v > 1 ? v : 1;
    for (int i = 0; i < 20; i++) x = 0.5f * (x + v / x);
    return x;
}
static double series_sin(double x) {
    double term = x, sum = x;
    for (int i = 1; fabs(term) > 1e-17; i++) term *= -x * x / (2 * i * (2 * i + 1)), sum += term;
    return sum;
}
static void fit(const float *x, const float *y, int n, float *a, float *b) {
    float sx = 0, sy = 0, sxx = 0, sxy = 0;
    for (int i = 0; i < n; i++) sx += x[i], sy += y[i], sxx += x[i] * x[i], sxy += x[i] * y[i];
    *b = (n * sxy - sx * sy) / (n * sxx - sx * sx), *a = (sy - *b * sx) / n;
}
static double kahan(const float *v, int n) {
    float s = 0, c = 0;
    for (int i = 0; i < n; i++) {
        volatile float y = v[i] - c, t = s + y;
        c = (t - s) - y, s = t;
    }
    return s;
}
static double poly(const double *c, int n, double x) {
    double r = 0;
    while (n--) r = r * x + c[n];
    return r;
}
int main(void) {
    static const double c[] = {1, -0.5, 0.25, 3, -2};
    printf("%.9f %.9f\n", newton(cubic, 2), bisect(cubic, 2, 3));
    printf("%.9f %.9f\n", simpson(cubic, 0, 2, 100), simpson(sqrt, 0, 1, 1000));
    double x = 1, v = 0;
    for (int i = 0; i < 628; i++) runge(&x, &v, 0.01);
    printf("%.6f %.6f\n", x, v);
    for (int i = 1; i < 6; i++) printf("%.6g ", (double)root((float)(i * i * i) / 2));
    printf("\n%.12f %.12f\n", series_sin(1), series_sin(3) - sin(3));
    float xs[20], ys[20], a, b, many[1000];
    for (int i = 0; i < 20; i++) xs[i] = (float)i / 4, ys[i] = 3 + 0.5f * xs[i] + (float)(i % 3 - 1) * 0.1f;
    fit(xs, ys, 20, &a, &b);
    for (int i = 0; i < 1000; i++) many[i] = 1.0f / (float)(i + 1);
    float plain = 0;
    for (int i = 0; i < 1000; i++) plain += many[i];
    printf("%.5f %.5f %.7f %.7f\n", (double)a, (double)b, (double)plain, kahan(many, 1000));
    for (double t = -1; t <= 1; t += 0.5) printf("%g ", poly(c, 5, t));
    int inside = 0;
    unsigned seed = 42;
    for (int i = 0; i < 5000; i++) {
        seed = seed * 1664525u + 1013904223u;
        double px = (seed >> 8) / 16777216.0;
        seed = seed * 1664525u + 1013904223u;
        double py = (seed >> 8) / 16777216.0;
        inside += px * px + py * py < 1;
    }
    printf("%d\n", inside);
    return 0;
}
