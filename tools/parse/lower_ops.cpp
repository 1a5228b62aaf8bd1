#include "tools/parse/lower.h"

using namespace clang;

int opcode_for(BinaryOperatorKind kind, TYPE *t) {
    bool flt = t->is_fltpt(),
         uns = t->is_ptr() || t->is_unsigned() || (t->is_enum() && t->underlying_type()->is_unsigned());
    switch (kind) {
    case BO_Add: return PLUS;
    case BO_Sub: return MINUS;
    case BO_Mul: return MULT;
    case BO_Div: return DIV;
    case BO_Rem: return MOD;
    case BO_Shl: return SLL;
    case BO_Shr: return SRL;
    case BO_And: return ANDB;
    case BO_Or: return ORB;
    case BO_Xor: return XORB;
    case BO_EQ: return flt ? FEQ : EQ;
    case BO_NE: return flt ? FNEQN : NEQ;
    case BO_LT: return flt ? FLT : uns ? ULT : LT;
    case BO_LE: return flt ? FLE : uns ? ULE : LE;
    case BO_GT: return flt ? FGT : uns ? UGT : GT;
    case BO_GE: return flt ? FGE : uns ? UGE : GE;
    default: return ILLOP;
    }
}

namespace {

int assign_opcode(int op) {
    switch (op) {
    case PLUS: return PLUSASG;
    case MINUS: return MINUSASG;
    case MULT: return MULTASG;
    case DIV: return DIVASG;
    case MOD: return MODASG;
    case SLL: return SLLASG;
    case SRL: return SRLASG;
    case ANDB: return ANDBASG;
    case ORB: return ORBASG;
    default: return XORBASG;
    }
}

// The front end makes a complex number of an integer beside one; here it stays real.
const Expr *without_complex_cast(const Expr *e) {
    auto *c = dyn_cast<ImplicitCastExpr>(e->IgnoreParens());
    bool made =
        c && (c->getCastKind() == CK_FloatingRealToComplex || c->getCastKind() == CK_IntegralRealToComplex);
    return made ? c->getSubExpr() : e;
}

} // namespace

// The size of what a pointer steps over, in bytes, as a tree of the type.
MNODE *LOWER::element_size(QualType pointee, TYPE *type) {
    if (pointee->isVoidType() || pointee->isFunctionType()) return icon(1, type);
    if (pointee->isVariablyModifiedType() && ctx.getAsArrayType(pointee))
        return convert(array_bytes(pointee), type);
    return icon(int64_t(size_of(pointee)), type);
}

// pointer +- index elements: a count of bytes is added.
MNODE *LOWER::pointer_arithmetic(MNODE *pointer, const Expr *index, QualType pointee, bool minus) {
    TYPE *t = pointer->type->is_qual() ? pointer->type->stqs() : pointer->type;
    if (!t->is_ptr()) { // index[pointer]
        MNODE *p = rvalue(index);
        TYPE *pt = p->type->is_qual() ? p->type->stqs() : p->type;
        MNODE *i = convert(pointer, int_t());
        return m.node(PLUS, pt, p, m.node(MULT, int_t(), i, element_size(pointee, int_t())));
    }
    MNODE *i = rvalue(index);
    TYPE *it = i->type->is_unsigned() && i->type->size >= 32 ? uint_t() : int_t();
    i = convert(i, it);
    if (i->type != it) i = m.node(SCONV, it, i);
    MNODE *size = element_size(pointee, it);
    MNODE *bytes;
    if (i->op == ICON && size->op == ICON)
        bytes = icon(it == int_t() ? int64_t(int32_t(i->value * size->value))
                                   : int64_t(uint32_t(i->value * size->value)),
                     it);
    else if (size->op == ICON && size->value == 1) bytes = i;
    else bytes = m.node(MULT, it, i, size);
    return m.node(minus ? MINUS : PLUS, t, pointer, bytes);
}

