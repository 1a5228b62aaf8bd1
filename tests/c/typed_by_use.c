// Types taken from expressions: __auto_type, typeof, choice by type and by constant, macros that evaluate once, mode and
// alias attributes, transparent unions, labels and functions local to a macro.
#include <stdio.h>
#include <string.h>

#define max(a, b) ({ __auto_type a_ = (a); __typeof__(b) b_ = (b); a_ > b_ ? a_ : b_; })
#define swap(a, b) do { typeof(a) t_ = (a); (a) = (b), (b) = t_; } while (0)
#define length(a) (sizeof(a) / sizeof *(a) + 0 * sizeof(struct { int bad : __builtin_types_compatible_p(typeof(a), typeof(&(a)[0])) ? -1 : 1; }))
#define kind(x) _Generic((x), char: "char", signed char: "schar", int: "int", unsigned: "uint", float: "float", double: "double", \
    const char *: "cstring", char *: "string", int *: "intp", const int *: "cintp", int (*)[3]: "array", default: "other")
#define square(x) __builtin_choose_expr(__builtin_types_compatible_p(typeof(x), float), square_f(x), square_i(x))
#define search(a, n, v) ({ __label__ found; int i_ = 0; for (; i_ < (n); i_++) if ((a)[i_] == (v)) goto found; i_ = -1; found: i_; })

typedef int byte_int __attribute__((mode(QI)));
typedef unsigned half_int __attribute__((mode(HI)));
typedef int wide_int __attribute__((mode(DI)));
typedef float wide_float __attribute__((mode(DF)));
typedef unsigned __attribute__((may_alias)) raw_word;

static float square_f(float x) { return x * x + 0.5f; }
static int square_i(int x) { return x * x; }

typedef union { int *i; const char *s; float *f; } any_pointer __attribute__((transparent_union));
static int first_byte(any_pointer p) { return *(const unsigned char *)p.i; }
__attribute__((warn_unused_result, cold)) static int careful(int x) { return x + 1; }
__attribute__((hot, deprecated)) static int busy(int x) { return x - 1; }
__attribute__((visibility("hidden"))) int kept_inside(int x) { return x * 3; }
extern inline __attribute__((gnu_inline)) int gnu(int x) { return x + 40; }
int gnu(int x) { return x + 40; }

static int classify(int c) {
    int score = 0;
    switch (c) {
    case 'a' ... 'f': score += 10; __attribute__((fallthrough));
    case '0' ... '9': score += 1; break;
    case 'x': case 'X': { score = 100; } __attribute__((fallthrough));
    default: score--;
    }
    return score;
}

int main(void) {
    int calls = 3, array[] = {4, 8, 15, 16, 23, 42};
    printf("%d %g %lld\n", max(calls++, 2), max(2.5f, 2), max(1ll << 40, calls));
    double a = 1.5, b = -2;
    swap(a, b);
    typeof(array[0]) *p = array, (*whole)[6] = &array;
    __typeof__(int *[2]) pair = {p, p + 3};
    const __auto_type pi = 3.25;
    printf("%g %g %d %d %g %d\n", a, b, *pair[1], (*whole)[5], pi, (int)length(array));
    int grid[2][3] = {{1}};
    const int *cp = p;
    printf("%s %s %s %s %s %s %s\n", kind('a'), kind((char)1), kind(1.f * 2), kind("text"), kind(cp), kind(&grid[0]), kind(1ull));
    printf("%g %d %d %d\n", square(1.5f), square(12), search(array, 6, 16), search(array, 6, 17));
    byte_int q = (byte_int)300;
    half_int h = (half_int)-1;
    wide_int w = 1;
    w <<= 40;
    wide_float d = 0.1;
    printf("%d %u %lld %d %d\n", q, h, w, (int)(sizeof w + sizeof q), d == 0.1);
    float f = 1.0f;
    *(raw_word *)&f += 0x00800000;
    printf("%g %d %d %d\n", f, first_byte("A"), first_byte(&array[1]), first_byte(array + 2));
    printf("%d %d %d %d\n", careful(1), busy(2), kept_inside(3), gnu(2));
    printf("%d %d %d %d\n", classify('b'), classify('7'), classify('X'), classify('z'));
    printf("%d %d\n", __extension__({ int t = 5; t *= 2; t + 1; }), (int)sizeof(__typeof__(({ short s = 1; s; }))));
    return __builtin_constant_p(sizeof array) + (calls == 4) * 2;
}
