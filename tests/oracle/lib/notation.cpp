#include "tests/oracle/lib/notation.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>

#include "OPT5/bif.h"
#include "OPT5/fold.h"
#include "OPT5/symtab.h"
#include "OPT5/treewalk.h"
#include "OPT5/tree.h"
#include "support/fps_text.h"
#include "typepkg/type_pkg.h"
#include "typepkg/type_query.h"

namespace {

struct BINARY_TOKEN {
    const char *text;
    int level; // binds tighter when greater
    int op;    // -1 - n: relation n
    int assigning;
};
// clang-format off
const BINARY_TOKEN binaries[] = { // longer texts first
    {"<<=", 1, SLLASG, 1}, {">>=", 1, SRLASG, 1},
    {"+=", 1, PLUSASG, 1}, {"-=", 1, MINUSASG, 1}, {"*=", 1, MULTASG, 1}, {"/=", 1, DIVASG, 1}, {"%=", 1, MODASG, 1},
    {"&=", 1, ANDBASG, 1}, {"|=", 1, ORBASG, 1}, {"^=", 1, XORBASG, 1},
    {"&&", 4, ANDAND, 0}, {"||", 3, OROR, 0}, {"==", 8, -1, 0}, {"!=", 8, -2, 0}, {"<=", 9, -3, 0}, {">=", 9, -5, 0},
    {"<<", 10, SLL, 0}, {">>", 10, SRL, 0},
    {"<", 9, -4, 0}, {">", 9, -6, 0}, {"=", 1, ASG, 1},
    {"+", 11, PLUS, 0}, {"-", 11, MINUS, 0}, {"*", 12, MULT, 0}, {"/", 12, DIV, 0}, {"%", 12, MOD, 0},
    {"&", 7, ANDB, 0}, {"|", 5, ORB, 0}, {"^", 6, XORB, 0}, {",", 0, COMMAOP, 0},
};
// clang-format on
constexpr int LEVEL_COMMA = 0, LEVEL_ASSIGN = 1, LEVEL_QUEST = 2;

struct READER {
    const std::string &text;
    TYPE *T;
    RANDOM &random;
    unsigned holes;
    int depth;
    size_t at = 0;
    bool meaningless = false;
    std::map<char, INT65> constants = {};

    [[noreturn]] void bad(const char *why) {
        fprintf(stderr, "%s at position %zu of \"%s\"\n", why, at, text.c_str());
        exit(2);
    }
    void blanks() {
        while (at < text.size() && text[at] == ' ') at++;
    }
    bool take(const char *token) {
        blanks();
        size_t n = strlen(token);
        if (text.compare(at, n, token) != 0) return false;
        at += n;
        return true;
    }
    void expect(const char *token) {
        if (!take(token)) bad("something else is expected");
    }
    std::string word() {
        blanks();
        size_t from = at;
        while (at < text.size() && (isalnum(static_cast<unsigned char>(text[at])) || text[at] == '_')) at++;
        return text.substr(from, at - from);
    }

    TYPE *type_named(const std::string &name) {
        ORACLE_WORLD &w = world();
        TYPE *type = nullptr;
        int bits = int(T->size);
        bool is_signed = T->is_signed();
        if (name == "T") return T;
        if (name == "P") return tp->mk_ptr(T);
        if (name == "R") return tp->mk_ptr(w.record);
        if (T->is_fltpt() && (name == "U" || name == "S" || name == "W" || name == "H")) {
            meaningless = true;
            return T;
        }
        if (name == "U") return w.integer(bits, false);
        if (name == "S") return w.integer(bits, true);
        if (name == "W" || name == "H") {
            type = w.integer(name == "W" ? bits * 2 : bits / 2, is_signed);
            if (!type) meaningless = true;
            return type ? type : T;
        }
        if (name == "int") return w.i32;
        return w.named(name);
    }

    // --- operands ---

