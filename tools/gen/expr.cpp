// Values: scalar expressions.
#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstring>

#include "tools/gen/gen.h"

namespace {

// A constant as a type holds it.
int64_t wrapped(int64_t v, const CTYPE *t) {
    switch (t->kind) {
    case CK_s8: return int8_t(v);
    case CK_u8: return uint8_t(v);
    case CK_s16: return int16_t(v);
    case CK_u16: return uint16_t(v);
    case CK_s32: return int32_t(v);
    case CK_u32: return uint32_t(v);
    default: return v;
    }
}

// Whether every value of `from` is one of `to`.
bool within(const CTYPE *from, const CTYPE *to) {
    if (from->kind == to->kind) return true;
    if (from->is_signed()) return to->is_signed() && from->bytes < to->bytes;
    return from->bytes < to->bytes;
}

} // namespace

// --- sequences ---

void FUNC_GEN::put(const std::string &text, const EFFECTS &fx) {
    seq->items.push_back(text);
    done->add(fx);
}

std::string FUNC_GEN::new_temp(const CTYPE *type) {
    std::string name = names.fresh("t" + std::to_string(++next_temp));
    temps.push_back((calls_setjmp ? "volatile " : "") + type->declare(name));
    if (calls_setjmp && type->before.back() == '*')
        temps.back() = type->before + "volatile " + name + type->after;
    return name;
}

EXPR FUNC_GEN::temp(const EXPR &e, std::list<std::string>::iterator behind) {
    if (e.is_const) return e;
    EXPR t;
    if (e.type->kind == CK_void) {
        seq->items.insert(std::next(behind), e.text);
        done->add(e.fx);
        t.type = e.type;
        return t;
    }
    t.text = new_temp(e.type), t.type = e.type, t.is_truth = e.is_truth;
    seq->items.insert(std::next(behind), t.text + " = " + e.text);
    done->add(e.fx);
    return t;
}

EXPR FUNC_GEN::keep(const EXPR &e) {
    bool plain = e.prec == P_PRIMARY && !e.fx.ordered && !e.fx.reads_memory;
    return e.is_const || plain ? e : temp(e, seq->last());
}

EXPR FUNC_GEN::cut(EXPR e) {
    if (e.depth <= MAX_NESTING || in_constant || e.is_const || (!e.type->is_scalar() && !e.type->is_wide()))
        return e;
    return temp(e, seq->last());
}

std::vector<EXPR> FUNC_GEN::values(const std::vector<MNODE *> &nodes) {
    return ordered(nodes.size(), [&](size_t i) { return value(nodes[i]); });
}

// --- texts ---

std::string FUNC_GEN::operand(const EXPR &e, PREC at_least) {
    return e.prec >= at_least ? e.text : "(" + e.text + ")";
}

EXPR FUNC_GEN::binary_text(EXPR a, const char *op, EXPR b, PREC prec, const CTYPE *type) {
    PREC left = prec, right = PREC(prec + 1);
    bool bits = prec == P_OR || prec == P_XOR || prec == P_AND || prec == P_SHIFT;
    // Where readers have to think about precedence, parentheses stand.
    if (bits) left = a.prec == prec && prec != P_SHIFT ? prec : P_UNARY, right = P_UNARY;
    if (prec == P_ANDAND || prec == P_OROR) left = a.prec == prec ? prec : P_EQ, right = P_EQ;
    if (prec == P_EQ || prec == P_REL) left = P_ADD, right = P_ADD;
    EXPR r;
    r.text = operand(a, left) + " " + op + " " + operand(b, right);
    r.prec = prec, r.type = type;
    r.fx = a.fx, r.fx.add(b.fx);
    r.depth = std::max(a.depth, b.depth) + 1;
    return r;
}

EXPR FUNC_GEN::call_text(const std::string &function, std::vector<EXPR> args, const CTYPE *type) {
    EXPR r;
    r.text = function + "(", r.prec = P_POSTFIX, r.type = type;
    for (const EXPR &a : args) {
        r.text += (&a == &args[0] ? "" : ", ") + operand(a, P_ASSIGN);
        r.fx.add(a.fx);
        r.depth = std::max(r.depth, a.depth);
    }
    r.text += ")";
    r.depth++;
    return r;
}

