// Integer constants of the compiled program, and the integer routines that go with them.
//
// An INT65 is a two's complement number of 65 bits, -(2^64) to 2^64 - 1. It holds every signed and every
// unsigned 64-bit value, and the sum or difference of any two of them keeps its true sign, so a pass can
// compute first and ask afterwards whether the value still fits its type. The 65th bit is the sign word,
// always 0 or -1.
//
// Addition, subtraction, negation, complement, the bit operators and shifts are exact modulo 2^65. Products
// and quotients are made from 64-bit magnitudes: a product keeps the low 64 bits of its magnitude, so
// (1LL << 62) * 8 is 0 and not an error. Where the true product matters, ask long_multiply, which
// reports overflow. Division truncates toward zero and % has the sign of the dividend.
//
// Division never traps. A divisor whose magnitude has no bit among its low 64 (0, and -(2^64)) gives the
// quotient 0 and so the dividend as remainder; whether a division by 0 may be folded at all is the caller's
// question, to be asked before.
//
// An INT65 is 12 bytes, trivially copyable, and passed by value. Its default constructor gives 0, so an
// unnamed union holds one as `INT65 lval = INT65();`.

#ifndef SUPPORT_XINT_H
#define SUPPORT_XINT_H

#include <bit>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

struct INT65 {
    int32_t sign;  // bit 64, replicated: 0 or -1
    uint32_t low;  // bits 0 to 31
    uint32_t high; // bits 32 to 63

    constexpr INT65() : INT65(0, 0LL) {}
    constexpr INT65(int v) : INT65(v < 0 ? -1 : 0, static_cast<long long>(v)) {}
    constexpr INT65(long v) : INT65(v < 0 ? -1 : 0, static_cast<long long>(v)) {}
    constexpr INT65(long long v) : INT65(v < 0 ? -1 : 0, v) {}
    constexpr INT65(unsigned v) : INT65(0, static_cast<long long>(v)) {}
    constexpr INT65(unsigned long v) : INT65(0, static_cast<long long>(v)) {}
    constexpr INT65(unsigned long long v) : INT65(0, static_cast<long long>(v)) {}
    // The sign word and the low 64 bits as they are. `sign_word` must be 0 or -1.
    constexpr INT65(int sign_word, long long bits)
        : sign(sign_word), low(static_cast<uint32_t>(bits)),
          high(static_cast<uint32_t>(static_cast<uint64_t>(bits) >> 32)) {}

    // 2^64 - 1 and -(2^64).
    static constexpr INT65 max() { return INT65(0, -1LL); }
    static constexpr INT65 min() { return INT65(-1, 0LL); }

    constexpr uint64_t to_uint64() const {
        return static_cast<uint64_t>(high) << 32 | low;
    }                                                                                // the low 64 bits
    constexpr int64_t to_int64() const { return static_cast<int64_t>(to_uint64()); } // the same, signed
    constexpr uint32_t low_u32() const { return low; }
    constexpr int32_t low_i32() const { return static_cast<int32_t>(low); }
    // The nearest double or one beside it; for estimates and costs, never for the program's own constants.
    constexpr double to_double() const {
        return static_cast<double>(to_uint64()) - (sign ? 18446744073709551616.0 : 0.0);
    }
    constexpr explicit operator bool() const { return !is_zero(); }

    constexpr bool is_zero() const { return sign == 0 && low == 0 && high == 0; }
    constexpr bool is_negative() const { return sign < 0; }
    constexpr bool is_positive() const { return !is_negative() && !is_zero(); }
    constexpr bool is_odd() const { return low & 1; }
    constexpr bool bit(int i) const; // bit i; above 64 the sign, below 0 false

    // Whether the value is one of a signed or unsigned integer of that many bits. No value but 0 fits 0 bits.
    constexpr bool fits_signed(int bits) const;
    constexpr bool fits_unsigned(int bits) const;
    // The low `bits` bits, extended by their top bit or by zeros. Of 0 bits or less that is 0; a width of 65 or
    // more leaves the value alone.
    constexpr INT65 truncate_signed(int bits) const;
    constexpr INT65 truncate_unsigned(int bits) const;

    constexpr bool is_power_of_2() const;       // true for 2^0 to 2^63 only
    constexpr int log2() const;                 // floor of the logarithm of a positive value, else -1
    constexpr int count_trailing_zeros() const; // 0 to 64, and 65 for the value 0
    constexpr int popcount() const;             // set bits among the 65

    constexpr INT65 &operator+=(INT65 b);
    constexpr INT65 &operator-=(INT65 b);
    constexpr INT65 &operator*=(INT65 b);
    constexpr INT65 &operator/=(INT65 b);
    constexpr INT65 &operator%=(INT65 b);
    constexpr INT65 &operator&=(INT65 b);
    constexpr INT65 &operator|=(INT65 b);
    constexpr INT65 &operator^=(INT65 b);
    constexpr INT65 &operator<<=(int n);
    constexpr INT65 &operator>>=(int n);
    constexpr INT65 &operator++() { return *this += INT65(1); }
    constexpr INT65 &operator--() { return *this -= INT65(1); }

