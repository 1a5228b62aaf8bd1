// The register of functions: one record however a function is met, and what a name alone says.
#include "tests/unit/OPT5/program.h"

#include "OPT5/fileopt.h"
#include "OPT5/bif.h"
#include "OPT5/cfg.h"
#include "OPT5/pragma.h"
#include "OPT5/restrict.h"
#include "OPT5/symwiden.h"

namespace {

struct functions_known : program {
    NODE *call(NODE *callee) { return maketree(UCALL, callee, nullptr, v, nullptr); }
    NODE *address(SYMTAB *s) { return mk_UAND(name(s)); }
};

} // namespace

TEST_F(functions_known, a_function_has_one_record_however_it_is_met) {
    FUNINFO *called_first = make_FUNINFO("late");
    EXPECT_FALSE(called_first->has_symbol_of_its_own());
    EXPECT_EQ(called_first->symbol->sclass, SC_EXTREF);
    SYMTAB *late = global("late", function_type(i));
    EXPECT_EQ(make_FUNINFO(late), called_first);
    EXPECT_EQ(called_first->symbol, late);
    EXPECT_EQ(make_FUNINFO("late"), called_first);

    SYMTAB *early = global("early", function_type(i));
    FUNINFO *f1 = make_FUNINFO(early);
    EXPECT_EQ(make_FUNINFO(early), f1);
    EXPECT_EQ(find_FUNINFO("early"), f1);
    EXPECT_TRUE(f1->has_symbol_of_its_own());

    EXPECT_EQ(find_FUNINFO("nobody"), nullptr);
    EXPECT_NE(find_FUNINFO("strlen"), nullptr)
        << "a library function has a record before anything declares it";
}

TEST_F(functions_known, the_name_means_the_definition_where_there_are_several) {
    SYMTAB *declared = global("twice", function_type(i), SC_EXTREF);
    SYMTAB *defined = global("twice", function_type(i));
    EXPECT_NE(make_FUNINFO(declared), make_FUNINFO(defined));
    EXPECT_EQ(make_FUNINFO("twice")->symbol, defined);
    EXPECT_EQ(make_FUNINFO("twice"), find_FUNINFO(defined));
}

TEST_F(functions_known, names_lose_their_prefix) {
    TYPE_PKG::abi = 0;
    SYMTAB *s = global("_prefixed", function_type(i));
    EXPECT_EQ(make_FUNINFO(s)->name, "prefixed");
    EXPECT_EQ(make_FUNINFO("prefixed"), make_FUNINFO(s));
    TYPE_PKG::abi = 1;
}

TEST_F(functions_known, definitions_are_referenced_unless_nothing_outside_calls) {
    const struct {
        int sclass, policy;
        bool closed;
        bool referenced;
    } rows[] = {
        {SC_EXTDEF, POLICY_DEFAULT_C, false, true}, {SC_EXTDEF, POLICY_DEFAULT_C, true, false},
        {SC_EXTDEF, POLICY_ALWAYS, true, true},     {SC_STATIC, POLICY_DEFAULT_C, false, false},
        {SC_STATIC, POLICY_ALWAYS, false, true},    {SC_EXTREF, POLICY_DEFAULT_C, false, false},
    };
    int n = 0;
    for (const auto &row : rows) {
        no_outside_callers = row.closed;
        SYMTAB *s =
            symbol(("r" + std::to_string(n++)).c_str(), function_type(i), row.sclass, 0, 0, row.policy);
        EXPECT_EQ(make_FUNINFO(s)->has_flag(FUN_is_referenced), row.referenced) << n;
    }
    no_outside_callers = false;
}

