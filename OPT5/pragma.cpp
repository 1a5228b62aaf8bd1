#include "OPT5/pragma.h"

#include <cstring>
#include <unordered_set>

#include "OPT5/bif.h"
#include "OPT5/fileopt.h"
#include "OPT5/files.h"
#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/mdbase.h"
#include "OPT5/read.h"
#include "OPT5/scopes.h"
#include "OPT5/synonym.h"
#include "OPT5/tree.h"
#include "ifile/if_file.h"
#include "support/dbgout.h"
#include "support/fatal.h"

namespace {

struct FLAG_ROW {
    int number;
    int flags;
};
// A pragma that ties an object to a place, a section of its own or a life of its own keeps it out of groups; section
// and translation unit are compared by the grouping itself. A synonym shares the code of another function, so a
// pragma about code, calling convention or interrupts forbids one; group sections are compared by the finder.
// clang-format off
const FLAG_ROW flag_rows[] = {
    {PRAG_DATA_SECTION,              PF_GROUPABLE},
    {PRAG_NEAR,                      PF_GROUPABLE},
    {PRAG_SRC_LANGUAGE,              PF_GROUPABLE | PF_HARMLESS},
    {PRAG_UNUSED,                    PF_GROUPABLE | PF_HARMLESS},
    {PRAG_SCOPING_FUNC,              PF_GROUPABLE | PF_HARMLESS},
    {PRAG_TRANSLATION_UNIT_ID,       PF_GROUPABLE | PF_HARMLESS},
    {PRAG_IS_CLASS_MEMBER,           PF_GROUPABLE | PF_HARMLESS},
    {PRAG_SYM_VISIBILITY,            PF_GROUPABLE | PF_HARMLESS},
    {PRAG_SYM_IS_REFERENCED,         PF_HARMLESS},
    {PRAG_FUNC_EXT_CALLED,           PF_HARMLESS},
    {PRAG_FUNC_NEVER_RETURNS,        PF_HARMLESS},
    {PRAG_FUNC_NO_GLOBAL_ASG,        PF_HARMLESS},
    {PRAG_FUNC_NO_IND_ASG,           PF_HARMLESS},
    {PRAG_FUNC_IS_PURE,              PF_HARMLESS},
    {PRAG_FUNC_IS_SYSTEM,            PF_HARMLESS},
    {PRAG_FUNC_IS_CTOR_DTOR,         PF_HARMLESS},
    {PRAG_FUNC_EXCEPTIONS_NOUNWIND,  PF_HARMLESS},
    {PRAG_FUNC_RET_UNIQUE_POINTER,   PF_HARMLESS},
    {PRAG_STANDARD_LIBRARY_FUNCTION, PF_HARMLESS},
    {PRAG_COMDAT_GROUP,              PF_HARMLESS},
};
// clang-format on

} // namespace

int pragma_flags(int number) {
    for (const FLAG_ROW &row : flag_rows)
        if (row.number == number) return row.flags;
    return 0;
}

// --- the chain of a symbol ---

PRAGMA *symbol_has_pragma(const SYMTAB *s, int number) {
    for (PRAGMA *p = s ? s->pragmas : nullptr; p; p = p->next)
        if (p->number == number) return p;
    return nullptr;
}

PRAGMA *add_pragma(SYMTAB *s, int number, std::vector<std::string> args) {
    PRAGMA *p = new PRAGMA;
    p->number = uint8_t(number);
    p->args = std::move(args);
    p->next = s->pragmas;
    return s->pragmas = p;
}

PRAGMA *remove_pragma(PRAGMA *which, PRAGMA *chain) {
    for (PRAGMA **link = &chain; *link; link = &(*link)->next) {
        if (*link != which) continue;
        *link = which->next;
        which->next = nullptr;
        break;
    }
    return chain;
}

PRAGMA *copy_pragmas(const PRAGMA *chain) {
    PRAGMA *head = nullptr, **tail = &head;
    for (; chain; chain = chain->next) {
        *tail = new PRAGMA(*chain);
        (*tail)->next = nullptr;
        tail = &(*tail)->next;
    }
    return head;
}

const char *pragma_arg(const PRAGMA *p, unsigned index) {
    return p && index < p->args.size() ? p->args[index].c_str() : nullptr;
}

