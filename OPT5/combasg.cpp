#include "OPT5/combasg.h"

void combine_asgs_to_memory() {}

void promote_all_embedded_assignments() {}
