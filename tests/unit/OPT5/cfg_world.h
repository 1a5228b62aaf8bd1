// What tests of the flow graph share: a function under construction, short makers for its statements, and an
// interpreter that runs a function as a list of statements or as a graph. What a run does (values given to `trace`,
// calls of `ext`, the result) must be the same before and after a change.
#pragma once

#include "OPT5/bbutils.h"
#include "OPT5/buildcfg.h"
#include "OPT5/cfg.h"
#include "OPT5/dominator.h"
#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/infix.h"
#include "OPT5/scopes.h"
#include "OPT5/seqtrees.h"
#include "OPT5/simpcfg.h"
#include "OPT5/symtab.h"
#include "OPT5/tree.h"
#include "OPT5/validate.h"
#include "options/opttable.h"
#include "typepkg/type_pkg.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

struct cfg_world : testing::Test {
    TYPE_PKG package;
    TYPE *i;
    SYMTAB *self, *ext, *trace; // the function, one that is called, a global whose values are watched
    std::vector<std::unique_ptr<SYMTAB>> globals;
    std::unique_ptr<FUNINFO> f;

    cfg_world() {
        TYPE_PKG::abi = 1;
        init_type_pkg(&package);
        tp = &package;
        init_types();
        init_opcode_tables();
        i = tp->basic[IK_int];
        file_options = new option_obj;
        file_options->setopt(OO_OPT_LEVEL, long(ENUM_OPT_LEVEL_2));
        ext = global("ext", tp->mk_func(i, std::vector<TYPE *>{i}));
        trace = global("trace", i);
        begin_function(tp->mk_func(i, std::vector<TYPE *>{}));
    }
    ~cfg_world() override {
        end_function();
        erase_all_FUNINFOs(); // those that calls have asked for
        delete file_options;
        file_options = nullptr;
        tp = nullptr;
    }

    SYMTAB *make_symbol(const char *name, TYPE *type, int level, int sclass) {
        SYMTAB *s = new SYMTAB;
        s->name = keep_text(name);
        s->type = s->otype = type;
        s->size = uint32_t(type->size);
        s->align = type->align;
        s->level = level;
        s->sclass = s->class_as_read = uint8_t(sclass);
        s->flags = SF_LOCAL;
        return s;
    }
    SYMTAB *global(const char *name, TYPE *type) {
        globals.emplace_back(make_symbol(name, type, 0, SC_EXTDEF));
        return globals.back().get();
    }
    SYMTAB *local(const char *name, TYPE *type = nullptr, int level = 2, int sclass = SC_AUTO) {
        SYMTAB *s = make_symbol(name, type ? type : i, level, sclass);
        s->next = f->symbols;
        f->symbols = s;
        s->scope = level == 1 ? f->scopes->child : f->scopes->child->child;
        return s;
    }

    // A new function of that type; the last one goes.
    void begin_function(TYPE *type) {
        end_function();
        self = global("self", type);
        f = std::make_unique<FUNINFO>();
        f->symbol = self;
        f->name = "self";
        LS *above = nullptr;
        for (int level = 0; level < 3; level++) {
            LS *scope = new LS;
            scope->inline_id = 1;
            scope->level = scope->number = level;
            scope->parent = above;
            if (above) above->child = above->last_child = scope;
            else f->scopes = scope;
            above = scope;
        }
        currfunc = self;
        currfuninfo = f.get();
    }
    void end_function() {
        if (!f) return;
        currfuninfo = f.get();
        for (LIST *s = f->statements; s; s = s->next) // labels that no block has taken over
            if (s->tree->op == LABELDEF) delete s->tree->label;
        erase_tree_list(f->statements);
        for (BBLK *bb = f->uo_list, *next; bb; bb = next) {
            next = bb->uolink;
            erase_bblock(bb);
        }
        release_dead_labels(f.get());
        erase_tree(f->first_statement);
        delete f->dominator;
        delete f->scopes;
        for (SYMTAB *chain : {f->symbols, f->temporaries, f->scalars, f->nonscalars})
            while (SYMTAB *s = chain) {
                chain = s->next;
                delete s;
            }
        f.reset();
        currfunc = nullptr;
        currfuninfo = nullptr;
    }

