// Complex numbers with zeros, infinities and tiny parts; a real operand acts on the parts alone; integers; vectors' %.
#include <complex.h>
#include <stdio.h>
#include <string.h>

static unsigned hash;
static void add(float complex z) {
    float part[2] = {crealf(z), cimagf(z)};
    unsigned bits[2];
    memcpy(bits, part, 8);
    for (int i = 0; i < 2; i++) hash = hash * 31 + (part[i] != part[i] ? 1 : bits[i]);
}
static void add_wide(double complex z) {
    double part[2] = {creal(z), cimag(z)};
    unsigned bits[4];
    memcpy(bits, part, 16);
    for (int i = 0; i < 4; i++) hash = hash * 31 + (part[i / 2] != part[i / 2] ? 1 : bits[i]);
}

int main(void) {
    static const float e[] = {0, -0.0f, 1, -2.5f, 1.1f, 1e30f, 3e38f, 1e-44f, 1 / 0.0f, -1 / 0.0f, 0 / 0.0f};
    enum { N = sizeof e / sizeof *e };
    for (int i = 0; i < N; i++) {
        hash = 0;
        for (int j = 0; j < N; j++)
            for (int k = 0; k < N; k++) {
                float complex z = __builtin_complex(e[i], e[j]);
                float r = e[k];
                add(z + r), add(r + z), add(z - r), add(r - z), add(z * r), add(r * z), add(z / r), add(r / z), add(-z), add(~z);
                float complex y = z;
                y += r, add(y), y *= r, add(y), y /= 2, add(y), y -= 3.0, add(y);
                float w = r;
                w *= z, add(w), w = 2, w -= z, add(w);
                for (int l = 0; l < N; l++) {
                    float complex q = __builtin_complex(r, e[l]);
                    add(z * q), add(z / q), add(z + q), add(z - q);
                    double complex wide = z, other = q;
                    add_wide(wide * other), add_wide(wide / other * 1e300), add_wide(wide + q);
                }
            }
        printf("%g: %08x\n", e[i], hash);
    }
    unsigned n = 0;
    for (int i = -5; i < 6; i++)
        for (int j = -5; j < 6; j++)
            for (int k = -3; k < 4; k++)
                for (int l = -3; l < 4; l++) {
                    if (!k && !l) continue;
                    _Complex int a = i + j * 1i, b = k + l * 1i;
                    _Complex int d = a / b, m = a * b;
                    n = n * 31 + __real__ d * 7 + __imag__ d + __real__ m * 3 + __imag__ m;
                }
    typedef int v4 __attribute__((vector_size(16)));
    v4 a = {7, -7, 100, 5}, b = {3, 3, -7, -2};
    a %= b;
    printf("%d %d %d %d %d\n", n, a[0], a[1], a[2], a[3]);
    return 0;
}
