#include "OPT5/infix.h"

#include <cctype>
#include <cinttypes>
#include <cstdarg>
#include <cstring>

#include "OPT5/cfg.h"
#include "OPT5/funinfo.h"
#include "OPT5/scopes.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "OPT5/treewalk.h"
#include "support/dbgout.h"
#include "support/fps_text.h"
#include "support/register_option.h"

unsigned infix_limit_hits;

namespace {

struct STYLE {
    bool types = pass_debug("dump_infix_types") != 0;
    bool scopes = pass_debug("dump_scope") != 0;
    bool numbers = pass_debug("dump_serial") != 0;
    bool addresses = pass_debug("dump_sym_addr") != 0;
    bool hints = pass_debug("dump_tree_hint") != 0;
    bool registers = pass_debug("dump_infix_regs") != 0;
    bool positions = pass_debug("dump_psn") != 0;
    bool minimal = pass_debug("dump_minimal") != 0;
};

std::string format_text(const char *format, ...) __attribute__((format(printf, 1, 2)));
std::string format_text(const char *format, ...) {
    char text[256];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    return text;
}

// How an operator is written. What has no row prints as its name with the operands in parentheses.
enum FORM : uint8_t { F_FUNCTION, F_BINARY, F_ASSIGN, F_PREFIX, F_CAST };
struct NOTATION {
    FORM form = F_FUNCTION;
    const char *text = nullptr;
};
struct NOTATION_ROW {
    int op;
    FORM form;
    const char *text;
};

// clang-format off
const NOTATION_ROW notation_rows[] = {
    {PLUS, F_BINARY, " + "},      {MINUS, F_BINARY, " - "},     {MULT, F_BINARY, " * "},
    {DIV, F_BINARY, " / "},       {MOD, F_BINARY, " % "},       {ANDB, F_BINARY, " & "},
    {ORB, F_BINARY, " | "},       {XORB, F_BINARY, " ^ "},      {SLL, F_BINARY, " << "},
    {SRL, F_BINARY, " >> "},      {ANDAND, F_BINARY, " && "},   {OROR, F_BINARY, " || "},
    {EQ, F_BINARY, " == "},       {NEQ, F_BINARY, " != "},      {EXPT, F_BINARY, " ** "},
    {LE, F_BINARY, " <= "},       {LT, F_BINARY, " < "},        {GE, F_BINARY, " >= "},
    {GT, F_BINARY, " > "},        {ULE, F_BINARY, " <=u "},     {ULT, F_BINARY, " <u "},
    {UGE, F_BINARY, " >=u "},     {UGT, F_BINARY, " >u "},      {FEQ, F_BINARY, " ==f "},
    {FNEQ, F_BINARY, " !=f "},    {FLE, F_BINARY, " <=f "},     {FLT, F_BINARY, " <f "},
    {FGE, F_BINARY, " >=f "},     {FGT, F_BINARY, " >f "},      {FEQN, F_BINARY, " ==fn "},
    {FNEQN, F_BINARY, " !=fn "},  {FLEN, F_BINARY, " <=fn "},   {FLTN, F_BINARY, " <fn "},
    {FGEN, F_BINARY, " >=fn "},   {FGTN, F_BINARY, " >fn "},    {COMMA, F_BINARY, ", "},
    {COMMAOP, F_BINARY, ", "},    {PCOMMA, F_BINARY, ", "},     {COLON, F_BINARY, " : "},
    {PMCONV, F_BINARY, " *pm "},  {PVCONV, F_BINARY, " *pv "},  {MIX_CONJ, F_BINARY, " &&m "},
    {MIX_DISJ, F_BINARY, " ||m "},
    {ASG, F_ASSIGN, " = "},       {STASG, F_ASSIGN, " = "},     {ARASG, F_ASSIGN, " = "},
    {PLUSASG, F_ASSIGN, " += "},  {MINUSASG, F_ASSIGN, " -= "}, {MULTASG, F_ASSIGN, " *= "},
    {DIVASG, F_ASSIGN, " /= "},   {MODASG, F_ASSIGN, " %= "},   {ANDBASG, F_ASSIGN, " &= "},
    {ORBASG, F_ASSIGN, " |= "},   {XORBASG, F_ASSIGN, " ^= "},  {SLLASG, F_ASSIGN, " <<= "},
    {SRLASG, F_ASSIGN, " >>= "},
    {UMINUS, F_PREFIX, "-"},      {EXCLAIM, F_PREFIX, "!"},     {NOTB, F_PREFIX, "~"},
    {UAND, F_PREFIX, "&"},        {UMULT, F_PREFIX, "*"},
    {SCONV, F_CAST, nullptr},     {PCONV, F_CAST, nullptr},     {ISP2CHAR, F_CAST, nullptr},
    {VSCONV, F_CAST, nullptr},
};
// clang-format on

NOTATION notation_of(int op) {
    static const struct TABLE {
        NOTATION of[N_OPCODES];
        TABLE() {
            for (const NOTATION_ROW &row : notation_rows) of[row.op] = {row.form, row.text};
        }
    } table;
    return table.of[op];
}

constexpr int PRIMARY = 15; // binds as tightly as a call

class printer {
  public:
    explicit printer(const STYLE &style) : style_(style) {}

