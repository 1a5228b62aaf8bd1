// What the target answers, against a model of its encodings and tables of borderline values.
#include "tests/unit/OPT5/program.h"

#include "OPT5/cfg.h"
#include "OPT5/target.h"

#include <random>
#include <set>

namespace {

enum STATE { ARM, T16, T2 };

struct target_facts : program {
    void set(STATE state) {
        options.clearopt(OO_CODE_STATE);
        if (state != ARM) options.setopt(OO_CODE_STATE, 4);
        cpu_version = state == T2 ? 78 : 6;
        init_target();
    }
    void goal(int enumerator) { options.setopt(OO_SIZE_SPEED_GOAL, enumerator); }
    bool immediate(INT65 value, TYPE *type) {
        NODE *n = mk_ICON(value, type);
        bool answer = leaf_is_immediate(n);
        erase_tree(n);
        return answer;
    }
    NODE *binary(int op, NODE *a, NODE *b, TYPE *type = nullptr) {
        return maketree(op, a, b, type ? type : i, nullptr);
    }
};

} // namespace

TEST_F(target_facts, immediates_are_rotated_bytes_and_their_complements) {
    std::set<uint32_t> encodable;
    for (uint32_t byte = 0; byte < 256; byte++)
        for (int by = 0; by < 32; by += 2) encodable.insert(by ? byte >> by | byte << (32 - by) : byte);
    auto model = [&](uint32_t v) { return encodable.count(v) || encodable.count(~v); };
    std::vector<uint32_t> values(encodable.begin(), encodable.end());
    for (uint32_t e : encodable)
        for (int bit = 0; bit < 32; bit += 3) values.push_back(e ^ 1u << bit);
    std::mt19937 random(1);
    for (int n = 0; n < 100000; n++) values.push_back(uint32_t(random()) >> random() % 32);
    for (STATE state : {ARM, T2}) {
        set(state);
        for (uint32_t v : values) {
            ASSERT_EQ(immediate(INT65(v), u), model(v)) << std::hex << v;
            ASSERT_EQ(immediate(INT65(int32_t(~v)), i), model(v)) << std::hex << ~v;
        }
    }
    EXPECT_FALSE(immediate(INT65(1) << 32, tp->basic_int(IK_llong))) << "the low word alone is not the value";
    set(T16);
    for (int value = -300; value < 600; value++)
        ASSERT_EQ(immediate(INT65(value), i), value >= 0 && value <= 255);
    NODE *n = name(global("x", i));
    EXPECT_FALSE(leaf_is_immediate(n));
    erase_tree(n);
}

TEST_F(target_facts, ranges_end_where_the_encodings_end) {
    // For each access the lowest and highest offset in range, with a step; the neighbours are out of range.
    TYPE *ll = tp->basic_int(IK_llong);
    const struct {
        STATE state;
        TYPE *type;
        int flag, low, high, step;
    } rows[] = {
        {ARM, i, 0, -4095, 4095, 1},  {ARM, d, 0, -255, 255, 1}, {ARM, sh, 1, -255, 255, 1},
        {ARM, uc, 0, -4095, 4095, 1}, {ARM, c, 0, -255, 255, 1}, {ARM, c, 1, -4095, 4095, 1},
        {T2, i, 0, -255, 4095, 1},    {T2, c, 0, -255, 4095, 1}, {T2, ll, 0, -1020, 1020, 4},
        {T16, i, 0, 0, 124, 4},       {T16, uc, 0, 0, 31, 1},    {T16, c, 1, 0, 31, 1},
        {T16, sh, 1, 0, 62, 2},       {T16, c, 0, 0, 0, 1},      {T16, sh, 0, 0, 0, 2},
    };
    for (const auto &row : rows) {
        set(row.state);
        TYPE *array = tp->mk_array(tp->mk_array(row.type, false, 8), false, 8);
        for (int offset = -4200; offset <= 4200; offset++) {
            bool expected =
                offset == 0 || (offset >= row.low && offset <= row.high && offset % row.step == 0);
            ASSERT_EQ(offset_is_in_range(INT65(offset), row.type, row.flag), expected)
                << row.state << " " << row.type->printstr() << " " << offset;
            ASSERT_EQ(offset_is_in_range(INT65(offset), array, row.flag), expected);
        }
    }
    const struct {
        STATE state;
        int size;
        TYPE *type;
        long flag;
        int limit; // -1: never
    } increments[] = {
        {ARM, 4, i, 0, 4095}, {ARM, 2, sh, 0, 255}, {ARM, 1, uc, 0, 4095}, {ARM, 1, c, 0, 255},
        {ARM, 8, d, 0, -1},   {T2, 4, i, 0, 255},   {T2, 4, i, 1, 4095},   {T2, 2, sh, 1, 255},
        {T16, 4, i, 1, -1},   {T2, 1, uc, 0, 255},
    };
    for (const auto &row : increments) {
        set(row.state);
        for (int value = -4200; value <= 4200; value++)
            ASSERT_EQ(modifying_increment_is_valid(INT65(value), row.size, row.type, row.flag),
                      row.limit >= 0 && abs(value) <= row.limit)
                << row.state << " " << row.size << " " << value;
    }
}

