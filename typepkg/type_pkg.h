// The type package: every TYPE of the program under compilation lives here.
//
// One TYPE_PKG (`tp`) makes types with the mk_* operations and owns them until the end of the run; trees
// and symbols hold plain pointers. Types are hash-consed: two requests for the same structure give the
// same pointer, so identity is the fast answer to "same type?". Records and enums are never shared, each
// mk_ of one makes a new type.
//
// The types form a tree: each hangs in the based list of the type that it is built on (a pointer under its
// target, an array under its element, a function under what it returns), and what is built on nothing
// hangs under `TYPE_PKG::root_type`. A based list keeps named types in a map sorted by `map_name()` and
// the others in order of creation. That order is part of the output, since the writer walks it. It is not
// used to search: a hash of the structure finds a shared type in constant time however full a list is.
//
// Life of a type: a simple one is complete when its maker returns. An array's count and flags are given at
// once. A function, enum or record is returned open: members are added with add_*, then `type_frozen`
// closes it. A record or enum is registered from the start, because its members may refer to it; a
// function is registered by `type_frozen`, which may find that an equal one exists, deletes the new one and
// gives the known one. A closed type does not change, apart from late completion (set_is_complete,
// set_is_lowered) and what the output walk marks. Nothing outside deletes a type.
//
// Sizes, alignments and offsets are in bits unless a name says bytes.
#pragma once

#include "support/psn.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

typedef uint32_t UID;

// clang-format off
enum KIND : uint8_t {
    K_void,    K_int, K_float, K_fixpt, K_complex, K_ptr,  K_ref,   K_qual, K_typedef,
    K_array,   K_ptm, K_func,  K_enum,  K_class,   K_struct, K_union,
    K_count
};

enum IKIND : uint8_t {
    IK_bool,  IK_schar, IK_uchar, IK_wchar, IK_short, IK_ushort,
    IK_int,   IK_uint,  IK_long,  IK_ulong, IK_llong, IK_ullong,
    IK_count
};

enum FKIND : uint8_t { FK_float, FK_double, FK_ldouble, FK_count };

enum QUAL : uint8_t {
    QUAL_const  = 1,  QUAL_volatile = 2,  QUAL_packed   = 4,  QUAL_near   = 8,
    QUAL_far    = 16, QUAL_ioport   = 32, QUAL_restrict = 64, QUAL_onchip = 128,
};

// What ekind() answers behind the integers (0..11, by IKIND).
enum EKIND : uint8_t {
    EK_float = 12, EK_double, EK_ldouble, EK_fixpt, EK_complex, EK_ptr, EK_ref, EK_array, EK_ptm,
    EK_func, EK_enum, EK_class, EK_struct, EK_union, EK_void,
};
// clang-format on

// Calling convention of a function type: a number that the file carries. With CC_RECORD_RESULT the function
// returns a record in the source, here through a hidden first pointer parameter; who writes machine code for it
// has to follow the target's rules for record results.
typedef uint8_t CC_KIND;
inline constexpr CC_KIND CC_PLAIN = 0, CC_RECORD_RESULT = 1;

// Left out size, alignment or count: the maker computes it.
inline constexpr uint64_t TP_SIZE = ~uint64_t{0};
inline constexpr uint32_t TP_ALIGN = ~uint32_t{0};
inline constexpr uint64_t TP_COUNT = ~uint64_t{0};

// Indices of TYPE_PKG::basic behind the integers, which stand at their IKIND.
enum BASIC_SLOT : uint8_t { BT_float = 12, BT_double, BT_ldouble, BT_void, BT_void_ptr, BT_count };

struct TYPE;
struct TYPE_PKG;

// The elements of the lists of functions, enums and records. Each is a singly linked record that belongs
// to its type; names belong to the package. The bytes and words without a name of their own are the
// file's: kept, written back, and otherwise not looked at.
struct fkPARAM {
    fkPARAM *next;
    TYPE *type;
    const char *name; // "" when it has none
    unsigned kind;
};

