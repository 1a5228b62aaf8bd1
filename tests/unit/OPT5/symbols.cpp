// Symbols: what becomes of a file's record, look-ups by name, temporaries, chains, interned copies.
#include "tests/unit/OPT5/program.h"

#include "OPT5/fileopt.h"
#include "OPT5/pragma.h"

namespace {

struct symbols : program {};

constexpr uint16_t A = CQ_ALIASED, W = CQ_WRITTEN, R = CQ_REFERENCED;

} // namespace

TEST_F(symbols, globals_start_with_the_usage_that_nothing_will_compute) {
    TYPE *const_int = tp->mk_qual(i, QUAL_const);
    const struct {
        int level; // enumerator of the optimization level
        TYPE *type;
        int cqual, policy, expected;
    } rows[] = {
        {39, i, 0, POLICY_DEFAULT_C, A | W | R},        {39, i, CQ_REGISTER, POLICY_DEFAULT_C, W | R},
        {39, i, CQ_CREGISTER, POLICY_DEFAULT_C, W | R}, {39, const_int, 0, POLICY_DEFAULT_C, 0},
        {39, const_int, 0, POLICY_ALWAYS, A | W | R},   {40, i, 0, POLICY_DEFAULT_C, 0},
        {40, i, CQ_REGISTER, POLICY_ALWAYS, A | W | R},
    };
    for (const auto &row : rows) {
        options.setopt(OO_OPT_LEVEL, row.level);
        SYMTAB *s = symbol("g", row.type, SC_EXTDEF, 0, row.cqual | 0x2000 | 0x600, row.policy);
        EXPECT_EQ(s->cqual & ~CQ_FILE_MASK, row.expected)
            << row.level << " " << row.cqual << " " << row.policy;
        EXPECT_EQ(s->cqual & 0x600, 0) << "bits that a file may not set";
    }
}

TEST_F(symbols, a_record_that_contradicts_itself_is_refused) {
    TYPE *fn = function_type(v);
    const struct {
        const char *name;
        TYPE *type;
        uint32_t size;
        int sclass, level;
        bool good;
    } rows[] = {
        {"ok", i, 32, SC_EXTDEF, 0, true},
        {"ok", i, 32, SC_AUTO, 2, true},
        {"function_of_any_size", fn, 0, SC_EXTREF, 0, true},
        {"grouped_static", i, 32, 'l', 0, true},
        {"no_type", nullptr, 32, SC_EXTDEF, 0, false},
        {nullptr, i, 32, SC_EXTDEF, 0, false},
        {"size", i, 16, SC_EXTDEF, 0, false},
        {"size_in_bytes", i, 4, SC_AUTO, 2, false},
        {"class_0", i, 32, 0, 0, false},
        {"class_28", i, 32, 28, 2, false},
        {"negative_class", i, 32, -1, 0, false},
        {"auto_outside", i, 32, SC_AUTO, 0, false},
        {"static_inside", i, 32, SC_STATIC, 2, false},
    };
    begin_function("f");
    for (const auto &row : rows) {
        std::string error;
        SYMTAB *s = make_symbol_from_file(row.name, row.type, nullptr, row.size, 32, 0, row.sclass, 0,
                                          nullptr, 0, 0, 0, row.level, &error);
        EXPECT_EQ(s != nullptr, row.good) << (row.name ? row.name : "(null)");
        EXPECT_EQ(error.empty(), row.good) << error;
        erase_symbol(s);
    }
}

