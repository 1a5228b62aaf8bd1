// Floating corners: NaN in every comparison, signed zeros, infinities, subnormals, rounding of conversions, order of sums.
// host: no
#include <float.h>
#include <math.h>
#include <stdio.h>
#include <string.h>

static unsigned bits(float f) {
    unsigned u;
    memcpy(&u, &f, 4);
    return u;
}
static int relations(double a, double b) {
    return (a < b) | (a <= b) << 1 | (a > b) << 2 | (a >= b) << 3 | (a == b) << 4 | (a != b) << 5 | !(a < b) << 6 | !(a >= b) << 7 |
           isunordered(a, b) << 8 | (a > b || a < b) << 9 | (!(a < b) && !(a > b)) << 10;
}
static const char *sort_of(double a) {
    switch (fpclassify(a)) {
    case FP_NAN: return "nan";
    case FP_INFINITE: return "inf";
    case FP_ZERO: return signbit(a) ? "-0" : "0";
    case FP_SUBNORMAL: return "sub";
    default: return "normal";
    }
}
static float minimum(float a, float b) { return a < b ? a : b; }
static double clamp(double v) { return v < 0 ? 0 : v > 1 ? 1 : v; }
int main(void) {
    volatile double zero = 0, one = 1, big = DBL_MAX, tiny = DBL_MIN;
    double v[] = {zero, -zero, one / zero, -one / zero, zero / zero, tiny / 2, -big, 1.5};
    for (int i = 0; i < 8; i++, putchar('\n'))
        for (int j = 0; j < 8; j++) printf("%03x ", relations(v[i], v[j]));
    for (int i = 0; i < 8; i++) printf("%s ", sort_of(v[i]));
    for (int i = 0; i < 8; i++) printf("%s %s %s ", sort_of(v[i] + 0.0), sort_of(v[i] * -0.0), sort_of(-v[i]));
    putchar('\n');
    volatile float x = 16777216.0f, y = 1.0f, s = FLT_MIN;
    printf("%.1f %.1f %.1f %08x %08x\n", x + y, x + y + y, x + (y + y), bits(s / 3), bits(s / 8388608 / 2));
    printf("%08x %08x %08x\n", bits((float)0.1), bits((float)16777217), bits((float)(1.0 + 0x1p-24)));
    printf("%d %d %d %u %lld\n", (int)-1.9f, (int)2147483583.0f, (int)(float)-0.99, (unsigned)4294967040.0f, (long long)-9.2e18);
    printf("%.9g %.9g %.17g\n", minimum(v[4] + y, y), minimum(y, (float)v[4]) != minimum(y, y) ? 1.0 : 0.0, clamp(v[4]));
    volatile double a = 1e16, b = -1e16, c = 1;
    printf("%g %g %g %g\n", (a + b) + c, a + (b + c), a * c - a, (a + c) - a);
    printf("%a %a %a\n", 0.1 + 0.2, 1 / 3.0, (double)(1 / 3.0f));
    double nothing = zero * __builtin_nan("") + 1;
    printf("%d\n", nothing == nothing);
    printf("%d %d %d\n", x == x + 1, (float)0.1 == 0.1, v[4] == v[4]);
    long double l = 1;
    l = l / 3 + (long double)zero;
    printf("%d %.3f %.3f %.3f\n", l == 1 / 3.0L, fmod(-7.5, 2), remainder(7.5, 2), trunc(-2.7));
    return 0;
}
