#include "typepkg/type_pkg.h"

#include "support/demangle.h"
#include "support/fatal.h"
#include "support/pool.h"
#include "typepkg/type_query.h"

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cxxabi.h>
#include <new>
#include <string_view>
#include <unordered_set>

TYPE_PKG *tp;
uint32_t max_scalar_alignment;

TYPE *TYPE_PKG::root_type;
int TYPE_PKG::abi;
int TYPE_PKG::tp_count;
int TYPE_PKG::cpu_version;

// ---- memory and faults

namespace {

size_t bytes_in_use;

// The greatest size in bits that the file's 32-bit fields hold.
constexpr uint64_t MAX_SIZE = 0xFFFFFFFF;

} // namespace

void tp_die(const char *message) {
    fprintf(stderr, "TP>> internal error: %s\n", message);
    run_closing_hooks();
    exit(1);
}

void *tp_alloc(size_t bytes) {
    void *memory = calloc(1, bytes);
    if (!memory) tp_die("Out of memory: tp_alloc()");
    bytes_in_use += bytes;
    return memory;
}

void tp_free(void *memory, size_t bytes) {
    if (!memory) return;
    free(memory);
    bytes_in_use -= bytes;
}

size_t tp_bytes_in_use() { return bytes_in_use; }

namespace {

template <class T> T *make_record() { return new (tp_alloc(sizeof(T))) T{}; }

template <class T> void drop_record(T *&record) {
    tp_free(record, sizeof(T));
    record = nullptr;
}

template <class T> void drop_list(TLIST<T> &list) {
    for (T *element = list.first; element;) {
        T *next = element->next;
        drop_record(element);
        element = next;
    }
    list = {};
}

void drop_csu(tpCSU *csu) {
    drop_list(csu->bclass);
    drop_list(csu->adecl);
    drop_list(csu->ffriend);
    drop_list(csu->cfriend);
    drop_list(csu->ntype);
    drop_list(csu->mdata);
    drop_list(csu->sdata);
    drop_list(csu->mfunc);
    drop_list(csu->params);
    delete csu->by_index;
    drop_record(csu);
}

} // namespace

void *TYPE::operator new(size_t bytes) {
    bytes_in_use += bytes;
    return pooled<TYPE>::operator new(bytes);
}
void TYPE::operator delete(void *memory, size_t bytes) {
    bytes_in_use -= bytes;
    pooled<TYPE>::operator delete(memory);
}

TYPE::~TYPE() {
    if (!sub.raw) return;
    switch (kind) {
    case K_typedef: drop_record(sub.td); break;
    case K_array: drop_record(sub.arr); break;
    case K_func:
        drop_list(sub.fn->params);
        drop_record(sub.fn);
        break;
    case K_enum:
        drop_list(sub.en->etors);
        drop_record(sub.en);
        break;
    case K_class:
    case K_struct:
    case K_union: drop_csu(sub.csu); break;
    default: break;
    }
}

void TYPE::create_subparts() {
    switch (kind) {
    case K_typedef: sub.td = make_record<tpTYPEDEF>(); break;
    case K_array: sub.arr = make_record<tpARRAY>(); break;
    case K_func: sub.fn = make_record<tpFUNC>(); break;
    case K_enum: sub.en = make_record<tpENUM>(); break;
    case K_class:
    case K_struct:
    case K_union: sub.csu = make_record<tpCSU>(); break;
    default: tp_die("bad kind: TYPE::create_subparts");
    }
}

void TYPE::check_nfrozen() const {
    if (frozen) tp_die("Modifying frozen type:  TYPE::check_nfrozen");
}

// ---- names

struct TYPE_PKG::NAMES {
    std::unordered_set<std::string_view> known;
    std::vector<std::unique_ptr<char[]>> chunks;
    size_t left = 0; // free bytes at the end of the last chunk
    char *next = nullptr;

    const char *intern(std::string_view name) {
        auto found = known.find(name);
        if (found != known.end()) return found->data();
        size_t need = name.size() + 1;
        if (need > left) {
            left = std::max<size_t>(need, 16384);
            chunks.emplace_back(new char[left]);
            next = chunks.back().get();
        }
        char *copy = next;
        memcpy(copy, name.data(), name.size());
        copy[name.size()] = 0;
        next += need;
        left -= need;
        known.insert(std::string_view(copy, name.size()));
        return copy;
    }
};

const char *TYPE_PKG::intern(const char *name) { return name ? names->intern(name) : nullptr; }

bool TYPE_PKG::demangle_type_name(const char *name, std::string &plain) {
    plain = name ? name : "";
    if (plain.empty()) return false;
    if (plain.starts_with("_Z")) {
        plain = decode_identifier(name);
        return plain != name;
    }
    // A bare type encoding: "3foo", "N2ns3fooE". A plain identifier never begins with a digit, and one that
    // begins like a nested name is hardly ever a whole one.
    bool nested = name[0] == 'N' && name[1] >= '0' && name[1] <= '9';
    if (!nested && !(name[0] >= '1' && name[0] <= '9')) return false;
    if (!name_is_cheap_to_decode(name)) return false;
    int status = 0;
    std::unique_ptr<char, void (*)(void *)> text(abi::__cxa_demangle(name, nullptr, nullptr, &status), free);
    if (status != 0 || !text) return false;
    plain = text.get();
    return true;
}

bool TYPE_PKG::compare_type_names(const char *a, const char *b) {
    if (!a || !b) return a == b;
    if (a == b || !strcmp(a, b)) return true;
    std::string plain_a, plain_b;
    demangle_type_name(a, plain_a);
    demangle_type_name(b, plain_b);
    return plain_a == plain_b;
}

