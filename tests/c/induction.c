// Loop counters of every width and direction, wrapping, several at once, trip counts of zero and one, invariant and
// conditional code, reductions, strides, recurrences, counters that live on after the loop.
#include <stdio.h>
#include <string.h>

static int a[100], b[100];
static short s[64];
static unsigned char bytes[300];

static unsigned narrow_counters(int stop) {
    unsigned h = 0;
    for (unsigned char c = 250; c != 5; c++) h = h * 3 + c;
    for (signed char c = 100; c > 0; c += 9) h = h * 3 + c;
    for (unsigned short u = 65530; u > 3; u++) h = h * 3 + u;
    for (short k = stop; k >= -3; k -= 2) h = h * 5 + k;
    for (unsigned char c = 3; c < 10; c--) h += c;
    return h;
}
static int forms(int from, int to, int step) {
    int n = 0, last = -1;
    for (int i = from; i < to; i += step) n += i, last = i;
    for (int i = to; i > from; i -= step) n ^= i, last += i;
    for (int i = from; i != to && i < 1000; i++) n += a[i & 63];
    int i = from;
    while (i <= to) n += i++ * 2;
    do n -= --i; while (i > from);
    return n * 100 + last + i;
}
static int reductions(const int *p, int n) {
    int sum = 0, prod = 1, x = 0, o = 0, lo = 1 << 30, hi = -lo, at = -1;
    for (int i = 0; i < n; i++) {
        sum += p[i], prod = prod * (p[i] | 1) % 10007, x ^= p[i] << i % 5, o |= p[i];
        if (p[i] < lo) lo = p[i];
        if (p[i] > hi) hi = p[i], at = i;
    }
    return sum + prod * 3 + x * 5 + o * 7 + lo % 100 + hi % 100 + at;
}
static void recur(int *p, int n) {
    for (int i = 2; i < n; i++) p[i] = (p[i - 1] + p[i - 2] * 3) % 1009;
    for (int i = 0; i + 3 < n; i++) p[i + 3] += p[i];
    for (int i = n - 2; i >= 0; i--) p[i] ^= p[i + 1];
}
static void shift_down(int *p, int n) { for (int i = 0; i < n - 1; i++) p[i] = p[i + 1]; }
static void smear(int *p, int n) { for (int i = 0; i < n - 1; i++) p[i + 1] = p[i]; }
static int conditional(const int *p, int n, int flag, int *out) {
    int k = 0;
    for (int i = 0; i < n; i++) {
        if (flag) out[k++] = p[i];
        else if (p[i] & 1) out[k++] = p[i] * flag + i;
        if (k >= 20) break;
    }
    return k;
}
static int invariant(int n, int d, int *calls) {
    int r = 0;
    for (int i = 0; i < n; i++) {
        if (i % 4 == 3) r += 1000 / d;
        ++*calls;
    }
    return r;
}
static long long mixed(int n) {
    long long r = 0;
    unsigned u = 0xfffffff0u;
    for (int i = 0, j = n; i < j; i++, j -= 2, u += 7) r += (long long)i * j + u;
    for (long long w = 0xfffffff0LL; w < 0x100000010LL; w += 5) r ^= w;
    for (int *p = a + n, *q = a; q < p; q++, p--) r += *q * 2 - p[-1];
    return r;
}
static int triangle(int n) {
    int r = 0;
    for (int i = 0; i < n; i++)
        for (int j = i; j < n; j++)
            for (int k = j; k < n; k += 2) r += i * 3 + j * 5 - k;
    return r;
}
static void fill(void) {
    for (int i = 0; i < 100; i++) a[i] = i * i % 97 - 20, b[i] = 0;
    for (int i = 0; i < 64; i++) s[i] = i * 1000;
    for (int i = 0; i < 300; i++) bytes[i] = i * 7;
}

int main(void) {
    unsigned h = 0;
    fill();
    printf("%u %u\n", narrow_counters(20), narrow_counters(-4));
    for (int k = -2; k < 12; k += 3)
        for (int st = 1; st < 5; st++) printf("%d ", forms(k, 7, st)), h = h * 3 + forms(2, k, st);
    for (int n = 0; n < 100; n += 11) printf("%d ", reductions(a, n)), h += reductions(a + n, 100 - n);
    recur(a, 100);
    memcpy(b, a, sizeof b);
    shift_down(b, 50), smear(b + 60, 30);
    printf("\n%d %d %d %d\n", a[0], a[99], reductions(b, 100), b[49] - b[48]);
    int out[100], calls = 0;
    for (int f = 0; f < 3; f++) {
        int k = conditional(a, 40, f, out);
        printf("%d %d ", k, out[k - 1]);
    }
    int twice = invariant(10, 7, &calls), never = invariant(3, 0, &calls);
    printf("%d %d %d\n", twice, never, calls);
    for (int n = 0; n < 60; n += 13) printf("%lld %d ", mixed(n), triangle(n / 3));
    int sum = 0, i, j;
    for (i = 0; i < 64; i += 3) sum += s[i] >> 2;
    for (j = 299; j >= 0 && bytes[j] != 21; j--) sum += bytes[j];
    unsigned char small = 0;
    for (int k = 0; k < 300; k++) small += bytes[k];
    printf("\n%d %d %d %d\n", sum, i, j, small);
    return (h ^ h >> 9) & 0x7f;
}
