#include "OPT5/dominator.h"

#include <algorithm>
#include <cstdio>

#include "OPT5/funinfo.h"
#include "support/dbgout.h"
#include "support/fatal.h"

void (*live_variables_finder)() = nullptr;

Dominator &dominators() {
    if (!currfuninfo->dominator) currfuninfo->dominator = new Dominator;
    return *currfuninfo->dominator;
}

void compute_dominators(bool and_liveness) {
    dominators().rebuild();
    if (!and_liveness) return;
    QL_ASSERT(live_variables_finder);
    live_variables_finder();
}

void Dominator::rebuild() {
    dprintf(" ==== Entering Dominator rebuild ====\n");
    builder();
    dprintf(" ==== Exiting Dominator rebuild ====\n");
}

void Dominator::refresh() {
    if (stale || bb_count != currfuninfo->bb_count) rebuild();
}

// --- building ---

namespace {

EDGE *succs_of(BBLK *bb) { return bb->succs; }
EDGE *preds_of(BBLK *bb) { return bb->preds; }

// The dominator tree of what `roots` reach along `next`, a virtual block standing above all roots. Blocks are
// numbered in preorder, the virtual one is 0; `previous` are the edges the other way.
class DOMINATOR_TREE {
  public:
    DOMINATOR_TREE(size_t blocks, EDGE *(*next)(BBLK *), EDGE *(*previous)(BBLK *))
        : next_(next), previous_(previous), number_(blocks + 1, UNREACHED), order_{nullptr}, parent_{NONE} {}

    // Sets dominator[dfn] for the blocks reached: a dfn, or `above` for the virtual block.
    void build(const std::vector<BBLK *> &roots, int above, std::vector<int> &dominator);

  private:
    static constexpr int UNREACHED = -1, NONE = -1;

    EDGE *(*next_)(BBLK *);
    EDGE *(*previous_)(BBLK *);
    std::vector<int> number_;   // by dfn
    std::vector<BBLK *> order_; // the rest by number
    std::vector<int> parent_, ancestor_, best_, semi_, dom_, bucket_, bucket_next_;
    std::vector<int> path_;

    void number_from(BBLK *root);
    int eval(int v);
};

void DOMINATOR_TREE::number_from(BBLK *root) {
    struct ITEM {
        int number;
        EDGE *next;
    };
    std::vector<ITEM> stack;
    auto enter = [&](BBLK *bb, int parent) {
        int n = number_[size_t(bb->dfn)] = int(order_.size());
        order_.push_back(bb);
        parent_.push_back(parent);
        stack.push_back({n, next_(bb)});
    };
    enter(root, 0);
    while (!stack.empty()) {
        ITEM &top = stack.back();
        if (!top.next) {
            stack.pop_back();
            continue;
        }
        BBLK *to = top.next->block;
        top.next = top.next->next;
        if (number_[size_t(to->dfn)] == UNREACHED) enter(to, top.number);
    }
}

// The block of least semidominator on the linked path above v, v included.
int DOMINATOR_TREE::eval(int v) {
    if (ancestor_[size_t(v)] == NONE) return v;
    path_.clear();
    for (int x = v; ancestor_[size_t(ancestor_[size_t(x)])] != NONE; x = ancestor_[size_t(x)])
        path_.push_back(x);
    while (!path_.empty()) {
        size_t x = size_t(path_.back());
        path_.pop_back();
        size_t above = size_t(ancestor_[x]);
        if (semi_[size_t(best_[above])] < semi_[size_t(best_[x])]) best_[x] = best_[above];
        ancestor_[x] = ancestor_[above];
    }
    return best_[size_t(v)];
}

void DOMINATOR_TREE::build(const std::vector<BBLK *> &roots, int above, std::vector<int> &dominator) {
    for (BBLK *root : roots)
        if (number_[size_t(root->dfn)] == UNREACHED) number_from(root);
    size_t n = order_.size();
    ancestor_.assign(n, NONE);
    dom_.assign(n, 0);
    bucket_.assign(n, NONE);
    bucket_next_.assign(n, NONE);
    best_.resize(n);
    for (size_t i = 0; i < n; i++) best_[i] = int(i);
    semi_ = best_;
    std::vector<uint8_t> is_root(n, 0);
    for (BBLK *root : roots) is_root[size_t(number_[size_t(root->dfn)])] = 1;

    for (int w = int(n) - 1; w > 0; w--) {
        int &semi = semi_[size_t(w)];
        if (is_root[size_t(w)]) semi = 0; // an edge from the virtual block
        for (EDGE *e = previous_(order_[size_t(w)]); e && semi; e = e->next) {
            int v = number_[size_t(e->block->dfn)];
            if (v != UNREACHED) semi = std::min(semi, semi_[size_t(eval(v))]);
        }
        bucket_next_[size_t(w)] = bucket_[size_t(semi)];
        bucket_[size_t(semi)] = w;
        int parent = ancestor_[size_t(w)] = parent_[size_t(w)];
        for (int v = bucket_[size_t(parent)]; v != NONE; v = bucket_next_[size_t(v)]) {
            int u = eval(v);
            dom_[size_t(v)] = semi_[size_t(u)] < semi_[size_t(v)] ? u : parent;
        }
        bucket_[size_t(parent)] = NONE;
    }
    for (size_t w = 1; w < n; w++) {
        if (dom_[w] != semi_[w]) dom_[w] = dom_[size_t(dom_[w])];
        BBLK *d = order_[size_t(dom_[w])];
        dominator[size_t(order_[w]->dfn)] = d ? d->dfn : above;
    }
}

void mark_from(BBLK *bb, std::vector<uint8_t> &reached) {
    std::vector<BBLK *> todo{bb};
    reached[size_t(bb->dfn)] = 1;
    while (!todo.empty()) {
        bb = todo.back();
        todo.pop_back();
        for (EDGE *e = bb->preds; e; e = e->next)
            if (!reached[size_t(e->block->dfn)]) {
                reached[size_t(e->block->dfn)] = 1;
                todo.push_back(e->block);
            }
    }
}

} // namespace

