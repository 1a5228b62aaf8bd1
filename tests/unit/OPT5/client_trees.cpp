// Trees of a file: which are refused, what becomes of the others on reading, and what of all of them on writing.
#include "OPT5/bif.h"
#include "OPT5/branchhint.h"
#include "OPT5/pragma.h"
#include "OPT5/read.h"
#include "OPT5/readexpr.h"
#include "OPT5/restrict.h"
#include "OPT5/writetree.h"
#include "tests/unit/OPT5/trees_world.h"

#include <climits>
#include <functional>

namespace {

// "ASG(NAME x, ICON 3)"
std::string shape(const NODE *n) {
    if (!n) return "-";
    std::string s = n->op == EPVAL ? "EPVAL" : node_operator_name[n->op];
    if (n->op == NAME) s += std::string(" ") + n->u.sym->name;
    if (n->op == ICON || n->op == LCON || n->op == LABEL || n->op == SWITCH)
        s += " " + std::to_string(n->u.lval.to_int64());
    if (op_is_icall(n->op)) s += std::string(" ") + n->u.icall;
    if (n->left) s += "(" + shape(n->left) + (n->right ? ", " + shape(n->right) : "") + ")";
    return s;
}

struct client_trees : trees_world {
    FUNINFO info;
    SYMTAB *f, *rec, *p, *pr, *arr;
    TYPE *four, *color;

