#include "OPT5/funinfo.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "OPT5/flags.h"
#include "OPT5/pragma.h"
#include "OPT5/tree.h"
#include "OPT5/typefacts.h"
#include "support/bitvec.h"
#include "support/dbgout.h"
#include "support/fatal.h"
#include "support/flatmap.h"
#include "support/namemap.h"

SYMTAB *currfunc = nullptr;
FUNINFO *currfuninfo = nullptr;
std::vector<SYMTAB *> functions;

namespace {

// The registers live until the process ends, whatever order static objects die in.
std::vector<FUNINFO *> &all_records = *new std::vector<FUNINFO *>;
flat_map<FUNINFO *> by_symbol;
// The record that a bare name means: the first of that name, unless a definition came later. Keys lie in the records.
name_map<FUNINFO *> &by_name = *new name_map<FUNINFO *>;

} // namespace

// --- library functions ---

namespace {

constexpr uint32_t NO_GLOBALS = FUN_no_global_asg | FUN_no_global_use;
constexpr uint32_t READS_ONLY = NO_GLOBALS | FUN_no_byref_asg | FUN_no_ind_asg;
constexpr uint32_t STORES_ONLY = NO_GLOBALS | FUN_no_ind_use;
constexpr uint32_t NO_MEMORY = READS_ONLY | FUN_no_ind_use;
constexpr uint32_t PURE = NO_MEMORY | FUN_is_pure_fun;
// What may call back (exit: handlers, raise and abort: signals, the end of a catch: destructors), end elsewhere or
// change streams that others hold is believed nothing. The printf family may store through %n.
constexpr uint32_t ANYTHING = 0;

struct LIBRARY_ROW {
    std::string_view name;
    uint32_t flags;
};

// Sorted by name: looked up by bisection.
// clang-format off
const LIBRARY_ROW library[] = {
    {"__cxa_allocate_exception", NO_GLOBALS}, {"__cxa_begin_catch", ANYTHING}, {"__cxa_end_catch", ANYTHING},
    {"__cxa_rethrow", ANYTHING | FUN_never_returns}, {"__cxa_throw", ANYTHING | FUN_never_returns},
    {"_sqrt",     PURE},       {"abort",     ANYTHING | FUN_never_returns}, {"abs",       PURE},
    {"acos",      NO_MEMORY},  {"asctime",   NO_GLOBALS}, {"asin",      NO_MEMORY},  {"atan",      PURE},
    {"atan2",     NO_MEMORY},  {"atexit",    NO_GLOBALS}, {"atof",      NO_GLOBALS}, {"atoi",      NO_GLOBALS},
    {"atol",      NO_GLOBALS}, {"bsearch",   ANYTHING},   {"calloc",    NO_GLOBALS}, {"ceil",      PURE},
    {"clearerr",  NO_GLOBALS}, {"clock",     NO_GLOBALS}, {"cos",       PURE},       {"cosh",      NO_MEMORY},
    {"ctime",     NO_GLOBALS}, {"difftime",  NO_GLOBALS}, {"div",       NO_MEMORY},
    {"exit",      ANYTHING | FUN_never_returns},        {"exp",       NO_MEMORY},  {"fabs",      PURE},
    {"fclose",    ANYTHING},   {"feof",      READS_ONLY}, {"ferror",    READS_ONLY}, {"fflush",    NO_GLOBALS},
    {"fgetc",     NO_GLOBALS}, {"fgetpos",   NO_GLOBALS}, {"fgets",     NO_GLOBALS}, {"floor",     PURE},
    {"fmod",      NO_MEMORY},  {"fopen",     ANYTHING},   {"fprintf",   NO_GLOBALS}, {"fputc",     NO_GLOBALS},
    {"fputs",     NO_GLOBALS}, {"fread",     ANYTHING},   {"free",      NO_GLOBALS}, {"freopen",   ANYTHING},
    {"frexp",     NO_GLOBALS}, {"fscanf",    NO_GLOBALS}, {"fseek",     ANYTHING},   {"fsetpos",   NO_GLOBALS},
    {"ftell",     READS_ONLY}, {"fwrite",    ANYTHING},   {"getc",      NO_GLOBALS}, {"getchar",   NO_GLOBALS},
    {"getenv",    READS_ONLY}, {"gets",      NO_GLOBALS}, {"gmtime",    NO_GLOBALS}, {"isalnum",   PURE},
    {"isalpha",   PURE},       {"iscntrl",   PURE},       {"isdigit",   PURE},       {"isgraph",   PURE},
    {"islower",   PURE},       {"isprint",   PURE},       {"ispunct",   PURE},       {"isspace",   PURE},
    {"isupper",   PURE},       {"isxdigit",  PURE},       {"labs",      PURE},       {"ldexp",     NO_MEMORY},
    {"ldiv",      NO_MEMORY},  {"localeconv", NO_GLOBALS}, {"log",      NO_MEMORY},  {"log10",     NO_MEMORY},
    {"longjmp",   ANYTHING | FUN_never_returns},          {"malloc",    NO_MEMORY},  {"mblen",     READS_ONLY},
    {"mbstowcs",  NO_GLOBALS}, {"mbtowc",    NO_GLOBALS}, {"memchr",    NO_GLOBALS}, {"memcmp",    NO_GLOBALS},
    {"memcpy",    NO_GLOBALS}, {"memmove",   NO_GLOBALS}, {"memset",    STORES_ONLY}, {"mktime",   NO_GLOBALS},
    {"modf",      NO_GLOBALS}, {"perror",    NO_GLOBALS}, {"pow",       NO_MEMORY},  {"printf",    NO_GLOBALS},
    {"putc",      NO_GLOBALS}, {"putchar",   NO_GLOBALS}, {"puts",      NO_GLOBALS}, {"qsort",     ANYTHING},
    {"raise",     ANYTHING}, {"rand",      NO_GLOBALS}, {"realloc",   NO_GLOBALS}, {"remove",    NO_GLOBALS},
    {"rename",    ANYTHING},   {"rewind",    NO_GLOBALS}, {"scanf",     NO_GLOBALS}, {"setbuf",    NO_GLOBALS},
    {"setjmp",    ANYTHING},   {"setlocale", NO_GLOBALS}, {"setvbuf",   NO_GLOBALS}, {"signal",    ANYTHING},
    {"sin",       PURE},       {"sinh",      NO_MEMORY},  {"sprintf",   NO_GLOBALS}, {"sqrt",      NO_MEMORY},
    {"srand",     NO_GLOBALS}, {"sscanf",    NO_GLOBALS}, {"strcat",    NO_GLOBALS}, {"strchr",    NO_GLOBALS},
    {"strcmp",    READS_ONLY}, {"strcoll",   NO_GLOBALS}, {"strcpy",    NO_GLOBALS}, {"strcspn",   NO_GLOBALS},
    {"strerror",  NO_GLOBALS}, {"strftime",  NO_GLOBALS}, {"strlen",    READS_ONLY}, {"strncat",   NO_GLOBALS},
    {"strncmp",   NO_GLOBALS}, {"strncpy",   NO_GLOBALS}, {"strpbrk",   NO_GLOBALS}, {"strrchr",   NO_GLOBALS},
    {"strspn",    NO_GLOBALS}, {"strstr",    NO_GLOBALS}, {"strtod",    NO_GLOBALS}, {"strtok",    NO_GLOBALS},
    {"strtol",    NO_GLOBALS}, {"strtoul",   NO_GLOBALS}, {"strxfrm",   NO_GLOBALS}, {"tan",       PURE},
    {"tanh",      NO_MEMORY},  {"time",      NO_GLOBALS}, {"tmpfile",   NO_GLOBALS}, {"tmpnam",    NO_GLOBALS},
    {"tolower",   PURE},       {"toupper",   PURE},       {"ungetc",    NO_GLOBALS}, {"vfprintf",  NO_GLOBALS},
    {"vprintf",   NO_GLOBALS}, {"vsprintf",  NO_GLOBALS}, {"wcstombs",  NO_GLOBALS}, {"wctomb",    NO_GLOBALS},
};
// clang-format on

const LIBRARY_ROW *find_library_function(std::string_view name) {
    auto row = std::lower_bound(std::begin(library), std::end(library), name,
                                [](const LIBRARY_ROW &a, std::string_view b) { return a.name < b; });
    return row != std::end(library) && row->name == name ? row : nullptr;
}

// Names that the run-time system enters by itself.
const char *const entered_from_outside[] = {"_system_pre_init", "_system_post_cinit", "__mpu_init"};

} // namespace