// The blocks without successors. From where none of them can be reached, each block whose one successor is no later
// than itself (the end of an endless loop) is an exit too, and where there is none of these, the last block in flow
// order; until every block can reach an exit.
std::vector<BBLK *> Dominator::find_exits() const {
    std::vector<uint8_t> reached(bb_count + 1, 0);
    std::vector<BBLK *> exits, loop_ends;
    auto add = [&](BBLK *bb) {
        exits.push_back(bb);
        if (!reached[size_t(bb->dfn)]) mark_from(bb, reached);
    };
    for (unsigned i = 1; i <= bb_count; i++)
        if (!block[i]->succs) add(block[i]);
    for (unsigned i = 1; i <= bb_count; i++)
        if (!reached[i] && !block[i]->succs->next && block[i]->succs->block->dfn <= int(i))
            loop_ends.push_back(block[i]);
    for (BBLK *bb : loop_ends) add(bb);
    for (unsigned i = bb_count; i >= 1; i--)
        if (!reached[i]) add(block[i]);
    return exits;
}

void Dominator::builder() {
    renumber_bblocks();
    stale = false;
    bb_count = currfuninfo->bb_count;
    const int virtual_exit = int(bb_count) + 1;
    block.assign(bb_count + 1, nullptr);
    std::vector<BBLK *> entries;
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
        block[size_t(bb->dfn)] = bb;
        // The entry of the function is one even where a pass has led an edge to it.
        if (!bb->preds || bb == currfuninfo->bb_list) entries.push_back(bb);
    }
    idom.assign(bb_count + 1, NO_DOMINATOR);
    DOMINATOR_TREE(bb_count, succs_of, preds_of).build(entries, 0, idom);
    children.assign(bb_count + 1, {});
    for (unsigned i = 1; i <= bb_count; i++)
        if (idom[i] >= 0) children[size_t(idom[i])].push_back(block[i]);
    generate_tree_walk(children[0], children, dom_walk, span);

    ipdom.assign(bb_count + 1, NO_DOMINATOR);
    DOMINATOR_TREE(bb_count, preds_of, succs_of).build(find_exits(), virtual_exit, ipdom);
    post_children.assign(bb_count + 2, {});
    for (unsigned i = 1; i <= bb_count; i++) post_children[size_t(ipdom[i])].push_back(block[i]);
    generate_tree_walk(post_children[size_t(virtual_exit)], post_children, postdom_walk, post_span);
}

// --- trees ---