const char *TYPE::name() const {
    switch (kind) {
    case K_typedef: return sub.td->name;
    case K_enum: return sub.en->name;
    case K_class:
    case K_struct:
    case K_union: return sub.csu->name;
    default: return nullptr;
    }
}

const char *TYPE::map_name() const {
    if (map_name_cache) return map_name_cache;
    if (kind <= K_complex) return map_name_cache = "__builtin_type";
    const char *own = name();
    if (!own) return map_name_cache = "";
    std::string plain;
    if (name_is_tagless(own)) plain = "$$fake";
    else TYPE_PKG::demangle_type_name(own, plain);
    const char *word = kind == K_typedef ? "typedef "
                       : kind == K_enum  ? "enum "
                       : kind == K_union ? "union "
                                         : "struct ";
    return map_name_cache = pkg->intern((word + plain).c_str());
}

// ---- the table of shared types

namespace {

// All that tells two types apart, in a form that is cheap to hash and to compare. Parts are shared already,
// so that they compare by identity.
struct TYPE_KEY {
    KIND kind;
    bool cpp;
    uint32_t align;
    uint64_t size;
    TYPE *part;       // what it is built on; null for integers and floats
    uint64_t detail;  // the small subparts
    const void *more; // name, class, or first parameter
};

TYPE_KEY key_of(const TYPE *t) {
    TYPE_KEY key = {t->kind, t->cpp, t->align, t->size, nullptr, 0, nullptr};
    switch (t->kind) {
    case K_int:
        key.detail =
            t->sub.i.ikind | t->sub.i.expl_sign << 8 | t->sub.i.is_boolean << 9 | t->sub.i.is_ptm << 10;
        break;
    case K_float: key.detail = t->sub.fkind; break;
    case K_fixpt:
        key.part = t->sub.part;
        key.detail = uint8_t(t->sub2.fx.binpt) | t->sub2.fx.sign << 8;
        break;
    case K_complex:
    case K_ptr:
    case K_ref: key.part = t->sub.part; break;
    case K_qual:
        key.part = t->sub.part;
        key.detail = t->sub2.own_qual;
        break;
    case K_typedef:
        key.part = t->sub.td->type_named;
        key.more = t->sub.td->name;
        break;
    case K_array:
        key.part = t->sub.arr->elem_type;
        key.detail = t->sub.arr->count;
        // Two small numbers in a pointer: the flags of an array.
        key.more = reinterpret_cast<void *>(uintptr_t(t->sub.arr->vector | t->sub.arr->complete << 1));
        break;
    case K_ptm:
        key.part = t->sub.part;
        key.more = t->sub2.of_class;
        break;
    case K_func:
        key.part = t->sub.fn->return_type;
        key.detail = t->sub.fn->cc | t->sub.fn->vararg << 8 | t->sub.fn->proto << 9;
        key.more = t->sub.fn->params.first;
        break;
    default: break;
    }
    return key;
}

bool same_params(const fkPARAM *a, const fkPARAM *b) {
    for (; a && b; a = a->next, b = b->next)
        if (a->type != b->type || a->kind != b->kind) return false;
    return a == b;
}

bool same_key(const TYPE_KEY &a, const TYPE_KEY &b) {
    if (a.kind != b.kind || a.cpp != b.cpp || a.align != b.align || a.size != b.size || a.part != b.part ||
        a.detail != b.detail)
        return false;
    if (a.kind == K_func)
        return same_params(static_cast<const fkPARAM *>(a.more), static_cast<const fkPARAM *>(b.more));
    return a.more == b.more;
}

uint64_t mix(uint64_t hash, uint64_t word) {
    hash = (hash ^ word) * 0x9E3779B97F4A7C15u;
    return hash ^ hash >> 29;
}

uint32_t hash_of(const TYPE_KEY &key) {
    uint64_t hash = mix(key.kind | key.cpp << 8 | uint64_t(key.align) << 32, key.size);
    hash = mix(hash, reinterpret_cast<uintptr_t>(key.part));
    hash = mix(hash, key.detail);
    if (key.kind == K_func) {
        for (auto *param = static_cast<const fkPARAM *>(key.more); param; param = param->next)
            hash = mix(mix(hash, reinterpret_cast<uintptr_t>(param->type)), param->kind);
    } else if (key.kind != K_array) { // a count settles; the flags of an array may change late
        hash = mix(hash, reinterpret_cast<uintptr_t>(key.more));
    }
    return uint32_t(hash ^ hash >> 32);
}

} // namespace

// Open addressing with linear probing, at most two thirds full; removal closes the gap.
struct TYPE_PKG::TABLE {
    std::vector<TYPE *> slots = std::vector<TYPE *>(256);
    size_t used = 0;

    size_t mask() const { return slots.size() - 1; }

    TYPE *find(const TYPE_KEY &key, uint32_t hash) const {
        for (size_t i = hash & mask(); TYPE *t = slots[i]; i = (i + 1) & mask())
            if (t->hash == hash && same_key(key_of(t), key)) return t;
        return nullptr;
    }

    void place(TYPE *t) {
        size_t i = t->hash & mask();
        while (slots[i]) i = (i + 1) & mask();
        slots[i] = t;
    }

    void insert(TYPE *t) {
        if (++used * 3 > slots.size() * 2) {
            std::vector<TYPE *> old(slots.size() * 2);
            old.swap(slots);
            for (TYPE *o : old)
                if (o) place(o);
        }
        place(t);
    }

