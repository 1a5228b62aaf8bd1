#include "tools/parse/lower.h"

#include "clang/Basic/Builtins.h"

using namespace clang;

// Atomic operations. Loads and stores are volatile accesses, with a barrier behind a load and around a store unless
// the order is relaxed. Everything else is a call of the compiler's run-time functions for an object of 1, 2, 4 or 8
// bytes (__atomic_fetch_add_4 and its kin), which the code generator's compiler knows and opens where it can.

constexpr int SEQUENTIAL = 5, RELAXED = 0, ACQUIRE = 2;

// The unsigned type of an object that the run-time functions take; refuses others.
TYPE *LOWER::atomic_word(QualType q, SourceLocation where) {
    if (auto *a = q->getAs<AtomicType>()) q = a->getValueType();
    if (q->isIntegralOrEnumerationType() || q->isPointerType()) switch (size_of(q)) {
        case 1: return m.package->basic_int(IK_uchar);
        case 2: return m.package->basic_int(IK_ushort);
        case 4: return uint_t();
        case 8: return m.package->basic_int(IK_ullong);
        default: break;
        }
    refuse(where, "an atomic operation on an object of type '" + q.getAsString() + "'");
}

MNODE *LOWER::atomic_call(const std::string &name, TYPE *word, TYPE *returns, std::vector<MNODE *> args) {
    std::vector<TYPE *> params;
    MNODE *list = nullptr;
    for (MNODE *a : args) {
        TYPE *t = a->type->is_ptr() ? m.package->void_ptr_type() : a->type;
        params.push_back(t);
        list = append_arg(list, a->type == t ? a : m.node(PCONV, t, a));
    }
    std::string full = "__atomic_" + name + "_" + std::to_string(word->size / 8);
    return call_of(library_function(full.c_str(), m.package->mk_func(returns, params, false)), list, returns);
}

MNODE *LOWER::barrier() {
    return call_of(library_function("__sync_synchronize", ctx.VoidTy, {}), nullptr, void_t());
}

MNODE *LOWER::atomic_load(MNODE *address, TYPE *t, int order) {
    TYPE *shown = m.package->mk_qual(t, QUAL_volatile);
    MNODE *v = deref(m.node(PCONV, pointer_to(shown), address), shown);
    if (order == RELAXED) return v;
    MSYM *kept = temp(t);
    return comma_op(m.node(ASG, kept->type, m.name(kept), v), comma_op(barrier(), m.name(kept)));
}

MNODE *LOWER::atomic_store(MNODE *address, MNODE *value, TYPE *t, int order) {
    TYPE *shown = m.package->mk_qual(t, QUAL_volatile);
    MSYM *kept = order == RELAXED ? nullptr : temp(t);
    MNODE *set = assign(deref(m.node(PCONV, pointer_to(shown), address), shown),
                        kept ? m.name(kept) : convert(value, t));
    if (!kept) return set;
    MNODE *first = m.node(ASG, kept->type, m.name(kept), convert(value, t));
    return comma_op(first, comma_op(barrier(), comma_op(set, comma_op(barrier(), m.name(kept)))));
}

