#include "OPT5/bbutils.h"

#include <cstring>
#include <unordered_map>

#include "OPT5/alias.h"
#include "OPT5/cfg.h"
#include "OPT5/coerce.h"
#include "OPT5/congruent.h"
#include "OPT5/ddssautil.h"
#include "OPT5/funinfo.h"
#include "OPT5/read.h"
#include "OPT5/simp1.h"
#include "OPT5/symtab.h"
#include "OPT5/treewalk.h"
#include "OPT5/typefacts.h"
#include "support/fatal.h"
#include "typepkg/type_merge.h"

namespace {

bool is_volatile(const NODE *n) { return n->type && n->type->is_volatile(); }

bool is_address_op(int op) { return op == UAND || op == ARGREF; }

// &name, &name.field...
bool is_address_of_NAME(const NODE *n) {
    return is_address_op(n->op) && n->left && strip_STDOTs(n->left)->op == NAME;
}

// Decorations of SSA form and dependence analysis around an lvalue.
const NODE *strip_decorations(const NODE *n) {
    while (n->left && (n->op == DDNODE || n->op == SSA_USE || n->op == SSA_DEF || n->op == SSA_MU ||
                       n->op == SSA_CHI || n->op == IDENTITY))
        n = n->left;
    return n;
}

bool is_conversion(int op) {
    return op == SCONV || op == PCONV || op == ISP2CHAR || op == VSCONV || op == VRCONV;
}

} // namespace

// ---------------------------------------------------------------------------------------------------------
// evaluation
// ---------------------------------------------------------------------------------------------------------

bool tree_has_side_effects(const NODE *tree) {
    return for_each_node(tree, [](const NODE *n) {
        switch (n->op) {
        case NAME: return is_volatile(n) ? WALK_STOP : WALK_OVER;
        case UMULT:
        case STDOT:
        case STREF: return is_volatile(n) ? WALK_STOP : WALK_INTO;
        case UAND: return is_address_of_NAME(n) ? WALK_OVER : WALK_INTO;
        case CSE_DUPE:
        case CSE_ORIG: return WALK_RIGHT;
        case ICALL:
            // the argument of the version is a plain lvalue; the fact beside it is not evaluated
            if (!is_def_assert_ICALL_tree(n)) return WALK_INTO;
            return tree_has_side_effects(arg_list_lookup(n->left, 0)) ? WALK_STOP : WALK_OVER;
        default: return side_effects[n->op] ? WALK_STOP : WALK_INTO;
        }
    });
}

namespace {

// Shared by the two questions for constants: what `leaf_ok` says of an lvalue and of the address of a NAME
// decides, everything else must be pure and have operands that pass.
template <class LVALUE_OK, class ADDRESS_OK>
bool is_pure_expression(const NODE *tree, LVALUE_OK lvalue_ok, ADDRESS_OK address_ok) {
    if (!tree) return false;
    return !for_each_node(tree, [&](const NODE *n) {
        switch (n->op) {
        case SCON:
        case ICON:
        case LCON:
        case FCON:
        case FIELD: return WALK_OVER;
        case NAME: return is_volatile(n) || !lvalue_ok(n) ? WALK_STOP : WALK_OVER;
        case UMULT: return is_volatile(n) || !lvalue_ok(n) ? WALK_STOP : WALK_INTO; // the address counts too
        case STREF:
        case STDOT: return is_volatile(n) || !lvalue_ok(n) ? WALK_STOP : WALK_LEFT;
        case UAND:
        case ARGREF:
            if (!is_address_of_NAME(n)) return WALK_INTO;
            return address_ok(strip_STDOTs(n->left)) ? WALK_OVER : WALK_STOP;
        default:
            // a leaf of any other kind is nothing known
            return side_effects[n->op] || (!n->left && !n->right) ? WALK_STOP : WALK_INTO;
        }
    });
}

bool name_is_global(const NODE *name) { return name->u.sym && name->u.sym->is_global(); }

} // namespace

