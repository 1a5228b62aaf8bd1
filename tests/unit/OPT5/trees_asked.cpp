// Questions about trees: effects, constants, argument prologs, what changes what, addresses.
#include "trees_world.h"

#include "OPT5/cfg.h"

namespace {

using trees_asked = trees_world;

} // namespace

TEST_F(trees_asked, effects_and_constants) {
    symbol("v", vol), symbol("p", ptr), symbol("k", konst), symbol("r", record);
    symbol("vr", tp->mk_qual(record, QUAL_volatile)), symbol("kr", tp->mk_qual(record, QUAL_const));
    global("g", i), global("kg", konst), global("table", tp->mk_array(konst, false, 8));
    SYMTAB *f = function("f");
    auto address = [&](const char *name) { return mk_UAND(N(name)); };
    auto element = [&](NODE *index) {
        return deref(B(PLUS, maketree(PCONV, address("table"), nullptr, ptr, nullptr), index, ptr), konst);
    };
    NODE *fact = mk_ICALL("def$assert", args({N("x"), U(ASSERT, B(GT, N("x"), I(0)))}), i);
    NODE *volatile_fact = mk_ICALL("def$assert", args({N("v"), U(ASSERT, I(1))}), i);
    NODE *volatile_member = dot(N("kr"), field_a);
    volatile_member->type = vol;
    // GLOBAL means the same everywhere, and is CONSTANT
    enum { PURE = 0, EFFECT = 1, CONSTANT = 2, GLOBAL = 6 };
    struct ROW {
        NODE *tree;
        int is;
    } rows[] = {
        {I(1), GLOBAL},
        {N("x"), PURE},
        {N("v"), EFFECT},
        {N("k"), CONSTANT},
        {N("g"), PURE},
        {N("kg"), GLOBAL},
        {B(PLUS, N("k"), N("x")), PURE},
        {B(PLUS, N("x"), N("v")), EFFECT},
        {deref(N("p")), PURE},
        {deref(N("p"), vol), EFFECT},
        {deref(N("p"), konst), PURE}, // others may write it
        {element(I(4)), GLOBAL},
        {element(N("k")), CONSTANT},
        {element(N("x")), PURE},
        {mk_UAND(N("v")), CONSTANT}, // no access
        {mk_UAND(N("g")), GLOBAL},
        {mk_UAND(dot(N("vr"), field_a)), CONSTANT},
        {mk_UAND(deref(N("p"), vol)), EFFECT},
        {dot(N("vr"), field_a), EFFECT},
        {dot(N("r"), field_a), PURE},
        {dot(N("kr"), field_a), CONSTANT},
        {volatile_member, EFFECT},
        {mk_ASG(N("x"), I(1)), EFFECT},
        {B(PLUS, I(1), B(PLUSPLUS, N("x"), I(1))), EFFECT},
        {call(f, nullptr), EFFECT},
        {mk_ICALL("_f", I(1), i), GLOBAL},
        {mk_ICALL("_f", nullptr, i), PURE}, // might read a register
        {mk_MCALL("_f", I(1), i), EFFECT},
        {fact, PURE},
        {volatile_fact, EFFECT},
        {B(CSE_DUPE, mk_ASG(N("t"), I(1)), N("x")), PURE}, // judged by its value
        {B(CSE_ORIG, N("t"), mk_ASG(N("t"), I(1))), EFFECT},
        {B(COMMAOP, I(1), I(2)), EFFECT},
        {mk_ASM_comment("x"), EFFECT},
        {U(SCONV, B(DIV, I(7), N("kg")), c), GLOBAL},
        {new NODE(MIXVALUE, i), PURE},
    };
    for (const ROW &row : rows) {
        EXPECT_EQ(tree_has_side_effects(row.tree), row.is == EFFECT) << tree2infix(row.tree);
        EXPECT_EQ(expr_is_constant(row.tree), (row.is & CONSTANT) != 0) << tree2infix(row.tree);
        EXPECT_EQ(expr_is_globally_evaluable(row.tree), row.is == GLOBAL) << tree2infix(row.tree);
    }
    EXPECT_FALSE(tree_has_side_effects(nullptr));
    EXPECT_FALSE(expr_is_constant(nullptr));
    NODE *assembly = mk_ASM_comment("nop");
    EXPECT_TRUE(tree_is_ASM_comment(assembly));
    assembly->u.lval = INT65(ASM_ASSEMBLY);
    EXPECT_FALSE(tree_is_ASM_comment(assembly));
}

