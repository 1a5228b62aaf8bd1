#include "OPT5/stackshare.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "OPT5/aliasinit.h"
#include "OPT5/bbutils.h"
#include "OPT5/cfg.h"
#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/passlimit.h"
#include "OPT5/read.h"
#include "OPT5/scopes.h"
#include "OPT5/symtab.h"
#include "OPT5/treewalk.h"
#include "support/dbgout.h"
#include "support/fatal.h"
#include "support/flatmap.h"

STACK_SHARING_COUNTS stack_sharing_counts;

// --- the tree of sharing scopes ---

namespace {

struct SHARING_SCOPE {
    int id = 0;
    size_t parent = 0; // position in `sharing_scopes`; its own for the outermost
    size_t end = 0;    // behind its last descendant
    std::vector<SYMTAB *> variables;
};

std::vector<SHARING_SCOPE> sharing_scopes; // each before what it holds
size_t open_scope;                         // position of the innermost open one
size_t open_count;
flat_map<bool> sharable; // what add gave; false when delete took it again

bool may_share(const SYMTAB *s) {
    const bool *may = sharable.find(s);
    return may && *may;
}

} // namespace

void init_stack_sharing() {
    sharing_scopes.clear();
    sharable.clear();
    open_count = 0;
}

void begin_stack_sharing_scope(int id) {
    SHARING_SCOPE scope;
    scope.id = id;
    scope.parent = open_count ? open_scope : sharing_scopes.size();
    open_scope = sharing_scopes.size();
    open_count++;
    sharing_scopes.push_back(std::move(scope));
}

void end_stack_sharing_scope() {
    QL_ASSERT(open_count > 0);
    sharing_scopes[open_scope].end = sharing_scopes.size();
    open_scope = sharing_scopes[open_scope].parent;
    open_count--;
}

void add_stack_sharing_variable(SYMTAB *s) {
    QL_ASSERT(open_count > 0);
    if (!sharable.insert(s, true)) return;
    sharing_scopes[open_scope].variables.push_back(s);
}

void delete_stack_sharing_variable(SYMTAB *s) {
    if (bool *may = sharable.find(s)) *may = false;
}

// --- which variables may share ---

bool csu_type_has_only_simple_scalar_members(TYPE *type, int max_members) {
    while (type->is_array()) type = type->elem_type();
    if (!type->is_csu()) return false;
    int count = 0;
    for (const fkMDATA *m = type->mdata(); m; m = m->next)
        if (++count > max_members || m->is_bitfld() || !m->type->is_scalar() || m->type->is_complex())
            return false;
    return true;
}

namespace {

constexpr int SIMPLE_RECORD_MEMBERS = 4; // records up to this size are better taken apart

TYPE *innermost_element(TYPE *type) {
    while (type->is_array()) type = type->dtype->sub.arr->elem_type;
    return type;
}

// Classes with hidden members, vectors and complex values, which later passes know as whole objects.
bool has_special_parts(TYPE *type) {
    if (type->is_vector() || type->is_struct_vector()) return true;
    TYPE *element = innermost_element(type);
    if (element->is_vector() || element->is_complex()) return true;
    if (!element->is_csu()) return false;
    const tpCSU *csu = element->dtype->sub.csu;
    if (csu->struct_vector || !csu->complete) return true;
    for (const fkBCLASS *b = csu->bclass.first; b; b = b->next)
        if (b->is_virtual) return true;
    for (const fkMFUNC *f = csu->mfunc.first; f; f = f->next)
        for (bool flag : f->flags)
            if (flag) return true; // among them: virtual
    if (element->has_flex_array_member(true)) return true;
    for (const fkMDATA *m = csu->mdata.first; m; m = m->next) {
        TYPE *part = innermost_element(m->type);
        if (m->type->is_vector() || part->is_vector() || part->is_complex()) return true;
        if (m->type->is_volatile() || m->type->is_const()) return true;
    }
    return false;
}

bool qualifies(SYMTAB *s, bool addressed) {
    TYPE *type = s->type;
    if (s->level != 2 || s->sclass != SC_AUTO || !s->scope || !s->size || is_internal_symbol(s)) return false;
    if (type->is_const() || type->is_volatile() || type->is_complex() || has_special_parts(type))
        return false;
    if (type->is_scalar() && !addressed) return false; // it can live in a register
    return addressed || !csu_type_has_only_simple_scalar_members(type, SIMPLE_RECORD_MEMBERS);
}

// Whether two variables of inner blocks could share at all, whatever the statements say: mostly there are none.
bool some_may_share(const LS *outermost) {
    int candidates = 0;
    for (SYMTAB *chain : {currfuninfo->nonscalars, currfuninfo->scalars})
        for (SYMTAB *s = chain; s; s = s->next)
            if (s->scope != outermost && qualifies(s, true) && ++candidates == 2) return true;
    return false;
}

template <class F> void for_each_statement(F f) {
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink)
        for (LIST *l = bb->statements; l; l = l->next) f(bb, l);
}

