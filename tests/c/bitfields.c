// Bit-fields: signed and unsigned, every width of container, zero-width breaks, neighbours, compound assignments, in
// unions, in packed records, as conditions and through pointers.
#include <stdio.h>
#include <string.h>

struct mixed {
    unsigned a : 1, b : 2, c : 5, d : 8;
    int e : 3, f : 13;
};
struct chars {
    unsigned char lo : 4, hi : 4;
    signed char s : 7;
    _Bool flag : 1;
};
struct wide {
    unsigned long long p : 33, q : 31;
    long long r : 40;
    int t : 32;
};
struct breaks {
    short x : 5;
    short : 0;
    short y : 5;
    int : 7;
    int z : 20;
    char tail;
};
struct __attribute__((packed)) tight {
    unsigned a : 7, b : 11, c : 17;
    unsigned char d : 3;
};
enum color { RED, GREEN, BLUE, NONE };
struct cell {
    enum color fore : 2, back : 2;
    unsigned blink : 1;
    unsigned code : 21;
};
union view {
    struct {
        unsigned mantissa : 23, exponent : 8, sign : 1;
    } parts;
    float value;
    unsigned bits;
};

static void dump(const char *name, const void *p, unsigned n) {
    const unsigned char *b = p;
    printf("%s %u:", name, n);
    while (n--) printf(" %02x", *b++);
    printf("\n");
}

static struct mixed global = {1, 2, 17, 200, -4, -4000};
static struct cell grid[3][2] = {
    {{RED, BLUE, 1, 99}, {GREEN, NONE, 0, 1 << 20}}, {{.code = 7}}, {{BLUE}, {.back = GREEN}}};

static int bump(struct mixed *m) {
    m->a++, m->b--, m->c += 20, m->d <<= 1, m->e++, m->f *= 3;
    return m->a + m->b + m->c + m->d + m->e + m->f;
}
static struct wide make(long long v) { return (struct wide){v, v >> 3, -v, (int)v}; }

// Fields wider than int keep their width in arithmetic.
static struct {
    unsigned long long u33 : 33, u40 : 40;
    long long s41 : 41, s34 : 34;
} w = {0x1FFFFFFFF, 0x100000, -5, 77}, x = {3, 0xFFFFFFFFFF, 1LL << 38, -8};

typedef unsigned long long wide;
static void wide_fields(long long l, unsigned long long ul, int i) {
    printf("%llx %llx %llx\n", (wide)(w.u33 + x.u33), (wide)(w.u33 * x.u40), (wide)(w.u33 - x.s41));
    printf("%d %d %d %d\n", w.u33 + 1 > w.u33, -w.u33 > 5, w.s41 < x.u33, w.u33 * i < 0);
    printf("%g %g %g\n", (double)(x.u33 - x.s41), (double)(w.s41 + x.u33), (double)(x.u33 + l));
    printf("%llx %llx %llx\n", (wide)(~w.u33), (wide)(w.u40 << 30), (wide)(w.u33 >> 3));
    unsigned long long next = ++w.u33, set = (w.u40 = ul * 1000000000000) + 1;
    printf("%llx %llx %llx %llx\n", next, set, (wide)((i ? x.u33 : x.s41) - 4), (wide)(x.u33 * l / 2));
    printf("%llx %llx %llx\n", (wide)(x.s34 % x.u33), (wide)(x.s34 / l), (wide)(x.u40 + ul));
}

int main(void) {
    int total = 0;
    dump("mixed", &global, sizeof global);
    for (int i = 0; i < 5; i++) printf("%d ", bump(&global)), total += global.c ^ global.f;
    printf("\n%u %u %u %u %d %d\n", global.a, global.b, global.c, global.d, global.e, global.f);
    dump("mixed", &global, sizeof global);
    struct chars c;
    memset(&c, 0, sizeof c);
    c.lo = 0x1f, c.hi = -1, c.s = 64, c.flag = 42;
    printf("%d %d %d %d\n", c.lo, c.hi, c.s, c.flag);
    printf("%d %d %d\n", c.hi++, ++c.lo, c.s--);
    printf("%d %d %d %d\n", c.lo, c.hi, c.s, c.flag ^= 1);
    dump("chars", &c, sizeof c);
    struct wide w = make(0x1fedcba987LL);
    printf("%llu %llu %lld %d\n", (unsigned long long)w.p, (unsigned long long)w.q, (long long)w.r, w.t);
    w.p += w.q, w.q ^= 0x55555555, w.r >>= 9, w.t = -w.t;
    printf("%llu %llu %lld %d %d\n", (unsigned long long)w.p, (unsigned long long)w.q, (long long)w.r, w.t,
           (int)sizeof w);
    w.r = 1LL << 39;
    printf("%lld %d\n", (long long)w.r, w.r < 0);
    struct breaks k;
    memset(&k, 0, sizeof k);
    k.x = 15, k.y = 16, k.z = -300000, k.tail = 'z';
    printf("%d %d %d\n", k.x, k.y, k.z);
    dump("breaks", &k, sizeof k);
    struct tight t[2];
    memset(t, 0xff, sizeof t);
    t[1].a = 5, t[1].b = 1029, t[1].c = 65537, t[1].d = 2;
    t[0].c = t[1].b * 2;
    dump("tight", t, sizeof t);
    printf("%u %u %u %u %u\n", t[1].a, t[1].b, t[1].c, t[1].d, t[0].c);
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 2; j++) {
            struct cell *p = &grid[i][j];
            if (p->blink) p->fore = p->back;
            p->code += i * 2 + j;
            switch (p->fore) {
            case RED: total += 1; break;
            case BLUE: total += 10; break;
            default: total += p->back == GREEN ? 100 : 1000;
            }
            printf("%d/%d/%d/%d ", p->fore, p->back, p->blink, p->code);
        }
    union view v = {.value = -6.25f};
    printf("\n%u %u %x\n", v.parts.sign, v.parts.exponent, v.parts.mantissa);
    v.parts.exponent += 2, v.parts.sign = !v.parts.sign;
    printf("%g %x\n", v.value, v.bits);
    int assigned = (global.e = 5), shown = (c.lo = 0x77);
    printf("%d %d %d\n", assigned, shown, global.b - 3 < 0);
    wide_fields(-3, 5, -2);
    printf("%d\n", total);
    return total & 0xff;
}
