#include "tools/parse/lower.h"

#include "clang/AST/ExprObjC.h"
#include "clang/Basic/Builtins.h"

using namespace clang;

// An argument of a call: a record goes as a reference to an lvalue that holds it.
MNODE *LOWER::argument(const Expr *e) {
    if (is_record(e->getType())) {
        MNODE *v = record_value(e);
        return m.node(ARGREF, pointer_to(v->type), v);
    }
    return rvalue(e);
}

MNODE *LOWER::call(const CallExpr *e) {
    if (unsigned id = e->getBuiltinCallee()) {
        if (MNODE *v = builtin_call(e, id)) return v;
    }
    if (auto *fd = e->getDirectCallee(); fd && fd->getIdentifier() && e->getNumArgs() == 3) {
        static const std::pair<const char *, int> rows[] = {{"add", PLUS}, {"sub", MINUS}, {"mul", MULT}};
        for (auto [name, op] : rows)
            if (fd->getName() == std::string("__builtin_") + name + "_overflow_p")
                return overflow_call(e, op, false);
    }
    const Expr *callee = e->getCallee()->IgnoreParens();
    QualType fq = callee->getType();
    if (auto *p = fq->getAs<PointerType>()) fq = p->getPointeeType();
    auto *ft = fq->castAs<clang::FunctionType>();
    bool record = returns_record(ft);
    MNODE *target;
    if (auto *fd = e->getDirectCallee()) {
        if (fd->getName() == "_nassert" && e->getNumArgs() == 1) {
            if (e->getArg(0)->HasSideEffects(ctx)) return icon(0, int_t());
            return m.node(NASSERT, void_t(), condition(e->getArg(0)));
        }
        target = address_of(m.name(function_symbol(fd)));
    } else {
        target = rvalue(callee);
        if (target->type->is_func()) target = address_of(target);
    }
    MNODE *args = nullptr;
    MSYM *result = nullptr;
    TYPE *returns = record ? void_t() : e->getType()->isVoidType() ? void_t() : unqualified(e->getType());
    if (record) {
        result = temp(unqualified(e->getType()));
        args = append_arg(args, address_of(m.name(result)));
    }
    for (const Expr *a : e->arguments()) args = append_arg(args, argument(a));
    MNODE *c = args ? m.node(CALL, returns, target, args) : m.node(UCALL, returns, target);
    if (!record) return c;
    return m.node(UMULT, result->type, comma_op(c, address_of(m.name(result))));
}

// va_arg: arguments lie in memory one after the other in 4-byte slots; 8-byte things are aligned to 8.
MNODE *LOWER::lower_va_arg(const VAArgExpr *e) {
    evaluate_array_sizes(e->getWrittenTypeInfo()->getType());
    TYPE *type = unqualified(e->getType());
    TYPE *cp = pointer_to(char_t()), *cpp = pointer_to(cp);
    MNODE *list = lvalue(e->getSubExpr());
    // A va_list parameter decays to a pointer on some targets; here it is a record with one pointer.
    MNODE *slot = m.node(UMULT, cp, m.node(PCONV, cpp, address_of(list)));
    int64_t size = int64_t((type->size / 8 + 3) & ~uint64_t(3));
    MNODE *from = m.copy(slot);
    if (type->align >= 64) {
        MNODE *bits = m.node(PLUS, uint_t(), m.node(SCONV, uint_t(), from), icon(7, uint_t()));
        from = m.node(PCONV, cp, m.node(ANDB, uint_t(), bits, icon(0xFFFFFFF8, uint_t())));
    }
    MNODE *step = m.node(ASG, cp, slot, m.node(PLUS, cp, from, icon(size, int_t())));
    MNODE *at = m.node(MINUS, cp, step, icon(size, int_t()));
    int64_t lead = 0;
    if (ctx.getTargetInfo().isBigEndian() && type->size < 32 && !type->is_csu())
        lead = 4 - int64_t(type->size / 8);
    if (lead) at = m.node(PLUS, cp, at, icon(lead, int_t()));
    return m.node(UMULT, type, m.node(PCONV, pointer_to(type), at));
}