EXPR FUNC_GEN::number(int64_t v, const CTYPE *t) {
    EXPR e;
    if (!t->is_int()) return convert(number(v, types.basic(CK_s32)), t);
    e.type = t, e.is_const = true, e.value = v = wrapped(v, t);
    e.is_truth = v == 0 || v == 1;
    char text[64];
    if (t->kind == CK_u32) snprintf(text, sizeof text, "%" PRId64 "u", v);
    else if (t->kind == CK_u64) snprintf(text, sizeof text, "%" PRIu64 "ull", uint64_t(v));
    else if (t->kind == CK_s64 && v == INT64_MIN)
        snprintf(text, sizeof text, "(-%" PRId64 "ll - 1)", INT64_MAX);
    else if (t->kind == CK_s64) snprintf(text, sizeof text, "%" PRId64 "ll", v);
    else if (v == INT32_MIN) snprintf(text, sizeof text, "(-2147483647 - 1)");
    else snprintf(text, sizeof text, "%" PRId64, v);
    e.text = text;
    if (text[0] == '-') e.prec = P_UNARY;
    return e;
}

EXPR FUNC_GEN::real(const std::string &text, const CTYPE *t) {
    EXPR e;
    e.type = t;
    double d = strtod(text.c_str(), nullptr);
    std::string suffix = t->kind == CK_f32 ? "f" : "";
    if (t->is_int()) return number(int64_t(d), t);
    if (std::isnan(d)) e.text = "__builtin_nan" + suffix + "(\"\")";
    else if (std::isinf(d)) e.text = "__builtin_inf" + suffix + "()";
    else {
        char digits[64];
        if (t->kind == CK_f32) d = double(float(d));
        // Small whole numbers read better as such.
        if (std::fabs(d) < 1e6 && d == std::floor(d)) snprintf(digits, sizeof digits, "%.1f", std::fabs(d));
        else snprintf(digits, sizeof digits, "%a", std::fabs(d));
        e.text = digits + suffix;
    }
    if (std::signbit(d)) e.text = "-" + e.text, e.prec = P_UNARY;
    return e;
}

std::string c_string(const std::string &bytes) {
    std::string out = "\"";
    bool after_escape = false;
    for (size_t i = 0; i < bytes.size(); i++) {
        unsigned char c = static_cast<unsigned char>(bytes[i]);
        const char *named = nullptr;
        switch (c) {
        case '\n': named = "\\n"; break;
        case '\t': named = "\\t"; break;
        case '\r': named = "\\r"; break;
        case '"': named = "\\\""; break;
        case '\\': named = "\\\\"; break;
        case '?': named = "\\?"; break;
        default: break;
        }
        if (named && !(c == '?' && out.back() != '?')) out += named, after_escape = false;
        else if (c < 32 || c >= 127) {
            char text[8];
            bool digit_follows = i + 1 < bytes.size() && bytes[i + 1] >= '0' && bytes[i + 1] <= '7';
            snprintf(text, sizeof text, digit_follows ? "\\%03o" : "\\%o", c);
            out += text;
        } else out += char(c);
    }
    (void)after_escape;
    return out + "\"";
}

EXPR FUNC_GEN::string(const MNODE *t) {
    std::string bytes = t->text;
    if (!bytes.empty() && bytes.back() == '\0') bytes.pop_back();
    EXPR e;
    e.text = c_string(bytes);
    e.type = types.pointer_to(types.character());
    return convert(e, types.of(t->type));
}

// --- conversions ---

EXPR FUNC_GEN::convert(EXPR e, const CTYPE *to) {
    const CTYPE *from = e.type;
    if (from == to) return e;
    if (e.is_const && to->is_int()) return number(e.value, to);
    if (e.is_const && to->is_float() && std::abs(e.value) <= 1 << 24)
        return real(std::to_string(e.value), to);
    if (from->is_int() && to->is_int() && (to->is_narrow() || to->kind == CK_s32) && within(from, to)) {
        e.type = to; // both promote to the same int
        return e;
    }
    if (from->kind == CK_ptr && to->kind == CK_ptr && e.decay_type == to && !e.decay.empty()) {
        EXPR d;
        d.text = e.decay, d.prec = P_POSTFIX, d.type = to, d.fx = e.fx, d.depth = e.depth;
        d.base = d.text, d.index = "0";
        return d;
    }
    bool from_ptr = from->kind == CK_ptr, to_ptr = to->kind == CK_ptr;
    bool word = from->is_int() && from->bytes == 4;
    // Between addresses and anything but words the word stands in the middle.
    if ((from_ptr && to->is_int() && to->bytes != 4) || (from_ptr && to->is_float()) ||
        (to_ptr && !from_ptr && !word))
        e = convert(e, types.basic(CK_u32)), from = e.type;
    if (from == to) return e;
    if (!(from->is_scalar() && to->is_scalar()) && to->kind != CK_void)
        cannot(nullptr, "no conversion from " + from->text + " to " + to->text);
    EXPR r;
    r.text = "(" + to->text + ")" + operand(e, P_UNARY);
    r.prec = P_UNARY, r.type = to, r.fx = e.fx, r.depth = e.depth + 1;
    if (from_ptr && to_ptr) { // the object behind it stays known
        r.object = e.object, r.object_type = e.object_type, r.object_volatile = e.object_volatile;
    }
    return r;
}

