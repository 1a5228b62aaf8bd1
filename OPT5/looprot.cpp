#include "OPT5/looprot.h"

void rotate_loops() {}

void restructure_loops() {}
