// Software floats against three oracles: the host's conversions bit for bit, 128-bit integers for every
// bit of the arithmetic, and the host's correctly rounded arithmetic for what reaches the target.
//
// QL_EXHAUSTIVE=1 converts all 2^32 singles instead of a dense sample.
#include "tests/unit/support/fps_host.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <vector>

static bool same(const simul_fval &a, const simul_fval &b) { return f_bit_eq(&a, &b); }

using UWIDE = unsigned __int128;

// A NaN comes back quiet and positive, everything else as it went in, and as the same double.
static bool single_survives(uint32_t bits) {
    float host = std::bit_cast<float>(bits);
    trg_fval in = {{bits, 0}}, out;
    simul_fval a;
    f_cvt_ttos(&in, &a, 0);
    if (f_cvt_stot(&a, &out, 0) != 0) return false;
    if (std::isnan(host)) return out.word[0] == 0x7FC00000 && bits_of(to_double(a)) == 0x7FF8000000000000;
    return out.word[0] == bits && bits_of(to_double(a)) == bits_of(static_cast<double>(host));
}

TEST(fps_conversion, singles_survive_and_widen_exactly) {
    if (std::getenv("QL_EXHAUSTIVE")) {
        uint64_t failures = 0;
        for (uint64_t bits = 0; bits < uint64_t{1} << 32; bits++)
            failures += !single_survives(static_cast<uint32_t>(bits));
        EXPECT_EQ(failures, 0u);
        return;
    }
    std::vector<uint32_t> fractions;
    for (int bit = 0; bit < 23; bit++)
        for (int delta = -1; delta <= 1; delta++) fractions.push_back(((1u << bit) + delta) & 0x7FFFFF);
    for (uint32_t fraction : {0x7FFFFEu, 0x7FFFFFu, 0x555555u, 0x2AAAAAu}) fractions.push_back(fraction);
    for (uint32_t exponent = 0; exponent < 512; exponent++)
        for (uint32_t fraction : fractions)
            ASSERT_TRUE(single_survives(exponent << 23 | fraction))
                << std::hex << (exponent << 23 | fraction);
}

// The conversion of a double to a single, with its report.
static void expect_narrowing(double v) {
    simul_fval a = from_host(v);
    ASSERT_EQ(bits_of(to_double(a)), bits_of(v)) << v;
    trg_fval t;
    fp_error = 0;
    int status = f_cvt_stot(&a, &t, 0);
    float host = static_cast<float>(v);
    ASSERT_EQ(t.word[0], bits_of(host)) << std::hexfloat << v;
    unsigned error = host == 0 && v != 0                  ? FP_UNDERFLOW
                     : std::isinf(host) && !std::isinf(v) ? FP_OVERFLOW
                                                          : 0u;
    ASSERT_EQ(fp_error, error) << std::hexfloat << v;
    ASSERT_EQ(status, error != 0) << std::hexfloat << v;
}

TEST(fps_conversion, doubles_survive_and_round_to_the_nearest_single) {
    std::mt19937_64 random(754);
    std::printf("seed 754\n");
    for (int i = 0; i < 50000; i++)
        for (int kind = 0; kind < 5; kind++) expect_narrowing(random_double(random, kind));
    // Around every middle between two singles, and around the ends of the range.
    for (int i = 0; i < 20000; i++) {
        double middle = std::fabs(random_single(random, i % 5));
        middle += (std::nextafter(static_cast<float>(middle), HUGE_VALF) - middle) / 2;
        for (double v : {middle, std::nextafter(middle, 0.0), std::nextafter(middle, HUGE_VAL)}) {
            expect_narrowing(v);
            expect_narrowing(-v);
        }
    }
    for (double edge : {0x1p-126, 0x1p-149, 0x1p-150, 0x1.8p-150, 0x1.fffffep127, 0x1.ffffffp127, 0x1p128,
                        0x1p-1022, 0x1p-1074, 0x1.fffffffffffffp1023})
        for (double v : {edge, std::nextafter(edge, 0.0), std::nextafter(edge, HUGE_VAL)})
            if (std::isfinite(v)) expect_narrowing(v);
    expect_narrowing(0.0);
    expect_narrowing(-0.0);
    expect_narrowing(-HUGE_VAL);
}

