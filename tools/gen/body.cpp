// Functions: their variables, their statements.
#include <algorithm>

#include "tools/gen/gen.h"

namespace {

// Functions that return a second time: what is live across them has to stay in memory.
bool returns_twice(const std::string &name) {
    return name == "setjmp" || name == "_setjmp" || name == "__sigsetjmp" || name == "sigsetjmp" ||
           name == "__builtin_setjmp" || name == "vfork";
}

// The variable whose address a tree takes; null when it takes none of a variable.
MNODE *addressed_name(MNODE *t) {
    for (;;) {
        switch (t->op) {
        case STDOT:
        case VFIELD:
        case REAL:
        case IMAG:
        case DDNODE:
        case EPVAL:
        case SCONV:
        case PCONV:
        case VRCONV: t = t->left; break;
        case COMMAOP:
        case PCOMMA: t = t->right; break;
        case NAME: return t;
        default: return nullptr;
        }
        if (!t) return nullptr;
    }
}

// The copy of one parameter in the first statement of a body: NAME = NAME, with no conversion between.
bool is_copy(const MNODE *t) {
    return (t->op == ASG || t->op == STASG) && t->left->op == NAME && t->right->op == NAME && t->left->sym &&
           t->right->sym && t->left->sym->level != 0 && t->right->sym->level == 1;
}

} // namespace

void FUNC_GEN::cannot(const MNODE *t, const std::string &why) {
    std::string op =
        t && t->op < IF_NODE_TABLE_SIZE && if_node_info[t->op].name ? if_node_info[t->op].name : "";
    std::string in = func ? " in function '" + func->symbol->name + "'" : "";
    g.fail(psn, (op.empty() ? std::string("cannot express this") : "cannot express " + op) + in + ": " + why);
}

// One walk over all trees: how deep && || ?: nest, whose address is taken, how often parameters are named.
void FUNC_GEN::scan() {
    std::unordered_map<const MSYM *, unsigned> uses;
    std::set<const MSYM *> addressed;
    std::vector<std::pair<MNODE *, bool>> todo;
    MNODE *prolog = nullptr;
    bool at_entry = true; // nothing can jump to before the first statement
    for (MRECORD &r : func->records) {
        if (r.tag == IF_LABEL && !prolog) at_entry = false;
        if (r.tag == IF_SYMBOL) (r.sym->level == 1 ? params : local_order).push_back(r.sym);
        if (r.tag != IF_STATEMENT || !r.tree) continue;
        if (!prolog) prolog = r.tree;
        todo.emplace_back(r.tree, false);
        while (!todo.empty()) {
            auto [t, seen] = todo.back();
            if (seen) { // both operands are done
                todo.pop_back();
                bool lazy = t->op == QUEST || t->op == ANDAND || t->op == OROR;
                // Of && and || the left operand adds nothing to the nesting: it is evaluated anyhow.
                int left = t->left ? t->left->tool : 0, right = t->right ? t->right->tool : 0;
                t->tool = std::max(left, lazy ? right + 1 : right);
                continue;
            }
            todo.back().second = true;
            if (t->op == NAME && t->sym) {
                if (t->sym->level == 1) uses[t->sym]++;
                if (t->sym->level == 0 && t->sym->is_function() && returns_twice(t->sym->name))
                    calls_setjmp = true;
            }
            if (t->op == UAND || t->op == ARGREF)
                if (MNODE *name = addressed_name(t->left)) addressed.insert(name->sym);
            if (t->right) todo.emplace_back(t->right, false);
            if (t->left) todo.emplace_back(t->left, false);
        }
    }
    int32_t next = 0;
    auto enter = [&](MSYM *s) {
        LOCAL &l = locals[s];
        l.type = types.of(s->type);
        l.is_volatile = s->type->is_volatile();
        if (l.type->kind == CK_none || l.type->kind == CK_void || l.type->kind == CK_func)
            cannot(nullptr, "the variable '" + s->name + "' of type " + s->type->printstr());
        if (!addressed.count(s) && !calls_setjmp) l.number = next++;
    };
    for (MSYM *s : params) enter(s);
    for (MSYM *s : local_order) enter(s);
    // A copy that is all that becomes of a parameter: the variable is the parameter.
    std::vector<MNODE *> leaves;
    std::set<const MSYM *> taken;
    if (!at_entry) prolog = nullptr;
    for (; prolog && prolog->op == PCOMMA; prolog = prolog->left) leaves.push_back(prolog->right);
    if (prolog) leaves.push_back(prolog);
    for (MNODE *leaf : leaves) {
        if (!is_copy(leaf)) continue;
        MSYM *copy = leaf->left->sym, *from = leaf->right->sym;
        LOCAL &l = locals[from];
        if (uses[from] != 1 || l.merged || l.type != locals[copy].type || copy->align > copy->type->align)
            continue;
        if (leaf->left->type->dtype != copy->type->dtype && types.of(leaf->left->type) != l.type) continue;
        if (!taken.insert(copy).second) continue;
        l.merged = copy;
        dropped.insert(leaf);
    }
}

