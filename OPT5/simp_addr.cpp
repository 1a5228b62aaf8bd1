#include "OPT5/simp_addr.h"

NODE *simp_UMULT(NODE *node, struct LOOP *) { return node; }
NODE *simp_UAND(NODE *node, struct LOOP *) { return node; }
NODE *simp_STDOT(NODE *node, struct LOOP *) { return node; }
NODE *simp_STREF(NODE *node, struct LOOP *) { return node; }
