#include "support/fps_arith.h"

#include "support/fatal.h"

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>

unsigned fp_error = 0;

namespace {

constexpr int WORDS = 6;          // of a mantissa
constexpr int BUFFER = 2 * WORDS; // words of a work buffer behind the guard word
// Operands further apart than this many words leave the greater one as the sum.
constexpr int ADD_REACH = 8;

uint64_t top_64_bits(const simul_fval *a) {
    const uint16_t *w = a->mantissa;
    return uint64_t{w[0]} << 48 | uint64_t{w[1]} << 32 | uint64_t{w[2]} << 16 | w[3];
}

void set_top_64_bits(simul_fval *a, uint64_t bits) {
    for (int i = 0; i < WORDS; i++) a->mantissa[i] = i < 4 ? static_cast<uint16_t>(bits >> (48 - 16 * i)) : 0;
}

// Moves the mantissa by bits, positive toward W0; what falls off either end is lost.
void shift_mantissa(simul_fval *a, int bits) {
    using WIDE = unsigned __int128;
    WIDE all = WIDE{top_64_bits(a)} << 64 | WIDE{a->mantissa[4]} << 48 | WIDE{a->mantissa[5]} << 32;
    all = bits >= 0 ? all << bits : all >> -bits;
    for (int i = 0; i < WORDS; i++) a->mantissa[i] = static_cast<uint16_t>(all >> (112 - 16 * i));
}

// Bits above the mantissa's highest set bit. A finite number always has one among its first five words, all
// that the working form and the target formats can put there.
int leading_zeros(const simul_fval *a) {
    for (int i = 0; i < WORDS - 1; i++)
        if (a->mantissa[i]) return 16 * i + std::countl_zero(a->mantissa[i]);
    fputs(">>>Internal Error: Illegal float representation!\n", stderr);
    exit(1);
}

int give(const simul_fval &value, simul_fval *r) {
    *r = value;
    return 0;
}

int raise(unsigned error, const simul_fval &value, simul_fval *r) {
    fp_error |= error;
    *r = value;
    return -1;
}

const simul_fval &signed_zero(bool negative) { return negative ? neg_zero : pos_zero; }
const simul_fval &signed_infin(bool negative) { return negative ? neg_infin : pos_infin; }

// Finite nonzero mantissa words and their exponent become a value, or what stands for one out of range.
int give_in_range(const uint16_t *mantissa, int exponent, uint8_t sign, simul_fval *r) {
    if (exponent < FPS_EXPONENT_ZERO) return raise(FP_UNDERFLOW, signed_zero(sign), r);
    if (exponent > FPS_EXPONENT_MAX) return raise(FP_OVERFLOW, signed_infin(sign), r);
    memmove(r->mantissa, mantissa, sizeof r->mantissa);
    r->exponent = exponent;
    r->sign = sign;
    return 0;
}

// The order of magnitudes of two numbers that are no NaNs: negative, 0 or positive.
int compare_magnitudes(const simul_fval *a, const simul_fval *b) {
    if (a->exponent != b->exponent) return a->exponent < b->exponent ? -1 : 1;
    if (f_is_special(a)) return 0;
    for (int i = 0; i < WORDS; i++)
        if (a->mantissa[i] != b->mantissa[i]) return a->mantissa[i] < b->mantissa[i] ? -1 : 1;
    return 0;
}

// The order of two values; `unordered`, with the invalid bit, if one is a NaN.
enum ORDER { less, equal, greater, unordered };
ORDER compare(const simul_fval *a, const simul_fval *b) {
    if (f_is_nan(a) || f_is_nan(b)) {
        fp_error |= FP_INVALID;
        return unordered;
    }
    if (f_is_zero(a) && f_is_zero(b)) return equal;
    if (a->sign != b->sign) return a->sign ? less : greater;
    int order = compare_magnitudes(a, b);
    if (order == 0) return equal;
    return (order < 0) != (a->sign != 0) ? less : greater;
}

// buffer += addend * 65536^-(words down); returns the carry out of the buffer's first word.
unsigned add_words(uint16_t *buffer, const uint16_t *addend) {
    unsigned carry = 0;
    for (int i = WORDS - 1; i >= 0; i--) {
        carry += static_cast<unsigned>(buffer[i]) + addend[i];
        buffer[i] = static_cast<uint16_t>(carry);
        carry >>= 16;
    }
    return carry;
}

void negate_words(uint16_t *words, int count) {
    unsigned carry = 1;
    for (int i = count - 1; i >= 0; i--) {
        carry += static_cast<uint16_t>(~words[i]);
        words[i] = static_cast<uint16_t>(carry);
        carry >>= 16;
    }
}

// words *= factor, the top word of the product returned.
unsigned scale_words(uint16_t *words, int count, unsigned factor) {
    unsigned carry = 0;
    for (int i = count - 1; i >= 0; i--) {
        carry += words[i] * factor;
        words[i] = static_cast<uint16_t>(carry);
        carry >>= 16;
    }
    return carry;
}

// The quotient word of a remainder of seven words by a divisor of six whose top bit is set; the remainder
// becomes what is left, below the divisor. The remainder must be below 65536 divisors.
uint16_t divide_step(uint16_t *remainder, const uint16_t *divisor) {
    uint32_t top = uint32_t{remainder[0]} << 16 | remainder[1];
    uint32_t quotient = top / divisor[0];
    if (quotient > 0xFFFF) quotient = 0xFFFF;
    if (quotient == 0) return 0;
    int64_t borrow = 0;
    for (int i = WORDS; i >= 0; i--) {
        int64_t word = remainder[i] + borrow - (i ? int64_t{quotient} * divisor[i - 1] : 0);
        remainder[i] = static_cast<uint16_t>(word);
        borrow = word >> 16;
    }
    // The estimate from one divisor word is at most two too high.
    while (borrow < 0) {
        quotient--;
        unsigned carry = add_words(remainder + 1, divisor) + remainder[0];
        remainder[0] = static_cast<uint16_t>(carry);
        borrow += carry >> 16;
    }
    return static_cast<uint16_t>(quotient);
}

} // namespace

