// Whole files through the optimizer's reader and writer: what is refused, what a function becomes, and in which
// records it is written.
#include "OPT5/cfg.h"
#include "OPT5/files.h"
#include "OPT5/flags.h"
#include "OPT5/funinfo.h"
#include "OPT5/optab.h"
#include "OPT5/read.h"
#include "OPT5/readexpr.h"
#include "OPT5/scopes.h"
#include "OPT5/symtab.h"
#include "OPT5/write.h"
#include "options/optobj.h"
#include "tests/unit/forgotten.h"
#include "tests/unit/ifile/if_testing.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

// Writes a small input. Each part is a piece of a function "_f" between fixed ends.
struct INPUT : T_CLIENT {
    T_PKG package;
    TYPE *i, *v, *p;
    T_SYM *f, *g, *callee;
    std::vector<std::function<void(I_FILE &)>> globals_, steps;

    INPUT() {
        TYPE_PKG &pkg = package.p;
        i = pkg.basic_int(IK_int), v = pkg.void_type(), p = pkg.mk_ptr(i);
        f = function("_f", v), g = global("_g", i), callee = function("_callee", v);
        callee->sclass = 5;
    }
    T_SYM *global(const char *name_, TYPE *type) {
        T_SYM *s = sym(name_, type);
        globals_.push_back([s](I_FILE &file) { file.if_enter_global(s); });
        return s;
    }
    T_SYM *function(const char *name_, TYPE *result) {
        return global(name_, package.p.mk_func(result, std::vector<TYPE *>()));
    }
    void step(std::function<void(I_FILE &)> s) { steps.push_back(std::move(s)); }
    T_SYM *declare(const char *name_, TYPE *type, int sclass) {
        T_SYM *s = sym(name_, type);
        s->sclass = sclass;
        s->size = uint32_t(type->size), s->align = type->align;
        step([s](I_FILE &file) {
            file.if_enter_local(s);
            file.if_write_symbol(s);
        });
        return s;
    }
    void begin(T_SYM *function_ = nullptr) {
        T_SYM *s = function_ ? function_ : f;
        step([s](I_FILE &file) { file.if_write_begin_func(s, nullptr); });
    }
    void control_(int tag) {
        step([tag](I_FILE &file) {
            if (tag == I_EL) file.if_write_end_locals(nullptr);
            else if (tag == I_EF) file.if_write_end_func(nullptr);
            else file.if_write_control(tag, nullptr);
        });
    }
    void head() { begin(), control_(I_EA), control_(I_EL); }
    void st(BASE_NODE *tree_) {
        step([tree_](I_FILE &file) { file.if_write_expr(tree_, nullptr); });
    }
    void lab(int n) {
        step([n](I_FILE &file) { file.if_write_label(n); });
    }
    T_NODE *L(int n) { return label(uint32_t(n)); }
    T_NODE *set(int value) { return node(ASG, i, name(g), icon(value, i)); } // _g = value
    T_NODE *branch(int to) { return node(BRANCH, v, L(to)); }
    T_NODE *cbranch(BASE_NODE *c, int to) { return node(CBRANCH, v, c, L(to)); }
    T_NODE *call(unsigned eh = 0) {
        T_NODE *n = node(UCALL, v, node(UAND, package.p.mk_ptr(callee->type), name(callee)));
        n->n[1] = eh;
        return n;
    }
    T_NODE *ret() { return node(URETURN, v, name(f)); }
    std::string bytes() {
        return written(package.p, [this](I_FILE &file) {
            for (auto &s : globals_) s(file);
            for (auto &s : steps) s(file);
        });
    }
};

std::string bytes_of(const std::function<void(INPUT &)> &fill) {
    INPUT in;
    fill(in);
    return in.bytes();
}

// A run: reads with the optimizer's client, writes every function without a pass in between.
struct RUN {
    TYPE_PKG package;
    option_obj options;
    std::string input, output;
    I_FILE *reader = nullptr;

