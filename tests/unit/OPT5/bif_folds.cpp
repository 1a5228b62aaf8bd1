// Simplifiers of calls: what comes back evaluates to what the model of the call says, does what the operands did, and
// has lost no node. What must not be rewritten comes back as it was.
#include "OPT5/typefacts.h"
#include "tests/unit/OPT5/bif_world.h"

#include "typepkg/type_merge.h"

namespace {

struct bif_folds : bif_world {
    std::mt19937_64 random{16};

    // Boundary values and some others, of 32 bits.
    std::vector<int64_t> samples() {
        std::vector<int64_t> v = turning_points;
        for (int k = 0; k < 20; k++) v.push_back(int32_t(random()) >> random() % 32);
        return v;
    }
    NODE *simp(NODE *tree) {
        NODE *result = simp_ICALL(tree, nullptr);
        const char *error = tree_shape_error(result);
        EXPECT_EQ(error, nullptr) << error;
        node_census census;
        EXPECT_EQ(census.add(result), nullptr);
        return result;
    }
    NODE *icon32(int64_t v, TYPE *type) { return mk_ICON(INT65(static_cast<long long>(v)), type); }
    TYPE *result_of(const char *name) { return find_BIF_descriptor(name)->result_type; }
    bool contains_call(const NODE *tree) { return tree_contains_op(tree, ICALL); }
    // Simplifies and says the result as text.
    std::string simp_text(NODE *tree) {
        NODE *result = simp(tree);
        std::string text = tree2infix(result);
        erase_tree(result);
        return text;
    }
};

const char *const multiplies[] = {"_smulbb", "_smulbt", "_smultb", "_smultt", "_smull", "_umull"};

TEST_F(bif_folds, dsp_names_on_constants) {
    struct ROW {
        const char *name;
        std::vector<int64_t> operands;
        const char *text; // null: stays
    };
    const ROW rows[] = {{"_sadd16", {0x7FFF0001, 0x00010001}, "-2147483646"},
                        {"_sadd", {0x7FFFFFFF, 1}, "2147483647"},
                        {"_smlad", {0x00020003, 0x00040005, -1}, "22"},
                        {"_ssatl", {300, 0, 8}, "127"},
                        {"_ssatl", {300, 0, 33}, nullptr}, // no such instruction
                        {"_uxtb", {0x1234, 8}, "18"},
                        {"__vadd", {1, 2}, nullptr}}; // no words
    for (const ROW &r : rows) {
        NODE *list = nullptr;
        for (int64_t v : r.operands) {
            NODE *c = icon32(v, i);
            list = list ? maketree(COMMA, list, c, tp->void_type(), nullptr) : c;
        }
        std::string before = tree2infix(mk_ICALL(r.name, copy_tree(list), i));
        EXPECT_EQ(simp_text(mk_ICALL(r.name, list, i)), r.text ? r.text : before) << r.name;
    }
}

} // namespace

TEST_F(bif_folds, products_of_constants_are_those_of_the_instruction) {
    std::printf("seed 16\n");
    size_t nodes = nodes_in_use();
    for (const char *name : multiplies)
        for (int64_t a : samples())
            for (int64_t b : samples()) {
                int64_t o[] = {a, b};
                INT65 expected = truncate_to_type(INT65((long long)find_model(name)->f(o)), result_of(name));
                NODE *r = simp(ICALL_of(name, {icon32(a, i), icon32(b, i)}, result_of(name)));
                ASSERT_EQ(r->op, ICON) << name;
                ASSERT_EQ(r->u.lval, expected) << name << ' ' << a << ' ' << b;
                // a promotion to int may stay implicit
                ASSERT_EQ(promoted_type(r->type)->normalized(), result_of(name)->normalized());
                erase_tree(r);
            }
    EXPECT_EQ(nodes_in_use(), nodes);
}