void FUNC_GEN::declare_locals() {
    // Parameters first, so that they keep their names; a merged pair has one.
    for (MSYM *s : params) {
        LOCAL &l = locals[s];
        l.name = names.fresh(s->name);
        if (l.merged) locals[l.merged].name = l.name;
        last_param = l.name;
    }
    for (MSYM *s : local_order)
        if (locals[s].name.empty()) locals[s].name = names.fresh(s->name);
    if (!func->symbol->type->is_vararg()) last_param.clear();
}

// --- statements ---

void FUNC_GEN::flush(std::string &out) {
    for (auto it = std::next(seq->items.begin()); it != seq->items.end(); ++it) out += "    " + *it + ";\n";
    seq->items.resize(1);
}

void FUNC_GEN::switch_statement(MNODE *t, std::string &out) {
    EXPR e = value(t->left);
    if (!e.type->is_int()) e = convert(e, types.basic(CK_s32));
    const CTYPE *type = types.of(t->left->type);
    if (!type->is_int()) type = e.type;
    flush(out);
    std::vector<MNODE *> todo{t->right};
    std::vector<std::pair<int64_t, int>> cases;
    int other = 0;
    bool has_other = false;
    while (!todo.empty()) {
        MNODE *c = todo.back();
        todo.pop_back();
        if (!c) continue;
        if (c->op == COMMA) {
            todo.push_back(c->right);
            todo.push_back(c->left);
        } else if (c->op == CASE) {
            int64_t v =
                c->left->op == LCON ? int64_t(strtoull(c->left->text.c_str(), nullptr, 10)) : c->left->value;
            if (c->left->op == LCON && c->left->text[0] == '-')
                v = strtoll(c->left->text.c_str(), nullptr, 10);
            cases.emplace_back(number(v, type).value, int(c->right->value));
        } else if (c->op == DEFAULT) other = int(c->left->value), has_other = true;
        else cannot(c, "it stands among the cases of a switch");
    }
    out += "    switch (" + e.text + ") {\n";
    std::set<int64_t> seen;
    for (size_t i = 0; i < cases.size(); i++) {
        if (!seen.insert(cases[i].first).second) continue;
        out += "    case " + number(cases[i].first, type).text + ":";
        bool more =
            i + 1 < cases.size() && cases[i + 1].second == cases[i].second && !seen.count(cases[i + 1].first);
        out += more ? "\n" : " goto " + label(cases[i].second) + ";\n";
    }
    if (has_other) out += "    default: goto " + label(other) + ";\n";
    out += "    }\n";
}

