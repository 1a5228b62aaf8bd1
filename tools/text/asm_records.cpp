// Symbols, initialisers, and the records of the main stream.
#include <algorithm>
#include <cstring>

#include "tools/text/assemble.h"

namespace {

constexpr unsigned LARGEST_PRAGMA_COUNT = 127; // on one symbol; the file's field is a signed byte
constexpr unsigned LARGEST_VECTOR = 255;       // elements of a dependence vector
constexpr unsigned VECTOR_FLAGS = 15, VECTOR_IS_EMPTY = 4;

} // namespace

// --- symbols ---

MSYM *ASSEMBLER::find_symbol(const TOKEN &t) {
    auto &table = t.kind == T_GLOBAL ? globals : locals;
    auto found = table.find(f.value(t));
    if (found == table.end())
        f.fail_at(t.at, "unknown %s symbol %s", t.kind == T_GLOBAL ? "global" : "local", describe(t).c_str());
    return found->second;
}

MSYM *ASSEMBLER::maybe_symbol() {
    if (token().kind != T_GLOBAL && token().kind != T_LOCAL) return nullptr;
    MSYM *s = find_symbol(token());
    pos++;
    return s;
}

PRAGMA *ASSEMBLER::pragma() {
    const TOKEN &t = token();
    int number = -1;
    if (t.kind == T_NUMBER) number = int(this->number("the number of a pragma", UINT8_MAX));
    else {
        std::string who = name("the name of a pragma");
        for (int i = 0; i < N_PRAGMAS; i++)
            if (who == PRAGMA::name(i)) number = i;
        if (number < 0) f.fail_at(t.at, "unknown pragma %s", who.c_str());
    }
    std::vector<std::string> args;
    if (take_punct('(')) {
        while (!at_punct(')')) {
            args.push_back(string("an argument of the pragma"));
            if (!take_punct(',')) break;
        }
        expect_punct(')', "behind the arguments of the pragma");
    }
    return m.pragma(number, args);
}

void ASSEMBLER::symbol_attribute(MSYM *s) {
    const TOKEN &t = token();
    if (take_word("class")) s->sclass = int(number("a storage class", INT8_MAX));
    else if (take_word("source")) s->cpp_type = type_or_none();
    else if (take_word("size")) s->size = u32("a size");
    else if (take_word("align")) s->align = u32("an alignment");
    else if (take_word("value")) s->value = u32("a value");
    else if (take_word("quals")) s->cqual = int(number("qualifiers", UINT16_MAX));
    else if (take_word("location")) s->location = u32("a location");
    else if (take_word("policy")) {
        const WORD_ROW *row = token().kind == T_ID ? row_of_word(policy_words, f.spelling(token())) : nullptr;
        if (!row) fail_expected("default, always, external or never");
        pos++;
        s->policy = uint8_t(row->number);
    } else if (take_word("options")) {
        s->option_set = u32("the number of an option set");
        if (s->option_set >= std::max<size_t>(1, m.options.size()))
            f.fail_at(t.at, "option set %u where there are %zu", s->option_set, m.options.size());
    } else if (take_word("pragma")) {
        m.add_pragma(s, pragma());
        if (unsigned(s->sym_prag_num()) > LARGEST_PRAGMA_COUNT)
            f.fail_at(t.at, "more than %u pragmas on a symbol", LARGEST_PRAGMA_COUNT);
    } else fail_expected("class, source, size, align, value, quals, policy, options, location or pragma");
}

// A declaration: keyword, name, real name, type, attributes, position. The symbol is known even when its
// declaration turns out to be bad, so that its uses are not complained about.
MSYM *ASSEMBLER::symbol(TOKEN_KIND kind) {
    const WORD_ROW *row = row_of_word(storage_words, f.spelling(token()));
    pos++;
    const TOKEN &t = token();
    if (t.kind != kind) fail_expected(kind == T_GLOBAL ? "the @name of a global" : "the %name of a local");
    std::string key = f.value(t);
    pos++;
    if (key.find('\0') != key.npos) f.fail_at(t.at, "a NUL byte in a name");
    MSYM &s = m.symbol_arena.emplace_back();
    s.sclass = row ? row->number : 0;
    s.type = m.package->int_type();
    auto &table = kind == T_GLOBAL ? globals : locals;
    if (!table.try_emplace(key, &s).second) f.error_at(t.at, "%s is declared twice", describe(t).c_str());
    s.name = token().kind == T_STRING ? string("the name of a symbol") : key;
    expect_punct(':', "before the type of a symbol");
    s.type = s.cpp_type = type();
    TEXT_LAYOUT layout = default_symbol_layout(s.type);
    s.size = uint32_t(layout.size), s.align = layout.align;
    bool has_class = row != nullptr;
    while (token().kind == T_ID) {
        has_class |= at_word("class");
        symbol_attribute(&s);
    }
    if (!has_class) f.error_at(t.at, "a symbol without a class");
    s.psn = position();
    end_line();
    return &s;
}