struct FUNCTION_SCAN {
    flat_set address_taken;
    std::unordered_set<const SYMTAB *> in_exception_table;
    bool calls_setjmp = false;
};

FUNCTION_SCAN scan_function() {
    FUNCTION_SCAN scan;
    scan.in_exception_table = symbols_in_exception_table(currfuninfo);
    for_each_statement([&scan](BBLK *, LIST *l) {
        for_each_node(l->tree, [&scan](NODE *n) {
            if (n->op == UAND || n->op == ARGREF) {
                const NODE *object = strip_STDOTs(n->left);
                if (object->op == NAME && object->u.sym) scan.address_taken.insert(object->u.sym);
            } else if (n->op == CALL || n->op == UCALL) {
                const SYMTAB *callee = get_callee_for_call(n);
                if (callee && strstr(callee->name, "setjmp")) scan.calls_setjmp = true;
            } else if (n->op == ICALL || n->op == MCALL || n->op == UICALL || n->op == UMCALL) {
                if (n->u.icall && strstr(n->u.icall, "setjmp")) scan.calls_setjmp = true;
            }
        });
    });
    return scan;
}

// The sharing scopes of the current function, from its level 2 scope.
void build_sharing_scopes(LS *outermost, FUNCTION_SCAN &scan) {
    init_stack_sharing();
    std::unordered_map<const LS *, std::vector<SYMTAB *>> variables;
    for (SYMTAB *chain : {currfuninfo->nonscalars, currfuninfo->scalars}) {
        for (SYMTAB *s = chain; s; s = s->next) {
            if (scan.in_exception_table.count(s) || !qualifies(s, scan.address_taken.has(s))) continue;
            if (s->scope->level > MAX_SHARING_LEVEL) stack_sharing_counts.too_deep++;
            else variables[s->scope].push_back(s);
        }
    }
    for (LS *scope = outermost; scope;) {
        begin_stack_sharing_scope(scope->number);
        auto own = variables.find(scope);
        if (own != variables.end())
            for (SYMTAB *s : own->second) add_stack_sharing_variable(s);
        if (scope->child && scope->level < MAX_SHARING_LEVEL) {
            scope = scope->child;
            continue;
        }
        while (scope != outermost && !scope->sibling) {
            end_stack_sharing_scope();
            scope = scope->parent;
        }
        end_stack_sharing_scope();
        scope = scope == outermost ? nullptr : scope->sibling;
    }
}

// For each scope the nearest one, upwards, that is not below MAX_SHARING_LEVEL: walks from there are short.
using SHALLOW_SCOPES = std::unordered_map<const LS *, const LS *>;

SHALLOW_SCOPES find_shallow_scopes(const LS *root) {
    SHALLOW_SCOPES shallow;
    std::vector<const LS *> todo = {root};
    while (!todo.empty()) {
        const LS *scope = todo.back();
        todo.pop_back();
        shallow[scope] = scope->level <= MAX_SHARING_LEVEL ? scope : shallow[scope->parent];
        for (const LS *c = scope->child; c; c = c->sibling) todo.push_back(c);
    }
    return shallow;
}

// The scope of a statement; null when it is not known.
const LS *place_of(const LIST *l, const SHALLOW_SCOPES &shallow) {
    auto place = shallow.find(l->tree->scope);
    return place == shallow.end() ? nullptr : place->second;
}

// Whether a scope lies in, or is, another one, whatever body it came from.
bool lies_in(const LS *scope, const LS *outer) {
    while (scope && scope->level > outer->level) scope = scope->parent;
    return scope == outer;
}

// Takes out the variables that some statement names outside of their block.
void delete_variables_used_elsewhere(const SHALLOW_SCOPES &shallow) {
    for_each_statement([&shallow](BBLK *, LIST *l) {
        const LS *place = place_of(l, shallow);
        for_each_node(l->tree, [place](NODE *n) {
            if (n->op == NAME && may_share(n->u.sym) && (!place || !lies_in(place, n->u.sym->scope)))
                delete_stack_sharing_variable(n->u.sym);
        });
    });
}

