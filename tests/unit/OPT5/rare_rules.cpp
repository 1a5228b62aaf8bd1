// Rules that no C program and no random tree reaches: calls of functions that only some libraries have, operators that
// only other front ends and passes make. Each tree is simplified and printed.
#include <cstring>

#include "OPT5/bif.h"
#include "OPT5/infix.h"
#include "OPT5/simp1.h"
#include "tests/unit/OPT5/program.h"

namespace {

struct rare_rules : program {
    TYPE *text_type, *bytes;
    SYMTAB *x, *y, *fx;

    rare_rules() {
        options.setopt(OO_OPT_LEVEL, 2);
        bytes = tp->mk_ptr(uc);
        for (const char *library : {"printf", "fputs", "puts", "strlen"})
            global(library, function_type(i, {bytes}), SC_EXTREF);
        begin_function("f");
        x = local("x", i), y = local("y", i), fx = local("fx", d);
    }
    NODE *text(const char *s) {
        NODE *n = maketree(SCON, nullptr, nullptr, bytes, nullptr);
        n->mk_scon(s, unsigned(strlen(s) + 1));
        return n;
    }
    NODE *call(const char *function, NODE *argument) {
        return maketree(CALL, mk_UAND(mk_NAME(find_global_function(function))), argument, i, nullptr);
    }
    NODE *binary(int op, NODE *a, NODE *b, TYPE *type = nullptr) {
        return maketree(op, a, b, type ? type : a->type, nullptr);
    }
    NODE *power(NODE *a, NODE *b) { return binary(EXPT, a, b); }
    NODE *number(int value, TYPE *type) {
        simul_fval v;
        f_itof(value, &v);
        return mk_FCON(v, type);
    }
    NODE *copy(SYMTAB *to, SYMTAB *from, int bytes_) {
        NODE *list = binary(COMMA, mk_UAND(mk_NAME(to)), mk_UAND(mk_NAME(from)));
        return maketree(MEMCPY, binary(COMMA, list, icon(bytes_, u)), nullptr, tp->mk_ptr(i), nullptr);
    }
    std::string simplified(NODE *tree, bool statement = false) {
        tree = statement ? simp_statement(tree, nullptr) : simp_tree(tree, nullptr);
        std::string s = tree2infix(tree);
        erase_tree(tree);
        return s;
    }
};

} // namespace

TEST_F(rare_rules, calls_of_the_library) {
    EXPECT_EQ(simplified(call("strlen", text("four"))), "4");
    // no table of streams yet
    EXPECT_EQ(simplified(call("printf", text("text")), true), "printf(\"text\")");
    TYPE *file = tp->mk_struct("file", 128, 32, false);
    tp->type_frozen(file);
    global("_ftable", tp->mk_array(file, 4), SC_EXTREF);
    EXPECT_EQ(simplified(call("printf", text("text")), true),
              "fputs(\"text\", (struct file *)&_ftable + 16)");
    EXPECT_EQ(simplified(call("printf", text("100%")), true), "printf(\"100%\")");
    EXPECT_EQ(simplified(call("printf", text("line\n")), true), "puts(\"line\")");
    EXPECT_EQ(simplified(call("printf", text("text")), false), "printf(\"text\")"); // a value that counts
}

TEST_F(rare_rules, operators) {
    struct ROW {
        NODE *tree;
        const char *result;
    };
    auto X = [&] { return mk_NAME(x); };
    auto F = [&] { return mk_NAME(fx); };
    const ROW rows[] = {
        {power(X(), icon(0)), "1"},
        {power(X(), icon(1)), "x"},
        {power(icon(1), X()), "1"},
        {power(icon(0), icon(3)), "0"},
        {power(number(0, d), icon(2)), "0.0"},
        {power(X(), icon(-1)), "x ** -1"},
        {binary(MULT, power(X(), icon(2)), power(X(), icon(3))), "x ** 5"},
        {binary(MULT, power(X(), icon(2)), X()), "x ** 3"},
        {binary(MULT, X(), power(X(), icon(2))), "x ** 3"},
        {binary(MULT, power(X(), icon(2)), mk_NAME(y)), "y * x ** 2"},
        {binary(MULT, maketree(RECIP, number(4, d), nullptr, d, nullptr), F()), "fx * 0.25"},
        {binary(MULT, maketree(RECIP, F(), nullptr, d, nullptr), number(4, d)), "4.0 / fx"},
        // a constant of another type than the operator's
        {binary(PLUS, icon(3), F(), d), "fx + 3.0"},
        {binary(MULT, number(3, tp->basic[BT_float]), F(), d), "fx * 3.0"},
        {copy(x, y, 0), "&x"},
        {copy(x, y, 4), "x = y, &x"},
        {copy(x, y, 8), "x = y, *(&x + 4) = *(&y + 4), &x"},
        {copy(x, y, 6), "memcpy(&x, &y, 6u)"},
    };
    strict_fp = false; // a quotient may be rounded twice
    for (const ROW &row : rows) {
        std::string before = tree2infix(row.tree);
        EXPECT_EQ(simplified(row.tree), row.result) << before;
    }
}