void ASSEMBLER::global_symbol() { m.globals.push_back(symbol(T_GLOBAL)); }

// --- initialisers ---

void ASSEMBLER::initialiser() {
    pos++;
    const TOKEN &t = token();
    if (t.kind != T_GLOBAL) fail_expected("the @name of a global");
    MSYM *s = find_symbol(t);
    pos++;
    if (s->is_function()) f.fail_at(t.at, "an initialiser of a function");
    if (!initialised.insert(s).second) f.fail_at(t.at, "a second initialiser of %s", describe(t).c_str());
    expect_punct('{', "behind the name");
    MRECORD r;
    r.tag = IF_INIT, r.sym = s;
    bool ended = false;
    for (skip_newlines(); !at_punct('}'); skip_newlines()) {
        uint32_t at = token().at;
        if (ended) f.fail_at(at, "something behind ENDINIT");
        r.trees.push_back(tree());
        ended = r.trees.back()->op == ENDINIT;
    }
    pos++;
    end_line();
    if (!ended) r.trees.push_back(m.node(ENDINIT, m.package->void_type()));
    m.inits.push_back(std::move(r));
}

// --- functions ---

const ASSEMBLER::LINE_ROW ASSEMBLER::line_rows[] = {
    {"locals", P_ARGS, &ASSEMBLER::line_locals},     {"body", P_FUNCTION, &ASSEMBLER::line_body},
    {"block", P_BODY, &ASSEMBLER::line_block},       {"endblock", P_BODY, &ASSEMBLER::line_endblock},
    {"asm", P_ANYWHERE, &ASSEMBLER::line_asm},       {"comment", P_ANYWHERE, &ASSEMBLER::line_comment},
    {"source", P_ANYWHERE, &ASSEMBLER::line_source}, {"pragma", P_ANYWHERE, &ASSEMBLER::line_pragma},
    {"bank", P_ANYWHERE, &ASSEMBLER::line_bank},     {"loop", P_FUNCTION, &ASSEMBLER::line_loop},
    {"inloop", P_BODY, &ASSEMBLER::line_inloop},     {"vector", P_FUNCTION, &ASSEMBLER::line_vector},
    {"edge", P_FUNCTION, &ASSEMBLER::line_edge},     {"ldspec", P_FUNCTION, &ASSEMBLER::line_ldspec},
    {"info", P_FUNCTION, &ASSEMBLER::line_info},     {"exceptions", P_FUNCTION, &ASSEMBLER::line_exceptions},
};

const ASSEMBLER::LINE_ROW *ASSEMBLER::find_line(std::string_view word) {
    auto row =
        std::find_if(std::begin(line_rows), std::end(line_rows), [&](auto &r) { return word == r.word; });
    return row == std::end(line_rows) ? nullptr : row;
}

MRECORD &ASSEMBLER::record(int tag) {
    MRECORD &r = func ? func->records.emplace_back() : m.items.emplace_back().record;
    r.tag = tag;
    return r;
}

void ASSEMBLER::end_arguments() {
    record(I_EA);
    place = P_LOCALS;
}

void ASSEMBLER::end_locals() {
    record(I_EL);
    place = P_BODY;
}

// Ends the arguments and the locals when what comes can only stand behind them.
void ASSEMBLER::make_place(TEXT_PLACE allowed, const TOKEN &t, const std::string &what) {
    if (allowed & place) return;
    if (!(allowed & P_BODY) || place == P_OUTSIDE) {
        const char *where = place == P_BODY ? "in a body" : place == P_LOCALS ? "among the locals" : "here";
        f.fail_at(t.at, "%s can't stand %s", what.c_str(), where);
    }
    if (place == P_ARGS) end_arguments();
    end_locals();
}

