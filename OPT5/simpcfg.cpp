#include "OPT5/simpcfg.h"

#include <vector>

#include "OPT5/cfg.h"
#include "OPT5/funinfo.h"
#include "OPT5/passlimit.h"
#include "OPT5/profile.h"
#include "OPT5/seqtrees.h"
#include "OPT5/simp1.h"
#include "OPT5/tree.h"
#include "support/dbgout.h"
#include "support/fatal.h"
#include "support/flatmap.h"
#include "support/register_option.h"
#include "typepkg/type_merge.h"

SIMPCFG_COUNTS simpcfg_counts;

namespace {

const register_option simp_disabled("disable:simp");

// Graphs settle in a few rounds; each round may uncover work for the next, one test at a time. The caps keep a
// graph that was made for it from taking the square of its size.
constexpr int MAX_ROUNDS = 20;
constexpr int MAX_TEST_REWRITES = 20;

bool with_loops_now = false;
bool early_now = false;
bool simplifies = true; // the tests of transfers; else only constant ones are seen

// Transfers whose tests this call has simplified.
flat_set simple_tests;

// Blocks that the loop hierarchy names stay as they are.
bool is_bound(const BBLK *bb) { return bb->loop != nullptr; }

// --- edges without preds; relink makes those afresh ---

void set_succs(BBLK *bb, NODE *transfer) {
    EDGE *old = bb->succs;
    bb->succs = list_branch_targets(transfer, nullptr);
    if (old && !old->next) { // the common case of keeping weights: one edge stays
        for (EDGE *e = bb->succs; e; e = e->next)
            if (e->block == old->block) e->weight = old->weight;
    }
    erase_edge_list(old);
}

void relink() {
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
        erase_edge_list(bb->preds);
        bb->preds = nullptr;
    }
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink)
        for (EDGE *e = bb->succs; e; e = e->next) e->block->preds = mkedge(bb, e->block->preds);
}

// --- thread ---

// Where a block that does nothing but branch leads to; null for any other block.
BBLK *leads_on_to(BBLK *bb) {
    if (bb == currfuninfo->bb_list || is_bound(bb)) return nullptr;
    LIST *only = bb->statements;
    if (!only || only->next || only->tree->op != BRANCH) return nullptr;
    BBLK *to = only->tree->left->label->block;
    return to == bb ? nullptr : to;
}

// Where the chain of such blocks that begins with `bb` ends: `bb` itself when it is none. A ring of them ends at one of
// its members, the same for all.
struct CHAIN_ENDS {
    std::vector<BBLK *> end; // by dfn, of blocks that lead on; null: not known yet
    std::vector<uint8_t> on_path;
    std::vector<BBLK *> path;

    // Whether any block leads on.
    bool prepare() {
        for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
            if (!leads_on_to(bb)) continue;
            end.assign(currfuninfo->bb_count + 1, nullptr);
            on_path.assign(currfuninfo->bb_count + 1, 0);
            return true;
        }
        return false;
    }
    BBLK *of(BBLK *bb) {
        if (end[size_t(bb->dfn)]) return end[size_t(bb->dfn)];
        BBLK *at = bb, *last = nullptr;
        path.clear();
        while (!on_path[size_t(at->dfn)] && !(last = end[size_t(at->dfn)])) {
            on_path[size_t(at->dfn)] = 1;
            path.push_back(at);
            BBLK *next = leads_on_to(at);
            if (!next) break;
            at = next;
        }
        if (!last) last = at;
        for (BBLK *b : path) end[size_t(b->dfn)] = last;
        return last;
    }
};

bool thread_empty_blocks() {
    static CHAIN_ENDS chains;
    if (!chains.prepare()) return false;
    bool changed = false;
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
        LIST *last = last_statement(bb);
        if (!last) continue;
        bool here = false;
        for_each_labelref(last->tree, [&](NODE *ref) {
            BBLK *to = chains.of(ref->label->block);
            if (to == ref->label->block) return;
            if (!TRANSFORM("simpcfg", "a jump to a jump goes where that goes")) return;
            point_labelref(ref, first_label(to));
            simpcfg_counts.threaded++;
            here = true;
        });
        if (here) set_succs(bb, last->tree);
        changed |= here;
    }
    return changed;
}

// --- prune ---

// Removes what the entry does not reach; true when something went.
bool prune() {
    clear_visited();
    walk_stack<BBLK *> todo;
    todo.push(currfuninfo->bb_list);
    todo.top()->visited = 1;
    while (!todo.empty()) {
        for (EDGE *e = todo.pop()->succs; e; e = e->next)
            if (!e->block->visited) {
                e->block->visited = 1;
                todo.push(e->block);
            }
    }
    std::vector<BBLK *> dead;
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink)
        if (!bb->visited && !is_bound(bb)) dead.push_back(bb);
    if (dead.empty()) return false;
    for (BBLK *bb : dead) {
        dprintf("Removing BB%d, which nothing leads to\n", bb->dfn);
        erase_tree_list(bb->statements);
        bb->statements = nullptr;
        erase_edge_list(bb->succs);
        bb->succs = nullptr;
    }
    for (BBLK *bb : dead) delink_old_bb(bb);
    simpcfg_counts.pruned += unsigned(dead.size());
    return true;
}

