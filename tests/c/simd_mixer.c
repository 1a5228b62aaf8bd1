// A sound mixer: gains in fixed point, saturation, interleaved channels, fades; in vectors and in plain C.
// options: -mfpu=neon
// host: no
#include <arm_neon.h>
#include <stdio.h>

enum { N = 64 };
static int16_t left[N], right[N], out[2 * N], plain[2 * N];

static int16_t clip(int32_t v) { return v > 32767 ? 32767 : v < -32768 ? -32768 : (int16_t)v; }
static int16_t scaled(int16_t v, int16_t gain) { return clip((2 * v * gain + 0x8000) >> 16); }
int main(void) {
    for (int i = 0; i < N; i++) left[i] = (int16_t)(i * 1777 + 12000), right[i] = (int16_t)(i * i * 97 - 20000);
    int16_t gl = 30000, gr = -25000;
    for (int i = 0; i < N; i += 8) {
        int16x8_t l = vld1q_s16(left + i), r = vld1q_s16(right + i);
        l = vqrdmulhq_n_s16(l, gl), r = vqrdmulhq_n_s16(r, gr);
        int16x8x2_t both = {{vqaddq_s16(l, r), vqsubq_s16(vshlq_n_s16(l, 1), r)}};
        vst2q_s16(out + 2 * i, both);
    }
    int bad = 0;
    for (int i = 0; i < N; i++) {
        int16_t l = scaled(left[i], gl), r = scaled(right[i], gr);
        plain[2 * i] = clip(l + r), plain[2 * i + 1] = clip((int16_t)(l << 1) - r);
        bad += plain[2 * i] != out[2 * i] || plain[2 * i + 1] != out[2 * i + 1];
    }
    int32x4_t energy = vdupq_n_s32(0);
    for (int i = 0; i < 2 * N; i += 8) {
        int16x4x2_t v = vld2_s16(out + i);
        energy = vmlal_s16(energy, v.val[0], v.val[0]);
        energy = vqdmlal_s16(energy, v.val[1], vdup_n_s16(3));
        vst2_lane_s16(out + i, v, 3);
    }
    int32x2_t sum = vadd_s32(vget_low_s32(energy), vget_high_s32(energy));
    sum = vpadd_s32(sum, sum);
    printf("%d different, energy %d, %d %d\n", bad, vget_lane_s32(sum, 0), out[0], out[1]);
    for (int i = 0; i < 2 * N; i += 9) printf("%d ", out[i]);
    putchar('\n');
    return bad;
}