EXPR FUNC_GEN::truth(EXPR e) {
    if (e.is_truth) return e;
    if (e.is_const) return number(e.value != 0, types.basic(CK_s32));
    EXPR zero = e.type->kind == CK_ptr ? EXPR() : number(0, e.type->is_int() ? e.type : types.basic(CK_s32));
    if (e.type->kind == CK_ptr) zero.text = "0";
    EXPR r = binary_text(e, "!=", zero, P_EQ, types.basic(CK_s32));
    r.is_truth = true;
    return r;
}

EXPR FUNC_GEN::convert_to(EXPR e, const TYPE *from, TYPE *to) {
    if (to->is_bool() && !(from && from->is_bool())) {
        EXPR r = truth(e);
        r.type = types.of(to);
        return r;
    }
    return convert(e, types.of(to));
}

EXPR FUNC_GEN::conversion(MNODE *t) {
    const CTYPE *to = types.of(t->type), *from = types.of(t->left->type);
    if (to->is_wide() || from->is_wide()) return wide(t);
    if (to->kind == CK_none || from->kind == CK_none) cannot(t, "a type without counterpart in C");
    EXPR e = value(t->left);
    if (e.type->kind == CK_void || to->kind == CK_void) return e;
    // In the file a word of the same size becomes a truth value by a test, whatever it held.
    if (t->type->is_bool()) {
        EXPR r = truth(e);
        r.type = to;
        return r;
    }
    return convert(e, to);
}

EXPR FUNC_GEN::condition(MNODE *t) {
    EXPR e = value(t);
    if (!e.type->is_scalar()) cannot(t, "a condition that is no scalar");
    return e;
}

// --- operators ---

// A conversion that C does by itself, because the other operand has the type already, is left to it.
void FUNC_GEN::pair(EXPR &a, EXPR &b, const CTYPE *type) {
    auto implicit = [&](const EXPR &x, const EXPR &other) {
        return other.type == type && x.type->is_int() && !x.is_const &&
               ((type->is_int() && !type->is_narrow() && x.type->bytes < type->bytes) || type->is_float());
    };
    bool keep_a = implicit(a, b), keep_b = implicit(b, a);
    if (!keep_a) a = convert(a, type);
    if (!keep_b) b = convert(b, type);
}

EXPR FUNC_GEN::combine(int op, EXPR a, EXPR b, const CTYPE *type, const MNODE *t) {
    struct ROW {
        int op;
        const char *text;
        PREC prec;
        bool in_range; // of narrow operands; 2: when unsigned
        bool unsigned_in_range;
    };
    static const ROW rows[] = {{PLUS, "+", P_ADD, false, false}, {MINUS, "-", P_ADD, false, false},
                               {MULT, "*", P_MUL, false, false}, {DIV, "/", P_MUL, false, true},
                               {MOD, "%", P_MUL, true, true},    {ANDB, "&", P_AND, true, true},
                               {ORB, "|", P_OR, true, true},     {XORB, "^", P_XOR, true, true}};
    if (op == SLL || op == SRL) return shift(op, a, b, type, t);
    if (type->kind == CK_ptr) {
        const CTYPE *word = types.basic(CK_u32);
        return convert(combine(op, convert(a, word), convert(b, word), word, t), type);
    }
    for (const ROW &r : rows) {
        if (r.op != op) continue;
        if (type->is_float() && r.prec != P_ADD && r.prec != P_MUL) break;
        if (type->is_float() && op == MOD) break;
        pair(a, b, type);
        if (!type->is_narrow()) return binary_text(a, r.text, b, r.prec, type);
        bool stays = r.in_range || (r.unsigned_in_range && !type->is_signed());
        EXPR e = binary_text(a, r.text, b, r.prec, stays ? type : types.basic(CK_s32));
        return convert(e, type);
    }
    cannot(t, "operands of type " + type->text);
}

