#include "OPT5/mdbase.h"

const BUILTIN_DECLARATION *find_builtin_declaration(const char *) { return nullptr; }
