#include "OPT5/congruent.h"

#include <cstring>
#include <forward_list>

#include "OPT5/cfg.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "OPT5/typefacts.h"
#include "support/fps_arith.h"
#include "typepkg/type_merge.h"

unsigned congruence_cap_hits;

bool is_unresolved_mix(const NODE *n) {
    return n->op == MIXVALUE && (n->u.rval == nullptr || n->u.rval == reinterpret_cast<void *>(1));
}

namespace {

// What two nodes with matching roots still need.
enum MATCH {
    NO_MATCH,
    MATCHED,         // nothing: leaves, or the same tree
    NEEDS_OPERANDS,  // left with left, right with right
    NEEDS_EXCHANGED, // left with right, right with left
    NEEDS_EITHER,    // one of the two; exchanged first
};

// Nodes that stand for an operand.
const NODE *strip_transparent(const NODE *n) {
    for (;;) {
        switch (n->op) {
        case CSE_DUPE:
        case CSE_ORIG:
            if (!n->right) return n;
            n = n->right;
            break;
        case OUIALIGN:
        case NONALIGN:
        case IDENTITY:
            if (!n->left) return n;
            n = n->left;
            break;
        default: return n;
        }
    }
}

bool is_volatile(const NODE *n) { return n->type && n->type->is_volatile(); }

bool reads_memory(int op) { return op == NAME || op == UMULT || op == STDOT || op == STREF; }

// Jumps and the links of lists have a type for form's sake only.
bool type_is_formal(int op) {
    return op == LABEL || op == LABELDEF || op == BRANCH || op == IF || op == CASE || op == DEFAULT ||
           op == COMMA;
}

bool types_match(const NODE *a, const NODE *b) {
    if (a->type == b->type) return true;
    if (a->op == b->op && type_is_formal(a->op)) return true;
    if (!a->type || !b->type) return false;
    if (equiv_mtypes(a->type, b->type)) return true;
    return a->op == NAME && b->op == NAME && a->u.sym == b->u.sym && compatible_types(a->type, b->type);
}

// NAME local against (type) NAME parameter, as the argument prolog pairs them.
bool is_prolog_pair(const NODE *local, const NODE *conversion, bool se_ok) {
    if (local->op != NAME || !local->u.sym) return false;
    if (conversion->op != SCONV && conversion->op != PCONV && conversion->op != ISP2CHAR) return false;
    const NODE *name = conversion->left;
    if (!name || name->op != NAME || !name->u.sym) return false;
    const SYMTAB *l = local->u.sym, *p = name->u.sym;
    if (l->level != 2 || p->level != 1 || !symbol_is_immutable(l)) return false;
    if (!l->name || !p->name || strcmp(l->name, p->name) != 0) return false;
    return se_ok || !(is_volatile(local) || is_volatile(name));
}

bool texts_match(const char *a, const char *b) { return a == b || (a && b && strcmp(a, b) == 0); }

bool pragmas_match(const PRAGMA *a, const PRAGMA *b) {
    return a == b || (a && b && a->number == b->number && a->args == b->args);
}

// The label's place when it is known, else its number.
bool labels_match(const NODE *a, const NODE *b) {
    if (a->label && b->label)
        return a->label == b->label || (a->label->block && a->label->block == b->label->block);
    return !a->label && !b->label && a->u.lval == b->u.lval;
}

// What nodes of one opcode carry beside their operands.
bool payloads_match(const NODE *a, const NODE *b) {
    switch (a->op) {
    case NAME: return a->u.sym == b->u.sym;
    case ICON:
    case LCON:
    case VREG:
    case SKIP:
    case SWITCH: return a->u.lval == b->u.lval;
    case FCON: return a->u.fval && b->u.fval && f_bit_eq(a->u.fval, b->u.fval);
    case SCON:
        return a->u.lval == b->u.lval && a->text && b->text &&
               memcmp(a->text, b->text, a->u.lval.low_u32()) == 0;
    case FIELD: return a->member == b->member && (a->u.csu == b->u.csu || equiv_mtypes(a->u.csu, b->u.csu));
    case LABEL:
    case LABELDEF: return labels_match(a, b);
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: return texts_match(a->u.icall, b->u.icall) && a->affine_iv == b->affine_iv;
    case ASM: return a->u.lval == b->u.lval && texts_match(a->text, b->text);
    case PPRAGMA: return pragmas_match(a->pragma, b->pragma);
    case SSA_USE:
    case SSA_MU: return a->u.rval == b->u.rval && a->depnum() == b->depnum(); // one version of one variable
    case MIXVALUE: return a->u.rval == b->u.rval && !is_unresolved_mix(a);
    case EXPRSTUB: return a->u.rval == b->u.rval && a->u.lval == b->u.lval;
    case SSA_PHI: // a definition is the same as itself only
    case SSA_DEF:
    case SSA_CHI:
    case ILLOP: return false;
    default: return true;
    }
}

// Compares the roots.
MATCH match_roots(const NODE *a, const NODE *b, bool se_ok) {
    if (a == b && !is_unresolved_mix(a)) return MATCHED;
    if (!se_ok && (side_effects[a->op] || side_effects[b->op])) return NO_MATCH;
    if (a->op != b->op) {
        if (a->op != ILLOP && commute_inv[b->op] == a->op)
            return types_match(a, b) ? NEEDS_EXCHANGED : NO_MATCH;
        if (!is_prolog_pair(a, b, se_ok) && !is_prolog_pair(b, a, se_ok)) return NO_MATCH;
        return types_match(a, b) ? MATCHED : NO_MATCH;
    }
    if (!se_ok && reads_memory(a->op) && (is_volatile(a) || is_volatile(b))) return NO_MATCH;
    if (!types_match(a, b) || !payloads_match(a, b)) return NO_MATCH;
    if (!a->left != !b->left || !a->right != !b->right) return NO_MATCH;
    if (!a->left && !a->right) return MATCHED;
    return op_is_commutative(a->op) ? NEEDS_EITHER : NEEDS_OPERANDS;
}

// A pair that must match, and behind it in the list those that must match too. A goal without a pair marks the
// end of an exchanged pairing: when it is reached, the pairing has succeeded and its choice point goes.
struct GOAL {
    const NODE *a, *b;
    GOAL *next;
    size_t choices; // for a mark: how many choice points stood before the pairing
};

struct CHOICE {
    GOAL *instead; // the goals to go on with when what follows fails
    unsigned steps;
};

class comparison {
  public:
    comparison(bool se_ok) : se_ok_(se_ok) {}

