// Bit-fields of more than 32 bits. They do not promote to int: the cross compiler gives such a field a type of its own
// width, and arithmetic with it has the width of its wider operand. The front end computes in 64 bits; here the
// operands and the result of such an operation are cut to the width that holds.
#include "tools/parse/lower.h"

using namespace clang;

namespace {

bool is_number(QualType t) { return t->isIntegerType() && !t->isAnyComplexType() && !t->isVectorType(); }

// What the usual conversions put around an operand says nothing of its own width.
const Expr *bare(const Expr *e) {
    for (;;) {
        e = e->IgnoreParens();
        auto *c = dyn_cast<ImplicitCastExpr>(e);
        if (!c || (c->getCastKind() != CK_IntegralCast && c->getCastKind() != CK_LValueToRValue &&
                   c->getCastKind() != CK_NoOp))
            return e;
        e = c->getSubExpr();
    }
}

EXACT_INT wider(EXACT_INT a, EXACT_INT b) {
    if (a.bits != b.bits) return a.bits > b.bits ? a : b;
    return {a.bits, a.is_signed && b.is_signed};
}

bool has_parts_of_field_width(const BinaryOperator *b) {
    switch (b->getOpcode()) {
    case BO_Mul:
    case BO_Div:
    case BO_Rem:
    case BO_Add:
    case BO_Sub:
    case BO_And:
    case BO_Or:
    case BO_Xor:
    case BO_Shl:
    case BO_Shr: return true;
    default: return false;
    }
}

} // namespace

// The width and sign that a value has when fields keep their width.
EXACT_INT LOWER::exact_int(const Expr *given) {
    const Expr *e = bare(given);
    QualType t = e->getType();
    if (!is_number(t)) return {};
    EXACT_INT own{unsigned(ctx.getTypeSize(t)), t->isSignedIntegerOrEnumerationType()};
    if (own.bits < 64) return own.bits < 32 ? EXACT_INT{32, true} : own;
    if (const FieldDecl *f = e->getSourceBitField()) {
        unsigned width = f->getBitWidthValue(ctx);
        return {width, width < 32 || own.is_signed};
    }
    auto found = exact_ints.find(e);
    if (found != exact_ints.end()) return found->second;
    EXACT_INT result = own;
    if (auto *b = dyn_cast<BinaryOperator>(e)) {
        if (b->getOpcode() == BO_Comma) result = exact_int(b->getRHS());
        else if (b->isShiftOp()) result = exact_int(b->getLHS());
        else if (has_parts_of_field_width(b)) result = wider(exact_int(b->getLHS()), exact_int(b->getRHS()));
    } else if (auto *u = dyn_cast<UnaryOperator>(e)) {
        if (u->getOpcode() == UO_Minus || u->getOpcode() == UO_Plus || u->getOpcode() == UO_Not ||
            u->getOpcode() == UO_Extension)
            result = exact_int(u->getSubExpr());
    } else if (auto *c = dyn_cast<ConditionalOperator>(e))
        result = wider(exact_int(c->getTrueExpr()), exact_int(c->getFalseExpr()));
    return exact_ints[e] = result;
}

// A value of the shape: cut to the width, as a 64-bit integer of the sign.
MNODE *LOWER::exact_value(const Expr *given, EXACT_INT want) {
    const Expr *e = bare(given);
    EXACT_INT has = exact_int(e);
    TYPE *type = m.package->basic_int(want.is_signed ? IK_llong : IK_ullong);
    MNODE *v = convert(rvalue(e), type);
    bool fits =
        has.is_signed == want.is_signed ? has.bits <= want.bits : !has.is_signed && has.bits < want.bits;
    return fits ? v : cut_to(v, want);
}

MNODE *LOWER::cut_to(MNODE *v, EXACT_INT shape) {
    if (shape.bits >= 64) return v;
    if (!shape.is_signed) return m.node(ANDB, v->type, v, icon((int64_t(1) << shape.bits) - 1, v->type));
    MNODE *left = m.node(SLL, v->type, v, icon(64 - shape.bits, int_t()));
    return m.node(SRL, v->type, left, icon(64 - shape.bits, int_t()));
}

// Null: no operand has the width of a field.
MNODE *LOWER::exact_binary(const BinaryOperator *b) {
    bool compares = b->isComparisonOp(), shifts = b->isShiftOp();
    if (!compares && !has_parts_of_field_width(b)) return nullptr;
    if (!is_number(b->getLHS()->getType()) || ctx.getTypeSize(b->getLHS()->getType()) != 64) return nullptr;
    if (!is_number(b->getRHS()->getType())) return nullptr;
    EXACT_INT l = exact_int(b->getLHS());
    EXACT_INT shape = shifts ? l : wider(l, exact_int(b->getRHS()));
    bool is_signed = b->getLHS()->getType()->isSignedIntegerOrEnumerationType();
    if (shape.bits == 64 && shape.is_signed == is_signed) return nullptr;
    MNODE *left = exact_value(b->getLHS(), shape);
    MNODE *right = shifts ? convert(rvalue(b->getRHS()), int_t()) : exact_value(b->getRHS(), shape);
    int op = opcode_for(b->getOpcode(), left->type);
    if (compares) return m.node(op, int_t(), left, right);
    return convert(cut_to(m.node(op, left->type, left, right), shape), unqualified(b->getType()));
}

// The operand of a minus or a complement, when it has the width of a field.
MNODE *LOWER::exact_unary(const UnaryOperator *u, int op) {
    if (!is_number(u->getType()) || ctx.getTypeSize(u->getType()) != 64) return nullptr;
    EXACT_INT shape = exact_int(u->getSubExpr());
    if (shape.bits == 64 && shape.is_signed == u->getType()->isSignedIntegerOrEnumerationType())
        return nullptr;
    MNODE *v = exact_value(u->getSubExpr(), shape);
    return convert(cut_to(m.node(op, v->type, v), shape), unqualified(u->getType()));
}