namespace {
// Whether the count is known to be in 0 .. bits - 1.
bool count_in_range(MNODE *t, unsigned bits) {
    for (t = without_notes(t); t && t->op == SCONV && t->type->size >= 8; t = without_notes(t->left)) {}
    if (!t || t->op != ANDB) return false;
    for (MNODE *side : {t->left, t->right})
        if (side->op == ICON && side->value >= 0 && side->value < int64_t(bits)) return true;
    return false;
}
} // namespace

EXPR FUNC_GEN::shift(int op, EXPR a, EXPR b, const CTYPE *type, const MNODE *t) {
    if (!type->is_int()) cannot(t, "a shift of type " + type->text);
    int64_t bits = type->bits();
    const CTYPE *word = type->bytes == 8 ? type : type->is_narrow() ? types.basic(CK_s32) : type;
    const char *text = op == SLL ? "<<" : ">>";
    if (b.is_const) {
        bool outside = b.value < 0 || b.value >= bits;
        if (outside && (op == SLL || !type->is_signed())) {
            if (a.fx.changes_something()) put(a.text, a.fx);
            return number(0, type);
        }
        EXPR count = number(outside ? bits - 1 : b.value, types.basic(CK_s32));
        EXPR e = binary_text(a, text, count, P_SHIFT, op == SRL && type->is_narrow() ? type : word);
        return convert(e, type);
    }
    bool safe = !g.options.exact_shifts || (t && count_in_range(t->right, unsigned(bits)));
    EXPR e;
    if (safe) {
        if (b.type->kind == CK_ptr) b = convert(b, types.basic(CK_u32));
        e = binary_text(a, text, b, P_SHIFT, op == SRL && type->is_narrow() ? type : word);
    } else {
        bool wide = b.type->is_int() && b.type->bytes == 8;
        if (!wide) b = convert(b, types.basic(CK_u32)); // negative counts become great ones
        std::string name = std::string(op == SLL ? "shl_" : "shr_") + word->text + (wide ? "_by64" : "");
        e = apply_support(name, {convert(a, word), b});
        e.type = word;
    }
    return convert(e, type);
}

EXPR FUNC_GEN::binary(MNODE *t) {
    const CTYPE *type = types.of(t->type);
    if (type->is_wide()) return wide(t);
    if (type->kind == CK_ptr && (t->op == PLUS || t->op == MINUS)) return pointer_sum(t);
    if (!type->is_scalar()) cannot(t, "a result that is no scalar");
    std::vector<EXPR> v = values({t->left, t->right});
    if (t->op == SLL || t->op == SRL) {
        v[0] = convert(v[0], type);
        return shift(t->op, v[0], v[1], type, t);
    }
    bool addresses = v[0].type->kind == CK_ptr && v[1].type->kind == CK_ptr;
    if (addresses && t->op == MINUS && type->is_int()) // a distance in bytes
        return convert(combine(MINUS, convert(v[0], types.basic(CK_s32)), convert(v[1], types.basic(CK_s32)),
                               types.basic(CK_s32), t),
                       type);
    return combine(t->op, v[0], v[1], type, t);
}

// index * size in 32 bits as the operand of a pointer sum: the index; null when it has another form.
MNODE *scaled_index(MNODE *t, uint64_t size) {
    t = without_notes(t);
    if (!t || t->type->size != 32 || !t->type->is_integral() || size == 0) return nullptr;
    if (t->op == MULT && t->right->op == ICON && uint64_t(t->right->value) == size) return t->left;
    if (t->op == MULT && t->left->op == ICON && uint64_t(t->left->value) == size) return t->right;
    if (t->op == SLL && t->right->op == ICON && t->right->value >= 0 && t->right->value < 32 &&
        (uint64_t(1) << t->right->value) == size)
        return t->left;
    if (size == 1) return t;
    return nullptr;
}

