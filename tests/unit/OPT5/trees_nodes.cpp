// Making, copying and erasing nodes, the face that files see, argument lists, and the check of shapes.
#include <memory>

#include "trees_world.h"

#include "OPT5/cfg.h"
#include "OPT5/flags.h"
#include "OPT5/scopes.h"
#include "support/fps_text.h"

using testing::ExitedWithCode;

namespace {

using trees_nodes = trees_world;

constexpr int DEEP = 1000000; // recursion would need more than the stack

simul_fval value_of(const char *text) {
    simul_fval v;
    f_atof(text, &v);
    return v;
}

} // namespace

TEST_F(trees_nodes, makers_choose_opcode_and_type) {
    TYPE *vector = tp->mk_vector(sh, 4), *array = tp->mk_array(i, false, 3), *cptr = tp->mk_ptr(c);
    TYPE *color = tp->mk_enum("color", uc, 8, 8, false);
    tp->type_frozen(color);
    chars_alias_other_types = true;
    symbol("r", record), symbol("v", array), symbol("w", vector);
    symbol("ch", c), symbol("un", u), symbol("p", ptr);
    struct ROW {
        const char *what;
        NODE *made;
        int op;
        TYPE *type;
    } rows[] = {
        {"scalar assignment", mk_ASG(N("x"), I(1)), ASG, i},
        {"record assignment", mk_ASG(N("r"), N("r")), STASG, record},
        {"array assignment", mk_ASG(N("v"), N("v")), ARASG, array},
        {"a vector is no array", mk_ASG(N("w"), N("w")), ASG, vector},
        {"nothing before the comma", mk_COMMAOP(nullptr, N("ch")), NAME, c},
        {"a comma has the type of its right side", mk_COMMAOP(N("x"), N("ch")), COMMAOP, c},
        {"the truth of a char", mk_EXCLAIM(N("ch")), EXCLAIM, i},
        {"built-in", mk_ICALL("_f", N("x"), u), ICALL, u},
        {"built-in without arguments", mk_ICALL("_f", nullptr, u), UICALL, u},
        {"built-in with effects", mk_MCALL("_f", nullptr, u), UMCALL, u},
        {"difference without a right side", mk_MINUS(N("ch"), nullptr), NAME, c},
        {"negation promotes", mk_MINUS(nullptr, N("ch")), UMINUS, i},
        {"usual conversions", mk_MINUS(N("ch"), N("un")), MINUS, u},
        {"pointers apart", mk_MINUS(N("p"), N("p")), MINUS, i},
        {"pointer less a number", mk_MINUS(N("p"), I(4)), MINUS, ptr},
        {"null pointer constant", mk_ICON(INT65(0), ptr), ICON, i},
        {"conversions give values without qualifiers", maketree(SCONV, N("x"), nullptr, vol, nullptr), SCONV,
         i},
        {"conversion to an enum, read from a file", new_node(SCONV, color), SCONV, uc->normalized()},
        {"pointer to char", new_node(PCONV, cptr), ISP2CHAR, cptr},
        {"pointer to const char", new_node(PCONV, tp->mk_ptr(tp->mk_qual(uc, QUAL_const))), ISP2CHAR,
         nullptr},
        {"pointer to int", new_node(PCONV, ptr), PCONV, ptr},
    };
    for (const ROW &row : rows) {
        EXPECT_EQ(row.made->op, row.op) << row.what;
        if (row.type) { EXPECT_EQ(row.made->type, row.type) << row.what; }
    }
    EXPECT_EQ(rows[1].made->u.sym, sym("r"));
    chars_alias_other_types = false;
    EXPECT_EQ(new_node(PCONV, cptr)->op, PCONV);
    chars_alias_other_types = true;
    NODE *fresh = new_node(PLUS, i);
    EXPECT_EQ(fresh->edge_weight(), -1.0);
    EXPECT_EQ(fresh->get_edge_profile_value(), ~0u);
    EXPECT_EQ(fresh->depnum(), -1);
    EXPECT_EQ(fresh->rare_words, nullptr) << "asking makes no record";
}

