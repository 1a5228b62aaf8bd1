#include "OPT5/cfg.h"

#include <algorithm>
#include <cstdio>
#include <unordered_map>

#include "OPT5/buildcfg.h"
#include "OPT5/dominator.h"
#include "OPT5/funinfo.h"
#include "OPT5/pointsto.h"
#include "OPT5/scopes.h"
#include "OPT5/treewalk.h"
#include "support/dbgout.h"
#include "support/fatal.h"
#include "support/flatmap.h"

LOOP_EDGE_HOOKS loop_edge_hooks;
void (*fill_lir_edge_block)(BBLK *, BBLK *, BBLK *) = nullptr;

namespace {

void mark_dominators_stale(FUNINFO *function) {
    if (function) function->graph_is_settled = false;
    if (function && function->dominator) function->dominator->stale = true;
}

// A set of blocks that is emptied in constant time, for the dedupe of edges. One is in use at a time.
class block_marks {
  public:
    block_marks() : epoch_(++last_epoch) {}
    // Whether the block was not in the set before.
    bool add(BBLK *bb) {
        if (bb->serial_number >= stamps.size()) stamps.resize(bb->serial_number + bb->serial_number / 2 + 64);
        unsigned &stamp = stamps[bb->serial_number];
        bool is_new = stamp != epoch_;
        stamp = epoch_;
        return is_new;
    }

  private:
    unsigned epoch_;
    static std::vector<unsigned> stamps;
    static unsigned last_epoch;
};
std::vector<unsigned> block_marks::stamps;
unsigned block_marks::last_epoch = 0;

// find_label's index, good for one function and until labels change.
struct LABEL_INDEX {
    FUNINFO *function = nullptr;
    unsigned epoch = 0;
    flat_map<LBL *> labels;
} label_index;
unsigned label_epoch = 1;

bool op_is_transfer(int op) {
    return op == BRANCH || op == IF || op == SWITCH || op == RETURN || op == URETURN;
}

// The entry behind which a new last statement goes, or null for the head of the list.
LIST *entry_before_transfer(BBLK *bb) {
    LIST *before = nullptr;
    for (LIST *s = bb->statements; s; before = s, s = s->next)
        if (!s->next && op_is_transfer(s->tree->op)) break;
    return before;
}

LS *scope_for_branch(BBLK *bb) {
    LIST *last = last_statement(bb);
    if (last && last->tree->scope) return last->tree->scope;
    return bb->owner->scopes ? LS_level_2_scope(bb->owner->scopes) : nullptr;
}

} // namespace

BBLK::BBLK(FUNINFO *owner) : serial_object(owner) {}
BBLK::~BBLK() { delete words_; }

// --- blocks ---

BBLK *mkbblock(LIST *statements, BBLK *next_in_creation, FUNINFO *owner) {
    constexpr size_t USUAL = 8; // blocks of a small function
    if (owner->blocks.empty()) owner->blocks.reserve(USUAL);
    BBLK *bb = new BBLK(owner);
    bb->statements = statements;
    bb->uolink = next_in_creation;
    if (next_in_creation) next_in_creation->uoprev = bb;
    note_positions(bb);
    mark_dominators_stale(owner);
    return bb;
}

void note_positions(BBLK *bb) {
    bb->first_psn = bb->last_psn = nullptr;
    for (LIST *s = bb->statements; s; s = s->next) {
        if (!s->psn) continue;
        if (!bb->first_psn) bb->first_psn = s->psn;
        bb->last_psn = s->psn;
    }
}

BBLK *insert_new_bb(int dfn, BBLK *after, LIST *statements) {
    FUNINFO *function = after->owner;
    BBLK *next_created = after->uolink;
    BBLK *bb = mkbblock(statements, next_created, function);
    after->uolink = bb;
    bb->uoprev = after;
    bb->dflink = after->dflink;
    bb->rdflink = after;
    after->dflink = bb;
    if (bb->dflink) bb->dflink->rdflink = bb;
    else if (function->bb_list) function->bb_list->rdflink = bb;
    bb->dfn = dfn;
    bb->uon = -1;
    function->blocks_are_numbered = false;
    bb->labels = mklabel(0, nullptr, bb);
    clear_PT_vectors();
    return bb;
}

