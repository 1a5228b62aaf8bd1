// Types: finding their declarations, making them in order, filling records.
#include <algorithm>
#include <bit>
#include <cstring>

#include "ifile/if_rtype.h"
#include "tools/text/assemble.h"

namespace {

// The declaring words, with the form they begin.
struct DECLARING_ROW {
    const char *word;
    ASSEMBLER::TYPE_DEF::FORM form;
    KIND kind;
};
constexpr DECLARING_ROW declaring_rows[] = {
    {"struct", ASSEMBLER::TYPE_DEF::RECORD, K_struct},    {"union", ASSEMBLER::TYPE_DEF::RECORD, K_union},
    {"class", ASSEMBLER::TYPE_DEF::RECORD, K_class},      {"enum", ASSEMBLER::TYPE_DEF::ENUM, K_enum},
    {"typedef", ASSEMBLER::TYPE_DEF::TYPEDEF, K_typedef},
};

const DECLARING_ROW *declaring_row(std::string_view word) {
    for (const DECLARING_ROW &row : declaring_rows)
        if (row.word == word) return &row;
    return nullptr;
}

// `words` has a blank behind each.
bool is_among(const char *words, const std::string &word) {
    return !word.empty() && (" " + std::string(words)).find(" " + word + " ") != std::string::npos;
}

bool is_tag_word(std::string_view word) {
    const DECLARING_ROW *row = declaring_row(word);
    return row && row->kind != K_typedef;
}

} // namespace

// --- finding ---

// Notes a declaration: its name, where the rest begins, and whether it has a block.
void ASSEMBLER::find_type_def() {
    TYPE_DEF def;
    const TOKEN &start = token();
    const DECLARING_ROW *row = declaring_row(f.spelling(start));
    size_t begin = pos++;
    uint32_t name_at = token().at;
    std::string key;
    if (row) {
        def.form = row->form, def.kind = row->kind;
        if (row->kind == K_typedef && token().kind == T_ID && is_type_word(f.spelling(token())))
            f.fail_at(name_at, "'%s' is a word for types and can't be a name; call it '%s.2 \"%s\"'",
                      f.value(token()).c_str(), f.value(token()).c_str(), f.value(token()).c_str());
        std::string own = name("the name of a type");
        def.name = token().kind == T_STRING ? string("the name of a type") : own;
        key = row->kind == K_typedef ? own : std::string(row->word) + " " + own;
    } else if (token(1).kind == T_PUNCT && token(1).punct == '=') {
        def.form = TYPE_DEF::NAMED;
        if (token().kind == T_ID && is_type_word(f.spelling(token())))
            f.fail_at(name_at, "%s is a word for types and can't be a name", describe(token()).c_str());
        key = name("the name of a type");
    }
    def.at = pos;
    pos = begin;
    skip_block();
    // The block of a record is read later than its head.
    for (size_t i = def.at; i < pos && f.tokens[i].kind != T_NEWLINE; i++)
        if (f.tokens[i].kind == T_PUNCT && f.tokens[i].punct == '{') {
            def.has_block = true;
            def.block = i + 1;
            break;
        }
    if (!key.empty() && !type_names.try_emplace(key, type_defs.size()).second) {
        f.error_at(name_at, "%s is declared twice", key.c_str());
        return;
    }
    type_defs.push_back(def);
}

// --- order ---

void ASSEMBLER::make_types() {
    for (size_t i = 0; i < type_defs.size(); i++) resolve(i);
    for (TYPE_DEF &def : type_defs)
        if (def.form == TYPE_DEF::RECORD && !def.failed) {
            try {
                fill_record(def);
            } catch (const BAD_TEXT &) {}
            m.package->type_frozen(def.type);
        }
}

// The types that a declaration mentions and that are not made yet, the first on top.
void ASSEMBLER::push_dependences(size_t index, std::vector<size_t> &work) {
    const TYPE_DEF &def = type_defs[index];
    if (def.form == TYPE_DEF::RECORD) return; // its head is built on nothing
    size_t from = work.size();
    // Words elsewhere are attributes, and strings the names of parameters.
    auto is_type_place = [&](size_t i) {
        const TOKEN &before = f.tokens[i - 1];
        if (i == def.at) return def.form == TYPE_DEF::UNNAMED;
        return before.kind == T_PUNCT && strchr("(,=:", before.punct);
    };
    for (size_t i = def.at; f.tokens[i].kind != T_NEWLINE; i++) {
        const TOKEN &t = f.tokens[i];
        if ((t.kind != T_ID && t.kind != T_STRING) || !is_type_place(i)) continue;
        std::string key = f.value(t);
        if (t.kind == T_ID && is_tag_word(key)) key += " " + f.value(f.tokens[++i]);
        auto found = type_names.find(key);
        if (found == type_names.end()) continue;
        TYPE_DEF &other = type_defs[found->second];
        if (other.state == TYPE_DEF::UNTOUCHED) work.push_back(found->second);
        else if (other.state == TYPE_DEF::OPEN) {
            f.error_at(t.at, "%s is built on itself", key.c_str());
            other.state = TYPE_DEF::MADE, other.failed = true, other.type = m.package->int_type();
        }
    }
    std::reverse(work.begin() + ptrdiff_t(from), work.end());
}

