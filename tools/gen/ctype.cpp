#include "tools/gen/ctype.h"

#include <algorithm>
#include <cstdio>

namespace {

const char *const basic_names[] = {"s8", "u8", "s16", "u16", "s32", "u32", "s64", "u64", "f32", "f64"};
const uint8_t basic_bytes[] = {1, 1, 2, 2, 4, 4, 8, 8, 4, 8};

std::string volatile_before(const std::string &before) {
    if (before.ends_with('*')) return before + "volatile ";
    return "volatile " + before;
}

// All types that a file can write go on to here: no name of a type repeats another type's text.
std::string plain_text(const std::string &before, const std::string &after) {
    std::string t = before + after;
    while (!t.empty() && t.back() == ' ') t.pop_back();
    return t;
}

bool is_incomplete_array(const TYPE *t) {
    return t->is_array() && !t->is_vector() && !t->is_complete() && t->num_elem() == 0;
}

uint64_t round_up(uint64_t n, uint64_t to) { return (n + to - 1) / to * to; }

} // namespace

// --- types of values ---

void CTYPES::fail(const std::string &what) {
    fprintf(stderr, "%s: error: qlgen: %s\n", model.file_name.c_str(), what.c_str());
    throw GEN_FAILED();
}

const CTYPE *CTYPES::intern(CTYPE &&t) {
    // Types are written out: a chain of pointers costs its square, functions that take functions cost more.
    if (t.before.size() + t.after.size() > LONGEST_TYPE)
        fail("a type of more than " + std::to_string(LONGEST_TYPE) + " characters");
    t.text = plain_text(t.before, t.after);
    auto [it, fresh] = by_text.try_emplace(t.text, nullptr);
    if (fresh) it->second = std::make_unique<CTYPE>(std::move(t));
    return it->second.get();
}

const CTYPE *CTYPES::basic(CK kind) {
    CTYPE t;
    t.kind = kind, t.before = std::string(basic_names[kind]) + " ", t.bytes = basic_bytes[kind];
    return intern(std::move(t));
}

const CTYPE *CTYPES::character() {
    CTYPE c;
    c.kind = CK_u8, c.before = "c8 ", c.bytes = 1;
    return intern(std::move(c));
}

const CTYPE *CTYPES::integer(TYPE *t) {
    bool is_signed = t->is_signed();
    if (t->is_plain_char() && !is_signed) return character();
    switch (t->size) {
    case 8: return basic(is_signed ? CK_s8 : CK_u8);
    case 16: return basic(is_signed ? CK_s16 : CK_u16);
    case 32: return basic(is_signed ? CK_s32 : CK_u32);
    case 64: return basic(is_signed ? CK_s64 : CK_u64);
    default: return intern(CTYPE());
    }
}

const CTYPE *CTYPES::of(TYPE *t) {
    if (!t) t = model.package->void_type();
    auto it = by_type.find(t);
    if (it != by_type.end()) return it->second;
    const CTYPE *c = make(t->dtype);
    if (!c->type) const_cast<CTYPE *>(c)->type = t->dtype;
    return by_type[t] = c;
}

const CTYPE *CTYPES::pointer_to(const CTYPE *target, bool is_volatile) {
    CTYPE t;
    t.kind = CK_ptr, t.bytes = 4;
    std::string before = is_volatile ? volatile_before(target->before) : target->before;
    bool wrapped = target->kind == CK_array || target->kind == CK_func;
    t.before = before + (wrapped ? "(*" : "*");
    t.after = (wrapped ? ")" : "") + target->after;
    t.part = target, t.part_volatile = is_volatile;
    return intern(std::move(t));
}

const CTYPE *CTYPES::vector(const CTYPE *lane, uint64_t lanes) {
    if (lane->kind == CK_ptr) lane = basic(CK_u32);
    bool fits = (lane->is_int() || lane->is_float()) && lanes && !(lanes & (lanes - 1));
    if (!fits) return intern(CTYPE());
    CTYPE t;
    t.kind = CK_vector, t.part = lane, t.lanes = lanes, t.bytes = lane->bytes * lanes;
    std::string name = "v" + std::to_string(lanes) + basic_names[lane->kind];
    t.before = name + " ";
    if (!by_text.count(name))
        typedefs += "typedef " + std::string(basic_names[lane->kind]) + " " + name +
                    " __attribute__((vector_size(" + std::to_string(t.bytes) + "), may_alias));\n";
    return intern(std::move(t));
}

