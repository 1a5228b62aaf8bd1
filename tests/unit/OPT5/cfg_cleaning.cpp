#include "tests/unit/OPT5/cfg_world.h"

namespace {

struct cfg_cleaning : cfg_world {
    SYMTAB *x = local("x"), *vol = local("vol", tp->mk_qual(tp->basic[IK_int], QUAL_volatile));

    void clean() {
        build();
        simpcfg(false, false);
        expect_sound("cleaned");
    }
    std::string text() {
        std::string all;
        for (BBLK *b = f->bb_list; b; b = b->dflink)
            for (LIST *s = b->statements; s; s = s->next) all += stmt2infix(s->tree) + " ";
        return all;
    }
    size_t count(const std::string &what) {
        std::string all = text();
        size_t n = 0;
        for (size_t at = 0; (at = all.find(what, at)) != std::string::npos; at++) n++;
        return n;
    }
};

TEST_F(cfg_cleaning, a_chain_of_empty_blocks_goes_in_one_call) {
    branch_if(N(x), 1, 26);
    for (int k = 1; k <= 25; k++) label(k), jump(k == 25 ? 27 : k + 1);
    label(26), note(1);
    label(27), note(2);
    clean();
    EXPECT_EQ(f->bb_count, 3u);
}

TEST_F(cfg_cleaning, rings_of_empty_blocks_stay_endless) {
    branch_if(N(x), 1, 4);
    label(1), jump(2), label(2), jump(3), label(3), jump(1);
    label(4), jump(4);
    clean();
    EXPECT_EQ(f->bb_count, 3u);
    EXPECT_EQ(MACHINE(*this).run({{x, 1}}), std::vector<long>{-1});
    EXPECT_EQ(MACHINE(*this).run({{x, 0}}), std::vector<long>{-1});
}

TEST_F(cfg_cleaning, a_constant_loop_test_takes_the_body_with_it) {
    label(1);
    branch_if(I(0), 2, 5);
    label(2), note(1), branch_if(N(x), 3, 4); // a loop within, which its own branch still reaches
    label(3), note(2), jump(2);
    label(4), jump(1);
    label(5), note(9);
    clean();
    EXPECT_EQ(f->bb_count, 1u);
    EXPECT_EQ(count("trace"), 1u);
}

TEST_F(cfg_cleaning, volatile_accesses_and_calls_of_dropped_tests_stay) {
    struct ROW {
        const char *what, *stays;
        NODE *(*test)(cfg_cleaning &);
        size_t times;
    } rows[] = {
        {"plain variable", "x", [](cfg_cleaning &t) { return t.N(t.x); }, 0},
        {"volatile variable", "vol", [](cfg_cleaning &t) { return t.N(t.vol); }, 1},
        {"sum of both", "vol", [](cfg_cleaning &t) { return t.B(PLUS, t.N(t.vol), t.N(t.x)); }, 1},
        {"call", "ext", [](cfg_cleaning &t) { return t.B(EQ, t.call(t.ext, {t.I(1)}), t.I(0)); }, 1},
        {"assignment", "x = 7", [](cfg_cleaning &t) { return mk_ASG(t.N(t.x), t.I(7)); }, 1},
        {"volatile assignment", "vol = 7", [](cfg_cleaning &t) { return mk_ASG(t.N(t.vol), t.I(7)); }, 1},
        {"comma", "vol",
         [](cfg_cleaning &t) { return maketree(COMMAOP, t.N(t.vol), t.I(1), t.i, t.scope()); }, 1},
    };
    for (ROW &row : rows)
        for (int shape = 0; shape < 3; shape++) {
            SCOPED_TRACE(std::string(row.what) + " " + std::to_string(shape));
            begin_function(tp->mk_func(i, std::vector<TYPE *>{}));
            x = local("x"), vol = local("vol", tp->mk_qual(i, QUAL_volatile));
            if (shape == 0) branch_if(row.test(*this), 1, 1);
            if (shape == 1) switch_on(row.test(*this), {}, 1);
            if (shape == 2) switch_on(row.test(*this), {{1, 1}, {4, 1}}, 1);
            label(1);
            note(3);
            clean();
            EXPECT_EQ(f->bb_count, 1u) << text();
            EXPECT_EQ(count(row.stays), row.times) << text();
        }
}

TEST_F(cfg_cleaning, a_constant_selector_finds_its_case) {
    for (int value : {-1, 0, 1, 2, 3, 1000}) {
        begin_function(tp->mk_func(i, std::vector<TYPE *>{}));
        switch_on(I(value), {{-1, 1}, {0, 2}, {2, 3}, {1000, 1}}, 4);
        for (int k = 1; k <= 4; k++) label(k), ret(I(k * 10));
        clean();
        EXPECT_EQ(f->bb_count, 1u);
        int expected = value == -1 || value == 1000 ? 10 : value == 0 ? 20 : value == 2 ? 30 : 40;
        EXPECT_EQ(MACHINE(*this).run({}), std::vector<long>{expected});
    }
}

// The value of an assignment is what the variable can hold.
TEST_F(cfg_cleaning, a_narrow_assignment_is_no_constant_test) {
    SYMTAB *narrow = local("narrow", tp->basic[IK_schar]);
    branch_if(mk_ASG(N(narrow), I(256)), 1, 2);
    label(1), ret(I(1)), label(2), ret(I(2));
    clean();
    EXPECT_EQ(MACHINE(*this).run({}), std::vector<long>{2});
}

TEST_F(cfg_cleaning, optimize_SWITCH_cases_drops_what_the_default_does) {
    for (unsigned pattern = 0; pattern < 64; pattern++) { // which of six cases lead to the default
        begin_function(tp->mk_func(i, std::vector<TYPE *>{}));
        x = local("x");
        std::vector<std::pair<long long, int>> cases;
        for (int k = 0; k < 6; k++) cases.push_back({k, pattern >> k & 1 ? 9 : k + 1});
        switch_on(N(x), cases, 9);
        for (int k = 1; k <= 6; k++) label(k), note(k), ret(I(k));
        label(9), ret(I(9));
        build();
        renumber_bblocks();
        optimize_SWITCH_cases();
        expect_sound("dropped");
        NODE *sw = last_statement(f->bb_list)->tree;
        ASSERT_EQ(sw->op, SWITCH);
        int left = 0;
        for (NODE *chain = sw->right; chain; chain = chain->op == COMMA ? chain->left : nullptr)
            left += (chain->op == COMMA ? chain->right : chain)->op == CASE;
        EXPECT_EQ(left, 6 - __builtin_popcount(pattern));
        for (int v = 0; v < 7; v++) {
            int to = v == 6 || (pattern >> v & 1) ? 9 : v + 1;
            EXPECT_EQ(MACHINE(*this).run({{x, v}}).back(), to) << pattern;
        }
    }
}

TEST_F(cfg_cleaning, a_deep_comma_in_a_test_keeps_its_order) {
    NODE *test = B(EQ, N(trace), I(40));
    for (int k = 40; k >= 1; k--) test = maketree(COMMAOP, mk_ASG(N(trace), I(k)), test, i, scope());
    branch_if(test, 1, 2);
    label(1), ret(I(1));
    label(2), ret(I(2));
    clean();
    std::vector<long> log = MACHINE(*this).run({});
    EXPECT_EQ(log.size(), 41u);
    EXPECT_EQ(log.back(), 1);
    for (int k = 0; k < 40; k++) EXPECT_EQ(log[size_t(k)], k + 1);
}

} // namespace
