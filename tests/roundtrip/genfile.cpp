// Makes intermediate files for the tests and benchmarks of reading and writing: random, valid, and of every kind of
// content that the format has. The same options give the same file.
//
//   genfile [--seed S] [--functions N] [--statements N] [--plain] [--deep N] [--count]
//           [--damage N] OUTPUT
//
// --statements is the size of each function. --plain leaves out what a reader changes in any case (unknown built-ins,
// loop and dependence records), and expressions with control inside. --deep adds a function with a tree of N levels
// on either spine and N nested blocks. --count prints how many nodes the file has.
// --damage makes N changes that no reader of the format alone can see. Every path through a function
// calls probe(K) with numbers that occur once, so that lost or doubled code shows whatever the trees look like.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

#include "tests/roundtrip/damage.h"
#include "tools/model/model.h"

namespace {

struct OPTIONS {
    unsigned seed = 1;
    int functions = 4, statements = 40, deep = 0, damage = 0;
    bool plain = false, count = false;
    const char *output = nullptr;
};

// Types and globals of a file.
struct PROGRAM {
    MODEL &m;
    const OPTIONS &opt;
    std::mt19937 rng;
    int next_probe = 0;

    TYPE *boolean, *schar, *uchar, *sshort, *ushort, *sint, *uint, *slong, *ullong, *llong, *flt, *dbl,
        *voidt;
    TYPE *int_p, *char_p, *cint_p, *rec, *rec_p, *uni, *color, *alias, *int10, *int4v, *float4v, *cplx,
        *fun_ptr;
    std::vector<MSYM *> scalars; // globals that can be written
    MSYM *rec_global, *rec_array, *table, *probe, *sink, *pure, *take_rec, *variadic, *noreturn, *cleanup;
    std::vector<MSYM *> defined;

    PROGRAM(MODEL &model, const OPTIONS &o) : m(model), opt(o), rng(o.seed) {}

    unsigned pick(unsigned n) { return unsigned(rng() % n); }
    bool chance(unsigned percent) { return pick(100) < percent; }
    template <class T> T &one_of(std::vector<T> &v) { return v[pick(unsigned(v.size()))]; }
    const PSN *psn() {
        static const char *const files[] = {"main.c", "part.h", "dir/other.c"};
        return chance(5) ? nullptr : m.psn(files[pick(3)], 1 + pick(5000), 1 + pick(120));
    }

