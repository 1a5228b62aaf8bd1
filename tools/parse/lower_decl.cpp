#include <algorithm>
#include <cstring>

#include "tools/parse/lower.h"

#include "clang/AST/APValue.h"
#include "clang/AST/DeclCXX.h"

using namespace clang;

// --- symbols ---

MSYM *LOWER::enter_global(MSYM *s, const Decl *d) {
    s->psn = d ? psn_of(d->getLocation()) : position;
    m.globals.push_back(s);
    global_names.emplace(s->name, s);
    return s;
}

MSYM *LOWER::library_function(const char *name, TYPE *function) {
    auto it = global_names.find(name);
    if (it != global_names.end()) return it->second;
    return enter_global(m.symbol(name, function, 5), nullptr);
}

MSYM *LOWER::library_function(const char *name, QualType returns, std::vector<QualType> params) {
    std::vector<TYPE *> types_of_params;
    for (QualType q : params) types_of_params.push_back(type_of(q));
    return library_function(name, m.package->mk_func(type_of(returns), types_of_params, false));
}

// Whether the definition of an inline function is emitted here (C99 and gnu89 rules), not only usable for inlining.
static bool definition_is_emitted(const FunctionDecl *f) {
    if (!f->isInlined() || f->getFormalLinkage() != ExternalLinkage) return true;
    return f->isInlineDefinitionExternallyVisible();
}

// Whether an inline definition is used here as a function of this file alone, which C99 allows. Those of gnu89 may differ
// from the function that they stand for, and are only used where they must be.
static bool definition_is_local(const FunctionDecl *f, ASTContext &ctx) {
    bool gnu89 = f->hasAttr<GNUInlineAttr>() || ctx.getLangOpts().GNUInline;
    return !definition_is_emitted(f) && (!gnu89 || f->hasAttr<AlwaysInlineAttr>());
}

// A name of the compiler that the front end does not know: the plain function where there is one.
static std::string known_builtin(const std::string &name) {
    static const char *const plain[] = {"exit",
                                        "_exit",
                                        "putchar",
                                        "puts",
                                        "fputs",
                                        "fputc",
                                        "fwrite",
                                        "printf_unlocked",
                                        "puts_unlocked",
                                        "putchar_unlocked",
                                        "fprintf_unlocked",
                                        "fputs_unlocked",
                                        "fwrite_unlocked",
                                        "fputc_unlocked",
                                        "isinff",
                                        "isinfl",
                                        "isnanf",
                                        "isnanl",
                                        "finite",
                                        "finitef",
                                        "finitel"};
    for (const char *p : plain)
        if (name == std::string("__builtin_") + p)
            return p[0] == 'i' || !strncmp(p, "finite", 6) ? std::string("__") + p : p;
    return "";
}

// The body that counts: a definition may follow an inline one of GNU C89, which is only for inlining.
static const FunctionDecl *body_of(const FunctionDecl *f) {
    for (const FunctionDecl *d = f->getMostRecentDecl(); d; d = d->getPreviousDecl())
        if (d->doesThisDeclarationHaveABody()) return d;
    return nullptr;
}

MSYM *LOWER::function_symbol(const FunctionDecl *f) {
    const FunctionDecl *key = f->getCanonicalDecl();
    auto it = symbols.find(key);
    if (it != symbols.end()) return it->second;
    about = f->getLocation();
    const FunctionDecl *def = body_of(f);
    std::string name = global_name(f);
    if (name.rfind("__builtin_", 0) == 0 && !def && !f->getBuiltinID()) {
        name = known_builtin(name);
        if (name.empty()) refuse(f->getLocation(), "the built-in function " + f->getName().str());
    }
    const FunctionDecl *best = def ? def : f->getMostRecentDecl();
    bool is_static = f->getFormalLinkage() != ExternalLinkage || (def && definition_is_local(def, ctx));
    bool defined = def && (is_static || definition_is_emitted(def));
    auto known = global_names.find(name);
    MSYM *s = known != global_names.end() ? known->second : nullptr;
    if (!s) {
        s = m.symbol(name.c_str(), type_of(best->getType()), is_static ? 3 : defined ? 2 : 5);
        enter_global(s, best);
        s->cpp_type = source_function_type(best->getType()->castAs<clang::FunctionType>());
    } else if (s->sclass == 5 && defined) {
        s->type = type_of(best->getType());
        s->cpp_type = source_function_type(best->getType()->castAs<clang::FunctionType>());
        s->sclass = is_static ? 3 : 2;
    }
    symbols[key] = s;
    if (best->isInlineSpecified()) s->cqual |= 4;
    function_attributes(s, f->getMostRecentDecl());
    if (returns_record(best->getType()->castAs<clang::FunctionType>()))
        m.add_pragma(s, m.pragma(PRAG_FUNC_RET_BY_CCTOR, {}));
    if (auto *alias = f->getMostRecentDecl()->getAttr<AliasAttr>())
        m.add_pragma(s, m.pragma(PRAG_FUNC_SYNONYM, {alias->getAliasee().str()}));
    return s;
}

