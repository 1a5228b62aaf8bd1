// arm_neon.h, arm_acle.h and vectors of the language that need more than one operator.
//
// The front end's header calls built-in functions that get their operands as vectors of bytes, and as last argument a
// code for the type meant. What the table of intrinsics has (support/intrin.h) becomes an ICALL: its rows say how
// arm_neon.h names them. Loads, stores, shuffles, conversions and lanes become trees. An operand that is needed more than
// once goes to a temporary first; all that has to come first stands in one chain of COMMAOPs before the value.
#include "tools/parse/lower.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "support/intrin.h"
#include "typepkg/type_lanes.h"

using namespace clang;

namespace {

// The codes of the front end: the kind of lane in the low bits, then unsigned, then 16 bytes.
LANE_SHAPE shape_of_code(int64_t code, bool &is_poly) {
    static const LANE lanes[] = {LANE_s8,  LANE_s16,  LANE_s32,  LANE_s64, LANE_u8,  LANE_u16,
                                 LANE_u64, LANE_none, LANE_none, LANE_f32, LANE_f64, LANE_none};
    unsigned kind = unsigned(code & 15);
    LANE_SHAPE s;
    is_poly = kind >= 4 && kind <= 6;
    if (kind >= sizeof lanes / sizeof *lanes || lanes[kind] == LANE_none) return s;
    s.lane = lanes[kind];
    if ((code & 16) && kind < 4) s.lane = LANE(s.lane + 1);
    s.count = uint8_t((code & 32 ? 128 : 64) / lane_bits(s.lane));
    return s;
}

LANE_SHAPE as_unsigned(LANE_SHAPE s) { return {lane_of_width(lane_bits(s.lane), false), s.count}; }

// How the front end names the built-in of a row for operands of that size.
std::string neon_name(const INTRIN_ROW &r, bool quad) {
    std::string s;
    for (const char *p = r.machine; *p && *p != '('; p++)
        if (*p == '@') s += quad ? "q" : "";
        else if (*p == '$') s += "_v";
        else s += *p;
    return s;
}

bool begins(const std::string &s, const char *with) { return s.rfind(with, 0) == 0; }

} // namespace

// --- small trees on vectors ---

TYPE *LOWER::vector_type(LANE_SHAPE s) {
    CanQualType lanes[] = {ctx.SignedCharTy, ctx.UnsignedCharTy, ctx.ShortTy,    ctx.UnsignedShortTy,
                           ctx.IntTy,        ctx.UnsignedIntTy,  ctx.LongLongTy, ctx.UnsignedLongLongTy,
                           ctx.FloatTy,      ctx.DoubleTy};
    TYPE *lane = type_of(lanes[s.lane]);
    return s.count ? m.package->mk_vector(lane, s.count) : lane;
}

// The bits of a vector or of a double word as another.
MNODE *LOWER::bits_as(MNODE *v, TYPE *to) {
    while (v->op == VRCONV && v->left->type->size == to->size && v->left->type->is_vector()) v = v->left;
    return v->type == to ? v : m.node(VRCONV, to, v);
}

// A name for a value: set in `first`, which comes before all uses.
MSYM *LOWER::keep(MNODE *v, MNODE *&first) {
    TYPE *t = v->type->is_qual() ? m.package->remove_known_qual(v->type, 255) : v->type;
    MSYM *s = temp(t);
    MNODE *set = m.node(ASG, t, m.name(s), v);
    first = first ? comma_op(first, set) : set;
    return s;
}

MNODE *LOWER::lane_of(MSYM *v, unsigned i) {
    return m.node(VFIELD, v->type->elem_type(), m.name(v), icon(i, int_t()));
}

MNODE *LOWER::pack_of(const std::vector<MNODE *> &lanes, TYPE *type) {
    if (lanes.size() == 1) return m.node(VPACKM, type, lanes[0]);
    MNODE *list = nullptr;
    for (MNODE *v : lanes) list = append_arg(list, v);
    return m.node(VPACK, type, list);
}

