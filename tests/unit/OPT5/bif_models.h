// Plain models in C of what the built-in operations compute, for tests: each takes its operands as 64-bit numbers.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

// --- models: what the operations are defined to compute, on operands as they come ---

inline int64_t clamped(int64_t v, int64_t low, int64_t high) { return v < low ? low : v > high ? high : v; }
inline int64_t sat16(int64_t v) { return clamped(v, INT16_MIN, INT16_MAX); }
inline int64_t sat32(int64_t v) { return clamped(v, INT32_MIN, INT32_MAX); }
inline int64_t floor_shift(int64_t v, int64_t n) {
    return n > 62 ? (v < 0 ? -1 : 0) : v >= 0 ? v >> n : ~(~v >> n);
}
// To the left for positive counts, saturating at each place as the codecs' reference does.
inline int64_t etsi_left(int64_t v, int64_t n, int64_t (*saturate)(int64_t)) {
    if (n < 0) return floor_shift(v, -n);
    for (; n > 0 && v != 0 && saturate(2 * v) == 2 * v; n--) v *= 2;
    return n > 0 && v != 0 ? saturate(2 * v) : v;
}
inline int64_t etsi_right_rounded(int64_t v, int64_t n, int64_t (*saturate)(int64_t), int bits) {
    if (n < 0) return etsi_left(v, -n, saturate);
    if (n >= bits) return 0;
    return n == 0 ? v : floor_shift(v, n) + (floor_shift(v, n - 1) & 1);
}
inline int64_t l_mult(int64_t a, int64_t b) { return sat32(a * b * 2); }
inline int64_t etsi_rounded(int64_t v) { return floor_shift(sat32(v + 0x8000), 16); }
inline int64_t norm(int64_t v, int bits) {
    if (v == 0) return 0;
    if (v < 0) v = ~v;
    int64_t n = 0;
    for (; n < bits - 1 && v < int64_t{1} << (bits - 2); n++) v *= 2;
    return n;
}
inline int64_t bottom(int64_t v) { return int16_t(v); }
inline int64_t top_half(int64_t v) { return int16_t(uint32_t(v) >> 16); }
inline int64_t s16(int64_t v) { return int16_t(v); }
inline int64_t s32(int64_t v) { return int32_t(v); }
inline int64_t u32(int64_t v) { return uint32_t(v); }
inline bool less_unsigned(int64_t a, int64_t b) { return uint64_t(a) < uint64_t(b); }

struct MODEL {
    const char *name;
    int64_t (*f)(const int64_t *);
};

