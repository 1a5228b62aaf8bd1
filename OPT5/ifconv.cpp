#include "OPT5/ifconv.h"

void revert_strict_ternary_ICALLs_to_CFG() {}

void restructure_strict_ternary_ICALLs_from_CFG() {}
