// Vectors and complex numbers: GNU vector types, _Complex.
#include "tools/gen/gen.h"

namespace {

bool is_place(int op) { return op == NAME || op == UMULT || op == STDOT || op == STREF || op == VFIELD; }

CK lane_of_size(uint64_t bytes, bool is_signed) {
    CK k = bytes == 1 ? CK_s8 : bytes == 2 ? CK_s16 : bytes == 4 ? CK_s32 : CK_s64;
    return is_signed ? k : CK(k + 1);
}

} // namespace

// The bytes of a value as another type; what is missing at the top is zero.
EXPR FUNC_GEN::reinterpret(EXPR e, const CTYPE *to) {
    const CTYPE *from = e.type;
    if (from == to) return e;
    if (from->is_scalar() && to->is_scalar() && !from->is_float() && !to->is_float()) return convert(e, to);
    bool vectors = from->kind == CK_vector && to->kind == CK_vector;
    bool integers = (from->kind == CK_vector || from->is_int()) && (to->kind == CK_vector || to->is_int());
    if (from->bytes == to->bytes && (vectors || integers)) {
        EXPR r;
        r.text = "(" + to->text + ")" + operand(e, P_UNARY), r.prec = P_UNARY, r.type = to;
        r.fx = e.fx, r.depth = e.depth + 1;
        return r;
    }
    if (from->kind == CK_none || to->kind == CK_none || from->kind == CK_void || to->kind == CK_void)
        cannot(nullptr, "no conversion from " + from->text + " to " + to->text);
    auto plain = [](std::string s) {
        for (char &c : s)
            if (!isalnum(static_cast<unsigned char>(c))) c = '_';
        return s;
    };
    std::string name = g.support_for("ql_" + plain(to->text) + "_from_" + plain(from->text), [&] {
        return "static inline " + to->declare("ql_" + plain(to->text) + "_from_" + plain(from->text)) + "(" +
               from->declare("a") + ") { union { " + from->declare("from") + "; " + to->declare("to") +
               "; u8 all[" + std::to_string(std::max(from->bytes, to->bytes)) +
               "]; } u = {.all = {0}}; u.from = a; return u.to; }\n";
    });
    return call_text(name, {e}, to);
}

EXPR FUNC_GEN::vector_of(const std::vector<std::string> &lanes, const CTYPE *type, const EFFECTS &fx) {
    EXPR e;
    e.text = "(" + type->text + "){";
    for (size_t i = 0; i < lanes.size(); i++) e.text += (i ? ", " : "") + lanes[i];
    e.text += "}";
    e.prec = P_POSTFIX, e.type = type, e.fx = fx, e.depth = 1;
    return e;
}

EXPR FUNC_GEN::splat(EXPR e, const CTYPE *type) {
    if (type->part->is_scalar() && e.type->is_scalar()) e = convert(e, type->part);
    e = keep(e);
    return vector_of(std::vector<std::string>(type->lanes, e.text), type, e.fx);
}

// VPACK: its parts one after the other, vectors lane by lane; VPACKM: one part over and over; VPACK1P: the first
// once, the second in what is left.
EXPR FUNC_GEN::pack(MNODE *t) {
    const CTYPE *type = types.of(t->type);
    if (type->kind != CK_vector) cannot(t, "a result that is no vector");
    if (t->op == VPACK1P) return packed({t->left, t->right}, true, type);
    if (t->op == VPACKM) return packed({t->left}, true, type);
    return packed(list_of(t->left), false, type);
}

// The last part again and again with `spread`.
EXPR FUNC_GEN::packed(const std::vector<MNODE *> &nodes, bool spread, const CTYPE *type) {
    std::vector<EXPR> v = ordered(nodes.size(), [&](size_t i) {
        EXPR e = value(nodes[i]);
        return e.type->is_scalar() ? convert(e, type->part) : e;
    });
    std::vector<std::string> lanes;
    EFFECTS fx;
    auto append = [&](EXPR &e, bool again) {
        if (e.type->kind == CK_vector || again) e = keep(e);
        if (e.type->kind == CK_vector)
            for (uint64_t i = 0; i < e.type->lanes; i++)
                lanes.push_back(e.text + "[" + std::to_string(i) + "]");
        else lanes.push_back(operand(e, P_ASSIGN));
        fx.add(e.fx);
    };
    for (size_t i = 0; i < v.size(); i++) append(v[i], spread && i + 1 == v.size());
    if (spread && !v.empty())
        while (lanes.size() < type->lanes) {
            size_t before = lanes.size();
            append(v.back(), true);
            if (lanes.size() == before) break;
        }
    if (lanes.size() > type->lanes) lanes.resize(type->lanes);
    return vector_of(lanes, type, fx);
}

