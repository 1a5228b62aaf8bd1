#include "ifile/if_rtype.h"
#include "tools/parse/lower.h"

#include "clang/AST/DeclCXX.h"

using namespace clang;

TYPE *LOWER::builtin_type(const BuiltinType *b) {
    TYPE_PKG *p = m.package;
    uint64_t size = ctx.getTypeSize(b);
    uint32_t align = uint32_t(ctx.getTypeAlign(b));
    auto integer = [&](IKIND k, bool expl = false) { return p->mk_int(k, expl, size, align, k == IK_bool); };
    switch (b->getKind()) {
    case BuiltinType::Void: return p->mk_void();
    case BuiltinType::Bool: return integer(IK_bool);
    case BuiltinType::Char_S: return integer(IK_schar);
    case BuiltinType::Char_U: return integer(IK_uchar);
    case BuiltinType::SChar: return integer(IK_schar, true);
    case BuiltinType::UChar: return integer(IK_uchar, true);
    case BuiltinType::WChar_U:
    case BuiltinType::WChar_S: return integer(IK_wchar);
    case BuiltinType::Char16:
    case BuiltinType::UShort: return integer(IK_ushort);
    case BuiltinType::Short: return integer(IK_short);
    case BuiltinType::Char32:
    case BuiltinType::UInt: return integer(IK_uint);
    case BuiltinType::Int: return integer(IK_int);
    case BuiltinType::Long: return integer(IK_long);
    case BuiltinType::ULong: return integer(IK_ulong);
    case BuiltinType::LongLong: return integer(IK_llong);
    case BuiltinType::ULongLong: return integer(IK_ullong);
    case BuiltinType::Float: return p->mk_fltpt(FK_float, size, align);
    case BuiltinType::Double: return p->mk_fltpt(FK_double, size, align);
    case BuiltinType::LongDouble: return p->mk_fltpt(FK_ldouble, size, align);
    case BuiltinType::NullPtr: return p->void_ptr_type();
    default: return nullptr;
    }
}

TYPE *LOWER::type_of(QualType q) {
    q = ctx.getCanonicalType(q);
    auto it = types.find(q.getAsOpaquePtr());
    if (it != types.end()) return it->second;
    TYPE_PKG *p = m.package;
    TYPE *t = nullptr;
    unsigned bits = 0;
    if (q.isLocalConstQualified()) bits |= QUAL_const;
    if (q.isLocalVolatileQualified()) bits |= QUAL_volatile;
    if (q.isLocalRestrictQualified()) bits |= QUAL_restrict;
    const Type *ty = q.getTypePtr();
    if ((ty->isConstantArrayType() || ty->isRecordType()) && !ty->isIncompleteType() &&
        ctx.getTypeSize(ty) > UINT32_MAX)
        refuse(SourceLocation(), "a type of 512 megabytes or more");
    if (ty->isRecordType() && !ty->isIncompleteType() && ctx.getTypeSize(ty) > INT32_MAX)
        refuse(SourceLocation(), "a record of 256 megabytes or more");
    if (bits) {
        t = p->mk_qual(type_of(QualType(ty, 0)), bits);
    } else if (auto *b = dyn_cast<BuiltinType>(ty)) {
        t = builtin_type(b);
    } else if (auto *c = dyn_cast<ComplexType>(ty)) {
        t = p->mk_complex(type_of(c->getElementType()));
    } else if (auto *ptr = dyn_cast<PointerType>(ty)) {
        t = p->mk_ptr(type_of(ptr->getPointeeType()));
    } else if (auto *a = dyn_cast<ConstantArrayType>(ty)) {
        t = p->mk_array(type_of(a->getElementType()), false, a->getSize().getZExtValue());
    } else if (auto *a = dyn_cast<ArrayType>(ty)) {
        // No array has elements of unknown size: the inner variable ones fall away, as all sizes are computed.
        QualType of = a->getElementType();
        while (auto *inner = ctx.getAsVariableArrayType(of)) of = inner->getElementType();
        t = p->mk_array_full(type_of(of), false, 0, false, false, 0, uint32_t(ctx.getTypeAlign(of)));
    } else if (auto *v = dyn_cast<VectorType>(ty)) {
        uint64_t lanes = v->getNumElements();
        if (lanes & (lanes - 1) || ctx.getTypeSize(v) != lanes * ctx.getTypeSize(v->getElementType()))
            refuse(SourceLocation(), "a vector whose lanes do not fill a power of two of bytes");
        if (is_wide_vector(QualType(ty, 0))) t = wide_vector_type(v);
        else t = p->mk_vector(type_of(v->getElementType()), v->getNumElements());
    } else if (auto *f = dyn_cast<clang::FunctionType>(ty)) {
        t = function_type(f, SourceLocation());
    } else if (auto *r = dyn_cast<RecordType>(ty)) {
        t = record_type(r->getDecl(), r->getDecl()->getLocation());
    } else if (auto *e = dyn_cast<EnumType>(ty)) {
        const EnumDecl *d = e->getDecl();
        QualType under = d->getIntegerType();
        if (under.isNull()) under = ctx.IntTy;
        t = p->mk_enum(d->getName().str().c_str(), type_of(under), ctx.getTypeSize(under),
                       uint32_t(ctx.getTypeAlign(under)), false);
        if (const EnumDecl *def = d->getDefinition())
            for (const EnumConstantDecl *c : def->enumerators())
                t->add_etor(c->getName().str().c_str(), c->getInitVal().getExtValue(),
                            psn_of(c->getLocation()));
        t->set_psn(psn_of(d->getLocation()));
        p->type_frozen(t);
    } else if (auto *at = dyn_cast<AtomicType>(ty)) {
        t = p->mk_qual(type_of(at->getValueType()), QUAL_volatile);
    }
    if (!t) refuse(SourceLocation(), "a type '" + q.getAsString() + "'");
    types[q.getAsOpaquePtr()] = t;
    return t;
}