MNODE *LOWER::atomic(const AtomicExpr *a) {
    SourceLocation where = a->getBeginLoc();
    QualType q = a->getPtr()->getType()->getPointeeType();
    if (auto *at = q->getAs<AtomicType>()) q = at->getValueType();
    q = q.getUnqualifiedType();
    TYPE *t = unqualified(q);
    Expr::EvalResult known;
    int order = SEQUENTIAL;
    if (a->getOp() != AtomicExpr::AO__c11_atomic_init && a->getOrder()->EvaluateAsInt(known, ctx))
        order = int(known.Val.getInt().getZExtValue());
    auto through = [&](const Expr *pointer) {
        return deref(rvalue(pointer), t);
    }; // what an argument points at
    TYPE *word = nullptr;
    MNODE *at = nullptr;
    auto prepare = [&] { word = atomic_word(q, where), at = rvalue(a->getPtr()); };
    auto back = [&](MNODE *v) { return convert(v, t); };
    auto modify = [&](const std::string &name) {
        prepare();
        MNODE *v = rvalue(a->getVal1());
        bool c11 = a->isCmpXChg() ? false : a->getOp() < AtomicExpr::AO__atomic_load;
        if (q->isPointerType() && c11 && !v->type->is_ptr()) // counts elements
            v = m.node(MULT, uint_t(), convert(v, uint_t()), element_size(q->getPointeeType(), uint_t()));
        return back(atomic_call(name, word, word, {at, convert(v, word), icon(order, int_t())}));
    };
    auto compare = [&](MNODE *desired, bool weak) {
        MNODE *expected = rvalue(a->getVal1());
        MNODE *v =
            atomic_call("compare_exchange", word, m.package->basic_int(IK_bool),
                        {at, expected, convert(desired, word), icon(weak, m.package->basic_int(IK_bool)),
                         icon(order, int_t()), convert(rvalue(a->getOrderFail()), int_t())});
        return convert(v, unqualified(a->getType()));
    };
    switch (a->getOp()) {
    case AtomicExpr::AO__c11_atomic_init:
        return atomic_store(rvalue(a->getPtr()), rvalue(a->getVal1()), t, RELAXED);
    case AtomicExpr::AO__c11_atomic_load:
    case AtomicExpr::AO__atomic_load_n: return atomic_load(rvalue(a->getPtr()), t, order);
    case AtomicExpr::AO__atomic_load: {
        if (!q->isScalarType()) break;
        return assign(through(a->getVal1()), atomic_load(rvalue(a->getPtr()), t, order));
    }
    case AtomicExpr::AO__c11_atomic_store:
    case AtomicExpr::AO__atomic_store_n:
        return atomic_store(rvalue(a->getPtr()), rvalue(a->getVal1()), t, order);
    case AtomicExpr::AO__atomic_store:
        if (!q->isScalarType()) break;
        return atomic_store(rvalue(a->getPtr()), through(a->getVal1()), t, order);
    case AtomicExpr::AO__c11_atomic_exchange:
    case AtomicExpr::AO__atomic_exchange_n: return modify("exchange");
    case AtomicExpr::AO__atomic_exchange: {
        prepare();
        MNODE *v = atomic_call("exchange", word, word,
                               {at, convert(through(a->getVal1()), word), icon(order, int_t())});
        return assign(through(a->getVal2()), back(v));
    }
    case AtomicExpr::AO__c11_atomic_compare_exchange_strong:
    case AtomicExpr::AO__c11_atomic_compare_exchange_weak:
        prepare();
        return compare(rvalue(a->getVal2()), a->getOp() == AtomicExpr::AO__c11_atomic_compare_exchange_weak);
    case AtomicExpr::AO__atomic_compare_exchange_n: prepare(); return compare(rvalue(a->getVal2()), false);
    case AtomicExpr::AO__atomic_compare_exchange: prepare(); return compare(through(a->getVal2()), false);
    case AtomicExpr::AO__c11_atomic_fetch_add:
    case AtomicExpr::AO__atomic_fetch_add: return modify("fetch_add");
    case AtomicExpr::AO__c11_atomic_fetch_sub:
    case AtomicExpr::AO__atomic_fetch_sub: return modify("fetch_sub");
    case AtomicExpr::AO__c11_atomic_fetch_and:
    case AtomicExpr::AO__atomic_fetch_and: return modify("fetch_and");
    case AtomicExpr::AO__c11_atomic_fetch_or:
    case AtomicExpr::AO__atomic_fetch_or: return modify("fetch_or");
    case AtomicExpr::AO__c11_atomic_fetch_xor:
    case AtomicExpr::AO__atomic_fetch_xor: return modify("fetch_xor");
    case AtomicExpr::AO__c11_atomic_fetch_nand:
    case AtomicExpr::AO__atomic_fetch_nand: return modify("fetch_nand");
    case AtomicExpr::AO__atomic_add_fetch: return modify("add_fetch");
    case AtomicExpr::AO__atomic_sub_fetch: return modify("sub_fetch");
    case AtomicExpr::AO__atomic_and_fetch: return modify("and_fetch");
    case AtomicExpr::AO__atomic_or_fetch: return modify("or_fetch");
    case AtomicExpr::AO__atomic_xor_fetch: return modify("xor_fetch");
    case AtomicExpr::AO__atomic_nand_fetch: return modify("nand_fetch");
    default: break;
    }
    refuse(where, "this atomic operation");
}