void LOWER::common_attributes(MSYM *s, const Decl *d) {
    if (d->hasAttr<OverloadableAttr>())
        refuse(d->getLocation(), "one name for several functions (overloadable)");
    if (d->hasAttr<LoaderUninitializedAttr>())
        refuse(d->getLocation(), "an object without first value (loader_uninitialized)");
    auto add = [&](int number, std::vector<std::string> args = {}) {
        m.add_pragma(s, m.pragma(number, args));
    };
    if (auto *v = dyn_cast<VarDecl>(d); v && v->getTLSKind() != VarDecl::TLS_None) add(PRAG_THREAD_LOCAL);
    if (d->hasAttr<WeakAttr>()) add(PRAG_QL_WEAK);
    if (d->hasAttr<UsedAttr>()) add(PRAG_SYM_IS_REFERENCED), s->policy = POLICY_ALWAYS;
    if (auto *a = d->getAttr<SectionAttr>())
        add(isa<FunctionDecl>(d) ? PRAG_CODE_SECTION : PRAG_DATA_SECTION, {a->getName().str()});
    if (auto *a = d->getAttr<VisibilityAttr>()) {
        switch (a->getVisibility()) {
        case VisibilityAttr::Default: add(PRAG_SYM_VISIBILITY, {"default"}); break;
        case VisibilityAttr::Hidden: add(PRAG_SYM_VISIBILITY, {"hidden"}); break;
        case VisibilityAttr::Protected: add(PRAG_SYM_VISIBILITY, {"protected"}); break;
        }
    }
}

static bool hard_float_calls(ASTContext &ctx) {
    return ctx.getTargetInfo().getTriple().getEnvironment() == llvm::Triple::GNUEABIHF;
}

void LOWER::function_attributes(MSYM *s, const FunctionDecl *f) {
    auto add = [&](int number, std::vector<std::string> args = {}) {
        m.add_pragma(s, m.pragma(number, args));
    };
    common_attributes(s, f);
    if (f->isNoReturn() || f->hasAttr<NoReturnAttr>()) add(PRAG_FUNC_NEVER_RETURNS);
    if (f->hasAttr<NoInlineAttr>()) add(PRAG_FUNC_CANNOT_INLINE);
    if (f->hasAttr<AlwaysInlineAttr>()) add(PRAG_FUNC_ALWAYS_INLINE);
    // A pure function of the source reads memory but writes none; a const one does neither.
    if (f->hasAttr<ConstAttr>()) add(PRAG_FUNC_IS_PURE);
    else if (f->hasAttr<PureAttr>()) add(PRAG_FUNC_NO_GLOBAL_ASG), add(PRAG_FUNC_NO_IND_ASG);
    if (f->hasAttr<RestrictAttr>()) add(PRAG_FUNC_RET_UNIQUE_POINTER);
    if (auto *a = f->getAttr<ConstructorAttr>())
        add(PRAG_FUNC_IN_INIT_ARRAY, {"C", std::to_string(a->getPriority())}), s->policy = POLICY_ALWAYS;
    if (auto *a = f->getAttr<DestructorAttr>())
        add(PRAG_FUNC_IN_INIT_ARRAY, {"D", std::to_string(a->getPriority())}), s->policy = POLICY_ALWAYS;
    if (f->hasAttr<ARMInterruptAttr>() || f->hasAttr<CmseNSEntryAttr>())
        refuse(f->getLocation(), "a function with another entry and exit (interrupt, cmse_nonsecure_entry)");
    CallingConv convention = f->getType()->castAs<clang::FunctionType>()->getCallConv();
    bool hard = hard_float_calls(ctx);
    if (convention == CC_AAPCS ? hard : convention == CC_AAPCS_VFP ? !hard : convention != CC_C)
        refuse(f->getLocation(), "a calling convention other than the target's (pcs)");
    if (f->hasAttr<NakedAttr>()) refuse(f->getLocation(), "a naked function");
    if (f->hasAttr<IFuncAttr>())
        refuse(f->getLocation(), "a function chosen when the program starts (ifunc)");
}

