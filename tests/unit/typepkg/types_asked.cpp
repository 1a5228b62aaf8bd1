// Questions about single types: predicates, promotions and conversions, normal form, containers, texts.
#include "typepkg/type_merge.h"
#include "typepkg/type_print.h"
#include "typepkg/type_query.h"

#include <gtest/gtest.h>

using testing::ExitedWithCode;

namespace {

using TYPES = std::vector<TYPE *>;

struct types_asked : testing::Test {
    TYPE_PKG p;
    TYPE *i, *c, *s;

    types_asked() {
        TYPE_PKG::abi = 1;
        init_type_pkg(&p);
        tp = &p;
        i = p.int_type();
        c = p.mk_int(IK_schar, false);
        s = p.mk_struct("s", 24, 8, false);
        p.type_frozen(s);
    }
    ~types_asked() override { tp = nullptr; }
    TYPE *made_enum(TYPE *underlying) {
        TYPE *e = p.mk_enum("e", underlying, underlying->size, underlying->align, false);
        e->add_etor("a", 0);
        p.type_frozen(e);
        return e;
    }
};

} // namespace

TEST_F(types_asked, kinds_ranks_and_storage) {
    enum : unsigned { ARITH = 1, SCALAR = 2, UDT = 4, UNSIGNED = 8, SIGNED = 16, BOOL = 32 };
    constexpr int NO_RANK = -1;
    struct ROW {
        TYPE *t;
        unsigned ekind;
        int rank;
        uint64_t storage;
        unsigned is;
    } rows[] = {
        {p.basic[IK_bool], 0, 0, 8, ARITH | SCALAR | UNSIGNED | BOOL},
        {c, 1, 1, 8, ARITH | SCALAR | SIGNED},
        {p.basic[IK_wchar], 3, 1, 32, ARITH | SCALAR | UNSIGNED},
        {p.basic[IK_ushort], 5, 2, 16, ARITH | SCALAR | UNSIGNED},
        {p.mk_int(IK_int, false, 24, 8), 6, 3, 32, ARITH | SCALAR | SIGNED},
        {p.mk_boolean_int(i), 6, 3, 32, ARITH | SCALAR | SIGNED | BOOL},
        {p.basic[IK_ullong], 11, 5, 64, ARITH | SCALAR | UNSIGNED},
        {p.basic[BT_float], 12, NO_RANK, 32, ARITH | SCALAR},
        {p.basic[BT_ldouble], 14, NO_RANK, 64, ARITH | SCALAR},
        {p.mk_fxtpt(i, 4), 15, NO_RANK, 32, ARITH | SCALAR},
        {p.mk_complex(i), 16, NO_RANK, 64, ARITH | SCALAR},
        {p.mk_ptr(i), 17, NO_RANK, 32, SCALAR},
        {p.mk_ref(i), 18, NO_RANK, 32, SCALAR},
        {p.mk_array(c, false, 3), 19, NO_RANK, 24, 0},
        {p.mk_ptm(i, s, 40, 32), 20, NO_RANK, 64, ARITH | SCALAR},
        {p.mk_func(i, TYPES{}), 21, NO_RANK, 0, 0},
        {made_enum(p.basic[IK_ushort]), 22, 2, 16, ARITH | SCALAR | UDT | UNSIGNED},
        {p.mk_class("k", 8, 8, true), 23, NO_RANK, 8, UDT},
        {s, 24, NO_RANK, 24, UDT},
        {p.mk_union("u", 8, 8, false), 25, NO_RANK, 8, UDT},
        {p.mk_void(), 26, NO_RANK, 0, 0},
    };
    for (const ROW &row : rows)
        // A typedef of a qualified type answers as the type itself.
        for (TYPE *t : {row.t, p.mk_typedef("t", false, p.mk_qual(row.t, QUAL_const))}) {
            SCOPED_TRACE(t->printstr());
            unsigned is = t->is_arithmetic() * ARITH | t->is_scalar() * SCALAR | t->is_udt() * UDT |
                          t->is_unsigned() * UNSIGNED | t->is_signed() * SIGNED | t->is_bool() * BOOL;
            EXPECT_EQ(t->ekind(), row.ekind);
            EXPECT_EQ(is, row.is);
            EXPECT_EQ(t->storage_size(), row.storage);
            if (row.rank != NO_RANK) { EXPECT_EQ(int(t->rank()), row.rank); }
        }
    EXPECT_EXIT(p.mk_ptr(i)->rank(), ExitedWithCode(1), "Bad type: TYPE::rank\\(\\)");
    EXPECT_TRUE(c->is_plain_char());
    EXPECT_FALSE(p.basic[IK_schar]->is_plain_char());
    EXPECT_TRUE(p.mk_complex(p.basic[IK_ushort])->is_cshort());
}

