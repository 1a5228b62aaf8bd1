#include "OPT5/validate.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <vector>

#include "OPT5/bbutils.h"
#include "OPT5/cfg.h"
#include "OPT5/dominator.h"
#include "OPT5/eraseall.h"
#include "OPT5/funinfo.h"
#include "OPT5/infix.h"
#include "OPT5/scopes.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "OPT5/treecheck.h"
#include "OPT5/treewalk.h"
#include "support/dbgout.h"
#include "support/fatal.h"
#include "support/flatmap.h"

namespace {

// The nodes that a check has met: a bit for each place where a node of the pool can be, in pages that are made when
// first needed, so that neighbours in memory are neighbours here. Nodes elsewhere go to a hash table.
class NODE_MARKS {
  public:
    // Whether the node was not in the set before.
    bool insert(const NODE *n) {
        uint64_t number = std::rotr(uint64_t(reinterpret_cast<uintptr_t>(n)), NODE_BITS);
        if (number >= NUMBERS) return elsewhere_.insert(n);
        PAGE *&page = pages[number / PAGE_NODES];
        if (!page) page = new PAGE;
        if (!page->in_use) {
            page->in_use = true;
            in_use_.push_back(page);
        }
        uint64_t &word = page->words[number / 64 % WORDS], bit = uint64_t{1} << number % 64;
        bool is_new = !(word & bit);
        word |= bit;
        return is_new;
    }
    void clear() {
        elsewhere_.clear();
        for (PAGE *page : in_use_) *page = PAGE();
        in_use_.clear();
    }

  private:
    static constexpr int NODE_BITS = 6; // of an address, the same for all nodes
    static constexpr uint64_t NUMBERS = uint64_t{1} << (36 - NODE_BITS); // support/near
    static constexpr uint64_t PAGE_NODES = 8192, WORDS = PAGE_NODES / 64;
    struct PAGE {
        uint64_t words[WORDS] = {};
        bool in_use = false;
    };
    static inline PAGE *pages[NUMBERS / PAGE_NODES]; // touched only where nodes are
    std::vector<PAGE *> in_use_;
    flat_set elsewhere_;
};

// What a check notes, kept from one to the next so that none has to allocate.
struct CHECK_TABLES {
    flat_set blocks, labels, numbers, chained, scopes;
    NODE_MARKS nodes;
    std::vector<int> places; // in flow order, by serial number
    std::vector<BBLK *> flow;
    std::vector<NODE *> refs;
    std::vector<LBL *> uses;

    void clear() {
        for (flat_set *set : {&blocks, &labels, &numbers, &chained, &scopes}) set->clear();
        nodes.clear();
        flow.clear();
    }
} tables;

// One check of the current function. Each member gives whether all is well; the first fault is described in
// `fault_` and ends the check.
class CHECK {
  public:
    // With `nodes`, each node of the trees is put there.
    explicit CHECK(std::vector<const NODE *> *nodes = nullptr) : function_(currfuninfo), checked_(nodes) {
        tables.clear();
    }
    bool graph() { return scan_blocks() && block_lists() && labels() && edges() && dominators(); }
    bool contents() { return scopes() && symbols() && statements() && label_counts(); }
    // For the second without the first.
    bool scan() { return scan_blocks() && labels(); }
    const std::string &fault() const { return fault_; }

  private:
    FUNINFO *function_;
    std::vector<const NODE *> *checked_;
    std::string fault_;
    flat_set &blocks_ = tables.blocks, &labels_ = tables.labels, &chained_ = tables.chained,
             &scopes_ = tables.scopes;
    NODE_MARKS &nodes_ = tables.nodes;
    std::vector<BBLK *> &flow_ = tables.flow;
    const BBLK *bb_ = nullptr;
    const LIST *statement_ = nullptr;
    const LS *last_scope_ = nullptr; // one that is known to be the function's, or null

