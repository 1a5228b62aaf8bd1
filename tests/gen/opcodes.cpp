// Makes intermediate files that C sources can't: every operator on every type it has, and random trees.
//
//   gen_opcodes table FILE.if           each operator over edge values of each type, one line of output a result
//   gen_opcodes random SEED FILE.if     functions of random statements full of side effects
//   gen_opcodes deep N FILE.if          trees nested N deep in every direction
//   gen_opcodes bad WHAT FILE.if        something that has no form in C
//
// What the files print is compared between the interpreter and the generated C (opcodes.py).
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

#include "tests/gen/maker.h"

namespace {

// --- the table ---

struct KIND_ROW {
    const char *name;
    TYPE *type;
    std::vector<int64_t> ints;
    std::vector<double> reals;
    MSYM *values = nullptr, *work = nullptr; // arrays

    bool is_real() const { return !reals.empty(); }
    size_t size() const { return is_real() ? reals.size() : ints.size(); }
};

struct TABLE : MAKER {
    std::vector<KIND_ROW> kinds;

    void make_kinds() {
        auto add = [&](const char *s, IKIND k, int bits, bool is_signed) {
            KIND_ROW r{s, t(k), {0, 1, 2, 7, 100, 31, 33}, {}};
            int64_t top = bits == 64 ? INT64_MAX : (int64_t(1) << (bits - 1)) - 1;
            r.ints.insert(r.ints.end(), {top, top - 1});
            if (is_signed) r.ints.insert(r.ints.end(), {-1, -2, -77, -top - 1});
            else r.ints.insert(r.ints.end(), {int64_t(uint64_t(top) * 2 + 1), int64_t(uint64_t(top) + 1)});
            kinds.push_back(r);
        };
        add("s8", IK_schar, 8, true), add("u8", IK_uchar, 8, false);
        add("s16", IK_short, 16, true), add("u16", IK_ushort, 16, false);
        add("s32", IK_int, 32, true), add("u32", IK_uint, 32, false);
        add("s64", IK_llong, 64, true), add("u64", IK_ullong, 64, false);
        std::vector<double> reals{0.0, 1.0, -1.0, 2.5, -100.75, 1e6, 0.0625, -0.0};
        kinds.push_back({"f32", m.package->basic[BT_float], {}, reals});
        kinds.push_back({"f64", m.package->basic[BT_double], {}, reals});
        for (KIND_ROW &k : kinds) {
            std::vector<MNODE *> v;
            for (int64_t i : k.ints)
                v.push_back(m.icon(k.type->is_unsigned() && k.type->size < 64
                                       ? int64_t(uint64_t(i) & ((1ull << k.type->size) - 1))
                                       : i,
                                   k.type));
            for (double d : k.reals) v.push_back(fcon(d, k.type));
            TYPE *array = m.package->mk_array(k.type, false, v.size());
            k.values = data(std::string("values_") + k.name, array, v);
            k.work = data(std::string("work_") + k.name, array, v);
        }
    }
    MNODE *at(MSYM *array, const KIND_ROW &k, MNODE *index) {
        TYPE *p = ptr(k.type);
        MNODE *bytes = n(MULT, i32(), index, ic(int64_t(k.type->size / 8)));
        return n(UMULT, k.type, n(PLUS, p, n(PCONV, p, addr(name(array))), bytes));
    }

    // for (i ...) for (j ...) body(i, j)
    template <class BODY> void loops(size_t rows, size_t columns, BODY body) {
        MSYM *i = local("i", i32()), *j = local("j", i32());
        int outer = next_label++, inner = next_label++, skip = next_label++;
        emit(n(ASG, i32(), name(i), ic(0)));
        label(outer);
        emit(n(ASG, i32(), name(j), ic(0)));
        label(inner);
        body(i, j, skip);
        label(skip);
        emit(n(PLUSASG, i32(), name(j), ic(1)));
        unless(n(GE, i32(), name(j), ic(int64_t(columns))), inner);
        emit(n(PLUSASG, i32(), name(i), ic(1)));
        unless(n(GE, i32(), name(i), ic(int64_t(rows))), outer);
    }