bool expr_is_constant(const NODE *tree) {
    return is_pure_expression(
        tree, [](const NODE *lvalue) { return lvalue_is_immutable(lvalue); },
        [](const NODE *) { return true; });
}

bool expr_is_globally_evaluable(const NODE *tree) {
    auto lvalue_ok = [](const NODE *n) {
        return lvalue_is_immutable(n) && (n->op != NAME || name_is_global(n));
    };
    return is_pure_expression(tree, lvalue_ok, name_is_global);
}

bool tree_is_ASM_comment(const NODE *tree) {
    return tree && tree->op == ASM && tree->u.lval == INT65(ASM_COMMENT);
}

// ---------------------------------------------------------------------------------------------------------
// argument prologs
// ---------------------------------------------------------------------------------------------------------

namespace {

bool is_plain_assignment(int op) { return op == ASG || op == STASG || op == ARASG; }

// The local that an assignment of a prolog may set; null for anything else.
SYMTAB *prolog_target(const NODE *n) {
    if (!is_plain_assignment(n->op) || !n->left || !n->right) return nullptr;
    const NODE *target = strip_decorations(n->left);
    return target->op == NAME && target->u.sym && target->u.sym->level == 2 ? target->u.sym : nullptr;
}

// The parameter whose value `n` gives to the local of its name; null when `n` is not of that shape.
SYMTAB *prolog_source(const NODE *n) {
    SYMTAB *local = prolog_target(n);
    if (!local) return nullptr;
    const NODE *value = strip_decorations(n->right);
    while (is_conversion(value->op) && value->left) value = strip_decorations(value->left);
    if (value->op != NAME || !value->u.sym || value->u.sym->level != 1) return nullptr;
    SYMTAB *parm = value->u.sym;
    return local->name && parm->name && strcmp(local->name, parm->name) == 0 ? parm : nullptr;
}

// Whether `test` holds for each leaf of a PCOMMA chain.
template <class F> bool all_of_prolog(const NODE *tree, F test) {
    bool any = false;
    bool stopped = for_each_node(tree, [&](const NODE *n) {
        if (n->op == PCOMMA) return WALK_INTO;
        any = true;
        return test(n) ? WALK_OVER : WALK_STOP;
    });
    return any && !stopped;
}

// The first assignment of the current function's prolog that passes.
template <class F> const NODE *find_in_prolog(F test) {
    const NODE *found = nullptr;
    if (!currfuninfo) return nullptr;
    for_each_node(static_cast<const NODE *>(currfuninfo->first_statement), [&](const NODE *n) {
        if (n->op == PCOMMA) return WALK_INTO;
        if (!test(n)) return WALK_OVER;
        found = n;
        return WALK_STOP;
    });
    return found;
}

} // namespace

bool tree_is_arg_prolog(const NODE *tree) {
    return all_of_prolog(tree, [](const NODE *n) { return prolog_source(n) != nullptr; });
}

bool tree_is_extended_arg_prolog(const NODE *tree) {
    if (tree_is_arg_prolog(tree)) return true;
    return tree && tree->op == PCOMMA &&
           all_of_prolog(tree, [](const NODE *n) { return prolog_target(n) != nullptr; });
}

bool stmt_is_arg_prolog(const LIST *stmt) { return stmt && tree_is_arg_prolog(stmt->tree); }

SYMTAB *map_sym_to_parm(const SYMTAB *local) {
    if (local->level == 1) return const_cast<SYMTAB *>(local);
    const NODE *n =
        find_in_prolog([&](const NODE *n) { return prolog_target(n) == local && prolog_source(n); });
    return n ? prolog_source(n) : nullptr;
}

SYMTAB *map_parm_to_sym(const SYMTAB *parm) {
    const NODE *n = find_in_prolog([&](const NODE *n) { return prolog_source(n) == parm; });
    return n ? prolog_target(n) : nullptr;
}

bool tree_addresses_an_argument(const NODE *tree) {
    return find_node(tree, [](const NODE *n) {
               if (!is_address_of_NAME(n)) return false;
               const SYMTAB *symbol = strip_STDOTs(n->left)->u.sym;
               return symbol && symbol->level >= 1 && map_sym_to_parm(symbol);
           }) != nullptr;
}

