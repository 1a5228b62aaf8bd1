#include "support/fps_text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <strings.h>
#include <vector>

namespace {

constexpr int POWERS = 9; // 10^(2^k) for k below this

// The exact value up to 10^64, beyond that the nearest 160 bits.
// clang-format off
constexpr precise_sim_fval PRECISE_POWERS[POWERS] = {
    {{0xA000, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000}, 4, 0}, // 10^1
    {{0xC800, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000}, 7, 0}, // 10^2
    {{0x9C40, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000}, 14, 0}, // 10^4
    {{0xBEBC, 0x2000, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000}, 27, 0}, // 10^8
    {{0x8E1B, 0xC9BF, 0x0400, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000}, 54, 0}, // 10^16
    {{0x9DC5, 0xADA8, 0x2B70, 0xB59D, 0xF020, 0x0000, 0x0000, 0x0000, 0x0000, 0x0000}, 107, 0}, // 10^32
    {{0xC278, 0x1F49, 0xFFCF, 0xA6D5, 0x3CBF, 0x6B71, 0xC76B, 0x25FB, 0x50F8, 0x0800}, 213, 0}, // 10^64
    {{0x93BA, 0x47C9, 0x80E9, 0x8CDF, 0xC66F, 0x336C, 0x36B1, 0x0137, 0x0234, 0xF3FD}, 426, 0}, // 10^128
    {{0xAA7E, 0xEBFB, 0x9DF9, 0xDE8D, 0xDDBB, 0x901B, 0x98FE, 0xEAB7, 0x851E, 0x4CBF}, 851, 0}, // 10^256
};
// clang-format on

simul_fval round_power(const precise_sim_fval &row) {
    simul_fval power = {{}, row.exponent, 0};
    std::copy_n(row.mantissa, 6, power.mantissa);
    if (row.mantissa[6] & 0x8000)
        for (int i = 5; i >= 0 && ++power.mantissa[i] == 0;) i--;
    f_align_radix_pt(&power);
    return power;
}

const simul_fval &power_of_ten(int k) {
    static const std::array<simul_fval, POWERS> table = [] {
        std::array<simul_fval, POWERS> rounded;
        std::transform(PRECISE_POWERS, PRECISE_POWERS + POWERS, rounded.begin(), round_power);
        return rounded;
    }();
    return table[k];
}

// Exponents in text are counted no further than this, far beyond every range and every text's length.
constexpr int64_t EXPONENT_TEXT_MAX = int64_t{1} << 48;

// An optional sign and decimal digits; no digits are 0.
int64_t read_exponent(const char *text) {
    bool negative = *text == '-';
    if (*text == '-' || *text == '+') text++;
    int64_t value = 0;
    for (; isdigit(static_cast<unsigned char>(*text)); text++)
        if (value < EXPONENT_TEXT_MAX) value = value * 10 + (*text - '0');
    return negative ? -value : value;
}

int hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Digits and exponent behind "0x". The digits go straight to their places in the mantissa: summing them up
// word-aligned would lose the low bits of a number that fills all six words.
int read_hexadecimal(const char *text, simul_fval *r) {
    unsigned __int128 digits = 0;
    int64_t exponent = 0; // of two, for the integer in `digits`
    bool behind_point = false;
    for (;; text++) {
        if (*text == '.') {
            if (behind_point) {
                *r = pos_zero;
                return -1;
            }
            behind_point = true;
            continue;
        }
        int digit = hex_digit(*text);
        if (digit < 0) break;
        bool fits = digits >> 124 == 0;
        if (fits) digits = digits << 4 | static_cast<unsigned>(digit);
        // A digit without room is cut, but an integer digit still counts.
        exponent += 4 * (!fits - behind_point);
    }
    if (*text == 'p' || *text == 'P') exponent += read_exponent(text + 1);
    *r = pos_zero;
    if (digits == 0) return 0;
    exponent += 128;
    for (; digits >> 127 == 0; digits <<= 1) exponent--;
    for (uint16_t &word : r->mantissa) {
        word = static_cast<uint16_t>(digits >> 112);
        digits <<= 16;
    }
    r->exponent = 0;
    return f_ldexp(r, static_cast<int>(std::clamp<int64_t>(exponent, -1000000, 1000000)), r);
}

// r * 10^exponent, one power of two of the exponent after the other, the lowest first.
int scale_by_ten(simul_fval *r, int64_t exponent) {
    auto apply = exponent < 0 ? f_div : f_mul;
    int64_t rest = exponent < 0 ? -exponent : exponent;
    if (exponent >= 1 << POWERS) {
        fp_error |= FP_OVERFLOW;
        *r = pos_infin;
        return -1;
    }
    for (int k = 0; k < POWERS - 1; k++)
        if (rest >> k & 1 && apply(r, &power_of_ten(k), r) != 0) return -1;
    // The last row serves all that is left. A long text of a small number has an exponent far below what
    // the number itself has; one that is really too small ends as a zero with the underflow bit.
    for (rest >>= POWERS - 1; rest > 0; rest--)
        if (apply(r, &power_of_ten(POWERS - 1), r) != 0) return -1;
    return 0;
}

int read_decimal(const char *text, simul_fval *r) {
    // The digits from the first to the last one that is not zero, and the power of ten that the last counts.
    std::string digits;
    int64_t exponent = 0;
    size_t trailing_zeros = 0;
    bool behind_point = false;
    for (;; text++) {
        if (*text == '.' && !behind_point) {
            behind_point = true;
            continue;
        }
        if (!isdigit(static_cast<unsigned char>(*text))) break;
        exponent -= behind_point;
        if (*text == '0' && digits.empty()) continue;
        digits += *text;
        trailing_zeros = *text == '0' ? trailing_zeros + 1 : 0;
    }
    digits.resize(digits.size() - trailing_zeros);
    exponent += static_cast<int64_t>(trailing_zeros);
    if (*text == 'e' || *text == 'E') exponent += read_exponent(text + 1);

    *r = pos_zero;
    for (char digit : digits) {
        if (f_mul(r, &const_ten, r) != 0) return -1;
        if (f_add(r, &const_dig[digit - '0'], r) != 0) return -1;
    }
    return digits.empty() ? 0 : scale_by_ten(r, exponent);
}

} // namespace

