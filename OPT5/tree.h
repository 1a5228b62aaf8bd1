// Expression and statement trees.
//
// A function's statements are trees of NODEs; a statement is a LIST entry that holds one tree and a source
// position. Every node has exactly one parent: a subtree is copied before a second use. Statement shapes:
//
//   IF          left the condition, right COMMA(LABEL true target, LABEL false target)
//   BRANCH      left a LABEL
//   SWITCH      left the selector, right COMMA(CASE chain, DEFAULT(LABEL)); CASE(ICON, LABEL)
//   LABELDEF    the label's definition, u.lval its number (only before the flow graph exists)
//   ASM         assembly or comment text; u.lval 36 or 47
//   PPRAGMA     a pragma
//   CALL        left UAND(NAME) for a direct call, right the argument list; UCALL without arguments
//   ICALL MCALL left the argument list, the name in u.rval; UICALL, UMCALL without arguments
//
// An argument list is a left-deep chain of COMMA. Makers here never simplify. Memory: nodes come from operator
// new of this record (a free list per process) and go by erase_tree; a second erase of a node is fatal.
// Copies, walks and erasure use an explicit stack or loop where a chain can be long (lists, either spine).
//
// A program is millions of NODEs, so a NODE is one cache line of 64 bytes. Words that are valid for some opcodes only
// share a place (a FIELD has a member, a LABEL a label), also those of u: an ICON has a value there, a NAME a symbol.
// Types and scopes are named by short pointers. Words that few nodes need stand in NODE_RARE.
#pragma once

#include <string>
#include <vector>

#include "OPT5/fwd.h"
#include "OPT5/optab.h"
#include "ifile/if_faces.h"
#include "support/fps_arith.h"
#include "support/near.h"
#include "support/xint.h"
#include "typepkg/type_pkg.h"

enum ASM_KIND { ASM_ASSEMBLY = 36, ASM_COMMENT = 47 };

// The record of a DDNODE or CSE node. The dependence analysis derives its own from it.
struct DDREC {
    NODE *tree = nullptr; // owned; erase_node erases it, a plain delete does not
    unsigned id = 0;
    unsigned flags = 0;
    unsigned flags2 = 0;

    virtual ~DDREC() = default;
    virtual DDREC *copy() const; // with a copy of the tree
};

// What few nodes have; made when first set, and gone with the node.
struct NODE_RARE : pooled<NODE_RARE> {
    double edge_weight = -1.0;     // -1.0 until known
    PTENV *ptenv = nullptr;        // points-to environment; owned
    DDREC *dval = nullptr;         // record of the dependence analysis; owned
    NODE *ocall = nullptr;         // the call that this one replaced
    FUNINFO *call_owner = nullptr; // of a call: the function that it was read in
    void *ssa = nullptr;           // annotation of the SSA form
    void *ssa2 = nullptr;          // its second word
    int depnum = -1;               // version of a variable; number in the dependence graph
    void *scratch = nullptr;       // per-pass use
    unsigned edge_profile_value = ~0u;
    uint16_t scratch16 = 0;
};

struct NODE final : BASE_NODE {
    int16_t op = NOP;
    int8_t branch_hint = 0; // on a branch target: negative unlikely, positive likely
    bool flag = false;      // copied with the node
    near_ptr<TYPE> type;
    NODE *left = nullptr;
    NODE *right = nullptr;
    // 12 bytes, as an INT65 is; otype fills the rest of their place.
#pragma pack(push, 4)
    union {
        // By opcode:
        INT65 lval =
            INT65(); // ICON/LCON value; SCON length; LABEL number; SWITCH cases; SKIP size; ASM kind; call site
        void *rval;        // the other words, as what copies them
        SYMTAB *sym;       // NAME, STASG: the symbol (null: none)
        simul_fval *fval;  // FCON: the value, owned by the node
        const char *icall; // ICALL family: the name, owned by the name pool
        TYPE *csu;         // FIELD: the record type
    } u;
#pragma pack(pop)
    near_ptr<TYPE> otype; // the type at creation, kept when `type` is normalised
    union {
        void *payload = nullptr;
        char *text;      // of an SCON (its bytes) or ASM; of an FCON its text when known; owned, from malloc
        fkMDATA *member; // of a FIELD, may be null
        LBL *label;      // of a LABEL or LABELDEF
        PRAGMA *pragma;  // of a PPRAGMA; owned
        unsigned i_eht_id; // of a CALL or UCALL: its exception table entry, or 0
        SYMTAB *affine_iv; // of a UICALL of SYM_IS_AFFINE_IV
    };
    near_ptr<LS> scope;
    near_ptr<NODE_RARE> rare_words; // owned; see below

