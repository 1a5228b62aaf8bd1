// Text of floating constants against strtod and printf.
#include "support/fps_text.h"
#include "tests/unit/support/fps_host.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

template <class... ARGS> static std::string printed(const char *format, ARGS... args) {
    char text[2000];
    snprintf(text, sizeof text, format, args...);
    return text;
}

static simul_fval read(const std::string &text) {
    simul_fval a;
    EXPECT_EQ(f_atof(text.c_str(), &a), 0) << text;
    return a;
}

TEST(fps_text, hexadecimal_text_is_exact_for_every_finite_value) {
    std::mt19937_64 random(1);
    std::printf("seed 1\n");
    for (int i = 0; i < 50000; i++) {
        // All 96 bits, over the whole range of exponents.
        simul_fval a = random_working_form(random, i % 2 ? 2047 : 3);
        simul_fval back = read(f_ftoa_text("%a", &a));
        ASSERT_TRUE(f_bit_eq(&a, &back)) << f_ftoa_text("%a", &a);
        // The host understands it and is understood, "0x0.8p-1022" for subnormals included.
        double v = random_double(random, i % 5);
        simul_fval value = from_host(v), hosts = read(printed("%a", v));
        ASSERT_EQ(bits_of(strtod(f_ftoa_text("%a", &value).c_str(), nullptr)), bits_of(v));
        ASSERT_TRUE(f_bit_eq(&value, &hosts)) << printed("%a", v);
    }
}

TEST(fps_text, decimal_text_is_read_like_strtod_reads_it) {
    std::mt19937_64 random(10);
    std::printf("seed 10\n");
    for (int i = 0; i < 30000; i++) {
        unsigned long digits = random() >> random() % 64;
        std::string texts[] = {
            printed("%.17g", random_double(random, i % 5)),
            printed("%.*f", static_cast<int>(random() % 12), random_double(random, 1)),
            printed("%lu.%03lue%d", digits % 100000, random() % 1000, static_cast<int>(random() % 41) - 20),
            printed("%lue%d", digits, static_cast<int>(random() % 581) - 300),
        };
        for (const std::string &text : texts)
            ASSERT_EQ(bits_of(to_double(read(text))), bits_of(strtod(text.c_str(), nullptr))) << text;
    }
}

// A double shows only half of a row of the table of powers; many digits show all that is kept, with a factor
// large enough for the product to keep it too.
TEST(fps_text, powers_of_ten_are_good_to_the_last_words) {
    for (int k = 1; k <= 256; k *= 2) {
        simul_fval power = read("65535e" + std::to_string(k));
        EXPECT_EQ(f_ftoa_text("%.23e", &power), printed("6.55350000000000000000000e+%02d", k + 4));
    }
}

