#include "OPT5/buildcfg.h"

#include <algorithm>
#include <vector>

#include "OPT5/bbutils.h"
#include "OPT5/branchhint.h"
#include "OPT5/cfg.h"
#include "OPT5/dominator.h"
#include "OPT5/funinfo.h"
#include "OPT5/infix.h"
#include "OPT5/profile.h"
#include "OPT5/scopes.h"
#include "OPT5/tailcall.h"
#include "support/dbgout.h"
#include "support/fatal.h"
#include "support/flatmap.h"

BBLK *final_bb = nullptr;

namespace {

LS *function_scope() { return currfuninfo->scopes ? LS_level_2_scope(currfuninfo->scopes) : nullptr; }

NODE *mk_URETURN() {
    LS *scope = function_scope();
    return maketree(URETURN, mk_NAME(currfunc, scope), nullptr, tp->void_type(), scope);
}

void free_statement(LIST *s) {
    s->next = nullptr;
    erase_tree_list(s);
}

// Cuts the statement list into blocks, walking from the last statement to the first. `gathered` is the block in
// work, in program order; it never spans a label or a transfer, so whatever lies behind a transfer and in front
// of the next label is dropped or becomes a block that nothing leads to.
struct BLOCK_CUTTER {
    FUNINFO *function = currfuninfo;
    LIST *gathered = nullptr;
    BBLK *newest = nullptr; // the block that follows in program order

    void start_with(LIST *s) {
        s->next = nullptr;
        gathered = s;
    }
    void put_in_front(LIST *s) {
        s->next = gathered;
        gathered = s;
    }
    void finish_block() {
        if (!gathered) return;
        newest = mkbblock(gathered, newest, function);
        gathered = nullptr;
    }
    void drop_gathered() {
        erase_tree_list(gathered);
        gathered = nullptr;
    }