    // `between` is called when everything is read and nothing written.
    explicit RUN(
        std::string bytes, const std::function<void()> &between = [] {})
        : input(std::move(bytes)) {
        TYPE_PKG::abi = 0;
        init_type_pkg(&package);
        tp = &package;
        reset_global_flags();
        file_options = &options;
        all_option_sets = {&options};
        init_opcode_tables();
        init_types();
        init_symbols();
        functions.clear();
        currfunc = nullptr;
        currfuninfo = nullptr;
        curr_scope = nullptr;
        lex = 0;
        output = written(package, [&](I_FILE &out) {
            o_file = &out;
            reader = i_file = I_FILE::if_open(open_bytes(input), opt_client(), "x");
            reader->if_type_init(&package);
            reader->if_read_file();
            between();
            write_all();
            o_file = nullptr;
        });
    }
    ~RUN() {
        if (reader) reader->if_close(false, true);
        i_file = o_file = nullptr;
        file_options = nullptr;
        all_option_sets.clear();
        while (SYMTAB *s = global_symbols) {
            global_symbols = s->next;
            erase_symbol(s);
        }
        init_symbols();
        erase_all_FUNINFOs();
        tp = nullptr;
    }
    void write_all() {
        for (SYMTAB *s : functions) {
            current_function work(make_FUNINFO(s));
            write_func_header();
            for (BBLK *bb = currfuninfo->bb_list; bb; bb = bb->dflink)
                for (LIST *st = bb->statements; st; st = st->next) st->tree = remove_implicit_state(st->tree);
            write_func_body();
            erase_all();
        }
        for (SYMTAB *s = global_symbols; s; s = s->next) revert_symbol_type(s);
    }
};

std::string run(const std::function<void(INPUT &)> &fill) {
    std::string in = bytes_of(fill);
    return RUN(in).output;
}

// The lines of a file from its first function on, up to the end of the last.
std::string body_log(const std::string &bytes) {
    T_READ read(bytes);
    std::string &log = read.client.log;
    size_t from = log.find("begin_func");
    return from == std::string::npos ? log : log.substr(from);
}
std::string body(const std::function<void(INPUT &)> &fill) { return body_log(run(fill)); }

// What a refused input is refused for; "" when it is accepted.
std::string refusal(const std::function<void(INPUT &)> &fill) {
    std::string in = bytes_of(fill);
    THROWING throwing;
    forgotten what_it_held;
    std::string said;
    try {
        RUN r(in);
    } catch (const BAD_FILE &bad) { said = bad.text; }
    i_file = o_file = nullptr;
    all_option_sets.clear();
    file_options = nullptr;
    tp = nullptr;
    return said;
}

// What was said must hold the expected text, and be nothing when nothing is expected.
bool says(const std::string &said, const char *expected) {
    return *expected ? said.find(expected) != std::string::npos : said.empty();
}

struct REFUSAL_ROW {
    std::function<void(INPUT &)> fill;
    const char *said;
};

