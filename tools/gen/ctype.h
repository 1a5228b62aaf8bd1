// Types of the file as types of C.
//
// A CTYPE is a type of the generated text. Two types of the file that are written alike share one CTYPE, so identity
// answers "does C see the same type?": int and long are both s32, an enum is its underlying type, typedefs and the
// qualifiers of the value itself are gone. Only volatile survives inside pointer targets and members; which access is
// volatile is decided by the trees, not by declarations.
//
// Records are declared with the layout that the file gives. Where C would place a member elsewhere, explicit padding is
// put in, then the record is packed; a member that no C declaration can place is left out, and its accesses go through
// byte offsets. Static assertions in the generated text repeat what was computed: sizes, alignments, offsets.
//
// Limits: vectors need a power of two of lanes; fixed point has no C type; a type whose text is longer than LONGEST_TYPE
// is refused.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "tools/gen/names.h"
#include "tools/model/model.h"

// Thrown after the message went out.
struct GEN_FAILED {};

enum CK : uint8_t {
    CK_s8,
    CK_u8,
    CK_s16,
    CK_u16,
    CK_s32,
    CK_u32,
    CK_s64,
    CK_u64,
    CK_f32,
    CK_f64,
    CK_ptr,
    CK_void,
    CK_complex,
    CK_vector,
    CK_record,
    CK_array,
    CK_func,
    CK_none // no C type: fixed point, incomplete vectors
};

struct CTYPE {
    CK kind = CK_none;
    std::string before, after; // around the declared name; `before` ends in a blank or a star
    std::string text;          // without a name
    uint64_t bytes = 0;
    TYPE *type = nullptr;        // one of the file's types that is written so
    const CTYPE *part = nullptr; // of a pointer, array, vector, complex: what it holds, unqualified
    bool part_volatile = false;
    uint64_t lanes = 0; // of a vector
    // Of a function; `part` is what it returns.
    std::vector<const CTYPE *> params;
    bool proto = false, vararg = false;

    bool is_int() const { return kind <= CK_u64; }
    bool is_float() const { return kind == CK_f32 || kind == CK_f64; }
    bool is_narrow() const { return kind <= CK_u16; }
    bool is_signed() const { return kind <= CK_s64 && kind % 2 == 0; }
    bool is_scalar() const { return kind <= CK_ptr; }
    bool is_wide() const { return kind == CK_complex || kind == CK_vector; }
    unsigned bits() const { return unsigned(bytes * 8); }
    std::string declare(const std::string &name) const { return before + name + after; }
};

// A member as the generated declaration has it; an empty name: reached by offset only.
struct CMEMBER {
    std::string name;
    bool is_bits = false;
};

class CTYPES {
  public:
    explicit CTYPES(MODEL &m) : model(m) {}

    const CTYPE *of(TYPE *); // the type of values: qualifiers stripped
    const CTYPE *pointer_to(const CTYPE *, bool is_volatile = false);
    const CTYPE *basic(CK kind); // integers and floats
    const CTYPE *character();    // plain char
    const CTYPE *bytes() { return pointer_to(basic(CK_u8)); }
    // A function type of these parameters, as a pointer to it is written.
    const CTYPE *function(const CTYPE *returns, const std::vector<const CTYPE *> &params, bool vararg);
    const CTYPE *vector(const CTYPE *lane, uint64_t lanes);

    const CMEMBER &member(TYPE *record, const fkMDATA *);
    std::string tag(TYPE *record); // "struct name"

    // How the result of a function type travels: through a hidden first pointer parameter that the file shows, or,
    // when the calling convention returns such records in registers, as a C result.
    bool hidden_result(TYPE *function);            // the file's type has the hidden parameter
    static bool may_be_in_registers(TYPE *record); // small, or floats throughout
    TYPE *record_result(TYPE *function);           // the record returned as a C result; null: none

    // Declarations that the types used so far need: typedefs, then records in an order that C accepts.
    std::string declarations();

  private:
    struct RECORD {
        TYPE *type;
        std::string tag;
        bool laid_out = false;
        std::unordered_map<const fkMDATA *, CMEMBER> members;
        std::string text;             // the declaration
        std::vector<TYPE *> by_value; // records that must be declared before
        bool emitted = false;
    };

    MODEL &model;
    std::map<std::string, std::unique_ptr<CTYPE>> by_text; // keyed by text
    std::unordered_map<const TYPE *, const CTYPE *> by_type;
    std::unordered_map<const TYPE *, RECORD *> record_of;
    std::vector<std::unique_ptr<RECORD>> records; // in order of first use
    std::string typedefs;
    NAMES tags;

    static constexpr size_t LONGEST_TYPE = 8000;

    [[noreturn]] void fail(const std::string &what);
    const CTYPE *intern(CTYPE &&);
    const CTYPE *make(TYPE *);
    const CTYPE *integer(TYPE *);
    const CTYPE *function_type(TYPE *);
    RECORD *record(TYPE *);
    void lay_out(RECORD *);
    bool place_members(RECORD *, bool packed, std::string &lines);
    bool place_union(RECORD *, bool packed, std::string &lines);
    unsigned natural_align(TYPE *); // bits, of a member in a declaration that is not packed
    std::string member_name(RECORD *, const fkMDATA *, NAMES &);
    std::string member_line(RECORD *, const fkMDATA *, const std::string &name, bool packed);
    void emit_record(RECORD *, std::string &out);
};
