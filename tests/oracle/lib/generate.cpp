#include "tests/oracle/lib/generate.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>

#include "OPT5/bif.h"
#include "OPT5/fold.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "tests/oracle/lib/idioms.h"
#include "tests/oracle/lib/notation.h"
#include "typepkg/type_pkg.h"

// --- makers ---

NODE *t_icon(long long v, TYPE *type) { return mk_ICON(INT65(v), type); }
NODE *t_binary(int op, NODE *a, NODE *b, TYPE *type) {
    return maketree(op, a, b, type ? type : boolean_result[op] ? world().i32 : a->type->dtype, nullptr);
}
NODE *t_unary(int op, NODE *a, TYPE *type) {
    return maketree(op, a, nullptr, type ? type : boolean_result[op] ? world().i32 : a->type->dtype, nullptr);
}
NODE *t_convert(TYPE *type, NODE *a) {
    if (a->type->dtype == type->dtype) return a;
    return maketree(type->is_ptr() ? PCONV : SCONV, a, nullptr, type, nullptr);
}
NODE *t_quest(NODE *c, NODE *a, NODE *b) {
    TYPE *type = a->type->dtype;
    return maketree(QUEST, c, maketree(COLON, a, b, type, nullptr), type, nullptr);
}
NODE *t_call(SYMTAB *f, NODE *args) {
    NODE *callee = mk_UAND(mk_NAME(f));
    return maketree(args ? CALL : UCALL, callee, args, f->type->return_type(), nullptr);
}
namespace {
NODE *field_node(fkMDATA *m) {
    NODE *n = new NODE(FIELD, m->type);
    n->mk_field(1, m, world().record);
    return n;
}
} // namespace
NODE *t_field(NODE *record, fkMDATA *m) { return maketree(STDOT, record, field_node(m), m->type, nullptr); }
NODE *t_through(NODE *pointer, fkMDATA *m) {
    return maketree(STREF, pointer, field_node(m), m->type, nullptr);
}

int t_relation(int which, const TYPE *type) {
    static const int of_signed[] = {EQ, NEQ, LE, LT, GE, GT}, of_unsigned[] = {EQ, NEQ, ULE, ULT, UGE, UGT},
                     of_float[] = {FEQ, FNEQN, FLE, FLT, FGE, FGT};
    if (type->is_fltpt()) return of_float[which];
    bool is_unsigned = type->is_ptr() || (type->is_unsigned() && type->size >= 32);
    return is_unsigned ? of_unsigned[which] : of_signed[which];
}

// --- values ---

INT65 interesting_constant(TYPE *type, RANDOM &random) {
    int bits = int(type->size);
    uint64_t v;
    switch (pick(random, 12)) {
    case 0: v = 0; break;
    case 1: v = 1; break;
    case 2: v = ~0ull; break;
    case 3:
    case 4: v = 1ull << pick(random, unsigned(bits)); break;
    case 5: v = (1ull << pick(random, unsigned(bits))) - 1; break;
    case 6: v = ~0ull << pick(random, unsigned(bits)); break;
    case 7: v = (1ull << (bits - 1)) - 1; break;
    case 8: v = 1ull << (bits - 1); break;
    case 9: v = 2 + random() % 30; break;
    case 10: v = ~(random() % 30); break;
    default: v = random() >> random() % 64; break;
    }
    if (chance(random, 15)) v += random() % 3 - 1;
    if (chance(random, 5)) v = ~0ull - v;
    return truncate_to_type(INT65((unsigned long long)v), type);
}

int interesting_count(int bits, RANDOM &random) {
    if (chance(random, 60)) return int(pick(random, unsigned(bits)));
    static const int widths[] = {1, 8, 16, 32};
    int width = widths[pick(random, 4)];
    return std::clamp(chance(random, 70) ? bits - width : width, 0, bits - 1);
}