TEST_F(types_asked, promotions_and_usual_conversions) {
    auto b = [&](int slot) { return p.basic[slot]; };
    TYPE *u = b(IK_uint), *l = b(IK_long), *ul = b(IK_ulong), *ll = b(IK_llong), *ull = b(IK_ullong);
    struct PROMOTION {
        TYPE *from, *to;
    } promotions[] = {
        {c, i},
        {b(IK_uchar), i},
        {b(IK_ushort), i},
        {p.mk_int(IK_ushort, false, 32, 32), u},
        {b(IK_short), i},
        {u, u},
        {p.mk_int(IK_uint, true), u},
        {p.mk_int(IK_uint, false, 16, 16), i},
        {b(IK_wchar), u},
        {p.mk_int(IK_wchar, false, 16, 16), i},
        {l, l},
        {p.mk_qual(l, QUAL_volatile), l},
        {b(IK_bool), b(IK_bool)},
        {made_enum(b(IK_uchar)), i},
        {made_enum(ul), ul},
        {b(BT_float), b(BT_float)},
    };
    for (auto [from, to] : promotions) EXPECT_EQ(c_integral_promotions(from), to) << from->printstr();

    TYPE *ip = p.mk_ptr(i), *cp = p.mk_ptr(c);
    struct ROW {
        TYPE *a, *b, *result;
        bool commutes = true;
    } rows[] = {
        {c, c, i},
        {i, u, u},
        {i, l, l},
        {u, l, ul}, // long can't hold every unsigned of its own width
        {ul, ll, ll},
        {ll, ull, ull},
        {b(IK_ushort), l, l},
        {i, b(BT_float), b(BT_float)},
        {b(BT_double), b(BT_float), b(BT_double)},
        {b(BT_ldouble), b(BT_double), b(BT_ldouble)},
        {ip, i, ip},
        {ip, cp, ip, false},
        {cp, ip, cp, false},
    };
    for (const ROW &row : rows) {
        EXPECT_EQ(c_usual_arith_conv(row.a, row.b), row.result)
            << row.a->printstr() << " " << row.b->printstr();
        if (row.commutes) { EXPECT_EQ(c_usual_arith_conv(row.b, row.a), row.result); }
    }
    EXPECT_EXIT(c_usual_arith_conv(i, s), ExitedWithCode(1), "Bad type:  c_usual_arith_conv\\(\\)");
    EXPECT_EXIT(c_integral_promotions(p.mk_func(i, false, false, true)), ExitedWithCode(1),
                "Unregistered type:  c_integral_promotions\\(\\)");
}

TEST_F(types_asked, the_other_sign) {
    struct ROW {
        TYPE *t, *as_unsigned, *as_signed;
    } rows[] = {
        {i, p.basic[IK_uint], i},
        {c, p.basic[IK_uchar], p.basic[IK_schar]},
        {p.basic[IK_ullong], p.basic[IK_ullong], p.basic[IK_llong]},
        {p.basic[IK_wchar], p.basic[IK_wchar], i},
        {made_enum(p.basic[IK_short]), p.basic[IK_ushort], p.basic[IK_short]},
        {p.mk_int(IK_int, false, 24, 8), p.mk_int(IK_uint, false, 24, 8), p.mk_int(IK_int, false, 24, 8)},
    };
    for (const ROW &row : rows) {
        EXPECT_EQ(p.mk_unsigned(row.t), row.as_unsigned) << row.t->printstr();
        EXPECT_EQ(p.mk_signed(row.t), row.as_signed) << row.t->printstr();
    }
    EXPECT_TRUE(is_same_sign(i, c));
    EXPECT_FALSE(is_same_sign(i, p.basic[IK_uint]));
    EXPECT_FALSE(is_same_sign(i, p.mk_ptr(i)));
}

