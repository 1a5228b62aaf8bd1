#include "OPT5/gcse.h"

void gcse() {}

void clean_up_gdflow_bitvecs() {}
