// Interleaved loads and stores of two to four vectors, single lanes and copies of one element; pointers that are not
// aligned to vectors.
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

static uint8_t bytes[80], to[80];
static uint16_t halves[40], to16[40];
static float floats[24], tof[24];
int main(void) {
    for (int i = 0; i < 80; i++) bytes[i] = (uint8_t)(3 * i + 1), halves[i / 2] = (uint16_t)(i * 1001);
    for (int i = 0; i < 24; i++) floats[i] = (float)i * 0.75f - 4;
    SHOW(vld1q_u8(bytes + 3)), SHOW(vld1_u16(halves + 1)), SHOW(vld2_u8(bytes + 1)), SHOW(vld3_u8(bytes)), SHOW(vld4_u8(bytes + 5));
    SHOW(vld2q_u16(halves)), SHOW(vld3q_u16(halves + 1)), SHOW(vld4_u16(halves)), SHOW(vld2_f32(floats)), SHOW(vld4q_f32(floats + 1));
    SHOW(vld1_dup_u8(bytes + 7)), SHOW(vld1q_dup_u16(halves + 3)), SHOW(vld2_dup_u8(bytes)), SHOW(vld3_dup_u16(halves));
    SHOW(vld1_lane_u8(bytes + 9, vdup_n_u8(0), 3)), SHOW(vld1q_lane_f32(floats + 5, vdupq_n_f32(1), 2));
    uint8x8x3_t three = vld3_u8(bytes + 2);
    SHOW(vld3_lane_u8(bytes + 40, three, 6));
    uint8x8_t swap = three.val[0];
    three.val[0] = three.val[2], three.val[2] = swap;
    vst3_u8(to + 1, three), show("vst3", to, 40);
    vst4_u8(to + 3, vld4_u8(bytes)), show("vst4", to, 40);
    vst1q_u8(to + 5, vld1q_u8(bytes + 30)), show("vst1", to, 40);
    vst2q_u16(to16 + 1, vld2q_u16(halves + 4)), show("vst2", to16, 48);
    vst3_lane_u8(to, three, 7), show("lanes", to, 8);
    vst1_lane_f32(tof, vld1_f32(floats + 2), 1), vst4_f32(tof + 2, vld4_f32(floats)), show("floats", tof, 48);
    const uint8_t *p = bytes;
    uint8_t *q = to;
    vst1_u8(q++, vld1_u8(p++)), vst1_lane_u8(q++, vld1_u8(p++), 2); // each pointer steps once
    printf("%d %d\n", (int)(p - bytes), (int)(q - to));
    return 0;
}
