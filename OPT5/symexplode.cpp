#include "OPT5/symexplode.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "OPT5/bbutils.h"
#include "OPT5/cfg.h"
#include "OPT5/congruent.h"
#include "OPT5/ddssa.h"
#include "OPT5/funinfo.h"
#include "OPT5/passlimit.h"
#include "OPT5/restrict.h"
#include "OPT5/scopes.h"
#include "OPT5/symtab.h"
#include "OPT5/treewalk.h"
#include "support/dbgout.h"
#include "support/fatal.h"
#include "typepkg/type_merge.h"

namespace {

template <class F> void for_each_statement(F f) {
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink)
        for (LIST *l = bb->statements; l; l = l->next) f(l);
}

} // namespace

bool function_calls_setjmp() {
    bool found = false;
    for_each_statement([&found](LIST *l) {
        found = found || find_node(l->tree, [](NODE *n) {
                    const char *name = op_is_icall(n->op) ? n->u.icall : nullptr;
                    if (n->op == CALL || n->op == UCALL) {
                        const SYMTAB *callee = get_callee_for_call(n);
                        name = callee ? callee->name : nullptr;
                    }
                    return name && strstr(name, "setjmp");
                });
    });
    return found;
}

// --- taking records apart ---

namespace {

using MEMBER_PATH = std::vector<fkMDATA *>; // the outermost member first

struct EXPLODED {
    SYMTAB *record = nullptr;
    std::map<MEMBER_PATH, SYMTAB *> parts; // by what is used of it; null until the variable is made
    NODE *prolog = nullptr;                // assignment of the argument prolog, if there is one
};

class EXPLOSION {
  public:
    void run();

  private:
    std::vector<SYMTAB *> order_; // the candidates as the chain has them
    std::unordered_map<const SYMTAB *, EXPLODED> candidates_;

    EXPLODED *candidate(const NODE *n) {
        auto found = n->op == NAME ? candidates_.find(n->u.sym) : candidates_.end();
        return found == candidates_.end() ? nullptr : &found->second;
    }
    void strike(const NODE *name) { candidates_.erase(name->u.sym); }

