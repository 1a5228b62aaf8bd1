#include "OPT5/triples.h"

void annotate_cfg() {}
