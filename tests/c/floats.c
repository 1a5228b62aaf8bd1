// float and double: conversions from and to every integer width, comparisons with NaN and infinities, signed zero,
// rounding to float, classification.
#include <float.h>
#include <math.h>
#include <stdio.h>
#include <string.h>

static const double values[] = {0.0, -0.0, 1, -1, 0.5, -2.5, 1e10, -1e10, 1e300, 1e-310, 16777217, 4294967295.0, 0.1};
static unsigned bits(float f) {
    unsigned u;
    memcpy(&u, &f, 4);
    return u;
}
static unsigned long long dbits(double d) {
    unsigned long long u;
    memcpy(&u, &d, 8);
    return u;
}
static int order(double a, double b) {
    return (a < b) | (a <= b) << 1 | (a > b) << 2 | (a >= b) << 3 | (a == b) << 4 | (a != b) << 5 | !(a < b) << 6 | !(a >= b) << 7;
}
static int forder(float a, float b) {
    int r = 0;
    if (a < b) r += 1; else r += 10;
    if (!(a > b)) r += 100; else r += 1000;
    if (a == b || a != a) r += 10000;
    while (a <= b) { r += 7; break; }
    return r + (a >= b ? 3 : 5) + 100000 * !a;
}
static double poly(const double *c, int n, double x) {
    double r = 0;
    while (n--) r = r * x + c[n];
    return r;
}
static float mean(const float *p, int n) {
    float s = 0;
    for (int i = 0; i < n; i++) s += p[i];
    return s / n;
}

int main(void) {
    double nan_ = NAN, inf = INFINITY;
    volatile double zero = 0;
    unsigned sum = 0;
    for (unsigned i = 0; i < sizeof values / sizeof *values; i++) {
        double d = values[i];
        float f = (float)d;
        printf("%016llx %08x %016llx %d%d%d\n", dbits(d), bits(f), dbits((double)f), !!isinf(f), !!signbit(d), !!isnormal(d));
        if (fabs(d) < 1e9) printf("%d %lld %d %d %d\n", (int)d, (long long)d, (short)(int)d, (int)f, (signed char)(int)(d * 3));
        if (d > -0.5 && d < 4.3e9) printf("%u %llu\n", (unsigned)d, (unsigned long long)d);
        for (unsigned j = 0; j < sizeof values / sizeof *values; j++)
            sum = sum * 5 + order(d, values[j]) + forder(f, (float)values[j]);
    }
    printf("%d\n", sum);
    printf("%d %d %d %d %d\n", order(nan_, 1), order(1, nan_), order(nan_, nan_), order(inf, nan_), order(-inf, inf));
    printf("%d %d %d %d\n", forder(NAN, 1), forder(2, NAN), forder(INFINITY, INFINITY), forder(-0.0f, 0.0f));
    printf("%d %d %d %d\n", !nan_, nan_ ? 1 : 2, zero == -zero, 1 / zero == -1 / -zero);
    printf("%d %d %d %d\n", isnan(inf - inf), isnan(zero / zero), inf > DBL_MAX, isless(nan_, 1) + isunordered(nan_, 1));
    printf("%d %d %d\n", !(nan_ > 1) && !(nan_ <= 1), nan_ != nan_ || zero, !(nan_ == nan_));
    float f = 16777216;
    f += 1;
    printf("%.1f %.1f ", f, f + 1.0);
    f = 0.1f;
    printf("%d %d %.9g %.17g\n", f == 0.1, f == 0.1f, f, f * 10 - 1.0);
    long long big = 9007199254740993LL, neg = -9007199254740993LL;
    unsigned long long top = 0xfffffffffffffbffull;
    printf("%.0f %.0f %.0f %.0f %.0f\n", (double)big, (double)neg, (double)top, (double)(float)big, (double)(float)top);
    printf("%.0f %.0f %.0f\n", (double)0xffffffffu, (double)(float)0xffffffffu, (double)(float)-16777219);
    printf("%llu %lld %u\n", (unsigned long long)1.8e19, (long long)-9.2e18, (unsigned)3e9f);
    unsigned char uc = 200;
    short s = -300;
    uc += 10.7, s *= 1.5f;
    _Bool b = 0.25, nb = nan_, zb = -0.0;
    printf("%d %d %d %d %d\n", uc, s, b, nb, zb);
    static const double c[] = {1, -1, 0.5, -1 / 6.0, 1 / 24.0};
    static const float fs[] = {1.5f, 2.25f, -3, 1e-3f, FLT_MAX / 4};
    printf("%.15g %.8g %.8g\n", poly(c, 5, 0.3), mean(fs, 4), mean(fs, 5));
    printf("%g %g %g %g\n", floor(-2.5), ceil(-2.5), fmod(-7.5, 2), sqrt(2));
    printf("%g %g %g %d\n", pow(2, 0.5), exp(1), ldexp(0.75, 10), (int)lround(-2.5));
    int e;
    double ip, m = frexp(-100.0, &e), frac = modf(-3.75, &ip);
    printf("%g %d %g %g %g\n", m, e, frac, ip, copysign(3, -0.0));
    printf("%a %a %g\n", 0.1, -FLT_MIN, DBL_EPSILON);
    int steps = 0;
    for (double x = 0; x < 1; x += 0.1) steps++;
    for (float x = 1; x + 1 > x && steps < 100; x *= 2) steps++;
    printf("%d\n", steps);
    return (sum + steps) & 0x7f;
}