    std::string tree(const NODE *n) {
        tree_item(n, 0);
        return run();
    }
    std::string statement(const NODE *n) {
        statement_items(n);
        return run();
    }

  private:
    enum KIND : uint8_t { TEXT, TREE, SUFFIX, VERSION };
    struct ITEM {
        KIND kind;
        uint8_t precedence; // of TREE: below it the tree needs parentheses
        const NODE *node;
        const char *text;
    };

    // Items come out last in, first out: a node writes what comes first and pushes the rest from the right.
    void text_item(const char *t) { todo_.push({TEXT, 0, nullptr, t}); }
    void tree_item(const NODE *n, int precedence) {
        todo_.push({TREE, static_cast<uint8_t>(precedence), n, nullptr});
    }

    std::string run() {
        while (!todo_.empty()) {
            ITEM item = todo_.pop();
            switch (item.kind) {
            case TEXT: out_ += item.text; break;
            case TREE: node(item.node, item.precedence); break;
            case SUFFIX: suffix(item.node); break;
            case VERSION: out_ += format_text(".%d", item.node->depnum()); break;
            }
            if (nodes_ > INFIX_NODE_LIMIT) {
                infix_limit_hits++;
                out_ += "...";
                todo_.cut(0);
            }
        }
        return std::move(out_);
    }

    void suffix(const NODE *n) {
        if (style_.types && n->type) out_ += "{" + type2text(n->type) + "}";
        if (style_.numbers && n->depnum() != -1) out_ += format_text("#%d", n->depnum());
    }

    // Pushes the whole of a node that is written in the given order, with parentheses where it binds less tightly
    // than its surroundings ask for.
    template <class F> void compound(const NODE *n, int precedence, int needed, F push_parts) {
        bool parentheses = precedence < needed || (style_.types && precedence < PRIMARY);
        if (style_.types || style_.numbers) todo_.push({SUFFIX, 0, n, nullptr});
        if (parentheses) text_item(")"), out_ += "(";
        push_parts();
    }

    void node(const NODE *n, int needed) {
        nodes_++;
        if (!n) {
            out_ += "<null>";
            return;
        }
        if (n->op == ILLOP) {
            out_ += "<illegal>";
            return;
        }
        if (!op_is_defined(n->op)) {
            out_ += format_text("<op %d>", n->op);
            return;
        }
        if (leaf(n)) {
            if (style_.types || style_.numbers) suffix(n);
            return;
        }
        if (special(n, needed)) return;
        NOTATION how = notation_of(n->op);
        int p = precedence[n->op];
        switch (how.form) {
        case F_BINARY:
            compound(n, p, needed, [&] {
                tree_item(n->right, p + 1);
                text_item(how.text);
                tree_item(n->left, p);
            });
            break;
        case F_ASSIGN:
            compound(n, p, needed, [&] {
                tree_item(n->right, p);
                text_item(how.text);
                tree_item(n->left, p + 1);
            });
            break;
        case F_PREFIX:
            compound(n, p, needed, [&] {
                bool again = n->left && n->left->op == n->op && n->op != UMULT; // -(-x) is not --x
                tree_item(n->left, again ? PRIMARY : p);
                text_item(how.text);
            });
            break;
        case F_CAST:
            compound(n, p, needed, [&] { tree_item(n->left, p); });
            out_ += "(" + type2text(n->type) + ")";
            break;
        case F_FUNCTION: function(n); break;
        }
    }

