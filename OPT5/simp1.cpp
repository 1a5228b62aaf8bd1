#include "OPT5/simp1.h"

#include <vector>

#include "OPT5/bbutils.h"
#include "OPT5/cfg.h"
#include "OPT5/coerce.h"
#include "OPT5/congruent.h"
#include "OPT5/ddloop.h"
#include "OPT5/fold.h"
#include "OPT5/funinfo.h"
#include "OPT5/icalls.h"
#include "OPT5/rules.h"
#include "OPT5/simp2.h"
#include "OPT5/simp3.h"
#include "OPT5/simp_addr.h"
#include "OPT5/simp_arith.h"
#include "OPT5/simp_asg.h"
#include "OPT5/simp_assert.h"
#include "OPT5/simp_call.h"
#include "OPT5/simp_div.h"
#include "OPT5/simp_relop.h"
#include "OPT5/simp_shape.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "OPT5/typefacts.h"
#include "OPT5/vecsimp.h"
#include "support/dbgout.h"
#include "support/fatal.h"

// ---------------------------------------------------------------------------------------------------------
// one node
// ---------------------------------------------------------------------------------------------------------

namespace {

// Operators from under which effects are not moved in front: they evaluate an operand perhaps, not at all, or as a
// statement does; the simplification of statements takes effects out of those.
bool keeps_its_commas(const NODE *n) {
    switch (n->op) {
    case COLON:
    case ANDAND:
    case OROR:
    case RETURN:
    case SWITCH:
    case CASE:
    case DEFAULT:
    case COMMA:
    case PCOMMA:
    case COMMAOP:
    case LOOP:
    case ENDLOOP:
    case ARGREF:
    case STARG:
    case ACONV:
    case CBRANCH:
    case SIMDHI:
    case SIMDLO:
    case IF:
    case NASSERT:
    case ASSERT:
    case DDNODE:
    case CSE_DUPE:
    case CSE_ORIG: return true;
    default: return n->op >= SSA_PHI;
    }
}

// What the operand that stays behind reads must not be changed by what moves in front of it, and no effect of its own
// may come later than it did.
bool may_run_before(const NODE *effect, const NODE *stays) {
    if (!stays || is_constant_leaf(stays) || is_address_of_name(stays)) return true;
    return is_free_of_effects(stays) && !tree_modifies_lvalue_in_tree(effect, stays);
}

// Whether an effect in the right operand may come before the node's left operand.
bool may_leave_right(const NODE *n, const NODE *effect) {
    const NODE *left = n->left;
    if (!left) return true;
    if (n->op != ASG && n->op != STASG && n->op != ARASG) return may_run_before(effect, left);
    // of a place that is only written, what computes the address counts
    for (;;) {
        if (left->op == STDOT) left = left->left;
        else if (left->op == NAME) return true;
        else if (left->op == UMULT || left->op == STREF)
            return may_run_before(effect, left->left) &&
                   (left->op == STREF || may_run_before(effect, left->right));
        else return false;
    }
}

// (e, v) under an operand of n  ->  (e, n over v)
NODE *hoist_comma(NODE *n, NODE *&operand, struct LOOP *loop) {
    NODE *comma = operand;
    operand = comma->right;
    NODE *value = simp_node(n, loop);
    comma->right = value;
    comma->type = value->type;
    return comma;
}

// The value that `x = c` has: what x holds afterwards.
NODE *assigned_constant(const NODE *asg, struct LOOP *loop) {
    const NODE *target = asg->left;
    TYPE *type = target->type;
    INT65 value = truncate_to_type(asg->right->u.lval, offset_type(type));
    if (is_bitfield(target)) {
        int width = int(target->right->member->width());
        value = type->is_unsigned() ? value.truncate_unsigned(width) : value.truncate_signed(width);
    }
    NODE *constant = new_ICON(value, type, asg->scope);
    if (type->is_enum()) constant->type = type;
    return in_type(asg->type, constant, loop);
}

// (x = c) under an operand of n  ->  (x = c, n over c)
NODE *hoist_assignment(NODE *n, NODE *&operand, struct LOOP *loop) {
    NODE *asg = operand;
    operand = assigned_constant(asg, loop);
    NODE *value = simp_node(n, loop);
    return maketree(COMMAOP, asg, value, value->type, value->scope ? value->scope : asg->scope);
}

bool assigns_integer_constant(const NODE *n) {
    return n->op == ASG && is_icon(n->right) && is_ring_type(n->left->type) && is_ring_type(n->type) &&
           is_int_type(n->right->type);
}

// Moves effects out of the operands; null when there was nothing to move.
NODE *hoist_effects(NODE *n, struct LOOP *loop) {
    NODE *left = n->left, *right = n->op == UMULT ? nullptr : n->right;
    if (left && left->op == COMMAOP && RULE("(e, x) op y -> (e, x op y)"))
        return hoist_comma(n, n->left, loop);
    bool takes_constants = !opcode_is_ASG(n->op) && n->op != STDOT && n->op != UAND && n->op != INITLOOP;
    if (takes_constants && left && assigns_integer_constant(left) && RULE("(x = c) op y -> (x = c, c op y)"))
        return hoist_assignment(n, n->left, loop);
    if (right && right->op == COMMAOP && may_leave_right(n, right->left) &&
        RULE("x op (e, y) -> (e, x op y)"))
        return hoist_comma(n, n->right, loop);
    if (takes_constants && right && assigns_integer_constant(right) && may_leave_right(n, right) &&
        RULE("y op (x = c) -> (x = c, y op c)"))
        return hoist_assignment(n, n->right, loop);
    return nullptr;
}

// A node without lexical scope takes that of an operand, and the target of an assignment that of the assignment.
void repair_scope(NODE *n) {
    if (!n->left) return;
    switch (n->op) {
    case SWITCH:
    case COMMAOP:
        if (!n->scope && n->right) n->scope = n->right->scope;
        return;
    case COMMA:
    case CALL:
    case UCALL:
        if (n->scope) return;
        if (n->right && n->right->op == COMMA) n->scope = n->right->scope;
        if (!n->scope && n->left->op == UAND) n->scope = n->left->scope;
        return;
    case ICALL:
    case MCALL:
        if (!n->scope && n->left->op == COMMA) n->scope = n->left->scope;
        return;
    case IF:
        if (!n->right) return;
        if (!n->right->scope && n->right->left) n->right->scope = n->right->left->scope;
        if (!n->scope) n->scope = n->right->scope;
        return;
    default:
        if (!opcode_is_ASG(n->op) && n->op != RETURN) return;
        if (!n->scope) n->scope = n->left->scope;
        if (!n->left->scope) n->left->scope = n->scope;
    }
}

[[noreturn]] void refuse_opcode(const NODE *n) {
    char text[120];
    snprintf(text, sizeof text, "\n\n   !!! Bad opcode in simplifier (%d) %s !!!\n", n->op, opname(n->op));
    fputs(text, stderr);
    if (print_debug && fdebug) fputs(text, fdebug);
    abort_optimizer();
}

bool is_vector_operation(const NODE *n) {
    switch (n->op) {
    case VPACK:
    case VPACKM:
    case VPACK1P:
    case VFIELD:
    case VRCONV:
    case VSCONV: return true;
    default: return n->type && n->type->is_vector();
    }
}

// (a, (b, c))  ->  ((a, b), c)         and so on for a chain of commas on the right that leans to the left
bool turn_comma(NODE *&n) {
    NODE *right = n->right;
    if (right->op != COMMAOP) return false;
    NODE *first = right;
    while (first->left->op == COMMAOP) first = first->left;
    n->right = first->left;
    n->type = n->right->type;
    first->left = n;
    n = right;
    return true;
}

// PMCONV(x, bits) -> x * bytes       PVCONV(x, bits) -> x / bytes
NODE *simp_scaling(NODE *n, struct LOOP *loop) {
    if (!is_icon(n->right) || !is_int_type(n->type)) return n;
    bool multiplies = n->op == PMCONV;
    if (multiplies ? !RULE("PMCONV(x, bits) -> x * bytes") : !RULE("PVCONV(x, bits) -> x / bytes")) return n;
    TYPE *type = multiplies ? n->type : tp->int_type();
    NODE *bytes = new_ICON(n->right->u.lval / INT65(8), type, n->scope);
    erase_node(n->right);
    NODE *result = maketree(multiplies ? MULT : DIV, in_type(type, n->left, loop), bytes, type, n->scope);
    TYPE *wanted = n->type;
    n->left = n->right = nullptr;
    erase_node(n);
    return in_type(wanted, simp_node(result, loop), loop);
}

// x = x, for records  ->  x
NODE *simp_STASG(NODE *n) {
    if (tree_is_arg_prolog(n) || !trees_are_congruent(n->left, n->right) || !RULE("STASG: x = x -> x"))
        return n;
    return keep_right(n);
}

NODE *simp_BRANCH(NODE *n) {
    n->type = tp->void_type();
    if (n->left) n->left->type = tp->void_type();
    return n;
}

// The worker of the operator.
NODE *dispatch(NODE *n, struct LOOP *loop) {
    switch (n->op) {
    case NAME: fix_type_info(n); return n;
    case PLUS: return simp_PLUS(n, loop);
    case PLUSASG:
    case MINUSASG:
    case MULTASG:
    case ANDBASG:
    case ORBASG:
    case XORBASG:
    case DIVASG:
    case MODASG:
    case SLLASG:
    case SRLASG: return simp_opASG(n, loop);
    case MINUS: return simp_MINUS(n, loop);
    case UMINUS:
    case ABS:
    case NOTB:
    case SQRT:
    case SQR: return simp_unary(n, loop);
    case MULT: return simp_MULT(n, loop);
    case UMULT: fix_type_info(n); return simp_UMULT(n, loop);
    case ANDB: return simp_ANDB(n, loop);
    case ORB: return simp_ORB(n, loop);
    case XORB: return simp_XORB(n, loop);
    case UAND:
    case ARGREF: return simp_UAND(n, loop);
    case QUEST: return simp_QUEST(n, loop);
    case ANDAND: return simp_ANDAND(n, loop);
    case OROR: return simp_OROR(n, loop);
    case SWITCH: return simp_SWITCH(n, loop);
    case ASG: return simp_ASG(n, loop);
    case COMMAOP: return simp_COMMAOP(n, loop);
    case DIV: return simp_DIV(n, 0, loop);
    case MOD: return simp_MOD(n, loop);
    case SLL:
    case SRL: return simp_shift(n, loop);
    case STDOT: fix_type_info(n); return simp_STDOT(n, loop);
    case STREF: fix_type_info(n); return simp_STREF(n, loop);
    case CALL:
    case UCALL:
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: return fix_pack_types(simp_call(n, loop));
    case EXCLAIM: return simp_EXCLAIM(n, loop);
    case STASG: return simp_STASG(n);
    case SCONV: return simp_SCONV(n, loop);
    case PCONV: return simp_PCONV(n, loop);
    case ACONV: return simp_ACONV(n, loop);
    case PMCONV:
    case PVCONV: return simp_scaling(n, loop);
    case CBRANCH: return simp_CBRANCH(n, loop);
    case BRANCH: return simp_BRANCH(n);
    case NASSERT:
    case ASSERT: return simp_ASSERT(n, loop);
    case MEMCPY: return simp_MEMCPY(n, loop);
    case COMPLEX:
    case REAL:
    case IMAG: return simp_complexop(n, loop);
    case EXPT: return simp_EXPT(n, loop);
    case IF: return simp_IF(n, loop);
    case CSE_DUPE:
    case CSE_ORIG:
    case ILLOP: refuse_opcode(n);
    default: return op_is_comparison(n->op) ? simp_relop(n, loop) : n;
    }
}

} // namespace