TEST(client_files, what_only_the_program_can_see_is_refused) {
    auto with_body = [](std::function<void(INPUT &)> middle) {
        return [middle](INPUT &in) {
            in.head();
            middle(in);
            in.control_(I_EF);
        };
    };
    const REFUSAL_ROW rows[] = {
        {with_body([](INPUT &in) { in.st(in.set(1)); }), ""},
        {with_body([](INPUT &in) { in.st(in.node(PLUS, in.i, in.icon(1, in.i), in.name(in.callee))); }),
         "function _f: PLUS: expected a number or pointer"},
        {with_body([](INPUT &in) { in.st(in.branch(5)); }), "function _f: label 5 is never defined"},
        {with_body([](INPUT &in) {
             in.lab(5), in.st(in.set(1)), in.lab(5);
             in.st(in.branch(5));
         }),
         "function _f: label 5 is defined twice"},
        {with_body([](INPUT &in) { in.st(in.call(3)); }),
         "calls name an exception table that it does not have"},
        {[](INPUT &in) {
             in.begin();
             in.declare("a", in.i, 1);
             in.control_(I_EA), in.control_(I_EL), in.control_(I_EF);
         },
         "symbol 'a' among the arguments is none"},
        {[](INPUT &in) {
             in.begin(), in.control_(I_EA);
             in.declare("s", in.i, 3);
             in.control_(I_EL), in.control_(I_EF);
         },
         "storage class"},
        {[](INPUT &in) {
             in.begin(), in.control_(I_EA);
             in.declare("s", in.i, 1)->size = 16;
             in.control_(I_EL), in.control_(I_EF);
         },
         "another size than its type"},
        {[](INPUT &in) { // nor may a qualifier change it
             in.begin(), in.control_(I_EA);
             in.declare("s", in.package.p.mk_qual(in.i, QUAL_volatile, 64, 64), 1);
             in.control_(I_EL), in.control_(I_EF);
         },
         "another size than its type"},
        {[](INPUT &in) {
             in.begin(), in.control_(I_EA);
             in.declare("local", in.f->type, 1)->size = 32;
             in.control_(I_EL), in.control_(I_EF);
         },
         "a function inside a function"},
        {[](INPUT &in) { in.global("_bad", in.i)->sclass = 100; }, "unknown storage class"},
        {[](INPUT &in) {
             T_NODE *end = in.node(ENDINIT, in.v);
             T_NODE *value = in.call();
             in.step([&in, value, end](I_FILE &file) {
                 file.if_write_init(in.g);
                 file.if_write_expr_node(value);
                 file.if_write_expr_node(end);
             });
         },
         "initialiser of '_g': UCALL in an initialiser"},
    };
    for (auto &row : rows) {
        std::string said = refusal(row.fill);
        EXPECT_TRUE(says(said, row.said)) << said << ", expected: " << row.said;
        EXPECT_TRUE(says(said, *row.said ? "malformed at byte " : "")) << said;
    }
}

// --- exception tables ---

struct ENTRY {
    unsigned id, kind, next;
    int catch_label = 0;
};

void table(INPUT &in, std::vector<ENTRY> entries) {
    std::vector<EHT_ENTRY> eht;
    for (const ENTRY &e : entries) {
        EHT_ENTRY &entry = eht.emplace_back();
        entry.id = e.id, entry.kind = EHT_ENTRY_KIND(e.kind), entry.next = e.next;
        if (e.kind == EHK_CATCH) entry.catches.push_back({"std::x", e.catch_label, false});
        entry.count = unsigned(entry.catches.size());
        if (e.kind == EHK_CLEANUP) entry.cleanup = in.call();
    }
    in.step([eht](I_FILE &file) mutable { file.if_write_func_eht(eht.data(), unsigned(eht.size())); });
}

TEST(client_files, exception_tables_must_lead_to_their_root) {
    struct {
        std::vector<ENTRY> entries;
        unsigned call;
        const char *said;
    } rows[] = {
        {{{1, 0, 0}, {2, 1, 1}}, 2, ""},
        {{{7, 1, 3}, {3, 0, 0}}, 7, ""}, // ids are mapped to positions
        {{{1, 1, 2}, {2, 0, 0}}, 1, "entry 1 is not the root"},
        {{{1, 0, 0}, {2, 0, 1}}, 2, "entry 2 is a second root"},
        {{{1, 0, 0}, {2, 1, 3}, {3, 1, 2}}, 2, "leads to itself"},
        {{{1, 0, 0}, {2, 1, 0}}, 2, "entry 2 does not lead to the root"},
        {{{1, 0, 0}, {2, 1, 1}}, 9, "a call names entry 9, which does not exist"},
        {{{1, 0, 0}, {2, 2, 1, 44}}, 2, "label 44 of exception table entry 2 is never defined"},
    };
    for (auto &row : rows) {
        std::string said = refusal([&](INPUT &in) {
            in.head();
            in.st(in.call(row.call));
            table(in, row.entries);
            in.control_(I_EF);
        });
        EXPECT_TRUE(says(said, row.said)) << said << ", expected: " << row.said;
    }
}

// --- what comes back ---