    void cut(LIST *statements);
    void add_branch_to(LBL *label, LS *scope);
    void at_switch(LIST *s);
    void at_label(LIST *s, LIST *preceding);
};

// A statement that never goes on to the next one, or the next one's label.
bool needs_no_branch_to_next(int op) {
    return op == BRANCH || op == URETURN || op == IF || op == LABELDEF || op == RETURN || op == CBRANCH;
}

void BLOCK_CUTTER::cut(LIST *statements) {
    for (LIST *s = statements, *preceding; s; s = preceding) {
        preceding = s->next;
        switch (s->tree->op) {
        case BRANCH:
        case RETURN:
        case URETURN:
            drop_gathered();
            start_with(s);
            break;
        case IF:
            finish_block();
            start_with(s);
            break;
        case SWITCH: at_switch(s); break;
        case LABELDEF: at_label(s, preceding); break;
        case PPRAGMA:
            // The prolog comes first in a function, whatever the source says between its parameters and body.
            if (gathered && tree_is_arg_prolog(gathered->tree)) {
                s->next = gathered->next;
                gathered->next = s;
                break;
            }
            put_in_front(s);
            break;
        default: QL_ASSERT(s->tree->op != CBRANCH); put_in_front(s);
        }
    }
    finish_block();
}

void BLOCK_CUTTER::add_branch_to(LBL *label, LS *scope) {
    NODE *branch = maketree(BRANCH, mk_LABELREF_to_label(label, scope), nullptr, tp->void_type(), scope);
    gathered = mkelist(branch, nullptr, nullptr);
}

void BLOCK_CUTTER::at_label(LIST *s, LIST *preceding) {
    finish_block();
    NODE *definition = s->tree;
    LBL *label = definition->label;
    LS *scope = definition->scope;
    label->block = newest;
    label->next = newest->labels;
    newest->labels = label;
    free_statement(s);
    if (!preceding || !needs_no_branch_to_next(preceding->tree->op)) add_branch_to(label, scope);
}

// The last operand of a COMMA chain.
NODE *last_of_chain(NODE *chain) { return chain && chain->op == COMMA ? chain->right : chain; }

// Brings a chain of cases in another shape into the usual one: left-deep, the DEFAULT last. Of several defaults,
// which no compiler writes, the first stays.
void normalize_cases(NODE *sw) {
    std::vector<NODE *> todo{sw->right}, cases;
    NODE *def = nullptr;
    while (!todo.empty()) {
        NODE *n = todo.back();
        todo.pop_back();
        if (!n) continue;
        if (n->op == COMMA) {
            todo.push_back(n->right);
            todo.push_back(n->left);
            n->left = n->right = nullptr;
            erase_node(n);
        } else if (n->op != DEFAULT) {
            cases.push_back(n);
        } else if (!def) {
            def = n;
        } else {
            erase_tree(n);
        }
    }
    if (def) cases.push_back(def);
    sw->right = nullptr;
    for (NODE *n : cases)
        sw->right = sw->right ? maketree(COMMA, sw->right, n, tp->void_type(), sw->scope) : n;
}

void BLOCK_CUTTER::at_switch(LIST *s) {
    NODE *sw = s->tree;
    NODE *otherwise = nullptr; // LABEL of where control goes when no case fits and there is no default
    if (gathered && gathered->tree->op == BRANCH) {
        otherwise = gathered->tree->left;
        gathered->tree->left = nullptr;
        drop_gathered();
    } else {
        finish_block();
    }
    NODE *last = last_of_chain(sw->right);
    if (!last || last->op != DEFAULT) {
        normalize_cases(sw);
        last = last_of_chain(sw->right);
    }
    if (!last || last->op != DEFAULT) {
        if (!otherwise) otherwise = mk_LABELREF_to_label(first_label(newest), sw->scope);
        NODE *def = maketree(DEFAULT, otherwise, nullptr, tp->void_type(), sw->scope);
        otherwise = nullptr;
        sw->right = sw->right ? maketree(COMMA, sw->right, def, tp->void_type(), sw->scope) : def;
    }
    erase_tree(otherwise);
    start_with(s);
}

// The labels of the function by number, while its graph is built.
flat_map<LBL *> label_mapping;

void fill_label_mapping() {
    label_mapping.clear();
    for (BBLK *bb = currfuninfo->uo_list; bb; bb = bb->uolink)
        for (LBL *label = bb->labels; label; label = label->next) label_mapping.insert(label->number, label);
}

LBL *label_with_number(int number) {
    LBL **found = label_mapping.find(number);
    return found ? *found : find_label(number);
}

// Resolves the labels of a block's transfer, and sets its succs.
void add_edges_of_transfer(BBLK *bb) {
    LIST *last = last_statement(bb);
    NODE *t = last->tree;
    if (t->op == URETURN && bb != final_bb) {
        erase_tree(t->left);
        t->op = BRANCH;
        t->left = mk_LABELREF_to_label(first_label(final_bb), t->scope);
        t->set_edge_profile_value(currfuninfo->profile_count);
    }
    for_each_labelref(t, [](NODE *ref) {
        if (!ref->label || !ref->label->block)
            point_labelref(ref, label_with_number(int(ref->u.lval.low_i32())));
    });
    bb->succs = list_branch_targets(t, nullptr);
}

// Of the two targets of an IF, that of a true test becomes the last, and so comes next in the order. A branch in a
// file falls through when its test is true: the order that is written is the order that is read back.
void put_true_target_last(BBLK *bb) {
    LIST *last = last_statement(bb);
    if (!last || last->tree->op != IF || bb->succs->next->next) return;
    bool is_last = bb->succs->block != last->tree->right->left->label->block;
    // where both leave the function, the order is about to be reversed
    bool both_leave = !bb->succs->block->succs && !bb->succs->next->block->succs;
    if (is_last == both_leave) bb->succs = rev_edge_list(bb->succs);
}

// A depth-first walk treats a block's successors from the first to the last, and what it sees last comes first in
// the order. So exits go last: they are then next to the block that leaves.
void reorder_succs(BBLK *bb) {
    if (!bb->succs || !bb->succs->next) return;
    put_true_target_last(bb);
    EDGE *one = nullptr, **one_end = &one, *more = nullptr, **more_end = &more, *none = nullptr;
    for (EDGE *e = bb->succs, *next; e; e = next) {
        next = e->next;
        e->next = nullptr;
        EDGE *theirs = e->block->succs;
        if (!theirs) {
            e->next = none;
            none = e;
        } else if (!theirs->next) {
            *one_end = e;
            one_end = &e->next;
        } else {
            *more_end = e;
            more_end = &e->next;
        }
    }
    *more_end = none;
    *one_end = more;
    bb->succs = one;
}

// Puts the blocks that the entry reaches in reverse postorder along dflink; dfn is the mark, and stays 0 for the
// others. The stack of the walk is dflink itself, its position in a block the cursor.
void order_blocks() {
    int count = 0;
    for (BBLK *bb = currfuninfo->uo_list; bb; bb = bb->uolink) {
        reorder_succs(bb);
        bb->dflink = bb->rdflink = nullptr;
        count++;
    }
    constexpr int IN_WORK = -1;
    BBLK *top = currfuninfo->bb_list, *ordered = nullptr;
    top->dfn = IN_WORK;
    top->cursor = top->succs;
    while (top) {
        if (EDGE *e = top->cursor) {
            top->cursor = e->next;
            if (e->block->dfn) continue;
            e->block->dfn = IN_WORK;
            e->block->cursor = e->block->succs;
            e->block->dflink = top;
            top = e->block;
            continue;
        }
        BBLK *done = top;
        top = done->dflink;
        done->dfn = count--;
        done->dflink = ordered;
        ordered = done;
    }
    QL_ASSERT(ordered == currfuninfo->bb_list);
}

void erase_unreached_blocks() {
    static std::vector<BBLK *> unreached;
    unreached.clear();
    for (BBLK *bb = currfuninfo->uo_list; bb; bb = bb->uolink)
        if (bb->dfn == 0) unreached.push_back(bb);
    for (BBLK *bb : unreached) {
        for (LIST *s = bb->statements; s; s = s->next)
            dprintf("Unreachable: %s\n", stmt2infix(s->tree).c_str());
        erase_tree_list(bb->statements);
        bb->statements = nullptr;
    }
    for (BBLK *bb : unreached) {
        if (bb->uoprev) bb->uoprev->uolink = bb->uolink;
        else currfuninfo->uo_list = bb->uolink;
        if (bb->uolink) bb->uolink->uoprev = bb->uoprev;
        erase_bblock(bb);
    }
}

// Numbers the ordered blocks, fills preds, and erases the blocks that are not in the order.
void link_ordered_blocks() {
    FUNINFO *function = currfuninfo;
    BBLK *last = nullptr;
    function->bb_count = 0;
    for (BBLK *bb = function->bb_list; bb; bb = bb->dflink) {
        QL_ASSERT(!bb->visited);
        bb->visited = 1;
        bb->dfn = int(++function->bb_count);
        bb->rdflink = last;
        last = bb;
        for (EDGE *e = bb->succs; e; e = e->next) e->block->preds = mkedge(bb, e->block->preds);
    }
    function->bb_list->rdflink = last;
    function->blocks_are_numbered = true;
    // First labels are numbered as their blocks; further ones above them, so that no number stands for two.
    int number = int(function->bb_count);
    for (BBLK *bb = function->bb_list; bb; bb = bb->dflink) {
        for (LBL *label = bb->labels; label; label = label->next)
            label->number = label == bb->labels ? bb->dfn : ++number;
    }
    erase_unreached_blocks();
    count_label_references();

    erase_tree(function->first_statement);
    LIST *first = function->bb_list->statements;
    function->first_statement = first ? copy_tree(first->tree) : nullptr;
    // the copy is no use of a label
    for_each_labelref(function->first_statement, [](NODE *ref) { point_labelref(ref, nullptr); });
    initialize_CFG_profiling_annotation(false, false);
}

// Blocks that a pass has put in flow order alone join the creation order too: rebuilding walks the latter.
void complete_creation_order() {
    clear_visited();
    for (BBLK *bb = currfuninfo->uo_list; bb; bb = bb->uolink) bb->visited = 1;
    bool complete = true;
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink) complete &= bb->visited == 1;
    if (!complete) reset_creation_order();
}

} // namespace

