// Trees of a hundred thousand nodes: the simplifier has to get through them in time that grows like their size, and
// without a stack that grows like their depth.
#include "tests/oracle/lib/rows.h"

#include <gtest/gtest.h>

#include <ctime>

#include "OPT5/simp1.h"
#include "OPT5/tree.h"
#include "typepkg/type_pkg.h"

namespace {

constexpr int NODES = 100000;

enum LEAVES { VARIABLES, SAME, CONSTANTS, MIXED };

NODE *leaf(LEAVES leaves, TYPE *type, int k) {
    static const char *const names[] = {"x", "y", "z"};
    if (leaves == MIXED) leaves = k % 2 ? VARIABLES : CONSTANTS;
    if (leaves == CONSTANTS)
        return type->is_fltpt() ? mk_FCON(k % 3 ? one_half : one_p_five, type) : t_icon(k % 7 + 1, type);
    return mk_NAME(world().variable(leaves == SAME ? "x" : names[k % 3], type));
}

// A chain of one operator that leans to a side.
NODE *chain(int op, TYPE *type, LEAVES leaves, bool left, int nodes) {
    NODE *t = leaf(leaves, type, 0);
    for (int k = 1; k < nodes / 2; k++) {
        NODE *l = op == SLL || op == SRL ? t_icon(k % 3, world().i32) : leaf(leaves, type, k);
        bool swap = !left && op != SLL && op != SRL;
        t = t_binary(op, swap ? l : t, swap ? t : l);
    }
    return t;
}

// A chain of a unary operator or a conversion there and back.
NODE *tower(int op, TYPE *type, int nodes) {
    ORACLE_WORLD &w = world();
    NODE *t = mk_NAME(w.variable("x", type));
    for (int k = 1; k < nodes; k++) {
        if (op == SCONV) t = t_convert(k % 2 ? w.named("i8") : type, t);
        else if (op == QUEST) t = t_quest(mk_NAME(w.variable("y", type)), t, t_icon(k, type)), k += 3;
        else if (op == COMMAOP) t = maketree(COMMAOP, mk_NAME(w.variable("u", type)), t, type, nullptr), k++;
        else if (op == ANDAND || op == OROR)
            t = t_binary(op, t_binary(LT, mk_NAME(w.variable("y", type)), t_icon(k, type)), t), k += 3;
        else t = t_unary(op, t);
    }
    return t;
}

double seconds_of(const std::function<NODE *(int)> &make, int nodes, std::string *error) {
    CHECK check;
    check.samples = 3;
    check.enumerate_bits = 0;
    check.twice = check.shrink = false;
    clock_t spent = 0;
    auto timed = [&](NODE *t) {
        clock_t begin = clock();
        t = simp_tree(t, nullptr);
        spent = clock() - begin;
        return t;
    };
    std::string text = check_rewrite(make(nodes), timed, check);
    if (!text.empty()) *error = text.substr(0, 400);
    return double(spent) / CLOCKS_PER_SEC;
}

// Four times the nodes may take six times as long; short times are not worth a comparison.
void expect_linear(const std::string &what, const std::function<NODE *(int)> &make) {
    std::string error;
    double small = seconds_of(make, NODES / 4, &error), large = seconds_of(make, NODES, &error);
    EXPECT_EQ(error, "") << what;
    EXPECT_LT(large, std::max(0.3, 6 * small)) << what << ": " << small << " s for a quarter of the nodes";
}

} // namespace

TEST(deep_trees, chains_of_each_operator) {
    ORACLE_WORLD &w = world();
    static const int ops[] = {PLUS, MINUS, MULT, ANDB, ORB, XORB, DIV, MOD, SLL, SRL};
    for (int op : ops)
        for (bool left : {true, false})
            for (LEAVES leaves : {VARIABLES, SAME, CONSTANTS, MIXED}) {
                if ((op == SLL || op == SRL) && !left) continue;
                expect_linear(std::string(opname(op)) + (left ? "left " : "right ") + std::to_string(leaves),
                              [&w, op, leaves, left](int n) {
                                  return chain(op, op == DIV || op == MOD ? w.u32 : w.i32, leaves, left, n);
                              });
            }
    for (int op : {PLUS, MULT})
        for (LEAVES leaves : {VARIABLES, MIXED})
            expect_linear(std::string("float ") + opname(op),
                          [&w, op, leaves](int n) { return chain(op, w.f64, leaves, true, n); });
}

TEST(deep_trees, towers) {
    ORACLE_WORLD &w = world();
    for (int op : {UMINUS, NOTB, SCONV, QUEST, COMMAOP, ANDAND, OROR, EXCLAIM})
        expect_linear(opname(op), [&w, op](int n) { return tower(op, w.i32, n); });
}
