// Vectors of double words and of one lane, checksums, hashes and prefix sums by shifts of whole vectors.
// options: -mfpu=neon
// host: no
#include <arm_neon.h>
#include <stdio.h>

static uint32_t adler(const uint8_t *p, int n) {
    uint32_t a = 1, b = 0;
    static const uint8_t weights[8] = {8, 7, 6, 5, 4, 3, 2, 1};
    for (int i = 0; i < n; i += 8) {
        uint8x8_t v = vld1_u8(p + i);
        uint64x1_t s = vpaddl_u32(vpaddl_u16(vpaddl_u8(v)));
        uint32x4_t w = vpaddlq_u16(vmull_u8(v, vld1_u8(weights)));
        b += 8 * a + vgetq_lane_u32(w, 0) + vgetq_lane_u32(w, 1) + vgetq_lane_u32(w, 2) + vgetq_lane_u32(w, 3);
        a += (uint32_t)vget_lane_u64(s, 0);
    }
    return (b % 65521) << 16 | a % 65521;
}
static uint32x4_t prefix(uint32x4_t v) {
    uint32x4_t zero = vdupq_n_u32(0);
    v = vaddq_u32(v, vextq_u32(zero, v, 3));
    return vaddq_u32(v, vextq_u32(zero, v, 2));
}
int main(void) {
    uint8_t text[64];
    for (int i = 0; i < 64; i++) text[i] = (uint8_t)(i * i + 3 * i);
    uint32_t a = 1, b = 0;
    for (int i = 0; i < 64; i++) a += text[i], b += a;
    printf("%08x %08x\n", adler(text, 64), (b % 65521) << 16 | a % 65521);
    uint32x4_t p = prefix((uint32x4_t){1, 20, 300, 4000});
    printf("%u %u %u %u\n", p[0], p[1], p[2], p[3]);
    int64x1_t x = vcreate_s64(0x8000000000000001ull), y = vdup_n_s64(-3);
    printf("%llx %llx %llx %llx\n", (long long)vget_lane_s64(vadd_s64(x, y), 0), (long long)vget_lane_s64(vqsub_s64(x, vdup_n_s64(7)), 0),
           (long long)vget_lane_s64(vshl_s64(y, vdup_n_s64(-1)), 0), (long long)vget_lane_s64(vrshr_n_s64(y, 2), 0));
    uint64x2_t h = {0x9E3779B97F4A7C15ull, 0xC2B2AE3D27D4EB4Full};
    for (int i = 0; i < 4; i++) {
        h = veorq_u64(vshlq_n_u64(h, 13), vshrq_n_u64(h, 51));
        h = vaddq_u64(h, vmull_u32(vmovn_u64(h), vshrn_n_u64(h, 32)));
        h = vsliq_n_u64(h, vreinterpretq_u64_u8(vld1q_u8(text + 16 * i)), 33);
    }
    printf("%llx %llx\n", (unsigned long long)vgetq_lane_u64(h, 0), (unsigned long long)vgetq_lane_u64(h, 1));
    return 0;
}