void buildcfg() {
    FUNINFO *function = currfuninfo;
    dprintf("\n\n\t\t\t---------- ENTERING 'buildcfg' ----------\n");
    final_bb = mkbblock(mkelist(mk_URETURN(), nullptr, nullptr), nullptr, function);
    final_bb->labels = mklabel(-1, nullptr, final_bb);

    LIST *statements = function->statements;
    function->statements = nullptr;
    int last_op = statements ? int(statements->tree->op) : int(NOP);
    if (last_op != BRANCH && last_op != URETURN && last_op != RETURN)
        statements = mkelist(mk_URETURN(), statements, nullptr);

    BLOCK_CUTTER cutter;
    cutter.newest = final_bb;
    cutter.cut(statements);
    function->bb_list = function->uo_list = cutter.newest;

    fill_label_mapping();
    int count = 0;
    TAIL_CALLS tail_calls;
    for (BBLK *bb = function->uo_list; bb; bb = bb->uolink) {
        bb->uon = ++count;
        bb->dfn = 0;
        erase_edge_list(bb->succs);
        bb->succs = nullptr;
        add_edges_of_transfer(bb);
        tail_calls.try_block(bb);
    }
    tail_calls.finish();
    label_mapping.clear();
    order_blocks();
    link_ordered_blocks();
}