void FUNC_GEN::statement(MNODE *t, std::string &out) {
    t = without_notes(t);
    if (!t) return;
    switch (t->op) {
    case CBRANCH: {
        MNODE *test = t->left, *target = without_notes(t->right);
        // The jump is taken when the condition does not hold.
        bool inverted = true;
        while (test->op == EXCLAIM && types.of(test->left->type)->is_scalar())
            test = test->left, inverted = !inverted;
        static const int opposite[][2] = {{EQ, NEQ}, {NEQ, EQ},  {LE, GT},   {GT, LE},   {LT, GE},
                                          {GE, LT},  {ULE, UGT}, {UGT, ULE}, {ULT, UGE}, {UGE, ULT}};
        EXPR e;
        bool done_here = false;
        if (inverted)
            for (auto &pair : opposite)
                if (test->op == pair[0] && !types.of(test->left->type)->is_float() &&
                    !types.of(test->right->type)->is_float()) {
                    test->op = pair[1];
                    e = condition(test);
                    test->op = pair[0];
                    done_here = true;
                    break;
                }
        if (!done_here) {
            e = condition(test);
            if (inverted) e.text = "!" + operand(e, P_UNARY);
        }
        flush(out);
        out += "    if (" + e.text + ") goto " + label(int(target->value)) + ";\n";
        return;
    }
    case BRANCH: out += "    goto " + label(int(without_notes(t->left)->value)) + ";\n"; return;
    case SWITCH: switch_statement(t, out); return;
    case RETURN: {
        EXPR e = value(t->right);
        const CTYPE *to = types.of(func->symbol->type->return_type());
        if (to->kind == CK_void || e.type->kind == CK_void) { // nothing goes back
            if (e.fx.changes_something()) put(e.text, e.fx);
            flush(out);
            out += "    return;\n";
            return;
        }
        bool numbers =
            (to->is_int() || to->is_float()) && (e.type->is_int() || e.type->is_float()) && !e.is_const;
        if (to->is_scalar() && !numbers) e = convert(e, to);
        if (to->is_wide()) e = reinterpret(e, to);
        flush(out);
        out += "    return " + e.text + ";\n";
        return;
    }
    case URETURN: out += result_record ? "    return " + result_name + ";\n" : "    return;\n"; return;
    case ENDLOOP: { // counts down and goes on while the counter is not negative
        LVAL l = lvalue(t->left);
        l = repeatable(l);
        flush(out);
        out += "    if (--" + l.text + " >= 0) goto " + label(int(without_notes(t->right)->value)) + ";\n";
        return;
    }
    case LOOP: out += label(int(without_notes(t->right)->value)) + ":;\n"; return;
    default:
        effect(t);
        flush(out);
        return;
    }
}

namespace {
void note_jumps(MNODE *root, std::set<int> &labels) {
    std::vector<MNODE *> todo{root};
    while (!todo.empty()) {
        MNODE *t = todo.back();
        todo.pop_back();
        if (!t) continue;
        switch (t->op) {
        case LABEL: labels.insert(int(t->value)); break;
        case CBRANCH:
        case ENDLOOP: todo.push_back(t->right); break;
        case BRANCH:
        case EPVAL:
        case DEFAULT: todo.push_back(t->left); break;
        case SWITCH:
        case CASE: todo.push_back(t->right); break;
        case COMMA: todo.push_back(t->right), todo.push_back(t->left); break;
        default: break;
        }
    }
}
} // namespace

