#include "OPT5/tree.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "OPT5/cfg.h"
#include "OPT5/flags.h"
#include "OPT5/fold.h"
#include "OPT5/funinfo.h"
#include "OPT5/ptenv.h"
#include "OPT5/symtab.h"
#include "OPT5/treewalk.h"
#include "support/dbgout.h"
#include "support/fatal.h"
#include "support/fps_text.h"
#include "support/pool.h"
#include "support/safealloc.h"
#include "typepkg/type_query.h"

// ---------------------------------------------------------------------------------------------------------
// memory
// ---------------------------------------------------------------------------------------------------------

namespace {

// A free node. Its opcode stays readable as ILLOP, so that a second erase is found out.
struct FREE_NODE {
    void *link;
    int16_t op;
};

record_pool<sizeof(NODE), sizeof(FREE_NODE) - sizeof(void *)> nodes;

// Whether `n` is an erased node. Its NODE is gone, so its memory is looked at as what it is now.
bool is_free(const NODE *n) {
    int16_t op;
    memcpy(&op, reinterpret_cast<const char *>(n) + offsetof(FREE_NODE, op), sizeof op);
    return op == ILLOP;
}

bool op_owns_payload(int op) { return op == FCON || op == SCON || op == ASM || op == PPRAGMA; }

} // namespace

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(NODE, op) == offsetof(FREE_NODE, op) && sizeof(NODE::op) == sizeof(FREE_NODE::op));
#pragma GCC diagnostic pop

void *NODE::operator new(size_t) { return nodes.take(); }

void NODE::operator delete(void *memory) {
    if (!memory) return;
    static_cast<FREE_NODE *>(memory)->op = ILLOP;
    nodes.give(memory);
}

size_t nodes_in_use() { return nodes.live(); }

NODE::NODE(int op, TYPE *type) : op(static_cast<int16_t>(op)), type(type), otype(type) {}

NODE::~NODE() {
    if (op_owns_payload(op)) clear_payload(this);
    if (!rare_words) return;
    delete rare_words->dval;
    delete rare_words;
}

DDREC *DDREC::copy() const {
    DDREC *r = new DDREC;
    r->tree = copy_tree(tree);
    r->id = id;
    r->flags = flags;
    r->flags2 = flags2;
    return r;
}

const char *intern_name(const char *name) {
    static std::unordered_set<std::string_view> pool; // of texts that stay
    if (!name) return nullptr;
    auto known = pool.find(name);
    return known != pool.end() ? known->data() : pool.insert(keep_text(name)).first->data();
}

namespace {

char *copy_bytes(const char *bytes, size_t n) {
    char *copy = static_cast<char *>(safemalloc(n + 1));
    if (n) memcpy(copy, bytes, n);
    copy[n] = 0;
    return copy;
}
char *copy_text(const char *text) { return text ? copy_bytes(text, strlen(text)) : nullptr; }

size_t scon_bytes(const NODE *n) { return n->u.lval.low_u32(); }

PRAGMA *copy_pragma(const PRAGMA *p) {
    if (!p) return nullptr;
    PRAGMA *copy = new PRAGMA(*p);
    copy->next = nullptr;
    return copy;
}

} // namespace

void clear_payload(NODE *n) {
    if (n->op == FCON) delete n->u.fval;
    if (n->op == PPRAGMA) delete n->pragma;
    if (n->op == FCON || n->op == SCON || n->op == ASM) free(n->text);
    n->payload = nullptr;
    n->u.lval = INT65();
}

void become_ICON(NODE *n, INT65 value, TYPE *type) {
    clear_payload(n);
    n->op = ICON;
    n->left = n->right = nullptr;
    n->type = type;
    n->u.lval = truncate_to_type(value, type);
}

// ---------------------------------------------------------------------------------------------------------
// the face of the file library
// ---------------------------------------------------------------------------------------------------------

I_SYMTAB *NODE::name_sym() { return u.sym; }
uint32_t NODE::icon_uvalue() { return u.lval.low_u32(); }
int32_t NODE::icon_svalue() { return u.lval.low_i32(); }
unsigned NODE::scon_size() { return static_cast<unsigned>(scon_bytes(this)); }
int NODE::label_id() { return op == LABEL && label ? label->number : u.lval.low_i32(); }
int NODE::vreg_id() { return u.lval.low_i32(); }
unsigned NODE::skip_size() { return u.lval.low_u32(); }
unsigned NODE::switch_count() { return u.lval.low_u32(); }
unsigned NODE::call_site() { return u.lval.low_u32(); }

const char *NODE::lcon_value() {
    static std::string decimal;
    decimal = int65_to_decimal(u.lval);
    return decimal.c_str();
}

