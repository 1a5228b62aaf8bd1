#include "tools/exec/claims.h"

#include <algorithm>
#include <cstdlib>

#include "tools/exec/compile.h"

// --- reading the claims ---

namespace {

// The claims of the pragmas and loop records at the places where they stand: the step that follows.
struct PLACED {
    uint32_t step;
    const MRECORD *record;
};

std::vector<uint32_t> successors(const std::vector<STEP> &steps, uint32_t at) {
    const STEP &s = steps[at];
    std::vector<uint32_t> out;
    switch (s.kind) {
    case ST_EXPR:
    case ST_NOP: out.push_back(at + 1); break;
    case ST_CBRANCH:
        out.push_back(at + 1);
        out.push_back(s.target);
        break;
    case ST_BRANCH: out.push_back(s.target); break;
    case ST_SWITCH:
        for (auto &c : s.table->cases) out.push_back(c.second);
        out.push_back(s.table->other);
        break;
    default: break;
    }
    return out;
}

struct STEP_GRAPH {
    std::vector<std::vector<uint32_t>> next, prev;
    std::vector<uint32_t> order; // reverse postorder
    std::vector<int> place;      // in it, -1 when unreachable
    std::vector<int> idom;

    explicit STEP_GRAPH(const std::vector<STEP> &steps) {
        size_t n = steps.size();
        next.resize(n), prev.resize(n), place.assign(n, -1), idom.assign(n, -1);
        for (uint32_t i = 0; i < n; i++)
            for (uint32_t to : next[i] = successors(steps, i)) prev[to].push_back(i);
        depth_first();
        dominators();
    }

    void depth_first() {
        std::vector<std::pair<uint32_t, size_t>> stack{{0, 0}};
        std::vector<bool> seen(next.size());
        seen[0] = true;
        while (!stack.empty()) {
            auto &[at, i] = stack.back();
            if (i == next[at].size()) {
                order.push_back(at);
                stack.pop_back();
                continue;
            }
            uint32_t to = next[at][i++];
            if (seen[to]) continue;
            seen[to] = true;
            stack.emplace_back(to, 0);
        }
        std::reverse(order.begin(), order.end());
        for (size_t i = 0; i < order.size(); i++) place[order[i]] = int(i);
    }

    // Cooper, Harvey, Kennedy: A Simple, Fast Dominance Algorithm (2001).
    void dominators() {
        idom[0] = 0;
        auto meet = [&](int a, int b) {
            while (a != b) {
                while (place[a] > place[b]) a = idom[a];
                while (place[b] > place[a]) b = idom[b];
            }
            return a;
        };
        for (bool changed = true; changed;) {
            changed = false;
            for (uint32_t at : order) {
                if (at == 0) continue;
                int best = -1;
                for (uint32_t p : prev[at])
                    if (place[p] >= 0 && idom[p] >= 0) best = best < 0 ? int(p) : meet(best, int(p));
                if (best != idom[at]) idom[at] = best, changed = true;
            }
        }
    }

