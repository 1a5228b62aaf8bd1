// Assignments, steps and copies: the statements of an expression.
#include <cstring>

#include "tools/gen/gen.h"

namespace {

struct OP_ROW {
    int op, plain;
    const char *text;
};
const OP_ROW op_rows[] = {{PLUSASG, PLUS, "+="}, {MINUSASG, MINUS, "-="}, {MULTASG, MULT, "*="},
                          {DIVASG, DIV, "/="},   {MODASG, MOD, "%="},     {SLLASG, SLL, "<<="},
                          {SRLASG, SRL, ">>="},  {ANDBASG, ANDB, "&="},   {ORBASG, ORB, "|="},
                          {XORBASG, XORB, "^="}, {PLUSPLUS, PLUS, "+="},  {MINMIN, MINUS, "-="}};

const OP_ROW &op_row(int op) {
    for (const OP_ROW &r : op_rows)
        if (r.op == op) return r;
    return op_rows[0];
}

// Whether a tree names a variable; a tree too large to look through counts as doing so.
bool mentions(MNODE *root, const MSYM *s) {
    constexpr int ENOUGH = 300;
    std::vector<MNODE *> todo{root};
    for (int seen = 0; !todo.empty(); seen++) {
        MNODE *t = todo.back();
        todo.pop_back();
        if (seen == ENOUGH || (t->op == NAME && t->sym == s)) return true;
        if (t->left) todo.push_back(t->left);
        if (t->right) todo.push_back(t->right);
    }
    return false;
}

EXPR nothing(CTYPES &types, TYPE *void_type) {
    EXPR e;
    e.type = types.of(void_type);
    return e;
}

} // namespace

// Evaluates a tree for what it does.
void FUNC_GEN::effect(MNODE *t) {
    std::vector<MNODE *> todo{t};
    while (!todo.empty()) {
        MNODE *at = without_notes(todo.back());
        todo.pop_back();
        if (!at || dropped.count(at)) continue;
        switch (at->op) {
        case COMMA:
        case COMMAOP:
        case PCOMMA:
            todo.push_back(at->right);
            todo.push_back(at->left);
            continue;
        case ASG:
        case STASG:
        case ARASG: assignment(at, false); continue;
        case NASSERT:
        case ASSERT:
            if (g.options.assume && seq->statements) {
                EXPR c = condition(at->left);
                if (!c.fx.changes_something())
                    put("if (!" + operand(c, P_UNARY) + ") __builtin_unreachable()", c.fx);
            }
            continue;
        default: break;
        }
        if (at->op >= PLUSASG && op_row(at->op).op == at->op) {
            op_assignment(at, false);
            continue;
        }
        EXPR e = value(at);
        if (e.fx.changes_something()) put(e.text, e.fx);
    }
}

void FUNC_GEN::store(const LVAL &l, const EXPR &v) {
    const CTYPE *to = l.type, *from = v.type;
    bool by_itself = (to->is_int() || to->is_float()) && (from->is_int() || from->is_float());
    EXPR e = by_itself && !v.is_const ? v : to->is_scalar() ? convert(v, to) : v;
    if (!by_itself && to != from && !to->is_scalar()) e = reinterpret(v, to);
    EFFECTS fx = e.fx;
    fx.add(l.fx);
    fx.add(writing(l));
    put(l.text + " = " + operand(e, P_ASSIGN), fx);
}

// What a stored value reads as: itself, or for a bit-field what its bits hold.
EXPR FUNC_GEN::stored_value(const LVAL &l, const EXPR &v) {
    if (!l.is_bits || l.width >= l.type->bits()) return v;
    const CTYPE *work = types.basic(l.type->bytes == 8 ? (l.type->is_signed() ? CK_s64 : CK_u64)
                                                       : (l.type->is_signed() ? CK_s32 : CK_u32));
    EXPR e = convert(v, work);
    if (e.is_const) {
        uint64_t bits = uint64_t(e.value) & ((uint64_t(1) << l.width) - 1);
        if (work->is_signed() && bits >> (l.width - 1)) bits |= ~uint64_t(0) << l.width;
        return number(int64_t(bits), work);
    }
    EXPR count = number(work->bits() - l.width, types.basic(CK_s32));
    return binary_text(binary_text(e, "<<", count, P_SHIFT, work), ">>", count, P_SHIFT, work);
}

