#include "OPT5/bif.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "OPT5/biftarget.h"
#include "OPT5/ddvpset.h"
#include "OPT5/funinfo.h"
#include "OPT5/icalls.h"
#include "OPT5/icternary.h"
#include "OPT5/infix.h"
#include "OPT5/mdbase.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "support/dbgout.h"
#include "support/fatal.h"
#include "typepkg/type_merge.h"
#include "typepkg/type_pkg.h"

// --- the table ---

namespace {

std::map<std::string, std::unique_ptr<BIF>, std::less<>> descriptors;
std::unordered_map<const char *, BIF *> by_interned_name; // a hit needs no look at the text
std::vector<std::unique_ptr<SYMTAB>> parameter_symbols['z' - 'a' + 1];

[[noreturn]] void internal_error(const char *where) {
    fprintf(stderr, "\n\n!!! INTERNAL ERROR in %s\n", where);
    abort_optimizer();
}

void forget_BIF_descriptors() {
    std::set<NODE *> trees; // twins share their parameters, instances the semantics
    for (auto &[name, bif] : descriptors) {
        trees.insert(bif->parameters);
        trees.insert(bif->semantics);
    }
    for (NODE *tree : trees) erase_tree(tree);
    for (auto &symbols : parameter_symbols) symbols.clear();
    descriptors.clear();
    by_interned_name.clear();
}

void print_BIF_descriptor(const BIF *);

} // namespace

BIF *find_BIF_descriptor(const char *name) {
    if (!name) return nullptr;
    auto known = by_interned_name.find(name);
    if (known != by_interned_name.end()) return known->second;
    auto found = descriptors.find(name);
    return found == descriptors.end() ? nullptr : found->second.get();
}

BIF *find_target_BIF_descriptor(const char *name) {
    BIF *bif = find_BIF_descriptor(name);
    return bif && bif->flags2 & BIF_IS_GENERIC ? bif->generic_link : bif;
}

namespace {

BIF *enter(int op, const char *name, int nparms, TYPE *result) {
    if (!op_is_icall(op) || !name || !result || nparms < 0 || nparms > UINT8_MAX || descriptors.count(name)) {
        fprintf(stderr, "\n\n!!! INTERNAL ERROR in make_BIF_descriptor() for \"%s\"\n", name ? name : "");
        abort_optimizer();
    }
    BIF *bif = descriptors.emplace(name, std::make_unique<BIF>()).first->second.get();
    bif->op = uint8_t(op);
    bif->name = intern_name(name);
    bif->nparms = uint8_t(nparms);
    bif->result_type = result;
    bif->funinfo_flags = op == ICALL ? uint32_t(FUN_is_pure_fun) : 0;
    by_interned_name.emplace(bif->name, bif);
    return bif;
}

void announce(const BIF *bif) {
    if (print_debug <= 1) return;
    dprintf("Making BIF descriptor for %s()\n", bif->name);
    print_BIF_descriptor(bif);
}

} // namespace

BIF *make_BIF_descriptor(int op, const char *name, int nparms, TYPE *result) {
    BIF *bif = enter(op, name, nparms, result);
    announce(bif);
    return bif;
}

// --- parameters ---

namespace {

bool is_qualified_inside(TYPE *type) {
    while (type->is_array()) type = type->elem_type();
    return type->is_qualified();
}

// The one symbol of that letter and type.
SYMTAB *parameter_symbol(char letter, TYPE *type) {
    if (is_qualified_inside(type)) type = type->dtype;
    if (type->is_enum()) type = type->underlying_type();
    auto &symbols = parameter_symbols[letter - 'a'];
    for (auto &known : symbols)
        if (compatible_types(known->type, type)) return known.get();
    auto symbol = std::make_unique<SYMTAB>();
    symbol->name = keep_text(std::string(1, letter).c_str());
    symbol->type = symbol->otype = type;
    symbol->size = uint32_t(type->size);
    symbol->align = type->align;
    symbol->sclass = symbol->class_as_read = SC_AUTO;
    symbol->level = 2;
    symbol->flags = SF_LOCAL;
    return symbols.emplace_back(std::move(symbol)).get();
}

NODE *parameter(char letter, TYPE *type) { return mk_NAME(parameter_symbol(letter, type)); }

bool is_letter(char c) { return c >= 'a' && c <= 'z'; }

} // namespace

