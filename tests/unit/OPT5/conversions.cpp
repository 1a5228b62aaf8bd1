// Conversions that come, go and move: what coercion makes, what the pointer rules take away, what is cast before output.
// Integer conversions are the oracle's to check.
#include "OPT5/casts.h"
#include "OPT5/coerce.h"
#include "OPT5/ddloop.h"
#include "OPT5/flags.h"
#include "OPT5/icternary.h"
#include "OPT5/simp3.h"
#include "OPT5/typefacts.h"
#include "support/fps_text.h"
#include "tests/unit/OPT5/trees_world.h"
#include "typepkg/type_merge.h"

namespace {

struct conversions : trees_world {
    struct LOOP loop; // a loop stands for a level at which pointer types may be forgotten
    TYPE *bptr, *fptr, *rptr, *xptr, *other_rptr, *color;

    conversions() {
        bptr = tp->mk_ptr(uc), fptr = tp->mk_ptr(tp->mk_func(i, std::vector<TYPE *>{}));
        rptr = tp->mk_ptr(record), xptr = tp->mk_ptr(tp->mk_array(i, false, 4));
        TYPE *other = tp->mk_struct("other", 32, 32, false);
        other->add_mdata("a", i, 0);
        tp->type_frozen(other);
        other_rptr = tp->mk_ptr(other);
        color = tp->mk_enum("color", i, 32, 32, false);
        tp->type_frozen(color);
    }
    NODE *V(const char *name, TYPE *type) {
        if (sym(name)->type != type) sym(name)->type = type;
        return N(name);
    }
    // The tree as text with the types of its conversions and sums: "PLUS:int *(PCONV:int *(p), i)".
    std::string shape(const NODE *n) {
        if (n->op == NAME) return n->u.sym->name;
        if (n->op == ICON) return int65_to_decimal(n->u.lval);
        std::string s =
            std::string(node_operator_name[n->op]) + ":" + (n->type ? n->type->printstr() : "") + "(";
        if (n->left) s += shape(n->left);
        if (n->right) s += ", " + shape(n->right);
        return s + ")";
    }
    std::string text(NODE *n) {
        std::string s = shape(n);
        erase_tree(n);
        return s;
    }
    std::string pconv(TYPE *to, NODE *n, struct LOOP *l = nullptr) {
        return text(simp_PCONV(U(PCONV, n, to), l));
    }
};

// Leaves that stand for any value; variables of short enums.
TEST_F(conversions, of_leaves) {
    auto mix = [&](TYPE *type, size_t number) {
        NODE *n = maketree(MIXVALUE, nullptr, nullptr, type, nullptr);
        n->u.rval = reinterpret_cast<void *>(number);
        return n;
    };
    EXPECT_EQ(text(simp_SCONV(U(SCONV, mix(i, 0), c), nullptr)), "MIXVALUE:[ExplSign] char()");
    EXPECT_EQ(text(simp_SCONV(U(SCONV, mix(i, 7), c), nullptr)), "SCONV:[ExplSign] char(MIXVALUE:int())");
    EXPECT_EQ(pconv(bptr, mix(ptr, 1)), "MIXVALUE:unsigned char *()");
    EXPECT_EQ(text(make_boolean(mix(i, 1), nullptr)), "MIXVALUE:int()");
    TYPE *brief = tp->mk_enum("brief", uc, 8, 8, false), *loud = tp->mk_enum("loud", u, 32, 32, false);
    for (TYPE *type : {brief, loud}) tp->type_frozen(type);
    NODE *e = simp_SCONV(U(SCONV, V("e1", brief), i), nullptr);
    EXPECT_EQ(shape(e), "e1");
    EXPECT_EQ(e->type, uc);
    erase_tree(e);
    EXPECT_EQ(text(simp_SCONV(U(SCONV, V("e2", loud), i), nullptr)), "SCONV:int(e2)"); // of the other sign
}

TEST_F(conversions, coercion) {
    auto to = [this](TYPE *type, NODE *n) { return text(coerce_to_type(type, n)); };
    EXPECT_EQ(to(i, N("x")), "x");
    EXPECT_EQ(to(konst, N("x")), "x");
    EXPECT_EQ(to(c, N("x")), "SCONV:[ExplSign] char(x)");
    EXPECT_EQ(to(color, V("s", sh)), "SCONV:int(s)");
    EXPECT_EQ(to(ptr, N("x")), "PCONV:int *(x)");
    EXPECT_EQ(to(i, dot(V("r", record), field_bit)).substr(0, 10),
              "SCONV:int("); // the field is not all of an int
    EXPECT_EQ(to(ll, U(SCONV, V("s", sh), i)), "SCONV:long long(s)");
    EXPECT_EQ(to(ll, U(SCONV, V("s", sh), u)),
              "SCONV:long long(SCONV:unsigned(s))"); // widens as unsigned
    EXPECT_EQ(to(c, U(SCONV, N("x"), tp->basic[IK_bool])), "SCONV:[ExplSign] char(SCONV:bool(x))");
    EXPECT_EQ(to(tp->basic[IK_bool], U(SCONV, N("x"), c)), "SCONV:bool(SCONV:[ExplSign] char(x))");
    EXPECT_EQ(to(i, V("r", record)).substr(0, 10), "UMULT:int(");
    EXPECT_EQ(to(bptr, U(PCONV, N("x"), ptr)), "PCONV:unsigned char *(x)");
    EXPECT_EQ(to(rptr, U(PCONV, N("x"), ptr)).substr(0, 5), "PCONV");
    // arms are converted first to what the conditional gives
    NODE *narrow = B(QUEST, N("c"), B(COLON, I(300), N("x"), uc), uc);
    EXPECT_EQ(
        to(i, narrow),
        "QUEST:int(c, COLON:int(SCONV:int(SCONV:unsigned char(300)), SCONV:int(SCONV:unsigned char(x))))");
    NODE *deep = I(1);
    for (int k = 0; k < 100000; k++) deep = B(QUEST, N("c"), B(COLON, I(k), deep));
    deep = coerce_to_type(ll, deep);
    EXPECT_EQ(deep->type, ll);
    erase_tree(deep);
}

TEST_F(conversions, pointers) {
    struct LOOP *l = &loop;
    EXPECT_EQ(pconv(ptr, V("p", ptr)), "p");
    EXPECT_EQ(pconv(bptr, V("p", ptr)), "PCONV:unsigned char *(p)"); // kept while the level is low
    EXPECT_EQ(pconv(bptr, V("p", ptr), l), "p");
    EXPECT_EQ(pconv(bptr, deref(V("pp", tp->mk_ptr(ptr)), ptr), l).substr(0, 5), "PCONV");
    EXPECT_EQ(pconv(bptr, V("f", fptr), l).substr(0, 5), "PCONV");
    EXPECT_EQ(pconv(fptr, V("p", ptr), l).substr(0, 5), "PCONV");
    EXPECT_EQ(pconv(rptr, V("p", ptr), l).substr(0, 5), "PCONV");
    EXPECT_EQ(pconv(ptr, N("x")), "PCONV:int *(x)");
    EXPECT_EQ(pconv(bptr, B(PLUS, B(PLUS, V("p", ptr), I(4), ptr), I(8), ptr)),
              "PLUS:unsigned char *(PLUS:unsigned char *(PCONV:unsigned char *(p), 4), 8)");
    EXPECT_EQ(pconv(bptr, B(PLUS, V("p", ptr), N("x"), ptr)).substr(0, 5), "PCONV"); // constants only
    EXPECT_EQ(pconv(rptr, U(PCONV, V("p", ptr), other_rptr)).find("other"), std::string::npos);
    EXPECT_NE(pconv(rptr, U(PCONV, V("p", ptr), bptr)).find("char"), std::string::npos);
    EXPECT_EQ(pconv(ptr, U(PCONV, V("b", bptr), xptr)), "PCONV:int *(b)");
    EXPECT_EQ(pconv(bptr, U(SCONV, V("p", ptr), i)), "PCONV:unsigned char *(p)");
    EXPECT_EQ(pconv(bptr, U(SCONV, V("p", ptr), ll)), "PCONV:unsigned char *(SCONV:long long(p))");
    EXPECT_EQ(pconv(bptr, U(SCONV, V("p", ptr), sh)), "PCONV:unsigned char *(SCONV:short(p))");
    EXPECT_EQ(pconv(bptr, B(QUEST, N("c"), B(COLON, V("p", ptr), V("b", bptr), ptr), ptr), l).substr(0, 5),
              "QUEST");
    EXPECT_EQ(text(simp_SCONV(U(SCONV, U(PCONV, V("s", sh), ptr), u), nullptr)), "SCONV:unsigned(s)");
    EXPECT_EQ(text(simp_SCONV(U(SCONV, U(PCONV, V("s", sh), ptr), ll), nullptr)),
              "SCONV:long long(PCONV:int *(s))");
}

TEST_F(conversions, pointer_casts_go_down_sums_and_come_back) {
    NODE *sum = B(MINUS, B(PLUS, N("x"), V("p", ptr), ptr), I(4), ptr);
    NODE *down = push_down_pointer_cast(bptr, sum);
    EXPECT_EQ(shape(down), "MINUS:unsigned char *(PLUS:unsigned char *(x, PCONV:unsigned char *(p)), 4)");
    EXPECT_EQ(text(remove_pushed_down_casts(down)),
              "PCONV:unsigned char *(MINUS:int *(PLUS:int *(x, p), 4))");
    NODE *chain = V("p", ptr);
    for (int k = 0; k < 100000; k++) chain = B(PLUS, chain, N("x"), ptr);
    size_t before = nodes_in_use();
    chain = remove_pushed_down_casts(push_down_pointer_cast(bptr, chain));
    EXPECT_EQ(chain->op, PCONV);
    EXPECT_EQ(nodes_in_use(), before + 1);
    erase_tree(chain);
}

TEST_F(conversions, strict_ternaries_take_what_folds) {
    auto ternary = [this](NODE *a, NODE *b) {
        return U(SCONV, make_strict_ternary_ICALL(B(QUEST, N("c"), B(COLON, a, b))), sh);
    };
    NODE *both = simp_SCONV(ternary(I(70000), U(SCONV, V("s", sh), i)), nullptr);
    EXPECT_TRUE(is_strict_ternary_ICALL(both));
    EXPECT_EQ(both->type, sh);
    NODE *one = simp_SCONV(ternary(I(70000), N("x")), nullptr);
    EXPECT_EQ(one->op, SCONV);
    EXPECT_EQ(one->left->type, i);
    erase_tree(both);
    erase_tree(one);
}

TEST_F(conversions, a_conversion_goes_through_a_sum_or_a_conditional_of_any_length) {
    NODE *sum = simp_SCONV(U(SCONV, chain(100000, true), u), nullptr);
    EXPECT_EQ(sum->type, u);
    NODE *n = sum;
    while (n->op == PLUS || n->op == MULT) n = n->left; // equal terms may have become one
    EXPECT_TRUE(n->op == SCONV || n->op == NAME);
    erase_tree(sum);
    NODE *deep = N("x");
    for (int k = 0; k < 100000; k++) deep = B(QUEST, N("c"), B(COLON, N("y"), deep));
    deep = simp_SCONV(U(SCONV, deep, c), nullptr);
    EXPECT_GT(quest_push_cap_hits, 0u);
    erase_tree(deep);
}

TEST_F(conversions, casts_before_output) {
    auto cast = [this](NODE *n) { return text(insert_mandatory_casts(n)); };
    EXPECT_EQ(cast(B(PLUS, V("s", sh), N("x"), i)), "PLUS:int(SCONV:int(s), x)");
    EXPECT_EQ(cast(B(PLUS, V("s", sh), I(-1), u)), "PLUS:unsigned(SCONV:unsigned(s), 4294967295)");
    EXPECT_EQ(cast(B(PLUS, V("p", ptr), V("s", sh), ptr)),
              "PLUS:int *(p, SCONV:int(s))"); // bytes: not scaled
    EXPECT_EQ(cast(B(MINUS, V("p", ptr), V("q", ptr), i)), "MINUS:int(p, q)");
    EXPECT_EQ(cast(B(SRL, V("s", sh), V("c1", c), i)), "SRL:int(SCONV:int(s), c1)");
    EXPECT_EQ(cast(U(ACONV, V("s", sh), i)), "ACONV:int(SCONV:int(s))");
    EXPECT_EQ(cast(B(PLUSASG, N("x"), V("s", sh))), "PLUSASG:int(x, SCONV:int(s))");
    EXPECT_EQ(cast(B(SLLASG, N("x"), V("s", sh))), "SLLASG:int(x, s)");
    EXPECT_EQ(cast(B(ASG, N("x"), V("s", sh))), "ASG:int(x, s)");
    EXPECT_EQ(cast(B(MULT, I(2), V("d", dbl), dbl)).find("SCONV"),
              std::string::npos); // the constant is one of doubles
    SYMTAB *f = global("f", tp->mk_func(ll, std::vector<TYPE *>{}));
    EXPECT_EQ(cast(maketree(RETURN, N(f), N("x"), ll, nullptr)), "RETURN:long long(f, SCONV:long long(x))");
}

TEST_F(conversions, the_usual_types) {
    TYPE *us = tp->basic[IK_ushort], *l = tp->basic[IK_long], *ul = tp->basic[IK_ulong],
         *b = tp->basic[IK_bool];
    struct ROW {
        TYPE *a, *b, *combined;
    } rows[] = {{c, uc, i},      {us, b, i},    {i, u, u},      {l, u, ul},
                {l, i, l},       {u, ll, ll},   {ll, ull, ull}, {flt, ll, flt},
                {flt, dbl, dbl}, {ptr, i, ptr}, {color, sh, i}, {konst, c, i}};
    for (auto [x, y, combined] : rows) {
        EXPECT_EQ(combined_type_for_types(x, y), combined) << x->printstr() << " " << y->printstr();
        EXPECT_EQ(combined_type_for_types(y, x), combined) << y->printstr() << " " << x->printstr();
    }
    kr_flag = true;
    EXPECT_EQ(promoted_type(uc), u);
    kr_flag = false;
    EXPECT_EQ(next_wider_type(uc), us);
    EXPECT_EQ(next_wider_type(ull), ull);
    EXPECT_EQ(wide_enough_int_type(INT65(4294967295LL)), u);
    EXPECT_EQ(wide_enough_int_type(INT65(-2147483649LL)), ll);
    EXPECT_EQ(type_stride(xptr), 16u);
    EXPECT_EQ(int_type_min(sh), INT65(-32768));
    EXPECT_EQ(int_type_max(ull), INT65(~0ull));
}

TEST_F(conversions, storage_that_never_changes) {
    TYPE *mixed = tp->mk_struct("mixed", 96, 32, false);
    mixed->add_mdata("k", konst, 0);
    mixed->add_mdata("v", i, 32);
    mixed->add_mdata("k2", konst, 64);
    tp->type_frozen(mixed);
    EXPECT_TRUE(bits_of_var_are_immutable(mixed, 0, 32, true));
    EXPECT_FALSE(bits_of_var_are_immutable(mixed, 0, 32, false));
    EXPECT_FALSE(bits_of_var_are_immutable(mixed, 16, 32, true));
    TYPE *row = tp->mk_array(mixed, false, 4);
    EXPECT_TRUE(bits_of_var_are_immutable(row, 96 + 64, 32, true));
    EXPECT_FALSE(bits_of_var_are_immutable(row, 64, 96, true));
    EXPECT_FALSE(bits_of_var_are_immutable(tp->mk_qual(konst, QUAL_volatile), 0, 32, true));
}

TEST_F(conversions, types_of_accesses_keep_volatile) {
    NODE *name = N("x");
    name->type = vol; // what a dropped conversion made
    fix_type_info(name);
    EXPECT_TRUE(name->type->is_volatile());
    NODE *field = dot(V("vr", tp->mk_qual(record, QUAL_volatile)), field_a);
    field->left->type = sym("vr")->type;
    fix_type_info(field);
    EXPECT_TRUE(field->type->is_volatile());
    erase_tree(name);
    erase_tree(field);
}

} // namespace