// --- questions ---

namespace {

std::unordered_set<const SYMTAB *> nonconforming_functions;

bool arg_is(const PRAGMA *p, unsigned index, const char *text) {
    const char *arg = pragma_arg(p, index);
    return arg && !strcmp(arg, text);
}

template <class F> bool any_pragma(const SYMTAB *s, F holds) {
    for (const PRAGMA *p = s->pragmas; p; p = p->next)
        if (holds(p)) return true;
    return false;
}

} // namespace

bool pragma_says_preemptible(const PRAGMA *p) {
    return p->number == PRAG_SYM_VISIBILITY && (arg_is(p, 0, "default") || arg_is(p, 0, "extern"));
}

bool pragma_says_outside_accessible(const PRAGMA *p) {
    return pragma_says_preemptible(p) || (p->number == PRAG_SYM_VISIBILITY && arg_is(p, 0, "protected"));
}

bool symbol_is_preemptible(const SYMTAB *s) { return any_pragma(s, pragma_says_preemptible); }

bool symbol_is_outside_accessible(const SYMTAB *s) { return any_pragma(s, pragma_says_outside_accessible); }

bool symbol_is_protected(const SYMTAB *s) {
    return symbol_is_outside_accessible(s) && !symbol_is_preemptible(s);
}

bool func_is_nonconforming(const SYMTAB *s) { return nonconforming_functions.count(s) != 0; }

bool sym_is_FAR(const SYMTAB *s) {
    if (s->type->is_far() || symbol_has_pragma(s, PRAG_FAR)) return true;
    return far_externs && s->sclass == SC_EXTREF;
}

bool is_barrier_MCALL(const SYMTAB *function) {
    if (!function || !function->is_function() || function->sclass != SC_EXTREF) return false;
    const char *name = skip_name_prefix(function->name);
    if (const BIF *bif = find_BIF_descriptor(name)) return bif->flags3 & BIF_IS_BARRIER;
    const BUILTIN_DECLARATION *declared = find_builtin_declaration(name);
    return declared && declared->is_barrier;
}

// --- what reading a pragma does ---

namespace {

void process_statement_pragma(PRAGMA *p) {
    if (print_debug) {
        dprintf("%c[Pragma] %d %d", ';', p->number, int(p->args.size()));
        for (const std::string &arg : p->args) dprintf(" %s", arg.c_str());
        dprintf("\n");
    }
    if (currfuninfo) {
        NODE *statement = mk_PPRAGMA(p);
        if (curr_scope) statement->scope = curr_scope;
        currfuninfo->statements = mkelist(statement, currfuninfo->statements, nullptr);
        return;
    }
    if (o_file) o_file->if_write_pragma(p);
    delete p;
}

// Flags that a pragma states about the function's body, believed as far as library knowledge is.
struct STATED_FLAG {
    int number;
    uint32_t flags;
};
// clang-format off
const STATED_FLAG stated_flags[] = {
    {PRAG_FUNC_NEVER_RETURNS,  FUN_never_returns},
    {PRAG_FUNC_NO_GLOBAL_ASG,  FUN_no_global_asg},
    {PRAG_FUNC_NO_IND_ASG,     FUN_no_ind_asg},
    {PRAG_FUNC_IS_PURE,        FUN_is_pure_fun},
    {PRAG_FUNC_IS_SYSTEM,      FUN_is_SYSTEM},
};
// clang-format on

// What holds of a function whatever its name promises.
constexpr uint32_t RESTRICTIONS = FUN_cannot_suppress | FUN_cannot_inline | FUN_is_referenced |
                                  FUN_is_interrupt | FUN_cannot_beta | FUN_is_cg_root | FUN_is_main |
                                  FUN_is_cpp;

void process_synonym(SYMTAB *s, FUNINFO *f, const PRAGMA *p) {
    const char *name = pragma_arg(p, 0);
    f->flags |= FUN_cannot_beta;
    if (!name) return;
    FUNINFO *target = make_FUNINFO(skip_name_prefix(name));
    target->flags |= FUN_cannot_beta;
    if (!arg_is(p, 1, "1")) return;
    f->flags |= FUN_is_processed;
    target->flags |= FUN_is_referenced;
    synonym_functions.insert(f);
    f->return_type = s->type->return_type();
}

void process_function_pragma(SYMTAB *s, const PRAGMA *p) {
    FUNINFO *f = make_FUNINFO(s);
    if (cache_sys_funinfo && !func_is_nonconforming(s)) {
        for (const STATED_FLAG &row : stated_flags) {
            if (row.number != p->number) continue;
            f->flags |= row.flags;
            return;
        }
    }
    switch (p->number) {
    case PRAG_SRC_LANGUAGE:
        if (!arg_is(p, 0, "C++")) break;
        f->flags |= FUN_is_cpp;
        init_FUNINFO_flags(f, 0);
        break;
    case PRAG_FUNC_CANNOT_INLINE:
    case PRAG_QL_WEAK: f->flags |= FUN_cannot_inline | FUN_cannot_suppress; break;
    case PRAG_FUNC_ESPEC:
        if (pragma_arg(p, 1) && !arg_is(p, 1, "0")) f->flags |= FUN_cannot_inline | FUN_cannot_suppress;
        break;
    case PRAG_FUNC_IS_NONCONFORMING:
        // All that was believed goes; what restricts the optimizer stays.
        nonconforming_functions.insert(s);
        f->flags &= RESTRICTIONS;
        break;
    case PRAG_SYM_VISIBILITY:
        if (pragma_says_preemptible(p)) f->flags |= FUN_cannot_inline | FUN_is_referenced;
        if (!pragma_says_outside_accessible(p)) break;
        f->flags |= FUN_is_cg_root | FUN_cannot_beta | FUN_is_referenced | FUN_cannot_suppress;
        no_outside_callers = false;
        break;
    case PRAG_FUNC_SYNONYM: process_synonym(s, f, p); break;
    default: break;
    }
}

} // namespace

