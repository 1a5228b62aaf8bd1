// Symbols: every named object, function and temporary of the program.
//
// A SYMTAB carries what the file says about an object and the marks that analyses add; a NAME node points to the
// shared record. sym_size and sym_align count bits. Global symbols form the chain global_symbols and live for the
// whole run; the symbols of a function hang in chains of its FUNINFO and go with the function.
#pragma once

#include <string>
#include <vector>

#include "OPT5/fwd.h"
#include "ifile/if_faces.h"
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

// The trees of a static initialiser; the last one is ENDINIT.
struct EXPR_LIST {
    std::vector<NODE *> trees;
};

struct SYMTAB final : I_SYMTAB {
    char *name = nullptr; // owned
    uint32_t size = 0;    // bits; the type's size unless a function
    uint32_t value = 0;   // offset or register from the parser
    uint8_t sclass = 0;   // SYM_CLASS
    uint8_t class_as_read = 0;
    uint16_t cqual = 0;       // SYM_CQUAL
    TYPE *type = nullptr;     // normalised
    TYPE *otype = nullptr;    // as declared
    TYPE *cpp_type = nullptr; // source-level type, may be null
    uint32_t align = 0;       // bits
    LS *scope = nullptr;
    unsigned scope_word = 0;
    const PSN *psn = nullptr;
    PRAGMA *pragmas = nullptr;  // newest first; owned
    void *alias_list = nullptr; // two words of the alias analysis
    void *alias_list2 = nullptr;
    EXPR_LIST *init = nullptr;  // static initialiser, or null; owned
    NODE *known_init = nullptr; // known initial value, or null; owned
    int level = 0;              // 0 global, 1 parameter, 2 local
    uint32_t location = 0;
    uint32_t option_set = 0;
    SYMTAB *next = nullptr; // in the owning chain
    void *list_word = nullptr;
    unsigned sequence = 0; // creation counter within the function; 0 for temporaries
    uint16_t use_count = 0xFFFF;
    unsigned word = 0;
    uint8_t flags = 0; // SYM_FLAG

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

extern SYMTAB *global_symbols; // chain through `next`, newest first
extern SYMTAB *errno_symbol;   // null until one is defined

void init_symbols();
// Enters a new symbol: a global into global_symbols and the output file, else into the current function's chain.
void sym_def(SYMTAB *);
// A temporary "$O$<kind><number>"; a negative number takes the function's next. Level 2, class 1. `scope` null:
// the function's level 2 scope.
SYMTAB *sym_temp(int kind, long number, TYPE *type, LS *scope);
// Sorts the current chains of a function into scalar and non-scalar locals.
void sym_split(FUNINFO *);
// The definition for an external reference, or the symbol itself. Indexed by name.
SYMTAB *get_sym_def_for_decl(SYMTAB *);
// A global function or object by its name as written; null if absent. Indexed.
SYMTAB *find_global_symbol(const char *name);

TYPE *guess_cpp_type(NODE *);
bool is_internal_name(const char *);
bool is_internal_symbol(const SYMTAB *);
bool is_optimizer_temp(const char *name, int kind1, int kind2);
bool is_operator_new_symbol(const SYMTAB *);
SYMTAB *gen_operator_new_temp(TYPE *);
bool name_has_prefix(const char *);
const char *skip_name_prefix(const char *);

SYMTAB *revsymtab(SYMTAB *chain);
SYMLIST *revsymlist(SYMLIST *);
SYMALIST *revsymalist(SYMALIST *);
SYMTAB *unlink_symbol(SYMTAB *symbol, SYMTAB *chain); // the chain without the symbol
SYMLIST *mk_symlist(SYMTAB *, SYMLIST *next);
SYMALIST *mk_symalist(SYMTAB *, NODE *, SYMALIST *next);
SYMPAIRLIST *mk_symplist(SYMTAB *, SYMTAB *, SYMPAIRLIST *next);
bool symbol_in_list(const SYMTAB *, const SYMLIST *);
SYMLIST *remove_sym_from_symlist(const SYMTAB *, SYMLIST *);
SYMLIST *find_sym_in_symlist(const SYMTAB *, SYMLIST *);
SYMPAIRLIST *find_sym_in_sympairlist(const SYMTAB *, SYMPAIRLIST *);

SYMTAB *intern_symbol(SYMTAB *, FUNINFO *destination);
SYMTAB *find_interned_symbol(SYMTAB *, FUNINFO *destination);
void map_over_interned_symbols(void (*)(SYMTAB *original, SYMTAB *copy, FUNINFO *destination));
void interned_stats();
SYMTAB *copy_symbol(const SYMTAB *);
SYMLIST *copy_symlist(const SYMLIST *);
SYMALIST *copy_symalist(const SYMALIST *);
// Frees a symbol with its name, pragmas and initialiser.
void erase_symbol(SYMTAB *);