TEST_F(functions_known, what_a_name_alone_says) {
    constexpr uint32_t SYSTEM = FUN_is_SYSTEM;
    const struct {
        const char *name;
        uint32_t flags;
    } rows[] = {
        {"main", FUN_is_main},
        {"_system_pre_init", FUN_is_cg_root},
        {"__mpu_init", FUN_is_cg_root},
        {"__sti___7_a_cpp", FUN_is_cg_root},
        {"user_function", 0},
        {"strcpy", SYSTEM | 0x180},
        {"strlen", SYSTEM | 0x410180},
        {"memset", SYSTEM | 0x800180},
        {"abs", SYSTEM | 0xC30180},
        {"_sqrt", SYSTEM | 0xC30180},
        {"malloc", SYSTEM | 0xC10180},
        {"qsort", SYSTEM},
        {"longjmp", SYSTEM | FUN_never_returns},
        {"exit", SYSTEM | FUN_never_returns}, // its handlers read and write globals
        {"printf", SYSTEM | 0x180},           // %n stores
    };
    for (const auto &row : rows) EXPECT_EQ(make_FUNINFO(row.name)->flags, row.flags) << row.name;
    EXPECT_TRUE(is_system_function("__cxa_allocate_exception"));
    EXPECT_TRUE(is_system_function("wctomb"));
    EXPECT_FALSE(is_system_function("__"));
    EXPECT_FALSE(is_system_function("zzz"));
    cache_sys_funinfo = 0;
    EXPECT_EQ(make_FUNINFO("strcat")->flags, 0u) << "the file says that the library is not what it seems";
    cache_sys_funinfo = 2;
}

TEST_F(functions_known, calls_lead_to_their_function) {
    SYMTAB *fn = global("fn", function_type(i));
    TYPE *pointer = tp->mk_ptr(fn->type);
    SYMTAB *constant = global("constant", tp->mk_qual(pointer, QUAL_const));
    SYMTAB *variable = global("variable", pointer);
    SYMTAB *weak = global("weak", tp->mk_qual(pointer, QUAL_const));
    for (SYMTAB *s : {constant, variable, weak}) s->known_init = address(fn);
    add_pragma(weak, PRAG_QL_WEAK, {});
    SYMTAB *unknown = global("unknown", tp->mk_qual(pointer, QUAL_const));
    const struct {
        NODE *tree;
        const char *callee; // null: none
    } rows[] = {
        {call(address(fn)), "fn"},
        {call(name(constant)), "fn"},
        {call(name(variable)), nullptr},
        {call(name(weak)), nullptr},
        {call(name(unknown)), nullptr},
        {call(maketree(UMULT, name(variable), nullptr, fn->type, nullptr)), nullptr},
        {maketree(ABS, icon(1), nullptr, i, nullptr), "labs"},
        {maketree(ABS, name(global("dv", d)), nullptr, d, nullptr), "fabs"},
        {maketree(SQRT, name(global("dw", d)), nullptr, d, nullptr), "_sqrt"},
        {maketree(MEMCPY, nullptr, nullptr, v, nullptr), "memcpy"},
        {icon(1), nullptr},
    };
    for (const auto &row : rows) {
        FUNINFO *found = find_FUNINFO_for_call(row.tree);
        EXPECT_EQ(found ? found->name : "none", row.callee ? row.callee : "none")
            << node_operator_name[row.tree->op];
        erase_tree(row.tree);
    }
}

TEST_F(functions_known, pragmas_set_flags) {
    const struct {
        int number;
        std::vector<std::string> args;
        uint32_t flags;
    } rows[] = {
        {PRAG_FUNC_NEVER_RETURNS, {}, FUN_never_returns},
        {PRAG_FUNC_IS_PURE, {}, FUN_is_pure_fun},
        {PRAG_FUNC_NO_GLOBAL_ASG, {}, FUN_no_global_asg},
        {PRAG_FUNC_NO_IND_ASG, {}, FUN_no_ind_asg},
        {PRAG_FUNC_CANNOT_INLINE, {}, 0x22},
        {PRAG_QL_WEAK, {}, 0x22},
        {PRAG_FUNC_ESPEC, {"x", "1"}, 0x22},
        {PRAG_FUNC_ESPEC, {"x", "0"}, 0},
        {PRAG_FUNC_ESPEC, {}, 0},
        {PRAG_SRC_LANGUAGE, {"C++"}, FUN_is_cpp},
        {PRAG_SRC_LANGUAGE, {"C"}, 0},
        {PRAG_SRC_LANGUAGE, {}, 0},
        {PRAG_SYM_VISIBILITY, {"default"}, 0x1040222},
        {PRAG_SYM_VISIBILITY, {"extern"}, 0x1040222},
        {PRAG_SYM_VISIBILITY, {"protected"}, 0x1040202},
        {PRAG_SYM_VISIBILITY, {"hidden"}, 0},
        {PRAG_SYM_VISIBILITY, {}, 0},
        {PRAG_UNUSED, {}, 0},
    };
    int n = 0;
    for (const auto &row : rows) {
        SYMTAB *s = global(("p" + std::to_string(n++)).c_str(), function_type(i), SC_STATIC);
        no_outside_callers = true;
        opt_process_pragma(s, add_pragma(s, row.number, row.args));
        EXPECT_EQ(make_FUNINFO(s)->flags, row.flags) << PRAGMA::name(row.number) << " " << n;
        bool opened = row.flags & FUN_is_cg_root;
        EXPECT_EQ(no_outside_callers, !opened) << PRAGMA::name(row.number) << " " << n;
        EXPECT_EQ(symbol_is_outside_accessible(s), opened);
        EXPECT_EQ(symbol_is_preemptible(s), row.flags == 0x1040222);
        EXPECT_EQ(symbol_is_protected(s), row.flags == 0x1040202);
    }
    no_outside_callers = false;
}

