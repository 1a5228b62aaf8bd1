// Folding computes what the target would: every operator over boundary values of every integer type against a
// reference in 128 bits, floating operators against the host's, and what must stay unfolded.
#include "OPT5/flags.h"
#include "OPT5/fold.h"
#include "OPT5/tree.h"
#include "support/fps_text.h"
#include "tests/unit/OPT5/trees_world.h"

#include <cmath>
#include <limits>
#include <random>

namespace {

using WIDE = __int128;

struct fold : trees_world {
    // The value modulo the type.
    static INT65 cut(WIDE v, TYPE *type) {
        return truncate_to_type(INT65(0, static_cast<long long>(v)), type);
    }
    static WIDE wide(INT65 v) { return v.is_negative() ? -WIDE((-v).to_uint64()) : WIDE(v.to_uint64()); }

    std::optional<INT65> reference(int op, WIDE a, WIDE b, TYPE *type) {
        int bits = int(type->size);
        WIDE least = type->is_signed() ? -(WIDE(1) << (bits - 1)) : 0;
        bool is_shift = op == SLL || op == SRL, is_division = op == DIV || op == MOD;
        if (is_shift && (b < 0 || b >= bits)) return {};
        if (is_division && (b == 0 || (type->is_signed() && a == least && b == -1))) return {};
        if ((op == UMINUS || op == ABS) && type->is_signed() && a == least) return {};
        unsigned __int128 ua = a, ub = b;
        switch (op) {
        case PLUS: return cut(a + b, type);
        case MINUS: return cut(a - b, type);
        case MULT: return cut(WIDE(ua * ub), type);
        case DIV: return cut(a / b, type);
        case MOD: return cut(a % b, type);
        case ANDB: return cut(a & b, type);
        case ORB: return cut(a | b, type);
        case XORB: return cut(a ^ b, type);
        case SLL: return cut(WIDE(ua << int(b)), type);
        case SRL: return cut(a >> int(b), type);
        case UMINUS: return cut(-a, type);
        case ABS: return cut(a < 0 ? -a : a, type);
        case NOTB: return cut(~a, type);
        case ANDAND: return INT65(a && b);
        case OROR: return INT65(a || b);
        case EXCLAIM: return INT65(!a);
        default: break;
        }
        int word = bits > 32 ? 64 : 32;
        if (op >= ULE) a &= (WIDE(1) << word) - 1, b &= (WIDE(1) << word) - 1;
        else if (word == 64) a = int64_t(a), b = int64_t(b);
        else a = int32_t(a), b = int32_t(b);
        switch (op) {
        case EQ: return INT65(a == b);
        case NEQ: return INT65(a != b);
        case LE:
        case ULE: return INT65(a <= b);
        case LT:
        case ULT: return INT65(a < b);
        case GE:
        case UGE: return INT65(a >= b);
        default: return INT65(a > b);
        }
    }
    std::vector<INT65> boundary_values(TYPE *type) {
        std::vector<INT65> v;
        for (long long x : {0, 1, 2, 3, 7, 31, 32, -1, -2, -8})
            for (int shift : {0, int(type->size) - 1}) v.push_back(truncate_to_type(INT65(x) << shift, type));
        v.push_back(truncate_to_type(INT65(0x123456789abcdefLL), type));
        v.push_back(truncate_to_type((INT65(1) << (int(type->size) - 1)) - INT65(1), type));
        return v;
    }