TEST(fps_conversion, bits_below_a_double_decide_ties_and_subnormals) {
    const struct {
        const char *what;
        double a, b; // the value is a + b
        double expected;
    } cases[] = {
        {"a tie goes to even", 1.0, 0x1p-53, 1.0},
        {"a tie goes to even upward", 1.0 + 0x1p-52, 0x1p-53, 1.0 + 0x1p-51},
        {"a trace above a tie", 1.0, 0x1p-53 + 0x1p-79, 1.0 + 0x1p-52},
        {"a trace below a tie", 1.0 + 0x1p-52, 0x1p-53 - 0x1p-79, 1.0 + 0x1p-52},
    };
    for (const auto &c : cases) {
        simul_fval a = from_host(c.a), b = from_host(c.b), sum;
        f_add(&a, &b, &sum);
        EXPECT_EQ(bits_of(to_double(sum)), bits_of(c.expected)) << c.what;
    }
    // The least subnormal times 1/2, 1/2 and a trace, 3/2, 1/4.
    const struct {
        double factor, expected;
        unsigned error;
    } subnormals[] = {
        {0.5, 0.0, FP_UNDERFLOW},
        {0.5 + 0x1p-40, 0x1p-1074, 0},
        {1.5, 0x1p-1073, 0},
        {0.25, 0.0, FP_UNDERFLOW},
        {0x1p-900, 0.0, FP_UNDERFLOW},
        {0x1p1000, 0x1p-74, 0},
        {0x1.23456789abcdep1000, 0x1.23456789abcdep-74, 0},
    };
    for (const auto &c : subnormals) {
        simul_fval a = from_host(0x1p-1074), b = from_host(c.factor), product;
        f_mul(&a, &b, &product);
        fp_error = 0;
        EXPECT_EQ(bits_of(to_double(product)), bits_of(c.expected)) << c.factor;
        EXPECT_EQ(fp_error, c.error) << c.factor;
    }
}

// The mantissa as an integer below 2^96.
static UWIDE mantissa(const simul_fval &a) {
    UWIDE m = 0;
    for (uint16_t word : a.mantissa) m = m << 16 | word;
    return m;
}

static const UWIDE low_48 = (UWIDE{1} << 48) - 1, low_96 = (UWIDE{1} << 96) - 1;

// What is kept of (m + low / 2^96) * 2^(exponent - 96): whole words only, from the first that is not zero; one
// that stands out above m pushes a word off the other end, where its top bit rounds.
static simul_fval kept(UWIDE m, UWIDE low, int exponent, int sign) {
    if (m == 0 && low == 0) return pos_zero;
    if (m >> 96) {
        m = (m >> 16) + (m >> 15 & 1);
        exponent += 16;
    }
    for (; m >> 80 == 0; exponent -= 16) {
        m = m << 16 | low >> 80;
        low = low << 16 & low_96;
    }
    simul_fval a = {{}, exponent, static_cast<uint8_t>(sign)};
    for (int i = 5; i >= 0; i--, m >>= 16) a.mantissa[i] = static_cast<uint16_t>(m);
    return a;
}

static simul_fval model_sum(const simul_fval &a, const simul_fval &b) {
    bool swap = a.exponent < b.exponent || (a.exponent == b.exponent && mantissa(a) < mantissa(b));
    const simul_fval &great = swap ? b : a, &small = swap ? a : b;
    int bits = great.exponent - small.exponent;
    if (bits > 8 * 16) return great;
    UWIDE m = bits < 96 ? mantissa(small) >> bits : 0;
    UWIDE low = (bits <= 96 ? mantissa(small) << (96 - bits) : mantissa(small) >> (bits - 96)) & low_96;
    if (bits == 0) low = 0;
    if (a.sign == b.sign) return kept(mantissa(great) + m, low, great.exponent, great.sign);
    return kept(mantissa(great) - m - (low != 0), (0 - low) & low_96, great.exponent, great.sign);
}

static simul_fval model_product(const simul_fval &a, const simul_fval &b) {
    UWIDE a1 = mantissa(a) >> 48, a0 = mantissa(a) & low_48, b1 = mantissa(b) >> 48,
          b0 = mantissa(b) & low_48;
    UWIDE middle = a1 * b0 + a0 * b1 + (a0 * b0 >> 48);
    UWIDE low = (middle & low_48) << 48 | (a0 * b0 & low_48);
    return kept(a1 * b1 + (middle >> 48), low, a.exponent + b.exponent, a.sign ^ b.sign);
}