TEST_F(bif_folds, a_known_factor_changes_no_product) {
    size_t nodes = nodes_in_use();
    sym("x");
    for (const char *name : multiplies)
        for (int64_t k : turning_points)
            for (bool first : {false, true}) {
                NODE *x = N("x"), *icon = icon32(k, i);
                NODE *r = simp(first ? ICALL_of(name, {icon, x}, result_of(name))
                                     : ICALL_of(name, {x, icon}, result_of(name)));
                for (int64_t v : samples()) {
                    values[sym("x")] = INT65((long long)v);
                    int64_t o[] = {first ? k : v, first ? v : k};
                    INT65 expected =
                        truncate_to_type(INT65((long long)find_model(name)->f(o)), result_of(name));
                    ASSERT_EQ(run(r), expected)
                        << name << ' ' << o[0] << ' ' << o[1] << " as " << tree2infix(r);
                }
                // a promotion to int may stay implicit
                ASSERT_EQ(promoted_type(r->type)->normalized(), result_of(name)->normalized());
                erase_tree(r);
            }
    EXPECT_EQ(nodes_in_use(), nodes);
}

// The operands of calls as programs and other rules write them: of other types than the parameters.
TEST_F(bif_folds, operands_count_in_the_type_of_the_parameter) {
    TYPE *const types[] = {i, u, sht, usht, c, uc, ll, ull};
    size_t nodes = nodes_in_use();
    for (TYPE *type : types) symbol("x", type);
    for (const char *name : multiplies)
        for (size_t t = 0; t < std::size(types); t++)
            for (int64_t k : {0, 1, -1, 0x10000, 0x7FFF0001, -0x10000}) {
                NODE *r = simp(ICALL_of(name, {N(&symbols[t]), icon32(k, types[t])}, result_of(name)));
                INT65 icon = truncate_to_type(INT65((long long)k), types[t]);
                for (int64_t v : turning_points) {
                    values[&symbols[t]] = INT65((long long)v);
                    INT65 x = truncate_to_type(INT65((long long)v), types[t]);
                    int64_t o[] = {x.to_int64(), icon.to_int64()};
                    INT65 expected =
                        truncate_to_type(INT65((long long)find_model(name)->f(o)), result_of(name));
                    ASSERT_EQ(run(r), expected) << name << ' ' << types[t]->printstr() << ' ' << v << ' ' << k
                                                << " as " << tree2infix(r);
                }
                erase_tree(r);
            }
    EXPECT_EQ(nodes_in_use(), nodes);
}

TEST_F(bif_folds, factors_that_are_worth_it_leave_no_call_and_others_do) {
    const struct {
        const char *name;
        long long factor;
        bool call_stays;
    } cases[] = {
        {"_smulbb", 0, false},       {"_smulbb", 0x10000, false},
        {"_smulbb", 1, false},       {"_smulbb", 0x50001, false},
        {"_smulbb", -1, true},       {"_smulbb", 2, true},
        {"_smulbt", 1, false}, // the top half of 1 is 0
        {"_smulbt", 0x10000, false}, {"_smulbt", 0x20000, true},
        {"_smull", 0, false},        {"_smull", 1, false},
        {"_smull", -1, false},       {"_smull", 2, true},
        {"_umull", 0, false},        {"_umull", 1, false},
        {"_umull", -1, true}, // x * (2^32 - 1) is no negation
    };
    for (auto [name, factor, call_stays] : cases) {
        NODE *r = simp(ICALL_of(name, {N("x"), icon32(factor, i)}, result_of(name)));
        EXPECT_EQ(contains_call(r), call_stays) << name << ' ' << factor;
        erase_tree(r);
    }
}

TEST_F(bif_folds, an_operand_that_is_not_needed_keeps_its_effects) {
    SYMTAB *v = symbol("v", vol), *t = symbol("t", i);
    for (const char *name : multiplies)
        for (int64_t k : {0, 1, -1, 3}) {
            NODE *assign = mk_ASG(N(t), N("x"));
            NODE *r = simp(ICALL_of(name, {mk_COMMAOP(assign, N(v)), icon32(k, i)}, result_of(name)));
            trace.clear();
            run(r);
            EXPECT_EQ(trace, (std::vector<std::string>{"t", "v"}))
                << name << ' ' << k << ' ' << tree2infix(r);
            erase_tree(r);
        }
}

