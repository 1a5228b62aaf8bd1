#include "OPT5/simp_call.h"

NODE *simp_call(NODE *node, struct LOOP *) { return node; }
NODE *simp_MEMCPY(NODE *node, struct LOOP *) { return node; }