    friend constexpr INT65 operator~(INT65 a) {
        return INT65(~a.sign, static_cast<long long>(~a.to_uint64()));
    }
    friend constexpr INT65 operator+(INT65 a, INT65 b) {
        uint64_t sum = a.to_uint64() + b.to_uint64();
        int carry = sum < a.to_uint64();
        return INT65(a.sign ^ b.sign ^ -carry, static_cast<long long>(sum));
    }
    friend constexpr INT65 operator-(INT65 a) { return ~a + INT65(1); }
    friend constexpr INT65 operator-(INT65 a, INT65 b) { return a + -b; }
    friend constexpr INT65 operator*(INT65 a, INT65 b) {
        return with_sign(a.low_magnitude() * b.low_magnitude(), a.sign != b.sign);
    }
    friend constexpr INT65 operator/(INT65 a, INT65 b) {
        uint64_t divisor = b.low_magnitude();
        return with_sign(divisor == 0 ? 0 : a.low_magnitude() / divisor, a.sign != b.sign);
    }
    friend constexpr INT65 operator%(INT65 a, INT65 b) { return a - (a / b) * b; }
    friend constexpr INT65 operator&(INT65 a, INT65 b) {
        return INT65(a.sign & b.sign, static_cast<long long>(a.to_uint64() & b.to_uint64()));
    }
    friend constexpr INT65 operator|(INT65 a, INT65 b) {
        return INT65(a.sign | b.sign, static_cast<long long>(a.to_uint64() | b.to_uint64()));
    }
    friend constexpr INT65 operator^(INT65 a, INT65 b) {
        return INT65(a.sign ^ b.sign, static_cast<long long>(a.to_uint64() ^ b.to_uint64()));
    }
    // Shifts of all 65 bits, >> arithmetic. A negative count shifts the other way, any count is allowed.
    friend constexpr INT65 operator<<(INT65 a, int n) {
        return n < 0 ? a.right(distance(n)) : a.left(distance(n));
    }
    friend constexpr INT65 operator>>(INT65 a, int n) {
        return n < 0 ? a.left(distance(n)) : a.right(distance(n));
    }

    friend constexpr bool operator==(INT65 a, INT65 b) {
        return a.sign == b.sign && a.low == b.low && a.high == b.high;
    }
    friend constexpr std::strong_ordering operator<=>(INT65 a, INT65 b) {
        return a.sign != b.sign ? a.sign <=> b.sign : a.to_uint64() <=> b.to_uint64();
    }

  private:
    constexpr uint64_t low_magnitude() const { return sign < 0 ? -to_uint64() : to_uint64(); }
    // The magnitude, negated on demand. A negated 0 is 0, with the sign word 0.
    static constexpr INT65 with_sign(uint64_t magnitude, bool negative) {
        if (!negative || magnitude == 0) return INT65(0, static_cast<long long>(magnitude));
        return INT65(-1, static_cast<long long>(-magnitude));
    }
    // |n| without overflow for the least int: no shift is longer than 65.
    static constexpr int distance(int n) { return n < -65 || n > 65 ? 65 : n < 0 ? -n : n; }
    constexpr INT65 left(int n) const {
        if (n == 0) return *this;
        if (n > 64) return INT65(0, 0LL);
        uint64_t v = to_uint64();
        int new_sign = -static_cast<int>(v >> (64 - n) & 1);
        return INT65(new_sign, n == 64 ? 0LL : static_cast<long long>(v << n));
    }
    constexpr INT65 right(int n) const {
        if (n == 0) return *this;
        uint64_t fill = static_cast<uint64_t>(static_cast<int64_t>(sign));
        if (n > 63) return INT65(sign, static_cast<long long>(fill));
        return INT65(sign, static_cast<long long>(to_uint64() >> n | fill << (64 - n)));
    }
};

constexpr bool INT65::bit(int i) const { return i >= 0 && ((*this >> i).low & 1); }
constexpr bool INT65::fits_signed(int bits) const { return truncate_signed(bits) == *this; }
constexpr bool INT65::fits_unsigned(int bits) const {
    return !is_negative() && truncate_unsigned(bits) == *this;
}
constexpr INT65 INT65::truncate_signed(int bits) const {
    if (bits <= 0) return INT65();
    return bits >= 65 ? *this : *this << (65 - bits) >> (65 - bits);
}
constexpr INT65 INT65::truncate_unsigned(int bits) const {
    if (bits <= 0) return INT65();
    if (bits >= 65) return *this;
    return INT65(0, static_cast<long long>(to_uint64() << (64 - bits) >> (64 - bits)));
}
constexpr bool INT65::is_power_of_2() const { return !is_negative() && std::has_single_bit(to_uint64()); }
constexpr int INT65::log2() const {
    return is_negative() ? -1 : static_cast<int>(std::bit_width(to_uint64())) - 1;
}
constexpr int INT65::count_trailing_zeros() const { return is_zero() ? 65 : std::countr_zero(to_uint64()); }
constexpr int INT65::popcount() const { return std::popcount(to_uint64()) - sign; }

