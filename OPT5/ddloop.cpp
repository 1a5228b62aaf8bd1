#include "OPT5/ddloop.h"

#include "OPT5/funinfo.h"
#include "OPT5/tree.h"

LOOPIV *find_LOOPIV_for_IV(const NODE *name, struct LOOP *loop, bool outwards) {
    for (struct LOOP *each = loop; each; each = outwards ? each->parent : nullptr)
        for (LOOPIV *iv = each->IVs; iv; iv = iv->next)
            if (iv->sym == name->u.sym) return iv;
    return nullptr;
}

LIST *givens_of_loop(struct LOOP *loop) {
    if (loop) return loop->givens;
    return currfuninfo ? currfuninfo->global_assertions : nullptr;
}

void unbuild_loop_hierarchy() {}
