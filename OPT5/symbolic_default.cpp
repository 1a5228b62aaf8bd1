// The safe answers of questions of OPT5/symbolic and OPT5/symfactor that are not built yet; what those files define
// takes their place.
#include "OPT5/symbolic.h"
#include "OPT5/symfactor.h"
#include "OPT5/tree.h"

#define DEFAULT_ANSWER __attribute__((weak))

DEFAULT_ANSWER INT65 max_ICON_factor(const NODE *, struct LOOP *, int) { return INT65(1); }
DEFAULT_ANSWER bool expr_product_may_overflow(const NODE *, struct LOOP *) { return true; }
DEFAULT_ANSWER bool tree_is_non_zero(const NODE *n, struct LOOP *) {
    return n->op == ICON && !n->u.lval.is_zero();
}
DEFAULT_ANSWER INT65 max_ICON_coef(const NODE *) { return INT65(1); }
DEFAULT_ANSWER NODE *div_ICON_coef(NODE *n, INT65) { return n; }
DEFAULT_ANSWER bool integer_DIV_is_exact(const NODE *, struct LOOP *) { return false; }
DEFAULT_ANSWER bool sum_may_overflow(INT65, INT65, TYPE *) { return true; }
