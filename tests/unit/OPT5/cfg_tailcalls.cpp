#include "tests/unit/OPT5/cfg_world.h"

namespace {

// A function of `n` int parameters p0, p1, ...: the incoming ones (level 1), their variables (level 2) and the prolog
// that moves the one to the other.
struct cfg_tailcalls : cfg_world {
    std::vector<SYMTAB *> in, p;
    LIST *source = nullptr;

    ~cfg_tailcalls() override { erase_tree_list(source); }

    void begin(int n, TYPE *type = nullptr, bool vararg = false) {
        begin_function(tp->mk_func(i, std::vector<TYPE *>(size_t(n), type ? type : i), vararg));
        in.clear();
        p.clear();
        NODE *prolog = nullptr;
        for (int k = 0; k < n; k++) {
            std::string name = "p" + std::to_string(k);
            in.push_back(local(name.c_str(), type, 1, SC_PARM));
            p.push_back(local(name.c_str(), type));
            NODE *asg = mk_ASG(N(p.back()), N(in.back()));
            prolog = prolog ? maketree(PCOMMA, prolog, asg, i, scope()) : asg;
        }
        if (prolog) add(prolog);
    }
    NODE *P(int k) { return N(p[size_t(k)]); }
    NODE *passed(NODE *value) { return maketree(ACONV, value, nullptr, value->type, scope()); }

    // if (p0 == 0) return what the parameters are;
    void stop_at_zero() {
        branch_if(B(EQ, P(0), I(0)), 1, 2);
        label(1);
        NODE *result = I(0);
        for (SYMTAB *s : p) result = B(PLUS, B(MULT, result, I(1000)), N(s));
        ret(result);
        label(2);
        note(7);
    }
    void build_and_keep() {
        erase_tree_list(source);
        source = copy_statements(f->statements);
        seq_trees();
        build();
        expect_sound("built");
    }
    bool calls_itself() {
        for (BBLK *b = f->bb_list; b; b = b->dflink)
            for (LIST *s = b->statements; s; s = s->next)
                if (find_self(s->tree)) return true;
        return false;
    }
    bool find_self(NODE *t) {
        if (!t) return false;
        if ((t->op == CALL || t->op == UCALL) && t->left->left->u.sym == self) return true;
        return find_self(t->left) || find_self(t->right);
    }
    int temporaries() {
        int n = 0;
        for (SYMTAB *s = f->temporaries; s; s = s->next) n++;
        return n;
    }
    void expect_same_runs(const std::vector<int> &start) {
        std::map<const SYMTAB *, int> v;
        for (size_t k = 0; k < in.size(); k++) v[in[k]] = start[k];
        MACHINE before(*this);
        before.program = source;
        std::vector<long> a = before.run(v), b = MACHINE(*this).run(v);
        EXPECT_EQ(a, b);
        EXPECT_NE(a.back(), -1) << "the program does not end";
    }
};

TEST_F(cfg_tailcalls, arguments_take_their_places_as_if_at_once) {
    using ARGS = std::vector<NODE *>;
    struct ROW {
        const char *what;
        ARGS (*args)(cfg_tailcalls &);
        int temporaries;
    } rows[] = {
        {"apart",
         [](cfg_tailcalls &t) {
             return ARGS{t.B(MINUS, t.P(0), t.I(1)), t.I(5), t.P(2)};
         },
         0},
        {"swap",
         [](cfg_tailcalls &t) {
             return ARGS{t.B(MINUS, t.P(0), t.I(1)), t.P(2), t.P(1)};
         },
         1},
        {"rotate",
         [](cfg_tailcalls &t) {
             return ARGS{t.B(MINUS, t.P(1), t.I(3)), t.P(2), t.B(MINUS, t.P(0), t.I(1))};
         },
         1},
        {"chain",
         [](cfg_tailcalls &t) {
             return ARGS{t.B(MINUS, t.P(0), t.I(1)), t.P(0), t.P(1)};
         },
         0},
        {"sums of all",
         [](cfg_tailcalls &t) {
             return ARGS{t.B(MINUS, t.P(0), t.I(1)), t.B(PLUS, t.P(1), t.P(2)), t.B(PLUS, t.P(1), t.P(0))};
         },
         1},
        {"a call among them",
         [](cfg_tailcalls &t) {
             return ARGS{t.B(MINUS, t.P(0), t.I(1)), t.call(t.ext, {t.P(2)}), t.P(1)};
         },
         1},
    };
    for (ROW &row : rows) {
        SCOPED_TRACE(row.what);
        for (bool in_return : {true, false}) {
            begin(3);
            stop_at_zero();
            ARGS args = row.args(*this);
            for (NODE *&a : args) a = passed(a);
            if (in_return) {
                ret(call(self, args));
            } else {
                add(call(self, args));
                ret();
            }
            build_and_keep();
            EXPECT_FALSE(calls_itself());
            EXPECT_EQ(temporaries(), row.temporaries);
            EXPECT_EQ(f->bb_list->preds, nullptr);
            // A rotation ends where its parameters meet zero.
            if (in_return) expect_same_runs({4, row.temporaries ? 7 : 2, 9});
            simpcfg(false, false);
            expect_sound("cleaned");
            if (in_return) expect_same_runs({4, row.temporaries ? 7 : 2, 9});
        }
    }
}

TEST_F(cfg_tailcalls, random_arguments_give_the_same_results) {
    for (unsigned seed = 1; seed <= 300 && !HasFailure(); seed++) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        auto below = [&](int n) { return int(random() % unsigned(n)); };
        int n = 2 + below(4);
        begin(n);
        stop_at_zero();
        std::vector<NODE *> args{passed(B(MINUS, P(0), I(1)))};
        for (int k = 1; k < n; k++) {
            NODE *a = P(below(n));
            if (below(3) == 0) a = B(PLUS, a, P(below(n)));
            if (below(4) == 0) a = call(ext, {a});
            args.push_back(passed(a));
        }
        ret(call(self, args));
        build_and_keep();
        EXPECT_FALSE(calls_itself());
        std::vector<int> start(size_t(n), 3);
        for (int k = 1; k < n; k++) start[size_t(k)] = k * 11;
        expect_same_runs(start);
    }
}

