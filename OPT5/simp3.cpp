#include "OPT5/simp3.h"

#include <algorithm>
#include <array>

#include "OPT5/aliasloop.h"
#include "OPT5/bbutils.h"
#include "OPT5/bif.h"
#include "OPT5/coerce.h"
#include "OPT5/congruent.h"
#include "OPT5/cfg.h"
#include "OPT5/flags.h"
#include "OPT5/fold.h"
#include "OPT5/optab.h"
#include "OPT5/seqtrees.h"
#include "OPT5/rules.h"
#include "OPT5/simp1.h"
#include "OPT5/simp2.h"
#include "OPT5/simp_known.h"
#include "OPT5/simp_relop.h"
#include "OPT5/simp_strict.h"
#include "OPT5/simp_testutil.h"
#include "OPT5/treewalk.h"
#include "OPT5/typefacts.h"
#include "support/fps_arith.h"
#include "typepkg/type_merge.h"

std::map<int, int> andb_combo_map, ORB_combo_map;
unsigned boolean_walk_hits, control_depth_hits, short_circuit_hits;

// ---------------------------------------------------------------------------------------------------------
// 0 or 1?
// ---------------------------------------------------------------------------------------------------------

bool tree_is_trivially_invertible(const NODE *tree) { return boolean_inv[tree->op] != ILLOP; }

bool type_returns_1_or_0(const TYPE *type) { return type->is_bool(); }

namespace {

enum BOOLEAN_ANSWER { IS_NOT, IS_BOOLEAN, LEFT_MUST, RIGHT_MUST, BOTH_MUST, EITHER_DOES };

// What a node says of itself, or whom it asks.
BOOLEAN_ANSWER ask_boolean(const NODE *n) {
    if (boolean_result[n->op]) return IS_BOOLEAN;
    if (!n->type || !is_integer_type(n->type)) return IS_NOT;
    switch (n->op) {
    case NAME:
    case UMULT:
    case ASG: return type_returns_1_or_0(n->type) ? IS_BOOLEAN : IS_NOT;
    case ICON: return is_ICON(n, 0) || is_ICON(n, 1) ? IS_BOOLEAN : IS_NOT;
    case STDOT:
    case STREF: {
        bool one_bit = is_bit_field(n) && n->type->is_unsigned() && n->right->member->width() == 1;
        return one_bit || type_returns_1_or_0(n->type) ? IS_BOOLEAN : IS_NOT;
    }
    case SCONV:
        if (type_returns_1_or_0(n->type)) return IS_BOOLEAN;
        return is_integer_type(n->left->type) ? LEFT_MUST : IS_NOT;
    case IDENTITY: return LEFT_MUST;
    case MINUS: return is_ICON(n->left, 1) ? RIGHT_MUST : IS_NOT; // 1 - b
    case ANDB: return EITHER_DOES;
    case MULT:
    case ORB:
    case XORB:
    case COLON: return BOTH_MUST;
    case QUEST:
    case COMMAOP: return RIGHT_MUST;
    case SRL: // the top bit
        return n->type->is_unsigned() && is_ICON(n->right, int(n->type->size) - 1) ? IS_BOOLEAN : IS_NOT;
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: {
        const BIF *bif = find_BIF_descriptor(n->u.icall);
        return bif && bif->flags2 & BIF_RETURNS_1_OR_0 ? IS_BOOLEAN : IS_NOT;
    }
    default: return IS_NOT;
    }
}

// Depth-first; an ANDB needs one of its sides, so the walk calls itself there, with what is left of the budget.
bool is_boolean_within(const NODE *tree, unsigned &budget) {
    walk_stack<const NODE *> todo;
    todo.push(tree);
    while (!todo.empty()) {
        const NODE *n = todo.pop();
        if (budget == 0) {
            boolean_walk_hits++;
            return false;
        }
        budget--;
        switch (ask_boolean(n)) {
        case IS_BOOLEAN: break;
        case LEFT_MUST: todo.push(n->left); break;
        case RIGHT_MUST: todo.push(n->right); break;
        case BOTH_MUST:
            todo.push(n->right);
            todo.push(n->left);
            break;
        case EITHER_DOES:
            if (!is_boolean_within(n->right, budget) && !is_boolean_within(n->left, budget)) return false;
            break;
        case IS_NOT: return false;
        }
    }
    return true;
}

} // namespace

bool returns_1_or_0(const NODE *tree) {
    unsigned budget = BOOLEAN_WALK_CAP;
    return is_boolean_within(tree, budget);
}

NODE *make_boolean(NODE *tree, struct LOOP *loop) {
    // (T *) c  ->  c
    while (tree->op == PCONV && tree->left->op == ICON) tree = take_left(tree);
    if (tree->op == ICON) {
        bool truth = !tree->u.lval.is_zero();
        become_ICON(tree, INT65(truth ? 1 : 0), tp->int_type());
        return tree;
    }
    return returns_1_or_0(tree) || is_unresolved_mix(tree) ? tree
                                                           : simp_relop(mk_zero_test(false, tree), loop);
}

NODE *invert_boolean_tree(NODE *tree) {
    // !(x == 0)  ->  x     x is 0 or 1
    if (tree->op == EQ && is_zero_constant(tree->right) && returns_1_or_0(tree->left))
        return coerce_to_type(tp->int_type(), take_left(tree));
    // !(a < b)  ->  a >= b, and so on; a float's relations have opposites that hold for unordered operands
    if (tree_is_trivially_invertible(tree)) {
        tree->op = boolean_inv[tree->op];
        return tree;
    }
    return mk_zero_test(true, tree);
}

NODE *simp_EXCLAIM(NODE *node, struct LOOP *loop) {
    if (!RULE("EXCLAIM: !x -> x == 0, or the inverse test")) return node;
    TYPE *type = node->type;
    return as_type(type, simp_node(invert_boolean_tree(take_left(node)), loop), loop);
}

// ---------------------------------------------------------------------------------------------------------
// trees of which only the truth matters
// ---------------------------------------------------------------------------------------------------------