void f_normalize(uint16_t *words, int *exponent, int count) {
    auto push_out_guard = [&] {
        memmove(words + 1, words, (count - 1) * sizeof *words);
        words[0] = 0;
        *exponent += 16;
    };
    // Leading zero words go before the low end is cut, so that what they make room for moves up and stays.
    if (words[0] == 0 && words[1] == 0) {
        int first = 2;
        while (first < count && words[first] == 0) first++;
        if (first == count) {
            *exponent = 0;
            return;
        }
        int distance = first - 1;
        memmove(words + 1, words + first, (count - first) * sizeof *words);
        memset(words + count - distance, 0, distance * sizeof *words);
        *exponent -= 16 * distance;
    }
    for (int i = WORDS + 1; i < count; i++) words[i] = 0;
    if (words[0]) push_out_guard();
    if (!(words[WORDS + 1] & 0x8000)) return;
    int i = WORDS;
    while (i >= 0 && ++words[i] == 0) i--;
    // A carry through all words leaves zeros behind it, so nothing is left to round.
    if (words[0]) push_out_guard();
}

int f_add(const simul_fval *a, const simul_fval *b, simul_fval *r) {
    if (f_is_nan(a)) return give(*a, r);
    if (f_is_nan(b)) return give(*b, r);
    if (f_is_infinite(a) && f_is_infinite(b))
        return a->sign == b->sign ? give(*a, r) : raise(FP_INVALID, a_nan, r);
    if (f_is_zero(a) && f_is_zero(b)) return give(signed_zero(a->sign && b->sign), r);
    if (f_is_zero(a) || f_is_infinite(b)) return give(*b, r);
    if (f_is_zero(b) || f_is_infinite(a)) return give(*a, r);

    bool a_is_less = compare_magnitudes(a, b) < 0;
    const simul_fval *great = a_is_less ? b : a, *small = a_is_less ? a : b;
    int distance = (great->exponent - small->exponent) / 16;
    if (distance > ADD_REACH) return give(*great, r);

    uint16_t buffer[1 + BUFFER] = {};
    uint16_t *fraction = buffer + 1;
    for (int i = 0; i < WORDS && distance + i < BUFFER; i++) fraction[distance + i] = small->mantissa[i];
    if (great->sign == small->sign) {
        buffer[0] = static_cast<uint16_t>(add_words(fraction, great->mantissa));
    } else {
        // The carry out of great + (65536^12 - small) is that power and no part of the difference.
        negate_words(fraction, BUFFER);
        add_words(fraction, great->mantissa);
    }
    int exponent = great->exponent;
    f_normalize(buffer, &exponent, 1 + BUFFER);
    if (fraction[0] == 0) return give(signed_zero(a->sign && b->sign), r);
    return give_in_range(fraction, exponent, great->sign, r);
}

