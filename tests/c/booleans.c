// _Bool from every type, in arithmetic, bit-fields and arrays; enumerations of several widths, negative and in switches.
#include <stdbool.h>
#include <stdio.h>

enum small { S0, S1, S2 = 200, S3 };
enum negative { N1 = -5, N2, N3 = 1000000 };
enum __attribute__((packed)) tiny { T0, T1 = 127 };
enum unsigned_big { U0 = 0x80000000u, U1 };
enum next { FIRST = S3 * 2, SECOND, FROM_SIZE = sizeof(enum small), CHAR = 'x' };
struct flags { bool a, b; bool c : 1, d : 1; enum small e : 9; enum tiny t; };

static bool from_int(int v) { return v; }
static bool from_wide(long long v) { return v; }
static bool from_double(double v) { return v; }
static bool from_pointer(const void *v) { return v; }
static bool not_bool(bool b) { return !b; }
static int count(const bool *p, int n) {
    int s = 0;
    while (n--) s += *p++;
    return s;
}
static enum small next_small(enum small s) { return s == S1 ? S2 : s == S3 ? S0 : s + 1; }
static const char *name(enum negative n) {
    switch (n) {
    case N1: return "n1";
    case N2: return "n2";
    case N3: return "n3";
    }
    return "?";
}
static bool all(bool a, bool b, bool c) { return a & b & c; }
static bool majority(bool a, bool b, bool c) { return a + b + c >= 2; }

int main(void) {
    int sum = 0, i = 5;
    printf("%d%d%d %d%d %d%d%d %d%d\n", from_int(0), from_int(256), from_int(-1), from_wide(1LL << 32), from_wide(0),
           from_double(0.1), from_double(-0.0), from_double(1e-320), from_pointer(&i), from_pointer(0));
    bool b = 7;
    b += 254, printf("%d ", b);
    b -= 1, printf("%d ", b);
    b = ~b, printf("%d ", b);
    b ^= true, printf("%d ", b);
    b |= 4, printf("%d ", b);
    b = b << 3, printf("%d ", b);
    b *= 0, printf("%d ", b);
    b = (bool)0.5 + (bool)'a' - 1, printf("%d ", b);
    b = i > 3, printf("%d %d %d\n", b, -b, ~b);
    bool list[8] = {1, 0, 5, [6] = 0.001, [7] = &i};
    list[1] = list[0] && !list[3], list[4] = list[2] == list[0];
    printf("%d %d %d\n", count(list, 8), not_bool(list[5]), (int)sizeof list);
    list[3]++, list[0]--, list[5] = i++;
    printf("%d\n", count(list, 8));
    struct flags f = {3, 0, 2, 0, S3, T1}, *p = &f;
    f.b = p->a == p->c, p->d = f.e, f.c ^= 1;
    printf("%d%d%d%d %d %d %d\n", f.a, f.b, f.c, f.d, f.e, f.t, (int)sizeof f);
    for (int k = 0; k < 8; k++) sum = sum * 2 + majority(k & 1, k & 2, k & 4) + all(k & 4, k & 2, k & 1);
    for (int k = -6; k < -3; k++) printf("%s ", name(k));
    enum small s = S0;
    for (int k = 0; k < 7; k++) printf("%d ", s), sum += s, s = next_small(s);
    enum negative n = N1;
    enum unsigned_big u = U1;
    printf("\n%d %d %d %d\n", n < 0, n < N3, u > 5, (int)(u - U0));
    printf("%d %d %d %d %d\n", FIRST, SECOND, FROM_SIZE, CHAR, (int)sizeof(enum tiny));
    unsigned mask = (i > 2) << 3 | (i < 2) << 2 | !i << 1 | !!i;
    int picks[2] = {10, 20};
    printf("%u %d %d\n", mask, picks[i > 2], picks[!(i > 2)]);
    sum += (i == 6) + (i != 6) * 2 - (i >= 6) * -3;
    while (b) b = i-- > 0;
    printf("%d %d\n", i, sum);
    return sum & 0x7f;
}