// An address plus or minus a count of bytes: pointer + index where the count is a whole number of elements.
EXPR FUNC_GEN::pointer_sum(MNODE *t) {
    const CTYPE *type = types.of(t->type), *part = type->part;
    bool sized = part->is_scalar() || part->is_wide() || part->kind == CK_record || part->kind == CK_array;
    if (part->kind == CK_record && !part->type->is_complete()) sized = false;
    uint64_t size = sized ? part->bytes : 0;
    bool left_points = t->left->type->is_ptr() || t->left->type->is_ref();
    bool right_points = t->right->type->is_ptr() || t->right->type->is_ref();
    MNODE *scaled = left_points && !right_points ? scaled_index(t->right, size) : nullptr;
    std::vector<EXPR> v = ordered(2, [&](size_t i) {
        if (i == 0) return value(t->left);
        return scaled ? convert(value(scaled), types.of(without_notes(t->right)->type)) : value(t->right);
    });
    EXPR &a = v[0], &b = v[1];
    if (t->op == PLUS && a.type->kind != CK_ptr && b.type->kind == CK_ptr) std::swap(a, b);
    if (a.type->kind != CK_ptr || b.type->kind == CK_ptr) return combine(t->op, a, b, type, t);
    bool minus = t->op == MINUS, whole = scaled != nullptr;
    if (!whole && b.is_const && size && int64_t(int32_t(b.value)) % int64_t(size) == 0) {
        b = number(int64_t(int32_t(b.value)) / int64_t(size), types.basic(CK_s32));
        whole = true;
    }
    if (b.is_const && b.value == 0) return convert(a, type);
    if (!b.type->is_int()) b = convert(b, types.basic(CK_s32));
    if (b.type->bytes == 8) b = convert(b, types.basic(CK_s32));
    if (whole) {
        a = convert(a, type);
        bool nested = !a.base.empty() && a.index == "0";
        EXPR r;
        if (b.is_const && b.value < 0) b = number(-b.value, types.basic(CK_s32)), minus = !minus;
        r = binary_text(a, minus ? "-" : "+", b, P_ADD, type);
        r.base = nested ? a.base : operand(a, P_POSTFIX);
        r.index = minus ? "-" + operand(b, P_UNARY) : b.text;
        return r;
    }
    a = convert(a, types.bytes());
    EXPR r = binary_text(a, minus ? "-" : "+", b, P_ADD, types.bytes());
    return convert(r, type);
}

EXPR FUNC_GEN::comparison(MNODE *t) {
    if (types.of(t->left->type)->is_wide() || types.of(t->right->type)->is_wide()) return wide(t);
    std::vector<EXPR> v = values({t->left, t->right});
    EXPR &a = v[0], &b = v[1];
    const CTYPE *answer = types.basic(CK_s32);
    int op = t->op;
    bool floats = a.type->is_float() || b.type->is_float() || op >= FEQ;
    if (floats) {
        bool dbl =
            a.type->kind == CK_f64 || b.type->kind == CK_f64 || !(a.type->is_float() || b.type->is_float());
        pair(a, b, types.basic(dbl ? CK_f64 : CK_f32));
    } else {
        bool wide = (a.type->is_int() && a.type->bytes == 8) || (b.type->is_int() && b.type->bytes == 8);
        bool is_unsigned = op >= ULE && op <= UGT, equal = op == EQ || op == NEQ;
        bool pointers = a.type->kind == CK_ptr && b.type->kind == CK_ptr && (is_unsigned || equal);
        // Narrow values without sign compare alike in either way.
        auto small = [](const EXPR &x) {
            return x.type->is_narrow() && (!x.type->is_signed() || (x.is_const && x.value >= 0));
        };
        auto fits = [&](const EXPR &x) {
            return small(x) || (x.is_const && x.value >= 0 && x.value <= INT32_MAX);
        };
        if (pointers) b = convert(b, a.type);
        else if (!wide && fits(a) && fits(b)) pair(a, b, types.basic(CK_s32));
        else if (!wide && equal && a.type->kind == CK_u32 && b.type->is_int()) pair(a, b, a.type);
        else
            pair(a, b, types.basic(wide ? (is_unsigned ? CK_u64 : CK_s64) : (is_unsigned ? CK_u32 : CK_s32)));
    }
    EXPR r;
    auto plain = [&](const char *text, bool equality) {
        return binary_text(a, text, b, equality ? P_EQ : P_REL, answer);
    };
    auto inverted = [&](EXPR e) {
        e.text = "!" + operand(e, P_UNARY), e.prec = P_UNARY, e.type = answer;
        return e;
    };
    switch (op) {
    case EQ:
    case FEQ: r = plain("==", true); break;
    case NEQ:
    case FNEQN: r = plain("!=", true); break;
    case LT:
    case ULT:
    case FLT: r = plain("<", false); break;
    case LE:
    case ULE:
    case FLE: r = plain("<=", false); break;
    case GT:
    case UGT:
    case FGT: r = plain(">", false); break;
    case GE:
    case UGE:
    case FGE: r = plain(">=", false); break;
    case FLTN: r = inverted(plain(">=", false)); break;
    case FLEN: r = inverted(plain(">", false)); break;
    case FGTN: r = inverted(plain("<=", false)); break;
    case FGEN: r = inverted(plain("<", false)); break;
    case FNEQ: r = call_text("__builtin_islessgreater", {a, b}, answer); break;
    case FEQN: r = inverted(call_text("__builtin_islessgreater", {a, b}, answer)); break;
    case FUNO: r = call_text("__builtin_isunordered", {a, b}, answer); break;
    case FORD: r = inverted(call_text("__builtin_isunordered", {a, b}, answer)); break;
    default: cannot(t, "an unknown relation");
    }
    r.is_truth = true;
    return convert(r, types.of(t->type));
}

