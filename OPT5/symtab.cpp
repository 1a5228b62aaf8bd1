#include "OPT5/symtab.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <unordered_map>

#include "OPT5/fileopt.h"
#include "OPT5/files.h"
#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/pragma.h"
#include "OPT5/scopes.h"
#include "OPT5/target.h"
#include "OPT5/treewalk.h"
#include "ifile/if_file.h"
#include "support/dbgout.h"
#include "support/fatal.h"
#include "support/namemap.h"
#include "typepkg/type_merge.h"

SYMTAB *global_symbols = nullptr;
SYMTAB *errno_symbol = nullptr;
unsigned symbol_sequence = 0;

namespace {

// Globals by name. Most names have one.
struct SAME_NAME {
    SYMTAB *newest; // null: gone again
    unsigned older; // their place in older_globals; 0: there are none
};
using NAME_INDEX = name_map<SAME_NAME>;
std::vector<std::vector<SYMTAB *>> &older_globals =
    *new std::vector<std::vector<SYMTAB *>>(1); // the oldest first
NAME_INDEX &globals_by_name = *new NAME_INDEX;  // lives until the process ends

void index_global(SYMTAB *s) {
    SAME_NAME &same = globals_by_name[s->name];
    if (same.newest) {
        if (!same.older) {
            same.older = unsigned(older_globals.size());
            older_globals.emplace_back();
        }
        older_globals[same.older].push_back(same.newest);
    }
    same.newest = s;
}

// False when the symbol was never indexed.
bool unindex_global(SYMTAB *s) {
    SAME_NAME *same = globals_by_name.find(s->name);
    if (!same) return false;
    std::vector<SYMTAB *> &older = older_globals[same->older]; // the first is empty
    if (same->newest == s) {
        same->newest = older.empty() ? nullptr : older.back();
        if (!older.empty()) older.pop_back();
        return true;
    }
    auto place = std::find(older.begin(), older.end(), s);
    if (place == older.end()) return false;
    older.erase(place);
    return true;
}

// The newest of that name that passes; null when none does.
template <class F> SYMTAB *newest_global(const char *name, F test) {
    const SAME_NAME *same = globals_by_name.find(name);
    if (!same || !same->newest) return nullptr;
    if (test(same->newest)) return same->newest;
    const std::vector<SYMTAB *> &older = older_globals[same->older];
    for (size_t i = older.size(); i--;)
        if (test(older[i])) return older[i];
    return nullptr;
}

// The type that trees see: normal form, and for an enum its underlying type under the same qualifiers.
TYPE *symbol_type(TYPE *declared) {
    TYPE *type = declared->normalized();
    if (type->dkind() != K_enum) return type;
    unsigned quals = type->qual_kind();
    TYPE *underlying = type->underlying_type()->normalized();
    return quals ? tp->mk_qual(underlying, quals) : underlying;
}

} // namespace

SYMTAB::~SYMTAB() {
    while (pragmas) {
        PRAGMA *next_pragma = pragmas->next;
        delete pragmas;
        pragmas = next_pragma;
    }
    if (init) {
        for (NODE *tree : init->trees) erase_tree(tree);
        delete init;
    }
    erase_tree(known_init);
    delete rare_words;
}

int SYMTAB::sym_prag_num() const {
    int n = 0;
    for (const PRAGMA *p = pragmas; p; p = p->next) n++;
    return n;
}

void init_symbols() {
    global_symbols = nullptr;
    errno_symbol = nullptr;
    globals_by_name.clear();
    older_globals.resize(1);
}

// --- making and entering ---