namespace {

void unlink_creation_order(BBLK *bb) {
    FUNINFO *function = bb->owner;
    if (bb->uoprev) bb->uoprev->uolink = bb->uolink;
    else if (function->uo_list == bb) function->uo_list = bb->uolink;
    if (bb->uolink) bb->uolink->uoprev = bb->uoprev;
    bb->uolink = bb->uoprev = nullptr;
}

} // namespace

void delink_old_bb(BBLK *bb) {
    FUNINFO *function = bb->owner;
    mark_dominators_stale(function);
    function->blocks_are_numbered = false;
    BBLK *last = function->bb_list->rdflink;
    if (bb == function->bb_list) {
        function->bb_list = bb->dflink;
        if (bb->dflink) bb->dflink->rdflink = last;
    } else {
        bb->rdflink->dflink = bb->dflink;
        if (bb->dflink) bb->dflink->rdflink = bb->rdflink;
        else function->bb_list->rdflink = bb->rdflink;
    }
    unlink_creation_order(bb);
    erase_bblock(bb);
}

void erase_bblock(BBLK *bb) {
    FUNINFO *function = bb->owner;
    mark_dominators_stale(function);
    label_epoch++;
    erase_tree_list(bb->statements);
    erase_edge_list(bb->preds);
    erase_edge_list(bb->succs);
    while (LBL *label = bb->labels) {
        bb->labels = label->next;
        label->block = nullptr;
        label->next = function->dead_labels;
        function->dead_labels = label;
    }
    if (final_bb == bb) final_bb = nullptr;
    delete bb;
}

void release_dead_labels(FUNINFO *function) {
    while (LBL *label = function->dead_labels) {
        function->dead_labels = label->next;
        delete label;
    }
}

void reset_creation_order() {
    FUNINFO *function = currfuninfo;
    block_marks in_flow;
    BBLK *last = nullptr;
    std::vector<BBLK *> others;
    for (BBLK *bb = function->bb_list; bb; bb = bb->dflink) in_flow.add(bb);
    for (BBLK *bb = function->uo_list; bb; bb = bb->uolink)
        if (in_flow.add(bb)) others.push_back(bb);
    auto append = [&](BBLK *bb) {
        bb->uoprev = last;
        bb->uolink = nullptr;
        if (last) last->uolink = bb;
        else function->uo_list = bb;
        last = bb;
    };
    function->uo_list = nullptr;
    for (BBLK *bb = function->bb_list; bb; bb = bb->dflink) append(bb);
    for (BBLK *bb : others) append(bb);
}

bool BB_is_in_bb_list(BBLK *wanted) {
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink)
        if (bb == wanted) return true;
    return false;
}

void clear_visited() {
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink) bb->visited = 0;
}

void renumber_bblocks() {
    FUNINFO *function = currfuninfo;
    BBLK *last = nullptr;
    int count = 0;
    bool order_changed = false, some_exit = false;
    for (BBLK *bb = function->bb_list; bb; bb = bb->dflink) {
        bb->rdflink = last;
        last = bb;
        order_changed |= bb->dfn != ++count;
        bb->dfn = count;
        some_exit |= !bb->succs;
    }
    if (function->bb_list) function->bb_list->rdflink = last;
    order_changed |= function->bb_count != unsigned(count);
    function->bb_count = unsigned(count);
    function->blocks_are_numbered = true;
    // What the dominators are indexed by has moved, even where no edge has.
    if (order_changed) mark_dominators_stale(function);

    // Labels in use first, in flow order; then the others, so that a number never stands for two labels.
    count_label_references();
    label_epoch++;
    int number = 0;
    for (int in_use = 1; in_use >= 0; in_use--)
        for (BBLK *bb = function->bb_list; bb; bb = bb->dflink)
            for (LBL *label = bb->labels; label; label = label->next)
                if ((label->refcount != 0) == in_use) label->number = ++number;

    if (count && !some_exit) {
        function->flags |= FUN_never_returns;
        function->flags &= ~uint32_t(FUN_is_pure_fun);
    }
    clear_PT_vectors();
}

