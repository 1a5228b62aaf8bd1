// Whole files: what the writer writes the reader reads, in all versions, in the order that both promise.
#include "support/fatal.h"
#include "tests/unit/ifile/if_testing.h"

#include <gtest/gtest.h>

#include <algorithm>

using testing::ExitedWithCode;

namespace {

// A file with every record that the writer has, with every operand field, through a client's makers.
struct SAMPLE {
    T_PKG package;
    T_CLIENT c;
    PSN here{"a.c", 1, 2}, there{"b.h", 300, 4};
    TYPE *int_type = package.p.int_type(), *uint_type = package.p.basic_int(IK_uint);
    TYPE *float_type = package.p.basic[BT_float], *void_type = package.p.void_type();
    TYPE *func_type = package.p.mk_func(void_type, std::vector<TYPE *>{});
    TYPE *record = package.p.mk_struct("S", 32, 32, false);
    T_SYM *f, *g, *h, *param, *local, *inner;

    SAMPLE() {
        record->add_mdata("a", int_type, 0);
        package.p.type_frozen(record);
        f = c.sym("f", func_type), g = c.sym("g", int_type), h = c.sym("h", func_type);
        param = c.sym("p", int_type), local = c.sym("x", record), inner = c.sym("y", float_type);
        f->psn = &here, f->cqual = 0xE001, g->psn = &there, g->value = 5, g->sclass = 3, g->policy = 2,
        g->option_set = 1;
        g->cpp_type = nullptr;
        c.add_pragma(g, PRAG_DATA_ALIGN, {"8"});
        c.add_pragma(g, PRAG_DATA_SECTION, {"", "text"});
        c.add_pragma(local, PRAG_UNUSED, {});
    }

    // Every operand field, as one argument list.
    T_NODE *all_operands() {
        T_NODE *field = c.node(FIELD, int_type);
        field->csu = record, field->member = record->find_mdata(1);
        T_NODE *no_field = c.node(FIELD, int_type);
        no_field->csu = record;
        T_NODE *call = c.node(UCALL, void_type, c.name(h));
        call->n[1] = 2;
        T_NODE *marked = c.node(DDNODE, int_type, c.name(g));
        marked->n[0] = 1, marked->n[1] = 300, marked->n[2] = 255;
        T_NODE *vreg = c.icon(-5, int_type), *skip = c.icon(200, void_type), *profile = c.icon(9, int_type);
        vreg->op = VREG, skip->op = SKIP, profile->op = EPVAL, profile->left = c.icon(-1, int_type);
        T_NODE *string = c.node(SCON, record);
        string->text = std::string("a\0b", 3);
        T_NODE *list = c.node(STDOT, int_type, c.name(local), field);
        for (T_NODE *n :
             {c.node(STDOT, int_type, c.name(local), no_field), c.node(NAME, int_type), c.name(param),
              c.icon(-1, uint_type), c.text(LCON, int_type, "-18446744073709551616"),
              c.text(FCON, float_type, "-0x1.8p+3"), string, call, marked, vreg, skip, profile,
              c.text(UICALL, int_type, "_nop"), c.text(MCALL, int_type, "_m", c.icon(1, int_type))})
            list = c.node(COMMA, nullptr, list, n);
        T_NODE *whole = c.node(CALL, void_type, c.name(h), list);
        whole->n[0] = 77, whole->n[1] = 1;
        return whole;
    }

