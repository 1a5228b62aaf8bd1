#include "tools/model/model.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "support/fatal.h"

int MSYM::sym_prag_num() const {
    int n = 0;
    for (const PRAGMA *p = pragmas; p; p = p->next) n++;
    return n;
}

const PRAGMA *MSYM::find_pragma(int number) const {
    for (const PRAGMA *p = pragmas; p; p = p->next)
        if (p->number == number) return p;
    return nullptr;
}

MODEL::MODEL() {
    package = new TYPE_PKG;
    init_type_pkg(package);
    tp = package;
}

MODEL::~MODEL() {
    if (source) source->if_close(false, true);
    if (tp == package) tp = nullptr;
    delete package;
}

MNODE *MODEL::node(int op, TYPE *type, MNODE *left, MNODE *right) {
    MNODE &n = node_arena.emplace_back();
    n.op = op, n.type = type, n.left = left, n.right = right;
    return &n;
}

bool is_big_endian(const MODEL &m) {
    for (const OPTION_SET &set : m.options)
        for (const std::string &s : set.strings)
            if (s == "--endian=big" || s == "--big_endian") return true;
    return false;
}

MNODE *MODEL::name(MSYM *s) {
    MNODE *n = node(NAME, s->type);
    n->sym = s;
    return n;
}

MNODE *MODEL::icon(int64_t value, TYPE *type) {
    bool fits = type->is_signed() ? value == int32_t(value) : value == int64_t(uint32_t(value));
    if (fits) {
        MNODE *n = node(ICON, type);
        n->value = value;
        return n;
    }
    MNODE *n = node(LCON, type);
    n->text = type->is_unsigned() ? std::to_string(uint64_t(value)) : std::to_string(value);
    return n;
}

MNODE *MODEL::label(int number, TYPE *type) {
    MNODE *n = node(LABEL, type);
    n->value = number;
    return n;
}

MSYM *MODEL::symbol(const char *name, TYPE *type, int sclass) {
    MSYM &s = symbol_arena.emplace_back();
    s.name = name, s.type = type, s.cpp_type = type, s.sclass = sclass;
    bool function = type->is_func();
    s.size = function ? 32 : uint32_t(type->size);
    s.align = function ? 32 : type->align;
    return &s;
}

PRAGMA *MODEL::pragma(int number, std::vector<std::string> args) {
    PRAGMA &p = pragma_arena.emplace_back();
    p.number = uint8_t(number), p.args = std::move(args);
    return &p;
}

void MODEL::add_pragma(MSYM *s, PRAGMA *p) {
    p->next = s->pragmas;
    s->pragmas = p;
}

const char *MODEL::file(const char *name) { return text_pool.insert(name).first->c_str(); }

const PSN *MODEL::psn(const char *file_name, unsigned line, unsigned column) {
    PSN &p = psn_arena.emplace_back();
    p.file = file(file_name), p.line = line, p.column = column;
    return &p;
}

MNODE *MODEL::copy(const MNODE *tree) {
    if (!tree) return nullptr;
    auto clone = [this](const MNODE *from) {
        MNODE *n = node(from->op, from->type);
        n->value = from->value, n->eh = from->eh, n->flags = from->flags, n->flags2 = from->flags2;
        n->sym = from->sym, n->member = from->member, n->text = from->text;
        return n;
    };
    MNODE *root = clone(tree);
    std::vector<std::pair<const MNODE *, MNODE *>> todo{{tree, root}};
    while (!todo.empty()) {
        auto [from, to] = todo.back();
        todo.pop_back();
        if (from->left) todo.emplace_back(from->left, to->left = clone(from->left));
        if (from->right) todo.emplace_back(from->right, to->right = clone(from->right));
    }
    return root;
}

namespace {

// Collects what the reader finds into a MODEL.
struct MODEL_CLIENT final : IF_CLIENT {
    MODEL &m;
    MFUNC *func = nullptr;

    explicit MODEL_CLIENT(MODEL &model) : m(model) {}

    // The record list that is open: the function's, or a new item of the main stream.
    MRECORD &record(int tag) {
        MRECORD &r = func ? func->records.emplace_back() : m.items.emplace_back().record;
        r.tag = tag;
        return r;
    }
    MRECORD &positioned(int tag, const PSN *psn) {
        MRECORD &r = record(tag);
        r.psn = psn;
        return r;
    }
    void numbers(int tag, std::initializer_list<uint32_t> values) {
        MRECORD &r = record(tag);
        std::copy(values.begin(), values.end(), r.n);
    }