void ASSEMBLER::resolve(size_t index) {
    std::vector<size_t> work{index};
    while (!work.empty()) {
        size_t top = work.back();
        TYPE_DEF &def = type_defs[top];
        if (def.state == TYPE_DEF::UNTOUCHED) {
            def.state = TYPE_DEF::OPEN;
            push_dependences(top, work);
            continue;
        }
        work.pop_back();
        if (def.state == TYPE_DEF::OPEN) make_type(def);
    }
}

void ASSEMBLER::make_type(TYPE_DEF &def) {
    pos = def.at;
    try {
        switch (def.form) {
        case TYPE_DEF::RECORD: def.type = make_record(def); break;
        case TYPE_DEF::ENUM: def.type = make_enum(def); break;
        case TYPE_DEF::TYPEDEF: def.type = make_typedef(def); break;
        case TYPE_DEF::NAMED: expect_punct('=', "behind the name"); [[fallthrough]];
        case TYPE_DEF::UNNAMED:
            def.type = type();
            end_line();
            break;
        }
    } catch (const BAD_TEXT &) {
        def.failed = true;
        def.type = m.package->int_type();
    }
    def.state = TYPE_DEF::MADE;
}

// --- checks ---

void ASSEMBLER::check_layout(uint32_t at, uint64_t size, uint32_t align, uint64_t least, uint64_t most) {
    if (size < least || size > most)
        f.fail_at(at, "a size of %llu bits where %llu to %llu can be", static_cast<unsigned long long>(size),
                  static_cast<unsigned long long>(least), static_cast<unsigned long long>(most));
    bool nothing = size == 0 && align == 0;
    if (!nothing && (!std::has_single_bit(align) || align < 8 || align > MAX_TYPE_ALIGN))
        f.fail_at(at, "an alignment of %u bits", align);
}

TEXT_LAYOUT ASSEMBLER::layout(const ATTRIBUTES &a, TEXT_LAYOUT preset, uint32_t at, uint64_t least,
                              uint64_t most) {
    TEXT_LAYOUT l = {a.size == TP_SIZE ? preset.size : a.size, a.align == TP_ALIGN ? preset.align : a.align};
    check_layout(at, l.size, l.align, least, most);
    return l;
}

// --- declarations ---

TYPE *ASSEMBLER::make_typedef(TYPE_DEF &def) {
    expect_punct('=', "behind the name");
    uint32_t at = token().at;
    TYPE *named = type();
    TEXT_LAYOUT l = default_layout(K_typedef, named);
    bool cpp = false, lowered = false;
    while (token().kind == T_ID) {
        if (take_word("size")) l.size = u32("a size");
        else if (take_word("align")) l.align = u32("an alignment");
        else if (take_word("cpp")) cpp = true;
        else if (take_word("lowered")) lowered = true;
        else fail_expected("size, align, cpp or lowered");
    }
    const PSN *psn = position();
    end_line();
    check_layout(at, l.size, l.align, 0, UINT32_MAX);
    return m.package->mk_typedef(def.name.c_str(), cpp, named, l.size, l.align, lowered, psn);
}

