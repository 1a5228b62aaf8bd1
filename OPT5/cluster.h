// Groups of global symbols that functions use together: a group becomes one object, so that one address serves all
// its members.
//
// make_symbol_groupable enters a symbol in the group that its pragmas name; the barrier decides on the groups of
// the program; expand_cluster_refs rewrites the uses in a function, late, when nothing looks for the single
// objects any more.
//
// Not active yet: there are no clusters.
#pragma once

#include "OPT5/fwd.h"

// Whether the program has any group.
extern bool clusters_exist;

// Notes a symbol that has been read.
void make_symbol_groupable(SYMTAB *symbol);

// Decides on the groups. Without current function.
void collect_clustered_symbols();

// Rewrites the uses of members in the current function.
void expand_cluster_refs();
