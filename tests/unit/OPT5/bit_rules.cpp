// The guards of the bit rules: each rule on a tree that it is for, then on trees that lack one of its conditions. That
// a rewriting keeps values, events and order is the oracle's business.
#include "OPT5/simp2.h"

#include <cstring>
#include <functional>

#include "OPT5/rules.h"
#include "OPT5/simp1.h"
#include "tests/unit/OPT5/bif_world.h"

namespace {

struct bit_rules : bif_world {
    TYPE *us;

    bit_rules() {
        us = tp->basic[IK_ushort];
        symbol("uc", uc), symbol("sc", c), symbol("u", u), symbol("v", vol), symbol("ll", ll),
            symbol("ull", ull);
    }
    NODE *AND(NODE *a, NODE *b) { return B(ANDB, a, b); }
    NODE *AND(NODE *a, long long k) { return B(ANDB, a, I(k, a->type)); }
    NODE *OR(NODE *a, long long k) { return B(ORB, a, I(k, a->type)); }
    NODE *XOR(NODE *a, long long k) { return B(XORB, a, I(k, a->type)); }
    NODE *as(TYPE *t, NODE *a) { return U(SCONV, a, t); }
    NODE *range(int low, NODE *a, long long lo, int high, NODE *b, long long hi) {
        return AND(B(low, a, I(lo, a->type)), B(high, b, I(hi, b->type)));
    }

    static unsigned long firings(const char *rule) {
        unsigned long n = 0;
        bool known = false;
        for (const REWRITE_RULE &r : all_rules())
            if (strstr(r.text, rule)) known = true, n += r.fired;
        EXPECT_TRUE(known) << rule;
        return n;
    }
    NODE *simplify(NODE *t) {
        return rewrite_tree(t, [](NODE *n) {
            switch (n->op) {
            case ANDB: return simp_ANDB(n, nullptr);
            case ORB: return simp_ORB(n, nullptr);
            case XORB: return simp_XORB(n, nullptr);
            default: return n;
            }
        });
    }
};

} // namespace