    void collect_candidates();
    void look_at(LIST *);
    void look_at_access(NODE *);
    bool parts_are_disjoint(const EXPLODED &) const;
    void make_variables(EXPLODED &);
    void rewrite(NODE *&tree);
    LIST *assignments_of_prolog(const EXPLODED &, const LIST *prolog) const;
    void rewrite_prolog(BBLK *, LIST **link);
    NODE *without_exploded(NODE *prolog);
};

bool may_explode(SYMTAB *s) {
    TYPE *type = s->type;
    if (s->level != 2 || s->sclass != SC_AUTO || !type->is_csu() || type->dkind() == K_union) return false;
    if (type->is_volatile() || type->is_struct_vector()) return false;
    const tpCSU *csu = type->dtype->sub.csu;
    return csu->complete && !csu->bclass.first;
}

void EXPLOSION::collect_candidates() {
    std::unordered_set<const SYMTAB *> kept = symbols_in_exception_table(currfuninfo);
    for (SYMTAB *s = currfuninfo->nonscalars; s; s = s->next) {
        if (!may_explode(s) || kept.count(s)) continue;
        candidates_[s].record = s;
        order_.push_back(s);
    }
}

// The members from the object on, empty for a chain that leads nowhere.
MEMBER_PATH path_of(const NODE *access) {
    MEMBER_PATH path;
    for (const NODE *n = access; n->op == STDOT; n = n->left) {
        if (!n->right || n->right->op != FIELD || !n->right->member) return {};
        path.push_back(n->right->member);
    }
    std::reverse(path.begin(), path.end());
    return path;
}

// Whether the access takes the member for what it is, so that a variable of the member's type can stand for it.
bool is_plain_read_of(TYPE *member, const NODE *access) {
    TYPE *type = access->type;
    auto is_integer = [](const TYPE *t) { return t->is_integral() || t->is_enum(); };
    if (!member->is_scalar() || member->is_complex() || type->is_volatile() || type->size != member->size)
        return false;
    return (is_integer(type) && is_integer(member)) || (type->is_ptr() && member->is_ptr()) ||
           compatible_types(type, member, true);
}

// An access of a scalar member is noted; one of anything else strikes the record.
void EXPLOSION::look_at_access(NODE *access) {
    const NODE *base = strip_STDOTs(access);
    EXPLODED *exploded = candidate(base);
    if (!exploded) return;
    MEMBER_PATH path = path_of(access);
    bool fits = !path.empty();
    for (const fkMDATA *m : path)
        fits = fits && !m->is_bitfld() && !m->type->is_volatile() && m->offset >= 0 &&
               m->type->dkind() != K_union;
    fits = fits && is_plain_read_of(path.back()->type, access);
    if (fits) exploded->parts.try_emplace(std::move(path), nullptr);
    else strike(base);
}

void EXPLOSION::look_at(LIST *l) {
    bool in_prolog = tree_is_arg_prolog(l->tree);
    for_each_node(l->tree, [&](NODE *n) {
        switch (n->op) {
        case STDOT: look_at_access(n); return strip_STDOTs(n)->op == NAME ? WALK_OVER : WALK_LEFT;
        case UAND:
        case ARGREF: {
            const NODE *object = strip_STDOTs(n->left);
            if (object->op != NAME) return WALK_INTO;
            if (candidate(object)) strike(object);
            return WALK_OVER;
        }
        case NAME:
            if (candidate(n)) strike(n);
            return WALK_OVER;
        case STASG:
            if (EXPLODED *e = in_prolog && n->right->op == NAME ? candidate(n->left) : nullptr) {
                if (e->prolog) {
                    strike(n->left);
                    return WALK_OVER;
                }
                QL_ASSERT(tree_is_arg_prolog(n));
                e->prolog = n;
                return WALK_OVER;
            }
            return WALK_INTO;
        default: return WALK_INTO;
        }
    });
}

uint64_t offset_of(const MEMBER_PATH &path) {
    uint64_t offset = 0;
    for (const fkMDATA *m : path) offset += uint64_t(m->offset);
    return offset;
}

// Members may lie over each other in records that a parser made up for something else.
bool EXPLOSION::parts_are_disjoint(const EXPLODED &e) const {
    std::vector<std::pair<uint64_t, uint64_t>> extents;
    for (const auto &part : e.parts) {
        uint64_t offset = offset_of(part.first);
        extents.push_back({offset, offset + part.first.back()->type->size});
    }
    std::sort(extents.begin(), extents.end());
    for (size_t n = 1; n < extents.size(); n++)
        if (extents[n - 1].second > extents[n].first) return false;
    return true;
}

void EXPLOSION::make_variables(EXPLODED &e) {
    FUNINFO *f = currfuninfo;
    for (auto &[path, variable] : e.parts) {
        std::string member;
        for (const fkMDATA *m : path) member += (member.empty() ? "" : "$") + std::string(m->name);
        std::string name = std::string("$O") + "$CSU$" + e.record->name + "$" + member;
        // A local that is set once for each run of its block is no constant for the function.
        variable = sym_temp('C', 0, path.back()->type->normalized(), e.record->scope);
        rename_symbol(variable, name.c_str());
        variable->psn = e.record->psn;
        if (f->ptr_chain) find_or_make_PTR_entry(variable);
        dprintf("Exploding %s\tinto %s.\n", e.record->name, variable->name);
    }
}

void EXPLOSION::rewrite(NODE *&tree) {
    walk_tree_slots(tree, [this](NODE *&n) {
        if (n->op != STDOT) return WALK_INTO;
        EXPLODED *e = candidate(strip_STDOTs(n));
        if (!e) return WALK_INTO;
        SYMTAB *variable = e->parts.at(path_of(n));
        NODE *name = mk_NAME(variable, n->scope);
        name->type = n->type->is_const() ? variable->type : n->type;
        dprintf("Replacing %s with the simple variable '%s' in %s.\n", e->record->name, variable->name,
                currfuninfo->name.c_str());
        erase_tree(n);
        n = name;
        return WALK_OVER;
    });
}

// variable = parameter.member, for each variable.
LIST *EXPLOSION::assignments_of_prolog(const EXPLODED &e, const LIST *prolog) const {
    LIST *list = nullptr;
    for (const auto &[path, variable] : e.parts) {
        NODE *access = copy_tree(e.prolog->right);
        for (fkMDATA *m : path) {
            NODE *field = new_node(FIELD, m->type->normalized());
            field->mk_field(1, m, access->type);
            field->scope = access->scope;
            access = maketree(STDOT, access, field, m->type->normalized(), access->scope);
        }
        NODE *assignment = mk_ASG(mk_NAME(variable, e.prolog->scope), access);
        list = mkelist(assignment, list, prolog->psn);
    }
    return list;
}

// The prolog less the assignments of exploded records; null when nothing is left.
NODE *EXPLOSION::without_exploded(NODE *prolog) {
    return rewrite_tree(prolog, [this](NODE *n) -> NODE * {
        if (n->op == STASG && n->left && candidate(n->left)) {
            erase_tree(n);
            return nullptr;
        }
        if (n->op != PCOMMA || (n->left && n->right)) return n;
        NODE *rest = n->left ? n->left : n->right;
        n->left = n->right = nullptr;
        erase_node(n);
        return rest;
    });
}

// The members are read behind the prolog, so that what is left of it is still known as one.
void EXPLOSION::rewrite_prolog(BBLK *bb, LIST **link) {
    LIST *prolog = *link, *last = prolog;
    for_each_node(prolog->tree, [&](NODE *n) {
        EXPLODED *e = n->op == STASG ? candidate(n->left) : nullptr;
        if (!e) return n->op == PCOMMA ? WALK_INTO : WALK_OVER;
        LIST *behind = last->next;
        last->next = assignments_of_prolog(*e, prolog);
        while (last->next) last = last->next;
        last->next = behind;
        return WALK_OVER;
    });
    prolog->tree = without_exploded(prolog->tree);
    if (!prolog->tree) {
        *link = prolog->next;
        prolog->next = nullptr;
        erase_tree_list_only(prolog);
    }
    note_positions(bb);
}

void EXPLOSION::run() {
    FUNINFO *f = currfuninfo;
    collect_candidates();
    if (candidates_.empty()) return;
    for_each_statement([this](LIST *l) { look_at(l); });
    for (SYMTAB *s : order_) {
        auto found = candidates_.find(s);
        if (found == candidates_.end()) continue;
        const EXPLODED &e = found->second;
        bool used = !e.parts.empty() || e.prolog;
        if (!used || !parts_are_disjoint(e) || !TRANSFORM("symexplode", "a local record becomes variables"))
            candidates_.erase(found);
    }
    if (candidates_.empty()) return;
    for (SYMTAB *s : order_)
        if (auto found = candidates_.find(s); found != candidates_.end()) make_variables(found->second);

    for (BBLK *bb = f->bb_list; bb; bb = bb->dflink) {
        for (LIST **link = &bb->statements; *link;) {
            LIST *l = *link;
            if (tree_is_arg_prolog(l->tree)) rewrite_prolog(bb, link);
            else rewrite(l->tree);
            if (*link == l) link = &l->next;
        }
    }
    if (f->first_statement && tree_is_arg_prolog(f->first_statement))
        f->first_statement = without_exploded(f->first_statement);
    sym_split(f);
    f->nonscalars = unlink_symbols_if(f->nonscalars, [this](SYMTAB *s) {
        if (!candidates_.count(s)) return false;
        announce_replaced_symbol(s, nullptr, 0);
        return true;
    });
}

} // namespace