namespace {

// Each gives the tree to go on with, or null where it does not apply.
using CONTROL_RULE = NODE *(*)(NODE *n, struct LOOP *loop);

// x != 0  ->  x
NODE *control_nonzero(NODE *n, struct LOOP *) {
    if (n->op != NEQ || !is_zero_constant(n->right) || !is_word_type(n->left->type)) return nullptr;
    if (n->left->type->size > n->type->size) return nullptr;
    return RULE("control: x != 0 -> x") ? take_left(n) : nullptr;
}

// (T) x  ->  x     T at least as wide as x, or bool
NODE *control_conversion(NODE *n, struct LOOP *) {
    if (n->op != SCONV || !is_integer_type(n->type) || !is_word_type(n->left->type)) return nullptr;
    const TYPE *from = n->left->type;
    bool keeps_truth = n->type->size >= from->size || (n->type->is_bool() && from->size <= 32);
    if (!keeps_truth || (from->is_ptr() && !n->type->is_bool())) return nullptr;
    return RULE("control: (T)x -> x, T as wide as x") ? take_left(n) : nullptr;
}

// (T *) x  ->  x
NODE *control_pointer_conversion(NODE *n, struct LOOP *) {
    if (n->op != PCONV && n->op != ISP2CHAR) return nullptr;
    const NODE *x = n->left;
    if (!x->type->is_ptr() && !(x->op == ICON && x->type->size <= n->type->size)) return nullptr;
    return RULE("control: (T*)x -> x") ? take_left(n) : nullptr;
}

// &object + i  ->  true
NODE *control_address(NODE *n, struct LOOP *loop) {
    if (!n->type->is_ptr() || !pointer_contains_adcon_term(n)) return nullptr;
    return RULE("control: &object -> 1") ? decided(n, true, loop) : nullptr;
}

NODE *control_known_bits(NODE *n, struct LOOP *loop) {
    if (!is_integer_type(n->type)) return nullptr;
    INT65 mask = type_mask(n->type);
    if (!(find_known_ones(n, n->type) & mask).is_zero())
        return RULE("control: x with a known one bit -> 1") ? decided(n, true, loop) : nullptr;
    if ((find_known_zeros(n, n->type) & mask).is_zero())
        return RULE("control: x of known zeros -> 0") ? decided(n, false, loop) : nullptr;
    return nullptr;
}

// x % 2^k  ->  x & (2^k - 1)     of signed x too: the remainder is 0 for the same values
NODE *control_remainder(NODE *n, struct LOOP *loop) {
    if (n->op != MOD || !is_integer_type(n->type) || !is_ICON(n->right) || !n->right->u.lval.is_power_of_2())
        return nullptr;
    if (n->left->type->size > n->type->size) return nullptr;
    if (!RULE("control: x % 2^k -> x & (2^k - 1)")) return nullptr;
    TYPE *type = n->type;
    NODE *mask = mk_ICON(n->right->u.lval - INT65(1), type);
    LS *scope = n->scope;
    return simp_node(maketree(ANDB, as_type(type, take_left(n), loop), mask, type, scope), loop);
}

NODE *and_with_bit(NODE *x, int bit, TYPE *type, struct LOOP *loop) {
    LS *scope = x->scope;
    return simp_node(maketree(ANDB, as_type(type, x, loop), mk_ICON(INT65(1) << bit, type), type, scope),
                     loop);
}

bool is_shift_right_by_constant(const NODE *n) {
    return n->op == SRL && is_integer_type(n->type) && is_integer_type(n->left->type) && is_ICON(n->right) &&
           !n->right->u.lval.is_negative() && n->right->u.lval < INT65(int(n->type->size)) &&
           n->left->type->size <= n->type->size;
}

// (x >> k) & 1  ->  x & 2^k
NODE *control_shifted_bit(NODE *n, struct LOOP *loop) {
    if (n->op != ANDB || !is_ICON(n->right, 1) || !is_shift_right_by_constant(n->left)) return nullptr;
    if (n->left->type->size > 32) return nullptr;
    if (!RULE("control: (x >> k) & 1 -> x & 2^k")) return nullptr;
    NODE *shift = take_left(n);
    int k = shift->right->u.lval.low_i32();
    TYPE *type = shift->type;
    return and_with_bit(take_left(shift), k, type, loop);
}

// x >> (width - 1)  ->  x & the top bit
NODE *control_top_bit(NODE *n, struct LOOP *loop) {
    if (!is_shift_right_by_constant(n) || n->left->type->size != n->type->size) return nullptr;
    int top = int(n->type->size) - 1;
    if (!is_ICON(n->right, top)) return nullptr;
    if (!RULE("control: x >> (width - 1) -> x & top bit")) return nullptr;
    TYPE *type = n->type;
    return and_with_bit(take_left(n), top, type, loop);
}

// (x ^ d) & 2^k  ->  (x & 2^k) == 0     bit k of d set
NODE *control_flipped_bit(NODE *n, struct LOOP *loop) {
    if (n->op != ANDB || !is_ICON(n->right) || n->left->op != XORB || !is_ICON(n->left->right))
        return nullptr;
    INT65 c = n->right->u.lval & type_mask(n->type), d = n->left->right->u.lval;
    if (!c.is_power_of_2() || !is_integer_type(n->type) || (c & d & type_mask(n->left->right->type)) != c)
        return nullptr;
    if (n->type->size > 32 || n->left->type->size > 32 || n->left->left->type->size > n->left->type->size)
        return nullptr;
    if (!is_integer_type(n->left->left->type) || n->left->type->size != n->type->size) return nullptr;
    if (!RULE("control: (x ^ d) & 2^k -> (x & 2^k) == 0, bit k of d set")) return nullptr;
    TYPE *type = n->type;
    NODE *x = take_left(take_left(n));
    return simp_relop(mk_zero_test(true, and_with_bit(x, c.log2(), type, loop)), loop);
}

// x ^ 2^k  ->  x == 0     no other bit of x can be set
NODE *control_flip(NODE *n, struct LOOP *loop) {
    if (n->op != XORB || !is_ICON(n->right) || !is_integer_type(n->type) || n->type->size > 32)
        return nullptr;
    if (!is_integer_type(n->left->type) || n->left->type->size > n->type->size) return nullptr;
    INT65 c = n->right->u.lval & type_mask(n->type);
    if (!c.is_power_of_2() || (find_known_zeros(n->left, n->type) & type_mask(n->type)) != c) return nullptr;
    if (!RULE("control: x ^ 2^k -> x == 0, x is 0 or 2^k")) return nullptr;
    return simp_relop(mk_zero_test(true, take_left(n)), loop);
}

bool is_plain_word(const NODE *n) { return n->type->is_integral() && n->type->size == 32; }

// -x, |x|  ->  x
NODE *control_sign(NODE *n, struct LOOP *) {
    if ((n->op != UMINUS && n->op != ABS) || !is_plain_word(n)) return nullptr;
    if (!is_integer_type(n->left->type) || n->left->type->size > 32) return nullptr;
    return RULE("control: -x, |x| -> x") ? take_left(n) : nullptr;
}

// x - y, x ^ y  ->  x != y
NODE *control_difference(NODE *n, struct LOOP *loop) {
    if ((n->op != MINUS && n->op != XORB) || !is_plain_word(n)) return nullptr;
    for (const NODE *side : {n->left, n->right})
        if (!is_word_type(side->type) || side->type->size > 32) return nullptr;
    if (!RULE("control: x - y, x ^ y -> x != y")) return nullptr;
    n->op = NEQ;
    n->type = tp->int_type();
    return simp_relop(n, loop);
}

// x++  ->  (x += 1) != 1; x--  ->  (x -= 1) != -1
NODE *control_step(NODE *n, struct LOOP *loop) {
    if ((n->op != PLUSPLUS && n->op != MINMIN) || !is_ICON(n->right, 1)) return nullptr;
    const NODE *x = n->left;
    if (x->op == DDNODE || !is_integer_type(x->type) || x->type->is_bool() || n->type->size != x->type->size)
        return nullptr;
    if (x->type->size > 32) return nullptr;
    if (!RULE("control: x++ -> (x += 1) != 1, x-- -> (x -= 1) != -1")) return nullptr;
    bool up = n->op == PLUSPLUS;
    NODE *boundary = mk_ICON(stored_value(INT65(up ? 1 : -1), x), tp->remove_known_qual(n->type, 255));
    n->op = up ? PLUSASG : MINUSASG;
    return simp_tree(mk_test(NEQ, n, boundary), loop);
}

const CONTROL_RULE control_rules[] = {
    control_nonzero,     control_conversion, control_pointer_conversion,
    control_address,     control_known_bits, control_remainder,
    control_shifted_bit, control_top_bit,    control_flipped_bit,
    control_flip,        control_sign,       control_difference,
    control_step,
};

int control_depth = 0;

struct DEPTH_GUARD {
    int &depth;
    explicit DEPTH_GUARD(int &d) : depth(d) { depth++; }
    ~DEPTH_GUARD() { depth--; }
};

// The arms of a conditional, the value of a comma: their truth is that of the whole.
void simp_parts_for_control(NODE *n, struct LOOP *loop) {
    if (control_depth >= CONTROL_DEPTH_CAP) {
        control_depth_hits++;
        return;
    }
    DEPTH_GUARD guard(control_depth);
    if (n->op == COMMAOP) {
        n->right = simp_for_control(n->right, loop);
        n->type = n->right->type;
        return;
    }
    NODE *arms = n->right;
    TYPE *type = n->type;
    // an arm may become a word where its truth was narrower
    if (type->size < 32) n->type = arms->type = tp->int_type();
    for (NODE **arm : {&arms->left, &arms->right}) {
        if (!is_word_type((*arm)->type) || (*arm)->type->size > type->size) *arm = as_type(type, *arm, loop);
        *arm = simp_for_control(*arm, loop);
        if (!is_integer_type((*arm)->type)) *arm = as_type(n->type, *arm, loop);
    }
}

} // namespace