    void remove(TYPE *t) {
        size_t i = t->hash & mask();
        while (slots[i] != t)
            if (!slots[i]) return;
            else i = (i + 1) & mask();
        used--;
        for (size_t gap = i;;) {
            i = (i + 1) & mask();
            if (!slots[i]) {
                slots[gap] = nullptr;
                return;
            }
            // An entry may move into the gap unless its home lies cyclically behind the gap.
            size_t home = slots[i]->hash & mask();
            if (((i - home) & mask()) >= ((i - gap) & mask())) {
                slots[gap] = slots[i];
                gap = i;
            }
        }
    }
};

namespace {

bool is_shared_kind(KIND kind) { return kind < K_enum; }

// Something may be built on a type that is registered, which gave it a uid.
void check_part(const TYPE *part) {
    if (!part) tp_die("null part:  TYPE_PKG::mk_type");
    if (!part->uid) tp_die("Unregistered type:  TYPE_PKG::mk_type");
}

void set_key(TYPE *t, const TYPE_KEY &key) {
    t->cpp = key.cpp;
    switch (key.kind) {
    case K_int:
        t->sub.i.ikind = IKIND(key.detail & 255);
        t->sub.i.expl_sign = key.detail >> 8 & 1;
        t->sub.i.is_boolean = key.detail >> 9 & 1;
        t->sub.i.is_ptm = key.detail >> 10 & 1;
        break;
    case K_float: t->sub.fkind = FKIND(key.detail); break;
    case K_fixpt:
        t->sub.part = key.part;
        t->sub2.fx = {int8_t(key.detail), uint8_t(key.detail >> 8)};
        break;
    case K_qual:
        t->sub.part = key.part;
        t->sub2.own_qual = uint8_t(key.detail);
        t->dtype = key.part->dtype;
        t->quals = key.part->quals | key.detail;
        t->all_quals = key.part->all_quals | key.detail;
        break;
    case K_typedef:
        t->create_subparts();
        t->sub.td->type_named = key.part;
        t->sub.td->name = static_cast<const char *>(key.more);
        t->dtype = key.part->dtype;
        t->quals = key.part->quals;
        t->all_quals = key.part->all_quals;
        break;
    case K_array: {
        t->create_subparts();
        auto flags = reinterpret_cast<uintptr_t>(key.more);
        *t->sub.arr = {key.part, key.detail, (flags & 2) != 0, (flags & 1) != 0};
        t->all_quals = key.part->all_quals;
        const TYPE *elem = key.part->dtype;
        if (elem->kind == K_array) t->dims = elem->dims;
        if (t->dims < UINT16_MAX) t->dims++;
        break;
    }
    case K_ptm:
        t->sub.part = key.part;
        t->sub2.of_class = static_cast<TYPE *>(const_cast<void *>(key.more));
        break;
    default: t->sub.part = key.part; break; // complex, pointer, reference; null for void
    }
}

void count_type(TYPE_PKG::COUNTS &counts, const TYPE *t) {
    counts.types++;
    switch (t->kind) {
    case K_ptr:
    case K_ref:
    case K_ptm: counts.ptr++; break;
    case K_qual: counts.qual++; break;
    case K_typedef: counts.tdef++; break;
    case K_array:
        counts.array++;
        counts.vector += t->sub.arr->vector;
        break;
    case K_func: counts.func++; break;
    case K_enum: counts.enums++; break;
    case K_class:
    case K_struct:
    case K_union: counts.csu++; break;
    default: counts.basic++; break;
    }
}

// Files a type that is known to be new.
TYPE *file_type(TYPE_PKG &package, TYPE *t) {
    package.link_based(t, t->map_name());
    if (is_shared_kind(t->kind)) package.table->insert(t);
    package.assign_uid(t);
    count_type(package.counts, t);
    return t;
}

// The shared type of a key.
TYPE *share(TYPE_PKG &package, const TYPE_KEY &key) {
    if (key.part) check_part(key.part);
    uint32_t hash = hash_of(key);
    if (TYPE *known = package.table->find(key, hash)) return known;
    TYPE *t = package.new_type(key.kind, key.size, key.align);
    set_key(t, key);
    t->hash = hash;
    t->frozen = true;
    return file_type(package, t);
}

} // namespace

TYPE *TYPE_PKG::new_type(KIND kind, uint64_t size, uint32_t align) {
    if (size > MAX_SIZE)
        set_error(1, "Object size %llu bytes is greater than maximum supported size %u bytes",
                  static_cast<unsigned long long>(size >> 3), unsigned(MAX_SIZE >> 3));
    TYPE *t = new TYPE(kind);
    t->size = size;
    t->align = align;
    t->pkg = this;
    t->tu = tu;
    return t;
}

void TYPE_PKG::set_error(int code, const char *format, ...) {
    if (error_code) return;
    error_code = code;
    va_list args;
    va_start(args, format);
    vsnprintf(error_text, sizeof error_text, format, args);
    va_end(args);
    if (error_handler) error_handler(this);
}

const char *TYPE_PKG::error_code_name(int code) {
    switch (code) {
    case 0: return "no error";
    case 1: return "object size not supported";
    default: return "unknown error";
    }
}

TYPE *TYPE_PKG::base_type(TYPE *type) {
    switch (type->kind) {
    case K_void:
    case K_int:
    case K_float:
    case K_fixpt:
    case K_complex:
    case K_enum:
    case K_class:
    case K_struct:
    case K_union: return type;
    case K_ptr:
    case K_ref:
    case K_qual:
    case K_ptm: return type->sub.part;
    case K_typedef: return type->sub.td->type_named;
    case K_array: return type->sub.arr->elem_type;
    case K_func: return type->sub.fn->return_type;
    default: tp_die("bad kind:  TYPE_PKG::base_type()");
    }
}

