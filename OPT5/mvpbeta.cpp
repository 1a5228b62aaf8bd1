#include "OPT5/mvpbeta.h"

bool do_beta_MVP;

void beta_parms_using_mvp_ip() {}

void beta_convert_using_mvp_ip() {}
