#include "OPT5/lirpass.h"

void run_early_LIR() {}

void run_late_LIR() {}