EXPR FUNC_GEN::assignment(MNODE *t, bool want_value) {
    const CTYPE *type = types.of(t->left->type);
    if (t->op != ASG || type->kind == CK_record || type->kind == CK_array) return record_copy(t, want_value);
    MNODE *step = want_value ? nullptr : stepping_address(t->left);
    if (step && !mentions(t->right, step->left->sym)) { // *p++ = v
        EXPR p = convert(value(step->left), types.of(t->left->left->type));
        LVAL l = as_type(deref(p, type, t->left->type->is_volatile()), t->left->type);
        store(l, beside(l, [&] { return convert_to(value(t->right), t->right->type, t->left->type); }));
        effect(step);
        return nothing(types, g.model.package->void_type());
    }
    LVAL l = as_type(lvalue(t->left), t->left->type);
    EXPR v = beside(l, [&] { return convert_to(value(t->right), t->right->type, t->left->type); });
    if (v.type->kind == CK_void) cannot(t, "a value of type void");
    if (!want_value) {
        store(l, v);
        return nothing(types, g.model.package->void_type());
    }
    if (l.direct && !l.is_volatile && !l.is_bits) {
        store(l, v);
        return load_from(l, t);
    }
    if (l.type->is_scalar()) v = convert(v, l.type);
    v = keep(v);
    store(l, v);
    return stored_value(l, v);
}

// Records and arrays: what the right side is an address of goes to the left side's place.
EXPR FUNC_GEN::record_copy(MNODE *t, bool want_value) {
    uint64_t bytes = t->left->type->size / 8;
    const CTYPE *type = types.of(t->left->type);
    LVAL to = lvalue(t->left), from;
    if (want_value) to = repeatable(to);
    bool by_address = types.of(t->right->type)->is_scalar(); // a call that yields one
    EXPR source = beside(to, [&] {
        if (by_address) return value(t->right);
        from = lvalue(t->right);
        EXPR e = from.pointer ? *from.pointer : EXPR();
        e.fx = from.fx, e.type = from.type;
        return e;
    });
    EFFECTS fx = source.fx;
    fx.add(to.fx);
    fx.add(writing(to));
    if (by_address) fx.reads_memory = true;
    else fx.add(reading(from));
    bool same = !by_address && to.type == from.type && to.type == type && type->kind == CK_record;
    if (bytes == 0) {
    } else if (same) put(to.text + " = " + from.text, fx);
    else {
        EXPR target = address(to, nullptr);
        std::string source_text = by_address ? source.text : address(from, nullptr).text;
        put("__builtin_memcpy(" + target.text + ", " + source_text + ", " + std::to_string(bytes) + ")", fx);
    }
    if (!want_value) return nothing(types, g.model.package->void_type());
    return address(to, nullptr);
}

EXPR FUNC_GEN::memory_copy(MNODE *t) {
    MNODE *list = t->left;
    if (!list || list->op != COMMA || !list->left || list->left->op != COMMA)
        cannot(t, "its operands are not three");
    std::vector<EXPR> v = values({list->left->left, list->left->right, list->right});
    const CTYPE *address = types.pointer_to(types.of(g.model.package->void_type()));
    for (int i : {0, 1})
        if (v[i].type->kind != CK_ptr) v[i] = convert(v[i], address);
    EXPR r = call_text("__builtin_memcpy", {v[0], v[1], convert(v[2], types.basic(CK_u32))}, address);
    r.fx.reads_memory = r.fx.writes_memory = true;
    const CTYPE *type = types.of(t->type);
    return type->is_scalar() ? convert(r, type) : r;
}

// l = l op v. `whole`: v counts elements of a pointer.
void FUNC_GEN::step(LVAL l, int op, EXPR v, MNODE *t, bool whole) {
    const OP_ROW &row = op_row(op);
    const CTYPE *type = types.of(t->left->type);
    EFFECTS fx = v.fx;
    fx.add(l.fx);
    fx.add(reading(l));
    fx.add(writing(l));
    bool shift = row.plain == SLL || row.plain == SRL;
    bool count_known = v.is_const ? v.value >= 0 && v.value < int64_t(type->bits())
                                  : !g.options.exact_shifts && v.type->is_int();
    bool exact = l.type->kind == type->kind || row.plain == PLUS || row.plain == MINUS || row.plain == MULT;
    bool plain =
        shift ? count_known && l.type->kind == type->kind
              : (type->is_int() || type->is_float()) && exact && l.type->is_float() == type->is_float();
    if (whole || (plain && (l.type->is_int() || l.type->is_float()))) {
        if (!shift && !whole) v = convert(v, type);
        bool one = v.is_const && v.value == 1 && (row.plain == PLUS || row.plain == MINUS);
        std::string place = l.prec >= P_UNARY ? l.text : "(" + l.text + ")";
        if (one)
            put((l.prec >= P_POSTFIX ? l.text : "(" + l.text + ")") + (row.plain == PLUS ? "++" : "--"), fx);
        else put(place + " " + row.text + " " + operand(v, P_ASSIGN), fx);
        return;
    }
    l = repeatable(l);
    EXPR old = load_from(l, t->left);
    if (type->is_scalar()) old = convert(old, type);
    EXPR r;
    if (type->kind == CK_ptr && (row.plain == PLUS || row.plain == MINUS) && v.type->is_int()) {
        EXPR bytes =
            binary_text(convert(old, types.bytes()), row.plain == PLUS ? "+" : "-", v, P_ADD, types.bytes());
        r = convert(bytes, type);
    } else if (type->is_wide())
        r = binary_text(old, std::string(row.text, strlen(row.text) - 1).c_str(), v, P_ADD, type);
    else r = combine(row.plain, old, v, type, t);
    store(l, r);
}