    void write_body(I_FILE &o) {
        uint8_t flags[] = {1, 30};
        int8_t distances[] = {-3, 0};
        o.if_write_loop(1, 1, 1, 1, 1, 0xFFFF);
        o.if_write_loop(2, 1, 3, 1ull << 32, 1ull << 32, 2);
        o.if_write_dep_vector(0, 3, 2, flags, distances);
        o.if_write_dep_vector(1, 4, 0, nullptr, nullptr);
        o.if_write_dep_edge(1, 300, 1);
        o.if_enter_local(param);
        o.if_write_symbol(param);
        o.if_write_control(I_EA, &here);
        o.if_enter_local(local);
        o.if_write_symbol(local);
        o.if_write_end_locals(nullptr);
        o.if_write_func_info(76);
        o.if_write_ldspec_induct(1, 2, -3, int_type, local);
        o.if_write_ldspec_rand(2, 3, UINT32_MAX, uint_type, nullptr);
        o.if_write_ldspec_region(3, 4);
        o.if_write_inloop(2, param, 3);
        o.if_write_label(10);
        o.if_write_expr(all_operands(), &there);
        o.if_write_control(I_BB, nullptr);
        o.if_enter_local(inner);
        o.if_write_symbol(inner);
        o.if_write_end_locals(nullptr);
        o.if_write_expr(c.node(ASG, float_type, c.name(inner), c.name(inner)), nullptr);
        o.if_write_control(I_EB, nullptr);
        o.if_write_inloop(1, nullptr, 3);
        T_NODE *cases = c.node(CASE, nullptr, c.icon(1, int_type), c.label(10));
        cases = c.node(COMMA, nullptr, cases, c.node(CASE, nullptr, c.icon(2, int_type), c.label(10)));
        cases = c.node(COMMA, nullptr, cases, c.node(DEFAULT, nullptr, c.label(10)));
        T_NODE *choice = c.node(SWITCH, nullptr, c.name(param), cases);
        choice->n[0] = 55; // a stale count
        o.if_write_expr(choice, nullptr);
        EHT_ENTRY table[4];
        for (unsigned i = 0; i < 4; i++)
            table[i].id = i + 1, table[i].next = i, table[i].kind = EHT_ENTRY_KIND(i);
        table[1].cleanup = c.name(local);
        table[2].catches = {{"i", 10, true}, {"", 2000000000, false}};
        table[3].kind = EHK_CLEANUP; // one without a tree
        o.if_write_func_eht(table, 4);
        o.if_write_end_func(&there);
    }

    std::string write() {
        OPTION_SET sets[] = {{0, {"-O2", "-g"}}, {1, {}}};
        return written(package.p, [&](I_FILE &o) {
            for (OPTION_SET &set : sets) o.if_enter_option_set(set);
            for (T_SYM *s : {f, g, h}) o.if_enter_global(s);
            uint32_t words[5] = {1, 2, 3, 4, UINT32_MAX};
            PRAGMA pragma;
            pragma.number = PRAG_IDENT, pragma.args = {"id"};
            o.if_write_source("main.c");
            o.if_write_assembly(" nop", nullptr);
            o.if_write_pragma(&pragma);
            o.if_write_mbank(words);
            o.if_write_begin_func(f, &here);
            write_body(o);
            o.if_write_comment("between");
            o.if_write_init(g);
            o.if_write_expr_node(c.node(UAND, package.p.mk_ptr(int_type), c.name(g)));
            o.if_write_expr_node(c.node(ENDINIT, nullptr));
        });
    }
};

std::string lines_with(const std::string &log, const std::string &what) {
    std::string found;
    for (size_t from = 0, to; (to = log.find('\n', from)) != std::string::npos; from = to + 1)
        if (log.compare(from, what.size(), what) == 0) found += log.substr(from, to - from + 1);
    return found;
}

} // namespace