std::string FUNC_GEN::function() {
    MSYM *self = func->symbol;
    psn = func->records.empty() ? nullptr : func->records[0].psn;
    scan();
    declare_locals();
    SEQUENCE top;
    top.statements = true;
    EFFECTS ignored;
    seq = &top, done = &ignored;
    result_record = types.record_result(self->type);
    std::string body, head;
    if (result_record) {
        result_name = names.fresh("result");
        MSYM *pointer = params.at(0);
        head += "    " + types.of(result_record)->declare(result_name) + ";\n";
        head += "    " + locals[pointer].type->declare(locals[pointer].name) + " = &" + result_name + ";\n";
    }
    for (MRECORD &r : func->records)
        if (r.tag == IF_STATEMENT && r.tree) note_jumps(without_notes(r.tree), jumped_to);
    std::set<int> defined;
    for (MRECORD &r : func->records) {
        if (r.psn && r.psn->line) {
            bool moved = !psn || psn->line != r.psn->line || psn->file != r.psn->file;
            psn = r.psn;
            if (moved && g.options.line_marks && r.tag == IF_STATEMENT && r.psn->file)
                body += "#line " + std::to_string(r.psn->line) + " " + c_string(r.psn->file) + "\n";
        }
        switch (r.tag) {
        case IF_STATEMENT: statement(r.tree, body); break;
        case IF_LABEL:
            if (!defined.insert(int(r.n[0])).second) cannot(nullptr, "a label that stands twice");
            if (jumped_to.count(int(r.n[0]))) body += label(int(r.n[0])) + ":;\n";
            break;
        case IF_ASSEMBLY: body += "    __asm__ volatile(" + asm_text(r.text) + " ::: \"memory\");\n"; break;
        case IF_COMMENT:
            if (g.options.comments && r.text.find("*/") == std::string::npos)
                body += "    /* " + r.text + " */\n";
            break;
        case IF_EHT:
            if (r.eht.size() > 1) cannot(nullptr, "an exception table");
            break;
        default: break;
        }
    }
    for (int n : jumped_to)
        if (!defined.count(n))
            cannot(nullptr, "a jump to the label " + std::to_string(n) + ", which stands nowhere");
    std::string text;
    if (g.options.line_marks && func->records[0].psn && func->records[0].psn->file)
        text += "#line " + std::to_string(func->records[0].psn->line) + " " +
                c_string(func->records[0].psn->file) + "\n";
    return text + this->head() + "\n{\n" + head + variables() + body + "}\n";
}

// The function's declarator with the names of its parameters.
std::string FUNC_GEN::head() {
    GLOBAL &self = g.global(func->symbol);
    std::string list;
    for (MSYM *s : params) {
        if (result_record && s == params[0]) continue;
        const LOCAL &l = locals[s];
        bool in_memory = l.is_volatile || (l.merged && locals[l.merged].is_volatile) ||
                         (calls_setjmp && l.type->is_scalar());
        std::string before = l.type->before;
        if (in_memory) before = before.back() == '*' ? before + "volatile " : "volatile " + before;
        list += (list.empty() ? "" : ", ") + before + l.name + l.type->after;
    }
    if (func->symbol->type->is_vararg()) list += list.empty() ? "" : ", ...";
    else if (list.empty()) list = "void";
    const CTYPE *returns = self.type->part;
    return std::string(func->symbol->sclass == 3 ? "static " : "") + returns->before + self.name + "(" +
           list + ")" + returns->after;
}

std::string FUNC_GEN::variables() {
    std::string text;
    std::set<const MSYM *> merged;
    for (MSYM *p : params)
        if (locals[p].merged) merged.insert(locals[p].merged);
    for (MSYM *s : local_order) {
        if (merged.count(s)) continue;
        const LOCAL &l = locals[s];
        bool in_memory = l.is_volatile || (calls_setjmp && l.type->is_scalar());
        std::string before = l.type->before;
        if (in_memory) before = before.back() == '*' ? before + "volatile " : "volatile " + before;
        text += "    " + before + l.name + l.type->after;
        if (s->align > s->type->align)
            text += " __attribute__((aligned(" + std::to_string(s->align / 8) + ")))";
        text += ";\n";
    }
    for (const std::string &t : temps) text += "    " + t + ";\n";
    return text;
}

EXPR FUNC_GEN::constant(MNODE *t, const PSN *where) {
    psn = where;
    in_constant = true;
    SEQUENCE mine;
    EFFECTS does;
    seq = &mine, done = &does;
    EXPR e = value(t);
    if (!mine.empty() || e.fx.changes_something()) cannot(t, "an initial value that is no constant");
    return e;
}

std::string FUNC_GEN::as_initialiser(const EXPR &e, const CTYPE *type) {
    return operand(e.type->is_int() && type->is_int() && !e.is_const ? e : convert(e, type), P_ASSIGN);
}
