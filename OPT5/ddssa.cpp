#include "OPT5/ddssa.h"

bool function_is_in_SSA_form;
bool keep_SSA_form;

bool construct_SSA_form(int, int, int) { return false; }