bool lvalue_is_a_ref_parm(const NODE *lvalue) {
    const NODE *n = strip_STDOTs(strip_decorations(lvalue));
    if (n->op != UMULT || !n->left) return false;
    const NODE *pointer = strip_decorations(n->left);
    while (is_conversion(pointer->op) && pointer->left) pointer = strip_decorations(pointer->left);
    if (pointer->op != NAME || !pointer->u.sym) return false;
    const SYMTAB *parm = pointer->u.sym->level ? map_sym_to_parm(pointer->u.sym) : nullptr;
    if (!parm) return false;
    // the normal form of a reference is a pointer: what was declared tells
    const TYPE *declared = parm->cpp_type ? parm->cpp_type : parm->otype ? parm->otype : parm->type;
    return declared && declared->is_ref();
}

// ---------------------------------------------------------------------------------------------------------
// what occurs where
// ---------------------------------------------------------------------------------------------------------

bool opcode_is_ASG(int op) {
    return is_plain_assignment(op) || op_is_opASG(op) || op == PLUSPLUS || op == MINMIN;
}

bool sym_appears_in_tree(const SYMTAB *symbol, const NODE *tree) {
    return find_node(tree, [&](const NODE *n) { return n->op == NAME && n->u.sym == symbol; }) != nullptr;
}

bool tree_references_NAME(const NODE *tree, const NODE *name) {
    return name && name->op == NAME && sym_appears_in_tree(name->u.sym, tree);
}

bool sym_appears_in_list(const SYMTAB *symbol, const LIST *list) {
    for (; list; list = list->next)
        if (sym_appears_in_tree(symbol, list->tree)) return true;
    return false;
}

bool sym_appears_in_bb(const SYMTAB *symbol, const BBLK *bb) {
    return sym_appears_in_list(symbol, bb->statements);
}

bool tree_contains_op(const NODE *tree, int op) {
    return find_node(tree, [&](const NODE *n) { return n->op == op; }) != nullptr;
}

bool tree_has_DDNODE_subtrees(const NODE *tree) { return tree_contains_op(tree, DDNODE); }

bool tree_is_subtree_of_tree(const NODE *sub, const NODE *tree) {
    return sub && find_node(tree, [&](const NODE *n) { return n == sub || trees_are_congruent(n, sub); });
}

bool tree_is_strict_subtree_of_tree(const NODE *sub, const NODE *tree) {
    if (!sub) return false;
    bool found = false;
    for_each_node(tree, [&](const NODE *n) {
        if (n == sub || trees_are_congruent(n, sub)) {
            found = true;
            return WALK_STOP;
        }
        return n->op == ANDAND || n->op == OROR || n->op == QUEST ? WALK_LEFT : WALK_INTO;
    });
    return found;
}

int count_nodes_in_tree(const NODE *tree, bool skip_trivial, bool skip_duplicates) {
    int count = 0;
    for_each_node(tree, [&](const NODE *n) {
        if (skip_trivial) {
            if (!n->left && !n->right) return WALK_OVER;
            if (n->op == ARGREF && mcall_implicit_state_symbol &&
                sym_appears_in_tree(mcall_implicit_state_symbol, n))
                return WALK_OVER;
        }
        count++;
        return skip_duplicates && n->op == CSE_DUPE ? WALK_OVER : WALK_INTO;
    });
    return count;
}

int count_lvalues_in_tree(const NODE *lvalue, const NODE *tree) {
    int count = 0;
    if (!lvalue) return 0;
    for_each_node(tree, [&](const NODE *n) {
        if (n->op != lvalue->op || !trees_are_congruent_se_ok(n, lvalue)) return WALK_INTO;
        count++;
        return WALK_OVER;
    });
    return count;
}

int count_calls_in_tree(const NODE *tree) {
    int count = 0;
    for_each_node(tree, [&](const NODE *n) { count += n->op == CALL || n->op == UCALL; });
    return count;
}

// ---------------------------------------------------------------------------------------------------------
// what changes what
// ---------------------------------------------------------------------------------------------------------

