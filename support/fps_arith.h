// Software floating point: the floating constants of the compiled program.
//
// The host's floating unit never computes a constant of the program. A simul_fval is a binary number with a
// mantissa of six 16-bit words behind the radix point, most significant first:
//
//     (W0/2^16 + W1/2^32 + ... + W5/2^96) * 2^exponent,  negated if sign is 1
//
// In the working form, which every operation expects and gives, the exponent of a finite nonzero number is a
// multiple of 16 and W0 is not 0, so a value has 81 to 96 significant bits, and the arithmetic moves whole
// words only. 1 is W0 = 1, exponent 16; 0.5 is W0 = 0x8000, exponent 0. Left-justified numbers (top bit of
// W0 set, any exponent) exist only on the way to a target format or an integer. The exponent alone tells
// the special values: 32767 with W0 = 0 is an infinity, with W0 nonzero a NaN; -32767 is a zero.
//
// Results are cut, not rounded, to whole words and keep 81 bits or more: the words above the first set bit go
// before the low end is cut, else a product of two numbers just above a power of 65536 would keep only 65.
// Roots have about 76 right bits. A conversion to the target then rounds once, to nearest, ties to even. For
// operands that are singles +, -, * and / so give the correctly rounded single. For doubles the result can be
// one in the last place too near to zero, when the exact one lies above a tie by less than the cut: a chance of
// 2^-28 for random operands.
//
// Operations take operands by pointer and write through the last one, which may be an operand. They return 0,
// or -1 when they raised a bit of fp_error; a NaN operand of the arithmetic passes through without a flag.

#ifndef SUPPORT_FPS_ARITH_H
#define SUPPORT_FPS_ARITH_H

#include <cstdint>

struct simul_fval {
    uint16_t mantissa[6];
    int32_t exponent;
    uint8_t sign; // 1 for negative
};

// A target value. Of a double, word[0] holds sign, exponent and the top 20 fraction bits and word[1] the
// rest, whatever the host's byte order; a single is word[0] alone.
struct trg_fval {
    uint32_t word[2];
};

// Exception bits. Operations merge theirs in (the conversions to the target assign); whoever wants to read
// the word clears it first.
enum FP_ERROR : unsigned {
    FP_INVALID = 1, // also any comparison with a NaN
    FP_DIVIDE_BY_ZERO = 2,
    FP_OVERFLOW = 4,
    FP_UNDERFLOW = 8,
};
extern unsigned fp_error;

inline constexpr int FPS_EXPONENT_INFINITE = 32767; // of infinities and NaNs
inline constexpr int FPS_EXPONENT_ZERO = -32767;
inline constexpr int FPS_EXPONENT_MAX = 32766; // of finite numbers

inline constexpr simul_fval pos_zero = {{0}, FPS_EXPONENT_ZERO, 0};
inline constexpr simul_fval neg_zero = {{0}, FPS_EXPONENT_ZERO, 1};
inline constexpr simul_fval pos_infin = {{0}, FPS_EXPONENT_INFINITE, 0};
inline constexpr simul_fval neg_infin = {{0}, FPS_EXPONENT_INFINITE, 1};
inline constexpr simul_fval a_nan = {{1}, FPS_EXPONENT_INFINITE, 0};
inline constexpr simul_fval one = {{1}, 16, 0};
inline constexpr simul_fval two = {{2}, 16, 0};
inline constexpr simul_fval one_half = {{0x8000}, 0, 0};
inline constexpr simul_fval one_p_five = {{1, 0x8000}, 16, 0};
inline constexpr simul_fval three_q = {{0xC000}, 0, 0};
inline constexpr simul_fval const_ten = {{10}, 16, 0};
inline constexpr simul_fval const_sixteen = {{16}, 16, 0};
// clang-format off
inline constexpr simul_fval const_dig[16] = {
    pos_zero,      {{1}, 16, 0},  {{2}, 16, 0},  {{3}, 16, 0},  {{4}, 16, 0},  {{5}, 16, 0},
    {{6}, 16, 0},  {{7}, 16, 0},  {{8}, 16, 0},  {{9}, 16, 0},  {{10}, 16, 0}, {{11}, 16, 0},
    {{12}, 16, 0}, {{13}, 16, 0}, {{14}, 16, 0}, {{15}, 16, 0},
};
// clang-format on