    BASE_NODE *new_node(int op, TYPE *type) override { return m.node(op, type); }
    bool cl_magic(int version, const char *producer) override {
        m.version = version, m.producer = producer;
        return true;
    }
    void cl_option_set(OPTION_SET &set) override { m.options.push_back(set); }
    I_SYMTAB *cl_symbol_create(const char *name, TYPE *type, TYPE *cpp_type, uint32_t size, uint32_t align,
                               uint32_t value, int sclass, int cqual, const PSN *psn, uint32_t location,
                               uint32_t option_set, int policy) override {
        MSYM &s = m.symbol_arena.emplace_back();
        s.name = name, s.type = type, s.cpp_type = cpp_type, s.size = size, s.align = align, s.value = value;
        s.sclass = sclass, s.cqual = cqual, s.psn = psn, s.location = location, s.option_set = option_set;
        s.policy = uint8_t(policy);
        return &s;
    }
    void cl_pragma(I_SYMTAB *symbol, PRAGMA *pragma) override {
        std::unique_ptr<PRAGMA> owner(pragma);
        PRAGMA *kept = m.pragma(pragma->number, pragma->args);
        if (symbol) m.add_pragma(static_cast<MSYM *>(symbol), kept);
        else record(IF_PRAGMA).pragma = kept;
    }
    void cl_symbol_init(I_SYMTAB *symbol, std::vector<BASE_NODE *> &trees) override {
        MRECORD &r = m.inits.emplace_back();
        r.tag = IF_INIT, r.sym = static_cast<MSYM *>(symbol);
        for (BASE_NODE *t : trees) r.trees.push_back(static_cast<MNODE *>(t));
    }
    void cl_symbol_def(I_SYMTAB *symbol) override {
        auto *s = static_cast<MSYM *>(symbol);
        if (func) record(IF_SYMBOL).sym = s;
        else m.globals.push_back(s);
    }
    void cl_expr(BASE_NODE *tree, const PSN *psn) override {
        positioned(IF_STATEMENT, psn).tree = static_cast<MNODE *>(tree);
    }
    void cl_begin_func(I_SYMTAB *symbol, const PSN *psn) override {
        m.items.emplace_back().func = std::make_unique<MFUNC>();
        func = m.items.back().func.get();
        func->symbol = static_cast<MSYM *>(symbol);
        positioned(I_BF, psn).sym = func->symbol;
    }
    void cl_end_func(const PSN *psn) override {
        positioned(I_EF, psn);
        func = nullptr;
    }
    void cl_end_args(const PSN *psn) override { positioned(I_EA, psn); }
    void cl_end_locals(const PSN *psn) override { positioned(I_EL, psn); }
    void cl_begin_block(const PSN *psn) override { positioned(I_BB, psn); }
    void cl_end_block(const PSN *psn) override { positioned(I_EB, psn); }
    void cl_source(const char *file) override { record(IF_SOURCE).text = file; }
    void cl_label(int number) override { numbers(IF_LABEL, {uint32_t(number)}); }
    void cl_inline_asm(const char *text, const PSN *psn) override {
        positioned(IF_ASSEMBLY, psn).text = text;
    }
    void cl_comment(const char *text) override { record(IF_COMMENT).text = text; }
    void cl_merge_type_defs() override {}
    void cl_preprocess_statics() override {}
    void cl_func_info(int what) override { numbers(IF_FUNC_INFO, {uint32_t(what)}); }
    bool cl_func_eht(EHT_ENTRY *entries, unsigned n) override {
        record(IF_EHT).eht.assign(entries, entries + n);
        return true;
    }
    void cl_loop_def(unsigned number, unsigned parent, uint32_t min, uint32_t max, uint32_t factor,
                     unsigned flags) override {
        numbers(IF_LOOP, {number, parent, min, max, factor, flags});
    }
    void cl_loop_header(unsigned number, I_SYMTAB *lcv, unsigned flags) override {
        numbers(IF_INLOOP, {number, flags});
        last_record().sym = static_cast<MSYM *>(lcv);
    }
    void cl_dd_vector(unsigned id, unsigned flags, unsigned count, const uint8_t *element_flags,
                      const int8_t *distances) override {
        numbers(IF_DEP_VECTOR, {id, flags});
        for (unsigned i = 0; i < count; i++) last_record().vector.push_back({element_flags[i], distances[i]});
    }
    void cl_dd_edge(unsigned from, unsigned to, unsigned vector) override {
        numbers(IF_DEP_EDGE, {from, to, vector});
    }
    void cl_mbank(const uint32_t w[5]) override { numbers(IF_MBANK, {w[0], w[1], w[2], w[3], w[4]}); }
    void cl_ldspec_induct(unsigned id, uint32_t a, int32_t b, TYPE *type, I_SYMTAB *symbol) override {
        ldspec({id, 0, a, uint32_t(b)}, type, symbol);
    }
    void cl_ldspec_rand(unsigned id, uint32_t a, uint32_t b, TYPE *type, I_SYMTAB *symbol) override {
        ldspec({id, 1, a, b}, type, symbol);
    }
    void cl_ldspec_region(unsigned id, uint32_t a) override { ldspec({id, 2, a, 0}, nullptr, nullptr); }
    // Instruction records belong to a later stage's form; the format gives them no content that is kept.
    void cl_ir_begin_func(uint32_t, int32_t, int, uint32_t, const PSN *) override {}
    void cl_ir_end_func(const PSN *) override {}
    void cl_ir_ins(const PSN *) override {}