TYPE *ASSEMBLER::make_enum(TYPE_DEF &def) {
    constexpr unsigned WIDEST = 64; // bits
    uint32_t at = token().at;
    TYPE *under = m.package->int_type();
    if (take_punct(':')) {
        under = type();
        if (!under->is_integral()) f.fail_at(at, "an enum over no integer");
    }
    TEXT_LAYOUT l = default_layout(K_enum, under);
    bool cpp = false;
    while (token().kind == T_ID) {
        if (take_word("size")) l.size = u32("a size");
        else if (take_word("align")) l.align = u32("an alignment");
        else if (take_word("cpp")) cpp = true;
        else fail_expected("size, align or cpp");
    }
    check_layout(at, l.size, l.align, 0, WIDEST);
    bool block = take_punct('{');
    const PSN *psn = position();
    end_line();
    TYPE *t = m.package->mk_enum(def.name.c_str(), under, l.size, l.align, cpp);
    t->set_psn(psn);
    t->open_list(TPL_etors);
    bool is_signed = under->is_signed();
    int64_t range = int64_t{1} << (l.size && l.size < 33 ? l.size - is_signed : 32 - is_signed), next = 0;
    for (skip_newlines(); block && !at_punct('}'); skip_newlines()) {
        std::string constant = name("the name of an enumerator");
        if (take_punct('=')) next = signed_number("an enumerator", is_signed ? -range : 0, range - 1);
        t->add_etor(constant.c_str(), next++, position());
        end_line();
    }
    m.package->type_frozen(t);
    return t;
}

TYPE *ASSEMBLER::make_record(TYPE_DEF &def) {
    uint32_t at = token().at, word = 0;
    TEXT_LAYOUT l = {0, 0};
    bool sized = false, aligned = false, incomplete = false, cpp = false, lowered = false, vector = false;
    while (token().kind == T_ID) {
        if (take_word("size")) l.size = u32("a size"), sized = true;
        else if (take_word("align")) l.align = u32("an alignment"), aligned = true;
        else if (take_word("incomplete")) incomplete = true;
        else if (take_word("cpp")) cpp = true;
        else if (take_word("lowered")) lowered = true;
        else if (take_word("vector")) vector = true;
        else if (take_word("word")) word = u32("the word of a record");
        else fail_expected("size, align, incomplete, cpp, lowered, vector or word");
    }
    if (!incomplete && (!sized || !aligned))
        f.fail_at(at, "a record needs its size and align, or is incomplete");
    if (!aligned) l.align = 8;
    take_punct('{');
    const PSN *psn = position();
    end_line();
    check_layout(at, l.size, l.align, 0, UINT32_MAX);
    TYPE *t = m.package->mk_csu(def.kind, def.name.c_str(), l.size, l.align, cpp, word, !incomplete);
    t->set_is_lowered(lowered);
    t->set_struct_vector(vector);
    t->set_psn(psn);
    return t;
}

// --- the lists of a record ---

void ASSEMBLER::fill_record(TYPE_DEF &def) {
    if (!def.has_block) return;
    pos = def.block;
    position();
    for (skip_newlines(); !at_punct('}') && token().kind != T_END; skip_newlines()) {
        uint32_t start = token().at;
        try {
            record_line(def.type);
        } catch (const BAD_TEXT &) { skip_bad(start); }
    }
    std::vector<uint32_t> indices;
    for (const fkMDATA *e = def.type->mdata(); e; e = e->next) indices.push_back(e->index);
    std::sort(indices.begin(), indices.end());
    auto twice = std::adjacent_find(indices.begin(), indices.end());
    if (twice != indices.end())
        f.fail_at(f.tokens[def.block].at, "%s has two members with the index %u", def.name.c_str(), *twice);
}

void ASSEMBLER::record_line(TYPE *t) {
    bool is_member = token(1).kind == T_PUNCT && token(1).punct == ':';
    if (is_member) return member(t);
    if (!record_list(t))
        fail_expected("a member, or base, access_decl, friend, friend_class, nested, static, method, "
                      "parameter or empty");
    end_line();
}

// What stands behind an element of a list, in any order. `allowed` has the words, each with a blank behind it.
ASSEMBLER::ELEMENT ASSEMBLER::element(const char *allowed) {
    ELEMENT e;
    while (token().kind == T_ID && is_among(allowed, f.value(token()))) {
        if (take_word("at")) e.offset = int32_t(signed_number("an offset", INT32_MIN, INT32_MAX));
        else if (take_word("access")) e.access = uint8_t(number("an access", UINT8_MAX));
        else if (take_word("virtual")) e.is_virtual = true;
        else if (take_word("word")) e.word = int32_t(signed_number("a word", INT32_MIN, INT32_MAX));
        else if (take_word("kind")) e.kind = u32("the kind of a parameter");
        else if (take_word("flags"))
            for (bool &flag : e.flags) flag = number("a flag", 1);
        else break;
    }
    return e;
}

