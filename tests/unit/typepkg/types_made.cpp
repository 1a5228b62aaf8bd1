// Making types: what is shared, what is not, how parts and sizes come out, and where types hang.
#include "typepkg/type_query.h"

#include <gtest/gtest.h>

#include <set>

using testing::ExitedWithCode;

namespace {

using TYPES = std::vector<TYPE *>;

struct types_made : testing::Test {
    TYPE_PKG p;
    TYPE *i, *c;

    types_made() {
        TYPE_PKG::abi = 1;
        init_type_pkg(&p);
        tp = &p;
        i = p.int_type();
        c = p.mk_int(IK_schar, false);
    }
    ~types_made() override { tp = nullptr; }

    TYPE *func(TYPE *returns, std::vector<TYPE *> params) { return p.mk_func(returns, params); }
    // What hangs under a type, in the order of the output.
    std::vector<std::string> order(const TYPE *base) {
        std::vector<std::string> texts;
        walk_based(base, [&](TYPE *t) { texts.push_back(t->printstr()); });
        return texts;
    }
};

} // namespace

TEST_F(types_made, equal_requests_give_one_type_and_unequal_ones_do_not) {
    TYPE *s = p.mk_struct("s", 32, 32, false);
    p.type_frozen(s);
    auto make_all = [&] {
        return std::vector<TYPE *>{
            p.mk_void(),
            p.mk_int(IK_schar, false),
            p.mk_int(IK_schar, true),
            p.mk_int(IK_int, false, 24, 8),
            p.mk_int(IK_int, false, 24, 32),
            p.mk_boolean_int(i),
            p.mk_ptm_int(i),
            p.mk_fltpt(FK_double),
            p.mk_fltpt(FK_double, 32, 32),
            p.mk_fxtpt(i, 3),
            p.mk_fxtpt(i, -3),
            p.mk_complex(i),
            p.mk_ptr(i),
            p.mk_ptr(i, 64, 64),
            p.mk_ptr(s),
            p.mk_ref(i),
            p.mk_ptm(i, s, 32, 32),
            p.mk_ptm(s, s, 32, 32),
            p.mk_qual(i, QUAL_const),
            p.mk_qual(i, QUAL_volatile),
            p.mk_qual(i, QUAL_packed, 32, 8),
            p.mk_typedef("t", false, i),
            p.mk_typedef("u", false, i),
            p.mk_typedef("t", true, i),
            p.mk_array(i, false),
            p.mk_array(i, false, 4),
            p.mk_array(i, true, 4),
            p.mk_array(i, false, 5),
            p.mk_array(c, false, 4),
            p.mk_vector(i, 4),
            func(i, {}),
            func(i, {i}),
            func(i, {i, i}),
            func(i, {c}),
            func(c, {i}),
            p.mk_func(i, TYPES{i}, true),
            p.mk_func(i, TYPES{i}, false, false, 1),
        };
    };
    std::vector<TYPE *> first = make_all(), second = make_all();
    EXPECT_EQ(first, second);
    std::set<TYPE *> distinct(first.begin(), first.end());
    EXPECT_EQ(distinct.size(), first.size());
    std::set<UID> uids;
    for (TYPE *t : first) uids.insert(t->uid);
    EXPECT_EQ(uids.size(), first.size());
    EXPECT_EQ(uids.count(0), 0u);
}

TEST_F(types_made, records_and_enums_are_never_shared) {
    for (int again = 0; again < 2; again++) {
        TYPE *a = p.mk_struct("s", 32, 32, false), *b = p.mk_struct("s", 32, 32, false);
        EXPECT_NE(a, b);
        EXPECT_NE(p.mk_ptr(a), p.mk_ptr(b));
        EXPECT_NE(p.mk_enum("e", i, 32, 32, false), p.mk_enum("e", i, 32, 32, false));
    }
}

TEST_F(types_made, a_function_is_shared_when_its_parameters_are_known) {
    TYPE *known = func(i, {i, c});
    unsigned created = p.counts.types;
    for (auto [last, same] : {std::pair{c, true}, {i, false}}) {
        TYPE *open = p.mk_func(i, false, false, true);
        EXPECT_EQ(open->uid, 0u);
        open->add_param(i);
        open->add_param(last, "named");
        p.type_frozen(open);
        EXPECT_EQ(open == known, same);
    }
    EXPECT_EQ(p.counts.types, created + 1);
    p.mk_func(i, false, false, true); // never closed: goes with the package
}