const std::vector<uint64_t> &boundary_values(VK kind) {
    static std::vector<uint64_t> known[size_t(VK::none) + 1];
    std::vector<uint64_t> &v = known[size_t(kind)];
    if (!v.empty()) return v;
    auto add = [&](uint64_t x) {
        x = vk_cut(x, kind);
        for (uint64_t each : v)
            if (each == x) return;
        v.push_back(x);
    };
    if (kind == VK::boolean) return v = {0, 1};
    if (vk_is_float(kind)) {
        for (double d : {0.0, -0.0, 1.0, -1.0, 0.5, 2.0, 3.0, 1e-40, -7.25, 1e30, double(INFINITY),
                         -double(INFINITY), double(NAN), 2147483648.0, 16777217.0}) {
            uint64_t bits;
            memcpy(&bits, &d, 8);
            v.push_back(vk_convert(bits, VK::f64, kind, nullptr));
        }
        return v;
    }
    int bits = vk_bits(kind);
    for (uint64_t x : {0, 1, 2, 3, 5, 7, 8}) add(x), add(0 - x);
    uint64_t top = 1ull << (bits - 1);
    for (uint64_t x : {top, top - 1, top + 1, top >> 1, (top >> 1) - 1, top - 2}) add(x);
    for (int k : {4, 6, 7, 8, 15, 16, 31, 32})
        if (k < bits) add(1ull << k), add((1ull << k) - 1), add(~0ull << k);
    for (uint64_t x : {100, 0x55, 0xAA}) add(x);
    return v;
}

uint64_t interesting_value(VK kind, RANDOM &random) {
    const std::vector<uint64_t> &edges = boundary_values(kind);
    if (chance(random, 40)) return edges[pick(random, unsigned(edges.size()))];
    if (vk_is_float(kind)) {
        double d = double(int64_t(random()) >> random() % 62) / double(1 << random() % 20);
        uint64_t bits;
        memcpy(&bits, &d, 8);
        return vk_convert(bits, VK::f64, kind, nullptr);
    }
    return vk_cut(uint64_t(int64_t(random()) >> random() % 64), kind);
}

// --- trees ---

TYPE *GENERATOR::some_type() {
    ORACLE_WORLD &w = world();
    if (bits) return w.integer(bits, chance(random, 50));
    for (;;) {
        const SCALAR &s = w.scalars[pick(random, unsigned(w.scalars.size()))];
        if (s.type->is_fltpt() ? !floats : !narrow && s.type->size < 32) continue;
        if (!narrow && (s.type->is_bool() || s.type->is_enum())) continue;
        return s.type;
    }
}

NODE *GENERATOR::constant(TYPE *type) {
    if (type->is_fltpt()) {
        static const simul_fval *const values[] = {&pos_zero,  &one,     &two,     &one_half,
                                                   &const_ten, &three_q, &neg_zero};
        return mk_FCON(*values[pick(random, std::size(values))], type);
    }
    if (type->is_bool()) return t_icon(pick(random, 2), type);
    return mk_ICON(interesting_constant(type, random), type);
}

NODE *GENERATOR::leaf(TYPE *type) {
    ORACLE_WORLD &w = world();
    unsigned what = pick(random, 100);
    if (what < 30) return constant(type);
    if (effects && what < 34) return mk_NAME(w.variable(chance(random, 50) ? "u" : "v", type));
    if (memory && what < 42)
        return maketree(UMULT, mk_NAME(w.variable(chance(random, 50) ? "p" : "q", type)), nullptr, type,
                        nullptr);
    if (memory && what < 50)
        for (fkMDATA *f : w.fields)
            if (f->type->dtype == type && chance(random, 50))
                return chance(random, 60) ? t_field(mk_NAME(w.object), f)
                                          : t_through(mk_NAME(w.to_object), f);
    static const char *const names[] = {"x", "y", "z"};
    return mk_NAME(w.variable(names[pick(random, 3)], type));
}