namespace {

enum WHERE { GLOBAL = 1, LOCAL = 2 };

// Where each storage class may stand. 'l' and 'm' are what grouped globals of classes 3 and 2 become in an output.
struct CLASS_ROW {
    int sclass;
    int where;
};
// clang-format off
const CLASS_ROW class_rows[] = {
    {SC_AUTO,       LOCAL},
    {SC_EXTDEF,     GLOBAL},
    {SC_STATIC,     GLOBAL},
    {SC_REG_LOCAL,  LOCAL},
    {SC_EXTREF,     GLOBAL},
    {SC_NOT_STACK,  GLOBAL | LOCAL},
    {SC_PARM,       LOCAL},
    {SC_REG_PARM,   LOCAL},
    {SC_REG_LOCAL2, LOCAL},
    {SC_SPECIAL_PARM, LOCAL},
    {'l',           GLOBAL},
    {'m',           GLOBAL},
};
// clang-format on

// Null when all is well, else what contradicts what.
const char *class_error(int sclass, int lexical_level) {
    for (const CLASS_ROW &row : class_rows) {
        if (row.sclass != sclass) continue;
        if (row.where & (lexical_level ? LOCAL : GLOBAL)) return nullptr;
        return lexical_level ? "has a storage class that can't stand inside a function"
                             : "has a storage class that can't stand outside functions";
    }
    return "has an unknown storage class";
}

// The usage bits that a global starts with. Below level 3 nothing computes them, so all uses are assumed.
uint16_t initial_usage(const TYPE *type, int cqual, int policy) {
    if (policy == POLICY_ALWAYS) return CQ_ALIASED | CQ_WRITTEN | CQ_REFERENCED;
    if (opt_level() >= 3 || type->is_const()) return 0;
    if (cqual & (CQ_REGISTER | CQ_CREGISTER)) return CQ_WRITTEN | CQ_REFERENCED;
    return CQ_ALIASED | CQ_WRITTEN | CQ_REFERENCED;
}

} // namespace

SYMTAB *make_symbol_from_file(const char *name, TYPE *type, TYPE *cpp_type, uint32_t size, uint32_t align,
                              uint32_t value, int sclass, int cqual, const PSN *psn, uint32_t location,
                              uint32_t option_set, int policy, int lexical_level, std::string *error) {
    const char *fault = !name ? "has no name" : !type ? "has no type" : class_error(sclass, lexical_level);
    if (!fault && !type->is_func()) {
        // So must be the type without its names and qualifiers, which passes take off: but for what was named before it
        // was defined, and for packing.
        const TYPE *plain = type->dtype;
        if (plain->is_enum() && plain->size) plain = plain->underlying_type();
        bool same = plain->size == size || !plain->size || !size || type->quals & QUAL_packed;
        if (type->size != size || !same) fault = "has another size than its type";
    }
    if (fault) {
        if (error) *error = std::string("symbol '") + (name ? name : "") + "' " + fault;
        return nullptr;
    }
    SYMTAB *s = new SYMTAB;
    s->name = keep_text(name);
    s->type = symbol_type(type);
    s->otype = type;
    s->cpp_type = cpp_type;
    s->size = size;
    s->align = align;
    s->value = value;
    s->sclass = s->class_as_read = uint8_t(sclass);
    s->cqual = uint16_t(cqual & CQ_FILE_MASK);
    if (lexical_level == 0) s->cqual |= initial_usage(s->type, s->cqual, policy);
    s->psn = psn;
    s->location = location;
    s->option_set = option_set;
    s->policy = uint8_t(policy);
    s->level = lexical_level;
    s->flags = SF_LOCAL;
    if (sclass != SC_REG_LOCAL && sclass != SC_REG_PARM && sclass != SC_REG_LOCAL2) s->flags |= SF_ALIASED;
    if (lexical_level) s->sequence = ++symbol_sequence;
    if (sclass == SC_SPECIAL_PARM) {
        s->sclass = SC_PARM;
        if (currfuninfo) currfuninfo->flags |= FUN_cannot_suppress | FUN_cannot_inline | FUN_cannot_beta;
    }
    if (s->is_function()) {
        FUNINFO *f = make_FUNINFO(s);
        if (policy == POLICY_ALWAYS || (sclass == SC_EXTDEF && !no_outside_callers))
            f->flags |= FUN_is_referenced;
    }
    return s;
}

