#include "OPT5/write.h"

#include <algorithm>

#include "OPT5/bbutils.h"
#include "OPT5/branchhint.h"
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
#include "OPT5/simp1.h"
#include "OPT5/simp3.h"
#include "OPT5/simp_testutil.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "OPT5/writeloop.h"
#include "OPT5/writetree.h"
#include "ifile/if_file.h"
#include "support/dbgout.h"
#include "support/fatal.h"
#include "support/register_option.h"
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

const register_option simp_disabled("disable:simp");

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

// Writes the blocks of the current function. First every block takes the shape that it has in a file, so that it is
// known which branches are left; then the labels are numbered; then all goes out.
struct BLOCK_WRITER {
    std::vector<BBLK *> blocks; // those with statements, in order
    std::vector<NODE *>
        handler_chains;          // cases of exception switches, whose labels the exception table takes over
    std::vector<NODE *> dropped; // trees that are no part of the function any more, to be released
    const struct LOOP *loop = nullptr; // that the block before lies in

    void write();
    void drop_endless_tails();
    void lower_block(BBLK *bb, BBLK *next);
    void lower_EH_SWITCH(LIST *s);
    void lower_ENDLOOP(LIST *s);
    void lower_IF(LIST *s, const BBLK *next);
    int number_labels();
    void write_profile_entry(int label);
    void write_inloop(const BBLK *bb);
    void insert_branch(LIST *behind, NODE *labelref);
    // Drops the statements behind `s`, null: all of the block.
    void drop_behind(BBLK *bb, LIST *s);
};

BBLK *branch_target(const NODE *branch) { return branch->left->label->block; }

void BLOCK_WRITER::drop_behind(BBLK *bb, LIST *s) {
    LIST *&first = s ? s->next : bb->statements;
    for (LIST *d = first; d; d = d->next) dropped.push_back(d->tree);
    erase_tree_list_only(first);
    first = nullptr;
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
        drop_behind(pred, call);
        drop_behind(bb, nullptr);
    }
}

void BLOCK_WRITER::insert_branch(LIST *behind, NODE *labelref) {
    NODE *branch = maketree(BRANCH, labelref, nullptr, tp->void_type(), labelref->scope);
    behind->next = mkelist(branch, behind->next, behind->psn);
}

// --- transfers ---

