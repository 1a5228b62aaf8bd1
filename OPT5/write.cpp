#include "OPT5/write.h"

#include <algorithm>

#include "OPT5/bbutils.h"
#include "OPT5/casts.h"
#include "OPT5/cfg.h"
#include "OPT5/congruent.h"
#include "OPT5/eht.h"
#include "OPT5/files.h"
#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/infix.h"
#include "OPT5/pragma.h"
#include "OPT5/profile.h"
#include "OPT5/readexpr.h"
#include "OPT5/seqtrees.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "OPT5/writeloop.h"
#include "OPT5/writetree.h"
#include "ifile/if_file.h"
#include "support/dbgout.h"
#include "support/fatal.h"
#include "typepkg/type_merge.h"

std::vector<std::string> register_assignments;

// --- single records ---

void wrstcr(int tag, const PSN *psn) {
    switch (tag) {
    case I_EF: o_file->if_write_end_func(psn); break;
    case I_EL: o_file->if_write_end_locals(psn); break;
    default: o_file->if_write_control(tag, psn);
    }
}

void wrasmr(int tag, const char *text, const PSN *psn) {
    if (tag == IF_ASSEMBLY) o_file->if_write_assembly(text, psn);
    else o_file->if_write_comment(text);
}

void wrsfid(const char *name) { o_file->if_write_source(name); }

void wrbdlr(LBL *labels) {
    for (LBL *label = labels; label; label = label->next)
        if (label->refcount > 0) o_file->if_write_label(label->number);
}

NODE *wrtree(NODE *tree) {
    tree = finish_tree_for_output(tree);
    o_file->if_write_expr_node(tree);
    return tree;
}

// --- statements ---

namespace {

bool is_advice(const PRAGMA *p) { return p->number >= PRAG_SRC_LOOP && p->number <= PRAG_INLINE_ADVICE; }

// The statement as text, for who reads the assembly.
void write_source_comment(NODE *tree) {
    if (tree->op == PPRAGMA && is_advice(tree->pragma)) return;
    if (tree->op == ASM && tree->u.lval != INT65(int(ASM_ASSEMBLY))) return;
    if (tree_is_arg_prolog(tree)) return;
    o_file->if_write_comment(stmt2infix(tree).c_str());
}

} // namespace

void wrexpr(LIST *statement) {
    NODE *tree = statement->tree;
    if (source_interlist) write_source_comment(tree);
    if (tree->op == ASM) {
        wrasmr(int(tree->u.lval.to_int64()), tree->text, statement->psn);
        return;
    }
    if (tree->op == PPRAGMA) {
        if (tree->pragma->number != PRAG_LOOP_FLAGS) o_file->if_write_pragma(tree->pragma);
        return;
    }
    tree = insert_mandatory_casts(tree);
    o_file->if_write_expr(nullptr, statement->psn);
    if (!currfuninfo->profile_mode) tree->set_edge_profile_value(~0u);
    statement->tree = wrtree(tree);
}

// --- blocks ---

namespace {

// Writes the blocks of the current function. Label counts are taken afresh at the start and hold what is still to be
// written from then on. Trees that drop out are kept to the end: releasing them would touch the counts.
struct BLOCK_WRITER {
    const PSN *no_psn = nullptr;
    std::vector<NODE *> dropped;
    const struct LOOP *loop = nullptr; // that the block before lies in

    void write();
    void count_labels();
    void drop_endless_tails();
    void update_catch_labels();
    void write_profile_entry();
    void write_inloop(const BBLK *bb);
    void write_statements(BBLK *bb);
    void lower_EH_SWITCH(LIST *s);
    void lower_ENDLOOP(LIST *s);
    void lower_IF(LIST *s, const BBLK *next);
    void drop_statements(LIST *s);
    void insert_branch(LIST *behind, NODE *labelref);
};

BBLK *next_written_block(const BBLK *bb) {
    BBLK *next = bb->dflink;
    while (next && !next->statements) next = next->dflink;
    return next;
}

BBLK *branch_target(const NODE *branch) { return branch->left->label->block; }

// Numbers the labels that are referred to, in flow order.
void BLOCK_WRITER::count_labels() {
    count_label_references();
    int number = 0;
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink)
        for (LBL *label = bb->labels; label; label = label->next)
            if (label->refcount > 0) label->number = ++number;
}

