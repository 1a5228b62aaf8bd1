// The interpreter's code: each function of a file becomes a vector of steps, each step a tree of XN nodes that
// evaluate themselves through a function pointer.
//
// Values. Every scalar value travels as 64 bits: integers and pointers sign- or zero-extended by their type, a float
// as its 32 bits, a double as its 64. Complex numbers and vectors (up to 16 bytes) travel as WIDE through a second
// function pointer. Records never travel: trees hold lvalues of them.
//
// Counting. What a step executes is known when it is compiled, except under && || ?: and quest: each such arm is a
// unit of its own. So each unit keeps one execution counter, and the totals by class are computed at the end as
// count x static content. Counts are exact and cost one increment a unit.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "tools/exec/memory.h"
#include "tools/model/model.h"

struct XN;
struct FRAME;
struct XFUNC;
struct PROGRAM;
struct CLAIMS;
struct CLAIM_STATE;

struct WIDE {
    uint64_t lo = 0, hi = 0;
};

using EVAL = uint64_t (*)(const XN *, FRAME *);
using EVAL_WIDE = void (*)(const XN *, FRAME *, WIDE *);

// What the counters distinguish.
enum COUNT_CLASS : uint8_t {
    CN_NODES,
    CN_LOADS,
    CN_STORES,
    CN_CALLS,
    CN_MULS,
    CN_DIVS,
    CN_VECTOR,
    CN_ARITH, // additions, logic, shifts
    CN_COMPARE,
    CN_CONVERT,
    CN_FLOAT, // arithmetic on floats, also counted in its own class
    CN_BYTES, // bytes moved by loads, stores and copies
    N_COUNT_CLASSES
};
extern const char *const count_class_names[N_COUNT_CLASSES];

struct UNIT {
    uint64_t executed = 0;
    uint32_t content[N_COUNT_CLASSES] = {};
};

// Scalar kinds, by which handlers are chosen.
enum SK : uint8_t {
    SK_i8,
    SK_u8,
    SK_i16,
    SK_u16,
    SK_i32,
    SK_u32,
    SK_i64,
    SK_u64,
    SK_f32,
    SK_f64,
    SK_void,
    SK_wide,
    SK_record
};
SK scalar_kind(const TYPE *t);
unsigned sk_bytes(SK k);

struct XN {
    EVAL fn = nullptr;
    EVAL_WIDE wide = nullptr;
    XN *a = nullptr, *b = nullptr, *c = nullptr;
    int64_t imm = 0;   // constant, offset, address, size
    uint32_t imm2 = 0; // bit-field: width; others
    uint8_t shift = 0; // bit-field: bit in its first byte
    SK kind = SK_void; // of the value
    SK from = SK_void; // of the operand
    bool is_volatile = false;
    UNIT *unit = nullptr, *unit2 = nullptr; // of conditional arms
    const void *extra = nullptr;            // call, vector description
    const MNODE *node = nullptr;            // for messages
};

enum STEP_KIND : uint8_t {
    ST_EXPR,
    ST_CBRANCH,
    ST_BRANCH,
    ST_SWITCH,
    ST_RETURN,
    ST_RETURN_WIDE,
    ST_END,
    ST_NOP
};

struct XSWITCH {
    std::unordered_map<int64_t, uint32_t> cases;
    uint32_t other = 0;
};

struct STEP {
    STEP_KIND kind = ST_NOP;
    bool has_setjmp = false;
    XN *tree = nullptr;
    uint32_t target = 0; // of branches
    UNIT unit;
    uint64_t taken = 0; // CBRANCH: jumped
    XSWITCH *table = nullptr;
    const PSN *psn = nullptr;
    uint32_t line_of_record = 0; // index in the function's records
};

// A formal parameter: where an argument goes.
struct XPARM {
    MSYM *sym;
    SK kind;
    uint32_t offset, bytes;
};

// A loop record of the file with the counters that --check-records and the report use.
struct XLOOP {
    unsigned number = 0, parent = 0;
    uint32_t min = 0, max = ~0u, factor = 1, flags = 0;
    uint64_t dead = 0;                                 // variables that its record calls dead behind it
    std::vector<std::pair<uint32_t, uint32_t>> ranges; // step indices [from, to) that lie in it
    const PSN *psn = nullptr;
};

struct XFUNC {
    MSYM *symbol = nullptr;
    std::string name;
    uint32_t address = 0;
    MODEL *model = nullptr;
    MFUNC *body = nullptr;
    std::vector<STEP> steps;
    std::vector<XPARM> parms;
    bool variadic = false;
    SK result = SK_void;
    uint32_t frame_bytes = 0; // of the whole frame, a multiple of 16
    uint32_t checked_from =
        0; // offset of the objects with addresses; the shadow image covers [checked_from, frame_bytes)
    std::vector<uint8_t> shadow_image;
    std::vector<UNIT *> arms;
    std::vector<XLOOP> loops;
    CLAIMS *claims = nullptr; // with --check-records, when it makes any
    uint64_t entered = 0;
    uint64_t dynamic_bytes = 0; // of copies whose size is not known before
    bool compiled = false;
    uint64_t (*library)(struct CALL_CONTEXT &) = nullptr; // a function of the C library
};

