// Complex arithmetic in float and double, parts, conjugates, comparison, in records and as arguments.
#include <complex.h>
#include <stdio.h>

struct wave { int id; double complex z; float complex w; };
static double complex global = 1.0 + 2.0 * I;
static float complex list[3] = {1, 2.0f * I, 3 - 1.0f * I};

static double complex power(double complex z, int n) {
    double complex r = 1;
    while (n--) r *= z;
    return r;
}
static float complex total(const float complex *p, int n) {
    float complex s = 0;
    for (int i = 0; i < n; i++) s += p[i];
    return s;
}
static struct wave twist(struct wave v, double complex by) {
    v.z *= by;
    v.w = conjf(v.w) - 1;
    return v;
}
static int escape(double complex c) {
    double complex z = 0;
    int n = 0;
    for (; n < 50 && creal(z) * creal(z) + cimag(z) * cimag(z) <= 4; n++) z = z * z + c;
    return n;
}

// A real operand beside a complex one.
static int equal_to_real(const double _Complex *z, double d, const float _Complex *f) {
    return (*z == 0.0) + (0.0 == *z) * 2 + (*z != d) * 4 + (d != *z) * 8 + (*f == d) * 16 + (3 == *f) * 32;
}

int main(void) {
    double complex a = 3 - 4 * I, b = a;
    printf("%g %g %g %g\n", creal(a), cimag(a), creal(a * global), cimag(a * global));
    b += 2, b -= I, b *= 0.5;
    printf("%g %g %g %g\n", creal(b), cimag(b), creal(-b), cimag(conj(b)));
    b = a / (1 + I);
    printf("%g %g %g\n", creal(b), cimag(b), cabs(a));
    printf("%d %d %d %d\n", a == b, a != b, a == 3 - 4 * I, !a);
    b = power(1 + I, 9);
    printf("%g %g\n", creal(b), cimag(b));
    float complex f = total(list, 3);
    printf("%g %g\n", crealf(f), cimagf(f));
    f = (float complex)a;
    f *= f;
    double complex wide = f;
    printf("%g %g %d\n", creal(wide), __imag__ wide, (int)(double)wide);
    __real__ a = 10, __imag__ a += 1;
    (__real__ list[1])++;
    printf("%g %g %g\n", __real__ a, __imag__ a, crealf(list[1]));
    struct wave v = {1, a, list[2]}, w = twist(v, 2 * I);
    printf("%d %g %g %g %g\n", w.id, creal(w.z), cimag(w.z), crealf(w.w), cimagf(w.w));
    int sum = 0;
    for (double y = 1; y >= -1; y -= 0.25) {
        for (double x = -2; x <= 0.5; x += 0.125) {
            int n = escape(x + y * I);
            putchar(" .:-=+*%@#"[n % 10]);
            sum += n;
        }
        putchar('\n');
    }
    double complex *p = &global;
    *p = *p ? *p * *p : 0;
    printf("%g %g %d\n", creal(*p), cimag(global), a && b);
    double _Complex zero = 0, two = 2, turned = 2 + 1i;
    float _Complex three = 3;
    printf("%d %d %d\n", equal_to_real(&zero, 0, &three), equal_to_real(&two, 2, &three), equal_to_real(&turned, 2, &three));
    return sum & 0x7f;
}