namespace {

struct LVALUES {
    std::vector<const NODE *> all;
    bool any_in_reach = false; // some can be changed through a pointer or by a callee
};

// Whether something outside the function's own assignments may change the object.
bool object_is_in_reach(const NODE *lvalue) {
    const NODE *base = strip_STDOTs(lvalue);
    if (base->op != NAME || !base->u.sym) return true;
    const SYMTAB *s = base->u.sym;
    bool automatic = s->sclass == SC_AUTO || s->sclass == SC_REG_LOCAL || s->sclass == SC_REG_LOCAL2 ||
                     s->sclass == SC_PARM || s->sclass == SC_REG_PARM || s->sclass == SC_SPECIAL_PARM;
    return s->is_global() || !automatic || s->is_aliased();
}

LVALUES lvalues_read_by(const NODE *tree) {
    LVALUES r;
    walk_stack<const NODE *> todo;
    if (tree) todo.push(tree);
    while (!todo.empty()) {
        const NODE *n = todo.pop();
        if (is_address_of_NAME(n)) continue;
        if (n->op == NAME || n->op == UMULT || n->op == STDOT || n->op == STREF) {
            r.all.push_back(n);
            r.any_in_reach |= object_is_in_reach(n);
            n = strip_STDOTs(n); // a chain reads one place; go on at the address of its base
        }
        if (n->right) todo.push(n->right);
        if (n->left) todo.push(n->left);
    }
    return r;
}

// The call may change what `lvalues` name: what is in reach, and what it gets the address of.
bool call_may_modify(const NODE *call, const LVALUES &lvalues) {
    if (lvalues.any_in_reach) return true;
    return find_node(call, [&](const NODE *n) {
               if (!is_address_of_NAME(n)) return false;
               const SYMTAB *given = strip_STDOTs(n->left)->u.sym;
               for (const NODE *l : lvalues.all)
                   if (const NODE *base = strip_STDOTs(l); base->op == NAME && base->u.sym == given)
                       return true;
               return false;
           }) != nullptr;
}

bool tree_may_modify(const NODE *modifier, const LVALUES &lvalues) {
    if (lvalues.all.empty()) return false;
    return find_node(modifier, [&](const NODE *n) {
               if (opcode_is_ASG(n->op) || n->op == INITLOOP) {
                   const NODE *target = n->left ? strip_decorations(n->left) : nullptr;
                   if (!target) return true;
                   for (const NODE *l : lvalues.all)
                       if (lvalues_may_be_aliased(target, l, nullptr)) return true;
                   return false;
               }
               switch (n->op) {
               case ASM: return !tree_is_ASM_comment(n) && lvalues.any_in_reach;
               case CALL:
               case UCALL:
               case MCALL:
               case UMCALL:
               case MEMCPY: return call_may_modify(n, lvalues);
               case LOOP:
               case ENDLOOP:
               case VREG:
               case ILLOP: return true;
               default: return false;
               }
           }) != nullptr;
}

} // namespace

bool tree_modifies_lvalue_in_tree(const NODE *modifier, const NODE *tree) {
    return tree_may_modify(modifier, lvalues_read_by(tree));
}

bool bb_modifies_lvalue_in_tree(const BBLK *bb, const NODE *tree) {
    LVALUES lvalues = lvalues_read_by(tree);
    for (const LIST *s = bb->statements; s; s = s->next)
        if (tree_may_modify(s->tree, lvalues)) return true;
    return false;
}

// ---------------------------------------------------------------------------------------------------------
// addresses
// ---------------------------------------------------------------------------------------------------------

const NODE *strip_STDOTs(const NODE *lvalue) {
    while (lvalue->op == STDOT && lvalue->left) lvalue = lvalue->left;
    return lvalue;
}

const NODE *strip_pointer_wrappers(const NODE *p) {
    while (p->left && (p->op == PCONV || p->op == ISP2CHAR || p->op == OUIALIGN || p->op == NONALIGN ||
                       p->op == IDENTITY))
        p = p->left;
    return p;
}

