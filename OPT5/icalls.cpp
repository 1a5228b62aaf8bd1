#include "OPT5/icalls.h"

#include <cstring>

#include "OPT5/alias.h"
#include "OPT5/bbutils.h"
#include "OPT5/bif.h"
#include "OPT5/coerce.h"
#include "OPT5/congruent.h"
#include "OPT5/fold.h"
#include "OPT5/funinfo.h"
#include "OPT5/icfold.h"
#include "OPT5/mdbase.h"
#include "OPT5/simp1.h"
#include "OPT5/symfactor.h"
#include "OPT5/symwiden.h"
#include "OPT5/tree.h"
#include "typepkg/type_merge.h"
#include "typepkg/type_pkg.h"

// --- recognising ---

namespace {

constexpr char AFFINE_IV_NAME[] = "SYM_IS_AFFINE_IV";
constexpr char ANTIALIASED_NAME[] = "ANTIALIASED";

bool is_call_of(const NODE *n, int op, const char *name) {
    return n->op == op && n->u.icall && strcmp(n->u.icall, name) == 0;
}

bool is_icon(const NODE *n, INT65 value) { return n->op == ICON && n->u.lval == value; }
bool is_integer(const TYPE *type) { return type->is_integral() || type->is_enum(); }

} // namespace

bool is_ICALL_callee(const NODE *n, const char *name, int nargs) {
    return is_call_of(n, ICALL, name) && arg_list_count(n->left) == nargs;
}

std::vector<NODE *> dissolve_call(NODE *call) {
    std::vector<NODE *> args = arg_list_args(call->left);
    std::vector<NODE *> shells = {call};
    while (!shells.empty()) {
        NODE *shell = shells.back();
        shells.pop_back();
        for (NODE *part : {shell->left, shell->op == COMMA ? shell->right : nullptr})
            if (part && part->op == COMMA) shells.push_back(part);
        erase_node(shell);
    }
    return args;
}

// --- simplifying ---

NODE *simp_ICALL(NODE *tree, struct LOOP *loop) {
    if (tree->op != ICALL) return tree;
    const BIF *bif = find_BIF_descriptor(tree->u.icall);
    if (!bif || !bif->simp) return fold_intrinsic_ICALL(tree);
    if (arg_list_count(tree->left) != bif->nparms) return tree;
    bool type_is_free = bif->result_type->is_void();
    if (!type_is_free && tree->type->is_scalar() != bif->result_type->is_scalar()) return tree;
    return bif->simp(tree, loop);
}

// DONOTCSE(DONOTCSE(x))  ->  DONOTCSE(x)
NODE *simp_DONOTCSE_ICALL(NODE *tree, struct LOOP *) {
    while (is_ICALL_callee(tree->left, tree->u.icall, 1)) {
        NODE *inner = tree->left;
        tree->left = inner->left;
        erase_node(inner);
    }
    return tree;
}

namespace {

// The pointer type that an access by the call has; null when it is no pointer.
TYPE *access_type(const NODE *call) {
    TYPE *type = true_type(call);
    return type->is_ptr() ? tp->remove_known_qual(type, QUAL_const | QUAL_restrict) : nullptr;
}

} // namespace

// mem4(p)  ->  NONALIGN((unsigned*)p)
NODE *simp_NONALIGN_ICALL(NODE *tree, struct LOOP *) {
    TYPE *type = access_type(tree);
    if (!type || arg_list_count(tree->left) != 1) return tree;
    LS *scope = tree->scope;
    NODE *pointer = dissolve_call(tree)[0];
    return maketree(NONALIGN, coerce_to_type(type, pointer), nullptr, type, scope);
}

namespace {

// The part of a pointer expression that decides its alignment: conversions and multiples of the alignment go.
const NODE *misaligned_part(const NODE *p, INT65 alignment, struct LOOP *loop) {
    auto is_multiple = [&](NODE *n) {
        return is_integer(n->type) && constant_divides_expr(alignment, n->type, n, loop);
    };
    for (;;) {
        if (p->op == PCONV && p->left->type->is_ptr()) p = p->left;
        else if (p->op == PLUS && is_multiple(p->left)) p = p->right;
        else if ((p->op == PLUS || p->op == MINUS) && is_multiple(p->right)) p = p->left;
        else return p;
    }
}

// The number of bytes that the access promises to be aligned to.
uint64_t promised_alignment(const NODE *call) {
    const BIF *bif = find_BIF_descriptor(call->u.icall);
    TYPE *result = bif ? bif->result_type : call->type;
    return result->is_ptr() ? result->type_pointed_to()->size_in_bytes() : 0;
}

} // namespace