MNODE *LOWER::builtin_call(const CallExpr *e, unsigned id) {
    auto &builtins = ctx.BuiltinInfo;
    std::string name = builtins.getName(id);
    TYPE *vp = m.package->void_ptr_type();
    auto arg = [&](unsigned i) { return rvalue(e->getArg(i)); };
    auto va_list_address = [&](unsigned i) {
        const Expr *a = e->getArg(i)->IgnoreParenImpCasts();
        return m.node(PCONV, vp, address_of(lvalue(a)));
    };
    switch (id) {
    case Builtin::BI__builtin_va_start:
    case Builtin::BI__builtin_stdarg_start: {
        MSYM *f = library_function("__builtin_va_start", ctx.VoidTy, {ctx.VoidPtrTy});
        return call_of(f, va_list_address(0), void_t());
    }
    case Builtin::BI__builtin_va_end:
    case Builtin::BI__builtin_prefetch: { // nothing but the effects of the argument
        MNODE *nothing = icon(0, int_t());
        const Expr *a = e->getArg(0)->IgnoreParenImpCasts();
        if (!a->HasSideEffects(ctx)) return nothing;
        return comma_op(a->isGLValue() ? address_of(lvalue(a)) : rvalue(a), nothing);
    }
    case Builtin::BI__builtin_va_copy: {
        TYPE *pp = pointer_to(vp);
        MNODE *to = m.node(UMULT, vp, m.node(PCONV, pp, va_list_address(0)));
        MNODE *from = m.node(UMULT, vp, m.node(PCONV, pp, va_list_address(1)));
        return m.node(ASG, vp, to, from);
    }
    case Builtin::BI__builtin_expect: {
        TYPE *t = m.package->basic_int(IK_long);
        if (e->getArg(1)->HasSideEffects(ctx)) {
            MSYM *kept = temp(t);
            MNODE *first = m.node(ASG, t, m.name(kept), convert(arg(0), t));
            return comma_op(first, comma_op(arg(1), m.name(kept)));
        }
        MNODE *args = append_arg(convert(arg(0), t), convert(arg(1), t));
        MNODE *n = m.node(ICALL, t, args);
        n->text = "__builtin_expect";
        return n;
    }
    case Builtin::BI__builtin_expect_with_probability: return arg(0);
    case Builtin::BI__builtin_assume:
        if (e->getArg(0)->HasSideEffects(ctx)) return icon(0, int_t());
        return m.node(NASSERT, void_t(), condition(e->getArg(0)));
    case Builtin::BI__builtin_unreachable: {
        MNODE *n = m.node(UMCALL, void_t());
        n->text = "_never_executed";
        return n;
    }
    case Builtin::BI__builtin_extract_return_addr:
    case Builtin::BI__builtin_frob_return_addr: return arg(0);
    case Builtin::BI__builtin_assume_aligned: return convert(arg(0), unqualified(e->getType()));
    case Builtin::BI__builtin_alloca:
    case Builtin::BIalloca: {
        MSYM *f = library_function("__builtin_alloca", ctx.VoidPtrTy, {ctx.UnsignedIntTy});
        return call_of(f, arg(0), vp);
    }
    case Builtin::BI__builtin_alloca_with_align: { // in bits; eight bytes are aligned anyway
        int64_t align = e->getArg(1)->EvaluateKnownConstInt(ctx).getSExtValue() / 8;
        MSYM *f = library_function("__builtin_alloca", ctx.VoidPtrTy, {ctx.UnsignedIntTy});
        if (align <= 8) return call_of(f, arg(0), vp);
        MNODE *room =
            call_of(f, m.node(PLUS, uint_t(), convert(arg(0), uint_t()), icon(align, uint_t())), vp);
        MNODE *end = m.node(PLUS, uint_t(), m.node(SCONV, uint_t(), room), icon(align - 1, uint_t()));
        return m.node(PCONV, vp, m.node(ANDB, uint_t(), end, icon(int64_t(uint32_t(-align)), uint_t())));
    }
    case Builtin::BI__builtin_isgreater:
    case Builtin::BI__builtin_isgreaterequal:
    case Builtin::BI__builtin_isless:
    case Builtin::BI__builtin_islessequal: {
        int op = id == Builtin::BI__builtin_isgreater        ? FGT
                 : id == Builtin::BI__builtin_isgreaterequal ? FGE
                 : id == Builtin::BI__builtin_isless         ? FLT
                                                             : FLE;
        return m.node(op, int_t(), arg(0), arg(1));
    }
    case Builtin::BI__builtin_islessgreater: return m.node(FNEQ, int_t(), arg(0), arg(1));
    case Builtin::BI__builtin_isunordered: return m.node(FUNO, int_t(), arg(0), arg(1));
    case Builtin::BI__builtin_fpclassify: { // (nan, infinite, normal, subnormal, zero, x)
        MNODE *v = arg(5);
        bool single = v->type->size <= 32;
        MSYM *x = temp(v->type), *size = temp(v->type);
        MNODE *set = m.node(ASG, x->type, m.name(x), v);
        MNODE *abs = m.node(ASG, size->type, m.name(size), m.node(ABS, x->type, m.name(x)));
        auto number = [&](const char *text) {
            MNODE *n = m.node(FCON, v->type);
            n->text = text;
            return n;
        };
        auto choose = [&](MNODE *test, MNODE *yes, MNODE *no) {
            return m.node(QUEST, int_t(), test, m.node(COLON, int_t(), yes, no));
        };
        auto kind = [&](unsigned i) { return convert(arg(i), int_t()); };
        MNODE *small = choose(m.node(FEQ, int_t(), m.name(size), number("0x0p+0")), kind(4), kind(3));
        MNODE *normal = m.node(FGE, int_t(), m.name(size), number(single ? "0x1p-126" : "0x1p-1022"));
        MNODE *finite = choose(normal, kind(2), small);
        MNODE *large = choose(m.node(FEQ, int_t(), m.name(size), number("inf")), kind(1), finite);
        MNODE *all = choose(m.node(FUNO, int_t(), m.name(x), m.name(x)), kind(0), large);
        return comma_op(set, comma_op(abs, all));
    }
    case Builtin::BI__builtin_complex: return m.node(COMPLEX, unqualified(e->getType()), arg(0), arg(1));
    case Builtin::BI__builtin_isnan: {
        MNODE *v = arg(0);
        if (!is_simple(v)) {
            MSYM *kept = temp(v->type);
            MNODE *first = m.node(ASG, kept->type, m.name(kept), v);
            return comma_op(first, m.node(FUNO, int_t(), m.name(kept), m.name(kept)));
        }
        return m.node(FUNO, int_t(), v, m.copy(v));
    }
    case Builtin::BI__sync_synchronize:
    case Builtin::BI__atomic_thread_fence:
    case Builtin::BI__atomic_signal_fence:
    case Builtin::BI__c11_atomic_thread_fence:
    case Builtin::BI__c11_atomic_signal_fence: return barrier();
    default: break;
    }
    if (MNODE *v = sync_call(e, name)) return v;
    // What the front end can evaluate: __builtin_constant_p, object sizes, infinities, type questions ...
    Expr::EvalResult value;
    if (!e->getType()->isVoidType() && !e->getType()->isPointerType() && e->EvaluateAsRValue(value, ctx) &&
        !value.HasSideEffects && (value.Val.isInt() || value.Val.isFloat()))
        return constant_value(value.Val, e->getType(), e->getBeginLoc());
    if (id == Builtin::BI__builtin_constant_p) return icon(0, int_t());
    if (id == Builtin::BI__builtin_object_size)
        return icon(e->getArg(1)->EvaluateKnownConstInt(ctx).getZExtValue() & 2 ? 0 : 0xFFFFFFFF, uint_t());
    if (name.rfind("__builtin_neon_", 0) == 0) return neon_call(e, name);
    if (name.rfind("__builtin_arm_", 0) == 0)
        if (MNODE *v = acle_call(e, name)) return v;
    if (builtins.isTSBuiltin(id)) refuse(e->getBeginLoc(), "the built-in function " + name);
    // A library function under its builtin name, also the checked forms.
    static const char prefix[] = "__builtin_";
    if (name.rfind(prefix, 0) != 0) return nullptr;
    std::string plain = name.substr(sizeof prefix - 1);
    static const char *const kept[] = {
        "clz",           "clzl",         "clzll",        "ctz",         "ctzl",           "ctzll",
        "popcount",      "popcountl",    "popcountll",   "parity",      "parityl",        "parityll",
        "ffs",           "ffsl",         "ffsll",        "bswap16",     "bswap32",        "bswap64",
        "clrsb",         "clrsbl",       "clrsbll",      "isinf",       "isinf_sign",     "isfinite",
        "isnormal",      "signbit",      "signbitf",     "signbitl",    "return_address", "frame_address",
        "setjmp",        "longjmp",      "powi",         "powif",       "powil",          "stack_save",
        "stack_restore", "add_overflow", "sub_overflow", "mul_overflow"};
    bool is_kept = false;
    for (const char *k : kept) is_kept |= plain == k;
    if (plain.find("overflow") != std::string::npos)
        return overflow_call(e, plain.find("add") != std::string::npos   ? PLUS
                                : plain.find("sub") != std::string::npos ? MINUS
                                                                         : MULT);
    const FunctionDecl *fd = e->getDirectCallee();
    std::string target = is_kept ? name : plain;
    bool of_library = builtins.isLibFunction(id) || plain.rfind("__", 0) == 0;
    for (const char *more : {"trap", "bcopy", "bzero", "bcmp", "index", "rindex"})
        of_library |= plain == more;
    if (!is_kept && !of_library) refuse(e->getBeginLoc(), "the built-in function " + name);
    for (const NamedDecl *d : ctx.getTranslationUnitDecl()->lookup(&ctx.Idents.get(target)))
        if (auto *label = d->getAttr<AsmLabelAttr>()) target = label->getLabel().str(); // renamed
    if (plain == "trap") target = "abort";
    bool checked = plain.size() > 4 && plain.rfind("__", 0) == 0 && plain.find("_chk") == plain.size() - 4;
    unsigned n = e->getNumArgs();
    if (checked) { // memcpy and its kin: the object size stands last
        target = plain.substr(2, plain.size() - 6);
        static const char *const sized[] = {"memcpy", "memmove", "memset",  "mempcpy", "strcpy",
                                            "strcat", "strncpy", "strncat", "stpcpy"};
        bool known = false;
        for (const char *k : sized) known |= target == k;
        if (!known) return nullptr;
        n--;
    }
    TYPE *ft = type_of(fd->getType());
    if (checked) {
        std::vector<TYPE *> params;
        for (unsigned i = 0; i < n; i++)
            params.push_back(type_of(e->getArg(i)->getType().getUnqualifiedType()));
        ft = m.package->mk_func(unqualified(e->getType()), params, false);
    }
    // Type-generic ones have no parameter types of their own: those of the arguments.
    if (auto *proto = fd->getType()->getAs<FunctionProtoType>();
        !checked && proto && proto->getNumParams() == 0 && n) {
        std::vector<TYPE *> params;
        for (unsigned i = 0; i < n; i++)
            params.push_back(type_of(e->getArg(i)->getType().getUnqualifiedType()));
        ft = m.package->mk_func(e->getType()->isVoidType() ? void_t() : unqualified(e->getType()), params,
                                false);
        if (n == 1 && e->getArg(0)->getType()->isSpecificBuiltinType(BuiltinType::Float)) target += "f";
    }
    MSYM *f = library_function(target.c_str(), ft);
    if (target == "abort" || target == "exit")
        if (!f->find_pragma(PRAG_FUNC_NEVER_RETURNS)) m.add_pragma(f, m.pragma(PRAG_FUNC_NEVER_RETURNS, {}));
    MNODE *args = nullptr;
    for (unsigned i = 0; i < n; i++) args = append_arg(args, argument(e->getArg(i)));
    return call_of(f, args, e->getType()->isVoidType() ? void_t() : unqualified(e->getType()));
}

