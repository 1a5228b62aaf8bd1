#include "support/xint.h"

#include <algorithm>
#include <cassert>
#include <numeric>

// Products of two 65-bit numbers need 129 bits and single values 65: the wide host integers hold the latter
// exactly and tell of overflow for the former.
namespace {

using WIDE = __int128;

WIDE widen(INT65 v) { return (static_cast<WIDE>(v.sign) << 64) + static_cast<WIDE>(v.to_uint64()); }

INT65 narrow(WIDE v) { return INT65(static_cast<int>(v >> 64 & 1) ? -1 : 0, static_cast<long long>(v)); }

WIDE magnitude(INT65 v) {
    WIDE w = widen(v);
    return w < 0 ? -w : w;
}

// v as an INT65, and a note in *overflow if it is none.
INT65 narrow_checked(WIDE v, int *overflow) {
    INT65 result = narrow(v);
    if (overflow && widen(result) != v) *overflow = 1;
    return result;
}

WIDE wide_gcd(WIDE a, WIDE b) {
    while (b != 0) {
        WIDE rest = a % b;
        a = b;
        b = rest;
    }
    return a;
}

int digit_value(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return 99;
}

std::string magnitude_text(INT65 v, unsigned radix) {
    std::string digits;
    for (auto m = static_cast<unsigned __int128>(magnitude(v)); m != 0; m /= radix)
        digits += "0123456789abcdef"[static_cast<unsigned>(m % radix)];
    if (digits.empty()) digits = "0";
    std::reverse(digits.begin(), digits.end());
    return digits;
}

} // namespace

std::string int65_to_decimal(INT65 v) { return (v.is_negative() ? "-" : "") + magnitude_text(v, 10); }

std::string int65_to_hex(INT65 v) { return (v.is_negative() ? "-0x" : "0x") + magnitude_text(v, 16); }

INT65_TEXT text_to_int65(std::string_view text, int radix, INT65 *value) {
    assert(radix == 0 || radix == 10 || radix == 16);
    bool negative = false;
    if (!text.empty() && (text[0] == '+' || text[0] == '-')) {
        negative = text[0] == '-';
        text.remove_prefix(1);
    }
    if (radix != 10) {
        bool prefixed = text.size() > 1 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
        if (prefixed) text.remove_prefix(2);
        if (radix == 0) radix = prefixed ? 16 : 10;
    }
    if (text.empty()) return INT65_TEXT::empty;
    const WIDE limit = static_cast<WIDE>(1) << 64; // the greatest magnitude, of a negative number
    WIDE magnitude = 0;
    for (char c : text) {
        int digit = digit_value(c);
        if (digit >= radix) return INT65_TEXT::bad_character;
        if (magnitude <= limit) magnitude = magnitude * radix + digit;
    }
    if (magnitude > limit - !negative) return INT65_TEXT::overflow;
    *value = narrow(negative ? -magnitude : magnitude);
    return INT65_TEXT::ok;
}

unsigned uint_gcd(unsigned a, unsigned b) { return std::gcd(a, b); }

unsigned uint_lcm(unsigned a, unsigned b) {
    if (a == 0 || b == 0) return 0;
    uint64_t multiple = static_cast<uint64_t>(a / uint_gcd(a, b)) * b;
    return multiple >> 32 ? 0 : static_cast<unsigned>(multiple);
}

unsigned clp2(unsigned v) { return v == 0 || v > 0x80000000u ? 0 : std::bit_ceil(v); }

INT65 long_gcd(INT65 a, INT65 b) {
    WIDE g = wide_gcd(magnitude(a), magnitude(b));
    return narrow(g >> 64 ? g / 2 : g);
}

INT65 long_lcm(INT65 a, INT65 b, int *overflow) {
    if (a.is_zero() || b.is_zero()) return 0;
    WIDE multiple;
    int lost =
        __builtin_mul_overflow(magnitude(a) / wide_gcd(magnitude(a), magnitude(b)), magnitude(b), &multiple);
    INT65 result = narrow_checked(multiple, &lost);
    if (!lost) return result;
    if (overflow) *overflow = 1;
    return 0;
}

INT65 extended_gcd(INT65 a, INT65 b, INT65 *x, INT65 *y) {
    // Each row keeps  |a| * s + |b| * t = r.
    WIDE r0 = magnitude(a), s0 = 1, t0 = 0;
    WIDE r1 = magnitude(b), s1 = 0, t1 = 1;
    while (r1 != 0) {
        WIDE q = r0 / r1;
        WIDE r2 = r0 - q * r1, s2 = s0 - q * s1, t2 = t0 - q * t1;
        r0 = r1, s0 = s1, t0 = t1;
        r1 = r2, s1 = s2, t1 = t2;
    }
    *x = narrow(a.is_negative() ? -s0 : s0);
    *y = narrow(b.is_negative() ? -t0 : t0);
    return long_gcd(a, b);
}

INT65 long_sqrt(INT65 v) {
    if (v.is_negative()) return 0;
    uint64_t root = 0, value = v.to_uint64();
    for (int bit = 31; bit >= 0; bit--) {
        uint64_t candidate = root | 1ull << bit;
        if (candidate * candidate <= value) root = candidate;
    }
    return root;
}

INT65 long_add(INT65 a, INT65 b, int *overflow) { return narrow_checked(widen(a) + widen(b), overflow); }

INT65 long_multiply(INT65 a, INT65 b, int *overflow) {
    WIDE product;
    if (__builtin_mul_overflow(widen(a), widen(b), &product)) {
        if (overflow) *overflow = 1;
        using BITS = unsigned __int128; // wraps, and the low 65 bits are those of the product
        return narrow(static_cast<WIDE>(static_cast<BITS>(widen(a)) * static_cast<BITS>(widen(b))));
    }
    return narrow_checked(product, overflow);
}

INT65 long_expt(INT65 base, INT65 exponent, int *overflow) {
    if (exponent.is_negative()) {
        if (base == 1) return 1;
        if (base == -1) return exponent.is_odd() ? -1 : 1;
        if (base.is_zero() && overflow) *overflow = 1;
        return 0;
    }
    INT65 power = 1;
    for (uint64_t rest = exponent.to_uint64(); rest != 0; rest >>= 1) {
        if (rest & 1) power = long_multiply(power, base, overflow);
        // A square that is not used says nothing about the result.
        if (rest > 1) base = long_multiply(base, base, overflow);
    }
    return power;
}

unsigned long long ulong_expt(unsigned long long base, unsigned exponent, int *overflow) {
    unsigned long long power = 1;
    bool lost = false;
    for (unsigned rest = exponent; rest != 0; rest >>= 1) {
        if (rest & 1) lost |= __builtin_mul_overflow(power, base, &power);
        if (rest > 1) lost |= __builtin_mul_overflow(base, base, &base);
    }
    if (lost && overflow) *overflow = 1;
    return power;
}

int power_of_2(INT65 v) { return v.is_power_of_2() ? v.log2() : -1; }

int extract_power_of_2_factor(INT65 v) { return v.is_zero() ? 0 : v.count_trailing_zeros(); }
