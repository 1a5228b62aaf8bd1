#include "OPT5/symfactor.h"

#include "OPT5/tree.h"

bool constant_divides_expr(INT65 c, TYPE *, const NODE *tree, struct LOOP *) {
    return tree->op == ICON && !c.is_zero() && (tree->u.lval % c).is_zero();
}
