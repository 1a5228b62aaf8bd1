#include "OPT5/ddssadata.h"

void eliminate_dead_SSA_assignments() {}
