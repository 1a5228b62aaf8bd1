// Dominators and postdominators of the current function's flow graph.
//
// One object per function, kept with it; it is a cache. Every edit of the graph marks it stale, and each question
// first rebuilds it when it is stale or made for another number of blocks. Rebuilding renumbers the blocks, so a
// dfn that was taken before an edit is worth nothing after it.
//
// Method: Lengauer and Tarjan ("A fast algorithm for finding dominators in a flowgraph", 1979) with simple path
// compression, once from the entry along succs and once from the exits along preds. The iterative schemes give the
// same trees, but take the square of the number of blocks where many early exits leave a long function. The trees
// are then numbered, so that dominates and post_dominates are two comparisons. Nothing recurses.
//
// Numbers are dfns. idom 0 stands above the entry and above each other block without predecessors. bb_count + 1 is
// a virtual exit: the ipdom of each block without successors. A function may also go on forever; a region that no
// exit can be reached from gets exits of its own (its back edges, or else its last block), so that nothing behind
// an endless loop is said to postdominate the way into it. NO_DOMINATOR marks a block that the entry does not reach.
#pragma once

#include <vector>

#include "OPT5/cfg.h"
#include "OPT5/fwd.h"

struct Dominator {
    static constexpr int NO_DOMINATOR = -556;

    std::vector<BBLK *> block;                                // by dfn; slot 0 empty
    std::vector<int> idom, ipdom;                             // by dfn
    std::vector<BBLK *> dom_walk, postdom_walk;               // both trees in preorder
    std::vector<std::vector<BBLK *>> children, post_children; // by dfn, 0 and the virtual exit included
    unsigned bb_count = 0;                                    // what it was built for
    bool stale = true;

    Dominator() = default;
    void rebuild(); // at once

    // --- questions; all rebuild first if need be ---
    int immediate_dominator(int dfn);
    int immediate_dominator(BBLK *);
    int immediate_post_dominator(int dfn);
    int immediate_post_dominator(BBLK *);
    // Every block dominates itself, also outside 1 .. bb_count.
    bool dominates(int a, int b);
    bool post_dominates(int a, int b);
    const std::vector<BBLK *> &dominator_children(int dfn);
    const std::vector<BBLK *> &dominator_children(BBLK *);
    const std::vector<BBLK *> &post_dominator_children(int dfn);
    const std::vector<BBLK *> &post_dominator_children(BBLK *);
    // Parents before children.
    const std::vector<BBLK *> &depth_first_doms();
    const std::vector<BBLK *> &depth_first_postdoms();
    // The block with that number; outside 1 .. bb_count is fatal.
    BBLK *DFSblock(int dfn);
    // To the debug stream.
    void print_IDOM();
    void print_POSTDOM();

  private:
    struct SPAN {
        int first, last; // preorder numbers of a block's subtree; 0, -1 outside the tree
    };
    std::vector<SPAN> span, post_span;

    void refresh();
    void builder();
    std::vector<BBLK *> find_exits() const;
    static void generate_tree_walk(const std::vector<BBLK *> &roots,
                                   const std::vector<std::vector<BBLK *>> &children,
                                   std::vector<BBLK *> &walk, std::vector<SPAN> &span);
};

// The object of the current function, made when it is missing.
Dominator &dominators();
// Rebuilds it; with `and_liveness`, the live variables as well (find_live_variables(0, 0), which registers itself).
void compute_dominators(bool and_liveness);
extern void (*live_variables_finder)();
