#include "OPT5/read.h"

#include <cstdarg>
#include <cstring>

#include "OPT5/bbutils.h"
#include "OPT5/beta.h"
#include "OPT5/bif.h"
#include "OPT5/buildcfg.h"
#include "OPT5/cfg.h"
#include "OPT5/cluster.h"
#include "OPT5/eht.h"
#include "OPT5/fastcp.h"
#include "OPT5/files.h"
#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/ipcp.h"
#include "OPT5/icalls.h"
#include "OPT5/mvpbeta.h"
#include "OPT5/mvpip.h"
#include "OPT5/pragma.h"
#include "OPT5/profile.h"
#include "OPT5/readexpr.h"
#include "OPT5/restrict.h"
#include "OPT5/scopes.h"
#include "OPT5/seqtrees.h"
#include "OPT5/simp1.h"
#include "OPT5/simpcheck.h"
#include "OPT5/simpcfg.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "OPT5/validate.h"
#include "OPT5/write.h"
#include "ifile/if_file.h"
#include "support/fatal.h"
#include "support/flatmap.h"
#include "support/register_option.h"
#include "typepkg/type_merge.h"

std::vector<OPTION_SET> icode_optionlist;
int lex = 0;
unsigned arg_offset = 0;
unsigned unique_call_index = 0;
int output_index = 0;
bool input_has_union = false;
SYMTAB *mcall_implicit_state_symbol = nullptr;
NODE *mcall_implicit_state_tree = nullptr;

void refuse_input(const char *format, ...) {
    char text[1000];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    std::string place = currfunc ? std::string("function ") + currfunc->name + ": " : std::string();
    if (i_file) i_file->bad_file("%s%s", place.c_str(), text);
    abort_optimizer((place + text).c_str());
}

namespace {

const register_option simp_disabled("disable:simp");
const register_option validate_switch("debug:validate");

// An open block: its symbols are those of the function's chain from `first` to `enclosing`, which is excluded.
struct BLOCK_RECORD {
    const PSN *psn = nullptr;
    SYMTAB *first = nullptr; // set when the block's declarations end
    SYMTAB *enclosing = nullptr;
};

enum PHASE { OUTSIDE, ARGUMENTS, LOCALS, BODY };

// What the reader remembers of the function in work.
struct READING {
    PHASE phase = OUTSIDE;
    std::vector<BLOCK_RECORD> blocks;    // open ones; the first is that of the parameters
    std::vector<SYMTAB *> deeper_locals; // declared in inner blocks
    const PSN *dropped_label_psn = nullptr;
    int dropped_label = 0; // number of the label that a superfluous first BRANCH led to; 0: none
    bool calls_name_eht = false;
    bool names_builtins = false;             // since the last statement there was an ICALL or UICALL
    std::vector<const LIST *> with_builtins; // statements that hold one, in their order