const char *NODE::fcon_value() {
    if (!text) {
        simul_fval v = u.fval ? *u.fval : pos_zero;
        unsigned pending_errors = fp_error;
        if (type) truncate_fval_to_target(&v, type);
        fp_error = pending_errors;
        text = copy_text(f_ftoa_text("%a", &v).c_str());
    }
    return text;
}

void NODE::mk_name(I_SYMTAB *symbol) {
    u.sym = static_cast<SYMTAB *>(symbol);
    if (u.sym && currfuninfo && (u.sym->cqual & CQ_CREGISTER)) currfuninfo->has_cregister_names = true;
}

void NODE::mk_field(int kind, fkMDATA *m, TYPE *csu) {
    if (kind != 1) abort_optimizer();
    u.csu = csu;
    member = m;
    if (type) type = type->normalized();
    if (m && m->is_bitfld() && currfuninfo) currfuninfo->has_bitfield_refs = true;
}

void NODE::mk_icon(bool is_signed, uint32_t bits) {
    INT65 value = is_signed ? INT65(static_cast<int32_t>(bits)) : INT65(bits);
    u.lval = type && TYPE_IS_INT(type) ? truncate_to_type(value, type) : value;
}

// The writer makes an LCON of each ICON that 32 bits can't hold; here is the way back, so that the passes know
// one kind of integer constant. Text that is no number was refused by the reader.
void NODE::mk_lcon(const char *decimal) {
    INT65 value;
    text_to_int65(decimal ? decimal : "", 10, &value);
    if (type && TYPE_IS_INT(type)) {
        op = ICON;
        value = truncate_to_type(value, type);
    }
    u.lval = value;
}

void NODE::mk_fcon(const char *hex_text) {
    clear_payload(this);
    u.fval = new simul_fval;
    unsigned pending_errors = fp_error;
    f_atof(hex_text ? hex_text : "", u.fval);
    fp_error = pending_errors;
}

void NODE::mk_scon(const char *bytes, unsigned n) {
    free(text);
    text = copy_bytes(bytes, n);
    u.lval = INT65(n);
}

void NODE::mk_label(int number) { u.lval = INT65(number); }
void NODE::mk_skip(unsigned bytes) { u.lval = INT65(bytes); }
void NODE::mk_switch(unsigned cases) { u.lval = INT65(cases); }
void NODE::mk_icall(const char *name) { u.icall = intern_name(name); }

void NODE::mk_call(unsigned site, unsigned eh_entry) {
    u.lval = INT65(site);
    mk_ucall(eh_entry);
}

void NODE::mk_ucall(unsigned eh_entry) {
    i_eht_id = eh_entry;
    if (currfuninfo) currfuninfo->is_leaf = false;
}

// ---------------------------------------------------------------------------------------------------------
// makers
// ---------------------------------------------------------------------------------------------------------

NODE *nl_left_child(NODELIST *list) { return list->node->left; }
NODE *list_left_child(LIST *list) { return list->tree->left; }
NODE *pair_left_child(NODEPAIRLIST *list) { return list->a->left; }

NODE *maketree(int op, NODE *left, NODE *right, TYPE *type, LS *scope) {
    // a value has no qualifiers
    if ((op == SCONV || op == PCONV || op == ACONV) && type && type->is_qual()) type = type->type_qualified();
    NODE *n = new NODE(op, type);
    n->left = left;
    n->right = right;
    n->scope = scope;
    return n;
}

NODE *mktree(int op, NODE *left, NODE *right, TYPE *type, SYMTAB *symbol, INT65 value) {
    NODE *n = maketree(op, left, right, type, nullptr);
    if (symbol) n->u.sym = symbol;
    else n->u.lval = value;
    return n;
}

NODE *new_node(int op, TYPE *type) {
    NODE *n = new NODE(op, type);
    if (op == SCONV && type && type->is_enum()) {
        n->type = type->underlying_type()->normalized();
    } else if (op == PCONV && type && type->is_ptr() && chars_alias_other_types) {
        TYPE *target = type->type_pointed_to();
        if (target->is_schar() || target->is_uchar()) n->op = ISP2CHAR;
    } else if (op == UCALL && currfuninfo) {
        currfuninfo->is_leaf = false;
    }
    return n;
}

NODE *mk_ASG(NODE *lhs, NODE *rhs) {
    TYPE *type = lhs->type;
    int op = type->is_array() && !type->is_vector() ? ARASG : type->is_csu() ? STASG : ASG;
    NODE *n = maketree(op, lhs, rhs, type, lhs->scope);
    if (op == STASG && lhs->op == NAME) n->u.sym = lhs->u.sym;
    return n;
}