EXPR FUNC_GEN::op_assignment(MNODE *t, bool want_value) {
    const OP_ROW &row = op_row(t->op);
    bool post = t->op == PLUSPLUS || t->op == MINMIN;
    LVAL l = as_type(lvalue(t->left), t->left->type);
    const CTYPE *type = types.of(t->left->type);
    bool constant = t->right->op == ICON || t->right->op == FCON || t->right->op == LCON;
    if (post && !constant) { // the old value is read before the amount is computed
        l = fixed(l, seq->last());
        EXPR old = temp(load_from(l, t->left), seq->last());
        if (type->is_scalar()) old = convert(old, type);
        EXPR v = value(t->right), next;
        if (type->kind == CK_ptr) {
            v = binary_text(convert(old, types.bytes()), row.plain == PLUS ? "+" : "-",
                            convert(v, types.basic(CK_s32)), P_ADD, types.bytes());
            next = convert(v, type);
        } else next = combine(row.plain, old, v, type, t);
        store(l, next);
        return old;
    }
    // A pointer steps by whole elements where it can.
    uint64_t size = type->kind == CK_ptr && l.type == type && type->part->bytes &&
                            (type->part->kind != CK_record || type->part->type->is_complete())
                        ? type->part->bytes
                        : 0;
    MNODE *scaled =
        size && (row.plain == PLUS || row.plain == MINUS) ? scaled_index(t->right, size) : nullptr;
    EXPR v = beside(l, [&] {
        EXPR e = scaled ? convert(value(scaled), types.of(without_notes(t->right)->type)) : value(t->right);
        if (row.plain == SLL || row.plain == SRL || type->kind == CK_ptr || type->is_wide()) return e;
        return convert(e, type);
    });
    bool whole = scaled != nullptr;
    if (!whole && size && v.is_const && int64_t(int32_t(v.value)) % int64_t(size) == 0)
        v = number(int64_t(int32_t(v.value)) / int64_t(size), types.basic(CK_s32)), whole = true;
    if (type->kind == CK_ptr && (!v.type->is_int() || v.type->bytes == 8))
        v = convert(v, types.basic(CK_s32));
    if (conflict(v.fx, reading(l))) v = temp(v, seq->last()); // the old value is read behind it
    if (!want_value) {
        step(l, t->op, v, t, whole);
        return nothing(types, g.model.package->void_type());
    }
    v = v.fx.changes_something() ? keep(v) : v;
    // Of a variable the old value is the new one stepped back: no second register stays alive.
    bool back = post && l.local >= 0 && l.direct && !l.is_volatile && v.is_const && l.type == type &&
                (whole || type->kind == CK_s32 || type->kind == CK_u32);
    if (back) {
        step(l, t->op, v, t, whole);
        return binary_text(load_from(l, t->left), row.plain == PLUS ? "-" : "+", v, P_ADD, type);
    }
    if (post) {
        l = repeatable(l);
        EXPR old = temp(load_from(l, t->left), seq->last());
        if (l.is_volatile || l.is_bits) { // one read, one write
            EXPR next = whole ? binary_text(old, row.plain == PLUS ? "+" : "-", v, P_ADD, l.type)
                              : combine(row.plain, convert(old, type), v, type, t);
            store(l, next);
        } else step(l, t->op, v, t, whole);
        return type->is_scalar() ? convert(old, type) : old;
    }
    if (l.direct && !l.is_volatile && !l.is_bits) {
        step(l, t->op, v, t, whole);
        EXPR e = load_from(l, t->left);
        return type->is_scalar() ? convert(e, type) : e;
    }
    l = repeatable(l);
    EXPR old = load_from(l, t->left), next;
    if (type->is_scalar()) old = convert(old, type);
    if (whole) next = binary_text(old, row.plain == PLUS ? "+" : "-", v, P_ADD, type);
    else if (type->kind == CK_ptr && v.type->is_int())
        next = convert(
            binary_text(convert(old, types.bytes()), row.plain == PLUS ? "+" : "-", v, P_ADD, types.bytes()),
            type);
    else next = combine(row.plain, old, v, type, t);
    next = temp(next, seq->last());
    store(l, next);
    return stored_value(l, next);
}