    // A literal has no type of its own until it meets something: it is marked by `flag`.
    NODE *literal(const INT65 &v) {
        if (T->is_fltpt()) {
            simul_fval f;
            f_itof(v.to_int64(), &f);
            return mk_FCON(f, T);
        }
        NODE *n = mk_ICON(v, T);
        n->flag = true;
        return n;
    }
    NODE *constant(char name) {
        if (T->is_fltpt()) {
            GENERATOR g{random};
            NODE *n = g.constant(T);
            return n;
        }
        auto known = constants.find(name);
        if (known == constants.end()) {
            INT65 v;
            int bits = int(T->size);
            switch (name) {
            case 'm': v = (INT65(1) << int(1 + pick(random, unsigned(bits)))) - INT65(1); break;
            case 't': v = INT65(1) << int(pick(random, unsigned(bits))); break;
            case 'k':
            case 'l': v = INT65(interesting_count(bits, random)); break;
            default: v = interesting_constant(T, random);
            }
            known = constants.emplace(name, v).first;
        }
        return mk_ICON(known->second, name == 'k' || name == 'l' ? world().i32 : T);
    }
    NODE *hole(const char *name, TYPE *type) {
        if (chance(random, holes)) {
            GENERATOR g{random};
            g.effects = false, g.memory = chance(random, 20), g.floats = chance(random, 20);
            return g.tree(type, depth);
        }
        return mk_NAME(world().variable(name, type));
    }
    NODE *named(const std::string &name) {
        ORACLE_WORLD &w = world();
        TYPE *type = T;
        if (take("@")) {
            type = type_named(word());
            if (!type) bad("no such type");
        }
        if (name == "x" || name == "y" || name == "z") return hole(name.c_str(), type);
        if (name == "w" || name == "u" || name == "v" || name == "p" || name == "q")
            return mk_NAME(w.variable(name.c_str(), type));
        if (name == "n") return mk_NAME(w.count);
        if (name == "s") return mk_NAME(w.object);
        if (name == "r") return mk_NAME(w.to_object);
        if (name == "ar") return maketree(PCONV, mk_UAND(mk_NAME(w.array)), nullptr, w.ptr_i32, nullptr);
        if (name.size() == 1 && strchr("cdemtkl", name[0])) return constant(name[0]);
        if (name == "pm" || name == "pv") { // in elements of four bytes
            expect("(");
            NODE *of = t_convert(w.i32, expression(LEVEL_COMMA));
            expect(")");
            return maketree(name == "pm" ? PMCONV : PVCONV, of, t_icon(32, w.i32), w.i32, nullptr);
        }
        if (name == "qc") {
            expect("(");
            NODE *test = expression(LEVEL_ASSIGN);
            expect(",");
            NODE *yes = expression(LEVEL_ASSIGN);
            expect(",");
            NODE *no = expression(LEVEL_ASSIGN);
            expect(")");
            bring_together(yes, no);
            TYPE *of = yes->type->dtype;
            NODE *args = arg_list_append(arg_list_append(arg_list_append(nullptr, test), yes), no);
            return mk_ICALL("quest$colon", args, of);
        }
        if (name == "f" || name == "g" || name == "g2" || name == "abs" || name == "sqr") {
            expect("(");
            NODE *args = nullptr, *first = nullptr;
            do {
                NODE *a = expression(LEVEL_ASSIGN);
                if (name == "abs" || name == "sqr") first = a;
                else args = arg_list_append(args, t_convert(w.i32, a));
            } while (name == "g2" && take(","));
            expect(")");
            if (first) {
                if (name == "abs" && first->type->is_unsigned() && !first->type->is_fltpt())
                    meaningless = true;
                return t_unary(name == "abs" ? ABS : SQR, first);
            }
            return t_call(name == "f" ? w.pure : name == "g" ? w.ext : w.ext2, args);
        }
        if (name == "assert") {
            expect("(");
            NODE *fact = expression(LEVEL_COMMA);
            expect(")");
            return maketree(ASSERT, fact, nullptr, w.i32, nullptr);
        }
        if (find_builtin_model(name.c_str())) {
            const BIF *bif = find_BIF_descriptor(name.c_str());
            NODE *args = nullptr;
            expect("(");
            do args = arg_list_append(args, t_convert(w.i32, expression(LEVEL_ASSIGN)));
            while (take(","));
            expect(")");
            return mk_ICALL(name.c_str(), args, bif ? bif->result_type : w.i32);
        }
        bad("no such name");
    }