TYPE *LOWER::source_type(QualType q) {
    if (auto *td = q->getAs<TypedefType>()) {
        if (q.hasLocalQualifiers() || !q->isTypedefNameType() || q->isVariablyModifiedType())
            return type_of(q);
        const TypedefNameDecl *d = td->getDecl();
        TYPE *named = source_type(d->getUnderlyingType());
        if (named->is_func()) return named;
        const PSN *at = psn_of(d->getLocation());
        return m.package->mk_typedef(d->getName().str().c_str(), false, named, TP_SIZE, TP_ALIGN, false, at);
    }
    return type_of(q);
}

TYPE *LOWER::function_type(const clang::FunctionType *f, SourceLocation) {
    TYPE_PKG *p = m.package;
    bool record = returns_record(f);
    TYPE *returns = record ? p->mk_void() : type_of(f->getReturnType().getUnqualifiedType());
    std::vector<TYPE *> params;
    if (record) params.push_back(pointer_to(unqualified(f->getReturnType())));
    auto *proto = dyn_cast<FunctionProtoType>(f);
    // A result that the source returns as a record is told from a pointer that it passes itself.
    CC_KIND cc = record ? CC_RECORD_RESULT : CC_PLAIN;
    if (proto) {
        for (QualType q : proto->param_types()) params.push_back(type_of(q.getUnqualifiedType()));
        return p->mk_func(returns, params, proto->isVariadic(), false, cc);
    }
    TYPE *t = p->mk_func(returns, false, false, false, cc);
    for (TYPE *param : params) t->add_param(param);
    t->open_list(TPL_params);
    p->type_frozen(t);
    return t;
}

// The type that the source gives a function: with a record as its result.
TYPE *LOWER::source_function_type(const clang::FunctionType *f) {
    if (!returns_record(f)) return function_type(f, SourceLocation());
    TYPE *returns = unqualified(f->getReturnType());
    if (auto *proto = dyn_cast<FunctionProtoType>(f)) {
        std::vector<TYPE *> params;
        for (QualType q : proto->param_types()) params.push_back(type_of(q.getUnqualifiedType()));
        return m.package->mk_func(returns, params, proto->isVariadic());
    }
    TYPE *t = m.package->mk_func(returns, false, false, false);
    t->open_list(TPL_params);
    m.package->type_frozen(t);
    return t;
}