TEST_F(types_made, qualifiers_join_and_leave) {
    TYPE *ci = p.mk_qual(i, QUAL_const);
    TYPE *cvi = p.mk_qual(ci, QUAL_volatile);
    TYPE *t = p.mk_typedef("t", false, ci);
    TYPE *vt = p.mk_qual(t, QUAL_volatile);
    TYPE *packed = p.mk_qual(i, QUAL_packed, 32, 8);

    EXPECT_EQ(p.mk_qual(cvi, QUAL_const), cvi);
    EXPECT_EQ(cvi, p.mk_qual(i, QUAL_const | QUAL_volatile));
    EXPECT_EQ(cvi->type_qualified(), i);
    EXPECT_EQ(p.mk_qual(t, QUAL_const), t);
    EXPECT_EQ(vt->qual_kind(), unsigned(QUAL_const | QUAL_volatile));
    EXPECT_EQ(vt->type_qualified(), t);
    // What differs in alignment alone is another type.
    EXPECT_NE(p.mk_qual(packed, QUAL_packed, 32, 16), packed);
    EXPECT_EQ(p.mk_qual(packed, QUAL_const)->align, 8u);

    EXPECT_EQ(p.remove_known_qual(cvi, QUAL_const), p.mk_qual(i, QUAL_volatile));
    EXPECT_EQ(p.remove_known_qual(cvi, 255), i);
    EXPECT_EQ(p.remove_known_qual(vt, QUAL_volatile), t);
    EXPECT_EQ(p.remove_known_qual(vt, QUAL_const), p.mk_qual(i, QUAL_volatile));
    EXPECT_EQ(p.remove_known_qual(i, QUAL_const), i);

    TYPE *array = p.mk_array(ci, false, 3), *qualified = p.mk_qual(p.mk_array(i, false, 3), QUAL_const);
    for (TYPE *a : {array, qualified}) {
        EXPECT_TRUE(a->is_const());
        EXPECT_EQ(a->qual_kind(true), QUAL_const + 0u);
        EXPECT_EQ(a->elem_type(), ci);
    }
    EXPECT_EQ(array->qual_kind(), 0u);
    EXPECT_EQ(p.mk_ptr(ci)->qual_kind(true), 0u);
}

TEST_F(types_made, stripping) {
    TYPE *ci = p.mk_qual(i, QUAL_const);
    TYPE *t = p.mk_typedef("t", false, ci), *vt = p.mk_qual(t, QUAL_volatile),
         *u = p.mk_typedef("u", false, vt);
    EXPECT_EQ(u->stds(), vt);
    EXPECT_EQ(vt->stqs(), t);
    EXPECT_EQ(t->stds(), ci);
    EXPECT_EQ(vt->stds(), vt);
    EXPECT_EQ(u->dtype, i);
    EXPECT_EQ(u->getr(K_int), i);
    EXPECT_EQ(u->getd(K_qual), vt);
    EXPECT_EXIT(u->getd(K_int), ExitedWithCode(1), "TP>> internal error: Bad kind:  TYPE::getd\\(\\)\n");
    EXPECT_EXIT(u->getr(K_qual), ExitedWithCode(1), "TP>> internal error: Bad kind:  TYPE::getr\\(\\)\n");
    EXPECT_EXIT(u->getr_csu(), ExitedWithCode(1), "Bad kind:  TYPE::getr\\(\\)");
}