NODE *simp_for_control(NODE *tree, struct LOOP *loop) {
    for (int round = 0; round < CONTROL_ROUNDS; round++) {
        if (tree->op == ICON || !tree->type || !is_word_type(tree->type)) return tree;
        if (tree->op == COMMAOP) break; // its value is looked at below; effects stay
        NODE *next = nullptr;
        for (CONTROL_RULE rule : control_rules)
            if ((next = rule(tree, loop))) break;
        if (!next) break;
        tree = next;
    }
    bool is_conditional = tree->op == QUEST && tree->right->op == COLON && is_integer_type(tree->type);
    if (is_conditional || tree->op == COMMAOP) simp_parts_for_control(tree, loop);
    return tree;
}

// ---------------------------------------------------------------------------------------------------------
// two tests of the same operands
// ---------------------------------------------------------------------------------------------------------

namespace {

// A relation as a set of outcomes: equal, less, greater; without unordered. In the order EQ to GT, ULE to UGT.
constexpr int E = MICRO_E, L = MICRO_L, G = MICRO_G;

struct RELATION {
    int op, outcomes;
};

// clang-format off
const RELATION signed_relations[] =
    {{EQ, E}, {NEQ, L | G}, {LE,  E | L}, {LT,  L}, {GE,  E | G}, {GT,  G}};
const RELATION unsigned_relations[] =
    {{EQ, E}, {NEQ, L | G}, {ULE, E | L}, {ULT, L}, {UGE, E | G}, {UGT, G}};
// clang-format on

int key_of(int a, int b) { return std::min(a, b) << 8 | std::max(a, b); }

template <size_t N> int relation_with(const RELATION (&relations)[N], int outcomes) {
    if (outcomes == 0) return COMBO_FALSE;
    if (outcomes == (E | L | G)) return COMBO_TRUE;
    for (const RELATION &each : relations)
        if (each.outcomes == outcomes) return each.op;
    return COMBO_FALSE; // not reached: the six relations are all the sets between
}

// `join` makes the outcomes of the two tests together from those of each.
template <class JOIN> void fill_combos(std::map<int, int> &combos, JOIN join) {
    for (const auto &relations : {std::to_array(signed_relations), std::to_array(unsigned_relations)})
        for (const RELATION &a : relations)
            for (const RELATION &b : relations) {
                int outcomes = join(a.outcomes, b.outcomes);
                combos[key_of(a.op, b.op)] = relations[2].op == LE
                                                 ? relation_with(signed_relations, outcomes)
                                                 : relation_with(unsigned_relations, outcomes);
            }
    for (int a = FEQ; a <= FUNO; a++)
        for (int b = a; b <= FUNO; b++) {
            int outcomes = join(float_op_to_micro_ops[a], float_op_to_micro_ops[b]);
            combos[key_of(a, b)] = outcomes == 0    ? COMBO_FALSE
                                   : outcomes == 15 ? COMBO_TRUE
                                                    : float_micro_ops_to_op[outcomes];
        }
}

} // namespace

