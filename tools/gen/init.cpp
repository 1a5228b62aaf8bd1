// Initial values of objects: the file gives scalars one behind the other, C wants the shape of the type.
//
// The scalars are dealt out to the parts of the object's type by their offsets. Whether every one of them arrived is
// checked at the end, bit by bit; when some did not (a float where the type has an integer, bytes in padding), the
// object is defined as a packed record of exactly these scalars under the same name for the linker.
#include <algorithm>
#include <cstring>

#include "tools/gen/gen.h"

namespace {

struct LEAF {
    uint64_t offset, bytes;
    MNODE *tree;
    bool is_int = false; // a constant whose bits are known
    uint64_t bits = 0;
    uint64_t used = 0; // bits that some part of the type took; of others all ones
};

uint64_t ones(uint64_t bytes) { return bytes >= 8 ? ~uint64_t(0) : (uint64_t(1) << bytes * 8) - 1; }

} // namespace

class INIT_GEN {
  public:
    INIT_GEN(FILE_GEN &file, MSYM *s) : g(file), symbol(s), big(is_big_endian(file.model)) {}

    INITIALISER run(MRECORD &r) {
        read(r);
        INITIALISER init;
        bool ok = part(symbol->type, 0, init.value);
        for (LEAF &l : leaves) ok &= l.is_int ? (l.bits & ~l.used) == 0 : l.used != 0;
        if (!ok) init.value.clear(), as_bytes(init);
        return init;
    }

  private:
    FILE_GEN &g;
    MSYM *symbol;
    bool big;
    std::vector<LEAF> leaves;

    void read(MRECORD &r) {
        uint64_t at = 0;
        for (MNODE *t : r.trees) {
            if (t->op == ENDINIT) break;
            if (t->op == SKIP) {
                at += uint64_t(t->value);
                continue;
            }
            const CTYPE *type = g.types.of(t->type);
            LEAF l{at, type->bytes, t};
            if (!type->bytes || type->kind == CK_record || type->kind == CK_array)
                g.fail(symbol->psn, "the initial value of '" + symbol->name + "' holds a part of type " +
                                        t->type->printstr());
            if (type->is_int()) {
                EXPR e = text(t);
                if (e.is_const) l.is_int = true, l.bits = uint64_t(e.value) & ones(l.bytes);
            }
            leaves.push_back(l);
            at += l.bytes;
        }
    }

    EXPR text(MNODE *t) {
        FUNC_GEN f(g, nullptr);
        return f.constant(t, symbol->psn);
    }

    // The leaves that lie in a range: [first, last).
    size_t first_leaf(uint64_t from) {
        auto ends = [](const LEAF &l, uint64_t at) { return l.offset + l.bytes <= at; };
        return size_t(std::lower_bound(leaves.begin(), leaves.end(), from, ends) - leaves.begin());
    }
    std::pair<size_t, size_t> range(uint64_t from, uint64_t to) {
        auto starts = [](const LEAF &l, uint64_t at) { return l.offset < at; };
        size_t first = first_leaf(from);
        auto last = std::lower_bound(leaves.begin() + long(first), leaves.end(), to, starts);
        return {first, size_t(last - leaves.begin())};
    }
    bool is_zero(uint64_t from, uint64_t to) {
        for (size_t i = first_leaf(from); i < leaves.size() && leaves[i].offset < to; i++)
            if (!leaves[i].is_int || leaves[i].bits) return false;
        return true;
    }

    // The text of the part of type `t` at an offset; empty when it is zero. False: the leaves don't fit it.
    bool part(TYPE *t, uint64_t at, std::string &out) {
        TYPE *d = t->dtype;
        if (is_zero(at, at + d->size / 8)) return true;
        if (d->is_csu()) return d->is_union() ? union_part(d, at, out) : record_part(d, at, out);
        if (d->is_array() && !d->is_vector()) return array_part(d, at, out);
        if (d->is_complex() || d->is_vector()) return wide_part(d, at, out);
        return scalar_part(t, at, out);
    }

