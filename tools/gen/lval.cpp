// Places: what an assignment writes and a load reads.
#include "tools/gen/gen.h"

LVAL FUNC_GEN::lvalue(MNODE *t) {
    if (!t) cannot(t, "a missing operand");
    if (++depth > MAX_DEPTH)
        cannot(t, "an expression nested more than " + std::to_string(MAX_DEPTH) + " deep");
    LVAL l = lvalue_of(t);
    depth--;
    if (l.depth <= MAX_NESTING || in_constant) return l;
    return fixed(l, seq->last());
}

LVAL FUNC_GEN::variable(MNODE *t) {
    if (!t->sym) cannot(t, "a name without symbol");
    LVAL l;
    auto it = locals.find(t->sym);
    if (it == locals.end()) {
        if (t->sym->level != 0) cannot(t, "the local '" + t->sym->name + "' is not declared");
        GLOBAL &v = g.global(t->sym);
        v.referenced = true;
        l.text = v.name, l.type = v.type, l.direct = true;
        l.is_volatile = !t->sym->is_function() && t->sym->type->is_volatile();
        return l;
    }
    const LOCAL &v = it->second;
    l.text = v.name, l.type = v.type, l.is_volatile = v.is_volatile, l.local = v.number, l.direct = true;
    return l;
}

LVAL FUNC_GEN::deref(EXPR p, const CTYPE *target, bool is_volatile) {
    const CTYPE *want = types.pointer_to(target, is_volatile);
    LVAL l;
    l.type = target, l.is_volatile = is_volatile;
    if (!p.object.empty() && p.object_type == target && p.object_volatile == is_volatile) {
        l.text = p.object, l.prec = P_POSTFIX, l.direct = true, l.fx = p.fx, l.depth = p.depth;
        return l;
    }
    p = convert(p, want);
    bool element = !p.base.empty();
    l.text = element ? p.base + "[" + p.index + "]" : "*" + operand(p, P_UNARY);
    l.prec = element ? P_POSTFIX : P_UNARY;
    l.fx = p.fx, l.depth = p.depth + 1;
    l.pointer = std::make_shared<EXPR>(std::move(p));
    return l;
}

LVAL FUNC_GEN::recast(LVAL l, const CTYPE *type, bool is_volatile) {
    int32_t local = l.local;
    bool direct = l.direct;
    EXPR p = address(l, nullptr);
    if (p.object_type != type || p.object_volatile != is_volatile) p.object.clear();
    LVAL r = deref(p, type, is_volatile);
    r.local = local, r.direct = direct;
    return r;
}

// The place seen with a type of the file. Words of one size are left alone: loads and stores convert the value.
LVAL FUNC_GEN::as_type(LVAL l, TYPE *t) {
    const CTYPE *want = types.of(t);
    bool is_volatile = t->is_volatile();
    if (l.is_bits) return l;
    auto word = [](const CTYPE *c) { return c->is_int() || c->kind == CK_ptr; };
    bool alike = l.type == want || (word(l.type) && word(want) && l.type->bytes == want->bytes);
    if (alike && l.is_volatile == is_volatile) return l;
    if (want->kind == CK_none || want->kind == CK_void) cannot(nullptr, "an access of type " + t->printstr());
    return recast(l, alike ? l.type : want, is_volatile);
}

EXPR FUNC_GEN::address(const LVAL &l, const MNODE *t) {
    if (l.is_bits) cannot(t, "the address of a bit-field");
    EXPR e;
    if (l.pointer) e = *l.pointer;
    else {
        e.fx = l.fx, e.depth = l.depth + 1;
        e.type = types.pointer_to(l.type, l.is_volatile);
        if (l.type->kind == CK_func) e.text = l.text, e.prec = l.prec;
        else {
            e.text = "&" + (l.prec >= P_UNARY ? l.text : "(" + l.text + ")"), e.prec = P_UNARY;
            e.object = l.text, e.object_type = l.type, e.object_volatile = l.is_volatile;
        }
        if (l.type->kind == CK_array)
            e.decay = l.prec >= P_POSTFIX ? l.text : "(" + l.text + ")",
            e.decay_type = types.pointer_to(l.type->part, l.is_volatile);
        // Declared volatile for the sake of longjmp alone: the pointer's type does not say so.
        if (calls_setjmp && l.local < 0 && l.type->is_scalar()) e.text = "(" + e.type->text + ")" + e.text;
    }
    if (l.pointer && l.type->kind == CK_array) { // *p of an array decays too
        e.decay = "(*" + operand(*l.pointer, P_UNARY) + ")";
        e.decay_type = types.pointer_to(l.type->part, l.is_volatile);
    }
    if (!t || (t->op != UAND && t->op != ARGREF)) return e;
    const CTYPE *want = types.of(t->type);
    return want->is_scalar() ? convert(e, want) : e;
}