TEST_F(symbols, the_type_of_a_symbol_is_what_trees_see) {
    TYPE *e = tp->mk_enum("e", u, 32, 32, false);
    tp->type_frozen(e);
    TYPE *alias = tp->mk_typedef("e_t", false, tp->mk_qual(e, QUAL_volatile));
    SYMTAB *s = global("x", alias);
    EXPECT_EQ(s->type, tp->mk_qual(u, QUAL_volatile));
    EXPECT_EQ(s->otype, alias);

    begin_function("f");
    const struct {
        int sclass, becomes;
        bool aliased;
    } rows[] = {{SC_AUTO, SC_AUTO, true},          {SC_REG_LOCAL, SC_AUTO, false},
                {SC_REG_LOCAL2, SC_AUTO, false},   {SC_PARM, SC_PARM, true},
                {SC_REG_PARM, SC_REG_PARM, false}, {SC_SPECIAL_PARM, SC_PARM, true}};
    for (const auto &row : rows) {
        SYMTAB *l = symbol("l", i, row.sclass, 4);
        EXPECT_EQ(l->sclass, row.becomes);
        EXPECT_EQ(l->class_as_read, row.sclass);
        EXPECT_EQ(l->is_aliased(), row.aliased) << row.sclass;
        EXPECT_EQ(l->level, 2);
    }
    EXPECT_EQ(f->flags & 0x40022, 0x40022u)
        << "a special parameter keeps the function from being taken apart";
}

TEST_F(symbols, errno_is_the_first_int_of_that_name) {
    const struct {
        int abi;
        const char *name;
        TYPE *type;
        bool found;
    } rows[] = {
        {1, "errno", i, true},   {1, "_errno", i, false}, {1, "_Errno", i, true},
        {0, "_errno", i, true},  {0, ".errno", i, true},  {0, "_Errno", i, false},
        {0, "__Errno", i, true}, {1, "errno", sh, false}, {0, "_errno", d, false},
    };
    for (const auto &row : rows) {
        TYPE_PKG::abi = row.abi;
        erase_globals();
        SYMTAB *s = global(row.name, row.type);
        EXPECT_EQ(errno_symbol, row.found ? s : nullptr) << row.abi << " " << row.name;
        SYMTAB *later = global(row.name, i);
        if (row.found) { EXPECT_EQ(errno_symbol, s) << later->name; }
    }
    TYPE_PKG::abi = 1;
}

TEST_F(symbols, a_reference_finds_the_newest_definition_of_a_fitting_type) {
    SYMTAB *reference = global("x", i, SC_EXTREF);
    EXPECT_EQ(get_sym_def_for_decl(reference), reference);
    SYMTAB *definition = global("x", i);
    SYMTAB *other_type = global("x", d);
    SYMTAB *hidden = global("x", i, SC_STATIC);
    EXPECT_EQ(get_sym_def_for_decl(reference), definition);
    EXPECT_EQ(get_sym_def_for_decl(other_type), other_type);
    EXPECT_EQ(get_sym_def_for_decl(hidden), hidden);
    EXPECT_EQ(find_global_symbol("x"), hidden);
    EXPECT_EQ(get_sym_def_for_decl(nullptr), nullptr);

    rename_symbol(definition, "y");
    EXPECT_EQ(get_sym_def_for_decl(reference), reference);
    EXPECT_EQ(find_global_symbol("y"), definition);
    EXPECT_EQ(names(global_symbols), "x x y x");
    global_symbols = unlink_symbol(hidden, global_symbols);
    erase_symbol(hidden);
    EXPECT_EQ(find_global_symbol("x"), other_type);
}

TEST_F(symbols, a_hundred_thousand_globals_are_looked_up_without_walking_them) {
    for (int n = 0; n < 100000; n++) {
        std::string name = "g" + std::to_string(n);
        global(name.c_str(), i, SC_EXTREF);
        global(name.c_str(), i);
    }
    int found = 0;
    for (SYMTAB *s = global_symbols; s; s = s->next) found += get_sym_def_for_decl(s) != s;
    EXPECT_EQ(found, 100000);
}

