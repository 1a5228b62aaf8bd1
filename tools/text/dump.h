// The text form of an intermediate file, written.
//
// Order of the text: producer, option sets, file names, types, global symbols, initialisers, then the main stream.
// Types stand in the order in which a reader makes them: that order, and nothing else of the numbers in the file,
// decides where the writer puts what, so that an assembler which makes them in the order of the text writes the same
// bytes. The names in the text do not depend on numbers: short types are written out wherever they are meant
// (`ptr(const(char))`), longer ones get a name made from their content, records, enums and typedefs have their own.
// Two files that are alike have texts that are alike.
//
// A symbol's name that occurs more than once gets ".2", ".3" ... in the text, with the real name beside it.
//
// Trees are laid out with a stack of our own; a tree of any depth takes time and text in proportion to its nodes.
#pragma once

#include <cstdio>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "tools/text/vocabulary.h"

// Gives each thing a name of its own: the real one to whom comes first, "real.2" and so on to the others.
struct NAMER {
    std::unordered_set<std::string> taken; // real names of all, entered before the first is named
    std::unordered_set<std::string> used;
    std::unordered_map<std::string, unsigned> next;
    std::string name(const std::string &real);
};

struct DUMPER {
    MODEL &m;
    FILE *to;

    DUMPER(MODEL &model, FILE *file) : m(model), to(file) {}
    void dump_file();
    // The functions of that name alone; false when there is none.
    bool dump_functions_named(const std::string &name);

    // --- text (dump.cpp) ---
    std::string out;       // not yet written
    std::string last_file; // of the position written last
    bool has_last_file = false;
    void flush(size_t beyond);  // writes `out` when it is longer than that
    void position(const PSN *); // " ; file:line:column", or nothing
    void strings(const std::vector<std::string> &);

    // --- types (dump_types.cpp) ---
    std::vector<TYPE *> file_types; // all but the basic ones, in the order of making
    std::unordered_map<const TYPE *, std::string> type_texts;  // how the text refers to a type
    std::unordered_map<const TYPE *, std::string> declarators; // name in the text of a declared type
    std::unordered_map<const TYPE *, std::string> long_types;  // what a type with a made-up name is
    NAMER type_names;
    std::unordered_map<const fkMDATA *, std::string> member_texts;
    std::unordered_set<const TYPE *> named_members; // records whose members are in member_texts
    void name_types();
    void dump_types();
    const std::string &type_text(const TYPE *); // "none" for null
    const std::string &member_text(const TYPE *csu, const fkMDATA *);
    std::string type_expression(const TYPE *);
    void dump_type(const TYPE *);
    void dump_record(const TYPE *);
    void dump_record_lists(const TYPE *);
    void dump_members(const TYPE *);
    void dump_enum(const TYPE *);

    // --- trees (dump_tree.cpp) ---
    struct SPAN {
        uint32_t start, head, end; // of the node's flat text, and of what stands before its first child
        uint32_t nodes;            // of its subtree
    };
    std::string flat;
    std::vector<SPAN> spans; // in the order of the text
    void tree(const MNODE *, unsigned indent);
    void flatten(const MNODE *);
    bool leaf(const MNODE *); // true: it was one and its text is there
    void head(const MNODE *);
    void annotation(const MNODE *);
    void broken_lines(unsigned indent);

    // --- symbols and the main stream (dump.cpp) ---
    std::unordered_map<const MSYM *, std::string> symbol_texts;
    std::unordered_set<const MSYM *> located; // their place in the file is set by the writer
    void name_symbols(const std::vector<MSYM *> &, char sigil);
    const std::string &symbol_text(const MSYM *);
    void symbol(const MSYM *, bool among_arguments);
    void pragma(const PRAGMA *);
    void dump_head();
    void dump_globals();
    void dump_initialisers();
    void dump_function(const MFUNC &);
    void record(const MRECORD &, unsigned indent);
    void loop_record(const MRECORD &);
    void dependence_vector(const MRECORD &);
    void speculation(const MRECORD &);
    void exceptions(const MRECORD &);
};

// Counts of what is in a file, and a table of its functions.
void print_summary(MODEL &, FILE *to);