// SWITCH(magic(call), COMMA(cases, DEFAULT L))      ->  call, BRANCH L
// SWITCH(x = magic(call), COMMA(cases, DEFAULT L))  ->  x = call, BRANCH L
// The cases live on as labels of the exception table.
void BLOCK_WRITER::lower_EH_SWITCH(LIST *s) {
    NODE *sw = s->tree, *statement;
    if (sw->right->op != COMMA || sw->right->right->op != DEFAULT) abort_optimizer();
    handler_chains.push_back(sw->right->left);
    NODE *otherwise = sw->right->right;
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

// The opposite of a condition that a branch tests. A program that is to stay as its file has it is not simplified.
NODE *inverted_condition(NODE *n) {
    if (n->op == EXCLAIM) return take_left(n);
    if (!simp_disabled) n = simp_for_control(simp_node(mk_EXCLAIM(n), nullptr), nullptr);
    else if (tree_is_trivially_invertible(n)) n->op = boolean_inv[n->op];
    else return mk_EXCLAIM(n);
    // x == 0  ->  !x
    if (n->op != EQ || !is_ICON(n->right, 0)) return n;
    erase_tree(n->right);
    n->right = nullptr;
    n->op = EXCLAIM;
    n->type = tp->int_type();
    return n;
}

// IF(c, COMMA(T, F))  ->  CBRANCH(c, F), BRANCH T, such that T is the next block if one of them is; a CBRANCH jumps
// when its condition is false
void BLOCK_WRITER::lower_IF(LIST *s, const BBLK *next) {
    NODE *t = s->tree, *labels = t->right;
    NODE *if_true = labels->left, *if_false = labels->right;
    const BBLK *T = if_true->label->block, *F = if_false->label->block;
    if (F == next || (T != next && F->dfn > T->dfn)) {
        std::swap(labels->left, labels->right);
        std::swap(if_true, if_false);
        t->left = inverted_condition(t->left);
    }
    // p  ->  p != 0      p a pointer
    if (t->left->type->is_ptr() || t->left->type->is_ref()) t->left = make_boolean(t->left, nullptr);
    int hint = hint_of_IF(t);
    labels->left = labels->right = nullptr;
    dropped.push_back(labels);
    t->op = CBRANCH;
    t->right = if_false;
    t->branch_hint = int8_t(hint);
    revert_CBRANCH_with_builtin_expect(t);
    insert_branch(s, if_true);
}

// --- the walk ---

bool is_never_executed(const NODE *tree) {
    return tree->op == UMCALL && !strcmp(tree->u.icall, "_never_executed");
}

void BLOCK_WRITER::lower_block(BBLK *bb, BBLK *next) {
    for (LIST *s = bb->statements, *before = nullptr; s; before = s, s = s->next) {
        if (s->tree->op == SWITCH && tree_is_EH_SWITCH(s->tree)) lower_EH_SWITCH(s);
        else if (s->tree->op == IF && s->tree->left->op == ENDLOOP) lower_ENDLOOP(s);
        else if (s->tree->op == IF) lower_IF(s, next);

        const NODE *tree = s->tree;
        if (is_never_executed(tree)) drop_behind(bb, s);
        bool returns = tree->op == RETURN || tree->op == URETURN;
        bool falls_through = returns ? next && trees_are_congruent_se_ok(tree, next->statements->tree)
                                     : tree->op == BRANCH && branch_target(tree) == next;
        if (falls_through) {
            drop_behind(bb, before);
            return;
        }
    }
}

// Counts the labels that are referred to and numbers them in the order of the blocks. Gives the last number.
int BLOCK_WRITER::number_labels() {
    for (BBLK *bb : blocks)
        for (LBL *label = bb->labels; label; label = label->next) label->refcount = 0;
    auto count = [](NODE *n) {
        if (n->op == LABEL) n->label->refcount++;
    };
    for (BBLK *bb : blocks) {
        for (LIST *s = bb->statements; s; s = s->next) {
            int op = s->tree->op;
            if (op == BRANCH || op == CBRANCH || op == ENDLOOP)
                for_each_node(op == BRANCH ? s->tree->left : s->tree->right, count);
            else if (op == SWITCH) for_each_node(s->tree->right, count);
        }
    }
    for (NODE *chain : handler_chains) for_each_node(chain, count);

    int number = 0;
    for (BBLK *bb : blocks)
        for (LBL *label = bb->labels; label; label = label->next)
            if (label->refcount > 0) label->number = ++number;
    return number;
}

// The count of a function's entries goes with a branch to what follows.
void BLOCK_WRITER::write_profile_entry(int label) {
    if (currfuninfo->profile_mode != 2 || currfuninfo->profile_count == ~0u) return;
    if (symbol_has_pragma(currfunc, PRAG_FUNC_NUM_CALLED)) return;
    NODE *branch = maketree(BRANCH, mk_LABELREF(label, 0), nullptr, tp->void_type(), nullptr);
    branch->set_edge_profile_value(currfuninfo->profile_count);
    o_file->if_write_expr(nullptr, nullptr);
    erase_tree(wrtree(branch));
    o_file->if_write_label(label);
}

void BLOCK_WRITER::write_inloop(const BBLK *bb) {
    if (bb->loop == loop) return;
    loop = bb->loop;
    if (!loop) return;
    QL_ASSERT(describe_loop != nullptr);
    INLOOP in = describe_loop(loop);
    o_file->if_write_inloop(in.number, in.lcv, in.lcv ? in.flags & 3 : 0);
}

void dump_written_block(const BBLK *bb) {
    if (!print_debug) return;
    auto dump_edges = [](const char *what, const EDGE *edges) {
        dprintf("%s", what);
        for (const EDGE *e = edges; e; e = e->next) dprintf(" BB%d", e->block->dfn);
    };
    dprintf("\nBB%d\t", bb->dfn);
    dump_edges("PREDS:", bb->preds);
    dump_edges("  SUCCS:", bb->succs);
    dprintf("\n");
    for (const LBL *label = bb->labels; label; label = label->next)
        dprintf("\tLABEL, INDEX=%d, REFCOUNT=%d, NAME=<NONE>\n", label->number, int(label->refcount));
}

void BLOCK_WRITER::write() {
    blocks.clear();
    handler_chains.clear();
    dropped.clear();
    loop = nullptr;
    drop_endless_tails();
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink)
        if (bb->statements) blocks.push_back(bb);
    for (size_t i = 0; i < blocks.size(); i++)
        lower_block(blocks[i], i + 1 < blocks.size() ? blocks[i + 1] : nullptr);
    int last_label = number_labels();
    update_eht_labels(handler_chains, true);
    write_profile_entry(last_label + 1);
    for (BBLK *bb : blocks) {
        dump_written_block(bb);
        write_inloop(bb);
        wrbdlr(bb->labels);
        for (LIST *s = bb->statements; s; s = s->next) wrexpr(s);
    }
    for (NODE *tree : dropped) erase_tree(tree);
}

} // namespace

void wrbblocks() {
    initialize_CFG_profiling_annotation(true, true);
    if (print_debug && write_opt_info) prbbinfix(fdebug);
    static BLOCK_WRITER writer; // its vectors serve all functions
    writer.write();
}

// --- symbols ---

void revert_symbol_type(SYMTAB *s) {
    if (!s->otype || !s->type) return;
    TYPE *declared = s->otype;
    TYPE *plain = declared->is_enum() ? declared->underlying_type()->normalized() : declared->normalized();
    TYPE *present = s->type;
    if (present == plain ||
        compatible_types(tp->remove_known_qual(present, 255), tp->remove_known_qual(plain, 255))) {
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
    static std::vector<SYMTAB *> parameters;
    parameters.clear();
    for (SYMTAB *s = currfuninfo->nonscalars; s; s = s->next)
        if (s->level == 1 && s->flags & SF_LOCAL) parameters.push_back(s);
    auto comes_first = [](const SYMTAB *a, const SYMTAB *b) { return a->sequence < b->sequence; };
    if (!std::is_sorted(parameters.begin(), parameters.end(), comes_first))
        std::stable_sort(parameters.begin(), parameters.end(), comes_first);
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