    bool run(const NODE *a, const NODE *b) {
        GOAL *goals = make(a, b, nullptr);
        while (goals) {
            steps_++;
            GOAL *next = goals->next;
            if (!goals->a) { // a mark
                choices_.cut(goals->choices);
                recycle(goals);
            } else if (!advance(goals, next)) {
                if (choices_.empty()) return false;
                CHOICE choice = choices_.pop();
                wasted_ += steps_ - choice.steps;
                if (wasted_ > CONGRUENCE_WASTE_CAP) {
                    congruence_cap_hits++;
                    return false;
                }
                next = choice.instead;
            }
            goals = next;
        }
        return true;
    }

  private:
    GOAL *make(const NODE *a, const NODE *b, GOAL *next) {
        GOAL *g;
        if (free_) {
            g = free_;
            free_ = g->next;
        } else if (near_used_ < NEAR) {
            g = &near_[near_used_++];
        } else {
            g = &far_.emplace_front();
        }
        *g = {a, b, next, 0};
        return g;
    }

    // Goals are reused only while no choice point can come back to them.
    void recycle(GOAL *g) {
        if (!choices_.empty()) return;
        g->next = free_;
        free_ = g;
    }

    static bool roots_can_match(const NODE *a, const NODE *b, bool se_ok) {
        return a && b && match_roots(strip_transparent(a), strip_transparent(b), se_ok) != NO_MATCH;
    }

    GOAL *pair_operands(const NODE *a, const NODE *b, bool exchanged, GOAL *next) {
        const NODE *left = exchanged ? b->right : b->left, *right = exchanged ? b->left : b->right;
        if (a->right) next = make(a->right, right, next);
        return a->left ? make(a->left, left, next) : next;
    }

