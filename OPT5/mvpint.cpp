#include "OPT5/mvpint.h"

bool do_int_MVP;

void do_integer_value_propagation() {}
