#include "OPT5/schedule.h"

#include <cstdlib>

#ifdef __SANITIZE_ADDRESS__
// Symbols, types and function records live as long as the process and go with it.
extern "C" const char *__asan_default_options() { return "detect_leaks=0"; }
#endif

int main(int argc, char **argv) { exit(optimizer_main(argc, argv)); }