TEST_F(bif_folds, a_half_behind_a_shift_is_taken_by_a_sibling) {
    SYMTAB *x = symbol("x", i), *y = symbol("y", i), *ux = symbol("ux", u), *wide = symbol("wide", ll),
           *half = symbol("half", sht);
    auto right = [&](NODE *n, int by = 16) { return B(SRL, n, I(by), n->type->size < 32 ? i : n->type); };
    auto left = [&](NODE *n, int by = 16) { return B(SLL, n, I(by), n->type->size < 32 ? i : n->type); };
    auto to = [&](TYPE *type, NODE *n) { return U(SCONV, n, type); };
    const struct {
        const char *from;
        NODE *a, *b;
        const char *name; // of the sibling
    } cases[] = {
        {"_smulbb", right(N(x)), N(y), "_smultb"},
        {"_smulbb", N(y), right(N(ux)), "_smulbt"},
        {"_smulbb", right(N(x)), right(N(y)), "_smultt"},
        {"_smulbb", to(sht, right(N(x))), to(i, to(sht, right(N(y)))), "_smultt"},
        {"_smultb", left(N(x)), N(y), "_smulbb"},
        {"_smultt", left(N(ux)), left(N(half)), "_smulbb"},
        {"_smulbt", right(left(N(x))), N(y), "_smulbt"},
        {"_smulbb", right(N(half), 16), N(y), "_smultb"}, // a half's top is its sign
        // not the half that is taken
        {"_smulbb", right(N(x), 15), N(y), "_smulbb"},
        {"_smulbb", left(N(x)), N(y), "_smulbb"},
        {"_smultb", right(N(x)), N(y), "_smultb"},
        {"_smulbb", to(c, right(N(x))), N(y), "_smulbb"}, // a char is less than the half
        {"_smultb", to(sht, left(N(x))), N(y), "_smultb"},
        {"_smulbb", B(SRL, N(x), N(y)), N(y), "_smulbb"},
        {"_smulbb", right(N(wide)), N(y), "_smulbb"}, // of a double word
    };
    for (const auto &row : cases) {
        NODE *call = ICALL_of(row.from, {row.a, row.b}), *before = copy_tree(call), *r = simp(call);
        ASSERT_EQ(r->op, ICALL);
        EXPECT_STREQ(r->u.icall, row.name) << tree2infix(before);
        for (int k = 0; k < 300; k++) {
            for (SYMTAB *s : {x, y, ux, wide, half})
                values[s] = INT65((long long)(random() >> random() % 64));
            values[y] = INT65(int(random() & 15)); // also a shift count
            ASSERT_EQ(run(r), run(before)) << tree2infix(before) << " as " << tree2infix(r);
        }
        erase_tree(before);
        erase_tree(r);
    }
    // A target without these instructions gets no other name.
    cpu_version = 0;
    EXPECT_STREQ(simp(ICALL_of("_smulbb", {right(N(x)), N(y)}))->u.icall, "_smulbb");
}

TEST_F(bif_folds, calls_that_do_not_fit_their_descriptor_stay) {
    SYMTAB *f = symbol("f", flt);
    const std::vector<NODE *> odd = {
        ICALL_of("_smulbb", {I(3)}),
        ICALL_of("_smulbb", {I(3), I(4), I(5)}),
        ICALL_of("_smulbb", {I(3), N(f)}),
        ICALL_of("_smulbb", {I(3), I(4)}, flt),
        ICALL_of("_smulbb", {I(3), I(4)}, ll),
        ICALL_of("_smull", {I(3), I(4)}, i),
        ICALL_of("_nobody_knows", {I(3), I(4)}),
        ICALL_of("quest$colon", {I(1), I(4)}),
        mk_MCALL("_smulbb", args({I(3), I(4)}), i),
        ICALL_of("__builtin_expect", {I(3), I(4)}, flt),
        ICALL_of("MARLIN_HI", {I(3)}, flt),
    };
    for (NODE *tree : odd) {
        std::string before = tree2infix(tree);
        EXPECT_EQ(simp(tree), tree) << before;
        EXPECT_EQ(tree2infix(tree), before);
    }
}

// --- products to calls ---