struct ETOR {
    ETOR *next;
    const char *name;
    int64_t value; // in the signedness of the enum's underlying type
    PSN psn;
};

struct fkBCLASS {
    fkBCLASS *next;
    TYPE *type;
    int32_t offset;
    uint8_t access;
    bool is_virtual;
};

struct fkADECL {
    fkADECL *next;
    unsigned word;
    uint8_t access;
};

struct fkFFRIEND {
    fkFFRIEND *next;
    const char *name;
    TYPE *type;
};

struct fkCFRIEND {
    fkCFRIEND *next;
    TYPE *type;
};

struct fkNTYPE {
    fkNTYPE *next;
    TYPE *type;
};

struct fkMDATA {
    fkMDATA *next;
    TYPE *type;
    const char *name;
    uint32_t name_length;
    uint32_t index;   // number within the record, from 1; what a FIELD of the file names
    int64_t offset;   // from the start of the record, of a bit-field too
    uint32_t bitsize; // width of a bit-field
    uint8_t access;
    uint8_t fti;
    bool bitfld;
    bool flag2;
    bool flag3;
    PSN psn;

    bool is_bitfld() const { return bitfld; }
    // The bit-field's width, or the size of the type.
    uint64_t width() const;
};

struct fkSDATA {
    fkSDATA *next;
    const char *name;
    TYPE *type;
    uint8_t access;
};

struct fkMFUNC {
    fkMFUNC *next;
    const char *name;
    TYPE *type;
    uint8_t access;
    int32_t word;
    bool flags[4];
};

// A list that is only appended to.
template <class T> struct TLIST {
    T *first;
    T *last;
    unsigned count;

    bool empty() const { return !first; }
    T *append(T *element) {
        element->next = nullptr;
        (last ? last->next : first) = element;
        last = element;
        count++;
        return element;
    }
};

// Ids of the attribute lists, as in the file. A subpart record's `lists` has bit 1 << id for each list that
// exists, an empty one included.
enum TP_LIST : uint8_t {
    TPL_params,
    TPL_etors,
    TPL_bclass,
    TPL_adecl,
    TPL_ffriend,
    TPL_cfriend,
    TPL_ntype,
    TPL_mdata,
    TPL_sdata,
    TPL_mfunc,
    TPL_count
};

// Subparts of the kinds that need more than a word (TYPE::create_subparts). Plain memory, zeroed.
struct tpTYPEDEF {
    TYPE *type_named;
    const char *name;
    bool lowered;
};

struct tpARRAY {
    TYPE *elem_type;
    uint64_t count;
    bool complete;
    bool vector;
};

struct tpFUNC {
    TYPE *return_type;
    TLIST<fkPARAM> params;
    uint16_t lists;
    CC_KIND cc;
    bool vararg;
    bool proto;
};

struct tpENUM {
    const char *name;
    TYPE *underlying_type;
    TLIST<ETOR> etors;
    uint16_t lists;
    bool complete;
};

struct tpCSU {
    const char *name;
    uint64_t word; // kept for the file
    uint16_t lists;
    uint16_t
        nesting; // records by value in records: how many levels, 0 when not looked at; see ifile/if_rtype
    bool complete;
    bool struct_vector;
    bool low;           // lowered
    bool seen_bitfield; // some member is a bit-field
    bool ordered_union; // merging compares the members of this union in order
    TLIST<fkBCLASS> bclass;
    TLIST<fkADECL> adecl;
    TLIST<fkFFRIEND> ffriend;
    TLIST<fkCFRIEND> cfriend;
    TLIST<fkNTYPE> ntype;
    TLIST<fkMDATA> mdata;
    TLIST<fkSDATA> sdata;
    TLIST<fkMFUNC> mfunc;
    TLIST<fkPARAM> params;
    std::vector<fkMDATA *> *by_index; // sorted by index, built when a long mdata list is first searched
};