    void make_types();
    void make_globals();
    void make_initialisers();
    void init(MSYM *s, std::vector<MNODE *> trees);
    MSYM *global(const char *name, TYPE *type, int sclass);
    TYPE *closed(TYPE *t) {
        m.package->type_frozen(t);
        return t;
    }
    MNODE *address(MNODE *lv) { return m.node(UAND, m.package->mk_ptr(lv->type), lv); }
};

void PROGRAM::make_types() {
    TYPE_PKG *p = m.package;
    boolean = p->basic_int(IK_bool), schar = p->basic_int(IK_schar), uchar = p->basic_int(IK_uchar);
    sshort = p->basic_int(IK_short), ushort = p->basic_int(IK_ushort);
    sint = p->basic_int(IK_int), uint = p->basic_int(IK_uint), slong = p->basic_int(IK_long);
    llong = p->basic_int(IK_llong), ullong = p->basic_int(IK_ullong);
    flt = p->basic[BT_float], dbl = p->basic[BT_double], voidt = p->void_type();
    int_p = p->mk_ptr(sint), char_p = p->mk_ptr(schar), cint_p = p->mk_ptr(p->mk_qual(sint, QUAL_const));

    rec = p->mk_struct("rec", 256, 32, false);
    rec->set_psn(psn());
    rec_p = p->mk_ptr(rec);
    rec->add_mdata("a", sint, 0);
    rec->add_mdata("c", schar, 32);
    rec->add_bitfield("b1", sint, 40, 3);
    rec->add_bitfield("b2", uint, 43, 5);
    rec->add_mdata("next", rec_p, 64);
    rec->add_mdata("d", flt, 96);
    rec->add_mdata("v", p->mk_array(sint, false, 4), 128);
    rec = closed(rec);
    uni = p->mk_union("uni", 64, 32, false);
    uni->add_mdata("l", llong, 0);
    uni->add_mdata("f", flt, 0);
    uni = closed(uni);
    color = p->mk_enum("color", uint, 32, 32, false);
    color->add_etor("RED", 0, psn());
    color->add_etor("BLUE", 7, nullptr);
    color = closed(color);
    alias = p->mk_typedef("number", false, sint);
    int10 = p->mk_array(sint, false, 10);
    int4v = p->mk_vector(sint, 4), float4v = p->mk_vector(flt, 4);
    cplx = p->mk_complex(flt);
    TYPE *f = p->mk_func(sint, {sint, int_p});
    fun_ptr = p->mk_ptr(f);
}

MSYM *PROGRAM::global(const char *name, TYPE *type, int sclass) {
    MSYM *s = m.symbol(name, type, sclass);
    s->psn = psn();
    s->option_set = m.options.empty() ? 0 : pick(unsigned(m.options.size()));
    m.globals.push_back(s);
    return s;
}

void PROGRAM::init(MSYM *s, std::vector<MNODE *> trees) {
    trees.push_back(m.node(ENDINIT, voidt));
    MRECORD &r = m.inits.emplace_back();
    r.tag = IF_INIT, r.sym = s, r.trees = std::move(trees);
}

void PROGRAM::make_globals() {
    TYPE_PKG *p = m.package;
    struct ROW {
        const char *name;
        TYPE *type;
        int sclass;
    } rows[] = {
        {"_g_bool", boolean, 2},  {"_g_char", schar, 2},
        {"_g_uchar", uchar, 3},   {"_g_short", sshort, 3},
        {"_g_ushort", ushort, 2}, {"_g_int", sint, 2},
        {"_g_uint", uint, 5},     {"_g_long", slong, 2},
        {"_g_llong", llong, 2},   {"_g_ullong", ullong, 3},
        {"_g_float", flt, 2},     {"_g_double", dbl, 3},
        {"_g_alias", alias, 2},   {"_g_color", color, 2},
        {"_g_ptr", int_p, 2},     {"_g_vol", p->mk_qual(sint, QUAL_volatile), 2},
    };
    for (const ROW &row : rows) scalars.push_back(global(row.name, row.type, row.sclass));
    m.add_pragma(scalars[5], m.pragma(PRAG_DATA_SECTION, {"data1"}));
    m.add_pragma(scalars[5], m.pragma(PRAG_DATA_ALIGN, {"8"}));
    m.add_pragma(scalars[5], m.pragma(PRAG_RETAIN, {}));
    scalars[7]->policy = POLICY_ALWAYS;
    rec_global = global("_g_rec", rec, 2);
    global("_g_uni", uni, 3);
    rec_array = global("_g_recs", p->mk_array(rec, false, 3), 2);
    table = global("_g_table", p->mk_array(p->mk_qual(sint, QUAL_const), false, 6), 3);
    table->cqual = 0;

    probe = global("_probe", p->mk_func(sint, {sint}), 5);
    sink = global("_sink", p->mk_func(voidt, std::vector<TYPE *>()), 5);
    pure = global("_pure", p->mk_func(sint, {sint, sint}), 5);
    m.add_pragma(pure, m.pragma(PRAG_FUNC_IS_PURE, {}));
    take_rec = global("_take_rec", p->mk_func(sint, {rec, llong}), 5);
    variadic = global("_variadic", p->mk_func(sint, {char_p}, true), 5);
    noreturn = global("_die", p->mk_func(voidt, {sint}), 5);
    m.add_pragma(noreturn, m.pragma(PRAG_FUNC_NEVER_RETURNS, {}));
    cleanup = global("_cleanup", p->mk_func(voidt, {rec_p}), 5);
}

void PROGRAM::make_initialisers() {
    TYPE_PKG *p = m.package;
    init(scalars[5], {m.icon(-5, sint)});
    init(scalars[8], {m.icon(0x123456789ABCLL, llong)});
    MNODE *f = m.node(FCON, flt);
    f->text = "0x1.8p+1";
    init(scalars[10], {f});
    MNODE *offset = m.node(PMCONV, sint, m.icon(3, sint), m.icon(32, sint));
    MNODE *cell = m.node(PLUS, int_p, m.node(PCONV, int_p, address(m.name(table))), offset);
    init(scalars[14], {cell});
    std::vector<MNODE *> words;
    for (int i = 0; i < 6; i++) words.push_back(m.icon(i * 11, sint));
    init(table, words);
    MNODE *skip = m.node(SKIP, sint), *text = m.node(SCON, p->mk_array(schar, false, 4));
    skip->value = 4;
    text->text.assign("ab\0c", 4);
    init(rec_global, {m.icon(7, sint), skip, m.node(PCONV, rec_p, address(m.name(rec_global))), text});
    init(scalars[13], {m.icon(7, color)});
    init(scalars[0], {m.icon(1, boolean)});
}

// A function in work.
struct FUNCTION {
    PROGRAM &pr;
    MODEL &m;
    MFUNC *f;
    MSYM *symbol;
    TYPE *returns;
    std::deque<std::vector<MSYM *>> locals; // by open block; scalars that can be written
    MSYM *rec_local = nullptr, *rec_other = nullptr, *array_local = nullptr, *array_other = nullptr;
    MSYM *vec = nullptr, *vec2 = nullptr, *cx = nullptr, *ptr = nullptr, *rptr = nullptr, *fptr = nullptr;
    int next_label = 1, budget;
    bool has_handler = false; // calls may end in a catch
    int handler = 0;          // its label
    std::vector<int> waiting; // labels that goto statements further up lead to
    bool reachable = true;