MNODE *LOWER::intrinsic(const char *name, TYPE *result, const std::vector<MNODE *> &operands) {
    MNODE *list = nullptr;
    for (MNODE *v : operands) list = append_arg(list, v);
    MNODE *n = m.node(ICALL, result, list);
    n->text = name;
    return n;
}

// A lane-wise relation as a vector of integers, all ones where it holds.
MNODE *LOWER::vector_comparison(BinaryOperatorKind kind, MNODE *l, MNODE *r, TYPE *result) {
    TYPE *t = l->type->is_qual() ? l->type->stqs() : l->type;
    LANE_SHAPE s = lane_shape_of(t);
    if (lane_bits(s.lane) <= 32 && (s.bits() == 64 || s.bits() == 128)) {
        TYPE *mask = vector_type(as_unsigned(s));
        if (kind == BO_LT || kind == BO_LE) std::swap(l, r);
        const char *name = kind == BO_EQ || kind == BO_NE   ? "__vceq"
                           : kind == BO_LT || kind == BO_GT ? "__vcgt"
                                                            : "__vcge";
        MNODE *v = intrinsic(name, mask, {l, r});
        if (kind == BO_NE) v = m.node(NOTB, mask, v);
        return bits_as(v, result);
    }
    MNODE *first = nullptr;
    MSYM *a = keep(l, first), *b = keep(r, first);
    TYPE *lane = result->elem_type();
    int op = opcode_for(kind, t->elem_type());
    std::vector<MNODE *> lanes;
    for (unsigned i = 0; i < t->num_elem(); i++) {
        MNODE *yes = m.node(op, int_t(), lane_of(a, i), lane_of(b, i));
        lanes.push_back(convert(m.node(UMINUS, int_t(), yes), lane));
    }
    return comma_op(first, pack_of(lanes, result));
}

// __builtin_shufflevector
MNODE *LOWER::shuffle(const ShuffleVectorExpr *e) {
    MNODE *first = nullptr;
    MSYM *a = keep(rvalue(e->getExpr(0)), first), *b = keep(rvalue(e->getExpr(1)), first);
    TYPE *t = unqualified(e->getType());
    unsigned n = unsigned(a->type->num_elem());
    std::vector<MNODE *> lanes;
    for (unsigned i = 0; i < t->num_elem(); i++) {
        int64_t at = e->getShuffleMaskIdx(ctx, i).getSExtValue();
        unsigned k = at < 0 ? 0 : unsigned(at);
        lanes.push_back(k < n ? lane_of(a, k) : lane_of(b, k - n));
    }
    return comma_op(first, pack_of(lanes, t));
}

// --- built-in functions of the SIMD unit ---

struct NEON_LOWER {
    LOWER &l;
    const CallExpr *e;
    std::string name; // without __builtin_neon_ and _v
    bool quad = false, is_poly = false;
    LANE_SHAPE type = {};
    MNODE *first = nullptr;

    unsigned n_args() { return e->getNumArgs(); }
    MNODE *arg(unsigned i) { return l.rvalue(e->getArg(i)); }
    // Operand i as lanes of that kind, as many as it has room for.
    MNODE *vec(unsigned i, LANE lane) {
        MNODE *v = arg(i);
        return l.bits_as(v, l.vector_type({lane, uint8_t(v->type->size / lane_bits(lane))}));
    }
    MNODE *vec(unsigned i) { return vec(i, type.lane); }
    int64_t constant(unsigned i) { return e->getArg(i)->EvaluateKnownConstInt(l.ctx).getExtValue(); }
    MNODE *done(MNODE *v) { return l.comma_op(first, l.bits_as(v, l.unqualified(e->getType()))); }
    MNODE *done_nothing() { return first ? first : l.icon(0, l.int_t()); }
    void then(MNODE *effect) { first = first ? l.comma_op(first, effect) : effect; }
    TYPE *whole() { return l.vector_type(type); }
    TYPE *lane_t() { return l.vector_type({type.lane, 0}); }