bool is_system_function(const char *name) { return find_library_function(name) != nullptr; }

void init_FUNINFO_flags(FUNINFO *f, int known_system) {
    const char *name = f->name.c_str();
    if (f->name == "main") f->flags |= FUN_is_main;
    for (const char *entered : entered_from_outside)
        if (f->name == entered) f->flags |= FUN_is_cg_root;
    const LIBRARY_ROW *row = find_library_function(f->name);
    if (cache_sys_funinfo && !func_is_nonconforming(f->symbol) && (known_system || row))
        f->flags |= FUN_is_SYSTEM | (row ? row->flags : 0);
    if (!strncmp(name, "__sti__", 7)) f->flags |= FUN_is_cg_root;
}

// --- the register ---

namespace {

// A symbol for a function of which only the name is known.
SYMTAB *make_stand_in(const std::string &name) {
    SYMTAB *s = new SYMTAB;
    rename_symbol(s, name.c_str());
    s->sclass = s->class_as_read = SC_EXTREF;
    s->type = s->otype = tp->void_ptr_type();
    s->size = uint32_t(s->type->size);
    s->align = s->type->align;
    s->flags = SF_LOCAL;
    return s;
}

bool defines(const SYMTAB *s) { return s->sclass == SC_EXTDEF; }

// A record for a symbol, or for a bare name when `symbol` is null: then a global function of that very name is its
// symbol, if there is one.
FUNINFO *new_record(const char *name, SYMTAB *symbol, int known_system) {
    FUNINFO *f = new FUNINFO;
    f->name = name;
    if (!symbol) symbol = find_global_function(name);
    if (!symbol) f->stand_in = make_stand_in(f->name);
    f->symbol = symbol ? symbol : f->stand_in;
    if (symbol) by_symbol[symbol] = f;
    all_records.push_back(f);
    FUNINFO *&meant = by_name[f->name];
    if (!meant || (defines(f->symbol) && !defines(meant->symbol))) meant = f;
    init_FUNINFO_flags(f, known_system);
    return f;
}

FUNINFO *record_of_name(std::string_view name) {
    FUNINFO **known = by_name.find(name);
    return known ? *known : nullptr;
}

} // namespace

