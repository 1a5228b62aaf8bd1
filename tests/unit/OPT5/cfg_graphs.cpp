#include "tests/unit/OPT5/cfg_world.h"

#include "typepkg/type_pkg.h"

namespace {

using VALUES = std::map<const SYMTAB *, int>;

struct cfg_graphs : cfg_world {
    LIST *source = nullptr; // a copy of the statements, for the interpreter

    void keep_source() {
        erase_tree_list(source);
        source = copy_statements(f->statements);
    }
    ~cfg_graphs() override { erase_tree_list(source); }

    std::vector<long> run_source(const VALUES &v) {
        MACHINE m(*this);
        m.program = source;
        return m.run(v);
    }
    std::vector<long> run_graph(const VALUES &v) { return MACHINE(*this).run(v); }
    void expect_same_runs(const PROGRAM_MAKER &maker, const char *when) {
        for (int k = 0; k < 6; k++) {
            VALUES v;
            for (size_t n = 0; n < maker.vars.size(); n++) v[maker.vars[n]] = k * 5 + int(n) * 3;
            EXPECT_TRUE(same_log(run_source(v), run_graph(v))) << when;
        }
    }
    void restart(unsigned) { begin_function(tp->mk_func(i, std::vector<TYPE *>{})); }
    int count_blocks() {
        int n = 0;
        for (BBLK *b = f->bb_list; b; b = b->dflink) n++;
        return n;
    }
};

// --- dominance by definition ---

struct REFERENCE {
    std::vector<BBLK *> blocks;
    std::map<const BBLK *, int> at;
    std::vector<std::vector<int>> succs;
    std::vector<bool> exit;

    explicit REFERENCE(FUNINFO *f) {
        for (BBLK *bb = f->bb_list; bb; bb = bb->dflink) {
            at[bb] = int(blocks.size());
            blocks.push_back(bb);
        }
        for (BBLK *bb : blocks) {
            succs.emplace_back();
            for (EDGE *e = bb->succs; e; e = e->next) succs.back().push_back(at[e->block]);
        }
        choose_exits();
    }
    size_t size() const { return blocks.size(); }

