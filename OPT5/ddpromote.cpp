#include "OPT5/ddpromote.h"

void promote_vars_to_registers(bool) {}
