#include "OPT5/seqtrees.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "OPT5/bbutils.h"
#include "OPT5/branchhint.h"
#include "OPT5/cfg.h"
#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/passlimit.h"
#include "OPT5/scopes.h"
#include "OPT5/simp1.h"
#include "OPT5/stackshare.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "support/fatal.h"
#include "support/flatmap.h"

namespace {

constexpr const char *EH_PREDICATE = "__imaginary_exception_predicate";
constexpr int TEMP_KIND = 'S'; // temporaries that hold what was moved in front of a statement

bool op_is_call(int op) { return op == CALL || op == UCALL; }
bool op_is_ASG(int op) { return op == ASG || op == STASG; }

NODE *mk_definition(LBL *label, LS *scope) {
    NODE *definition = mk_LABELDEF(label);
    definition->scope = scope;
    return definition;
}

bool never_returns(NODE *call) {
    FUNINFO *callee = find_FUNINFO_for_call(call);
    return callee && callee->has_flag(FUN_never_returns);
}

// The label words of the catches that an exception out of region `id` may end in, nearest first, each once.
std::vector<int> catch_labels(unsigned id) {
    const FUNINFO *f = currfuninfo;
    std::vector<int> labels;
    static flat_set seen;
    seen.clear();
    for (; id > 1 && id < f->eht_size && f->eht[id].kind != EHK_THROW_TERMINATE; id = f->eht[id].next) {
        if (f->eht[id].kind != EHK_CATCH) continue;
        for (const EHT_CATCH &c : f->eht[id].catches)
            if (seen.insert(c.label)) labels.push_back(c.label);
    }
    return labels;
}

// Which regions of the current function's table lead to a catch. Chains lead to the root (checked when read), and
// each entry is looked at once.
std::vector<uint8_t> regions_with_catch() {
    const FUNINFO *f = currfuninfo;
    enum : uint8_t { UNKNOWN, NO, YES };
    std::vector<uint8_t> known(f->eht_size, UNKNOWN);
    std::vector<unsigned> path;
    for (unsigned i = 0; i < f->eht_size; i++) {
        uint8_t answer = NO;
        path.clear();
        for (unsigned id = i;; id = f->eht[id].next) {
            if (id <= 1 || id >= f->eht_size || f->eht[id].kind == EHK_THROW_TERMINATE) break;
            if (known[id] != UNKNOWN) {
                answer = known[id];
                break;
            }
            path.push_back(id);
            if (f->eht[id].kind == EHK_CATCH && !f->eht[id].catches.empty()) {
                answer = YES;
                break;
            }
        }
        for (unsigned id : path) known[id] = answer;
    }
    for (uint8_t &k : known) k = k == YES;
    return known;
}

// The call of a statement that is one, or assigns one; else null.
NODE *call_of_statement(NODE *t) {
    if (op_is_call(t->op)) return t;
    return op_is_ASG(t->op) && op_is_call(t->right->op) ? t->right : nullptr;
}

LIST *push_never_executed(LIST *list) {
    list = mkelist(mk_ASM_comment("***\t; the preceding call never returns"), list, nullptr);
    return mkelist(mk_MCALL("_never_executed", nullptr, tp->void_type()), list, nullptr);
}

// A variable of the function's own or a global, or a record inside of one; null for anything else.
const SYMTAB *copied_variable(const NODE *record) {
    const NODE *base = record;
    for (; base->op == STDOT; base = base->left)
        if (base->type->is_volatile()) return nullptr;
    if (base->op != NAME || base->type->is_volatile() || base->u.sym->level == 1) return nullptr;
    return base->u.sym;
}

// Whether a record is its members and nothing else: what lies between them is copied with the whole only.
bool is_its_members(TYPE *type, int max_members) {
    if (type->dkind() != K_struct && type->dkind() != K_class) return false;
    if (type->is_const() || type->is_volatile() || type->is_struct_vector()) return false;
    if (!csu_type_has_only_simple_scalar_members(type, max_members)) return false;
    int64_t end = 0;
    for (const fkMDATA *m = type->mdata(); m; m = m->next) {
        if (m->offset != end || m->type->is_const() || m->type->is_volatile()) return false;
        end += int64_t(m->type->size);
    }
    return end > 0 && end == int64_t(type->size); // an empty record is no statement
}

NODE *member_of(const NODE *record, fkMDATA *m) {
    NODE *field = new_node(FIELD, m->type->normalized());
    field->mk_field(1, m, record->type);
    field->scope = record->scope;
    return maketree(STDOT, copy_tree(record), field, m->type->normalized(), record->scope);
}

constexpr int MAX_COPIED_MEMBERS = 4; // beyond that a copy of the whole takes less code

// A copy between variables, at least one of them local, of a record that is its members.
bool may_be_member_by_member(const NODE *tree) {
    if (tree->op != STASG) return false;
    const NODE *to = tree->left, *from = tree->right;
    const SYMTAB *target = copied_variable(to), *source = target ? copied_variable(from) : nullptr;
    if (!source || (target->level == 0 && source->level == 0) || to->type->is_const()) return false;
    TYPE *type = to->type->stqs();
    if (to->type->is_packed() || from->type->is_packed()) return false; // members lie elsewhere
    return type->dtype == from->type->stqs()->dtype && is_its_members(type, MAX_COPIED_MEMBERS);
}

// Which records of the function are used as a whole elsewhere than in such copies. A copy of another one, member by
// member, lets that be taken apart; between two that stay whole it would only be longer.
class RECORDS_APART {
  public:
    // a, b becomes two statements, so both are looked at as such.
    void look_at(const std::vector<LIST *> &statements) {
        std::vector<const NODE *> todo;
        for (const LIST *s : statements) {
            todo.push_back(s->tree);
            while (!todo.empty()) {
                const NODE *tree = todo.back();
                todo.pop_back();
                if (tree->op != COMMAOP) {
                    look_at(tree);
                    continue;
                }
                todo.push_back(tree->right);
                todo.push_back(tree->left);
            }
        }
    }
    bool helped_by(const NODE *copy) { return stays_apart(copy->left) || stays_apart(copy->right); }

