// From the trees of a function to XN nodes and steps. One COMPILER per function; nodes live as long as the program.
#pragma once

#include <deque>

#include "support/intrin.h"
#include "tools/exec/eval.h"

struct LVALUE {
    ADDRESSING am = AM_ABS;
    XN *address = nullptr; // AM_DYN
    int64_t offset = 0;    // frame offset, guest address, or added to the address
    // a bit-field of the object there
    bool is_bits = false;
    uint32_t bit = 0, width = 0;
    // a lane of a vector that is a value, not memory
    XN *wide_value = nullptr;
};

class COMPILER {
  public:
    explicit COMPILER(XFUNC *f, MODEL *m) : func(f), model(m) {}

    void body();
    XN *constant_tree(MNODE *t) { return value(t); } // for static initialisers: no frame
    XN *value(MNODE *t);                             // scalar or void
    XN *wide_value(MNODE *t);                        // complex or vector
    LVALUE lvalue(MNODE *t);
    XN *address(MNODE *lv);
    XN *intrinsic(MNODE *t); // scalar or wide
    XN *make(MNODE *t = nullptr);
    XN *leaf(uint64_t v, SK k);
    void count(COUNT_CLASS c, uint32_t n = 1) { unit->content[c] += n; }
    UNIT *unit = &scratch;
    // Runs `f` with the nodes that it compiles counted in a unit of their own.
    template <class F> UNIT *arm(F f) {
        UNIT *outer = unit;
        unit = new_unit();
        UNIT *mine = unit;
        f();
        unit = outer;
        return mine;
    }
    [[noreturn]] void cannot(const MNODE *t, const char *why);

  private:
    XFUNC *func;
    MODEL *model;
    UNIT scratch;
    bool saw_setjmp = false;
    // With --check-records, when the function claims something about memory.
    bool notes_references = false, notes_all = false;
    enum USE { READS = 1, WRITES = 2 };
    int next_use = READS; // of the lvalue that is compiled next
    LVALUE noted(MNODE *t, const LVALUE &lv, uint32_t id, int use);
    XN *then_stored(XN *store);
    // Variables that a loop's record calls dead behind the loop, by their bit in CLAIM_STATE::dead.
    std::unordered_map<const MSYM *, unsigned> dead_behind;
    void find_dead_behind();
    const unsigned *dead_bit(const MNODE *lvalue) const;
    XN *read_of_dead(XN *, const MNODE *lvalue);
    XN *write_of_dead(XN *, const MNODE *lvalue);
    std::unordered_map<const MSYM *, uint32_t> slot; // frame offset of a local
    std::unordered_map<int, uint32_t> label_step;
    std::vector<std::pair<uint32_t, int>> fixups; // step -> label

    UNIT *new_unit();
    void layout_frame();
    void place_symbols(const std::vector<MSYM *> &checked);
    void statement(MNODE *t, const PSN *psn, uint32_t record);
    void switch_statement(MNODE *t, STEP &s);
    void assembly(const PSN *psn, uint32_t record);
    void resolve_labels();
    void loops();

    XN *convert(MNODE *t);
    XN *to_kind(XN *x, SK to);
    XN *binary(MNODE *t);
    XN *comparison(MNODE *t);
    XN *conditional(MNODE *t);
    XN *logical(MNODE *t);
    XN *assignment(MNODE *t);
    XN *op_assignment(MNODE *t);
    XN *step(MNODE *t);
    XN *record_copy(MNODE *t, MNODE *to, MNODE *from, uint32_t bytes);
    XN *memcpy_node(MNODE *t);
    XN *call(MNODE *t);
    XN *load(MNODE *t);
    XN *comma(MNODE *first, MNODE *second, bool wide);
    void apply(XN *x, const LVALUE &lv);
    friend struct WIDE_COMPILER;
};

// Whether a record of a function becomes a step: statements, and assembly that does something.
bool makes_step(const MRECORD &);
// A node in a pool that is never freed.
XN *new_xn();
// wide.cpp: complex numbers and vectors.
XN *compile_wide(COMPILER &, MNODE *t);
// simd.cpp: a built-in of the table of intrinsics, words or vectors.
XN *compile_simd(COMPILER &, MNODE *t, const char *name, const std::vector<MNODE *> &args);
// intrinsics.cpp: other built-in functions by name on scalars; null when the name is unknown.
using INTRINSIC = uint64_t (*)(const uint64_t *args, const TYPE *const *types, const TYPE *result);
INTRINSIC find_intrinsic(const std::string &name);