TEST(if_roundtrip, all_records_come_back) {
    THROWING throwing;
    std::string bytes = SAMPLE().write();
    T_READ r(bytes);
    const std::string &log = r.client.log;
    const char *expected[] = {
        "magic -71 'test'\noption_set 0: -O2 -g\noption_set 1:\nmerge_type_defs\nsymbol f#0@0 size 32 value "
        "0 class 2 "
        "cqual e001 type ",
        "symbol g#1@0 size 32 value 5 class 3 cqual 0 type int cpp - align 32 option set 1 policy 2 at "
        "b.h:300:4 "
        "pragma 1 '8' pragma 2 '' 'text'\n",
        "preprocess_statics\nsource main.c\nasm  nop\npragma 35 'id'\nmbank 1 2 3 4 4294967295\nbegin_func "
        "f#0@0 at "
        "a.c:1:2\nloop 1 in 1: 1..1 by 1 flags fe\nloop 2 in 1: 3..4294967295 by 1 flags 2\nvector 0 flags 3 "
        "1/-3 "
        "30/0\nvector 1 flags 4\nedge 1 to 300 by 1\nsymbol p#0@1 ",
        "\nend_args at a.c:1:2\nsymbol x#1@2 ",
        " pragma 50\nend_locals\nfunc_info 76\nldspec 1 induct 2 -3 int x#1@2\nldspec 2 rand 3 4294967295 "
        "unsigned "
        "-\nldspec 3 region 4\nin loop 2 flags 3 p#0@1\nlabel 10\nexpr CALL<void>[77 1 0](NAME",
        "\nbegin_block\nsymbol y#2@3 ",
        "\nend_locals\nexpr ASG<float>(NAME<float> y#2@3, NAME<float> y#2@3)\nend_block\nin loop 1 flags 0 "
        "-\nexpr "
        "SWITCH<->[2 0 0](",
        "\nfunc_eht 1:0>0/0 - 2:1>1/0 NAME<struct S> x#1@2 3:2>2/2 - i->10! ->2000000000 4:1>3/0 -\nend_func "
        "at "
        "b.h:300:4\ncomment between\n",
    };
    for (const char *part : expected) EXPECT_NE(log.find(part), std::string::npos) << part << "\nin\n" << log;
    EXPECT_EQ(lines_with(log, "init"), "init g#1@0; UAND<int *>(NAME<int> g#1@0); ENDINIT<->\n");
    const char *operands[] = {
        "STDOT<int>(NAME<struct S> x#1@2, FIELD<int> struct S.a)",
        "STDOT<int>(NAME<struct S> x#1@2, FIELD<int> struct S.-)",
        "NAME<int>)",
        "NAME<int> p#0@1)",
        "ICON<unsigned>[4294967295 0 0])",
        "LCON<int>-18446744073709551616)",
        "FCON<float>-0x1.8p+3)",
        "SCON<struct S>a\\00b)",
        "UCALL<void>[0 2 0](NAME",
        "DDNODE<int>[1 300 255](NAME",
        "VREG<int>[4294967291 0 0])",
        "SKIP<void>[200 0 0])",
        "EPVAL<int>[9 0 0](ICON<int>[4294967295 0 0 s])",
        "UICALL<int>_nop)",
        "MCALL<int>_m(ICON<int>[1 0 0 s])",
    };
    for (const char *part : operands) EXPECT_NE(log.find(part), std::string::npos) << part << "\nin\n" << log;
}

TEST(if_roundtrip, a_second_round_is_the_same_byte_for_byte) {
    THROWING throwing;
    std::string bytes = SAMPLE().write(), before;
    for (int round = 0; round < 3; round++) {
        T_READ r(bytes);
        before = std::exchange(bytes, written(r.package.p, [&](I_FILE &to) { r.client.replay(to); }));
        T_READ again(bytes);
        EXPECT_EQ(again.client.log, r.client.log);
    }
    EXPECT_EQ(bytes, before);
}

TEST(if_roundtrip, locations_say_where_bodies_and_initialisers_stand) {
    T_READ r(SAMPLE().write());
    auto location = [&](int index) { return r.file->globals()[size_t(index)]->sym_location(); };
    EXPECT_EQ(r.bytes[location(0)], I_BF);
    EXPECT_EQ(uint8_t(r.bytes[location(1)]), IF_INIT);
    EXPECT_EQ(location(1), r.file->area_offsets()[AREA_INIT]);
}

TEST(if_roundtrip, areas_stand_and_are_read_in_the_order_of_their_table) {
    T_READ r(SAMPLE().write());
    uint32_t before = 0;
    for (const IF_AREA_ROW &row : if_area_order) {
        uint32_t offset = r.file->area_offsets()[row.area];
        if (row.area <= AREA_MAIN) continue;
        EXPECT_GT(offset, before) << row.what;
        EXPECT_EQ(uint8_t(r.bytes[offset]), row.tag) << row.what;
        EXPECT_EQ(uint8_t(r.bytes[offset - 1]), IF_EOF) << row.what;
        before = offset;
    }
    // What tells that an area was read; types and names show in the symbols.
    std::pair<IF_AREA, const char *> marks[] = {
        {AREA_HEADER, "magic"},   {AREA_OPTIONS, "option_set"}, {AREA_TYPES, "merge_type_defs"},
        {AREA_GLOBALS, "symbol"}, {AREA_INIT, "init"},          {AREA_MAIN, "source"}};
    size_t at = 0;
    int position = -1;
    for (auto [area, mark] : marks) {
        auto row = std::find_if(std::begin(if_area_order), std::end(if_area_order),
                                [a = area](auto &candidate) { return candidate.area == a; });
        EXPECT_GT(row->read_position, position) << mark;
        position = row->read_position;
        size_t found = r.client.log.find(mark, at);
        ASSERT_NE(found, std::string::npos) << mark;
        at = found;
    }
}