    NODE *F(double v, TYPE *type) {
        char text[64];
        snprintf(text, sizeof text, "%a", v);
        NODE *n = new NODE(FCON, type);
        n->mk_fcon(text);
        return n;
    }
    static double value(NODE *n) { return strtod(n->fcon_value(), nullptr); }
    // What the tree folds to; "" when it stays.
    std::string folded(NODE *tree) {
        int op = tree->op;
        NODE *r = fold_constants(tree);
        std::string text = r->op == ICON   ? int65_to_decimal(r->u.lval)
                           : r->op == FCON ? r->fcon_value()
                           : r->op == op   ? ""
                                           : opname(r->op);
        erase_tree(r);
        return text;
    }
};

TEST_F(fold, integers_wrap_and_trap_as_on_the_target) {
    const int binary[] = {PLUS, MINUS, MULT, DIV, MOD, ANDB, ORB, XORB, SLL, SRL, ANDAND,
                          OROR, EQ,    NEQ,  LE,  LT,  GE,   GT,  ULE,  ULT, UGE, UGT};
    const int unary[] = {UMINUS, ABS, NOTB, EXCLAIM};
    size_t before = nodes_in_use();
    for (TYPE *type : {c, uc, sh, i, u, ll, ull, tp->basic[IK_ushort]}) {
        auto check = [&](int op, INT65 a, std::optional<INT65> b) {
            NODE *r = fold_constants(B(op, mk_ICON(a, type), b ? mk_ICON(*b, type) : nullptr,
                                       boolean_result[op] ? this->i : type));
            auto expected = reference(op, wide(a), b ? wide(*b) : 0, type);
            ASSERT_EQ(r->op == ICON, expected.has_value())
                << opname(op) << type->printstr() << " " << int65_to_decimal(a) << " "
                << (b ? int65_to_decimal(*b) : "");
            ASSERT_EQ(expected ? int65_to_decimal(r->u.lval) : "",
                      expected ? int65_to_decimal(*expected) : "")
                << opname(op) << type->printstr() << " " << int65_to_decimal(a) << " "
                << (b ? int65_to_decimal(*b) : "");
            erase_tree(r);
        };
        for (INT65 a : boundary_values(type)) {
            for (int op : unary) check(op, a, {});
            for (INT65 b : boundary_values(type))
                for (int op : binary) check(op, a, b);
        }
    }
    EXPECT_EQ(nodes_in_use(), before);
}

TEST_F(fold, operands_convert_to_the_type_of_the_operator) {
    EXPECT_EQ(folded(B(SRL, I(-1, c), I(1), u)), "2147483647");
    EXPECT_EQ(folded(B(DIV, I(-1), I(2, u), u)), "2147483647");
    EXPECT_EQ(folded(B(EQ, I(-1), I(4294967295LL, u))), "1"); // compared as words
    EXPECT_EQ(folded(B(LT, I(-1), I(1, ull))), "1");
    EXPECT_EQ(folded(U(SCONV, I(200), c)), "-56");
    EXPECT_EQ(folded(U(SCONV, I(256), tp->basic[IK_bool])), "1");
    EXPECT_EQ(folded(B(PLUS, U(SCONV, I(300), uc), I(1))), "45");
}

TEST_F(fold, powers) {
    EXPECT_EQ(folded(B(EXPT, I(-3), I(5))), "-243");
    EXPECT_EQ(folded(B(EXPT, I(3), I(40), u)), "689956897"); // modulo 2^32
    EXPECT_EQ(folded(B(EXPT, I(0), I(0))), "1");
    EXPECT_EQ(folded(B(EXPT, I(2), I(-1))), "");
    EXPECT_EQ(folded(B(EXPT, I(1), I(-1))), "1");
}

TEST_F(fold, floats_round_once_in_their_own_precision) {
    std::mt19937_64 random(20);
    int folded_count = 0, all = 0;
    auto any = [&](bool single) {
        double m = ldexp(double(random() >> 11), -53) + 1, v = ldexp(m, int(random() % 60) - 30);
        if (random() % 4 == 0) v = double(int(random() % 64));
        if (random() % 2) v = -v;
        return single ? double(float(v)) : v;
    };
    for (int k = 0; k < 4000; k++) {
        bool single = k % 2;
        TYPE *type = single ? flt : dbl;
        double a = any(single), b = any(single), expected = 0;
        int op = std::array{PLUS, MINUS, MULT, DIV, SQRT, SQR}[size_t(k / 2 % 6)];
        if ((op == DIV && b == 0) || (op == SQRT && a < 0)) continue;
        float x = float(a), y = float(b);
        switch (op) {
        case PLUS: expected = single ? x + y : a + b; break;
        case MINUS: expected = single ? x - y : a - b; break;
        case MULT: expected = single ? x * y : a * b; break;
        case DIV: expected = single ? x / y : a / b; break;
        case SQRT: expected = single ? std::sqrt(x) : std::sqrt(a); break;
        default: expected = single ? x * x : a * a;
        }
        bool unary = op == SQRT || op == SQR;
        NODE *r = fold_constants(B(op, F(a, type), unary ? nullptr : F(b, type), type));
        ++all;
        if (r->op == FCON) {
            ++folded_count;
            ASSERT_EQ(value(r), expected) << opname(op) << a << " " << b;
            ASSERT_EQ(std::signbit(value(r)), std::signbit(expected)) << opname(op) << a << " " << b;
        }
        erase_tree(r);
    }
    EXPECT_GT(folded_count, all * 99 / 100);
}

TEST_F(fold, floats_that_stay_and_floats_that_fold) {
    double nan = std::nan(""), inf = INFINITY, tiny = std::numeric_limits<double>::denorm_min();
    struct ROW {
        int op;
        double a, b;
        const char *result;
    } rows[] = {
        // clang-format off
        {PLUS,  0.1, 0.2, "0x1.3333333333334p-2"},      {MINUS, 1, 1, "0x0p+0"},
        {PLUS,  -0.0, -0.0, "-0x0p+0"},                 {MULT,  -1, 0, "-0x0p+0"},
        {DIV,   1, 0, ""},                              {DIV,   0, 0, ""},
        {MULT,  1e300, 1e300, ""},                      {MULT,  tiny, 0.25, ""},
        {MULT,  tiny, 3, "0x1.8p-1073"},                {PLUS,  nan, 1, ""},
        {MINUS, inf, inf, ""},                          {PLUS,  inf, 1, "inf"},
        {FEQ, 0.0, -0.0, "1"},                          {FEQ,   nan, nan, "0"},
        {FEQN, nan, nan, "1"},                          {FNEQ,  nan, 1, "0"},
        {FNEQN, nan, 1, "1"},                           {FUNO,  nan, 1, "1"},
        {FORD,  1, inf, "1"},                           {NEQ,   nan, nan, "1"},
        {FLT,   -inf, -1e300, "1"},                     {FGEN,  nan, 2, "1"},
        // clang-format on
    };
    for (auto [op, a, b, result] : rows)
        EXPECT_EQ(folded(B(op, F(a, dbl), F(b, dbl), boolean_result[op] ? i : dbl)), result)
            << opname(op) << a << " " << b;
    EXPECT_EQ(folded(U(RECIP, F(4, dbl), dbl)), "0x1p-2");
    EXPECT_EQ(folded(U(RECIP, F(3, dbl), dbl)), "");
    EXPECT_EQ(folded(U(UMINUS, F(0, flt), flt)), "-0x0p+0");
    EXPECT_EQ(folded(U(SQRT, F(-1, dbl), dbl)), "");
    EXPECT_EQ(folded(B(PLUS, I(16777217), F(1, flt), flt)), "0x1p+24"); // the integer rounds first
    EXPECT_EQ(folded(B(FEQ, I(16777217), F(16777216, flt), i)), "1");
}

TEST_F(fold, conversions_of_constants) {
    struct ROW {
        double from;
        TYPE *to;
        const char *result;
    } rows[] = {
        {-0.9, u, "0"},
        {-1.0, u, ""},
        {2147483647.5, i, "2147483647"},
        {2147483648.0, i, ""},
        {1e30, i, ""},
        {18446744073709549568.0, ull, "18446744073709549568"},
        {-9223372036854775808.0, ll, "-9223372036854775808"},
        {9223372036854775808.0, ll, ""},
        {-128.9, c, "-128"},
        {0.25, tp->basic[IK_bool], "1"},
        {-0.0, tp->basic[IK_bool], "0"},
        {0.1, flt, "0x1.99999ap-4"},
        {1e300, flt, ""},
    };
    for (auto [from, to, result] : rows) EXPECT_EQ(folded(U(SCONV, F(from, dbl), to)), result) << from;
    EXPECT_EQ(folded(U(SCONV, F(std::nan(""), dbl), i)), "");
    EXPECT_EQ(folded(U(SCONV, mk_ICON(INT65(~0ull), ull), flt)), "0x1p+64");
    EXPECT_EQ(folded(U(SCONV, I(-7, c), dbl)), "-0x1.cp+2");
}

TEST_F(fold, literals_have_one_form) {
    struct {
        const char *text, *normal;
    } rows[] = {{"012.50f", "1.25e1"}, {"0.00120", "1.2e-3"}, {"-1", "-1.0e0"}, {"100.e3", "1.0e5"},
                {"-0.000e7", "-0.0"},  {".5L", "5.0e-1"},     {"nan", "nan"},   {"0x1p3", "0x1p3"}};
    for (auto [text, normal] : rows) EXPECT_EQ(normalize_fcon(text, int(strlen(text))), normal);
    EXPECT_EQ(fval2text(&one, flt), "1.0F");
    EXPECT_EQ(fval2text(&one_half, dbl), "0.5");
    EXPECT_EQ(fval2text(&neg_zero, tp->basic[BT_ldouble]), "-0.0L");
}

} // namespace
