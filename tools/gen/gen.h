// From a file model to C: what the parts of the generator share.
//
// FILE_GEN holds the whole output: names and types of the file, declarations, initialisers and the built-in functions
// that were used. FUNC_GEN writes one function (or evaluates one constant, with no function at all).
//
// An expression of the file becomes an EXPR: C text that has not been placed yet, with its type, its precedence and
// what evaluating it does (EFFECTS). Anything that changes something is put down at once, as an expression statement in
// the current sequence: assignments inside expressions, steps, copies. So an EXPR itself is free of effects, with two
// exceptions: calls and volatile reads stay in the text while nothing conflicts with them, and what stands under && ||
// ?: carries its sequence along as a comma expression. Where a later operand conflicts with an earlier one, the
// earlier one is evaluated into a temporary first (`ordered`). The result evaluates strictly from left to right.
//
// The text means what the file says when it is compiled with -fwrapv, -fno-strict-aliasing and
// -fno-delete-null-pointer-checks (backend.h): integers wrap, memory has no types.
//
// Recursion follows the trees; an expression that nests too deeply is cut by temporaries, and main gives the program
// a stack for trees up to MAX_DEPTH.
#pragma once

#include <list>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "support/intrin.h"
#include "tools/gen/ctype.h"
#include "tools/gen/effects.h"

struct GEN_OPTIONS {
    bool line_marks = false;  // #line from positions
    bool assume = false;      // assertions become hints
    bool exact_shifts = true; // a shift by a variable count outside the width gives 0 or the sign
    bool comments = false;    // comments of the file
};

enum PREC : uint8_t {
    P_COMMA = 1,
    P_ASSIGN,
    P_COND,
    P_OROR,
    P_ANDAND,
    P_OR,
    P_XOR,
    P_AND,
    P_EQ,
    P_REL,
    P_SHIFT,
    P_ADD,
    P_MUL,
    P_UNARY,
    P_POSTFIX,
    P_PRIMARY
};

constexpr unsigned MAX_NESTING = 30;   // of parts in one C expression
constexpr unsigned MAX_DEPTH = 100000; // of a tree

struct EXPR {
    std::string text;
    PREC prec = P_PRIMARY;
    const CTYPE *type = nullptr;
    EFFECTS fx;
    unsigned depth = 0;
    bool is_const = false; // an integer constant
    bool is_truth = false; // 0 or 1
    int64_t value = 0;     // of a constant, as its type extends it
    // Other ways to write the same: an array element's address, a decayed array, the object behind an address.
    std::string base, index; // base[index] is what the pointer points to
    std::string decay;       // of &array: the array's name, which decays to a pointer to decay_type
    const CTYPE *decay_type = nullptr;
    std::string object; // of &object
    const CTYPE *object_type = nullptr;
    bool object_volatile = false;
};

struct LVAL {
    std::string text;
    PREC prec = P_PRIMARY;
    std::shared_ptr<EXPR> pointer; // of *pointer
    // Of a bit-field, and of a member that a packed record has where no pointer to its type may lead: the record, and
    // the name there.
    std::shared_ptr<LVAL> outer;
    std::string field;
    const CTYPE *type = nullptr;
    bool is_volatile = false; // as C sees the text
    bool is_bits = false;
    unsigned width = 0;
    int32_t local = -1; // number of the local whose address nothing takes; -1: memory
    bool direct =
        false;  // a variable or member of one: reading the text again costs nothing and changes nothing
    EFFECTS fx; // of computing the place
    unsigned depth = 0;
};

// A sequence of expression statements. The first element is a dummy: positions are iterators to what stands before.
struct SEQUENCE {
    bool statements = false; // a place for labels and jumps too; else the parts of a comma expression
    std::list<std::string> items{""};
    bool empty() const { return items.size() == 1; }
    std::list<std::string>::iterator last() { return std::prev(items.end()); }
};