BBLK *split_block(BBLK *block, LIST *at, bool behind) {
    LIST *last_to_stay = nullptr;
    if (behind) last_to_stay = at;
    else
        for (LIST *s = block->statements; s != at; s = s->next) last_to_stay = s;
    LIST *moved = last_to_stay ? last_to_stay->next : block->statements;
    if (!moved) return block;

    LS *scope = scope_for_branch(block);
    (last_to_stay ? last_to_stay->next : block->statements) = nullptr;
    BBLK *rest = insert_new_bb(0, block, moved);
    note_positions(block);
    rest->succs = block->succs;
    block->succs = nullptr;
    for (EDGE *e = rest->succs; e; e = e->next)
        for (EDGE *p = e->block->preds; p; p = p->next)
            if (p->block == block) {
                p->block = rest;
                break;
            }
    link_blocks(block, rest);
    LIST *branch = mkelist(mk_BRANCH(rest, scope), nullptr, nullptr);
    (last_to_stay ? last_to_stay->next : block->statements) = branch;
    rest->dFreqIn = block->dFreqIn;
    rest->depth = block->depth;
    if (block->loop && loop_edge_hooks.adopt) loop_edge_hooks.adopt(block, rest, block);
    else rest->loop = block->loop;
    return rest;
}

// --- edge lists ---

EDGE *mkedge(BBLK *block, EDGE *next) {
    EDGE *e = new EDGE;
    e->block = block;
    e->next = next;
    mark_dominators_stale(block->owner);
    return e;
}

EDGE *add_edge(BBLK *block, EDGE *list, double weight) {
    if (edge_memberp(block, list)) return list;
    EDGE *e = mkedge(block, list);
    e->weight = weight;
    return e;
}

EDGE *remove_edge(BBLK *block, EDGE *list) {
    for (EDGE **link = &list; *link; link = &(*link)->next) {
        EDGE *e = *link;
        if (e->block != block) continue;
        *link = e->next;
        erase_edge(e);
        mark_dominators_stale(block->owner);
        break;
    }
    return list;
}

bool edge_memberp(BBLK *block, EDGE *list) {
    for (; list; list = list->next)
        if (list->block == block) return true;
    return false;
}

EDGE *rev_edge_list(EDGE *list) {
    EDGE *reversed = nullptr;
    while (list) {
        EDGE *next = list->next;
        list->next = reversed;
        reversed = list;
        list = next;
    }
    return reversed;
}

namespace {

template <class LESS> EDGE *sort_edges(EDGE *list, LESS less) {
    std::vector<EDGE *> edges;
    for (EDGE *e = list; e; e = e->next) edges.push_back(e);
    std::stable_sort(edges.begin(), edges.end(), less);
    EDGE **link = &list;
    for (EDGE *e : edges) {
        *link = e;
        link = &e->next;
    }
    *link = nullptr;
    return list;
}

} // namespace

EDGE *sort_edge_list(EDGE *list) {
    constexpr int LONG_LIST = 32; // from here on the square of the length shows
    if (edge_length(list) >= LONG_LIST)
        return sort_edges(list, [](EDGE *a, EDGE *b) { return a->block->dfn < b->block->dfn; });
    EDGE *sorted = nullptr;
    while (list) {
        EDGE *e = list;
        list = list->next;
        EDGE **link = &sorted;
        while (*link && (*link)->block->dfn <= e->block->dfn) link = &(*link)->next;
        e->next = *link;
        *link = e;
    }
    return sorted;
}

EDGE *fast_sort_edge_list(EDGE *list) {
    return sort_edges(list, [](EDGE *a, EDGE *b) {
        if (a->block->dfn != b->block->dfn) return a->block->dfn < b->block->dfn;
        return std::less<EDGE *>()(a, b);
    });
}

int edge_length(EDGE *list) {
    int n = 0;
    for (; list; list = list->next) n++;
    return n;
}