    FUNCTION(PROGRAM &p, MSYM *s, int statements) : pr(p), m(p.m), symbol(s), budget(statements) {
        returns = s->type->return_type();
        m.items.emplace_back().func = std::make_unique<MFUNC>();
        f = m.items.back().func.get();
        f->symbol = s;
    }

    // --- records ---
    MRECORD &record(int tag) {
        MRECORD &r = f->records.emplace_back();
        r.tag = tag;
        return r;
    }
    void control(int tag) { record(tag).psn = pr.psn(); }
    void statement(MNODE *tree) {
        MRECORD &r = record(IF_STATEMENT);
        r.tree = tree, r.psn = pr.psn();
        budget--;
    }
    void label(int number) {
        record(IF_LABEL).n[0] = uint32_t(number);
        reachable = true;
    }
    void branch(int number) {
        statement(m.node(BRANCH, pr.voidt, ref(number)));
        reachable = false;
    }
    MNODE *ref(int number) { return m.label(number, pr.voidt); }
    MSYM *declare(const std::string &name, TYPE *type, int sclass) {
        MSYM *s = m.symbol(name.c_str(), type, sclass);
        s->psn = pr.psn();
        record(IF_SYMBOL).sym = s;
        return s;
    }
    void pragma(int number, std::vector<std::string> args) {
        record(IF_PRAGMA).pragma = m.pragma(number, args);
    }