    bool dominates(uint32_t a, uint32_t b) const {
        while (place[b] > place[a]) b = uint32_t(idom[b]);
        return a == b;
    }
};

void find_loops(CLAIMS &claims, const STEP_GRAPH &g) {
    size_t n = g.next.size();
    for (uint32_t head : g.order) {
        CLAIMED_LOOP loop;
        std::vector<uint32_t> todo;
        for (uint32_t p : g.prev[head])
            if (g.place[p] >= 0 && g.dominates(head, p)) todo.push_back(p);
        if (todo.empty()) continue;
        loop.head = head;
        loop.body.assign(n, false), loop.latches.assign(n, false);
        loop.body[head] = true;
        std::vector<uint32_t> back = todo;
        while (!todo.empty()) {
            uint32_t at = todo.back();
            todo.pop_back();
            if (loop.body[at]) continue;
            loop.body[at] = true;
            for (uint32_t p : g.prev[at])
                if (g.place[p] >= 0) todo.push_back(p);
        }
        // the last test: it leads to the head, through jumps alone, or out
        for (uint32_t b : back) {
            uint32_t at = b;
            while (g.next[at].size() == 1 && g.prev[at].size() == 1) {
                loop.latches[at] = true;
                uint32_t before = g.prev[at][0];
                if (at == head || !loop.body[before] || g.next[before].size() > 2) break;
                at = before;
                if (g.next[at].size() == 2) break;
            }
            loop.latches[at] = true;
        }
        claims.loops.push_back(std::move(loop));
    }
    // Reverse postorder gives an outer loop's head before an inner one's.
    claims.innermost.assign(n, -1);
    for (size_t i = 0; i < claims.loops.size(); i++) {
        CLAIMED_LOOP &loop = claims.loops[i];
        loop.parent = claims.innermost[loop.head];
        loop.depth = loop.parent < 0 ? 1 : claims.loops[size_t(loop.parent)].depth + 1;
        for (size_t s = 0; s < n; s++)
            if (loop.body[s]) claims.innermost[s] = int(i);
    }
}

// The first loop at or behind the step, in the order of the steps.
int loop_behind(const CLAIMS &claims, uint32_t step) {
    int best = -1;
    for (size_t i = 0; i < claims.loops.size(); i++) {
        uint32_t head = claims.loops[i].head;
        if (head >= step && (best < 0 || head < claims.loops[size_t(best)].head)) best = int(i);
    }
    return best;
}

uint64_t number_or(const PRAGMA *p, size_t i, uint64_t otherwise) {
    if (i >= p->args.size() || p->args[i].empty()) return otherwise;
    return strtoull(p->args[i].c_str(), nullptr, 0);
}

void place_promise(CLAIMS &claims, uint32_t step, const PRAGMA *p) {
    int found = loop_behind(claims, step);
    if (found < 0) return;
    CLAIMED_LOOP &loop = claims.loops[size_t(found)];
    if (p->number == PRAG_PARALLEL_LOOP) loop.parallel = true;
    if (p->number == PRAG_LOOP_NO_ALIAS) loop.no_alias = true;
    if (p->number != PRAG_MUST_ITERATE) return;
    loop.promised = true;
    loop.least = number_or(p, 0, 0), loop.most = number_or(p, 1, ~0ull);
    loop.multiple = std::max<uint64_t>(1, number_or(p, 2, 1));
    loop.guard_from = step;
    for (uint32_t s = step; s < loop.head; s++)
        if (claims.innermost[s] == claims.innermost[step]) claims.guarded[s] = found;
}

void place_loop_record(CLAIMS &claims, uint32_t from, uint32_t to, const XLOOP &record) {
    for (CLAIMED_LOOP &loop : claims.loops) {
        if (loop.head < from || loop.head >= to || loop.recorded) continue;
        loop.recorded = true;
        loop.min = record.min, loop.max = record.max == 0xFFFFFFFFu ? ~0ull : record.max;
        loop.factor = std::max(1u, record.factor);
        loop.dead = record.dead;
        return;
    }
}

bool is_claim(const MRECORD &r) {
    return r.tag == IF_PRAGMA && r.pragma && !r.sym &&
           (r.pragma->number == PRAG_MUST_ITERATE || r.pragma->number == PRAG_PARALLEL_LOOP ||
            r.pragma->number == PRAG_LOOP_NO_ALIAS);
}

bool tree_has_number(const MNODE *root) {
    std::vector<const MNODE *> todo{root};
    while (!todo.empty()) {
        const MNODE *t = todo.back();
        todo.pop_back();
        if (t->op == DDNODE) return true;
        if (t->left) todo.push_back(t->left);
        if (t->right) todo.push_back(t->right);
    }
    return false;
}

} // namespace

bool claims_need_references(const MFUNC *f, bool *all) {
    bool numbered = false;
    *all = false;
    for (const MRECORD &r : f->records) {
        if (is_claim(r) && r.pragma->number != PRAG_MUST_ITERATE) *all = true;
        if (r.tag == IF_STATEMENT && r.tree && !numbered) numbered = tree_has_number(r.tree);
    }
    return numbered || *all;
}

CLAIMS *collect_claims(const XFUNC *f) {
    bool any = !f->loops.empty(), all;
    bool references = claims_need_references(f->body, &all);
    for (const MRECORD &r : f->body->records) any |= is_claim(r);
    if (!any && !references) return nullptr;

    auto *claims = new CLAIMS;
    find_loops(*claims, STEP_GRAPH(f->steps));
    claims->guarded.assign(f->steps.size(), -1);
    claims->wants_all = all;
    claims->has_numbers = references;
    for (const XLOOP &l : f->loops)
        for (auto [from, to] : l.ranges) place_loop_record(*claims, from, to, l);
    uint32_t step = 0;
    for (const MRECORD &r : f->body->records) {
        if (is_claim(r)) place_promise(*claims, step, r.pragma);
        if (makes_step(r)) step++;
        if (r.tag == IF_DEP_VECTOR) claims->vectors.push_back({uint8_t(r.n[1]), r.vector});
        if (r.tag == IF_DEP_EDGE) claims->edges[uint64_t(r.n[0]) << 32 | r.n[1]].push_back(r.n[2]);
    }
    return claims;
}

