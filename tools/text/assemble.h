// The text form of an intermediate file, read into a file model.
//
// The text is gone over several times, so that declarations may come in any order: first the constructs of the top
// level are found, then types are made (each behind what it is built on, else in the order of the text), the lists of
// records filled, global symbols entered, and last initialisers and function bodies read, with the names known by
// then. Within a function a local is declared before it is used, as in the file.
//
// A mistake ends the line or block that it stands in; reading goes on with the next, so that one run tells several.
// A type or symbol whose declaration failed stands for an int from then on and is not complained about again.
//
// What is refused here is what the reader of the file would refuse, as far as it can be told with a place in the
// text. Trees are built with a stack of our own and may be of any depth; types written out within each other nest at
// most MAX_TYPE_DEPTH deep (name the inner ones).
#pragma once

#include <unordered_map>
#include <unordered_set>

#include "tools/text/lex.h"
#include "tools/text/vocabulary.h"

inline constexpr unsigned MAX_TYPE_DEPTH = 200;

// Places in the main stream.
enum TEXT_PLACE : uint8_t {
    P_OUTSIDE = 1,
    P_ARGS = 2,
    P_LOCALS = 4,
    P_BODY = 8,
    P_FUNCTION = P_ARGS | P_LOCALS | P_BODY,
    P_ANYWHERE = P_OUTSIDE | P_FUNCTION,
};

struct ASSEMBLER {
    TEXT_FILE &f;
    MODEL &m;

    ASSEMBLER(TEXT_FILE &file, MODEL &model) : f(file), m(model) {}
    // Reads the whole text. The model is complete only when no errors were told.
    void assemble();

    // --- tokens (assemble.cpp) ---
    size_t pos = 0;
    const TOKEN &token(size_t ahead = 0) const {
        return f.tokens[pos + ahead < f.tokens.size() ? pos + ahead : f.tokens.size() - 1];
    }
    bool at_punct(char c) const { return token().kind == T_PUNCT && token().punct == c; }
    bool at_word(std::string_view w) const { return token().kind == T_ID && f.spelling(token()) == w; }
    bool take_punct(char c);
    bool take_word(std::string_view w);
    void expect_punct(char c, const char *where);
    std::string describe(const TOKEN &) const;
    [[noreturn]] void fail_expected(const char *what); // "what should stand here, not 'token'"
    uint64_t number(const char *what, uint64_t largest);
    int64_t signed_number(const char *what, int64_t least, int64_t largest);
    uint32_t u32(const char *what) { return uint32_t(number(what, UINT32_MAX)); }
    std::string string(const char *what); // without NUL bytes
    std::string name(const char *what);   // T_ID or T_STRING, without NUL bytes
    const PSN *position();                // null if there is none
    void end_line();
    void skip_newlines();
    void skip_line(); // to behind the end of a line, over parentheses
    void
    skip_bad(uint32_t start); // behind what can't be read: to a line that is not indented deeper than `start`
    bool is_line_start(size_t index) const;
    unsigned column(const TOKEN &t) const { return f.place(t.at).column; }

    // --- the top level (assemble.cpp) ---
    struct CONSTRUCT {
        enum KIND { SYMBOL, INIT, FUNCTION, RECORD } kind;
        size_t at; // first token
    };
    std::vector<CONSTRUCT> symbols, initialisers, items; // items: functions and records outside functions
    std::unordered_set<unsigned> option_ids;
    bool has_producer = false;
    void find_constructs();
    void find_construct();
    void find_function_end();
    void skip_block(); // the rest of a line, and the braces that it opens
    void option_set();
    void check_option_sets();