// The definition, else a tentative one: an extern declaration after it, also within a function, does not undo it.
const VarDecl *LOWER::definition_of(const VarDecl *v) {
    if (const VarDecl *def = v->getDefinition()) return def;
    for (const VarDecl *d : v->redecls())
        if (d->isThisDeclarationADefinition() == VarDecl::TentativeDefinition) return d;
    return nullptr;
}

// The object that an alias attribute names is the one that this file uses under both names: nothing could tell a
// reader of the file that two objects share their bytes. The second name is for the linker.
MSYM *LOWER::aliased_object(const VarDecl *v, const AliasAttr *alias) {
    const VarDecl *target = nullptr;
    for (const Decl *d : ctx.getTranslationUnitDecl()->decls())
        if (auto *o = dyn_cast<VarDecl>(d))
            if (global_name(o) == alias->getAliasee() && definition_of(o)) target = o;
    if (!target) refuse(alias->getLocation(), "an alias of an object that is not defined here");
    symbols[v->getCanonicalDecl()] = nullptr;
    MSYM *object = variable_symbol(target);
    if (!object) refuse(alias->getLocation(), "an alias of itself");
    m.add_pragma(object, m.pragma(PRAG_SYM_IS_REFERENCED, {}));
    object->policy = POLICY_ALWAYS;
    if (v->getFormalLinkage() != ExternalLinkage) return object;
    MSYM *s = m.symbol(global_name(v).c_str(), type_of(v->getType()), 5);
    s->cpp_type = source_type(v->getType());
    enter_global(s, v);
    common_attributes(s, v->getMostRecentDecl());
    m.add_pragma(s, m.pragma(PRAG_FUNC_SYNONYM, {object->name}));
    return object;
}

MSYM *LOWER::variable_symbol(const VarDecl *v) {
    auto lit = locals.find(v);
    if (lit != locals.end()) return lit->second;
    const VarDecl *key = v->getCanonicalDecl();
    auto it = symbols.find(key);
    if (it != symbols.end()) return it->second;
    about = v->getLocation();
    if (!v->hasGlobalStorage()) refuse(v->getLocation(), "a variable used outside its function");
    if (auto *alias = v->getMostRecentDecl()->getAttr<AliasAttr>())
        return symbols[key] = aliased_object(v->getMostRecentDecl(), alias);
    const VarDecl *best = v;
    if (const VarDecl *def = definition_of(v)) best = def;
    std::string name = global_name(v);
    int sclass = 5;
    if (v->isStaticLocal()) {
        unsigned n = static_count[name]++;
        name += "$" + std::to_string(n + 1);
        sclass = 3;
    } else if (v->getFormalLinkage() != ExternalLinkage) sclass = 3;
    else if (best->isThisDeclarationADefinition() != VarDecl::DeclarationOnly) sclass = 2;
    // A tentative array without bound gets one element.
    QualType q = v->getMostRecentDecl()->getType();
    for (const VarDecl *d : v->redecls())
        if (!d->getType()->isIncompleteType()) q = d->getType();
    if (sclass != 5 && q->isIncompleteArrayType())
        q = ctx.getConstantArrayType(ctx.getAsArrayType(q)->getElementType(), llvm::APInt(32, 1), nullptr,
                                     ArrayType::Normal, 0);
    TYPE *with_room = sclass == 5 ? nullptr : extended_record(best);
    MSYM *s = m.symbol(name.c_str(), with_room ? with_room : type_of(q), sclass);
    s->cpp_type = with_room ? with_room : source_type(q);
    if (with_room) extended.insert(s);
    s->align = uint32_t(std::max<int64_t>(s->align, ctx.toBits(ctx.getDeclAlign(best))));
    symbols[key] = s;
    enter_global(s, best);
    common_attributes(s, v->getMostRecentDecl());
    if (v->isStaticLocal() && func_decl) m.add_pragma(s, m.pragma(PRAG_SCOPING_FUNC, {func->symbol->name}));
    if (v->isStaticLocal()) {
        if (v->getInit()) global_initialiser(s, v->getInit(), v->getType());
    }
    return s;
}

void LOWER::global_variable(const VarDecl *v) {
    bool is_static = v->getFormalLinkage() != ExternalLinkage;
    bool wanted = !is_static || v->isUsed(false) || v->isReferenced() || v->hasAttr<UsedAttr>();
    for (const VarDecl *d : v->redecls()) wanted |= d->isUsed(false) || d->isReferenced();
    if (!wanted) return;
    MSYM *s = variable_symbol(v);
    const VarDecl *with_init = nullptr;
    if (const Expr *e = v->getAnyInitializer(with_init)) global_initialiser(s, e, with_init->getType());
}

