// host: no
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <stdarg.h>
#include <setjmp.h>
#include <math.h>
#include <complex.h>
#include <ctype.h>
#include <errno.h>
#include <assert.h>
#include <stddef.h>
#include <stdint.h>
#include <limits.h>
#include <float.h>

struct S { char c; short s; int i; long long l; float f; double d; };
union U { int i; float f; unsigned char b[4]; };
struct B { unsigned a:3; int b:5; unsigned long long c:40; _Bool d:1; int :0; int e:7; };
struct N { struct { int x, y; }; union { int z; float w; }; struct S s[2]; };
enum E { A, Bv = 5, Cv = -3 };
typedef int (*fp)(int, int);
static int add(int a, int b) { return a + b; }
static int sub(int a, int b) { return a - b; }
static fp ops[] = { add, sub, [3] = add };
int sum(int n, ...) { va_list ap; va_start(ap, n); int s = 0; for (int i = 0; i < n; i++) s += va_arg(ap, int); va_end(ap); return s; }
double dsum(const char *f, ...) { va_list ap; va_start(ap, f); double s = 0; for (; *f; f++) switch (*f) { case 'd': s += va_arg(ap, double); break; case 'i': s += va_arg(ap, int); break; case 'l': s += va_arg(ap, long long); break; case 's': { struct S x = va_arg(ap, struct S); s += x.i + x.d; break; } } va_end(ap); return s; }
void vp(const char *f, ...) { va_list ap; va_start(ap, f); vprintf(f, ap); va_end(ap); }
struct S mks(int i) { struct S s = { 'a', 2, i, 4LL << 33, 1.5f, 2.5 }; s.c += i; return s; }
int usess(struct S a, struct S b) { a.i += 100; return a.i + b.i + a.c; }
jmp_buf jb;
void thrower(int x) { longjmp(jb, x); }
int gcdr(int a, int b) { return b ? gcdr(b, a % b) : a; }
static int counter(void) { static int n; return ++n; }
int vla(int n) { int a[n], b[n][n+1]; int s = 0; for (int i = 0; i < n; i++) { a[i] = i; for (int j = 0; j <= n; j++) b[i][j] = i * j; } for (int i = 0; i < n; i++) s += a[i] + b[i][n]; return s + sizeof a + sizeof b; }
#define MAX(a,b) ({ __typeof__(a) _a = (a); __typeof__(b) _b = (b); _a > _b ? _a : _b; })
int duff(char *to, const char *from, int count) { int n = (count + 7) / 8; switch (count % 8) { case 0: do { *to++ = *from++; case 7: *to++ = *from++; case 6: *to++ = *from++; case 5: *to++ = *from++; case 4: *to++ = *from++; case 3: *to++ = *from++; case 2: *to++ = *from++; case 1: *to++ = *from++; } while (--n > 0); } return n; }
int weird(int x) { int r = 0; again: if (x > 10) { x -= 3; r++; goto again; } else if (x == 5) return -1; do { r += x; if (r > 50) break; if (r & 1) continue; r++; } while (x-- > 0); return r; }
int sw(unsigned char c) { switch (c) { case '0' ... '9': return 1; case 'a' ... 'z': case 'A' ... 'Z': return 2; case ' ': return 3; default: return 4; } }
long long sw64(long long v) { switch (v) { case 1: return 10; case 0x100000000LL: return 20; case -1: return 30; } return 40; }
int cmpi(const void *a, const void *b) { return *(const int *)a - *(const int *)b; }
char gbuf[] = "hello";
const char *names[] = { "zero", "one", "two" };
int matrix[2][3] = { { 1, 2, 3 }, { 4, 5, 6 } };
struct B gb = { 5, -3, 0x123456789ULL, 1, -20 };
int *gp = &matrix[1][2];
char *gs = "abc" + 1;
double gd[] = { 1.0, -0.5, 1e300, 0x1p-1074 };
wchar_t ws[] = L"wide";
int main(int argc, char **argv)
{
    struct S s1 = mks(7), s2 = { .i = 3, .d = 4.5 }; s2 = s1; s2.i++;
    printf("%d %d %d %lld %g %g\n", s1.c, s1.s, s2.i, s1.l, s1.f, s1.d);
    printf("%d\n", usess(s1, mks(9)));
    union U u; u.f = 1.0f; printf("%x %x\n", u.i, u.b[3]);
    struct B b = gb; b.a += 5; b.b--; b.c <<= 3; b.d = 0; b.e /= 3;
    printf("%d %d %llx %d %d %d\n", b.a, b.b, (unsigned long long)b.c, b.d, b.e, (int)sizeof b);
    struct N n = { .x = 1, .z = 7, .s = { [1] = { .i = 9 } } }; n.y = n.x++ + ++n.z;
    printf("%d %d %d %d %d\n", n.x, n.y, n.z, n.s[1].i, n.s[0].i);
    printf("%d %d %d\n", ops[0](5, 3), ops[1](5, 3), ops[2] == NULL);
    printf("%d %g\n", sum(4, 1, 2, 3, 4), dsum("dilsd", 1.5, 2, 1LL << 40, s1, 0.25));
    vp("%d %s %c %5.2f|%-8s|%08x\n", 42, "str", 'x', 3.14159, "left", 0xbeef);
    int v = setjmp(jb); if (v < 3) { printf("setjmp %d\n", v); thrower(v + 1); } printf("done %d\n", v);
    printf("%d %d %d\n", gcdr(48, 36), counter() + counter(), counter());
    printf("%d\n", vla(5));
    printf("%d %d\n", MAX(3, 9), MAX(counter(), 2));
    char d1[32]; memset(d1, 0, 32); duff(d1, "the quick brown fox", 19); puts(d1);
    for (int i = 0; i < 20; i++) printf("%d ", weird(i)); puts("");
    printf("%d%d%d%d\n", sw('5'), sw('q'), sw(' '), sw('#'));
    printf("%lld %lld %lld %lld\n", sw64(1), sw64(0x100000000LL), sw64(-1), sw64(2));
    int arr[] = { 5, 2, 9, -1, 7, 3 }; qsort(arr, 6, sizeof *arr, cmpi); for (int i = 0; i < 6; i++) printf("%d ", arr[i]); puts("");
    printf("%s %s %d %d %s %d\n", gbuf, names[2], matrix[1][0], *gp, gs, (int)sizeof names);
    for (int i = 0; i < 4; i++) printf("%g %a\n", gd[i], gd[i]);
    double complex z = 1 + 2 * I; z *= z; z = z / (3 - I); printf("%.6f %.6f %.6f\n", creal(z), cimag(z), cabs(z));
    float complex zf = conjf(1.5f + 2.0f * I); printf("%g %g %d\n", crealf(zf), cimagf(zf), zf == conj(1.5 + 2 * I));
    unsigned char uc = 250; uc += 10; signed char sc = 127; sc++; short sh = -1; unsigned short us = sh; printf("%d %d %d %u\n", uc, sc, us, (unsigned)sh);
    int x = 5; x += x++ * 0 + 3; printf("%d %d %d\n", x, -7 / 2, -7 % 2); printf("%d %u %d\n", -7 >> 1, -7u >> 28, 1 << 31 >> 31);
    long long big = LLONG_MAX; unsigned long long ub = ULLONG_MAX; printf("%lld %llu %lld\n", big / 7, ub % 1000, (long long)1e18);
    printf("%d %d %d\n", (int)3.99, (int)-3.99, (unsigned char)300); printf("%d %d\n", 1.0 / 0.0 > DBL_MAX, NAN != NAN);
    _Bool bo = 5; bo += 3; bo--; printf("%d %d\n", bo, (_Bool)0.1);
    const char *p = "x\0y"; printf("%d %d\n", (int)sizeof("x\0y"), p[2]); int i = 0; int k = (i++, i++, i); printf("%d %d\n", i, k);
    printf("%d %d %d\n", argc, (int)offsetof(struct S, l), (int)_Alignof(double)); printf("%d\n", 0 ? 1 : argc ?: 3);
    int *q = (int[]){ 1, 2, 3 }; struct S *ps = &(struct S){ .i = 77 }; printf("%d %d\n", q[2], ps->i);
    char *e; errno = 0; long l = strtol("0x1fz", &e, 0); printf("%ld %s %d\n", l, e, (int)strtoul("-1", 0, 10)); double fr; int ex; fr = frexp(10.0, &ex); printf("%g %d %g\n", fr, ex, ldexp(fr, 3));
    printf("%d %d %d\n", isalpha('a') != 0, isdigit('a') != 0, toupper('q')); char tk[] = "a,b;c"; for (char *t = strtok(tk, ",;"); t; t = strtok(NULL, ",;")) printf("[%s]", t); puts("");
    int aa, bb; char cc[10]; float ff; int nn = sscanf("12 0x1f abc 3.5", "%d %i %s %f", &aa, &bb, cc, &ff); printf("%d %d %d %s %g\n", nn, aa, bb, cc, ff);
    printf("%d %d\n", __builtin_clz(1), __builtin_popcount(255)); enum E en = Cv; printf("%d %d\n", en, Bv); printf("%d %d\n", ws[0] == L'w', (int)sizeof ws);
    volatile int vol = 3; vol += 2; vol++; printf("%d %d\n", vol, ({ int t = vol; t * t; }));
    int (*pm)[3] = matrix; printf("%d %d %td\n", pm[1][1], *(*(matrix + 1) + 2), &matrix[1][2] - &matrix[0][0]); int cond = argc > 0 && (aa == 12 || bb); printf("%d %d\n", cond, !cond);
    unsigned r = 1; for (int j = 0; j < 40; j++) r = r * 1664525u + 1013904223u; printf("%u %d\n", r, rand() == rand()); assert(r); exit(r & 63);
}
