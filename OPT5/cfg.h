// The flow graph: basic blocks, edges, labels, and the edits that keep them consistent.
//
// A block holds statements, the last of which is its transfer (BRANCH, IF, SWITCH, RETURN, URETURN). Invariants,
// checked by OPT5/validate: dfn runs 1 to bb_count along dflink; rdflink is the reverse chain, the first block's
// rdflink being the last block; succs of a block names exactly the blocks that the LABELs of its last statement
// name; preds is the exact reverse of all succs; uolink reaches every block that exists. The entry block has no
// predecessor.
//
// Edges are one small record each, without back pointer, so that removing one is linear in its list; adding
// keeps a list a set. Where many edges change at once (a long SWITCH, a changed last statement) the operations
// here dedupe by a hash instead. Every edit of edges or blocks marks the function's Dominator stale.
//
// Labels. A LABEL node leads to its block through an LBL; several LBLs may stand at one block. refcount counts the
// LABEL nodes in the function's transfers that lead there. It is exact after renumber_bblocks, which counts afresh;
// in between it only grows, with each node that is made, copied or pointed there, so that a label in use never
// looks unused. Numbers are unique within a function at any time: labels of the file are positive, made-up ones
// negative until the next renumbering.
#pragma once

#include <vector>

#include "OPT5/fwd.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "support/near.h"
#include "support/serial_object.h"

struct EDGE : pooled<EDGE> {
    near_ptr<BBLK> block;
    float weight = -1.0; // -1.0: unknown
    EDGE *next = nullptr;
};

struct LBL : pooled<LBL> {
    near_ptr<LBL> next; // of the same block
    near_ptr<BBLK> block;
    int number = 0;        // positive from the file or a renumbering, negative made here
    unsigned refcount = 0; // LABEL nodes that lead here, or more
};

// What few passes need of a block; made when first set, and gone with the block.
struct BLOCK_WORDS : pooled<BLOCK_WORDS> {
    LIR::bblock *lir = nullptr; // the late form of this block
    SBLK *trace = nullptr;
    BITVEC *gen = nullptr, *kill = nullptr, *in = nullptr, *out = nullptr;
    BITVEC *live_in = nullptr, *live_out = nullptr;
    void *pass_word = nullptr;
    void *pass_word2 = nullptr;
    int profile_word = -1;
    int profile_word2 = 0;
};

struct BBLK : serial_object<BBLK, FUNINFO>, pooled<BBLK> {
    LIST *statements = nullptr;
    EDGE *preds = nullptr;
    EDGE *succs = nullptr;
    EDGE *cursor = nullptr; // of the depth-first numbering
    near_ptr<BBLK> dflink;  // next in flow order
    near_ptr<BBLK> rdflink; // previous; the first block's is the last
    near_ptr<BBLK> uolink;  // next in order of creation
    near_ptr<BBLK> uoprev;  // previous in order of creation; null for the first
    near_ptr<LBL> labels;
    near_ptr<BLOCK_WORDS> words_; // owned; see below
    struct LOOP *loop = nullptr;  // innermost loop
    const PSN *first_psn = nullptr, *last_psn = nullptr;
    int uon = 0;                // order of creation, survives renumbering; -1: made later
    int dfn = 0;                // position in flow order, from 1
    int16_t depth = 0;          // loop depth
    uint8_t visited = 0;        // scratch; clear_visited()
    bool test_repeated = false; // its test repeats that of its dominator (simpcfg)
    float dFreqIn = -1.0;       // entry frequency

    LIR::bblock *lir() const { return words_ ? words_->lir : nullptr; }
    BLOCK_WORDS &words() {
        if (!words_) words_ = new BLOCK_WORDS;
        return *words_;
    }

    explicit BBLK(FUNINFO *owner);
    ~BBLK(); // edges, labels and statements are not freed here: erase_bblock does that
};

// --- blocks ---

// A new block on the given statements, which it takes over. It stands in no list: its uolink is `next`, whose
// uoprev is set.
BBLK *mkbblock(LIST *, BBLK *next_in_creation, FUNINFO *owner);
// A new block behind `after` in both lists, with a label of its own. Without edges.
BBLK *insert_new_bb(int dfn, BBLK *after, LIST *);
// Takes a block out of all lists and erases it. The edges of its neighbours must be gone before.
void delink_old_bb(BBLK *);
// Frees a block with its edges, labels and statements; for blocks that stand in no list.
void erase_bblock(BBLK *);
// Makes the creation order follow the flow order, blocks that are not in flow order last.
void reset_creation_order();
bool BB_is_in_bb_list(BBLK *);
// Sets dfn, rdflink, bb_count and label numbers along dflink.
void renumber_bblocks();
void clear_visited();
// Gives the statements behind `at` (`behind` true), or from `at` on, to a new block behind this one, with all
// outgoing edges; the old block ends in a BRANCH to it. Gives `block` itself when nothing would move.
BBLK *split_block(BBLK *block, LIST *at, bool behind);