LVAL FUNC_GEN::fixed(const LVAL &l, std::list<std::string>::iterator behind) {
    if (l.direct) return l;
    if (l.outer) {
        LVAL record = fixed(*l.outer, behind), r = l;
        r.text = (record.pointer ? operand(*record.pointer, P_POSTFIX) + "->" : record.text + ".") + l.field;
        r.prec = P_POSTFIX, r.fx = record.fx, r.depth = record.depth + 1;
        r.outer = std::make_shared<LVAL>(record);
        return r;
    }
    LVAL r = deref(temp(address(l, nullptr), behind), l.type, l.is_volatile);
    r.local = l.local;
    return r;
}

LVAL FUNC_GEN::repeatable(const LVAL &l) {
    if (l.direct) return l;
    const EXPR *p = l.pointer.get();
    if (p && p->prec == P_PRIMARY && !p->fx.ordered && !p->fx.reads_memory) return l;
    return fixed(l, seq->last());
}

// --- by operator ---

LVAL FUNC_GEN::indirection(MNODE *t) {
    const CTYPE *type = types.of(t->type);
    bool is_volatile = t->type->is_volatile();
    MNODE *from = without_notes(t->left);
    if (type->kind == CK_none) cannot(t, "a type without counterpart in C");
    if (from->op == UAND) {
        LVAL l = lvalue(from->left);
        if (l.is_bits) cannot(t, "the address of a bit-field");
        if (l.type == type && l.is_volatile == is_volatile) return l;
        return recast(l, type, is_volatile);
    }
    return deref(value(t->left), type, is_volatile);
}

LVAL FUNC_GEN::field_of(LVAL record, TYPE *csu, const fkMDATA *md, const MNODE *t) {
    if (!md) cannot(t, "a member that its record does not have");
    const CTYPE *type = types.of(csu);
    if (record.type != type) record = recast(record, type, record.is_volatile);
    const CMEMBER &m = types.member(csu->dtype, md);
    bool is_volatile = record.is_volatile || md->type->is_volatile();
    if (m.name.empty()) { // no declaration can place it: by its offset
        if (md->is_bitfld()) cannot(t, "a bit-field that C cannot place there");
        EXPR p = convert(address(record, nullptr), types.bytes());
        p = binary_text(p, "+", number(md->offset / 8, types.basic(CK_s32)), P_ADD, types.bytes());
        LVAL l = deref(p, types.of(md->type), is_volatile);
        l.local = record.local, l.direct = record.direct;
        return l;
    }
    LVAL l;
    bool arrow = record.pointer && record.prec == P_UNARY;
    l.text = (arrow ? operand(*record.pointer, P_POSTFIX) + "->"
                    : (record.prec >= P_POSTFIX ? record.text : "(" + record.text + ")") + ".") +
             m.name;
    l.prec = P_POSTFIX, l.type = types.of(md->type), l.is_volatile = is_volatile;
    l.local = record.local, l.direct = record.direct, l.fx = record.fx, l.depth = record.depth + 1;
    if (m.is_bits) l.is_bits = true, l.width = unsigned(md->width());
    bool packed = md->type->align > csu->dtype->align || (md->type->align && md->offset % md->type->align);
    if (m.is_bits || packed) l.field = m.name, l.outer = std::make_shared<LVAL>(std::move(record));
    return l;
}

LVAL FUNC_GEN::member(MNODE *t) {
    MNODE *field = t->right;
    if (!field || field->op != FIELD || !field->csu) cannot(t, "its right side is no member");
    TYPE *csu = field->csu;
    if (t->op == STDOT) return field_of(lvalue(t->left), csu, field->member, t);
    LVAL record = deref(value(t->left), types.of(csu), t->type->is_volatile());
    return field_of(record, csu, field->member, t);
}

