// What the tests of the intermediate file share: a client that logs everything and can replay it into a writer, files
// assembled byte by byte, and a handler that makes a refused file an exception.
#pragma once

#include <cstdarg>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <string>
#include <unistd.h>

#include "ifile/if_file.h"

// --- a program's side of the faces, as plain as possible ---

struct T_SYM final : I_SYMTAB {
    std::string name;
    uint32_t size = 32, value = 0, align = 32, location = 0, option_set = 0;
    int sclass = 2, cqual = 0, level = 0;
    TYPE *type = nullptr, *cpp_type = nullptr;
    const PSN *psn = nullptr;
    PRAGMA *pragmas = nullptr; // newest first

    const char *sym_name() const override { return name.c_str(); }
    uint32_t sym_size() const override { return size; }
    uint32_t sym_value() const override { return value; }
    int sym_class() const override { return sclass; }
    int sym_cqual() const override { return cqual; }
    TYPE *sym_type() const override { return type; }
    TYPE *sym_cpp_type() const override { return cpp_type; }
    uint32_t sym_align() const override { return align; }
    const PSN *sym_psn() const override { return psn; }
    PRAGMA *sym_pragma() const override { return pragmas; }
    int sym_prag_num() const override { return 0; } // the writer counts
    uint32_t sym_location() const override { return location; }
    uint32_t sym_option_set() const override { return option_set; }
    int sym_level() const override { return level; }
    void set_level(int l) override { level = l; }
    void set_location(uint32_t l) override { location = l; }
};

struct T_NODE final : BASE_NODE {
    int op = 0;
    TYPE *type = nullptr;
    BASE_NODE *left = nullptr, *right = nullptr;
    uint32_t n[3] = {};
    bool is_signed = false;
    I_SYMTAB *sym = nullptr;
    fkMDATA *member = nullptr;
    TYPE *csu = nullptr;
    std::string text;

    I_SYMTAB *name_sym() override { return sym; }
    int field_kind() override { return 1; }
    fkMDATA *field_mval() override { return member; }
    TYPE *field_csu() override { return csu; }
    uint32_t icon_uvalue() override { return n[0]; }
    int32_t icon_svalue() override { return int32_t(n[0]); }
    const char *lcon_value() override { return text.c_str(); }
    const char *fcon_value() override { return text.c_str(); }
    const char *scon_value() override { return text.data(); }
    unsigned scon_size() override { return unsigned(text.size()); }
    int label_id() override { return int(n[0]); }
    int vreg_id() override { return int(n[0]); }
    unsigned skip_size() override { return n[0]; }
    unsigned switch_count() override { return n[0]; }
    unsigned ddnode_id() override { return n[0]; }
    unsigned ddnode_flags() override { return n[1]; }
    unsigned ddnode_flags2() override { return n[2]; }
    unsigned call_site() override { return n[0]; }
    const char *icall_name() override { return text.c_str(); }
    unsigned eh_entry_id() override { return n[1]; }
    unsigned get_edge_profile_value() override { return n[0]; }
    void set_edge_profile_value(unsigned v) override { n[0] = v; }
    void mk_name(I_SYMTAB *s) override { sym = s; }
    void mk_field(int, fkMDATA *m, TYPE *c) override { member = m, csu = c; }
    void mk_icon(bool sign, uint32_t bits) override { is_signed = sign, n[0] = bits; }
    void mk_lcon(const char *t) override { text = t; }
    void mk_fcon(const char *t) override { text = t; }
    void mk_scon(const char *bytes, unsigned size) override { text.assign(bytes, size); }
    void mk_label(int v) override { n[0] = uint32_t(v); }
    void mk_vreg(int v) override { n[0] = uint32_t(v); }
    void mk_skip(unsigned v) override { n[0] = v; }
    void mk_switch(unsigned v) override { n[0] = v; }
    void mk_ddnode(unsigned id, unsigned f, unsigned f2) override { n[0] = id, n[1] = f, n[2] = f2; }
    void mk_call(unsigned site, unsigned entry) override { n[0] = site, n[1] = entry; }
    void mk_ucall(unsigned entry) override { n[1] = entry; }
    void mk_icall(const char *name) override { text = name; }
    int base_op() const override { return op; }
    TYPE *base_type() const override { return type; }
    BASE_NODE *base_left() const override { return left; }
    BASE_NODE *base_right() const override { return right; }
    void set_base_op(int o) override { op = o; }
    void set_base_left(BASE_NODE *l) override { left = l; }
    void set_base_right(BASE_NODE *r) override { right = r; }
};

