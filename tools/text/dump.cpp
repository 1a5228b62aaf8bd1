// The file as text: head, symbols, initialisers, the records of the main stream.
#include "tools/text/dump.h"

#include <algorithm>

#include "tools/text/lex.h"

namespace {

constexpr unsigned BODY_INDENT = 2; // columns, for each level of blocks
constexpr unsigned DEEPEST_INDENT = 40;

const char *const no_keyword = "symbol"; // of a storage class without a word

std::string hex(uint32_t v) {
    char text[16];
    snprintf(text, sizeof text, v > 9 ? "0x%x" : "%u", v);
    return text;
}

// A file name that can stand in a position without quotes.
bool is_plain_file(const char *name) {
    if (!*name || *name == '"') return false;
    for (; *name; name++)
        if (*name <= ' ' || *name >= 0x7f) return false;
    return true;
}

} // namespace

void DUMPER::flush(size_t beyond) {
    if (out.size() < beyond) return;
    fwrite(out.data(), 1, out.size(), to);
    out.clear();
}

void DUMPER::position(const PSN *psn) {
    if (!psn) return;
    const char *file = psn->file ? psn->file : NO_FILE;
    out += " ; ";
    if (!has_last_file || last_file != file) {
        if (is_plain_file(file)) out += file;
        else append_quoted(out, file);
        out += ':';
        last_file = file;
        has_last_file = true;
    }
    out += std::to_string(psn->line) + ":" + std::to_string(psn->column);
}

void DUMPER::strings(const std::vector<std::string> &list) {
    bool first = true;
    for (const std::string &s : list) {
        if (!first) out += ", ";
        first = false;
        append_quoted(out, s);
    }
}

// --- the head ---

void DUMPER::dump_head() {
    if (m.version != IF_VERSION) out += "# format version " + std::to_string(m.version) + "\n";
    if (m.source && m.source->extra_word())
        out += "# header word " + hex(m.source->extra_word()) + ", which no writer keeps\n";
    out += "producer ";
    append_quoted(out, m.producer);
    out += '\n';
    for (const OPTION_SET &set : m.options) {
        out += "options " + std::to_string(set.id) + " (";
        strings(set.strings);
        out += ")\n";
    }
    for (const std::string &name : m.files) {
        out += "file ";
        append_quoted(out, name);
        out += '\n';
    }
    out += '\n';
}

// --- symbols ---

void DUMPER::name_symbols(const std::vector<MSYM *> &symbols, char sigil) {
    NAMER names;
    for (const MSYM *s : symbols) names.taken.insert(s->name);
    for (const MSYM *s : symbols) {
        std::string name = names.name(s->name), &text = symbol_texts[s];
        text = sigil;
        bool plain = !name.empty();
        for (char c : name) plain &= is_plain_name(std::string("_") + c);
        if (plain) text += name;
        else append_quoted(text, name);
    }
}

const std::string &DUMPER::symbol_text(const MSYM *s) {
    auto found = symbol_texts.find(s);
    if (found != symbol_texts.end()) return found->second;
    // Of another function: no file has that.
    return symbol_texts[s] = "%?" + s->name;
}

void DUMPER::pragma(const PRAGMA *p) {
    const char *name = PRAGMA::name(p->number);
    out += "pragma ";
    if (p->number >= N_PRAGMAS) out += std::to_string(p->number);
    else if (is_plain_name(name)) out += name;
    else append_quoted(out, name);
    out += '(';
    strings(p->args);
    out += ')';
}

