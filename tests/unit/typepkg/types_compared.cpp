// Pairs of types: the three comparisons, merging, and marking for output.
#include "typepkg/type_merge.h"
#include "typepkg/type_query.h"

#include <gtest/gtest.h>

namespace {

using TYPES = std::vector<TYPE *>;

struct types_compared : testing::Test {
    TYPE_PKG p;
    TYPE *i, *u, *l, *c;

    types_compared() {
        TYPE_PKG::abi = 1;
        init_type_pkg(&p);
        tp = &p;
        i = p.int_type();
        u = p.basic[IK_uint];
        l = p.basic[IK_long];
        c = p.mk_int(IK_schar, false);
    }
    ~types_compared() override { tp = nullptr; }

    // A record with the members "a" and "b" of these types.
    TYPE *record(KIND kind, const char *name, TYPE *a, TYPE *b) {
        TYPE *t = p.mk_csu(kind, name, 64, 32, false, 0, true);
        t->add_mdata("a", a, 0);
        t->add_mdata("b", b, kind == K_union ? 0 : 32);
        p.type_frozen(t);
        return t;
    }
    // struct NAME { int a; struct NAME *b; }
    TYPE *linked(const char *name, TYPE *a) {
        TYPE *t = p.mk_struct(name, 64, 32, false);
        t->add_mdata("a", a, 0);
        t->add_mdata("b", p.mk_ptr(t), 32);
        p.type_frozen(t);
        return t;
    }
    TYPE *in_unit(uint32_t tu, TYPE *t) {
        t->tu = tu;
        return t;
    }
};

} // namespace

TEST_F(types_compared, three_strengths) {
    enum : unsigned { EXACT = 1, COMPATIBLE = 2, STRIPPED = 4, MACHINE = 8 };
    constexpr unsigned C_LIKE = COMPATIBLE | STRIPPED | MACHINE;
    TYPE *ci = p.mk_qual(i, QUAL_const), *ti = p.mk_typedef("t", false, i);
    TYPE *packed = p.mk_qual(i, QUAL_packed, 32, 8);
    TYPE *e = p.mk_enum("e", i, 32, 32, false);
    p.type_frozen(e);
    TYPE *s1 = record(K_struct, "s", i, c), *s2 = record(K_class, "s", ti, c),
         *s3 = record(K_struct, "s", i, i);
    TYPE *n1 = linked("n", i), *n2 = linked("n", ti), *n3 = linked("n", u);
    TYPE *open = p.mk_struct("s");
    p.type_frozen(open);
    TYPE *old_style = p.mk_func(i, false, false, false);
    p.type_frozen(old_style);
    auto ptr = [&](TYPE *t) { return p.mk_ptr(t); };
    auto fn = [&](TYPE *r, TYPE *a) { return p.mk_func(r, TYPES{a}); };
    struct ROW {
        TYPE *a, *b;
        unsigned holds;
    } rows[] = {
        {i, i, EXACT | C_LIKE},
        {i, l, MACHINE},
        {i, u, 0},
        {i, ti, C_LIKE},
        {i, ci, STRIPPED | MACHINE},
        {i, packed, 0},
        {i, e, MACHINE},
        {i, p.mk_boolean_int(i), COMPATIBLE | STRIPPED},
        {c, p.basic[IK_schar], MACHINE},
        {p.mk_int(IK_int, true), i, C_LIKE},
        {p.basic[BT_double], p.basic[BT_ldouble], MACHINE},
        {ptr(i), ptr(ti), C_LIKE},
        {ptr(i), ptr(ci), STRIPPED | MACHINE},
        {ptr(i), ptr(c), MACHINE},
        {ptr(i), ptr(old_style), 0},
        {ptr(i), u, 0},
        {p.mk_array(i, false, 3), p.mk_array(ti, false, 3), C_LIKE},
        {p.mk_array(i, false, 3), p.mk_array(i, false), COMPATIBLE | STRIPPED},
        {p.mk_array(i, true, 3), p.mk_array(i, true), 0},
        {p.mk_array(i, false, 4), p.mk_vector(i, 4), 0},
        {fn(i, i), fn(ti, ti), C_LIKE},
        {fn(i, i), fn(i, c), 0},
        {fn(i, i), old_style, C_LIKE},
        {s1, s2, C_LIKE},
        {s1, s3, 0},
        {s1, open, COMPATIBLE | STRIPPED},
        {s1, record(K_union, "s", i, c), 0},
        {n1, n2, C_LIKE},
        {ptr(n1), ptr(n2), C_LIKE},
        {n1, n3, 0},
        {record(K_struct, nullptr, i, c), record(K_struct, nullptr, i, c), C_LIKE},
        {record(K_struct, nullptr, i, c), s1, 0},
        {record(K_union, "x", i, c), record(K_union, "x", ti, c), C_LIKE},
        {p.mk_void(), i, 0},
    };
    for (const ROW &row : rows) {
        SCOPED_TRACE(row.a->printstr() + " and " + row.b->printstr());
        for (auto [a, b] : {std::pair{row.a, row.b}, {row.b, row.a}}) {
            EXPECT_EQ(exact_types(a, b), (row.holds & EXACT) != 0);
            EXPECT_EQ(compatible_types(a, b), (row.holds & COMPATIBLE) != 0);
            EXPECT_EQ(compatible_types(a, b, true), (row.holds & STRIPPED) != 0);
            EXPECT_EQ(equiv_mtypes(a, b), (row.holds & MACHINE) != 0);
        }
    }
}

