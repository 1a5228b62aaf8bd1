#include "OPT5/cdilp.h"

void do_cd_ilp() {}