bool is_call_without_return(const NODE *tree) {
    if (tree->op != CALL && tree->op != UCALL) return false;
    const FUNINFO *callee = find_FUNINFO_for_call(const_cast<NODE *>(tree));
    return callee && callee->has_flag(FUN_never_returns);
}

// for (;;) behind a call that does not return: neither the loop nor the branch to it is ever reached.
void BLOCK_WRITER::drop_endless_tails() {
    for (BBLK *bb = currfuninfo->bb_list->dflink; bb; bb = bb->dflink) {
        LIST *first = bb->statements;
        if (!first || first->tree->op != BRANCH || branch_target(first->tree) != bb) continue;
        if (!bb->preds || !bb->preds->next || bb->preds->next->next) continue;
        BBLK *pred = bb->preds->block == bb ? bb->preds->next->block : bb->preds->block;
        if (pred == bb || !pred->succs || pred->succs->next || pred->succs->block != bb) continue;
        LIST *call = pred->statements;
        while (call && call->next && call->next->next) call = call->next;
        if (!call || !call->next || call->next->tree->op != BRANCH || !is_call_without_return(call->tree))
            continue;
        drop_statements(call->next);
        call->next = nullptr;
        drop_statements(first);
        bb->statements = nullptr;
    }
}

void BLOCK_WRITER::drop_statements(LIST *s) {
    for (LIST *next; s; s = next) {
        next = s->next;
        for_each_node(s->tree, [](NODE *n) {
            if (n->op == LABEL && n->label && n->label->refcount > 0) n->label->refcount--;
        });
        dropped.push_back(s->tree);
        s->next = nullptr;
        erase_tree_list_only(s);
    }
}

void BLOCK_WRITER::insert_branch(LIST *behind, NODE *labelref) {
    NODE *branch = maketree(BRANCH, labelref, nullptr, tp->void_type(), labelref->scope);
    behind->next = mkelist(branch, behind->next, behind->psn);
}

// --- transfers ---

void BLOCK_WRITER::update_catch_labels() {
    if (!currfuninfo->eht) return;
    std::vector<NODE *> chains;
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
        for (LIST *s = bb->statements; s; s = s->next) {
            if (!tree_is_EH_SWITCH(s->tree)) continue;
            const NODE *cases = s->tree->right;
            if (cases->op != COMMA || cases->right->op != DEFAULT) abort_optimizer();
            chains.push_back(cases->left);
        }
    }
    update_eht_labels(chains, true);
}

// SWITCH(magic(call), COMMA(cases, DEFAULT L))      ->  call, BRANCH L
// SWITCH(x = magic(call), COMMA(cases, DEFAULT L))  ->  x = call, BRANCH L
// The cases live on as labels of the exception table.
void BLOCK_WRITER::lower_EH_SWITCH(LIST *s) {
    NODE *sw = s->tree, *statement;
    NODE *otherwise = sw->right->right; // DEFAULT
    insert_branch(s, otherwise->left);
    otherwise->left = nullptr;
    if (is_magic_EH_MCALL_ASG(sw->left)) {
        statement = sw->left;
        NODE *magic = statement->right;
        statement->right = magic->left;
        magic->left = nullptr;
        dropped.push_back(magic);
        sw->left = nullptr;
    } else {
        statement = sw->left->left;
        sw->left->left = nullptr;
    }
    dropped.push_back(sw);
    s->tree = statement;
}

// IF(ENDLOOP(n -= 1), COMMA(L1, L2))  ->  ENDLOOP(n, L1), BRANCH L2
void BLOCK_WRITER::lower_ENDLOOP(LIST *s) {
    NODE *t = s->tree, *endloop = t->left, *labels = t->right;
    NODE *counter = endloop->left;
    if (opcode_is_ASG(counter->op)) {
        endloop->left = counter->left;
        counter->left = nullptr;
        dropped.push_back(counter);
    }
    if (endloop->right) dropped.push_back(endloop->right);
    endloop->right = labels->left;
    insert_branch(s, labels->right);
    t->left = labels->left = labels->right = nullptr;
    dropped.push_back(t);
    s->tree = endloop;
}

bool is_zero(const NODE *n) { return n->op == ICON && n->u.lval.is_zero(); }