NODE *mk_COMMAOP(NODE *a, NODE *b) { return a ? maketree(COMMAOP, a, b, b->type, b->scope) : b; }

NODE *mk_EXCLAIM(NODE *t) { return maketree(EXCLAIM, t, nullptr, tp->int_type(), t->scope); }

namespace {

NODE *mk_named_call(int op, int op_without_args, const char *name, NODE *args, TYPE *type) {
    NODE *n = maketree(args ? op : op_without_args, args, nullptr, type, args ? args->scope : nullptr);
    n->u.icall = intern_name(name);
    return n;
}

} // namespace

NODE *mk_ICALL(const char *name, NODE *args, TYPE *type) {
    return mk_named_call(ICALL, UICALL, name, args, type);
}
NODE *mk_MCALL(const char *name, NODE *args, TYPE *type) {
    return mk_named_call(MCALL, UMCALL, name, args, type);
}

NODE *mk_ICON(INT65 value, TYPE *type) {
    if (type->is_ptr()) {
        TYPE *same_size = tp->int_type();
        for (IKIND k : {IK_long, IK_llong, IK_short})
            if (same_size->size != type->size) same_size = tp->basic_int(k);
        type = same_size;
    }
    QL_ASSERT(type->is_integral() || type->is_enum());
    NODE *n = new NODE(ICON, type);
    n->u.lval = truncate_to_type(value, type);
    return n;
}

NODE *mk_FCON(const simul_fval &value, TYPE *type) {
    NODE *n = new NODE(FCON, type);
    n->u.fval = new simul_fval(value);
    return n;
}

NODE *mk_MINUS(NODE *a, NODE *b) {
    if (!b) return a;
    if (!a) {
        TYPE *type = b->type->is_integral() || b->type->is_enum() ? c_integral_promotions(b->type) : b->type;
        return maketree(UMINUS, b, nullptr, type, b->scope);
    }
    TYPE *type;
    if (a->type->is_ptr()) type = b->type->is_ptr() ? tp->int_type() : a->type;
    else type = a->type->is_arithmetic() ? c_usual_arith_conv(a->type, b->type) : a->type;
    return maketree(MINUS, a, b, type, a->scope);
}

NODE *mk_NAME(SYMTAB *symbol, LS *scope) {
    NODE *n = new NODE(NAME, symbol->type);
    n->otype = symbol->otype ? symbol->otype : symbol->type;
    n->u.sym = symbol;
    n->scope = scope ? scope : symbol->scope;
    return n;
}

NODE *mk_UAND(NODE *lvalue) {
    return maketree(UAND, lvalue, nullptr, tp->mk_ptr(lvalue->type), lvalue->scope);
}

void note_label_reference(LBL *label) { label->refcount++; }

NODE *mk_LABELDEF(LBL *label) {
    NODE *n = new NODE(LABELDEF, tp->void_type());
    n->label = label;
    n->u.lval = INT65(label->number);
    return n;
}

NODE *mk_LABELREF(int number, int branch_hint) {
    NODE *n = new NODE(LABEL, tp->int_type());
    n->u.lval = INT65(number);
    n->branch_hint = static_cast<int8_t>(std::clamp(branch_hint, -1, 1));
    return n;
}

NODE *mk_LABELREF_to_bb(BBLK *bb, LS *scope) {
    if (!bb->labels) bb->labels = mklabel(0, nullptr, bb);
    NODE *n = mk_LABELREF(bb->labels->number, 0);
    n->label = bb->labels;
    n->scope = scope;
    note_label_reference(n->label);
    return n;
}

NODE *mk_IF(NODE *condition, BBLK *if_true, BBLK *if_false, LS *scope) {
    NODE *labels = maketree(COMMA, mk_LABELREF_to_bb(if_true, scope), mk_LABELREF_to_bb(if_false, scope),
                            tp->int_type(), scope);
    return maketree(IF, condition, labels, tp->void_type(), scope);
}

NODE *mk_BRANCH(BBLK *bb, LS *scope) {
    return maketree(BRANCH, mk_LABELREF_to_bb(bb, scope), nullptr, tp->void_type(), scope);
}

NODE *mk_ASM_comment(const char *text) {
    NODE *n = new NODE(ASM, tp->void_type());
    n->u.lval = INT65(ASM_COMMENT);
    n->text = copy_text(text ? text : "");
    return n;
}

NODE *mk_PPRAGMA(PRAGMA *owned) {
    NODE *n = new NODE(PPRAGMA, tp->void_type());
    n->pragma = owned;
    return n;
}