TEST_F(types_asked, normal_form) {
    TYPE *l = p.basic[IK_long], *td = p.mk_typedef("td", false, l);
    TYPE *f = p.mk_func(td, TYPES{p.mk_ptr(td), p.mk_qual(td, QUAL_volatile)}, true);
    struct ROW {
        TYPE *t, *normal;
    } rows[] = {
        {i, i},
        {l, i},
        {p.basic[IK_ulong], p.basic[IK_uint]},
        {p.basic[IK_llong], p.basic[IK_llong]},
        {p.mk_int(IK_long, true), i},
        {p.mk_int(IK_long, false, 40, 8), p.mk_int(IK_long, false, 40, 8)},
        {p.mk_boolean_int(i), p.mk_boolean_int(i)},
        {td, i},
        {p.mk_qual(td, QUAL_const), p.mk_qual(i, QUAL_const)},
        {p.mk_array(p.mk_qual(td, QUAL_const), false, 3), p.mk_array(p.mk_qual(i, QUAL_const), false, 3)},
        {p.mk_vector(l, 4), p.mk_vector(i, 4)},
        {p.mk_ref(td), p.mk_ref(i)},
        {f, p.mk_func(i, TYPES{p.mk_ptr(i), p.mk_qual(i, QUAL_volatile)}, true)},
        {p.mk_ptr(f), p.mk_ptr(p.mk_func(i, TYPES{p.mk_ptr(i), p.mk_qual(i, QUAL_volatile)}, true))},
        {s, s},
    };
    for (const ROW &row : rows) {
        EXPECT_EQ(row.t->normalized(), row.normal) << row.t->printstr();
        EXPECT_EQ(row.normal->normalized(), row.normal);
        EXPECT_EQ(normalized_type_uncached(row.t), row.normal);
    }
    EXPECT_FALSE(exact_types(l, i));
}

TEST_F(types_asked, init_types_finds_the_strictest_scalar) {
    init_types();
    EXPECT_EQ(max_scalar_alignment, 64u);
}

TEST_F(types_asked, bit_field_containers) {
    struct ROW {
        uint64_t size, align, bit_offset, bit_size, want_offset;
        bool want;
    } rows[] = {
        {32, 32, 0, 32, 0, true},   {32, 32, 31, 1, 0, true}, {32, 32, 40, 5, 32, true},
        {32, 32, 30, 4, 32, false}, {32, 8, 30, 4, 8, true},  {8, 8, 7, 2, 8, false},
        {64, 32, 40, 20, 0, true},  {8, 8, 0, 0, 0, true},
    };
    for (const ROW &row : rows) {
        uint64_t offset = ~0u;
        EXPECT_EQ(get_container_offset_for_field(row.size, row.align, row.bit_offset, row.bit_size, &offset),
                  row.want);
        EXPECT_EQ(offset, row.want_offset) << row.size << " " << row.bit_offset << " " << row.bit_size;
    }
    TYPE *wide = p.mk_struct("w", 64, 32, false), *odd = p.mk_struct("o", 40, 32, false);
    uint64_t offset;
    EXPECT_TRUE(is_legal_container_for_field(i, wide, 33, 3, false, &offset));
    EXPECT_EQ(offset, 32u);
    EXPECT_FALSE(is_legal_container_for_field(i, odd, 33, 3, false, &offset)) << "reaches past the record";
    EXPECT_TRUE(is_legal_container_for_field(i, odd, 33, 3, true, &offset));
    EXPECT_FALSE(is_legal_container_for_field(i, s, 0, 3, true, &offset)) << "stricter than the record";
    EXPECT_FALSE(is_legal_container_for_field(p.mk_int(IK_int, false, 24, 8), wide, 0, 3, true, &offset));
}