void init_andb_combo_map(std::map<int, int> &combos) {
    fill_combos(combos, [](int a, int b) { return a & b; });
}

void init_ORB_combo_map(std::map<int, int> &combos) {
    fill_combos(combos, [](int a, int b) { return a | b; });
}

// a < b & a == b  ->  0; a < b | a == b  ->  a <= b; and so on
NODE *simp_redundant_test(NODE *node, std::map<int, int> &combos, void (*init)(std::map<int, int> &)) {
    NODE *a = node->left, *b = node->right;
    if (!tree_is_trivially_invertible(a) || !tree_is_trivially_invertible(b)) return node;
    int op_b = b->op;
    if (!trees_are_congruent(a->left, b->left) || !trees_are_congruent(a->right, b->right)) {
        // a < b & b <= a
        op_b = commute_inv[op_b];
        if (op_b == ILLOP || !trees_are_congruent(a->left, b->right) ||
            !trees_are_congruent(a->right, b->left))
            return node;
    }
    if (combos.empty()) init(combos);
    auto found = combos.find(key_of(a->op, op_b));
    if (found == combos.end() || !RULE("two tests of the same operands -> one test")) return node;
    TYPE *type = node->type;
    if (found->second > 255) {
        erase_tree(node);
        return mk_ICON(INT65(found->second & 1), type);
    }
    a->op = int16_t(found->second);
    return as_type(type, take_left(node), nullptr);
}

// ---------------------------------------------------------------------------------------------------------
// && and ||
// ---------------------------------------------------------------------------------------------------------

namespace {

// (e, c) op y  ->  e, (c op y)     for the effects that an operand left in front of its truth
NODE *hoist_effects_of_left(NODE *node, NODE *(*worker)(NODE *, struct LOOP *), struct LOOP *loop) {
    NODE *comma = node->left;
    node->left = comma->right;
    comma->right = worker(node, loop);
    comma->type = comma->right->type;
    return simp_COMMAOP(comma, loop);
}

bool is_test_for_zero(const NODE *n) {
    return n->op == EQ && is_zero_constant(n->right) && is_word_type(n->left->type) &&
           n->left->type->size <= 32;
}

// (a == 0) && (b == 0)  ->  (a || b) == 0, and the same with && and || exchanged. Takes the node.
NODE *join_tests_for_zero(NODE *node, struct LOOP *loop) {
    int op = node->op == ANDAND ? OROR : ANDAND;
    TYPE *type = node->type;
    NODE *a = take_left(detach(node->left)), *b = take_left(detach(node->right));
    erase_node(node);
    NODE *both = simp_node(maketree(op, a, b, tp->int_type(), a->scope), loop);
    return as_type(type, simp_relop(mk_zero_test(true, both), loop), loop);
}

NODE *boolean_of_left(NODE *node, struct LOOP *loop) {
    TYPE *type = node->type;
    return as_type(type, make_boolean(take_left(node), loop), loop);
}

NODE *boolean_of_right(NODE *node, struct LOOP *loop) {
    TYPE *type = node->type;
    return as_type(type, make_boolean(take_right(node), loop), loop);
}

// The truth of `node`, which its left operand decides alone.
NODE *decided_by_left(NODE *node, bool truth, struct LOOP *loop) {
    TYPE *type = node->type;
    return as_type(type, decided(take_left(node), truth, loop), loop);
}

} // namespace

NODE *simp_ANDAND(NODE *node, struct LOOP *loop) {
    node->left = simp_for_control(node->left, loop);
    node->right = simp_for_control(node->right, loop);
    NODE *x = node->left, *y = node->right;
    if (x->op == COMMAOP && RULE("ANDAND: (e, x) && y -> e, x && y"))
        return hoist_effects_of_left(node, simp_ANDAND, loop);
    if (is_ICON(x, 0)) return RULE("ANDAND: 0 && y -> 0") ? decided_by_left(node, false, loop) : node;
    if (is_ICON(x)) return RULE("ANDAND: c && y -> y != 0") ? boolean_of_right(node, loop) : node;
    if (is_ICON(y, 0)) return RULE("ANDAND: x && 0 -> x, 0") ? decided_by_left(node, false, loop) : node;
    if (is_ICON(y)) return RULE("ANDAND: x && c -> x != 0") ? boolean_of_left(node, loop) : node;
    if (trees_are_congruent(x, y))
        return RULE("ANDAND: x && x -> x != 0") ? boolean_of_left(node, loop) : node;
    NODE *merged = simp_redundant_test(node, andb_combo_map, init_andb_combo_map);
    if (merged->op != ANDAND) return merged;
    if (NODE *range = simp_range_check(node, loop)) return range;
    if (is_test_for_zero(x) && is_test_for_zero(y) && RULE("ANDAND: x == 0 && y == 0 -> (x || y) == 0"))
        return join_tests_for_zero(node, loop);
    return simp_ANDOR_ANDOR(node, loop);
}