TEST(fps_text, forms_of_numbers) {
    const std::string long_half = "0.5" + std::string(2000, '0'), long_tiny = printed("%.760e", 0x1p-1074);
    const struct {
        std::string text;
        double value;
    } cases[] = {
        {"", 0.0},
        {"-", -0.0},
        {".", 0.0},
        {"abc", 0.0},
        {"0", 0.0},
        {"-0.0", -0.0},
        {"+1", 1.0},
        {"1.5", 1.5},
        {".5e1", 5.0},
        {"5.e-1f", 0.5},
        {"1e", 1.0},
        {"1e+", 1.0},
        {"1E2L", 100.0},
        {"1.5.5", 1.5},
        {"00012.500e0", 12.5},
        {"1000000000000000000000e-21", 1.0},
        {"0.00000000000000000000000000000001e+32", 1.0},
        {"0e99999999999999999999", 0.0},
        {long_half, 0.5},
        {long_tiny, 0x1p-1074}, // the exponent behind its last digit is below -512
        {"9007199254740993", 9007199254740992.0},
        {"9007199254740993.0000001", 9007199254740994.0},
        {"1.7976931348623157e308", 0x1.fffffffffffffp1023},
        {"2.2250738585072014e-308", 0x1p-1022},
        {"4.9406564584124654e-324", 0x1p-1074},
        {"0x", 0.0},
        {"-0x0p5", -0.0},
        {"0x1p", 1.0},
        {"0X1.8P+1", 3.0},
        {"0xA.bcDp-3L", 0xA.bcDp-3},
        {"0x.0001p16", 1.0},
        {"0x10", 16.0},
        {"0x1.00000000000008p0", 1.0},
        {"0x1.000000000000080000000002p-1", 0x1.0000000000001p-1}, // a tie but for the last of 96 bits
        {"0x" + std::string(500, '0') + "1" + std::string(100, '0') + "p-400", 1.0},
        {"0x0." + std::string(100, '0') + "1p404", 1.0},
        {"0x1p-1074", 0x1p-1074},
        {"inf", HUGE_VAL},
        {"+Infinity", HUGE_VAL},
        {"-INF", -HUGE_VAL},
    };
    for (const auto &c : cases) {
        fp_error = 0;
        EXPECT_EQ(bits_of(to_double(read(c.text))), bits_of(c.value)) << c.text;
        EXPECT_EQ(fp_error, 0u) << c.text;
    }
    for (const char *text : {"nan", "NaN(123)", "-nan"}) {
        simul_fval a = read(text);
        EXPECT_TRUE(f_bit_eq(&a, &a_nan)) << text;
    }
}

TEST(fps_text, text_out_of_range_is_reported) {
    const struct {
        const char *text;
        simul_fval value;
        unsigned error;
    } cases[] = {
        {"1e512", pos_infin, FP_OVERFLOW},
        {"-1000e509", neg_infin, FP_OVERFLOW},
        {"1e99999999999999999999", pos_infin, FP_OVERFLOW},
        {"-1e-99999999999999999999", neg_zero, FP_UNDERFLOW},
        {"1e-20000", pos_zero, FP_UNDERFLOW},
        {"-0x1p40000", neg_infin, FP_OVERFLOW},
        {"0x1p99999999999999999999", pos_infin, FP_OVERFLOW},
        {"0x1p-99999999999999999999", pos_zero, FP_UNDERFLOW},
        {"0x1.2.3", pos_zero, 0},
    };
    for (const auto &c : cases) {
        simul_fval a;
        fp_error = 0;
        EXPECT_EQ(f_atof(c.text, &a), -1) << c.text;
        EXPECT_TRUE(f_bit_eq(&a, &c.value)) << c.text;
        EXPECT_EQ(fp_error, c.error) << c.text;
    }
    // Beyond a double, but a number.
    simul_fval a = read("1e511");
    EXPECT_EQ(bits_of(to_double(a)), bits_of(HUGE_VAL));
    std::string many_digits = "1" + std::string(9900, '0') + "1";
    EXPECT_EQ(f_atof(many_digits.c_str(), &a), -1);
    EXPECT_TRUE(f_bit_eq(&a, &pos_infin));
}

TEST(fps_text, fixed_and_scientific_text_is_that_of_printf) {
    std::mt19937_64 random(17);
    std::printf("seed 17\n");
    for (int i = 0; i < 20000; i++) {
        double v = i % 7 ? random_double(random, i % 5) : static_cast<double>(random() % 2000) / 16;
        simul_fval a = from_host(v);
        int precision = static_cast<int>(random() % 22);
        std::string fixed = "%." + std::to_string(precision) + "f", scientific = fixed;
        scientific.back() = 'e';
        ASSERT_EQ(f_ftoa_text(fixed.c_str(), &a), printed(fixed.c_str(), v));
        ASSERT_EQ(f_ftoa_text(scientific.c_str(), &a), printed(scientific.c_str(), v));
    }
}