void ASSEMBLER::local_symbol() {
    const TOKEN &t = token();
    if (place == P_BODY && (block_locals_ended.empty() || block_locals_ended.back()))
        f.error_at(t.at, "a symbol behind the end of the locals");
    MSYM *s = symbol(T_LOCAL);
    const WORD_ROW *row = row_of_word(storage_words, f.spelling(t));
    if (place == P_ARGS && row && storage_ends_arguments(row->number)) end_arguments();
    record(IF_SYMBOL).sym = s;
}

bool ASSEMBLER::label_line() {
    int number = label_number(token());
    bool colon = token(1).kind == T_PUNCT && token(1).punct == ':';
    if (number < 0 || !colon || token(2).kind != T_NEWLINE) return false;
    uint32_t at = token().at;
    if (!number) f.fail_at(at, "labels count from 1");
    make_place(P_BODY, token(), "a label");
    pos += 2;
    end_line();
    auto [known, is_new] = labels.try_emplace(number, at);
    if (!is_new) f.warn_at(at, "label L%d twice in a function", number);
    record(IF_LABEL).n[0] = uint32_t(number);
    return true;
}

void ASSEMBLER::statement() {
    const TOKEN &t = token();
    make_place(P_BODY, t, "a statement");
    MNODE *n = tree();
    if (n->op == ENDINIT) f.fail_at(t.at, "ENDINIT outside an initialiser");
    const PSN *psn = position();
    end_line();
    MRECORD &r = record(IF_STATEMENT);
    r.tree = n, r.psn = psn;
}

void ASSEMBLER::line() {
    const TOKEN &t = token();
    if (t.kind == T_ID) {
        std::string_view word = f.spelling(t);
        if (word == "symbol" || row_of_word(storage_words, word)) return local_symbol();
        if (const LINE_ROW *row = find_line(word)) {
            make_place(TEXT_PLACE(row->where), t, row->word);
            pos++;
            return (this->*row->read)();
        }
        if (label_line()) return;
    }
    statement();
}

void ASSEMBLER::function() {
    pos++;
    const TOKEN &t = token();
    if (t.kind != T_GLOBAL) fail_expected("the @name of a function");
    MSYM *s = find_symbol(t);
    if (!s->is_function()) f.fail_at(t.at, "a body of %s, which is no function", describe(t).c_str());
    if (!bodies.insert(s).second) f.fail_at(t.at, "a second body of %s", describe(t).c_str());
    pos++;
    const PSN *psn = position();
    end_line();

    m.items.emplace_back().func = std::make_unique<MFUNC>();
    func = m.items.back().func.get();
    func->symbol = s;
    place = P_ARGS;
    locals.clear(), loops.clear(), labels.clear(), labels_used.clear(), block_locals_ended.clear();
    vectors = 0;
    has_exceptions = false;
    MRECORD &begin = record(I_BF);
    begin.sym = s, begin.psn = psn;
    for (skip_newlines(); !(at_word("end") && is_line_start(pos)) && token().kind != T_END; skip_newlines()) {
        uint32_t start = token().at;
        try {
            line();
        } catch (const BAD_TEXT &) {
            skip_bad(start);
            if (take_punct('}')) end_line(); // of the block that broke off
        }
    }
    uint32_t at = token().at;
    pos++;
    make_place(P_BODY, token(), "end");
    if (!block_locals_ended.empty()) f.error_at(at, "%zu blocks are open", block_locals_ended.size());
    record(I_EF).psn = position();
    func = nullptr;
    place = P_OUTSIDE;
    end_line();
    check_labels();
}

void ASSEMBLER::check_labels() {
    for (auto [at, number] : labels_used)
        if (!labels.count(number)) f.warn_at(at, "label L%d is nowhere in the function", number);
}

void ASSEMBLER::line_locals() {
    end_arguments();
    func->records.back().psn = position();
    end_line();
}

void ASSEMBLER::line_body() {
    uint32_t at = f.tokens[pos - 1].at;
    if (place == P_ARGS) end_arguments();
    if (place == P_BODY) {
        if (block_locals_ended.empty() || block_locals_ended.back()) f.fail_at(at, "a second body");
        block_locals_ended.back() = true;
    }
    end_locals();
    func->records.back().psn = position();
    end_line();
}

