// The file model: an intermediate file in memory, complete and without interpretation, for the companion tools.
//
// The optimizer builds its own representation; the tools (parser, text form, interpreter, C generator) need just
// what a file says. read_model reads a file through the I_FILE library into a MODEL, write_model writes one. A tool
// that makes a file (the parser, the text assembler) builds a MODEL with the makers below. Every record and field of
// the format has its place here, so that reading and writing lose nothing; order is file order.
//
// Ownership: a MODEL owns its nodes, symbols, pragmas and exception tables (arenas, freed with the MODEL); types
// belong to its TYPE_PKG, positions and file names to its name pool. Trees have one parent each. Nothing here
// recurses, so trees of any depth are fine.
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "ifile/if_file.h"

struct MODEL;

struct MSYM final : I_SYMTAB {
    std::string name;
    uint32_t size = 0, value = 0, align = 0; // size and alignment in bits
    int sclass = 0, cqual = 0;
    TYPE *type = nullptr, *cpp_type = nullptr;
    const PSN *psn = nullptr;
    PRAGMA *pragmas = nullptr; // newest first
    uint32_t location = 0, option_set = 0;
    int level = 0;
    void *tool = nullptr; // for the tool that works on the model
    int tool_index = -1;

    const char *sym_name() const override { return name.c_str(); }
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

    const PRAGMA *find_pragma(int number) const; // null if absent
    bool is_function() const { return type && type->is_func(); }
};

struct MNODE final : BASE_NODE {
    int op = 0;
    TYPE *type = nullptr;
    MNODE *left = nullptr, *right = nullptr;
    int64_t value =
        0;           // ICON; LABEL, VREG number; SKIP bytes; SWITCH cases; CALL site; EPVAL value; DDNODE id
    unsigned eh = 0; // CALL, UCALL: exception table entry
    unsigned flags = 0, flags2 = 0; // DDNODE
    union {
        MSYM *sym = nullptr; // NAME (null: none)
        TYPE *csu;           // FIELD
    };
    fkMDATA *member = nullptr; // FIELD; may be null
    std::string text;          // SCON bytes; FCON, LCON text; name of the ICALL family
    int tool = 0;              // for the tool that works on the model

    I_SYMTAB *name_sym() override { return sym; }
    int field_kind() override { return 1; }
    fkMDATA *field_mval() override { return member; }
    TYPE *field_csu() override { return csu; }
    uint32_t icon_uvalue() override { return uint32_t(value); }
    int32_t icon_svalue() override { return int32_t(value); }
    const char *lcon_value() override { return text.c_str(); }
    const char *fcon_value() override { return text.c_str(); }
    const char *scon_value() override { return text.data(); }
    unsigned scon_size() override { return unsigned(text.size()); }
    int label_id() override { return int(value); }
    int vreg_id() override { return int(value); }
    unsigned skip_size() override { return unsigned(value); }
    unsigned switch_count() override { return unsigned(value); }
    unsigned ddnode_id() override { return unsigned(value); }
    unsigned ddnode_flags() override { return flags; }
    unsigned ddnode_flags2() override { return flags2; }
    unsigned call_site() override { return unsigned(value); }
    const char *icall_name() override { return text.c_str(); }
    unsigned eh_entry_id() override { return eh; }
    unsigned get_edge_profile_value() override { return unsigned(value); }
    void set_edge_profile_value(unsigned v) override { value = v; }
    void mk_name(I_SYMTAB *s) override { sym = static_cast<MSYM *>(s); }
    void mk_field(int, fkMDATA *m, TYPE *c) override { member = m, csu = c; }
    void mk_icon(bool is_signed, uint32_t bits) override {
        value = is_signed ? int64_t(int32_t(bits)) : int64_t(bits);
    }
    void mk_lcon(const char *t) override { text = t; }
    void mk_fcon(const char *t) override { text = t; }
    void mk_scon(const char *bytes, unsigned n) override { text.assign(bytes, n); }
    void mk_label(int n) override { value = n; }
    void mk_vreg(int n) override { value = n; }
    void mk_skip(unsigned n) override { value = n; }
    void mk_switch(unsigned n) override { value = n; }
    void mk_ddnode(unsigned id, unsigned f, unsigned f2) override { value = id, flags = f, flags2 = f2; }
    void mk_call(unsigned site, unsigned entry) override { value = site, eh = entry; }
    void mk_ucall(unsigned entry) override { eh = entry; }
    void mk_icall(const char *n) override { text = n; }
    int base_op() const override { return op; }
    TYPE *base_type() const override { return type; }
    BASE_NODE *base_left() const override { return left; }
    BASE_NODE *base_right() const override { return right; }
    void set_base_op(int o) override { op = o; }
    void set_base_left(BASE_NODE *n) override { left = static_cast<MNODE *>(n); }
    void set_base_right(BASE_NODE *n) override { right = static_cast<MNODE *>(n); }
};