    // --- types (asm_types.cpp) ---
    struct TYPE_DEF {
        enum STATE : uint8_t { UNTOUCHED, OPEN, MADE } state = UNTOUCHED;
        enum FORM : uint8_t { RECORD, ENUM, TYPEDEF, NAMED, UNNAMED } form = UNNAMED;
        KIND kind = K_struct;
        bool failed = false;
        bool has_block = false;
        size_t at = 0;    // behind the name (and the real name)
        size_t block = 0; // the first token of a record's block
        std::string name;
        TYPE *type = nullptr;
    };
    struct ATTRIBUTES {
        uint64_t size = TP_SIZE;
        uint32_t align = TP_ALIGN;
        int sign = -1, cc = 0, expl_sign = -1;
        bool boolean = false, ptm = false, incomplete = false, cpp = false, noproto = false;
    };
    struct ELEMENT {
        int32_t offset = 0, word = 0;
        uint32_t kind = 0;
        uint8_t access = 0;
        bool is_virtual = false, flags[4] = {};
    };
    std::vector<TYPE_DEF> type_defs;
    std::unordered_map<std::string, size_t> type_names; // "foo", "struct foo", "enum foo" ... -> type_defs
    unsigned type_depth = 0;
    void find_type_def();
    void make_types();
    void resolve(size_t def);
    void push_dependences(size_t def, std::vector<size_t> &stack);
    void make_type(TYPE_DEF &);
    TYPE *make_typedef(TYPE_DEF &);
    TYPE *make_enum(TYPE_DEF &);
    TYPE *make_record(TYPE_DEF &);
    void fill_record(TYPE_DEF &);
    void record_line(TYPE *);
    void member(TYPE *);
    bool record_list(TYPE *);
    ELEMENT element(const char *allowed);
    void check_layout(uint32_t at, uint64_t size, uint32_t align, uint64_t least, uint64_t most);
    TYPE *type();         // a type of the text
    TYPE *type_or_none(); // the same, or the word none
    TYPE *basic_type(int slot, bool is_char);
    TYPE *made_type(std::string_view word);
    TYPE *array_type(bool vector, uint32_t at);
    TYPE *function_type(uint32_t at);
    TYPE *qualified_type();
    TYPE *declared_type();
    ATTRIBUTES attributes(const char *allowed);
    TEXT_LAYOUT layout(const ATTRIBUTES &, TEXT_LAYOUT preset, uint32_t at, uint64_t least, uint64_t most);

    // --- trees (asm_tree.cpp) ---
    struct FRAME {
        MNODE *node;
        uint32_t at;
        uint8_t arity, have;
        bool typed;
    };
    std::vector<FRAME> stack;
    struct MEMBERS_OF_NAME {
        fkMDATA *last = nullptr;
        unsigned count = 0;
    };
    std::unordered_map<const TYPE *, std::unordered_map<std::string, MEMBERS_OF_NAME>> member_names;
    std::vector<std::pair<uint32_t, int>> labels_used; // place and number, of the current function
    MNODE *tree();
    void open_node();
    MNODE *close_node();
    MNODE *leaf();
    MNODE *field();
    MNODE *integer();
    bool annotation(MNODE *);
    void operands(MNODE *);
    void finish(MNODE *, uint32_t at, bool typed);
    int label_number(const TOKEN &) const; // of "L3"; -1 if it is no label

    // --- symbols and the main stream (asm_records.cpp) ---
    std::unordered_map<std::string, MSYM *> globals, locals;
    std::unordered_set<const MSYM *> bodies, initialised;
    MFUNC *func = nullptr;
    TEXT_PLACE place = P_OUTSIDE;
    std::vector<bool> block_locals_ended;
    std::unordered_set<uint32_t> loops;
    std::unordered_map<int, uint32_t> labels; // number -> place
    uint32_t vectors = 0;
    bool has_exceptions = false;
    void global_symbol();
    MSYM *symbol(TOKEN_KIND kind);
    void symbol_attribute(MSYM *);
    MSYM *find_symbol(const TOKEN &);
    MSYM *maybe_symbol(); // null if none stands here
    PRAGMA *pragma();
    void initialiser();
    void function();
    void line();
    MRECORD &record(int tag);
    void end_arguments();
    void end_locals();
    void make_place(TEXT_PLACE allowed, const TOKEN &, const std::string &what);
    struct LINE_ROW {
        const char *word;
        uint8_t where; // TEXT_PLACE
        void (ASSEMBLER::*read)();
    };
    static const LINE_ROW line_rows[];
    static const LINE_ROW *find_line(std::string_view word);
    void local_symbol();
    void line_locals();
    void line_body();
    void line_block();
    void line_endblock();
    void line_asm();
    void line_comment();
    void line_source();
    void line_pragma();
    void line_bank();
    void line_loop();
    void line_inloop();
    void line_vector();
    void line_edge();
    void line_ldspec();
    void line_info();
    void line_exceptions();
    EHT_ENTRY exception_entry();
    void statement();
    bool label_line();
    void check_labels();
};