    NODE *primary() {
        blanks();
        if (at >= text.size()) bad("an operand is missing");
        if (isdigit(static_cast<unsigned char>(text[at]))) {
            size_t to = at;
            while (to < text.size() && (isalnum(static_cast<unsigned char>(text[to])) || text[to] == '.'))
                to++;
            if (text.find('.', at) < to) {
                simul_fval f;
                f_atof(text.substr(at, to - at).c_str(), &f);
                at = to;
                if (T->is_fltpt()) return mk_FCON(f, T);
                meaningless = true;
                return literal(INT65(0));
            }
            char *end;
            unsigned long long v = strtoull(text.c_str() + at, &end, 0);
            at = size_t(end - text.c_str());
            if (take("@")) {
                TYPE *type = type_named(word());
                return mk_ICON(INT65(v), type);
            }
            return literal(INT65(v));
        }
        if (take("{")) {
            NODE *n = expression(LEVEL_COMMA);
            expect("}");
            uint64_t v = value_of_constant(n);
            NODE *c =
                mk_ICON(n->type->is_unsigned() ? INT65((unsigned long long)v) : INT65((long long)v), n->type);
            erase_tree(n);
            return c;
        }
        if (take("(")) {
            size_t back = at;
            std::string name = word();
            TYPE *type = name.empty() ? nullptr : type_named(name);
            if (type && take(")")) {
                NODE *of = unary();
                if (of->op == ICON && of->flag && !type->is_fltpt()) { // a literal of that type
                    NODE *n = mk_ICON(of->u.lval, type);
                    erase_tree(of);
                    return n;
                }
                return t_convert(type, of);
            }
            at = back;
            NODE *n = expression(LEVEL_COMMA);
            expect(")");
            return postfix(n);
        }
        std::string name = word();
        if (name.empty()) bad("an operand is expected");
        return postfix(named(name));
    }
    NODE *postfix(NODE *n) {
        ORACLE_WORLD &w = world();
        for (;;) {
            if (take("->")) {
                fkMDATA *m = w.field(word());
                if (!m) bad("no such member");
                n = t_through(n, m);
            } else if (n->type->is_csu() && take(".")) {
                fkMDATA *m = w.field(word());
                if (!m) bad("no such member");
                n = t_field(n, m);
            } else if (take("++")) n = maketree(PLUSPLUS, n, step_of(n), n->type->dtype, nullptr);
            else if (take("--")) n = maketree(MINMIN, n, step_of(n), n->type->dtype, nullptr);
            else return n;
        }
    }
    NODE *step_of(NODE *n) {
        TYPE *type = n->type->dtype;
        if (type->is_fltpt()) return mk_FCON(one, type);
        return type->is_ptr() ? t_icon((long long)(type->type_pointed_to()->size / 8), world().i32)
                              : t_icon(1, type);
    }

    NODE *unary() {
        ORACLE_WORLD &w = world();
        if (take("-")) {
            NODE *n = unary();
            if (n->op == ICON) {
                bool flag = n->flag;
                NODE *c = mk_ICON(-n->u.lval, n->type);
                c->flag = flag;
                erase_tree(n);
                return c;
            }
            return t_unary(UMINUS, n);
        }
        if (take("~")) {
            NODE *n = unary();
            if (n->op == ICON) {
                NODE *c = mk_ICON(~n->u.lval, n->type);
                erase_tree(n);
                return c;
            }
            return t_unary(NOTB, n);
        }
        if (take("!")) return t_unary(EXCLAIM, unary(), w.i32);
        if (take("*")) {
            NODE *p = unary();
            if (!p->type->is_ptr()) bad("not a pointer");
            return maketree(UMULT, p, nullptr, p->type->type_pointed_to(), nullptr);
        }
        if (take("&")) return mk_UAND(unary());
        return primary();
    }

