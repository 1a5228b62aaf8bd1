#include "OPT5/liveness.h"

void allocate_regs() {}
