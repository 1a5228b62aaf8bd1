#include "OPT5/simp_asg.h"

#include "OPT5/coerce.h"
#include "OPT5/tree.h"

NODE *simp_ASG(NODE *node, struct LOOP *) { return node; }
NODE *simp_opASG(NODE *node, struct LOOP *) { return node; }
NODE *truncate_RHS_for_assignment(const NODE *target, NODE *rhs, int) {
    return coerce_to_type(target->type, rhs);
}
NODE *bubble_term_to_top(const NODE *, NODE *rhs) { return rhs; }