TEST_F(trees_nodes, constants_hold_what_their_type_holds) {
    struct ROW {
        INT65 given;
        TYPE *type;
        INT65 kept;
    } rows[] = {
        {INT65(300), uc, INT65(44)}, {INT65(200), c, INT65(-56)},     {INT65(-1), u, INT65(0xFFFFFFFFu)},
        {INT65(-1), i, INT65(-1)},   {INT65(0, -1LL), ll, INT65(-1)}, {INT65(-1), ull, INT65(0, -1LL)},
        {INT65(-1), ptr, INT65(-1)},
    };
    for (const ROW &row : rows) EXPECT_EQ(mk_ICON(row.given, row.type)->u.lval, row.kept);
    EXPECT_EXIT(mk_ICON(INT65(1), dbl), ExitedWithCode(1), "terminated abnormally");
}

TEST_F(trees_nodes, what_a_file_stores_is_what_a_file_gets) {
    NODE n(ICON, i);
    n.mk_icon(true, 0xFFFFFFFF);
    EXPECT_EQ(n.u.lval, INT65(-1));
    EXPECT_EQ(n.icon_svalue(), -1);
    NODE un(ICON, u);
    un.mk_icon(false, 0xFFFFFFFF);
    EXPECT_EQ(un.u.lval, INT65(0xFFFFFFFFu));
    EXPECT_EQ(un.icon_uvalue(), 0xFFFFFFFFu);

    NODE wide(LCON, ull);
    wide.mk_lcon("18446744073709551615");
    EXPECT_EQ(wide.op, ICON) << "the passes know one kind of constant";
    EXPECT_EQ(wide.u.lval, INT65(0, -1LL));
    EXPECT_STREQ(wide.lcon_value(), "18446744073709551615");
    wide.u.lval = INT65(-5);
    EXPECT_STREQ(wide.lcon_value(), "-5");

    NODE string(SCON, tp->mk_array(c, false, 4));
    string.mk_scon("a\0b", 4);
    EXPECT_EQ(string.scon_size(), 4u);
    EXPECT_EQ(memcmp(string.scon_value(), "a\0b", 4), 0);

    // a constant is written as the target would keep it
    NODE f(FCON, flt), d(FCON, dbl);
    f.mk_fcon("0x1.123456789abcdp+0");
    d.mk_fcon("0x1.123456789abcdp+0");
    EXPECT_EQ(strtod(f.fcon_value(), nullptr), static_cast<double>(0x1.123456789abcdp+0f));
    EXPECT_EQ(strtod(d.fcon_value(), nullptr), 0x1.123456789abcdp+0);
    EXPECT_EQ(f.fcon_value(), f.fcon_value()) << "the text is kept";

    FUNINFO info;
    currfuninfo = &info;
    NODE field(FIELD, tp->mk_qual(i, QUAL_const));
    field.mk_field(1, field_a, record);
    EXPECT_FALSE(info.has_bitfield_refs);
    field.mk_field(1, field_bit, record);
    EXPECT_TRUE(info.has_bitfield_refs);
    EXPECT_EQ(field.field_mval(), field_bit);
    EXPECT_EQ(field.field_csu(), record);
    EXPECT_EXIT(field.mk_field(2, field_a, record), ExitedWithCode(1), "");
    SYMTAB *control = symbol("control_register", i);
    NODE name(NAME, i);
    name.mk_name(sym("x"));
    EXPECT_FALSE(info.has_cregister_names);
    control->cqual = CQ_CREGISTER;
    name.mk_name(control);
    EXPECT_TRUE(info.has_cregister_names);
    EXPECT_TRUE(info.is_leaf);
    NODE site(CALL, i);
    site.mk_call(7, 3);
    EXPECT_FALSE(info.is_leaf);
    EXPECT_EQ(site.call_site(), 7u);
    EXPECT_EQ(site.eh_entry_id(), 3u);
    info.is_leaf = true;
    NODE *no_arguments = new_node(UCALL, i);
    EXPECT_FALSE(info.is_leaf);
    erase_node(no_arguments);
}

