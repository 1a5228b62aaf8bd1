// Packed and aligned records: offsets, sizes, misaligned members read and written, alignment of variables and arrays.
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

struct plain { char c; long long l; char d; short s; double f; char e; };
struct __attribute__((packed)) packed { char c; int i; short s; long long l; double d; float f; };
struct __attribute__((packed, aligned(4))) four { char c; int i; short s; };
struct __attribute__((aligned(16))) sixteen { int a; char b; };
struct member_aligned { char a; char b __attribute__((aligned(8))); short c; };
#pragma pack(push, 2)
struct two { char a; int b; char c; double d; };
#pragma pack(pop)
struct part_packed { char a; int b __attribute__((packed)); int c; };
struct nested { char x; struct packed p; struct sixteen s; char y; };
struct empty_tail { int n; char c[3]; };
union mix { char c[5]; short s; struct packed p; };

#define OFF(type, member) printf(" " #member "=%u", (unsigned)offsetof(struct type, member))
#define SIZE(type) printf(" | %u %u\n", (unsigned)sizeof(struct type), (unsigned)_Alignof(struct type))

static struct packed shared[3] = {{'a', 1, 2, 3, 4.5, 5.5f}, {'b', -1, -2, -3, -4.5, -5.5f}};
static _Alignas(32) char buffer[40];
static char odd;
static double after_odd = 1.25;

static long long sum(const struct packed *p, int n) {
    long long total = 0;
    for (; n--; p++) total += p->c + p->i + p->s + p->l + (long long)(p->d * 2) + (long long)(p->f * 4);
    return total;
}

int main(void) {
    OFF(plain, l); OFF(plain, d); OFF(plain, s); OFF(plain, f); OFF(plain, e); SIZE(plain);
    OFF(packed, i); OFF(packed, s); OFF(packed, l); OFF(packed, d); OFF(packed, f); SIZE(packed);
    OFF(four, i); OFF(four, s); SIZE(four);
    OFF(sixteen, b); SIZE(sixteen);
    OFF(member_aligned, b); OFF(member_aligned, c); SIZE(member_aligned);
    OFF(two, b); OFF(two, c); OFF(two, d); SIZE(two);
    OFF(part_packed, b); OFF(part_packed, c); SIZE(part_packed);
    OFF(nested, p); OFF(nested, s); OFF(nested, y); SIZE(nested);
    OFF(empty_tail, c); SIZE(empty_tail);
    printf("%u %u\n", (unsigned)sizeof(union mix), (unsigned)_Alignof(union mix));
    shared[2] = shared[0];
    shared[2].l <<= 40, shared[2].i -= 7, shared[2].d /= 3, shared[2].s ^= 0x5555;
    printf("%lld\n", sum(shared, 3));
    shared[1].i++, --shared[1].l, shared[1].f += 0.25f;
    printf("%lld\n", sum(shared, 3));
    struct packed copy = shared[1], *p = &copy;
    printf("%d %d %d %lld %g %g\n", p->c, p->i, p->s, p->l, p->d, p->f);
    printf("%d\n", memcmp(&copy, &shared[1], sizeof copy));
    struct sixteen arr[3], *q = arr + 1;
    q->a = 5, arr[2].a = 6;
    printf("%d %d\n", (int)((uintptr_t)arr & 15), (int)((char *)(q + 1) - (char *)arr));
    printf("%d %d %d\n", (int)((uintptr_t)buffer & 31), (int)((uintptr_t)&after_odd & 7), odd);
    struct part_packed pp = {1, 0x01020304, 7};
    unsigned char *bytes = (unsigned char *)&pp;
    printf("%02x%02x%02x%02x %d\n", bytes[1], bytes[2], bytes[3], bytes[4], pp.b + pp.c);
    union mix m;
    memset(&m, 0, sizeof m);
    m.p.i = 0x41424344;
    printf("%.4s %d\n", m.c + 1, m.s);
    struct nested n = {1, {2, 3, 4, 5, 6.0, 7.0f}, {8, 9}, 10}, n2;
    n2 = n;
    n2.p.l *= n2.s.a;
    printf("%d %lld %g %d %d\n", n2.x, n2.p.l, n2.p.d, n2.s.b, n2.y);
    return (int)(sum(shared, 3) + n2.p.l) & 0x7f;
}