TEST_F(target_facts, scales_are_shifts_of_ARM_code) {
    for (STATE state : {ARM, T16, T2}) {
        set(state);
        for (int bits : {8, 16, 32, 64, 0}) {
            for (int factor = -70; factor <= 70; factor++) {
                bool power = factor && (abs(factor) & (abs(factor) - 1)) == 0;
                bool sized = bits == 8 || bits == 16 || bits == 32;
                bool expected = sized && (factor == 1 || (state == ARM && bits != 16 && power));
                ASSERT_EQ(valid_scale_factor(INT65(factor), bits), expected)
                    << state << " " << bits << " " << factor;
            }
        }
    }
}

TEST_F(target_facts, unknown_versions_become_the_oldest) {
    for (int version : {0, -1, 4, 5, 6, 7, 71, 72, 73, 74, 75, 78, 8, 734, 735, -2}) {
        cpu_version = version;
        testing::internal::CaptureStdout();
        init_target();
        std::string text = testing::internal::GetCapturedStdout();
        bool known = (version >= 4 && version <= 7) || (version >= 71 && version <= 74) || version == 78 ||
                     version == 734;
        EXPECT_EQ(cpu_version, known ? version : 0);
        EXPECT_EQ(text.empty(), known || version == 0 || version == -1) << version;
        if (version == 8) { EXPECT_EQ(text, "\n>>>> Warning: unrecognized option: '-v8'\n\n"); }
    }
}

TEST_F(target_facts, names_of_targets) {
    const char *all[] = {"V4A",  "V4T",    "V5A",    "V5T",    "V6A",    "V6T",   "V7A8",
                         "V7R4", "V7A8T2", "V7R4T2", "V7M3T2", "V7M4T2", "V7NEON"};
    const struct {
        int version;
        bool thumb, neon;
        const char *active;
    } rows[] = {
        {0, false, false, "V4A "},         {0, true, false, "V4T "},    {5, false, false, "V5A "},
        {6, true, false, "V6T "},          {78, false, false, "V7A8 "}, {78, true, false, "V7A8T2 "},
        {74, true, false, "V7R4 V7R4T2 "}, {74, false, false, "V7R4 "}, {73, true, false, "V7M3T2 "},
        {734, true, false, "V7M4T2 "},     {7, false, false, ""},       {78, false, true, "V7A8 V7NEON "},
    };
    for (const auto &row : rows) {
        options.clearopt(OO_CODE_STATE);
        options.clearopt(OO_NEON);
        if (row.thumb) options.setopt(OO_CODE_STATE, 4);
        if (row.neon) options.setopt(OO_NEON);
        cpu_version = row.version;
        std::string active;
        for (const char *name : all)
            if (target_is_this_version(name)) active += std::string(name) + " ";
        EXPECT_EQ(active, row.active) << row.version << " " << row.thumb;
    }
    const struct {
        const char *a, *b;
        bool covers;
    } pairs[] = {
        {"V7NEON", "V4T", true},  {"V7NEON", "V7A8T2", true}, {"V4A", "V5A", false},
        {"V6A", "V5A", true},     {"V6A", "V5T", false},      {"V6T", "V5T", true},
        {"V6T", "V5A", false},    {"V7A8T2", "V6A", true},    {"V7A8T2", "V6T", true},
        {"V7A8", "V7M3T2", true}, {"v6a", "V6A", true},       {"V7A8T2", "V7A8T2", true},
        {"V6A", "V7NEON", false},
    };
    for (const auto &p : pairs)
        EXPECT_EQ(target_is_superset_of_target(p.a, p.b), p.covers) << p.a << " " << p.b;
    for (const char *bad : {"", "V7", "X4A", "V8A", "Vx", "V7X9"})
        EXPECT_EXIT(target_is_this_version(bad), testing::ExitedWithCode(1), "") << bad;
    EXPECT_EXIT(target_is_superset_of_target("V6A", "V6X"), testing::ExitedWithCode(1), "");
}

