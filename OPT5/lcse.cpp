#include "OPT5/lcse.h"

void lcse() {}