    // A pointer in a temporary, as a pointer to bytes; element i of that type behind it.
    MSYM *pointer(unsigned i) {
        MNODE *p = arg(i);
        TYPE *cp = l.pointer_to(l.char_t());
        return l.keep(l.m.node(PCONV, cp, p), first);
    }
    MNODE *at(MSYM *p, uint64_t bytes, TYPE *t) {
        MNODE *a = l.m.name(p);
        if (bytes) a = l.m.node(PLUS, p->type, a, l.icon(int64_t(bytes), l.int_t()));
        return l.m.node(UMULT, t, l.m.node(PCONV, l.pointer_to(t), a));
    }
    MNODE *element(MSYM *p, unsigned i) { return at(p, uint64_t(i) * lane_bits(type.lane) / 8, lane_t()); }
    // Bytes between memory and a vector: the pointer is aligned to an element only.
    void copy(MNODE *to, MNODE *from, unsigned bytes) {
        TYPE *cp = l.pointer_to(l.char_t());
        auto plain = [&](MNODE *p) { return p->type == cp ? p : l.m.node(PCONV, cp, p); };
        MNODE *pair = l.m.node(COMMA, l.void_t(), plain(to), plain(from));
        then(l.m.node(MEMCPY, cp, l.m.node(COMMA, l.void_t(), pair, l.icon(bytes, l.uint_t()))));
    }
    MNODE *plus(MSYM *p, uint64_t bytes) {
        MNODE *a = l.m.name(p);
        return bytes ? l.m.node(PLUS, p->type, a, l.icon(int64_t(bytes), l.int_t())) : a;
    }

    MNODE *table_row();
    MNODE *memory();
    MNODE *load_several(unsigned n, const std::string &how);
    MNODE *store_several(unsigned n, const std::string &how);
    MNODE *two_results();
    MNODE *lanes();
    MNODE *shifts_in();
    MNODE *conversion();
    MNODE *table_look_up();
    MNODE *lower();
};

// A row of the table whose result is the type that the code says.
MNODE *NEON_LOWER::table_row() {
    if (is_poly) {
        if (name == "vmul" || name == "vmulq")
            return done(l.intrinsic("__vmul_p", whole(), {vec(0), vec(1)}));
        if (name == "vmull") {
            TYPE *wide = l.vector_type({LANE_u16, 8});
            return done(l.intrinsic("__vmul_lp", wide, {vec(0, LANE_u8), vec(1, LANE_u8)}));
        }
    }
    bool swapped = begins(name, "vcale") || begins(name, "vcalt");
    std::string wanted = name + "_v";
    if (swapped) wanted[3] = 'g';
    size_t count;
    const INTRIN_ROW *rows = intrin_rows(count);
    for (size_t i = 0; i < count; i++) {
        const INTRIN_ROW &r = rows[i];
        if (!r.machine || !strchr(r.machine, '(') || (r.flags & INTRIN_WORD)) continue;
        if (neon_name(r, false) != wanted && neon_name(r, true) != wanted) continue;
        for (const INTRIN_FORM &f : intrin_forms(r)) {
            bool named = neon_name(r, f.base.bits() == 128) == wanted;
            if (!named || f.result != type || f.n + 1u != n_args()) continue;
            std::vector<MNODE *> operands;
            bool fits = true;
            for (unsigned k = 0; k < f.n && fits; k++) {
                QualType q = e->getArg(k)->getType();
                bool immediate = f.immediates >> k & 1;
                fits = immediate || l.ctx.getTypeSize(q) == f.operand[k].bits();
            }
            if (!fits) continue;
            for (unsigned k = 0; k < f.n; k++) {
                if (!(f.immediates >> k & 1)) {
                    operands.push_back(vec(k, f.operand[k].lane));
                    continue;
                }
                int64_t v = constant(k);
                if (!intrin_immediate_fits(f, k, v)) {
                    // lengthened and not shifted
                    if (v == 0 && !strcmp(r.name, "__vshl_li"))
                        return done(l.m.node(SCONV, whole(), operands[0]));
                    l.refuse(e->getBeginLoc(), "the constant operand of " + name);
                }
                operands.push_back(l.icon(v, l.int_t()));
            }
            if (swapped) std::swap(operands[0], operands[1]);
            return done(l.intrinsic(r.name, whole(), operands));
        }
    }
    return nullptr;
}

