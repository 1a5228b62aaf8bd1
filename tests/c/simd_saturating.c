// Saturating sums, differences, shifts and narrowings of arm_neon.h at the edges of their types.
// options: -mfpu=neon
// host: no
#include <arm_neon.h>
#include <stdio.h>

static void show(const char *what, const void *p, int n) {
    printf("%s", what);
    for (int i = 0; i < n; i++) printf(" %02x", ((const unsigned char *)p)[i]);
    putchar('\n');
}
#define SHOW(x) ({ __typeof__(x) t_ = (x); show(#x, &t_, sizeof t_); })

static const int16_t a_[8] = {32767, -32768, 1, -1, 300, -300, 12345, -12345};
static const int16_t b_[8] = {1, -1, 32767, -32768, 30000, -30000, 12345, 22222};
int main(void) {
    int16x8_t a = vld1q_s16(a_), b = vld1q_s16(b_);
    uint8x16_t u = vreinterpretq_u8_s16(a), v = vreinterpretq_u8_s16(b);
    SHOW(vqaddq_s16(a, b)), SHOW(vqsubq_s16(a, b)), SHOW(vqaddq_u8(u, v)), SHOW(vqsubq_u8(u, v));
    SHOW(vqabsq_s16(a)), SHOW(vqnegq_s16(a)), SHOW(vqmovn_s16(a)), SHOW(vqmovun_s16(a)), SHOW(vmovn_s16(b));
    SHOW(vqmovn_u16(vreinterpretq_u16_s16(b))), SHOW(vqshlq_n_s16(a, 3)), SHOW(vqshluq_n_s16(a, 2));
    SHOW(vqshrn_n_s16(a, 4)), SHOW(vqrshrn_n_s16(b, 7)), SHOW(vqshrun_n_s16(a, 1)), SHOW(vqrshrun_n_s16(b, 8));
    SHOW(vqdmulhq_s16(a, b)), SHOW(vqrdmulhq_s16(a, b)), SHOW(vqdmulh_lane_s16(vget_low_s16(a), vget_high_s16(b), 2));
    SHOW(vqdmull_s16(vget_low_s16(a), vget_low_s16(b)));
    SHOW(vqdmlal_s16(vdupq_n_s32(2000000000), vget_high_s16(a), vget_high_s16(b)));
    SHOW(vqdmlsl_s16(vdupq_n_s32(-2000000000), vget_high_s16(a), vget_high_s16(b)));
    int16x8_t counts = {-20, -3, 0, 3, 15, 16, -1, 40};
    SHOW(vshlq_s16(a, counts)), SHOW(vrshlq_s16(a, counts)), SHOW(vqshlq_s16(a, counts)), SHOW(vqrshlq_s16(b, counts));
    SHOW(vshlq_u16(vreinterpretq_u16_s16(a), counts)), SHOW(vqshlq_u16(vreinterpretq_u16_s16(b), counts));
    int64x2_t l = {INT64_MAX, INT64_MIN}, k = {5, -5};
    SHOW(vqaddq_s64(l, k)), SHOW(vqsubq_s64(l, k)), SHOW(vqshlq_s64(k, vdupq_n_s64(62))), SHOW(vqmovn_s64(l));
    SHOW(vrshrq_n_s64(l, 1)), SHOW(vshrn_n_s64(l, 32)), SHOW(vrshrn_n_s64(k, 2)), SHOW(vsraq_n_s64(k, l, 60));
    return 0;
}