    bool fail(const char *format, ...) __attribute__((format(printf, 2, 3)));
    bool scan_blocks();
    bool block_lists();
    bool labels();
    bool edges();
    int place(const BBLK *bb) const { return tables.places[bb->serial_number]; }
    bool succs_of(int k, std::vector<int> &stamp, std::vector<std::pair<int, int>> &incoming);
    bool dominators();
    bool scopes();
    bool symbols();
    bool symbol(const SYMTAB *s);
    bool statements();
    bool transfer(const LIST *s);
    bool cases(const NODE *sw);
    bool tree(const NODE *root);
    bool node(const NODE *n);
    bool name(const NODE *n);
    bool label_counts();
};

bool CHECK::fail(const char *format, ...) {
    char text[512];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    fault_ = "function " + function_->name;
    if (bb_) fault_ += ", BB" + std::to_string(bb_->dfn);
    if (statement_) fault_ += ", \"" + stmt2infix(statement_->tree) + "\"";
    fault_ += ": ";
    fault_ += text;
    return false;
}

// --- blocks ---

std::string block_name(const BBLK *bb) { return "BB" + std::to_string(bb->dfn); }

// The blocks in flow order, and their statements, once each; what follows may walk both without fear of rings.
bool CHECK::scan_blocks() {
    if (!function_->bb_list) return fail("currfuninfo->bb_list == NULL");
    for (BBLK *bb = function_->bb_list; bb; bb = bb->dflink) {
        if (!blocks_.insert(bb)) return fail("%s has improper <dflink>", block_name(flow_.back()).c_str());
        flow_.push_back(bb);
    }
    for (BBLK *bb : flow_) {
        bb_ = bb;
        if (!bb->statements) return fail("the block is empty");
        const LIST *half_way = bb->statements;
        bool step = false;
        for (const LIST *s = bb->statements; s; s = s->next, step = !step) {
            if (!s->tree) return fail("a statement has no tree");
            if (s->tree->op == ILLOP) return fail("a statement has been erased");
            if (step) half_way = half_way->next;
            if (s->next == half_way) return fail("the list of statements is a ring");
        }
    }
    bb_ = nullptr;
    return true;
}

bool CHECK::block_lists() {
    BBLK *previous = flow_.back();
    for (BBLK *bb : flow_) {
        if (bb->rdflink != previous) return fail("%s has improper <rdflink>", block_name(bb).c_str());
        previous = bb;
    }
    const BBLK *last = nullptr;
    size_t created = 0;
    for (BBLK *bb = function_->uo_list; bb; bb = bb->uolink) {
        if (bb->uoprev != last) return fail("%s has improper <uoprev>", block_name(bb).c_str());
        if (!blocks_.has(bb))
            return fail("%s is in order of creation but not in flow order", block_name(bb).c_str());
        last = bb;
        created++; // ends: uoprev is one block, so that a ring fails above
    }
    if (created != flow_.size()) return fail("a block is in flow order but not in order of creation");
    for (BBLK *bb : flow_) {
        bb_ = bb;
        if (bb->owner != function_) return fail("the block is owned by another function");
        if (bb->serial_number >= function_->blocks.size() || function_->blocks[bb->serial_number] != bb)
            return fail("the block is not in its slot %u", bb->serial_number);
    }
    bb_ = nullptr;
    if (!function_->blocks_are_numbered) return true;
    int number = 0;
    for (BBLK *bb : flow_)
        if (bb->dfn != ++number) return fail("%s should have the number %d", block_name(bb).c_str(), number);
    if (function_->bb_count != flow_.size())
        return fail("bb_count is %u for %zu blocks", function_->bb_count, flow_.size());
    return true;
}

bool CHECK::labels() {
    for (BBLK *bb : flow_) {
        bb_ = bb;
        for (LBL *label = bb->labels; label; label = label->next) {
            if (!labels_.insert(label))
                return fail("label %d is on two chains, or its chain is a ring", label->number);
            if (label->block != bb) return fail("label %d of the block leads elsewhere", label->number);
            if (!tables.numbers.insert(label->number))
                return fail("two labels have the number %d", label->number);
        }
    }
    bb_ = nullptr;
    return true;
}

// --- edges ---

// Blocks go by their place in flow order from here on; only blocks that are in it have one.

// succs against the transfer. Notes in `incoming` who leads to whom. `stamp` says for each block what is known of it as
// a successor of the one in work: twice its place when it is wanted, one more when it was found.
bool CHECK::succs_of(int k, std::vector<int> &stamp, std::vector<std::pair<int, int>> &incoming) {
    BBLK *bb = flow_[size_t(k)];
    std::vector<NODE *> &refs = tables.refs;
    refs.clear();
    if (LIST *last = last_statement(bb)) collect_labelrefs(last->tree, refs);
    int missing = 0;
    for (NODE *ref : refs) {
        if (!ref->label) return fail("a LABEL has no label");
        if (!labels_.has(ref->label)) return fail("a LABEL leads to no label of the function's blocks");
        int &known = stamp[size_t(place(ref->label->block))];
        missing += known != 2 * k;
        known = 2 * k;
    }
    for (EDGE *e = bb->succs; e; e = e->next) {
        if (!blocks_.has(e->block)) return fail("a successor is no block of the function");
        int &known = stamp[size_t(place(e->block))];
        if (known == 2 * k + 1) return fail("%s is a successor twice", block_name(e->block).c_str());
        if (known != 2 * k)
            return fail("%s is a successor, but the transfer does not name it", block_name(e->block).c_str());
        known = 2 * k + 1;
        missing--;
        incoming.push_back({place(e->block), k});
    }
    if (!missing) return true;
    for (NODE *ref : refs)
        if (stamp[size_t(place(ref->label->block))] == 2 * k)
            return fail("the transfer names %s, which is no successor",
                        block_name(ref->label->block).c_str());
    return true;
}

bool CHECK::edges() {
    size_t n = flow_.size();
    tables.places.resize(std::max(tables.places.size(), function_->blocks.size()));
    for (size_t k = 0; k < n; k++) tables.places[flow_[k]->serial_number] = int(k);
    std::vector<int> stamp(n, -1);
    std::vector<std::pair<int, int>> incoming;
    for (size_t k = 0; k < n; k++) {
        bb_ = flow_[k];
        if (!succs_of(int(k), stamp, incoming)) return false;
    }
    // By target.
    std::vector<size_t> start(n + 1, 0);
    for (auto [to, from] : incoming) start[size_t(to) + 1]++;
    for (size_t k = 0; k < n; k++) start[k + 1] += start[k];
    std::vector<int> sources(incoming.size());
    std::vector<size_t> next(start.begin(), start.end() - 1);
    for (auto [to, from] : incoming) sources[next[size_t(to)]++] = from;

    stamp.assign(n, -1);
    for (size_t k = 0; k < n; k++) {
        bb_ = flow_[k];
        int wanted = 2 * int(k);
        for (size_t s = start[k]; s < start[k + 1]; s++) stamp[size_t(sources[s])] = wanted;
        for (EDGE *e = bb_->preds; e; e = e->next) {
            if (!blocks_.has(e->block)) return fail("a predecessor is no block of the function");
            int &known = stamp[size_t(place(e->block))];
            if (known == wanted + 1) return fail("%s is a predecessor twice", block_name(e->block).c_str());
            if (known != wanted)
                return fail("%s is a predecessor without being one's successor",
                            block_name(e->block).c_str());
            known = wanted + 1;
        }
        for (size_t s = start[k]; s < start[k + 1]; s++) {
            if (stamp[size_t(sources[s])] != wanted) continue;
            bb_ = flow_[size_t(sources[s])];
            return fail("%s does not know the block as predecessor", block_name(flow_[k]).c_str());
        }
    }
    bb_ = function_->bb_list;
    if (bb_->preds) return fail("the entry has a predecessor");
    bb_ = nullptr;
    return true;
}

bool CHECK::dominators() {
    const Dominator *d = function_->dominator;
    if (!d || d->stale || d->bb_count != function_->bb_count) return true;
    for (BBLK *bb : flow_)
        if (bb->dfn < 1 || size_t(bb->dfn) >= d->block.size() || d->block[size_t(bb->dfn)] != bb)
            return fail("%s has moved under the dominators", block_name(bb).c_str());
    return true;
}

// --- scopes and symbols ---

bool CHECK::scopes() {
    std::vector<const LS *> todo;
    if (function_->scopes) {
        todo.push_back(function_->scopes);
        scopes_.insert(function_->scopes);
    }
    while (!todo.empty()) {
        const LS *scope = todo.back();
        todo.pop_back();
        const LS *last = nullptr;
        for (const LS *child = scope->child; child; child = child->sibling) {
            if (child->parent != scope) return fail("scope #%d has another parent", child->number);
            if (!scopes_.insert(child)) return fail("scope #%d stands in the tree twice", child->number);
            todo.push_back(child);
            last = child;
        }
        if (scope->last_child != last) return fail("scope #%d has another last child", scope->number);
    }
    return true;
}

bool class_is_known(int sclass) {
    switch (sclass) {
    case SC_AUTO:
    case SC_EXTDEF:
    case SC_STATIC:
    case SC_REG_LOCAL:
    case SC_EXTREF:
    case SC_NOT_STACK:
    case SC_PARM:
    case SC_REG_PARM:
    case SC_REG_LOCAL2:
    case SC_SPECIAL_PARM: return true;
    default: return false;
    }
}

bool CHECK::symbol(const SYMTAB *s) {
    if (!s->name) return fail("a symbol has no name");
    if (!s->type || !s->otype) return fail("the symbol %s has no type", s->name);
    if (!class_is_known(s->sclass)) return fail("the symbol %s has class %d", s->name, s->sclass);
    if (!s->is_function() && s->size != s->type->size)
        return fail("the symbol %s has %u bits, its type %llu", s->name, s->size,
                    (unsigned long long)s->type->size);
    if (s->level != 0 && s->scope && !scopes_.has(s->scope))
        return fail("the symbol %s has a scope outside the function", s->name);
    return true;
}

bool CHECK::symbols() {
    for (const SYMTAB *chain :
         {function_->symbols, function_->temporaries, function_->scalars, function_->nonscalars})
        for (const SYMTAB *s = chain; s; s = s->next) {
            if (!chained_.insert(s))
                return fail("the symbol %s is in two chains, or its chain is a ring", s->name);
            if (s->level != 1 && s->level != 2)
                return fail("the symbol %s in a chain of the function has level %d", s->name, s->level);
            if (!symbol(s)) return false;
        }
    return true;
}

// --- statements ---

bool op_is_transfer(int op) {
    return op == BRANCH || op == IF || op == SWITCH || op == RETURN || op == URETURN;
}

bool CHECK::cases(const NODE *sw) {
    const NODE *chain = sw->right;
    const NODE *last = chain->op == COMMA ? chain->right : chain;
    if (last->op != DEFAULT) return fail("the cases do not end in a DEFAULT");
    for (chain = chain->op == COMMA ? chain->left : nullptr; chain;
         chain = chain->op == COMMA ? chain->left : nullptr) {
        const NODE *item = chain->op == COMMA ? chain->right : chain;
        if (item->op != CASE) return fail("something stands among the cases that is none");
    }
    return true;
}

bool CHECK::transfer(const LIST *s) {
    const NODE *t = s->tree;
    if (t->op == LABELDEF || t->op == CBRANCH) return fail("a form of before the flow graph is left");
    if (!s->next && !op_is_transfer(t->op)) return fail("the block does not end in a transfer");
    if (s->next && op_is_transfer(t->op)) return fail("a transfer stands in the middle of a block");
    if (t->op == SWITCH) return cases(t);
    if (t->op == URETURN && (t->left->op != NAME || strcmp(t->left->u.sym->name, function_->symbol->name)))
        return fail("a URETURN names something other than the function");
    if (t->op == PCOMMA && (bb_ != function_->bb_list || !tree_is_extended_arg_prolog(t)))
        return fail("a PCOMMA is no argument prolog");
    return true;
}

bool CHECK::name(const NODE *n) {
    const SYMTAB *s = n->u.sym;
    if (s->level == 0) return true;
    if (s->level < 0 || s->level > 2) return fail("the symbol %s has level %d", s->name, s->level);
    if (chained_.has(s)) return true;
    // What is no object of the frame stands in no chain.
    if (s->sclass == SC_NOT_STACK || s->sclass == SC_STATIC || s->sclass == SC_EXTREF ||
        s->sclass == SC_EXTDEF)
        return symbol(s);
    return fail("the symbol %s is in no chain of the function", s->name);
}

bool CHECK::node(const NODE *n) {
    if (n->scope != last_scope_) { // mostly that of the node before
        if (n->scope && !scopes_.has(n->scope)) return fail("a node has a scope outside the function");
        last_scope_ = n->scope;
    }
    if (n->op == NAME) return name(n);
    if ((n->op == CALL || n->op == UCALL) && n->i_eht_id && n->i_eht_id >= function_->eht_size)
        return fail("a call names entry %u of an exception table of %u", n->i_eht_id, function_->eht_size);
    return true;
}

bool CHECK::tree(const NODE *root) {
    bool good = true, at_root = true;
    for_each_node(root, [&](const NODE *n) {
        const char *error = node_shape_error(n, true);
        // A node that was met before ends the walk, so that a ring of nodes does too; that is a fault of its own.
        if (!error && !nodes_.insert(n) && !(error = tree_shape_error(root, true)))
            error = "a node has two parents";
        if (checked_) checked_->push_back(n);
        good = error ? fail("%s", error) : node(n);
        if (good && !at_root && op_is_transfer(n->op)) good = fail("a transfer stands inside a statement");
        at_root = false;
        return !good ? WALK_STOP : n->op == CSE_DUPE ? WALK_OVER : WALK_INTO;
    });
    return good;
}

bool CHECK::statements() {
    for (BBLK *bb : flow_) {
        bb_ = bb;
        for (const LIST *s = bb->statements; s; s = s->next) {
            statement_ = s;
            if (!tree(s->tree) || !transfer(s)) return false;
        }
        statement_ = nullptr;
    }
    bb_ = nullptr;
    return true;
}

bool CHECK::label_counts() {
    std::vector<LBL *> &uses = tables.uses;
    uses.clear();
    for (BBLK *bb : flow_) {
        bb_ = bb;
        bool good = true;
        for_each_labelref(last_statement(bb)->tree, [&](NODE *ref) {
            good &= ref->label && labels_.has(ref->label);
            uses.push_back(ref->label);
        });
        if (!good) return fail("a LABEL leads to no label of the function's blocks");
    }
    bb_ = nullptr;
    std::sort(uses.begin(), uses.end());
    for (size_t from = 0, to; from < uses.size(); from = to) {
        for (to = from; to < uses.size() && uses[to] == uses[from];) to++;
        if (to - from <= uses[from]->refcount) continue;
        bb_ = uses[from]->block;
        return fail("label %d has %zu references, more than its count of %u", uses[from]->number, to - from,
                    uses[from]->refcount);
    }
    return true;
}

void report_fault(const std::string &fault, const char *after) {
    if (fault.empty()) return;
    std::string text = " +++++ ";
    if (after && *after) text += std::string("after ") + after + ": ";
    text += fault;
    dprintf("%s\n", text.c_str());
    fprintf(stderr, "%s\n", text.c_str());
    abort_optimizer();
}

} // namespace

