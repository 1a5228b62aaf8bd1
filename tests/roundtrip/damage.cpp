#include "tests/roundtrip/damage.h"

#include <random>

namespace {

struct DAMAGE {
    MODEL &m;
    std::mt19937 rng;
    std::vector<MFUNC *> functions;
    MFUNC *f = nullptr; // where the change is made
    std::vector<TYPE *> types;

    DAMAGE(MODEL &model, unsigned seed) : m(model), rng(seed) {
        for (MITEM &item : m.items)
            if (item.func) functions.push_back(item.func.get());
        for (MSYM *s : m.globals) types.push_back(s->type);
        for (TYPE *t : m.package->basic)
            if (t) types.push_back(t);
    }
    unsigned pick(size_t n) { return n ? unsigned(rng() % n) : 0; }
    template <class T> T &one_of(std::vector<T> &v) { return v[pick(v.size())]; }

    // The nodes of a random statement or cleanup.
    std::vector<MNODE *> nodes() {
        std::vector<MNODE *> roots, all;
        for (MRECORD &r : f->records) {
            if (r.tree) roots.push_back(r.tree);
            for (EHT_ENTRY &e : r.eht)
                if (e.cleanup) roots.push_back(static_cast<MNODE *>(e.cleanup));
        }
        std::vector<MNODE *> todo{one_of(roots)};
        while (!todo.empty()) {
            MNODE *n = todo.back();
            todo.pop_back();
            all.push_back(n);
            if (n->left) todo.push_back(n->left);
            if (n->right) todo.push_back(n->right);
        }
        return all;
    }
    MNODE *some_node() {
        std::vector<MNODE *> all = nodes();
        return one_of(all);
    }
    MSYM *some_local() {
        std::vector<MSYM *> locals;
        for (MRECORD &r : f->records)
            if (r.tag == IF_SYMBOL) locals.push_back(r.sym);
        return locals.empty() ? nullptr : one_of(locals);
    }

    void change_opcode(MNODE *n);
    void change_payload(MNODE *n);
    void change_records();
    void change_symbol(MSYM *s);
    void change_table();
    void change();
};

// Another opcode, with what the format needs for it.
void DAMAGE::change_opcode(MNODE *n) {
    int op;
    do op = int(pick(FIRST_NON_FILE_OP));
    while (!if_node_info[op].name || op == ENDINIT || op == VREG);
    int arity = op == SKIP ? 0 : if_node_info[op].arity;
    MNODE *filler = m.icon(1, m.package->int_type());
    n->left = arity < 1 ? nullptr : n->left ? n->left : filler;
    n->right = arity < 2 ? nullptr : n->right ? n->right : m.icon(2, m.package->int_type());
    n->op = op;
    if (!n->type) n->type = m.package->int_type();
    n->sym = nullptr;
    if (op == FCON) n->text = "0x1p+0";
    else if (op == LCON) n->text = "12345678901";
    else if (op == ICALL || op == UICALL || op == MCALL || op == UMCALL)
        n->text = pick(2) ? "__x" : "_never_executed";
    else if (op == SCON) n->text = "text";
    else if (op == LABEL) n->value = 1 + pick(9);
    else if (op == NAME) n->sym = one_of(m.globals);
    else if (op == SWITCH) n->value = 0;
    else if (op == FIELD) {
        for (TYPE *t : types)
            if (t->is_csu()) n->csu = t, n->member = t->mdata();
    }
}

void DAMAGE::change_payload(MNODE *n) {
    static const int64_t values[] = {0, 1, -1, 5, 100, 0x7FFFFFFF};
    if (n->op == NAME) n->sym = pick(4) ? one_of(m.globals) : nullptr;
    else if (n->op == LABEL) n->value = 1 + pick(40);
    else if (n->op == FIELD) n->member = pick(2) ? n->csu->find_mdata(1 + pick(7)) : nullptr;
    else if (n->op == CALL || n->op == UCALL) n->eh = pick(8);
    else if (n->op == ICON) n->value = values[pick(6)];
}

void DAMAGE::change_records() {
    std::vector<size_t> movable;
    for (size_t k = 0; k < f->records.size(); k++) {
        int tag = f->records[k].tag;
        if (tag == IF_STATEMENT || tag == IF_LABEL || tag == IF_PRAGMA || tag == IF_COMMENT)
            movable.push_back(k);
    }
    if (movable.size() < 2) return;
    size_t a = one_of(movable), b = one_of(movable);
    switch (pick(3)) {
    case 0: f->records.erase(f->records.begin() + long(a)); break;
    case 1: std::swap(f->records[a], f->records[b]); break;
    default: {
        MRECORD copy = f->records[a];
        copy.tree = m.copy(copy.tree);
        f->records.insert(f->records.begin() + long(b), copy);
    }
    }
}

void DAMAGE::change_symbol(MSYM *s) {
    static const int classes[] = {0, 1, 2, 3, 4, 5, 6, 9, 17, 22, 27, 40};
    if (!s) return;
    switch (pick(4)) {
    case 0: s->sclass = classes[pick(12)]; break;
    case 1: s->type = one_of(types); break;
    case 2:
        s->type = one_of(types);
        s->size = uint32_t(s->type->size), s->align = s->type->align;
        break;
    default: s->cqual = int(pick(0x10000)) & 0x7FFF;
    }
}

void DAMAGE::change_table() {
    for (MRECORD &r : f->records) {
        if (r.eht.empty()) continue;
        EHT_ENTRY &e = one_of(r.eht);
        switch (pick(4)) {
        case 0: e.next = r.eht[pick(r.eht.size())].id; break;
        case 1:
            if (e.kind != EHK_CATCH && e.kind != EHK_CLEANUP) e.kind = EHK_CLEANUP_END;
            break;
        case 2:
            if (!e.catches.empty()) e.catches[0].label = int(1 + pick(20));
            break;
        default: std::swap(e.next, one_of(r.eht).next);
        }
    }
}

void DAMAGE::change() {
    f = one_of(functions);
    MNODE *n = some_node();
    switch (pick(12)) {
    case 0:
    case 1:
    case 2: change_opcode(n); break;
    case 3: n->type = one_of(types); break;
    case 4:
        if (n->left && n->right) std::swap(n->left, n->right);
        break;
    case 5:
        if (n->left) n->left = m.copy(some_node());
        break;
    case 6:
        if (n->right) n->right = m.copy(some_node());
        break;
    case 7:
    case 8: change_payload(n); break;
    case 9: change_records(); break;
    case 10: change_symbol(pick(2) ? some_local() : one_of(m.globals)); break;
    default: change_table();
    }
}

} // namespace

void damage(MODEL &m, unsigned seed, int changes) {
    if_node_table_init();
    DAMAGE d(m, seed);
    for (int k = 0; k < changes; k++) d.change();
}
