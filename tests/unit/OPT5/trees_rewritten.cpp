// Rewriting trees in place: assignment forms against the arithmetic of the host, substitutions, statements.
#include "trees_world.h"

#include "OPT5/cfg.h"
#include "typepkg/type_merge.h"

#include <limits>
#include <type_traits>

namespace {

using trees_rewritten = trees_world;

const long long samples[] = {0,
                             1,
                             -1,
                             2,
                             3,
                             -7,
                             31,
                             127,
                             128,
                             -128,
                             255,
                             256,
                             1000,
                             40000,
                             65535,
                             -40000,
                             2147483647,
                             -2147483648LL,
                             4294967295LL,
                             5000000000LL,
                             -5000000000LL};

// What x op= y does to x; false when the host has no answer.
template <class X, class Y> bool host_op(int op, X &x, Y y) {
    using T = decltype(x + y);
    if (op == DIV || op == MOD) {
        T a = static_cast<T>(x), b = static_cast<T>(y);
        if (b == 0 || (std::is_signed_v<T> && b == static_cast<T>(-1) && a == std::numeric_limits<T>::min()))
            return false;
        x = static_cast<X>(op == DIV ? a / b : a % b);
        return true;
    }
    if (op == SLL || op == SRL) {
        using S = decltype(+x);
        unsigned long long count = static_cast<unsigned long long>(y);
        if (count >= sizeof(S) * 8) return false;
        x = static_cast<X>(op == SLL ? static_cast<S>(static_cast<std::make_unsigned_t<S>>(x) << count)
                                     : x >> count);
        return true;
    }
    using W = std::make_unsigned_t<T>; // wraps, as the target does
    W a = static_cast<W>(x), b = static_cast<W>(y), r = 0;
    switch (op) {
    case PLUS: r = a + b; break;
    case MINUS: r = a - b; break;
    case MULT: r = a * b; break;
    case ANDB: r = a & b; break;
    case ORB: r = a | b; break;
    case XORB: r = a ^ b; break;
    }
    x = static_cast<X>(static_cast<T>(r));
    return true;
}

struct assignment_forms : trees_world {
    int compared = 0;

    template <class F> void for_each_type(F f) {
        f(static_cast<signed char>(0), c);
        f(static_cast<unsigned char>(0), uc);
        f(static_cast<short>(0), sh);
        f(0, i);
        f(0u, u);
        f(0LL, ll);
        f(0ULL, ull);
    }
    // Evaluates the right side of `asg` for all samples and compares with the host's x op= y.
    template <class X, class Y> void compare(NODE *asg, int op, SYMTAB *x, SYMTAB *y) {
        for (long long xs : samples)
            for (long long ys : samples) {
                X hx = static_cast<X>(xs);
                Y hy = static_cast<Y>(ys);
                values[x] = INT65(hx), values[y] = INT65(hy);
                std::optional<INT65> got = eval(asg->right);
                if (!host_op(op, hx, hy) || !got) continue;
                compared++;
                ASSERT_EQ(*got, INT65(hx)) << tree2infix(asg) << " x " << xs << " y " << ys;
            }
    }
};

const int long_forms[] = {PLUS, MINUS, MULT, ANDB, ORB, XORB, DIV, MOD, SLL, SRL};

} // namespace

TEST_F(assignment_forms, the_long_form_computes_what_the_short_one_means) {
    for_each_type([&](auto hx, TYPE *tx) {
        for_each_type([&](auto hy, TYPE *ty) {
            SYMTAB *x = symbol("x", tx), *y = symbol("y", ty);
            for (int op : long_forms) {
                NODE *tree = opASG_to_ASG(maketree(opASG_of_op[op], mk_NAME(x), mk_NAME(y), tx, nullptr));
                ASSERT_EQ(tree->op, ASG);
                ASSERT_EQ(tree_shape_error(tree), nullptr);
                ASSERT_TRUE(equiv_mtypes(tree->right->type, tx)) << tree2infix(tree);
                compare<decltype(hx), decltype(hy)>(tree, op, x, y);
                erase_tree(tree);
            }
        });
    });
    EXPECT_GT(compared, 100000);
}

TEST_F(assignment_forms, the_short_form_is_taken_only_where_it_means_the_same) {
    int taken = 0;
    for_each_type([&](auto hx, TYPE *tx) {
        for_each_type([&](auto hy, TYPE *ty) {
            SYMTAB *x = symbol("x", tx), *y = symbol("y", ty);
            for (int op : long_forms) {
                NODE *tree = mk_ASG(mk_NAME(x), B(op, mk_NAME(x), mk_NAME(y), tx)), *before = copy_tree(tree);
                tree = ASG_to_opASG(tree);
                if (tree->op != ASG) {
                    taken++;
                    EXPECT_EQ(op_of_opASG[tree->op], op);
                    compare<decltype(hx), decltype(hy)>(before, op, x, y);
                }
                erase_tree(tree);
                erase_tree(before);
            }
        });
    });
    EXPECT_GT(taken, 200);
}