void sym_def(SYMTAB *s) {
    if (s->level == 0) {
        s->next = global_symbols;
        global_symbols = s;
        index_global(s);
        if (o_file) o_file->if_enter_global(s);
        if (s->cqual & CQ_REGISTER) reserve_global_register();
        const char *plain = skip_name_prefix(s->name);
        if (!errno_symbol && (!strcmp(plain, "errno") || !strcmp(plain, "_Errno")) && s->type->is_int())
            errno_symbol = s;
        return;
    }
    QL_ASSERT(currfuninfo != nullptr);
    own_symbol(currfuninfo, s);
    if (s->level == 1) currfuninfo->parameters.add(s);
    if (s->sclass == SC_NOT_STACK) return;
    s->next = currfuninfo->symbols;
    currfuninfo->symbols = s;
    if (s->sclass == SC_REG_LOCAL || s->sclass == SC_REG_LOCAL2) s->sclass = SC_AUTO;
    if (s->level > 1) s->level = 2;
}

void own_symbol(FUNINFO *f, SYMTAB *s) {
    constexpr size_t USUAL = 16; // symbols of a small function, for which the list is made once
    if (f->owned_symbols.empty()) f->owned_symbols.reserve(USUAL);
    f->owned_symbols.push_back(s);
}

namespace {

// Without qualifiers; a packed type stays packed, since that is layout.
TYPE *unqualified(TYPE *type) {
    if (!type->quals) return type;
    TYPE *plain = tp->remove_known_qual(type, 255);
    return type->quals & QUAL_packed ? tp->mk_qual(plain, QUAL_packed, type->size, type->align) : plain;
}

// A temporary is written by its function, so its type bears no qualifier: neither its own nor, for an array, that
// of the elements. An enum gives way to the integer that it is made of.
TYPE *temporary_type(TYPE *type) {
    TYPE *plain = unqualified(type);
    if (plain->dkind() == K_enum) return plain->underlying_type()->normalized();
    TYPE *element = plain;
    while (element->is_array()) element = element->dtype->sub.arr->elem_type;
    TYPE *plain_element = unqualified(element);
    if (plain_element == element) return plain;
    TYPE *rebuilt = tp->replace_array_elem(plain, element, plain_element);
    return rebuilt && rebuilt->size == plain->size ? rebuilt : plain;
}

} // namespace

SYMTAB *sym_temp(int kind, long number, TYPE *type, LS *scope) {
    QL_ASSERT(currfuninfo != nullptr);
    FUNINFO *f = currfuninfo;
    if (number < 0) number = ++f->temp_counter;
    constexpr size_t NAME_SIZE = 16; // with its zero
    char name[NAME_SIZE + 24];
    snprintf(name, sizeof name, "%s$%c%ld", "$O", kind, number);
    name[NAME_SIZE - 1] = '\0';

    SYMTAB *s = new SYMTAB;
    s->name = keep_text(name);
    s->type = s->otype = temporary_type(type);
    s->size = uint32_t(s->type->size);
    s->align = s->type->align;
    s->sclass = s->class_as_read = SC_AUTO;
    s->level = 2;
    s->flags = SF_LOCAL;
    s->index = int(f->local_index++);
    own_symbol(f, s);
    s->next = f->temporaries;
    f->temporaries = s;
    if (!scope && f->scopes) scope = LS_level_2_scope(f->scopes);
    if (scope) LS_add_symbol(scope, s);
    return s;
}

namespace {

void split_chain(SYMTAB *&chain, FUNINFO *f) {
    while (SYMTAB *s = chain) {
        chain = s->next;
        s->next = nullptr;
        SYMTAB **into = &f->nonscalars;
        switch (s->sclass) {
        case SC_AUTO:
        case SC_REG_LOCAL:
        case SC_REG_LOCAL2:
            if (s->type->is_scalar() && !s->type->is_volatile()) into = &f->scalars;
            break;
        case SC_PARM:
        case SC_REG_PARM:
        case SC_SPECIAL_PARM: break;
        case SC_NOT_STACK: continue;
        default: abort_optimizer();
        }
        s->next = *into;
        *into = s;
    }
}

} // namespace