// Most nodes are leaves of these kinds, for which there is nothing else to do; true when it is done.
static bool simp_leaf(NODE *n) {
    switch (n->op) {
    case NAME:
    case ICON:
    case LABEL:
    case FIELD: break;
    default: return false;
    }
    if (n->type) n->type = n->type->normalized();
    if (n->type && n->type->is_vector()) return false;
    if (n->op == NAME) fix_type_info(n);
    return true;
}

NODE *simp_node(NODE *n, struct LOOP *loop) {
    if (n->type) n->type = n->type->normalized();
    if (!keeps_its_commas(n))
        if (NODE *comma = hoist_effects(n, loop)) return simp_COMMAOP(comma, loop);
    if (is_vector_operation(n)) return simp_vector_node(n);
    bool constant = n->left && (n->left->op == ICON || n->left->op == FCON);
    bool reciprocal = n->op == MULT && n->left->op == RECIP && n->right->op == FCON;
    if (reciprocal || (constant && (!n->right || is_leaf(n->right)))) {
        n = reciprocal ? fold_constants(n) : fold_constant_node(n);
        if (is_leaf(n)) return n;
    }
    repair_scope(n);
    return dispatch(n, loop);
}

// ---------------------------------------------------------------------------------------------------------
// whole trees
// ---------------------------------------------------------------------------------------------------------