inline std::string format(const char *pattern, ...) {
    char text[1000];
    va_list args;
    va_start(args, pattern);
    vsnprintf(text, sizeof text, pattern, args);
    va_end(args);
    return text;
}

inline std::string show(const PSN *p) {
    return p ? format(" at %s:%u:%u", p->file ? p->file : "?", p->line, p->column) : "";
}
inline std::string show(TYPE *t) { return t ? t->printstr() : "-"; }
inline std::string show(const I_SYMTAB *s) {
    return s ? format("%s#%d@%d", s->sym_name(), s->index, s->sym_level()) : "-";
}
inline std::string show(const PRAGMA &p) {
    std::string text = format("%d", p.number);
    for (const std::string &arg : p.args) text += " '" + arg + "'";
    return text;
}
inline std::string show(BASE_NODE *tree) { // recurses: not for deep trees
    auto *n = static_cast<T_NODE *>(tree);
    if (!n) return "-";
    std::string text = format("%s<%s>", if_node_info[n->op].name, show(n->type).c_str());
    if (n->n[0] | n->n[1] | n->n[2])
        text += format("[%u %u %u%s]", n->n[0], n->n[1], n->n[2], n->is_signed ? " s" : "");
    if (n->sym) text += " " + show(n->sym);
    if (n->csu) text += " " + show(n->csu) + "." + (n->member ? n->member->name : "-");
    for (char c : n->text) text += c >= ' ' ? std::string(1, c) : format("\\%02x", uint8_t(c));
    if (n->left) text += "(" + show(n->left) + (n->right ? ", " + show(n->right) : "") + ")";
    return text;
}

// Logs one line for each callback, and keeps what is needed to write the same file again.
struct T_CLIENT : IF_CLIENT {
    using STEP = std::function<void(I_FILE &)>;
    std::string log;
    bool quiet = false; // trees are not logged
    bool magic_answer = true;
    BASE_NODE *tree = nullptr; // of the last statement
    std::deque<T_NODE> nodes;
    std::deque<T_SYM> syms;
    std::deque<PRAGMA> pragmas;
    std::deque<std::vector<EHT_ENTRY>> tables;
    std::vector<STEP> options, globals, stream, inits;
    bool in_function = false;

    T_NODE *node(int op, TYPE *type, BASE_NODE *left = nullptr, BASE_NODE *right = nullptr) {
        T_NODE &n = nodes.emplace_back();
        n.op = op, n.type = type, n.left = left, n.right = right;
        return &n;
    }
    T_NODE *icon(int32_t value, TYPE *type) {
        T_NODE *n = node(ICON, type);
        n->n[0] = uint32_t(value);
        return n;
    }
    T_NODE *name(T_SYM *s) {
        T_NODE *n = node(NAME, s->type);
        n->sym = s;
        return n;
    }
    T_NODE *label(uint32_t number) {
        T_NODE *n = node(LABEL, nullptr);
        n->n[0] = number;
        return n;
    }
    T_NODE *text(int op, TYPE *type, const char *value, BASE_NODE *left = nullptr) {
        T_NODE *n = node(op, type, left);
        n->text = value;
        return n;
    }
    T_SYM *sym(const char *name, TYPE *type) {
        T_SYM &s = syms.emplace_back();
        s.name = name, s.type = type, s.cpp_type = type;
        return &s;
    }
    void add_pragma(T_SYM *s, int number, std::vector<std::string> args) {
        PRAGMA &p = pragmas.emplace_back();
        p.number = uint8_t(number), p.args = std::move(args), p.next = s->pragmas;
        s->pragmas = &p;
    }
    // Writes what was read, but for closing.
    void replay(I_FILE &to) {
        for (auto *part : {&options, &globals, &stream, &inits})
            for (STEP &step : *part) step(to);
    }
    void note(const std::string &what, STEP step) {
        log += what + "\n";
        stream.push_back(std::move(step));
    }
    void control(const char *what, int tag, const PSN *p) {
        note(what + show(p), [tag, p](I_FILE &f) { f.if_write_control(tag, p); });
    }