namespace {

INT65 field_bytes(const NODE *field) {
    return field && field->op == FIELD && field->member ? INT65(field->member->offset >> 3) : INT65(0);
}

// The operand of a sum that carries the address.
const NODE *address_operand(const NODE *sum) {
    bool right = sum->op == PLUS && sum->right->type && sum->right->type->is_ptr() &&
                 !(sum->left->type && sum->left->type->is_ptr());
    return right ? sum->right : sum->left;
}

// One walk down an address: adds what is constant on the way. Gives where it ended.
const NODE *add_constant_offsets(const NODE *p, INT65 *sum) {
    for (;;) {
        p = strip_pointer_wrappers(strip_decorations(p));
        if ((p->op == PLUS || p->op == MINUS) && p->left && p->right) {
            const NODE *address = address_operand(p);
            const NODE *other = address == p->left ? p->right : p->left;
            if (other->op == ICON) *sum = p->op == PLUS ? *sum + other->u.lval : *sum - other->u.lval;
            p = address;
        } else if (is_address_op(p->op) && p->left) {
            const NODE *lvalue = strip_decorations(p->left);
            for (; lvalue->op == STDOT && lvalue->left; lvalue = strip_decorations(lvalue->left))
                *sum += field_bytes(lvalue->right);
            if ((lvalue->op != UMULT && lvalue->op != STREF) || !lvalue->left) return lvalue;
            if (lvalue->op == STREF) *sum += field_bytes(lvalue->right);
            else if (lvalue->right && lvalue->right->op == ICON) *sum += lvalue->right->u.lval;
            p = lvalue->left;
        } else {
            return p;
        }
    }
}

} // namespace

INT65 total_pointer_offset_value(const NODE *pointer) {
    INT65 sum;
    if (pointer) add_constant_offsets(pointer, &sum);
    return sum;
}

INT65 byte_offset_on_indirection(const NODE *lvalue) {
    INT65 sum;
    if (!lvalue) return sum;
    lvalue = strip_decorations(lvalue);
    for (; lvalue->op == STDOT && lvalue->left; lvalue = strip_decorations(lvalue->left))
        sum += field_bytes(lvalue->right);
    if ((lvalue->op != UMULT && lvalue->op != STREF) || !lvalue->left) return sum;
    if (lvalue->op == STREF) sum += field_bytes(lvalue->right);
    else if (lvalue->right && lvalue->right->op == ICON) sum += lvalue->right->u.lval; // normal form
    add_constant_offsets(lvalue->left, &sum);
    return sum;
}

bool pointer_is_an_adcon(const NODE *p) {
    while (p) {
        p = strip_pointer_wrappers(strip_decorations(p));
        if (p->op == SCON) return true;
        if ((p->op == PLUS || p->op == MINUS) && p->left && p->right) {
            const NODE *address = address_operand(p);
            const NODE *other = address == p->left ? p->right : p->left;
            if (other->op != ICON) return false;
            p = address;
        } else if (is_address_op(p->op) && p->left) {
            const NODE *base = strip_STDOTs(p->left);
            if (base->op == NAME) return true;
            if (base->op != UMULT || base->right) return false;
            p = base->left;
        } else {
            return false;
        }
    }
    return false;
}

bool symbol_is_weak(const SYMTAB *s) {
    for (const PRAGMA *p = s->pragmas; p; p = p->next)
        if (p->number == PRAG_QL_WEAK) return true;
    return false;
}

bool pointer_contains_adcon_term(const NODE *pointer) {
    return pointer && for_each_node(pointer, [](const NODE *n) {
               switch (n->op) {
               case SCON: return WALK_STOP;
               case UAND:
               case ARGREF: {
                   if (!is_address_of_NAME(n)) return WALK_OVER;
                   const SYMTAB *symbol = strip_STDOTs(n->left)->u.sym;
                   return symbol && !symbol_is_weak(symbol) ? WALK_STOP : WALK_OVER;
               }
               case PCONV:
               case ISP2CHAR:
               case OUIALIGN:
               case NONALIGN:
               case IDENTITY:
                   // a pointer that was an integer, or an address as one, is not followed
                   return n->left && n->left->type && n->left->type->is_ptr() ? WALK_INTO : WALK_OVER;
               case PLUS: return n->type && n->type->is_ptr() ? WALK_INTO : WALK_OVER;
               case MINUS: return n->type && n->type->is_ptr() ? WALK_LEFT : WALK_OVER;
               default: return WALK_OVER;
               }
           });
}

