// Filters: a symmetric one over 16-bit samples, a running one over floats, a median of bytes, a 3x3 blur.
// options: -mfpu=neon
// host: no
#include <arm_neon.h>
#include <stdio.h>

static const int16_t taps[8] = {-120, 350, -900, 4000, 12000, 9000, -700, 99};
static int16_t samples[72];
static uint8_t image[10][24], blurred[10][24];

static int32_t filtered(const int16_t *x) {
    int16x8_t t = vld1q_s16(taps), v = vld1q_s16(x);
    int32x4_t p = vmull_s16(vget_low_s16(t), vget_low_s16(v));
    p = vmlal_s16(p, vget_high_s16(t), vget_high_s16(v));
    int32x2_t s = vpadd_s32(vget_low_s32(p), vget_high_s32(p));
    return vget_lane_s32(vpadd_s32(s, s), 0);
}
static uint8x8_t median(uint8x8_t a, uint8x8_t b, uint8x8_t c) {
    return vmax_u8(vmin_u8(a, b), vmin_u8(vmax_u8(a, b), c));
}
int main(void) {
    for (int i = 0; i < 72; i++) samples[i] = (int16_t)(i * 2741 - 30000);
    for (int i = 0; i < 64; i += 5) {
        int32_t plain = 0;
        for (int k = 0; k < 8; k++) plain += taps[k] * samples[i + k];
        printf("%d%s ", filtered(samples + i), plain == filtered(samples + i) ? "" : "?");
    }
    float32x4_t state = vdupq_n_f32(0), gain = {0.5f, 0.25f, 0.125f, 0.75f};
    for (int i = 0; i < 40; i++) state = vmlaq_f32(state, vsubq_f32(vdupq_n_f32((float)samples[i]), state), gain);
    printf("\n%a %a %a %a\n", state[0], state[1], state[2], state[3]);
    for (int y = 0; y < 10; y++)
        for (int x = 0; x < 24; x++) image[y][x] = (uint8_t)(x * x * 3 + y * 57 + (x * y & 7) * 20);
    for (int y = 1; y < 9; y++)
        for (int x = 1; x < 17; x += 8) {
            uint16x8_t s = vdupq_n_u16(0);
            for (int d = -1; d <= 1; d++) {
                uint8x8_t l = vld1_u8(&image[y + d][x - 1]), c = vld1_u8(&image[y + d][x]), r = vld1_u8(&image[y + d][x + 1]);
                s = vaddq_u16(s, vaddw_u8(vaddl_u8(l, r), c)), s = vaddw_u8(s, c);
            }
            vst1_u8(&blurred[y][x], vqmovn_u16(vshrq_n_u16(s, 3)));
        }
    unsigned sum = 0;
    for (int y = 0; y < 10; y++)
        for (int x = 0; x < 24; x++) sum = sum * 33 + blurred[y][x];
    uint8x8_t m = median(vld1_u8(image[2]), vld1_u8(image[3]), vld1_u8(image[4]));
    printf("%08x %d %d %d\n", sum, vget_lane_u8(m, 0), vget_lane_u8(m, 5), vget_lane_u8(m, 7));
    return 0;
}