TEST_F(functions_known, a_nonconforming_function_is_not_what_its_name_says) {
    SYMTAB *s = global("abs", function_type(i));
    FUNINFO *abs = make_FUNINFO(s);
    EXPECT_TRUE(abs->has_flag(FUN_is_pure_fun));
    opt_process_pragma(s, add_pragma(s, PRAG_QL_WEAK, {}));
    opt_process_pragma(s, add_pragma(s, PRAG_FUNC_IS_NONCONFORMING, {}));
    EXPECT_EQ(abs->flags, FUN_is_referenced | 0x22u) << "weak and visible it is still";
    EXPECT_TRUE(func_is_nonconforming(s));
    opt_process_pragma(s, add_pragma(s, PRAG_SRC_LANGUAGE, {"C++"})); // asks the name again
    opt_process_pragma(s, add_pragma(s, PRAG_FUNC_IS_PURE, {}));
    EXPECT_EQ(abs->flags, FUN_is_referenced | FUN_is_cpp | 0x22u);
}

TEST_F(functions_known, only_undefined_built_ins_order_memory) {
    init_BIF_descriptors();
    const struct {
        const char *name;
        int sclass;
        bool barrier;
    } rows[] = {{"_set_CPSR", SC_EXTREF, true},
                {"_set_CPSR", SC_EXTDEF, false}, // the program's own
                {"_norm", SC_EXTREF, false},
                {"printf", SC_EXTREF, false}};
    for (const auto &row : rows)
        EXPECT_EQ(is_barrier_MCALL(global(row.name, function_type(v), row.sclass)), row.barrier) << row.name;
    EXPECT_FALSE(is_barrier_MCALL(global("_set_CPSR", i, SC_EXTREF)));
}

TEST_F(functions_known, synonyms_of_the_input_know_their_target) {
    SYMTAB *s = global("alias_of", function_type(d));
    opt_process_pragma(s, add_pragma(s, PRAG_FUNC_SYNONYM, {"target", "1"}));
    FUNINFO *alias = make_FUNINFO(s), *target = make_FUNINFO("target");
    EXPECT_EQ(alias->flags & 0x40800, 0x40800u);
    EXPECT_EQ(target->flags & 0x40200, 0x40200u);
    EXPECT_EQ(alias->return_type, d);
}

