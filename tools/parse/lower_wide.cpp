// Vectors of more than 16 bytes: records in memory.
//
// No register holds such a vector, so its type is a record with an array of the lanes, and its values are objects: they
// are passed, returned and copied as records are. An operator works through them 16 bytes at a time, from the objects of
// its operands into a temporary.
#include "tools/parse/lower.h"

using namespace clang;

constexpr unsigned CHUNK_BYTES = 16;

bool LOWER::is_wide_vector(QualType q) { return q->isVectorType() && ctx.getTypeSize(q) > CHUNK_BYTES * 8; }

TYPE *LOWER::wide_vector_type(const VectorType *v) {
    uint64_t size = ctx.getTypeSize(v);
    TYPE *t = m.package->mk_csu(K_struct, "", size, uint32_t(ctx.getTypeAlign(v)), false, 0, true);
    TYPE *lanes = m.package->mk_array(type_of(v->getElementType()), false, v->getNumElements());
    t->add_mdata("lane", lanes, 0);
    m.package->type_frozen(t);
    return t;
}

namespace {

struct OBJECT { // a wide vector by its address, or a narrow one by value, or a count for all lanes
    MSYM *address = nullptr, *value = nullptr, *scalar = nullptr;
    TYPE *lane = nullptr;
    uint64_t align = ~uint64_t(0); // bits, of the address
};

} // namespace

struct WIDE_LOWER {
    LOWER &l;
    MNODE *first = nullptr;

    TYPE *lane_type(QualType q) { return l.unqualified(q->castAs<VectorType>()->getElementType()); }
    unsigned count(QualType q) { return q->castAs<VectorType>()->getNumElements(); }
    TYPE *chunk_type(QualType q) {
        TYPE *lane = lane_type(q);
        return l.m.package->mk_vector(lane, CHUNK_BYTES * 8 / lane->size);
    }

    OBJECT operand(const Expr *e) {
        OBJECT o;
        o.lane = lane_type(e->getType());
        if (l.is_wide_vector(e->getType()))
            o.address = l.keep(l.address_of(l.record_value(e)), first), o.align = l.alignment_of(e);
        else o.value = l.keep(l.rvalue(e), first);
        return o;
    }
    OBJECT count_operand(const Expr *e) {
        auto *cast = dyn_cast<ImplicitCastExpr>(e->IgnoreParens());
        if (!cast || cast->getCastKind() != CK_VectorSplat) return operand(e);
        OBJECT o;
        o.scalar = l.keep(l.convert(l.rvalue(cast->getSubExpr()), l.int_t()), first);
        return o;
    }
    OBJECT result(MSYM *s, QualType q) {
        OBJECT o;
        o.lane = lane_type(q);
        o.address = l.keep(l.address_of(l.m.name(s)), first);
        return o;
    }
    MNODE *at(const OBJECT &o, uint64_t bytes, TYPE *type) {
        TYPE *p = l.pointer_to(type);
        MNODE *a = l.m.node(PCONV, p, l.m.name(o.address));
        if (bytes) a = l.m.node(PLUS, p, a, l.icon(int64_t(bytes), l.int_t()));
        return l.deref_at(a, type, o.align);
    }
    MNODE *lane(const OBJECT &o, unsigned i) {
        return o.address ? at(o, i * o.lane->size / 8, o.lane) : l.lane_of(o.value, i);
    }
    void set(MNODE *lv, MNODE *v) {
        MNODE *a = l.m.node(ASG, lv->type, lv, v);
        first = first ? l.comma_op(first, a) : a;
    }
    // Each 16 bytes of a new object from `make`, which gets their place.
    template <class F> MNODE *by_chunks(QualType q, F make) {
        MSYM *s = l.temp(l.unqualified(q));
        OBJECT r = result(s, q);
        TYPE *t = chunk_type(q);
        for (uint64_t b = 0; b < l.size_of(q); b += CHUNK_BYTES) set(at(r, b, t), make(b, t));
        return l.m.node(UMULT, s->type, l.comma_op(first, l.address_of(l.m.name(s))));
    }
    // A vector of any size lane by lane.
    template <class F> MNODE *by_lanes(QualType q, F make) {
        if (!l.is_wide_vector(q)) {
            std::vector<MNODE *> lanes;
            for (unsigned i = 0; i < count(q); i++) lanes.push_back(make(i));
            return l.comma_op(first, l.pack_of(lanes, l.unqualified(q)));
        }
        MSYM *s = l.temp(l.unqualified(q));
        OBJECT r = result(s, q);
        for (unsigned i = 0; i < count(q); i++) set(lane(r, i), make(i));
        return l.m.node(UMULT, s->type, l.comma_op(first, l.address_of(l.m.name(s))));
    }
    MNODE *operation(BinaryOperatorKind kind, const OBJECT &a, const OBJECT &b, QualType operands,
                     QualType q) {
        TYPE *from = chunk_type(operands);
        bool compares = BinaryOperator::isComparisonOp(kind);
        if (b.scalar)
            return by_chunks(q, [&](uint64_t at_byte, TYPE *t) {
                return l.m.node(opcode_for(kind, from->elem_type()), t, at(a, at_byte, from),
                                l.m.name(b.scalar));
            });
        return by_chunks(q, [&](uint64_t at_byte, TYPE *t) {
            MNODE *x = at(a, at_byte, from), *y = at(b, at_byte, from);
            if (compares) return l.vector_comparison(kind, x, y, t);
            return l.m.node(opcode_for(kind, from->elem_type()), t, x, y);
        });
    }
};