int f_sub(const simul_fval *a, const simul_fval *b, simul_fval *r) {
    simul_fval negated;
    f_neg(b, &negated);
    return f_add(a, &negated, r);
}

int f_mul(const simul_fval *a, const simul_fval *b, simul_fval *r) {
    if (f_is_nan(a)) return give(*a, r);
    if (f_is_nan(b)) return give(*b, r);
    if ((f_is_infinite(a) && f_is_zero(b)) || (f_is_zero(a) && f_is_infinite(b)))
        return raise(FP_INVALID, a_nan, r);
    uint8_t sign = a->sign ^ b->sign;
    if (f_is_zero(a) || f_is_zero(b)) return give(signed_zero(sign), r);
    if (f_is_infinite(a) || f_is_infinite(b)) return give(signed_infin(sign), r);

    uint16_t buffer[1 + BUFFER] = {};
    for (int i = WORDS - 1; i >= 0; i--) {
        uint32_t carry = 0;
        for (int j = WORDS - 1; j >= 0; j--) {
            uint16_t *word = &buffer[1 + i + j + 1];
            carry += uint32_t{a->mantissa[i]} * b->mantissa[j] + *word; // at most 2^32 - 1
            *word = static_cast<uint16_t>(carry);
            carry >>= 16;
        }
        buffer[1 + i] = static_cast<uint16_t>(carry);
    }
    int exponent = a->exponent + b->exponent;
    f_normalize(buffer, &exponent, 1 + BUFFER);
    return give_in_range(buffer + 1, exponent, sign, r);
}

int f_div(const simul_fval *a, const simul_fval *b, simul_fval *r) {
    if (f_is_nan(a)) return give(*a, r);
    if (f_is_nan(b)) return give(*b, r);
    if ((f_is_zero(a) && f_is_zero(b)) || (f_is_infinite(a) && f_is_infinite(b)))
        return raise(FP_INVALID, a_nan, r);
    uint8_t sign = a->sign ^ b->sign;
    if (f_is_zero(b)) return raise(FP_DIVIDE_BY_ZERO, signed_infin(sign), r);
    if (f_is_infinite(a)) return give(signed_infin(sign), r);
    if (f_is_zero(a) || f_is_infinite(b)) return give(signed_zero(sign), r);

    // Long division in base 65536. The scaling makes the divisor's top word large, so that a quotient word
    // estimated from it alone is nearly right.
    QL_ASSERT(b->mantissa[0] != 0); // the working form
    uint16_t remainder[1 + WORDS], divisor[WORDS];
    memcpy(divisor, b->mantissa, sizeof divisor);
    memcpy(remainder + 1, a->mantissa, sizeof a->mantissa);
    unsigned factor = 65536 / (divisor[0] + 1u);
    scale_words(divisor, WORDS, factor);
    remainder[0] = static_cast<uint16_t>(scale_words(remainder + 1, WORDS, factor));
    uint16_t quotient[1 + WORDS + 1];
    for (uint16_t &word : quotient) {
        word = divide_step(remainder, divisor);
        memmove(remainder, remainder + 1, WORDS * sizeof *remainder);
        remainder[WORDS] = 0;
    }
    int exponent = a->exponent - b->exponent;
    f_normalize(quotient, &exponent, 1 + WORDS + 1);
    return give_in_range(quotient + 1, exponent, sign, r);
}

int f_sqrt(const simul_fval *a, simul_fval *r) {
    if (f_is_zero(a)) return give(*a, r);
    if (f_is_nan(a)) return raise(FP_OVERFLOW | FP_INVALID, *a, r);
    if (a->sign) return raise(FP_INVALID, pos_zero, r);
    if (f_is_infinite(a)) return raise(FP_OVERFLOW, *a, r);

    // Newton's iteration for y = 1 / sqrt(a):  y <- y * (3/2 - a/2 * y * y). It starts within a factor of two
    // and doubles the right bits each time; ten rounds are more than the mantissa needs.
    unsigned top = a->mantissa[0];
    int highest = static_cast<int>(std::bit_width(top)) - 1;
    int e = a->exponent - 16 + highest;
    if (top != 1u << highest && a->exponent - 16 >= 1) e++;
    simul_fval y, half, t;
    int status = f_ldexp(&three_q, -(e / 2), &y);
    status |= f_mul(a, &one_half, &half);
    for (int round = 0; round < 10; round++) {
        status |= f_mul(&half, &y, &t);
        status |= f_mul(&t, &y, &t);
        status |= f_sub(&one_p_five, &t, &t);
        status |= f_mul(&y, &t, &y);
    }
    return f_mul(a, &y, r) | status;
}

