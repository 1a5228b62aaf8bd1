// Loop and dependence records of a written function, for the code generator's software pipelining.
//
// The loop optimizer describes what it knows in the small records below; nothing here knows its structures. Order
// of the records: loops, parents before children; dependence vectors, each distinct one once; edges. Edges wait
// until the function's trees are final, because a reference may vanish in the last clean-up: an edge with a
// missing end is dropped.
#pragma once

#include <cstdint>
#include <vector>

#include "OPT5/fwd.h"

// A loop. Unknown values keep their defaults.
struct LOOP_RECORD {
    unsigned number = 0;
    uint32_t flags = 0;     // LOOP flags
    bool is_pseudo = false; // the function as a whole
    uint64_t trip_min = 1;
    uint64_t trip_max = ~uint64_t{0};
    int64_t trip_factor = 1;
    std::vector<LOOP_RECORD> subloops = {};
};
// The loop, then its subloops.
void write_loop_icode(const LOOP_RECORD &loop);

// One level of a dependence vector: the distances at which two references may meet. Bit k of `fwd` is distance
// k + 1, of `bwd` distance -(k + 1).
struct DD_ELEMENT {
    uint32_t fwd = 0, bwd = 0;
    bool overflow_high = false, overflow_low = false, same = false;
    bool operator==(const DD_ELEMENT &) const = default;
};
struct DD_VECTOR {
    unsigned spec = 0;
    bool not_all_same = false;
    std::vector<DD_ELEMENT> elements = {};
    bool operator==(const DD_VECTOR &) const = default;
};
// A dependence between two references, named by their DDNODE numbers.
struct DD_EDGE {
    unsigned from = 0, to = 0;
    DD_VECTOR vector;
};
// Writes the vectors of the edges and keeps the edges for finalize_dd_edges. `references`: how many memory
// references were analysed, for the report.
void write_dd_edges(const std::vector<DD_EDGE> &edges, long references);
// Writes the kept edges whose ends still stand in the current function's trees, and forgets all.
void finalize_dd_edges();
// Memory banks: nothing is known of them on this target.
void write_dd_mbank_info();

// The flags byte and distance of an element as the record holds them.
void encode_dd_element(const DD_ELEMENT &element, uint8_t &flags, int8_t &distance);

// What wrbblocks says of the loop that a block lies in.
struct INLOOP {
    unsigned number = 0;
    SYMTAB *lcv = nullptr; // control variable, or null
    unsigned flags = 0;    // of the control variable
};
// Filled in by the loop optimizer: how to describe a LOOP. Null while there are none.
extern INLOOP (*describe_loop)(const struct LOOP *);
