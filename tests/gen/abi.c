// partner: abi_partner.c
// Both directions across the border to code of another compiler: records as results and arguments, variadic calls,
// pointers to functions.
#include "abi.h"

struct two mine_two(int a) { struct two r = {a, (char)(a * 2)}; return r; }
struct one_byte mine_byte(char c) { struct one_byte r = {c}; return r; }
struct hfa mine_hfa(float a, struct hfa h) { struct hfa r = {h.y + a, h.x - a}; return r; }
struct hfa4 mine_hfa4(struct hfa4 *p) { struct hfa4 r = *p; r.d[3] *= 2; return r; }
struct big mine_big(struct big b, int k) { b.a[k] += k; b.c = 'z'; return b; }
struct ll mine_ll(char c, struct ll x, short s) { x.v += c * s; return x; }
union either mine_union(int i) { union either e; e.i = i; return e; }
_Complex double mine_complex(_Complex float z) { return z * (2 + 1i); }
long long mine_many(char a, long long b, short c, double d, float e, unsigned char f, int g, struct two t, long long h) {
    return a + b * 2 + c * 3 + (long long)(d * 4) + (long long)(e * 5) + f * 6 + g * 7 + t.s * 8 + t.c * 9 + h * 10;
}
int mine_va(const char *kinds, ...) {
    va_list ap, copy;
    va_start(ap, kinds);
    va_copy(copy, ap);
    int sum = theirs_vsum(kinds, copy);
    for (; *kinds; kinds++) switch (*kinds) {
        case 'i': sum = sum * 3 + va_arg(ap, int); break;
        case 'l': sum = sum * 3 + (int)va_arg(ap, long long); break;
        case 'd': sum = sum * 3 + (int)va_arg(ap, double); break;
        case 'p': sum = sum * 3 + *va_arg(ap, char *); break;
        case 't': sum = sum * 3 + va_arg(ap, struct two).s; break;
        case 'b': sum = sum * 3 + va_arg(ap, struct big).a[1]; break;
    }
    va_end(ap);
    return sum;
}
int old_style(a, b, c) char a; float b; int c; { return a * 100 + (int)(b * 10) + c; }
static struct hfa local_hfa(int i) { struct hfa h = {i, i * 2}; return h; }
struct hfa (*pick(int which))(int) { return which ? local_hfa : theirs_make; }
static int compare(const void *a, const void *b) { return *(const int *)a - *(const int *)b; }

int main(void) {
    struct big b = {{1, 2, 3}, 'b'};
    struct hfa h = {1.5f, 2.5f};
    struct hfa4 h4 = {{1, 2, 3, 4}};
    struct two t = theirs_two(77);
    printf("%d %d %d\n", t.s, t.c, theirs_byte('q').c);
    struct hfa r = theirs_hfa(0.5f, h); printf("%g %g\n", r.x, r.y);
    printf("%g %g\n", theirs_hfa4(&h4).d[3], theirs_hfa4(&h4).d[0]);
    struct big rb = theirs_big(b, 2); printf("%d %d %d %c\n", rb.a[0], rb.a[1], rb.a[2], rb.c);
    struct ll x = {1LL << 33}; printf("%lld\n", theirs_ll('a', x, -5).v);
    printf("%g\n", theirs_union(0x40490fdb).f);
    _Complex double z = theirs_complex(3 + 4i); printf("%g %g\n", __real__ z, __imag__ z);
    printf("%lld\n", theirs_many(1, 2LL << 32, -3, 4.5, 5.5f, 200, 7, t, 9));
    printf("%d\n", mine_va("ildptb", 1, 2LL, 3.9, "four", t, b));
    printf("%d\n", theirs_va("tlidb", t, -7LL, 8, 2.5, b));
    for (int i = 0; i < 2; i++) { struct hfa p = pick(i)(i + 3); printf("%g %g\n", p.x, p.y); }
    theirs_calls_back();
    int v[] = {5, 2, 9, -1, 4}; qsort(v, 5, sizeof v[0], compare);
    printf("%d %d %d\n", v[0], v[2], v[4]);
    printf("%d %d\n", old_style('\1', 2.5f, 3), theirs_calls_old());
    return 0;
}
