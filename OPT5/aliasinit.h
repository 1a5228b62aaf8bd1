// The set-up of the alias analysis for one function: which symbols are aliased, which pointers form groups.
//
// The answers of the alias predicate rest on marks in symbols and on caches; both hold for one function at a time.
// A pass that needs them sets them up, a pass that changed address-taking resets them.
//
// Not active yet: no pass that asks the predicate is active.
#pragma once

// Marks the aliased symbols of the current function from its trees, and builds the pointer groups.
void init_dd_aliasing();

// Forgets what the caches of the alias analysis hold.
void reset_alias_info();