namespace {

// a == 0 || a == 2^k  ->  (a & ~2^k) == 0     null when it does not fit
NODE *zero_or_one_bit(NODE *node, struct LOOP *loop) {
    NODE *x = node->left, *y = node->right;
    if (x->op != EQ || y->op != EQ || !is_ICON(x->right) || !is_ICON(y->right)) return nullptr;
    NODE *a = x->left;
    if (!is_integer_type(a->type) || a->type->size > 32 || !trees_are_congruent(a, y->left)) return nullptr;
    TYPE *type = promoted_type(tp->remove_known_qual(a->type, 255));
    INT65 mask = type_mask(type), c1 = x->right->u.lval & mask, c2 = y->right->u.lval & mask;
    if (!c1.is_zero()) std::swap(c1, c2);
    if (!c1.is_zero() || !c2.is_power_of_2()) return nullptr;
    if (x->right->type->size > 32 || y->right->type->size > 32) return nullptr;
    if (!RULE("OROR: x == 0 || x == 2^k -> (x & ~2^k) == 0")) return nullptr;
    a = take_left(take_left(node));
    LS *scope = a->scope;
    NODE *masked = simp_node(maketree(ANDB, as_type(type, a, loop), mk_ICON(~c2, type), type, scope), loop);
    return simp_relop(mk_zero_test(true, masked), loop);
}

// a == 0 || a > c  ->  a - 1 >= c     a unsigned: 0 - 1 is the greatest number
NODE *zero_or_above(NODE *node, struct LOOP *loop) {
    NODE *x = node->left, *y = node->right;
    if (x->op != EQ || !is_zero_constant(x->right) || y->op != UGT || !is_ICON(y->right)) return nullptr;
    NODE *a = x->left;
    if (!is_integer_type(a->type) || !a->type->is_unsigned() || a->type->size != 32 ||
        y->right->type->size != 32)
        return nullptr;
    if (!trees_are_congruent(a, y->left)) return nullptr;
    if (!RULE("OROR: x == 0 || x > c -> x - 1 >= c, x unsigned")) return nullptr;
    TYPE *type = tp->remove_known_qual(a->type, 255);
    NODE *c = detach(y->right);
    a = take_left(take_left(node));
    NODE *less = simp_node(maketree(MINUS, a, mk_ICON(INT65(1), type), type, a->scope), loop);
    return simp_relop(mk_test(UGE, less, c), loop);
}

} // namespace

NODE *simp_OROR(NODE *node, struct LOOP *loop) {
    node->left = simp_for_control(node->left, loop);
    node->right = simp_for_control(node->right, loop);
    NODE *x = node->left, *y = node->right;
    TYPE *type = node->type;
    if (x->op == COMMAOP && RULE("OROR: (e, x) || y -> e, x || y"))
        return hoist_effects_of_left(node, simp_OROR, loop);
    if (is_ICON(x, 0)) return RULE("OROR: 0 || y -> y != 0") ? boolean_of_right(node, loop) : node;
    if (is_ICON(x)) return RULE("OROR: c || y -> 1") ? decided_by_left(node, true, loop) : node;
    if (is_ICON(y, 0)) return RULE("OROR: x || 0 -> x != 0") ? boolean_of_left(node, loop) : node;
    if (is_ICON(y)) return RULE("OROR: x || c -> x, 1") ? decided_by_left(node, true, loop) : node;
    if (trees_are_congruent(x, y)) return RULE("OROR: x || x -> x != 0") ? boolean_of_left(node, loop) : node;
    if (NODE *bits = zero_or_one_bit(node, loop)) return as_type(type, bits, loop);
    if (NODE *above = zero_or_above(node, loop)) return as_type(type, above, loop);
    NODE *merged = simp_redundant_test(node, ORB_combo_map, init_ORB_combo_map);
    if (merged->op != OROR) return merged;
    if (NODE *range = simp_range_check(node, loop)) return range;
    if (is_test_for_zero(x) && is_test_for_zero(y) && RULE("OROR: x == 0 || y == 0 -> (x && y) == 0"))
        return join_tests_for_zero(node, loop);
    return simp_ANDOR_ANDOR(node, loop);
}

namespace {

bool is_plain_value(const NODE *n) { return is_integer_type(n->type) && !boolean_result[n->op]; }

bool is_within_span(const NODE *tree) {
    int left = SHORT_CIRCUIT_SPAN_CAP;
    bool within = !for_each_node(tree, [&](const NODE *) { return --left < 0 ? WALK_STOP : WALK_INTO; });
    if (!within) short_circuit_hits++;
    return within;
}

// The one bit that can be set in an operand, or -1.
int only_bit(const NODE *n) {
    if (returns_1_or_0(n)) return 0;
    INT65 bits = find_known_zeros(n, n->type) & type_mask(n->type);
    return bits.is_power_of_2() ? bits.log2() : -1;
}

// Whether b may run once a has run: as they stand, or in the form in which addresses are compared best.
bool may_always_run(const NODE *a, const NODE *b, struct LOOP *loop) {
    if (strict_expr_allows_strict_expr(a, b, loop)) return true;
    bool changed[4];
    NODE *first = expand_and_raise_expr(copy_tree(a), changed[0], changed[1]);
    NODE *second = expand_and_raise_expr(copy_tree(b), changed[2], changed[3]);
    bool any = changed[0] || changed[1] || changed[2] || changed[3];
    bool allowed = any && strict_expr_allows_strict_expr(first, second, loop);
    erase_tree(first);
    erase_tree(second);
    return allowed;
}

NODE *shifted_down(NODE *n, int by, struct LOOP *loop) {
    if (by == 0) return n;
    TYPE *type = promoted_type(tp->remove_known_qual(n->type, 255));
    return simp_node(
        maketree(SRL, as_type(type, n, loop), mk_ICON(INT65(by), tp->int_type()), type, n->scope), loop);
}

} // namespace

