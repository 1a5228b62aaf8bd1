#include "OPT5/symrename.h"

void rename_symbols() {}

void merge_symbols() {}
