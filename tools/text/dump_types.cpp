// Types as text: names, expressions, declarations.
#include <algorithm>
#include <cstring>

#include "tools/text/dump.h"
#include "tools/text/lex.h"

namespace {

constexpr size_t LONGEST_INLINE = 48; // bytes of a type that is written out wherever it is meant

const char *declaring_word(const TYPE *t) {
    switch (t->kind) {
    case K_struct: return "struct";
    case K_union: return "union";
    case K_class: return "class";
    case K_enum: return "enum";
    case K_typedef: return "typedef";
    default: return nullptr;
    }
}

std::string as_name(const std::string &name) {
    if (is_plain_name(name)) return name;
    std::string quoted;
    append_quoted(quoted, name);
    return quoted;
}

// A number made from a text, the same in every run.
unsigned content_number(const std::string &text) {
    uint64_t hash = 0xCBF29CE484222325u;
    for (char c : text) hash = (hash ^ uint8_t(c)) * 0x100000001B3u;
    return unsigned((hash ^ hash >> 20 ^ hash >> 40) & 0xFFFFF);
}

// The bracketed attributes behind a type, each with a blank in front.
struct ATTRIBUTES {
    std::string text;
    void word(bool on, const char *name) {
        if (!on) return;
        text += text.empty() ? "" : " ";
        text += name;
    }
    void number(const char *name, uint64_t v) {
        word(true, (std::string(name) + " " + std::to_string(v)).c_str());
    }
    void layout(const TYPE *t, TEXT_LAYOUT preset) {
        if (t->size != preset.size) number("size", t->size);
        if (t->align != preset.align) number("align", t->align);
    }
    std::string bracketed() const { return text.empty() ? text : "[" + text + "]"; }
};

std::string qualifiers(unsigned bits) {
    std::string words;
    for (const WORD_ROW *row = qualifier_words_; row->word; row++)
        if (bits & unsigned(row->number)) words += (words.empty() ? "" : " ") + std::string(row->word);
    return words;
}

} // namespace

std::string NAMER::name(const std::string &real) {
    if (used.insert(real).second) return real;
    for (unsigned &n = next.try_emplace(real, 2).first->second;; n++) {
        std::string other = real + "." + std::to_string(n);
        if (!taken.count(other) && used.insert(other).second) return other;
    }
}

const std::string &DUMPER::type_text(const TYPE *t) {
    static const std::string none = "none";
    if (!t) return none;
    auto found = type_texts.find(t);
    if (found != type_texts.end()) return found->second;
    return type_texts[t] = type_expression(t);
}

// What a type is, from the texts of its parts.
std::string DUMPER::type_expression(const TYPE *t) {
    TYPE_PKG &p = *m.package;
    ATTRIBUTES more;
    std::string text;
    switch (t->kind) {
    case K_int: {
        IKIND kind = t->sub.i.ikind;
        const TYPE *basic = p.basic[kind];
        bool is_char = kind == IK_uchar && !t->sub.i.expl_sign;
        text = is_char ? "char" : basic_names[kind];
        more.word(!is_char && t->sub.i.expl_sign != basic->sub.i.expl_sign,
                  t->sub.i.expl_sign ? "explicit" : "plain");
        more.layout(t, {basic->size, basic->align});
        more.word(t->sub.i.is_boolean, "boolean");
        more.word(t->sub.i.is_ptm, "ptm");
        break;
    }
    case K_float: {
        const TYPE *basic = p.basic[BT_float + int(t->sub.fkind)];
        text = basic_names[BT_float + int(t->sub.fkind)];
        more.layout(t, {basic->size, basic->align});
        break;
    }
    case K_void: text = "void"; break;
    case K_fixpt:
        text = "fixed(" + type_text(t->sub.part) + ", " + std::to_string(t->sub2.fx.binpt) + ")";
        more.layout(t, default_layout(K_fixpt, t->sub.part));
        if (t->sub2.fx.sign != t->sub.part->is_signed()) more.number("sign", t->sub2.fx.sign);
        break;
    case K_complex:
    case K_ptr:
    case K_ref:
        text = t->kind == K_complex ? "complex(" : t->kind == K_ptr ? "ptr(" : "ref(";
        text += type_text(t->sub.part) + ")";
        more.layout(t, default_layout(t->kind, t->sub.part));
        break;
    case K_qual:
        text = qualifiers(t->sub2.own_qual) + "(" + type_text(t->sub.part) + ")";
        more.layout(t, default_layout(K_qual, t->sub.part));
        break;
    case K_array: {
        const tpARRAY &a = *t->sub.arr;
        text = (a.vector ? "vector(" : "array(") + type_text(a.elem_type);
        bool counted = a.complete || a.vector || a.count;
        if (counted) text += ", " + std::to_string(a.count);
        text += ")";
        more.layout(t, default_layout(K_array, a.elem_type, a.count, a.vector));
        more.word(counted && !a.complete, "incomplete");
        more.word(t->cpp, "cpp");
        break;
    }
    case K_ptm:
        text = "ptm(" + type_text(t->sub.part) + ", " + type_text(t->sub2.of_class) + ")";
        more.layout(t, default_layout(K_ptm, t->sub.part));
        break;
    case K_func: {
        const tpFUNC &f = *t->sub.fn;
        text = "func(" + type_text(f.return_type);
        for (const fkPARAM *param = f.params.first; param; param = param->next) {
            text += ", " + type_text(param->type);
            if (*param->name) {
                text += ' ';
                append_quoted(text, param->name);
            }
            if (param->kind) text += " kind " + std::to_string(param->kind);
        }
        text += f.vararg ? ", ...)" : ")";
        more.word(!f.proto, "noproto");
        if (f.cc) more.number("cc", f.cc);
        more.word(t->cpp, "cpp");
        break;
    }
    default: break; // the others are declared
    }
    return text + more.bracketed();
}