void erase_edge(EDGE *e) { delete e; }

void erase_edge_list(EDGE *list) {
    while (list) {
        EDGE *next = list->next;
        erase_edge(list);
        list = next;
    }
}

// --- edges between blocks ---

void link_blocks(BBLK *from, BBLK *to, double weight) {
    from->succs = add_edge(to, from->succs, weight);
    to->preds = add_edge(from, to->preds, weight);
}

void unlink_blocks(BBLK *from, BBLK *to) {
    from->succs = remove_edge(to, from->succs);
    to->preds = remove_edge(from, to->preds);
}

void fixup_edge_lists(BBLK *bb, NODE *transfer) {
    std::vector<NODE *> refs;
    collect_labelrefs(transfer, refs);
    block_marks known;
    for (EDGE *e = bb->succs; e; e = e->next) known.add(e->block);
    for (NODE *ref : refs) {
        BBLK *target = ref->label->block;
        if (known.add(target)) bb->succs = mkedge(target, bb->succs);
    }
    // In a second walk, because add_edge may find the edge at one end only and must then mend the other.
    block_marks mended;
    for (NODE *ref : refs) {
        BBLK *target = ref->label->block;
        if (mended.add(target)) target->preds = add_edge(bb, target->preds, -1.0);
    }
    mark_dominators_stale(bb->owner);
}

void refresh_succs(BBLK *bb) {
    std::vector<NODE *> refs;
    LIST *last = last_statement(bb);
    if (last) collect_labelrefs(last->tree, refs);
    std::unordered_map<BBLK *, EDGE *> old;
    for (EDGE *e = bb->succs; e; e = e->next) old.emplace(e->block, e);

    EDGE *succs = nullptr;
    block_marks known;
    for (NODE *ref : refs) {
        BBLK *target = ref->label->block;
        if (!known.add(target)) continue;
        succs = mkedge(target, succs);
        auto found = old.find(target);
        if (found != old.end()) succs->weight = found->second->weight;
        else target->preds = add_edge(bb, target->preds, -1.0);
    }
    for (EDGE *e = bb->succs; e; e = e->next)
        if (known.add(e->block)) e->block->preds = remove_edge(bb, e->block->preds);
    erase_edge_list(bb->succs);
    bb->succs = succs;
    mark_dominators_stale(bb->owner);
}

EDGE *list_branch_targets(NODE *tree, EDGE *list) {
    if (tree->op == BRANCH || tree->op == IF) { // one or two
        for_each_labelref(tree, [&list](NODE *ref) { list = add_edge(ref->label->block, list, -1.0); });
        return list;
    }
    block_marks known;
    for (EDGE *e = list; e; e = e->next) known.add(e->block);
    for_each_labelref(tree, [&](NODE *ref) {
        if (known.add(ref->label->block)) list = mkedge(ref->label->block, list);
    });
    return list;
}

BBLK *split_cfg_edge(BBLK *from, BBLK *to) {
    BBLK *mid = insert_new_bb(0, from, nullptr);
    if (from->lir()) {
        QL_ASSERT(fill_lir_edge_block);
        fill_lir_edge_block(from, mid, to);
    } else {
        mid->statements = mkelist(mk_BRANCH(to, scope_for_branch(from)), nullptr, nullptr);
    }
    unlink_blocks(from, to);
    link_blocks(from, mid);
    link_blocks(mid, to);
    if (LIST *last = last_statement(from)) remap_labelrefs(last->tree, to, mid);
    return mid;
}

