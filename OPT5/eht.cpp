#include "OPT5/eht.h"

#include <algorithm>

#include "OPT5/bbutils.h"
#include "OPT5/casts.h"
#include "OPT5/cfg.h"
#include "OPT5/files.h"
#include "OPT5/funinfo.h"
#include "OPT5/infix.h"
#include "OPT5/readexpr.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "OPT5/writetree.h"
#include "ifile/if_file.h"
#include "support/dbgout.h"
#include "support/fatal.h"
#include "support/flatmap.h"

namespace {

NODE *cleanup_tree(const EHT_ENTRY &e) { return static_cast<NODE *>(e.cleanup); }

bool is_call(const NODE *n) { return n->op == CALL || n->op == UCALL; }

// Calls `visit` on each call of a tree that names an entry. Calls of a statement lie in what it computes, not among
// the labels of a SWITCH or IF.
template <class F> void for_each_eht_call(NODE *tree, F visit) {
    if (!tree) return;
    for_each_node(tree->op == SWITCH || tree->op == IF ? tree->left : tree, [&](NODE *n) {
        if (is_call(n) && n->i_eht_id) visit(n);
    });
}

template <class F> void for_each_eht_call_of_cleanups(EHT_ENTRY *eht, unsigned size, F visit) {
    for (unsigned i = 1; i < size; i++) for_each_eht_call(cleanup_tree(eht[i]), visit);
}

std::string at_entry(unsigned id, const char *what) { return "entry " + std::to_string(id) + " " + what; }

// Whether every chain of `next` ends at entry 1. Each entry is stepped on once.
std::string check_chains(const EHT_ENTRY *eht, unsigned size) {
    std::vector<uint8_t> state(size, 0); // 1: on the present chain, 2: known to reach the root
    state[1] = 2;
    for (unsigned start = 2; start < size; start++) {
        unsigned i = start;
        while (i && !state[i]) {
            state[i] = 1;
            i = eht[i].next;
        }
        if (i == 0) return at_entry(start, "does not lead to the root");
        if (state[i] == 1) return at_entry(start, "leads to itself");
        for (i = start; state[i] == 1; i = eht[i].next) state[i] = 2;
    }
    return "";
}

std::string check_kinds(const EHT_ENTRY *eht, unsigned size) {
    for (unsigned i = 1; i < size; i++) {
        const EHT_ENTRY &e = eht[i];
        if (e.kind >= N_EHT_ENTRY_KINDS) return at_entry(i, "has an unknown kind");
        if ((e.kind == EHK_ROOT) != (i == 1))
            return i == 1 ? "entry 1 is not the root" : at_entry(i, "is a second root");
        if (e.cleanup && e.kind != EHK_CLEANUP) return at_entry(i, "has a tree and is no cleanup");
    }
    return "";
}

// Replaces ids, sorted to positions, in `next` and in the calls.
std::string renumber(EHT_ENTRY *eht, unsigned size, LIST *statements) {
    static flat_map<unsigned> position;
    position.clear();
    position.insert(0u, 0);
    for (unsigned i = 1; i < size; i++)
        if (!position.insert(eht[i].id, i)) return "two entries have the id " + std::to_string(eht[i].id);
    for (unsigned i = 1; i < size; i++) {
        const unsigned *next = position.find(eht[i].next);
        if (!next) return at_entry(eht[i].id, "is followed by one that does not exist");
        eht[i].id = i;
        eht[i].next = *next;
    }
    unsigned missing = 0;
    auto renumber_call = [&](NODE *call) {
        const unsigned *entry = position.find(call->i_eht_id);
        if (!entry) missing = call->i_eht_id;
        else call->i_eht_id = *entry;
    };
    for (LIST *s = statements; s; s = s->next) for_each_eht_call(s->tree, renumber_call);
    for_each_eht_call_of_cleanups(eht, size, renumber_call);
    return missing ? "a call names entry " + std::to_string(missing) + ", which does not exist" : "";
}

} // namespace