    // --- expressions ---
    MNODE *name(MSYM *s) { return m.name(s); }
    MNODE *member(MNODE *record, unsigned index, bool by_pointer) {
        fkMDATA *d = pr.rec->find_mdata(index);
        MNODE *field = m.node(FIELD, d->type);
        field->csu = pr.rec, field->member = d;
        return m.node(by_pointer ? STREF : STDOT, d->type, record, field);
    }
    MNODE *assign(MNODE *lv, MNODE *v) { return m.node(ASG, lv->type, lv, v); }
    MNODE *convert(MNODE *v, TYPE *t) {
        if (v->type == t) return v;
        return m.node(t->is_ptr() ? PCONV : SCONV, t, v);
    }
    TYPE *any_int() {
        TYPE *const all[] = {pr.sint, pr.uint, pr.llong, pr.ullong};
        return all[pr.pick(4)];
    }
    MNODE *constant(TYPE *t) {
        static const int64_t values[] = {
            0, 1, -1, 7, 1000, 0x7FFFFFFF, -0x80000000LL, 0x7FFFFFFFFFFFFFFF, 0x100000000};
        int64_t v = values[pr.pick(9)];
        if (t->size == 32) v = t->is_signed() ? int32_t(v) : int64_t(uint32_t(v));
        return m.icon(v, t);
    }
    MNODE *fcon(TYPE *t) {
        static const char *const texts[] = {"0x1p+0", "-0x1.8p+4", "0x1.fffffep+127", "0x0p+0", "inf"};
        MNODE *n = m.node(FCON, t);
        n->text = texts[pr.pick(5)];
        return n;
    }
    MNODE *pointer(int depth) { // to int
        switch (pr.pick(4)) {
        case 0: return name(ptr);
        case 1: return m.node(PCONV, pr.int_p, pr.address(name(array_local)));
        case 2: return pr.address(member(name(rec_local), 1, false));
        default: {
            MNODE *bytes = m.node(PMCONV, pr.sint, integer(pr.sint, depth - 1), m.icon(32, pr.sint));
            return m.node(PLUS, pr.int_p, name(ptr), bytes);
        }
        }
    }
    // An lvalue of some scalar type.
    MNODE *lvalue(int depth) {
        switch (pr.pick(depth > 0 ? 8 : 3)) {
        case 0: return name(pr.one_of(pr.scalars));
        case 1:
        case 2: return name(pr.one_of(locals[pr.pick(unsigned(locals.size()))]));
        case 3: return m.node(UMULT, pr.sint, pointer(depth - 1));
        case 4: return member(name(rec_local), 1 + pr.pick(4), false);
        case 5: return member(name(rptr), 1 + pr.pick(4), true);
        case 6: return m.node(VFIELD, pr.sint, name(vec), m.icon(pr.pick(4), pr.sint));
        default:
            return m.node(UMULT, pr.sint,
                          m.node(PCONV, pr.int_p, pr.address(member(name(pr.rec_global), 7, false))));
        }
    }
    MNODE *value_of(MNODE *lv, TYPE *t) {
        if (lv->type->is_ptr()) return lv->type == t ? lv : m.node(SCONV, t, lv);
        return convert(lv, t);
    }
    MNODE *call(MSYM *s, MNODE *args) {
        TYPE *t = s->type->return_type();
        MNODE *callee = pr.address(name(s));
        MNODE *n = args ? m.node(CALL, t, callee, args) : m.node(UCALL, t, callee);
        static const unsigned entries[] = {0, 2, 3, 4, 5, 6};
        if (has_handler) n->eh = entries[pr.pick(6)];
        return n;
    }
    MNODE *args(std::vector<MNODE *> list) {
        MNODE *chain = nullptr;
        for (MNODE *a : list) chain = chain ? m.node(COMMA, a->type, chain, a) : a;
        return chain;
    }
    MNODE *probe() { return call(pr.probe, m.icon(++pr.next_probe, pr.sint)); }
    // Of something that no one knows at compile time: tests of constants would not survive.
    MNODE *comparison(int depth) {
        static const int ints[] = {EQ, NEQ, LE, LT, GE, GT}, unsigneds[] = {EQ, NEQ, ULE, ULT, UGE, UGT};
        static const int floats[] = {FEQ, FLE, FLT, FGE, FGT, FNEQN, FORD, FUNO, EQ, LE, NEQ};
        switch (pr.pick(4)) {
        case 0: {
            TYPE *t = pr.chance(50) ? pr.flt : pr.dbl;
            return m.node(floats[pr.pick(11)], pr.sint, convert(name(pr.scalars[10]), t),
                          floating(t, depth - 1));
        }
        case 1: return m.node(pr.chance(50) ? EQ : NEQ, pr.sint, name(ptr), pointer(depth - 1));
        default: {
            TYPE *t = any_int();
            const int *relations = t->is_signed() ? ints : unsigneds;
            return m.node(relations[pr.pick(6)], pr.sint, value_of(lvalue(depth - 1), t),
                          integer(t, depth - 1));
        }
        }
    }
    MNODE *condition(int depth) {
        switch (pr.pick(pr.opt.plain ? 3 : 6)) {
        case 0: return name(pr.one_of(locals[0]));
        case 1:
        case 2: return comparison(depth);
        case 3: return m.node(EXCLAIM, pr.sint, condition(depth - 1));
        case 4: return name(ptr);
        default: return comparison(depth);
        }
    }
    MNODE *floating(TYPE *t, int depth) {
        if (depth <= 0) return pr.chance(50) ? fcon(t) : convert(name(pr.scalars[t == pr.flt ? 10 : 11]), t);
        static const int ops[] = {PLUS, MINUS, MULT, DIV};
        switch (pr.pick(5)) {
        case 0: return fcon(t);
        case 1: return convert(integer(pr.sint, depth - 1), t);
        case 2: return m.node(UMINUS, t, floating(t, depth - 1));
        case 3: return convert(m.node(pr.chance(50) ? REAL : IMAG, pr.flt, name(cx)), t);
        default: return m.node(ops[pr.pick(4)], t, floating(t, depth - 1), floating(t, depth - 1));
        }
    }
    MNODE *integer(TYPE *t, int depth) {
        static const int ops[] = {PLUS, MINUS, MULT, ANDB, ORB, XORB};
        if (depth <= 0) return pr.chance(50) ? constant(t) : value_of(lvalue(0), t);
        switch (pr.pick(pr.opt.plain ? 10 : 14)) {
        case 0: return constant(t);
        case 1: return value_of(lvalue(depth), t);
        case 2:
        case 3: return m.node(ops[pr.pick(6)], t, integer(t, depth - 1), integer(t, depth - 1));
        case 4: return m.node(pr.chance(50) ? DIV : MOD, t, integer(t, depth - 1), m.icon(1 + pr.pick(9), t));
        case 5:
            return m.node(pr.chance(50) ? SLL : SRL, t, integer(t, depth - 1), m.icon(pr.pick(31), pr.sint));
        case 6: return m.node(pr.chance(50) ? UMINUS : NOTB, t, integer(t, depth - 1));
        case 7: return convert(integer(any_int(), depth - 1), t);
        case 8: return convert(floating(pr.dbl, depth - 1), t);
        case 9: return convert(comparison(depth), t);
        case 10: {
            MNODE *arms = m.node(COLON, t, integer(t, depth - 1), integer(t, depth - 1));
            return m.node(QUEST, t, condition(depth - 1), arms);
        }
        case 11:
            return convert(
                m.node(pr.chance(50) ? ANDAND : OROR, pr.sint, condition(depth - 1), condition(depth - 1)),
                t);
        case 12:
            return m.node(COMMAOP, t, assign(name(locals[0][0]), integer(locals[0][0]->type, 0)),
                          integer(t, depth - 1));
        default: {
            MNODE *distance = m.node(MINUS, pr.sint, pointer(depth - 1), pointer(depth - 1));
            return convert(m.node(PVCONV, pr.sint, distance, m.icon(32, pr.sint)), t);
        }
        }
    }
    MNODE *value(TYPE *t, int depth) {
        if (t->is_ptr()) return pointer(depth);
        if (t->is_fltpt()) return floating(t, depth);
        if (t->normalized() == t && t->size >= 32 && !t->is_enum()) return integer(t, depth);
        return convert(integer(pr.sint, depth), t);
    }
    MNODE *builtin(int op, const char *text, TYPE *t, MNODE *list) {
        MNODE *n = m.node(op, t, list);
        n->text = text;
        return n;
    }