    // --- operators ---

    static bool is_literal(const NODE *n) { return n->op == ICON && n->flag; }
    static void retype_literal(NODE *&n, TYPE *type) {
        NODE *c;
        if (type->is_fltpt()) {
            simul_fval f;
            f_itof(n->u.lval.to_int64(), &f);
            c = mk_FCON(f, type);
        } else c = mk_ICON(n->u.lval, type);
        erase_tree(n);
        n = c;
    }
    // Brings both to one type.
    static void bring_together(NODE *&a, NODE *&b) {
        TYPE *ta = a->type->dtype, *tb = b->type->dtype;
        if (ta == tb) return;
        if (is_literal(a) && !tb->is_ptr()) return retype_literal(a, tb);
        if (is_literal(b) && !ta->is_ptr()) return retype_literal(b, ta);
        if (ta->is_ptr() || tb->is_ptr()) return;
        TYPE *common = c_usual_arith_conv(ta, tb)->dtype;
        a = t_convert(common, a), b = t_convert(common, b);
    }
    NODE *combine(const BINARY_TOKEN &token, NODE *a, NODE *b) {
        ORACLE_WORLD &w = world();
        int op = token.op;
        if (op == COMMAOP) return maketree(COMMAOP, a, b, b->type->dtype, nullptr);
        if (token.assigning && a->type->is_csu()) return mk_ASG(a, b);
        if (token.assigning) {
            TYPE *type = a->type->dtype;
            if (op == SLLASG || op == SRLASG) {
                if (is_literal(b)) retype_literal(b, w.i32);
            } else if (type->is_ptr() && op != ASG) {
                if (is_literal(b)) retype_literal(b, w.i32);
            } else if (is_literal(b)) retype_literal(b, type);
            else b = t_convert(type, b);
            return maketree(op, a, b, type, nullptr);
        }
        if (op == SLL || op == SRL) {
            if (is_literal(b)) retype_literal(b, w.i32);
            return t_binary(op, a, t_convert(w.i32, b));
        }
        if (op == ANDAND || op == OROR) return t_binary(op, a, b, w.i32);
        if ((op == PLUS || op == MINUS) && a->type->is_ptr() && !b->type->is_ptr()) {
            if (is_literal(b)) retype_literal(b, w.i32);
            return t_binary(op, a, b);
        }
        bring_together(a, b);
        if (op < 0) return t_binary(t_relation(-1 - op, a->type->dtype), a, b, w.i32);
        if (op == MINUS && a->type->is_ptr()) return t_binary(op, a, b, w.i32);
        return t_binary(op, a, b);
    }
    NODE *expression(int least) {
        NODE *a = unary();
        for (;;) {
            blanks();
            if (least <= LEVEL_QUEST && take("?")) {
                NODE *yes = expression(LEVEL_COMMA);
                expect(":");
                NODE *no = expression(LEVEL_QUEST);
                bring_together(yes, no);
                a = t_quest(a, yes, no);
                continue;
            }
            const BINARY_TOKEN *found = nullptr;
            for (const BINARY_TOKEN &t : binaries)
                if (text.compare(at, strlen(t.text), t.text) == 0) {
                    found = &t;
                    break;
                }
            if (!found || found->level < least) return a;
            at += strlen(found->text);
            NODE *b = expression(found->assigning ? found->level : found->level + 1);
            a = combine(*found, a, b);
        }
    }
};

} // namespace

NODE *tree_from_notation(const std::string &text, TYPE *type, RANDOM &random, unsigned holes, int depth) {
    READER reader{text, type, random, holes, depth};
    NODE *tree = reader.expression(LEVEL_COMMA);
    reader.blanks();
    if (reader.at != text.size()) reader.bad("something is left over");
    for_each_node(tree, [](NODE *n) {
        if (n->op == ICON) n->flag = false;
    });
    if (!reader.meaningless) return tree;
    erase_tree(tree);
    return nullptr;
}
