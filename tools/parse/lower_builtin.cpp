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
    case Builtin::BI__builtin_va_end: return icon(0, int_t());
    case Builtin::BI__builtin_va_copy: {
        TYPE *pp = pointer_to(vp);
        MNODE *to = m.node(UMULT, vp, m.node(PCONV, pp, va_list_address(0)));
        MNODE *from = m.node(UMULT, vp, m.node(PCONV, pp, va_list_address(1)));
        return m.node(ASG, vp, to, from);
    }
    case Builtin::BI__builtin_expect: {
        TYPE *t = m.package->basic_int(IK_long);
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
    case Builtin::BI__builtin_assume_aligned: return convert(arg(0), unqualified(e->getType()));
    case Builtin::BI__builtin_prefetch: return icon(0, int_t());
    case Builtin::BI__builtin_alloca:
    case Builtin::BIalloca: {
        MSYM *f = library_function("__builtin_alloca", ctx.VoidPtrTy, {ctx.UnsignedIntTy});
        return call_of(f, arg(0), vp);
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
    case Builtin::BI__c11_atomic_thread_fence: return icon(0, int_t()); // one thread
    default: break;
    }
    // What the front end can evaluate: __builtin_constant_p, object sizes, infinities, type questions ...
    Expr::EvalResult value;
    if (!e->getType()->isVoidType() && !e->getType()->isPointerType() && e->EvaluateAsRValue(value, ctx) &&
        !value.HasSideEffects && (value.Val.isInt() || value.Val.isFloat()))
        return constant_value(value.Val, e->getType(), e->getBeginLoc());
    if (id == Builtin::BI__builtin_constant_p) return icon(0, int_t());
    if (id == Builtin::BI__builtin_object_size)
        return icon(e->getArg(1)->EvaluateKnownConstInt(ctx).getZExtValue() & 2 ? 0 : 0xFFFFFFFF, uint_t());
    // A library function under its builtin name, also the checked forms.
    static const char prefix[] = "__builtin_";
    if (name.rfind(prefix, 0) != 0) return nullptr;
    std::string plain = name.substr(sizeof prefix - 1);
    static const char *const kept[] = {
        "clz",          "clzl",         "clzll",       "ctz",      "ctzl",           "ctzll",
        "popcount",     "popcountl",    "popcountll",  "parity",   "parityl",        "parityll",
        "ffs",          "ffsl",         "ffsll",       "bswap16",  "bswap32",        "bswap64",
        "clrsb",        "clrsbl",       "clrsbll",     "isinf",    "isinf_sign",     "isfinite",
        "isnormal",     "signbit",      "signbitf",    "signbitl", "return_address", "frame_address",
        "add_overflow", "sub_overflow", "mul_overflow"};
    bool is_kept = false;
    for (const char *k : kept) is_kept |= plain == k;
    if (plain.find("overflow") != std::string::npos) {
        // The result at full width decides; operands up to 32 bits fit 64-bit arithmetic.
        QualType to = e->getArg(2)->getType()->getPointeeType();
        QualType a = e->getArg(0)->getType(), b = e->getArg(1)->getType();
        bool fits = ctx.getTypeSize(a) <= 32 && ctx.getTypeSize(b) <= 32 && ctx.getTypeSize(to) <= 32;
        if (!fits) refuse(e->getBeginLoc(), "64-bit " + name);
        TYPE *wide = m.package->basic_int(IK_llong);
        int op = plain.find("add") != std::string::npos   ? PLUS
                 : plain.find("sub") != std::string::npos ? MINUS
                                                          : MULT;
        // The product of two unsigned words needs 64 bits without a sign.
        if (op == MULT && a->isUnsignedIntegerType() && b->isUnsignedIntegerType())
            wide = m.package->basic_int(IK_ullong);
        TYPE *t = type_of(to);
        MSYM *full = temp(wide);
        MSYM *part = temp(t->is_qual() ? t->stqs() : t);
        MNODE *set =
            m.node(ASG, wide, m.name(full), m.node(op, wide, convert(arg(0), wide), convert(arg(1), wide)));
        MNODE *narrow = m.node(ASG, part->type, m.name(part), convert(m.name(full), part->type));
        MNODE *store = assign(deref(arg(2), t), m.name(part));
        MNODE *test = m.node(NEQ, int_t(), convert(m.name(part), wide), m.name(full));
        if (wide->is_unsigned() && t->is_signed()) { // a value past the signed range shows as a changed sign
            MNODE *high = m.node(UGT, int_t(), m.name(full), icon(0x7FFFFFFF, wide));
            test = m.node(OROR, int_t(), test, high);
        }
        return comma_op(set, comma_op(narrow, comma_op(store, convert(test, unqualified(e->getType())))));
    }
    const FunctionDecl *fd = e->getDirectCallee();
    std::string target = is_kept ? name : plain;
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