struct FRAME {
    uint8_t *host = nullptr; // host address of the frame
    uint32_t base = 0;       // guest address
    XFUNC *func = nullptr;
    STEP *step = nullptr;
    FRAME *caller = nullptr;
    uint32_t varargs = 0;    // guest address of the variadic arguments
    uint32_t alloca_top = 0; // stack pointer below which the callees' frames go
    uint64_t id = 0;
    bool jumped_back = false; // a setjmp of this step returns a second time
    uint64_t jump_value = 0;
    WIDE wide_result;
    CLAIM_STATE *claims = nullptr; // when the function makes claims
};

// One argument as the caller evaluated it.
struct ARG {
    uint64_t value; // scalar value, or guest address of a record or wide value
    const TYPE *type;
    SK kind;
};

struct XCALL {
    XFUNC *direct = nullptr;
    XN *target = nullptr; // function address, when not direct
    std::vector<XN *> args;
    std::vector<const TYPE *> types;
    SK result = SK_void;
    uint32_t wide_temp = 0; // bytes of wide arguments
    const TYPE *result_type = nullptr;
    bool is_setjmp = false;
};

// What a library function is given.
struct CALL_CONTEXT {
    FRAME *frame; // of the caller
    const ARG *args;
    unsigned n;
    XFUNC *func;
    const XCALL *call;

    uint32_t u32(unsigned i) const { return i < n ? uint32_t(args[i].value) : 0; }
    int32_t i32(unsigned i) const { return int32_t(u32(i)); }
    uint64_t u64(unsigned i) const { return i < n ? args[i].value : 0; }
    double f64(unsigned i) const; // a double or float argument
    float f32(unsigned i) const;
};

struct RUN_OPTIONS {
    bool big_endian = false;
    bool check_init = false;
    bool check_records = false;
    bool trace_volatile = false;
    uint64_t step_limit = 0; // 0: none
};
extern RUN_OPTIONS run_options;

struct EXIT_PROGRAM {
    int status;
};
struct LONG_JUMP {
    uint64_t frame_id;
    uint32_t step;
    uint64_t value;
};

struct PROGRAM {
    std::vector<std::unique_ptr<MODEL>> models;
    std::vector<XFUNC *> functions;                    // by (address - CODE_BASE) / CODE_STEP
    std::unordered_map<std::string, XFUNC *> by_name;  // linkable ones
    std::unordered_map<std::string, uint32_t> objects; // linkable objects: address
    std::unordered_map<const MSYM *, uint32_t> object_of;
    std::unordered_map<const MSYM *, XFUNC *> function_of;
    std::vector<uint32_t> constructors, destructors;
    uint32_t stack_pointer = STACK_TOP;
    std::string name; // as messages give it
};
extern PROGRAM program;
extern FRAME *current_frame;

// --- compile.cpp ---
void link_program();                              // objects, functions, initialisers
void compile_function(XFUNC *);                   // on first call
XFUNC *library_function(const std::string &name); // null: not in the library
// --- run.cpp ---
uint64_t call_function(XFUNC *, const ARG *args, unsigned n, FRAME *caller, const XCALL *call, WIDE *wide);
uint64_t call_address(uint32_t address, const ARG *args, unsigned n, FRAME *caller, const XCALL *call,
                      WIDE *wide);
uint64_t call_guest(uint32_t address,
                    std::initializer_list<uint64_t> args); // integer arguments, from the library
// Reports and ends the run with status 120. The message tells function and position.
[[noreturn]] void fault(const char *format, ...) __attribute__((format(printf, 1, 2)));
void check_access(uint32_t a, uint64_t n, bool is_write);
void trace_volatile(char what, uint32_t a, unsigned n, uint64_t value);
int run_program(int argc, char **argv, char **envp);
uint64_t push_stack(uint32_t bytes, uint32_t align); // guest stack space; returns the address
// --- counts.cpp ---
void write_counts(FILE *to, bool json);
// --- library.cpp ---
uint32_t library_object(const std::string &name, uint32_t bytes); // 0: none of that name
void run_exit_handlers();
XFUNC *enter_library_function(const std::string &name, uint64_t (*fn)(CALL_CONTEXT &));
// --- values ---
inline double as_f64(uint64_t v) {
    double d;
    memcpy(&d, &v, 8);
    return d;
}
inline float as_f32(uint64_t v) {
    uint32_t w = uint32_t(v);
    float f;
    memcpy(&f, &w, 4);
    return f;
}
inline uint64_t from_f64(double d) {
    uint64_t v;
    memcpy(&v, &d, 8);
    return v;
}
inline uint64_t from_f32(float f) {
    uint32_t w;
    memcpy(&w, &f, 4);
    return w;
}