    BASE_NODE *new_node(int op, TYPE *type) override { return node(op, type); }
    bool cl_magic(int version, const char *producer) override {
        log += format("magic %d '%s'\n", version, producer);
        return magic_answer;
    }
    void cl_option_set(OPTION_SET &set) override {
        log += format("option_set %u:", set.id);
        for (const std::string &text : set.strings) log += " " + text;
        log += "\n";
        options.push_back([set](I_FILE &f) { f.if_enter_option_set(set); });
    }
    I_SYMTAB *cl_symbol_create(const char *name, TYPE *type, TYPE *cpp_type, uint32_t size, uint32_t align,
                               uint32_t value, int sclass, int cqual, const PSN *psn, uint32_t location,
                               uint32_t option_set, int policy) override {
        T_SYM *s = sym(name, type);
        s->cpp_type = cpp_type, s->size = size, s->align = align, s->value = value, s->sclass = sclass;
        s->cqual = cqual, s->psn = psn, s->location = location, s->option_set = option_set;
        s->policy = uint8_t(policy);
        return s;
    }
    void cl_pragma(I_SYMTAB *symbol, PRAGMA *p) override {
        std::unique_ptr<PRAGMA> owner(p);
        if (symbol) return add_pragma(static_cast<T_SYM *>(symbol), p->number, p->args);
        PRAGMA kept = *p;
        note("pragma " + show(kept), [kept](I_FILE &f) { f.if_write_pragma(&kept); });
    }
    void cl_symbol_init(I_SYMTAB *symbol, std::vector<BASE_NODE *> &trees) override {
        log += "init " + show(symbol);
        for (BASE_NODE *t : trees) log += "; " + show(t);
        log += "\n";
        inits.push_back([symbol, trees](I_FILE &f) {
            f.if_write_init(symbol);
            for (BASE_NODE *t : trees) f.if_write_expr_node(t);
        });
    }
    void cl_symbol_def(I_SYMTAB *symbol) override {
        auto *s = static_cast<T_SYM *>(symbol);
        log += "symbol " + show(s) +
               format(" size %u value %u class %d cqual %x type ", s->size, s->value, s->sclass, s->cqual) +
               show(s->type) + " cpp " + show(s->cpp_type) +
               format(" align %u option set %u policy %d", s->align, s->option_set, s->policy) + show(s->psn);
        std::string attributes; // in file order
        for (PRAGMA *p = s->pragmas; p; p = p->next) attributes = " pragma " + show(*p) + attributes;
        log += attributes;
        log += "\n";
        if (!in_function) return globals.push_back([s](I_FILE &f) { f.if_enter_global(s); });
        stream.push_back([s](I_FILE &f) {
            f.if_enter_local(s);
            f.if_write_symbol(s);
        });
    }
    void cl_expr(BASE_NODE *t, const PSN *p) override {
        tree = t;
        note("expr " + (quiet ? "" : show(t)) + show(p), [t, p](I_FILE &f) { f.if_write_expr(t, p); });
    }
    void cl_begin_func(I_SYMTAB *s, const PSN *p) override {
        in_function = true;
        note("begin_func " + show(s) + show(p), [s, p](I_FILE &f) { f.if_write_begin_func(s, p); });
    }
    void cl_end_func(const PSN *p) override {
        in_function = false;
        control("end_func", I_EF, p);
    }
    void cl_end_args(const PSN *psn) override { control("end_args", I_EA, psn); }
    void cl_end_locals(const PSN *psn) override { control("end_locals", I_EL, psn); }
    void cl_begin_block(const PSN *psn) override { control("begin_block", I_BB, psn); }
    void cl_end_block(const PSN *psn) override { control("end_block", I_EB, psn); }
    void cl_source(const char *file) override {
        std::string t = file;
        note("source " + t, [t](I_FILE &f) { f.if_write_source(t.c_str()); });
    }
    void cl_label(int number) override {
        note(format("label %d", number), [number](I_FILE &f) { f.if_write_label(number); });
    }
    void cl_inline_asm(const char *text, const PSN *p) override {
        std::string t = text;
        note("asm " + t + show(p), [t, p](I_FILE &f) { f.if_write_assembly(t.c_str(), p); });
    }
    void cl_comment(const char *text) override {
        std::string t = text;
        note("comment " + t, [t](I_FILE &f) { f.if_write_comment(t.c_str()); });
    }
    void cl_merge_type_defs() override { log += "merge_type_defs\n"; }
    void cl_preprocess_statics() override { log += "preprocess_statics\n"; }
    void cl_func_info(int what) override {
        note(format("func_info %d", what), [what](I_FILE &f) { f.if_write_func_info(what); });
    }
    bool cl_func_eht(EHT_ENTRY *entries, unsigned n) override {
        auto &table = tables.emplace_back(entries, entries + n);
        log += "func_eht";
        for (const EHT_ENTRY &e : table) {
            log += format(" %u:%u>%u/%u ", e.id, e.kind, e.next, e.count) + show(e.cleanup);
            for (auto &c : e.catches)
                log += format(" %s->%d%s", c.type_name.c_str(), c.label, c.flag ? "!" : "");
        }
        note("", [&table](I_FILE &f) { f.if_write_func_eht(table.data(), unsigned(table.size())); });
        return true;
    }
    void cl_loop_def(unsigned number, unsigned parent, uint32_t min, uint32_t max, uint32_t factor,
                     unsigned flags) override {
        note(format("loop %u in %u: %u..%u by %u flags %x", number, parent, min, max, factor, flags),
             [=](I_FILE &f) { f.if_write_loop(number, parent, min, max, factor, flags); });
    }
    void cl_loop_header(unsigned number, I_SYMTAB *lcv, unsigned flags) override {
        note(format("in loop %u flags %u ", number, flags) + show(lcv),
             [=](I_FILE &f) { f.if_write_inloop(number, lcv, flags); });
    }
    void cl_dd_vector(unsigned id, unsigned flags, unsigned count, const uint8_t *element_flags,
                      const int8_t *distances) override {
        std::vector<uint8_t> e(element_flags, element_flags + count);
        std::vector<int8_t> d(distances, distances + count);
        std::string text = format("vector %u flags %u", id, flags);
        for (unsigned i = 0; i < count; i++) text += format(" %u/%d", e[i], d[i]);
        note(text, [=](I_FILE &f) { f.if_write_dep_vector(id, flags, count, e.data(), d.data()); });
    }
    void cl_dd_edge(unsigned from, unsigned to, unsigned vector) override {
        note(format("edge %u to %u by %u", from, to, vector),
             [=](I_FILE &f) { f.if_write_dep_edge(from, to, vector); });
    }
    void cl_mbank(const uint32_t w[5]) override {
        std::vector<uint32_t> words(w, w + 5);
        note(format("mbank %u %u %u %u %u", w[0], w[1], w[2], w[3], w[4]),
             [words](I_FILE &f) { f.if_write_mbank(words.data()); });
    }
    void cl_ldspec_induct(unsigned id, uint32_t a, int32_t b, TYPE *type, I_SYMTAB *s) override {
        note(format("ldspec %u induct %u %d ", id, a, b) + show(type) + " " + show(s),
             [=](I_FILE &f) { f.if_write_ldspec_induct(id, a, b, type, s); });
    }
    void cl_ldspec_rand(unsigned id, uint32_t a, uint32_t b, TYPE *type, I_SYMTAB *s) override {
        note(format("ldspec %u rand %u %u ", id, a, b) + show(type) + " " + show(s),
             [=](I_FILE &f) { f.if_write_ldspec_rand(id, a, b, type, s); });
    }
    void cl_ldspec_region(unsigned id, uint32_t a) override {
        note(format("ldspec %u region %u", id, a), [=](I_FILE &f) { f.if_write_ldspec_region(id, a); });
    }
    void cl_ir_begin_func(uint32_t a, int32_t b, int c, uint32_t d, const PSN *p) override {
        note(format("ir_begin %u %d %d %u", a, b, c, d) + show(p), [](I_FILE &) {});
    }
    void cl_ir_end_func(const PSN *p) override {
        note("ir_end" + show(p), [](I_FILE &) {});
    }
    void cl_ir_ins(const PSN *p) override {
        note("ir_ins" + show(p), [](I_FILE &) {});
    }
};