FUNINFO *make_FUNINFO(SYMTAB *s) {
    QL_ASSERT(s != nullptr);
    if (FUNINFO *known = find_FUNINFO(s)) return known;
    const char *name = skip_name_prefix(s->name);
    FUNINFO *f = record_of_name(name);
    if (!f || f->has_symbol_of_its_own()) return new_record(name, s, is_system_function(name));
    // Called before it was declared. The stand-in stays, since trees or lists may hold it.
    f->symbol = s;
    by_symbol[s] = f;
    return f;
}

FUNINFO *make_FUNINFO(const char *name) {
    FUNINFO *f = record_of_name(name);
    return f ? f : new_record(name, nullptr, is_system_function(name));
}

FUNINFO *find_FUNINFO(SYMTAB *s) {
    FUNINFO **known = by_symbol.find(s);
    return known ? *known : nullptr;
}

FUNINFO *find_FUNINFO(const char *name) {
    FUNINFO *f = record_of_name(name);
    return f || !is_system_function(name) ? f : new_record(name, nullptr, 1);
}

const std::vector<FUNINFO *> &all_FUNINFOs() { return all_records; }

void erase_all_FUNINFOs() {
    by_symbol.clear();
    by_name.clear();
    for (FUNINFO *f : all_records) {
        erase_symbol(f->stand_in);
        while (FUNREF *r = f->callees) {
            f->callees = r->next;
            delete r;
        }
        erase_symlist(f->local_statics);
        delete f->reach;
        delete f;
    }
    all_records.clear();
}

// --- calls ---

namespace {

// Whether a read of the variable always gives its initial value.
bool never_changes(const SYMTAB *s) {
    return symbol_is_immutable(s) && !symbol_has_pragma(s, PRAG_QL_WEAK) && !symbol_is_preemptible(s);
}

// The function that a UAND(NAME) is the address of, or null.
SYMTAB *function_addressed(const NODE *tree) {
    if (!tree || tree->op != UAND || !tree->left || tree->left->op != NAME) return nullptr;
    SYMTAB *s = tree->left->u.sym;
    return s && s->is_function() ? s : nullptr;
}

// The library function that an operator stands for, or null.
const char *library_name_of_operator(const NODE *tree) {
    switch (tree->op) {
    case ABS:
        if (tree->type->is_fltpt()) return "fabs";
        return tree->type->is_integral() || tree->type->is_enum() ? "labs" : nullptr;
    case SQRT: return "_sqrt";
    case MEMCPY: return "memcpy";
    default: return nullptr;
    }
}

} // namespace

