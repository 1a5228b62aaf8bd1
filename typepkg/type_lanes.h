// Types as shapes of lanes: what the table of built-ins (support/intrin.h) is asked with.
#pragma once

#include "support/intrin.h"
#include "typepkg/type_pkg.h"

// A vector of up to 16 lanes, or a scalar as one lane; LANE_none for everything else. Pointers are unsigned words.
LANE_SHAPE lane_shape_of(const TYPE *);
