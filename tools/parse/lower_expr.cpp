#include "tools/parse/lower.h"

#include "clang/AST/ExprObjC.h"

using namespace clang;

// --- small trees ---

MNODE *LOWER::address_of(MNODE *lv) {
    if (lv->op == UMULT && lv->left->type->is_ptr()) return lv->left;
    return m.node(UAND, pointer_to(lv->type), lv);
}

MNODE *LOWER::deref(MNODE *pointer, TYPE *type) {
    if (pointer->op == UAND && pointer->left->type == type) return pointer->left;
    return m.node(UMULT, type, pointer);
}

// The alignment in bits that is known of an lvalue: of a part of a packed record, or of a type that says so, less than
// its type's.
uint64_t LOWER::alignment_of(const Expr *e) {
    e = e->IgnoreParens();
    auto lowest = [](uint64_t n) { return n ? n & (0 - n) : ~uint64_t(0); };
    auto element_of = [&](const Expr *base,
                          QualType element) -> uint64_t { // base: a pointer, or a decayed array
        auto *c = dyn_cast<ImplicitCastExpr>(base->IgnoreParens());
        if (!c || c->getCastKind() != CK_ArrayToPointerDecay) return ctx.getTypeAlign(element);
        uint64_t of_array = alignment_of(c->getSubExpr());
        return element->isVariablyModifiedType() ? of_array
                                                 : std::min(of_array, lowest(ctx.getTypeSize(element)));
    };
    if (auto *s = dyn_cast<ArraySubscriptExpr>(e))
        return s->getBase()->getType()->isVectorType()
                   ? std::min(alignment_of(s->getBase()), uint64_t(ctx.getTypeAlign(e->getType())))
                   : element_of(s->getBase(), e->getType());
    if (auto *u = dyn_cast<UnaryOperator>(e); u && u->getOpcode() == UO_Deref)
        return element_of(u->getSubExpr(), e->getType());
    if (auto *m_expr = dyn_cast<MemberExpr>(e)) {
        auto *f = dyn_cast<FieldDecl>(m_expr->getMemberDecl());
        if (!f || f->isBitField()) return ctx.getTypeAlign(e->getType());
        uint64_t base = m_expr->isArrow() ? ctx.getTypeAlign(m_expr->getBase()->getType()->getPointeeType())
                                          : alignment_of(m_expr->getBase());
        return std::min(base, lowest(ctx.getFieldOffset(f)));
    }
    if (isa<DeclRefExpr>(e)) return ~uint64_t(0);
    // records and wide vectors, whose values are places
    if (auto *c = dyn_cast<ConditionalOperator>(e))
        return std::min(alignment_of(c->getTrueExpr()), alignment_of(c->getFalseExpr()));
    if (auto *b = dyn_cast<BinaryOperator>(e); b && (b->isAssignmentOp() || b->isCommaOp()))
        return alignment_of(b->isCommaOp() ? b->getRHS() : b->getLHS());
    if (auto *c = dyn_cast<CastExpr>(e);
        c && (c->getCastKind() == CK_LValueToRValue || c->getCastKind() == CK_NoOp ||
              (c->getCastKind() == CK_BitCast && c->getType()->isVectorType())))
        return alignment_of(c->getSubExpr());
    return ctx.getTypeAlign(e->getType());
}

// What a pointer points to, where only `align` bits of alignment are known: a member of a packed record says so.
MNODE *LOWER::deref_at(MNODE *pointer, TYPE *type, uint64_t align) {
    bool no_access =
        type->is_func() || (type->is_array() && !type->is_vector()); // a vector counts as an array
    if (no_access || align >= type->align) return deref(pointer, type);
    TYPE *&packed = packed_types[{type, align}];
    if (!packed) {
        packed = m.package->mk_csu(K_struct, "", type->size, uint32_t(align), false, 0, true);
        packed->add_mdata("v", type, 0);
        m.package->type_frozen(packed);
    }
    MNODE *field = m.node(FIELD, type);
    field->member = packed->mdata(), field->csu = packed;
    return m.node(STDOT, type, deref(m.node(PCONV, pointer_to(packed), pointer), packed), field);
}

MNODE *LOWER::decay(MNODE *array, QualType pointer) {
    TYPE *t = type_of(pointer.getUnqualifiedType());
    if (array->op == SCON) return array->type == t ? array : m.node(PCONV, t, array);
    MNODE *a = address_of(array);
    return a->type == t ? a : m.node(PCONV, t, a);
}