MNODE *LOWER::comparison(const BinaryOperator *b) {
    MNODE *l = rvalue(b->getLHS()), *r = rvalue(b->getRHS());
    if (l->type->is_complex() || r->type->is_complex()) {
        TYPE *part = (l->type->is_complex() ? l : r)->type->part_type();
        MNODE *first = nullptr;
        for (MNODE **v : {&l, &r})
            if (!is_simple(*v)) {
                MSYM *kept = temp((*v)->type);
                MNODE *set = m.node(ASG, kept->type, m.name(kept), *v);
                first = first ? comma_op(first, set) : set;
                *v = m.name(kept);
            }
        bool eq = b->getOpcode() == BO_EQ;
        int op = opcode_for(b->getOpcode(), part);
        auto half = [&](MNODE *v, int which) { // a real operand may stand beside a complex one
            if (v->type->is_complex()) return m.node(which, part, m.copy(v));
            if (which == REAL) return convert(m.copy(v), part);
            return part->is_fltpt() ? float_constant(0, part) : icon(0, part);
        };
        MNODE *re = m.node(op, int_t(), half(l, REAL), half(r, REAL));
        MNODE *im = m.node(op, int_t(), half(l, IMAG), half(r, IMAG));
        return comma_op(first, m.node(eq ? ANDAND : OROR, int_t(), re, im));
    }
    // Pointers of different types compare as addresses of one type.
    if (l->type->is_ptr() && r->type->is_ptr() && l->type->normalized() != r->type->normalized())
        r = m.node(PCONV, l->type->is_qual() ? l->type->stqs() : l->type, r);
    return m.node(opcode_for(b->getOpcode(), l->type), int_t(), l, r);
}

// A count that is spread over the lanes, as the scalar that it is.
static const Expr *without_splat(const Expr *e) {
    auto *cast = dyn_cast<ImplicitCastExpr>(e);
    return cast && cast->getCastKind() == CK_VectorSplat ? cast->getSubExpr() : e;
}

MNODE *LOWER::binary(const BinaryOperator *b) {
    TYPE *t = b->getType()->isVoidType() ? void_t() : unqualified(b->getType());
    if (MNODE *v = exact_binary(b)) return v;
    switch (b->getOpcode()) {
    case BO_Assign: return assignment(b);
    case BO_Comma: {
        if (needs_statements(b->getRHS())) {
            effect(b->getLHS());
            return rvalue(b->getRHS());
        }
        MNODE *l =
            is_record(b->getLHS()->getType()) ? address_of(record_value(b->getLHS())) : rvalue(b->getLHS());
        return comma_op(l, rvalue(b->getRHS()));
    }
    case BO_LAnd:
    case BO_LOr: {
        bool is_and = b->getOpcode() == BO_LAnd;
        if (needs_statements(b->getRHS())) {
            MSYM *kept = temp(int_t());
            int more = new_label(), end = new_label();
            emit(m.node(ASG, int_t(), m.name(kept), icon(is_and ? 0 : 1, int_t())));
            if (is_and) branch_on(b->getLHS(), more, end, true);
            else branch_on(b->getLHS(), end, more, false);
            emit_label(more);
            emit(m.node(ASG, int_t(), m.name(kept), truth(rvalue(b->getRHS()))));
            emit_label(end);
            return m.name(kept);
        }
        return m.node(is_and ? ANDAND : OROR, int_t(), condition(b->getLHS()), condition(b->getRHS()));
    }
    case BO_EQ:
    case BO_NE:
    case BO_LT:
    case BO_LE:
    case BO_GT:
    case BO_GE:
        if (b->getType()->isVectorType())
            return vector_comparison(b->getOpcode(), rvalue(b->getLHS()), rvalue(b->getRHS()), t);
        return comparison(b);
    case BO_Sub:
        if (b->getLHS()->getType()->isPointerType() && b->getRHS()->getType()->isPointerType()) {
            QualType pointee = b->getLHS()->getType()->getPointeeType();
            MNODE *l = rvalue(b->getLHS()), *r = rvalue(b->getRHS());
            if (l->type->normalized() != r->type->normalized()) r = m.node(PCONV, l->type->stqs(), r);
            MNODE *bytes = m.node(MINUS, int_t(), l, r);
            if (pointee->isVariablyModifiedType() && ctx.getAsArrayType(pointee))
                return m.node(DIV, int_t(), bytes, convert(array_bytes(pointee), int_t()));
            uint64_t size = pointee->isVoidType() || pointee->isFunctionType() ? 1 : size_of(pointee);
            if (size == 0) return m.node(COMMAOP, int_t(), bytes, icon(0, int_t()));
            return m.node(PVCONV, t, bytes, icon(int64_t(size * 8), int_t()));
        }
        [[fallthrough]];
    case BO_Add:
        if (b->getType()->isPointerType()) {
            bool left = b->getLHS()->getType()->isPointerType();
            const Expr *p = left ? b->getLHS() : b->getRHS(), *i = left ? b->getRHS() : b->getLHS();
            return pointer_arithmetic(rvalue(p), i, b->getType()->getPointeeType(), b->getOpcode() == BO_Sub);
        }
        break;
    case BO_PtrMemD:
    case BO_PtrMemI: refuse(b->getBeginLoc(), "a pointer to member");
    default: break;
    }
    if (t->is_complex())
        return complex_binary(opcode_for(b->getOpcode(), t), t, rvalue(without_complex_cast(b->getLHS())),
                              rvalue(without_complex_cast(b->getRHS())));
    if (b->isShiftOp()) refuse_uneven_shift(b);
    MNODE *l = rvalue(b->getLHS()), *r = rvalue(b->isShiftOp() ? without_splat(b->getRHS()) : b->getRHS());
    if (b->isShiftOp() && !r->type->is_vector()) r = convert(r, int_t());
    return m.node(opcode_for(b->getOpcode(), t), t, l, r);
}