    // --- statements ---
    void simple();
    void body(int depth);
    void if_else(int depth);
    void loop(int depth);
    void switch_on(int depth);
    void block(int depth);
    void leave();
    void write_handler();
    void begin();
    void end();
};

void FUNCTION::simple() {
    switch (pr.pick(25)) {
    case 0:
    case 1:
    case 2:
    case 3: {
        MNODE *lv = lvalue(2);
        return statement(assign(lv, value(lv->type, 3)));
    }
    case 4: {
        static const int ops[] = {PLUSASG, MINUSASG, MULTASG, ANDBASG, ORBASG, XORBASG};
        MSYM *s = pr.scalars[5 + pr.pick(5)];
        return statement(
            m.node(ops[pr.pick(6)], s->type, name(s), integer(s->type->size == 64 ? pr.llong : pr.sint, 2)));
    }
    case 5: {
        static const int ops[] = {DIVASG, MODASG, SLLASG, SRLASG};
        return statement(
            m.node(ops[pr.pick(4)], pr.sint, name(pr.scalars[5]), m.icon(1 + pr.pick(8), pr.sint)));
    }
    case 6:
        return statement(
            m.node(pr.chance(50) ? PLUSPLUS : MINMIN, pr.sint, name(pr.scalars[5]), m.icon(1, pr.sint)));
    case 7: return statement(m.node(STASG, pr.rec, name(rec_local), m.node(UMULT, pr.rec, name(rptr))));
    case 8: return statement(m.node(ARASG, pr.int10, name(array_local), name(array_other)));
    case 9: {
        MNODE *fields = args({m.node(ARGREF, pr.rec_p, name(rec_local)), integer(pr.llong, 2)});
        return statement(assign(name(pr.scalars[5]), call(pr.take_rec, fields)));
    }
    case 10: {
        MNODE *text = m.node(SCON, pr.char_p);
        text->text.assign("%d\n\0", 4);
        return statement(call(pr.variadic, args({text, integer(pr.sint, 1), floating(pr.dbl, 1)})));
    }
    case 11: return statement(call(pr.sink, nullptr));
    case 12: {
        MNODE *n = m.node(CALL, pr.sint, name(fptr), args({integer(pr.sint, 2), pointer(1)}));
        return statement(n);
    }
    case 13: {
        MRECORD &r = record(IF_ASSEMBLY);
        r.text = " nop ; " + std::to_string(++pr.next_probe), r.psn = pr.psn();
        return;
    }
    case 14: record(IF_COMMENT).text = "remark " + std::to_string(++pr.next_probe); return;
    case 15: return pragma(PRAG_MUST_ITERATE, {"1", std::to_string(pr.pick(100)), ""});
    case 16: {
        MNODE *sum = m.node(PLUS, pr.int4v, name(vec), name(vec2));
        return statement(assign(name(vec), sum));
    }
    case 17: {
        MNODE *z = m.node(COMPLEX, pr.cplx, floating(pr.flt, 1), floating(pr.flt, 1));
        return statement(assign(name(cx), z));
    }
    case 18: {
        MNODE *known = m.node(NEQ, pr.sint, name(pr.one_of(locals[0])), constant(pr.sint));
        return statement(m.node(NASSERT, pr.sint, known));
    }
    case 19: return statement(m.node(VPACKM, pr.int4v, integer(pr.sint, 1)));
    case 20: {
        MNODE *to = m.node(PCONV, pr.m.package->void_ptr_type(), pointer(0));
        MNODE *from = m.node(PCONV, pr.m.package->void_ptr_type(), pr.address(name(rec_other)));
        return statement(m.node(MEMCPY, pr.voidt, args({to, from, m.icon(16, pr.uint)})));
    }
    case 21:
        return statement(assign(name(pr.scalars[5]), builtin(ICALL, "__clz", pr.sint, integer(pr.uint, 1))));
    case 22:
        if (pr.opt.plain) return;
        if (pr.chance(50)) return statement(builtin(UMCALL, "__unheard_of", pr.voidt, nullptr));
        return statement(builtin(MCALL, "__unheard", pr.sint, args({integer(pr.sint, 1), pointer(1)})));
    case 23: {
        int alive = next_label++;
        statement(m.node(CBRANCH, pr.voidt, condition(1), ref(alive)));
        statement(call(pr.noreturn, m.icon(++pr.next_probe, pr.sint)));
        label(alive);
        return statement(probe());
    }
    default: return statement(probe());
    }
}

void FUNCTION::if_else(int depth) {
    int other = next_label++, end = next_label++;
    statement(m.node(CBRANCH, pr.voidt, condition(2), ref(other)));
    statement(probe());
    body(depth + 1);
    if (pr.chance(50)) {
        if (reachable) branch(end);
        label(other);
        body(depth + 1);
        if (reachable) statement(probe());
        label(end);
    } else {
        label(other);
    }
    statement(probe());
}

void FUNCTION::loop(int depth) {
    int top = next_label++, exit = next_label++;
    bool at_end = pr.chance(50);
    label(top);
    if (!at_end) statement(m.node(CBRANCH, pr.voidt, condition(2), ref(exit)));
    if (!pr.opt.plain && pr.chance(20)) pragma(PRAG_UNROLL, {"2"});
    body(depth + 1);
    statement(probe());
    if (at_end) statement(m.node(CBRANCH, pr.voidt, condition(2), ref(exit)));
    branch(top);
    label(exit);
    statement(probe());
}

void FUNCTION::switch_on(int depth) {
    int n = 1 + int(pr.pick(5)), first = next_label, other = first + n, end = other + 1;
    next_label = end + 1;
    bool has_default = pr.chance(60);
    MNODE *chain = nullptr;
    for (int i = 0; i < n; i++) {
        MNODE *c = m.node(CASE, pr.voidt, m.icon(i * 3 - 2, pr.sint), ref(first + i));
        chain = chain ? m.node(COMMA, pr.voidt, chain, c) : c;
    }
    if (has_default) chain = m.node(COMMA, pr.voidt, chain, m.node(DEFAULT, pr.voidt, ref(other)));
    MNODE *sw = m.node(SWITCH, pr.voidt, value_of(lvalue(2), pr.sint), chain);
    sw->value = n;
    statement(sw);
    if (!has_default) branch(end);
    reachable = false;
    for (int i = 0; i < n; i++) {
        label(first + i);
        statement(probe());
        body(depth + 1);
        if (reachable && pr.chance(70)) branch(end);
    }
    if (has_default) {
        label(other);
        statement(probe());
    }
    label(end);
    statement(probe());
}

void FUNCTION::block(int depth) {
    control(I_BB);
    std::vector<MSYM *> &scope = locals.emplace_back();
    std::string suffix = "_" + std::to_string(++pr.next_probe);
    scope.push_back(declare("inner" + suffix, pr.sint, 1));
    MSYM *fixed = declare("fixed" + suffix, m.package->mk_qual(pr.sint, QUAL_const), 1);
    control(I_EL);
    statement(assign(name(scope[0]), m.icon(0, pr.sint)));
    statement(assign(name(fixed), integer(pr.sint, 1)));
    body(depth + 1);
    statement(assign(name(scope[0]), name(fixed)));
    control(I_EB);
    locals.pop_back();
}

// A goto to the end of the function, guarded, so that what follows stays reachable.
void FUNCTION::leave() {
    int far = next_label++, next = next_label++;
    waiting.push_back(far);
    statement(m.node(CBRANCH, pr.voidt, condition(1), ref(next)));
    statement(probe());
    branch(far);
    label(next);
    statement(probe());
}

void FUNCTION::body(int depth) {
    int steps = 1 + int(pr.pick(4));
    for (int i = 0; i < steps && budget > 0; i++) {
        unsigned kind = depth < 4 ? pr.pick(12) : 11;
        switch (kind) {
        case 0:
        case 1: if_else(depth); break;
        case 2: loop(depth); break;
        case 3: switch_on(depth); break;
        case 4: block(depth); break;
        case 5:
            if (depth > 0 && pr.chance(30)) leave();
            break;
        default: simple();
        }
    }
}

void FUNCTION::begin() {
    MRECORD &r = record(I_BF);
    r.sym = symbol, r.psn = m.psn("main.c", 1 + pr.pick(5000), 1);
    std::vector<MSYM *> params;
    int n = 0;
    for (const fkPARAM *p = symbol->type->params(); p; p = p->next, n++) {
        static const int classes[] = {9, 17, 9};
        params.push_back(declare("p" + std::to_string(n), p->type, classes[n % 3]));
    }
    control(I_EA);
    std::vector<MSYM *> &scope = locals.emplace_back();
    MNODE *prolog = nullptr;
    for (MSYM *p : params) {
        MSYM *copy = declare(p->name, p->type, 1);
        MNODE *move = m.node(p->type->is_csu() ? STASG : ASG, p->type, name(copy), name(p));
        prolog = prolog ? m.node(PCOMMA, pr.voidt, prolog, move) : move;
        if (p->type->is_integral()) scope.push_back(copy);
        if (p->type == pr.int_p) ptr = copy;
    }
    TYPE *const types[] = {pr.sint, pr.schar, pr.ushort, pr.llong, pr.color, pr.alias, pr.flt};
    for (int i = 0; i < 7; i++)
        scope.push_back(declare("v" + std::to_string(i), types[i], i % 3 == 1 ? 4 : 1));
    for (int i = 7; i < 9; i++) scope.push_back(declare("v" + std::to_string(i), pr.sint, i == 7 ? 22 : 1));
    rec_local = declare("r", pr.rec, 1), rec_other = declare("r2", pr.rec, 1);
    array_local = declare("arr", pr.int10, 1), array_other = declare("arr2", pr.int10, 1);
    vec = declare("vec", pr.int4v, 1), vec2 = declare("vec2", pr.int4v, 1), cx = declare("z", pr.cplx, 1);
    if (!ptr) ptr = declare("ptr", pr.int_p, 1);
    rptr = declare("rptr", pr.rec_p, 1), fptr = declare("fptr", pr.fun_ptr, 1);
    control(I_EL);
    if (prolog) statement(prolog);
}

void FUNCTION::end() {
    for (int l : waiting) label(l);
    MNODE *self = name(symbol);
    if (returns->is_void()) statement(m.node(URETURN, pr.voidt, self));
    else statement(m.node(RETURN, returns, self, value(returns, 2)));
    if (has_handler) write_handler();
    control(I_EF);
}

// A catch behind the function's end, and the table that leads to it: cleanups in and around the region of the catch,
// ends of cleanups, and an entry that no call names.
void FUNCTION::write_handler() {
    label(handler);
    has_handler = false; // calls in here are not caught
    statement(probe());
    if (returns->is_void()) statement(m.node(URETURN, pr.voidt, name(symbol)));
    else statement(m.node(RETURN, returns, name(symbol), value(returns, 0)));
    MRECORD &r = record(IF_EHT);
    auto entry = [&](unsigned id, EHT_ENTRY_KIND kind, unsigned next) -> EHT_ENTRY & {
        EHT_ENTRY &e = r.eht.emplace_back();
        e.id = id, e.kind = kind, e.next = next;
        if (kind == EHK_CLEANUP) e.cleanup = call(pr.cleanup, pr.address(name(rec_local)));
        return e;
    };
    entry(1, EHK_ROOT, 0);
    entry(3, EHK_CATCH, 1).catches = {{"std::bad", handler, false}, {"", handler, true}};
    r.eht.back().count = 2;
    entry(2, EHK_CLEANUP, 1);
    entry(4, EHK_CLEANUP, 3);
    entry(5, EHK_CLEANUP_END, 3);
    entry(6, EHK_THROW_TERMINATE, 1);
    entry(7, EHK_CATCH_END, 2);
}

void make_function(PROGRAM &pr, int number) {
    MSYM *s = pr.defined[size_t(number)];
    FUNCTION f(pr, s, pr.opt.statements);
    f.begin();
    if (number % 3 == 2) {
        f.has_handler = true;
        f.handler = f.next_label++;
        MNODE *caught = f.probe();
        caught->eh = 3;
        f.statement(caught);
    }
    if (number % 7 == 3) { // a first BRANCH to what follows
        f.branch(f.next_label);
        f.label(f.next_label++);
    }
    while (f.budget > 0) { f.body(0); }
    f.end();
}

// Expressions that lean to one side, and blocks in blocks.
void make_deep_function(PROGRAM &pr, MSYM *s, int levels) {
    FUNCTION f(pr, s, 1);
    MODEL &m = pr.m;
    f.begin();
    MNODE *left = m.icon(1, pr.sint), *right = m.icon(2, pr.sint);
    for (int i = 0; i < levels; i++) {
        left = m.node(PLUS, pr.sint, left, m.icon(i, pr.sint));
        right = m.node(XORB, pr.sint, m.icon(i, pr.sint), right);
    }
    f.statement(f.assign(f.name(pr.scalars[5]), left));
    f.statement(f.assign(f.name(pr.scalars[5]), right));
    int blocks = std::min(levels, 100000);
    for (int i = 0; i < blocks; i++) {
        f.control(I_BB);
        f.control(I_EL);
    }
    f.statement(f.probe());
    for (int i = 0; i < blocks; i++) f.control(I_EB);
    f.end();
}

OPTIONS parse(int argc, char **argv) {
    OPTIONS o;
    for (int i = 1; i < argc; i++) {
        std::string a = argv[i];
        auto number = [&] { return i + 1 < argc ? atoi(argv[++i]) : 0; };
        if (a == "--seed") o.seed = unsigned(number());
        else if (a == "--functions") o.functions = number();
        else if (a == "--statements") o.statements = number();
        else if (a == "--deep") o.deep = number();
        else if (a == "--damage") o.damage = number();
        else if (a == "--plain") o.plain = true;
        else if (a == "--count") o.count = true;
        else o.output = argv[i];
    }
    return o;
}

} // namespace

