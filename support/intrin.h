// The processor's SIMD and DSP built-ins by name: what types they take and what they compute.
//
// One table for everybody: the interpreter executes from it, the C generator writes C from it, the optimizer makes
// descriptors and folds constants with it, and the tests compare each row with the processor. A row is a name, the
// shapes of its result and operands, the lane types that it exists for, and a lane function; a form is a row with one
// lane type and register size put in.
//
// Lane functions are written once, in a subset of C (intrin_lanes.cpp): compiled here, and as text for generated C.
// They are pure. A lane travels as 64 bits, sign- or zero-extended by its type, a float as its 32 bits; a lane
// function gets one lane of each operand and the types of the last vector operand and of the result as widths in
// bits, negative for signed. Its answer is cut to the result's type.
//
// Vectors have 8 or 16 bytes; lane 0 is at the lowest place. DSP names work on words of 32 and 64 bits: halves and
// bytes are counted from the low end, whatever the order of bytes. A vector of 4 bytes may stand for a word. What an
// instruction leaves in flags (saturated, greater or equal) is not part of its value. Float lanes compute as the SIMD
// unit does: subnormal numbers are taken and given as zeros, and a result that is no number is the default one.
//
// __ils has no value and is not here. Rows marked `extra` are not of the machine description: C programs reach them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

enum LANE : uint8_t {
    LANE_s8,
    LANE_u8,
    LANE_s16,
    LANE_u16,
    LANE_s32,
    LANE_u32,
    LANE_s64,
    LANE_u64,
    LANE_f32,
    LANE_f64, // no row has it; packs and conversions may
    LANE_none
};
unsigned lane_bits(LANE);
bool lane_is_signed(LANE); // of integers
inline bool lane_is_float(LANE l) { return l == LANE_f32 || l == LANE_f64; }
LANE lane_of_width(unsigned bits, bool is_signed); // LANE_none: no integer has it
int64_t lane_fit(int64_t value, LANE);             // cut and extended; floats cut only

struct LANE_SHAPE {
    LANE lane = LANE_none;
    uint8_t count = 0; // 1: a scalar, or a vector of one lane
    unsigned bits() const { return count * lane_bits(lane); }
    bool operator==(const LANE_SHAPE &) const = default;
};

struct LANES {
    int64_t v[16] = {};
};

constexpr unsigned INTRIN_OPERANDS = 8;
constexpr unsigned INTRIN_REGISTER_BITS = 128;

enum INTRIN_WALK : uint8_t {
    WALK_LANES,     // result[i] = fn(a[i], b[i], c[i]); scalars serve all lanes
    WALK_PAIRS,     // neighbours of a, then of b
    WALK_PAIRS_ACC, // a[i] + fn of neighbours of b
    WALK_TABLE,     // result[i] = a[b[i]], 0 outside
    WALK_JOIN,      // all lanes of the operands one after the other
    WALK_SPREAD,    // the last operand again and again behind the first ones
    WALK_PART,      // part b of a, counted in results
    WALK_CONVERT,   // lane by lane
    WALK_BITS       // the same bits
};

enum INTRIN_IMMEDIATE : uint8_t {
    IMM_NONE,
    IMM_LEFT,   // 0 to the lane's width less 1
    IMM_RIGHT,  // 1 to the lane's width
    IMM_NARROW, // 1 to the width of the result's lane
    IMM_BYTE,   // eight bits at a multiple of eight
    IMM_ROTATE, // 0, 8, 16, 24
    IMM_SHIFT,  // 0 to 31
    IMM_SAT,    // 1 to 32: bits that are kept, of signed saturation
    IMM_USAT,   // 0 to 31
    IMM_SAT16,  // 1 to 16
    IMM_USAT16, // 0 to 15
    IMM_PART
};

enum INTRIN_FLAG : uint8_t {
    INTRIN_COMMUTES_01 = 1,
    INTRIN_COMMUTES_12 = 2,
    INTRIN_EXTRA = 4,
    INTRIN_WORD = 8, // a DSP name
};

using LANE_FN = int64_t (*)(int64_t a, int64_t b, int64_t c, int32_t from, int32_t to, int32_t k);

struct INTRIN_ROW {
    const char *name;
    const char *shape; // result, blank, operands; letters in intrin.cpp
    uint16_t lanes;    // 1 << LANE of T
    uint8_t registers; // 1: T is 8 bytes, 2: 16
    INTRIN_WALK walk;
    const char *fn_name; // of the lane function
    LANE_FN fn;
    int32_t k;            // its last argument
    INTRIN_IMMEDIATE imm; // of the operand '#'
    uint8_t flags;
    // How the processor computes it: an expression over arm_neon.h (operands %1 %2 %3, %i the immediate, @ for the
    // q of wide registers, $ for the type), or without parentheses an instruction. May be null.
    const char *machine;
};

struct INTRIN_FORM {
    const INTRIN_ROW *row = nullptr;
    LANE_SHAPE base; // T
    LANE_SHAPE result;
    LANE_SHAPE operand[INTRIN_OPERANDS];
    uint8_t n = 0;
    uint8_t immediates = 0; // bit i: operand i is an immediate
};

const INTRIN_ROW *intrin_rows(size_t &count);
bool intrin_is_known(const char *name);
// The form for a call with these shapes. Lanes must agree in width and kind; forms that agree in signs are preferred.
// Scalars agree with any scalar, words with vectors of their size. Null row: there is none.
INTRIN_FORM intrin_find(const char *name, LANE_SHAPE result, const LANE_SHAPE *operands, unsigned n);
// All forms of a row, but for rows that take any shape, which have none here.
std::vector<INTRIN_FORM> intrin_forms(const INTRIN_ROW &);
// Whether the operand, when it is an immediate of the form, may have that value.
bool intrin_immediate_fits(const INTRIN_FORM &, unsigned operand, int64_t value);
// Operands are lanes of the form's shapes; the result's unused lanes are 0.
void intrin_eval(const INTRIN_FORM &, const LANES *operands, LANES *result);

// Lanes of one shape as lanes of another with as many bits, or as one scalar converted.
void lanes_as(const LANES &from, LANE_SHAPE from_shape, LANES &to, LANE_SHAPE to_shape);

// A lane function and all that it uses, these first; and the C text of one, whose name is ql_lane_ and fn_name.
std::vector<std::string> lane_function_names(const std::string &fn_name);
std::string lane_function_text(const std::string &fn_name);