TEST_F(trees_asked, argument_prologs) {
    auto parm = [&](const char *name) { return symbol(name, i, 1, SC_PARM); };
    SYMTAB *a1 = parm("a"), *b1 = parm("b"), *p1 = symbol("p", ptr, 1, SC_PARM);
    SYMTAB *a2 = symbol("a", c), *b2 = symbol("b", i), *p2 = symbol("p", ptr);
    p1->cpp_type = tp->mk_ref(i);
    auto set = [&](SYMTAB *local, NODE *value) { return mk_ASG(N(local), value); };
    auto narrow = [&](SYMTAB *s) { return U(SCONV, N(s), c); };
    struct ROW {
        NODE *tree;
        bool prolog, extended;
    } rows[] = {
        {set(b2, N(b1)), true, true},
        {set(a2, narrow(a1)), true, true},
        {U(SSA_DEF, N(b2)), false, false},
        {mk_ASG(U(SSA_DEF, N(b2)), U(SSA_USE, N(b1))), true, true},
        {B(PCOMMA, B(PCOMMA, set(a2, narrow(a1)), set(b2, N(b1))), set(p2, N(p1))), true, true},
        {B(PCOMMA, set(a2, I(5)), set(b2, N(b1))), false, true}, // a parameter that became a constant
        {set(a2, I(5)), false, false},
        {set(b2, N(a1)), false, false},                    // another parameter
        {set(a1, N(a1)), false, false},                    // not to a local
        {set(b2, B(PLUS, N(b1), I(1))), false, false},     // computed
        {set(b2, N(b2)), false, false},                    // not from a parameter
        {B(COMMAOP, set(b2, N(b1)), N(b2)), false, false}, // not in statement form
        {B(PCOMMA, call(function("f"), nullptr), set(b2, N(b1))), false, false},
        {B(PLUSASG, N(b2), N(b1)), false, false},
        {nullptr, false, false},
    };
    for (const ROW &row : rows) {
        EXPECT_EQ(tree_is_arg_prolog(row.tree), row.prolog) << tree2infix(row.tree);
        EXPECT_EQ(tree_is_extended_arg_prolog(row.tree), row.extended) << tree2infix(row.tree);
    }
    FUNINFO info;
    currfuninfo = &info;
    EXPECT_EQ(map_sym_to_parm(b2), nullptr);
    info.first_statement = rows[4].tree;
    EXPECT_EQ(map_sym_to_parm(a2), a1);
    EXPECT_EQ(map_sym_to_parm(a1), a1);
    EXPECT_EQ(map_sym_to_parm(sym("x")), nullptr);
    EXPECT_EQ(map_parm_to_sym(p1), p2);
    EXPECT_EQ(map_parm_to_sym(p2), nullptr);
    EXPECT_TRUE(lvalue_is_a_ref_parm(deref(N(p2))));
    EXPECT_TRUE(lvalue_is_a_ref_parm(dot(deref(N(p2), record), field_b)));
    EXPECT_FALSE(lvalue_is_a_ref_parm(N(p2)));
    EXPECT_FALSE(lvalue_is_a_ref_parm(deref(N(symbol("q", ptr)))));
    EXPECT_TRUE(tree_addresses_an_argument(B(PLUS, I(1), mk_UAND(N(b2)))));
    EXPECT_FALSE(tree_addresses_an_argument(mk_UAND(N("x"))));
    info.first_statement = nullptr;
}

