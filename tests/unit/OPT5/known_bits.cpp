// Known bits, case by case. That they hold for every value of random trees is the oracle's business.
#include "OPT5/simp_known.h"

#include "OPT5/symwiden.h"
#include "support/xint.h"
#include "tests/unit/OPT5/bif_world.h"

namespace {

struct known_bits : bif_world {
    fkMDATA *unsigned_field, *signed_field;

    known_bits() {
        TYPE *fields = tp->mk_struct("fields", 32, 32, false);
        unsigned_field = fields->add_bitfield("un", u, 0, 5);
        signed_field = fields->add_bitfield("si", i, 5, 5);
        tp->type_frozen(fields);
        symbol("r", fields);
        symbol("uc", uc), symbol("sc", c), symbol("u", u), symbol("b", tp->basic[IK_bool]), symbol("f", flt);
    }
    NODE *field(fkMDATA *m) {
        NODE *f = new NODE(FIELD, m->type);
        f->mk_field(1, m, sym("r")->type);
        return maketree(STDOT, N("r"), f, m->type, nullptr);
    }
    void expect(NODE *tree, TYPE *type, uint64_t ones, uint64_t zeros, const char *what) {
        EXPECT_EQ(int65_to_hex(find_known_ones(tree, type)), int65_to_hex(INT65((unsigned long long)ones)))
            << what;
        EXPECT_EQ(int65_to_hex(find_known_zeros(tree, type)), int65_to_hex(INT65((unsigned long long)zeros)))
            << what;
        erase_tree(tree);
    }
};

} // namespace

TEST_F(known_bits, of_shapes) {
    const uint64_t all = 0xFFFFFFFFu;
    // clang-format off
    expect(I(-1),                                            i,   all, all,               "signed constant, unsigned set");
    expect(I(-2),                                            ull, ~1ull, ~1ull,           "the sign fills what a widening adds");
    expect(I(-2, c),                                         i,   all - 1, all - 1,       "of a char too");
    expect(N("sc"),                                          i,   0, all,                 "signed char");
    expect(N("uc"),                                          i,   0, 0xFF,                "unsigned char");
    expect(U(SCONV, N("sc"), u),                             ull, 0, all,                 "sign in 32 bits, zeros above");
    expect(N("b"),                                           i,   0, 1,                   "boolean");
    expect(U(SCONV, B(ORB, N("i"), I(8)), tp->basic[IK_bool]), i, 1, 1,                   "x != 0, not a cut");
    expect(U(SCONV, N("f"), i),                              i,   0, all,                 "float");
    expect(N("f"),                                           i,   0, all,                 "float asked as integer");
    expect(B(PLUS, B(ANDB, N("i"), I(0xF0)), I(0x100)),      i,   0x100, 0x1F0,           "sum without carries");
    expect(B(PLUS, B(MULT, N("i"), I(8)), I(3)),             i,   3, all - 4,             "sum with carries only above");
    expect(B(MINUS, B(ANDB, N("i"), I(0x10)), B(ANDB, N("j"), I(1))), i, 0, all,          "difference without common bits");
    expect(B(MULT, B(ANDB, N("i"), I(3)), I(5)),             i,   0, 15,                  "product within bits");
    expect(B(MULT, B(ANDB, N("i"), I(4)), I(6)),             i,   0, 0x18,                "trailing zeros add");
    expect(B(SRL, B(ORB, N("i"), I(0x80000000ll - (1ll << 32))), I(4)), i, 0xF8000000u, all, "arithmetic shift of a known sign");
    expect(B(SRL, N("u"), I(28)),                            u,   0, 15,                  "logical shift");
    expect(B(SLL, N("u"), I(32)),                            u,   0, all,                 "count out of range");
    expect(B(MOD, N("i"), I(8)),                             i,   0, all,                 "remainder of what may be negative");
    expect(B(MOD, N("u"), I(10, u)),                         u,   0, 15,                  "unsigned remainder");
    expect(B(MOD, N("uc"), N("i"), i),                       i,   0, 0xFF,                "of a dividend that is not negative");
    expect(B(XORB, B(ORB, N("i"), I(6)), I(-1)),             i,   0, all - 6,             "complement");
    expect(B(QUEST, N("i"), B(COLON, I(5), I(12))),          i,   4, 13,                  "two constants");
    expect(B(ASG, N("uc"), I(0x1FE)),                        i,   0xFE, 0xFE,             "assigned value is cut");
    expect(B(ASG, field(unsigned_field), B(ORB, N("i"), I(0x21), u)), u, 1, 0x1F,         "to a field too");
    expect(B(ASG, field(signed_field), I(15)),               i,   0, all,                 "of a signed field the sign may be copied");
    expect(field(unsigned_field),                            u,   0, 0x1F,                "unsigned field");
    expect(B(ANDBASG, N("uc"), I(0x103)),                    i,   0, 3,                   "assigned mask");
    expect(B(DIVASG, N("uc"), N("i")),                       i,   0, 0xFF,                "assigned quotient");
    expect(B(EQ, N("i"), N("j")),                            i,   0, 1,                   "test");
    expect(U(ABS, B(MULT, N("i"), I(4))),                    i,   0, all - 3,             "absolute value keeps trailing zeros");
    expect(ICALL_of("quest$colon", {N("i"), I(3), I(1)}),    i,   1, 3,                   "strict conditional");
    // clang-format on
}

