#include "OPT5/profile.h"

void add_loop_annotation_from_profile() {}