// --- fold ---

struct TRANSFER {
    BBLK *bb;
    LIST *before; // the statement in front of it, or null
    LIST *statement;

    NODE *tree() const { return statement->tree; }
    void put_in_front(NODE *tree) {
        LIST *s = mkelist(tree, statement, statement->psn);
        (before ? before->next : bb->statements) = s;
        before = s;
    }
};

// Makes the transfer a BRANCH to the target of `ref`, one of its LABEL nodes; `effect`, a part of it or null, stays
// in front.
void become_branch(TRANSFER &t, NODE *ref) {
    NODE *old = t.tree();
    NODE *branch = maketree(BRANCH, copy_tree(ref), nullptr, tp->void_type(), old->scope);
    branch->left->branch_hint = 0;
    NODE *test = old->left;
    old->left = nullptr;
    erase_tree(old);
    t.statement->tree = branch;
    if (NODE *effect = peel_for_effect(test)) t.put_in_front(effect);
    set_succs(t.bb, branch);
    simpcfg_counts.folded++;
}

bool is_bit_field(const NODE *lvalue) {
    return (lvalue->op == STDOT || lvalue->op == STREF) && lvalue->right && lvalue->right->op == FIELD &&
           lvalue->right->member && lvalue->right->member->is_bitfld();
}

// The value of an assignment used as a test, when that is a constant: its right side, unless storing changes it.
const NODE *constant_stored(const NODE *asg) {
    if (asg->op != ASG) return nullptr;
    const NODE *value = asg->right->op == PCONV ? asg->right->left : asg->right;
    if (value->op != ICON || is_bit_field(asg->left)) return nullptr;
    return equiv_mtypes(asg->left->type->stqs(), asg->right->type->stqs()) ? asg->right : nullptr;
}

// Moves what a test does besides giving a value in front of it.
bool promote_effects_of_test(TRANSFER &t) {
    int rewrites = 0;
    for (;; rewrites++) {
        NODE *&test = t.tree()->left;
        NODE *front, *value;
        if (test->op == COMMAOP) {
            front = test->left;
            value = test->right;
            test->left = test->right = nullptr;
            erase_node(test);
        } else if (const NODE *constant = constant_stored(test)) {
            front = test;
            value = copy_tree(constant);
        } else {
            return rewrites > 0;
        }
        if (rewrites == MAX_TEST_REWRITES) simpcfg_counts.test_cap_hits++;
        t.put_in_front(front);
        t.tree()->left = value;
        if (rewrites >= MAX_TEST_REWRITES) return true;
    }
}

NODE *chain_last(NODE *chain) { return chain->op == COMMA ? chain->right : chain; }

// Calls f(CASE) for the cases of a SWITCH, the last one first, and replaces the chain by those for which it is true,
// with the DEFAULT behind them.
template <class F> unsigned filter_cases(NODE *sw, F keep) {
    NODE *def = chain_last(sw->right);
    if (def->op != DEFAULT || def == sw->right) return 0;
    unsigned dropped = 0;
    NODE **link = &sw->right->left;
    while (*link) {
        NODE *chain = *link;
        NODE *item = chain_last(chain);
        if (item->op != CASE || keep(item)) {
            if (chain->op != COMMA) break;
            link = &chain->left;
            continue;
        }
        dropped++;
        if (chain->op == COMMA) {
            *link = chain->left;
            chain->left = nullptr;
        } else {
            *link = nullptr;
        }
        erase_tree(chain);
    }
    // A COMMA whose left side is gone gives way to its right side.
    for (NODE **at = &sw->right; *at && (*at)->op == COMMA; at = &(*at)->left) {
        NODE *comma = *at;
        if (comma->left) continue;
        *at = comma->right;
        comma->right = nullptr;
        erase_node(comma);
        break;
    }
    return dropped;
}

// The cases that lead where the default leads.
unsigned drop_cases_of_default(NODE *sw) {
    NODE *def = chain_last(sw->right);
    if (def->op != DEFAULT) return 0;
    BBLK *to = def->left->label->block;
    unsigned dropped = filter_cases(sw, [&](NODE *c) {
        return c->right->label->block != to ||
               !TRANSFORM("simpcfg", "a case that leads where the default leads goes");
    });
    simpcfg_counts.cases_dropped += dropped;
    return dropped;
}

// The LABEL that a SWITCH on this value goes to; null when the chain has none.
NODE *target_for_value(NODE *sw, INT65 value) {
    for (NODE *chain = sw->right; chain;) {
        NODE *item = chain_last(chain);
        if (item->op == CASE && item->left->op == ICON && item->left->u.lval == value) return item->right;
        chain = chain->op == COMMA ? chain->left : nullptr;
    }
    NODE *last = chain_last(sw->right);
    return last->op == DEFAULT ? last->left : nullptr;
}