NODE *GENERATOR::pointer_to_int(int depth) {
    ORACLE_WORLD &w = world();
    NODE *base = chance(random, 50) ? mk_NAME(w.to_array)
                                    : maketree(PCONV, mk_UAND(mk_NAME(w.array)), nullptr, w.ptr_i32, nullptr);
    if (chance(random, 30)) return base;
    NODE *index = t_binary(ANDB, tree(w.i32, depth - 1), t_icon(3, w.i32));
    NODE *bytes =
        chance(random, 50) ? t_binary(MULT, index, t_icon(4, w.i32)) : t_binary(SLL, index, t_icon(2, w.i32));
    return maketree(PLUS, base, bytes, w.ptr_i32, nullptr);
}

NODE *GENERATOR::with_effect(TYPE *type, int depth) {
    ORACLE_WORLD &w = world();
    bool saved = effects;
    effects = false; // nothing below has an effect, so no order is left open
    NODE *n = nullptr;
    switch (pick(random, 7)) {
    case 5: n = t_convert(type, builtin(depth)); break;
    case 0: n = t_convert(type, t_call(chance(random, 30) ? w.pure : w.ext, tree(w.i32, depth - 1))); break;
    case 1:
        if (!type->is_fltpt() && !type->is_bool() && modified++ == 0) {
            static const int steps[] = {PLUSPLUS, MINMIN};
            n = maketree(steps[pick(random, 2)], mk_NAME(w.variable("w", type)), t_icon(1, type), type,
                         nullptr);
        }
        break;
    case 2:
        if (modified++ == 0)
            n = maketree(ASG, mk_NAME(w.variable("w", type)), tree(type, depth - 1), type, nullptr);
        break;
    case 3:
        if (type->is_fltpt() || type->is_bool() || modified++ != 0) break;
        {
            static const int ops[] = {PLUSASG, MINUSASG, MULTASG, ANDBASG, ORBASG, XORBASG};
            n = maketree(ops[pick(random, 6)], mk_NAME(w.variable("w", type)), tree(type, depth - 1), type,
                         nullptr);
        }
        break;
    case 4: {
        effects = saved;
        TYPE *first = some_type();
        NODE *a = tree(first, depth - 1), *b = tree(type, depth - 1);
        n = maketree(COMMAOP, a, b, type, nullptr);
        break;
    }
    default: break;
    }
    effects = saved;
    return n ? n : leaf(type);
}

// A call of an operation that the target has.
NODE *GENERATOR::builtin(int depth) {
    static const char *const names[] = {
        "MIN",    "MAX",        "MINU",       "MAXU",           "LLMIN",       "_smulbb",          "_smull",
        "_umull", "ETSI_L_ADD", "ETSI_L_SHL", "ETSI_EXTRACT_H", "ETSI_NORM_L", "__builtin_expect", "_smlabb"};
    const char *name = names[pick(random, std::size(names))];
    const BIF *bif = find_BIF_descriptor(name);
    if (!bif) return leaf(world().i32);
    NODE *args = nullptr;
    for (NODE *parameter : arg_list_args(bif->parameters))
        args =
            arg_list_append(args, t_convert(parameter->type->dtype, tree(parameter->type->dtype, depth - 2)));
    return mk_ICALL(name, args, bif->result_type);
}

NODE *GENERATOR::condition(int depth) {
    ORACLE_WORLD &w = world();
    if (depth <= 0) {
        TYPE *type = some_type();
        return t_binary(t_relation(int(pick(random, 6)), type), leaf(type), leaf(type), w.i32);
    }
    if (chance(random, idioms) && control)
        if (NODE *n = idiom(w.i32, condition_idioms(), depth)) return n;
    switch (pick(random, control ? 12 : 9)) {
    case 0: {
        NODE *a = tree(some_type(), depth - 1);
        return t_unary(EXCLAIM, a, w.i32);
    }
    case 1: return tree(bits ? some_type() : w.i32, depth - 1);
    case 9: return t_binary(ANDAND, condition(depth - 1), condition(depth - 1), w.i32);
    case 10: return t_binary(OROR, condition(depth - 1), condition(depth - 1), w.i32);
    case 11: return t_quest(condition(depth - 2), condition(depth - 1), condition(depth - 1));
    default: {
        TYPE *type = some_type();
        NODE *a = tree(type, depth - 1), *b = chance(random, 50) ? constant(type) : tree(type, depth - 1);
        int op = t_relation(int(pick(random, 6)), type);
        if (op >= FEQ && chance(random, 40)) op = FEQ + int(pick(random, FUNO - FEQ + 1));
        return t_binary(op, a, b, w.i32);
    }
    }
}

