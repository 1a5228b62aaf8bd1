#include "OPT5/aliasinit.h"

void init_dd_aliasing() {}

void reset_alias_info() {}