std::string find_structure_fault() {
    CHECK check;
    if (check.graph()) check.contents();
    return check.fault();
}

// --- what has not changed needs no check ---

namespace {

// A number for all that a check looks at. It is made of what is there and not of what passes say they did, so that
// nothing can be forgotten. Lists are followed; the nodes are those of the last check, as a plain array: where none of
// them and no root has changed, the trees are the same ones.
class FINGERPRINT {
  public:
    // 0: something is so broken, or goes on for so long, that the check has to tell.
    uint64_t of(const FUNINFO *f, const std::vector<const NODE *> &nodes) {
        // Every step uses some up; more steps than there can be records mean a ring.
        size_t most_steps = budget_ = nodes_in_use() + 100 * f->blocks.size() + 1000000;
        add(f->bb_count, f->blocks_are_numbered, f->eht_size, f->blocks.size());
        for (const BBLK *bb = f->bb_list; bb && step(); bb = bb->dflink) block(bb);
        for (const BBLK *bb = f->uo_list; bb && step(); bb = bb->uolink) add(bb, bb->uoprev, 1, 0);
        for (const BBLK *bb : f->blocks) add(bb, 7, 0, 0);
        // A check makes no difference between the chains, so a symbol may move from one to another.
        uint64_t symbols = 0;
        for (const SYMTAB *chain : {f->symbols, f->temporaries, f->scalars, f->nonscalars})
            for (const SYMTAB *s = chain; s && step(); s = s->next) symbols += of_symbol(s);
        add(symbols, 2, 0, 0);
        scopes(f->scopes);
        if (const Dominator *d = f->dominator) {
            add(d, d->stale, d->bb_count, d->block.size());
            for (const BBLK *bb : d->block) add(bb, 3, 0, 0);
        }
        uint64_t trees = 0;
        for (const NODE *n : nodes) {
            if (is_erased(n)) return 0;
            trees += of_node(n);
        }
        records_ = most_steps - budget_ + nodes.size();
        return broken_ || !budget_ ? 0 : (sum_ ^ trees) | 1;
    }