    void binary(const char *what, int op, int op_asg, const KIND_ROW &k) {
        begin(std::string(what) + "_" + k.name);
        bool shift = op == SLL || op == SRL, divides = op == DIV || op == MOD;
        const KIND_ROW &right = shift ? kinds[4] : k;
        loops(k.size(), right.size(), [&](MSYM *i, MSYM *j, int skip) {
            MNODE *zero = k.is_real() ? fcon(0, k.type) : m.icon(0, k.type);
            if (divides) unless(n(k.is_real() ? FNEQN : NEQ, i32(), at(k.values, k, name(j)), zero), skip);
            std::string title = std::string(what) + " " + k.name;
            print(title, n(op, k.type, at(k.values, k, name(i)), at(right.values, right, name(j))));
            emit(n(ASG, k.type, at(k.work, k, name(i)), at(k.values, k, name(i))));
            print(title + "=", n(op_asg, k.type, at(k.work, k, name(i)), at(right.values, right, name(j))));
            emit(n(op_asg, k.type, at(k.work, k, name(i)), at(right.values, right, name(j))));
            print(title + " stored", at(k.work, k, name(i)));
        });
        end();
    }
    void relations(const KIND_ROW &k) {
        begin(std::string("relations_") + k.name);
        loops(k.size(), k.size(), [&](MSYM *i, MSYM *j, int) {
            for (int op = k.is_real() ? FEQ : EQ; op <= (k.is_real() ? FUNO : UGT); op++) {
                MNODE *b = at(k.values, k, name(j));
                // Once with a value that is not a number.
                if (k.is_real())
                    b = n(PLUS, k.type, b,
                          n(DIV, k.type, fcon(0, k.type), n(MINUS, k.type, fcon(2.5, k.type), b)));
                if (k.is_real()) b->right->right->right = m.copy(b->left);
                print(std::string(if_node_info[op].name) + " " + k.name,
                      n(op, i32(), at(k.values, k, name(i)), b));
            }
        });
        end();
    }
    void conversions(const KIND_ROW &from) {
        begin(std::string("conversions_") + from.name);
        for (const KIND_ROW &to : kinds)
            for (size_t i = 0; i < from.size(); i++) {
                if (from.is_real() && !to.is_real()) { // beyond the range the target's instructions decide
                    double d = from.reals[i], top = to.type->size == 8    ? 127
                                                    : to.type->size == 16 ? 32767
                                                                          : 2e9;
                    if (d > top || d < (to.type->is_unsigned() ? 0 : -top)) continue;
                }
                print(std::string("convert ") + from.name + " " + to.name,
                      n(SCONV, to.type, at(from.values, from, ic(int64_t(i)))));
            }
        end();
    }
    void unary(const KIND_ROW &k) {
        begin(std::string("unary_") + k.name);
        for (size_t i = 0; i < k.size(); i++) {
            auto value = [&] { return at(k.values, k, ic(int64_t(i))); };
            for (int op : {UMINUS, NOTB, ABS, SQR, RECIP, SQRT})
                if (op != NOTB && op != SQRT ? true
                    : k.is_real()            ? op == SQRT && k.reals[i] >= 0
                                             : op == NOTB)
                    print(std::string(if_node_info[op].name) + " " + k.name, n(op, k.type, value()));
            print("EXCLAIM", n(EXCLAIM, i32(), value()));
            MNODE *place = at(k.work, k, ic(int64_t(i)));
            for (int op : {PLUSPLUS, MINMIN}) {
                MNODE *step = k.is_real() ? fcon(1, k.type) : m.icon(3, k.type);
                print("post", n(op, k.type, m.copy(place), step));
                print("behind", m.copy(place));
            }
            print("QUEST", n(QUEST, k.type, value(),
                             n(COLON, k.type, value(), k.is_real() ? fcon(5, k.type) : m.icon(5, k.type))));
        }
        end();
    }

