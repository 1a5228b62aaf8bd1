// 4x4 matrices of floats: products by lanes, transposition, inverse by estimates and Newton steps, dot products.
// options: -mfpu=neon
// host: no
#include <arm_neon.h>
#include <stdio.h>

typedef struct { float32x4_t row[4]; } matrix;

static matrix times(const matrix *a, const matrix *b) {
    matrix r;
    for (int i = 0; i < 4; i++) {
        float32x4_t v = vmulq_lane_f32(b->row[0], vget_low_f32(a->row[i]), 0);
        v = vmlaq_lane_f32(v, b->row[1], vget_low_f32(a->row[i]), 1);
        v = vmlaq_lane_f32(v, b->row[2], vget_high_f32(a->row[i]), 0);
        r.row[i] = vmlaq_lane_f32(v, b->row[3], vget_high_f32(a->row[i]), 1);
    }
    return r;
}
static matrix transposed(matrix a) {
    float32x4x2_t p = vtrnq_f32(a.row[0], a.row[1]), q = vtrnq_f32(a.row[2], a.row[3]);
    matrix r = {{vcombine_f32(vget_low_f32(p.val[0]), vget_low_f32(q.val[0])),
                 vcombine_f32(vget_low_f32(p.val[1]), vget_low_f32(q.val[1])),
                 vcombine_f32(vget_high_f32(p.val[0]), vget_high_f32(q.val[0])),
                 vcombine_f32(vget_high_f32(p.val[1]), vget_high_f32(q.val[1]))}};
    return r;
}
static float dot(float32x4_t a, float32x4_t b) {
    float32x4_t p = vmulq_f32(a, b);
    float32x2_t s = vadd_f32(vget_low_f32(p), vget_high_f32(p));
    return vget_lane_f32(vpadd_f32(s, s), 0);
}
static void show(const char *what, float32x4_t v) {
    float f[4];
    vst1q_f32(f, v);
    printf("%s %a %a %a %a\n", what, f[0], f[1], f[2], f[3]);
}
int main(void) {
    matrix a, b;
    for (int i = 0; i < 4; i++)
        for (int j = 0; j < 4; j++) a.row[i][j] = (float)(i * 4 + j) / 8 - 1, b.row[i][j] = (float)(i == j) + (float)j * 0.25f;
    matrix c = times(&a, &b), t = transposed(c);
    for (int i = 0; i < 4; i++) show("c", c.row[i]), show("t", t.row[i]);
    printf("%a %a\n", dot(c.row[1], t.row[2]), dot(a.row[3], a.row[3]));
    float32x4_t d = {3, -0.5f, 1e10f, 7};
    float32x4_t r = vrecpeq_f32(d);
    show("estimate", r);
    r = vmulq_f32(r, vrecpsq_f32(d, r)), r = vmulq_f32(r, vrecpsq_f32(d, r));
    show("reciprocal", r);
    float32x4_t q = vrsqrteq_f32(vabsq_f32(d));
    show("root estimate", q);
    q = vmulq_f32(q, vrsqrtsq_f32(vmulq_f32(vabsq_f32(d), q), q));
    show("root", q);
    show("max", vmaxq_f32(d, vdupq_n_f32(2))), show("min", vminq_f32(vnegq_f32(d), d)), show("abd", vabdq_f32(d, r));
    int32x4_t whole = vcvtq_s32_f32(vmulq_n_f32(d, 1.75f)), fixed = vcvtq_n_s32_f32(d, 12);
    printf("%d %d %d %d | %d %d %d\n", whole[0], whole[1], whole[2], whole[3], fixed[0], fixed[1], fixed[2]);
    show("back", vcvtq_n_f32_s32(fixed, 10)), show("unsigned", vcvtq_f32_u32(vcvtq_u32_f32(d)));
    return 0;
}
