// Conway's game on a torus, in bytes and in bits; both must agree in each generation.
#include <stdio.h>
#include <string.h>

enum { W = 32, H = 20 };
static unsigned char cells[H][W], next[H][W];
static unsigned rows[H];

static void step_bytes(void) {
    for (int y = 0; y < H; y++)
        for (int x = 0; x < W; x++) {
            int n = 0;
            for (int dy = -1; dy <= 1; dy++)
                for (int dx = -1; dx <= 1; dx++)
                    if (dy || dx) n += cells[(y + dy + H) % H][(x + dx + W) % W];
            next[y][x] = n == 3 || (n == 2 && cells[y][x]);
        }
    memcpy(cells, next, sizeof cells);
}
static unsigned left(unsigned v) { return v << 1 | v >> 31; }
static unsigned right(unsigned v) { return v >> 1 | v << 31; }
static void add(unsigned *ones, unsigned *twos, unsigned *fours, unsigned v) {
    unsigned c = *ones & v;
    *ones ^= v;
    unsigned d = *twos & c;
    *twos ^= c;
    *fours |= d;
}
static void step_bits(void) {
    unsigned out[H];
    for (int y = 0; y < H; y++) {
        unsigned one = 0, two = 0, four = 0;
        for (int d = -1; d <= 1; d++) {
            unsigned r = rows[(y + d + H) % H];
            add(&one, &two, &four, left(r));
            add(&one, &two, &four, right(r));
            if (d) add(&one, &two, &four, r);
        }
        out[y] = two & ~four & (one | rows[y]);
    }
    memcpy(rows, out, sizeof rows);
}
int main(void) {
    unsigned seed = 12345;
    for (int y = 0; y < H; y++)
        for (int x = 0; x < W; x++) {
            seed = seed * 1103515245u + 12345u;
            if (seed >> 16 & 1) cells[y][x] = 1, rows[y] |= 1u << x;
        }
    for (int g = 0; g < 40; g++) {
        int alive = 0;
        step_bytes(), step_bits();
        for (int y = 0; y < H; y++)
            for (int x = 0; x < W; x++) {
                alive += cells[y][x];
                if ((rows[y] >> x & 1) != cells[y][x]) return printf("differ at %d %d %d\n", g, y, x), 1;
            }
        if (g % 8 == 0) printf("%d: %d\n", g, alive);
    }
    for (int y = 0; y < H; y++, putchar('\n'))
        for (int x = 0; x < W; x++) putchar(".#"[cells[y][x]]);
    return 0;
}
