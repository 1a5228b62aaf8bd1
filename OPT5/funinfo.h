// The per-function record, and the register of all of them.
//
// One FUNINFO exists for each function that is defined, called or only named. It owns the flow graph, the symbol
// chains and the maps of a function while that is processed, and keeps for the whole run what the interprocedural
// analyses know. currfuninfo names the current one; both current pointers are null during a barrier and between
// phases. Look-ups go by symbol address first, then by name (without prefix), so that a name called before its
// declaration and the symbol read later end in one record.
#pragma once

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "OPT5/cfg.h"
#include "OPT5/eraseall.h"
#include "OPT5/fwd.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"

enum FUN_FLAG : uint32_t {
    FUN_calls_anonymous = 0x00000001,
    FUN_cannot_suppress = 0x00000002,
    FUN_is_unsuppressed = 0x00000004,
    FUN_never_returns = 0x00000008,
    FUN_calls_OUTSIDE = 0x00000010,
    FUN_cannot_inline = 0x00000020,
    FUN_is_suppressed = 0x00000040,
    FUN_no_global_asg = 0x00000080,
    FUN_no_global_use = 0x00000100,
    FUN_is_referenced = 0x00000200,
    FUN_calls_SYSTEM = 0x00000400,
    FUN_is_processed = 0x00000800,
    FUN_is_anonymous = 0x00001000,
    FUN_is_interrupt = 0x00002000,
    FUN_follows_call = 0x00004000,
    FUN_value_needed = 0x00008000,
    FUN_no_byref_asg = 0x00010000,
    FUN_is_pure_fun = 0x00020000,
    FUN_cannot_beta = 0x00040000,
    FUN_no_RPT_loop = 0x00080000,
    FUN_is_inlined = 0x00200000,
    FUN_no_ind_asg = 0x00400000,
    FUN_no_ind_use = 0x00800000,
    FUN_is_cg_root = 0x01000000,
    FUN_is_called = 0x04000000,
    FUN_is_extern = 0x08000000,
    FUN_is_SYSTEM = 0x10000000,
    FUN_has_1_BB = 0x20000000,
    FUN_is_main = 0x40000000,
    FUN_is_cpp = 0x80000000,
};

// One callee of a function with its number of call sites.
struct FUNREF {
    FUNINFO *callee = nullptr;
    int count = 0;
    FUNREF *next = nullptr;
};

// The symbols of level 1, to be found by name: sorted by a hash of it when first asked, since they are all there then.
class PARAMETER_INDEX {
  public:
    void add(SYMTAB *s) {
        rows_.push_back({std::hash<std::string_view>()(s->name), s});
        sorted_ = false;
    }
    void clear() { std::vector<ROW>().swap(rows_); }
    // Whether one of that name passes the test.
    template <class F> bool any_named(const char *name, F test) {
        if (rows_.empty()) return false;
        if (!sorted_) std::sort(rows_.begin(), rows_.end());
        sorted_ = true;
        size_t hash = std::hash<std::string_view>()(name);
        for (auto row = std::lower_bound(rows_.begin(), rows_.end(), ROW{hash, nullptr});
             row != rows_.end() && row->hash == hash; ++row)
            if (!strcmp(row->symbol->name, name) && test(row->symbol)) return true;
        return false;
    }

  private:
    struct ROW {
        size_t hash;
        SYMTAB *symbol;
        bool operator<(const ROW &other) const { return hash < other.hash; }
    };
    std::vector<ROW> rows_;
    bool sorted_ = false;
};

struct FUNINFO {
    // the vectors of serial_objects
    std::vector<BBLK *> blocks;
    std::vector<LIR::inst *> lir_insts;
    std::vector<LIR::reg *> lir_regs;

    SYMTAB *symbol = nullptr;   // never null once the record is made
    SYMTAB *stand_in = nullptr; // made up for a name without symbol, in no chain; owned
    std::string name;           // without prefix

    // whole-program facts
    FUNREF *callees = nullptr;
    BITVEC *reach = nullptr; // recursion closure, indexed by cg_order
    unsigned size_units = 0;
    int16_t cg_order = -1;
    unsigned ncalls = 0;
    int16_t call_nargs = -1;
    SYMLIST *local_statics = nullptr;
    std::vector<CALLSITE *> call_sites;
    uint32_t flags = 0; // FUN_FLAG

    // the function as read
    TYPE *return_type = nullptr;
    EHT_ENTRY *eht = nullptr; // entry 0 is all zero; owned
    unsigned eht_size = 0;    // entries with entry 0
    const PSN *begin_psn = nullptr, *args_psn = nullptr, *locals_psn = nullptr, *end_psn = nullptr;
    int word = -1;
    unsigned profile_mode = 0; // 2: the writer emits EPVAL nodes
    unsigned profile_count = ~0u;
    std::vector<int> per_call; // unique_call_index + 1 zero entries after reading

