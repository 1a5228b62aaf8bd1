#include "OPT5/subrange.h"

void lcse_subrange_assignments() {}

void elim_dead_subrange_assigns() {}