bool ASSEMBLER::record_list(TYPE *t) {
    std::string who;
    auto named = [&](const char *what) {
        who = name(what);
        expect_punct(':', "behind the name");
    };
    if (take_word("empty")) {
        const WORD_ROW *row = token().kind == T_ID ? row_of_word(list_words, f.spelling(token())) : nullptr;
        if (!row) fail_expected("the name of a list");
        pos++;
        t->open_list(TP_LIST(row->number));
    } else if (take_word("base")) {
        uint32_t at = token().at;
        TYPE *base = type();
        if (!base->is_csu()) f.fail_at(at, "a base that is no class");
        ELEMENT e = element("at access virtual ");
        t->add_bclass(base, e.offset, e.access, e.is_virtual);
    } else if (take_word("access_decl")) t->add_adecl(0, element("access ").access);
    else if (take_word("friend")) {
        named("the name of a function");
        t->add_ffriend(who.c_str(), type_or_none());
    } else if (take_word("friend_class")) t->add_cfriend(type_or_none());
    else if (take_word("nested")) t->add_ntype(type_or_none());
    else if (take_word("static")) {
        named("the name of a static member");
        TYPE *type = type_or_none();
        t->add_sdata(who.c_str(), type, element("access ").access);
    } else if (take_word("method")) {
        named("the name of a member function");
        TYPE *type = type_or_none();
        ELEMENT e = element("word flags access ");
        t->add_mfunc(who.c_str(), type, e.access, e.word, e.flags);
    } else if (take_word("parameter")) {
        named("the name of a parameter");
        TYPE *type = this->type();
        t->add_param(type, who.c_str(), element("kind ").kind);
    } else return false;
    return true;
}

// Where the next member lies when the text does not say it.
static int64_t next_offset(const TYPE *record, const TYPE *type) {
    const fkMDATA *last = record->sub.csu->mdata.last;
    if (!last || record->kind == K_union) return 0;
    int64_t end = last->offset + int64_t(last->width()), align = type->align ? type->align : 8;
    return (end + align - 1) / align * align;
}

void ASSEMBLER::member(TYPE *t) {
    uint32_t at = token().at;
    std::string who = name("the name of a member");
    expect_punct(':', "behind the name");
    TYPE *type = this->type();
    if (type->is_void() || type->is_func()) f.fail_at(at, "a member of a type without values");
    if (type->is_csu() && !type->is_complete()) f.fail_at(at, "a member that is an incomplete record");
    int64_t offset = next_offset(t, type);
    uint32_t width = 0, index = t->sub.csu->mdata.count + 1, access = 0, fti = 0;
    bool bits = false, flag2 = false, flag3 = false;
    while (token().kind == T_ID) {
        if (take_word("at")) offset = signed_number("an offset", 0, INT32_MAX);
        else if (take_word("bits")) width = u32("the width of a bit-field"), bits = true;
        else if (take_word("width")) width = u32("a width");
        else if (take_word("index")) index = uint32_t(number("the index of a member", UINT32_MAX));
        else if (take_word("access")) access = uint32_t(number("an access", UINT8_MAX));
        else if (take_word("fti")) fti = uint32_t(number("the fti byte of a member", UINT8_MAX));
        else if (take_word("flag2")) flag2 = true;
        else if (take_word("flag3")) flag3 = true;
        else fail_expected("at, bits, width, index, access, fti, flag2 or flag3");
    }
    const PSN *psn = position();
    end_line();
    if (bits && ((!type->is_integral() && !type->is_enum()) || width > type->size))
        f.fail_at(at, "a bit-field of %u bits that its type can't hold", width);
    fkMDATA *e =
        bits ? t->add_bitfield(who.c_str(), type, offset, width) : t->add_mdata(who.c_str(), type, offset);
    e->bitsize = width, e->index = index, e->access = uint8_t(access), e->fti = uint8_t(fti);
    e->flag2 = flag2, e->flag3 = flag3;
    t->set_member_psn(e, psn);
    if (t->sub.csu->complete && uint64_t(offset) + e->width() > t->size)
        f.fail_at(at, "a member that ends at bit %llu of a record of %llu bits",
                  static_cast<unsigned long long>(uint64_t(offset) + e->width()),
                  static_cast<unsigned long long>(t->size));
}

// --- types that are written out ---

TYPE *ASSEMBLER::type_or_none() { return take_word("none") ? nullptr : type(); }