void def_BIF_parameter(BIF *bif, int index, TYPE *type, char letter) {
    if (!bif || !type || !is_letter(letter) || index != arg_list_count(bif->parameters) ||
        index >= bif->nparms)
        internal_error("def_BIF_parameter()");
    bif->parameters = arg_list_append(bif->parameters, parameter(letter, type));
}

NODE *get_BIF_parameter(char letter, BIF *bif) {
    for (NODE *parm : arg_list_args(bif ? bif->parameters : nullptr))
        if (parm->u.sym->name[0] == letter) return parm;
    internal_error("get_BIF_parameter()");
}

void add_BIF_semantics(BIF *bif, NODE *tree, bool must_expand) {
    if (!bif || !tree || bif->semantics) internal_error("add_BIF_semantics()");
    bif->semantics = tree;
    if (must_expand) bif->flags2 |= BIF_MUST_EXPAND;
}

BIF *make_simple_BIF(int op, const char *name, int nparms, TYPE *result, ...) {
    BIF *bif = enter(op, name, nparms, result);
    va_list types;
    va_start(types, result);
    for (int i = 0; i < nparms; i++) def_BIF_parameter(bif, i, va_arg(types, TYPE *), char('a' + i));
    va_end(types);
    announce(bif);
    return bif;
}

// --- instances ---

namespace {

BIF *copy_under_name(const char *name, const BIF *from) {
    BIF *bif = enter(from->op, name, from->nparms, from->result_type);
    const char *interned = bif->name;
    *bif = *from;
    bif->name = interned;
    bif->generic_link = bif->associative_link = nullptr;
    return bif;
}

} // namespace

BIF *instantiate_generic_BIF(const char *name, BIF *generic) {
    if (!name || !generic || !(generic->flags2 & BIF_IS_GENERIC) || descriptors.count(name))
        internal_error("instantiate_generic_BIF()");
    BIF *bif = copy_under_name(name, generic);
    bif->parameters = copy_tree(generic->parameters);
    bif->flags2 &= uint8_t(~BIF_IS_GENERIC);
    bif->generic_link = generic;
    generic->generic_link = bif;
    announce(bif);
    return bif;
}

BIF *instantiate_associative_BIF(const char *name, BIF *twin) {
    if (!name || !twin || twin->flags2 & BIF_IS_GENERIC || twin->associative_link || descriptors.count(name))
        internal_error("instantiate_associative_BIF()");
    BIF *bif = copy_under_name(name, twin);
    bif->flags1 |= BIF_IS_SELF_ASSOCIATIVE;
    if (bif->nparms == 2 && bif->flags1 & BIF_OPDS_0_1_COMMUTE) bif->flags1 |= BIF_TOWERS_LIKE_PLUS;
    bif->associative_link = twin;
    twin->associative_link = bif;
    announce(bif);
    return bif;
}

// --- rows ---

namespace {

struct TYPE_WORD {
    const char *word;
    int basic; // index of TYPE_PKG::basic
    uint8_t qualifiers;
};

// clang-format off
constexpr TYPE_WORD type_words[] = {
    {"void",   BT_void,   0}, {"volatile", BT_void,   QUAL_volatile}, // "volatile*" points to volatile void
    {"schar",  IK_schar,  0},
    {"short",  IK_short,  0}, {"ushort",   IK_ushort, 0},
    {"int",    IK_int,    0}, {"uint",     IK_uint,   0},
    {"long",   IK_long,   0}, {"ulong",    IK_ulong,  0},
    {"llong",  IK_llong,  0}, {"ullong",   IK_ullong, 0},
    {"float",  BT_float,  0}, {"double",   BT_double, 0}, {"ldouble", BT_ldouble, 0},
};
// clang-format on

// The type that a word says; a "*" behind it makes a pointer. "char" and "vchar" are the plain char and the
// volatile one.
TYPE *type_of_words(std::string word) {
    bool is_pointer = word.back() == '*';
    if (is_pointer) word.pop_back();
    TYPE *type = nullptr;
    if (word == "char" || word == "vchar") {
        type = tp->mk_int(IK_uchar, false); // plain chars are unsigned on this target
        if (word == "vchar") type = tp->mk_qual(type, QUAL_volatile);
    }
    for (const TYPE_WORD &row : type_words) {
        if (word != row.word) continue;
        type = tp->basic[row.basic];
        if (row.qualifiers) type = tp->mk_qual(type, row.qualifiers);
    }
    QL_ASSERT(type != nullptr);
    return is_pointer ? tp->mk_ptr(type) : type;
}

struct PARAMETER_WORDS {
    TYPE *type;
    char letter;
};

// "short a, void* b"
std::vector<PARAMETER_WORDS> parameters_of_words(const char *text) {
    std::vector<PARAMETER_WORDS> parameters;
    while (*text) {
        size_t length = strcspn(text, " ");
        parameters.push_back({type_of_words(std::string(text, length)), text[length + 1]});
        text += length + 2;
        text += strspn(text, ", ");
    }
    return parameters;
}

} // namespace