MNODE *LOWER::member(MNODE *record, const FieldDecl *f, TYPE *type) {
    TYPE *csu = record_type(f->getParent(), f->getLocation());
    fkMDATA *md = members[f];
    MNODE *field = m.node(FIELD, md->type);
    field->member = md;
    field->csu = csu;
    // what is part of a volatile object is volatile, its first value included
    if (record->type->is_volatile() && !type->is_volatile() && !type->is_array())
        type = m.package->mk_qual(type, QUAL_volatile);
    return m.node(STDOT, type, record, field);
}

MNODE *LOWER::assign(MNODE *lv, MNODE *value) {
    TYPE *t = lv->type;
    if (t->is_qual() && (t->qual_kind() & QUAL_const))
        t = lv->type = m.package->remove_known_qual(t, QUAL_const);
    TYPE *plain = t->is_qual() ? m.package->remove_known_qual(t, 255) : t;
    if (plain->is_csu()) return m.node(STASG, plain, lv, value);
    return m.node(ASG, plain, lv, value);
}

MNODE *LOWER::call_of(MSYM *f, MNODE *args, TYPE *returns) {
    MNODE *callee = address_of(m.name(f));
    return args ? m.node(CALL, returns, callee, args) : m.node(UCALL, returns, callee);
}

// A leaf that can be read twice.
bool LOWER::is_simple(const MNODE *n) {
    while (n->op == SCONV || n->op == PCONV || n->op == UAND || n->op == STDOT) n = n->left;
    return n->op == ICON || n->op == LCON || n->op == FCON || (n->op == NAME && !n->type->is_volatile());
}

MNODE *LOWER::stable_lvalue(const Expr *e, MNODE *&first) {
    MNODE *lv = lvalue(e);
    first = nullptr;
    // A chain of members down to a variable has no effects of its own, nor has a dereferenced variable.
    const MNODE *at = lv;
    while (at->op == STDOT) at = at->left;
    if (at->op == NAME) return lv;
    if (at->op == UMULT && is_simple(at->left)) return lv;
    // Else the address of the outermost indirection goes to a temporary.
    MNODE **slot = &lv;
    while ((*slot)->op == STDOT) slot = &(*slot)->left;
    MNODE *address = address_of(*slot);
    MSYM *kept = temp(address->type);
    first = m.node(ASG, kept->type, m.name(kept), address);
    *slot = m.node(UMULT, (*slot)->type, m.name(kept));
    return lv;
}

// --- conversions ---

MNODE *LOWER::truth(MNODE *v) {
    TYPE *t = v->type;
    if (v->op == EXCLAIM || (v->op >= EQ && v->op <= UGT) || (v->op >= FEQ && v->op <= FUNO) ||
        v->op == ANDAND || v->op == OROR)
        return v;
    if (t->is_complex()) {
        TYPE *part = t->part_type();
        if (!is_simple(v)) {
            MSYM *kept = temp(t);
            MNODE *first = m.node(ASG, t, m.name(kept), v);
            return comma_op(first, truth(m.name(kept)));
        }
        MNODE *re = truth(m.node(REAL, part, v)), *im = truth(m.node(IMAG, part, m.copy(v)));
        return m.node(OROR, int_t(), re, im);
    }
    if (t->is_fltpt()) return m.node(FNEQN, int_t(), v, float_constant(0, t->stqs()));
    TYPE *plain = t->is_qual() ? t->stqs() : t;
    if (t->is_ptr()) return m.node(NEQ, int_t(), v, null_pointer(plain));
    if (t->is_enum()) plain = t->underlying_type();
    return m.node(NEQ, int_t(), v, icon(0, plain));
}

MNODE *LOWER::condition_of(MNODE *v) {
    TYPE *t = v->type;
    if (t->is_integral() && t->size <= 32 && !t->is_bool()) return v;
    return truth(v);
}

MNODE *LOWER::condition(const Expr *e) { return condition_of(rvalue(e)); }

MNODE *LOWER::convert(MNODE *v, TYPE *to) {
    if (to->is_qual()) to = m.package->remove_known_qual(to, 255);
    if (v->type == to) return v;
    if (to->is_void()) return v;
    if (to->is_bool()) return m.node(SCONV, to, truth(v));
    if ((v->op == ICON || v->op == LCON) && (to->is_integral()) && v->op == ICON && to->size <= 64) {
        // A constant takes the type at once when its value stays.
        int64_t x = v->value;
        unsigned bits = unsigned(to->size);
        bool stays = to->is_unsigned() ? x >= 0 && (bits >= 64 || uint64_t(x) < (1ull << bits))
                                       : bits >= 64 || (x >= -(1ll << (bits - 1)) && x < (1ll << (bits - 1)));
        if (stays) return icon(x, to);
    }
    return m.node(to->is_ptr() ? PCONV : SCONV, to, v);
}