// Arithmetic with a result of complex type. A real operand acts on the parts and is no complex number with a zero: the
// signs of zeros and infinities depend on it. Only as a dividend it is one.
MNODE *LOWER::complex_binary(int op, TYPE *t, MNODE *l, MNODE *r) {
    TYPE *part = t->part_type();
    bool left = l->type->is_complex(), right = r->type->is_complex();
    if (!left && op == DIV) {
        l = m.node(COMPLEX, t, convert(l, part), part->is_fltpt() ? float_constant(0, part) : icon(0, part));
        left = true;
    }
    if (left && right) return m.node(op, t, l, r);
    MNODE *first = nullptr;
    for (MNODE **v : {&l, &r}) {
        if (!(*v)->type->is_complex()) *v = convert(*v, part);
        if (is_simple(*v)) continue;
        MSYM *kept = temp((*v)->type);
        MNODE *set = m.node(ASG, kept->type, m.name(kept), *v);
        first = first ? comma_op(first, set) : set;
        *v = m.name(kept);
    }
    auto of = [&](MNODE *v, bool re) {
        if (!v->type->is_complex()) return m.copy(v);
        return m.node(re ? REAL : IMAG, part, m.copy(v));
    };
    MNODE *re = m.node(op, part, of(l, true), of(r, true)), *im;
    if (op == MULT || op == DIV) im = m.node(op, part, of(l, false), of(r, false));
    else if (left) im = of(l, false);
    else im = op == PLUS ? of(r, false) : m.node(UMINUS, part, of(r, false));
    return comma_op(first, m.node(COMPLEX, t, re, im));
}

MNODE *LOWER::assignment(const BinaryOperator *b) {
    if (is_record(b->getType())) return record_value(b);
    // The right side first when it emits statements: they must not separate the left side's parts.
    MNODE *value = rvalue(b->getRHS());
    MNODE *lv = lvalue(b->getLHS());
    if (b->getLHS()->getType()->isAtomicType())
        return atomic_store(address_of(lv), value, unqualified(b->getType()), 5);
    return assign(lv, value);
}

