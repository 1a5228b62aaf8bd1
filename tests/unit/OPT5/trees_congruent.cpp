// When two trees count as the same computation, and that those which do have the same value.
#include "trees_world.h"

#include "OPT5/cfg.h"
#include "support/fps_text.h"

#include <random>

namespace {

using trees_congruent = trees_world;

// Random trees over a few names, small enough that different ones often look alike.
struct tree_source {
    trees_world &w;
    std::mt19937 random{20240611};

    unsigned pick(unsigned n) { return random() % n; }
    NODE *tree(int depth) {
        static const int ops[] = {PLUS, MINUS, MULT, ANDB, XORB, LT, GT, GE, LE, ULT, UGT, EQ, NEQ};
        const char *names[] = {"x", "y", "z"};
        if (depth == 0 || pick(6) == 0) return pick(4) ? w.N(names[pick(3)]) : w.I(pick(3));
        if (pick(8) == 0) return w.U(pick(2) ? UMINUS : NOTB, tree(depth - 1), w.i);
        return w.B(ops[pick(std::size(ops))], tree(depth - 1), tree(depth - 1), w.i);
    }
    // The same computation in another form.
    NODE *variant(const NODE *n) {
        NODE *v = copy_node(n);
        if (n->left) v->left = variant(n->left);
        if (n->right) v->right = variant(n->right);
        if (n->right && commute_inv[n->op] != ILLOP && pick(2)) {
            v->op = commute_inv[n->op];
            std::swap(v->left, v->right);
        }
        return pick(10) ? v : w.U(IDENTITY, v);
    }
};

} // namespace

TEST_F(trees_congruent, congruent_trees_have_one_value_and_variants_are_found) {
    tree_source source{*this};
    int alike = 0;
    std::vector<NODE *> all;
    for (int k = 0; k < 400; k++) all.push_back(source.tree(3));
    for (NODE *t : all) {
        NODE *v = source.variant(t);
        EXPECT_TRUE(trees_are_congruent(t, v)) << tree2infix(t) << "  against  " << tree2infix(v);
        EXPECT_TRUE(trees_are_congruent(v, t));
        erase_tree(v);
    }
    for (NODE *a : all)
        for (NODE *b : all) {
            if (a == b || !trees_are_congruent(a, b)) continue;
            alike++;
            for (int k = 0; k < 5; k++) {
                for (const char *name : {"x", "y", "z"})
                    values[sym(name)] = INT65(static_cast<int>(source.pick(7)) - 3);
                EXPECT_EQ(eval(a), eval(b)) << tree2infix(a) << "  against  " << tree2infix(b);
            }
        }
    EXPECT_GT(alike, 100) << "the sample is worth nothing";
}