// The opposite of a condition that a branch tests.
NODE *invert_condition(NODE *n) {
    // !(!x)  ->  x
    if (n->op == EXCLAIM) {
        NODE *operand = n->left;
        n->left = nullptr;
        erase_node(n);
        return operand;
    }
    // !(a < b)  ->  a >= b; the relations of numbers that may be unordered have opposites of their own
    bool integers = !n->left || !n->left->type->is_fltpt();
    if (boolean_inv[n->op] != ILLOP && (integers || op_is_float_comparison(n->op))) {
        n->op = boolean_inv[n->op];
        // x == 0  ->  !x
        if (n->op != EQ || !is_zero(n->right)) return n;
        erase_tree(n->right);
        n->right = nullptr;
        n->op = EXCLAIM;
        n->type = tp->int_type();
        return n;
    }
    return mk_EXCLAIM(n);
}

// p  ->  p != 0      p a pointer
NODE *test_of_pointer(NODE *p) {
    NODE *null = maketree(PCONV, mk_ICON(INT65(0), tp->basic_int(IK_uint)), nullptr, p->type, p->scope);
    return maketree(NEQ, p, null, tp->int_type(), p->scope);
}

// IF(c, COMMA(T, F))  ->  CBRANCH(c, F), BRANCH T, such that T is the next block if one of them is; a CBRANCH jumps
// when its condition is false
void BLOCK_WRITER::lower_IF(LIST *s, const BBLK *next) {
    NODE *t = s->tree, *labels = t->right;
    NODE *if_true = labels->left, *if_false = labels->right;
    const BBLK *T = if_true->label->block, *F = if_false->label->block;
    if (t->left->type->is_ptr() || t->left->type->is_ref()) t->left = test_of_pointer(t->left);
    if (F == next || (T != next && F->dfn > T->dfn)) {
        std::swap(if_true, if_false);
        t->left = invert_condition(t->left);
    }
    labels->left = labels->right = nullptr;
    dropped.push_back(labels);
    t->op = CBRANCH;
    t->right = if_false;
    insert_branch(s, if_true);
}

// --- the walk ---

bool is_never_executed(const NODE *tree) {
    return tree->op == UMCALL && !strcmp(tree->u.icall, "_never_executed");
}

void BLOCK_WRITER::write_statements(BBLK *bb) {
    const BBLK *next = next_written_block(bb);
    for (LIST *s = bb->statements; s; s = s->next) {
        NODE *tree = s->tree;
        if (tree->op == SWITCH && tree_is_EH_SWITCH(tree)) lower_EH_SWITCH(s);
        else if (tree->op == IF && tree->left->op == ENDLOOP) lower_ENDLOOP(s);
        else if (tree->op == IF) lower_IF(s, next);
        tree = s->tree;
        if (is_never_executed(tree)) {
            drop_statements(s->next);
            s->next = nullptr;
        }
        bool returns = tree->op == RETURN || tree->op == URETURN;
        if (returns && next && trees_are_congruent_se_ok(tree, next->statements->tree)) return;
        if (tree->op == BRANCH && branch_target(tree) == next) {
            if (tree->left->label->refcount > 0) tree->left->label->refcount--;
            return;
        }
        wrexpr(s);
    }
}

// The count of a function's entries goes with a branch to what follows.
void BLOCK_WRITER::write_profile_entry() {
    if (currfuninfo->profile_mode != 2 || currfuninfo->profile_count == ~0u) return;
    if (symbol_has_pragma(currfunc, PRAG_FUNC_NUM_CALLED)) return;
    int largest = 0;
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink)
        for (LBL *label = bb->labels; label; label = label->next)
            if (label->refcount > 0) largest = std::max(largest, label->number);
    NODE *branch = maketree(BRANCH, mk_LABELREF(largest + 1, 0), nullptr, tp->void_type(), nullptr);
    branch->set_edge_profile_value(currfuninfo->profile_count);
    o_file->if_write_expr(nullptr, nullptr);
    erase_tree(wrtree(branch));
    o_file->if_write_label(largest + 1);
}

void BLOCK_WRITER::write_inloop(const BBLK *bb) {
    if (bb->loop == loop) return;
    loop = bb->loop;
    if (!loop) return;
    QL_ASSERT(describe_loop != nullptr);
    INLOOP in = describe_loop(loop);
    o_file->if_write_inloop(in.number, in.lcv, in.lcv ? in.flags & 3 : 0);
}

