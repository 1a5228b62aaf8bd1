// Superblocks and traces: the likely path through a function, without side entries.
//
// Not active yet: leaves the function as it is.
#pragma once

// Forms traces by frequency, duplicates tails, and optimizes along them.
void optimize_superblocks_in_cfg();

// Lays the blocks out so that likely paths fall through.
void straighten_traces_in_cfg();

// Joins equal ends of blocks that lead to the same place.
void do_early_cross_jumping();