// --- constant initialisers ---

MNODE *LOWER::float_constant(double value, TYPE *t) {
    char text[64];
    snprintf(text, sizeof text, "%a", value);
    MNODE *n = m.node(FCON, t);
    n->text = text;
    return n;
}

MSYM *LOWER::string_object(const StringLiteral *s) {
    std::string key((s->getBytes().data()), s->getByteLength());
    key += "/" + std::to_string(s->getCharByteWidth()) + "/" + std::to_string(size_of(s->getType()));
    auto [it, fresh] = string_objects.try_emplace(key, nullptr);
    if (!fresh) return it->second;
    MSYM *obj = m.symbol(("str$" + std::to_string(++anonymous_count)).c_str(), type_of(s->getType()), 3);
    it->second = obj;
    enter_global(obj, nullptr);
    std::vector<INIT_LEAF> leaves;
    std::map<uint64_t, uint8_t> bits;
    constant_leaves(s, s->getType(), 0, leaves, bits);
    write_initialiser(obj, leaves, bits);
    return obj;
}

MSYM *LOWER::anonymous_static(const Expr *init, QualType q) {
    MSYM *s = m.symbol(("obj$" + std::to_string(++anonymous_count)).c_str(), type_of(q), 3);
    enter_global(s, nullptr);
    global_initialiser(s, init, q);
    return s;
}

MNODE *LOWER::constant_address(const APValue &v, QualType q, SourceLocation where) {
    TYPE *t = q->isPointerType() ? type_of(q.getUnqualifiedType()) : pointer_to(char_t());
    int64_t offset = v.getLValueOffset().getQuantity();
    APValue::LValueBase base = v.getLValueBase();
    if (base.isNull()) return m.node(PCONV, t, icon(offset, int_t()));
    MNODE *address = nullptr;
    if (auto *d = base.dyn_cast<const ValueDecl *>()) {
        if (auto *f = dyn_cast<FunctionDecl>(d)) address = address_of(m.name(function_symbol(f)));
        else if (auto *var = dyn_cast<VarDecl>(d)) address = address_of(m.name(variable_symbol(var)));
    } else if (auto *e = base.dyn_cast<const Expr *>()) {
        e = e->IgnoreParens();
        if (auto *s = dyn_cast<StringLiteral>(e)) {
            if (s->getCharByteWidth() == 1 && offset == 0 && q->isPointerType()) {
                MNODE *scon = string_literal(s);
                return scon->type == t ? scon : m.node(PCONV, t, scon);
            }
            address = address_of(m.name(string_object(s)));
        } else if (auto *c = dyn_cast<CompoundLiteralExpr>(e)) {
            auto it = symbols.find(reinterpret_cast<const Decl *>(c));
            MSYM *obj =
                it != symbols.end() ? it->second : anonymous_static(c->getInitializer(), c->getType());
            symbols[reinterpret_cast<const Decl *>(c)] = obj;
            address = address_of(m.name(obj));
        } else if (auto *p = dyn_cast<PredefinedExpr>(e)) {
            address = address_of(m.name(string_object(p->getFunctionName())));
        } else if (auto *l = dyn_cast<AddrLabelExpr>(e)) {
            return m.node(PCONV, t, icon(label_address(l->getLabel()) + offset, int_t()));
        }
    }
    if (!address) refuse(where, "this address in a constant");
    if (offset) {
        TYPE *bytes = pointer_to(char_t());
        address = m.node(PLUS, bytes, m.node(PCONV, bytes, address), icon(offset, int_t()));
    }
    return address->type == t ? address : m.node(PCONV, t, address);
}

MNODE *LOWER::constant_value(const APValue &v, QualType q, SourceLocation where) {
    TYPE *t = type_of(q.getUnqualifiedType());
    switch (v.getKind()) {
    case APValue::Int: {
        if (q->isPointerType()) return m.node(PCONV, t, icon(v.getInt().getExtValue(), int_t()));
        TYPE *u = t->is_enum() ? t->underlying_type() : t;
        llvm::APSInt i = v.getInt();
        return icon(u->is_unsigned() ? int64_t(i.getZExtValue()) : i.getExtValue(), u);
    }
    case APValue::Float: {
        llvm::APFloat f = v.getFloat();
        bool inexact;
        f.convert(llvm::APFloat::IEEEdouble(), llvm::APFloat::rmNearestTiesToEven, &inexact);
        return float_constant(f.convertToDouble(), t);
    }
    case APValue::LValue: {
        MNODE *a = constant_address(v, q, where);
        return q->isPointerType() ? a : m.node(SCONV, t, a);
    }
    case APValue::AddrLabelDiff:
        return icon(label_address(v.getAddrLabelDiffLHS()->getLabel()) -
                        label_address(v.getAddrLabelDiffRHS()->getLabel()),
                    t);
    default: refuse(where, "this constant");
    }
}