TEST_F(bif_folds, products_of_shorts_become_calls) {
    SYMTAB *half = symbol("half", sht), *byte = symbol("byte", c), *ubyte = symbol("ubyte", uc),
           *uhalf = symbol("uhalf", usht), *word = symbol("word", i), *uword = symbol("uword", u),
           *wide = symbol("wide", ll);
    auto to = [&](TYPE *type, SYMTAB *s) { return U(SCONV, N(s), type); };
    const struct {
        NODE *a, *b;
        int bits;
        bool mapped;
    } cases[] = {
        {N(half), N(half), 32, true},
        {to(i, half), to(i, byte), 32, true},
        {to(i, half), to(i, ubyte), 32, true}, // a byte without sign is a short too
        {N(half), I(3), 32, true},
        {N(half), I(-30000), 32, true},
        {N(half), I(0x30000), 32, true},    // 3 << 16
        {N(half), I(-0x1FFFE0), 32, false}, // -0xFFFF << 5
        {N(half), I(0x7FFF0000), 32, true},
        {N(word), I(3), 16, true}, // the caller knows it
        {N(word), N(word), 16, true},
        {N(word), I(40001), 16, false}, // of a constant it can't
        {N(word), N(half), 32, false},
        {N(uhalf), N(half), 32, false},
        {to(i, uhalf), N(half), 32, false},
        {N(uword), N(half), 16, false},
        {N(half), I(8), 32, false}, // shifts serve better
        {N(half), I(-8), 32, false},
        {N(half), I(0), 32, false},
        {N(half), I(-0x7FFFFFFF - 1), 32, false},
        {N(half), I(0x10001), 32, false},
        {N(half), N(wide), 16, false}, // not a word
        {I(3), I(5), 32, false},       // folds
    };
    for (const auto &row : cases) {
        NODE *tree = B(MULT, row.a, row.b, row.b->type == ll ? ll : row.a->type == u ? u : i);
        NODE *before = copy_tree(tree), *r = map_16x16_MULT_to_ICALL(tree, nullptr, row.bits);
        std::string text = tree2infix(before);
        EXPECT_EQ(contains_call(r), row.mapped) << text;
        EXPECT_EQ(tree_shape_error(r), nullptr) << text;
        if (!row.mapped) { EXPECT_EQ(tree2infix(r), text); }
        for (int k = 0; k < 200; k++) {
            for (SYMTAB *s : {half, byte, ubyte, uhalf, uword, wide}) values[s] = INT65((long long)random());
            values[word] = INT65(int(int16_t(random())));
            ASSERT_EQ(run(r), run(before)) << text << " as " << tree2infix(r);
        }
        erase_tree(before);
        erase_tree(r);
    }
    // A product that is computed in a wider or narrower type.
    TYPE *const types[] = {u, sht, ll};
    for (TYPE *type : types) {
        NODE *r = map_16x16_MULT_to_ICALL(B(MULT, N(half), N(byte), type), nullptr, 32);
        EXPECT_EQ(contains_call(r), type != ll);
        EXPECT_EQ(r->type, type);
    }
    // The shift comes back behind the call.
    NODE *r = map_16x16_MULT_to_ICALL(B(MULT, N(half), I(0x30000), i), nullptr, 32);
    ASSERT_EQ(r->op, SLL);
    EXPECT_EQ(r->right->u.lval, INT65(16));
}

TEST_F(bif_folds, only_targets_with_the_instruction_get_it) {
    const struct {
        int version;
        int state; // enumerator of the code state
        bool has_it;
    } cases[] = {
        {0, ENUM_CODE_32, false}, {5, ENUM_CODE_32, true},   {5, ENUM_CODE_16, false},
        {6, ENUM_CODE_32, true},  {6, ENUM_CODE_16, false},  {7, ENUM_CODE_32, true},
        {7, ENUM_CODE_16, false}, {73, ENUM_CODE_16, false}, {73, ENUM_CODE_32, false},
        {74, ENUM_CODE_16, true}, {734, ENUM_CODE_16, true}, {78, ENUM_CODE_16, true},
    };
    SYMTAB *half = symbol("half", sht);
    for (auto [version, state, has_it] : cases) {
        cpu_version = version;
        options.setopt(OO_CODE_STATE, state);
        NODE *r = map_16x16_MULT_to_ICALL(B(MULT, N(half), N(half), i), nullptr, 32);
        EXPECT_EQ(contains_call(r), has_it) << version << ' ' << state;
        bool top1, unsigned1, top2, unsigned2;
        EXPECT_EQ(name_is_16x16_MULT("_smultb", &top1, &unsigned1, &top2, &unsigned2), has_it);
        if (!has_it) continue;
        EXPECT_TRUE(top1 && !unsigned1 && !top2 && !unsigned2);
        EXPECT_FALSE(name_is_16x16_MULT("_smull", &top1, &unsigned1, &top2, &unsigned2));
        for (int index = 0; index < 16; index++) {
            const char *name = name_16x16_MULT(index & 8, index & 4, index & 2, index & 1);
            EXPECT_EQ(name != nullptr, !(index & 5)) << index;
            if (!name) continue;
            ASSERT_TRUE(name_is_16x16_MULT(name, &top1, &unsigned1, &top2, &unsigned2));
            EXPECT_EQ(top1 * 8 + top2 * 2, index);
        }
    }
}

