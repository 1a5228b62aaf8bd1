// Comparisons, selections and bit operations: masks of vectors of every width.
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

int main(void) {
    int8x8_t a = {-128, -1, 0, 1, 127, 5, -5, 100}, b = {127, -1, 1, 0, -128, 5, 5, -100};
    uint8x8_t u = vreinterpret_u8_s8(a), v = vreinterpret_u8_s8(b);
    SHOW(vceq_s8(a, b)), SHOW(vcgt_s8(a, b)), SHOW(vcge_s8(a, b)), SHOW(vclt_u8(u, v)), SHOW(vcle_u8(u, v));
    SHOW(vtst_s8(a, b)), SHOW(vbsl_s8(vcgt_s8(a, b), a, b)), SHOW(vbic_u8(u, v)), SHOW(vorn_u8(u, v)), SHOW(vmvn_s8(a));
    SHOW(veor_s8(a, b)), SHOW(vmax_s8(a, b)), SHOW(vmin_u8(u, v)), SHOW(vabd_s8(a, b)), SHOW(vaba_u8(u, u, v));
    SHOW(vclz_s8(a)), SHOW(vcls_s8(b)), SHOW(vcnt_u8(u)), SHOW(vsli_n_s8(a, b, 3)), SHOW(vsri_n_u8(u, v, 5));
    float32x4_t f = {1.5f, -2, 0, __builtin_inff()}, g = {1.5f, -3, -0.0f, __builtin_nanf("")};
    SHOW(vceqq_f32(f, g)), SHOW(vcgtq_f32(f, g)), SHOW(vcgeq_f32(f, g)), SHOW(vcltq_f32(f, g)), SHOW(vcleq_f32(f, g));
    SHOW(vcagtq_f32(f, g)), SHOW(vcageq_f32(f, g)), SHOW(vcaltq_f32(f, g)), SHOW(vcaleq_f32(f, g));
    SHOW(vbslq_f32(vcgtq_f32(f, g), f, vnegq_f32(f)));
    uint32x4_t n = vdupq_n_u32(0);
    int found = 0;
    for (int i = 0; i < 40; i += 4) { // counts by masks
        int32x4_t x = {i * 7 % 11, i * 5 % 13, i, 40 - i};
        n = vsubq_u32(n, vcgtq_s32(x, vdupq_n_s32(6)));
        uint32x2_t any = vorr_u32(vget_low_u32(vceqq_s32(x, vdupq_n_s32(8))), vget_high_u32(vceqq_s32(x, vdupq_n_s32(8))));
        found += vget_lane_u32(vpmax_u32(any, any), 0) != 0;
    }
    printf("%u %u %u %u, %d\n", vgetq_lane_u32(n, 0), vgetq_lane_u32(n, 1), vgetq_lane_u32(n, 2), vgetq_lane_u32(n, 3), found);
    return 0;
}
