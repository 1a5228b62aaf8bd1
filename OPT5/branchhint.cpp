#include "OPT5/branchhint.h"

#include <cstring>

#include "OPT5/cfg.h"
#include "OPT5/coerce.h"
#include "OPT5/simp3.h"
#include "OPT5/simp_testutil.h"
#include "OPT5/tree.h"
#include "support/fatal.h"

namespace {

constexpr char EXPECT[] = "__builtin_expect";
constexpr int LIKELY = 1, UNLIKELY = -1;

bool is_integer(const TYPE *t) { return t->is_integral() || t->is_enum(); }

// Of a value, with a constant for what is expected.
bool is_builtin_expect(const NODE *n) {
    if (n->op != ICALL || strcmp(n->u.icall, EXPECT) || n->left->op != COMMA || !is_integer(n->type))
        return false;
    const NODE *value = n->left->left, *expected = n->left->right;
    if (value->op == COMMA || value->op == ARGREF || value->op == STARG || value->op == ACONV) return false;
    return value->type->is_scalar() && expected->op == ICON;
}

// (long)c  ->  c      as a test, c an integer that keeps its value
NODE *strip_widening(NODE *n) {
    while (n->op == SCONV && is_integer(n->type) && is_integer(n->left->type) &&
           n->left->type->size <= n->type->size)
        n = take_left(n);
    return n;
}

} // namespace

int take_builtin_expect(NODE *&test) {
    NODE **at = &test;
    bool likely = true;
    for (; (*at)->op == EXCLAIM; at = &(*at)->left) likely = !likely;
    NODE *comparison = ((*at)->op == EQ || (*at)->op == NEQ) && (*at)->right->op == ICON ? *at : nullptr;
    if (comparison) at = &comparison->left;
    NODE *expect = *at;
    if (!is_builtin_expect(expect)) return 0;

    INT65 expected = expect->left->right->u.lval;
    bool comes_true =
        comparison ? (expected == comparison->right->u.lval) == (comparison->op == EQ) : !expected.is_zero();
    if (!comes_true) likely = !likely;
    // The built-in converts its operand, which counts for what it is compared with; of a wider one it drops bits.
    NODE *operand = expect->left->left;
    expect->left->left = nullptr;
    bool narrow = is_integer(operand->type) && operand->type->size <= expect->type->size;
    if (comparison || !narrow) operand = coerce_to_type(expect->type, operand);
    *at = comparison ? operand : strip_widening(operand);
    erase_tree(expect);
    return likely ? LIKELY : UNLIKELY;
}

void convert_CBRANCH_with_builtin_expect(NODE *branch) {
    QL_ASSERT(branch->op == CBRANCH);
    branch->branch_hint = int8_t(take_builtin_expect(branch->left));
}

void revert_CBRANCH_with_builtin_expect(NODE *branch) {
    QL_ASSERT(branch->op == CBRANCH);
    int hint = branch->branch_hint;
    branch->branch_hint = 0;
    TYPE *type = tp->basic_int(IK_long);
    auto fits = [type](const NODE *n) { return is_integer(n->type) && n->type->size <= type->size; };
    if (!hint) return;
    if (!fits(branch->left)) branch->left = make_boolean(branch->left, nullptr);
    NODE *test = branch->left;
    if (!fits(test)) return;
    if (test->type != type) test = maketree(SCONV, test, nullptr, type, test->scope);
    NODE *args = arg_list_append(test, mk_ICON(INT65(hint > 0 ? 1 : 0), type));
    branch->left = mk_ICALL(EXPECT, args, type);
    branch->left->scope = branch->scope;
}

void set_hint_of_IF(NODE *transfer, int hint) {
    QL_ASSERT(transfer->op == IF);
    transfer->right->left->branch_hint = int8_t(hint);
    transfer->right->right->branch_hint = int8_t(-hint);
}

int hint_of_IF(const NODE *transfer) {
    QL_ASSERT(transfer->op == IF);
    int hint = transfer->right->left->branch_hint;
    return hint ? hint : -transfer->right->right->branch_hint;
}

bool branch_to_label_is_likely(const NODE *label) { return label->branch_hint > 0; }
bool branch_to_label_is_unlikely(const NODE *label) { return label->branch_hint < 0; }

namespace {

// Of the edge that the last statement of `from` makes; none when both of its labels lead there.
int hint_of_edge(BBLK *from, const BBLK *to) {
    const LIST *last = last_statement(from);
    if (!last || last->tree->op != IF) return 0;
    const NODE *if_true = last->tree->right->left, *if_false = last->tree->right->right;
    bool on_true = if_true->label->block == to, on_false = if_false->label->block == to;
    if (on_true == on_false) return 0;
    return on_true ? if_true->branch_hint : if_false->branch_hint;
}

} // namespace

bool branch_along_edge_is_likely(BBLK *from, BBLK *to) { return hint_of_edge(from, to) > 0; }
bool branch_along_edge_is_unlikely(BBLK *from, BBLK *to) { return hint_of_edge(from, to) < 0; }