// a || b  ->  (a | b) != 0;  a && b  ->  (a >> i) & b     a and b of one possible bit each, i bits apart
NODE *simp_ANDOR_ANDOR(NODE *node, struct LOOP *loop) {
    constexpr int GREATEST_HEIGHT = 9; // of the right side: more work than the branch that it saves
    NODE *a = node->left, *b = node->right;
    if (!is_plain_value(a) || !is_plain_value(b) || !is_within_span(a) || !is_within_span(b)) return node;
    if (tree_has_side_effects(a) || tree_has_side_effects(b)) return node;
    int bit_a = -1, bit_b = -1;
    if (node->op == ANDAND) {
        bit_a = only_bit(a), bit_b = only_bit(b);
        // a signed top bit is copied by a shift
        if (bit_a < 0 || bit_b < 0) return node;
        if (bit_a > bit_b && bit_a == int(a->type->size) - 1 && !a->type->is_unsigned()) return node;
        if (bit_b > bit_a && bit_b == int(b->type->size) - 1 && !b->type->is_unsigned()) return node;
        if (a->type->size > 32 || b->type->size > 32) return node;
    }
    if (andor_andor_height(b, 0, a) > GREATEST_HEIGHT || !may_always_run(a, b, loop)) return node;
    TYPE *type = node->type;
    LS *scope = node->scope;
    if (node->op == OROR) {
        if (!RULE("OROR: x || y -> (x | y) != 0, y may always run")) return node;
        TYPE *wide = combined_type(a, b);
        node->left = node->right = nullptr;
        erase_node(node);
        NODE *joined =
            simp_node(maketree(ORB, as_type(wide, a, loop), as_type(wide, b, loop), wide, scope), loop);
        return as_type(type, make_boolean(joined, loop), loop);
    }
    if (!RULE("ANDAND: x && y -> (x >> i) & y, one bit each, y may always run")) return node;
    node->left = node->right = nullptr;
    erase_node(node);
    int low = std::min(bit_a, bit_b);
    if (low == 0) {
        find_or_make_safe_for_ANDB(a, true);
        find_or_make_safe_for_ANDB(b, true);
    } else {
        a = shifted_down(a, bit_a - low, loop);
        b = shifted_down(b, bit_b - low, loop);
    }
    TYPE *wide = combined_type(a, b);
    NODE *joined =
        simp_node(maketree(ANDB, as_type(wide, a, loop), as_type(wide, b, loop), wide, scope), loop);
    if (low != 0) joined = make_boolean(joined, loop);
    return as_type(type, joined, loop);
}

// ---------------------------------------------------------------------------------------------------------
// ?:
// ---------------------------------------------------------------------------------------------------------

