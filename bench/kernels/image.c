// Image filters over bytes: blur, edges, threshold, histogram, colour to grey, halving.
#include "kernel.h"

#define W 64
#define H 48
static unsigned char image[H][W], result[H][W], colour[H * W][3], small[H / 2][W / 2];

static void to_grey(unsigned char (*from)[3], unsigned char *to, int n)
{
    for (int i = 0; i < n; i++) to[i] = (unsigned char)((from[i][0] * 77 + from[i][1] * 150 + from[i][2] * 29) >> 8);
}

static void blur(unsigned char from[H][W], unsigned char to[H][W])
{
    static const int kernel[3][3] = {{1, 2, 1}, {2, 4, 2}, {1, 2, 1}};
    for (int y = 1; y < H - 1; y++)
        for (int x = 1; x < W - 1; x++) {
            int sum = 0;
            for (int j = -1; j <= 1; j++)
                for (int i = -1; i <= 1; i++) sum += from[y + j][x + i] * kernel[j + 1][i + 1];
            to[y][x] = (unsigned char)(sum / 16);
        }
}

static void edges(unsigned char from[H][W], unsigned char to[H][W])
{
    for (int y = 1; y < H - 1; y++)
        for (int x = 1; x < W - 1; x++) {
            int gx = from[y - 1][x + 1] + 2 * from[y][x + 1] + from[y + 1][x + 1] - from[y - 1][x - 1] - 2 * from[y][x - 1] -
                     from[y + 1][x - 1];
            int gy = from[y + 1][x - 1] + 2 * from[y + 1][x] + from[y + 1][x + 1] - from[y - 1][x - 1] - 2 * from[y - 1][x] -
                     from[y - 1][x + 1];
            int g = (gx < 0 ? -gx : gx) + (gy < 0 ? -gy : gy);
            to[y][x] = (unsigned char)(g > 255 ? 255 : g);
        }
}

static void equalize(unsigned char *p, int n)
{
    int histogram[256] = {0}, sum = 0;
    unsigned char map[256];
    for (int i = 0; i < n; i++) histogram[p[i]]++;
    for (int i = 0; i < 256; i++) {
        sum += histogram[i];
        map[i] = (unsigned char)(sum * 255 / n);
    }
    for (int i = 0; i < n; i++) p[i] = map[p[i]];
}

static void halve(unsigned char from[H][W], unsigned char to[H / 2][W / 2])
{
    for (int y = 0; y < H / 2; y++)
        for (int x = 0; x < W / 2; x++)
            to[y][x] = (unsigned char)((from[2 * y][2 * x] + from[2 * y][2 * x + 1] + from[2 * y + 1][2 * x] +
                                        from[2 * y + 1][2 * x + 1] + 2) >> 2);
}

static void threshold(unsigned char *p, int n, int level)
{
    while (n-- > 0) {
        *p = *p >= level ? 255 : 0;
        p++;
    }
}

int main(void)
{
    for (int i = 0; i < H * W; i++)
        for (int c = 0; c < 3; c++) colour[i][c] = (unsigned char)(next_random() % 180 + (unsigned)i % 64);
    to_grey(colour, &image[0][0], H * W);
    blur(image, result);
    edges(result, image);
    equalize(&image[0][0], H * W);
    halve(image, small);
    for (int i = 0; i < H * W / 4; i++) mix((&small[0][0])[i]);
    threshold(&image[0][0], H * W, 128);
    for (int i = 0; i < H * W; i++) mix((&image[0][0])[i]);
    return finish();
}
