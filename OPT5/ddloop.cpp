#include "OPT5/ddloop.h"

void unbuild_loop_hierarchy() {}
