#include "OPT5/simp_strict.h"

#include <vector>

#include "OPT5/bbutils.h"
#include "OPT5/congruent.h"
#include "OPT5/optab.h"
#include "OPT5/rules.h"
#include "OPT5/simp1.h"
#include "OPT5/simp3.h"
#include "OPT5/simp_known.h"
#include "OPT5/simp_testutil.h"
#include "OPT5/symbolic.h"
#include "OPT5/symtab.h"
#include "OPT5/treewalk.h"
#include "OPT5/typefacts.h"

unsigned strict_walk_hits;

namespace {

// What an lvalue reads: so many bits at an offset from where a pointer leads, or of an object.
struct ACCESS {
    const NODE *base = nullptr; // the pointer without constant terms and conversions; null: an object
    const SYMTAB *object = nullptr;
    INT65 offset;       // bits
    unsigned width = 0; // bits
    INT65 element;      // bits of what the pointer leads to; 0: not known
};

// Takes constant terms off a pointer; the byte offset goes into *bytes.
const NODE *split_pointer(const NODE *p, INT65 *bytes) {
    for (;;) {
        p = strip_pointer_wrappers(p);
        bool is_sum = p->op == PLUS || p->op == MINUS;
        if (!is_sum || !is_ICON(p->right) || p->type->size > 32) return p;
        INT65 term = p->right->u.lval;
        *bytes = p->op == PLUS ? *bytes + term : *bytes - term;
        p = p->left;
    }
}

bool is_address_of_object(const NODE *n) {
    return (n->op == UAND || n->op == ARGREF) && strip_STDOTs(n->left)->op == NAME;
}

// Offset in bits that a chain of fields adds to what it is based on.
const NODE *split_fields(const NODE *lvalue, INT65 *bits) {
    for (; lvalue->op == STDOT; lvalue = lvalue->left)
        if (lvalue->right && lvalue->right->op == FIELD && lvalue->right->member)
            *bits = *bits + INT65(static_cast<long long>(lvalue->right->member->offset));
    return lvalue;
}

bool access_of(const NODE *lvalue, ACCESS *access) {
    access->width = unsigned(lvalue->type->size);
    INT65 bits, bytes;
    const NODE *n = split_fields(lvalue, &bits);
    if (n->op == NAME) {
        access->object = n->u.sym;
        access->offset = bits;
        return true;
    }
    if (n->op == STREF && n->right && n->right->op == FIELD && n->right->member)
        bits = bits + INT65(static_cast<long long>(n->right->member->offset));
    else if (n->op != UMULT || n->right) return false;
    const NODE *p = split_pointer(n->left, &bytes);
    access->offset = bits + bytes * INT65(8);
    if (is_address_of_object(p)) {
        INT65 inner;
        access->object = split_fields(p->left, &inner)->u.sym;
        access->offset = access->offset + inner;
        return true;
    }
    access->base = p;
    if (p->type->is_ptr()) {
        TYPE *target = p->type->type_pointed_to();
        if (!target->is_void() && !target->is_func())
            access->element = INT65(static_cast<long long>(target->size));
    }
    return true;
}

bool object_exists(const SYMTAB *s) { return s && !symbol_is_weak(s) && !s->is_function(); }

// Bounds of the offset in bits of an address that is based on an object and terms that vary.
bool offset_range_in_object(const NODE *pointer, const SYMTAB **object, INT65 *low, INT65 *high,
                            struct LOOP *loop) {
    for (const NODE *p = pointer;;) {
        p = strip_pointer_wrappers(p);
        if (is_address_of_object(p)) {
            INT65 inner;
            *object = split_fields(p->left, &inner)->u.sym;
            *low = *low + inner, *high = *high + inner;
            return true;
        }
        if ((p->op != PLUS && p->op != MINUS) || !p->type->is_ptr() || !is_integer_type(p->right->type) ||
            p->right->type->size > 32)
            return false;
        INT65 term_low = calculate_minval_for_tree(p->right, loop) * INT65(8);
        INT65 term_high = calculate_maxval_for_tree(p->right, loop) * INT65(8);
        *low = p->op == PLUS ? *low + term_low : *low - term_high;
        *high = p->op == PLUS ? *high + term_high : *high - term_low;
        p = p->left;
    }
}

INT65 floor_div(INT65 a, INT65 b) {
    INT65 q = a / b;
    return a.is_negative() && q * b != a ? q - INT65(1) : q;
}

// Whether an access proves that another one can't fail.
bool proves(const ACCESS &done, const ACCESS &wanted) {
    if (!done.base || !wanted.base || !trees_are_congruent(done.base, wanted.base)) return false;
    INT65 done_end = done.offset + INT65(done.width), end = wanted.offset + INT65(wanted.width);
    if (wanted.offset >= done.offset && end <= done_end) return true;
    // both in one element of what the pointer leads to: no object holds a part of an element
    INT65 size = wanted.element;
    if (!size.is_positive()) return false;
    INT65 index = floor_div(wanted.offset, size);
    return floor_div(done.offset, size) == index && floor_div(end - INT65(1), size) == index &&
           floor_div(done_end - INT65(1), size) == index;
}

bool is_access(const NODE *n) { return n->op == UMULT || n->op == STREF || n->op == STDOT; }

// Puts on the stack what computes the address of an access; a chain of fields is one access.
void push_address(const NODE *access, walk_stack<const NODE *> &todo) {
    const NODE *base = strip_STDOTs(access);
    if (base->op == NAME) return;
    if (base->left) todo.push(base->left);
    if (base->op == UMULT && base->right) todo.push(base->right);
}

// The accesses that are made whenever the tree is evaluated.
std::vector<ACCESS> strict_accesses(const NODE *tree) {
    std::vector<ACCESS> all;
    walk_stack<const NODE *> todo;
    todo.push(tree);
    while (!todo.empty()) {
        const NODE *n = todo.pop();
        if (is_access(n)) {
            ACCESS a;
            if (access_of(n, &a)) all.push_back(a);
            push_address(n, todo);
        } else if (n->op == UAND || n->op == ARGREF) {
            if (is_access(n->left)) push_address(n->left, todo);
        } else {
            bool left_only = n->op == ANDAND || n->op == OROR || n->op == QUEST;
            if (n->left) todo.push(n->left);
            if (n->right && !left_only) todo.push(n->right);
        }
    }
    return all;
}

bool never_speculated(int op) {
    return op == DIV || op == MOD || op == CALL || op == UCALL || op_is_icall(op) || op == QUEST ||
           op == SQRT || op == RECIP || op == EXPT;
}

} // namespace