// The value of an operator on wide vectors as an lvalue that holds it; null for what records have too.
MNODE *LOWER::wide_vector_value(const Expr *e) {
    WIDE_LOWER w{*this};
    QualType q = e->getType();
    if (auto *b = dyn_cast<BinaryOperator>(e); b && (b->isShiftOp() || b->isShiftAssignOp()))
        refuse_uneven_shift(b);
    if (auto *c = dyn_cast<CompoundAssignOperator>(e)) {
        MNODE *first = nullptr, *lv = stable_lvalue(c->getLHS(), first);
        OBJECT b = c->isShiftAssignOp() ? w.count_operand(c->getRHS()) : w.operand(c->getRHS()), a;
        a.address = keep(address_of(m.copy(lv)), w.first), a.lane = w.lane_type(q);
        a.align = alignment_of(c->getLHS());
        MNODE *sum = w.operation(BinaryOperator::getOpForCompoundAssignment(c->getOpcode()), a, b, q, q);
        MNODE *set = m.node(STASG, unqualified(q), lv, sum);
        return deref_at(comma_op(first, comma_op(set, address_of(m.copy(lv)))), unqualified(q), a.align);
    }
    if (auto *b = dyn_cast<BinaryOperator>(e)) {
        if (b->isAssignmentOp() || b->isCommaOp()) return nullptr;
        OBJECT x = w.operand(b->getLHS());
        OBJECT y = b->isShiftOp() ? w.count_operand(b->getRHS()) : w.operand(b->getRHS());
        return w.operation(b->getOpcode(), x, y, b->getLHS()->getType(), q);
    }
    if (auto *u = dyn_cast<UnaryOperator>(e)) {
        int op = u->getOpcode() == UO_Minus ? UMINUS : u->getOpcode() == UO_Not ? NOTB : ILLOP;
        if (u->getOpcode() == UO_Plus) return record_value(u->getSubExpr());
        if (op == ILLOP) return nullptr;
        OBJECT a = w.operand(u->getSubExpr());
        return w.by_chunks(q, [&](uint64_t at, TYPE *t) { return m.node(op, t, w.at(a, at, t)); });
    }
    if (auto *c = dyn_cast<CastExpr>(e)) {
        if (c->getCastKind() == CK_VectorSplat) {
            MSYM *v = keep(rvalue(c->getSubExpr()), w.first);
            return w.by_chunks(q, [&](uint64_t, TYPE *t) { return m.node(VPACKM, t, m.name(v)); });
        }
        if (c->getCastKind() != CK_BitCast) return nullptr;
        TYPE *t = unqualified(q);
        MNODE *place = address_of(record_value(c->getSubExpr()));
        return deref_at(m.node(PCONV, pointer_to(t), place), t, alignment_of(e));
    }
    return vector_rearranged(e);
}

