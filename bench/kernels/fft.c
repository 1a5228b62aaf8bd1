// A transform of 256 points, once in 16-bit fixed point, once in float, there and back.
#include "kernel.h"

#define LOG 8
#define N (1 << LOG)
static short sine[N];
static short fr[N], fi[N];
static float xr[N], xi[N], cosines[N / 2], sines[N / 2];

// A quarter wave by a polynomial, so that no library is needed.
static int wave(int angle)
{
    int x = angle & (N - 1), sign = 1;
    if (x >= N / 2) x -= N / 2, sign = -1;
    int p = x * (N / 2 - x); // 0 to N*N/16
    return sign * (int)(16 * p * 32700ll / ((long long)N * N / 4 * 5 - 4 * p));
}

static void swap_bits(int index, int *other)
{
    int r = 0;
    for (int b = 0; b < LOG; b++) r = r << 1 | (index >> b & 1);
    *other = r;
}

static void fft_fixed(short *re, short *im)
{
    for (int i = 0; i < N; i++) {
        int j;
        swap_bits(i, &j);
        if (j > i) {
            short t = re[i];
            re[i] = re[j], re[j] = t;
            t = im[i];
            im[i] = im[j], im[j] = t;
        }
    }
    for (int half = 1, step = LOG - 1; half < N; half <<= 1, step--) {
        for (int m = 0; m < half; m++) {
            int j = m << step;
            int wr = sine[(j + N / 4) & (N - 1)] >> 1, wi = -sine[j] >> 1;
            for (int i = m; i < N; i += half << 1) {
                int k = i + half;
                int tr = (wr * re[k] - wi * im[k]) >> 15, ti = (wr * im[k] + wi * re[k]) >> 15;
                int qr = re[i] >> 1, qi = im[i] >> 1;
                re[k] = (short)(qr - tr), im[k] = (short)(qi - ti);
                re[i] = (short)(qr + tr), im[i] = (short)(qi + ti);
            }
        }
    }
}

static void fft_float(float *re, float *im, float direction)
{
    for (int i = 0; i < N; i++) {
        int j;
        swap_bits(i, &j);
        if (j > i) {
            float t = re[i];
            re[i] = re[j], re[j] = t;
            t = im[i];
            im[i] = im[j], im[j] = t;
        }
    }
    for (int size = 2; size <= N; size *= 2) {
        int half = size / 2, stride = N / size;
        for (int i = 0; i < N; i += size)
            for (int j = i, k = 0; j < i + half; j++, k += stride) {
                float c = cosines[k], s = direction * sines[k];
                float tr = re[j + half] * c + im[j + half] * s, ti = im[j + half] * c - re[j + half] * s;
                re[j + half] = re[j] - tr, im[j + half] = im[j] - ti;
                re[j] += tr, im[j] += ti;
            }
    }
}

int main(void)
{
    for (int i = 0; i < N; i++) sine[i] = (short)wave(i);
    for (int i = 0; i < N / 2; i++) {
        sines[i] = (float)sine[i] / 32768;
        cosines[i] = (float)sine[(i + N / 4) & (N - 1)] / 32768;
    }
    for (int i = 0; i < N; i++) {
        fr[i] = (short)(next_random() % 2000), fi[i] = 0;
        xr[i] = fr[i], xi[i] = 0;
    }
    for (int round = 0; round < 3; round++) fft_fixed(fr, fi);
    fft_float(xr, xi, 1);
    fft_float(xr, xi, -1);
    for (int i = 0; i < N; i++) mix(((unsigned)fr[i] ^ (unsigned)fi[i] << 8) + (unsigned)(int)(xr[i] / N + 0.5f));
    return finish();
}