void BLOCK_WRITER::write() {
    count_labels();
    drop_endless_tails();
    update_catch_labels();
    write_profile_entry();
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
        if (!bb->statements) continue;
        write_inloop(bb);
        wrbdlr(bb->labels);
        write_statements(bb);
    }
    for (NODE *tree : dropped) erase_tree(tree);
}

} // namespace

void wrbblocks() {
    initialize_CFG_profiling_annotation(true, true);
    if (print_debug && write_opt_info) prbbinfix(fdebug);
    BLOCK_WRITER().write();
}

// --- symbols ---

void revert_symbol_type(SYMTAB *s) {
    if (!s->otype || !s->type) return;
    TYPE *declared = s->otype;
    TYPE *plain = declared->is_enum() ? declared->underlying_type()->normalized() : declared->normalized();
    TYPE *present = s->type;
    if (compatible_types(tp->remove_known_qual(present, 255), tp->remove_known_qual(plain, 255))) {
        unsigned lost = declared->qual_kind() & ~present->qual_kind(),
                 gained = present->qual_kind() & ~declared->qual_kind();
        if (lost) declared = tp->remove_known_qual(declared, lost);
        if (gained) declared = tp->mk_qual(declared, gained);
        s->type = declared;
    }
    o_file->if_reference_type(s->type);
    o_file->if_reference_type(s->otype);
    o_file->if_reference_type(s->cpp_type);
}

namespace {

void write_local_symbol(SYMTAB *s) {
    bool is_special = s->sclass == SC_PARM && s->class_as_read == SC_SPECIAL_PARM;
    if (is_special) s->sclass = SC_SPECIAL_PARM;
    if (s->sclass != SC_REG_LOCAL && s->sclass != SC_REG_LOCAL2) s->value = 0;
    revert_symbol_type(s);
    o_file->if_enter_local(s);
    o_file->if_write_symbol(s);
    if (is_special) s->sclass = SC_PARM;
    dprintf("%c   %-32s size %u, class %d, level %d\n", s->flags & SF_ALIASED ? 'A' : ' ', s->name, s->size,
            s->sclass, s->level);
}

void write_local_chain(SYMTAB *chain) {
    for (SYMTAB *s = chain; s; s = s->next) {
        QL_ASSERT(s->level == 2);
        write_local_symbol(s);
    }
}

void write_symbols() {
    if (currfuninfo->symbols) sym_split(currfuninfo);
    std::vector<SYMTAB *> parameters;
    for (SYMTAB *s = currfuninfo->nonscalars; s; s = s->next)
        if (s->level == 1 && s->flags & SF_LOCAL) parameters.push_back(s);
    std::stable_sort(parameters.begin(), parameters.end(),
                     [](const SYMTAB *a, const SYMTAB *b) { return a->sequence < b->sequence; });
    for (SYMTAB *s : parameters) write_local_symbol(s);
    wrstcr(I_EA, currfuninfo->args_psn);

    write_local_chain(currfuninfo->scalars);
    write_local_chain(currfuninfo->temporaries);
    for (SYMTAB *s = currfuninfo->nonscalars; s; s = s->next)
        if (s->level == 2) write_local_symbol(s);
    wrstcr(I_EL, currfuninfo->locals_psn);
}

void write_register_assignments() {
    if (register_assignments.empty()) return;
    const std::string ruler = ";" + std::string(70, '*');
    wrasmr(IF_COMMENT, ruler.c_str(), nullptr);
    for (size_t i = register_assignments.size(); i--;)
        wrasmr(IF_COMMENT, register_assignments[i].c_str(), nullptr);
    wrasmr(IF_COMMENT, ruler.c_str(), nullptr);
}

} // namespace

// --- functions ---

void write_func_header() { o_file->if_write_begin_func(currfunc, currfuninfo->begin_psn); }

void write_func_body() {
    constexpr int MAKES_NO_CALLS = 'L';
    write_symbols();
    if (currfuninfo->is_leaf) o_file->if_write_func_info(MAKES_NO_CALLS);
    write_register_assignments();
    prune_eht();
    wrbblocks();
    write_eht();
    wrstcr(I_EF, currfuninfo->end_psn);
    currfuninfo->flags |= FUN_is_processed;
    if (print_debug) o_file->if_flush();
}
