// Trees and flow graphs as text.
#include "trees_world.h"

#include "OPT5/cfg.h"
#include "support/fps_text.h"
#include "support/register_option.h"

namespace {

using trees_infix = trees_world;

std::string printed(void (*print)(FILE *)) {
    char *text = nullptr;
    size_t size = 0;
    FILE *to = open_memstream(&text, &size);
    print(to);
    fclose(to);
    std::string result(text, size);
    free(text);
    return result;
}

} // namespace

TEST_F(trees_infix, expressions) {
    symbol("r", record), symbol("p", ptr), symbol("q", tp->mk_ptr(record));
    SYMTAB *f = function("f");
    simul_fval value;
    f_atof("0.5", &value);
    NODE *scon = new NODE(SCON, ptr), *member = dot(N("q"), field_b), *wrong = N("x"), *no_symbol = N("x");
    scon->mk_scon("a\"\n\1", 5);
    member->op = STREF;
    wrong->op = 120;
    no_symbol->u.sym = nullptr;
    NODE *use = U(SSA_USE, N("x"));
    use->rare().depnum = 4;
    struct ROW {
        NODE *tree;
        const char *text;
    } rows[] = {
        {B(MULT, B(PLUS, N("x"), N("y")), N("z")), "(x + y) * z"},
        {B(PLUS, B(MULT, N("x"), N("y")), N("z")), "x * y + z"},
        {B(MINUS, N("x"), B(MINUS, N("y"), N("z"))), "x - (y - z)"},
        {B(MINUS, B(MINUS, N("x"), N("y")), N("z")), "x - y - z"},
        {mk_ASG(N("x"), mk_ASG(N("y"), I(-1))), "x = y = -1"},
        {B(PLUSASG, N("x"), B(COMMAOP, N("y"), N("z"))), "x += (y, z)"},
        {B(ANDAND, B(OROR, N("x"), N("y")), U(EXCLAIM, N("z"))), "(x || y) && !z"},
        {B(QUEST, N("x"), B(COLON, N("y"), B(QUEST, N("z"), B(COLON, I(1), I(2))))), "x ? y : (z ? 1 : 2)"},
        {B(ULT, N("x"), I(1, u)), "x <u 1u"},
        {B(FLEN, N("x"), N("y"), i), "x <=fn y"},
        {I(1, ull), "1uLL"},
        {mk_FCON(value, flt), "0.5f"},
        {mk_FCON(one, dbl), "1.0"},
        {scon, "\"a\\\"\\n\\001\""},
        {deref(B(PLUS, N("p"), I(4), ptr)), "*(p + 4)"},
        {B(UMULT, N("p"), N("x"), i), "*(p + x)"},
        {U(UMINUS, U(UMINUS, N("x"))), "-(-x)"},
        {U(SCONV, B(PLUS, N("x"), N("y")), sh), "(short)(x + y)"},
        {B(PLUS, U(SCONV, N("x"), ll), I(1, ll)), "(long long)x + 1LL"},
        {mk_UAND(dot(N("r"), field_a)), "&r.a"},
        {dot(deref(N("q"), record), field_b), "q->b"},
        {member, "q->b"},
        {dot(deref(deref(N("q"), tp->mk_ptr(record)), record), field_b), "(*q)->b"},
        {B(PLUSPLUS, N("x"), I(1)), "x++"},
        {B(MINMIN, N("p"), I(4)), "p--[4]"},
        {call(f, args({N("x"), B(COMMAOP, N("y"), I(2)), I(3)})), "f(x, (y, 2), 3)"},
        {call(f, nullptr), "f()"},
        {maketree(UCALL, deref(N("p")), nullptr, i, nullptr), "(*p)()"},
        {mk_ICALL("_norm", args({N("x"), I(3)}), i), "_norm(x, 3)"},
        {mk_MCALL("_wait", nullptr, i), "_wait()"},
        {U(ABS, N("x")), "abs(x)"},
        {U(ARGREF, N("x")), "argref(x)"},
        {use, "x.4"},
        {B(CSE_DUPE, N("t"), B(PLUS, N("x"), N("y"))), "dupe(x + y)"},
        // what is broken
        {nullptr, "<null>"},
        {wrong, "<op 120>"},
        {no_symbol, "<no symbol>"},
        {B(PLUS, N("x"), nullptr), "x + <null>"},
        {B(PLUS, new NODE(ILLOP, i), new NODE(FCON, dbl)), "<illegal> + <no value>"},
        {B(STDOT, N("r"), new NODE(FIELD, i), i), "r.<field>"},
        {new NODE(SCON, ptr), "<no text>"},
    };
    for (const ROW &row : rows) EXPECT_EQ(tree2infix(row.tree), row.text);
}