// --- loops ---

namespace {

[[noreturn]] void broken(const char *what, const CLAIMED_LOOP &, uint64_t n, uint64_t bound) {
    fault("a loop ran %llu times; %s %llu", static_cast<unsigned long long>(n), what,
          static_cast<unsigned long long>(bound));
}

void check_count(const CLAIMED_LOOP &loop, uint64_t n, bool by_last_test) {
    if (loop.recorded) {
        if (n < loop.min) broken("its record says at least", loop, n, loop.min);
        if (n > loop.max) broken("its record says at most", loop, n, loop.max);
        if (n % loop.factor) broken("its record says a multiple of", loop, n, loop.factor);
    }
    if (!loop.promised) return;
    if (n > loop.most) broken("MUST_ITERATE says at most", loop, n, loop.most);
    if (!by_last_test) return;
    if (n < loop.least) broken("MUST_ITERATE says at least", loop, n, loop.least);
    if (n % loop.multiple) broken("MUST_ITERATE says a multiple of", loop, n, loop.multiple);
}

// Loops that are left when control goes from the last step to `innermost`.
void leave_loops(FRAME *f, CLAIM_STATE &state, int innermost) {
    const CLAIMS &claims = *f->func->claims;
    while (!state.open.empty()) {
        auto top = state.open.back();
        int at = innermost;
        while (at >= 0 && at != top.loop) at = claims.loops[size_t(at)].parent;
        if (at == top.loop) return;
        const CLAIMED_LOOP &loop = claims.loops[size_t(top.loop)];
        state.open.pop_back();
        state.dead |= loop.dead;
        check_count(loop, top.iterations, loop.latches[state.last_step]);
    }
}

void enter_loops(CLAIM_STATE &state, const CLAIMS &claims, int innermost) {
    std::vector<int> entered;
    int top = state.open.empty() ? -1 : state.open.back().loop;
    for (int at = innermost; at >= 0 && at != top; at = claims.loops[size_t(at)].parent)
        entered.push_back(at);
    for (size_t i = entered.size(); i-- > 0;) state.open.push_back({entered[i], 0, ++state.entries});
}

} // namespace

void claims_at_step(FRAME *f, uint32_t step) {
    CLAIM_STATE &state = *f->claims;
    const CLAIMS &claims = *f->func->claims;
    leave_loops(f, state, claims.innermost[step]);
    enter_loops(state, claims, claims.innermost[step]);
    for (size_t i = state.open.size(); i-- > 0;)
        if (claims.loops[size_t(state.open[i].loop)].head == step) {
            ++state.open[i].iterations;
            break;
        }
    if (state.armed >= 0) {
        const CLAIMED_LOOP &loop = claims.loops[size_t(state.armed)];
        if (loop.body[step]) state.armed = -1;
        else if (claims.guarded[step] != state.armed &&
                 claims.innermost[step] == claims.innermost[loop.guard_from]) {
            state.armed = -1;
            check_count(loop, 0, true);
        }
    }
    if (claims.guarded[step] >= 0 && claims.loops[size_t(claims.guarded[step])].guard_from == step)
        state.armed = claims.guarded[step];
    state.last_step = step;
}

void claims_at_return(FRAME *f) { leave_loops(f, *f->claims, -1); }

// --- references ---