LIST *mklist(NODE *tree, LIST *next, int line, int column) {
    LIST *l = new LIST;
    l->tree = tree;
    l->line = static_cast<uint16_t>(std::clamp(line, 0, int{UINT16_MAX}));
    l->column = static_cast<uint16_t>(std::clamp(column, 0, int{UINT16_MAX}));
    l->next = next;
    return l;
}

LIST *mkelist(NODE *tree, LIST *next, const PSN *psn) {
    LIST *l = new LIST;
    l->tree = tree;
    l->psn = psn;
    l->next = next;
    return l;
}

LLIST *mklistlist(LIST *list, LLIST *next) { return new LLIST{list, next}; }

// ---------------------------------------------------------------------------------------------------------
// argument lists
// ---------------------------------------------------------------------------------------------------------

namespace {

// Visits the leaves from the left; a COMMA is never an argument itself, so one that leans right counts too.
template <class F> void for_each_arg(NODE *list, F &&f) {
    for_each_node(list, [&](NODE *n) {
        if (n->op == COMMA) return WALK_INTO;
        return f(n) ? WALK_OVER : WALK_STOP;
    });
}

} // namespace

int arg_list_count(NODE *list) {
    int count = 0;
    for_each_arg(list, [&](NODE *) { return ++count > 0; });
    return count;
}

NODE *arg_list_lookup(NODE *list, int n) {
    NODE *found = nullptr;
    for_each_arg(list, [&](NODE *arg) {
        if (n-- != 0) return true;
        found = arg;
        return false;
    });
    return found;
}

NODE *arg_list_append(NODE *list, NODE *arg) {
    return list ? maketree(COMMA, list, arg, arg->type, list->scope) : arg;
}

std::vector<NODE *> arg_list_args(NODE *list) {
    std::vector<NODE *> args;
    for_each_arg(list, [&](NODE *arg) { return args.push_back(arg), true; });
    return args;
}

// ---------------------------------------------------------------------------------------------------------
// copies
// ---------------------------------------------------------------------------------------------------------

NODE *copy_node(const NODE *n, bool keep_scope) {
    NODE *c = new NODE(n->op, n->type);
    c->branch_hint = n->branch_hint;
    c->flag = n->flag;
    c->left = n->left;
    c->right = n->right;
    c->u = n->u;
    c->scope = keep_scope ? n->scope : nullptr;
    c->otype = n->otype;
    c->payload = n->payload;
    if (n->rare_words) {
        NODE_RARE &rare = c->rare();
        rare.edge_weight = n->rare_words->edge_weight;
        rare.ocall = n->rare_words->ocall;
        rare.call_owner = n->rare_words->call_owner;
        if (n->op != SSA_PHI) rare.ssa = n->rare_words->ssa; // the argument list of a phi is its own
        rare.ssa2 = n->rare_words->ssa2;
        rare.depnum = n->rare_words->depnum;
        rare.edge_profile_value = n->rare_words->edge_profile_value;
    }
    switch (n->op) {
    case FCON:
        c->u.fval = n->u.fval ? new simul_fval(*n->u.fval) : nullptr;
        c->text = nullptr; // made again when it is asked for
        break;
    case SCON: c->text = n->text ? copy_bytes(n->text, scon_bytes(n)) : nullptr; break;
    case ASM: c->text = copy_text(n->text); break;
    case PPRAGMA: c->pragma = copy_pragma(n->pragma); break;
    case LABEL:
        if (n->label) note_label_reference(n->label);
        break;
    }
    return c;
}

NODE *copy_dd_node(const NODE *n, bool keep_scope) {
    NODE *c = copy_node(n, keep_scope);
    if (const DDREC *record = n->dval()) c->rare().dval = record->copy();
    return c;
}

namespace {

// Copies `tree`, each node by `copy_one`. The operands of a CSE_DUPE are another tree's.
template <class F> NODE *copy_tree_with(const NODE *tree, F &&copy_one) {
    struct ITEM {
        const NODE *from;
        NODE **to;
    };
    NODE *root = nullptr;
    walk_stack<ITEM> todo;
    if (tree) todo.push({tree, &root});
    while (!todo.empty()) {
        ITEM item = todo.pop();
        const NODE *n = item.from;
        NODE *c = *item.to = copy_one(n);
        if (n->op == CSE_DUPE) continue;
        if (n->right) todo.push({n->right, &c->right});
        if (n->left) todo.push({n->left, &c->left});
    }
    return root;
}

template <class F> LIST *copy_list_with(const LIST *list, F &&copy_one) {
    LIST *head = nullptr;
    LIST **end = &head;
    for (; list; list = list->next) {
        LIST *entry = new LIST(*list);
        entry->next = nullptr;
        entry->tree = copy_one(list->tree);
        *end = entry;
        end = &entry->next;
    }
    return head;
}

} // namespace