bool lvalue_is_inherently_strict(const NODE *lvalue, struct LOOP *loop) {
    INT65 low, high;
    const NODE *n = split_fields(lvalue, &low);
    if (n->type->is_volatile() || lvalue->type->is_volatile()) return false;
    if (n->op == NAME) return object_exists(n->u.sym);
    if (n->op == STREF && n->right && n->right->op == FIELD && n->right->member)
        low = low + INT65(static_cast<long long>(n->right->member->offset));
    else if (n->op != UMULT || n->right) return false;
    high = low;
    const SYMTAB *object = nullptr;
    if (!offset_range_in_object(n->left, &object, &low, &high, loop) || !object_exists(object)) return false;
    INT65 width(static_cast<long long>(lvalue->type->size));
    return !low.is_negative() && high + width <= INT65(static_cast<long long>(object->size));
}

bool rhs_may_need_guard_in_lhs(const NODE *rhs, const NODE *lhs) {
    if (lvalue_is_inherently_strict(rhs, nullptr)) return false;
    return !tree_is_strict_subtree_of_tree(rhs, lhs);
}

namespace {

// The walk over `second`.
struct STRICTNESS {
    const NODE *first;
    struct LOOP *loop;
    bool made_known = false;
    std::vector<ACCESS> made; // by `first`