// A chain through TYPE::next_based, in order of registration.
struct BASED_LIST {
    TYPE *first = nullptr;
    TYPE *last = nullptr;
};

struct NAME_LESS {
    bool operator()(const char *a, const char *b) const { return strcmp(a, b) < 0; }
};

// The types built on one type.
struct BASED_TYPE_CONTAINER {
    std::unique_ptr<std::map<const char *, BASED_LIST, NAME_LESS>> named; // by map_name(), null while empty
    BASED_LIST unnamed;
    uint32_t count = 0;
};

struct TYPE {
    explicit TYPE(KIND k) : kind(k) {}
    virtual ~TYPE();
    TYPE(const TYPE &) = delete;
    TYPE &operator=(const TYPE &) = delete;
    static void *operator new(size_t bytes);
    static void operator delete(void *memory, size_t bytes);

    // ---- fields; read freely, changed by the package only
    UID uid = 0;
    KIND kind;
    bool frozen = false;
    bool merg = false; // has been looked up for merging
    bool writ = false; // written to the output
    bool refd = false; // reachable from something to be written
    bool cpp = false;
    uint8_t quals = 0;     // qualifier bits of every level down to the defining type
    uint8_t all_quals = 0; // the same, and through arrays
    uint16_t dims = 0;     // arrays of arrays: how many levels, 65535 for more
    uint64_t size = 0;
    uint32_t align = 0;
    int32_t merge_mark = 0;
    uint32_t tu = 0;
    uint32_t hash = 0; // of the structure, for the table of shared types
    TYPE_PKG *pkg = nullptr;
    TYPE *dtype = this;    // the defining type: typedefs and qualifiers stripped
    TYPE *norm = nullptr;  // cache of normalized()
    TYPE *equiv = nullptr; // towards the representative
    PSN psn;               // file null: no position
    union {
        struct {
            IKIND ikind;
            bool expl_sign;
            bool is_boolean;
            bool is_ptm;
        } i;
        FKIND fkind;
        TYPE *part; // kinds 3 to 7 and 10
        tpTYPEDEF *td;
        tpARRAY *arr;
        tpFUNC *fn;
        tpENUM *en;
        tpCSU *csu;
        void *raw = nullptr;
    } sub;
    union {
        struct {
            int8_t binpt;
            uint8_t sign; // the file's; otherwise as the underlying type
        } fx;             // kind 3
        uint8_t own_qual; // kind 7
        TYPE *of_class;   // kind 10
        void *raw = nullptr;
    } sub2;
    mutable const char *map_name_cache = nullptr;
    BASED_TYPE_CONTAINER based;
    TYPE *next_based = nullptr; // neighbours in the based list that this one hangs in
    TYPE *prev_based = nullptr;

    // ---- identity
    // The type that stands for this one after merging; itself when it was never merged.
    TYPE *rep() {
        TYPE *t = this;
        while (t->equiv) t = t->equiv;
        return t;
    }
    // The key in the sorted map of its base; "" for a type that hangs among the unnamed.
    const char *map_name() const;

    // ---- stripping
    TYPE *stds();       // without leading typedefs
    TYPE *stqs();       // without leading qualifiers
    TYPE *getd(KIND k); // stds(), which must be of kind k
    // The defining type, which must be of kind k.
    TYPE *getr(KIND k) const {
        if (dtype->kind != k) bad_getr();
        return dtype;
    }
    TYPE *get_csu();        // stds(), which must be a class, struct or union
    TYPE *getr_csu() const; // the defining type, which must be a class, struct or union
    TYPE *normalized();     // the normal form, see type_query.h; cached