TYPE *TYPE_PKG::based_root(TYPE *type) {
    if (type == root) return nullptr;
    TYPE *base = base_type(type);
    return base == type ? root : base;
}

void TYPE_PKG::assign_uid(TYPE *type) {
    if (!type->uid) type->uid = next_uid++;
    if (type->kind < K_class) return;
    uint32_t number = 0;
    for (fkMDATA *member = type->sub.csu->mdata.first; member; member = member->next) {
        number++;
        if (!member->index) member->index = number;
    }
}

namespace {

void append(BASED_LIST &list, TYPE *t) {
    t->next_based = nullptr;
    t->prev_based = list.last;
    (list.last ? list.last->next_based : list.first) = t;
    list.last = t;
}

void unchain(BASED_LIST &list, TYPE *t) {
    (t->prev_based ? t->prev_based->next_based : list.first) = t->next_based;
    (t->next_based ? t->next_based->prev_based : list.last) = t->prev_based;
    t->next_based = t->prev_based = nullptr;
}

} // namespace

void TYPE_PKG::link_based(TYPE *type, const char *name) {
    BASED_TYPE_CONTAINER &based = based_root(type)->based;
    based.count++;
    type->map_name_cache = name;
    if (!*name) return append(based.unnamed, type);
    if (!based.named) based.named.reset(new std::map<const char *, BASED_LIST, NAME_LESS>);
    append((*based.named)[name], type);
}

void TYPE_PKG::unlink_based(TYPE *type) {
    BASED_TYPE_CONTAINER &based = based_root(type)->based;
    const char *name = type->map_name();
    based.count--;
    if (!*name) return unchain(based.unnamed, type);
    auto entry = based.named->find(name);
    unchain(entry->second, type);
    if (!entry->second.first) based.named->erase(entry);
}

TYPE *TYPE_PKG::register_type(TYPE *candidate) {
    if (candidate->uid) return candidate;
    if (TYPE *base = based_root(candidate); base != root) check_part(base);
    if (candidate->kind == K_func) unchain(open_functions, candidate);
    if (is_shared_kind(candidate->kind)) {
        TYPE_KEY key = key_of(candidate);
        candidate->hash = hash_of(key);
        if (TYPE *known = table->find(key, candidate->hash)) {
            delete candidate;
            return known;
        }
    }
    return file_type(*this, candidate);
}

void TYPE_PKG::type_frozen(TYPE *&type) {
    if (type->frozen && type->uid) return;
    type->frozen = true;
    if (type->kind <= K_typedef || type->kind == K_ptm) return;
    type->tu = tu;
    if (!type->uid) type = register_type(type);
    else assign_uid(type); // the members of a record get their numbers
    if (type->kind >= K_class && type->sub.csu->lists & ~(1u << TPL_mdata)) counts.complex++;
}

// ---- makers

namespace {

struct LAYOUT {
    uint64_t size;
    uint32_t align;
};

uint32_t align_of_double_word() { return TYPE_PKG::abi == 1 ? 64 : 32; }

LAYOUT int_layout(IKIND kind) {
    switch (kind) {
    case IK_bool:
    case IK_schar:
    case IK_uchar: return {8, 8};
    case IK_wchar: return TYPE_PKG::abi == 1 ? LAYOUT{32, 32} : LAYOUT{16, 16};
    case IK_short:
    case IK_ushort: return {16, 16};
    case IK_llong:
    case IK_ullong: return {64, align_of_double_word()};
    default: return {32, 32};
    }
}

LAYOUT float_layout(FKIND kind) {
    return kind == FK_float ? LAYOUT{32, 32} : LAYOUT{64, align_of_double_word()};
}

// What the caller left out is as in `preset`.
LAYOUT layout_or(uint64_t size, uint32_t align, LAYOUT preset) {
    return {size == TP_SIZE ? preset.size : size, align == TP_ALIGN ? preset.align : align};
}

LAYOUT layout_or_of(uint64_t size, uint32_t align, const TYPE *t) {
    check_part(t);
    return layout_or(size, align, {t->size, t->align});
}

constexpr LAYOUT POINTER = {32, 32};
constexpr LAYOUT NOTHING = {0, 8}; // void and functions: no size, any address

// a * b, or the greatest whole number of bytes when that does not fit.
uint64_t saturating_product(uint64_t a, uint64_t b) {
    uint64_t product;
    return __builtin_mul_overflow(a, b, &product) ? UINT64_MAX & ~uint64_t{7} : product;
}

IKIND with_sign(IKIND kind, bool is_unsigned) {
    switch (kind) {
    case IK_bool: return is_unsigned ? IK_bool : IK_schar;
    case IK_schar:
    case IK_uchar: return is_unsigned ? IK_uchar : IK_schar;
    case IK_wchar: return IK_wchar; // settled by the caller
    default: return IKIND((kind & ~1) | int(is_unsigned));
    }
}

} // namespace

TYPE *TYPE_PKG::mk_void() {
    return share(*this, {K_void, false, NOTHING.align, NOTHING.size, nullptr, 0, nullptr});
}

TYPE *TYPE_PKG::mk_int(IKIND kind, bool expl_sign, uint64_t size, uint32_t align, bool is_boolean,
                       bool is_ptm) {
    LAYOUT l = layout_or(size, align, int_layout(kind));
    uint64_t detail = kind | expl_sign << 8 | is_boolean << 9 | is_ptm << 10;
    return share(*this, {K_int, false, l.align, l.size, nullptr, detail, nullptr});
}

TYPE *TYPE_PKG::mk_ptm_int(TYPE *integral) {
    TYPE *t = integral->getr(K_int);
    return mk_int(t->sub.i.ikind, t->sub.i.expl_sign, t->size, t->align, t->sub.i.is_boolean, true);
}

