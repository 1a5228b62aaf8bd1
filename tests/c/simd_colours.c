// Colours: pixels of three bytes to luminance and to 16 bits and back, blended with a mask; against plain C.
// options: -mfpu=neon
// host: no
#include <arm_neon.h>
#include <stdio.h>

enum { N = 48 };
static uint8_t rgb[3 * N], grey[N], blend[3 * N];
static uint16_t packed[N];
int main(void) {
    for (int i = 0; i < 3 * N; i++) rgb[i] = (uint8_t)(i * 73 + i / 7);
    for (int i = 0; i < N; i += 8) {
        uint8x8x3_t p = vld3_u8(rgb + 3 * i);
        uint16x8_t y = vmull_u8(p.val[0], vdup_n_u8(77));
        y = vmlal_u8(y, p.val[1], vdup_n_u8(150)), y = vmlal_u8(y, p.val[2], vdup_n_u8(29));
        vst1_u8(grey + i, vrshrn_n_u16(y, 8));
        uint16x8_t r = vshll_n_u8(p.val[0], 8), g = vshll_n_u8(p.val[1], 8), b = vshll_n_u8(p.val[2], 8);
        r = vsriq_n_u16(r, g, 5), r = vsriq_n_u16(r, b, 11);
        vst1q_u16(packed + i, r);
        uint8x8_t alpha = vld1_u8(grey + i);
        for (int c = 0; c < 3; c++) {
            uint8x8_t old = vdup_n_u8((uint8_t)(40 * c));
            uint16x8_t v = vmlal_u8(vmull_u8(p.val[c], alpha), old, vmvn_u8(alpha));
            p.val[c] = vraddhn_u16(v, vrshrq_n_u16(v, 8));
        }
        vst3_u8(blend + 3 * i, p);
    }
    int bad = 0;
    unsigned sum = 0;
    for (int i = 0; i < N; i++) {
        const uint8_t *p = rgb + 3 * i;
        bad += grey[i] != (p[0] * 77 + p[1] * 150 + p[2] * 29 + 128) >> 8;
        bad += packed[i] != ((p[0] & 0xF8) << 8 | (p[1] & 0xFC) << 3 | p[2] >> 3);
        for (int c = 0; c < 3; c++) {
            unsigned v = p[c] * grey[i] + 40u * c * (255 - grey[i]);
            bad += blend[3 * i + c] != (uint8_t)((v + ((v + 128) >> 8) + 128) >> 8), sum = sum * 31 + blend[3 * i + c];
        }
    }
    printf("%d different, %08x, %d %d %04x\n", bad, sum, grey[0], grey[N - 1], packed[5]);
    return bad != 0;
}
