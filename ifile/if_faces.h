// The abstract faces through which the intermediate file library meets the program that uses it.
//
// The library reads and writes records; what a tree node, a symbol or a reader is belongs to the program. So
// BASE_NODE and I_SYMTAB declare just what a record needs to be filled from or written to a file, and
// IF_CLIENT receives every record that is read, in file order. The optimizer implements all three (OPT5/tree,
// OPT5/symtab, OPT5/read); the companion tools share another implementation (tools/model).
//
// Ownership: the library creates nodes and symbols only through the client (new_node, cl_symbol_create), never
// frees them, and keeps plain pointers. Strings passed to a callback live until the next read of a string: a
// client copies what it keeps. PRAGMA and EHT_ENTRY objects passed to a callback belong to the client from
// then on.
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "ifile/opcodes.h"
#include "support/psn.h"

struct TYPE;
struct fkMDATA;
struct I_SYMTAB;
struct BASE_NODE;
struct TYPE_PKG;

// A pragma: its number and string arguments. On a symbol they form a chain, newest first.
struct PRAGMA {
    uint8_t number = 0;
    std::vector<std::string> args;
    PRAGMA *next = nullptr;

    // The name of a pragma number ("MUST_ITERATE" ...); "unknown" above 125.
    static const char *name(int number);
};

enum PRAGMA_NUMBER : uint8_t {
#define PRAGMA_ROW(id, ident, text) ident = id,
#include "ifile/pragmas.def"
    N_PRAGMAS = 126
};

// One option set: the argument list recorded for a translation unit, each string with its leading '-'.
struct OPTION_SET {
    unsigned id = 0;
    std::vector<std::string> strings;
    unsigned count() const { return unsigned(strings.size()); }
};

enum EHT_ENTRY_KIND : unsigned {
    EHK_ROOT = 0,
    EHK_CLEANUP = 1,
    EHK_CATCH = 2,
    EHK_CLEANUP_END = 3,
    EHK_CATCH_END = 4,
    EHK_THROW_TERMINATE = 5,
    N_EHT_ENTRY_KINDS = 6
};

struct EHT_CATCH {
    std::string type_name;
    int label = 0; // label number in the file; the writer of the optimizer negates it on the way
    bool flag = false;
};

struct EHT_ENTRY {
    unsigned id = 0;
    EHT_ENTRY_KIND kind = EHK_ROOT;
    unsigned next = 0;              // id of the entry that follows on unwinding
    unsigned count = 0;             // number of catches of a catch entry, else as read
    BASE_NODE *cleanup = nullptr;   // tree of a cleanup entry, may be null
    std::vector<EHT_CATCH> catches; // of a catch entry
};

// A tree node as the file library sees it. The four members that every record has are reached through
// base_op() and its kin; the rest are the operand fields of single opcodes.
struct BASE_NODE {
    // Reading accessors, for the writer. Each is called only on a node of an opcode that has the field.
    virtual I_SYMTAB *name_sym() = 0;  // null: a NAME without symbol
    virtual int field_kind() = 0;      // always 1
    virtual fkMDATA *field_mval() = 0; // may be null
    virtual TYPE *field_csu() = 0;
    virtual uint32_t icon_uvalue() = 0;
    virtual int32_t icon_svalue() = 0;
    virtual const char *lcon_value() = 0; // decimal text, valid until the next call
    virtual const char *fcon_value() = 0; // hexadecimal float text
    virtual const char *scon_value() = 0; // scon_size() bytes
    virtual unsigned scon_size() = 0;
    virtual int label_id() = 0;
    virtual int vreg_id() = 0;
    virtual unsigned skip_size() = 0; // bytes
    virtual unsigned switch_count() = 0;
    virtual unsigned ddnode_id() = 0;
    virtual unsigned ddnode_flags() = 0;
    virtual unsigned ddnode_flags2() = 0;
    virtual unsigned call_site() = 0;
    virtual const char *icall_name() = 0;
    virtual unsigned eh_entry_id() = 0;
    virtual unsigned get_edge_profile_value() = 0;
    virtual void set_edge_profile_value(unsigned) = 0;

    // Storing operations, for the reader. Texts are copied.
    virtual void mk_name(I_SYMTAB *) = 0;
    virtual void mk_field(int kind, fkMDATA *member, TYPE *csu) = 0;
    virtual void mk_icon(bool is_signed, uint32_t bits) = 0; // signed: bits are sign-extended
    virtual void mk_lcon(const char *decimal) = 0;
    virtual void mk_fcon(const char *hex_text) = 0;
    virtual void mk_scon(const char *bytes, unsigned n) = 0;
    virtual void mk_label(int number) = 0;
    virtual void mk_vreg(int number) = 0;
    virtual void mk_skip(unsigned bytes) = 0;
    virtual void mk_switch(unsigned cases) = 0;
    virtual void mk_ddnode(unsigned id, unsigned flags, unsigned flags2) = 0;
    virtual void mk_call(unsigned site, unsigned eh_entry) = 0;
    virtual void mk_ucall(unsigned eh_entry) = 0;
    virtual void mk_icall(const char *name) = 0;
    virtual ~BASE_NODE() = default;

