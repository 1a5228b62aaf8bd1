#include "OPT5/cdmatch.h"

void matcher_init() {}