TEST_F(cfg_tailcalls, a_function_without_parameters_goes_round) {
    begin(0);
    set(trace, B(PLUS, N(trace), I(1)));
    branch_if(B(LT, N(trace), I(5)), 1, 2);
    label(1);
    ret(call(self, {}));
    label(2);
    ret(N(trace));
    build_and_keep();
    EXPECT_FALSE(calls_itself());
    EXPECT_EQ(f->bb_list->preds, nullptr);
    expect_same_runs({});
}

// What makes a frame that is not dead, or parameters that are more than variables: the call must stay.
TEST_F(cfg_tailcalls, what_needs_its_frame_keeps_its_call) {
    struct ROW {
        const char *what;
        void (*make)(cfg_tailcalls &);
        bool goes;
    } rows[] = {
        {"nothing of all this", [](cfg_tailcalls &) {}, true},
        {"low optimization level",
         [](cfg_tailcalls &) { file_options->setopt(OO_OPT_LEVEL, long(ENUM_OPT_LEVEL_1)); }, false},
        {"address of a local taken", [](cfg_tailcalls &t) { t.f->local_address_taken = true; }, false},
        {"volatile parameter", [](cfg_tailcalls &t) { t.p[1]->type = tp->mk_qual(t.i, QUAL_volatile); },
         false},
        {"a const parameter may change",
         [](cfg_tailcalls &t) { t.p[1]->type = tp->mk_qual(t.i, QUAL_const); }, true},
        {"incoming parameter used in the body", [](cfg_tailcalls &t) { t.set(t.trace, t.N(t.in[1])); },
         false},
        {"a call that returns twice",
         [](cfg_tailcalls &t) { t.add(t.call(t.global("_setjmp", t.ext->type), {t.I(1)})); }, false},
        {"a call of something else",
         [](cfg_tailcalls &t) { t.add(t.call(t.global("setjumper", t.ext->type), {t.I(1)})); }, true},
    };
    for (ROW &row : rows) {
        SCOPED_TRACE(row.what);
        file_options->setopt(OO_OPT_LEVEL, long(ENUM_OPT_LEVEL_2));
        begin(2);
        stop_at_zero();
        row.make(*this);
        ret(call(self, {passed(B(MINUS, P(0), I(1))), passed(B(PLUS, P(1), I(2)))}));
        build_and_keep();
        EXPECT_EQ(!calls_itself(), row.goes);
        if (row.goes) { EXPECT_FALSE(p[1]->type->is_const()); }
    }
}

