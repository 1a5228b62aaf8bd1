// Functions that only forward to another function.
//
// A synonym and its target share one body in the end: the writer marks the synonym with a pragma that names the
// target, and the code generator gives both names one address. synonym_functions holds both sides of each pair that
// was found, and the functions that the input says are synonyms.
#pragma once

#include <unordered_set>

#include "OPT5/fwd.h"

extern std::unordered_set<FUNINFO *> synonym_functions;