TEST(fps_text, general_text_differs_from_printf_at_the_ends_of_fixed_notation_only) {
    std::mt19937_64 random(71);
    std::printf("seed 71\n");
    int fixed = 0, scientific = 0;
    for (int i = 0; i < 20000; i++) {
        double v = i % 3 ? random_double(random, 1) : random_double(random, 0);
        simul_fval a = from_host(v);
        int precision = 1 + static_cast<int>(random() % 20);
        std::string format = "%." + std::to_string(precision) + "g", own = f_ftoa_text(format.c_str(), &a);
        std::string rounded = printed("%.*e", precision - 1, v);
        int p = std::atoi(rounded.c_str() + rounded.find('e') + 1) + 1; // the value is 0.ddd * 10^p
        (own.find('e') == std::string::npos ? fixed : scientific)++;
        ASSERT_EQ(own.find('e') == std::string::npos, -5 < p && p < precision) << own;
        ASSERT_EQ(strtod(own.c_str(), nullptr), strtod(rounded.c_str(), nullptr));
        if (p == -4 || p == precision) continue;
        ASSERT_EQ(own, printed(format.c_str(), v));
    }
    EXPECT_GT(fixed, 1000);
    EXPECT_GT(scientific, 1000);
}

TEST(fps_text, formats) {
    const struct {
        const char *format;
        double value;
        const char *text;
    } cases[] = {
        {"%a", 1.0, "0x1p+0"},
        {"%A", -1.5, "-0x1.8p+0"},
        {"%.1a", 0x1.2345p-30, "0x1.2345p-30"},
        {"%a", -0.0, "-0x0p+0"},
        {"%a", 0x1.8p-1070, "0x1.8p-1070"},
        {"%a", std::nan(""), "nan"},
        {"%g", -HUGE_VAL, "-inf"},
        {"%.2F", 0.125, "0.12"},
        {"%.2f", 0.375, "0.38"},
        {"%.0f", 0.5, "0"},
        {"%.f", 1.5, "2"},
        {"%.0f", 0.75, "1"},
        {"%.3f", 1e-9, "0.000"},
        {"%.2f", 0.996, "1.00"},
        {"%.1e", 99.96, "1.0e+02"},
        {"%E", 0.0, "0.000000e+00"},
        {"%f", -0.0, "-0.000000"},
        {"%g", 0.0, "0"},
        {"%g", 0.5, "0.5"},
        {"%g", 12345.0, "12345"},
        {"%g", 123456.0, "1.23456e+05"},
        {"%g", 0.000012345, "0.000012345"},
        {"%g", 0.00000123, "1.23e-06"},
        {"%.0g", 0.25, "0.2"},
        {"%G", 1e100, "1e+100"},
        {"[%10.2f] %d", 2.0, "[2.00] %d"},
        {"no conversion", 2.0, "no conversion"},
        {"end%", 2.5, "end2.5"},
        {"", 2.5, ""},
    };
    for (const auto &c : cases) {
        simul_fval a = from_host(c.value);
        EXPECT_EQ(f_ftoa_text(c.format, &a), c.text) << c.format;
        std::string buffer(f_ftoa_size(c.format, &a), '#');
        EXPECT_EQ(f_ftoa(buffer.data(), c.format, &a), buffer.data());
        EXPECT_EQ(buffer, std::string(c.text) + '\0') << c.format;
    }
}

TEST(fps_text, promised_room_is_enough_at_the_ends_of_the_range) {
    const simul_fval largest = {{0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF}, 32752, 1};
    const simul_fval smallest = {{1, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF}, -32752, 1};
    const simul_fval longest = {{0x8000, 0x1234, 0x5678, 0x9ABC, 0xDEF0, 0x1235}, -32752, 1};
    for (const simul_fval *a : {&largest, &smallest, &longest})
        for (const char *format : {"%a", "%.20e", "%.20g", "%g"})
            EXPECT_LE(f_ftoa_size(format, a), FTOA_ROOM);
    // Every digit of it: 2^k has a last digit 5 at place -k.
    EXPECT_EQ(f_ftoa_text("%.40000f", &longest).find_last_not_of('0'), 3u + 32848 - 1);
    EXPECT_EQ(f_ftoa_text("%.0f", &largest).size(), 9861u);
}
