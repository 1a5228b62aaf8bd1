// Symbols: every named object, function and temporary of the program.
//
// A SYMTAB carries what the file says about an object and the marks that analyses add; a NAME node points to the
// shared record. sym_size and sym_align count bits. Global symbols form the chain global_symbols and live for the
// whole run; the symbols of a function hang in chains of its FUNINFO and go with the function.
#pragma once

#include <string>
#include <unordered_set>
#include <vector>

#include "OPT5/fwd.h"
#include "ifile/if_faces.h"
#include "support/near.h"
#include "support/xint.h"
#include "typepkg/type_pkg.h"

enum SYM_CLASS : uint8_t {
    SC_AUTO = 1,
    SC_EXTDEF = 2,
    SC_STATIC = 3,
    SC_REG_LOCAL = 4, // folded to SC_AUTO by sym_def
    SC_EXTREF = 5,
    SC_NOT_STACK = 6, // kept out of the function's chains
    SC_PARM = 9,
    SC_REG_PARM = 17,
    SC_REG_LOCAL2 = 22,   // folded to SC_AUTO by sym_def
    SC_SPECIAL_PARM = 27, // becomes SC_PARM; written as 27 again
};

enum SYM_CQUAL : uint16_t {
    CQ_INLINE = 0x04,
    CQ_CREGISTER = 0x10,
    CQ_FUN_INTERRUPT = 0x20, // gives FUN_is_interrupt
    CQ_REGISTER = 0x80,
    CQ_FILE_MASK = 0x19FF, // the bits that a file may set
    CQ_ALIASED = 0x2000,
    CQ_WRITTEN = 0x4000,
    CQ_REFERENCED = 0x8000,
};

enum SYM_FLAG : uint8_t {
    SF_ALIASED = 0x01,
    SF_LOCAL = 0x04, // set at creation
    SF_HAS_INIT = 0x20,
    SF_CLUSTERED = 0x80, // class becomes 'm' or 'l' at finalisation
};

// The trees of a static initialiser; the last one is ENDINIT. `offsets` is lookup_autoinit's index of the trees, made
// when first asked for; who changes `trees` empties it.
struct EXPR_LIST : pooled<EXPR_LIST> {
    std::vector<NODE *> trees;
    std::vector<uint64_t> offsets;
};

// What few symbols need; made when first set, and gone with the symbol.
struct SYMTAB_RARE : pooled<SYMTAB_RARE> {
    void *alias_list = nullptr; // two words of the alias analysis
    void *alias_list2 = nullptr;
    void *list_word = nullptr;
    unsigned word = 0;
    unsigned scope_word = 0;
};

struct SYMTAB final : I_SYMTAB, pooled<SYMTAB> {
    uint8_t sclass = 0; // SYM_CLASS
    uint8_t class_as_read = 0;
    uint8_t flags = 0;          // SYM_FLAG
    const char *name = nullptr; // never null once made; lives as long as the program
    SYMTAB *next = nullptr;     // in the owning chain
    uint32_t size = 0;          // bits; the type's size unless a function
    uint32_t value = 0;         // offset or register from the parser
    near_ptr<TYPE> type;        // normalised
    near_ptr<TYPE> otype;       // as declared
    near_ptr<TYPE> cpp_type;    // source-level type, may be null
    near_ptr<LS> scope;
    uint32_t align = 0; // bits
    int level = 0;      // 0 global, 1 parameter, 2 local
    uint16_t cqual = 0; // SYM_CQUAL
    uint16_t use_count = 0xFFFF;
    unsigned sequence = 0; // creation counter within the function; 0 for temporaries
    const PSN *psn = nullptr;
    PRAGMA *pragmas = nullptr; // newest first; owned
    near_ptr<EXPR_LIST> init;  // static initialiser, or null; owned
    near_ptr<NODE> known_init; // known initial value, or null; owned
    uint32_t location = 0;
    uint32_t option_set = 0;
    near_ptr<PTR> restrict_entry;     // of a local pointer: find_PTR_entry's answer
    near_ptr<SYMTAB_RARE> rare_words; // owned; reading never makes the record, setting does