struct GLOBAL {
    std::string name; // in C; empty until asked for
    const CTYPE *type = nullptr;
    bool renamed = false; // the linker's name differs: it needs an asm label
    bool declared = false;
    bool referenced = false;
    bool is_builtin = false; // a function that the target's compiler knows without declaration
    MFUNC *body = nullptr;
    MRECORD *init = nullptr;
};

struct FILE_GEN {
    MODEL &model;
    GEN_OPTIONS options;
    CTYPES types;
    NAMES names;

    FILE_GEN(MODEL &m, const GEN_OPTIONS &o) : model(m), options(o), types(m) {}

    // The whole text. Throws GEN_FAILED after a message on standard error.
    std::string generate();

    GLOBAL &global(MSYM *);
    // The text of a call of a support function, which is put into the output once.
    std::string support(const std::string &name);
    // A support function whose text is made for a type: `make` gives it, at the first use.
    template <class F> std::string support_for(const std::string &name, F make) {
        if (support_names.insert(name).second) support_text += make();
        return name;
    }
    [[noreturn]] void fail(const PSN *where, const std::string &what);

    std::string linker_name(const std::string &name);
    std::string attributes(MSYM *); // with a blank before, empty when there are none

  private:
    std::unordered_map<MSYM *, GLOBAL> globals;
    std::unordered_map<std::string, std::vector<MSYM *>>
        symbols_of_name; // for linker_name, made when first needed
    std::set<std::string> support_names;
    std::string support_text;
    std::vector<MSYM *> touched; // globals named since the last look

    void collect();
    void choose_name(MSYM *, GLOBAL &);
    const CTYPE *defined_type(MFUNC *);
    bool emits_body(MSYM *, const GLOBAL &);
    std::string function_declarations();
    std::string data_head(MSYM *, const char *linkage);
    std::string data_definition(MSYM *);
    std::string data_text();
    friend class FUNC_GEN;
    friend class INIT_GEN;
};

// The initial value of an object as C text (init.cpp).
struct INITIALISER {
    std::string value;   // for the object's own type; empty: it is zero
    std::string members; // when that type can't hold it: the members of a packed record that can,
    std::string raw;     //   and their values
};
INITIALISER initialiser(FILE_GEN &, MSYM *, MRECORD &);

struct LOCAL {
    std::string name;
    const CTYPE *type = nullptr;
    bool is_volatile = false; // declared so
    int32_t number = -1;      // of a variable whose address nothing takes
    MSYM *merged = nullptr;   // a parameter's copy that is the parameter itself
};

class FUNC_GEN {
    friend class INIT_GEN;

  public:
    FUNC_GEN(FILE_GEN &file, MFUNC *func) : g(file), types(file.types), func(func), names(&file.names) {}

    std::string function();                    // the definition
    EXPR constant(MNODE *t, const PSN *where); // for initialisers: no statements come of it
    std::string as_initialiser(const EXPR &, const CTYPE *);
    std::string as_initialiser(int64_t v, const CTYPE *t) { return number(v, t).text; }

  private:
    FILE_GEN &g;
    CTYPES &types;
    MFUNC *func;
    NAMES names;
    const PSN *psn = nullptr;
    SEQUENCE *seq = nullptr;
    EFFECTS *done = nullptr; // what the sequence does
    unsigned depth = 0;
    std::unordered_map<const MSYM *, LOCAL> locals;
    std::vector<MSYM *> local_order, params;
    std::vector<std::string> temps;  // declarations
    std::set<const MNODE *> dropped; // copies of parameters that are the parameters
    std::set<int> jumped_to;
    bool calls_setjmp = false, in_constant = false;
    TYPE *result_record = nullptr; // returned as a C result
    std::string result_name, last_param;
    unsigned next_temp = 0, next_join = 0;

    [[noreturn]] void cannot(const MNODE *t, const std::string &why);

