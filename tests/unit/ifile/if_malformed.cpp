// Damaged files: each kind of damage has its message and its place, and no byte makes the reader fall.
#include "support/fatal.h"
#include "tests/unit/ifile/if_testing.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sys/wait.h>

using testing::ExitedWithCode;

namespace {

std::string refusal(const std::string &bytes) {
    THROWING throwing;
    try {
        T_READ r(bytes);
        return r.file ? "read" : "no intermediate file";
    } catch (const BAD_FILE &bad) { return bad.text; }
}

std::string at(uint32_t byte, const std::string &text) {
    return format("x: malformed at byte %u: ", byte) + text;
}
bool refused_somewhere(const std::string &text) { return text.find("byte ") != std::string::npos; }

std::string eht(int id, int kind, int next, int count = 0) {
    return rec(IF_EHT_ENTRY, b({id, kind, next, count}));
}

const std::string icon = node(ICON, 2, b({1}));
const std::string bf = rec(I_BF, b({0, 2})), ea = rec(I_EA, u(0)), el = rec(I_EL, u(0)), ef = rec(I_EF, u(0));
const std::string bb = rec(I_BB, u(0)), eb = rec(I_EB, u(0));
const std::string loop = rec(IF_LOOP, b({1, 1, 1, 1, 1, 0, 0})), vector0 = rec(IF_DEP_VECTOR, b({0, 0, 0}));
const std::string choice(int count) {
    return statement(node(SWITCH, 0, b({count})) + icon + node(COMMA, 0) + node(CASE, 0) + icon +
                     node(LABEL, 0, u(1)) + node(CASE, 0) + icon + node(LABEL, 0, u(1)));
}

struct ROW {
    std::string RAW::*where;
    std::string bytes;
    uint32_t at; // from the beginning of `bytes`
    const char *text;
};

// A statement's head takes three bytes; a record's fields begin two bytes behind its tag, a node's operand four.
const ROW rows[] = {
    // frames
    {&RAW::before, rec(99, ""), 0, "a record of tag 99 in the main stream"},
    {&RAW::before, rec(IF_EHT_CATCH, ""), 0, "a record of tag 63 in the main stream"},
    {&RAW::before, rec(IF_COMMENT, z("c") + "x"), 0, "1 bytes left over in the record"},
    {&RAW::before, rec(IF_COMMENT, "c"), 2, "a string without end"},
    {&RAW::after, b({255}), 1, "1 bytes behind the end of the main stream"},
    // nesting of control records
    {&RAW::before, ef, 0, "end of a function record outside a function"},
    {&RAW::before, rec(IF_LABEL, u(1)), 0, "label record outside a function"},
    {&RAW::before, statement(icon), 0, "statement record outside a function"},
    {&RAW::before, loop, 0, "loop record outside a function"},
    {&RAW::before, rec(IF_EHT, u(1)), 0, "exception table record outside a function"},
    {&RAW::args, bf, 0, "begin of a function record among the arguments"},
    {&RAW::args, el, 0, "end of locals record among the arguments"},
    {&RAW::args, statement(icon), 0, "statement record among the arguments"},
    {&RAW::locals, ea, 0, "end of arguments record among the locals"},
    {&RAW::locals, bb, 0, "begin of a block record among the locals"},
    {&RAW::locals, ef, 0, "end of a function record among the locals"},
    {&RAW::body, el, 0, "second end of locals"},
    {&RAW::body, bb + el + el, 6, "second end of locals"},
    {&RAW::body, symbol("s", {}), 0, "symbol behind the end of locals"},
    {&RAW::body, bb + el + symbol("s", {}), 6, "symbol behind the end of locals"},
    {&RAW::body, eb, 0, "end of a block where none is open"},
    {&RAW::body, bb + bb + ef, 6, "2 blocks are open"},
    {&RAW::after, bf + ea + el, 10, "the main stream ends within a function"},
    {&RAW::after, ef, 0, "end of a function record outside a function"},
    {&RAW::after, rec(I_BF, b({0, 1})), 0, "function body of symbol 1, which is no function"},
    {&RAW::after, rec(I_BF, b({0, 3})), 0, "global symbol 3 where there are 3"},
    {&RAW::after, rec(I_BF, b({0, 0})), 0, "second body of function 0"},
    {&RAW::before, rec(IF_IR_BEGIN, b({0, 0, 0, 0, 0})) + statement(icon), 7,
     "statement record in an instruction function"},
    {&RAW::before, rec(IF_IR_END, u(0)), 0, "end of instructions record outside a function"},
    // expressions
    {&RAW::body, rec(IF_STATEMENT, u(0)) + eb, 3, "a record of tag 4 where an expression should be"},
    {&RAW::body, statement(node(UMINUS, 2)) + eb, 7, "a record of tag 4 where an expression should be"},
    {&RAW::body, statement(node(28, 2)), 3, "opcode 28"},
    {&RAW::body, statement(node(164, 2)), 3, "opcode 164"},
    {&RAW::body, statement(node(ICON, 99, u(1))), 0, nullptr}, // the type package's words
    {&RAW::body, statement(node(ICON, 0, u(1))), 6, "ICON without a type"},
    {&RAW::body, statement(node(PLUS, 0) + icon + icon), 6, "PLUS without a type"},
    {&RAW::body, statement(node(NAME, 2, b({0, 3}))), 3, "global symbol 3 where there are 3"},
    {&RAW::body, statement(node(NAME, 2, b({2, 1}))), 3, "local symbol 1 where there are 1"},
    {&RAW::body, statement(node(NAME, 2, b({1, 0}))), 3, "local symbol 0 at level 1, but it is of level 2"},
    {&RAW::after, node(NAME, 2, b({2, 0})), 0, "a local symbol outside a function"},
    {&RAW::body, statement(node(LABEL, 0, u(0))), 7, "label number 0"},
    {&RAW::body, statement(node(LABEL, 0, u(0x80000000))), 7, "label number 2147483648"},
    {&RAW::body, rec(IF_LABEL, u(0)), 0, "label number 0"},
    {&RAW::body, rec(IF_LABEL, u(0x80000000)), 0, "label number 2147483648"},
    {&RAW::body, statement(node(SCON, 2, u(4) + "abc")), 7, "a count of 4 where 3 bytes are left"},
    {&RAW::body, statement(node(SCON, 2, u(2) + "abc")), 3, "1 bytes left over in the record"},
    {&RAW::body, statement(node(FIELD, 2, b({2, 1, 6}))), 7, "FIELD of kind 2"},
    {&RAW::body, statement(node(FIELD, 2, b({1, 1, 2}))), 9, "FIELD of type 2, which is no record"},
    {&RAW::body, statement(node(FIELD, 2, b({1, 1, 0}))), 9, "FIELD of type 0, which is no record"},
    {&RAW::body, statement(node(UICALL, 2, z(""))), 7, "a built-in without a name"},
    {&RAW::body, choice(1), 3, "SWITCH of 1 cases, but 2 are there"},
    {&RAW::body, choice(3), 3, "SWITCH of 3 cases, but 2 are there"},
    {&RAW::body, statement(node(ENDINIT, 0)), 3, "ENDINIT outside an initialiser"},
    {&RAW::body, statement(node(UMINUS, 2) + node(ENDINIT, 0)), 7, "ENDINIT within a tree"},
    {&RAW::after, node(ENDINIT, 0), 0, "ENDINIT outside an initialiser"},
    // loops, dependences, load speculation
    {&RAW::body, loop + loop, 9, "loop 1 twice"},
    {&RAW::body, rec(IF_LOOP, b({2, 1, 1, 1, 1, 0, 0})), 0, "loop 2 lies in loop 1, which is not there"},
    {&RAW::body, rec(IF_INLOOP, b({1, 0x7F, 0x7F, 0})), 0, "blocks of loop 1, which is not there"},
    {&RAW::body, loop + rec(IF_INLOOP, b({1, 2, 1, 0})), 9, "local symbol 1 where there are 1"},
    {&RAW::body, loop + rec(IF_INLOOP, b({1, 0x7F, 0, 0})), 9, "control variable 0 of level -1"},
    {&RAW::body, vector0 + vector0, 5, "dependence vector 0 where 1 should come"},
    {&RAW::body, rec(IF_DEP_VECTOR, b({0, 16, 0})), 0, "dependence vector with flags 16"},
    {&RAW::body, rec(IF_DEP_VECTOR, b({0, 4, 1, 1, 1})), 0, "dependence vector with flags 4"},
    {&RAW::body, rec(IF_DEP_VECTOR, b({0, 0, 1, 32, 0})), 0,
     "dependence element with flags 32 and distance 0"},
    {&RAW::body, rec(IF_DEP_VECTOR, b({0, 0, 1, 8, 1})), 0, "dependence element with flags 8 and distance 1"},
    {&RAW::body, rec(IF_DEP_VECTOR, b({0, 0, 2, 8, 0})), 7, "the record ends within a field of 1 byte"},
    {&RAW::body, vector0 + rec(IF_DEP_EDGE, b({1, 2, 1})), 5, "dependence vector 1 where there are 1"},
    {&RAW::body, rec(IF_LDSPEC, b({1, 3, 1})), 0, "load speculation of form 3"},
    {&RAW::body, rec(IF_LDSPEC, b({1, 0, 1, 1, 2, 2, 1})), 0, "local symbol 1 where there are 1"},
    {&RAW::body, rec(IF_LDSPEC, b({1, 0, 1, 1, 2, 0x7E, 1})), 0, "a symbol of level -2"},
    // exception tables
    {&RAW::body, rec(IF_EHT, u(0)), 0, "exception table of 0 entries"},
    {&RAW::body, rec(IF_EHT, u(1000000)), 0, "exception table of 1000000 entries"},
    {&RAW::body, rec(IF_EHT, u(2)) + eht(1, 0, 0) + eb, 9,
     "a record of tag 4 where an entry of the exception table should be"},
    {&RAW::body, rec(IF_EHT, u(1)) + eht(1, 0, 0) + eht(2, 0, 0), 9, "a record of tag 91 in the main stream"},
    {&RAW::body, rec(IF_EHT, u(1)) + eht(1, 6, 0), 3, "exception table entry of kind 6"},
    {&RAW::body, rec(IF_EHT, u(1)) + eht(0, 0, 0), 3, "exception table entry with id 0"},
    {&RAW::body, rec(IF_EHT, u(2)) + eht(1, 0, 0) + eht(1, 3, 0), 0, "exception table entry 1 twice"},
    {&RAW::body, rec(IF_EHT, u(1)) + eht(1, 0, 2), 0,
     "exception table entry 1 is followed by 2, which is not there"},
    {&RAW::body, rec(IF_EHT, u(1)) + eht(1, 1, 0) + eb, 9,
     "a record of tag 4 where the cleanup of an exception table entry should be"},
    {&RAW::body, rec(IF_EHT, u(1)) + eht(1, 2, 0, 2) + rec(IF_EHT_CATCH, z("t") + b({1, 0})), 3,
     "2 catches where 4 bytes are left"},
    {&RAW::body, rec(IF_EHT, u(1)) + eht(1, 2, 0, 1) + rec(IF_EHT_CATCH, z("t") + b({1, 0, 0})), 9,
     "1 bytes left over in the record"},
    {&RAW::body, rec(IF_EHT, u(1)) + eht(1, 0, 0) + rec(IF_EHT, u(1)), 9,
     "second exception table of a function"},
    // symbols and pragmas
    {&RAW::globals, rec(IF_COMMENT, z("c")), 0, "a record of tag 47 in the global symbol area"},
    {&RAW::globals, symbol("s", {.type = 0}), 0, "a symbol without a type"},
    {&RAW::globals, symbol("s", {.sclass = -1}), 0, "storage class -1"},
    {&RAW::globals, symbol("s", {.pragmas = -1}), 0, "-1 pragmas"},
    {&RAW::globals, symbol("s", {.pragmas = 1}), 17,
     "a record of tag 255 where a pragma of the symbol should be"},
    {&RAW::globals, symbol("s", {.option_set = 1}), 0, "option set 1 where there are 0"},
    {&RAW::globals, symbol("s", {.policy = 4}), 0, "policy 4"},
    {&RAW::before, rec(IF_PRAGMA, u(256) + u(0)), 0, "pragma number 256"},
    {&RAW::before, rec(IF_PRAGMA, u(1) + u(300)), 3, "a count of 300 where 0 bytes are left"},
    // the other areas
    {&RAW::options, rec(IF_OPTIONS, b({1, 0})), 0, "option set 1 where there are 1"},
    {&RAW::options, rec(IF_OPTIONS, b({0, 0})) + rec(IF_OPTIONS, b({0, 0})), 0, "option set 0 twice"},
    {&RAW::options, rec(IF_OPTIONS, b({0, 4}) + z("-g")), 3, "a count of 4 where 3 bytes are left"},
    {&RAW::options, rec(IF_SYMBOL, ""), 0, "a record of tag 35 in the option area"},
    {&RAW::files, rec(IF_COMMENT, z("c")), 0, "a record of tag 47 in the file-name area"},
    {&RAW::types, rec(IF_SYMBOL, ""), 0, "a record of tag 35 in the type area"},
    {&RAW::types, rec(IF_TYPE, b({9, 20, 1, 0, 1, 0, 0})), 0, nullptr}, // a function whose list never comes
    {&RAW::before, rec(IF_TYPE, b({9, 20, 1, 0, 1, 0, 0})) + rec(IF_COMMENT, z("c")), 0, nullptr},
    {&RAW::init, rec(IF_INIT, u(3)), 0, "global symbol 3 where there are 3"},
    {&RAW::init, rec(IF_INIT, u(0)), 0, "initialiser of function 0"},
    {&RAW::init, rec(IF_INIT, u(1)) + icon, 8, "a record of tag 255 where an expression should be"},
    {&RAW::init, rec(IF_INIT, u(1)) + node(ENDINIT, 0) + rec(IF_INIT, u(1)), 7,
     "second initialiser of symbol 1"},
    {&RAW::init, icon, 0, "a record of tag 101 in the initialiser area"},
    {&RAW::init, rec(IF_INIT, u(1)) + node(NAME, 2, b({2, 0})), 3, "a local symbol outside a function"},
};

} // namespace