TYPE *TYPE_PKG::mk_boolean_int(TYPE *integral) {
    TYPE *t = integral->getr(K_int);
    return mk_int(t->sub.i.ikind, t->sub.i.expl_sign, t->size, t->align, true, t->sub.i.is_ptm);
}

TYPE *TYPE_PKG::mk_fltpt(FKIND kind, uint64_t size, uint32_t align) {
    LAYOUT l = layout_or(size, align, float_layout(kind));
    return share(*this, {K_float, false, l.align, l.size, nullptr, kind, nullptr});
}

TYPE *TYPE_PKG::mk_fxtpt(TYPE *underlying, int binpt, uint64_t size, uint32_t align) {
    LAYOUT l = layout_or_of(size, align, underlying);
    return mk_fxtpt(underlying, binpt, l.size, l.align, underlying->is_signed());
}

TYPE *TYPE_PKG::mk_fxtpt(TYPE *underlying, int binpt, uint64_t size, uint32_t align, uint8_t sign) {
    uint64_t detail = uint8_t(binpt) | sign << 8;
    return share(*this, {K_fixpt, false, align, size, underlying, detail, nullptr});
}

TYPE *TYPE_PKG::mk_complex(TYPE *part, uint64_t size, uint32_t align) {
    check_part(part);
    LAYOUT l = layout_or(size, align, {saturating_product(part->size, 2), part->align});
    return share(*this, {K_complex, false, l.align, l.size, part, 0, nullptr});
}

TYPE *TYPE_PKG::mk_ptr(TYPE *target, uint64_t size, uint32_t align) {
    check_part(target);
    LAYOUT l = layout_or(size, align, POINTER);
    return share(*this, {K_ptr, false, l.align, l.size, target, 0, nullptr});
}

TYPE *TYPE_PKG::mk_ref(TYPE *target, uint64_t size, uint32_t align) {
    check_part(target);
    LAYOUT l = layout_or(size, align, POINTER);
    return share(*this, {K_ref, false, l.align, l.size, target, 0, nullptr});
}

TYPE *TYPE_PKG::mk_ptm(TYPE *target, TYPE *of_class, uint64_t size, uint32_t align) {
    check_part(target);
    check_part(of_class);
    return share(*this, {K_ptm, false, align, size, target, 0, of_class});
}

TYPE *TYPE_PKG::mk_qual(TYPE *type, unsigned bits, uint64_t size, uint32_t align) {
    LAYOUT l = layout_or_of(size, align, type);
    bits &= 255;
    // A packed type may differ from what it qualifies in size or alignment: then it is another type even
    // when the bits are there.
    if ((type->quals & bits) == bits && l.size == type->size && l.align == type->align) return type;
    if (type->kind == K_qual) {
        bits |= type->sub2.own_qual;
        type = type->sub.part;
    }
    return share(*this, {K_qual, false, l.align, l.size, type, bits, nullptr});
}

TYPE *TYPE_PKG::remove_known_qual(TYPE *type, unsigned bits) {
    check_part(type);
    unsigned kept = 0;
    TYPE *t = type;
    while (t->quals & bits) {
        if (t->kind == K_qual) kept |= t->sub2.own_qual;
        t = base_type(t); // a qualified type or typedef: others bear no bits
    }
    return mk_qual(t, kept & ~bits);
}

namespace {

// A position that outlives the file it was read from; a file that has no name gets one.
PSN kept_position(TYPE_PKG &package, const PSN &position) {
    return {position.file ? package.intern(position.file) : NO_FILE, position.line, position.column};
}

} // namespace

TYPE *TYPE_PKG::mk_typedef(const char *name, bool cpp, TYPE *type, uint64_t size, uint32_t align,
                           bool lowered, const PSN *position) {
    LAYOUT l = layout_or_of(size, align, type);
    uint32_t before = next_uid;
    TYPE *t = share(*this, {K_typedef, cpp, l.align, l.size, type, 0, intern(name ? name : "")});
    if (t->uid == before) { // new
        t->sub.td->lowered = lowered;
        if (position) t->psn = kept_position(*this, *position);
    }
    return t;
}

TYPE *TYPE_PKG::mk_array(TYPE *elem, bool cpp, uint64_t count, uint64_t size, uint32_t align) {
    check_part(elem);
    bool complete = count != TP_COUNT;
    if (!complete) count = 0;
    LAYOUT l = layout_or(size, align, {saturating_product(elem->size, count), elem->align});
    return mk_array_full(elem, cpp, count, complete, false, l.size, l.align);
}

TYPE *TYPE_PKG::mk_array_full(TYPE *elem, bool cpp, uint64_t count, bool complete, bool vector, uint64_t size,
                              uint32_t align) {
    check_part(elem);
    auto flags = uintptr_t(vector | complete << 1);
    return share(*this, {K_array, cpp, align, size, elem, count, reinterpret_cast<void *>(flags)});
}

TYPE *TYPE_PKG::mk_func(TYPE *returns, bool cpp, bool vararg, bool proto, CC_KIND cc, uint64_t size,
                        uint32_t align) {
    check_part(returns);
    LAYOUT l = layout_or(size, align, NOTHING);
    TYPE *t = new_type(K_func, l.size, l.align);
    t->cpp = cpp;
    t->create_subparts();
    t->sub.fn->return_type = returns;
    t->sub.fn->vararg = vararg;
    t->sub.fn->proto = proto;
    t->sub.fn->cc = cc;
    append(open_functions, t);
    return t;
}

