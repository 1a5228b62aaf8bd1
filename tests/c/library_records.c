// Records and complex numbers that functions of the C library take and give: quotients with remainders, broken-down
// times, complex arithmetic, and parts of floating-point numbers through pointers.
#include <complex.h>
#include <inttypes.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

static div_t halve(int n) {
    div_t d = div(n, 2);
    d.quot += d.rem;
    return d;
}
static double complex turn(double complex z, float complex by) { return z * by; }
static double close(double complex a, double complex b) { return cabs(a - b) < 1e-9; }
static div_t (*volatile division)(int, int) = div;
static double complex (*volatile root)(double complex) = csqrt;

int main(void) {
    const int values[][2] = {{17, 5}, {-17, 5}, {17, -5}, {-2147483647 - 1, 3}, {0, 9}};
    for (unsigned i = 0; i < 5; i++) {
        div_t d = division(values[i][0], values[i][1]);
        lldiv_t w = lldiv(values[i][0] * 1000000000ll, values[i][1] * 3ll);
        printf("%d %d | %lld %lld | %d %d\n", d.quot, d.rem, w.quot, w.rem, halve(values[i][0]).quot, div(d.rem, 2).rem);
    }
    imaxdiv_t m = imaxdiv(INTMAX_C(-1234567890123), 1000);
    printf("%jd %jd %d\n", m.quot, m.rem, abs(div(-9, 4).rem));

    time_t t = 86400 * 365 + 3661;
    struct tm when = *gmtime(&t), other;
    printf("%d-%02d-%02d %02d:%02d:%02d %d %d\n", when.tm_year + 1900, when.tm_mon + 1, when.tm_mday, when.tm_hour, when.tm_min,
           when.tm_sec, when.tm_wday, when.tm_yday);
    other = when, other.tm_mon += 14, other.tm_mday = 0;
    time_t u = mktime(&other);
    char text[64];
    size_t n = strftime(text, sizeof text, "%Y/%m/%d %H", &other);
    printf("%d %s %.0f\n", (int)n, text, difftime(u, t));

    double complex z = 3 + 4 * I;
    float complex f = 0.5f - 1.0f * I;
    printf("%g %g %g %g\n", cabs(z), creal(conj(z)), cimag(conj(z)), (double)cabsf(f * 2));
    printf("%g %g %d\n", creal(turn(z, f)), cimag(turn(z, f)), (int)close(root(z) * root(z), z));
    printf("%d %d %.6f\n", (int)close(cexp(clog(z)), z), (int)close(csin(z) * csin(z) + ccos(z) * ccos(z), 1), carg(z));
    printf("%d %g\n", (int)close(cpow(z, 2), z * z), (double)crealf(conjf(f)));

    int e;
    double part, whole, fraction = modf(-3.75, &whole);
    part = frexp(48.0, &e);
    printf("%g %g %g %d %g\n", fraction, whole, part, e, ldexp(part, e + 1));
    float ff;
    printf("%g ", (double)modff(2.5f, &ff));
    printf("%g %d %ld %lld\n", (double)ff, ilogb(1000.0), lround(-2.5), llrint(3.5));
    int q;
    part = remquo(29.0, 3.0, &q);
    printf("%g %d %g %g\n", part, q & 7, remainder(29.0, 4.0), fmod(-29.0, 4.0));
    printf("%g %g %g\n", fma(2, 3, 4), hypot(5, 12), nextafter(1.0, 2.0) - 1.0 == 0x1p-52 ? 1.0 : 0.0);
    return 0;
}