void LOWER::constant_leaf(const APValue &v, QualType q, uint64_t offset, std::vector<INIT_LEAF> &leaves,
                          SourceLocation where) {
    if (auto *c = q->getAs<ComplexType>()) {
        QualType part = c->getElementType();
        uint64_t size = size_of(part);
        APValue re = v.isComplexInt() ? APValue(v.getComplexIntReal()) : APValue(v.getComplexFloatReal());
        APValue im = v.isComplexInt() ? APValue(v.getComplexIntImag()) : APValue(v.getComplexFloatImag());
        leaves.push_back({offset, size, constant_value(re, part, where)});
        leaves.push_back({offset + size, size, constant_value(im, part, where)});
        return;
    }
    if (v.isVector()) {
        QualType part = q->castAs<VectorType>()->getElementType();
        for (unsigned i = 0; i < v.getVectorLength(); i++)
            leaves.push_back(
                {offset + i * size_of(part), size_of(part), constant_value(v.getVectorElt(i), part, where)});
        return;
    }
    leaves.push_back({offset, size_of(q), constant_value(v, q, where)});
}

void LOWER::constant_bits(const FieldDecl *f, uint64_t record_offset, uint64_t value,
                          std::map<uint64_t, uint8_t> &bit_bytes) {
    const ASTRecordLayout &layout = ctx.getASTRecordLayout(f->getParent());
    uint64_t bit = record_offset * 8 + layout.getFieldOffset(f->getFieldIndex());
    unsigned width = f->getBitWidthValue(ctx);
    bool big = ctx.getTargetInfo().isBigEndian();
    for (unsigned i = 0; i < width; i++, bit++) {
        // On a big-endian target the first bit of a field is its most significant one.
        unsigned source = big ? width - 1 - i : i;
        unsigned in_byte = big ? 7 - unsigned(bit & 7) : unsigned(bit & 7);
        uint8_t &byte = bit_bytes[bit >> 3];
        byte = uint8_t((byte & ~(1u << in_byte)) | unsigned(value >> source & 1) << in_byte);
    }
}

// Collects the scalars of an initialiser; what it does not mention stays out (zero).
// Of the leaves [begin, end), those that a leaf behind them overlaps.
static void drop_overridden(std::vector<INIT_LEAF> &leaves, size_t begin, size_t end) {
    std::map<uint64_t, uint64_t> later; // offset -> end
    for (size_t i = end; i < leaves.size(); i++) later[leaves[i].offset] = leaves[i].offset + leaves[i].size;
    auto overridden = [&](const INIT_LEAF &l) {
        auto behind = later.lower_bound(l.offset + l.size);
        return behind != later.begin() && std::prev(behind)->second > l.offset;
    };
    auto first = leaves.begin();
    leaves.erase(std::remove_if(first + long(begin), first + long(end), overridden), first + long(end));
}

