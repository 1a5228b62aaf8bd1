#include "OPT5/synonym.h"

std::unordered_set<FUNINFO *> synonym_functions;
