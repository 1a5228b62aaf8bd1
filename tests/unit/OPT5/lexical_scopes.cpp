// Lexical scopes: the tree, its relations, and the records of pointers declared in it.
#include "tests/unit/OPT5/program.h"

#include "OPT5/restrict.h"

namespace {

struct lexical_scopes : program {
    std::string print(LS *scope) {
        char *text = nullptr;
        size_t size = 0;
        FILE *to = open_memstream(&text, &size);
        scope->print(true, to, 0, true);
        fclose(to);
        std::string result = text;
        free(text);
        return result;
    }
};

} // namespace

TEST_F(lexical_scopes, relations_agree_with_the_tree) {
    begin_function("f");
    LS *root = f->scopes, *outer = curr_scope;
    LS_open(nullptr, nullptr, 0);
    LS *a = curr_scope;
    LS_open(nullptr, nullptr, 0);
    LS *aa = curr_scope;
    LS_close(nullptr, nullptr, 0);
    LS_close(nullptr, nullptr, 0);
    LS_open(nullptr, nullptr, 0);
    LS *b = curr_scope;
    LS_close(nullptr, nullptr, 0);
    EXPECT_EQ(curr_scope, outer);
    LS_validate(root);

    std::vector<LS *> all = {root, LS_level_1_scope(root), outer, a, aa, b};
    auto is_ancestor = [](LS *up, LS *down) {
        while (down && down != up) down = down->parent;
        return down == up;
    };
    for (LS *x : all) {
        for (LS *y : all) {
            EXPECT_EQ(x->encloses(y), is_ancestor(x, y));
            EXPECT_EQ(y->is_strictly_contained_by(x), is_ancestor(x, y) && x != y);
            LS *common = x;
            while (!is_ancestor(common, y)) common = common->parent;
            EXPECT_EQ(LS::innermost_common_scope(x, y), common);
        }
    }
    EXPECT_EQ(root->level_2_scope(), outer);

    SYMTAB *in_a = local("in_a", i, a), *anywhere = global("anywhere", i);
    EXPECT_TRUE(aa->object_may_be_live_in_scope(in_a));
    EXPECT_FALSE(b->object_may_be_live_in_scope(in_a));
    EXPECT_FALSE(outer->object_may_be_live_in_scope(in_a));
    EXPECT_TRUE(b->object_may_be_live_in_scope(anywhere));
    EXPECT_TRUE(b->object_may_be_live_in_scope(nullptr));

    // An integrated body: its scopes are of another function's tree.
    LS_open(nullptr, global("callee", function_type(v)), 7);
    LS *inlined = curr_scope;
    LS_open(nullptr, curr_scope->inlined_function, 7);
    LS *deeper = curr_scope;
    EXPECT_EQ(inlined->inline_id, deeper->inline_id);
    EXPECT_FALSE(outer->encloses(inlined));
    EXPECT_EQ(LS::innermost_common_scope(a, deeper), root);
    EXPECT_TRUE(deeper->object_may_be_live_in_scope(in_a)) << "its address may have been an argument";
    EXPECT_NE(print(root).find("    in inlined function callee() called at site #7"), std::string::npos);
}

TEST_F(lexical_scopes, very_deep_blocks_are_no_problem) {
    begin_function("f");
    for (int n = 0; n < 200000; n++) LS_open(nullptr, nullptr, 0);
    LS *deepest = curr_scope;
    EXPECT_TRUE(f->scopes->encloses(deepest));
    LS_validate(f->scopes);
    EXPECT_GT(print(f->scopes).size(), 200000u);
    delete f->scopes; // must not recurse
    f->scopes = nullptr;
}

TEST_F(lexical_scopes, the_object_decides_the_scope_of_an_lvalue) {
    begin_function("f");
    LS *outer = curr_scope;
    LS_open(nullptr, nullptr, 0);
    LS *inner = curr_scope;
    TYPE *record = tp->mk_struct("r", 0, 0, false);
    record->add_mdata("m", i, 0);
    tp->type_frozen(record);
    SYMTAB *g = global("g", i), *declared = local("declared", i, outer),
           *temp = sym_temp('T', -1, i, nullptr);
    SYMTAB *r = local("r", record, outer);
    temp->scope = nullptr;
    SYMTAB *nowhere = local("nowhere", i);
    nowhere->scope = nullptr;
    NODE *field = new_node(FIELD, i);
    const struct {
        NODE *tree;
        LS *scope;
    } rows[] = {
        {name(g), f->scopes},
        {name(declared), outer},
        {name(temp), outer},
        {name(nowhere), inner},
        {maketree(UMULT, mk_UAND(name(declared)), nullptr, i, nullptr), outer},
        {maketree(UMULT, name(declared), nullptr, i, nullptr), inner},
        {maketree(STDOT, name(r), field, i, nullptr), outer},
        {maketree(CSE_ORIG, icon(1), name(declared), i, nullptr), outer},
        {maketree(SSA_USE, name(g), nullptr, i, nullptr), f->scopes},
    };
    for (const auto &row : rows) {
        inner->assign_scope_to_tree(row.tree);
        EXPECT_EQ(true_scope(row.tree), row.scope) << node_operator_name[row.tree->op];
        erase_tree(row.tree);
    }
}

TEST_F(lexical_scopes, pointer_records_say_what_the_declaration_says) {
    begin_function("f");
    TYPE *p = tp->mk_ptr(i), *restricted = tp->mk_qual(p, QUAL_restrict);
    TYPE *record = tp->mk_struct("r", 0, 0, false);
    fkMDATA *member = record->add_mdata("m", restricted, 0);
    tp->type_frozen(record);
    pointer_args_are_disjoint = true;
    SYMTAB *parm = symbol("parm", p, SC_REG_PARM, 1), *held = local("parm", p), *other = local("other", p);
    SYMTAB *strict = local("strict", restricted), *file = global("file", p), *rec = local("rec", record);
    const struct {
        SYMTAB *symbol;
        fkMDATA *member;
        int flags;
    } rows[] = {
        {parm, nullptr, PTR_is_a_parameter | PTR_is_disjointed | PTR_is_a_root},
        {held, nullptr, PTR_is_a_parameter | PTR_is_disjointed | PTR_is_a_root},
        {other, nullptr, 0},
        {file, nullptr, PTR_is_file_level},
        {strict, nullptr, PTR_is_restricted | PTR_is_a_root},
        {rec, member, PTR_is_restricted | PTR_is_a_root},
    };
    for (const auto &row : rows) {
        PTR *entry = make_PTR_entry(nullptr, row.symbol, row.member);
        EXPECT_EQ(entry->flags, row.flags) << row.symbol->name;
        EXPECT_EQ(find_PTR_entry(nullptr, row.symbol, row.member), entry);
    }
    std::string order;
    for (PTR *q = f->ptr_chain; q; q = q->next)
        order += std::string(" ") + (q->symbol ? q->symbol->name : "bottom");
    EXPECT_EQ(order, " bottom file parm parm other strict rec");
    EXPECT_TRUE(f->has_restrict);
    EXPECT_EQ(find_or_make_PTR_entry(local("int", i)), nullptr);
    NODE *field = new_node(FIELD, restricted);
    field->mk_field(1, member, record);
    NODE *access = maketree(STDOT, name(rec), field, restricted, nullptr);
    EXPECT_EQ(find_or_make_PTR_entry(access), find_PTR_entry(nullptr, rec, member));
    erase_tree(access);
    pointer_args_are_disjoint = false;
    erase_PTR_entries(f);
    EXPECT_EQ(f->ptr_chain, nullptr);
}