// vld1 ... vst4 with all their endings.
MNODE *NEON_LOWER::memory() {
    bool load = begins(name, "vld");
    if ((!load && !begins(name, "vst")) || name.size() < 4 || !isdigit(static_cast<unsigned char>(name[3])))
        return nullptr;
    unsigned n = unsigned(name[3] - '0');
    std::string how = name.substr(name[4] == 'q' ? 5 : 4); // "", "_lane", "_dup", "_x2"
    unsigned bytes = type.bits() / 8;
    if (n == 1 && begins(how, "_x")) {
        n = unsigned(how[2] - '0');
        if (load) {
            MSYM *to = pointer(0), *from = pointer(1);
            copy(l.m.name(to), l.m.name(from), bytes * n);
            return done_nothing();
        }
        MSYM *to = pointer(0);
        for (unsigned i = 0; i < n; i++) {
            MSYM *v = l.keep(vec(1 + i), first);
            copy(plus(to, i * bytes), l.address_of(l.m.name(v)), bytes);
        }
        return done_nothing();
    }
    if (n > 1) return load ? load_several(n, how) : store_several(n, how);
    MSYM *p = pointer(0);
    if (how == "_dup") return done(l.m.node(VPACKM, whole(), element(p, 0)));
    if (how == "_lane") {
        MSYM *v = l.keep(vec(1), first);
        MNODE *lane = l.lane_of(v, unsigned(constant(2)));
        if (!load) {
            then(l.m.node(ASG, lane_t(), element(p, 0), lane));
            return done_nothing();
        }
        then(l.m.node(ASG, lane_t(), lane, element(p, 0)));
        return done(l.m.name(v));
    }
    if (!how.empty()) return nullptr;
    if (load) {
        MSYM *v = l.temp(whole());
        copy(l.address_of(l.m.name(v)), l.m.name(p), bytes);
        return done(l.m.name(v));
    }
    MSYM *v = l.keep(vec(1), first);
    copy(l.m.name(p), l.address_of(l.m.name(v)), bytes);
    return done_nothing();
}

// (results*, pointer, [vectors, lane,] code): element i of vector r is number i * n + r in memory.
MNODE *NEON_LOWER::load_several(unsigned n, const std::string &how) {
    MSYM *to = pointer(0), *from = pointer(1);
    std::vector<MSYM *> v;
    for (unsigned r = 0; r < n; r++) {
        if (how == "_lane") {
            v.push_back(l.keep(vec(2 + r), first));
            then(l.m.node(ASG, lane_t(), l.lane_of(v[r], unsigned(constant(2 + n))), element(from, r)));
            continue;
        }
        if (how == "_dup") {
            v.push_back(l.keep(l.m.node(VPACKM, whole(), element(from, r)), first));
            continue;
        }
        std::vector<MNODE *> lanes;
        for (unsigned i = 0; i < type.count; i++) lanes.push_back(element(from, i * n + r));
        v.push_back(l.keep(l.pack_of(lanes, whole()), first));
    }
    for (unsigned r = 0; r < n; r++)
        then(l.m.node(ASG, whole(), at(to, r * type.bits() / 8, whole()), l.m.name(v[r])));
    return done_nothing();
}

