// Compares a file with what became of it when it was read and written by a run without passes: everything that must
// come back has come back.
//
//   compare [--loose] INPUT OUTPUT
//   compare --dump FILE
//
// Each file is reduced to lines of text: globals, initialisers, and for each function its symbols and its steps.
// Differences that reading and writing make on purpose are taken out on the way (numbers of labels, inner blocks,
// wide and narrow constants, conversions of arguments, enum types in trees, marks of dependences and profiles, names
// of unknown built-ins). The bodies are compared by walking both from their entry at once, along every branch: what
// is executed must be the same, however the blocks are laid out. --loose asks only for the same calls of probe().
// --dump prints what a file was reduced to.
//
// Exit status 0: nothing is missing; 1: the first difference is printed.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>

#include "tools/model/model.h"

namespace {

enum KIND_OF_STEP { STEP_PLAIN, STEP_LABEL, STEP_BRANCH, STEP_CBRANCH, STEP_SWITCH, STEP_RETURN };

struct STEP {
    KIND_OF_STEP kind = STEP_PLAIN;
    std::string text;
    int label = 0;                    // LABEL, BRANCH, CBRANCH, SWITCH's default (0: none)
    bool negated = false;             // CBRANCH: the text is the opposite of what is tested
    std::map<std::string, int> cases; // SWITCH
    std::vector<int> handlers;        // labels that a call may end at
    bool is_end = false;              // a call that does not come back
};

struct FUNCTION_LOG {
    std::string header;
    std::vector<std::string> parameters;
    std::map<std::string, std::string> locals; // by name
    std::vector<STEP> steps;
    std::map<int, size_t> label_at;
    std::map<int, int> probes; // number of calls by argument
};

struct FILE_LOG {
    std::vector<std::string> lines; // producer, options, globals, initialisers, records outside functions
    std::map<std::string, FUNCTION_LOG> functions;
    std::set<std::string> builtins; // called by MCALL and UMCALL
};

// --- text of types, positions, symbols ---

std::map<const TYPE *, std::string> value_type_texts;

// As the machine sees it: without typedefs, enums as their integers.
const std::string &value_type(TYPE *t) {
    auto [entry, is_new] = value_type_texts.try_emplace(t);
    if (!is_new) return entry->second;
    TYPE *plain = !t ? nullptr : t->is_enum() ? t->underlying_type()->normalized() : t->normalized();
    return entry->second = plain ? plain->printstr() : "-";
}

std::string position(const PSN *p) {
    if (!p) return "@-";
    return std::string("@") + (p->file ? p->file : "?") + ":" + std::to_string(p->line) + ":" +
           std::to_string(p->column);
}

std::string pragma_text(const PRAGMA *p) {
    std::string s = PRAGMA::name(p->number);
    for (const std::string &a : p->args) s += "," + a;
    return s;
}

constexpr int FILE_QUALIFIERS = 0x19FF; // the others are results of analyses

std::string symbol_text(const MSYM *s, int level) {
    int sclass = s->sclass;
    TYPE *t = s->type;
    if (level >= 2 && (sclass == 4 || sclass == 22))
        sclass = 1; // locals in registers are no class of their own
    if (level > 2 && t->is_const())
        t = tp->remove_known_qual(t, QUAL_const); // objects of inner blocks are set anew
    std::string text = s->name + " " + t->printstr() + " size " + std::to_string(s->size) + " align " +
                       std::to_string(s->align) + " class " + std::to_string(sclass) + " qualifiers " +
                       std::to_string(s->cqual & FILE_QUALIFIERS) + " options " +
                       std::to_string(s->option_set) + " " + (s->cpp_type ? s->cpp_type->printstr() : "-") +
                       " " + position(s->psn);
    for (const PRAGMA *p = s->pragmas; p; p = p->next) text += " #" + pragma_text(p);
    return text;
}

// --- text of trees ---

const MNODE *skip_marks(const MNODE *n) {
    while (n->op == EPVAL || n->op == DDNODE || n->op == ACONV) n = n->left;
    return n;
}

std::string constant(const MNODE *n) { return n->op == LCON ? n->text : std::to_string(n->value); }

// The exception table of the function in work, by id.
std::map<unsigned, const EHT_ENTRY *> eht;

struct TREE_TEXT {
    std::string text;
    std::vector<int> handlers;
    std::vector<const MNODE *> todo;