namespace {

// The facts of the function and of the loop, out of force as long as this lives.
class facts_hidden {
  public:
    explicit facts_hidden(struct LOOP *loop) : info_(currfuninfo), loop_(loop) {
        if (info_) facts_ = info_->global_assertions, info_->global_assertions = nullptr;
        if (loop_) givens_ = loop_->givens, loop_->givens = nullptr;
    }
    ~facts_hidden() {
        if (info_) info_->global_assertions = facts_;
        if (loop_) loop_->givens = givens_;
    }
    facts_hidden(const facts_hidden &) = delete;
    facts_hidden &operator=(const facts_hidden &) = delete;

  private:
    FUNINFO *info_;
    struct LOOP *loop_;
    LIST *facts_ = nullptr, *givens_ = nullptr;
};

bool facts_are_in_force(struct LOOP *loop) {
    return (currfuninfo && currfuninfo->global_assertions) || (loop && loop->givens);
}

const NODE *statement_root; // of the statement in work, a CALL or an assertion, until its worker saw it

} // namespace

NODE *simp_tree(NODE *tree, struct LOOP *loop) {
    struct ITEM {
        NODE **slot;
        bool operands_done;
    };
    NODE *root = tree;
    walk_stack<ITEM> todo;
    if (root) todo.push({&root, false});
    while (!todo.empty()) {
        ITEM &item = todo.top();
        NODE **slot = item.slot;
        if (item.operands_done) {
            todo.pop();
            *slot = simp_node(*slot, loop);
            continue;
        }
        NODE *n = *slot;
        if (n->op == ASSERT && facts_are_in_force(loop)) {
            // an assertion must not be proved from itself; none stands under another one
            facts_hidden hidden(loop);
            todo.pop();
            *slot = simp_tree(n, loop);
            continue;
        }
        if (n->op == CSE_DUPE || n->op == CSE_ORIG) refuse_opcode(n);
        // chains that lean right are turned here, where it costs one step for each of their nodes
        while (n->op == COMMAOP ? turn_comma(n) : lean_left(n)) *slot = n;
        item.operands_done = true;
        if (n->right && !simp_leaf(n->right)) todo.push({&n->right, false});
        if (n->left && !simp_leaf(n->left)) todo.push({&n->left, false});
    }
    return root;
}