TEST_F(types_made, sizes_and_alignments_that_are_left_out) {
    TYPE *d = p.mk_fltpt(FK_double);
    struct ROW {
        TYPE *t;
        uint64_t size;
        uint32_t align;
    } rows[] = {
        {p.basic[IK_bool], 8, 8},
        {p.basic[IK_wchar], 32, 32},
        {p.basic[IK_long], 32, 32},
        {p.basic[IK_ullong], 64, 64},
        {d, 64, 64},
        {p.mk_fltpt(FK_ldouble), 64, 64},
        {p.void_ptr_type(), 32, 32},
        {p.mk_complex(d), 128, 64},
        {p.mk_array(d, false, 3), 192, 64},
        {p.mk_array(d, false), 0, 64},
        {p.mk_typedef("aligned", false, i, 32, 128), 32, 128},
        {p.mk_array(p.mk_typedef("aligned", false, i, 32, 128), false, 2), 64, 128},
        {p.mk_vector(i, 4), 128, 64},
        {p.mk_vector(i, 2), 64, 64},
        {p.mk_vector(i, 3), 96, 32},
        {p.mk_vector(c, 3), 24, 8},
        {p.mk_struct_vector("pair", p.mk_vector(i, 4), 2), 256, 64},
        {p.mk_vpred(4, 32), 128, 64},
    };
    for (const ROW &row : rows) {
        EXPECT_EQ(row.t->size, row.size) << row.t->printstr();
        EXPECT_EQ(row.t->align, row.align) << row.t->printstr();
    }
    EXPECT_TRUE(p.mk_vpred(4, 32)->is_vpred());
    EXPECT_FALSE(p.mk_vector(i, 4)->is_vpred());

    TYPE_PKG::abi = 0;
    TYPE_PKG old;
    init_type_pkg(&old);
    EXPECT_EQ(old.basic[IK_llong]->align, 32u);
    EXPECT_EQ(old.basic[BT_double]->align, 32u);
    EXPECT_EQ(TYPE_PKG::tp_count, 2);
}

TEST_F(types_made, a_size_beyond_the_format_is_noted_once) {
    static int calls;
    p.error_handler = [](TYPE_PKG *) { calls++; };
    TYPE *huge = p.mk_array(i, false, 1u << 30);
    EXPECT_EQ(huge->size, uint64_t{1} << 35);
    p.mk_array(huge, false, UINT64_MAX / 2);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(p.error_code, 1);
    EXPECT_STREQ(p.error_text,
                 "Object size 4294967296 bytes is greater than maximum supported size 536870911 bytes");
    EXPECT_STREQ(TYPE_PKG::error_code_name(1), "object size not supported");
}

TEST_F(types_made, arrays_are_rebuilt_over_another_element) {
    TYPE *grid =
        p.mk_array(p.mk_typedef("row", false, p.mk_qual(p.mk_array(i, false, 4), QUAL_const)), false, 3);
    TYPE *want = p.mk_array(p.mk_qual(p.mk_array(c, false, 4), QUAL_const), false, 3);
    EXPECT_EQ(p.replace_array_elem(grid, i, c), want);
    EXPECT_EQ(p.replace_array_elem(grid, c, i), nullptr);
    EXPECT_EQ(p.replace_array_elem(p.mk_vector(i, 4), i, p.basic[IK_uint]), p.mk_vector(p.basic[IK_uint], 4));
}

// The order is that of the output file, whatever order the names were made in.
TEST_F(types_made, based_lists_sort_names_and_keep_the_order_of_the_rest) {
    TYPE *s = p.mk_struct("s", 0, 8, false);
    p.mk_array(s, false, 2);
    p.mk_typedef("z", false, s);
    p.mk_ptr(s);
    p.mk_typedef("a", false, s);
    p.mk_qual(s, QUAL_const);
    EXPECT_EQ(order(s), (std::vector<std::string>{"a", "z", "struct s [2]", "struct s *", "const struct s"}));
    EXPECT_EQ(s->based.count, 5u);

    p.mk_union("m", 0, 8, false);
    p.mk_class("k", 0, 8, false);
    TYPE *fake[2] = {p.mk_struct(nullptr, 0, 8, false), p.mk_struct("", 0, 8, false)};
    EXPECT_STRNE(fake[0]->name(), fake[1]->name());
    EXPECT_TRUE(type_is_tagless(fake[0]));
    std::vector<std::string> names;
    for (auto &entry : *p.root->based.named) names.push_back(entry.first);
    EXPECT_EQ(names, (std::vector<std::string>{"__builtin_type", "struct $$fake", "struct k", "struct s",
                                               "union m"}));

    std::vector<TYPE *> walked;
    walk_type_tree(s, [&](TYPE *t) { walked.push_back(t); });
    EXPECT_EQ(walked.size(), 5u);
    p.mk_ptr(p.mk_typedef("a", false, s));
    walked.clear();
    walk_type_tree(s, [&](TYPE *t) { walked.push_back(t); });
    ASSERT_EQ(walked.size(), 6u);
    EXPECT_EQ(walked[1], p.mk_ptr(walked[0]))
        << "a type comes before what is built on it, and that before the next";
}

