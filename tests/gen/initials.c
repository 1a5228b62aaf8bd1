// Initial values of static objects, as bytes: gaps, unions, bit-fields, addresses, strings, floats in odd places.
#include <stddef.h>
#include <stdio.h>

static void show(const char *name, const void *p, unsigned n) {
    const unsigned char *b = p;
    printf("%s %u:", name, n);
    while (n--) printf(" %02x", *b++);
    printf("\n");
}
#define SHOW(x) show(#x, &(x), sizeof(x))

int plain = -3, zero, tentative;
extern int tentative;
static const short shorts[10] = {1, [4] = -4, 5, [9] = 0x7fff};
char text[8] = "abc", exact[3] = "xyz", bytes[] = {1, 2, 0, 255, 'a', '\n'}, question[] = "what??!\a\"\\";
const wchar_t wide_text[] = L"w\x1234";
const char *words[] = {"one", "two", "one" + 1, 0, text + 2};
struct gap { char a; int b; char c; double d; } gaps[2] = {{1, 2, 3, 4.5}, {.c = 'c'}};
struct bits { unsigned a : 3; int b : 7; unsigned c : 22; char d; unsigned long long e : 50; } bits = {5, -9, 0x2ABCDE, 'd', 1ULL << 49};
union any { int i; float f; char s[7]; double d; } anys[] = {{7}, {.f = 1.5f}, {.s = "union"}, {.d = -0.1}};
struct nest { union { struct { short x, y; } p; int whole; } u; struct { char k[3]; float f[2]; } s; } nest = {.u.p.y = -2, .s.f[1] = 3.25f};
static struct node { struct node *next; int v; int *at; } c, a = {&c, 1, &plain}, b = {&a, 2, &a.v}, c = {&b, 3, &gaps[1].b};
int (*table[])(const char *) = {puts, 0, puts};
float floats[] = {0.1f, -0.0f, 1e30f, 1e-40f, __builtin_inff(), -1}; double doubles[] = {0.1, -1e300, 5e-324, 1 / 3.0};
long long longs[] = {-1, 0x7fffffffffffffff, 1LL << 40}; unsigned u32s[] = {0xffffffff, 1};
_Complex double z = 1.5 - 2i; _Complex float zs[2] = {1, 2i};
typedef int v4 __attribute__((vector_size(16))); v4 vec = {1, -2, 3}; static const v4 vecs[2] = {{4}, {5, 6, 7, 8}};
unsigned long address = (unsigned long)&plain; char *middle = &bytes[3]; int *end = &plain + 1;
struct empty { } nothing; struct { int n; struct empty e; int m; } around = {1, {}, 2};
_Bool flags[4] = {1, 0, 3 > 2, 5};
static int counter(void) { static int n = 40; static struct gap *g = gaps; n += g->b; return n; }
static int other(void) { static int n; return ++n; }
int big[1000] = {[500] = 1, [998] = 2};

int main(void) {
    SHOW(plain); SHOW(zero); SHOW(tentative); SHOW(shorts); SHOW(text); SHOW(exact); SHOW(bytes); SHOW(question); SHOW(wide_text);
    SHOW(gaps[0]); SHOW(gaps[1]); SHOW(bits); SHOW(anys); SHOW(nest); SHOW(floats); SHOW(doubles); SHOW(longs); SHOW(u32s);
    SHOW(z); SHOW(zs); SHOW(vec); SHOW(vecs); SHOW(around); SHOW(flags);
    printf("%s %s %s %d %s\n", words[0], words[1], words[2], words[3] == 0, words[4]);
    printf("%d %d %d %d\n", b.next->v, *b.at, c.next->next->v, c.at == &gaps[1].b);
    printf("%d %d %d\n", table[0]("called"), table[1] == 0, table[2] == puts);
    printf("%d %d %d\n", address == (unsigned long)&plain, *middle, end - &plain);
    printf("%d %d %d %d\n", counter(), counter(), other(), other());
    int s = 0; for (int i = 0; i < 1000; i++) s += big[i] * i; printf("%d\n", s);
    return 0;
}