// Walks from the last block to the first. Without `all`, outside loops, only edges that lead forward are split: the
// others are back edges of loops that nobody has asked for. Inside a loop its own back edge stays whole, because
// the loop's tail must go on ending in the branch to its head.
void split_critical_edges(bool all) {
    BBLK *first = currfuninfo->bb_list;
    if (!first) return;
    for (BBLK *bb = first->rdflink, *previous; bb; bb = previous) {
        previous = bb == first ? nullptr : bb->rdflink;
        if (!bb->succs || !bb->succs->next) continue;
        for (EDGE *e = bb->succs; e;) {
            BBLK *to = e->block;
            e = e->next;
            if (!to->preds || !to->preds->next) continue;
            if (!all && !bb->loop && bb->dfn >= to->dfn) continue;
            if (!all && bb->loop) {
                QL_ASSERT(loop_edge_hooks.is_back_edge);
                if (loop_edge_hooks.is_back_edge(bb, to)) continue;
            }
            dprintf("Splitting critical edge between BB%d and BB%d\n", bb->dfn, to->dfn);
            BBLK *mid = split_cfg_edge(bb, to);
            if (bb->loop || to->loop) {
                QL_ASSERT(loop_edge_hooks.adopt);
                loop_edge_hooks.adopt(bb, mid, to);
            }
            e = bb->succs;
        }
    }
}

// --- labels ---

LBL *mklabel(int number, LBL *next, BBLK *block) {
    static int last_without_function = 0;
    LBL *label = new LBL;
    if (number < 1) number = --(currfuninfo ? currfuninfo->last_label : last_without_function);
    label->number = number;
    label->next = next;
    label->block = block;
    label_epoch++;
    return label;
}

LBL *first_label(BBLK *bb) {
    if (!bb->labels) bb->labels = mklabel(0, nullptr, bb);
    return bb->labels;
}

LBL *find_label(int number) {
    for (int fresh = 0;; fresh = 1) {
        if (fresh || label_index.function != currfuninfo || label_index.epoch != label_epoch) {
            label_index.function = currfuninfo;
            label_index.epoch = label_epoch;
            label_index.labels.clear();
            for (BBLK *bb = currfuninfo->uo_list; bb; bb = bb->uolink)
                for (LBL *label = bb->labels; label; label = label->next)
                    label_index.labels.insert(label->number, bb->labels);
        }
        if (LBL **found = label_index.labels.find(number)) return *found;
        if (fresh) break; // (a label may have been hung in without news of it, hence the second look)
    }
    fprintf(stderr, "\n!!! COMPILER (OPTIMIZER) ERROR IN 'find_label', INDEX=%d !!!\n", number);
    abort_optimizer();
}

NODE *mk_LABELREF_to_label(LBL *label, LS *scope) {
    NODE *ref = mk_LABELREF(label->number, 0);
    ref->scope = scope;
    point_labelref(ref, label);
    return ref;
}

void point_labelref(NODE *ref, LBL *label) {
    ref->label = label;
    if (!label) return;
    label->refcount++;
    ref->u.lval = INT65(label->number);
}

void collect_labelrefs(NODE *tree, std::vector<NODE *> &refs) {
    for_each_labelref(tree, [&refs](NODE *ref) { refs.push_back(ref); });
}

void remap_labelrefs(NODE *tree, BBLK *from, BBLK *to) {
    for_each_labelref(tree, [from, to](NODE *ref) {
        if (ref->label && ref->label->block == from) point_labelref(ref, first_label(to));
    });
}

void subst_bb_for_bb_in_stmts(BBLK *from, BBLK *to, LIST *statements) {
    for (; statements; statements = statements->next) remap_labelrefs(statements->tree, from, to);
}

void count_label_references() {
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink)
        for (LBL *label = bb->labels; label; label = label->next) label->refcount = 0;
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink)
        if (LIST *last = last_statement(bb))
            for_each_labelref(last->tree, [](NODE *ref) {
                if (ref->label) ref->label->refcount++;
            });
}

// --- statements of a block ---

LIST *last_statement(BBLK *bb) {
    LIST *s = bb->statements;
    while (s && s->next) s = s->next;
    return s;
}

void set_transfer(BBLK *bb, NODE *transfer) {
    LIST *before = entry_before_transfer(bb);
    LIST **link = before ? &before->next : &bb->statements;
    if (LIST *old = *link) {
        erase_tree(old->tree);
        old->tree = transfer;
    } else {
        *link = mkelist(transfer, nullptr, nullptr);
    }
    refresh_succs(bb);
}