    // What has been looked at, when nothing was broken.
    size_t records() const { return records_; }

  private:
    uint64_t sum_ = 0;
    size_t budget_ = 0, records_ = 0;
    bool broken_ = false;

    static uint64_t word(const void *p) { return uint64_t(reinterpret_cast<uintptr_t>(p)); }
    static uint64_t word(uint64_t n) { return n; }

    bool step() { return budget_ && budget_--; }

    // A node of the last check may have been erased since. Its memory is looked at as such then.
    static bool is_erased(const NODE *n) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
        constexpr size_t OP = offsetof(NODE, op);
#pragma GCC diagnostic pop
        int16_t op;
        memcpy(&op, reinterpret_cast<const char *>(n) + OP, sizeof op);
        return op == ILLOP;
    }

    template <class A, class B, class C, class D> static uint64_t mixed(A a, B b, C c, D d) {
        return (word(a) + 0x9E3779B97F4A7C15u) * (2 * word(b) + 0xC2B2AE3D27D4EB4Fu) ^
               (word(c) + 0x165667B19E3779F9u) * (2 * word(d) + 0xD6E8FEB86659FD93u);
    }
    // The products do not wait for each other; the sum keeps the order.
    template <class A, class B, class C, class D> void add(A a, B b, C c, D d) {
        sum_ = (sum_ << 23 | sum_ >> 41) * 5 + mixed(a, b, c, d);
    }

