#include "OPT5/icmult.h"

#include <cstring>

#include "OPT5/coerce.h"
#include "OPT5/flags.h"
#include "OPT5/icalls.h"
#include "OPT5/simp1.h"
#include "OPT5/simp2.h"
#include "OPT5/tree.h"
#include "OPT5/typefacts.h"
#include "support/fatal.h"
#include "typepkg/type_pkg.h"
#include "typepkg/type_query.h"

// --- names ---

namespace {

// By top1*8 + unsigned1*4 + top2*2 + unsigned2.
constexpr const char *names_16x16[16] = {"_smulbb", nullptr, "_smulbt", nullptr, nullptr,  nullptr,
                                         nullptr,   nullptr, "_smultb", nullptr, "_smultt"};

int index_of_name(const char *name) {
    for (int i = 0; i < 16; i++)
        if (names_16x16[i] && strcmp(name, names_16x16[i]) == 0) return i;
    return -1;
}

bool is_integer(const TYPE *type) { return type->is_integral() || type->is_enum(); }

} // namespace

bool target_has_16x16_MULT() {
    return cpu_version >= 5 && cpu_version != 73 && (code_state() != 1 || thumb_2_mode());
}

const char *name_16x16_MULT(bool top1, bool unsigned1, bool top2, bool unsigned2) {
    QL_ASSERT(target_has_16x16_MULT());
    return names_16x16[top1 * 8 + unsigned1 * 4 + top2 * 2 + unsigned2];
}

bool name_is_16x16_MULT(const char *name, bool *top1, bool *unsigned1, bool *top2, bool *unsigned2) {
    if (!target_has_16x16_MULT()) return false;
    int index = index_of_name(name);
    if (index < 0) return false;
    *top1 = index & 8;
    *unsigned1 = index & 4;
    *top2 = index & 2;
    *unsigned2 = index & 1;
    return true;
}

// --- products to calls ---

namespace {

// Shifts and additions serve better: 0, the sign bit alone, a power of two or the negative of one.
bool is_better_shifted(INT65 value) {
    INT65 magnitude = value.is_negative() ? -value : value;
    return value.is_zero() || magnitude.is_power_of_2();
}

} // namespace

OPERAND_16x16 classify_16x16_operand(NODE *operand, struct LOOP *loop, int *shift, int bits) {
    *shift = 0;
    TYPE *type = operand->type;
    bool is_icon = operand->op == ICON, is_unsigned = type->is_unsigned();
    if (is_icon && is_better_shifted(operand->u.lval.truncate_signed(int(type->size)))) return OPERAND_NOT_16;
    // What the caller knows of the operands says nothing of a constant that it did not look at.
    if ((bits < 17 && !is_icon) ||
        value_fits_in_type(operand, tp->basic_int(is_unsigned ? IK_ushort : IK_short), loop))
        return is_unsigned ? OPERAND_16_UNSIGNED : OPERAND_16_SIGNED;
    if (!is_icon) return OPERAND_NOT_16;
    int zeros = operand->u.lval.count_trailing_zeros();
    INT65 rest = operand->u.lval >> zeros;
    if (is_unsigned ? !rest.fits_unsigned(16) : !rest.fits_signed(16)) return OPERAND_NOT_16;
    *shift = zeros;
    return is_unsigned ? OPERAND_16_UNSIGNED : OPERAND_16_SIGNED;
}

namespace {

// At least an int, since what is multiplied is an int's bits.
NODE *widen_to_int(NODE *x) {
    TYPE *int_type = tp->int_type();
    if (x->type->size >= int_type->size) return x;
    if (x->op != ICON) return coerce_to_type(int_type, x);
    become_ICON(x, x->u.lval, int_type);
    return x;
}

// The operand of a 16-bit multiply from that of a product: no conversion that only widened it, a constant
// without its trailing zeros, and no more than 16 bits that count.
NODE *operand_for_16x16(NODE *x, int shift) {
    if (x->op == SCONV && is_integer(x->left->type) && x->left->type->size < x->type->size) {
        NODE *conversion = x;
        x = x->left;
        erase_node(conversion);
    }
    if (shift) become_ICON(x, x->u.lval >> shift, x->type);
    return widen_to_int(prop_mask_into_subtree(x, INT65(0xFFFF)));
}

} // namespace

