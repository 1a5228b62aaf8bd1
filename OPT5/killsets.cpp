#include "OPT5/killsets.h"

void clean_up_alias_analysis_bitvecs_etc() {}