MNODE *LOWER::lower_cast(const CastExpr *c) {
    const Expr *sub = c->getSubExpr();
    if (auto *written = dyn_cast<ExplicitCastExpr>(c)) evaluate_array_sizes(written->getTypeAsWritten());
    TYPE *to = c->getType()->isVoidType() ? void_t() : type_of(c->getType().getUnqualifiedType());
    switch (c->getCastKind()) {
    case CK_AtomicToNonAtomic:
        if (c->getType()->isScalarType() && !is_record(c->getType()) && sub->isGLValue())
            return atomic_load(address_of(lvalue(sub)), to, 5);
        [[fallthrough]];
    case CK_LValueToRValue: {
        if (is_record(c->getType())) return record_value(sub);
        return lvalue(sub);
    }
    case CK_NoOp:
    case CK_NonAtomicToAtomic: {
        if (c->isGLValue()) return lvalue(sub);
        return rvalue(sub);
    }
    case CK_ArrayToPointerDecay: {
        const Expr *bare = sub->IgnoreParens();
        if (auto *s = dyn_cast<StringLiteral>(bare))
            return s->getCharByteWidth() == 1 ? decay(string_literal(s), c->getType())
                                              : decay(m.name(string_object(s)), c->getType());
        return decay(lvalue(sub), c->getType());
    }
    case CK_FunctionToPointerDecay:
    case CK_BuiltinFnToFnPtr: {
        MNODE *a = address_of(lvalue(sub));
        return a->type == to ? a : m.node(PCONV, to, a);
    }
    case CK_NullToPointer: {
        if (!sub->HasSideEffects(ctx)) return null_pointer(to);
        return comma_op(rvalue(sub), null_pointer(to));
    }
    case CK_BitCast:
    case CK_AddressSpaceConversion: {
        auto lane = [&](QualType q) {
            auto *vector = q->getAs<VectorType>();
            return ctx.getTypeSize(vector ? vector->getElementType() : q);
        };
        if ((to->is_vector() || sub->getType()->isVectorType()) && ctx.getTargetInfo().isBigEndian() &&
            lane(sub->getType()) != lane(c->getType()))
            refuse(c->getBeginLoc(), "a vector read with lanes of another size on a big-endian target");
        MNODE *v = rvalue(sub);
        if (v->type == to) return v;
        if (to->is_vector()) return m.node(VRCONV, to, v);
        return m.node(PCONV, to, v);
    }
    case CK_IntegralToPointer: return m.node(PCONV, to, rvalue(sub));
    case CK_PointerToIntegral: return m.node(SCONV, to, rvalue(sub));
    case CK_ToVoid: {
        MNODE *v = is_record(sub->getType()) ? address_of(record_value(sub)) : rvalue(sub);
        return v;
    }
    case CK_IntegralToFloating: {
        EXACT_INT shape =
            exact_int(sub); // a wide bit-field may count as signed where the front end says unsigned
        bool same = shape.is_signed == sub->getType()->isSignedIntegerOrEnumerationType();
        return convert(ctx.getTypeSize(sub->getType()) < 64 || same ? rvalue(sub) : exact_value(sub, shape),
                       to);
    }
    case CK_IntegralCast:
    case CK_FloatingToIntegral:
    case CK_FloatingCast:
    case CK_BooleanToSignedIntegral: return convert(rvalue(sub), to);
    case CK_IntegralToBoolean:
    case CK_FloatingToBoolean:
    case CK_PointerToBoolean:
    case CK_FloatingComplexToBoolean:
    case CK_IntegralComplexToBoolean: return m.node(SCONV, to, truth(rvalue(sub)));
    case CK_FloatingRealToComplex:
    case CK_IntegralRealToComplex: {
        TYPE *part = to->part_type();
        MNODE *zero = part->is_fltpt() ? float_constant(0, part) : icon(0, part);
        return m.node(COMPLEX, to, convert(rvalue(sub), part), zero);
    }
    case CK_FloatingComplexToReal:
    case CK_IntegralComplexToReal: return m.node(REAL, to, rvalue(sub));
    case CK_FloatingComplexCast:
    case CK_IntegralComplexCast:
    case CK_FloatingComplexToIntegralComplex:
    case CK_IntegralComplexToFloatingComplex: {
        MNODE *v = rvalue(sub);
        if (v->type == to) return v;
        TYPE *from_part = v->type->part_type(), *part = to->part_type();
        MNODE *first = nullptr;
        if (!is_simple(v)) {
            MSYM *kept = temp(v->type);
            first = m.node(ASG, kept->type, m.name(kept), v);
            v = m.name(kept);
        }
        MNODE *re = convert(m.node(REAL, from_part, v), part);
        MNODE *im = convert(m.node(IMAG, from_part, m.copy(v)), part);
        return comma_op(first, m.node(COMPLEX, to, re, im));
    }
    case CK_LValueBitCast: {
        MNODE *lv = lvalue(sub);
        return deref(m.node(PCONV, pointer_to(to), address_of(lv)), to);
    }
    case CK_ToUnion: {
        // A value as a union: a temporary whose fitting member is set.
        MSYM *u = temp(to);
        for (const FieldDecl *f : c->getType()->castAs<RecordType>()->getDecl()->fields())
            if (ctx.hasSameUnqualifiedType(f->getType(), sub->getType())) {
                MNODE *set = assign(member(m.name(u), f, type_of(f->getType())),
                                    is_record(sub->getType()) ? record_value(sub) : rvalue(sub));
                return deref(comma_op(set, address_of(m.name(u))), to);
            }
        refuse(c->getBeginLoc(), "this cast to a union");
    }
    case CK_VectorSplat: return m.node(VPACKM, to, rvalue(sub));
    default: refuse(c->getBeginLoc(), std::string("a conversion of kind ") + c->getCastKindName());
    }
}

