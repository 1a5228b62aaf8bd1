// 65-bit integers against the host's 128-bit ones: every operator over all pairs of boundary values and
// random ones, reduced to 65 bits by the model below.
#include "support/xint.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <unordered_set>
#include <vector>

using WIDE = __int128;
using UWIDE = unsigned __int128;

static void PrintTo(INT65 v, std::ostream *out) { *out << int65_to_hex(v); }

static constexpr WIDE power(int n) { return static_cast<WIDE>(1) << n; }

static WIDE wide(INT65 v) { return v.sign * power(64) + static_cast<WIDE>(v.to_uint64()); }

// The two's complement value of the low `bits` bits.
static WIDE wrap(WIDE v, int bits) {
    UWIDE low = static_cast<UWIDE>(v) & static_cast<UWIDE>(power(bits) - 1);
    return low >> (bits - 1) ? static_cast<WIDE>(low) - power(bits) : static_cast<WIDE>(low);
}

static INT65 make(WIDE v) { return INT65(wrap(v, 65) < 0 ? -1 : 0, static_cast<long long>(v)); }

static const std::vector<INT65> &samples() {
    static const std::vector<INT65> list = [] {
        std::vector<INT65> values;
        for (int bit : {0, 1, 2, 7, 8, 15, 16, 30, 31, 32, 33, 47, 48, 62, 63, 64})
            for (int delta : {-2, -1, 0, 1, 2})
                for (int sign : {1, -1}) {
                    WIDE v = sign * power(bit) + delta;
                    if (v >= -power(64) && v < power(64)) values.push_back(make(v));
                }
        std::mt19937_64 random(65);
        for (int i = 0; i < 120; i++) {
            // Of every length, so that quotients are not always 0 or 1.
            INT65 v(random() & 1 ? -1 : 0, static_cast<long long>(random()));
            values.push_back(v >> static_cast<int>(random() % 65));
        }
        std::printf("%zu values, random ones of seed 65\n", values.size());
        return values;
    }();
    return list;
}

TEST(xint, every_operator_agrees_with_wide_arithmetic) {
    for (INT65 a : samples()) {
        WIDE x = wide(a);
        ASSERT_EQ(-a, make(-x)) << int65_to_hex(a);
        ASSERT_EQ(~a, make(~x)) << int65_to_hex(a);
        for (INT65 b : samples()) {
            WIDE y = wide(b);
            SCOPED_TRACE(int65_to_hex(a) + " and " + int65_to_hex(b));
            ASSERT_EQ(a + b, make(x + y));
            ASSERT_EQ(a - b, make(x - y));
            ASSERT_EQ(a & b, make(x & y));
            ASSERT_EQ(a | b, make(x | y));
            ASSERT_EQ(a ^ b, make(x ^ y));
            ASSERT_EQ(a == b, x == y);
            ASSERT_EQ(a < b, x < y);
            ASSERT_EQ(a <= b, x <= y);
            ASSERT_EQ(a > b, x > y);
            ASSERT_EQ(a >= b, x >= y);

            // Magnitudes of 64 bits: 2^64 counts as 0, products lose what is above.
            UWIDE m = static_cast<uint64_t>(x < 0 ? -x : x), n = static_cast<uint64_t>(y < 0 ? -y : y);
            bool negative = (x < 0) != (y < 0);
            WIDE product = static_cast<WIDE>(static_cast<uint64_t>(m * n));
            WIDE quotient = n == 0 ? 0 : static_cast<WIDE>(m / n);
            ASSERT_EQ(a * b, make(negative ? -product : product));
            ASSERT_EQ(a / b, make(negative ? -quotient : quotient));
            if (m && n) {
                ASSERT_EQ(wide(a / b), x / y);
                ASSERT_EQ(wide(a % b), x % y);
            } else if (n == 0) {
                ASSERT_EQ(a % b, a);
            }
        }
    }
}

TEST(xint, shifts_by_any_count_agree_with_wide_arithmetic) {
    for (INT65 a : samples())
        for (int n = -130; n <= 130; n++) {
            WIDE x = wide(a);
            int distance = n < 0 ? -n : n;
            INT65 up = distance > 64 ? INT65(0) : make(static_cast<WIDE>(static_cast<UWIDE>(x) << distance));
            INT65 down = make(x >> (distance > 64 ? 64 : distance));
            ASSERT_EQ(a << n, n < 0 ? down : up) << int65_to_hex(a) << " << " << n;
            ASSERT_EQ(a >> n, n < 0 ? up : down) << int65_to_hex(a) << " >> " << n;
        }
    EXPECT_EQ(INT65(-5) << INT32_MIN, INT65(-1));
    EXPECT_EQ(INT65(-5) >> INT32_MIN, INT65(0));
}