TEST_F(trees_asked, what_a_statement_changes) {
    SYMTAB *f = function("f"), *address_taken = symbol("taken", i);
    address_taken->flags |= SF_ALIASED;
    symbol("p", ptr), symbol("r", record), global("g", i), symbol("still", i, 2, SC_STATIC);
    auto set = [&](const char *name) { return mk_ASG(N(name), I(1)); };
    NODE *assembly = mk_ASM_comment("mov r0, r1");
    assembly->u.lval = INT65(ASM_ASSEMBLY);
    auto call_with_address = [&] { return call(f, U(ARGREF, N("x"), ptr)); };
    struct ROW {
        NODE *statement, *tree;
        bool changes;
    } rows[] = {
        {set("x"), B(PLUS, N("x"), I(1)), true},
        {set("y"), B(PLUS, N("x"), I(1)), false},
        {set("x"), mk_UAND(N("x")), false}, // the address stays
        {B(PLUSPLUS, N("x"), I(1)), N("x"), true},
        {B(COMMAOP, I(1), mk_ASG(U(SSA_DEF, N("x")), I(2))), N("x"), true},
        {mk_ASG(dot(N("r"), field_a), I(1)), N("r"), true},
        {set("x"), deref(B(PLUS, N("x"), N("p"), ptr)), true}, // the address is read
        {mk_ASG(deref(N("p")), I(1)), N("g"), true},
        {call(f, nullptr), N("g"), true},
        {call(f, nullptr), N("still"), true},
        {call(f, nullptr), N("taken"), true},
        {call(f, nullptr), deref(N("p")), true},
        {call(f, nullptr), N("x"), false},
        {call_with_address(), N("x"), true},
        {call_with_address(), N("y"), false},
        {mk_MCALL("_f", I(1), i), N("g"), true},
        {mk_ICALL("_f", N("g"), i), N("g"), false},
        {assembly, N("g"), true},
        {assembly, N("x"), false},
        {mk_ASM_comment("mov r0, r1"), N("g"), false},
        {call(f, nullptr), I(1), false},
    };
    for (const ROW &row : rows) {
        std::string text = tree2infix(row.statement) + "  changes  " + tree2infix(row.tree);
        EXPECT_EQ(tree_modifies_lvalue_in_tree(row.statement, row.tree), row.changes) << text;
        FUNINFO info;
        BBLK bb(&info);
        bb.statements = mkelist(set("unrelated"), mkelist(row.statement, nullptr, nullptr), nullptr);
        // (*p may be anything, also what is set first)
        if (row.tree->op != UMULT) {
            EXPECT_EQ(bb_modifies_lvalue_in_tree(&bb, row.tree), row.changes) << text;
        }
        erase_tree_list_only(bb.statements);
    }
}

TEST_F(trees_asked, addresses_and_their_constant_parts) {
    TYPE *rptr = tp->mk_ptr(record);
    symbol("r", record), symbol("p", ptr), symbol("q", rptr);
    SYMTAB *weak = global("weak", i);
    PRAGMA is_weak;
    is_weak.number = PRAG_QL_WEAK;
    weak->pragmas = &is_weak;
    auto plus = [&](NODE *a, NODE *b) { return B(PLUS, a, b, ptr); };
    auto address = [&](NODE *lvalue) { return maketree(UAND, lvalue, nullptr, ptr, nullptr); };
    NODE *scon = new NODE(SCON, ptr);
    scon->mk_scon("s", 2);
    struct ROW {
        NODE *pointer;
        int offset;
        bool adcon, term;
    } rows[] = {
        {N("p"), 0, false, false},
        {plus(N("p"), I(12)), 12, false, false},
        {plus(I(12), N("p")), 12, false, false},
        {B(MINUS, plus(N("p"), I(12)), I(4), ptr), 8, false, false},
        {plus(plus(N("p"), I(8)), B(MULT, N("x"), I(4))), 8, false, false},
        {U(PCONV, plus(U(NONALIGN, N("p")), I(2)), ptr), 2, false, false},
        {address(N("x")), 0, true, true},
        {address(dot(N("r"), field_b)), 4, true, true},
        {plus(address(dot(N("r"), field_b)), I(2)), 6, true, true},
        {plus(address(N("r")), N("x")), 0, false, true},
        {plus(N("x"), address(N("r"))), 0, false, true},
        {address(dot(deref(N("q"), record), field_b)), 4, false, false},
        {address(dot(deref(plus(address(N("r")), I(8)), record), field_b)), 12, true, false},
        {scon, 0, true, true},
        {address(N("weak")), 0, true, false}, // may be null at run time
        {U(PCONV, U(SCONV, address(N("x")), u), ptr), 0, false, false},
        {U(PCONV, I(64), ptr), 0, false, false},
    };
    for (const ROW &row : rows) {
        EXPECT_EQ(total_pointer_offset_value(row.pointer), INT65(row.offset)) << tree2infix(row.pointer);
        EXPECT_EQ(byte_offset_on_indirection(deref(row.pointer)), INT65(row.offset))
            << tree2infix(row.pointer);
        EXPECT_EQ(pointer_is_an_adcon(row.pointer), row.adcon) << tree2infix(row.pointer);
        EXPECT_EQ(pointer_contains_adcon_term(row.pointer), row.term) << tree2infix(row.pointer);
    }
    EXPECT_EQ(byte_offset_on_indirection(B(UMULT, plus(N("p"), I(4)), I(8), i)), INT65(12)) << "normal form";
    EXPECT_EQ(byte_offset_on_indirection(dot(deref(plus(N("q"), I(16)), record), field_b)), INT65(20));
    weak->pragmas = nullptr;
}