int main(int argc, char **argv) {
    OPTIONS opt = parse(argc, argv);
    if (!opt.output) {
        fprintf(stderr, "usage: genfile [--seed S] [--functions N] [--statements N] [--plain] [--deep N] "
                        "[--count] OUTPUT\n");
        return 1;
    }
    MODEL m;
    init_types();
    m.producer = "genfile";
    for (unsigned id = 0; id < 2; id++) {
        OPTION_SET &set = m.options.emplace_back();
        set.id = id, set.strings = {id ? "--opt_level=0" : "--opt_level=1"};
    }
    PROGRAM pr(m, opt);
    pr.make_types();
    pr.make_globals();
    pr.make_initialisers();

    TYPE_PKG *p = m.package;
    TYPE *types[] = {p->mk_func(pr.sint, {pr.sint, pr.int_p}), p->mk_func(pr.voidt, std::vector<TYPE *>()),
                     p->mk_func(pr.llong, {pr.llong, pr.schar, pr.rec}),
                     p->mk_func(pr.dbl, {pr.dbl, pr.color})};
    for (int i = 0; i < opt.functions; i++)
        pr.defined.push_back(pr.global(("_f" + std::to_string(i)).c_str(), types[i % 4], i % 5 ? 2 : 3));
    MSYM *deep = opt.deep ? pr.global("_deep", types[1], 2) : nullptr;

    MRECORD &asm_record = m.items.emplace_back().record;
    asm_record.tag = IF_ASSEMBLY, asm_record.text = " .global thing", asm_record.psn = pr.psn();
    MRECORD &remark = m.items.emplace_back().record;
    remark.tag = IF_COMMENT, remark.text = "file remark";
    MRECORD &ident = m.items.emplace_back().record;
    ident.tag = IF_PRAGMA, ident.pragma = m.pragma(PRAG_IDENT, {"file"});
    for (int i = 0; i < opt.functions; i++) make_function(pr, i);
    if (deep) make_deep_function(pr, deep, opt.deep);
    if (opt.damage) damage(m, opt.seed, opt.damage);
    if (opt.count) printf("%zu\n", m.node_arena.size());
    return write_model(m, opt.output) ? 0 : 1;
}