    // For the next function; the vectors keep their memory.
    void start() {
        phase = ARGUMENTS;
        blocks.clear();
        deeper_locals.clear();
        dropped_label_psn = nullptr;
        dropped_label = 0;
        calls_name_eht = names_builtins = false;
        with_builtins.clear();
    }
};
READING reading;

void open_block(const PSN *psn) { reading.blocks.push_back({psn, nullptr, currfuninfo->symbols}); }

void close_block() {
    BLOCK_RECORD block = reading.blocks.back();
    reading.blocks.pop_back();
    for (SYMTAB *s = block.first; s && s != block.enclosing; s = s->next) find_or_make_PTR_entry(s);
}

void push_statement(NODE *tree, const PSN *psn) {
    currfuninfo->statements = mkelist(tree, currfuninfo->statements, psn);
}

void require_phase(PHASE phase, const char *what) {
    if (reading.phase != phase) refuse_input("%s in a wrong place", what);
}

// --- symbols and initialisers ---

void check_local_symbol(const SYMTAB *s) {
    bool is_parameter = s->sclass == SC_PARM || s->sclass == SC_REG_PARM;
    if (reading.phase == ARGUMENTS && !is_parameter)
        refuse_input("symbol '%s' among the arguments is none", s->name);
    if (s->is_function()) refuse_input("symbol '%s' is a function inside a function", s->name);
}

// Constants, and addresses of globals with constants added, under conversions.
bool is_simple_constant(const NODE *tree) {
    std::vector<const NODE *> todo{tree};
    while (!todo.empty()) {
        const NODE *n = todo.back();
        todo.pop_back();
        switch (n->op) {
        case ICON:
        case LCON:
        case FCON: break;
        case SCONV:
        case PCONV:
        case ISP2CHAR: todo.push_back(n->left); break;
        case PLUS:
        case MINUS:
        case PMCONV:
            todo.push_back(n->left);
            todo.push_back(n->right);
            break;
        case UAND: {
            const NODE *object = n->left;
            while (object->op == STDOT) object = object->left;
            if (object->op != NAME || object->u.sym->level != 0) return false;
            break;
        }
        default: return false;
        }
    }
    return true;
}

// A value that no one but the initialiser gives to the object can be used in its place.
void note_known_value(SYMTAB *s) {
    if (s->cqual & (CQ_WRITTEN | CQ_ALIASED)) return;
    if (!s->type->is_scalar() || s->type->is_volatile() || symbol_has_pragma(s, PRAG_QL_WEAK)) return;
    const std::vector<NODE *> &trees = s->init->trees;
    if (trees.size() == 2 && is_simple_constant(trees[0])) s->known_init = copy_initialiser_value(trees[0]);
}

// --- the end of a function ---

// The label that a dropped BRANCH led to is defined after all when something else refers to it: it stands at the
// very beginning, the end of the list.
void define_dropped_label() {
    LIST **end = &currfuninfo->statements;
    while (*end) end = &(*end)->next;
    *end = mkelist(mk_LABELDEF(mklabel(reading.dropped_label, nullptr, nullptr)), nullptr,
                   reading.dropped_label_psn);
    (*end)->tree->scope = LS_level_2_scope(currfuninfo->scopes);
}

void check_labels() {
    LABEL_FAULT fault = find_label_fault(currfuninfo->statements);
    if (fault.statement && !fault.duplicate && fault.number == reading.dropped_label) {
        define_dropped_label();
        fault = find_label_fault(currfuninfo->statements);
    }
    if (fault.statement)
        refuse_input("label %d is %s", fault.number, fault.duplicate ? "defined twice" : "never defined");
}

void check_catch_labels() {
    if (!currfuninfo->eht) return;
    static flat_set defined;
    defined.clear();
    for (LIST *s = currfuninfo->statements; s; s = s->next)
        if (s->tree->op == LABELDEF) defined.insert(s->tree->label->number);
    for (unsigned i = 1; i < currfuninfo->eht_size; i++)
        for (const EHT_CATCH &c : currfuninfo->eht[i].catches)
            if (!defined.has(c.label))
                refuse_input("label %d of exception table entry %u is never defined", c.label, i);
}

// A const object of an inner block may be set anew on each entry, which nobody sees once the block is gone.
void lower_deeper_locals() {
    for (SYMTAB *s : reading.deeper_locals) {
        s->level = 2;
        if (!s->type->is_const()) continue;
        TYPE *variable = tp->remove_known_qual(s->type, QUAL_const);
        if (variable->size == s->size) s->type = variable; // a packed one keeps its room
    }
}

// Built-ins that may touch control registers, in a function that names some, keep their order.
void make_intrinsics_ordered(NODE *tree) {
    for_each_node(tree, [](NODE *n) {
        if (n->op != ICALL) return;
        const BIF *bif = find_BIF_descriptor(n->u.icall);
        if (bif && bif->flags3 & BIF_IS_INTRINSIC) n->op = MCALL;
    });
}

// The first assignment of an argument prolog, if it hands an incoming parameter to its variable.
NODE *first_prolog_assignment(LIST *statements) {
    LIST *first = nullptr;
    for (LIST *s = statements; s; s = s->next) first = s;
    NODE *n = first ? first->tree : nullptr;
    while (n && n->op == PCOMMA) n = n->left;
    if (!n || n->op != ASG || n->left->op != NAME || n->right->op != NAME) return nullptr;
    const SYMTAB *to = n->left->u.sym, *from = n->right->u.sym;
    return to->level == 2 && from->level == 1 && !strcmp(to->name, from->name) ? n : nullptr;
}

// A function that returns a record by calling its copy constructor gets the result's address as a hidden first
// parameter, which nothing may change and which is never null.
void fix_hidden_result_pointer() {
    if (!currfuninfo->return_type->is_void() || !symbol_has_pragma(currfunc, PRAG_FUNC_RET_BY_CCTOR)) return;
    NODE *asg = first_prolog_assignment(currfuninfo->statements);
    if (!asg) return;
    SYMTAB *to = asg->left->u.sym, *from = asg->right->u.sym;
    if (from->sequence != 1 || !to->type->is_ptr() || !to->type->type_pointed_to()->is_csu()) return;
    if (to->type->is_const()) return; // an optimizer has been here
    if (!compatible_types(to->type, from->type)) return;
    to->type = tp->mk_qual(to->type, QUAL_const);
    from->type = tp->mk_qual(from->type, QUAL_const);
    currfuninfo->const_pointer_parm = to;

    LIST **end = &currfuninfo->statements;
    while ((*end)->next) end = &(*end)->next;
    NODE *null = mk_ICON(INT65(0), tp->basic_int(IK_uint));
    NODE *test = maketree(NEQ, mk_NAME(to), maketree(PCONV, null, nullptr, to->type, nullptr), tp->int_type(),
                          nullptr);
    NODE *known = maketree(NASSERT, test, nullptr, tp->int_type(), nullptr);
    LS_assign_scope_to_tree(LS_level_2_scope(currfuninfo->scopes), known);
    // Behind the prolog, which must stay the first statement.
    *end = mkelist(known, *end, nullptr);
    currfuninfo->assertion_word = 1;
}

// From the list of statements to the flow graph.
void build_function() {
    fix_hidden_result_pointer();
    convert_CBRANCHes(currfuninfo->statements);
    seq_trees();
    buildcfg();
    simpcfg(false, false);
    fast_CP(4, 1);
    if (validate_switch) validate_function("reading");
}

// --- the client ---

struct OPT_CLIENT final : IF_CLIENT {
    BASE_NODE *new_node(int op, TYPE *type) override {
        reading.names_builtins |= op == ICALL || op == UICALL;
        NODE *n = ::new_node(op, type);
        n->scope = curr_scope;
        return n;
    }