  private:
    MRECORD &last_record() { return func ? func->records.back() : m.items.back().record; }
    void ldspec(std::initializer_list<uint32_t> values, TYPE *type, I_SYMTAB *symbol) {
        numbers(IF_LDSPEC, values);
        last_record().type = type, last_record().sym = static_cast<MSYM *>(symbol);
    }
};

void write_ldspec(I_FILE *f, const MRECORD &r) {
    if (r.n[1] == 0) f->if_write_ldspec_induct(r.n[0], r.n[2], int32_t(r.n[3]), r.type, r.sym);
    else if (r.n[1] == 1) f->if_write_ldspec_rand(r.n[0], r.n[2], r.n[3], r.type, r.sym);
    else f->if_write_ldspec_region(r.n[0], r.n[2]);
}

void write_vector(I_FILE *f, const MRECORD &r) {
    std::vector<uint8_t> flags;
    std::vector<int8_t> distances;
    for (auto &e : r.vector) flags.push_back(e.flags), distances.push_back(e.distance);
    f->if_write_dep_vector(r.n[0], r.n[1], unsigned(flags.size()), flags.data(), distances.data());
}

void write_record(I_FILE *f, MRECORD &r) {
    switch (r.tag) {
    case I_BF: f->if_write_begin_func(r.sym, r.psn); break;
    case I_EF: f->if_write_end_func(r.psn); break;
    case I_EL: f->if_write_end_locals(r.psn); break;
    case I_BB:
    case I_EB:
    case I_EA: f->if_write_control(r.tag, r.psn); break;
    case IF_SYMBOL:
        f->if_enter_local(r.sym);
        f->if_write_symbol(r.sym);
        break;
    case IF_STATEMENT: f->if_write_expr(r.tree, r.psn); break;
    case IF_LABEL: f->if_write_label(int(r.n[0])); break;
    case IF_ASSEMBLY: f->if_write_assembly(r.text.c_str(), r.psn); break;
    case IF_COMMENT: f->if_write_comment(r.text.c_str()); break;
    case IF_SOURCE: f->if_write_source(r.text.c_str()); break;
    case IF_PRAGMA: f->if_write_pragma(r.pragma); break;
    case IF_FUNC_INFO: f->if_write_func_info(int(r.n[0])); break;
    case IF_LOOP: f->if_write_loop(r.n[0], r.n[1], r.n[2], r.n[3], r.n[4], r.n[5]); break;
    case IF_INLOOP: f->if_write_inloop(r.n[0], r.sym, r.n[1]); break;
    case IF_DEP_VECTOR: write_vector(f, r); break;
    case IF_DEP_EDGE: f->if_write_dep_edge(r.n[0], r.n[1], r.n[2]); break;
    case IF_LDSPEC: write_ldspec(f, r); break;
    case IF_EHT: f->if_write_func_eht(r.eht.data(), unsigned(r.eht.size())); break;
    case IF_MBANK: f->if_write_mbank(r.n); break;
    default: break;
    }
}

} // namespace

std::unique_ptr<MODEL> read_model(const char *path) {
    auto m = std::make_unique<MODEL>();
    m->file_name = path;
    FILE *file = fopen(path, "rb");
    if (!file) {
        fprintf(stderr, "%s: cannot open: %s\n", path, strerror(errno));
        exit(1);
    }
    MODEL_CLIENT client(*m);
    I_FILE *f = I_FILE::if_open(file, &client, path);
    if (!f) if_bad_file_handler((std::string(path) + ": not an intermediate file").c_str());
    m->source = f;
    f->if_type_init(m->package);
    f->if_read_file();
    for (unsigned id = 1; const char *name = f->i_get_file_name(id); id++) m->files.emplace_back(name);
    return m;
}

void remove_output(const char *path) {
    std::error_code error;
    if (std::filesystem::is_regular_file(path, error)) remove(path);
}

bool write_model(MODEL &m, const char *path) {
    FILE *file = fopen(path, "w+b");
    if (!file) {
        fprintf(stderr, "%s: cannot open for writing: %s\n", path, strerror(errno));
        return false;
    }
    I_FILE *f = I_FILE::if_create(file, m.package, m.producer.c_str());
    for (const OPTION_SET &set : m.options) f->if_enter_option_set(set);
    for (const std::string &name : m.files) f->i_enter_file_name(name.c_str());
    for (MSYM *s : m.globals) f->if_enter_global(s);
    for (MITEM &item : m.items) {
        if (item.func)
            for (MRECORD &r : item.func->records) write_record(f, r);
        else write_record(f, item.record);
    }
    for (MRECORD &init : m.inits) {
        f->if_write_init(init.sym);
        for (MNODE *t : init.trees) f->if_write_expr_node(t);
    }
    if (!f->if_close(true, false)) return true;
    fprintf(stderr, "%s: error while writing: %s\n", path, strerror(errno));
    remove_output(path);
    return false;
}