TEST(if_malformed, each_damage_has_its_message_and_place) {
    EXPECT_EQ(refusal(RAW().build().bytes), "read");
    for (const ROW &row : rows) {
        RAW raw;
        raw.*row.where = row.bytes;
        std::string text = refusal(raw.build().bytes);
        if (row.text) EXPECT_EQ(text, at(raw.at + row.at, row.text)) << "row " << &row - rows;
        else EXPECT_TRUE(refused_somewhere(text)) << text << " in row " << &row - rows;
    }
}

TEST(if_malformed, good_neighbours_of_the_damages_are_read) {
    std::pair<std::string RAW::*, std::string> good[] = {
        {&RAW::body, bb + symbol("s", {}) + el + eb + bb + statement(icon) + symbol("s", {}) + eb},
        {&RAW::body, choice(2)},
        {&RAW::body, loop + rec(IF_LOOP, b({2, 1, 0, 0, 0, 0, 0})) + rec(IF_INLOOP, b({2, 0x7F, 0x7F, 0}))},
        {&RAW::body, statement(node(LABEL, 0, u(0x7FFFFFFF)))},
        {&RAW::body, statement(node(CALL, 0, b({0, 0})) + icon + icon)},
        {&RAW::body, rec(IF_EHT, u(2)) + eht(7, 0, 0) + eht(1, 3, 7, 300)},
        {&RAW::args, rec(IF_TYPE, b({9, 20, 1, 0, 1, 0, 0})) + rec(IF_TYPE, b({9, 254, 0})) +
                         rec(IF_TYPE, b({9, 255, 0}))},
        {&RAW::before,
         rec(IF_IR_BEGIN, b({1, 0x7F, 3, 4, 0})) + rec(IF_IR_INS, u(0) + "any bytes") + rec(IF_IR_END, u(0))},
        {&RAW::before, symbol("s", {}) + node(NAME, 2, b({0, 3}))},
        {&RAW::before, rec(IF_PRAGMA, u(255) + u(1) + z(""))},
        {&RAW::init, rec(IF_INIT, u(1)) + node(ENDINIT, 0)},
    };
    for (auto &[where, bytes] : good) {
        RAW raw;
        raw.*where = bytes;
        EXPECT_EQ(refusal(raw.build().bytes), "read") << &where - &good[0].first;
    }
}