    // name(operands), the name in lower case and without "DFG_".
    void function(const NODE *n) {
        const char *name = node_operator_name[n->op];
        if (strncmp(name, "DFG_", 4) == 0) name += 4;
        std::string lower;
        for (; *name; name++) lower += static_cast<char>(tolower(static_cast<unsigned char>(*name)));
        call(n, lower.c_str(), n->left, n->right);
    }

    // The name goes out at once; a list of COMMAs is an argument list.
    void call(const NODE *n, const char *name, const NODE *first, const NODE *second) {
        out_ += name;
        if (style_.types || style_.numbers) todo_.push({SUFFIX, 0, n, nullptr});
        text_item(")");
        if (second) tree_item(second, first ? 2 : 0);
        if (first && second) text_item(", ");
        if (first) tree_item(first, second ? 2 : 0);
        text_item("(");
    }

    bool leaf(const NODE *n) {
        switch (n->op) {
        case NAME: name(n); return true;
        case ICON:
        case LCON: integer(n); return true;
        case FCON: floating(n); return true;
        case SCON: string(n); return true;
        case LABEL: label(n); return true;
        case FIELD:
            out_ += n->member && n->member->name && *n->member->name ? n->member->name : "<field>";
            return true;
        case VREG: out_ += format_text("vreg%d", n->u.lval.low_i32()); return true;
        case MIXVALUE: out_ += format_text("mix<%p>", n->u.rval); return true;
        case SSA_PHI: out_ += format_text("phi.%d", n->depnum()); return true;
        default: return false;
        }
    }

    void name(const NODE *n) {
        const SYMTAB *s = n->u.sym;
        if (!s) {
            out_ += "<no symbol>";
            return;
        }
        bool in_register = s->sclass == SC_REG_LOCAL || s->sclass == SC_REG_LOCAL2 ||
                           s->sclass == SC_REG_PARM || (s->cqual & CQ_REGISTER);
        if (style_.registers && in_register) out_ += '%';
        out_ += s->name ? s->name : "<no name>";
        if (style_.addresses) out_ += format_text("<%p>", static_cast<const void *>(s));
        if (style_.scopes && n->scope) out_ += format_text("@%d.%d", n->scope->level, n->scope->number);
    }

    void integer(const NODE *n) {
        out_ += int65_to_decimal(n->u.lval);
        if (style_.types || !n->type || !(n->type->is_integral() || n->type->is_enum())) return;
        if (n->type->is_unsigned() && n->type->size >= 32) out_ += 'u';
        if (n->type->size > 32) out_ += "LL";
    }

    void floating(const NODE *n) {
        if (!n->u.fval) {
            out_ += "<no value>";
            return;
        }
        bool single = n->type && n->type->size <= 32;
        std::string text = f_ftoa_text(single ? "%.9g" : "%.17g", n->u.fval);
        if (text.find_first_not_of("-0123456789") == std::string::npos) text += ".0";
        out_ += text;
        if (single && !style_.types) out_ += 'f';
    }

    void string(const NODE *n) {
        constexpr unsigned SHOWN = 60;
        unsigned size = n->u.lval.low_u32();
        if (!n->text) {
            out_ += "<no text>";
            return;
        }
        unsigned end = size && !n->text[size - 1] ? size - 1 : size; // the closing zero goes without saying
        out_ += '"';
        for (unsigned i = 0; i < end && i < SHOWN; i++) {
            unsigned char c = static_cast<unsigned char>(n->text[i]);
            if (c == '\n') out_ += "\\n";
            else if (c == '"' || c == '\\') (out_ += '\\') += static_cast<char>(c);
            else if (isprint(c)) out_ += static_cast<char>(c);
            else out_ += format_text("\\%03o", c);
        }
        out_ += end > SHOWN ? "\"..." : "\"";
    }

    void label(const NODE *n) {
        if (n->label && n->label->block && n->label->block->dfn)
            out_ += format_text("BB%d", n->label->block->dfn);
        else out_ += format_text("L%d", n->label ? n->label->number : n->u.lval.low_i32());
        if (style_.hints && n->branch_hint) out_ += n->branch_hint < 0 ? "[unlikely]" : "[likely]";
    }