TEST_F(trees_asked, alignment_that_an_access_may_count_on) {
    TYPE *rptr = tp->mk_ptr(record);
    symbol("r", record)->align = 64;
    symbol("q", rptr);
    EXPECT_TRUE(is_lvalue_sufficiently_aligned(N("r"), 64));
    EXPECT_TRUE(is_lvalue_sufficiently_aligned(dot(N("r"), field_a), 64));
    EXPECT_FALSE(is_lvalue_sufficiently_aligned(dot(N("r"), field_b), 64)) << "32 bits in";
    EXPECT_TRUE(is_lvalue_sufficiently_aligned(dot(N("r"), field_b), 32));
    EXPECT_TRUE(is_lvalue_sufficiently_aligned(deref(N("q"), record), 32));
    EXPECT_FALSE(is_lvalue_sufficiently_aligned(deref(N("q"), record), 64));
    EXPECT_FALSE(is_lvalue_sufficiently_aligned(deref(U(NONALIGN, N("q")), record), 32));
}

TEST_F(trees_asked, occurrences) {
    SYMTAB *f = function("f");
    NODE *tree =
        B(PLUS, B(MULT, N("x"), N("y")), B(QUEST, B(LT, N("x"), I(3)), B(COLON, N("z"), call(f, N("y")))));
    EXPECT_TRUE(sym_appears_in_tree(sym("z"), tree));
    EXPECT_FALSE(sym_appears_in_tree(sym("t"), tree));
    EXPECT_EQ(count_lvalues_in_tree(N("x"), tree), 2);
    EXPECT_EQ(count_calls_in_tree(tree), 1);
    EXPECT_EQ(count_nodes_in_tree(tree), 14);
    EXPECT_EQ(count_nodes_in_tree(tree, true), 7);
    EXPECT_EQ(count_nodes_in_tree(N("x"), true), 0);
    EXPECT_TRUE(tree_is_subtree_of_tree(B(MULT, N("y"), N("x")), tree));
    EXPECT_FALSE(tree_is_subtree_of_tree(B(MULT, N("y"), N("z")), tree));
    EXPECT_TRUE(tree_is_strict_subtree_of_tree(B(MULT, N("y"), N("x")), tree));
    EXPECT_TRUE(tree_is_strict_subtree_of_tree(B(LT, N("x"), I(3)), tree));
    EXPECT_TRUE(tree_is_subtree_of_tree(N("z"), tree));
    EXPECT_FALSE(tree_is_strict_subtree_of_tree(N("z"), tree)) << "evaluated at times only";
    NODE *both = B(ANDAND, N("x"), N("y"));
    EXPECT_TRUE(tree_is_strict_subtree_of_tree(N("x"), both));
    EXPECT_FALSE(tree_is_strict_subtree_of_tree(N("y"), both));
    EXPECT_EQ(get_callee_for_call(call(f, nullptr)), f);
    EXPECT_EQ(get_callee_for_call(maketree(UCALL, N("x"), nullptr, i, nullptr)), nullptr);
    EXPECT_EQ(arg_list_count(get_arguments_to_call(call(f, args({I(1), I(2)})))), 2);
    EXPECT_EQ(get_arguments_to_call(call(f, nullptr)), nullptr);
    EXPECT_EQ(arg_list_count(get_arguments_to_call(mk_ICALL("_f", I(1), i))), 1);
}