// --- lvalues ---

MNODE *LOWER::string_literal(const StringLiteral *s) {
    if (s->getCharByteWidth() != 1)
        return decay(m.name(string_object(s)),
                     ctx.getPointerType(ctx.getAsArrayType(s->getType())->getElementType()));
    MNODE *n = m.node(SCON, pointer_to(char_t()));
    n->text.assign(s->getBytes().data(), s->getByteLength());
    n->text.push_back('\0');
    return n;
}

MNODE *LOWER::compound_literal(const CompoundLiteralExpr *c) {
    QualType q = c->getType();
    if (c->isFileScope()) {
        auto key = reinterpret_cast<const Decl *>(c);
        auto it = symbols.find(key);
        MSYM *s =
            it != symbols.end() ? it->second : (symbols[key] = anonymous_static(c->getInitializer(), q));
        return m.name(s);
    }
    evaluate_array_sizes(c->getTypeSourceInfo()->getType());
    QualType body = q;
    body.removeLocalConst();
    MSYM *s = temp(type_of(body));
    // The initialiser consists of statements; they go before the one that is built.
    initialise(m.name(s), c->getInitializer(), q);
    return m.name(s);
}

MNODE *LOWER::lvalue(const Expr *e) {
    e = e->IgnoreParens();
    TYPE *type = e->getType()->isFunctionType() ? nullptr : type_of(e->getType());
    switch (e->getStmtClass()) {
    case Stmt::DeclRefExprClass: {
        const ValueDecl *d = cast<DeclRefExpr>(e)->getDecl();
        if (auto *f = dyn_cast<FunctionDecl>(d)) return m.name(function_symbol(f));
        if (auto *v = dyn_cast<VarDecl>(d)) {
            MSYM *s = variable_symbol(v);
            if (v->getType()->isVariableArrayType()) return m.node(UMULT, type, m.name(s));
            bool other_type = extended.count(s) || v->getMostRecentDecl()->hasAttr<AliasAttr>();
            if (other_type && s->type != type)
                return deref(m.node(PCONV, pointer_to(type), address_of(m.name(s))), type);
            return m.name(s);
        }
        refuse(e->getBeginLoc(), "a reference to this declaration");
    }
    case Stmt::UnaryOperatorClass: {
        auto *u = cast<UnaryOperator>(e);
        switch (u->getOpcode()) {
        case UO_Deref:
            if (u->getType()->isFunctionType()) {
                MNODE *p = rvalue(u->getSubExpr());
                return p->op == UAND ? p->left : m.node(UMULT, p->type->type_pointed_to(), p);
            }
            return deref_at(rvalue(u->getSubExpr()), type, alignment_of(e));
        case UO_Extension: return lvalue(u->getSubExpr());
        case UO_Real:
        case UO_Imag: {
            MNODE *lv = lvalue(u->getSubExpr());
            if (!u->getSubExpr()->getType()->isAnyComplexType()) return lv;
            // A part of a complex object is an element of a pair in memory.
            TYPE *p = pointer_to(type);
            MNODE *a = m.node(PCONV, p, address_of(lv));
            if (u->getOpcode() == UO_Imag) a = m.node(PLUS, p, a, icon(int64_t(type->size / 8), int_t()));
            return deref_at(a, type, alignment_of(u->getSubExpr()));
        }
        default: break;
        }
        break;
    }
    case Stmt::ArraySubscriptExprClass: {
        auto *a = cast<ArraySubscriptExpr>(e);
        if (is_wide_vector(a->getBase()->getType())) return wide_vector_lane(a, type);
        if (a->getBase()->getType()->isVectorType())
            return m.node(VFIELD, type, lvalue(a->getBase()), rvalue(a->getIdx()));
        MNODE *p = pointer_arithmetic(rvalue(a->getBase()), a->getIdx(), a->getType(), false);
        return deref_at(p, type, alignment_of(e));
    }
    case Stmt::MemberExprClass: {
        auto *x = cast<MemberExpr>(e);
        auto *f = dyn_cast<FieldDecl>(x->getMemberDecl());
        if (!f) refuse(e->getBeginLoc(), "this member");
        MNODE *record;
        if (x->isArrow()) {
            MNODE *p = rvalue(x->getBase());
            QualType of = x->getBase()->getType()->getPointeeType(); // its typedef may lower the alignment
            record = deref_at(p, type_of(of), ctx.getTypeAlign(of));
        } else record = x->getBase()->isGLValue() ? lvalue(x->getBase()) : record_value(x->getBase());
        return member(record, f, type);
    }
    case Stmt::StringLiteralClass: {
        auto *s = cast<StringLiteral>(e);
        return m.name(string_object(s));
    }
    case Stmt::PredefinedExprClass: return lvalue(cast<PredefinedExpr>(e)->getFunctionName());
    case Stmt::CompoundLiteralExprClass: return compound_literal(cast<CompoundLiteralExpr>(e));
    case Stmt::ImplicitCastExprClass:
    case Stmt::CStyleCastExprClass: {
        MNODE *v = lower_cast(cast<CastExpr>(e));
        return v;
    }
    case Stmt::GenericSelectionExprClass: return lvalue(cast<GenericSelectionExpr>(e)->getResultExpr());
    case Stmt::ChooseExprClass: return lvalue(cast<ChooseExpr>(e)->getChosenSubExpr());
    case Stmt::OpaqueValueExprClass: {
        auto it = opaque_values.find(cast<OpaqueValueExpr>(e));
        if (it != opaque_values.end()) return m.copy(it->second);
        return lvalue(cast<OpaqueValueExpr>(e)->getSourceExpr());
    }
    case Stmt::VAArgExprClass: return lower_va_arg(cast<VAArgExpr>(e));
    case Stmt::StmtExprClass: {
        MNODE *v = statement_expression(cast<StmtExpr>(e), true);
        if (v) return v;
        break;
    }
    default: break;
    }
    if (is_record(e->getType())) return record_value(e);
    refuse(e->getBeginLoc(), std::string("an lvalue of kind ") + e->getStmtClassName());
}