TEST_F(trees_rewritten, assignment_forms_and_their_limits) {
    TYPE *vptr = tp->mk_ptr(vol);
    symbol("v", vol), symbol("p", ptr), symbol("pv", vptr), symbol("vp", tp->mk_qual(ptr, QUAL_volatile));
    symbol("f", flt), symbol("r", record);
    auto set = [&](NODE *x, NODE *value) { return mk_ASG(x, value); };
    auto stepped = [&](TYPE *t) { return deref(B(PLUSPLUS, N("p"), I(4)), t); };
    struct ROW {
        NODE *tree;
        int op; // afterwards
    } to_short[] = {
        {set(N("x"), B(PLUS, N("x"), N("y"))), PLUSASG},
        {set(N("x"), B(PLUS, N("y"), N("x"))), PLUSASG},
        {set(N("x"), B(MINUS, N("y"), N("x"))), ASG}, // does not commute
        {set(N("x"), B(PLUS, N("y"), N("z"))), ASG},
        {set(N("x"), B(EQ, N("x"), N("y"))), ASG},
        {set(N("v"), B(PLUS, N("v"), I(1), vol)), PLUSASG}, // one read and one write either way
        {set(deref(N("pv"), vol), B(PLUS, deref(N("pv"), vol), I(1), vol)), PLUSASG},
        {set(deref(N("vp")), B(PLUS, deref(N("vp")), I(1))), ASG}, // reads the pointer once less
        {set(stepped(i), B(PLUS, stepped(i), I(1))), ASG},
        {set(N("p"), B(PLUS, N("p"), I(4), ptr)), PLUSASG},
        {set(N("f"), B(PLUS, N("f"), N("x"), flt)), ASG}, // the sum would be of another type
        {set(dot(N("r"), field_bit), B(PLUS, dot(N("r"), field_bit), I(1))), ASG},
        {B(STASG, N("r"), N("r")), STASG},
    };
    for (const ROW &row : to_short) {
        std::string before = tree2infix(row.tree);
        NODE *after = ASG_to_opASG(row.tree);
        EXPECT_EQ(after->op, row.op) << before << "  became  " << tree2infix(after);
        if (row.op == ASG) { EXPECT_EQ(tree2infix(after), before); }
    }
    ROW to_long[] = {
        {B(PLUSASG, N("x"), N("y")), ASG},
        {B(PLUSASG, N("v"), I(1)), ASG},
        {B(PLUSASG, deref(N("pv"), vol), I(1)), ASG},
        {B(PLUSASG, dot(N("r"), field_bit), I(1)), ASG},
        {B(PLUSASG, deref(N("vp")), I(1)), PLUSASG},
        {B(PLUSASG, stepped(i), I(1)), PLUSASG},
        {B(PLUSASG, stepped(vol), I(1)), PLUSASG}, // volatile, and steps besides
        {B(PLUSASG, U(DDNODE, N("x")), I(1)), PLUSASG},
        {B(PLUSPLUS, N("x"), I(1)), PLUSPLUS},
    };
    for (const ROW &row : to_long) {
        std::string before = tree2infix(row.tree);
        EXPECT_EQ(opASG_to_ASG(row.tree)->op, row.op) << before;
    }
}

TEST_F(trees_rewritten, substitution_goes_to_reads_only) {
    symbol("p", ptr), symbol("r", record);
    struct ROW {
        NODE *tree;
        const char *lvalue, *after;
    } rows[] = {
        {B(PLUS, N("x"), B(MULT, N("x"), N("y"))), "x", "z + 1 + (z + 1) * y"},
        {mk_ASG(N("x"), B(PLUS, N("x"), I(1))), "x", "x = z + 1 + 1"},
        {B(PLUSASG, N("x"), N("x")), "x", "x += z + 1"},
        {mk_ASG(deref(B(PLUS, N("p"), N("x"), ptr)), N("y")), "x", "*(p + (z + 1)) = y"},
        {mk_ICALL("_f", args({mk_UAND(N("x")), N("x")}), i), "x", "_f(&x, z + 1)"},
        {mk_ASG(dot(N("r"), field_a), dot(N("r"), field_a)), "r", "r.a = z.a"},
    };
    for (ROW &row : rows) {
        NODE *by = strcmp(row.lvalue, "r") == 0 ? N(symbol("z", record)) : B(PLUS, N("z"), I(1));
        row.tree = subst_tree_for_lvalue_in_tree(by, N(row.lvalue), row.tree);
        EXPECT_EQ(tree2infix(row.tree), row.after);
        EXPECT_EQ(tree_shape_error(row.tree), nullptr);
    }
    // what a duplicate stands for is another tree's, which has its own turn
    NODE *value = N("x");
    NODE *dupe = B(PLUS, B(CSE_DUPE, nullptr, value, i), N("x"));
    dupe = subst_tree_for_lvalue_in_tree(N("z"), N("x"), dupe);
    EXPECT_EQ(tree2infix(dupe), "dupe(x) + z");
    EXPECT_EQ(dupe->left->right, value);
    SYMTAB *narrow = symbol("narrow", c);
    NODE *converted = subst_tree_for_lvalue_in_tree(N(narrow), N("x"), B(PLUS, N("x"), I(1)));
    EXPECT_EQ(converted->left->op, SCONV) << "the sum keeps its type";
}