namespace {

// Each gives what the conditional becomes, or null where it does not apply. Test and arms are simplified.
using QUEST_RULE = NODE *(*)(NODE *node, struct LOOP *loop);

NODE *test_of(const NODE *node) { return node->left; }
NODE *&arm(NODE *node, bool truth) { return truth ? node->right->left : node->right->right; }

NODE *take_arm(NODE *node, bool truth) {
    NODE *taken = detach(arm(node, truth));
    erase_tree(node);
    return taken;
}

// c ? a : b  ->  a, or b
NODE *quest_constant(NODE *node, struct LOOP *loop) {
    if (!is_ICON(test_of(node))) return nullptr;
    if (!RULE("QUEST: c ? a : b -> a or b")) return nullptr;
    TYPE *type = node->type;
    NODE *taken = take_arm(node, !test_of(node)->u.lval.is_zero());
    return type->is_void() ? taken : as_type(type, taken, loop);
}

// t ? 1 : 0  ->  t != 0;  t ? 0 : 1  ->  t == 0
NODE *quest_boolean(NODE *node, struct LOOP *loop) {
    if (!is_integer_type(node->type)) return nullptr;
    bool is_test = is_ICON(arm(node, true), 1) && is_ICON(arm(node, false), 0);
    bool is_inverse = is_ICON(arm(node, true), 0) && is_ICON(arm(node, false), 1);
    if (!is_test && !is_inverse) return nullptr;
    if (!RULE("QUEST: t ? 1 : 0 -> t != 0, t ? 0 : 1 -> t == 0")) return nullptr;
    TYPE *type = node->type;
    NODE *t = take_left(node);
    NODE *truth = is_test ? make_boolean(t, loop) : simp_node(invert_boolean_tree(t), loop);
    return as_type(type, truth, loop);
}

// t ? a : a  ->  t, a     effects of a are no matter: it is evaluated once either way
NODE *quest_same_arms(NODE *node, struct LOOP *loop) {
    if (!trees_are_congruent_se_ok(arm(node, true), arm(node, false))) return nullptr;
    if (!RULE("QUEST: t ? a : a -> t, a")) return nullptr;
    TYPE *type = node->type;
    NODE *value = detach(arm(node, true));
    if (!type->is_void()) value = as_type(type, value, loop);
    return effects_then(take_left(node), value, loop);
}

bool tests_against_zero(const NODE *t) {
    if (is_integer_test(t->op)) return is_zero_constant(t->right);
    return op_is_float_comparison(t->op) && t->right->op == FCON && f_is_zero(t->right->u.fval);
}

// x >= 0 ? a : b  ->  x < 0 ? b : a     integers: one form for what follows
NODE *quest_order_of_arms(NODE *node, struct LOOP *) {
    NODE *t = test_of(node);
    if (t->op != GE || !tests_against_zero(t)) return nullptr;
    if (!RULE("QUEST: x >= 0 ? a : b -> x < 0 ? b : a")) return nullptr;
    t->op = LT;
    std::swap(node->right->left, node->right->right);
    return node;
}

// The test reads x as the number that it is, in the sign of its type.
bool reads_number(const NODE *t) { return test_is_natural(t->left->type, domain_of_test(t), t->op); }

// Whether the arm is the test's operand, both perhaps widened.
bool is_operand(const NODE *arm, const NODE *operand) {
    if (trees_are_congruent(arm, operand)) return true;
    if (!is_integer_type(arm->type) || !is_integer_type(operand->type)) return false;
    return trees_are_congruent(strip_value_keeping(arm), strip_value_keeping(operand));
}

// x < 0 ? -x : x, x > 0 ? x : -x  ->  |x|
// Of a float, only when signs of zeros and of NaNs don't count: |-0.0| is 0.0, the conditional gives -0.0.
NODE *quest_absolute_value(NODE *node, struct LOOP *loop) {
    NODE *t = test_of(node);
    bool less = t->op == LT || t->op == LE || t->op == FLT || t->op == FLE || t->op == FLTN || t->op == FLEN;
    bool greater =
        t->op == GT || t->op == GE || t->op == FGT || t->op == FGE || t->op == FGTN || t->op == FGEN;
    if ((!less && !greater) || !tests_against_zero(t)) return nullptr;
    NODE *negated = arm(node, less), *plain = arm(node, !less);
    if (negated->op != UMINUS || !trees_are_congruent(negated->left, plain) || !is_operand(plain, t->left))
        return nullptr;
    bool is_float = op_is_float_comparison(t->op);
    if (is_float ? strict_fp || !node->type->is_fltpt() || !plain->type->is_fltpt()
                 : !is_integer_type(node->type) || node->type->is_unsigned() || !is_integer_type(plain->type))
        return nullptr;
    if (plain->type->size != node->type->size || negated->type->size != node->type->size) return nullptr;
    if (!is_float && (plain->type->is_unsigned() || negated->type->is_unsigned() || !reads_number(t)))
        return nullptr;
    if (!RULE("QUEST: x < 0 ? -x : x -> |x|")) return nullptr;
    TYPE *type = node->type;
    NODE *x = take_arm(node, !less);
    return simp_node(maketree(ABS, x, nullptr, type, x->scope), loop);
}

// The built-in for the least or greatest of two values of the type.
const BIF *min_max_BIF(const TYPE *type, bool is_unsigned, bool greatest) {
    struct ROW {
        const char *least, *greatest, *least_unsigned, *greatest_unsigned;
    };
    // clang-format off
    static const ROW integers[] = {{"MIN",   "MAX",   "MINU",   "MAXU"},
                                   {"LMIN",  "LMAX",  "LMINU",  "LMAXU"},
                                   {"LLMIN", "LLMAX", "LLMINU", "LLMAXU"}};
    static const ROW floats[]   = {{"FMIN",  "FMAX",  nullptr,  nullptr},
                                   {"DMIN",  "DMAX",  nullptr,  nullptr},
                                   {"LDMIN", "LDMAX", nullptr,  nullptr}};
    // clang-format on
    const ROW *row;
    if (type->is_fltpt()) row = type->is_float() ? &floats[0] : type->is_double() ? &floats[1] : &floats[2];
    else
        row = type->size <= tp->int_type()->size           ? &integers[0]
              : type->size <= tp->basic_int(IK_long)->size ? &integers[1]
                                                           : &integers[2];
    const char *name = is_unsigned ? (greatest ? row->greatest_unsigned : row->least_unsigned)
                                   : (greatest ? row->greatest : row->least);
    return name ? find_target_BIF_descriptor(name) : nullptr;
}

// Whether the arm is the constant one above (by = 1) or below (by = -1) the one that the test compares with.
bool is_neighbour(const NODE *arm, const NODE *t, int by) {
    if (!is_ICON(arm) || !is_ICON(t->right)) return false;
    TEST_DOMAIN d = domain_of_test(t);
    return seen_value(arm->u.lval, d) == seen_value(t->right->u.lval, d) + INT65(by);
}

// a < b ? a : b, a <= b ? a : b  ->  the least of both; the greatest with the arms or the relation exchanged. A test
// a >= k ? k - 1 : a counts as a > k - 1, and a <= k ? k + 1 : a as a < k + 1.
NODE *quest_min_max(NODE *node, struct LOOP *loop) {
    NODE *t = test_of(node);
    bool is_float = op_is_float_comparison(t->op);
    bool less = t->op == LT || t->op == LE || t->op == ULT || t->op == ULE || t->op == FLT || t->op == FLE;
    bool greater = t->op == GT || t->op == GE || t->op == UGT || t->op == UGE || t->op == FGT || t->op == FGE;
    if (!less && !greater) return nullptr;
    NODE *yes = arm(node, true), *no = arm(node, false);
    auto same_constant = [&](const NODE *a, const NODE *operand) {
        TEST_DOMAIN d = domain_of_test(t);
        return is_ICON(a) && is_ICON(operand) && seen_value(a->u.lval, d) == seen_value(operand->u.lval, d);
    };
    auto fits = [&](const NODE *a, const NODE *operand) {
        return is_operand(a, operand) || same_constant(a, operand);
    };
    bool straight = fits(yes, t->left) && fits(no, t->right);
    bool crossed = fits(yes, t->right) && fits(no, t->left);
    if (!straight && !crossed && is_operand(no, t->left)) {
        if ((t->op == GE || t->op == UGE) && is_neighbour(yes, t, -1)) crossed = true;
        if ((t->op == LE || t->op == ULE) && is_neighbour(yes, t, 1)) crossed = true;
    }
    if (!straight && !crossed) return nullptr;
    TYPE *type = node->type;
    if (is_float) {
        // which of two equal zeros, or of a number and a NaN, comes out is not what the built-in says
        if (strict_fp || !type->is_fltpt()) return nullptr;
    } else {
        TEST_DOMAIN d = domain_of_test(t);
        if (!is_integer_type(type) || int(type->size) != d.bits || type->is_unsigned() != d.is_unsigned)
            return nullptr;
        if (!test_is_natural(t->left->type, d, t->op) && !is_ICON(t->left)) return nullptr;
        if (!test_is_natural(t->right->type, d, t->op) && !is_ICON(t->right)) return nullptr;
    }
    const BIF *bif = min_max_BIF(type, !is_float && type->is_unsigned(), greater == straight);
    if (!bif || bif->op != ICALL || bif->nparms != 2) return nullptr;
    if (!RULE("QUEST: a < b ? a : b -> MIN(a, b), and its kin")) return nullptr;
    NODE *a = as_type(type, detach(arm(node, true)), loop),
         *b = as_type(type, detach(arm(node, false)), loop);
    erase_tree(node);
    return simp_node(mk_ICALL(bif->name, arg_list_append(arg_list_append(nullptr, a), b), type), loop);
}

// x <= 0 ? 0 : x, x < 0 ? 0 : x, x > 0 ? x : 0  ->  (x >= 0) * x
NODE *quest_positive_part(NODE *node, struct LOOP *loop) {
    NODE *t = test_of(node);
    bool less = t->op == LT || t->op == LE;
    if ((!less && t->op != GT) || !is_zero_constant(t->right)) return nullptr;
    NODE *zero = arm(node, less), *x = arm(node, !less);
    if (!is_ICON(zero, 0) || !is_integer_type(node->type) || !is_integer_type(x->type)) return nullptr;
    if (x->type->size != node->type->size || x->type->is_unsigned() || node->type->is_unsigned())
        return nullptr;
    if (!is_operand(x, t->left) || !reads_number(t)) return nullptr;
    if (!RULE("QUEST: x < 0 ? 0 : x -> (x >= 0) * x")) return nullptr;
    TYPE *type = node->type;
    x = detach(arm(node, !less));
    t = take_left(node);
    t->op = GE;
    NODE *factor = as_type(type, simp_relop(t, loop), loop);
    return simp_node(maketree(MULT, factor, x, type, x->scope), loop);
}

// t ? (u op= a) : (u op= b)  ->  u op= (t ? a : b)
// u is evaluated before t then, so neither may have effects.
NODE *quest_assignments(NODE *node, struct LOOP *loop) {
    NODE *yes = arm(node, true), *no = arm(node, false);
    if (yes->op != no->op || (yes->op != ASG && !op_is_opASG(yes->op))) return nullptr;
    if (yes->op != ASG && is_ICON(yes->right) && is_ICON(no->right)) return nullptr;
    if (!trees_are_congruent(yes->left, no->left) || tree_has_side_effects(test_of(node))) return nullptr;
    if (!compatible_types(yes->right->type, no->right->type, true) ||
        !compatible_types(yes->type, no->type, true))
        return nullptr;
    if (!yes->right->type->is_scalar() ||
        !(node->type->is_void() || compatible_types(node->type, yes->type, true)))
        return nullptr;
    if (tree_is_arg_prolog(yes)) return nullptr;
    if (!RULE("QUEST: t ? (u op= a) : (u op= b) -> u op= (t ? a : b)")) return nullptr;
    NODE *arms = node->right;
    TYPE *value_type = tp->remove_known_qual(yes->right->type, 255);
    arms->left = yes->right;
    arms->right = take_right(no);
    arms->type = node->type = value_type;
    yes->right = simp_QUEST(node, loop);
    return simp_node(yes, loop);
}

const QUEST_RULE quest_rules[] = {
    quest_constant,       quest_boolean, quest_same_arms,     quest_order_of_arms,
    quest_absolute_value, quest_min_max, quest_positive_part, quest_assignments,
};

} // namespace