TEST(if_roundtrip, an_empty_file_has_only_its_end_marks) {
    T_PKG *package = new T_PKG;
    std::string bytes = written(package->p, [](I_FILE &) {});
    delete package;
    size_t header = 2 + uint8_t(bytes[1]);
    EXPECT_EQ(bytes.substr(header), b({255, 255}));
    T_READ r(bytes);
    ASSERT_TRUE(r.file);
    EXPECT_EQ(r.client.log, "magic -71 'test'\nmerge_type_defs\npreprocess_statics\n");
    EXPECT_EQ(r.file->area_offsets()[AREA_GLOBALS], header + 1);
}

// Each version from the oldest to the newest has just the gated fields of the table: the sample made by hand leaves
// out what the version lacks, and a reader that took one byte more or less would refuse it.
TEST(if_roundtrip, every_version_is_read_with_its_fields) {
    THROWING throwing;
    for (int version = IF_OLDEST_VERSION - 1; version <= IF_VERSION + 1; version++) {
        RAW raw;
        raw.version = version;
        T_READ r(raw.build().bytes);
        bool good = IF_OLDEST_VERSION <= version && version <= IF_VERSION;
        ASSERT_EQ(r.file != nullptr, good) << version;
        if (!good) continue;
        EXPECT_EQ(r.file->extra_word(), version >= -83 ? 7u : 0u) << version;
        EXPECT_NE(r.client.log.find("symbol h#2@0"), std::string::npos);
    }
    // The writer has all of them but those that came and went.
    for (const IF_GATE_ROW &row : if_gates)
        EXPECT_EQ(row.last == IF_VERSION, std::string(row.what) != "array's ignored bool");
}

TEST(if_roundtrip, headers_of_others_are_refused_without_a_word) {
    struct {
        const char *what;
        std::function<void(RAW &)> change;
    } rows[] = {
        {"processor", [](RAW &r) { r.cpu = 401; }},
        {"magic", [](RAW &r) { r.magic[3] = 'I'; }},
        {"magic's end", [](RAW &r) { r.magic = "!<icode>\n!"; }},
        {"too short", [](RAW &r) { r.bytes.resize(20); }},
        {"empty", [](RAW &r) { r.bytes.clear(); }},
        {"wrong tag", [](RAW &r) { r.bytes[0] = 9; }},
        {"too long", [](RAW &r) { r.bytes[1]++; }},
    };
    for (auto &row : rows) {
        RAW raw;
        row.change(raw); // what goes into the file
        raw.build();
        row.change(raw); // the file itself
        testing::internal::CaptureStderr();
        T_READ r(raw.bytes);
        EXPECT_FALSE(r.file) << row.what;
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    }
    RAW raw;
    T_CLIENT unwilling;
    unwilling.magic_answer = false;
    EXPECT_EQ(I_FILE::if_open(open_bytes(raw.build().bytes), &unwilling), nullptr);
}

TEST(if_roundtrip, integer_comparisons_of_floats_become_float_comparisons) {
    struct {
        int file, memory;
    } rows[] = {{EQ, FEQ},  {NEQ, FNEQN}, {LE, FLE},  {ULE, FLE}, {LT, FLT},
                {ULT, FLT}, {GE, FGE},    {UGE, FGE}, {GT, FGT},  {UGT, FGT}};
    std::string i = node(ICON, 2, b({1})), f = node(FCON, 4, z("0x0p+0"));
    for (auto &row : rows)
        for (auto &[left, right] : {std::pair{i, f}, {f, i}, {f, f}, {i, i}}) {
            RAW raw;
            raw.body = statement(node(row.file, 2) + left + right);
            T_READ r(raw.build().bytes);
            EXPECT_EQ(r.client.tree->base_op(), left == i && right == i ? row.file : row.memory);
        }
}

