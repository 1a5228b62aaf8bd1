#include "OPT5/ddssacp.h"

void propagate_SSA_constants(int) {}

void clone_SSA_NASSERTs() {}