void opt_process_pragma(SYMTAB *s, PRAGMA *p) {
    // The parser acts on it and keeps it.
    if (p->number == PRAG_OPT_OVERRIDE) refuse_input("a pragma that only the parser understands");
    if (!s) {
        process_statement_pragma(p);
        return;
    }
    // The reader has given the symbol that policy for this pragma or an earlier one: its uses are not all in sight.
    if (s->level == 0 && s->policy == POLICY_ALWAYS) {
        if (s->is_function()) make_FUNINFO(s)->flags |= FUN_is_referenced;
        else s->cqual |= CQ_ALIASED | CQ_WRITTEN | CQ_REFERENCED;
    }
    if (s->is_function()) {
        process_function_pragma(s, p);
    } else if (pragma_says_outside_accessible(p)) {
        s->cqual |= CQ_ALIASED | CQ_WRITTEN | CQ_REFERENCED;
        no_outside_writers = false;
    }
}

// --- PPRAGMA nodes ---

const char *get_PPRAGMA_tree_arg(const NODE *tree, int index) {
    return index < 0 ? nullptr : pragma_arg(tree->pragma, unsigned(index));
}

void set_PPRAGMA_tree_arg(NODE *tree, int index, const char *text) {
    QL_ASSERT(tree->op == PPRAGMA && tree->pragma && index >= 0);
    std::vector<std::string> &args = tree->pragma->args;
    if (size_t(index) >= args.size()) args.resize(size_t(index) + 1);
    args[size_t(index)] = text;
}

INT65 get_PPRAGMA_tree_int_arg(const NODE *tree, int index) {
    const char *text = get_PPRAGMA_tree_arg(tree, index);
    INT65 value;
    if (!text || text_to_int65(text, 0, &value) != INT65_TEXT::ok) return INT65(-1);
    return value;
}

void set_PPRAGMA_tree_int_arg(NODE *tree, int index, INT65 value) {
    set_PPRAGMA_tree_arg(tree, index, int65_to_decimal(value).c_str());
}

void set_PPRAGMA_tree_info(NODE *tree, int number, int count) {
    QL_ASSERT(tree->op == PPRAGMA && count >= 0);
    PRAGMA *p = new PRAGMA;
    p->number = uint8_t(number);
    p->args.resize(size_t(count));
    delete tree->pragma;
    tree->pragma = p;
}

NODE *copy_ppragma_tree(const NODE *tree) { return copy_tree(tree); }