TEST(if_roundtrip, pragmas_of_a_symbol_set_its_policy) {
    struct {
        int pragma, policy;
    } rows[] = {
        {PRAG_SYM_IS_DEAD, 3}, {PRAG_SYM_IS_REFERENCED, 1}, {PRAG_FUNC_EXT_CALLED, 1}, {PRAG_INLINE, 2}};
    for (auto &row : rows) {
        RAW raw;
        raw.globals =
            symbol("v", {.pragmas = 1, .policy = 2}) + rec(IF_PRAGMA, u(uint32_t(row.pragma)) + u(0));
        T_READ r(raw.build().bytes);
        EXPECT_EQ(r.file->globals()[3]->policy, row.policy) << row.pragma;
    }
}

TEST(if_roundtrip, trees_may_be_a_million_levels_deep) {
    constexpr int DEPTH = 1000000;
    enum { LEFT, RIGHT, BOTH };
    for (int shape : {LEFT, RIGHT, BOTH}) {
        std::string bytes;
        {
            T_PKG package;
            T_CLIENT c;
            TYPE *t = package.p.int_type();
            T_SYM *f = c.sym("f", package.p.mk_func(t, std::vector<TYPE *>{}));
            T_NODE *tree = c.icon(0, t);
            for (int i = 0; i < DEPTH; i++) {
                bool left = shape == LEFT || (shape == BOTH && i % 2);
                tree = left ? c.node(PLUS, t, tree, c.icon(i, t)) : c.node(PLUS, t, c.icon(i, t), tree);
            }
            bytes = written(package.p, [&](I_FILE &o) {
                o.if_enter_global(f);
                o.if_write_begin_func(f, nullptr);
                o.if_write_control(I_EA, nullptr);
                o.if_write_end_locals(nullptr);
                o.if_write_expr(tree, nullptr);
                o.if_write_end_func(nullptr);
            });
        }
        T_READ r(bytes, true, true);
        int depth = 0;
        auto *n = static_cast<T_NODE *>(r.client.tree);
        for (; n->op == PLUS; depth++) {
            auto *l = static_cast<T_NODE *>(n->left), *deeper = static_cast<T_NODE *>(n->right);
            bool left = shape == LEFT || (shape == BOTH && (DEPTH - 1 - depth) % 2);
            if (left) std::swap(l, deeper);
            if (l->n[0] != uint32_t(DEPTH - 1 - depth)) break;
            n = deeper;
        }
        EXPECT_EQ(depth, DEPTH);
    }
}

TEST(if_roundtrip, single_functions_are_read_and_skipped) {
    THROWING throwing;
    RAW raw;
    raw.after =
        rec(IF_COMMENT, z("c")) + rec(I_BF, b({0, 2})) + rec(I_EA, u(0)) + rec(I_EL, u(0)) + rec(I_EF, u(0));
    T_READ r(raw.build().bytes, false);
    I_FILE &f = *r.file;
    f.if_read_file_names(), f.if_read_type_defs(), f.if_read_globals();
    uint32_t start = f.if_tell();
    r.client.log.clear();
    f.if_skip_func();
    EXPECT_TRUE(f.if_read_record());
    EXPECT_EQ(r.client.log, "comment c\n");
    uint32_t second = f.if_tell();
    f.if_read_func(0);
    EXPECT_FALSE(f.if_read_record());
    for (uint32_t at : {start, second, second}) { // again and again
        r.client.log.clear();
        f.if_read_func(at);
        EXPECT_EQ(r.client.log.find(at == second ? "begin_func h" : "begin_func f"), 0u) << r.client.log;
        EXPECT_NE(r.client.log.find("end_func"), std::string::npos);
    }
    EXPECT_TRUE(f.if_check_lengths());
    EXPECT_TRUE(f.if_read_magic());
}

