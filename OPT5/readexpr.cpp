#include "OPT5/readexpr.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "OPT5/bbutils.h"
#include "OPT5/bif.h"
#include "OPT5/branchhint.h"
#include "OPT5/cfg.h"
#include "OPT5/funinfo.h"
#include "OPT5/mdbase.h"
#include "OPT5/optab.h"
#include "OPT5/read.h"
#include "OPT5/restrict.h"
#include "OPT5/scopes.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "support/fatal.h"
#include "typepkg/type_merge.h"

namespace {

// --- the rules of the trees of a file ---

// What a position expects.
enum WANT : uint8_t {
    W_NONE,         // no operand
    W_ROOT,         // a statement
    W_INIT,         // an element of an initialiser
    W_EFFECT,       // anything that is evaluated, void too
    W_VALUE,        // a value
    W_NUM,          // a number, pointer or vector
    W_INT,          // the same without floating point
    W_INTEGRAL,     // an integer
    W_COND,         // a scalar
    W_PTR,          // a pointer or reference
    W_PTR_REC,      // a pointer to a record
    W_RECORD,       // a record
    W_ARRAY,        // an array
    W_COMPLEX,      // a complex number or vector
    W_LNUM,         // an lvalue that is a number, pointer or vector
    W_LREC,         // an lvalue that is a record
    W_LARRAY,       // an lvalue that is an array
    W_LCOMPLEX,     // an lvalue that is a complex number or vector
    W_OBJECT,       // what has an address: an lvalue, a function, a string
    W_CALLEE,       // the address of a function
    W_FUNCTION,     // the name of a function
    W_ARGS,         // an argument list
    W_ARG,          // one argument
    W_LABEL,        // a label
    W_CASES,        // a chain of cases
    W_CASE,         // one case or default
    W_CASEVALUE,    // a constant
    W_ICON,         // a small constant
    W_FIELD,        // a member
    W_COLON_EFFECT, // the alternatives of QUEST, by what it gives; same order as in arm_wants
    W_COLON_VALUE,
    W_COLON_NUM,
    W_COLON_RECORD,
    N_WANTS,
    // derived from the node that has the operand
    W_SAME,   // as the node itself
    W_LAST,   // one of the chain that the node is
    W_TAIL,   // what the type of the node asks for
    W_ALTS,   // the same below a COLON
    W_ARM,    // what that COLON asks for
    W_BASE,   // a record; an lvalue when the node must be one
    W_PARTED, // the same for vectors and complex numbers
};

// Where an opcode may stand.
enum PLACE : uint16_t {
    P_ROOT = 1,    // as a statement only
    P_EFFECT = 2,  // where the value does not matter
    P_VALUE = 4,   // as a value
    P_LVALUE = 8,  // as an lvalue
    P_OBJECT = 16, // below UAND
    P_LIST = 32,   // a chain of arguments or cases
    P_ARG = 64,    // an argument
    P_LABEL = 128,
    P_CASE = 256,
    P_COLON = 512,
    P_FIELD = 1024,
    P_INIT = 2048, // an initialiser
    P_ICON = 4096,
    P_NAME = 8192,
    P_ANY = 0x3FFF,
    P_REF = P_VALUE | P_LVALUE, // what designates an object
};

// What the type of a node must be.
enum TYPE_RULE : uint8_t {
    T_FREE,  // anything, even nothing
    T_ANY,   // any type
    T_OBJ,   // no void
    T_NUM,   // number, pointer, vector
    T_INT,   // the same without floating point
    T_FLOAT, // floating, complex, fixed point, vector
    T_COND,  // scalar
    T_INTEGRAL,
    T_PTR,
    T_PTR_REC,
    T_REC,
    T_ARRAY,
    T_COMPLEX,
    T_VALUE, // neither void nor a function
};

struct WANT_ROW {
    WANT want;
    uint16_t accepts; // PLACE bits
    TYPE_RULE type;
    const char *text;
};
// clang-format off
const WANT_ROW want_rows[N_WANTS] = {
    {W_NONE,      0,                              T_FREE,     "nothing"},
    {W_ROOT,      P_ROOT | P_EFFECT | P_VALUE,    T_FREE,     "a statement"},
    {W_INIT,      P_INIT | P_VALUE,               T_FREE,     "an initial value"},
    {W_EFFECT,    P_EFFECT | P_VALUE,             T_FREE,     "an expression"},
    {W_VALUE,     P_VALUE,                        T_VALUE,    "a value"},
    {W_NUM,       P_VALUE,                        T_NUM,      "a number or pointer"},
    {W_INT,       P_VALUE,                        T_INT,      "an integer"},
    {W_INTEGRAL,  P_VALUE,                        T_INTEGRAL, "an integer"},
    {W_COND,      P_VALUE,                        T_COND,     "a scalar"},
    {W_PTR,       P_VALUE,                        T_PTR,      "a pointer"},
    {W_PTR_REC,   P_VALUE,                        T_PTR_REC,  "a pointer to a record"},
    {W_RECORD,    P_VALUE,                        T_REC,      "a record"},
    {W_ARRAY,     P_VALUE,                        T_ARRAY,    "an array"},
    {W_COMPLEX,   P_VALUE,                        T_COMPLEX,  "a complex number or vector"},
    {W_LNUM,      P_LVALUE,                       T_NUM,      "an lvalue of a number or pointer"},
    {W_LREC,      P_LVALUE,                       T_REC,      "an lvalue of a record"},
    {W_LARRAY,    P_LVALUE,                       T_ARRAY,    "an lvalue of an array"},
    {W_LCOMPLEX,  P_LVALUE,                       T_COMPLEX,  "an lvalue of a complex number or vector"},
    {W_OBJECT,    P_LVALUE | P_OBJECT,            T_OBJ,      "an object or function"},
    {W_CALLEE,    P_VALUE,                        T_PTR,      "the address of a function"},
    {W_FUNCTION,  P_NAME,                         T_FREE,     "the name of a function"},
    {W_ARGS,      P_LIST | P_ARG | P_VALUE,       T_FREE,     "an argument list"},
    {W_ARG,       P_ARG | P_VALUE,                T_VALUE,    "an argument"},
    {W_LABEL,     P_LABEL,                        T_FREE,     "a label"},
    {W_CASES,     P_LIST | P_CASE,                T_FREE,     "a chain of cases"},
    {W_CASE,      P_CASE,                         T_FREE,     "a case"},
    {W_CASEVALUE, P_ICON,                         T_INTEGRAL, "an integer constant"},
    {W_ICON,      P_ICON,                         T_INT,      "an integer constant"},
    {W_FIELD,     P_FIELD,                        T_FREE,     "a FIELD"},
    {W_COLON_EFFECT, P_COLON,                     T_FREE,     "a COLON"},
    {W_COLON_VALUE,  P_COLON,                     T_FREE,     "a COLON"},
    {W_COLON_NUM,    P_COLON,                     T_FREE,     "a COLON"},
    {W_COLON_RECORD, P_COLON,                     T_FREE,     "a COLON"},
};

struct OP_RULE {
    int op;
    uint16_t places; // PLACE bits
    uint8_t left, right;
    TYPE_RULE type;
};
const OP_RULE op_rules[] = {
    // leaves
    {NOP,      P_ROOT | P_EFFECT,           W_NONE,      W_NONE,      T_FREE},
    {NAME,     P_REF | P_NAME,              W_NONE,      W_NONE,      T_OBJ},
    {ICON,     P_VALUE | P_ICON,            W_NONE,      W_NONE,      T_INT},
    {LCON,     P_VALUE | P_ICON,            W_NONE,      W_NONE,      T_INT},
    {FCON,     P_VALUE,                     W_NONE,      W_NONE,      T_FLOAT},
    {SCON,     P_VALUE | P_OBJECT,          W_NONE,      W_NONE,      T_VALUE},
    {LABEL,    P_LABEL,                     W_NONE,      W_NONE,      T_FREE},
    {FIELD,    P_FIELD,                     W_NONE,      W_NONE,      T_FREE},
    {SKIP,     P_INIT,                      W_NONE,      W_NONE,      T_FREE},
    {ENDINIT,  P_INIT,                      W_NONE,      W_NONE,      T_FREE},
    {UICALL,   P_VALUE,                     W_NONE,      W_NONE,      T_ANY},
    {UMCALL,   P_VALUE,                     W_NONE,      W_NONE,      T_ANY},
    // marks around other nodes
    {EPVAL,    P_ANY,                       W_SAME,      W_NONE,      T_FREE},
    {DDNODE,   P_REF,                       W_SAME,      W_NONE,      T_FREE},
    // objects
    {UMULT,    P_REF,                       W_PTR,       W_NONE,      T_OBJ},
    {STDOT,    P_REF,                       W_BASE,      W_FIELD,     T_OBJ},
    {STREF,    P_REF,                       W_PTR_REC,   W_FIELD,     T_OBJ},
    {STFIELD,  P_REF,                       W_BASE,      W_FIELD,     T_OBJ},
    {VFIELD,   P_REF,                       W_PARTED,    W_INT,       T_NUM},
    {REAL,     P_REF,                       W_PARTED,    W_NONE,      T_NUM},
    {IMAG,     P_REF,                       W_PARTED,    W_NONE,      T_NUM},
    {UAND,     P_VALUE,                     W_OBJECT,    W_NONE,      T_PTR},
    // arithmetic
    {PLUS,     P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {MINUS,    P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {MULT,     P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {DIV,      P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {MOD,      P_VALUE,                     W_INT,       W_INT,       T_INT},
    {SLL,      P_VALUE,                     W_INT,       W_INT,       T_INT},
    {SRL,      P_VALUE,                     W_INT,       W_INT,       T_INT},
    {ANDB,     P_VALUE,                     W_INT,       W_INT,       T_INT},
    {ORB,      P_VALUE,                     W_INT,       W_INT,       T_INT},
    {XORB,     P_VALUE,                     W_INT,       W_INT,       T_INT},
    {NOTB,     P_VALUE,                     W_NUM,       W_NONE,      T_NUM},
    {UMINUS,   P_VALUE,                     W_NUM,       W_NONE,      T_NUM},
    {ABS,      P_VALUE,                     W_NUM,       W_NONE,      T_NUM},
    {SQRT,     P_VALUE,                     W_NUM,       W_NONE,      T_NUM},
    {SQR,      P_VALUE,                     W_NUM,       W_NONE,      T_NUM},
    {RECIP,    P_VALUE,                     W_NUM,       W_NONE,      T_NUM},
    {TOIEEE,   P_VALUE,                     W_NUM,       W_NONE,      T_NUM},
    {FRIEEE,   P_VALUE,                     W_NUM,       W_NONE,      T_NUM},
    {COMPLEX,  P_VALUE,                     W_NUM,       W_NUM,       T_COMPLEX},
    // conversions
    {SCONV,    P_VALUE,                     W_NUM,       W_NONE,      T_NUM},
    {PCONV,    P_VALUE,                     W_VALUE,     W_NONE,      T_NUM},
    {ISP2CHAR, P_VALUE,                     W_VALUE,     W_NONE,      T_PTR},
    {ACONV,    P_VALUE,                     W_VALUE,     W_NONE,      T_VALUE},
    {VRCONV,   P_VALUE,                     W_VALUE,     W_NONE,      T_VALUE},
    {PMCONV,   P_VALUE,                     W_INT,       W_ICON,      T_INT},
    {PVCONV,   P_VALUE,                     W_INT,       W_ICON,      T_INT},
    // conditions
    {EQ,       P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {NEQ,      P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {LE,       P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {LT,       P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {GE,       P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {GT,       P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {ULE,      P_VALUE,                     W_INT,       W_INT,       T_NUM},
    {ULT,      P_VALUE,                     W_INT,       W_INT,       T_NUM},
    {UGE,      P_VALUE,                     W_INT,       W_INT,       T_NUM},
    {UGT,      P_VALUE,                     W_INT,       W_INT,       T_NUM},
    {FEQ,      P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {FNEQ,     P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {FLE,      P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {FLT,      P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {FGE,      P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {FGT,      P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {FEQN,     P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {FNEQN,    P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {FLEN,     P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {FLTN,     P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {FGEN,     P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {FGTN,     P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {FORD,     P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {FUNO,     P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {ANDAND,   P_VALUE,                     W_COND,      W_COND,      T_COND},
    {OROR,     P_VALUE,                     W_COND,      W_COND,      T_COND},
    {EXCLAIM,  P_VALUE,                     W_COND,      W_NONE,      T_COND},
    {QUEST,    P_VALUE,                     W_COND,      W_ALTS,      T_ANY},
    {COLON,    P_COLON,                     W_ARM,       W_ARM,       T_FREE},
    // assignments
    {ASG,      P_VALUE,                     W_LNUM,      W_NUM,       T_NUM},
    {STASG,    P_VALUE,                     W_LREC,      W_RECORD,    T_ANY},
    {ARASG,    P_VALUE,                     W_LARRAY,    W_ARRAY,     T_ANY},
    {PLUSASG,  P_VALUE,                     W_LNUM,      W_NUM,       T_NUM},
    {MINUSASG, P_VALUE,                     W_LNUM,      W_NUM,       T_NUM},
    {MULTASG,  P_VALUE,                     W_LNUM,      W_NUM,       T_NUM},
    {DIVASG,   P_VALUE,                     W_LNUM,      W_NUM,       T_NUM},
    {MODASG,   P_VALUE,                     W_LNUM,      W_INT,       T_INT},
    {SLLASG,   P_VALUE,                     W_LNUM,      W_INT,       T_INT},
    {SRLASG,   P_VALUE,                     W_LNUM,      W_INT,       T_INT},
    {ANDBASG,  P_VALUE,                     W_LNUM,      W_INT,       T_INT},
    {ORBASG,   P_VALUE,                     W_LNUM,      W_INT,       T_INT},
    {XORBASG,  P_VALUE,                     W_LNUM,      W_INT,       T_INT},
    {PLUSPLUS, P_VALUE,                     W_LNUM,      W_NUM,       T_NUM},
    {MINMIN,   P_VALUE,                     W_LNUM,      W_NUM,       T_NUM},
    // sequences, calls
    {COMMAOP,  P_VALUE,                     W_EFFECT,    W_TAIL,      T_ANY},
    {PCOMMA,   P_EFFECT,                    W_EFFECT,    W_EFFECT,    T_FREE},
    {COMMA,    P_LIST,                      W_SAME,      W_LAST,      T_FREE},
    {CALL,     P_VALUE,                     W_CALLEE,    W_ARGS,      T_ANY},
    {UCALL,    P_VALUE,                     W_CALLEE,    W_NONE,      T_ANY},
    {ICALL,    P_VALUE,                     W_ARGS,      W_NONE,      T_ANY},
    {MCALL,    P_VALUE,                     W_ARGS,      W_NONE,      T_ANY},
    {MEMCPY,   P_VALUE,                     W_ARGS,      W_NONE,      T_ANY},
    {VPACK,    P_VALUE,                     W_ARGS,      W_NONE,      T_NUM},
    {VPACKM,   P_VALUE,                     W_ARGS,      W_NONE,      T_NUM},
    {VPACK1P,  P_VALUE,                     W_NUM,       W_NUM,       T_NUM},
    {ARGREF,   P_ARG,                       W_VALUE,     W_NONE,      T_ANY},
    {STARG,    P_ARG,                       W_VALUE,     W_NONE,      T_ANY},
    // assertions
    {NASSERT,  P_EFFECT,                    W_COND,      W_NONE,      T_FREE},
    {ASSERT,   P_EFFECT,                    W_COND,      W_NONE,      T_FREE},
    // control
    {CBRANCH,  P_ROOT,                      W_COND,      W_LABEL,     T_FREE},
    {BRANCH,   P_ROOT,                      W_LABEL,     W_NONE,      T_FREE},
    {SWITCH,   P_ROOT,                      W_INTEGRAL,     W_CASES,     T_FREE},
    {CASE,     P_CASE,                      W_CASEVALUE, W_LABEL,     T_FREE},
    {DEFAULT,  P_CASE,                      W_LABEL,     W_NONE,      T_FREE},
    {RETURN,   P_ROOT,                      W_FUNCTION,  W_VALUE,     T_FREE},
    {URETURN,  P_ROOT,                      W_FUNCTION,  W_NONE,      T_FREE},
    {LOOP,     P_ROOT,                      W_EFFECT,    W_LABEL,     T_FREE},
    {ENDLOOP,  P_ROOT,                      W_LNUM,      W_LABEL,     T_FREE},
};
// clang-format on

// Rows by opcode; null: stands in no tree of a file.
struct RULE_TABLE {
    const OP_RULE *of[N_OPCODES] = {};
    RULE_TABLE() {
        for (const OP_RULE &r : op_rules) {
            QL_ASSERT(!of[r.op]);
            of[r.op] = &r;
        }
        for (int w = 0; w < N_WANTS; w++) QL_ASSERT(want_rows[w].want == w);
    }
};

const RULE_TABLE rule_table;

const OP_RULE *rule_of(int op) { return op >= 0 && op < N_OPCODES ? rule_table.of[op] : nullptr; }

bool type_is_num(const TYPE *t) { return t->is_scalar() || t->is_vector(); }

// The rules that types of a kind obey, as a set of bits 1 << TYPE_RULE; vectors are arrays, and T_PTR_REC looks further.
struct RULES_BY_KIND {
    uint16_t of[K_count] = {}, of_vector = 0;
    constexpr RULES_BY_KIND() {
        for (int k = 0; k < K_count; k++) {
            auto set = [&](TYPE_RULE rule, bool holds) { of[k] |= uint16_t(holds << rule); };
            bool num = k == K_int || k == K_float || k == K_fixpt || k == K_complex || k == K_ptm ||
                       k == K_enum || k == K_ptr || k == K_ref;
            set(T_FREE, true);
            set(T_ANY, true);
            set(T_OBJ, k != K_void);
            set(T_VALUE, k != K_void && k != K_func);
            set(T_NUM, num);
            set(T_INT, num && k != K_float && k != K_complex);
            set(T_FLOAT, k == K_float || k == K_complex || k == K_fixpt);
            set(T_COND, num);
            set(T_INTEGRAL, k == K_int || k == K_enum);
            set(T_PTR, k == K_ptr || k == K_ref);
            set(T_REC, k >= K_class);
            set(T_ARRAY, k == K_array);
            set(T_COMPLEX, k == K_complex);
        }
        of_vector = uint16_t(of[K_array] | 1 << T_NUM | 1 << T_INT | 1 << T_FLOAT | 1 << T_COMPLEX);
    }
};
constexpr RULES_BY_KIND rules_by_kind;

// All rules that a type obeys, in the same way.
unsigned rules_of_type(const TYPE *t) {
    if (!t) return 1u << T_FREE;
    KIND kind = t->dkind();
    unsigned rules = kind == K_array && t->is_vector() ? rules_by_kind.of_vector : rules_by_kind.of[kind];
    if ((kind == K_ptr && t->type_pointed_to()->is_csu()) || (kind == K_ref && t->type_refd()->is_csu()))
        rules |= 1u << T_PTR_REC;
    return rules;
}

bool type_fits(TYPE_RULE rule, const TYPE *t) { return rules_of_type(t) >> rule & 1; }

const WANT arm_wants[] = {W_EFFECT, W_VALUE, W_NUM, W_RECORD};

// What an expression that gives this type is made of, as an index of arm_wants.
int arm_of_type(const TYPE *t) {
    if (!t || t->is_void()) return 0;
    if (t->is_csu()) return 3;
    return type_is_num(t) ? 2 : 1;
}

bool want_is_lvalue(WANT w) { return want_rows[w].accepts & P_LVALUE; }

// The expectation of an operand of `n`, which stands where `want` is expected.
WANT operand_want(uint8_t rule, const NODE *n, WANT want) {
    if (rule < N_WANTS) return WANT(rule);
    switch (rule) {
    case W_SAME: return want;
    case W_LAST: return want == W_CASES ? W_CASE : W_ARG;
    case W_TAIL: return arm_wants[arm_of_type(n->type)];
    case W_ALTS: return WANT(W_COLON_EFFECT + arm_of_type(n->type));
    case W_ARM: return arm_wants[want - W_COLON_EFFECT];
    case W_BASE: return want_is_lvalue(want) ? W_LREC : W_RECORD;
    case W_PARTED: return want_is_lvalue(want) ? W_LCOMPLEX : W_COMPLEX;
    default: return WANT(rule);
    }
}

const char *op_name(int op) {
    const char *name = op >= 0 && op < FIRST_NON_FILE_OP ? if_node_info[op].name
                       : op_is_defined(op)               ? node_operator_name[op]
                                                         : nullptr;
    return name ? name : "an unknown operator";
}

std::string describe(const NODE *n) {
    std::string text = op_name(n->op);
    if (n->type) text += " of type " + n->type->printstr();
    return text;
}

const NODE *skip_marks(const NODE *n) {
    while (n && (n->op == EPVAL || n->op == DDNODE)) n = n->left;
    return n;
}

// Objects are used as what they are: records as records of their size, arrays as arrays, the rest as values.
int shape_of_object(const TYPE *t) {
    return t->is_func() ? 1 : t->is_csu() ? 2 : t->is_array() && !t->is_vector() ? 3 : 0;
}

// A check gives whether all is well, and else says in `wrong` what is not. The common answers are given in a few
// instructions: every node of a program passes here.

bool check_name(const NODE *n, WANT want, std::string &wrong) {
    const SYMTAB *s = n->u.sym;
    if (!s) {
        wrong = "NAME without a symbol";
        return false;
    }
    if (want == W_FUNCTION) {
        if (!s->is_function()) wrong = std::string("NAME of ") + s->name + " where a function must be";
        return wrong.empty();
    }
    int shape = s->type == n->type ? 0 : shape_of_object(s->type);
    if (s->type != n->type &&
        (shape != shape_of_object(n->type) || (shape == 2 && n->type->size != s->type->size))) {
        wrong = std::string("NAME of ") + s->name + ", which is of type " + s->type->printstr() +
                ", has the type " + n->type->printstr();
        return false;
    }
    if (s->level > 0 && s->sclass == SC_NOT_STACK) {
        wrong = std::string("NAME of ") + s->name + ", which has no storage";
        return false;
    }
    return true;
}

// The chain is left-deep; it is looked at when its SWITCH is, and its nodes are checked one by one later.
bool check_cases(const NODE *n, std::string &wrong) {
    std::vector<INT65> values;
    bool last = true;
    for (const NODE *chain = n->right; chain; last = false) {
        const NODE *c = chain->op == COMMA ? chain->right : chain;
        chain = chain->op == COMMA ? chain->left : nullptr;
        if (!c) continue;
        if (c->op == DEFAULT && !last) {
            wrong = "SWITCH: DEFAULT is not the last of its cases";
            return false;
        }
        if (c->op == CASE && c->left && (c->left->op == ICON || c->left->op == LCON))
            values.push_back(c->left->u.lval);
    }
    std::sort(values.begin(), values.end());
    auto twice = std::adjacent_find(values.begin(), values.end());
    if (twice == values.end()) return true;
    wrong = "SWITCH: two cases of the value " + std::to_string(twice->to_int64());
    return false;
}

bool is_bitfield_reference(const NODE *n) {
    return (n->op == STDOT || n->op == STREF) && n->right && n->right->op == FIELD && n->right->member &&
           n->right->member->is_bitfld();
}

bool has_special_rules(int op) {
    switch (op) {
    case NAME:
    case LABEL:
    case FIELD:
    case SWITCH:
    case SCONV:
    case PCONV:
    case ISP2CHAR:
    case ENDLOOP:
    case UAND:
    case CALL:
    case UCALL:
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: return true;
    default: return false;
    }
}

// What the rows cannot say.
bool check_special(const NODE *n, WANT want, std::string &wrong) {
    if (n->op == NAME) return check_name(n, want, wrong);
    const NODE *left = skip_marks(n->left);
    switch (n->op) {
    case SWITCH: return check_cases(n, wrong);
    case FIELD:
        if (!n->u.csu || !n->u.csu->is_csu()) wrong = "FIELD of something that is no record";
        else if (!n->member) wrong = "FIELD of a member that " + n->u.csu->printstr() + " does not have";
        break;
    case LABEL:
        if (n->u.lval <= INT65(0) || n->u.lval >= INT65(INT_MAX))
            wrong = "LABEL with a number that no label has";
        break;
    case SCONV:
        if (n->type->is_vector() && left && left->type && !left->type->is_vector())
            wrong = "SCONV of a scalar to the vector type " + n->type->printstr();
        break;
    case PCONV:
    case ISP2CHAR:
        if (left && left->type && left->type->is_csu()) wrong = "PCONV of a record";
        break;
    case ENDLOOP:
        if (left && left->type && !type_fits(T_INTEGRAL, left->type))
            wrong = "ENDLOOP with a counter that is no integer";
        break;
    case UAND:
        if (left && is_bitfield_reference(left)) wrong = "UAND of a bit-field";
        break;
    case CALL:
    case UCALL:
        if (left && left->op == UAND && left->left && left->left->op == NAME && left->left->u.sym &&
            !left->left->u.sym->is_function())
            wrong = std::string(op_name(n->op)) + " of " + left->left->u.sym->name + ", which is no function";
        break;
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL:
        if (!n->u.icall || !*n->u.icall) wrong = std::string(op_name(n->op)) + " without a name";
        break;
    default: return true;
    }
    return wrong.empty();
}

struct CHECK_ITEM {
    const NODE *node;
    const NODE *parent;
    WANT want;
};

struct TREE_CHECK {
    const TREE_USE use;
    walk_stack<CHECK_ITEM> todo; // right operands, while the left ones are looked at
    std::string wrong;
    // neighbours mostly have one type
    const TYPE *known_type = nullptr;
    unsigned known_rules = rules_of_type(nullptr);

    explicit TREE_CHECK(TREE_USE use) : use(use) {}
    unsigned rules_of(const TYPE *type) {
        if (type == known_type) return known_rules;
        known_type = type;
        return known_rules = rules_of_type(type);
    }
    bool node(CHECK_ITEM item, const OP_RULE *&rule);
};

// The node alone, by its row, which is given.
bool TREE_CHECK::node(CHECK_ITEM item, const OP_RULE *&rule) {
    const NODE *n = item.node;
    const WANT_ROW &want = want_rows[item.want];
    rule = rule_of(n->op);
    bool is_mark = n->op == EPVAL || n->op == DDNODE; // its operand is what counts
    unsigned rules = rules_of(n->type);
    if (!rule || !(rule->places & want.accepts) || !(is_mark || (rules >> want.type & 1))) {
        wrong = (item.parent ? std::string(op_name(item.parent->op)) + ": " : std::string()) + "expected " +
                want.text + ", found " + describe(n);
        return false;
    }
    if (!(rules >> rule->type & 1)) {
        wrong = std::string(op_name(n->op)) + " can't have " +
                (n->type ? "the type " + n->type->printstr() : std::string("no type"));
        return false;
    }
    if (use == TREE_INITIALISER && !is_mark && side_effects[n->op] != SE_NONE) {
        wrong = std::string(op_name(n->op)) + " in an initialiser";
        return false;
    }
    if (has_special_rules(n->op) && !check_special(n, item.want, wrong)) return false;
    if ((rule->left != W_NONE) != (n->left != nullptr) || (rule->right != W_NONE) != (n->right != nullptr)) {
        wrong = std::string(op_name(n->op)) + ": wrong number of operands";
        return false;
    }
    return true;
}

} // namespace

std::string check_statement_tree(const NODE *tree, TREE_USE use, bool *calls_name_eht) {
    TREE_CHECK check(use);
    CHECK_ITEM item = {tree, nullptr,
                       use == TREE_STATEMENT ? W_ROOT
                       : use == TREE_CLEANUP ? W_EFFECT
                                             : W_INIT};
    for (;;) {
        const NODE *n = item.node;
        const OP_RULE *rule;
        if (item.want == W_ARGS && n->op != COMMA) item.want = W_ARG;
        if (!check.node(item, rule)) break;
        if ((n->op == CALL || n->op == UCALL) && n->i_eht_id && calls_name_eht) *calls_name_eht = true;
        if (n->right) check.todo.push({n->right, n, operand_want(rule->right, n, item.want)});
        if (n->left) item = {n->left, n, operand_want(rule->left, n, item.want)};
        else if (check.todo.empty()) break;
        else item = check.todo.pop();
    }
    return std::move(check.wrong);
}

// --- from file form to internal form ---

namespace {

const char MAGIC_EH_NAME[] = "__imaginary_exception_predicate";
const char NEVER_EXECUTED_NAME[] = "_never_executed";

// Node and operand change places: the operand is given, the node is gone.
NODE *strip_node(NODE *n) {
    NODE *operand = n->left;
    n->left = n->right = nullptr;
    erase_node(n);
    return operand;
}

unsigned const_volatile_bits(const TYPE *t) {
    unsigned bits = t->qual_kind(true);
    if (t->is_ptr()) bits |= t->type_pointed_to()->qual_kind(true);
    return bits & (QUAL_const | QUAL_volatile);
}

// Calls `change` on the pointer to each argument of a left-deep list.
template <class F> void for_each_argument(NODE **list, F change) {
    while (*list && (*list)->op == COMMA) {
        change(&(*list)->right);
        list = &(*list)->left;
    }
    if (*list) change(list);
}

// f(a, b)  ->  f(ACONV a, b)      a integer or enum
void wrap_arguments(NODE *call, NODE **list) {
    for_each_argument(list, [&](NODE **slot) {
        NODE *arg = *slot;
        if (arg->op == ACONV || arg->op == ARGREF || arg->op == STARG || !arg->type->is_integral()) return;
        *slot = maketree(ACONV, arg, nullptr, arg->type, call->scope);
    });
}

// f(PCONV<char *> p)  ->  f(PCONV<T> p)      T the type of p, compatible, as const and volatile as char *
void relax_argument_conversions(NODE **list) {
    for_each_argument(list, [](NODE **slot) {
        NODE *arg = *slot;
        if (arg->op != PCONV && arg->op != ACONV && arg->op != ISP2CHAR) return;
        TYPE *from = arg->left->type;
        if (from && compatible_types(arg->type, from) &&
            !(const_volatile_bits(arg->type) & ~const_volatile_bits(from)))
            arg->type = from;
    });
}

// PMCONV(p, bits)  ->  MULT(p, bytes)
NODE *clean_PMCONV(NODE *n) {
    n->op = MULT;
    NODE *size = n->right;
    size->u.lval = size->u.lval / INT65(8); // truncates
    if (size->op == LCON) size->op = ICON;
    if (n->left->type && n->left->type->size != n->type->size && n->type->is_integral())
        n->left = maketree(SCONV, n->left, nullptr, n->type, n->scope);
    return n;
}

// A constant of the file may be wide or not; the trees have one kind.
NODE *clean_LCON(NODE *n) {
    n->op = ICON;
    return n;
}

NODE *clean_UAND(NODE *n) {
    const NODE *object = n->left;
    while (object->op == STDOT) object = object->left;
    if (object->op != NAME) return n;
    switch (object->u.sym->sclass) {
    case SC_AUTO:
    case SC_REG_LOCAL:
    case SC_PARM:
    case SC_REG_PARM:
    case SC_REG_LOCAL2: currfuninfo->local_address_taken = true; break;
    default: break;
    }
    return n;
}

NODE *constant(int value, TYPE *type, LS *scope) {
    NODE *n = mk_ICON(INT65(value), type);
    n->scope = scope;
    return n;
}

// A loop's end, ENDLOOP(n, L), jumps back while the counter has not run out:
// CBRANCH(LT(n -= 1, 0), L)
NODE *clean_ENDLOOP(NODE *n) {
    TYPE *type = n->left->type;
    NODE *step = maketree(MINUSASG, n->left, constant(1, type, n->scope), type, n->scope);
    n->left = maketree(LT, step, constant(0, type, n->scope), tp->int_type(), n->scope);
    n->op = CBRANCH;
    return n;
}

NODE *clean_LOOP(NODE *n) {
    NODE *label = mk_LABELDEF(mklabel(int(n->right->u.lval.to_int64()), nullptr, nullptr));
    label->scope = n->scope;
    erase_tree(n);
    return label;
}

NODE *clean_SCONV(NODE *n) {
    if (n->type->is_vector() && n->left->type->is_vector()) n->op = VSCONV;
    return n;
}

NODE *clean_NASSERT(NODE *n) {
    if (tree_has_side_effects(n->left)) {
        LS *scope = n->scope;
        erase_tree(n);
        return constant(0, tp->int_type(), scope);
    }
    currfuninfo->assertion_word = 1;
    return n;
}

NODE *clean_EPVAL(NODE *n) {
    unsigned value = n->get_edge_profile_value();
    n = strip_node(n);
    n->set_edge_profile_value(value);
    return n;
}

// --- built-ins that are called ---

// The function that stands for a built-in: a global of the name, prefix aside, or a new external one.
SYMTAB *function_for_builtin(const NODE *call) {
    std::string name = call->u.icall;
    for (const char *prefix : {TYPE_PKG::abi == 1 ? "" : "_", "", "."})
        if (SYMTAB *s = find_global_function((prefix + name).c_str()))
            if (!strcmp(skip_name_prefix(s->name), name.c_str())) return s;

    std::vector<TYPE *> params;
    for (NODE *arg : arg_list_args(call->left)) params.push_back(arg->type);
    auto *s = new SYMTAB;
    s->name = keep_text(((TYPE_PKG::abi == 1 ? "" : "_") + name).c_str());
    s->type = s->otype = tp->mk_func(call->type, params)->normalized();
    s->sclass = s->class_as_read = SC_EXTREF;
    s->cqual = 0xE001;
    s->size = s->align = 32;
    s->flags = SF_LOCAL | SF_ALIASED;
    sym_def(s);
    make_FUNINFO(s);
    return s;
}

NODE *make_true_call(NODE *n) {
    SYMTAB *function = function_for_builtin(n);
    NODE *callee = mk_UAND(mk_NAME(function, n->scope));
    if (n->left) {
        n->op = CALL;
        n->right = n->left;
        wrap_arguments(n, &n->right);
    } else {
        n->op = UCALL;
    }
    n->left = callee;
    n->u.lval = INT65(0);
    n->u.rval = nullptr;
    currfuninfo->is_leaf = false;
    return n;
}

bool is_implicit_state(const NODE *arg) {
    if (arg->op != ARGREF) return false;
    const NODE *n = arg->left;
    while (n && (n->op == UMULT || n->op == UAND || n->op == DDNODE)) n = n->left;
    return n && n->op == NAME && n->u.sym == mcall_implicit_state_symbol;
}

NODE *clean_MCALL(NODE *n) {
    // Marks of the optimizer itself, on control: no functions, and nothing that memory has to do with.
    if (!strcmp(n->u.icall, MAGIC_EH_NAME) || !strcmp(n->u.icall, NEVER_EXECUTED_NAME)) return n;
    const BIF *bif = find_BIF_descriptor(n->u.icall);
    const BUILTIN_DECLARATION *declared = bif ? nullptr : find_builtin_declaration(n->u.icall);
    bool is_barrier = bif ? bif->flags3 & BIF_IS_BARRIER : declared && declared->is_barrier;
    if ((!bif && !declared) || is_barrier) return make_true_call(n);

    bool has_reference = false;
    for_each_argument(&n->left, [&](NODE **arg) { has_reference |= (*arg)->op == ARGREF; });
    if (has_reference) return n;
    NODE *state = copy_tree(mcall_implicit_state_tree);
    LS_assign_scope_to_tree(n->scope, state);
    n->left = arg_list_append(n->left, maketree(ARGREF, state, nullptr, state->type, n->scope));
    n->op = MCALL;
    return n;
}

// A node whose operands are clean already. Opcodes that are not listed stay as they are.
NODE *clean_node(NODE *n) {
    if (!n->type) n->type = tp->void_type();
    if (n->type->is_enum()) n->type = integer_for_enum(n->type);
    switch (n->op) {
    case NAME: n->u.sym = get_sym_def_for_decl(n->u.sym); return n;
    case LCON: return clean_LCON(n);
    case UAND: return clean_UAND(n);
    case CALL:
        relax_argument_conversions(&n->right);
        wrap_arguments(n, &n->right);
        return n;
    case CBRANCH: convert_CBRANCH_with_builtin_expect(n); return n;
    case LOOP: return clean_LOOP(n);
    case ENDLOOP: return clean_ENDLOOP(n);
    case SCONV: return clean_SCONV(n);
    case PMCONV: return clean_PMCONV(n);
    case EPVAL: return clean_EPVAL(n);
    case DDNODE: return strip_node(n); // its number is that of a dependence graph which is gone
    case NASSERT: return clean_NASSERT(n);
    case MCALL:
    case UMCALL: return clean_MCALL(n);
    default: return n;
    }
}

} // namespace

TYPE *integer_for_enum(TYPE *t) {
    TYPE *integer = t->underlying_type()->normalized();
    unsigned quals = t->qual_kind();
    return quals ? tp->mk_qual(integer, quals) : integer;
}

NODE *expr_cleanup(NODE *tree) {
    return rewrite_tree(tree, [](NODE *n) {
        n = clean_node(n);
        if (n->op == NAME || n->op == STDOT) find_or_make_PTR_entry(n); // no other node has one
        return n;
    });
}

NODE *copy_initialiser_value(const NODE *tree) {
    return rewrite_tree(copy_tree(tree), [](NODE *n) {
        if (n->type && n->type->is_enum()) n->type = integer_for_enum(n->type);
        switch (n->op) {
        case NAME: n->u.sym = get_sym_def_for_decl(n->u.sym); return n;
        case PMCONV: return clean_PMCONV(n);
        case LCON: return clean_LCON(n);
        default: return n;
        }
    });
}

NODE *remove_implicit_state(NODE *tree) {
    if (!find_node(tree, [](NODE *n) { return n->op == MCALL; })) return tree;
    return rewrite_tree(tree, [](NODE *n) {
        if (n->op != MCALL || !n->left) return n;
        NODE *list = n->left;
        if (is_implicit_state(list)) {
            erase_tree(list);
            n->left = nullptr;
            n->op = UMCALL;
        } else if (list->op == COMMA && is_implicit_state(list->right)) {
            erase_tree(list->right);
            list->right = nullptr;
            n->left = strip_node(list);
        }
        return n;
    });
}
