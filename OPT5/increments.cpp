#include "OPT5/increments.h"

void propagate_increments() {}

void expand_bitfields() {}

void fold_ANDBASGs() {}