TEST(if_malformed, texts_of_numbers) {
    struct {
        int op;
        const char *text;
        bool good;
    } texts[] = {
        {LCON, "0", true},
        {LCON, "-1", true},
        {LCON, "18446744073709551615", true},
        {LCON, "18446744073709551616", false},
        {LCON, "-18446744073709551616", true},
        {LCON, "-18446744073709551617", false},
        {LCON, "-184467440737095516160", false},
        {LCON, "99999999999999999999", false},
        {LCON, "", false},
        {LCON, "-", false},
        {LCON, "1x", false},
        {LCON, "+1", false},
        {FCON, "0x1.8p+3", true},
        {FCON, "-0x0p+0", true},
        {FCON, "0x1p-1074", true},
        {FCON, "inf", true},
        {FCON, "-inf", true},
        {FCON, "nan", true},
        {FCON, "0x1.p+3", false},
        {FCON, "0x1.8", false},
        {FCON, "0x1p", false},
        {FCON, "0x1p+", false},
        {FCON, "0x1p+100000", false},
        {FCON, "0x1p+3 ", false},
        {FCON, "1.5", false},
        {FCON, "infinite", false},
        {FCON, "", false},
    };
    for (auto &row : texts) {
        RAW raw;
        raw.body = statement(node(row.op, row.op == LCON ? 2 : 4, z(row.text)));
        std::string text = refusal(raw.build().bytes);
        EXPECT_EQ(text == "read", row.good) << row.text << ": " << text;
        if (row.good) continue;
        EXPECT_EQ(
            text.find(at(raw.at + 7, format("the text of an %s is no", row.op == LCON ? "LCON" : "FCON"))),
            0u)
            << text;
    }
}