NODE *GENERATOR::float_tree(TYPE *type, int depth) {
    switch (pick(random, control ? 9 : 8)) {
    case 0: return t_unary(UMINUS, tree(type, depth - 1));
    case 1: return t_convert(type, tree(some_type(), depth - 1));
    case 2: return t_unary(ABS, tree(type, depth - 1));
    case 8: {
        NODE *c = condition(depth - 1), *a = tree(type, depth - 1);
        return t_quest(c, a, tree(type, depth - 1));
    }
    default: {
        static const int ops[] = {PLUS, MINUS, MULT, DIV};
        int op = ops[pick(random, 4)];
        NODE *a = tree(type, depth - 1);
        return t_binary(op, a, tree(type, depth - 1));
    }
    }
}

// A shape of the list with trees in its holes, converted to the type; null when it has no meaning for the type.
NODE *GENERATOR::idiom(TYPE *type, std::span<const char *const> list, int depth) {
    TYPE *of = type->is_bool() || type->is_enum() || type->is_fltpt() ? integer_type() : type;
    const char *text = list[pick(random, unsigned(list.size()))];
    if (!memory && strpbrk(text, "pqrs")) return nullptr;
    NODE *n = tree_from_notation(text, of, random, depth > 1 ? 40 : 0, depth - 2);
    return n && (!n->type->is_ptr() || type->is_ptr()) && !n->type->is_void() ? t_convert(type, n) : n;
}

TYPE *GENERATOR::integer_type() {
    return world().integer(bits ? bits : 8 << pick(random, 4), chance(random, 50));
}

NODE *GENERATOR::integer_tree(TYPE *type, int depth) {
    ORACLE_WORLD &w = world();
    if (chance(random, idioms))
        if (NODE *n =
                idiom(type, chance(random, 80) || !control ? value_idioms() : condition_idioms(), depth))
            return n;
    unsigned what = pick(random, 100);
    if (type->is_bool() || type->is_enum()) { // no arithmetic in these
        if (what < 40)
            return t_convert(type, type->is_bool() ? condition(depth - 1) : tree(w.u32, depth - 1));
        if (what < 60 && control) {
            NODE *c = condition(depth - 1), *a = tree(type, depth - 1);
            return t_quest(c, a, tree(type, depth - 1));
        }
        return leaf(type);
    }
    if (what < 10 && type == w.i32) return condition(depth - 1);
    if (what < 18) { // a conversion from another type
        TYPE *from = some_type();
        return t_convert(type, tree(from, depth - 1));
    }
    if (what < 23 && control) {
        NODE *c = condition(depth - 1), *a = tree(type, depth - 1);
        return t_quest(c, a, tree(type, depth - 1));
    }
    if (what < 28) {
        static const int ops[] = {UMINUS, NOTB, ABS};
        int op = ops[pick(random, type->is_signed() ? 3 : 2)];
        return t_unary(op, tree(type, depth - 1));
    }
    if (what < 40) { // a shift
        NODE *a = tree(type, depth - 1), *n;
        if (chance(random, 85)) n = t_icon(interesting_count(int(type->size), random), w.i32);
        else n = mk_NAME(w.count);
        return t_binary(chance(random, 50) ? SLL : SRL, a, n);
    }
    if (what < 50) { // a division
        NODE *a = tree(type, depth - 1);
        return t_binary(chance(random, 50) ? DIV : MOD, a,
                        chance(random, 80) ? constant(type) : tree(type, depth - 1));
    }
    if (what < 54 && memory && type == w.i32)
        return maketree(UMULT, pointer_to_int(depth - 1), nullptr, w.i32, nullptr);
    static const int ops[] = {PLUS, MINUS, MULT, ANDB, ORB, XORB};
    int op = ops[pick(random, 6)];
    NODE *a = tree(type, depth - 1), *b = chance(random, 40) ? constant(type) : tree(type, depth - 1);
    if (chance(random, 10)) std::swap(a, b);
    return t_binary(op, a, b);
}