TYPE *ASSEMBLER::type() {
    const TOKEN &t = token();
    if (t.kind != T_ID && t.kind != T_STRING) fail_expected("a type");
    if (type_depth >= MAX_TYPE_DEPTH)
        f.fail_at(t.at, "types nest more than %u deep here; give the inner ones names", MAX_TYPE_DEPTH);
    struct DEEPER {
        unsigned &depth;
        explicit DEEPER(unsigned &d) : depth(d) { depth++; }
        ~DEEPER() { depth--; }
    } deeper(type_depth);
    if (t.kind == T_STRING) return declared_type();
    std::string_view word = f.spelling(t);
    if (int slot = basic_slot(word); slot >= 0 || word == "char") {
        pos++;
        return basic_type(slot >= 0 ? slot : IK_uchar, slot < 0);
    }
    if (row_of_word(qualifier_words_, word)) return qualified_type();
    if (is_type_word(word) && !is_tag_word(word)) {
        if (word == "none") fail_expected("a type");
        pos++;
        return made_type(word);
    }
    return declared_type();
}

// Attributes in brackets. `allowed` has the words that can stand here, each with a blank behind it.
ASSEMBLER::ATTRIBUTES ASSEMBLER::attributes(const char *allowed) {
    ATTRIBUTES a;
    if (!take_punct('[')) return a;
    while (!take_punct(']')) {
        std::string word = token().kind == T_ID ? f.value(token()) : "";
        if (!is_among(allowed, word))
            f.fail_at(token().at, "one of %sshould stand here, not %s", allowed, describe(token()).c_str());
        pos++;
        if (word == "size") a.size = u32("a size");
        else if (word == "align") a.align = u32("an alignment");
        else if (word == "sign") a.sign = int(number("a sign", 1));
        else if (word == "cc") a.cc = int(number("a calling convention", UINT8_MAX));
        else if (word == "plain") a.expl_sign = 0;
        else if (word == "explicit") a.expl_sign = 1;
        else if (word == "boolean") a.boolean = true;
        else if (word == "ptm") a.ptm = true;
        else if (word == "incomplete") a.incomplete = true;
        else if (word == "cpp") a.cpp = true;
        else a.noproto = true;
    }
    return a;
}

TYPE *ASSEMBLER::basic_type(int slot, bool is_char) {
    const TYPE *basic = m.package->basic[slot];
    uint32_t at = token().at;
    if (basic->kind == K_void) return m.package->void_type();
    if (basic->kind == K_float) {
        ATTRIBUTES a = attributes("size align ");
        TEXT_LAYOUT l = layout(a, {basic->size, basic->align}, at, 16, 128);
        return m.package->mk_fltpt(basic->sub.fkind, l.size, l.align);
    }
    ATTRIBUTES a = attributes(is_char ? "size align boolean ptm " : "size align boolean ptm plain explicit ");
    TEXT_LAYOUT l = layout(a, {basic->size, basic->align}, at, 1, 64);
    bool expl_sign = is_char ? false : a.expl_sign >= 0 ? a.expl_sign : basic->sub.i.expl_sign;
    return m.package->mk_int(IKIND(slot), expl_sign, l.size, l.align, a.boolean, a.ptm);
}

TYPE *ASSEMBLER::qualified_type() {
    uint32_t at = token().at;
    unsigned bits = 0;
    while (token().kind == T_ID) {
        const WORD_ROW *row = row_of_word(qualifier_words_, f.spelling(token()));
        if (!row) break;
        bits |= unsigned(row->number);
        pos++;
    }
    expect_punct('(', "behind a qualifier");
    TYPE *t = type();
    expect_punct(')', "behind the qualified type");
    TEXT_LAYOUT l = layout(attributes("size align "), default_layout(K_qual, t), at, 0, UINT32_MAX);
    return m.package->mk_qual(t, bits, l.size, l.align);
}