TEST(client_files, records_of_a_function_stand_in_their_order) {
    EXPECT_EQ(body([](INPUT &in) {
                  in.head();
                  in.st(in.set(1));
                  in.st(in.ret());
                  in.control_(I_EF);
              }),
              "begin_func _f#0@0\nend_args\nend_locals\nfunc_info 76\n"
              "expr ASG<int>(NAME<int> _g#1@0, ICON<int>[1 0 0 s])\n"
              "expr URETURN<void>(NAME<void (void)> _f#0@0)\nend_func\n");
}

TEST(client_files, the_first_branch_to_what_follows_goes_and_its_label_stays_if_needed) {
    auto function_with = [](bool jumps_back) {
        return body([jumps_back](INPUT &in) {
            in.head();
            in.st(in.branch(3));
            in.lab(3);
            in.st(in.set(1));
            if (jumps_back) in.st(in.cbranch(in.name(in.g), 3));
            in.st(in.ret());
            in.control_(I_EF);
        });
    };
    std::string straight = function_with(false), loop = function_with(true);
    EXPECT_EQ(straight.find("BRANCH"), std::string::npos) << straight;
    EXPECT_EQ(straight.find("label"), std::string::npos) << straight;
    EXPECT_NE(loop.find("label 1\nexpr ASG"), std::string::npos) << loop;
    EXPECT_NE(loop.find("CBRANCH<void>(NAME<int> _g#1@0, LABEL<void>[1 0 0])"), std::string::npos) << loop;
}

// if (g) g = 1; else g = 2;  in both layouts: one jump, one fall through, the sense of the test as it was.
TEST(client_files, a_branch_falls_through_to_the_next_block) {
    std::string text = body([](INPUT &in) {
        in.head();
        in.st(in.cbranch(in.name(in.g), 1));
        in.st(in.set(1));
        in.st(in.branch(2));
        in.lab(1);
        in.st(in.set(2));
        in.lab(2);
        in.st(in.call());
        in.st(in.ret());
        in.control_(I_EF);
    });
    EXPECT_EQ(text.substr(text.find("expr")),
              "expr CBRANCH<void>(NAME<int> _g#1@0, LABEL<void>[1 0 0])\n"
              "expr ASG<int>(NAME<int> _g#1@0, ICON<int>[1 0 0 s])\n"
              "expr BRANCH<void>(LABEL<void>[2 0 0])\n"
              "label 1\n"
              "expr ASG<int>(NAME<int> _g#1@0, ICON<int>[2 0 0 s])\n"
              "label 2\n"
              "expr UCALL<void>(UAND<void (*)(void)>(NAME<void (void)> _callee#2@0))\n"
              "expr URETURN<void>(NAME<void (void)> _f#0@0)\nend_func\n");
}

TEST(client_files, a_test_of_a_pointer_is_written_as_a_test_for_zero) {
    std::string text = body([](INPUT &in) {
        T_SYM *q = in.global("_q", in.p);
        in.head();
        in.lab(1);
        in.st(in.set(1));
        in.st(in.cbranch(in.name(q), 3)); // falls through while there is an object
        in.st(in.set(2));
        in.lab(3);
        in.st(in.cbranch(in.name(q), 2)); // loops while there is one
        in.st(in.branch(1));
        in.lab(2);
        in.st(in.ret());
        in.control_(I_EF);
    });
    EXPECT_NE(text.find("CBRANCH<void>(NEQ<int>(NAME<int *> _q#3@0, ICON<int>), LABEL"), std::string::npos)
        << text;
    EXPECT_NE(text.find("CBRANCH<void>(EXCLAIM<int>(NAME<int *> _q#3@0), LABEL"), std::string::npos) << text;
}

