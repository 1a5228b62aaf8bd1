// Addresses: indirections, fields, addresses of fields.
#pragma once

#include "OPT5/fwd.h"

NODE *simp_UMULT(NODE *node, struct LOOP *loop);
NODE *simp_UAND(NODE *node, struct LOOP *loop); // also ARGREF
NODE *simp_STDOT(NODE *node, struct LOOP *loop);
NODE *simp_STREF(NODE *node, struct LOOP *loop);