// amem4(p)  ->  (NASSERT((int)p % 4 == 0), (unsigned*)p)
NODE *simp_ALIGNED_ICALL(NODE *tree, struct LOOP *loop) {
    TYPE *type = access_type(tree);
    if (!type || arg_list_count(tree->left) != 1) return tree;
    INT65 alignment = promised_alignment(tree);
    LS *scope = tree->scope;
    NODE *pointer = dissolve_call(tree)[0], *assertion = nullptr;
    if (alignment >= INT65(2) && !tree_has_side_effects(pointer)) {
        TYPE *int_type = tp->int_type();
        NODE *part = coerce_to_type(int_type, copy_tree(misaligned_part(pointer, alignment, loop)));
        NODE *rest = maketree(MOD, part, mk_ICON(alignment, int_type), int_type, scope);
        NODE *is_aligned = maketree(EQ, rest, mk_ICON(INT65(0), int_type), int_type, scope);
        assertion = maketree(NASSERT, is_aligned, nullptr, tp->void_type(), scope);
        if (currfuninfo) currfuninfo->assertion_word = 1;
    }
    return mk_COMMAOP(assertion, push_down_pointer_cast(type, pointer));
}

namespace {

// The built-ins of one meaning have a generic name and a local one.
bool is_unary(const NODE *n, const char *local, const char *generic) {
    return is_ICALL_callee(n, local, 1) || is_ICALL_callee(n, generic, 1);
}
bool is_hi(const NODE *n) { return is_unary(n, "_hi", "MARLIN_HI"); }
bool is_lo(const NODE *n) { return is_unary(n, "_lo", "MARLIN_LO"); }
bool is_itod(const NODE *n) { return is_ICALL_callee(n, "_itod", 2) || is_ICALL_callee(n, "MARLIN_ITOD", 2); }
bool is_zero_pair(const NODE *list) {
    return list->op == COMMA && is_icon(list->left, INT65(0)) && is_icon(list->right, INT65(0));
}

} // namespace

// itod(0, 0)  ->  0.0        itod(hi(x), lo(x))  ->  x
NODE *simp_ITOD_ICALL(NODE *tree, struct LOOP *) {
    if (!is_itod(tree) || !tree->type->is_fltpt()) return tree;
    if (is_zero_pair(tree->left)) {
        NODE *zero = mk_FCON(pos_zero, tree->type);
        zero->scope = tree->scope;
        erase_tree(tree);
        return zero;
    }
    NODE *hi = tree->left->left, *lo = tree->left->right;
    if (!is_hi(hi) || !is_lo(lo) || !compatible_types(hi->left->type, tree->type, true) ||
        !trees_are_congruent(hi->left, lo->left))
        return tree;
    NODE *x = hi->left;
    hi->left = nullptr;
    erase_tree(tree);
    return x;
}

// itoll(0, 0)  ->  0
NODE *simp_ITOLL_ICALL(NODE *tree, struct LOOP *) {
    if (!is_integer(tree->type) || !is_zero_pair(tree->left)) return tree;
    NODE *zero = mk_ICON(INT65(0), tree->type);
    zero->scope = tree->scope;
    erase_tree(tree);
    return zero;
}

// hi(itod(a, b))  ->  a      lo(itod(a, b))  ->  b      nothing lost: neither has side effects
// hi(0.0), lo(0.0)  ->  0    positive zero
NODE *simp_HI_LO_ICALL(NODE *tree, struct LOOP *) {
    bool high = is_hi(tree);
    if ((!high && !is_lo(tree)) || !is_integer(tree->type)) return tree;
    NODE *x = tree->left, *result = nullptr;
    if (x->op == FCON && f_is_zero(x->u.fval) && !x->u.fval->sign) {
        result = mk_ICON(INT65(0), tree->type);
        result->scope = tree->scope;
    } else if (is_itod(x) && !tree_has_side_effects(x->left)) {
        NODE *&part = high ? x->left->left : x->left->right;
        if (!is_integer(part->type)) return tree;
        result = coerce_to_type(tree->type, coerce_to_type(tp->basic_int(IK_uint), part));
        part = nullptr;
    } else {
        return tree;
    }
    erase_tree(tree);
    return result;
}

// __builtin_expect(1, 0)  ->  1
NODE *simp_builtin_expect_ICALL(NODE *tree, struct LOOP *) {
    NODE *list = tree->left;
    if (list->op != COMMA || list->left->op != ICON || list->right->op != ICON || !is_integer(tree->type))
        return tree;
    INT65 value = truncate_to_type(list->left->u.lval, tp->basic_int(IK_long));
    NODE *result = mk_ICON(value, tree->type);
    result->scope = tree->scope;
    erase_tree(tree);
    return result;
}