    void put(int op, TYPE *type) {
        text += std::string(if_node_info[op].name) + ":" + value_type(type) + " ";
    }
    void node(const MNODE *n);
    void unwinding(unsigned entry);
    explicit TREE_TEXT(const MNODE *tree) {
        todo.push_back(tree);
        while (!todo.empty()) {
            const MNODE *n = todo.back();
            todo.pop_back();
            node(skip_marks(n));
        }
    }
};

std::string tree_text(const MNODE *tree) { return TREE_TEXT(tree).text; }

// What happens when a call throws. Entries are known by what they do; their numbers may change, and ends of cleanups
// are passed over.
void TREE_TEXT::unwinding(unsigned entry) {
    for (; entry; entry = eht.at(entry)->next) {
        const EHT_ENTRY &e = *eht.at(entry);
        if (e.kind == EHK_CLEANUP_END) continue;
        text += "!" + std::to_string(e.kind) + " ";
        if (e.cleanup) text += tree_text(static_cast<MNODE *>(e.cleanup));
        for (const EHT_CATCH &c : e.catches) {
            text += "catch " + c.type_name + (c.flag ? "* " : " ");
            handlers.push_back(c.label);
        }
    }
}

void TREE_TEXT::node(const MNODE *n) {
    switch (n->op) {
    case ICON:
    case LCON: text += "CON:" + value_type(n->type) + "=" + constant(n) + " "; return;
    case FCON: text += "FCON:" + value_type(n->type) + "=" + n->text + " "; return;
    case NAME:
        text += (n->sym ? n->sym->name + (n->sym->level == 0   ? ""
                                          : n->sym->level == 1 ? "(p)"
                                                               : "(l)")
                        : "null") +
                ":" + value_type(n->type) + " ";
        return;
    case SCON:
        put(SCON, n->type);
        for (char c : n->text) text += std::to_string(int(c)) + ",";
        return;
    case FIELD: text += "." + std::string(n->member ? n->member->name : "?") + " "; return;
    case PMCONV:
        if (n->right->op == ICON) {
            put(MULT, n->type);
            text += "CON:" + value_type(n->right->type) + "=" + std::to_string(n->right->value / 8) + " ";
            todo.push_back(n->left);
            return;
        }
        break;
    case MULT: // the constant first, as above
        if (skip_marks(n->right)->op == ICON) {
            put(MULT, n->type);
            todo.push_back(n->left);
            todo.push_back(n->right);
            return;
        }
        break;
    case MCALL:
    case UMCALL: // unknown ones are called
        put(n->left ? CALL : UCALL, n->type);
        text += "_" + n->text + " ";
        if (n->left) todo.push_back(n->left);
        return;
    case CALL:
    case UCALL:
        put(n->op, n->type);
        unwinding(n->eh);
        if (n->right) todo.push_back(n->right);
        if (n->left->op == UAND && n->left->left->op == NAME) text += n->left->left->sym->name + " ";
        else todo.push_back(n->left);
        return;
    case ICALL:
    case UICALL: text += n->text + "! "; break;
    default: break;
    }
    put(n->op, n->type);
    if (n->right) todo.push_back(n->right);
    if (n->left) todo.push_back(n->left);
}

const int opposites[][2] = {{EQ, NEQ},    {LE, GT},    {LT, GE},    {ULE, UGT},  {ULT, UGE},  {FEQ, FNEQN},
                            {FNEQ, FEQN}, {FLE, FGTN}, {FLT, FGEN}, {FGE, FLTN}, {FGT, FLEN}, {FORD, FUNO}};

bool is_zero(const MNODE *n) {
    n = skip_marks(n);
    if (n->op == PCONV) n = skip_marks(n->left);
    return n->op == ICON && n->value == 0;
}

// One text for a condition and its opposite.
void condition(const MNODE *n, STEP &step) {
    for (n = skip_marks(n);; n = skip_marks(n->left)) {
        if (n->op == EXCLAIM) step.negated = !step.negated;
        else if (n->op == EQ && is_zero(n->right)) step.negated = !step.negated;
        else if (!(n->op == NEQ && is_zero(n->right))) break;
    }
    for (auto &pair : opposites) {
        if (n->op != pair[1]) continue;
        step.negated = !step.negated;
        step.text = std::string(if_node_info[pair[0]].name) + ":" + value_type(n->type) + " " +
                    tree_text(n->left) + tree_text(n->right);
        return;
    }
    step.text = tree_text(n);
}

// --- functions ---

int label_number(const MNODE *n) { return int(skip_marks(n)->value); }

void note_calls(const MNODE *tree, FUNCTION_LOG &log, std::set<std::string> &builtins) {
    std::vector<const MNODE *> todo{tree};
    while (!todo.empty()) {
        const MNODE *n = todo.back();
        todo.pop_back();
        bool direct = n->op == CALL && n->left->op == UAND && n->left->left->op == NAME;
        if (direct && n->left->left->sym->name == "_probe" && skip_marks(n->right)->op == ICON)
            log.probes[int(skip_marks(n->right)->value)]++;
        if (n->op == MCALL || n->op == UMCALL) builtins.insert(n->text);
        if (n->left) todo.push_back(n->left);
        if (n->right) todo.push_back(n->right);
    }
}

STEP step_of(const MNODE *n) {
    STEP s;
    n = skip_marks(n);
    switch (n->op) {
    case BRANCH:
        s.kind = STEP_BRANCH;
        s.label = label_number(n->left);
        break;
    case CBRANCH:
        s.kind = STEP_CBRANCH;
        s.label = label_number(n->right);
        condition(n->left, s);
        break;
    case SWITCH:
        s.kind = STEP_SWITCH;
        s.text = tree_text(n->left);
        for (const MNODE *c = n->right; c; c = c->op == COMMA ? c->left : nullptr) {
            const MNODE *last = c->op == COMMA ? c->right : c;
            if (last->op == DEFAULT) s.label = label_number(last->left);
            else s.cases[constant(last->left)] = label_number(last->right);
        }
        break;
    case RETURN:
    case URETURN:
        s.kind = STEP_RETURN;
        s.text = n->op == RETURN ? tree_text(n->right) : "";
        break;
    default: {
        TREE_TEXT text(n);
        s.text = text.text;
        s.handlers = text.handlers;
        s.is_end = s.text.find("_die ") != std::string::npos;
    }
    }
    return s;
}

// What is put behind calls that do not return.
bool is_dead_end_mark(const MRECORD &r) {
    if (r.tag == IF_COMMENT) return r.text.starts_with("***");
    return r.tag == IF_STATEMENT && r.tree->op == UMCALL && r.tree->text == "_never_executed";
}

FUNCTION_LOG log_function(const MFUNC &f, std::set<std::string> &builtins) {
    FUNCTION_LOG log;
    int level = 1;
    eht.clear();
    for (const MRECORD &r : f.records)
        for (const EHT_ENTRY &e : r.eht) eht[e.id] = &e;
    auto plain = [&](const std::string &text) { log.steps.emplace_back().text = text; };
    for (const MRECORD &r : f.records) {
        if (is_dead_end_mark(r)) continue;
        switch (r.tag) {
        case I_BF: log.header = "begin " + position(r.psn); break;
        case I_EA:
        case I_EL:
        case I_EF:
            if (level <= 2) log.header += " " + position(r.psn);
            if (r.tag == I_EA) level = 2;
            break;
        case I_BB: level++; break;
        case I_EB: level--; break;
        case IF_SYMBOL:
            if (level == 1) log.parameters.push_back(symbol_text(r.sym, level));
            else log.locals[r.sym->name] = symbol_text(r.sym, level);
            break;
        case IF_STATEMENT: {
            STEP s = step_of(r.tree);
            if (s.kind != STEP_BRANCH) s.text += position(r.psn);
            log.steps.push_back(s);
            note_calls(r.tree, log, builtins);
            break;
        }
        case IF_LABEL: {
            STEP &s = log.steps.emplace_back();
            s.kind = STEP_LABEL;
            log.label_at[int(r.n[0])] = log.steps.size() - 1;
            break;
        }
        case IF_ASSEMBLY: plain("asm " + r.text + position(r.psn)); break;
        case IF_COMMENT:
            if (r.text[0] != ';') plain("comment " + r.text);
            break;
        case IF_PRAGMA: plain("pragma " + pragma_text(r.pragma)); break;
        default: break; // what the optimizer derives itself
        }
    }
    return log;
}

FILE_LOG log_file(const char *path) {
    std::unique_ptr<MODEL> m = read_model(path);
    value_type_texts.clear();
    FILE_LOG log;
    log.lines.push_back("producer " + m->producer);
    for (const OPTION_SET &set : m->options) {
        std::string s = "options " + std::to_string(set.id);
        for (const std::string &t : set.strings) s += " " + t;
        log.lines.push_back(s);
    }
    for (const MSYM *s : m->globals) log.lines.push_back("global " + symbol_text(s, 0));
    std::vector<std::string> inits;
    for (const MRECORD &r : m->inits) {
        std::string s = "init " + r.sym->name + ":";
        for (const MNODE *t : r.trees) s += " " + tree_text(t);
        inits.push_back(s);
    }
    std::sort(inits.begin(), inits.end());
    log.lines.insert(log.lines.end(), inits.begin(), inits.end());
    for (const MITEM &item : m->items) {
        const MRECORD &r = item.record;
        if (item.func) log.functions[item.func->symbol->name] = log_function(*item.func, log.builtins);
        else if (r.tag == IF_ASSEMBLY) log.lines.push_back("asm " + r.text + position(r.psn));
        else if (r.tag == IF_COMMENT && r.text[0] != ';') log.lines.push_back("comment " + r.text);
        else if (r.tag == IF_PRAGMA) log.lines.push_back("pragma " + pragma_text(r.pragma));
    }
    return log;
}

// --- comparison ---

[[noreturn]] void differ(const std::string &where, const std::string &a, const std::string &b) {
    printf("%s\n  input:  %s\n  output: %s\n", where.c_str(), a.c_str(), b.c_str());
    exit(1);
}

void same_list(const std::string &where, const std::vector<std::string> &a,
               const std::vector<std::string> &b) {
    for (size_t i = 0; i < std::max(a.size(), b.size()); i++) {
        std::string x = i < a.size() ? a[i] : "(nothing)", y = i < b.size() ? b[i] : "(nothing)";
        if (x != y) differ(where, x, y);
    }
}

// The step that is executed when control is at `at`; steps.size() is the end.
size_t arrive(const FUNCTION_LOG &f, size_t at) {
    for (size_t moves = 0; at < f.steps.size() && moves <= f.steps.size(); moves++) {
        const STEP &s = f.steps[at];
        if (s.kind == STEP_LABEL) at++;
        else if (s.kind == STEP_BRANCH) at = f.label_at.at(s.label);
        else break;
    }
    return at;
}

void same_execution(const std::string &name, const FUNCTION_LOG &a, const FUNCTION_LOG &b) {
    std::set<std::pair<size_t, size_t>> seen;
    std::vector<std::pair<size_t, size_t>> todo{{0, 0}};
    STEP end;
    end.kind = STEP_RETURN;
    while (!todo.empty()) {
        size_t i = arrive(a, todo.back().first), j = arrive(b, todo.back().second);
        todo.pop_back();
        if (!seen.insert({i, j}).second) continue;
        const STEP &x = i < a.steps.size() ? a.steps[i] : end, &y = j < b.steps.size() ? b.steps[j] : end;
        // A position does not matter where control leaves: returns are shared.
        auto what = [](const STEP &s) {
            return s.kind == STEP_RETURN ? s.text.substr(0, s.text.find('@')) : s.text;
        };
        if (x.kind != y.kind || what(x) != what(y)) differ("function " + name, x.text, y.text);
        auto to = [](const FUNCTION_LOG &f, int label) { return f.label_at.at(label); };
        if (x.kind == STEP_PLAIN && !x.is_end) todo.push_back({i + 1, j + 1});
        for (size_t k = 0; k < x.handlers.size(); k++)
            todo.push_back({to(a, x.handlers[k]), to(b, y.handlers[k])});
        if (x.kind == STEP_CBRANCH) {
            size_t a_false = to(a, x.label), a_true = i + 1, b_false = to(b, y.label), b_true = j + 1;
            if (x.negated) std::swap(a_false, a_true);
            if (y.negated) std::swap(b_false, b_true);
            todo.push_back({a_true, b_true});
            todo.push_back({a_false, b_false});
        }
        if (x.kind == STEP_SWITCH) {
            if (x.cases.size() != y.cases.size()) differ("cases in " + name, x.text, y.text);
            for (auto &[value, label] : x.cases) {
                if (!y.cases.count(value)) differ("case " + value + " in " + name, x.text, y.text);
                todo.push_back({to(a, label), to(b, y.cases.at(value))});
            }
            todo.push_back({x.label ? to(a, x.label) : i + 1, y.label ? to(b, y.label) : j + 1});
        }
    }
}

void compare_functions(const std::string &name, const FUNCTION_LOG &a, const FUNCTION_LOG &b, bool loose) {
    if (a.header != b.header) differ("positions of " + name, a.header, b.header);
    same_list("parameters of " + name, a.parameters, b.parameters);
    if (a.probes != b.probes) {
        for (auto &[number, count] : a.probes)
            if (!b.probes.count(number) || b.probes.at(number) != count)
                differ("calls in " + name, "probe " + std::to_string(number), "not so often");
        differ("calls in " + name, "fewer probes", "more probes");
    }
    if (loose) return;
    for (auto &[local, text] : b.locals) {
        auto found = a.locals.find(local);
        if (found == a.locals.end()) differ("locals of " + name, "(nothing)", text);
        if (found->second != text) differ("locals of " + name, found->second, text);
    }
    same_execution(name, a, b);
}

void dump(const FILE_LOG &log) {
    for (const std::string &line : log.lines) printf("%s\n", line.c_str());
    for (auto &[name, f] : log.functions) {
        printf("\n%s: %s\n", name.c_str(), f.header.c_str());
        for (const std::string &p : f.parameters) printf("  parameter %s\n", p.c_str());
        for (auto &[local, text] : f.locals) printf("  local %s\n", text.c_str());
        std::map<size_t, int> labels;
        for (auto &[number, at] : f.label_at) labels[at] = number;
        static const char *const kinds[] = {"", "label", "branch", "unless", "switch", "return"};
        for (size_t i = 0; i < f.steps.size(); i++) {
            const STEP &s = f.steps[i];
            printf("  %zu: %s %s%s -> %d\n", i, kinds[s.kind], s.negated ? "not " : "", s.text.c_str(),
                   s.kind == STEP_LABEL ? labels[i] : s.label);
        }
    }
}

} // namespace

int main(int argc, char **argv) {
    if (argc == 3 && !strcmp(argv[1], "--dump")) {
        dump(log_file(argv[2]));
        return 0;
    }
    bool loose = argc > 1 && !strcmp(argv[1], "--loose");
    if (argc != 3 + loose) {
        fprintf(stderr, "usage: compare [--loose] INPUT OUTPUT\n       compare --dump FILE\n");
        return 2;
    }
    FILE_LOG a = log_file(argv[1 + loose]), b = log_file(argv[2 + loose]);
    // Built-ins that nobody knows have become functions.
    std::erase_if(b.lines, [&](const std::string &line) {
        for (const std::string &name : a.builtins)
            if (line.starts_with("global _" + name + " ")) return true;
        return false;
    });
    same_list("file", a.lines, b.lines);
    for (auto &[name, f] : a.functions) {
        auto found = b.functions.find(name);
        if (found == b.functions.end()) differ("file", "function " + name, "(nothing)");
        compare_functions(name, f, found->second, loose);
    }
    if (a.functions.size() != b.functions.size()) differ("file", "fewer functions", "more functions");
    printf("%zu functions agree\n", a.functions.size());
    return 0;
}
