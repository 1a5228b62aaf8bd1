// Loops: counted up and down, by steps, triangular, with early ends, over pointers, two variables, no body, unrolled by hand.
#include <stdio.h>

enum { N = 37 };
static int a[N + 8], b[N + 8], c[N + 8];
static short s[N];
static unsigned char u[N];
static unsigned sum(const int *p, int n) {
    unsigned h = 0;
    for (int i = 0; i < n; i++) h = h * 33 + (unsigned)p[i];
    return h;
}
static void fill(void) {
    for (int i = 0; i < N + 8; i++) a[i] = i * 7 % 13 - 5, b[i] = i * i, c[i] = 0;
    for (int i = 0; i < N; i++) s[i] = (short)(1000 - i * 59), u[i] = (unsigned char)(i * 31);
}
static int find(const int *p, int n, int v) {
    for (int i = 0; i < n; i++)
        if (p[i] == v) return i;
    return -1;
}
static int down(int n) {
    int t = 0;
    for (int i = n; i--;) t = t * 2 + i;
    return t;
}
static long steps(int from, int to, int by) {
    long t = 0;
    if (by > 0)
        for (int i = from; i < to; i += by) t = t * 3 + i;
    else
        for (int i = from; i > to; i += by) t = t * 5 - i;
    return t;
}
static void prefix(int n) {
    for (int i = 1; i < n; i++) a[i] += a[i - 1];
}
static void apart(int n, int d) {
    for (int i = d; i < n; i++) b[i] = b[i - d] * 2 % 1001 + i;
}
static void backwards(int n) {
    for (int i = n - 2; i >= 0; i--) c[i] = c[i + 1] + a[i];
}
static int triangle(int n) {
    int t = 0;
    for (int i = 0; i < n; i++)
        for (int j = i; j < n; j++)
            if ((i ^ j) & 1) t += i * j;
            else if (j == n - 1) break;
            else t--;
    return t;
}
static int labelled(int n) {
    int t = 0;
    for (int i = 0; i < n; i++) {
        for (int j = 0; j < n; j++) {
            if (j == i) goto next;
            if (i * j > 40) goto out;
            t += j;
        }
    next:
        t += 100;
    }
out:
    return t;
}
static int both_ends(int n) {
    int t = 0;
    for (int i = 0, j = n - 1; i < j; i++, j--) {
        int x = a[i];
        a[i] = a[j], a[j] = x, t += i * j;
    }
    return t;
}
static void by_hand(int n) {
    int i = 0;
    for (; i + 4 <= n; i += 4) c[i] += 1, c[i + 1] += 2, c[i + 2] += 3, c[i + 3] += 4;
    for (; i < n; i++) c[i] -= 1;
}
static int mixed(int n) {
    int t = 0;
    for (short i = 0; i < n; i++) t += s[i];
    for (unsigned char i = 0; i < n; i++) t ^= u[i] << (i & 7);
    for (unsigned i = 0; i != (unsigned)n; i++) t += (int)(i * u[i]);
    for (long long i = n; i > 0; i /= 2) t += (int)i;
    for (float f = 0; f < 2; f += 0.25f) t++;
    return t;
}
static int walks(int n) {
    int t = 0;
    for (const int *p = a, *e = a + n; p != e; p++) t += *p & 7;
    const int *q = b + n;
    while (q-- > b) t = t * 3 % 10007 + *q % 5;
    for (char *z = "walk"; *z; z++) t += *z;
    do t--;
    while (t % 17);
    return t;
}
static int strange(int n) {
    int t = 0, i = 0;
    while (1) {
        if (++i > n) break;
        if (i % 3 == 0) continue;
        t += i;
        switch (i % 4) {
        case 1: continue;
        case 2: t += 100; break;
        default: t -= 1;
        }
        if (t > 700) break;
    }
    for (;;) {
        if (t & 1) t = t * 3 + 1;
        else t >>= 1;
        if (t <= 4) return t * 1000 + i;
    }
}
int main(void) {
    fill();
    printf("%d %d %d\n", find(a, N, 7), find(b, N, 900), find(b, N, 901));
    printf("%d %d %ld %ld %ld\n", down(10), down(0), steps(0, 20, 3), steps(20, 0, -7), steps(5, 5, 1));
    prefix(N), apart(N, 1), apart(N, 3), apart(N, 40), backwards(N);
    printf("%u %u %u\n", sum(a, N), sum(b, N), sum(c, N));
    printf("%d %d %d\n", triangle(9), labelled(12), both_ends(N));
    for (int n = 0; n < 10; n += 3) by_hand(n);
    printf("%u %u %d %d %d %d\n", sum(a, N), sum(c, N), mixed(N), walks(N), strange(50), strange(3));
    return 0;
}