// --- files in memory ---

struct BAD_FILE {
    std::string text;
};
// Throws BAD_FILE for a malformed file, while it lives.
struct THROWING {
    IF_BAD_FILE_HANDLER before = if_bad_file_handler;
    THROWING() {
        if_bad_file_handler = [](const char *text) { throw BAD_FILE{text}; };
    }
    ~THROWING() { if_bad_file_handler = before; }
};

// For reading; `bytes` must outlive it.
inline FILE *open_bytes(const std::string &bytes) {
    if (bytes.empty()) return fopen("/dev/null", "rb");
    return fmemopen(const_cast<char *>(bytes.data()), bytes.size(), "rb");
}

// What `write` writes with a writer of that package, closed.
inline std::string written(TYPE_PKG &package, const std::function<void(I_FILE &)> &write) {
    FILE *stream = tmpfile();
    FILE *back = fdopen(dup(fileno(stream)), "rb");
    I_FILE *f = I_FILE::if_create(stream, &package, "test");
    write(*f);
    std::string bytes;
    if (!f->if_close(false, false)) {
        rewind(back);
        for (int c; (c = fgetc(back)) != EOF;) bytes += char(c);
    }
    fclose(back);
    return bytes;
}

// A package for one reader or writer. Only one is alive at a time.
struct T_PKG {
    TYPE_PKG p;
    T_PKG() { init_type_pkg(&p); }
};