TEST(if_malformed, offsets_of_the_header_are_checked) {
    RAW whole;
    whole.files = rec(IF_SOURCE, z("a.c"));
    whole.build();
    auto size = uint32_t(whole.bytes.size());
    uint32_t types = whole.offsets[AREA_TYPES], files = whole.offsets[AREA_FILES];
    struct {
        IF_AREA area;
        uint32_t offset;
        std::string text; // empty: any
    } changes[] = {
        {AREA_GLOBALS, 0, at(0, "no global symbol area: the file was not finished")},
        {AREA_GLOBALS, size, at(0, "the global symbol area begins behind the end of the file")},
        {AREA_GLOBALS, files, at(0, "the global symbol area begins within what stands before it")},
        {AREA_TYPES, 1, at(0, "the type area begins within what stands before it")},
        {AREA_TYPES, files + 1, at(0, "the file-name area begins within what stands before it")},
        {AREA_TYPES, types + 4, ""},
        {AREA_FILES, files - 1, ""},
        {AREA_FILES, 0,
         at(files, format("%u bytes behind the end of the type area", whole.offsets[AREA_GLOBALS] - files))},
    };
    for (auto &change : changes) {
        RAW raw = whole;
        raw.offsets[change.area] = change.offset;
        raw.bytes.replace(0, raw.header().size(), raw.header());
        std::string text = refusal(raw.bytes);
        if (change.text.empty()) EXPECT_TRUE(refused_somewhere(text)) << text;
        else EXPECT_EQ(text, change.text);
    }
    EXPECT_EQ(refusal(whole.bytes + "x"), at(size, "1 bytes behind the end of the global symbol area"));
}