// Walks the trees under the roots, parents first, and notes which stretch of the walk each subtree takes.
void Dominator::generate_tree_walk(const std::vector<BBLK *> &roots,
                                   const std::vector<std::vector<BBLK *>> &children,
                                   std::vector<BBLK *> &walk, std::vector<SPAN> &span) {
    struct ITEM {
        BBLK *block;
        size_t next_child;
    };
    walk.clear();
    span.assign(children.size(), {0, -1});
    std::vector<ITEM> stack;
    auto enter = [&](BBLK *bb) {
        span[size_t(bb->dfn)].first = int(walk.size());
        walk.push_back(bb);
        stack.push_back({bb, 0});
    };
    for (BBLK *root : roots) {
        enter(root);
        while (!stack.empty()) {
            ITEM &top = stack.back();
            const std::vector<BBLK *> &below = children[size_t(top.block->dfn)];
            if (top.next_child < below.size()) {
                enter(below[top.next_child++]);
            } else {
                span[size_t(top.block->dfn)].last = int(walk.size()) - 1;
                stack.pop_back();
            }
        }
    }
}

// --- questions ---

int Dominator::immediate_dominator(int dfn) {
    refresh();
    return idom[size_t(DFSblock(dfn)->dfn)];
}
int Dominator::immediate_dominator(BBLK *bb) {
    refresh();
    return idom[size_t(bb->dfn)];
}
int Dominator::immediate_post_dominator(int dfn) {
    refresh();
    return ipdom[size_t(DFSblock(dfn)->dfn)];
}
int Dominator::immediate_post_dominator(BBLK *bb) {
    refresh();
    return ipdom[size_t(bb->dfn)];
}

bool Dominator::dominates(int a, int b) {
    refresh();
    if (a == b) return true;
    if (a < 1 || a > int(bb_count) || b < 1 || b > int(bb_count)) return false;
    return span[size_t(a)].first <= span[size_t(b)].first && span[size_t(b)].last <= span[size_t(a)].last &&
           idom[size_t(b)] != NO_DOMINATOR;
}

bool Dominator::post_dominates(int a, int b) {
    refresh();
    if (a == b) return true;
    if (a < 1 || a > int(bb_count) || b < 1 || b > int(bb_count)) return false;
    return post_span[size_t(a)].first <= post_span[size_t(b)].first &&
           post_span[size_t(b)].last <= post_span[size_t(a)].last;
}

const std::vector<BBLK *> &Dominator::dominator_children(int dfn) {
    refresh();
    return children[size_t(DFSblock(dfn)->dfn)];
}
const std::vector<BBLK *> &Dominator::dominator_children(BBLK *bb) {
    refresh();
    return children[size_t(bb->dfn)];
}
const std::vector<BBLK *> &Dominator::post_dominator_children(int dfn) {
    refresh();
    return post_children[size_t(DFSblock(dfn)->dfn)];
}
const std::vector<BBLK *> &Dominator::post_dominator_children(BBLK *bb) {
    refresh();
    return post_children[size_t(bb->dfn)];
}

const std::vector<BBLK *> &Dominator::depth_first_doms() {
    refresh();
    return dom_walk;
}
const std::vector<BBLK *> &Dominator::depth_first_postdoms() {
    refresh();
    return postdom_walk;
}

BBLK *Dominator::DFSblock(int dfn) {
    refresh();
    if (dfn < 1 || dfn > int(bb_count)) {
        const char *format = " Error attempting to find BB with dfn=%d (currfuninfo->bb_count=%d)\n";
        dprintf(format, dfn, int(currfuninfo->bb_count));
        fprintf(stderr, format, dfn, int(currfuninfo->bb_count));
        abort_optimizer();
    }
    return block[size_t(dfn)];
}

void Dominator::print_IDOM() {
    refresh();
    dprintf("\nImmediate dominators:\n");
    for (unsigned i = 1; i <= bb_count; i++) {
        if (idom[i] > 0) dprintf("\tBB%u: BB%d\n", i, idom[i]);
        else dprintf("\tBB%u: %s\n", i, idom[i] == 0 ? "entry" : "unreachable");
    }
}

void Dominator::print_POSTDOM() {
    refresh();
    dprintf("\nImmediate postdominators:\n");
    for (unsigned i = 1; i <= bb_count; i++) {
        if (ipdom[i] > int(bb_count)) dprintf("\tBB%u: exit\n", i);
        else dprintf("\tBB%u: BB%d\n", i, ipdom[i]);
    }
}