static simul_fval model_quotient(const simul_fval &a, const simul_fval &b) {
    UWIDE rest = mantissa(a), quotient = rest / mantissa(b);
    rest %= mantissa(b);
    for (int bit = 0; bit < 96; bit++) {
        rest <<= 1;
        quotient = quotient << 1 | (rest >= mantissa(b));
        if (rest >= mantissa(b)) rest -= mantissa(b);
    }
    return kept(quotient, 0, a.exponent - b.exponent, a.sign ^ b.sign);
}

TEST(fps_arithmetic, every_bit_agrees_with_wide_integers) {
    std::mt19937_64 random(96);
    std::printf("seed 96\n");
    for (int i = 0; i < 200000; i++) {
        simul_fval a = random_working_form(random, 6), b = random_working_form(random, 6);
        if (i % 3 == 0) std::copy_n(a.mantissa, random() % 7, b.mantissa);
        simul_fval minus_b = b, sum, difference, product, quotient;
        minus_b.sign = !b.sign;
        ASSERT_EQ(f_add(&a, &b, &sum) | f_sub(&a, &b, &difference), 0);
        ASSERT_EQ(f_mul(&a, &b, &product) | f_div(&a, &b, &quotient), 0);
        ASSERT_TRUE(same(sum, model_sum(a, b))) << i;
        ASSERT_TRUE(same(difference, model_sum(a, minus_b))) << i;
        ASSERT_TRUE(same(product, model_product(a, b))) << i;
        ASSERT_TRUE(same(quotient, model_quotient(a, b))) << i;
        // The result may be an operand.
        simul_fval r = a;
        f_add(&r, &b, &r);
        ASSERT_TRUE(same(r, sum));
        r = b;
        f_div(&a, &r, &r);
        ASSERT_TRUE(same(r, quotient));
        r = a;
        f_mul(&r, &r, &r);
        ASSERT_TRUE(same(r, model_product(a, a)));
    }
}

// The host's results for +, -, *, / and the square root of the first operand's magnitude.
template <class T> static void host_results(T a, T b, T *result) {
    result[0] = a + b;
    result[1] = a - b;
    result[2] = a * b;
    result[3] = a / b;
    result[4] = std::sqrt(std::fabs(a));
}

static void own_results(const simul_fval &a, const simul_fval &b, simul_fval *result) {
    simul_fval magnitude;
    f_abs(&a, &magnitude);
    f_add(&a, &b, &result[0]);
    f_sub(&a, &b, &result[1]);
    f_mul(&a, &b, &result[2]);
    f_div(&a, &b, &result[3]);
    f_sqrt(&magnitude, &result[4]);
}

TEST(fps_arithmetic, singles_round_once_to_the_correct_result) {
    std::mt19937_64 random(24);
    std::printf("seed 24\n");
    for (int i = 0; i < 100000; i++) {
        float a = random_single(random, i % 5), b = random_single(random, i / 5 % 5), host[5];
        simul_fval own[5];
        if (a == 0 || b == 0) continue;
        host_results(a, b, host);
        own_results(from_host(a), from_host(b), own);
        for (int k = 0; k < 5; k++)
            ASSERT_EQ(bits_of(to_single(own[k])), bits_of(host[k]))
                << std::hexfloat << a << ' ' << b << ' ' << k;
    }
}

// Results are cut at 81 bits at worst, so that a false tie is beyond a sample's reach.
TEST(fps_arithmetic, doubles_come_out_correct) {
    std::mt19937_64 random(53);
    const int count = 40000;
    int wrong[5] = {};
    for (int i = 0; i < 5 * count; i++) {
        double a = random_double(random, i % 5), b = random_double(random, i % 5), host[5];
        simul_fval own[5];
        if (a == 0 || b == 0) continue;
        host_results(a, b, host);
        own_results(from_host(a), from_host(b), own);
        for (int k = 0; k < 5; k++) {
            uint64_t mine = bits_of(to_double(own[k])), right = bits_of(host[k]);
            wrong[k] += mine != right;
            ASSERT_LE(mine > right ? mine - right : right - mine, 1u)
                << std::hexfloat << a << ' ' << b << ' ' << k;
        }
    }
    std::printf("seed 53, of %d pairs wrong by one in the last place: %d sums, %d differences, %d products, "
                "%d quotients, "
                "%d roots\n",
                5 * count, wrong[0], wrong[1], wrong[2], wrong[3], wrong[4]);
    for (int k = 0; k < 5; k++) EXPECT_EQ(wrong[k], 0) << k;
}