  private:
    flat_set whole_;

    bool stays_apart(const NODE *side) {
        const SYMTAB *s = copied_variable(side);
        return s->level > 0 && s->type->dkind() != K_union && !whole_.has(s);
    }
    void look_at(const NODE *tree) {
        bool is_copy = may_be_member_by_member(tree), is_prolog = tree_is_arg_prolog(tree);
        for_each_node(tree, [&](const NODE *n) {
            const NODE *object = n;
            while (object->op == STDOT) object = object->left;
            bool is_side = is_prolog || (is_copy && (n == tree->left || n == tree->right));
            bool is_whole = object->op == NAME && object->u.sym && !n->type->is_scalar();
            if (is_whole && !is_side) whole_.insert(object->u.sym);
            if (n->op == STDOT) return object->op == NAME ? WALK_OVER : WALK_LEFT;
            if (n->op != UAND && n->op != ARGREF) return WALK_INTO;
            for (object = n->left; object->op == STDOT;) object = object->left;
            if (object->op == NAME && object->u.sym) whole_.insert(object->u.sym);
            return WALK_INTO;
        });
    }
};

// One function. What is still to be done is a stack, because taking a statement apart gives statements to take
// apart; what is done is pushed onto the function's list.
class SEQUENCER {
  public:
    SEQUENCER() : done_(nullptr), catching_(regions_with_catch()) {
        any_catch_ = std::find(catching_.begin(), catching_.end(), 1) != catching_.end();
    }
    void run(const std::vector<LIST *> &statements, bool copies_records);
    LIST *done() const { return done_; }

  private:
    LIST *done_;
    RECORDS_APART apart_;
    std::vector<uint8_t> catching_;
    bool any_catch_, takes_apart_ = false;
    std::vector<LIST *> todo_; // the next one last
    flat_set with_catch_;      // nodes of the statement in work that hold a catching call

