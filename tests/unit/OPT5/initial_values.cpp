// Values of static initialisers, against a model that lays random objects out byte by byte.
#include "tests/unit/OPT5/program.h"

#include "OPT5/autoinit.h"
#include "OPT5/pragma.h"

#include <map>
#include <random>

namespace {

struct initial_values : program {
    SYMTAB *object(TYPE *type, std::vector<NODE *> trees) {
        SYMTAB *s = global("object", type);
        s->init = new EXPR_LIST;
        s->init->trees = std::move(trees);
        s->init->trees.push_back(new_node(ENDINIT, v));
        return s;
    }
    NODE *skip(unsigned bytes) {
        NODE *n = new_node(SKIP, v);
        n->mk_skip(bytes);
        return n;
    }
    NODE *text(const char *bytes, unsigned size) {
        NODE *n = new_node(SCON, tp->mk_array(c, false, size));
        n->mk_scon(bytes, size);
        return n;
    }
    // The value at the offset, or -999 when it is not known.
    int at(SYMTAB *s, uint64_t offset, TYPE *type) {
        NODE *n = lookup_autoinit(s, offset, type);
        int value = n && n->op == ICON ? n->u.lval.low_i32() : -999;
        erase_tree(n);
        return value;
    }
    int of(NODE *lvalue) {
        NODE *n = lookup_autoinit(lvalue);
        int value = n && n->op == ICON ? n->u.lval.low_i32() : -999;
        erase_tree(n);
        erase_tree(lvalue);
        return value;
    }
};

struct random_object {
    std::mt19937 random;
    std::vector<std::pair<uint64_t, TYPE *>> scalars; // byte offset and type, in the order of the object

    TYPE *make_type(int depth) {
        unsigned choice = random() % (depth ? 6 : 3);
        if (choice < 3) return tp->basic_int(choice == 0 ? IK_schar : choice == 1 ? IK_short : IK_int);
        if (choice < 5) return tp->mk_array(make_type(depth - 1), false, 1 + random() % 4);
        TYPE *record = tp->mk_struct(nullptr, 0, 0, false);
        uint64_t end = 0;
        uint32_t align = 8;
        for (unsigned n = 1 + random() % 4; n--;) {
            TYPE *t = make_type(depth - 1);
            end = (end + t->align - 1) / t->align * t->align;
            record->add_mdata(("m" + std::to_string(n)).c_str(), t, int64_t(end));
            end += t->size;
            align = std::max(align, t->align);
        }
        record->size = (end + align - 1) / align * align;
        record->align = align;
        tp->type_frozen(record);
        return record;
    }
    void list_scalars(TYPE *type, uint64_t offset) {
        if (type->is_array()) {
            for (uint64_t n = 0; n < type->num_elem(); n++)
                list_scalars(type->elem_type(), offset + n * type->elem_type()->size_in_bytes());
        } else if (type->is_csu()) {
            for (fkMDATA *m = type->mdata(); m; m = m->next)
                list_scalars(m->type, offset + uint64_t(m->offset) / 8);
        } else {
            scalars.push_back({offset, type});
        }
    }
};

} // namespace

TEST_F(initial_values, each_scalar_of_an_object_is_found_and_nothing_else) {
    random_object r;
    for (unsigned seed = 1; seed <= 400; seed++) {
        r.random.seed(seed);
        r.scalars.clear();
        TYPE *type = r.make_type(3);
        r.list_scalars(type, 0);
        std::vector<NODE *> trees;
        std::map<uint64_t, std::pair<int, TYPE *>> model;
        uint64_t end = 0;
        for (auto [offset, t] : r.scalars) {
            bool omitted = r.random() % 5 == 0;
            if (offset > end) trees.push_back(skip(unsigned(offset - end)));
            end = offset + t->size_in_bytes();
            if (omitted) {
                trees.push_back(skip(unsigned(t->size_in_bytes())));
                continue;
            }
            int value = int(r.random() % 100);
            model[offset] = {value, t};
            trees.push_back(icon(value, t));
        }
        SYMTAB *s = object(type, trees);
        for (uint64_t offset = 0; offset <= type->size_in_bytes() + 4; offset++) {
            for (TYPE *t : {c, sh, i}) {
                auto known = model.find(offset);
                int expected = known != model.end() && known->second.second == t ? known->second.first : -999;
                ASSERT_EQ(at(s, offset, t), expected) << "seed " << seed << " offset " << offset;
            }
        }
    }
}