    // ---- kind of the defining type. is_typedef and is_qual ask for the type itself.
    KIND dkind() const { return dtype->kind; }
    bool is_typedef() const { return kind == K_typedef; }
    bool is_qual() const { return kind == K_qual; }
    bool is_void() const { return dkind() == K_void; }
    bool is_integral() const { return dkind() == K_int; }
    bool is_fltpt() const { return dkind() == K_float; }
    bool is_fxtpt() const { return dkind() == K_fixpt; }
    bool is_complex() const { return dkind() == K_complex; }
    bool is_ptr() const { return dkind() == K_ptr; }
    bool is_ref() const { return dkind() == K_ref; }
    bool is_array() const { return dkind() == K_array; }
    bool is_ptm() const { return dkind() == K_ptm; }
    bool is_func() const { return dkind() == K_func; }
    bool is_enum() const { return dkind() == K_enum; }
    bool is_class() const { return dkind() == K_class; }
    bool is_struct() const { return dkind() == K_struct; }
    bool is_union() const { return dkind() == K_union; }
    bool is_csu() const { return dkind() >= K_class; }
    bool is_udt() const { return dkind() >= K_enum; }
    bool is_arithmetic() const { return MASK_arithmetic >> dkind() & 1; }
    bool is_scalar() const { return MASK_scalar >> dkind() & 1; }
    // A small number for kind and subkind of the defining type: IKIND, or an EK_ value.
    unsigned ekind() const;

    // ---- integers, floats, complex; all look at the defining type
    bool is_ik(IKIND k) const { return is_integral() && dtype->sub.i.ikind == k; }
    bool is_fk(FKIND k) const { return is_fltpt() && dtype->sub.fkind == k; }
    bool is_bool() const {
        return is_integral() && (dtype->sub.i.ikind == IK_bool || dtype->sub.i.is_boolean);
    }
    bool is_boolean_int() const { return is_integral() && dtype->sub.i.is_boolean; }
    bool is_ptm_int() const { return is_integral() && dtype->sub.i.is_ptm; }
    bool is_schar() const { return is_ik(IK_schar); }
    bool is_uchar() const { return is_ik(IK_uchar); }
    bool is_plain_char() const { return (is_schar() || is_uchar()) && !dtype->sub.i.expl_sign; }
    bool is_wchar_t() const { return is_ik(IK_wchar); }
    bool is_short() const { return is_ik(IK_short); }
    bool is_ushort() const { return is_ik(IK_ushort); }
    bool is_int() const { return is_ik(IK_int); }
    bool is_uint() const { return is_ik(IK_uint); }
    bool is_long() const { return is_ik(IK_long); }
    bool is_ulong() const { return is_ik(IK_ulong); }
    bool is_llong() const { return is_ik(IK_llong); }
    bool is_ullong() const { return is_ik(IK_ullong); }
    bool is_float() const { return is_fk(FK_float); }
    bool is_double() const { return is_fk(FK_double); }
    bool is_ldouble() const { return is_fk(FK_ldouble); }
    bool is_cchar() const { return is_complex() && (part_type()->is_schar() || part_type()->is_uchar()); }
    bool is_cshort() const { return is_complex() && (part_type()->is_short() || part_type()->is_ushort()); }
    bool is_cint() const { return is_complex() && (part_type()->is_int() || part_type()->is_uint()); }
    bool is_clong() const { return is_complex() && (part_type()->is_long() || part_type()->is_ulong()); }
    bool is_cllong() const { return is_complex() && (part_type()->is_llong() || part_type()->is_ullong()); }
    bool is_cfloat() const { return is_complex() && part_type()->is_float(); }
    bool is_cdouble() const { return is_complex() && part_type()->is_double(); }
    // Of an integral or enum type; both are false of any other kind, pointers too. wchar_t is unsigned.
    bool is_unsigned() const;
    bool is_signed() const;
    bool expl_sign() const { return is_integral() && dtype->sub.i.expl_sign; }
    IKIND ikind() const { return getr(K_int)->sub.i.ikind; }
    FKIND fkind() const { return getr(K_float)->sub.fkind; }
    // Rank of an integral type or enum in the usual conversions, 0 (bool) to 5 (long long).
    unsigned rank() const;
    int binpt() const { return getr(K_fixpt)->sub2.fx.binpt; }