NODE *copy_tree(const NODE *tree, bool keep_scope) {
    return copy_tree_with(tree, [&](const NODE *n) { return copy_node(n, keep_scope); });
}

NODE *copy_dd_tree(const NODE *tree, bool keep_scope) {
    return copy_tree_with(tree, [&](const NODE *n) { return copy_dd_node(n, keep_scope); });
}

NODE *copy_tree_0(const NODE *tree, FUNINFO *destination) {
    return copy_tree_with(tree, [&](const NODE *n) {
        NODE *c = copy_node(n, true);
        if (destination && (c->op == NAME || c->op == STASG) && c->u.sym)
            c->u.sym = intern_symbol(c->u.sym, destination);
        if (destination && c->op == UICALL && c->affine_iv)
            c->affine_iv = intern_symbol(c->affine_iv, destination);
        return c;
    });
}

LIST *copy_statements(const LIST *list, bool keep_scope) {
    return copy_list_with(list, [&](const NODE *t) { return copy_tree(t, keep_scope); });
}

LIST *copy_dd_statements(const LIST *list, bool keep_scope) {
    return copy_list_with(list, [&](const NODE *t) { return copy_dd_tree(t, keep_scope); });
}

LIST *copy_shared_statements(const LIST *list) {
    std::unordered_map<const NODE *, NODE *> copies;
    std::vector<NODE *> dupes;
    LIST *result = copy_list_with(list, [&](const NODE *tree) {
        auto known = copies.find(tree);
        if (known != copies.end()) return known->second;
        return copy_tree_with(tree, [&](const NODE *n) {
            NODE *c = copies[n] = copy_node(n);
            if (n->op == CSE_DUPE) dupes.push_back(c);
            return c;
        });
    });
    // what a duplicate stands for has been copied by now, unless it lies outside the list
    auto copy_of = [&](NODE *n) {
        auto known = copies.find(n);
        return known == copies.end() ? n : known->second;
    };
    for (NODE *dupe : dupes) dupe->left = copy_of(dupe->left), dupe->right = copy_of(dupe->right);
    return result;
}

NODE *copy_node_if_changed(NODE *n, NODE *left, NODE *right) {
    if (left == n->left && right == n->right) return n;
    NODE *c = copy_node(n);
    c->left = left;
    c->right = right;
    return c;
}

// ---------------------------------------------------------------------------------------------------------
// erasing
// ---------------------------------------------------------------------------------------------------------

namespace {

[[noreturn]] void erased_twice(const NODE *n) {
    const char *format = "\n\n!!! COMPILER (OPTIMIZER) ERROR IN 'erase_node' %p !!!\n\n";
    dprintf(format, static_cast<const void *>(n));
    fprintf(stderr, format, static_cast<const void *>(n));
    abort_optimizer();
}

// Erases a node and gives the tree of its record, which the caller has to erase.
NODE *release_node(NODE *n) {
    if (is_free(n)) erased_twice(n);
    NODE *record_tree = nullptr;
    if (n->rare_words) {
        if (n->dval()) record_tree = std::exchange(n->dval()->tree, nullptr);
        if (n->ptenv()) delete_PTENV(n->ptenv(), 1);
    }
    delete n;
    return record_tree;
}

} // namespace

void erase_tree(NODE *tree) {
    if (!tree) return;
    walk_stack<NODE *> todo;
    for (NODE *n = tree;;) {
        if (is_free(n)) erased_twice(n);
        NODE *left = n->left, *right = n->right;
        if (n->op == CSE_DUPE) left = right = nullptr;
        if (n->rare_words || op_owns_payload(n->op)) {
            if (NODE *record_tree = release_node(n)) todo.push(record_tree);
        } else {
            NODE::operator delete(n); // nothing to release
        }
        if (left) {
            if (right) todo.push(right);
            n = left;
        } else if (right) {
            n = right;
        } else if (todo.empty()) {
            return;
        } else {
            n = todo.pop();
        }
    }
}

void erase_node(NODE *n) {
    if (n) erase_tree(release_node(n));
}

void erase_tree_list_to_entry(LIST *from, LIST *stop) {
    while (from && from != stop) {
        LIST *next = from->next;
        erase_tree(from->tree);
        delete from;
        from = next;
    }
}

void erase_tree_list(LIST *list) { erase_tree_list_to_entry(list, nullptr); }

void erase_tree_list_only(LIST *list) {
    while (list) delete std::exchange(list, list->next);
}