// clang-format off
inline const MODEL models[] = {
    {"MIN",    [](const int64_t *o) { return std::min(s32(o[0]), s32(o[1])); }},
    {"LMIN",   [](const int64_t *o) { return std::min(s32(o[0]), s32(o[1])); }},
    {"LLMIN",  [](const int64_t *o) { return std::min(o[0], o[1]); }},
    {"MINU",   [](const int64_t *o) { return std::min(u32(o[0]), u32(o[1])); }},
    {"LMINU",  [](const int64_t *o) { return std::min(u32(o[0]), u32(o[1])); }},
    {"LLMINU", [](const int64_t *o) { return less_unsigned(o[1], o[0]) ? o[1] : o[0]; }},
    {"MAX",    [](const int64_t *o) { return std::max(s32(o[0]), s32(o[1])); }},
    {"LMAX",   [](const int64_t *o) { return std::max(s32(o[0]), s32(o[1])); }},
    {"LLMAX",  [](const int64_t *o) { return std::max(o[0], o[1]); }},
    {"MAXU",   [](const int64_t *o) { return std::max(u32(o[0]), u32(o[1])); }},
    {"LMAXU",  [](const int64_t *o) { return std::max(u32(o[0]), u32(o[1])); }},
    {"LLMAXU", [](const int64_t *o) { return less_unsigned(o[0], o[1]) ? o[1] : o[0]; }},
    {"ETSI_ABS_S",       [](const int64_t *o) { return sat16(std::abs(s16(o[0]))); }},
    {"ETSI_L_ABS",       [](const int64_t *o) { return sat32(std::abs(s32(o[0]))); }},
    {"ETSI_ADD",         [](const int64_t *o) { return sat16(s16(o[0]) + s16(o[1])); }},
    {"ETSI_SUB",         [](const int64_t *o) { return sat16(s16(o[0]) - s16(o[1])); }},
    {"ETSI_NEGATE",      [](const int64_t *o) { return sat16(-s16(o[0])); }},
    {"ETSI_MULT",        [](const int64_t *o) { return sat16(floor_shift(s16(o[0]) * s16(o[1]), 15)); }},
    {"ETSI_MULT_R",      [](const int64_t *o) { return sat16(floor_shift(s16(o[0]) * s16(o[1]) + 0x4000, 15)); }},
    {"ETSI_SHL",         [](const int64_t *o) { return etsi_left(s16(o[0]), s16(o[1]), sat16); }},
    {"ETSI_SHR",         [](const int64_t *o) { return etsi_left(s16(o[0]), -s16(o[1]), sat16); }},
    {"ETSI_SHR_R",       [](const int64_t *o) { return etsi_right_rounded(s16(o[0]), s16(o[1]), sat16, 16); }},
    {"ETSI_SHIFT_R",     [](const int64_t *o) { return etsi_right_rounded(s16(o[0]), -s16(o[1]), sat16, 16); }},
    {"ETSI_EXTRACT_H",   [](const int64_t *o) { return top_half(o[0]); }},
    {"ETSI_EXTRACT_L",   [](const int64_t *o) { return bottom(o[0]); }},
    {"ETSI_ROUND",       [](const int64_t *o) { return etsi_rounded(s32(o[0])); }},
    {"ETSI_NORM_S",      [](const int64_t *o) { return norm(s16(o[0]), 16); }},
    {"ETSI_NORM_L",      [](const int64_t *o) { return norm(s32(o[0]), 32); }},
    {"ETSI_L_ADD",       [](const int64_t *o) { return sat32(s32(o[0]) + s32(o[1])); }},
    {"ETSI_L_SUB",       [](const int64_t *o) { return sat32(s32(o[0]) - s32(o[1])); }},
    {"ETSI_L_NEGATE",    [](const int64_t *o) { return sat32(-s32(o[0])); }},
    {"ETSI_L_MULT",      [](const int64_t *o) { return l_mult(s16(o[0]), s16(o[1])); }},
    {"ETSI_L_MAC",       [](const int64_t *o) { return sat32(s32(o[0]) + l_mult(s16(o[1]), s16(o[2]))); }},
    {"ETSI_L_MSU",       [](const int64_t *o) { return sat32(s32(o[0]) - l_mult(s16(o[1]), s16(o[2]))); }},
    {"ETSI_MAC_R",       [](const int64_t *o) { return etsi_rounded(sat32(s32(o[0]) + l_mult(s16(o[1]), s16(o[2])))); }},
    {"ETSI_MSU_R",       [](const int64_t *o) { return etsi_rounded(sat32(s32(o[0]) - l_mult(s16(o[1]), s16(o[2])))); }},
    {"ETSI_L_DEPOSIT_H", [](const int64_t *o) { return s16(o[0]) * 65536; }},
    {"ETSI_L_DEPOSIT_L", [](const int64_t *o) { return s16(o[0]); }},
    {"ETSI_L_SHL",       [](const int64_t *o) { return etsi_left(s32(o[0]), s16(o[1]), sat32); }},
    {"ETSI_L_SHR",       [](const int64_t *o) { return etsi_left(s32(o[0]), -s16(o[1]), sat32); }},
    {"ETSI_L_SHR_R",     [](const int64_t *o) { return etsi_right_rounded(s32(o[0]), s16(o[1]), sat32, 32); }},
    {"ETSI_L_SHIFT_R",   [](const int64_t *o) { return etsi_right_rounded(s32(o[0]), -s16(o[1]), sat32, 32); }},
    {"_smulbb", [](const int64_t *o) { return bottom(o[0]) * bottom(o[1]); }},
    {"_smulbt", [](const int64_t *o) { return bottom(o[0]) * top_half(o[1]); }},
    {"_smultb", [](const int64_t *o) { return top_half(o[0]) * bottom(o[1]); }},
    {"_smultt", [](const int64_t *o) { return top_half(o[0]) * top_half(o[1]); }},
    {"_smlabb", [](const int64_t *o) { return s32(bottom(o[0]) * bottom(o[1]) + o[2]); }},
    {"_smlabt", [](const int64_t *o) { return s32(bottom(o[0]) * top_half(o[1]) + o[2]); }},
    {"_smlatb", [](const int64_t *o) { return s32(top_half(o[0]) * bottom(o[1]) + o[2]); }},
    {"_smlatt", [](const int64_t *o) { return s32(top_half(o[0]) * top_half(o[1]) + o[2]); }},
    {"_smull",  [](const int64_t *o) { return s32(o[0]) * s32(o[1]); }},
    {"_umull",  [](const int64_t *o) { return int64_t(uint64_t(u32(o[0])) * uint64_t(u32(o[1]))); }},
    {"quest$colon",      [](const int64_t *o) { return o[0] ? o[1] : o[2]; }},
    {"__builtin_expect", [](const int64_t *o) { return s32(o[0]); }},
    {"DONOTCSE",         [](const int64_t *o) { return o[0]; }},
};
// clang-format on

inline const MODEL *find_model(const char *name) {
    for (const MODEL &m : models)
        if (strcmp(m.name, name) == 0) return &m;
    return nullptr;
}