EXPR FUNC_GEN::unary(MNODE *t) {
    const CTYPE *type = types.of(t->type);
    if (type->is_wide()) return wide(t);
    EXPR a = value(t->left);
    if (t->op == EXCLAIM) {
        EXPR r;
        r.text = "!" + operand(a, P_UNARY), r.prec = P_UNARY, r.type = types.basic(CK_s32);
        r.fx = a.fx, r.depth = a.depth + 1, r.is_truth = true;
        return convert(r, type);
    }
    if (!type->is_int() && !type->is_float() && type->kind != CK_ptr)
        cannot(t, "an operand of type " + type->text);
    const CTYPE *work = type->kind == CK_ptr ? types.basic(CK_u32) : type;
    a = convert(a, work);
    const CTYPE *promoted = work->is_narrow() ? types.basic(CK_s32) : work;
    auto prefix = [&](const char *op) {
        EXPR r;
        r.text = op + (a.prec == P_UNARY && a.text[0] == *op ? "(" + a.text + ")" : operand(a, P_UNARY));
        r.prec = P_UNARY, r.type = promoted, r.fx = a.fx, r.depth = a.depth + 1;
        return convert(r, type);
    };
    auto library = [&](const char *name, const CTYPE *as) { return convert(call_text(name, {a}, as), type); };
    bool f32 = work->kind == CK_f32, flt = work->is_float();
    switch (t->op) {
    case UMINUS: return prefix("-");
    case NOTB:
        if (flt) cannot(t, "the complement of a float");
        return prefix("~");
    case ABS:
        if (flt) return library(f32 ? "__builtin_fabsf" : "__builtin_fabs", work);
        if (!work->is_signed()) return convert(a, type);
        return library(work->bytes == 8 ? "__builtin_llabs" : "__builtin_abs", promoted);
    case SQRT: return convert(apply_support(f32 ? "sqrt_f32" : "sqrt_f64", {a}), type);
    case SQR: a = keep(a); return combine(MULT, a, a, work, t);
    case RECIP:
        if (flt) return combine(DIV, real("0x1p+0", work), a, work, t);
        return convert(apply_support("recip_" + promoted->text, {convert(a, promoted)}), type);
    default: cannot(t, "an unknown operator");
    }
}

// --- && || ?: ---

constexpr int FLAT_LIMIT = 12; // nested deeper than this they become branches, where statements can stand

// By branches, so that a chain of any length is flat text.
EXPR FUNC_GEN::joined(MNODE *t, const CTYPE *type) {
    MNODE *colon = t->op == QUEST ? without_notes(t->right) : nullptr;
    std::string end = "Q" + std::to_string(++next_join),
                other = colon ? "Q" + std::to_string(++next_join) : end;
    EXPR r;
    r.type = type;
    if (type->kind != CK_void) r.text = new_temp(type);
    auto set = [&](const EXPR &e) {
        if (type->kind == CK_void || e.type->kind == CK_void) {
            if (e.fx.changes_something()) put(e.text, e.fx);
        } else put(r.text + " = " + convert(e, type).text, e.fx);
    };
    EXPR test = condition(t->left);
    auto jump = [&](const std::string &to, bool when) {
        put("if (" + (when ? test.text : "!" + operand(test, P_UNARY)) + ") goto " + to, test.fx);
    };
    EFFECTS none;
    if (colon) {
        jump(other, false);
        set(value(colon->left));
        put("goto " + end, none);
        put(other + ":", none);
        set(value(colon->right));
    } else {
        put(r.text + " = " + (t->op == ANDAND ? "0" : "1"), none);
        jump(end, t->op == OROR);
        set(truth(condition(t->right)));
        r.is_truth = true;
    }
    put(end + ":", none);
    return r;
}

