#include "OPT5/casts.h"

#include "OPT5/bbutils.h"
#include "OPT5/coerce.h"
#include "OPT5/fold.h"
#include "OPT5/optab.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "OPT5/typefacts.h"
#include "support/fatal.h"
#include "typepkg/type_merge.h"
#include "support/register_option.h"

namespace {

const register_option casts_disabled("disable:casts");

bool is_int(const TYPE *type) { return type->is_integral() || type->is_enum(); }
// What conversions are made between here: numbers of one part.
bool is_number(const TYPE *type) { return type && (is_int(type) || type->is_fltpt()); }

void cast(NODE *&operand, TYPE *type) {
    if (!operand || !is_number(type) || !is_number(operand->type) || equiv_mtypes(type, operand->type))
        return;
    bool constant = operand->op == ICON || operand->op == FCON;
    if (!constant || !convert_constant(operand, type)) operand = coerce_to_type(type, operand);
}

// The number that is added to a pointer, in bytes: as wide as the pointer.
void cast_offset(NODE *&operand) {
    if (is_int(operand->type) && operand->type->size != tp->int_type()->size)
        cast(operand,
             operand->type->size < tp->int_type()->size ? promoted_type(operand->type) : tp->int_type());
}

void cast_operands(NODE *n) {
    if (n->type->is_ptr()) {
        if (n->op != PLUS && n->op != MINUS) return;
        if (n->left->type->is_ptr() && n->right) cast_offset(n->right);
        else if (n->right && n->right->type->is_ptr()) cast_offset(n->left);
        return;
    }
    cast(n->left, n->type);
    cast(n->right, n->type);
}

// x op= y computes in the common type of both; a count of a shift has a type of its own.
void cast_assigned(NODE *tree) {
    QL_ASSERT(tree->left->op != SCONV);
    if (!tree->right) return;
    if (tree->left->type->is_ptr()) return cast_offset(tree->right);
    if (op_of_opASG[tree->op] == SLL || op_of_opASG[tree->op] == SRL) return;
    if (is_number(tree->left->type) && is_number(tree->right->type))
        cast(tree->right, combined_type(tree->left, tree->right));
}

void cast_returned(NODE *n) {
    const SYMTAB *function = n->left && n->left->op == NAME ? n->left->u.sym : nullptr;
    if (function && function->type && function->type->is_func())
        cast(n->right, function->type->return_type());
}

// A node whose operands are done.
NODE *cast_node(NODE *n) {
    if (!n->type && n->op != RETURN) return n;
    switch (n->op) {
    case PLUS:
    case MINUS:
    case MULT:
    case ANDB:
    case ORB:
    case XORB:
    case DIV:
    case MOD:
    case UMINUS:
    case ABS:
    case NOTB:
    case SQRT:
    case SQR:
    case RECIP: cast_operands(n); break;
    case SLL:
    case SRL:
    case ACONV: cast(n->left, n->type); break;
    case COMMAOP: cast(n->right, n->type); break;
    case QUEST:
        if (n->right->op != COLON) break;
        cast(n->right->left, n->type);
        cast(n->right->right, n->type);
        break;
    case RETURN: cast_returned(n); break;
    case PLUSPLUS:
    case MINMIN: cast_assigned(n); break;
    default:
        if (op_is_opASG(n->op)) cast_assigned(n);
    }
    return n;
}

} // namespace

NODE *insert_mandatory_casts(NODE *tree) {
    if (casts_disabled) return tree;
    return rewrite_tree(tree, [](NODE *n) { return cast_node(n); });
}