    // The rare words: reading never makes the record, setting does.
    double edge_weight() const { return rare_words ? rare_words->edge_weight : -1.0; }
    PTENV *ptenv() const { return rare_words ? rare_words->ptenv : nullptr; }
    DDREC *dval() const { return rare_words ? rare_words->dval : nullptr; }
    NODE *ocall() const { return rare_words ? rare_words->ocall : nullptr; }
    FUNINFO *call_owner() const { return rare_words ? rare_words->call_owner : nullptr; }
    void *ssa() const { return rare_words ? rare_words->ssa : nullptr; }
    int depnum() const { return rare_words ? rare_words->depnum : -1; }
    void *ssa2() const { return rare_words ? rare_words->ssa2 : nullptr; }
    void *scratch() const { return rare_words ? rare_words->scratch : nullptr; }
    NODE_RARE &rare() {
        if (!rare_words) rare_words = new NODE_RARE;
        return *rare_words;
    }

    NODE(int op, TYPE *type);
    ~NODE() override;
    NODE(const NODE &) = delete;
    NODE &operator=(const NODE &) = delete;
    static void *operator new(size_t);
    static void operator delete(void *);

    bool is_const_int() const { return op == ICON; }

    // --- the face of the file library ---
    I_SYMTAB *name_sym() override;
    int field_kind() override { return 1; }
    fkMDATA *field_mval() override { return member; }
    TYPE *field_csu() override { return u.csu; }
    uint32_t icon_uvalue() override;
    int32_t icon_svalue() override;
    const char *lcon_value() override;
    const char *fcon_value() override;
    const char *scon_value() override { return text; }
    unsigned scon_size() override;
    int label_id() override;
    int vreg_id() override;
    unsigned skip_size() override;
    unsigned switch_count() override;
    unsigned ddnode_id() override { return dval() ? dval()->id : 0; }
    unsigned ddnode_flags() override { return dval() ? dval()->flags : 0; }
    unsigned ddnode_flags2() override { return dval() ? dval()->flags2 : 0; }
    unsigned call_site() override;
    const char *icall_name() override { return u.icall; }
    unsigned eh_entry_id() override { return i_eht_id; }
    unsigned get_edge_profile_value() override { return rare_words ? rare_words->edge_profile_value : ~0u; }
    void set_edge_profile_value(unsigned v) override {
        if (rare_words || v != ~0u) rare().edge_profile_value = v;
    }
    void mk_name(I_SYMTAB *) override;
    void mk_field(int kind, fkMDATA *member, TYPE *csu) override;
    void mk_icon(bool is_signed, uint32_t bits) override;
    void mk_lcon(const char *decimal) override;
    void mk_fcon(const char *hex_text) override;
    void mk_scon(const char *bytes, unsigned n) override;
    void mk_label(int number) override;
    void mk_vreg(int) override {}
    void mk_skip(unsigned bytes) override;
    void mk_switch(unsigned cases) override;
    void mk_ddnode(unsigned, unsigned, unsigned) override {}
    void mk_call(unsigned site, unsigned eh_entry) override;
    void mk_ucall(unsigned eh_entry) override;
    void mk_icall(const char *name) override;
    int base_op() const override { return op; }
    TYPE *base_type() const override { return type; }
    BASE_NODE *base_left() const override { return left; }
    BASE_NODE *base_right() const override { return right; }
    void set_base_op(int o) override { op = int16_t(o); }
    void set_base_left(BASE_NODE *n) override { left = static_cast<NODE *>(n); }
    void set_base_right(BASE_NODE *n) override { right = static_cast<NODE *>(n); }
};

static_assert(POOL_IS_HEAP || sizeof(NODE) == 64);

// One statement.
struct LIST : pooled<LIST> {
    NODE *tree = nullptr;
    const PSN *psn = nullptr;
    uint16_t line = 0, column = 0;
    LIST *next = nullptr;
};
struct LLIST {
    LIST *list = nullptr;
    LLIST *next = nullptr;
};
struct NODELIST {
    NODE *node = nullptr;
    NODELIST *next = nullptr;
};
struct NODEPAIRLIST {
    NODE *a = nullptr, *b = nullptr;
    NODEPAIRLIST *next = nullptr;
};
// The `left` of the first node.
NODE *nl_left_child(NODELIST *);
NODE *list_left_child(LIST *);
NODE *pair_left_child(NODEPAIRLIST *);

// --- makers ---