TEST_F(trees_infix, statements) {
    NODE *labels = B(COMMA, mk_LABELREF(1, 0), mk_LABELREF(2, -1));
    NODE *cases = B(COMMA, B(COMMA, B(CASE, I(1), mk_LABELREF(3, 0)), B(CASE, I(2), mk_LABELREF(4, 0))),
                    U(DEFAULT, mk_LABELREF(5, 0)));
    NODE *assembly = mk_ASM_comment("mov r0, r1");
    assembly->u.lval = INT65(ASM_ASSEMBLY);
    PRAGMA *pragma = new PRAGMA;
    pragma->number = PRAG_MUST_ITERATE;
    pragma->args = {"4", "8"};
    struct ROW {
        NODE *tree;
        const char *text;
    } rows[] = {
        {mk_ASG(N("x"), I(1)), "x = 1;"},
        {B(IF, B(LT, N("x"), I(3)), labels), "if (x < 3) goto L1; else goto L2;"},
        {U(BRANCH, mk_LABELREF(7, 0)), "goto L7;"},
        {B(CBRANCH, B(PLUS, N("x"), I(3)), mk_LABELREF(7, 0)), "if (!(x + 3)) goto L7;"},
        {B(RETURN, N("f"), B(PLUS, N("x"), I(1))), "return x + 1;"},
        {U(URETURN, N("f")), "return;"},
        {B(SWITCH, N("x"), cases), "switch (x) { case 1: goto L3, case 2: goto L4, default: goto L5 }"},
        {assembly, "asm mov r0, r1"},
        {mk_ASM_comment("here"), "comment here"},
        {mk_PPRAGMA(pragma), "#pragma MUST_ITERATE 4 8"},
        {U(NASSERT, B(NEQ, N("x"), I(0))), "nassert(x != 0);"},
        {B(IF, N("x"), nullptr), "if (x) goto <null>;"},
        {nullptr, "<null>;"},
    };
    for (const ROW &row : rows) EXPECT_EQ(stmt2infix(row.tree), row.text);
}

TEST_F(trees_infix, switches_say_more) {
    NODE *tree = B(MULT, B(PLUS, N("x"), I(1)), N("y"));
    tree->left->rare().depnum = 5;
    NODE *jump = U(BRANCH, mk_LABELREF(3, -1));
    sym("y")->cqual = CQ_REGISTER;
    auto with = [&](const char *name, NODE *t) {
        process_debug_option("debug", name);
        std::string text = tree2infix(t);
        process_debug_option("debug", (std::string(name) + "=0").c_str());
        return text;
    };
    EXPECT_EQ(with("dump_infix_types", tree), "((x{int} + 1{int}){int} * y{int}){int}");
    EXPECT_EQ(with("dump_serial", tree), "(x + 1)#5 * y");
    EXPECT_EQ(with("dump_infix_regs", tree), "(x + 1) * %y");
    EXPECT_EQ(with("dump_tree_hint", jump), "goto L3[unlikely]");
    EXPECT_EQ(tree2infix(tree), "(x + 1) * y");
}

TEST_F(trees_infix, endless_trees_end) {
    NODE *loop = B(PLUS, N("x"), N("y"));
    loop->right = loop;
    unsigned before = infix_limit_hits;
    std::string text = tree2infix(loop);
    EXPECT_EQ(text.substr(text.size() - 3), "...");
    EXPECT_EQ(infix_limit_hits, before + 1);
}

TEST_F(trees_infix, flow_graphs) {
    FUNINFO info;
    info.name = "work";
    currfuninfo = &info;
    PSN psn{"work.c", 12, 3};
    BBLK *exit = mkbblock(mkelist(U(URETURN, N("work")), nullptr, nullptr), nullptr, &info);
    BBLK *entry = mkbblock(mkelist(mk_ASG(N("x"), I(1)), nullptr, &psn), exit, &info);
    entry->dfn = entry->uon = 1, exit->dfn = 2, exit->uon = 7;
    entry->dflink = exit;
    info.bb_list = entry;
    info.bb_count = 2;
    entry->statements->next = mkelist(mk_BRANCH(exit, nullptr), nullptr, &psn);
    entry->succs = mkedge(exit, nullptr);
    exit->preds = mkedge(entry, nullptr);
    exit->labels->number = 4;
    EXPECT_EQ(printed(prbbinfix),
              "\n---- FLOW GRAPH OF work: 2 BLOCKS ----\n"
              "\nBB1:\n  from:\n  to: BB2\n     12  x = 1;\n     12  goto BB2;\n"
              "\nBB2 (created as 7), labels L4[1]:\n  from: BB1\n  to:\n      0  return;\n"
              "\n---- END ----\n\n");
    exit->dflink = entry; // a broken chain
    EXPECT_NE(printed(prbbinfix).find("CIRCULAR"), std::string::npos);
    process_debug_option("debug", "dump_minimal");
    exit->dflink = nullptr;
    EXPECT_EQ(printed(prbbinfix).find("from"), std::string::npos);
    process_debug_option("debug", "dump_minimal=0");
    process_debug_option("debug", "dump_psn");
    EXPECT_NE(printed(prbbinfix).find("work.c:12:3  x = 1;"), std::string::npos);
    process_debug_option("debug", "dump_psn=0");
}