// A record is never a plain value in a tree: this gives an lvalue that holds it.
MNODE *LOWER::record_value(const Expr *e) {
    e = e->IgnoreParens();
    TYPE *type = unqualified(e->getType());
    if (e->isGLValue()) return lvalue(e);
    if (is_wide_vector(e->getType()))
        if (MNODE *v = wide_vector_value(e)) return v;
    switch (e->getStmtClass()) {
    case Stmt::CallExprClass: {
        MNODE *v = call(cast<CallExpr>(e));
        return v;
    }
    case Stmt::BinaryOperatorClass: {
        auto *b = cast<BinaryOperator>(e);
        if (b->getOpcode() == BO_Assign) {
            MNODE *first = nullptr;
            MNODE *lv = stable_lvalue(b->getLHS(), first);
            MNODE *set = m.node(STASG, type, lv, record_value(b->getRHS()));
            return deref_at(comma_op(first, comma_op(set, address_of(m.copy(lv)))), type, alignment_of(e));
        }
        if (b->getOpcode() == BO_Comma) {
            if (needs_statements(b->getRHS())) {
                effect(b->getLHS());
                return record_value(b->getRHS());
            }
            MNODE *left = is_record(b->getLHS()->getType()) ? address_of(record_value(b->getLHS()))
                                                            : rvalue(b->getLHS());
            return deref_at(comma_op(left, address_of(record_value(b->getRHS()))), type, alignment_of(e));
        }
        break;
    }
    case Stmt::ConditionalOperatorClass: {
        auto *c = cast<ConditionalOperator>(e);
        MSYM *kept = temp(pointer_to(type));
        if (needs_statements(c->getTrueExpr()) || needs_statements(c->getFalseExpr())) {
            int yes = new_label(), no = new_label(), end = new_label();
            branch_on(c->getCond(), yes, no, true);
            emit_label(yes);
            emit(m.node(ASG, kept->type, m.name(kept),
                        convert(address_of(record_value(c->getTrueExpr())), kept->type)));
            emit_branch(end);
            emit_label(no);
            emit(m.node(ASG, kept->type, m.name(kept),
                        convert(address_of(record_value(c->getFalseExpr())), kept->type)));
            emit_label(end);
            return deref_at(m.name(kept), type, alignment_of(e));
        }
        TYPE *p = pointer_to(type);
        MNODE *a = convert(address_of(record_value(c->getTrueExpr())), p);
        MNODE *b = convert(address_of(record_value(c->getFalseExpr())), p);
        MNODE *chosen = m.node(QUEST, p, condition(c->getCond()), m.node(COLON, p, a, b));
        return deref_at(chosen, type, alignment_of(e));
    }
    case Stmt::StmtExprClass: return statement_expression(cast<StmtExpr>(e), true);
    case Stmt::ImplicitCastExprClass:
    case Stmt::CStyleCastExprClass: return lower_cast(cast<CastExpr>(e));
    case Stmt::CompoundLiteralExprClass: return compound_literal(cast<CompoundLiteralExpr>(e));
    case Stmt::InitListExprClass: {
        MSYM *s = temp(type);
        initialise(m.name(s), e, e->getType());
        return m.name(s);
    }
    case Stmt::VAArgExprClass: return lower_va_arg(cast<VAArgExpr>(e));
    case Stmt::ExprWithCleanupsClass: return record_value(cast<ExprWithCleanups>(e)->getSubExpr());
    case Stmt::GenericSelectionExprClass: return record_value(cast<GenericSelectionExpr>(e)->getResultExpr());
    case Stmt::ChooseExprClass: return record_value(cast<ChooseExpr>(e)->getChosenSubExpr());
    case Stmt::UnaryOperatorClass:
        if (cast<UnaryOperator>(e)->getOpcode() == UO_Extension)
            return record_value(cast<UnaryOperator>(e)->getSubExpr());
        break;
    case Stmt::OpaqueValueExprClass: return lvalue(e);
    default: break;
    }
    refuse(e->getBeginLoc(), std::string("a record value of kind ") + e->getStmtClassName());
}