// A file that is open for reading. A refused header leaves `file` null; a malformed file throws.
struct T_READ {
    T_PKG package;
    T_CLIENT client;
    std::string bytes;
    std::unique_ptr<I_FILE> file;

    explicit T_READ(std::string content, bool whole = true, bool quiet = false) : bytes(std::move(content)) {
        client.quiet = quiet;
        file.reset(I_FILE::if_open(open_bytes(bytes), &client, "x"));
        if (!file) return;
        file->if_type_init(&package.p);
        if (whole) file->if_read_file();
    }
};

// --- the bytes of fields and records ---

inline std::string b(std::initializer_list<int> bytes) { return std::string(bytes.begin(), bytes.end()); }
inline std::string u(uint32_t v) {
    std::string t;
    for (; v >= 0x80; v >>= 7) t += char(v | 0x80);
    return t + char(v);
}
inline std::string z(const char *text) { return std::string(text, strlen(text) + 1); }
inline std::string rec(int tag, const std::string &payload) {
    return char(tag) + u(uint32_t(payload.size())) + payload;
}
inline std::string u32(uint32_t v) {
    return b({int(v & 255), int(v >> 8 & 255), int(v >> 16 & 255), int(v >> 24)});
}
// A node's record without its children.
inline std::string node(int op, int type, const std::string &operand = "") {
    return rec(IF_EXPR, char(op) + u(uint32_t(type)) + operand);
}
inline std::string statement(const std::string &tree) { return rec(IF_STATEMENT, u(0)) + tree; }
struct SYM_FIELDS {
    int type = 2, cpp_type = 0, sclass = 2, pragmas = 0, option_set = 0, policy = 0, version = IF_VERSION;
};
inline std::string symbol(const char *name, SYM_FIELDS f) {
    std::string t = z(name) + u(32) + u(0) + b({f.sclass, 0, 0}) + u(uint32_t(f.type)) +
                    u(uint32_t(f.cpp_type)) + u(32) + b({f.pragmas}) + u(0) + u(uint32_t(f.option_set)) +
                    u(0);
    if (if_gate(GATE_SYM_POLICY, f.version)) t += char(f.policy);
    return rec(IF_SYMBOL, t);
}