void explode_auto_struct_vars() {
    if (function_is_in_SSA_form) return;
    sym_split(currfuninfo);
    if (!currfuninfo->nonscalars || function_calls_setjmp()) return;
    EXPLOSION().run();
}

// --- constructing the result in place ---

namespace {

// The local that the statement copies into *result, or null.
SYMTAB *local_copied_to_result(const NODE *tree, const SYMTAB *result) {
    if (tree->op != STASG) return nullptr;
    const NODE *to = tree->left, *from = tree->right;
    if (to->op != UMULT || to->right || to->left->op != NAME || to->left->u.sym != result) return nullptr;
    if (from->op == UMULT && !from->right && from->left->op == UAND) from = from->left->left;
    return from->op == NAME ? from->u.sym : nullptr;
}

// The one local that every way out of the function copies to *result, or null. *exits: how many ways there are.
SYMTAB *local_of_all_returns(const SYMTAB *result, int *exits) {
    SYMTAB *local = nullptr;
    *exits = 0;
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
        if (bb->succs) continue;
        const LIST *copy = nullptr, *last = bb->statements;
        for (; last && last->next; last = last->next) copy = last;
        if (!last || last->tree->op != URETURN || !copy) return nullptr;
        SYMTAB *s = local_copied_to_result(copy->tree, result);
        if (!s || (local && s != local)) return nullptr;
        local = s;
        ++*exits;
    }
    return local;
}