// --- the other simplifiers ---

TEST_F(bif_folds, values_that_are_taken_apart_and_put_together) {
    SYMTAB *d = symbol("d", dbl), *a = symbol("a", u), *b = symbol("b", u),
           *v = symbol("v", tp->mk_qual(dbl, QUAL_volatile));
    auto hi = [&](NODE *n) { return ICALL_of("MARLIN_HI", {n}, u); };
    auto lo = [&](NODE *n) { return ICALL_of("MARLIN_LO", {n}, u); };
    auto itod = [&](NODE *x, NODE *y) { return ICALL_of("MARLIN_ITOD", {x, y}, dbl); };
    auto effect = [&] { return mk_ASG(N(a), N(b)); };
    const struct {
        NODE *tree;
        const char *text; // null: nothing happens
    } cases[] = {
        {hi(itod(N(a), N(b))), "a"},
        {lo(itod(N(a), N(b))), "b"},
        {hi(itod(effect(), N(b))), nullptr},
        {hi(itod(N(b), effect())), nullptr}, // the part that goes is needed for its effect
        {lo(itod(effect(), N(b))), nullptr},
        {hi(mk_FCON(pos_zero, dbl)), "0"},
        {lo(mk_FCON(pos_zero, dbl)), "0"},
        {hi(mk_FCON(neg_zero, dbl)), nullptr}, // has the sign bit
        {hi(mk_FCON(one, dbl)), nullptr},
        {itod(hi(N(d)), lo(N(d))), "d"},
        {itod(lo(N(d)), hi(N(d))), nullptr},
        {itod(hi(N(d)), lo(N(v))), nullptr},
        {itod(hi(N(v)), lo(N(v))), nullptr}, // two reads
        {itod(N(a), I(0, u)), nullptr},
        {ICALL_of("MARLIN_ITOLL", {I(0, u), I(0, u)}, ll), "0"},
        {ICALL_of("MARLIN_ITOLL", {I(0, u), I(1, u)}, ll), nullptr},
        {ICALL_of("__builtin_expect", {I(7), I(0)}), "7"},
        {ICALL_of("__builtin_expect", {N("x"), I(0)}), nullptr},
        {ICALL_of("__builtin_expect", {I(7), N("x")}), nullptr},
    };
    for (const auto &row : cases) {
        std::string before = tree2infix(row.tree);
        NODE *r = simp(row.tree);
        std::string after = tree2infix(r);
        EXPECT_EQ(after.substr(0, 1), std::string(row.text ? row.text : before).substr(0, 1)) << before;
        EXPECT_EQ(row.text == nullptr, after == before) << before << " became " << after;
        erase_tree(r);
    }
    NODE *zero = simp(itod(I(0, u), I(0, u)));
    ASSERT_EQ(zero->op, FCON);
    EXPECT_TRUE(f_bit_eq(zero->u.fval, &pos_zero));
    EXPECT_EQ(zero->type, dbl);
    // An int in place of the unsigned comes back as one; a wider type gets the 32 bits.
    NODE *wide = simp(ICALL_of("MARLIN_HI", {itod(I(-1), I(0))}, ull));
    EXPECT_EQ(run(wide), INT65(0xFFFFFFFFu));
}

TEST_F(bif_folds, nested_marks_become_one) {
    NODE *tree = I(5);
    for (int k = 0; k < 3; k++) tree = ICALL_of("DONOTCSE", {tree});
    NODE *r = simp(tree);
    EXPECT_TRUE(is_ICALL_callee(r, "DONOTCSE", 1) && r->left->op == ICON);
    NODE *other = ICALL_of("DONOTCSE", {B(PLUS, ICALL_of("DONOTCSE", {I(1)}), I(2))});
    EXPECT_EQ(simp(other)->left->op, PLUS);
}