// A node with operands. SCONV, PCONV and ACONV lose a qualifier of the given type.
NODE *maketree(int op, NODE *left, NODE *right, TYPE *type, LS *scope);
// The same with a symbol, or with `value` in u.lval when the symbol is null.
NODE *mktree(int op, NODE *left, NODE *right, TYPE *type, SYMTAB *symbol, INT65 value);
// What the reader needs: childless; SCONV to an enum takes the underlying type, PCONV to char* may become ISP2CHAR.
NODE *new_node(int op, TYPE *type);
NODE *mk_ASG(NODE *lhs, NODE *rhs); // ASG, STASG (records) or ARASG (arrays that are no vectors)
NODE *mk_COMMAOP(NODE *a, NODE *b); // b when a is null
NODE *mk_EXCLAIM(NODE *);
NODE *mk_ICALL(const char *name, NODE *args, TYPE *type); // UICALL when args is null
NODE *mk_MCALL(const char *name, NODE *args, TYPE *type); // UMCALL when args is null
NODE *mk_ICON(INT65 value, TYPE *type); // truncated to the type; integer, enum or pointer types only
NODE *mk_FCON(const simul_fval &value, TYPE *type);
NODE *mk_MINUS(NODE *a, NODE *b); // a when b is null; UMINUS of b when a is null
NODE *mk_NAME(SYMTAB *symbol, LS *scope = nullptr);
NODE *mk_UAND(NODE *lvalue); // address, type pointer to the operand's type
NODE *mk_LABELDEF(LBL *);
NODE *mk_LABELREF(int number, int branch_hint);
NODE *mk_LABELREF_to_bb(BBLK *, LS *scope); // makes a label for the block when it has none
// Counts one more LABEL node that names `label`. Erasing nodes does not count down (see OPT5/cfg): an over-count
// only keeps a label that nobody needs.
void note_label_reference(LBL *label);
NODE *mk_IF(NODE *condition, BBLK *if_true, BBLK *if_false, LS *scope);
NODE *mk_BRANCH(BBLK *, LS *scope);
NODE *mk_ASM_comment(const char *text);
NODE *mk_PPRAGMA(PRAGMA *owned);
LIST *mklist(NODE *tree, LIST *next, int line, int column);
LIST *mkelist(NODE *tree, LIST *next, const PSN *psn);
LLIST *mklistlist(LIST *list, LLIST *next);

// --- argument lists: left-deep chains of COMMA ---
int arg_list_count(NODE *list);           // 0 for null
NODE *arg_list_lookup(NODE *list, int n); // n from the left, 0 the first; null at or past the count
// Appends to a list (null: the argument itself).
NODE *arg_list_append(NODE *list, NODE *arg);
std::vector<NODE *> arg_list_args(NODE *list); // all of them, leftmost first

// --- copies: of a node, of a tree; `keep_scope` false clears the scope of the copies ---
// copy_node gives a node with the operands of the original, for the caller to replace. No copy has a DDNODE
// record (but for the dd forms), a points-to environment or scratch words. The operands of a CSE_DUPE belong to
// another tree: the copy names the same ones.
NODE *copy_node(const NODE *, bool keep_scope = true);
NODE *copy_tree(const NODE *, bool keep_scope = true);
NODE *copy_dd_node(const NODE *, bool keep_scope = true);
NODE *copy_dd_tree(const NODE *, bool keep_scope = true);
// For integrating calls: with a FUNINFO, each NAME's symbol goes through intern_symbol.
NODE *copy_tree_0(const NODE *, FUNINFO *destination);
LIST *copy_statements(const LIST *, bool keep_scope = true);
LIST *copy_dd_statements(const LIST *, bool keep_scope = true);
// Trees and nodes that several statements share (CSE_DUPE and its original) are shared by the copies too.
LIST *copy_shared_statements(const LIST *);
// `n` itself when both operands are the present ones, else a copy with the new ones.
NODE *copy_node_if_changed(NODE *n, NODE *left, NODE *right);

// --- erasing; null is accepted ---
void erase_tree(NODE *);
void erase_node(NODE *);
void erase_tree_list(LIST *);                          // trees and entries
void erase_tree_list_only(LIST *);                     // entries, trees stay
void erase_tree_list_to_entry(LIST *from, LIST *stop); // `stop` and what follows stay
// Releases what the node's opcode owns (an FCON's value, a text, a pragma) and clears u and the words that go by
// opcode, before a node is turned into one of another opcode in place.
void clear_payload(NODE *);
// Turns a node into ICON in place; its operands, if any, are the caller's to erase first.
void become_ICON(NODE *, INT65 value, TYPE *type);

// Nodes that are alive, for statistics and for tests that look for what a pass loses.
size_t nodes_in_use();

// A name that lives for the whole run, shared by equal texts (ICALL names).
const char *intern_name(const char *);
