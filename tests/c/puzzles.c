// Small whole algorithms: queens, life, primes, checksums, hashing, matrices, string search, dates, fixed point.
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int queens(unsigned all, unsigned cols, unsigned left, unsigned right) {
    if (cols == all) return 1;
    int n = 0;
    for (unsigned free = all & ~(cols | left | right); free;) {
        unsigned bit = free & -free;
        free ^= bit;
        n += queens(all, cols | bit, (left | bit) << 1, (right | bit) >> 1);
    }
    return n;
}
enum { H = 8, W = 12 };
static int life(char (*cell)[W], int rounds) {
    char next[H][W];
    while (rounds--) {
        for (int y = 0; y < H; y++)
            for (int x = 0; x < W; x++) {
                int n = 0;
                for (int dy = -1; dy <= 1; dy++)
                    for (int dx = -1; dx <= 1; dx++)
                        if (dx || dy) n += cell[(y + dy + H) % H][(x + dx + W) % W] == '#';
                next[y][x] = n == 3 || (n == 2 && cell[y][x] == '#') ? '#' : '.';
            }
        memcpy(cell, next, sizeof next);
    }
    int alive = 0;
    for (int i = 0; i < H * W; i++) alive += ((char *)cell)[i] == '#';
    return alive;
}
static uint32_t crc(const void *data, size_t n) {
    static uint32_t table[256];
    if (!table[1])
        for (uint32_t i = 0; i < 256; i++) {
            uint32_t c = i;
            for (int k = 0; k < 8; k++) c = c & 1 ? 0xedb88320u ^ c >> 1 : c >> 1;
            table[i] = c;
        }
    uint32_t c = ~0u;
    for (const uint8_t *p = data; n--; p++) c = table[(c ^ *p) & 255] ^ c >> 8;
    return ~c;
}
static uint32_t adler(const char *s) {
    uint32_t a = 1, b = 0;
    for (; *s; s++) a = (a + (uint8_t)*s) % 65521, b = (b + a) % 65521;
    return b << 16 | a;
}
static int search(const char *text, const char *what) {
    int n = strlen(text), m = strlen(what), skip[256], at = 0, hits = 0;
    for (int i = 0; i < 256; i++) skip[i] = m;
    for (int i = 0; i < m - 1; i++) skip[(uint8_t)what[i]] = m - 1 - i;
    while (at + m <= n) {
        int k = m - 1;
        while (k >= 0 && text[at + k] == what[k]) k--;
        if (k < 0) hits = hits * 10 + at % 10;
        at += skip[(uint8_t)text[at + m - 1]];
    }
    return hits;
}
static long days(int y, int m, int d) {
    y -= m <= 2;
    long era = (y >= 0 ? y : y - 399) / 400;
    unsigned yoe = y - era * 400, doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    return era * 146097 + (long)(yoe * 365 + yoe / 4 - yoe / 100 + doy) - 719468;
}
static const char *weekday(long d) { return &"Thu\0Fri\0Sat\0Sun\0Mon\0Tue\0Wed"[(d % 7 + 7) % 7 * 4]; }
typedef int32_t fix;
#define FIX(x) ((fix)((x) * 65536))
static fix fmul(fix a, fix b) { return (fix)((int64_t)a * b >> 16); }
static fix fdiv(fix a, fix b) { return (fix)((int64_t)a * 65536 / b); }
static fix froot(fix v) {
    fix r = v > FIX(1) ? v : FIX(1);
    for (int i = 0; i < 20; i++) r = (r + fdiv(v, r)) / 2;
    return r;
}
static int expand(char *out, const uint8_t *in, int n) {
    char *to = out;
    for (int i = 0; i < n;)
        if (in[i] < 128) *to++ = in[i++];
        else {
            for (int k = in[i] - 128 + 3, back = in[i + 1]; k--; to++) *to = to[-back];
            i += 2;
        }
    return to - out;
}
static int compress(uint8_t *out, const char *in, int n) {
    int k = 0;
    for (int i = 0; i < n;) {
        int best = 0, where = 0;
        for (int back = 1; back <= i && back < 256; back++) {
            int len = 0;
            while (len < 100 && i + len < n && in[i + len] == in[i + len - back]) len++;
            if (len > best) best = len, where = back;
        }
        if (best >= 3) out[k++] = 128 + best - 3, out[k++] = where, i += best;
        else out[k++] = in[i++];
    }
    return k;
}
static void factorial(unsigned n, char *text) {
    uint16_t digits[60] = {1};
    for (unsigned k = 2, carry = 0; k <= n; k++)
        for (int i = 0; i < 60; i++) {
            unsigned v = digits[i] * k + carry;
            digits[i] = v % 10000, carry = v / 10000;
        }
    int i = 59;
    while (!digits[i]) i--;
    text += sprintf(text, "%d", digits[i]);
    while (i--) text += sprintf(text, "%04d", digits[i]);
}
static const char *cursor;
static long expression(int level) {
    long v;
    if (level == 2) {
        while (*cursor == ' ') cursor++;
        if (*cursor == '-') return cursor++, -expression(2);
        if (*cursor == '(') {
            cursor++, v = expression(0), cursor++;
        } else v = strtol(cursor, (char **)&cursor, 0);
        while (*cursor == ' ') cursor++;
        return v;
    }
    for (v = expression(level + 1);;) {
        char op = *cursor;
        if (level ? op != '*' && op != '/' && op != '%' : op != '+' && op != '-') return v;
        cursor++;
        long w = expression(level + 1);
        v = op == '+' ? v + w : op == '-' ? v - w : op == '*' ? v * w : !w ? 0 : op == '/' ? v / w : v % w;
    }
}
static long evaluate(const char *s) { return cursor = s, expression(0); }

int main(void) {
    static const char lorem[] = "the cat sat on the mat and the other cat sat on the other mat then the cat sat";
    char grid[H][W], big[300], back[200];
    uint8_t packed[200];
    for (int i = 1; i <= 8; i++) printf("%d ", queens((1u << i) - 1, 0, 0, 0));
    memset(grid, '.', sizeof grid);
    grid[1][2] = grid[2][3] = grid[3][1] = grid[3][2] = grid[3][3] = grid[6][9] = grid[6][10] = grid[6][11] = '#';
    for (int i = 0; i < 4; i++) printf("%d ", life(grid, 7));
    printf("%.12s\n", grid[5]);
    printf("%08x %08x %d %d\n", crc(lorem, sizeof lorem - 1), adler(lorem), search(lorem, "cat"), search(lorem, "the mat"));
    printf("%ld %s %ld %s\n", days(1970, 1, 1), weekday(days(2000, 2, 29)), days(1900, 3, 1), weekday(days(1600, 12, 31)));
    printf("%d %d %d\n", fmul(FIX(1.5), FIX(-2.25)), fdiv(FIX(1), FIX(3)), froot(FIX(2)));
    int n = compress(packed, lorem, sizeof lorem), m = expand(back, packed, n);
    printf("%d %d %d\n", n, m, memcmp(back, lorem, m));
    factorial(100, big);
    printf("%s\n", big);
    printf("%ld %ld %ld\n", evaluate("1 + 2 * 3 - -4"), evaluate("(0x10 - 5) % 7 * (2 + 010)"), evaluate("-(3 - 10) / 2 / (1-1)"));
    return (int)(crc(back, m) & 0x7f);
}
