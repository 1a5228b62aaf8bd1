// The table of descriptors: what each target has, how descriptors are made, linked, printed, and which calls of the
// interface end the run.
#include "tests/unit/OPT5/bif_world.h"

#include "OPT5/symwiden.h"
#include "support/dbgout.h"
#include "typepkg/type_merge.h"

#include <cstdio>
#include <set>
#include <sstream>

using testing::ExitedWithCode;

namespace {

struct bif_table : bif_world {
    // What a function writes to the debug stream at that level.
    template <class F> std::string debug_text(int level, F &&f) {
        char *text = nullptr;
        size_t size = 0;
        FILE *before = fdebug;
        fdebug = open_memstream(&text, &size);
        print_debug = level;
        f();
        print_debug = 0;
        fclose(fdebug);
        fdebug = before;
        std::string result(text, size);
        free(text);
        return result;
    }
    BIF *bif(const char *name) { return find_BIF_descriptor(name); }
};

std::vector<std::string> words(const char *text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

} // namespace

// By silicon: the names that are there only on some targets.
TEST_F(bif_table, each_target_has_its_own_built_ins) {
    const char *const exclusive = "__ldrexb __ldrexh __ldrex __strexb __strexh __strex";
    const char *const exclusive_double = "__ldrexd __strexd";
    const char *const barriers = "_dmb _dsb _isb";
    const char *const microcontroller =
        "_set_interrupt_priority __get_MSP __get_PRIMASK __set_MSP __set_PRIMASK __bitband";
    const struct {
        long silicon;
        int version;
        bool exclusive, exclusive_double, barriers, microcontroller;
    } targets[] = {
        {ENUM_SILICON_4, 0, false, false, false, false},  {ENUM_SILICON_5E, 5, false, false, false, false},
        {ENUM_SILICON_6, 6, true, true, false, false},    {ENUM_SILICON_6M0, 6, true, false, true, true},
        {ENUM_SILICON_7A8, 78, true, true, true, false},  {ENUM_SILICON_7M3, 73, true, false, true, true},
        {ENUM_SILICON_7M4, 734, true, false, true, true}, {ENUM_SILICON_7R4, 74, true, true, true, false},
        {ENUM_SILICON_7R5, 74, true, true, true, false},
    };
    for (const auto &t : targets) {
        retarget(t.silicon, t.version);
        auto expect = [&](const char *names, bool there) {
            for (const std::string &name : words(names))
                EXPECT_EQ(exists(name.c_str()), there) << name << " on " << t.silicon;
        };
        expect(exclusive, t.exclusive);
        expect(exclusive_double, t.exclusive_double);
        expect(barriers, t.barriers);
        expect(microcontroller, t.microcontroller);
        expect("_smulbb _umull _get_CPSR _call_swi __MCRR2 __MRRC _disable_FIQ _restore_interrupts", true);
    }
}

TEST_F(bif_table, every_row_is_there) {
    // Names of a family, in all: a row that was lost or doubled shows.
    const struct {
        const char *prefix;
        int count;
    } families[] = {{"ETSI_", 34}, {"MARLIN_", 24}, {"_sm", 9}, {"__M", 8}, {"BARRIER", 2}, {"vt$", 2}};
    retarget(ENUM_SILICON_7M4, 734);
    std::string text = debug_text(2, [] { dump_BIF_descriptors(true, true); });
    std::set<std::string> names;
    for (size_t at = 0; (at = text.find("\n    BIF ", at)) != std::string::npos;) {
        at += 9;
        names.insert(text.substr(at, text.find('(', at) - at));
    }
    for (const auto &family : families) {
        int count = 0;
        for (const std::string &name : names) count += name.rfind(family.prefix, 0) == 0;
        EXPECT_EQ(count, family.count) << family.prefix;
    }
    EXPECT_EQ(text.rfind("\tTotal size: " + std::to_string(names.size()) + " nodes\n", 0), 0u);
    for (const char *name : {"quest$colon", "def$assert", "VASG", "_never_executed", "_symval", "__curpc",
                             "__cursp", "__run_address_check", "_delay_cycles", "__delay_cycles"})
        EXPECT_TRUE(names.count(name)) << name;
}

TEST_F(bif_table, words_of_rows_become_types_flags_and_instances) {
    const struct {
        const char *name;
        int op;
        const char *signature;
        uint32_t flags;
    } cases[] = {
        {"_call_swi", MCALL, "void unsigned", BIF_flag_word(0, BIF_MUST_NOT_CSE, BIF_IS_BARRIER)},
        {"_disable_IRQ", UMCALL, "unsigned", BIF_flag_word(0, BIF_MUST_NOT_CSE, BIF_IS_BARRIER)},
        {"__strexh", MCALL, "int unsigned-short void-*", BIF_flag_word(0, BIF_MUST_NOT_CSE, BIF_IS_BARRIER)},
        {"__bitband", ICALL, "volatile-unsigned-char-* volatile-void-* unsigned unsigned",
         BIF_flag_word(0, 0, BIF_YIELDS_ADDRESS)},
        {"ANTIALIASED", ICALL, "void void-* void-*",
         BIF_flag_word(BIF_OPDS_0_1_COMMUTE, BIF_RETURNS_1_OR_0 | BIF_MUST_NOT_CSE | BIF_IS_GENERIC)},
        {"def$assert", ICALL, "void void int unsigned-char-*",
         BIF_flag_word(0, BIF_OPDS_MUST_NOT_CSE | BIF_MUST_NOT_CSE | BIF_IS_GENERIC)},
    };
    retarget(ENUM_SILICON_7M3, 73);
    auto one_word = [](const TYPE *type) {
        std::string text = type->printstr();
        std::replace(text.begin(), text.end(), ' ', '-');
        return text;
    };
    for (const auto &row : cases) {
        const BIF *b = bif(row.name);
        ASSERT_NE(b, nullptr) << row.name;
        std::string signature = one_word(b->result_type);
        for (const NODE *parm : arg_list_args(b->parameters)) signature += " " + one_word(parm->type);
        EXPECT_EQ(signature, row.signature) << row.name;
        EXPECT_EQ(b->op, row.op) << row.name;
        EXPECT_EQ(BIF_flag_word(b->flags1, b->flags2, b->flags3), row.flags) << row.name;
        EXPECT_EQ(b->nparms, arg_list_count(b->parameters)) << row.name;
        EXPECT_EQ(b->funinfo_flags, row.op == ICALL ? FUN_is_pure_fun : 0u) << row.name;
    }
}

TEST_F(bif_table, generics_know_their_last_instance) {
    retarget(ENUM_SILICON_7A8, 78);
    EXPECT_EQ(find_target_BIF_descriptor("ENABLE_INTERRUPTS"), bif("_enable_FIQ"));
    EXPECT_EQ(find_target_BIF_descriptor("_enable_IRQ"), bif("_enable_IRQ"));
    EXPECT_EQ(bif("_enable_IRQ")->generic_link, bif("ENABLE_INTERRUPTS"));
    EXPECT_EQ(find_target_BIF_descriptor("BARRIER"), bif("_isb"));
    EXPECT_EQ(find_target_BIF_descriptor("MIN"), nullptr); // nobody here has one
    EXPECT_EQ(find_target_BIF_descriptor("_nobody_knows"), nullptr);
    retarget(ENUM_SILICON_6, 6);
    EXPECT_EQ(find_target_BIF_descriptor("BARRIER"), nullptr);
}

TEST_F(bif_table, names_are_found_whoever_holds_the_text) {
    char text[] = "_smulbb";
    EXPECT_EQ(find_BIF_descriptor(text), find_BIF_descriptor(intern_name("_smulbb")));
    EXPECT_NE(find_BIF_descriptor(text), nullptr);
    text[6] = 't';
    EXPECT_EQ(find_BIF_descriptor(text), find_BIF_descriptor("_smulbt"));
    EXPECT_EQ(find_BIF_descriptor(nullptr), nullptr);
    EXPECT_EQ(find_BIF_descriptor(""), nullptr);
}

TEST_F(bif_table, generics_keep_the_types_of_C) {
    TYPE *long_type = tp->basic_int(IK_long);
    ASSERT_NE(long_type->normalized(), long_type);
    EXPECT_EQ(bif("LMIN")->result_type, long_type);
    BIF *made = make_simple_BIF(ICALL, "_of_long", 2, long_type, long_type, long_type);
    EXPECT_EQ(made->parameters->left->type, long_type);
    EXPECT_NE(made->parameters->left->u.sym, made->parameters->right->u.sym);
}

TEST_F(bif_table, a_letter_and_a_type_are_one_symbol) {
    BIF *b = make_BIF_descriptor(ICALL, "_one", 4, i);
    TYPE *color = tp->mk_enum("color", u, 32, 32, false);
    color->add_etor("red", 0);
    tp->type_frozen(color);
    def_BIF_parameter(b, 0, i, 'a');
    def_BIF_parameter(b, 1, tp->mk_qual(i, QUAL_const | QUAL_volatile), 'a');
    def_BIF_parameter(b, 2, color, 'u');
    def_BIF_parameter(b, 3, u, 'u');
    std::vector<NODE *> parms = arg_list_args(b->parameters);
    EXPECT_EQ(parms[0]->u.sym, parms[1]->u.sym);
    EXPECT_EQ(parms[2]->u.sym, parms[3]->u.sym);
    EXPECT_EQ(parms[0]->u.sym, bif("MIN")->parameters->left->u.sym);
    EXPECT_STREQ(parms[0]->u.sym->name, "a");
    EXPECT_EQ(parms[0]->u.sym->size, 32u);
    EXPECT_EQ(get_BIF_parameter('u', b)->u.sym, parms[2]->u.sym);
}

TEST_F(bif_table, instances_take_over_what_the_generic_says) {
    BIF *generic = bif("ETSI_NORM_L"), *local = instantiate_generic_BIF("_norm", generic);
    EXPECT_EQ(bif("_norm"), local);
    EXPECT_EQ(local->generic_link, generic);
    EXPECT_EQ(generic->generic_link, local);
    EXPECT_EQ(local->flags2, generic->flags2 & ~BIF_IS_GENERIC);
    EXPECT_EQ(local->flags1, generic->flags1);
    EXPECT_EQ(local->maxval, INT65(31));
    EXPECT_NE(local->parameters, generic->parameters);
    EXPECT_EQ(local->nparms, 1);
    // Its calls are bounded like the generic's.
    BIF *add = instantiate_generic_BIF("_sadd16", bif("ETSI_ADD"));
    NODE *call = ICALL_of("_sadd16", {I(3), I(32766)}, sht);
    EXPECT_EQ(calculate_maxval_for_BIF_call(call, nullptr), INT65(32767));
    EXPECT_EQ(calculate_minval_for_BIF_call(call, nullptr), INT65(32767));

    add_BIF_semantics(
        add, B(PLUS, copy_tree(get_BIF_parameter('a', add)), copy_tree(get_BIF_parameter('b', add))), true);
    EXPECT_TRUE(add->flags2 & BIF_MUST_EXPAND);
    BIF *twin = instantiate_associative_BIF("_sadd16_assoc", add);
    EXPECT_EQ(twin->associative_link, add);
    EXPECT_EQ(add->associative_link, twin);
    EXPECT_EQ(twin->parameters, add->parameters);
    EXPECT_EQ(twin->flags1, add->flags1 | BIF_IS_SELF_ASSOCIATIVE | BIF_TOWERS_LIKE_PLUS);
    BIF *alone = instantiate_associative_BIF("_smulbt_assoc", bif("_smulbt"));
    EXPECT_EQ(alone->flags1, BIF_IS_SELF_ASSOCIATIVE); // operands that do not commute make no tower
    init_BIF_descriptors();                            // forgets them, shared trees and all
    EXPECT_FALSE(exists("_sadd16"));
}

TEST_F(bif_table, calls_are_shared_unless_the_descriptor_forbids_it) {
    NODE *unknown = ICALL_of("_nobody_knows", {I(1)});
    EXPECT_TRUE(ok_to_CSE_ICALL(unknown) && ok_to_CSE_ICALL_opds(unknown));
    NODE *marked = ICALL_of("DONOTCSE", {I(1)}), *assertion = ICALL_of("def$assert", {I(1), I(2), I(3)});
    EXPECT_TRUE(!ok_to_CSE_ICALL(marked) && ok_to_CSE_ICALL_opds(marked));
    EXPECT_TRUE(!ok_to_CSE_ICALL(assertion) && !ok_to_CSE_ICALL_opds(assertion));
    NODE *symval = ICALL_of("_symval", {I(1)});
    EXPECT_TRUE(ok_to_CSE_ICALL(symval) && !ok_to_CSE_ICALL_opds(symval));
    NODE *barrier = mk_MCALL("_call_swi", I(1), tp->void_type());
    EXPECT_TRUE(!ok_to_CSE_ICALL(barrier) && ok_to_CSE_ICALL_opds(barrier));
    EXPECT_FALSE(ok_to_CSE_ICALL(N("x")) || ok_to_CSE_ICALL_opds(N("x")));
    BIF *handler = make_BIF_descriptor(MCALL, "_catch", 0, i);
    NODE *call = mk_MCALL("_catch", I(1), i);
    EXPECT_FALSE(is_EFI_MCALL(call));
    handler->flags3 |= BIF_IS_EFI;
    EXPECT_TRUE(is_EFI_MCALL(call));
    EXPECT_FALSE(is_EFI_MCALL(ICALL_of("_catch", {I(1)})));
}

TEST_F(bif_table, a_print_tells_everything) {
    BIF *b = nullptr;
    std::string announced = debug_text(2, [&] { b = make_simple_BIF(ICALL, "_all", 2, i, i, ptr); });
    EXPECT_EQ(announced,
              "Making BIF descriptor for _all()\n\n    BIF _all(int a, int * b)\n\treturns type int\n"
              "\tFUNINFO FLAGS=0x00020000\n\tFUN_is_pure_fun\n");
    BIF *generic = bif("MIN");
    generic->generic_link = b;
    b->generic_link = generic;
    b->associative_link = bif("MAX");
    b->flags1 = b->flags2 = b->flags3 = 0xFF;
    b->flags2 &= uint8_t(~BIF_IS_GENERIC);
    b->minval = INT65(-5);
    b->maxval = INT65(9);
    add_BIF_semantics(b, B(PLUS, N("a"), N("b")), true);
    std::string text = debug_text(2, [] { dump_BIF_descriptors(false, true); });
    EXPECT_NE(
        text.find("\n    BIF _all(int a, int * b)\n\treturns type int\n\t== local for generic MIN()\n"
                  "\t== associative version of MAX()\n\tIt is equivalent to a + b\n"
                  "\tFUNINFO FLAGS=0x00020000\n\tIS_BARRIER\n\tIS_SELF_ASSOCIATIVE\n\tTOWERS_LIKE_MINUS\n"
                  "\tTOWERS_LIKE_PLUS\n\tOPDS_0_1_COMMUTE\n\tOPDS_1_2_COMMUTE\n\tLIKES_UMULT_OPDS\n"
                  "\tMINVAL_IS_KNOWN: -5\n\tMAXVAL_IS_KNOWN: 9\n\tRETURNS_1_OR_0\n\tMUST_NOT_CSE\n"
                  "\tOPDS_MUST_NOT_CSE\n\tMUST_EXPAND\n\tIS_PROPER_ABSVAL\n\tIS_PROPER_EXTRACT\n"
                  "\tIS_PROPER_MINVAL\n\tIS_PROPER_MAXVAL\n\tFUN_is_pure_fun\n"),
        std::string::npos)
        << text;
    EXPECT_EQ(text.find("BIF MIN("), std::string::npos);
    EXPECT_NE(text.find("\tdumpGenerics    = \n\tdumpNonGenerics = YES\n"), std::string::npos);
    EXPECT_NE(text.find("\n    BIF __curpc(void)\n\treturns type void *\n"), std::string::npos);
    // Ordered by name.
    EXPECT_LT(text.find("BIF _all("), text.find("BIF _call_swi("));
    text = debug_text(2, [] { dump_BIF_descriptors(true, false); });
    EXPECT_NE(text.find("\t== generic for local _all()\n"), std::string::npos);
    make_BIF_descriptor(MCALL, "_unlisted", 3, i);
    text = debug_text(2, [] { dump_BIF_descriptors(false, true); });
    EXPECT_NE(text.find("\n    BIF _unlisted()\n\treturns type int\n\tIt has 3 parameters.\n"),
              std::string::npos);
    EXPECT_EQ(debug_text(1, [] { dump_BIF_descriptors(true, true); }), "");
}

TEST_F(bif_table, contradictions_end_the_run) {
    BIF *b = make_BIF_descriptor(ICALL, "_two", 2, i);
    def_BIF_parameter(b, 0, i, 'a');
    BIF *full = bif("_smulbb");
#define ENDS(statement, where) EXPECT_EXIT(statement, ExitedWithCode(1), "\n\n!!! INTERNAL ERROR in " where)
    ENDS(make_BIF_descriptor(ICALL, "_two", 2, i), "make_BIF_descriptor\\(\\) for \"_two\"\n");
    ENDS(make_BIF_descriptor(CALL, "_new", 2, i), "make_BIF_descriptor\\(\\) for \"_new\"\n");
    ENDS(make_BIF_descriptor(ICALL, nullptr, 2, i), "make_BIF_descriptor\\(\\) for \"\"\n");
    ENDS(make_BIF_descriptor(ICALL, "_new", -1, i), "make_BIF_descriptor\\(\\) for \"_new\"\n");
    ENDS(make_BIF_descriptor(ICALL, "_new", 1, nullptr), "make_BIF_descriptor\\(\\) for \"_new\"\n");
    ENDS(def_BIF_parameter(b, 0, i, 'b'), "def_BIF_parameter\\(\\)\n");
    ENDS(def_BIF_parameter(b, 2, i, 'b'), "def_BIF_parameter\\(\\)\n");
    ENDS(def_BIF_parameter(full, 2, i, 'c'), "def_BIF_parameter\\(\\)\n");
    ENDS(get_BIF_parameter('z', full), "get_BIF_parameter\\(\\)\n");
    ENDS(add_BIF_semantics(b, nullptr, false), "add_BIF_semantics\\(\\)\n");
    ENDS((add_BIF_semantics(b, I(1), false), add_BIF_semantics(b, I(1), false)), "add_BIF_semantics\\(\\)\n");
    ENDS(instantiate_generic_BIF("_new", full), "instantiate_generic_BIF\\(\\)\n");
    ENDS(instantiate_generic_BIF("_smulbb", bif("MIN")), "instantiate_generic_BIF\\(\\)\n");
    ENDS(instantiate_associative_BIF("_new", bif("MIN")), "instantiate_associative_BIF\\(\\)\n");
    ENDS((instantiate_associative_BIF("_new", full), instantiate_associative_BIF("_newer", full)),
         "instantiate_associative_BIF\\(\\)\n");
#undef ENDS
}

// --- types of calls as files hold them ---

TEST_F(bif_table, calls_get_the_type_of_their_descriptor) {
    TYPE *vec = tp->mk_vector(i, 2), *ushort_ptr = tp->mk_ptr(usht);
    SYMTAB *v = symbol("v", vec);
    retarget(ENUM_SILICON_7M3, 73);
    const struct {
        NODE *call;
        TYPE *outer, *inner;
    } cases[] = {
        {ICALL_of("_smulbb", {I(1), I(2)}, i), i, i},
        {ICALL_of("_smulbb", {I(1), I(2)}, sht), sht, i},
        {ICALL_of("_smulbb", {I(1), I(2)}, ll), ll, i},
        {ICALL_of("_smulbb", {I(1), I(2)}, tp->void_type()), i, i},
        {ICALL_of("_smulbb", {I(1), N(v)}, sht), sht, sht},
        {ICALL_of("__builtin_expect", {I(1), I(2)}, i), i, i}, // long is an int here
        {ICALL_of("MARLIN_MEM4", {I(1)}, ushort_ptr), ushort_ptr, tp->mk_ptr(u)},
        {ICALL_of("quest$colon", {I(1), I(1), I(2)}, sht), sht, sht}, // has no type of its own
        {ICALL_of("_nobody_knows", {I(1)}, sht), sht, sht},
        {mk_MCALL("__ldrex", I(1), sht), sht, sht}, // not a value only
    };
    for (const auto &row : cases) {
        std::string text = tree2infix(row.call);
        NODE *r = fix_BIF_types(row.call);
        EXPECT_EQ(r->type, row.outer) << text;
        EXPECT_EQ(row.call->type, row.inner) << text;
        if (row.outer != row.inner) {
            EXPECT_EQ(r->op, row.outer->is_ptr() ? PCONV : SCONV) << text;
            EXPECT_EQ(r->left, row.call);
        } else {
            EXPECT_EQ(r, row.call);
        }
    }
}

TEST_F(bif_table, operands_of_vectors_take_their_share_of_the_type) {
    TYPE *v2 = tp->mk_vector(sht, 2), *v4 = tp->mk_vector(sht, 4), *i2 = tp->mk_vector(i, 2);
    SYMTAB *a = symbol("va", v2), *wide = symbol("wide", i2), *half = symbol("half", sht);
    NODE *r = fix_BIF_types(ICALL_of("__pack", {I(1), N("x"), N(half), I(4)}, v4));
    for (NODE *arg : arg_list_args(r->left)) EXPECT_EQ(arg->type, sht);
    EXPECT_EQ(arg_list_lookup(r->left, 1)->op, SCONV);
    EXPECT_EQ(arg_list_lookup(r->left, 2)->op, NAME);
    r = fix_BIF_types(ICALL_of("__pack", {N(a), N(wide)}, v4));
    EXPECT_EQ(r->left->left->op, NAME);
    EXPECT_EQ(r->left->right->op, VSCONV);
    EXPECT_EQ(r->left->right->type, v2);
    // Three can't share four, and a scalar is no half of a vector.
    r = fix_BIF_types(ICALL_of("__pack", {N("x"), N("x"), N("x")}, v4));
    EXPECT_EQ(arg_list_lookup(r->left, 2)->op, NAME);
    r = fix_BIF_types(ICALL_of("__pack", {N(a), N("x")}, v4));
    EXPECT_EQ(r->left->right->op, NAME);
}

TEST_F(bif_table, widened_variables_go_into_vectors_in_their_own_type) {
    FUNINFO function;
    currfuninfo = &function;
    TYPE *v2 = tp->mk_vector(sht, 2);
    make_widened_symbol_entry(sym("x"), sht);
    NODE *r = fix_BIF_types(ICALL_of("__vdup", {N("x"), N("y")}, v2));
    ASSERT_EQ(r->left->left->op, SCONV);
    EXPECT_EQ(r->left->left->type, sht);
    EXPECT_EQ(r->left->right->op, NAME);
    r = fix_BIF_types(ICALL_of("_smulbb", {N("x"), N("y")}));
    EXPECT_EQ(r->left->left->op, NAME);
    erase_widened_entries(&function);
    currfuninfo = nullptr;
}
