// Calls of functions: prototypes, records by value and as results, functions that the target's compiler knows.
#include <algorithm>

#include "tools/gen/gen.h"

// The leaves of a chain of COMMAs.
std::vector<MNODE *> FUNC_GEN::list_of(MNODE *list) {
    std::vector<MNODE *> leaves;
    for (; list && list->op == COMMA; list = list->left) leaves.push_back(list->right);
    if (list) leaves.push_back(list);
    std::reverse(leaves.begin(), leaves.end());
    return leaves;
}

EXPR FUNC_GEN::argument(MNODE *t) {
    while (t->op == ACONV) t = t->left;
    MNODE *held = t->op == ARGREF || t->op == STARG ? t->left : t;
    const CTYPE *type = types.of(held->type);
    if (type->kind != CK_record) return value(held != t && !type->is_wide() ? t : held);
    LVAL l = lvalue(held);
    if (l.type != type) l = recast(l, type, l.is_volatile);
    return load_from(l, held);
}

namespace {

// Functions that qlparse leaves under the names of the target's compiler with a letter too many.
std::string builtin_name(const std::string &name) {
    static const char *const generic[] = {"__builtin_isfinite", "__builtin_isnormal", "__builtin_isinf_sign",
                                          "__builtin_isinf",    "__builtin_isnan",    "__builtin_signbit"};
    for (const char *n : generic)
        if (name == std::string(n) + "f" && name != "__builtin_signbitf") return n;
    return name;
}

} // namespace

EXPR FUNC_GEN::compiler_builtin(const std::string &name, std::vector<EXPR> args, const CTYPE *returns) {
    if (name == "__builtin_va_start") {
        if (args.size() != 1 || last_param.empty())
            cannot(nullptr, "__builtin_va_start outside a variadic function");
        EXPR list = args[0];
        list.text = "*(__builtin_va_list *)" + operand(list, P_UNARY), list.prec = P_UNARY;
        EXPR last;
        last.text = last_param;
        EXPR r = call_text(name, {list, last}, returns);
        r.fx.add(EFFECTS::call());
        return r;
    }
    EXPR r = call_text(builtin_name(name), args, returns);
    r.fx.add(EFFECTS::call());
    return r;
}

EXPR FUNC_GEN::call(MNODE *t) {
    MNODE *callee = without_notes(t->left);
    MNODE *name = callee->op == UAND && callee->left->op == NAME ? callee->left : nullptr;
    if (name && (!name->sym || !name->sym->is_function())) name = nullptr;
    GLOBAL *f = name ? &g.global(name->sym) : nullptr;
    if (t->eh) cannot(t, "a call with an exception entry");
    std::vector<MNODE *> nodes = t->op == CALL ? list_of(t->right) : std::vector<MNODE *>();
    size_t first = f ? 0 : 1;
    std::vector<EXPR> v = ordered(nodes.size() + first, [&](size_t i) {
        return i < first ? value(callee) : argument(nodes[i - first]);
    });
    const CTYPE *answer = types.of(t->type);
    TYPE *file_type = f                        ? name->sym->type
                      : callee->type->is_ptr() ? callee->type->type_pointed_to()
                                               : nullptr;
    if (file_type && !file_type->is_func()) file_type = nullptr;
    std::vector<EXPR> args(v.begin() + long(first), v.end());
    if (f && f->is_builtin) {
        EXPR r = compiler_builtin(name->sym->name, args, types.of(file_type->return_type()));
        return answer->is_scalar() && r.type->is_scalar() ? convert(r, answer) : r;
    }

    TYPE *record = file_type && !args.empty() ? types.record_result(file_type) : nullptr;
    EXPR target;
    if (record) {
        target = args[0];
        args.erase(args.begin());
    }
    const CTYPE *type = f ? f->type : file_type ? types.of(file_type) : nullptr;
    bool fits = type != nullptr && type->kind == CK_func;
    if (fits && type->proto) {
        fits = args.size() == type->params.size() || (type->vararg && args.size() >= type->params.size());
        for (size_t i = 0; fits && i < type->params.size(); i++) {
            const CTYPE *a = args[i].type, *p = type->params[i];
            fits = a == p || (a->is_scalar() && p->is_scalar());
        }
    }
    if (fits && answer->is_scalar() && !type->part->is_scalar()) fits = false;
    if (!fits) { // what this call passes and expects is the function's type
        std::vector<const CTYPE *> params;
        for (EXPR &a : args) params.push_back(a.type);
        type = types.function(record ? types.of(record) : answer, params, false);
    }
    for (size_t i = 0; i < args.size(); i++) {
        const CTYPE *p = type->proto && i < type->params.size() ? type->params[i] : nullptr;
        bool numbers =
            p && (p->is_int() || p->is_float()) && (args[i].type->is_int() || args[i].type->is_float());
        if (p && p->is_scalar() && (!numbers || args[i].is_const)) args[i] = convert(args[i], p);
    }

    EXPR fn;
    if (f) {
        f->referenced = true;
        fn.text = f->name;
        if (!fits) fn.text = "((" + types.pointer_to(type)->text + ")(u32)" + f->name + ")";
    } else {
        fn = convert(v[0], types.pointer_to(type));
        fn.text = operand(fn, P_POSTFIX);
    }
    EXPR r = call_text(fn.text, args, type->part);
    if (!f) r.fx.add(v[0].fx);
    r.fx.add(EFFECTS::call());
    if (record) {
        LVAL to = deref(target, types.of(record), false);
        r.fx.add(to.fx);
        r.text = to.text + " = " + r.text, r.prec = P_ASSIGN;
        r.type = types.of(g.model.package->void_type());
        return r;
    }
    if (answer->is_scalar() && r.type->is_scalar()) return convert(r, answer);
    return r;
}