std::string enter_eht(const EHT_ENTRY *entries, unsigned n, LIST *statements) {
    if (n == 0) return "no entries";
    unsigned size = n + 1;
    EHT_ENTRY *eht = new EHT_ENTRY[size];
    std::copy(entries, entries + n, eht + 1);
    currfuninfo->eht = eht;
    currfuninfo->eht_size = size;
    auto comes_first = [](const EHT_ENTRY &a, const EHT_ENTRY &b) { return a.id < b.id; };
    if (!std::is_sorted(eht + 1, eht + size, comes_first)) std::stable_sort(eht + 1, eht + size, comes_first);

    std::string wrong = renumber(eht, size, statements);
    if (wrong.empty()) wrong = check_kinds(eht, size);
    for (unsigned i = 1; i < size && wrong.empty(); i++) {
        if (eht[i].kind == EHK_THROW_TERMINATE) eht[i].next = 1;
        if (eht[i].kind == EHK_CATCH) currfuninfo->flags |= FUN_cannot_suppress | FUN_cannot_inline;
    }
    return wrong.empty() ? check_chains(eht, size) : wrong;
}

bool sym_appears_in_EHT(SYMTAB *symbol) {
    for (unsigned i = 1; i < currfuninfo->eht_size; i++)
        if (cleanup_tree(currfuninfo->eht[i]) &&
            sym_appears_in_tree(symbol, cleanup_tree(currfuninfo->eht[i])))
            return true;
    return false;
}

// --- pruning ---

namespace {

struct PRUNER {
    EHT_ENTRY *eht = currfuninfo->eht;
    unsigned size = currfuninfo->eht_size;
    std::vector<NODE *> calls; // first those of the statements, then those of the entries in order
    std::vector<size_t> entry_calls = std::vector<size_t>(size + 1); // where those of an entry begin
    std::vector<bool> kept = std::vector<bool>(size), used = std::vector<bool>(size);
    std::vector<unsigned> first_kept = std::vector<unsigned>(size); // of an entry's chain, itself included

    void collect_calls();
    void find_kept();
    void find_first_kept();
    void skip_unkept();
    void mark_used();
    void compact();
};

void PRUNER::collect_calls() {
    auto add = [this](NODE *call) {
        QL_ASSERT(call->i_eht_id < size);
        calls.push_back(call);
    };
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink)
        for (LIST *s = bb->statements; s; s = s->next) for_each_eht_call(s->tree, add);
    entry_calls[0] = entry_calls[1] = calls.size();
    for (unsigned i = 1; i < size; i++) {
        for_each_eht_call(cleanup_tree(eht[i]), add);
        entry_calls[i + 1] = calls.size();
    }
}

void PRUNER::find_kept() {
    for (unsigned i = 1; i < size; i++) {
        switch (eht[i].kind) {
        case EHK_ROOT:
        case EHK_CATCH:
        case EHK_THROW_TERMINATE: kept[i] = true; break;
        case EHK_CLEANUP:
        case EHK_CATCH_END: kept[i] = kept[eht[i].next] = true; break;
        default: break;
        }
    }
    for (unsigned i = 1; i < size; i++) QL_ASSERT(kept[i] || eht[i].kind == EHK_CLEANUP_END);
}

// The root is kept and ends every chain, so there always is one.
void PRUNER::find_first_kept() {
    std::vector<unsigned> chain;
    for (unsigned start = 1; start < size; start++) {
        unsigned i = start;
        for (; !kept[i] && !first_kept[i]; i = eht[i].next) chain.push_back(i);
        unsigned found = kept[i] ? i : first_kept[i];
        first_kept[start] = found;
        for (unsigned c : chain) first_kept[c] = found;
        chain.clear();
    }
}

void PRUNER::skip_unkept() {
    for (unsigned i = 1; i < size; i++)
        if (eht[i].next) eht[i].next = first_kept[eht[i].next];
    for (NODE *call : calls) call->i_eht_id = first_kept[call->i_eht_id];
}

