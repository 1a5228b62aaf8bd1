#include "OPT5/inliner.h"

INLINER_POLICY inliner_policy = NEW_INLINER;

void auto_inline_call_sites() {}