    client_trees() {
        currfuninfo = &info;
        f = function("f");
        rec = symbol("r", record), p = symbol("p", ptr), pr = symbol("pr", tp->mk_ptr(record));
        arr = symbol("arr", tp->mk_array(i, false, 4));
        four = tp->mk_vector(i, 4);
        color = tp->mk_enum("color", u, 32, 32, false);
        tp->type_frozen(color);
    }
    ~client_trees() override { erase_PTR_entries(&info); }
    NODE *label(int n) {
        NODE *l = new NODE(LABEL, tp->void_type());
        l->mk_label(n);
        return l;
    }
    NODE *field(fkMDATA *m, TYPE *csu) {
        NODE *n = new NODE(FIELD, i);
        n->mk_field(1, m, csu);
        return n;
    }
    NODE *leaf(int op, TYPE *type = nullptr) { return new NODE(op, type ? type : tp->void_type()); }
    NODE *icall(int op, const char *name, NODE *args) {
        NODE *n = maketree(op, args, nullptr, i, nullptr);
        n->mk_icall(name);
        return n;
    }
    NODE *root(int op, NODE *a, NODE *b = nullptr) { return maketree(op, a, b, tp->void_type(), nullptr); }
    NODE *case_of(int value, int to) { return root(CASE, I(value), label(to)); }
    NODE *fcon() {
        NODE *n = new NODE(FCON, flt);
        n->mk_fcon("0x1p+0");
        return n;
    }
    NODE *address(NODE *lv) { return mk_UAND(lv); }
    NODE *clean(NODE *n) {
        EXPECT_EQ(check_statement_tree(n, TREE_STATEMENT), "");
        return expr_cleanup(n);
    }
};

struct CHECK_ROW {
    std::function<NODE *()> make;
    const char *wrong; // part of what is said; "" when nothing is wrong
};

void check(TREE_USE use, std::vector<CHECK_ROW> rows) {
    for (size_t k = 0; k < rows.size(); k++) {
        NODE *tree = rows[k].make();
        std::string wrong = check_statement_tree(tree, use);
        bool fine = *rows[k].wrong ? wrong.find(rows[k].wrong) != std::string::npos : wrong.empty();
        EXPECT_TRUE(fine) << "row " << k << ": " << shape(tree) << "\n  said:     " << wrong
                          << "\n  expected: " << rows[k].wrong;
        erase_tree(tree);
    }
}

// A statement that passes here must not upset any pass.
TEST_F(client_trees, malformed_statements_are_refused) {
    auto cases = [&](std::initializer_list<NODE *> list) { return root(SWITCH, N("x"), args(list)); };
    auto other = [&](int to) { return root(DEFAULT, label(to)); };
    // clang-format off
    check(TREE_STATEMENT, {
        // control
        {[&] { return root(CBRANCH, N("x"), label(1)); }, ""},
        {[&] { return root(CBRANCH, N("x"), I(1)); }, "CBRANCH: expected a label, found ICON"},
        {[&] { return root(CBRANCH, N(rec), label(1)); }, "CBRANCH: expected a scalar, found NAME of type struct record"},
        {[&] { return root(BRANCH, label(1)); }, ""},
        {[&] { return root(BRANCH, N("x")); }, "expected a label"},
        {[&] { return root(BRANCH, label(0)); }, "number that no label has"},
        {[&] { return root(BRANCH, nullptr); }, "wrong number of operands"},
        {[&] { return root(RETURN, N(f), I(1)); }, ""},
        {[&] { return root(RETURN, N("x"), I(1)); }, "NAME of x where a function must be"},
        {[&] { return root(RETURN, N(f), root(BRANCH, label(1))); }, "RETURN: expected a value, found BRANCH"},
        {[&] { return root(URETURN, N(f)); }, ""},
        {[&] { return root(URETURN, N(f), I(1)); }, "wrong number of operands"},
        {[&] { return B(PLUS, I(1), root(CBRANCH, I(1), label(1))); }, "found CBRANCH"},
        {[&] { return B(COMMAOP, root(BRANCH, label(1)), I(1)); }, "found BRANCH"},
        {[&] { return label(1); }, "expected a statement, found LABEL"},
        {[&] { return leaf(ENDINIT); }, "found ENDINIT"},
        {[&] { return leaf(SKIP); }, "found SKIP"},
        {[&] { return leaf(VREG, i); }, "found VREG"},
        {[&] { return leaf(CSE_DUPE, i); }, "found CSE_DUPE"},
        // switches
        {[&] { return cases({case_of(1, 1), case_of(2, 1), other(2)}); }, ""},
        {[&] { return cases({case_of(1, 1)}); }, ""},
        {[&] { return cases({other(1)}); }, ""},
        {[&] { return root(SWITCH, N("x"), label(1)); }, "expected a chain of cases"},
        {[&] { return root(SWITCH, N("x"), I(1)); }, "expected a chain of cases"},
        {[&] { return root(SWITCH, fcon(), args({case_of(1, 1)})); }, "SWITCH: expected an integer"},
        {[&] { return cases({case_of(1, 1), case_of(1, 2)}); }, "two cases of the value 1"},
        {[&] { return cases({other(1), case_of(1, 2)}); }, "DEFAULT is not the last"},
        {[&] { return cases({case_of(1, 1), I(3)}); }, "COMMA: expected a case, found ICON"},
        {[&] { return cases({case_of(1, 1), args({case_of(2, 1), case_of(3, 1)})}); }, "expected a case, found COMMA"},
        {[&] { return cases({root(CASE, N("x"), label(1))}); }, "CASE: expected an integer constant"},
        {[&] { return case_of(1, 1); }, "found CASE"},
        // what is written to, and where pointers lead
        {[&] { return B(ASG, N("x"), I(1)); }, ""},
        {[&] { return B(ASG, I(1), I(1)); }, "ASG: expected an lvalue"},
        {[&] { return B(ASG, B(PLUS, N("x"), I(1)), I(1)); }, "ASG: expected an lvalue"},
        {[&] { return B(ASG, N(rec), N(rec)); }, "ASG can't have the type struct record"},
        {[&] { return B(STASG, N(rec), N(rec)); }, ""},
        {[&] { return B(STASG, N(rec), N("x")); }, "STASG: expected a record"},
        {[&] { return B(ARASG, N(arr), N(arr)); }, ""},
        {[&] { return B(PLUSASG, call(f, nullptr), I(1)); }, "PLUSASG: expected an lvalue"},
        {[&] { return B(PLUSPLUS, N("x"), I(1)); }, ""},
        {[&] { return deref(N(p)); }, ""},
        {[&] { return deref(N("x")); }, "UMULT: expected a pointer"},
        {[&] { return B(ASG, N(f), I(1), i); }, "expected an lvalue of a number or pointer, found NAME of type int (void)"},
        {[&] { return B(ASG, N("x"), N(f)); }, "found NAME"},
        {[&] { return B(ASG, N("x"), maketree(NAME, nullptr, nullptr, i, nullptr)); }, "NAME without a symbol"},
        {[&] { return B(ASG, N("x"), maketree(PLUS, I(1), N(rec), i, nullptr)); }, "expected a number"},
        {[&] { return maketree(STASG, maketree(NAME, nullptr, nullptr, record, nullptr), N(rec), record, nullptr); }, "NAME without a symbol"},
        {[&] { NODE *n = N("x"); n->type = record; return B(STASG, n, N(rec)); }, "NAME of x, which is of type int, has the type struct record"},
        {[&] { NODE *n = N(arr); n->type = i; return B(ASG, n, I(1)); }, "NAME of arr"},
        {[&] { return root(ENDLOOP, N(symbol("fl", flt)), label(1)); }, "no integer"},
        {[&] { return B(MOD, N("x"), fcon()); }, "MOD: expected an integer"},
        // members
        {[&] { return dot(N(rec), field_a); }, ""},
        {[&] { return B(STREF, N(pr), field(field_a, record), i); }, ""},
        {[&] { return B(STDOT, N("x"), field(field_a, record), i); }, "STDOT: expected a record"},
        {[&] { return B(STREF, N(p), field(field_a, record), i); }, "expected a pointer to a record"},
        {[&] { return B(STDOT, N(rec), I(1), i); }, "expected a FIELD"},
        {[&] { return B(STDOT, N(rec), field(nullptr, record), i); }, "FIELD of a member that"},
        {[&] { return B(PLUS, I(1), field(field_a, record)); }, "found FIELD"},
        {[&] { return address(dot(N(rec), field_bit)); }, "UAND of a bit-field"},
        {[&] { return address(I(1)); }, "UAND: expected an object or function"},
        // calls
        {[&] { return call(f, args({I(1), I(2)})); }, ""},
        {[&] { return call(f, B(COMMA, I(1), args({I(2), I(3)}))); }, "COMMA: expected an argument, found COMMA"},
        {[&] { return call(f, args({U(ARGREF, N(rec), ptr), I(1)})); }, ""},
        {[&] { return call(f, args({I(1), root(BRANCH, label(1))})); }, "expected an argument, found BRANCH"},
        {[&] { return call(sym("x"), nullptr); }, "UCALL of x, which is no function"},
        {[&] { return U(UCALL, N("x")); }, "expected the address of a function"},
        {[&] { return U(ARGREF, N(rec), ptr); }, "found ARGREF"},
        {[&] { return args({I(1), I(2)}); }, "expected a statement, found COMMA"},
        {[&] { return B(PLUS, args({I(1), I(2)}), I(1)); }, "found COMMA"},
        {[&] { return icall(ICALL, "", I(1)); }, "ICALL without a name"},
        // alternatives and conversions
        {[&] { return B(QUEST, N("x"), B(COLON, I(1), I(2)), i); }, ""},
        {[&] { return B(QUEST, N("x"), B(COLON, call(f, nullptr), I(2)), tp->void_type()); }, ""},
        {[&] { return B(QUEST, N("x"), I(1), i); }, "expected a COLON"},
        {[&] { return B(QUEST, N("x"), B(COLON, N(rec), I(2)), i); }, "expected a number or pointer"},
        {[&] { return B(COLON, I(1), I(2)); }, "found COLON"},
        {[&] { return U(SCONV, I(1), four); }, "SCONV of a scalar to the vector type"},
        {[&] { return U(SCONV, N(symbol("v", four)), four); }, ""},
        {[&] { return U(PCONV, N(rec), ptr); }, "PCONV of a record"},
        {[&] { return B(PMCONV, N("x"), N("x"), i); }, "PMCONV: expected an integer constant"},
    });
    // clang-format on
}

TEST_F(client_trees, initialisers_are_values_without_effects) {
    NODE *skip = leaf(SKIP);
    skip->mk_skip(4);
    // clang-format off
    check(TREE_INITIALISER, {
        {[&] { return I(1); }, ""},
        {[&] { return skip; }, ""},
        {[&] { return leaf(ENDINIT); }, ""},
        {[&] { return B(PLUS, address(N(rec)), B(PMCONV, I(3), I(32)), ptr); }, ""},
        {[&] { return call(f, nullptr); }, "UCALL in an initialiser"},
        {[&] { return B(ASG, N("x"), I(1)); }, "ASG in an initialiser"},
        {[&] { return root(BRANCH, label(1)); }, "expected an initial value"},
        {[&] { return B(PLUS, leaf(ENDINIT), I(1), i); }, "found ENDINIT"},
    });
    // clang-format on
}

TEST_F(client_trees, a_bad_node_is_found_at_any_depth) {
    constexpr int DEPTH = 1000000;
    for (bool left : {true, false}) {
        NODE *tree = chain(DEPTH, left);
        EXPECT_EQ(check_statement_tree(tree, TREE_STATEMENT), "");
        tree = expr_cleanup(tree);
        NODE *last = tree;
        while (last->left->op == PLUS || last->right->op == PLUS) last = left ? last->left : last->right;
        last->op = COLON;
        EXPECT_NE(check_statement_tree(tree, TREE_STATEMENT), "");
        last->op = PLUS;
        tree = finish_tree_for_output(tree);
        erase_tree(tree);
    }
}

// --- reading ---

TEST_F(client_trees, file_forms_become_internal_forms) {
    NODE *wide = new NODE(LCON, ll);
    wide->mk_lcon("1311768467463790320");
    struct {
        NODE *tree;
        const char *after;
    } rows[] = {
        {B(ASG, N("x"), B(PMCONV, N("x"), I(36), i)), "ASG(NAME x, MULT(NAME x, ICON 4))"},
        {B(ASG, N("x"), B(PMCONV, N("x"), I(-36), i)), "ASG(NAME x, MULT(NAME x, ICON -4))"},
        {B(ASG, N(symbol("w", ll)), wide), "ASG(NAME w, ICON 1311768467463790320)"},
        {B(ASG, U(DDNODE, N("x"), i), I(1)), "ASG(NAME x, ICON 1)"},
        {call(f, args({N("x"), N(p), fcon(), U(ACONV, N("x"))})),
         "CALL(UAND(NAME f), COMMA(COMMA(COMMA(ACONV(NAME x), NAME p), FCON), ACONV(NAME x)))"},
        {U(NASSERT, B(PLUSPLUS, N("x"), I(1))), "ICON 0"},
        {U(NASSERT, B(NEQ, N("x"), I(0))), "NASSERT(NEQ(NAME x, ICON 0))"},
        {U(ASSERT, B(NEQ, N("x"), I(0))), "ASSERT(NEQ(NAME x, ICON 0))"},
        {root(ENDLOOP, N("x"), label(7)), "CBRANCH(LT(MINUSASG(NAME x, ICON 1), ICON 0), LABEL 7)"},
        {root(LOOP, I(0), label(7)), "LABELDEF"},
        {B(ASG, N(symbol("v", four)), U(SCONV, N(symbol("fv", tp->mk_vector(flt, 4))), four)),
         "ASG(NAME v, VSCONV(NAME fv))"},
    };
    for (auto &row : rows) {
        NODE *tree = clean(row.tree);
        EXPECT_EQ(shape(tree), row.after);
        if (tree->op == LABELDEF) delete tree->label; // no block has it
        erase_tree(tree);
    }
}

TEST_F(client_trees, a_profile_value_moves_to_what_it_counts) {
    NODE *value = root(EPVAL, B(ASG, N("x"), I(1)));
    value->set_edge_profile_value(77);
    NODE *tree = clean(value);
    EXPECT_EQ(shape(tree), "ASG(NAME x, ICON 1)");
    EXPECT_EQ(tree->get_edge_profile_value(), 77u);
}

// What the built-in says turns with each negation, and its conversion counts where bits would be lost.
TEST_F(client_trees, an_expectation_leaves_its_test_and_comes_back) {
    auto expect = [&](NODE *value, int most) {
        return icall(ICALL, "__builtin_expect", args({value, I(most)}));
    };
    auto widened = [&](NODE *n) { return U(SCONV, n, i); };
    SYMTAB *w = symbol("w", ll), *b = symbol("b", c), *d = symbol("d", flt);
    const std::string x = "NAME x", longer = "SCONV(NAME w)";
    struct {
        NODE *test;
        std::string inside;
        int hint;
    } rows[] = {
        {N("x"), x, 0},
        {expect(N("x"), 1), x, 1},
        {expect(N("x"), 0), x, -1},
        {expect(N("x"), -7), x, 1},
        {U(EXCLAIM, expect(N("x"), 1)), "EXCLAIM(NAME x)", -1},
        {U(EXCLAIM, U(EXCLAIM, expect(N("x"), 0))), "EXCLAIM(EXCLAIM(NAME x))", -1},
        {B(EQ, expect(N("x"), 7), I(7)), "EQ(NAME x, ICON 7)", 1},
        {B(EQ, expect(N("x"), 7), I(0)), "EQ(NAME x, ICON 0)", -1},
        {B(NEQ, expect(N("x"), 7), I(7)), "NEQ(NAME x, ICON 7)", -1},
        {U(EXCLAIM, B(NEQ, expect(N("x"), 0), I(0))), "EXCLAIM(NEQ(NAME x, ICON 0))", 1},
        {expect(widened(B(GT, N("x"), I(3))), 0), "GT(NAME x, ICON 3)", -1},
        {expect(widened(N(b)), 1), "NAME b", 1},
        {B(EQ, expect(widened(N(b)), 1), I(1)), "EQ(SCONV(NAME b), ICON 1)", 1},
        {expect(N(w), 1), longer, 1},
        {expect(widened(N(w)), 1), longer, 1},
        {expect(N(d), 1), "SCONV(NAME d)", 1}, // 0.5 is none
        {icall(ICALL, "__builtin_expect", args({N("x"), N("x")})),
         "ICALL __builtin_expect(COMMA(NAME x, NAME x))", 0},
    };
    for (auto &row : rows) {
        NODE *branch = clean(root(CBRANCH, row.test, label(1)));
        EXPECT_EQ(shape(branch->left), row.inside);
        EXPECT_EQ(branch->branch_hint, row.hint) << row.inside;
        revert_CBRANCH_with_builtin_expect(branch);
        const NODE *back = branch->left, *most = back->op == ICALL ? back->left->right : nullptr;
        int said = !most || most->op != ICON ? 0 : most->u.lval.is_zero() ? -1 : 1;
        EXPECT_EQ(said, row.hint) << shape(back);
        NODE *again = clean(branch);
        EXPECT_EQ(shape(again->left), row.inside);
        EXPECT_EQ(again->branch_hint, row.hint) << row.inside;
        erase_tree(again);
    }
}

TEST_F(client_trees, enum_types_give_way_and_missing_types_are_filled) {
    SYMTAB *e = symbol("e", tp->mk_qual(color, QUAL_volatile));
    NODE *tree = clean(B(ASG, N(e), U(SCONV, I(1), color)));
    EXPECT_EQ(tree->left->type, tp->mk_qual(u->normalized(), QUAL_volatile));
    EXPECT_EQ(tree->right->type, u->normalized());
    NODE *branch = clean(maketree(BRANCH, label(1), nullptr, nullptr, nullptr));
    EXPECT_EQ(branch->type, tp->void_type());
}

TEST_F(client_trees, facts_of_a_function_are_noted) {
    erase_tree(clean(B(ASG, N(p), address(dot(N(rec), field_a)))));
    EXPECT_TRUE(info.local_address_taken);
    info.local_address_taken = false;
    erase_tree(clean(B(ASG, N(p), address(N(global("g", i))))));
    EXPECT_FALSE(info.local_address_taken);
    erase_tree(clean(U(NASSERT, N("x"))));
    EXPECT_NE(info.assertion_word, 0u);
    bool names_eht = false;
    NODE *c = call(f, nullptr);
    c->i_eht_id = 3;
    check_statement_tree(B(ASG, N("x"), c), TREE_STATEMENT, &names_eht);
    EXPECT_TRUE(names_eht);
}

// --- built-ins ---

struct client_builtins : client_trees {
    client_builtins() {
        static bool made = false;
        if (!made) {
            make_BIF_descriptor(MCALL, "__known", 1, i);
            make_BIF_descriptor(UMCALL, "__known0", 0, i);
            make_BIF_descriptor(UMCALL, "__fence", 0, i)->flags3 |= BIF_IS_BARRIER;
            make_BIF_descriptor(ICALL, "__intrinsic", 1, i)->flags3 |= BIF_IS_INTRINSIC;
        }
        made = true;
        init_symbols();
        mcall_implicit_state_symbol = global("__MCALL_implicit_state__", i);
        mcall_implicit_state_tree = U(UMULT, address(N(mcall_implicit_state_symbol)), i);
    }
    ~client_builtins() override {
        init_symbols();
        mcall_implicit_state_symbol = nullptr;
        mcall_implicit_state_tree = nullptr;
    }
};

TEST_F(client_builtins, known_ones_touch_the_implicit_state_while_they_are_inside) {
    const std::string state = "ARGREF(UMULT(UAND(NAME __MCALL_implicit_state__)))";
    struct {
        NODE *tree;
        std::string inside;
        const char *after;
    } rows[] = {
        {icall(UMCALL, "__known0", nullptr), "MCALL __known0(" + state + ")", "UMCALL __known0"},
        {icall(MCALL, "__known", N("x")), "MCALL __known(COMMA(NAME x, " + state + "))",
         "MCALL __known(NAME x)"},
        {icall(MCALL, "__known", args({N("x"), I(2)})),
         "MCALL __known(COMMA(COMMA(NAME x, ICON 2), " + state + "))",
         "MCALL __known(COMMA(NAME x, ICON 2))"},
        // An argument by reference orders it already.
        {icall(MCALL, "__known", U(ARGREF, N(rec), ptr)), "MCALL __known(ARGREF(NAME r))",
         "MCALL __known(ARGREF(NAME r))"},
    };
    for (auto &row : rows) {
        NODE *tree = clean(row.tree);
        EXPECT_EQ(shape(tree), row.inside);
        EXPECT_EQ(shape(remove_implicit_state(tree)), row.after);
    }
}

TEST_F(client_builtins, unknown_ones_and_barriers_become_functions) {
    TYPE_PKG::abi = 0;
    NODE *unknown = clean(icall(MCALL, "__unknown", args({N("x"), N(p)})));
    EXPECT_EQ(shape(unknown), "CALL(UAND(NAME ___unknown), COMMA(ACONV(NAME x), NAME p))");
    SYMTAB *made = unknown->left->left->u.sym;
    EXPECT_EQ(made->sclass, SC_EXTREF);
    EXPECT_EQ(made->cqual, 0xE001);
    EXPECT_EQ(made->type->num_params(), 2u);
    // The same name is the same function, whether made here or declared.
    EXPECT_EQ(clean(icall(UMCALL, "__unknown", nullptr))->left->left->u.sym, made);
    EXPECT_FALSE(info.is_leaf);

    NODE *fence = clean(icall(UMCALL, "__fence", nullptr));
    EXPECT_EQ(shape(fence), "UCALL(UAND(NAME ___fence))");
    EXPECT_EQ(shape(finish_tree_for_output(fence)), "UMCALL __fence");
    TYPE_PKG::abi = 1;
}

// --- writing ---

TEST_F(client_builtins, internal_forms_become_file_forms) {
    NODE *aligned = U(NONALIGN, N(p), tp->mk_ptr(c));
    NODE *view = icall(ICALL, "__s2v", N("x"));
    view->type = four;
    NODE *constant_view = icall(ICALL, "__repack", I(5));
    constant_view->type = u;
    struct {
        NODE *tree;
        const char *after;
    } rows[] = {
        {U(IDENTITY, U(IDENTITY, N("x"))), "NAME x"},
        {B(ASG, N("x"), U(IDENTITY, I(2))), "ASG(NAME x, ICON 2)"},
        {U(ISP2CHAR, N(p), tp->mk_ptr(c)), "PCONV(NAME p)"},
        {aligned, "PCONV(NAME p)"},
        {U(OUIALIGN, N(p)), "NAME p"},
        {I(0x7FFFFFFF, ll), "ICON 2147483647"},
        {I(0x80000000LL, ll), "LCON 2147483648"},
        {I(0xFFFFFFFFLL, ull), "ICON 4294967295"},
        {I(-1, ull), "LCON -1"}, // 2^64 - 1
        {I(-1, i), "ICON -1"},
        {U(VSCONV, N(symbol("v", four)), tp->mk_vector(u, 4)), "SCONV(NAME v)"},
        {U(VRCONV, N(symbol("v", four)), tp->mk_vector(u, 4)), "SCONV(NAME v)"},
        {U(VRCONV, N(symbol("v", four)), tp->mk_vector(flt, 4)), "VRCONV(NAME v)"},
        {U(VRCONV, N("x"), four), "VRCONV(NAME x)"},
        {view, "VRCONV(NAME x)"},
        {constant_view, "ICON 5"},
        {icall(MCALL, "__intrinsic", N("x")), "ICALL __intrinsic(NAME x)"},
        {root(SWITCH, N("x"), args({case_of(4, 9), case_of(5, 9), root(DEFAULT, label(9))})),
         "SWITCH 2(NAME x, COMMA(COMMA(CASE(ICON 4, LABEL 9), CASE(ICON 5, LABEL 9)), DEFAULT(LABEL 9)))"},
    };
    for (auto &row : rows) EXPECT_EQ(shape(finish_tree_for_output(row.tree)), row.after);
}

TEST_F(client_trees, counts_of_a_profile_stand_in_nodes_of_their_own) {
    info.profile_mode = 2;
    NODE *arms = B(COLON, I(1), I(2));
    arms->set_edge_profile_value(9);
    EXPECT_EQ(shape(finish_tree_for_output(B(QUEST, N("x"), arms, i))),
              "QUEST(NAME x, EPVAL(COLON(ICON 1, ICON 2)))");
}

TEST_F(client_trees, what_is_named_in_the_output_is_marked) {
    SYMTAB *g = global("g", i);
    finish_tree_for_output(B(ASG, N("x"), N(g)));
    EXPECT_TRUE(g->cqual & CQ_REFERENCED);
    EXPECT_FALSE(sym("x")->cqual & CQ_REFERENCED);
}

using client_trees_death = client_trees;
TEST_F(client_trees_death, an_opcode_that_no_file_has_ends_the_run_by_name) {
    EXPECT_EXIT(finish_tree_for_output(leaf(EXPRSTUB, i)), testing::ExitedWithCode(1), "EXPRSTUB");
    EXPECT_EXIT(finish_tree_for_output(leaf(ILLOP, i)), testing::ExitedWithCode(1), "ILLOP");
}

} // namespace
