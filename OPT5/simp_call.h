// Calls: commas out of argument lists, built-ins by their descriptors, functions of the C library, MEMCPY.
#pragma once

#include "OPT5/fwd.h"

NODE *simp_call(NODE *node, struct LOOP *loop);
NODE *simp_MEMCPY(NODE *node, struct LOOP *loop);