// The statements go out; the value is that of the last one, kept in a temporary.
MNODE *LOWER::statement_expression(const StmtExpr *e, bool want_value) {
    const CompoundStmt *c = e->getSubStmt();
    const PSN *here = position;
    const Expr *last = nullptr;
    if (want_value && !c->body_empty() && !e->getType()->isVoidType()) {
        const Stmt *s = c->body_back();
        while (auto *l = dyn_cast<LabelStmt>(s)) s = l->getSubStmt();
        last = dyn_cast<Expr>(s);
    }
    MSYM *kept = nullptr;
    size_t depth = cleanups.size();
    for (const Stmt *s : c->body()) {
        if (last && s == c->body_back()) {
            while (auto *l = dyn_cast<LabelStmt>(s)) {
                emit_label(label_of(l->getDecl()));
                s = l->getSubStmt();
            }
            kept = temp(unqualified(e->getType()));
            position = psn_of(last->getBeginLoc());
            emit(assign(m.name(kept), is_record(e->getType()) ? record_value(last) : rvalue(last)));
            break;
        }
        statement(s);
    }
    leave_block(depth);
    position = here;
    return kept ? m.name(kept) : nullptr;
}

// offsetof with a subscript that is no constant.
MNODE *LOWER::variable_offset(const OffsetOfExpr *e, TYPE *t) {
    MNODE *sum = nullptr;
    uint64_t fixed = 0;
    QualType at = e->getTypeSourceInfo()->getType();
    for (unsigned i = 0; i < e->getNumComponents(); i++) {
        const OffsetOfNode &part = e->getComponent(i);
        if (part.getKind() == OffsetOfNode::Field) {
            fixed +=
                uint64_t(ctx.toCharUnitsFromBits(int64_t(ctx.getFieldOffset(part.getField()))).getQuantity());
            at = part.getField()->getType();
            continue;
        }
        at = ctx.getAsArrayType(at)->getElementType();
        MNODE *index = convert(rvalue(e->getIndexExpr(part.getArrayExprIndex())), t);
        MNODE *bytes = m.node(MULT, t, index, icon(int64_t(size_of(at)), t));
        sum = sum ? m.node(PLUS, t, sum, bytes) : bytes;
    }
    return m.node(PLUS, t, sum, icon(int64_t(fixed), t));
}

