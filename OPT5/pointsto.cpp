#include "OPT5/pointsto.h"

// No pass keeps such vectors yet.
void clear_PT_vectors() {}

void propagate_PT_info() {}
