#include "OPT5/ipcp.h"

void init_ipcp_for_fun() {}

void do_interprocedural_propagation() {}
