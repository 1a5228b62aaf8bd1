#include "OPT5/tailcall.h"

#include <algorithm>
#include <cstring>

#include "OPT5/bbutils.h"
#include "OPT5/cfg.h"
#include "OPT5/coerce.h"
#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/infix.h"
#include "OPT5/passlimit.h"
#include "OPT5/scopes.h"
#include "OPT5/simp1.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "support/dbgout.h"
#include "typepkg/type_merge.h"

namespace {

// One parameter of the prolog with what a tail call passes for it.
struct PASSED {
    NODE *leaf;     // the prolog's ASG
    SYMTAB *target; // level 2
    SYMTAB *incoming;
    NODE *value; // what target is to be, owned
};

bool op_is_call(int op) { return op == CALL || op == UCALL; }

bool is_call_by_itself(const NODE *call) {
    return op_is_call(call->op) && call->left && call->left->op == UAND && call->left->left->op == NAME &&
           call->left->left->u.sym == currfunc && call->u.lval.is_zero();
}

bool class_lives_in_frame(int sclass) {
    return sclass == SC_AUTO || sclass == SC_REG_LOCAL || sclass == SC_PARM || sclass == SC_REG_PARM ||
           sclass == SC_REG_LOCAL2 || sclass == SC_SPECIAL_PARM;
}

// The prolog's leaf as ASG(NAME level 2, conversions(NAME level 1)) of one name.
bool is_plain_leaf(const NODE *leaf, PASSED *p) {
    if (!leaf || leaf->op != ASG || leaf->left->op != NAME) return false;
    const NODE *from = leaf->right;
    while (from->op == SCONV || from->op == PCONV) from = from->left;
    if (from->op != NAME) return false;
    p->target = leaf->left->u.sym;
    p->incoming = from->u.sym;
    return p->target->level == 2 && p->incoming->level == 1 && !strcmp(p->target->name, p->incoming->name);
}

// setjmp returns a second time, into a frame that must not have been recycled meanwhile.
bool returns_twice(const NODE *call) {
    const NODE *callee = call->left;
    if (!callee || callee->op != UAND || callee->left->op != NAME) return false;
    const char *name = skip_name_prefix(callee->left->u.sym->name);
    for (const char *twice :
         {"setjmp", "_setjmp", "sigsetjmp", "_sigsetjmp", "__sigsetjmp", "__builtin_setjmp", "vfork"})
        if (!strcmp(name, twice)) return true;
    return false;
}

// What a tail call of this function must not meet anywhere in the body: a call that returns twice, and a use of an
// incoming parameter outside the prolog, since only the variables of level 2 get new values.
bool body_prevents_tail_calls() {
    NODE *prolog = currfuninfo->bb_list->statements->tree;
    bool prevented = false;
    for (BBLK *bb = currfuninfo->uo_list; bb && !prevented; bb = bb->uolink)
        for (LIST *s = bb->statements; s && !prevented; s = s->next) {
            if (s->tree == prolog && tree_is_arg_prolog(prolog)) continue;
            prevented = for_each_node(s->tree, [](NODE *n) {
                if (op_is_call(n->op) && returns_twice(n)) return WALK_STOP;
                return n->op == NAME && n->u.sym && n->u.sym->level == 1 ? WALK_STOP : WALK_INTO;
            });
        }
    return prevented;
}

// Whether the value of an argument keeps something of the frame alive, which the next round would overwrite: an
// object passed by reference, an array in decay.
bool refers_to_frame(NODE *arg) {
    return for_each_node(arg, [](NODE *n) {
        if (n->op == NAME && n->u.sym && class_lives_in_frame(n->u.sym->sclass) && n->u.sym->level > 0 &&
            (n->type->is_array() || n->type->is_csu()))
            return WALK_STOP;
        if (n->op != ARGREF && n->op != UAND) return WALK_INTO;
        NODE *base = n->left;
        while (base->op == STDOT) base = base->left;
        return base->op == NAME && base->u.sym && base->u.sym->level > 0 &&
                       class_lives_in_frame(base->u.sym->sclass)
                   ? WALK_STOP
                   : WALK_INTO;
    });
}

bool both_of_one_family(TYPE *a, TYPE *b) {
    if (compatible_types(a, b, true)) return true;
    if (a->is_integral() || a->is_enum()) return b->is_integral() || b->is_enum();
    return (a->is_ptr() && b->is_ptr()) || (a->is_fltpt() && b->is_fltpt());
}

// Whether `target` may take new values while the function runs.
bool may_be_reassigned(const SYMTAB *target, const NODE *value) {
    TYPE *type = target->type;
    if (type->is_volatile() || !type->is_scalar()) return false;
    if (value->op == NAME && value->u.sym == target) return true;
    // In a call the promise of a restricted pointer is made afresh; as one variable of a loop it would cover the
    // accesses of all rounds.
    return !type->is_restrict() && !(type->is_ptr() && pointer_args_are_disjoint);
}

// The value that the parameter's variable gets, from a copy of the argument.
NODE *value_for_leaf(const PASSED &p, NODE *arg) {
    NODE *value = copy_tree(arg);
    if (value->op == ARGREF) {
        value->op = UAND;
    } else if (value->op == ACONV) {
        NODE *operand = value->left;
        if (compatible_types(value->type, operand->type, true)) {
            value->left = nullptr;
            erase_node(value);
            value = operand;
        } else {
            value->op = value->type->is_ptr() ? PCONV : SCONV;
        }
    }
    value = coerce_to_type(p.incoming->type->stqs(), value);
    std::vector<NODE *> conversions; // outermost first
    for (NODE *n = p.leaf->right; n->op != NAME; n = n->left) conversions.push_back(n);
    while (!conversions.empty()) {
        NODE *c = conversions.back();
        conversions.pop_back();
        value = maketree(c->op, value, nullptr, c->type, c->scope);
    }
    return simp_tree(value, nullptr);
}

// Matches the arguments with the prolog, leaf by leaf. Both lean to the left.
bool match_arguments(NODE *prolog, NODE *args, std::vector<PASSED> *passed) {
    while (prolog && args) {
        bool more = prolog->op == PCOMMA;
        if (more != (args->op == COMMA)) return false;
        NODE *leaf = more ? prolog->right : prolog, *arg = more ? args->right : args;
        PASSED p{leaf, nullptr, nullptr, nullptr};
        if (!is_plain_leaf(leaf, &p) || refers_to_frame(arg)) return false;
        if (!both_of_one_family(p.incoming->type, arg->type)) return false;
        NODE *plain = arg;
        while (plain->op == ACONV) plain = plain->left;
        if (!may_be_reassigned(p.target, plain)) return false;
        p.value = arg; // replaced by its own copy once all leaves match
        passed->push_back(p);
        if (!more) {
            std::reverse(passed->begin(), passed->end());
            return true;
        }
        prolog = prolog->left;
        args = args->left;
    }
    return false;
}

bool writes_a_target(NODE *arg, const std::vector<PASSED> &passed) {
    return for_each_node(arg, [&](NODE *n) {
        if (side_effects[n->op] != SE_WRITES_LEFT || n->left->op != NAME) return WALK_INTO;
        for (const PASSED &p : passed)
            if (p.target == n->left->u.sym) return WALK_STOP;
        return WALK_INTO;
    });
}

bool reads_symbol(const NODE *tree, const SYMTAB *symbol) {
    return for_each_node(tree, [&](const NODE *n) {
        if (n->op == NAME && n->u.sym == symbol) return WALK_STOP;
        return (n->op == UMULT || n->op == STREF) && symbol->is_aliased() ? WALK_STOP : WALK_INTO;
    });
}

NODE *assignment(const PASSED &p, NODE *value) {
    NODE *lhs = copy_node(p.leaf->left);
    lhs->type = p.target->type;
    return mk_ASG(lhs, value);
}

// All targets get their values as if at once. An assignment can go when no other value that is still to be taken
// reads its target. When none can, some of them form a ring; the value of one in it waits in a temporary, which frees
// the target that it reads.
NODE *parallel_assignment(std::vector<PASSED> passed) {
    NODE *result = nullptr;
    auto emit = [&](NODE *asg) { result = result ? mk_COMMAOP(result, asg) : asg; };
    std::erase_if(passed, [](PASSED &p) {
        if (p.value->op != NAME || p.value->u.sym != p.target) return false;
        erase_tree(p.value);
        return true;
    });
    auto wait_in_temporary = [&](PASSED &p) {
        SYMTAB *temp = sym_temp('T', -1, p.target->type->stqs(), p.leaf->scope);
        emit(mk_ASG(mk_NAME(temp, p.leaf->scope), p.value));
        p.value = mk_NAME(temp, p.leaf->scope);
    };
    // Nothing says in which order arguments are evaluated; several with effects keep the usual one all the same.
    auto has_effects = [](const PASSED &p) { return tree_has_side_effects(p.value); };
    if (std::count_if(passed.begin(), passed.end(), has_effects) > 1)
        for (PASSED &p : passed)
            if (has_effects(p)) wait_in_temporary(p);
    // A value other than the i-th that reads the i-th target; none: passed.size().
    auto reader_of = [&](size_t i) {
        size_t k = 0;
        while (k < passed.size() && (k == i || !reads_symbol(passed[k].value, passed[i].target))) k++;
        return k;
    };
    while (!passed.empty()) {
        size_t i = 0;
        while (i < passed.size() && reader_of(i) < passed.size()) i++;
        if (i < passed.size()) {
            emit(assignment(passed[i], passed[i].value));
            passed.erase(passed.begin() + long(i));
            continue;
        }
        std::vector<uint8_t> seen(passed.size(), 0);
        for (i = 0; !seen[i]; i = reader_of(i)) seen[i] = 1;
        wait_in_temporary(passed[i]);
    }
    return result;
}

// Where tail calls go: behind the prolog. Nothing may lead to the entry itself, so the statements behind the
// prolog, if they are no BRANCH, move to a block of their own.
BBLK *block_behind_prolog(BBLK *entry) {
    LIST *prolog = tree_is_arg_prolog(entry->statements->tree) ? entry->statements : nullptr;
    LIST *behind = prolog ? prolog->next : entry->statements;
    if (behind->tree->op == BRANCH) return behind->tree->left->label->block;
    LS *scope = behind->tree->scope;
    BBLK *body = insert_new_bb(0, entry, behind);
    body->succs = entry->succs;
    entry->succs = mkedge(body, nullptr);
    (prolog ? prolog->next : entry->statements) = mkelist(mk_BRANCH(body, scope), nullptr, nullptr);
    note_positions(entry);
    return body;
}

// The call at the end of a block that returns next: the entry that holds it, and the entry in front of that.
struct TAIL {
    LIST *before = nullptr;
    LIST *statement = nullptr;
    NODE *call = nullptr;
};

TAIL find_tail(BBLK *bb) {
    TAIL tail;
    LIST *before = nullptr, *before_last = nullptr, *last = bb->statements;
    if (!last) return tail;
    for (; last->next; last = last->next) {
        before = before_last;
        before_last = last;
    }
    if (last->tree->op == RETURN && !bb->succs) {
        if (last->tree->right && op_is_call(last->tree->right->op))
            tail = {before_last, last, last->tree->right};
        return tail;
    }
    if (last->tree->op != BRANCH || !before_last || !op_is_call(before_last->tree->op)) return tail;
    LIST *next = bb->succs->block->statements;
    if (!bb->succs->next && next && next->tree->op == URETURN)
        tail = {before, before_last, before_last->tree};
    return tail;
}

} // namespace