EXPR FUNC_GEN::logical(MNODE *t) {
    const CTYPE *answer = types.basic(CK_s32);
    if (t->tool > FLAT_LIMIT && seq->statements) return convert(joined(t, answer), types.of(t->type));
    EXPR a = condition(t->left), b = arm([&] { return condition(t->right); });
    bool is_and = t->op == ANDAND;
    EXPR r = binary_text(a, is_and ? "&&" : "||", b, is_and ? P_ANDAND : P_OROR, answer);
    r.is_truth = true;
    return convert(r, types.of(t->type));
}

EXPR FUNC_GEN::conditional(MNODE *t) {
    MNODE *colon = without_notes(t->right);
    if (colon->op != COLON) cannot(t, "its right side is no COLON");
    const CTYPE *type = types.of(t->type);
    bool by_address = type->kind == CK_record || type->kind == CK_array;
    if (by_address) return address(lvalue(t), t);
    if (t->tool > FLAT_LIMIT && seq->statements) return joined(t, type);
    bool is_void = type->kind == CK_void;
    EXPR v[3] = {condition(t->left)};
    for (int i : {1, 2})
        v[i] = arm([&] {
            EXPR e = value(i == 1 ? colon->left : colon->right);
            return is_void || e.type->kind == CK_void ? e : convert(e, type);
        });
    auto part = [&](const EXPR &e) {
        return is_void && e.type->kind != CK_void ? "(void)" + operand(e, P_UNARY) : operand(e, P_OROR);
    };
    EXPR r;
    r.text = operand(v[0], P_EQ) + " ? " + part(v[1]) + " : " + part(v[2]);
    r.prec = P_COND, r.type = type; // two narrow arms promote to int, the value stays in range
    for (EXPR &e : v) r.fx.add(e.fx), r.depth = std::max(r.depth, e.depth + 1);
    r.is_truth = v[1].is_truth && v[2].is_truth;
    return r;
}

// --- loads ---

EFFECTS FUNC_GEN::reading(const LVAL &l) {
    EFFECTS fx;
    if (l.is_volatile) fx.ordered = true;
    if (l.local >= 0) fx.reads.add(l.local);
    else fx.reads_memory = true;
    return fx;
}

EFFECTS FUNC_GEN::writing(const LVAL &l) {
    EFFECTS fx;
    if (l.is_volatile) fx.ordered = true;
    if (l.local >= 0) fx.writes.add(l.local);
    else fx.writes_memory = true;
    return fx;
}

EXPR FUNC_GEN::load_from(const LVAL &l, MNODE *t) {
    EXPR e;
    e.text = l.text, e.prec = l.prec, e.type = l.type;
    e.fx = l.fx, e.depth = l.depth;
    e.fx.add(reading(l));
    if (!l.is_bits) return e;
    if (l.width < 32 || (l.width == 32 && l.type->kind == CK_s32)) {
        // A bit-field that int can hold is an int, and narrower types hold it when they hold its bits.
        bool is_unsigned = !l.type->is_signed();
        if (!(l.type->is_narrow() && l.width <= l.type->bits())) e.type = types.basic(CK_s32);
        (void)is_unsigned;
    } else if (l.type->bytes == 8) { // its own width is a type of its own in C
        e.text = "(" + l.type->text + ")" + operand(e, P_UNARY), e.prec = P_UNARY;
    }
    (void)t;
    return e;
}

EXPR FUNC_GEN::load(MNODE *t) {
    const CTYPE *type = types.of(t->type);
    if (type->kind == CK_record || type->kind == CK_array || type->kind == CK_func)
        return address(lvalue(t), t); // in place of a value it stands for its address
    if (type->kind == CK_void) cannot(t, "a value of type void");
    if (type->kind == CK_none) cannot(t, "a type without counterpart in C");
    if (MNODE *step = stepping_address(t)) { // *p++: the load, then the step
        LVAL l =
            as_type(deref(convert(value(step->left), types.of(t->left->type)), type, t->type->is_volatile()),
                    t->type);
        EXPR e = temp(load_from(l, t), seq->last());
        effect(step);
        return type->is_scalar() ? convert(e, type) : e;
    }
    LVAL l = as_type(lvalue(t), t->type);
    EXPR e = load_from(l, t);
    return type->is_scalar() ? convert(e, type) : e;
}

