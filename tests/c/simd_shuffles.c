// Lanes moved about: extraction, transposition, zips, reversal, tables of bytes, duplicated lanes, halves joined.
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
    uint8_t raw[48];
    for (int i = 0; i < 48; i++) raw[i] = (uint8_t)(i * 5 + 16);
    uint8x8_t a = vld1_u8(raw), b = vld1_u8(raw + 8);
    uint16x8_t h = vld1q_u16((uint16_t *)raw), k = vld1q_u16((uint16_t *)(raw + 16));
    SHOW(vext_u8(a, b, 3)), SHOW(vextq_u16(h, k, 5)), SHOW(vtrn_u8(a, b)), SHOW(vzip_u8(a, b)), SHOW(vuzp_u8(a, b));
    SHOW(vtrnq_u16(h, k)), SHOW(vzipq_u16(h, k)), SHOW(vuzpq_u16(h, k)), SHOW(vuzp_u32(vreinterpret_u32_u8(a), vreinterpret_u32_u8(b)));
    SHOW(vrev64_u8(a)), SHOW(vrev32_u8(a)), SHOW(vrev16_u8(a)), SHOW(vrev64q_u16(h)), SHOW(vrev32q_u16(h));
    uint8x8_t index = {0, 7, 8, 15, 16, 31, 32, 255};
    uint8x8x2_t two = {{a, b}};
    uint8x8x3_t three = {{a, b, vld1_u8(raw + 16)}};
    uint8x8x4_t four = {{a, b, vld1_u8(raw + 16), vld1_u8(raw + 24)}};
    SHOW(vtbl1_u8(a, index)), SHOW(vtbl2_u8(two, index)), SHOW(vtbl3_u8(three, index)), SHOW(vtbl4_u8(four, index));
    SHOW(vtbx1_u8(b, a, index)), SHOW(vtbx4_u8(b, four, index)), SHOW(vtbx2_u8(b, two, index));
    SHOW(vdup_lane_u8(a, 5)), SHOW(vdupq_lane_u16(vget_low_u16(h), 1)), SHOW(vcombine_u8(b, a)), SHOW(vget_high_u16(k));
    SHOW(vset_lane_u8(99, a, 4)), SHOW(vsetq_lane_u16(7, h, 7)), SHOW(vcreate_u8(0x0102030405060708ull)), SHOW(vdupq_n_u32(5));
    printf("%d %d\n", vget_lane_s8(vreinterpret_s8_u8(vld1_u8(raw + 30)), 3), vgetq_lane_u16(h, 6));
    // Text in capitals, base 16 and back
    char text[17] = "neon Shuffles 42";
    uint8x16_t t = vld1q_u8((uint8_t *)text);
    uint8x16_t lower = vandq_u8(vcgeq_u8(t, vdupq_n_u8('a')), vcleq_u8(t, vdupq_n_u8('z')));
    vst1q_u8((uint8_t *)text, vsubq_u8(t, vandq_u8(lower, vdupq_n_u8(32))));
    puts(text);
    return 0;
}
