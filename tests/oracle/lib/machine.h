// What a tree means: an evaluator that shares no arithmetic with the optimizer.
//
// A tree is translated into code for a small stack machine once and then run in many environments. An environment is a
// memory image: every symbol has its place there, so that addresses, pointers and fields work as on the target (32-bit
// pointers, little endian). Integers are computed in the host's 64-bit and 128-bit arithmetic and cut to the type;
// floats are the host's float and double.
//
// A run gives a value, the memory afterwards and the list of events that the outside can see: volatile accesses with
// address and value, calls that are no pure functions with their arguments, jumps. A trap (division by zero, access
// outside every object, an assertion that does not hold) ends it. Things that C leaves undefined and the target defines are noted in `undefined`: the
// value is what the target gives (wrapping), and the caller decides whether a rewriting may rely on their absence.
//
// Operands of another type than their operator's are converted to it, shift counts are taken as they are, integer
// comparisons are made in 32 bits, or 64 when an operand has 64. A shift by the width or more (or a negative count)
// gives 0 or the sign. Reads of volatile objects give other values from read to read, the same ones in every run.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "OPT5/fwd.h"

enum class VK : uint8_t { i8, u8, i16, u16, i32, u32, i64, u64, boolean, f32, f64, none };

VK value_kind(const TYPE *type); // none: void, records, arrays
bool vk_is_float(VK);
int vk_bits(VK);
bool vk_is_signed(VK);
// A 64-bit word cut and extended as the kind holds it.
uint64_t vk_cut(uint64_t v, VK kind);
// The conversion of a value; *undefined is set where C does not define it.
uint64_t vk_convert(uint64_t v, VK from, VK to, unsigned *undefined);
std::string vk_text(uint64_t v, VK kind);

enum UNDEFINED : unsigned {
    UNDEF_OVERFLOW = 1, // signed arithmetic of 32 bits and more
    UNDEF_SHIFT = 2,    // a count that is negative, or the width or more
    UNDEF_CONVERT = 4,  // a float that the integer type can't hold
};
enum class TRAP : uint8_t { none, divide, access, illegal, assertion };

struct EVENT {
    char what;      // R, W: volatile read and write; C: call, A: its argument; J: jump; V: value returned
    uint32_t where; // address, index of the function, label
    uint64_t value;
    bool operator==(const EVENT &) const = default;
};
std::string events_text(const std::vector<EVENT> &events);

// Places of symbols. Grows when trees name symbols that are not there yet.
struct LAYOUT {
    static constexpr uint32_t BASE = 0x1000;
    uint32_t size = 0; // bytes that the image needs
    uint32_t place(const SYMTAB *symbol);
    std::unordered_map<const SYMTAB *, uint32_t> places;
};

struct RESULT {
    uint64_t value = 0;
    VK kind = VK::none;
    TRAP trap = TRAP::none;
    unsigned undefined = 0;
    std::vector<EVENT> events;
    std::vector<uint8_t> memory; // filled only when the tree writes
};

struct CODE_OP;
struct CODE {
    std::vector<CODE_OP> ops;
    VK kind = VK::none; // of the value
    bool writes = false, has_effects = false, reads_memory = false;
    std::vector<const SYMTAB *> symbols; // those read or written by name or address, each once
    std::string refused;                 // an opcode without meaning here; then `ops` is empty

    CODE();
    ~CODE();
    CODE(CODE &&);
    CODE &operator=(CODE &&);
};

// Translates; `tree` may be null: no value, no effects. Depth of the tree does not matter.
CODE translate(const NODE *tree, LAYOUT &layout);
// `seed` chooses what volatile reads and calls give.
void run(const CODE &code, const std::vector<uint8_t> &memory, uint64_t seed, RESULT &result);

// The value of a tree of constants.
uint64_t value_of_constant(const NODE *tree);

uint64_t load_bytes(const std::vector<uint8_t> &memory, uint32_t address, VK kind);
void store_bytes(std::vector<uint8_t> &memory, uint32_t address, VK kind, uint64_t v);

// The plain model of a built-in operation; null where none is known. Operands come as 64-bit values.
typedef int64_t (*BUILTIN_MODEL)(const int64_t *operands);
BUILTIN_MODEL find_builtin_model(const char *name);
