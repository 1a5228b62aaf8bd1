// The flow graph: basic blocks, edges, labels, and the edits that keep them consistent.
//
// Invariants (checked by OPT5/validate): dfn runs 1 to bb_count along dflink; rdflink is the reverse chain, the first
// block's rdflink being the last block; succs of a block names exactly the blocks that the LABELs of its last
// statement name; preds is the exact reverse of all succs; the exit block holds one URETURN of NAME(currfunc).
// Every edit of edges or blocks marks the Dominator stale.
//
// Edges are one small record each. add_edge keeps a list a set; long lists (switches) are indexed while they are
// built, so that a block with thousands of successors does not cost their square.
#pragma once

#include "OPT5/fwd.h"
#include "OPT5/tree.h"
#include "support/serial_object.h"

struct EDGE {
    BBLK *block = nullptr;
    double weight = -1.0; // -1.0: unknown
    EDGE *next = nullptr;
};

struct LBL {
    LBL *next = nullptr; // of the same block
    BBLK *block = nullptr;
    int number = 0; // positive from the file, negative made here
    uint16_t refcount = 0;
};

struct BBLK : serial_object<BBLK, FUNINFO> {
    LIR::bblock *lir = nullptr; // the late form of this block
    BBLK *dflink = nullptr;     // next in flow order
    BBLK *rdflink = nullptr;    // previous; the first block's is the last
    BBLK *uolink = nullptr;     // next in order of creation
    LIST *statements = nullptr;
    EDGE *preds = nullptr;
    EDGE *succs = nullptr;
    EDGE *cursor = nullptr; // of the depth-first numbering
    LBL *labels = nullptr;
    struct LOOP *loop = nullptr; // innermost loop
    const PSN *first_psn = nullptr, *last_psn = nullptr;
    int uon = 0;                // order of creation, survives renumbering
    int dfn = 0;                // position in flow order, from 1
    int16_t depth = 0;          // loop depth
    uint8_t visited = 0;        // scratch; clear_visited()
    bool test_repeated = false; // its test repeats that of its dominator (simpcfg)
    SBLK *trace = nullptr;
    double dFreqIn = -1.0; // entry frequency
    int profile_word = -1;
    int profile_word2 = 0;
    // words of passes
    BITVEC *gen = nullptr, *kill = nullptr, *in = nullptr, *out = nullptr;
    BITVEC *live_in = nullptr, *live_out = nullptr;
    void *pass_word = nullptr;
    void *pass_word2 = nullptr;

    explicit BBLK(FUNINFO *owner);
    ~BBLK(); // edges, labels and statements are not freed here: erase_bblock does that
};

// --- blocks (cfg.cpp) ---
BBLK *mkbblock(LIST *, BBLK *next_in_creation, FUNINFO *owner);
BBLK *insert_new_bb(int dfn, BBLK *after, LIST *);
void delink_old_bb(BBLK *);
void erase_bblock(BBLK *);
bool BB_is_in_bb_list(BBLK *);
void renumber_bblocks();
void clear_visited();

// --- edges (cfg.cpp) ---
EDGE *mkedge(BBLK *, EDGE *next);
EDGE *add_edge(BBLK *, EDGE *list, double weight);
EDGE *remove_edge(BBLK *, EDGE *list);
bool edge_memberp(BBLK *, EDGE *);
EDGE *rev_edge_list(EDGE *);
EDGE *sort_edge_list(EDGE *);      // by ascending dfn, stable
EDGE *fast_sort_edge_list(EDGE *); // the same in n log n, ties by address
int edge_length(EDGE *);
void erase_edge(EDGE *);
void erase_edge_list(EDGE *);
// For a new last statement: adds its targets to succs, and this block to their preds.
void fixup_edge_lists(BBLK *, NODE *);
EDGE *list_branch_targets(NODE *, EDGE *);
void remap_labelrefs(NODE *, BBLK *from, BBLK *to);
void subst_bb_for_bb_in_stmts(BBLK *from, BBLK *to, LIST *);
BBLK *split_cfg_edge(BBLK *from, BBLK *to);
void split_critical_edges(bool all);

// --- labels (cfg.cpp) ---
LBL *mklabel(int number, LBL *next, BBLK *); // below 1: a made-up number
LBL *find_label(int number);                 // missing is fatal
LIST *last_statement(BBLK *);                // null for an empty block

// --- building (buildcfg.cpp) ---
void buildcfg();       // from the statement list of currfuninfo (last statement first)
void rebuildcfg();     // renumbers, erases what can't be reached
extern BBLK *final_bb; // the exit block of the function whose graph was built last
