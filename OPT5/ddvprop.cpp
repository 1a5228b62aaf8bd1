#include "OPT5/ddvprop.h"

void do_value_propagation() {}