    bool scalar_part(TYPE *t, uint64_t at, std::string &out) {
        const CTYPE *type = g.types.of(t);
        uint64_t bytes = type->bytes;
        auto [first, last] = range(at, at + bytes);
        if (first == last || !type->is_scalar()) return first == last;
        FUNC_GEN f(g, nullptr);
        if (last - first == 1 && leaves[first].offset == at && leaves[first].bytes == bytes) {
            LEAF &l = leaves[first];
            EXPR e = text(l.tree);
            if (e.type->is_float() != type->is_float()) return false;
            l.used = ~uint64_t(0);
            out = f.as_initialiser(e, type);
            return true;
        }
        uint64_t bits = 0;
        if (!gather(at, bytes * 8, 0, bits) || type->is_float()) return false;
        out = f.as_initialiser(int64_t(bits), type);
        return true;
    }

    // `width` bits from bit `bit` of the byte at an offset on, out of integer leaves. The first bit of a byte is its
    // lowest one, on a big-endian target its highest.
    bool gather(uint64_t at, uint64_t width, uint64_t bit, uint64_t &bits) {
        if (width > 64) return false;
        auto [first, last] = range(at, at + (bit + width + 7) / 8);
        bits = 0;
        for (size_t i = first; i < last; i++) {
            LEAF &l = leaves[i];
            if (!l.is_int) return false;
            for (uint64_t n = 0; n < width; n++) {
                uint64_t place = at * 8 + bit + n;
                if (place < l.offset * 8 || place >= (l.offset + l.bytes) * 8) continue;
                uint64_t mine = place - l.offset * 8;
                if (big) mine = l.bytes * 8 - 1 - mine;
                l.used |= uint64_t(1) << mine;
                bits |= (l.bits >> mine & 1) << (big ? width - 1 - n : n);
            }
        }
        return true;
    }

    bool record_part(TYPE *t, uint64_t at, std::string &out) {
        std::string list;
        for (fkMDATA *m = t->mdata(); m; m = m->next) {
            const CMEMBER &c = g.types.member(t, m);
            if (c.name.empty()) continue;
            uint64_t offset = at + uint64_t(m->offset) / 8;
            std::string value;
            if (c.is_bits) {
                uint64_t bits = 0;
                if (!gather(offset, m->width(), uint64_t(m->offset) % 8, bits)) return false;
                if (bits) value = std::to_string(bits) + (m->width() > 31 ? "ull" : "");
            } else if (!part(m->type, offset, value)) return false;
            if (!value.empty()) list += (list.empty() ? "." : ", .") + c.name + " = " + value;
        }
        out = "{" + list + "}";
        return true;
    }

    bool union_part(TYPE *t, uint64_t at, std::string &out) {
        auto [first, last] = range(at, at + t->size / 8);
        std::vector<LEAF> before(leaves.begin() + long(first), leaves.begin() + long(last));
        for (fkMDATA *m = t->mdata(); m; m = m->next) {
            const CMEMBER &c = g.types.member(t, m);
            if (c.name.empty()) continue;
            std::string value;
            bool fits;
            if (c.is_bits) {
                uint64_t bits = 0;
                fits = gather(at, m->width(), 0, bits);
                value = std::to_string(bits) + "u";
            } else fits = part(m->type, at, value);
            for (size_t i = first; fits && i < last; i++)
                fits = leaves[i].is_int ? (leaves[i].bits & ~leaves[i].used) == 0 : leaves[i].used != 0;
            if (fits) {
                out = "{." + c.name + " = " + (value.empty() ? "{0}" : value) + "}";
                return true;
            }
            std::copy(before.begin(), before.end(), leaves.begin() + long(first));
        }
        return false;
    }

