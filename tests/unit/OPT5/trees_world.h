// What tests of trees share: a type package, symbols, short makers, and an evaluator. The evaluator gives integer
// trees the meaning that the opcodes have on the target; tests compare what it says before and after a rewriting.
#pragma once

#include "OPT5/bbutils.h"
#include "OPT5/congruent.h"
#include "OPT5/fold.h"
#include "OPT5/funinfo.h"
#include "OPT5/infix.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "OPT5/treecheck.h"
#include "OPT5/treewalk.h"
#include "typepkg/type_pkg.h"

#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <map>
#include <optional>

struct trees_world : testing::Test {
    TYPE_PKG package;
    TYPE *i, *u, *c, *uc, *sh, *ll, *ull, *flt, *dbl, *vol, *konst, *ptr;
    TYPE *record; // struct { int a; int b; int bit : 5; }
    fkMDATA *field_a, *field_b, *field_bit;
    std::deque<SYMTAB> symbols;

    trees_world() {
        TYPE_PKG::abi = 1;
        init_type_pkg(&package);
        tp = &package;
        init_types();
        init_opcode_tables();
        i = tp->basic[IK_int], u = tp->basic[IK_uint], c = tp->basic[IK_schar], uc = tp->basic[IK_uchar];
        sh = tp->basic[IK_short], ll = tp->basic[IK_llong], ull = tp->basic[IK_ullong];
        flt = tp->basic[BT_float], dbl = tp->basic[BT_double];
        vol = tp->mk_qual(i, QUAL_volatile), konst = tp->mk_qual(i, QUAL_const), ptr = tp->mk_ptr(i);
        record = tp->mk_struct("record", 96, 32, false);
        field_a = record->add_mdata("a", i, 0);
        field_b = record->add_mdata("b", i, 32);
        field_bit = record->add_bitfield("bit", i, 64, 5);
        tp->type_frozen(record);
    }
    ~trees_world() override {
        currfuninfo = nullptr;
        tp = nullptr;
    }

    SYMTAB *symbol(const char *name, TYPE *type, int level = 2, int sclass = SC_AUTO) {
        SYMTAB &s = symbols.emplace_back();
        s.name = keep_text(name);
        s.type = s.otype = type;
        s.size = static_cast<uint32_t>(type->size);
        s.align = type->align;
        s.level = level;
        s.sclass = static_cast<uint8_t>(sclass);
        return &s;
    }
    SYMTAB *global(const char *name, TYPE *type) { return symbol(name, type, 0, SC_EXTDEF); }

    // One symbol for each name, int unless it was made otherwise.
    SYMTAB *sym(const char *name) {
        for (SYMTAB &s : symbols)
            if (strcmp(s.name, name) == 0) return &s;
        return symbol(name, i);
    }
    NODE *N(const char *name) { return mk_NAME(sym(name)); }
    NODE *N(SYMTAB *s) { return mk_NAME(s); }
    NODE *I(long long value, TYPE *type = nullptr) { return mk_ICON(INT65(value), type ? type : i); }
    NODE *B(int op, NODE *a, NODE *b, TYPE *type = nullptr) {
        return maketree(op, a, b, type ? type : boolean_result[op] ? i : a->type, nullptr);
    }
    NODE *U(int op, NODE *a, TYPE *type = nullptr) { return B(op, a, nullptr, type); }
    NODE *deref(NODE *p, TYPE *type = nullptr) { return U(UMULT, p, type ? type : i); }
    NODE *dot(NODE *base, fkMDATA *m) {
        NODE *field = new NODE(FIELD, m->type);
        field->mk_field(1, m, record);
        return maketree(STDOT, base, field, m->type, nullptr);
    }
    NODE *args(std::initializer_list<NODE *> list) {
        NODE *r = nullptr;
        for (NODE *n : list) r = arg_list_append(r, n);
        return r;
    }
    NODE *call(SYMTAB *f, NODE *arguments) {
        NODE *callee = maketree(UAND, mk_NAME(f), nullptr, ptr, nullptr);
        return maketree(arguments ? CALL : UCALL, callee, arguments, i, nullptr);
    }
    SYMTAB *function(const char *name) { return global(name, tp->mk_func(i, std::vector<TYPE *>{})); }
    // A chain of `n` sums that leans to one side.
    NODE *chain(int n, bool left, const char *leaf = "x") {
        NODE *t = N(leaf);
        for (int k = 0; k < n; k++) t = left ? B(PLUS, t, N(leaf)) : B(PLUS, N(leaf), t);
        return t;
    }

    std::map<const SYMTAB *, INT65> values;
    std::optional<INT65> eval(const NODE *n);
};

// The value of an integer tree; nothing for what has none (a division by 0, a shift too far).
inline std::optional<INT65> trees_world::eval(const NODE *n) {
    if (n->op == ICON) return n->u.lval;
    if (n->op == NAME) return truncate_to_type(values[n->u.sym], n->type);
    std::optional<INT65> left = eval(n->left), right = n->right ? eval(n->right) : INT65(0);
    if (!left || !right) return {};
    INT65 a = *left, b = *right;
    auto as_unsigned = [&](INT65 v) { return v.truncate_unsigned(static_cast<int>(n->left->type->size)); };
    int bits = static_cast<int>(n->type->size);
    INT65 v;
    switch (n->op) {
    case PLUS: v = a + b; break;
    case MINUS: v = a - b; break;
    case MULT: v = INT65(0, static_cast<long long>(a.to_uint64() * b.to_uint64())); break;
    case DIV:
    case MOD:
        if (b.is_zero()) return {};
        v = n->op == DIV ? a / b : a % b;
        break;
    case ANDB: v = a & b; break;
    case ORB: v = a | b; break;
    case XORB: v = a ^ b; break;
    case SLL:
    case SRL:
        if (b.is_negative() || b >= INT65(bits)) return {};
        v = n->op == SLL ? a << b.low_i32() : a >> b.low_i32();
        break;
    case EQ: v = a == b; break;
    case NEQ: v = a != b; break;
    case LT: v = a < b; break;
    case LE: v = a <= b; break;
    case GT: v = a > b; break;
    case GE: v = a >= b; break;
    case ULT: v = as_unsigned(a) < as_unsigned(b); break;
    case UGT: v = as_unsigned(a) > as_unsigned(b); break;
    case UMINUS: v = -a; break;
    case NOTB: v = ~a; break;
    case EXCLAIM: v = a.is_zero(); break;
    case IDENTITY:
    case SCONV: v = a; break;
    default: ADD_FAILURE() << "the evaluator has no " << opname(n->op); return {};
    }
    return truncate_to_type(v, n->type);
}