    // the flow graph
    unsigned bb_count = 0;
    BBLK *bb_list = nullptr;
    BBLK *uo_list = nullptr;          // head of the uolink chain
    LIST *statements = nullptr;       // while reading, last statement first
    bool blocks_are_numbered = false; // dfn and bb_count hold for the present flow order
    bool graph_is_settled = false;    // simpcfg found nothing to do, and nothing has changed since
    int last_label = 0;               // last number that mklabel made up; counts down
    LBL *dead_labels = nullptr;       // of erased blocks; see release_dead_labels
    NODE *first_statement = nullptr;  // copy of the tree that stood first when the graph was built; owned
    Dominator *dominator = nullptr;   // owned

    // symbols
    SYMTAB *symbols = nullptr;           // parameters and declared locals while reading, newest first
    SYMTAB *temporaries = nullptr;       // made by sym_temp, newest first
    SYMTAB *scalars = nullptr;           // after sym_split
    SYMTAB *nonscalars = nullptr;        // after sym_split; parameters are here
    std::vector<SYMTAB *> owned_symbols; // every local symbol, in a chain or not; freed by erase_all
    PARAMETER_INDEX parameters;
    WIDENED *widened = nullptr, *shortened = nullptr; // what is known of their values; owned
    std::unordered_map<const SYMTAB *, WIDENED *> widened_index, shortened_index;
    LS *scopes = nullptr;                 // root of the lexical scope tree; owned
    long temp_counter = 0;                // last temporary number given
    unsigned local_index = 0x80000000u;   // next free index of a local
    SYMTAB *const_pointer_parm = nullptr; // hidden result pointer, under pragma FUNC_RET_BY_CCTOR

    // facts noted while reading
    bool local_address_taken = false;
    bool has_bitfield_refs = false;
    bool has_cregister_names = false; // names with CQ_CREGISTER
    bool is_leaf = true;              // makes no calls
    bool has_vector_trees = false;    // set by seq_trees
    bool has_complex_trees = false;
    LIST *global_assertions = nullptr; // facts that hold in the whole function; owned
    unsigned assertion_word = 0;       // an NASSERT stayed in the body

    // maps of passes, cleared per function
    SPMAP *symbol_pointees = nullptr;
    SNMAP *symbol_values = nullptr, *symbol_values2 = nullptr;

    // restrict records
    PTR *bottom_ptr = nullptr, *ptr_chain = nullptr, *ptr_tail = nullptr; // owned
    std::map<std::pair<SYMTAB *, fkMDATA *>, PTR *> ptr_map;
    bool has_restrict = false;

    bool is_defined = false; // a body was read
    bool body_erased = false;

    std::vector<BBLK *> &serial_slots(BBLK *) { return blocks; }
    std::vector<LIR::inst *> &serial_slots(LIR::inst *) { return lir_insts; }
    std::vector<LIR::reg *> &serial_slots(LIR::reg *) { return lir_regs; }

    bool has_flag(uint32_t mask) const { return (flags & mask) != 0; }
    bool has_symbol_of_its_own() const { return symbol && symbol != stand_in; }
};

extern SYMTAB *currfunc;                // function being processed, or null
extern FUNINFO *currfuninfo;            // its record, or null
extern std::vector<SYMTAB *> functions; // functions with bodies, in the order in which passes visit them

FUNINFO *make_FUNINFO(SYMTAB *);         // finds or makes
FUNINFO *make_FUNINFO(const char *name); // finds or makes; name without prefix. Of several the definition
FUNINFO *find_FUNINFO(SYMTAB *);         // null if absent
FUNINFO *find_FUNINFO(const char *name); // makes one only for a system function
// The record of the function that a CALL or UCALL reaches, or that an ABS, SQRT or MEMCPY becomes; null for a call
// through a pointer that is not known, and for other trees.
FUNINFO *find_FUNINFO_for_call(NODE *);
// All records, in order of creation.
const std::vector<FUNINFO *> &all_FUNINFOs();
// Empties the register and frees the records; bodies must be erased, symbols may be gone already.
void erase_all_FUNINFOs();
// Sets the flags that the name alone decides; known_system nonzero: treat as a system function.
void init_FUNINFO_flags(FUNINFO *, int known_system);
bool is_system_function(const char *name);

void dump_FUNINFO(FUNINFO *);
void dump_function_header();

// Sets and restores currfunc and currfuninfo on every path.
class current_function {
  public:
    explicit current_function(FUNINFO *f) : func_(currfunc), info_(currfuninfo) {
        currfuninfo = f;
        currfunc = f ? f->symbol : nullptr;
    }
    ~current_function() { currfunc = func_, currfuninfo = info_; }
    current_function(const current_function &) = delete;
    current_function &operator=(const current_function &) = delete;

  private:
    SYMTAB *func_;
    FUNINFO *info_;
};