    // ---- parts. Each looks at the defining type, and dies when that is of another kind.
    TYPE *type_pointed_to() const; // of a pointer or pointer to member
    TYPE *type_refd() const { return getr(K_ref)->sub.part; }
    TYPE *ptm_class() const { return getr(K_ptm)->sub2.of_class; }
    TYPE *part_type() const { return getr(K_complex)->sub.part; }
    TYPE *underlying_type() const; // of an enum or fixed point type
    TYPE *return_type() const { return getr(K_func)->sub.fn->return_type; }
    TYPE *elem_type() const; // of an array; qualifiers of the array go to the element
    uint64_t num_elem() const { return getr(K_array)->sub.arr->count; }
    // These two look at the type itself.
    TYPE *type_named() const;     // of a typedef
    TYPE *type_qualified() const; // of a qualified type

    const fkPARAM *params() const { return getr(K_func)->sub.fn->params.first; }
    unsigned num_params() const { return getr(K_func)->sub.fn->params.count; }
    bool is_vararg() const { return getr(K_func)->sub.fn->vararg; }
    bool has_proto() const { return getr(K_func)->sub.fn->proto; }
    CC_KIND cc_kind() const { return getr(K_func)->sub.fn->cc; }
    const ETOR *etors() const { return getr(K_enum)->sub.en->etors.first; }
    fkMDATA *mdata() const { return getr_csu()->sub.csu->mdata.first; } // first member; null when none
    // The member of the record with that index, null when there is none.
    fkMDATA *find_mdata(unsigned index) const;

    // ---- qualifiers
    // The bits of every level, through typedefs; with the flag also through arrays.
    unsigned qual_kind(bool through_arrays = false) const { return through_arrays ? all_quals : quals; }
    // These look through arrays.
    bool is_qualified(unsigned bits = 255) const { return (all_quals & bits) != 0; }
    bool is_const() const { return is_qualified(QUAL_const); }
    bool is_volatile() const { return is_qualified(QUAL_volatile); }
    bool is_packed() const { return is_qualified(QUAL_packed); }
    bool is_near() const { return is_qualified(QUAL_near); }
    bool is_far() const { return is_qualified(QUAL_far); }
    bool is_ioport() const { return is_qualified(QUAL_ioport); }
    bool is_restrict() const { return is_qualified(QUAL_restrict); }
    bool is_onchip() const { return is_qualified(QUAL_onchip); }

    // ---- shape
    // Name of a typedef, enum or record, looking at the type itself; null for other kinds.
    const char *name() const;
    bool is_complete() const; // false of void, and of arrays, enums, records whose definition is missing
    bool is_lowered() const;  // of a typedef or record, at the type itself
    bool is_vector() const { return is_array() && dtype->sub.arr->vector; }
    bool is_vpred() const; // a vector of boolean integers
    bool is_struct_vector() const { return is_csu() && dtype->sub.csu->struct_vector; }
    bool has_flex_array_member(bool recursive) const;
    uint64_t size_in_bytes() const { return size >> 3; }
    uint32_t align_in_bytes() const { return align >> 3; }
    // Bits that an object takes: for scalars the next power of two, for others the size.
    uint64_t storage_size() const;

    // ---- text. `out` null: standard output
    std::string printstr() const;            // one line, as a declaration without a declared name
    void print(FILE *out = nullptr) const;   // printstr()
    void println(FILE *out = nullptr) const; // and a newline
    // What stands before and behind the declared name; both are appended to.
    void print_parts(std::string &before, std::string &after) const;
    void dump(FILE *out = nullptr) const;            // with members, sizes, numbers
    void dump_based_list(FILE *out = nullptr) const; // what is built on this type

