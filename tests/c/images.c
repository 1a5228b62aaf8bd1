// Small images: box blur, sobel, histogram equalisation, flood fill, Bresenham lines and circles, rotation, run lengths, a rle.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { W = 40, H = 24 };
typedef unsigned char IMAGE[H][W];
static IMAGE a, b, c;
static unsigned checksum(IMAGE im) {
    unsigned s = 1;
    for (int y = 0; y < H; y++)
        for (int x = 0; x < W; x++) s = s * 16777619u ^ im[y][x];
    return s;
}
static void blur(IMAGE to, IMAGE from) {
    for (int y = 0; y < H; y++)
        for (int x = 0; x < W; x++) {
            int s = 0, n = 0;
            for (int v = y > 0 ? y - 1 : 0; v <= y + 1 && v < H; v++)
                for (int u = x > 0 ? x - 1 : 0; u <= x + 1 && u < W; u++) s += from[v][u], n++;
            to[y][x] = (unsigned char)((s + n / 2) / n);
        }
}
static void sobel(IMAGE to, IMAGE from) {
    memset(to, 0, sizeof(IMAGE));
    for (int y = 1; y < H - 1; y++)
        for (int x = 1; x < W - 1; x++) {
            const unsigned char *p = &from[y][x];
            int gx = p[1 - W] + 2 * p[1] + p[1 + W] - p[-1 - W] - 2 * p[-1] - p[-1 + W];
            int gy = p[W - 1] + 2 * p[W] + p[W + 1] - p[-W - 1] - 2 * p[-W] - p[-W + 1];
            int g = abs(gx) + abs(gy);
            to[y][x] = (unsigned char)(g > 255 ? 255 : g);
        }
}
static void equalise(IMAGE im) {
    unsigned hist[256] = {0}, sum = 0;
    unsigned char map[256];
    for (int i = 0; i < W * H; i++) hist[im[i / W][i % W]]++;
    for (int i = 0; i < 256; i++) sum += hist[i], map[i] = (unsigned char)(sum * 255 / (W * H));
    for (unsigned char *p = im[0]; p < im[0] + W * H; p++) *p = map[*p];
}
static void line(IMAGE im, int x0, int y0, int x1, int y1, int v) {
    int dx = abs(x1 - x0), sx = x0 < x1 ? 1 : -1, dy = -abs(y1 - y0), sy = y0 < y1 ? 1 : -1, e = dx + dy;
    for (;;) {
        if (x0 >= 0 && x0 < W && y0 >= 0 && y0 < H) im[y0][x0] = (unsigned char)v;
        if (x0 == x1 && y0 == y1) break;
        int e2 = 2 * e;
        if (e2 >= dy) e += dy, x0 += sx;
        if (e2 <= dx) e += dx, y0 += sy;
    }
}
static void circle(IMAGE im, int cx, int cy, int r, int v) {
    for (int x = r, y = 0, e = 1 - r; x >= y; y++) {
        const int p[8][2] = {{x, y}, {y, x}, {-y, x}, {-x, y}, {-x, -y}, {-y, -x}, {y, -x}, {x, -y}};
        for (int i = 0; i < 8; i++) {
            int px = cx + p[i][0], py = cy + p[i][1];
            if ((unsigned)px < W && (unsigned)py < H) im[py][px] = (unsigned char)v;
        }
        if (e < 0) e += 2 * y + 3;
        else e += 2 * (y - x--) + 5;
    }
}
static int fill(IMAGE im, int x, int y, int v) {
    static short stack[W * H * 4][2];
    int n = 0, count = 0, old = im[y][x];
    stack[n][0] = (short)x, stack[n++][1] = (short)y;
    while (n) {
        int px = stack[--n][0], py = stack[n][1];
        if (px < 0 || py < 0 || px >= W || py >= H || im[py][px] != old) continue;
        im[py][px] = (unsigned char)v, count++;
        for (int d = 0; d < 4; d++) stack[n][0] = (short)(px + (d == 0) - (d == 1)), stack[n++][1] = (short)(py + (d == 2) - (d == 3));
    }
    return count;
}
static void rotate(IMAGE to, IMAGE from, int cos16, int sin16) {
    for (int y = 0; y < H; y++)
        for (int x = 0; x < W; x++) {
            int dx = x - W / 2, dy = y - H / 2;
            int u = ((dx * cos16 + dy * sin16) >> 16) + W / 2, v = ((dy * cos16 - dx * sin16) >> 16) + H / 2;
            to[y][x] = u >= 0 && v >= 0 && u < W && v < H ? from[v][u] : '?';
        }
}
static int runs(const unsigned char *p, int n, unsigned char *out) {
    int o = 0;
    for (int i = 0, k; i < n; i += k) {
        for (k = 1; k < 255 && i + k < n && p[i + k] == p[i]; k++) {}
        out[o++] = (unsigned char)k, out[o++] = p[i];
    }
    return o;
}
int main(void) {
    for (int y = 0; y < H; y++)
        for (int x = 0; x < W; x++) a[y][x] = (unsigned char)(x * y + (x ^ y) * 3);
    blur(b, a), sobel(c, b);
    printf("%08x %08x ", checksum(b), checksum(c));
    equalise(b);
    printf("%08x\n", checksum(b));
    memset(a, ' ', sizeof a);
    for (int i = 0; i < 5; i++) line(a, 3, 3, 38 - 4 * i, 2 + 6 * i, '*');
    circle(a, 20, 12, 8, 'o'), circle(a, 28, 14, 5, 'x'), line(a, -5, 30, 50, -3, '.');
    printf("%d %d\n", fill(a, 0, 20, '-'), fill(a, 28, 14, '+'));
    for (int y = 0; y < H; y += 2) printf("%.*s\n", W, (const char *)a[y]);
    rotate(b, a, 56756, 32768);
    static unsigned char packed[2 * W * H];
    printf("%08x %d %d\n", checksum(b), runs(a[0], W * H, packed), runs(b[0], W * H, packed));
    return 0;
}