TEST_F(types_compared, types_that_share_their_parts_are_compared_in_linear_time) {
    TYPE *a = i, *b = p.mk_typedef("t", false, i);
    for (int depth = 0; depth < 200; depth++) {
        a = p.mk_func(a, TYPES{p.mk_ptr(a), p.mk_ptr(a)});
        b = p.mk_func(b, TYPES{p.mk_ptr(b), p.mk_ptr(b)});
        a = p.mk_ptr(a);
        b = p.mk_ptr(b);
    }
    EXPECT_TRUE(compatible_types(a, b));
    EXPECT_EQ(b->normalized(), a);
}

TEST_F(types_compared, twins_of_two_units_become_one) {
    TYPE *first = in_unit(0, linked("n", i)), *second = in_unit(1, linked("n", i));
    EXPECT_TRUE(find_equivalent_type(second));
    EXPECT_EQ(second->rep(), first);
    EXPECT_EQ(second->uid, first->uid);
    EXPECT_EQ(p.mk_ptr(second)->rep(), p.mk_ptr(first)->rep());
    EXPECT_TRUE(exact_types(p.mk_ptr(second), p.mk_ptr(first)));
    EXPECT_TRUE(merge_types(first, second));
    EXPECT_FALSE(set_equiv(first, second)) << "a cycle";
}

TEST_F(types_compared, a_mismatch_leaves_nothing_merged) {
    TYPE *e1 = in_unit(0, record(K_struct, "part", i, i)), *e2 = in_unit(1, record(K_struct, "part", i, i));
    TYPE *a = in_unit(0, record(K_struct, "s", p.mk_ptr(e1), i)),
         *b = in_unit(1, record(K_struct, "s", p.mk_ptr(e2), u));
    EXPECT_FALSE(merge_types(a, b));
    EXPECT_EQ(e2->equiv, nullptr);
    EXPECT_EQ(b->equiv, nullptr);
}

TEST_F(types_compared, merge_table) {
    auto tdef = [&](const char *name, TYPE *t) { return p.mk_typedef(name, false, t); };
    auto made_enum = [&](uint64_t size) {
        TYPE *t = p.mk_enum("e", i, size, 32, false);
        p.type_frozen(t);
        return t;
    };
    auto fn = [&](bool proto, bool vararg, std::vector<TYPE *> params) {
        TYPE *t = p.mk_func(i, false, vararg, proto);
        for (TYPE *param : params) t->add_param(param);
        p.type_frozen(t);
        return t;
    };
    TYPE *late = in_unit(1, record(K_struct, "late", i, c));
    TYPE *early = in_unit(0, p.mk_struct("late"));
    p.type_frozen(early);
    TYPE *written = in_unit(1, record(K_struct, "w", i, c));
    written->refd = true;
    TYPE *ordered = p.mk_union("o", 64, 32, false);
    ordered->set_ordered_union();
    ordered->add_mdata("b", c, 0);
    ordered->add_mdata("a", i, 0);
    p.type_frozen(ordered);
    TYPE *swapped = p.mk_union("v", 64, 32, false);
    swapped->add_mdata("b", c, 0);
    swapped->add_mdata("a", i, 0);
    p.type_frozen(swapped);
    struct ROW {
        const char *what;
        TYPE *a, *b;
        bool merges;
        TYPE *rep_of_a; // null: not joined
    } rows[] = {
        {"union and struct", record(K_union, "x", i, c), record(K_struct, "x", i, c), false, nullptr},
        {"class and struct", record(K_class, "y", i, c), record(K_struct, "y", i, c), true, nullptr},
        {"tagless and tagged", record(K_struct, nullptr, i, c), record(K_struct, "z", i, c), false, nullptr},
        {"the complete one stays", early, late, true, late},
        {"a written type keeps its number", written, in_unit(0, record(K_struct, "w", i, c)), false, nullptr},
        {"union in any order", record(K_union, "v", i, c), swapped, true, swapped},
        {"union in order", record(K_union, "o", i, c), ordered, false, nullptr},
        {"typedef through its name", tdef("t", i), i, true, nullptr},
        {"enum without values", made_enum(0), made_enum(32), true, nullptr},
        {"old style and prototype", fn(false, false, {}), fn(true, false, {c}), true, nullptr},
        {"old style and varargs", fn(false, false, {}), fn(true, true, {c}), false, nullptr},
        {"const parameter", fn(true, false, {p.mk_qual(i, QUAL_const)}), fn(true, false, {i}), true, nullptr},
        {"volatile parameter", fn(true, false, {p.mk_qual(i, QUAL_volatile)}), fn(true, false, {i}), false,
         nullptr},
        {"parameter too many", fn(true, false, {i, i}), fn(true, false, {i}), false, nullptr},
        {"array of unknown size", p.mk_array(i, false), p.mk_array(i, false, 3), true, nullptr},
        {"arrays of two sizes", p.mk_array(i, false, 2), p.mk_array(i, false, 3), false, nullptr},
    };
    for (const ROW &row : rows) {
        SCOPED_TRACE(row.what);
        UID uid = row.a->uid;
        EXPECT_EQ(merge_types(row.a, row.b), row.merges);
        if (row.rep_of_a) { EXPECT_EQ(row.a->rep(), row.rep_of_a); }
        if (!row.merges) { EXPECT_EQ(row.a->uid, uid); }
    }
}