TEST_F(trees_congruent, pairs) {
    SYMTAB *f = function("f"), *r = symbol("r", record), *v = symbol("v", vol), *p = symbol("p", ptr);
    TYPE *long_int = tp->basic[IK_long];
    auto scon = [&](const char *bytes, unsigned n) {
        NODE *s = new NODE(SCON, ptr);
        s->mk_scon(bytes, n);
        return s;
    };
    auto fcon = [&](const char *text) {
        simul_fval value;
        f_atof(text, &value);
        return mk_FCON(value, dbl);
    };
    auto version = [&](int number) {
        NODE *n = U(SSA_USE, N("x"));
        n->rare().depnum = number;
        return n;
    };
    enum { NO, YES, EFFECTS }; // EFFECTS: only when effects are acceptable
    struct ROW {
        NODE *a, *b;
        int congruent;
    } rows[] = {
        {N("x"), N("x"), YES},
        {N("x"), N("y"), NO},
        {I(1), I(1, long_int), YES}, // the machine knows no difference
        {I(1), I(1, u), NO},
        {I(1), I(1, sh), NO},
        {B(PLUS, N("x"), I(1)), B(PLUS, I(1), N("x")), YES},
        {B(MINUS, N("x"), I(1)), B(MINUS, I(1), N("x")), NO},
        {B(LT, N("x"), N("y")), B(GT, N("y"), N("x")), YES},
        {B(LT, N("x"), N("y")), B(GT, N("x"), N("y")), NO},
        {B(LT, N("x"), N("y")), B(LT, N("y"), N("x")), NO},
        {B(LT, N("x"), N("y")), B(UGT, N("y"), N("x")), NO},
        {B(PLUS, N("x"), N("x")), B(PLUS, N("x"), N("y")), NO},
        // the exchanged pairing works for the left operands alone, so both orders must be tried as a whole
        {B(PLUS, B(PLUS, N("x"), N("y")), B(PLUS, N("x"), N("z"))),
         B(PLUS, B(PLUS, N("z"), N("x")), B(PLUS, N("y"), N("x"))), YES},
        {B(PLUS, B(PLUS, N("x"), N("y")), B(PLUS, N("x"), N("y"))),
         B(PLUS, B(PLUS, N("y"), N("x")), B(PLUS, N("y"), N("y"))), NO},
        {U(IDENTITY, N("x")), U(OUIALIGN, N("x")), YES},
        {U(NONALIGN, N("x")), U(UMINUS, N("x")), NO},
        {B(CSE_ORIG, N("t"), N("x")), N("x"), YES},
        {B(CSE_DUPE, N("t"), N("x")), N("t"), NO},
        {scon("ab", 3), scon("ab", 3), YES},
        {scon("ab\0c", 4), scon("ab\0d", 4), NO},
        {scon("ab", 2), scon("ab", 3), NO},
        {fcon("1.5"), fcon("1.5"), YES},
        {fcon("0.0"), fcon("-0.0"), NO}, // 1/x tells them apart
        {dot(N(r), field_a), dot(N(r), field_a), YES},
        {dot(N(r), field_a), dot(N(r), field_b), NO},
        {deref(N(p)), deref(N(p)), YES},
        {mk_ICALL("_f", N("x"), i), mk_ICALL("_f", N("x"), i), YES},
        {mk_ICALL("_f", N("x"), i), mk_ICALL("_g", N("x"), i), NO},
        {mk_MCALL("_f", N("x"), i), mk_MCALL("_f", N("x"), i), EFFECTS},
        {call(f, N("x")), call(f, N("x")), EFFECTS},
        {call(f, N("x")), call(function("g"), N("x")), NO},
        {mk_ASG(N("x"), I(1)), mk_ASG(N("x"), I(1)), EFFECTS},
        {mk_ASG(N("x"), I(1)), mk_ASG(N("x"), I(2)), NO},
        {N(v), N(v), EFFECTS},
        {deref(N(p), vol), deref(N(p), vol), EFFECTS},
        {B(PLUS, I(1), deref(N(p), vol)), B(PLUS, deref(N(p), vol), I(1)), EFFECTS},
        {mk_ASM_comment("a"), mk_ASM_comment("a"), EFFECTS},
        {mk_ASM_comment("a"), mk_ASM_comment("b"), NO},
        {mk_LABELREF(4, 0), mk_LABELREF(4, 1), YES},
        {mk_LABELREF(4, 0), mk_LABELREF(5, 0), NO},
        {version(3), version(3), YES},
        {version(3), version(4), NO},
        {new NODE(SSA_PHI, i), new NODE(SSA_PHI, i), NO},
        {new NODE(MIXVALUE, i), new NODE(MIXVALUE, i), NO},
    };
    for (const ROW &row : rows) {
        std::string text = tree2infix(row.a) + "  against  " + tree2infix(row.b);
        EXPECT_EQ(trees_are_congruent(row.a, row.b), row.congruent == YES) << text;
        EXPECT_EQ(trees_are_congruent(row.b, row.a), row.congruent == YES) << text;
        EXPECT_EQ(trees_are_congruent_se_ok(row.a, row.b), row.congruent != NO) << text;
        EXPECT_EQ(trees_are_congruent_se_ok(row.b, row.a), row.congruent != NO) << text;
    }
    NODE *store = mk_ASG(N("x"), I(1)), *mix = new NODE(MIXVALUE, i);
    EXPECT_TRUE(trees_are_congruent(store, store)) << "a tree is itself";
    EXPECT_FALSE(trees_are_congruent(mix, mix)) << "an unknown mix is not";
    EXPECT_TRUE(trees_are_congruent(nullptr, nullptr));
    EXPECT_FALSE(trees_are_congruent(mix, nullptr));
}

TEST_F(trees_congruent, labels_go_by_the_block_that_they_lead_to) {
    FUNINFO info;
    currfuninfo = &info;
    BBLK *bb = mkbblock(nullptr, nullptr, &info), *elsewhere = mkbblock(nullptr, nullptr, &info);
    NODE *a = mk_LABELREF_to_bb(bb, nullptr), *b = mk_LABELREF_to_bb(bb, nullptr);
    bb->labels = mklabel(0, bb->labels, bb);
    NODE *second_label = mk_LABELREF_to_bb(bb, nullptr), *other = mk_LABELREF_to_bb(elsewhere, nullptr);
    EXPECT_TRUE(trees_are_congruent(a, b));
    EXPECT_TRUE(trees_are_congruent(a, second_label));
    EXPECT_FALSE(trees_are_congruent(a, other));
    EXPECT_FALSE(trees_are_congruent(a, mk_LABELREF(a->label->number, 0))) << "a place against a mere number";
}

