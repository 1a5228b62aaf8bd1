#include "OPT5/assertions.h"

void clean_up_assert_RELOPs() {}