// --- edge lists ---
EDGE *mkedge(BBLK *, EDGE *next);
EDGE *add_edge(BBLK *, EDGE *list, double weight); // the list itself when the block is on it
EDGE *remove_edge(BBLK *, EDGE *list);             // the first match only
bool edge_memberp(BBLK *, EDGE *);
EDGE *rev_edge_list(EDGE *);
EDGE *sort_edge_list(EDGE *);      // by ascending dfn, stable; insertion sort
EDGE *fast_sort_edge_list(EDGE *); // the same in n log n, ties by address
int edge_length(EDGE *);
void erase_edge(EDGE *);
void erase_edge_list(EDGE *);

// --- edges between blocks, both ends at once ---
void link_blocks(BBLK *from, BBLK *to, double weight = -1.0);
void unlink_blocks(BBLK *from, BBLK *to);
// For a new last statement: adds its targets to succs, and this block to their preds.
void fixup_edge_lists(BBLK *, NODE *);
// For a changed last statement: drops the edges to blocks that it no longer names and adds the missing ones.
// Weights of edges that stay are kept.
void refresh_succs(BBLK *);
// The block of each LABEL of a tree, added to the list.
EDGE *list_branch_targets(NODE *, EDGE *);
BBLK *split_cfg_edge(BBLK *from, BBLK *to);
// `all` false: only edges that a loop pass may need; see the function.
void split_critical_edges(bool all);

// What the loop hierarchy has to say to edge splitting, registered by it.
struct LOOP_EDGE_HOOKS {
    // Whether from -> to is the back edge of the loop that both are in.
    bool (*is_back_edge)(BBLK *from, BBLK *to) = nullptr;
    // `mid` was put on the edge from -> to: finds its loop and enters it there.
    void (*adopt)(BBLK *from, BBLK *mid, BBLK *to) = nullptr;
};
extern LOOP_EDGE_HOOKS loop_edge_hooks;
// Fills a block on an edge whose ends have a late form; registered by it.
extern void (*fill_lir_edge_block)(BBLK *from, BBLK *mid, BBLK *to);

// --- labels ---
LBL *mklabel(int number, LBL *next, BBLK *); // number below 1: a made-up one
LBL *first_label(BBLK *);                    // makes one for a block without
LBL *find_label(int number);                 // missing is fatal; indexed
NODE *mk_LABELREF_to_label(LBL *, LS *scope);
void point_labelref(NODE *labelref, LBL *); // null: to none
// Frees the labels that erased blocks left behind. They are kept until then, without block, so that a LABEL which
// a faulty pass left behind is found and not followed into freed memory. For the end of a function.
void release_dead_labels(FUNINFO *);
// Calls f with the LABEL nodes of a tree, right operands before left ones. Only transfers hold labels.
template <class F> void for_each_labelref(NODE *tree, F &&f);
// The same nodes, appended.
void collect_labelrefs(NODE *, std::vector<NODE *> &);
void remap_labelrefs(NODE *, BBLK *from, BBLK *to);
void subst_bb_for_bb_in_stmts(BBLK *from, BBLK *to, LIST *);
// Sets the refcount of every label of the current function from its statements.
void count_label_references();

// --- statements of a block ---
LIST *last_statement(BBLK *); // null for an empty block
// Replaces the transfer at the end of a block (erasing it) or appends one, and refreshes succs.
void set_transfer(BBLK *, NODE *transfer);
// Sets first_psn and last_psn from the statements.
void note_positions(BBLK *);

template <class F> void for_each_labelref(NODE *tree, F &&f) {
    if (!tree) return;
    // Not in a condition or selector, which may be large.
    switch (tree->op) {
    case BRANCH: tree = tree->left; break;
    case IF:
    case SWITCH:
    case CBRANCH: tree = tree->right; break;
    case LABEL:
    case COMMA:
    case CASE:
    case DEFAULT: break;
    default: return;
    }
    if (!tree) return;
    if (tree->op == LABEL) {
        f(tree);
        return;
    }
    walk_stack<NODE *> todo;
    for (NODE *n = tree;;) {
        for (; n; n = n->right) {
            if (n->op == LABEL) f(n);
            if (n->left) todo.push(n->left);
        }
        if (todo.empty()) return;
        n = todo.pop();
    }
}