    // Sums of these are to keep apart which node has what, so the node's place is in each product; a factor of each is
    // odd, so that no change of the other gets lost.
    static uint64_t of_node(const NODE *n) {
        uint64_t at = word(n), low;
        uint32_t high;
        memcpy(&low, &n->u, sizeof low);
        memcpy(&high, reinterpret_cast<const char *>(&n->u) + sizeof low, sizeof high);
        return (word(n->left) + at) * (2 * word(n->right) + 0x9E3779B97F4A7C15u) +
               (word(n->type) + 3 * at + (uint64_t(n->op) << 48)) *
                   (2 * word(n->scope) + 0xC2B2AE3D27D4EB4Fu) +
               (low + 5 * at) * (2 * word(n->payload) + 0x165667B19E3779F9u) + (2 * at + 1) * high;
    }

    void block(const BBLK *bb) {
        add(bb, bb->rdflink, uint64_t(bb->dfn), bb->serial_number);
        for (const EDGE *e = bb->preds; e && step(); e = e->next) add(e->block, bb, 4, 0);
        for (const EDGE *e = bb->succs; e && step(); e = e->next) add(e->block, bb, 5, 0);
        for (const LBL *label = bb->labels; label && step(); label = label->next)
            add(label, label->block, uint64_t(uint32_t(label->number)), label->refcount);
        add(bb->owner, bb->statements, 6, 0);
        for (const LIST *s = bb->statements; s && step(); s = s->next) {
            broken_ |= !s->tree;
            sum_ = (sum_ << 23 | sum_ >> 41) * 5 + word(s->tree);
        }
    }