TEST_F(target_facts, short_loops_are_unrolled_by_a_divisor_of_their_trips) {
    begin_function("f");
    TYPE *p = tp->mk_ptr(i);
    SYMTAB *q = local("q", p), *r = local("r", p), *k = local("k", i);
    SYMTAB *vol = local("vol", tp->mk_qual(i, QUAL_volatile)), *wide = local("wide", tp->basic_int(IK_llong));
    auto deref = [&](SYMTAB *s) { return maketree(UMULT, name(s), nullptr, i, nullptr); };
    auto step = [&](SYMTAB *s) { return mk_ASG(name(s), maketree(PLUS, name(s), icon(4), p, nullptr)); };
    auto factor = [&](std::vector<NODE *> body, int trips) {
        LIST *list = mklist(icon(0), nullptr, 0, 0); // stands for the loop's test
        for (size_t n = body.size(); n--;) list = mklist(body[n], list, 0, 0);
        int result = loop_unrolling_factor(list, INT65(trips));
        erase_tree_list(list);
        return result;
    };
    auto copy = [&](int trips) { return factor({mk_ASG(deref(q), deref(r)), step(q), step(r)}, trips); };
    goal(56); // speed
    const struct {
        int trips, at_speed, at_size;
    } rows[] = {{-1, 1, 1}, {0, 1, 1},  {1, 1, 1},  {2, 2, 2},  {3, 3, 3},  {4, 4, 1},  {6, 6, 1},
                {7, 1, 1},  {8, 1, 1},  {9, 1, 1},  {10, 2, 1}, {12, 2, 1}, {15, 3, 1}, {21, 3, 1},
                {23, 2, 1}, {22, 2, 1}, {25, 3, 1}, {29, 2, 1}, {31, 3, 1}};
    for (const auto &row : rows) {
        goal(56);
        EXPECT_EQ(copy(row.trips), row.at_speed) << row.trips;
        goal(58);
        EXPECT_EQ(copy(row.trips), row.at_size) << row.trips;
    }
    goal(56);
    EXPECT_EQ(factor({}, 10), 2);
    EXPECT_EQ(factor({mk_ASM_comment("x"), mk_ASG(name(k), icon(1))}, 10), 2);
    EXPECT_EQ(factor({mk_ASG(name(k), icon(1)), mk_ASG(name(k), icon(2))}, 10), 1) << "too much to repeat";
    EXPECT_EQ(factor({mk_ASG(name(vol), icon(1))}, 10), 1);
    EXPECT_EQ(factor({mk_ASG(name(wide), icon(1, wide->type))}, 10), 1);
    EXPECT_EQ(factor({maketree(UCALL, mk_UAND(name(currfunc)), nullptr, v, nullptr)}, 10), 1);
    k->flags |= SF_ALIASED;
    EXPECT_EQ(factor({mk_ASG(name(k), icon(1))}, 10), 1);
}

TEST_F(target_facts, costs_of_what_replaces_a_division) {
    begin_function("f");
    SYMTAB *x = local("x", i);
    TYPE *ll = tp->basic_int(IK_llong);
    auto long_mult = [&] { return binary(MULT, name(x), icon(0x12345678), ll); };
    const struct {
        NODE *tree;
        unsigned speed, size, thumb_size;
    } rows[] = {
        {icon(255), 0, 0, 0},
        {icon(0x12345), 3, 12, 8},
        {binary(PLUS, name(x), icon(1)), 1 + 1, 4 + 1, 2 + 1},
        {binary(DIV, name(x), icon(7)), 666 + 1, 16 + 1, 10 + 1},
        {binary(SRL, long_mult(), icon(32), ll), 5 + 1, 4 + 1, 2 + 4 + 1 + 12},
        {binary(SRL, long_mult(), icon(35), ll), 6 + 1, 8 + 1, 2 + 4 + 1 + 12},
        {binary(SRL, name(x), icon(3)), 1 + 1, 4 + 1, 2 + 1},
        {maketree(SCONV, name(x), nullptr, ll, nullptr), 1 + 1, 4 + 1, 1},
        {maketree(SCONV, name(x), nullptr, c, nullptr), 1, 1, 1},
        {name(x), 1, 1, 1},
    };
    int n = 0;
    for (const auto &row : rows) {
        set(ARM);
        goal(56);
        EXPECT_EQ(cost_for_DIV_to_MULT_expr(row.tree), row.speed) << n;
        goal(58);
        EXPECT_EQ(cost_for_DIV_to_MULT_expr(row.tree), row.size) << n;
        set(T2);
        EXPECT_EQ(cost_for_DIV_to_MULT_expr(row.tree), row.thumb_size) << n;
        n++;
        erase_tree(row.tree);
    }
    EXPECT_EQ(cost_for_DIV_to_MULT_expr(nullptr), 0u);
}