void rebuildcfg() {
    FUNINFO *function = currfuninfo;
    if (!function->bb_list) return;
    complete_creation_order();
    for (BBLK *bb = function->uo_list; bb; bb = bb->uolink) {
        erase_edge_list(bb->preds);
        bb->preds = nullptr;
        bb->dfn = 0;
        bb->visited = 0;
    }
    order_blocks();
    link_ordered_blocks();
    if (function->dominator) function->dominator->stale = true;
}

// --- statement lists ---

void convert_CBRANCHes(LIST *statements) {
    LIST *behind = nullptr; // the statement that follows in program order
    for (LIST *s = statements; s; behind = s, s = s->next) {
        if (s->tree->op != CBRANCH) continue;
        NODE *t = s->tree;
        LBL *next;
        if (behind && behind->tree->op == LABELDEF) {
            next = behind->tree->label;
        } else {
            // This entry becomes the label, and a new one behind it (in front of it, in the program) the branch.
            next = mklabel(0, nullptr, nullptr);
            NODE *definition = mk_LABELDEF(next);
            definition->scope = t->scope;
            s->next = mkelist(t, s->next, s->psn);
            s->tree = definition;
            s->psn = nullptr;
            s = s->next;
        }
        t->op = IF;
        t->right = maketree(COMMA, mk_LABELREF_to_label(next, t->scope), t->right, tp->void_type(), t->scope);
        set_hint_of_IF(t, t->branch_hint);
        t->branch_hint = 0;
    }
}

namespace {

int label_number(const NODE *n) { return n->label ? n->label->number : int(n->u.lval.low_i32()); }

} // namespace

LABEL_FAULT find_label_fault(const LIST *statements) {
    static flat_set defined;
    static std::vector<const LIST *> definitions;
    defined.clear();
    definitions.clear();
    // The list has the last statement first; of several faults the first in the program counts, and a double
    // definition before what comes behind it.
    LABEL_FAULT twice, missing;
    for (const LIST *s = statements; s; s = s->next)
        if (s->tree->op == LABELDEF) definitions.push_back(s);
    for (size_t k = definitions.size(); k-- > 0;) {
        int number = label_number(definitions[k]->tree);
        if (!defined.insert(number) && !twice.statement) twice = {definitions[k], number, true};
    }
    for (const LIST *s = statements; s; s = s->next) {
        if (s == twice.statement) missing = LABEL_FAULT(); // what was found lies behind
        for_each_labelref(s->tree, [&](NODE *ref) {
            // right before left: of the references of one statement the leftmost stays
            if (!defined.has(label_number(ref))) missing = {s, label_number(ref), false};
        });
    }
    return missing.statement ? missing : twice;
}
