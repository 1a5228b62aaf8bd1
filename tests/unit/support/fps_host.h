// Ways between software floats and the host's, bit for bit, for tests that compare the two.
#ifndef TESTS_UNIT_SUPPORT_FPS_HOST_H
#define TESTS_UNIT_SUPPORT_FPS_HOST_H

#include "support/fps_arith.h"

#include <bit>
#include <random>

inline uint64_t bits_of(double v) { return std::bit_cast<uint64_t>(v); }
inline uint32_t bits_of(float v) { return std::bit_cast<uint32_t>(v); }

inline simul_fval from_host(double v) {
    trg_fval t = {{static_cast<uint32_t>(bits_of(v) >> 32), static_cast<uint32_t>(bits_of(v))}};
    simul_fval a;
    f_cvt_ttos(&t, &a, 1);
    return a;
}

inline simul_fval from_host(float v) {
    trg_fval t = {{bits_of(v), 0}};
    simul_fval a;
    f_cvt_ttos(&t, &a, 0);
    return a;
}

inline double to_double(const simul_fval &a) {
    trg_fval t;
    f_cvt_stot(&a, &t, 1);
    return std::bit_cast<double>(uint64_t{t.word[0]} << 32 | t.word[1]);
}

inline float to_single(const simul_fval &a) {
    trg_fval t;
    f_cvt_stot(&a, &t, 0);
    return std::bit_cast<float>(t.word[0]);
}

// Random finite doubles of every kind: any exponent, near 1, within [1, 2), few significant bits,
// subnormal.
inline double random_double(std::mt19937_64 &random, int kind) {
    uint64_t fraction = random() & ((uint64_t{1} << 52) - 1);
    uint64_t exponent = 1023;
    if (kind == 0) exponent = random() % 2047;
    if (kind == 1) exponent += random() % 41 - 20;
    if (kind == 3) exponent += random() % 121 - 60, fraction &= ~uint64_t{0} << random() % 52;
    if (kind == 4) exponent = 0, fraction >>= random() % 52;
    return std::bit_cast<double>((random() & 1) << 63 | exponent << 52 | fraction);
}

inline float random_single(std::mt19937_64 &random, int kind) {
    uint32_t fraction = random() & ((1u << 23) - 1), exponent = 127;
    if (kind == 0) exponent = random() % 255;
    if (kind == 1) exponent += static_cast<uint32_t>(random() % 25) - 12;
    if (kind == 3) exponent += static_cast<uint32_t>(random() % 61) - 30, fraction &= ~0u << random() % 23;
    if (kind == 4) exponent = 0, fraction >>= random() % 23;
    return std::bit_cast<float>(static_cast<uint32_t>(random() & 1) << 31 | exponent << 23 | fraction);
}

// A working-form number from words that make carries likely, with an exponent up to `reach` words from 0.
inline simul_fval random_working_form(std::mt19937_64 &random, int reach) {
    static const uint16_t telling[] = {0, 1, 2, 0x7FFF, 0x8000, 0x8001, 0xFFFE, 0xFFFF};
    simul_fval a;
    for (uint16_t &word : a.mantissa) word = random() & 1 ? random() : telling[random() % 8];
    if (a.mantissa[0] == 0) a.mantissa[0] = 1;
    a.exponent = 16 * (static_cast<int>(random() % (2 * reach + 1)) - reach);
    a.sign = random() & 1;
    return a;
}

#endif