NODE *simp_statement(NODE *tree, struct LOOP *loop) {
    if (!tree) return tree;
    bool asks = tree->op == CALL || tree->op == UCALL || tree->op == ASSERT || tree->op == NASSERT;
    statement_root = asks ? tree : nullptr;
    NODE *result = simp_tree(tree, loop);
    statement_root = nullptr;
    if (result->op != COMMAOP) return result;
    NODE *effects = peel_for_effect(result);
    return effects ? effects : new_ICON(INT65(0), tp->int_type(), nullptr);
}

bool is_statement_in_work(const NODE *node) {
    bool answer = node == statement_root;
    if (answer) statement_root = nullptr;
    return answer;
}

void simp_all_trees() {
    if (print_debug && fdebug) fprintf(fdebug, "\n\n\t\t\t---------- ENTERING 'simp_all_trees' ----------\n");
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
        LIST *last = nullptr;
        int transfer = NOP;
        for (LIST *s = bb->statements; s; s = s->next) {
            last = s;
            transfer = s->tree->op;
            s->tree = simp_statement(expunge_IDENTITY_ops_from_tree(s->tree), nullptr);
        }
        if (last && (transfer == IF || transfer == SWITCH)) refresh_succs(bb);
    }
}

// ---------------------------------------------------------------------------------------------------------
// effects and values
// ---------------------------------------------------------------------------------------------------------

namespace {

// (p = p + d), p - d  ->  p++         p a pointer variable; p-- for a negative d
NODE *recover_post_increment(NODE *n) {
    NODE *asg = n->left, *value = n->right;
    if (value->op != PLUS && value->op != MINUS) return n;
    NODE *p = value->left;
    if (p->op != NAME || !p->type->is_ptr() || !value->type->is_ptr() || !is_icon(value->right) ||
        p->type->is_volatile())
        return n;
    auto step_of = [](const NODE *sum) {
        INT65 c = sum->op == PLUS ? sum->right->u.lval : -sum->right->u.lval;
        return sign_extend_by_type_size(truncate_to_type(c, tp->int_type()), tp->int_type());
    };
    INT65 d;
    if (asg->op == ASG && (asg->right->op == PLUS || asg->right->op == MINUS) && is_icon(asg->right->right) &&
        trees_are_congruent(asg->left, asg->right->left) && asg->right->type->is_ptr()) {
        d = step_of(asg->right);
    } else if ((asg->op == PLUSASG || asg->op == MINUSASG) && is_icon(asg->right)) {
        d = asg->op == PLUSASG ? asg->right->u.lval : -asg->right->u.lval;
        d = sign_extend_by_type_size(truncate_to_type(d, tp->int_type()), tp->int_type());
    } else {
        return n;
    }
    INT65 e = step_of(value);
    if (asg->left->op != NAME || asg->left->u.sym != p->u.sym || d.is_zero() || e != -d) return n;
    if (d == int_type_min(tp->int_type()) || !RULE("COMMAOP: (p += d, p - d) -> p++")) return n;
    TYPE *type = n->type;
    LS *scope = n->scope;
    NODE *place = asg->left;
    asg->left = nullptr;
    erase_tree(n);
    bool up = d.is_positive();
    return maketree(up ? PLUSPLUS : MINMIN, place, new_ICON(up ? d : -d, type, scope), type, scope);
}

} // namespace