void DUMPER::name_types() {
    TYPE_PKG &p = *m.package;
    for (int i = 0; i < BT_count; i++)
        if (basic_names[i]) type_texts[p.basic[i]] = basic_names[i];
    walk_type_tree(p.root, [&](TYPE *t) {
        if (std::find(std::begin(p.basic), std::end(p.basic), t) == std::end(p.basic))
            file_types.push_back(t);
    });
    std::sort(file_types.begin(), file_types.end(), [](TYPE *a, TYPE *b) { return a->uid < b->uid; });

    // Records and enums are called by word and name, so that the names of different words do not collide.
    auto key = [](const TYPE *t) {
        return (t->kind == K_typedef ? std::string() : std::string(declaring_word(t)) + " ") + t->name();
    };
    for (const TYPE *t : file_types)
        if (declaring_word(t)) type_names.taken.insert(key(t));
    for (const TYPE *t : file_types) {
        if (const char *word = declaring_word(t)) {
            if (is_type_word(key(t))) type_names.used.insert(key(t));
            std::string name = type_names.name(key(t));
            if (t->kind != K_typedef) name.erase(0, strlen(word) + 1);
            declarators[t] = name;
            type_texts[t] = t->kind == K_typedef ? as_name(name) : std::string(word) + " " + as_name(name);
            continue;
        }
        std::string text = type_expression(t);
        if (text.size() <= LONGEST_INLINE) {
            type_texts[t] = text;
            continue;
        }
        char number[16];
        snprintf(number, sizeof number, "_%05x", content_number(text));
        std::string made = type_names.name(text.substr(0, text.find_first_of(" (")) + number);
        type_texts[t] = declarators[t] = made;
        long_types[t] = text;
    }
}

void DUMPER::dump_types() {
    for (const TYPE *t : file_types) {
        dump_type(t);
        flush(1 << 16);
    }
    if (!file_types.empty()) out += '\n';
}

namespace {

void layout_words(std::string &out, const TYPE *t, bool always, TEXT_LAYOUT preset) {
    if (always || t->size != preset.size) out += " size " + std::to_string(t->size);
    if (always || t->align != preset.align) out += " align " + std::to_string(t->align);
}

// The name in the text, and the real one when that is another.
std::string names_of(const TYPE *t, const std::string &declarator) {
    std::string text = as_name(declarator);
    if (declarator == t->name()) return text;
    text += ' ';
    append_quoted(text, t->name());
    return text;
}

const PSN *position_of(const PSN &psn) { return psn.file ? &psn : nullptr; }

} // namespace

void DUMPER::dump_type(const TYPE *t) {
    switch (t->kind) {
    case K_typedef: {
        const TYPE *named = t->sub.td->type_named;
        out += "typedef " + names_of(t, declarators[t]) + " = " + type_text(named);
        layout_words(out, t, false, default_layout(K_typedef, named));
        if (t->cpp) out += " cpp";
        if (t->sub.td->lowered) out += " lowered";
        position(position_of(t->psn));
        out += '\n';
        break;
    }
    case K_enum: dump_enum(t); break;
    case K_class:
    case K_struct:
    case K_union: dump_record(t); break;
    default:
        if (long_types.count(t)) out += "type " + declarators[t] + " = " + long_types[t] + "\n";
        else out += "type " + type_text(t) + "\n";
    }
}

void DUMPER::dump_enum(const TYPE *t) {
    const tpENUM &e = *t->sub.en;
    const TYPE *under = e.underlying_type;
    out += "enum " + names_of(t, declarators[t]);
    if (under != m.package->int_type()) out += " : " + type_text(under);
    layout_words(out, t, false, {under->size, under->align});
    if (t->cpp) out += " cpp";
    if (e.etors.empty()) {
        position(position_of(t->psn));
        out += '\n';
        return;
    }
    out += " {";
    position(position_of(t->psn));
    out += '\n';
    for (const ETOR *etor = e.etors.first; etor; etor = etor->next) {
        out += "  " + as_name(etor->name) + " = " + std::to_string(etor->value);
        position(position_of(etor->psn));
        out += '\n';
    }
    out += "}\n";
}