void sym_split(FUNINFO *f) {
    split_chain(f->symbols, f);
    split_chain(f->temporaries, f);
}

// --- look-ups ---

SYMTAB *get_sym_def_for_decl(SYMTAB *s) {
    if (!s || s->level != 0 || s->sclass != SC_EXTREF) return s;
    SYMTAB *definition = newest_global(s->name, [s](const SYMTAB *other) {
        return other->sclass == SC_EXTDEF && compatible_types(other->type, s->type);
    });
    return definition ? definition : s;
}

SYMTAB *find_global_symbol(const char *name) {
    return newest_global(name, [](const SYMTAB *) { return true; });
}

SYMTAB *find_global_function(const char *name) {
    return newest_global(name, [](const SYMTAB *s) { return s->is_function(); });
}

void rename_symbol(SYMTAB *s, const char *name) {
    bool indexed = s->name && s->level == 0 && unindex_global(s);
    s->name = keep_text(name);
    if (indexed) index_global(s);
}

// --- names ---

bool is_internal_name(const char *name) { return name[0] == '$' && name[1] == 'O'; }

bool is_internal_symbol(const SYMTAB *s) { return is_internal_name(s->name); }

bool is_optimizer_temp(const char *name, int kind1, int kind2) {
    if (strncmp(name, "$O$", 3) != 0 || !name[3] || (name[3] != kind1 && name[3] != kind2)) return false;
    name += 4;
    return name[strspn(name, "0123456789")] == '\0';
}

static constexpr int OPERATOR_NEW_TEMP = 'N';

bool is_operator_new_symbol(const SYMTAB *s) {
    return is_optimizer_temp(s->name, OPERATOR_NEW_TEMP, OPERATOR_NEW_TEMP);
}

SYMTAB *gen_operator_new_temp(TYPE *type) { return sym_temp(OPERATOR_NEW_TEMP, -1, type, nullptr); }

bool name_has_prefix(const char *name) { return TYPE_PKG::abi != 1 && (name[0] == '.' || name[0] == '_'); }

const char *skip_name_prefix(const char *name) { return name + name_has_prefix(name); }

TYPE *guess_cpp_type(NODE *tree) {
    int addresses = 0; // UANDs seen less UMULTs seen, on the way down to something that a symbol describes
    NODE *t = tree;
    for (; t; t = t->left) {
        if (t->op == UAND || t->op == ARGREF) {
            addresses++;
        } else if (t->op == UMULT) {
            addresses--;
        } else if (t->op != PCONV && t->op != ISP2CHAR && t->op != IDENTITY) {
            break;
        }
    }
    TYPE *found = nullptr;
    if (t && t->op == NAME && t->u.sym) found = t->u.sym->cpp_type ? t->u.sym->cpp_type : t->u.sym->otype;
    if (t && t->op == STDOT && t->right && t->right->op == FIELD && t->right->member)
        found = t->right->member->type;
    for (; found && addresses < 0; addresses++) found = found->is_ptr() ? found->type_pointed_to() : nullptr;
    for (; found && addresses > 0; addresses--) found = tp->mk_ptr(found);
    return found ? found : tree->otype ? tree->otype : tree->type;
}

// --- chains and lists ---

namespace {

template <class T> T *reversed(T *list) {
    T *head = nullptr;
    while (list) {
        T *next = list->next;
        list->next = head;
        head = list;
        list = next;
    }
    return head;
}

template <class T> void erase_list(T *list) {
    while (list) {
        T *next = list->next;
        delete list;
        list = next;
    }
}

// A list of copies of the entries, in the same order.
template <class T> T *copied(const T *list) {
    T *head = nullptr, **tail = &head;
    for (; list; list = list->next) {
        *tail = new T(*list);
        tail = &(*tail)->next;
    }
    return head;
}

} // namespace