TYPE *TYPE_PKG::mk_func(TYPE *returns, const std::vector<TYPE *> &params, bool vararg, bool cpp, CC_KIND cc) {
    TYPE *t = mk_func(returns, cpp, vararg, true, cc);
    for (TYPE *param : params) t->add_param(param);
    type_frozen(t);
    return t;
}

TYPE *TYPE_PKG::mk_enum(const char *name, TYPE *underlying, uint64_t size, uint32_t align, bool cpp) {
    TYPE *t = new_type(K_enum, size, align);
    t->cpp = cpp;
    t->create_subparts();
    t->sub.en->name = tag_name(name);
    t->sub.en->underlying_type = underlying ? underlying : int_type();
    t->sub.en->complete = size != 0;
    check_part(t->sub.en->underlying_type);
    return file_type(*this, t);
}

// The shared copy of a tag, or a fresh "$$fake" one.
const char *TYPE_PKG::tag_name(const char *name) {
    if (name && *name) {
        // A made-up name from elsewhere is not made up again.
        unsigned number;
        if (name_is_tagless(name) && sscanf(name, "$$fake%u", &number) == 1 && number >= fake_names)
            fake_names = number + 1;
        return intern(name);
    }
    char text[32];
    snprintf(text, sizeof text, "$$fake%u", fake_names++);
    return intern(text);
}

TYPE *TYPE_PKG::mk_csu(KIND kind, const char *name, uint64_t size, uint32_t align, bool cpp,
                       uint64_t csu_word, bool complete) {
    if (kind < K_class || kind > K_union) tp_die("bad kind: TYPE_PKG::mk_csu");
    TYPE *t = new_type(kind, size, align);
    t->cpp = cpp;
    t->create_subparts();
    t->sub.csu->name = tag_name(name);
    t->sub.csu->word = csu_word;
    t->sub.csu->complete = complete;
    return file_type(*this, t);
}

// clang-format off
TYPE *TYPE_PKG::mk_class(const char *name, uint64_t size, uint32_t align, bool cpp, uint64_t csu_word) {
    return mk_csu(K_class, name, size, align, cpp, csu_word, true);
}
TYPE *TYPE_PKG::mk_struct(const char *name, uint64_t size, uint32_t align, bool cpp, uint64_t csu_word) {
    return mk_csu(K_struct, name, size, align, cpp, csu_word, true);
}
TYPE *TYPE_PKG::mk_union(const char *name, uint64_t size, uint32_t align, bool cpp, uint64_t csu_word) {
    return mk_csu(K_union, name, size, align, cpp, csu_word, true);
}
TYPE *TYPE_PKG::mk_class(const char *name)  { return mk_csu(K_class, name, 0, 8, false, 0, false); }
TYPE *TYPE_PKG::mk_struct(const char *name) { return mk_csu(K_struct, name, 0, 8, false, 0, false); }
TYPE *TYPE_PKG::mk_union(const char *name)  { return mk_csu(K_union, name, 0, 8, false, 0, false); }
// clang-format on

TYPE *TYPE_PKG::mk_vector(TYPE *elem, uint64_t count) {
    check_part(elem);
    uint64_t size = saturating_product(elem->size, count);
    uint32_t natural = size ? uint32_t(std::min<uint64_t>(size & -size, 64)) : 8;
    return mk_array_full(elem, false, count, true, true, size, std::max(natural, elem->align));
}

TYPE *TYPE_PKG::mk_struct_vector(const char *name, TYPE *vector, unsigned count) {
    TYPE *val = mk_array(vector, false, count);
    TYPE *t = mk_struct(name, val->size, val->align, false);
    t->set_struct_vector();
    t->add_mdata("val", val, 0);
    type_frozen(t);
    return t;
}

TYPE *TYPE_PKG::mk_vpred(unsigned count, unsigned lane_bits) {
    IKIND kind = lane_bits <= 8    ? IK_uchar
                 : lane_bits <= 16 ? IK_ushort
                 : lane_bits <= 32 ? IK_uint
                                   : IK_ullong;
    return mk_vector(mk_boolean_int(mk_int(kind, true, lane_bits, lane_bits)), count);
}

// The type of the same rank with a sign: the basic one when that has the size and alignment.
TYPE *TYPE_PKG::mk_int_of_sign(TYPE *integral, bool is_unsigned) {
    TYPE *t = integral->is_enum() ? integral->underlying_type()->getr(K_int) : integral->getr(K_int);
    IKIND kind = with_sign(t->sub.i.ikind, is_unsigned);
    if (kind == IK_wchar && !is_unsigned)
        // No signed type is called wchar_t: the one of its width stands in.
        kind = t->size <= 8 ? IK_schar : t->size <= 16 ? IK_short : t->size <= 32 ? IK_int : IK_llong;
    if (basic[kind]->size == t->size && basic[kind]->align == t->align) return basic[kind];
    return mk_int(kind, t->sub.i.expl_sign, t->size, t->align);
}

TYPE *TYPE_PKG::mk_unsigned(TYPE *integral) { return mk_int_of_sign(integral, true); }
TYPE *TYPE_PKG::mk_signed(TYPE *integral) { return mk_int_of_sign(integral, false); }