TEST_F(trees_congruent, the_local_of_a_parameter_is_its_conversion) {
    TYPE *const_char = tp->mk_qual(c, QUAL_const), *const_vol = tp->mk_qual(c, QUAL_const | QUAL_volatile);
    SYMTAB *parm = symbol("n", i, 1, SC_PARM), *local = symbol("n", const_char, 2);
    auto converted = [&](SYMTAB *s) { return maketree(SCONV, mk_NAME(s), nullptr, const_char, nullptr); };
    NODE *l = N(local), *p = converted(parm);
    p->type = l->type; // as the prolog types it
    EXPECT_TRUE(trees_are_congruent(l, p));
    EXPECT_TRUE(trees_are_congruent(p, l));
    EXPECT_FALSE(trees_are_congruent(l, N(parm))) << "without the conversion it is another value";
    struct ROW {
        const char *name;
        TYPE *type;
        int level;
        bool with_effects;
    } rows[] = {
        {"m", const_char, 2, false}, // another name
        {"n", c, 2, false},          // may be assigned to
        {"n", const_char, 3, false}, // not the parameter's own local
        {"n", const_vol, 2, false},  // volatile, so it is not immutable
    };
    for (const ROW &row : rows) {
        NODE *other = N(symbol(row.name, row.type, row.level));
        p->type = other->type;
        EXPECT_FALSE(trees_are_congruent(other, p)) << row.name;
        EXPECT_EQ(trees_are_congruent_se_ok(other, p), row.with_effects) << row.name;
    }
    SYMTAB *volatile_parm = symbol("n", vol, 1, SC_PARM);
    NODE *read = converted(volatile_parm);
    read->type = l->type;
    EXPECT_FALSE(trees_are_congruent(l, read));
    EXPECT_TRUE(trees_are_congruent_se_ok(l, read));
}

TEST_F(trees_congruent, conditions_are_compared_by_truth) {
    auto zero = [&](NODE *n) { return B(EQ, n, I(0)); };
    auto not_zero = [&](NODE *n) { return B(NEQ, n, I(0)); };
    auto less = [&] { return B(LT, N("x"), N("y")); };
    NODE *fless = B(FLT, N("x"), N("y"), i), *fnot_less = B(FGEN, N("x"), N("y"), i),
         *fgeq = B(FGE, N("x"), N("y"), i);
    struct ROW {
        NODE *a, *b;
        bool same, opposite;
    } rows[] = {
        {less(), less(), true, false},
        {not_zero(less()), less(), true, false},
        {U(IDENTITY, not_zero(U(IDENTITY, less()))), less(), true, false},
        {zero(less()), less(), false, true},
        {zero(zero(less())), less(), true, false},
        {U(EXCLAIM, less()), less(), false, true},
        {B(GE, N("x"), N("y")), less(), false, true},
        {B(LE, N("y"), N("x")), less(), false, true}, // x < y is not y <= x
        {B(GE, N("y"), N("x")), less(), false, false},
        {zero(B(GE, N("x"), N("y"))), less(), true, false},
        {fless, fnot_less, false, true},
        {fless, fgeq, false, false}, // both fail when unordered
        {zero(N("x")), not_zero(N("x")), false, true},
        {zero(N("x")), zero(N("y")), false, false},
        {N("x"), not_zero(N("x")), true, false},
    };
    for (const ROW &row : rows) {
        std::string text = tree2infix(row.a) + "  against  " + tree2infix(row.b);
        EXPECT_EQ(bools_are_congruent(row.a, row.b), row.same) << text;
        EXPECT_EQ(bools_are_congruent(row.b, row.a), row.same) << text;
        EXPECT_EQ(bools_are_congruent(row.a, row.b, true), row.opposite) << text;
        EXPECT_EQ(bools_are_congruent(row.b, row.a, true), row.opposite) << text;
    }
}

TEST_F(trees_congruent, sums_that_match_both_ways_cost_no_more_than_the_cap) {
    // a tower of x + x, with one leaf replaced: everything looks right in either order until the bottom
    auto tower = [&](int depth) {
        NODE *t = N("x");
        for (int k = 0; k < depth; k++) t = B(PLUS, t, copy_tree(t));
        return t;
    };
    auto last_leaf = [](NODE *t) {
        while (t->right) t = t->right;
        return t;
    };
    unsigned before = congruence_cap_hits;
    for (int depth : {3, 6, 8}) {
        NODE *a = tower(depth), *b = tower(depth);
        EXPECT_TRUE(trees_are_congruent(a, b));
        last_leaf(b)->u.sym = sym("y");
        EXPECT_FALSE(trees_are_congruent(a, b));
        last_leaf(a)->u.sym = sym("y");
        EXPECT_TRUE(trees_are_congruent(a, b)) << "the odd leaf may stand anywhere";
    }
    EXPECT_EQ(congruence_cap_hits, before) << "small ones are decided";
    NODE *a = tower(14), *b = tower(14);
    last_leaf(b)->u.sym = sym("y");
    EXPECT_FALSE(trees_are_congruent(a, b));
    EXPECT_EQ(congruence_cap_hits, before + 1);
}