// Finds scopes of which the statements are mixed with those of a scope beside them. Within a flow block, a scope is
// left for good once a statement of another one, that is no part of it, comes.
class MIXED_SCOPES {
  public:
    void enter(const LS *scope, const BBLK *bb) {
        if (bb != block_) at_ = nullptr;
        block_ = bb;
        const LS *a = at_, *b = scope;
        at_ = scope;
        if (!a) return;
        while (a != b) {
            bool leave = a->level >= b->level, arrive = b->level >= a->level;
            if (leave) {
                left_in_[a] = bb;
                a = a->parent;
            }
            if (arrive) {
                auto left = left_in_.find(b);
                if (left != left_in_.end() && left->second == bb) found_.insert(b);
                b = b->parent;
            }
        }
    }
    bool empty() const { return found_.empty(); }
    bool hold(const LS *scope) const {
        while (scope && !found_.count(scope)) scope = scope->parent;
        return scope != nullptr;
    }

  private:
    const BBLK *block_ = nullptr;
    const LS *at_ = nullptr;
    std::unordered_map<const LS *, const BBLK *> left_in_; // the flow block in which a scope was last left
    std::unordered_set<const LS *> found_;
};

// Takes out the variables of blocks that passes have merged with a block beside them.
void delete_variables_of_mixed_blocks(const SHALLOW_SCOPES &shallow) {
    MIXED_SCOPES mixed;
    for_each_statement([&](BBLK *bb, LIST *l) {
        const NODE *use = find_node(l->tree, [](NODE *n) { return n->op == NAME && may_share(n->u.sym); });
        if (use) mixed.enter(place_of(l, shallow), bb);
    });
    if (mixed.empty()) return;
    for (SHARING_SCOPE &scope : sharing_scopes)
        for (SYMTAB *s : scope.variables)
            if (mixed.hold(s->scope)) delete_stack_sharing_variable(s);
}

// --- layout ---

// A scope of the variables of one type; scopes without any fall away, so that its children are disjoint blocks.
struct GROUP {
    const SHARING_SCOPE *scope = nullptr; // null for the root
    std::vector<SYMTAB *> variables;
    std::vector<GROUP *> children;
};

// All groups of one type, the root first.
struct GROUP_TREE {
    std::vector<std::unique_ptr<GROUP>> groups;
    std::vector<GROUP *> open; // while it is built: the groups that hold the present scope

    GROUP_TREE() { groups.push_back(std::make_unique<GROUP>()); }
};

// One struct or union of the layout, with what each member holds: a variable or a record.
struct RECORD {
    TYPE *type = nullptr;
    std::vector<std::pair<SYMTAB *, fkMDATA *>> variables;
    std::vector<std::pair<std::unique_ptr<RECORD>, fkMDATA *>> records;
};

// What can be told apart by type from something else must not lie in its place.
TYPE *type_that_shares(const SYMTAB *s) {
    TYPE *element = innermost_element(s->type);
    return element->normalized()->dtype;
}

class LAYOUT {
  public:
    explicit LAYOUT(int number) : number_(number) {}

    // The union of the group's subscopes.
    std::unique_ptr<RECORD> union_of(const GROUP *group, int depth) {
        std::vector<PART> parts;
        for (const GROUP *child : group->children) {
            PART part;
            part.record = struct_of(child, depth);
            part.name = "S" + id_text(child);
            parts.push_back(std::move(part));
        }
        return make_record("U" + id_text(group), parts, true);
    }

  private:
    struct PART {
        SYMTAB *variable = nullptr;
        std::unique_ptr<RECORD> record;
        std::string name;
        uint64_t offset = 0;

        TYPE *type() const { return variable ? variable->type : record->type; }
        uint32_t align() const {
            return std::max({32u, type()->align, variable ? variable->align : 0u}); // whole words
        }
    };

    std::string id_text(const GROUP *group) const {
        return std::to_string(group->scope ? group->scope->id : 0) + "_" + std::to_string(number_);
    }

    void add_variables(std::vector<PART> &parts, const GROUP *group) {
        for (SYMTAB *s : group->variables) {
            PART part;
            part.variable = s;
            part.name = "l" + id_text(group) + "$" + s->name;
            parts.push_back(std::move(part));
        }
    }