    bool array_part(TYPE *t, uint64_t at, std::string &out) {
        TYPE *elem = t->elem_type();
        uint64_t size = elem->size / 8, n = t->num_elem();
        if (size == 0) return true;
        if (as_string(elem, at, n, out)) return true;
        uint64_t expected = 0;
        out = "{";
        for (uint64_t i = 0; i < n;) {
            size_t first = first_leaf(at + i * size);
            if (first == leaves.size() || leaves[first].offset >= at + n * size) break;
            i = std::max(i, (leaves[first].offset - at) / size); // over what is zero
            std::string value;
            if (!part(elem, at + i * size, value)) return false;
            if (!value.empty()) {
                if (out.size() > 1) out += expected % 8 == 0 ? ",\n    " : ", ";
                if (i != expected) out += "[" + std::to_string(i) + "] = ";
                out += value;
                expected = i + 1;
            }
            i++;
        }
        out += "}";
        return true;
    }

    // Bytes that read as text.
    bool as_string(TYPE *elem, uint64_t at, uint64_t n, std::string &out) {
        if (!elem->is_integral() || elem->size != 8) return false;
        auto [first, last] = range(at, at + n);
        // Far apart they are no text, and the bytes between need not be made.
        if (first < last && 2 * (last - first) < leaves[last - 1].offset - at) return false;
        std::string bytes;
        size_t readable = 0;
        for (size_t i = first; i < last; i++) {
            const LEAF &l = leaves[i];
            if (!l.is_int || l.bytes != 1) return false;
            bytes.resize(l.offset - at, '\0');
            bytes += char(l.bits);
            readable += (l.bits >= 32 && l.bits < 127) || l.bits == '\n';
        }
        while (!bytes.empty() && !bytes.back()) bytes.pop_back();
        if (readable * 2 < bytes.size()) return false;
        for (size_t i = first; i < last; i++) leaves[i].used = ~uint64_t(0);
        out = c_string(bytes);
        return true;
    }

    bool wide_part(TYPE *t, uint64_t at, std::string &out) {
        const CTYPE *type = g.types.of(t);
        auto [first, last] = range(at, at + type->bytes);
        if (type->kind == CK_none) return false;
        if (last - first == 1 && leaves[first].bytes == type->bytes) {
            EXPR e = text(leaves[first].tree);
            leaves[first].used = ~uint64_t(0);
            out = e.text;
            return e.type == type;
        }
        bool complex = type->kind == CK_complex;
        if (complex && !type->part->is_float()) return false;
        TYPE *part_type = complex ? t->part_type() : t->elem_type();
        uint64_t n = complex ? 2 : type->lanes;
        for (uint64_t i = 0; i < n; i++) {
            std::string value;
            if (!part(part_type, at + i * type->part->bytes, value)) return false;
            if (value.empty())
                value = type->part->is_float() ? (type->part->kind == CK_f32 ? "0.0f" : "0.0") : "0";
            out += (i ? ", " : "") + value;
        }
        out = complex ? "__builtin_complex(" + out + ")" : "{" + out + "}";
        return true;
    }

    void as_bytes(INITIALISER &init) {
        uint64_t at = 0;
        size_t n = 0;
        auto gap = [&](uint64_t to) {
            if (to > at)
                init.members += "    u8 gap" + std::to_string(++n) + "[" + std::to_string(to - at) + "];\n";
            at = to;
        };
        FUNC_GEN f(g, nullptr);
        for (LEAF &l : leaves) {
            gap(l.offset);
            const CTYPE *type = g.types.of(l.tree->type);
            std::string name = "part" + std::to_string(++n);
            init.members += "    " + type->declare(name) + ";\n";
            EXPR e = text(l.tree);
            init.raw += (init.raw.empty() ? "." : ", .") + name + " = " +
                        (type->is_scalar() ? f.as_initialiser(e, type) : e.text);
            at += l.bytes;
        }
        gap(symbol->size / 8);
        init.raw = "{" + init.raw + "}";
    }
};

INITIALISER initialiser(FILE_GEN &g, MSYM *s, MRECORD &r) { return INIT_GEN(g, s).run(r); }