TEST(fps_arithmetic, roots_of_squares_are_exact) {
    std::mt19937_64 random(2);
    std::printf("seed 2\n");
    for (int i = 0; i < 20000; i++) {
        double root = static_cast<double>(random() % (1u << 26)) *
                      std::ldexp(1.0, static_cast<int>(random() % 800) - 400);
        simul_fval a = from_host(root * root), r;
        fp_error = 0;
        ASSERT_EQ(f_sqrt(&a, &r), 0);
        ASSERT_EQ(bits_of(to_double(r)), bits_of(root)) << std::hexfloat << root;
    }
}

static const simul_fval huge = {{0xFFFF}, 32752, 0}, tiny = {{1}, -32752, 0}, minus_two = {{2}, 16, 1};

using BINARY = int (*)(const simul_fval *, const simul_fval *, simul_fval *);

TEST(fps_arithmetic, special_operands_give_what_the_format_says) {
    const struct {
        const char *what;
        BINARY operation;
        simul_fval a, b, expected;
        unsigned error;
    } cases[] = {
        {"x - x", f_sub, two, two, pos_zero, 0},
        {"-x + x", f_add, minus_two, two, pos_zero, 0},
        {"-0 + -0", f_add, neg_zero, neg_zero, neg_zero, 0},
        {"-0 + 0", f_add, neg_zero, pos_zero, pos_zero, 0},
        {"-0 - 0", f_sub, neg_zero, pos_zero, neg_zero, 0},
        {"0 - 2", f_sub, pos_zero, two, minus_two, 0},
        {"2 + -0", f_add, two, neg_zero, two, 0},
        {"inf + 2", f_add, pos_infin, two, pos_infin, 0},
        {"2 - inf", f_sub, two, pos_infin, neg_infin, 0},
        {"inf + inf", f_add, pos_infin, pos_infin, pos_infin, 0},
        {"inf - inf", f_sub, pos_infin, pos_infin, a_nan, FP_INVALID},
        {"nan + inf", f_add, a_nan, pos_infin, a_nan, 0},
        {"0 - nan", f_sub, pos_zero, a_nan, a_nan, 0},
        {"0 * inf", f_mul, pos_zero, pos_infin, a_nan, FP_INVALID},
        {"inf * -0", f_mul, pos_infin, neg_zero, a_nan, FP_INVALID},
        {"nan * 0", f_mul, a_nan, pos_zero, a_nan, 0},
        {"-2 * 0", f_mul, minus_two, pos_zero, neg_zero, 0},
        {"-2 * -inf", f_mul, minus_two, neg_infin, pos_infin, 0},
        {"1 / 0", f_div, one, pos_zero, pos_infin, FP_DIVIDE_BY_ZERO},
        {"inf / -0", f_div, pos_infin, neg_zero, neg_infin, FP_DIVIDE_BY_ZERO},
        {"0 / 0", f_div, pos_zero, neg_zero, a_nan, FP_INVALID},
        {"inf / -inf", f_div, pos_infin, neg_infin, a_nan, FP_INVALID},
        {"-2 / inf", f_div, minus_two, pos_infin, neg_zero, 0},
        {"inf / -2", f_div, pos_infin, minus_two, neg_infin, 0},
        {"0 / nan", f_div, pos_zero, a_nan, a_nan, 0},
        {"too great a sum", f_add, huge, huge, pos_infin, FP_OVERFLOW},
        {"too great a product", f_mul, huge, minus_two, neg_infin, FP_OVERFLOW},
        {"too small a product", f_mul, tiny, one_half, pos_zero, FP_UNDERFLOW},
        {"too small a quotient", f_div, tiny, huge, pos_zero, FP_UNDERFLOW},
    };
    for (const auto &c : cases) {
        simul_fval r;
        fp_error = 0;
        EXPECT_EQ(c.operation(&c.a, &c.b, &r), c.error ? -1 : 0) << c.what;
        EXPECT_EQ(fp_error, c.error) << c.what;
        EXPECT_TRUE(same(r, c.expected)) << c.what;
    }
    // 1 + 2^-200 lies beyond the reach of an addition.
    simul_fval small, r;
    f_ldexp(&one, -200, &small);
    f_add(&one, &small, &r);
    EXPECT_TRUE(same(r, one));
}