// What calls of the statements name, what follows it on unwinding, and what calls of these cleanups name in turn.
void PRUNER::mark_used() {
    used[0] = used[1] = true;
    std::vector<unsigned> todo;
    auto add_calls = [&](size_t from, size_t to) {
        for (; from < to; from++) todo.push_back(calls[from]->i_eht_id);
    };
    add_calls(0, entry_calls[0]);
    while (!todo.empty()) {
        unsigned i = todo.back();
        todo.pop_back();
        for (; !used[i]; i = eht[i].next) {
            used[i] = true;
            add_calls(entry_calls[i], entry_calls[i + 1]);
        }
    }
}

void PRUNER::compact() {
    std::vector<unsigned> new_ids(size, 0);
    unsigned count = 0;
    for (unsigned i = 0; i < size; i++)
        if (used[i]) new_ids[i] = count++;
    for (NODE *call : calls) call->i_eht_id = new_ids[call->i_eht_id];
    for (unsigned i = 1; i < size; i++) {
        if (!used[i]) {
            erase_tree(cleanup_tree(eht[i]));
            continue;
        }
        EHT_ENTRY entry = std::move(eht[i]);
        entry.id = new_ids[entry.id];
        QL_ASSERT(entry.id != 0);
        QL_ASSERT(entry.next == 0 || new_ids[entry.next] != 0);
        entry.next = new_ids[entry.next];
        eht[new_ids[i]] = std::move(entry);
    }
    for (unsigned i = count; i < size; i++) eht[i] = EHT_ENTRY();
    currfuninfo->eht_size = count;
}

} // namespace

void prune_eht() {
    if (!currfuninfo->eht) return;
    PRUNER pruner;
    pruner.collect_calls();
    pruner.find_kept();
    pruner.find_first_kept();
    pruner.skip_unkept();
    pruner.mark_used();
    if (std::find(pruner.used.begin(), pruner.used.end(), false) != pruner.used.end()) pruner.compact();
}

// --- labels and writing ---

void update_eht_labels(const std::vector<NODE *> &chains, bool negate) {
    static flat_map<LBL *> label_of_value;
    label_of_value.clear();
    for (NODE *chain : chains) {
        for (; chain; chain = chain->op == COMMA ? chain->left : nullptr) {
            NODE *c = chain->op == COMMA ? chain->right : chain;
            if (c->op == CASE) label_of_value.insert(c->left->u.lval.low_i32(), c->right->label);
        }
    }
    for (unsigned i = 1; i < currfuninfo->eht_size; i++) {
        for (EHT_CATCH &c : currfuninfo->eht[i].catches) {
            LBL *const *found = label_of_value.find(c.label);
            if (!found) continue;
            const LBL *label = *found;
            QL_ASSERT(label && label->refcount > 0);
            c.label = negate ? -label->number : label->number;
        }
    }
}

void update_eht_labels(NODE *cases, bool negate) { update_eht_labels(std::vector<NODE *>{cases}, negate); }

void write_eht() {
    EHT_ENTRY *eht = currfuninfo->eht;
    if (!eht) return;
    for (unsigned i = 1; i < currfuninfo->eht_size; i++) {
        if (NODE *tree = cleanup_tree(eht[i]))
            eht[i].cleanup = finish_tree_for_output(insert_mandatory_casts(remove_implicit_state(tree)));
        for (EHT_CATCH &c : eht[i].catches) {
            QL_ASSERT(c.label < 0);
            c.label = -c.label;
        }
    }
    dump_EHT(currfuninfo);
    o_file->if_write_func_eht(eht + 1, currfuninfo->eht_size - 1);
}

void dump_EHT(FUNINFO *function) {
    if (!print_debug || !function->eht) return;
    static const char *const kind_names[] = {"root",        "cleanup",   "catch",
                                             "cleanup end", "catch end", "throw terminate"};
    dprintf("\nException table of %s():\n", function->name.c_str());
    for (unsigned i = 1; i < function->eht_size; i++) {
        const EHT_ENTRY &e = function->eht[i];
        dprintf("\t%u: %s, next %u", e.id, kind_names[e.kind], e.next);
        if (e.cleanup) dprintf(": %s", stmt2infix(cleanup_tree(e)).c_str());
        for (const EHT_CATCH &c : e.catches)
            dprintf(" [%s: %d%s]", c.type_name.c_str(), c.label, c.flag ? " *" : "");
        dprintf("\n");
    }
}