    void built_ins() {
        struct {
            const char *name;
            int kind, args;
        } rows[] = {
            {"MIN", 4, 2},         {"MAX", 4, 2},           {"LMIN", 4, 2},        {"LMAX", 4, 2},
            {"MINU", 5, 2},        {"MAXU", 5, 2},          {"LLMIN", 6, 2},       {"LLMAX", 6, 2},
            {"LLMINU", 7, 2},      {"LLMAXU", 7, 2},        {"FMIN", 8, 2},        {"FMAX", 8, 2},
            {"DMIN", 9, 2},        {"DMAX", 9, 2},          {"_smulbb", 4, 2},     {"_smulbt", 4, 2},
            {"_smultb", 4, 2},     {"_smultt", 4, 2},       {"_smlabb", 4, 3},     {"_smlatt", 4, 3},
            {"_smlabt", 4, 3},     {"_smlatb", 4, 3},       {"_sadd", 4, 2},       {"_ssub", 4, 2},
            {"ETSI_ADD", 2, 2},    {"ETSI_SUB", 2, 2},      {"ETSI_ABS_S", 2, 1},  {"ETSI_L_ABS", 4, 1},
            {"ETSI_L_ADD", 4, 2},  {"ETSI_L_SUB", 4, 2},    {"ETSI_MULT", 2, 2},   {"ETSI_L_MULT", 2, 2},
            {"ETSI_NEGATE", 2, 1}, {"ETSI_L_NEGATE", 4, 1}, {"quest$colon", 4, 3}, {"DONOTCSE", 4, 1}};
        for (auto &r : rows) {
            const KIND_ROW &k = kinds[size_t(r.kind)];
            begin(std::string("built_in_") + std::to_string(next_name++));
            loops(k.size(), r.args > 1 ? k.size() : 1, [&](MSYM *i, MSYM *j, int) {
                MNODE *args = at(k.values, k, name(i));
                for (int a = 1; a < r.args; a++) args = list({args, at(k.values, k, name(j))});
                TYPE *type = !strncmp(r.name, "ETSI_L", 6) ? i32() : k.type;
                print(r.name, named(ICALL, type, r.name, args));
            });
            end();
        }
        for (const char *product : {"_smull", "_umull"}) {
            const KIND_ROW &k = kinds[product[1] == 's' ? 4 : 5];
            begin(std::string("product") + product);
            loops(k.size(), k.size(), [&](MSYM *i, MSYM *j, int) {
                MNODE *args = list({at(k.values, k, name(i)), at(k.values, k, name(j))});
                print(product, named(ICALL, t(product[1] == 's' ? IK_llong : IK_ullong), product, args));
            });
            end();
        }
    }