TEST_F(types_compared, made_up_member_names) {
    auto member = [&](const char *name, TYPE *t) {
        TYPE *s = p.mk_struct(nullptr, 32, 32, false);
        return s->add_mdata(name, t, 0);
    };
    EXPECT_TRUE(mdata_equal(member("a", i), member("a", i)));
    EXPECT_FALSE(mdata_equal(member("a", i), member("b", i)));
    EXPECT_FALSE(mdata_equal(member("a", i), member("a", u)));
    EXPECT_TRUE(mdata_equal(member("$P$T01", i), member("$P$T02", i)));
    EXPECT_FALSE(mdata_equal(member("_$P$T01", i), member("_$P$T02", i)));
    TYPE_PKG::abi = 0;
    EXPECT_TRUE(mdata_equal(member("_$P$T01", i), member("_$P$T02", i)));
    EXPECT_FALSE(mdata_equal(member("$P$T01", i), member("$P$T02", i)));
    fkMDATA *flagged = member("a", i);
    flagged->flag3 = true;
    EXPECT_FALSE(mdata_equal(flagged, member("a", i)));
}

// Each type that the writer would refer to must be marked, through every kind of reference.
TEST_F(types_compared, marking_reaches_all_that_is_referred_to) {
    auto leaf = [&](const char *name) {
        TYPE *t = p.mk_struct(name, 8, 8, false);
        p.type_frozen(t);
        return t;
    };
    std::vector<TYPE *> leaves;
    for (const char *name : {"l0", "l1", "l2", "l3", "l4", "l5", "l6", "l7", "l8", "l9"})
        leaves.push_back(leaf(name));
    TYPE *unused = leaf("unused"), *lowered = leaf("lowered"), *top = p.mk_class("top", 8, 8, true);
    lowered->set_is_lowered();
    const bool flags[4] = {};
    top->add_mdata("a", p.mk_ptr(p.mk_func(leaves[0], TYPES{p.mk_ptr(leaves[1])})), 0);
    top->add_mdata("b", p.mk_ptm(leaves[2], leaves[3], 32, 32), 0);
    top->add_mdata("c", p.mk_array(p.mk_qual(p.mk_typedef("t", false, leaves[4]), QUAL_const), false, 2), 0);
    top->add_bclass(leaves[5], 0, 0, false);
    top->add_ffriend("f", leaves[6]);
    top->add_cfriend(leaves[7]);
    top->add_sdata("s", leaves[8], 0);
    top->add_mfunc("m", p.mk_func(p.mk_ptr(top), TYPES{leaves[9]}), 0, 0, flags);
    p.type_frozen(top);

    p.mk_ptr(top)->refd = true;
    mark_refed_types(p.root);
    EXPECT_TRUE(top->refd);
    for (TYPE *t : leaves) EXPECT_TRUE(t->refd) << t->name();
    EXPECT_FALSE(unused->refd);

    mark_named_types(p.root, false);
    EXPECT_FALSE(unused->refd);
    mark_named_types(p.root, true);
    EXPECT_TRUE(unused->refd);
    EXPECT_FALSE(lowered->refd);

    clear_output_marks(p.root);
    TYPE *chain = i;
    for (int depth = 0; depth < 300000; depth++) chain = p.mk_ptr(chain);
    chain->refd = true;
    mark_refed_types(p.root);
    EXPECT_TRUE(i->refd);
    EXPECT_FALSE(top->refd);
}