NODE *subst_ICALLs_in_tree(NODE *tree, int, int) { return tree; }

// --- assertions ---

NODE *make_AFFINE_IV_sym_ICALL(SYMTAB *symbol) {
    NODE *n = mk_ICALL(AFFINE_IV_NAME, nullptr, tp->int_type());
    n->affine_iv = symbol;
    return n;
}

bool is_AFFINE_IV_sym_ICALL(const NODE *n, const SYMTAB *symbol) {
    return is_call_of(n, UICALL, AFFINE_IV_NAME) && (!symbol || n->affine_iv == symbol);
}

NODE *make_ANTIALIASED_ICALL(NODE *p, NODE *q) {
    NODE *n = mk_ICALL(ANTIALIASED_NAME, arg_list_append(p, q), tp->int_type());
    n->scope = p->scope;
    return n;
}

bool is_ANTIALIASED_ICALL(const NODE *n) {
    return is_ICALL_callee(n, ANTIALIASED_NAME, 2) && n->left->left->type->is_ptr() &&
           n->left->right->type->is_ptr();
}

// --- types ---

namespace {

// Replaces each operand of a call by what f gives for it.
template <class F> void map_args(NODE *call, F &&f) {
    std::vector<NODE **> slots = {&call->left};
    while (!slots.empty()) {
        NODE **slot = slots.back();
        slots.pop_back();
        if ((*slot)->op == COMMA) {
            slots.push_back(&(*slot)->right);
            slots.push_back(&(*slot)->left);
        } else {
            *slot = f(*slot);
        }
    }
}

// A variable that was made wider than it was declared goes into the call in the type that it had.
NODE *narrow_widened_symbol(NODE *arg) {
    if (arg->op != NAME) return arg;
    const WIDENED *entry = find_widened_symbol_entry(arg->u.sym);
    if (!entry) return arg;
    return maketree(SCONV, arg, nullptr, entry->type, arg->scope);
}

bool has_vector_operand(const NODE *call) {
    for (const NODE *arg : arg_list_args(call->left))
        if (arg->type->is_vector()) return true;
    return false;
}

// The call in the descriptor's type, under a conversion to the type that its surroundings expect.
NODE *retype_result(NODE *call, TYPE *type) {
    TYPE *expected = call->type;
    if (!type->is_scalar() || !(expected->is_scalar() || expected->is_void())) return call;
    if (compatible_types(type, expected, true)) return call;
    call->type = type;
    if (expected->is_void()) return call;
    return maketree(expected->is_ptr() ? PCONV : SCONV, call, nullptr, expected, call->scope);
}

constexpr uint32_t MINVAL_OR_MAXVAL = BIF_flag_word(0, BIF_IS_PROPER_MINVAL, BIF_IS_PROPER_MAXVAL);

} // namespace

NODE *fix_BIF_types(NODE *n) {
    if (n->op != ICALL && n->op != UICALL) return n;
    const BIF *bif = find_BIF_descriptor(n->u.icall);
    if (n->op == ICALL && n->type->is_vector()) {
        if (strcmp(n->u.icall, "__pack") == 0) return fix_pack_types(n);
        map_args(n, narrow_widened_symbol);
        return n;
    }
    if (!bif) {
        if (n->op != ICALL) return n;
        const BUILTIN_DECLARATION *declaration = find_builtin_declaration(n->u.icall);
        if (declaration && declaration->flags & MINVAL_OR_MAXVAL)
            map_args(n, [n](NODE *arg) { return coerce_to_type(n->type, arg); });
        else map_args(n, narrow_widened_symbol);
        return n;
    }
    return has_vector_operand(n) ? n : retype_result(n, bif->result_type->normalized());
}

// __pack(a, b, c, d) of a vector of 4: its elements; __pack(v, w): vectors of 2
NODE *fix_pack_types(NODE *n) {
    if (!n->type->is_vector()) return n;
    uint64_t length = n->type->num_elem(), count = uint64_t(arg_list_count(n->left));
    if (count == 0 || length % count != 0) return n;
    uint64_t share = length / count;
    TYPE *element = n->type->elem_type();
    TYPE *type = share > 1 ? tp->mk_vector(element, share) : element;
    map_args(n, [&](NODE *arg) {
        bool fits = share > 1 ? arg->type->is_vector() && arg->type->num_elem() == share
                              : !arg->type->is_vector() && arg->type->is_scalar();
        return fits ? coerce_to_type(type, arg) : arg;
    });
    return n;
}