TEST_F(functions_known, pragmas_of_data_and_of_statements) {
    SYMTAB *s = global("data", tp->mk_qual(i, QUAL_const));
    no_outside_writers = true;
    opt_process_pragma(s, add_pragma(s, PRAG_SYM_VISIBILITY, {"hidden"}));
    EXPECT_EQ(s->cqual, 0);
    EXPECT_TRUE(no_outside_writers);
    opt_process_pragma(s, add_pragma(s, PRAG_SYM_VISIBILITY, {"protected"}));
    EXPECT_EQ(s->cqual, 0xE000);
    EXPECT_FALSE(no_outside_writers);

    SYMTAB *used = global("used", tp->mk_qual(i, QUAL_const)),
           *entry = global("entry", function_type(v), SC_STATIC);
    for (SYMTAB *kept : {used, entry}) {
        kept->policy = POLICY_ALWAYS; // as the file's reader does
        opt_process_pragma(kept, add_pragma(kept, PRAG_SYM_IS_REFERENCED, {}));
    }
    EXPECT_EQ(used->cqual, 0xE000);
    EXPECT_TRUE(make_FUNINFO(entry)->has_flag(FUN_is_referenced));

    begin_function("f");
    PRAGMA *p = new PRAGMA;
    p->number = PRAG_MUST_ITERATE;
    p->args = {"4", "", "many"};
    opt_process_pragma(nullptr, p);
    NODE *n = f->statements->tree;
    ASSERT_EQ(n->op, PPRAGMA);
    EXPECT_EQ(n->scope, curr_scope);
    const int expected[] = {4, -1, -1, -1};
    for (int k = 0; k < 4; k++) EXPECT_EQ(get_PPRAGMA_tree_int_arg(n, k), INT65(expected[k])) << k;
    EXPECT_STREQ(get_PPRAGMA_tree_arg(n, 2), "many");
    EXPECT_EQ(get_PPRAGMA_tree_arg(n, 3), nullptr);
    NODE *copy = copy_ppragma_tree(n);
    set_PPRAGMA_tree_int_arg(copy, 4, INT65(-1) << 40);
    EXPECT_EQ(n->pragma->args.size(), 3u);
    EXPECT_EQ(get_PPRAGMA_tree_int_arg(copy, 4), INT65(-1) << 40);
    set_PPRAGMA_tree_info(copy, PRAG_UNROLL, 1);
    EXPECT_STREQ(get_PPRAGMA_tree_arg(copy, 0), "");
    erase_tree(copy);
    erase_tree_list(f->statements);
    f->statements = nullptr;
}

TEST_F(functions_known, the_end_of_a_body_leaves_nothing_but_the_record) {
    SYMTAB *other = global("other", function_type(v));
    FUNINFO *integrated_in = make_FUNINFO(other);
    size_t nodes = nodes_in_use();
    static int erasers_run;
    erasers_run = 0;
    register_body_eraser([](FUNINFO *) { erasers_run++; });
    for (int n = 0; n < 200; n++) {
        begin_function(("f" + std::to_string(n)).c_str());
        SYMTAB *p = symbol("p", tp->mk_ptr(i), SC_REG_PARM, 1), *q = local("p", tp->mk_ptr(i));
        SYMTAB *t = sym_temp('T', -1, i, nullptr), *dropped = local("dropped", i);
        add_pragma(dropped, PRAG_UNUSED, {"x"});
        for (int k = 0; k < 20; k++) LS_open(nullptr, nullptr, 0);
        find_or_make_PTR_entry(q);
        make_widened_symbol_entry(t, c);
        intern_symbol(t, integrated_in);
        f->eht_size = 2;
        f->eht = new EHT_ENTRY[2];
        f->eht[1].cleanup = mk_UAND(name(dropped));
        f->statements = mkelist(name(t), nullptr, nullptr);
        BBLK *first = mkbblock(mkelist(mk_ASG(name(q), name(p)), nullptr, nullptr), nullptr, f);
        first->dflink = mkbblock(mkelist(call(address(other)), nullptr, nullptr), first, f);
        first->succs = mkedge(first->dflink, nullptr);
        first->dflink->preds = mkedge(first, nullptr);
        first->labels = mklabel(0, nullptr, first);
        f->bb_list = first;
        f->first_statement = copy_tree(first->statements->tree);
        sym_split(f);
        f->nonscalars = unlink_symbol(dropped, f->nonscalars);
        erase_all();
        EXPECT_TRUE(f->body_erased);
        EXPECT_EQ(f->bb_list, nullptr);
        EXPECT_TRUE(f->blocks.empty() && f->owned_symbols.empty());
        EXPECT_EQ(f->scopes, nullptr);
        EXPECT_EQ(make_FUNINFO(currfunc), f);
    }
    EXPECT_EQ(nodes_in_use(), nodes);
    EXPECT_EQ(erasers_run, 200);
    currfuninfo = integrated_in;
    EXPECT_EQ(integrated_in->owned_symbols.size(), 200u);
    erase_all();
}