int f_neg(const simul_fval *a, simul_fval *r) {
    *r = *a;
    if (!f_is_nan(a)) r->sign = !a->sign;
    return 0;
}

int f_abs(const simul_fval *a, simul_fval *r) {
    *r = *a;
    r->sign = 0;
    return 0;
}

int f_eq(const simul_fval *a, const simul_fval *b) { return compare(a, b) == equal; }
int f_ne(const simul_fval *a, const simul_fval *b) { return compare(a, b) != equal; }
int f_lt(const simul_fval *a, const simul_fval *b) { return compare(a, b) == less; }
int f_gt(const simul_fval *a, const simul_fval *b) { return compare(a, b) == greater; }
int f_le(const simul_fval *a, const simul_fval *b) {
    ORDER order = compare(a, b);
    return order == less || order == equal;
}
int f_ge(const simul_fval *a, const simul_fval *b) {
    ORDER order = compare(a, b);
    return order == greater || order == equal;
}

int f_bit_eq(const simul_fval *a, const simul_fval *b) {
    if (a->sign != b->sign || a->exponent != b->exponent) return 0;
    if (f_is_special(a)) return f_is_nan(a) == f_is_nan(b);
    return memcmp(a->mantissa, b->mantissa, sizeof a->mantissa) == 0;
}

int f_ldexp(const simul_fval *a, int n, simul_fval *r) {
    if (f_is_special(a)) return give(*a, r);
    int zeros = leading_zeros(a);
    int64_t exponent = int64_t{a->exponent} - zeros + n; // of the left-justified number
    int64_t aligned = (exponent + 15) & ~int64_t{15};
    if (aligned < FPS_EXPONENT_ZERO) return raise(FP_UNDERFLOW, signed_zero(a->sign), r);
    if (aligned > FPS_EXPONENT_MAX) return raise(FP_OVERFLOW, signed_infin(a->sign), r);
    *r = *a;
    shift_mantissa(r, zeros - static_cast<int>(aligned - exponent));
    r->exponent = static_cast<int>(aligned);
    return 0;
}

int f_frexp(const simul_fval *a, int *e, simul_fval *r) {
    *r = *a;
    *e = 0;
    if (f_is_special(a)) return 0;
    int zeros = leading_zeros(a);
    shift_mantissa(r, zeros);
    *e = a->exponent - zeros;
    r->exponent = 0;
    return 0;
}

int f_itof(long long v, simul_fval *r) {
    if (v == 0) return give(pos_zero, r);
    uint64_t magnitude = v < 0 ? -static_cast<uint64_t>(v) : static_cast<uint64_t>(v);
    r->sign = v < 0;
    r->exponent = 64;
    for (; magnitude >> 48 == 0; magnitude <<= 16) r->exponent -= 16;
    set_top_64_bits(r, magnitude);
    return 0;
}

int f_ftoi(const simul_fval *a, long long *v) {
    *v = 0;
    if (f_is_zero(a)) return 0;
    uint64_t magnitude = INT64_MAX;
    if (a->exponent != FPS_EXPONENT_INFINITE) {
        simul_fval justified;
        int exponent;
        f_frexp(a, &exponent, &justified);
        if (exponent < 1) return 0;
        if (exponent < 64) magnitude = top_64_bits(&justified) >> (64 - exponent);
    }
    *v = static_cast<long long>(a->sign ? -magnitude : magnitude);
    return 0;
}

int f_left_justify(simul_fval *a) {
    if (f_is_special(a)) return 0;
    int zeros = leading_zeros(a);
    if (a->exponent - zeros < FPS_EXPONENT_ZERO) return raise(FP_UNDERFLOW, signed_zero(a->sign), a);
    shift_mantissa(a, zeros);
    a->exponent -= zeros;
    return 0;
}

int f_align_radix_pt(simul_fval *a) {
    if (f_is_special(a)) return 0;
    int aligned = (a->exponent + 15) & ~15;
    if (aligned > FPS_EXPONENT_MAX) {
        fp_error = 0;
        return raise(FP_OVERFLOW, signed_infin(a->sign), a);
    }
    // Exponents are kept in 16 bits; one that does not fit must not come back as another.
    if (aligned < FPS_EXPONENT_ZERO) return raise(FP_UNDERFLOW, signed_zero(a->sign), a);
    shift_mantissa(a, a->exponent - aligned);
    a->exponent = aligned;
    return 0;
}