// A small valid file, put together by hand, with room for insertions. Its types: 1 void, 2 int, 3 unsigned int,
// 4 float, 5 function without parameters, 6 struct S { int a; }, 7 pointer to int, 8 int[3]. Its globals: 0 function f, 1 int g,
// 2 function h. The main stream holds f, with one local x.
struct RAW {
    std::string before, args, locals, body, after; // main stream: in front of f, in f, behind it
    std::string init, options, types, files, globals;
    int version = IF_VERSION;
    int cpu = ICODE_CPU_ID;
    std::string magic = z(IF_MAGIC);

    std::string bytes;
    uint32_t offsets[N_IF_AREAS] = {};
    uint32_t at = 0; // where the first insertion begins

    void insert(const std::string &what) {
        if (!at && !what.empty()) at = uint32_t(bytes.size());
        bytes += what;
    }
    std::string header() const {
        std::string t = magic + b({version & 255, version >> 8 & 255, cpu & 255, cpu >> 8});
        for (IF_AREA a : {AREA_OPTIONS, AREA_INIT, AREA_TYPES, AREA_FILES, AREA_GLOBALS})
            t += u32(offsets[a]);
        t += z("raw");
        if (if_gate(GATE_HEADER_EXTRA, version)) t += u32(7);
        return rec(IF_HEADER, t);
    }
    void area(IF_AREA a, const std::string &fixed, const std::string &inserted) {
        if (fixed.empty() && inserted.empty()) return;
        offsets[a] = uint32_t(bytes.size());
        bytes += fixed;
        insert(inserted);
        bytes += char(IF_EOF);
    }
    // A byte that is there in the versions that have the gated field.
    std::string gated(IF_GATE gate) const { return if_gate(gate, version) ? b({0}) : ""; }
    std::string own_types() const {
        auto t = [](const std::string &payload) { return rec(IF_TYPE, payload); };
        return t(b({1, 49})) + t(b({2, 6, 0, 32, 32, 0, 0})) + t(b({3, 7, 0, 32, 32, 0, 0})) +
               t(b({4, 10, 32, 32})) + t(b({5, 20, 1, 0, 1, 0, 0})) + t(b({5, 254, 0})) + t(b({5, 255, 0})) +
               t(b({6, 24, 0}) + z("S") + b({1, 0, 32, 32, 1}) + gated(GATE_STRUCT_VECTOR) + gated(GATE_CPP) +
                 b({0})) +
               t(b({6, 254, 7})) +
               t(b({6, 28, 1}) + z("a") + b({2, 0, 0}) + gated(GATE_MEMBER_FTI) + b({0, 0, 0}) +
                 gated(GATE_MEMBER_NEW_BITS) + b({0})) +
               t(b({6, 255, 7})) + t(b({7, 15, 2, 32, 32})) +
               t(b({8, 18, 2, 3, 96, 32, 0, 1}) + gated(GATE_ARRAY_VECTOR) + gated(GATE_ARRAY_IGNORED));
    }
    RAW &build() {
        bytes = header();
        offsets[AREA_MAIN] = uint32_t(bytes.size());
        insert(before);
        bytes += rec(I_BF, b({0, 0}));
        insert(args);
        bytes += rec(I_EA, u(0)) + symbol("x", {.sclass = 1, .version = version});
        insert(locals);
        bytes += rec(I_EL, u(0));
        insert(body);
        bytes += rec(I_EF, u(0));
        insert(after);
        bytes += char(IF_EOF);
        area(AREA_INIT, "", init);
        area(AREA_OPTIONS, "", options);
        area(AREA_TYPES, own_types(), types);
        area(AREA_FILES, "", files);
        area(AREA_GLOBALS,
             symbol("f", {.type = 5, .version = version}) + symbol("g", {.version = version}) +
                 symbol("h", {.type = 5, .version = version}),
             globals);
        offsets[AREA_MAIN] = 0;
        bytes.replace(0, header().size(), header());
        return *this;
    }
};