    bool access_is_safe(const NODE *n) {
        if (lvalue_is_inherently_strict(n, loop)) return true;
        ACCESS wanted;
        if (!first || !access_of(n, &wanted)) return false;
        // what `first` changes may be where its own accesses went
        if (!made_known && !tree_has_side_effects(first)) made = strict_accesses(first);
        made_known = true;
        for (const ACCESS &each : made)
            if (proves(each, wanted)) return true;
        return false;
    }

    bool allows(const NODE *second) {
        walk_stack<const NODE *> todo;
        todo.push(second);
        for (int budget = STRICT_WALK_CAP; !todo.empty(); budget--) {
            if (budget == 0) {
                strict_walk_hits++;
                return false;
            }
            const NODE *n = todo.pop();
            if (never_speculated(n->op)) {
                if (!first || !tree_is_strict_subtree_of_tree(n, first)) return false;
                continue; // its value is known then
            }
            if (n->op == ANDAND || n->op == OROR || side_effects[n->op] != SE_NONE) return false;
            if (n->op == NAME) {
                if (n->type->is_volatile() || !object_exists(n->u.sym)) return false;
            } else if (n->op == UAND || n->op == ARGREF) {
                if (!is_address_of_object(n)) return false;
            } else if (is_access(n)) {
                if (n->type->is_volatile() || strip_STDOTs(n)->type->is_volatile() || !access_is_safe(n))
                    return false;
                push_address(n, todo);
            } else {
                if (n->left) todo.push(n->left);
                if (n->right) todo.push(n->right);
            }
        }
        return true;
    }
};

} // namespace

bool strict_expr_allows_strict_expr(const NODE *first, const NODE *second, struct LOOP *loop) {
    return STRICTNESS{first, loop, false, {}}.allows(second);
}

int andor_andor_height(const NODE *tree, int height, const NODE *guard) {
    for_each_node(tree, [&](const NODE *n) {
        if (height >= NEVER_SPECULATED) return WALK_STOP;
        switch (n->op) {
        case IDENTITY: return WALK_INTO;
        case FIELD: return WALK_OVER;
        case STDOT:
            height += n->right && n->right->op == FIELD && n->right->member && n->right->member->is_bitfld();
            return WALK_LEFT;
        case NAME: {
            const SYMTAB *s = n->u.sym;
            bool in_register = s && n->type->is_scalar() && s->sclass == SC_AUTO && !s->is_aliased();
            height += in_register ? 1 : 5;
            return WALK_OVER;
        }
        default: break;
        }
        bool in_guard =
            never_speculated(n->op) && n->op != QUEST && guard && tree_is_strict_subtree_of_tree(n, guard);
        if (in_guard) return WALK_OVER; // computed already
        if (never_speculated(n->op) || boolean_result[n->op]) height = NEVER_SPECULATED;
        height++;
        return height >= NEVER_SPECULATED ? WALK_STOP : WALK_INTO;
    });
    return height >= NEVER_SPECULATED ? NEVER_SPECULATED : height;
}

bool find_or_make_safe_for_ANDB(NODE *&operand, bool change) {
    if (!is_integer_type(operand->type)) return false;
    if (returns_1_or_0(operand)) return true;
    INT65 bits = find_known_zeros(operand, operand->type) & type_mask(operand->type);
    if (!bits.is_power_of_2()) return false;
    int bit = bits.log2();
    TYPE *type = operand->type;
    if (bit == int(type->size) - 1 && !type->is_unsigned()) return false; // a shift would copy it
    if (change && bit > 0) {
        NODE *count = mk_ICON(INT65(bit), tp->int_type());
        operand = simp_node(maketree(SRL, operand, count, tp->remove_known_qual(type, 255), operand->scope),
                            nullptr);
    }
    return true;
}

bool quest_colon_is_strict(const NODE *a, const NODE *b) {
    if (tree_has_side_effects(a) || tree_has_side_effects(b)) return false;
    // one of them is evaluated whatever the condition is, which proves the accesses that both make
    return strict_expr_allows_strict_expr(a, b, nullptr) && strict_expr_allows_strict_expr(b, a, nullptr);
}