int f_atof(const char *text, simul_fval *r) {
    bool negative = *text == '-';
    const char *number = text + (*text == '-' || *text == '+');
    int status = 0;
    if (strncasecmp(number, "nan", 3) == 0) {
        *r = a_nan;
        return 0;
    }
    if (strncasecmp(number, "inf", 3) == 0) *r = pos_infin;
    else if (strncasecmp(number, "0x", 2) == 0) status = read_hexadecimal(number + 2, r);
    else status = read_decimal(number, r);
    r->sign = negative;
    return status;
}

namespace {

// The exact value 0.d1d2d3... * 10^point; d1 and the last digit are not 0, and zero has no digits.
struct DECIMAL {
    std::string digits;
    int point = 0;
};

// Nonnegative integers in base 10^9, least significant first.
using BIG = std::vector<uint32_t>;
constexpr uint32_t BIG_BASE = 1000000000;

void multiply(BIG &number, uint32_t factor, uint32_t addend = 0) {
    uint64_t carry = addend;
    for (uint32_t &word : number) {
        carry += uint64_t{word} * factor;
        word = static_cast<uint32_t>(carry % BIG_BASE);
        carry /= BIG_BASE;
    }
    for (; carry; carry /= BIG_BASE) number.push_back(static_cast<uint32_t>(carry % BIG_BASE));
}

// number * base^n, with base^step in a word.
void multiply_power(BIG &number, uint32_t base, int n, int step) {
    uint32_t factor = 1;
    for (int i = 0; i < step; i++) factor *= base;
    for (; n >= step; n -= step) multiply(number, factor);
    for (; n > 0; n--) multiply(number, base);
}

// The finite number's magnitude.
DECIMAL exact_decimal(const simul_fval *a) {
    DECIMAL result;
    if (f_is_zero(a)) return result;
    BIG number;
    int power = a->exponent;
    int words = 6;
    while (words > 0 && a->mantissa[words - 1] == 0) words--;
    for (int i = 0; i < words; i++) multiply(number, 65536, a->mantissa[i]);
    power -= 16 * words;
    // m * 2^-k is m * 5^k * 10^-k.
    if (power >= 0) multiply_power(number, 2, power, 28);
    else multiply_power(number, 5, -power, 13);
    for (uint32_t word : number)
        for (int i = 0; i < 9; i++, word /= 10) result.digits += static_cast<char>('0' + word % 10);
    while (result.digits.back() == '0') result.digits.pop_back();
    std::reverse(result.digits.begin(), result.digits.end());
    result.point = static_cast<int>(result.digits.size()) + std::min(power, 0);
    while (result.digits.back() == '0') result.digits.pop_back();
    return result;
}

// Rounds to that many digits, which may be negative: half to even.
void round_to(DECIMAL &d, int keep) {
    int length = static_cast<int>(d.digits.size());
    if (keep >= length) return;
    if (keep < 0) {
        d = {};
        return;
    }
    bool above_half = d.digits[keep] > '5' || (d.digits[keep] == '5' && keep + 1 < length);
    bool odd = keep > 0 && (d.digits[keep - 1] - '0') % 2;
    bool up = above_half || (d.digits[keep] == '5' && odd);
    d.digits.resize(keep);
    if (up) {
        while (!d.digits.empty() && d.digits.back() == '9') d.digits.pop_back();
        if (d.digits.empty()) {
            d.digits = "1";
            d.point++;
        } else d.digits.back()++;
    }
    while (!d.digits.empty() && d.digits.back() == '0') d.digits.pop_back();
    if (d.digits.empty()) d.point = 0;
}

// `count` digits of the number from its digit `first` on, zeros where it has none.
std::string digits_from(const DECIMAL &d, int first, int count) {
    std::string text;
    for (int i = first; i < first + count; i++)
        text += i >= 0 && i < static_cast<int>(d.digits.size()) ? d.digits[i] : '0';
    return text;
}

std::string fixed_text(const DECIMAL &d, int precision) {
    std::string text = d.point > 0 ? digits_from(d, 0, d.point) : "0";
    if (precision > 0) text += "." + digits_from(d, d.point, precision);
    return text;
}

std::string scientific_text(const DECIMAL &d, int precision) {
    std::string text = digits_from(d, 0, 1);
    if (precision > 0) text += "." + digits_from(d, 1, precision);
    int exponent = d.digits.empty() ? 0 : d.point - 1;
    std::string magnitude = std::to_string(std::abs(exponent));
    return text + (exponent < 0 ? "e-" : "e+") + (magnitude.size() < 2 ? "0" : "") + magnitude;
}

std::string general_text(const DECIMAL &d, int precision) {
    int digits = static_cast<int>(d.digits.size()); // trailing zeros are gone
    if (-5 < d.point && d.point < precision) return fixed_text(d, std::max(digits - d.point, 0));
    return scientific_text(d, digits - 1);
}

std::string decimal_text(const simul_fval *a, char letter, int precision) {
    DECIMAL d = exact_decimal(a);
    switch (letter) {
    case 'f': round_to(d, d.point + precision); return fixed_text(d, precision);
    case 'e': round_to(d, precision + 1); return scientific_text(d, precision);
    default:
        precision = std::max(precision, 1);
        round_to(d, precision);
        return general_text(d, precision);
    }
}

std::string hexadecimal_text(const simul_fval *a) {
    simul_fval fraction;
    int exponent;
    f_frexp(a, &exponent, &fraction);
    if (f_is_zero(a)) return "0x0p+0";
    // The top bit is the integer digit, 24 digits of four bits follow it.
    unsigned __int128 bits = 0;
    for (uint16_t word : fraction.mantissa) bits = bits << 16 | word;
    std::string text = "0x1";
    bits <<= 33;
    if (bits) text += ".";
    for (; bits; bits <<= 4) text += "0123456789abcdef"[static_cast<unsigned>(bits >> 124)];
    exponent--;
    return text + (exponent < 0 ? "p" : "p+") + std::to_string(exponent);
}

std::string value_text(const simul_fval *a, char letter, int precision) {
    if (f_is_nan(a)) return "nan";
    std::string sign = a->sign ? "-" : "";
    if (f_is_infinite(a)) return sign + "inf";
    letter = static_cast<char>(tolower(static_cast<unsigned char>(letter)));
    return sign + (letter == 'a' ? hexadecimal_text(a) : decimal_text(a, letter, precision));
}

// No value has a nonzero digit this far behind its point.
constexpr int PRECISION_MAX = 33000;

} // namespace

std::string f_ftoa_text(const char *format, const simul_fval *a) {
    size_t literal = strcspn(format, "%");
    std::string text(format, literal);
    if (!format[literal]) return text;
    const char *p = format + literal + 1;
    auto digits = [&p] {
        int value = 0;
        for (; isdigit(static_cast<unsigned char>(*p)); p++)
            value = std::min(value * 10 + (*p - '0'), PRECISION_MAX);
        return value;
    };
    digits();
    int precision = 6;
    if (*p == '.') {
        p++;
        precision = digits();
    }
    text += value_text(a, *p, precision);
    return *p ? text + (p + 1) : text;
}

size_t f_ftoa_size(const char *format, const simul_fval *a) { return f_ftoa_text(format, a).size() + 1; }

char *f_ftoa(char *out, const char *format, const simul_fval *a) {
    std::string text = f_ftoa_text(format, a);
    memcpy(out, text.c_str(), text.size() + 1);
    return out;
}
