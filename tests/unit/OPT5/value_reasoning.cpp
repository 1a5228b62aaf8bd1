// What is known of values: how narrow the answers are, facts of loops, cost. That they hold at all is the oracle's to
// check.
#include "OPT5/ddloop.h"
#include "OPT5/rules.h"
#include "OPT5/symbolic.h"
#include "OPT5/symfactor.h"
#include "OPT5/typefacts.h"
#include "tests/unit/OPT5/trees_world.h"

#include <chrono>

namespace {

struct values : trees_world {
    FUNINFO info;
    std::vector<NODE *> trees; // erased at the end
    struct LOOP whole, outer, inner;

    values() {
        currfuninfo = &info;
        inner.parent = &outer;
        outer.parent = &whole;
    }
    ~values() override {
        for (NODE *t : trees) erase_tree(t);
        for (struct LOOP *l : {&whole, &outer, &inner}) erase_tree_list(l->givens);
    }
    NODE *keep(NODE *t) {
        trees.push_back(t);
        return t;
    }
    NODE *V(const char *name, TYPE *type) {
        if (sym(name)->type != type) sym(name)->type = type;
        return N(name);
    }
    NODE *byte(const char *name = "b") { return V(name, uc); }
    // "low..high"
    std::string range(NODE *tree, struct LOOP *loop = nullptr) {
        INT65 low = calculate_minval_for_tree(tree, loop), high = calculate_maxval_for_tree(tree, loop);
        erase_tree(tree);
        return int65_to_decimal(low) + ".." + int65_to_decimal(high);
    }
    void given(struct LOOP &loop, NODE *fact) { loop.givens = mklist(U(ASSERT, fact), loop.givens, 0, 0); }
    std::string factor(NODE *tree) {
        INT65 f = max_ICON_factor(tree, nullptr, 0);
        erase_tree(tree);
        return int65_to_decimal(f);
    }
    template <class F> bool ask(F question, NODE *tree) {
        bool answer = question(tree, nullptr);
        erase_tree(tree);
        return answer;
    }
    std::string text(NODE *tree) {
        if (!tree) return "none";
        std::string s = tree2infix(tree);
        erase_tree(tree);
        return s;
    }
};

TEST_F(values, ranges_are_narrow) {
    auto b = [this] { return byte(); };
    EXPECT_EQ(range(B(ANDB, N("x"), I(255))), "0..255");
    EXPECT_EQ(range(B(PLUS, b(), I(-3), i)), "-3..252");
    EXPECT_EQ(range(B(PLUS, N("x"), I(1))), "-2147483648..2147483647"); // wraps
    EXPECT_EQ(range(B(PLUS, b(), I(4294967040LL, u), u)), "4294967040..4294967295");
    EXPECT_EQ(range(B(PLUS, U(SCONV, b(), u), I(4294967295LL, u), u)), "0..4294967295"); // 0 - 1 wraps
    EXPECT_EQ(range(B(MULT, b(), I(-3), i)), "-765..0");
    EXPECT_EQ(range(B(MULT, b(), byte("b2"), i)), "0..65025");
    EXPECT_EQ(range(B(DIV, B(PLUS, b(), I(-5), i), I(2))), "-2..125");
    EXPECT_EQ(range(B(DIV, N("x"), I(-1))), "-2147483648..2147483647");
    EXPECT_EQ(range(B(DIV, I(100), b(), i)), "0..100");
    EXPECT_EQ(range(B(MOD, B(MULT, b(), I(4), i), I(8))), "0..4");
    EXPECT_EQ(range(B(MOD, N("x"), I(10))), "-9..9");
    EXPECT_EQ(range(B(MOD, b(), I(1000), i)), "0..255");
    EXPECT_EQ(range(B(SRL, N("x"), I(28))), "-8..7");
    EXPECT_EQ(range(B(SLL, b(), I(3), i)), "0..2040");
    EXPECT_EQ(range(B(SLL, I(1), B(ANDB, N("n"), I(7)))), "1..128");
    EXPECT_EQ(range(U(ABS, B(PLUS, b(), I(-200), i))), "0..200");
    EXPECT_EQ(range(U(SCONV, B(PLUS, b(), I(256), i), uc)), "0..255");
    EXPECT_EQ(range(U(SCONV, U(UMINUS, B(ANDB, N("x"), I(3))), u)), "0..4294967295");
    EXPECT_EQ(range(B(ORB, b(), I(0x100), i)), "256..511");
    EXPECT_EQ(range(B(QUEST, N("x"), B(COLON, I(3), I(-7)))), "-7..3");
    EXPECT_EQ(range(B(MINUS, V("p", ptr), V("q", ptr), i)), "-2147483648..2147483647");
    EXPECT_EQ(range(dot(V("r", record), field_bit)), "-16..15");
    EXPECT_EQ(range(B(LT, b(), I(256))), "1..1");
    EXPECT_EQ(range(B(ULT, V("uu", u), I(0, u))), "0..0");
    EXPECT_EQ(range(B(GT, V("uu", u), I(5))), "0..1"); // compared as a signed word
    EXPECT_EQ(range(V("t", tp->basic[IK_bool])), "0..1");
    EXPECT_EQ(range(B(ASG, V("c1", c), B(ANDB, N("x"), I(255)))), "-128..127");
}

TEST_F(values, facts_narrow_what_they_are_about) {
    given(whole, B(LE, N("x"), I(100)));
    given(outer, B(GT, N("x"), I(-1)));
    given(inner, B(ULT, N("y"), I(50, u)));
    given(inner, B(UGE, N("z"), I(10, u))); // says nothing of a signed z
    given(inner, B(LT, V("w", u), I(10)));  // nor this of an unsigned w
    given(inner, B(LT, N("x"), N("n")));    // no constant
    given(inner, B(NEQ, N("x"), I(0)));
    EXPECT_EQ(range(N("x")), "-2147483648..2147483647");
    EXPECT_EQ(range(N("x"), &outer), "0..100");
    EXPECT_EQ(range(B(PLUS, N("x"), I(1)), &inner), "2..101");
    EXPECT_EQ(range(N("y"), &inner), "0..49");
    EXPECT_EQ(range(N("z"), &inner), "-2147483648..2147483647");
    EXPECT_EQ(range(N("w"), &inner), "0..4294967295");
    info.global_assertions = mklist(B(GE, N("x"), I(7)), nullptr, 0, 0);
    EXPECT_EQ(range(N("x")), "7..2147483647");
    erase_tree_list(info.global_assertions);
    info.global_assertions = nullptr;
}

TEST_F(values, predicates) {
    NODE *narrow = B(ANDB, N("x"), I(15));
    EXPECT_TRUE(ask(tree_is_non_zero, B(MULT, B(ORB, N("x"), I(2)), I(3)))); // 3 has an inverse
    EXPECT_FALSE(ask(tree_is_non_zero, B(MULT, B(ORB, N("x"), I(2)), I(-2147483648LL))));
    EXPECT_TRUE(ask(tree_is_non_zero, B(MINUS, B(PLUS, N("x"), I(1)), N("x"))));
    EXPECT_TRUE(ask(tree_is_zero, B(MINUS, N("x"), N("x"))));
    EXPECT_FALSE(ask(tree_is_non_negative, U(UMINUS, copy_tree(narrow))));
    EXPECT_TRUE(ask(positive_tree_is_power_of_2, B(SLL, I(4), N("n"))));
    EXPECT_TRUE(ask(positive_tree_is_power_of_2, B(ANDB, N("x"), U(UMINUS, N("x")))));
    EXPECT_FALSE(
        ask(positive_tree_is_power_of_2, U(SCONV, B(SLL, I(1), N("n")), ull))); // 1 << 31 is extended
    NODE *x1 = keep(B(PLUS, N("x"), I(1))), *x3 = keep(B(MINUS, N("x"), I(-3))), *x = keep(N("x"));
    EXPECT_TRUE(tree_difference_is_ivalue(x3, x1, INT65(2), nullptr));
    EXPECT_TRUE(tree_difference_is_ivalue(x, x1, INT65(-1), nullptr));
    EXPECT_FALSE(tree_difference_is_ivalue(x, keep(N("y")), INT65(0), nullptr));
    EXPECT_TRUE(tree_values_are_not_equal(x, x1, nullptr));
    EXPECT_TRUE(tree_values_are_not_equal(keep(B(ORB, N("x"), I(1))), keep(B(MULT, N("y"), I(2))), nullptr));
    EXPECT_FALSE(tree_values_are_not_equal(keep(I(-1)), keep(I(4294967295LL, u)), nullptr)); // one word
    EXPECT_TRUE(tree_is_not_ivalue(keep(B(MULT, N("x"), I(4))), INT65(6), nullptr));
    EXPECT_EQ(sign_of_integer_expression(narrow, nullptr, 0), 1);
    EXPECT_EQ(sign_of_integer_expression(keep(narrow), nullptr, 1), SIGN_UNKNOWN);
    EXPECT_TRUE(expr_product_may_overflow(keep(B(MULT, N("x"), I(-1))), nullptr));
    EXPECT_FALSE(expr_product_may_overflow(keep(B(MULT, B(ORB, N("x"), I(1)), I(-1))), nullptr));
    EXPECT_TRUE(sum_may_overflow(INT65(200), INT65(56), uc));
    EXPECT_FALSE(prod_may_overflow(INT65(-8), INT65(16), c));
}

TEST_F(values, factors_survive_wrapping_only_as_powers_of_two) {
    EXPECT_EQ(factor(B(MULT, N("x"), I(12))), "4");
    EXPECT_EQ(factor(B(MULT, byte(), I(12), i)), "12");
    EXPECT_EQ(factor(B(PLUS, B(MULT, byte(), I(12), i), I(18))), "6");
    EXPECT_EQ(factor(B(PLUS, B(MULT, byte(), I(12), i), I(2147483640))), "4");
    EXPECT_EQ(factor(B(SLL, B(MULT, byte(), I(3), i), I(4))), "48");
    EXPECT_EQ(factor(B(SRL, B(MULT, byte(), I(24), i), I(2))), "6");
    EXPECT_EQ(factor(B(ANDB, N("x"), I(-16))), "16");
    EXPECT_EQ(factor(U(SCONV, B(MULT, byte(), I(12), i), uc)), "4");
    EXPECT_EQ(factor(I(0)), "0");
    NODE *six = keep(B(MULT, byte(), I(6), i)), *plus = keep(B(PLUS, copy_tree(six), I(2)));
    EXPECT_EQ(expr_modulo_constant(plus, i, INT65(6), nullptr), INT65(2));
    EXPECT_EQ(expr_modulo_constant(keep(B(PLUS, N("x"), I(2))), i, INT65(6), nullptr), INT65(-1));
    EXPECT_TRUE(expr_cannot_divide_expr(six, plus, nullptr));
    EXPECT_FALSE(expr_cannot_divide_expr(keep(N("x")), plus, nullptr));
    EXPECT_TRUE(integer_DIV_is_exact(keep(B(DIV, copy_tree(six), I(-3))), nullptr));
    EXPECT_FALSE(integer_DIV_is_exact(keep(B(DIV, N("x"), I(0))), nullptr));
    EXPECT_EQ(max_ICON_delta(six, nullptr), INT65(1530));
}

TEST_F(values, coefficients_divide_as_written) {
    auto divided = [this](NODE *t, long long coef) {
        EXPECT_EQ(max_ICON_coef(t), INT65(coef));
        return text(div_ICON_coef(t, INT65(coef)));
    };
    NODE *sum = B(PLUS, B(MINUS, B(MULT, N("x"), I(12)), B(SLL, N("y"), I(3))), I(20));
    EXPECT_EQ(divided(sum, 4), text(B(PLUS, B(MINUS, B(MULT, N("x"), I(3)), B(SLL, N("y"), I(1))), I(5))));
    EXPECT_EQ(divided(B(MULT, B(MULT, N("x"), I(6)), I(-10)), 60),
              text(B(MULT, B(MULT, N("x"), I(1)), I(-1))));
    EXPECT_EQ(divided(B(PLUS, N("x"), I(20)), 1), text(B(PLUS, N("x"), I(20))));
    NODE *long_sum = chain(50000, true);
    EXPECT_EQ(max_ICON_coef(long_sum), INT65(1));
    erase_tree(long_sum);
}

TEST_F(values, extremes_over_induction_variables) {
    LOOPIV iv;
    iv.loop = &inner;
    iv.sym = sym("i1");
    iv.lowval = INT65(2);
    iv.highval = INT65(9);
    inner.IVs = &iv;
    auto extremes = [&](NODE *t) {
        std::string s = text(partially_eval_for_minimum(t, &inner, 0)) + " " +
                        text(partially_eval_for_maximum(t, &inner, 0));
        erase_tree(t);
        return s;
    };
    EXPECT_EQ(range(N("i1"), &inner), "2..9");
    EXPECT_EQ(extremes(N("i1")), "2 9");
    EXPECT_EQ(extremes(N("x")), "x x");
    EXPECT_EQ(extremes(B(MULT, N("i1"), N("x"))), "none none"); // of unknown sign
    EXPECT_EQ(extremes(B(PLUS, N("i1"), N("x"))), "none none"); // may wrap
    EXPECT_EQ(extremes(B(ANDB, N("i1"), I(1))), "none none");   // not monotonic
    inner.IVs = nullptr;
}

TEST_F(values, trees_in_a_range) {
    auto in_range = [this](NODE *t, long long low, long long high, long long step = 1) {
        NODE *r = simp_tree_in_range(t, INT65(low), INT65(high), INT65(step));
        erase_tree(t);
        return text(r);
    };
    EXPECT_EQ(in_range(B(LT, N("x"), I(10)), 0, 9), "1");
    EXPECT_EQ(in_range(B(LT, N("x"), I(10)), 0, 12, 4), text(B(LT, N("x"), I(10))));
    EXPECT_EQ(in_range(B(LT, N("x"), I(10)), 0, 11, 4), "1"); // 0, 4, 8
    EXPECT_EQ(in_range(B(EQ, N("x"), I(5)), 0, 100, 2), "0");
    EXPECT_EQ(in_range(B(ULT, N("x"), I(10)), -3, 5), text(B(ULT, N("x"), I(10))));
    EXPECT_EQ(in_range(B(DIV, N("x"), I(8)), 16, 23), "2");
    EXPECT_EQ(in_range(B(MOD, N("x"), I(8)), 16, 48, 8), "0");
    EXPECT_EQ(in_range(B(MOD, N("x"), I(8)), -16, 48, 8), text(B(MOD, N("x"), I(8))));
    EXPECT_EQ(in_range(B(GE, call(function("f"), nullptr), I(0)), 0, 9),
              text(B(COMMAOP, call(function("f"), nullptr), I(1))));
}

// A question costs a bounded time, however the tree nests.
TEST_F(values, questions_about_great_trees_are_cheap) {
    NODE *product = byte();
    for (int k = 0; k < 12; k++) product = B(MULT, product, copy_tree(product), i);
    NODE *sums = chain(100000, true), *masks = N("x");
    for (int k = 0; k < 200; k++) masks = B(k % 2 ? ANDB : ORB, masks, B(PLUS, N("y"), I(k)));
    auto start = std::chrono::steady_clock::now();
    for (int k = 0; k < 200; k++)
        for (NODE *t : {product, sums, masks}) {
            calculate_minval_for_tree(t, nullptr);
            max_ICON_factor(t, nullptr, 1);
            tree_is_non_zero(t, nullptr);
            tree_is_not_ivalue(t, INT65(7), nullptr);
        }
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_LT(seconds, 20); // some tenths on an idle machine
    EXPECT_GT(bound_depth_hits, 0u);
    for (NODE *t : {product, sums, masks}) erase_tree(t);
}

} // namespace