TEST_F(cfg_tailcalls, calls_that_are_not_in_the_place_or_shape_stay) {
    struct ROW {
        const char *what;
        void (*make)(cfg_tailcalls &);
    } rows[] = {
        {"value changed before the return",
         [](cfg_tailcalls &t) {
             t.ret(t.B(PLUS, t.call(t.self, {t.P(0), t.P(1)}), t.I(1)));
         }},
        {"something follows",
         [](cfg_tailcalls &t) {
             t.add(t.call(t.self, {t.P(0), t.P(1)})), t.note(3), t.ret();
         }},
        {"too few arguments", [](cfg_tailcalls &t) { t.ret(t.call(t.self, {t.P(0)})); }},
        {"too many arguments",
         [](cfg_tailcalls &t) {
             t.ret(t.call(t.self, {t.P(0), t.P(1), t.I(2)}));
         }},
        {"no arguments", [](cfg_tailcalls &t) { t.ret(t.call(t.self, {})); }},
        {"an argument of another kind",
         [](cfg_tailcalls &t) {
             NODE *d = maketree(SCONV, t.P(1), nullptr, tp->basic[BT_double], t.scope());
             t.ret(t.call(t.self, {t.P(0), d}));
         }},
        {"an argument that writes a parameter",
         [](cfg_tailcalls &t) {
             t.ret(t.call(t.self, {mk_ASG(t.P(1), t.I(3)), t.I(4)}));
         }},
        {"a local by reference",
         [](cfg_tailcalls &t) {
             NODE *ref = maketree(ARGREF, t.P(0), nullptr, tp->mk_ptr(t.i), t.scope());
             t.ret(t.call(t.self, {t.P(0), ref}));
         }},
        {"a numbered call site",
         [](cfg_tailcalls &t) {
             NODE *c = t.call(t.self, {t.P(0), t.P(1)});
             c->u.lval = INT65(4);
             t.ret(c);
         }},
        {"another function",
         [](cfg_tailcalls &t) {
             t.ret(t.call(t.ext, {t.P(0)}));
             t.add(t.call(t.self, {}));
         }},
    };
    for (ROW &row : rows) {
        SCOPED_TRACE(row.what);
        begin(2);
        stop_at_zero();
        row.make(*this);
        f->eht_size = 2;
        build_and_keep();
        bool stays = calls_itself();
        for (BBLK *b = f->bb_list; b; b = b->dflink)
            if (b->succs) { EXPECT_GT(b->succs->block->dfn, b->dfn) << "a loop"; }
        if (strcmp(row.what, "another function")) { EXPECT_TRUE(stays); }
    }
}

TEST_F(cfg_tailcalls, a_restricted_pointer_keeps_its_call_unless_it_is_passed_on) {
    TYPE *pointer = tp->mk_qual(tp->mk_ptr(i), QUAL_restrict);
    for (bool same : {true, false}) {
        begin(2, pointer);
        ret(call(self, {P(0), same ? P(1) : P(0)}));
        build_and_keep();
        EXPECT_EQ(calls_itself(), !same);
    }
}

TEST_F(cfg_tailcalls, variadic_functions_keep_their_calls) {
    begin(1, i, true);
    stop_at_zero();
    ret(call(self, {passed(B(MINUS, P(0), I(1)))}));
    build_and_keep();
    EXPECT_TRUE(calls_itself());
}

} // namespace