TEST(xint, sign_words_at_the_borders) {
    EXPECT_EQ(INT65(0, -1LL) + 1, INT65(-1, 0LL)); // 2^64 - 1 wraps to -(2^64)
    EXPECT_EQ((INT65(-1) * INT65(0)).sign, 0);
    EXPECT_EQ((INT65(1) / INT65(-2)).sign, 0);
    EXPECT_EQ(INT65(~0u), INT65(0, 0xFFFFFFFFLL));
    EXPECT_EQ(INT65(~0ul), INT65::max());
    EXPECT_EQ(INT65(-1LL).sign, -1);
    EXPECT_EQ(INT65(7) % 0, INT65(7));
    EXPECT_EQ(INT65(-7) % -4, INT65(-3));
}

TEST(xint, widths_and_bit_queries_agree_with_wide_arithmetic) {
    for (INT65 a : samples()) {
        WIDE x = wide(a);
        SCOPED_TRACE(int65_to_hex(a));
        int popcount = 0;
        for (int i = 0; i <= 64; i++) {
            popcount += static_cast<int>(x >> i & 1);
            ASSERT_EQ(a.bit(i), (x >> i & 1) != 0);
        }
        EXPECT_EQ(a.popcount(), popcount);
        for (int bits = 1; bits <= 66; bits++) {
            WIDE zero_extended = x & (power(bits) - 1);
            EXPECT_EQ(a.truncate_signed(bits), make(wrap(x, bits))) << bits;
            if (bits <= 64) { EXPECT_EQ(a.truncate_unsigned(bits), make(zero_extended)) << bits; }
            EXPECT_EQ(a.fits_signed(bits), wrap(x, bits) == x) << bits;
            EXPECT_EQ(a.fits_unsigned(bits), zero_extended == x) << bits;
        }
        int zeros = 0, log = -1;
        while (zeros < 65 && !(x >> zeros & 1)) zeros++;
        while (x > 0 && x >> (log + 1)) log++;
        EXPECT_EQ(a.count_trailing_zeros(), zeros);
        EXPECT_EQ(a.log2(), log);
        EXPECT_EQ(a.is_power_of_2(), x > 0 && x == power(log));
        EXPECT_EQ(power_of_2(a), a.is_power_of_2() ? log : -1);
        EXPECT_EQ(extract_power_of_2_factor(a), x == 0 ? 0 : zeros);
    }
    EXPECT_FALSE(INT65(1).fits_signed(0));
    EXPECT_TRUE(INT65(0).fits_unsigned(0));
}

TEST(xint, text_comes_back_as_the_same_value) {
    for (INT65 a : samples()) {
        INT65 decimal = 99, hex = 99, automatic = 99;
        ASSERT_EQ(text_to_int65(int65_to_decimal(a), 10, &decimal), INT65_TEXT::ok);
        ASSERT_EQ(text_to_int65(int65_to_hex(a), 16, &hex), INT65_TEXT::ok);
        ASSERT_EQ(text_to_int65(int65_to_hex(a), 0, &automatic), INT65_TEXT::ok);
        EXPECT_EQ(decimal, a);
        EXPECT_EQ(hex, a);
        EXPECT_EQ(automatic, a);
        if (a.fits_signed(64)) { EXPECT_EQ(int65_to_decimal(a), std::to_string(a.to_int64())); }
    }
    EXPECT_EQ(int65_to_decimal(INT65::min()), "-18446744073709551616");
    EXPECT_EQ(int65_to_hex(INT65::max()), "0xffffffffffffffff");
    EXPECT_EQ(int65_to_hex(-30), "-0x1e");
}

TEST(xint, text_that_is_no_number_is_told_apart) {
    const struct {
        const char *text;
        int radix;
        INT65_TEXT status;
        INT65 value;
    } cases[] = {
        {"", 10, INT65_TEXT::empty, {}},
        {"-", 10, INT65_TEXT::empty, {}},
        {"0x", 16, INT65_TEXT::empty, {}},
        {"0x", 10, INT65_TEXT::bad_character, {}},
        {"12a", 10, INT65_TEXT::bad_character, {}},
        {"12 ", 10, INT65_TEXT::bad_character, {}},
        {" 12", 10, INT65_TEXT::bad_character, {}},
        {"--1", 10, INT65_TEXT::bad_character, {}},
        {"fg", 16, INT65_TEXT::bad_character, {}},
        {"ff", 0, INT65_TEXT::bad_character, {}},
        {"18446744073709551616", 10, INT65_TEXT::overflow, {}},
        {"18446744073709551615", 10, INT65_TEXT::ok, INT65::max()},
        {"-18446744073709551617", 10, INT65_TEXT::overflow, {}},
        {"-18446744073709551616", 10, INT65_TEXT::ok, INT65::min()},
        {"99999999999999999999999999999999999999999999999999999999", 10, INT65_TEXT::overflow, {}},
        {"99999999999999999999999999999999999999999999999999999x", 10, INT65_TEXT::bad_character, {}},
        {"-0", 10, INT65_TEXT::ok, 0},
        {"+0XfF", 0, INT65_TEXT::ok, 255},
        {"00010", 0, INT65_TEXT::ok, 10},
        {"10", 16, INT65_TEXT::ok, 16},
    };
    for (const auto &c : cases) {
        INT65 value = 77;
        EXPECT_EQ(text_to_int65(c.text, c.radix, &value), c.status) << c.text;
        EXPECT_EQ(value, c.status == INT65_TEXT::ok ? c.value : INT65(77)) << c.text;
    }
}