    // --- sequences (expr.cpp) ---
    void put(const std::string &text, const EFFECTS &fx);
    EXPR temp(const EXPR &e, std::list<std::string>::iterator behind); // evaluates now
    EXPR keep(const EXPR &e);                                          // text that can be repeated
    EXPR cut(EXPR e);                                                  // bounds the nesting
    std::string new_temp(const CTYPE *);
    // Evaluates operands from left to right; `get(i)` makes the i-th.
    template <class GET> std::vector<EXPR> ordered(size_t n, GET get);
    std::vector<EXPR> values(const std::vector<MNODE *> &);
    template <class GET> EXPR arm(GET get); // evaluated only sometimes

    // --- values (expr.cpp) ---
    EXPR value(MNODE *);
    EXPR value_of(MNODE *);
    EXPR load(MNODE *);
    MNODE *stepping_address(MNODE *);
    EXPR load_from(const LVAL &, MNODE *t);
    EXPR number(int64_t v, const CTYPE *);
    EXPR real(const std::string &text, const CTYPE *);
    EXPR string(const MNODE *);
    EXPR convert(EXPR e, const CTYPE *to);
    EXPR convert_to(EXPR e, const TYPE *from, TYPE *to); // as an assignment converts
    EXPR truth(EXPR e);                                  // 0 or 1
    EXPR condition(MNODE *);                             // scalar, fit for if
    EXPR binary(MNODE *);
    void pair(EXPR &a, EXPR &b, const CTYPE *type); // both as operands of an operator of that type
    EXPR combine(int op, EXPR a, EXPR b, const CTYPE *type, const MNODE *t);
    EXPR shift(int op, EXPR a, EXPR b, const CTYPE *type, const MNODE *t);
    EXPR pointer_sum(MNODE *);
    EXPR joined(MNODE *t, const CTYPE *type); // && || ?: by branches
    EXPR comparison(MNODE *);
    EXPR unary(MNODE *);
    EXPR logical(MNODE *);
    EXPR conditional(MNODE *);
    EXPR conversion(MNODE *);
    EXPR wide(MNODE *); // vectors and complex numbers (wide.cpp)
    EXPR pack(MNODE *);
    EXPR packed(const std::vector<MNODE *> &parts, bool spread, const CTYPE *type);
    EXPR vector_of(const std::vector<std::string> &lanes, const CTYPE *type, const EFFECTS &fx);
    EXPR splat(EXPR e, const CTYPE *type);
    EXPR wide_conversion(MNODE *);
    EXPR wide_operator(MNODE *);
    EXPR wide_comparison(MNODE *);
    EXPR reinterpret(EXPR e, const CTYPE *to); // the same bytes
    EXPR binary_text(EXPR a, const char *op, EXPR b, PREC prec, const CTYPE *type);
    EXPR call_text(const std::string &function, std::vector<EXPR> args, const CTYPE *type);
    static std::string operand(const EXPR &e, PREC at_least);
    static bool is_simd(const std::string &name); // in the table of intrinsics (simd.cpp)
    EXPR simd(MNODE *, const std::vector<MNODE *> &operands);
    EXPR simd_call(const INTRIN_FORM &, const std::vector<MNODE *> &operands, const CTYPE *answer, MNODE *);
    EXPR apply_support(const std::string &name, std::vector<EXPR> args);

    // --- places (lval.cpp) ---
    LVAL lvalue(MNODE *);
    LVAL lvalue_of(MNODE *);
    LVAL variable(MNODE *);
    LVAL deref(EXPR p, const CTYPE *target, bool is_volatile);
    LVAL indirection(MNODE *);
    LVAL member(MNODE *);
    LVAL field_of(LVAL record, TYPE *csu, const fkMDATA *, const MNODE *t);
    LVAL element(MNODE *); // lane of a vector
    LVAL element_of(LVAL vector, MNODE *t);
    LVAL part(MNODE *); // of a complex number
    LVAL recast(LVAL l, const CTYPE *type, bool is_volatile);
    LVAL as_type(LVAL l, TYPE *t);
    EXPR address(const LVAL &, const MNODE *t);
    // The place with its address in a temporary, computed behind that element of the sequence.
    LVAL fixed(const LVAL &, std::list<std::string>::iterator behind);
    LVAL repeatable(const LVAL &); // can be written twice
    // Evaluates something to the right of a place; the place's address comes first where that matters.
    template <class GET> EXPR beside(LVAL &l, GET get);
    static EFFECTS reading(const LVAL &);
    static EFFECTS writing(const LVAL &);