// x OP= value, ++x and x++ of an object declared atomic. Null: not such an operation.
MNODE *LOWER::atomic_update(const Expr *object, BinaryOperatorKind kind, MNODE *value, bool old_value) {
    QualType q = object->getType();
    auto *at = q->getAs<AtomicType>();
    if (!at) return nullptr;
    q = at->getValueType();
    const char *name = kind == BO_Add   ? "add"
                       : kind == BO_Sub ? "sub"
                       : kind == BO_And ? "and"
                       : kind == BO_Or  ? "or"
                       : kind == BO_Xor ? "xor"
                                        : nullptr;
    if (!name || q->isBooleanType() || value->type->is_fltpt())
        refuse(object->getBeginLoc(), "this operation on an atomic object");
    TYPE *word = atomic_word(q, object->getBeginLoc());
    std::string full = old_value ? std::string("fetch_") + name : std::string(name) + "_fetch";
    MNODE *v = atomic_call(full, word, word,
                           {address_of(lvalue(object)), convert(value, word), icon(SEQUENTIAL, int_t())});
    return convert(v, unqualified(q));
}

// __sync_fetch_and_add_4(p, v) and its kin, by name. Null: another function.
MNODE *LOWER::sync_call(const CallExpr *e, const std::string &name) {
    if (name.rfind("__sync_", 0) != 0 || e->getNumArgs() == 0) return nullptr;
    size_t end = name.rfind('_');
    if (end + 2 != name.size() || !isdigit(name[end + 1])) return nullptr;
    std::string what = name.substr(7, end - 7);
    auto *pointer = e->getArg(0)->IgnoreParenImpCasts()->getType()->getAs<PointerType>();
    if (!pointer) return nullptr;
    QualType q = pointer->getPointeeType().getUnqualifiedType();
    TYPE *word = atomic_word(q, e->getBeginLoc()), *t = unqualified(q);
    MNODE *at = rvalue(e->getArg(0)->IgnoreParenImpCasts());
    auto value = [&](unsigned i) { return convert(rvalue(e->getArg(i)->IgnoreImpCasts()), word); };
    MNODE *order = icon(SEQUENTIAL, int_t());
    size_t middle = what.find("_and_");
    if (what.rfind("fetch_and_", 0) == 0)
        return convert(atomic_call("fetch_" + what.substr(10), word, word, {at, value(1), order}), t);
    if (middle != std::string::npos && what.substr(middle) == "_and_fetch")
        return convert(atomic_call(what.substr(0, middle) + "_fetch", word, word, {at, value(1), order}), t);
    if (what == "lock_test_and_set")
        return convert(atomic_call("exchange", word, word, {at, value(1), icon(ACQUIRE, int_t())}), t);
    if (what == "lock_release") return atomic_store(at, icon(0, word), word, SEQUENTIAL);
    if (what == "bool_compare_and_swap" || what == "val_compare_and_swap") {
        TYPE *truth_type = m.package->basic_int(IK_bool);
        MSYM *kept = temp(word);
        MNODE *first = m.node(ASG, word, m.name(kept), value(1));
        MNODE *swap = atomic_call(
            "compare_exchange", word, truth_type,
            {at, address_of(m.name(kept)), value(2), icon(0, truth_type), order, icon(SEQUENTIAL, int_t())});
        if (what[0] == 'b') return comma_op(first, convert(swap, unqualified(e->getType())));
        return comma_op(first, comma_op(swap, convert(m.name(kept), t)));
    }
    return nullptr;
}