NODE *simp_QUEST(NODE *node, struct LOOP *loop) {
    if (node->right->op != COLON) return node;
    node->left = simp_for_control(node->left, loop);
    if (node->left->op == COMMAOP && RULE("QUEST: (e, t) ? a : b -> e, t ? a : b"))
        return hoist_effects_of_left(node, simp_QUEST, loop);
    for (QUEST_RULE rule : quest_rules) {
        NODE *result = rule(node, loop);
        if (result && result != node) return result;
    }
    return node;
}

// ---------------------------------------------------------------------------------------------------------
// branches
// ---------------------------------------------------------------------------------------------------------

// CBRANCH jumps when its condition is false. What was decided is a BRANCH, or the condition for a branch that is never
// taken.
NODE *simp_CBRANCH(NODE *node, struct LOOP *loop) {
    node->left = simp_for_control(node->left, loop);
    if (!is_ICON(node->left)) return node;
    if (!node->left->u.lval.is_zero()) return RULE("CBRANCH: 1, L -> 1") ? take_left(node) : node;
    if (!RULE("CBRANCH: 0, L -> BRANCH L")) return node;
    erase_tree(node->left);
    node->left = detach(node->right);
    node->op = BRANCH;
    node->branch_hint = 0;
    return simp_node(node, loop);
}

namespace {

// Whether the label is that of a block already: then edges depend on what the transfer names, and the flow graph's own
// passes fold transfers.
bool leads_to_block(const NODE *label) { return label->op == LABEL && label->label && label->label->block; }

} // namespace

NODE *simp_IF(NODE *node, struct LOOP *loop) {
    node->left = simp_for_control(node->left, loop);
    NODE *labels = node->right;
    if (!is_ICON(node->left) || !labels || labels->op != COMMA || leads_to_block(labels->left)) return node;
    if (!RULE("IF: c, L1, L2 -> BRANCH")) return node;
    NODE *label = node->left->u.lval.is_zero() ? detach(labels->right) : detach(labels->left);
    label->branch_hint = 0;
    NODE *branch = maketree(BRANCH, label, nullptr, tp->void_type(), node->scope);
    branch->set_edge_profile_value(node->get_edge_profile_value());
    erase_tree(node);
    return simp_node(branch, loop);
}

// switch (x) { case c: L1; default: L2 }  ->  if (x != c) L2 else L1
NODE *simp_SWITCH(NODE *node, struct LOOP *loop) {
    NODE *cases = node->right;
    if (!cases || cases->op != COMMA || cases->left->op != CASE || cases->right->op != DEFAULT) return node;
    NODE *one = cases->left, *value = one->left;
    if (!is_integer_type(node->left->type) || !value || !is_ICON(value) || tree_is_EH_SWITCH(node))
        return node;
    // the selector is compared as a number
    if (truncate_to_type(value->u.lval, node->left->type) != value->u.lval) return node;
    if (!RULE("SWITCH: one case -> IF")) return node;
    TYPE *type = promoted_type(tp->remove_known_qual(node->left->type, 255));
    NODE *test = mk_test(NEQ, detach(node->left), mk_ICON(value->u.lval, type));
    NODE *labels =
        maketree(COMMA, detach(cases->right->left), detach(one->right), tp->int_type(), cases->scope);
    NODE *result = maketree(IF, simp_relop(test, loop), labels, tp->void_type(), node->scope);
    erase_tree(node);
    return simp_node(result, loop);
}
