#include "OPT5/ddssaout.h"

void deconstruct_SSA_form() {}

void remove_SSA_decoration_trees() {}