TEST(if_malformed, the_default_answer_is_a_line_and_status_1) {
    RAW raw;
    raw.body = rec(IF_LABEL, u(0));
    raw.build();
    EXPECT_EXIT(
        {
            register_fatal_closer([] { fputs("closed\n", stderr); });
            T_READ r(raw.bytes);
        },
        ExitedWithCode(1), "^x: malformed at byte [0-9]+: label number 0\nclosed\n$");
}

namespace {

// Reads `count` variants of a file, each made by `variant`, in child processes: a variant may end its process with
// status 1, as the type package does, but by no signal and in no time. Gives the number of variants that were read.
int survivors(uint32_t count, const std::function<std::string(uint32_t)> &variant) {
    int read = 0;
    for (uint32_t next = 0; next < count;) {
        int link[2];
        if (pipe(link)) return -1;
        pid_t child = fork();
        if (!child) {
            if (!freopen("/dev/null", "w", stdout) || !freopen("/dev/null", "w", stderr)) _exit(2);
            for (uint32_t i = next; i < count; i++) {
                alarm(20);
                char mark[5] = {char(i), char(i >> 8), char(i >> 16), char(i >> 24), 0};
                if (::write(link[1], mark, 4) != 4) _exit(2);
                mark[4] = refusal(variant(i)) == "read";
                if (::write(link[1], mark + 4, 1) != 1) _exit(2);
            }
            _exit(0);
        }
        close(link[1]);
        FILE *in = fdopen(link[0], "rb");
        uint8_t mark[5];
        size_t got;
        uint32_t last = next;
        while ((got = fread(mark, 1, 5, in)) >= 4) {
            last = uint32_t(mark[0] | mark[1] << 8 | mark[2] << 16 | mark[3] << 24);
            if (got == 5) read += mark[4];
        }
        fclose(in);
        int status;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) <= 1)
            << "variant " << last << " status " << status;
        next = last + 1;
    }
    return read;
}

