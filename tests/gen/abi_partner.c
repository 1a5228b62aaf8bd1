// The other side of abi.c; never goes through the tools under test.
#include "abi.h"

struct two theirs_two(int a) { struct two r = {a + 1, 'c'}; return r; }
struct one_byte theirs_byte(char c) { struct one_byte r = {c + 1}; return r; }
struct hfa theirs_hfa(float a, struct hfa h) { struct hfa r = {h.x * a, h.y / a}; return r; }
struct hfa theirs_make(int i) { struct hfa r = {i * 10, i}; return r; }
struct hfa4 theirs_hfa4(struct hfa4 *p) { struct hfa4 r = *p; r.d[3] += 0.5; return r; }
struct big theirs_big(struct big b, int k) { b.a[k] *= 11; b.c++; return b; }
struct ll theirs_ll(char c, struct ll x, short s) { x.v -= c * s; return x; }
union either theirs_union(int i) { union either e; e.i = i; return e; }
_Complex double theirs_complex(_Complex float z) { return z * z; }
long long theirs_many(char a, long long b, short c, double d, float e, unsigned char f, int g, struct two t, long long h) {
    return a - b - c - (long long)(d * 4) - (long long)(e * 5) - f - g - t.s - t.c - h;
}
int theirs_vsum(const char *kinds, va_list ap) {
    int sum = 1;
    for (; *kinds; kinds++) switch (*kinds) {
        case 'i': sum = sum * 5 + va_arg(ap, int); break;
        case 'l': sum = sum * 5 + (int)va_arg(ap, long long); break;
        case 'd': sum = sum * 5 + (int)va_arg(ap, double); break;
        case 'p': sum = sum * 5 + *va_arg(ap, char *); break;
        case 't': sum = sum * 5 + va_arg(ap, struct two).c; break;
        case 'b': sum = sum * 5 + va_arg(ap, struct big).a[2]; break;
    }
    return sum;
}
int theirs_va(const char *kinds, ...) {
    va_list ap;
    va_start(ap, kinds);
    int s = theirs_vsum(kinds, ap);
    va_end(ap);
    return s;
}
void theirs_calls_back(void) {
    struct big b = {{4, 5, 6}, 'x'};
    struct hfa h = {8, 9};
    struct hfa4 h4 = {{10, 20, 30, 40}};
    struct ll x = {5};
    struct two t = mine_two(60);
    struct hfa r = mine_hfa(0.25f, h);
    struct big rb = mine_big(b, 1);
    _Complex double z = mine_complex(1 - 2i);
    struct hfa p = pick(1)(50);
    printf("%d %d %d %g %g %g\n", t.s, t.c, mine_byte('m').c, r.x, r.y, mine_hfa4(&h4).d[3]);
    printf("%d %d %c %lld %d %g %g %g\n", rb.a[0], rb.a[1], rb.c, mine_ll(2, x, 3).v, mine_union(-4).i, __real__ z, __imag__ z, p.y);
    printf("%lld\n", mine_many(-1, 1LL << 40, 3, -4.25, 5.75f, 255, -7, t, -9));
    printf("%d\n", mine_va("tildpb", t, 1, 2LL, 3.5, "x", b));
}
int old_style();
int theirs_calls_old(void) { return old_style(2, 3.5, 4); }