TEST(fps_arithmetic, roots_and_signs_of_special_values) {
    const struct {
        simul_fval a, root;
        int status;
        unsigned error;
    } roots[] = {
        {pos_zero, pos_zero, 0, 0},
        {neg_zero, neg_zero, 0, 0},
        {minus_two, pos_zero, -1, FP_INVALID},
        {neg_infin, pos_zero, -1, FP_INVALID},
        {pos_infin, pos_infin, -1, FP_OVERFLOW},
        {a_nan, a_nan, -1, FP_OVERFLOW | FP_INVALID},
    };
    simul_fval r;
    for (const auto &c : roots) {
        fp_error = 0;
        EXPECT_EQ(f_sqrt(&c.a, &r), c.status);
        EXPECT_EQ(fp_error, c.error);
        EXPECT_TRUE(same(r, c.root));
    }
    simul_fval minus_nan = a_nan;
    minus_nan.sign = 1;
    EXPECT_TRUE(f_neg(&a_nan, &r) == 0 && same(r, a_nan));
    EXPECT_TRUE(f_neg(&pos_infin, &r) == 0 && same(r, neg_infin));
    EXPECT_TRUE(f_neg(&minus_two, &r) == 0 && same(r, two));
    EXPECT_TRUE(f_abs(&minus_nan, &r) == 0 && same(r, a_nan));
    EXPECT_TRUE(f_abs(&neg_zero, &r) == 0 && same(r, pos_zero));
    EXPECT_FALSE(same(a_nan, minus_nan));
    EXPECT_FALSE(same(a_nan, pos_infin));
    EXPECT_FALSE(same(pos_zero, neg_zero));
}

TEST(fps_arithmetic, comparisons_agree_with_the_host) {
    std::mt19937_64 random(6);
    std::vector<double> values = {0.0, -0.0,    HUGE_VAL,  -HUGE_VAL, std::nan(""), 1.0,      -1.0,
                                  2.0, 65536.0, 0x1p-1074, 0x1p-1073, -0x1p-1074,   0x1p-1022};
    for (int kind = 0; kind < 5; kind++)
        for (int i = 0; i < 12; i++) values.push_back(random_double(random, kind));
    for (double a : values)
        for (double b : values) {
            simul_fval x = from_host(a), y = from_host(b);
            fp_error = 0;
            EXPECT_EQ(f_eq(&x, &y), a == b) << a << ' ' << b;
            EXPECT_EQ(f_ne(&x, &y), a != b) << a << ' ' << b;
            EXPECT_EQ(f_lt(&x, &y), a < b) << a << ' ' << b;
            EXPECT_EQ(f_le(&x, &y), a <= b) << a << ' ' << b;
            EXPECT_EQ(f_gt(&x, &y), a > b) << a << ' ' << b;
            EXPECT_EQ(f_ge(&x, &y), a >= b) << a << ' ' << b;
            EXPECT_EQ(fp_error, std::isnan(a) || std::isnan(b) ? FP_INVALID : 0u) << a << ' ' << b;
            EXPECT_EQ(f_bit_eq(&x, &y), bits_of(a) == bits_of(b)) << a << ' ' << b;
        }
}

