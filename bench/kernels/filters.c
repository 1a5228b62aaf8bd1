// Signal filters in 16-bit fixed point: FIR, symmetric FIR, IIR sections, autocorrelation, saturation.
#include "kernel.h"

#define N 400
#define TAPS 32
static short in[N + TAPS], out[N], coefficients[TAPS];

static short saturate(int v) { return (short)(v > 32767 ? 32767 : v < -32768 ? -32768 : v); }

static void fir(const short *restrict x, const short *restrict h, short *restrict y, int n, int taps)
{
    for (int i = 0; i < n; i++) {
        int sum = 1 << 14;
        for (int k = 0; k < taps; k++) sum += x[i + k] * h[k];
        y[i] = saturate(sum >> 15);
    }
}

static void fir_symmetric(const short *x, const short *h, short *y, int n)
{
    for (int i = 0; i < n; i++) {
        int sum = 1 << 14;
        for (int k = 0; k < TAPS / 2; k++) sum += (x[i + k] + x[i + TAPS - 1 - k]) * h[k];
        y[i] = saturate(sum >> 15);
    }
}

struct section {
    short b[3], a[2];
    int x[2], y[2];
};

static void iir(struct section *s, const short *x, short *y, int n)
{
    for (int i = 0; i < n; i++) {
        int v = s->b[0] * x[i] + s->b[1] * s->x[0] + s->b[2] * s->x[1] - s->a[0] * s->y[0] - s->a[1] * s->y[1];
        s->x[1] = s->x[0];
        s->x[0] = x[i];
        s->y[1] = s->y[0];
        s->y[0] = saturate(v >> 14);
        y[i] = (short)s->y[0];
    }
}

static void correlate(const short *x, int n, int lags)
{
    for (int lag = 0; lag < lags; lag++) {
        long long sum = 0;
        for (int i = 0; i < n - lag; i++) sum += x[i] * x[i + lag];
        mix((unsigned)(sum >> 8));
    }
}

int main(void)
{
    static struct section s = {{2000, 4000, 2000}, {-12000, 3000}, {0, 0}, {0, 0}};
    for (int i = 0; i < N + TAPS; i++) in[i] = (short)((int)(next_random() % 20000) - 10000);
    for (int i = 0; i < TAPS; i++) coefficients[i] = (short)((int)(next_random() % 6000) - 3000);
    fir(in, coefficients, out, N, TAPS);
    for (int i = 0; i < N; i++) mix((unsigned)out[i]);
    fir_symmetric(in, coefficients, out, N);
    for (int i = 0; i < N; i++) mix((unsigned)out[i]);
    iir(&s, in, out, N);
    for (int i = 0; i < N; i++) mix((unsigned)out[i]);
    correlate(in, N, 16);
    return finish();
}