TEST_F(trees_nodes, argument_lists_count_from_the_left) {
    NODE *one = N("x"), *three = args({N("x"), B(COMMAOP, N("y"), N("z")), I(3)});
    EXPECT_EQ(arg_list_count(nullptr), 0);
    EXPECT_EQ(arg_list_count(one), 1);
    EXPECT_EQ(arg_list_count(three), 3);
    EXPECT_EQ(arg_list_lookup(nullptr, 0), nullptr);
    EXPECT_EQ(arg_list_lookup(one, 0), one);
    EXPECT_EQ(arg_list_lookup(one, 1), nullptr);
    EXPECT_EQ(arg_list_lookup(three, 0)->u.sym, sym("x"));
    EXPECT_EQ(arg_list_lookup(three, 1)->op, COMMAOP) << "a comma operator is one argument";
    EXPECT_EQ(arg_list_lookup(three, 2)->op, ICON);
    EXPECT_EQ(arg_list_lookup(three, 3), nullptr);
    EXPECT_EQ(arg_list_lookup(three, -1), nullptr);
    EXPECT_EQ(arg_list_args(three).size(), 3u);
    EXPECT_EQ(three->left->op, COMMA) << "lists lean to the left";
}

TEST_F(trees_nodes, copies_own_what_they_hold) {
    PRAGMA *pragma = new PRAGMA;
    pragma->number = PRAG_MUST_ITERATE;
    pragma->args = {"4"};
    NODE *fcon = mk_FCON(value_of("1.5"), dbl), *scon = new NODE(SCON, ptr), *ddnode = U(DDNODE, N("x"));
    scon->mk_scon("text", 5);
    fcon->fcon_value();
    ddnode->rare().dval = new DDREC;
    ddnode->dval()->tree = N("x");
    ddnode->dval()->id = 9;
    auto scope = std::make_unique<LS>();
    NODE *originals[] = {
        fcon, scon, ddnode, mk_PPRAGMA(pragma), mk_ASM_comment("note"), mk_ICALL("_f", N("x"), i)};
    originals[5]->scope = scope.get();
    originals[5]->flag = true;
    originals[5]->branch_hint = -1;
    originals[5]->i_eht_id = 4;
    originals[5]->rare().edge_weight = 0.25;
    originals[5]->rare().scratch = this;
    std::vector<NODE *> copies, dd_copies;
    for (NODE *n : originals) copies.push_back(copy_tree(n)), dd_copies.push_back(copy_dd_tree(n, false));
    for (NODE *n : originals) erase_tree(n);
    EXPECT_TRUE(f_bit_eq(copies[0]->u.fval, dd_copies[0]->u.fval));
    EXPECT_EQ(copies[0]->text, nullptr) << "the text of a constant is made again";
    EXPECT_STREQ(copies[1]->scon_value(), "text");
    EXPECT_EQ(copies[2]->dval(), nullptr);
    ASSERT_NE(dd_copies[2]->dval(), nullptr);
    EXPECT_EQ(dd_copies[2]->dval()->id, 9u);
    EXPECT_EQ(dd_copies[2]->dval()->tree->u.sym, sym("x"));
    EXPECT_EQ(copies[3]->pragma->args.at(0), "4");
    EXPECT_STREQ(copies[4]->text, "note");
    EXPECT_STREQ(copies[5]->icall_name(), "_f");
    EXPECT_EQ(copies[5]->icall_name(), dd_copies[5]->icall_name()) << "equal names are one text";
    EXPECT_EQ(copies[5]->scope, scope.get());
    EXPECT_EQ(dd_copies[5]->scope, nullptr);
    EXPECT_TRUE(copies[5]->flag);
    EXPECT_EQ(copies[5]->branch_hint, -1);
    EXPECT_EQ(copies[5]->i_eht_id, 4u);
    EXPECT_EQ(copies[5]->edge_weight(), 0.25);
    EXPECT_EQ(copies[5]->scratch(), nullptr);
    for (NODE *n : copies) erase_tree(n);
    for (NODE *n : dd_copies) erase_tree(n);
}

TEST_F(trees_nodes, copy_if_changed_is_lazy) {
    NODE *sum = B(PLUS, N("x"), N("y")), *other = N("z");
    EXPECT_EQ(copy_node_if_changed(sum, sum->left, sum->right), sum);
    NODE *changed = copy_node_if_changed(sum, sum->left, other);
    EXPECT_NE(changed, sum);
    EXPECT_EQ(changed->right, other);
    EXPECT_EQ(sum->right->u.sym, sym("y"));
}