void LOWER::constant_leaves(const Expr *e, QualType q, uint64_t offset, std::vector<INIT_LEAF> &leaves,
                            std::map<uint64_t, uint8_t> &bit_bytes) {
    e = e->IgnoreParens();
    if (auto *c = dyn_cast<ConstantExpr>(e)) e = c->getSubExpr()->IgnoreParens();
    if (isa<ImplicitValueInitExpr>(e) || isa<NoInitExpr>(e)) return;
    if (auto *ex = dyn_cast<ExprWithCleanups>(e))
        return constant_leaves(ex->getSubExpr(), q, offset, leaves, bit_bytes);
    // A compound literal, or a copy of one, initialises like its list.
    if (auto *c = dyn_cast<CompoundLiteralExpr>(e))
        return constant_leaves(c->getInitializer(), q, offset, leaves, bit_bytes);
    if (auto *c = dyn_cast<CastExpr>(e))
        if (q->isRecordType() || (q->isArrayType() && c->getCastKind() != CK_ArrayToPointerDecay))
            return constant_leaves(c->getSubExpr(), q, offset, leaves, bit_bytes);
    if (auto *g = dyn_cast<GenericSelectionExpr>(e))
        return constant_leaves(g->getResultExpr(), q, offset, leaves, bit_bytes);
    if (auto *s = dyn_cast<StringLiteral>(e); s && q->isArrayType()) {
        QualType part = ctx.getAsArrayType(q)->getElementType();
        TYPE *t = unqualified(part);
        uint64_t width = s->getCharByteWidth(), n = s->getLength();
        uint64_t room = q->isIncompleteArrayType() ? n + 1 : size_of(q) / width;
        for (uint64_t i = 0; i < room && i <= n; i++) {
            uint32_t c = i < n ? s->getCodeUnit(unsigned(i)) : 0;
            int64_t v = t->is_signed() ? (width == 1   ? int8_t(c)
                                          : width == 2 ? int16_t(c)
                                                       : int32_t(c))
                                       : int64_t(c);
            leaves.push_back({offset + i * width, width, icon(v, t)});
        }
        return;
    }
    if (auto *update = dyn_cast<DesignatedInitUpdateExpr>(e)) {
        size_t begin = leaves.size();
        constant_leaves(update->getBase(), q, offset, leaves, bit_bytes);
        size_t end = leaves.size();
        constant_leaves(update->getUpdater(), q, offset, leaves, bit_bytes);
        drop_overridden(leaves, begin, end);
        return;
    }
    auto *list = dyn_cast<InitListExpr>(e);
    if (list && list->isTransparent()) return constant_leaves(list->getInit(0), q, offset, leaves, bit_bytes);
    if (list && q->isArrayType()) {
        QualType part = ctx.getAsArrayType(q)->getElementType();
        uint64_t size = size_of(part);
        for (unsigned i = 0; i < list->getNumInits(); i++)
            constant_leaves(list->getInit(i), part, offset + i * size, leaves, bit_bytes);
        if (const Expr *filler = list->getArrayFiller();
            filler && !isa<ImplicitValueInitExpr>(filler) && !isa<NoInitExpr>(filler))
            for (uint64_t i = list->getNumInits(), n = size_of(q) / size; i < n; i++)
                constant_leaves(filler, part, offset + i * size, leaves, bit_bytes);
        return;
    }
    if (list && q->isRecordType()) {
        const RecordDecl *r = q->castAs<RecordType>()->getDecl()->getDefinition();
        const ASTRecordLayout &layout = ctx.getASTRecordLayout(r);
        auto field = [&](const FieldDecl *f, const Expr *init) {
            if (f->isBitField()) {
                Expr::EvalResult value;
                if (isa<ImplicitValueInitExpr>(init)) return;
                if (!init->EvaluateAsRValue(value, ctx, true) || !value.Val.isInt())
                    refuse(init->getBeginLoc(), "an initialiser that is not constant");
                constant_bits(f, offset, uint64_t(value.Val.getInt().getExtValue()), bit_bytes);
            } else
                constant_leaves(init, f->getType(), offset + layout.getFieldOffset(f->getFieldIndex()) / 8,
                                leaves, bit_bytes);
        };
        if (r->isUnion()) {
            if (list->getInitializedFieldInUnion() && list->getNumInits())
                field(list->getInitializedFieldInUnion(), list->getInit(0));
            return;
        }
        unsigned i = 0;
        for (const FieldDecl *f : r->fields()) {
            if (f->isUnnamedBitfield()) continue;
            if (i >= list->getNumInits()) break;
            field(f, list->getInit(i++));
        }
        return;
    }
    if (list && list->getNumInits() == 1 && !q->isVectorType())
        return constant_leaves(list->getInit(0), q, offset, leaves, bit_bytes);
    if (list && list->getNumInits() == 0) return;
    Expr::EvalResult value;
    bool known = e->EvaluateAsRValue(value, ctx, true) && !value.HasSideEffects;
    if (!known && e->isGLValue()) known = e->EvaluateAsLValue(value, ctx);
    if (!known) refuse(e->getBeginLoc(), "an initialiser that is not constant");
    if (value.Val.isStruct() || value.Val.isUnion() || value.Val.isArray())
        refuse(e->getBeginLoc(), "this constant initialiser");
    constant_leaf(value.Val, q, offset, leaves, e->getBeginLoc());
}