namespace {

bool element_holds(const MRECORD::ELEMENT &e, int64_t distance) {
    if (e.flags & 16) return true;
    int direction = distance < 0 ? 2 : distance == 0 ? 4 : 8;
    if (!(e.flags & direction)) return false;
    if (!(e.flags & 1)) return true;
    int64_t d = e.distance;
    if ((e.flags & 14) == 8) return distance >= d;
    if ((e.flags & 14) == 2) return distance <= d;
    return distance == d;
}

std::string place_of(const CLAIM_ACCESS &a) {
    return a.id ? "reference " + std::to_string(a.id) : std::string("a reference");
}

// The loops around both in the same entry.
size_t common_loops(const CLAIM_ACCESS &a, const CLAIM_ACCESS &b) {
    size_t n = 0;
    while (n < a.position.size() && n < b.position.size() && a.position[n].first == b.position[n].first &&
           a.entries[n] == b.entries[n])
        n++;
    return n;
}

void check_edge(const CLAIMS &claims, const CLAIM_ACCESS &from, const CLAIM_ACCESS &to, size_t common) {
    if (!from.id || !to.id) return;
    auto it = claims.edges.find(uint64_t(from.id) << 32 | to.id);
    if (it == claims.edges.end())
        fault("%s and later %s touch 0x%08x, and no edge tells", place_of(from).c_str(), place_of(to).c_str(),
              to.address);
    for (uint32_t id : it->second) {
        const CLAIMS::EDGE_VECTOR &v = claims.vectors[id];
        if ((v.flags & 3) || v.elements.empty()) return;
        bool holds = true;
        for (size_t i = 1; i < v.elements.size() && i <= common; i++)
            holds &= element_holds(v.elements[i],
                                   int64_t(to.position[i - 1].second) - int64_t(from.position[i - 1].second));
        if (holds) return;
    }
    std::string distance;
    for (size_t i = 0; i < common; i++)
        distance +=
            (i ? ", " : "") + std::to_string(int64_t(to.position[i].second - from.position[i].second));
    fault("%s and later %s touch 0x%08x at the distance (%s), which their edge excludes",
          place_of(from).c_str(), place_of(to).c_str(), to.address, distance.c_str());
}

void check_pair(const CLAIMS &claims, const CLAIM_ACCESS &from, const CLAIM_ACCESS &to) {
    if (!from.writes && !to.writes) return;
    if (from.writes && to.writes && from.address == to.address && from.bytes == to.bytes &&
        from.value == to.value)
        return;
    size_t common = common_loops(from, to);
    for (size_t i = 0; i < common; i++) {
        const CLAIMED_LOOP &loop = claims.loops[size_t(from.position[i].first)];
        if (loop.parallel && from.position[i].second != to.position[i].second)
            fault("two iterations of a parallel loop touch 0x%08x", to.address);
        if (loop.no_alias && from.reference != to.reference)
            fault("two references of a loop without aliases touch 0x%08x", to.address);
        if (from.position[i].second != to.position[i].second) break; // inner loops are other activations
    }
    check_edge(claims, from, to, common);
}

void commit(FRAME *f, CLAIM_ACCESS access) {
    CLAIM_STATE &state = *f->claims;
    const CLAIMS &claims = *f->func->claims;
    if (access.writes) memcpy(&access.value, mem.base + access.address, std::min<size_t>(8, access.bytes));
    std::vector<uint32_t> earlier;
    if (state.accesses.size() >= ACCESS_CAP) return;
    uint32_t number = uint32_t(state.accesses.size());
    for (uint32_t i = 0; i < access.bytes; i++) {
        std::vector<uint32_t> &ring = state.by_byte[access.address + i];
        earlier.insert(earlier.end(), ring.begin(), ring.end());
        if (ring.size() == HISTORY) ring.erase(ring.begin());
        ring.push_back(number);
    }
    std::sort(earlier.begin(), earlier.end());
    earlier.erase(std::unique(earlier.begin(), earlier.end()), earlier.end());
    for (uint32_t each : earlier) check_pair(claims, state.accesses[each], access);
    state.accesses.push_back(std::move(access));
}

} // namespace

void claims_touch(FRAME *f, const XN *reference, uint32_t address, bool reads, bool writes) {
    CLAIM_STATE &state = *f->claims;
    if (!mem.ok_range(address, uint64_t(reference->imm2))) return; // the access itself will tell
    CLAIM_ACCESS access{reference, uint32_t(reference->imm), address, uint8_t(reference->imm2), false, 0, {},
                        {}};
    for (auto &open : state.open) {
        access.position.emplace_back(open.loop, open.iterations);
        access.entries.push_back(open.entry);
    }
    if (reads) commit(f, access);
    if (!writes) return;
    access.writes = true;
    state.pending.push_back(std::move(access));
}

void claims_stored(FRAME *f) {
    std::vector<CLAIM_ACCESS> done;
    done.swap(f->claims->pending);
    for (CLAIM_ACCESS &each : done) commit(f, std::move(each));
}