const CTYPE *CTYPES::make(TYPE *t) {
    CTYPE c;
    switch (t->kind) {
    case K_int: return integer(t);
    case K_enum: return of(t->underlying_type());
    case K_float: return basic(t->size == 32 ? CK_f32 : CK_f64);
    case K_ptr: return pointer_to(of(t->type_pointed_to()), t->type_pointed_to()->is_volatile());
    case K_ref: return pointer_to(of(t->type_refd()), t->type_refd()->is_volatile());
    case K_ptm: return basic(CK_u32);
    case K_func: return function_type(t);
    case K_void: c.kind = CK_void, c.before = "void "; return intern(std::move(c));
    case K_complex: {
        const CTYPE *part = of(t->part_type());
        if (!part->is_int() && !part->is_float()) return intern(CTYPE());
        static const char *const words[] = {"signed char", "unsigned char", "short",     "unsigned short",
                                            "int",         "unsigned int",  "long long", "unsigned long long",
                                            "float",       "double"};
        std::string name = std::string("c") + basic_names[part->kind];
        c.kind = CK_complex, c.part = part, c.bytes = 2 * part->bytes, c.before = name + " ";
        if (!by_text.count(name))
            typedefs += std::string("typedef ") + words[part->kind] + " _Complex " + name +
                        " __attribute__((may_alias));\n";
        return intern(std::move(c));
    }
    case K_array: {
        if (t->is_vector()) return vector(of(t->elem_type()), t->num_elem());
        const CTYPE *part = of(t->elem_type());
        c.kind = CK_array, c.part = part, c.bytes = t->size / 8, c.before = part->before;
        c.after = (is_incomplete_array(t) ? "[]" : "[" + std::to_string(t->num_elem()) + "]") + part->after;
        return intern(std::move(c));
    }
    case K_class:
    case K_struct:
    case K_union:
        c.kind = CK_record, c.bytes = t->size / 8, c.before = record(t)->tag + " ", c.type = t;
        return intern(std::move(c));
    default: return intern(CTYPE());
    }
}

// --- functions ---

bool CTYPES::hidden_result(TYPE *f) {
    const fkPARAM *first = f->params();
    return f->cc_kind() == CC_RECORD_RESULT && f->return_type()->is_void() && first &&
           first->type->is_ptr() && first->type->type_pointed_to()->is_csu();
}

bool CTYPES::may_be_in_registers(TYPE *t) {
    if (t->size <= 32) return true;
    if (t->size > 4 * 128) return false;
    // Up to four floats or vectors and nothing else; here it is enough that there is nothing else.
    std::vector<TYPE *> todo{t};
    while (!todo.empty()) {
        TYPE *at = todo.back();
        todo.pop_back();
        if (at->is_array() && !at->is_vector()) todo.push_back(at->elem_type());
        else if (at->is_csu())
            for (fkMDATA *m = at->mdata(); m; m = m->next) todo.push_back(m->type);
        else if (!at->is_fltpt() && !at->is_vector() && !at->is_complex()) return false;
    }
    return true;
}

TYPE *CTYPES::record_result(TYPE *f) {
    if (!hidden_result(f)) return nullptr;
    TYPE *r = f->params()->type->type_pointed_to()->dtype;
    return may_be_in_registers(r) ? r : nullptr;
}

const CTYPE *CTYPES::function(const CTYPE *returns, const std::vector<const CTYPE *> &params, bool vararg) {
    CTYPE c;
    c.kind = CK_func, c.part = returns, c.before = returns->before;
    c.params = params, c.vararg = vararg, c.proto = true;
    if (vararg && params.empty()) c.proto = false; // C has no way to say it
    c.after = "(";
    for (size_t i = 0; i < params.size() && c.after.size() <= LONGEST_TYPE; i++)
        c.after += (i ? ", " : "") + params[i]->text;
    if (params.empty() && !vararg) c.after += "void";
    else if (vararg && !params.empty()) c.after += ", ...";
    c.after += ")" + returns->after;
    return intern(std::move(c));
}