LVAL FUNC_GEN::element_of(LVAL v, MNODE *t) {
    const CTYPE *lane = types.of(t->type);
    EXPR index = beside(v, [&] { return value(t->right); });
    bool is_lane = v.type->kind == CK_vector && lane->is_scalar() && lane->bytes == v.type->part->bytes &&
                   lane->is_float() == v.type->part->is_float();
    LVAL l;
    if (is_lane) {
        if (index.type->bytes == 8) index = convert(index, types.basic(CK_s32));
        l.text = (v.prec >= P_POSTFIX ? v.text : "(" + v.text + ")") + "[" + index.text + "]";
        l.prec = P_POSTFIX, l.type = v.type->part, l.is_volatile = v.is_volatile;
        l.fx = v.fx, l.fx.add(index.fx), l.depth = std::max(v.depth, index.depth) + 1;
        l.local = v.local, l.direct = v.direct && index.is_const;
        return l;
    }
    EXPR p = convert(address(v, t), types.bytes());
    EXPR bytes = combine(MULT, convert(index, types.basic(CK_s32)),
                         number(int64_t(lane->bytes), types.basic(CK_s32)), types.basic(CK_s32), t);
    if (index.is_const) bytes = number(index.value * int64_t(lane->bytes), types.basic(CK_s32));
    p = binary_text(p, "+", bytes, P_ADD, types.bytes());
    l = deref(p, lane, v.is_volatile);
    l.local = v.local, l.direct = v.direct && index.is_const;
    return l;
}

LVAL FUNC_GEN::element(MNODE *t) { return element_of(lvalue(t->left), t); }

LVAL FUNC_GEN::part(MNODE *t) {
    LVAL c = lvalue(t->left);
    const CTYPE *type = types.of(t->type);
    if (c.type->kind != CK_complex) { // the first or second of a pair in memory
        EXPR p = convert(address(c, t), types.pointer_to(type, c.is_volatile));
        if (t->op == IMAG) p = binary_text(p, "+", number(1, types.basic(CK_s32)), P_ADD, p.type);
        LVAL l = deref(p, type, c.is_volatile);
        l.local = c.local, l.direct = c.direct;
        return l;
    }
    LVAL l = c;
    l.text = std::string(t->op == REAL ? "__real__ " : "__imag__ ") +
             (c.prec >= P_POSTFIX ? c.text : "(" + c.text + ")");
    l.prec = P_UNARY, l.type = c.type->part, l.pointer = nullptr, l.depth++;
    return l;
}

LVAL FUNC_GEN::lvalue_of(MNODE *t) {
    switch (t->op) {
    case NAME: return variable(t);
    case UMULT: return indirection(t);
    case STDOT:
    case STREF: return member(t);
    case VFIELD: return element(t);
    case REAL:
    case IMAG: return part(t);
    case DDNODE:
    case EPVAL:
    case SCONV:
    case PCONV:
    case VRCONV: return lvalue(t->left);
    case ASG:
    case STASG:
    case ARASG: { // the assignment happens, then its left side is the place
        EXPR p = temp(address(lvalue(t->left), t->left), seq->last());
        LVAL place = deref(p, types.of(t->left->type), t->left->type->is_volatile());
        if (t->op == ASG)
            store(as_type(place, t->left->type), convert_to(value(t->right), t->right->type, t->left->type));
        else {
            LVAL from = lvalue(t->right);
            put("__builtin_memmove(" + p.text + ", " + address(from, nullptr).text + ", " +
                    std::to_string(t->left->type->size / 8) + ")",
                EFFECTS::call());
        }
        return place;
    }
    case COMMAOP:
    case PCOMMA: effect(t->left); return lvalue(t->right);
    case QUEST: {
        MNODE *colon = without_notes(t->right);
        if (colon->op != COLON) cannot(t, "its right side is no COLON");
        const CTYPE *type = types.of(t->type), *p = types.pointer_to(type, t->type->is_volatile());
        EXPR e = condition(t->left);
        EXPR yes = arm([&] { return convert(address(lvalue(colon->left), t), p); });
        EXPR no = arm([&] { return convert(address(lvalue(colon->right), t), p); });
        EXPR r;
        r.text = operand(e, P_EQ) + " ? " + operand(yes, P_OROR) + " : " + operand(no, P_OROR);
        r.prec = P_COND, r.type = p, r.depth = std::max(e.depth, std::max(yes.depth, no.depth)) + 1;
        r.fx = e.fx, r.fx.add(yes.fx), r.fx.add(no.fx);
        return deref(r, type, t->type->is_volatile());
    }
    default: break;
    }
    const CTYPE *type = types.of(t->type);
    if (type->kind == CK_record || type->kind == CK_array) { // a value of such a type is an address
        return deref(value(t), type, t->type->is_volatile());
    }
    cannot(t, "it is no place in memory");
}
