// arm_acle.h: two halves and four bytes of a word at once, products of halves, saturation to any width.
// options: -mfpu=neon -march=armv7-a
// host: no
#include <arm_acle.h>
#include <stdint.h>
#include <stdio.h>

static const uint32_t values[] = {0, 1, 0x7FFF8000, 0x80007FFF, 0xFFFF0001, 0x12345678, 0x80808080, 0x7F00FF01};
#define N (int)(sizeof values / sizeof *values)
static int32_t dot(const int16_t *a, const int16_t *b, int n) {
    int32_t sum = 0;
    for (int i = 0; i < n; i += 2) sum = __smlad(*(const int32_t *)(a + i), *(const int32_t *)(b + i), sum);
    return sum;
}
int main(void) {
    for (int i = 0; i < N; i++)
        for (int k = 0; k < N; k += 1 + i % 2) {
            uint32_t a = values[i], b = values[k];
            printf("%08x %08x:", a, b);
#define SHOW(f) printf(" %08x", (unsigned)(f))
            SHOW(__sadd16(a, b)), SHOW(__ssub16(a, b)), SHOW(__qadd16(a, b)), SHOW(__qsub16(a, b)), SHOW(__shadd16(a, b));
            SHOW(__uqadd8(a, b)), SHOW(__uqsub8(a, b)), SHOW(__uhadd8(a, b)), SHOW(__qadd8(a, b)), SHOW(__shsub8(a, b));
            SHOW(__sasx(a, b)), SHOW(__qsax(a, b)), SHOW(__uhasx(a, b)), SHOW(__uadd16(a, b)), SHOW(__usad8(a, b)), SHOW(__usada8(a, b, 7));
            SHOW(__smuad(a, b)), SHOW(__smuadx(a, b)), SHOW(__smusd(a, b)), SHOW(__smlad(a, b, 5)), SHOW(__smlsdx(a, b, -5));
            SHOW(__qadd(a, b)), SHOW(__qsub(a, b)), SHOW(__qdbl(a)),
            SHOW(__smlabt(a, b, 9)), SHOW(__smlawb(a, b, 9)), SHOW(__sxtb16(a)), SHOW(__uxtab16(a, b));
            printf(" %llx %llx\n", (long long)__smlald(a, b, 1ll << 33), (long long)__smlsldx(a, b, -7));
            SHOW(__ssat((int)a, 9)), SHOW(__usat((int)a, 12)), SHOW(__ssat16(a, 5)), SHOW(__usat16(b, 6));
            putchar('\n');
        }
    SHOW(__qadd(0x7fffffff, 5)), SHOW(__ssat(300, 8)), SHOW(__usat(-5, 4)), SHOW(__smuad(0x10002, -3)), SHOW(__sxtb16(0x8180));
    putchar('\n');
    int16_t x[16], y[16];
    for (int i = 0; i < 16; i++) x[i] = (int16_t)(i * 991 - 5000), y[i] = (int16_t)(7000 - i * 777);
    printf("%d\n", dot(x, y, 16));
    return 0;
}