FUNINFO *find_FUNINFO_for_call(NODE *tree) {
    if (const char *name = library_name_of_operator(tree)) return make_FUNINFO(name);
    if (tree->op != CALL && tree->op != UCALL) return nullptr;
    if (SYMTAB *callee = function_addressed(tree->left)) return make_FUNINFO(callee);
    if (tree->left->op != NAME) return nullptr;
    const SYMTAB *pointer = tree->left->u.sym;
    if (!pointer || pointer->level != 0 || !never_changes(pointer)) return nullptr;
    SYMTAB *callee = function_addressed(pointer->known_init);
    return callee ? make_FUNINFO(callee) : nullptr;
}

// --- dumps ---

namespace {

struct FLAG_NAME {
    uint32_t bit;
    const char *name;
};
#define FLAG_ROW(flag)                                                                                       \
    { flag, #flag }
// clang-format off
const FLAG_NAME flag_names[] = {
    FLAG_ROW(FUN_calls_anonymous), FLAG_ROW(FUN_cannot_suppress), FLAG_ROW(FUN_is_unsuppressed),
    FLAG_ROW(FUN_never_returns),   FLAG_ROW(FUN_calls_OUTSIDE),   FLAG_ROW(FUN_cannot_inline),
    FLAG_ROW(FUN_is_suppressed),   FLAG_ROW(FUN_no_global_asg),   FLAG_ROW(FUN_no_global_use),
    FLAG_ROW(FUN_is_referenced),   FLAG_ROW(FUN_calls_SYSTEM),    FLAG_ROW(FUN_is_processed),
    FLAG_ROW(FUN_is_anonymous),    FLAG_ROW(FUN_is_interrupt),    FLAG_ROW(FUN_follows_call),
    FLAG_ROW(FUN_value_needed),    FLAG_ROW(FUN_no_byref_asg),    FLAG_ROW(FUN_is_pure_fun),
    FLAG_ROW(FUN_cannot_beta),     FLAG_ROW(FUN_no_RPT_loop),     FLAG_ROW(FUN_is_inlined),
    FLAG_ROW(FUN_no_ind_asg),      FLAG_ROW(FUN_no_ind_use),      FLAG_ROW(FUN_is_cg_root),
    FLAG_ROW(FUN_is_called),       FLAG_ROW(FUN_is_extern),       FLAG_ROW(FUN_is_SYSTEM),
    FLAG_ROW(FUN_has_1_BB),        FLAG_ROW(FUN_is_main),         FLAG_ROW(FUN_is_cpp),
};
// clang-format on
#undef FLAG_ROW

} // namespace

void dump_FUNINFO(FUNINFO *f) {
    if (!print_debug || !f) return;
    dprintf("\n%s() is called from %d sites in this file.\n", f->name.c_str(), int(f->ncalls));
    if (f->is_defined && !f->has_flag(FUN_cannot_inline))
        dprintf("    It appears to be inlineable (size = %u units)\n", f->size_units);
    dprintf("    It has these properties: 0x%08lx\n", static_cast<unsigned long>(f->flags));
    for (const FLAG_NAME &row : flag_names)
        if (f->has_flag(row.bit)) dprintf("\t%s\n", row.name);
    if (f->callees) dprintf("    It calls:\n");
    for (const FUNREF *r = f->callees; r; r = r->next)
        dprintf("\t%s() (%d)\n", r->callee->name.c_str(), r->count);
}

void dump_function_header() {
    if (!print_debug || !currfuninfo) return;
    const PSN *psn = currfuninfo->begin_psn;
    dprintf("\n\n\f================ FUNCTION %s() ================\n", currfuninfo->name.c_str());
    if (psn) dprintf("%s, line %u, column %u\n", psn->file ? psn->file : NO_FILE, psn->line, psn->column);
    dprintf("\n");
}
