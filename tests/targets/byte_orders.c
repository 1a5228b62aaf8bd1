// What the byte order, the float convention and the instruction set show: bit-fields and unions with initial values,
// views of memory, narrow and wide arguments, records by value and as results, 64-bit words, variable arguments.
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

struct fields { int a : 4; unsigned b : 7; int c : 12; unsigned d : 9; };
struct crossing { unsigned char tag; unsigned long long wide : 37; int low : 5; short s; } __attribute__((packed));
union view {
    unsigned long long w;
    unsigned u[2];
    unsigned short h[4];
    unsigned char c[8];
    struct fields f;
    struct { unsigned char first, second; short pair[2]; } r;
};
struct small { short x; signed char y; };
struct pair { int a; long long b; };
struct three { unsigned char c[3]; };

static struct fields fields = {-3, 100, -2000, 300};
static struct crossing crossing = {7, 0x123456789aull, -9, -5};
static union view views[] = {{0x0102030405060708ull}, {.u = {1, 0x80000000u}}, {.h = {1, 2, 3, 4}}, {.f = {1, 2, 3, 4}},
                             {.r = {9, 8, {-7, 6}}}};
static const struct { struct three t; struct small s; } nested[2] = {{{{1, 2, 3}}, {-4, 5}}, {{{6}}, {7, -8}}};

static void bytes(const char *what, const void *p, unsigned n) {
    const unsigned char *c = p;
    printf("%s:", what);
    while (n--) printf(" %02x", *c++);
    printf("\n");
}
static struct small flip(struct small s) { return (struct small){s.y, (signed char)s.x}; }
static struct pair grow(struct pair p, char by) { return (struct pair){p.a + by, p.b * by}; }
static struct three turn(struct three t) { return (struct three){{t.c[2], t.c[0], t.c[1]}}; }
static int sum(const char *kinds, ...) {
    va_list v;
    long long total = 0;
    va_start(v, kinds);
    for (; *kinds; kinds++)
        if (*kinds == 'c') total += (signed char)va_arg(v, int);
        else if (*kinds == 'w') total += va_arg(v, long long);
        else if (*kinds == 's') total += va_arg(v, struct small).x;
        else if (*kinds == 't') total += va_arg(v, struct three).c[1];
        else if (*kinds == 'd') total += (int)(va_arg(v, double) * 4);
        else total += va_arg(v, struct pair).b;
    va_end(v);
    return (int)total;
}
static float mix(float a, double b, int c, float d) { return a * 2 + (float)b - (float)c / d; }
static int (*volatile pick)(int, short, signed char, long long);
static int narrow(int a, short b, signed char c, long long d) { return a + b * 10 + c * 100 + (int)(d >> 32); }

int main(void) {
    bytes("fields", &fields, sizeof fields);
    bytes("crossing", &crossing, sizeof crossing);
    bytes("views", views, sizeof views);
    bytes("nested", nested, sizeof nested);
    fields.a += 5, fields.c ^= 0x155, fields.d--, crossing.wide = crossing.wide << 3 | 5, crossing.low--;
    printf("%d %u %d %u %llx %d %d\n", fields.a, fields.b, fields.c, fields.d, (unsigned long long)crossing.wide, crossing.low,
           crossing.s);
    bytes("crossing", &crossing, sizeof crossing);
    union view v = views[0];
    printf("%x %x %x %d %d\n", v.u[0], v.h[1], v.c[6], v.f.a, v.r.pair[0]);
    v.h[2] = 0xabcd, v.c[0] ^= 0xff;
    printf("%llx %llx\n", v.w, v.w >> 20);
    struct small s = flip((struct small){300, -2});
    struct pair p = grow((struct pair){5, 1ll << 33}, 3);
    struct three t = turn(nested[0].t);
    printf("%d %d %d %llx %d%d%d\n", s.x, s.y, p.a, (unsigned long long)p.b, t.c[0], t.c[1], t.c[2]);
    printf("%d\n", sum("cwsptdc", 'A', 1ll << 20, s, p, t, 2.75, 300));
    float f = mix(1.5f, 0.25, 3, 8.0f);
    unsigned raw;
    memcpy(&raw, &f, sizeof raw);
    double wide = f * 3.0;
    unsigned words[2];
    memcpy(words, &wide, sizeof words);
    printf("%x %x %x %d\n", raw, words[0], words[1], (int)(wide * 100));
    pick = narrow;
    printf("%d\n", pick(70000, -3, -4, -5ll << 32));
    volatile long long shifted = -0x123456789abcdefll;
    for (int i = 0; i < 64; i += 13) printf("%llx %llx ", shifted >> i, (unsigned long long)shifted << i);
    printf("\n");
    return v.c[3];
}