MNODE *NEON_LOWER::store_several(unsigned n, const std::string &how) {
    MSYM *to = pointer(0);
    std::vector<MSYM *> v;
    for (unsigned r = 0; r < n; r++) v.push_back(l.keep(vec(1 + r), first));
    auto store = [&](unsigned place, unsigned r, unsigned lane) {
        then(l.m.node(ASG, lane_t(), element(to, place), l.lane_of(v[r], lane)));
    };
    for (unsigned r = 0; how == "_lane" && r < n; r++) store(r, r, unsigned(constant(1 + n)));
    for (unsigned i = 0; how.empty() && i < type.count; i++)
        for (unsigned r = 0; r < n; r++) store(i * n + r, r, i);
    return done_nothing();
}

// vtrn, vzip, vuzp: (results*, a, b, code)
MNODE *NEON_LOWER::two_results() {
    std::string what = name.substr(0, 4);
    if (what != "vtrn" && what != "vzip" && what != "vuzp") return nullptr;
    MSYM *to = pointer(0), *a = l.keep(vec(1), first), *b = l.keep(vec(2), first);
    unsigned n = type.count;
    for (unsigned r = 0; r < 2; r++) {
        std::vector<MNODE *> lanes;
        for (unsigned i = 0; i < n; i++) {
            unsigned from; // of a's lanes followed by b's
            if (what == "vtrn") from = i % 2 * n + (i & ~1u) + r;
            else if (what == "vzip") from = i % 2 * n + (i + r * n) / 2;
            else from = i * 2 + r;
            lanes.push_back(from < n ? l.lane_of(a, from) : l.lane_of(b, from - n));
        }
        then(l.m.node(ASG, whole(), at(to, r * type.bits() / 8, whole()), l.pack_of(lanes, whole())));
    }
    return done_nothing();
}

MNODE *NEON_LOWER::lanes() {
    if (begins(name, "vget_lane_") || begins(name, "vgetq_lane_")) {
        MSYM *v = l.keep(arg(0), first);
        return l.comma_op(first, l.convert(l.lane_of(v, unsigned(constant(1))), l.unqualified(e->getType())));
    }
    if (begins(name, "vset_lane_") || begins(name, "vsetq_lane_")) {
        MSYM *x = l.keep(arg(0), first), *v = l.keep(arg(1), first);
        MNODE *lane = l.lane_of(v, unsigned(constant(2)));
        then(l.m.node(ASG, lane->type, lane, l.convert(l.m.name(x), lane->type)));
        return l.comma_op(first, l.m.name(v));
    }
    if (begins(name, "splat")) {
        MSYM *v = l.keep(vec(0), first);
        bool wide = begins(name, "splatq");
        TYPE *t = l.vector_type({type.lane, uint8_t((wide ? 128 : 64) / lane_bits(type.lane))});
        return done(l.m.node(VPACKM, t, l.lane_of(v, unsigned(constant(1)))));
    }
    if (begins(name, "vqdmulh") || begins(name, "vqrdmulh")) {
        if (name.find("_lane") == std::string::npos) return nullptr;
        MSYM *v = l.keep(vec(1), first);
        MNODE *b = l.m.node(VPACKM, whole(), l.lane_of(v, unsigned(constant(2))));
        return done(l.intrinsic(name[2] == 'r' ? "__vqrdmlh" : "__vqdmlh", whole(), {vec(0), b}));
    }
    if (name == "vext" || name == "vextq") {
        MSYM *a = l.keep(vec(0), first), *b = l.keep(vec(1), first);
        std::vector<MNODE *> lanes;
        unsigned from = unsigned(constant(2)), n = type.count;
        for (unsigned i = from; i < from + n; i++)
            lanes.push_back(i < n ? l.lane_of(a, i) : l.lane_of(b, i - n));
        return done(l.pack_of(lanes, whole()));
    }
    return nullptr;
}