EXPR FUNC_GEN::wide_conversion(MNODE *t) {
    const CTYPE *to = types.of(t->type);
    EXPR e = value(t->left);
    const CTYPE *from = e.type;
    if (from == to) return e;
    auto cast = [&] {
        EXPR r;
        r.text = "(" + to->text + ")" + operand(e, P_UNARY), r.prec = P_UNARY, r.type = to;
        r.fx = e.fx, r.depth = e.depth + 1;
        return r;
    };
    if (from->kind == CK_complex && to->kind == CK_complex) return cast();
    if (from->kind == CK_complex && to->is_scalar()) {
        EXPR r;
        r.text = "__real__ " + operand(e, P_UNARY), r.prec = P_UNARY, r.type = from->part, r.fx = e.fx;
        return convert(r, to);
    }
    if (from->is_scalar() && to->kind == CK_complex) return cast();
    bool vectors = from->kind == CK_vector && to->kind == CK_vector;
    if (vectors && from->lanes == to->lanes && t->op == SCONV) {
        const CTYPE *a = from->part, *b = to->part;
        if (a->bytes == b->bytes && a->is_int() && b->is_int()) return cast();
        EXPR type;
        type.text = to->text;
        return call_text("__builtin_convertvector", {e, type}, to);
    }
    // The bits of a scalar as a short vector and back: whole words of the vector's size.
    if (from->is_scalar() && to->kind == CK_vector && !from->is_float() && to->bytes <= 8)
        e = convert(e, types.basic(lane_of_size(to->bytes, false)));
    if (from->kind == CK_vector && to->is_int()) {
        e = reinterpret(e, types.basic(lane_of_size(std::min<uint64_t>(from->bytes, 8), false)));
        return convert(e, to);
    }
    return reinterpret(e, to);
}

EXPR FUNC_GEN::wide_comparison(MNODE *t) {
    std::vector<EXPR> v = values({t->left, t->right});
    EXPR &a = v[0], &b = v[1];
    const CTYPE *type = types.of(t->type);
    bool complex = a.type->kind == CK_complex || b.type->kind == CK_complex;
    struct ROW {
        int op;
        const char *text;
        bool inverted;
    };
    static const ROW rows[] = {
        {EQ, "==", false},  {FEQ, "==", false}, {NEQ, "!=", false}, {FNEQN, "!=", false}, {LT, "<", false},
        {ULT, "<", false},  {FLT, "<", false},  {LE, "<=", false},  {ULE, "<=", false},   {FLE, "<=", false},
        {GT, ">", false},   {UGT, ">", false},  {FGT, ">", false},  {GE, ">=", false},    {UGE, ">=", false},
        {FGE, ">=", false}, {FLTN, ">=", true}, {FLEN, ">", true},  {FGTN, "<=", true},   {FGEN, "<", true}};
    for (const ROW &r : rows) {
        if (r.op != t->op) continue;
        bool equality = r.text[1] == '=' && (r.text[0] == '=' || r.text[0] == '!');
        if (complex) {
            if (!equality) break;
            return convert(binary_text(a, r.text, b, P_EQ, types.basic(CK_s32)), type);
        }
        const CTYPE *lanes = a.type->kind == CK_vector ? a.type : b.type;
        if (a.type->is_scalar()) a = splat(a, lanes);
        if (b.type->is_scalar()) b = splat(b, lanes);
        if (lanes->part->is_int()) {
            bool is_unsigned = t->op >= ULE && t->op <= UGT;
            const CTYPE *as =
                types.vector(types.basic(lane_of_size(lanes->part->bytes, !is_unsigned)), lanes->lanes);
            a = reinterpret(a, as), b = reinterpret(b, as);
        } else b = reinterpret(b, a.type);
        const CTYPE *mask = types.vector(types.basic(lane_of_size(lanes->part->bytes, true)), lanes->lanes);
        EXPR e = binary_text(a, r.text, b, equality ? P_EQ : P_REL, mask);
        if (r.inverted) e.text = "~(" + e.text + ")", e.prec = P_UNARY;
        if (mask->bytes == type->bytes || type->kind != CK_vector) return reinterpret(e, type);
        EXPR name;
        name.text = type->text;
        return call_text("__builtin_convertvector", {e, name}, type);
    }
    cannot(t, "a relation of vectors");
}

