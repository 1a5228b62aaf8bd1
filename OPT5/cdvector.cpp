#include "OPT5/cdvector.h"

void do_cd_vectorization() {}
