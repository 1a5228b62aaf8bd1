// The strict ternary: there and back, its rules, and the order in which operands with effects are evaluated.
#include "tests/unit/OPT5/bif_world.h"

#include "OPT5/scopes.h"

namespace {

struct bif_ternary : bif_world {
    FUNINFO function;
    std::mt19937_64 random{3};
    bif_ternary() { currfuninfo = &function; }
    ~bif_ternary() override {
        for (SYMTAB *s : function.owned_symbols) erase_symbol(s);
        currfuninfo = nullptr;
    }

    NODE *quest(NODE *p, NODE *a, NODE *b, TYPE *type = nullptr) {
        return maketree(QUEST, p, maketree(COLON, a, b, a->type, nullptr), type ? type : a->type, nullptr);
    }
    NODE *strict(NODE *p, NODE *a, NODE *b, TYPE *type = nullptr) {
        return make_strict_ternary_ICALL(quest(p, a, b, type));
    }
    NODE *assign(const char *name, NODE *v) { return mk_ASG(N(name), v); }
    void expect_shape(const NODE *tree) {
        const char *error = tree_shape_error(tree);
        EXPECT_EQ(error, nullptr) << error;
        node_census census;
        EXPECT_EQ(census.add(tree), nullptr);
    }
};

} // namespace

TEST_F(bif_ternary, there_and_back_is_the_same_conditional) {
    size_t nodes = nodes_in_use();
    NODE *tree = quest(B(LT, N("x"), I(3)), N("a"), B(PLUS, N("b"), I(1)));
    LS *scope = new LS; // only carried along
    tree->scope = tree->right->scope = scope;
    tree->set_edge_profile_value(7);
    NODE *before = copy_tree(tree);
    NODE *call = make_strict_ternary_ICALL(tree);
    ASSERT_TRUE(is_strict_ternary_ICALL(call));
    EXPECT_EQ(call->left->scope, scope);
    EXPECT_EQ(call->left->left->scope, scope);
    EXPECT_EQ(tree2infix(arg_list_lookup(call->left, 0)), "x < 3");
    EXPECT_EQ(tree2infix(arg_list_lookup(call->left, 1)), "a");
    EXPECT_EQ(tree2infix(arg_list_lookup(call->left, 2)), "b + 1");
    EXPECT_EQ(make_strict_ternary_ICALL(call), call);
    expect_shape(call);
    NODE *back = undo_strict_ternary_ICALL(call, true);
    EXPECT_TRUE(trees_are_congruent(back, before));
    EXPECT_EQ(back->get_edge_profile_value(), 7u);
    EXPECT_EQ(back->right->op, COLON);
    EXPECT_EQ(undo_strict_ternary_ICALL(back, false), back);
    expect_shape(back);
    erase_tree(back);
    erase_tree(before);
    delete scope;
    EXPECT_EQ(nodes_in_use(), nodes);
    EXPECT_EQ(function.temporaries, nullptr);
}

TEST_F(bif_ternary, conditions_that_are_no_ints_and_other_trees_stay) {
    SYMTAB *wide = symbol("wide", ll), *f = symbol("f", flt), *p = symbol("p", ptr);
    EXPECT_EQ(strict(N(wide), I(1), I(2))->op, QUEST); // would lose its upper half
    EXPECT_EQ(strict(N(f), I(1), I(2))->op, QUEST);    // 0.5 is true
    EXPECT_EQ(strict(N(p), I(1), I(2))->op, ICALL);
    EXPECT_EQ(strict(N("x"), I(1), I(2), tp->void_type())->op, QUEST);
    EXPECT_EQ(make_strict_ternary_ICALL(N("x"))->op, NAME);
    EXPECT_FALSE(is_strict_ternary_ICALL(ICALL_of("quest$colon", {I(1), I(2)})));
    EXPECT_FALSE(is_strict_ternary_ICALL(ICALL_of("quest$colon", {I(1), I(2), I(3), I(4)})));
    EXPECT_FALSE(is_strict_ternary_ICALL(ICALL_of("quest_colon", {I(1), I(2), I(3)})));
}