// Of an indirection through a pointer variable that steps afterwards, by a constant and out of reach of any address:
// the step. Nothing can tell whether the variable changes before or behind the access, and behind it the code generator
// can join the two.
MNODE *FUNC_GEN::stepping_address(MNODE *t) {
    if (t->op != UMULT) return nullptr;
    MNODE *p = without_notes(t->left);
    while (p && p->op == PCONV) p = without_notes(p->left);
    if (!p || (p->op != PLUSPLUS && p->op != MINMIN) || p->left->op != NAME || p->right->op != ICON)
        return nullptr;
    auto it = locals.find(p->left->sym);
    bool alone = it != locals.end() && it->second.number >= 0 && !it->second.is_volatile &&
                 it->second.type->kind == CK_ptr;
    return alone ? p : nullptr;
}

// --- any value ---

EXPR FUNC_GEN::value(MNODE *t) {
    if (!t) cannot(t, "a missing operand");
    if (++depth > MAX_DEPTH)
        cannot(t, "an expression nested more than " + std::to_string(MAX_DEPTH) + " deep");
    EXPR e = cut(value_of(t));
    depth--;
    return e;
}

EXPR FUNC_GEN::value_of(MNODE *t) {
    switch (t->op) {
    case NOP: return number(0, types.basic(CK_s32));
    case ICON: return number(t->value, types.of(t->type));
    case LCON: {
        const char *s = t->text.c_str();
        return number(s[0] == '-' ? strtoll(s, nullptr, 10) : int64_t(strtoull(s, nullptr, 10)),
                      types.of(t->type));
    }
    case FCON: return real(t->text, types.of(t->type));
    case SCON: return string(t);
    case NAME:
    case UMULT:
    case STDOT:
    case STREF: return load(t);
    case VFIELD:
    case REAL:
    case IMAG:
    case COMPLEX:
    case VPACK:
    case VPACKM:
    case VPACK1P: return wide(t);
    case UAND:
    case ARGREF: return address(lvalue(t->left), t);
    case PLUS:
    case MINUS:
    case MULT:
    case DIV:
    case MOD:
    case ANDB:
    case ORB:
    case XORB:
    case SLL:
    case SRL: return binary(t);
    case ANDAND:
    case OROR: return logical(t);
    case QUEST: return conditional(t);
    case UMINUS:
    case NOTB:
    case ABS:
    case SQRT:
    case SQR:
    case RECIP:
    case EXCLAIM: return unary(t);
    case SCONV:
    case PCONV:
    case ACONV:
    case VRCONV: return conversion(t);
    case TOIEEE:
    case FRIEEE:
    case STARG:
    case DDNODE:
    case EPVAL: return value(t->left);
    case PMCONV: // index times bits / 8
    case PVCONV: // distance divided by bits / 8
    {
        if (t->right->op != ICON) cannot(t, "its size is no constant");
        const CTYPE *type = t->op == PMCONV ? types.of(t->type) : types.basic(CK_s32);
        EXPR a = convert(value(t->left), type);
        int64_t bytes = t->right->value / 8;
        if (bytes == 1) return convert(a, types.of(t->type));
        if (bytes == 0) cannot(t, "its size is 0");
        EXPR r = combine(t->op == PMCONV ? MULT : DIV, a,
                         number(bytes, type->is_int() ? type : types.basic(CK_s32)), type, t);
        return convert(r, types.of(t->type));
    }
    case COMMAOP:
    case PCOMMA:
    case COMMA: effect(t->left); return value(t->right);
    case ASG:
    case STASG:
    case ARASG: return assignment(t, true);
    case PLUSASG:
    case MINUSASG:
    case MULTASG:
    case DIVASG:
    case MODASG:
    case SLLASG:
    case SRLASG:
    case ANDBASG:
    case ORBASG:
    case XORBASG:
    case PLUSPLUS:
    case MINMIN: return op_assignment(t, true);
    case MEMCPY: return memory_copy(t);
    case CALL:
    case UCALL: return call(t);
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: return intrinsic(t);
    default: break;
    }
    if ((t->op >= EQ && t->op <= UGT) || (t->op >= FEQ && t->op <= FUNO)) return comparison(t);
    cannot(t, "no rule for this operator");
}