constexpr INT65 &INT65::operator+=(INT65 b) { return *this = *this + b; }
constexpr INT65 &INT65::operator-=(INT65 b) { return *this = *this - b; }
constexpr INT65 &INT65::operator*=(INT65 b) { return *this = *this * b; }
constexpr INT65 &INT65::operator/=(INT65 b) { return *this = *this / b; }
constexpr INT65 &INT65::operator%=(INT65 b) { return *this = *this % b; }
constexpr INT65 &INT65::operator&=(INT65 b) { return *this = *this & b; }
constexpr INT65 &INT65::operator|=(INT65 b) { return *this = *this | b; }
constexpr INT65 &INT65::operator^=(INT65 b) { return *this = *this ^ b; }
constexpr INT65 &INT65::operator<<=(int n) { return *this = *this << n; }
constexpr INT65 &INT65::operator>>=(int n) { return *this = *this >> n; }

template <> struct std::hash<INT65> {
    size_t operator()(INT65 v) const noexcept {
        uint64_t x = (v.to_uint64() ^ static_cast<uint64_t>(v.sign & 1) << 33) * 0x9E3779B97F4A7C15u;
        return static_cast<size_t>(x ^ x >> 29);
    }
};

// Text. Decimal is digits behind an optional "-"; hexadecimal is an optional "-", "0x" and the magnitude in
// lowercase digits without leading zeros ("0x0" for 0). Both read back as the same value.
std::string int65_to_decimal(INT65 v);
std::string int65_to_hex(INT65 v);

enum class INT65_TEXT { ok, empty, bad_character, overflow };

// Reads an optional sign ("+" or "-") and digits of the radix to the end of the text. Radix 10 or 16; with
// 16 a "0x" or "0X" may precede the digits; radix 0 takes 16 when it does and else 10. A blank is a bad character.
// `empty` means that there was no digit. Anything but `ok` leaves *value alone; a bad character is reported
// in preference to an overflow.
INT65_TEXT text_to_int65(std::string_view text, int radix, INT65 *value);

// Greatest common divisor and least common multiple of unsigned numbers. gcd(0, x) is x. The lcm is 0 if an
// operand is 0 or the result needs more than 32 bits.
unsigned uint_gcd(unsigned a, unsigned b);
unsigned uint_lcm(unsigned a, unsigned b);
// The least power of two not below v. 0 for 0, and for values above 2^31.
unsigned clp2(unsigned v);

// Reports of overflow below go through an int: it becomes 1 when the true result is no INT65 and is left
// alone otherwise, so one flag cleared at the start serves a chain of calls. Null asks for no report.

// The greatest common divisor of the magnitudes, never negative; gcd(0, x) is |x| and gcd(0, 0) is 0. Of
// -(2^64) with itself or 0 it is 2^63, the largest power that both divides them and is an INT65.
INT65 long_gcd(INT65 a, INT65 b);
// The least common multiple of the magnitudes; 0 if either is 0, and on overflow.
INT65 long_lcm(INT65 a, INT65 b, int *overflow = nullptr);
// Returns g = long_gcd(a, b) and sets x and y so that a * x + b * y = g, with |x| <= max(1, |b / g|) and
// |y| <= max(1, |a / g|).
INT65 extended_gcd(INT65 a, INT65 b, INT65 *x, INT65 *y);
// The floor of the square root; 0 for a negative value.
INT65 long_sqrt(INT65 v);
// Sum, product and power. On overflow the result is the true one modulo 2^65.
INT65 long_add(INT65 a, INT65 b, int *overflow);
INT65 long_multiply(INT65 a, INT65 b, int *overflow);
// A negative exponent gives the power cut toward zero (0 but for bases 1 and -1); of base 0 it is an
// overflow with the result 0.
INT65 long_expt(INT65 base, INT65 exponent, int *overflow);
// The same in unsigned 64 bits, modulo 2^64.
unsigned long long ulong_expt(unsigned long long base, unsigned exponent, int *overflow);

// The exponent of a positive power of two, else -1.
int power_of_2(INT65 v);
// The exponent of the largest power of two that divides v; 0 for 0, from which nothing can be extracted.
int extract_power_of_2_factor(INT65 v);

#endif