bool is_lvalue_sufficiently_aligned(const NODE *lvalue, unsigned bits) {
    uint64_t known = ~uint64_t{0}; // each offset on the way can only lower it
    auto lower = [&](uint64_t align) { known = align < known ? align : known; };
    auto lower_by_offset = [&](int64_t offset) {
        if (offset) lower(static_cast<uint64_t>(offset) & -static_cast<uint64_t>(offset));
    };
    const NODE *n = strip_decorations(lvalue);
    for (; n->op == STDOT && n->left; n = strip_decorations(n->left)) {
        if (!n->right || n->right->op != FIELD || !n->right->member) return false;
        lower_by_offset(n->right->member->offset);
    }
    if (n->op == NAME && n->u.sym) {
        lower(n->u.sym->align);
    } else if (n->op == UMULT && n->left) {
        // the pointee's type promises its alignment, unless the address is marked as not keeping it
        if (tree_contains_op(n->left, NONALIGN)) lower(8);
        else lower(n->type ? n->type->align : 8);
    } else {
        return false;
    }
    return known >= bits;
}

// ---------------------------------------------------------------------------------------------------------
// calls
// ---------------------------------------------------------------------------------------------------------

SYMTAB *get_callee_for_call(const NODE *call) {
    if (!call || (call->op != CALL && call->op != UCALL) || !call->left) return nullptr;
    const NODE *callee = call->left;
    return callee->op == UAND && callee->left && callee->left->op == NAME ? callee->left->u.sym : nullptr;
}

NODE *get_arguments_to_call(const NODE *call) {
    if (!call) return nullptr;
    if (call->op == CALL) return call->right;
    return call->op == ICALL || call->op == MCALL || call->op == MEMCPY ? call->left : nullptr;
}

// ---------------------------------------------------------------------------------------------------------
// rewriting
// ---------------------------------------------------------------------------------------------------------

NODE *expunge_IDENTITY_ops_from_tree(NODE *tree) {
    return rewrite_tree(tree, [](NODE *n) {
        if (n->op != IDENTITY || !n->left) return n;
        NODE *operand = n->left;
        n->left = nullptr;
        erase_node(n);
        return operand;
    });
}

namespace {

void rename_NAME(NODE *n, SYMTAB *to) {
    SYMTAB *from = n->u.sym;
    if (n->op == NAME && n->type == from->type) n->type = to->type, n->otype = to->otype;
    n->u.sym = to;
}

bool names_a_symbol(const NODE *n) { return (n->op == NAME || n->op == STASG) && n->u.sym; }

} // namespace

void subst_sym_for_sym_in_tree(SYMTAB *from, SYMTAB *to, NODE *tree) {
    for_each_node(tree, [&](NODE *n) {
        if (names_a_symbol(n) && n->u.sym == from) rename_NAME(n, to);
    });
}

void subst_sym_pairs_in_tree(const SYMPAIRLIST *pairs, NODE *tree) {
    std::unordered_map<SYMTAB *, SYMTAB *> map;
    for (; pairs; pairs = pairs->next) map.emplace(pairs->a, pairs->b); // the first pair of a symbol counts
    for_each_node(tree, [&](NODE *n) {
        if (!names_a_symbol(n)) return;
        if (auto pair = map.find(n->u.sym); pair != map.end()) rename_NAME(n, pair->second);
    });
}

namespace {

// Whether the left operand is meant as a place, not for its value; `is_place`: the node itself is.
bool left_is_a_place(const NODE *n, bool is_place) {
    return opcode_is_ASG(n->op) || is_address_op(n->op) ||
           (is_place && (n->op == STDOT || n->op == DDNODE || n->op == SSA_DEF || n->op == SSA_CHI));
}

} // namespace