    // The shape.
    virtual int base_op() const = 0;
    virtual TYPE *base_type() const = 0;
    virtual BASE_NODE *base_left() const = 0;
    virtual BASE_NODE *base_right() const = 0;
    virtual void set_base_op(int) = 0;
    virtual void set_base_left(BASE_NODE *) = 0;
    virtual void set_base_right(BASE_NODE *) = 0;
};

// A symbol as the file library sees it. `index` is its place in the file's global or local symbol vector, -1
// until entered; `policy` says whether the definition is emitted.
struct I_SYMTAB {
    int index = -1;
    uint8_t policy = 0; // SYM_POLICY

    virtual const char *sym_name() const = 0;
    virtual uint32_t sym_size() const = 0; // bits
    virtual uint32_t sym_value() const = 0;
    virtual int sym_class() const = 0; // storage class byte
    virtual int sym_cqual() const = 0; // qualifier word, 16 bits
    virtual TYPE *sym_type() const = 0;
    virtual TYPE *sym_cpp_type() const = 0; // may be null
    virtual uint32_t sym_align() const = 0; // bits
    virtual const PSN *sym_psn() const = 0; // may be null
    virtual PRAGMA *sym_pragma() const = 0; // chain, newest first
    virtual int sym_prag_num() const = 0;
    virtual uint32_t sym_location() const = 0;
    virtual uint32_t sym_option_set() const = 0;
    virtual int sym_level() const = 0;
    virtual void set_level(int) = 0;
    virtual void set_location(uint32_t) = 0;
    virtual ~I_SYMTAB() = default;
};

enum SYM_POLICY : uint8_t { POLICY_DEFAULT_C = 0, POLICY_ALWAYS = 1, POLICY_EXTERNAL = 2, POLICY_NEVER = 3 };

// What a reader of a file implements. Calls come in file order; see if_file.h for the order of a whole read.
// Everything that a record can hold reaches the client, also what the optimizer ignores.
struct IF_CLIENT {
    virtual ~IF_CLIENT() = default;

    // A fresh node without children. `type` may be null only where the file has typeref 0.
    virtual BASE_NODE *new_node(int op, TYPE *type) = 0;

    virtual bool cl_magic(int version, const char *producer) = 0;
    virtual void cl_option_set(OPTION_SET &set) = 0;
    virtual I_SYMTAB *cl_symbol_create(const char *name, TYPE *type, TYPE *cpp_type, uint32_t size,
                                       uint32_t align, uint32_t value, int sclass, int cqual, const PSN *psn,
                                       uint32_t location, uint32_t option_set, int policy) = 0;
    virtual void cl_pragma(I_SYMTAB *symbol,
                           PRAGMA *pragma) = 0; // symbol null: a statement or file-level pragma
    virtual void cl_symbol_init(I_SYMTAB *symbol, std::vector<BASE_NODE *> &trees) = 0; // last is ENDINIT
    virtual void cl_symbol_def(I_SYMTAB *symbol) = 0;
    virtual void cl_expr(BASE_NODE *tree, const PSN *psn) = 0;
    virtual void cl_begin_func(I_SYMTAB *symbol, const PSN *psn) = 0;
    virtual void cl_end_func(const PSN *psn) = 0;
    virtual void cl_end_args(const PSN *psn) = 0;
    virtual void cl_end_locals(const PSN *psn) = 0;
    virtual void cl_begin_block(const PSN *psn) = 0;
    virtual void cl_end_block(const PSN *psn) = 0;
    virtual void cl_source(const char *file) = 0;
    virtual void cl_label(int number) = 0;
    virtual void cl_inline_asm(const char *text, const PSN *psn) = 0;
    virtual void cl_comment(const char *text) = 0;
    virtual void cl_merge_type_defs() = 0;
    virtual void cl_preprocess_statics() = 0;
    virtual void cl_func_info(int what) = 0;
    // The entries belong to the client when the result is false; else the library destroys the array.
    virtual bool cl_func_eht(EHT_ENTRY *entries, unsigned n) = 0;
    virtual void cl_loop_def(unsigned number, unsigned parent, uint32_t min, uint32_t max, uint32_t factor,
                             unsigned flags) = 0;
    // lcv: null for a loop without control variable
    virtual void cl_loop_header(unsigned number, I_SYMTAB *lcv, unsigned flags) = 0;
    virtual void cl_dd_vector(unsigned id, unsigned flags, unsigned count, const uint8_t *element_flags,
                              const int8_t *distances) = 0;
    virtual void cl_dd_edge(unsigned from, unsigned to, unsigned vector) = 0;
    virtual void cl_mbank(const uint32_t words[5]) = 0;
    virtual void cl_ldspec_induct(unsigned id, uint32_t a, int32_t b, TYPE *type, I_SYMTAB *symbol) = 0;
    virtual void cl_ldspec_rand(unsigned id, uint32_t a, uint32_t b, TYPE *type, I_SYMTAB *symbol) = 0;
    virtual void cl_ldspec_region(unsigned id, uint32_t a) = 0;
    virtual void cl_ir_begin_func(uint32_t a, int32_t b, int c, uint32_t d, const PSN *psn) = 0;
    virtual void cl_ir_end_func(const PSN *psn) = 0;
    virtual void cl_ir_ins(const PSN *psn) = 0;
};