    SYMTAB_RARE &rare() {
        if (!rare_words) rare_words = new SYMTAB_RARE;
        return *rare_words;
    }

    SYMTAB() = default;
    ~SYMTAB() override;
    SYMTAB(const SYMTAB &) = delete;
    SYMTAB &operator=(const SYMTAB &) = delete;

    const char *sym_name() const override { return name; }
    uint32_t sym_size() const override { return size; }
    uint32_t sym_value() const override { return value; }
    int sym_class() const override { return sclass; }
    int sym_cqual() const override { return cqual; }
    TYPE *sym_type() const override { return type; }
    TYPE *sym_cpp_type() const override { return cpp_type; }
    uint32_t sym_align() const override { return align; }
    const PSN *sym_psn() const override { return psn; }
    PRAGMA *sym_pragma() const override { return pragmas; }
    int sym_prag_num() const override;
    uint32_t sym_location() const override { return location; }
    uint32_t sym_option_set() const override { return option_set; }
    int sym_level() const override { return level; }
    void set_level(int l) override { level = l; }
    void set_location(uint32_t l) override { location = l; }

    bool is_function() const { return type && type->is_func(); }
    bool is_global() const { return level == 0; }
    bool is_aliased() const { return flags & SF_ALIASED; }
};

struct SYMLIST {
    SYMTAB *sym = nullptr;
    SYMLIST *next = nullptr;
};
struct SYMALIST {
    SYMTAB *sym = nullptr;
    NODE *tree = nullptr;
    SYMALIST *next = nullptr;
};
struct SYMPAIRLIST {
    SYMTAB *a = nullptr, *b = nullptr;
    SYMPAIRLIST *next = nullptr;
};

extern SYMTAB *global_symbols;   // chain through `next`, newest first
extern SYMTAB *errno_symbol;     // null until one is defined
extern unsigned symbol_sequence; // last sequence number given in the function being read; 0 at its begin

// Forgets all globals (they are not freed).
void init_symbols();

// What a file says about a symbol, as a SYMTAB: type normalised, qualifiers masked, usage bits of globals set.
// `lexical_level` is that of the reader: 0 outside functions. Names are copied, types and positions are not owned.
// Null when the record contradicts itself, with the reason in *error: null name or type, a size that is not the
// type's, an unknown storage class or one that can't stand at this level.
// A function gets its FUNINFO here. The symbol is not entered anywhere yet: sym_def does that.
SYMTAB *make_symbol_from_file(const char *name, TYPE *type, TYPE *cpp_type, uint32_t size, uint32_t align,
                              uint32_t value, int sclass, int cqual, const PSN *psn, uint32_t location,
                              uint32_t option_set, int policy, int lexical_level, std::string *error);
// Enters a new symbol: a global into global_symbols and the output file, else into the current function's chain.
// The chain, and so the program, owns it from then on.
void sym_def(SYMTAB *);
// A temporary "$O$<kind><number>"; a negative number takes the function's next. Level 2, class 1, never qualified.
// `scope` null: the function's level 2 scope. Needs a current function.
SYMTAB *sym_temp(int kind, long number, TYPE *type, LS *scope);
// Moves what stands in a function's reading and temporaries' chains to its chains of scalar and non-scalar locals.
// May be called again whenever temporaries were made.
void sym_split(FUNINFO *);
// The function frees the symbol with its body.
void own_symbol(FUNINFO *, SYMTAB *);
// The definition for an external reference, or the symbol itself. Indexed by name.
SYMTAB *get_sym_def_for_decl(SYMTAB *);
// A global function or object by its name as written, the newest first; null if absent. Indexed.
SYMTAB *find_global_symbol(const char *name);
SYMTAB *find_global_function(const char *name);
// Gives a symbol another name (copied).
void rename_symbol(SYMTAB *, const char *name);