MNODE *LOWER::compound_assignment(const CompoundAssignOperator *b) {
    BinaryOperatorKind kind = BinaryOperator::getOpForCompoundAssignment(b->getOpcode());
    QualType left_q = b->getLHS()->getType();
    if (auto *a = left_q->getAs<AtomicType>()) left_q = a->getValueType();
    TYPE *left_t = unqualified(left_q);
    if (left_q->isPointerType()) {
        // The left side comes first: it may hold the size of what the pointer points to.
        MNODE *lv = b->getLHS()->getType()->isAtomicType() ? nullptr : lvalue(b->getLHS());
        MNODE *zero = null_pointer(left_t);
        MNODE *sum = pointer_arithmetic(zero, b->getRHS(), left_q->getPointeeType(), false);
        MNODE *bytes = sum->right;
        if (!lv) return atomic_update(b->getLHS(), kind, bytes, false);
        return m.node(kind == BO_Add ? PLUSASG : MINUSASG, left_t, lv, bytes);
    }
    if (b->isShiftAssignOp()) refuse_uneven_shift(b);
    TYPE *work = unqualified(b->getComputationLHSType());
    MNODE *right = rvalue(work->is_complex()     ? without_complex_cast(b->getRHS())
                          : b->isShiftAssignOp() ? without_splat(b->getRHS())
                                                 : b->getRHS());
    int op = opcode_for(kind, work);
    if (MNODE *v = atomic_update(b->getLHS(), kind, right, false)) return v;
    bool shift = kind == BO_Shl || kind == BO_Shr;
    if (shift && !right->type->is_vector()) right = convert(right, int_t());
    if (work == left_t && !work->is_complex() && !work->is_vector() && !left_t->is_bool())
        return m.node(assign_opcode(op), left_t, lvalue(b->getLHS()), shift ? right : convert(right, work));
    MNODE *first = nullptr;
    MNODE *lv = stable_lvalue(b->getLHS(), first);
    MNODE *old = convert(m.copy(lv), work);
    if (work->is_complex()) {
        if (!left_t->is_complex()) old = m.copy(lv);
    } else if (!shift) right = convert(right, work);
    MNODE *result = work->is_complex() ? complex_binary(op, work, old, right) : m.node(op, work, old, right);
    if (work->is_complex() && !left_t->is_complex()) result = m.node(REAL, work->part_type(), result);
    return comma_op(first, assign(lv, convert(result, left_t)));
}

MNODE *LOWER::increment(const UnaryOperator *u) {
    const Expr *sub = u->getSubExpr();
    QualType q = sub->getType();
    bool inc = u->isIncrementOp(), post = u->isPostfix();
    if (auto *a = q->getAs<AtomicType>()) {
        QualType v = a->getValueType();
        MNODE *by = v->isPointerType() ? element_size(v->getPointeeType(), int_t()) : icon(1, int_t());
        return atomic_update(sub, inc ? BO_Add : BO_Sub, by, post);
    }
    TYPE *t = unqualified(q);
    if (q->isPointerType()) {
        MNODE *lv = lvalue(sub), *bytes = element_size(q->getPointeeType(), int_t());
        return m.node(post ? (inc ? PLUSPLUS : MINMIN) : (inc ? PLUSASG : MINUSASG), t, lv, bytes);
    }
    TYPE *plain = t->is_enum() ? t->underlying_type() : t;
    if (t->is_bool()) {
        MNODE *first = nullptr;
        MNODE *lv = stable_lvalue(sub, first);
        MNODE *next = m.node(
            SCONV, t, inc ? icon(1, int_t()) : m.node(EXCLAIM, int_t(), m.node(SCONV, int_t(), m.copy(lv))));
        if (!post) return comma_op(first, assign(lv, next));
        MSYM *kept = temp(t);
        MNODE *save = m.node(ASG, t, m.name(kept), m.copy(lv));
        return comma_op(first, comma_op(save, comma_op(assign(lv, next), m.name(kept))));
    }
    if (t->is_complex()) {
        MNODE *first = nullptr, *lv = stable_lvalue(sub, first);
        TYPE *part = t->part_type();
        MSYM *kept = temp(t);
        MNODE *save = m.node(ASG, t, m.name(kept), m.copy(lv));
        MNODE *one = part->is_fltpt() ? float_constant(1, part) : icon(1, part);
        MNODE *re = m.node(inc ? PLUS : MINUS, part, m.node(REAL, part, m.name(kept)), one);
        MNODE *step = assign(lv, m.node(COMPLEX, t, re, m.node(IMAG, part, m.name(kept))));
        return comma_op(first, comma_op(save, post ? comma_op(step, m.name(kept)) : step));
    }
    if (t->is_fltpt() && post) {
        MNODE *first = nullptr;
        MNODE *lv = stable_lvalue(sub, first);
        MSYM *kept = temp(t);
        MNODE *save = m.node(ASG, t, m.name(kept), m.copy(lv));
        MNODE *step = assign(lv, m.node(inc ? PLUS : MINUS, t, m.name(kept), float_constant(1, t)));
        return comma_op(first, comma_op(save, comma_op(step, m.name(kept))));
    }
    if (t->is_fltpt()) return m.node(inc ? PLUSASG : MINUSASG, t, lvalue(sub), float_constant(1, t));
    return m.node(post ? (inc ? PLUSPLUS : MINMIN) : (inc ? PLUSASG : MINUSASG), t, lvalue(sub),
                  icon(1, plain));
}