    // ---- building; each dies on a closed type (check_nfrozen) but for the first two
    void set_is_complete(bool complete = true); // array, enum, record
    void set_is_lowered(bool lowered = true);   // typedef, record
    void set_struct_vector(bool flag = true);
    void set_ordered_union(bool flag = true);
    void set_psn(const PSN *position); // null: no position; a null file name becomes NO_FILE
    fkPARAM *add_param(TYPE *type, const char *name = "", unsigned kind = 0); // function, record
    ETOR *add_etor(const char *name, int64_t value, const PSN *position = nullptr);
    fkBCLASS *add_bclass(TYPE *type, int32_t offset, uint8_t access, bool is_virtual);
    fkADECL *add_adecl(unsigned word, uint8_t access);
    fkFFRIEND *add_ffriend(const char *name, TYPE *type);
    fkCFRIEND *add_cfriend(TYPE *type);
    fkNTYPE *add_ntype(TYPE *type);
    // Members whose index is still 0 get theirs from type_frozen.
    fkMDATA *add_mdata(const char *name, TYPE *type, int64_t offset);
    void set_member_psn(fkMDATA *member, const PSN *position);
    fkMDATA *add_bitfield(const char *name, TYPE *type, int64_t offset, uint32_t width);
    fkSDATA *add_sdata(const char *name, TYPE *type, uint8_t access);
    fkMFUNC *add_mfunc(const char *name, TYPE *type, uint8_t access, int32_t word, const bool flags[4]);
    // Says that the list exists although nothing is in it.
    void open_list(TP_LIST list);
    bool has_list(TP_LIST list) const;

    void check_nfrozen() const;
    // The subpart record of kinds 8, 9, 11, 12 and 13 to 15.
    void create_subparts();

  private:
    static constexpr unsigned MASK_arithmetic =
        1u << K_int | 1u << K_float | 1u << K_fixpt | 1u << K_complex | 1u << K_ptm | 1u << K_enum;
    static constexpr unsigned MASK_scalar = MASK_arithmetic | 1u << K_ptr | 1u << K_ref;
    [[noreturn]] static void bad_getr();
    uint16_t *lists_word() const; // null for a kind without lists
    tpCSU *open_csu(TP_LIST list);
};

struct TYPE_PKG {
    TYPE_PKG();
    ~TYPE_PKG();
    TYPE_PKG(const TYPE_PKG &) = delete;
    TYPE_PKG &operator=(const TYPE_PKG &) = delete;

    // ---- state
    TYPE *basic[BT_count] = {}; // bool, integers by IKIND, floats, void, pointer to void
    uint32_t tu = 0;            // current translation unit
    UID next_uid = 1;
    int error_code = 0;
    char error_text[4096] = "";
    void (*error_handler)(TYPE_PKG *) = nullptr;

    TYPE *root = nullptr;   // void, with no uid: everything hangs below it
    static TYPE *root_type; // that of the package made last
    static int abi;         // 1: the embedded ABI, 64-bit things aligned to 64; else to 32
    static int tp_count;    // packages alive
    static int cpu_version; // target silicon code

    TYPE *basic_int(IKIND k) const { return basic[k]; }
    TYPE *int_type() const { return basic[IK_int]; }
    TYPE *void_type() const { return basic[BT_void]; }
    TYPE *void_ptr_type() const { return basic[BT_void_ptr]; }

