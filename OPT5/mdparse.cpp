#include "OPT5/mdparse.h"

void parse_md_file(const char *) {}
