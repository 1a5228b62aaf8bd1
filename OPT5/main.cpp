#include "OPT5/schedule.h"

#include <cstdlib>

int main(int argc, char **argv) { exit(optimizer_main(argc, argv)); }