// a * b  ->  _smulbb(a, b)             a, b signed shorts by value
// a * (k << n)  ->  _smulbb(a, k) << n
NODE *map_16x16_MULT_to_ICALL(NODE *tree, struct LOOP *loop, int bits) {
    if (!target_has_16x16_MULT() || tree->op != MULT || !is_integer(tree->type)) return tree;
    NODE *a = tree->left, *b = tree->right;
    if (!is_integer(a->type) || !is_integer(b->type) || (a->op == ICON && b->op == ICON)) return tree;
    // A wider product of ints would have more bits than the call gives.
    if (c_usual_arith_conv(a->type, b->type)->size != 32 || tree->type->size > 32) return tree;
    int shift_a, shift_b;
    if (classify_16x16_operand(a, loop, &shift_a, bits) != OPERAND_16_SIGNED ||
        classify_16x16_operand(b, loop, &shift_b, bits) != OPERAND_16_SIGNED)
        return tree;
    TYPE *type = tree->type, *int_type = tp->int_type();
    LS *scope = tree->scope;
    tree->op = COMMA;
    tree->type = int_type;
    tree->left = operand_for_16x16(a, shift_a);
    tree->right = operand_for_16x16(b, shift_b);
    NODE *call = simp_node(mk_ICALL(name_16x16_MULT(false, false, false, false), tree, int_type), loop);
    NODE *product = coerce_to_type(type, call);
    if (shift_a + shift_b == 0) return product;
    return simp_node(maketree(SLL, product, mk_ICON(INT65(shift_a + shift_b), int_type), type, scope), loop);
}

// --- simplifying the calls ---

namespace {

struct PAIR {
    NODE *&a, *&b;
};

// The operands, where a call has two of integer type and gives an integer of that size.
bool is_integer_call_of_two(const NODE *call, uint64_t result_size) {
    return is_integer(call->type) && call->type->size == result_size && call->left &&
           call->left->op == COMMA && arg_list_count(call->left) == 2 && is_integer(call->left->left->type) &&
           is_integer(call->left->right->type);
}
PAIR operands(NODE *call) { return {call->left->left, call->left->right}; }

// The half of an operand that a multiply takes, as a number.
INT65 half_of_icon(const NODE *icon, bool top) {
    return (top ? icon->u.lval >> 16 : icon->u.lval).truncate_signed(16);
}

NODE *replace_by_icon(NODE *call, INT65 value) {
    NODE *icon = mk_ICON(value, call->type);
    icon->scope = call->scope;
    erase_tree(call);
    return icon;
}

// A conversion to the type, simplified; nothing where there is nothing to convert.
NODE *converted(TYPE *type, NODE *x, struct LOOP *loop) {
    NODE *result = coerce_to_type(type, x);
    return result == x ? x : simp_node(result, loop);
}

// f(x, 0)  ->  (int)x * 0, which keeps the effects of x
NODE *product_with_zero(TYPE *type, LS *scope, NODE *x, struct LOOP *loop) {
    TYPE *int_type = tp->int_type();
    NODE *zero = mk_ICON(INT65(0), int_type);
    NODE *product = maketree(MULT, converted(int_type, x, loop), zero, int_type, scope);
    return converted(type, simp_node(product, loop), loop);
}

// The half of x as a number of the type.
NODE *half_of_tree(NODE *x, bool top, TYPE *type, struct LOOP *loop) {
    TYPE *int_type = tp->int_type();
    if (top) {
        NODE *by = mk_ICON(INT65(16), int_type);
        x = simp_node(maketree(SRL, converted(int_type, x, loop), by, int_type, x->scope), loop);
    }
    return converted(type, converted(tp->basic_int(IK_short), x, loop), loop);
}

// A multiply of one known half and x: by 0 or 1. Null for another.
NODE *product_with_icon_half(NODE *call, bool icon_is_first, INT65 half, bool other_is_top,
                             struct LOOP *loop) {
    if (!half.is_zero() && half != INT65(1)) return nullptr;
    TYPE *type = call->type;
    LS *scope = call->scope;
    std::vector<NODE *> args = dissolve_call(call);
    NODE *other = args[icon_is_first];
    erase_tree(args[!icon_is_first]);
    if (half.is_zero()) return product_with_zero(type, scope, other, loop);
    return half_of_tree(other, other_is_top, type, loop);
}

// Whether the low `bits` bits pass the conversion unchanged.
bool conversion_keeps(const NODE *n, uint64_t bits) {
    if (n->op != SCONV) return false;
    const TYPE *to = n->type, *from = n->left->type;
    return is_integer(to) && is_integer(from) && !to->is_bool() && to->size >= bits && from->size >= bits;
}

bool is_word_shift_by_16(const NODE *n, int op) {
    return n->op == op && n->type->size == 32 && is_integer(n->left->type) && n->left->type->size <= 32 &&
           n->right->op == ICON && n->right->u.lval == INT65(16);
}

// The bottom of x >> 16 is the top of x, and the top of x << 16 the bottom of x: gives x in place of the operand and
// changes the selector.
bool look_through_shift(NODE *&operand, bool &top) {
    NODE *n = operand;
    while (conversion_keeps(n, top ? 32 : 16)) n = n->left;
    if (!is_word_shift_by_16(n, top ? SLL : SRL)) return false;
    NODE *x = n->left;
    n->left = nullptr;
    erase_tree(operand);
    operand = widen_to_int(x);
    top = !top;
    return true;
}

// Only the half that is selected counts. One that is narrower than an int gets its top half by the conversion.
void mask_half(NODE *&operand, bool top) {
    if (top) operand = widen_to_int(operand);
    operand = prop_mask_into_subtree(operand, top ? INT65(0xFFFF0000u) : INT65(0xFFFF));
}

} // namespace