TEST_F(symbols, temporaries_are_plain_variables_of_the_outermost_block) {
    begin_function("f");
    TYPE *e = tp->mk_enum("e", c, 8, 8, false);
    tp->type_frozen(e);
    TYPE *ci = tp->mk_qual(i, QUAL_const), *array = tp->mk_array(i, false, 4);
    const struct {
        TYPE *type, *becomes;
    } rows[] = {
        {i, i},
        {ci, i},
        {tp->mk_qual(e, QUAL_const), c},
        {e, c}, // as wide as the enum is, or a store would write beside it
        {array, array},
        {tp->mk_qual(array, QUAL_volatile), array},
        {tp->mk_array(tp->mk_array(ci, false, 4), false, 2), tp->mk_array(array, false, 2)},
        {tp->mk_ptr(ci), tp->mk_ptr(ci)},
    };
    for (const auto &row : rows) {
        SYMTAB *s = sym_temp('T', -1, row.type, nullptr);
        EXPECT_EQ(s->type, row.becomes) << row.type->printstr() << " -> " << s->type->printstr();
        EXPECT_EQ(s->size, row.becomes->size);
    }
    SYMTAB *first = sym_temp('K', 123456789012345678, i, nullptr);
    EXPECT_STREQ(first->name, "$O$K12345678901");
    EXPECT_EQ(std::string(names(f->temporaries)).substr(16, 6), "$O$T8 ");
    EXPECT_EQ(first->level, 2);
    EXPECT_EQ(first->sequence, 0u);
    EXPECT_EQ(first->flags & (SF_LOCAL | SF_ALIASED), SF_LOCAL);
    EXPECT_EQ(first->scope, LS_level_2_scope(f->scopes));
    EXPECT_NE(first->index, sym_temp('K', 1, i, curr_scope)->index);
}

TEST_F(symbols, names_of_temporaries_and_prefixes) {
    const struct {
        const char *name;
        bool temp;
    } rows[] = {
        {"$O$T1", true}, {"$O$T", true}, {"$O$K12", true},  {"$O$X1", false},  {"$O$T1a", false},
        {"$O$", false},  {"$O", false},  {"x$O$T1", false}, {"$O$T-1", false}, {"$O$TK", false},
    };
    for (const auto &row : rows) EXPECT_EQ(is_optimizer_temp(row.name, 'T', 'K'), row.temp) << row.name;
    begin_function("f");
    EXPECT_TRUE(is_operator_new_symbol(gen_operator_new_temp(tp->void_ptr_type())));
    for (int abi : {0, 1}) {
        TYPE_PKG::abi = abi;
        EXPECT_STREQ(skip_name_prefix("_x"), abi ? "_x" : "x");
        EXPECT_STREQ(skip_name_prefix(".x"), abi ? ".x" : "x");
        EXPECT_STREQ(skip_name_prefix("__x"), abi ? "__x" : "_x");
        EXPECT_STREQ(skip_name_prefix("x"), "x");
        EXPECT_STREQ(skip_name_prefix(""), "");
    }
}

TEST_F(symbols, splitting_sorts_by_what_can_live_in_a_register) {
    begin_function("f");
    TYPE *s = tp->mk_struct("s", 64, 32, false);
    tp->type_frozen(s);
    symbol("p", i, SC_REG_PARM, 1);
    symbol("q", i, SC_PARM, 1);
    symbol("i", i, SC_AUTO, 2);
    symbol("r", tp->mk_ptr(i), SC_REG_LOCAL, 3);
    symbol("vol", tp->mk_qual(i, QUAL_volatile), SC_AUTO, 2);
    symbol("s", s, SC_AUTO, 2);
    symbol("a", tp->mk_array(i, false, 2), SC_AUTO, 2);
    symbol("n", i, SC_NOT_STACK, 2);
    sym_temp('T', -1, i, nullptr);
    sym_temp('T', -1, s, nullptr);
    EXPECT_EQ(names(f->symbols), "a s vol r i q p");
    sym_split(f);
    EXPECT_EQ(names(f->scalars), "$O$T1 i r");
    EXPECT_EQ(names(f->nonscalars), "$O$T2 p q vol s a");
    EXPECT_EQ(f->symbols, nullptr);
    EXPECT_EQ(f->temporaries, nullptr);
    sym_temp('T', -1, i, nullptr);
    sym_split(f);
    EXPECT_EQ(names(f->scalars), "$O$T3 $O$T1 i r");
    EXPECT_EQ(f->owned_symbols.size(), 11u);
}