    void later(NODE *tree, const LIST *like) { todo_.push_back(mkelist(tree, nullptr, like->psn)); }
    void statement(LIST *s);
    void open_record_copy(LIST *s);
    bool open_value_unused(LIST *s);
    bool open_condition(LIST *s);
    void branch_over(LIST *s, NODE *condition, NODE *then, NODE *otherwise);
    bool is_catching_call(const NODE *n) const {
        return op_is_call(n->op) && n->i_eht_id < catching_.size() && catching_[n->i_eht_id];
    }
    bool find_catching_calls(NODE *tree);
    bool holds(const NODE *n) { return n && with_catch_.has(n); }
    bool open_around_call(LIST *s);
    void move_calls_in_front(LIST *s);
    NODE *temp_for(NODE *value, LIST *s, NODE **assignment);
};

void SEQUENCER::run(const std::vector<LIST *> &statements, bool copies_records) {
    takes_apart_ = copies_records && opt_level() >= 2;
    if (takes_apart_) apart_.look_at(statements);
    for (LIST *s : statements) {
        todo_.push_back(s);
        while (!todo_.empty()) {
            LIST *next = todo_.back();
            todo_.pop_back();
            statement(next);
        }
    }
}

void SEQUENCER::statement(LIST *s) {
    open_record_copy(s);
    if (open_value_unused(s)) return;
    if (any_catch_) {
        if (find_catching_calls(s->tree)) {
            if (open_condition(s) || open_around_call(s)) return;
            move_calls_in_front(s);
        }
    }
    NODE *call = call_of_statement(s->tree);
    if (call && any_catch_ && is_catching_call(call)) {
        done_ = make_magic_EH_SWITCH(s->tree, done_, never_returns(call));
        for (LIST *made = done_; made; made = made->next) {
            if (made->tree->op != SWITCH) continue;
            made->psn = s->psn;
            break;
        }
        erase_tree_list_only(s);
        return;
    }
    s->next = done_;
    done_ = s;
    if (call && never_returns(call)) done_ = push_never_executed(done_);
}

// if (condition) then; else otherwise;   either arm may be null; both are taken
void SEQUENCER::branch_over(LIST *s, NODE *condition, NODE *then, NODE *otherwise) {
    LS *scope = s->tree->scope;
    LBL *at_then = mklabel(0, nullptr, nullptr), *at_else = mklabel(0, nullptr, nullptr);
    LBL *at_end = otherwise ? mklabel(0, nullptr, nullptr) : nullptr;
    NODE *labels = maketree(COMMA, mk_LABELREF_to_label(at_then, scope), mk_LABELREF_to_label(at_else, scope),
                            tp->void_type(), scope);
    int hint = take_builtin_expect(condition);
    NODE *branch = maketree(IF, condition, labels, tp->void_type(), scope);
    set_hint_of_IF(branch, hint);
    // the last one first
    if (otherwise) {
        later(mk_definition(at_end, scope), s);
        later(otherwise, s);
    }
    later(mk_definition(at_else, scope), s);
    if (otherwise)
        later(maketree(BRANCH, mk_LABELREF_to_label(at_end, scope), nullptr, tp->void_type(), scope), s);
    if (then) later(then, s);
    later(mk_definition(at_then, scope), s);
    later(branch, s);
}

void SEQUENCER::open_record_copy(LIST *s) {
    if (takes_apart_ && may_be_member_by_member(s->tree) && apart_.helped_by(s->tree))
        s->tree = convert_STASG_to_asgs(s->tree, MAX_COPIED_MEMBERS);
}

// Opens a statement whose outermost operator only decides what is done; true when `s` has been replaced.
bool SEQUENCER::open_value_unused(LIST *s) {
    NODE *t = s->tree;
    while (t->op == SCONV && t->type->is_void() && t->left) {
        NODE *operand = t->left;
        t->left = nullptr;
        erase_node(t);
        s->tree = t = operand;
    }
    switch (t->op) {
    case COMMAOP:
        later(t->right, s);
        later(t->left, s);
        break;
    case ANDAND: branch_over(s, t->left, t->right, nullptr); break;
    case OROR: branch_over(s, t->left, nullptr, t->right); break;
    case QUEST: {
        NODE *arms = t->right;
        if (!arms || arms->op != COLON) return false;
        branch_over(s, t->left, arms->left, arms->right);
        arms->left = arms->right = nullptr;
        break;
    }
    default: return false;
    }
    t->left = nullptr;
    if (t->op != QUEST) t->right = nullptr;
    erase_tree(t);
    erase_tree_list_only(s);
    return true;
}

// Whether there are any.
bool SEQUENCER::find_catching_calls(NODE *tree) {
    if (!find_node(tree, [this](NODE *n) { return is_catching_call(n); })) return false;
    with_catch_.clear();
    for_each_node_postorder(tree, [&](NODE *n) {
        if (is_catching_call(n) || holds(n->left) || holds(n->right)) with_catch_.insert(n);
    });
    return true;
}

// An IF whose condition is made of several, one of which holds a catching call: one IF for each.
bool SEQUENCER::open_condition(LIST *s) {
    NODE *t = s->tree;
    if (t->op != IF) return false;
    NODE *c = t->left;
    if ((c->op != ANDAND && c->op != OROR) || !holds(c->right)) return false;
    LS *scope = t->scope;
    LBL *between = mklabel(0, nullptr, nullptr);
    NODE *labels = t->right;
    NODE *first_labels = c->op == ANDAND
                             ? maketree(COMMA, mk_LABELREF_to_label(between, scope), copy_tree(labels->right),
                                        labels->type, scope)
                             : maketree(COMMA, copy_tree(labels->left), mk_LABELREF_to_label(between, scope),
                                        labels->type, scope);
    NODE *first = maketree(IF, c->left, first_labels, t->type, scope);
    // Where both are likely true, each is; where either is unlikely true, each is. The rest says nothing of one.
    int hint = hint_of_IF(t);
    if ((hint > 0) != (c->op == ANDAND)) hint = 0;
    set_hint_of_IF(first, hint);
    set_hint_of_IF(t, hint);
    t->left = c->right;
    todo_.push_back(s); // the second test, in the statement as it was
    later(mk_definition(between, scope), s);
    later(first, s);
    c->left = c->right = nullptr;
    erase_node(c);
    return true;
}

// A temporary with the value of a tree: gives its NAME, and the assignment (which takes the tree).
NODE *SEQUENCER::temp_for(NODE *value, LIST *s, NODE **assignment) {
    LS *scope = s->tree->scope;
    SYMTAB *temp = sym_temp(TEMP_KIND, -1, value->type->stqs(), scope);
    *assignment = mk_ASG(mk_NAME(temp, scope), value);
    return mk_NAME(temp, scope);
}

// Opens the first comma or condition inside the statement that a catching call stands in: what it computes goes in
// front, into a temporary. True when it did, and `s` is to be looked at again.
bool SEQUENCER::open_around_call(LIST *s) {
    bool opened = false;
    walk_tree_slots(s->tree, [&](NODE *&slot) {
        NODE *n = slot;
        if (!holds(n)) return WALK_OVER;
        bool conditional = (n->op == ANDAND || n->op == OROR || n->op == QUEST) && holds(n->right);
        if (n->op != COMMAOP && !conditional) return WALK_INTO;
        opened = true;
        todo_.push_back(s);
        NODE *left = n->left, *right = n->right, *assignment;
        n->left = n->right = nullptr;
        if (n->op == COMMAOP) {
            slot = right;
            erase_node(n);
            later(left, s);
        } else if (n->op == QUEST) {
            // t = c ? a : b   ->   c ? (t = a) : (t = b), as a statement
            NODE *otherwise = right->right;
            slot = temp_for(right->left, s, &assignment);
            SYMTAB *temp = slot->u.sym;
            n->left = left;
            n->right = right;
            right->left = assignment;
            right->right = mk_ASG(mk_NAME(temp, slot->scope), otherwise);
            n->type = right->type = tp->void_type();
            later(n, s);
        } else {
            // t = a && b   ->   t = 0; if (a && b) t = 1;      t = a || b likewise
            n->left = left;
            n->right = right;
            slot = temp_for(mk_ICON(INT65(0), n->type), s, &assignment);
            NODE *set = mk_ASG(mk_NAME(slot->u.sym, slot->scope), mk_ICON(INT65(1), n->type));
            branch_over(s, n, set, nullptr);
            later(assignment, s);
        }
        return WALK_STOP;
    });
    return opened;
}

// The catching calls of a statement that has no more conditions around them, each into a temporary, innermost first;
// but for the one that is the statement, or is what it assigns.
void SEQUENCER::move_calls_in_front(LIST *s) {
    NODE *stays = call_of_statement(s->tree);
    s->tree = rewrite_tree(s->tree, [&](NODE *n) {
        if (n == stays || !is_catching_call(n)) return n;
        NODE *assignment;
        NODE *name = temp_for(n, s, &assignment);
        done_ = make_magic_EH_SWITCH(assignment, done_, never_returns(n));
        return name;
    });
}

// Gives whether there is a STASG.
bool note_kinds_of_values(const NODE *tree) {
    constexpr uint64_t NOTED = uint64_t{1} << K_array | uint64_t{1} << K_complex | uint64_t{1} << K_class |
                               uint64_t{1} << K_struct | uint64_t{1} << K_union;
    FUNINFO *f = currfuninfo;
    const TYPE *known = nullptr; // neighbours mostly have one type
    bool copies_records = false;
    for_each_node(tree, [&](const NODE *n) {
        copies_records |= n->op == STASG;
        if (n->type == known) return;
        known = n->type;
        if (!n->type || !(NOTED >> n->type->dkind() & 1)) return;
        f->has_vector_trees |= n->type->is_vector() || n->type->is_struct_vector();
        f->has_complex_trees |= n->type->is_complex();
    });
    return copies_records;
}

} // namespace