NODE *simp_MPY_ICALL(NODE *tree, struct LOOP *loop) {
    int index = index_of_name(tree->u.icall);
    if (index < 0 || !is_integer_call_of_two(tree, 32)) return tree;
    bool top1 = index & 8, top2 = index & 2;
    auto [a, b] = operands(tree);
    mask_half(a, top1);
    mask_half(b, top2);
    if (a->op == ICON && b->op == ICON)
        return replace_by_icon(tree, half_of_icon(a, top1) * half_of_icon(b, top2));
    if (b->op == ICON)
        if (NODE *product = product_with_icon_half(tree, false, half_of_icon(b, top2), top1, loop))
            return product;
    if (a->op == ICON)
        if (NODE *product = product_with_icon_half(tree, true, half_of_icon(a, top1), top2, loop))
            return product;
    if (!target_has_16x16_MULT()) return tree;
    while (look_through_shift(a, top1) || look_through_shift(b, top2)) {}
    tree->u.icall = intern_name(name_16x16_MULT(top1, false, top2, false));
    return tree;
}

namespace {

void mask_word(NODE *&operand) {
    if (operand->type->size >= 32) operand = prop_mask_into_subtree(operand, INT65(0xFFFFFFFFu));
}

INT65 word_of_icon(const NODE *icon, bool is_signed) {
    return is_signed ? icon->u.lval.truncate_signed(32) : icon->u.lval.truncate_unsigned(32);
}

} // namespace

// _smull(x, -1) is -x computed in 64 bits. _umull(x, 0xFFFFFFFF) is x * 2^32 - x, and stays.
NODE *simp_MPY_32_32_64_ICALL(NODE *tree, struct LOOP *loop) {
    bool is_signed = strcmp(tree->u.icall, "_smull") == 0;
    if ((!is_signed && strcmp(tree->u.icall, "_umull") != 0) || !is_integer_call_of_two(tree, 64))
        return tree;
    auto [a, b] = operands(tree);
    mask_word(a);
    mask_word(b);
    if (a->op == ICON && b->op == ICON)
        return replace_by_icon(tree, word_of_icon(a, is_signed) * word_of_icon(b, is_signed));
    if (a->op != ICON && b->op != ICON) return tree;
    bool icon_is_first = a->op == ICON;
    INT65 factor = word_of_icon(icon_is_first ? a : b, is_signed);
    if (factor != INT65(0) && factor != INT65(1) && factor != INT65(-1)) return tree;
    TYPE *type = tree->type;
    LS *scope = tree->scope;
    std::vector<NODE *> args = dissolve_call(tree);
    NODE *x = args[icon_is_first];
    erase_tree(args[!icon_is_first]);
    if (factor.is_zero()) return product_with_zero(type, scope, x, loop);
    NODE *word = converted(tp->basic_int(is_signed ? IK_int : IK_uint), x, loop);
    NODE *wide = converted(type, word, loop);
    if (factor == INT65(1)) return wide;
    return simp_node(maketree(UMINUS, wide, nullptr, type, scope), loop);
}