void LOWER::write_initialiser(MSYM *s, std::vector<INIT_LEAF> &leaves,
                              std::map<uint64_t, uint8_t> &bit_bytes) {
    TYPE *byte = m.package->mk_int(IK_uchar, true);
    for (auto [at, value] : bit_bytes) leaves.push_back({at, 1, icon(value, byte)});
    std::stable_sort(leaves.begin(), leaves.end(), [](auto &a, auto &b) { return a.offset < b.offset; });
    // A later initialiser of the same scalar overrides an earlier one (unions, designators).
    MRECORD r;
    r.tag = IF_INIT, r.sym = s;
    uint64_t at = 0, size = s->size / 8;
    if (!leaves.empty() && leaves.back().offset + leaves.back().size > size)
        refuse(SourceLocation(), "an initialised flexible array member (" + s->name + ")");
    auto skip = [&](uint64_t to) {
        if (to <= at) return;
        MNODE *n = m.node(SKIP, int_t());
        n->value = int64_t(to - at);
        r.trees.push_back(n);
        at = to;
    };
    for (size_t i = 0; i < leaves.size(); i++) {
        if (i + 1 < leaves.size() && leaves[i + 1].offset == leaves[i].offset) continue;
        skip(leaves[i].offset);
        r.trees.push_back(leaves[i].tree);
        at += leaves[i].size;
    }
    skip(size);
    r.trees.push_back(m.node(ENDINIT, void_t()));
    m.inits.push_back(std::move(r));
}

void LOWER::global_initialiser(MSYM *s, const Expr *init, QualType q) {
    std::vector<INIT_LEAF> leaves;
    std::map<uint64_t, uint8_t> bit_bytes;
    constant_leaves(init, q, 0, leaves, bit_bytes);
    write_initialiser(s, leaves, bit_bytes);
}

// --- functions ---

MSYM *LOWER::local(const char *name, TYPE *t) {
    MSYM *s = m.symbol(name, t, 1);
    s->level = 2;
    s->psn = position;
    return s;
}

MSYM *LOWER::temp(TYPE *t) {
    if (t->is_qual()) t = t->stqs();
    MSYM *s = local(("tmp$" + std::to_string(next_temp++)).c_str(), t);
    pending_locals.push_back(s);
    return s;
}

void LOWER::argument_prolog(const std::vector<std::pair<MSYM *, MSYM *>> &copies) {
    MNODE *all = nullptr;
    for (auto [incoming, copy] : copies) {
        MNODE *to = m.name(copy), *from = m.name(incoming), *leaf;
        if (copy->type->is_csu()) leaf = m.node(STASG, copy->type, to, from);
        else {
            if (from->type != to->type && from->type->normalized() != to->type->normalized())
                from = m.node(to->type->is_ptr() ? PCONV : SCONV, to->type, from);
            leaf = m.node(ASG, to->type, to, from);
        }
        all = all ? m.node(PCOMMA, leaf->type, all, leaf) : leaf;
    }
    if (all) emit(all);
}

void LOWER::parameters(const FunctionDecl *f) {
    std::vector<std::pair<MSYM *, MSYM *>> copies;
    std::vector<MSYM *> incoming;
    bool variadic = f->isVariadic();
    bool old_style = !f->hasPrototype() || !isa<FunctionProtoType>(f->getType());
    auto parameter = [&](const std::string &name, QualType q, bool last) {
        QualType passed = q;
        if (old_style && q->isPromotableIntegerType()) passed = ctx.getPromotedIntegerType(q);
        if (old_style && q->isSpecificBuiltinType(BuiltinType::Float)) passed = ctx.DoubleTy;
        TYPE *in_type = type_of(passed.getUnqualifiedType());
        if (passed.isRestrictQualified()) in_type = m.package->mk_qual(in_type, QUAL_restrict);
        bool record = is_record(q);
        MSYM *in = m.symbol(name.c_str(), in_type, last ? 27 : record ? 9 : 17);
        in->level = 1;
        in->psn = position;
        QualType body = q;
        body.removeLocalConst();
        MSYM *copy = local(name.c_str(), type_of(body));
        incoming.push_back(in);
        copies.emplace_back(in, copy);
        return copy;
    };
    if (returns_record(f->getType()->castAs<clang::FunctionType>()))
        result_pointer =
            parameter("result$", ctx.getPointerType(f->getReturnType().getUnqualifiedType()), false);
    unsigned n = 0;
    for (const ParmVarDecl *p : f->parameters()) {
        std::string name = p->getName().str();
        if (name.empty()) name = "param$" + std::to_string(n + 1);
        position = psn_of(p->getLocation());
        n++;
        MSYM *s = parameter(name, p->getType(), variadic && n == f->getNumParams());
        s->cpp_type = source_type(p->getType());
        s->align = uint32_t(std::max<int64_t>(s->align, ctx.toBits(ctx.getDeclAlign(p))));
        locals[p] = s;
    }
    auto record = [&](int tag, MSYM *s) {
        MRECORD &r = func->records.emplace_back();
        r.tag = tag, r.sym = s, r.psn = s ? nullptr : position;
    };
    for (MSYM *s : incoming) record(IF_SYMBOL, s);
    record(I_EA, nullptr);
    for (auto &c : copies) record(IF_SYMBOL, c.second);
    record(I_EL, nullptr);
    argument_prolog(copies);
    // The bounds of variable arrays among the parameters are evaluated here, those of their elements included; the
    // outermost has no use but its effects.
    for (const ParmVarDecl *p : f->parameters()) {
        QualType q = p->getOriginalType();
        if (!q->isVariablyModifiedType()) continue;
        position = psn_of(p->getLocation());
        if (auto *v = dyn_cast_or_null<VariableArrayType>(ctx.getAsArrayType(q))) {
            const Expr *size = v->getSizeExpr();
            if (size && (size->HasSideEffects(ctx) || needs_statements(size))) effect(size);
            q = v->getElementType();
        }
        evaluate_array_sizes(q);
    }
}