// A label takes the hint along: where the layout turns a branch round, what is expected of its test turns too.
TEST(client_files, what_is_expected_of_a_branch_turns_with_it) {
    for (int most : {0, 1}) {
        std::string text = body([most](INPUT &in) {
            auto expect = [&in, most](BASE_NODE *test) {
                T_NODE *n = in.node(ICALL, in.i, in.node(COMMA, in.v, test, in.icon(most, in.i)));
                n->text = "__builtin_expect";
                return n;
            };
            in.head();
            in.st(in.cbranch(expect(in.node(GT, in.i, in.name(in.g), in.icon(3, in.i))), 3));
            in.st(in.set(2));
            in.lab(3);
            in.lab(1);
            in.st(in.set(1));
            in.st(in.cbranch(expect(in.node(LT, in.i, in.name(in.g), in.icon(5, in.i))), 2));
            in.st(in.branch(1));
            in.lab(2);
            in.st(in.ret());
            in.control_(I_EF);
        });
        auto written = [&text](const char *test, int value) {
            size_t at = text.find(test);
            std::string tail = at == std::string::npos ? "" : text.substr(at, text.find('\n', at) - at);
            EXPECT_NE(tail.find(value ? "ICON<long>[1 " : "ICON<long>)"), std::string::npos) << text;
        };
        written("GE<int>(NAME<int> _g#1@0, ICON<int>[4", most);
        written("GE<int>(NAME<int> _g#1@0, ICON<int>[5", 1 - most);
    }
}

TEST(client_files, texts_keep_their_places_and_the_optimizers_own_comments_go) {
    std::string bytes = run([](INPUT &in) {
        in.step([](I_FILE &file) {
            file.if_write_assembly(" .global x", nullptr);
            file.if_write_comment("kept");
            file.if_write_comment("; dropped");
        });
        in.head();
        in.step([](I_FILE &file) { file.if_write_assembly(" nop", nullptr); });
        in.step([](I_FILE &file) { file.if_write_comment("here"); });
        in.step([](I_FILE &file) { file.if_write_comment(";gone"); });
        in.st(in.ret());
        in.control_(I_EF);
    });
    std::string log = T_READ(bytes).client.log;
    EXPECT_NE(log.find("asm  .global x\ncomment kept\nbegin_func"), std::string::npos) << log;
    EXPECT_NE(log.find("asm  nop\ncomment here\nexpr URETURN"), std::string::npos) << log;
}

TEST(client_files, symbols_come_back_as_they_were_declared) {
    std::string text = body([](INPUT &in) {
        TYPE_PKG &pkg = in.package.p;
        TYPE *alias = pkg.mk_typedef("word", false, in.i);
        T_SYM *f2 = in.global("_f2", pkg.mk_func(in.v, {in.i, alias}));
        in.begin(f2);
        in.declare("first", in.i, 9);
        in.declare("second", alias, 27);
        in.control_(I_EA);
        T_SYM *outer = in.declare("outer", pkg.mk_qual(in.i, QUAL_const), 4);
        in.control_(I_EL);
        in.control_(I_BB);
        T_SYM *inner = in.declare("inner", pkg.mk_qual(alias, QUAL_const), 1);
        in.control_(I_EL);
        in.st(in.node(ASG, inner->type, in.name(inner), in.name(outer)));
        in.control_(I_EB);
        in.st(in.node(URETURN, in.v, in.name(f2)));
        in.control_(I_EF);
    });
    EXPECT_NE(text.find("symbol first#0@1 size 32 value 0 class 9 cqual 0 type int"), std::string::npos)
        << text;
    EXPECT_NE(text.find("symbol second#1@1 size 32 value 0 class 27 cqual 0 type word"), std::string::npos)
        << text;
    EXPECT_NE(text.find("symbol outer#2@2 size 32 value 0 class 1 cqual 0 type const int"), std::string::npos)
        << text;
    // An object of an inner block is set whenever the block is entered.
    EXPECT_NE(text.find("symbol inner#3@2 size 32 value 0 class 1 cqual 0 type word "), std::string::npos)
        << text;
}