BIF *make_BIF_from_row(const BIF_ROW &row) {
    std::vector<PARAMETER_WORDS> parameters = parameters_of_words(row.parameters);
    BIF *bif = enter(row.op, row.name, int(parameters.size()), type_of_words(row.result));
    for (int i = 0; i < bif->nparms; i++) def_BIF_parameter(bif, i, parameters[i].type, parameters[i].letter);
    bif->flags1 = uint8_t(row.flags);
    bif->flags2 = uint8_t(row.flags >> 8);
    bif->flags3 = uint8_t(row.flags >> 16);
    bif->simp = row.simp;
    bif->eval = row.eval;
    announce(bif);
    return bif;
}

namespace {

constexpr uint32_t GENERIC = BIF_flag_word(0, BIF_IS_GENERIC);
constexpr uint32_t NO_CSE = BIF_flag_word(0, BIF_MUST_NOT_CSE);
constexpr uint32_t NO_CSE_OPDS = BIF_flag_word(0, BIF_OPDS_MUST_NOT_CSE);
constexpr uint32_t IS_0_OR_1 = BIF_flag_word(0, BIF_RETURNS_1_OR_0);
constexpr uint32_t COMMUTES_01 = BIF_flag_word(BIF_OPDS_0_1_COMMUTE);
constexpr uint32_t COMMUTES_12 = BIF_flag_word(BIF_OPDS_1_2_COMMUTE);
constexpr uint32_t ABSVAL = BIF_flag_word(0, BIF_IS_PROPER_ABSVAL);
constexpr uint32_t MINMAX =
    GENERIC | BIF_flag_word(BIF_IS_SELF_ASSOCIATIVE | BIF_TOWERS_LIKE_PLUS | BIF_OPDS_0_1_COMMUTE);
constexpr uint32_t MINIMUM = MINMAX | BIF_flag_word(0, BIF_IS_PROPER_MINVAL);
constexpr uint32_t MAXIMUM = MINMAX | BIF_flag_word(0, 0, BIF_IS_PROPER_MAXVAL);
constexpr uint32_t BARRIER = GENERIC | NO_CSE | BIF_flag_word(0, 0, BIF_IS_BARRIER);
constexpr uint32_t ADDRESS = GENERIC | BIF_flag_word(0, 0, BIF_YIELDS_ADDRESS);

// clang-format off
const BIF_ROW rows[] = {
    // decorations of trees
    {"quest$colon",        ICALL,  "void", "int p, void a, void b",   GENERIC, simp_strict_ternary_ICALL, eval_qc_ICALL},
    {"SYM_IS_AFFINE_IV",   UICALL, "int",  "",                        GENERIC | IS_0_OR_1 | NO_CSE},
    {"ANTIALIASED",        ICALL,  "void", "void* p, void* q",        GENERIC | COMMUTES_01 | IS_0_OR_1 | NO_CSE},
    {"def$assert",         ICALL,  "void", "void x, int p, char* t",  GENERIC | NO_CSE_OPDS | NO_CSE},
    {"vt$unary$op",        MCALL,  "void", "void a, int k",           NO_CSE_OPDS | NO_CSE},
    {"vt$binary$op",       MCALL,  "void", "void a, void b, int k",   NO_CSE_OPDS | NO_CSE},
    {"VASG",               MCALL,  "void", "void* p, void v",         GENERIC},
    {"DONOTCSE",           ICALL,  "void", "void v",                  GENERIC | NO_CSE, simp_DONOTCSE_ICALL},
    {"_never_executed",    UMCALL, "void", "",                        GENERIC | NO_CSE},

    // least and greatest
    {"MIN",    ICALL, "int",     "int a, int b",         MINIMUM},
    {"LMIN",   ICALL, "long",    "long a, long b",       MINIMUM},
    {"LLMIN",  ICALL, "llong",   "llong a, llong b",     MINIMUM},
    {"MINU",   ICALL, "uint",    "uint a, uint b",       MINIMUM},
    {"LMINU",  ICALL, "ulong",   "ulong a, ulong b",     MINIMUM},
    {"LLMINU", ICALL, "ullong",  "ullong a, ullong b",   MINIMUM},
    {"MAX",    ICALL, "int",     "int a, int b",         MAXIMUM},
    {"LMAX",   ICALL, "long",    "long a, long b",       MAXIMUM},
    {"LLMAX",  ICALL, "llong",   "llong a, llong b",     MAXIMUM},
    {"MAXU",   ICALL, "uint",    "uint a, uint b",       MAXIMUM},
    {"LMAXU",  ICALL, "ulong",   "ulong a, ulong b",     MAXIMUM},
    {"LLMAXU", ICALL, "ullong",  "ullong a, ullong b",   MAXIMUM},
    {"FMIN",   ICALL, "float",   "float a, float b",     MINMAX,  nullptr, nullptr},
    {"DMIN",   ICALL, "double",  "double a, double b",   MINMAX,  nullptr, nullptr},
    {"LDMIN",  ICALL, "ldouble", "ldouble a, ldouble b", MINMAX,  nullptr, nullptr},
    {"FMAX",   ICALL, "float",   "float a, float b",     MINMAX,  nullptr, nullptr},
    {"DMAX",   ICALL, "double",  "double a, double b",   MINMAX,  nullptr, nullptr},
    {"LDMAX",  ICALL, "ldouble", "ldouble a, ldouble b", MINMAX,  nullptr, nullptr},

    // saturating arithmetic of the speech codecs
    {"ETSI_ABS_S",       ICALL, "short", "short a",                   GENERIC | ABSVAL},
    {"ETSI_L_ABS",       ICALL, "long",  "long a",                    GENERIC | ABSVAL},
    {"ETSI_ADD",         ICALL, "short", "short a, short b",          GENERIC | COMMUTES_01},
    {"ETSI_MULT",        ICALL, "short", "short a, short b",          GENERIC | COMMUTES_01},
    {"ETSI_MULT_R",      ICALL, "short", "short a, short b",          GENERIC | COMMUTES_01},
    {"ETSI_L_ADD",       ICALL, "long",  "long a, long b",            GENERIC | COMMUTES_01},
    {"ETSI_L_ADD_C",     ICALL, "long",  "long a, long b",            GENERIC | COMMUTES_01},
    {"ETSI_L_MULT",      ICALL, "long",  "short a, short b",          GENERIC | COMMUTES_01},
    {"ETSI_MAC_R",       ICALL, "short", "long a, short b, short c",  GENERIC | COMMUTES_12},
    {"ETSI_MSU_R",       ICALL, "short", "long a, short b, short c",  GENERIC | COMMUTES_12},
    {"ETSI_L_MAC",       ICALL, "long",  "long a, short b, short c",  GENERIC | COMMUTES_12},
    {"ETSI_L_MSU",       ICALL, "long",  "long a, short b, short c",  GENERIC | COMMUTES_12},
    {"ETSI_NORM_S",      ICALL, "short", "short a",                   GENERIC},
    {"ETSI_NORM_L",      ICALL, "short", "long a",                    GENERIC},
    {"ETSI_DIV_S",       ICALL, "short", "short a, short b",          GENERIC},
    {"ETSI_EXTRACT_H",   ICALL, "short", "long a",                    GENERIC},
    {"ETSI_EXTRACT_L",   ICALL, "short", "long a",                    GENERIC},
    {"ETSI_NEGATE",      ICALL, "short", "short a",                   GENERIC},
    {"ETSI_ROUND",       ICALL, "short", "long a",                    GENERIC},
    {"ETSI_SHIFT_R",     ICALL, "short", "short a, short b",          GENERIC},
    {"ETSI_SHL",         ICALL, "short", "short a, short b",          GENERIC},
    {"ETSI_SHR",         ICALL, "short", "short a, short b",          GENERIC},
    {"ETSI_SHR_R",       ICALL, "short", "short a, short b",          GENERIC},
    {"ETSI_SUB",         ICALL, "short", "short a, short b",          GENERIC},
    {"ETSI_L_DEPOSIT_H", ICALL, "long",  "short a",                   GENERIC},
    {"ETSI_L_DEPOSIT_L", ICALL, "long",  "short a",                   GENERIC},
    {"ETSI_L_NEGATE",    ICALL, "long",  "long a",                    GENERIC},
    {"ETSI_L_SAT",       ICALL, "long",  "long a",                    GENERIC},
    {"ETSI_L_SHIFT_R",   ICALL, "long",  "long a, short b",           GENERIC},
    {"ETSI_L_SHL",       ICALL, "long",  "long a, short b",           GENERIC},
    {"ETSI_L_SHR",       ICALL, "long",  "long a, short b",           GENERIC},
    {"ETSI_L_SHR_R",     ICALL, "long",  "long a, short b",           GENERIC},
    {"ETSI_L_SUB",       ICALL, "long",  "long a, long b",            GENERIC},
    {"ETSI_L_SUB_C",     ICALL, "long",  "long a, long b",            GENERIC},

    // interrupts and barriers
    {"DISABLE_INTERRUPTS",      UMCALL, "uint", "",       BARRIER},
    {"ENABLE_INTERRUPTS",       UMCALL, "uint", "",       BARRIER},
    {"DISABLE_INTERRUPTS_VOID", UMCALL, "void", "",       BARRIER},
    {"ENABLE_INTERRUPTS_VOID",  UMCALL, "void", "",       BARRIER},
    {"BARRIER",                 UMCALL, "void", "",       BARRIER},
    {"RESTORE_INTERRUPTS",      MCALL,  "void", "uint a", BARRIER},
    {"BARRIER_WITH_ARG",        MCALL,  "void", "uint a", BARRIER},

    {"__builtin_expect", ICALL, "long", "long a, long b", GENERIC, simp_builtin_expect_ICALL},

    // values taken apart, put together, reinterpreted
    {"MARLIN_HI",    ICALL, "uint",   "double a",       GENERIC, simp_HI_LO_ICALL},
    {"MARLIN_LO",    ICALL, "uint",   "double a",       GENERIC, simp_HI_LO_ICALL},
    {"MARLIN_FTOI",  ICALL, "uint",   "float a",        GENERIC},
    {"MARLIN_DTOL",  ICALL, "ulong",  "double a",       GENERIC},
    {"MARLIN_ITOF",  ICALL, "float",  "uint a",         GENERIC},
    {"MARLIN_LTOD",  ICALL, "double", "ulong a",        GENERIC},
    {"MARLIN_ITOD",  ICALL, "double", "uint a, uint b", GENERIC, simp_ITOD_ICALL},
    {"MARLIN_ITOLL", ICALL, "llong",  "uint a, uint b", GENERIC, simp_ITOLL_ICALL},

    // accesses of another alignment than the type's
    {"MARLIN_MEM2",         ICALL, "ushort*", "void* a", ADDRESS, simp_NONALIGN_ICALL},
    {"MARLIN_MEM2_CONST",   ICALL, "ushort*", "void* a", ADDRESS, simp_NONALIGN_ICALL},
    {"MARLIN_MEM4",         ICALL, "uint*",   "void* a", ADDRESS, simp_NONALIGN_ICALL},
    {"MARLIN_MEM4_CONST",   ICALL, "uint*",   "void* a", ADDRESS, simp_NONALIGN_ICALL},
    {"MARLIN_MEMD8",        ICALL, "double*", "void* a", ADDRESS, simp_NONALIGN_ICALL},
    {"MARLIN_MEMD8_CONST",  ICALL, "double*", "void* a", ADDRESS, simp_NONALIGN_ICALL},
    {"MARLIN_MEM8",         ICALL, "llong*",  "void* a", ADDRESS, simp_NONALIGN_ICALL},
    {"MARLIN_MEM8_CONST",   ICALL, "llong*",  "void* a", ADDRESS, simp_NONALIGN_ICALL},
    {"MARLIN_AMEM2",        ICALL, "ushort*", "void* a", ADDRESS, simp_ALIGNED_ICALL},
    {"MARLIN_AMEM2_CONST",  ICALL, "ushort*", "void* a", ADDRESS, simp_ALIGNED_ICALL},
    {"MARLIN_AMEM4",        ICALL, "uint*",   "void* a", ADDRESS, simp_ALIGNED_ICALL},
    {"MARLIN_AMEM4_CONST",  ICALL, "uint*",   "void* a", ADDRESS, simp_ALIGNED_ICALL},
    {"MARLIN_AMEMD8",       ICALL, "double*", "void* a", ADDRESS, simp_ALIGNED_ICALL},
    {"MARLIN_AMEMD8_CONST", ICALL, "double*", "void* a", ADDRESS, simp_ALIGNED_ICALL},
    {"MARLIN_AMEM8",        ICALL, "llong*",  "void* a", ADDRESS, simp_ALIGNED_ICALL},
    {"MARLIN_AMEM8_CONST",  ICALL, "llong*",  "void* a", ADDRESS, simp_ALIGNED_ICALL},
};
// clang-format on

// How far a value can be shifted left: as many places as it has bits beside the sign.
void set_bounds_of_norm(const char *name) {
    BIF *bif = find_BIF_descriptor(name);
    bif->minval = INT65(0);
    bif->maxval = INT65(bif->parameters->type->size) - INT65(1);
    bif->flags1 |= BIF_MINVAL_IS_KNOWN | BIF_MAXVAL_IS_KNOWN;
}

// Trees have normal types only, so a descriptor that calls are compared with has them too.
void normalize_types(BIF *bif) {
    bif->result_type = bif->result_type->normalized();
    for (NODE *parm : arg_list_args(bif->parameters)) {
        TYPE *type = parm->type->normalized();
        if (type == parm->type) continue;
        SYMTAB *symbol = parameter_symbol(parm->u.sym->name[0], type);
        parm->u.sym = symbol;
        parm->type = parm->otype = symbol->type;
    }
}

} // namespace