TYPE *TYPE_PKG::replace_array_elem(TYPE *array, TYPE *from, TYPE *to) {
    std::vector<TYPE *> levels;
    for (TYPE *t = array; t != from; t = base_type(t)) {
        if (t->kind != K_array && t->kind != K_qual && t->kind != K_typedef) return nullptr;
        levels.push_back(t);
    }
    TYPE *built = to;
    for (; !levels.empty(); levels.pop_back()) {
        TYPE *level = levels.back();
        if (level->kind == K_qual) built = mk_qual(built, level->sub2.own_qual);
        if (level->kind != K_array) continue; // the name of a typedef goes, it meant the old element
        const tpARRAY *arr = level->sub.arr;
        if (arr->vector) {
            built = mk_vector(built, arr->count);
            continue;
        }
        // An alignment of the array's own is kept where it is the stricter one.
        uint32_t align =
            level->align > arr->elem_type->align ? std::max(level->align, built->align) : built->align;
        built = mk_array_full(built, level->cpp, arr->count, arr->complete, false,
                              saturating_product(built->size, arr->count), align);
    }
    return built;
}

// ---- filling open types

void TYPE::set_is_complete(bool complete) {
    switch (kind) {
    case K_array: sub.arr->complete = complete; break;
    case K_enum: sub.en->complete = complete; break;
    case K_class:
    case K_struct:
    case K_union: sub.csu->complete = complete; break;
    default: tp_die("bad kind: TYPE::set_is_complete");
    }
}

void TYPE::set_is_lowered(bool lowered) {
    if (kind == K_typedef) sub.td->lowered = lowered;
    else get_csu()->sub.csu->low = lowered;
}

void TYPE::set_struct_vector(bool flag) {
    check_nfrozen();
    get_csu()->sub.csu->struct_vector = flag;
}

void TYPE::set_ordered_union(bool flag) {
    check_nfrozen();
    getd(K_union)->sub.csu->ordered_union = flag;
}

void TYPE::set_psn(const PSN *position) {
    check_nfrozen();
    psn = position ? kept_position(*pkg, *position) : PSN{};
}

uint16_t *TYPE::lists_word() const {
    switch (kind) {
    case K_func: return &sub.fn->lists;
    case K_enum: return &sub.en->lists;
    case K_class:
    case K_struct:
    case K_union: return &sub.csu->lists;
    default: return nullptr;
    }
}

bool TYPE::has_list(TP_LIST list) const {
    uint16_t *lists = lists_word();
    return lists && (*lists >> list & 1);
}

void TYPE::open_list(TP_LIST list) {
    uint16_t *lists = lists_word();
    bool fits = lists && (kind == K_func   ? list == TPL_params
                          : kind == K_enum ? list == TPL_etors
                                           : list != TPL_etors);
    if (!fits) tp_die("bad kind: TYPE::open_list");
    // A record that is still incomplete may be completed late.
    if (kind < K_class || sub.csu->complete) check_nfrozen();
    *lists |= 1u << list;
}

tpCSU *TYPE::open_csu(TP_LIST list) {
    if (kind < K_class) tp_die("bad kind: TYPE::open_csu");
    open_list(list);
    return sub.csu;
}

fkPARAM *TYPE::add_param(TYPE *type, const char *name, unsigned param_kind) {
    open_list(TPL_params);
    check_part(type);
    auto &params = kind == K_func ? sub.fn->params : sub.csu->params;
    auto *param = params.append(make_record<fkPARAM>());
    param->type = type;
    param->name = pkg->intern(name ? name : "");
    param->kind = param_kind;
    return param;
}

ETOR *TYPE::add_etor(const char *name, int64_t value, const PSN *position) {
    open_list(TPL_etors);
    ETOR *etor = sub.en->etors.append(make_record<ETOR>());
    etor->name = pkg->intern(name ? name : "");
    etor->value = value;
    if (position) etor->psn = kept_position(*pkg, *position);
    return etor;
}

fkBCLASS *TYPE::add_bclass(TYPE *type, int32_t offset, uint8_t access, bool is_virtual) {
    auto *element = open_csu(TPL_bclass)->bclass.append(make_record<fkBCLASS>());
    element->type = type;
    element->offset = offset;
    element->access = access;
    element->is_virtual = is_virtual;
    return element;
}

fkADECL *TYPE::add_adecl(unsigned word, uint8_t access) {
    auto *element = open_csu(TPL_adecl)->adecl.append(make_record<fkADECL>());
    element->word = word;
    element->access = access;
    return element;
}

fkFFRIEND *TYPE::add_ffriend(const char *name, TYPE *type) {
    auto *element = open_csu(TPL_ffriend)->ffriend.append(make_record<fkFFRIEND>());
    element->name = pkg->intern(name ? name : "");
    element->type = type;
    return element;
}

fkCFRIEND *TYPE::add_cfriend(TYPE *type) {
    auto *element = open_csu(TPL_cfriend)->cfriend.append(make_record<fkCFRIEND>());
    element->type = type;
    return element;
}

fkNTYPE *TYPE::add_ntype(TYPE *type) {
    auto *element = open_csu(TPL_ntype)->ntype.append(make_record<fkNTYPE>());
    element->type = type;
    return element;
}

fkMDATA *TYPE::add_mdata(const char *name, TYPE *type, int64_t offset) {
    tpCSU *csu = open_csu(TPL_mdata);
    check_part(type);
    auto *member = csu->mdata.append(make_record<fkMDATA>());
    delete csu->by_index;
    csu->by_index = nullptr;
    member->type = type;
    member->name = pkg->intern(name ? name : "");
    member->name_length = uint32_t(strlen(member->name));
    member->offset = offset;
    return member;
}

void TYPE::set_member_psn(fkMDATA *member, const PSN *position) {
    member->psn = position ? kept_position(*pkg, *position) : PSN{};
}

fkMDATA *TYPE::add_bitfield(const char *name, TYPE *type, int64_t offset, uint32_t width) {
    fkMDATA *member = add_mdata(name, type, offset);
    member->bitfld = true;
    member->bitsize = width;
    sub.csu->seen_bitfield = true;
    return member;
}

