// Whole-program facts about global symbols: which are written, whose address is taken, which functions are
// entries.
//
// Not active yet: every global keeps the cautious marks that reading gave it, and what call assumptions
// nobody asked for would allow is taken back.
#pragma once

#include "OPT5/fwd.h"

// Works out the marks of all global symbols. Without current function.
void analyze_global_symbols();

// Whether the function is one that initialises the static objects of a C++ file.
bool fun_is_cpp_static_initializer(const SYMTAB *function);
