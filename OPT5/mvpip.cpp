#include "OPT5/mvpip.h"

bool do_IP_MVP;

void init_IP_MVP_for_current_function() {}

void add_MVP_IP_global_assertions() {}
