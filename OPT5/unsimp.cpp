#include "OPT5/unsimp.h"

void unsimplify() {}