    // To be summed, like those of nodes: the symbol's place is in each product.
    static uint64_t of_symbol(const SYMTAB *s) {
        uint64_t at = word(s);
        return mixed(at, s->type, 3 * at, s->otype) + mixed(5 * at, s->scope, 7 * at, s->name) +
               mixed(9 * at, s->size, 11 * at, uint64_t(s->level) << 8 | s->sclass);
    }

    void scopes(const LS *root) {
        walk_stack<const LS *> todo;
        if (root) todo.push(root);
        while (!todo.empty() && step()) {
            const LS *scope = todo.pop();
            add(scope, scope->parent, scope->last_child, uint64_t(scope->number));
            for (const LS *child = scope->child; child && step(); child = child->sibling) todo.push(child);
        }
    }
};

// What a function looked like when it passed its last check, and who has worked on it since.
struct PASSED {
    std::vector<const NODE *> nodes;
    uint64_t fingerprint = 0;        // 0: none
    size_t records = 0;              // that it was made of
    std::vector<const char *> since; // names of passes
    size_t barriers = 0;             // those of `quick_barriers` that were there then
};
flat_map<PASSED *> passed;           // by FUNINFO; null when its body has gone
std::deque<PASSED> passed_store;     // what the map points to, and
std::vector<PASSED *> passed_unused; // those of bodies that have gone, empty
size_t passed_records;               // of all of them
std::vector<const char *> quick_barriers;