void DUMPER::symbol(const MSYM *s, bool among_arguments) {
    const char *word = word_of(storage_words, s->sclass);
    if (!word || (among_arguments && storage_ends_arguments(s->sclass))) word = no_keyword;
    const std::string &text = symbol_text(s);
    out += std::string(word) + " " + text;
    bool quoted = text[1] == '"';
    if (!quoted && text.compare(1, text.npos, s->name)) {
        out += ' ';
        append_quoted(out, s->name);
    } else if (quoted) {
        std::string real;
        append_quoted(real, s->name);
        if (text.compare(1, text.npos, real)) out += " " + real;
    }
    out += " : " + type_text(s->type);
    if (word == no_keyword) out += " class " + std::to_string(s->sclass);
    if (s->cpp_type != s->type) out += " source " + type_text(s->cpp_type);
    TEXT_LAYOUT layout = default_symbol_layout(s->type);
    if (s->size != layout.size) out += " size " + std::to_string(s->size);
    if (s->align != layout.align) out += " align " + std::to_string(s->align);
    if (s->value) out += " value " + std::to_string(s->value);
    if (s->cqual) out += " quals " + hex(unsigned(s->cqual));
    if (s->policy) out += std::string(" policy ") + word_of(policy_words, s->policy);
    if (s->option_set) out += " options " + std::to_string(s->option_set);
    if (s->location && !located.count(s)) out += " location " + std::to_string(s->location);
    std::vector<const PRAGMA *> oldest_first;
    for (const PRAGMA *p = s->pragmas; p; p = p->next) oldest_first.push_back(p);
    for (size_t i = oldest_first.size(); i--;) {
        out += ' ';
        pragma(oldest_first[i]);
    }
    position(s->psn);
    out += '\n';
}

void DUMPER::dump_globals() {
    for (const MITEM &item : m.items)
        if (item.func) located.insert(item.func->symbol);
    for (const MRECORD &r : m.inits) located.insert(r.sym);
    for (const MSYM *s : m.globals) {
        symbol(s, false);
        flush(1 << 16);
    }
    if (!m.globals.empty()) out += '\n';
}

void DUMPER::dump_initialisers() {
    for (const MRECORD &r : m.inits) {
        out += "init " + symbol_text(r.sym) + " {\n";
        for (const MNODE *t : r.trees) {
            // The end is understood.
            if (t->op == ENDINIT && t->type == m.package->void_type()) continue;
            tree(t, BODY_INDENT);
            out += '\n';
            flush(1 << 16);
        }
        out += "}\n";
    }
    if (!m.inits.empty()) out += '\n';
}

// --- records ---

void DUMPER::loop_record(const MRECORD &r) {
    out += "loop " + std::to_string(r.n[0]);
    if (r.n[1] != r.n[0]) out += " in " + std::to_string(r.n[1]);
    if (r.n[2]) out += " min " + std::to_string(r.n[2]);
    if (r.n[3]) out += " max " + std::to_string(r.n[3]);
    if (r.n[4] != 1) out += " factor " + std::to_string(r.n[4]);
    if (r.n[5]) out += " flags " + hex(r.n[5]);
}

void DUMPER::dependence_vector(const MRECORD &r) {
    out += "vector " + std::to_string(r.n[0]);
    if (r.n[1]) out += " flags " + std::to_string(r.n[1]);
    for (const MRECORD::ELEMENT &e : r.vector) {
        out += " (";
        bool any = false;
        for (const WORD_ROW *row = element_letters; row->word; row++)
            if (e.flags & row->number) out += row->word, any = true;
        if (e.flags & 1) out += (any ? " " : "") + std::to_string(e.distance);
        out += ')';
    }
}

void DUMPER::speculation(const MRECORD &r) {
    static const char *const forms[] = {"induct", "rand", "region"};
    out += "ldspec " + std::to_string(r.n[0]) + " " + forms[r.n[1]] + " " + std::to_string(r.n[2]);
    if (r.n[1] == 2) return;
    out += " " + (r.n[1] == 0 ? std::to_string(int32_t(r.n[3])) : std::to_string(r.n[3]));
    if (r.type) out += " : " + type_text(r.type);
    if (r.sym) out += " " + symbol_text(r.sym);
}

void DUMPER::exceptions(const MRECORD &r) {
    out += "exceptions {\n";
    for (const EHT_ENTRY &e : r.eht) {
        out += "    " + std::to_string(e.id) + " " + word_of(eht_words, int(e.kind));
        if (e.next) out += " next " + std::to_string(e.next);
        if (e.kind != EHK_CATCH && e.count) out += " count " + std::to_string(e.count);
        for (const EHT_CATCH &c : e.catches) {
            out += " (";
            append_quoted(out, c.type_name);
            out += " L" + std::to_string(c.label) + (c.flag ? " flag)" : ")");
        }
        if (e.cleanup) {
            out += " :\n";
            tree(static_cast<MNODE *>(e.cleanup), 6);
        }
        out += '\n';
    }
    out += "  }";
}