TEST_F(bif_ternary, null_arms_of_pointers_become_pointers) {
    SYMTAB *p = symbol("p", ptr);
    NODE *back = undo_strict_ternary_ICALL(strict(N("x"), N(p), I(0), ptr), false);
    EXPECT_EQ(back->right->left->op, NAME);
    ASSERT_EQ(back->right->right->op, PCONV);
    EXPECT_EQ(back->right->right->type, ptr);
}

// All operands are evaluated, in order, and give what they gave: in every combination of effects and of who reads
// whose variable.
TEST_F(bif_ternary, effects_of_arms_survive_in_order) {
    SYMTAB *volatile_x = symbol("vx", vol);
    auto operand = [&](int sort, const char *own) -> NODE * {
        switch (sort) {
        case 0: return N("r");
        case 1: return I(1);
        case 2: return assign("r", B(PLUS, N("r"), I(1)));
        case 3: return assign(own, N("r"));
        case 4: return N(volatile_x);
        default: return B(PLUS, N("r"), assign(own, I(5)));
        }
    };
    for (int k = 0; k < 6 * 6 * 6; k++) {
        NODE *call = strict(operand(k % 6, "p"), operand(k / 6 % 6, "a"), operand(k / 36, "b"), i);
        NODE *kept = undo_strict_ternary_ICALL(copy_tree(call), true);
        expect_shape(kept);
        for (int r : {-1, 0, 1}) {
            auto start = [&] {
                values.clear();
                trace.clear();
                values[sym("r")] = values[volatile_x] = INT65(r);
            };
            start();
            INT65 expected = run(call);
            std::map<const SYMTAB *, INT65> state = values;
            std::vector<std::string> order = trace;
            start();
            ASSERT_EQ(run(kept), expected) << tree2infix(call) << " as " << tree2infix(kept);
            std::erase_if(trace, [](const std::string &name) { return is_internal_name(name.c_str()); });
            ASSERT_EQ(trace, order) << tree2infix(call) << " as " << tree2infix(kept);
            for (const char *name : {"r", "p", "a", "b"})
                ASSERT_EQ(values[sym(name)], state[sym(name)]) << name;
        }
        erase_tree(call);
        erase_tree(kept);
    }
    for (SYMTAB *s = function.temporaries; s; s = s->next) EXPECT_TRUE(is_optimizer_temp(s->name, 'A', 'A'));
}

TEST_F(bif_ternary, shared_conversions_leave_the_arms) {
    SYMTAB *x = symbol("sx", sht), *y = symbol("sy", sht), *b = symbol("by", c), *p = symbol("p", ptr),
           *q = symbol("q", ptr), *cp = symbol("cp", tp->mk_ptr(c)),
           *vs = symbol("vs", tp->mk_qual(sht, QUAL_volatile));
    TYPE *uptr = tp->mk_ptr(u);
    auto conv = [&](TYPE *type, NODE *n) { return U(type->is_ptr() ? PCONV : SCONV, n, type); };
    const struct {
        NODE *a, *b;
        TYPE *type;
        const char *op; // of the root
        TYPE *inner;    // of the call
    } cases[] = {
        {conv(i, N(x)), conv(i, N(y)), i, "SCONV", sht},
        {conv(ll, conv(i, N(x))), conv(ll, conv(i, N(y))), ll, "SCONV", sht}, // both levels
        {conv(dbl, N(x)), conv(dbl, N(y)), dbl, "SCONV", sht},
        {conv(uptr, N(p)), conv(uptr, N(q)), uptr, "PCONV", ptr},
        {conv(i, N(vs)), conv(i, N(vs)), i, "SCONV", sht}, // a value is not volatile
        {conv(i, N(x)), conv(i, N(b)), i, "ICALL", i},     // from two types
        {conv(i, N(x)), N("z"), i, "ICALL", i},
        {conv(uptr, N(p)), conv(uptr, N(cp)), uptr, "ICALL", uptr},
        {conv(uptr, I(64)), conv(uptr, I(0)), uptr, "ICALL", uptr}, // addresses and null stay constants
        {conv(i, N(x)), conv(i, N(y)), ll, "ICALL", ll},
    };
    for (const auto &row : cases) {
        NODE *call = strict(N("t"), row.a, row.b, row.type), *before = copy_tree(call);
        std::string text = tree2infix(call);
        NODE *r = simp_ICALL(call, nullptr);
        bool implicit = row.type == i && row.inner == sht; // the promotion to int is no node
        EXPECT_STREQ(node_operator_name[r->op], implicit ? "ICALL" : row.op) << text;
        EXPECT_EQ(r->type, implicit ? sht : row.type) << text;
        NODE *inner = r;
        while (inner->op != ICALL) inner = inner->left;
        EXPECT_EQ(inner->type, row.inner) << text;
        expect_shape(r);
        for (int k = 0; k < 50 && row.type->is_integral(); k++) {
            for (SYMTAB *s : {x, y, b, vs, sym("z")}) values[s] = INT65(int(random()));
            values[sym("t")] = INT65(int(random() & 1));
            ASSERT_EQ(run(r), run(before)) << text;
        }
        erase_tree(before);
        erase_tree(r);
    }
}

