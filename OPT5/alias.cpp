#include "OPT5/alias.h"

#include "OPT5/aliasobj.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"

bool lvalues_may_be_aliased(const NODE *a, const NODE *b, struct LOOP *) {
    const SYMTAB *x = object_name_if_known(a, true, false), *y = object_name_if_known(b, true, false);
    // two objects of which neither is a group of others share nothing
    return !x || !y || x == y || (x->flags & SF_CLUSTERED) || (y->flags & SF_CLUSTERED);
}

bool lvalue_is_known_by_field(const NODE *) { return false; }

TYPE *true_type(const NODE *n, int) { return n->type; }