    // Replaces the first goal by what it needs; `next` is the rest, and becomes the new list.
    bool advance(GOAL *goal, GOAL *&next) {
        const NODE *a = strip_transparent(goal->a), *b = strip_transparent(goal->b);
        MATCH match = match_roots(a, b, se_ok_);
        if (match == NO_MATCH) return false;
        if (match == NEEDS_EITHER) {
            bool exchanged =
                roots_can_match(a->left, b->right, se_ok_) && roots_can_match(a->right, b->left, se_ok_);
            bool straight =
                roots_can_match(a->left, b->left, se_ok_) && roots_can_match(a->right, b->right, se_ok_);
            if (!exchanged && !straight) return false;
            match = exchanged ? NEEDS_EXCHANGED : NEEDS_OPERANDS;
            if (exchanged && straight) {
                GOAL *instead = pair_operands(a, b, false, next);
                GOAL *mark = make(nullptr, nullptr, next);
                mark->choices = choices_.size();
                choices_.push({instead, steps_});
                next = pair_operands(a, b, true, mark);
                return true;
            }
        }
        if (match == NEEDS_EXCHANGED && (!a->left != !b->right || !a->right != !b->left)) return false;
        if (match != MATCHED) next = pair_operands(a, b, match == NEEDS_EXCHANGED, next);
        recycle(goal);
        return true;
    }

    static constexpr int NEAR = 32;
    bool se_ok_;
    unsigned steps_ = 0, wasted_ = 0;
    int near_used_ = 0;
    GOAL near_[NEAR];
    std::forward_list<GOAL> far_; // takes no memory until it is needed
    GOAL *free_ = nullptr;
    walk_stack<CHOICE, 16> choices_;
};

} // namespace

bool trees_are_congruent(const NODE *a, const NODE *b, bool se_ok) {
    if (!a || !b) return a == b;
    // most comparisons end here
    const NODE *x = strip_transparent(a), *y = strip_transparent(b);
    MATCH match = match_roots(x, y, se_ok);
    if (match == NO_MATCH) return false;
    return match == MATCHED || comparison(se_ok).run(x, y);
}

bool tree_lists_are_congruent(const LIST *a, const LIST *b) {
    for (; a && b; a = a->next, b = b->next)
        if (!trees_are_congruent_se_ok(a->tree, b->tree)) return false;
    return !a && !b;
}

namespace {

bool is_zero_constant(const NODE *n) { return n && n->op == ICON && n->u.lval.is_zero(); }

// The condition inside IDENTITY, t != 0, t == 0 and !t; the latter two flip `inverse`.
const NODE *strip_condition(const NODE *n, bool *inverse) {
    for (;;) {
        if (n->op == IDENTITY && n->left) {
            n = n->left;
        } else if (n->op == EXCLAIM && n->left) {
            n = n->left, *inverse = !*inverse;
        } else if ((n->op == EQ || n->op == NEQ) && n->left && is_zero_constant(n->right)) {
            if (n->op == EQ) *inverse = !*inverse;
            n = n->left;
        } else {
            return n;
        }
    }
}

// a op b against c op' d where op' must be the given operator.
bool comparison_matches(const NODE *a, const NODE *b, int op_of_b) {
    auto same = [](const NODE *p, const NODE *q) { return trees_are_congruent(p, q); };
    if (a->op == op_of_b && same(a->left, b->left) && same(a->right, b->right)) return true;
    return a->op == commute_inv[op_of_b] && same(a->left, b->right) && same(a->right, b->left);
}

} // namespace

bool bools_are_congruent(const NODE *a, const NODE *b, bool inverse) {
    if (!a || !b) return false;
    a = strip_condition(a, &inverse);
    b = strip_condition(b, &inverse);
    if (!inverse) return trees_are_congruent(a, b);
    int negated = boolean_inv[b->op];
    return negated != ILLOP && a->left && a->right && b->left && b->right &&
           comparison_matches(a, b, negated);
}
