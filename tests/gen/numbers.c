// Floats, complex numbers and vectors through C sources; conversions at the edges of their ranges.
#include <complex.h>
#include <math.h>
#include <stdio.h>

typedef int v4i __attribute__((vector_size(16))); typedef float v4f __attribute__((vector_size(16)));
typedef unsigned char v8b __attribute__((vector_size(8))); typedef short v4s __attribute__((vector_size(8)));
volatile double vd[] = {0.0, -0.0, 1.0, -2.5, 1e10, 1e-310, 3.5e38, 0.1}; volatile int vi[] = {0, 1, -1, 7, -7, 2147483647, -2147483647 - 1};

static void floats(void) {
    for (int i = 0; i < 8; i++) {
        double d = vd[i]; float f = (float)d;
        printf("%a %a %d %d %d %d\n", d, f, d < 1, f >= 0.5f, !d, d != d);
        if (fabs(d) < 1e9) printf("%d %u %lld %d %d\n", (int)d, (unsigned)fabs(d), (long long)(d * 1000), (short)d, (signed char)(d / 10));
        printf("%a %a %a\n", sqrt(fabs(d)), f * f + f, fmod(d, 0.75));
    }
    for (int i = 0; i < 7; i++) printf("%a %a %a %a\n", (double)vi[i], (float)vi[i], (double)(unsigned)vi[i], (float)(long long)vi[i] * 3);
    double nan = vd[0] / vd[1]; float inf = 1 / (float)vd[0];
    printf("%d %d %d %d %d %d %d\n", nan < 1, nan == nan, nan != nan, !(nan > 1), isnan(nan) != 0, isinf(inf) != 0, isless(nan, 1.0));
    printf("%d %d %d %d\n", isunordered(nan, 1), islessgreater(1.0, 2.0), signbit(vd[1]) != 0, isfinite(inf) != 0);
    float acc = 0; for (int i = 0; i < 10; i++) acc += 0.1f; acc++; --acc; printf("%a\n", acc);
    long double ld = vd[7]; printf("%d\n", (int)(ld * 100));
}
static void complexes(void) {
    double complex z = vd[2] + vd[3] * I, w = conj(z) * z + 2; float complex f = (float complex)z; f /= 2;
    printf("%g %g %g %g %g %g\n", creal(z), cimag(z), creal(w), cimag(w), crealf(f), cimagf(f));
    z *= w; z -= 1; __imag__ z = 9; printf("%g %g %d %d\n", creal(z), cimag(z), z == w, z != 0);
    int _Complex k = 3 + 4i; k = k * k; printf("%d %d\n", __real__ k, __imag__ k);
}
static void vectors(void) {
    v4i a = {1, 2, 3, 4}, b = {vi[3], vi[4], vi[1], vi[2]}, c = a * b + (a << 2) - (b & a); c[1] += 100; c[vi[1] + 2] = -c[0];
    v4f f = {1.5f, -2.0f, (float)vd[3], 4}, g = f * f - f / 2; v8b bytes = {250, 251, 252, 253, 254, 255, 0, 1}; bytes += 7; bytes ^= 0x55;
    v4s s = {1, -1, 30000, vi[3]}; s = s + s; s >>= 1;
    for (int i = 0; i < 4; i++) printf("%d %g %d\n", c[i], g[i], s[i]);
    for (int i = 0; i < 8; i++) printf("%d ", bytes[i]);
    v4i m = -a; m = ~m; printf("%d %d %d\n", m[0], m[3], ((v4i)f)[1]);
}
int main(void) { floats(); complexes(); vectors(); return 0; }