// The source-level type of an lvalue or address as far as the symbols tell it, else the type of the node.
TYPE *guess_cpp_type(NODE *);
// Names that begin "$O" are the optimizer's own.
bool is_internal_name(const char *);
bool is_internal_symbol(const SYMTAB *);
// "$O$", one of the two kind letters, then a decimal number or nothing.
bool is_optimizer_temp(const char *name, int kind1, int kind2);
// Temporaries that hold what an allocation returned: nothing else points to that object yet.
bool is_operator_new_symbol(const SYMTAB *);
SYMTAB *gen_operator_new_temp(TYPE *);
// Whether the ABI puts a character before names and this one has it ('_' or '.').
bool name_has_prefix(const char *);
const char *skip_name_prefix(const char *);

// Chains and lists. Reversal is in place; list entries belong to the caller (erase_symlist and its kin free them).
SYMTAB *revsymtab(SYMTAB *chain);
SYMLIST *revsymlist(SYMLIST *);
SYMALIST *revsymalist(SYMALIST *);
SYMTAB *unlink_symbol(SYMTAB *symbol, SYMTAB *chain); // the chain without the symbol
// The chain without those symbols for which `leaves` is true; for many at once, where unlink_symbol would be slow.
template <class F> SYMTAB *unlink_symbols_if(SYMTAB *chain, F leaves);
SYMLIST *mk_symlist(SYMTAB *, SYMLIST *next);
SYMALIST *mk_symalist(SYMTAB *, NODE *, SYMALIST *next);
SYMPAIRLIST *mk_symplist(SYMTAB *, SYMTAB *, SYMPAIRLIST *next);
bool symbol_in_list(const SYMTAB *, const SYMLIST *);
SYMLIST *remove_sym_from_symlist(const SYMTAB *, SYMLIST *);              // the first entry of it
SYMLIST *find_sym_in_symlist(const SYMTAB *, SYMLIST *);                  // the entry or null
SYMPAIRLIST *find_sym_in_sympairlist(const SYMTAB *first, SYMPAIRLIST *); // by the first of the pair
void erase_symlist(SYMLIST *);                                            // entries only
void erase_symalist(SYMALIST *);                                          // entries only
void erase_sympairlist(SYMPAIRLIST *);

// The copy that stands for a local symbol in another function's body, made when first asked for and owned by that
// function; a global is itself. One symbol with one type has one copy in each destination. Copies are in no chain.
SYMTAB *intern_symbol(SYMTAB *, FUNINFO *destination);
SYMTAB *find_interned_symbol(SYMTAB *, FUNINFO *destination); // null when there is none
void map_over_interned_symbols(void (*)(SYMTAB *original, SYMTAB *copy, FUNINFO *destination));
void forget_interned_symbols(const FUNINFO *destination); // before its symbols are freed
void interned_stats();
// A symbol of its own with the same facts: name, pragmas and initialiser are copied, chain words are cleared.
SYMTAB *copy_symbol(const SYMTAB *);
SYMLIST *copy_symlist(const SYMLIST *);
SYMALIST *copy_symalist(const SYMALIST *); // the trees are shared
// Frees a symbol with its name, pragmas and initialiser. It must stand in no chain.
void erase_symbol(SYMTAB *);

// The symbols that cleanup trees of the function's exception table name. Such a variable keeps its place and type.
std::unordered_set<const SYMTAB *> symbols_in_exception_table(const FUNINFO *);

// A local symbol lost all its uses in the statements: it is now part of another one, at that bit offset, or (object
// null) was taken apart. Maps from symbols to pointees and values register to hear of it.
void announce_replaced_symbol(SYMTAB *gone, SYMTAB *object, uint64_t bit_offset);
void register_replaced_symbol_listener(void (*)(SYMTAB *gone, SYMTAB *object, uint64_t bit_offset));

template <class F> SYMTAB *unlink_symbols_if(SYMTAB *chain, F leaves) {
    SYMTAB *head = nullptr, **tail = &head;
    for (SYMTAB *s = chain, *next; s; s = next) {
        next = s->next;
        if (leaves(s)) {
            s->next = nullptr;
        } else {
            *tail = s;
            tail = &s->next;
        }
    }
    *tail = nullptr;
    return head;
}