TEST(if_roundtrip, an_unknown_tag_is_reported_by_its_frame) {
    RAW raw;
    raw.body = rec(IF_LABEL, u(1)) + rec(200, "abc");
    T_READ r(raw.build().bytes, false);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(r.file->if_check_lengths());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              format(">>I-file error:@%u,id=200,sz=3,prev [@%u,id=42,sz=1]\n", raw.at + 3, raw.at));
}

TEST(if_roundtrip, pieces_are_copied_raw) {
    RAW raw;
    raw.before = rec(IF_COMMENT, z("copied"));
    raw.globals = symbol("v", {.pragmas = 1}) + rec(IF_PRAGMA, u(35) + u(1) + z("id"));
    T_READ r(raw.build().bytes);
    uint32_t from = 0, to = 0, end = 0;
    std::string copy = written(r.package.p, [&](I_FILE &o) {
        from = o.if_tell();
        r.file->if_copy_raw(raw.at, uint32_t(raw.before.size()), &o);
        to = o.if_tell();
        r.file->if_copy_symbols(&o);
        end = o.if_tell();
    });
    EXPECT_EQ(copy.substr(from, to - from), raw.before);
    EXPECT_EQ(copy.substr(to, end - to) + char(IF_EOF), raw.bytes.substr(raw.offsets[AREA_GLOBALS]));
}

TEST(if_roundtrip, a_full_disk_is_told_at_the_close) {
    FILE *full = fopen("/dev/full", "w+b");
    if (!full) GTEST_SKIP() << "no device that is always full";
    T_PKG package;
    I_FILE *f = I_FILE::if_create(full, &package.p, "test");
    for (int i = 0; i < 100000; i++) f->if_write_comment("a line of text");
    EXPECT_TRUE(f->if_close(false, false));
}

TEST(if_roundtrip, faults_of_the_program_that_writes_end_it) {
    struct {
        std::function<void(I_FILE &, T_CLIENT &, TYPE *)> write;
        const char *text;
    } rows[] = {
        {[](I_FILE &f, T_CLIENT &c, TYPE *t) { f.if_write_expr_node(c.name(c.sym("lost", t))); },
         "^>> Symbol lost is not in the symbol table\nclosed\n$"},
        {[](I_FILE &f, T_CLIENT &c, TYPE *t) { f.if_write_expr_node(c.node(PLUS, t, c.icon(1, t))); },
         "terminated"},
        {[](I_FILE &f, T_CLIENT &c, TYPE *t) { f.if_write_expr_node(c.node(IF, t)); }, "terminated"},
        {[](I_FILE &f, T_CLIENT &c, TYPE *) { f.if_write_expr_node(c.icon(1, nullptr)); }, "terminated"},
        {[](I_FILE &f, T_CLIENT &, TYPE *) { f.if_write_dep_vector(0, 0, 256, nullptr, nullptr); },
         "^\n\n   !!! DDVECT too big:  256 elements !!!\n"},
        {[](I_FILE &, T_CLIENT &, TYPE *) { if_enter_node(201, "x", 0); },
         "^\nINTERNAL ERROR: Invalid opcode, aborting\n"},
    };
    T_PKG package;
    T_CLIENT client;
    for (auto &row : rows)
        EXPECT_EXIT(
            {
                dup2(2, 1);
                register_fatal_closer([] { puts("closed"), fflush(stdout); });
                written(package.p, [&](I_FILE &f) { row.write(f, client, package.p.int_type()); });
            },
            ExitedWithCode(1), row.text);
}

TEST(if_roundtrip, the_tables_of_opcodes_and_pragmas_are_whole) {
    if_node_table_init();
    int rows = 0;
    for (int id = 0; id < FIRST_NON_FILE_OP; id++) {
        if (!if_node_info[id].name) continue;
        EXPECT_EQ(if_node_info[id].id, id);
        EXPECT_LE(if_node_info[id].arity, 2);
        rows++;
    }
    EXPECT_EQ(rows, 116);
    EXPECT_STREQ(PRAGMA::name(69), "COMDAT GROUP");
    EXPECT_STREQ(PRAGMA::name(125), "NO_NLC");
    EXPECT_STREQ(PRAGMA::name(126), "unknown");
    EXPECT_STREQ(PRAGMA::name(-1), "unknown");
}
