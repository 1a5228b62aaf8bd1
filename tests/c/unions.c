// Unions: punning between integers, floats and bytes, tagged values, initialisers, unions by value and in arrays.
#include <stdint.h>
#include <stdio.h>
#include <string.h>

union word { uint32_t u; int32_t i; float f; uint16_t h[2]; uint8_t b[4]; };
union dword { uint64_t u; double d; struct { uint32_t lo, hi; }; int16_t h[4]; };
enum tag { T_INT, T_REAL, T_TEXT, T_PAIR };
struct value {
    enum tag tag;
    union {
        long long i;
        double d;
        const char *s;
        struct { short x, y; } pair;
    };
};

static float inverse_sqrt(float v) {
    union word w = {.f = v};
    w.u = 0x5f3759df - (w.u >> 1);
    return w.f * (1.5f - 0.5f * v * w.f * w.f);
}
static double magnitude(double d) {
    union dword w = {.d = d};
    w.hi &= 0x7fffffff;
    return w.d;
}
static uint32_t swapped(uint32_t u) {
    union word w = {u}, r;
    for (int i = 0; i < 4; i++) r.b[i] = w.b[3 - i];
    return r.u;
}
static int show(struct value v) {
    switch (v.tag) {
    case T_INT: printf("int %lld\n", v.i); return (int)v.i;
    case T_REAL: printf("real %g\n", v.d); return (int)v.d;
    case T_TEXT: printf("text %s\n", v.s); return (int)strlen(v.s);
    case T_PAIR: printf("pair %d %d\n", v.pair.x, v.pair.y); return v.pair.x * v.pair.y;
    }
    return -1;
}
static struct value doubled(struct value v) {
    if (v.tag == T_INT) v.i *= 2;
    else if (v.tag == T_REAL) v.d *= 2;
    else if (v.tag == T_PAIR) v.pair.x ^= v.pair.y, v.pair.y ^= v.pair.x, v.pair.x ^= v.pair.y;
    return v;
}
static union word pass(union word w, union dword d) {
    w.u ^= d.lo ^ d.hi;
    return w;
}

static struct value table[] = {{T_INT, {.i = 1LL << 35}}, {T_REAL, {.d = -2.5}}, {T_TEXT, {.s = "seven"}},
                               {.tag = T_PAIR, .pair = {3, -4}}};
static union word words[3] = {{1}, {.f = 1.0f}, {.b = {1, 2, 3, 4}}};

int main(void) {
    int total = 0;
    for (unsigned i = 0; i < 4; i++) total += show(table[i]) & 0xff, total += show(doubled(table[i])) & 0xff;
    for (int i = 0; i < 3; i++) printf("%08x %04x %d\n", words[i].u, words[i].h[1], words[i].b[2]);
    for (float f = 0.5f; f < 20; f *= 3) printf("%.4f ", inverse_sqrt(f));
    printf("\n%g %g\n", magnitude(-3.75), magnitude(0.125));
    printf("%08x\n", swapped(0x12345678));
    union dword d = {.d = 1.0};
    printf("%08x %08x %d\n", d.hi, d.lo, d.h[3]);
    d.u += 1;
    printf("%d %g\n", d.d > 1.0, (d.d - 1.0) * 4503599627370496.0);
    d.h[3] = (int16_t)0xc008;
    printf("%.3f\n", d.d);
    union word w = pass(words[1], d);
    printf("%08x\n", w.u);
    w.i = -1;
    w.h[0] = 0;
    printf("%d %u\n", w.i, w.u);
    w.b[3] >>= 1;
    w.b[1] += 7;
    printf("%x\n", w.u);
    union { struct { char a[3]; } s; char raw[4]; } u = {{"ab"}};
    u.raw[3] = 0, u.s.a[2] = 'c';
    printf("%s %u\n", u.raw, (unsigned)sizeof u);
    return (total + w.b[1]) & 0xff;
}