TEST(xint, checked_routines_keep_their_equations) {
    for (INT65 a : samples())
        for (INT65 b : samples()) {
            SCOPED_TRACE(int65_to_hex(a) + " and " + int65_to_hex(b));
            WIDE x = wide(a), y = wide(b), product;
            int overflow = 0;
            ASSERT_EQ(long_add(a, b, &overflow), make(x + y));
            ASSERT_EQ(overflow, wrap(x + y, 65) != x + y);
            overflow = 0;
            bool lost = __builtin_mul_overflow(x, y, &product) || wrap(product, 65) != product;
            INT65 checked = long_multiply(a, b, &overflow);
            ASSERT_EQ(overflow, lost);
            ASSERT_EQ(checked, make(static_cast<WIDE>(static_cast<UWIDE>(x) * static_cast<UWIDE>(y))));

            INT65 s, t;
            INT65 g = extended_gcd(a, b, &s, &t);
            ASSERT_EQ(g, long_gcd(a, b));
            ASSERT_FALSE(g.is_negative());
            if (g.is_zero()) {
                ASSERT_TRUE(a.is_zero() && b.is_zero());
                continue;
            }
            ASSERT_TRUE(x % wide(g) == 0 && y % wide(g) == 0);
            // A common divisor that is a combination of both is the greatest.
            if (g != INT65(1) << 63) { ASSERT_TRUE(x * wide(s) + y * wide(t) == wide(g)); }
            overflow = 0;
            INT65 multiple = long_lcm(a, b, &overflow);
            if (!overflow && x && y)
                ASSERT_TRUE((x < 0 ? -x : x) / wide(g) == wide(multiple) / (y < 0 ? -y : y));
            else ASSERT_TRUE(multiple.is_zero());
        }
    EXPECT_EQ(long_gcd(INT65::min(), 0), INT65(1) << 63);
    EXPECT_EQ(long_lcm(4, -6), INT65(12));
}

TEST(xint, roots_and_powers) {
    for (INT65 a : samples()) {
        WIDE root = wide(long_sqrt(a));
        if (a.is_negative()) EXPECT_EQ(root, 0);
        else EXPECT_TRUE(root * root <= wide(a) && (root + 1) * (root + 1) > wide(a)) << int65_to_hex(a);
    }
    for (int base = -12; base <= 12; base++) {
        WIDE expected = 1;
        bool lost = false;
        for (int exponent = 0; exponent <= 70; exponent++) {
            int overflow = 0, unsigned_overflow = 0;
            INT65 result = long_expt(base, exponent, &overflow);
            ASSERT_EQ(overflow, lost) << base << " ^ " << exponent;
            if (!lost) { ASSERT_EQ(result, make(expected)) << base << " ^ " << exponent; }
            if (base >= 0) {
                unsigned long long u = ulong_expt(base, exponent, &unsigned_overflow);
                ASSERT_EQ(unsigned_overflow, lost) << base << " ^ " << exponent;
                if (!lost) { ASSERT_EQ(INT65(u), result); }
            }
            if (!lost) {
                expected *= base;
                lost = wrap(expected, 65) != expected;
            }
        }
    }
    int overflow = 0;
    EXPECT_EQ(long_expt(-1, -3, &overflow), INT65(-1));
    EXPECT_EQ(long_expt(2, -1, &overflow), INT65(0));
    EXPECT_EQ(overflow, 0);
    long_expt(0, -1, &overflow);
    EXPECT_EQ(overflow, 1);
}

TEST(xint, small_unsigned_routines) {
    for (unsigned v = 1; v <= 5000; v++) {
        unsigned p = clp2(v);
        EXPECT_TRUE(p >= v && p / 2 < v && (p & (p - 1)) == 0) << v;
    }
    EXPECT_EQ(clp2(0), 0u);
    EXPECT_EQ(clp2(0x80000000u), 0x80000000u);
    EXPECT_EQ(clp2(0x80000001u), 0u);
    EXPECT_EQ(uint_gcd(0, 12), 12u);
    EXPECT_EQ(uint_gcd(18, 12), 6u);
    EXPECT_EQ(uint_lcm(18, 12), 36u);
    EXPECT_EQ(uint_lcm(0xFFFFFFFFu, 0xFFFFFFFEu), 0u);
}

TEST(xint, hashes_tell_neighbours_and_sign_words_apart) {
    std::unordered_set<size_t> hashes;
    for (int i = -1000; i < 1000; i++) {
        hashes.insert(std::hash<INT65>()(INT65(i)));
        hashes.insert(std::hash<INT65>()(INT65(i) ^ INT65(-1, 0LL)));
    }
    EXPECT_EQ(hashes.size(), 4000u);
}