TEST_F(types_asked, flexible_array_members) {
    TYPE *none = p.mk_array(c, false), *inner = p.mk_struct("inner", 8, 8, false);
    inner->add_mdata("n", c, 0);
    inner->add_mdata("rest", none, 8);
    p.type_frozen(inner);
    TYPE *outer = p.mk_struct("outer", 16, 8, false);
    outer->add_mdata("in", p.mk_qual(inner, QUAL_const), 0);
    outer->add_mdata("n", c, 8);
    p.type_frozen(outer);
    TYPE *cpp = p.mk_struct("cpp", 8, 8, true);
    cpp->add_mdata("rest", none, 8);
    EXPECT_TRUE(inner->has_flex_array_member(false));
    EXPECT_FALSE(outer->has_flex_array_member(false));
    EXPECT_TRUE(outer->has_flex_array_member(true));
    EXPECT_FALSE(cpp->has_flex_array_member(true));
    EXPECT_FALSE(i->has_flex_array_member(true));
}

TEST_F(types_asked, names) {
    std::string plain;
    struct ROW {
        const char *name, *plain;
        bool cpp;
    } rows[] = {
        {"s", "s", false},           {"i", "i", false},
        {"3foo", "foo", true},       {"N2ns3fooE", "ns::foo", true},
        {"Nested", "Nested", false}, {"_Z1fv", "f()", true},
        {"_Zebra", "_Zebra", false}, {"", "", false},
    };
    for (const ROW &row : rows) {
        EXPECT_EQ(TYPE_PKG::demangle_type_name(row.name, plain), row.cpp) << row.name;
        EXPECT_EQ(plain, row.plain);
    }
    // Each level doubles the text that the name stands for.
    std::string bomb = "1AIiiE";
    for (char level = 'A'; level < 'Z'; level++) bomb += std::string("S_IS") + level + "_S" + level + "_E";
    for (const std::string &name : {"_Z1f" + bomb, bomb}) {
        TYPE_PKG::demangle_type_name(name.c_str(), plain);
        EXPECT_EQ(plain, name);
    }
    EXPECT_TRUE(TYPE_PKG::compare_type_names("3foo", "foo"));
    EXPECT_FALSE(TYPE_PKG::compare_type_names("3foo", "bar"));
    EXPECT_EQ(find_type("s", K_struct), s);
    EXPECT_EQ(find_type("s", K_union), nullptr);
}

TEST_F(types_asked, texts) {
    TYPE *fn = p.mk_func(p.mk_ptr(i), TYPES{c, p.mk_ptr(s)}, true);
    struct ROW {
        TYPE *t;
        const char *text;
    } rows[] = {
        {p.basic[IK_ulong], "unsigned long"},
        {p.mk_qual(p.mk_ptr(p.mk_qual(i, QUAL_const)), QUAL_volatile), "const int *volatile"},
        {p.mk_ptr(p.mk_array(i, false, 3)), "int (*)[3]"},
        {p.mk_array(p.mk_ptr(i), false), "int *[]"},
        {p.mk_ptr(fn), "int *(*)(char, struct s *, ...)"},
        {p.mk_array(p.mk_ptr(p.mk_func(p.mk_void(), TYPES{})), false, 2), "void (*[2])(void)"},
        {p.mk_complex(p.basic[BT_float]), "cfloat"},
        {p.mk_typedef("t", false, i), "t"},
        {p.mk_ptm(i, s, 32, 32), "int s::*"},
    };
    for (const ROW &row : rows) EXPECT_EQ(row.t->printstr(), row.text);
    EXPECT_EQ(qualifier_words(255), "const volatile packed near far ioport restrict onchip ");
}

TEST_F(types_asked, dumps_name_members_with_their_places) {
    TYPE *r = p.mk_struct("r", 64, 32, false);
    r->add_mdata("next", p.mk_ptr(r), 0)->fti = 10;
    r->add_bitfield("bits", i, 35, 4);
    p.type_frozen(r);
    char text[400] = "";
    FILE *out = fmemopen(text, sizeof text, "w");
    r->dump(out);
    fclose(out);
    EXPECT_NE(strstr(text, "struct r  size 64 align 32"), nullptr) << text;
    EXPECT_NE(strstr(text, " 1 off:  0 fti:a struct r *next\n"), nullptr) << text;
    EXPECT_NE(strstr(text, " 2 off: 35 bitfld( 4) int bits\n"), nullptr) << text;
}
