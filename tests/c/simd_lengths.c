// Operations that double or halve the lanes: long and wide sums and products, neighbours added, high halves.
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

static unsigned bytes_summed(const uint8_t *p, int n) {
    uint32x4_t all = vdupq_n_u32(0);
    for (int i = 0; i < n; i += 16) all = vpadalq_u16(all, vpaddlq_u8(vld1q_u8(p + i)));
    uint64x2_t two = vpaddlq_u32(all);
    return (unsigned)(vgetq_lane_u64(two, 0) + vgetq_lane_u64(two, 1));
}
static unsigned differences(const uint8_t *p, const uint8_t *q, int n) {
    uint16x8_t all = vdupq_n_u16(0);
    for (int i = 0; i < n; i += 8) all = vabal_u8(all, vld1_u8(p + i), vld1_u8(q + i));
    uint32x4_t four = vpaddlq_u16(all);
    return four[0] + four[1] + four[2] + four[3];
}
int main(void) {
    uint8_t p[96], q[96];
    for (int i = 0; i < 96; i++) p[i] = (uint8_t)(i * 37 + 5), q[i] = (uint8_t)(i * i + 200);
    printf("%u %u\n", bytes_summed(p, 96), differences(p, q, 96));
    int16x4_t a = {32767, -32768, 100, -1}, b = {-32768, -32768, 7, 3};
    int32x4_t w = {1 << 30, -5, 70000, INT32_MIN}, x = {1 << 30, 5, -80000, -1};
    SHOW(vaddl_s16(a, b)), SHOW(vsubl_s16(a, b)), SHOW(vaddw_s16(w, b)), SHOW(vsubw_s16(w, b)), SHOW(vmull_s16(a, b));
    SHOW(vmlal_s16(w, a, b)), SHOW(vmlsl_s16(w, a, b)), SHOW(vmlal_lane_s16(w, a, b, 2)), SHOW(vmull_n_s16(a, -9));
    SHOW(vaddhn_s32(w, x)), SHOW(vraddhn_s32(w, x)), SHOW(vsubhn_s32(w, x)), SHOW(vrsubhn_s32(w, x));
    SHOW(vmovl_s16(a)), SHOW(vmovl_u16(vreinterpret_u16_s16(a))), SHOW(vshll_n_s16(a, 5));
    SHOW(vabdl_s16(a, b)), SHOW(vabal_s16(w, a, b)), SHOW(vpaddl_s16(a)), SHOW(vpadal_s16(vget_low_s32(w), b));
    SHOW(vpadd_s16(a, b)), SHOW(vpmax_s16(a, b)), SHOW(vpmin_s16(a, b)), SHOW(vhaddq_s32(w, x)), SHOW(vrhaddq_s32(w, x));
    SHOW(vhsubq_s32(w, x)), SHOW(vmlaq_s32(w, x, w)), SHOW(vmls_s16(a, b, a)), SHOW(vmulq_s32(w, x)), SHOW(vmull_u8(vld1_u8(p), vld1_u8(q)));
    SHOW(vmull_p8((poly8x8_t)vld1_u8(p), (poly8x8_t)vld1_u8(q))), SHOW(vmull_s32(vget_low_s32(w), vget_low_s32(x)));
    return 0;
}
