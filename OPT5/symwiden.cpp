#include "OPT5/symwiden.h"

#include <unordered_set>

#include "OPT5/bbutils.h"
#include "OPT5/cfg.h"
#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/passlimit.h"
#include "OPT5/symtab.h"
#include "OPT5/treewalk.h"
#include "support/dbgout.h"
#include "support/fatal.h"

bool wst_trustable = false;

// --- entries ---

namespace {

using INDEX = std::unordered_map<const SYMTAB *, WIDENED *>;

bool has_range(const TYPE *t) { return (t->is_integral() || t->is_enum()) && t->size > 0 && t->size <= 64; }

INT65 least_value(const TYPE *t) {
    return t->is_unsigned() || t->is_bool() ? INT65(0) : -(INT65(1) << (int(t->size) - 1));
}

INT65 greatest_value(const TYPE *t) {
    if (t->is_bool()) return INT65(1);
    return (INT65(1) << (int(t->size) - (t->is_unsigned() ? 0 : 1))) - INT65(1);
}

void set_bounds(WIDENED *w, INT65 min, INT65 max) {
    w->min = min;
    w->max = max;
    // All bits from the highest differing one down may take both values; those above it are shared.
    int free_bits = 0;
    for (INT65 differing = min ^ max; !(differing >> free_bits).is_zero() && free_bits < 65;) free_bits++;
    INT65 free_mask = ~(INT65(-1) << free_bits);
    w->known_ones = max & ~free_mask;
    w->known_zeros = max | free_mask;
}

WIDENED *make_entry(SYMTAB *s, TYPE *type, INT65 min, INT65 max, WIDENED *&list, INDEX &index) {
    if (!has_range(type)) return nullptr;
    auto [place, is_new] = index.try_emplace(s, nullptr);
    WIDENED *&w = place->second;
    if (is_new) {
        w = new WIDENED;
        w->symbol = s;
        w->next = list;
        list = w;
    } else {
        if (w->min > min) min = w->min;
        if (w->max < max) max = w->max;
        if (min > max) return w; // no value at all: what was known stands
    }
    w->type = type;
    set_bounds(w, min, max);
    return w;
}

WIDENED *find_entry(const SYMTAB *s, const INDEX &index) {
    auto place = index.find(s);
    return place == index.end() ? nullptr : place->second;
}

void erase_list(WIDENED *&list, INDEX &index) {
    while (WIDENED *w = list) {
        list = w->next;
        delete w;
    }
    index.clear();
}

} // namespace

WIDENED *make_widened_symbol_entry(SYMTAB *s, TYPE *type, INT65 min, INT65 max) {
    QL_ASSERT(currfuninfo != nullptr);
    return make_entry(s, type, min, max, currfuninfo->widened, currfuninfo->widened_index);
}

WIDENED *make_widened_symbol_entry(SYMTAB *s, TYPE *type) {
    if (!has_range(type)) return nullptr;
    return make_widened_symbol_entry(s, type, least_value(type), greatest_value(type));
}

WIDENED *find_widened_symbol_entry(const SYMTAB *s) {
    return currfuninfo ? find_entry(s, currfuninfo->widened_index) : nullptr;
}

WIDENED *make_shortened_symbol_entry(SYMTAB *s, TYPE *type) {
    QL_ASSERT(currfuninfo != nullptr);
    if (!has_range(type)) return nullptr;
    return make_entry(s, type, least_value(type), greatest_value(type), currfuninfo->shortened,
                      currfuninfo->shortened_index);
}

WIDENED *find_shortened_symbol_entry(const SYMTAB *s) {
    return currfuninfo ? find_entry(s, currfuninfo->shortened_index) : nullptr;
}

void erase_widened_entries(FUNINFO *f) {
    erase_list(f->widened, f->widened_index);
    erase_list(f->shortened, f->shortened_index);
}

void dump_widened_symbol_entry(const WIDENED *w) {
    if (!print_debug) return;
    dprintf("Widened symbol entry for %s:\n", w->symbol->name);
    dprintf("    type:     %s\n", w->type->printstr().c_str());
    dprintf("    minValue: %s\n", int65_to_decimal(w->min).c_str());
    dprintf("    maxValue: %s\n", int65_to_decimal(w->max).c_str());
    dprintf("    known1s:  %s\n", int65_to_hex(w->known_ones).c_str());
    dprintf("    known0s:  %s\n", int65_to_hex(w->known_zeros).c_str());
}

