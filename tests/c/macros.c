// The preprocessor: variable arguments of both kinds, pasting, rescanning, tables by X-macros, digraphs, _Pragma, counters.
%:include <stdio.h>
#include <string.h>

#define STR(x) #x
#define XSTR(x) STR(x)
#define CAT(a, b) a##b
#define XCAT(a, b) CAT(a, b)
#define SAY(f, ...) printf("[" f "]", ##__VA_ARGS__)
#define NAMED(f, args...) printf("<" f ">", args)
#define COUNT(...) COUNT_(__VA_ARGS__, 5, 4, 3, 2, 1, 0)
#define COUNT_(a, b, c, d, e, n, ...) n
#define EMPTY()
#define DEFER(m) m EMPTY()
#define TWICE(x) x x
#define SWAP(t, a, b) do { t CAT(tmp_, __LINE__) = (a); (a) = (b), (b) = CAT(tmp_, __LINE__); } while (0)
#define self self + 1
#define f(x) g(x) + g
#define g(x) (x * 2)

#define COLOURS(X) X(red, 0xff0000, 3) X(green, 0x00ff00, 5) X(blue, 0x0000ff, 4)
enum colour {
#define X(name, rgb, length) C_##name,
    COLOURS(X)
#undef X
    C_count
};
static const struct colour_info { const char *name; unsigned rgb; unsigned length; } colours[] = {
#define X(n, v, l) [C_##n] = {.name = #n, .rgb = v, .length = l},
    COLOURS(X)
#undef X
};
#define X(n, v, l) static unsigned mix_##n(unsigned w) { return (w & v) + l; }
COLOURS(X)
#undef X
static unsigned (*const mixers[])(unsigned) = {
#define X(n, v, l) mix_##n,
    COLOURS(X)
};

#if defined(__STDC__) && (1 ? 2 : (1 / 0)) == 2 && -1 < 0u + 1 == 0 && 'A' == 65
#define ARITHMETIC "intmax"
#elif 1
#define ARITHMETIC "unsigned"
#endif
#ifdef __COUNTER__
enum { first = __COUNTER__, second = __COUNTER__, third = __COUNTER__ };
#endif

static int digraphs(void) <%
    int a<:3:> = <% 1, 2, 3 %>;
    return a<:0:> + a<:1:> * 10 + a<:2:> * 100;
%>

static int depth(int n) {
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wunused\"")
    int self_ = n, unused_;
    _Pragma("GCC diagnostic pop")
    return self_;
}

int main(void) {
    int self_value = 4, tmp = 9;
#undef self
#define self_value self_value + 1
    SAY("plain");
    SAY("%d %s", COUNT(a, b, c), STR(a "b\n" '\\'));
    NAMED("%d%d", digraphs(), depth(2));
    printf("\n%s %s %s\n", XSTR(XCAT(__STDC_, HOSTED__)), STR( spaced   out  ), ARITHMETIC);
    printf("%d %d %d\n", self_value, (f(2)(3)), COUNT(1, (2, 3), [4]));
    SWAP(int, tmp, tmp);
    TWICE(printf("%d ", tmp++);)
    printf("%s:%d %d\n", strrchr(__FILE__, '/') ? strrchr(__FILE__, '/') + 1 : __FILE__, __LINE__, second - first + third);
#line 1000 "elsewhere"
    printf("%s %d %s\n", __FILE__, __LINE__, __func__);
    unsigned sum = 0;
    for (int i = 0; i < C_count; i++) sum += mixers[i](0x123456) * (strlen(colours[i].name) == colours[i].length), printf("%s %06x\n", colours[i].name, colours[i].rgb);
    printf("%u %d\n", sum, C_blue);
    return XCAT(1, XCAT(2, 3)) % 100;
}
