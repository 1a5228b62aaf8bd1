#include "OPT5/writeloop.h"

#include <unordered_map>
#include <unordered_set>

#include "OPT5/cfg.h"
#include "OPT5/files.h"
#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "ifile/if_file.h"
#include "support/dbgout.h"
#include "support/fatal.h"

INLOOP (*describe_loop)(const struct LOOP *) = nullptr;

// --- loops ---

namespace {

constexpr uint32_t EARLY_EXIT = 0x100; // the least count and the factor do not hold then

void write_one_loop(const LOOP_RECORD &loop, unsigned parent) {
    uint64_t min = loop.trip_min, max = loop.trip_max,
             factor = loop.trip_factor > 0 ? uint64_t(loop.trip_factor) : 1;
    if (loop.is_pseudo) min = max = factor = 1;
    if (loop.flags & EARLY_EXIT) min = factor = 1;
    if (max < min) max = min;
    o_file->if_write_loop(loop.number, parent, min, max, factor, loop.flags);
}

} // namespace

void write_loop_icode(const LOOP_RECORD &loop) {
    struct ITEM {
        const LOOP_RECORD *loop;
        unsigned parent;
    };
    std::vector<ITEM> todo{{&loop, loop.number}}; // the outermost loop is its own parent
    while (!todo.empty()) {
        ITEM item = todo.back();
        todo.pop_back();
        write_one_loop(*item.loop, item.parent);
        const std::vector<LOOP_RECORD> &inner = item.loop->subloops;
        for (size_t i = inner.size(); i--;) todo.push_back({&inner[i], item.loop->number});
    }
}

// --- dependences ---

void encode_dd_element(const DD_ELEMENT &e, uint8_t &flags, int8_t &distance) {
    enum : uint8_t { DISTANCE = 1, BACKWARD = 2, SAME = 4, FORWARD = 8, OVERFLOWS = 16 };
    bool forward = e.fwd || e.overflow_high, backward = e.bwd || e.overflow_low;
    flags = uint8_t((backward ? BACKWARD : 0) | (e.same ? SAME : 0) | (forward ? FORWARD : 0) |
                    (e.overflow_high || e.overflow_low ? OVERFLOWS : 0));
    distance = 0;
    int count = __builtin_popcount(e.fwd) + __builtin_popcount(e.bwd) + e.same;
    bool overflows = e.overflow_high || e.overflow_low;
    if (count == 1 && !overflows) {
        flags |= DISTANCE;
        distance = int8_t(e.same ? 0 : e.fwd ? __builtin_ctz(e.fwd) + 1 : -(__builtin_ctz(e.bwd) + 1));
    } else if (forward && !backward && !e.same) {
        flags |= DISTANCE;
        distance = int8_t(e.fwd ? __builtin_ctz(e.fwd) + 1 : 33); // the least distance
    }
}

namespace {

struct PENDING_EDGE {
    unsigned from, to, mark;
};
std::vector<PENDING_EDGE> pending_edges;

void write_vector(const DD_VECTOR &v, unsigned mark) {
    constexpr size_t LONGEST_VECTOR = 255; // the record has a byte for the count
    constexpr unsigned NO_ELEMENTS = 4, NOT_ALL_SAME = 8;
    QL_ASSERT(v.spec <= 3);
    if (v.elements.size() > LONGEST_VECTOR) {
        fprintf(stderr, "\n\n   !!! DDVECT too big:  %d elements !!!\n", int(v.elements.size()));
        abort_optimizer();
    }
    unsigned flags = v.spec | (v.elements.empty() ? NO_ELEMENTS : 0) | (v.not_all_same ? NOT_ALL_SAME : 0);
    if (use_g2) flags = 0;
    uint8_t element_flags[LONGEST_VECTOR];
    int8_t distances[LONGEST_VECTOR];
    for (size_t i = 0; i < v.elements.size(); i++)
        encode_dd_element(v.elements[i], element_flags[i], distances[i]);
    o_file->if_write_dep_vector(mark, flags, unsigned(v.elements.size()), element_flags, distances);
}

struct VECTOR_HASH {
    size_t operator()(const DD_VECTOR &v) const {
        uint64_t h = v.spec * 2 + v.not_all_same;
        for (const DD_ELEMENT &e : v.elements) {
            h = (h ^ e.fwd) * 0x9E3779B97F4A7C15u;
            h = (h ^ (h >> 29) ^ e.bwd) * 0x9E3779B97F4A7C15u;
            h ^= unsigned(e.overflow_high | e.overflow_low << 1 | e.same << 2);
        }
        return size_t(h ^ (h >> 32));
    }
};

} // namespace

void write_dd_edges(const std::vector<DD_EDGE> &edges, long references) {
    std::unordered_map<DD_VECTOR, unsigned, VECTOR_HASH> marks;
    for (const DD_EDGE &e : edges) {
        auto [entry, is_new] = marks.try_emplace(e.vector, unsigned(marks.size()));
        if (is_new) write_vector(e.vector, entry->second);
        pending_edges.push_back({e.from, e.to, entry->second});
        dprintf("\tDDEDGE: #%u -> #%u, vector %u\n", e.from, e.to, entry->second);
    }
    info_printf("\nThere are %ld memory accesses with %ld dependences.\n\n", references, long(edges.size()));
}

void finalize_dd_edges() {
    if (pending_edges.empty()) return;
    std::unordered_set<unsigned> present;
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
        for (LIST *s = bb->statements; s; s = s->next) {
            NODE *tree = s->tree->op == IF || s->tree->op == SWITCH ? s->tree->left : s->tree;
            for_each_node(tree, [&](NODE *n) {
                if (n->op != DDNODE) return;
                QL_ASSERT(n->dval() != nullptr);
                present.insert(n->dval()->id);
            });
        }
    }
    for (const PENDING_EDGE &e : pending_edges) {
        unsigned missing = !present.count(e.from) ? e.from : e.to;
        if (present.count(e.from) && present.count(e.to)) {
            o_file->if_write_dep_edge(e.from, e.to, e.mark);
            continue;
        }
        dprintf("\tDropping dependence #%u -> #%u\n", e.from, e.to);
        dprintf("\t\tbecause DDNODE #%d is no longer present\n", int(missing));
    }
    pending_edges.clear();
}

void write_dd_mbank_info() {}