TEST_F(trees_nodes, a_label_knows_how_many_nodes_name_it) {
    FUNINFO info;
    currfuninfo = &info;
    BBLK *bb = mkbblock(nullptr, nullptr, &info);
    NODE *jump = mk_BRANCH(bb, nullptr);
    ASSERT_NE(bb->labels, nullptr) << "a block without label gets one";
    EXPECT_EQ(bb->labels->refcount, 1);
    NODE *test = mk_IF(N("x"), bb, bb, nullptr);
    EXPECT_EQ(bb->labels->refcount, 3);
    NODE *copy = copy_tree(test);
    EXPECT_EQ(bb->labels->refcount, 5);
    EXPECT_EQ(copy->right->left->label, bb->labels);
    for (NODE *n : {jump, test, copy}) erase_tree(n);
    erase_bblock(bb);
    release_dead_labels(&info);
}

TEST_F(trees_nodes, shared_subexpressions_stay_shared_in_copied_statements) {
    // t = orig(x + y); u = dupe + 1
    NODE *origin = B(CSE_ORIG, nullptr, B(PLUS, N("x"), N("y")), i);
    NODE *dupe = B(CSE_DUPE, nullptr, origin->right, i);
    LIST *list = mkelist(mk_ASG(N("t"), origin),
                         mkelist(mk_ASG(N("u"), B(PLUS, dupe, I(1))), nullptr, nullptr), nullptr);
    LIST *copy = copy_shared_statements(list);
    NODE *new_origin = copy->tree->right, *new_dupe = copy->next->tree->right->left;
    ASSERT_EQ(new_dupe->op, CSE_DUPE);
    EXPECT_NE(new_origin, origin);
    EXPECT_EQ(new_dupe->right, new_origin->right);
    // a duplicate does not own what it stands for: each list goes without the other, and nothing goes twice
    size_t before = nodes_in_use();
    erase_tree_list(list);
    EXPECT_EQ(before - nodes_in_use(), 11u);
    EXPECT_EQ(tree_shape_error(copy->tree), nullptr);
    erase_tree_list(copy);
    EXPECT_EQ(before - nodes_in_use(), 22u);
}

TEST_F(trees_nodes, lists_are_erased_as_far_as_asked) {
    auto three = [&] {
        return mkelist(N("x"), mkelist(N("y"), mkelist(N("z"), nullptr, nullptr), nullptr), nullptr);
    };
    LIST *list = three();
    LIST *last = list->next->next;
    size_t before = nodes_in_use();
    erase_tree_list_to_entry(list, last);
    EXPECT_EQ(before - nodes_in_use(), 2u);
    EXPECT_EQ(last->tree->u.sym, sym("z"));
    NODE *kept = last->tree;
    erase_tree_list_only(last);
    EXPECT_EQ(kept->op, NAME);
    PSN psn{"f.c", 3, 1};
    LIST *statements = mkelist(N("x"), mklist(N("y"), nullptr, 70000, 2), &psn),
         *copy = copy_statements(statements);
    EXPECT_EQ(copy->psn, &psn);
    EXPECT_EQ(copy->next->line, UINT16_MAX);
    EXPECT_NE(copy->tree, statements->tree);
    EXPECT_TRUE(tree_lists_are_congruent(statements, copy));
    erase_tree_list(statements);
    erase_tree_list(copy);
}

TEST_F(trees_nodes, erasing_twice_is_fatal) {
    const char *message = "!!! COMPILER \\(OPTIMIZER\\) ERROR IN 'erase_node' 0x[0-9a-f]+ !!!";
    auto twice = [&](bool whole_tree) {
        NODE *n = B(PLUS, N("x"), N("y"));
        NODE *part = n->left;
        erase_tree(n);
        if (whole_tree) erase_tree(part);
        else erase_node(part);
    };
    EXPECT_EXIT(twice(true), ExitedWithCode(1), message);
    EXPECT_EXIT(twice(false), ExitedWithCode(1), message);
    EXPECT_EXIT(
        {
            NODE *x = N("x");
            erase_tree(B(PLUS, x, x)); // one node with two parents
        },
        ExitedWithCode(1), message);
    erase_tree(nullptr);
    erase_node(nullptr);
}

