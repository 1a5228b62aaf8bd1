// math.h and complex.h: the host's functions, at the precision of the argument.
#include <cmath>
#include <complex>

#include "tools/exec/library.h"

namespace {

// clang-format off
#define ONE(f) \
    {#f, FN(from_f64(std::f(c.f64(0))))}, {#f "l", FN(from_f64(std::f(c.f64(0))))}, {#f "f", FN(from_f32(std::f(c.f32(0))))}
#define TWO(f) \
    {#f, FN(from_f64(std::f(c.f64(0), c.f64(1))))}, {#f "l", FN(from_f64(std::f(c.f64(0), c.f64(1))))}, \
    {#f "f", FN(from_f32(std::f(c.f32(0), c.f32(1))))}
#define CPX(f) \
    {"c" #f, FN(put_complex(c, std::f(get_complex(c, 0))))}, {"c" #f "f", FN(put_complex(c, std::f(get_complex(c, 0))))}, \
    {"c" #f "l", FN(put_complex(c, std::f(get_complex(c, 0))))}
// clang-format on

uint64_t do_modf(CALL_CONTEXT &c) {
    double whole, part = std::modf(c.f64(0), &whole);
    put_u64(c.u32(1), from_f64(whole));
    return from_f64(part);
}
uint64_t do_modff(CALL_CONTEXT &c) {
    float whole, part = std::modf(c.f32(0), &whole);
    put_u32(c.u32(1), uint32_t(from_f32(whole)));
    return from_f32(part);
}
uint64_t do_frexp(CALL_CONTEXT &c) {
    int e;
    double m = std::frexp(c.f64(0), &e);
    put_u32(c.u32(1), uint32_t(e));
    return from_f64(m);
}
uint64_t do_frexpf(CALL_CONTEXT &c) {
    int e;
    float m = std::frexp(c.f32(0), &e);
    put_u32(c.u32(1), uint32_t(e));
    return from_f32(m);
}
uint64_t do_remquo(CALL_CONTEXT &c) {
    int q;
    double r = std::remquo(c.f64(0), c.f64(1), &q);
    put_u32(c.u32(2), uint32_t(q));
    return from_f64(r);
}
// By squaring, as the compiler's run-time function does it.
template <class T> T power(T x, int n) {
    uint32_t left = n < 0 ? 0u - uint32_t(n) : uint32_t(n);
    T y = left & 1 ? x : 1;
    while (left >>= 1) {
        x *= x;
        if (left & 1) y *= x;
    }
    return n < 0 ? 1 / y : y;
}
uint64_t do_remquof(CALL_CONTEXT &c) {
    int q;
    float r = std::remquo(c.f32(0), c.f32(1), &q);
    put_u32(c.u32(2), uint32_t(q));
    return from_f32(r);
}
uint64_t do_lgamma_r(CALL_CONTEXT &c) {
    int sign;
    double v = lgamma_r(c.f64(0), &sign);
    put_u32(c.u32(1), uint32_t(sign));
    return from_f64(v);
}
uint64_t do_sincos(CALL_CONTEXT &c) {
    put_u64(c.u32(1), from_f64(std::sin(c.f64(0))));
    put_u64(c.u32(2), from_f64(std::cos(c.f64(0))));
    return 0;
}
uint64_t do_sincosf(CALL_CONTEXT &c) {
    put_u32(c.u32(1), uint32_t(from_f32(std::sin(c.f32(0)))));
    put_u32(c.u32(2), uint32_t(from_f32(std::cos(c.f32(0)))));
    return 0;
}
uint64_t clamp_long(double v) {
    return uint64_t(int64_t(v != v              ? 0
                            : v < -2147483648.0 ? INT32_MIN
                            : v > 2147483647.0  ? INT32_MAX
                                                : int32_t(v)));
}
bool is_single(CALL_CONTEXT &c) { return c.n && c.args[0].kind == SK_f32; }
double any(CALL_CONTEXT &c) { return c.f64(0); }
int sign_bit(CALL_CONTEXT &c) {
    return is_single(c) ? int(uint32_t(c.args[0].value) >> 31) : int(c.args[0].value >> 63);
}

// A complex argument lies in guest memory as two parts; the result goes back through the caller's frame.
std::complex<double> get_complex(CALL_CONTEXT &c, unsigned i) {
    uint32_t a = c.u32(i); // the caller's copy, outside every object
    if (c.args[i].type->size == 64)
        return {as_f32(load_scalar_checked(SK_u32, a)), as_f32(load_scalar_checked(SK_u32, a + 4))};
    return {as_f64(load_scalar_checked(SK_u64, a)), as_f64(load_scalar_checked(SK_u64, a + 8))};
}
uint64_t put_complex(CALL_CONTEXT &c, std::complex<double> z) {
    WIDE w;
    if (c.call && c.call->result_type && c.call->result_type->size == 64) {
        w.lo = from_f32(float(z.real())) | from_f32(float(z.imag())) << 32;
    } else w.lo = from_f64(z.real()), w.hi = from_f64(z.imag());
    c.frame->wide_result = w;
    return 0;
}

} // namespace

// clang-format off
const LIBRARY_ROW library_math[] = {
    ONE(acos),
    ONE(asin),
    ONE(atan),
    ONE(cosh),
    ONE(cos),
    ONE(exp),
    ONE(exp2),
    ONE(expm1),
    ONE(fabs),
    ONE(floor),
    ONE(ceil),
    ONE(log),
    ONE(log10),
    ONE(log2),
    ONE(log1p),
    ONE(sin),
    ONE(sinh),
    ONE(sqrt),
    ONE(tan),
    ONE(tanh),
    ONE(cbrt),
    ONE(trunc),
    ONE(round),
    ONE(rint),
    ONE(nearbyint),
    ONE(acosh),
    ONE(asinh),
    ONE(atanh),
    ONE(erf),
    ONE(erfc),
    ONE(tgamma),
    ONE(lgamma),
    ONE(logb),
    TWO(atan2),
    TWO(fmod),
    TWO(pow),
    TWO(hypot),
    TWO(copysign),
    TWO(fdim),
    TWO(fmax),
    TWO(fmin),
    TWO(nextafter),
    TWO(remainder),
    {"ldexp", FN(from_f64(std::ldexp(c.f64(0), c.i32(1))))},
    {"ldexpf", FN(from_f32(std::ldexp(c.f32(0), c.i32(1))))},
    {"scalbn", FN(from_f64(std::scalbn(c.f64(0), c.i32(1))))},
    {"scalbnf", FN(from_f32(std::scalbn(c.f32(0), c.i32(1))))},
    {"__builtin_powi", FN(from_f64(power(c.f64(0), c.i32(1))))},
    {"__builtin_powil", FN(from_f64(power(c.f64(0), c.i32(1))))},
    {"__builtin_powif", FN(from_f32(power(c.f32(0), c.i32(1))))},
    {"fma", FN(from_f64(std::fma(c.f64(0), c.f64(1), c.f64(2))))},
    {"fmaf", FN(from_f32(std::fma(c.f32(0), c.f32(1), c.f32(2))))},
    {"modf", do_modf},
    {"modff", do_modff},
    {"frexp", do_frexp},
    {"frexpf", do_frexpf},
    {"ilogb", FN(sx(std::ilogb(c.f64(0))))},
    {"ilogbl", FN(sx(std::ilogb(c.f64(0))))},
    {"ilogbf", FN(sx(std::ilogb(c.f32(0))))},
    {"lround", FN(clamp_long(std::round(c.f64(0))))},
    {"lroundf", FN(clamp_long(std::round(c.f64(0))))},
    {"lrint", FN(clamp_long(std::rint(c.f64(0))))},
    {"lrintf", FN(clamp_long(std::rint(c.f64(0))))},
    {"llround", FN(uint64_t(std::llround(c.f64(0))))},
    {"llrint", FN(uint64_t(std::llrint(c.f64(0))))},
    {"nan", FN(from_f64(std::nan("")))},
    {"nanl", FN(from_f64(std::nan("")))},
    {"ldexpl", FN(from_f64(std::ldexp(c.f64(0), c.i32(1))))},
    {"scalbnl", FN(from_f64(std::scalbn(c.f64(0), c.i32(1))))},
    {"scalblnl", FN(from_f64(std::scalbn(c.f64(0), c.i32(1))))},
    {"scalblnf", FN(from_f32(std::scalbn(c.f32(0), c.i32(1))))},
    {"scalb", FN(from_f64(std::scalbn(c.f64(0), int(c.f64(1)))))},
    {"significand", FN(from_f64(c.f64(0) == 0 || !std::isfinite(c.f64(0)) ? c.f64(0) : std::scalbn(c.f64(0), -std::ilogb(c.f64(0)))))},
    {"fmal", FN(from_f64(std::fma(c.f64(0), c.f64(1), c.f64(2))))},
    {"modfl", do_modf},
    {"frexpl", do_frexp},
    {"remquol", do_remquo},
    {"remquof", do_remquof},
    {"lrintl", FN(clamp_long(std::rint(c.f64(0))))},
    {"llrintl", FN(uint64_t(std::llrint(c.f64(0))))},
    {"llroundl", FN(uint64_t(std::llround(c.f64(0))))},
    {"nexttoward", FN(from_f64(std::nextafter(c.f64(0), c.f64(1))))},
    {"nexttowardl", FN(from_f64(std::nextafter(c.f64(0), c.f64(1))))},
    {"nexttowardf", FN(from_f32(std::nexttoward(c.f32(0), static_cast<long double>(c.f64(1)))))},
    {"lgamma_r", do_lgamma_r},
    {"gamma", FN(from_f64(std::lgamma(c.f64(0))))},
    {"sincos", do_sincos},
    {"sincosl", do_sincos},
    {"sincosf", do_sincosf},
    {"j0", FN(from_f64(j0(c.f64(0))))},
    {"j1", FN(from_f64(j1(c.f64(0))))},
    {"jn", FN(from_f64(jn(c.i32(0), c.f64(1))))},
    {"y0", FN(from_f64(y0(c.f64(0))))},
    {"y1", FN(from_f64(y1(c.f64(0))))},
    {"yn", FN(from_f64(yn(c.i32(0), c.f64(1))))},
    {"exp10f", FN(from_f32(exp10f(c.f32(0))))},
    {"exp10l", FN(from_f64(exp10(c.f64(0))))},
    {"pow10", FN(from_f64(exp10(c.f64(0))))},
    {"dremf", FN(from_f32(std::remainder(c.f32(0), c.f32(1))))},
    {"isnanf", FN(sx(std::isnan(any(c))))},
    {"isnanl", FN(sx(std::isnan(any(c))))},
    {"isinff", FN(sx(std::isinf(any(c)) ? (any(c) < 0 ? -1 : 1) : 0))},
    {"isinfl", FN(sx(std::isinf(any(c)) ? (any(c) < 0 ? -1 : 1) : 0))},
    {"finitef", FN(sx(std::isfinite(any(c))))},
    {"finitel", FN(sx(std::isfinite(any(c))))},
    {"signbit", FN(sx(sign_bit(c)))},
    {"signbitf", FN(sx(sign_bit(c)))},
    {"signbitl", FN(sx(sign_bit(c)))},
    {"__signbitl", FN(sx(sign_bit(c)))},
    {"__issignaling", FN((c.args[0].value >> 51 & 0xFFF) == 0xFFE && c.args[0].value << 13)},
    {"__issignalingf", FN((c.u32(0) >> 22 & 0x1FF) == 0x1FE && c.u32(0) << 10)},
    {"__fpclassifyl", FN(sx(std::fpclassify(any(c))))},
    {"cabsl", FN(from_f64(std::abs(get_complex(c, 0))))},
    {"cargl", FN(from_f64(std::arg(get_complex(c, 0))))},
    {"creall", FN(from_f64(get_complex(c, 0).real()))},
    {"cimagl", FN(from_f64(get_complex(c, 0).imag()))},
    {"conjl", FN(put_complex(c, std::conj(get_complex(c, 0))))},
    {"cpowl", FN(put_complex(c, std::pow(get_complex(c, 0), get_complex(c, 1))))},
    {"nanf", FN(from_f32(std::nanf("")))},
    {"isnan", FN(sx(std::isnan(any(c))))},
    {"__isnan", FN(sx(std::isnan(any(c))))},
    {"__isnanf", FN(sx(std::isnan(any(c))))},
    {"__isnanl", FN(sx(std::isnan(any(c))))},
    {"isinf", FN(sx(std::isinf(any(c)) ? (any(c) < 0 ? -1 : 1) : 0))},
    {"__isinf", FN(sx(std::isinf(any(c)) ? (any(c) < 0 ? -1 : 1) : 0))},
    {"__isinff", FN(sx(std::isinf(any(c)) ? (any(c) < 0 ? -1 : 1) : 0))},
    {"__isinfl", FN(sx(std::isinf(any(c)) ? (any(c) < 0 ? -1 : 1) : 0))},
    {"finite", FN(sx(std::isfinite(any(c))))},
    {"__finite", FN(sx(std::isfinite(any(c))))},
    {"__finitef", FN(sx(std::isfinite(any(c))))},
    {"__finitel", FN(sx(std::isfinite(any(c))))},
    {"__builtin_isinf", FN(sx(std::isinf(any(c))))},
    {"__builtin_isinf_sign", FN(sx(std::isinf(any(c)) ? (any(c) < 0 ? -1 : 1) : 0))},
    {"__builtin_isfinite", FN(sx(std::isfinite(any(c))))},
    {"__builtin_isnormal", FN(sx(is_single(c) ? std::isnormal(c.f32(0)) : std::isnormal(any(c))))},
    {"__builtin_signbit", FN(sx(sign_bit(c)))},
    {"__builtin_signbitf", FN(sx(sign_bit(c)))},
    {"__builtin_signbitl", FN(sx(sign_bit(c)))},
    {"__signbit", FN(sx(sign_bit(c)))},
    {"__signbitf", FN(sx(sign_bit(c)))},
    {"__fpclassify", FN(sx(std::fpclassify(any(c))))},
    {"__fpclassifyf", FN(sx(std::fpclassify(c.f32(0))))},
    CPX(exp), CPX(log), CPX(sqrt), CPX(sin), CPX(cos), CPX(tan), CPX(sinh), CPX(cosh), CPX(tanh),
    {"cabs", FN(from_f64(std::abs(get_complex(c, 0))))},
    {"cabsf", FN(from_f32(float(std::abs(get_complex(c, 0)))))},
    {"carg", FN(from_f64(std::arg(get_complex(c, 0))))},
    {"cargf", FN(from_f32(float(std::arg(get_complex(c, 0)))))},
    {"creal", FN(from_f64(get_complex(c, 0).real()))},
    {"crealf", FN(from_f32(float(get_complex(c, 0).real())))},
    {"cimag", FN(from_f64(get_complex(c, 0).imag()))},
    {"cimagf", FN(from_f32(float(get_complex(c, 0).imag())))},
    {"conj", FN(put_complex(c, std::conj(get_complex(c, 0))))},
    {"conjf", FN(put_complex(c, std::conj(get_complex(c, 0))))},
    {"remquo", do_remquo},
    {"lroundl", FN(clamp_long(std::round(c.f64(0))))},
    {"llroundf", FN(uint64_t(std::llround(c.f64(0))))},
    {"llrintf", FN(uint64_t(std::llrint(c.f64(0))))},
    {"scalbln", FN(from_f64(std::scalbn(c.f64(0), c.i32(1))))},
    {"drem", FN(from_f64(std::remainder(c.f64(0), c.f64(1))))},
    {"exp10", FN(from_f64(exp10(c.f64(0))))},
    CPX(asin), CPX(acos), CPX(atan), CPX(asinh), CPX(acosh), CPX(atanh), CPX(proj),
    {"cpowf", FN(put_complex(c, std::pow(get_complex(c, 0), get_complex(c, 1))))},
    {"cpow", FN(put_complex(c, std::pow(get_complex(c, 0), get_complex(c, 1))))},
    {nullptr, nullptr},
};
// clang-format on