TEST_F(bit_rules, fire_only_under_their_conditions) {
    struct ROW {
        const char *rule;
        bool fires;
        std::function<NODE *()> tree;
    };
    const long long lowest = -0x7FFFFFFF - 1ll;
    // clang-format off
    const ROW rows[] = {
        {"bits: x & x",        true,  [&] { return AND(N("i"), N("i")); }},
        {"bits: x & x",        false, [&] { return AND(N("v"), N("v")); }},
        {"XORB: x ^ x",        true,  [&] { return B(XORB, N("i"), N("i")); }},
        {"XORB: x ^ x",        false, [&] { return B(XORB, N("v"), N("v")); }},
        {"no bit of c",        true,  [&] { return AND(B(MULT, N("i"), I(16)), 15); }},
        {"no bit of c",        false, [&] { return AND(B(MULT, N("i"), I(16)), 31); }},
        {"no other bits",      true,  [&] { return AND(N("uc"), I(0xFF)); }},
        {"no other bits",      false, [&] { return B(ANDB, N("sc"), I(0xFF), i); }},
        {"no other bits",      false, [&] { return AND(N("uc"), I(0x7F)); }},
        {"(u & d) + (e & d)",  true,  [&] { return AND(B(PLUS, AND(N("i"), -8), I(12)), -8); }},
        {"(u & d) + (e & d)",  false, [&] { return AND(B(PLUS, AND(N("i"), -4), I(12)), -8); }},
        {"(u & d) + (e & d)",  false, [&] { return AND(B(PLUS, AND(N("i"), -7), I(12)), -7); }},
        {"(u & d) + (e & d)",  false, [&] { return AND(B(PLUS, as(i, AND(N("sc"), -8)), I(12)), -8); }},
        {"(u | d) & c",        true,  [&] { return AND(OR(N("i"), 5), 7); }},
        {"(u | d) & c",        false, [&] { return AND(OR(N("i"), 8), 7); }},
        {"mask: x & c -> x",   true,  [&] { return AND(OR(AND(N("i"), 6), 1), 6); }},
        {"a - lo ULE",         true,  [&] { return range(GE, N("i"), 10, LE, N("i"), 20); }},
        {"a - lo ULE",         true,  [&] { return range(ULT, N("u"), 20, UGT, N("u"), 10); }},
        {"a - lo ULE",         true,  [&] { return range(GT, N("ll"), -5, LT, N("ll"), 5); }},
        {"a - lo ULE",         false, [&] { return range(GE, N("i"), 10, LE, N("j"), 20); }},
        {"a - lo ULE",         false, [&] { return range(GE, N("i"), 20, LE, N("i"), 10); }},
        {"a - lo ULE",         false, [&] { return range(GE, N("i"), 10, GE, N("i"), 20); }},
        {"a - lo ULE",         false, [&] { return range(UGE, N("i"), 10, LE, N("i"), 20); }},
        {"a - lo ULE",         false, [&] { return range(GE, N("v"), 10, LE, N("v"), 20); }},
        {"a - lo ULE",         false, [&] { return range(GE, N("i"), 10, LT, N("i"), lowest); }},
        {"a - lo ULE",         false, [&] { return range(UGT, N("u"), 0xFFFFFFFFll, ULE, N("u"), 20); }},
        {"ORB: x | c -> c",    true,  [&] { return B(ORB, N("uc"), I(0xFF), i); }},
        {"ORB: x | c -> c",    false, [&] { return B(ORB, N("sc"), I(0xFF), i); }},
        {"all bits are set",   true,  [&] { return OR(OR(N("v"), 3), -4); }},
        {"all bits are set",   false, [&] { return OR(OR(N("i"), 2), -4); }},
        {"u has no bit of c",  true,  [&] { return OR(XOR(AND(N("i"), 7), 5), 8); }},
        {"u has no bit of c",  false, [&] { return OR(B(XORB, N("uc"), I(5), i), 8); }},
        {"a & (d | c)",        true,  [&] { return B(ORB, B(ORB, N("j"), AND(N("i"), 3)), AND(N("i"), 12)); }},
        {"a & (d | c)",        false, [&] { return B(ORB, B(ORB, AND(N("i"), 3), N("v")), AND(N("i"), 12)); }},
        {"a & (d | c)",        false, [&] { return B(ORB, AND(N("v"), 3), AND(N("v"), 12)); }},
        {"a & (d | c)",        false, [&] { return B(ORB, AND(N("i"), 3), as(i, AND(N("sc"), 12))); }},
        {"a - lo UGT",         true,  [&] { return B(ORB, B(LT, N("i"), I(10)), B(GT, N("i"), I(20))); }},
        {"a - lo UGT",         false, [&] { return B(ORB, B(LT, N("i"), I(10)), B(LT, N("i"), I(20))); }},
        {"a - lo UGT",         false, [&] { return B(ORB, B(GT, N("i"), I(10)), B(LT, N("i"), I(20))); }},
        {"x ^ c -> x | c",     true,  [&] { return XOR(AND(N("i"), 3), 4); }},
        {"x ^ c -> x | c",     false, [&] { return XOR(AND(N("i"), 3), 6); }},
        {"x ^ c -> x & ~c",    true,  [&] { return XOR(OR(N("i"), 6), 4); }},
        {"x ^ c -> x & ~c",    false, [&] { return XOR(OR(N("i"), 6), 5); }},
        {"(u ^ c) & c",        true,  [&] { return XOR(AND(N("i"), 6), 6); }},
        {"(u ^ c) & c",        false, [&] { return XOR(AND(N("i"), 7), 6); }},
        {"(u ^ c) & c",        false, [&] { return B(XORB, AND(N("ll"), 6), I(6), i); }},
        {"mask 1: x + y",      true,  [&] { return AND(B(PLUS, N("i"), N("j")), 1); }},
        {"mask 1: x + y",      false, [&] { return AND(B(PLUS, N("i"), N("j")), 3); }},
        {"mask: x + c, x - c", true,  [&] { return AND(B(PLUS, N("i"), I(64)), 0x30); }},
        {"mask: x + c, x - c", false, [&] { return AND(B(PLUS, N("i"), I(8)), 0x30); }},
        {"mask: x * c",        true,  [&] { return AND(B(MULT, N("i"), I(0x104)), 0xFF); }},
        {"mask: x * c",        false, [&] { return AND(B(MULT, N("i"), I(0x105)), 0xFF); }},
        {"mask: SCONV(x)",     true,  [&] { return AND(as(i, N("sc")), 0x7F); }},
        {"mask: SCONV(x)",     false, [&] { return AND(as(i, N("sc")), 0x17F); }},
        {"mask: SCONV(x)",     false, [&] { return AND(as(i, as(flt, N("i"))), 1); }},
        {"mask: SCONV(x)",     false, [&] { return AND(as(i, as(tp->basic[IK_bool], N("i"))), 1); }},
        {"mask: SCONV(x)",     false, [&] { return AND(as(i, N("ll")), 0x7F); }},
        {"(x << a) >> b",      true,  [&] { return AND(B(SRL, B(MULT, N("i"), I(256)), I(4)), 0xFF0); }},
        {"(x << a) >> b",      false, [&] { return AND(B(SRL, B(MULT, N("i"), I(256)), I(4)), ~0x7Fll); }},
        {"(x << a) >> b",      false, [&] { return AND(B(SRL, B(MULT, N("i"), I(192)), I(4)), 0xFF0); }},
    };
    // clang-format on
    for (const ROW &row : rows) {
        size_t nodes = nodes_in_use();
        unsigned long before = firings(row.rule);
        NODE *t = row.tree();
        std::string text = tree2infix(t);
        t = simplify(t);
        EXPECT_EQ(firings(row.rule) > before, row.fires)
            << row.rule << " on " << text << ": " << tree2infix(t);
        erase_tree(t);
        EXPECT_EQ(nodes_in_use(), nodes) << text;
    }
}

