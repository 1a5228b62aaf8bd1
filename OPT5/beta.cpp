#include "OPT5/beta.h"

void beta_parms() {}

void beta_convert() {}