std::string sample() {
    RAW raw;
    raw.options = rec(IF_OPTIONS, b({0, 1}) + z("-g"));
    raw.files = rec(IF_SOURCE, z("a.c"));
    raw.init = rec(IF_INIT, u(1)) + icon + node(ENDINIT, 0);
    raw.before = rec(IF_SOURCE, z("m.c")) + rec(IF_ASSEMBLY, z("nop") + u(0)) +
                 rec(IF_PRAGMA, b({35, 1}) + z("id")) + rec(IF_MBANK, b({1, 2, 3, 4, 5})) +
                 rec(IF_IR_BEGIN, b({1, 2, 3, 4, 0})) + rec(IF_IR_INS, b({1, 2, 3, 9})) +
                 rec(IF_IR_END, u(0));
    raw.args = loop + rec(IF_DEP_VECTOR, b({0, 3, 2, 1, 5, 8, 0})) + rec(IF_DEP_EDGE, b({1, 2, 0})) +
               symbol("p", {});
    std::string operands = node(STDOT, 2) + node(NAME, 6, b({2, 1})) + node(FIELD, 2, b({1, 1, 6}));
    for (auto &leaf : {node(LCON, 2, z("-5")), node(FCON, 4, z("0x1p+0")), node(SCON, 2, u(3) + "abc"),
                       node(UICALL, 2, z("b")), node(VREG, 2, b({5})), node(SKIP, 1, b({8})),
                       node(UCALL, 1, b({1})) + icon, node(DDNODE, 2, b({1, 2, 3})) + icon,
                       node(EPVAL, 2, b({1})) + icon, node(LE, 2) + icon + icon})
        operands = node(COMMA, 0) + operands + leaf;
    raw.body = rec(IF_FUNC_INFO, b({76})) + rec(IF_LDSPEC, b({1, 0, 1, 1, 2, 2, 1})) +
               rec(IF_INLOOP, b({1, 2, 1, 0})) + rec(IF_LABEL, u(1)) +
               statement(node(CALL, 1, b({1, 1})) + icon + operands) + choice(2) + bb +
               symbol("s", {.pragmas = 1}) + rec(IF_PRAGMA, b({50, 0})) + el + rec(IF_COMMENT, z("c")) + eb +
               rec(IF_EHT, u(3)) + eht(1, 0, 0) + eht(2, 1, 1) + statement(icon) + eht(3, 2, 2, 1) +
               rec(IF_EHT_CATCH, z("t") + b({1, 0}));
    return raw.build().bytes;
}

} // namespace

TEST(if_malformed, no_prefix_of_a_file_is_read) {
    std::string whole = sample();
    ASSERT_EQ(refusal(whole), "read");
    EXPECT_EQ(survivors(uint32_t(whole.size()), [&](uint32_t i) { return whole.substr(0, i); }), 0);
}

// Every byte in turn takes its one-bit neighbours and the extremes; QL_FUZZ=1 tries all values.
TEST(if_malformed, no_wrong_byte_makes_the_reader_fall) {
    std::string whole = sample();
    bool all = getenv("QL_FUZZ");
    uint32_t values = all ? 255 : 10;
    auto variant = [&](uint32_t i) {
        std::string bytes = whole;
        char &c = bytes[i / values];
        uint32_t v = i % values;
        if (all) c = char(c ^ (v + 1));
        else if (v < 8) c = char(c ^ (1 << v));
        else c = char(v == 8 ? 0 : 255);
        return bytes;
    };
    uint32_t count = uint32_t(whole.size()) * values;
    int read = survivors(count, variant);
    // Most bytes are structure; some are free numbers and texts.
    EXPECT_GT(read, 0);
    EXPECT_LT(uint32_t(read), count / 2);
}