// A shifted operand added to, or put into, another.
MNODE *NEON_LOWER::shifts_in() {
    bool rounds = begins(name, "vrsra");
    if (rounds || begins(name, "vsra")) {
        MNODE *a = vec(0), *by = l.icon(constant(2), l.int_t());
        MNODE *shifted = l.intrinsic(rounds ? "__vrshr_i" : "__vshr_i", whole(), {vec(1), by});
        return done(l.m.node(PLUS, whole(), a, shifted));
    }
    bool right = begins(name, "vsri");
    if (!right && !begins(name, "vsli")) return nullptr;
    type = as_unsigned(type);
    int64_t by = constant(2);
    unsigned bits = lane_bits(type.lane);
    uint64_t all = ~0ull >> (64 - bits);
    uint64_t kept = right ? (by == int64_t(bits) ? all : all & ~(all >> by)) : (1ull << by) - 1;
    MNODE *old = l.m.node(ANDB, whole(), vec(0), l.m.node(VPACKM, whole(), l.icon(int64_t(kept), lane_t())));
    MNODE *shifted = l.intrinsic(right ? "__vshr_i" : "__vshl_ni", whole(), {vec(1), l.icon(by, l.int_t())});
    return done(l.m.node(ORB, whole(), old, shifted));
}

MNODE *NEON_LOWER::conversion() {
    if (name == "vmovl") {
        LANE half = lane_of_width(lane_bits(type.lane) / 2, lane_is_signed(type.lane));
        return done(l.m.node(SCONV, whole(), vec(0, half)));
    }
    if (!begins(name, "vcvt")) return nullptr;
    std::string rest = name.substr(name[4] == 'q' ? 5 : 4); // _f32, _s32, _u32, _n_f32 ...
    bool scaled = begins(rest, "_n");
    if (scaled) rest = rest.substr(2);
    LANE_SHAPE reals{LANE_f32, type.count}, words = type;
    if (lane_bits(type.lane) != 32) return nullptr;
    auto power = [&](int64_t by) {
        return l.m.node(VPACKM, l.vector_type(reals),
                        l.float_constant(std::ldexp(1, int(by)), l.vector_type({LANE_f32, 0})));
    };
    if (rest == "_f32") { // the code tells the integers
        MNODE *v = l.m.node(SCONV, l.vector_type(reals), vec(0, words.lane));
        if (scaled) v = l.m.node(MULT, v->type, v, power(-constant(1)));
        return done(v);
    }
    if (rest != "_s32" && rest != "_u32") return nullptr;
    words.lane = rest == "_s32" ? LANE_s32 : LANE_u32;
    MNODE *v = vec(0, LANE_f32);
    if (scaled) v = l.m.node(MULT, v->type, v, power(constant(1)));
    return done(l.m.node(SCONV, l.vector_type(words), v));
}

// vtbl1 to vtbl4 (tables, indices, code); vtbx1 to vtbx4 (what else, tables, indices, code)
MNODE *NEON_LOWER::table_look_up() {
    if (!begins(name, "vtbl") && !begins(name, "vtbx")) return nullptr;
    bool keeps = name[3] == 'x';
    unsigned n = unsigned(name[4] - '0'), base = keeps ? 1 : 0;
    type = {LANE_u8, 8};
    MSYM *other = keeps ? l.keep(vec(0), first) : nullptr;
    std::vector<MSYM *> tables;
    for (unsigned i = 0; i < n; i++) tables.push_back(l.keep(vec(base + i), first));
    MSYM *index = l.keep(vec(base + n), first);
    auto spread = [&](unsigned v) { return l.m.node(VPACKM, whole(), l.icon(v, lane_t())); };
    MNODE *result = nullptr;
    for (unsigned i = 0; i < n; i++) { // an index into another table wraps to one outside
        MNODE *at = l.m.name(index);
        if (i) at = l.m.node(MINUS, whole(), at, spread(8 * i));
        MNODE *part = l.intrinsic("__vtbl", whole(), {l.m.name(tables[i]), at});
        result = result ? l.m.node(ORB, whole(), result, part) : part;
    }
    if (keeps) {
        MNODE *inside = l.intrinsic("__vcgt", whole(), {spread(8 * n), l.m.name(index)});
        result = l.intrinsic("__vbsl", whole(), {inside, result, l.m.name(other)});
    }
    return done(result);
}