void ASSEMBLER::line_block() {
    record(I_BB).psn = position();
    block_locals_ended.push_back(false);
    end_line();
}

void ASSEMBLER::line_endblock() {
    if (block_locals_ended.empty()) f.fail_at(f.tokens[pos - 1].at, "the end of a block where none is open");
    block_locals_ended.pop_back();
    record(I_EB).psn = position();
    end_line();
}

// --- records of one line ---

void ASSEMBLER::line_asm() {
    std::string text = string("the text of the assembly");
    const PSN *psn = position();
    end_line();
    MRECORD &r = record(IF_ASSEMBLY);
    r.text = text, r.psn = psn;
}

void ASSEMBLER::line_comment() {
    std::string text = string("the text of the comment");
    end_line();
    record(IF_COMMENT).text = text;
}

void ASSEMBLER::line_source() {
    std::string text = string("the name of the source file");
    end_line();
    record(IF_SOURCE).text = text;
}

void ASSEMBLER::line_pragma() {
    PRAGMA *p = pragma();
    end_line();
    record(IF_PRAGMA).pragma = p;
}

void ASSEMBLER::line_bank() {
    uint32_t words[5];
    for (uint32_t &w : words) w = u32("a word of the memory bank");
    end_line();
    std::copy(words, words + 5, record(IF_MBANK).n);
}

void ASSEMBLER::line_loop() {
    const TOKEN &t = token();
    uint32_t number = u32("the number of a loop"), n[6] = {number, number, 0, 0, 1, 0};
    while (token().kind == T_ID) {
        const TOKEN &word = token();
        if (take_word("in")) {
            n[1] = u32("the number of a loop");
            if (n[1] != number && !loops.count(n[1])) f.fail_at(word.at, "loop %u is not there", n[1]);
        } else if (take_word("min")) n[2] = u32("a count of trips");
        else if (take_word("max")) n[3] = u32("a count of trips");
        else if (take_word("factor")) n[4] = u32("a trip factor");
        else if (take_word("flags")) n[5] = uint32_t(this->number("flags", UINT16_MAX));
        else fail_expected("in, min, max, factor or flags");
    }
    end_line();
    if (!loops.insert(number).second) f.fail_at(t.at, "loop %u twice in a function", number);
    std::copy(n, n + 6, record(IF_LOOP).n);
}

void ASSEMBLER::line_inloop() {
    const TOKEN &t = token();
    uint32_t number = u32("the number of a loop"), flags = 0;
    MSYM *s = maybe_symbol();
    if (s && take_word("flags")) flags = uint32_t(this->number("flags", UINT8_MAX));
    end_line();
    if (!loops.count(number)) f.fail_at(t.at, "loop %u is not there", number);
    MRECORD &r = record(IF_INLOOP);
    r.n[0] = number, r.n[1] = flags, r.sym = s;
}

void ASSEMBLER::line_vector() {
    const TOKEN &t = token();
    uint32_t id = u32("the number of a dependence vector"), flags = 0;
    if (id != vectors) f.fail_at(t.at, "dependence vector %u where %u should come", id, vectors);
    if (take_word("flags")) flags = uint32_t(number("flags", VECTOR_FLAGS));
    std::vector<MRECORD::ELEMENT> elements;
    while (take_punct('(')) {
        MRECORD::ELEMENT e = {0, 0};
        if (token().kind == T_ID) {
            for (char c : f.spelling(token())) {
                const WORD_ROW *row = row_of_word(element_letters, std::string_view(&c, 1));
                if (!row) fail_expected("letters of B, S, F and O");
                e.flags |= uint8_t(row->number);
            }
            pos++;
        }
        if (token().kind == T_NUMBER) {
            e.distance = int8_t(signed_number("a distance", INT8_MIN, INT8_MAX));
            e.flags |= 1;
        }
        expect_punct(')', "behind a dependence element");
        elements.push_back(e);
    }
    end_line();
    if (elements.size() > LARGEST_VECTOR) f.fail_at(t.at, "more than %u elements", LARGEST_VECTOR);
    if (flags & VECTOR_IS_EMPTY && !elements.empty())
        f.fail_at(t.at, "elements, but the flags say that there are none");
    vectors++;
    MRECORD &r = record(IF_DEP_VECTOR);
    r.n[0] = id, r.n[1] = flags, r.vector = std::move(elements);
}