SYMTAB *revsymtab(SYMTAB *chain) { return reversed(chain); }
SYMLIST *revsymlist(SYMLIST *list) { return reversed(list); }
SYMALIST *revsymalist(SYMALIST *list) { return reversed(list); }

SYMTAB *unlink_symbol(SYMTAB *symbol, SYMTAB *chain) {
    for (SYMTAB **link = &chain; *link; link = &(*link)->next) {
        if (*link != symbol) continue;
        *link = symbol->next;
        symbol->next = nullptr;
        break;
    }
    return chain;
}

SYMLIST *mk_symlist(SYMTAB *s, SYMLIST *next) { return new SYMLIST{s, next}; }
SYMALIST *mk_symalist(SYMTAB *s, NODE *tree, SYMALIST *next) { return new SYMALIST{s, tree, next}; }
SYMPAIRLIST *mk_symplist(SYMTAB *a, SYMTAB *b, SYMPAIRLIST *next) { return new SYMPAIRLIST{a, b, next}; }

SYMLIST *find_sym_in_symlist(const SYMTAB *s, SYMLIST *list) {
    while (list && list->sym != s) list = list->next;
    return list;
}

bool symbol_in_list(const SYMTAB *s, const SYMLIST *list) {
    return find_sym_in_symlist(s, const_cast<SYMLIST *>(list)) != nullptr;
}

SYMLIST *remove_sym_from_symlist(const SYMTAB *s, SYMLIST *list) {
    for (SYMLIST **link = &list; *link; link = &(*link)->next) {
        if ((*link)->sym != s) continue;
        SYMLIST *gone = *link;
        *link = gone->next;
        delete gone;
        break;
    }
    return list;
}

SYMPAIRLIST *find_sym_in_sympairlist(const SYMTAB *first, SYMPAIRLIST *list) {
    while (list && list->a != first) list = list->next;
    return list;
}

void erase_symlist(SYMLIST *list) { erase_list(list); }
void erase_symalist(SYMALIST *list) { erase_list(list); }
void erase_sympairlist(SYMPAIRLIST *list) { erase_list(list); }
SYMLIST *copy_symlist(const SYMLIST *list) { return copied(list); }
SYMALIST *copy_symalist(const SYMALIST *list) { return copied(list); }

// --- copies ---

SYMTAB *copy_symbol(const SYMTAB *s) {
    SYMTAB *copy = new SYMTAB;
    copy->index = s->index;
    copy->policy = s->policy;
    copy->name = s->name; // names stay
    copy->size = s->size;
    copy->value = s->value;
    copy->sclass = s->sclass;
    copy->class_as_read = s->class_as_read;
    copy->cqual = s->cqual;
    copy->type = s->type;
    copy->otype = s->otype;
    copy->cpp_type = s->cpp_type;
    copy->align = s->align;
    copy->scope = s->scope;
    copy->psn = s->psn;
    copy->pragmas = copy_pragmas(s->pragmas);
    if (s->init) {
        copy->init = new EXPR_LIST;
        for (const NODE *tree : s->init->trees) copy->init->trees.push_back(copy_tree(tree));
    }
    if (s->known_init) copy->known_init = copy_tree(s->known_init);
    copy->level = s->level;
    copy->location = s->location;
    copy->option_set = s->option_set;
    copy->sequence = s->sequence;
    copy->use_count = s->use_count;
    if (s->rare_words) {
        copy->rare().word = s->rare_words->word;
        copy->rare().scope_word = s->rare_words->scope_word;
    }
    copy->flags = s->flags;
    return copy;
}

