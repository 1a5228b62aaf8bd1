#include "OPT5/icfold.h"

#include <vector>

#include "OPT5/bbutils.h"
#include "OPT5/rules.h"
#include "OPT5/tree.h"
#include "typepkg/type_lanes.h"

NODE *fold_intrinsic_ICALL(NODE *tree) {
    if (tree->op != ICALL || !tree->left || !tree->type->is_integral() || tree->type->is_bool()) return tree;
    std::vector<NODE *> args = arg_list_args(tree->left);
    if (args.empty() || args.size() > INTRIN_OPERANDS || !intrin_is_known(tree->u.icall)) return tree;
    LANE_SHAPE have[INTRIN_OPERANDS], result = lane_shape_of(tree->type);
    for (size_t i = 0; i < args.size(); i++) {
        if (args[i]->op != ICON || !args[i]->type->is_integral()) return tree;
        have[i] = lane_shape_of(args[i]->type);
    }
    INTRIN_FORM form = intrin_find(tree->u.icall, result, have, unsigned(args.size()));
    if (!form.row || !(form.row->flags & INTRIN_WORD)) return tree;
    LANES operands[INTRIN_OPERANDS], answer, lane;
    for (size_t i = 0; i < args.size(); i++) {
        lane.v[0] = lane_fit(args[i]->u.lval.to_int64(), have[i].lane);
        if (!intrin_immediate_fits(form, unsigned(i), lane.v[0])) return tree;
        lanes_as(lane, have[i], operands[i], form.operand[i]);
    }
    if (!RULE("intrinsic on constants")) return tree;
    intrin_eval(form, operands, &answer);
    lanes_as(answer, form.result, lane, result);
    INT65 value(static_cast<long long>(lane.v[0]));
    if (tree->type->is_unsigned()) value = value.truncate_unsigned(int(tree->type->size));
    NODE *icon = mk_ICON(value, tree->type);
    icon->scope = tree->scope;
    erase_tree(tree);
    return icon;
}