// The entry of the current function; null when there is none.
PASSED *find_passed() {
    PASSED **entry = passed.find(currfuninfo);
    return entry ? *entry : nullptr;
}
PASSED &find_or_make_passed() {
    PASSED *&entry = passed[currfuninfo];
    if (entry) return *entry;
    if (passed_unused.empty()) {
        entry = &passed_store.emplace_back();
    } else {
        entry = passed_unused.back();
        passed_unused.pop_back();
    }
    return *entry;
}

// A look at a function is put off while the passes take less time than this many looks.
constexpr double LOOKS_WORTH_A_LOOK = 4;
double seconds_per_record = 4e-9;       // of a look; measured as they are made
constexpr size_t RECORDS_AT_LEAST = 30; // what a look takes beside that of its records, as so many more

double seconds_of_look(size_t records) { return double(records + RECORDS_AT_LEAST) * seconds_per_record; }

using CLOCK = std::chrono::steady_clock;

double seconds_since(CLOCK::time_point start) {
    return std::chrono::duration<double>(CLOCK::now() - start).count();
}

void forget_check(FUNINFO *f) {
    PASSED **last = passed.find(f);
    if (!last || !*last) return;
    passed_records -= (*last)->records;
    **last = PASSED();
    passed_unused.push_back(*last);
    *last = nullptr;
}

bool is_as_it_was(const PASSED &last) {
    constexpr size_t LEAST_TO_MEASURE = 1000; // records; below, the clock itself counts
    if (last.records < LEAST_TO_MEASURE) return FINGERPRINT().of(currfuninfo, last.nodes) == last.fingerprint;
    CLOCK::time_point start = CLOCK::now();
    bool same = FINGERPRINT().of(currfuninfo, last.nodes) == last.fingerprint;
    seconds_per_record += (seconds_since(start) / double(last.records) - seconds_per_record) / 8;
    return same;
}

// Those that may have done it: "a, b or c".
std::string names_since(const PASSED &last, const char *after) {
    std::vector<const char *> names(quick_barriers.begin() + long(last.barriers), quick_barriers.end());
    names.insert(names.end(), last.since.begin(), last.since.end());
    if (after) names.push_back(after);
    std::string text;
    for (size_t i = 0; i < names.size(); i++) {
        if (i) text += i + 1 == names.size() ? " or " : ", ";
        text += names[i];
    }
    return text;
}

} // namespace

std::string find_new_fault() {
    register_body_eraser(forget_check);
    PASSED &last = find_or_make_passed();
    if (!last.fingerprint || !is_as_it_was(last)) {
        static std::vector<const NODE *> nodes; // so that each list gets the size that it needs
        last.fingerprint = 0;
        nodes.clear();
        CHECK check(&nodes);
        if (check.graph()) check.contents();
        if (!check.fault().empty()) return check.fault();
        last.nodes = nodes;
        FINGERPRINT look;
        last.fingerprint = look.of(currfuninfo, last.nodes);
        passed_records += look.records() - last.records;
        last.records = look.records();
    }
    last.since.clear();
    last.barriers = quick_barriers.size();
    return "";
}

bool validate_function(const char *after) {
    std::string fault = find_new_fault();
    if (!fault.empty()) report_fault(fault, names_since(find_or_make_passed(), after).c_str());
    return true;
}

bool validate_after_pass(const char *pass, double seconds) {
    if (!currfuninfo->bb_list) return false;
    PASSED *last = find_passed();
    if (last && seconds < LOOKS_WORTH_A_LOOK * seconds_of_look(last->records)) {
        last->since.push_back(pass);
        return false;
    }
    return validate_function(pass);
}

void validate_after_barrier(const char *pass, double seconds) {
    if (seconds < LOOKS_WORTH_A_LOOK * seconds_of_look(passed_records)) {
        quick_barriers.push_back(intern_name(pass));
        return;
    }
    for (SYMTAB *function : functions) {
        current_function scope(make_FUNINFO(function));
        if (currfuninfo->bb_list) validate_function(pass);
    }
}

void validate_deferred() {
    const PASSED *last = find_passed();
    if (!last || !currfuninfo->bb_list) return;
    if (!last->since.empty() || last->barriers < quick_barriers.size()) validate_function(nullptr);
}

void validate_cfg() {
    CHECK check;
    check.graph();
    report_fault(check.fault(), nullptr);
}

void validate_stmts() {
    CHECK check;
    if (check.scan()) check.contents();
    report_fault(check.fault(), nullptr);
}
