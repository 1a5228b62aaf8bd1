// Numbers from text and to text: every base, overflow, floats in all forms, scanf with sets and widths, printf with all flags.
// host: no
#include <errno.h>
#include <inttypes.h>
#include <limits.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static char *to_base(long long v, unsigned base, char *out) {
    char digits[70];
    int n = 0, neg = v < 0;
    unsigned long long u = neg ? -(unsigned long long)v : (unsigned long long)v;
    do digits[n++] = "0123456789abcdefghijklmnopqrstuvwxyz"[u % base];
    while (u /= base);
    if (neg) digits[n++] = '-';
    for (int i = 0; i < n; i++) out[i] = digits[n - 1 - i];
    out[n] = 0;
    return out;
}
int main(void) {
    static const long long values[] = {0, 1, -1, 255, -256, 1000000007, LLONG_MAX, LLONG_MIN, 1ll << 40};
    char text[80];
    unsigned bad = 0, sum = 0;
    for (unsigned i = 0; i < sizeof values / sizeof *values; i++)
        for (unsigned base = 2; base <= 36; base++) {
            char *end;
            bad += strtoll(to_base(values[i], base, text), &end, (int)base) != values[i] || *end;
            sum = sum * 31 + (unsigned)strlen(text);
        }
    printf("%u %u\n", bad, sum);
    static const char *const texts[] = {"  42abc", "-0x1F", "077", "0x", "+9", "99999999999", "-99999999999", "", "z", "0b1", "2147483648"};
    for (unsigned i = 0; i < sizeof texts / sizeof *texts; i++) {
        char *end;
        errno = 0;
        long v = strtol(texts[i], &end, 0);
        printf("%ld %d %d|", v, (int)(end - texts[i]), errno == ERANGE);
    }
    putchar('\n');
    static const char *const floats[] = {"1.5e3x", "-.25", "1e", "0x1.8p4", "inf", "-nan", "1e400", "1e-400", ".", "123456789012345678"};
    for (unsigned i = 0; i < sizeof floats / sizeof *floats; i++) {
        char *end;
        double d = strtod(floats[i], &end);
        printf("%g %d|", d == d ? d : 0.5, (int)(end - floats[i]));
    }
    int a = -1, b = -1, n = -1, k;
    unsigned x = 0;
    char w1[10] = "", w2[10] = "", c[4] = "";
    long long ll = 0;
    double d = 0;
    short h = 0;
    k = sscanf("12 -34:ff 7.25 word,rest 99999999999 70000", "%d%d:%x %lf %4s%*[,]%[a-r]%n", &a, &b, &x, &d, w1, w2, &n);
    printf("\n%d %d %d %x %g %s %s %d\n", k, a, b, x, d, w1, w2, n);
    k = sscanf("99999999999 70000 xyz  q", "%lld %hd %3c %c", &ll, &h, c, w1);
    printf("%d %lld %d %.3s %c\n", k, ll, h, c, w1[0]);
    k = sscanf("0123 0x10 10", "%i %i %o", &a, &b, &x);
    printf("%d %d %d %u %d\n", k, a, b, x, sscanf("", "%d", &a));
    printf("[%5d][%-5d][%05d][%+d][% d][%x][%#x][%#o][%X][%u]\n", 42, 42, 42, 42, 42, 255, 255, 8, 0xbeef, -1);
    printf("[%8.3f][%-8.2f][%+.0f][%e][%G][%#.0f][%010.2f][%a]\n", 3.14159, 2.5, 0.5, 12345.678, 1e-10, 3.0, -1.5, 1.0);
    printf("[%.3s][%10s][%-10s][%c][%%][%5c][%.0s][%*d][%-*d][%.*f]\n", "abcdef", "right", "left", 'x', 'y', "gone", 6, 7, 4, 8, 2, 1.005);
    printf("[%hhd][%hd][%ld][%lld][%zu][%jd][%td][%" PRIu64 "][%#llx]\n", 300, 70000, 5L, -6ll, sizeof a, (intmax_t)7, (ptrdiff_t)-8, (uint64_t)9, 0xabcdefull << 20);
    n = snprintf(text, 8, "%s-%d", "long text", 5);
    printf("%d %s %d\n", n, text, atoi("  17 ") + (int)atol("-3") + abs(-4) + (int)labs(-5L));
    div_t q = div(-17, 5);
    lldiv_t lq = lldiv(10000000000ll, 7);
    printf("%d %d %lld %lld\n", q.quot, q.rem, lq.quot, lq.rem);
    return 0;
}
