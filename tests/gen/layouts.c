// Where members lie: every record is filled through its members and shown as bytes.
#include <stddef.h>
#include <stdio.h>
#include <string.h>

static void show(const char *name, const void *p, unsigned n) {
    const unsigned char *b = p;
    printf("%s %u:", name, n);
    while (n--) printf(" %02x", *b++);
    printf("\n");
}
#define SHOW(x) show(#x, &(x), sizeof(x))

struct mixed { char a; short b; char c; int d; char e; long long f; char g; double h; char tail; };
struct __attribute__((packed)) tight { char a; int b; short c; double d; char e; long long f; };
struct __attribute__((packed, aligned(2))) tight2 { char a; int b; char c; };
struct wide { char a; int b __attribute__((aligned(16))); char c; };
struct bits { unsigned a : 3; int b : 5; unsigned c : 9; unsigned d : 1; int e : 31; signed char f : 2; unsigned short g : 13; };
struct bits0 { unsigned a : 3; unsigned : 0; unsigned b : 4; unsigned : 5; unsigned c : 9; char d; unsigned e : 7; };
struct longbits { unsigned long long a : 40; long long b : 20; unsigned c : 4; unsigned long long d : 63; };
struct __attribute__((packed)) tightbits { unsigned a : 7; unsigned b : 20; int c : 13; unsigned long long d : 37; char e; };
struct inner { char c; union { int i; float f; struct { short lo, hi; }; }; unsigned char tag[3]; };
struct outer { struct inner one, many[2][2]; struct tight t; union { long long ll; char bytes[11]; } u; };
struct flex { int n; short data[]; };
enum small { S0, S1 = 5 };
struct kinds { enum small e; _Bool b; void *p; int (*f)(int); wchar_t *w; _Complex float z; char s[5]; };

static int id(int x) { return x; }
volatile int five = 5;

int main(void) {
    struct mixed m; memset(&m, 0xEE, sizeof m);
    m.a = 1, m.b = -2, m.c = 3, m.d = 0x12345678, m.e = five, m.f = -6, m.g = 7, m.h = 1.5, m.tail = 9;
    SHOW(m);
    struct tight t; memset(&t, 0xEE, sizeof t);
    t.a = 1, t.b = 0x11223344, t.c = -7, t.d = -2.25, t.e = 5, t.f = 0x1122334455667788;
    SHOW(t);
    struct tight2 t2[3]; memset(t2, 0, sizeof t2);
    for (int i = 0; i < 3; i++) t2[i].a = i, t2[i].b = i * 1000 + five, t2[i].c = -i;
    SHOW(t2);
    struct wide w[2]; memset(w, 0, sizeof w);
    w[1].a = 1, w[1].b = 2, w[1].c = 3;
    SHOW(w);
    struct bits b; memset(&b, 0, sizeof b);
    b.a = five + 6, b.b = -five, b.c = 300, b.d = 1, b.e = -77777, b.f = -1, b.g = 8000;
    SHOW(b);
    b.a++, b.b *= 3, b.c -= five, b.d ^= 1, b.e >>= 2, b.f += 1, b.g |= 7;
    printf("%u %d %u %u %d %d %u\n", b.a, b.b, b.c, b.d, b.e, b.f, b.g);
    printf("%d %d %d\n", b.a--, ++b.b, (b.c = 1000));
    struct bits0 b0; memset(&b0, 0, sizeof b0);
    b0.a = 7, b0.b = 9, b0.c = 257, b0.d = 'x', b0.e = 99;
    SHOW(b0);
    struct longbits lb; memset(&lb, 0, sizeof lb);
    lb.a = 0x123456789AULL, lb.b = -five, lb.c = 15, lb.d = 1ULL << 62;
    SHOW(lb);
    printf("%llx %lld %llx\n", (unsigned long long)lb.a * 16, (long long)lb.b * five, (unsigned long long)(lb.d += 3));
    struct tightbits tb; memset(&tb, 0, sizeof tb);
    tb.a = 100, tb.b = 0xABCDE, tb.c = -3000, tb.d = 0x1F12345678ULL, tb.e = 'e';
    SHOW(tb);
    struct outer o; memset(&o, 0x11, sizeof o);
    o.one.i = 0x41200000, o.many[1][0].f = 2.5f, o.many[0][1].hi = -2, o.many[five - 4][1].tag[2] = 0x77;
    o.t.d = 3.75, o.u.bytes[10] = 'z';
    SHOW(o);
    printf("%g %d\n", o.one.f, o.many[1][0].lo);
    struct outer copy = o; copy.one.c = 'Q'; o.many[0][0] = copy.one;
    SHOW(o);
    char room[32]; struct flex *f = (struct flex *)room; memset(room, 0, sizeof room);
    f->n = 3; for (int i = 0; i < 3; i++) f->data[i] = i * 100;
    SHOW(room);
    struct kinds k; memset(&k, 0, sizeof k);
    k.e = S1, k.b = five, k.z = 1.0f - 2.0fi, k.f = id, strcpy(k.s, "abcd");
    printf("%d %d %g %g %d %s\n", k.e, k.b, __real__ k.z, __imag__ k.z, k.f(41), k.s);
    k.b = 0.25f; printf("%d\n", k.b); k.b = (void *)0; printf("%d\n", k.b);
    printf("%u %u %u %u %u %u\n", (unsigned)sizeof(struct mixed), (unsigned)sizeof(struct outer), (unsigned)sizeof(struct kinds),
           (unsigned)offsetof(struct outer, many[1][1].hi), (unsigned)_Alignof(struct wide), (unsigned)sizeof(struct bits0));
    return 0;
}