TEST(client_files, catches_keep_their_calls_and_entries_nobody_needs_go) {
    std::string text = body([](INPUT &in) {
        in.head();
        in.st(in.call(4));
        in.st(in.ret());
        in.lab(9);
        in.st(in.set(9));
        in.st(in.ret());
        // 2 and 3 serve no call; 5 only ends a region.
        table(in, {{1, 0, 0}, {2, 1, 1}, {3, 5, 1}, {4, 3, 6}, {6, 2, 1, 9}});
        in.control_(I_EF);
    });
    EXPECT_NE(text.find("func_eht 1:0>0/0 - 2:2>1/1 - std::x->1"), std::string::npos) << text;
    EXPECT_NE(text.find("UCALL<void>[0 2 0]"), std::string::npos) << text;
    EXPECT_NE(text.find("label 1\nexpr ASG<int>(NAME<int> _g#1@0, ICON<int>[9 0 0 s])"), std::string::npos)
        << text;
}

TEST(client_files, code_behind_a_call_that_never_returns_is_not_written) {
    std::string in = bytes_of([](INPUT &in) {
        in.head();
        in.st(in.cbranch(in.name(in.g), 2));
        in.st(in.call());
        in.lab(1);
        in.st(in.branch(1));
        in.lab(2);
        in.st(in.ret());
        in.control_(I_EF);
    });
    auto mark = [] { make_FUNINFO(find_global_symbol("_callee"))->flags |= FUN_never_returns; };
    std::string text = body_log(RUN(in, mark).output);
    EXPECT_NE(text.find("UCALL"), std::string::npos) << text;
    EXPECT_EQ(text.find("expr BRANCH"), std::string::npos) << text;
}

// The hidden pointer to the result of a function is never null and never changes; saying so twice would pile up.
TEST(client_files, the_hidden_result_pointer_is_noted_once) {
    auto fill = [](INPUT &in) {
        TYPE_PKG &pkg = in.package.p;
        TYPE *record = pkg.mk_struct("R", 32, 32, false);
        record->add_mdata("x", in.i, 0);
        pkg.type_frozen(record);
        TYPE *to_record = pkg.mk_ptr(record);
        T_SYM *maker = in.global("_maker", pkg.mk_func(in.v, {to_record}));
        in.add_pragma(maker, PRAG_FUNC_RET_BY_CCTOR, {});
        in.begin(maker);
        T_SYM *from = in.declare("$result", to_record, 9);
        in.control_(I_EA);
        T_SYM *to = in.declare("$result", to_record, 1);
        in.control_(I_EL);
        in.st(in.node(ASG, to_record, in.name(to), in.name(from)));
        in.st(in.node(URETURN, in.v, in.name(maker)));
        in.control_(I_EF);
    };
    std::string once = run(fill), twice = RUN(once).output;
    auto count = [](const std::string &text) {
        size_t n = 0;
        for (size_t at = 0; (at = text.find("NASSERT", at)) != std::string::npos; at++) n++;
        return n;
    };
    EXPECT_EQ(count(body_log(once)), 1u) << body_log(once);
    EXPECT_EQ(count(body_log(twice)), 1u);
    EXPECT_NE(body_log(once).find("type struct R *const"), std::string::npos) << body_log(once);
}

// Initial values that nobody changes are known.
TEST(client_files, constant_objects_have_known_values) {
    std::string in = bytes_of([](INPUT &in) {
        TYPE_PKG &pkg = in.package.p;
        for (auto [name, quals] :
             {std::pair{"_fixed", QUAL_const + 0}, {"_open", 0}, {"_moving", QUAL_const | QUAL_volatile}}) {
            T_SYM *s = in.global(name, quals ? pkg.mk_qual(in.i, unsigned(quals)) : in.i);
            T_NODE *value = in.icon(5, in.i), *end = in.node(ENDINIT, in.v);
            in.step([s, value, end](I_FILE &file) {
                file.if_write_init(s);
                file.if_write_expr_node(value);
                file.if_write_expr_node(end);
            });
        }
    });
    std::string found;
    RUN(in, [&found] {
        for (const char *name : {"_fixed", "_open", "_moving"})
            found += std::string(name) + (find_global_symbol(name)->known_init ? " known " : " unknown ");
    });
    EXPECT_EQ(found, "_fixed known _open unknown _moving unknown ");
}

} // namespace
