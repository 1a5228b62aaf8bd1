#include "OPT5/copyprop.h"

void copyprop(int) {}