TEST(fps_scaling, powers_of_two_are_exact_both_ways) {
    std::mt19937_64 random(16);
    std::printf("seed 16\n");
    for (int i = 0; i < 20000; i++) {
        double v = random_double(random, i % 5);
        int n = static_cast<int>(random() % 2400) - 1200, e, host_e;
        simul_fval a = from_host(v), r, fraction;
        ASSERT_EQ(f_ldexp(&a, n, &r), 0);
        ASSERT_EQ(bits_of(to_double(r)), bits_of(std::ldexp(v, n))) << std::hexfloat << v << ' ' << n;
        ASSERT_EQ(f_frexp(&a, &e, &fraction), 0);
        double host_fraction = std::frexp(v, &host_e);
        ASSERT_EQ(bits_of(to_double(fraction)), bits_of(host_fraction));
        ASSERT_EQ(e, host_e);
        ASSERT_EQ(f_ldexp(&fraction, e, &r), 0);
        ASSERT_TRUE(same(r, a));
        // The two forms, there and back.
        r = a;
        ASSERT_EQ(f_left_justify(&r), 0);
        ASSERT_TRUE(f_is_special(&a) || ((r.mantissa[0] & 0x8000) && r.exponent == e));
        ASSERT_EQ(f_align_radix_pt(&r), 0);
        ASSERT_TRUE(same(r, a));
    }
}

TEST(fps_scaling, exponents_beyond_the_range_are_reported) {
    const struct {
        simul_fval a;
        int n;
        simul_fval expected;
        unsigned error;
    } cases[] = {
        {one, 100000, pos_infin, FP_OVERFLOW},
        {one, INT32_MAX, pos_infin, FP_OVERFLOW},
        {minus_two, INT32_MIN, neg_zero, FP_UNDERFLOW},
        {one, 32752, pos_infin, FP_OVERFLOW},
        {tiny, -1, pos_zero, FP_UNDERFLOW},
        {neg_zero, 5, neg_zero, 0},
        {neg_infin, -5, neg_infin, 0},
    };
    for (const auto &c : cases) {
        simul_fval r;
        fp_error = 0;
        EXPECT_EQ(f_ldexp(&c.a, c.n, &r), c.error ? -1 : 0) << c.n;
        EXPECT_EQ(fp_error, c.error) << c.n;
        EXPECT_TRUE(same(r, c.expected)) << c.n;
    }
    simul_fval top = {{0x8000}, 32760, 1};
    fp_error = FP_INVALID;
    EXPECT_EQ(f_align_radix_pt(&top), -1);
    EXPECT_EQ(fp_error, FP_OVERFLOW); // assigned
    EXPECT_TRUE(same(top, neg_infin));
    simul_fval bottom = {{0, 1}, -32760, 1};
    EXPECT_EQ(f_left_justify(&bottom), -1);
    EXPECT_TRUE(same(bottom, neg_zero));
}

TEST(fps_scaling, a_number_without_mantissa_ends_the_program) {
    simul_fval broken = {{0, 0, 0, 0, 0, 7}, 16, 0};
    EXPECT_EXIT(f_left_justify(&broken), testing::ExitedWithCode(1),
                "^>>>Internal Error: Illegal float representation!\n$");
}

TEST(fps_integers, both_ways_agree_with_the_host) {
    std::vector<long long> values = {0, 1, -1, INT64_MAX, INT64_MIN, INT64_MIN + 1, 65535, 65536, -65537};
    std::mt19937_64 random(64);
    std::printf("seed 64\n");
    for (int i = 0; i < 5000; i++) values.push_back(static_cast<int64_t>(random()) >> random() % 64);
    for (long long v : values) {
        simul_fval a, b;
        long long back;
        f_itof(v, &a);
        ASSERT_EQ(bits_of(to_double(a)), bits_of(static_cast<double>(v))) << v;
        f_ftoi(&a, &back);
        ASSERT_EQ(back, v == INT64_MIN ? -INT64_MAX : v);
        // A fraction is cut off toward zero.
        if (v >= INT64_MAX || v <= -INT64_MAX || v == 0) continue;
        f_add(&a, v < 0 ? &(b = {{0x8000}, 0, 1}) : &one_half, &b);
        f_ftoi(&b, &back);
        ASSERT_EQ(back, v);
    }
    const struct {
        simul_fval a;
        long long expected;
    } cases[] = {
        {{{0xFFFF, 0xFFFF}, 0, 1}, 0},
        {tiny, 0},
        {neg_zero, 0},
        {huge, INT64_MAX},
        {neg_infin, -INT64_MAX},
        {a_nan, INT64_MAX},
        {{{0x8000}, 64, 0}, INT64_MAX},
    };
    for (const auto &c : cases) {
        long long v = 5;
        EXPECT_EQ(f_ftoi(&c.a, &v), 0);
        EXPECT_EQ(v, c.expected);
    }
}