void DUMPER::dump_record(const TYPE *t) {
    const tpCSU &c = *t->sub.csu;
    out += type_text(t);
    if (declarators[t] != t->name()) {
        out += ' ';
        append_quoted(out, t->name());
    }
    layout_words(out, t, true, {});
    if (!c.complete) out += " incomplete";
    if (t->cpp) out += " cpp";
    if (c.low) out += " lowered";
    if (c.struct_vector) out += " vector";
    if (c.word) out += " word " + std::to_string(c.word);
    if (c.lists) out += " {";
    position(position_of(t->psn));
    out += '\n';
    if (!c.lists) return;
    dump_record_lists(t);
    out += "}\n";
}

void DUMPER::dump_record_lists(const TYPE *t) {
    const tpCSU &c = *t->sub.csu;
    auto end_line = [&](uint8_t access) {
        if (access) out += " access " + std::to_string(access);
        out += '\n';
    };
    auto is_empty = [&](TP_LIST list) {
        switch (list) {
        case TPL_bclass: return c.bclass.empty();
        case TPL_adecl: return c.adecl.empty();
        case TPL_ffriend: return c.ffriend.empty();
        case TPL_cfriend: return c.cfriend.empty();
        case TPL_ntype: return c.ntype.empty();
        case TPL_mdata: return c.mdata.empty();
        case TPL_sdata: return c.sdata.empty();
        case TPL_mfunc: return c.mfunc.empty();
        default: return c.params.empty();
        }
    };
    for (const WORD_ROW *row = list_words; row->word; row++)
        if (t->has_list(TP_LIST(row->number)) && is_empty(TP_LIST(row->number)))
            out += "  empty " + std::string(row->word) + "\n";
    for (const fkBCLASS *e = c.bclass.first; e; e = e->next) {
        out += "  base " + type_text(e->type) + " at " + std::to_string(e->offset);
        if (e->is_virtual) out += " virtual";
        end_line(e->access);
    }
    for (const fkADECL *e = c.adecl.first; e; e = e->next) {
        out += "  access_decl";
        end_line(e->access);
    }
    for (const fkFFRIEND *e = c.ffriend.first; e; e = e->next)
        out += "  friend " + as_name(e->name) + " : " + type_text(e->type) + "\n";
    for (const fkCFRIEND *e = c.cfriend.first; e; e = e->next)
        out += "  friend_class " + type_text(e->type) + "\n";
    for (const fkNTYPE *e = c.ntype.first; e; e = e->next) out += "  nested " + type_text(e->type) + "\n";
    dump_members(t);
    for (const fkSDATA *e = c.sdata.first; e; e = e->next) {
        out += "  static " + as_name(e->name) + " : " + type_text(e->type);
        end_line(e->access);
    }
    for (const fkMFUNC *e = c.mfunc.first; e; e = e->next) {
        out += "  method " + as_name(e->name) + " : " + type_text(e->type);
        if (e->word) out += " word " + std::to_string(e->word);
        if (e->flags[0] || e->flags[1] || e->flags[2] || e->flags[3]) {
            out += " flags";
            for (bool flag : e->flags) out += flag ? " 1" : " 0";
        }
        end_line(e->access);
    }
    for (const fkPARAM *e = c.params.first; e; e = e->next) {
        out += "  parameter " + as_name(e->name) + " : " + type_text(e->type);
        if (e->kind) out += " kind " + std::to_string(e->kind);
        out += '\n';
    }
}

void DUMPER::dump_members(const TYPE *t) {
    uint32_t number = 0;
    for (const fkMDATA *e = t->sub.csu->mdata.first; e; e = e->next) {
        out += "  " + as_name(e->name) + " : " + type_text(e->type) + " at " + std::to_string(e->offset);
        if (e->bitfld) out += " bits " + std::to_string(e->bitsize);
        else if (e->bitsize) out += " width " + std::to_string(e->bitsize);
        if (e->index != ++number) out += " index " + std::to_string(e->index);
        if (e->access) out += " access " + std::to_string(e->access);
        if (e->fti) out += " fti " + std::to_string(e->fti);
        if (e->flag2) out += " flag2";
        if (e->flag3) out += " flag3";
        position(position_of(e->psn));
        out += '\n';
    }
}

const std::string &DUMPER::member_text(const TYPE *csu, const fkMDATA *member) {
    static const std::string nothing = "0";
    if (!member) return nothing;
    const TYPE *record = csu->getr_csu();
    if (named_members.insert(record).second) {
        std::unordered_map<std::string, unsigned> counts;
        for (const fkMDATA *e = record->mdata(); e; e = e->next) counts[e->name]++;
        for (const fkMDATA *e = record->mdata(); e; e = e->next)
            member_texts[e] = *e->name && counts[e->name] == 1 ? as_name(e->name) : std::to_string(e->index);
    }
    return member_texts[member];
}