// --- widening ---

namespace {

using SYMBOL_SET = std::unordered_set<const SYMTAB *>;

template <class F> void for_each_statement(F f) {
    for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink)
        for (LIST *l = bb->statements; l; l = l->next) f(l);
}

bool may_be_widened(SYMTAB *s) {
    const TYPE *type = s->type;
    return s->level == 2 && s->sclass == SC_AUTO && !s->is_aliased() && type->is_integral() &&
           !type->is_bool() && type->size < 32 && !type->is_volatile() && !find_widened_symbol_entry(s) &&
           !map_sym_to_parm(s);
}

// The candidates of which every use is a read or a plain assignment. An argument prolog keeps its shape.
std::vector<SYMTAB *> symbols_to_widen() {
    std::vector<SYMTAB *> found;
    SYMBOL_SET met, refused = symbols_in_exception_table(currfuninfo);
    for_each_statement([&](LIST *l) {
        for_each_node(l->tree, [&](NODE *n) {
            bool changes_in_place =
                n->op != ASG && (opcode_is_ASG(n->op) || n->op == UAND || n->op == ARGREF);
            if (changes_in_place && n->left && n->left->op == NAME) refused.insert(n->left->u.sym);
            if (n->op != NAME || !n->u.sym) return;
            if (n->type->size != n->u.sym->type->size) refused.insert(n->u.sym);
            if (met.insert(n->u.sym).second && may_be_widened(n->u.sym)) found.push_back(n->u.sym);
        });
    });
    std::erase_if(found, [&](const SYMTAB *s) {
        return refused.count(s) || !TRANSFORM("symwiden", "a narrow variable becomes an int");
    });
    return found;
}

// The variable, or its assignment, under the conversion to its old type that the rewriting puts there; else null.
NODE *widened_value(NODE *n, const SYMBOL_SET &widened) {
    if (!n || n->op != SCONV || !n->left) return nullptr;
    const NODE *name = n->left->op == ASG ? n->left->left : n->left;
    return name->op == NAME && widened.count(name->u.sym) ? n->left : nullptr;
}

void drop_node(NODE *n) {
    n->left = n->right = nullptr;
    erase_node(n);
}

// x  ->  (char)x        x the widened variable
// (char)x = e  ->  (char)(x = (int)e)
// (T)(char)x  ->  (T)x  T an integer: x holds values of a char only
NODE *rewrite_uses(NODE *tree, const SYMBOL_SET &widened) {
    tree = rewrite_tree(tree, [&](NODE *n) -> NODE * {
        if (n->op == NAME && widened.count(n->u.sym)) {
            TYPE *old = n->type;
            n->type = n->otype = n->u.sym->type;
            return maketree(SCONV, n, nullptr, old, n->scope);
        }
        NODE *wide = widened_value(n->left, widened);
        if (!wide) return n;
        if (n->op == ASG && wide->op == NAME) {
            TYPE *old = n->type;
            drop_node(n->left);
            n->left = wide;
            n->right = maketree(SCONV, n->right, nullptr, wide->type, n->scope);
            n->type = n->otype = wide->type;
            return maketree(SCONV, n, nullptr, old, n->scope);
        }
        if (n->op == SCONV && n->type->is_integral()) {
            drop_node(n->left);
            n->left = wide;
        }
        return n;
    });
    if (NODE *wide = widened_value(tree, widened)) {
        drop_node(tree);
        return wide;
    }
    return tree;
}

} // namespace

void widen_user_variables() {
    TYPE *reg = tp->int_type();
    if (opt_level() < 2 || reg->size != 32) return;
    std::vector<SYMTAB *> chosen = symbols_to_widen();
    if (chosen.empty()) return;
    for (SYMTAB *s : chosen) {
        make_widened_symbol_entry(s, s->type);
        s->type = s->otype = reg; // an unsigned char is an int that is not negative
        s->size = uint32_t(reg->size);
        s->align = reg->align;
    }
    SYMBOL_SET widened(chosen.begin(), chosen.end());
    for_each_statement([&](LIST *l) { l->tree = rewrite_uses(l->tree, widened); });
}
