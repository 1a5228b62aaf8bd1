#include "OPT5/sblk.h"

void optimize_superblocks_in_cfg() {}

void straighten_traces_in_cfg() {}

void do_early_cross_jumping() {}