    // ---- makers. Null parts die. Sizes and alignments that are left out are those of the target.
    TYPE *mk_void();
    TYPE *mk_int(IKIND kind, bool expl_sign, uint64_t size = TP_SIZE, uint32_t align = TP_ALIGN,
                 bool is_boolean = false, bool is_ptm = false);
    TYPE *mk_ptm_int(TYPE *integral);
    TYPE *mk_boolean_int(TYPE *integral);
    TYPE *mk_fltpt(FKIND kind, uint64_t size = TP_SIZE, uint32_t align = TP_ALIGN);
    TYPE *mk_fxtpt(TYPE *underlying, int binpt, uint64_t size = TP_SIZE, uint32_t align = TP_ALIGN);
    TYPE *mk_fxtpt(TYPE *underlying, int binpt, uint64_t size, uint32_t align, uint8_t sign);
    TYPE *mk_complex(TYPE *part, uint64_t size = TP_SIZE, uint32_t align = TP_ALIGN);
    TYPE *mk_ptr(TYPE *target, uint64_t size = TP_SIZE, uint32_t align = TP_ALIGN);
    TYPE *mk_ref(TYPE *target, uint64_t size = TP_SIZE, uint32_t align = TP_ALIGN);
    TYPE *mk_ptm(TYPE *target, TYPE *of_class, uint64_t size, uint32_t align);
    // The type itself when it bears the bits already; bits of a qualified `type` are joined.
    TYPE *mk_qual(TYPE *type, unsigned bits, uint64_t size = TP_SIZE, uint32_t align = TP_ALIGN);
    TYPE *remove_known_qual(TYPE *type, unsigned bits);
    TYPE *mk_typedef(const char *name, bool cpp, TYPE *type, uint64_t size = TP_SIZE,
                     uint32_t align = TP_ALIGN, bool lowered = false, const PSN *position = nullptr);
    // Complete when a count is given.
    TYPE *mk_array(TYPE *elem, bool cpp, uint64_t count = TP_COUNT, uint64_t size = TP_SIZE,
                   uint32_t align = TP_ALIGN);
    TYPE *mk_array_full(TYPE *elem, bool cpp, uint64_t count, bool complete, bool vector, uint64_t size,
                        uint32_t align);
    // Open, not registered: add_param, then type_frozen. Nothing can be built on it before that.
    TYPE *mk_func(TYPE *returns, bool cpp, bool vararg, bool proto, CC_KIND cc = 0, uint64_t size = TP_SIZE,
                  uint32_t align = TP_ALIGN);
    // Closed and shared, with a prototype of these parameters.
    TYPE *mk_func(TYPE *returns, const std::vector<TYPE *> &params, bool vararg = false, bool cpp = false,
                  CC_KIND cc = 0);
    // Open: add_etor, then type_frozen. A size of 0 makes it incomplete.
    TYPE *mk_enum(const char *name, TYPE *underlying, uint64_t size, uint32_t align, bool cpp);
    // Open: add_*, then type_frozen. A null or empty name makes a "$$fake" one. Complete.
    TYPE *mk_struct(const char *name, uint64_t size, uint32_t align, bool cpp, uint64_t csu_word = 0);
    TYPE *mk_union(const char *name, uint64_t size, uint32_t align, bool cpp, uint64_t csu_word = 0);
    TYPE *mk_class(const char *name, uint64_t size, uint32_t align, bool cpp, uint64_t csu_word = 0);
    TYPE *mk_csu(KIND kind, const char *name, uint64_t size, uint32_t align, bool cpp, uint64_t csu_word,
                 bool complete);
    // Incomplete, open.
    TYPE *mk_struct(const char *name);
    TYPE *mk_union(const char *name);
    TYPE *mk_class(const char *name);
    // `count` lanes of `elem`; aligned to the lowest bit of its size, at most 64 bits.
    TYPE *mk_vector(TYPE *elem, uint64_t count);
    // A struct that holds `count` vectors as one value; its one member "val" is their array. Closed.
    TYPE *mk_struct_vector(const char *name, TYPE *vector, unsigned count);
    // A predicate for vectors of `count` lanes: a vector of boolean integers of `lane_bits`.
    TYPE *mk_vpred(unsigned count, unsigned lane_bits = 8);
    // The integral type of the same rank, size and alignment with that sign; of an integral or enum.
    TYPE *mk_unsigned(TYPE *integral);
    TYPE *mk_signed(TYPE *integral);
    // `array` (of arrays of ...) of `from`, rebuilt over `to`; sizes follow. Null when it holds no `from`.
    TYPE *replace_array_elem(TYPE *array, TYPE *from, TYPE *to);