TEST_F(symbols, chains_and_lists) {
    begin_function("f");
    SYMTAB *a = local("a", i), *b = local("b", i), *x = local("x", i);
    SYMTAB *chain = f->symbols;
    EXPECT_EQ(names(chain = revsymtab(chain)), "a b x");
    EXPECT_EQ(names(chain = unlink_symbol(b, chain)), "a x");
    EXPECT_EQ(names(chain = unlink_symbol(b, chain)), "a x");
    EXPECT_EQ(names(chain = unlink_symbols_if(chain, [&](SYMTAB *s) { return s == a; })), "x");
    EXPECT_EQ(unlink_symbol(x, chain), nullptr);

    SYMLIST *list = mk_symlist(a, mk_symlist(b, mk_symlist(a, nullptr)));
    list = remove_sym_from_symlist(a, list);
    EXPECT_EQ(list->sym, b);
    EXPECT_TRUE(symbol_in_list(a, list));
    SYMLIST *copy = revsymlist(copy_symlist(list));
    EXPECT_EQ(copy->sym, a);
    EXPECT_EQ(copy->next->sym, b);
    EXPECT_EQ(find_sym_in_symlist(x, list), nullptr);
    erase_symlist(list);
    erase_symlist(copy);
}

TEST_F(symbols, interned_copies_never_mix_two_variables) {
    begin_function("callee1");
    SYMTAB *one = local("i", i);
    begin_function("callee2");
    f->local_index = unsigned(one->index);
    SYMTAB *two = local("i", i);
    ASSERT_EQ(one->index, two->index);
    SYMTAB *g = global("g", i);
    FUNINFO *destination = begin_function("caller"), *other = make_FUNINFO("other");
    SYMTAB *copy = intern_symbol(one, destination);
    EXPECT_NE(copy, one);
    EXPECT_EQ(intern_symbol(one, destination), copy);
    EXPECT_NE(intern_symbol(two, destination), copy)
        << "both live at once when one call lies in the other body";
    EXPECT_NE(intern_symbol(one, other), copy);
    EXPECT_EQ(intern_symbol(g, destination), g);
    EXPECT_EQ(find_interned_symbol(two, other), nullptr);

    forget_interned_symbols(destination);
    EXPECT_EQ(find_interned_symbol(one, destination), nullptr);
    EXPECT_NE(find_interned_symbol(one, other), nullptr);
    SYMTAB *gone = copy_symbol(one);
    intern_symbol(gone, destination);
    erase_symbol(gone);
    static int met;
    met = 0;
    map_over_interned_symbols([](SYMTAB *, SYMTAB *, FUNINFO *) { met++; });
    EXPECT_EQ(met, 1);
}

TEST_F(symbols, a_copy_owns_what_it_has) {
    SYMTAB *s = global("x", i);
    add_pragma(s, PRAG_UNUSED, {});
    add_pragma(s, PRAG_DATA_SECTION, {"here"});
    s->init = new EXPR_LIST;
    s->init->trees = {icon(7), new_node(ENDINIT, v)};
    s->known_init = icon(7);
    SYMTAB *copy = copy_symbol(s);
    EXPECT_EQ(copy->next, nullptr);
    EXPECT_EQ(copy->sym_prag_num(), 2);
    EXPECT_STREQ(pragma_arg(symbol_has_pragma(copy, PRAG_DATA_SECTION), 0), "here");
    EXPECT_EQ(copy->init->trees.size(), 2u);
    EXPECT_NE(copy->init->trees[0], s->init->trees[0]);
    EXPECT_NE(copy->known_init, s->known_init);
    global_symbols = unlink_symbol(s, global_symbols);
    erase_symbol(s);
    EXPECT_EQ(copy->init->trees[0]->u.lval, INT65(7));
    erase_symbol(copy);
}