const CTYPE *CTYPES::function_type(TYPE *t) {
    TYPE *result = record_result(t);
    const CTYPE *returns = of(result ? result : t->return_type());
    const fkPARAM *p = t->params();
    if (result) p = p->next;
    if (!t->has_proto()) {
        CTYPE c;
        c.kind = CK_func, c.part = returns, c.before = returns->before, c.after = "()" + returns->after;
        return intern(std::move(c));
    }
    std::vector<const CTYPE *> params;
    for (; p; p = p->next) params.push_back(of(p->type));
    return function(returns, params, t->is_vararg());
}

// --- records ---

CTYPES::RECORD *CTYPES::record(TYPE *t) {
    t = t->dtype;
    RECORD *&r = record_of[t];
    if (r) return r;
    r = records.emplace_back(std::make_unique<RECORD>()).get();
    r->type = t;
    std::string name = t->name() ? t->name() : "";
    if (name.empty() || name[0] == '$') name = "anon";
    r->tag = (t->is_union() ? "union " : "struct ") + tags.fresh(name);
    return r;
}

std::string CTYPES::tag(TYPE *t) { return record(t)->tag; }

const CMEMBER &CTYPES::member(TYPE *t, const fkMDATA *m) {
    RECORD *r = record(t);
    if (!r->laid_out) lay_out(r);
    static const CMEMBER none;
    auto it = r->members.find(m);
    return it == r->members.end() ? none : it->second;
}

unsigned CTYPES::natural_align(TYPE *t) {
    for (t = t->dtype; t->is_array() && !t->is_vector(); t = t->elem_type()->dtype) {}
    if (t->is_csu()) return t->align;
    const CTYPE *c = of(t);
    if (c->kind == CK_complex) c = c->part;
    if (c->kind == CK_vector) return unsigned(std::min<uint64_t>(c->bytes, 8) * 8);
    return c->bytes ? c->bits() : 8;
}

std::string CTYPES::member_name(RECORD *, const fkMDATA *m, NAMES &names) {
    std::string name = m->name && *m->name ? m->name : "anon";
    return names.fresh(name);
}

std::string CTYPES::member_line(RECORD *r, const fkMDATA *m, const std::string &name, bool packed) {
    const CTYPE *c = of(m->type);
    TYPE *d = m->type->dtype;
    std::string before = m->type->is_volatile() ? volatile_before(c->before) : c->before, after = c->after;
    if (is_incomplete_array(d)) after = "[0]" + c->part->after;
    if (m->is_bitfld()) after = " : " + std::to_string(m->width());
    for (TYPE *e = d; e->is_csu() || (e->is_array() && !e->is_vector()); e = e->elem_type()->dtype)
        if (e->is_csu()) {
            r->by_value.push_back(e);
            break;
        }
    (void)packed;
    return "    " + before + name + after + ";\n";
}

// Places the members one after the other as C would and puts padding in where the file has them further on. False
// when C would place one beyond its offset.
bool CTYPES::place_members(RECORD *r, bool packed, std::string &lines) {
    std::vector<fkMDATA *> members;
    for (fkMDATA *m = r->type->mdata(); m; m = m->next) members.push_back(m);
    std::stable_sort(members.begin(), members.end(), [](auto *a, auto *b) { return a->offset < b->offset; });
    NAMES names;
    uint64_t pos = 0;
    unsigned greatest = 8;
    auto pad_to = [&](uint64_t to) {
        auto bits = [&](uint64_t n) {
            if (n) lines += "    u8 : " + std::to_string(n) + ";\n";
            pos += n;
        };
        bits(std::min(round_up(pos, 8) - pos, to - pos));
        if (uint64_t bytes = (to - pos) / 8) {
            lines += "    u8 " + names.fresh("pad") + "[" + std::to_string(bytes) + "];\n";
            pos += bytes * 8;
        }
        bits(to - pos);
    };
    for (fkMDATA *m : members) {
        uint64_t at = uint64_t(m->offset), width = m->width();
        unsigned align = packed ? 8 : natural_align(m->type);
        if (at < pos || at + width > r->type->size) {
            if (at + width <= r->type->size || width == 0) continue; // overlaps: reached by its offset
            return false;
        }
        uint64_t natural = pos;
        if (m->is_bitfld()) {
            if (!packed && width && natural / align != (natural + width - 1) / align)
                natural = round_up(natural, align);
        } else natural = round_up(natural, align);
        if (!packed && natural != at) {
            bool crosses = m->is_bitfld() ? width && at / align != (at + width - 1) / align : at % align != 0;
            if (natural > at || crosses) return false;
        }
        if (natural != at || (packed && pos != at)) pad_to(at);
        CMEMBER &c = r->members[m];
        c.name = member_name(r, m, names), c.is_bits = m->is_bitfld();
        lines += member_line(r, m, c.name, packed);
        pos = at + width;
        greatest = std::max(greatest, align);
    }
    uint64_t end = round_up(pos, packed ? 8 : std::max(greatest, r->type->align));
    if (end > r->type->size || (!packed && greatest > r->type->align)) return false;
    if (end < r->type->size) pad_to(r->type->size);
    return true;
}