fkSDATA *TYPE::add_sdata(const char *name, TYPE *type, uint8_t access) {
    auto *element = open_csu(TPL_sdata)->sdata.append(make_record<fkSDATA>());
    element->name = pkg->intern(name ? name : "");
    element->type = type;
    element->access = access;
    return element;
}

fkMFUNC *TYPE::add_mfunc(const char *name, TYPE *type, uint8_t access, int32_t word, const bool flags[4]) {
    auto *element = open_csu(TPL_mfunc)->mfunc.append(make_record<fkMFUNC>());
    element->name = pkg->intern(name ? name : "");
    element->type = type;
    element->access = access;
    element->word = word;
    std::copy(flags, flags + 4, element->flags);
    return element;
}

// ---- start and end

TYPE_PKG::TYPE_PKG() : table(new TABLE), names(new NAMES) {}

TYPE_PKG::~TYPE_PKG() {
    if (!root) return;
    while (TYPE *open = open_functions.first) {
        unchain(open_functions, open);
        delete open;
    }
    if (root_type == root) root_type = nullptr;
    tp_count--;
    delete_type_tree(root, true);
}

void init_type_pkg(TYPE_PKG *package) {
    TYPE_PKG &p = *package;
    if (p.root) return;
    TYPE_PKG::tp_count++;
    p.tu = 0;
    p.root = TYPE_PKG::root_type = new TYPE(K_void);
    p.root->pkg = package;
    p.root->frozen = true;
    p.basic[BT_void] = p.mk_void();
    p.basic[BT_void_ptr] = p.mk_ptr(p.basic[BT_void]);
    for (int kind = 0; kind < IK_count; kind++) {
        // A char is plain unless its sign is spelled out; the slots hold the signed and unsigned ones.
        bool expl_sign = kind == IK_schar || kind == IK_uchar;
        p.basic[kind] = p.mk_int(IKIND(kind), expl_sign);
    }
    for (int kind = 0; kind < FK_count; kind++) p.basic[BT_float + kind] = p.mk_fltpt(FKIND(kind));
    p.normalize_basic_types();
    p.update_basic_types();
}

void TYPE_PKG::normalize_basic_types() {
    for (TYPE *t : basic) t->norm = t;
    // clang-format off
    static constexpr struct { IKIND from, to; } as_wide[] = {
        {IK_long,   IK_int},
        {IK_ulong,  IK_uint},
        {IK_llong,  IK_long},
        {IK_ullong, IK_ulong},
    };
    // clang-format on
    for (auto [from, to] : as_wide)
        if (basic[from]->size == basic[to]->size) basic[from]->norm = basic[to]->norm;
}

void TYPE_PKG::update_basic_types() {
    for (TYPE *&t : basic) {
        t = t->rep();
        assign_uid(t);
    }
}

void init_types() {
    max_scalar_alignment = tp->void_type()->align;
    auto note = [](TYPE *t) {
        max_scalar_alignment = std::max(max_scalar_alignment, t->align);
        t->normalized();
    };
    for (TYPE *t : tp->basic) {
        note(t);
        if (t->is_arithmetic()) note(tp->mk_complex(t));
    }
}

void delete_type_tree(TYPE *type, bool recursive) {
    if (!recursive && type->based.count)
        tp_die("Nonrecusive type tree delete with nonempty based list:  TYPE_PKG::delete_type_tree");
    TYPE_PKG *package = type->pkg;
    std::vector<TYPE *> all = {type};
    walk_type_tree(type, [&](TYPE *t) { all.push_back(t); });
    if (type == package->root) {
        package->table.reset(new TYPE_PKG::TABLE);
        package->root = nullptr;
    } else {
        if (type->uid) package->unlink_based(type);
        for (TYPE *t : all)
            if (is_shared_kind(t->kind) && t->uid) package->table->remove(t);
    }
    for (TYPE *t : all) delete t;
}

// ---- reports

void TYPE_PKG::print_stats(FILE *out) {
    if (!out) out = stdout;
    fprintf(out, "***********TYPE PACKAGE STATISTICS************\n");
    // clang-format off
    fprintf(out, "** Types created            :  %d\n", int(counts.types));
    fprintf(out, "** Basic types created      :  %d\n", int(counts.basic));
    fprintf(out, "** Pointer types created    :  %d\n", int(counts.ptr));
    fprintf(out, "** Qualifiers created       :  %d\n", int(counts.qual));
    fprintf(out, "** Typedef types created    :  %d\n", int(counts.tdef));
    fprintf(out, "** Array types created      :  %d\n", int(counts.array));
    fprintf(out, "** of which are Vector types:  %d\n", int(counts.vector));
    fprintf(out, "** Function types created   :  %d\n", int(counts.func));
    fprintf(out, "** Enumeration types created:  %d\n", int(counts.enums));
    fprintf(out, "** Class types created      :  %d\n", int(counts.csu));
    fprintf(out, "** of which are Complex     :  %d\n", int(counts.complex));
    fprintf(out, "** Memory used              :  %d bytes\n", int(bytes_in_use));
    // clang-format on
    fprintf(out, "**********************************************\n");
}

void TYPE_PKG::db_stats(FILE *out) {
    if (!out) out = stdout;
    size_t longest = 0, run = 0;
    for (TYPE *t : table->slots) {
        run = t ? run + 1 : 0;
        longest = std::max(longest, run);
    }
    fprintf(out, "shared types: %zu in %zu slots, longest run %zu; names: %zu\n", table->used,
            table->slots.size(), longest, names->known.size());
}

void TYPE_PKG::dump_all(FILE *out) { root->dump_based_list(out); }