// --- values ---

MNODE *LOWER::rvalue(const Expr *e) {
    e = e->IgnoreParens();
    switch (e->getStmtClass()) {
    case Stmt::IntegerLiteralClass: {
        llvm::APInt v = cast<IntegerLiteral>(e)->getValue();
        TYPE *t = type_of(e->getType());
        return icon(t->is_unsigned() ? int64_t(v.getZExtValue()) : v.getSExtValue(), t);
    }
    case Stmt::CharacterLiteralClass:
        return icon(int64_t(int32_t(cast<CharacterLiteral>(e)->getValue())), type_of(e->getType()));
    case Stmt::FloatingLiteralClass: {
        Expr::EvalResult v;
        e->EvaluateAsRValue(v, ctx);
        return constant_value(v.Val, e->getType(), e->getBeginLoc());
    }
    case Stmt::ImaginaryLiteralClass: {
        TYPE *t = type_of(e->getType());
        MNODE *im = rvalue(cast<ImaginaryLiteral>(e)->getSubExpr());
        TYPE *part = t->part_type();
        return m.node(COMPLEX, t, part->is_fltpt() ? float_constant(0, part) : icon(0, part),
                      convert(im, part));
    }
    case Stmt::StringLiteralClass: return string_literal(cast<StringLiteral>(e));
    case Stmt::ConstantExprClass: return rvalue(cast<ConstantExpr>(e)->getSubExpr());
    case Stmt::ExprWithCleanupsClass: return rvalue(cast<ExprWithCleanups>(e)->getSubExpr());
    case Stmt::ImplicitCastExprClass:
    case Stmt::CStyleCastExprClass: return lower_cast(cast<CastExpr>(e));
    case Stmt::DeclRefExprClass: {
        auto *d = cast<DeclRefExpr>(e)->getDecl();
        if (auto *c = dyn_cast<EnumConstantDecl>(d))
            return icon(c->getInitVal().getExtValue(), type_of(e->getType()));
        return lvalue(e);
    }
    case Stmt::UnaryOperatorClass: return unary(cast<UnaryOperator>(e));
    case Stmt::CompoundAssignOperatorClass: return compound_assignment(cast<CompoundAssignOperator>(e));
    case Stmt::BinaryOperatorClass: return binary(cast<BinaryOperator>(e));
    case Stmt::ConditionalOperatorClass:
    case Stmt::BinaryConditionalOperatorClass: return conditional(cast<AbstractConditionalOperator>(e));
    case Stmt::CallExprClass: return call(cast<CallExpr>(e));
    case Stmt::StmtExprClass: {
        MNODE *v = statement_expression(cast<StmtExpr>(e), true);
        return v ? v : icon(0, int_t());
    }
    case Stmt::VAArgExprClass: return lower_va_arg(cast<VAArgExpr>(e));
    case Stmt::UnaryExprOrTypeTraitExprClass: {
        auto *u = cast<UnaryExprOrTypeTraitExpr>(e);
        TYPE *t = type_of(e->getType());
        QualType q = u->getTypeOfArgument();
        if (u->getKind() == UETT_SizeOf && q->isVariableArrayType()) {
            const Expr *of = u->isArgumentType() ? nullptr : u->getArgumentExpr();
            if (!of) evaluate_array_sizes(u->getArgumentType());
            else if (of->HasSideEffects(ctx) || needs_statements(of)) effect(of);
            return convert(array_bytes(q), t);
        }
        return icon(int64_t(e->EvaluateKnownConstInt(ctx).getZExtValue()), t);
    }
    case Stmt::OffsetOfExprClass: {
        Expr::EvalResult v;
        TYPE *t = type_of(e->getType());
        if (e->EvaluateAsInt(v, ctx)) return icon(int64_t(v.Val.getInt().getZExtValue()), t);
        return variable_offset(cast<OffsetOfExpr>(e), t);
    }
    case Stmt::GenericSelectionExprClass: return rvalue(cast<GenericSelectionExpr>(e)->getResultExpr());
    case Stmt::ChooseExprClass: return rvalue(cast<ChooseExpr>(e)->getChosenSubExpr());
    case Stmt::OpaqueValueExprClass: {
        auto it = opaque_values.find(cast<OpaqueValueExpr>(e));
        if (it != opaque_values.end()) return m.copy(it->second);
        return rvalue(cast<OpaqueValueExpr>(e)->getSourceExpr());
    }
    case Stmt::TypeTraitExprClass: return icon(cast<TypeTraitExpr>(e)->getValue(), type_of(e->getType()));
    case Stmt::ImplicitValueInitExprClass: {
        TYPE *t = unqualified(e->getType());
        return t->is_ptr() ? null_pointer(t) : t->is_fltpt() ? float_constant(0, t) : icon(0, t);
    }
    case Stmt::InitListExprClass: {
        auto *l = cast<InitListExpr>(e);
        if (l->getNumInits() == 1 && !e->getType()->isVectorType()) return rvalue(l->getInit(0));
        MSYM *s = temp(unqualified(e->getType()));
        initialise(m.name(s), e, e->getType());
        return m.name(s);
    }
    case Stmt::ShuffleVectorExprClass:
        if (is_wide_vector(cast<ShuffleVectorExpr>(e)->getExpr(0)->getType())) return vector_rearranged(e);
        return shuffle(cast<ShuffleVectorExpr>(e));
    case Stmt::ConvertVectorExprClass:
        if (is_wide_vector(cast<ConvertVectorExpr>(e)->getSrcExpr()->getType())) return vector_rearranged(e);
        return m.node(SCONV, unqualified(e->getType()), rvalue(cast<ConvertVectorExpr>(e)->getSrcExpr()));
    case Stmt::AtomicExprClass: return atomic(cast<AtomicExpr>(e));
    case Stmt::SourceLocExprClass: {
        Expr::EvalResult v;
        if (e->EvaluateAsRValue(v, ctx)) return constant_value(v.Val, e->getType(), e->getBeginLoc());
        break;
    }
    case Stmt::AddrLabelExprClass:
        return m.node(PCONV, type_of(e->getType()),
                      icon(label_address(cast<AddrLabelExpr>(e)->getLabel()), int_t()));
    case Stmt::MemberExprClass:
    case Stmt::ArraySubscriptExprClass:
    case Stmt::CompoundLiteralExprClass: return lvalue(e);
    default: break;
    }
    refuse(e->getBeginLoc(), std::string("an expression of kind ") + e->getStmtClassName());
}

