// Every operator on every pair of integer types: the types that C gives the results, and the values after conversion back.
#include <stdint.h>
#include <stdio.h>

static uint32_t h = 2166136261u;
static void mix(uint64_t v) {
    for (int i = 0; i < 8; i++, v >>= 8) h = (h ^ (uint32_t)(v & 255)) * 16777619u;
}
#define OPS(A, B) \
    static void A##_##B(void) { \
        static const int64_t as[] = {0, 1, -1, 77, 127, -128, 200, 32767, 65535, -40000, 2147483647, -2147483648ll, 4000000000ll}; \
        for (int i = 0; i < 13; i++) \
            for (int j = 0; j < 13; j += 2) { \
                A a = (A)as[i], keep = a; \
                B b = (B)as[j]; \
                mix((uint64_t)(a & b)), mix((uint64_t)(a | b)), mix((uint64_t)(a ^ b)), mix((uint64_t)~a), mix((uint64_t)!b); \
                mix((uint64_t)(a < b) | (uint64_t)(a <= b) << 1 | (uint64_t)(a == b) << 2 | (uint64_t)(a > b) << 3 | (uint64_t)(a != b) << 4); \
                mix((uint64_t)(int64_t)((uint64_t)a + (uint64_t)b)), mix((uint64_t)((uint64_t)a * (uint64_t)b)); \
                if (b && !((int64_t)b == -1)) mix((uint64_t)(a / b)), mix((uint64_t)(a % b)), keep /= b, keep %= 7; \
                mix((uint64_t)((uint64_t)a >> (j & 7))), keep += 3, keep ^= b, keep = (A)(keep & 0x3f), keep <<= 1, keep |= (A)(i & 1); \
                mix((uint64_t)keep), mix((uint64_t)(A)b), mix((uint64_t)(i & 1 ? a : b)), mix(sizeof(a + b)), mix((uint64_t)(a && b)); \
                keep = a, keep++, mix((uint64_t)keep), mix((uint64_t)(keep-- == a)); \
            } \
    }
#define ROW(A) OPS(A, int8_t) OPS(A, uint8_t) OPS(A, int16_t) OPS(A, uint16_t) OPS(A, uint32_t) OPS(A, int64_t) OPS(A, uint64_t)
ROW(int8_t) ROW(uint8_t) ROW(int16_t) ROW(uint16_t) ROW(uint32_t) ROW(uint64_t)
#define CALL(A) A##_int8_t(), A##_uint8_t(), A##_int16_t(), A##_uint16_t(), A##_uint32_t(), A##_int64_t(), A##_uint64_t(), printf(#A " %08x\n", h);
int main(void) {
    CALL(int8_t) CALL(uint8_t) CALL(int16_t) CALL(uint16_t) CALL(uint32_t) CALL(uint64_t)
    return 0;
}