    // Places, records, fields, vectors.
    void places() {
        TYPE *rec = m.package->mk_struct("rec", 64, 32, false);
        fkMDATA *a = rec->add_bitfield("a", i32(), 0, 5), *b = rec->add_bitfield("b", t(IK_uint), 5, 11);
        fkMDATA *c = rec->add_bitfield("c", i32(), 16, 16), *d = rec->add_mdata("d", t(IK_short), 32);
        m.package->type_frozen(rec);
        MSYM *x = global("rec_x", rec), *y = global("rec_y", rec);
        auto field = [&](MNODE *base, fkMDATA *md, int op = STDOT) {
            MNODE *f = n(FIELD, md->type);
            f->member = md, f->csu = rec;
            return n(op, md->type, base, f);
        };
        begin("fields");
        for (int64_t v : {0, 5, 15, 16, 31, 1000, 2047, 2048, 40000, -1, -17})
            for (fkMDATA *md : {a, b, c, d}) {
                print("set", n(ASG, md->type, field(name(x), md), m.icon(v, md->type)));
                print("get", field(name(x), md));
                for (int op : {PLUSASG, MULTASG, XORBASG, MINUSASG, PLUSPLUS, MINMIN})
                    print("step", n(op, md->type, field(addr(name(x)), md, STREF), m.icon(3, md->type)));
                emit(n(STASG, rec, name(y), name(x)));
                for (fkMDATA *other : {a, b, c, d}) print("all", field(addr(name(y)), other, STREF));
            }
        TYPE *to_rec = ptr(rec);
        MNODE *one = n(QUEST, to_rec, field(name(x), a), n(COLON, to_rec, addr(name(x)), addr(name(y))));
        MNODE *either = n(UMULT, rec, one);
        emit(n(ASG, d->type, field(either, d), m.icon(77, d->type)));
        emit(n(ASG, d->type, field(n(STASG, rec, name(x), name(y)), d), m.icon(78, d->type)));
        print("x.d", field(name(x), d));
        print("y.d", field(name(y), d));
        TYPE *vp = m.package->void_ptr_type();
        MNODE *copy = n(MEMCPY, vp, list({addr(name(y)), addr(name(x)), m.icon(8, t(IK_uint))}));
        print("copied", field(n(UMULT, rec, n(PCONV, ptr(rec), copy)), d));
        print("scaled", n(PMCONV, i32(), ic(-7), ic(96)));
        print("distance", n(PVCONV, i32(), ic(-84), ic(96)));
        end();
    }
    void vectors() {
        struct {
            int kind;
            unsigned lanes;
        } rows[] = {{0, 8}, {1, 16}, {2, 4}, {3, 8}, {4, 4}, {5, 2}, {8, 4}, {9, 2}};
        for (auto &r : rows) {
            const KIND_ROW &k = kinds[size_t(r.kind)];
            TYPE *v = m.package->mk_vector(k.type, r.lanes);
            begin(std::string("vector_") + k.name);
            MSYM *x = local("x", v), *y = local("y", v);
            auto show = [&](const char *what, MNODE *value) {
                emit(n(ASG, v, name(y), value));
                for (unsigned i = 0; i < r.lanes; i++)
                    print(std::string(what) + " " + k.name, n(VFIELD, k.type, name(y), ic(int64_t(i))));
            };
            MNODE *parts = nullptr;
            for (unsigned i = 0; i < r.lanes; i++) {
                MNODE *p = at(k.values, k, ic(int64_t(i % k.size())));
                parts = parts ? list({parts, p}) : p;
            }
            emit(n(ASG, v, name(x), n(VPACK, v, parts)));
            show("pack", name(x));
            show("splat", n(VPACKM, v, at(k.values, k, ic(3))));
            for (int op : {PLUS, MINUS, MULT, ANDB, ORB, XORB})
                if (!k.is_real() || op == PLUS || op == MINUS || op == MULT)
                    show(if_node_info[op].name, n(op, v, name(x), n(VPACKM, v, at(k.values, k, ic(4)))));
            show("UMINUS", n(UMINUS, v, name(x)));
            show("ABS", n(ABS, v, name(x)));
            if (!k.is_real()) show("SLL", n(SLL, v, name(x), ic(3))), show("SRL", n(SRL, v, name(x), ic(2)));
            emit(n(ASG, k.type, n(VFIELD, k.type, name(x), ic(1)), at(k.values, k, ic(2))));
            show("lane", name(x));
            end();
        }
    }

    void make() {
        start();
        make_kinds();
        struct {
            const char *name;
            int op, op_asg;
        } ops[] = {{"PLUS", PLUS, PLUSASG}, {"MINUS", MINUS, MINUSASG}, {"MULT", MULT, MULTASG},
                   {"DIV", DIV, DIVASG},    {"MOD", MOD, MODASG},       {"ANDB", ANDB, ANDBASG},
                   {"ORB", ORB, ORBASG},    {"XORB", XORB, XORBASG},    {"SLL", SLL, SLLASG},
                   {"SRL", SRL, SRLASG}};
        for (auto &o : ops)
            for (const KIND_ROW &k : kinds)
                if (!k.is_real() || o.op == PLUS || o.op == MINUS || o.op == MULT || o.op == DIV)
                    binary(o.name, o.op, o.op_asg, k);
        for (const KIND_ROW &k : kinds) relations(k), conversions(k), unary(k);
        built_ins();
        places();
        vectors();
        finish();
    }
};

// --- random trees ---

struct RANDOM : MAKER {
    std::mt19937 gen;
    std::vector<MSYM *> globals, locals;
    MSYM *tick = nullptr, *counter = nullptr;