NODE *subst_tree_for_lvalue_in_tree(const NODE *replacement, const NODE *lvalue, NODE *tree) {
    struct ITEM {
        NODE **slot;
        bool is_place; // stands where a place is meant, not its value
    };
    if (!tree) return nullptr;
    NODE *root = tree;
    walk_stack<ITEM> todo;
    todo.push({&root, false});
    while (!todo.empty()) {
        auto [slot, is_place] = todo.pop();
        NODE *n = *slot;
        if (!is_place && n->op == lvalue->op && trees_are_congruent_se_ok(n, lvalue)) {
            NODE *copy = copy_tree(replacement);
            if (n->type && copy->type && !equiv_mtypes(n->type, copy->type))
                copy = coerce_to_type(n->type, copy);
            *slot = copy;
            erase_tree(n);
            continue;
        }
        if (n->op == CSE_DUPE) continue; // its operands are another tree's
        if (n->right) todo.push({&n->right, false});
        if (n->left) todo.push({&n->left, left_is_a_place(n, is_place)});
    }
    return root;
}

NODE *simp_subst_icon(INT65 value, TYPE *type, NODE *within, const NODE *for_tree) {
    struct ITEM {
        NODE **slot;
        bool is_place;
    };
    if (!within) return nullptr;
    NODE *root = within;
    bool changed = false;
    walk_stack<ITEM> todo;
    todo.push({&root, false});
    while (!todo.empty()) {
        auto [slot, is_place] = todo.pop();
        NODE *n = *slot;
        if (n == for_tree || (!is_place && n->op == for_tree->op && trees_are_congruent(n, for_tree))) {
            *slot = mk_ICON(value, type);
            (*slot)->scope = n->scope;
            if (n != for_tree) erase_tree(n); // the pattern itself stays the caller's
            changed = true;
            continue;
        }
        if (n->op == CSE_DUPE) continue; // its operands are another tree's
        if (n->right) todo.push({&n->right, false});
        if (n->left) todo.push({&n->left, left_is_a_place(n, is_place)});
    }
    return changed ? simp_tree(root, nullptr) : root;
}

namespace {

bool same_arithmetic(const TYPE *a, const TYPE *b) {
    if (a->is_fltpt() || b->is_fltpt()) return a->is_fltpt() && b->is_fltpt() && a->size == b->size;
    return a->size == b->size && a->is_unsigned() == b->is_unsigned();
}

// Whether x op= y computes what x = x op y does, y being of the given type: the operation of the short form is
// done in the common type of both.
bool opASG_computes_the_same(int op, TYPE *x, TYPE *y) {
    if (x->is_ptr() || op == SLL || op == SRL) return true;
    if (!x->is_scalar()) return x->is_vector() && equiv_mtypes(x, y);
    if (same_arithmetic(x, y)) return true;
    if (x->is_fltpt() || y->is_fltpt() || y->is_ptr()) return false;
    // the low bits of these depend on the low bits of their operands only
    return op == PLUS || op == MINUS || op == MULT || op == ANDB || op == ORB || op == XORB;
}

// Whether the place may be evaluated twice, once to read and once to write.
bool place_is_repeatable(const NODE *place) {
    if (place->op == DDNODE) return false;
    if (!tree_has_side_effects(place)) return true;
    if (!is_volatile(place)) return false;
    // the volatile access itself is one read and one write in either form; the address must be plain
    const NODE *base = strip_STDOTs(place);
    if (base->op == NAME) return true;
    return (base->op == UMULT || base->op == STREF) && !tree_has_side_effects(base->left) &&
           !tree_has_side_effects(base->right);
}

bool is_bitfield_access(const NODE *n) {
    return (n->op == STDOT || n->op == STREF) && n->right && n->right->op == FIELD && n->right->member &&
           n->right->member->is_bitfld();
}

} // namespace