TEST_F(initial_values, only_a_fitting_read_of_a_fixed_object_has_a_value) {
    SYMTAB *s = object(tp->mk_array(uc, false, 2), {icon(200, uc), icon(1, uc)});
    EXPECT_EQ(at(s, 0, uc), 200);
    EXPECT_EQ(at(s, 0, c), -56);
    EXPECT_EQ(at(s, 0, sh), -999);
    NODE *element = lookup_array_autoinit(s, 1);
    ASSERT_NE(element, nullptr);
    EXPECT_EQ(element->u.lval, INT65(1));
    erase_tree(element);
    EXPECT_EQ(lookup_array_autoinit(s, 2), nullptr);
    EXPECT_EQ(lookup_array_autoinit(s, ~0ull / 2), nullptr);
    add_pragma(s, PRAG_QL_WEAK, {});
    EXPECT_EQ(at(s, 0, uc), -999) << "another definition may take its place";

    SYMTAB *none = global("none", i);
    EXPECT_EQ(at(none, 0, i), -999);

    // A pointer may be read as a pointer to anything, not as an integer.
    SYMTAB *p = object(tp->mk_ptr(i), {mk_UAND(name(none))});
    NODE *address = lookup_autoinit(p, 0, tp->mk_ptr(c));
    ASSERT_NE(address, nullptr);
    EXPECT_EQ(address->op, UAND);
    erase_tree(address);
    EXPECT_EQ(lookup_autoinit(p, 0, u), nullptr);
}

TEST_F(initial_values, a_list_is_believed_as_far_as_it_fits_the_type) {
    TYPE *bits = tp->mk_struct("bits", 64, 32, false);
    bits->add_mdata("first", sh, 0);
    bits->add_bitfield("b", i, 16, 4);
    bits->add_mdata("last", i, 32);
    tp->type_frozen(bits);
    SYMTAB *s = object(bits, {icon(1, sh), icon(2, c), skip(1), icon(3, i)});
    EXPECT_EQ(at(s, 0, sh), 1);
    EXPECT_EQ(at(s, 4, i), -999) << "where the bit-field lies is not said";

    SYMTAB *wide = object(tp->mk_array(c, false, 8), {icon(1, i), icon(2, i)});
    EXPECT_EQ(at(wide, 4, i), -999);

    TYPE *either = tp->mk_union("either", 64, 32, false);
    either->add_mdata("small", c, 0);
    either->add_mdata("large", tp->mk_array(i, false, 2), 0);
    tp->type_frozen(either);
    SYMTAB *un = object(tp->mk_array(either, false, 2), {icon(1, c), skip(7), icon(2, c), skip(7)});
    EXPECT_EQ(at(un, 0, c), 1);
    EXPECT_EQ(at(un, 8, c), 2);
    EXPECT_EQ(at(un, 0, i), -999);

    TYPE *two = tp->mk_array(tp->mk_array(c, false, 6), false, 2);
    SYMTAB *strings = object(tp->mk_array(two, false, 1), {text("abc", 4), skip(2), icon(9, c), skip(5)});
    EXPECT_EQ(at(strings, 6, c), 9);
    EXPECT_EQ(at(strings, 0, c), -999);
}

TEST_F(initial_values, lvalues_name_the_place) {
    TYPE *record = tp->mk_struct("r", 64, 32, false);
    fkMDATA *a = record->add_mdata("a", i, 0), *b = record->add_mdata("b", tp->mk_array(sh, false, 2), 32);
    tp->type_frozen(record);
    SYMTAB *s = object(record, {icon(1, i), icon(2, sh), icon(3, sh)});
    SYMTAB *array = object(tp->mk_array(i, false, 2), {icon(4, i), icon(5, i)});
    SYMTAB *scalar = object(i, {icon(6, i)});
    auto field = [&](fkMDATA *m) {
        NODE *n = new_node(FIELD, m->type);
        n->mk_field(1, m, record);
        return maketree(STDOT, name(s), n, m->type, nullptr);
    };
    auto deref = [&](NODE *address, TYPE *type, NODE *index = nullptr) {
        return maketree(UMULT, address, index, type, nullptr);
    };
    auto as = [&](NODE *n, TYPE *to) { return maketree(PCONV, n, nullptr, tp->mk_ptr(to), nullptr); };
    EXPECT_EQ(of(name(scalar)), 6);
    EXPECT_EQ(of(field(a)), 1);
    EXPECT_EQ(of(deref(as(mk_UAND(field(b)), sh), sh)), 2);
    EXPECT_EQ(of(deref(plus(as(mk_UAND(name(s)), sh), icon(6)), sh)), 3);
    EXPECT_EQ(of(deref(plus(as(mk_UAND(name(array)), i), icon(4)), i)), 5);
    EXPECT_EQ(of(deref(as(mk_UAND(name(array)), i), i, icon(4))), 5);
    EXPECT_EQ(of(deref(maketree(ACONV, name(array), nullptr, tp->mk_ptr(i), nullptr), i)), 4);
    EXPECT_EQ(of(deref(plus(as(mk_UAND(name(array)), i), icon(-4)), i)), -999);
    EXPECT_EQ(of(deref(plus(as(mk_UAND(name(array)), i), name(scalar)), i)), -999);
    EXPECT_EQ(of(deref(name(scalar), i)), -999) << "what it holds is the address, not where it lies";
}

TEST_F(initial_values, long_lists_are_searched_fast) {
    constexpr int COUNT = 200000;
    std::vector<NODE *> trees;
    for (int n = 0; n < COUNT; n++) trees.push_back(icon(n, i));
    SYMTAB *s = object(tp->mk_array(i, false, COUNT), trees);
    int right = 0;
    for (int n = 0; n < COUNT; n++) right += at(s, uint64_t(n) * 4, i) == n;
    EXPECT_EQ(right, COUNT);
}