// The LABEL of a transfer that always goes there; null when it depends.
NODE *only_target(NODE *t) {
    if (t->op == IF) {
        NODE *if_true = t->right->left, *if_false = t->right->right;
        if (t->left->op == ICON) return t->left->u.lval.is_zero() ? if_false : if_true;
        return if_true->label->block == if_false->label->block ? if_true : nullptr;
    }
    if (t->left->op == ICON) return target_for_value(t, t->left->u.lval);
    return t->right->op == DEFAULT ? t->right->left : nullptr;
}

bool fold_transfer(BBLK *bb) {
    TRANSFER t{bb, nullptr, bb->statements};
    if (!t.statement) return false;
    for (; t.statement->next; t.statement = t.statement->next) t.before = t.statement;
    int op = t.tree()->op;
    if ((op != IF && op != SWITCH) || tree_is_EH_SWITCH(t.tree())) return false;

    NODE *sw = t.tree();
    if (simplifies && simple_tests.insert(sw)) sw->left = simp_node(sw->left, bb->loop);
    bool changed = promote_effects_of_test(t);
    if (simplifies && changed) t.tree()->left = simp_node(t.tree()->left, bb->loop);
    if (op == SWITCH && drop_cases_of_default(sw)) {
        set_succs(bb, sw);
        changed = true;
    }
    if (NODE *ref = only_target(sw);
        ref && TRANSFORM("simpcfg", "a transfer that always goes one way becomes a BRANCH")) {
        become_branch(t, ref);
        changed = true;
    }
    return changed;
}

bool fold_transfers() {
    bool changed = false;
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink) changed |= fold_transfer(bb);
    return changed;
}

// --- merge ---

// The block that `bb` takes in, or null. preds of the blocks behind may be stale; their number is right.
BBLK *mergeable_successor(BBLK *bb, const LIST *last) {
    if (last->tree->op != BRANCH || !bb->succs || bb->succs->next) return nullptr;
    BBLK *s = bb->succs->block;
    if (s == bb || s == currfuninfo->bb_list || !s->preds || s->preds->next) return nullptr;
    return is_bound(bb) || is_bound(s) || !s->statements ? nullptr : s;
}

bool merge_blocks() {
    std::vector<BBLK *> gone;
    clear_visited();
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
        if (bb->visited || !bb->statements) continue;
        LIST *before = nullptr, *last = bb->statements;
        for (; last->next; last = last->next) before = last;
        while (BBLK *s = mergeable_successor(bb, last)) {
            if (!TRANSFORM("simpcfg", "a block takes in its only successor")) break;
            LIST *branch = last;
            (before ? before->next : bb->statements) = s->statements;
            erase_tree_list(branch);
            for (last = s->statements; last->next; last = last->next) before = last;
            erase_edge_list(bb->succs);
            bb->succs = s->succs;
            s->succs = nullptr;
            s->statements = nullptr;
            if (!bb->first_psn) bb->first_psn = s->first_psn;
            if (s->last_psn) bb->last_psn = s->last_psn;
            s->visited = 1;
            gone.push_back(s);
        }
    }
    for (BBLK *bb : gone) delink_old_bb(bb);
    simpcfg_counts.merged += unsigned(gone.size());
    return !gone.empty();
}

bool one_round() {
    renumber_bblocks();
    bool threaded = thread_empty_blocks();
    bool pruned = prune();
    bool folded = fold_transfers();
    if (folded) pruned |= prune();
    if (threaded || pruned || folded) relink();
    bool merged = merge_blocks();
    if (merged) relink();
    return threaded || pruned || folded || merged;
}

} // namespace

void simpcfg(bool with_loops, bool early) {
    with_loops_now = with_loops;
    early_now = early;
    FUNINFO *function = currfuninfo;
    if (!function->bb_list) return;
    dprintf("\n\n\t\t\t---------- ENTERING 'simpcfg' ----------\n");
    if (!with_loops)
        for (BBLK *bb = function->bb_list; bb; bb = bb->dflink) QL_ASSERT(!bb->loop);
    simplifies = !simp_disabled;
    simple_tests.clear();
    int round = 0;
    while (round < MAX_ROUNDS && one_round()) round++;
    if (round == MAX_ROUNDS) {
        simpcfg_counts.round_cap_hits++;
        renumber_bblocks();
    } // else the last round numbered the blocks and changed nothing
    function->graph_is_settled = round < MAX_ROUNDS;
    initialize_CFG_profiling_annotation(false, false);
}

void simpcfg_if_changed(bool with_loops, bool early) {
    if (!currfuninfo->graph_is_settled) simpcfg(with_loops, early);
}

void optimize_SWITCH_cases() {
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
        LIST *last = last_statement(bb);
        if (!last || last->tree->op != SWITCH || tree_is_EH_SWITCH(last->tree)) continue;
        // succs stay: the target of what goes is the default's.
        drop_cases_of_default(last->tree);
    }
}