TEST_F(bif_ternary, a_known_condition_chooses) {
    EXPECT_EQ(tree2infix(simp_ICALL(strict(I(5), N("a"), N("b")), nullptr)), "a");
    EXPECT_EQ(tree2infix(simp_ICALL(strict(I(0), N("a"), N("b")), nullptr)), "b");
    // but not over an effect
    NODE *r = simp_ICALL(strict(I(1), N("a"), assign("b", I(2))), nullptr);
    EXPECT_TRUE(is_strict_ternary_ICALL(r));
    r = simp_ICALL(strict(I(0), assign("a", I(2)), N("b")), nullptr);
    EXPECT_TRUE(is_strict_ternary_ICALL(r));
}

TEST_F(bif_ternary, absolute_differences) {
    SYMTAB *x = symbol("sx", sht), *y = symbol("sy", sht), *ux = symbol("ux", u), *uy = symbol("uy", u),
           *vx = symbol("vx", vol), *lx = symbol("lx", ll), *ly = symbol("ly", ll);
    auto make = [&](int op, SYMTAB *a, SYMTAB *b, bool exchanged, TYPE *type) {
        NODE *first = B(MINUS, N(a), N(b), type), *second = B(MINUS, N(b), N(a), type);
        return strict(B(op, N(a), N(b)), exchanged ? second : first, exchanged ? first : second, type);
    };
    const struct {
        NODE *call;
        bool is_abs;
    } cases[] = {
        {make(GT, x, y, false, i), true},
        {make(GE, x, y, false, i), true},
        {make(LT, x, y, true, i), true},
        {make(LE, x, y, true, i), true},
        {make(GT, x, y, true, i), false},
        {make(LE, x, y, false, i), false},  // the negative of it
        {make(UGT, x, y, false, i), false}, // -1 is greater than 1, but -1 - 1 is no magnitude
        {make(ULT, x, y, true, i), false},
        {make(EQ, x, y, false, i), false},
        {make(UGT, ux, uy, false, u), false},
        {make(GT, ux, uy, false, u), false},
        {make(GT, lx, y, false, i), false},
        {make(GT, x, ly, false, i), false},
        {make(GT, lx, ly, false, i), false}, // differences that lose bits
        {make(GT, lx, ly, false, ll), true},
        {make(GT, vx, vx, false, i), false},
        {strict(B(GT, N(x), N(y)), B(MINUS, N(x), N(y), i), B(MINUS, N(y), N("z"), i)), false},
        {strict(B(GT, N(x), N(y)), B(PLUS, N(x), N(y), i), B(MINUS, N(y), N(x), i)), false},
        {strict(B(GT, N(x), I(4)), B(MINUS, N(x), I(4), i), B(MINUS, I(4), N(x), i)), true},
    };
    for (const auto &row : cases) {
        NODE *before = copy_tree(row.call), *r = simp_ICALL(row.call, nullptr);
        EXPECT_EQ(r->op == ABS, row.is_abs) << tree2infix(before);
        EXPECT_EQ(r->type, before->type);
        expect_shape(r);
        for (int k = 0; k < 100; k++) {
            for (SYMTAB *s : {x, y, ux, uy, lx, ly}) values[s] = INT65(int(random() >> 34)); // no overflow
            ASSERT_EQ(run(r), run(before)) << tree2infix(before) << " as " << tree2infix(r);
        }
        erase_tree(before);
        erase_tree(r);
    }
}
