// What evaluating a piece of C text does to memory: enough to tell whether two pieces may change places.
//
// C leaves the order of most operands open, the trees of a file do not: they are evaluated left to right. The
// generator therefore keeps for every expression that it has built but not yet placed what that expression reads and
// writes, and evaluates it into a temporary first when something that stands to its right gets in its way.
//
// Memory is one place, except that each local variable whose address is never taken is a place of its own, named by
// its number. `ordered` marks calls and volatile accesses, which keep their order among themselves. A set of locals
// that grows beyond a few elements stands for all locals from then on, which keeps every operation constant time.
#pragma once

#include <cstdint>

struct LOCAL_SET {
    static constexpr int ROOM = 6;
    uint8_t count = 0;
    bool all = false;
    int32_t ids[ROOM] = {};

    bool empty() const { return !all && count == 0; }
    bool has(int32_t id) const {
        if (all) return true;
        for (int i = 0; i < count; i++)
            if (ids[i] == id) return true;
        return false;
    }
    void add(int32_t id) {
        if (has(id)) return;
        if (count == ROOM) all = true;
        else ids[count++] = id;
    }
    void add(const LOCAL_SET &o) {
        if (o.all) all = true;
        for (int i = 0; i < o.count; i++) add(o.ids[i]);
    }
    bool overlaps(const LOCAL_SET &o) const {
        if (empty() || o.empty()) return false;
        if (all || o.all) return true;
        for (int i = 0; i < count; i++)
            if (o.has(ids[i])) return true;
        return false;
    }
};

struct EFFECTS {
    bool reads_memory = false, writes_memory = false, ordered = false;
    LOCAL_SET reads, writes;

    void add(const EFFECTS &o) {
        reads_memory |= o.reads_memory, writes_memory |= o.writes_memory, ordered |= o.ordered;
        reads.add(o.reads);
        writes.add(o.writes);
    }
    bool changes_something() const { return writes_memory || ordered || !writes.empty(); }

    static EFFECTS call() {
        EFFECTS e;
        e.reads_memory = e.writes_memory = e.ordered = true;
        return e;
    }
};

// Whether `a` before `b` may differ from `b` before `a`.
inline bool conflict(const EFFECTS &a, const EFFECTS &b) {
    return (a.ordered && b.ordered) || (a.writes_memory && (b.reads_memory || b.writes_memory)) ||
           (a.reads_memory && b.writes_memory) || a.writes.overlaps(b.reads) || a.writes.overlaps(b.writes) ||
           a.reads.overlaps(b.writes);
}