// A record without the blanks in front and the newline behind.
void DUMPER::record(const MRECORD &r, unsigned indent) {
    switch (r.tag) {
    case IF_STATEMENT: tree(r.tree, indent); return position(r.psn);
    case IF_LABEL: out += "L" + std::to_string(r.n[0]) + ":"; return;
    default: out.append(indent, ' ');
    }
    switch (r.tag) {
    case IF_ASSEMBLY:
        out += "asm ";
        append_quoted(out, r.text);
        return position(r.psn);
    case IF_COMMENT:
    case IF_SOURCE: out += r.tag == IF_COMMENT ? "comment " : "source "; return append_quoted(out, r.text);
    case IF_PRAGMA: return pragma(r.pragma);
    case IF_MBANK:
        out += "bank";
        for (int i = 0; i < 5; i++) out += " " + std::to_string(r.n[i]);
        return;
    case IF_FUNC_INFO: out += "info " + std::to_string(int32_t(r.n[0])); return;
    case IF_LOOP: return loop_record(r);
    case IF_INLOOP:
        out += "inloop " + std::to_string(r.n[0]);
        if (r.sym) out += " " + symbol_text(r.sym);
        if (r.n[1]) out += " flags " + std::to_string(r.n[1]);
        return;
    case IF_DEP_VECTOR: return dependence_vector(r);
    case IF_DEP_EDGE:
        out += "edge " + std::to_string(r.n[0]) + " " + std::to_string(r.n[1]) + " vector " +
               std::to_string(r.n[2]);
        return;
    case IF_LDSPEC: return speculation(r);
    case IF_EHT: return exceptions(r);
    default: break;
    }
}

void DUMPER::dump_function(const MFUNC &f) {
    std::vector<MSYM *> locals;
    for (const MRECORD &r : f.records)
        if (r.tag == IF_SYMBOL) locals.push_back(r.sym);
    name_symbols(locals, '%');
    bool among_arguments = true;
    unsigned depth = 1;
    auto indent = [&] { return std::min(depth * BODY_INDENT, DEEPEST_INDENT); };
    auto word = [&](const char *text, const MRECORD &r, unsigned blanks) {
        out.append(blanks, ' ');
        out += text;
        position(r.psn);
    };
    for (const MRECORD &r : f.records) {
        switch (r.tag) {
        case I_BF: word(("function " + symbol_text(r.sym)).c_str(), r, 0); break;
        case I_EF: word("end", r, 0); break;
        case I_EA:
            word("locals", r, 0);
            among_arguments = false;
            break;
        case I_EL: word("body", r, depth > 1 ? indent() - BODY_INDENT : 0); break;
        case I_BB:
            word("block", r, indent());
            depth++;
            break;
        case I_EB:
            depth--;
            word("endblock", r, indent());
            break;
        case IF_SYMBOL:
            out.append(indent(), ' ');
            symbol(r.sym, among_arguments);
            continue;
        default: record(r, indent());
        }
        out += '\n';
        flush(1 << 16);
    }
    for (const MSYM *s : locals) symbol_texts.erase(s);
}

void DUMPER::dump_file() {
    name_types();
    name_symbols(m.globals, '@');
    dump_head();
    dump_types();
    dump_globals();
    dump_initialisers();
    for (const MITEM &item : m.items) {
        if (item.func) dump_function(*item.func);
        else {
            record(item.record, 0);
            out += '\n';
        }
        flush(1 << 16);
    }
    flush(0);
}

bool DUMPER::dump_functions_named(const std::string &name) {
    name_types();
    name_symbols(m.globals, '@');
    bool any = false;
    for (const MITEM &item : m.items) {
        if (!item.func || item.func->symbol->name != name) continue;
        any = true;
        dump_function(*item.func);
    }
    flush(0);
    return any;
}
