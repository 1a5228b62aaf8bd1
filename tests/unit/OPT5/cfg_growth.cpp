#include "tests/unit/OPT5/cfg_world.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>

namespace {

// Time must grow like the function. Each shape is built, checked, asked for dominators and cleaned at two sizes; the
// time for a piece may grow by the caches that no longer hold, not by the size.
struct cfg_growth : cfg_world {
    struct TIMES {
        double build = 0, dominators = 0, clean = 0, check = 0;
    };
    SYMTAB *x = nullptr;

    template <class F> static double seconds(F f) {
        clock_t start = clock();
        f();
        return double(clock() - start) / CLOCKS_PER_SEC;
    }
    TIMES measure(const std::function<void(int)> &make, int n) {
        TIMES best;
        for (int round = 0; round < 2; round++) {
            begin_function(tp->mk_func(i, std::vector<TYPE *>{}));
            x = local("x");
            make(n);
            TIMES t;
            t.build = seconds([&] { convert_CBRANCHes(f->statements), seq_trees(), buildcfg(); });
            t.dominators = seconds([&] { dominators().rebuild(); });
            t.check = seconds([&] { EXPECT_EQ(find_structure_fault(), ""); });
            t.clean = seconds([&] { simpcfg(false, false); });
            if (round == 0) best = t;
            best.build = std::min(best.build, t.build);
            best.dominators = std::min(best.dominators, t.dominators);
            best.check = std::min(best.check, t.check);
            best.clean = std::min(best.clean, t.clean);
        }
        return best;
    }
    void expect_linear(const char *shape, const std::function<void(int)> &make) {
        const int small = 4000, large = 32000;
        TIMES a = measure(make, small), b = measure(make, large);
        printf("%-22s ns a piece at %d and %d: build %.0f %.0f, dominators %.0f %.0f, clean %.0f %.0f, check "
               "%.0f %.0f\n",
               shape, small, large, 1e9 * a.build / small, 1e9 * b.build / large, 1e9 * a.dominators / small,
               1e9 * b.dominators / large, 1e9 * a.clean / small, 1e9 * b.clean / large,
               1e9 * a.check / small, 1e9 * b.check / large);
        auto linear = [&](const char *what, double s, double l) {
            // A clock tick on the small side; eight times the pieces, up to eight times the price of each.
            EXPECT_LT(l, 8 * (s + 0.0005) * (large / small)) << what << " of " << shape;
        };
        linear("build", a.build, b.build);
        linear("dominators", a.dominators, b.dominators);
        linear("clean", a.clean, b.clean);
        linear("check", a.check, b.check);
    }
};

TEST_F(cfg_growth, time_follows_the_number_of_blocks) {
    expect_linear("early exits", [&](int n) { // the exit has n predecessors
        for (int k = 0; k < n; k++) branch_if(B(EQ, N(x), I(k)), n + 1, k + 1), label(k + 1), note(k);
        label(n + 1);
    });
    expect_linear("early exits, upwards", [&](int n) { // and stands in front of the body
        jump(n + 2), label(n + 1), ret();
        label(n + 2);
        for (int k = 0; k < n; k++) branch_if(B(EQ, N(x), I(k)), n + 1, k + 1), label(k + 1), note(k);
    });
    expect_linear("continues of one loop", [&](int n) {
        label(n + 1);
        for (int k = 0; k < n; k++) branch_if(B(EQ, N(x), I(k)), n + 1, k + 1), label(k + 1), note(k);
        jump(n + 1);
    });
    expect_linear("diamonds", [&](int n) {
        for (int k = 0; k < n; k += 3) {
            branch_if(B(EQ, N(x), I(k)), k + 1, k + 2);
            label(k + 1), note(k), jump(k + 3);
            label(k + 2), note(-k);
            label(k + 3);
        }
    });
    expect_linear("loops in loops", [&](int n) {
        for (int k = 0; k < n / 2; k++) label(k + 1), note(k);
        for (int k = n / 2; k-- > 0;) branch_if(B(EQ, N(x), I(k)), k + 1, n + k + 1), label(n + k + 1);
    });
    expect_linear("one switch", [&](int n) {
        std::vector<std::pair<long long, int>> cases;
        for (int k = 0; k < n; k++) cases.push_back({k, k + 1});
        switch_on(N(x), cases, n + 1);
        for (int k = 0; k < n; k++) label(k + 1), note(k), jump(n + 1);
        label(n + 1);
    });
    expect_linear("a switch to empty blocks", [&](int n) {
        std::vector<std::pair<long long, int>> cases;
        for (int k = 0; k < n; k++) cases.push_back({k, k + 1});
        switch_on(N(x), cases, 0);
        note(1);
        for (int k = 0; k < n; k++) label(k + 1), jump(n + 1);
        label(n + 1), note(2);
    });
    expect_linear("labels at one place", [&](int n) {
        for (int k = 0; k < n; k++) branch_if(N(x), k + 1, n + k + 1), label(n + k + 1);
        for (int k = 0; k < n; k++) label(k + 1);
    });
    expect_linear("nothing reached", [&](int n) {
        ret();
        for (int k = 0; k < n; k++) label(k + 1), note(k), jump((k + 7) % n + 1);
    });
    expect_linear("irreducible ladder", [&](int n) { // two chains with rungs both ways
        branch_if(N(x), 1, 2);
        for (int k = 1; k + 3 < n; k += 2) {
            label(k), branch_if(B(EQ, N(x), I(k)), k + 2, k + 1);
            label(k + 1), branch_if(B(EQ, N(x), I(-k)), k + 3, k);
        }
        label(n - 3), label(n - 2);
    });
}

} // namespace
