#include "OPT5/ddcps.h"

void straighten_cond_paths() {}
