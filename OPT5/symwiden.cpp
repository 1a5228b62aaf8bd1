#include "OPT5/symwiden.h"

#include "OPT5/funinfo.h"
#include "OPT5/symtab.h"
#include "support/dbgout.h"
#include "support/fatal.h"

// --- entries ---

namespace {

using INDEX = std::unordered_map<const SYMTAB *, WIDENED *>;

bool is_boolean(const TYPE *t) { return t->is_bool(); }

INT65 least_value(const TYPE *t) {
    return t->is_unsigned() || is_boolean(t) ? INT65(0) : -(INT65(1) << (int(t->size) - 1));
}

INT65 greatest_value(const TYPE *t) {
    if (is_boolean(t)) return INT65(1);
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
    if (!(type->is_integral() || type->is_enum()) || type->size > 64) return nullptr;
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