// (a, (b, c))  ->  ((a, b), c)       what has no effect goes from the left; ((a, b), c) without b's value
NODE *simp_COMMAOP(NODE *n, struct LOOP *) {
    // of a comma on the left only the value is new: it is not used
    if (n->left->op == COMMAOP) {
        while (turn_comma(n->left))
            ;
        NODE *inner = n->left;
        inner->right = peel_for_effect(inner->right);
        if (!inner->right) n->left = keep_left(inner);
        else inner->type = inner->right->type;
    } else {
        n->left = peel_for_effect(n->left);
    }
    if (!n->left) return keep_right(n);
    while (turn_comma(n))
        ;
    if (!n->scope) n->scope = n->right->scope;
    return recover_post_increment(n);
}

// --- peeling ---

namespace {

bool is_volatile_read(const NODE *n) {
    return (n->op == NAME || n->op == UMULT || n->op == STDOT || n->op == STREF) && n->type->is_volatile();
}

bool call_has_no_effect(NODE *call) {
    // what gives nothing, or a record through a hidden pointer, is called for what it writes
    if (call->type->is_void()) return false;
    FUNINFO *callee = find_FUNINFO_for_call(call);
    return callee && callee->has_flag(FUN_is_pure_fun) && !callee->has_flag(FUN_never_returns);
}

// A node that goes, leaving its operands to be looked at: nothing that it does by itself matters.
bool is_pure_shell(NODE *n) {
    switch (n->op) {
    case COMMAOP:
    case COMMA: return true;
    case CALL:
    case UCALL: return call_has_no_effect(n);
    case ASG:
        return n->left->op == NAME && !n->left->type->is_volatile() && !tree_is_arg_prolog(n) &&
               trees_are_congruent(n->left, n->right, false);
    case UAND:
    case ARGREF: return true; // of its operand, only what computes the address runs
    default: return side_effects[n->op] == SE_NONE && !is_volatile_read(n);
    }
}

constexpr int PEEL_DEPTH_CAP = 32; // && and || in right sides of one another

// a && (f() + 1)  ->  a && f()         nobody uses the value; without a right side when it did nothing (x = x)
void peel_right_side(NODE *n) {
    static int depth = 0;
    if (depth >= PEEL_DEPTH_CAP || !is_pure_shell(n->right)) return;
    depth++;
    n->right = peel_for_effect(n->right);
    depth--;
    if (!n->right) return;
    if (!is_int_type(n->right->type) && !n->right->type->is_ptr())
        n->right = mk_COMMAOP(n->right, mk_ICON(INT65(0), tp->int_type()));
}

} // namespace

NODE *peel_for_effect(NODE *tree) {
    if (tree && is_pure_shell(tree) && !RULE("a value that nobody uses -> its effects")) return tree;
    NODE *effects = nullptr;
    auto keep = [&](NODE *n) { effects = effects ? mk_COMMAOP(effects, n) : n; };
    walk_stack<NODE *> todo;
    if (tree) todo.push(tree);
    while (!todo.empty()) {
        NODE *n = todo.pop();
        bool conditional = n->op == ANDAND || n->op == OROR || n->op == QUEST;
        if (conditional && tree_has_side_effects(n->right)) {
            if (n->op != QUEST) peel_right_side(n);
            if (n->right) {
                keep(n);
                continue;
            }
            todo.push(n->left);
            n->left = nullptr;
            erase_node(n);
            continue;
        }
        if (!is_pure_shell(n)) {
            if (n->op == PLUSPLUS) n->op = PLUSASG;
            if (n->op == MINMIN) n->op = MINUSASG;
            keep(n);
            continue;
        }
        if (n->op == UAND || n->op == ARGREF) {
            // &x and &p->f read neither x nor *p, volatile or not; only what computes p runs
            NODE *base = const_cast<NODE *>(strip_STDOTs(n->left));
            if (base->op == UMULT || base->op == STREF) {
                todo.push(base->left);
                base->left = nullptr;
            } else if (base->op != NAME) {
                todo.push(n->left);
                n->left = nullptr;
            }
            erase_tree(n);
            continue;
        }
        if (n->right) todo.push(n->right);
        if (n->left) todo.push(n->left);
        n->left = n->right = nullptr;
        erase_node(n);
    }
    return effects;
}