MNODE *NEON_LOWER::lower() {
    if (name.size() > 2 && name.compare(name.size() - 2, 2, "_v") == 0) {
        type = shape_of_code(constant(n_args() - 1), is_poly);
        name.erase(name.size() - 2);
        if (type.lane == LANE_none || type.lane == LANE_f64) return nullptr;
    }
    MNODE *v = nullptr;
    (v = lanes()) || (type.count && ((v = memory()) || (v = two_results()) || (v = shifts_in()) ||
                                     (v = conversion()) || (v = table_look_up()) || (v = table_row())));
    return v;
}

MNODE *LOWER::neon_call(const CallExpr *e, const std::string &name) {
    // The header turns lanes around there, and back; the built-ins of the file know one order only.
    if (ctx.getTargetInfo().isBigEndian())
        refuse(e->getBeginLoc(), "an intrinsic of the SIMD unit on a big-endian target (" + name + ")");
    NEON_LOWER n{*this, e, name.substr(strlen("__builtin_neon_"))};
    MNODE *v = n.lower();
    if (!v) refuse(e->getBeginLoc(), "the built-in function " + name);
    return v;
}

// --- built-in functions on words ---

MNODE *LOWER::acle_call(const CallExpr *e, const std::string &name) {
    std::string what = name.substr(strlen("__builtin_arm_"));
    unsigned n = e->getNumArgs();
    auto arg = [&](unsigned i) { return rvalue(e->getArg(i)); };
    auto constant = [&](unsigned i) {
        return icon(e->getArg(i)->EvaluateKnownConstInt(ctx).getExtValue(), int_t());
    };
    TYPE *result = e->getType()->isVoidType() ? void_t() : unqualified(e->getType());
    auto zero = [&] { return icon(0, int_t()); };
    if (what == "dmb" || what == "dsb" || what == "isb") return barrier();
    if (what == "nop" || what == "yield" || what == "wfe" || what == "wfi" || what == "sev" ||
        what == "sevl" || what == "dbg" || what == "prefetch")
        return nullptr;
    if (what == "ssat") return convert(intrinsic("_ssatl", int_t(), {arg(0), zero(), constant(1)}), result);
    if (what == "usat") return convert(intrinsic("_usatl", uint_t(), {arg(0), zero(), constant(1)}), result);
    if (what == "rbit") return convert(intrinsic("_rbit", uint_t(), {convert(arg(0), uint_t())}), result);
    if (what == "cls") {
        MSYM *f = library_function("__builtin_clrsb", ctx.IntTy, {ctx.IntTy});
        return convert(call_of(f, convert(arg(0), int_t()), int_t()), result);
    }
    size_t count;
    const INTRIN_ROW *rows = intrin_rows(count);
    for (size_t i = 0; i < count; i++) {
        const INTRIN_ROW &r = rows[i];
        if (!(r.flags & INTRIN_WORD) || !r.machine || strchr(r.machine, '\\')) continue;
        if (std::string(r.machine, strcspn(r.machine, " ")) != what) continue;
        INTRIN_FORM f = intrin_forms(r)[0];
        std::vector<MNODE *> operands;
        for (unsigned k = 0; k < n; k++) operands.push_back(f.immediates >> k & 1 ? constant(k) : arg(k));
        if (f.n == n + 1 && (f.immediates >> n & 1)) operands.push_back(zero()); // not rotated
        // A double word that is added to stands first here.
        if (n == 3 && f.result == f.operand[0] && f.result.bits() == 64)
            std::rotate(operands.begin(), operands.end() - 1, operands.end());
        if (operands.size() != f.n) return nullptr;
        TYPE *t = vector_type({f.result.lane, 0});
        for (unsigned k = 0; k < f.n; k++)
            operands[k] = convert(operands[k], vector_type({f.operand[k].lane, 0}));
        return convert(intrinsic(r.name, t, operands), result);
    }
    return nullptr;
}