TEST_F(known_bits, of_ranges) {
    EXPECT_EQ(find_known_zeros_in_range(INT65(0x12), INT65(0x15)), INT65(0x17));
    EXPECT_EQ(find_known_ones_in_range(INT65(0x12), INT65(0x15)), INT65(0x10));
    EXPECT_EQ(find_known_zeros_in_range(INT65(-4), INT65(-1)), INT65(-1));
    EXPECT_EQ(find_known_ones_in_range(INT65(-4), INT65(-1)), INT65(-4));
    EXPECT_EQ(find_known_zeros_in_range(INT65(-1), INT65(1)), INT65(-1));
    EXPECT_EQ(find_known_ones_in_range(INT65(-1), INT65(1)), INT65(0));
    EXPECT_EQ(find_known_zeros_in_range(INT65(7), INT65(7)), INT65(7));
    EXPECT_EQ(find_known_zeros_in_range(INT65(0), INT65::max()), INT65::max());
}

// Chains and wide trees end at the caps, on the side of not knowing.
TEST_F(known_bits, caps) {
    unsigned deep = known_bits_depth_hits, wide = known_bits_visit_hits;
    NODE *long_and = N("i");
    for (int k = 0; k < 100000; k++) long_and = B(ANDB, long_and, k == 99999 ? I(0xFF) : N("j"));
    expect(long_and, i, 0, 0xFF, "the masks that are seen count");
    EXPECT_GT(known_bits_visit_hits + known_bits_depth_hits, deep + wide);
    NODE *deep_or = B(ORB, N("i"), I(1));
    for (int k = 0; k < 20; k++) deep_or = U(UMINUS, U(UMINUS, deep_or));
    expect(deep_or, i, 0, 0xFFFFFFFFu, "too deep");
    std::function<NODE *(int)> bush = [&](int d) { return d ? B(ORB, bush(d - 1), bush(d - 1)) : I(1); };
    wide = known_bits_visit_hits;
    expect(bush(KNOWN_BITS_DEPTH - 1), i, 1, 0xFFFFFFFFu, "too many");
    EXPECT_GT(known_bits_visit_hits, wide);
}

// An entry counts only while it is trusted.
TEST_F(known_bits, of_widened_variables) {
    FUNINFO function;
    currfuninfo = &function;
    SYMTAB *s = symbol("w", i);
    make_widened_symbol_entry(s, uc, INT65(0x40), INT65(0x5F));
    expect(N(s), i, 0, 0xFFFFFFFFu, "not trusted");
    wst_trustable = true;
    expect(N(s), i, 0x40, 0x5F, "trusted");
    wst_trustable = false;
    erase_widened_entries(&function);
    currfuninfo = nullptr;
}