    // The group's variables, then what lies in its subscopes.
    std::unique_ptr<RECORD> struct_of(const GROUP *group, int depth) {
        std::vector<PART> parts;
        std::string name = "S" + id_text(group);
        add_variables(parts, group);
        while (group->children.size() == 1) {
            group = group->children[0];
            add_variables(parts, group);
        }
        if (group->children.size() > 1 && depth < MAX_NESTED_UNIONS) {
            PART part;
            part.record = union_of(group, depth + 1);
            part.name = "U" + id_text(group);
            parts.push_back(std::move(part));
        } else if (!group->children.empty()) {
            stack_sharing_counts.flattened++;
            std::vector<const GROUP *> todo(group->children.begin(), group->children.end());
            while (!todo.empty()) {
                const GROUP *below = todo.back();
                todo.pop_back();
                add_variables(parts, below);
                todo.insert(todo.end(), below->children.begin(), below->children.end());
            }
        }
        return make_record(name, parts, false);
    }

    std::unique_ptr<RECORD> make_record(const std::string &name, std::vector<PART> &parts, bool is_union) {
        uint64_t size = 0;
        uint32_t align = 32;
        for (PART &part : parts) {
            if (!is_union) part.offset = (size + part.align() - 1) / part.align() * part.align();
            size = std::max(size, part.offset + part.type()->size);
            align = std::max(align, part.align());
        }
        size = (size + align - 1) / align * align;
        bool cpp = currfuninfo->has_flag(FUN_is_cpp);
        auto record = std::make_unique<RECORD>();
        TYPE *&type = record->type;
        type = is_union ? tp->mk_union(name.c_str(), size, align, cpp)
                        : tp->mk_struct(name.c_str(), size, align, cpp);
        for (PART &part : parts) {
            fkMDATA *member = type->add_mdata(part.name.c_str(), part.type(), int64_t(part.offset));
            if (part.variable) record->variables.push_back({part.variable, member});
            else record->records.push_back({std::move(part.record), member});
        }
        tp->type_frozen(type);
        return record;
    }

    int number_;
};

// --- rewriting ---

// Where a variable lies in the temporary: the members on the way, the outermost first.
struct PLACE {
    SYMTAB *temporary = nullptr;
    std::vector<std::pair<fkMDATA *, TYPE *>> path; // with the record of each
};
using PLACES = std::unordered_map<const SYMTAB *, PLACE>;

// Depth is bounded by MAX_NESTED_UNIONS.
void find_places(const RECORD &record, PLACE &way, PLACES &places) {
    for (auto [variable, member] : record.variables) {
        PLACE &place = places[variable] = way;
        place.path.push_back({member, record.type});
    }
    for (auto &[inner, member] : record.records) {
        way.path.push_back({member, record.type});
        find_places(*inner, way, places);
        way.path.pop_back();
    }
}

uint64_t offset_of(const PLACE &place) {
    uint64_t offset = 0;
    for (auto [member, record] : place.path) offset += uint64_t(member->offset);
    return offset;
}

// temporary.S1.l1 in place of the NAME, with its type.
NODE *access_to(const PLACE &place, const NODE *name) {
    NODE *access = mk_NAME(place.temporary, name->scope);
    for (auto [member, record] : place.path) {
        NODE *field = new_node(FIELD, member->type->normalized());
        field->mk_field(1, member, record);
        field->scope = name->scope;
        access = maketree(STDOT, access, field, member->type->normalized(), name->scope);
    }
    access->type = name->type;
    access->otype = name->otype;
    return access;
}

void rewrite_names(const PLACES &places) {
    for_each_statement([&places](BBLK *, LIST *l) {
        walk_tree_slots(l->tree, [&places](NODE *&n) {
            if (n->op == STASG && places.count(n->u.sym))
                n->u.sym = nullptr; // its left side is no NAME any more
            auto place = n->op == NAME ? places.find(n->u.sym) : places.end();
            if (place == places.end()) return WALK_INTO;
            NODE *access = access_to(place->second, n);
            erase_node(n);
            n = access;
            return WALK_OVER;
        });
    });
}