TEST_F(bif_folds, accesses_of_another_alignment) {
    SYMTAB *p = symbol("p", tp->mk_ptr(tp->void_type()));
    TYPE *uptr = tp->mk_ptr(u), *sptr = tp->mk_ptr(usht);
    NODE *r = simp(ICALL_of("MARLIN_MEM4", {N(p)}, tp->mk_qual(uptr, QUAL_const | QUAL_restrict)));
    ASSERT_EQ(r->op, NONALIGN);
    EXPECT_EQ(r->type, uptr);
    EXPECT_TRUE(compatible_types(r->type, r->left->type));
    EXPECT_EQ(r->left->left->op, NAME);

    FUNINFO function;
    currfuninfo = &function;
    function.assertion_word = 0;
    auto sum = [&](NODE *base, NODE *offset) { return B(PLUS, base, offset); };
    auto aligned = [&](const char *name, NODE *pointer, TYPE *type) {
        return simp(ICALL_of(name, {pointer}, type));
    };
    const struct {
        NODE *pointer;
        const char *asserted;
    } cases[] = {
        {N(p), "p"},
        {sum(N(p), I(8)), "p"},
        {sum(N(p), I(6)), "p + 6"},
        {sum(I(12), N(p)), "p"},
        {B(MINUS, N(p), I(4)), "p"},
        {U(PCONV, sum(N(p), I(4)), uptr), "p"},
        {sum(sum(N(p), N("x")), I(4)), "p + x"},
        {sum(sum(N(p), I(2)), I(4)), "p + 2"},
    };
    for (const auto &row : cases) {
        NODE *tree = aligned("MARLIN_AMEM4", row.pointer, uptr);
        ASSERT_EQ(tree->op, COMMAOP);
        EXPECT_EQ(tree->type, uptr);
        const NODE *test = tree->left->left;
        ASSERT_TRUE(tree->left->op == NASSERT && test->op == EQ && test->left->op == MOD);
        EXPECT_EQ(test->left->right->u.lval, INT65(4));
        EXPECT_EQ(tree2infix(test->left->left->left), row.asserted);
    }
    EXPECT_EQ(function.assertion_word, 1u);
    // The alignment is the access's, not the pointer's.
    EXPECT_EQ(aligned("MARLIN_AMEM2", N(p), sptr)->left->left->left->right->u.lval, INT65(2));
    EXPECT_EQ(aligned("MARLIN_AMEM8", N(p), tp->mk_ptr(ll))->left->left->left->right->u.lval, INT65(8));
    // A pointer that changes something is evaluated once.
    EXPECT_EQ(aligned("MARLIN_AMEM4", mk_ASG(N(p), N("q")), uptr)->op, PCONV);
    EXPECT_EQ(aligned("MARLIN_AMEM4", N(p), i)->op, ICALL);
    currfuninfo = nullptr;
}

TEST_F(bif_folds, assertions_name_what_they_are_about) {
    NODE *n = make_AFFINE_IV_sym_ICALL(sym("x")), *copy = copy_tree(n),
         *other = make_AFFINE_IV_sym_ICALL(sym("y"));
    EXPECT_TRUE(is_AFFINE_IV_sym_ICALL(n, nullptr) && is_AFFINE_IV_sym_ICALL(copy, sym("x")));
    EXPECT_FALSE(is_AFFINE_IV_sym_ICALL(n, sym("y")));
    EXPECT_TRUE(trees_are_congruent(n, copy));
    EXPECT_FALSE(trees_are_congruent(n, other));
    EXPECT_EQ(tree_shape_error(n), nullptr);
    SYMTAB *p = symbol("p", ptr), *q = symbol("q", ptr);
    EXPECT_TRUE(is_ANTIALIASED_ICALL(make_ANTIALIASED_ICALL(N(p), N(q))));
    EXPECT_FALSE(is_ANTIALIASED_ICALL(make_ANTIALIASED_ICALL(N(p), N("x"))));
    EXPECT_FALSE(is_ANTIALIASED_ICALL(n));
}