TAIL_CALLS::TAIL_CALLS() : function(currfuninfo), refused(false), checked(false) {
    refused = opt_level() < 2 || function->local_address_taken || !currfunc->is_function() ||
              currfunc->type->is_vararg();
}

void TAIL_CALLS::try_block(BBLK *bb) {
    if (refused) return;
    TAIL tail = find_tail(bb);
    // Entry 1 of an exception table is its root. A call under another one has a frame with something left to do.
    if (!tail.call || !is_call_by_itself(tail.call) || tail.call->i_eht_id > 1) return;
    if (!checked) {
        checked = true;
        refused = body_prevents_tail_calls();
        if (refused) return;
    }
    std::vector<PASSED> passed;
    BBLK *entry = function->bb_list;
    if (tail.call->op == CALL) {
        NODE *prolog = entry->statements->tree;
        if (!tree_is_arg_prolog(prolog) || !match_arguments(prolog, tail.call->right, &passed)) return;
        for (const PASSED &p : passed)
            if (writes_a_target(p.value, passed)) return;
    } else if (currfunc->type->num_params() != 0) {
        return; // called without the arguments that it has
    }

    if (!TRANSFORM("tailcall", "a call of itself in tail position is a jump")) return;
    dprintf("Tail call: %s\n", stmt2infix(tail.statement->tree).c_str());
    for (PASSED &p : passed) {
        p.value = value_for_leaf(p, p.value);
        if (!p.target->type->is_const()) continue;
        p.target->type = tp->remove_known_qual(p.target->type, QUAL_const);
        written.push_back(p.target);
    }
    LS *scope = tail.call->scope;
    const PSN *psn = tail.statement->psn;
    NODE *listing = nullptr;
    if (source_interlist) {
        std::string text = stmt2infix(tail.statement->tree);
        if (tail.statement->tree->op != RETURN) text += "  return;";
        listing = mk_ASM_comment(text.c_str());
    }

    // In place of the call and what follows it: comment, assignments, comment, jump.
    BBLK *target = block_behind_prolog(entry);
    if (bb == entry) bb = target; // the call stands behind the prolog, so it has moved
    LIST **link = bb->statements == tail.statement ? &bb->statements : &tail.before->next;
    erase_tree_list(tail.statement);
    LIST *tail_end = mkelist(mk_BRANCH(target, scope), nullptr, nullptr);
    tail_end = mkelist(mk_ASM_comment("***\t; tail recursive call occurs here"), tail_end, nullptr);
    NODE *asgs = parallel_assignment(passed);
    if (asgs) asgs = peel_for_effect(asgs);
    if (asgs) tail_end = mkelist(asgs, tail_end, psn);
    if (listing) tail_end = mkelist(listing, tail_end, nullptr);
    *link = tail_end;
    erase_edge_list(bb->succs);
    bb->succs = mkedge(target, nullptr);
    note_positions(bb);
}

// NAMEs carry the type of their symbol, with a const that no longer holds.
void TAIL_CALLS::finish() {
    if (written.empty()) return;
    for (BBLK *bb = function->uo_list; bb; bb = bb->uolink)
        for (LIST *s = bb->statements; s; s = s->next)
            for_each_node(s->tree, [&](NODE *n) {
                if (n->op != NAME) return;
                for (SYMTAB *symbol : written)
                    if (n->u.sym == symbol) n->type = symbol->type;
            });
}