namespace {

// What a copy stands for. The original itself is part of the key: two callees may each have an int "i" with one
// index, and when one call is integrated in the middle of the other both live at once.
struct INTERN_KEY {
    const SYMTAB *original;
    TYPE *type; // shared, so that the pointer says what the printed type would
    const FUNINFO *destination;
    bool operator==(const INTERN_KEY &) const = default;
};

struct INTERN_HASH {
    size_t operator()(const INTERN_KEY &key) const {
        size_t seed = 0;
        auto mix = [&seed](const void *p) {
            size_t value = std::hash<const void *>()(p);
            seed ^= value + 0x9E3779B9 + (seed << 6) + (seed >> 2);
        };
        mix(key.original);
        mix(key.type);
        mix(key.destination);
        return seed;
    }
};

std::unordered_map<INTERN_KEY, SYMTAB *, INTERN_HASH> intern_hash;
// The keys of an original and of a destination, so that neither outlives them. A key may be gone already.
std::unordered_map<const SYMTAB *, std::vector<INTERN_KEY>> keys_of_original;
std::unordered_map<const FUNINFO *, std::vector<INTERN_KEY>> keys_of_destination;

template <class MAP, class WHO> void forget_keys(MAP &keys, WHO *of) {
    auto entry = keys.find(of);
    if (entry == keys.end()) return;
    for (const INTERN_KEY &key : entry->second) intern_hash.erase(key);
    keys.erase(entry);
}

} // namespace

SYMTAB *find_interned_symbol(SYMTAB *s, FUNINFO *destination) {
    if (!s || s->level == 0) return s;
    auto entry = intern_hash.find({s, s->type, destination});
    return entry == intern_hash.end() ? nullptr : entry->second;
}

SYMTAB *intern_symbol(SYMTAB *s, FUNINFO *destination) {
    if (SYMTAB *known = find_interned_symbol(s, destination)) return known;
    if (!s) return nullptr;
    SYMTAB *copy = copy_symbol(s);
    if (destination) {
        copy->index = int(destination->local_index++); // side tables of the destination are indexed by it
        own_symbol(destination, copy);
    }
    INTERN_KEY key = {s, s->type, destination};
    intern_hash[key] = copy;
    keys_of_original[s].push_back(key);
    keys_of_destination[destination].push_back(key);
    return copy;
}

void map_over_interned_symbols(void (*visit)(SYMTAB *original, SYMTAB *copy, FUNINFO *destination)) {
    for (auto &[key, copy] : intern_hash)
        visit(const_cast<SYMTAB *>(key.original), copy, const_cast<FUNINFO *>(key.destination));
}

void forget_interned_symbols(const FUNINFO *destination) { forget_keys(keys_of_destination, destination); }

void interned_stats() {
    unsigned with_null = 0;
    for (auto &entry : intern_hash) with_null += !entry.first.destination;
    dprintf("\n%u interned symbols;  load factor %.2f, max load factor %.2f, %d with NULL funinfo.\n",
            unsigned(intern_hash.size()), intern_hash.load_factor(), intern_hash.max_load_factor(),
            with_null);
}

void erase_symbol(SYMTAB *s) {
    if (!s) return;
    if (s->level == 0 && s->name) unindex_global(s);
    if (errno_symbol == s) errno_symbol = nullptr;
    if (!keys_of_original.empty()) forget_keys(keys_of_original, s);
    delete s;
}

std::unordered_set<const SYMTAB *> symbols_in_exception_table(const FUNINFO *f) {
    std::unordered_set<const SYMTAB *> found;
    for (unsigned i = 0; i < f->eht_size; i++)
        for_each_node(static_cast<NODE *>(f->eht[i].cleanup), [&found](NODE *n) {
            if (n->op == NAME && n->u.sym) found.insert(n->u.sym);
        });
    return found;
}

namespace {
std::vector<void (*)(SYMTAB *, SYMTAB *, uint64_t)> replacement_listeners;
}

void register_replaced_symbol_listener(void (*listener)(SYMTAB *, SYMTAB *, uint64_t)) {
    if (std::find(replacement_listeners.begin(), replacement_listeners.end(), listener) ==
        replacement_listeners.end())
        replacement_listeners.push_back(listener);
}

void announce_replaced_symbol(SYMTAB *gone, SYMTAB *object, uint64_t bit_offset) {
    for (auto listener : replacement_listeners) listener(gone, object, bit_offset);
}