// What is masked away still runs, and a division that may trap stays where it was.
TEST_F(bit_rules, effects_and_traps_stay) {
    NODE *t = simplify(AND(AND(B(PLUS, call(function("f"), nullptr), N("v")), 0xF0), 0x0F));
    EXPECT_TRUE(tree_contains_op(t, UCALL) && sym_appears_in_tree(sym("v"), t)) << tree2infix(t);
    erase_tree(t);
    t = simplify(AND(B(ORB, AND(B(DIV, N("i"), N("j")), 0xF0), N("k")), 0x0F));
    EXPECT_TRUE(tree_contains_op(t, DIV)) << tree2infix(t);
    erase_tree(t);
    t = simplify(AND(B(ORB, AND(B(DIV, N("i"), I(3)), 0xF0), N("k")), 0x0F));
    EXPECT_FALSE(tree_contains_op(t, DIV)) << tree2infix(t);
    erase_tree(t);
}

// The range check counts in an unsigned type, where a - lo may wrap.
TEST_F(bit_rules, range_checks_are_unsigned) {
    NODE *t = simplify(range(GE, N("i"), 10, LE, N("i"), 20));
    ASSERT_EQ(t->op, ULE);
    EXPECT_EQ(t->left->type, u);
    EXPECT_EQ(t->right->u.lval, INT65(10));
    EXPECT_TRUE(t->right->type == u);
    erase_tree(t);
}

// A mask that was pushed once has nothing left to do.
TEST_F(bit_rules, masks_come_to_rest) {
    NODE *t = B(XORB, B(PLUS, B(ORB, N("i"), I(0x12345)), I(-77)), B(SRL, B(PLUS, N("j"), I(0x7F001)), I(3)));
    t = prop_mask_into_subtree(t, INT65(0xFFF));
    std::string once = tree2infix(t);
    t = prop_mask_into_subtree(t, INT65(0xFFF));
    EXPECT_EQ(tree2infix(t), once);
    erase_tree(t);
}

// Trees as deep as a program makes them cost time in proportion, and no stack.
TEST_F(bit_rules, deep_trees) {
    size_t nodes = nodes_in_use();
    unsigned hits = prop_mask_cap_hits;
    for (bool left : {true, false}) {
        NODE *t = N("i");
        for (int k = 0; k < 100000; k++) {
            int op = k % 3 == 0 ? ANDB : k % 3 == 1 ? PLUS : XORB;
            t = left ? B(op, t, I(k | 0xFFF)) : B(op, op == PLUS ? I(k) : N("j"), t);
        }
        t = simplify(AND(t, 0x7F));
        EXPECT_EQ(t->op, ANDB);
        erase_tree(t);
    }
    EXPECT_GT(prop_mask_cap_hits, hits);
    EXPECT_EQ(nodes_in_use(), nodes);
}