bool can_stand_for_result(SYMTAB *local, const SYMTAB *result) {
    TYPE *made = result->type->type_pointed_to();
    return local->level == 2 && local->sclass == SC_AUTO && !local->type->is_volatile() &&
           !map_sym_to_parm(local) && compatible_types(local->type, made, true) &&
           local->align <= made->align && !symbols_in_exception_table(currfuninfo).count(local);
}

// Uses of the result pointer, not counting the argument prolog and what is assumed of the pointer.
int count_uses(const SYMTAB *pointer) {
    int uses = 0;
    for_each_statement([&](LIST *l) {
        if (l->tree->op == NASSERT || tree_is_arg_prolog(l->tree)) return;
        for_each_node(l->tree, [&](NODE *n) { uses += n->op == NAME && n->u.sym == pointer; });
    });
    return uses;
}

// &local  ->  result        local  ->  *result
void subst_result_for_local(NODE *&tree, const SYMTAB *local, SYMTAB *result) {
    walk_tree_slots(tree, [&](NODE *&n) {
        auto is_local = [local](const NODE *name) {
            return name && name->op == NAME && name->u.sym == local;
        };
        if (n->op == STASG && n->u.sym == local) n->u.sym = nullptr; // its left side is no NAME any more
        if (n->op == UAND && is_local(n->left)) {
            NODE *pointer = mk_NAME(result, n->scope);
            if (!compatible_types(pointer->type, n->type, true))
                pointer = maketree(PCONV, pointer, nullptr, n->type, n->scope);
            erase_tree(n);
            n = pointer;
            return WALK_OVER;
        }
        if (!is_local(n)) return WALK_INTO;
        NODE *object = maketree(UMULT, mk_NAME(result, n->scope), nullptr, n->type, n->scope);
        erase_node(n);
        n = object;
        return WALK_OVER;
    });
}

void remove_copies_to_themselves() {
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
        for (LIST **link = &bb->statements; *link;) {
            LIST *l = *link;
            if (l->tree->op != STASG || !trees_are_congruent(l->tree->left, l->tree->right)) {
                link = &l->next;
                continue;
            }
            *link = l->next;
            l->next = nullptr;
            erase_tree_list(l);
        }
        note_positions(bb);
    }
}

} // namespace

void subst_csu_returning_temp_for_local_var() {
    FUNINFO *f = currfuninfo;
    SYMTAB *result = f->const_pointer_parm;
    if (!result || function_is_in_SSA_form || !result->type->is_ptr()) return;
    if (result->type->type_pointed_to()->is_volatile()) return;
    int exits;
    SYMTAB *local = local_of_all_returns(result, &exits);
    if (!local || !can_stand_for_result(local, result) || count_uses(result) != exits ||
        function_calls_setjmp())
        return;

    if (!TRANSFORM("csu_temp", "a result is constructed in place")) return;
    dprintf("Constructing the result in place: %s\n", result->name);
    dprintf("    for local var  %s\n", local->name);
    for_each_statement([&](LIST *l) { subst_result_for_local(l->tree, local, result); });
    remove_copies_to_themselves();
    sym_split(f);
    f->nonscalars = unlink_symbol(local, f->nonscalars);
    announce_replaced_symbol(local, nullptr, 0);
}