TYPE *LOWER::record_type(const RecordDecl *d, SourceLocation) {
    d = cast<RecordDecl>(d->getCanonicalDecl());
    auto it = records.find(d);
    if (it != records.end()) return it->second;
    const RecordDecl *def = d->getDefinition();
    uint64_t size = 0;
    uint32_t align = 8;
    if (def) {
        if (def->isInvalidDecl()) refuse(d->getLocation(), "an invalid record");
        if (def->hasAttr<MSStructAttr>())
            refuse(d->getLocation(), "a record in another system's layout (ms_struct)");
        const ASTRecordLayout &layout = ctx.getASTRecordLayout(def);
        size = uint64_t(ctx.toBits(layout.getSize()));
        align = uint32_t(ctx.toBits(layout.getAlignment()));
    }
    KIND kind = d->isUnion() ? K_union : K_struct;
    TYPE *t = m.package->mk_csu(kind, d->getName().str().c_str(), size, align, false, 0, def != nullptr);
    t->set_psn(psn_of(d->getLocation()));
    records[d] = t;
    if (def) record_members(def, t);
    m.package->type_frozen(t);
    records[d] = t;
    return t;
}

// `flexible`: the type that a flexible array takes in a type for one object; its members are no one else's.
void LOWER::record_members(const RecordDecl *def, TYPE *t, TYPE *flexible) {
    static std::unordered_map<const TYPE *, unsigned> depths; // of records in records
    unsigned &depth = depths[t];
    const ASTRecordLayout &layout = ctx.getASTRecordLayout(def);
    for (const FieldDecl *f : def->fields()) {
        if (f->isUnnamedBitfield()) continue;
        TYPE *type = flexible && f->getType()->isIncompleteArrayType() ? flexible : type_of(f->getType());
        const TYPE *inner = type->dtype;
        while (inner->is_array()) inner = inner->elem_type()->dtype;
        if (inner->is_csu()) depth = std::max(depth, depths[inner] + 1);
        if (depth >= MAX_TYPE_NESTING) refuse(f->getLocation(), "records that nest so deep");
        int64_t offset = int64_t(layout.getFieldOffset(f->getFieldIndex()));
        std::string name = f->getName().str();
        fkMDATA *member = f->isBitField()
                              ? t->add_bitfield(name.c_str(), type, offset, f->getBitWidthValue(ctx))
                              : t->add_mdata(name.c_str(), type, offset);
        const PSN *at = psn_of(f->getLocation());
        if (at) member->psn = *at;
        if (!flexible) members[f] = member;
    }
}

// The type of an object whose flexible array member has initial values: the same record with that array's length.
TYPE *LOWER::extended_record(const VarDecl *v) {
    auto *list = dyn_cast_or_null<InitListExpr>(v->getAnyInitializer());
    auto *record = v->getType()->getAs<RecordType>();
    const RecordDecl *def = record ? record->getDecl()->getDefinition() : nullptr;
    if (!list || !def || !def->hasFlexibleArrayMember() || def->isUnion()) return nullptr;
    const FieldDecl *last = nullptr;
    unsigned named = 0;
    for (const FieldDecl *f : def->fields()) last = f, named += !f->isUnnamedBitfield();
    if (!last || !last->getType()->isIncompleteArrayType() || list->getNumInits() < named) return nullptr;
    const Expr *init = list->getInit(named - 1)->IgnoreParens();
    uint64_t n = 0;
    if (auto *l = dyn_cast<InitListExpr>(init); l && l->isStringLiteralInit())
        init = l->getInit(0)->IgnoreParens();
    if (auto *s = dyn_cast<StringLiteral>(init)) n = s->getLength() + 1;
    else if (auto *l = dyn_cast<InitListExpr>(init)) n = l->getNumInits();
    if (!n) return nullptr;
    const ASTRecordLayout &layout = ctx.getASTRecordLayout(def);
    QualType part = ctx.getAsArrayType(last->getType())->getElementType();
    uint64_t offset = layout.getFieldOffset(last->getFieldIndex()),
             align = uint64_t(ctx.toBits(layout.getAlignment()));
    uint64_t size = std::max(uint64_t(ctx.toBits(layout.getSize())), offset + n * size_of(part) * 8);
    size = (size + align - 1) / align * align;
    TYPE *t = m.package->mk_csu(K_struct, "", size, uint32_t(align), false, 0, true);
    t->set_psn(psn_of(v->getLocation()));
    record_members(def, t, m.package->mk_array(type_of(part), false, n));
    m.package->type_frozen(t);
    return v->getType().isConstQualified() ? m.package->mk_qual(t, QUAL_const) : t;
}
