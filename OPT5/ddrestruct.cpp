#include "OPT5/ddrestruct.h"

void do_dd_restructuring() {}
