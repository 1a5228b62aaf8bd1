// Recursion of every shape: deep, mutual, tail, with accumulators and records, through several levels, and functions
// small enough to be copied into their callers in places where the arguments have effects.
#include <stdio.h>
#include <string.h>

static int ackermann(int m, int n) { return !m ? n + 1 : !n ? ackermann(m - 1, 1) : ackermann(m - 1, ackermann(m, n - 1)); }
static int is_odd(unsigned n);
static int is_even(unsigned n) { return n == 0 || is_odd(n - 1); }
static int is_odd(unsigned n) { return n != 0 && is_even(n - 1); }
static int female(int n);
static int male(int n) { return n ? n - female(male(n - 1)) : 0; }
static int female(int n) { return n ? n - male(female(n - 1)) : 1; }
static unsigned collatz(unsigned n, unsigned steps) {
    if (n == 1) return steps;
    return n & 1 ? collatz(3 * n + 1, steps + 1) : collatz(n / 2, steps + 1);
}
static double power(double x, int n) {
    if (n < 0) return 1 / power(x, -n);
    if (n == 0) return 1;
    double h = power(x, n / 2);
    return n & 1 ? h * h * x : h * h;
}
static unsigned moves;
static void hanoi(int n, int from, int to, int by, int *pegs) {
    if (!n) return;
    hanoi(n - 1, from, by, to, pegs);
    pegs[from]--, pegs[to]++, moves = moves * 3 + from * 2 + to;
    hanoi(n - 1, by, to, from, pegs);
}
static int permute(char *s, int k, int n, unsigned *hash) {
    if (k == n) {
        for (int i = 0; i < n; i++) *hash = *hash * 31 + s[i];
        return 1;
    }
    int count = 0;
    for (int i = k; i < n; i++) {
        char t = s[k];
        s[k] = s[i], s[i] = t;
        count += permute(s, k + 1, n, hash);
        t = s[k], s[k] = s[i], s[i] = t;
    }
    return count;
}
static int flood(char (*g)[6], int x, int y) {
    if (x < 0 || y < 0 || x > 5 || y > 4 || g[y][x] != '.') return 0;
    g[y][x] = '+';
    return 1 + flood(g, x + 1, y) + flood(g, x - 1, y) + flood(g, x, y + 1) + flood(g, x, y - 1);
}
static int match(const char *p, const char *s) {
    if (!*p) return !*s;
    if (*p == '*') return match(p + 1, s) || (*s && match(p, s + 1));
    return *s && (*p == '?' || *p == *s) && match(p + 1, s + 1);
}
static char *digits(char *to, unsigned n, unsigned base) {
    if (n >= base) to = digits(to, n / base, base);
    *to++ = "0123456789abcdef"[n % base];
    *to = 0;
    return to;
}
static long change(int amount, const int *coins) {
    if (amount == 0) return 1;
    if (amount < 0 || !*coins) return 0;
    return change(amount - *coins, coins) + change(amount, coins + 1);
}
static int used;
static int effect(int v) { return used = used * 10 + v % 10, v; }
static inline int square(int v) { return v * v; }
static inline int ignore(int a, int b) { return a; }
static inline int clamp(int v, int lo, int hi) {
    if (v < lo) return lo;
    if (v > hi) return hi;
    return v;
}
static inline void store(int *p, int v) { *p = v, v = 0; }
static inline int early(const int *p, int n) {
    for (int i = 0; i < n; i++)
        if (p[i] < 0) return i;
    return -1;
}
static inline short narrowed(char c, short s) { return c * s; }

int main(void) {
    printf("%d %d %d\n", ackermann(2, 5), is_even(1000), is_odd(777));
    for (int i = 0; i < 12; i++) printf("%d%d ", male(i), female(i));
    printf("%u %g %g\n", collatz(97, 0), power(1.5, 13), power(-2, -5));
    int pegs[3] = {7};
    hanoi(7, 0, 2, 1, pegs);
    unsigned hash = 5;
    char letters[] = "abcde", grid[5][6] = {"..#...", ".##.#.", "#...#.", "..###.", ".#...."}, text[40];
    int count = permute(letters, 0, 5, &hash);
    printf("%d %d %d %u %s\n", pegs[2], moves, count, hash, letters);
    for (int x = 0; x < 6; x++) printf("%d ", flood(grid, x, 0));
    printf("\n");
    printf("%d%d%d%d\n", match("a*b?d", "axxbbcd"), match("*", ""), match("a?", "a"), match("*ab*ab*", "xabyab"));
    digits(digits(text, 4000000000u, 10), 0xbeef, 16);
    static const int coins[] = {50, 20, 10, 5, 2, 1, 0};
    printf("%s %ld\n", text, change(67, coins));
    int v = square(effect(3));
    v += ignore(effect(4), v);
    printf("%d %d ", v, used);
    ignore(effect(1), v++), v = clamp(effect(9) * 5, v, 50) + clamp(-v, -3, 3);
    printf("%d %d ", v, used % 100);
    int list[4] = {4, 3, -2, 1};
    store(list + early(list, 4), v), store(&v, v + 1);
    printf("%d %d %d %d\n", list[2], v, early(list, 4), narrowed(300 + v, 70000));
    return (int)(hash + moves + v) & 0x7f;
}