EXPR FUNC_GEN::wide_operator(MNODE *t) {
    const CTYPE *type = types.of(t->type);
    auto fit = [&](EXPR e) {
        if (e.type == type) return e;
        if (e.type->is_scalar() && type->kind == CK_vector) return splat(e, type);
        return reinterpret(e, type);
    };
    struct ROW {
        int op;
        const char *text;
        PREC prec;
    };
    static const ROW rows[] = {{PLUS, "+", P_ADD},  {MINUS, "-", P_ADD}, {MULT, "*", P_MUL},
                               {DIV, "/", P_MUL},   {MOD, "%", P_MUL},   {ANDB, "&", P_AND},
                               {ORB, "|", P_OR},    {XORB, "^", P_XOR},  {SLL, "<<", P_SHIFT},
                               {SRL, ">>", P_SHIFT}};
    for (const ROW &r : rows) {
        if (r.op != t->op) continue;
        std::vector<EXPR> v = values({t->left, t->right});
        v[0] = fit(v[0]);
        bool count = r.prec == P_SHIFT && v[1].type->is_scalar();
        v[1] = count ? convert(v[1], type->part) : fit(v[1]);
        return binary_text(v[0], r.text, v[1], r.prec, type);
    }
    EXPR a = fit(value(t->left)), e;
    e.prec = P_UNARY, e.type = type, e.fx = a.fx, e.depth = a.depth + 1;
    std::string text = operand(a, P_POSTFIX);
    switch (t->op) {
    case UMINUS: e.text = "-" + text; return e;
    case NOTB: e.text = "~" + text; return e;
    case EXCLAIM: e.text = "(" + type->text + ")(" + text + " == 0)"; return e;
    case SQR: a = keep(a); return binary_text(a, "*", a, P_MUL, type);
    case RECIP: return binary_text(splat(real("1.0", type->part), type), "/", a, P_MUL, type);
    case ABS:
    case SQRT: {
        if (type->kind != CK_vector) break;
        bool f32 = type->part->kind == CK_f32;
        std::string one = t->op == SQRT            ? (f32 ? "__builtin_sqrtf(a[i])" : "__builtin_sqrt(a[i])")
                          : type->part->is_float() ? (f32 ? "__builtin_fabsf(a[i])" : "__builtin_fabs(a[i])")
                          : !type->part->is_signed() ? "a[i]"
                                                     : "a[i] < 0 ? -a[i] : a[i]";
        std::string name = (t->op == ABS ? "ql_abs_" : "ql_sqrt_") + type->text;
        g.support_for(name, [&] {
            return "static inline " + type->declare(name) + "(" + type->declare("a") +
                   ") { for (u32 i = 0; i < " + std::to_string(type->lanes) + "; i++) a[i] = " + one +
                   "; return a; }\n";
        });
        return call_text(name, {a}, type);
    }
    default: break;
    }
    cannot(t, "no rule for this operator on vectors or complex numbers");
}

EXPR FUNC_GEN::wide(MNODE *t) {
    switch (t->op) {
    case VFIELD:
        if (is_place(without_notes(t->left)->op)) return load(t);
        {
            EXPR v = temp(value(t->left), seq->last());
            LVAL l;
            l.text = v.text, l.type = v.type, l.direct = true, l.local = -1;
            EXPR e = load_from(element_of(l, t), t);
            const CTYPE *type = types.of(t->type);
            return type->is_scalar() ? convert(e, type) : e;
        }
    case REAL:
    case IMAG: {
        const CTYPE *type = types.of(t->type);
        if (is_place(without_notes(t->left)->op)) return load(t);
        EXPR v = value(t->left);
        if (v.type->kind != CK_complex) cannot(t, "a part of something that is not complex");
        EXPR e;
        e.text = (t->op == REAL ? "__real__ " : "__imag__ ") + operand(v, P_POSTFIX), e.prec = P_UNARY;
        e.type = v.type->part, e.fx = v.fx, e.depth = v.depth + 1;
        return convert(e, type);
    }
    case COMPLEX: {
        const CTYPE *type = types.of(t->type);
        if (type->kind != CK_complex) cannot(t, "a result that is not complex");
        std::vector<EXPR> v = values({t->left, t->right});
        for (EXPR &e : v) e = convert(e, type->part);
        if (type->part->is_float()) {
            // Both operands must have the very same type: not an aliasing or qualified form of it.
            const char *plain = type->part->kind == CK_f32 ? "(float)(" : "(double)(";
            for (EXPR &e : v) e.text = plain + e.text + ")", e.prec = P_UNARY;
            return call_text("__builtin_complex", v, type);
        }
        EXPR e;
        e.text = new_temp(type), e.type = type;
        put("__real__ " + e.text + " = " + v[0].text, v[0].fx);
        put("__imag__ " + e.text + " = " + v[1].text, v[1].fx);
        return e;
    }
    case VPACK:
    case VPACKM:
    case VPACK1P: return pack(t);
    case SCONV:
    case PCONV:
    case ACONV:
    case VRCONV: return wide_conversion(t);
    default: break;
    }
    if ((t->op >= EQ && t->op <= UGT) || (t->op >= FEQ && t->op <= FUNO)) return wide_comparison(t);
    return wide_operator(t);
}