void init_BIF_descriptors() {
    forget_BIF_descriptors();
    for (const BIF_ROW &row : rows) make_BIF_from_row(row);
    set_bounds_of_norm("ETSI_NORM_S");
    set_bounds_of_norm("ETSI_NORM_L");
    TYPE *int_type = tp->int_type();
    make_BIF_from_row({"_symval", ICALL, int_type->size == 32 ? "uint" : "ulong", "void* p", NO_CSE_OPDS});
    init_BIFs_for_target();
    for (auto &[name, bif] : descriptors)
        if (!(bif->flags2 & BIF_IS_GENERIC)) normalize_types(bif.get());
    dump_BIF_descriptors(true, false);
    dump_BIF_descriptors(false, true);
}

// --- questions about calls ---

bool is_EFI_MCALL(const NODE *n) {
    if (n->op != MCALL && n->op != UMCALL) return false;
    const BIF *bif = find_BIF_descriptor(n->u.icall);
    return bif && bif->flags3 & BIF_IS_EFI;
}

bool ok_to_CSE_ICALL(const NODE *n) {
    if (n->op != ICALL) return false;
    const BIF *bif = find_BIF_descriptor(n->u.icall);
    return !bif || !(bif->flags2 & BIF_MUST_NOT_CSE);
}

bool ok_to_CSE_ICALL_opds(const NODE *n) {
    if (n->op != ICALL && n->op != MCALL) return false;
    if (const BIF *bif = find_BIF_descriptor(n->u.icall)) return !(bif->flags2 & BIF_OPDS_MUST_NOT_CSE);
    const BUILTIN_DECLARATION *declaration = find_builtin_declaration(n->u.icall);
    return !declaration || !(declaration->flags & NO_CSE_OPDS);
}