    // Operators that are neither written between or before their operands nor like a function.
    bool special(const NODE *n, int needed) {
        int p = precedence[n->op];
        switch (n->op) {
        case UMULT:
            if (!n->right) return false;
            // normal form: base and byte offset
            compound(n, p, needed, [&] {
                text_item(")");
                tree_item(n->right, precedence[PLUS] + 1);
                text_item(" + ");
                tree_item(n->left, precedence[PLUS]);
                text_item("*(");
            });
            return true;
        case STDOT:
        case STREF: {
            // (*p).m is written p->m
            const NODE *base = n->left;
            bool behind_pointer =
                n->op == STDOT && base && base->op == UMULT && !base->right && !style_.types;
            compound(n, p, needed, [&] {
                tree_item(n->right, PRIMARY);
                text_item(n->op == STREF || behind_pointer ? "->" : ".");
                tree_item(behind_pointer ? base->left : base, p);
            });
            return true;
        }
        case QUEST:
            compound(n, p, needed, [&] {
                tree_item(n->right, p);
                text_item(" ? ");
                tree_item(n->left, p + 1);
            });
            return true;
        case PLUSPLUS:
        case MINMIN: step(n, needed); return true;
        case CALL:
        case UCALL:
            compound(n, p, needed, [&] {
                text_item(")");
                if (n->op == CALL) tree_item(n->right, 0);
                text_item("(");
                tree_item(get_direct_name(n->left), PRIMARY);
            });
            return true;
        case ICALL:
        case UICALL:
        case MCALL:
        case UMCALL: call(n, n->u.icall ? n->u.icall : "<no name>", n->left, n->right); return true;
        case SSA_USE:
        case SSA_DEF:
            todo_.push({VERSION, 0, n, nullptr});
            tree_item(n->left, PRIMARY);
            return true;
        case CSE_ORIG:
        case CSE_DUPE: call(n, n->op == CSE_ORIG ? "orig" : "dupe", n->right, nullptr); return true;
        case DDNODE:
            call(n, format_text("ref%u", n->dval() ? n->dval()->id : 0).c_str(), n->left, nullptr);
            return true;
        default: return statement_in_tree(n);
        }
    }

    // &f as a callee is just f.
    static const NODE *get_direct_name(const NODE *callee) {
        return callee && callee->op == UAND && callee->left && callee->left->op == NAME ? callee->left
                                                                                        : callee;
    }

    // x++, or x++[n] for another step than 1.
    void step(const NODE *n, int needed) {
        bool by_one = n->right && n->right->op == ICON && n->right->u.lval == INT65(1);
        compound(n, precedence[n->op], needed, [&] {
            if (!by_one) {
                text_item("]");
                tree_item(n->right, 0);
                text_item("[");
            }
            text_item(n->op == PLUSPLUS ? "++" : "--");
            tree_item(n->left, precedence[n->op]);
        });
    }

    bool statement_in_tree(const NODE *n) {
        switch (n->op) {
        case RETURN:
        case URETURN:
        case BRANCH:
        case IF:
        case CBRANCH:
        case SWITCH:
        case CASE:
        case DEFAULT:
        case LABELDEF:
        case ASM:
        case PPRAGMA:
        case NOP:
        case ENDINIT: control(n); return true;
        default: return false;
        }
    }

    void control(const NODE *n) {
        const NODE *l = n->left, *r = n->right;
        bool pair = r && r->op == COMMA;
        switch (n->op) {
        case RETURN:
            tree_item(r ? r : l, 0);
            text_item("return ");
            break;
        case URETURN: out_ += "return"; break;
        case BRANCH:
            tree_item(l, 0);
            text_item("goto ");
            break;
        case IF:
            if (pair) {
                tree_item(r->right, 0);
                text_item("; else goto ");
                tree_item(r->left, 0);
            } else {
                tree_item(r, 0);
            }
            text_item(") goto ");
            tree_item(l, 0);
            text_item("if (");
            break;
        case CBRANCH: // goes when the condition is false
            tree_item(r, 0);
            text_item(") goto ");
            tree_item(l, precedence[EXCLAIM]);
            text_item("if (!");
            break;
        case SWITCH:
            text_item(" }");
            tree_item(r, 0);
            text_item(") { ");
            tree_item(l, 0);
            text_item("switch (");
            break;
        case CASE:
            tree_item(r, 0);
            text_item(": goto ");
            tree_item(l, 0);
            text_item("case ");
            break;
        case DEFAULT:
            tree_item(l, 0);
            text_item("default: goto ");
            break;
        case LABELDEF: out_ += format_text("L%d:", n->label ? n->label->number : n->u.lval.low_i32()); break;
        case ASM:
            out_ += std::string(n->u.lval == INT65(ASM_COMMENT) ? "comment " : "asm ") +
                    (n->text ? n->text : "<no text>");
            break;
        case PPRAGMA: pragma(n->pragma); break;
        case NOP: out_ += "nop"; break;
        case ENDINIT: out_ += "endinit"; break;
        }
    }

