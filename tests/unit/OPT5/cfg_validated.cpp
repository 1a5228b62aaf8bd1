#include <memory>

#include "tests/unit/OPT5/cfg_world.h"
#include "tests/unit/forgotten.h"

namespace {

// A function with a bit of everything, to be damaged in one place at a time.
struct cfg_validated : cfg_world {
    SYMTAB *x = nullptr, *p = nullptr, *in = nullptr;

    void begin() {
        begin_function(tp->mk_func(i, std::vector<TYPE *>{i}));
        in = local("p", i, 1, SC_PARM);
        p = local("p");
        x = local("x");
        add(maketree(PCOMMA, mk_ASG(N(p), N(in)), mk_ASG(N(x), N(in)), i, scope()));
        label(1);
        set(x, B(PLUS, N(x), I(1)));
        branch_if(B(LT, N(x), N(p)), 1, 2);
        label(2);
        switch_on(N(x), {{1, 3}, {2, 4}, {5, 1}}, 5);
        label(3), note(3);
        label(4), note(4), jump(2);
        label(5), add(call(ext, {N(x)}));
        build();
        renumber_bblocks();
        dominators().dominates(1, 1);
    }
    BBLK *block_with(int op) {
        for (BBLK *b = f->bb_list; b; b = b->dflink)
            if (last_statement(b)->tree->op == op) return b;
        return nullptr;
    }
    NODE *transfer(int op) { return last_statement(block_with(op))->tree; }
};

TEST_F(cfg_validated, each_damage_is_found_and_named) {
    using T = cfg_validated;
    struct ROW {
        const char *message;
        void (*damage)(T &);
    };
    const ROW rows[] = {
        // blocks
        {"currfuninfo->bb_list == NULL", [](T &t) { t.f->bb_list = nullptr; }},
        {"improper <dflink>", [](T &t) { t.bb(3)->dflink = t.bb(2); }},
        {"improper <rdflink>", [](T &t) { t.bb(3)->rdflink = t.bb(1); }},
        {"improper <rdflink>", [](T &t) { t.bb(1)->rdflink = nullptr; }},
        {"improper <uoprev>", [](T &t) { t.f->uo_list->uolink->uoprev = nullptr; }},
        {"not in flow order",
         [](T &t) {
             BBLK *b = t.bb(2);
             b->dflink = b->dflink->dflink;
             b->dflink->rdflink = b;
         }},
        {"not in order of creation",
         [](T &t) {
             t.f->uo_list = t.f->uo_list->uolink;
             t.f->uo_list->uoprev = nullptr;
         }},
        {"should have the number", [](T &t) { std::swap(t.bb(2)->dfn, t.bb(3)->dfn); }},
        {"bb_count is", [](T &t) { t.f->bb_count++; }},
        {"not in its slot", [](T &t) { t.f->blocks[t.bb(2)->serial_number] = nullptr; }},
        {"the block is empty", [](T &t) { t.bb(2)->statements = nullptr; }},
        {"the list of statements is a ring",
         [](T &t) { last_statement(t.bb(2))->next = t.bb(2)->statements; }},
        {"a statement has no tree", [](T &t) { t.bb(2)->statements->tree = nullptr; }},
        {"moved under the dominators",
         [](T &t) { std::swap(t.f->dominator->block[2], t.f->dominator->block[3]); }},
        // edges
        {"is a successor twice",
         [](T &t) {
             BBLK *b = t.block_with(IF);
             b->succs = mkedge(b->succs->block, b->succs);
         }},
        {"but the transfer does not name it",
         [](T &t) {
             BBLK *b = t.block_with(IF);
             b->succs = mkedge(t.bb(1), b->succs);
         }},
        {"which is no successor",
         [](T &t) {
             BBLK *b = t.block_with(IF);
             b->succs = b->succs->next;
         }},
        {"a predecessor twice",
         [](T &t) {
             BBLK *b = t.bb(2);
             b->preds = mkedge(b->preds->block, b->preds);
         }},
        {"without being one's successor",
         [](T &t) {
             BBLK *b = t.bb(2);
             b->preds = mkedge(final_bb, b->preds);
         }},
        {"does not know the block as predecessor", [](T &t) { t.bb(2)->preds = t.bb(2)->preds->next; }},
        {"the entry has a predecessor",
         [](T &t) {
             remap_labelrefs(t.transfer(IF), t.bb(2), t.bb(1));
             refresh_succs(t.block_with(IF));
         }},
        // labels
        {"a LABEL has no label", [](T &t) { t.transfer(IF)->right->left->label = nullptr; }},
        {"no label of the function's blocks",
         [](T &t) { t.transfer(IF)->right->left->label = mklabel(0, nullptr, t.bb(2)); }},
        {"leads elsewhere", [](T &t) { t.bb(2)->labels->block = t.bb(1); }},
        {"its chain is a ring", [](T &t) { t.bb(2)->labels->next = t.bb(2)->labels; }},
        {"two labels have the number",
         [](T &t) { t.block_with(IF)->labels->number = t.block_with(SWITCH)->labels->number; }},
        {"more than its count", [](T &t) { t.block_with(IF)->labels->refcount = 1; }},
        // statements
        {"does not end in a transfer", [](T &) { final_bb->statements->tree = mk_ASM_comment("x"); }},
        {"in the middle of a block",
         [](T &) {
             LIST *s = final_bb->statements;
             s->next = mkelist(copy_tree(s->tree), nullptr, nullptr);
         }},
        {"a form of before the flow graph",
         [](T &t) { t.bb(2)->statements->tree = mk_LABELDEF(t.bb(2)->labels); }},
        {"a form of before the flow graph",
         [](T &t) {
             NODE *b = t.bb(1)->statements->next->tree;
             b->op = CBRANCH;
             b->right = b->left;
             b->left = t.I(1);
         }},
        {"do not end in a DEFAULT",
         [](T &t) {
             NODE *sw = t.transfer(SWITCH);
             std::swap(sw->right->left->right, sw->right->right);
         }},
        {"among the cases that is none",
         [](T &t) { t.transfer(SWITCH)->right->left->left->left->op = PLUS; }},
        {"a URETURN names something other", [](T &t) { final_bb->statements->tree->left->u.sym = t.ext; }},
        {"is no argument prolog",
         [](T &t) {
             LIST *s = t.bb(2)->statements;
             s->next = mkelist(copy_tree(t.bb(1)->statements->tree), s->next, nullptr);
         }},
        {"a transfer stands inside",
         [](T &t) {
             LIST *s = t.bb(2)->statements;
             s->tree = maketree(COMMAOP, copy_tree(final_bb->statements->tree), t.I(1), t.i, nullptr);
         }},
        // trees
        {"a node has two parents",
         [](T &t) {
             NODE *a = t.bb(2)->statements->tree;
             a->right->right = a->left;
         }},
        {"a part of itself",
         [](T &t) {
             NODE *a = t.bb(2)->statements->tree;
             a->right->left = a->right;
         }},
        {"operand is missing", [](T &t) { t.bb(2)->statements->tree->right->right = nullptr; }},
        {"a value without a type", [](T &t) { t.bb(2)->statements->tree->right->type = nullptr; }},
        {"a NAME without a symbol", [](T &t) { t.bb(2)->statements->tree->left->u.sym = nullptr; }},
        {"an ICON beyond its type",
         [](T &t) { t.bb(2)->statements->tree->right->right->u.lval = INT65(1LL << 40); }},
        {"opcode that does not exist", [](T &t) { t.bb(2)->statements->tree->right->op = 120; }},
        {"scope outside the function",
         [](T &t) {
             static std::unique_ptr<LS> other(new LS);
             t.bb(2)->statements->tree->right->scope = other.get();
         }},
        {"names entry 3 of an exception table of 0",
         [](T &t) {
             for (BBLK *b = t.f->bb_list; b; b = b->dflink)
                 for (LIST *s = b->statements; s; s = s->next)
                     if (s->tree->op == CALL) s->tree->i_eht_id = 3;
         }},
        // symbols
        {"in no chain of the function", [](T &t) { t.f->symbols = t.f->symbols->next; }},
        {"is in two chains", [](T &t) { t.f->temporaries = t.p; }},
        {"has level 3", [](T &t) { t.x->level = 3; }},
        {"has class 40", [](T &t) { t.x->sclass = 40; }},
        {"has 31 bits", [](T &t) { t.x->size = 31; }},
        {"has no type", [](T &t) { t.x->otype = nullptr; }},
        {"a symbol has no name", [](T &t) { t.x->name = nullptr; }},
        {"a scope outside the function",
         [](T &t) {
             static std::unique_ptr<LS> other(new LS);
             t.x->scope = other.get();
         }},
        // scopes
        {"has another parent", [](T &t) { t.scope()->parent = t.f->scopes; }},
        {"has another last child", [](T &t) { t.f->scopes->last_child = nullptr; }},
        {"stands in the tree twice", [](T &t) { t.scope()->sibling = t.scope(); }},
    };
    forgotten damaged;
    for (const ROW &row : rows) {
        SCOPED_TRACE(row.message);
        begin();
        ASSERT_EQ(find_structure_fault(), "");
        ASSERT_EQ(find_new_fault(), "");
        row.damage(*this);
        std::string fault = find_structure_fault();
        EXPECT_NE(fault.find(row.message), std::string::npos) << "found instead: \"" << fault << "\"";
        EXPECT_EQ(find_new_fault(), fault) << "not seen as a change";
        // What is left is beyond orderly release: forget it.
        f.release();
        f = nullptr;
        currfuninfo = nullptr;
    }
}

TEST_F(cfg_validated, a_fault_ends_the_run_and_names_the_pass_and_the_place) {
    begin();
    BBLK *b = block_with(SWITCH);
    EDGE *dropped = b->preds;
    b->preds = dropped->next;
    erase_edge(dropped);
    EXPECT_EXIT(validate_function("simplification"), testing::ExitedWithCode(1),
                "after simplification: function self, BB.*: BB.* does not know the block as predecessor");
    EXPECT_EXIT(validate_cfg(), testing::ExitedWithCode(1), "predecessor");
    validate_stmts(); // has nothing to say about edges
    link_blocks(bb(2), b);
    rebuildcfg();
    EXPECT_TRUE(validate_function("repair"));
}

TEST_F(cfg_validated, a_look_that_was_put_off_names_all_that_may_have_done_it) {
    begin();
    validate_function("reading");
    validate_after_pass("one", 0);
    transfer(SWITCH)->left->u.sym = nullptr;
    validate_after_pass("two", 0);
    EXPECT_EXIT(validate_after_pass("three", 1e9), testing::ExitedWithCode(1),
                "after one, two or three: .*symbol");
    EXPECT_EXIT(validate_deferred(), testing::ExitedWithCode(1), "after one or two: ");
    transfer(SWITCH)->left->u.sym = x;
    validate_deferred();
    validate_after_barrier("four", 0);
    transfer(SWITCH)->left->u.sym = nullptr;
    EXPECT_EXIT(validate_deferred(), testing::ExitedWithCode(1), "after four: ");
    transfer(SWITCH)->left->u.sym = x;
}

// Blocks without numbers, in the middle of edits, are no fault; wrong numbers after a renumbering are.
TEST_F(cfg_validated, numbers_count_from_a_renumbering_on) {
    begin();
    BBLK *b = block_with(SWITCH);
    split_cfg_edge(b, b->succs->block);
    EXPECT_EQ(find_structure_fault(), "");
    renumber_bblocks();
    EXPECT_EQ(find_structure_fault(), "");
}

} // namespace
