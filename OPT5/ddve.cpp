#include "OPT5/ddve.h"

void do_DVE_unit_testing() {}