constexpr bool f_is_nan(const simul_fval *a) {
    return a->exponent == FPS_EXPONENT_INFINITE && a->mantissa[0];
}
constexpr bool f_is_infinite(const simul_fval *a) {
    return a->exponent == FPS_EXPONENT_INFINITE && !a->mantissa[0];
}
constexpr bool f_is_zero(const simul_fval *a) { return a->exponent == FPS_EXPONENT_ZERO; }
constexpr bool f_is_special(const simul_fval *a) {
    return a->exponent == FPS_EXPONENT_INFINITE || a->exponent == FPS_EXPONENT_ZERO;
}

// r = a + b, a - b, a * b, a / b. A result too great is an infinity with FP_OVERFLOW, one too small a signed
// zero with FP_UNDERFLOW; inf - inf, 0 * inf, 0 / 0 and inf / inf are a_nan with FP_INVALID; x / 0 is an
// infinity with FP_DIVIDE_BY_ZERO. x + (-x) is positive zero.
int f_add(const simul_fval *a, const simul_fval *b, simul_fval *r);
int f_sub(const simul_fval *a, const simul_fval *b, simul_fval *r);
int f_mul(const simul_fval *a, const simul_fval *b, simul_fval *r);
int f_div(const simul_fval *a, const simul_fval *b, simul_fval *r);

// r = the square root of a. A zero gives itself; a negative number gives pos_zero with FP_INVALID; an
// infinity or a NaN comes back with FP_OVERFLOW (a NaN also FP_INVALID) and is not to be used.
int f_sqrt(const simul_fval *a, simul_fval *r);

// Sign changed, raising nothing: f_neg leaves a NaN as it is, f_abs clears the sign of anything. Both return 0.
int f_neg(const simul_fval *a, simul_fval *r);
int f_abs(const simul_fval *a, simul_fval *r);

// 1 or 0. A NaN raises FP_INVALID and makes f_ne 1 and every other 0. Zeros of either sign are equal.
int f_eq(const simul_fval *a, const simul_fval *b);
int f_ne(const simul_fval *a, const simul_fval *b);
int f_lt(const simul_fval *a, const simul_fval *b);
int f_le(const simul_fval *a, const simul_fval *b);
int f_gt(const simul_fval *a, const simul_fval *b);
int f_ge(const simul_fval *a, const simul_fval *b);

// 1 if the two are the same datum, raising nothing. Zeros, infinities and NaNs of one sign are the same datum
// whatever their mantissa.
int f_bit_eq(const simul_fval *a, const simul_fval *b);

// r = a * 2^n, for any n. Beyond the range of exponents as for f_mul.
int f_ldexp(const simul_fval *a, int n, simul_fval *r);

// a = r * 2^e with 0.5 <= |r| < 1, exactly. A zero, an infinity or a NaN comes back with *e = 0. Returns 0.
int f_frexp(const simul_fval *a, int *e, simul_fval *r);

// Integer to value, exactly. Returns 0.
int f_itof(long long v, simul_fval *r);

// Value to integer, cut toward zero. A magnitude of 2^63 or more, an infinity and a NaN give 2^63 - 1 or its
// negative by the sign. Raises nothing and returns 0: a caller to whom range matters compares first.
int f_ftoi(const simul_fval *a, long long *v);

// From the target's format (kind 0 single, else double), exactly; a NaN becomes a_nan. Returns 0.
int f_cvt_ttos(const trg_fval *t, simul_fval *a, int kind);

// To the target's format, rounded to nearest, ties to even; gradual underflow. word[1] of a single is 0.
// Returns 1 with fp_error = FP_UNDERFLOW if a nonzero number became zero, with FP_OVERFLOW if a finite one
// became infinite (the word is assigned), else 0. A NaN becomes the quiet one of its sign.
int f_cvt_stot(const simul_fval *a, trg_fval *t, int kind);

// Brings a to left-justified form in place. Returns 0; -1 with FP_UNDERFLOW and a signed zero when the
// exponent would fall below the range. A finite datum without a mantissa ends the program with status 1.
int f_left_justify(simul_fval *a);

// Brings a back to the working form in place; bits that fall off the end are lost. Returns 0; -1 and a signed
// infinity, with fp_error assigned FP_OVERFLOW, when the exponent would pass the range.
int f_align_radix_pt(simul_fval *a);

// The common last step of the arithmetic, on a work buffer of `count` words (8 or more): a guard word that
// holds what carried out of the top, then the mantissa words, of which six are kept. Words 1 to 6 and
// *exponent are the result in working form, not yet checked for range; all zero with exponent 0 if nothing
// is left. Leading zero words are shifted out first; then low words are cut, except that a nonzero guard word
// pushes out one word, whose top bit rounds.
void f_normalize(uint16_t *words, int *exponent, int count);

#endif