MNODE *LOWER::conditional(const AbstractConditionalOperator *c) {
    TYPE *t = c->getType()->isVoidType() ? void_t() : unqualified(c->getType());
    const Expr *cond = c->getCond(), *yes_e = c->getTrueExpr(), *no_e = c->getFalseExpr();
    MNODE *first = nullptr;
    if (auto *b = dyn_cast<BinaryConditionalOperator>(c)) {
        MNODE *common = rvalue(b->getCommon());
        if (!is_simple(common)) {
            MSYM *kept = temp(common->type);
            first = m.node(ASG, kept->type, m.name(kept), common);
            common = m.name(kept);
        }
        opaque_values[b->getOpaqueValue()] = common;
    }
    if (needs_statements(yes_e) || needs_statements(no_e) || t->is_void()) {
        emit(first);
        int yes = new_label(), no = new_label(), end = new_label();
        MSYM *kept = t->is_void() ? nullptr : temp(t);
        branch_on(cond, yes, no, true);
        for (auto [label, part] : {std::pair(yes, yes_e), std::pair(no, no_e)}) {
            emit_label(label);
            if (!kept || part->getType()->isVoidType()) effect(part);
            else emit(m.node(ASG, t, m.name(kept), convert(rvalue(part), t)));
            if (label == yes) emit_branch(end);
        }
        emit_label(end);
        return kept ? m.name(kept) : icon(0, int_t());
    }
    MNODE *test = condition(cond);
    MNODE *a = convert(rvalue(yes_e), t), *b = convert(rvalue(no_e), t);
    return comma_op(first, m.node(QUEST, t, test, m.node(COLON, t, a, b)));
}
