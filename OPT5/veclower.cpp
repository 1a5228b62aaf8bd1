#include "OPT5/veclower.h"

void lower_vector_statements() {}

void coalesce_local_vector_symbols() {}