bool CTYPES::place_union(RECORD *r, bool packed, std::string &lines) {
    NAMES names;
    unsigned greatest = 8;
    uint64_t size = 0;
    for (fkMDATA *m = r->type->mdata(); m; m = m->next) {
        if (m->offset != 0 || m->width() > r->type->size) continue;
        CMEMBER &c = r->members[m];
        c.name = member_name(r, m, names), c.is_bits = m->is_bitfld();
        lines += member_line(r, m, c.name, packed);
        // A bit-field takes its container only as far as its alignment goes.
        size = std::max(size, round_up(m->width(), 8));
        greatest = std::max(greatest, packed ? 8 : natural_align(m->type));
    }
    if (greatest > r->type->align) return false;
    uint64_t end = round_up(size, packed ? 8 : r->type->align);
    if (end > r->type->size) return false;
    if (end < r->type->size)
        lines += "    u8 " + names.fresh("pad") + "[" + std::to_string(r->type->size / 8) + "];\n";
    return true;
}

void CTYPES::lay_out(RECORD *r) {
    r->laid_out = true;
    TYPE *t = r->type;
    if (!t->is_complete()) return;
    std::string lines, attributes = "may_alias";
    unsigned align = std::max(8u, t->align);
    while (align > 8 && t->size % align) align /= 2;
    auto place = [&](bool packed) {
        lines.clear();
        r->members.clear(), r->by_value.clear();
        return t->is_union() ? place_union(r, packed, lines) : place_members(r, packed, lines);
    };
    if (!place(false)) {
        attributes = "packed, " + attributes;
        if (!place(true)) { // nothing of it can be declared: bytes
            r->members.clear(), r->by_value.clear();
            lines = "    u8 bytes[" + std::to_string(t->size / 8) + "];\n";
        }
    }
    attributes += ", aligned(" + std::to_string(align / 8) + ")";
    r->text = r->tag + " {\n" + lines + "} __attribute__((" + attributes + "));\n";
    std::string bytes = std::to_string(t->size / 8);
    r->text += "_Static_assert(sizeof(" + r->tag + ") == " + bytes + " && _Alignof(" + r->tag +
               ") == " + std::to_string(align / 8) + ", \"" + r->tag + "\");\n";
    for (fkMDATA *m = t->mdata(); m; m = m->next) {
        auto it = r->members.find(m);
        if (it == r->members.end() || it->second.is_bits) continue;
        const std::string &name = it->second.name;
        r->text += "_Static_assert(__builtin_offsetof(" + r->tag + ", " + name +
                   ") == " + std::to_string(m->offset / 8) + ", \"" + r->tag + "." + name + "\");\n";
    }
}

// A record after the records that it holds by value; nesting may be deep, so the stack is explicit.
void CTYPES::emit_record(RECORD *root, std::string &out) {
    std::vector<RECORD *> stack{root};
    while (!stack.empty()) {
        RECORD *r = stack.back();
        if (r->emitted) {
            stack.pop_back();
            continue;
        }
        if (!r->laid_out) lay_out(r);
        bool ready = true;
        for (TYPE *t : r->by_value) {
            RECORD *inner = record(t);
            if (!inner->emitted && inner != r) stack.push_back(inner), ready = false;
        }
        if (!ready) continue;
        r->emitted = true;
        out += r->text;
        stack.pop_back();
    }
}

std::string CTYPES::declarations() {
    std::string bodies, heads;
    for (size_t i = 0; i < records.size(); i++)
        emit_record(records[i].get(), bodies); // may find more records
    for (auto &r : records) heads += r->tag + ";\n";
    return typedefs + heads + bodies;
}