    bool cl_magic(int, const char *) override { return true; }
    void cl_option_set(OPTION_SET &set) override { icode_optionlist.push_back(set); }

    I_SYMTAB *cl_symbol_create(const char *name, TYPE *type, TYPE *cpp_type, uint32_t size, uint32_t align,
                               uint32_t value, int sclass, int cqual, const PSN *psn, uint32_t location,
                               uint32_t option_set, int policy) override {
        std::string error;
        SYMTAB *s = make_symbol_from_file(name, type, cpp_type, size, align, value, sclass, cqual, psn,
                                          location, option_set, policy, lex, &error);
        if (!s) refuse_input("%s", error.c_str());
        if (!option_set_exists(option_set)) refuse_input("symbol '%s' names option set %u", name, option_set);
        if (lex) check_local_symbol(s);
        return s;
    }

    void cl_pragma(I_SYMTAB *symbol, PRAGMA *pragma) override {
        SYMTAB *s = static_cast<SYMTAB *>(symbol);
        if (s) {
            pragma->next = s->pragmas;
            s->pragmas = pragma;
        }
        opt_process_pragma(s, pragma);
    }

    void cl_symbol_init(I_SYMTAB *symbol, std::vector<BASE_NODE *> &trees) override {
        SYMTAB *s = static_cast<SYMTAB *>(symbol);
        if (s->is_function()) refuse_input("function '%s' has an initialiser", s->name);
        if (s->init) refuse_input("symbol '%s' has two initialisers", s->name);
        s->init = new EXPR_LIST;
        s->flags |= SF_HAS_INIT;
        for (BASE_NODE *tree : trees) {
            NODE *n = static_cast<NODE *>(tree);
            std::string wrong = check_statement_tree(n, TREE_INITIALISER);
            if (!wrong.empty()) refuse_input("initialiser of '%s': %s", s->name, wrong.c_str());
            if (curr_scope) LS_assign_scope_to_tree(nullptr, n); // it outlives the function that it stands in
            s->init->trees.push_back(n);
        }
        note_known_value(s);
    }

    // The file object has given the symbol its place in the input by now; entering it in the output gives it the
    // place there, which is what counts from here on.
    void cl_symbol_def(I_SYMTAB *symbol) override {
        SYMTAB *s = static_cast<SYMTAB *>(symbol);
        if (lex) {
            if (lex > 2) reading.deeper_locals.push_back(s);
            LS_add_symbol(curr_scope, s);
        }
        sym_def(s);
        if (!lex) make_symbol_groupable(s);
    }

    void cl_expr(BASE_NODE *tree, const PSN *psn) override {
        require_phase(BODY, "statement");
        NODE *n = static_cast<NODE *>(tree);
        std::string wrong = check_statement_tree(n, TREE_STATEMENT, &reading.calls_name_eht);
        if (!wrong.empty()) refuse_input("%s", wrong.c_str());
        n = expr_cleanup(n);
        push_statement(n, psn);
        if (reading.names_builtins) reading.with_builtins.push_back(currfuninfo->statements);
        reading.names_builtins = false;
    }

