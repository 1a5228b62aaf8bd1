#include "tests/unit/OPT5/cfg_world.h"

namespace {

struct cfg_sequence : cfg_world {
    LIST *source = nullptr;
    std::vector<EHT_ENTRY> table;
    SYMTAB *x = nullptr, *y = nullptr;

    ~cfg_sequence() override {
        erase_tree_list(source);
        if (f) f->eht = nullptr;
    }

    // Regions: 1 root; 2 caught at 91; 3 a cleanup inside 2; 4 caught at 92, inside 2; 5 goes to terminate; 6 a cleanup only
    void begin() {
        begin_function(tp->mk_func(i, std::vector<TYPE *>{}));
        x = local("x");
        y = local("y");
        table.assign(7, {});
        struct {
            EHT_ENTRY_KIND kind;
            unsigned next;
            int label;
        } rows[] = {{EHK_ROOT, 0, 0},    {EHK_ROOT, 0, 0},   {EHK_CATCH, 1, 91},
                    {EHK_CLEANUP, 2, 0}, {EHK_CATCH, 2, 92}, {EHK_THROW_TERMINATE, 1, 0},
                    {EHK_CLEANUP, 1, 0}};
        for (unsigned k = 0; k < 7; k++) {
            table[k].id = k;
            table[k].kind = rows[k].kind;
            table[k].next = rows[k].next;
            if (rows[k].label) table[k].catches.push_back({"", rows[k].label, false});
        }
        f->eht = table.data();
        f->eht_size = 7;
    }
    void end_with_handlers() {
        ret(N(x));
        label(91);
        note(910);
        ret(N(y));
        label(92);
        note(920);
        ret(B(PLUS, N(x), N(y)));
    }
    NODE *throwing(NODE *arg, unsigned region) { return call(ext, {arg}, region); }
    NODE *comma(NODE *a, NODE *b) { return maketree(COMMAOP, a, b, b->type, scope()); }
    NODE *choose(NODE *c, NODE *a, NODE *b) {
        return maketree(QUEST, c, maketree(COLON, a, b, i, scope()), i, scope());
    }
    void sequence_and_build() {
        erase_tree_list(source);
        source = copy_statements(f->statements);
        convert_CBRANCHes(f->statements);
        seq_trees();
        EXPECT_EQ(find_label_fault(f->statements).statement, nullptr);
        buildcfg();
        expect_sound("built");
    }
    void expect_same_runs() {
        for (auto throws : {+[](int) { return false; }, +[](int v) { return (v & 1) != 0; },
                            +[](int v) { return (v & 3) == 2; }, +[](int) { return true; }})
            for (int v : {0, 1, 2, 5}) {
                MACHINE before(*this), after(*this);
                before.program = source;
                before.throws = after.throws = throws;
                std::vector<long> a = before.run({{x, v}, {y, 3 * v}});
                EXPECT_EQ(a, after.run({{x, v}, {y, 3 * v}})) << "x = " << v;
            }
    }
    // No call that may be caught stands anywhere but under the predicate of an exception switch.
    void expect_calls_alone() {
        for (BBLK *b = f->bb_list; b; b = b->dflink)
            for (LIST *s = b->statements; s; s = s->next) {
                bool is_switch = tree_is_EH_SWITCH(s->tree);
                int calls = count_catching(s->tree);
                EXPECT_EQ(calls, is_switch ? 1 : 0) << stmt2infix(s->tree);
            }
    }
    int count_catching(NODE *t) {
        if (!t) return 0;
        int here = (t->op == CALL || t->op == UCALL) && t->i_eht_id >= 2 && t->i_eht_id <= 4;
        return here + count_catching(t->left) + count_catching(t->right);
    }
};

TEST_F(cfg_sequence, exceptions_end_in_their_handlers_from_any_place) {
    struct ROW {
        const char *what;
        NODE *(*tree)(cfg_sequence &);
    } rows[] = {
        {"alone", [](cfg_sequence &t) { return t.throwing(t.N(t.x), 2); }},
        {"assigned", [](cfg_sequence &t) { return mk_ASG(t.N(t.y), t.throwing(t.N(t.x), 3)); }},
        {"no handler", [](cfg_sequence &t) { return mk_ASG(t.N(t.y), t.throwing(t.N(t.x), 6)); }},
        {"terminates", [](cfg_sequence &t) { return mk_ASG(t.N(t.y), t.throwing(t.N(t.x), 5)); }},
        {"in a sum",
         [](cfg_sequence &t) { return mk_ASG(t.N(t.y), t.B(PLUS, t.throwing(t.N(t.x), 4), t.I(3))); }},
        {"argument of a call",
         [](cfg_sequence &t) { return mk_ASG(t.N(t.y), t.throwing(t.throwing(t.N(t.x), 2), 4)); }},
        {"argument of a harmless call",
         [](cfg_sequence &t) { return t.throwing(t.throwing(t.N(t.x), 4), 0); }},
        {"behind a comma",
         [](cfg_sequence &t) {
             return mk_ASG(t.N(t.y), t.comma(mk_ASG(t.N(t.trace), t.I(5)), t.throwing(t.N(t.x), 2)));
         }},
        {"two commas deep",
         [](cfg_sequence &t) {
             NODE *inner =
                 t.comma(t.throwing(t.N(t.x), 4), t.comma(mk_ASG(t.N(t.x), t.I(2)), t.throwing(t.N(t.x), 2)));
             return mk_ASG(t.N(t.y), t.B(PLUS, inner, t.I(1)));
         }},
        {"right of &&",
         [](cfg_sequence &t) { return mk_ASG(t.N(t.y), t.B(ANDAND, t.N(t.x), t.throwing(t.N(t.x), 2))); }},
        {"right of ||",
         [](cfg_sequence &t) { return mk_ASG(t.N(t.y), t.B(OROR, t.N(t.x), t.throwing(t.N(t.x), 2))); }},
        {"left of &&",
         [](cfg_sequence &t) { return mk_ASG(t.N(t.y), t.B(ANDAND, t.throwing(t.N(t.x), 2), t.N(t.x))); }},
        {"deep in conditions",
         [](cfg_sequence &t) {
             NODE *c = t.B(OROR, t.B(ANDAND, t.N(t.x), t.throwing(t.I(4), 4)),
                           t.throwing(t.B(PLUS, t.N(t.x), t.I(1)), 3));
             return mk_ASG(t.N(t.y), t.B(PLUS, t.B(EQ, c, t.I(1)), t.I(10)));
         }},
        {"an arm of ?:",
         [](cfg_sequence &t) {
             return mk_ASG(t.N(t.y), t.B(PLUS, t.choose(t.N(t.x), t.throwing(t.I(2), 2), t.I(4)), t.I(1)));
         }},
        {"both arms of ?:, as a statement",
         [](cfg_sequence &t) { return t.choose(t.N(t.x), t.throwing(t.I(2), 2), t.throwing(t.I(3), 4)); }},
        {"the condition of ?:",
         [](cfg_sequence &t) { return mk_ASG(t.N(t.y), t.choose(t.throwing(t.N(t.x), 2), t.I(1), t.I(2))); }},
    };
    for (ROW &row : rows) {
        SCOPED_TRACE(row.what);
        begin();
        add(row.tree(*this));
        note(33);
        end_with_handlers();
        sequence_and_build();
        expect_calls_alone();
        expect_same_runs();
        simpcfg(false, false);
        expect_sound("cleaned");
        expect_same_runs();
    }
}

TEST_F(cfg_sequence, exceptions_in_tests_and_results) {
    struct ROW {
        const char *what;
        void (*add)(cfg_sequence &);
    } rows[] = {
        {"test of an if", [](cfg_sequence &t) { t.branch_if(t.throwing(t.N(t.x), 2), 1, 2); }},
        {"negated", [](cfg_sequence &t) { t.branch_if(mk_EXCLAIM(t.throwing(t.N(t.x), 2)), 1, 2); }},
        {"&& of an if",
         [](cfg_sequence &t) {
             t.branch_if(t.B(ANDAND, t.throwing(t.N(t.x), 2), t.throwing(t.I(6), 4)), 1, 2);
         }},
        {"|| under && of a branch on false",
         [](cfg_sequence &t) {
             t.cbranch(t.B(ANDAND, t.B(OROR, t.N(t.x), t.throwing(t.I(1), 4)), t.throwing(t.I(6), 2)), 2);
         }},
        {"selector",
         [](cfg_sequence &t) {
             t.switch_on(t.throwing(t.N(t.x), 4), {{8, 1}, {15, 2}}, 0);
         }},
        {"result", [](cfg_sequence &t) { t.ret(t.throwing(t.N(t.x), 4)); }},
    };
    for (ROW &row : rows) {
        SCOPED_TRACE(row.what);
        begin();
        row.add(*this);
        note(33);
        label(1);
        note(34);
        label(2);
        end_with_handlers();
        sequence_and_build();
        expect_calls_alone();
        expect_same_runs();
    }
}

TEST_F(cfg_sequence, values_that_nobody_wants_become_control) {
    struct ROW {
        const char *what;
        NODE *(*tree)(cfg_sequence &);
    } rows[] = {
        {"&&", [](cfg_sequence &t) { return t.B(ANDAND, t.N(t.x), mk_ASG(t.N(t.trace), t.I(1))); }},
        {"||", [](cfg_sequence &t) { return t.B(OROR, t.N(t.x), mk_ASG(t.N(t.trace), t.I(1))); }},
        {"?:",
         [](cfg_sequence &t) {
             return t.choose(t.N(t.x), mk_ASG(t.N(t.trace), t.I(1)), mk_ASG(t.N(t.trace), t.I(2)));
         }},
        {"(void)",
         [](cfg_sequence &t) {
             return maketree(SCONV, t.B(OROR, t.N(t.x), mk_ASG(t.N(t.trace), t.I(1))), nullptr,
                             tp->void_type(), t.scope());
         }},
        {"nested",
         [](cfg_sequence &t) {
             NODE *arm =
                 t.comma(mk_ASG(t.N(t.y), t.I(1)), t.B(ANDAND, t.N(t.y), mk_ASG(t.N(t.trace), t.I(3))));
             return t.choose(t.N(t.x), arm, mk_ASG(t.N(t.trace), t.I(2)));
         }},
    };
    for (ROW &row : rows) {
        SCOPED_TRACE(row.what);
        begin();
        add(row.tree(*this));
        end_with_handlers();
        sequence_and_build();
        for (BBLK *b = f->bb_list; b; b = b->dflink)
            for (LIST *s = b->statements; s; s = s->next) {
                int op = s->tree->op;
                EXPECT_FALSE(op == ANDAND || op == OROR || op == QUEST || op == COMMAOP || op == SCONV);
            }
        expect_same_runs();
    }
    // ... and a value that is used stays a tree.
    begin();
    set(y, B(ANDAND, N(x), N(y)));
    branch_if(B(ANDAND, N(x), N(y)), 1, 2);
    label(1), note(1), label(2);
    end_with_handlers();
    sequence_and_build();
    EXPECT_EQ(f->bb_list->statements->tree->right->op, ANDAND);
    EXPECT_EQ(last_statement(f->bb_list)->tree->left->op, ANDAND);
}

TEST_F(cfg_sequence, marks_follow_a_call_that_never_returns) {
    for (unsigned region : {0u, 2u}) {
        begin();
        make_FUNINFO(ext)->flags |= FUN_never_returns;
        add(throwing(N(x), region));
        end_with_handlers();
        sequence_and_build();
        BBLK *b = f->bb_list;
        if (region) {
            ASSERT_TRUE(tree_is_EH_SWITCH(last_statement(b)->tree));
            NODE *def = last_statement(b)->tree->right->right;
            b = def->left->label->block;
        }
        LIST *s = b->statements;
        if (!region) s = s->next;
        ASSERT_EQ(s->tree->op, ASM);
        EXPECT_STREQ(s->tree->text, "***\t; the preceding call never returns");
        ASSERT_EQ(s->next->tree->op, UMCALL);
        EXPECT_STREQ(s->next->tree->u.icall, "_never_executed");
        find_FUNINFO(ext)->flags &= ~uint32_t(FUN_never_returns);
    }
}

TEST_F(cfg_sequence, an_exception_switch_names_each_handler_once_by_its_label_word) {
    begin();
    table[4].catches.push_back({"again", 91, false}); // the outer handler's too
    add(throwing(N(x), 4));
    end_with_handlers();
    sequence_and_build();
    NODE *sw = last_statement(f->bb_list)->tree;
    ASSERT_TRUE(tree_is_EH_SWITCH(sw));
    EXPECT_TRUE(is_magic_EH_MCALL(sw->left));
    EXPECT_EQ(sw->u.lval, INT65(2));
    std::vector<long> words;
    for (NODE *chain = sw->right->left;; chain = chain->left) {
        NODE *item = chain->op == COMMA ? chain->right : chain;
        words.insert(words.begin(), long(item->left->u.lval.to_int64()));
        if (chain->op != COMMA) break;
    }
    EXPECT_EQ(words, (std::vector<long>{92, 91}));
}

TEST_F(cfg_sequence, functions_learn_of_vector_and_complex_values) {
    begin();
    note(1);
    ret();
    sequence_and_build();
    EXPECT_FALSE(f->has_vector_trees || f->has_complex_trees);
    begin();
    add(mk_ASG(N(local("v", tp->mk_vector(i, 4))), N(local("w", tp->mk_vector(i, 4)))));
    seq_trees();
    EXPECT_TRUE(f->has_vector_trees);
    EXPECT_FALSE(f->has_complex_trees);
    begin();
    TYPE *complex = tp->mk_complex(tp->basic[BT_float]);
    add(mk_ASG(N(local("v", complex)), N(local("w", complex))));
    seq_trees();
    EXPECT_TRUE(f->has_complex_trees);
}

} // namespace
