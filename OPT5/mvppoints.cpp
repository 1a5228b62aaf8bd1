#include "OPT5/mvppoints.h"

void initialize_ssa_pointsto_mvp() {}

void clear_ssa_pointsto_bindings() {}
