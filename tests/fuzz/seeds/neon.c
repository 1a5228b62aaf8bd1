// Built-ins, and the many types of the header.
#include <arm_neon.h>
int32x4_t sum(const int16_t *p, int32x4_t s) {
    int16x4_t x = vld1_s16(p);
    return vaddq_s32(vqdmlal_s16(s, x, x), vdupq_n_s32(3));
}
uint8x16x2_t pair(uint8_t *p) {
    uint8x16x2_t v = vld2q_u8(p);
    vst1q_u8(p, vrshrq_n_u8(v.val[0], 2));
    return v;
}
