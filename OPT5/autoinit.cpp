#include "OPT5/autoinit.h"

#include <algorithm>
#include <unordered_map>
#include <vector>

#include "OPT5/pragma.h"
#include "OPT5/simp1.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "typepkg/type_merge.h"
#include "typepkg/type_query.h"

namespace {

constexpr uint64_t UNKNOWN_OFFSET = ~uint64_t{0};

// Finds what lies at a bit offset of a type.
class LAYOUT_WALK {
  public:
    // Whether a scalar of that size begins there, or for a string an array that it fits in.
    bool holds(const TYPE *type, uint64_t offset, uint64_t size, bool string) {
        while (offset < type->size) {
            if (offset == 0 && type->is_scalar()) return type->size == size && !string;
            if (offset == 0 && type->is_array() && string && type->size >= size) return true;
            if (type->is_array()) {
                const TYPE *element = type->dtype->sub.arr->elem_type;
                if (!element->size) return false;
                offset %= element->size;
                type = element;
            } else if (type->is_csu()) {
                const fkMDATA *m = member_at(type->dtype, offset);
                if (!m) return false;
                offset -= uint64_t(m->offset);
                type = m->type;
            } else {
                return false;
            }
        }
        return false;
    }

  private:
    // The last member that begins at or before the offset; of a union the first. Null for a bit-field.
    const fkMDATA *member_at(const TYPE *record, uint64_t offset) {
        std::vector<const fkMDATA *> &members = members_of_[record];
        if (members.empty()) {
            for (const fkMDATA *m = record->mdata(); m; m = m->next) {
                members.push_back(m);
                if (record->kind == K_union) break;
            }
            std::stable_sort(members.begin(), members.end(),
                             [](const fkMDATA *a, const fkMDATA *b) { return a->offset < b->offset; });
        }
        auto after = std::upper_bound(members.begin(), members.end(), int64_t(offset),
                                      [](int64_t o, const fkMDATA *m) { return o < m->offset; });
        if (after == members.begin()) return nullptr;
        const fkMDATA *m = *--after;
        return m->is_bitfld() ? nullptr : m;
    }

    std::unordered_map<const TYPE *, std::vector<const fkMDATA *>> members_of_;
};

// Bits that a tree of the initialiser stands for; 0 when that is not known.
uint64_t bits_of_entry(const NODE *tree) {
    if (tree->op == SKIP) return 8 * uint64_t{tree->u.lval.low_u32()};
    if (!tree->type || !(tree->type->is_scalar() || (tree->op == SCON && tree->type->is_array()))) return 0;
    return tree->type->size;
}

void place_entries(const SYMTAB *s, EXPR_LIST &init) {
    init.offsets.assign(init.trees.size(), UNKNOWN_OFFSET);
    LAYOUT_WALK layout;
    uint64_t at = 0;
    for (size_t n = 0; n < init.trees.size() && init.trees[n]->op != ENDINIT; n++) {
        const NODE *tree = init.trees[n];
        uint64_t bits = bits_of_entry(tree);
        bool string = tree->op == SCON && tree->type->is_array();
        if (tree->op != SKIP && (!bits || !layout.holds(s->type, at, bits, string))) return;
        init.offsets[n] = at / 8;
        at += bits;
    }
}

// The tree whose value begins at the byte offset, or null. A SKIP counts as no value.
const NODE *entry_at(const SYMTAB *s, uint64_t offset) {
    EXPR_LIST &init = *s->init;
    if (init.offsets.size() != init.trees.size()) place_entries(s, init);
    // Several SKIPs of no bytes may share an offset; the value is the last of them.
    auto after = std::upper_bound(init.offsets.begin(), init.offsets.end(), offset);
    if (after == init.offsets.begin() || *--after != offset) return nullptr;
    const NODE *tree = init.trees[size_t(after - init.offsets.begin())];
    return tree->op == SKIP || tree->op == ENDINIT ? nullptr : tree;
}

bool is_integer(const TYPE *t) { return t->is_integral() || t->is_enum(); }

TYPE *promoted(TYPE *t) { return is_integer(t) ? c_integral_promotions(t) : t->normalized(); }

} // namespace

NODE *lookup_autoinit(SYMTAB *s, uint64_t offset, TYPE *type) {
    if (!s->init || symbol_has_pragma(s, PRAG_QL_WEAK)) return nullptr;
    const NODE *entry = entry_at(s, offset);
    if (!entry || entry->type->size != type->size) return nullptr;
    if (!(entry->type->is_ptr() && type->is_ptr()) &&
        !compatible_types(promoted(entry->type), promoted(type), true))
        return nullptr;
    // A char of 200 read as a signed char is -56.
    if (entry->op == ICON && is_integer(type)) return mk_ICON(entry->u.lval, type->normalized());
    return simp_tree(copy_tree(entry), nullptr);
}

NODE *lookup_array_autoinit(SYMTAB *s, uint64_t index) {
    if (!s->type->is_array() || index >= s->type->num_elem()) return nullptr;
    TYPE *element = s->type->elem_type();
    return lookup_autoinit(s, index * element->size_in_bytes(), element);
}

NODE *lookup_autoinit(NODE *lvalue) {
    INT65 offset; // bytes
    auto add_fields = [&offset](const NODE *n) -> const NODE * {
        for (; n->op == STDOT; n = n->left) {
            const NODE *field = n->right;
            if (!field || field->op != FIELD || !field->member || field->member->is_bitfld()) return nullptr;
            offset += INT65(field->member->offset / 8);
        }
        return n;
    };
    const NODE *base = add_fields(lvalue);
    if (base && base->op == UMULT) {
        if (base->right) {
            if (base->right->op != ICON) return nullptr;
            offset += base->right->u.lval;
        }
        const NODE *address = base->left;
        for (;;) {
            if (address->op == PCONV || address->op == ISP2CHAR || address->op == ACONV) {
                address = address->left;
            } else if (address->op == PLUS && address->right->op == ICON) {
                offset += address->right->u.lval;
                address = address->left;
            } else {
                break;
            }
        }
        if (address->op == UAND) base = add_fields(address->left);
        else base = address->type->is_array() ? address : nullptr; // an array stands for its own address
    }
    if (!base || base->op != NAME || !base->u.sym || offset.is_negative() || lvalue->type->is_volatile())
        return nullptr;
    return lookup_autoinit(base->u.sym, offset.to_uint64(), lvalue->type);
}

void convert_sti_to_cinit() {}