void ASSEMBLER::line_edge() {
    uint32_t from = u32("the number of a node"), to = u32("the number of a node");
    if (!take_word("vector")) fail_expected("vector");
    const TOKEN &t = token();
    uint32_t id = u32("the number of a dependence vector");
    end_line();
    if (id >= vectors) f.fail_at(t.at, "dependence vector %u is not there", id);
    MRECORD &r = record(IF_DEP_EDGE);
    r.n[0] = from, r.n[1] = to, r.n[2] = id;
}

void ASSEMBLER::line_ldspec() {
    uint32_t n[4] = {u32("the number of a load"), 0, 0, 0};
    if (take_word("induct")) n[1] = 0;
    else if (take_word("rand")) n[1] = 1;
    else if (take_word("region")) n[1] = 2;
    else fail_expected("induct, rand or region");
    n[2] = u32("a number");
    TYPE *type = nullptr;
    MSYM *s = nullptr;
    if (n[1] != 2) {
        n[3] = n[1] ? u32("a number") : uint32_t(signed_number("a number", INT32_MIN, INT32_MAX));
        if (take_punct(':')) type = this->type();
        s = maybe_symbol();
    }
    end_line();
    MRECORD &r = record(IF_LDSPEC);
    std::copy(n, n + 4, r.n);
    r.type = type, r.sym = s;
}

void ASSEMBLER::line_info() {
    int64_t what = signed_number("function information", INT8_MIN, INT8_MAX);
    end_line();
    record(IF_FUNC_INFO).n[0] = uint32_t(what);
}

// --- exception tables ---

EHT_ENTRY ASSEMBLER::exception_entry() {
    EHT_ENTRY e;
    const TOKEN &t = token();
    e.id = u32("the number of an entry");
    if (!e.id) f.fail_at(t.at, "an entry with the number 0");
    const WORD_ROW *row = token().kind == T_ID ? row_of_word(eht_words, f.spelling(token())) : nullptr;
    if (!row) fail_expected("root, cleanup, catch, cleanup_end, catch_end or terminate");
    pos++;
    e.kind = EHT_ENTRY_KIND(row->number);
    if (take_word("next")) e.next = u32("the number of an entry");
    if (e.kind != EHK_CATCH && take_word("count")) e.count = u32("a count");
    while (e.kind == EHK_CATCH && take_punct('(')) {
        EHT_CATCH c;
        c.type_name = string("the name of a type");
        int label = label_number(token());
        if (label < 0) fail_expected("a label");
        if (label) labels_used.emplace_back(token().at, label);
        pos++;
        c.label = label;
        c.flag = take_word("flag");
        expect_punct(')', "behind a catch");
        e.catches.push_back(c);
    }
    if (e.kind == EHK_CATCH) e.count = uint32_t(e.catches.size());
    if (e.kind == EHK_CLEANUP && take_punct(':')) {
        skip_newlines();
        e.cleanup = tree();
    }
    end_line();
    return e;
}

void ASSEMBLER::line_exceptions() {
    const TOKEN &t = token();
    expect_punct('{', "behind exceptions");
    if (has_exceptions) f.error_at(t.at, "a second exception table in a function");
    has_exceptions = true;
    std::vector<EHT_ENTRY> entries;
    std::vector<uint32_t> places;
    std::unordered_set<unsigned> ids;
    for (skip_newlines(); !take_punct('}'); skip_newlines()) {
        places.push_back(token().at);
        entries.push_back(exception_entry());
        if (!ids.insert(entries.back().id).second)
            f.error_at(places.back(), "exception table entry %u twice", entries.back().id);
    }
    end_line();
    if (entries.empty()) f.fail_at(t.at, "an exception table without entries");
    for (size_t i = 0; i < entries.size(); i++)
        if (entries[i].next && !ids.count(entries[i].next))
            f.error_at(places[i], "entry %u is followed by %u, which is not there", entries[i].id,
                       entries[i].next);
    record(IF_EHT).eht = std::move(entries);
}