// x = x op y  ->  x op= y           op with an assignment form, x op y of x's type
// x = y op x  ->  x op= y           op commutative
NODE *ASG_to_opASG(NODE *tree) {
    if (!tree || tree->op != ASG || !tree->right) return tree;
    NODE *target = tree->left, *sum = tree->right;
    int asg_op = opASG_of_op[sum->op];
    if (asg_op == ILLOP || !sum->left || !sum->right) return tree;
    if (!equiv_mtypes(sum->type, target->type) || is_bitfield_access(target)) return tree;
    if (!place_is_repeatable(target)) return tree; // the short form evaluates it once
    NODE *value = nullptr, *old = nullptr;
    if (trees_are_congruent_se_ok(sum->left, target)) value = sum->right, old = sum->left;
    else if (op_is_commutative(sum->op) && trees_are_congruent_se_ok(sum->right, target))
        value = sum->left, old = sum->right;
    if (!value || !opASG_computes_the_same(sum->op, target->type, value->type)) return tree;
    sum->left = sum->right = nullptr;
    erase_tree(old);
    erase_node(sum);
    tree->op = static_cast<int16_t>(asg_op);
    tree->right = value;
    return tree;
}

namespace {

// The type in which x op= y computes.
TYPE *opASG_operation_type(int op, TYPE *x, TYPE *y) {
    if (!x->is_arithmetic()) return x;
    if (op == SLL || op == SRL) return promoted_type(x);
    if (!y->is_arithmetic()) return x;
    return combined_type_for_types(x, y);
}

} // namespace

// x op= y  ->  x = (type of x)((T)x op (T)y)          T the type in which C does the operation
NODE *opASG_to_ASG(NODE *tree) {
    if (!tree || !op_is_opASG(tree->op) || !tree->left || !tree->right) return tree;
    NODE *target = tree->left, *value = tree->right;
    if (!place_is_repeatable(target)) return tree;
    int op = op_of_opASG[tree->op];
    TYPE *type = opASG_operation_type(op, target->type, value->type);
    NODE *old = coerce_to_type(type, copy_tree(target));
    if (op == SLL || op == SRL) {
        if (!value->type->is_integral() && !value->type->is_enum())
            value = coerce_to_type(tp->int_type(), value);
    } else if (type->is_arithmetic()) {
        value = coerce_to_type(type, value);
    }
    NODE *sum = maketree(op, old, value, type, tree->scope);
    tree->op = ASG;
    tree->right = coerce_to_type(target->type, sum);
    return tree;
}

// ---------------------------------------------------------------------------------------------------------
// statements
// ---------------------------------------------------------------------------------------------------------

void insert_stmt_before_stmt_in_bb(LIST *stmt, LIST *before, BBLK *bb) {
    LIST **link = &bb->statements;
    while (*link && *link != before) link = &(*link)->next;
    QL_ASSERT(*link == before);
    stmt->next = before;
    *link = stmt;
}

namespace {

// The pointer to a COMMAOP in `stmt` whose left operand runs before everything else in it; null for none.
NODE **leading_COMMAOP(LIST *stmt) {
    auto comma = [](NODE *&slot) { return slot && slot->op == COMMAOP ? &slot : nullptr; };
    NODE *tree = stmt->tree;
    if (!tree) return nullptr;
    switch (tree->op) {
    case COMMAOP: return &stmt->tree;
    case IF:
    case SWITCH: return comma(tree->left);
    case RETURN:
    case ASG:
    case STASG:
    case ARASG: return comma(tree->right);
    default: return nullptr;
    }
}

} // namespace

LIST *promote_toplevel_COMMAOPs_in_list(LIST *list) {
    for (LIST **link = &list; *link;) {
        LIST *stmt = *link;
        NODE **slot = leading_COMMAOP(stmt);
        if (!slot) {
            link = &stmt->next;
            continue;
        }
        // (a, b)  ->  a; b       a first, and looked at again: it may be a comma itself
        NODE *comma = *slot;
        LIST *first = new LIST(*stmt);
        first->tree = comma->left;
        first->next = stmt;
        *slot = comma->right;
        erase_node(comma);
        *link = first;
    }
    return list;
}