    // --- assignments (assign.cpp) ---
    void effect(MNODE *);
    void store(const LVAL &, const EXPR &);
    EXPR assignment(MNODE *, bool want_value);
    EXPR record_copy(MNODE *, bool want_value);
    EXPR op_assignment(MNODE *, bool want_value);
    EXPR stored_value(const LVAL &l, const EXPR &v);
    void step(LVAL l, int op, EXPR v, MNODE *t, bool whole);
    EXPR memory_copy(MNODE *);

    // --- calls (call.cpp) ---
    EXPR call(MNODE *);
    EXPR intrinsic(MNODE *);
    EXPR argument(MNODE *);
    EXPR compiler_builtin(const std::string &name, std::vector<EXPR> args, const CTYPE *returns);
    std::vector<MNODE *> list_of(MNODE *);

    // --- bodies (body.cpp) ---
    void scan();
    void merge_parameters();
    void declare_locals();
    std::string head();
    std::string variables();
    void statement(MNODE *, std::string &out);
    void switch_statement(MNODE *, std::string &out);
    void flush(std::string &out);
    std::string label(int number) { return "L" + std::to_string(number); }
    std::string branch_text(MNODE *t);
};

std::string c_string(const std::string &bytes); // a literal with quotes; a NUL is added by C
std::string asm_text(const std::string &text);  // the text of an extended asm: % is escaped
MNODE *scaled_index(MNODE *t,
                    uint64_t size);     // of an index times a size in 32 bits: the index; null: no such tree
inline MNODE *without_notes(MNODE *t) { // edge profiles and dependence nodes say nothing about the meaning
    while (t && (t->op == EPVAL || t->op == DDNODE)) t = t->left;
    return t;
}

// --- templates ---

template <class GET> std::vector<EXPR> FUNC_GEN::ordered(size_t n, GET get) {
    std::vector<EXPR> e(n);
    std::vector<std::list<std::string>::iterator> behind(n);
    std::vector<EFFECTS> before(n);
    EFFECTS *outer = done, later;
    for (size_t i = 0; i < n; i++) {
        done = &before[i];
        e[i] = get(i);
        behind[i] = seq->last();
    }
    for (size_t i = n; i-- > 0;) {
        done = &before[i];
        if (conflict(e[i].fx, later)) e[i] = temp(e[i], behind[i]);
        later.add(before[i]);
        later.add(e[i].fx);
        outer->add(before[i]);
    }
    done = outer;
    return e;
}

// What is evaluated only under a condition brings its sequence along.
template <class GET> EXPR FUNC_GEN::arm(GET get) {
    SEQUENCE mine, *outer = seq;
    EFFECTS does, *outer_done = done;
    seq = &mine, done = &does;
    EXPR e = get();
    seq = outer, done = outer_done;
    if (mine.empty()) return e;
    EXPR r;
    for (auto it = std::next(mine.items.begin()); it != mine.items.end(); ++it) r.text += *it + ", ";
    r.text = "(" + r.text + (e.text.empty() ? "(void)0" : operand(e, P_ASSIGN)) + ")";
    r.type = e.type, r.fx = e.fx, r.depth = e.depth + 1, r.is_truth = e.is_truth;
    r.fx.add(does);
    return r;
}

template <class GET> EXPR FUNC_GEN::beside(LVAL &l, GET get) {
    auto behind = seq->last();
    EFFECTS mine, *outer = done;
    done = &mine;
    EXPR e = get();
    EFFECTS all = mine;
    all.add(e.fx);
    if (conflict(l.fx, all)) l = fixed(l, behind);
    done = outer;
    done->add(mine);
    return e;
}