    void cl_begin_func(I_SYMTAB *symbol, const PSN *psn) override {
        SYMTAB *s = static_cast<SYMTAB *>(symbol);
        if (currfunc) refuse_input("another function begins inside it");
        if (!s->is_function()) refuse_input("symbol '%s' has a body and is no function", s->name);
        FUNINFO *f = make_FUNINFO(s);
        if (f->is_defined) refuse_input("function '%s' is defined twice", s->name);
        currfunc = s;
        currfuninfo = f;
        f->symbol = s;
        f->is_defined = true;
        f->return_type = s->type->return_type();
        f->begin_psn = psn;
        set_curr_file(!psn ? "NO_PSN_FILE" : psn->file ? psn->file : NO_FILE);

        f->statements = nullptr;
        f->symbols = f->temporaries = f->scalars = f->nonscalars = nullptr;
        reading.start();
        open_block(psn);
        lex = 1;
        symbol_sequence = arg_offset = unique_call_index = 0;
        f->local_address_taken = f->has_bitfield_refs = f->has_cregister_names = false;
        f->is_leaf = true;
        if (s->cqual & CQ_FUN_INTERRUPT) f->flags |= FUN_is_interrupt;
        LS_open(psn, nullptr, 0); // the file
        LS_open(psn, nullptr, 0); // the parameters
        dump_function_header();
        initialize_the_profiling_state(nullptr);
    }

    void cl_end_args(const PSN *psn) override {
        require_phase(ARGUMENTS, "end of arguments");
        output_index = 0;
        currfuninfo->args_psn = currfuninfo->locals_psn = psn;
        reading.blocks.back().first = currfuninfo->symbols;
        if (do_beta_MVP) beta_parms_using_mvp_ip();
        else beta_parms();
        for (SYMTAB *s = currfuninfo->symbols; s; s = s->next) find_or_make_PTR_entry(s);
        lex++;
        reading.phase = LOCALS;
        open_block(psn);
        LS_open(psn, nullptr, 0);
    }

    void cl_end_locals(const PSN *psn) override {
        if (reading.phase != LOCALS && reading.blocks.size() < 3)
            refuse_input("end of locals in a wrong place");
        if (reading.phase == LOCALS) currfuninfo->locals_psn = psn;
        reading.phase = BODY;
        reading.blocks.back().psn = psn;
        reading.blocks.back().first = currfuninfo->symbols;
    }

    void cl_begin_block(const PSN *psn) override {
        require_phase(BODY, "block");
        lex++;
        open_block(psn);
        LS_open(psn, nullptr, 0);
    }

    void cl_end_block(const PSN *psn) override {
        if (reading.phase != BODY || reading.blocks.size() < 3)
            refuse_input("a block ends that did not begin");
        lex--;
        close_block();
        LS_close(psn, nullptr, 0);
    }

    void cl_label(int number) override {
        require_phase(BODY, "label");
        if (number <= 0 || number == reading.dropped_label) refuse_input("label %d can't be defined", number);
        LIST *only = currfuninfo->statements;
        if (only && !only->next && only->tree->op == BRANCH && only->tree->left->u.lval == INT65(number)) {
            reading.dropped_label = number;
            reading.dropped_label_psn = only->psn;
            initialize_the_profiling_state(only->tree);
            erase_tree_list(only);
            currfuninfo->statements = nullptr;
            return;
        }
        NODE *label = mk_LABELDEF(mklabel(number, nullptr, nullptr));
        LS_assign_scope_to_tree(curr_scope, label);
        push_statement(label, nullptr);
    }

    void push_text(ASM_KIND kind, const char *text, const PSN *psn) {
        if (!lex) {
            wrasmr(kind, text, psn);
            return;
        }
        NODE *n = mktree(ASM, nullptr, nullptr, tp->void_type(), nullptr, INT65(int(kind)));
        n->text = strdup(text);
        LS_assign_scope_to_tree(curr_scope, n);
        push_statement(n, psn);
    }
    void cl_inline_asm(const char *text, const PSN *psn) override { push_text(ASM_ASSEMBLY, text, psn); }
    void cl_comment(const char *text) override {
        if (text[0] != ';') push_text(ASM_COMMENT, text, nullptr);
    }

    void cl_merge_type_defs() override {
        input_has_union = false;
        walk_based(TYPE_PKG::root_type, [](TYPE *t) { input_has_union |= t->kind == K_union; });
    }