    // --- trees ---
    LS *scope() { return f->scopes->child->child; }
    NODE *in_scope(NODE *n) {
        n->scope = scope();
        return n;
    }
    NODE *N(SYMTAB *s) { return mk_NAME(s, s->level ? s->scope : scope()); }
    NODE *I(long long v) { return in_scope(mk_ICON(INT65(v), i)); }
    NODE *B(int op, NODE *a, NODE *b) { return maketree(op, a, b, i, scope()); }
    NODE *L(int number) { return in_scope(mk_LABELREF(number, 0)); }
    NODE *call(SYMTAB *callee, std::vector<NODE *> args, unsigned region = 0) {
        NODE *list = nullptr;
        for (NODE *a : args) list = arg_list_append(list, a);
        NODE *address = maketree(UAND, N(callee), nullptr, tp->mk_ptr(callee->type), scope());
        NODE *c = maketree(list ? CALL : UCALL, address, list, i, scope());
        c->i_eht_id = region;
        return c;
    }
    // --- statements, added to the function's list ---
    void add(NODE *tree) { f->statements = mkelist(in_scope(tree), f->statements, nullptr); }
    void set(SYMTAB *s, NODE *value) { add(mk_ASG(N(s), value)); }
    void note(long long v) { set(trace, I(v)); }
    void label(int n) { add(mk_LABELDEF(mklabel(n, nullptr, nullptr))); }
    void jump(int n) { add(maketree(BRANCH, L(n), nullptr, tp->void_type(), scope())); }
    void branch_if(NODE *c, int then, int otherwise) {
        add(maketree(IF, c, maketree(COMMA, L(then), L(otherwise), i, scope()), tp->void_type(), scope()));
    }
    void cbranch(NODE *c, int when_false) {
        add(maketree(CBRANCH, c, L(when_false), tp->void_type(), scope()));
    }
    void ret(NODE *value) { add(maketree(RETURN, N(self), value, tp->void_type(), scope())); }
    void ret() { add(maketree(URETURN, N(self), nullptr, tp->void_type(), scope())); }
    // default_label 0: none
    void switch_on(NODE *value, const std::vector<std::pair<long long, int>> &cases, int default_label) {
        NODE *chain = nullptr;
        auto append = [&](NODE *n) { chain = chain ? maketree(COMMA, chain, n, i, scope()) : n; };
        for (auto [v, to] : cases) append(maketree(CASE, I(v), L(to), i, scope()));
        if (default_label) append(maketree(DEFAULT, L(default_label), nullptr, i, scope()));
        NODE *sw = maketree(SWITCH, value, chain, tp->void_type(), scope());
        sw->u.lval = INT65(long(cases.size()));
        add(sw);
    }

    void build() {
        convert_CBRANCHes(f->statements);
        buildcfg();
    }
    BBLK *bb(int dfn) {
        for (BBLK *b = f->bb_list; b; b = b->dflink)
            if (b->dfn == dfn) return b;
        return nullptr;
    }
    void expect_sound(const char *when) { EXPECT_EQ(find_structure_fault(), "") << when; }
};

// Runs functions. Everything is a 32-bit int; a function that is called by itself gets a frame of its own.
struct MACHINE {
    struct THROWN {
        unsigned region;
    };
    struct OUT_OF_STEPS {};

    const cfg_world &world;
    std::vector<long> log;
    int steps = 2500, depth = 0;
    const LIST *program = nullptr; // reversed statements, or null to run the graph
    std::map<const SYMTAB *, int> values;
    bool (*throws)(int argument) = nullptr;

    explicit MACHINE(const cfg_world &w) : world(w) {}

    // Runs from the top with these parameters (level 1 symbols). The log ends with the result, or -1 when steps ran out.
    std::vector<long> run(const std::map<const SYMTAB *, int> &parameters) {
        values = parameters;
        try {
            log.push_back(program ? run_list() : run_graph());
        } catch (OUT_OF_STEPS) { log.push_back(-1); } catch (THROWN) {
            log.push_back(-2);
        }
        return log;
    }

