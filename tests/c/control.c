// Control flow of every kind: goto into and out of loops, switches with holes and fall-through, short circuits whose
// value is dropped, loops without end but for a break, tail calls that swap and rotate their arguments.
#include <stdio.h>

static unsigned calls;

static int side(int v) {
    calls++;
    return v;
}

static int swap(int n, int a, int b) {
    if (n == 0) return a * 10 + b;
    return swap(n - 1, b, a);
}

static int rotate(int a, int b, int c, int n) {
    if (n <= 0) return a * 100 + b * 10 + c;
    return rotate(b, c, a, n - 1);
}

static unsigned gcd(unsigned a, unsigned b) { return b ? gcd(b, a % b) : a; }

static long long sum_to(int n, long long so_far) {
    if (!n) return so_far;
    return sum_to(n - 1, so_far + n);
}

static char narrow(char c, short s, int n) {
    if (n == 0) return c + s;
    return narrow(s + 100, c * 3, n - 1);
}

static int effects(int n, int a, int b) {
    if (n == 0) return a - b;
    return effects(n - 1, side(b), side(a) + 1);
}

static void count_down(int n) {
    static int total;
    total += n;
    if (n == 0) {
        printf("total %d\n", total);
        return;
    }
    count_down(n - 1);
}

static int of_local(int *p, int n) { // each frame has a local that the next one reads
    int here = n * 3 + (p ? *p : 0);
    if (n == 0) return here;
    return of_local(&here, n - 1);
}

static int volatile_parameter(volatile int v, int n) {
    if (n == 0) return v;
    return volatile_parameter(v + n, n - 1);
}

static int pick(int v) {
    switch (v) {
    case 1: return 10;
    case 2:
    case 3: v += 5;
    case 4: v *= 2; break;
    case -7: goto out;
    default:
        if (v > 100) break;
    case 50: v -= 1;
    }
    return v;
out:
    return -v;
}

static int no_default(int v) {
    switch (v & 3) {
    case 0: v += 7; break;
    case 2: v ^= 5;
    }
    switch (v) {}
    switch (v & 1) { default: v++; }
    return v;
}

static int into_loop(int n) {
    int i = 0, s = 0;
    if (n & 1) goto middle;
    for (i = 0; i < n; i++) {
        s += i;
    middle:
        s ^= 3;
        if (s > 1000) goto done;
    }
done:
    return s;
}

static int nested(int n) {
    int s = 0;
    for (int i = 0;; i++) {
        if (i == n) break;
        for (int j = 0; j < n; j++) {
            if (j == i) continue;
            if (j * i > 40) goto next;
            while (1) {
                if (++s % 3 == 0) break;
            }
        }
    next:;
    }
    return s;
}

static void dropped(int a, int b) {
    a &&side(b);
    a || side(b);
    a ? side(1) : (void)0, b ? (side(2), side(3)) : side(4);
    (void)(a && (b || side(5)) && side(6));
    // tested for nothing
    if (side(7)) {}
    if (side(a) > 3) {
    } else {
    }
    switch (side(b)) { default:; }
    switch (side(a)) {}
    if (a += side(1)) {}
    calls += (unsigned)a;
}

static int machine(const char *p) {
    int n = 0;
start:
    switch (*p++) {
    case 'a': n += 1; goto start;
    case 'b': n *= 2; goto start;
    case '(': goto inner;
    case 0: return n;
    default: goto start;
    }
inner:
    switch (*p++) {
    case ')': goto start;
    case 'a': n -= 1; goto inner;
    case 0: return -n;
    default: goto inner;
    }
}

static int wide(long long v) {
    switch (v) {
    case 0x100000000LL: return 1;
    case -1: return 2;
    case 0: return 3;
    default: return 4;
    }
}

static int constants(int x) {
    int n = 0;
    if (0) n += 1;
    if (1) n += 2;
    while (0) n += 4;
    do n += 8; while (0);
    for (;;) {
        n += 16;
        if (x-- <= 0) break;
    }
    switch (3) {
    case 1: n += 1000;
    case 3: n += 32;
    case 4: n += 64; break;
    default: n += 2000;
    }
    if (x, 0) n += 5000;
    if ((x = 0)) n += 7000;
    if ((x = 5)) n += x;
    return n;
}

int main(void) {
    for (int n = 0; n < 4; n++) printf("%d %d\n", swap(n, 1, 2), rotate(1, 2, 3, n));
    printf("%u %lld\n", gcd(1071, 462), sum_to(100000 / 100, 0));
    printf("%d %d %d\n", narrow(1, 2, 5), narrow(100, 3000, 4), effects(7, 1, 2));
    count_down(10);
    printf("%d %d\n", of_local(0, 6), volatile_parameter(3, 5));
    for (int v = -8; v < 8; v++) printf("%d %d|", pick(v), no_default(v));
    printf("%d %d\n", pick(50), pick(500));
    for (int n = 0; n < 9; n++) printf("%d %d|", into_loop(n), nested(n));
    for (int k = 0; k < 4; k++) dropped(k & 1, k >> 1);
    printf("\n%u\n", calls);
    printf("%d %d %d\n", machine("abab(aax)ba"), machine("aab(a"), machine("(x)a"));
    printf("%d%d%d%d\n", wide(0x100000000LL), wide(-1), wide(0), wide(0xFFFFFFFF));
    printf("%d %d\n", constants(2), constants(-1));
    int same = volatile_parameter(3, 5);
    if ((calls && (same = same)) < 2) printf("%d\n", same); // decided, and the right side does nothing
    return 0;
}