MNODE *LOWER::unary(const UnaryOperator *u) {
    const Expr *sub = u->getSubExpr();
    switch (u->getOpcode()) {
    case UO_PostInc:
    case UO_PostDec:
    case UO_PreInc:
    case UO_PreDec: return increment(u);
    case UO_AddrOf: {
        if (sub->getType()->isFunctionType()) {
            MNODE *f = lvalue(sub);
            return address_of(f);
        }
        MNODE *a = address_of(lvalue(sub));
        TYPE *t = unqualified(u->getType());
        return a->type == t ? a : m.node(PCONV, t, a);
    }
    case UO_Deref: return u->getType()->isVoidType() ? rvalue(sub) : lvalue(u);
    case UO_Plus: return rvalue(sub);
    case UO_Minus: {
        if (MNODE *cut = exact_unary(u, UMINUS)) return cut;
        MNODE *v = rvalue(sub);
        TYPE *t = unqualified(u->getType());
        if (v->op == ICON && !(t->is_unsigned()))
            return icon(t->size == 32 ? int64_t(int32_t(-v->value)) : -v->value, t);
        if (v->op == FCON) {
            MNODE *n = m.copy(v);
            n->text = n->text[0] == '-' ? n->text.substr(1) : "-" + n->text;
            return n;
        }
        return m.node(UMINUS, t, v);
    }
    case UO_Not: {
        if (MNODE *cut = exact_unary(u, NOTB)) return cut;
        TYPE *t = unqualified(u->getType());
        MNODE *v = rvalue(sub);
        if (t->is_complex()) { // the conjugate
            MNODE *first = nullptr;
            if (!is_simple(v)) {
                MSYM *kept = temp(t);
                first = m.node(ASG, t, m.name(kept), v);
                v = m.name(kept);
            }
            TYPE *part = t->part_type();
            MNODE *im = m.node(UMINUS, part, m.node(IMAG, part, m.copy(v)));
            return comma_op(first, m.node(COMPLEX, t, m.node(REAL, part, v), im));
        }
        return m.node(NOTB, t, v);
    }
    case UO_LNot: {
        MNODE *v = rvalue(sub);
        if (v->type->is_fltpt()) return m.node(FEQ, int_t(), v, float_constant(0, v->type->stqs()));
        return m.node(EXCLAIM, int_t(), condition_of(v));
    }
    case UO_Extension: return rvalue(sub);
    case UO_Real:
    case UO_Imag: {
        bool re = u->getOpcode() == UO_Real;
        TYPE *t = unqualified(u->getType());
        MNODE *v = rvalue(sub);
        if (v->type->is_complex()) return m.node(re ? REAL : IMAG, t, v);
        if (re) return v;
        return comma_op(v, t->is_fltpt() ? float_constant(0, t) : icon(0, t));
    }
    default: refuse(u->getBeginLoc(), "this operator");
    }
}
