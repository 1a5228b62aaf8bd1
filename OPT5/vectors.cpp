#include "OPT5/vectors.h"

void disguise_vector_operations() {}

void disclose_vector_operations() {}