    void pragma(const PRAGMA *p) {
        out_ += "#pragma ";
        out_ += p ? PRAGMA::name(p->number) : "<none>";
        if (p)
            for (const std::string &arg : p->args) out_ += " " + arg;
    }

    void statement_items(const NODE *n) {
        bool closed = n && (n->op == LABELDEF || n->op == ASM || n->op == PPRAGMA || n->op == SWITCH);
        if (!closed) text_item(";");
        tree_item(n, 0);
    }

    const STYLE &style_;
    std::string out_;
    int nodes_ = 0;
    walk_stack<ITEM> todo_;
};

} // namespace

std::string tree2infix(const NODE *tree) {
    STYLE style;
    return printer(style).tree(tree);
}

std::string stmt2infix(const NODE *tree) {
    STYLE style;
    return printer(style).statement(tree);
}

std::string stmt2infix(const LIST *stmt) { return stmt2infix(stmt ? stmt->tree : nullptr); }

std::string type2text(const TYPE *type) { return type ? type->printstr() : "<no type>"; }

// ---------------------------------------------------------------------------------------------------------
// flow graphs
// ---------------------------------------------------------------------------------------------------------

namespace {

void print_edges(const char *title, const EDGE *e, FILE *to) {
    fprintf(to, "  %s:", title);
    for (; e; e = e->next) {
        if (!e->block) fputs(" <none>", to);
        else fprintf(to, " BB%d", e->block->dfn);
        if (e->weight >= 0) fprintf(to, "(%.3g)", e->weight);
    }
    fputc('\n', to);
}

void print_block_head(const BBLK *bb, const STYLE &style, FILE *to) {
    fprintf(to, "\nBB%d", bb->dfn);
    if (bb->uon != bb->dfn) fprintf(to, " (created as %d)", bb->uon);
    if (bb->loop) fprintf(to, ", loop depth %d", bb->depth);
    if (bb->dFreqIn >= 0) fprintf(to, ", frequency %.4g", bb->dFreqIn);
    for (const LBL *l = bb->labels; l; l = l->next)
        fprintf(to, "%s L%d[%u]", l == bb->labels ? ", labels" : "", l->number, l->refcount);
    fputs(":\n", to);
    if (style.minimal) return;
    print_edges("from", bb->preds, to);
    print_edges("to", bb->succs, to);
}

void print_statement(const LIST *s, const STYLE &style, FILE *to) {
    std::string text = printer(style).statement(s->tree);
    unsigned line = s->psn ? s->psn->line : s->line, column = s->psn ? s->psn->column : s->column;
    if (style.minimal) fputs("    ", to);
    else if (!style.positions) fprintf(to, "%7u  ", line);
    else fprintf(to, "  %s:%u:%u  ", s->psn && s->psn->file ? s->psn->file : NO_FILE, line, column);
    fprintf(to, "%s\n", text.c_str());
}

void print_block(const BBLK *bb, const STYLE &style, FILE *to) {
    print_block_head(bb, style, to);
    for (const LIST *s = bb->statements; s; s = s->next) print_statement(s, style, to);
}

} // namespace

void bblock2infix(const BBLK *bb, FILE *to) {
    if (!to) to = fdebug;
    STYLE style;
    if (to && bb) print_block(bb, style, to);
}

void prbbinfix(FILE *to) {
    if (!to) to = fdebug;
    if (!to || !currfuninfo) return;
    STYLE style;
    fprintf(to, "\n---- FLOW GRAPH OF %s: %u BLOCKS ----\n", currfuninfo->name.c_str(),
            currfuninfo->bb_count);
    // a broken chain may run in a circle: no more blocks than were ever made
    size_t left = currfuninfo->blocks.size();
    const BBLK *bb = currfuninfo->bb_list;
    for (; bb && left; bb = bb->dflink, left--) print_block(bb, style, to);
    fputs(bb ? "\n---- ... THE CHAIN OF BLOCKS IS CIRCULAR ----\n\n" : "\n---- END ----\n\n", to);
    fflush(to);
}