// --- printing ---

namespace {

struct FLAG_NAME {
    uint32_t flag; // of the word
    const char *name;
};

// clang-format off
constexpr FLAG_NAME flag_names_before_bounds[] = {
    {BIF_flag_word(0, 0, BIF_IS_BARRIER),       "IS_BARRIER"},
    {BIF_flag_word(BIF_IS_SELF_ASSOCIATIVE),    "IS_SELF_ASSOCIATIVE"},
    {BIF_flag_word(BIF_TOWERS_LIKE_MINUS),      "TOWERS_LIKE_MINUS"},
    {BIF_flag_word(BIF_TOWERS_LIKE_PLUS),       "TOWERS_LIKE_PLUS"},
    {BIF_flag_word(BIF_OPDS_0_1_COMMUTE),       "OPDS_0_1_COMMUTE"},
    {BIF_flag_word(BIF_OPDS_1_2_COMMUTE),       "OPDS_1_2_COMMUTE"},
    {BIF_flag_word(BIF_LIKES_UMULT_OPDS),       "LIKES_UMULT_OPDS"},
};
constexpr FLAG_NAME flag_names_behind_bounds[] = {
    {BIF_flag_word(0, BIF_RETURNS_1_OR_0),      "RETURNS_1_OR_0"},
    {BIF_flag_word(0, BIF_MUST_NOT_CSE),        "MUST_NOT_CSE"},
    {BIF_flag_word(0, BIF_OPDS_MUST_NOT_CSE),   "OPDS_MUST_NOT_CSE"},
    {BIF_flag_word(0, BIF_MUST_EXPAND),         "MUST_EXPAND"},
    {BIF_flag_word(0, BIF_IS_GENERIC),          "IS_GENERIC"},
    {BIF_flag_word(0, BIF_IS_PROPER_ABSVAL),    "IS_PROPER_ABSVAL"},
    {BIF_flag_word(0, BIF_IS_PROPER_EXTRACT),   "IS_PROPER_EXTRACT"},
    {BIF_flag_word(0, BIF_IS_PROPER_MINVAL),    "IS_PROPER_MINVAL"},
    {BIF_flag_word(0, 0, BIF_IS_PROPER_MAXVAL), "IS_PROPER_MAXVAL"},
};
// clang-format on

template <size_t N> void print_flags(const BIF *bif, const FLAG_NAME (&names)[N]) {
    uint32_t flags = BIF_flag_word(bif->flags1, bif->flags2, bif->flags3);
    for (const FLAG_NAME &row : names)
        if (flags & row.flag) dprintf("\t%s\n", row.name);
}

std::string parameters_text(const BIF *bif) {
    if (!bif->parameters) return bif->nparms ? "" : "void";
    std::string text;
    for (const NODE *parm : arg_list_args(bif->parameters)) {
        if (!text.empty()) text += ", ";
        text += parm->type->printstr() + " " + parm->u.sym->name;
    }
    return text;
}

void print_BIF_descriptor(const BIF *bif) {
    dprintf("\n    BIF %s(%s)\n\treturns type %s\n", bif->name, parameters_text(bif).c_str(),
            bif->result_type->printstr().c_str());
    if (!bif->parameters && bif->nparms) dprintf("\tIt has %d parameters.\n", bif->nparms);
    if (bif->generic_link)
        dprintf("\t== %s %s()\n", bif->flags2 & BIF_IS_GENERIC ? "generic for local" : "local for generic",
                bif->generic_link->name);
    if (bif->associative_link)
        dprintf("\t== %sassociative version of %s()\n", bif->flags1 & BIF_IS_SELF_ASSOCIATIVE ? "" : "non-",
                bif->associative_link->name);
    if (bif->semantics) dprintf("\tIt is equivalent to %s\n", tree2infix(bif->semantics).c_str());
    if (bif->funinfo_flags) dprintf("\tFUNINFO FLAGS=0x%08lx\n", (unsigned long)bif->funinfo_flags);
    print_flags(bif, flag_names_before_bounds);
    if (bif->flags1 & BIF_MINVAL_IS_KNOWN)
        dprintf("\tMINVAL_IS_KNOWN: %s\n", int65_to_decimal(bif->minval).c_str());
    if (bif->flags1 & BIF_MAXVAL_IS_KNOWN)
        dprintf("\tMAXVAL_IS_KNOWN: %s\n", int65_to_decimal(bif->maxval).c_str());
    print_flags(bif, flag_names_behind_bounds);
    if (bif->funinfo_flags & FUN_is_pure_fun) dprintf("\tFUN_is_pure_fun\n");
}

} // namespace

void dump_BIF_descriptors(bool generics, bool nongenerics) {
    if (print_debug < 2) return;
    dprintf("\tTotal size: %zd nodes\n", ssize_t(descriptors.size()));
    dprintf("\tdumpGenerics    = %s\n", generics ? "YES" : "");
    dprintf("\tdumpNonGenerics = %s\n", nongenerics ? "YES" : "");
    for (auto &[name, bif] : descriptors)
        if (bif->flags2 & BIF_IS_GENERIC ? generics : nongenerics) print_BIF_descriptor(bif.get());
}