// __builtin_add_overflow and its kin: the exact result decides, whatever the types. Operands up to 32 bits are computed
// in 64; longer ones in 128, as a low and a high word.
MNODE *LOWER::overflow_call(const CallExpr *e, int op, bool stores) {
    // The forms that only ask take any value of the type; the front end does not know them and promotes it.
    const Expr *third = e->getArg(2);
    QualType to = stores ? third->getType()->getPointeeType() : third->IgnoreParenImpCasts()->getType();
    QualType a = e->getArg(0)->getType(), b = e->getArg(1)->getType();
    TYPE *t = unqualified(to), *answer = unqualified(e->getType());
    TYPE *s64 = m.package->basic_int(IK_llong), *u64 = m.package->basic_int(IK_ullong);
    MNODE *all = nullptr;
    // Evaluates now, behind what was evaluated so far; the result can be read any number of times.
    auto let = [&](TYPE *type, MNODE *v) {
        MSYM *kept = temp(type);
        MNODE *set = m.node(ASG, type, m.name(kept), v->type == type ? v : m.node(SCONV, type, v));
        all = all ? comma_op(all, set) : set;
        return [this, kept] { return m.name(kept); };
    };
    auto both = [&](int o, MNODE *x, MNODE *y) { return m.node(o, u64, x, y); };
    auto num = [&](uint64_t v) { return icon(int64_t(v), u64); };
    bool narrow = ctx.getTypeSize(a) <= 32 && ctx.getTypeSize(b) <= 32;
    MNODE *x_value = rvalue(e->getArg(0)), *y_value = rvalue(e->getArg(1));
    bool x_signed = a->isSignedIntegerOrEnumerationType(), y_signed = b->isSignedIntegerOrEnumerationType();
    auto x = let(x_signed ? s64 : u64, convert(x_value, x_signed ? s64 : u64));
    auto y = let(y_signed ? s64 : u64, convert(y_value, y_signed ? s64 : u64));
    auto low_of = [&](auto &v, bool is_signed) { return is_signed ? m.node(SCONV, u64, v()) : v(); };
    auto sign_of = [&](auto &v, bool is_signed) { // 0 or all ones
        return is_signed ? m.node(SCONV, u64, m.node(SRL, s64, v(), icon(63, int_t()))) : num(0);
    };
    auto p = let(u64, low_of(x, x_signed));
    auto q = let(u64, low_of(y, y_signed));
    MNODE *low, *high;
    if (op != MULT) {
        low = both(op, p(), q());
        auto kept = let(u64, low);
        MNODE *carry = m.node(
            SCONV, u64, op == PLUS ? m.node(ULT, int_t(), kept(), p()) : m.node(ULT, int_t(), p(), q()));
        high = both(op, both(op, sign_of(x, x_signed), sign_of(y, y_signed)), carry);
        low = kept();
    } else {
        low = both(MULT, p(), q());
        if (narrow && (x_signed || y_signed)) { // the product fits the low word with its sign
            auto kept = let(s64, m.node(SCONV, s64, low));
            low = m.node(SCONV, u64, kept()), high = sign_of(kept, true);
        } else if (narrow) high = num(0);
        else {
            auto half = [&](auto &v, bool upper) {
                return upper ? m.node(SRL, u64, v(), icon(32, int_t())) : both(ANDB, v(), num(0xFFFFFFFF));
            };
            auto first = let(u64, both(MULT, half(p, false), half(q, false)));
            auto second = let(u64, both(PLUS, both(MULT, half(p, true), half(q, false)), half(first, true)));
            auto third = let(u64, both(PLUS, both(MULT, half(p, false), half(q, true)), half(second, false)));
            high = both(PLUS, both(MULT, half(p, true), half(q, true)),
                        both(PLUS, half(second, true), half(third, true)));
            // A negative factor counts as itself plus 2**64 in this product.
            high = both(MINUS, high, both(ANDB, sign_of(x, x_signed), q()));
            high = both(MINUS, high, both(ANDB, sign_of(y, y_signed), p()));
        }
    }
    auto lo = let(u64, low);
    auto hi = let(u64, high);
    auto result = let(t, convert(lo(), t));
    bool t_signed = to->isSignedIntegerOrEnumerationType();
    auto wide = let(t_signed ? s64 : u64, convert(result(), t_signed ? s64 : u64));
    MNODE *store = stores ? assign(deref(rvalue(third), type_of(to)), result()) : rvalue(third);
    MNODE *test = m.node(OROR, int_t(), m.node(NEQ, int_t(), low_of(wide, t_signed), lo()),
                         m.node(NEQ, int_t(), sign_of(wide, t_signed), hi()));
    return comma_op(all, comma_op(store, convert(test, answer)));
}
