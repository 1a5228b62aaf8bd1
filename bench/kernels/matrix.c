// Matrix products in 32-bit integers, 16-bit fixed point and float; transposition.
#include "kernel.h"

#define N 32
static int ia[N][N], ib[N][N], ic[N][N];
static short sa[N][N], sb[N][N], sc[N][N];
static float fa[N][N], fb[N][N], fc[N][N];

static void multiply(int a[N][N], int b[N][N], int c[N][N])
{
    for (int i = 0; i < N; i++)
        for (int j = 0; j < N; j++) {
            int sum = 0;
            for (int k = 0; k < N; k++) sum += a[i][k] * b[k][j];
            c[i][j] = sum;
        }
}

static void multiply_fixed(const short *a, const short *b, short *c)
{
    for (int i = 0; i < N; i++)
        for (int j = 0; j < N; j++) {
            int sum = 1 << 7;
            for (int k = 0; k < N; k++) sum += a[i * N + k] * b[k * N + j];
            c[i * N + j] = (short)(sum >> 8);
        }
}

static void multiply_float(float (*restrict a)[N], float (*restrict b)[N], float (*restrict c)[N])
{
    for (int i = 0; i < N; i++) {
        for (int j = 0; j < N; j++) c[i][j] = 0;
        for (int k = 0; k < N; k++)
            for (int j = 0; j < N; j++) c[i][j] += a[i][k] * b[k][j];
    }
}

static void transpose(int m[N][N])
{
    for (int i = 0; i < N; i++)
        for (int j = 0; j < i; j++) {
            int t = m[i][j];
            m[i][j] = m[j][i];
            m[j][i] = t;
        }
}

int main(void)
{
    for (int i = 0; i < N; i++)
        for (int j = 0; j < N; j++) {
            ia[i][j] = (int)(next_random() % 200) - 100;
            ib[i][j] = (int)(next_random() % 200) - 100;
            sa[i][j] = (short)(next_random() % 512);
            sb[i][j] = (short)(next_random() % 512);
            fa[i][j] = (float)ia[i][j] / 4;
            fb[i][j] = (float)ib[i][j] / 8;
        }
    multiply(ia, ib, ic);
    transpose(ic);
    multiply(ic, ib, ia);
    multiply_fixed(&sa[0][0], &sb[0][0], &sc[0][0]);
    multiply_float(fa, fb, fc);
    for (int i = 0; i < N; i++)
        for (int j = 0; j < N; j++) {
            mix((unsigned)ia[i][j]);
            mix((unsigned)sc[i][j]);
            mix((unsigned)(int)fc[i][j]);
        }
    return finish();
}