TEST_F(trees_nodes, depth_does_not_matter) {
    for (bool left : {true, false}) {
        size_t before = nodes_in_use();
        NODE *t = chain(DEEP, left);
        EXPECT_EQ(count_nodes_in_tree(t), 2 * DEEP + 1);
        NODE *copy = copy_tree(t);
        EXPECT_TRUE(trees_are_congruent(t, copy));
        EXPECT_FALSE(tree_has_side_effects(t));
        EXPECT_FALSE(expr_is_constant(t));
        EXPECT_FALSE(tree_contains_op(t, MULT));
        EXPECT_EQ(tree_shape_error(t), nullptr);
        EXPECT_EQ(count_lvalues_in_tree(t->left->op == NAME ? t->left : t->right, t), DEEP + 1);
        EXPECT_LT(tree2infix(t).size(), 1000000u);
        copy = rewrite_tree(copy, [&](NODE *n) {
            if (n->op != NAME) return n;
            erase_node(n);
            return I(1);
        });
        EXPECT_TRUE(expr_is_constant(copy));
        int visited = 0;
        for_each_node_postorder(copy, [&](const NODE *) { visited++; });
        EXPECT_EQ(visited, 2 * DEEP + 1);
        erase_tree(t);
        erase_tree(copy);
        EXPECT_EQ(nodes_in_use(), before);
    }
}

TEST_F(trees_nodes, broken_shapes_are_named) {
    symbol("r", record), symbol("p", ptr);
    auto with = [](NODE *n, auto change) {
        change(n);
        return n;
    };
    NODE *self = B(PLUS, N("x"), N("y"));
    self->right = self;
    struct ROW {
        NODE *tree;
        const char *error;
    } rows[] = {
        {mk_ASG(N("x"), B(PLUS, dot(N("r"), field_b), I(1))), nullptr},
        {mk_ASG(deref(N("p")), call(function("f"), args({I(1), I(2)}))), nullptr},
        {B(QUEST, N("x"), B(COLON, N("y"), N("z"))), nullptr},
        {B(IF, N("x"), B(COMMA, mk_LABELREF(1, 0), mk_LABELREF(2, 0))), nullptr},
        {B(PLUS, N("x"), nullptr), "a right operand is missing"},
        {B(UMINUS, N("x"), N("y")), "a right operand too many"},
        {B(UICALL, N("x"), nullptr), "a leaf has a left operand"},
        {with(N("x"), [](NODE *n) { n->u.sym = nullptr; }), "a NAME without a symbol"},
        {with(N("x"), [](NODE *n) { n->type = nullptr; }), "a value without a type"},
        {with(I(1), [&](NODE *n) { n->u.lval = INT65(1LL << 40); }), "an ICON beyond its type"},
        {with(I(1), [&](NODE *n) { n->type = dbl; }), "an ICON of a type that has no integers"},
        {with(N("x"), [](NODE *n) { n->op = ILLOP; }), "an erased node"},
        {with(N("x"), [](NODE *n) { n->op = 200; }), "an opcode of regions in a tree"},
        {with(N("x"), [](NODE *n) { n->op = 50; }), "an opcode that does not exist"},
        {mk_ASG(I(1), N("x")), "an assignment to a value"},
        {B(PLUSASG, B(PLUS, N("x"), N("y")), I(1)), "an assignment to a value"},
        {B(STDOT, N("r"), I(0)), "an access to a member without its FIELD"},
        {B(IF, N("x"), mk_LABELREF(1, 0)), "an IF without its two labels"},
        {U(BRANCH, N("x")), "a BRANCH without a label"},
        {B(CASE, N("x"), mk_LABELREF(1, 0)), "a CASE that is no constant"},
        {B(QUEST, N("x"), N("y")), "a QUEST without its COLON"},
        {B(UMULT, N("p"), I(4), i), "UMULT with a subscript"},
        {self, "a tree that is a part of itself"},
    };
    for (const ROW &row : rows) {
        const NODE *where = nullptr;
        EXPECT_STREQ(tree_shape_error(row.tree, false, &where), row.error) << tree2infix(row.tree);
        EXPECT_EQ(where != nullptr, row.error != nullptr);
    }
    EXPECT_EQ(tree_shape_error(B(UMULT, N("p"), I(4), i), true), nullptr) << "normal form";
    node_census census;
    NODE *x = N("x");
    EXPECT_EQ(census.add(B(PLUS, x, N("x"))), nullptr);
    EXPECT_EQ(census.add(U(UMINUS, x)), x);
}
