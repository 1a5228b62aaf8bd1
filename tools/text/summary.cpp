// qldump --summary: what a file is made of.
#include <algorithm>
#include <filesystem>
#include <map>

#include "tools/text/dump.h"

namespace {

struct FUNCTION_SIZE {
    const MSYM *symbol = nullptr;
    uint64_t bytes = 0, statements = 0, nodes = 0, locals = 0, labels = 0, loops = 0, deepest = 0;
};

struct TREE_SIZE {
    uint64_t nodes = 0, depth = 0;
};

TREE_SIZE measure(const MNODE *root) {
    TREE_SIZE size;
    std::vector<std::pair<const MNODE *, uint64_t>> todo;
    if (root) todo.emplace_back(root, 1);
    while (!todo.empty()) {
        auto [n, depth] = todo.back();
        todo.pop_back();
        size.nodes++;
        size.depth = std::max(size.depth, depth);
        if (n->right) todo.emplace_back(n->right, depth + 1);
        if (n->left) todo.emplace_back(n->left, depth + 1);
    }
    return size;
}

FUNCTION_SIZE measure(const MFUNC &f) {
    FUNCTION_SIZE s;
    s.symbol = f.symbol;
    for (const MRECORD &r : f.records) {
        s.statements += r.tag == IF_STATEMENT;
        s.locals += r.tag == IF_SYMBOL;
        s.labels += r.tag == IF_LABEL;
        s.loops += r.tag == IF_LOOP;
        TREE_SIZE tree = measure(r.tree);
        s.nodes += tree.nodes;
        s.deepest = std::max(s.deepest, tree.depth);
        for (const EHT_ENTRY &e : r.eht) s.nodes += measure(static_cast<const MNODE *>(e.cleanup)).nodes;
    }
    return s;
}

// Walks the frames of the main stream: where it begins and ends, and the bytes of each function in order.
struct MAIN_STREAM {
    uint32_t begin = 0, end = 0;
    std::vector<uint64_t> function_bytes;

    explicit MAIN_STREAM(I_FILE &f) {
        int tag = 0;
        uint32_t length = 0, function = 0;
        f.if_seek(0);
        f.i_read_header(tag, length);
        begin = end = f.if_tell() + length;
        while (tag != IF_EOF) {
            f.if_seek(end);
            f.i_read_header(tag, length);
            if (tag == I_BF) function = end;
            end = f.if_tell() + (tag == IF_EOF ? 0 : length);
            if (tag == I_EF) function_bytes.push_back(end - function);
        }
    }
};

void print_bytes(MODEL &m, const MAIN_STREAM &main, uint64_t file_size, FILE *to) {
    const uint32_t *offsets = m.source->area_offsets();
    fprintf(to, "\nbytes by area\n");
    uint64_t total = 0;
    for (int i = 0; i < N_IF_AREAS; i++) {
        IF_AREA area = if_area_order[i].area;
        uint64_t from = area == AREA_HEADER ? 0
                        : area == AREA_MAIN ? main.begin
                                            : offsets[area],
                 until = file_size;
        if (area == AREA_HEADER) until = main.begin;
        else if (area == AREA_MAIN) until = main.end;
        else if (!from) until = 0;
        else
            for (int next = i + 1; next < N_IF_AREAS; next++)
                if (uint32_t at = offsets[if_area_order[next].area]) {
                    until = at;
                    break;
                }
        total += until - from;
        fprintf(to, "  %-24s %10llu\n", if_area_order[i].what, static_cast<unsigned long long>(until - from));
    }
    fprintf(to, "  %-24s %10llu\n", "all", static_cast<unsigned long long>(total));
}

void print_types(MODEL &m, FILE *to) {
    static const char *const kinds[K_count] = {
        "void",      "integer",   "float",   "fixed point", "complex",           "pointer",
        "reference", "qualified", "typedef", "array",       "pointer to member", "function",
        "enum",      "class",     "struct",  "union"};
    unsigned counts[K_count] = {}, all = 0;
    TYPE_PKG &p = *m.package;
    walk_type_tree(p.root, [&](TYPE *t) {
        if (std::find(std::begin(p.basic), std::end(p.basic), t) != std::end(p.basic)) return;
        counts[t->kind]++;
        all++;
    });
    fprintf(to, "\ntypes other than the basic ones  %u\n", all);
    for (int kind = 0; kind < K_count; kind++)
        if (counts[kind]) fprintf(to, "  %-24s %10u\n", kinds[kind], counts[kind]);
}

void print_symbols(MODEL &m, FILE *to) {
    std::map<int, std::pair<unsigned, unsigned>> by_class; // functions, objects
    for (const MSYM *s : m.globals)
        (s->is_function() ? by_class[s->sclass].first : by_class[s->sclass].second)++;
    fprintf(to, "\nglobal symbols by class     functions    objects\n");
    for (auto &[sclass, count] : by_class) {
        const char *word = word_of(storage_words, sclass);
        std::string what = word ? word : "class " + std::to_string(sclass);
        fprintf(to, "  %-24s %10u %10u\n", what.c_str(), count.first, count.second);
    }
}

} // namespace

void print_summary(MODEL &m, FILE *to) {
    MAIN_STREAM main(*m.source);
    std::vector<FUNCTION_SIZE> functions;
    FUNCTION_SIZE all;
    for (const MITEM &item : m.items) {
        if (!item.func) continue;
        FUNCTION_SIZE s = measure(*item.func);
        // Each function of the model stands for one of the stream, in order.
        s.bytes = main.function_bytes[functions.size()];
        functions.push_back(s);
        all.statements += s.statements, all.nodes += s.nodes, all.bytes += s.bytes;
        all.deepest = std::max(all.deepest, s.deepest);
    }
    uint64_t init_nodes = 0;
    for (const MRECORD &r : m.inits)
        for (const MNODE *t : r.trees) init_nodes += measure(t).nodes;
    auto number = [&](const char *what, uint64_t n) {
        fprintf(to, "%-26s %10llu\n", what, static_cast<unsigned long long>(n));
    };
    fprintf(to, "%s: format version %d, producer \"%s\"\n", m.file_name.c_str(), m.version,
            m.producer.c_str());
    number("functions", functions.size());
    number("statements", all.statements);
    number("nodes in functions", all.nodes);
    number("deepest tree", all.deepest);
    number("initialisers", m.inits.size());
    number("nodes in initialisers", init_nodes);
    number("option sets", m.options.size());
    number("file names", m.files.size());
    std::error_code error;
    uint64_t file_size = std::filesystem::file_size(m.file_name, error);
    print_bytes(m, main, error ? 0 : file_size, to);
    print_types(m, to);
    print_symbols(m, to);
    if (functions.empty()) return;
    fprintf(to, "\n%10s %10s %8s %8s %8s %8s %8s  function\n", "bytes", "statements", "nodes", "symbols",
            "labels", "loops", "depth");
    for (const FUNCTION_SIZE &s : functions)
        fprintf(to, "%10llu %10llu %8llu %8llu %8llu %8llu %8llu  %s\n",
                static_cast<unsigned long long>(s.bytes), static_cast<unsigned long long>(s.statements),
                static_cast<unsigned long long>(s.nodes), static_cast<unsigned long long>(s.locals),
                static_cast<unsigned long long>(s.labels), static_cast<unsigned long long>(s.loops),
                static_cast<unsigned long long>(s.deepest), s.symbol->name.c_str());
}
