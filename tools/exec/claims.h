// What a file claims about its loops and its references of memory, checked while the program runs.
//
// Loops. A loop record bounds how often control comes to the loop's first step on each entry from outside: at least
// min, at most max (0xFFFFFFFF: no bound), a multiple of the factor. A variable that the loop's record calls dead on exit
// is not read behind the loop before something writes it. The pragma MUST_ITERATE claims the same of the first
// loop behind it; the least count and the factor then hold only when the loop ends by its last test, and a guard that
// jumps past the loop counts as no iteration. Loops are natural loops of the steps; a cycle that has a second way in
// is not looked at.
//
// References. A DDNODE gives a reference a number. Where two references of one activation touch a byte, one of them
// writing, an edge from the earlier to the later must exist whose vector holds the distance of iterations in each loop
// around both; edges of less certainty excuse a pair. Two reads, and two stores of the same value at the same place,
// claim nothing. PARALLEL_LOOP claims that no such pair lies in two iterations of the loop, LOOP_NO_ALIAS that no two
// references of the loop ever share a byte that one writes: they look at every indirection, numbered or not.
//
// A byte remembers its last HISTORY accesses in this activation, and an activation compares ACCESS_CAP accesses; what
// is older or comes later is not compared.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "tools/exec/interp.h"

constexpr unsigned HISTORY = 16;
// Accesses that one activation compares; it stops looking then, so that memory stays bounded.
constexpr size_t ACCESS_CAP = 2000000;

// A loop of a function and what is claimed of it.
struct CLAIMED_LOOP {
    int parent = -1;   // index of the innermost loop around it
    uint32_t head = 0; // step
    unsigned depth = 0;
    std::vector<bool> body;    // by step
    std::vector<bool> latches; // steps behind which only the head or the end of the loop follows
    bool recorded = false;     // min, max, factor of a loop record
    uint64_t min = 0, max = ~0ull, factor = 1;
    bool promised = false; // the same of MUST_ITERATE
    uint64_t least = 0, most = ~0ull, multiple = 1;
    uint32_t guard_from = 0; // first step behind the pragma
    bool parallel = false, no_alias = false;
    uint64_t dead = 0; // bits of variables that nothing reads behind the loop
};

struct CLAIMS {
    std::vector<CLAIMED_LOOP> loops; // outer ones first
    std::vector<int> innermost;      // loop of each step, -1 for none
    std::vector<int> guarded;        // by step: the promised loop whose guard it belongs to, -1 for none
    struct EDGE_VECTOR {
        uint8_t flags;
        std::vector<MRECORD::ELEMENT> elements;
    };
    std::vector<EDGE_VECTOR> vectors;
    std::unordered_map<uint64_t, std::vector<uint32_t>> edges; // from << 32 | to: vectors
    bool has_numbers = false;                                  // some DDNODE: the edges are complete
    bool wants_all = false;                                    // every indirection is looked at
};

// One use of memory.
struct CLAIM_ACCESS {
    const XN *reference;
    uint32_t id; // of the DDNODE; 0: none
    uint32_t address;
    uint8_t bytes;
    bool writes;
    uint64_t value;                                 // what a write left there
    std::vector<std::pair<int, uint64_t>> position; // loop and iteration, outermost first
    std::vector<uint64_t> entries;                  // which entry of each loop
};

struct CLAIM_STATE {
    struct OPEN_LOOP {
        int loop;
        uint64_t iterations, entry;
    };
    std::vector<OPEN_LOOP> open; // outermost first
    uint64_t entries = 0;
    uint64_t dead = 0; // variables that nothing has written since their loop ended
    int armed = -1;    // promised loop whose guard runs
    uint32_t last_step = 0;
    std::unordered_map<uint32_t, std::vector<uint32_t>> by_byte; // ring of accesses
    std::vector<CLAIM_ACCESS> accesses;
    std::vector<CLAIM_ACCESS> pending; // stores that have not happened yet
};

// Reads the claims of a compiled function; null when it makes none. Owned by the function.
CLAIMS *collect_claims(const XFUNC *f);
// Whether the records of the function claim something about memory, so that references must tell what they touch.
bool claims_need_references(const MFUNC *f, bool *all);

// Control comes to a step; the activation ends by returning.
void claims_at_step(FRAME *f, uint32_t step);
void claims_at_return(FRAME *f);
// A reference touches memory: reads at once, writes when claims_stored tells that the store has happened.
void claims_touch(FRAME *f, const XN *reference, uint32_t address, bool reads, bool writes);
void claims_stored(FRAME *f);