TEST_F(trees_rewritten, symbols_constants_and_wrappers) {
    NODE *tree = B(PLUS, B(MULT, N("a"), N("b")), N("a"));
    subst_sym_for_sym_in_tree(sym("a"), sym("c"), tree);
    EXPECT_EQ(tree2infix(tree), "c * b + c");
    SYMPAIRLIST second{sym("c"), sym("never"), nullptr}, first{sym("b"), sym("c"), &second},
        swap{sym("c"), sym("b"), &first};
    subst_sym_pairs_in_tree(&swap, tree);
    EXPECT_EQ(tree2infix(tree), "b * c + b") << "all at once, the first pair of a symbol";
    tree = expunge_IDENTITY_ops_from_tree(U(IDENTITY, B(PLUS, U(IDENTITY, U(IDENTITY, N("x"))), N("y"))));
    EXPECT_EQ(tree2infix(tree), "x + y");
    NODE *part = B(PLUS, N("x"), I(1));
    tree = B(MULT, part, B(PLUS, I(1), N("x")));
    tree = simp_subst_icon(INT65(7), i, tree, part);
    EXPECT_EQ(eval(tree), INT65(49));
    EXPECT_FALSE(sym_appears_in_tree(sym("x"), tree));
    EXPECT_EQ(tree2infix(part), "x + 1") << "the pattern stays";
}

TEST_F(trees_rewritten, commas_become_statements_in_order) {
    auto comma = [&](NODE *a, NODE *b) { return B(COMMAOP, a, b); };
    auto set = [&](const char *name, NODE *value) { return mk_ASG(N(name), value); };
    NODE *labels = B(COMMA, mk_LABELREF(1, 0), mk_LABELREF(2, 0));
    LIST *list = mkelist(
        comma(comma(set("x", I(1)), set("y", I(2))), set("z", I(3))),
        mkelist(set("x", comma(set("y", comma(set("z", I(4)), I(5))), I(6))),
                mkelist(set("t", B(PLUS, comma(N("x"), I(1)), I(2))),
                        mkelist(B(IF, comma(set("x", I(7)), N("y")), labels), nullptr, nullptr), nullptr),
                nullptr),
        nullptr);
    std::string text;
    list = promote_toplevel_COMMAOPs_in_list(list);
    for (LIST *s = list; s; s = s->next) text += stmt2infix(s) + " ";
    erase_tree_list(list);
    EXPECT_EQ(
        text,
        "x = 1; y = 2; z = 3; z = 4; y = 5; x = 6; t = (x, 1) + 2; x = 7; if (y) goto L1; else goto L2; ");
    NODE *deep = set("x", I(0));
    for (int k = 0; k < 200000; k++) deep = comma(deep, set("y", I(k)));
    int count = 0;
    list = promote_toplevel_COMMAOPs_in_list(mkelist(deep, nullptr, nullptr));
    for (LIST *s = list; s; s = s->next) count++;
    EXPECT_EQ(count, 200001);
    erase_tree_list(list);
}

TEST_F(trees_rewritten, statements_are_inserted_where_asked) {
    FUNINFO info;
    BBLK bb(&info);
    LIST *last = mkelist(N("c"), nullptr, nullptr);
    bb.statements = mkelist(N("a"), last, nullptr);
    insert_stmt_before_stmt_in_bb(mkelist(N("b"), nullptr, nullptr), last, &bb);
    insert_stmt_before_stmt_in_bb(mkelist(N("d"), nullptr, nullptr), nullptr, &bb);
    insert_stmt_before_stmt_in_bb(mkelist(N("zero"), nullptr, nullptr), bb.statements, &bb);
    std::string text;
    for (LIST *s = bb.statements; s; s = s->next) text += tree2infix(s->tree) + " ";
    EXPECT_EQ(text, "zero a b c d ");
    LIST stranger;
    EXPECT_EXIT(insert_stmt_before_stmt_in_bb(last, &stranger, &bb), testing::ExitedWithCode(1),
                "abnormally");
    erase_tree_list(bb.statements);
}