TYPE *ASSEMBLER::made_type(std::string_view word) {
    TYPE_PKG &p = *m.package;
    uint32_t at = f.tokens[pos - 1].at;
    expect_punct('(', "behind this word");
    if (word == "array" || word == "vector") return array_type(word == "vector", at);
    if (word == "func") return function_type(at);
    TYPE *part = type(), *of_class = nullptr;
    int binpt = 0;
    if (word == "ptm") {
        expect_punct(',', "behind the target");
        of_class = type();
        if (!of_class->is_csu()) f.fail_at(at, "a pointer to member of no class");
    } else if (word == "fixed") {
        expect_punct(',', "behind the underlying type");
        binpt = int(signed_number("the place of the point", INT8_MIN, INT8_MAX));
        if (!part->is_integral()) f.fail_at(at, "a fixed point type over no integer");
    } else if (word == "complex" && !part->is_integral() && !part->is_fltpt())
        f.fail_at(at, "a complex of no number");
    else if (word == "ref" && part->is_void()) f.fail_at(at, "a reference to void");
    expect_punct(')', "behind the parts of the type");
    ATTRIBUTES a = attributes(word == "fixed" ? "size align sign " : "size align ");
    auto measure = [&](KIND kind, uint64_t least, uint64_t most) {
        return layout(a, default_layout(kind, part), at, least, most);
    };
    if (word == "ptr" || word == "ref") {
        TEXT_LAYOUT l = measure(K_ptr, 8, 64);
        return word == "ptr" ? p.mk_ptr(part, l.size, l.align) : p.mk_ref(part, l.size, l.align);
    }
    if (word == "ptm") {
        TEXT_LAYOUT l = measure(K_ptm, 8, 256);
        return p.mk_ptm(part, of_class, l.size, l.align);
    }
    if (word == "fixed") {
        TEXT_LAYOUT l = measure(K_fixpt, 1, 64);
        return p.mk_fxtpt(part, binpt, l.size, l.align, uint8_t(a.sign >= 0 ? a.sign : part->is_signed()));
    }
    TEXT_LAYOUT l = measure(K_complex, 2 * part->size, 2 * part->size);
    return p.mk_complex(part, l.size, l.align);
}

TYPE *ASSEMBLER::array_type(bool vector, uint32_t at) {
    TYPE *elem = type();
    bool counted = take_punct(',');
    uint64_t count = counted ? number("a count", UINT32_MAX) : 0;
    expect_punct(')', "behind the parts of the array");
    ATTRIBUTES a = attributes("size align incomplete cpp ");
    if (elem->is_void() || elem->is_func()) f.fail_at(at, "an array of a type without values");
    if (elem->dtype->dims >= MAX_TYPE_NESTING) f.fail_at(at, "arrays nest too deep");
    if (vector && (!counted || !count || !elem->is_scalar()))
        f.fail_at(at, "a vector has a count of scalars");
    bool complete = counted && !a.incomplete;
    TEXT_LAYOUT preset = default_layout(K_array, elem, count, vector);
    TEXT_LAYOUT l = layout(a, preset, at, 0, UINT32_MAX);
    if (vector) {
        uint64_t lanes = elem->size * count; // three lanes may take the room of four
        if (l.size < lanes || l.size > 2 * lanes) f.fail_at(at, "a vector of another size than its lanes");
    } else {
        bool is_product = l.size == preset.size || l.size == elem->dtype->size * count;
        if (!is_product && (complete || l.size != 0))
            f.fail_at(at, "an array of another size than its elements");
    }
    return m.package->mk_array_full(elem, a.cpp, count, complete, vector, l.size, l.align);
}

TYPE *ASSEMBLER::function_type(uint32_t at) {
    struct PARAM {
        TYPE *type;
        std::string name;
        unsigned kind;
    };
    TYPE *returns = type();
    std::vector<PARAM> params;
    bool vararg = false;
    while (take_punct(',')) {
        if (token().kind == T_ELLIPSIS) {
            pos++;
            vararg = true;
            break;
        }
        PARAM p{type(), "", 0};
        if (token().kind == T_STRING) p.name = string("the name of a parameter");
        if (take_word("kind")) p.kind = u32("the kind of a parameter");
        params.push_back(p);
    }
    expect_punct(')', "behind the parameters");
    ATTRIBUTES a = attributes("noproto cc cpp ");
    if (returns->is_array() && !returns->is_vector()) f.fail_at(at, "a function that returns an array");
    if (returns->is_func()) f.fail_at(at, "a function that returns a function");
    TYPE *t = m.package->mk_func(returns, a.cpp, vararg, !a.noproto, CC_KIND(a.cc));
    t->open_list(TPL_params);
    for (const PARAM &p : params) t->add_param(p.type, p.name.c_str(), p.kind);
    m.package->type_frozen(t);
    return t;
}

TYPE *ASSEMBLER::declared_type() {
    uint32_t at = token().at;
    std::string key = f.value(f.tokens[pos++]);
    if (f.tokens[pos - 1].kind == T_ID && is_tag_word(key)) key += " " + name("the name of a type");
    auto found = type_names.find(key);
    if (found == type_names.end()) f.fail_at(at, "unknown type %s", key.c_str());
    const TYPE_DEF &def = type_defs[found->second];
    if (!def.type) f.fail_at(at, "%s is used before it can be made", key.c_str());
    return def.type;
}