    int eval(NODE *n) {
        if (--steps < 0) throw OUT_OF_STEPS();
        auto truth = [](bool b) { return b ? 1 : 0; };
        switch (n->op) {
        case ICON: return int(n->u.lval.to_int64());
        case NAME: return values[n->u.sym];
        case ASG: {
            int v = eval(n->right);
            values[n->left->u.sym] = v;
            if (n->left->u.sym == world.trace) log.push_back(v);
            return v;
        }
        case PLUS: return int(unsigned(eval(n->left)) + unsigned(eval(n->right)));
        case MINUS: return int(unsigned(eval(n->left)) - unsigned(eval(n->right)));
        case MULT: return int(unsigned(eval(n->left)) * unsigned(eval(n->right)));
        case ANDB: return eval(n->left) & eval(n->right);
        case EQ: return truth(eval(n->left) == eval(n->right));
        case NEQ: return truth(eval(n->left) != eval(n->right));
        case LT: return truth(eval(n->left) < eval(n->right));
        case LE: return truth(eval(n->left) <= eval(n->right));
        case GT: return truth(eval(n->left) > eval(n->right));
        case GE: return truth(eval(n->left) >= eval(n->right));
        case ULE: return truth(unsigned(eval(n->left)) <= unsigned(eval(n->right)));
        case ULT: return truth(unsigned(eval(n->left)) < unsigned(eval(n->right)));
        case UGE: return truth(unsigned(eval(n->left)) >= unsigned(eval(n->right)));
        case UGT: return truth(unsigned(eval(n->left)) > unsigned(eval(n->right)));
        case UMINUS: return int(0u - unsigned(eval(n->left)));
        case ORB: return eval(n->left) | eval(n->right);
        case XORB: return eval(n->left) ^ eval(n->right);
        case EXCLAIM: return truth(!eval(n->left));
        case SCONV:
        case ACONV: return eval(n->left);
        case COMMAOP: return eval(n->left), eval(n->right);
        case PCOMMA: eval(n->left); return eval(n->right);
        case ANDAND: return truth(eval(n->left) && eval(n->right));
        case OROR: return truth(eval(n->left) || eval(n->right));
        case QUEST: return eval(eval(n->left) ? n->right->left : n->right->right);
        case MCALL: return eval(n->left);
        case ASM:
        case UMCALL: return 0;
        case CALL:
        case UCALL: return call(n);
        default: ADD_FAILURE() << "no meaning for " << tree2infix(n); return 0;
        }
    }

    int call(NODE *n) {
        std::vector<int> args;
        for (NODE *a : arg_list_args(n->right)) args.push_back(eval(a));
        if (n->left->left->u.sym == world.ext) {
            log.push_back(1000 + args.at(0));
            if (throws && throws(args[0])) throw THROWN{n->i_eht_id};
            return args[0] * 7 + 1;
        }
        if (++depth > 300) throw OUT_OF_STEPS();
        std::map<const SYMTAB *, int> caller = values, frame;
        frame[world.trace] = values[world.trace];
        std::vector<SYMTAB *> parameters; // the chain has the newest first
        for (SYMTAB *s = world.f->symbols; s; s = s->next)
            if (s->level == 1) parameters.insert(parameters.begin(), s);
        for (size_t k = 0; k < args.size(); k++) frame[parameters.at(k)] = args[k];
        values = frame;
        int result = program ? run_list() : run_graph();
        caller[world.trace] = values[world.trace];
        values = caller;
        depth--;
        return result;
    }

    // The label word of the catch that ends an exception out of a region; -1 when none does.
    int handler(unsigned region) const {
        const FUNINFO *f = world.f.get();
        for (; region > 1 && f->eht[region].kind != EHK_THROW_TERMINATE; region = f->eht[region].next)
            if (f->eht[region].kind == EHK_CATCH && !f->eht[region].catches.empty())
                return f->eht[region].catches[0].label;
        return -1;
    }

    // The LABEL that a transfer takes; null when it goes on behind.
    NODE *taken(NODE *t) {
        switch (t->op) {
        case BRANCH: return t->left;
        case IF: return eval(t->left) ? t->right->left : t->right->right;
        case CBRANCH: return eval(t->left) ? nullptr : t->right;
        default: break;
        }
        int value;
        bool exception = tree_is_EH_SWITCH(t);
        try {
            value = eval(t->left);
            if (exception) value = -99;
        } catch (const THROWN &thrown) {
            value = exception ? handler(thrown.region) : -1;
            if (value < 0) throw;
        }
        NODE *otherwise = nullptr;
        for (NODE *chain = t->right; chain; chain = chain->op == COMMA ? chain->left : nullptr) {
            NODE *item = chain->op == COMMA ? chain->right : chain;
            if (item->op == DEFAULT) otherwise = item->left;
            else if (int(item->left->u.lval.to_int64()) == value) return item->right;
        }
        return otherwise;
    }

