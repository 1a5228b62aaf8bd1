// Points-to environments: what a pointer is known to point at, as noted on the nodes that dereference it.
//
// An environment belongs to one node: copying a node drops it, erasing a node deletes it.
#pragma once

#include "OPT5/fwd.h"

// Releases an environment; `bindings` nonzero: with the targets that it lists. Null is accepted.
void delete_PTENV(PTENV *env, int bindings);