// One record of the main stream. Which members count depends on `tag` (IF_TAG):
//   I_BF..I_EL  psn; I_BF also sym            IF_SYMBOL    sym
//   IF_STATEMENT tree, psn                    IF_LABEL     n[0] number
//   IF_ASSEMBLY text, psn                     IF_COMMENT, IF_SOURCE  text
//   IF_PRAGMA   pragma                        IF_FUNC_INFO n[0]
//   IF_LOOP     n[0] number, [1] parent, [2] min, [3] max, [4] factor, [5] flags
//   IF_INLOOP   n[0] number, sym control variable or null, n[1] flags
//   IF_DEP_VECTOR n[0] id, [1] flags, elements in `vector`    IF_DEP_EDGE n[0] from, [1] to, [2] vector id
//   IF_LDSPEC   n[0] id, [1] form, [2], [3] words, type, sym  IF_EHT       eht
//   IF_MBANK    n[0] to n[4]
//   IF_INIT     only in MODEL::inits: sym, trees
struct MRECORD {
    struct ELEMENT {
        uint8_t flags;
        int8_t distance;
    };
    int tag = 0;
    const PSN *psn = nullptr;
    MSYM *sym = nullptr;
    MNODE *tree = nullptr;
    std::string text;
    PRAGMA *pragma = nullptr;
    uint32_t n[6] = {};
    TYPE *type = nullptr;
    std::vector<ELEMENT> vector;
    std::vector<EHT_ENTRY> eht;
    std::vector<MNODE *> trees;
};

// A function: its records from I_BF to I_EF, both included.
struct MFUNC {
    MSYM *symbol = nullptr;
    std::vector<MRECORD> records;
};

// A piece of the main stream: a function, or a record outside functions (assembly, pragma, comment, source).
struct MITEM {
    std::unique_ptr<MFUNC> func;
    MRECORD record; // when func is null
};

struct MODEL {
    int version = IF_VERSION; // as read; what is written is always IF_VERSION
    std::string producer;
    std::string file_name; // for messages
    std::vector<OPTION_SET> options;
    std::vector<std::string> files; // the file-name table as read; what is written begins with these
    std::vector<MSYM *> globals;    // by index
    std::vector<MRECORD> inits;     // IF_INIT records in file order
    std::vector<MITEM> items;       // main stream in order
    TYPE_PKG *package = nullptr;

    MODEL();
    ~MODEL();
    MODEL(const MODEL &) = delete;
    MODEL &operator=(const MODEL &) = delete;

    // --- makers ---
    MNODE *node(int op, TYPE *type, MNODE *left = nullptr, MNODE *right = nullptr);
    MNODE *name(MSYM *);                    // NAME with the symbol's type
    MNODE *icon(int64_t value, TYPE *type); // ICON within 32 bits, else LCON
    MNODE *label(int number, TYPE *type);
    MSYM *symbol(const char *name, TYPE *type, int sclass); // size and alignment from the type
    PRAGMA *pragma(int number, std::vector<std::string> args);
    void add_pragma(MSYM *, PRAGMA *);                                // becomes the newest
    const PSN *psn(const char *file, unsigned line, unsigned column); // pooled
    const char *file(const char *name);                               // pooled text
    MNODE *copy(const MNODE *tree);

    std::deque<MNODE> node_arena;
    std::deque<MSYM> symbol_arena;
    std::deque<PRAGMA> pragma_arena;
    std::deque<PSN> psn_arena;
    std::unordered_set<std::string> text_pool;
    I_FILE *source = nullptr; // kept open while the model lives: positions point into it
};

// The byte order that the file's options name.
bool is_big_endian(const MODEL &);
// Reads a file. A file that can't be opened or is refused prints one line to standard error and ends the program
// with status 1 (through if_bad_file_handler for malformed content).
std::unique_ptr<MODEL> read_model(const char *path);
// Writes a file. False, with a message on standard error and no file left, when it can't be written.
bool write_model(MODEL &, const char *path);
// Removes what a failed run left under the name of its output, unless it is a device or a pipe.
void remove_output(const char *path);