// __builtin_shufflevector and __builtin_convertvector where one of the vectors is wide; null for other expressions.
MNODE *LOWER::vector_rearranged(const Expr *e) {
    WIDE_LOWER w{*this};
    QualType q = e->getType();
    if (auto *c = dyn_cast<ConvertVectorExpr>(e)) {
        OBJECT a = w.operand(c->getSrcExpr());
        TYPE *t = w.lane_type(q);
        return w.by_lanes(q, [&](unsigned i) { return convert(w.lane(a, i), t); });
    }
    if (auto *s = dyn_cast<ShuffleVectorExpr>(e)) {
        OBJECT a = w.operand(s->getExpr(0)), b = w.operand(s->getExpr(1));
        unsigned n = w.count(s->getExpr(0)->getType());
        return w.by_lanes(q, [&](unsigned i) {
            int64_t at = s->getShuffleMaskIdx(ctx, i).getSExtValue();
            unsigned k = at < 0 ? 0 : unsigned(at);
            return k < n ? w.lane(a, k) : w.lane(b, k - n);
        });
    }
    return nullptr;
}

// A shift by a vector of lanes of another width is taken by no other compiler.
void LOWER::refuse_uneven_shift(const BinaryOperator *b) {
    QualType q = b->getType(), counts = b->getRHS()->getType();
    if (!q->isVectorType() || !counts->isVectorType() || ctx.getTypeSize(q) == ctx.getTypeSize(counts))
        return;
    auto *cast = dyn_cast<ImplicitCastExpr>(b->getRHS());
    if (!cast || cast->getCastKind() != CK_VectorSplat)
        refuse(b->getBeginLoc(), "a vector shifted by one with lanes of another width");
}

// Lane by lane, zeros behind those of the list.
void LOWER::initialise_wide_vector(MNODE *lv, const InitListExpr *list, QualType q) {
    WIDE_LOWER w{*this};
    TYPE *t = w.lane_type(q), *p = pointer_to(t);
    if (lv->op == STDOT) { // a member may have less than the type's alignment
        MSYM *whole = temp(unqualified(q));
        initialise_wide_vector(m.name(whole), list, q);
        emit(m.node(STASG, whole->type, lv, m.name(whole)));
        return;
    }
    MSYM *to = temp(p);
    emit(m.node(ASG, p, m.name(to), m.node(PCONV, p, address_of(lv))));
    OBJECT o;
    o.address = to, o.lane = t;
    for (unsigned i = 0; i < w.count(q); i++) {
        MNODE *v = i < list->getNumInits() ? rvalue(list->getInit(i))
                   : t->is_fltpt()         ? float_constant(0, t)
                                           : icon(0, t);
        emit(m.node(ASG, t, w.lane(o, i), v));
    }
}

// v[index] of a wide vector.
MNODE *LOWER::wide_vector_lane(const ArraySubscriptExpr *a, TYPE *type) {
    const Expr *base = a->getBase();
    TYPE *p = pointer_to(type);
    MNODE *address = m.node(PCONV, p, address_of(base->isGLValue() ? lvalue(base) : record_value(base)));
    MNODE *index = convert(rvalue(a->getIdx()), int_t());
    MNODE *bytes = m.node(MULT, int_t(), index, icon(int64_t(type->size / 8), int_t()));
    return deref_at(m.node(PLUS, p, address, bytes), type, alignment_of(a));
}