TEST_F(types_made, members_are_numbered_and_found) {
    TYPE *s = p.mk_struct("s", 3200, 32, false);
    TYPE *self = p.mk_ptr(s);
    s->add_mdata("next", self, 0);
    for (int n = 1; n < 100; n++) s->add_bitfield("b", i, 32 * n, 7);
    EXPECT_TRUE(s->sub.csu->seen_bitfield);
    p.type_frozen(s);
    unsigned index = 0;
    for (const fkMDATA *m = s->mdata(); m; m = m->next) {
        EXPECT_EQ(m->index, ++index);
        EXPECT_EQ(p.mk_qual(s, QUAL_const)->find_mdata(index), m);
    }
    EXPECT_EQ(s->find_mdata(0), nullptr);
    EXPECT_EQ(s->find_mdata(101), nullptr);
    EXPECT_EQ(s->find_mdata(1)->width(), 32u);
    EXPECT_EQ(s->find_mdata(2)->width(), 7u);

    // Numbers that came with the members stay.
    TYPE *u = p.mk_union("u", 32, 32, false);
    u->add_mdata("a", i, 0)->index = 7;
    u->add_mdata("b", i, 0);
    p.type_frozen(u);
    EXPECT_STREQ(u->find_mdata(7)->name, "a");
    EXPECT_STREQ(u->find_mdata(2)->name, "b");
}

TEST_F(types_made, closed_types_refuse_changes_but_for_late_completion) {
    TYPE *s = p.mk_struct("late");
    EXPECT_FALSE(s->is_complete());
    p.type_frozen(s);
    s->add_mdata("m", i, 0);
    s->set_is_complete();
    s->set_is_lowered();
    EXPECT_TRUE(p.mk_typedef("t", false, s)->is_complete());
    const char *text = "TP>> internal error: Modifying frozen type:  TYPE::check_nfrozen\n";
    EXPECT_EXIT(s->add_mdata("n", i, 0), ExitedWithCode(1), text);
    EXPECT_EXIT(func(i, {})->add_param(i), ExitedWithCode(1), text);
    EXPECT_EXIT(p.mk_ptr(p.mk_func(i, false, false, true)), ExitedWithCode(1), "Unregistered type");
    EXPECT_EXIT(p.mk_ptr(nullptr), ExitedWithCode(1), "null part");
    EXPECT_EXIT(i->create_subparts(), ExitedWithCode(1), "bad kind: TYPE::create_subparts");
}

TEST_F(types_made, deleting_a_subtree_forgets_it) {
    size_t before = tp_bytes_in_use();
    TYPE *s = p.mk_struct("s", 32, 32, false);
    TYPE *a = p.mk_array(p.mk_ptr(s), false, 9);
    (void)a;
    s->add_mdata("m", p.mk_typedef("local", false, s), 0);
    p.type_frozen(s);
    EXPECT_EXIT(delete_type_tree(s, false), ExitedWithCode(1),
                "Nonrecusive type tree delete with nonempty based list:  TYPE_PKG::delete_type_tree");
    delete_type_tree(s, true);
    EXPECT_EQ(tp_bytes_in_use(), before);
    EXPECT_EQ(p.root->based.named->count("struct s"), 0u);
    // What shared a run of the table with the deleted ones is still found.
    EXPECT_EQ(p.mk_ptr(p.void_type()), p.void_ptr_type());
}

// Many types under one name, and a chain as long as memory allows: neither walks what it need not.
TEST_F(types_made, crowds_and_chains) {
    constexpr unsigned MANY = 100000;
    std::vector<TYPE *> crowd;
    for (unsigned n = 0; n < MANY; n++) crowd.push_back(p.mk_array(i, false, n));
    for (unsigned n = 0; n < MANY; n++) ASSERT_EQ(p.mk_array(i, false, n), crowd[n]);
    for (unsigned n = 0; n < MANY; n++) p.mk_struct(nullptr, 0, 8, false);

    TYPE *chain = p.mk_typedef("link", false, i), *plain = i;
    for (unsigned n = 0; n < 4 * MANY; n++) {
        chain = p.mk_ptr(chain);
        plain = p.mk_ptr(plain);
    }
    EXPECT_EQ(chain->normalized(), plain);
    EXPECT_FALSE(chain->printstr().empty());
    EXPECT_NE(chain->printstr().find("..."), std::string::npos);
    unsigned seen = 0;
    walk_type_tree(p.root, [&](TYPE *) { seen++; });
    EXPECT_GT(seen, 10 * MANY);
}
