#include "OPT5/treecheck.h"

#include "OPT5/fold.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"

namespace {

// Statements and links between statements, which have no value.
bool has_no_value(int op) {
    switch (op) {
    case NOP:
    case LABEL:
    case LABELDEF:
    case RETURN:
    case URETURN:
    case SWITCH:
    case CASE:
    case DEFAULT:
    case CBRANCH:
    case BRANCH:
    case IF:
    case SKIP:
    case ENDINIT:
    case LOOP:
    case ENDLOOP:
    case COMMA:
    case PCOMMA:
    case ASM:
    case PPRAGMA:
    case BGNBLOCK:
    case ENDBLOCK:
    case EXPRSTUB: return true;
    default: return false;
    }
}

const char *operand_error(const NODE *n, bool normalized) {
    switch (n->op) {
    case UMULT:
        return !n->left                  ? "UMULT without an address"
               : n->right && !normalized ? "UMULT with a subscript"
                                         : nullptr;
    case SKIP: return n->left || n->right ? "SKIP with operands" : nullptr;
    case ASSERT: return n->left ? nullptr : "ASSERT without a condition";
    case CSE_DUPE:
    case CSE_ORIG: return n->right ? nullptr : "a common subexpression without its value";
    }
    int operands = number_of_operands[n->op];
    if (!n->left != (operands < 1))
        return operands ? "a left operand is missing" : "a leaf has a left operand";
    if (!n->right != (operands < 2))
        return operands < 2 ? "a right operand too many" : "a right operand is missing";
    return nullptr;
}

bool is_label(const NODE *n) { return n && n->op == LABEL; }

const char *jump_error(const NODE *n) {
    switch (n->op) {
    case BRANCH: return is_label(n->left) ? nullptr : "a BRANCH without a label";
    case DEFAULT: return is_label(n->left) ? nullptr : "a DEFAULT without a label";
    case CBRANCH: return is_label(n->right) ? nullptr : "a CBRANCH without a label";
    case CASE:
        if (!is_label(n->right)) return "a CASE without a label";
        return n->left->op == ICON || n->left->op == LCON ? nullptr : "a CASE that is no constant";
    case IF:
        if (n->right->op != COMMA || !is_label(n->right->left) || !is_label(n->right->right))
            return "an IF without its two labels";
        return nullptr;
    default: return nullptr;
    }
}

// A value that can't be assigned to.
bool is_no_place(int op) {
    switch (op) {
    case ICON:
    case LCON:
    case FCON:
    case SCON:
    case LABEL:
    case FIELD:
    case UAND:
    case SCONV:
    case UMINUS:
    case NOTB:
    case MINUS:
    case DIV:
    case MOD:
    case SLL:
    case SRL: return true;
    default: return boolean_result[op] || (op_is_commutative(op) && op < FIRST_NON_FILE_OP);
    }
}

const char *payload_error(const NODE *n) {
    switch (n->op) {
    case NAME: return n->u.sym ? nullptr : "a NAME without a symbol";
    case ICON:
        if (!TYPE_IS_INT(n->type)) return "an ICON of a type that has no integers";
        return truncate_to_type(n->u.lval, n->type) == n->u.lval ? nullptr : "an ICON beyond its type";
    case FCON: return n->u.fval ? nullptr : "an FCON without a value";
    case SCON: return n->text ? nullptr : "an SCON without its bytes";
    case FIELD: return n->u.csu ? nullptr : "a FIELD of no record";
    case STDOT:
    case STREF: return n->right->op == FIELD ? nullptr : "an access to a member without its FIELD";
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: return n->u.icall ? nullptr : "a built-in without a name";
    case PPRAGMA: return n->pragma ? nullptr : "a PPRAGMA without a pragma";
    case ASM:
        if (!n->text) return "an ASM without text";
        return n->u.lval == INT65(ASM_ASSEMBLY) || n->u.lval == INT65(ASM_COMMENT) ? nullptr
                                                                                   : "an ASM of no kind";
    case QUEST:
        return n->right->op == COLON || n->right->op == COMMAOP ? nullptr : "a QUEST without its COLON";
    case ASG:
    case STASG:
    case ARASG: return is_no_place(n->left->op) ? "an assignment to a value" : nullptr;
    default:
        return op_is_opASG(n->op) && is_no_place(n->left->op) ? "an assignment to a value" : jump_error(n);
    }
}

} // namespace

const char *node_shape_error(const NODE *n, bool normalized) {
    if (n->op == ILLOP) return "an erased node";
    if (!op_is_defined(n->op)) return "an opcode that does not exist";
    if (n->op >= DFG_DEF) return "an opcode of regions in a tree";
    if (const char *error = operand_error(n, normalized)) return error;
    if (!n->type && !has_no_value(n->op)) return "a value without a type";
    return payload_error(n);
}

const char *tree_shape_error(const NODE *tree, bool normalized, const NODE **where) {
    const char *error = nullptr;
    size_t left = nodes_in_use(); // a tree that contains itself has more
    for_each_node(tree, [&](const NODE *n) {
        error = left-- == 0 ? "a tree that is a part of itself" : node_shape_error(n, normalized);
        if (error && where) *where = n;
        return error ? WALK_STOP : n->op == CSE_DUPE ? WALK_OVER : WALK_INTO;
    });
    return error;
}

const NODE *node_census::add(const NODE *tree) {
    const NODE *shared = nullptr;
    for_each_node(tree, [&](const NODE *n) {
        if (seen_.insert(n).second) return n->op == CSE_DUPE ? WALK_OVER : WALK_INTO;
        shared = n;
        return WALK_STOP;
    });
    return shared;
}