    void cl_preprocess_statics() override {
        auto *s = new SYMTAB;
        s->name = "__MCALL_implicit_state__";
        s->type = s->otype = tp->int_type();
        s->size = uint32_t(s->type->size);
        s->align = s->type->align;
        s->sclass = s->class_as_read = SC_EXTDEF;
        s->policy = POLICY_NEVER;
        s->flags = SF_LOCAL | SF_ALIASED;
        s->cqual = CQ_ALIASED | CQ_WRITTEN | CQ_REFERENCED;
        mcall_implicit_state_symbol = s;
        mcall_implicit_state_tree = maketree(UMULT, mk_UAND(mk_NAME(s)), nullptr, s->type, nullptr);
    }

    bool cl_func_eht(EHT_ENTRY *entries, unsigned n) override {
        require_phase(BODY, "exception table");
        if (currfuninfo->eht) refuse_input("a second exception table");
        for (unsigned i = 0; i < n; i++) {
            if (!entries[i].cleanup) continue;
            NODE *tree = static_cast<NODE *>(entries[i].cleanup);
            std::string wrong = check_statement_tree(tree, TREE_CLEANUP);
            if (!wrong.empty()) refuse_input("exception table entry %u: %s", entries[i].id, wrong.c_str());
            entries[i].cleanup = expr_cleanup(tree);
        }
        std::string wrong = enter_eht(entries, n, currfuninfo->statements);
        if (!wrong.empty()) refuse_input("exception table: %s", wrong.c_str());
        return true;
    }

    void cl_end_func(const PSN *psn) override {
        require_phase(BODY, "end of the function");
        if (reading.blocks.size() != 2) refuse_input("%zu blocks do not end", reading.blocks.size() - 2);
        if (reading.calls_name_eht && !currfuninfo->eht)
            refuse_input("calls name an exception table that it does not have");
        functions.push_back(currfunc);
        while (!reading.blocks.empty()) close_block();
        check_labels();
        check_catch_labels();
        for (int i = 0; i < 3; i++) LS_close(psn, nullptr, 0);
        reading.phase = OUTSIDE;
        lex = 0;
        currfuninfo->end_psn = psn;

        lower_deeper_locals();
        const SYMTAB *newest = currfuninfo->symbols;
        currfuninfo->local_index = newest ? unsigned(newest->index) + 1 : 1;
        bool simplifies = !simp_disabled;
        for (LIST *s = currfuninfo->statements; s; s = s->next) {
            if (currfuninfo->has_cregister_names) make_intrinsics_ordered(s->tree);
            if (!reading.with_builtins.empty() && reading.with_builtins.back() == s) {
                reading.with_builtins.pop_back(); // the statements have the last one first
                s->tree = rewrite_tree(s->tree, fix_BIF_types);
            }
            if (simplifies) s->tree = simp_again(simp_statement(s->tree, nullptr));
            if (s->tree->op == PCOMMA && !tree_is_extended_arg_prolog(s->tree))
                refuse_input("a PCOMMA that copies no arguments");
        }
        build_function();
        currfuninfo->per_call.assign(unique_call_index + 1, 0);
        init_ipcp_for_fun();
        if (do_IP_MVP) init_IP_MVP_for_current_function();
        currfunc = nullptr;
        currfuninfo = nullptr;
    }

    // What an optimizer derives itself, and what no stage of this program reads.
    void cl_source(const char *) override {}
    void cl_func_info(int) override {}
    void cl_loop_def(unsigned, unsigned, uint32_t, uint32_t, uint32_t, unsigned) override {}
    void cl_loop_header(unsigned, I_SYMTAB *, unsigned) override {}
    void cl_dd_vector(unsigned, unsigned, unsigned, const uint8_t *, const int8_t *) override {}
    void cl_dd_edge(unsigned, unsigned, unsigned) override {}
    void cl_mbank(const uint32_t *) override {}
    void cl_ldspec_induct(unsigned, uint32_t, int32_t, TYPE *, I_SYMTAB *) override {}
    void cl_ldspec_rand(unsigned, uint32_t, uint32_t, TYPE *, I_SYMTAB *) override {}
    void cl_ldspec_region(unsigned, uint32_t) override {}
    void cl_ir_begin_func(uint32_t, int32_t, int, uint32_t, const PSN *) override {}
    void cl_ir_end_func(const PSN *) override {}
    void cl_ir_ins(const PSN *) override {}
};

} // namespace

IF_CLIENT *opt_client() {
    static OPT_CLIENT client;
    return &client;
}