TEST_F(target_facts, tests_of_a_field_need_only_what_is_tested) {
    SYMTAB *x = global("x", i);
    const struct {
        int op, mask;
        bool field;
    } rows[] = {
        {ANDB, 0xFF, true},   {ANDB, 0x3FC, true},  {ANDB, 1 << 31, true}, {XORB, 0x80, true},
        {ANDB, 0x1FE, false}, {ANDB, 0x101, false}, {ORB, 1, false},       {ANDB, -1, false},
    };
    for (const auto &row : rows) {
        NODE *masked = binary(row.op, name(x), icon(row.mask));
        EXPECT_EQ(cpu_bit_test_subtree(masked), row.field ? masked->left : masked) << std::hex << row.mask;
        for (int relation : {EQ, NEQ, LT}) {
            NODE *test = binary(relation, masked, icon(0));
            EXPECT_EQ(cpu_bit_test_subtree(test), row.field && relation != LT ? masked->left : test);
            test->right->u.lval = INT65(1);
            EXPECT_EQ(cpu_bit_test_subtree(test), test);
            test->left = nullptr;
            erase_tree(test);
        }
        erase_tree(masked);
    }
}

TEST_F(target_facts, small_statements_are_worth_a_copy) {
    begin_function("f");
    SYMTAB *x = local("x", i), *p = local("p", tp->mk_ptr(i));
    auto sum_of = [&](int terms) { // 2 * terms - 1 nodes
        NODE *sum = name(x);
        for (int n = 1; n < terms; n++) sum = plus(sum, name(x));
        return sum;
    };
    auto IF_of = [&](NODE *condition) { return maketree(IF, condition, nullptr, v, nullptr); };
    auto step = [&] { return mk_ASG(name(p), maketree(PLUS, name(p), icon(4), p->type, nullptr)); };
    const struct {
        NODE *tree;
        int n;
        bool ok;
    } rows[] = {
        {maketree(RETURN, nullptr, name(x), v, nullptr), 100, true},
        {maketree(RETURN, nullptr, sum_of(2), v, nullptr), 0, false},
        {mk_ASG(name(x), icon(1)), 0, false},
        {IF_of(sum_of(8)), 0, true},
        {IF_of(sum_of(8)), 1, false},
        {IF_of(sum_of(9)), 0, false},
        {IF_of(binary(COMMAOP, mk_ASG(name(x), icon(1)), sum_of(7))), 0, true}, // 1 + 1 + 13
        {IF_of(binary(COMMAOP, mk_ASG(name(x), icon(1)), sum_of(7))), 1, false},
        {IF_of(binary(COMMAOP, step(), sum_of(4))), 0, true}, // 1 + 5 + 7, with a step
        {IF_of(binary(COMMAOP, step(), sum_of(4))), 1, true},
        {IF_of(binary(COMMAOP, step(), sum_of(4))), 2, false},
        {IF_of(maketree(UCALL, mk_UAND(name(currfunc)), nullptr, i, nullptr)), 0, false},
        {IF_of(maketree(SQRT, name(x), nullptr, d, nullptr)), 0, false},
    };
    int n = 0;
    for (const auto &row : rows) {
        EXPECT_EQ(ok_to_dupe_stmt(row.tree, row.n), row.ok) << n;
        n++;
        erase_tree(row.tree);
    }
}

TEST_F(target_facts, register_candidates_are_numbered) {
    begin_function("f");
    TYPE *record = tp->mk_struct("r", 64, 32, false);
    tp->type_frozen(record);
    SYMTAB *a = local("a", i), *vol = local("vol", tp->mk_qual(i, QUAL_volatile)), *r = local("r", record);
    SYMTAB *aliased = local("aliased", i), *array = local("array", tp->mk_array(i, false, 2));
    SYMTAB *parm = symbol("parm", i, SC_REG_PARM, 1);
    aliased->flags |= SF_ALIASED;
    EXPECT_EQ(sort_stack_variables(f->symbols), f->symbols);
    for (SYMTAB *s : {vol, aliased, array}) EXPECT_EQ(s->sclass, SC_AUTO) << s->name;
    EXPECT_EQ(parm->sclass, SC_REG_PARM);
    for (SYMTAB *s : {a, r}) EXPECT_EQ(s->sclass, SC_REG_LOCAL2) << s->name;
    EXPECT_NE(a->value, r->value);
    BITVEC set(1);
    add_reg_to_set(a, &set);
    add_reg_to_set(r, &set);
    remove_reg_from_set(a, &set);
    EXPECT_EQ(set.count(), 1u);
    EXPECT_TRUE(set.test(r->value));
}
