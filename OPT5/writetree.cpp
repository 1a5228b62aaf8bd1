#include "OPT5/writetree.h"

#include <cstdio>

#include "OPT5/bif.h"
#include "OPT5/funinfo.h"
#include "OPT5/pragma.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "support/fatal.h"

namespace {

constexpr unsigned NO_PROFILE_VALUE = ~0u;
constexpr int NARROW = 32; // bits of a constant that ICON holds in a file

// The operand in the place of its operator.
NODE *take_operand(NODE *n) {
    NODE *operand = n->left;
    n->left = nullptr;
    erase_node(n);
    return operand;
}

// NONALIGN p  ->  p or PCONV p
NODE *drop_alignment_mark(NODE *n) {
    TYPE *type = n->type;
    LS *scope = n->scope;
    NODE *p = take_operand(n);
    return p->type == type ? p : maketree(PCONV, p, nullptr, type, scope);
}

NODE *finish_ICON(NODE *n) {
    int bits = int(n->type->size);
    if (bits <= NARROW || !(n->type->is_integral() || n->type->is_enum())) return n;
    bool is_signed = n->type->is_signed();
    n->u.lval = is_signed ? n->u.lval.truncate_signed(bits) : n->u.lval.truncate_unsigned(bits);
    if (!(is_signed ? n->u.lval.fits_signed(NARROW) : n->u.lval.fits_unsigned(NARROW))) n->op = LCON;
    return n;
}

NODE *finish_SWITCH(NODE *n) {
    int cases = 0;
    for (const NODE *chain = n->right; chain; chain = chain->op == COMMA ? chain->left : nullptr) {
        const NODE *last = chain->op == COMMA ? chain->right : chain;
        cases += last->op == CASE;
    }
    n->u.lval = INT65(cases);
    return n;
}

const SYMTAB *direct_callee(const NODE *call) {
    return call->left->op == UAND && call->left->left->op == NAME ? call->left->left->u.sym : nullptr;
}

NODE *finish_call(NODE *n) {
    const SYMTAB *callee = direct_callee(n);
    if (callee && is_barrier_MCALL(callee)) {
        const char *name = intern_name(skip_name_prefix(callee->name));
        erase_tree(n->left);
        n->left = n->right;
        n->right = nullptr;
        n->op = n->left ? MCALL : UMCALL;
        n->i_eht_id = 0;
        n->u.lval = INT65(0);
        n->u.icall = name;
    } else if (callee) {
        if (FUNINFO *f = find_FUNINFO_for_call(n)) f->flags |= FUN_is_called;
    }
    return n;
}

// The same lanes of integers of one size: a conversion and another view of the bits are one thing.
bool lanes_agree(const TYPE *a, const TYPE *b) {
    if (!a->is_vector() || !b->is_vector() || a->num_elem() != b->num_elem()) return false;
    const TYPE *x = a->elem_type(), *y = b->elem_type();
    return x->size == y->size && x->is_integral() && y->is_integral();
}

// SCONV of vectors converts lane by lane, so other views of the bits stay VRCONV.
NODE *finish_VRCONV(NODE *n) {
    if (lanes_agree(n->type, n->left->type)) n->op = SCONV;
    return n;
}

NODE *finish_VSCONV(NODE *n) {
    QL_ASSERT(n->type->is_vector() && n->left->type->is_vector());
    n->op = SCONV;
    return n;
}

// Built-ins by which the vector passes name a change of view: of a constant it is the constant.
struct VIEW_ROW {
    const char *name;
    int op;
};
const VIEW_ROW view_builtins[] = {{"__s2v", VRCONV}, {"__v2s", VRCONV}, {"__repack", SCONV}};

int view_opcode(const char *name) {
    static const char *interned[] = {intern_name(view_builtins[0].name), intern_name(view_builtins[1].name),
                                     intern_name(view_builtins[2].name)};
    for (int i = 0; i < 3; i++)
        if (interned[i] == name) return view_builtins[i].op;
    return NOP;
}

NODE *finish_ICALL(NODE *n) {
    int op = view_opcode(n->u.icall);
    if (op == NOP || !n->left || n->left->op == COMMA) return n;
    if (n->left->op == ICON) {
        TYPE *type = n->type;
        NODE *constant = take_operand(n);
        constant->type = type;
        return finish_ICON(constant);
    }
    n->op = op;
    n->u.rval = nullptr;
    return op == VRCONV ? finish_VRCONV(n) : n;
}

NODE *finish_MCALL(NODE *n) {
    const BIF *bif = find_BIF_descriptor(n->u.icall);
    if (bif && bif->flags3 & BIF_IS_INTRINSIC) n->op = ICALL;
    return n;
}

// An edge count of a profile stands in a node of its own.
NODE *add_profile_value(NODE *n) {
    if (currfuninfo->profile_mode != 2 || n->get_edge_profile_value() == NO_PROFILE_VALUE) return n;
    NODE *value = maketree(EPVAL, n, nullptr, n->type, n->scope);
    value->set_edge_profile_value(n->get_edge_profile_value());
    n->set_edge_profile_value(NO_PROFILE_VALUE);
    return value;
}

// A node whose operands are finished.
NODE *finish_node(NODE *n) {
    switch (n->op) {
    case IDENTITY: return take_operand(n);
    case ISP2CHAR: n->op = PCONV; return n;
    case NONALIGN:
    case OUIALIGN: return drop_alignment_mark(n);
    case ICON: return finish_ICON(n);
    case LABEL:
        if (n->label) n->u.lval = INT65(n->label->number);
        return n;
    case NAME:
        if (n->u.sym->level == 0) n->u.sym->cqual |= CQ_REFERENCED;
        return n;
    case SWITCH: return finish_SWITCH(n);
    case QUEST:
    case COLON:
    case BRANCH:
    case CBRANCH: return add_profile_value(n);
    case CALL:
    case UCALL: return finish_call(n);
    case ICALL: return finish_ICALL(n);
    case MCALL: return finish_MCALL(n);
    case VRCONV: return finish_VRCONV(n);
    case VSCONV: return finish_VSCONV(n);
    case DDNODE: QL_ASSERT(n->dval() != nullptr); return n;
    default: break;
    }
    if (n->op >= FIRST_NON_FILE_OP) {
        fprintf(stderr, "%s\n", op_is_defined(n->op) ? node_operator_name[n->op] : "unknown operator");
        abort_optimizer();
    }
    return n;
}

} // namespace

NODE *finish_tree_for_output(NODE *tree) {
    return rewrite_tree(tree, [](NODE *n) { return finish_node(n); });
}