    std::vector<bool> reach(int from, int without) const {
        std::vector<bool> seen(size(), false);
        std::vector<int> todo;
        if (from != without) todo.push_back(from), seen[size_t(from)] = true;
        while (!todo.empty()) {
            int n = todo.back();
            todo.pop_back();
            for (int s : succs[size_t(n)])
                if (s != without && !seen[size_t(s)]) seen[size_t(s)] = true, todo.push_back(s);
        }
        return seen;
    }
    bool can_exit(int from, int without) const {
        std::vector<bool> seen = reach(from, without);
        for (size_t n = 0; n < size(); n++)
            if (seen[n] && exit[n]) return true;
        return false;
    }
    // Blocks without successors; then, of what can't reach one, ends of endless loops; then the last blocks.
    void choose_exits() {
        exit.assign(size(), false);
        for (size_t n = 0; n < size(); n++) exit[n] = succs[n].empty();
        std::vector<size_t> ends;
        for (size_t n = 0; n < size(); n++)
            if (succs[n].size() == 1 && succs[n][0] <= int(n) && !can_exit(int(n), -1)) ends.push_back(n);
        for (size_t n : ends) exit[n] = true;
        for (size_t n = size(); n-- > 0;)
            if (!can_exit(int(n), -1)) exit[n] = true;
    }
    bool entered(int n, int without) const {
        for (size_t e = 0; e < size(); e++)
            if ((e == 0 || !blocks[e]->preds) && reach(int(e), without)[size_t(n)]) return true;
        return false;
    }
    bool dominates(int a, int b) const { return a == b || (entered(b, -1) && !entered(b, a)); }
    bool post_dominates(int a, int b) const { return a == b || !can_exit(b, a); }
};

void expect_dominators_right(FUNINFO *f) {
    Dominator &d = dominators();
    d.dominates(1, 1);
    REFERENCE r(f);
    int n = int(r.size());
    for (int a = 0; a < n; a++)
        for (int b = 0; b < n; b++) {
            ASSERT_EQ(d.dominates(a + 1, b + 1), r.dominates(a, b)) << "BB" << a + 1 << " over BB" << b + 1;
            ASSERT_EQ(d.post_dominates(a + 1, b + 1), r.post_dominates(a, b))
                << "BB" << a + 1 << " behind BB" << b + 1;
        }
    for (int b = 1; b <= n; b++) { // the closest of the dominators
        int up = d.immediate_dominator(b), out = d.immediate_post_dominator(b);
        if (up > 0)
            for (int a = 1; a <= n; a++)
                if (a != b && d.dominates(a, b)) { ASSERT_TRUE(d.dominates(a, up)); }
        if (out <= n)
            for (int a = 1; a <= n; a++)
                if (a != b && d.post_dominates(a, b)) { ASSERT_TRUE(d.post_dominates(a, out)); }
    }
}

// Trees and walks say the same as the immediate dominators, and parents come first.
void expect_trees_right(FUNINFO *f) {
    Dominator &d = dominators();
    std::map<int, size_t> place;
    for (BBLK *bb : d.depth_first_doms()) {
        size_t here = place.size();
        ASSERT_TRUE(place.emplace(bb->dfn, here).second);
        int up = d.immediate_dominator(bb);
        if (up > 0) { ASSERT_TRUE(place.count(up)); }
    }
    place.clear();
    for (BBLK *bb : d.depth_first_postdoms()) {
        size_t here = place.size();
        ASSERT_TRUE(place.emplace(bb->dfn, here).second);
        int up = d.immediate_post_dominator(bb);
        if (up <= int(f->bb_count)) { ASSERT_TRUE(place.count(up)); }
    }
    ASSERT_EQ(place.size(), f->bb_count); // every block reaches some exit
    for (unsigned n = 1; n <= f->bb_count; n++)
        for (BBLK *child : d.dominator_children(int(n))) ASSERT_EQ(d.immediate_dominator(child), int(n));
}

TEST_F(cfg_graphs, random_programs_do_the_same_as_graphs_cleaned_or_not) {
    for (unsigned seed = 1; seed <= 1500 && !HasFailure(); seed++) {
        SCOPED_TRACE(seed);
        restart(seed);
        PROGRAM_MAKER maker(*this, seed);
        maker.make(1 + int(seed % 14), true);
        keep_source();
        convert_CBRANCHes(f->statements);
        ASSERT_EQ(find_label_fault(f->statements).statement, nullptr);
        seq_trees();
        buildcfg();
        expect_sound("built");
        EXPECT_EQ(f->bb_list->preds, nullptr);
        expect_same_runs(maker, "built");
        simpcfg(false, false);
        expect_sound("cleaned");
        expect_same_runs(maker, "cleaned");
        std::string before = std::to_string(f->bb_count);
        rebuildcfg();
        expect_sound("rebuilt");
        expect_same_runs(maker, "rebuilt");
        EXPECT_EQ(std::to_string(f->bb_count), before); // nothing was unreachable
    }
}

TEST_F(cfg_graphs, cleaning_leaves_no_work_behind) {
    for (unsigned seed = 1; seed <= 400 && !HasFailure(); seed++) {
        SCOPED_TRACE(seed);
        restart(seed);
        PROGRAM_MAKER maker(*this, seed);
        maker.make(1 + int(seed % 20), seed % 2);
        build();
        unsigned caps = simpcfg_counts.round_cap_hits;
        simpcfg(false, false);
        ASSERT_EQ(simpcfg_counts.round_cap_hits, caps);
        for (BBLK *b = f->bb_list; b; b = b->dflink) {
            NODE *t = last_statement(b)->tree;
            EXPECT_TRUE(b == f->bb_list || b->preds) << "BB" << b->dfn << " is unreachable";
            if (t->op == IF) { EXPECT_NE(t->left->op, ICON); }
            if (t->op == IF || t->op == SWITCH) {
                EXPECT_TRUE(b->succs->next) << "one target in " << stmt2infix(t);
            }
            if (t->op != BRANCH) continue;
            BBLK *to = b->succs->block;
            EXPECT_TRUE(to->preds->next || to == b) << "BB" << b->dfn << " and its successor are one";
            EXPECT_TRUE(b->statements->next || b == f->bb_list || to == b) << "BB" << b->dfn << " is empty";
        }
    }
}

TEST_F(cfg_graphs, dominance_is_what_removing_a_block_shows) {
    for (unsigned seed = 1; seed <= 1500 && !HasFailure(); seed++) {
        SCOPED_TRACE(seed);
        restart(seed);
        PROGRAM_MAKER maker(*this, seed * 77);
        maker.make(1 + int(seed % 16), false);
        build();
        expect_dominators_right(f.get());
        expect_trees_right(f.get());
        // Cut some edges: what is unreachable now is still in the lists.
        for (BBLK *b = f->bb_list; b; b = b->dflink)
            if (last_statement(b)->tree->op == IF && maker.below(2))
                set_transfer(b, mk_BRANCH(b->succs->block, scope()));
        expect_sound("cut");
        expect_dominators_right(f.get());
    }
}

TEST_F(cfg_graphs, edits_keep_the_graph_consistent) {
    for (unsigned seed = 1; seed <= 300 && !HasFailure(); seed++) {
        SCOPED_TRACE(seed);
        restart(seed);
        PROGRAM_MAKER maker(*this, seed * 31 + 5);
        maker.make(2 + int(seed % 12), true);
        keep_source();
        build();
        for (int edit = 0; edit < 12 && !HasFailure(); edit++) {
            std::vector<BBLK *> all;
            for (BBLK *b = f->bb_list; b; b = b->dflink) all.push_back(b);
            BBLK *b = all[size_t(maker.below(int(all.size())))];
            int what = maker.below(6);
            dominators().dominates(1, 1); // fresh: the edit must mark it stale
            switch (what) {
            case 0:
                if (b->succs) {
                    BBLK *to = b->succs->block, *mid = split_cfg_edge(b, to);
                    EXPECT_EQ(mid->succs->block, to);
                    EXPECT_TRUE(f->dominator->stale);
                }
                break;
            case 1: split_critical_edges(maker.below(2)); break;
            case 2: {
                int count = 0;
                for (LIST *s = b->statements; s; s = s->next) count++;
                LIST *at = b->statements;
                for (int k = maker.below(count); k > 0; k--) at = at->next;
                bool behind = maker.below(2) && at->next;
                BBLK *rest = split_block(b, at, behind);
                EXPECT_NE(rest, b);
                EXPECT_EQ(b->succs->block, rest);
                break;
            }
            case 3: renumber_bblocks(); break;
            case 4: rebuildcfg(); break;
            case 5: simpcfg(false, false); break;
            }
            expect_sound(("edit " + std::to_string(what)).c_str());
            expect_same_runs(maker, "edited");
            int at = dominators().immediate_dominator(f->bb_list);
            EXPECT_EQ(at, 0);
        }
        expect_dominators_right(f.get());
    }
}

TEST_F(cfg_graphs, split_critical_edges_leaves_none) {
    for (unsigned seed = 1; seed <= 200 && !HasFailure(); seed++) {
        restart(seed);
        PROGRAM_MAKER maker(*this, seed);
        maker.make(3 + int(seed % 12), false);
        build();
        split_critical_edges(true);
        expect_sound("split");
        for (BBLK *b = f->bb_list; b; b = b->dflink) {
            if (!b->succs || !b->succs->next) continue;
            for (EDGE *e = b->succs; e; e = e->next) EXPECT_EQ(e->block->preds->next, nullptr);
        }
    }
}

// --- single facts ---

TEST_F(cfg_graphs, an_empty_body_has_an_entry_and_an_exit) {
    build();
    ASSERT_EQ(f->bb_count, 2u);
    EXPECT_EQ(f->bb_list->statements->tree->op, BRANCH);
    EXPECT_EQ(f->bb_list->dflink, final_bb);
    EXPECT_EQ(final_bb->statements->tree->op, URETURN);
    simpcfg(false, false);
    EXPECT_EQ(f->bb_count, 1u);
}

TEST_F(cfg_graphs, a_switch_without_default_goes_on_behind_it) {
    struct {
        const char *behind;
        void (*add)(cfg_world &);
    } rows[] = {
        {"a statement", [](cfg_world &w) { w.note(7); }},
        {"a label",
         [](cfg_world &w) {
             w.label(5);
             w.note(7);
         }},
        {"a branch",
         [](cfg_world &w) {
             w.jump(6);
             w.note(8);
             w.label(6);
             w.note(7);
         }},
    };
    for (auto &row : rows) {
        SCOPED_TRACE(row.behind);
        restart(0);
        switch_on(N(local("x")), {{1, 9}, {2, 9}}, 0);
        row.add(*this);
        ret(I(3));
        label(9);
        ret(I(4));
        SYMTAB *x = f->symbols;
        keep_source();
        build();
        expect_sound("built");
        for (int v : {0, 1, 2, 3})
            EXPECT_EQ(run_graph({{x, v}}),
                      v == 1 || v == 2 ? std::vector<long>{4} : (std::vector<long>{7, 3}))
                << v;
        NODE *sw = last_statement(f->bb_list)->tree;
        ASSERT_EQ(sw->op, SWITCH);
        EXPECT_EQ(sw->right->right->op, DEFAULT);
    }
}

TEST_F(cfg_graphs, a_default_anywhere_among_the_cases_is_the_default) {
    for (int place = 0; place <= 2; place++) {
        restart(0);
        SYMTAB *x = local("x");
        NODE *chain = nullptr;
        int value = 0;
        for (int k = 0; k <= 2; k++) {
            NODE *item = maketree(DEFAULT, L(3), nullptr, i, scope());
            if (k != place) {
                erase_tree(item);
                value++;
                item = maketree(CASE, I(value), L(value), i, scope());
            }
            chain = chain ? maketree(COMMA, chain, item, i, scope()) : item;
        }
        add(maketree(SWITCH, N(x), chain, tp->void_type(), scope()));
        for (int k : {1, 2, 3}) {
            label(k);
            ret(I(k * 10));
        }
        keep_source();
        build();
        expect_sound("built");
        for (int v : {0, 1, 2, 5}) EXPECT_EQ(run_graph({{x, v}}), run_source({{x, v}})) << place << v;
    }
}

TEST_F(cfg_graphs, code_behind_a_return_is_gone_before_the_graph_stands) {
    note(1);
    ret();
    note(2);
    label(3); // nothing jumps here either
    note(4);
    build();
    for (BBLK *b = f->bb_list; b; b = b->dflink)
        for (LIST *s = b->statements; s; s = s->next) {
            if (s->tree->op != ASG) continue;
            EXPECT_EQ(s->tree->right->u.lval, INT65(1));
        }
}

TEST_F(cfg_graphs, labels_that_are_missing_or_double_are_found) {
    struct {
        const char *program;
        void (*add)(cfg_world &);
        bool fault;
        int number;
        bool duplicate;
    } rows[] = {
        {"sound",
         [](cfg_world &w) {
             w.label(1);
             w.jump(1);
         },
         false, 0, false},
        {"forward",
         [](cfg_world &w) {
             w.jump(2);
             w.label(2);
         },
         false, 0, false},
        {"never defined",
         [](cfg_world &w) {
             w.label(1);
             w.jump(4);
             w.jump(5);
         },
         true, 4, false},
        {"in a case",
         [](cfg_world &w) {
             w.switch_on(w.I(1), {{1, 1}, {2, 8}}, 1);
             w.label(1);
         },
         true, 8, false},
        {"second target",
         [](cfg_world &w) {
             w.label(1);
             w.branch_if(w.I(1), 1, 6);
         },
         true, 6, false},
        {"of a branch on false", [](cfg_world &w) { w.cbranch(w.I(1), 3); }, true, 3, false},
        {"defined twice",
         [](cfg_world &w) {
             w.label(2);
             w.jump(2);
             w.note(1);
             w.label(2);
             w.jump(9);
         },
         true, 2, true},
    };
    for (auto &row : rows) {
        SCOPED_TRACE(row.program);
        restart(0);
        row.add(*this);
        LABEL_FAULT fault = find_label_fault(f->statements);
        EXPECT_EQ(fault.statement != nullptr, row.fault);
        EXPECT_EQ(fault.number, row.number);
        EXPECT_EQ(fault.duplicate, row.duplicate);
    }
    EXPECT_EXIT(
        {
            restart(0);
            jump(77);
            build();
        },
        testing::ExitedWithCode(1), "IN 'find_label', INDEX=77");
}

TEST_F(cfg_graphs, label_numbers_stay_unique_and_counts_exact) {
    // Several labels at one block, more labels than any small counter holds, one with more references than 16 bits.
    const int many = 70000;
    for (int k = 0; k < many; k++) branch_if(B(EQ, N(trace), I(k)), 1, k + 3), label(k + 3);
    label(1);
    label(2);
    ret();
    build();
    renumber_bblocks();
    expect_sound("many labels");
    unsigned most = 0;
    for (BBLK *b = f->bb_list; b; b = b->dflink)
        for (LBL *l = b->labels; l; l = l->next) most = std::max(most, l->refcount);
    EXPECT_EQ(most, unsigned(many)) << "one IF's two targets are the same block only at the end";
    LBL *unused = nullptr;
    for (BBLK *b = f->bb_list; b; b = b->dflink)
        for (LBL *l = b->labels; l; l = l->next)
            if (!l->refcount) unused = l;
    ASSERT_NE(unused, nullptr);
    EXPECT_EQ(find_label(unused->number), unused->block->labels);
    std::set<int> made;
    for (int k = 0; k < 70000; k++) {
        LBL *l = mklabel(0, nullptr, nullptr);
        EXPECT_TRUE(l->number < 0 && made.insert(l->number).second);
        delete l;
    }
}

TEST_F(cfg_graphs, edge_lists_are_sets_and_sort) {
    for (int k = 1; k <= 40; k++) branch_if(N(trace), (k * 17) % 40 + 1, k), label(k), note(k);
    build();
    std::vector<BBLK *> all;
    for (BBLK *b = f->bb_list; b; b = b->dflink) all.push_back(b);
    EDGE *list = nullptr;
    for (size_t k = 0; k < all.size(); k++) { // from both ends inwards
        BBLK *b = all[k % 2 ? k / 2 : all.size() - 1 - k / 2];
        list = add_edge(b, list, b->dfn);
    }
    int n = edge_length(list);
    dominators().dominates(1, 1);
    EDGE *same = add_edge(all[3], list, 5);
    EXPECT_EQ(same, list);
    EXPECT_FALSE(f->dominator->stale); // nothing was added
    EXPECT_EQ(edge_length(list), n);
    for (EDGE *(*sort)(EDGE *) : {sort_edge_list, fast_sort_edge_list}) {
        list = sort(rev_edge_list(list));
        EXPECT_EQ(edge_length(list), n);
        for (EDGE *e = list; e; e = e->next) {
            EXPECT_EQ(e->weight, e->block->dfn);
            if (e->next) { EXPECT_LT(e->block->dfn, e->next->block->dfn); }
        }
    }
    EDGE *few = nullptr;
    for (int dfn : {4, 1, 3}) few = mkedge(all[size_t(dfn)], few);
    few = sort_edge_list(few);
    EXPECT_EQ(few->block, all[1]);
    few = remove_edge(all[3], few);
    EXPECT_FALSE(edge_memberp(all[3], few));
    EXPECT_TRUE(edge_memberp(all[4], few));
    EXPECT_EQ(remove_edge(all[9], few), few);
    erase_edge_list(few);
    erase_edge_list(list);
}

TEST_F(cfg_graphs, dominators_answer_outside_the_range) {
    note(1);
    build();
    Dominator &d = dominators();
    EXPECT_TRUE(d.dominates(99, 99));
    EXPECT_TRUE(d.post_dominates(-4, -4));
    for (int outside : {0, -1, 99}) {
        EXPECT_FALSE(d.dominates(1, outside));
        EXPECT_FALSE(d.dominates(outside, 1));
        EXPECT_FALSE(d.post_dominates(1, outside));
    }
    EXPECT_EQ(d.DFSblock(1), f->bb_list);
    EXPECT_EXIT(d.DFSblock(3), testing::ExitedWithCode(1),
                "find BB with dfn=3 \\(currfuninfo->bb_count=2\\)");
}

TEST_F(cfg_graphs, a_function_without_exit_is_known_never_to_return) {
    label(1);
    note(1);
    branch_if(N(trace), 1, 2);
    label(2);
    note(2);
    jump(1);
    f->flags |= FUN_is_pure_fun;
    build();
    renumber_bblocks();
    EXPECT_TRUE(f->has_flag(FUN_never_returns));
    EXPECT_FALSE(f->has_flag(FUN_is_pure_fun));
    expect_dominators_right(f.get());
}

} // namespace