// Tells readers of the source interlisting what became of their variables.
void add_listing_note(const SYMTAB *temporary) {
    LIST *first = currfuninfo->bb_list ? currfuninfo->bb_list->statements : nullptr;
    if (!source_interlist || !first) return;
    std::string shared = std::string("Variable ") + temporary->name +
                         " was made to share stack space among distinct scoping blocks.  References";
    char references[200];
    snprintf(references, sizeof references, "in the source interlisting will look like \"%s\" or \"&%s+%d\".",
             temporary->name, temporary->name, 0);
    // Behind the argument prolog, which must stay in front.
    LIST **at = stmt_is_arg_prolog(first) ? &first->next : &currfuninfo->bb_list->statements;
    *at = mkelist(mk_ASM_comment(shared.c_str()), mkelist(mk_ASM_comment(references), *at, nullptr), nullptr);
}

// The groups of each type, in the order in which the types are first met.
std::vector<std::unique_ptr<GROUP_TREE>> group_by_type() {
    std::vector<std::unique_ptr<GROUP_TREE>> trees;
    std::unordered_map<const TYPE *, GROUP_TREE *> tree_of;
    for (SHARING_SCOPE &scope : sharing_scopes) {
        size_t position = size_t(&scope - sharing_scopes.data());
        for (SYMTAB *s : scope.variables) {
            if (!may_share(s)) continue;
            GROUP_TREE *&tree = tree_of[type_that_shares(s)];
            if (!tree) {
                trees.push_back(std::make_unique<GROUP_TREE>());
                tree = trees.back().get();
                tree->open.push_back(tree->groups[0].get());
            }
            auto holds = [&](const GROUP *g) { return !g->scope || position < g->scope->end; };
            while (!holds(tree->open.back())) tree->open.pop_back();
            GROUP *group = tree->open.back();
            if (group->scope != &scope) {
                tree->groups.push_back(std::make_unique<GROUP>());
                GROUP *inner = tree->groups.back().get();
                inner->scope = &scope;
                group->children.push_back(inner);
                tree->open.push_back(inner);
                group = inner;
            }
            group->variables.push_back(s);
        }
    }
    return trees;
}

} // namespace

void share_stack_space() {
    constexpr uint64_t LARGEST_TEMPORARY = uint64_t{1} << 31; // bits; a symbol counts its size in 32
    FUNINFO *f = currfuninfo;
    LS *outermost = LS_level_2_scope(f->scopes);
    if (!outermost || !outermost->child) return;
    sym_split(f);
    reset_alias_info();
    LS_print(f->scopes);
    if (f->has_restrict) return;
    if (!some_may_share(outermost)) return;
    FUNCTION_SCAN scan = scan_function();
    if (scan.calls_setjmp) return;
    build_sharing_scopes(outermost, scan);
    if (sharable.empty()) return;
    SHALLOW_SCOPES shallow = find_shallow_scopes(f->scopes);
    delete_variables_used_elsewhere(shallow);
    delete_variables_of_mixed_blocks(shallow);

    PLACES places;
    int number = 0;
    for (const auto &tree : group_by_type()) {
        const GROUP *group = tree->groups[0].get();
        while (group->children.size() == 1) group = group->children[0];
        if (group->children.empty()) continue;
        if (!TRANSFORM("stackshare", "variables of disjoint blocks share a place")) continue;
        if (number == 0) dprintf("\n\n\t\t\t-------- ENTERING 'stack sharing' --------\n\n");
        number++;
        std::unique_ptr<RECORD> record = LAYOUT(number).union_of(group, 1);
        if (record->type->size >= LARGEST_TEMPORARY) continue;
        SYMTAB *temporary = sym_temp('O', number, record->type, outermost);
        temporary->flags |= SF_ALIASED;
        PLACE way;
        way.temporary = temporary;
        size_t before = places.size();
        find_places(*record, way, places);
        add_listing_note(temporary);
        stack_sharing_counts.saved_bits -= record->type->size;
        dprintf("\t%s: %u variables in %u bits\n", temporary->name, unsigned(places.size() - before),
                temporary->size);
    }
    if (places.empty()) return;

    input_has_union = true;
    sym_split(f);
    rewrite_names(places);
    for (SYMTAB **chain : {&f->nonscalars, &f->scalars}) {
        *chain = unlink_symbols_if(*chain, [&places](SYMTAB *s) {
            auto place = places.find(s);
            if (place == places.end()) return false;
            stack_sharing_counts.variables++;
            stack_sharing_counts.saved_bits += s->size;
            announce_replaced_symbol(s, place->second.temporary, offset_of(place->second));
            return true;
        });
    }
    init_stack_sharing();
}