    unsigned roll(unsigned n) { return unsigned(gen() % n); }
    TYPE *type() {
        static const IKIND k[] = {IK_int, IK_int, IK_uint, IK_schar, IK_ushort, IK_llong};
        return t(k[roll(6)]);
    }
    MNODE *variable() {
        std::vector<MSYM *> &from = roll(2) ? globals : locals;
        return name(from[roll(unsigned(from.size()))]);
    }
    MNODE *place() {
        MNODE *v = variable();
        // Through an address, which depends on something that changes.
        if (roll(4) == 0)
            return n(UMULT, v->type,
                     n(QUEST, ptr(v->type), value(1), n(COLON, ptr(v->type), addr(v), addr(m.copy(v)))));
        if (roll(4) == 0) return n(UMULT, v->type, n(COMMAOP, ptr(v->type), value(1), addr(v)));
        return v;
    }
    MNODE *value(unsigned deep) {
        TYPE *ty = type();
        if (deep == 0) return roll(3) ? variable() : m.icon(int64_t(roll(9)), ty);
        static const int plain[] = {PLUS, MINUS, MULT, ANDB, ORB, XORB, SLL, SRL};
        static const int steps[] = {PLUSASG, MINUSASG, MULTASG, ANDBASG, XORBASG, PLUSPLUS, MINMIN, SLLASG};
        switch (roll(14)) {
        case 0:
        case 1:
        case 2: return n(plain[roll(8)], ty, value(deep - 1), value(deep - 1));
        case 3: return n(int(EQ + roll(10)), i32(), value(deep - 1), value(deep - 1));
        case 4: return n(roll(2) ? ANDAND : OROR, i32(), value(deep - 1), value(deep - 1));
        case 5: return n(QUEST, ty, value(deep - 1), n(COLON, ty, value(deep - 1), value(deep - 1)));
        case 6: {
            MNODE *l = place();
            return n(ASG, l->type, l, value(deep - 1));
        }
        case 7: {
            MNODE *l = place();
            return n(steps[roll(8)], l->type, l, value(deep - 1));
        }
        case 8: return n(COMMAOP, ty, value(deep - 1), n(SCONV, ty, value(deep - 1)));
        case 9:
        case 10: return call(tick, list({value(deep - 1), value(deep - 1)}));
        case 11: return n(SCONV, ty, value(deep - 1));
        case 12:
            return named(ICALL, ty, "quest$colon", list({value(deep - 1), value(deep - 1), value(deep - 1)}));
        default: return n(roll(2) ? UMINUS : EXCLAIM, i32(), value(deep - 1));
        }
    }
    void make(unsigned seed) {
        gen.seed(seed);
        start();
        counter = data("counter", i32(), {ic(1)});
        for (int i = 0; i < 5; i++) {
            TYPE *ty = type();
            globals.push_back(data("g" + std::to_string(i), ty, {m.icon(int64_t(roll(20)), ty)}));
        }
        // Every call shows: order and arguments.
        tick = begin("tick", i32(), {i32(), i32()});
        emit(n(PLUSASG, i32(), name(counter), ic(1)));
        emit(
            call(printf_sym, list({text("tick %d %d %d\n"), name(counter), name(param(0)), name(param(1))})));
        emit(n(PLUSASG, globals[0]->type, name(globals[0]), m.icon(1, globals[0]->type)));
        emit(n(RETURN, i32(), name(tick), n(PLUS, i32(), name(counter), name(param(0)))));
        record(I_EF);
        for (int f = 0; f < 6; f++) {
            begin("f" + std::to_string(f));
            locals.clear();
            for (int i = 0; i < 4; i++) {
                TYPE *ty = type();
                locals.push_back(local(("v" + std::to_string(i)).c_str(), ty));
                emit(n(ASG, ty, name(locals.back()), m.icon(int64_t(roll(50)), ty)));
            }
            for (int s = 0; s < 12; s++) {
                int skip = next_label++;
                if (roll(4) == 0) unless(value(3), skip);
                emit(value(2 + roll(4)));
                label(skip);
            }
            for (MSYM *v : locals) print(v->name, name(v));
            for (MSYM *v : globals) print(v->name, name(v));
            end();
        }
        finish();
    }
};

// --- deep trees ---

struct DEEP : MAKER {
    void make(int n_deep) {
        start();
        MSYM *x = data("x", i32(), {ic(3)});
        auto chain = [&](const char *what, auto grow) {
            begin(what);
            MNODE *t = name(x);
            for (int i = 0; i < n_deep; i++) t = grow(t, i);
            print(what, t);
            end();
        };
        chain("left", [&](MNODE *t, int i) { return n(i % 3 ? PLUS : XORB, i32(), t, ic(i % 7)); });
        chain("right", [&](MNODE *t, int i) { return n(i % 3 ? MINUS : ORB, i32(), name(x), t); });
        chain("quest", [&](MNODE *t, int i) {
            return n(QUEST, i32(), n(EQ, i32(), name(x), ic(i + 10)), n(COLON, i32(), ic(i), t));
        });
        chain("or", [&](MNODE *t, int i) { return n(OROR, i32(), n(EQ, i32(), name(x), ic(i + 10)), t); });
        chain("assign", [&](MNODE *t, int) { return n(ASG, i32(), name(x), n(PLUS, i32(), t, ic(1))); });
        chain("comma",
              [&](MNODE *t, int) { return n(COMMAOP, i32(), n(PLUSASG, i32(), name(x), ic(1)), t); });
        chain("pointer", [&](MNODE *t, int) {
            return n(UMULT, i32(), n(PCONV, ptr(i32()), n(COMMAOP, ptr(i32()), t, addr(name(x)))));
        });
        finish();
    }
};

// --- what C can't say ---

void make_bad(MAKER &m, const std::string &what) {
    m.start();
    TYPE *rec = m.m.package->mk_struct("rec", 32, 32, false);
    fkMDATA *bits = rec->add_bitfield("bits", m.i32(), 3, 5);
    m.m.package->type_frozen(rec);
    MSYM *x = m.global("x", rec);
    m.begin("f");
    PSN here{"bad.c", 12, 5};
    if (what == "built-in") m.emit(m.named(ICALL, m.i32(), "no_such_thing", m.ic(1)));
    else if (what == "operands") m.emit(m.named(ICALL, m.i32(), "_smulbb", m.ic(1)));
    else if (what == "label") m.branch(77);
    else if (what == "twice") m.label(1), m.label(1);
    else if (what == "register") m.emit(m.n(UMINUS, m.i32(), m.n(VREG, m.i32())));
    else if (what == "vector") m.local("v", m.m.package->mk_vector(m.i32(), 3));
    else if (what == "fixed") m.local("v", m.m.package->mk_fxtpt(m.i32(), 8));
    else if (what == "bit address") {
        MNODE *f = m.n(FIELD, m.i32());
        f->member = bits, f->csu = rec;
        m.emit(m.n(ASG, m.i32(), m.n(UMULT, m.i32(), m.addr(m.n(STDOT, m.i32(), m.name(x), f))), m.ic(1)));
    }
    for (MRECORD &r : m.func->records)
        if (r.tag == IF_STATEMENT) r.psn = m.m.psn(here.file, here.line, here.column);
    m.end();
    m.finish();
}

} // namespace

int main(int argc, char **argv) {
    TYPE_PKG::abi = 1;
    if_node_table_init();
    if (argc == 3 && !strcmp(argv[1], "table")) {
        TABLE t;
        t.make();
        return !write_model(t.m, argv[2]);
    }
    if (argc == 4 && !strcmp(argv[1], "random")) {
        RANDOM r;
        r.make(unsigned(atol(argv[2])));
        return !write_model(r.m, argv[3]);
    }
    if (argc == 4 && !strcmp(argv[1], "deep")) {
        DEEP d;
        d.make(atoi(argv[2]));
        return !write_model(d.m, argv[3]);
    }
    if (argc == 4 && !strcmp(argv[1], "bad")) {
        MAKER m;
        make_bad(m, argv[2]);
        return !write_model(m.m, argv[3]);
    }
    fprintf(stderr,
            "usage: gen_opcodes table FILE.if | random SEED FILE.if | deep N FILE.if | bad WHAT FILE.if\n");
    return 2;
}
