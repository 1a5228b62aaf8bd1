// Built-in functions on scalars that are not in the table of intrinsics (simd.cpp), by name. An unknown name is a fault of the run, told when its function is compiled.
#include <algorithm>
#include <cmath>

#include "tools/exec/compile.h"

namespace {

int64_t sat(int64_t v, int bits) {
    int64_t top = (int64_t(1) << (bits - 1)) - 1;
    return v > top ? top : v < -top - 1 ? -top - 1 : v;
}

#define FN [](const uint64_t *a, const TYPE *const *, const TYPE *) -> uint64_t

struct ROW {
    const char *name;
    INTRINSIC fn;
};

uint64_t signed_min(const uint64_t *a, const TYPE *const *, const TYPE *) {
    return uint64_t(std::min(int64_t(a[0]), int64_t(a[1])));
}
uint64_t signed_max(const uint64_t *a, const TYPE *const *, const TYPE *) {
    return uint64_t(std::max(int64_t(a[0]), int64_t(a[1])));
}
uint64_t unsigned_min(const uint64_t *a, const TYPE *const *, const TYPE *) { return std::min(a[0], a[1]); }
uint64_t unsigned_max(const uint64_t *a, const TYPE *const *, const TYPE *) { return std::max(a[0], a[1]); }
uint64_t dmin(const uint64_t *a, const TYPE *const *, const TYPE *) {
    return as_f64(a[0]) < as_f64(a[1]) ? a[0] : a[1];
}
uint64_t dmax(const uint64_t *a, const TYPE *const *, const TYPE *) {
    return as_f64(a[0]) > as_f64(a[1]) ? a[0] : a[1];
}
uint64_t fmin2(const uint64_t *a, const TYPE *const *, const TYPE *) {
    return as_f32(a[0]) < as_f32(a[1]) ? a[0] : a[1];
}
uint64_t fmax2(const uint64_t *a, const TYPE *const *, const TYPE *) {
    return as_f32(a[0]) > as_f32(a[1]) ? a[0] : a[1];
}
uint64_t nothing(const uint64_t *, const TYPE *const *, const TYPE *) { return 0; }

// clang-format off
const ROW rows[] = {
    {"MIN", signed_min},   {"LMIN", signed_min},   {"LLMIN", signed_min},
    {"MINU", unsigned_min}, {"LMINU", unsigned_min}, {"LLMINU", unsigned_min},
    {"MAX", signed_max},   {"LMAX", signed_max},   {"LLMAX", signed_max},
    {"MAXU", unsigned_max}, {"LMAXU", unsigned_max}, {"LLMAXU", unsigned_max},
    {"FMIN", fmin2}, {"FMAX", fmax2}, {"DMIN", dmin}, {"DMAX", dmax}, {"LDMIN", dmin}, {"LDMAX", dmax},
    {"ETSI_ADD", FN { return uint64_t(sat(int16_t(a[0]) + int16_t(a[1]), 16)); }},
    {"ETSI_SUB", FN { return uint64_t(sat(int16_t(a[0]) - int16_t(a[1]), 16)); }},
    {"ETSI_ABS_S", FN { return uint64_t(sat(std::abs(int64_t(int16_t(a[0]))), 16)); }},
    {"ETSI_L_ABS", FN { return uint64_t(sat(std::abs(int64_t(int32_t(a[0]))), 32)); }},
    {"ETSI_L_ADD", FN { return uint64_t(sat(int64_t(int32_t(a[0])) + int32_t(a[1]), 32)); }},
    {"ETSI_L_SUB", FN { return uint64_t(sat(int64_t(int32_t(a[0])) - int32_t(a[1]), 32)); }},
    {"ETSI_MULT", FN { return uint64_t(sat(int64_t(int16_t(a[0])) * int16_t(a[1]) >> 15, 16)); }},
    {"ETSI_L_MULT", FN { return uint64_t(sat(int64_t(int16_t(a[0])) * int16_t(a[1]) * 2, 32)); }},
    {"ETSI_NEGATE", FN { return uint64_t(sat(-int64_t(int16_t(a[0])), 16)); }},
    {"ETSI_L_NEGATE", FN { return uint64_t(sat(-int64_t(int32_t(a[0])), 32)); }},
    {"BARRIER", nothing}, {"_dmb", nothing}, {"_dsb", nothing}, {"_isb", nothing},
};
// clang-format on

} // namespace

INTRINSIC find_intrinsic(const std::string &name) {
    static const std::unordered_map<std::string, INTRINSIC> table = [] {
        std::unordered_map<std::string, INTRINSIC> t;
        for (const ROW &r : rows) t[r.name] = r.fn;
        return t;
    }();
    auto it = table.find(name);
    return it == table.end() ? nullptr : it->second;
}