// a = b  ->  a.x = b.x, a.y = b.y     the objects are the same or disjoint, so the order is no matter
NODE *convert_STASG_to_asgs(NODE *tree, int max_members) {
    NODE *to = tree->left, *from = tree->right;
    if (!may_be_member_by_member(tree) || !is_its_members(to->type->stqs(), max_members) ||
        !TRANSFORM("seqtrees", "a copy of a small record is one of its members"))
        return tree;
    NODE *copies = nullptr;
    for (fkMDATA *m = to->type->mdata(); m; m = m->next)
        copies = mk_COMMAOP(copies, mk_ASG(member_of(to, m), member_of(from, m)));
    erase_tree(tree);
    return copies;
}

LIST *make_magic_EH_SWITCH(NODE *tree, LIST *list, bool call_never_returns) {
    NODE *call = call_of_statement(tree);
    QL_ASSERT(call);
    QL_ASSERT(call->i_eht_id < currfuninfo->eht_size);
    LS *scope = tree->scope;
    LBL *next = mklabel(0, nullptr, nullptr);

    NODE *selector;
    if (tree == call) {
        selector = mk_MCALL(EH_PREDICATE, call, tp->int_type());
    } else {
        tree->right = mk_MCALL(EH_PREDICATE, call, call->type);
        tree->right->scope = scope;
        selector = tree;
    }
    selector->scope = scope;
    NODE *cases = nullptr;
    auto append = [&](NODE *item) {
        cases = cases ? maketree(COMMA, cases, item, tp->void_type(), scope) : item;
    };
    unsigned count = 0;
    for (int word : catch_labels(call->i_eht_id)) {
        NODE *ref = mk_LABELREF(word, 0);
        ref->scope = scope;
        append(maketree(CASE, mk_ICON(INT65(word), tp->int_type()), ref, tp->void_type(), scope));
        count++;
    }
    append(maketree(DEFAULT, mk_LABELREF_to_label(next, scope), nullptr, tp->void_type(), scope));
    NODE *sw = maketree(SWITCH, selector, cases, tp->void_type(), scope);
    sw->u.lval = INT65(count);

    list = mkelist(sw, list, nullptr);
    list = mkelist(mk_definition(next, scope), list, nullptr);
    return call_never_returns ? push_never_executed(list) : list;
}

bool is_magic_EH_MCALL(const NODE *n) {
    return n && n->op == MCALL && n->u.icall && !strcmp(n->u.icall, EH_PREDICATE);
}

bool is_magic_EH_MCALL_ASG(const NODE *n) { return n && op_is_ASG(n->op) && is_magic_EH_MCALL(n->right); }

bool tree_is_EH_SWITCH(const NODE *n) {
    return n && n->op == SWITCH && (is_magic_EH_MCALL(n->left) || is_magic_EH_MCALL_ASG(n->left));
}

void seq_trees() {
    FUNINFO *f = currfuninfo;
    if (!f->statements) return;
    static std::vector<LIST *> statements; // its memory serves all functions
    statements.clear();
    for (LIST *s = f->statements; s; s = s->next) statements.push_back(s);
    std::reverse(statements.begin(), statements.end());
    f->statements = nullptr;
    bool copies_records = false;
    for (LIST *s : statements) {
        s->next = nullptr;
        copies_records |= note_kinds_of_values(s->tree);
    }
    SEQUENCER sequencer;
    sequencer.run(statements, copies_records);
    f->statements = sequencer.done();
}