namespace {

// A target format within a 64-bit word.
struct FORMAT {
    int fraction;          // bits
    int exponent_all_ones; // the exponent field of infinities and NaNs
    int bias;              // exponent field - bias = exponent of the left-justified number
};
constexpr FORMAT FORMATS[2] = {{23, 255, 126}, {52, 2047, 1022}};

const FORMAT &format_of(int kind) { return FORMATS[kind != 0]; }

uint64_t from_target(const trg_fval *t, int kind) {
    return kind ? uint64_t{t->word[0]} << 32 | t->word[1] : t->word[0];
}

// Puts sign, exponent field and fraction together.
void to_target(trg_fval *t, int kind, int sign, int exponent, uint64_t fraction) {
    const FORMAT &format = format_of(kind);
    uint64_t bits = static_cast<uint64_t>(exponent) << format.fraction | fraction;
    t->word[0] = static_cast<uint32_t>(kind ? bits >> 32 : bits) | (sign ? 0x80000000u : 0);
    t->word[1] = kind ? static_cast<uint32_t>(bits) : 0;
}

int out_of_range(trg_fval *t, int kind, int sign, unsigned error) {
    fp_error = error;
    to_target(t, kind, sign, error == FP_OVERFLOW ? format_of(kind).exponent_all_ones : 0, 0);
    return 1;
}

} // namespace

int f_cvt_ttos(const trg_fval *t, simul_fval *a, int kind) {
    const FORMAT &format = format_of(kind);
    uint64_t bits = from_target(t, kind);
    uint64_t fraction = bits & ((uint64_t{1} << format.fraction) - 1);
    int exponent = static_cast<int>(bits >> format.fraction) & format.exponent_all_ones;
    uint8_t sign = t->word[0] >> 31;
    if (exponent == format.exponent_all_ones) return give(fraction ? a_nan : signed_infin(sign), a);
    if (exponent == 0 && fraction == 0) return give(signed_zero(sign), a);
    a->sign = sign;
    if (exponent == 0) {
        set_top_64_bits(a, fraction << (64 - format.fraction));
        a->exponent = -format.bias;
        // The working form has no leading zero words, which the arithmetic relies on.
        f_left_justify(a);
    } else {
        set_top_64_bits(a, (fraction | uint64_t{1} << format.fraction) << (63 - format.fraction));
        a->exponent = exponent - format.bias;
    }
    return f_align_radix_pt(a);
}

int f_cvt_stot(const simul_fval *a, trg_fval *t, int kind) {
    const FORMAT &format = format_of(kind);
    if (f_is_zero(a)) return to_target(t, kind, a->sign, 0, 0), 0;
    if (a->exponent == FPS_EXPONENT_INFINITE) {
        uint64_t quiet = f_is_nan(a) ? uint64_t{1} << (format.fraction - 1) : 0;
        return to_target(t, kind, a->sign, format.exponent_all_ones, quiet), 0;
    }
    simul_fval justified = *a;
    if (f_left_justify(&justified) != 0) return out_of_range(t, kind, a->sign, FP_UNDERFLOW);

    int exponent = justified.exponent + format.bias;
    uint64_t top = top_64_bits(&justified);
    int dropped = 63 - format.fraction; // bits of `top` below the significand
    uint64_t significand = top >> dropped;
    bool round = top >> (dropped - 1) & 1;
    bool sticky =
        (top & ((uint64_t{1} << (dropped - 1)) - 1)) || justified.mantissa[4] || justified.mantissa[5];
    auto shift_once = [&] {
        sticky |= round;
        round = significand & 1;
        significand >>= 1;
    };
    if (exponent < 1) {
        shift_once();
        for (; exponent < 0 && significand != 0; exponent++) shift_once();
    }
    if (round && (sticky || (significand & 1))) significand++;

    uint64_t hidden = uint64_t{1} << format.fraction;
    if (exponent == 0) {
        if (significand == 0) return out_of_range(t, kind, a->sign, FP_UNDERFLOW);
        // A carry into the hidden bit becomes the exponent field 1 by itself.
        return to_target(t, kind, a->sign, 0, significand), 0;
    }
    if (exponent < 1) return out_of_range(t, kind, a->sign, FP_UNDERFLOW);
    if (significand >> (format.fraction + 1)) {
        exponent++;
        significand = hidden;
    }
    if (exponent >= format.exponent_all_ones) return out_of_range(t, kind, a->sign, FP_OVERFLOW);
    to_target(t, kind, a->sign, exponent, significand - hidden);
    return 0;
}