    static bool transfers(const NODE *t) {
        return t->op == BRANCH || t->op == IF || t->op == CBRANCH || t->op == SWITCH;
    }

    int run_list() {
        std::vector<NODE *> code;
        std::map<long, size_t> labels;
        for (const LIST *s = program; s; s = s->next) code.insert(code.begin(), s->tree);
        for (size_t k = 0; k < code.size(); k++)
            if (code[k]->op == LABELDEF) labels[long(code[k]->u.lval.to_int64())] = k;
        for (size_t pc = 0; pc < code.size(); pc++) {
            NODE *t = code[pc];
            if (--steps < 0) throw OUT_OF_STEPS();
            if (t->op == URETURN) return 0;
            try {
                if (t->op == RETURN) return eval(t->right);
                if (transfers(t)) {
                    if (NODE *ref = taken(t)) pc = labels.at(long(ref->u.lval.to_int64()));
                } else if (t->op != LABELDEF) {
                    eval(t);
                }
            } catch (const THROWN &thrown) {
                int word = handler(thrown.region);
                if (word < 0) throw;
                pc = labels.at(word);
            }
        }
        return 0;
    }

    int run_graph() {
        const LIST *s = world.f->bb_list->statements;
        for (;;) {
            if (--steps < 0) throw OUT_OF_STEPS();
            if (s->tree->op == RETURN) return eval(s->tree->right);
            if (s->tree->op == URETURN) return 0;
            if (transfers(s->tree)) {
                s = taken(s->tree)->label->block->statements;
            } else {
                eval(s->tree);
                s = s->next;
            }
        }
    }
};

// What two runs did is the same, as far as both came.
inline bool same_log(std::vector<long> a, std::vector<long> b) {
    bool cut = a.back() == -1 || b.back() == -1;
    if (!cut) return a == b;
    if (a.back() == -1) a.pop_back();
    if (b.back() == -1) b.pop_back();
    size_t common = std::min(a.size(), b.size());
    a.resize(common);
    b.resize(common);
    return a == b;
}

// Random programs: pieces that each begin with a label, do something to be seen, and go anywhere.
struct PROGRAM_MAKER {
    cfg_world &world;
    std::mt19937 random;
    std::vector<SYMTAB *> vars;

    PROGRAM_MAKER(cfg_world &w, unsigned seed) : world(w), random(seed) {
        for (const char *name : {"a", "b", "c"}) vars.push_back(w.local(name));
    }
    int below(int n) { return int(random() % unsigned(n)); }
    SYMTAB *var() { return vars[size_t(below(int(vars.size())))]; }
    NODE *test() {
        switch (below(6)) {
        case 0: return world.I(below(2));
        case 1: // with an effect in front of the value
            return maketree(COMMAOP, mk_ASG(world.N(world.trace), world.N(var())),
                            world.B(LT, world.N(var()), world.I(below(50))), world.i, world.scope());
        case 2: return mk_ASG(world.N(var()), world.I(below(2)));
        default: return world.B(EQ, world.B(ANDB, world.N(var()), world.I(1 + below(3))), world.I(below(2)));
        }
    }
    // Every label from 1 to `pieces` exists. Without `effects` a piece is little more than its transfer.
    void make(int pieces, bool effects) {
        for (int k = 1; k <= pieces; k++) {
            world.label(k);
            if (below(8) == 0) world.label(pieces + k);
            if (effects && below(4)) world.note(k);
            if (effects && below(3))
                world.set(var(), world.B(PLUS, world.B(MULT, world.N(var()), world.I(3)), world.I(k)));
            auto anywhere = [&] { return 1 + below(pieces); };
            switch (below(10)) {
            case 0:
            case 1: world.jump(anywhere()); break;
            case 2: world.ret(world.N(var())); break;
            case 3: world.ret(); break;
            case 4: break; // on to the next
            case 5: {
                std::vector<std::pair<long long, int>> cases;
                for (int n = below(5); n > 0; n--) cases.push_back({int(cases.size()) * 2, anywhere()});
                world.switch_on(world.B(ANDB, world.N(var()), world.I(7)), cases, below(2) ? anywhere() : 0);
                break;
            }
            case 6:
                world.jump(anywhere());
                world.note(-k); // nothing leads here
                break;
            case 7: world.cbranch(test(), anywhere()); break;
            default: world.branch_if(test(), anywhere(), anywhere());
            }
        }
    }
};