NODE *GENERATOR::tree(TYPE *type, int depth) {
    if (depth <= 0 || chance(random, 10)) return leaf(type);
    if (effects && chance(random, 6)) return with_effect(type, depth);
    return type->is_fltpt() ? float_tree(type, depth) : integer_tree(type, depth);
}

// Something that can be assigned to.
NODE *GENERATOR::target(TYPE *type) {
    for (;;) {
        NODE *t = leaf(type);
        if (t->op != ICON && t->op != FCON) return t;
        erase_tree(t);
    }
}

// A jump; labels are numbers from 1 to 9.
NODE *GENERATOR::transfer(int depth) {
    ORACLE_WORLD &w = world();
    auto label = [&] { return mk_LABELREF(int(1 + pick(random, 3)), 0); };
    NODE *test = chance(random, 20)  ? constant(w.i32)
                 : chance(random, 5) ? t_binary(ANDB, tree(w.i32, depth), t_icon(0, w.i32))
                                     : condition(depth);
    switch (pick(random, 3)) {
    case 0: {
        NODE *first = label(), *second = label();
        return maketree(IF, test, maketree(COMMA, first, second, w.i32, nullptr), w.i32, nullptr);
    }
    case 1: return maketree(CBRANCH, test, label(), w.i32, nullptr);
    default: break;
    }
    NODE *cases = nullptr, *selector = test;
    if (chance(random, 70)) {
        erase_tree(test);
        selector = tree(integer_type(), depth);
    }
    TYPE *type = selector->type->dtype;
    unsigned n = pick(random, 4);
    for (unsigned k = 0; k < n; k++) { // distinct values
        NODE *value = t_icon((long long)(k ? 20 * k : pick(random, 2)), type);
        NODE *one = maketree(CASE, value, label(), w.i32, nullptr);
        cases = cases ? maketree(COMMA, cases, one, w.i32, nullptr) : one;
    }
    NODE *fallback = maketree(DEFAULT, label(), nullptr, w.i32, nullptr);
    NODE *jump =
        maketree(SWITCH, selector, cases ? maketree(COMMA, cases, fallback, w.i32, nullptr) : fallback, w.i32,
                 nullptr);
    jump->u.lval = INT65(n);
    return jump;
}

NODE *GENERATOR::statement(int depth) {
    ORACLE_WORLD &w = world();
    TYPE *type = some_type();
    if (chance(random, idioms)) {
        NODE *n = tree_from_notation(effect_idioms()[pick(random, unsigned(effect_idioms().size()))],
                                     integer_type(), random, 40, depth - 1);
        if (n) return n;
    }
    modified = 1; // the statement itself is the one modification
    switch (pick(random, 12)) {
    case 0:
        type = integer_type();
        return maketree(chance(random, 50) ? PLUSPLUS : MINMIN, target(type), t_icon(1, type), type, nullptr);
    case 1:
        return t_call(w.ext2,
                      arg_list_append(arg_list_append(nullptr, tree(w.i32, depth)), tree(w.i32, depth)));
    case 2: modified = 0; return tree(type, depth);
    case 3:
    case 4: modified = 0; return transfer(depth);
    default: break;
    }
    static const int ops[] = {PLUSASG, MINUSASG, MULTASG, ANDBASG, ORBASG,
                              XORBASG, SLLASG,   SRLASG,  DIVASG,  MODASG};
    bool plain = type->is_fltpt() || type->is_bool() || type->is_enum() || chance(random, 60);
    int op = plain ? ASG : ops[pick(random, std::size(ops))];
    NODE *value =
        op == SLLASG || op == SRLASG ? t_icon(pick(random, unsigned(type->size)), w.i32) : tree(type, depth);
    return maketree(op, target(type), value, type, nullptr);
}