    // ---- the tree of types
    // Closes a type; the handle may become another, equal type, and the one given is then gone.
    void type_frozen(TYPE *&type);
    // Files a closed candidate; gives it, or deletes it and gives the equal type that is known.
    TYPE *register_type(TYPE *candidate);
    // What a type is built on; itself for basic types, enums and records.
    TYPE *base_type(TYPE *type);
    // Where it hangs: base_type, or the root for what is its own base. Null for the root.
    TYPE *based_root(TYPE *type);
    void assign_uid(TYPE *type);
    // The shared copy of a name, alive as long as the package. Null gives null.
    const char *intern(const char *name);

    // ---- errors
    // Keeps the first error only and tells the handler.
    void set_error(int code, const char *format, ...) __attribute__((format(printf, 3, 4)));
    static const char *error_code_name(int code);

    // ---- names
    // True when `name` is an encoded C++ name; `plain` gets the readable text, or `name` itself.
    static bool demangle_type_name(const char *name, std::string &plain);
    // True when the names are the same, as they stand or decoded.
    static bool compare_type_names(const char *a, const char *b);

    // ---- reports
    void print_stats(FILE *out = nullptr);
    void db_stats(FILE *out = nullptr); // fill of the tables
    void dump_all(FILE *out = nullptr);

    struct COUNTS {
        unsigned types, basic, ptr, qual, tdef, array, vector, func, enums, csu, complex;
    } counts = {};

    // ---- for the other files of this folder
    struct TABLE; // the shared types by structure
    struct NAMES; // the interned names
    std::unique_ptr<TABLE> table;
    std::unique_ptr<NAMES> names;
    unsigned fake_names = 0;
    unsigned merges = 0;       // types that have a representative
    BASED_LIST open_functions; // made and not yet registered

    TYPE *new_type(KIND kind, uint64_t size, uint32_t align);
    TYPE *mk_int_of_sign(TYPE *integral, bool is_unsigned);
    const char *tag_name(const char *name);
    void normalize_basic_types();
    void update_basic_types();
    void link_based(TYPE *type, const char *name);
    void unlink_based(TYPE *type);
};

// The package of the program.
extern TYPE_PKG *tp;
// Greatest alignment of a scalar, set by init_types.
extern uint32_t max_scalar_alignment;

// Makes the root and the basic types; TYPE_PKG::abi must be set before.
void init_type_pkg(TYPE_PKG *package);
// Once the options are settled: complex types, max_scalar_alignment, normal forms.
void init_types();
// Deletes a type and what is built on it. Not recursive: it dies when something is.
void delete_type_tree(TYPE *type, bool recursive);

// Visits what hangs directly under a type, in order.
template <class F> void walk_based(const TYPE *base, F visit);
// Visits the types of the tree below `root`, a type before what is built on it, in the order of the based
// lists. The visitor must not make or delete types.
template <class F> void walk_type_tree(TYPE *root, F visit);

// Internal faults: prints "TP>> internal error: %s" and exits with status 1, after the closing hooks.
[[noreturn]] void tp_die(const char *message);
// Zeroed memory that is counted; dies when there is none. tp_free is given the same size.
void *tp_alloc(size_t bytes);
void tp_free(void *memory, size_t bytes);
size_t tp_bytes_in_use();

inline uint64_t fkMDATA::width() const { return bitfld ? bitsize : type->size; }

template <class F> void walk_based(const TYPE *base, F visit) {
    auto run = [&](const BASED_LIST &list) {
        for (TYPE *t = list.first, *next; t; t = next) {
            next = t->next_based;
            visit(t);
        }
    };
    if (base->based.named)
        for (auto &entry : *base->based.named) run(entry.second);
    run(base->based.unnamed);
}

template <class F> void walk_type_tree(TYPE *root, F visit) {
    std::vector<TYPE *> todo;
    auto push_based = [&](TYPE *t) {
        size_t from = todo.size();
        walk_based(t, [&](TYPE *child) { todo.push_back(child); });
        for (size_t to = todo.size(); from + 1 < to; from++) std::swap(todo[from], todo[--to]);
    };
    push_based(root);
    while (!todo.empty()) {
        TYPE *t = todo.back();
        todo.pop_back();
        visit(t);
        push_based(t);
    }
}