void LOWER::function_definition(const FunctionDecl *f) {
    if (body_of(f) != f) return;
    bool is_local = definition_is_local(f, ctx);
    if (!definition_is_emitted(f) && !is_local) return;
    bool is_static = f->getFormalLinkage() != ExternalLinkage || is_local;
    if (is_static && !f->isUsed(false) && !f->isReferenced() && !f->hasAttr<UsedAttr>() &&
        !f->hasAttr<ConstructorAttr>() && !f->hasAttr<DestructorAttr>()) {
        bool referenced = false;
        for (const FunctionDecl *d : f->redecls()) referenced |= d->isUsed(false) || d->isReferenced();
        if (!referenced) return;
    }
    MSYM *s = function_symbol(f);
    auto owned = std::make_unique<MFUNC>();
    func = owned.get();
    func->symbol = s;
    func_decl = f;
    locals.clear(), vla_sizes.clear(), vla_counts.clear(), label_numbers.clear(), case_labels.clear();
    jumps.clear(), pending_locals.clear(), opaque_values.clear();
    result_pointer = nullptr;
    cleanups.clear(), label_depths.clear();
    addressed_labels.clear(), dispatch_label = 0, dispatch_target = nullptr;
    next_label = 1, next_temp = 1, reachable = true;
    position = psn_of(f->getLocation());

    MRECORD &begin = func->records.emplace_back();
    begin.tag = I_BF, begin.psn = position, begin.sym = s;
    parameters(f);
    statement(f->getBody());
    position = psn_of(f->getBody()->getEndLoc());
    // Falling off the end: main returns 0, others nothing.
    MNODE *self = m.name(s);
    if (f->isMain() && reachable) emit(m.node(RETURN, int_t(), self, icon(0, int_t())));
    else if (reachable) emit(m.node(URETURN, void_t(), self));
    dispatch();
    MRECORD &end = func->records.emplace_back();
    end.tag = I_EF, end.psn = position;

    // Temporaries are locals of the outermost block: their records go before its I_EL.
    if (!pending_locals.empty()) {
        auto el =
            std::find_if(func->records.begin(), func->records.end(), [](auto &r) { return r.tag == I_EL; });
        std::vector<MRECORD> extra(pending_locals.size());
        for (size_t i = 0; i < extra.size(); i++) extra[i].tag = IF_SYMBOL, extra[i].sym = pending_locals[i];
        func->records.insert(el, std::make_move_iterator(extra.begin()),
                             std::make_move_iterator(extra.end()));
    }
    m.items.emplace_back().func = std::move(owned);
    func = nullptr, func_decl = nullptr;
}

// --- pragmas ---

std::vector<SOURCE_PRAGMA *> LOWER::pragmas_before(SourceLocation where) {
    SourceManager &sm = ctx.getSourceManager();
    where = sm.getExpansionLoc(where);
    std::vector<SOURCE_PRAGMA *> found;
    for (SOURCE_PRAGMA &p : source_pragmas) {
        if (p.used || !p.function.empty() || sm.getFileID(p.where) != sm.getFileID(where)) continue;
        if (sm.getFileOffset(p.where) > sm.getFileOffset(where)) continue;
        p.used = true;
        found.push_back(&p);
    }
    return found;
}

void LOWER::pragma_records(const std::vector<SOURCE_PRAGMA *> &list) {
    for (SOURCE_PRAGMA *p : list) {
        MRECORD &r = func->records.emplace_back();
        r.tag = IF_PRAGMA;
        r.pragma = m.pragma(p->number, p->args);
    }
}
